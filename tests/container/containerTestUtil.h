// The container drivers, run over seeded scripts by the unit tests and over fuzzer input: each
// step runs one MxList or MxMap operation against a model, then checks the whole container.
#ifndef MLIB_TESTS_CONTAINER_CONTAINERTESTUTIL_H
#define MLIB_TESTS_CONTAINER_CONTAINERTESTUTIL_H

#include <mlib/containers.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace mlib {
namespace testing {

// Counts its live copies (a container holds one per node, leaves too); assigning kThrows throws.
inline int liveNodes = 0;
struct Tally {
  static constexpr int kThrows = -100;
  explicit Tally(int i = 0) : id(i) { ++liveNodes; }
  Tally(const Tally& other) : Tally(other.id) {}
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
  int Next() { return at < size ? data[at++] : 0; }
  std::string Fail(const char* what) const { return what + (" at step " + std::to_string(step)); }
  const std::uint8_t* data;
  std::size_t size, at = 0;
  int step = 0;
};

// Runs the script on an MxList against a vector and a cursor (-1: none): the fault found, or "".
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
      const int n = static_cast<int>(model.size()), op = s.Next() % 10;
      const int i = s.Next() % (n + 3) - 1, alt = s.Next() % 4;
      const bool in = i >= 0 && i < n, flag = s.Next() % 2 == 1;
      const Tally c{s.Next() % 16};
      const auto found = std::find(model.begin(), model.end(), c.id);
      const int f = found != model.end() ? static_cast<int>(found - model.begin()) : -1;
      Tally out{-1};
      const Tally* p = nullptr;  // for the operations answering an address
      int read = -1;             // the element out (or *p) must hold, by its place in the model
      bool got = true, ok = true;
      if (op <= 2) {  // InsertAt compares unsigned: -1 and count + 1 add nothing
        const int at = op == 0 ? 0 : op == 1 ? n : i;
        got = op == 0 ? list.AddHead(c) : op == 1 ? list.AddTail(c) : list.InsertAt(i, c);
        ok = at >= 0 && at <= n;
        if (ok) model.insert(model.begin() + at, c.id);
        if (ok && cursor >= at) ++cursor;
      } else if (op == 3) {
        const int at = alt < 2 ? (in ? i : -1) : f;
        got = alt < 2 ? list.RemoveAt(i) : list.Remove(c);
        ok = at >= 0;
        if (ok) removed(at);
      } else if (op == 4) {
        got = alt < 2 ? list.GetAt(i, out, flag) : (p = list.GetAtPtr(i)) != nullptr;
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
        read = cursor = n == 0 ? -1 : alt % 2 == 0 ? 0 : n - 1;
        got = alt == 0   ? list.GetFirst(out)
              : alt == 1 ? list.GetLast(out)
                         : (p = alt == 2 ? list.GetFirstPtr() : list.GetLastPtr()) != nullptr;
      } else if (op == 8) {  // off either end the cursor stays off until placed again
        if (cursor >= 0) cursor += alt < 2 ? 1 : -1;
        read = cursor = cursor >= n ? -1 : cursor;
        got = alt == 0   ? list.GetNext(out)
              : alt == 1 ? (p = list.GetNextPtr()) != nullptr
              : alt == 2 ? list.GetPrev(out)
                         : (p = list.GetPrevPtr()) != nullptr;
      } else if (alt < 2) {  // the cursor moves on, then its node goes
        const int at = cursor;
        got = list.RemoveCurrent(flag);
        ok = at >= 0;
        if (ok) cursor = flag ? (at + 1 < n ? at + 1 : -1) : at - 1;
        if (ok) removed(at);
      } else if (flag) {  // a copy is deep; assigning it clears the cursor
        list = MxList<Tally>(list);
        cursor = -1;
      } else if (alt == 2) {
        static_cast<MxContainerBase&>(list).RemoveAll();
        model.clear();
        cursor = -1;
      }
      if (p != nullptr) out = *p;
      if (op == 4 || op == 7 || op == 8) ok = read >= 0;  // the reads answer whether they read
      if (got != ok || out.id != (read >= 0 ? model[read] : op == 5 ? c.id : -1)) {
        return s.Fail("answer");
      }
      if (read >= 0 && flag && (op == 5 || (op == 4 && alt < 2))) removed(read);
      std::vector<int> contents;  // -1 for a node whose back link is wrong
      const MxList<Tally>::NODE* last = nullptr;
      for (auto* node = list.GetNodeAt(0); node != nullptr; last = node, node = node->next)
        contents.push_back(node->prev == last ? node->data.id : -1);
      if (contents != model || list.GetCount() != model.size() ||
          static_cast<MxContainerBase&>(list).IsEmpty() != !last ||
          list.GetHeadPtr() != (last ? &list.GetNodeAt(0)->data : nullptr) ||
          list.GetTailPtr() != (last ? &last->data : nullptr) ||
          liveNodes != static_cast<int>(model.size()) + 2) {  // + c and out
        return s.Fail("contents, links or nodes alive");
      }
    }
  }
  return liveNodes == 0 ? "" : s.Fail("the list's destructor left nodes");
}

