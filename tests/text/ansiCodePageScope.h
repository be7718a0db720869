// Test helper: runs a test under a chosen ANSI code page and restores the previous one after.
// Where the code page cannot be chosen (Windows answers the system's), the test is skipped.
#ifndef MLIB_TESTS_TEXT_ANSICODEPAGESCOPE_H
#define MLIB_TESTS_TEXT_ANSICODEPAGESCOPE_H

#include <mlib/text.h>

struct AnsiCodePageScope {
  explicit AnsiCodePageScope(unsigned codePage)
      : previous(GetAnsiCodePage()), active(previous == codePage || SetAnsiCodePage(codePage)) {}
  ~AnsiCodePageScope() { (void)SetAnsiCodePage(previous); }
  const unsigned previous;
  const bool active;
};

#define MLIB_USE_ANSI_CODE_PAGE(codePage)         \
  AnsiCodePageScope ansiCodePageScope_(codePage); \
  if (!ansiCodePageScope_.active)                 \
  GTEST_SKIP() << "ANSI code page " << (codePage) << " is not the active one here"

#endif  // MLIB_TESTS_TEXT_ANSICODEPAGESCOPE_H
