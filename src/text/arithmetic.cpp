// Integer power and rounded division of <mlib/text.h>, both computed in double precision.
#include <mlib/text.h>

#include <climits>

namespace {

// Truncation toward zero of a double to 64 bits. A value outside the range (or not a
// number) gives the smallest 64-bit number, the "integer indefinite" value the Windows
// runtime's conversion produces there.
[[nodiscard]] long long truncateToInt64(double value) noexcept {
  constexpr double kTwoTo63 = 9223372036854775808.0;
  if (!(value < kTwoTo63 && value >= -kTwoTo63)) return LLONG_MIN;
  return static_cast<long long>(value);
}

// The value rounded to a 64-bit double. 32-bit x86 builds may keep intermediates in the
// x87's wider registers; the answers must be those of double arithmetic on every build.
[[nodiscard]] double asDouble(double value) noexcept {
  volatile double stored = value;
  return stored;
}

}  // namespace

long long Power(int base, int exponent) {
  if (base == 0) return 0;
  // The repeated product stays at +-1 for ever, or leaves the 64-bit range within 63 steps
  // and never comes back (every later result is the indefinite value), so huge exponents
  // are answered without running the loop out.
  if (base == 1) return 1;
  if (base == -1) return exponent <= 1 || exponent % 2 != 0 ? -1 : 1;
  constexpr double kTwoTo63 = 9223372036854775808.0;
  double product = base;
  for (int step = 1; step < exponent; ++step) {
    product = asDouble(product * base);
    if (product >= kTwoTo63 || product <= -kTwoTo63) return LLONG_MIN;
  }
  return truncateToInt64(product);
}

long long Divide(long long dividend, long long divisor) {
  if (divisor == 0) return 0;
  const double quotient =
      asDouble(asDouble(static_cast<double>(dividend)) / asDouble(static_cast<double>(divisor)));
  const long long truncated = truncateToInt64(quotient);
  const double whole = static_cast<double>(truncated);
  if (quotient > 0 && quotient - whole >= 0.5) return truncated + 1;
  if (quotient < 0 && whole - quotient >= 0.5) return truncated - 1;
  return truncated;
}
