// Arbitrary text and capacities through the free conversion, hex and number functions:
// every result must stay inside its destination, terminated.
#include <mlib/text.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

using mlib::WideChar;

// Fills the buffer with its canary, lets write() fill it, and checks everything from `room`
// on still holds the canary.
template <typename T, typename Write>
void checkInside(std::vector<T>& buffer, std::size_t room, T canary, Write write) {
  std::fill(buffer.begin(), buffer.end(), canary);
  write(buffer.data());
  for (std::size_t i = room; i < buffer.size(); ++i) {
    if (buffer[i] != canary) __builtin_trap();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const int capacity = data[0] % 64 + 1;
  const bool spaced = (data[1] & 1) != 0;
  data += 2;
  size -= 2;

  std::vector<char> narrow(data, data + size);
  narrow.push_back('\0');
  std::vector<WideChar> wide(size / 2 + 1, 0);
  if (size >= 2) std::memcpy(wide.data(), data, (size / 2) * sizeof(WideChar));

  const std::size_t room = static_cast<std::size_t>(capacity);
  const WideChar wideCanary = 0xBEEF;
  const char byteCanary = '\x5A';
  std::vector<WideChar> wideOut(room + 8);
  std::vector<char> narrowOut(room * 3 + 8);
  std::vector<unsigned char> bytes(room + 8);
  const char* n = narrow.data();
  const WideChar* w = wide.data();

  checkInside(wideOut, room, wideCanary, [&](WideChar* out) { ANSIToWide(out, n, capacity); });
  if (wideOut[room - 1] != 0) __builtin_trap();
  checkInside(narrowOut, room, byteCanary, [&](char* out) { WideToANSI(out, w, capacity); });
  if (narrowOut[room - 1] != 0) __builtin_trap();
  checkInside(wideOut, room, wideCanary, [&](WideChar* out) { Utf8ToWide(out, n, capacity); });
  checkInside(narrowOut, room, byteCanary, [&](char* out) { WideToUtf8(out, w, capacity); });
  checkInside(narrowOut, room, byteCanary, [&](char* out) { U82A(out, n, capacity); });
  checkInside(wideOut, room, wideCanary, [&](WideChar* out) { U82T(out, n, capacity); });
  checkInside(narrowOut, room, byteCanary, [&](char* out) { T2U8(out, w, capacity); });
  checkInside(bytes, room, static_cast<unsigned char>(0x5A), [&](unsigned char* out) {
    const int written = HexStringToByte(w, out, capacity);
    if (written < 0 || written > capacity) __builtin_trap();
  });
  checkInside(narrowOut, room, byteCanary, [&](char* out) {
    ByteToHex(data, static_cast<unsigned>(size), out, static_cast<unsigned>(capacity), spaced);
  });
  checkInside(wideOut, room, wideCanary, [&](WideChar* out) {
    ByteToHexString(data, static_cast<int>(size), out, static_cast<unsigned>(capacity), spaced);
  });

  (void)ATOI(w);
  (void)ATOI64(w);
  (void)ATOF(w);
  (void)IsNumber(w);
  (void)GetStringHashCodeT(w);
  return 0;
}
