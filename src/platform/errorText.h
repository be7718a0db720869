// The system's descriptive text for an error code, and the small wide formatter the short
// exception report renders with (the platform's own where it has one).
#ifndef MLIB_SRC_PLATFORM_ERRORTEXT_H
#define MLIB_SRC_PLATFORM_ERRORTEXT_H

#include <mlib/config.h>

namespace mlib::platform {

// The system's text for `code`, an error code of the kind lastError() returns, written to
// dst zero-terminated and cut to room - 1 units. Windows: FormatMessageW with
// FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM and language 0x400, the text
// unchanged (it ends in "\r\n"). POSIX: the C library's strerror_r text for the errno value,
// unchanged, read as UTF-8. Returns the units written, terminator excluded; 0 (and an empty
// dst) when the system has no text for the code. Nothing is written when dst is null or
// room is 0.
unsigned systemErrorText(int code, WideChar* dst, unsigned room) noexcept;

// The most units formatWide ever writes, terminator included (the Windows formatter's own
// limit).
constexpr unsigned kFormatWideLimit = 1024;

// wsprintfW: renders `format` into dst, at most min(room, kFormatWideLimit) units including
// the terminator, and returns the units written, terminator excluded. Callers use only %d
// (int), %s (a const WideChar*; a null pointer prints "(null)") and %%: Windows hands the
// work to wvsprintfW, and the POSIX formatter renders these exactly as it does. Returns 0,
// writing nothing, when dst or format is null or room is 0.
int formatWide(WideChar* dst, unsigned room, const WideChar* format, ...) noexcept;

}  // namespace mlib::platform

#endif  // MLIB_SRC_PLATFORM_ERRORTEXT_H
