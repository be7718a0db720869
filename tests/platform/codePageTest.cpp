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

#include "platform/codePageCheck.h"

namespace mlib::platform {
namespace {

using test::convertInRooms;
using Units = std::basic_string<WideChar>;
using Numbers = std::vector<unsigned>;

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

std::vector<OracleLine> readOracle(unsigned page, const char* direction) {
  const std::string name =
      (page == kUtf8CodePage ? "utf8" : "cp" + std::to_string(page)) + direction;
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

// Every line of an answer file through `page`, zero-terminated; gives the number of lines.
template <typename In, typename Out>
std::size_t checkOracleFile(unsigned page, unsigned through, const char* direction) {
  const std::vector<OracleLine> lines = readOracle(page, direction);
  for (const OracleLine& line : lines) {
    std::vector<In> in(line.in.begin(), line.in.end());
    std::vector<Out> want(line.out.begin(), line.out.end());
    in.push_back(0);
    want.push_back(0);
    std::string fault;
    const int roomy = static_cast<int>(want.size()) * 4 + 8;
    EXPECT_EQ(convertInRooms<Out>(through, in.data(), -1, {roomy}, {}, fault), want)
        << "page " << page << direction << ": " << line.text;
    EXPECT_EQ(fault, "") << "page " << page << direction << ": " << line.text;
  }
  return lines.size();
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
  const unsigned before = ansiCodePage();
  for (const unsigned through : {page, kAnsiCodePage}) {
    if (through == kAnsiCodePage && before != page && !setAnsiCodePage(page)) break;
    if (through == kAnsiCodePage) {  // in UTF-8 a unit can take three bytes in an ANSI buffer
      EXPECT_EQ(ansiCodePage(), page);
      EXPECT_EQ(ansiBytesPerWideUnit(), utf8 ? 3u : 2u);
    }
    EXPECT_EQ((checkOracleFile<char, WideChar>(page, through, "-to-wide.txt")), toWideLines);
    EXPECT_EQ((checkOracleFile<WideChar, char>(page, through, "-from-wide.txt")),
              utf8 ? 73u : 65535u + 24);
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
  for (const OracleLine& line : readOracle(page, toWide ? "-to-wide.txt" : "-from-wide.txt")) {
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
// random pieces with runs of every length between them, some long, of ASCII or (odd seeds)
// of one-element pieces below 0x100 or with two output elements, which the block paths
// take whole until another character ends the block.
LongText makeLongText(const std::vector<Piece>& pieces, std::uint32_t seed) {
  LongText text;
  std::mt19937 random(seed);
  std::vector<Piece> runs;
  for (const Piece& piece : pieces) {
    const bool narrow = piece.in.size() == 1 && (piece.in[0] < 0x100 || piece.out.size() == 2);
    if (seed % 2 == 1 && narrow) runs.push_back(piece);
  }
  for (unsigned c = 0x20; c < 0x7F; c += seed % 2 == 1 ? 8 : 1) runs.push_back({{c}, {c}});
  std::vector<Piece> order = pieces;
  std::shuffle(order.begin(), order.end(), random);
  for (std::size_t i = 0; i < (seed == 0 ? order.size() : 200 * seed); ++i) {
    std::size_t run = seed == 0 || random() % 4 != 0 ? 0 : random() % 40;
    run += seed % 2 == 1 && random() % 64 == 0 ? 600 : 0;
    for (std::size_t k = 0; k < run; ++k) text.append(runs[random() % runs.size()]);
    text.append(seed == 0 ? order[i] : pieces[random() % pieces.size()]);
  }
  return text;
}

// A text whole (exact length, and length -1) and cut by rooms too small: each of the first
// 16, then 97 spread over the text. A cut leaves exactly the characters that fit.
template <typename In, typename Out>
void checkText(unsigned page, const LongText& text) {
  std::vector<In> in(text.in.begin(), text.in.end());
  std::vector<Out> want(text.out.begin(), text.out.end());
  std::vector<int> rooms;
  for (std::size_t step = 1; step <= 16 + 97; ++step)
    rooms.push_back(static_cast<int>(step <= 16 ? step : want.size() * (step - 16) / 98 + 1));
  std::string fault;
  EXPECT_EQ(convertInRooms<Out>(page, in.data(), static_cast<int>(in.size()), {}, {}, fault), want);
  in.push_back(0);
  want.push_back(0);
  std::vector<std::size_t> ends = text.ends;
  ends.push_back(want.size());
  EXPECT_EQ(convertInRooms<Out>(page, in.data(), -1, rooms, ends, fault), want);
  EXPECT_EQ(fault, "");
}

TEST_P(EveryPage, LongTextsConvertCharacterByCharacter) {
  if (test::kSystemConversions) GTEST_SKIP() << "the system's own answer decides";
  const unsigned page = GetParam();
  for (const bool toWide : {true, false}) {
    const std::vector<Piece> pieces = standalonePieces(page, toWide);
    ASSERT_FALSE(pieces.empty());
    for (std::uint32_t seed = 0; seed <= 8; ++seed) {
      SCOPED_TRACE(testing::Message() << "seed " << seed << (toWide ? ", to wide" : ", from wide"));
      if (toWide) checkText<char, WideChar>(page, makeLongText(pieces, seed));
      if (!toWide) checkText<WideChar, char>(page, makeLongText(pieces, seed));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(CodePage, EveryPage, testing::ValuesIn(test::kCodePages),
                         [](const testing::TestParamInfo<unsigned>& page) {
                           return "cp" + std::to_string(page.param);
                         });

// ---- Lengths and arguments ---------------------------------------------------------

// An explicit length converts zeros like any other character and stops exactly; a
// character cut by the end of the text becomes one default character or U+FFFD, and in
// UTF-8 before a terminator U+FFFD and the terminator (the answer files leave these out:
// there the incomplete sequence swallowed the terminator).
TEST(CodePage, TextEndingWithinACharacter) {
  const struct {
    unsigned page;
    const char* bytes;
    int length;
    Units units;
  } rows[] = {{1252, "A\0B", 3, Units(MLIB_T("A\0B"), 3)},
              {1252, "AB", 3, Units(MLIB_T("AB\0"), 3)},  // terminator counted when in the length
              {1252, "ABC", 2, MLIB_T("AB")},
              {936, "\x81\0A", 3, Units(MLIB_T("?\0A"), 3)},  // lead byte before a zero
              {936, "A\x81", 2, MLIB_T("A?")},
              {936, "\xD6\xD0\xCE", 3, MLIB_T("\u4E2D?")},  // pair, then a cut pair
              {65001, "\xE2\x82", 2, MLIB_T("\uFFFD")},
              {65001, "\xF0\x9F\x98\x80\0\xC3\xA9", 7, Units(MLIB_T("\U0001F600\0\u00E9"), 4)},
              {65001, "\xE0", -1, MLIB_T("\uFFFD")},
              {65001, "\xE1", -1, MLIB_T("\uFFFD")},
              {65001, "\xEF", -1, MLIB_T("\uFFFD")},
              {65001, "\xF0", -1, MLIB_T("\uFFFD")},
              {65001, "\xF4", -1, MLIB_T("\uFFFD")},
              {65001, "\xF0\x90", -1, MLIB_T("\uFFFD")},
              {65001, "\xF0\x9F", -1, MLIB_T("\uFFFD")},
              {65001, "\xF4\x8F", -1, MLIB_T("\uFFFD")},
              {65001, "\xF0\x80", -1, MLIB_T("\uFFFD")},
              {65001, "\xF0\x8F", -1, MLIB_T("\uFFFD")},
              {65001, "\xF4\x90", -1, MLIB_T("\uFFFD")},
              {65001, "AB\xE2", -1, MLIB_T("AB\uFFFD")},
              {65001, "\xF0\x41", -1, MLIB_T("\uFFFDA")}};
  for (const auto& row : rows) {
    if (row.length < 0 && test::kSystemConversions) continue;  // under Wine: swallowed
    std::string fault;
    const std::vector<WideChar> got =
        convertInRooms<WideChar>(row.page, row.bytes, row.length, {}, {}, fault);
    EXPECT_EQ(Units(got.begin(), got.end()), row.units + (row.length < 0 ? Units(1, 0) : Units()))
        << row.page << ": " << testing::PrintToString(std::string(row.bytes));
    EXPECT_EQ(fault, "");
  }
  // And back: a zero unit is a character like any other.
  std::string fault;
  EXPECT_EQ(convertInRooms<char>(1252, MLIB_T("A\0\u00E9"), 3, {}, {}, fault),
            (std::vector<char>{'A', 0, '\xE9'}));
  EXPECT_EQ(convertInRooms<char>(kUtf8CodePage, MLIB_T("A\0\u00E9"), 3, {}, {}, fault).size(), 4u);
  EXPECT_EQ(fault, "");
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
              {true, 12345, true, -1, false, 0, "count, unknown page"},
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
  EXPECT_EQ(std::string(bytes, 8), std::string(8, 0));
}

// ---- The ANSI code page (every page that can be it is made so above) -----------------

// Where the system owns the ANSI code page (Windows), the setting cannot be changed.
bool libraryOwnsAnsiCodePage() { return setAnsiCodePage(ansiCodePage()); }

// Refused: not a code page, or one no Windows has as its ANSI page; the current one stays.
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
        WideChar unit[2] = {};  // whichever page is current, 'A' stays 'A'
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
