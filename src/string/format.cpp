// String::Format, the number constructors and assignments that produce their text through
// it, and the decimal cutting of String(double, places).
//
// Numbers are written by the library itself (integers digit by digit, doubles by
// std::to_chars), so the text never depends on the C library's locale: the decimal mark is
// always a full stop and there are no grouping characters. The digits, sign and full stop
// are ASCII, which every supported ANSI code page maps to the same UTF-16 units, so they
// are written as units directly.
#include <mlib/string.h>

#include <charconv>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

#include "string/storage.h"

namespace mlib {
namespace {

using detail::StringAccess;
using detail::wideLength;

// The widest piece a number gives: a double's fixed text is at most 309 integer digits,
// a sign, a full stop and six decimals.
constexpr std::size_t kNumberPieceUnits = 400;

constexpr char kDigitPairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

// Writes the decimal digits of value so that they end just before `end`; returns the first.
// Two digits per step from a 200-character table halve the divisions of the plain loop.
WideChar* writeDecimal(WideChar* end, unsigned long long value) noexcept {
  WideChar* p = end;
  while (value >= 100) {
    const auto pair = static_cast<unsigned>(value % 100) * 2;
    value /= 100;
    *--p = static_cast<WideChar>(kDigitPairs[pair + 1]);
    *--p = static_cast<WideChar>(kDigitPairs[pair]);
  }
  if (value >= 10) {
    const auto pair = static_cast<unsigned>(value) * 2;
    *--p = static_cast<WideChar>(kDigitPairs[pair + 1]);
    *--p = static_cast<WideChar>(kDigitPairs[pair]);
  } else {
    *--p = static_cast<WideChar>('0' + value);
  }
  return p;
}

WideChar* writeSigned(WideChar* end, long long value) noexcept {
  const bool negative = value < 0;
  // The magnitude in unsigned arithmetic, so the most negative value needs no special case.
  const unsigned long long magnitude = negative ? 0ull - static_cast<unsigned long long>(value)
                                                : static_cast<unsigned long long>(value);
  WideChar* p = writeDecimal(end, magnitude);
  if (negative) *--p = '-';
  return p;
}

// Fixed-point text with six decimals, as "%f" prints it in the C locale (correctly rounded,
// "inf", "-inf", "nan" for the special values). Returns the unit count written at out.
std::size_t writeFixed(WideChar* out, double value) noexcept {
  char narrow[kNumberPieceUnits];
  const std::to_chars_result r =
      std::to_chars(narrow, narrow + sizeof narrow, value, std::chars_format::fixed, 6);
  const auto count = static_cast<std::size_t>(r.ptr - narrow);
  for (std::size_t i = 0; i < count; ++i) out[i] = static_cast<WideChar>(narrow[i]);
  return count;
}

// The output side of one Format call: the string's buffer, the position `out` and the
// working limit the pieces are measured against.
class FormatWriter {
 public:
  // Sets the string's buffer up for a format of formatUnits units: a buffer of capacity
  // greater than formatUnits + 512 is kept and cleared, anything else replaced by a
  // cleared one of formatUnits + 513.
  FormatWriter(String& target, std::size_t formatUnits)
      : buffer_(StringAccess::wideBuffer(target)), limit_(formatUnits + String::BufferSize) {
    const std::size_t capacity = detail::wideCapacity(buffer_);
    if (capacity > limit_) {
      detail::zeroWide(buffer_, capacity);
      return;
    }
    WideChar* fresh = detail::allocWideZeroed(limit_ + 1);
    detail::freeWide(buffer_);
    buffer_ = fresh;
  }

  // Appends units[0, count) as one piece: when it does not fit in the room left before the
  // limit, the limit becomes count + 2 x limit and the buffer grows to limit + 1, keeping
  // its text. Everything past `out` is already zero, so nothing else needs clearing.
  void put(const WideChar* units, std::size_t count) {
    if (count > limit_ - out_) {
      const std::size_t grown = count + 2 * limit_;
      buffer_ = detail::regrowWide(buffer_, grown + 1);
      limit_ = grown;
    }
    std::memcpy(buffer_ + out_, units, count * sizeof(WideChar));
    out_ += count;
  }

