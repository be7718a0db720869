// Random sequences of MxMap and MxList operations, each checked against a model and followed
// by a check of the whole container: the container tests' drivers, run on the fuzzer's input.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "../tests/container/containerTestUtil.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string problem =
      mlib::testing::RunMapScript(data, size) + mlib::testing::RunListScript(data, size);
  if (problem.empty()) return 0;
  std::fprintf(stderr, "%s\n", problem.c_str());
  __builtin_trap();
}
