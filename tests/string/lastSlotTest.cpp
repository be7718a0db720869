// A String whose last capacity slot was written through operator[] holds no terminator. Every
// member that reads the text must then stop at the capacity and give what it gives for the
// same text terminated in a larger buffer. The heap block the string gets is first filled
// with non-zero units, so a scan that runs past the capacity picks up text that is not there
// (the address sanitizer reports the read itself).
#include <gtest/gtest.h>
#include <mlib/byte.h>
#include <mlib/string.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "stringText.h"

namespace {

using mlib::String;
using mlib::WideChar;
using mlib::test::shown;
using mlib::test::wide;
using Text = std::u16string;

template <typename Number>
Text number(Number value) {
  const std::string digits = std::to_string(value);
  return Text(digits.begin(), digits.end()) + u"|";
}
Text narrow(const std::string& bytes) { return Text(bytes.begin(), bytes.end()); }

// Leaves a freed heap block of the size a wide buffer of `capacity` units takes, full of
// non-zero bytes, where the next allocation of that size is likely to find it.
void dirtyTheHeap(std::size_t capacity) {
  const std::size_t bytes = sizeof(mlib::detail::WideBlockHeader) + capacity * sizeof(WideChar);
  void* block = std::malloc(bytes + 64);
  void* same = std::malloc(bytes);
  if (block != nullptr) std::memset(block, 0x41, bytes + 64);
  if (same != nullptr) std::memset(same, 0x41, bytes);
  std::free(block);
  std::free(same);
}

// text followed by `last` written into the terminator slot: capacity = length + 1, no zero.
String fullString(const Text& text, WideChar last) {
  dirtyTheHeap(text.size() + 1);
  String s;
  if (text.empty()) s.AllocBuffer(0);  // the one-slot buffer; its only slot takes the unit
  if (!text.empty()) s = wide(text);
  s[static_cast<unsigned>(text.size())] = last;
  return s;
}

// Reading operations, each summarised as text; those that change the string get their own.
using Operation = std::pair<const char*, std::function<Text(String&)>>;
const Operation kOperations[] = {
    {"copies and appends",
     [](String& s) {
       String toNull, intoRoom, noRoom(MLIB_T("q")), appended(MLIB_T("<")), appendedIntoRoom, both;
       toNull = s;
       intoRoom.AllocBuffer(64);
       intoRoom = s;
       noRoom = s;
       appended += s;
       appendedIntoRoom.AllocBuffer(64);
       appendedIntoRoom += s;
       both += s;
       return shown(String(s)) + shown(toNull) + shown(intoRoom) + shown(noRoom) + shown(appended) +
              shown(appendedIntoRoom) + shown(both) + shown(s + MLIB_T(">")) +
              shown(String(MLIB_T("<")) + s) + shown(s + s);
     }},
    {"self append", [](String& s) { return shown(s += s); }},
    {"equality and comparisons",
     [](String& s) {
       const String same(wide(shown(s))), longer(wide(shown(s) + u"!"));
       return number(s == same) + number(same == s) + number(s == longer) + number(longer == s) +
              number(s == s) + number(s.Compare(same)) + number(same.Compare(s)) +
              number(s.CompareNoCase(same)) + number(same.CompareNoCase(s)) +
              number(s.Compare(MLIB_T("a"))) + number(s.StartWith(wide(shown(s)), false)) +
              number(s.EndWith(MLIB_T("Z"), false)) + number(s.EndWith(MLIB_T("z"), true)) +
              number(s.EndWith(MLIB_T("Y"), false)) + number(s.EndWith(MLIB_T(""), false)) +
              number(s.EndWith(MLIB_T("9Z"), true));
     }},
    {"ANSI text and numbers",
     [](String& s) {
       const Text ansi = narrow(s.toAnsi());
       return ansi + narrow(std::string(s)) + number(s.GetAnsiLength()) + number(s.GetLength()) +
              number(s.toInt()) + number(s.toInt64()) + number(s.toUint64()) + number(s.toDouble());
     }},
    {"searches",
     [](String& s) {
       const String z(MLIB_T("Z"));
       return number(s.Find(MLIB_T('Z'))) + number(s.FindLast(MLIB_T('Z'))) +
              number(s.Find(MLIB_T('9'))) + number(s.FindLast(MLIB_T('9'))) +
              number(s.IndexOf(MLIB_T("Z"))) + number(s.IndexOfLast(MLIB_T("Z"))) +
              number(s.IndexOf(MLIB_T("ZA"))) + number(s.IndexOfLast(MLIB_T(""))) +
              number(s.IndexOfSubString(MLIB_T("Z"), 0)) +
              number(s.GetCountOfSubString(MLIB_T("Z"))) + shown(s.Find(z)) + shown(s.FindLast(z)) +
              shown(s.Find(String(s.Left(1))));
     }},
    {"search for a full pattern",
     [](String& s) {
       const String p = fullString(Text(1, s[0u]), MLIB_T('Z'));  // the first unit, then «Z»
       const String z = fullString(u"Z", MLIB_T('Z'));            // «ZZ»
       return number(s.IndexOf(p)) + number(s.IndexOfLast(p)) + number(s.IndexOf(z)) +
              number(s.IndexOfSubString(p, 0)) + number(s.GetCountOfSubString(p)) +
              number(s.GetCountOfSubString(z)) + shown(s.Find(z)) + shown(s.FindLast(z)) +
              number(s.Compare(p)) + number(p.Compare(s)) + number(s == p) + number(p == s);
     }},
    {"substrings",
     [](String& s) {
       return shown(s.Left(100)) + shown(s.Right(3)) + shown(s.Right(100)) +
              shown(s.GetSubString(2, 100)) + shown(s.GetSubStringBySplit(MLIB_T("4"), 0, 1));
     }},
    {"trim and case",
     [](String& s) {
       s.Trim();
       s.MakeLower();
       const Text lowered = shown(s);
       s.MakeUpper();
       s.Reverse();
       return lowered + shown(s);
     }},
    {"replace first",
     [](String& s) { return number(s.ReplaceFirst(MLIB_T("Z"), MLIB_T("zz"))) + shown(s); }},
    {"replace",
     [](String& s) {
       s.Replace(MLIB_T("4"), MLIB_T("44"));
       return shown(s);
     }},
    {"line breaks",
     [](String& s) {
       s.AppendNewLineAtBack();
       s.AppendNewLineAtFront();
       return shown(s);
     }},
    {"resize",
     [](String& s) {
       s.ResizeBuffer(100);
       return shown(s);
     }},
    {"number bases and hexadecimal bytes",
     [](String& s) {
       unsigned char out[64] = {};
       const Text count = number(s.HexStringToByteData(out, sizeof out));
       return count + shown(s.DecimalToBinary()) + shown(s.BinaryToDecimal()) +
              shown(s.BinaryToHex()) + shown(s.HexToBinary()) + shown(s.DecimalToHex()) +
              shown(s.HexToDecimal()) + shown(s.ToHexString()) +
              number(String::ToUtf8(s).GetLength()) + number(s.HexStringToByteData().GetLength()) +
              narrow(std::string(reinterpret_cast<char*>(out), sizeof out));
     }},
};

TEST(StringLastSlot, EveryReadStopsAtTheCapacity) {
  std::vector<Text> texts = {u"abcdefgh", u"12345678", u"1.25", u"0A1B2C3",
                             u"  a b  ",  u"",         u"4",    u"10110"};
  for (std::size_t n : {15u, 16u, 31u, 32u, 33u, 63u, 64u, 65u, 1000u, 5000u}) {
    Text t;
    for (std::size_t i = 0; i < n; ++i) t += static_cast<char16_t>(u'0' + i % 10);
    texts.push_back(t);
  }
  for (const Text& text : texts) {
    for (const char16_t last : {u'Z', u'9', u' '}) {
      if (text.empty() && last == u' ') continue;
      for (const auto& [name, run] : kOperations) {
        SCOPED_TRACE(std::string(name) + " on a text of " + std::to_string(text.size()) +
                     " units and a last unit " + std::to_string(last));
        String full = fullString(text, static_cast<WideChar>(last));
        ASSERT_EQ(mlib::detail::StringAccess::capacity(full), text.size() + 1);
        String terminated(wide(text + last));
        EXPECT_EQ(run(full), run(terminated));
      }
    }
  }
}

}  // namespace
