// The terminator scan and the one-pass copy behind the lengths and copies of wide text.
//
// String keeps no length and the free functions take zero-terminated text, so every copy,
// concatenation and conversion first has to find a terminator;
// these loops do it 64 bytes at a time (AVX2 where the processor has it, SSE2 otherwise,
// plain loops elsewhere). Aligned loads never cross a page boundary, so reading the whole
// aligned chunk that holds the terminator is safe even where the text ends its allocation;
// the functions that read that way are kept out of the address and thread sanitizers' view
// (the bytes past the terminator are never used, whoever owns them).
#include "text/wideScan.h"

#include <cstdint>
#include <cstring>

#include "platform/processorFeatures.h"

#if defined(__SSE2__)
#include <immintrin.h>
#define MLIB_WIDE_SCAN_SIMD 1
#endif

#if defined(__GNUC__) || defined(__clang__)
#define MLIB_UNCHECKED_READ __attribute__((no_sanitize("address", "thread")))
#else
#define MLIB_UNCHECKED_READ
#endif

namespace mlib::detail {
namespace {

// One chunk: 32 UTF-16 units, 64 bytes, read from a 64-byte boundary.
constexpr std::size_t kChunkUnits = 32;

#if defined(MLIB_WIDE_SCAN_SIMD)
MLIB_UNCHECKED_READ std::uintptr_t addressOf(const WideChar* p) noexcept {
  return reinterpret_cast<std::uintptr_t>(p);
}

MLIB_UNCHECKED_READ __m128i load16(const WideChar* p) noexcept {
  return _mm_load_si128(reinterpret_cast<const __m128i*>(p));
}

// Bit 2i set when unit i of the 16-byte block at p (16-byte aligned) is zero.
MLIB_UNCHECKED_READ int zeroMask16(const WideChar* p) noexcept {
  return _mm_movemask_epi8(_mm_cmpeq_epi16(load16(p), _mm_setzero_si128()));
}

MLIB_UNCHECKED_READ std::size_t firstSetUnit(int mask) noexcept {
  return static_cast<std::size_t>(__builtin_ctz(static_cast<unsigned>(mask)) >> 1);
}

// Whole chunks from p (64-byte aligned) that hold no zero unit, at most `count`; with a
// destination, each such chunk is copied there too.
MLIB_UNCHECKED_READ std::size_t chunksSse2(WideChar* dst, const WideChar* p,
                                           std::size_t count) noexcept {
  const __m128i zero = _mm_setzero_si128();
  std::size_t k = 0;
  for (; k < count; ++k, p += kChunkUnits) {
    const __m128i a = load16(p);
    const __m128i b = load16(p + 8);
    const __m128i c = load16(p + 16);
    const __m128i d = load16(p + 24);
    const __m128i z =
        _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi16(a, zero), _mm_cmpeq_epi16(b, zero)),
                     _mm_or_si128(_mm_cmpeq_epi16(c, zero), _mm_cmpeq_epi16(d, zero)));
    if (_mm_movemask_epi8(z) != 0) break;
    if (dst != nullptr) {
      auto* out = reinterpret_cast<__m128i*>(dst + k * kChunkUnits);
      _mm_storeu_si128(out, a);
      _mm_storeu_si128(out + 1, b);
      _mm_storeu_si128(out + 2, c);
      _mm_storeu_si128(out + 3, d);
    }
  }
  return k;
}

#if defined(MLIB_AVX2_DISPATCH)
// One chunk at p: false when it holds a zero unit; otherwise true, and copied to dst when
// there is one.
__attribute__((target("avx2"))) MLIB_UNCHECKED_READ bool chunkAvx2(WideChar* dst,
                                                                   const WideChar* p) noexcept {
  const __m256i zero = _mm256_setzero_si256();
  const __m256i a = _mm256_load_si256(reinterpret_cast<const __m256i*>(p));
  const __m256i b = _mm256_load_si256(reinterpret_cast<const __m256i*>(p + 16));
  const __m256i z = _mm256_or_si256(_mm256_cmpeq_epi16(a, zero), _mm256_cmpeq_epi16(b, zero));
  if (_mm256_testz_si256(z, z) == 0) return false;
  if (dst != nullptr) {
    auto* out = reinterpret_cast<__m256i*>(dst);
    _mm256_storeu_si256(out, a);
    _mm256_storeu_si256(out + 1, b);
  }
  return true;
}

