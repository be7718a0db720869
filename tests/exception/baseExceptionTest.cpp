// MxBaseException: code, level, owned description, GetCode's capture of the last system
// error, and throwing by value.
#include <mlib/byte.h>
#include <mlib/exceptions.h>
#include <mlib/string.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "exception/reportText.h"

namespace {

using mlib::MxBaseException;
using mlib::MxException;
using mlib::testing::ascii;
using mlib::testing::framed;

// The error both platforms give for opening a missing file in an existing folder:
// ENOENT (2) from the C library, ERROR_FILE_NOT_FOUND (2) from Windows.
constexpr int kFileNotFound = 2;
constexpr char kMissingFile[] = MLIB_TEST_DATA_DIR "/no-such-file.txt";

TEST(MxBaseException, KeepsCodeLevelAndItsOwnDescription) {
  mlib::WideChar description[] = MLIB_T("disk full");
  MxBaseException e(-3, 2, description);
  description[0] = MLIB_T('X');  // the exception made its own copy
  EXPECT_EQ(e.GetCode(), -3);
  EXPECT_EQ(e.GetLevel(), 2);
  EXPECT_EQ(ascii(MxException::PrintToString(&e)),
            framed("mlib exception: { Code: -3; Level: Serious; Description: disk full }"));

  e.SetCode(17);
  e.SetLevel(9);
  EXPECT_EQ(e.GetCode(), 17);
  EXPECT_EQ(e.GetLevel(), 9);
}

TEST(MxBaseException, CopiesOwnTheirDescriptions) {
  auto* original = new MxBaseException(-4, 3, MLIB_T("Call Stack: Byte::[]"));
  const MxBaseException copy(*original);
  MxBaseException assigned(1, 1, MLIB_T("other"));
  assigned = *original;
  MxBaseException fromNull(5, 0, nullptr);
  MxBaseException assignedNull(6, 1, MLIB_T("replaced"));
  assignedNull = fromNull;
  const MxBaseException copyOfNull(fromNull);
  delete original;  // the copies keep theirs

  const std::string expected =
      framed("mlib exception: { Code: -4; Level: Fatal; Description: Call Stack: Byte::[] }");
  EXPECT_EQ(ascii(MxException::PrintToString(&copy)), expected);
  EXPECT_EQ(ascii(MxException::PrintToString(&assigned)), expected);
  EXPECT_EQ(ascii(MxException::PrintToString(&copyOfNull)),
            framed("mlib exception: { Code: 5; Level: Info; Description: (null) }"));
  EXPECT_EQ(ascii(MxException::PrintToString(&assignedNull)),
            framed("mlib exception: { Code: 5; Level: Info; Description: (null) }"));
}

TEST(MxBaseException, ZeroCodeTakesTheLastSystemErrorOnce) {
  MxBaseException e(9, 0, nullptr);
  e.SetCode(0);
  std::FILE* file = std::fopen(kMissingFile, "rb");
  const int captured = e.GetCode();
  ASSERT_EQ(file, nullptr);
  EXPECT_EQ(captured, kFileNotFound);
  EXPECT_EQ(MxException::GetLastError(), kFileNotFound);

  // Kept: a later failure of another kind does not change it.
  std::FILE* folder = std::fopen(MLIB_TEST_DATA_DIR "/no-such-folder/x.txt", "rb");
  ASSERT_EQ(folder, nullptr);
  EXPECT_EQ(e.GetCode(), kFileNotFound);

  // A non-zero code is never replaced.
  MxBaseException fixed(-1, 0, nullptr);
  std::FILE* again = std::fopen(kMissingFile, "rb");
  ASSERT_EQ(again, nullptr);
  EXPECT_EQ(fixed.GetCode(), -1);
}

TEST(MxBaseException, IsThrownByValueAndCaughtAsItsBases) {
  try {
    throw MxBaseException(-4, 3, MLIB_T("Call Stack: String::[]"));
  } catch (const mlib::MxObject& caught) {
    const auto* base = dynamic_cast<const MxBaseException*>(&caught);
    ASSERT_NE(base, nullptr);
    EXPECT_EQ(base->GetLevel(), 3);
  }

  // The library's own throws: the index operators of String and Byte.
  mlib::String empty;
  try {
    (void)empty[0];
    ADD_FAILURE() << "String::operator[] did not throw";
  } catch (mlib::MxObject& caught) {
    auto* base = dynamic_cast<MxBaseException*>(&caught);
    ASSERT_NE(base, nullptr);
    EXPECT_EQ(base->GetLevel(), 3);
    EXPECT_EQ(base->GetCode(), -4);
    EXPECT_EQ(ascii(MxException::PrintToString(base)),
              framed("mlib exception: { Code: -4; Level: Fatal; Description: Call Stack: "
                     "String::[]; Location: \"if(uIndex>=getSize())\" }"));
  }

  const mlib::Byte bytes("ab");
  try {
    (void)bytes[1000];
    ADD_FAILURE() << "Byte::operator[] did not throw";
  } catch (const MxBaseException& caught) {
    const MxBaseException copy = caught;  // a second owner of the same text
    EXPECT_EQ(ascii(MxException::PrintToString(&caught)),
              framed("mlib exception: { Code: -4; Level: Fatal; Description: Call Stack: "
                     "Byte::[] }"));
    EXPECT_EQ(ascii(MxException::PrintToString(&copy)),
              ascii(MxException::PrintToString(&caught)));
  }
}

}  // namespace
