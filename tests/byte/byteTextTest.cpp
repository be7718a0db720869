// Byte's ANSI <-> UTF-8 conversions, checked against the code page reference tables.
#include <mlib/byte.h>

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include <mlib/text.h>

using mlib::Byte;

namespace {

std::string content(const Byte& b) {
  if (b.GetData() == nullptr) return {};
  return std::string(reinterpret_cast<const char*>(b.GetData()),
                     static_cast<std::size_t>(b.GetLength()));
}

Byte bytesOf(const std::string& s) {
  Byte b;
  b.SetData(reinterpret_cast<const unsigned char*>(s.data()), static_cast<int>(s.size()));
  return b;
}

// UTF-8 of one BMP code point, worked out by the test itself.
std::string utf8Of(unsigned cp) {
  std::string out;
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
  return out;
}

// Sets the ANSI code page for one test and puts 1252 back afterwards.
class AnsiCodePage {
 public:
  explicit AnsiCodePage(unsigned codePage) : ok_(SetAnsiCodePage(codePage)) {}
  ~AnsiCodePage() {
    if (ok_) (void)SetAnsiCodePage(1252);
  }
  bool ok() const { return ok_; }

 private:
  bool ok_;
};

}  // namespace

TEST(ByteText, EmptyAndEmbeddedZero) {
  EXPECT_EQ(Byte().AnsiToUtf8().GetData(), nullptr);
  EXPECT_EQ(Byte().Utf8ToAnsi().GetData(), nullptr);
  Byte emptyWithStorage("");
  EXPECT_EQ(emptyWithStorage.AnsiToUtf8().GetData(), nullptr);

  const Byte split = bytesOf(std::string("a\0b", 3));
  const Byte utf8 = split.AnsiToUtf8();
  EXPECT_EQ(content(utf8), "a");
  EXPECT_EQ(utf8.GetBufferLength(), 2);
  EXPECT_EQ(content(split), std::string("a\0b", 3));  // the source keeps its content
}

TEST(ByteText, Every1252ByteMatchesOracle) {
  if (GetAnsiCodePage() != 1252) GTEST_SKIP() << "the ANSI code page here is not 1252";
  std::ifstream table(MLIB_TEST_DATA_DIR "/cp1252-to-wide.txt");
  ASSERT_TRUE(table.is_open());
  std::string ansi, expectedUtf8, line;
  while (std::getline(table, line)) {
    unsigned byte = 0, unit = 0;
    std::istringstream fields(line);
    fields >> std::hex >> byte >> unit;
    ansi += static_cast<char>(byte);
    expectedUtf8 += utf8Of(unit);
  }
  ASSERT_EQ(ansi.size(), 255u);
  const Byte utf8 = bytesOf(ansi).AnsiToUtf8();
  EXPECT_EQ(content(utf8), expectedUtf8);
  EXPECT_EQ(utf8.GetBufferLength(), utf8.GetLength() + 1);
  EXPECT_EQ(content(utf8.Utf8ToAnsi()), ansi);

  // Three UTF-8 bytes for each ANSI byte: more than twice the input must fit.
  const Byte euros = bytesOf(std::string(1000, '\x80')).AnsiToUtf8();
  EXPECT_EQ(euros.GetLength(), 3000);
  EXPECT_EQ(content(euros).substr(2997), "\xE2\x82\xAC");
}

TEST(ByteText, MalformedUtf8BecomesDefaultChar) {
  if (GetAnsiCodePage() != 1252) GTEST_SKIP() << "the ANSI code page here is not 1252";
  struct Row { std::string in; std::string want; const char* why; };
  const Row rows[] = {
      {"a\xFF" "b", "a?b", "byte never valid in UTF-8"},
      {"\xC3\xA9", "\xE9", "two-byte e acute"},
      {"x\xC3", "x?", "truncated sequence at the end"},
      {"\xE4\xB8\xAD", "?", "a character 1252 cannot hold"},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.why);
    EXPECT_EQ(content(bytesOf(r.in).Utf8ToAnsi()), r.want);
  }
}

TEST(ByteText, DoubleByteCodePage) {
  AnsiCodePage cp936(936);
  if (!cp936.ok()) GTEST_SKIP() << "the ANSI code page is the system's here";
  // U+4E2D U+6587: D6 D0 CE C4 in 936, E4 B8 AD E6 96 87 in UTF-8.
  const Byte utf8 = bytesOf("\xD6\xD0\xCE\xC4").AnsiToUtf8();
  EXPECT_EQ(content(utf8), "\xE4\xB8\xAD\xE6\x96\x87");
  EXPECT_EQ(content(utf8.Utf8ToAnsi()), "\xD6\xD0\xCE\xC4");
}
