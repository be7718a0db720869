// Checks multiByteToWide / wideToMultiByte against the answers Windows itself gave
// (tests/data, one line per input), plus the room, length, argument and ANSI code page
// rules around them.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <set>
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

constexpr WideChar kUnitCanary = 0xCDCD;
constexpr char kByteCanary = '\x5A';

// ---- The recorded answers ----------------------------------------------------------

struct OracleLine {
  std::vector<unsigned> input;
  std::vector<unsigned> output;
  std::string text;  // the line itself, for failure messages
};

std::vector<unsigned> parseHex(const std::string& field) {
  std::vector<unsigned> values;
  std::istringstream in(field);
  std::string item;
  while (in >> item) values.push_back(static_cast<unsigned>(std::stoul(item, nullptr, 16)));
  return values;
}

std::vector<OracleLine> readOracle(const char* name) {
  std::ifstream file(std::string(MLIB_TEST_DATA_DIR) + "/" + name);
  EXPECT_TRUE(file.good()) << "cannot read " << name;
  std::vector<OracleLine> lines;
  std::string line;
  while (std::getline(file, line)) {
    const std::size_t tab = line.find('\t');
    if (tab == std::string::npos) {
      ADD_FAILURE() << name << ": no tab in «" << line << "»";
      continue;
    }
    lines.push_back({parseHex(line.substr(0, tab)), parseHex(line.substr(tab + 1)), line});
  }
  return lines;
}

Bytes bytesOf(const std::vector<unsigned>& values) {
  Bytes bytes;
  for (unsigned v : values) bytes += static_cast<char>(v);
  return bytes;
}

Units unitsOf(const std::vector<unsigned>& values) {
  Units units;
  for (unsigned v : values) units += static_cast<WideChar>(v);
  return units;
}

// codepage -> field -> value, from defaults.txt.
struct CodePageFacts {
  unsigned maxCharSize = 0;
  Bytes defaultChar;
  WideChar unicodeDefaultChar = 0;
  std::vector<std::pair<unsigned, unsigned>> leadByteRanges;
};

CodePageFacts readFacts(unsigned codePage) {
  std::ifstream file(std::string(MLIB_TEST_DATA_DIR) + "/defaults.txt");
  CodePageFacts facts;
  std::string line;
  int fields = 0;
  while (std::getline(file, line)) {
    std::istringstream in(line);
    std::string page, field, value;
    std::getline(in, page, '\t');
    std::getline(in, field, '\t');
    std::getline(in, value);
    if (std::stoul(page) != codePage) continue;
    ++fields;
    if (field == "MaxCharSize") facts.maxCharSize = static_cast<unsigned>(std::stoul(value));
    if (field == "DefaultChar") facts.defaultChar = bytesOf(parseHex(value));
    if (field == "UnicodeDefaultChar") facts.unicodeDefaultChar = unitsOf(parseHex(value))[0];
    if (field == "LeadByteRanges") {
      const std::vector<unsigned> v = parseHex(value);
      for (std::size_t i = 0; i + 1 < v.size(); i += 2)
        facts.leadByteRanges.push_back({v[i], v[i + 1]});
    }
  }
  EXPECT_EQ(fields, 4) << "defaults.txt for " << codePage;
  return facts;
}

// ---- Conversions as the recorded answers were made ----------------------------------

// Converts `bytes` as zero-terminated text (length -1): the size query first, then into a
// buffer of exactly that size and into a roomy one, both fenced by canaries. Returns the
// units before the terminator; any disagreement among the three calls is a failure.
Units toWideTerminated(unsigned codePage, const Bytes& bytes) {
  const int need = multiByteToWide(codePage, bytes.c_str(), -1, nullptr, 0);
  if (need < 1) {
    ADD_FAILURE() << "size query gave " << need;
    return {};
  }
  for (const int room : {need, need * 4 + 8}) {
    std::vector<WideChar> buffer(static_cast<std::size_t>(room) + 2, kUnitCanary);
    const int written = multiByteToWide(codePage, bytes.c_str(), -1, buffer.data(), room);
    EXPECT_EQ(written, need) << "room " << room;
    EXPECT_EQ(buffer[static_cast<std::size_t>(need) - 1], 0) << "terminator, room " << room;
    for (std::size_t i = static_cast<std::size_t>(need); i < buffer.size(); ++i) {
      EXPECT_EQ(buffer[i], kUnitCanary) << "written past the count at " << i;
    }
    if (room != need) continue;
    return Units(buffer.data(), static_cast<std::size_t>(need) - 1);
  }
  return {};
}

