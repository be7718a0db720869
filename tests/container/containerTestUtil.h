// Helpers shared by the container tests: a String's text for comparisons, MxObject's text,
// and a test-only inspection of an MxMap's tree (the red-black invariants, the order by hash,
// the count, and a post-order iteration that must visit every entry once, the root last).
#ifndef MLIB_TESTS_CONTAINER_CONTAINERTESTUTIL_H
#define MLIB_TESTS_CONTAINER_CONTAINERTESTUTIL_H

#include <mlib/containers.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace mlib::testing {

using Text = std::basic_string<WideChar>;

// The text of s; empty for a null String (check IsNull separately where it matters).
inline Text TextOf(const String& s) {
  return s.IsNull() ? Text() : Text(s.toString(), static_cast<std::size_t>(s.GetLength()));
}

// What MxObject::PrintToString answers, word for word.
inline const Text kObjectText =
    MLIB_T("String can not be printed, as the class couldn't interpret this type of instance yet.");

template <typename K, typename V>
class TreeChecker {
 public:
  using Node = typename MxMap<K, V>::NODE;

  // strictOrder: hashes strictly increase from left to right (no two keys share a hash).
  static ::testing::AssertionResult Check(MxMap<K, V>& map, bool strictOrder) {
    TreeChecker checker;
    Node* any = map.GetFirstNode();
    if (any == nullptr) {
      if (map.GetCount() != 0 || !map.IsEmpty()) {
        return ::testing::AssertionFailure() << "no entry iterated but count " << map.GetCount();
      }
      return ::testing::AssertionSuccess();
    }
    Node* root = any;
    while (root->parent != nullptr) root = root->parent;
    if (root->colour != 0) return ::testing::AssertionFailure() << "red root";
    if (checker.blackHeight(root) < 0) return ::testing::AssertionFailure() << checker.problem_;
    for (std::size_t i = 1; i < checker.hashes_.size(); ++i) {
      const bool inOrder = strictOrder ? checker.hashes_[i - 1] < checker.hashes_[i]
                                       : checker.hashes_[i - 1] <= checker.hashes_[i];
      if (!inOrder) return ::testing::AssertionFailure() << "hash order broken at " << i;
    }
    if (checker.entries_.size() != map.GetCount() || map.IsEmpty()) {
      return ::testing::AssertionFailure()
             << checker.entries_.size() << " entries in the tree, count " << map.GetCount();
    }
    std::set<Node*> seen;
    Node* last = nullptr;
    for (Node* n = map.GetFirstNode(); n != nullptr; n = map.GetNextNode()) {
      if (checker.entries_.count(n) == 0) return ::testing::AssertionFailure() << "iterated a non-entry";
      if (!seen.insert(n).second) return ::testing::AssertionFailure() << "entry iterated twice";
      last = n;
    }
    if (seen.size() != checker.entries_.size()) {
      return ::testing::AssertionFailure() << "iteration visited " << seen.size() << " of "
                                           << checker.entries_.size();
    }
    if (last != root) return ::testing::AssertionFailure() << "root not iterated last";
    return ::testing::AssertionSuccess();
  }

 private:
  // Black nodes on every path down to a leaf (the leaf counted), or -1 with problem_ set.
  // Collects the entries and their hashes in order on the way.
  int blackHeight(Node* node) {
    const bool leaf = node->left == nullptr && node->right == nullptr;
    if (leaf) {
      if (node->colour != 0) return fail("red leaf");
      return 1;
    }
    if (node->left == nullptr || node->right == nullptr) return fail("entry with one child");
    if (node->left->parent != node || node->right->parent != node) return fail("parent link");
    if (node->colour == 1 && (node->left->colour == 1 || node->right->colour == 1)) {
      return fail("red node with a red child");
    }
    const int left = blackHeight(node->left);
    if (left < 0) return -1;
    entries_.insert(node);
    hashes_.push_back(node->hash);
    const int right = blackHeight(node->right);
    if (right < 0) return -1;
    if (left != right) return fail("unequal black heights");
    return left + (node->colour == 0 ? 1 : 0);
  }
  int fail(const char* why) {
    problem_ = why;
    return -1;
  }

  std::set<Node*> entries_;
  std::vector<std::uint32_t> hashes_;
  const char* problem_ = "";
};

// TreeChecker::Check, callable inside the assertion macros.
template <typename K, typename V>
::testing::AssertionResult TreeIsValid(MxMap<K, V>& map, bool strictOrder = true) {
  return TreeChecker<K, V>::Check(map, strictOrder);
}

// Height of the tree in entries along its longest path (0 when empty).
template <typename K, typename V>
int EntryHeight(MxMap<K, V>& map) {
  using Node = typename MxMap<K, V>::NODE;
  Node* any = map.GetFirstNode();
  if (any == nullptr) return 0;
  Node* root = any;
  while (root->parent != nullptr) root = root->parent;
  int best = 0;
  std::vector<std::pair<Node*, int>> stack{{root, 1}};
  while (!stack.empty()) {
    auto [node, depth] = stack.back();
    stack.pop_back();
    if (node->left == nullptr && node->right == nullptr) continue;
    if (depth > best) best = depth;
    stack.push_back({node->left, depth + 1});
    stack.push_back({node->right, depth + 1});
  }
  return best;
}

}  // namespace mlib::testing

#endif  // MLIB_TESTS_CONTAINER_CONTAINERTESTUTIL_H
