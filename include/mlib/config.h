// Build-wide definitions every public header relies on: the export marker, the library's
// 16-bit wide character and the literal macro that spells wide text on every platform.
// Valid C (C11) as well as C++, since <mlib/text.h> includes it.
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

// One UTF-16 unit. Windows' own wide character is already 16 bits; elsewhere wchar_t is
// 32 bits wide, so the library uses char16_t there (a keyword in C++, a typedef of
// <uchar.h> in C: the same 16-bit unsigned type, so C and C++ hosts see one ABI).
// MlibWideChar is the spelling C hosts use; C++ code says mlib::WideChar.
#if defined(_WIN32)
#include <stddef.h>
typedef wchar_t MlibWideChar;
#else
#ifndef __cplusplus
#include <uchar.h>
#endif
typedef char16_t MlibWideChar;
#endif

#ifdef __cplusplus
namespace mlib {

using WideChar = MlibWideChar;

}  // namespace mlib
#endif

// Wide text literal of the library's character type: MLIB_T("abc").
#if defined(_WIN32)
#define MLIB_T(text) L##text
#else
#define MLIB_T(text) u##text
#endif

#endif  // MLIB_CONFIG_H