Bytes fromWideTerminated(unsigned codePage, const Units& units) {
  const int need = wideToMultiByte(codePage, units.c_str(), -1, nullptr, 0);
  if (need < 1) {
    ADD_FAILURE() << "size query gave " << need;
    return {};
  }
  Bytes exact;
  for (const int room : {need, need * 4 + 8}) {
    std::vector<char> buffer(static_cast<std::size_t>(room) + 2, kByteCanary);
    const int written = wideToMultiByte(codePage, units.c_str(), -1, buffer.data(), room);
    EXPECT_EQ(written, need) << "room " << room;
    EXPECT_EQ(buffer[static_cast<std::size_t>(need) - 1], 0) << "terminator, room " << room;
    for (std::size_t i = static_cast<std::size_t>(need); i < buffer.size(); ++i) {
      EXPECT_EQ(buffer[i], kByteCanary) << "written past the count at " << i;
    }
    if (room == need) exact.assign(buffer.data(), static_cast<std::size_t>(need) - 1);
  }
  return exact;
}

// Every line of a bytes-to-UTF-16 answer file; returns the number of lines checked.
std::size_t checkToWideFile(unsigned codePage, const char* name) {
  std::size_t checked = 0;
  for (const OracleLine& line : readOracle(name)) {
    const Units got = toWideTerminated(codePage, bytesOf(line.input));
    EXPECT_EQ(got, unitsOf(line.output)) << name << ": " << line.text;
    ++checked;
  }
  return checked;
}

std::size_t checkFromWideFile(unsigned codePage, const char* name) {
  std::size_t checked = 0;
  for (const OracleLine& line : readOracle(name)) {
    const Bytes got = fromWideTerminated(codePage, unitsOf(line.input));
    EXPECT_EQ(got, bytesOf(line.output)) << name << ": " << line.text;
    ++checked;
  }
  return checked;
}

// Every code page Windows can have as its active ANSI page.
constexpr unsigned kAnsiPages[] = {874,  932,  936,  949,  950,  1250, 1251,
                                   1252, 1253, 1254, 1255, 1256, 1257, 1258};

std::string toWideFile(unsigned codePage) {
  return "cp" + std::to_string(codePage) + "-to-wide.txt";
}

std::string fromWideFile(unsigned codePage) {
  return "cp" + std::to_string(codePage) + "-from-wide.txt";
}

std::size_t leadByteCount(const CodePageFacts& facts) {
  std::size_t count = 0;
  for (const auto& range : facts.leadByteRanges) count += range.second - range.first + 1;
  return count;
}

class EveryAnsiPage : public testing::TestWithParam<unsigned> {};

// Every byte, every lead/trail pair and the mixtures to UTF-16; every unit and the
// multi-unit inputs back to bytes.
TEST_P(EveryAnsiPage, MatchesOracleBothWays) {
  const unsigned codePage = GetParam();
  const std::size_t leads = leadByteCount(readFacts(codePage));
  // Single-byte pages: the bytes and 15 mixtures. Double-byte pages: the bytes, each lead
  // byte with every byte, three edge inputs per lead byte, 25 mixtures.
  const std::size_t toWideLines = leads == 0 ? 255u + 15u : 255u + leads * 255u + leads * 3u + 25u;
  EXPECT_EQ(checkToWideFile(codePage, toWideFile(codePage).c_str()), toWideLines);
  EXPECT_EQ(checkFromWideFile(codePage, fromWideFile(codePage).c_str()), 65535u + 24u);
  // The active ANSI page (on Windows the system's) answers the same as code page 0.
  if (ansiCodePage() == codePage) {
    EXPECT_EQ(checkToWideFile(kAnsiCodePage, toWideFile(codePage).c_str()), toWideLines);
    EXPECT_EQ(checkFromWideFile(kAnsiCodePage, fromWideFile(codePage).c_str()), 65535u + 24u);
  }
}

INSTANTIATE_TEST_SUITE_P(CodePage, EveryAnsiPage, testing::ValuesIn(kAnsiPages),
                         [](const testing::TestParamInfo<unsigned>& page) {
                           return "cp" + std::to_string(page.param);
                         });

TEST(CodePage, Utf8MatchesOracle) {
  EXPECT_EQ(checkToWideFile(kUtf8CodePage, "utf8-to-wide.txt"), 180u);
  EXPECT_EQ(checkFromWideFile(kUtf8CodePage, "utf8-from-wide.txt"), 73u);
}

