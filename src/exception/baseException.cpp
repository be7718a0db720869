// MxBaseException: code, level and the owned description text.
#include <mlib/exceptions.h>

#include <cstdlib>
#include <cstring>
#include <new>

#include "platform/platform.h"

namespace mlib {

namespace {

// A private copy of `text` on the runtime heap (length + 1 units, terminated); null for a
// null text. Out of memory throws std::bad_alloc.
WideChar* copyDescription(const WideChar* text) {
  if (text == nullptr) return nullptr;
  std::size_t unitCount = 0;
  while (text[unitCount] != 0) ++unitCount;
  auto* copy = static_cast<WideChar*>(std::malloc((unitCount + 1) * sizeof(WideChar)));
  if (copy == nullptr) throw std::bad_alloc();
  std::memcpy(copy, text, unitCount * sizeof(WideChar));
  copy[unitCount] = 0;
  return copy;
}

}  // namespace

MxBaseException::MxBaseException(int code, int level, const WideChar* description)
    : code_(code), level_(level), description_(copyDescription(description)) {}

MxBaseException::MxBaseException(const MxBaseException& other)
    : MxObject(other),
      code_(other.code_),
      level_(other.level_),
      description_(copyDescription(other.description_)) {}

MxBaseException& MxBaseException::operator=(const MxBaseException& other) {
  if (&other == this) return *this;
  WideChar* copy = copyDescription(other.description_);
  std::free(description_);
  description_ = copy;
  code_ = other.code_;
  level_ = other.level_;
  return *this;
}

MxBaseException::~MxBaseException() { std::free(description_); }

void MxBaseException::SetCode(int code) { code_ = code; }

void MxBaseException::SetLevel(int level) { level_ = level; }

int MxBaseException::GetCode() {
  if (code_ == 0) code_ = platform::lastError();
  return code_;
}

int MxBaseException::GetLevel() const { return level_; }

}  // namespace mlib