// The map's key hash, reached from outside the map.
template <typename K>
struct HashOf : MxContainerHash<K, int> {
  using MxContainerHash<K, int>::hashKey;
};

// Of: what is wrong with a map's tree (red-black rules, parent links, hash order, count), or with
// its walk (0 by nodes, 1 copies, 2 addresses) against the entries' post-order; else null.
template <typename K, typename V>
struct TreeCheck {
  using Node = typename MxMap<K, V>::NODE;
  const char* Of(MxMap<K, V>& map, int walk = 0) {
    const Node* root = map.GetFirstNode();
    if (root == nullptr) return map.GetCount() == 0 && map.IsEmpty() ? nullptr : "none iterated";
    while (root->parent != nullptr) root = root->parent;
    if (root->colour != 0) return "red root";
    try {
      BlackHeight(root);
    } catch (const char* problem) {
      return problem;
    }
    if (postOrder.size() != map.GetCount() || map.IsEmpty()) return "count";
    K key{}, *keyAt = nullptr;
    V value{}, *valueAt = nullptr;
    for (std::size_t i = 0; i <= postOrder.size(); ++i) {  // each address to the pointer given
      const Node* e = i < postOrder.size() ? postOrder[i] : nullptr;
      const Node* n = walk != 0 ? nullptr : i == 0 ? map.GetFirstNode() : map.GetNextNode();
      const bool more = walk == 0   ? n != nullptr
                        : walk == 1 ? (i == 0 ? map.GetFirst(key, value) : map.GetNext(key, value))
                        : i == 0
                            ? map.GetFirstPtr(&keyAt, &valueAt)
                            : map.GetNextPtr(i % 2 ? &keyAt : nullptr, i % 2 ? nullptr : &valueAt);
      const bool same = e == nullptr || (walk == 0   ? n == e
                                         : walk == 1 ? key == e->key && value == e->value
                                         : i % 2     ? keyAt == &e->key
                                                     : valueAt == &e->value);
      if (more != (e != nullptr) || !same) return "the walk: its end, entries, copies or addresses";
    }
    return nullptr;
  }
  // Black nodes on every path down to a leaf (the leaf counted); throws what is wrong.
  int BlackHeight(const Node* n) {
    if (n->left == nullptr && n->right == nullptr) return n->colour == 0 ? 1 : throw "red leaf";
    if (n->left == nullptr || n->right == nullptr) throw "entry with one child";
    if (n->left->parent != n || n->right->parent != n) throw "parent link";
    if (n->colour == 1 && (n->left->colour == 1 || n->right->colour == 1)) throw "red on red";
    const int left = BlackHeight(n->left);
    if (HashOf<K>::hashKey(n->key) < lastHash) throw "hash order";
    lastHash = HashOf<K>::hashKey(n->key);
    if (BlackHeight(n->right) != left) throw "unequal black heights";
    postOrder.push_back(n);
    return left + (n->colour == 0 ? 1 : 0);
  }
  std::uint32_t lastHash = 0;
  std::vector<const Node*> postOrder;
};

