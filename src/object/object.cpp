// MxObject: the root's default operations, its allocation operators over malloc/free and
// the run-time class name behind GetType.
#include <mlib/object.h>
#include <mlib/string.h>

#include <memory>
#include <typeinfo>

#include "object/typeName.h"

namespace mlib {

MxObject::~MxObject() = default;

MxObject::MxObject(const MxObject&) noexcept {}

void MxObject::Clone(const MxObject&) {}

bool MxObject::Equals(const MxObject& other) const { return &other == this; }

const void* MxObject::GetThisObjectBuffer() const { return this; }

String MxObject::PrintToString() const {
  return String(MLIB_T(
      "String can not be printed, as the class couldn't interpret this type of instance yet."));
}

MxObject& MxObject::operator=(const MxObject&) { return *this; }

bool MxObject::operator==(const MxObject& other) const { return Equals(other); }

bool MxObject::operator!=(const MxObject& other) const { return !Equals(other); }

mtype MxObject::GetType() const {
  const std::unique_ptr<char, detail::FreeDeleter> name(detail::readableTypeName(typeid(*this)));
  mtype type;
  type.setName(name != nullptr ? name.get() : typeid(*this).name());
  return type;
}

void* MxObject::operator new(std::size_t size) noexcept { return std::malloc(size); }

void MxObject::operator delete(void* block) noexcept { std::free(block); }

void* MxObject::operator new[](std::size_t size) noexcept { return std::malloc(size); }

void MxObject::operator delete[](void* block) noexcept { std::free(block); }

void* MxObject::operator new(std::size_t, void* place) noexcept { return place; }

void MxObject::operator delete(void*, void*) noexcept {}

}  // namespace mlib
