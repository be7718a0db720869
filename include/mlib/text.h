/// \file
/// The free text and number helpers: copies and conversions between the ANSI code page,
/// UTF-8 and UTF-16 into caller-owned buffers, number text, hexadecimal text, string hashes,
/// an integer sort and two process queries. Plain C names, usable from any language; the
/// header is valid C11 as well as C++17 (C hosts spell the wide character MlibWideChar).
///
/// Conventions shared by every function here:
///   - a capacity counts destination elements including the terminator (bytes for narrow
///     and UTF-8 destinations, UTF-16 units for wide ones);
///   - destinations are zero-filled first; text that does not fit is cut to capacity - 1
///     elements and stays terminated; nothing reports that it cut;
///   - null pointers are accepted and give a null result without touching anything;
///   - a capacity below 1 writes nothing: the copies, the conversions and the number texts
///     return null; U82T, T2U8, GetCurrentPath, ByteToHexString and ByteToHex return their
///     destination untouched (docs/text.md has the full list).
/// "ANSI" is the library's ANSI code page: the system's on Windows; on other platforms a
/// process-wide setting (default 1252, MLIB_ANSI_CODEPAGE in the environment, or
/// SetAnsiCodePage below).
#ifndef MLIB_TEXT_H
#define MLIB_TEXT_H

#include <mlib/config.h>

#ifndef __cplusplus
#include <stdbool.h>
#endif

