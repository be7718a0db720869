/// \file
/// SyncMap<K,V>: MxMap made safe for several threads. Every operation that reads or changes
/// the contents runs under the map's one recursive lock, released on every way out.
#ifndef MLIB_SYNCMAP_H
#define MLIB_SYNCMAP_H

#include <mlib/config.h>
#include <mlib/lock.h>
#include <mlib/map.h>
#include <mlib/string.h>

namespace mlib {

/// The locked operations: ContainsKey, Add, Remove, RemoveCurrent, LookupPtr, Lookup, SetAt,
/// GetFirst, GetNext, PrintToString, IsEmpty, RemoveAll and GetCount. Each takes the lock,
/// does what MxMap does, and releases it before answering.
///
/// Not locked: CopyPair, KeyEquals, GetFirstPtr, GetNextPtr and the tree operations, which
/// the locked operations call while they hold the lock. Addresses handed out (LookupPtr,
/// GetFirstPtr, GetNextPtr) stay valid only while their entry is not removed, and iteration
/// is one per map: callers that iterate, or keep an address, while other threads may change
/// the map hold the lock themselves (Lock ... Unlock). The lock is recursive, so the map's
/// own operations inside such a bracket take it again without blocking.
///
/// Destruction does not take the lock: no other thread may use the map then.
template <typename K, typename V>
class SyncMap : public MxMap<K, V>, public MxSyncBase {
  using Map = MxMap<K, V>;
  using Guard = detail::SyncGuard;

 public:
  SyncMap() noexcept = default;
  ~SyncMap() override = default;

  /// Heap instances live on the runtime heap (both bases name the same operators).
  using MxObject::operator new;
  using MxObject::operator delete;

  bool ContainsKey(const K& key) const override {
    Guard guard(*this);
    return Map::ContainsKey(key);
  }
  bool Add(const K& key, const V& value) override {
    Guard guard(*this);
    return this->AddEntry(key, value);
  }
  bool Remove(const K& key) override {
    Guard guard(*this);
    return Map::Remove(key);
  }
  bool RemoveCurrent() override {
    Guard guard(*this);
    return Map::RemoveCurrent();
  }
  V* LookupPtr(const K& key) override {
    Guard guard(*this);
    return Map::LookupPtr(key);
  }
  bool Lookup(K& key, V& value, bool remove = false) override {
    Guard guard(*this);
    return Map::Lookup(key, value, remove);
  }
  bool SetAt(const K& key, const V& value) override {
    Guard guard(*this);
    return Map::SetAt(key, value);
  }
  bool GetFirst(K& key, V& value) override {
    Guard guard(*this);
    return Map::GetFirst(key, value);
  }
  bool GetNext(K& key, V& value) override {
    Guard guard(*this);
    return Map::GetNext(key, value);
  }
  String PrintToString() const override {
    Guard guard(*this);
    return Map::PrintToString();
  }
  bool IsEmpty() const override {
    Guard guard(*this);
    return Map::IsEmpty();
  }
  void RemoveAll() override {
    Guard guard(*this);
    this->DestroyTree();
  }
  unsigned GetCount() const override {
    Guard guard(*this);
    return Map::GetCount();
  }
};

}  // namespace mlib

#endif  // MLIB_SYNCMAP_H
