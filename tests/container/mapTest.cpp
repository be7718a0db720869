// MxMap: lookups, the hash per key type, the red-black tree under long random sequences, the
// post-order iteration and RemoveCurrent.
#include <gtest/gtest.h>
#include <mlib/containers.h>

#include <map>
#include <random>
#include <set>
#include <vector>

#include "container/containerTestUtil.h"

namespace mlib {
namespace {

using testing::HashOf;
using testing::Text;
using testing::TextOf;
using testing::TreeIsValid;

template <typename K, typename V>
std::vector<K> IteratedKeys(MxMap<K, V>& map) {
  std::vector<K> keys;
  K key{};
  V value{};
  for (bool ok = map.GetFirst(key, value); ok; ok = map.GetNext(key, value)) keys.push_back(key);
  return keys;
}

TEST(MxMap, LookupSetAtAndRemove) {
  MxMap<int, String> map;
  int key = 4;
  String value;
  EXPECT_TRUE(map.IsEmpty());
  EXPECT_FALSE(map.ContainsKey(1));
  EXPECT_FALSE(map.GetFirst(key, value));
  EXPECT_FALSE(map.RemoveCurrent());
  for (int k = 1; k <= 5; ++k) map.Add(k, String(k * 10));
  EXPECT_FALSE(map.SetAt(9, String(MLIB_T("x"))));
  EXPECT_FALSE(map.ContainsKey(9)) << "SetAt never adds";
  EXPECT_TRUE(map.SetAt(3, String(MLIB_T("thirty"))));
  EXPECT_EQ(TextOf(*map.LookupPtr(3)), Text(MLIB_T("thirty")));
  EXPECT_TRUE(map.Lookup(key, value, true));
  EXPECT_EQ(TextOf(value), Text(MLIB_T("40")));
  EXPECT_FALSE(map.ContainsKey(4));
  EXPECT_EQ(map.GetCount(), 4u);
  EXPECT_TRUE(TreeIsValid(map));
}

TEST(MxMap, KeysOneToSevenIterateInPostOrderRootLast) {
  // Red-black insertion of 1..7 gives 2b(1b, 4r(3b, 6b(5r, 7r))).
  MxMap<int, int> map;
  for (int k = 1; k <= 7; ++k) map.Add(k, -k);
  EXPECT_EQ(IteratedKeys(map), (std::vector<int>{1, 3, 5, 7, 6, 4, 2}));
  for (const auto& order :
       {std::vector<int>{1, 2, 3, 4, 5, 6, 7}, {7, 6, 5, 4, 3, 2, 1}, {4, 2, 6, 1, 7, 3, 5}}) {
    MxMap<int, int> m;
    for (int k = 1; k <= 7; ++k) m.Add(k, k);
    for (int k : order) {
      ASSERT_TRUE(m.Remove(k));
      ASSERT_TRUE(TreeIsValid(m));
    }
    EXPECT_EQ(m.GetFirstNode(), nullptr);
  }

  MxMap<int, int> one;  // one entry: answered once, the cursor stays on it
  one.Add(8, 80);
  EXPECT_EQ(IteratedKeys(one), (std::vector<int>{8}));
  int key = 0;
  int value = 0;
  EXPECT_FALSE(one.GetNext(key, value));
  ASSERT_TRUE(one.GetFirst(key, value));
  EXPECT_TRUE(one.RemoveCurrent());
  EXPECT_TRUE(one.IsEmpty());
}

TEST(MxMap, HashPerKeyType) {
  // h = h * 131 + c over the ANSI bytes: "abc" -> (97 * 131 + 98) * 131 + 99.
  EXPECT_EQ(HashOf<String>::hashKey(String(MLIB_T("abc"))), 1677554u);
  EXPECT_EQ(HashOf<std::string>::hashKey(std::string("abc")), 1677554u);
  EXPECT_EQ(HashOf<String>::hashKey(String()), 0xFFFFFFFFu) << "no text";
  EXPECT_EQ(HashOf<short>::hashKey(static_cast<short>(-1)), 0xFFFFFFFFu) << "by value";
  EXPECT_EQ(HashOf<unsigned char>::hashKey(static_cast<unsigned char>(200)), 200u);
  EXPECT_EQ(HashOf<long long>::hashKey((1LL << 32) + 5), 5u) << "low 32 bits";

  MxMap<int, int> map;  // -1 hashes to 0xFFFFFFFF: right of 5, not left of 3
  for (int k : {5, 3, -1}) map.Add(k, 0);
  EXPECT_EQ(IteratedKeys(map), (std::vector<int>{3, -1, 5}));
}

TEST(MxMap, KeysOfEqualHashAreOneKeyForLookupsYetAllStay) {
  // "Aa" and "B\u00DE" (0xDE = -34 as a signed byte): 65 * 131 + 97 == 66 * 131 - 34.
  MxMap<String, int> texts;
  texts.Add(String(MLIB_T("Aa")), 1);
  EXPECT_EQ(*texts.LookupPtr(String(MLIB_T("B\u00DE"))), 1);
  EXPECT_FALSE(texts.ContainsKey(String(MLIB_T("Ab"))));

  MxMap<long long, int> twins;  // 7 + i * 2^32 all hash to 7
  for (int i = 0; i < 40; ++i) twins.Add(7 + (i % 5) * (1LL << 32), i);
  for (int i = 100; i < 120; ++i) twins.Add(i, i);
  ASSERT_TRUE(TreeIsValid(twins, false));
  for (int left = 40; left > 0; --left) {
    ASSERT_TRUE(twins.Remove(7)) << left;
    ASSERT_TRUE(TreeIsValid(twins, false));
  }
  EXPECT_FALSE(twins.ContainsKey(7));
  EXPECT_EQ(twins.GetCount(), 20u);
}

TEST(MxMap, RandomAddsAndRemovesKeepTheTreeValid) {
  for (const unsigned seed : {1u, 7u, 2024u}) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    MxMap<int, String> map;
    std::map<int, int> reference;
    for (int step = 0; step < 2500; ++step) {
      const int key = static_cast<int>(random() % 600) - 100;
      const unsigned op = random() % 10;
      if (op < 5 && reference.count(key) == 0) {
        ASSERT_TRUE(map.Add(key, String(key)));
        reference[key] = key;
      } else if (op < 8) {
        ASSERT_EQ(map.Remove(key), reference.erase(key) == 1);
      } else {
        int k = key;
        String value;
        ASSERT_EQ(map.Lookup(k, value, true), reference.erase(key) == 1);
        EXPECT_TRUE(value.IsNull() || value.toInt() == key);
      }
      ASSERT_TRUE(TreeIsValid(map)) << "step " << step;
    }
    for (const auto& [key, value] : reference) {
      ASSERT_NE(map.LookupPtr(key), nullptr);
      EXPECT_EQ(map.LookupPtr(key)->toInt(), value);
    }
  }
}

TEST(MxMap, RemoveCurrentTakesTheCursorEntryAndTheWalkGoesOn) {
  // 2b(1r, 3r): after 1 is answered the cursor stands on 2. Removing it moves 3 into its
  // place and leaves the cursor on the leaf 3 became; the walk resumes from there.
  MxMap<int, int> map;
  for (int k = 1; k <= 3; ++k) map.Add(k, k);
  int key = 0;
  int value = 0;
  ASSERT_TRUE(map.GetFirst(key, value));
  EXPECT_TRUE(map.RemoveCurrent());
  EXPECT_FALSE(map.ContainsKey(2));
  std::vector<int> rest;
  while (map.GetNext(key, value)) rest.push_back(key);
  EXPECT_EQ(rest, (std::vector<int>{1, 3}));

  for (const unsigned seed : {3u, 11u, 12u}) {  // never a removed entry, always an end
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    MxMap<int, int> big;
    std::set<int> present;
    while (present.size() < 300) {
      const int k = static_cast<int>(random() % 100000);
      if (present.insert(k).second) big.Add(k, k);
    }
    int steps = 0;
    for (bool ok = big.GetFirst(key, value); ok; ok = big.GetNext(key, value)) {
      ASSERT_EQ(present.count(key), 1u) << "answered a removed entry";
      ASSERT_LT(++steps, 3000) << "the walk does not end";
      if (random() % 4 != 0 || !big.RemoveCurrent()) continue;
      std::size_t gone = 0;
      for (auto it = present.begin(); it != present.end();) {
        it = big.ContainsKey(*it) ? std::next(it) : (++gone, present.erase(it));
      }
      ASSERT_EQ(gone, 1u);
      ASSERT_EQ(big.GetCount(), present.size());
    }
    EXPECT_TRUE(TreeIsValid(big));
  }
}

}  // namespace
}  // namespace mlib
