// Test helper: runs a test under a chosen ANSI code page and restores the previous one when
// the scope ends. Where the code page cannot be chosen (Windows answers the system's),
// active() is false unless it is already the system's.
#ifndef MLIB_TESTS_TEXT_ANSICODEPAGESCOPE_H
#define MLIB_TESTS_TEXT_ANSICODEPAGESCOPE_H

#include <mlib/text.h>

class AnsiCodePageScope {
 public:
  explicit AnsiCodePageScope(unsigned codePage) : previous_(GetAnsiCodePage()) {
    active_ = previous_ == codePage || SetAnsiCodePage(codePage);
  }
  ~AnsiCodePageScope() {
    if (GetAnsiCodePage() != previous_) (void)SetAnsiCodePage(previous_);
  }
  AnsiCodePageScope(const AnsiCodePageScope&) = delete;
  AnsiCodePageScope& operator=(const AnsiCodePageScope&) = delete;

  bool active() const { return active_; }

 private:
  unsigned previous_;
  bool active_;
};

// Skips the current test unless `codePage` can be made the ANSI code page for its duration.
#define MLIB_USE_ANSI_CODE_PAGE(codePage)                                              \
  AnsiCodePageScope ansiCodePageScope_(codePage);                                      \
  if (!ansiCodePageScope_.active())                                                    \
  GTEST_SKIP() << "ANSI code page " << (codePage) << " is not the active one here"

#endif  // MLIB_TESTS_TEXT_ANSICODEPAGESCOPE_H
