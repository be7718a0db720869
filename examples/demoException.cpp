// Exceptions: a real failure (opening a file that does not exist) reported both ways, the
// registry's message for a library code, and the exception the index operators throw.
#include <mlib/mlib.h>

#include <cerrno>
#include <cstdio>

#include "demo.h"

void demoException() {
  std::printf("\n-- Exceptions: reports of a failed open --\n");

  const char* path = "no-such-folder/missing.txt";
  std::FILE* file = std::fopen(path, "rb");
  if (file != nullptr) {
    std::fclose(file);
    return;
  }
  const int code = errno;

  // The long report: the system's text for the code comes from the registry's fallback.
  const mlib::MxException failure(code, 2, mlib::String("fopen"), mlib::String(path));
  std::printf("Long report of MxException(%d, Serious, \"fopen\", \"%s\"):\n%s\n", code, path,
              demoUtf8(failure.PrintToString().toString()).c_str());

  // The short report of the same failure, carried as a base exception with a description.
  const mlib::MxBaseException base(code, 2, MLIB_T("Call Stack: fopen; Location: missing.txt"));
  std::printf("Short report of the base exception:\n%s\n",
              demoUtf8(mlib::MxException::PrintToString(&base).toString()).c_str());

  // A library code and the registry's text for it.
  const mlib::MxException indexError(-4);
  std::printf("Registry message for code -4: %s\n",
              demoUtf8(indexError.GetExceptionInfo().toString()).c_str());

  // What String's index operator throws, caught as the root class.
  mlib::String empty;
  try {
    (void)empty[5];
  } catch (const mlib::MxObject& caught) {
    const auto* thrown = dynamic_cast<const mlib::MxBaseException*>(&caught);
    std::printf("String::operator[] threw %s:\n%s\n", caught.GetType().GetFullName(),
                demoUtf8(mlib::MxException::PrintToString(thrown).toString()).c_str());
  }
}
