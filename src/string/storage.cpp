// String's heap blocks (capacity header + UTF-16 units) and the terminator scan.
#include "string/storage.h"

#include <cstdint>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// The terminator scan reads whole aligned blocks past the terminator on purpose (see
// wideLength); the address sanitizer would call that an overflow.
#if defined(__GNUC__) || defined(__clang__)
#define MLIB_STRING_NO_ASAN __attribute__((no_sanitize_address))
#else
#define MLIB_STRING_NO_ASAN
#endif

namespace mlib::detail {
namespace {

// Eight bytes keep the units 8-byte aligned behind it, which the scans below like.
struct alignas(8) BlockHeader {
  unsigned capacity;  // UTF-16 units asked for, terminator slot included
  unsigned reserved;
};
static_assert(sizeof(BlockHeader) == 8);

BlockHeader* headerOf(const WideChar* buffer) noexcept {
  return reinterpret_cast<BlockHeader*>(
      const_cast<char*>(reinterpret_cast<const char*>(buffer)) - sizeof(BlockHeader));
}

WideChar* unitsOf(BlockHeader* header) noexcept {
  return reinterpret_cast<WideChar*>(reinterpret_cast<char*>(header) + sizeof(BlockHeader));
}

std::size_t blockBytes(std::size_t units) {
  if (units == 0) units = 1;
  if (units > kMaxWideCapacity) throw std::bad_alloc();
  return sizeof(BlockHeader) + units * sizeof(WideChar);
}

}  // namespace

WideChar* allocWideRaw(std::size_t units) {
  if (units == 0) units = 1;
  void* block = std::malloc(blockBytes(units));
  if (block == nullptr) throw std::bad_alloc();
  auto* header = static_cast<BlockHeader*>(block);
  header->capacity = static_cast<unsigned>(units);
  header->reserved = 0;
  return unitsOf(header);
}

WideChar* allocWideZeroed(std::size_t units) {
  if (units == 0) units = 1;
  void* block = std::calloc(1, blockBytes(units));
  if (block == nullptr) throw std::bad_alloc();
  auto* header = static_cast<BlockHeader*>(block);
  header->capacity = static_cast<unsigned>(units);
  return unitsOf(header);
}

void freeWide(WideChar* buffer) noexcept {
  if (buffer != nullptr) std::free(headerOf(buffer));
}

unsigned wideCapacity(const WideChar* buffer) noexcept {
  return buffer == nullptr ? 0 : headerOf(buffer)->capacity;
}

WideChar* regrowWide(WideChar* buffer, std::size_t units) {
  if (buffer == nullptr) return allocWideZeroed(units);
  if (units == 0) units = 1;
  const std::size_t oldUnits = headerOf(buffer)->capacity;
  void* block = std::realloc(headerOf(buffer), blockBytes(units));
  if (block == nullptr) throw std::bad_alloc();
  auto* header = static_cast<BlockHeader*>(block);
  header->capacity = static_cast<unsigned>(units);
  WideChar* grown = unitsOf(header);
  if (units > oldUnits) zeroWide(grown + oldUnits, units - oldUnits);
  return grown;
}

void zeroWide(WideChar* dst, std::size_t units) noexcept {
  if (units != 0) std::memset(dst, 0, units * sizeof(WideChar));
}

// An aligned 16-byte load never crosses a page boundary, so reading the whole block that
// holds the terminator (or the bound) is safe even where the text ends the allocation.
// Sixteen units per step make 1 MiB texts several times faster to measure than a
// unit-by-unit loop (bench/stringBench.cpp, construction and append rows).
MLIB_STRING_NO_ASAN std::size_t wideLengthBounded(const WideChar* text,
                                                  std::size_t maxUnits) noexcept {
  if (text == nullptr) return 0;
  const WideChar* p = text;
  // A bound that runs past the end of the address space means no bound.
  const std::uintptr_t start = reinterpret_cast<std::uintptr_t>(text);
  const std::uintptr_t unitsLeft = (UINTPTR_MAX - start) / sizeof(WideChar);
  const WideChar* const end = maxUnits <= unitsLeft ? text + maxUnits : nullptr;
  const auto done = [&](const WideChar* at) {
    const auto n = static_cast<std::size_t>(at - text);
    return n < maxUnits ? n : maxUnits;
  };
#if defined(__SSE2__)
  while ((reinterpret_cast<std::uintptr_t>(p) & 15u) != 0) {
    if (p == end || *p == 0) return done(p);
    ++p;
  }
  const __m128i zero = _mm_setzero_si128();
  for (;;) {
    if (end != nullptr && p >= end) return maxUnits;
    const __m128i a = _mm_load_si128(reinterpret_cast<const __m128i*>(p));
    const int maskA = _mm_movemask_epi8(_mm_cmpeq_epi16(a, zero));
    if (maskA != 0) return done(p + (__builtin_ctz(static_cast<unsigned>(maskA)) >> 1));
    if (end != nullptr && p + 8 >= end) return maxUnits;
    // The second block is read only once the first held no terminator.
    const __m128i b = _mm_load_si128(reinterpret_cast<const __m128i*>(p + 8));
    const int maskB = _mm_movemask_epi8(_mm_cmpeq_epi16(b, zero));
    if (maskB != 0) return done(p + 8 + (__builtin_ctz(static_cast<unsigned>(maskB)) >> 1));
    p += 16;
  }
#else
  while (p != end && *p != 0) ++p;
  return done(p);
#endif
}

std::size_t wideLength(const WideChar* text) noexcept {
  return wideLengthBounded(text, static_cast<std::size_t>(-1));
}

}  // namespace mlib::detail
