/// \file
/// MxList<T>: a doubly linked list of values held by value in heap nodes, with indexed
/// access, one built-in cursor for walking it through the list object, and printing of its
/// elements. Element copies and comparisons go through virtual operations (CopyElement,
/// IsEqual) so a derived list can give its element type its own. Not locked.
#ifndef MLIB_LIST_H
#define MLIB_LIST_H

#include <mlib/config.h>
#include <mlib/elementPrint.h>
#include <mlib/lock.h>
#include <mlib/object.h>
#include <mlib/string.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>

namespace mlib {
/// A container of elements of type T: membership and the two element operations every
/// element passes through.
template <typename T>
class MxContainer : public MxContainerBase {
 public:
  /// True when some element IsEqual value.
  virtual bool Contains(const T& value) const = 0;
  /// Stores source into target by T's assignment (for a list element: a deep copy).
  virtual void CopyElement(T& target, const T& source) const = 0;
  /// T's equality; MxObject identity for elements deriving from MxObject; false for element
  /// types without an equality.
  virtual bool IsEqual(const T& a, const T& b) const = 0;
};

/// The operations of a list, in the order of their virtual slots. Indexes count from 0.
template <typename T>
class IListBase : public MxContainer<T> {
 public:
  /// One element in its heap node. Made with its data value-initialised and links null; the
  /// element is then stored with CopyElement.
  struct NODE : public MxObject {
    NODE() = default;
    ~NODE() override = default;
    NODE(const NODE&) = delete;
    NODE& operator=(const NODE&) = delete;

    T data{};              ///< the element
    NODE* prev = nullptr;  ///< previous node, null for the first
    NODE* next = nullptr;  ///< next node, null for the last
  };

  /// Appends / prepends a copy of value. False, the list unchanged, when no node can be made.
  virtual bool AddTail(const T& value) = 0;
  virtual bool AddHead(const T& value) = 0;
  /// index > count: nothing (false); index == count: appends; otherwise the new node goes
  /// just before the node now at index. Index compared unsigned.
  virtual bool InsertAt(unsigned index, const T& value) = 0;
  /// Removes the first node whose element IsEqual value; true if one was removed.
  virtual bool Remove(const T& value) = 0;
  /// Removes the node at index when index < count (unsigned); true if one was removed.
  virtual bool RemoveAt(unsigned index) = 0;
  /// False when the cursor is null; otherwise the cursor moves to the next (forward) or the
  /// previous node, the node it stood on is removed, and the answer is true.
  virtual bool RemoveCurrent(bool forward) = 0;
  /// Copies the element at index into out (removing its node when remove is true); false
  /// when there is no node at index.
  virtual bool GetAt(int index, T& out, bool remove = false) = 0;
  /// Index of the first element equal to value, -1 when none (value then untouched). When
  /// found, the stored element is copied back into value, and removed when remove is true.
  virtual int IndexOf(T& value, bool remove = false) = 0;
  /// Address of the first element equal to value / of the element at index; null if none.
  virtual T* FindPtr(const T& value) = 0;
  virtual T* GetAtPtr(int index) = 0;
  /// Stores value into the node at index (index >= 0) or into the first node equal to value
  /// (index < 0); nothing when there is no such node.
  virtual void Update(const T& value, int index) = 0;
  /// Copies the first / last element into out, removing its node when remove is true; false
  /// on an empty list.
  virtual bool GetHead(T& out, bool remove = false) = 0;
  virtual bool GetTail(T& out, bool remove = false) = 0;
  /// Address of the first / last element, or null; the cursor is not touched.
  virtual T* GetHeadPtr() = 0;
  virtual T* GetTailPtr() = 0;
  /// Cursor walk. GetFirst places the cursor on the first node and copies its element;
  /// GetNext steps it on and copies. Both answer false (the cursor null) past the end, and
  /// GetNext keeps answering false until the cursor is placed again. The Ptr forms answer the
  /// element's address or null. GetLast / GetPrev / GetLastPtr / GetPrevPtr walk backwards.
  virtual bool GetFirst(T& out) = 0;
  virtual bool GetNext(T& out) = 0;
  virtual T* GetFirstPtr() = 0;
  virtual T* GetNextPtr() = 0;
  virtual bool GetLast(T& out) = 0;
  virtual bool GetPrev(T& out) = 0;
  virtual T* GetLastPtr() = 0;
  virtual T* GetPrevPtr() = 0;
  /// A new node just before position (which must be a node of this list); without a
  /// position, appended when atTail is true, else prepended. False, the list unchanged,
  /// when no node can be made.
  virtual bool InsertNode(NODE* position, bool atTail, const T& value) = 0;
  /// Reserved: does nothing.
  virtual void ReservedOperation(std::uintptr_t, std::uintptr_t, std::uintptr_t,
                                 std::uintptr_t) = 0;
  /// Unlinks and destroys node (which must be a node of this list); null does nothing.
  virtual void RemoveNode(NODE* node) = 0;
  /// Reserved: false for every element type.
  virtual bool ReservedPredicate(const T& a, const T& b) const = 0;
  /// The first node whose element IsEqual value (value passed first), or null. index (when
  /// given) receives its position, or -1 when there is none; on an empty list it is left
  /// untouched.
  virtual NODE* FindNode(const T& value, int* index) const = 0;
  /// The node at index; null when the list is empty or index is negative or not below count.
  virtual NODE* GetNodeAt(int index) const = 0;
};

/// The library's list. The cursor moves only in RemoveCurrent and the cursor walk; removing
/// the node it stands on by any other operation leaves it null. Element copies that throw
/// leave the list as it was and let the exception through; nothing else throws.
template <typename T>
class MxList : public IListBase<T> {
 public:
  /// The list's node record (IListBase::NODE).
  using NODE = typename IListBase<T>::NODE;

