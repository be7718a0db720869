// Arbitrary texts through String's search, split, replace and editing operations. The
// searches are checked against a plain scan; everything else must simply stay in bounds
// and leave a terminated text. Then a string whose last slot holds a unit (no terminator)
// goes through operations the input picks, its last slot written again along the way: every
// read must stop at the capacity.
#include <mlib/byte.h>
#include <mlib/string.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "string/storage.h"

namespace {

using mlib::String;
using mlib::WideChar;
using mlib::detail::StringAccess;

// Small alphabet: occurrences are frequent, so the searches are really exercised.
std::vector<WideChar> textOf(const std::uint8_t* data, std::size_t size) {
  std::vector<WideChar> text;
  for (std::size_t i = 0; i < size; ++i) text.push_back(static_cast<WideChar>(u'a' + data[i] % 3));
  text.push_back(0);
  return text;
}

int naiveIndexOf(const std::vector<WideChar>& text, const std::vector<WideChar>& pattern) {
  const std::size_t n = text.size() - 1, m = pattern.size() - 1;
  if (m > n) return -1;
  for (std::size_t i = 0; i + m <= n; ++i) {
    std::size_t j = 0;
    while (j < m && text[i + j] == pattern[j]) ++j;
    if (j == m) return static_cast<int>(i);
  }
  return -1;
}

int naiveIndexOfLast(const std::vector<WideChar>& text, const std::vector<WideChar>& pattern) {
  const std::size_t n = text.size() - 1, m = pattern.size() - 1;
  if (m > n) return -1;
  for (std::size_t i = n - m + 1; i-- > 0;) {
    std::size_t j = 0;
    while (j < m && text[i + j] == pattern[j]) ++j;
    if (j == m) return static_cast<int>(i);
  }
  return -1;
}

// Writes unit c into the last slot of s's buffer, leaving it without a terminator.
void fillLastSlot(String& s, WideChar c) {
  const unsigned capacity = StringAccess::capacity(s);
  if (capacity != 0) s[capacity - 1] = c;
}

// Length and capacity agree: the text never counts past the buffer.
void checkBounded(const String& s) {
  if (static_cast<unsigned>(s.GetLength()) > StringAccess::capacity(s)) __builtin_trap();
}

// Operations picked by the bytes of `script`, on a string whose last slot is full; the
// results must match those on a terminated copy of the same text where they do not depend
// on the capacity.
void runOnFullString(String& s, const std::uint8_t* script, std::size_t size) {
  const WideChar unitOf[] = {MLIB_T('a'), MLIB_T('b'), MLIB_T('c'), MLIB_T(' '), MLIB_T('1')};
  String other(MLIB_T("ab"));
  for (std::size_t i = 0; i < size && i < 64; ++i) {
    const WideChar unit = unitOf[script[i] / 16 % 5];
    // Keeps the texts small: appends of one to the other would otherwise double them.
    if (s.GetLength() > 4096) s = s.Left(64);
    if (other.GetLength() > 4096) other = MLIB_T("ab");
    // A terminated copy of the text, made through the bounded length; the comparisons below
    // are made only where the text is not empty (an empty text copies to a null string).
    const bool comparable = !s.IsEmpty();
    String same;
    if (comparable) same = std::basic_string<WideChar>(s.toString(), s.GetLength()).c_str();
    switch (script[i] % 16) {
      case 0:
        fillLastSlot(s, unit);
        break;
      case 1: {
        String t(s);
        if (comparable && !(t == same)) __builtin_trap();
        break;
      }
      case 2:
        other = s;
        if (comparable && !(other == same)) __builtin_trap();
        break;
      case 3:
        other += s;
        fillLastSlot(other, unit);
        break;
      case 4:
        s += other;
        break;
      case 5: {
        const String sum = s + other;
        checkBounded(sum);
        break;
      }
      case 6:
        if (comparable && s.Compare(other) != same.Compare(other)) __builtin_trap();
        break;
      case 7:
        if (comparable && other.Compare(s) != other.Compare(same)) __builtin_trap();
        break;
      case 8:
        if (comparable && s.IndexOf(other) != same.IndexOf(other)) __builtin_trap();
        break;
      case 9:
        if (comparable && s.EndWith(MLIB_T("a"), (script[i] & 32) != 0) !=
                              same.EndWith(MLIB_T("a"), (script[i] & 32) != 0))
          __builtin_trap();
        break;
      case 10:
        if (comparable && (s.toInt() != same.toInt() || s.toInt64() != same.toInt64()))
          __builtin_trap();
        break;
      case 11: {
        const String hex = s.ToHexString();
        checkBounded(hex);
        (void)s.toDouble();
        break;
      }
      case 12:
        // «ab» -> «bba» doubles the b's for every a in front of them, up to Replace's limit
        // of 2^24 units: only on texts short enough to stay small.
        s.Replace(MLIB_T("ab"),
                  (script[i] & 16) != 0 && s.GetLength() <= 16 ? MLIB_T("bba") : MLIB_T("b"));
        break;
      case 13:
        s.Trim();
        s.MakeUpper();
        s.Reverse();
        break;
      case 14: {
        unsigned char out[16];
        (void)s.HexStringToByteData(out, sizeof out);
        (void)s.HexStringToByteData();
        break;
      }
      default: {
        const String r = s.Right(3), f = s.Find(other), l = s.FindLast(other);
        (void)s.GetCountOfSubString(other);
        (void)s.IndexOfSubString(other, 1);
        (void)s.GetAnsiLength();
        checkBounded(r);
        checkBounded(f);
        checkBounded(l);
        break;
      }
    }
    checkBounded(s);
    checkBounded(other);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 3) return 0;
  const std::size_t patternSize = data[0] % 6 + 1;
  const int from = static_cast<std::int8_t>(data[1]) % 8;
  const int to = static_cast<std::int8_t>(data[2]) % 8;
  data += 3;
  size -= 3;
  if (patternSize > size) return 0;

  const std::vector<WideChar> pattern = textOf(data, patternSize);
  const std::vector<WideChar> text = textOf(data + patternSize, size - patternSize);

  String s(text.data());
  if (text.size() > 1) {
    if (s.IndexOf(pattern.data()) != naiveIndexOf(text, pattern)) __builtin_trap();
    if (s.IndexOfLast(pattern.data()) != naiveIndexOfLast(text, pattern)) __builtin_trap();
  }
  (void)s.GetCountOfSubString(pattern.data());
  (void)s.IndexOfSubString(pattern.data(), from);
  (void)s.GetSubStringBySplit(pattern.data(), from, to);
  (void)s.GetSubString(from, to);
  (void)s.Left(static_cast<unsigned>(to));
  (void)s.Right(static_cast<unsigned>(from));

  String edited(text.data());
  edited.Replace(pattern.data(), MLIB_T("xy"));
  edited.Trim();
  edited.Reverse();
  edited.MakeUpper();
  (void)edited.GetLength();
  (void)edited.toAnsi();

  String full(text.data());
  fillLastSlot(full, MLIB_T('c'));
  runOnFullString(full, data, size);
  return 0;
}
