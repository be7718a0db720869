// Random sequences of MxMap operations, each checked against a model and followed by a check
// of the whole tree: the container tests' driver, run on the fuzzer's input.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "../tests/container/mapDriver.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string problem = mlib::testing::RunMapScript(data, size);
  if (problem.empty()) return 0;
  std::fprintf(stderr, "%s\n", problem.c_str());
  __builtin_trap();
}