  /// An empty list.
  MxList() noexcept = default;
  /// A list holding copies of other's elements in order; the cursor null.
  MxList(const MxList& other);
  /// Nothing when other is this list; otherwise removes every element, then appends a copy
  /// of each of other's in order. The cursor ends null.
  MxList& operator=(const MxList& other);
  /// Destroys every node from first to last.
  ~MxList() override;

  /// For a printable T (see ElementToString): each element's text followed by one space,
  /// first to last (the empty text for an empty list). For any other T: MxObject's text.
  String PrintToString() const override;

  bool IsEmpty() const override { return count_ == 0; }
  /// Destroys every node from first to last; first, last, cursor and count become null / 0.
  void RemoveAll() override;
  unsigned GetCount() const override { return count_; }

  bool Contains(const T& value) const override { return FindNode(value, nullptr) != nullptr; }
  void CopyElement(T& target, const T& source) const override;
  bool IsEqual(const T& a, const T& b) const override;

  bool AddTail(const T& value) override { return InsertNode(nullptr, true, value); }
  bool AddHead(const T& value) override { return InsertNode(nullptr, false, value); }
  bool InsertAt(unsigned index, const T& value) override;
  bool Remove(const T& value) override;
  bool RemoveAt(unsigned index) override;
  bool RemoveCurrent(bool forward) override;
  bool GetAt(int index, T& out, bool remove = false) override;
  int IndexOf(T& value, bool remove = false) override;
  T* FindPtr(const T& value) override;
  T* GetAtPtr(int index) override;
  void Update(const T& value, int index) override;
  bool GetHead(T& out, bool remove = false) override;
  bool GetTail(T& out, bool remove = false) override;
  T* GetHeadPtr() override { return first_ != nullptr ? &first_->data : nullptr; }
  T* GetTailPtr() override { return last_ != nullptr ? &last_->data : nullptr; }
  bool GetFirst(T& out) override;
  bool GetNext(T& out) override;
  T* GetFirstPtr() override;
  T* GetNextPtr() override;
  bool GetLast(T& out) override;
  bool GetPrev(T& out) override;
  T* GetLastPtr() override;
  T* GetPrevPtr() override;
  bool InsertNode(NODE* position, bool atTail, const T& value) override;
  void ReservedOperation(std::uintptr_t, std::uintptr_t, std::uintptr_t, std::uintptr_t) override {}
  void RemoveNode(NODE* node) override;
  bool ReservedPredicate(const T&, const T&) const override { return false; }
  NODE* FindNode(const T& value, int* index) const override;
  NODE* GetNodeAt(int index) const override;

 private:
  /// A node holding a copy of value, unlinked; null when the heap is exhausted.
  NODE* makeNode(const T& value);
  /// Destroys an unlinked node and returns its memory to the heap. Every node is a NODE the
  /// list made: its destructor and MxObject's operator delete directly, without asking the
  /// virtual table.
  static void destroyNode(NODE* node) noexcept {
    node->NODE::~NODE();
    NODE::operator delete(node);
  }
  /// The node at index, which must be below count.
  NODE* nodeAt(unsigned index) const noexcept;
  void destroyAll() noexcept;

