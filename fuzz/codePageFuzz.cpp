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

// The size query, then a conversion into exactly that room and one into a smaller room
// (which must fail), each with canaries behind the room that must stay untouched.
template <typename In, typename Out, typename Convert>
void check(Convert convert, const In* src, int srcUnits, int room, Out canary) {
  const int need = convert(src, srcUnits, static_cast<Out*>(nullptr), 0);
  for (int size : {need, room}) {
    if (need <= 0 || size <= 0 || size > need) continue;
    std::vector<Out> dst(static_cast<std::size_t>(size) + 8, canary);
    if (convert(src, srcUnits, dst.data(), size) != (size == need ? need : 0)) __builtin_trap();
    for (std::size_t i = static_cast<std::size_t>(size); i < dst.size(); ++i) {
      if (dst[i] != canary) __builtin_trap();
    }
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
    auto toWide = [codePage](const char* src, int n, WideChar* dst, int room) {
      return platform::multiByteToWide(codePage, src, n, dst, room);
    };
    auto fromWide = [codePage](const WideChar* src, int n, char* dst, int room) {
      return platform::wideToMultiByte(codePage, src, n, dst, room);
    };
    check(toWide, narrow.data(), -1, room, WideChar(0xBEEF));
    check(toWide, narrow.data(), static_cast<int>(size), room, WideChar(0xBEEF));
    check(fromWide, wide.data(), -1, room, '\x5A');
    check(fromWide, wide.data(), static_cast<int>(size / 2), room, '\x5A');
  }
  return 0;
}
