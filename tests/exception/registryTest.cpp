// The error-code registry and the system's error texts, in a process whose registry other
// tests use too: every test leaves the table as it found it.
#include <gtest/gtest.h>
#include <mlib/exceptions.h>
#include <mlib/syncMap.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <type_traits>

#include "exception/reportText.h"

namespace {

using mlib::MxException;
using mlib::String;
using mlib::testing::ascii;
using mlib::testing::units;

const std::pair<int, const char*> kBuiltIns[] = {
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

TEST(Registry, BuiltInMessagesSystemTextsAndTheLongReport) {
  for (const auto& [code, message] : kBuiltIns) {
    EXPECT_EQ(ascii(MxException().GetExceptionInfo(code)), message) << code;
    EXPECT_EQ(ascii(MxException(code).GetExceptionInfo()), message) << code;
  }
  // Neither system has a text for -9.
  EXPECT_EQ(ascii(MxException(-9).GetExceptionInfo()), "unknown exception");
  EXPECT_TRUE(MxException().GetExceptionInfo(-9).IsEmpty());

  std::FILE* file = std::fopen(MLIB_TEST_DATA_DIR "/no-such-file.txt", "rb");
  const int lastError = MxException::GetLastError();
  ASSERT_TRUE(file == nullptr && lastError == 2);  // ENOENT and ERROR_FILE_NOT_FOUND alike
  const String text = MxException::FormatErrorCodeToMessage(lastError);
  const std::basic_string<mlib::WideChar> got = units(text);
  if constexpr (std::is_same_v<mlib::WideChar, char16_t>) {
    EXPECT_EQ(ascii(text), std::strerror(lastError));  // the C library's text
  } else {  // the message table's texts end in a line break
    EXPECT_TRUE(got.size() >= 3 && got.substr(got.size() - 2) == MLIB_T("\r\n"));
  }
  EXPECT_EQ(units(MxException().GetExceptionInfo(lastError)), got);
  EXPECT_EQ(ascii(MxException(lastError).PrintToString()),
            mlib::testing::framed("mlib exception { <Code: 2> <Level: Info> <Description: " +
                                  ascii(text) + "> <Call Stack: > <Location: \"\"> }"));
}

TEST(Registry, AddKeepsTheFirstTextAndARefillWaitsForAnEmptyTable) {
  MxException e;
  EXPECT_TRUE(e.AddExceptionInfo(-4, String(MLIB_T("replacement"))));
  EXPECT_EQ(ascii(e.GetExceptionInfo(-4)), "the current index is out of range of an array");
  EXPECT_FALSE(e.AddExceptionInfo(100, String(MLIB_T("my first"))));
  EXPECT_TRUE(e.AddExceptionInfo(100, String(MLIB_T("my second"))));
  EXPECT_EQ(ascii(MxException(100).GetExceptionInfo()), "my first");

  // A caller's entry keeps the table from being empty: no refill while it is there.
  for (const auto& entry : kBuiltIns) e.RemoveExceptionInfo(entry.first);
  e.RemoveExceptionInfo(4242);                    // not there: nothing happens
  EXPECT_TRUE(e.GetExceptionInfo(-6).IsEmpty());  // the system has no text for -6
  EXPECT_EQ(ascii(MxException(-4).GetExceptionInfo()), "unknown exception");
  EXPECT_EQ(MxException::GetExceptionMap().GetCount(), 1u);
  e.RemoveExceptionInfo(100);
  EXPECT_TRUE(MxException::GetExceptionMap().IsEmpty());
  // Once empty, the next info operation brings all nine back, each once.
  EXPECT_EQ(units(e.GetExceptionInfo(100)), units(MxException::FormatErrorCodeToMessage(100)));
  EXPECT_EQ(MxException::GetExceptionMap().GetCount(), 9u);
  for (const auto& [code, message] : kBuiltIns) EXPECT_EQ(ascii(e.GetExceptionInfo(code)), message);
}

}  // namespace
