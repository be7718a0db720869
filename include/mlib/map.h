/// \file
/// MxMap<K,V>: a map kept as a red-black tree ordered by an unsigned 32-bit hash of the key
/// (not the key itself), with real black placeholder nodes ("leaves") in every empty position,
/// one post-order iteration cursor, and a text picture of the tree (PrintToString, in
/// <mlib/mapDrawing.h>). Not locked: SyncMap in <mlib/syncMap.h> adds the lock.
#ifndef MLIB_MAP_H
#define MLIB_MAP_H

#include <mlib/config.h>
#include <mlib/elementPrint.h>
#include <mlib/list.h>
#include <mlib/lock.h>
#include <mlib/object.h>
#include <mlib/string.h>
#include <mlib/text.h>

#include <cstdint>
#include <initializer_list>
#include <new>
#include <string>
#include <type_traits>

namespace mlib {

/// A container of key/value pairs: the membership test and the two pair operations.
template <typename K, typename V>
class MxContainerPair : public virtual MxContainerBase {
 public:
  /// True when an entry with key's hash exists.
  virtual bool ContainsKey(const K& key) const = 0;
  /// Assigns the key, then the value unless target and source value are the same object.
  virtual void CopyPair(K& targetKey, V& targetValue, const K& sourceKey,
                        const V& sourceValue) const;
  /// key1 equals key2 (false for key types without an equality); the values are ignored.
  virtual bool KeyEquals(const K& key1, const V& value1, const K& key2, const V& value2) const;
};

/// The operations of a map, in the order of their virtual slots.
template <typename K, typename V>
class IMapBase : public MxContainerPair<K, V> {
 public:
  /// AddEntry: a new entry, even when an entry with the same hash exists.
  virtual bool Add(const K& key, const V& value) = 0;
  /// Removes the entry found for key; true if one was removed.
  virtual bool Remove(const K& key) = 0;
  /// Removes the entry the iteration cursor stands on; true if one was removed.
  virtual bool RemoveCurrent() = 0;
  /// Address of the value stored for key, or null.
  virtual V* LookupPtr(const K& key) = 0;
  /// Copies the stored key and value into key and value (removing the entry when remove is
  /// true); false when nothing is found.
  virtual bool Lookup(K& key, V& value, bool remove = false) = 0;
  /// Replaces key and value of the entry found for key; false, adding nothing, when none.
  virtual bool SetAt(const K& key, const V& value) = 0;
  /// Starts / continues the post-order iteration and copies the entry; false past the end.
  virtual bool GetFirst(K& key, V& value) = 0;
  virtual bool GetNext(K& key, V& value) = 0;
  /// As GetFirst / GetNext, handing out the entry's addresses through whichever out-pointer
  /// is not null.
  virtual bool GetFirstPtr(K** key, V** value) = 0;
  virtual bool GetNextPtr(K** key, V** value) = 0;
};

/// Contributes the key hash that orders a map:
///   String       GetStringHashCode of its ANSI text (0xFFFFFFFF for a null String)
///   std::string  GetStringHashCode of its characters
///   integers, enumerations, bool, character types   the value as unsigned 32 bits (so -1
///                of a 16-bit key hashes as -1 of an int: after every non-negative key)
///   any other    the first 32 bits of the key's storage (fewer for a narrower type)
template <typename K, typename V>
class MxContainerHash : public virtual MxContainerBase {
 protected:
  /// The hash of key, by the rules above.
  static std::uint32_t hashKey(const K& key);
};

/// The library's map. Entries are found by hash alone: two keys with the same hash are the
/// same key for every lookup. Iteration runs over the tree in post-order (left subtree, right
/// subtree, entry), so the root comes last; it is one iteration per map.
///
/// Adding a key whose hash is already present makes a second entry: it is linked into the
/// right subtree of the entry met on the way down, so the tree's hashes stay non-decreasing
/// from left to right and every invariant holds. A lookup finds the one nearest the root;
/// removing it makes the next one findable, and iteration visits all of them.
///
/// Element copies that throw leave the map as it was and let the exception through; a node
/// that cannot be allocated fails the Add (false). Nothing else throws.
template <typename K, typename V>
class MxMap : public IMapBase<K, V>, public MxContainerHash<K, V> {
 public:
  /// One tree node: an entry (two children) or a leaf (no children, black, holds no entry).
  /// Made with key and value value-initialised, on the heap through MxObject's operator new.
  /// A map destroys its nodes itself, each subtree bottom-up, and a removal gives the nodes
  /// it takes out back to the heap at once; a node's destructor detaches it from its parent. The
  /// tree operations take only nodes the map made.
  struct NODE : public MxObject {
    NODE() = default;
    ~NODE() override;
    NODE(const NODE&) = delete;
    NODE& operator=(const NODE&) = delete;

