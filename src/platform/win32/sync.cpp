// The recursive lock for Windows: a critical section. Its owning-thread field tells whether
// the calling thread holds it, so a release by any other thread can be refused.
#include "platform/sync.h"

#include <new>

#include "platform/win32/win32.h"

namespace mlib::platform {
namespace {

static_assert(sizeof(CRITICAL_SECTION) <= kRecursiveLockBytes, "lock storage too small");
static_assert(alignof(CRITICAL_SECTION) <= kRecursiveLockAlign, "lock storage misaligned");

CRITICAL_SECTION* asSection(void* storage) noexcept {
  return std::launder(static_cast<CRITICAL_SECTION*>(storage));
}

bool heldByCallingThread(CRITICAL_SECTION* section) noexcept {
  // OwningThread holds the owner's thread id (not a handle) while the section is held.
  const auto owner =
      reinterpret_cast<ULONG_PTR>(*static_cast<HANDLE volatile*>(&section->OwningThread));
  return owner == static_cast<ULONG_PTR>(::GetCurrentThreadId()) && section->RecursionCount > 0;
}

}  // namespace

void recursiveLockInit(void* storage) noexcept {
  if (storage == nullptr) return;
  auto* section = new (storage) CRITICAL_SECTION;
  ::InitializeCriticalSection(section);
}

void recursiveLockDestroy(void* storage) noexcept {
  if (storage == nullptr) return;
  ::DeleteCriticalSection(asSection(storage));
}

void recursiveLockEnter(void* storage) noexcept { ::EnterCriticalSection(asSection(storage)); }

bool recursiveLockTryEnter(void* storage) noexcept {
  return ::TryEnterCriticalSection(asSection(storage)) != FALSE;
}

bool recursiveLockLeave(void* storage) noexcept {
  CRITICAL_SECTION* section = asSection(storage);
  if (!heldByCallingThread(section)) return false;
  ::LeaveCriticalSection(section);
  return true;
}

}  // namespace mlib::platform