// Records each search's probe: a search copies the key (and value) into a bare red node.
class ProbeMap : public MxMap<int, Tally> {
 public:
  NODE* FindNode(NODE* probe) const override {
    ++finds;
    const bool bareRed = probe->colour == kRed && !probe->left && !probe->right && !probe->parent;
    last = {bareRed, probe->key, probe->value.id};
    return MxMap::FindNode(probe);
  }
  mutable int finds = 0;
  mutable std::tuple<bool, int, int> last;  // bare red, key and id of the last probe
};

// Runs the script on a ProbeMap against a set of (key, id) (adding repeated keys too, removing
// during walks now and then, checking the tree after each step): the fault found, or "".
inline std::string RunMapScript(const std::uint8_t* data, std::size_t size) {
  Script s{data, size};
  const int keys = 8 + s.Next() % 120;  // a few negative keys: they hash after the rest
  {
    ProbeMap map;
    std::set<std::pair<int, int>> model;  // a key is its own hash
    int ids = 0;
    for (; s.at < size && s.step < 400; ++s.step) {
      const int key = s.Next() % keys - 8;
      const auto first = model.lower_bound({key, 0});
      const bool present = first != model.end() && first->first == key, empty = model.empty();
      auto searched = [&](int times, int id) {  // an empty map answers without a search
        return std::exchange(map.finds, 0) == (empty ? 0 : times) &&
               (empty || map.last == std::make_tuple(true, key, id));
      };
      int k = key;
      Tally value{-1}, *found = map.LookupPtr(key);  // the entry any search for key finds
      const int foundId = found != nullptr ? found->id : -1;
      if ((found != nullptr) != present || map.ContainsKey(key) != present ||
          (present && model.count({key, foundId}) == 0) || !searched(2, 0)) {
        return s.Fail("LookupPtr or ContainsKey");
      }
      const int op = s.Next() % 7;
      if (op <= 1) {  // even when the key is present: a second entry of that hash
        if (!map.Add(key, Tally{++ids})) return s.Fail("Add");
        model.emplace(key, ids);
        map.finds = 0;
      } else if (op == 2) {
        if (map.Remove(key) != present || !searched(1, 0)) return s.Fail("Remove");
        model.erase({key, foundId});
      } else if (op == 3) {
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
        for (const auto* c = map.GetFirstNode(); c != nullptr; c = map.GetNextNode()) {
          if (model.count({c->key, c->value.id}) == 0) return s.Fail("a removed entry walked");
          if (++answered > bound) return s.Fail("the walk has no end");
          if (s.Next() % 4 != 0) continue;
          // The cursor stands on the answered entry's parent (anywhere in a one-entry map).
          const bool one = map.GetCount() == 1;
          const auto* current = one ? c : c->parent;
          const auto entry =
              current ? std::make_pair(current->key, current->value.id) : std::make_pair(0, 0);
          const bool removed = map.RemoveCurrent();
          if (!one && removed != (current != nullptr)) return s.Fail("RemoveCurrent");
          if (removed) model.erase(entry);
        }
        if (map.GetNextNode() != nullptr) return s.Fail("the walk went on past its end");
      } else if (s.Next() % 16 == 0) {
        map.RemoveAll();
        model.clear();
        if (map.RemoveCurrent() || map.GetFirst(k, value)) return s.Fail("an empty map's walk");
      }
      TreeCheck<int, Tally> tree;
      if (const char* problem = tree.Of(map, s.step % 3)) return s.Fail(problem);
      std::set<std::pair<int, int>> got;
      for (const auto* n : tree.postOrder) got.emplace(n->key, n->value.id);
      if (got != model || got.size() != tree.postOrder.size() ||
          liveNodes != (model.empty() ? 1 : 2 * static_cast<int>(model.size()) + 2)) {
        return s.Fail("entries or nodes alive (entries, leaves and value) differ from the model");
      }
    }
  }
  return liveNodes == 0 ? "" : s.Fail("the map's destructor left nodes");
}

}  // namespace testing
}  // namespace mlib

#endif  // MLIB_TESTS_CONTAINER_CONTAINERTESTUTIL_H