TEST(CodePage, Utf8AsTheAnsiPageMatchesOracle) {
  const unsigned before = ansiCodePage();
  if (before != kUtf8CodePage && !setAnsiCodePage(kUtf8CodePage)) {
    GTEST_SKIP() << "the ANSI code page is not UTF-8 here";
  }
  EXPECT_EQ(checkToWideFile(kAnsiCodePage, "utf8-to-wide.txt"), 180u);
  EXPECT_EQ(checkFromWideFile(kAnsiCodePage, "utf8-from-wide.txt"), 73u);
  (void)setAnsiCodePage(before);
}

// The inputs the answer files leave out: there the incomplete sequence swallowed the
// terminator. Here it becomes U+FFFD and the terminator follows.
TEST(CodePage, IncompleteUtf8BeforeTerminatorBecomesReplacementChar) {
  if (test::kSystemConversions)
    GTEST_SKIP() << "the system decides; under Wine an incomplete sequence swallows the terminator";
  struct Row {
    const char* in;
    Units want;
  };
  const Row rows[] = {
      {"\xE0", MLIB_T("\uFFFD")},
      {"\xE1", MLIB_T("\uFFFD")},
      {"\xEF", MLIB_T("\uFFFD")},
      {"\xF0", MLIB_T("\uFFFD")},
      {"\xF4", MLIB_T("\uFFFD")},
      {"\xF0\x90", MLIB_T("\uFFFD")},
      {"\xF0\x9F", MLIB_T("\uFFFD")},
      {"\xF4\x8F", MLIB_T("\uFFFD")},
      {"\xF0\x80", MLIB_T("\uFFFD")},
      {"\xF0\x8F", MLIB_T("\uFFFD")},
      {"\xF4\x90", MLIB_T("\uFFFD")},
      {"AB\xE2", MLIB_T("AB\uFFFD")},
      {"\xF0"
       "A",
       MLIB_T("\uFFFD") "A"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.in);
    EXPECT_EQ(toWideTerminated(kUtf8CodePage, row.in), row.want);
  }
}

// ---- Long texts: the word-at-a-time paths at every alignment ------------------------

// One character: its input and its output, taken from an answer file.
struct Piece {
  std::vector<unsigned> input;
  std::vector<unsigned> output;
};

bool isLeadByte(const CodePageFacts& facts, unsigned b) {
  for (const auto& range : facts.leadByteRanges) {
    if (b >= range.first && b <= range.second) return true;
  }
  return false;
}

// The answer lines that are one whole character whose conversion does not depend on its
// neighbours, so that any sequence of them converts to the sequence of their answers.
std::vector<Piece> standalonePieces(unsigned codePage, const char* name, bool toWide) {
  const CodePageFacts facts = readFacts(codePage);
  std::vector<Piece> pieces;
  for (const OracleLine& line : readOracle(name)) {
    const auto& in = line.input;
    const auto& out = line.output;
    bool take = false;
    if (codePage != kUtf8CodePage) {
      // Legacy code pages: a non-lead byte, a lead byte with a non-zero byte, one unit.
      if (toWide) {
        take = (in.size() == 1 && !isLeadByte(facts, in[0])) ||
               (in.size() == 2 && isLeadByte(facts, in[0]) && in[1] != 0);
      } else {
        take = in.size() == 1;
      }
    } else if (toWide) {
      // Well-formed: no zero, and no U+FFFD unless it is U+FFFD's own encoding.
      const bool noZero = std::find(in.begin(), in.end(), 0u) == in.end();
      const bool wellFormed =
          noZero &&
          (out.size() == 1 ? out[0] != 0xFFFD || in == std::vector<unsigned>{0xEF, 0xBF, 0xBD}
                           : out.size() == 2 && out[0] >= 0xD800 && out[0] < 0xDC00);
      // Bytes that are never part of a character stay one U+FFFD whatever surrounds them.
      const bool loneInvalid = in.size() == 1 && (in[0] >= 0x80 && (in[0] < 0xC2 || in[0] > 0xF4));
      take = !in.empty() && in[0] >= 0x80 && (wellFormed || loneInvalid);
    } else {
      // One unit that is not a high surrogate (a lone low one stays lone), or a pair.
      take = (in.size() == 1 && in[0] != 0 && !(in[0] >= 0xD800 && in[0] < 0xDC00)) ||
             (in.size() == 2 && in[0] >= 0xD800 && in[0] < 0xDC00 && in[1] >= 0xDC00 &&
              in[1] < 0xE000);
    }
    if (take) pieces.push_back({in, out});
  }
  return pieces;
}

// A text of ASCII runs of every length between pieces, reproducible.
struct LongText {
  std::vector<unsigned> input;
  std::vector<unsigned> output;
  std::vector<std::size_t> boundaries;  // output counts at which a character ends
};

