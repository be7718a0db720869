// Byte when an allocation fails: the allocator's exception reaches the caller and the object
// is left exactly as it was. This program replaces the global allocation operators with
// ones that can be told to fail.
#include <gtest/gtest.h>
#include <mlib/byte.h>

#include <cstdlib>
#include <functional>
#include <new>
#include <string>

#include "byteContent.h"

namespace {

bool gFailNext = false;

void* allocate(std::size_t size) {
  if (gFailNext) {
    gFailNext = false;
    throw std::bad_alloc();
  }
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

}  // namespace

void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return std::malloc(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return std::malloc(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { std::free(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { std::free(block); }

using mlib::Byte;

// Made before any failure is armed.
const Byte kLonger("a longer text than before");

TEST(ByteAllocFailure, EveryGrowingOperationLeavesTheObjectAsItWas) {
  struct Row {
    const char* operation;
    std::function<void(Byte&)> run;
  };
  static const unsigned char kBytes[] = "0123456789";
  const Row rows[] = {
      {"SetData(bytes)", [](Byte& b) { b.SetData(kBytes, 10); }},
      {"AppendData", [](Byte& b) { b.AppendData(kBytes, 3); }},
      {"+= Byte", [](Byte& b) { b += b; }},
      {"AllocBuffer", [](Byte& b) { b.AllocBuffer(64); }},
      {"IncreaseSize", [](Byte& b) { b.IncreaseSize(8); }},
      {"ToString", [](Byte& b) { (void)b.ToString(); }},
      {"copy assignment", [](Byte& b) { b = kLonger; }},
      {"AnsiToUtf8", [](Byte& b) { (void)b.AnsiToUtf8(); }},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.operation);
    Byte b;
    b.IncreaseLength(4);  // length = capacity: every operation above must allocate
    for (int i = 0; i < 4; ++i) b.SetAt(i, static_cast<unsigned char>('a' + i));
    const unsigned char* storage = b.GetData();

    gFailNext = true;
    EXPECT_THROW(r.run(b), std::bad_alloc);
    gFailNext = false;

    EXPECT_EQ(b.GetData(), storage);
    EXPECT_EQ(mlib::test::content(b) + "/" + mlib::test::storage(b), "abcd/abcd");
  }
}
