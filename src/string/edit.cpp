// String's in-place editing (trims, ASCII case, reversal, replacement, line breaks), its
// comparisons and its element access. Case here is the library's own and simple: ASCII
// letters for case change, "32 apart" for case-blind comparison; only EndWith asks the
// platform.
#include <mlib/exceptions.h>
#include <mlib/string.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>

#include "platform/platform.h"
#include "string/replace.h"
#include "string/search.h"
#include "string/storage.h"

namespace mlib {

using detail::FailureTable;
using detail::findPattern;
using detail::TerminatedText;
using detail::wideLength;

namespace {

constexpr WideChar kBlank = 0x20;
constexpr WideChar kLineBreak[] = {0x0D, 0x0A, 0};

// -1, 0 or 1 by the unsigned order of two equal-length unit runs.
int compareUnits(const WideChar* a, const WideChar* b, std::size_t units) noexcept {
  for (std::size_t i = 0; i < units; ++i) {
    if (a[i] != b[i]) {
      return static_cast<std::uint16_t>(a[i]) < static_cast<std::uint16_t>(b[i]) ? -1 : 1;
    }
  }
  return 0;
}

// The same with CompareCharNoCase deciding each pair.
int compareUnitsNoCase(const WideChar* a, const WideChar* b, std::size_t units) noexcept {
  for (std::size_t i = 0; i < units; ++i) {
    const int order = String::CompareCharNoCase(a[i], b[i]);
    if (order != 0) return order;
  }
  return 0;
}

}  // namespace

// ---- Trims, case, reversal ---------------------------------------------------------

void String::Trim() {
  TrimLeft();
  TrimRight();
}

void String::TrimLeft() {
  const auto textUnits = static_cast<std::size_t>(GetLength());
  std::size_t blanks = 0;
  while (blanks < textUnits && buffer_[blanks] == kBlank) ++blanks;
  if (blanks == 0) return;
  std::memmove(buffer_, buffer_ + blanks, (textUnits - blanks) * sizeof(WideChar));
  detail::zeroWide(buffer_ + (textUnits - blanks), blanks);
}

void String::TrimRight() {
  auto end = static_cast<std::size_t>(GetLength());
  while (end > 0 && buffer_[end - 1] == kBlank) buffer_[--end] = 0;
}

void String::MakeUpper() {
  const int textUnits = GetLength();
  for (int i = 0; i < textUnits; ++i) {
    if (buffer_[i] >= 'a' && buffer_[i] <= 'z') {
      buffer_[i] = static_cast<WideChar>(buffer_[i] - 32);
    }
  }
}

void String::MakeLower() {
  const int textUnits = GetLength();
  for (int i = 0; i < textUnits; ++i) {
    if (buffer_[i] >= 'A' && buffer_[i] <= 'Z') {
      buffer_[i] = static_cast<WideChar>(buffer_[i] + 32);
    }
  }
}

void String::Reverse() {
  const int textUnits = GetLength();
  if (textUnits > 1) std::reverse(buffer_, buffer_ + textUnits);
}

// ---- Replacement -------------------------------------------------------------------

bool String::ReplaceFirst(const WideChar* oldText, const WideChar* newText) {
  if (buffer_ == nullptr || oldText == nullptr || newText == nullptr) return false;
  const WideChar* at = Find(oldText);
  if (at == nullptr) return false;
  const auto pos = static_cast<std::size_t>(at - buffer_);
  const auto textUnits = static_cast<std::size_t>(GetLength());
  const std::size_t oldUnits = wideLength(oldText);
  const std::size_t newUnits = wideLength(newText);
  const std::size_t resultUnits = textUnits - oldUnits + newUnits;
  // Filled before the old buffer goes, so newText may lie inside it.
  WideChar* fresh = detail::allocWideRaw(resultUnits + 1);
  std::memcpy(fresh, buffer_, pos * sizeof(WideChar));
  std::memcpy(fresh + pos, newText, newUnits * sizeof(WideChar));
  std::memcpy(fresh + pos + newUnits, buffer_ + pos + oldUnits,
              (textUnits - pos - oldUnits) * sizeof(WideChar));
  fresh[resultUnits] = 0;
  ReleaseBuffer();
  buffer_ = fresh;
  return true;
}

// ReplaceFirst again and again, as detail::replaceRepeatedly computes it in one run: the same
// text, and a buffer of exactly its length + 1 with no ANSI buffer once anything was replaced.
// A refusal, running out of memory included, leaves the string as it was: it is only touched
// at the end.
void String::Replace(const WideChar* oldText, const WideChar* newText) {
  if (buffer_ == nullptr || oldText == nullptr || newText == nullptr) return;
  const std::size_t oldUnits = wideLength(oldText);
  const std::size_t newUnits = wideLength(newText);
  // Refused: these would find an occurrence again after every pass.
  if (oldUnits == 0) return;
  try {
    if (newUnits >= oldUnits) {
      const FailureTable table(oldText, oldUnits);
      if (detail::findPattern(newText, newUnits + 1, 0, oldText, oldUnits, table.data()) >= 0) {
        return;
      }
    }
    // No occurrence: ReplaceFirst would refuse at once, and nothing changes.
    if (Find(oldText) == nullptr) return;
    const auto textUnits = static_cast<std::size_t>(GetLength());
    WideChar* fresh = detail::replaceRepeatedly(buffer_, textUnits, oldText, oldUnits, newText,
                                                newUnits, detail::replaceLimits(textUnits));
    if (fresh == nullptr) return;
    ReleaseBuffer();
    buffer_ = fresh;
  } catch (const std::bad_alloc&) {
    // Nothing was changed; the text stays as it was, as for any other refusal.
  }
}

// ---- Line breaks -------------------------------------------------------------------

void String::AppendNewLineAtBack() { *this += kLineBreak; }

void String::AppendNewLineAtFront() {
  const String withBreak = String(kLineBreak) + *this;
  *this = withBreak;
}

// ---- Comparison --------------------------------------------------------------------

int String::Compare(const WideChar* text) const {
  if (buffer_ == nullptr || text == nullptr) return -1;
  const auto units = static_cast<std::size_t>(GetLength());
  const std::size_t otherUnits = wideLength(text);
  if (units != otherUnits) return units < otherUnits ? -1 : 1;
  return compareUnits(buffer_, text, units);
}

int String::Compare(const String& other) const {
  const TerminatedText text(other.buffer_);
  return Compare(text.get());
}

int String::CompareNoCase(const WideChar* text) const {
  if (buffer_ == nullptr || text == nullptr) return -1;
  const auto units = static_cast<std::size_t>(GetLength());
  const std::size_t otherUnits = wideLength(text);
  if (units != otherUnits) return units < otherUnits ? -1 : 1;
  return compareUnitsNoCase(buffer_, text, units);
}

int String::CompareNoCase(const String& other) const {
  const TerminatedText text(other.buffer_);
  return CompareNoCase(text.get());
}

int String::CompareCharNoCase(WideChar a, WideChar b) {
  const int x = static_cast<std::uint16_t>(a);
  const int y = static_cast<std::uint16_t>(b);
  if (x == y || x + 32 == y || y + 32 == x) return 0;
  return x < y ? -1 : 1;
}

int String::CompareCharNoCase(char a, char b) {
  const int x = static_cast<signed char>(a);
  const int y = static_cast<signed char>(b);
  if (x == y || x + 32 == y || y + 32 == x) return 0;
  return x < y ? -1 : 1;
}

bool String::StartWith(const WideChar* text, bool noCase) const {
  if (text == nullptr) return false;
  const auto units = static_cast<std::size_t>(GetLength());
  const std::size_t prefixUnits = wideLength(text);
  if (units < prefixUnits) return false;
  if (prefixUnits == 0) return true;
  return (noCase ? compareUnitsNoCase(buffer_, text, prefixUnits)
                 : compareUnits(buffer_, text, prefixUnits)) == 0;
}

// The platform compares the tail, which runs to the terminator. On a null string that tail
// is a null pointer, which equals no text, the empty one included.
bool String::EndWith(const WideChar* text, bool noCase) const {
  if (text == nullptr) return false;
  const auto units = static_cast<std::size_t>(GetLength());
  const std::size_t suffixUnits = wideLength(text);
  if (units < suffixUnits) return false;
  const TerminatedText own(buffer_);
  const WideChar* tail = buffer_ == nullptr ? nullptr : own.get() + (units - suffixUnits);
  return (noCase ? platform::compareTextNoCase(tail, text) : platform::compareText(tail, text)) ==
         0;
}

// ---- Element access ----------------------------------------------------------------

WideChar& String::operator[](unsigned i) {
  if (i >= getSize()) {
    throw MxBaseException(-4, 3,
                          MLIB_T("Call Stack: String::[]; Location: \"if(uIndex>=getSize())\""));
  }
  return buffer_[i];
}

WideChar String::GetAt(int i) const {
  const unsigned capacity = getSize();
  if (capacity == 0 || static_cast<unsigned>(i) >= capacity - 1) return 0;
  return buffer_[i];
}

void String::SetAt(int i, WideChar c) {
  const unsigned capacity = getSize();
  if (capacity == 0 || static_cast<unsigned>(i) >= capacity - 1) return;
  buffer_[i] = c;
}

}  // namespace mlib