LongText makeLongText(const std::vector<Piece>& pieces, std::size_t pieceCount,
                      std::uint32_t seed) {
  LongText text;
  text.boundaries.push_back(0);
  std::uint32_t state = seed;
  const auto next = [&state] {
    state = state * 1664525u + 1013904223u;
    return state >> 8;
  };
  const auto append = [&text](const std::vector<unsigned>& in, const std::vector<unsigned>& out) {
    text.input.insert(text.input.end(), in.begin(), in.end());
    text.output.insert(text.output.end(), out.begin(), out.end());
    text.boundaries.push_back(text.output.size());
  };
  for (std::size_t i = 0; i < pieceCount; ++i) {
    const std::size_t asciiRun = next() % 4 == 0 ? next() % 40 : 0;
    for (std::size_t k = 0; k < asciiRun; ++k) {
      const unsigned c = 0x20 + next() % 0x5F;
      append({c}, {c});
    }
    const Piece& piece = pieces[next() % pieces.size()];
    append(piece.input, piece.output);
  }
  return text;
}

// Converts a long text whole (length -1 and exact length) and cut by many rooms: a cut
// leaves exactly the characters that fit, returns 0 with lastError 122 and writes
// nothing more.
template <typename In, typename Out, typename Convert>
void checkLongText(const LongText& text, Convert convert, Out canary) {
  std::vector<In> input(text.input.begin(), text.input.end());
  const std::vector<Out> want(text.output.begin(), text.output.end());
  const int inputCount = static_cast<int>(input.size());
  const int outputCount = static_cast<int>(want.size());

  // Exact length: no terminator in, none out.
  EXPECT_EQ(convert(input.data(), inputCount, nullptr, 0), outputCount);
  std::vector<Out> buffer(want.size() + 1, canary);
  EXPECT_EQ(convert(input.data(), inputCount, buffer.data(), outputCount), outputCount);
  EXPECT_TRUE(std::equal(want.begin(), want.end(), buffer.begin()));
  EXPECT_EQ(buffer.back(), canary);

  // Zero-terminated.
  input.push_back(0);
  EXPECT_EQ(convert(input.data(), -1, nullptr, 0), outputCount + 1);
  buffer.assign(want.size() + 2, canary);
  EXPECT_EQ(convert(input.data(), -1, buffer.data(), outputCount + 1), outputCount + 1);
  EXPECT_TRUE(std::equal(want.begin(), want.end(), buffer.begin()));
  EXPECT_EQ(buffer[want.size()], 0);
  EXPECT_EQ(buffer.back(), canary);

  for (int step = 1; step <= 97; ++step) {
    const std::size_t room = want.size() * static_cast<std::size_t>(step) / 98 + 1;
    std::size_t fits = 0;
    for (std::size_t b : text.boundaries) {
      if (b <= room) fits = b;
    }
    buffer.assign(want.size() + 2, canary);
    setLastError(0);
    EXPECT_EQ(convert(input.data(), -1, buffer.data(), static_cast<int>(room)), 0) << room;
    EXPECT_EQ(lastError(), kErrorInsufficientBuffer);
    EXPECT_TRUE(
        std::equal(want.begin(), want.begin() + static_cast<std::ptrdiff_t>(fits), buffer.begin()))
        << "room " << room;
    // One check for the whole tail: a check per element made this test slow.
    const auto written = std::find_if(buffer.begin() + static_cast<std::ptrdiff_t>(fits),
                                      buffer.end(), [canary](Out v) { return v != canary; });
    ASSERT_TRUE(written == buffer.end())
        << "room " << room << ", written at " << (written - buffer.begin());
  }
}

void checkLongTexts(unsigned codePage, const char* toWideFile, const char* fromWideFile) {
  const std::vector<Piece> toWidePieces = standalonePieces(codePage, toWideFile, true);
  const std::vector<Piece> fromWidePieces = standalonePieces(codePage, fromWideFile, false);
  ASSERT_FALSE(toWidePieces.empty());
  ASSERT_FALSE(fromWidePieces.empty());
  for (std::uint32_t seed = 1; seed <= 8; ++seed) {
    SCOPED_TRACE(seed);
    checkLongText<char>(
        makeLongText(toWidePieces, 300 * seed, seed),
        [codePage](const char* src, int n, WideChar* dst, int room) {
          return multiByteToWide(codePage, src, n, dst, room);
        },
        kUnitCanary);
    checkLongText<WideChar>(
        makeLongText(fromWidePieces, 300 * seed, seed),
        [codePage](const WideChar* src, int n, char* dst, int room) {
          return wideToMultiByte(codePage, src, n, dst, room);
        },
        kByteCanary);
  }
}

