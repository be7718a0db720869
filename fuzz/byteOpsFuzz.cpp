// Byte scripts read from the input through the unit test's driver: every step against the model.
#include <algorithm>
#include <cstdio>

#include "../tests/byte/byteOps.h"
#include "fuzzInput.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput in{data, size};
  const bool zeros = in.next() % 2 != 0;
  const int steps = static_cast<int>(std::min<std::size_t>(size / 4 + 1, 64));
  const std::string failure = mlib::test::runByteScript([&] { return in.next(); }, steps, zeros);
  if (!failure.empty()) {
    std::fprintf(stderr, "%s\n", failure.c_str());
    __builtin_trap();
  }
  return 0;
}
