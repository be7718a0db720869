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

#include "string/storage.h"

namespace {

using mlib::String;
using mlib::WideChar;
using Text = std::basic_string<WideChar>;

// The text within the string's length, read through the bounded GetLength.
Text shown(const String& s) {
  return s.IsNull() ? Text(MLIB_T("(null)")) : Text(s.toString(), s.GetLength());
}

template <typename Number>
Text number(Number value) {
  const std::string digits = std::to_string(value);
  return Text(digits.begin(), digits.end());
}

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
  String s(text.c_str());
  s[static_cast<unsigned>(text.size())] = last;
  return s;
}

// One reading operation, summarised as text.
struct Operation {
  const char* name;
  std::function<Text(String&)> run;
};

std::vector<Operation> readingOperations() {
  // A pattern string that is itself full: «Z» after its one unit.
  const auto fullPattern = [](WideChar first) { return fullString(Text(1, first), MLIB_T('Z')); };
  return {
      {"copy", [](String& s) { return shown(String(s)); }},
      {"assign to null",
       [](String& s) {
         String t;
         t = s;
         return shown(t);
       }},
      {"assign into room",
       [](String& s) {
         String t;
         t.AllocBuffer(64);
         t = s;
         return shown(t);
       }},
      {"assign, no room",
       [](String& s) {
         String t(MLIB_T("q"));
         t = s;
         return shown(t);
       }},
      {"append, no room",
       [](String& s) {
         String u(MLIB_T("<"));
         u += s;
         return shown(u);
       }},
      {"append into room",
       [](String& s) {
         String u;
         u.AllocBuffer(64);
         u += s;
         return shown(u);
       }},
      {"append to null",
       [](String& s) {
         String u;
         u += s;
         return shown(u);
       }},
      {"self append",
       [](String& s) {
         s += s;
         return shown(s);
       }},
      {"plus text", [](String& s) { return shown(s + MLIB_T(">")); }},
      {"text plus", [](String& s) { return shown(String(MLIB_T("<")) + s); }},
      {"plus itself", [](String& s) { return shown(s + s); }},
      {"equality",
       [](String& s) {
         const String same(shown(s).c_str()), longer((shown(s) + MLIB_T("!")).c_str());
         return number(s == same) + number(same == s) + number(s == longer) + number(longer == s) +
                number(s == s);
       }},
      {"toAnsi",
       [](String& s) {
         const char* a = s.toAnsi();
         return Text(a, a + std::strlen(a));
       }},
      {"std::string",
       [](String& s) {
         const std::string a = s;
         return Text(a.begin(), a.end());
       }},
      {"GetAnsiLength", [](String& s) { return number(s.GetAnsiLength()); }},
      {"GetLength", [](String& s) { return number(s.GetLength()); }},
      {"numbers",
       [](String& s) {
         return number(s.toInt()) + MLIB_T("|") + number(s.toInt64()) + MLIB_T("|") +
                number(s.toUint64()) + MLIB_T("|") + number(s.toDouble());
       }},
      {"character search",
       [](String& s) {
         return number(s.Find(MLIB_T('Z'))) + number(s.FindLast(MLIB_T('Z'))) +
                number(s.Find(MLIB_T('9'))) + number(s.FindLast(MLIB_T('9')));
       }},
      {"text search",
       [](String& s) {
         return number(s.IndexOf(MLIB_T("Z"))) + number(s.IndexOfLast(MLIB_T("Z"))) +
                number(s.IndexOf(MLIB_T("ZA"))) + number(s.IndexOfLast(MLIB_T(""))) +
                number(s.IndexOfSubString(MLIB_T("Z"), 0)) +
                number(s.GetCountOfSubString(MLIB_T("Z")));
       }},
      {"search returning strings",
       [](String& s) {
         const String z(MLIB_T("Z"));
         return shown(s.Find(z)) + MLIB_T("|") + shown(s.FindLast(z)) + MLIB_T("|") +
                shown(s.Find(String(s.Left(1))));
       }},
      {"search for a full pattern",
       [fullPattern](String& s) {
         const String p = fullPattern(s[0u]);        // the first unit, then «Z»
         const String z = fullPattern(MLIB_T('Z'));  // «ZZ»
         return number(s.IndexOf(p)) + number(s.IndexOfLast(p)) + number(s.IndexOf(z)) +
                number(s.IndexOfSubString(p, 0)) + number(s.GetCountOfSubString(p)) +
                number(s.GetCountOfSubString(z)) + shown(s.Find(z)) + shown(s.FindLast(z)) +
                number(s.Compare(p)) + number(p.Compare(s)) + number(s == p) + number(p == s);
       }},
      {"substrings",
       [](String& s) {
         return shown(s.Left(100)) + MLIB_T("|") + shown(s.Right(3)) + MLIB_T("|") +
                shown(s.Right(100)) + MLIB_T("|") + shown(s.GetSubString(2, 100)) + MLIB_T("|") +
                shown(s.GetSubStringBySplit(MLIB_T("4"), 0, 1));
       }},
      {"comparisons",
       [](String& s) {
         const String same(shown(s).c_str());
         return number(s.Compare(same)) + number(same.Compare(s)) + number(s.CompareNoCase(same)) +
                number(same.CompareNoCase(s)) + number(s.Compare(MLIB_T("a")));
       }},
      {"prefix and suffix",
       [](String& s) {
         return number(s.StartWith(shown(s).c_str(), false)) +
                number(s.EndWith(MLIB_T("Z"), false)) + number(s.EndWith(MLIB_T("z"), true)) +
                number(s.EndWith(MLIB_T("Y"), false)) + number(s.EndWith(MLIB_T(""), false)) +
                number(s.EndWith(MLIB_T("9Z"), true));
       }},
      {"trim and case",
       [](String& s) {
         s.Trim();
         s.MakeLower();
         Text out = shown(s);
         s.MakeUpper();
         s.Reverse();
         return out + MLIB_T("|") + shown(s);
       }},
      {"replace first",
       [](String& s) {
         s.ReplaceFirst(MLIB_T("Z"), MLIB_T("zz"));
         return shown(s);
       }},
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
      {"element access", [](String& s) { return Text(1, s[0u]); }},
      {"number bases",
       [](String& s) {
         return shown(s.DecimalToBinary()) + MLIB_T("|") + shown(s.BinaryToDecimal()) +
                MLIB_T("|") + shown(s.BinaryToHex()) + MLIB_T("|") + shown(s.HexToBinary()) +
                MLIB_T("|") + shown(s.DecimalToHex()) + MLIB_T("|") + shown(s.HexToDecimal());
       }},
      {"hex text", [](String& s) { return shown(s.ToHexString()); }},
      {"hex bytes",
       [](String& s) {
         unsigned char out[64] = {};
         const int count = s.HexStringToByteData(out, sizeof out);
         const mlib::Byte bytes = s.HexStringToByteData();
         Text all = number(count) + MLIB_T("|") + number(bytes.GetLength()) + MLIB_T("|");
         for (int i = 0; i < count; ++i) all += static_cast<WideChar>(out[i]);
         return all;
       }},
      {"UTF-8", [](String& s) { return number(String::ToUtf8(s).GetLength()); }},
  };
}