    K key{};                 ///< the entry's key
    V value{};               ///< the entry's value
    NODE* parent = nullptr;  ///< null for the root
    NODE* left = nullptr;    ///< subtree of smaller hashes
    NODE* right = nullptr;   ///< subtree of larger (or, after a repeat, equal) hashes
    int colour = 0;          ///< 0 black, 1 red
  };

  /// One record of the tree drawing (and of its work queue).
  struct LineData {
    int index = 0;            ///< position within its level, as in a complete binary tree
    int parentIndex = 0;      ///< the parent's index, carried in the work queue
    String text;              ///< the node's label
    std::uintptr_t node = 0;  ///< the tree node, or kLevelMarker in the work queue
  };
  /// The work queue's end-of-level record: a node value no real node can have.
  static constexpr std::uintptr_t kLevelMarker = ~std::uintptr_t{0};

  /// NODE::colour values.
  static constexpr int kBlack = 0;
  static constexpr int kRed = 1;

  /// An empty map.
  MxMap() noexcept = default;
  MxMap(const MxMap&) = delete;
  MxMap& operator=(const MxMap&) = delete;
  /// Destroys the tree.
  ~MxMap() override;

  /// The picture of the tree (see <mlib/mapDrawing.h>); MxObject's text for an empty map.
  String PrintToString() const override;
  /// The tree has no root.
  bool IsEmpty() const override { return root_ == nullptr; }
  /// DestroyTree.
  void RemoveAll() override { DestroyTree(); }
  /// Entries added minus entries removed.
  unsigned GetCount() const override { return count_; }

  bool ContainsKey(const K& key) const override;

  bool Add(const K& key, const V& value) override { return AddEntry(key, value); }
  bool Remove(const K& key) override;
  /// Removes the entry the cursor stands on (after a GetNext: the parent of the entry just
  /// answered, which the walk has not answered yet; in a one-entry map the entry itself) and
  /// leaves the cursor on the node DeleteNode answers, the iteration phase unchanged. The
  /// iteration can go on: the following GetNext resumes the walk from that node. It answers
  /// only entries still in the map and always reaches the end, but the removal may rotate
  /// entries across the walk's path, so an entry may be answered again or not at all.
  bool RemoveCurrent() override;
  /// Null at once for an empty map.
  V* LookupPtr(const K& key) override;
  bool Lookup(K& key, V& value, bool remove = false) override;
  bool SetAt(const K& key, const V& value) override;
  bool GetFirst(K& key, V& value) override;
  bool GetNext(K& key, V& value) override;
  bool GetFirstPtr(K** key, V** value) override;
  bool GetNextPtr(K** key, V** value) override { return MoveNext(key, value); }

  // ---- Tree operations ----------------------------------------------------------------

