// MxList against a vector model under random operations, its nodes counted as MxObject's
// operators make and free them; the cursor, element types, copies and printing.
#include <gtest/gtest.h>
#include <mlib/containers.h>

#include <algorithm>
#include <random>
#include <vector>

#include "container/containerTestUtil.h"

namespace mlib {
namespace {

using testing::liveNodes;
using testing::Tally;
using testing::Text;
using testing::TextOf;

TEST(MxList, MatchesAVectorAndEveryRemovalFreesItsNode) {
  std::mt19937 random(5);
  MxList<Tally> list;
  std::vector<int> model;
  for (int step = 0; step < 6000; ++step) {
    const int op = static_cast<int>(random() % 8), n = static_cast<int>(model.size());
    const int at = static_cast<int>(random() % (n + 3)) - 1, remove = step % 2;
    const bool inRange = at >= 0 && at < n;
    const Tally c{static_cast<int>(random() % 20)};
    const auto found = std::find(model.begin(), model.end(), c.id);
    const int foundAt = found != model.end() ? static_cast<int>(found - model.begin()) : -1;
    Tally out{c.id};
    const int wantOut = op == 4 && inRange ? model[at] : c.id;
    bool got = true, want = true;
    if (op == 0) got = list.AddHead(c), model.insert(model.begin(), c.id);
    if (op == 1) got = list.AddTail(c), model.push_back(c.id);
    if (op == 2) got = list.InsertAt(static_cast<unsigned>(at), c), want = at >= 0 && at <= n;
    if (op == 2 && want) model.insert(model.begin() + at, c.id);
    if (op == 3) got = list.RemoveAt(static_cast<unsigned>(at)), want = inRange;
    if (op == 4) got = list.GetAt(at, out, remove), want = inRange;
    if ((op == 3 || (op == 4 && remove)) && inRange) model.erase(model.begin() + at);
    if (op == 5) got = list.Remove(c), want = foundAt >= 0;
    if (op == 6) got = list.IndexOf(out, true) == foundAt;
    if ((op == 5 || op == 6) && foundAt >= 0) model.erase(found);
    if (op == 7) list.Update(Tally{100 + c.id}, at);
    if (op == 7 && inRange) model[at] = 100 + c.id;
    ASSERT_EQ(got, want) << "operation " << op << " at " << at << ", step " << step;
    ASSERT_EQ(out.id, wantOut) << "operation " << op << ", step " << step;
    std::vector<int> contents;
    for (Tally* p = list.GetFirstPtr(); p != nullptr; p = list.GetNextPtr()) {
      contents.push_back(p->id);
    }
    ASSERT_EQ(contents, model) << "operation " << op << ", step " << step;
    ASSERT_EQ(list.GetCount(), model.size());
    ASSERT_EQ(liveNodes, static_cast<int>(model.size()) + 2) << "step " << step << ": c, out";
  }
  list.RemoveAll();
  EXPECT_EQ(liveNodes, 0);
}

TEST(MxList, CursorWalksAndRemoveCurrent) {
  MxList<int> list;
  for (int v : {1, 2, 3, 4}) list.AddTail(v);
  std::vector<int> walked;
  int v = 0;
  for (bool ok = list.GetFirst(v); ok; ok = list.GetNext(v)) walked.push_back(v);
  EXPECT_FALSE(list.GetNext(v)) << "stays off the end until placed again";
  for (bool ok = list.GetLast(v); ok; ok = list.GetPrev(v)) walked.push_back(v);
  EXPECT_EQ(walked, (std::vector<int>{1, 2, 3, 4, 4, 3, 2, 1}));
  EXPECT_FALSE(list.RemoveCurrent(true)) << "the walk ran off the start";
  ASSERT_TRUE(list.GetFirst(v) && list.RemoveCurrent(true) && list.GetNext(v));
  EXPECT_EQ(v, 3) << "removing 1 left the cursor on 2";
  ASSERT_TRUE(list.GetLast(v) && list.RemoveCurrent(false) && list.GetPrev(v));
  EXPECT_EQ(v, 2) << "removing 4 left the cursor on 3";
  EXPECT_TRUE(list.Remove(2));  // the cursor's node, removed another way
  EXPECT_FALSE(list.GetNext(v)) << "cursor cleared, never left on the destroyed node";
  int index = 77;
  EXPECT_EQ(MxList<int>().FindNode(5, &index), nullptr);
  EXPECT_EQ(index, 77) << "an empty list leaves the index untouched";
  EXPECT_EQ(TextOf(list.PrintToString()), Text(MLIB_T("3 ")));
}

TEST(MxList, ElementTypesCopiesAndPrinting) {
  MxList<MxMap<int, String>::LineData> records;
  records.AddTail(MxMap<int, String>::LineData());
  EXPECT_FALSE(records.Contains(*records.GetHeadPtr())) << "records never compare equal";
  MxList<MxList<int>> lists;  // lists are MxObjects: compared by identity, deep copies
  MxList<int> inner, target;
  int v = 0;
  inner.AddTail(1), lists.AddTail(inner), inner.AddTail(-2);
  EXPECT_EQ(TextOf(lists.GetHeadPtr()->PrintToString()), Text(MLIB_T("1 ")));
  EXPECT_FALSE(lists.Contains(inner));
  target.AddTail(9), target.GetFirst(v), target = inner;
  EXPECT_FALSE(target.GetNext(v)) << "assignment clears the cursor";
  EXPECT_EQ(TextOf(target.PrintToString()), Text(MLIB_T("1 -2 ")));
  EXPECT_TRUE(MxList<int>().PrintToString().IsEmpty() && !MxList<int>().PrintToString().IsNull());
  MxList<String> texts;
  for (const String& s : {String(MLIB_T("a")), String(), String(MLIB_T("bc"))}) texts.AddTail(s);
  EXPECT_EQ(TextOf(texts.PrintToString()), Text(MLIB_T("a  bc ")));
  EXPECT_EQ(TextOf(lists.PrintToString()), testing::kObjectText);
}

}  // namespace
}  // namespace mlib
