// multiByteToWide / wideToMultiByte against the answers Windows gave (tests/data: input, tab,
// output, in hex), line by line and in long texts; the length, argument and ANSI page rules.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <thread>
#include <tuple>

#include "platform/codePageCheck.h"

namespace mlib::platform {
namespace {

using test::convertInRooms;
using Numbers = std::vector<unsigned>;
using Units = std::basic_string<WideChar>;

Numbers parseHex(const std::string& field) {
  Numbers values;
  std::istringstream in(field);
  for (std::string item; in >> item;) values.push_back(std::stoul(item, nullptr, 16));
  return values;
}

// An input and its output: an answer line, named by `what`, or a text made of pieces, with
// the output counts at which a character ends.
struct Piece {
  Numbers in, out;
  std::string what;
  std::vector<std::size_t> ends;
};

std::vector<Piece> readOracle(unsigned page, bool toWide) {
  const std::string name = (page == kUtf8CodePage ? "utf8" : "cp" + std::to_string(page)) +
                           (toWide ? "-to-wide.txt" : "-from-wide.txt");
  std::ifstream file(std::string(MLIB_TEST_DATA_DIR) + "/" + name);
  std::vector<Piece> lines;
  for (std::string line; std::getline(file, line);) {
    const std::size_t tab = line.find('\t');
    EXPECT_NE(tab, std::string::npos) << name << ": " << line;
    lines.push_back(
        {parseHex(line.substr(0, tab)), parseHex(line.substr(tab + 1)), name + ": " + line, {}});
  }
  return lines;
}

// The lead bytes of a code page, from defaults.txt (what GetCPInfoEx told).
std::vector<bool> leadBytes(unsigned page) {
  std::ifstream file(std::string(MLIB_TEST_DATA_DIR) + "/defaults.txt");
  const std::string prefix = std::to_string(page) + "\tLeadByteRanges\t";
  std::vector<bool> lead(256, false);
  for (std::string line; std::getline(file, line);) {
    const Numbers v = line.rfind(prefix, 0) == 0 ? parseHex(line.substr(prefix.size())) : Numbers();
    for (std::size_t i = 1; i < v.size(); i += 2)
      std::fill(lead.begin() + v[i - 1], lead.begin() + v[i] + 1, true);
  }
  return lead;
}

// t.in to t.out through `page`, zero-terminated, whole and cut by `rooms` (a cut keeps exactly
// the characters that fit, which end at t.ends); given rooms, also with its exact length (an
// answer line may hold a zero, which ends a terminated text).
template <typename In, typename Out>
void expectConverts(unsigned page, const Piece& t, std::vector<int> rooms = {}) {
  std::vector<In> in(t.in.begin(), t.in.end());
  std::vector<Out> want(t.out.begin(), t.out.end());
  std::string fault;
  if (!rooms.empty()) {
    EXPECT_EQ(convertInRooms<Out>(page, in.data(), int(in.size()), {}, {}, fault), want) << t.what;
  }
  in.push_back(0);
  want.push_back(0);
  std::vector<std::size_t> ends = t.ends;
  ends.push_back(want.size());
  rooms.push_back(static_cast<int>(want.size()) * 4 + 8);
  EXPECT_EQ(convertInRooms<Out>(page, in.data(), -1, rooms, ends, fault), want) << t.what;
  EXPECT_EQ(fault, "") << t.what;
}

// A character below 0x10000 that is no surrogate and its UTF-8 form, as a piece.
Piece utf8Piece(unsigned c, bool toWide) {
  Numbers bytes{c};
  if (c >= 0x80) bytes = {0xC0 | c >> 6, 0x80 | (c & 0x3F)};
  if (c >= 0x800) bytes = {0xE0 | c >> 12, 0x80 | (c >> 6 & 0x3F), 0x80 | (c & 0x3F)};
  return toWide ? Piece{bytes, {c}, "", {}} : Piece{{c}, bytes, "", {}};
}

// Appends a piece to a text. A character ends after every unit but a high surrogate; in bytes,
// at the end of a piece and in UTF-8 before every byte that does not continue a character.
void append(Piece& text, const Piece& piece, bool toWide, bool utf8) {
  text.in.insert(text.in.end(), piece.in.begin(), piece.in.end());
  for (std::size_t i = 0; i < piece.out.size(); ++i) {
    text.out.push_back(piece.out[i]);
    if (toWide ? piece.out[i] - 0xD800 >= 0x400
               : i + 1 == piece.out.size() || (utf8 && (piece.out[i + 1] & 0xC0) != 0x80)) {
      text.ends.push_back(text.out.size());
    }
  }
}

// Pieces: the answer lines that convert alone (a byte that is no lead byte, a lead byte with a
// byte that is no zero, one unit; in UTF-8 a line without a zero, then a three-byte character,
// which starts afresh). Seed 0: each piece once, shuffled. Others: random pieces with runs
// between them for the block and run paths: of ASCII, of one-element pieces below 0x100 or with
// two output elements (odd seeds), in UTF-8 of two-byte (odd seeds) or three-byte characters
// (every fourth seed) with now and then an ASCII one. From wide, past a run's 40th piece, never
// the first tenth of the run pieces (in UTF-8 the ASCII ones: long runs of one length to cut).
Piece makeLongText(const std::vector<Piece>& lines, const std::vector<bool>& lead, unsigned page,
                   bool toWide, unsigned seed) {
  const bool utf8 = page == kUtf8CodePage, odd = seed % 2 == 1, cjk = utf8 && seed % 4 == 0;
  std::vector<Piece> pieces, runs;
  for (const Piece& line : lines) {
    const Numbers& in = line.in;
    if (utf8 && std::count(in.begin(), in.end(), 0u) == 0) {
      Piece joined;
      append(joined, line, toWide, true);
      append(joined, utf8Piece(0x4E00 + 97 * unsigned(pieces.size()), toWide), toWide, true);
      pieces.push_back(joined);
    } else if (!utf8 && (toWide ? (in.size() == 1 && !lead[in[0]]) ||
                                      (in.size() == 2 && lead[in[0]] && in[1] != 0)
                                : in.size() == 1)) {
      pieces.push_back(line);
      if (odd && in.size() == 1 && (in[0] < 0x100 || line.out.size() == 2)) runs.push_back(line);
    }
  }
  for (unsigned c = 0x20; c < 0x7F; c += odd || cjk ? 8 : 1) runs.push_back(utf8Piece(c, toWide));
  for (unsigned c = cjk ? 0x4E00 : 0x80; (cjk || (utf8 && odd)) && runs.size() < 120; c += 13)
    runs.push_back(utf8Piece(c, toWide));
  std::mt19937 random(seed);
  std::vector<Piece> order = pieces;
  std::shuffle(order.begin(), order.end(), random);
  Piece text{{}, {}, "seed " + std::to_string(seed) + (toWide ? ", to wide" : ", from wide"), {}};
  for (std::size_t i = 0; !pieces.empty() && i < (seed == 0 ? order.size() : 200 * seed); ++i) {
    std::size_t run = seed == 0 || random() % 4 != 0 ? 0 : random() % 40;
    run += seed != 0 && random() % 64 == 0 ? 600 : 0;
    for (std::size_t k = 0, least = 0; k < run; least = ++k < 40 || toWide ? 0 : runs.size() / 10)
      append(text, runs[std::max<std::size_t>(random() % runs.size(), least)], toWide, utf8);
    append(text, seed == 0 ? order[i] : pieces[random() % pieces.size()], toWide, utf8);
  }
  return text;
}

// Every byte, lead/trail pair (three edge inputs a lead byte) and mixture to UTF-16, every unit
// and the multi-unit inputs back; then long texts of the lines that convert alone, whole and
// cut by rooms too small: each of the first 16, then 97 spread over the text.
TEST(CodePage, MatchesOracleLineByLineAndInLongTexts) {
  for (const unsigned page : test::kCodePages) {
    SCOPED_TRACE(page);
    const std::vector<bool> lead = leadBytes(page);
    const auto leads = static_cast<std::size_t>(std::count(lead.begin(), lead.end(), true));
    const std::vector<Piece> toWide = readOracle(page, true), fromWide = readOracle(page, false);
    EXPECT_EQ(toWide.size(), page == kUtf8CodePage ? 180 : 255 + (leads ? leads * 258 + 25 : 15));
    EXPECT_EQ(fromWide.size(), page == kUtf8CodePage ? 73u : 65535u + 24);
    for (const Piece& line : toWide) expectConverts<char, WideChar>(page, line);
    for (const Piece& line : fromWide) expectConverts<WideChar, char>(page, line);
    if (test::kSystemConversions) continue;  // long texts: the system's own answer decides
    for (unsigned seed = 0; seed <= 17; ++seed) {
      const bool wide = seed <= 8;
      const Piece text = makeLongText(wide ? toWide : fromWide, lead, page, wide, seed % 9);
      ASSERT_FALSE(text.out.empty()) << "no line converts alone";
      std::vector<int> rooms{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
      for (std::size_t k = 1; k <= 97; ++k) rooms.push_back(int(text.out.size() * k / 98 + 1));
      if (wide) expectConverts<char, WideChar>(page, text, rooms);
      if (!wide) expectConverts<WideChar, char>(page, text, rooms);
    }
  }
}

// An explicit length converts zeros like any other character (a terminator within the length,
// a zero after a lead byte) and stops exactly (a pair cut after its lead byte); a character cut by
// the end of the text becomes one default character or U+FFFD, and in UTF-8 before a terminator
// U+FFFD and the terminator (the answer files leave these out: there the incomplete sequence
// swallowed the terminator).
TEST(CodePage, TextEndingWithinACharacter) {
  std::string zeros, wanted;  // a zero after a lead byte 64 times over: in blocks, after one too
  while (zeros.size() < 192) zeros.append("\x81\0A", 3), wanted.append("?\0A", 3);
  // Page, bytes, length, units (the terminator added for length -1).
  std::vector<std::tuple<unsigned, const char*, int, Units>> rows = {
      {1252, "A\0B", 3, Units(MLIB_T("A\0B"), 3)},
      {1252, "AB", 3, Units(MLIB_T("AB\0"), 3)},
      {1252, "ABC", 2, MLIB_T("AB")},
      {936, zeros.c_str(), 192, Units(wanted.begin(), wanted.end())},
      {936, "\xD6\xD0\xCE", 3, MLIB_T("\u4E2D?")},
      {65001, "\xE2\x82", 2, MLIB_T("\uFFFD")},
      {65001, "\xF0\x9F\x98\x80\0\xC3\xA9", 7, Units(MLIB_T("\U0001F600\0\u00E9"), 4)},
      {65001, "AB\xE2", -1, MLIB_T("AB\uFFFD")},
      {65001, "\xF0\x41", -1, MLIB_T("\uFFFDA")}};
  for (const char* cut : {"\xE0", "\xE1", "\xEF", "\xF0", "\xF4", "\xF0\x90", "\xF0\x9F",
                          "\xF4\x8F", "\xF0\x80", "\xF0\x8F", "\xF4\x90"})
    rows.emplace_back(65001, cut, -1, MLIB_T("\uFFFD"));
  std::string fault;
  for (const auto& [page, bytes, length, units] : rows) {
    if (length < 0 && test::kSystemConversions) continue;  // under Wine: swallowed
    const std::vector<WideChar> got = convertInRooms<WideChar>(page, bytes, length, {}, {}, fault);
    EXPECT_EQ(Units(got.begin(), got.end()), units + (length < 0 ? Units(1, 0) : Units()))
        << page << ": " << testing::PrintToString(std::string(bytes));
  }
  // And back: a zero unit is a character like any other.
  EXPECT_EQ(convertInRooms<char>(1252, MLIB_T("A\0\u00E9"), 3, {}, {}, fault),
            (std::vector<char>{'A', 0, '\xE9'}));
  EXPECT_EQ(convertInRooms<char>(kUtf8CodePage, MLIB_T("A\0\u00E9"), 3, {}, {}, fault).size(), 4u);
  EXPECT_EQ(fault, "");
}

// Page (54321, 12345: none), a source ("A") or null, length, a buffer or null, room (936's
// row: no buffer for a room of 1).
TEST(CodePage, BadArgumentsAndUnknownCodePagesFailWith87) {
  if (test::kSystemConversions) GTEST_SKIP() << "the system's own argument checks answer";
  WideChar units[8] = {};
  char bytes[8] = {};
  const std::tuple<unsigned, bool, int, bool, int> rows[] = {
      {54321, true, -1, true, 8}, {12345, true, -1, false, 0}, {1252, false, -1, true, 8},
      {1252, true, 0, true, 8},   {1252, true, -2, true, 8},   {1252, true, -3, true, 8},
      {1252, true, -1, true, -1}, {1252, true, -1, false, 8},  {936, true, -1, false, 1}};
  for (const bool toWide : {true, false}) {
    for (const auto& row : rows) {
      const auto& [page, source, length, buffer, room] = row;
      SCOPED_TRACE((toWide ? "to wide " : "from wide ") + testing::PrintToString(row));
      setLastError(0);
      EXPECT_EQ(toWide ? multiByteToWide(page, source ? "A" : nullptr, length,
                                         buffer ? units : nullptr, room)
                       : wideToMultiByte(page, source ? MLIB_T("A") : nullptr, length,
                                         buffer ? bytes : nullptr, room),
                0);
      EXPECT_EQ(lastError(), kErrorInvalidParameter);
    }
  }
  EXPECT_EQ(Units(units, 8) + Units(bytes, bytes + 8), Units(16, 0));
}

// Refused: not a code page, or one no Windows has as its ANSI page; the current one stays.
// Changes from several threads race safely with conversions through code page 0.
TEST(CodePage, AnsiSettingRefusesOtherPagesAndIsSafeAcrossThreads) {
  const unsigned before = ansiCodePage();
  if (!setAnsiCodePage(before)) GTEST_SKIP() << "the system owns the ANSI code page";
  ASSERT_TRUE(setAnsiCodePage(1252));
  for (const unsigned refused : {12345u, 0u, 437u, 1200u, 850u, 20936u}) {
    EXPECT_FALSE(setAnsiCodePage(refused)) << refused;
    EXPECT_EQ(ansiCodePage(), 1252u) << refused;
  }
  std::vector<std::thread> threads;
  std::atomic<int> wrong{0};
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t, &wrong] {
      for (int i = 0; i < 2000; ++i) {
        wrong += !setAnsiCodePage((i + t) % 2 == 0 ? 936 : 1252);
        const unsigned now = ansiCodePage();  // once: another thread may change it between reads
        WideChar unit[2] = {};                // whichever page is current, 'A' stays 'A'
        wrong += (now != 936 && now != 1252) +
                 (multiByteToWide(kAnsiCodePage, "A", -1, unit, 2) != 2 || unit[0] != 'A');
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong.load(), 0);
  ASSERT_TRUE(setAnsiCodePage(before));
}

// MLIB_ANSI_CODEPAGE sets the ANSI code page at first use, once: CTest runs this test in a
// process of its own for each value (ansiCodePageEnv/CMakeLists.txt).
TEST(AnsiCodePageEnvironment, FirstUseTakesTheVariableAndOnlyThen) {
  const char* const expectedText = std::getenv("MLIB_TEST_EXPECTED_ANSI_CODEPAGE");
  if (expectedText == nullptr) GTEST_SKIP() << "run through CTest, which sets the variables";
  const auto expected = static_cast<unsigned>(std::stoul(expectedText));
  // set_first: a change made before any other use is not undone by the variable read after it.
  const char* const row = std::getenv("MLIB_TEST_ROW");
  ASSERT_TRUE(row == nullptr || std::string(row) != "set_first" || setAnsiCodePage(expected));
  // Else the first use of all is a conversion through code page 0: it gives what the expected
  // page gives under its own number ("中" in 936, "ÖÐ" in 1252, U+FFFD twice in UTF-8).
  WideChar units[3] = {}, expectedUnits[3] = {};
  EXPECT_EQ(multiByteToWide(kAnsiCodePage, "\xD6\xD0", -1, units, 3),
            multiByteToWide(expected, "\xD6\xD0", -1, expectedUnits, 3));
  EXPECT_EQ(Units(units), Units(expectedUnits));
  EXPECT_EQ(ansiCodePage(), expected);
  // A change at run time holds: the variable is not read again.
  for (const unsigned page : {expected == 936 ? 1252u : 936u, expected}) {
    ASSERT_TRUE(setAnsiCodePage(page));
    EXPECT_EQ(ansiCodePage(), page);
  }
}

}  // namespace
}  // namespace mlib::platform
