// One driver of String scripts for the unit test (seeded numbers) and the fuzz target (its
// input): every step against a model of the storage rules, every read and edit against a
// terminated copy; units are written anywhere (the last slot too) and blocks made over dirt.
#ifndef MLIB_TESTS_STRING_STRINGOPS_H
#define MLIB_TESTS_STRING_STRINGOPS_H

#include <mlib/byte.h>
#include <mlib/string.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <utility>

#include "string/storage.h"

namespace mlib::test {

// A String's text ("(null)" when null), with its capacity, and every unit of its buffer,
// the terminator and what follows it included (empty when null).
inline std::u16string shown(const String& s) {
  if (s.IsNull()) return u"(null)";
  return std::u16string(reinterpret_cast<const char16_t*>(s.toString()),
                        static_cast<std::size_t>(s.GetLength()));
}
using State = std::pair<std::u16string, unsigned>;
inline State state(const String& s) { return {shown(s), detail::StringAccess::capacity(s)}; }
inline std::u16string units(const String& s) {
  const auto* first = reinterpret_cast<const char16_t*>(s.GetBuffer(0));
  return std::u16string(first, first == nullptr ? 0 : detail::StringAccess::capacity(s));
}
inline const WideChar* wide(const std::u16string& s) {
  return reinterpret_cast<const WideChar*>(s.c_str());
}
constexpr const WideChar* kNoText = nullptr;
constexpr const char* kNoAnsi = nullptr;

// The string as the storage rules describe it.
struct StringModel {
  std::u16string units;
  bool ansi = false;

