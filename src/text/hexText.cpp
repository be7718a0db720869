// Hexadecimal text of byte arrays for <mlib/text.h>: rendering into wide and narrow
// destinations and parsing wide text back into bytes. Each keeps the destination's length
// as it goes, so long inputs take linear time.
#include <mlib/text.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "text/hexDigits.h"
#include "text/textBuffers.h"

using mlib::WideChar;

namespace {

constexpr char kUpperDigits[] = "0123456789ABCDEF";

// Digit values of the ASCII range, -1 for characters that are not hexadecimal digits. One
// lookup per character instead of three range tests cut the parse time of 1 MiB of
// spaced hex text about fivefold (textBench, hexHexStringToByte).
struct HexTable {
  signed char value[128];
  constexpr HexTable() : value() {
    for (int c = 0; c < 128; ++c) {
      value[c] = static_cast<signed char>(c >= '0' && c <= '9'   ? c - '0'
                                          : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                          : c >= 'a' && c <= 'f' ? c - 'a' + 10
                                                                 : -1);
    }
  }
};
constexpr HexTable kHexTable;

// Value of a hexadecimal digit, or -1 for any other character.
[[nodiscard]] int hexValue(WideChar c) noexcept { return c < 128 ? kHexTable.value[c] : -1; }

}  // namespace

WideChar* ByteToHexString(const unsigned char* bytes, int count, WideChar* dst, unsigned capacity,
                          bool spaced) {
  if (dst == nullptr) return nullptr;
  if (capacity < 1) return dst;  // nothing to fill, no room for a digit
  std::memset(dst, 0, static_cast<std::size_t>(capacity) * sizeof(WideChar));
  if (bytes == nullptr || count < 1) return dst;
  // Each digit is written only while the text plus it leaves the terminator's slot free;
  // a space needs one slot more. The length is counted here instead of measured.
  const std::size_t room = capacity;
  std::size_t length = 0;
  int i = 0;
  if (!spaced) {
    // The bytes whose both digits surely fit go at once; the loop below takes the rest
    // (and a lone first digit where only that fits).
    const std::size_t whole = std::min(static_cast<std::size_t>(count), (room - 1) / 2);
    mlib::detail::writeHexDigits(dst, bytes, whole);
    i = static_cast<int>(whole);
    length = 2 * whole;
  }
  for (; i < count; ++i) {
    const unsigned value = bytes[i];
    if (length + 1 >= room) return dst;
    dst[length++] = static_cast<WideChar>(kUpperDigits[value >> 4]);
    if (length + 1 >= room) return dst;
    dst[length++] = static_cast<WideChar>(kUpperDigits[value & 0xF]);
    if (spaced) {
      if (length + 1 >= room - 1) return dst;
      dst[length++] = ' ';
    }
  }
  return dst;
}

char* ByteToHex(const unsigned char* bytes, unsigned count, char* dst, unsigned capacity,
                bool spaced) {
  if (bytes == nullptr || dst == nullptr) return nullptr;
  if (capacity < 1) return dst;  // nothing to fill, no room for a piece
  std::memset(dst, 0, capacity);
  // Whole bytes only: a piece ("0A" or "0A ") is appended when it leaves the terminator's
  // slot free, otherwise the text ends.
  const std::size_t pieceLength = spaced ? 3 : 2;
  const std::size_t room = capacity;
  std::size_t length = 0;
  for (unsigned i = 0; i < count; ++i) {
    if (length + pieceLength >= room) return dst;
    const unsigned value = bytes[i];
    dst[length] = kUpperDigits[value >> 4];
    dst[length + 1] = kUpperDigits[value & 0xF];
    if (spaced) dst[length + 2] = ' ';
    length += pieceLength;
  }
  return dst;
}

int HexStringToByte(const WideChar* text, unsigned char* out, int capacity) {
  if (out == nullptr) return 0;
  if (capacity > 0) std::memset(out, 0, static_cast<std::size_t>(capacity));
  if (text == nullptr || capacity < 1) return 0;
  const std::size_t length = mlib::detail::textLength(text);
  const auto room = static_cast<std::size_t>(capacity);
  std::size_t written = 0;
  std::size_t at = 0;
  int pending = -1;  // a first digit waiting for its partner
  while (at < length) {
    if (pending < 0) {
      // Unbroken digits go 16 at a time.
      at += mlib::detail::readHexDigitPairs(text + at, length - at, out, room, written);
      if (written == room) return static_cast<int>(written);
    }
    // Anything else goes a unit at a time, for 16 units before the next try.
    const std::size_t stop = std::min(length, at + 16);
    for (; at < stop; ++at) {
      const int value = hexValue(text[at]);
      if (value < 0) continue;
      if (pending < 0) {
        pending = value;
        continue;
      }
      out[written++] = static_cast<unsigned char>((pending << 4) | value);
      pending = -1;
      // A full output ends the walk: the rest of the text, a lone digit included, is ignored.
      if (written == room) return static_cast<int>(written);
    }
  }
  if (pending >= 0) out[written++] = static_cast<unsigned char>(pending);
  return static_cast<int>(written);
}
