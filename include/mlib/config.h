// Build-wide definitions every public header relies on: the export marker, the library's
// 16-bit wide character and the literal macro that spells wide text on every platform.
#ifndef MLIB_CONFIG_H
#define MLIB_CONFIG_H

#if defined(_WIN32)
#if defined(MLIB_BUILDING)
#define MLIB_API __declspec(dllexport)
#elif defined(MLIB_STATIC)
#define MLIB_API
#else
#define MLIB_API __declspec(dllimport)
#endif
#else
#define MLIB_API __attribute__((visibility("default")))
#endif

namespace mlib {

// One UTF-16 unit. Windows' own wide character is already 16 bits; elsewhere wchar_t is
// 32 bits wide, so the library uses char16_t there.
#if defined(_WIN32)
using WideChar = wchar_t;
#else
using WideChar = char16_t;
#endif

}  // namespace mlib

// Wide text literal of the library's character type: MLIB_T("abc").
#if defined(_WIN32)
#define MLIB_T(text) L##text
#else
#define MLIB_T(text) u##text
#endif

#endif  // MLIB_CONFIG_H
