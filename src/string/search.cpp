// String's read-only search and extraction: character and text search forwards and
// backwards, counting and numbering of occurrences, Left, Right, GetSubString and
// GetSubStringBySplit. The Knuth-Morris-Pratt engine they share is in string/search.h.
#include "string/search.h"

#include <mlib/string.h>

#include <cstdint>
#include <cstring>

#include "string/storage.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace mlib {
namespace detail {

namespace {

constexpr std::uint64_t kLaneOnes = 0x0001000100010001u;
constexpr std::uint64_t kLaneHighs = 0x8000800080008000u;

// Nonzero exactly when one of the four 16-bit lanes of word is zero.
constexpr std::uint64_t zeroLane(std::uint64_t word) noexcept {
  return (word - kLaneOnes) & ~word & kLaneHighs;
}

// The unit-by-unit form of nextCandidate, for the ends the block scans leave.
std::size_t nextCandidateTail(const WideChar* text, std::size_t limit, std::size_t from,
                              WideChar first, WideChar last, std::size_t lastOffset) noexcept {
  for (std::size_t p = from; p < limit; ++p) {
    const WideChar unit = text[p];
    if (unit == 0) return p;
    if (unit == first && lastOffset < limit - p && text[p + lastOffset] == last) return p;
  }
  return limit;
}

}  // namespace

// Testing the first and the last unit of the pattern together lets a random place of
// lower-case text through about 1/676 of the time instead of 1/26, so the scan runs in
// blocks nearly without stopping. On 1 MiB of random letters a first-unit-only scan was no
// faster than std::u16string::find; this one, four units a step, was 2.5 times its speed,
// and eight a step (SSE2, below) is 5 to 7 times (bench/stringSearchBench.cpp).
std::size_t nextCandidatePortable(const WideChar* text, std::size_t limit, std::size_t from,
                                  WideChar first, WideChar last, std::size_t lastOffset) noexcept {
  const std::uint64_t firstLanes = kLaneOnes * static_cast<std::uint16_t>(first);
  const std::uint64_t lastLanes = kLaneOnes * static_cast<std::uint16_t>(last);
  std::size_t p = from;
  while (p < limit && limit - p >= lastOffset + 4) {
    std::uint64_t head;
    std::uint64_t tail;
    std::memcpy(&head, text + p, sizeof head);
    std::memcpy(&tail, text + p + lastOffset, sizeof tail);
    // A lane of `both` is zero where the head lane is `first` and the tail lane `last`.
    const std::uint64_t both = (head ^ firstLanes) | (tail ^ lastLanes);
    if ((zeroLane(both) | zeroLane(head)) != 0) break;
    p += 4;
  }
  return nextCandidateTail(text, limit, p, first, last, lastOffset);
}

std::size_t nextCandidate(const WideChar* text, std::size_t limit, std::size_t from, WideChar first,
                          WideChar last, std::size_t lastOffset) noexcept {
#if defined(__SSE2__)
  const __m128i firstLanes = _mm_set1_epi16(static_cast<short>(first));
  const __m128i lastLanes = _mm_set1_epi16(static_cast<short>(last));
  const __m128i zero = _mm_setzero_si128();
  std::size_t p = from;
  while (p < limit && limit - p >= lastOffset + 8) {
    const __m128i head = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + p));
    const __m128i tail = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + p + lastOffset));
    const __m128i hit = _mm_or_si128(
        _mm_and_si128(_mm_cmpeq_epi16(head, firstLanes), _mm_cmpeq_epi16(tail, lastLanes)),
        _mm_cmpeq_epi16(head, zero));
    const int mask = _mm_movemask_epi8(hit);
    if (mask != 0) {
      // Two mask bits a unit: the lowest set bit's index / 2 is the first hit.
      return p + (static_cast<unsigned>(__builtin_ctz(static_cast<unsigned>(mask))) >> 1);
    }
    p += 8;
  }
  return nextCandidateTail(text, limit, p, first, last, lastOffset);
#else
  return nextCandidatePortable(text, limit, from, first, last, lastOffset);
#endif
}

std::ptrdiff_t findPattern(const WideChar* text, std::size_t limit, std::size_t from,
                           const WideChar* pattern, std::size_t patternUnits,
                           const int* next) noexcept {
  const WideChar first = pattern[0];
  const WideChar last = pattern[patternUnits - 1];
  const auto units = static_cast<std::ptrdiff_t>(patternUnits);
  std::size_t i = from;
  std::ptrdiff_t j = 0;  // pattern units matched so far
  while (i < limit) {
    // With nothing matched, no place the block scan passes over can start an occurrence,
    // so skipping to the next candidate loses none; i only ever moves forward.
    if (j == 0) {
      i = nextCandidate(text, limit, i, first, last, patternUnits - 1);
      if (i >= limit) break;
    }
    const WideChar unit = text[i];
    if (unit == 0) break;
    if (unit == pattern[j]) {
      ++i;
      if (++j == units) return static_cast<std::ptrdiff_t>(i) - units;
    } else {
      j = next[j];
      if (j < 0) {
        j = 0;
        ++i;
      }
    }
  }
  return -1;
}

