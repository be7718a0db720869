// MxException: construction and copies, and the long and short reports character for
// character.
#include <mlib/exceptions.h>
#include <mlib/string.h>

#include <gtest/gtest.h>

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

TEST(MxException, ConstructorsSetCodeLevelAndTexts) {
  MxException plain;
  EXPECT_EQ(plain.GetLevel(), 0);
  EXPECT_EQ(ascii(plain.PrintToString()), longReport(0, "Info", "no error", "", ""));

  MxException coded(-5);
  EXPECT_EQ(coded.GetCode(), -5);
  EXPECT_EQ(coded.GetLevel(), 0);

  const String callStack(MLIB_T("String::[]"));
  const String location(MLIB_T("if(uIndex>=getSize())"));
  const MxException full(-4, 3, callStack, location);
  const std::string expected =
      "mlib exception { <Code: -4> <Level: Fatal> <Description: the current index is out of "
      "range of an array> <Call Stack: String::[]> <Location: \"if(uIndex>=getSize())\"> }";
  EXPECT_EQ(ascii(full.PrintToString()), framed(expected));
  // No description of its own: the short report prints the formatter's "(null)".
  EXPECT_EQ(ascii(MxException::PrintToString(&full)),
            framed("mlib exception: { Code: -4; Level: Fatal; Description: (null) }"));
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
  // Assignment keeps the target's class: a copy's type is still MxException.
  EXPECT_EQ(std::string(assigned.GetType().GetFullName()), "mlib::MxException");
}

TEST(MxException, LevelsPrintByName) {
  struct Row {
    int level;
    const char* name;
  };
  const Row rows[] = {{0, "Info"},    {1, "Warnning"}, {2, "Serious"}, {3, "Fatal"},
                      {4, "Unknown"}, {-1, "Unknown"}, {1000, "Unknown"}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.level);
    const MxException e(-1, row.level, String(), String());
    EXPECT_EQ(ascii(e.PrintToString()), longReport(-1, row.name, "unknown exception", "", ""));
    const MxBaseException base(8, row.level, MLIB_T("d"));
    EXPECT_EQ(ascii(MxException::PrintToString(&base)),
              framed("mlib exception: { Code: 8; Level: " + std::string(row.name) +
                     "; Description: d }"));
  }
}

TEST(MxException, LongReportAsksTheOverridableLookup) {
  struct Renamed : MxException {
    using MxException::MxException;
    using MxException::GetExceptionInfo;
    String GetExceptionInfo(int code) const override {
      return code == 42 ? String(MLIB_T("the answer")) : MxException::GetExceptionInfo(code);
    }
  };
  const Renamed e(42, 2, String(MLIB_T("Ask")), String(MLIB_T("here")));
  EXPECT_EQ(ascii(e.PrintToString()), longReport(42, "Serious", "the answer", "Ask", "here"));
}

TEST(MxException, LongReportIsNeverCut) {
  const std::string longStack(3000, 's');
  const MxException e(-3, 0, String(longStack.c_str()), String(MLIB_T("end")));
  const String report = e.PrintToString();
  EXPECT_EQ(ascii(report),
            longReport(-3, "Info", "the current pointer is invalid", longStack, "end"));
}

TEST(MxException, ShortReportIsCutTo511Units) {
  EXPECT_TRUE(MxException::PrintToString(nullptr).IsNull());

  const std::basic_string<mlib::WideChar> description(600, MLIB_T('x'));
  const MxBaseException e(1, 0, description.c_str());
  const std::string whole =
      framed("mlib exception: { Code: 1; Level: Info; Description: " + std::string(600, 'x') +
             " }");
  const String report = MxException::PrintToString(&e);
  EXPECT_EQ(report.GetLength(), 511);
  EXPECT_EQ(ascii(report), whole.substr(0, 511));

  // A rendering of exactly 511 units is kept whole; one more unit is cut.
  const std::size_t frameUnits = framed("mlib exception: { Code: 1; Level: Info; Description:  }")
                                     .size();
  for (std::size_t extra : {std::size_t{0}, std::size_t{1}}) {
    SCOPED_TRACE(extra);
    const std::size_t descriptionUnits = 511 - frameUnits + extra;
    const std::basic_string<mlib::WideChar> fitting(descriptionUnits, MLIB_T('y'));
    const MxBaseException exact(1, 0, fitting.c_str());
    const std::string rendered =
        framed("mlib exception: { Code: 1; Level: Info; Description: " +
               std::string(descriptionUnits, 'y') + " }");
    EXPECT_EQ(ascii(MxException::PrintToString(&exact)), rendered.substr(0, 511));
  }
}

TEST(MxException, ShortReportOfExtremeCodes) {
  const MxBaseException low(-2147483647 - 1, 3, MLIB_T(""));
  EXPECT_EQ(ascii(MxException::PrintToString(&low)),
            framed("mlib exception: { Code: -2147483648; Level: Fatal; Description:  }"));
  const MxBaseException high(2147483647, 2, MLIB_T("%s %d"));
  EXPECT_EQ(ascii(MxException::PrintToString(&high)),
            framed("mlib exception: { Code: 2147483647; Level: Serious; Description: %s %d }"));
}

}  // namespace
