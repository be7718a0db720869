/// \file
/// mlib::String, the library's wide text: a zero-terminated buffer of UTF-16 units plus an
/// ANSI copy made on demand. Storage, construction, assignment, concatenation and conversion
/// come first, then search, editing and comparison, Format, and the number, radix and
/// byte-text conversions. The free copy and conversion helpers it rests on are <mlib/text.h>.
#ifndef MLIB_STRING_H
#define MLIB_STRING_H

#include <mlib/config.h>

#include <string>

namespace mlib {

class Byte;

namespace detail {
struct StringAccess;
}  // namespace detail

/// A value class of exactly two pointers: the wide buffer (null for a null string) and the
/// ANSI buffer last made by toAnsi (null when none). It keeps no length: operations that
/// need it scan for the terminator. Its capacity (getSize) is the number of UTF-16 units the
/// wide buffer was allocated for, terminator slot included; every rule below states it.
///
/// States: null (no buffer: IsNull and IsEmpty true), empty with a buffer (IsEmpty true), or
/// holding text. Null text pointers are accepted everywhere and mean "no text".
/// Not thread-safe: even the const conversions to ANSI replace the ANSI buffer inside.
/// Out of memory is reported by std::bad_alloc, as array new does.
class MLIB_API String {
 public:
  /// The working size (UTF-16 units) callers pass to AllocBuffer when they build a text in
  /// place, and the reserve Format adds to the length of its format.
  static constexpr unsigned BufferSize = 512;

  // ======== Storage, construction, assignment, concatenation, conversion ==============

  /// A null string.
  String() noexcept;
  /// Null when text is null or empty; otherwise a copy in a buffer of exactly length + 1.
  String(const WideChar* text);
  /// ANSI text to UTF-16. Null when text is null or empty; otherwise, with L its byte
  /// length, a buffer of capacity L + 1 (even where double-byte characters make the wide
  /// text shorter), zeros after the text. No ANSI buffer is kept.
  String(const char* text);
  String(const unsigned char* text);
  /// The other's wide text only, by the rule of String(const WideChar*): exact size, or null
  /// when the other is null or empty. The other's ANSI buffer is not copied.
  String(const String& other);
  /// Takes over both of the other's buffers exactly as they are (capacity included); the
  /// other becomes null.
  String(String&& other) noexcept;
  /// The characters of text taken as ANSI text, as String(const char*).
  String(const std::string& text);
  /// Decimal text of value in a buffer of 515 units (Format with "%d" / "%u").
  String(int value);
  String(unsigned int value);
  /// Decimal text of the whole 64-bit value, in a buffer of 515 units.
  String(long long value);
  String(unsigned long long value);
  /// Fixed-point text with six decimals (as Format "%f"), then cut (not rounded) to `places`
  /// decimals; places = 0 drops the full stop too; a negative places keeps all six.
  /// Capacity 515.
  String(double value, int places);
  /// As String(double(value), places), but in a buffer of exactly length + 1.
  String(float value, int places);
  /// Releases both buffers.
  ~String();

  /// Releases both buffers; the string becomes null and may be used again.
  void ReleaseBuffer() noexcept;
  /// Drops any text and both buffers, then gives a zero-filled buffer of n + 1 units and
  /// returns it; the caller may write up to n units.
  WideChar* AllocBuffer(unsigned n);
  /// Address of unit i of the wide buffer, unchecked (i may lie past the capacity); null for
  /// a null string.
  WideChar* GetBuffer(unsigned i) const noexcept;
  /// On a null string, AllocBuffer(n). Otherwise a new zero-filled buffer of n + 1 units
  /// holding the first min(length, n) units of the text; the capacity may shrink or grow.
  /// The ANSI buffer is kept as it was. Returns the new buffer.
  WideChar* ResizeBuffer(unsigned n);
  /// Zero-fills the whole buffer, keeping it and its capacity; the string becomes empty.
  /// Nothing for a null string.
  void ResetBuffer() noexcept;

