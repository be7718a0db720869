// String storage, construction, assignment, concatenation, equality and ANSI conversion:
// texts and the exact capacities every operation leaves.
#include <mlib/string.h>
#include <mlib/text.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <string>
#include <vector>

#include "string/storage.h"

namespace {

using mlib::String;
using mlib::WideChar;
using mlib::detail::StringAccess;

unsigned capacityOf(const String& s) { return StringAccess::capacity(s); }

// Unit i of the buffer, read without any bound (positions after the terminator included).
WideChar unitAt(const String& s, unsigned i) { return *s.GetBuffer(i); }

std::u16string text(const String& s) {
  std::u16string out;
  for (const WideChar* p = s.toString(); p != nullptr && *p != 0; ++p) {
    out += static_cast<char16_t>(*p);
  }
  return out;
}

// Switches the library's ANSI code page for one test and puts the old one back.
class CodePageScope {
 public:
  explicit CodePageScope(unsigned codePage) : old_(GetAnsiCodePage()) {
    active_ = GetAnsiCodePage() == codePage || SetAnsiCodePage(codePage);
  }
  ~CodePageScope() { (void)SetAnsiCodePage(old_); }
  bool active() const { return active_; }

 private:
  unsigned old_;
  bool active_ = false;
};

TEST(String, NullAndEmptyTextsMakeNullStrings) {
  const String made[] = {String(), String(MLIB_T("")),
                         String(static_cast<const WideChar*>(nullptr)), String(""),
                         String(static_cast<const char*>(nullptr)), String(std::string())};
  for (const String& s : made) {
    EXPECT_TRUE(s.IsNull());
    EXPECT_TRUE(s.IsEmpty());
    EXPECT_EQ(s.GetLength(), 0);
    EXPECT_EQ(s.toUnicode(), nullptr);
    EXPECT_EQ(s.toAnsi(), nullptr);
    EXPECT_EQ(s.GetBuffer(0), nullptr);
    EXPECT_EQ(capacityOf(s), 0u);
    EXPECT_EQ(std::string(s), "");
  }
}

TEST(String, AssignmentReusesOrGrowsToExactSize) {
  String s;
  s = MLIB_T("abc");
  EXPECT_EQ(text(s), u"abc");
  EXPECT_EQ(capacityOf(s), 4u);
  s = MLIB_T("x");
  EXPECT_EQ(text(s), u"x");
  EXPECT_EQ(capacityOf(s), 4u);
  EXPECT_EQ(unitAt(s, 1), 0);
  EXPECT_EQ(unitAt(s, 2), 0);
  s = MLIB_T("abcde");
  EXPECT_EQ(text(s), u"abcde");
  EXPECT_EQ(capacityOf(s), 6u);

  s = static_cast<const WideChar*>(nullptr);
  EXPECT_FALSE(s.IsNull());
  EXPECT_TRUE(s.IsEmpty());
  EXPECT_EQ(capacityOf(s), 6u);
  s = MLIB_T("ab");
  s = MLIB_T("");
  EXPECT_FALSE(s.IsNull());
  EXPECT_TRUE(s.IsEmpty());
  EXPECT_EQ(unitAt(s, 1), 0);

  String null;
  null = MLIB_T("");
  EXPECT_TRUE(null.IsNull());
  null = WideChar('q');
  EXPECT_EQ(text(null), u"q");
  EXPECT_EQ(capacityOf(null), 2u);
  null = WideChar(0);
  EXPECT_TRUE(null.IsEmpty());
  EXPECT_FALSE(null.IsNull());

  String other(MLIB_T("copied"));
  s = other;
  EXPECT_EQ(text(s), u"copied");
  EXPECT_EQ(capacityOf(s), 7u);
  const String& same = s;
  s = same;
  EXPECT_EQ(text(s), u"copied");
  EXPECT_EQ(capacityOf(s), 7u);
}

TEST(String, AssignmentKeepsAnsiBufferOnlyWhileTheBufferIsReused) {
  String s(MLIB_T("hello"));
  const char* ansi = s.toAnsi();
  s = MLIB_T("hi");
  EXPECT_EQ(StringAccess::ansiBuffer(s), ansi);
  EXPECT_EQ(s.GetAnsiLength(), 5) << "the ANSI text still describes the older text";
  EXPECT_STREQ(s.toAnsi(), "hi");
  EXPECT_EQ(s.GetAnsiLength(), 2);
  s = MLIB_T("longer text");
  EXPECT_EQ(StringAccess::ansiBuffer(s), nullptr);
  s.toAnsi();
  s = "ansi";  // ANSI assignment, buffer reused
  EXPECT_NE(StringAccess::ansiBuffer(s), nullptr);
  EXPECT_EQ(capacityOf(s), 12u);
}

TEST(String, AppendGrowsExactlyOrWorksInPlace) {
  String s(MLIB_T("ab"));
  s.toAnsi();
  s += WideChar('c');
  EXPECT_EQ(text(s), u"abc");
  EXPECT_EQ(capacityOf(s), 4u);
  EXPECT_EQ(StringAccess::ansiBuffer(s), nullptr);

  String built;
  WideChar* buffer = built.AllocBuffer(10);
  buffer[0] = 'x';
  buffer[1] = 'y';
  const char* ansi = built.toAnsi();
  built += WideChar('z');
  EXPECT_EQ(text(built), u"xyz");
  EXPECT_EQ(capacityOf(built), 11u);
  EXPECT_EQ(built.GetBuffer(0), buffer);
  EXPECT_EQ(StringAccess::ansiBuffer(built), ansi);
  built += "12";
  built += std::string("34");
  built += String(MLIB_T("56"));
  built += static_cast<const WideChar*>(nullptr);
  built += static_cast<const char*>(nullptr);
  EXPECT_EQ(text(built), u"xyz123456");
  EXPECT_EQ(capacityOf(built), 11u);

  // Units a caller left behind a new terminator are cleared by the next append.
  String cut(MLIB_T("abcdef"));
  *cut.GetBuffer(2) = 0;
  cut += MLIB_T("x");
  EXPECT_EQ(text(cut), u"abx");
  EXPECT_EQ(unitAt(cut, 3), 0);
  EXPECT_EQ(capacityOf(cut), 7u);

  String null;
  null += MLIB_T("");
  EXPECT_TRUE(null.IsNull());
  null += MLIB_T("a");
  EXPECT_EQ(capacityOf(null), 2u);
}

TEST(String, BufferOperations) {
  String s(MLIB_T("abcde"));
  s.toAnsi();
  s.ResizeBuffer(2);
  EXPECT_EQ(text(s), u"ab");
  EXPECT_EQ(capacityOf(s), 3u);
  EXPECT_NE(StringAccess::ansiBuffer(s), nullptr) << "ResizeBuffer keeps the ANSI buffer";
  s.ResizeBuffer(10);
  EXPECT_EQ(text(s), u"ab");
  EXPECT_EQ(capacityOf(s), 11u);
  for (unsigned i = 2; i < 11; ++i) EXPECT_EQ(unitAt(s, i), 0) << i;

  String null;
  EXPECT_NE(null.ResizeBuffer(4), nullptr);
  EXPECT_EQ(capacityOf(null), 5u);
  EXPECT_TRUE(null.IsEmpty());

  s.ResetBuffer();
  EXPECT_TRUE(s.IsEmpty());
  EXPECT_EQ(unitAt(s, 1), 0);
  EXPECT_EQ(capacityOf(s), 11u);

  WideChar* fresh = s.AllocBuffer(5);
  EXPECT_EQ(capacityOf(s), 6u);
  EXPECT_EQ(StringAccess::ansiBuffer(s), nullptr);
  for (unsigned i = 0; i < 6; ++i) EXPECT_EQ(fresh[i], 0) << i;
  EXPECT_EQ(s.GetBuffer(3), fresh + 3);

  s.ReleaseBuffer();
  EXPECT_TRUE(s.IsNull());
  s = MLIB_T("again");
  EXPECT_EQ(text(s), u"again");

  String huge;
  EXPECT_THROW(huge.AllocBuffer(0xFFFFFFFFu), std::bad_alloc);
  EXPECT_TRUE(huge.IsNull());
}

TEST(String, CopyIsExactAndMoveTakesTheBufferAsItIs) {
  String wide(100);  // a number's text sits in a 515-unit buffer
  const char* ansi = wide.toAnsi();
  const String copy(wide);
  EXPECT_EQ(text(copy), u"100");
  EXPECT_EQ(capacityOf(copy), 4u);
  EXPECT_EQ(StringAccess::ansiBuffer(copy), nullptr);

  String moved(std::move(wide));
  EXPECT_EQ(capacityOf(moved), 515u);
  EXPECT_EQ(StringAccess::ansiBuffer(moved), ansi);
  EXPECT_TRUE(wide.IsNull());  // NOLINT(bugprone-use-after-move): moved-from is null
  String target(MLIB_T("old"));
  target = std::move(moved);
  EXPECT_EQ(capacityOf(target), 515u);
  EXPECT_EQ(text(target), u"100");

  String emptyWithBuffer;
  emptyWithBuffer.AllocBuffer(3);
  EXPECT_TRUE(String(emptyWithBuffer).IsNull());
}

TEST(String, ConcatenationMakesExactSizeStrings) {
  const String ab(MLIB_T("ab"));
  const String sum = ab + MLIB_T("cde");
  EXPECT_EQ(text(sum), u"abcde");
  EXPECT_EQ(capacityOf(sum), 6u);
  EXPECT_EQ(text(ab + String(MLIB_T("x"))), u"abx");
  EXPECT_EQ(text(ab + "yz"), u"abyz");
  EXPECT_EQ(text(ab + std::string("!")), u"ab!");
  EXPECT_EQ(text(ab + WideChar('c')), u"abc");
  EXPECT_EQ(text(String() + MLIB_T("x")), u"x");

  String wide(7);
  const String copy = wide + static_cast<const WideChar*>(nullptr);
  EXPECT_EQ(text(copy), u"7");
  EXPECT_EQ(capacityOf(copy), 2u);
  EXPECT_EQ(capacityOf(wide + static_cast<const char*>(nullptr)), 2u);

  String empty1;
  String empty2;
  empty1.AllocBuffer(4);
  empty2.AllocBuffer(4);
  EXPECT_TRUE((empty1 + empty2).IsNull());
  EXPECT_TRUE((String() + String()).IsNull());
}

TEST(String, EqualityNeedsABufferOnBothSides) {
  String emptyWithBuffer;
  emptyWithBuffer.AllocBuffer(2);
  const String abc(MLIB_T("abc"));
  struct Row {
    bool got;
    bool want;
    const char* why;
  };
  const Row rows[] = {
      {String() == String(), false, "two null strings"},
      {String() == MLIB_T(""), false, "null string and empty text"},
      {emptyWithBuffer == MLIB_T(""), true, "empty text with a buffer"},
      {emptyWithBuffer == emptyWithBuffer, true, "same empty string"},
      {abc == MLIB_T("abc"), true, "same text"},
      {abc == String(MLIB_T("abc")), true, "same text as String"},
      {abc == MLIB_T("abd"), false, "last unit differs"},
      {abc == MLIB_T("ab"), false, "other is a prefix"},
      {abc == MLIB_T("abcd"), false, "this is a prefix"},
      {abc == static_cast<const WideChar*>(nullptr), false, "null text"},
      {abc == String(), false, "null string"},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.why);
    EXPECT_EQ(r.got, r.want);
  }
}

