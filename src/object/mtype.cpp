// mtype: a run-time class name kept whole and split into namespace and class parts, and the
// one exported instantiation of MakeFinal.
#include <mlib/object.h>

#include <cstring>

namespace mlib {

template class MakeFinal<mtype>;

namespace {

// A fresh copy of text[0, length) from the global allocation operator, terminated.
char* copyText(const char* text, std::size_t length) {
  char* copy = new char[length + 1];
  std::memcpy(copy, text, length);
  copy[length] = '\0';
  return copy;
}

}  // namespace

mtype::mtype() noexcept = default;

mtype::mtype(const mtype& other) : MakeFinal<mtype>() {
  if (&other != this) setName(other.fullName_);
}

mtype::~mtype() { releaseNames(); }

mtype& mtype::operator=(const mtype& other) {
  if (&other != this) setName(other.fullName_);
  return *this;
}

bool mtype::operator==(const mtype& other) const noexcept {
  if (fullName_ == nullptr || other.fullName_ == nullptr) return false;
  return std::strcmp(fullName_, other.fullName_) == 0;
}

bool mtype::operator!=(const mtype& other) const noexcept { return !(*this == other); }

char* mtype::GetFullName() const noexcept { return fullName_; }

char* mtype::GetClassNameW() const noexcept { return className_; }

char* mtype::GetNamespaceName() const noexcept { return namespaceName_; }

void mtype::releaseNames() noexcept {
  delete[] fullName_;
  delete[] className_;
  delete[] namespaceName_;
  fullName_ = nullptr;
  className_ = nullptr;
  namespaceName_ = nullptr;
}

// The scan runs from the end of the name towards its start: every "::" met replaces the
// class name by what follows it, so the class name ends up as everything after the first
// "::" behind the last space; that space (or the name's start) and this "::" bound the
// namespace. A template argument list gets no special treatment.
void mtype::setName(const char* name) {
  if (name == nullptr) return;
  // Copy first: `name` may be this record's own full name.
  const std::size_t length = std::strlen(name);
  char* full = copyText(name, length);
  releaseNames();
  fullName_ = full;

  std::size_t marker = 0;  // position of the second ':' of the last "::" met; 0 = none
  for (std::size_t p = length == 0 ? 0 : length - 1; p >= 1; --p) {
    if (fullName_[p - 1] == ':' && fullName_[p] == ':') {
      delete[] className_;
      className_ = nullptr;
      className_ = copyText(fullName_ + p + 1, length - p - 1);
      marker = p;
    }
    if (fullName_[p] == ' ') {
      if (marker != 0) namespaceName_ = copyText(fullName_ + p + 1, marker - 1 - (p + 1));
      break;
    }
    if (p == 1 && marker != 0) namespaceName_ = copyText(fullName_, marker - 1);
  }
  if (className_ == nullptr) className_ = copyText(fullName_, length);
  if (namespaceName_ == nullptr) namespaceName_ = copyText(fullName_, length);
}

}  // namespace mlib
