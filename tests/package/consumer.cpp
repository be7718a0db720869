// Builds against the installed headers and library only; exits 0 when what it sees is right.
#include <mlib/mlib.h>

#include <cstdio>
#include <cstring>

int main() {
  mlib::String text("package");
  text += MLIB_T(" check");
  int code = 0;
  try {
    (void)text[1000u];
  } catch (mlib::MxBaseException& e) {
    code = e.GetCode();
  }
  const bool right = code == -4 && GetStringHashCode("a") == 97 &&
                     std::strcmp(MlibVersion(), MLIB_VERSION_STRING) == 0 &&
                     std::strcmp(text.toAnsi(), "package check") == 0;
  std::printf("%s %s: %s\n", text.toAnsi(), MlibVersion(), right ? "right" : "WRONG");
  return right ? 0 : 1;
}
