// Arbitrary text and capacities through the free conversion, hex and number functions:
// every result must stay inside its destination, terminated.
#include <mlib/text.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Wide = mlib::WideChar;

// Traps unless write() left all past `room` elements as they were (and, if asked, ended in 0).
template <typename T, typename Write>
void checkInside(std::size_t room, bool terminated, Write write) {
  std::vector<T> buffer(room * 3 + 8, static_cast<T>(0x5A5A));
  write(buffer.data());
  const auto past = [](T c) { return c != static_cast<T>(0x5A5A); };
  if (std::any_of(buffer.begin() + static_cast<std::ptrdiff_t>(room), buffer.end(), past) ||
      (terminated && buffer[room - 1] != 0)) {
    __builtin_trap();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const int capacity = data[0] % 64 + 1;
  const bool spaced = (data[1] & 1) != 0;
  data += 2;
  size -= 2;
  const std::string narrow(reinterpret_cast<const char*>(data), size);
  std::vector<Wide> wide(size / 2 + 1, 0);
  std::memcpy(wide.data(), data, size / 2 * sizeof(Wide));
  const char* n = narrow.c_str();
  const Wide* w = wide.data();
  const auto room = static_cast<std::size_t>(capacity);
  checkInside<Wide>(room, true, [&](Wide* out) { ANSIToWide(out, n, capacity); });
  checkInside<char>(room, true, [&](char* out) { WideToANSI(out, w, capacity); });
  checkInside<Wide>(room, false, [&](Wide* out) { Utf8ToWide(out, n, capacity); });
  checkInside<char>(room, false, [&](char* out) { WideToUtf8(out, w, capacity); });
  checkInside<char>(room, false, [&](char* out) { U82A(out, n, capacity); });
  checkInside<Wide>(room, false, [&](Wide* out) { U82T(out, n, capacity); });
  checkInside<char>(room, false, [&](char* out) { T2U8(out, w, capacity); });
  checkInside<unsigned char>(room, false, [&](unsigned char* out) {
    const int written = HexStringToByte(w, out, capacity);
    if (written < 0 || written > capacity) __builtin_trap();
  });
  checkInside<char>(room, false, [&](char* out) {
    ByteToHex(data, static_cast<unsigned>(size), out, static_cast<unsigned>(capacity), spaced);
  });
  checkInside<Wide>(room, false, [&](Wide* out) {
    ByteToHexString(data, static_cast<int>(size), out, static_cast<unsigned>(capacity), spaced);
  });
  // Each on its own: a sum of the results could overflow in the target itself.
  (void)ATOI(w);
  (void)ATOI64(w);
  (void)ATOF(w);
  (void)IsNumber(w);
  (void)GetStringHashCodeT(w);
  return 0;
}