// As chunksSse2 with 32-byte registers: half the instructions per chunk, which is what
// brings the 1 KiB copy near memcpy.
__attribute__((target("avx2"))) MLIB_UNCHECKED_READ std::size_t chunksAvx2(
    WideChar* dst, const WideChar* p, std::size_t count) noexcept {
  const __m256i zero = _mm256_setzero_si256();
  std::size_t k = 0;
  // Pairs of chunks are read only from a 128-byte boundary, so a pair never crosses a page.
  if ((addressOf(p) & 127u) != 0) {
    if (count == 0 || !chunkAvx2(dst, p)) return 0;
    k = 1;
  }
  // Two chunks a round while two remain: one test per 128 bytes.
  for (; count - k >= 2; k += 2) {
    const WideChar* at = p + k * kChunkUnits;
    const __m256i a = _mm256_load_si256(reinterpret_cast<const __m256i*>(at));
    const __m256i b = _mm256_load_si256(reinterpret_cast<const __m256i*>(at + 16));
    const __m256i c = _mm256_load_si256(reinterpret_cast<const __m256i*>(at + 32));
    const __m256i d = _mm256_load_si256(reinterpret_cast<const __m256i*>(at + 48));
    const __m256i z =
        _mm256_or_si256(_mm256_or_si256(_mm256_cmpeq_epi16(a, zero), _mm256_cmpeq_epi16(b, zero)),
                        _mm256_or_si256(_mm256_cmpeq_epi16(c, zero), _mm256_cmpeq_epi16(d, zero)));
    if (_mm256_testz_si256(z, z) == 0) break;
    if (dst != nullptr) {
      auto* out = reinterpret_cast<__m256i*>(dst + k * kChunkUnits);
      _mm256_storeu_si256(out, a);
      _mm256_storeu_si256(out + 1, b);
      _mm256_storeu_si256(out + 2, c);
      _mm256_storeu_si256(out + 3, d);
    }
  }
  while (k < count &&
         chunkAvx2(dst == nullptr ? nullptr : dst + k * kChunkUnits, p + k * kChunkUnits)) {
    ++k;
  }
  return k;
}
#endif

MLIB_UNCHECKED_READ std::size_t zeroFreeChunks(WideChar* dst, const WideChar* p,
                                               std::size_t count) noexcept {
#if defined(MLIB_AVX2_DISPATCH)
  if (platform::processorHasAvx2()) return chunksAvx2(dst, p, count);
#endif
  return chunksSse2(dst, p, count);
}
#endif  // MLIB_WIDE_SCAN_SIMD

}  // namespace

namespace {

MLIB_UNCHECKED_READ std::size_t scanFrom(const WideChar* text, std::size_t maxUnits) noexcept {
  std::size_t n = 0;
#if defined(MLIB_WIDE_SCAN_SIMD)
  // A bound past the end of the address space is no bound.
  const std::uintptr_t unitsLeft = (UINTPTR_MAX - addressOf(text)) / sizeof(WideChar);
  const std::size_t limit = maxUnits < unitsLeft ? maxUnits : unitsLeft;
  const auto done = [maxUnits](std::size_t count) { return count < maxUnits ? count : maxUnits; };
  for (; (addressOf(text + n) & 15u) != 0; ++n) {
    if (n == limit || text[n] == 0) return done(n);
  }
  // Blocks and chunks may reach past the bound: reading them is safe, done() clips the
  // count. Short texts end within the first blocks, before the chunk loop is worth its call.
  for (;;) {
    if (n >= limit) return done(n);
    if (n >= kChunkUnits && (addressOf(text + n) & 63u) == 0) {
      const std::size_t wanted = (limit - n + kChunkUnits - 1) / kChunkUnits;
      const std::size_t clean = zeroFreeChunks(nullptr, text + n, wanted);
      n += clean * kChunkUnits;
      if (clean == wanted) return done(n);
    }
    const int mask = zeroMask16(text + n);
    if (mask != 0) return done(n + firstSetUnit(mask));
    n += 8;
  }
#else
  while (n < maxUnits && text[n] != 0) ++n;
  return n;
#endif
}

}  // namespace

MLIB_UNCHECKED_READ std::size_t wideLengthBounded(const WideChar* text,
                                                  std::size_t maxUnits) noexcept {
  if (text == nullptr) return 0;
#if defined(MLIB_WIDE_SCAN_SIMD)
  // Strings' own buffers are 16-byte aligned and mostly short: their first blocks are tested
  // here before the general loop, which halves the cost of measuring a 16-unit text.
  if ((addressOf(text) & 15u) == 0) {
    for (std::size_t n = 0; n < kChunkUnits; n += 8) {
      const int mask = zeroMask16(text + n);
      if (mask != 0) {
        const std::size_t count = n + firstSetUnit(mask);
        return count < maxUnits ? count : maxUnits;
      }
      if (maxUnits <= n + 8) return maxUnits;
    }
  }
#endif
  return scanFrom(text, maxUnits);
}

std::size_t wideLength(const WideChar* text) noexcept {
  return wideLengthBounded(text, static_cast<std::size_t>(-1));
}

