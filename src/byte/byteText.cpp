// Byte's text conversions between the ANSI code page and UTF-8, through the free conversion
// functions of <mlib/text.h>.
#include <mlib/byte.h>
#include <mlib/text.h>

#include <climits>
#include <cstddef>
#include <memory>

#include "platform/codePage.h"

namespace mlib {

namespace {

using Converter = char* (*)(char* dst, const char* src, int capacity);

// Converts the zero-terminated text at source (sourceBytes long at most) with convert into
// a scratch block of growth x sourceBytes + 1 bytes, and returns it as a new Byte. The
// factor is chosen so that every input fits: the conversion never has to cut.
Byte convertText(const char* source, int sourceBytes, int growth, Converter convert) {
  const long long wanted = static_cast<long long>(sourceBytes) * growth + 1;
  // A text so long that its scratch size leaves 32 bits is converted up to what fits.
  const int scratchBytes = wanted > INT_MAX ? INT_MAX : static_cast<int>(wanted);
  const std::unique_ptr<char[]> scratch(new char[static_cast<std::size_t>(scratchBytes)]());
  convert(scratch.get(), source, scratchBytes);
  scratch[static_cast<std::size_t>(scratchBytes) - 1] = 0;
  Byte result;
  result.SetData(scratch.get());
  return result;
}

}  // namespace

Byte Byte::AnsiToUtf8() const {
  if (data_ == nullptr || length_ <= 0) return Byte();
  const char* text = ToString();
  if (text == nullptr) return Byte();
  // One ANSI byte is at most one UTF-16 unit, and a unit needs at most three UTF-8 bytes
  // (0x80 in 1252 is U+20AC, E2 82 AC; a stray byte in UTF-8 is U+FFFD, EF BF BD).
  return convertText(text, length_, 3, ::ANSIToUtf8);
}

Byte Byte::Utf8ToAnsi() const {
  if (data_ == nullptr || length_ <= 0) return Byte();
  const char* text = ToString();
  if (text == nullptr) return Byte();
  // Every UTF-8 byte gives at most one UTF-16 unit (a lone invalid byte becomes U+FFFD),
  // and a unit at most ansiBytesPerWideUnit() ANSI bytes: 2, or 3 when the ANSI code page
  // is UTF-8 (U+FFFD is EF BF BD there).
  return convertText(text, length_, static_cast<int>(platform::ansiBytesPerWideUnit()),
                     ::Utf8ToANSI);
}

}  // namespace mlib
