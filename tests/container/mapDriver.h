// One driver of MxMap, run by the container tests over seeded random scripts and by the
// mapOps fuzz target over its input. Each step of a byte script runs one operation (adds of
// new and of repeated keys, removals, lookups, SetAt, a walk with RemoveCurrent, RemoveAll, the
// picture) and checks its answer against a model keyed by the hash; then the whole tree:
// red-black invariants, parent links, order of hashes, the count, iteration in exact
// post-order, the entries against the model and the nodes alive (entries and leaves only).
// No test framework here: the fuzz target uses it too.
#ifndef MLIB_TESTS_CONTAINER_MAPDRIVER_H
#define MLIB_TESTS_CONTAINER_MAPDRIVER_H

#include <mlib/containers.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace mlib {
namespace testing {

// A value that counts its live copies: while the test holds none, a container holds one per
// node (a map's leaves included).
inline int liveNodes = 0;
struct Tally {
  explicit Tally(int i = 0) : id(i) { ++liveNodes; }
  Tally(const Tally& other) : id(other.id) { ++liveNodes; }
  Tally& operator=(const Tally&) = default;
  ~Tally() { --liveNodes; }
  bool operator==(const Tally& other) const { return id == other.id; }
  int id;
};

// The map's key hash, reached from outside the map.
template <typename K>
struct HashOf : MxContainerHash<K, int> {
  using MxContainerHash<K, int>::hashKey;
};

template <typename K, typename V>
struct TreeCheck {
  using Node = typename MxMap<K, V>::NODE;

  // Black nodes on every path down to a leaf (the leaf counted), or -1 with problem set.
  // Collects the entries' hashes in order and the entries in post-order on the way.
  int BlackHeight(const Node* n) {
    if (n->left == nullptr && n->right == nullptr) return n->colour == 0 ? 1 : Fail("red leaf");
    if (n->left == nullptr || n->right == nullptr) return Fail("entry with one child");
    if (n->left->parent != n || n->right->parent != n) return Fail("parent link");
    if (n->colour == 1 && (n->left->colour == 1 || n->right->colour == 1)) {
      return Fail("red node with a red child");
    }
    const int left = BlackHeight(n->left);
    hashes.push_back(HashOf<K>::hashKey(n->key));
    const int right = BlackHeight(n->right);
    postOrder.push_back(n);
    if (left < 0 || right < 0) return -1;
    if (left != right) return Fail("unequal black heights");
    return left + (n->colour == 0 ? 1 : 0);
  }
  int Fail(const char* why) {
    problem = why;
    return -1;
  }

