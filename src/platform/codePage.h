// Code page conversions: the stand-ins for MultiByteToWideChar and WideCharToMultiByte, and
// the library's ANSI code page.
#ifndef MLIB_SRC_PLATFORM_CODEPAGE_H
#define MLIB_SRC_PLATFORM_CODEPAGE_H

#include <mlib/config.h>

namespace mlib::platform {

// Code page identifiers the library passes.
constexpr unsigned kAnsiCodePage = 0;  // the library's ANSI code page
constexpr unsigned kUtf8CodePage = 65001;

// Error codes these functions leave for lastError() (the Win32 numbers on every platform).
constexpr int kErrorInsufficientBuffer = 122;
constexpr int kErrorInvalidParameter = 87;

// MultiByteToWideChar with flags 0. srcBytes = -1: src is zero-terminated and the
// terminator is converted and counted. dstUnits = 0: only counts the units needed.
// Otherwise writes at most dstUnits units and returns the number written; when the room
// runs out it returns 0 with lastError() = kErrorInsufficientBuffer, having written the
// units that fit. An unsupported code page or bad argument returns 0 with
// kErrorInvalidParameter.
[[nodiscard]] int multiByteToWide(unsigned codePage, const char* src, int srcBytes, WideChar* dst,
                                  int dstUnits) noexcept;

// WideCharToMultiByte with flags 0, no default character override and no used-default
// flag; the mirror of multiByteToWide. A character never lands split: when only part of a
// multi-byte character fits, none of it is written.
[[nodiscard]] int wideToMultiByte(unsigned codePage, const WideChar* src, int srcUnits, char* dst,
                                  int dstBytes) noexcept;

// The ANSI code page identifier code page 0 stands for.
[[nodiscard]] unsigned ansiCodePage() noexcept;

// Makes codePage the ANSI code page of the process. False, changing nothing, where the
// code page is not supported or the system owns the setting (Windows).
[[nodiscard]] bool setAnsiCodePage(unsigned codePage) noexcept;

// The bytes per UTF-16 unit that a buffer for ANSI text sized from a wide length must allow:
// 3 when the ANSI code page is UTF-8 (U+0800 and up), else 2, the most any single- or
// double-byte page writes for a unit. Every such buffer of the library is sized by it.
[[nodiscard]] inline unsigned ansiBytesPerWideUnit() noexcept {
  return ansiCodePage() == kUtf8CodePage ? 3 : 2;
}

}  // namespace mlib::platform

#endif  // MLIB_SRC_PLATFORM_CODEPAGE_H
