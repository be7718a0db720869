// String's conversions to numbers, between number bases held as text (decimal, binary and
// hexadecimal digit strings), between bytes and hexadecimal text, and to and from UTF-8.
// The base conversions work on 32-bit values and wrap past them.
#include <mlib/byte.h>
#include <mlib/string.h>
#include <mlib/text.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "platform/codePage.h"
#include "string/storage.h"
#include "text/hexDigits.h"

namespace mlib {

namespace {

using WideText = std::basic_string<WideChar>;

constexpr WideChar kUpperDigits[] = MLIB_T("0123456789ABCDEF");

// A new string of exactly text's size; a null string for empty text.
String exactCopy(const WideText& text) { return String(text.c_str()); }

// Decimal text of value, as Format's "%d" writes it.
WideText decimalText(int value) {
  const std::string narrow = std::to_string(value);
  return WideText(narrow.begin(), narrow.end());
}

// 0-15 for 0-9, A-F and a-f; -1 for every other unit.
[[nodiscard]] int hexDigitValue(WideChar c) noexcept {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// The value the runtime's atoi gives for the one-unit text c in the ANSI code page: a
// decimal digit gives its value, anything else 0. Outside ASCII the unit is converted first,
// since a code page may give a digit as the best fit of another character.
[[nodiscard]] unsigned digitFaceValue(WideChar c) noexcept {
  if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
  if (c < 0x80) return 0;
  const WideChar unit[2] = {c, 0};
  char ansi[8] = {};
  WideToANSI(ansi, unit, static_cast<int>(sizeof ansi));
  return ansi[0] >= '0' && ansi[0] <= '9' ? static_cast<unsigned>(ansi[0] - '0') : 0;
}

// Sum of digit x base^position over the units of text[0, count), the last unit at position
// 0, in 32-bit arithmetic that wraps (a position whose weight has wrapped to 0 adds 0).
template <typename DigitValue>
[[nodiscard]] unsigned positionalSum(const WideChar* text, std::size_t count, unsigned base,
                                     DigitValue digitValue) noexcept {
  unsigned sum = 0;
  unsigned weight = 1;
  for (std::size_t i = count; i > 0 && weight != 0; --i) {
    sum += digitValue(text[i - 1]) * weight;
    weight *= base;
  }
  return sum;
}

// The unit Format's "%c" gives for the low 8 bits of code: bytes from 0x80 come out
// sign-extended (U+FF80 to U+FFFF).
[[nodiscard]] WideChar formatCharUnit(unsigned code) noexcept {
  const unsigned low = code & 0xFFu;
  return static_cast<WideChar>(low < 0x80 ? low : (0xFF00u | low));
}

}  // namespace

// ---- Numbers ---------------------------------------------------------------------------

int String::toInt() const { return ATOI(detail::TerminatedText(buffer_).get()); }
int String::toInt32() const { return toInt(); }
unsigned String::toUint() const { return static_cast<unsigned>(toInt()); }
unsigned String::toUint32() const { return toUint(); }
long long String::toInt64() const { return ATOI64(detail::TerminatedText(buffer_).get()); }
unsigned long long String::toUint64() const { return static_cast<unsigned long long>(toInt64()); }
double String::toDouble() const { return ATOF(detail::TerminatedText(buffer_).get()); }

// ---- Number bases ----------------------------------------------------------------------

String String::DecimalToBinary(const String& s) {
  // A negative value gives the two's complement digits of its 32 bits, so the text always
  // reads back through BinaryToDecimal as the same value.
  unsigned value = static_cast<unsigned>(s.toInt());
  WideText digits;
  do {
    digits.insert(digits.begin(), static_cast<WideChar>('0' + (value & 1u)));
    value >>= 1;
  } while (value != 0);
  if (digits.size() % 8 != 0) digits.insert(0, 8 - digits.size() % 8, WideChar('0'));
  return exactCopy(digits);
}

String String::BinaryToDecimal(const String& s) {
  const std::size_t count = static_cast<std::size_t>(s.GetLength());
  const unsigned sum = positionalSum(s.buffer_, count, 2, digitFaceValue);
  return exactCopy(decimalText(static_cast<int>(sum)));
}

String String::BinaryToHex(const String& s) {
  const int length = s.GetLength();
  if (length == 0) return String();
  // Left padding to whole groups of four, then one digit per group. A group's value comes
  // from the face values of its characters, so "2222" (30) gives code 30 + 55, 'U'.
  WideText padded(static_cast<std::size_t>((4 - length % 4) % 4), WideChar('0'));
  padded.append(s.buffer_, static_cast<std::size_t>(length));
  WideText hex;
  hex.reserve(padded.size() / 4);
  for (std::size_t at = 0; at < padded.size(); at += 4) {
    const unsigned value = positionalSum(padded.data() + at, 4, 2, digitFaceValue);
    hex += value < 10 ? static_cast<WideChar>('0' + value) : formatCharUnit(value + 55);
  }
  return exactCopy(hex);
}

String String::HexToBinary(const String& s) {
  static constexpr const WideChar* kNibbles[16] = {
      MLIB_T("0000"), MLIB_T("0001"), MLIB_T("0010"), MLIB_T("0011"),
      MLIB_T("0100"), MLIB_T("0101"), MLIB_T("0110"), MLIB_T("0111"),
      MLIB_T("1000"), MLIB_T("1001"), MLIB_T("1010"), MLIB_T("1011"),
      MLIB_T("1100"), MLIB_T("1101"), MLIB_T("1110"), MLIB_T("1111")};
  const int length = s.GetLength();
  WideText binary;
  binary.reserve(static_cast<std::size_t>(length) * 4);
  for (int i = 0; i < length; ++i) {
    const int value = hexDigitValue(s.buffer_[i]);
    if (value >= 0) binary.append(kNibbles[value], 4);
  }
  return exactCopy(binary);
}

String String::DecimalToHex(const String& s) { return BinaryToHex(DecimalToBinary(s)); }

String String::HexToDecimal(const String& s) {
  const int length = s.GetLength();
  if (length == 0) return String();
  // Characters that are not hexadecimal digits count 0 but keep their position.
  const unsigned sum =
      positionalSum(s.buffer_, static_cast<std::size_t>(length), 16, [](WideChar c) noexcept {
        const int value = hexDigitValue(c);
        return value < 0 ? 0u : static_cast<unsigned>(value);
      });
  return exactCopy(decimalText(static_cast<int>(sum)));
}

String String::DecimalToBinary() const { return DecimalToBinary(*this); }
String String::BinaryToDecimal() const { return BinaryToDecimal(*this); }
String String::BinaryToHex() const { return BinaryToHex(*this); }
String String::HexToBinary() const { return HexToBinary(*this); }
String String::DecimalToHex() const { return DecimalToHex(*this); }
String String::HexToDecimal() const { return HexToDecimal(*this); }

// ---- Bytes and hexadecimal text ----------------------------------------------------------

void String::ByteDataToHexString(const unsigned char* data, unsigned n, bool spaced) {
  if (data == nullptr || n == 0) {
    // No text: the buffer is cleared and kept, as assigning empty ANSI text does.
    *this = static_cast<const WideChar*>(nullptr);
    return;
  }
  // The digits and spaces are ASCII, which every ANSI code page holds as itself, so the text
  // goes straight into the wide buffer instead of through a narrow scratch text and its
  // conversion: 1.75x -> 0.8x the time of a bare table loop (bench/byteBench.cpp).
  const std::size_t perByte = spaced ? 3 : 2;
  const unsigned long long wanted = static_cast<unsigned long long>(n) * perByte;
  if (wanted >= detail::kMaxWideCapacity) throw std::bad_alloc();
  const auto units = static_cast<std::size_t>(wanted);
  const unsigned capacity = getSize();
  const auto first = reinterpret_cast<std::uintptr_t>(buffer_);
  const auto at = reinterpret_cast<std::uintptr_t>(data);
  const bool dataInBuffer =
      buffer_ != nullptr && at >= first && at < first + std::size_t{capacity} * sizeof(WideChar);
  const bool keepBuffer = capacity > units;
  // Bytes read from this string's own buffer are rendered aside first, so the digits never
  // overwrite bytes still to be read; then the text lands as an assignment would put it.
  WideChar* dst = keepBuffer && !dataInBuffer ? buffer_ : detail::allocWideRaw(units + 1);
  dst[units] = 0;
  WideChar* out = dst;
  if (spaced) {
    for (unsigned i = 0; i < n; ++i) {
      *out++ = kUpperDigits[data[i] >> 4];
      *out++ = kUpperDigits[data[i] & 0xF];
      *out++ = ' ';
    }
  } else {
    detail::writeHexDigits(out, data, n);
  }
  if (dst == buffer_) {
    // The same buffer as an assignment of the text would keep, with the ANSI buffer.
    detail::zeroWide(buffer_ + units, capacity - units);
  } else if (keepBuffer) {
    std::memcpy(buffer_, dst, units * sizeof(WideChar));
    detail::zeroWide(buffer_ + units, capacity - units);
    detail::freeWide(dst);
  } else {
    ReleaseBuffer();
    buffer_ = dst;
  }
}

void String::ByteDataToHexString(const Byte& bytes, bool spaced) {
  ByteDataToHexString(bytes.GetData(), static_cast<unsigned>(bytes.GetLength()), spaced);
}

String String::ByteToHexString(const unsigned char* data, unsigned n, bool spaced) {
  String text;
  text.ByteDataToHexString(data, n, spaced);
  return text;
}

String String::ToHexString() const {
  const char* ansi = toAnsi();
  if (ansi == nullptr) return String();
  const std::size_t bytes = std::strlen(ansi);
  WideText hex(bytes * 2, WideChar(0));
  detail::writeHexDigits(hex.data(), reinterpret_cast<const unsigned char*>(ansi), bytes);
  return exactCopy(hex);
}

int String::HexStringToByteData(unsigned char* out, unsigned size) {
  // The room is handed on as HexStringToByte's signed capacity: from 2^31 on it reads as
  // negative, which writes nothing and gives 0.
  return HexStringToByte(detail::TerminatedText(buffer_).get(), out, static_cast<int>(size));
}

Byte String::HexStringToByteData() {
  Byte bytes;
  const int length = GetLength();
  if (length <= 0) return bytes;
  // Room for length bytes: more than the pairs of length units can fill.
  unsigned char* out = bytes.AllocBuffer(length);
  bytes.SetLength(HexStringToByte(detail::TerminatedText(buffer_).get(), out, length));
  return bytes;
}

// ---- UTF-8 -------------------------------------------------------------------------------

String String::FromUtf8(const unsigned char* data, unsigned n) {
  if (data == nullptr) return String();
  const char* text = reinterpret_cast<const char*>(data);
  const int needed = platform::multiByteToWide(platform::kUtf8CodePage, text, -1, nullptr, 0);
  if (needed <= 1) return String();
  // Convert the whole text, then cut at n units whatever its length.
  const std::unique_ptr<WideChar[]> scratch(new WideChar[static_cast<std::size_t>(needed)]());
  const int units =
      platform::multiByteToWide(platform::kUtf8CodePage, text, -1, scratch.get(), needed);
  if (units <= 0) return String();
  const unsigned kept = static_cast<unsigned>(units - 1) < n ? static_cast<unsigned>(units - 1) : n;
  scratch[kept] = 0;
  return String(scratch.get());
}

String String::FromUtf8(const char* text) {
  if (text == nullptr) return String();
  const std::size_t bytes = std::strlen(text);
  // Every UTF-8 byte gives at most one unit, so the byte length never cuts.
  const unsigned limit = bytes > UINT_MAX ? UINT_MAX : static_cast<unsigned>(bytes);
  return FromUtf8(reinterpret_cast<const unsigned char*>(text), limit);
}

Byte String::ToUtf8(const String& s) {
  Byte ansi;
  ansi.SetData(s.toAnsi());
  return ansi.AnsiToUtf8();
}

}  // namespace mlib