TEST(String, AnsiTextInCodePage1252) {
  CodePageScope scope(1252);
  if (!scope.active()) GTEST_SKIP() << "the system's ANSI code page is not 1252";
  // 0x80 is the euro sign in 1252, 0xE9 e acute.
  const String fromAnsi("\x80 caf\xE9");
  EXPECT_EQ(text(fromAnsi), u"\u20AC caf\u00E9");
  EXPECT_EQ(capacityOf(fromAnsi), 7u);
  EXPECT_EQ(StringAccess::ansiBuffer(fromAnsi), nullptr);
  EXPECT_EQ(text(String(reinterpret_cast<const unsigned char*>("abc"))), u"abc");

  const String wide(MLIB_T("h\u00E9llo \u20AC"));
  EXPECT_STREQ(wide.toAnsi(), "h\xE9llo \x80");
  EXPECT_EQ(std::string(wide), "h\xE9llo \x80");
  EXPECT_STREQ(static_cast<char*>(wide), "h\xE9llo \x80");
  EXPECT_EQ(wide.GetAnsiLength(), 7);

  // Without an ANSI buffer, GetAnsiLength makes one.
  const String fresh(MLIB_T("\u0100bc"));
  EXPECT_EQ(fresh.GetAnsiLength(), 3);
  EXPECT_STREQ(StringAccess::ansiBuffer(fresh), "Abc") << "best-fit look-alike of U+0100";
}

