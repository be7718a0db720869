// The two process queries of <mlib/text.h>: the executable's folder and the physical
// memory in use.
#include <mlib/text.h>

#include <cstddef>

#include "platform/platform.h"
#include "text/textBuffers.h"

using mlib::WideChar;
namespace platform = mlib::platform;

WideChar* GetCurrentPath(WideChar* dst, int capacity) {
  if (dst == nullptr) return nullptr;
  if (capacity < 1) return dst;  // nothing to fill, no room for a path
  const std::size_t room = static_cast<std::size_t>(capacity);
  mlib::detail::zeroRange(dst, 0, room);
  // The platform gets one unit less than the destination has: a path it cuts may come back
  // unterminated, and the last slot keeps the zero of the fill.
  (void)platform::executablePath(dst, static_cast<unsigned>(capacity - 1));
  const WideChar separator = platform::pathSeparator();
  std::size_t keep = 0;
  bool found = false;
  for (std::size_t i = 0; dst[i] != 0; ++i) {
    if (dst[i] == separator) {
      keep = i + 1;
      found = true;
    }
  }
  if (found) mlib::detail::zeroRange(dst, keep, room);
  return dst;
}

float GetMemory(void) {
  // The byte count stays 64-bit up to the scaling: 32 bits cannot hold today's memory.
  constexpr double kBytesToMebibytes = 9.5367431640625e-07;
  return static_cast<float>(static_cast<double>(platform::physicalMemoryInUse()) *
                            kBytesToMebibytes);
}
