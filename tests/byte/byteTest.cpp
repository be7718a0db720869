// Byte against the model of its growth rules on seeded scripts, plus what the model leaves out:
// copies, moves, odd counts, the index error, conversions beyond ASCII, failed allocations.
#include <gtest/gtest.h>
#include <mlib/text.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <new>
#include <random>
#include <sstream>
#include <utility>

#include "byte/byteOps.h"  // Byte, its exceptions, <functional> and <string>
#include "text/ansiCodePageScope.h"

static bool gFailNext = false;  // the next allocation throws

// This program's allocation operators, which can be told to fail.
void* operator new(std::size_t size) {
  void* block = std::exchange(gFailNext, false) ? nullptr : std::malloc(size == 0 ? 1 : size);
  return block != nullptr ? block : throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return std::malloc(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return std::malloc(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { std::free(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { std::free(block); }

namespace {

using mlib::Byte;
using mlib::test::bytesOf;
using mlib::test::content;
using mlib::test::storage;

std::string utf8Of(unsigned cp) {  // one BMP code point
  if (cp < 0x80) return std::string(1, static_cast<char>(cp));
  if (cp < 0x800) return std::string{char(0xC0 | cp >> 6), char(0x80 | (cp & 63))};
  return std::string{char(0xE0 | cp >> 12), char(0x80 | (cp >> 6 & 63)), char(0x80 | (cp & 63))};
}

std::string times(const std::string& s, int n) { return n > 0 ? s + times(s, n - 1) : ""; }

TEST(Byte, FollowsTheModelOnRandomOperations) {
  for (unsigned seed = 0; seed < 3000; ++seed) {
    std::mt19937 rng(seed);
    ASSERT_EQ(mlib::test::runByteScript(std::ref(rng), 24, seed % 2), "") << "seed " << seed;
  }
}

TEST(Byte, CopiesMovesIdentityAndCountsOutOfRange) {
  const Byte none;
  Byte source("data"), copy(source), b;
  EXPECT_TRUE(none == Byte() && !(copy == source) && content(copy) == "data");
  const unsigned char* at = b.AllocBuffer(64);
  b.SetData("abc");
  Byte moved(std::move(b));
  EXPECT_EQ(b.GetData(), nullptr);  // NOLINT(bugprone-use-after-move)
  source = std::move(moved);        // its own storage released
  EXPECT_TRUE(source.GetData() == at && storage(source) == std::string("abc").append(61, '\0'));
  Byte c("abc");
  const auto* q = reinterpret_cast<const unsigned char*>("q");
  c.SetData(q, -2);
  c.SetData(nullptr, INT_MAX);
  for (int count : {0, -1, INT_MAX}) c.AppendData(q, count);
  c.AppendData(nullptr, 2);
  EXPECT_EQ(c.IncreaseLength(INT_MAX), 3);
  EXPECT_EQ(c.AllocBuffer(-3), c.GetData());
  c[2] = 'C';  // SetAt and the index error at every index are steps of the driver
  EXPECT_EQ(storage(c), std::string("abC\0", 4));
  EXPECT_TRUE(c.GetData(nullptr, 5) == 0 && c.GetBuffer(-1) == nullptr);
  try {
    (void)c[INT_MIN];
    ADD_FAILURE() << "no exception";
  } catch (mlib::MxBaseException& e) {
    const mlib::String report = mlib::MxException::PrintToString(&e);
    EXPECT_GE(report.IndexOf(MLIB_T("Description: Call Stack: Byte::[] }")), 0);
  }
  EXPECT_THROW((void)Byte()[0], mlib::MxObject);
}

// Every 1252 byte against the page's table both ways, and room for three UTF-8 bytes per byte
// (0x80 is the euro sign in 1252; under UTF-8 as the ANSI page a stray byte is U+FFFD).
TEST(Byte, ConversionsBeyondAsciiKeepEveryCharacter) {
  if (AnsiCodePageScope scope(1252); scope.active) {
    std::ifstream table(MLIB_TEST_DATA_DIR "/cp1252-to-wide.txt");
    std::string ansi, expectedUtf8;
    for (std::string line; std::getline(table, line);) {
      if (line.size() != 7) continue;  // one byte, a tab, one unit; the mixtures are longer
      unsigned byte = 0, unit = 0;
      std::istringstream(line) >> std::hex >> byte >> unit;
      ansi += static_cast<char>(byte);
      expectedUtf8 += utf8Of(unit);
    }
    ASSERT_EQ(ansi.size(), 255u);
    const Byte utf8 = bytesOf(ansi).AnsiToUtf8();
    EXPECT_EQ(content(utf8), expectedUtf8);
    EXPECT_EQ(utf8.GetBufferLength(), utf8.GetLength() + 1);
    EXPECT_EQ(content(utf8.Utf8ToAnsi()), ansi);
    EXPECT_EQ(content(bytesOf(std::string(1000, '\x80')).AnsiToUtf8()),
              times(utf8Of(0x20AC), 1000));
  }
  if (AnsiCodePageScope scope(65001); scope.active) {
    EXPECT_EQ(content(bytesOf(std::string(40, '\xFF')).Utf8ToAnsi()), times("\xEF\xBF\xBD", 40));
    EXPECT_EQ(content(bytesOf(std::string(40, '\x80')).AnsiToUtf8()), times("\xEF\xBF\xBD", 40));
  }
}

// Every operation that must allocate, on "abcd" at capacity: the exception passes, nothing changes.
TEST(Byte, AFailedAllocationLeavesTheObjectAsItWas) {
  static const unsigned char kBytes[] = "0123456789";
  const Byte longer("a longer text than before");
  const std::pair<const char*, std::function<void(Byte&)>> rows[] = {
      {"SetData(bytes)", [](Byte& b) { b.SetData(kBytes, 10); }},
      {"AppendData", [](Byte& b) { b.AppendData(kBytes, 3); }},
      {"+= Byte", [](Byte& b) { b += b; }},
      {"AllocBuffer", [](Byte& b) { b.AllocBuffer(64); }},
      {"IncreaseSize", [](Byte& b) { b.IncreaseSize(8); }},
      {"ToString", [](Byte& b) { (void)b.ToString(); }},
      {"copy assignment", [&](Byte& b) { b = longer; }},
      {"AnsiToUtf8", [](Byte& b) { (void)b.AnsiToUtf8(); }}};
  for (const auto& [operation, run] : rows) {
    Byte b;
    b.IncreaseLength(4);
    std::memcpy(b.GetBuffer(0), "abcd", 4);
    const unsigned char* before = b.GetData();
    gFailNext = true;
    EXPECT_THROW(run(b), std::bad_alloc) << operation;
    gFailNext = false;
    EXPECT_TRUE(b.GetData() == before && content(b) + "/" + storage(b) == "abcd/abcd") << operation;
  }
}

}  // namespace
