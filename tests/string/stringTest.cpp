// String storage, construction, assignment, concatenation, equality and ANSI conversion:
// texts and the exact capacities every operation leaves.
#include <gtest/gtest.h>
#include <mlib/string.h>
#include <mlib/text.h>

#include <algorithm>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "string/storage.h"

namespace {

using mlib::String;
using mlib::WideChar;
using mlib::detail::StringAccess;
// Text and capacity together, so one expectation shows both.
using State = std::pair<std::u16string, unsigned>;

std::u16string text(const String& s) {
  std::u16string out;
  for (const WideChar* p = s.toString(); p != nullptr && *p != 0; ++p) out += char16_t(*p);
  return out;
}

State state(const String& s) { return {text(s), StringAccess::capacity(s)}; }

// Unit i of the buffer, unbounded (positions after the terminator included).
WideChar unitAt(const String& s, unsigned i) { return *s.GetBuffer(i); }

// Switches the library's ANSI code page for one test and puts the old one back.
class CodePageScope {
 public:
  explicit CodePageScope(unsigned codePage)
      : old_(GetAnsiCodePage()), active_(old_ == codePage || SetAnsiCodePage(codePage)) {}
  ~CodePageScope() { (void)SetAnsiCodePage(old_); }
  bool active() const { return active_; }

