// MxBaseException and MxException: owned texts, both reports character for character, GetCode's
// capture of the last system error and the process-wide registry (each test leaves it as found).
#include <gtest/gtest.h>
#include <mlib/exceptions.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <type_traits>

#include "exception/reportText.h"

namespace mlib::testing {
namespace {

std::string shortReport(const MxBaseException& e) { return ascii(MxException::PrintToString(&e)); }
std::string longReport(const MxException& e) { return ascii(e.PrintToString()); }

std::string shortText(int code, const std::string& level, const std::string& description) {
  return framed("mlib exception: { Code: " + std::to_string(code) + "; Level: " + level +
                "; Description: " + description + " }");
}

std::string longText(int code, const std::string& level, const std::string& description,
                     const std::string& callStack = "", const std::string& location = "") {
  return framed("mlib exception { <Code: " + std::to_string(code) + "> <Level: " + level +
                "> <Description: " + description + "> <Call Stack: " + callStack +
                "> <Location: \"" + location + "\"> }");
}

struct Renamed : MxException {  // the long report asks the overridable lookup
  using MxException::GetExceptionInfo;
  using MxException::MxException;
  String GetExceptionInfo(int code) const override {
    return code == 42 ? String("the answer") : MxException::GetExceptionInfo(code);
  }
};

TEST(MxException, ReportsOfEveryConstructorCopyAndLevelAndTheCutAt511Units) {
  WideChar text[] = MLIB_T("disk full");
  auto* base = new MxBaseException(-3, 2, text);
  text[0] = MLIB_T('X');
  auto* full = new MxException(-4, 3, "String::[]", "if(uIndex>=getSize())");
  const MxBaseException baseCopy(*base), none(5, 0, nullptr);
  MxBaseException baseAssigned(1, 1, MLIB_T("other")), noneAssigned(baseAssigned);
  baseAssigned = *base;
  noneAssigned = none;
  const MxException copy(*full);
  MxException assigned(7);
  assigned = *full;
  assigned = static_cast<const MxException&>(assigned);
  delete base;  // every copy owns its texts
  delete full;
  const std::string stack(3000, 's');  // the long report is never cut
  const std::pair<std::string, std::string> rows[] = {
      {longReport(MxException(0)), longText(0, "Info", "no error")},
      {longReport(copy),
       longText(-4, "Fatal", kBuiltIns[4], "String::[]", "if(uIndex>=getSize())")},
      {longReport(assigned), longReport(copy)},
      {shortReport(baseCopy), shortText(-3, "Serious", "disk full")},
      {shortReport(baseAssigned), shortText(-3, "Serious", "disk full")},
      {shortReport(noneAssigned), shortText(5, "Info", "(null)")},
      {longReport(MxException(-3, 0, stack, "")), longText(-3, "Info", kBuiltIns[3], stack)},
      {longReport(Renamed(42, 2, "a", "b")), longText(42, "Serious", "the answer", "a", "b")},
  };
  for (const auto& [got, want] : rows) EXPECT_EQ(got, want);
  const char* const names[] = {"Unknown", "Info", "Warnning", "Serious", "Fatal", "Unknown"};
  for (int level = -1; level <= 4; ++level) {
    const MxException e(-1, level, String(), String());
    EXPECT_EQ(longReport(e), longText(-1, names[level + 1], kBuiltIns[1]));
    EXPECT_EQ(shortReport(MxBaseException(INT_MIN, e.GetLevel(), MLIB_T("%s"))),
              shortText(INT_MIN, names[level + 1], "%s"));
  }
  EXPECT_TRUE(MxException::PrintToString(nullptr).IsNull());
  const std::size_t frame = shortText(1, "Info", "").size();
  for (std::size_t units : {511 - frame, 512 - frame, std::size_t{600}}) {
    const std::basic_string<WideChar> description(units, MLIB_T('y'));
    EXPECT_EQ(shortReport(MxBaseException(1, 0, description.c_str())),
              shortText(1, "Info", std::string(units, 'y')).substr(0, 511));
  }
}

TEST(Registry, SystemTextsTheCapturedCodeAddingKeepsTheFirstAndARefillWaitsForAnEmptyTable) {
  // A missing file in an existing folder: 2 on both platforms (ENOENT, ERROR_FILE_NOT_FOUND).
  const char* missing = MLIB_TEST_DATA_DIR "/no-such-file.txt";
  MxException e;
  std::FILE* file = std::fopen(missing, "rb");
  const int lastError = MxException::GetLastError(), captured = e.GetCode();  // code 0 takes it
  ASSERT_TRUE(file == nullptr && lastError == 2 && captured == 2) << captured;
  // Kept: a later failure of another kind does not change it; other codes are never replaced.
  ASSERT_EQ(std::fopen(MLIB_TEST_DATA_DIR "/no-such-folder/x.txt", "rb"), nullptr);
  EXPECT_EQ(e.GetCode(), 2);
  const String text = MxException::FormatErrorCodeToMessage(2);
  // The C library's text here; the message table's, which ends in a line break, on Windows.
  const bool posix = std::is_same_v<WideChar, char16_t>;
  EXPECT_EQ(ascii(posix ? text : text.Right(2)), posix ? std::strerror(2) : "\r\n");
  EXPECT_EQ(longReport(e), longText(2, "Info", ascii(text)));
  e.SetCode(-1);
  ASSERT_EQ(std::fopen(missing, "rb"), nullptr);
  EXPECT_EQ(e.GetCode(), -1);
  // Neither system has a text for -9.
  EXPECT_EQ(ascii(MxException(-9).GetExceptionInfo()), kBuiltIns[1]);
  EXPECT_TRUE(e.GetExceptionInfo(-9).IsEmpty());
  EXPECT_TRUE(e.AddExceptionInfo(-4, "replacement"));
  EXPECT_EQ(ascii(e.GetExceptionInfo(-4)), kBuiltIns[4]);
  EXPECT_FALSE(e.AddExceptionInfo(100, "my first"));
  EXPECT_EQ(ascii(MxException(100).GetExceptionInfo()), "my first");
  // A caller's entry keeps the table from being empty: no refill while it is there.
  for (int code = 0; code >= -8; --code) e.RemoveExceptionInfo(code);
  e.RemoveExceptionInfo(4242);  // not there: nothing happens
  EXPECT_EQ(MxException::GetExceptionMap().GetCount(), 1u);
  e.RemoveExceptionInfo(100);
  EXPECT_TRUE(MxException::GetExceptionMap().IsEmpty());
  // Once empty, the next info operation brings all nine back, each once.
  EXPECT_TRUE(e.GetExceptionInfo(100) == MxException::FormatErrorCodeToMessage(100));
  EXPECT_EQ(MxException::GetExceptionMap().GetCount(), 9u);
  for (int c = 0; c >= -8; --c) EXPECT_EQ(ascii(MxException(c).GetExceptionInfo()), kBuiltIns[-c]);
}

}  // namespace
}  // namespace mlib::testing