TEST(String, DoubleByteAnsiText) {
  CodePageScope scope(936);
  if (!scope.active()) GTEST_SKIP() << "the ANSI code page cannot be made 936 here";
  // The two characters U+4F60 U+597D in code page 936.
  const char bytes[] = "\xC4\xE3\xBA\xC3";
  const String fromAnsi(bytes);
  EXPECT_EQ(text(fromAnsi), u"\u4F60\u597D");
  EXPECT_EQ(fromAnsi.GetLength(), 2);
  EXPECT_EQ(capacityOf(fromAnsi), 5u) << "capacity follows the byte count";
  EXPECT_EQ(unitAt(fromAnsi, 2), 0);
  EXPECT_EQ(unitAt(fromAnsi, 4), 0);
  EXPECT_STREQ(fromAnsi.toAnsi(), bytes);
  EXPECT_EQ(fromAnsi.GetAnsiLength(), 4);

  // Through operator=(const char*) the text lands in an exact-size buffer.
  const String fromStd{std::string(bytes)};
  EXPECT_EQ(text(fromStd), u"\u4F60\u597D");
  EXPECT_EQ(capacityOf(fromStd), 3u);
  String assigned;
  assigned = bytes;
  EXPECT_EQ(capacityOf(assigned), 3u);
  EXPECT_EQ(text(String(MLIB_T("x")) + bytes), u"x\u4F60\u597D");
}

