// String scripts read from the input, through the driver of tests/string/stringOps.h.
#include <algorithm>
#include <cstdio>

#include "../tests/string/stringOps.h"
#include "fuzzInput.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput in{data, size};
  const int steps = static_cast<int>(std::min<std::size_t>(size / 4 + 1, 64));
  const std::string failure =
      mlib::test::runStringScript([&] { return unsigned{in.next()}; }, steps);
  if (failure.empty()) return 0;
  std::fprintf(stderr, "%s\n", failure.c_str());
  __builtin_trap();
}
