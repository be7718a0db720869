// The container tests' drivers (each operation checked against a model, then the whole
// container) run on the fuzzer's input.
#include <cstdio>

#include "../tests/container/containerTestUtil.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string problem =
      mlib::testing::RunMapScript(data, size) + mlib::testing::RunListScript(data, size);
  if (problem.empty()) return 0;
  std::fprintf(stderr, "%s\n", problem.c_str());
  __builtin_trap();
}
