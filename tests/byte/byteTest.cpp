// Byte against the model of its growth rules on seeded scripts, plus the edges the model leaves
// out: copies, moves, identity, counts out of range and the text of the thrown index error.
#include <gtest/gtest.h>
#include <mlib/byte.h>
#include <mlib/exceptions.h>

#include <climits>
#include <random>
#include <string>

#include "byte/byteOps.h"

namespace {

using mlib::Byte;
using mlib::test::bytesOf;
using mlib::test::content;
using mlib::test::storage;

const unsigned char* u8(const char* s) { return reinterpret_cast<const unsigned char*>(s); }

// Seeded scripts through the driver the fuzz target runs on its input.
TEST(Byte, FollowsTheModelOnRandomOperations) {
  for (unsigned seed = 0; seed < 3000; ++seed) {
    std::mt19937 rng(seed);
    ASSERT_EQ(mlib::test::runByteScript([&] { return static_cast<unsigned>(rng()); }, 24, seed % 2),
              "")
        << "seed " << seed;
  }
}

TEST(Byte, CopiesMovesAndIdentity) {
  const Byte none;
  EXPECT_TRUE(none == Byte());
  Byte source("data"), copy(source), target("keep");
  EXPECT_EQ(content(copy), "data");
  EXPECT_FALSE(copy == source);
  target = none;  // copying a Byte without storage changes nothing
  EXPECT_EQ(content(target), "keep");
  Byte reserved;
  unsigned char* at = reserved.AllocBuffer(64);
  reserved.SetData("abc");
  Byte moved(std::move(reserved));
  EXPECT_EQ(reserved.GetData(), nullptr);  // NOLINT(bugprone-use-after-move)
  target = std::move(moved);
  EXPECT_EQ(target.GetData(), at);
  EXPECT_EQ(storage(target), std::string("abc") + std::string(61, '\0'));
}

TEST(Byte, CountsOutOfRangeAndIndexes) {
  Byte b("abc");
  b.SetData(u8("q"), -2);
  b.SetData(nullptr, INT_MAX);
  for (int count : {0, -1, INT_MAX}) b.AppendData(u8("cd"), count);
  b.AppendData(nullptr, 2);
  EXPECT_EQ(b.IncreaseLength(INT_MAX), 3);
  EXPECT_EQ(b.AllocBuffer(-3), b.GetData());
  EXPECT_EQ(storage(b), std::string("abc\0", 4));
  b[2] = 'C';  // SetAt and the index error at every index are steps of the driver
  EXPECT_EQ(storage(b), std::string("abC\0", 4));
  EXPECT_TRUE(b.GetData(nullptr, 5) == 0 && b.GetBuffer(-1) == nullptr);
  try {
    (void)b[INT_MIN];
    ADD_FAILURE() << "no exception";
  } catch (mlib::MxBaseException& e) {
    const mlib::String report = mlib::MxException::PrintToString(&e);
    EXPECT_GE(report.IndexOf(MLIB_T("Description: Call Stack: Byte::[] }")), 0);
  }
  EXPECT_THROW((void)Byte()[0], mlib::MxObject);
}

}  // namespace