// One pass instead of a measuring pass and a copying pass. Blocks and chunks are stored only
// when they hold no terminator and lie below maxUnits; the block holding the terminator is
// finished unit by unit, as is a last part shorter than a block.
MLIB_UNCHECKED_READ std::size_t copyWideText(WideChar* dst, const WideChar* src,
                                             std::size_t maxUnits) noexcept {
  std::size_t n = 0;
#if defined(MLIB_WIDE_SCAN_SIMD)
  for (; (addressOf(src + n) & 15u) != 0; ++n) {
    if (n == maxUnits) return n;
    dst[n] = src[n];
    if (src[n] == 0) return n;
  }
  while (maxUnits - n >= 8) {
    if (n >= kChunkUnits && maxUnits - n >= kChunkUnits && (addressOf(src + n) & 63u) == 0) {
      n += kChunkUnits * zeroFreeChunks(dst + n, src + n, (maxUnits - n) / kChunkUnits);
      if (maxUnits - n < 8) break;
    }
    const __m128i block = load16(src + n);
    const int mask = _mm_movemask_epi8(_mm_cmpeq_epi16(block, _mm_setzero_si128()));
    if (mask != 0) {
      const std::size_t end = n + firstSetUnit(mask);
      for (; n <= end; ++n) dst[n] = src[n];
      return end;
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + n), block);
    n += 8;
  }
#endif
  for (; n < maxUnits; ++n) {
    dst[n] = src[n];
    if (src[n] == 0) return n;
  }
  return maxUnits;
}

namespace {

#if defined(MLIB_AVX2_DISPATCH)
// copyWideTextWithin's loop with 32-byte vectors: four at a time while 64 units remain, then
// one at a time while 16 remain. Returns the units copied without meeting a terminator, or,
// when one is met, its index with the text and the terminator copied (*found set).
__attribute__((target("avx2"))) std::size_t copyWithinAvx2(WideChar* dst, const WideChar* src,
                                                           std::size_t maxUnits,
                                                           bool* found) noexcept {
  const __m256i zero = _mm256_setzero_si256();
  std::size_t n = 0;
  for (; maxUnits - n >= 64; n += 64) {
    const auto* in = reinterpret_cast<const __m256i*>(src + n);
    const __m256i a = _mm256_loadu_si256(in);
    const __m256i b = _mm256_loadu_si256(in + 1);
    const __m256i c = _mm256_loadu_si256(in + 2);
    const __m256i d = _mm256_loadu_si256(in + 3);
    // The smallest unit of each lane is zero exactly when some vector holds a zero there:
    // one comparison for the four.
    const __m256i least = _mm256_min_epu16(_mm256_min_epu16(a, b), _mm256_min_epu16(c, d));
    const __m256i z = _mm256_cmpeq_epi16(least, zero);
    if (_mm256_testz_si256(z, z) == 0) break;
    auto* out = reinterpret_cast<__m256i*>(dst + n);
    _mm256_storeu_si256(out, a);
    _mm256_storeu_si256(out + 1, b);
    _mm256_storeu_si256(out + 2, c);
    _mm256_storeu_si256(out + 3, d);
  }
  for (; maxUnits - n >= 16; n += 16) {
    const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + n));
    const unsigned mask = static_cast<unsigned>(_mm256_movemask_epi8(_mm256_cmpeq_epi16(a, zero)));
    if (mask != 0) {
      const std::size_t end = n + (static_cast<std::size_t>(__builtin_ctz(mask)) >> 1);
      std::memcpy(dst + n, src + n, (end - n + 1) * sizeof(WideChar));
      *found = true;
      return end;
    }
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + n), a);
  }
  return n;
}
#endif

}  // namespace

std::size_t copyWideTextWithin(WideChar* dst, const WideChar* src, std::size_t maxUnits) noexcept {
  std::size_t n = 0;
#if defined(MLIB_AVX2_DISPATCH)
  if (platform::processorHasAvx2()) {
    bool found = false;
    n = copyWithinAvx2(dst, src, maxUnits, &found);
    if (found) return n;
  }
#endif
#if defined(MLIB_WIDE_SCAN_SIMD)
  for (; maxUnits - n >= 8; n += 8) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + n));
    const int mask = _mm_movemask_epi8(_mm_cmpeq_epi16(block, _mm_setzero_si128()));
    if (mask != 0) {
      const std::size_t end = n + firstSetUnit(mask);
      std::memcpy(dst + n, src + n, (end - n + 1) * sizeof(WideChar));
      return end;
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + n), block);
  }
#endif
  for (; n < maxUnits; ++n) {
    dst[n] = src[n];
    if (src[n] == 0) return n;
  }
  return maxUnits;
}

bool widenAscii(WideChar* dst, const char* src, std::size_t byteCount) noexcept {
  const auto* bytes = reinterpret_cast<const unsigned char*>(src);
  std::size_t i = 0;
#if defined(MLIB_WIDE_SCAN_SIMD)
  const __m128i zero = _mm_setzero_si128();
  for (; byteCount - i >= 16; i += 16) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i));
    if (_mm_movemask_epi8(block) != 0) return false;  // a byte of 0x80 or more
    auto* out = reinterpret_cast<__m128i*>(dst + i);
    _mm_storeu_si128(out, _mm_unpacklo_epi8(block, zero));
    _mm_storeu_si128(out + 1, _mm_unpackhi_epi8(block, zero));
  }
#endif
  for (; i < byteCount; ++i) {
    if (bytes[i] >= 0x80) return false;
    dst[i] = bytes[i];
  }
  return true;
}

}  // namespace mlib::detail
