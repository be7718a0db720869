// Arbitrary bytes, and the same bytes as UTF-16 units, through every code page both ways,
// terminated and with their length, whole and cut by a room: codePageCheck.h's rules hold.
#include <cstdint>
#include <cstring>

#include "../tests/platform/codePageCheck.h"

using mlib::test::convertInRooms;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const int bytes = static_cast<int>(size - 1), units = bytes / 2;
  std::vector<char> narrow(data + 1, data + size);
  narrow.push_back('\0');
  std::vector<mlib::WideChar> wide(static_cast<std::size_t>(units) + 1, 0);
  std::memcpy(wide.data(), data + 1, static_cast<std::size_t>(units) * sizeof(mlib::WideChar));
  std::string fault;
  for (const unsigned page : mlib::test::kCodePages) {
    for (const int n : {-1, bytes}) {  // terminated, then with its length
      (void)convertInRooms<mlib::WideChar>(page, narrow.data(), n, {data[0]}, {}, fault);
      (void)convertInRooms<char>(page, wide.data(), n < 0 ? n : units, {data[0]}, {}, fault);
    }
  }
  if (!fault.empty()) __builtin_trap();
  return 0;
}
