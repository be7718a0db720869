// Builds against the installed headers and library only; exits 0 when what it sees is right.
#include <mlib/mlib.h>

#include <cstdio>
#include <cstring>

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
  std::printf("%s: %d failure(s)\n", text.toAnsi(), failures);
  return failures == 0 ? 0 : 1;
}
