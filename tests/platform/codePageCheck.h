// Test helper of the code page tests and their fuzz target: one conversion through the size
// query and every room a caller may give, against the rules that hold for any page and input.
#ifndef MLIB_TESTS_PLATFORM_CODEPAGECHECK_H
#define MLIB_TESTS_PLATFORM_CODEPAGECHECK_H

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "platform/codePage.h"
#include "platform/process.h"

namespace mlib::test {

// Whether the system's own conversions run (Windows backend), whose answers are its own.
#if defined(MLIB_TEST_WIN32_BACKEND)
inline constexpr bool kSystemConversions = true;
#else
inline constexpr bool kSystemConversions = false;
#endif

// Every code page Windows can have as its active ANSI page, and UTF-8.
constexpr unsigned kCodePages[] = {874,  932,  936,  949,  950,  1250, 1251, 1252,
                                   1253, 1254, 1255, 1256, 1257, 1258, 65001};

// Converts src (n elements, or -1: up to and with its terminator) to Out into the room the size
// query asked for and each of `rooms`, fenced by canaries. A room that holds the output gives
// the same output and count and leaves lastError alone; a smaller one gives 0, lastError 122,
// and writes nothing past the room, nor past the last character that fits when `ends` (output
// counts at which characters end) is given. Gives the output; appends faults to `fault`.
template <typename Out, typename In>
std::vector<Out> convertInRooms(unsigned page, const In* src, int n, std::vector<int> rooms,
                                const std::vector<std::size_t>& ends, std::string& fault) {
  const auto convert = [&](Out* dst, int room) {
    if constexpr (sizeof(Out) == 1) return platform::wideToMultiByte(page, src, n, dst, room);
    if constexpr (sizeof(Out) != 1) return platform::multiByteToWide(page, src, n, dst, room);
  };
  const Out canary = static_cast<Out>(sizeof(Out) == 1 ? 0x5A : 0xCDCD);
  const int need = convert(nullptr, 0);
  std::vector<Out> output;
  if (need < 1) return output;  // refused input: the argument tests check those
  rooms.insert(rooms.begin(), need);
  for (const int room : rooms) {
    if (room < 1) continue;
    const bool fits = room >= need;
    std::vector<Out> buffer(static_cast<std::size_t>(std::max(room, need)) + 2, canary);
    platform::setLastError(0);
    const bool counted = convert(buffer.data(), room) == (fits ? need : 0);
    const int error = platform::lastError();
    if (output.empty()) output.assign(buffer.begin(), buffer.begin() + need);
    std::size_t kept = fits ? static_cast<std::size_t>(need) : 0;
    for (const std::size_t end : ends) kept = !fits && end <= std::size_t(room) ? end : kept;
    const std::size_t fence = fits || !ends.empty() ? kept : static_cast<std::size_t>(room);
    const auto past = static_cast<std::ptrdiff_t>(buffer.size() - fence);
    if (!counted || (fits ? error != 0 && !kSystemConversions : error != 122) ||
        !std::equal(output.begin(), output.begin() + static_cast<std::ptrdiff_t>(kept),
                    buffer.begin()) ||
        std::count(buffer.end() - past, buffer.end(), canary) != past) {
      fault += "room " + std::to_string(room) + " of " + std::to_string(need) + ": count " +
               (counted ? "right" : "wrong") + ", lastError " + std::to_string(error) + "\n";
    }
  }
  return output;
}

}  // namespace mlib::test

#endif  // MLIB_TESTS_PLATFORM_CODEPAGECHECK_H
