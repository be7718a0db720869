// Number text of <mlib/text.h>: rendering integers and doubles into wide destinations,
// parsing them back, the decimal-number test and hexadecimal digit values. Nothing here
// depends on the C library's locale: a host may have called setlocale, and the decimal
// point must stay a full stop.
#include <mlib/text.h>

#include <charconv>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <system_error>

#include "text/textBuffers.h"

using mlib::WideChar;

namespace mlib::detail {

WideChar* placeAscii(WideChar* dst, const char* text, std::size_t length, int capacity) noexcept {
  if (dst == nullptr || capacity < 1) return nullptr;
  const std::size_t room = static_cast<std::size_t>(capacity);
  const std::size_t count = length < room - 1 ? length : room - 1;
  for (std::size_t i = 0; i < count; ++i) dst[i] = static_cast<unsigned char>(text[i]);
  zeroRange(dst, count, room);
  return dst;
}

}  // namespace mlib::detail

namespace {

// The narrow work area the parsers convert into: at most 511 bytes of text are read.
constexpr int kWorkAreaBytes = 512;

// Decimal digits of value, with a leading minus when negative, written backwards from
// `end`. Returns the first character. The magnitude is taken as unsigned so the smallest
// value needs no special case.
char* formatDecimal(long long value, char* end) noexcept {
  unsigned long long magnitude = value < 0 ? 0ULL - static_cast<unsigned long long>(value)
                                           : static_cast<unsigned long long>(value);
  char* p = end;
  do {
    *--p = static_cast<char>('0' + magnitude % 10);
    magnitude /= 10;
  } while (magnitude != 0);
  if (value < 0) *--p = '-';
  return p;
}

WideChar* placeDecimal(long long value, WideChar* dst, int capacity) noexcept {
  char digits[24];
  char* const end = digits + sizeof(digits);
  const char* const begin = formatDecimal(value, end);
  return mlib::detail::placeAscii(dst, begin, static_cast<std::size_t>(end - begin), capacity);
}

// White space as the C library's "C" locale classifies it.
[[nodiscard]] bool isSpace(char c) noexcept { return c == ' ' || (c >= '\t' && c <= '\r'); }

[[nodiscard]] bool isDigit(char c) noexcept { return c >= '0' && c <= '9'; }

// The ANSI text of `text` in a 512-byte work area, as the parsers read it.
void toWorkArea(const WideChar* text, char (&area)[kWorkAreaBytes]) noexcept {
  if (WideToANSI(area, text, kWorkAreaBytes) == nullptr) area[0] = '\0';
}

// atoi's reading of narrow text: leading white space, an optional sign, decimal digits up
// to the first other character. Saturates at [minimum, maximum].
long long parseInteger(const char* p, long long minimum, long long maximum) noexcept {
  while (isSpace(*p)) ++p;
  const bool negative = *p == '-';
  if (*p == '-' || *p == '+') ++p;
  // Accumulated as a negative number: its range holds the most negative value.
  long long value = 0;
  for (; isDigit(*p); ++p) {
    const int digit = *p - '0';
    if (value < (minimum + digit) / 10) {
      value = minimum;
      // Still saturated; the remaining digits cannot bring it back.
      for (; isDigit(*p); ++p) {
      }
      break;
    }
    value = value * 10 - digit;
  }
  if (negative) return value;
  if (value < -maximum) return maximum;
  return -value;
}

// atof's reading of narrow text, kept to decimal notation: leading white space, an optional
// sign, digits with an optional full stop (at least one digit), and an optional exponent
// ("e" or "E", an optional sign, digits). Anything else ends the number; no number gives 0.
double parseDouble(const char* p) noexcept {
  while (isSpace(*p)) ++p;
  const bool negative = *p == '-';
  if (*p == '-' || *p == '+') ++p;
  const char* const start = p;

  // Where the first significant digit sits relative to the full stop, to tell overflow
  // from underflow when the value is out of range.
  long long leadExponent = 0;
  bool seenSignificant = false;
  std::size_t digitCount = 0;
  for (; isDigit(*p); ++p, ++digitCount) {
    if (seenSignificant) {
      ++leadExponent;
    } else if (*p != '0') {
      seenSignificant = true;
    }
  }
  if (*p == '.') {
    ++p;
    for (; isDigit(*p); ++p, ++digitCount) {
      if (seenSignificant) continue;
      --leadExponent;
      if (*p != '0') seenSignificant = true;
    }
  }
  if (digitCount == 0) return 0.0;

  long long exponent = 0;
  if (*p == 'e' || *p == 'E') {
    const char* q = p + 1;
    const bool negativeExponent = *q == '-';
    if (*q == '-' || *q == '+') ++q;
    if (isDigit(*q)) {
      for (; isDigit(*q); ++q) {
        if (exponent < 100000000) exponent = exponent * 10 + (*q - '0');
      }
      if (negativeExponent) exponent = -exponent;
      p = q;
    }
  }

  double value = 0.0;
  const auto result = std::from_chars(start, p, value, std::chars_format::general);
  if (result.ec == std::errc::result_out_of_range) {
    value = seenSignificant && leadExponent + exponent > 0 ? std::numeric_limits<double>::infinity()
                                                           : 0.0;
  } else if (result.ec != std::errc()) {
    value = 0.0;
  }
  return negative ? -value : value;
}

}  // namespace

WideChar* FTOA(double value, WideChar* dst, int capacity) {
  if (dst == nullptr || capacity < 1) return nullptr;
  // "%f" of the largest double takes 316 characters, so the work area always holds it.
  char area[kWorkAreaBytes];
  const auto result = std::to_chars(area, area + sizeof(area), value, std::chars_format::fixed, 6);
  const std::size_t length =
      result.ec == std::errc() ? static_cast<std::size_t>(result.ptr - area) : 0;
  return mlib::detail::placeAscii(dst, area, length, capacity);
}

WideChar* ITOA(int value, int /*unused*/, WideChar* dst, int capacity) {
  return placeDecimal(value, dst, capacity);
}

WideChar* I64TOA(long long value, WideChar* dst, int capacity) {
  return placeDecimal(value, dst, capacity);
}

int ATOI(const WideChar* text) {
  if (text == nullptr) return 0;
  char area[kWorkAreaBytes];
  toWorkArea(text, area);
  return static_cast<int>(parseInteger(area, INT_MIN, INT_MAX));
}

long long ATOI64(const WideChar* text) {
  if (text == nullptr) return 0;
  char area[kWorkAreaBytes];
  toWorkArea(text, area);
  return parseInteger(area, LLONG_MIN, LLONG_MAX);
}

double ATOF(const WideChar* text) {
  if (text == nullptr) return 0.0;
  char area[kWorkAreaBytes];
  toWorkArea(text, area);
  return parseDouble(area);
}

bool IsNumber(const WideChar* text) {
  if (text == nullptr || text[0] == 0) return false;
  bool seenStop = false;
  std::size_t i = 0;
  for (; text[i] != 0; ++i) {
    const WideChar c = text[i];
    if (c == '.') {
      if (seenStop || i == 0) return false;
      seenStop = true;
    } else if (c < '0' || c > '9') {
      return false;
    }
  }
  return text[i - 1] != '.';
}

int HexCharToDecimal(WideChar c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return 0;
}
