// UTF-8 text heavy in three-byte characters, with malformed pieces in the runs: converted
// whole, it must give what its pieces give one by one. Decoding starts afresh at the first
// byte of every well-formed character, so a text cut just before such characters converts
// piece by piece; each piece is short, so it takes the unit-at-a-time path, while the whole
// text takes the paths that decode runs of characters together.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "backendUnderTest.h"
#include "platform/codePage.h"

namespace mlib::platform {
namespace {

using Units = std::basic_string<WideChar>;

Units toWide(const std::string& bytes) {
  const int size = static_cast<int>(bytes.size());
  const int need = multiByteToWide(kUtf8CodePage, bytes.data(), size, nullptr, 0);
  Units out(static_cast<std::size_t>(need), 0);
  if (need > 0) {
    EXPECT_EQ(multiByteToWide(kUtf8CodePage, bytes.data(), size, &out[0], need), need);
  }
  return out;
}

std::string threeByte(unsigned c) {
  return {static_cast<char>(0xE0 | c >> 12), static_cast<char>(0x80 | (c >> 6 & 0x3F)),
          static_cast<char>(0x80 | (c & 0x3F))};
}

// A piece of text: mostly well-formed three-byte characters (CJK, and the edges of the
// three-byte range), sometimes ASCII, a two- or four-byte character, or a malformed piece.
// A malformed piece is always followed by a well-formed character, so that no piece can
// complete another.
std::vector<std::string> pieces(std::mt19937& random) {
  const std::string malformed[] = {
      "\xE0\x80\x80", "\xE0\x9F\xBF", "\xED\xA0\x80",
      "\xED\xBF\xBF",  // overlong, surrogate
      "\xE4\xB8",     "\xE4",         "\x80",
      "\xBF\xBF",                                           // cut short, stray
      "\xFF",         "\xC0\xAF",     "\xF4\x90\x80\x80"};  // never, out of range
  const std::string wellFormed[] = {
      "\xE0\xA0\x80", "\xED\x9F\xBF",    "\xEE\x80\x80", "\xEF\xBF\xBF", " ", "a",
      "\xC3\xA9",     "\xF0\x9F\x98\x80"};
  std::vector<std::string> out;
  const std::size_t count = 1 + random() % 120;
  for (std::size_t k = 0; k < count; ++k) {
    const unsigned pick = random() % 100;
    if (pick < 80) {
      out.push_back(threeByte(0x4E00 + random() % 0x5200));
    } else if (pick < 92) {
      out.push_back(wellFormed[random() % std::size(wellFormed)]);
    } else {
      out.push_back(malformed[random() % std::size(malformed)]);
      out.push_back(threeByte(0x4E00 + random() % 0x5200));
    }
  }
  return out;
}

TEST(Utf8Runs, ConvertLikeTheirPieces) {
  if (test::kSystemConversions) GTEST_SKIP() << "the system's own conversion decides";
  std::mt19937 random(2024);
  for (int round = 0; round < 3000; ++round) {
    std::string text;
    Units want;
    for (const std::string& piece : pieces(random)) {
      text += piece;
      want += toWide(piece);
    }
    // The text at every offset in a block of its own size, so that reading past it shows
    // under the address sanitizer; the output fenced by canaries.
    const unsigned offset = static_cast<unsigned>(round % 32);
    std::vector<char> block(offset + text.size());
    std::copy(text.begin(), text.end(), block.begin() + offset);
    const char* src = block.data() + offset;
    const int size = static_cast<int>(text.size());
    const int need = static_cast<int>(want.size());
    SCOPED_TRACE("round " + std::to_string(round) + ", " + std::to_string(size) + " bytes");
    EXPECT_EQ(multiByteToWide(kUtf8CodePage, src, size, nullptr, 0), need);
    for (const int room : {need, need - 1, need / 2}) {
      if (room < 1) continue;  // a room of 0 asks for the size
      std::vector<WideChar> out(static_cast<std::size_t>(room) + 16, 0xCDCD);
      const int got = multiByteToWide(kUtf8CodePage, src, size, out.data(), room);
      EXPECT_EQ(got, room == need ? need : 0) << "room " << room;
      if (room == need) {
        EXPECT_EQ(Units(out.data(), static_cast<std::size_t>(got)), want);
      }
      for (std::size_t k = static_cast<std::size_t>(room); k < out.size(); ++k) {
        ASSERT_EQ(out[k], 0xCDCD) << "written past room " << room << " at " << k;
      }
    }
  }
}

}  // namespace
}  // namespace mlib::platform
