/// \file
/// Build-wide definitions every public header relies on: the export marker, the library's
/// 16-bit wide character and the literal macro that spells wide text on every platform.
/// Valid C (C11) as well as C++, since <mlib/text.h> includes it.
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
/// Marks what the library exports: default visibility here (the library is built with hidden
/// visibility), dllexport/dllimport on Windows, nothing for a static library (MLIB_STATIC).
#define MLIB_API __attribute__((visibility("default")))
#endif

#if defined(_WIN32)
#include <stddef.h>
typedef wchar_t MlibWideChar;
#else
#ifndef __cplusplus
#include <uchar.h>
#endif
/// One UTF-16 unit: wchar_t on Windows, where it is 16 bits; char16_t elsewhere, where
/// wchar_t is 32 bits (char16_t is a keyword in C++ and a typedef of <uchar.h> in C: the same
/// 16-bit unsigned type, so C and C++ hosts see one ABI). The spelling C hosts use; C++
/// code says mlib::WideChar.
typedef char16_t MlibWideChar;
#endif

#ifdef __cplusplus
namespace mlib {

/// The library's text character: one UTF-16 unit (see MlibWideChar).
using WideChar = MlibWideChar;

}  // namespace mlib
#endif

#if defined(_WIN32)
#define MLIB_T(text) L##text
#else
/// Wide text literal of the library's character type: MLIB_T("abc") is L"abc" on Windows
/// and u"abc" elsewhere.
#define MLIB_T(text) u##text
#endif

#endif  // MLIB_CONFIG_H
