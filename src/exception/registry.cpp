// The process-wide error-code registry behind MxException's info operations, and the
// system's error texts.
//
// The registry is made on first use and destroyed when the library is unloaded (or, for a
// library that stays loaded, when the process ends), so an unload leaves nothing allocated.
#include <mlib/exceptions.h>
#include <mlib/syncMap.h>

#include <atomic>

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

// Cleared, for good, when the registry is destroyed. Constant-initialised and trivially
// destructible, so it can be read at any moment of the process's end.
std::atomic<bool> registryAlive{false};

// The registry itself. A function-local static of this type is made by exactly one thread,
// however many arrive at once, and is destroyed with the library's other statics: by dlclose
// or FreeLibrary, or at the end of the process.
struct RegistryHolder {
  RegistryHolder() { registryAlive = true; }
  ~RegistryHolder() { registryAlive = false; }
  Registry map;
};

}  // namespace

SyncMap<int, String>& MxException::GetExceptionMap() {
  static RegistryHolder holder;
  if (registryAlive) return holder.map;
  // Reached after the registry was destroyed: only while the process ends, from a host's
  // static destructor that runs after the library's. It gets a registry that lives until the
  // process is gone (made once, whichever thread comes first) rather than a destroyed one.
  static Registry* const lateRegistry = new Registry();
  return *lateRegistry;
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
