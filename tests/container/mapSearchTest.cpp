// MxMap searches by key (ContainsKey, Remove, LookupPtr, Lookup, SetAt) against a model keyed
// by the hash: each search copies the key into a bare red probe node with CopyPair and asks
// FindNode (overrides of both are honoured), texts of equal hash are one key, and the
// caller's key is only read.
#include <gtest/gtest.h>
#include <mlib/containers.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <random>
#include <utility>

#include "container/containerTestUtil.h"
#include "text/ansiCodePageScope.h"

namespace mlib {
namespace {

using testing::Text;
using testing::TextOf;

// Stores the first two units of each key and records what FindNode was given.
class CuttingMap : public MxMap<String, int> {
 public:
  void CopyPair(String& targetKey, int& targetValue, const String& sourceKey,
                const int& sourceValue) const override {
    MxMap::CopyPair(targetKey, targetValue, sourceKey.Left(2), sourceValue);
  }
  NODE* FindNode(NODE* probe) const override {
    ++finds;
    probeKey = TextOf(probe->key);
    probeValue = probe->value;
    bareRed = probe->colour == kRed && !probe->left && !probe->right && !probe->parent;
    return MxMap::FindNode(probe);
  }
  mutable int finds = 0, probeValue = 0;
  mutable Text probeKey;
  mutable bool bareRed = false;
};

// The hash of a stored key under code page 1252 (units below 0x100 are their own bytes,
// read as signed); a stored empty key is a null String.
std::uint32_t ModelHash(const Text& stored) {
  std::uint32_t h = 0;
  for (WideChar c : stored) h = h * 131u + static_cast<std::uint32_t>(static_cast<signed char>(c));
  return stored.empty() ? 0xFFFFFFFFu : h & 0x7FFFFFFFu;
}

TEST(MxMapSearch, SearchesAgreeWithAModelKeyedByTheHash) {
  MLIB_USE_ANSI_CODE_PAGE(1252);
  // "Aa" and "B\u00DE", "Al" and "B\u00E9" have equal hashes (0xDE = -34, 0xE9 = -23).
  const WideChar alphabet[] = {'a', 'A', 'B', 'l', 0xDE, 0xE9, '0'};
  std::mt19937 random(17);
  CuttingMap map;
  std::map<std::uint32_t, std::pair<Text, int>> model;  // hash -> stored key, value
  for (int step = 0; step < 4000; ++step) {
    Text text(random() % 4, WideChar(0));
    for (WideChar& c : text) c = alphabet[random() % 7];
    String key(text.c_str());
    if (text.empty() && random() % 2 == 0) key.AllocBuffer(4);  // empty, with a buffer
    char* ansi = key.toAnsi();  // marked, to see whether a search makes it again
    if (ansi != nullptr) ansi[0] = '#';
    const Text stored = text.substr(0, 2);
    const auto found = model.find(ModelHash(stored));
    const bool present = found != model.end();
    const int value = static_cast<int>(random() % 1000);
    const unsigned op = random() % 6;
    const bool searches = op != 0 && !model.empty();
    unsigned char before[sizeof(String)];
    std::memcpy(before, static_cast<const void*>(&key), sizeof before);
    SCOPED_TRACE(::testing::Message() << "step " << step << ", operation " << op);
    map.finds = 0;
    if (op == 0) {
      if (!present && !text.empty()) {  // a null key breaks the order: see below
        model[ModelHash(stored)] = {stored, value};
        ASSERT_TRUE(map.Add(key, value));
      }
    } else if (op == 1) {
      EXPECT_EQ(map.ContainsKey(key), present);
    } else if (op == 2) {
      const int* got = map.LookupPtr(key);
      ASSERT_EQ(got != nullptr, present);
      EXPECT_TRUE(!present || *got == found->second.second);
    } else if (op == 3) {
      EXPECT_EQ(map.SetAt(key, value), present);
      if (present) found->second = {stored, value};
    } else if (op == 4) {
      int got = value;
      const bool remove = random() % 2 == 0;
      ASSERT_EQ(map.Lookup(key, got, remove), present);
      if (present) {
        EXPECT_EQ(TextOf(key), found->second.first) << "the stored key comes back";
        EXPECT_EQ(got, found->second.second);
        if (remove) model.erase(found);
      } else {
        EXPECT_EQ(got, value);
      }
    } else {
      EXPECT_EQ(map.Remove(key), present);
      if (present) model.erase(found);
    }
    if (op == 0) continue;
    const bool same = std::memcmp(before, static_cast<const void*>(&key), sizeof before) == 0;
    EXPECT_TRUE(op == 4 || (same && (ansi == nullptr || ansi[0] == '#')))
        << "a search changed the caller's key";
    ASSERT_EQ(map.finds, searches ? 1 : 0);
    if (!searches) continue;
    EXPECT_TRUE(map.bareRed && map.probeKey == stored) << "the probe holds the copied key";
    EXPECT_TRUE(op < 3 || op > 4 || map.probeValue == value) << "the probe holds the value";
  }
  EXPECT_EQ(map.GetCount(), model.size());
  EXPECT_TRUE(testing::TreeIsValid(map));

  // An empty key with a buffer is stored as a null String and found through that copy. (Not
  // among the keys above: a removal that copies a null key into an entry holding text leaves
  // it empty with a buffer, whose hash is 0, not 0xFFFFFFFF.)
  MxMap<String, int> one;
  String empty;
  empty.AllocBuffer(4);
  ASSERT_TRUE(one.Add(empty, 7));
  EXPECT_EQ(*one.LookupPtr(empty), 7);
  EXPECT_TRUE(one.Remove(empty));
}

TEST(MxMapSearch, StringKeyAddedUnderOneCodePageIsFoundUnderAnother) {
  // Both sides are hashed at search time, so the key and the stored copy move alike.
  MLIB_USE_ANSI_CODE_PAGE(1252);
  MxMap<String, int> map;
  const String key(MLIB_T("caf\u00E9"));
  ASSERT_TRUE(map.Add(key, 1));
  if (!SetAnsiCodePage(936)) GTEST_SKIP() << "code page 936 cannot be chosen here";
  EXPECT_NE(map.LookupPtr(key), nullptr);
  EXPECT_TRUE(map.Remove(key));
  EXPECT_TRUE(map.IsEmpty());
}

}  // namespace
}  // namespace mlib