  NODE* first_ = nullptr;   ///< first node, or null
  NODE* last_ = nullptr;    ///< last node, or null
  NODE* cursor_ = nullptr;  ///< the node the cursor stands on, or null
  unsigned count_ = 0;      ///< number of nodes
};

// ---- Implementation ----------------------------------------------------------------------

namespace detail {

template <typename T, typename = void>
struct HasEquality : std::false_type {};
template <typename T>
struct HasEquality<T, std::void_t<decltype(std::declval<const T&>() == std::declval<const T&>())>>
    : std::true_type {};

}  // namespace detail

template <typename T>
MxList<T>::MxList(const MxList& other) : IListBase<T>(other) {
  for (const NODE* node = other.first_; node != nullptr; node = node->next) {
    if (!AddTail(node->data)) break;
  }
}

template <typename T>
MxList<T>& MxList<T>::operator=(const MxList& other) {
  if (this == &other) return *this;
  RemoveAll();
  for (const NODE* node = other.first_; node != nullptr; node = node->next) {
    if (!AddTail(node->data)) break;
  }
  cursor_ = nullptr;
  return *this;
}

template <typename T>
MxList<T>::~MxList() {
  destroyAll();
}

template <typename T>
String MxList<T>::PrintToString() const {
  if constexpr (!detail::kIsPrintable<T>) {
    return MxObject::PrintToString();
  } else {
    std::basic_string<WideChar> text;
    text.reserve(static_cast<std::size_t>(count_) * 21 + String::BufferSize);
    for (const NODE* node = first_; node != nullptr; node = node->next) {
      const String piece = ElementToString(node->data);
      const WideChar* units = piece.toString();
      if (units != nullptr) text.append(units, static_cast<std::size_t>(piece.GetLength()));
      text.push_back(WideChar(' '));
    }
    String result;
    const std::size_t room = text.size() > String::BufferSize ? text.size() : String::BufferSize;
    WideChar* buffer = result.AllocBuffer(static_cast<unsigned>(room));
    text.copy(buffer, text.size());
    return result;
  }
}

template <typename T>
void MxList<T>::RemoveAll() {
  destroyAll();
}

template <typename T>
void MxList<T>::CopyElement(T& target, const T& source) const {
  target = source;
}

template <typename T>
bool MxList<T>::IsEqual(const T& a, const T& b) const {
  if constexpr (detail::HasEquality<T>::value) {
    return static_cast<bool>(a == b);
  } else {
    (void)a;
    (void)b;
    return false;
  }
}

template <typename T>
bool MxList<T>::InsertAt(unsigned index, const T& value) {
  if (index > count_) return false;
  if (index == count_) return InsertNode(nullptr, true, value);
  return InsertNode(nodeAt(index), true, value);
}

template <typename T>
bool MxList<T>::Remove(const T& value) {
  NODE* node = FindNode(value, nullptr);
  if (node == nullptr) return false;
  RemoveNode(node);
  return true;
}

template <typename T>
bool MxList<T>::RemoveAt(unsigned index) {
  if (index >= count_) return false;
  RemoveNode(nodeAt(index));
  return true;
}

template <typename T>
bool MxList<T>::RemoveCurrent(bool forward) {
  NODE* node = cursor_;
  if (node == nullptr) return false;
  cursor_ = forward ? node->next : node->prev;
  RemoveNode(node);
  return true;
}

template <typename T>
bool MxList<T>::GetAt(int index, T& out, bool remove) {
  NODE* node = GetNodeAt(index);
  if (node == nullptr) return false;
  CopyElement(out, node->data);
  if (remove) RemoveNode(node);
  return true;
}

template <typename T>
int MxList<T>::IndexOf(T& value, bool remove) {
  int index = -1;
  NODE* node = FindNode(value, &index);
  if (node == nullptr) return -1;
  CopyElement(value, node->data);
  if (remove) RemoveNode(node);
  return index;
}

template <typename T>
T* MxList<T>::FindPtr(const T& value) {
  NODE* node = FindNode(value, nullptr);
  return node != nullptr ? &node->data : nullptr;
}

template <typename T>
T* MxList<T>::GetAtPtr(int index) {
  NODE* node = GetNodeAt(index);
  return node != nullptr ? &node->data : nullptr;
}

template <typename T>
void MxList<T>::Update(const T& value, int index) {
  NODE* node = index >= 0 ? GetNodeAt(index) : FindNode(value, nullptr);
  if (node != nullptr) CopyElement(node->data, value);
}

template <typename T>
bool MxList<T>::GetHead(T& out, bool remove) {
  if (first_ == nullptr) return false;
  CopyElement(out, first_->data);
  if (remove) RemoveNode(first_);
  return true;
}

template <typename T>
bool MxList<T>::GetTail(T& out, bool remove) {
  if (last_ == nullptr) return false;
  CopyElement(out, last_->data);
  if (remove) RemoveNode(last_);
  return true;
}

template <typename T>
bool MxList<T>::GetFirst(T& out) {
  cursor_ = first_;
  if (cursor_ == nullptr) return false;
  CopyElement(out, cursor_->data);
  return true;
}

template <typename T>
bool MxList<T>::GetNext(T& out) {
  if (cursor_ == nullptr) return false;
  cursor_ = cursor_->next;
  if (cursor_ == nullptr) return false;
  CopyElement(out, cursor_->data);
  return true;
}

template <typename T>
T* MxList<T>::GetFirstPtr() {
  cursor_ = first_;
  return cursor_ != nullptr ? &cursor_->data : nullptr;
}

template <typename T>
T* MxList<T>::GetNextPtr() {
  if (cursor_ != nullptr) cursor_ = cursor_->next;
  return cursor_ != nullptr ? &cursor_->data : nullptr;
}

template <typename T>
bool MxList<T>::GetLast(T& out) {
  cursor_ = last_;
  if (cursor_ == nullptr) return false;
  CopyElement(out, cursor_->data);
  return true;
}

template <typename T>
bool MxList<T>::GetPrev(T& out) {
  if (cursor_ == nullptr) return false;
  cursor_ = cursor_->prev;
  if (cursor_ == nullptr) return false;
  CopyElement(out, cursor_->data);
  return true;
}

template <typename T>
T* MxList<T>::GetLastPtr() {
  cursor_ = last_;
  return cursor_ != nullptr ? &cursor_->data : nullptr;
}

template <typename T>
T* MxList<T>::GetPrevPtr() {
  if (cursor_ != nullptr) cursor_ = cursor_->prev;
  return cursor_ != nullptr ? &cursor_->data : nullptr;
}

template <typename T>
bool MxList<T>::InsertNode(NODE* position, bool atTail, const T& value) {
  NODE* node = makeNode(value);
  if (node == nullptr) return false;
  if (position != nullptr) {
    node->next = position;
    node->prev = position->prev;
    if (position->prev != nullptr) {
      position->prev->next = node;
    } else {
      first_ = node;
    }
    position->prev = node;
  } else if (first_ == nullptr) {
    first_ = node;
    last_ = node;
  } else if (atTail) {
    node->prev = last_;
    last_->next = node;
    last_ = node;
  } else {
    node->next = first_;
    first_->prev = node;
    first_ = node;
  }
  ++count_;
  return true;
}

template <typename T>
void MxList<T>::RemoveNode(NODE* node) {
  if (node == nullptr) return;
  if (node->prev != nullptr && node->next != nullptr) {
    node->prev->next = node->next;
    node->next->prev = node->prev;
  } else if (node->next != nullptr) {
    node->next->prev = nullptr;
    first_ = node->next;
  } else if (node->prev != nullptr) {
    node->prev->next = nullptr;
    last_ = node->prev;
  } else {
    first_ = nullptr;
    last_ = nullptr;
  }
  if (cursor_ == node) cursor_ = nullptr;
  destroyNode(node);
  if (count_ != 0) --count_;
  if (first_ == nullptr) count_ = 0;
}

template <typename T>
typename MxList<T>::NODE* MxList<T>::FindNode(const T& value, int* index) const {
  if (count_ == 0) return nullptr;
  int position = 0;
  for (NODE* node = first_; node != nullptr; node = node->next, ++position) {
    if (IsEqual(value, node->data)) {
      if (index != nullptr) *index = position;
      return node;
    }
  }
  if (index != nullptr) *index = -1;
  return nullptr;
}

template <typename T>
typename MxList<T>::NODE* MxList<T>::GetNodeAt(int index) const {
  if (count_ == 0 || index < 0 || static_cast<unsigned>(index) >= count_) return nullptr;
  return nodeAt(static_cast<unsigned>(index));
}

template <typename T>
typename MxList<T>::NODE* MxList<T>::makeNode(const T& value) {
  // MxObject's operator new: null, not an exception, when the heap is exhausted.
  NODE* node = new NODE;
  if (node == nullptr) return nullptr;
  try {
    CopyElement(node->data, value);
  } catch (...) {
    destroyNode(node);
    throw;
  }
  return node;
}

template <typename T>
typename MxList<T>::NODE* MxList<T>::nodeAt(unsigned index) const noexcept {
  // Same node as a walk from the first; starting from the nearer end halves the steps.
  NODE* node;
  if (index <= count_ / 2) {
    node = first_;
    for (unsigned i = 0; i < index; ++i) node = node->next;
  } else {
    node = last_;
    for (unsigned i = count_ - 1; i > index; --i) node = node->prev;
  }
  return node;
}

template <typename T>
void MxList<T>::destroyAll() noexcept {
  NODE* node = first_;
  while (node != nullptr) {
    NODE* next = node->next;
    destroyNode(node);
    node = next;
  }
  first_ = nullptr;
  last_ = nullptr;
  cursor_ = nullptr;
  count_ = 0;
}

}  // namespace mlib

#endif  // MLIB_LIST_H
