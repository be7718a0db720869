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

#if defined(__SSE2__)
namespace {

std::uintptr_t addressOf(const WideChar* p) noexcept {
  return reinterpret_cast<std::uintptr_t>(p);
}

// Bit 2i set when unit i of the block is zero.
int zeroMask(__m128i block) noexcept {
  return _mm_movemask_epi8(_mm_cmpeq_epi16(block, _mm_setzero_si128()));
}

MLIB_STRING_NO_ASAN __m128i loadAligned(const WideChar* p) noexcept {
  return _mm_load_si128(reinterpret_cast<const __m128i*>(p));
}

int firstSetUnit(int mask) noexcept { return __builtin_ctz(static_cast<unsigned>(mask)) >> 1; }

// Index of the first zero unit in the 32 units (one 64-byte chunk) at p, or 32.
MLIB_STRING_NO_ASAN std::size_t firstZeroInChunk(const WideChar* p) noexcept {
  for (std::size_t i = 0; i < 32; i += 8) {
    const int mask = zeroMask(loadAligned(p + i));
    if (mask != 0) return i + static_cast<std::size_t>(firstSetUnit(mask));
  }
  return 32;
}

// True when the 64-byte chunk at p holds a zero unit.
MLIB_STRING_NO_ASAN bool chunkHasZero(const WideChar* p) noexcept {
  const __m128i zero = _mm_setzero_si128();
  const __m128i a = _mm_cmpeq_epi16(loadAligned(p), zero);
  const __m128i b = _mm_cmpeq_epi16(loadAligned(p + 8), zero);
  const __m128i c = _mm_cmpeq_epi16(loadAligned(p + 16), zero);
  const __m128i d = _mm_cmpeq_epi16(loadAligned(p + 24), zero);
  return _mm_movemask_epi8(_mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d))) != 0;
}

}  // namespace
#endif

// Aligned loads never cross a page boundary, so reading the whole aligned block or 64-byte
// chunk that holds the terminator (or the bound) is safe even where the text ends the
// allocation. 64 bytes per test make 1 KiB to 1 MiB texts several times faster to measure
// than a unit-by-unit loop (bench/stringBench.cpp, construction and copy rows).
MLIB_STRING_NO_ASAN std::size_t wideLengthBounded(const WideChar* text,
                                                  std::size_t maxUnits) noexcept {
  if (text == nullptr) return 0;
  const WideChar* p = text;
  const auto done = [&](std::size_t n) { return n < maxUnits ? n : maxUnits; };
#if defined(__SSE2__)
  // A bound that runs past the end of the address space means no bound.
  const std::uintptr_t unitsLeft = (UINTPTR_MAX - addressOf(text)) / sizeof(WideChar);
  const std::size_t limit = maxUnits < unitsLeft ? maxUnits : unitsLeft;
  std::size_t n = 0;
  for (; (addressOf(p) & 15u) != 0; ++p, ++n) {
    if (n == limit || *p == 0) return done(n);
  }
  for (; (addressOf(p) & 63u) != 0; p += 8, n += 8) {
    if (n >= limit) return done(n);
    const int mask = zeroMask(loadAligned(p));
    if (mask != 0) return done(n + static_cast<std::size_t>(firstSetUnit(mask)));
  }
  for (;; p += 32, n += 32) {
    if (n >= limit) return done(n);
    if (chunkHasZero(p)) return done(n + firstZeroInChunk(p));
  }
#else
  std::size_t n = 0;
  while (n < maxUnits && p[n] != 0) ++n;
  return done(n);
#endif
}

std::size_t wideLength(const WideChar* text) noexcept {
  return wideLengthBounded(text, static_cast<std::size_t>(-1));
}

// One pass instead of a measuring pass and a copying pass: at 1 KiB and 1 MiB this brings
// the copy constructor from about 3x to within 1.3x of std::u16string's copy, which knows
// its length. Whole chunks are stored only when they hold no terminator and fit below
// maxUnits; the last part goes unit by unit.
MLIB_STRING_NO_ASAN std::size_t copyWideText(WideChar* dst, const WideChar* src,
                                             std::size_t maxUnits) noexcept {
  std::size_t n = 0;
#if defined(__SSE2__)
  for (; (addressOf(src + n) & 15u) != 0; ++n) {
    if (n == maxUnits) return n;
    dst[n] = src[n];
    if (src[n] == 0) return n;
  }
  for (; (addressOf(src + n) & 63u) != 0 && maxUnits - n >= 8; n += 8) {
    const __m128i block = loadAligned(src + n);
    if (zeroMask(block) != 0) break;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + n), block);
  }
  if ((addressOf(src + n) & 63u) == 0) {
    for (; maxUnits - n >= 32 && !chunkHasZero(src + n); n += 32) {
      auto* out = reinterpret_cast<__m128i*>(dst + n);
      _mm_storeu_si128(out, loadAligned(src + n));
      _mm_storeu_si128(out + 1, loadAligned(src + n + 8));
      _mm_storeu_si128(out + 2, loadAligned(src + n + 16));
      _mm_storeu_si128(out + 3, loadAligned(src + n + 24));
    }
  }
#endif
  for (; n < maxUnits; ++n) {
    dst[n] = src[n];
    if (src[n] == 0) return n;
  }
  return maxUnits;
}

WideChar* fitWide(WideChar* buffer, std::size_t units) {
  // Up to this many spare units stay in the block rather than cost a re-allocation.
  constexpr std::size_t kSlackUnits = 32;
  const std::size_t blockUnits = headerOf(buffer)->capacity;
  if (blockUnits - units > kSlackUnits) {
    void* block = std::realloc(headerOf(buffer), blockBytes(units));
    if (block != nullptr) buffer = unitsOf(static_cast<BlockHeader*>(block));
  }
  headerOf(buffer)->capacity = static_cast<unsigned>(units);
  return buffer;
}

}  // namespace mlib::detail
