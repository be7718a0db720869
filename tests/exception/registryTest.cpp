// The error-code registry and the system's error texts, in a process whose registry other
// tests use too: every test leaves the table as it found it.
#include <mlib/containers.h>
#include <mlib/exceptions.h>
#include <mlib/string.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <type_traits>

#include "exception/reportText.h"

namespace {

using mlib::MxException;
using mlib::String;
using mlib::testing::ascii;
using mlib::testing::framed;
using mlib::testing::units;

constexpr int kFileNotFound = 2;  // ENOENT and ERROR_FILE_NOT_FOUND alike

struct BuiltIn {
  int code;
  const char* message;
};
const BuiltIn kBuiltIns[] = {
    {0, "no error"},
    {-1, "unknown exception"},
    {-2, "the current pointer is null"},
    {-3, "the current pointer is invalid"},
    {-4, "the current index is out of range of an array"},
    {-5, "can not found the specific key"},
    {-6, "the value is too less"},
    {-7, "the specific port has been used"},
    {-8, "the called method has not been found"},
};

// Checks the system's text for `code` against the C library's where the library uses it
// (16-bit char16_t builds, that is POSIX); Windows' message table has no second reader here,
// so there the text is checked for the line break its messages end with.
void expectSystemText(int code, const String& text) {
  const std::basic_string<mlib::WideChar> got = units(text);
  if constexpr (std::is_same_v<mlib::WideChar, char16_t>) {
    const std::string native = std::strerror(code);
    EXPECT_EQ(ascii(text), native);
  } else {
    ASSERT_GE(got.size(), 3u);
    EXPECT_EQ(got.substr(got.size() - 2), MLIB_T("\r\n"));
  }
  EXPECT_LE(got.size(), 511u);
}

TEST(Registry, AnswersTheBuiltInMessages) {
  const MxException e;
  for (const BuiltIn& entry : kBuiltIns) {
    SCOPED_TRACE(entry.code);
    EXPECT_EQ(ascii(e.GetExceptionInfo(entry.code)), entry.message);
    EXPECT_EQ(ascii(MxException(entry.code).GetExceptionInfo()), entry.message);
  }
  EXPECT_GE(MxException::GetExceptionMap().GetCount(), 9u);
}

TEST(Registry, UnregisteredCodesFallBack) {
  const MxException e(-9);
  EXPECT_EQ(ascii(e.GetExceptionInfo()), "unknown exception");
  // Neither system knows -9: the fallback text is empty, but a string with a buffer.
  const String system = e.GetExceptionInfo(-9);
  EXPECT_TRUE(system.IsEmpty());
  EXPECT_TRUE(MxException::FormatErrorCodeToMessage(-9).IsEmpty());

  const String fileNotFound = e.GetExceptionInfo(kFileNotFound);
  EXPECT_EQ(units(fileNotFound), units(MxException::FormatErrorCodeToMessage(kFileNotFound)));
  expectSystemText(kFileNotFound, fileNotFound);
}

TEST(Registry, AddKeepsTheFirstTextAndAnswersWhetherItWasThere) {
  MxException e;
  EXPECT_TRUE(e.AddExceptionInfo(-4, String(MLIB_T("replacement"))));
  EXPECT_EQ(ascii(e.GetExceptionInfo(-4)), "the current index is out of range of an array");

  EXPECT_FALSE(e.AddExceptionInfo(100, String(MLIB_T("my first"))));
  EXPECT_EQ(ascii(e.GetExceptionInfo(100)), "my first");
  EXPECT_EQ(ascii(MxException(100).GetExceptionInfo()), "my first");
  EXPECT_TRUE(e.AddExceptionInfo(100, String(MLIB_T("my second"))));
  EXPECT_EQ(ascii(e.GetExceptionInfo(100)), "my first");
  // A registered code wins over the system's text in the long report too.
  EXPECT_EQ(ascii(MxException(100, 1, String(), String()).PrintToString()),
            framed("mlib exception { <Code: 100> <Level: Warnning> <Description: my first> "
                   "<Call Stack: > <Location: \"\"> }"));

  e.RemoveExceptionInfo(100);
  e.RemoveExceptionInfo(100);  // not there: nothing happens
  EXPECT_EQ(units(e.GetExceptionInfo(100)), units(MxException::FormatErrorCodeToMessage(100)));
  EXPECT_EQ(ascii(MxException(100).GetExceptionInfo()), "unknown exception");
}

TEST(Registry, RemovedBuiltInsFallBackUntilTheTableEmptiesAndRefills) {
  MxException e;
  e.RemoveExceptionInfo(-6);
  EXPECT_TRUE(e.GetExceptionInfo(-6).IsEmpty());  // no system text for -6
  EXPECT_EQ(ascii(MxException(-6).GetExceptionInfo()), "unknown exception");

  // A caller's entry keeps the table from being empty: no refill while it is there.
  EXPECT_FALSE(e.AddExceptionInfo(4242, String(MLIB_T("keeper"))));
  for (const BuiltIn& entry : kBuiltIns) e.RemoveExceptionInfo(entry.code);
  EXPECT_EQ(ascii(MxException(-4).GetExceptionInfo()), "unknown exception");
  EXPECT_EQ(MxException::GetExceptionMap().GetCount(), 1u);

  // Once empty, the next info operation brings all nine back, each once.
  e.RemoveExceptionInfo(4242);
  EXPECT_TRUE(MxException::GetExceptionMap().IsEmpty());
  EXPECT_EQ(ascii(e.GetExceptionInfo(-6)), "the value is too less");
  EXPECT_EQ(MxException::GetExceptionMap().GetCount(), 9u);
  for (const BuiltIn& entry : kBuiltIns) {
    SCOPED_TRACE(entry.code);
    EXPECT_EQ(ascii(e.GetExceptionInfo(entry.code)), entry.message);
  }
}

TEST(Registry, SystemErrorsReachTheReports) {
  std::FILE* file = std::fopen(MLIB_TEST_DATA_DIR "/no-such-file.txt", "rb");
  const int lastError = MxException::GetLastError();
  MxException e;
  e.SetCode(0);
  std::FILE* again = std::fopen(MLIB_TEST_DATA_DIR "/no-such-file.txt", "rb");
  const int code = e.GetCode();
  ASSERT_EQ(file, nullptr);
  ASSERT_EQ(again, nullptr);
  EXPECT_EQ(lastError, kFileNotFound);
  EXPECT_EQ(code, kFileNotFound);

  // The report shows the captured code and the system's text, its line break included.
  const std::string systemText = ascii(MxException::FormatErrorCodeToMessage(kFileNotFound));
  EXPECT_EQ(ascii(e.PrintToString()),
            framed("mlib exception { <Code: 2> <Level: Info> <Description: " + systemText +
                   "> <Call Stack: > <Location: \"\"> }"));
  expectSystemText(kFileNotFound, MxException::FormatErrorCodeToMessage(kFileNotFound));
}

}  // namespace