  /// Central assignment. Null text clears the buffer (a null string stays null). Empty text
  /// leaves a null string null. Text that fits (capacity > length) reuses the buffer, zeros
  /// after the text, ANSI buffer kept; otherwise both buffers are released and a buffer of
  /// exactly length + 1 is taken. Text lying inside this string's own buffer is copied as it
  /// stood before the assignment.
  String& operator=(const WideChar* text);
  /// Self-assignment does nothing; otherwise operator=(other's wide buffer).
  String& operator=(const String& other);
  /// Takes over both of the other's buffers exactly as they are; the other becomes null.
  String& operator=(String&& other) noexcept;
  /// ANSI text converted to UTF-16, then operator=(const WideChar*); null or empty text
  /// empties the string.
  String& operator=(const char* text);
  String& operator=(const std::string& text);
  /// The one-unit text c (c = 0 assigns empty text).
  String& operator=(WideChar c);
  /// The number's text as Format gives it ("%d", "%u", "%f"): a buffer of more than 514
  /// units is kept, a smaller one replaced by one of 515. The ANSI buffer is kept.
  String& operator=(int value);
  String& operator=(unsigned int value);
  String& operator=(double value);

  /// A new string of this text followed by text, in a buffer of exactly the sum + 1 (null
  /// when both are empty). A null text gives a copy of this string.
  String operator+(const WideChar* text) const;
  String operator+(const String& other) const;
  /// As above with ANSI text converted first.
  String operator+(const char* text) const;
  String operator+(const std::string& text) const;
  String operator+(WideChar c) const;

  /// Appends in place when capacity - length > length of text (zeros after the new text,
  /// nothing allocated, ANSI buffer kept); otherwise re-allocates to exactly the sum + 1 and
  /// drops the ANSI buffer. A null text does nothing.
  String& operator+=(const WideChar* text);
  String& operator+=(const String& other);
  String& operator+=(const char* text);
  String& operator+=(const std::string& text);
  String& operator+=(WideChar c);

  /// The wide buffer itself (null for a null string), borrowed: valid until the string
  /// changes. Three names, one operation.
  operator WideChar*() const noexcept;
  WideChar* toUnicode() const noexcept;
  const WideChar* toString() const noexcept;
  /// The text in the ANSI code page, in a buffer of 2 x length + 1 bytes that the string
  /// owns: it replaces (and frees) the one the previous call returned and lives until the
  /// next toAnsi, an operation that drops it, or destruction. Null for a null string.
  char* toAnsi() const;
  operator char*() const;
  /// toAnsi's text as a standard string; empty for a null string.
  operator std::string() const;
  /// UTF-16 units before the terminator; 0 for a null string.
  int GetLength() const noexcept;
  /// Byte length of the ANSI buffer's text when there is one (it may describe older text);
  /// otherwise makes it with toAnsi and measures it. 0 for a null string.
  int GetAnsiLength() const;
  /// True for a null string and for empty text.
  bool IsEmpty() const noexcept;
  /// True exactly when there is no wide buffer.
  bool IsNull() const noexcept;
  /// True when this string has a buffer, the other text is not null (has a buffer) and both
  /// texts are unit for unit the same. A null string equals nothing, not even a null string.
  bool operator==(const WideChar* text) const noexcept;
  bool operator==(const String& other) const noexcept;

  // ======== Search and substrings =====================================================
  // Positions are zero-based UTF-16 unit indexes; "not found" is -1 or a null pointer.
  // Counted and numbered occurrences never overlap.

  /// Index of the first / last unit equal to c; -1 for a null or empty string or when
  /// absent (c = 0 is never found). Find and IndexOf are one operation.
  int Find(WideChar c) const;
  int IndexOf(WideChar c) const;
  int FindLast(WideChar c) const;

  /// Pointer into this buffer at the first occurrence of text (forward linear search); null
  /// when this string or text is null or there is none. Empty text is found at 0.
  WideChar* Find(const WideChar* text) const;
  /// Pointer at the start of the last occurrence of text; null when this string is null or
  /// empty, text is null, or there is none.
  WideChar* FindLast(const WideChar* text) const;
  /// A new string of the rest of this text from the first / last occurrence of other's
  /// text; null when there is none.
  String Find(const String& other) const;
  String FindLast(const String& other) const;
  /// Index of the pointer Find / FindLast gives; -1 when it gives null.
  int IndexOf(const WideChar* text) const;
  int IndexOf(const String& other) const;
  int IndexOfLast(const WideChar* text) const;
  int IndexOfLast(const String& other) const;
  /// Index of occurrence number n (from 0, non-overlapping, n < 1 means the first); -1 when
  /// this string is null or there are not enough occurrences. Null or empty text gives -1.
  int IndexOfSubString(const String& other, int n) const;
  int IndexOfSubString(const WideChar* text, int n) const;
  /// Number of non-overlapping occurrences; 0 when this string is null or text is null or
  /// empty.
  int GetCountOfSubString(const String& other) const;
  int GetCountOfSubString(const WideChar* text) const;

