// The copy helpers and buffer re-sizing of <mlib/text.h>.
#include <gtest/gtest.h>
#include <mlib/text.h>

#include <cstring>
#include <string>

using mlib::WideChar;
using WideString = std::basic_string<WideChar>;

TEST(CopyHelpers, WideCopiesZeroFillCutAndRefuseBadArguments) {
  using WideCopy = WideChar* (*)(WideChar*, const WideChar*, int);
  for (WideCopy copy : {StrCpyT, StrCpyW, t2w, w2t, StrT2W, StrW2T}) {
    // capacity, then the whole buffer afterwards: text, zero fill, untouched canaries.
    const struct {
      int capacity;
      WideString want;
    } rows[] = {{4, WideString(MLIB_T("abc\0~~~~"), 8)},
                {7, WideString(MLIB_T("abcdef\0~"), 8)},
                {8, WideString(MLIB_T("abcdef\0\0"), 8)},
                {1, WideString(MLIB_T("\0~~~~~~~"), 8)}};
    for (const auto& r : rows) {
      WideString dst(8, '~');
      ASSERT_EQ(copy(&dst[0], MLIB_T("abcdef"), r.capacity), &dst[0]);
      EXPECT_EQ(dst, r.want) << "capacity " << r.capacity;
    }
    WideChar dst[2] = {'~', '~'};
    EXPECT_EQ(copy(nullptr, MLIB_T("a"), 2), nullptr);
    EXPECT_EQ(copy(dst, nullptr, 2), nullptr);
    EXPECT_EQ(copy(dst, MLIB_T("a"), 0), nullptr);
    EXPECT_EQ(dst[0], '~');
  }
  char narrow[8] = "xxxxxxx";
  ASSERT_EQ(StrCpyA(narrow, "abcdef", 4), narrow);
  EXPECT_EQ(std::string(narrow, 8), std::string("abc\0xxx\0", 8));
  EXPECT_EQ(StrCpyA(narrow, "ab", 0), nullptr);
  EXPECT_EQ(StrCpyA(narrow, nullptr, 4), nullptr);
}

TEST(CopyHelpers, StrCpyNCopiesCountOrCapacityMinusOne) {
  const struct {
    int count, capacity;
    WideString want;
  } rows[] = {
      {2, 10, WideString(MLIB_T("ab\0~"), 4)}, {10, 4, WideString(MLIB_T("abc\0~"), 5)},
      {4, 4, WideString(MLIB_T("abc\0~"), 5)}, {20, 30, WideString(MLIB_T("abcdef\0~"), 8)},
      {-3, 5, WideString(MLIB_T("\0~"), 2)},  // a negative count copies nothing
  };
  for (const auto& r : rows) {
    WideString dst(10, '~');
    ASSERT_EQ(StrCpyN(&dst[0], MLIB_T("abcdef"), r.count, r.capacity), &dst[0]);
    EXPECT_EQ(dst.substr(0, r.want.size()), r.want) << r.count << " into " << r.capacity;
  }
  WideChar dst[4];
  EXPECT_EQ(StrCpyN(dst, MLIB_T("a"), 1, 0), nullptr);
  EXPECT_EQ(StrCpyN(dst, nullptr, 1, 4), nullptr);
}

TEST(CopyHelpers, ByteCopiesAreVerbatim) {
  const unsigned char src[8] = {1, 2, 0, 4, 5, 6, 7, 8};
  unsigned char dst[8] = {};
  EXPECT_EQ(Memcpy(dst, src, 5, 3), dst);  // min(count, limit)
  EXPECT_EQ(std::memcmp(dst, "\1\2\0\0", 4), 0);
  EXPECT_EQ(Memcpy(dst, nullptr, 5, 5), dst);
  for (auto copy : {a2t, a2w, t2a, w2a}) {
    std::memset(dst, 0xEE, sizeof(dst));
    ASSERT_EQ(copy(dst, src, 6), dst);
    EXPECT_EQ(std::memcmp(dst, src, 6), 0) << "six bytes, the zero among them, no widening";
    EXPECT_EQ(dst[6], 0xEE);
    EXPECT_EQ(copy(dst, src, -1), dst);
    EXPECT_EQ(copy(dst, nullptr, 2), nullptr);
  }
}

TEST(CopyHelpers, ResizeBufferMovesTextIntoAZeroFilledBuffer) {
  char* narrow = new char[4]{'a', 'b', 'c', '\0'};
  EXPECT_EQ(ResizeBufferA(narrow, 0), narrow) << "capacity 0 returns the buffer itself";
  EXPECT_EQ(ResizeBufferA(nullptr, 8), nullptr);
  narrow = ResizeBufferA(narrow, 6);
  EXPECT_EQ(std::string(narrow, 6), std::string("abc\0\0\0", 6));
  narrow = ResizeBufferA(narrow, 3);
  EXPECT_EQ(std::string(narrow, 3), std::string("ab\0", 3));
  delete[] narrow;
  for (auto resize : {ResizeBufferT, ResizeBufferW}) {
    WideChar* wide = new WideChar[5]{'a', 'b', 'c', 'd', 0};
    EXPECT_EQ(resize(wide, 0), wide);
    wide = resize(wide, 3);
    EXPECT_EQ(WideString(wide, 3), WideString(MLIB_T("ab\0"), 3));
    wide = resize(wide, 5);
    EXPECT_EQ(WideString(wide, 5), WideString(MLIB_T("ab\0\0\0"), 5));
    delete[] wide;
  }
}
