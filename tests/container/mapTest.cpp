// MxMap: random operations against std::map with the tree checked and its nodes counted as
// MxObject's operators make and free them, the hash per key type, the post-order iteration
// and RemoveCurrent.
#include <gtest/gtest.h>
#include <mlib/containers.h>

#include <map>
#include <random>
#include <set>
#include <vector>

#include "container/containerTestUtil.h"

namespace mlib {
namespace {

struct Tally {  // a value whose map nodes count themselves
  int v = 0;
};
int liveNodes = 0;

}  // namespace

// Tally's node: the map's record with its allocation operators counting.
template <>
struct MxMap<int, Tally>::NODE : public MxObject {
  static void* operator new(std::size_t n) noexcept {
    return ++liveNodes, MxObject::operator new(n);
  }
  static void operator delete(void* p) noexcept { --liveNodes, MxObject::operator delete(p); }
  ~NODE() override {
    if (parent != nullptr && parent->left == this) parent->left = nullptr;
    if (parent != nullptr && parent->right == this) parent->right = nullptr;
  }
  int key{};
  Tally value{};
  NODE *parent = nullptr, *left = nullptr, *right = nullptr;
  int colour = 0;
};

namespace {

using testing::HashOf;
using testing::TreeIsValid;

template <typename K, typename V>
std::vector<K> IteratedKeys(MxMap<K, V>& map) {
  std::vector<K> keys;
  K key{};
  V value{};
  for (bool ok = map.GetFirst(key, value); ok; ok = map.GetNext(key, value)) keys.push_back(key);
  return keys;
}

TEST(MxMap, MatchesAStdMapAndEveryRemovalFreesItsNodes) {
  MxMap<int, Tally> map;
  int key = 4;
  Tally value;
  EXPECT_TRUE(map.IsEmpty() && !map.ContainsKey(1) && !map.GetFirst(key, value));
  EXPECT_FALSE(map.RemoveCurrent());
  std::map<int, int> model;
  for (const unsigned seed : {1u, 7u, 2024u}) {
    std::mt19937 random(seed);
    for (int step = 0; step < 2500; ++step) {
      const int k = static_cast<int>(random() % 600) - 100, op = static_cast<int>(random() % 10);
      const bool there = model.count(k) == 1, remove = random() % 2;
      const int stored = there ? model[k] : -1;
      bool got = there, want = there;
      if (op < 4 && !there) got = map.Add(k, Tally{k}), want = true, model[k] = k;
      if (op >= 4 && op < 7) got = map.Remove(k), model.erase(k);
      if (op == 7) got = map.Lookup(key = k, value = Tally{-1}, remove) && value.v == stored;
      if (op == 7 && remove) model.erase(k);
      if (op == 8) got = map.SetAt(k, Tally{k + 1});
      if (op == 8 && there) model[k] = k + 1;
      if (op == 9) got = map.ContainsKey(k) && map.LookupPtr(k)->v == stored;
      ASSERT_EQ(got, want) << "operation " << op << " on " << k << ", step " << step;
      ASSERT_EQ(map.LookupPtr(k) != nullptr, model.count(k) == 1) << "step " << step;
      ASSERT_TRUE(TreeIsValid(map)) << "step " << step;
      ASSERT_EQ(map.GetCount(), model.size());
      ASSERT_EQ(liveNodes, model.empty() ? 0 : 2 * static_cast<int>(model.size()) + 1)
          << "nodes held after step " << step << ": entries and their leaves only";
    }
  }
  for (const auto& [k, v] : model) ASSERT_TRUE(map.LookupPtr(k)->v == v && map.Remove(k)) << k;
  EXPECT_TRUE(map.IsEmpty() && map.GetFirstNode() == nullptr && liveNodes == 0);
  map.Add(1, Tally{}), map.RemoveAll();
  EXPECT_EQ(liveNodes, 0);
}

TEST(MxMap, KeysOneToSevenIterateInPostOrderRootLast) {
  // Red-black insertion of 1..7 gives 2b(1b, 4r(3b, 6b(5r, 7r))).
  MxMap<int, int> map, one;
  for (int k = 1; k <= 7; ++k) map.Add(k, -k);
  EXPECT_EQ(IteratedKeys(map), (std::vector<int>{1, 3, 5, 7, 6, 4, 2}));
  one.Add(8, 80);  // one entry: answered once, the cursor stays on it
  int key = 0, value = 0;
  EXPECT_EQ(IteratedKeys(one), (std::vector<int>{8}));
  EXPECT_FALSE(one.GetNext(key, value));
  EXPECT_TRUE(one.GetFirst(key, value) && one.RemoveCurrent() && one.IsEmpty());
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
  for (int i = 0; i < 60; ++i) twins.Add(i < 40 ? 7 + (i % 5) * (1LL << 32) : 60 + i, i);
  for (int left = 40; left >= 0; --left) {
    ASSERT_TRUE(TreeIsValid(twins, false)) << left;
    ASSERT_EQ(twins.Remove(7), left > 0) << left;
  }
  EXPECT_EQ(twins.GetCount(), 20u);
}

TEST(MxMap, RemoveCurrentTakesTheCursorEntryAndTheWalkGoesOn) {
  // 2b(1r, 3r): after 1 is answered the cursor stands on 2. Removing it moves 3 into its
  // place and leaves the cursor on the leaf 3 became; the walk resumes from there.
  MxMap<int, int> map;
  for (int k = 1; k <= 3; ++k) map.Add(k, k);
  int key = 0, value = 0;
  ASSERT_TRUE(map.GetFirst(key, value) && map.RemoveCurrent() && !map.ContainsKey(2));
  std::vector<int> rest;
  while (map.GetNext(key, value)) rest.push_back(key);
  EXPECT_EQ(rest, (std::vector<int>{1, 3}));
  for (const unsigned seed : {3u, 11u, 12u}) {  // never a removed entry, always an end
    std::mt19937 random(seed);
    MxMap<int, Tally> big;
    std::set<int> present;
    while (present.size() < 300) {
      const int k = static_cast<int>(random() % 100000);
      if (present.insert(k).second) big.Add(k, Tally{k});
    }
    Tally tally;
    int steps = 0;
    for (bool ok = big.GetFirst(key, tally); ok; ok = big.GetNext(key, tally)) {
      ASSERT_TRUE(present.count(key) == 1 && ++steps < 3000) << "a removed entry, or no end";
      if (random() % 4 != 0 || !big.RemoveCurrent()) continue;
      std::size_t gone = 0;
      for (auto it = present.begin(); it != present.end();) {
        it = big.ContainsKey(*it) ? std::next(it) : (++gone, present.erase(it));
      }
      ASSERT_TRUE(gone == 1 && big.GetCount() == present.size()) << "seed " << seed;
      ASSERT_EQ(liveNodes, 2 * static_cast<int>(present.size()) + 1) << "seed " << seed;
    }
    EXPECT_TRUE(TreeIsValid(big));
  }
}

}  // namespace
}  // namespace mlib
