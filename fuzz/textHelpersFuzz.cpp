// Arbitrary text and capacities through the free conversion, hex and number functions:
// every result must stay inside its destination, terminated.
#include <mlib/text.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

using mlib::WideChar;

constexpr WideChar kWideCanary = 0xBEEF;
constexpr char kByteCanary = '\x5A';

template <typename T>
void checkCanaries(const std::vector<T>& buffer, std::size_t from, T canary) {
  for (std::size_t i = from; i < buffer.size(); ++i) {
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
  std::vector<WideChar> wideOut(room + 8, kWideCanary);
  std::vector<char> narrowOut(room * 3 + 8, kByteCanary);

  ANSIToWide(wideOut.data(), narrow.data(), capacity);
  if (wideOut[room - 1] != 0) __builtin_trap();
  checkCanaries(wideOut, room, kWideCanary);

  WideToANSI(narrowOut.data(), wide.data(), capacity);
  if (narrowOut[room - 1] != 0) __builtin_trap();
  checkCanaries(narrowOut, room, kByteCanary);

  std::fill(wideOut.begin(), wideOut.end(), kWideCanary);
  Utf8ToWide(wideOut.data(), narrow.data(), capacity);
  checkCanaries(wideOut, room, kWideCanary);

  std::fill(narrowOut.begin(), narrowOut.end(), kByteCanary);
  WideToUtf8(narrowOut.data(), wide.data(), capacity);
  checkCanaries(narrowOut, room, kByteCanary);

  std::fill(narrowOut.begin(), narrowOut.end(), kByteCanary);
  U82A(narrowOut.data(), narrow.data(), capacity);
  checkCanaries(narrowOut, room, kByteCanary);

  std::fill(wideOut.begin(), wideOut.end(), kWideCanary);
  U82T(wideOut.data(), narrow.data(), capacity);
  checkCanaries(wideOut, room, kWideCanary);

  std::fill(narrowOut.begin(), narrowOut.end(), kByteCanary);
  T2U8(narrowOut.data(), wide.data(), capacity);
  checkCanaries(narrowOut, room, kByteCanary);

  std::vector<unsigned char> bytes(room + 8, 0x5A);
  const int written = HexStringToByte(wide.data(), bytes.data(), capacity);
  if (written < 0 || written > capacity) __builtin_trap();
  for (std::size_t i = room; i < bytes.size(); ++i) {
    if (bytes[i] != 0x5A) __builtin_trap();
  }

  std::fill(narrowOut.begin(), narrowOut.end(), kByteCanary);
  ByteToHex(data, static_cast<unsigned>(size), narrowOut.data(), static_cast<unsigned>(capacity),
            spaced);
  checkCanaries(narrowOut, room, kByteCanary);

  std::fill(wideOut.begin(), wideOut.end(), kWideCanary);
  ByteToHexString(data, static_cast<int>(size), wideOut.data(), static_cast<unsigned>(capacity),
                  spaced);
  checkCanaries(wideOut, room, kWideCanary);

  (void)ATOI(wide.data());
  (void)ATOI64(wide.data());
  (void)ATOF(wide.data());
  (void)IsNumber(wide.data());
  (void)GetStringHashCodeT(wide.data());
  return 0;
}
