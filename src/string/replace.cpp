// The engine behind String::Replace: what replacing the leftmost occurrence again and again
// from the start leaves, computed in one run over the text, within Replace's limits.
#include "string/replace.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "string/search.h"
#include "string/storage.h"

namespace mlib::detail {

namespace {

// The longest text a String holds (GetLength answers an int).
constexpr std::size_t kMaxReplacedUnits = kMaxWideCapacity - 1;

// The left of the gap: a wide block that grows by doubling and becomes the result's buffer in
// the end, cut to its exact size in place, so the result is never copied once more.
class LeftOfGap {
 public:
  LeftOfGap() = default;
  LeftOfGap(const LeftOfGap&) = delete;
  LeftOfGap& operator=(const LeftOfGap&) = delete;
  ~LeftOfGap() { freeWide(units_); }

  [[nodiscard]] std::size_t size() const noexcept { return size_; }
  [[nodiscard]] WideChar operator[](std::size_t i) const noexcept { return units_[i]; }
  void push(WideChar unit) {
    if (size_ == room_) grow(size_ + 1);
    units_[size_++] = unit;
  }
  void append(const WideChar* from, std::size_t count) {
    if (count > room_ - size_) grow(size_ + count);
    if (count != 0) std::memcpy(units_ + size_, from, count * sizeof(WideChar));
    size_ += count;
  }
  void drop(std::size_t count) noexcept { size_ -= count; }
  void reserve(std::size_t units) {
    if (units > room_) grow(units);
  }
  // The units as a terminated buffer of exactly size() + 1 units, now the caller's.
  [[nodiscard]] WideChar* release() {
    if (units_ == nullptr) grow(0);
    units_[size_] = 0;
    WideChar* result = fitWide(units_, size_ + 1);
    units_ = nullptr;
    return result;
  }

 private:
  void grow(std::size_t units) {
    const std::size_t doubled = room_ > kMaxReplacedUnits / 2 ? kMaxReplacedUnits : 2 * room_;
    const std::size_t room = std::max<std::size_t>(std::max(units, doubled), 16);
    // The block keeps a unit for the terminator.
    units_ = regrowWide(units_, room + 1);
    room_ = room;
  }

  WideChar* units_ = nullptr;
  std::size_t size_ = 0;
  std::size_t room_ = 0;  // units the block holds before the terminator's slot
};

// The text is kept as a gap buffer: `done_` is the text left of the gap, which holds no
// occurrence; the right of the gap is `pending_` (units a replacement put there, the next
// one last) followed by the part of the original text not read yet. Moving the gap right
// reads one unit; when the units left of it end with an occurrence, that occurrence is the
// leftmost of the whole text (one starting earlier would end earlier, inside `done_`), so it
// is cut off and the replacement goes in right of the gap. That is the outcome of replacing
// and searching again from the start, but each pass costs only its own units: the search
// resumes oldUnits - 1 units before the replacement, where the next occurrence can start at
// the earliest, and nothing else of the text is touched.
class Rewriter {
 public:
  Rewriter(const WideChar* old, std::size_t oldUnits, const WideChar* replacement,
           std::size_t replacementUnits, const ReplaceLimits& limits)
      : old_(old),
        oldUnits_(oldUnits),
        replacement_(replacement),
        replacementUnits_(replacementUnits),
        limits_(limits),
        table_(old, oldUnits) {}

  // Runs over text[0, textUnits). True when it ended within the limits; result() is then
  // the whole new text.
  bool run(const WideChar* text, std::size_t textUnits) {
    const int* next = table_.data();
    std::size_t read = 0;
    int matched = 0;  // units of `old` that the left of the gap ends with
    done_.reserve(textUnits);
    for (;;) {
      if (pending_.empty()) {
        if (read >= textUnits) return true;
        if (matched == 0) {
          // No part of an occurrence left of the gap: the next one lies wholly in the
          // unread text, and the units before it move over in one piece.
          const std::ptrdiff_t at = findPattern(text, textUnits, read, old_, oldUnits_, next);
          const std::size_t stop = at < 0 ? textUnits : static_cast<std::size_t>(at);
          done_.append(text + read, stop - read);
          if (at < 0) return true;
          read = stop + oldUnits_;
          if (!replace(textUnits - read)) return false;
          matched = matchedAtGap();
          continue;
        }
      }
      WideChar unit;
      if (!pending_.empty()) {
        unit = pending_.back();
        pending_.pop_back();
      } else {
        unit = text[read++];
      }
      while (matched >= 0 && old_[matched] != unit) matched = next[matched];
      ++matched;
      if (static_cast<std::size_t>(matched) < oldUnits_) {
        done_.push(unit);
        continue;
      }
      // An occurrence: its first oldUnits - 1 units end the left of the gap.
      done_.drop(oldUnits_ - 1);
      if (!replace(textUnits - read)) return false;
      matched = matchedAtGap();
    }
  }

