// The fuzz targets' reader of their input: one byte at a time, and zeros once it is used up,
// so that a target can read as much as it likes from a short input.
#ifndef MLIB_FUZZ_FUZZINPUT_H
#define MLIB_FUZZ_FUZZINPUT_H

#include <cstddef>
#include <cstdint>

struct FuzzInput {
  const std::uint8_t* data;
  std::size_t size;
  std::size_t at = 0;

  bool more() const { return at < size; }
  std::uint8_t next() { return at < size ? data[at++] : 0; }
};

#endif  // MLIB_FUZZ_FUZZINPUT_H
