// The free text and number helpers: conversions between the ANSI code page, UTF-8 and wide
// text, number text, hexadecimal text, hashes, the sort and the process queries.
#include <mlib/mlib.h>

#include <cstdio>

#include "demo.h"

namespace {

// Japanese text through two other ANSI code pages and back: 932 (one or two bytes per
// character) and UTF-8 (three bytes for each of these UTF-16 units). Where the system owns
// the setting (Windows), SetAnsiCodePage refuses and the page is left out.
void demoOtherAnsiPages() {
  const unsigned before = GetAnsiCodePage();
  const mlib::WideChar* const japanese =
      MLIB_T("\u65E5\u672C\u8A9E\u30C6\u30AD\u30B9\u30C8 \uFF71");
  for (const unsigned codePage : {932u, 65001u}) {
    if (!SetAnsiCodePage(codePage)) {
      std::printf("ANSI code page %u: not settable here\n", codePage);
      continue;
    }
    char ansi[64];
    WideToANSI(ansi, japanese, 64);
    mlib::WideChar back[32];
    ANSIToWide(back, ansi, 32);
    std::printf("\"%s\" as ANSI code page %u:", demoUtf8(japanese).c_str(), codePage);
    for (const char* p = ansi; *p != '\0'; ++p)
      std::printf(" %02X", static_cast<unsigned char>(*p));
    std::printf(" -> back \"%s\"\n", demoUtf8(back).c_str());
  }
  (void)SetAnsiCodePage(before);
}

}  // namespace

void demoText() {
  std::printf("\n-- Text and number helpers --\n");
  std::printf("ANSI code page: %u\n", GetAnsiCodePage());

  // UTF-8 in, wide text inside, back out through the ANSI code page: the euro sign is in
  // 1252, the Chinese character is not and comes back as the default character.
  const char* utf8 = "Caf\xC3\xA9 \xE2\x82\xAC 5 \xE4\xB8\xAD";
  mlib::WideChar wide[32];
  Utf8ToWide(wide, utf8, 32);
  char ansi[32];
  WideToANSI(ansi, wide, 32);
  std::printf("UTF-8 \"%s\" -> wide -> ANSI bytes:", utf8);
  for (const char* p = ansi; *p != '\0'; ++p) std::printf(" %02X", static_cast<unsigned char>(*p));
  std::printf("\n");
  demoOtherAnsiPages();

  mlib::WideChar* const cut = StrCpyT(wide, MLIB_T("truncated text"), 6);
  std::printf("StrCpyT into 6 slots: \"%s\"\n", demoUtf8(cut).c_str());

  mlib::WideChar number[40];
  std::printf("ITOA(-42) = %s, I64TOA(min) = %s, FTOA(3.5) = %s\n",
              demoUtf8(ITOA(-42, 0, number, 40)).c_str(),
              demoUtf8(I64TOA(-9223372036854775807LL - 1, number, 40)).c_str(),
              demoUtf8(FTOA(3.5, number, 40)).c_str());
  std::printf("ATOI(\"  123abc\") = %d, ATOF(\"-1.5e3\") = %g, IsNumber(\"12.5\") = %d\n",
              ATOI(MLIB_T("  123abc")), ATOF(MLIB_T("-1.5e3")), IsNumber(MLIB_T("12.5")));
  std::printf("Power(2, 10) = %lld, Divide(7, 2) = %lld, Divide(-7, 2) = %lld\n", Power(2, 10),
              Divide(7, 2), Divide(-7, 2));

  const unsigned char bytes[] = {0xDE, 0xAD, 0xBE, 0xEF};
  char hex[16];
  std::printf("ByteToHex: \"%s\"", ByteToHex(bytes, 4, hex, sizeof(hex), true));
  unsigned char parsed[4];
  const int count = HexStringToByte(MLIB_T("0a:1B:c"), parsed, 4);
  std::printf(", HexStringToByte(\"0a:1B:c\") = %d bytes:", count);
  for (int i = 0; i < count; ++i) std::printf(" %02X", parsed[i]);
  std::printf("\n");

  std::printf("hashes of \"abc\": %d %d %d\n", GetStringHashCode("abc"), GetStringHashCodeA("abc"),
              GetStringHashCodeB("abc"));
  int values[] = {5, -3, 9, 0, -3, 2};
  QuickSort(values, 0, 5);
  std::printf("QuickSort:");
  for (int v : values) std::printf(" %d", v);
  std::printf("\n");

  mlib::WideChar folder[512];
  std::printf("program folder: %s\n", demoUtf8(GetCurrentPath(folder, 512)).c_str());
  std::printf("physical memory in use: %.0f MiB\n", static_cast<double>(GetMemory()));
}
