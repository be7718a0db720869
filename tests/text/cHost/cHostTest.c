/* A host written in C11 calls the free functions through <mlib/text.h>: conversions, number
   text, hashes, sorting and the version. It checks what C sees against what the library
   promises; any difference in the wide character's or bool's size or signedness between the
   C and the C++ view shows up as a wrong answer here. Exits 0 when every check holds. */
#include <mlib/text.h>
#include <mlib/version.h>
#include <stdio.h>
#include <string.h>

static int failures = 0;

static void check(int condition, const char* what) {
  if (!condition) {
    printf("FAILED: %s\n", what);
    ++failures;
  }
}

static int sameWide(const MlibWideChar* a, const MlibWideChar* b) {
  for (; *a != 0 || *b != 0; ++a, ++b) {
    if (*a != *b) return 0;
  }
  return 1;
}

static void conversions(void) {
  MlibWideChar wide[16];
  char narrow[16];
  /* "café" in UTF-8: the e with acute accent is U+00E9, two bytes in UTF-8. */
  check(Utf8ToWide(wide, "caf\xC3\xA9", 16) == wide, "Utf8ToWide returns its destination");
  check(wide[3] == 0xE9 && wide[4] == 0, "Utf8ToWide decodes a two-byte character");
  check(WideToUtf8(narrow, wide, 16) == narrow, "WideToUtf8 returns its destination");
  check(strcmp(narrow, "caf\xC3\xA9") == 0, "UTF-8 survives the round trip");
  /* The cut: capacity 3 leaves two units and the terminator. */
  check(ANSIToWide(wide, "abcdef", 3) == wide && sameWide(wide, MLIB_T("ab")),
        "ANSIToWide cuts to capacity - 1");
  check(ANSIToWide(NULL, "abc", 3) == NULL, "a null destination gives null");
  check(sizeof(MlibWideChar) == 2, "the wide character is one UTF-16 unit");
}

static void numberText(void) {
  MlibWideChar wide[32];
  check(sameWide(ITOA(-12345, 0, wide, 32), MLIB_T("-12345")), "ITOA");
  check(sameWide(I64TOA(-9000000000LL, wide, 32), MLIB_T("-9000000000")), "I64TOA");
  check(ATOI(MLIB_T("  -42x")) == -42, "ATOI stops at the first other character");
  check(ATOI64(MLIB_T("9000000001")) == 9000000001LL, "ATOI64");
  check(ATOF(MLIB_T("2.5")) == 2.5, "ATOF");
  /* bool results: a C _Bool and a C++ bool must agree. */
  check(IsNumber(MLIB_T("3.14")) == true, "IsNumber accepts 3.14");
  check(IsNumber(MLIB_T("3.")) == false, "IsNumber refuses a trailing full stop");
  check(HexCharToDecimal(MLIB_T('f')) == 15, "HexCharToDecimal");
}

static void hashes(void) {
  /* The 131 hash: 'a' * 131 + 'b'. */
  check(GetStringHashCode("ab") == 97 * 131 + 98, "GetStringHashCode");
  check(GetStringHashCodeT(MLIB_T("ab")) == GetStringHashCode("ab"),
        "GetStringHashCodeT hashes the ANSI form");
  check(GetStringHashCode(NULL) == -1, "a null text hashes to -1");
}

static void sorting(void) {
  int values[] = {5, -3, 9, 0, 5, -7, 2};
  const int sorted[] = {-7, -3, 0, 2, 5, 5, 9};
  QuickSort(values, 0, 6);
  check(memcmp(values, sorted, sizeof sorted) == 0, "QuickSort sorts ascending");
}

static void version(void) {
  check(strcmp(MlibVersion(), MLIB_VERSION_STRING) == 0,
        "the loaded library is the version of the headers");
}

int main(void) {
  conversions();
  numberText();
  hashes();
  sorting();
  version();
  printf("%d failure(s)\n", failures);
  return failures == 0 ? 0 : 1;
}