FailureTable::FailureTable(const WideChar* pattern, std::size_t patternUnits)
    : inline_(), table_(inline_) {
  if (patternUnits > kInlineEntries) {
    heap_.reset(new int[patternUnits]);
    table_ = heap_.get();
  }
  StringAccess::nextArray(pattern, table_);
}

}  // namespace detail

using detail::FailureTable;
using detail::findPattern;
using detail::TerminatedText;
using detail::wideLength;

namespace {

// Index of occurrence number n (from 0; n < 1 is the first) of pattern in the text of a
// buffer of `capacity` units, occurrences not overlapping; -1 when there are not enough.
// An empty pattern is found at 0, and as a later occurrence only in a non-empty text.
int occurrenceIndex(const WideChar* text, unsigned capacity, const WideChar* pattern, int n) {
  if (text == nullptr || pattern == nullptr) return -1;
  const std::size_t patternUnits = wideLength(pattern);
  if (patternUnits == 0) return (n < 1 || (capacity > 0 && text[0] != 0)) ? 0 : -1;
  const FailureTable table(pattern, patternUnits);
  std::ptrdiff_t at = findPattern(text, capacity, 0, pattern, patternUnits, table.data());
  for (int k = 0; at >= 0 && k < n; ++k) {
    at = findPattern(text, capacity, static_cast<std::size_t>(at) + patternUnits, pattern,
                     patternUnits, table.data());
  }
  return static_cast<int>(at);
}

// Number of non-overlapping occurrences; 0 for a null text or a null or empty pattern.
int occurrenceCount(const WideChar* text, unsigned capacity, const WideChar* pattern) {
  if (text == nullptr || pattern == nullptr) return 0;
  const std::size_t patternUnits = wideLength(pattern);
  if (patternUnits == 0) return 0;
  const FailureTable table(pattern, patternUnits);
  int count = 0;
  std::ptrdiff_t at = findPattern(text, capacity, 0, pattern, patternUnits, table.data());
  while (at >= 0) {
    ++count;
    at = findPattern(text, capacity, static_cast<std::size_t>(at) + patternUnits, pattern,
                     patternUnits, table.data());
  }
  return count;
}

// A new string of text[0, unitCount) in a buffer of exactly unitCount + 1 units (the
// buffer Left builds), empty but not null for unitCount 0.
String copyOf(const WideChar* text, std::size_t unitCount) {
  String result;
  WideChar* buffer = result.AllocBuffer(static_cast<unsigned>(unitCount));
  if (unitCount != 0) std::memcpy(buffer, text, unitCount * sizeof(WideChar));
  return result;
}

// The rest of a String buffer's text from `at`, exact size; null when `at` is null or the
// text ends there.
String restOf(const WideChar* buffer, const WideChar* at) {
  if (at == nullptr) return String();
  const std::size_t unitCount = detail::textLength(buffer) - static_cast<std::size_t>(at - buffer);
  return unitCount == 0 ? String() : copyOf(at, unitCount);
}

}  // namespace

// ---- Failure table -----------------------------------------------------------------

void String::getNextArray(const WideChar* pattern, int* next) {
  if (pattern == nullptr || next == nullptr) return;
  const auto units = static_cast<int>(wideLength(pattern));
  if (units < 1) return;
  next[0] = -1;
  int i = 0;
  int k = -1;
  while (i < units - 1) {
    if (k == -1 || pattern[i] == pattern[k]) {
      ++i;
      ++k;
      next[i] = k;
    } else {
      k = next[k];
    }
  }
}

// ---- Character search --------------------------------------------------------------

int String::Find(WideChar c) const {
  if (buffer_ == nullptr || c == 0) return -1;
  const unsigned capacity = getSize();
  const std::size_t at = detail::nextCandidate(buffer_, capacity, 0, c, c, 0);
  return (at >= capacity || buffer_[at] == 0) ? -1 : static_cast<int>(at);
}

int String::IndexOf(WideChar c) const { return Find(c); }

int String::FindLast(WideChar c) const {
  if (c == 0) return -1;
  for (int i = GetLength(); i-- > 0;) {
    if (buffer_[i] == c) return i;
  }
  return -1;
}

// ---- Text search -------------------------------------------------------------------

WideChar* String::Find(const WideChar* text) const {
  if (buffer_ == nullptr || text == nullptr) return nullptr;
  const std::size_t patternUnits = wideLength(text);
  if (patternUnits == 0) return buffer_;
  const FailureTable table(text, patternUnits);
  const std::ptrdiff_t at = findPattern(buffer_, getSize(), 0, text, patternUnits, table.data());
  return at < 0 ? nullptr : buffer_ + at;
}

