// The process-wide error-code registry behind MxException's info operations, and the
// system's error texts.
//
// The registry is made on first use, inside static storage, and is never destroyed: a host
// thread or a static destructor of the host may still print an exception while the library
// is being unloaded, and a registry torn down under it would crash it. What it holds then is
// reclaimed with the process (on an unload before the end of the process, the few entries
// stay allocated; the library keeps no other state).
#include <mlib/exceptions.h>
#include <mlib/syncMap.h>

#include <new>

#include "platform/platform.h"

namespace mlib {

namespace {

using Registry = SyncMap<int, String>;

struct BuiltInEntry {
  int code;
  const char* message;
};

// Inserted in this order whenever the registry is found empty.
constexpr BuiltInEntry kBuiltInEntries[] = {
    {0, "no error"},
    {-1, "unknown exception"},
    {-2, "the current pointer is null"},
    {-3, "the current pointer is invalid"},
    {-4, "the current index is out of range of an array"},
    {-5, "can not found the specific key"},
    {-6, "the value is too less"},
    {-7, "the specific port has been used"},
    {-8, "the called method has not been found"},
};

constexpr char kUnknownException[] = "unknown exception";

// Static storage for the registry, constructed once and never destructed (its destructor is
// trivial, so nothing is registered to run at exit or unload).
struct RegistryHolder {
  RegistryHolder() : map(::new (static_cast<void*>(storage)) Registry()) {}
  alignas(Registry) unsigned char storage[sizeof(Registry)];
  Registry* map;
};

}  // namespace

SyncMap<int, String>& MxException::GetExceptionMap() {
  // Made by exactly one thread, even when many arrive at once (a function-local static).
  static RegistryHolder holder;
  return *holder.map;
}

void MxException::init() const {
  Registry& registry = GetExceptionMap();
  // The lock is held around the test and the additions, so two threads that find the table
  // empty at the same moment never both add the entries.
  const detail::SyncGuard guard(registry);
  if (!registry.IsEmpty()) return;
  for (const BuiltInEntry& entry : kBuiltInEntries) {
    registry.Add(entry.code, String(entry.message));
  }
}

bool MxException::AddExceptionInfo(int code, const String& text) {
  init();
  Registry& registry = GetExceptionMap();
  const detail::SyncGuard guard(registry);
  if (registry.ContainsKey(code)) return true;
  registry.Add(code, text);
  return false;
}

void MxException::RemoveExceptionInfo(int code) {
  init();
  GetExceptionMap().Remove(code);
}

String MxException::GetExceptionInfo(int code) const {
  init();
  int key = code;
  String message;
  if (GetExceptionMap().Lookup(key, message, false)) return message;
  return FormatErrorCodeToMessage(code);
}

String MxException::GetExceptionInfo() const {
  init();
  int key = code_;
  String message;
  if (GetExceptionMap().Lookup(key, message, false)) return message;
  return String(kUnknownException);
}

String MxException::FormatErrorCodeToMessage(int code) {
  String message;
  WideChar* units = message.AllocBuffer(String::BufferSize);
  // At most 511 units, as the copy into a 512-unit room leaves them.
  platform::systemErrorText(code, units, String::BufferSize);
  return message;
}

int MxException::GetLastError() { return platform::lastError(); }

}  // namespace mlib
