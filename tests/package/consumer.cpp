// Builds against the installed headers and library only; exits 0 when what it sees is right.
#include <mlib/mlib.h>

#include <cstdio>
#include <cstring>

// Built through pkg-config with -std=c++20: the package's flags must not lower it.
#if defined(MLIB_CONSUMER_EXPECTS_CXX20) && __cplusplus < 202002L
#error "the package's compiler flags forced an older C++ standard on the host"
#endif

int main() {
  mlib::String text("package");
  text += MLIB_T(" check");
  int failures = 0;
  if (std::strcmp(text.toAnsi(), "package check") != 0) ++failures;
  try {
    (void)text[1000u];
    ++failures;
  } catch (mlib::MxBaseException& e) {
    if (e.GetCode() != -4) ++failures;
  }
  if (GetStringHashCode("a") != 97) ++failures;
  if (std::strcmp(MlibVersion(), MLIB_VERSION_STRING) != 0) ++failures;
  std::printf("%s %s: %d failure(s)\n", text.toAnsi(), MlibVersion(), failures);
  return failures == 0 ? 0 : 1;
}
