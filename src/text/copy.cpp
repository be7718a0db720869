// The copy helpers of <mlib/text.h> (no character conversion) and the buffer re-sizing
// functions, the only ones that allocate for the caller.
#include <mlib/text.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

#include "text/textBuffers.h"

using mlib::WideChar;
using mlib::detail::copyAndZeroFill;

void* Memcpy(void* dst, const void* src, unsigned count, unsigned limit) {
  if (dst != nullptr && src != nullptr) std::memcpy(dst, src, count < limit ? count : limit);
  return dst;
}

WideChar* StrCpyN(WideChar* dst, const WideChar* src, int n, int capacity) {
  if (dst == nullptr || src == nullptr || capacity < 1) return nullptr;
  // A negative count copies nothing: the bounded copy's room n + 1 would otherwise be
  // read as a huge unsigned room.
  const int most = n < capacity ? (n < 0 ? 0 : n) : capacity - 1;
  const std::size_t count = mlib::detail::boundedLength(src, static_cast<std::size_t>(most));
  std::memmove(dst, src, count * sizeof(WideChar));
  dst[count] = 0;
  return dst;
}

WideChar* StrCpyT(WideChar* dst, const WideChar* src, int capacity) {
  if (dst == nullptr || src == nullptr || capacity < 1) return nullptr;
  return copyAndZeroFill(dst, src, capacity);
}

WideChar* StrCpyW(WideChar* dst, const WideChar* src, int capacity) {
  return StrCpyT(dst, src, capacity);
}

char* StrCpyA(char* dst, const char* src, int capacity) {
  if (dst == nullptr || src == nullptr || capacity < 1) return nullptr;
  return copyAndZeroFill(dst, src, capacity);
}

void* a2t(void* dst, const void* src, int byteCount) {
  if (dst == nullptr || src == nullptr) return nullptr;
  if (byteCount > 0) std::memcpy(dst, src, static_cast<std::size_t>(byteCount));
  return dst;
}

void* a2w(void* dst, const void* src, int byteCount) { return a2t(dst, src, byteCount); }
void* t2a(void* dst, const void* src, int byteCount) { return a2t(dst, src, byteCount); }
void* w2a(void* dst, const void* src, int byteCount) { return a2t(dst, src, byteCount); }

WideChar* t2w(WideChar* dst, const WideChar* src, int capacity) {
  return StrCpyW(dst, src, capacity);
}

WideChar* w2t(WideChar* dst, const WideChar* src, int capacity) {
  return StrCpyW(dst, src, capacity);
}

WideChar* StrT2W(WideChar* dst, const WideChar* src, int capacity) {
  return StrCpyT(dst, src, capacity);
}

WideChar* StrW2T(WideChar* dst, const WideChar* src, int capacity) {
  return StrCpyT(dst, src, capacity);
}

namespace {

// The common body of the three re-sizing functions. On an allocation failure the old
// buffer is left as it was, still owned by the caller, and the result is null.
template <typename Char>
Char* resizeBuffer(Char* buffer, unsigned newCapacity) noexcept {
  if (buffer == nullptr || newCapacity == 0) return buffer;
  if (newCapacity > SIZE_MAX / sizeof(Char)) return nullptr;
  Char* const fresh = new (std::nothrow) Char[newCapacity];
  if (fresh == nullptr) return nullptr;
  // The copy takes a signed capacity; a text longer than INT_MAX - 1 elements is beyond
  // any buffer this could be called with, so clamping the room changes nothing.
  const int room = newCapacity > 0x7FFFFFFFu ? 0x7FFFFFFF : static_cast<int>(newCapacity);
  copyAndZeroFill(fresh, buffer, room);
  mlib::detail::zeroRange(fresh, static_cast<std::size_t>(room), newCapacity);
  delete[] buffer;
  return fresh;
}

}  // namespace

char* ResizeBufferA(char* buffer, unsigned newCapacity) {
  return resizeBuffer(buffer, newCapacity);
}

WideChar* ResizeBufferT(WideChar* buffer, unsigned newCapacity) {
  return resizeBuffer(buffer, newCapacity);
}

WideChar* ResizeBufferW(WideChar* buffer, unsigned newCapacity) {
  return resizeBuffer(buffer, newCapacity);
}