TEST_P(EveryAnsiPage, LongTextsConvertCharacterByCharacter) {
  if (test::kSystemConversions)
    GTEST_SKIP() << "what a too-small room receives is the system's own answer";
  const unsigned codePage = GetParam();
  checkLongTexts(codePage, toWideFile(codePage).c_str(), fromWideFile(codePage).c_str());
}

TEST(CodePage, LongUtf8TextsConvertCharacterByCharacter) {
  if (test::kSystemConversions)
    GTEST_SKIP() << "what a too-small room receives is the system's own answer";
  checkLongTexts(kUtf8CodePage, "utf8-to-wide.txt", "utf8-from-wide.txt");
}

// Western and mixed text goes to UTF-8 a block of units at a time while no unit is 0x800 or
// above. Each kind of character that ends such a stretch, at every offset across two blocks,
// between ASCII letters and two-byte letters: whole, and cut by every room. The text is long
// enough for the block loops, which short texts and tight rooms never reach.
TEST(CodePage, Utf8BlocksOfTwoByteTextMeetEveryOtherCharacter) {
  if (test::kSystemConversions)
    GTEST_SKIP() << "what a too-small room receives is the system's own answer";
  const std::vector<Piece> breakers = {
      {{0x800}, {0xE0, 0xA0, 0x80}},                 // the first three-byte character
      {{0xD83D, 0xDE00}, {0xF0, 0x9F, 0x98, 0x80}},  // a surrogate pair
      {{0xDC00}, {0xEF, 0xBF, 0xBD}},                // a lone low surrogate
      {{0xFFFF}, {0xEF, 0xBF, 0xBF}},
  };
  const Piece ascii = {{'a'}, {'a'}};
  const Piece twoByte = {{0xFC}, {0xC3, 0xBC}};
  const Piece lowest = {{0x80}, {0xC2, 0x80}};
  const Piece highest = {{0x7FF}, {0xDF, 0xBF}};
  for (const Piece& breaker : breakers) {
    for (std::size_t offset = 0; offset < 24; ++offset) {
      SCOPED_TRACE(offset);
      LongText text;
      text.boundaries.push_back(0);
      const auto append = [&text](const Piece& piece) {
        text.input.insert(text.input.end(), piece.input.begin(), piece.input.end());
        text.output.insert(text.output.end(), piece.output.begin(), piece.output.end());
        text.boundaries.push_back(text.output.size());
      };
      for (std::size_t i = 0; i < offset; ++i) append(i % 3 == 1 ? twoByte : ascii);
      append(breaker);
      for (std::size_t i = 0; i < 600; ++i)
        append(i % 5 == 0 ? highest : i % 7 == 0 ? lowest : i % 2 ? twoByte : ascii);
      checkLongText<WideChar>(
          text,
          [](const WideChar* src, int n, char* dst, int room) {
            return wideToMultiByte(kUtf8CodePage, src, n, dst, room);
          },
          kByteCanary);
    }
  }
}

// ---- Room, lengths and arguments ---------------------------------------------------

