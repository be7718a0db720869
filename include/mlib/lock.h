/// \file
/// The bases the containers stand on: MxLock, one recursive lock; MxSyncBase, the mix-in that
/// gives a class one MxLock; MxContainerBase, the common root of every container with its
/// three questions (empty? how many? empty it). The containers are in <mlib/containers.h>.
#ifndef MLIB_LOCK_H
#define MLIB_LOCK_H

#include <mlib/config.h>
#include <mlib/object.h>

#include <cstddef>

namespace mlib {

namespace detail {
struct LockAccess;
}  // namespace detail

/// One recursive lock: free, or held by one thread at some depth. The holder may take it
/// again without blocking; it is free again when the holder has released it as many times as
/// it took it. Waiting threads are served in no guaranteed order. Not copyable.
class MLIB_API MxLock : public MxObject {
 public:
  /// A free lock.
  MxLock() noexcept;
  /// No thread may hold the lock when it is destroyed.
  ~MxLock() override;

  MxLock(const MxLock&) = delete;
  MxLock& operator=(const MxLock&) = delete;

  /// Takes the lock, waiting without time-out until it is free or already held by the
  /// calling thread (then one level deeper).
  void Lock() noexcept;
  /// Releases one level of the calling thread's hold. Does nothing when the calling thread
  /// does not hold the lock, whether it is free or held by another thread.
  void Unlock() noexcept;

 private:
  friend struct detail::LockAccess;

  static constexpr std::size_t kStateBytes = 64;
  alignas(8) unsigned char state_[kStateBytes];  ///< the system's lock, opaque here
};

/// Mix-in giving the derived class one MxLock, held by value. The derived class brackets its
/// operations with Lock and Unlock; callers may too, to make several operations act as one.
/// Lock and Unlock are const so that the derived class's read-only operations can lock.
class MLIB_API MxSyncBase {
 public:
  MxSyncBase() noexcept;
  virtual ~MxSyncBase();

  MxSyncBase(const MxSyncBase&) = delete;
  MxSyncBase& operator=(const MxSyncBase&) = delete;

  /// MxLock::Lock and MxLock::Unlock of the embedded lock.
  void Lock() const noexcept;
  void Unlock() const noexcept;

  /// Heap instances live on the runtime heap, through MxObject's operators.
  static void* operator new(std::size_t size) noexcept;
  static void operator delete(void* block) noexcept;

 private:
  mutable MxLock lock_;  ///< taken by every locked operation of the derived class
};

/// Root of every container. After RemoveAll, IsEmpty is true and GetCount is 0.
class MLIB_API MxContainerBase : public MxObject {
 public:
  /// True when the container holds no element.
  virtual bool IsEmpty() const = 0;
  /// Destroys every element and returns the container to its freshly constructed state.
  virtual void RemoveAll() = 0;
  /// Number of elements.
  virtual unsigned GetCount() const = 0;

 protected:
  /// Construction, copy and assignment belong to the containers; none copies anything here.
  MxContainerBase() noexcept = default;
  MxContainerBase(const MxContainerBase& other) noexcept : MxObject(other) {}
  ~MxContainerBase() override;
  MxContainerBase& operator=(const MxContainerBase&) noexcept { return *this; }
};

namespace detail {

/// Holds a MxSyncBase's lock for one scope: taken on construction, released on every way out.
class SyncGuard {
 public:
  explicit SyncGuard(const MxSyncBase& owner) noexcept : owner_(owner) { owner_.Lock(); }
  ~SyncGuard() { owner_.Unlock(); }
  SyncGuard(const SyncGuard&) = delete;
  SyncGuard& operator=(const SyncGuard&) = delete;

 private:
  const MxSyncBase& owner_;
};

}  // namespace detail

}  // namespace mlib

#endif  // MLIB_LOCK_H