 private:
  unsigned old_;
  bool active_;
};

TEST(String, NullAndEmptyTextsMakeNullStrings) {
  const String made[] = {String(),
                         String(MLIB_T("")),
                         String(static_cast<const WideChar*>(nullptr)),
                         String(""),
                         String(static_cast<const char*>(nullptr)),
                         String(std::string())};
  for (const String& s : made) {
    EXPECT_TRUE(s.IsNull() && s.IsEmpty());
    EXPECT_EQ(s.GetLength(), 0);
    EXPECT_EQ(s.toUnicode(), nullptr);
    EXPECT_EQ(s.toAnsi(), nullptr);
    EXPECT_EQ(s.GetBuffer(0), nullptr);
    EXPECT_EQ(StringAccess::capacity(s), 0u);
    EXPECT_EQ(std::string(s), "");
  }
}

TEST(String, AssignmentReusesOrGrowsToExactSize) {
  String s;
  s = MLIB_T("abc");
  EXPECT_EQ(state(s), State(u"abc", 4));
  const char* ansi = s.toAnsi();
  s = MLIB_T("x");
  EXPECT_EQ(state(s), State(u"x", 4));
  EXPECT_EQ(unitAt(s, 1) | unitAt(s, 2), 0) << "slots after the new text are cleared";
  EXPECT_EQ(StringAccess::ansiBuffer(s), ansi) << "a reused buffer keeps the ANSI buffer";
  s = MLIB_T("abcde");
  EXPECT_EQ(state(s), State(u"abcde", 6));
  EXPECT_EQ(StringAccess::ansiBuffer(s), nullptr);

  s = static_cast<const WideChar*>(nullptr);
  EXPECT_EQ(state(s), State(u"", 6));
  EXPECT_FALSE(s.IsNull());
  s = MLIB_T("ab");
  s = MLIB_T("");
  EXPECT_EQ(state(s), State(u"", 6));
  EXPECT_EQ(unitAt(s, 1), 0);

  String null;
  null = MLIB_T("");
  EXPECT_TRUE(null.IsNull());
  null = WideChar('q');
  EXPECT_EQ(state(null), State(u"q", 2));
  null = WideChar(0);
  EXPECT_TRUE(null.IsEmpty() && !null.IsNull());

  const String& same = s;
  s = same;
  EXPECT_EQ(state(s), State(u"", 6));
  s.toAnsi();
  s = "ansi";  // converted, then assigned into the reused buffer
  EXPECT_EQ(state(s), State(u"ansi", 6));
  EXPECT_NE(StringAccess::ansiBuffer(s), nullptr);
}

TEST(String, AppendGrowsExactlyOrWorksInPlace) {
  String s(MLIB_T("ab"));
  s.toAnsi();
  s += WideChar('c');
  EXPECT_EQ(state(s), State(u"abc", 4));
  EXPECT_EQ(StringAccess::ansiBuffer(s), nullptr);
  s += MLIB_T("defgh");
  EXPECT_EQ(state(s), State(u"abcdefgh", 9));

  String built;
  WideChar* buffer = built.AllocBuffer(10);
  buffer[0] = 'x';
  buffer[1] = 'y';
  const char* ansi = built.toAnsi();
  built += WideChar('z');
  EXPECT_EQ(state(built), State(u"xyz", 11));
  EXPECT_EQ(built.GetBuffer(0), buffer);
  EXPECT_EQ(StringAccess::ansiBuffer(built), ansi);
  built += std::string("12");
  built += static_cast<const WideChar*>(nullptr);
  built += static_cast<const char*>(nullptr);
  EXPECT_EQ(state(built), State(u"xyz12", 11));

  // Units a caller left behind a new terminator are cleared by the next append.
  String cut(MLIB_T("abcdef"));
  *cut.GetBuffer(2) = 0;
  cut += MLIB_T("x");
  EXPECT_EQ(state(cut), State(u"abx", 7));
  EXPECT_EQ(unitAt(cut, 3), 0);

  String null;
  null += MLIB_T("");
  EXPECT_TRUE(null.IsNull());
  null += MLIB_T("a");
  EXPECT_EQ(state(null), State(u"a", 2));
}

TEST(String, BufferOperations) {
  String s(MLIB_T("abcde"));
  s.toAnsi();
  s.ResizeBuffer(2);
  EXPECT_EQ(state(s), State(u"ab", 3));
  EXPECT_NE(StringAccess::ansiBuffer(s), nullptr) << "ResizeBuffer keeps the ANSI buffer";
  s.ResizeBuffer(10);
  EXPECT_EQ(state(s), State(u"ab", 11));
  for (unsigned i = 2; i < 11; ++i) EXPECT_EQ(unitAt(s, i), 0) << i;
  s.ResetBuffer();
  EXPECT_EQ(state(s), State(u"", 11));
  EXPECT_EQ(unitAt(s, 1), 0);

  String null;
  EXPECT_NE(null.ResizeBuffer(4), nullptr);
  EXPECT_EQ(state(null), State(u"", 5));

  const WideChar* fresh = s.AllocBuffer(5);
  EXPECT_EQ(state(s), State(u"", 6));
  EXPECT_EQ(StringAccess::ansiBuffer(s), nullptr);
  EXPECT_TRUE(std::all_of(fresh, fresh + 6, [](WideChar unit) { return unit == 0; }));
  EXPECT_EQ(s.GetBuffer(3), fresh + 3);
  s.ReleaseBuffer();
  EXPECT_TRUE(s.IsNull());

  String huge;
  EXPECT_THROW(huge.AllocBuffer(0xFFFFFFFFu), std::bad_alloc);
  EXPECT_TRUE(huge.IsNull());
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

  String emptyWithBuffer;
  emptyWithBuffer.AllocBuffer(3);
  EXPECT_TRUE(String(emptyWithBuffer).IsNull());
  String reserve;  // short text in a large reserve
  reserve.AllocBuffer(100000);
  reserve += MLIB_T("ab");
  EXPECT_EQ(state(String(reserve)), State(u"ab", 3));
  EXPECT_EQ(state(reserve + reserve), State(u"abab", 5));
}

TEST(String, ConcatenationMakesExactSizeStrings) {
  const String ab(MLIB_T("ab"));
  EXPECT_EQ(state(ab + MLIB_T("cde")), State(u"abcde", 6));
  EXPECT_EQ(state(ab + String(MLIB_T("x"))), State(u"abx", 4));
  EXPECT_EQ(state(ab + "yz"), State(u"abyz", 5));
  EXPECT_EQ(state(ab + std::string("!")), State(u"ab!", 4));
  EXPECT_EQ(state(ab + WideChar('c')), State(u"abc", 4));
  EXPECT_EQ(state(String() + MLIB_T("x")), State(u"x", 2));
  const String number(7);
  EXPECT_EQ(state(number + static_cast<const WideChar*>(nullptr)), State(u"7", 2));
  EXPECT_EQ(state(number + static_cast<const char*>(nullptr)), State(u"7", 2));
  EXPECT_EQ(state(number + number), State(u"77", 3));

  String empty;
  empty.AllocBuffer(4);
  EXPECT_TRUE((empty + empty).IsNull());
  EXPECT_TRUE((String() + String()).IsNull());
}

// A null string equals nothing, not even another null string.
TEST(String, EqualityNeedsABufferOnBothSides) {
  String emptyWithBuffer;
  emptyWithBuffer.AllocBuffer(2);
  const String abc(MLIB_T("abc"));
  EXPECT_FALSE(String() == String());
  EXPECT_FALSE(String() == MLIB_T(""));
  EXPECT_TRUE(emptyWithBuffer == MLIB_T(""));
  EXPECT_TRUE(abc == MLIB_T("abc") && abc == String(MLIB_T("abc")));
  EXPECT_FALSE(abc == MLIB_T("abd") || abc == MLIB_T("ab") || abc == MLIB_T("abcd"));
  EXPECT_FALSE(abc == static_cast<const WideChar*>(nullptr));
}

TEST(String, AnsiTextInCodePage1252) {
  CodePageScope scope(1252);
  if (!scope.active()) GTEST_SKIP() << "the system's ANSI code page is not 1252";
  // 0x80 is the euro sign in 1252, 0xE9 e acute.
  const String fromAnsi("\x80 caf\xE9");
  EXPECT_EQ(state(fromAnsi), State(u"\u20AC caf\u00E9", 7));
  EXPECT_EQ(StringAccess::ansiBuffer(fromAnsi), nullptr);
  EXPECT_EQ(state(String(reinterpret_cast<const unsigned char*>("abc"))), State(u"abc", 4));

  String wide(MLIB_T("h\u00E9llo \u20AC"));
  const char* first = wide.toAnsi();
  EXPECT_STREQ(first, "h\xE9llo \x80");
  EXPECT_EQ(std::string(wide), "h\xE9llo \x80");
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

TEST(String, DoubleByteAnsiText) {
  CodePageScope scope(936);
  if (!scope.active()) GTEST_SKIP() << "the ANSI code page cannot be made 936 here";
  const char bytes[] = "\xC4\xE3\xBA\xC3";  // U+4F60 U+597D in code page 936
  const String fromAnsi(bytes);
  EXPECT_EQ(state(fromAnsi), State(u"\u4F60\u597D", 5)) << "capacity follows the byte count";
  EXPECT_STREQ(fromAnsi.toAnsi(), bytes);
  EXPECT_EQ(fromAnsi.GetAnsiLength(), 4);

  // Through operator=(const char*) the text lands in an exact-size buffer.
  EXPECT_EQ(state(String(std::string(bytes))), State(u"\u4F60\u597D", 3));
  String assigned;
  assigned = bytes;
  EXPECT_EQ(state(assigned), State(u"\u4F60\u597D", 3));
  EXPECT_EQ(state(String(MLIB_T("x")) + bytes), State(u"x\u4F60\u597D", 4));
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
// unit-by-unit count, and check the copy writes nothing past what it reports.
TEST(StringStorage, ScanAndCopyAgreeWithAPlainLoopEverywhere) {
  using mlib::detail::copyWideText;
  using mlib::detail::wideLengthBounded;
  std::vector<WideChar> source(400);
  std::vector<WideChar> target(400);
  for (std::size_t offset = 0; offset < 40; ++offset) {
    for (std::size_t length = 0; length < 300; length += (length < 80 ? 1 : 37)) {
      std::fill(source.begin(), source.end(), WideChar(0x5A5A));
      for (std::size_t i = 0; i < length; ++i) source[offset + i] = WideChar('a' + i % 26);
      source[offset + length] = 0;
      const WideChar* in = source.data() + offset;
      SCOPED_TRACE(testing::Message() << "offset " << offset << " length " << length);
      ASSERT_EQ(mlib::detail::wideLength(in), length);
      for (std::size_t bound :
           {std::size_t{0}, length / 2, length, length + 1, length + 50, length + 70}) {
        const std::size_t want = std::min(bound, length);
        ASSERT_EQ(wideLengthBounded(in, bound), want) << "bound " << bound;
        // Both copies: the one that reads like the scan, and the one for a source readable
        // up to the bound (every bound here lies within `source`).
        for (const auto copy : {&copyWideText, &mlib::detail::copyWideTextWithin}) {
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
