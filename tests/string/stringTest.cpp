// String storage, construction, assignment, concatenation, equality and ANSI text: texts and
// the exact capacities every operation leaves, and the text scans and copies beneath them.
#include <gtest/gtest.h>
#include <mlib/string.h>
#include <mlib/text.h>

#include <algorithm>
#include <new>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "ansiPageSamples.h"
#include "stringText.h"

namespace {

using mlib::String;
using mlib::WideChar;
using mlib::detail::StringAccess;
using mlib::test::State;
using mlib::test::state;
using mlib::test::units;

const WideChar* const kNoText = nullptr;

TEST(String, NullAndEmptyTextsMakeNullStrings) {
  const String made[] = {String(),
                         String(MLIB_T("")),
                         String(kNoText),
                         String(""),
                         String(static_cast<const char*>(nullptr)),
                         String(std::string())};
  for (const String& s : made) {
    SCOPED_TRACE(&s - made);
    EXPECT_TRUE(s.IsNull() && s.IsEmpty() && s.GetLength() == 0);
    EXPECT_TRUE(s.toUnicode() == nullptr && s.toAnsi() == nullptr && s.GetBuffer(0) == nullptr);
    EXPECT_EQ(StringAccess::capacity(s), 0u);
    EXPECT_EQ(std::string(s), "");
  }
  String huge;
  EXPECT_THROW(huge.AllocBuffer(0xFFFFFFFFu), std::bad_alloc);
  EXPECT_TRUE(huge.IsNull());
}

// The string as the storage rules describe it: every unit of its buffer (the capacity is
// their count; none for a null string) and whether it holds an ANSI buffer.
struct Model {
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
  void allocBuffer(unsigned n) { units.assign(n + 1, u'\0'), ansi = false; }
  void resizeBuffer(unsigned n) {
    const std::u16string kept = text().substr(0, n);
    if (units.empty()) return allocBuffer(n);
    units = kept + std::u16string(n + 1 - kept.size(), u'\0');
  }
};

// One random operation on s and its model m, with a random text of the letters a to c.
struct Op {
  String& s;
  Model& m;
  std::u16string in;
  unsigned pick;
  const WideChar* text() const { return mlib::test::wide(in); }
  std::string ansi() const { return std::string(in.begin(), in.end()); }
  // Empty ANSI text and a String made from empty text stand for no text: nothing to append.
  void appendSome() const {
    if (!in.empty()) m.append(in);
  }
};
const std::pair<const char*, void (*)(Op&)> kSteps[] = {
    {"= text", [](Op& o) { o.s = o.text(), o.m.assign(o.in); }},
    {"= ANSI text", [](Op& o) { o.s = o.ansi().c_str(), o.m.assign(o.in); }},
    {"= std::string", [](Op& o) { o.s = o.ansi(), o.m.assign(o.in); }},
    {"= String",
     [](Op& o) { o.s = static_cast<const String&>(String(o.text())), o.m.assign(o.in); }},
    {"= itself", [](Op& o) { o.s = static_cast<const String&>(o.s); }},
    {"= unit", [](Op& o) { o.s = o.text()[0], o.m.assign(o.in.substr(0, 1)); }},
    {"= no text", [](Op& o) { o.s = kNoText, o.m.units.assign(o.m.units.size(), u'\0'); }},
    {"+= text", [](Op& o) { o.s += o.text(), o.m.append(o.in); }},
    {"+= ANSI text", [](Op& o) { o.s += o.ansi().c_str(), o.appendSome(); }},
    {"+= std::string", [](Op& o) { o.s += o.ansi(), o.appendSome(); }},
    {"+= String", [](Op& o) { o.s += String(o.text()), o.appendSome(); }},
    {"+= unit", [](Op& o) { o.s += o.text()[0], o.m.append(o.in.substr(0, 1)); }},
    {"+= no text", [](Op& o) { o.s += kNoText, o.s += static_cast<const char*>(nullptr); }},
    {"AllocBuffer", [](Op& o) { o.s.AllocBuffer(o.pick % 12), o.m.allocBuffer(o.pick % 12); }},
    {"ResizeBuffer", [](Op& o) { o.s.ResizeBuffer(o.pick % 12), o.m.resizeBuffer(o.pick % 12); }},
    {"ResetBuffer", [](Op& o) { o.s.ResetBuffer(), o.m.units.assign(o.m.units.size(), u'\0'); }},
    {"ReleaseBuffer", [](Op& o) { o.s.ReleaseBuffer(), o.m = Model(); }},
    {"toAnsi", [](Op& o) { o.s.toAnsi(), o.m.ansi = !o.m.units.empty(); }},
    {"a unit written behind the text",  // the terminator slot stays
     [](Op& o) {
       if (o.m.units.size() < 2) return;
       const std::size_t at = o.pick % (o.m.units.size() - 1);
       *o.s.GetBuffer(static_cast<unsigned>(at)) = o.m.units[at] = o.in[0];
     }},
    {"copies, sums and equality",  // new strings of exact size; the string itself stays
     [](Op& o) {
       const String other(o.text());
       const auto exact = &Model::exact;
       EXPECT_EQ(units(String(o.s)), exact(o.m.text()));
       EXPECT_EQ(units(o.s + o.text()), exact(o.m.text() + o.in));
       EXPECT_EQ(units(o.s + o.ansi().c_str()), exact(o.m.text() + o.in));
       EXPECT_EQ(units(o.s + o.ansi()), exact(o.m.text() + o.in));
       EXPECT_EQ(units(o.s + other), exact(o.m.text() + o.in));
       EXPECT_EQ(units(o.s + o.text()[0]), exact(o.m.text() + o.in.substr(0, 1)));
       EXPECT_EQ(units(o.s + kNoText), exact(o.m.text()));
       EXPECT_EQ(units(o.s + static_cast<const char*>(nullptr)), exact(o.m.text()));
       // A null string equals nothing, not even another null string.
       const bool equal = !o.m.units.empty() && o.m.text() == o.in;
       EXPECT_EQ(o.s == o.text(), equal);
       EXPECT_EQ(o.s == other, equal && !o.in.empty());
       EXPECT_EQ(o.s == String(o.s), !o.m.text().empty());
       EXPECT_FALSE(o.s == kNoText);
     }},
};

TEST(String, StorageFollowsTheModelOnRandomOperations) {
  std::mt19937 rng(7);
  for (int round = 0; round < 2000; ++round) {
    String s;
    Model m;
    std::string trail;  // the operations so far, for the failure message
    for (int step = 0; step < 16; ++step) {
      Op o{s, m, std::u16string(rng() % 6, u'a'), static_cast<unsigned>(rng())};
      for (char16_t& c : o.in) c = static_cast<char16_t>(u'a' + rng() % 3);
      const auto& [name, run] = kSteps[rng() % std::size(kSteps)];
      trail += std::string(name) + "(" + std::to_string(o.in.size()) + ") ";
      SCOPED_TRACE(trail);
      run(o);
      ASSERT_EQ(units(s), m.units);
      EXPECT_EQ(s.GetLength(), static_cast<int>(m.text().size()));
      EXPECT_EQ(s.IsEmpty(), m.text().empty());
      EXPECT_EQ(StringAccess::ansiBuffer(s) != nullptr, m.ansi);
    }
  }
}

TEST(String, CopyIsExactAndMoveTakesTheBufferAsItIs) {
  String number(100);  // a number's text sits in a 515-unit buffer
  const char* ansi = number.toAnsi();
  const String copy(number);
  EXPECT_EQ(state(copy), State(u"100", 4));
  EXPECT_EQ(StringAccess::ansiBuffer(copy), nullptr);
  String moved(std::move(number));
  EXPECT_EQ(state(moved), State(u"100", 515));
  EXPECT_EQ(StringAccess::ansiBuffer(moved), ansi);
  EXPECT_TRUE(number.IsNull());  // NOLINT(bugprone-use-after-move): moved-from is null
  String target(MLIB_T("old"));
  target = std::move(moved);
  EXPECT_EQ(state(target), State(u"100", 515));

  String reserve;  // short text in a large reserve
  reserve.AllocBuffer(100000);
  reserve += MLIB_T("ab");
  EXPECT_EQ(state(String(reserve)), State(u"ab", 3));
  EXPECT_EQ(state(reserve + reserve), State(u"abab", 5));
}

TEST(String, AnsiBufferInCodePage1252) {
  MLIB_USE_ANSI_CODE_PAGE(1252);
  EXPECT_EQ(state(String(reinterpret_cast<const unsigned char*>("\x80"))), State(u"\u20AC", 2));
  String wide(MLIB_T("h\u00E9llo \u20AC"));
  EXPECT_STREQ(static_cast<char*>(wide), "h\xE9llo \x80");
  wide = MLIB_T("hi");  // buffer reused: the ANSI text still describes the older text
  EXPECT_EQ(wide.GetAnsiLength(), 7);
  EXPECT_STREQ(wide.toAnsi(), "hi");
  EXPECT_EQ(wide.GetAnsiLength(), 2);
  // Without an ANSI buffer, GetAnsiLength makes one.
  const String fresh(MLIB_T("\u0100bc"));
  EXPECT_EQ(fresh.GetAnsiLength(), 3);
  EXPECT_STREQ(StringAccess::ansiBuffer(fresh), "Abc") << "best-fit look-alike of U+0100";
}

// Text made from narrow bytes and turned back is never cut, double-byte pages and UTF-8's
// three- and four-byte characters included.
TEST(String, TextGoesThroughEveryAnsiPageWhole) {
  const int tried = mlib::test::forEachAnsiPageSample([](const mlib::test::AnsiPageSample& sample) {
    const std::string bytes = mlib::test::bytesIn(sample.codePage, sample.text);
    ASSERT_FALSE(bytes.empty());
    const String wide(sample.text);
    EXPECT_STREQ(wide.toAnsi(), bytes.c_str());
    EXPECT_EQ(wide.GetAnsiLength(), static_cast<int>(bytes.size()));
    EXPECT_EQ(std::string(wide), bytes);
    // Made from the bytes, the capacity follows the byte count (and no ANSI buffer is kept);
    // through operator=(const char*) the text lands in an exact-size buffer.
    const std::u16string text(reinterpret_cast<const char16_t*>(sample.text));
    const String fromBytes(bytes.c_str());
    EXPECT_EQ(units(fromBytes), text + std::u16string(bytes.size() + 1 - text.size(), u'\0'));
    EXPECT_EQ(StringAccess::ansiBuffer(fromBytes), nullptr);
    EXPECT_EQ(state(String(bytes)), State(text, text.size() + 1));
    EXPECT_EQ(state(String(MLIB_T("x")) + bytes.c_str()), State(u"x" + text, text.size() + 2));
    String longer(sample.text);  // long enough that any shortfall of the buffer shows
    for (int i = 0; i < 6; ++i) longer += longer;
    EXPECT_EQ(std::string(longer.toAnsi()).size(), bytes.size() * 64);
    EXPECT_TRUE(String(longer.toAnsi()) == longer);
  });
  EXPECT_GE(tried, 1) << "no sample for the active ANSI code page " << GetAnsiCodePage();
}

TEST(String, TextFromItsOwnBufferIsReadBeforeTheChange) {
  String s(MLIB_T("hello world"));
  s = s.GetBuffer(6);
  EXPECT_EQ(state(s), State(u"world", 12));
  s += s.toString();
  EXPECT_EQ(state(s), State(u"worldworld", 12));
  s += s;
  EXPECT_EQ(state(s), State(u"worldworldworldworld", 21));
}

// The scans read whole aligned blocks; sweep start alignments, lengths and bounds against a
// unit-by-unit count, and check that the copies write nothing past what they report.
TEST(StringStorage, ScanAndCopyAgreeWithAPlainLoopEverywhere) {
  std::vector<WideChar> source(400), target(400);
  for (std::size_t offset = 0; offset < 40; ++offset) {
    for (std::size_t length = 0; length < 300; length += (length < 80 ? 1 : 37)) {
      std::fill(source.begin(), source.end(), WideChar(0x5A5A));
      for (std::size_t i = 0; i < length; ++i) source[offset + i] = WideChar('a' + i % 26);
      source[offset + length] = 0;
      const WideChar* in = source.data() + offset;
      SCOPED_TRACE(testing::Message() << "offset " << offset << " length " << length);
      ASSERT_EQ(mlib::detail::wideLength(in), length);
      for (std::size_t bound :
           {length * 0, length / 2, length, length + 1, length + 50, length + 70}) {
        const std::size_t want = std::min(bound, length);
        ASSERT_EQ(mlib::detail::wideLengthBounded(in, bound), want) << "bound " << bound;
        // The copy that reads like the scan, and the one for a source readable up to the bound.
        for (const auto copy : {&mlib::detail::copyWideText, &mlib::detail::copyWideTextWithin}) {
          std::fill(target.begin(), target.end(), WideChar(0x7777));
          ASSERT_EQ(copy(target.data(), in, bound), want) << "bound " << bound;
          const auto written = static_cast<std::ptrdiff_t>(bound <= length ? bound : length + 1);
          ASSERT_TRUE(std::equal(in, in + written, target.begin())) << "bound " << bound;
          ASSERT_TRUE(std::all_of(target.begin() + written, target.end(),
                                  [](WideChar unit) { return unit == 0x7777; }))
              << "written past the copy, bound " << bound;
        }
      }
    }
  }
  EXPECT_EQ(mlib::detail::wideLength(nullptr), 0u);
}

}  // namespace
