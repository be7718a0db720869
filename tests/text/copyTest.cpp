// The copy helpers and buffer re-sizing of <mlib/text.h>.
#include <mlib/text.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

using mlib::WideChar;
using WideString = std::basic_string<WideChar>;

namespace {

constexpr WideChar kCanary = 0x7E7E;

// The wide copy functions that share one contract: zero-fill, then copy min(length, c - 1).
using WideCopy = WideChar* (*)(WideChar*, const WideChar*, int);

}  // namespace

TEST(CopyHelpers, WideCopiesZeroFillCutAndRefuseBadArguments) {
  struct Named { WideCopy copy; const char* name; };
  const Named copies[] = {{StrCpyT, "StrCpyT"}, {StrCpyW, "StrCpyW"}, {t2w, "t2w"},
                          {w2t, "w2t"},         {StrT2W, "StrT2W"},   {StrW2T, "StrW2T"}};
  struct Row { const WideChar* src; int capacity; const WideChar* want; };
  const Row rows[] = {
      {MLIB_T("abcdef"), 4, MLIB_T("abc")},    // cut to capacity - 1
      {MLIB_T("abcdef"), 7, MLIB_T("abcdef")},  // exactly fits
      {MLIB_T("abc"), 8, MLIB_T("abc")},        // the rest of the room is cleared
      {MLIB_T(""), 3, MLIB_T("")},
      {MLIB_T("abc"), 1, MLIB_T("")},
  };
  for (const Named& f : copies) {
    SCOPED_TRACE(f.name);
    for (const Row& r : rows) {
      SCOPED_TRACE(r.capacity);
      WideChar dst[12];
      for (WideChar& c : dst) c = kCanary;
      ASSERT_EQ(f.copy(dst, r.src, r.capacity), dst);
      EXPECT_EQ(WideString(dst), r.want);
      for (int i = static_cast<int>(WideString(r.want).size()); i < r.capacity; ++i) {
        EXPECT_EQ(dst[i], 0) << "slot " << i;
      }
      for (int i = r.capacity; i < 12; ++i) EXPECT_EQ(dst[i], kCanary) << "slot " << i;
    }
    WideChar dst[2] = {kCanary, kCanary};
    EXPECT_EQ(f.copy(nullptr, MLIB_T("a"), 2), nullptr);
    EXPECT_EQ(f.copy(dst, nullptr, 2), nullptr);
    EXPECT_EQ(f.copy(dst, MLIB_T("a"), 0), nullptr);
    EXPECT_EQ(f.copy(dst, MLIB_T("a"), -5), nullptr);
    EXPECT_EQ(dst[0], kCanary);
  }
}

TEST(CopyHelpers, StrCpyAZeroFillsAndCuts) {
  char dst[8];
  std::memset(dst, 'x', sizeof(dst));
  ASSERT_EQ(StrCpyA(dst, "abcdef", 4), dst);
  EXPECT_EQ(std::string(dst, 8), std::string("abc\0xxxx", 8));
  ASSERT_EQ(StrCpyA(dst, "ab", 6), dst);
  EXPECT_EQ(std::string(dst, 8), std::string("ab\0\0\0\0xx", 8));
  EXPECT_EQ(StrCpyA(dst, "ab", 0), nullptr);
  EXPECT_EQ(StrCpyA(nullptr, "ab", 4), nullptr);
  EXPECT_EQ(StrCpyA(dst, nullptr, 4), nullptr);
  EXPECT_EQ(dst[0], 'a');
}

TEST(CopyHelpers, StrCpyNCopiesCountOrCapacityMinusOne) {
  struct Row { int count; int capacity; const WideChar* want; const char* why; };
  const Row rows[] = {
      {2, 10, MLIB_T("ab"), "count below capacity"},
      {10, 4, MLIB_T("abc"), "count at or above capacity: capacity - 1"},
      {4, 4, MLIB_T("abc"), "count equal to capacity"},
      {20, 30, MLIB_T("abcdef"), "stops at the source's end"},
      {0, 5, MLIB_T(""), "zero count"},
      {-3, 5, MLIB_T(""), "negative count copies nothing"},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.why);
    WideChar dst[32];
    for (WideChar& c : dst) c = kCanary;
    ASSERT_EQ(StrCpyN(dst, MLIB_T("abcdef"), r.count, r.capacity), dst);
    const std::size_t length = WideString(r.want).size();
    EXPECT_EQ(WideString(dst), r.want);
    EXPECT_EQ(dst[length + 1], kCanary) << "the rest of the destination is not touched";
  }
  WideChar dst[4];
  EXPECT_EQ(StrCpyN(nullptr, MLIB_T("a"), 1, 4), nullptr);
  EXPECT_EQ(StrCpyN(dst, nullptr, 1, 4), nullptr);
  EXPECT_EQ(StrCpyN(dst, MLIB_T("a"), 1, 0), nullptr);
}

TEST(CopyHelpers, MemcpyAndByteCopiesAreVerbatim) {
  unsigned char dst[8];
  const unsigned char src[8] = {1, 2, 0, 4, 5, 6, 7, 8};
  std::memset(dst, 0xEE, sizeof(dst));
  EXPECT_EQ(Memcpy(dst, src, 5, 3), dst);  // min(count, limit)
  EXPECT_EQ(dst[2], 0);
  EXPECT_EQ(dst[3], 0xEE);
  EXPECT_EQ(Memcpy(dst, nullptr, 5, 5), dst);
  EXPECT_EQ(dst[0], 1);

  using ByteCopy = void* (*)(void*, const void*, int);
  for (ByteCopy copy : {a2t, a2w, t2a, w2a}) {
    std::memset(dst, 0xEE, sizeof(dst));
    ASSERT_EQ(copy(dst, src, 6), dst);
    EXPECT_EQ(std::memcmp(dst, src, 6), 0) << "six bytes, the zero among them, no widening";
    EXPECT_EQ(dst[6], 0xEE);
    EXPECT_EQ(copy(dst, src, -1), dst);
    EXPECT_EQ(dst[6], 0xEE);
    EXPECT_EQ(copy(nullptr, src, 2), nullptr);
    EXPECT_EQ(copy(dst, nullptr, 2), nullptr);
  }
}

TEST(CopyHelpers, ResizeBufferMovesTextIntoAZeroFilledBuffer) {
  char* narrow = new char[4]{'a', 'b', 'c', '\0'};
  EXPECT_EQ(ResizeBufferA(narrow, 0), narrow) << "capacity 0 returns the buffer itself";
  EXPECT_EQ(ResizeBufferA(nullptr, 8), nullptr);
  narrow = ResizeBufferA(narrow, 8);
  ASSERT_NE(narrow, nullptr);
  EXPECT_EQ(std::string(narrow, 8), std::string("abc\0\0\0\0\0", 8));
  narrow = ResizeBufferA(narrow, 3);
  EXPECT_EQ(std::string(narrow, 3), std::string("ab\0", 3));
  delete[] narrow;

  for (auto resize : {ResizeBufferT, ResizeBufferW}) {
    WideChar* wide = new WideChar[7]{'a', 'b', 'c', 'd', 'e', 'f', 0};
    EXPECT_EQ(resize(wide, 0), wide);
    wide = resize(wide, 4);
    ASSERT_NE(wide, nullptr);
    EXPECT_EQ(WideString(wide, 4), WideString(MLIB_T("abc\0"), 4));
    wide = resize(wide, 6);
    EXPECT_EQ(WideString(wide, 6), WideString(MLIB_T("abc\0\0\0"), 6));
    delete[] wide;
  }
}
