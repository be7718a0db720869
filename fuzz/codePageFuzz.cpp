// Feeds arbitrary bytes and UTF-16 units through every code page in both directions, with
// arbitrary rooms: the size query must match a conversion into exact room, and nothing may
// be written past the room.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "platform/codePage.h"

namespace {

using mlib::WideChar;
namespace platform = mlib::platform;

constexpr unsigned kCodePages[] = {874,  932,  936,  949,  950,
                                   1250, 1251, 1252, 1253, 1254,
                                   1255, 1256, 1257, 1258, platform::kUtf8CodePage};
constexpr WideChar kWideCanary = 0xBEEF;
constexpr char kByteCanary = '\x5A';

void checkToWide(unsigned codePage, const char* src, int srcBytes, int room) {
  const int need = platform::multiByteToWide(codePage, src, srcBytes, nullptr, 0);
  if (need <= 0) return;
  std::vector<WideChar> dst(static_cast<std::size_t>(need) + 8, kWideCanary);
  if (platform::multiByteToWide(codePage, src, srcBytes, dst.data(), need) != need)
    __builtin_trap();
  for (std::size_t i = static_cast<std::size_t>(need); i < dst.size(); ++i) {
    if (dst[i] != kWideCanary) __builtin_trap();
  }
  if (room <= 0 || room >= need) return;
  std::vector<WideChar> cut(static_cast<std::size_t>(room) + 8, kWideCanary);
  if (platform::multiByteToWide(codePage, src, srcBytes, cut.data(), room) != 0) __builtin_trap();
  for (std::size_t i = static_cast<std::size_t>(room); i < cut.size(); ++i) {
    if (cut[i] != kWideCanary) __builtin_trap();
  }
}

void checkFromWide(unsigned codePage, const WideChar* src, int srcUnits, int room) {
  const int need = platform::wideToMultiByte(codePage, src, srcUnits, nullptr, 0);
  if (need <= 0) return;
  std::vector<char> dst(static_cast<std::size_t>(need) + 8, kByteCanary);
  if (platform::wideToMultiByte(codePage, src, srcUnits, dst.data(), need) != need)
    __builtin_trap();
  for (std::size_t i = static_cast<std::size_t>(need); i < dst.size(); ++i) {
    if (dst[i] != kByteCanary) __builtin_trap();
  }
  if (room <= 0 || room >= need) return;
  std::vector<char> cut(static_cast<std::size_t>(room) + 8, kByteCanary);
  if (platform::wideToMultiByte(codePage, src, srcUnits, cut.data(), room) != 0) __builtin_trap();
  for (std::size_t i = static_cast<std::size_t>(room); i < cut.size(); ++i) {
    if (cut[i] != kByteCanary) __builtin_trap();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const int room = data[0];
  ++data;
  --size;

  // Narrow input: once zero-terminated, once with its exact length (zeros included).
  std::vector<char> narrow(data, data + size);
  narrow.push_back('\0');
  // Wide input: the same bytes read as UTF-16 units.
  std::vector<WideChar> wide(size / 2 + 1, 0);
  if (size >= 2) std::memcpy(wide.data(), data, (size / 2) * sizeof(WideChar));

  for (unsigned codePage : kCodePages) {
    checkToWide(codePage, narrow.data(), -1, room);
    checkToWide(codePage, narrow.data(), static_cast<int>(size), room);
    checkFromWide(codePage, wide.data(), -1, room);
    checkFromWide(codePage, wide.data(), static_cast<int>(size / 2), room);
  }
  return 0;
}
