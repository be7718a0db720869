// The container tests' helpers and their two drivers, run over seeded random scripts by the
// unit tests and over fuzzer input by the mapOps fuzz target (so no test framework here).
// Each step of a byte script runs one operation on an MxList or MxMap and checks its answer
// against a model, then checks the whole container, its nodes alive included.
#ifndef MLIB_TESTS_CONTAINER_CONTAINERTESTUTIL_H
#define MLIB_TESTS_CONTAINER_CONTAINERTESTUTIL_H

#include <mlib/containers.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace mlib {
namespace testing {

using Text = std::basic_string<WideChar>;

// The text of s; empty for a null String (check IsNull separately where it matters).
inline Text TextOf(const String& s) {
  return s.IsNull() ? Text() : Text(s.toString(), static_cast<std::size_t>(s.GetLength()));
}

// What MxObject::PrintToString answers, word for word.
inline const Text kObjectText =
    MLIB_T("String can not be printed, as the class couldn't interpret this type of instance yet.");

// A value that counts its live copies: while the test holds none, a container holds one per
// node (a map's leaves included). Assigning kThrows throws.
inline int liveNodes = 0;
struct Tally {
  static constexpr int kThrows = -100;
  explicit Tally(int i = 0) : id(i) { ++liveNodes; }
  Tally(const Tally& other) : id(other.id) { ++liveNodes; }
  Tally& operator=(const Tally& other) {
    if (other.id == kThrows) throw std::runtime_error("copy failed");
    id = other.id;
    return *this;
  }
  ~Tally() { --liveNodes; }
  bool operator==(const Tally& other) const { return id == other.id; }
  int id;
};

// A script's bytes, read one operation argument at a time (zeros past the end), and the step.
struct Script {
  unsigned Next() { return at < size ? static_cast<unsigned>(data[at++]) : 0u; }
  std::string Fail(const char* what) const { return what + (" at step " + std::to_string(step)); }
  const std::uint8_t* data;
  std::size_t size, at = 0;
  int step = 0;
};

// Runs the script on a fresh MxList against a vector and the cursor's place in it (-1: none):
// what went wrong and at which step, or "".
inline std::string RunListScript(const std::uint8_t* data, std::size_t size) {
  Script s{data, size};
  {
    MxList<Tally> list;
    std::vector<int> model;
    int cursor = -1;
    auto removed = [&](int i) {
      model.erase(model.begin() + i);
      cursor = cursor == i ? -1 : cursor - (cursor > i ? 1 : 0);  // never left on a freed node
    };
    for (; s.at < size && s.step < 400; ++s.step) {
      const int n = static_cast<int>(model.size()), op = static_cast<int>(s.Next() % 10);
      const int i = static_cast<int>(s.Next() % (n + 3)) - 1, alt = static_cast<int>(s.Next() % 4);
      const bool in = i >= 0 && i < n, flag = s.Next() % 2 == 1;
      const Tally c{static_cast<int>(s.Next() % 16)};
      const auto found = std::find(model.begin(), model.end(), c.id);
      const int f = found != model.end() ? static_cast<int>(found - model.begin()) : -1;
      Tally out{-1};
      const Tally* p = nullptr;  // for the operations answering an address
      int read = -1;             // the element out (or *p) must hold, by its place in the model
      bool got = true, ok = true;
      if (op <= 2) {  // InsertAt compares unsigned: -1 and count + 1 add nothing
        const int at = op == 0 ? 0 : op == 1 ? n : i;
        got = op == 0   ? list.AddHead(c)
              : op == 1 ? list.AddTail(c)
                        : list.InsertAt(static_cast<unsigned>(i), c);
        ok = at >= 0 && at <= n;
        if (ok) model.insert(model.begin() + at, c.id);
        if (ok && cursor >= at) ++cursor;
      } else if (op == 3) {
        const int at = alt < 2 ? (in ? i : -1) : f;
        got = alt < 2 ? list.RemoveAt(static_cast<unsigned>(i)) : list.Remove(c);
        ok = at >= 0;
        if (ok) removed(at);
      } else if (op == 4) {
        got = alt < 2 ? list.GetAt(i, out, flag) : (p = list.GetAtPtr(i)) != nullptr;
        ok = in;
        read = in ? i : -1;
      } else if (op == 5) {  // an empty list leaves FindNode's index as it was
        int index = 77;
        out = c;
        got = list.FindNode(c, &index) == list.GetNodeAt(f) && index == (n == 0 ? 77 : f) &&
              list.Contains(c) == (f >= 0) && list.FindPtr(c) == list.GetAtPtr(f) &&
              list.IndexOf(out, flag) == f;
        read = f;
      } else if (op == 6) {  // by index, or else the first equal element
        list.Update(c, alt < 2 ? i : -1);
        if (alt < 2 && in) model[i] = c.id;
      } else if (op == 7) {
        cursor = n == 0 ? -1 : alt % 2 == 0 ? 0 : n - 1;
        got = alt == 0   ? list.GetFirst(out)
              : alt == 1 ? list.GetLast(out)
                         : (p = alt == 2 ? list.GetFirstPtr() : list.GetLastPtr()) != nullptr;
        ok = cursor >= 0;
        read = cursor;
      } else if (op == 8) {  // off either end the cursor stays off until placed again
        if (cursor >= 0) cursor += alt < 2 ? 1 : -1;
        if (cursor >= n) cursor = -1;
        got = alt == 0   ? list.GetNext(out)
              : alt == 1 ? (p = list.GetNextPtr()) != nullptr
              : alt == 2 ? list.GetPrev(out)
                         : (p = list.GetPrevPtr()) != nullptr;
        ok = cursor >= 0;
        read = cursor;
      } else if (alt < 2) {  // the cursor moves on, then its node goes
        const int at = cursor;
        got = list.RemoveCurrent(flag);
        ok = at >= 0;
        if (ok) cursor = flag ? (at + 1 < n ? at + 1 : -1) : at - 1;
        if (ok) removed(at);
      } else if (flag) {  // a copy is deep; assigning it clears the cursor
        const MxList<Tally> copy(list);
        list = copy;
        cursor = -1;
      } else if (alt == 2) {
        static_cast<MxContainerBase&>(list).RemoveAll();
        model.clear();
        cursor = -1;
      }
      if (p != nullptr) out = *p;
      if (got != ok || out.id != (read >= 0 ? model[read] : op == 5 ? c.id : -1)) {
        return s.Fail("answer");
      }
      if (read >= 0 && flag && (op == 5 || (op == 4 && alt < 2))) removed(read);
      std::vector<int> contents;
      const MxList<Tally>::NODE* last = nullptr;
      for (auto* node = list.GetNodeAt(0); node != nullptr; last = node, node = node->next) {
        if (node->prev != last) return s.Fail("links");
        contents.push_back(node->data.id);
      }
      const MxContainerBase& base = list;
      if (contents != model || list.GetCount() != model.size() || base.IsEmpty() != !last ||
          list.GetHeadPtr() != (last ? &list.GetNodeAt(0)->data : nullptr) ||
          list.GetTailPtr() != (last ? &last->data : nullptr)) {
        return s.Fail("contents");
      }
      if (liveNodes != static_cast<int>(model.size()) + 2) return s.Fail("nodes beyond c, out");
    }
  }
  return liveNodes == 0 ? "" : s.Fail("the list's destructor left nodes");
}

// The map's key hash, reached from outside the map.
template <typename K>
struct HashOf : MxContainerHash<K, int> {
  using MxContainerHash<K, int>::hashKey;
};

template <typename Node>
struct TreeCheck {
  // Black nodes on every path down to a leaf (the leaf counted), or -1 with problem set.
  // Checks the order of hashes and collects the entries in post-order on the way.
  int BlackHeight(const Node* n) {
    if (n->left == nullptr && n->right == nullptr) return n->colour == 0 ? 1 : Fail("red leaf");
    if (n->left == nullptr || n->right == nullptr) return Fail("entry with one child");
    if (n->left->parent != n || n->right->parent != n) return Fail("parent link");
    if (n->colour == 1 && (n->left->colour == 1 || n->right->colour == 1)) {
      return Fail("red node with a red child");
    }
    const int left = BlackHeight(n->left);
    const std::uint32_t hash = HashOf<decltype(n->key)>::hashKey(n->key);
    if (hash < lastHash) return Fail("hash order");
    lastHash = hash;
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
  std::uint32_t lastHash = 0;
  std::vector<const Node*> postOrder;
  const char* problem = nullptr;
};

// What is wrong with map's tree, or null: red-black invariants, parent links, order of
// hashes, the count, and the walk (0 by nodes, 1 by copies,
// 2 by addresses) answering the entries in exact post-order, then no more. The entries, in
// post-order, go to entries when given.
template <typename K, typename V>
const char* TreeProblem(MxMap<K, V>& map, int walk = 0,
                        std::vector<const typename MxMap<K, V>::NODE*>* entries = nullptr) {
  using Node = typename MxMap<K, V>::NODE;
  const Node* root = map.GetFirstNode();
  if (root == nullptr) return map.GetCount() == 0 && map.IsEmpty() ? nullptr : "none iterated";
  while (root->parent != nullptr) root = root->parent;
  TreeCheck<Node> check;
  if (root->colour != 0) return "red root";
  if (check.BlackHeight(root) < 0) return check.problem;
  const std::vector<const Node*>& postOrder = check.postOrder;
  if (postOrder.size() != map.GetCount() || map.IsEmpty()) return "count";
  K key{};
  V value{};
  K* keyAt = nullptr;
  V* valueAt = nullptr;
  for (std::size_t i = 0; i <= postOrder.size(); ++i) {  // each address to the pointer given
    const Node* e = i < postOrder.size() ? postOrder[i] : nullptr;
    const Node* n = walk != 0 ? nullptr : i == 0 ? map.GetFirstNode() : map.GetNextNode();
    const bool more = walk == 0   ? n != nullptr
                      : walk == 1 ? (i == 0 ? map.GetFirst(key, value) : map.GetNext(key, value))
                      : i == 0
                          ? map.GetFirstPtr(&keyAt, &valueAt)
                          : map.GetNextPtr(i % 2 ? &keyAt : nullptr, i % 2 ? nullptr : &valueAt);
    if (more != (e != nullptr) || (walk == 0 && n != e)) return "the walk";
    if (more && (walk == 1 ? !(key == e->key && value == e->value)
                           : walk == 2 && (i % 2 ? keyAt != &e->key : valueAt != &e->value))) {
      return "the walk's copies or addresses";
    }
  }
  if (entries != nullptr) *entries = postOrder;
  return nullptr;
}

// Records each search's probe: a search copies the key (and value) into a bare red node.
class ProbeMap : public MxMap<int, Tally> {
 public:
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

// Runs the script on a fresh ProbeMap against a multimap: what went wrong and at which step,
// or "". Each step adds new and repeated keys, removes, looks up, sets, walks (removing the
// cursor's entry now and then), empties or draws the map, then checks the tree, the walks,
// the entries and the nodes alive (entries and leaves).
inline std::string RunMapScript(const std::uint8_t* data, std::size_t size) {
  using Node = ProbeMap::NODE;
  Script s{data, size};
  const unsigned keys = 8 + s.Next() % 120;  // a few negative keys: they hash after the rest
  {
    ProbeMap map;
    std::set<std::pair<int, int>> model;  // (key, id) of each entry; a key is its own hash
    int ids = 0;
    for (; s.at < size && s.step < 400; ++s.step) {
      const int key = static_cast<int>(s.Next() % keys) - 8;
      const auto first = model.lower_bound({key, 0});
      const bool present = first != model.end() && first->first == key, empty = model.empty();
      // Searches of an empty map answer at once; others search once with a probe.
      auto searched = [&](int times, int id) {
        const bool ok = map.finds == (empty ? 0 : times) &&
                        (empty || (map.bareRed && map.probeKey == key && map.probeId == id));
        map.finds = 0;
        return ok;
      };
      Tally* found = map.LookupPtr(key);  // the entry any search for key finds
      const int foundId = found != nullptr ? found->id : -1;
      if ((found != nullptr) != present || map.ContainsKey(key) != present ||
          (present && model.count({key, foundId}) == 0) || !searched(2, 0)) {
        return s.Fail("LookupPtr or ContainsKey");
      }
      const unsigned op = s.Next() % 7;
      if (op <= 1) {  // even when the key is present: a second entry of that hash
        if (!map.Add(key, Tally{++ids})) return s.Fail("Add");
        model.emplace(key, ids);
        map.finds = 0;
      } else if (op == 2) {
        if (map.Remove(key) != present || !searched(1, 0)) return s.Fail("Remove");
        model.erase({key, foundId});
      } else if (op == 3) {
        int k = key;
        Tally value{-1};
        const bool remove = s.Next() % 2 == 1;
        if (map.Lookup(k, value, remove) != present || !searched(1, -1) || value.id != foundId) {
          return s.Fail("Lookup");
        }
        if (remove) model.erase({key, foundId});
      } else if (op == 4) {
        if (map.SetAt(key, Tally{++ids}) != present || !searched(1, ids)) return s.Fail("SetAt");
        if (model.erase({key, foundId}) == 1) model.emplace(key, ids);
      } else if (op == 5) {  // a walk, removing the entries the cursor stands on now and then
        const unsigned bound = 10 * (map.GetCount() + 1);
        unsigned answered = 0;
        for (const Node* c = map.GetFirstNode(); c != nullptr; c = map.GetNextNode()) {
          if (model.count({c->key, c->value.id}) == 0)
            return s.Fail("the walk answered a removed entry");
          if (++answered > bound) return s.Fail("the walk has no end");
          if (s.Next() % 4 != 0) continue;
          // The cursor stands on the parent of the entry answered (in a map of one entry
          // it may stand anywhere: only that entry can go).
          const bool one = map.GetCount() == 1;
          const Node* current = one ? c : c->parent;
          const std::pair<int, int> entry =
              current ? std::make_pair(current->key, current->value.id) : std::make_pair(0, 0);
          const bool removed = map.RemoveCurrent();
          if (!one && removed != (current != nullptr)) return s.Fail("RemoveCurrent");
          if (removed) model.erase(entry);
        }
        if (map.GetNextNode() != nullptr) return s.Fail("the walk went on past its end");
      } else if (s.Next() % 16 == 0) {
        int k = 0;
        Tally value;
        map.RemoveAll();
        model.clear();
        if (map.RemoveCurrent() || map.GetFirst(k, value)) return s.Fail("an empty map's walk");
      }
      std::vector<const Node*> entries;
      if (const char* problem = TreeProblem(map, s.step % 3, &entries)) {
        return s.Fail(problem);
      }
      std::set<std::pair<int, int>> got;
      for (const Node* n : entries) got.emplace(n->key, n->value.id);
      if (got != model || got.size() != entries.size())
        return s.Fail("entries differ from the model");
      if (liveNodes != (model.empty() ? 0 : 2 * static_cast<int>(model.size()) + 1)) {
        return s.Fail("nodes beyond the entries and their leaves");
      }
    }
  }
  return liveNodes == 0 ? "" : s.Fail("the map's destructor left nodes");
}

}  // namespace testing
}  // namespace mlib

#endif  // MLIB_TESTS_CONTAINER_CONTAINERTESTUTIL_H