// A short text per code page and direction whose characters have different sizes; for
// each room too small, exactly the whole characters that fit are written.
TEST(CodePage, TooSmallRoomWritesWholeCharactersOnly) {
  if (test::kSystemConversions)
    GTEST_SKIP() << "what a too-small room receives is the system's own answer";
  struct Row {
    unsigned codePage;
    Bytes bytes;                        // terminator included
    Units units;                        // terminator included
    std::vector<std::size_t> byteEnds;  // where each character ends in `bytes`
    std::vector<std::size_t> unitEnds;  // ... and in `units`
  };
  const Row rows[] = {
      {1252,
       Bytes("Caf\xE9\x80", 6),
       Units(MLIB_T("Caf\u00E9\u20AC"), 6),
       {1, 2, 3, 4, 5, 6},
       {1, 2, 3, 4, 5, 6}},
      {936,
       Bytes("A\xD6\xD0\xCE\xC4"
             "B",
             7),
       Units(MLIB_T("A\u4E2D\u6587B"), 5),
       {1, 3, 5, 6, 7},
       {1, 2, 3, 4, 5}},
      {kUtf8CodePage,
       Bytes("A\xE2\x82\xAC\xF0\x9F\x98\x80"
             "B",
             10),
       Units(MLIB_T("A\u20AC\U0001F600B"), 6),
       {1, 4, 8, 9, 10},
       {1, 2, 4, 5, 6}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.codePage);
    for (std::size_t room = 1; room < row.units.size(); ++room) {
      std::size_t fits = 0;
      for (std::size_t end : row.unitEnds) fits = end <= room ? end : fits;
      std::vector<WideChar> buffer(row.units.size() + 1, kUnitCanary);
      setLastError(0);
      EXPECT_EQ(multiByteToWide(row.codePage, row.bytes.data(), -1, buffer.data(),
                                static_cast<int>(room)),
                0);
      EXPECT_EQ(lastError(), kErrorInsufficientBuffer);
      EXPECT_EQ(Units(buffer.data(), fits), row.units.substr(0, fits)) << "room " << room;
      for (std::size_t i = fits; i < buffer.size(); ++i) EXPECT_EQ(buffer[i], kUnitCanary);
    }
    for (std::size_t room = 1; room < row.bytes.size(); ++room) {
      std::size_t fits = 0;
      for (std::size_t end : row.byteEnds) fits = end <= room ? end : fits;
      std::vector<char> buffer(row.bytes.size() + 1, kByteCanary);
      setLastError(0);
      EXPECT_EQ(wideToMultiByte(row.codePage, row.units.data(), -1, buffer.data(),
                                static_cast<int>(room)),
                0);
      EXPECT_EQ(lastError(), kErrorInsufficientBuffer);
      EXPECT_EQ(Bytes(buffer.data(), fits), row.bytes.substr(0, fits)) << "room " << room;
      for (std::size_t i = fits; i < buffer.size(); ++i) EXPECT_EQ(buffer[i], kByteCanary);
    }
    // The exact room succeeds and leaves the error alone.
    std::vector<WideChar> units(row.units.size());
    std::vector<char> bytes(row.bytes.size());
    setLastError(0);
    EXPECT_EQ(multiByteToWide(row.codePage, row.bytes.data(), -1, units.data(),
                              static_cast<int>(units.size())),
              static_cast<int>(units.size()));
    EXPECT_EQ(wideToMultiByte(row.codePage, row.units.data(), -1, bytes.data(),
                              static_cast<int>(bytes.size())),
              static_cast<int>(bytes.size()));
    EXPECT_EQ(lastError(), 0);
    EXPECT_EQ(Units(units.data(), units.size()), row.units);
    EXPECT_EQ(Bytes(bytes.data(), bytes.size()), row.bytes);
  }
}

TEST(CodePage, ExplicitLengthConvertsZerosAndStopsExactly) {
  struct Row {
    unsigned codePage;
    Bytes bytes;
    Units units;
    const char* why;
  };
  const Row rows[] = {
      {1252, Bytes("A\0B", 3), Units(MLIB_T("A\0B"), 3), "zero in the middle"},
      {1252, Bytes("AB\0", 3), Units(MLIB_T("AB\0"), 3), "terminator counted when in the length"},
      {1252, Bytes("ABC", 2), Units(MLIB_T("AB"), 2), "length shorter than the text"},
      {936,
       Bytes("\x81\0"
             "A",
             3),
       Units(MLIB_T("?\0A"), 3), "lead byte before a zero"},
      {936, Bytes("A\x81", 2), Units(MLIB_T("A?"), 2), "lead byte at the very end"},
      {936, Bytes("\xD6\xD0\xCE", 3), Units(MLIB_T("\u4E2D?"), 2), "pair, then a cut pair"},
      {kUtf8CodePage, Bytes("\xE2\x82", 2), Units(MLIB_T("\uFFFD"), 1),
       "sequence cut by the length"},
      {kUtf8CodePage, Bytes("\xF0\x9F\x98\x80\0\xC3\xA9", 7),
       Units(MLIB_T("\U0001F600\0\u00E9"), 4), "zero between characters"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.why);
    const int byteCount = static_cast<int>(row.bytes.size());
    const int unitCount = static_cast<int>(row.units.size());
    EXPECT_EQ(multiByteToWide(row.codePage, row.bytes.data(), byteCount, nullptr, 0), unitCount);
    std::vector<WideChar> units(row.units.size() + 1, kUnitCanary);
    EXPECT_EQ(multiByteToWide(row.codePage, row.bytes.data(), byteCount, units.data(), unitCount),
              unitCount);
    EXPECT_EQ(Units(units.data(), row.units.size()), row.units);
    EXPECT_EQ(units.back(), kUnitCanary);
  }
  // And back: a zero unit is a character like any other.
  const Units units(MLIB_T("A\0\u00E9"), 3);
  char bytes[4] = {kByteCanary, kByteCanary, kByteCanary, kByteCanary};
  EXPECT_EQ(wideToMultiByte(1252, units.data(), 3, bytes, 3), 3);
  EXPECT_EQ(Bytes(bytes, 4), Bytes("A\0\xE9\x5A", 4));
  EXPECT_EQ(wideToMultiByte(kUtf8CodePage, units.data(), 3, nullptr, 0), 4);
}

