/// \file
/// The object root of every polymorphic mlib class (MxObject), the run-time class name record
/// (mtype) and the base that closes mtype to derivation (MakeFinal). Text comes back as
/// mlib::String (<mlib/string.h>); the exceptions built on MxObject are in <mlib/exceptions.h>.
#ifndef MLIB_OBJECT_H
#define MLIB_OBJECT_H

#include <mlib/config.h>

#include <cstddef>

namespace mlib {

class String;
class mtype;

namespace detail {
struct MtypeAccess;
}  // namespace detail

/// Root of every polymorphic class of the library. It holds no data and fixes four things for
/// all of them: allocation through the class's own operators over malloc/free, the same five
/// virtual operations first in every vtable (destructor, Clone, Equals, GetThisObjectBuffer,
/// PrintToString, in that order), identity equality, and the run-time class name (GetType).
class MLIB_API MxObject {
 protected:
  /// Releases nothing. Slot 0 of every vtable of the library.
  virtual ~MxObject();

 public:
  /// The root has no state to copy: *this is left unchanged, whatever `other` is.
  virtual void Clone(const MxObject& other);

  /// True exactly when `other` is this very object (address identity).
  virtual bool Equals(const MxObject& other) const;

  /// The object's own address.
  virtual const void* GetThisObjectBuffer() const;

  /// A new String holding "String can not be printed, as the class couldn't interpret this
  /// type of instance yet." Classes with a text form of their own override it.
  virtual String PrintToString() const;

  /// Copies nothing; returns *this. The object keeps its own class.
  MxObject& operator=(const MxObject& other);

  /// Identity, the same answer as Equals.
  bool operator==(const MxObject& other) const;
  bool operator!=(const MxObject& other) const;

  /// The run-time class of the most derived object *this belongs to, named by its bare
  /// qualified name ("mlib::MxException") on every platform. Allocation failures while
  /// naming propagate std::bad_alloc.
  mtype GetType() const;

  /// A block of `size` bytes from malloc; null when the heap is exhausted (nothing thrown, so
  /// a new-expression yields null and constructs nothing).
  static void* operator new(std::size_t size) noexcept;
  /// Returns `block` to free; null does nothing.
  static void operator delete(void* block) noexcept;
  /// The array forms behave exactly as the scalar forms.
  static void* operator new[](std::size_t size) noexcept;
  static void operator delete[](void* block) noexcept;
  /// Placement forms, so a derived object can still be built in storage the caller owns
  /// (declaring the class operators above hides the global placement form).
  static void* operator new(std::size_t size, void* place) noexcept;
  static void operator delete(void* block, void* place) noexcept;

 protected:
  /// Nothing to initialise.
  MxObject() noexcept = default;
  /// Copies nothing; the new object is of its own class.
  MxObject(const MxObject& other) noexcept;
};

/// A base whose only use is to close T to derivation: its default constructor and destructor
/// are private and only T, its friend, reaches them. Copy construction and assignment are
/// public; assignment copies nothing, like MxObject's.
template <typename T>
class MLIB_API MakeFinal : public MxObject {
 public:
  /// Copy construction and assignment, as said above.
  MakeFinal(const MakeFinal& other) noexcept : MxObject(other) {}
  MakeFinal& operator=(const MakeFinal&) noexcept { return *this; }

 private:
  friend T;
  MakeFinal() noexcept = default;
  ~MakeFinal() override = default;
};

/// The one instantiation the library exports; its members are defined once, in the library.
extern template class MakeFinal<mtype>;

/// A run-time class name kept three ways, as narrow texts the record owns: the full name, the
/// class part and the namespace part. Made by MxObject::GetType; a plain value otherwise.
///
/// The name is split at its last space and the first "::" after it: the class name is
/// everything after that "::", the namespace the one component before it ("a::b::Leaf" gives
/// namespace "a" and class "b::Leaf"). A name without "::" is both namespace and class name.
class MLIB_API mtype : private MakeFinal<mtype> {
 public:
  /// A record naming the same class, in storage of its own. Copying an unnamed record gives
  /// an unnamed record. Allocation failures propagate std::bad_alloc.
  mtype(const mtype& other);
  /// Releases the three texts.
  ~mtype() override;
  /// Takes `other`'s names (self-assignment changes nothing). Allocation failures propagate
  /// std::bad_alloc; the record then stays destructible.
  mtype& operator=(const mtype& other);

  /// True when both records are named and their full names are equal byte for byte; false
  /// when either is unnamed (an unnamed record is not even equal to itself).
  bool operator==(const mtype& other) const noexcept;
  bool operator!=(const mtype& other) const noexcept;

  /// The stored texts (not copies), valid until this record is assigned or destroyed; never
  /// release them. Null for an unnamed record.
  char* GetFullName() const noexcept;
  char* GetClassNameW() const noexcept;
  char* GetNamespaceName() const noexcept;

  /// Records live on the runtime heap like every MxObject.
  using MxObject::operator new;
  using MxObject::operator delete;
  using MxObject::operator new[];
  using MxObject::operator delete[];

 private:
  friend class MxObject;
  friend struct detail::MtypeAccess;

  /// Unnamed: all three texts null.
  mtype() noexcept;
  /// Replaces all three texts by the split of `name`; null changes nothing.
  void setName(const char* name);
  void releaseNames() noexcept;

  char* fullName_ = nullptr;       ///< exactly the text given to setName
  char* className_ = nullptr;      ///< the class part
  char* namespaceName_ = nullptr;  ///< the namespace part
};

}  // namespace mlib

#endif  // MLIB_OBJECT_H
