// The wide string's search and editing: a record line split into fields, searched,
// counted, edited in place and compared, and an index past the buffer caught.
#include <mlib/mlib.h>

#include <cstdio>

#include "demo.h"

void demoSearch() {
  std::printf("\n-- String: search, split, edit, compare --\n");

  const mlib::String line(MLIB_T("  id=42;name=Ada Lovelace;lang=en;note=none  "));
  mlib::String record(line);
  record.Trim();
  std::printf("record:        \"%s\" (trimmed)\n", demoUtf8(record.toString()).c_str());
  std::printf("fields:        %d separators \";\"\n", record.GetCountOfSubString(MLIB_T(";")));
  for (int k = 0; k < 4; ++k) {
    const mlib::String field = record.GetSubStringBySplit(MLIB_T(";"), k, k);
    const int equals = field.IndexOf(MLIB_T('='));
    std::printf("  field %d:     %-8s -> \"%s\"\n", k,
                demoUtf8(field.Left(static_cast<unsigned>(equals)).toString()).c_str(),
                demoUtf8(field.GetSubString(equals + 1, field.GetLength()).toString()).c_str());
  }
  std::printf("\"name=\" at:    %d; last \"=\" at %d; \"n\" number 2 at %d\n",
              record.IndexOf(MLIB_T("name=")), record.FindLast(MLIB_T('=')),
              record.IndexOfSubString(MLIB_T("n"), 2));

  mlib::String edited(record);
  edited.Replace(MLIB_T(";"), MLIB_T(" | "));
  edited.MakeUpper();
  std::printf("edited:        \"%s\"\n", demoUtf8(edited.toString()).c_str());
  std::printf(
      "compare:       Compare(\"b\", \"aa\") = %d (shorter first), "
      "CompareNoCase(\"ABC\", \"abc\") = %d\n",
      mlib::String(MLIB_T("b")).Compare(MLIB_T("aa")),
      mlib::String(MLIB_T("ABC")).CompareNoCase(MLIB_T("abc")));
  std::printf("ends with:     \"NOTE=NONE\" ignoring case: %s\n",
              record.EndWith(MLIB_T("NOTE=NONE"), true) ? "yes" : "no");
  try {
    mlib::String small(MLIB_T("abc"));
    small[4u] = MLIB_T('!');
  } catch (mlib::MxBaseException& e) {
    std::printf("index 4 of capacity 4 throws: code %d, level %d\n", e.GetCode(), e.GetLevel());
  }
}