TEST(StringLastSlot, EveryReadStopsAtTheCapacity) {
  const Text texts[] = {MLIB_T("abcdefgh"), MLIB_T("12345678"), MLIB_T("1.25"), MLIB_T("0A1B2C3"),
                        MLIB_T("  a b  "),  MLIB_T(""),         MLIB_T("4"),    MLIB_T("10110")};
  std::vector<Text> longer;
  for (std::size_t n : {15u, 16u, 31u, 32u, 33u, 63u, 64u, 65u, 1000u, 5000u}) {
    Text t;
    for (std::size_t i = 0; i < n; ++i) t += static_cast<WideChar>(MLIB_T('0') + i % 10);
    longer.push_back(t);
  }
  std::vector<Text> all(std::begin(texts), std::end(texts));
  all.insert(all.end(), longer.begin(), longer.end());
  for (const Text& text : all) {
    for (const WideChar last : {MLIB_T('Z'), MLIB_T('9'), MLIB_T(' ')}) {
      if (text.empty() && last == MLIB_T(' ')) continue;
      for (const Operation& op : readingOperations()) {
        SCOPED_TRACE(std::string(op.name) + " on a text of " + std::to_string(text.size()) +
                     " units and a last unit " + std::to_string(last));
        String full = text.empty() ? String() : fullString(text, last);
        if (text.empty()) {
          // AllocBuffer(0) gives the one-slot buffer; its only slot takes the unit.
          full.AllocBuffer(0);
          full[0u] = last;
        }
        ASSERT_EQ(mlib::detail::StringAccess::capacity(full), text.size() + 1);
        String terminated((text + last).c_str());
        EXPECT_EQ(op.run(full), op.run(terminated));
      }
    }
  }
}

}  // namespace
