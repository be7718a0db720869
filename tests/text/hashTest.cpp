// The four string hashes of <mlib/text.h>, against values worked out by hand or separately
// from the hashing rules.
#include <gtest/gtest.h>
#include <mlib/text.h>

#include "text/ansiCodePageScope.h"

TEST(Hash, ReferenceValues) {
  const struct {
    const char* text;
    int hash, hashA, hashB;
  } rows[] = {{"", 0, 1, 0},
              {"a", 97, 740, 97},
              {"abc", 97 * 131 * 131 + 98 * 131 + 99, 49572422, (97 * 16 + 98) * 16 + 99},
              {"\xE9", 2147483647 - 22, 1 ^ (5 * 233 + 256), (1 << 28) - 231},  // signed bytes
              {"abcdefgh", 387275572, 1691330258, 144358056},  // wraps, folds the top nibble
              {"\xE9\xE9\xE9\xE9\xE9\xE9\xE9\xE9\xE9", 428427737, -817416540, 143159289}};
  for (const auto& r : rows) {
    EXPECT_EQ(GetStringHashCode(r.text), r.hash) << r.text;
    EXPECT_EQ(GetStringHashCodeA(r.text), r.hashA) << r.text;
    EXPECT_EQ(GetStringHashCodeB(r.text), r.hashB) << r.text;
  }
  EXPECT_EQ(GetStringHashCode(nullptr), -1);
  EXPECT_EQ(GetStringHashCodeA(nullptr), -1);
  EXPECT_EQ(GetStringHashCodeB(nullptr), -1);
  EXPECT_EQ(GetStringHashCodeT(nullptr), -1);
  EXPECT_EQ(GetStringHashCodeT(MLIB_T("Hello, world")), GetStringHashCode("Hello, world"));
}

TEST(Hash, WideHashGoesThroughTheAnsiCodePage) {
  MLIB_USE_ANSI_CODE_PAGE(1252);
  EXPECT_EQ(GetStringHashCodeT(MLIB_T("\u00E9")), 2147483647 - 22);
}

TEST(Hash, WideHashReadsNoMoreBytesThanCharacters) {
  MLIB_USE_ANSI_CODE_PAGE(936);
  // Two characters get two bytes of room: the first takes both, the second is left out.
  EXPECT_EQ(GetStringHashCodeT(MLIB_T("\u4E2D\u6587")), GetStringHashCode("\xD6\xD0"));
  EXPECT_EQ(GetStringHashCodeT(MLIB_T("\u4E2D")), 0);
}