  std::u16string text() const { return units.substr(0, units.find(u'\0')); }
  // An exact-size buffer of text, or none for empty text: copies and sums.
  static std::u16string exact(const std::u16string& t) { return t.empty() ? t : t + u'\0'; }
  // Text in a fresh buffer of exactly its size; a reused buffer is cleared behind it.
  void take(const std::u16string& t, bool reuse) {
    if (reuse) units = t + std::u16string(units.size() - t.size(), u'\0');
    if (!reuse) units = exact(t), ansi = false;
  }
  void assign(const std::u16string& t) {
    if (!units.empty() || !t.empty()) take(t, units.size() > t.size());
  }
  void append(const std::u16string& t) {
    if (!units.empty() || !t.empty()) take(text() + t, units.size() > text().size() + t.size());
  }
  void clear() { units.assign(units.size(), u'\0'); }
  void allocBuffer(unsigned n) { units.assign(n + 1, u'\0'), ansi = false; }
  void resizeBuffer(unsigned n) {
    const std::u16string kept = text().substr(0, n);
    if (units.empty()) return allocBuffer(n);
    units = kept + std::u16string(n + 1 - kept.size(), u'\0');
  }
};

inline std::u16string numbered(long double value) {
  const std::string digits = std::to_string(value);
  return std::u16string(digits.begin(), digits.end()) + u"|";
}
inline int at(std::size_t i) { return i == std::u16string::npos ? -1 : static_cast<int>(i); }
inline std::u16string narrowed(const std::string& s) { return {s.begin(), s.end()}; }
inline std::string ascii(const std::u16string& s) { return {s.begin(), s.end()}; }  // for traces

// Everything that reads s (and p, a terminated text) into one text; s appears as the argument
// of p's operations too. `a` and `b` are free numbers for the bounds.
inline std::u16string readings(String& s, const String& p, int a, int b) {
  // p's text as a pointer: terminated even when p's buffer is not.
  const std::u16string pText = shown(p);
  const WideChar* pointer = p.IsNull() ? nullptr : wide(pText);
  // s assigned and appended to a null string, one with room and one without.
  String into[] = {String(), String(), String(MLIB_T("q")),
                   String(), String(), String(MLIB_T("<"))};
  std::u16string r =
      shown(String(s)) + shown(s + MLIB_T(">")) + shown(p + s) + shown(s + s) + shown(s + p);
  for (int i = 0; i < 6; ++i) {
    if (i % 3 == 1) into[i].AllocBuffer(64);
    i < 3 ? into[i] = s : into[i] += s;
    r += shown(into[i]);
  }
  for (const bool noCase : {false, true}) {
    r += numbered(s.StartWith(pointer, noCase)) + numbered(s.EndWith(pointer, noCase));
    r += numbered(noCase ? s.CompareNoCase(p) : s.Compare(p));
    r += numbered(noCase ? p.CompareNoCase(s) : p.Compare(s));
  }
  r += numbered(s == p) + numbered(p == s) + numbered(s == s) + numbered(s.Compare(MLIB_T("a")));
  const char* ansi = s.toAnsi();  // read before anything replaces it
  r += narrowed(ansi != nullptr ? ansi : "(none)");
  r += narrowed(std::string(s)) + numbered(s.GetAnsiLength()) + numbered(s.GetLength()) +
       numbered(s.toInt()) + numbered(s.toInt64()) + numbered(s.toUint64()) +
       numbered(s.toDouble());
  const WideChar c = p.IsEmpty() ? WideChar('a') : pointer[0];
  r += numbered(s.Find(c)) + numbered(s.FindLast(c)) + numbered(s.IndexOf(p)) +
       numbered(s.IndexOfLast(p)) + numbered(s.IndexOfSubString(p, a)) +
       numbered(s.GetCountOfSubString(p)) + shown(s.Find(p)) + shown(s.FindLast(p)) +
       numbered(p.IndexOf(s)) + numbered(p.IndexOfLast(s)) + numbered(p.GetCountOfSubString(s)) +
       shown(p.Find(s)) + numbered(s.IndexOfLast(MLIB_T("")));
  r += shown(s.Left(static_cast<unsigned>(b))) + shown(s.Right(static_cast<unsigned>(a))) +
       shown(s.GetSubString(a, b)) + shown(s.GetSubStringBySplit(pointer, a, b));
  unsigned char out[64] = {};
  r += numbered(s.HexStringToByteData(out, sizeof out)) + shown(s.DecimalToBinary()) +
       shown(s.BinaryToDecimal()) + shown(s.BinaryToHex()) + shown(s.HexToBinary()) +
       shown(s.DecimalToHex()) + shown(s.HexToDecimal()) + shown(s.ToHexString()) +
       numbered(String::ToUtf8(s).GetLength()) + numbered(s.HexStringToByteData().GetLength()) +
       narrowed(std::string(reinterpret_cast<char*>(out), sizeof out));
  return r;
}

// Edits whose result is compared with the same edit of a terminated copy.
inline std::u16string edited(String& s, const String& p, unsigned pick) {
  std::u16string replaced;
  if (pick % 5 == 0) s.Trim(), s.MakeLower();
  if (pick % 5 == 1) s.MakeUpper(), s.Reverse();
  if (pick % 5 == 2) replaced = numbered(s.ReplaceFirst(p.toString(), MLIB_T("zz")));
  if (pick % 5 == 3) {  // refused when the new text holds the old one
    s.Replace(p.toString(), pick % 2 ? MLIB_T("xy") : (String(p) + MLIB_T("x")).toString());
  }
  if (pick % 5 == 4) s.AppendNewLineAtBack(), s.AppendNewLineAtFront();
  return replaced + shown(s);
}

// Leaves a freed heap block of the size a wide buffer of `capacity` units takes, full of
// non-zero bytes, where the next allocation of that size is likely to find it.
inline void dirtyTheHeap(std::size_t capacity) {
  const std::size_t bytes = sizeof(detail::WideBlockHeader) + capacity * sizeof(WideChar);
  void* block = std::malloc(bytes + 64);
  void* same = std::malloc(bytes);
  if (block != nullptr) std::memset(block, 0x41, bytes + 64);
  if (same != nullptr) std::memset(same, 0x41, bytes);
  std::free(block);
  std::free(same);
}

struct Op {
  String& s;
  StringModel& m;
  std::u16string in;  // a random text
  unsigned pick;
  std::string failure;