TEST(CodePage, BadArgumentsAndUnknownCodePagesFailWith87) {
  if (test::kSystemConversions) GTEST_SKIP() << "the system's own argument checks answer";
  WideChar units[8] = {};
  char bytes[8] = {};
  struct Row {
    int (*call)(WideChar* units, char* bytes);
    const char* why;
  };
  const Row rows[] = {
      {[](WideChar* u, char*) { return multiByteToWide(54321, "A", -1, u, 8); }, "no such page"},
      {[](WideChar* u, char*) { return multiByteToWide(12345, "A", -1, u, 8); }, "unknown page"},
      {[](WideChar*, char*) { return multiByteToWide(54321, "A", -1, nullptr, 0); },
       "count, no such page"},
      {[](WideChar* u, char*) { return multiByteToWide(1252, nullptr, -1, u, 8); }, "no source"},
      {[](WideChar* u, char*) { return multiByteToWide(1252, "A", 0, u, 8); }, "length 0"},
      {[](WideChar* u, char*) { return multiByteToWide(1252, "A", -2, u, 8); }, "length -2"},
      {[](WideChar* u, char*) { return multiByteToWide(1252, "A", -1, u, -1); }, "room -1"},
      {[](WideChar*, char*) { return multiByteToWide(1252, "A", -1, nullptr, 8); }, "no buffer"},
      {[](WideChar*, char* b) { return wideToMultiByte(54321, MLIB_T("A"), -1, b, 8); },
       "no such page back"},
      {[](WideChar*, char*) { return wideToMultiByte(12345, MLIB_T("A"), -1, nullptr, 0); },
       "count back"},
      {[](WideChar*, char* b) { return wideToMultiByte(1252, nullptr, -1, b, 8); }, "no source"},
      {[](WideChar*, char* b) { return wideToMultiByte(1252, MLIB_T("A"), 0, b, 8); },
       "length 0 back"},
      {[](WideChar*, char* b) { return wideToMultiByte(1252, MLIB_T("A"), -3, b, 8); },
       "length -3"},
      {[](WideChar*, char* b) { return wideToMultiByte(1252, MLIB_T("A"), -1, b, -1); }, "room -1"},
      {[](WideChar*, char*) { return wideToMultiByte(936, MLIB_T("A"), -1, nullptr, 8); },
       "no buffer"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.why);
    setLastError(0);
    EXPECT_EQ(row.call(units, bytes), 0);
    EXPECT_EQ(lastError(), kErrorInvalidParameter);
  }
  for (const WideChar unit : units) EXPECT_EQ(unit, 0);
  for (const char byte : bytes) EXPECT_EQ(byte, 0);
}

// ---- The ANSI code page ------------------------------------------------------------

// Where the system owns the ANSI code page (Windows), the setting cannot be changed.
bool libraryOwnsAnsiCodePage() { return setAnsiCodePage(ansiCodePage()); }

