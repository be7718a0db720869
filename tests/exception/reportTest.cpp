// MxBaseException and MxException: codes, levels, owned texts, GetCode's capture of the last
// system error, throwing by value, the long and short reports character for character, and
// the error-code registry (shared by the whole process: every test leaves it as it was).
#include <gtest/gtest.h>
#include <mlib/byte.h>
#include <mlib/exceptions.h>
#include <mlib/string.h>
#include <mlib/syncMap.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <type_traits>

#include "exception/reportText.h"

namespace {

using mlib::MxBaseException;
using mlib::MxException;
using mlib::String;
using mlib::testing::ascii;
using mlib::testing::framed;
using mlib::testing::kBuiltIns;

std::string shortReport(const MxBaseException& e) { return ascii(MxException::PrintToString(&e)); }

std::string longReport(int code, const std::string& level, const std::string& description,
                       const std::string& callStack = "", const std::string& location = "") {
  return framed("mlib exception { <Code: " + std::to_string(code) + "> <Level: " + level +
                "> <Description: " + description + "> <Call Stack: " + callStack +
                "> <Location: \"" + location + "\"> }");
}

struct Renamed : MxException {  // the long report asks the overridable lookup
  using MxException::GetExceptionInfo;
  using MxException::MxException;
  String GetExceptionInfo(int code) const override {
    return code == 42 ? String(MLIB_T("the answer")) : MxException::GetExceptionInfo(code);
  }
};

TEST(MxException, ReportsOfTheConstructorsAndLevels) {
  const MxException full(-4, 3, String(MLIB_T("String::[]")),
                         String(MLIB_T("if(uIndex>=getSize())")));
  const std::string longStack(3000, 's');  // the long report is never cut
  const std::pair<std::string, std::string> rows[] = {
      {ascii(MxException().PrintToString()), longReport(0, "Info", "no error")},
      {ascii(full.PrintToString()),
       longReport(-4, "Fatal", kBuiltIns[4], "String::[]", "if(uIndex>=getSize())")},
      // No description of its own: the short report prints "(null)" in its place.
      {shortReport(full),
       framed("mlib exception: { Code: -4; Level: Fatal; Description: (null) }")},
      {ascii(MxException(-3, 0, String(longStack.c_str()), String()).PrintToString()),
       longReport(-3, "Info", kBuiltIns[3], longStack)},
      {ascii(Renamed(42, 2, String(MLIB_T("Ask")), String(MLIB_T("here"))).PrintToString()),
       longReport(42, "Serious", "the answer", "Ask", "here")},
  };
  for (const auto& [got, want] : rows) EXPECT_EQ(got, want);
  EXPECT_EQ(MxException(-5).GetLevel(), 0);
  const std::pair<int, const char*> levels[] = {{0, "Info"},  {1, "Warnning"}, {2, "Serious"},
                                                {3, "Fatal"}, {4, "Unknown"},  {-1, "Unknown"}};
  for (const auto& [level, name] : levels) {
    SCOPED_TRACE(level);
    EXPECT_EQ(ascii(MxException(-1, level, String(), String()).PrintToString()),
              longReport(-1, name, kBuiltIns[1]));
    EXPECT_EQ(shortReport(MxBaseException(-2147483647 - 1, level, MLIB_T("%s"))),
              framed("mlib exception: { Code: -2147483648; Level: " + std::string(name) +
                     "; Description: %s }"));
  }
}

TEST(MxException, EveryCopyOwnsItsTexts) {
  mlib::WideChar text[] = MLIB_T("disk full");
  auto* base = new MxBaseException(-3, 2, text);
  text[0] = MLIB_T('X');
  auto* full = new MxException(-2, 1, String(MLIB_T("File::Open")), String(MLIB_T("p == 0")));
  const MxBaseException baseCopy(*base);
  MxBaseException baseAssigned(1, 1, MLIB_T("other"));
  baseAssigned = *base;
  const MxException copy(*full);
  MxException assigned(7);
  assigned = *full;
  delete base;
  delete full;
  const std::string wantShort =
      framed("mlib exception: { Code: -3; Level: Serious; Description: disk full }");
  EXPECT_TRUE(shortReport(baseCopy) == wantShort && shortReport(baseAssigned) == wantShort);
  const std::string wantLong = longReport(-2, "Warnning", kBuiltIns[2], "File::Open", "p == 0");
  EXPECT_EQ(ascii(copy.PrintToString()), wantLong);
  const MxException& alias = assigned;
  assigned = alias;
  EXPECT_EQ(ascii(assigned.PrintToString()), wantLong);
  // An absent description stays absent through copies and assignments.
  const MxBaseException none(5, 0, nullptr);
  baseAssigned = none;
  EXPECT_EQ(shortReport(MxBaseException(none)),
            framed("mlib exception: { Code: 5; Level: Info; Description: (null) }"));
  EXPECT_EQ(shortReport(baseAssigned), shortReport(none));
}

TEST(MxBaseException, ZeroCodeTakesTheLastSystemErrorOnce) {
  // A missing file in an existing folder: 2 on both platforms (ENOENT, ERROR_FILE_NOT_FOUND).
  const char* missing = MLIB_TEST_DATA_DIR "/no-such-file.txt";
  MxBaseException e(9, 0, nullptr);
  e.SetCode(0);
  std::FILE* file = std::fopen(missing, "rb");
  const int captured = e.GetCode();
  ASSERT_EQ(file, nullptr);
  EXPECT_EQ(captured, 2);
  // Kept: a later failure of another kind does not change it.
  ASSERT_EQ(std::fopen(MLIB_TEST_DATA_DIR "/no-such-folder/x.txt", "rb"), nullptr);
  EXPECT_EQ(e.GetCode(), 2);
  e.SetCode(-1);  // a non-zero code is never replaced
  ASSERT_EQ(std::fopen(missing, "rb"), nullptr);
  EXPECT_EQ(e.GetCode(), -1);
}

TEST(MxBaseException, IsThrownByValueAndCaughtAsItsBases) {
  const std::string head = "mlib exception: { Code: -4; Level: Fatal; Description: Call Stack: ";
  try {
    (void)String()[0];
    ADD_FAILURE() << "String::operator[] did not throw";
  } catch (mlib::MxObject& caught) {
    auto* base = dynamic_cast<MxBaseException*>(&caught);
    ASSERT_NE(base, nullptr);
    EXPECT_TRUE(base->GetLevel() == 3 && base->GetCode() == -4);
    EXPECT_EQ(shortReport(*base),
              framed(head + "String::[]; Location: \"if(uIndex>=getSize())\" }"));
  }
  try {
    (void)mlib::Byte("ab")[1000];
    ADD_FAILURE() << "Byte::operator[] did not throw";
  } catch (const MxBaseException& caught) {
    const MxBaseException copy = caught;  // a second owner of the thrown text
    EXPECT_EQ(shortReport(copy), framed(head + "Byte::[] }"));
    EXPECT_EQ(shortReport(caught), shortReport(copy));
  }
}

TEST(MxException, ShortReportIsCutTo511Units) {
  EXPECT_TRUE(MxException::PrintToString(nullptr).IsNull());
  const std::string frame = framed("mlib exception: { Code: 1; Level: Info; Description:  }");
  // Renderings of 510, 511, 512 and far more units.
  for (std::size_t units :
       {510 - frame.size(), 511 - frame.size(), 512 - frame.size(), std::size_t{600}}) {
    SCOPED_TRACE(units);
    const std::basic_string<mlib::WideChar> text(units, MLIB_T('y'));
    const std::string whole = framed(
        "mlib exception: { Code: 1; Level: Info; Description: " + std::string(units, 'y') + " }");
    EXPECT_EQ(shortReport(MxBaseException(1, 0, text.c_str())), whole.substr(0, 511));
  }
}

TEST(Registry, BuiltInMessagesSystemTextsAndTheLongReport) {
  for (int code = 0; code >= -8; --code) {
    EXPECT_EQ(ascii(MxException().GetExceptionInfo(code)), kBuiltIns[-code]) << code;
    EXPECT_EQ(ascii(MxException(code).GetExceptionInfo()), kBuiltIns[-code]) << code;
  }
  // Neither system has a text for -9.
  EXPECT_EQ(ascii(MxException(-9).GetExceptionInfo()), kBuiltIns[1]);
  EXPECT_TRUE(MxException().GetExceptionInfo(-9).IsEmpty());

  std::FILE* file = std::fopen(MLIB_TEST_DATA_DIR "/no-such-file.txt", "rb");
  const int lastError = MxException::GetLastError();
  ASSERT_TRUE(file == nullptr && lastError == 2);  // ENOENT and ERROR_FILE_NOT_FOUND alike
  const String text = MxException::FormatErrorCodeToMessage(lastError);
  if constexpr (std::is_same_v<mlib::WideChar, char16_t>) {
    EXPECT_EQ(ascii(text), std::strerror(lastError));  // the C library's text
  } else {  // the message table's texts end in a line break
    EXPECT_EQ(ascii(text.Right(2)), "\r\n");
  }
  EXPECT_TRUE(MxException().GetExceptionInfo(lastError) == text);
  EXPECT_EQ(ascii(MxException(lastError).PrintToString()), longReport(2, "Info", ascii(text)));
}

TEST(Registry, AddKeepsTheFirstTextAndARefillWaitsForAnEmptyTable) {
  MxException e;
  EXPECT_TRUE(e.AddExceptionInfo(-4, String(MLIB_T("replacement"))));
  EXPECT_EQ(ascii(e.GetExceptionInfo(-4)), kBuiltIns[4]);
  EXPECT_FALSE(e.AddExceptionInfo(100, String(MLIB_T("my first"))));
  EXPECT_TRUE(e.AddExceptionInfo(100, String(MLIB_T("my second"))));
  EXPECT_EQ(ascii(MxException(100).GetExceptionInfo()), "my first");
  // A caller's entry keeps the table from being empty: no refill while it is there.
  for (int code = 0; code >= -8; --code) e.RemoveExceptionInfo(code);
  e.RemoveExceptionInfo(4242);                    // not there: nothing happens
  EXPECT_TRUE(e.GetExceptionInfo(-6).IsEmpty());  // the system has no text for -6
  EXPECT_EQ(ascii(MxException(-4).GetExceptionInfo()), kBuiltIns[1]);
  EXPECT_EQ(MxException::GetExceptionMap().GetCount(), 1u);
  e.RemoveExceptionInfo(100);
  EXPECT_TRUE(MxException::GetExceptionMap().IsEmpty());
  // Once empty, the next info operation brings all nine back, each once.
  EXPECT_TRUE(e.GetExceptionInfo(100) == MxException::FormatErrorCodeToMessage(100));
  EXPECT_EQ(MxException::GetExceptionMap().GetCount(), 9u);
  for (int code = 0; code >= -8; --code)
    EXPECT_EQ(ascii(e.GetExceptionInfo(code)), kBuiltIns[-code]);
}

}  // namespace
