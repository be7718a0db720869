// String scripts read from the input, through the driver the unit test runs on seeded random
// numbers: the storage rules' model, and every read of a string without terminator against a
// terminated copy.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "../tests/string/stringOps.h"
#include "fuzzInput.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput in{data, size};
  const int steps = static_cast<int>(std::min<std::size_t>(size / 4 + 1, 64));
  const std::string failure =
      mlib::test::runStringScript([&] { return unsigned{in.next()}; }, steps);
  if (!failure.empty()) {
    std::fprintf(stderr, "%s\n", failure.c_str());
    __builtin_trap();
  }
  return 0;
}
