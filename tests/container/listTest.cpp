// MxList: adding, indexed access, the cursor, removal, copying and printing.
#include <gtest/gtest.h>
#include <mlib/containers.h>

#include <vector>

#include "container/containerTestUtil.h"

namespace mlib {
namespace {

using testing::Text;
using testing::TextOf;
using Ints = std::vector<int>;

Ints Contents(MxList<int>& list) {
  Ints values;
  for (int* p = list.GetFirstPtr(); p != nullptr; p = list.GetNextPtr()) values.push_back(*p);
  return values;
}

MxList<int> ListOf(std::initializer_list<int> values) {
  MxList<int> list;
  for (int v : values) list.AddTail(v);
  return list;
}

TEST(MxList, AddingAndInserting) {
  MxList<int> list;
  EXPECT_TRUE(list.AddHead(1));
  EXPECT_TRUE(list.AddTail(2));
  EXPECT_EQ(list.GetCount(), 2u);
  EXPECT_EQ(*list.GetTailPtr(), 2);
  EXPECT_TRUE(list.InsertAt(2, 3)) << "index == count appends";
  EXPECT_FALSE(list.InsertAt(4, 9)) << "index == count + 1 changes nothing";
  EXPECT_TRUE(list.InsertAt(0, 0));
  EXPECT_TRUE(list.InsertAt(2, 15));
  EXPECT_TRUE(list.InsertNode(list.GetNodeAt(0), true, -1)) << "before the first node";
  EXPECT_EQ(Contents(list), (Ints{-1, 0, 1, 15, 2, 3}));

  MxList<int> empty;
  EXPECT_TRUE(empty.InsertAt(0, 7));
  EXPECT_EQ(empty.GetHeadPtr(), empty.GetTailPtr());
}

TEST(MxList, OutOfRangeIndexesChangeNothing) {
  MxList<int> list = ListOf({10, 20, 30});
  int out = 99;
  EXPECT_FALSE(list.RemoveAt(static_cast<unsigned>(-1)));
  EXPECT_FALSE(list.RemoveAt(3));
  EXPECT_EQ(list.GetAtPtr(-1), nullptr);
  EXPECT_EQ(list.GetAtPtr(3), nullptr);
  EXPECT_FALSE(list.GetAt(3, out));
  EXPECT_EQ(out, 99);
  EXPECT_TRUE(list.GetAt(2, out, true));
  EXPECT_EQ(out, 30);
  EXPECT_EQ(*list.GetAtPtr(1), 20);
  EXPECT_EQ(Contents(list), (Ints{10, 20}));
}

TEST(MxList, CursorWalksAndRemoveCurrent) {
  MxList<int> list = ListOf({1, 2, 3, 4});
  Ints forward;
  Ints backward;
  int v = 0;
  for (bool ok = list.GetFirst(v); ok; ok = list.GetNext(v)) forward.push_back(v);
  EXPECT_FALSE(list.GetNext(v)) << "stays off the end until placed again";
  for (bool ok = list.GetLast(v); ok; ok = list.GetPrev(v)) backward.push_back(v);
  EXPECT_EQ(forward, (Ints{1, 2, 3, 4}));
  EXPECT_EQ(backward, (Ints{4, 3, 2, 1}));

  EXPECT_FALSE(list.RemoveCurrent(true)) << "the walk ran off the start";
  ASSERT_TRUE(list.GetFirst(v));
  ASSERT_TRUE(list.RemoveCurrent(true));  // removes 1, cursor on 2
  ASSERT_TRUE(list.GetNext(v));
  EXPECT_EQ(v, 3);
  ASSERT_TRUE(list.GetLast(v));
  ASSERT_TRUE(list.RemoveCurrent(false));  // removes 4, cursor on 3
  ASSERT_TRUE(list.GetPrev(v));
  EXPECT_EQ(v, 2);
  EXPECT_TRUE(list.Remove(2));  // the cursor's node, removed another way
  EXPECT_FALSE(list.GetNext(v)) << "cursor cleared, never left on the destroyed node";
  EXPECT_EQ(Contents(list), (Ints{3}));
}

TEST(MxList, FindingByValue) {
  MxList<int> list = ListOf({5, 6, 7, 6});
  int index = 77;
  EXPECT_EQ(MxList<int>().FindNode(5, &index), nullptr);
  EXPECT_EQ(index, 77) << "an empty list leaves the index untouched";
  EXPECT_EQ(list.FindNode(9, &index), nullptr);
  EXPECT_EQ(index, -1);
  int missing = 42;
  EXPECT_EQ(list.IndexOf(missing), -1);
  EXPECT_EQ(missing, 42);
  int six = 6;
  EXPECT_EQ(list.IndexOf(six, true), 1);
  EXPECT_EQ(list.FindPtr(6), list.GetTailPtr());
  list.Update(70, 1);
  EXPECT_TRUE(list.Remove(6));
  EXPECT_FALSE(list.Contains(6));
  EXPECT_EQ(Contents(list), (Ints{5, 70}));
  int out = 0;
  EXPECT_TRUE(list.GetTail(out, true));
  EXPECT_TRUE(list.GetHead(out, true));
  EXPECT_EQ(out, 5);
  EXPECT_FALSE(list.GetHead(out));
}

TEST(MxList, EqualityAndCopiesFollowTheElementType) {
  MxList<MxMap<int, String>::LineData> records;
  records.AddTail(MxMap<int, String>::LineData());
  EXPECT_FALSE(records.Contains(*records.GetHeadPtr())) << "records never compare equal";

  // Lists are MxObjects: compared by identity, stored as deep copies.
  MxList<MxList<int>> lists;
  MxList<int> inner = ListOf({1, 2});
  lists.AddTail(inner);
  inner.AddTail(3);
  EXPECT_EQ(Contents(*lists.GetHeadPtr()), (Ints{1, 2}));
  EXPECT_FALSE(lists.Contains(inner));

  MxList<int> target = ListOf({9});
  int v = 0;
  target.GetFirst(v);
  target = inner;
  EXPECT_FALSE(target.GetNext(v)) << "assignment clears the cursor";
  EXPECT_EQ(Contents(target), (Ints{1, 2, 3}));
}

TEST(MxList, PrintToString) {
  EXPECT_EQ(TextOf(ListOf({1, -2, 3}).PrintToString()), Text(MLIB_T("1 -2 3 ")));
  const String empty = MxList<int>().PrintToString();
  EXPECT_TRUE(empty.IsEmpty() && !empty.IsNull());
  MxList<String> texts;
  texts.AddTail(String(MLIB_T("a")));
  texts.AddTail(String());
  texts.AddTail(String(MLIB_T("bc")));
  EXPECT_EQ(TextOf(texts.PrintToString()), Text(MLIB_T("a  bc ")));
  EXPECT_EQ(TextOf(MxList<MxList<int>>().PrintToString()), testing::kObjectText);
}

}  // namespace
}  // namespace mlib
