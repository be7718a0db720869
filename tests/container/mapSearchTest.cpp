// MxMap searches by key (ContainsKey, Remove, LookupPtr, Lookup, SetAt): each copies the key
// into a probe node with CopyPair and asks FindNode, so the search sees the key as the map
// would store it, overrides of both are honoured, and the caller's key is only read.
#include <gtest/gtest.h>
#include <mlib/containers.h>

#include <cstring>
#include <thread>
#include <vector>

#include "container/containerTestUtil.h"
#include "text/ansiCodePageScope.h"

namespace mlib {
namespace {

TEST(MxMapSearch, EmptyStringKeyWithABufferIsFoundThroughItsStoredCopy) {
  // The copy of an empty String is a null String; the caller's key keeps its buffer.
  MxMap<String, int> map;
  String empty;
  empty.AllocBuffer(4);
  ASSERT_FALSE(empty.IsNull());
  ASSERT_TRUE(map.Add(empty, 7));
  EXPECT_TRUE(map.ContainsKey(empty));
  ASSERT_NE(map.LookupPtr(empty), nullptr);
  EXPECT_EQ(*map.LookupPtr(empty), 7);
  EXPECT_TRUE(map.SetAt(empty, 8));
  String key;
  key.AllocBuffer(4);
  int value = 0;
  EXPECT_TRUE(map.Lookup(key, value));
  EXPECT_EQ(value, 8);
  EXPECT_TRUE(map.Remove(empty));
  EXPECT_TRUE(map.IsEmpty());
}

TEST(MxMapSearch, TheCallersKeyIsOnlyRead) {
  MxMap<String, int> map;
  for (const WideChar* text : {MLIB_T("alpha"), MLIB_T("beta"), MLIB_T("gamma")}) {
    map.Add(String(text), 1);
  }
  const String key(MLIB_T("beta"));
  const char* ansi = key.toAnsi();  // borrowed: valid until key changes
  unsigned char before[sizeof(String)];
  std::memcpy(before, static_cast<const void*>(&key), sizeof before);

  EXPECT_TRUE(map.ContainsKey(key));
  EXPECT_NE(map.LookupPtr(key), nullptr);
  EXPECT_TRUE(map.SetAt(key, 2));
  EXPECT_TRUE(map.Remove(key));
  EXPECT_FALSE(map.ContainsKey(key));

  EXPECT_EQ(std::memcmp(before, static_cast<const void*>(&key), sizeof before), 0)
      << "a search changed the caller's key (made a new ANSI copy)";
  EXPECT_STREQ(ansi, "beta");
}

TEST(MxMapSearch, TwoThreadsSearchWithOneSharedKey) {
  // Each thread searches a map of its own with the same const key object: searches only
  // read the key, so this is free of data races (checked under TSan).
  MxMap<String, int> maps[2];
  for (auto& map : maps) {
    for (int k = 0; k < 50; ++k) map.Add(String(k), k);
  }
  const String shared(MLIB_T("17"));
  std::vector<std::thread> threads;
  std::vector<int> found(2, 0);
  for (int t = 0; t < 2; ++t) {
    threads.emplace_back([&maps, &shared, &found, t] {
      const auto i = static_cast<std::size_t>(t);
      for (int n = 0; n < 2000; ++n) found[i] += maps[i].ContainsKey(shared);
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(found, (std::vector<int>{2000, 2000}));
}

// Stores keys modulo 256 and records what each FindNode call was given.
class ModuloKeyMap : public MxMap<int, int> {
 public:
  void CopyPair(int& targetKey, int& targetValue, const int& sourceKey,
                const int& sourceValue) const override {
    ++copies;
    MxMap::CopyPair(targetKey, targetValue, sourceKey & 0xFF, sourceValue);
  }
  NODE* FindNode(NODE* probe) const override {
    ++finds;
    probeKey = probe->key;
    probeValue = probe->value;
    probeIsBareRed = probe->colour == kRed && probe->left == nullptr && probe->right == nullptr &&
                     probe->parent == nullptr;
    return MxMap::FindNode(probe);
  }
  mutable int copies = 0;
  mutable int finds = 0;
  mutable int probeKey = -1;
  mutable int probeValue = -1;
  mutable bool probeIsBareRed = false;
};

TEST(MxMapSearch, SearchesGoThroughCopyPairAndFindNode) {
  ModuloKeyMap map;
  for (int k = 1; k <= 20; ++k) map.Add(0x100 * k + k, k);  // stored as k
  ASSERT_EQ(map.GetCount(), 20u);
  EXPECT_TRUE(testing::TreeIsValid(map));

  map.finds = 0;
  map.copies = 0;
  EXPECT_TRUE(map.ContainsKey(0x305)) << "the probe holds the copied key 5";
  EXPECT_EQ(map.probeKey, 5);
  EXPECT_TRUE(map.probeIsBareRed);
  ASSERT_NE(map.LookupPtr(0x906), nullptr);
  EXPECT_EQ(*map.LookupPtr(0x906), 6);
  EXPECT_TRUE(map.SetAt(0x707, 70));
  EXPECT_EQ(map.probeValue, 70) << "SetAt's probe holds the caller's value";
  EXPECT_EQ(*map.LookupPtr(7), 70);
  int key = 0x408;
  int value = 123;
  EXPECT_TRUE(map.Lookup(key, value));
  EXPECT_EQ(map.probeValue, 123) << "Lookup's probe holds the caller's value";
  EXPECT_EQ(key, 8);
  EXPECT_EQ(value, 8);
  EXPECT_TRUE(map.Remove(0x209));
  EXPECT_FALSE(map.ContainsKey(9));
  EXPECT_FALSE(map.Remove(0x209));
  // Nine searches (LookupPtr twice more), one FindNode each, each through a copy.
  EXPECT_EQ(map.finds, 9);
  EXPECT_GE(map.copies, 9);
}

TEST(MxMapSearch, StringKeyAddedUnderOneCodePageIsFoundUnderAnother) {
  // Both sides are hashed at search time, so a change of the ANSI code page moves the key
  // and the stored copy alike.
  MLIB_USE_ANSI_CODE_PAGE(1252);
  MxMap<String, int> map;
  const String key(MLIB_T("caf\u00E9"));
  ASSERT_TRUE(map.Add(key, 1));
  if (!SetAnsiCodePage(936)) GTEST_SKIP() << "code page 936 cannot be chosen here";
  EXPECT_TRUE(map.ContainsKey(key));
  EXPECT_NE(map.LookupPtr(key), nullptr);
  EXPECT_TRUE(map.Remove(key));
  EXPECT_TRUE(map.IsEmpty());
}

}  // namespace
}  // namespace mlib
