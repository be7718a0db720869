// The four string hashes of <mlib/text.h>. All run in 32-bit unsigned arithmetic that
// wraps; the bytes count as signed or unsigned as each hash defines.
#include <mlib/text.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "platform/processorFeatures.h"
#include "text/textBuffers.h"

#if defined(MLIB_AVX2_DISPATCH)
#include <immintrin.h>
#endif

using mlib::WideChar;

namespace {

constexpr std::uint32_t kMultiplier = 131;

constexpr std::uint32_t multiplierPower(unsigned exponent) noexcept {
  std::uint32_t power = 1;
  for (unsigned i = 0; i < exponent; ++i) power *= kMultiplier;
  return power;
}

// Continues h = h * 131 + byte over count bytes taken as signed.
std::uint32_t continueHash131(std::uint32_t h, const char* bytes, std::size_t count) noexcept {
  std::size_t i = 0;
  // Four bytes per step, with the powers of 131 worked out: one multiplication on the
  // chain from step to step instead of four.
  for (; i + 4 <= count; i += 4) {
    h = h * multiplierPower(4) +
        static_cast<std::uint32_t>(static_cast<signed char>(bytes[i])) * multiplierPower(3) +
        static_cast<std::uint32_t>(static_cast<signed char>(bytes[i + 1])) * multiplierPower(2) +
        static_cast<std::uint32_t>(static_cast<signed char>(bytes[i + 2])) * kMultiplier +
        static_cast<std::uint32_t>(static_cast<signed char>(bytes[i + 3]));
  }
  for (; i < count; ++i) {
    h = h * kMultiplier + static_cast<std::uint32_t>(static_cast<signed char>(bytes[i]));
  }
  return h;
}

#if defined(MLIB_AVX2_DISPATCH)
// The recurrence from h = 0 over blocks * 128 bytes, 128 at a time. Each 32-bit lane takes
// four consecutive bytes as their own small polynomial b0 * 131^3 + b1 * 131^2 + b2 * 131 +
// b3, formed exactly by two multiply-add steps on narrow lanes (131 * b0 + b1 fits 16 bits,
// 131^2 = 17161 is a 16-bit factor, and the four-byte sum fits 32 bits), so one 32-bit
// multiplication serves four bytes where widening each byte to its own lane needed four.
// Four vectors of eight lanes cover a block (lane k of vector j starts at offset
// 32j + 4k); every block multiplies them by 131^128 and adds its own groups, and at the end
// each lane is weighted by the power of 131 that its group's last byte stands at. Four
// independent chains keep the multiplier busy despite the multiplication's latency.
__attribute__((target("avx2"))) std::uint32_t hash131Blocks(const char* bytes,
                                                            std::size_t blocks) noexcept {
  constexpr int kVectors = 4;
  const __m256i step = _mm256_set1_epi32(static_cast<int>(multiplierPower(128)));
  // (131, 1) byte pairs and (131^2, 1) 16-bit pairs for the two multiply-add steps.
  const __m256i pairWeights = _mm256_set1_epi16(static_cast<short>(1u << 8 | kMultiplier));
  const __m256i quadWeights = _mm256_set1_epi32(static_cast<int>(multiplierPower(2) | 1u << 16));
  __m256i lanes[kVectors];
  for (__m256i& lane : lanes) lane = _mm256_setzero_si256();
  for (std::size_t b = 0; b < blocks; ++b, bytes += 128) {
    for (int j = 0; j < kVectors; ++j) {
      const __m256i text = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes + 32 * j));
      // Unsigned weights times signed bytes, then signed 16-bit pairs: exact, no saturation.
      const __m256i pairs = _mm256_maddubs_epi16(pairWeights, text);
      const __m256i groups = _mm256_madd_epi16(pairs, quadWeights);
      lanes[j] = _mm256_add_epi32(_mm256_mullo_epi32(lanes[j], step), groups);
    }
  }
  __m256i sum = _mm256_setzero_si256();
  for (int j = 0; j < kVectors; ++j) {
    alignas(32) std::uint32_t weights[8];
    for (int k = 0; k < 8; ++k)
      weights[k] = multiplierPower(124u - static_cast<unsigned>(32 * j + 4 * k));
    const __m256i weight = _mm256_load_si256(reinterpret_cast<const __m256i*>(weights));
    sum = _mm256_add_epi32(sum, _mm256_mullo_epi32(lanes[j], weight));
  }
  alignas(32) std::uint32_t parts[8];
  _mm256_store_si256(reinterpret_cast<__m256i*>(parts), sum);
  std::uint32_t h = 0;
  for (std::uint32_t part : parts) h += part;
  return h;
}
#endif

// The multiply-by-131 hash over bytes taken as signed, masked to 31 bits.
[[nodiscard]] int hash131(const char* text) noexcept {
  const std::size_t length = std::strlen(text);
  std::uint32_t h = 0;
  std::size_t done = 0;
#if defined(MLIB_AVX2_DISPATCH)
  // Below a few blocks the set-up costs more than the vectors save.
  if (length >= 256 && mlib::platform::processorHasAvx2()) {
    done = length / 128 * 128;
    h = hash131Blocks(text, length / 128);
  }
#endif
  h = continueHash131(h, text + done, length - done);
  return static_cast<int>(h & 0x7FFFFFFFu);
}

}  // namespace

int GetStringHashCode(const char* text) {
  if (text == nullptr) return -1;
  return hash131(text);
}

int GetStringHashCodeT(const WideChar* text) {
  if (text == nullptr) return -1;
  // One byte per character at most: a character the cut would split is left out whole.
  const std::size_t bytes = mlib::detail::textLength(text) + 1;
  mlib::detail::ScratchBuffer<char> ansi(bytes);
  if (ansi.data() == nullptr) return -1;
  if (WideToANSI(ansi.data(), text, mlib::detail::clampToInt(bytes)) == nullptr) return -1;
  return hash131(ansi.data());
}

int GetStringHashCodeA(const char* text) {
  if (text == nullptr) return -1;
  std::uint32_t h = 1;
  std::uint32_t k = 4;
  for (const char* p = text; *p != '\0'; ++p) {
    const std::uint32_t c = static_cast<unsigned char>(*p);
    h ^= ((h & 63u) + k) * c + (h << 8);
    k += 3;
  }
  return static_cast<int>(h);
}

int GetStringHashCodeB(const char* text) {
  if (text == nullptr) return -1;
  std::uint32_t h = 0;
  for (const char* p = text; *p != '\0'; ++p) {
    h = (h << 4) + static_cast<std::uint32_t>(static_cast<signed char>(*p));
    const std::uint32_t x = h & 0xF0000000u;
    if (x != 0) h = h ^ (x >> 24) ^ x;
  }
  return static_cast<int>(h);
}