  const WideChar* text() const { return wide(in); }
  // The random text as ANSI text and back: units above 0x7F become '#'.
  std::u16string ascii() const {
    std::u16string t = in;
    for (char16_t& c : t) c = c < 0x80 ? c : u'#';
    return t;
  }
  std::string ansi() const { return test::ascii(ascii()); }
  void expect(bool ok, const char* what) {
    if (!ok && failure.empty()) failure = what;
  }
  // Equal texts, or a failure that shows where they part.
  void expectSame(const std::u16string& got, const std::u16string& want, const char* what) {
    if (got == want || !failure.empty()) return;
    const auto at =
        std::mismatch(got.begin(), got.end(), want.begin(), want.end()).first - got.begin();
    const auto from = static_cast<std::size_t>(at - at % 32);
    failure = what + (" at " + std::to_string(at) + ": ") + test::ascii(got.substr(from, 50)) +
              " / " + test::ascii(want.substr(from, 50));
  }
  // Empty ANSI text and a String of empty text append nothing.
  void appendSome(const std::u16string& t) {
    if (!in.empty()) m.append(t);
  }
  // s's text in a buffer of its own, terminated (null when s is).
  String copy() const {
    String t(wide(m.text()));
    if (t.IsNull() && !m.units.empty()) t.AllocBuffer(0);
    return t;
  }
};

const std::pair<const char*, void (*)(Op&)> kOps[] = {
    {"= text", [](Op& o) { o.s = o.text(), o.m.assign(o.in); }},
    {"= ANSI text", [](Op& o) { o.s = o.ansi().c_str(), o.m.assign(o.ascii()); }},
    {"= std::string", [](Op& o) { o.s = o.ansi(), o.m.assign(o.ascii()); }},
    {"= String",
     [](Op& o) { o.s = static_cast<const String&>(String(o.text())), o.m.assign(o.in); }},
    {"= itself", [](Op& o) { o.s = static_cast<const String&>(o.s); }},
    {"= unit", [](Op& o) { o.s = o.text()[0], o.m.assign(o.in.substr(0, 1)); }},
    {"= no text", [](Op& o) { o.s = kNoText, o.m.clear(); }},
    {"= Left",  // moves in Left's exact buffer
     [](Op& o) {
       o.s = o.s.Left(o.pick % 40);
       if (!o.m.units.empty()) o.m = {o.m.text().substr(0, o.pick % 40) + u'\0', false};
     }},
    {"+= text", [](Op& o) { o.s += o.text(), o.m.append(o.in); }},
    {"+= ANSI text", [](Op& o) { o.s += o.ansi().c_str(), o.appendSome(o.ascii()); }},
    {"+= std::string", [](Op& o) { o.s += o.ansi(), o.appendSome(o.ascii()); }},
    {"+= String", [](Op& o) { o.s += String(o.text()), o.appendSome(o.in); }},
    {"+= itself", [](Op& o) { o.s += o.s, o.m.append(o.m.text()); }},
    {"+= unit", [](Op& o) { o.s += o.text()[0], o.m.append(o.in.substr(0, 1)); }},
    {"+= no text", [](Op& o) { o.s += kNoText, o.s += kNoAnsi; }},
    {"AllocBuffer", [](Op& o) { o.s.AllocBuffer(o.pick % 12), o.m.allocBuffer(o.pick % 12); }},
    {"ResizeBuffer", [](Op& o) { o.s.ResizeBuffer(o.pick % 12), o.m.resizeBuffer(o.pick % 12); }},
    {"ResetBuffer", [](Op& o) { o.s.ResetBuffer(), o.m.clear(); }},
    {"ReleaseBuffer", [](Op& o) { o.s.ReleaseBuffer(), o.m = StringModel(); }},
    {"toAnsi", [](Op& o) { o.s.toAnsi(), o.m.ansi = !o.m.units.empty(); }},
    {"a unit written into the buffer",  // the last slot included
     [](Op& o) {
       if (o.m.units.empty()) return;
       const std::size_t at = o.pick % o.m.units.size();
       o.s[static_cast<unsigned>(at)] = o.m.units[at] = o.in.empty() ? u'a' : o.in[0];
     }},
    {"a text without terminator in a dirty block",
     [](Op& o) {
       std::u16string t;
       while (!o.in.empty() && t.size() < o.pick % 200) t += o.in;
       o.s.ReleaseBuffer();
       dirtyTheHeap(t.size() + 1);
       o.s = wide(t);
       o.m = StringModel{StringModel::exact(t), false};
       if (!t.empty()) o.s[static_cast<unsigned>(t.size())] = o.m.units.back() = u'Z';
     }},
    {"copies, sums and equality",  // new strings of exact size; the string itself stays
     [](Op& o) {
       const String other(o.text());
       const auto exact = &StringModel::exact;
       const std::u16string t = o.m.text();
       o.expect(units(String(o.s)) == exact(t), "copy");
       o.expect(units(o.s + o.text()) == exact(t + o.in), "+ text");
       o.expect(units(o.s + o.ansi().c_str()) == exact(t + o.ascii()), "+ ANSI text");
       o.expect(units(o.s + o.ansi()) == exact(t + o.ascii()), "+ std::string");
       o.expect(units(o.s + other) == exact(t + o.in), "+ String");
       o.expect(units(o.s + o.text()[0]) == exact(t + o.in.substr(0, 1)), "+ unit");
       o.expect(units(o.s + kNoText) == exact(t), "+ no text");
       o.expect(units(o.s + kNoAnsi) == exact(t), "+ no ANSI text");
       // A null string equals nothing, not even another null string.
       const bool equal = !o.m.units.empty() && t == o.in;
       o.expect((o.s == o.text()) == equal, "== text");
       o.expect((o.s == other) == (equal && !o.in.empty()), "== String");
       o.expect((o.s == String(o.s)) == !t.empty(), "== copy");
       o.expect(!(o.s == kNoText), "== no text");
     }},
    {"searches",  // against std::u16string's, for the random text or a piece of s's
     [](Op& o) {
       const std::u16string t = o.m.text();
       const std::size_t from = o.pick % (t.size() + 1);
       const std::u16string p = o.pick % 3 == 0 ? t.substr(from, o.pick / 3 % 90 + 1) : o.in;
       if (p.empty()) return;
       int count = 0, nth = -1;
       const int n = static_cast<int>(o.pick % 4);
       for (std::size_t i = t.find(p); i != std::u16string::npos; i = t.find(p, i + p.size())) {
         if (count++ == n) nth = static_cast<int>(i);
       }
       const auto rest = [&](std::size_t i) {
         return StringModel::exact(t.substr(std::min(i, t.size())));
       };
       o.expect(o.s.IndexOf(wide(p)) == at(t.find(p)), "IndexOf");
       o.expect(o.s.IndexOfLast(wide(p)) == at(t.rfind(p)), "IndexOfLast");
       o.expect(o.s.GetCountOfSubString(wide(p)) == count, "GetCountOfSubString");
       o.expect(o.s.IndexOfSubString(wide(p), n) == nth, "IndexOfSubString");
       o.expect(o.s.Find(p[0]) == at(t.find(p[0])), "Find");
       o.expect(o.s.FindLast(p[0]) == at(t.rfind(p[0])), "FindLast");
       o.expect(units(o.s.Find(String(wide(p)))) == rest(t.find(p)), "Find(String)");
       o.expect(units(o.s.FindLast(String(wide(p)))) == rest(t.rfind(p)), "FindLast(String)");
     }},
    {"reads agree with a terminated copy",
     [](Op& o) {
       String same = o.copy();
       const String p(o.text());
       const int a = static_cast<int>(o.pick % 12) - 4, b = static_cast<int>(o.pick / 12 % 12) - 2;
       o.expectSame(readings(o.s, p, a, b), readings(same, p, a, b), "reads");
       o.m.ansi = !o.m.units.empty();
       if (o.m.text().empty()) return;
       String full(o.copy());  // s as the argument of a string without terminator
       full[static_cast<unsigned>(o.m.text().size())] = u'Z';
       String sameFull(wide(o.m.text() + u'Z'));
       o.expectSame(readings(full, o.s, a, b), readings(sameFull, same, a, b), "reads as argument");
     }},
    {"edits agree with a terminated copy",  // the model takes the result
     [](Op& o) {
       String same = o.copy();
       const String p(o.text());
       o.expectSame(edited(o.s, p, o.pick), edited(same, p, o.pick), "edit");
       o.m = StringModel{units(o.s), detail::StringAccess::ansiBuffer(o.s) != nullptr};
     }},
};

// Runs `steps` steps picked by `next`, with texts of up to five units from an alphabet of
// three to nine units that also makes numbers, hexadecimal digits, blanks and units above
// 0x8000 (which the block scans must compare unsigned).
inline std::string runStringScript(const std::function<unsigned()>& next, int steps) {
  String s;
  StringModel m;
  std::string trail;  // the operations so far, for the failure message
  const std::size_t letters = 3 + next() % 7;
  for (int step = 0; step < steps; ++step) {
    Op o{s, m, std::u16string(next() % 6, u'a'), next(), {}};
    for (char16_t& c : o.in) c = u"ab1 0c9\uFFFF\u8001"[next() % letters];
    const auto& [name, run] =
        kOps[m.units.size() > 300 ? 7 /* = Left */ : next() % std::size(kOps)];
    trail += std::string(name) + "(" + ascii(o.in) + "," + std::to_string(o.pick % 1000) + ") ";
    run(o);
    o.expect(units(s) == m.units, "units");
    o.expect(s.GetLength() == static_cast<int>(m.text().size()), "GetLength");
    o.expect(s.IsEmpty() == m.text().empty(), "IsEmpty");
    o.expect((detail::StringAccess::ansiBuffer(s) != nullptr) == m.ansi, "ANSI buffer");
    if (!o.failure.empty()) return trail + ": " + o.failure;
  }
  return {};
}

}  // namespace mlib::test

#endif  // MLIB_TESTS_STRING_STRINGOPS_H
