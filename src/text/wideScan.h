// The vectorised scans behind every length and copy of wide text: the terminator search, a
// bounded copy and ASCII widening. Shared by String and the free text functions.
#ifndef MLIB_SRC_TEXT_WIDESCAN_H
#define MLIB_SRC_TEXT_WIDESCAN_H

#include <mlib/config.h>

#include <cstddef>

namespace mlib::detail {

// UTF-16 units before the terminator; 0 for null. Reads whole aligned blocks (16 to 128
// bytes), so it may look at bytes past the terminator but never past the page holding it.
[[nodiscard]] std::size_t wideLength(const WideChar* text) noexcept;
// As wideLength, but never counts past maxUnits: gives maxUnits when none of the first
// maxUnits units is the terminator (a buffer whose last slot was overwritten).
[[nodiscard]] std::size_t wideLengthBounded(const WideChar* text, std::size_t maxUnits) noexcept;
// Copies src to dst up to and including its terminator, but never more than maxUnits
// units; returns the units before the terminator, or maxUnits when none of the first
// maxUnits units is the terminator. dst must have room for maxUnits units; src may be any
// readable text (it is read like wideLengthBounded reads).
std::size_t copyWideText(WideChar* dst, const WideChar* src, std::size_t maxUnits) noexcept;
// As copyWideText, for a source whose first maxUnits units are all readable (a String's own
// buffer, bounded by its capacity). Reading within that bound needs no alignment, so the
// copy runs in whole unaligned vectors wherever the buffer starts, at memcpy's pace.
std::size_t copyWideTextWithin(WideChar* dst, const WideChar* src, std::size_t maxUnits) noexcept;
// Widens src[0, byteCount) byte for byte into dst while every byte is ASCII (below 0x80).
// False, with dst partly written, at the first byte that is not.
[[nodiscard]] bool widenAscii(WideChar* dst, const char* src, std::size_t byteCount) noexcept;

}  // namespace mlib::detail

#endif  // MLIB_SRC_TEXT_WIDESCAN_H