  /// Inserts a new entry holding copies of key and value; count + 1. False, the map
  /// unchanged, when its nodes cannot be allocated.
  virtual bool AddEntry(const K& key, const V& value);
  /// Destroys every node, bottom-up without recursion; root, count, cursor and iteration
  /// state become null and 0.
  virtual void DestroyTree();
  /// The entry whose hash equals the hash of probe's key, else the leaf where the search
  /// ended; null for a null probe or an empty tree.
  virtual NODE* FindNode(NODE* probe) const;
  /// Makes the topmost ancestor of node the root; null does nothing.
  virtual void UpdateRoot(NODE* node);
  /// Links the unlinked entry node into the tree in place of the leaf its hash leads to. That
  /// leaf is destroyed, or, when node lacks a child, becomes that child.
  virtual void InsertNode(NODE* node);
  /// Restores the red-black invariants after node was inserted red.
  virtual void InsertFixup(NODE* node);
  /// For an entry whose children are both leaves: as the root, it is destroyed, the tree
  /// emptied and null answered; otherwise its leaves are destroyed and it becomes a black
  /// leaf (plain-value key and value zero-filled), which is answered. Else null, no change.
  virtual NODE* MakeLeaf(NODE* node);
  /// Removes the entry node from the tree; removedColour (when given) receives the colour of
  /// the node that left the tree. Answers the node now standing where it left (null when the
  /// tree became empty). Null, no change, for anything but an entry.
  virtual NODE* DeleteNode(NODE* node, int* removedColour);
  /// Restores the red-black invariants after DeleteNode answered node.
  virtual void DeleteFixup(NODE* node, int removedColour);
  /// Starts the post-order iteration at the root and answers its first entry, or null.
  virtual NODE* GetFirstNode();
  /// The next entry of the iteration, or null (and null again until it is restarted).
  virtual NODE* GetNextNode();
  /// GetNextNode, handing out the entry's addresses as GetFirstPtr does.
  virtual bool MoveNext(K** key, V** value);

 private:
  static bool isEntry(const NODE* node) noexcept {
    return node != nullptr && (node->left != nullptr || node->right != nullptr);
  }
  static bool isLeaf(const NODE* node) noexcept {
    return node != nullptr && node->left == nullptr && node->right == nullptr;
  }
  static int colourOf(const NODE* node) noexcept { return node != nullptr ? node->colour : kBlack; }
  /// Starts loading node whole: a node sits wherever the heap put it, so its fields (and the
  /// heap's header just before it, which freeing reads) usually straddle two cache lines; the
  /// first and the last byte of that span name both.
  static void prefetchNode(const NODE* node) noexcept {
#if defined(__GNUC__) || defined(__clang__)
    const auto at = reinterpret_cast<std::uintptr_t>(node);
    __builtin_prefetch(reinterpret_cast<const void*>(at - sizeof(void*)));
    __builtin_prefetch(reinterpret_cast<const void*>(at + sizeof(NODE) - 1));
#else
    (void)node;
#endif
  }
  /// Starts loading both children of an entry before the comparison picks one: the search
  /// goes on with one of them, and a removal reads both.
  static void prefetchChildren(const NODE* node) noexcept {
    prefetchNode(node->left);
    prefetchNode(node->right);
  }

