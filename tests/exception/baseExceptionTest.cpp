// MxBaseException: code, level, owned description, GetCode's capture of the last system
// error, and throwing by value (the library's own throws included).
#include <gtest/gtest.h>
#include <mlib/byte.h>
#include <mlib/exceptions.h>
#include <mlib/string.h>

#include <cstdio>
#include <string>

#include "exception/reportText.h"

namespace {

using mlib::MxBaseException;
using mlib::MxException;
using mlib::testing::ascii;
using mlib::testing::framed;

// Opening a missing file in an existing folder fails with 2 on both platforms: ENOENT from
// the C library, ERROR_FILE_NOT_FOUND from Windows.
constexpr int kFileNotFound = 2;
constexpr char kMissingFile[] = MLIB_TEST_DATA_DIR "/no-such-file.txt";

std::string shortReport(const MxBaseException& e) { return ascii(MxException::PrintToString(&e)); }

TEST(MxBaseException, OwnsItsDescriptionAndEveryCopyItsOwn) {
  mlib::WideChar text[] = MLIB_T("disk full");
  auto* original = new MxBaseException(-3, 2, text);
  text[0] = MLIB_T('X');
  EXPECT_EQ(original->GetCode(), -3);
  EXPECT_EQ(original->GetLevel(), 2);
  const MxBaseException copy(*original);
  MxBaseException assigned(1, 1, MLIB_T("other"));
  assigned = *original;
  delete original;
  const std::string expected =
      framed("mlib exception: { Code: -3; Level: Serious; Description: disk full }");
  EXPECT_EQ(shortReport(copy), expected);
  EXPECT_EQ(shortReport(assigned), expected);

  // An absent description stays absent through copies and assignments.
  const MxBaseException none(5, 0, nullptr);
  assigned = none;
  EXPECT_EQ(shortReport(MxBaseException(none)),
            framed("mlib exception: { Code: 5; Level: Info; Description: (null) }"));
  EXPECT_EQ(shortReport(assigned), shortReport(none));
}

TEST(MxBaseException, ZeroCodeTakesTheLastSystemErrorOnce) {
  MxBaseException e(9, 0, nullptr);
  e.SetCode(0);
  std::FILE* file = std::fopen(kMissingFile, "rb");
  const int captured = e.GetCode();
  ASSERT_EQ(file, nullptr);
  EXPECT_EQ(captured, kFileNotFound);
  // Kept: a later failure of another kind does not change it.
  ASSERT_EQ(std::fopen(MLIB_TEST_DATA_DIR "/no-such-folder/x.txt", "rb"), nullptr);
  EXPECT_EQ(e.GetCode(), kFileNotFound);
  // A non-zero code is never replaced.
  e.SetCode(-1);
  ASSERT_EQ(std::fopen(kMissingFile, "rb"), nullptr);
  EXPECT_EQ(e.GetCode(), -1);
}

TEST(MxBaseException, IsThrownByValueAndCaughtAsItsBases) {
  mlib::String empty;
  try {
    (void)empty[0];
    ADD_FAILURE() << "String::operator[] did not throw";
  } catch (mlib::MxObject& caught) {
    auto* base = dynamic_cast<MxBaseException*>(&caught);
    ASSERT_NE(base, nullptr);
    EXPECT_EQ(base->GetLevel(), 3);
    EXPECT_EQ(base->GetCode(), -4);
    EXPECT_EQ(shortReport(*base),
              framed("mlib exception: { Code: -4; Level: Fatal; Description: Call Stack: "
                     "String::[]; Location: \"if(uIndex>=getSize())\" }"));
  }

  const mlib::Byte bytes("ab");
  try {
    (void)bytes[1000];
    ADD_FAILURE() << "Byte::operator[] did not throw";
  } catch (const MxBaseException& caught) {
    const MxBaseException copy = caught;  // a second owner of the thrown text
    EXPECT_EQ(shortReport(copy), shortReport(caught));
    EXPECT_EQ(shortReport(caught),
              framed("mlib exception: { Code: -4; Level: Fatal; Description: Call Stack: "
                     "Byte::[] }"));
  }
}

}  // namespace