  std::vector<std::uint32_t> hashes;
  std::vector<const Node*> postOrder;
  const char* problem = nullptr;
};

// What is wrong with map's tree, or null. strictOrder: no two keys share a hash. The entries
// found, in post-order, go to entries when given.
template <typename K, typename V>
const char* TreeProblem(MxMap<K, V>& map, bool strictOrder = false,
                        std::vector<const typename MxMap<K, V>::NODE*>* entries = nullptr) {
  using Node = typename MxMap<K, V>::NODE;
  const Node* root = map.GetFirstNode();
  if (root == nullptr) return map.GetCount() == 0 && map.IsEmpty() ? nullptr : "none iterated";
  while (root->parent != nullptr) root = root->parent;
  TreeCheck<K, V> check;
  if (root->colour != 0) return "red root";
  if (check.BlackHeight(root) < 0) return check.problem;
  for (std::size_t i = 1; i < check.hashes.size(); ++i) {
    const std::uint32_t a = check.hashes[i - 1], b = check.hashes[i];
    if (strictOrder ? a >= b : a > b) return "hashes out of order";
  }
  if (check.postOrder.size() != map.GetCount() || map.IsEmpty()) return "count";
  std::size_t i = 0;
  for (const Node* n = map.GetFirstNode(); n != nullptr; n = map.GetNextNode(), ++i) {
    if (i == check.postOrder.size() || n != check.postOrder[i]) return "not in post-order";
  }
  if (i != check.postOrder.size()) return "iteration ended early";
  if (entries != nullptr) *entries = check.postOrder;
  return nullptr;
}

// Every line of a map's picture ends in "\r\n"; one label per node (entries and leaves).
template <typename K, typename V>
bool PictureIsWellFormed(const MxMap<K, V>& map) {
  const String picture = map.PrintToString();
  const WideChar* units = picture.toString();
  const int length = picture.GetLength();
  if (length < 2 || units[length - 2] != '\r' || units[length - 1] != '\n') return false;
  unsigned labels = 0;
  for (int i = 0; i < length; ++i) {
    if (units[i] == '(') ++labels;
    if (units[i] == '\n' && units[i - 1] != '\r') return false;
  }
  return labels == 2 * map.GetCount() + 1;
}

// Stores a key of 100 or more as key - 100 (its CopyPair) and records each search's probe
// (its FindNode): a search copies the key (and value) into a bare red node with CopyPair.
class ProbeMap : public MxMap<int, Tally> {
 public:
  static int Stored(int key) { return key >= 100 ? key - 100 : key; }
  void CopyPair(int& targetKey, Tally& targetValue, const int& sourceKey,
                const Tally& sourceValue) const override {
    MxMap::CopyPair(targetKey, targetValue, Stored(sourceKey), sourceValue);
  }
  NODE* FindNode(NODE* probe) const override {
    ++finds;
    bareRed = probe->colour == kRed && !probe->left && !probe->right && !probe->parent;
    probeKey = probe->key;
    probeId = probe->value.id;
    return MxMap::FindNode(probe);
  }
  mutable int finds = 0, probeKey = 0, probeId = 0;
  mutable bool bareRed = false;
};

// Runs the script on a fresh ProbeMap: what went wrong and at which step, or "".
inline std::string RunMapScript(const std::uint8_t* data, std::size_t size) {
  using Node = ProbeMap::NODE;
  std::size_t at = 0;
  auto next = [&] { return at < size ? static_cast<unsigned>(data[at++]) : 0u; };
  int step = 0;
  auto fail = [&step](const char* what) {
    return std::string(what) + " at step " + std::to_string(step);
  };
  const unsigned keys = 8 + next() % 120;  // a few negative keys: they hash after the rest
  {
    ProbeMap map;
    std::multimap<int, int> model;  // stored key -> id of an entry (a key is its own hash)
    int ids = 0;
    auto erase = [&model](int key, int id) {
      for (auto it = model.lower_bound(key); it != model.upper_bound(key); ++it) {
        if (it->second != id) continue;
        model.erase(it);
        return true;
      }
      return false;
    };
    for (; at < size && step < 400; ++step) {
      const int given = static_cast<int>(next() % keys) - 8, key = ProbeMap::Stored(given);
      const bool present = model.count(key) != 0, empty = model.empty();
      // Searches of an empty map answer at once; others search once with a probe.
      auto searched = [&](int times, int id) {
        const bool ok = map.finds == (empty ? 0 : times) &&
                        (empty || (map.bareRed && map.probeKey == key && map.probeId == id));
        map.finds = 0;
        return ok;
      };
      Tally* found = map.LookupPtr(given);  // the entry any search for key finds
      if ((found != nullptr) != present || map.ContainsKey(given) != present) return fail("found");
      if (!searched(2, 0)) return fail("LookupPtr's and ContainsKey's probes");
      const int foundId = found != nullptr ? found->id : -1;
      if (present && !erase(key, foundId)) return fail("LookupPtr answered another value");
      if (present) model.emplace(key, foundId);
      const unsigned op = next() % 8;
      if (op <= 1) {  // even when the key is present: a second entry of that hash
        if (!map.Add(given, Tally{++ids})) return fail("Add");
        model.emplace(key, ids);
        map.finds = 0;
      } else if (op == 2) {
        if (map.Remove(given) != present || !searched(1, 0)) return fail("Remove");
        if (present) erase(key, foundId);
      } else if (op == 3) {
        int k = given;
        Tally value{-1};
        const bool remove = next() % 2 == 1;
        if (map.Lookup(k, value, remove) != present || !searched(1, -1)) return fail("Lookup");
        if (value.id != foundId || k != (present ? key : given)) return fail("Lookup's copies");
        if (present && remove) erase(key, foundId);
      } else if (op == 4) {
        if (map.SetAt(given, Tally{++ids}) != present || !searched(1, ids)) return fail("SetAt");
        if (present && erase(key, foundId)) model.emplace(key, ids);
      } else if (op == 5) {  // a walk, removing the entries the cursor stands on now and then
        const unsigned bound = 10 * (map.GetCount() + 1);
        unsigned answered = 0;
        for (const Node* c = map.GetFirstNode(); c != nullptr; c = map.GetNextNode()) {
          if (!erase(c->key, c->value.id)) return fail("the walk answered a removed entry");
          model.emplace(c->key, c->value.id);
          if (++answered > bound) return fail("the walk has no end");
          if (next() % 4 != 0) continue;
          // The cursor stands on the parent of the entry answered (in a map of one entry
          // it may stand anywhere: only that entry can go).
          const bool one = map.GetCount() == 1;
          const Node* current = one ? c : c->parent;
          const int k = current != nullptr ? current->key : 0;
          const int id = current != nullptr ? current->value.id : 0;
          const bool removed = map.RemoveCurrent();
          if (!one && removed != (current != nullptr)) return fail("RemoveCurrent");
          if (removed) erase(k, id);
        }
        if (map.GetNextNode() != nullptr) return fail("the walk went on past its end");
      } else if (op == 6) {
        if (next() % 16 == 0) map.RemoveAll();
        if (map.IsEmpty()) model.clear();
      } else if (map.GetCount() <= 64 && map.GetCount() > 0) {  // wider with every level
        if (!PictureIsWellFormed(map)) return fail("picture");
      }
      std::vector<const Node*> entries;
      if (const char* problem = TreeProblem(map, false, &entries)) return fail(problem);
      std::vector<std::pair<int, int>> got, want(model.begin(), model.end());
      for (const Node* n : entries) got.emplace_back(n->key, n->value.id);
      std::sort(got.begin(), got.end());
      std::sort(want.begin(), want.end());
      if (got != want) return fail("entries differ from the model");
      if (liveNodes != (model.empty() ? 0 : 2 * static_cast<int>(model.size()) + 1)) {
        return fail("nodes beyond the entries and their leaves");
      }
    }
  }
  return liveNodes == 0 ? "" : fail("the map's destructor left nodes");
}

}  // namespace testing
}  // namespace mlib

#endif  // MLIB_TESTS_CONTAINER_MAPDRIVER_H
