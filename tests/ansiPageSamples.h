// Test helper: a short text in the script of every page that can be the ANSI code page, of
// characters the page holds (in UTF-8 of two, three and four bytes): a trip keeps it whole.
#ifndef MLIB_TESTS_ANSIPAGESAMPLES_H
#define MLIB_TESTS_ANSIPAGESAMPLES_H

#include <gtest/gtest.h>
#include <mlib/config.h>

#include <string>

#include "platform/codePage.h"
#include "text/ansiCodePageScope.h"

namespace mlib::test {

struct AnsiPageSample {
  unsigned codePage;
  const WideChar* text;
};

inline constexpr AnsiPageSample kAnsiPageSamples[] = {
    {874, MLIB_T("\u0E20\u0E32\u0E29\u0E32\u0E44\u0E17\u0E22 \u0E3F1")},              // Thai
    {932, MLIB_T("\u65E5\u672C\u8A9E\u30C6\u30AD\u30B9\u30C8 \uFF71\uFF72 \u30FB")},  // Japanese
    {936, MLIB_T("\u4E2D\u6587\u6587\u672C \u20AC")},                                 // Chinese
    {949, MLIB_T("\uD55C\uAD6D\uC5B4 \uD14D\uC2A4\uD2B8")},                           // Korean
    {950, MLIB_T("\u7E41\u9AD4\u4E2D\u6587 \u6E2C\u8A66")},                           // Chinese
    {1250, MLIB_T("Za\u017C\u00F3\u0142\u0107 g\u0119\u015Bl\u0105 \u0159")},         // Polish
    {1251, MLIB_T("\u041F\u0440\u0438\u0432\u0435\u0442, \u043C\u0438\u0440 \u0451")},
    {1252, MLIB_T("Caf\u00E9 \u20AC \u0153 \u00FF")},
    {1253, MLIB_T("\u0395\u03BB\u03BB\u03B7\u03BD\u03B9\u03BA\u03AC \u03C9")},
    {1254, MLIB_T("T\u00FCrk\u00E7e \u011F\u0131\u015F \u0130")},
    {1255, MLIB_T("\u05E2\u05D1\u05E8\u05D9\u05EA \u20AA")},
    {1256, MLIB_T("\u0627\u0644\u0639\u0631\u0628\u064A\u0629 \u06AF")},
    {1257, MLIB_T("Lietuvi\u0173 \u0105\u010D\u0119 \u0161")},
    {1258, MLIB_T("\u0110\u01A1\u01B0 \u20AB e\u0301")},  // Vietnamese
    {65001, MLIB_T("\u4E2D\u6587\u5B57\u30C6\u30AD\u30B9\u30C8\u20AC \u00E9 \U0001F600")},
};

// The page's own bytes for text, from the converter the code page tests check line by line.
inline std::string bytesIn(unsigned codePage, const WideChar* text) {
  std::string bytes(256, '\0');  // the samples are short
  (void)platform::wideToMultiByte(codePage, text, -1, &bytes[0], 256);
  return bytes.c_str();
}

// Runs check(sample) with the sample's page as the ANSI code page, for every page that can
// be made so (on Windows only the active one), and gives how many ran.
template <typename Check>
int forEachAnsiPageSample(Check check) {
  int tried = 0;
  for (const AnsiPageSample& sample : kAnsiPageSamples) {
    SCOPED_TRACE(sample.codePage);
    AnsiCodePageScope scope(sample.codePage);
    tried += scope.active ? 1 : 0;
    if (scope.active) check(sample);
  }
  return tried;
}

}  // namespace mlib::test

#endif  // MLIB_TESTS_ANSIPAGESAMPLES_H