// Every candidate end is examined from the last one down, so the occurrence found is
// always the last one. The empty pattern's last occurrence is at the end of the text.
WideChar* String::FindLast(const WideChar* text) const {
  if (buffer_ == nullptr || text == nullptr) return nullptr;
  const auto textUnits = static_cast<std::size_t>(GetLength());
  if (textUnits == 0) return nullptr;
  const std::size_t patternUnits = wideLength(text);
  if (patternUnits == 0) return buffer_ + textUnits;
  if (patternUnits > textUnits) return nullptr;
  const WideChar last = text[patternUnits - 1];
  for (std::size_t start = textUnits - patternUnits + 1; start-- > 0;) {
    if (buffer_[start + patternUnits - 1] != last) continue;
    if (std::memcmp(buffer_ + start, text, (patternUnits - 1) * sizeof(WideChar)) == 0) {
      return buffer_ + start;
    }
  }
  return nullptr;
}

String String::Find(const String& other) const {
  const TerminatedText pattern(other.buffer_);
  return restOf(buffer_, Find(pattern.get()));
}

String String::FindLast(const String& other) const {
  const TerminatedText pattern(other.buffer_);
  return restOf(buffer_, FindLast(pattern.get()));
}

int String::IndexOf(const WideChar* text) const {
  const WideChar* at = Find(text);
  return at == nullptr ? -1 : static_cast<int>(at - buffer_);
}

int String::IndexOf(const String& other) const {
  const TerminatedText pattern(other.buffer_);
  return IndexOf(pattern.get());
}

int String::IndexOfLast(const WideChar* text) const {
  const WideChar* at = FindLast(text);
  return at == nullptr ? -1 : static_cast<int>(at - buffer_);
}

int String::IndexOfLast(const String& other) const {
  const TerminatedText pattern(other.buffer_);
  return IndexOfLast(pattern.get());
}

// ---- Counting and numbering --------------------------------------------------------

int String::IndexOfSubString(const String& other, int n) const {
  const TerminatedText pattern(other.buffer_);
  return occurrenceIndex(buffer_, getSize(), pattern.get(), n);
}

// A String made from empty text is null, so empty text counts as no text here.
int String::IndexOfSubString(const WideChar* text, int n) const {
  if (text == nullptr || text[0] == 0) return -1;
  return occurrenceIndex(buffer_, getSize(), text, n);
}

int String::GetCountOfSubString(const String& other) const {
  const TerminatedText pattern(other.buffer_);
  return occurrenceCount(buffer_, getSize(), pattern.get());
}

int String::GetCountOfSubString(const WideChar* text) const {
  return occurrenceCount(buffer_, getSize(), text);
}

// ---- Substrings --------------------------------------------------------------------

String String::Left(unsigned n) const {
  if (buffer_ == nullptr) return String();
  const auto textUnits = static_cast<unsigned>(GetLength());
  return copyOf(buffer_, n < textUnits ? n : textUnits);
}

String String::Right(unsigned n) const {
  String result;
  if (buffer_ == nullptr) return result;
  const auto textUnits = static_cast<unsigned>(GetLength());
  const unsigned keep = n < textUnits ? n : textUnits;
  if (keep == 0) return result;
  return copyOf(buffer_ + (textUnits - keep), keep);
}

String String::GetSubString(int first, int last) const {
  if (buffer_ == nullptr || last < first) return String();
  const int textUnits = GetLength();
  int start = first;
  if (start < 0) start = 0;
  if (start > textUnits) start = textUnits;
  if (static_cast<unsigned>(last) >= static_cast<unsigned>(textUnits)) last = textUnits - 1;
  // The text from start is null when start is the end, and so is every piece of it.
  if (start == textUnits) return String();
  // last - start + 1 taken as unsigned: a last before start asks for everything.
  const unsigned want = static_cast<unsigned>(last) - static_cast<unsigned>(start) + 1u;
  const auto available = static_cast<unsigned>(textUnits - start);
  const unsigned take = want < available ? want : available;
  if (take == 0) return String();
  return copyOf(buffer_ + start, take);
}

String String::GetSubStringBySplit(const WideChar* separator, int from, int to) const {
  if (from > to) return String();
  const int count = GetCountOfSubString(separator);
  const auto separatorUnits = static_cast<int>(wideLength(separator));
  int f = from < 0 ? 0 : from;
  if (f == to) --f;
  const int a = IndexOfSubString(separator, f);
  int b = IndexOfSubString(separator, to);
  if (to >= count) b = GetLength();
  const int start = f < 0 ? 0 : a + separatorUnits;
  return GetSubString(start, b - 1);
}

}  // namespace mlib
