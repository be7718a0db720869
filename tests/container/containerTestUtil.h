// Helpers shared by the container tests: a String's text, MxObject's text, and a test-only
// inspection of an MxMap's tree (red-black invariants, order by the keys' hashes, count, and
// a post-order iteration that visits every entry once, the root last).
#ifndef MLIB_TESTS_CONTAINER_CONTAINERTESTUTIL_H
#define MLIB_TESTS_CONTAINER_CONTAINERTESTUTIL_H

#include <gtest/gtest.h>
#include <mlib/containers.h>

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

// The map's key hash, reached from outside the map.
template <typename K>
struct HashOf : MxContainerHash<K, int> {
  using MxContainerHash<K, int>::hashKey;
};

template <typename K, typename V>
class TreeChecker {
 public:
  using Node = typename MxMap<K, V>::NODE;

  // Black nodes on every path down to a leaf (the leaf counted), or -1 with problem set.
  // Collects the entries and their keys' hashes in order on the way.
  int BlackHeight(const Node* node) {
    if (node->left == nullptr && node->right == nullptr)
      return node->colour == 0 ? 1 : Fail("red leaf");
    if (node->left == nullptr || node->right == nullptr) return Fail("entry with one child");
    if (node->left->parent != node || node->right->parent != node) return Fail("parent link");
    if (node->colour == 1 && (node->left->colour == 1 || node->right->colour == 1)) {
      return Fail("red node with a red child");
    }
    const int left = BlackHeight(node->left);
    entries.insert(node);
    hashes.push_back(HashOf<K>::hashKey(node->key));
    const int right = BlackHeight(node->right);
    if (left < 0 || right < 0) return -1;
    if (left != right) return Fail("unequal black heights");
    return left + (node->colour == 0 ? 1 : 0);
  }
  int Fail(const char* why) {
    problem = why;
    return -1;
  }

  std::set<const Node*> entries;
  std::vector<std::uint32_t> hashes;
  const char* problem = "";
};

// strictOrder: hashes strictly increase from left to right (no two keys share a hash).
template <typename K, typename V>
::testing::AssertionResult TreeIsValid(MxMap<K, V>& map, bool strictOrder = true) {
  using Node = typename MxMap<K, V>::NODE;
  const Node* root = map.GetFirstNode();
  if (root == nullptr) {
    if (map.GetCount() == 0 && map.IsEmpty()) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "nothing iterated, count " << map.GetCount();
  }
  while (root->parent != nullptr) root = root->parent;
  TreeChecker<K, V> checker;
  if (root->colour != 0) return ::testing::AssertionFailure() << "red root";
  if (checker.BlackHeight(root) < 0) return ::testing::AssertionFailure() << checker.problem;
  for (std::size_t i = 1; i < checker.hashes.size(); ++i) {
    const std::uint32_t a = checker.hashes[i - 1];
    const std::uint32_t b = checker.hashes[i];
    if (strictOrder ? a >= b : a > b) return ::testing::AssertionFailure() << "order at " << i;
  }
  if (checker.entries.size() != map.GetCount()) {
    return ::testing::AssertionFailure()
           << checker.entries.size() << " entries, count " << map.GetCount();
  }
  std::set<const Node*> seen;
  const Node* last = nullptr;
  for (const Node* n = map.GetFirstNode(); n != nullptr; n = map.GetNextNode()) {
    if (checker.entries.count(n) == 0 || !seen.insert(n).second) {
      return ::testing::AssertionFailure() << "iteration answered a leaf or an entry twice";
    }
    last = n;
  }
  if (seen.size() != checker.entries.size() || last != root) {
    return ::testing::AssertionFailure() << "iteration missed entries or ended before the root";
  }
  return ::testing::AssertionSuccess();
}

}  // namespace mlib::testing

#endif  // MLIB_TESTS_CONTAINER_CONTAINERTESTUTIL_H
