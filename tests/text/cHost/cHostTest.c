/* A C11 host calls the free functions through <mlib/text.h>: a wide character's or bool's size
   or signedness differing between the C and the C++ view shows as a wrong answer. */
#include <mlib/text.h>
#include <mlib/version.h>
#include <stdio.h>
#include <string.h>

static int failures = 0;

static void check(int condition, const char* what) {
  if (!condition) failures += printf("FAILED: %s\n", what) > 0;
}

/* Wide text against a wide literal, its terminator included. */
#define SAME_WIDE(text, literal) (memcmp((text), (literal), sizeof(literal)) == 0)

int main(void) {
  MlibWideChar wide[32];
  char narrow[16];
  int values[] = {5, -3, 9, 0, 5, -7, 2};
  const int sorted[] = {-7, -3, 0, 2, 5, 5, 9};
  check(sizeof(MlibWideChar) == 2, "the wide character is one UTF-16 unit");
  /* "café" in UTF-8: U+00E9 is two bytes there. */
  check(SAME_WIDE(Utf8ToWide(wide, "caf\xC3\xA9", 16), MLIB_T("caf\xE9")), "Utf8ToWide");
  check(strcmp(WideToUtf8(narrow, wide, 16), "caf\xC3\xA9") == 0, "UTF-8 survives the trip");
  check(SAME_WIDE(ANSIToWide(wide, "abcdef", 3), MLIB_T("ab")), "ANSIToWide cuts to capacity - 1");
  check(SAME_WIDE(ITOA(-12345, 0, wide, 32), MLIB_T("-12345")), "ITOA");
  check(SAME_WIDE(I64TOA(-9000000000LL, wide, 32), MLIB_T("-9000000000")), "I64TOA");
  check(ATOI64(MLIB_T("9000000001")) == 9000000001LL && ATOF(MLIB_T("2.5")) == 2.5, "ATOI64, ATOF");
  /* bool results: a C _Bool and a C++ bool must agree. */
  check(IsNumber(MLIB_T("3.14")) == true && IsNumber(MLIB_T("3.")) == false, "IsNumber");
  check(HexCharToDecimal(MLIB_T('f')) == 15, "HexCharToDecimal takes one wide character");
  check(GetStringHashCode("ab") == 97 * 131 + 98 && GetStringHashCode(NULL) == -1, "hashes");
  check(GetStringHashCodeT(MLIB_T("ab")) == GetStringHashCode("ab"), "GetStringHashCodeT");
  QuickSort(values, 0, 6);
  check(memcmp(values, sorted, sizeof sorted) == 0, "QuickSort sorts ascending");
  check(strcmp(MlibVersion(), MLIB_VERSION_STRING) == 0, "the library is the headers' version");
  printf("%d failure(s)\n", failures);
  return failures == 0 ? 0 : 1;
}
