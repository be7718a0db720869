// MxList: adding, indexed access, the cursor, removal, copying and printing.
#include <mlib/containers.h>

#include "container/containerTestUtil.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

namespace mlib {
namespace {

using testing::Text;
using testing::TextOf;

std::vector<int> Contents(MxList<int>& list) {
  std::vector<int> values;
  for (int* p = list.GetFirstPtr(); p != nullptr; p = list.GetNextPtr()) values.push_back(*p);
  return values;
}

MxList<int> ListOf(std::initializer_list<int> values) {
  MxList<int> list;
  for (int v : values) list.AddTail(v);
  return list;
}

TEST(MxList, AddHeadAddTailAndInsertAt) {
  MxList<int> list;
  EXPECT_TRUE(list.AddHead(1));
  EXPECT_TRUE(list.AddTail(2));
  EXPECT_EQ(list.GetCount(), 2u);
  EXPECT_EQ(*list.GetHeadPtr(), 1);
  EXPECT_EQ(*list.GetTailPtr(), 2);

  EXPECT_TRUE(list.InsertAt(2, 3)) << "index == count appends";
  EXPECT_FALSE(list.InsertAt(4, 9)) << "index == count + 1 changes nothing";
  EXPECT_FALSE(list.InsertAt(static_cast<unsigned>(-1), 9));
  EXPECT_TRUE(list.InsertAt(0, 0));
  EXPECT_TRUE(list.InsertAt(2, 15));
  EXPECT_EQ(Contents(list), (std::vector<int>{0, 1, 15, 2, 3}));

  MxList<int> empty;
  EXPECT_TRUE(empty.InsertAt(0, 7));
  EXPECT_EQ(empty.GetHeadPtr(), empty.GetTailPtr());
  EXPECT_EQ(*empty.GetHeadPtr(), 7);

  EXPECT_TRUE(list.InsertNode(list.GetNodeAt(0), true, -1)) << "before the first node";
  EXPECT_TRUE(list.InsertNode(nullptr, false, -2));
  EXPECT_EQ(Contents(list), (std::vector<int>{-2, -1, 0, 1, 15, 2, 3}));
}

TEST(MxList, OutOfRangeIndexesAnswerNothing) {
  MxList<int> list = ListOf({10, 20, 30});
  int out = 99;
  EXPECT_FALSE(list.RemoveAt(static_cast<unsigned>(-1)));
  EXPECT_FALSE(list.RemoveAt(3));
  EXPECT_EQ(list.GetAtPtr(-1), nullptr);
  EXPECT_EQ(list.GetAtPtr(3), nullptr);
  EXPECT_EQ(list.GetNodeAt(-5), nullptr);
  EXPECT_FALSE(list.GetAt(3, out));
  EXPECT_EQ(out, 99);
  EXPECT_EQ(list.GetCount(), 3u);

  EXPECT_TRUE(list.GetAt(2, out, true));
  EXPECT_EQ(out, 30);
  EXPECT_EQ(*list.GetAtPtr(1), 20);
  EXPECT_TRUE(list.RemoveAt(0));
  EXPECT_EQ(Contents(list), (std::vector<int>{20}));
  EXPECT_EQ(MxList<int>().GetNodeAt(0), nullptr);
}

TEST(MxList, CursorWalksBothWaysAndStopsAtTheEnds) {
  MxList<int> list = ListOf({1, 2, 3});
  std::vector<int> forward;
  int v = 0;
  for (bool ok = list.GetFirst(v); ok; ok = list.GetNext(v)) forward.push_back(v);
  EXPECT_EQ(forward, (std::vector<int>{1, 2, 3}));
  EXPECT_FALSE(list.GetNext(v)) << "stays off the end until placed again";
  EXPECT_EQ(list.GetNextPtr(), nullptr);

  std::vector<int> backward;
  for (bool ok = list.GetLast(v); ok; ok = list.GetPrev(v)) backward.push_back(v);
  EXPECT_EQ(backward, (std::vector<int>{3, 2, 1}));
  EXPECT_EQ(list.GetPrevPtr(), nullptr);
  EXPECT_EQ(*list.GetLastPtr(), 3);
  EXPECT_EQ(*list.GetPrevPtr(), 2);

  MxList<int> empty;
  EXPECT_FALSE(empty.GetFirst(v));
  EXPECT_FALSE(empty.GetLast(v));
  EXPECT_EQ(empty.GetFirstPtr(), nullptr);
}

TEST(MxList, RemoveCurrentMovesTheCursorOtherRemovalsClearIt) {
  MxList<int> list = ListOf({1, 2, 3, 4});
  int v = 0;
  EXPECT_FALSE(list.RemoveCurrent(true)) << "no cursor yet";
  ASSERT_TRUE(list.GetFirst(v));
  EXPECT_TRUE(list.RemoveCurrent(true));
  EXPECT_EQ(Contents(list), (std::vector<int>{2, 3, 4}));  // (walk moves the cursor)

  ASSERT_TRUE(list.GetFirst(v));
  ASSERT_TRUE(list.RemoveCurrent(true));  // removes 2, cursor on 3
  ASSERT_TRUE(list.GetNext(v));
  EXPECT_EQ(v, 4);

  list = ListOf({1, 2, 3});
  ASSERT_TRUE(list.GetLast(v));
  ASSERT_TRUE(list.RemoveCurrent(false));  // removes 3, cursor on 2
  ASSERT_TRUE(list.GetPrev(v));
  EXPECT_EQ(v, 1);

  ASSERT_TRUE(list.GetFirst(v));  // cursor on 1
  EXPECT_TRUE(list.Remove(1));
  EXPECT_FALSE(list.GetNext(v)) << "cursor cleared, never left on the destroyed node";
  EXPECT_FALSE(list.RemoveCurrent(true));
  EXPECT_EQ(list.GetCount(), 1u);
}

TEST(MxList, FindingByValue) {
  MxList<int> list = ListOf({5, 6, 7, 6});
  int index = 77;
  EXPECT_EQ(MxList<int>().FindNode(5, &index), nullptr);
  EXPECT_EQ(index, 77) << "an empty list leaves the index untouched";
  EXPECT_EQ(list.FindNode(9, &index), nullptr);
  EXPECT_EQ(index, -1);
  ASSERT_NE(list.FindNode(6, &index), nullptr);
  EXPECT_EQ(index, 1);

  int missing = 42;
  EXPECT_EQ(list.IndexOf(missing), -1);
  EXPECT_EQ(missing, 42);
  int six = 6;
  EXPECT_EQ(list.IndexOf(six, true), 1);
  EXPECT_EQ(Contents(list), (std::vector<int>{5, 7, 6}));

  EXPECT_TRUE(list.Contains(7));
  EXPECT_FALSE(list.Contains(8));
  EXPECT_EQ(list.FindPtr(6), list.GetTailPtr());
  list.Update(70, 1);
  list.Update(5, -1);  // by value: stores 5 over the first 5
  EXPECT_TRUE(list.Remove(6));
  EXPECT_FALSE(list.Remove(6));
  EXPECT_EQ(Contents(list), (std::vector<int>{5, 70}));

  int out = 0;
  EXPECT_TRUE(list.GetHead(out, true));
  EXPECT_EQ(out, 5);
  EXPECT_TRUE(list.GetTail(out, true));
  EXPECT_EQ(out, 70);
  EXPECT_FALSE(list.GetHead(out));
  EXPECT_TRUE(list.IsEmpty());
  EXPECT_EQ(list.GetHeadPtr(), nullptr);
}

TEST(MxList, ElementEqualityFollowsTheElementType) {
  using LineData = MxMap<int, String>::LineData;
  MxList<LineData> records;
  LineData record;
  records.AddTail(record);
  EXPECT_FALSE(records.Contains(record)) << "drawing records never compare equal";
  EXPECT_FALSE(records.Contains(*records.GetHeadPtr()));
  EXPECT_FALSE(records.Remove(record));

  // Lists are MxObjects: compared by identity, copied deeply.
  MxList<MxList<int>> lists;
  MxList<int> inner = ListOf({1, 2});
  lists.AddTail(inner);
  inner.AddTail(3);
  EXPECT_EQ(Contents(*lists.GetHeadPtr()), (std::vector<int>{1, 2}));
  EXPECT_FALSE(lists.Contains(inner));
  EXPECT_TRUE(lists.Contains(*lists.GetHeadPtr()));

  MxList<String> texts;
  texts.AddTail(String());
  EXPECT_FALSE(texts.Contains(String())) << "a null String equals nothing";
  texts.AddTail(String(MLIB_T("a")));
  EXPECT_TRUE(texts.Contains(String(MLIB_T("a"))));
}

TEST(MxList, AssignmentCopiesInOrderAndClearsTheCursor) {
  MxList<int> source = ListOf({1, 2, 3});
  MxList<int> target = ListOf({9});
  int v = 0;
  target.GetFirst(v);
  target = source;
  EXPECT_FALSE(target.GetNext(v));
  EXPECT_EQ(Contents(target), (std::vector<int>{1, 2, 3}));
  const MxList<int>& alias = target;
  target = alias;
  EXPECT_EQ(target.GetCount(), 3u);
  MxList<int> copy(source);
  source.RemoveAll();
  EXPECT_EQ(Contents(copy), (std::vector<int>{1, 2, 3}));
}

struct Fragile {
  static inline bool failCopies = false;
  int value = 0;
  Fragile() = default;
  explicit Fragile(int v) : value(v) {}
  Fragile(const Fragile&) = default;
  Fragile& operator=(const Fragile& other) {
    if (failCopies) throw std::runtime_error("copy failed");
    value = other.value;
    return *this;
  }
};

TEST(MxList, FailedElementCopyLeavesTheListUnchanged) {
  MxList<Fragile> list;
  list.AddTail(Fragile(1));
  Fragile::failCopies = true;
  EXPECT_THROW(list.AddTail(Fragile(2)), std::runtime_error);
  EXPECT_THROW(list.InsertAt(0, Fragile(3)), std::runtime_error);
  Fragile::failCopies = false;
  EXPECT_EQ(list.GetCount(), 1u);
  EXPECT_EQ(list.GetHeadPtr(), list.GetTailPtr());
  EXPECT_EQ(list.GetHeadPtr()->value, 1);
}

TEST(MxList, PrintToString) {
  EXPECT_EQ(TextOf(ListOf({1, 2, 3}).PrintToString()), Text(MLIB_T("1 2 3 ")));
  const String empty = MxList<int>().PrintToString();
  EXPECT_FALSE(empty.IsNull());
  EXPECT_TRUE(empty.IsEmpty());

  MxList<String> texts;
  texts.AddTail(String(MLIB_T("a")));
  texts.AddTail(String());
  texts.AddTail(String(MLIB_T("bc")));
  EXPECT_EQ(TextOf(texts.PrintToString()), Text(MLIB_T("a  bc ")));

  EXPECT_EQ(TextOf(MxList<MxMap<int, String>::LineData>().PrintToString()), testing::kObjectText);
  EXPECT_EQ(TextOf(MxList<MxList<int>>().PrintToString()), testing::kObjectText);
}

}  // namespace
}  // namespace mlib