#ifdef __cplusplus
extern "C" {
#endif

// ---- Copies, no conversion ------------------------------------------------------------

/// Copies min(count, limit) bytes when both pointers are non-null. Returns dst always.
MLIB_API void* Memcpy(void* dst, const void* src, unsigned count, unsigned limit);

/// Copies at most n units of src (n < capacity) or capacity - 1 units (otherwise), stopping
/// at src's terminator, then terminates. The rest of dst is not touched.
MLIB_API MlibWideChar* StrCpyN(MlibWideChar* dst, const MlibWideChar* src, int n, int capacity);

/// Zero-fills capacity units of dst, then copies min(length of src, capacity - 1) units.
MLIB_API MlibWideChar* StrCpyT(MlibWideChar* dst, const MlibWideChar* src, int capacity);
/// Same result as StrCpyT.
MLIB_API MlibWideChar* StrCpyW(MlibWideChar* dst, const MlibWideChar* src, int capacity);
/// Zero-fills capacity bytes of dst, then copies min(length of src, capacity - 1) bytes.
MLIB_API char* StrCpyA(char* dst, const char* src, int capacity);

/// Copy exactly byteCount bytes unchanged (no conversion, no terminator). One function under
/// four names.
MLIB_API void* a2t(void* dst, const void* src, int byteCount);
MLIB_API void* a2w(void* dst, const void* src, int byteCount);
MLIB_API void* t2a(void* dst, const void* src, int byteCount);
MLIB_API void* w2a(void* dst, const void* src, int byteCount);

/// Exactly StrCpyW, under two names.
MLIB_API MlibWideChar* t2w(MlibWideChar* dst, const MlibWideChar* src, int capacity);
MLIB_API MlibWideChar* w2t(MlibWideChar* dst, const MlibWideChar* src, int capacity);

/// Zero-fill and bounded copy; null for a null pointer or capacity < 1. Two names.
MLIB_API MlibWideChar* StrT2W(MlibWideChar* dst, const MlibWideChar* src, int capacity);
MLIB_API MlibWideChar* StrW2T(MlibWideChar* dst, const MlibWideChar* src, int capacity);

// ---- Conversions into a caller's buffer -----------------------------------------------

/// ANSI -> UTF-16. Zero-fills capacity units; the result is the first min(k - 1, capacity - 1)
/// converted units (k = units the whole text needs, terminator included), terminated.
MLIB_API MlibWideChar* ANSIToWide(MlibWideChar* dst, const char* src, int capacity);
/// UTF-16 -> ANSI, the mirror of ANSIToWide (capacity in bytes). Characters the code page
/// cannot hold become its best-fit look-alike or its default character.
MLIB_API char* WideToANSI(char* dst, const MlibWideChar* src, int capacity);

/// UTF-8 -> UTF-16 into at most capacity units. Invalid input becomes U+FFFD. Text that does
/// not fit is cut and terminated.
MLIB_API MlibWideChar* Utf8ToWide(MlibWideChar* dst, const char* src, int capacity);
/// UTF-16 -> UTF-8 into at most capacity bytes; an unpaired surrogate becomes U+FFFD. Text
/// that does not fit is cut (never inside a character) and terminated.
MLIB_API char* WideToUtf8(char* dst, const MlibWideChar* src, int capacity);
/// UTF-8 -> ANSI through a temporary of capacity UTF-16 units.
MLIB_API char* Utf8ToANSI(char* dst, const char* src, int capacity);
/// ANSI -> UTF-8 through a temporary of capacity UTF-16 units; a null src counts as empty.
MLIB_API char* ANSIToUtf8(char* dst, const char* src, int capacity);

/// Checked forms: null for a null pointer or capacity < 1, otherwise the conversion above.
MLIB_API MlibWideChar* StrA2W(MlibWideChar* dst, const char* src, int capacity);
MLIB_API MlibWideChar* StrA2T(MlibWideChar* dst, const char* src, int capacity);
MLIB_API char* StrW2A(char* dst, const MlibWideChar* src, int capacity);
MLIB_API char* StrT2A(char* dst, const MlibWideChar* src, int capacity);
MLIB_API char* U82A(char* dst, const char* src, int capacity);
MLIB_API char* A2U8(char* dst, const char* src, int capacity);

/// UTF-8 -> UTF-16 and back through the ANSI code page: only characters the code page holds
/// survive the trip. U82T with a capacity below 1 returns dst untouched.
MLIB_API MlibWideChar* U82T(MlibWideChar* dst, const char* src, int capacity);
MLIB_API char* T2U8(char* dst, const MlibWideChar* src, int capacity);

// ---- Re-sizing: the only functions that allocate for the caller -----------------------

/// New zero-filled buffer of newCapacity elements (array new) holding the old text, cut to
/// newCapacity - 1; the old buffer (which must come from array new) is deleted. A null
/// buffer or a newCapacity of 0 returns the argument unchanged.
MLIB_API char* ResizeBufferA(char* buffer, unsigned newCapacity);
MLIB_API MlibWideChar* ResizeBufferT(MlibWideChar* buffer, unsigned newCapacity);
MLIB_API MlibWideChar* ResizeBufferW(MlibWideChar* buffer, unsigned newCapacity);

// ---- The ANSI code page ---------------------------------------------------------------

/// The code page the "ANSI" functions use. On Windows, the system's active code page.
MLIB_API unsigned GetAnsiCodePage(void);
/// Makes codePage the ANSI code page for the whole process (thread-safe). False, leaving the
/// current one, for a code page the library does not support, and always on Windows.
MLIB_API bool SetAnsiCodePage(unsigned codePage);

// ---- Number text ----------------------------------------------------------------------

/// Fixed notation with six decimals ("%f", always a full stop), placed as ANSIToWide does.
MLIB_API MlibWideChar* FTOA(double value, MlibWideChar* dst, int capacity);
/// Decimal text of value. `unused` is never read.
MLIB_API MlibWideChar* ITOA(int value, int unused, MlibWideChar* dst, int capacity);
MLIB_API MlibWideChar* I64TOA(long long value, MlibWideChar* dst, int capacity);
/// Leading white space, an optional sign, decimal digits up to the first other character;
/// at most 511 ANSI bytes are read; no digits or null text give 0. Saturates on overflow.
MLIB_API int ATOI(const MlibWideChar* text);
MLIB_API long long ATOI64(const MlibWideChar* text);
/// As ATOI, reading a decimal floating-point number; null text gives 0.0.
MLIB_API double ATOF(const MlibWideChar* text);

/// True for non-empty text of digits 0-9 with at most one full stop that is neither first
/// nor last.
MLIB_API bool IsNumber(const MlibWideChar* text);
/// 0-9, A-F, a-f give 0 to 15; any other character gives 0.
MLIB_API int HexCharToDecimal(MlibWideChar c);

// ---- Hexadecimal text of bytes --------------------------------------------------------

/// Upper-case digits of `count` bytes into a wide destination; a digit is written only when
/// it leaves room for the terminator, so a cut can fall between two digits. With spaced,
/// each byte is followed by one space.
MLIB_API MlibWideChar* ByteToHexString(const unsigned char* bytes, int count, MlibWideChar* dst,
                                       unsigned capacity, bool spaced);
/// The narrow form: whole bytes only ("0A" or "0A "). Null when bytes or dst is null.
MLIB_API char* ByteToHex(const unsigned char* bytes, unsigned count, char* dst, unsigned capacity,
                         bool spaced);
/// Pairs the hexadecimal digits of text into bytes (other characters are skipped; a lone
/// last digit makes a byte of its own). Returns the number of bytes written (at most
/// capacity).
MLIB_API int HexStringToByte(const MlibWideChar* text, unsigned char* out, int capacity);

// ---- Arithmetic -----------------------------------------------------------------------

/// base multiplied by itself exponent - 1 times in double precision; an exponent <= 1 gives
/// base itself; base 0 gives 0.
MLIB_API long long Power(int base, int exponent);
/// dividend / divisor rounded to the nearest integer, halves away from zero; 0 for a zero
/// divisor.
MLIB_API long long Divide(long long dividend, long long divisor);

// ---- Hashes (null text gives -1) ------------------------------------------------------

/// The 131 hash of the bytes of text: h = h * 131 + byte (signed), kept to 31 bits.
MLIB_API int GetStringHashCode(const char* text);
/// GetStringHashCode of the text converted to the ANSI code page.
MLIB_API int GetStringHashCodeT(const MlibWideChar* text);
MLIB_API int GetStringHashCodeA(const char* text);
MLIB_API int GetStringHashCodeB(const char* text);

// ---- Sorting and process queries ------------------------------------------------------

/// Sorts values[lo..hi] (inclusive) ascending, in place. Not stable.
MLIB_API void QuickSort(int* values, int lo, int hi);
/// The folder of the running program's executable, with its trailing separator.
MLIB_API MlibWideChar* GetCurrentPath(MlibWideChar* dst, int capacity);
/// Physical memory in use (total minus available), in MiB.
MLIB_API float GetMemory(void);

#ifdef __cplusplus
}  // extern "C"
#endif

#endif  // MLIB_TEXT_H
