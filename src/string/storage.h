// The heap blocks behind String's wide buffer. A block is a small header holding the
// capacity that was asked for, followed by the UTF-16 units, so a capacity reads back exactly
// as requested on every heap. The scans every String operation shares are text/wideScan.h.
#ifndef MLIB_SRC_STRING_STORAGE_H
#define MLIB_SRC_STRING_STORAGE_H

#include <mlib/config.h>
#include <mlib/string.h>

#include <cstddef>
#include <cstring>
#include <vector>

#include "text/wideScan.h"

namespace mlib::detail {

// The largest capacity (UTF-16 units) a wide buffer may have; asking for more throws
// std::bad_alloc, as array new does when its byte size overflows.
constexpr std::size_t kMaxWideCapacity = 0x7FFFFFFFu;

// A wide buffer of `units` units (at least 1), every unit zero. Throws std::bad_alloc on
// exhaustion or above kMaxWideCapacity.
[[nodiscard]] WideChar* allocWideZeroed(std::size_t units);
// The same with the units left unset, for callers that fill all of them at once.
[[nodiscard]] WideChar* allocWideRaw(std::size_t units);
// Releases a buffer from the functions here; null does nothing.
void freeWide(WideChar* buffer) noexcept;
// What sits in front of every wide buffer. Sixteen bytes keep the units as aligned as the
// heap's blocks, so the scans start on whole 16-byte blocks at once.
struct WideBlockHeader {
  unsigned capacity;           // UTF-16 units asked for, terminator slot included
  unsigned char reserved[12];  // keeps the units 16 bytes behind the block's start
};
static_assert(sizeof(WideBlockHeader) == 16);

inline const WideBlockHeader* wideHeaderOf(const WideChar* buffer) noexcept {
  return reinterpret_cast<const WideBlockHeader*>(reinterpret_cast<const char*>(buffer) -
                                                  sizeof(WideBlockHeader));
}

// The capacity the buffer was allocated with; 0 for null.
[[nodiscard]] inline unsigned wideCapacity(const WideChar* buffer) noexcept {
  return buffer == nullptr ? 0 : wideHeaderOf(buffer)->capacity;
}

// Units of a String buffer's text: up to its terminator, but never past its capacity, which a
// buffer whose last slot was overwritten through operator[] fills without one. 0 for null.
// Every length of a String's own text is this one.
[[nodiscard]] inline std::size_t textLength(const WideChar* buffer) noexcept {
  return wideLengthBounded(buffer, wideCapacity(buffer));
}

// A String buffer's text, zero-terminated, for code that reads up to a terminator (the free
// text functions, the platform's conversions, a pattern's length). It is the buffer itself
// whenever the last slot is zero, which leaves a terminator within the capacity; only a
// buffer whose last slot holds a unit is copied, up to its capacity, with a terminator added.
class TerminatedText {
 public:
  explicit TerminatedText(const WideChar* buffer) : text_(buffer) {
    const std::size_t capacity = wideCapacity(buffer);
    if (capacity == 0 || buffer[capacity - 1] == 0) return;
    const std::size_t units = textLength(buffer);
    copy_.assign(buffer, buffer + units);
    copy_.push_back(0);
    text_ = copy_.data();
  }
  TerminatedText(const TerminatedText&) = delete;
  TerminatedText& operator=(const TerminatedText&) = delete;

  // The terminated text; null for a null buffer.
  [[nodiscard]] const WideChar* get() const noexcept { return text_; }

 private:
  const WideChar* text_;
  std::vector<WideChar> copy_;  // the copy of a buffer without a terminator
};

// Grows (or shrinks) the block in place where the heap can, keeping the first
// min(old, new) units; units past the old capacity come back zero. Returns the buffer's new
// address (the old one is gone). Throws std::bad_alloc, leaving the old block untouched.
[[nodiscard]] WideChar* regrowWide(WideChar* buffer, std::size_t units);

// Makes `units` (at most the current capacity, at least 1) the buffer's capacity, giving
// the rest of the block back to the heap when it is large. Returns the buffer's address.
[[nodiscard]] WideChar* fitWide(WideChar* buffer, std::size_t units);
// Zero-fills `units` units at dst (any pointer when units is 0).
inline void zeroWide(WideChar* dst, std::size_t units) noexcept {
  // The usual case clears a unit or two behind a text: no call for that.
  if (units <= 4) {
    for (std::size_t i = 0; i < units; ++i) dst[i] = 0;
    return;
  }
  std::memset(dst, 0, units * sizeof(WideChar));
}

// Internal access to a String's representation, for the library's own code and its tests.
struct StringAccess {
  // Capacity in UTF-16 units (getSize); 0 for a null string.
  static unsigned capacity(const String& s) noexcept { return s.getSize(); }
  // The ANSI buffer as it stands (null when none), without making one.
  static const char* ansiBuffer(const String& s) noexcept { return s.ansi_; }
  // The representation itself, for the library's own code that replaces buffers.
  static WideChar*& wideBuffer(String& s) noexcept { return s.buffer_; }
  static char*& ansiBufferRef(String& s) noexcept { return s.ansi_; }
  // The failure table of the text search.
  static void nextArray(const WideChar* pattern, int* next) { String::getNextArray(pattern, next); }
};

}  // namespace mlib::detail

#endif  // MLIB_SRC_STRING_STORAGE_H
