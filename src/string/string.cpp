// String's storage, construction, assignment, concatenation, equality and conversion to
// ANSI text. Format and the number constructors live in format.cpp.
#include <mlib/string.h>
#include <mlib/text.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <new>

#include "platform/platform.h"
#include "string/storage.h"

namespace mlib {

static_assert(sizeof(String) == 2 * sizeof(void*), "String is two pointers wide");

using detail::allocWideRaw;
using detail::allocWideZeroed;
using detail::freeWide;
using detail::TerminatedText;
using detail::textLength;
using detail::wideCapacity;
using detail::wideLength;
using detail::wideLengthBounded;
using detail::zeroWide;

namespace {

// How many units to make room for when copying the text of a String buffer of `capacity`
// units in one pass. The capacity bounds the text, but a large buffer that ends in zeros is
// mostly reserve (a Format or AllocBuffer buffer): its text is measured first, so a short
// text in a huge buffer never costs a huge temporary block.
std::size_t copyBound(const WideChar* buffer, std::size_t capacity) noexcept {
  constexpr std::size_t kAlwaysOnePass = 4096;
  if (capacity <= kAlwaysOnePass || buffer[capacity - 2] != 0) return capacity;
  return wideLengthBounded(buffer, capacity);
}

// memcpy of UTF-16 units that also accepts a null source for a count of 0.
void copyUnits(WideChar* dst, const WideChar* src, std::size_t unitCount) noexcept {
  if (unitCount != 0) std::memcpy(dst, src, unitCount * sizeof(WideChar));
}

// A buffer of exactly unitCount + 1 units holding text[0, unitCount) and the terminator.
WideChar* copyExact(const WideChar* text, std::size_t unitCount) {
  WideChar* buffer = allocWideRaw(unitCount + 1);
  copyUnits(buffer, text, unitCount);
  buffer[unitCount] = 0;
  return buffer;
}

// Code pages that read every ASCII byte as the same UTF-16 unit, as all of Windows' ANSI
// code pages do.
bool keepsAscii(unsigned codePage) noexcept {
  switch (codePage) {
    case 874:
    case 932:
    case 936:
    case 949:
    case 950:
    case 1250:
    case 1251:
    case 1252:
    case 1253:
    case 1254:
    case 1255:
    case 1256:
    case 1257:
    case 1258:
    case 65001:
      return true;
    default:
      return false;
  }
}

// ANSI text of byteCount bytes (byteCount > 0) widened into a buffer of byteCount + 1 units.
// The capacity follows the byte count, not the converted length.
WideChar* widenAnsi(const char* text, std::size_t byteCount) {
  if (byteCount + 1 > detail::kMaxWideCapacity) throw std::bad_alloc();
  WideChar* buffer = allocWideRaw(byteCount + 1);
  // ASCII text converts to itself: widening it directly gives ANSIToWide's result at
  // several times its speed (bench/stringBench.cpp, ConstructAnsi rows).
  if (keepsAscii(platform::ansiCodePage()) && detail::widenAscii(buffer, text, byteCount)) {
    buffer[byteCount] = 0;
    return buffer;
  }
  // ANSIToWide zero-fills its whole capacity first, which also clears the slots a
  // double-byte text leaves over.
  if (ANSIToWide(buffer, text, static_cast<int>(byteCount + 1)) == nullptr) {
    zeroWide(buffer, byteCount + 1);
  }
  return buffer;
}

// first followed by second, each read up to its terminator but at most its bound of units
// (each readable up to its bound), in a buffer of exact capacity; null when both are empty.
// Each part is copied in one pass into a block sized by the bounds, and the exact capacity
// is recorded afterwards.
WideChar* joinTexts(const WideChar* first, std::size_t firstBound, const WideChar* second,
                    std::size_t secondBound) {
  WideChar* fresh = allocWideRaw(firstBound + secondBound + 1);
  const std::size_t firstCount =
      first == nullptr ? 0 : detail::copyWideTextWithin(fresh, first, firstBound);
  const std::size_t secondCount =
      detail::copyWideTextWithin(fresh + firstCount, second, secondBound);
  if (firstCount + secondCount == 0) {
    freeWide(fresh);
    return nullptr;
  }
  fresh[firstCount + secondCount] = 0;
  return detail::fitWide(fresh, firstCount + secondCount + 1);
}

// Converts text to the ANSI code page in a new array of 2 x unitCount + 1 bytes (3 x when
// the ANSI code page is UTF-8), room for the whole text.
char* narrowToAnsi(const WideChar* text, std::size_t unitCount) {
  std::size_t byteCount = platform::ansiBytesPerWideUnit() * unitCount + 1;
  if (byteCount > static_cast<std::size_t>(INT_MAX)) byteCount = INT_MAX;
  char* ansi = new char[byteCount];
  if (WideToANSI(ansi, text, static_cast<int>(byteCount)) == nullptr) {
    std::memset(ansi, 0, byteCount);
  }
  return ansi;
}

}  // namespace

// ---- Construction ------------------------------------------------------------------

String::String() noexcept : buffer_(nullptr), ansi_(nullptr) {}

String::String(const WideChar* text) : String() {
  const std::size_t unitCount = wideLength(text);
  if (unitCount != 0) buffer_ = copyExact(text, unitCount);
}

String::String(const char* text) : String() {
  if (text == nullptr) return;
  const std::size_t byteCount = std::strlen(text);
  if (byteCount != 0) buffer_ = widenAnsi(text, byteCount);
}

String::String(const unsigned char* text) : String(reinterpret_cast<const char*>(text)) {}

String::String(const String& other) : String() {
  // The other's capacity bounds its length: copy in one pass into a block of that size,
  // then record the exact capacity.
  const std::size_t capacity = wideCapacity(other.buffer_);
  if (capacity == 0) return;
  const std::size_t bound = copyBound(other.buffer_, capacity);
  WideChar* fresh = allocWideRaw(bound + 1);
  const std::size_t unitCount = detail::copyWideTextWithin(fresh, other.buffer_, bound);
  if (unitCount == 0) {
    freeWide(fresh);
    return;
  }
  fresh[unitCount] = 0;
  buffer_ = detail::fitWide(fresh, unitCount + 1);
}

String::String(String&& other) noexcept : buffer_(other.buffer_), ansi_(other.ansi_) {
  other.buffer_ = nullptr;
  other.ansi_ = nullptr;
}

String::String(const std::string& text) : String() { *this = text.c_str(); }

String::~String() { ReleaseBuffer(); }

// ---- Buffer management -------------------------------------------------------------

void String::ReleaseBuffer() noexcept {
  freeWide(buffer_);
  buffer_ = nullptr;
  delete[] ansi_;
  ansi_ = nullptr;
}

WideChar* String::AllocBuffer(unsigned n) {
  ReleaseBuffer();
  buffer_ = allocWideZeroed(static_cast<std::size_t>(n) + 1);
  return buffer_;
}

WideChar* String::GetBuffer(unsigned i) const noexcept {
  return buffer_ == nullptr ? nullptr : buffer_ + i;
}

WideChar* String::ResizeBuffer(unsigned n) {
  if (buffer_ == nullptr) return AllocBuffer(n);
  WideChar* fresh = allocWideZeroed(static_cast<std::size_t>(n) + 1);
  const std::size_t unitCount = textLength(buffer_);
  copyUnits(fresh, buffer_, (unitCount < n ? unitCount : n));
  freeWide(buffer_);
  buffer_ = fresh;
  return buffer_;
}

void String::ResetBuffer() noexcept { zeroWide(buffer_, wideCapacity(buffer_)); }

unsigned String::getSize() const noexcept { return wideCapacity(buffer_); }

// ---- Assignment --------------------------------------------------------------------

String& String::operator=(const WideChar* text) {
  const unsigned capacity = wideCapacity(buffer_);
  if (text == nullptr) {
    zeroWide(buffer_, capacity);
    return *this;
  }
  const std::size_t unitCount = wideLength(text);
  if (capacity == 0 && unitCount == 0) return *this;
  if (capacity > unitCount) {
    // The buffer is reused. memmove, then clearing only the tail, gives the text even when
    // it lies inside this buffer, where clearing first would have erased it.
    std::memmove(buffer_, text, unitCount * sizeof(WideChar));
    zeroWide(buffer_ + unitCount, capacity - unitCount);
    return *this;
  }
  WideChar* fresh = copyExact(text, unitCount);
  ReleaseBuffer();
  buffer_ = fresh;
  return *this;
}

String& String::operator=(const String& other) {
  if (this == &other) return *this;
  const TerminatedText text(other.buffer_);
  return *this = text.get();
}

String& String::operator=(String&& other) noexcept {
  if (this == &other) return *this;
  ReleaseBuffer();
  buffer_ = other.buffer_;
  ansi_ = other.ansi_;
  other.buffer_ = nullptr;
  other.ansi_ = nullptr;
  return *this;
}

String& String::operator=(const char* text) {
  String wide(text);
  const std::size_t unitCount = textLength(wide.buffer_);
  // Where the assignment would re-allocate anyway and the converted text already sits in
  // a buffer of exactly unitCount + 1 units, take that buffer instead of copying it.
  if (unitCount != 0 && wideCapacity(buffer_) <= unitCount &&
      wideCapacity(wide.buffer_) == unitCount + 1) {
    ReleaseBuffer();
    buffer_ = wide.buffer_;
    wide.buffer_ = nullptr;
    return *this;
  }
  return *this = wide.buffer_;
}

String& String::operator=(const std::string& text) { return *this = text.c_str(); }

String& String::operator=(WideChar c) {
  const WideChar text[2] = {c, 0};
  return *this = text;
}

// ---- Concatenation -----------------------------------------------------------------

String String::operator+(const WideChar* text) const {
  if (text == nullptr) return String(*this);
  String sum;
  sum.buffer_ =
      joinTexts(buffer_, copyBound(buffer_, wideCapacity(buffer_)), text, wideLength(text));
  return sum;
}

String String::operator+(const String& other) const {
  if (other.buffer_ == nullptr) return String(*this);
  String sum;
  sum.buffer_ = joinTexts(buffer_, copyBound(buffer_, wideCapacity(buffer_)), other.buffer_,
                          copyBound(other.buffer_, wideCapacity(other.buffer_)));
  return sum;
}

String String::operator+(const char* text) const {
  if (text == nullptr) return String(*this);
  const String wide(text);
  return *this + wide.buffer_;
}

String String::operator+(const std::string& text) const { return *this + text.c_str(); }

String String::operator+(WideChar c) const {
  const WideChar text[2] = {c, 0};
  return *this + text;
}

String& String::operator+=(const WideChar* text) {
  if (text == nullptr) return *this;
  const std::size_t capacity = wideCapacity(buffer_);
  const std::size_t firstCount = textLength(buffer_);
  const std::size_t room = capacity - firstCount;  // at least 1 while there is a buffer
  const auto at = reinterpret_cast<std::uintptr_t>(text);
  const auto begin = reinterpret_cast<std::uintptr_t>(buffer_);
  const bool inside = at >= begin && at < begin + capacity * sizeof(WideChar);
  std::size_t secondCount;
  if (capacity != 0 && !inside) {
    // Copy and measure in one pass: the text fits when its terminator lands in the room.
    secondCount = detail::copyWideText(buffer_ + firstCount, text, room);
    if (secondCount < room) {
      // The room behind the new text is cleared as a fresh copy would leave it, so units a
      // caller left past the old terminator do not come back.
      zeroWide(buffer_ + firstCount + secondCount + 1, room - secondCount - 1);
      return *this;
    }
    // It does not fit; the old buffer is about to go, so what landed in its room is moot.
    secondCount = room + wideLength(text + room);
  } else {
    secondCount = wideLength(text);
    if (capacity > firstCount && room > secondCount) {
      std::memmove(buffer_ + firstCount, text, secondCount * sizeof(WideChar));
      zeroWide(buffer_ + firstCount + secondCount, room - secondCount);
      return *this;
    }
  }
  if (firstCount + secondCount == 0) return *this;
  // No room: one exact-size buffer for both parts; the ANSI buffer goes with the old one.
  WideChar* fresh;
  try {
    fresh = allocWideRaw(firstCount + secondCount + 1);
  } catch (const std::bad_alloc&) {
    // The text stays as it was: what the measuring copy left in the room goes again.
    if (capacity != 0 && !inside) zeroWide(buffer_ + firstCount, room);
    throw;
  }
  copyUnits(fresh, buffer_, firstCount);
  copyUnits(fresh + firstCount, text, secondCount);
  fresh[firstCount + secondCount] = 0;
  ReleaseBuffer();
  buffer_ = fresh;
  return *this;
}

String& String::operator+=(const String& other) {
  const TerminatedText text(other.buffer_);
  return *this += text.get();
}

String& String::operator+=(const char* text) {
  if (text == nullptr) return *this;
  const String wide(text);
  return *this += wide.buffer_;
}

String& String::operator+=(const std::string& text) { return *this += text.c_str(); }

String& String::operator+=(WideChar c) {
  const WideChar text[2] = {c, 0};
  return *this += text;
}

// ---- Conversions and queries -------------------------------------------------------

String::operator WideChar*() const noexcept { return buffer_; }

WideChar* String::toUnicode() const noexcept { return buffer_; }

const WideChar* String::toString() const noexcept { return buffer_; }

char* String::toAnsi() const {
  if (buffer_ == nullptr) return nullptr;
  const TerminatedText text(buffer_);
  char* fresh = narrowToAnsi(text.get(), textLength(buffer_));
  delete[] ansi_;
  ansi_ = fresh;
  return ansi_;
}

String::operator char*() const { return toAnsi(); }

String::operator std::string() const {
  const char* ansi = toAnsi();
  return ansi == nullptr ? std::string() : std::string(ansi);
}

int String::GetLength() const noexcept { return static_cast<int>(textLength(buffer_)); }

int String::GetAnsiLength() const {
  const char* ansi = ansi_ != nullptr ? ansi_ : toAnsi();
  return ansi == nullptr ? 0 : static_cast<int>(std::strlen(ansi));
}

bool String::IsEmpty() const noexcept { return buffer_ == nullptr || buffer_[0] == 0; }

bool String::IsNull() const noexcept { return buffer_ == nullptr; }

bool String::operator==(const WideChar* text) const noexcept {
  if (buffer_ == nullptr || text == nullptr) return false;
  const std::size_t unitCount = textLength(buffer_);
  if (wideLengthBounded(text, unitCount + 1) != unitCount) return false;
  return std::memcmp(buffer_, text, unitCount * sizeof(WideChar)) == 0;
}

bool String::operator==(const String& other) const noexcept {
  if (buffer_ == nullptr || other.buffer_ == nullptr) return false;
  const std::size_t unitCount = textLength(buffer_);
  const std::size_t otherCapacity = wideCapacity(other.buffer_);
  const std::size_t otherBound = unitCount < otherCapacity ? unitCount + 1 : otherCapacity;
  if (wideLengthBounded(other.buffer_, otherBound) != unitCount) return false;
  return std::memcmp(buffer_, other.buffer_, unitCount * sizeof(WideChar)) == 0;
}

}  // namespace mlib
