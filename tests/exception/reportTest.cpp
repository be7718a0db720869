// MxException: construction and copies, and the long and short reports character for
// character.
#include <gtest/gtest.h>
#include <mlib/exceptions.h>
#include <mlib/string.h>

#include <string>

#include "exception/reportText.h"

namespace {

using mlib::MxBaseException;
using mlib::MxException;
using mlib::String;
using mlib::testing::ascii;
using mlib::testing::framed;

std::string longReport(int code, const std::string& level, const std::string& description,
                       const std::string& callStack, const std::string& location) {
  return framed("mlib exception { <Code: " + std::to_string(code) + "> <Level: " + level +
                "> <Description: " + description + "> <Call Stack: " + callStack +
                "> <Location: \"" + location + "\"> }");
}

TEST(MxException, LongReportsOfTheConstructors) {
  EXPECT_EQ(ascii(MxException().PrintToString()), longReport(0, "Info", "no error", "", ""));
  EXPECT_EQ(MxException(-5).GetLevel(), 0);

  const MxException full(-4, 3, String(MLIB_T("String::[]")),
                         String(MLIB_T("if(uIndex>=getSize())")));
  EXPECT_EQ(ascii(full.PrintToString()),
            framed("mlib exception { <Code: -4> <Level: Fatal> <Description: the current index "
                   "is out of range of an array> <Call Stack: String::[]> <Location: "
                   "\"if(uIndex>=getSize())\"> }"));
  // No description of its own: the short report prints "(null)" in its place.
  EXPECT_EQ(ascii(MxException::PrintToString(&full)),
            framed("mlib exception: { Code: -4; Level: Fatal; Description: (null) }"));

  const std::string longStack(3000, 's');  // the long report is never cut
  EXPECT_EQ(ascii(MxException(-3, 0, String(longStack.c_str()), String()).PrintToString()),
            longReport(-3, "Info", "the current pointer is invalid", longStack, ""));
}

TEST(MxException, CopiesOwnTheirTexts) {
  auto* original =
      new MxException(-2, 1, String(MLIB_T("File::Open")), String(MLIB_T("path == null")));
  const MxException copy(*original);
  MxException assigned(7);
  assigned = *original;
  delete original;
  const std::string expected =
      longReport(-2, "Warnning", "the current pointer is null", "File::Open", "path == null");
  EXPECT_EQ(ascii(copy.PrintToString()), expected);
  EXPECT_EQ(ascii(assigned.PrintToString()), expected);
  const MxException& alias = assigned;
  assigned = alias;
  EXPECT_EQ(ascii(assigned.PrintToString()), expected);
}

TEST(MxException, LevelsPrintByName) {
  const std::pair<int, const char*> rows[] = {{0, "Info"},  {1, "Warnning"}, {2, "Serious"},
                                              {3, "Fatal"}, {4, "Unknown"},  {-1, "Unknown"}};
  for (const auto& [level, name] : rows) {
    SCOPED_TRACE(level);
    EXPECT_EQ(ascii(MxException(-1, level, String(), String()).PrintToString()),
              longReport(-1, name, "unknown exception", "", ""));
    const MxBaseException base(-2147483647 - 1, level, MLIB_T("%s"));
    EXPECT_EQ(ascii(MxException::PrintToString(&base)),
              framed("mlib exception: { Code: -2147483648; Level: " + std::string(name) +
                     "; Description: %s }"));
  }
}

TEST(MxException, LongReportAsksTheOverridableLookup) {
  struct Renamed : MxException {
    using MxException::GetExceptionInfo;
    using MxException::MxException;
    String GetExceptionInfo(int code) const override {
      return code == 42 ? String(MLIB_T("the answer")) : MxException::GetExceptionInfo(code);
    }
  };
  const Renamed e(42, 2, String(MLIB_T("Ask")), String(MLIB_T("here")));
  EXPECT_EQ(ascii(e.PrintToString()), longReport(42, "Serious", "the answer", "Ask", "here"));
}

TEST(MxException, ShortReportIsCutTo511Units) {
  EXPECT_TRUE(MxException::PrintToString(nullptr).IsNull());
  const std::string frame = framed("mlib exception: { Code: 1; Level: Info; Description:  }");
  // Renderings of 510, 511, 512 and far more units.
  for (std::size_t descriptionUnits :
       {510 - frame.size(), 511 - frame.size(), 512 - frame.size(), std::size_t{600}}) {
    SCOPED_TRACE(descriptionUnits);
    const std::basic_string<mlib::WideChar> text(descriptionUnits, MLIB_T('y'));
    const MxBaseException e(1, 0, text.c_str());
    const std::string whole = framed("mlib exception: { Code: 1; Level: Info; Description: " +
                                     std::string(descriptionUnits, 'y') + " }");
    EXPECT_EQ(ascii(MxException::PrintToString(&e)), whole.substr(0, 511));
  }
}

}  // namespace
