// Checks multiByteToWide / wideToMultiByte against the answers Windows itself gave
// (tests/data, one line per input), plus the room, length, argument and ANSI code page
// rules around them.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "backendUnderTest.h"
#include "platform/codePage.h"
#include "platform/process.h"

namespace mlib::platform {
namespace {

using Units = std::basic_string<WideChar>;
using Bytes = std::string;
using Numbers = std::vector<unsigned>;

#define MLIB_SKIP_UNDER_SYSTEM_CONVERSIONS()        \
  if (test::kSystemConversions)                     \
  GTEST_SKIP() << "the system's own answer decides" \
               << " (under Wine an incomplete sequence swallows the terminator)"

int convert(unsigned page, const char* src, int n, WideChar* dst, int room) {
  return multiByteToWide(page, src, n, dst, room);
}
int convert(unsigned page, const WideChar* src, int n, char* dst, int room) {
  return wideToMultiByte(page, src, n, dst, room);
}
template <typename T>
constexpr T kCanary = static_cast<T>(sizeof(T) == 1 ? 0x5A : 0xCDCD);

Numbers parseHex(const std::string& field) {
  Numbers values;
  std::istringstream in(field);
  for (std::string item; in >> item;) values.push_back(std::stoul(item, nullptr, 16));
  return values;
}

// The lines of an answer file: input, tab, Windows' output, both as hexadecimal numbers.
struct OracleLine {
  Numbers in, out;
  std::string text;
};

std::vector<OracleLine> readOracle(const std::string& name) {
  std::ifstream file(std::string(MLIB_TEST_DATA_DIR) + "/" + name);
  EXPECT_TRUE(file.good()) << "cannot read " << name;
  std::vector<OracleLine> lines;
  for (std::string line; std::getline(file, line);) {
    const std::size_t tab = line.find('\t');
    if (tab == std::string::npos) ADD_FAILURE() << name << ": no tab in «" << line << "»";
    if (tab != std::string::npos)
      lines.push_back({parseHex(line.substr(0, tab)), parseHex(line.substr(tab + 1)), line});
  }
  return lines;
}

// The lead bytes of a code page, from defaults.txt (what GetCPInfoEx told).
std::vector<bool> leadBytes(unsigned codePage) {
  std::ifstream file(std::string(MLIB_TEST_DATA_DIR) + "/defaults.txt");
  std::vector<bool> lead(256, false);
  for (std::string line; std::getline(file, line);) {
    const std::string prefix = std::to_string(codePage) + "\tLeadByteRanges\t";
    if (line.compare(0, prefix.size(), prefix) != 0) continue;
    const Numbers v = parseHex(line.substr(prefix.size()));
    for (std::size_t i = 0; i + 1 < v.size(); i += 2) {
      for (unsigned b = v[i]; b <= v[i + 1]; ++b) lead[b] = true;
    }
  }
  return lead;
}

// Converts zero-terminated text (length -1): the size query, then into exactly that room and
// into a roomy one, both fenced by canaries; the three must agree. Gives the output before
// the terminator.
template <typename Out, typename In>
std::basic_string<Out> convertTerminated(unsigned codePage, const std::basic_string<In>& text) {
  const int need = convert(codePage, text.c_str(), -1, static_cast<Out*>(nullptr), 0);
  if (need < 1) {
    ADD_FAILURE() << "size query gave " << need;
    return {};
  }
  std::basic_string<Out> exact;
  for (const int room : {need, need * 4 + 8}) {
    std::vector<Out> buffer(static_cast<std::size_t>(room) + 2, kCanary<Out>);
    EXPECT_EQ(convert(codePage, text.c_str(), -1, buffer.data(), room), need) << "room " << room;
    EXPECT_EQ(buffer[static_cast<std::size_t>(need) - 1], 0) << "terminator, room " << room;
    EXPECT_EQ(std::count(buffer.begin() + need, buffer.end(), kCanary<Out>),
              static_cast<std::ptrdiff_t>(buffer.size()) - need)
        << "written past the count, room " << room;
    if (room == need) exact.assign(buffer.data(), static_cast<std::size_t>(need) - 1);
  }
  return exact;
}

// Every line of an answer file through `page`; gives the number of lines checked.
template <typename In, typename Out>
std::size_t checkOracleFile(unsigned page, const std::string& name) {
  const std::vector<OracleLine> lines = readOracle(name);
  for (const OracleLine& line : lines) {
    EXPECT_EQ(convertTerminated<Out>(page, std::basic_string<In>(line.in.begin(), line.in.end())),
              std::basic_string<Out>(line.out.begin(), line.out.end()))
        << "page " << page << ", " << name << ": " << line.text;
  }
  return lines.size();
}

// Every code page Windows can have as its active ANSI page, and UTF-8.
constexpr unsigned kPages[] = {874,  932,  936,  949,  950,  1250, 1251,         1252,
                               1253, 1254, 1255, 1256, 1257, 1258, kUtf8CodePage};

std::string oracleName(unsigned page, const char* direction) {
  return (page == kUtf8CodePage ? "utf8" : "cp" + std::to_string(page)) + direction;
}

class EveryPage : public testing::TestWithParam<unsigned> {};

// Every byte, every lead/trail pair and the mixtures to UTF-16; every unit and the
// multi-unit inputs back to bytes: under the page's own number, and under code page 0
// while it is the ANSI page (where it can be made so).
TEST_P(EveryPage, MatchesOracleBothWays) {
  const unsigned page = GetParam();
  const std::vector<bool> lead = leadBytes(page);
  const std::size_t leads = static_cast<std::size_t>(std::count(lead.begin(), lead.end(), true));
  // Single-byte pages: the bytes and 15 mixtures. Double-byte pages: the bytes, each lead
  // byte with every byte, three edge inputs per lead byte, 25 mixtures.
  const bool utf8 = page == kUtf8CodePage;
  const std::size_t toWideLines = utf8 ? 180 : leads == 0 ? 255 + 15 : 255 + leads * 258 + 25;
  const std::size_t fromWideLines = utf8 ? 73 : 65535 + 24;
  const unsigned before = ansiCodePage();
  for (const unsigned through : {page, kAnsiCodePage}) {
    if (through == kAnsiCodePage && before != page && !setAnsiCodePage(page)) break;
    // In UTF-8 a unit can take three bytes in an ANSI buffer.
    if (through == kAnsiCodePage) {
      EXPECT_EQ(ansiCodePage(), page);
      EXPECT_EQ(ansiBytesPerWideUnit(), utf8 ? 3u : 2u);
    }
    EXPECT_EQ((checkOracleFile<char, WideChar>(through, oracleName(page, "-to-wide.txt"))),
              toWideLines);
    EXPECT_EQ((checkOracleFile<WideChar, char>(through, oracleName(page, "-from-wide.txt"))),
              fromWideLines);
  }
  (void)setAnsiCodePage(before);
}

// ---- Long texts: the word-at-a-time paths at every alignment ------------------------

// One character: its input and its output.
struct Piece {
  Numbers in, out;
};

// A text of pieces, with the output counts at which a character ends.
struct LongText {
  Numbers in, out;
  std::vector<std::size_t> ends{0};
  void append(const Piece& piece) {
    in.insert(in.end(), piece.in.begin(), piece.in.end());
    out.insert(out.end(), piece.out.begin(), piece.out.end());
    ends.push_back(out.size());
  }
};

bool isHighSurrogate(unsigned u) { return u >= 0xD800 && u < 0xDC00; }

// The answer lines that are one whole character whose conversion does not depend on its
// neighbours, so that any sequence of them converts to the sequence of their answers.
std::vector<Piece> standalonePieces(unsigned page, bool toWide) {
  const std::vector<bool> lead = leadBytes(page);
  std::vector<Piece> pieces;
  for (const OracleLine& line :
       readOracle(oracleName(page, toWide ? "-to-wide.txt" : "-from-wide.txt"))) {
    const Numbers& in = line.in;
    const Numbers& out = line.out;
    bool take = false;
    if (page != kUtf8CodePage && toWide) {  // a non-lead byte, a lead byte with a non-zero one
      take = (in.size() == 1 && !lead[in[0]]) || (in.size() == 2 && lead[in[0]] && in[1] != 0);
    } else if (page != kUtf8CodePage) {
      take = in.size() == 1;
    } else if (toWide) {
      // Well-formed (no zero, no U+FFFD but its own encoding), or a byte that is never part
      // of a character, which stays one U+FFFD whatever surrounds it.
      const bool wellFormed = std::count(in.begin(), in.end(), 0u) == 0 &&
                              (out.size() == 1 ? out[0] != 0xFFFD || in == Numbers{0xEF, 0xBF, 0xBD}
                                               : out.size() == 2 && isHighSurrogate(out[0]));
      const bool loneInvalid = in.size() == 1 && (in[0] >= 0x80 && (in[0] < 0xC2 || in[0] > 0xF4));
      take = !in.empty() && in[0] >= 0x80 && (wellFormed || loneInvalid);
    } else {  // one unit that is not a high surrogate (a lone low one stays lone), or a pair
      take = (in.size() == 1 && in[0] != 0 && !isHighSurrogate(in[0])) ||
             (in.size() == 2 && isHighSurrogate(in[0]) && in[1] >= 0xDC00 && in[1] < 0xE000);
    }
    if (take) pieces.push_back({in, out});
  }
  return pieces;
}

// Seed 0: every piece once, shuffled, so that each character meets random neighbours. Others:
// random pieces with ASCII runs of every length between them.
LongText makeLongText(const std::vector<Piece>& pieces, std::size_t pieceCount,
                      std::uint32_t seed) {
  LongText text;
  if (seed == 0) {
    std::vector<std::size_t> order(pieces.size());
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
    std::shuffle(order.begin(), order.end(), std::mt19937(1));
    for (std::size_t i : order) text.append(pieces[i]);
    return text;
  }
  std::uint32_t state = seed;
  const auto next = [&state] { return (state = state * 1664525u + 1013904223u) >> 8; };
  for (std::size_t i = 0; i < pieceCount; ++i) {
    const std::size_t asciiRun = next() % 4 == 0 ? next() % 40 : 0;
    for (std::size_t k = 0; k < asciiRun; ++k) {
      const unsigned c = 0x20 + next() % 0x5F;
      text.append({{c}, {c}});
    }
    text.append(pieces[next() % pieces.size()]);
  }
  return text;
}

// Converts a text whole (exact length, and length -1) and cut by rooms too small: each of
// the first 16, then 97 spread over the text. A cut leaves exactly the characters that
// fit, returns 0 with lastError 122 and writes nothing more; a success leaves lastError alone.
template <typename In, typename Out>
void checkText(unsigned page, const LongText& text) {
  std::vector<In> input(text.in.begin(), text.in.end());
  const std::vector<Out> want(text.out.begin(), text.out.end());
  const int inCount = static_cast<int>(input.size());
  const int outCount = static_cast<int>(want.size());
  std::vector<Out> buffer(want.size() + 2, kCanary<Out>);
  setLastError(0);
  EXPECT_EQ(convert(page, input.data(), inCount, static_cast<Out*>(nullptr), 0), outCount);
  EXPECT_EQ(convert(page, input.data(), inCount, buffer.data(), outCount), outCount);
  EXPECT_TRUE(std::equal(want.begin(), want.end(), buffer.begin()));
  EXPECT_EQ(buffer[want.size()], kCanary<Out>) << "no terminator without one in the input";
  input.push_back(0);
  EXPECT_EQ(convert(page, input.data(), -1, static_cast<Out*>(nullptr), 0), outCount + 1);
  EXPECT_EQ(convert(page, input.data(), -1, buffer.data(), outCount + 1), outCount + 1);
  EXPECT_TRUE(std::equal(want.begin(), want.end(), buffer.begin()));
  EXPECT_EQ(buffer[want.size()], 0);
  EXPECT_EQ(buffer.back(), kCanary<Out>);
  EXPECT_EQ(lastError(), 0);
  for (std::size_t step = 1; step <= 16 + 97; ++step) {
    const std::size_t room = step <= 16 ? step : want.size() * (step - 16) / 98 + 1;
    std::size_t fits = 0;
    for (std::size_t end : text.ends) fits = end <= room ? end : fits;
    buffer.assign(want.size() + 2, kCanary<Out>);
    setLastError(0);
    EXPECT_EQ(convert(page, input.data(), -1, buffer.data(), static_cast<int>(room)), 0) << room;
    EXPECT_EQ(lastError(), kErrorInsufficientBuffer);
    EXPECT_TRUE(
        std::equal(want.begin(), want.begin() + static_cast<std::ptrdiff_t>(fits), buffer.begin()))
        << "room " << room;
    // One check for the whole tail: a check per element made this test slow.
    ASSERT_EQ(
        std::count(buffer.begin() + static_cast<std::ptrdiff_t>(fits), buffer.end(), kCanary<Out>),
        static_cast<std::ptrdiff_t>(buffer.size() - fits))
        << "room " << room << " written past the " << fits << " units that fit";
  }
}

TEST_P(EveryPage, LongTextsConvertCharacterByCharacter) {
  MLIB_SKIP_UNDER_SYSTEM_CONVERSIONS();
  const unsigned page = GetParam();
  const std::vector<Piece> toWide = standalonePieces(page, true);
  const std::vector<Piece> fromWide = standalonePieces(page, false);
  ASSERT_FALSE(toWide.empty() || fromWide.empty());
  for (std::uint32_t seed = 0; seed <= 8; ++seed) {
    SCOPED_TRACE(seed);
    checkText<char, WideChar>(page, makeLongText(toWide, 300 * seed, seed));
    checkText<WideChar, char>(page, makeLongText(fromWide, 300 * seed, seed));
  }
}

INSTANTIATE_TEST_SUITE_P(CodePage, EveryPage, testing::ValuesIn(kPages),
                         [](const testing::TestParamInfo<unsigned>& page) {
                           return "cp" + std::to_string(page.param);
                         });

// Western and mixed text goes to UTF-8 a block of units at a time while no unit is 0x800 or
// above. Each kind of character that ends such a stretch, at every offset across two blocks,
// between ASCII letters and two-byte letters: whole, and cut by many rooms.
TEST(CodePage, Utf8BlocksOfTwoByteTextMeetEveryOtherCharacter) {
  MLIB_SKIP_UNDER_SYSTEM_CONVERSIONS();
  const Piece breakers[] = {{{0x800}, {0xE0, 0xA0, 0x80}},  // the first three-byte character
                            {{0xD83D, 0xDE00}, {0xF0, 0x9F, 0x98, 0x80}},  // a surrogate pair
                            {{0xDC00}, {0xEF, 0xBF, 0xBD}},                // a lone low surrogate
                            {{0xFFFF}, {0xEF, 0xBF, 0xBF}}};
  const Piece ascii = {{'a'}, {'a'}}, twoByte = {{0xFC}, {0xC3, 0xBC}};
  const Piece lowest = {{0x80}, {0xC2, 0x80}}, highest = {{0x7FF}, {0xDF, 0xBF}};
  for (const Piece& breaker : breakers) {
    for (std::size_t offset = 0; offset < 24; ++offset) {
      SCOPED_TRACE(offset);
      LongText text;
      for (std::size_t i = 0; i < offset; ++i) text.append(i % 3 == 1 ? twoByte : ascii);
      text.append(breaker);
      for (std::size_t i = 0; i < 600; ++i)
        text.append(i % 5 == 0 ? highest : i % 7 == 0 ? lowest : i % 2 ? twoByte : ascii);
      checkText<WideChar, char>(kUtf8CodePage, text);
    }
  }
}

// The inputs the answer files leave out: there the incomplete sequence swallowed the
// terminator. Here it becomes U+FFFD and the terminator follows.
TEST(CodePage, IncompleteUtf8BeforeTerminatorBecomesReplacementChar) {
  MLIB_SKIP_UNDER_SYSTEM_CONVERSIONS();
  const struct {
    Bytes in;
    Units want;
  } rows[] = {{"\xE0", MLIB_T("\uFFFD")},     {"\xE1", MLIB_T("\uFFFD")},
              {"\xEF", MLIB_T("\uFFFD")},     {"\xF0", MLIB_T("\uFFFD")},
              {"\xF4", MLIB_T("\uFFFD")},     {"\xF0\x90", MLIB_T("\uFFFD")},
              {"\xF0\x9F", MLIB_T("\uFFFD")}, {"\xF4\x8F", MLIB_T("\uFFFD")},
              {"\xF0\x80", MLIB_T("\uFFFD")}, {"\xF0\x8F", MLIB_T("\uFFFD")},
              {"\xF4\x90", MLIB_T("\uFFFD")}, {"AB\xE2", MLIB_T("AB\uFFFD")},
              {"\xF0\x41", MLIB_T("\uFFFDA")}};
  for (const auto& row : rows) {
    EXPECT_EQ(convertTerminated<WideChar>(kUtf8CodePage, row.in), row.want)
        << testing::PrintToString(row.in);
  }
}

// ---- Lengths and arguments ---------------------------------------------------------

TEST(CodePage, ExplicitLengthConvertsZerosAndStopsExactly) {
  const struct {
    unsigned page;
    Bytes bytes;
    Units units;
    const char* why;
  } rows[] = {
      {1252, Bytes("A\0B", 3), Units(MLIB_T("A\0B"), 3), "zero in the middle"},
      {1252, Bytes("AB\0", 3), Units(MLIB_T("AB\0"), 3), "terminator counted when in the length"},
      {1252, Bytes("ABC", 2), Units(MLIB_T("AB"), 2), "length shorter than the text"},
      {936, Bytes("\x81\0A", 3), Units(MLIB_T("?\0A"), 3), "lead byte before a zero"},
      {936, Bytes("A\x81", 2), Units(MLIB_T("A?"), 2), "lead byte at the very end"},
      {936, Bytes("\xD6\xD0\xCE", 3), Units(MLIB_T("\u4E2D?"), 2), "pair, then a cut pair"},
      {kUtf8CodePage, Bytes("\xE2\x82", 2), Units(MLIB_T("\uFFFD"), 1), "sequence cut short"},
      {kUtf8CodePage, Bytes("\xF0\x9F\x98\x80\0\xC3\xA9", 7),
       Units(MLIB_T("\U0001F600\0\u00E9"), 4), "zero between characters"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    const int byteCount = static_cast<int>(row.bytes.size());
    const int unitCount = static_cast<int>(row.units.size());
    EXPECT_EQ(multiByteToWide(row.page, row.bytes.data(), byteCount, nullptr, 0), unitCount);
    Units units(row.units.size() + 1, kCanary<WideChar>);
    EXPECT_EQ(multiByteToWide(row.page, row.bytes.data(), byteCount, &units[0], unitCount),
              unitCount);
    EXPECT_EQ(units, row.units + kCanary<WideChar>);
  }
  // And back: a zero unit is a character like any other.
  const Units units(MLIB_T("A\0\u00E9"), 3);
  char bytes[4] = {kCanary<char>, kCanary<char>, kCanary<char>, kCanary<char>};
  EXPECT_EQ(wideToMultiByte(1252, units.data(), 3, bytes, 3), 3);
  EXPECT_EQ(Bytes(bytes, 4), Bytes("A\0\xE9\x5A", 4));
  EXPECT_EQ(wideToMultiByte(kUtf8CodePage, units.data(), 3, nullptr, 0), 4);
}

TEST(CodePage, BadArgumentsAndUnknownCodePagesFailWith87) {
  if (test::kSystemConversions) GTEST_SKIP() << "the system's own argument checks answer";
  WideChar units[8] = {};
  char bytes[8] = {};
  const struct {
    bool toWide;
    unsigned page;
    bool source;  // "A" or null
    int length;
    bool buffer;  // the array or null
    int room;
    const char* why;
  } rows[] = {{true, 54321, true, -1, true, 8, "no such page"},
              {true, 12345, true, -1, true, 8, "unknown page"},
              {true, 54321, true, -1, false, 0, "count, no such page"},
              {true, 1252, false, -1, true, 8, "no source"},
              {true, 1252, true, 0, true, 8, "length 0"},
              {true, 1252, true, -2, true, 8, "length -2"},
              {true, 1252, true, -1, true, -1, "room -1"},
              {true, 1252, true, -1, false, 8, "no buffer"},
              {true, 1252, true, -1, false, 1, "no buffer, room 1"},
              {false, 54321, true, -1, true, 8, "no such page"},
              {false, 12345, true, -1, false, 0, "count, unknown page"},
              {false, 1252, false, -1, true, 8, "no source"},
              {false, 1252, true, 0, true, 8, "length 0"},
              {false, 1252, true, -3, true, 8, "length -3"},
              {false, 1252, true, -1, true, -1, "room -1"},
              {false, 936, true, -1, false, 8, "no buffer"},
              {false, 936, true, -1, false, 1, "no buffer, room 1"}};
  for (const auto& r : rows) {
    SCOPED_TRACE(testing::Message() << (r.toWide ? "to wide: " : "from wide: ") << r.why);
    setLastError(0);
    EXPECT_EQ(r.toWide ? multiByteToWide(r.page, r.source ? "A" : nullptr, r.length,
                                         r.buffer ? units : nullptr, r.room)
                       : wideToMultiByte(r.page, r.source ? MLIB_T("A") : nullptr, r.length,
                                         r.buffer ? bytes : nullptr, r.room),
              0);
    EXPECT_EQ(lastError(), kErrorInvalidParameter);
  }
  EXPECT_EQ(Units(units, 8), Units(8, 0));
  EXPECT_EQ(Bytes(bytes, 8), Bytes(8, 0));
}

// ---- The ANSI code page ------------------------------------------------------------

// Where the system owns the ANSI code page (Windows), the setting cannot be changed.
bool libraryOwnsAnsiCodePage() { return setAnsiCodePage(ansiCodePage()); }

// (Every page that can be the ANSI page is made so, and checked, with its answer files.)
// Refused: not a code page, or one no Windows has as its ANSI page. Each leaves the current
// one in place.
TEST(CodePage, AnsiSettingRefusesOtherPages) {
  if (!libraryOwnsAnsiCodePage()) GTEST_SKIP() << "the system owns the ANSI code page";
  const unsigned before = ansiCodePage();
  ASSERT_TRUE(setAnsiCodePage(1252));
  for (const unsigned refused : {12345u, 0u, 437u, 1200u, 850u, 20936u}) {
    EXPECT_FALSE(setAnsiCodePage(refused)) << refused;
    EXPECT_EQ(ansiCodePage(), 1252u) << refused;
  }
  ASSERT_TRUE(setAnsiCodePage(before));
}

TEST(CodePage, AnsiSettingIsSafeAcrossThreads) {
  if (!libraryOwnsAnsiCodePage()) GTEST_SKIP() << "the system owns the ANSI code page";
  const unsigned before = ansiCodePage();
  std::vector<std::thread> threads;
  std::atomic<int> wrong{0};
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t, &wrong] {
      for (int i = 0; i < 2000; ++i) {
        wrong += !setAnsiCodePage((i + t) % 2 == 0 ? 936 : 1252);
        const unsigned now = ansiCodePage();  // once: another thread may change it between reads
        wrong += now != 936 && now != 1252;
        // Whichever page is current, 'A' stays 'A'.
        WideChar unit[2] = {};
        wrong += multiByteToWide(kAnsiCodePage, "A", -1, unit, 2) != 2 || unit[0] != 'A';
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong.load(), 0);
  ASSERT_TRUE(setAnsiCodePage(before));
}

}  // namespace
}  // namespace mlib::platform
