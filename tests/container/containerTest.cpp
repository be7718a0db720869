// MxList, MxMap and SyncMap: the drivers of containerTestUtil.h over seeded random scripts,
// then what they cannot reach: key hashes, pictures, element texts and the lock.
#include <gtest/gtest.h>
#include <mlib/containers.h>

#include <atomic>
#include <climits>
#include <functional>
#include <iterator>
#include <random>
#include <stdexcept>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "container/containerTestUtil.h"
#include "text/ansiCodePageScope.h"

namespace mlib {
namespace {

using testing::HashOf;
using Text = std::basic_string<WideChar>;
// The text of s (empty for a null String), and what MxObject::PrintToString answers.
Text TextOf(const String& s) { return s.IsNull() ? Text() : Text(s.toString(), s.GetLength()); }
const Text kObjectText =
    MLIB_T("String can not be printed, as the class couldn't interpret this type of instance yet.");

TEST(Containers, RandomScriptsAgreeWithTheirModels) {
  for (unsigned seed = 0; seed < 300; ++seed) {
    std::mt19937 random(seed);
    std::vector<std::uint8_t> script(1200);
    for (std::uint8_t& byte : script) byte = static_cast<std::uint8_t>(random());
    ASSERT_EQ(testing::RunMapScript(script.data(), script.size()), "") << "map, seed " << seed;
    ASSERT_EQ(testing::RunListScript(script.data(), script.size()), "") << "list, seed " << seed;
  }
}

TEST(MxMap, KeysHashedByTypeAndStringKeysByTheirAnsiText) {
  // h = h * 131 + c over the ANSI bytes: "abc" -> (97 * 131 + 98) * 131 + 99.
  EXPECT_EQ(HashOf<String>::hashKey(String(MLIB_T("abc"))), 1677554u);
  EXPECT_EQ(HashOf<std::string>::hashKey(std::string("abc")), 1677554u);
  EXPECT_EQ(HashOf<String>::hashKey(String()), 0xFFFFFFFFu) << "no text";
  EXPECT_EQ(HashOf<short>::hashKey(static_cast<short>(-1)), 0xFFFFFFFFu) << "by value";
  EXPECT_EQ(HashOf<unsigned char>::hashKey(static_cast<unsigned char>(200)), 200u);
  EXPECT_EQ(HashOf<long long>::hashKey((1LL << 32) + 5), 5u) << "low 32 bits";
  MLIB_USE_ANSI_CODE_PAGE(1252);
  MxMap<String, int> map;
  // "Aa" and "B\u00DE" have equal hashes (0xDE is -34 as a signed byte): one key to searches.
  ASSERT_TRUE(map.Add(String(MLIB_T("Aa")), 1));
  const String key(MLIB_T("B\u00DE"));
  EXPECT_TRUE(map.SetAt(key, 2) && *map.LookupPtr(key) == 2 &&
              !map.ContainsKey(String(MLIB_T("Ab"))));
  int value = 0;
  String other(MLIB_T("Aa"));  // SetAt stored its key: that comes back
  EXPECT_TRUE(map.Lookup(other, value, true) && value == 2 && TextOf(other) == MLIB_T("B\u00DE"));
  // An empty key with a buffer is stored as a null String; a search hashes such a copy too.
  String empty;
  empty.AllocBuffer(4);
  EXPECT_TRUE(map.Add(empty, 7) && *map.LookupPtr(empty) == 7 && map.Remove(empty) &&
              map.IsEmpty());
  // Both sides are hashed at search time: found under another code page than it was added.
  const String cafe(MLIB_T("caf\u00E9"));
  ASSERT_TRUE(map.Add(cafe, 1));
  if (!SetAnsiCodePage(936)) GTEST_SKIP() << "code page 936 cannot be chosen here";
  EXPECT_TRUE(map.LookupPtr(cafe) != nullptr && map.Remove(cafe) && map.IsEmpty());
}

// A picture written short: outside a label "9 " is nine spaces, "6-" six hyphens; '|' is "\r\n".
Text Picture(const char* shortForm) {
  Text out;
  int run = 0;
  bool label = false;
  for (const char* c = shortForm; *c != 0; ++c) {
    label = *c == '(' || (label && *c != ')');
    if (!label && *c >= '0' && *c <= '9') {
      run = run * 10 + (*c - '0');
    } else {
      out += *c == '|' ? Text(MLIB_T("\r\n")) : Text(run > 0 ? run : 1, WideChar(*c));
      run = 0;
    }
  }
  return out;
}

TEST(MapDrawing, PicturesWorkedByHand) {
  EXPECT_EQ(TextOf(MxMap<int, String>().PrintToString()), kObjectText);
  EXPECT_EQ(TextOf(SyncMap<int, String>().PrintToString()), kObjectText);
  const std::tuple<int, std::vector<int>, const char*> rows[] = {
      {1, {}, "3 (1,b)|(0,b)(0,b)|"},
      {3, {}, "9 (2,b)|3 (1,r)6-(3,r)|(0,b)(0,b) (0,b)(0,b)|"},
      // 2b(1b, 4r(3b, 5b(leaf, 6r))). Level 3's first run counts back from level 2's last label.
      {6,
       {},
       "45 (2,b)|21 (1,b)39-(4,r)|9 (0,b)17-(0,b)17 (3,b)17-(5,b)|"
       "50 (0,b)6-(0,b)6 (0,b)6-(6,r)|76 (0,b)(0,b)|"},
      // 3 is copied into the root; its old node becomes a black leaf, zero-filled.
      {3, {2}, "9 (3,b)|3 (1,r)6-(0,b)|(0,b)(0,b)|"},
      // Less 1, the fix-up brings 4 up: 4b(2b(0, 3r), 5b(0, 6r)); less 5, 6 is copied in.
      {6, {1, 5}, "21 (4,b)|9 (2,b)17-(6,b)|3 (0,b)6-(3,r)6 (0,b)6-(0,b)|10 (0,b)(0,b)|"},
  };
  for (const auto& [keys, removed, picture] : rows) {  // keys 1 to n, then some removed
    SCOPED_TRACE(picture);
    MxMap<int, String> map;
    for (int k = 1; k <= keys; ++k) map.Add(k, String(MLIB_T("v")));
    for (int k : removed) ASSERT_TRUE(map.Remove(k));
    EXPECT_EQ(TextOf(map.PrintToString()), Picture(picture));
  }
  // No text prints nil; W: mean of the shortest and longest label; leaves keep String keys.
  MxMap<String, int> texts;
  texts.Add(String(MLIB_T("k")), 1);
  EXPECT_EQ(TextOf(texts.PrintToString()), Picture("4 (k,b)|(nil,b)(nil,b)|"));
  texts.RemoveAll();
  for (const WideChar* k : {MLIB_T("a"), MLIB_T("b"), MLIB_T("c")}) texts.Add(String(k), 1);
  ASSERT_TRUE(texts.Remove(String(MLIB_T("b"))));
  EXPECT_EQ(TextOf(texts.PrintToString()), Picture("11 (c,b)|4 (a,r)8-(c,b)|(nil,b)(nil,b)|"));
}

TEST(Printing, ElementsByTypeAndListsOfThem) {
  const std::pair<String, const WideChar*> rows[] = {
      // null: the null String
      {ElementToString(-5), MLIB_T("-5")},
      {ElementToString(static_cast<short>(-32768)), MLIB_T("-32768")},
      {ElementToString(static_cast<unsigned short>(0x8000)), MLIB_T("32768")},
      {ElementToString(static_cast<char>(0xE9)), MLIB_T("-23")},  // char is signed
      {ElementToString(static_cast<unsigned char>(0xE9)), MLIB_T("233")},
      {ElementToString(static_cast<WideChar>(0xE9)), MLIB_T("233")},  // the unit as a number
      {ElementToString(4000000000u), MLIB_T("4000000000")},
      {ElementToString(-9000000000LL), MLIB_T("-9000000000")},
      {ElementToString(ULLONG_MAX), MLIB_T("18446744073709551615")},
      {ElementToString(static_cast<long>(-2000000000)), MLIB_T("-2000000000")},
      {ElementToString(1.5), MLIB_T("1.500000")},
      {ElementToString(0.25f), MLIB_T("0.250000")},
      {ElementToString(String(MLIB_T("copy"))), MLIB_T("copy")},
      {ElementToString(std::string("abc")), MLIB_T("abc")},
      {ElementToString(static_cast<const char*>("xyz")), MLIB_T("xyz")},
      {ElementToString(static_cast<const WideChar*>(MLIB_T("wide"))), MLIB_T("wide")},
      {ElementToString(reinterpret_cast<const unsigned char*>("ub")), MLIB_T("ub")},
      {ElementToString(static_cast<WideChar*>(nullptr)), nullptr},
      {ElementToString(true), nullptr},  // bool, signed char and unsigned long are not listed
      {ElementToString(static_cast<signed char>(5)), nullptr},
      {ElementToString(5UL), nullptr},
      {ElementToString(MxList<int>()), nullptr},
  };
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    const auto& [got, want] = rows[i];
    EXPECT_TRUE(got.IsNull() == !want && TextOf(got) == Text(want ? want : MLIB_T(""))) << i;
  }
  MxList<MxMap<int, String>::LineData> records;
  records.AddTail(MxMap<int, String>::LineData());
  EXPECT_FALSE(records.Contains(*records.GetHeadPtr())) << "records never compare equal";
  MxList<MxList<int>> lists;  // lists are MxObjects: compared by identity, copied deeply
  MxList<int> inner;
  inner.AddTail(1);
  lists.AddTail(inner);
  inner.AddTail(-2);
  EXPECT_EQ(TextOf(lists.GetHeadPtr()->PrintToString()), Text(MLIB_T("1 ")));
  EXPECT_FALSE(lists.Contains(inner));
  EXPECT_EQ(TextOf(inner.PrintToString()), Text(MLIB_T("1 -2 ")));
  EXPECT_TRUE(MxList<int>().PrintToString().IsEmpty() && !MxList<int>().PrintToString().IsNull());
  MxList<String> texts;
  for (const String& s : {String(MLIB_T("a")), String(), String(MLIB_T("bc"))}) texts.AddTail(s);
  EXPECT_EQ(TextOf(texts.PrintToString()), Text(MLIB_T("a  bc ")));
  EXPECT_EQ(TextOf(lists.PrintToString()), kObjectText);
}

using M = SyncMap<int, String>;

TEST(SyncMap, EveryOperationWaitsUntilTheLockIsFree) {
  int key = 1;
  String value;
  const std::pair<const char*, std::function<void(M&)>> operations[] = {
      {"ContainsKey", [](M& m) { (void)m.ContainsKey(1); }},
      {"Add", [](M& m) { (void)m.Add(2, String()); }},
      {"Remove", [](M& m) { (void)m.Remove(2); }},
      {"RemoveCurrent", [](M& m) { (void)m.RemoveCurrent(); }},
      {"LookupPtr", [](M& m) { (void)m.LookupPtr(1); }},
      {"Lookup", [&](M& m) { (void)m.Lookup(key, value); }},
      {"SetAt", [](M& m) { (void)m.SetAt(1, String()); }},
      {"GetFirst", [&](M& m) { (void)m.GetFirst(key, value); }},
      {"GetNext", [&](M& m) { (void)m.GetNext(key, value); }},
      {"PrintToString", [](M& m) { (void)m.PrintToString(); }},
      {"IsEmpty", [](M& m) { (void)m.IsEmpty(); }},
      {"RemoveAll", [](M& m) { m.RemoveAll(); }},
      {"GetCount", [](M& m) { (void)m.GetCount(); }},
  };
  for (const auto& [name, operation] : operations) {
    SCOPED_TRACE(name);
    M map;
    map.Add(1, String(MLIB_T("one")));
    std::atomic<bool> started{false}, done{false};
    map.Unlock();  // a free lock: nothing happens
    map.Lock();
    map.Lock();
    operation(map);  // the holder re-enters without blocking
    std::thread other([&, op = operation] {
      started = true;
      op(map);
      done = true;
    });
    while (!started) std::this_thread::yield();
    std::thread([&] { map.Unlock(); }).join();  // a thread not holding it cannot release it
    map.Unlock();                               // one of two
    for (int i = 0; i < 1000; ++i) std::this_thread::yield();
    EXPECT_FALSE(done.load()) << "it ran inside another thread's bracket";
    map.Unlock();
    other.join();
    EXPECT_TRUE(done.load());
  }
}

TEST(SyncMap, ThreadsAtOnceAndAnOperationThatThrows) {
  M map;
  auto work = [&map](int t) {  // disjoint keys
    for (int i = 0; i < 1500; ++i) map.Add(t * 10000 + i, String(i));
    for (int i = 0; i < 1500; i += 2) map.Remove(t * 10000 + i);
  };
  std::thread threads[] = {std::thread(work, 1), std::thread(work, 2), std::thread(work, 3)};
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(map.GetCount(), 3u * 750);
  for (int t = 1; t <= 3; ++t)
    for (int i = 0; i < 1500; ++i) ASSERT_EQ(map.ContainsKey(t * 10000 + i), i % 2 == 1);
  EXPECT_EQ((testing::TreeCheck<int, String>().Of(map)), nullptr);
  static_cast<MxContainerBase&>(map).RemoveAll();
  EXPECT_TRUE(map.IsEmpty() && map.GetCount() == 0);
  SyncMap<int, testing::Tally> tallies;
  EXPECT_THROW(tallies.Add(1, testing::Tally(testing::Tally::kThrows)), std::runtime_error);
  std::thread([&] { EXPECT_TRUE(tallies.Add(2, testing::Tally())); }).join();  // or blocks for ever
  EXPECT_EQ(tallies.GetCount(), 1u) << "the failed Add left the map unchanged";
}

}  // namespace
}  // namespace mlib