  /// The entry with hash h nearest the root, or the leaf where the search ended. Each key on
  /// the way is hashed once, when it is met.
  NODE* findByHash(std::uint32_t h) const;
  /// The search by key of ContainsKey, Remove, LookupPtr, Lookup and SetAt: key (and, when
  /// given, value) copied into a red probe node with CopyPair, then FindNode. The probe lives
  /// on the stack, so a search allocates nothing beyond what copying the key takes, and the
  /// caller's key is only read. The entry found, or null.
  NODE* findEntry(const K& key, const V* value = nullptr) const;
  /// A new node (black, no links) from MxObject's operator new; null when out of memory.
  static NODE* newNode() noexcept { return new NODE; }
  /// Destroys node and its subtree, bottom-up, returning their memory to the heap.
  void destroyNode(NODE* node) noexcept;
  /// A new entry of the given colour with a new black right leaf, and a new left leaf too
  /// when bothLeaves is true; null when out of memory.
  NODE* makeEntry(int colour, bool bothLeaves);
  /// child takes node's place under node's parent (or as the top of the tree).
  static void replaceInParent(NODE* node, NODE* child) noexcept;
  /// node's right child when `right`, else its left one. The fix-ups are written once for a
  /// side and its mirror through it.
  static NODE*& childOn(NODE* node, bool right) noexcept {
    return right ? node->right : node->left;
  }
  /// Lifts x's child on the side `right` into x's place and hangs x below it on the other
  /// side: a left rotation when `right` is true, a right rotation otherwise.
  void rotate(NODE* x, bool right);
  /// Removes entry z and repairs the tree; the node DeleteNode answered.
  NODE* removeEntry(NODE* z);
  /// Deletes a detached node, first moving the cursor off it (and off its children).
  void destroyDetached(NODE* node, NODE* cursorFallback) noexcept;