TEST(CodePage, CodePageZeroFollowsTheAnsiSetting) {
  if (!libraryOwnsAnsiCodePage()) GTEST_SKIP() << "the system owns the ANSI code page";
  const unsigned before = ansiCodePage();
  const Bytes chinese("\xD6\xD0\xCE\xC4");  // 中文 in 936, four Latin letters in 1252

  ASSERT_TRUE(setAnsiCodePage(936));
  EXPECT_EQ(ansiCodePage(), 936u);
  EXPECT_EQ(toWideTerminated(kAnsiCodePage, chinese), Units(MLIB_T("\u4E2D\u6587")));
  EXPECT_EQ(fromWideTerminated(kAnsiCodePage, MLIB_T("\u4E2D\u6587")), chinese);

  ASSERT_TRUE(setAnsiCodePage(1252));
  EXPECT_EQ(ansiCodePage(), 1252u);
  EXPECT_EQ(toWideTerminated(kAnsiCodePage, chinese), Units(MLIB_T("\u00D6\u00D0\u00CE\u00C4")));
  EXPECT_EQ(fromWideTerminated(kAnsiCodePage, MLIB_T("\u4E2D\u20AC")), Bytes("?\x80"));

  // UTF-8: the bytes of 中 are three, and a unit takes three bytes in an ANSI buffer.
  ASSERT_TRUE(setAnsiCodePage(kUtf8CodePage));
  EXPECT_EQ(ansiCodePage(), kUtf8CodePage);
  EXPECT_EQ(ansiBytesPerWideUnit(), 3u);
  EXPECT_EQ(toWideTerminated(kAnsiCodePage, "\xE4\xB8\xAD"), Units(MLIB_T("\u4E2D")));
  EXPECT_EQ(fromWideTerminated(kAnsiCodePage, MLIB_T("\u4E2D\U0001F600")),
            Bytes("\xE4\xB8\xAD\xF0\x9F\x98\x80"));

  // Every other ANSI page converts through code page 0 exactly as under its own number.
  for (const unsigned codePage : kAnsiPages) {
    SCOPED_TRACE(codePage);
    ASSERT_TRUE(setAnsiCodePage(codePage));
    EXPECT_EQ(ansiCodePage(), codePage);
    EXPECT_EQ(ansiBytesPerWideUnit(), 2u);
    EXPECT_EQ(toWideTerminated(kAnsiCodePage, chinese), toWideTerminated(codePage, chinese));
    EXPECT_EQ(fromWideTerminated(kAnsiCodePage, MLIB_T("\u4E2D\u0416\u00E9")),
              fromWideTerminated(codePage, MLIB_T("\u4E2D\u0416\u00E9")));
  }

  // Refused: not a code page, or one no Windows has as its ANSI page. Each leaves the
  // current one in place.
  ASSERT_TRUE(setAnsiCodePage(1252));
  for (const unsigned refused : {12345u, 0u, 437u, 1200u, 850u, 20936u}) {
    SCOPED_TRACE(refused);
    EXPECT_FALSE(setAnsiCodePage(refused));
    EXPECT_EQ(ansiCodePage(), 1252u);
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
        if (!setAnsiCodePage((i + t) % 2 == 0 ? 936 : 1252)) ++wrong;
        const unsigned now = ansiCodePage();
        if (now != 936 && now != 1252) ++wrong;
        // Whichever page is current, 'A' stays 'A'.
        WideChar unit[2] = {};
        if (multiByteToWide(kAnsiCodePage, "A", -1, unit, 2) != 2 || unit[0] != MLIB_T('A'))
          ++wrong;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong.load(), 0);
  ASSERT_TRUE(setAnsiCodePage(before));
}

// ---- What GetCPInfoEx told about each code page -------------------------------------

TEST(CodePage, DefaultsMatchTheCodePageFacts) {
  std::vector<unsigned> pages(std::begin(kAnsiPages), std::end(kAnsiPages));
  pages.push_back(kUtf8CodePage);
  for (const unsigned codePage : pages) {
    SCOPED_TRACE(codePage);
    const CodePageFacts facts = readFacts(codePage);
    // No unit, and no surrogate pair, takes more than MaxCharSize bytes; some take exactly
    // that many.
    std::size_t longest = 0;
    for (unsigned u = 1; u <= 0xFFFF; ++u) {
      const WideChar unit[2] = {static_cast<WideChar>(u), 0};
      longest = std::max(
          longest, static_cast<std::size_t>(wideToMultiByte(codePage, unit, -1, nullptr, 0) - 1));
    }
    // In UTF-8 a surrogate pair is one character (elsewhere each half is a '?').
    if (codePage == kUtf8CodePage) {
      longest = std::max(longest, fromWideTerminated(codePage, MLIB_T("\U0001F600")).size());
    }
    EXPECT_EQ(longest, facts.maxCharSize);
    // A noncharacter has no bytes anywhere; legacy pages write their default character.
    if (codePage != kUtf8CodePage) {
      EXPECT_EQ(fromWideTerminated(codePage, MLIB_T("\uFFFF")), facts.defaultChar);
    }
    // Bytes that cannot start a character become the Unicode default character.
    if (!facts.leadByteRanges.empty()) {
      const char lead[] = {static_cast<char>(facts.leadByteRanges[0].first), '\0'};
      EXPECT_EQ(toWideTerminated(codePage, lead), Units(1, facts.unicodeDefaultChar));
    }
    if (codePage == kUtf8CodePage) {
      EXPECT_EQ(toWideTerminated(codePage, "\xFF"), Units(1, facts.unicodeDefaultChar));
    }
    // A lead byte joins the byte after it: "b A A" is two characters exactly for them.
    for (unsigned b = 1; b <= 0xFF; ++b) {
      const char text[] = {static_cast<char>(b), 'A', 'A', '\0'};
      const int characters = multiByteToWide(codePage, text, -1, nullptr, 0) - 1;
      EXPECT_EQ(characters, isLeadByte(facts, b) ? 2 : 3) << "byte " << b;
    }
  }
}

}  // namespace
}  // namespace mlib::platform
