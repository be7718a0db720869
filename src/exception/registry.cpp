// The process-wide error-code registry behind MxException's info operations, and the
// system's error texts.
//
// The registry is made on first use and destroyed when the library is unloaded (or, for a
// library that stays loaded, when the process ends, after the host's static objects), so an
// unload leaves nothing allocated and a host's static destructor still finds its codes.
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

// Set, for good, when the registry is destroyed. Constant-initialised and trivially
// destructible, so it can be read at any moment of the process's end.
std::atomic<bool> registryGone{false};

// The registry, once made; destroyed by the platform at the library's end.
Registry* madeRegistry = nullptr;

void destroyRegistry() noexcept {
  registryGone = true;
  delete madeRegistry;
  madeRegistry = nullptr;
}

}  // namespace

SyncMap<int, String>& MxException::GetExceptionMap() {
  // Made by exactly one thread, however many arrive at once. Not a static object: static
  // objects go in the reverse order of their making, so one made at first use would go
  // before a host's static object made earlier, whose destructor may still ask for texts.
  static Registry* const made = [] {
    madeRegistry = new Registry();
    platform::atLibraryEnd(&destroyRegistry);
    return madeRegistry;
  }();
  if (!registryGone) return *made;
  // Reached after the library's end, from code that runs later still while the process
  // ends: it gets a registry that lives until the process is gone (made once, whichever
  // thread comes first) rather than a destroyed one.
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
