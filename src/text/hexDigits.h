// The hexadecimal digits behind the hex texts of <mlib/text.h> and String: bytes into digit
// pairs and digit pairs back into bytes, 16 bytes at a time where the processor has SSE2.
// Shared by the free functions and String's members.
#ifndef MLIB_SRC_TEXT_HEXDIGITS_H
#define MLIB_SRC_TEXT_HEXDIGITS_H

#include <mlib/config.h>

#include <cstddef>

namespace mlib::detail {

// Writes the two upper-case digits of each of count bytes, 2 * count units, no terminator.
void writeHexDigits(WideChar* dst, const unsigned char* bytes, std::size_t count) noexcept;

// Reads text[0, length) as unbroken digit pairs, from its start, into out: stops before the
// first 16 units that are not all digits or would fill out past room. Gives the units read
// (always even) and adds the bytes written to written; the caller goes on one unit at a
// time from there.
std::size_t readHexDigitPairs(const WideChar* text, std::size_t length, unsigned char* out,
                              std::size_t room, std::size_t& written) noexcept;

}  // namespace mlib::detail

#endif  // MLIB_SRC_TEXT_HEXDIGITS_H
