// MxMap: the shared driver (mapDriver.h) over seeded random scripts, the hash per key type,
// String keys, and RemoveCurrent's cursor.
#include <gtest/gtest.h>
#include <mlib/containers.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "container/containerTestUtil.h"
#include "text/ansiCodePageScope.h"

namespace mlib {
namespace {

using testing::HashOf;
using testing::Text;
using testing::TextOf;

TEST(MxMap, RandomScriptsAgreeWithAModel) {
  for (unsigned seed = 0; seed < 300; ++seed) {
    std::mt19937 random(seed);
    std::vector<std::uint8_t> script(1200);
    for (std::uint8_t& byte : script) byte = static_cast<std::uint8_t>(random());
    ASSERT_EQ(testing::RunMapScript(script.data(), script.size()), "") << "seed " << seed;
  }
}

TEST(MxMap, HashPerKeyType) {
  // h = h * 131 + c over the ANSI bytes: "abc" -> (97 * 131 + 98) * 131 + 99.
  EXPECT_EQ(HashOf<String>::hashKey(String(MLIB_T("abc"))), 1677554u);
  EXPECT_EQ(HashOf<std::string>::hashKey(std::string("abc")), 1677554u);
  EXPECT_EQ(HashOf<String>::hashKey(String()), 0xFFFFFFFFu) << "no text";
  EXPECT_EQ(HashOf<short>::hashKey(static_cast<short>(-1)), 0xFFFFFFFFu) << "by value";
  EXPECT_EQ(HashOf<unsigned char>::hashKey(static_cast<unsigned char>(200)), 200u);
  EXPECT_EQ(HashOf<long long>::hashKey((1LL << 32) + 5), 5u) << "low 32 bits";
}

TEST(MxMap, StringKeysAreFoundByTheHashOfTheirAnsiText) {
  MLIB_USE_ANSI_CODE_PAGE(1252);
  MxMap<String, int> map;
  // "Aa" and "B\u00DE" have equal hashes (0xDE is -34 as a signed byte): one key to searches.
  ASSERT_TRUE(map.Add(String(MLIB_T("Aa")), 1));
  String key(MLIB_T("B\u00DE"));
  char* ansi = key.toAnsi();  // marked: a search hashes a copy and leaves the caller's key be
  ansi[0] = '#';
  unsigned char before[sizeof(String)];
  std::memcpy(before, static_cast<const void*>(&key), sizeof before);
  EXPECT_TRUE(map.SetAt(key, 2) && *map.LookupPtr(key) == 2 &&
              !map.ContainsKey(String(MLIB_T("Ab"))));
  EXPECT_TRUE(ansi[0] == '#' &&
              std::memcmp(before, static_cast<const void*>(&key), sizeof before) == 0);
  int value = 0;
  String other(MLIB_T("Aa"));  // SetAt stored its key: that comes back
  EXPECT_TRUE(map.Lookup(other, value, true) && value == 2 && TextOf(other) == MLIB_T("B\u00DE"));
  // An empty key with a buffer is stored as a null String and found through that copy.
  String empty;
  empty.AllocBuffer(4);
  ASSERT_TRUE(map.Add(empty, 7));
  EXPECT_EQ(*map.LookupPtr(empty), 7);
  EXPECT_TRUE(map.Remove(empty) && map.IsEmpty());
  // Both sides are hashed at search time: a key added under one code page is found under
  // another.
  const String cafe(MLIB_T("caf\u00E9"));
  ASSERT_TRUE(map.Add(cafe, 1));
  if (!SetAnsiCodePage(936)) GTEST_SKIP() << "code page 936 cannot be chosen here";
  EXPECT_TRUE(map.LookupPtr(cafe) != nullptr && map.Remove(cafe) && map.IsEmpty());
}

TEST(MxMap, RemoveCurrentLeavesTheCursorWhereDeleteNodeAnswers) {
  // 2b(1r, 3r): after 1 is answered the cursor stands on 2. Removing it moves 3 into its
  // place and leaves the cursor on the leaf 3 became; the walk resumes from there.
  MxMap<int, int> map;
  for (int k = 1; k <= 3; ++k) map.Add(k, k);
  int key = 0, value = 0;
  ASSERT_TRUE(map.GetFirst(key, value) && map.RemoveCurrent() && !map.ContainsKey(2));
  std::vector<int> rest;
  while (map.GetNext(key, value)) rest.push_back(key);
  EXPECT_EQ(rest, (std::vector<int>{1, 3}));
  int *keyAt = nullptr, *valueAt = nullptr;  // one entry: answered once, the cursor stays on it
  ASSERT_TRUE(map.Remove(1) && map.GetFirstPtr(&keyAt, &valueAt) &&
              !map.GetNextPtr(&keyAt, nullptr));
  EXPECT_TRUE(*keyAt == 3 && valueAt == map.LookupPtr(3) && map.RemoveCurrent() && map.IsEmpty());
  EXPECT_FALSE(map.RemoveCurrent() || map.GetFirst(key, value));
}

}  // namespace
}  // namespace mlib