TEST(String, TextFromItsOwnBufferIsReadBeforeTheChange) {
  String s(MLIB_T("hello world"));
  s = s.GetBuffer(6);
  EXPECT_EQ(text(s), u"world");
  EXPECT_EQ(capacityOf(s), 12u);
  s += s.toString();
  EXPECT_EQ(text(s), u"worldworld");
  s += s;
  EXPECT_EQ(text(s), u"worldworldworldworld");
  s = s.toAnsi();
  EXPECT_EQ(text(s), u"worldworldworldworld");
}

}  // namespace

namespace {

// The scans read whole aligned blocks; sweep start alignments, lengths and bounds against a
// unit-by-unit count, and check the copy writes nothing past what it reports.
TEST(StringStorage, ScanAndCopyAgreeWithAPlainLoopEverywhere) {
  using mlib::detail::copyWideText;
  using mlib::detail::wideLength;
  using mlib::detail::wideLengthBounded;
  std::vector<WideChar> source(400);
  std::vector<WideChar> target(400);
  for (std::size_t offset = 0; offset < 40; ++offset) {
    for (std::size_t length = 0; length < 300; length += (length < 80 ? 1 : 37)) {
      std::fill(source.begin(), source.end(), WideChar(0x5A5A));
      for (std::size_t i = 0; i < length; ++i) source[offset + i] = WideChar('a' + i % 26);
      source[offset + length] = 0;
      const WideChar* text = source.data() + offset;
      SCOPED_TRACE(testing::Message() << "offset " << offset << " length " << length);
      ASSERT_EQ(wideLength(text), length);
      for (std::size_t bound : {std::size_t{0}, length / 2, length, length + 1, length + 50}) {
        const std::size_t want = bound < length ? bound : length;
        ASSERT_EQ(wideLengthBounded(text, bound), want) << "bound " << bound;
        std::fill(target.begin(), target.end(), WideChar(0x7777));
        const std::size_t copied = copyWideText(target.data(), text, bound);
        ASSERT_EQ(copied, want) << "bound " << bound;
        const std::size_t written = bound <= length ? bound : length + 1;
        ASSERT_TRUE(std::equal(text, text + written, target.begin())) << "bound " << bound;
        ASSERT_TRUE(std::all_of(target.begin() + static_cast<std::ptrdiff_t>(written), target.end(),
                                [](WideChar unit) { return unit == 0x7777; }))
            << "written past the copy, bound " << bound;
      }
    }
  }
  EXPECT_EQ(wideLength(nullptr), 0u);
}

}  // namespace