  NODE* root_ = nullptr;    ///< root entry, or null when the map is empty
  unsigned count_ = 0;      ///< entries added minus removed
  NODE* cursor_ = nullptr;  ///< where the next iteration step starts, or null
  int state_ = 0;           ///< iteration phase: 0 descending, 1 left subtree done while a
                            /// right subtree is to come, 3 ascending, 4 the single entry of
                            /// a one-entry map answered
};

// ---- Implementation ----------------------------------------------------------------------

template <typename K, typename V>
void MxContainerPair<K, V>::CopyPair(K& targetKey, V& targetValue, const K& sourceKey,
                                     const V& sourceValue) const {
  targetKey = sourceKey;
  if (&targetValue != &sourceValue) targetValue = sourceValue;
}

template <typename K, typename V>
bool MxContainerPair<K, V>::KeyEquals(const K& key1, const V&, const K& key2, const V&) const {
  if constexpr (detail::HasEquality<K>::value) {
    return static_cast<bool>(key1 == key2);
  } else {
    (void)key1;
    (void)key2;
    return false;
  }
}

template <typename K, typename V>
std::uint32_t MxContainerHash<K, V>::hashKey(const K& key) {
  if constexpr (std::is_same_v<K, String>) {
    return static_cast<std::uint32_t>(::GetStringHashCode(key.toAnsi()));
  } else if constexpr (std::is_same_v<K, std::string>) {
    return static_cast<std::uint32_t>(::GetStringHashCode(key.c_str()));
  } else if constexpr (std::is_integral_v<K> || std::is_enum_v<K>) {
    // By value: identical to the first 32 bits of the storage on the little-endian machines
    // the library runs on, and sign-extended for narrower signed types.
    return static_cast<std::uint32_t>(key);
  } else {
    const auto* bytes = reinterpret_cast<const unsigned char*>(&key);
    std::uint32_t h = 0;
    const std::size_t n = sizeof(K) < sizeof(h) ? sizeof(K) : sizeof(h);
    for (std::size_t i = 0; i < n; ++i) h |= static_cast<std::uint32_t>(bytes[i]) << (8 * i);
    return h;
  }
}

template <typename K, typename V>
MxMap<K, V>::NODE::~NODE() {
  if (parent != nullptr) {
    if (parent->left == this) {
      parent->left = nullptr;
    } else if (parent->right == this) {
      parent->right = nullptr;
    }
  }
}

template <typename K, typename V>
MxMap<K, V>::~MxMap() {
  MxMap::DestroyTree();
}

template <typename K, typename V>
bool MxMap<K, V>::ContainsKey(const K& key) const {
  if (count_ == 0) return false;
  return findEntry(key) != nullptr;
}

template <typename K, typename V>
bool MxMap<K, V>::Remove(const K& key) {
  if (count_ == 0) return false;
  NODE* entry = findEntry(key);
  if (entry == nullptr) return false;
  (void)removeEntry(entry);
  return true;
}

template <typename K, typename V>
bool MxMap<K, V>::RemoveCurrent() {
  if (!isEntry(cursor_)) return false;
  NODE* standing = removeEntry(cursor_);
  cursor_ = standing;
  return true;
}

template <typename K, typename V>
V* MxMap<K, V>::LookupPtr(const K& key) {
  if (count_ == 0) return nullptr;
  NODE* entry = findEntry(key);
  return entry != nullptr ? &entry->value : nullptr;
}

template <typename K, typename V>
bool MxMap<K, V>::Lookup(K& key, V& value, bool remove) {
  if (count_ == 0) return false;
  NODE* entry = findEntry(key, &value);
  if (entry == nullptr) return false;
  this->CopyPair(key, value, entry->key, entry->value);
  if (remove) (void)removeEntry(entry);
  return true;
}

template <typename K, typename V>
bool MxMap<K, V>::SetAt(const K& key, const V& value) {
  if (count_ == 0) return false;
  NODE* entry = findEntry(key, &value);
  if (entry == nullptr) return false;
  // The new key has the entry's hash (that is how it was found), so the order holds.
  this->CopyPair(entry->key, entry->value, key, value);
  return true;
}

template <typename K, typename V>
bool MxMap<K, V>::GetFirst(K& key, V& value) {
  NODE* entry = GetFirstNode();
  if (entry == nullptr) return false;
  this->CopyPair(key, value, entry->key, entry->value);
  return true;
}

template <typename K, typename V>
bool MxMap<K, V>::GetNext(K& key, V& value) {
  NODE* entry = GetNextNode();
  if (entry == nullptr) return false;
  this->CopyPair(key, value, entry->key, entry->value);
  return true;
}

template <typename K, typename V>
bool MxMap<K, V>::GetFirstPtr(K** key, V** value) {
  NODE* entry = GetFirstNode();
  if (entry == nullptr) return false;
  if (key != nullptr) *key = &entry->key;
  if (value != nullptr) *value = &entry->value;
  return true;
}

template <typename K, typename V>
bool MxMap<K, V>::MoveNext(K** key, V** value) {
  NODE* entry = GetNextNode();
  if (entry == nullptr) return false;
  if (key != nullptr) *key = &entry->key;
  if (value != nullptr) *value = &entry->value;
  return true;
}

template <typename K, typename V>
bool MxMap<K, V>::AddEntry(const K& key, const V& value) {
  // A root gets both its leaves; any other entry gets its left one from InsertNode, which
  // reuses the leaf it replaces: one node fewer made and destroyed per insert.
  NODE* node = makeEntry(root_ == nullptr ? kBlack : kRed, root_ == nullptr);
  if (node == nullptr) return false;
  try {
    this->CopyPair(node->key, node->value, key, value);
  } catch (...) {
    destroyNode(node);
    throw;
  }
  if (root_ == nullptr) {
    root_ = node;
  } else {
    InsertNode(node);
    InsertFixup(node);
  }
  ++count_;
  return true;
}

template <typename K, typename V>
void MxMap<K, V>::DestroyTree() {
  if (root_ != nullptr) destroyNode(root_);
  root_ = nullptr;
  count_ = 0;
  cursor_ = nullptr;
  state_ = 0;
}

template <typename K, typename V>
typename MxMap<K, V>::NODE* MxMap<K, V>::FindNode(NODE* probe) const {
  if (probe == nullptr || root_ == nullptr) return nullptr;
  return findByHash(this->hashKey(probe->key));
}

template <typename K, typename V>
void MxMap<K, V>::UpdateRoot(NODE* node) {
  if (node == nullptr) return;
  while (node->parent != nullptr) node = node->parent;
  root_ = node;
}

template <typename K, typename V>
void MxMap<K, V>::InsertNode(NODE* node) {
  if (node == nullptr) return;
  if (root_ == nullptr) {
    node->parent = nullptr;
    root_ = node;
    return;
  }
  // The search of FindNode; past an entry of equal hash it goes on to the right.
  NODE* leaf = FindNode(node);
  if (leaf == nullptr) return;
  if (isEntry(leaf)) {
    const std::uint32_t h = this->hashKey(node->key);
    leaf = leaf->right;
    while (isEntry(leaf)) leaf = h < this->hashKey(leaf->key) ? leaf->left : leaf->right;
  }
  NODE* parent = leaf->parent;
  node->parent = parent;
  if (parent == nullptr) {
    root_ = node;  // a tree whose root was a bare leaf: only reachable through misuse
  } else if (parent->left == leaf) {
    parent->left = node;
  } else {
    parent->right = node;
  }
  if (node->left == nullptr || node->right == nullptr) {
    (node->left == nullptr ? node->left : node->right) = leaf;
    leaf->parent = node;
  } else {
    leaf->parent = nullptr;
    destroyDetached(leaf, parent);
  }
  UpdateRoot(node);
}

template <typename K, typename V>
void MxMap<K, V>::InsertFixup(NODE* node) {
  NODE* x = node;
  if (x == nullptr) return;
  while (x->colour == kRed) {
    NODE* p = x->parent;
    if (p == nullptr) {
      x->colour = kBlack;
      break;
    }
    if (p->colour == kBlack) break;
    NODE* g = p->parent;
    if (g == nullptr) {
      p->colour = kBlack;
      break;
    }
    // The side of g the uncle hangs on; p's child on that side is the inner grandchild.
    const bool uncleSide = p == g->left;
    NODE* uncle = childOn(g, uncleSide);
    if (colourOf(uncle) == kRed) {
      p->colour = kBlack;
      uncle->colour = kBlack;
      g->colour = kRed;
      x = g;
      continue;
    }
    if (x == childOn(p, uncleSide)) {
      // x is the inner grandchild: lift it over p first.
      x->colour = kBlack;
      g->colour = kRed;
      rotate(p, uncleSide);
    } else {
      p->colour = kBlack;
      g->colour = kRed;
    }
    rotate(g, !uncleSide);
  }
  UpdateRoot(x);
}

template <typename K, typename V>
typename MxMap<K, V>::NODE* MxMap<K, V>::MakeLeaf(NODE* node) {
  if (!isEntry(node) || !isLeaf(node->left) || !isLeaf(node->right)) return nullptr;
  if (node->parent == nullptr) {
    if (root_ == node) root_ = nullptr;
    destroyDetached(node, nullptr);
    return nullptr;
  }
  NODE* left = node->left;
  NODE* right = node->right;
  node->left = nullptr;
  node->right = nullptr;
  left->parent = nullptr;
  right->parent = nullptr;
  destroyDetached(left, node);
  destroyDetached(right, node);
  node->colour = kBlack;
  detail::zeroFillPlain(node->key);
  detail::zeroFillPlain(node->value);
  return node;
}

template <typename K, typename V>
typename MxMap<K, V>::NODE* MxMap<K, V>::DeleteNode(NODE* node, int* removedColour) {
  NODE* z = node;
  if (!isEntry(z) || z->left == nullptr || z->right == nullptr) return nullptr;
  // z's right child decides first: when it is an entry (the successor's case) z's left
  // child need not be read at all.
  const bool rightIsLeaf = isLeaf(z->right);
  if (rightIsLeaf && isLeaf(z->left)) {
    if (removedColour != nullptr) *removedColour = z->colour;
    NODE* standing = MakeLeaf(z);
    UpdateRoot(standing);
    return standing;
  }
  if (rightIsLeaf) {
    NODE* child = z->left;
    replaceInParent(z, child);
    if (removedColour != nullptr) *removedColour = z->colour;
    z->left = nullptr;
    z->parent = nullptr;
    destroyDetached(z, child);
    UpdateRoot(child);
    return child;
  }
  NODE* y = z->right;
  prefetchChildren(y);
  while (isEntry(y->left)) {
    y = y->left;
    prefetchChildren(y);
  }
  this->CopyPair(z->key, z->value, y->key, y->value);
  if (removedColour != nullptr) *removedColour = y->colour;
  NODE* standing;
  if (isLeaf(y->left) && isLeaf(y->right)) {
    standing = MakeLeaf(y);
  } else {
    standing = y->right;
    replaceInParent(y, standing);
    y->right = nullptr;
    y->parent = nullptr;
    destroyDetached(y, standing);
  }
  UpdateRoot(standing);
  return standing;
}

template <typename K, typename V>
void MxMap<K, V>::DeleteFixup(NODE* node, int removedColour) {
  NODE* x = node;
  if (x == nullptr || removedColour == kRed) return;
  if (x->parent == nullptr) {
    x->colour = kBlack;
    return;
  }
  for (;;) {
    if (x->colour == kRed || x->parent == nullptr) {
      x->colour = kBlack;
      break;
    }
    NODE* p = x->parent;
    // The side of p the sibling w hangs on; w's child on that side is the far nephew.
    const bool siblingSide = x == p->left;
    NODE* w = childOn(p, siblingSide);
    if (w == nullptr || (w->colour == kBlack && isLeaf(w))) break;
    if (w->colour == kBlack && colourOf(w->left) == kBlack && colourOf(w->right) == kBlack) {
      w->colour = kRed;
      x = p;
      continue;
    }
    if (w->colour == kRed) {
      w->colour = p->colour;
      p->colour = kRed;
      rotate(p, siblingSide);
      continue;
    }
    if (colourOf(childOn(w, siblingSide)) == kBlack) {
      NODE* nearNephew = childOn(w, !siblingSide);
      const int c = w->colour;
      w->colour = nearNephew->colour;
      nearNephew->colour = c;
      rotate(w, !siblingSide);
      continue;
    }
    w->colour = p->colour;
    p->colour = kBlack;
    childOn(w, siblingSide)->colour = kBlack;
    rotate(p, siblingSide);
    break;
  }
  UpdateRoot(x);
}

template <typename K, typename V>
typename MxMap<K, V>::NODE* MxMap<K, V>::GetFirstNode() {
  cursor_ = root_;
  state_ = 0;
  return GetNextNode();
}

template <typename K, typename V>
typename MxMap<K, V>::NODE* MxMap<K, V>::GetNextNode() {
  if (root_ != nullptr && isLeaf(root_->left) && isLeaf(root_->right)) {
    if (state_ != 0) return nullptr;
    state_ = 4;
    return root_;
  }
  while (cursor_ != nullptr) {
    NODE* c = cursor_;
    if (!isEntry(c)) {
      cursor_ = c->parent;
    } else if ((isLeaf(c->left) && isLeaf(c->right)) || state_ == 3 ||
               (c->parent == nullptr && state_ != 0)) {
      NODE* parent = c->parent;
      if (parent != nullptr) {
        state_ = (c == parent->left && isEntry(parent->right)) ? 1 : 3;
        cursor_ = parent;
        return c;
      }
      if (state_ == 1) {
        // The root's left subtree is done: its right subtree comes before it.
        state_ = 0;
        cursor_ = c->right;
        continue;
      }
      state_ = 3;
      cursor_ = nullptr;
      return c;
    } else if (isEntry(c->left) && state_ != 1) {
      cursor_ = c->left;
    } else if (isEntry(c->right)) {
      state_ = 0;
      cursor_ = c->right;
    } else {
      cursor_ = c->parent;
    }
  }
  return nullptr;
}

template <typename K, typename V>
typename MxMap<K, V>::NODE* MxMap<K, V>::findByHash(std::uint32_t h) const {
  NODE* node = root_;
  while (isEntry(node)) {
    prefetchChildren(node);
    const std::uint32_t nodeHash = this->hashKey(node->key);
    if (h < nodeHash) {
      node = node->left;
    } else if (h == nodeHash) {
      return node;
    } else {
      node = node->right;
    }
  }
  return node;
}

template <typename K, typename V>
typename MxMap<K, V>::NODE* MxMap<K, V>::findEntry(const K& key, const V* value) const {
  NODE probe;
  probe.colour = kRed;
  this->CopyPair(probe.key, probe.value, key, value != nullptr ? *value : probe.value);
  NODE* node = FindNode(&probe);
  return isEntry(node) ? node : nullptr;
}

template <typename K, typename V>
void MxMap<K, V>::destroyNode(NODE* node) noexcept {
  // Down to a node without children, destroy it (its destructor unhooks it from its
  // parent), step back up, repeat until node itself is gone: no recursion.
  NODE* n = node;
  for (;;) {
    if (n->left != nullptr) {
      n = n->left;
    } else if (n->right != nullptr) {
      n = n->right;
    } else {
      NODE* parent = n->parent;
      const bool done = n == node;
      // Every node is a NODE the map made: its destructor and MxObject's operator delete
      // directly, without asking the virtual table.
      n->NODE::~NODE();
      NODE::operator delete(n);
      if (done) return;
      n = parent;
    }
  }
}

template <typename K, typename V>
typename MxMap<K, V>::NODE* MxMap<K, V>::makeEntry(int colour, bool bothLeaves) {
  NODE* node = newNode();
  if (node == nullptr) return nullptr;
  node->right = newNode();
  if (bothLeaves) node->left = newNode();
  if (node->right == nullptr || (bothLeaves && node->left == nullptr)) {
    if (node->right != nullptr) node->right->parent = node;
    if (node->left != nullptr) node->left->parent = node;
    destroyNode(node);  // with whichever leaf was made with it
    return nullptr;
  }
  node->right->parent = node;
  if (bothLeaves) node->left->parent = node;
  node->colour = colour;
  return node;
}

template <typename K, typename V>
void MxMap<K, V>::replaceInParent(NODE* node, NODE* child) noexcept {
  NODE* parent = node->parent;
  child->parent = parent;
  if (parent == nullptr) return;
  if (parent->left == node) {
    parent->left = child;
  } else {
    parent->right = child;
  }
}

template <typename K, typename V>
void MxMap<K, V>::rotate(NODE* x, bool right) {
  NODE* y = childOn(x, right);
  if (y == nullptr) return;
  replaceInParent(x, y);
  for (NODE** leaf : {&y->left, &y->right}) {
    if (*leaf != nullptr) continue;
    *leaf = newNode();
    if (*leaf != nullptr) (*leaf)->parent = y;
  }
  NODE* moved = childOn(y, !right);
  childOn(x, right) = moved;
  if (moved != nullptr) moved->parent = x;
  childOn(y, !right) = x;
  x->parent = y;
}

template <typename K, typename V>
typename MxMap<K, V>::NODE* MxMap<K, V>::removeEntry(NODE* z) {
  int removedColour = kBlack;
  NODE* standing = DeleteNode(z, &removedColour);
  DeleteFixup(standing, removedColour);
  if (count_ != 0) --count_;
  if (root_ == nullptr) count_ = 0;
  return standing;
}

template <typename K, typename V>
void MxMap<K, V>::destroyDetached(NODE* node, NODE* cursorFallback) noexcept {
  if (cursor_ != nullptr && (cursor_ == node || cursor_ == node->left || cursor_ == node->right)) {
    cursor_ = cursorFallback;
  }
  destroyNode(node);
}

}  // namespace mlib

#include <mlib/mapDrawing.h>

#endif  // MLIB_MAP_H