  /// The first min(length, n) units, in a buffer of that count + 1 (n = 0 gives an empty,
  /// non-null string); null for a null string.
  String Left(unsigned n) const;
  /// The last min(length, n) units, exact size; null for a null string, n = 0 or empty text.
  String Right(unsigned n) const;
  /// Units first..last, both included, clamped to the text; null when this string is null or
  /// last < first.
  String GetSubString(int first, int last) const;
  /// The text between separator occurrence `from` and occurrence `to` (numbered from 0);
  /// with from = to = k, field k. Null when from > to. A null separator gives the whole text.
  String GetSubStringBySplit(const WideChar* separator, int from, int to) const;

  // ======== Editing, comparison and element access ====================================
  // Blank means U+0020 only; case knows only ASCII letters.

  /// Removes leading and trailing spaces in place; buffer and capacity stay.
  void Trim();
  void TrimLeft();
  void TrimRight();
  /// 'a'-'z' to 'A'-'Z' / 'A'-'Z' to 'a'-'z'; every other unit unchanged.
  void MakeUpper();
  void MakeLower();
  /// Reverses the order of the UTF-16 units in place.
  void Reverse();
  /// Replaces the first occurrence of oldText by newText in a buffer of exactly the new
  /// length + 1, dropping the ANSI buffer. False, changing nothing, when this string or an
  /// argument is null or oldText does not occur. Empty oldText inserts newText at the front.
  bool ReplaceFirst(const WideChar* oldText, const WideChar* newText);
  /// ReplaceFirst until it returns false (each pass searches from the start), with the same
  /// result. Refused, leaving the string as it was, only for: an empty oldText or a newText
  /// containing oldText (these never end); a run of more than 2^24 + 64 x L passes, or one
  /// that makes a text longer than max(2^24, 64 x L) units (L: the starting length; never
  /// past the longest text a String holds); memory that cannot be had.
  void Replace(const WideChar* oldText, const WideChar* newText);
  /// Appends / prepends carriage return, line feed.
  void AppendNewLineAtBack();
  void AppendNewLineAtFront();

  /// -1 when this string or text is null; otherwise shorter is smaller (-1 / 1), and equal
  /// lengths compare unit by unit as unsigned 16-bit numbers; 0 when equal.
  int Compare(const WideChar* text) const;
  int Compare(const String& other) const;
  /// As Compare, units compared with CompareCharNoCase.
  int CompareNoCase(const WideChar* text) const;
  int CompareNoCase(const String& other) const;
  /// 0 when a and b are equal or exactly 32 apart; otherwise -1 / 1 (unsigned 16-bit order
  /// for wide units, signed order for chars).
  static int CompareCharNoCase(WideChar a, WideChar b);
  static int CompareCharNoCase(char a, char b);
  /// Prefix / suffix test. False for a null text or when this string is shorter; true for
  /// empty text. noCase: StartWith uses the 32 rule, EndWith a case-insensitive comparison.
  bool StartWith(const WideChar* text, bool noCase) const;
  bool EndWith(const WideChar* text, bool noCase) const;

  /// Unit i for i < capacity (the terminator slot and beyond included). Outside it, or on a
  /// null string, throws MxBaseException by value (code -4, level 3); the string is unchanged.
  WideChar& operator[](unsigned i);
  /// The same, for an int index taken as unsigned (a negative one throws). Without it, s[3]
  /// would be ambiguous with the built-in index through operator WideChar*() on 32-bit hosts.
  WideChar& operator[](int i) { return (*this)[static_cast<unsigned>(i)]; }
  /// Unit i for i (as unsigned) < capacity - 1; 0 otherwise.
  WideChar GetAt(int i) const;
  /// Writes unit i for i (as unsigned) < capacity - 1; does nothing otherwise.
  void SetAt(int i, WideChar c);

  // ======== Formatting ================================================================

