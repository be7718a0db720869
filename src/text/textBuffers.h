// Small buffer helpers shared by the free text functions of <mlib/text.h>: bounded lengths,
// zero fills, the placing of ASCII text into a wide destination, and a scratch buffer that
// keeps short texts off the heap.
#ifndef MLIB_SRC_TEXT_TEXTBUFFERS_H
#define MLIB_SRC_TEXT_TEXTBUFFERS_H

#include <mlib/config.h>

#include <cstddef>
#include <cstring>
#include <new>

#include "text/wideScan.h"

namespace mlib::detail {

// Length of zero-terminated text in elements, terminator excluded. src must not be null.
template <typename Char>
[[nodiscard]] std::size_t textLength(const Char* src) noexcept {
  const Char* end = src;
  while (*end != 0) ++end;
  return static_cast<std::size_t>(end - src);
}

template <>
[[nodiscard]] inline std::size_t textLength<char>(const char* src) noexcept {
  return std::strlen(src);
}

template <>
[[nodiscard]] inline std::size_t textLength<WideChar>(const WideChar* src) noexcept {
  return wideLength(src);
}

// Length of src up to its terminator or maxCount elements, whichever comes first: never
// reads past src[maxCount - 1].
template <typename Char>
[[nodiscard]] std::size_t boundedLength(const Char* src, std::size_t maxCount) noexcept {
  std::size_t count = 0;
  while (count < maxCount && src[count] != 0) ++count;
  return count;
}

// Sets elements [from, to) of dst to zero.
template <typename Char>
void zeroRange(Char* dst, std::size_t from, std::size_t to) noexcept {
  if (from < to) std::memset(dst + from, 0, (to - from) * sizeof(Char));
}

// The bounded copy behind StrCpyT, StrCpyW, StrCpyA and their aliases: dst[0, capacity)
// ends up holding min(length of src, capacity - 1) elements of src followed by zeros.
// capacity must be at least 1; neither pointer may be null.
template <typename Char>
Char* copyAndZeroFill(Char* dst, const Char* src, int capacity) noexcept {
  const std::size_t room = static_cast<std::size_t>(capacity);
  const std::size_t count = boundedLength(src, room - 1);
  std::memmove(dst, src, count * sizeof(Char));
  zeroRange(dst, count, room);
  return dst;
}

// Places ASCII text of `length` bytes into a wide destination as ANSIToWide would: null for
// a null destination or a capacity below 1; otherwise dst[0, capacity) holds
// min(length, capacity - 1) characters followed by zeros. Every ANSI code page the library
// supports maps ASCII to itself, so no conversion is needed.
WideChar* placeAscii(WideChar* dst, const char* text, std::size_t length, int capacity) noexcept;

// A scratch array of `count` elements that lives on the stack when short and on the heap
// otherwise. data() is null when the heap allocation failed.
template <typename T, std::size_t kInlineCount = 256>
class ScratchBuffer {
 public:
  explicit ScratchBuffer(std::size_t count) noexcept
      : data_(count <= kInlineCount ? inline_ : new (std::nothrow) T[count]) {}
  ~ScratchBuffer() {
    if (data_ != inline_) delete[] data_;
  }
  ScratchBuffer(const ScratchBuffer&) = delete;
  ScratchBuffer& operator=(const ScratchBuffer&) = delete;

  [[nodiscard]] T* data() const noexcept { return data_; }

 private:
  T inline_[kInlineCount];  // used when the count fits
  T* data_;                 // inline_, a heap array, or null
};

// Clamps a size to the int range the platform conversions take.
[[nodiscard]] inline int clampToInt(std::size_t count) noexcept {
  constexpr std::size_t kMax = 0x7FFFFFFF;
  return static_cast<int>(count < kMax ? count : kMax);
}

}  // namespace mlib::detail

#endif  // MLIB_SRC_TEXT_TEXTBUFFERS_H