  // A run of literal characters. Each is a piece of one unit, so growth can only strike
  // when the output stands exactly at the limit, and then by the one-unit rule.
  void putLiteral(const WideChar* units, std::size_t count) {
    while (count != 0) {
      if (out_ == limit_) {
        put(units, 1);
        ++units;
        --count;
        continue;
      }
      const std::size_t room = limit_ - out_;
      const std::size_t run = count < room ? count : room;
      std::memcpy(buffer_ + out_, units, run * sizeof(WideChar));
      out_ += run;
      units += run;
      count -= run;
    }
  }

 private:
  WideChar*& buffer_;
  std::size_t limit_;
  std::size_t out_ = 0;
};

bool isConversion(WideChar c) noexcept {
  switch (c) {
    case 'X':
    case 'c':
    case 'd':
    case 'f':
    case 's':
    case 't':
    case 'u':
    case 'x':
      return true;
    default:
      return false;
  }
}

// The range of the string's buffer before Format touched it; texts read from inside it
// are read from a copy taken first.
struct OwnBuffer {
  std::uintptr_t begin = 0;
  std::uintptr_t end = 0;
  std::vector<WideChar> copy;

  bool holds(const WideChar* text) const noexcept {
    const auto at = reinterpret_cast<std::uintptr_t>(text);
    return text != nullptr && at >= begin && at < end;
  }
  const WideChar* redirect(const WideChar* text) const noexcept {
    if (copy.empty() || !holds(text)) return text;
    return copy.data() + (reinterpret_cast<std::uintptr_t>(text) - begin) / sizeof(WideChar);
  }
};

// True when the format or one of its %s arguments points into own's range. Consumes args.
bool readsOwnBuffer(const WideChar* format, std::size_t formatUnits, const OwnBuffer& own,
                    va_list args) {
  if (own.holds(format)) return true;
  for (std::size_t i = 0; i + 1 < formatUnits; ++i) {
    if (format[i] != '%' || !isConversion(format[i + 1])) continue;
    switch (format[++i]) {
      case 'f':
        (void)va_arg(args, double);
        break;
      case 's':
        if (own.holds(va_arg(args, const WideChar*))) return true;
        break;
      default:
        (void)va_arg(args, int);
        break;
    }
  }
  return false;
}

void formatList(String& target, const WideChar* format, va_list args) {
  if (format == nullptr) return;
  const std::size_t formatUnits = wideLength(format);

  OwnBuffer own;
  if (WideChar* current = StringAccess::wideBuffer(target); current != nullptr) {
    own.begin = reinterpret_cast<std::uintptr_t>(current);
    own.end = own.begin + detail::wideCapacity(current) * sizeof(WideChar);
    va_list probe;
    va_copy(probe, args);
    const bool aliased = readsOwnBuffer(format, formatUnits, own, probe);
    va_end(probe);
    if (aliased) {
      own.copy.assign(current, current + detail::wideCapacity(current));
      format = own.redirect(format);
    }
  }

  FormatWriter writer(target, formatUnits);
  WideChar number[kNumberPieceUnits];
  WideChar* const numberEnd = number + kNumberPieceUnits;
  std::size_t literalStart = 0;
  for (std::size_t i = 0; i < formatUnits; ++i) {
    if (format[i] != '%' || i + 1 == formatUnits || !isConversion(format[i + 1])) continue;
    writer.putLiteral(format + literalStart, i - literalStart);
    const WideChar conversion = format[++i];
    literalStart = i + 1;
    switch (conversion) {
      case 'd': {
        const WideChar* first = writeSigned(numberEnd, va_arg(args, int));
        writer.put(first, static_cast<std::size_t>(numberEnd - first));
        break;
      }
      case 'u': {
        const WideChar* first = writeDecimal(numberEnd, va_arg(args, unsigned));
        writer.put(first, static_cast<std::size_t>(numberEnd - first));
        break;
      }
      case 'x':
      case 'X': {
        const char* digits = conversion == 'x' ? "0123456789abcdef" : "0123456789ABCDEF";
        const unsigned byte = static_cast<unsigned>(va_arg(args, int)) & 0xFFu;
        const WideChar hex[2] = {static_cast<WideChar>(digits[byte >> 4]),
                                 static_cast<WideChar>(digits[byte & 15u])};
        // Without leading zeros: one digit below 0x10.
        writer.put(byte < 16 ? hex + 1 : hex, byte < 16 ? 1 : 2);
        break;
      }
      case 'f':
        writer.put(number, writeFixed(number, va_arg(args, double)));
        break;
      case 't': {
        const int bits = va_arg(args, int);
        float value;
        static_assert(sizeof value == sizeof bits);
        std::memcpy(&value, &bits, sizeof value);
        writer.put(number, writeFixed(number, static_cast<double>(value)));
        break;
      }
      case 'c': {
        // The low byte taken as a signed char: bytes of 0x80 and above land on
        // U+FF80-U+FFFF, as the widening of a signed character gives them.
        const auto byte =
            static_cast<signed char>(static_cast<unsigned>(va_arg(args, int)) & 0xFFu);
        const auto unit = static_cast<WideChar>(static_cast<short>(byte));
        writer.put(&unit, 1);
        break;
      }
      default: {  // 's'
        const WideChar* text = own.redirect(va_arg(args, const WideChar*));
        if (text != nullptr) writer.put(text, wideLength(text));
        break;
      }
    }
  }
  writer.putLiteral(format + literalStart, formatUnits - literalStart);
}

// The text of one number as Format with a two-unit format ("%d", "%u", "%f") leaves it.
void formatNumberPiece(String& target, const WideChar* first, std::size_t count) {
  FormatWriter writer(target, 2);
  writer.put(first, count);
}

void formatSigned(String& target, long long value) {
  WideChar number[32];
  const WideChar* first = writeSigned(number + 32, value);
  formatNumberPiece(target, first, static_cast<std::size_t>(number + 32 - first));
}

void formatUnsigned(String& target, unsigned long long value) {
  WideChar number[32];
  const WideChar* first = writeDecimal(number + 32, value);
  formatNumberPiece(target, first, static_cast<std::size_t>(number + 32 - first));
}

void formatDouble(String& target, double value) {
  WideChar number[kNumberPieceUnits];
  formatNumberPiece(target, number, writeFixed(number, value));
}

// Cuts the decimals of a fixed-point text to `places` (cut, not rounded); places = 0 drops
// the full stop as well. The cut units are cleared, so the buffer holds zeros after the text.
void cutDecimals(String& target, int places) {
  if (places < 0 || target.IsEmpty()) return;
  WideChar* text = StringAccess::wideBuffer(target);
  const auto unitCount = static_cast<std::size_t>(target.GetLength());
  std::size_t stop = unitCount;
  while (stop != 0 && text[stop - 1] != '.') --stop;
  if (stop == 0) return;
  const std::size_t dot = stop - 1;
  const std::size_t decimals = unitCount - dot - 1;
  const std::size_t keep =
      decimals < static_cast<std::size_t>(places) ? decimals : static_cast<std::size_t>(places);
  const std::size_t cut = keep == 0 ? dot : dot + 1 + keep;
  detail::zeroWide(text + cut, unitCount - cut);
}

}  // namespace

void String::Format(const WideChar* format, ...) {
  va_list args;
  va_start(args, format);
  formatList(*this, format, args);
  va_end(args);
}

String::String(int value) : String() { formatSigned(*this, value); }

String::String(unsigned int value) : String() { formatUnsigned(*this, value); }

String::String(long long value) : String() { formatSigned(*this, value); }

String::String(unsigned long long value) : String() { formatUnsigned(*this, value); }

String::String(double value, int places) : String() {
  formatDouble(*this, value);
  cutDecimals(*this, places);
}

String::String(float value, int places) : String() {
  const String text(static_cast<double>(value), places);
  *this = text.toString();
}

String& String::operator=(int value) {
  formatSigned(*this, value);
  return *this;
}

String& String::operator=(unsigned int value) {
  formatUnsigned(*this, value);
  return *this;
}

String& String::operator=(double value) {
  formatDouble(*this, value);
  return *this;
}

}  // namespace mlib