  // The new text's buffer, once run() returned true.
  [[nodiscard]] WideChar* release() { return done_.release(); }

 private:
  // Puts the replacement right of the gap, once the occurrence it replaces is cut off;
  // false when this pass goes past the limits. unreadUnits: what is left of the original.
  bool replace(std::size_t unreadUnits) {
    const std::size_t units = done_.size() + pending_.size() + unreadUnits + replacementUnits_;
    if (++passes_ > limits_.passes || units > limits_.units) return false;
    for (std::size_t k = replacementUnits_; k-- > 0;) pending_.push_back(replacement_[k]);
    return true;
  }

  // How many units of `old` the left of the gap ends with: the automaton run over its last
  // oldUnits - 1 units (a longer match would have been a whole occurrence).
  int matchedAtGap() const noexcept {
    const int* next = table_.data();
    const std::size_t span = std::min(done_.size(), oldUnits_ - 1);
    int matched = 0;
    for (std::size_t i = done_.size() - span; i < done_.size(); ++i) {
      while (matched >= 0 && old_[matched] != done_[i]) matched = next[matched];
      ++matched;
    }
    return matched;
  }

  const WideChar* old_;
  std::size_t oldUnits_;
  const WideChar* replacement_;
  std::size_t replacementUnits_;
  ReplaceLimits limits_;
  unsigned long long passes_ = 0;
  FailureTable table_;
  LeftOfGap done_;                 // left of the gap, holding no occurrence
  std::vector<WideChar> pending_;  // right of the gap before the unread text, next unit last
};

// One unit replaced by a text without it: no pass can make a new occurrence, so every unit
// equal to it is replaced exactly once, in one sweep straight into the new buffer (1 MiB with
// a space every eighth unit: 0.17 ms, against 3 ms through Rewriter). Plain unit loops:
// frequent units make a block scan stop too often to pay, and the counting and one-for-one
// loops are vectorised by the compiler.
WideChar* replaceEachUnit(const WideChar* text, std::size_t textUnits, WideChar old,
                          const WideChar* replacement, std::size_t replacementUnits,
                          const ReplaceLimits& limits) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < textUnits; ++i) count += text[i] == old ? 1 : 0;
  // The longest text a pass makes: the last one when the replacement is a unit or more, the
  // first one when it is empty.
  unsigned long long longest = 0;
  if (count > 0) {
    longest = replacementUnits > 0 ? textUnits + count * (replacementUnits - 1ull) : textUnits - 1;
  }
  if (count > limits.passes || longest > limits.units) return nullptr;
  const std::size_t resultUnits = textUnits - count + count * replacementUnits;
  WideChar* fresh = allocWideRaw(resultUnits + 1);
  fresh[resultUnits] = 0;
  if (replacementUnits == 1) {
    const WideChar with = replacement[0];
    for (std::size_t i = 0; i < textUnits; ++i) fresh[i] = text[i] == old ? with : text[i];
    return fresh;
  }
  WideChar* out = fresh;
  for (std::size_t i = 0; i < textUnits; ++i) {
    if (text[i] != old) {
      *out++ = text[i];
    } else {
      for (std::size_t k = 0; k < replacementUnits; ++k) *out++ = replacement[k];
    }
  }
  return fresh;
}

}  // namespace

ReplaceLimits replaceLimits(std::size_t textUnits) noexcept {
  constexpr unsigned long long kFloor = 1ull << 24;
  const unsigned long long scaled = 64ull * textUnits;
  const unsigned long long units =
      std::min<unsigned long long>(std::max(kFloor, scaled), kMaxReplacedUnits);
  return {kFloor + scaled, static_cast<std::size_t>(units)};
}

WideChar* replaceRepeatedly(const WideChar* text, std::size_t textUnits, const WideChar* old,
                            std::size_t oldUnits, const WideChar* replacement,
                            std::size_t replacementUnits, const ReplaceLimits& limits) {
  if (oldUnits == 1 && std::find(replacement, replacement + replacementUnits, old[0]) ==
                           replacement + replacementUnits) {
    return replaceEachUnit(text, textUnits, old[0], replacement, replacementUnits, limits);
  }
  Rewriter rewriter(old, oldUnits, replacement, replacementUnits, limits);
  if (!rewriter.run(text, textUnits)) return nullptr;
  return rewriter.release();
}

}  // namespace mlib::detail
