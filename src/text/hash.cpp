// The four string hashes of <mlib/text.h>. All run in 32-bit unsigned arithmetic that
// wraps; the bytes count as signed or unsigned as each hash defines.
#include <mlib/text.h>

#include <cstddef>
#include <cstdint>

#include "text/textBuffers.h"

using mlib::WideChar;

namespace {

// The multiply-by-131 hash over bytes taken as signed, masked to 31 bits.
[[nodiscard]] int hash131(const char* text) noexcept {
  std::uint32_t h = 0;
  for (const char* p = text; *p != '\0'; ++p) {
    h = h * 131u + static_cast<std::uint32_t>(static_cast<signed char>(*p));
  }
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
