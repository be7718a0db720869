// Random sequences of MxMap operations (adds of new and of repeated keys, removals, lookups,
// SetAt, iteration with RemoveCurrent, RemoveAll), each followed by a check of the tree
// against a plain model: red-black invariants, parent links, order by the keys' hashes,
// the count, a post-order walk that visits every entry once and the root last, and a
// picture with one label per node (entries and leaves) and every line ended by "\r\n".
#include <mlib/containers.h>

#include <cstddef>
#include <cstdint>
#include <map>

#include "fuzzInput.h"

namespace {

using Map = mlib::MxMap<int, int>;
using Node = Map::NODE;

// Keys from a small range, so that removals and repeats find something; a few negative ones,
// which hash after every non-negative key.
int nextKey(FuzzInput& in) { return static_cast<int>(in.next() % 48) - 8; }

void check(bool condition) {
  if (!condition) __builtin_trap();
}

bool isLeaf(const Node* n) { return n->left == nullptr && n->right == nullptr; }

// Black height of the subtree (leaf counted); checks links, colours and the order of hashes
// (non-decreasing from left to right, repeats allowed), counting entries.
int blackHeight(const Node* n, std::uint32_t& lastHash, bool& seenAny, unsigned& entries) {
  if (isLeaf(n)) {
    check(n->colour == 0);
    return 1;
  }
  check(n->left != nullptr && n->right != nullptr);
  check(n->left->parent == n && n->right->parent == n);
  check(n->colour == 0 || n->colour == 1);
  if (n->colour == 1) check(n->left->colour == 0 && n->right->colour == 0);
  const int left = blackHeight(n->left, lastHash, seenAny, entries);
  const auto hash = static_cast<std::uint32_t>(n->key);
  check(!seenAny || lastHash <= hash);
  lastHash = hash;
  seenAny = true;
  ++entries;
  const int right = blackHeight(n->right, lastHash, seenAny, entries);
  check(left == right);
  return left + (n->colour == 0 ? 1 : 0);
}

void checkMap(Map& map, const std::multimap<std::uint32_t, int>& model) {
  check(map.GetCount() == model.size());
  check(map.IsEmpty() == model.empty());
  const Node* first = map.GetFirstNode();
  if (first == nullptr) {
    check(model.empty());
    return;
  }
  const Node* root = first;
  while (root->parent != nullptr) root = root->parent;
  check(root->colour == 0);
  std::uint32_t lastHash = 0;
  bool seenAny = false;
  unsigned entries = 0;
  blackHeight(root, lastHash, seenAny, entries);
  check(entries == model.size());
  unsigned walked = 0;
  const Node* last = nullptr;
  for (const Node* n = map.GetFirstNode(); n != nullptr; n = map.GetNextNode()) {
    check(!isLeaf(n));
    check(++walked <= entries);
    last = n;
  }
  check(walked == entries && last == root);
}

void checkPicture(const Map& map) {
  const mlib::String picture = map.PrintToString();
  if (map.GetCount() == 0 || picture.IsNull()) return;  // MxObject's text; or over the limit
  const mlib::WideChar* units = picture.toString();
  const int length = picture.GetLength();
  check(length >= 2 && units[length - 2] == '\r' && units[length - 1] == '\n');
  unsigned labels = 0;
  for (int i = 0; i < length; ++i) {
    if (units[i] == '(') ++labels;
    if (units[i] == '\n') check(i > 0 && units[i - 1] == '\r');
  }
  check(labels == 2 * map.GetCount() + 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput in{data, size};
  Map map;
  std::multimap<std::uint32_t, int> model;  // hash -> key, one row per entry
  unsigned steps = 0;
  while (in.more() && ++steps < 400) {
    const int key = nextKey(in);
    const auto hash = static_cast<std::uint32_t>(key);
    switch (in.next() % 8) {
      case 0:
      case 1:  // Add, even when the key is present: a second entry of that hash
        check(map.Add(key, key));
        model.emplace(hash, key);
        break;
      case 2:
        check(map.Remove(key) == (model.count(hash) != 0));
        if (model.count(hash) != 0) model.erase(model.find(hash));
        break;
      case 3: {
        int k = key;
        int value = -1;
        const bool remove = (in.next() & 1) != 0;
        const bool found = map.Lookup(k, value, remove);
        check(found == (model.count(hash) != 0));
        if (found) {
          check(k == key && value == key);
          if (remove) model.erase(model.find(hash));
        }
        break;
      }
      case 4:
        check(map.SetAt(key, key) == (model.count(hash) != 0));
        check(map.ContainsKey(key) == (model.count(hash) != 0));
        break;
      case 5: {  // a few steps of iteration, then RemoveCurrent
        int k = 0;
        int value = 0;
        bool ok = map.GetFirst(k, value);
        for (int n = in.next() % 6; ok && n > 0; --n) ok = map.GetNext(k, value);
        const unsigned before = map.GetCount();
        if (map.RemoveCurrent()) {
          check(map.GetCount() == before - 1);
          // Rebuild the model from the map's own entries (keys are their own hashes).
          model.clear();
          for (bool more = map.GetFirst(k, value); more; more = map.GetNext(k, value)) {
            check(k == value);
            model.emplace(static_cast<std::uint32_t>(k), k);
          }
        }
        break;
      }
      case 6:
        if ((in.next() % 16) == 0) {
          map.RemoveAll();
          model.clear();
        }
        break;
      default:  // small maps only: the picture doubles in width with every level
        if (map.GetCount() <= 64) checkPicture(map);
        break;
    }
    checkMap(map, model);
  }
  return 0;
}
