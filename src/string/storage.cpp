// String's heap blocks: a capacity header followed by the UTF-16 units.
#include "string/storage.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace mlib::detail {
namespace {

using BlockHeader = WideBlockHeader;

BlockHeader* headerOf(const WideChar* buffer) noexcept {
  return const_cast<BlockHeader*>(wideHeaderOf(buffer));
}

WideChar* unitsOf(BlockHeader* header) noexcept {
  return reinterpret_cast<WideChar*>(reinterpret_cast<char*>(header) + sizeof(BlockHeader));
}

std::size_t blockBytes(std::size_t units) {
  if (units == 0) units = 1;
  if (units > kMaxWideCapacity) throw std::bad_alloc();
  return sizeof(BlockHeader) + units * sizeof(WideChar);
}

}  // namespace

WideChar* allocWideRaw(std::size_t units) {
  if (units == 0) units = 1;
  void* block = std::malloc(blockBytes(units));
  if (block == nullptr) throw std::bad_alloc();
  auto* header = static_cast<BlockHeader*>(block);
  header->capacity = static_cast<unsigned>(units);
  return unitsOf(header);
}

WideChar* allocWideZeroed(std::size_t units) {
  if (units == 0) units = 1;
  void* block = std::calloc(1, blockBytes(units));
  if (block == nullptr) throw std::bad_alloc();
  auto* header = static_cast<BlockHeader*>(block);
  header->capacity = static_cast<unsigned>(units);
  return unitsOf(header);
}

void freeWide(WideChar* buffer) noexcept {
  if (buffer != nullptr) std::free(headerOf(buffer));
}

WideChar* regrowWide(WideChar* buffer, std::size_t units) {
  if (buffer == nullptr) return allocWideZeroed(units);
  if (units == 0) units = 1;
  const std::size_t oldUnits = headerOf(buffer)->capacity;
  void* block = std::realloc(headerOf(buffer), blockBytes(units));
  if (block == nullptr) throw std::bad_alloc();
  auto* header = static_cast<BlockHeader*>(block);
  header->capacity = static_cast<unsigned>(units);
  WideChar* grown = unitsOf(header);
  if (units > oldUnits) zeroWide(grown + oldUnits, units - oldUnits);
  return grown;
}

WideChar* fitWide(WideChar* buffer, std::size_t units) {
  // Up to this many spare units stay in the block rather than cost a re-allocation.
  constexpr std::size_t kSlackUnits = 32;
  const std::size_t blockUnits = headerOf(buffer)->capacity;
  if (blockUnits - units > kSlackUnits) {
    void* block = std::realloc(headerOf(buffer), blockBytes(units));
    if (block != nullptr) buffer = unitsOf(static_cast<BlockHeader*>(block));
  }
  headerOf(buffer)->capacity = static_cast<unsigned>(units);
  return buffer;
}

}  // namespace mlib::detail