  /// Replaces the text by format with its conversions filled in from the arguments:
  ///   %d int as signed decimal        %u int as unsigned decimal
  ///   %x %X low 8 bits of an int, lower / upper hexadecimal without leading zeros
  ///   %f double, fixed-point with six decimals and a full stop (whatever the C locale)
  ///   %t an int whose bits are a float, printed as %f
  ///   %c low 8 bits of an int as one unit (bytes >= 0x80 sign-extended: U+FF80-U+FFFF)
  ///   %s const WideChar* text (null gives nothing)
  /// Any other character after '%', a final '%', and "%%" are copied as text (the '%' alone,
  /// the scan going on with the next character). No flags, widths or precisions.
  /// Buffer: with need = length of format + 512, a buffer of capacity > need is kept and
  /// cleared, else replaced by one of need + 1; it grows by limit = k + 2 x limit while
  /// pieces do not fit, keeping its text. The ANSI buffer is left as it was. A null format
  /// changes nothing. A format or %s text inside this string's own buffer is read as it
  /// stood when Format was called.
  void Format(const WideChar* format, ...);

  // ======== Numbers, radix and byte text ==============================================

  /// ATOI of the text (0 for a null string). Four names, one operation.
  int toInt() const;
  int toInt32() const;
  unsigned toUint() const;
  unsigned toUint32() const;
  /// ATOI64 of the text; two names.
  long long toInt64() const;
  unsigned long long toUint64() const;
  /// ATOF of the text; 0.0 for a null string.
  double toDouble() const;

  /// Each base conversion exists as a static function of a source string and as a member
  /// applying it to this string.
  /// Decimal text -> binary digits of the 32-bit value, left-padded with '0' to a multiple
  /// of 8.
  static String DecimalToBinary(const String& s);
  String DecimalToBinary() const;
  /// Binary digits -> signed decimal text ("0" for null or empty).
  static String BinaryToDecimal(const String& s);
  String BinaryToDecimal() const;
  /// Binary digits -> upper-case hexadecimal, one digit per group of four; null for null or
  /// empty.
  static String BinaryToHex(const String& s);
  String BinaryToHex() const;
  /// Hexadecimal digits -> four binary digits each, other characters skipped; null when no
  /// digit.
  static String HexToBinary(const String& s);
  String HexToBinary() const;
  /// BinaryToHex(DecimalToBinary(s)): an even number of digits.
  static String DecimalToHex(const String& s);
  String DecimalToHex() const;
  /// Hexadecimal digits -> signed decimal text of the 32-bit value; null for null or empty.
  static String HexToDecimal(const String& s);
  String HexToDecimal() const;

  /// Replaces the text by the upper-case hexadecimal text of n bytes ("0AFF", or "0A FF "
  /// when spaced).
  void ByteDataToHexString(const unsigned char* data, unsigned n, bool spaced);
  void ByteDataToHexString(const Byte& bytes, bool spaced);
  /// A new string with that text.
  static String ByteToHexString(const unsigned char* data, unsigned n, bool spaced);
  /// Hexadecimal text of the bytes of toAnsi (which refreshes the ANSI buffer), unspaced,
  /// exact size; null for a null string.
  String ToHexString() const;
  /// Pairs this text's hexadecimal digits into at most size bytes at out; returns the count
  /// written.
  int HexStringToByteData(unsigned char* out, unsigned size);
  /// The bytes this text's hexadecimal digits encode, in a Byte of capacity length.
  Byte HexStringToByteData();
  /// The zero-terminated UTF-8 text at data as UTF-16, cut to n units; null for null data or
  /// empty result.
  static String FromUtf8(const unsigned char* data, unsigned n);
  static String FromUtf8(const char* text);
  /// UTF-8 bytes of s formed through the ANSI code page; empty for a null or empty s.
  static Byte ToUtf8(const String& s);

 protected:
  /// Part of the class's interface for derived classes; nothing in the class limits output by it.
  static constexpr unsigned MAX_FORMAT_SIZE = 1024;

 private:
  friend struct detail::StringAccess;

  /// Capacity of the wide buffer in UTF-16 units, terminator slot included; 0 when null.
  unsigned getSize() const noexcept;
  /// Fills next[0, length of pattern) with the pattern's failure table (next[0] = -1).
  /// Nothing when pattern or next is null or pattern is empty.
  static void getNextArray(const WideChar* pattern, int* next);

  WideChar* buffer_;    ///< the text, zero-terminated; null for a null string
  mutable char* ansi_;  ///< the last toAnsi result, owned; null when none
};

}  // namespace mlib

#endif  // MLIB_STRING_H
