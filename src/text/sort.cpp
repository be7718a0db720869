// The in-place integer sort of <mlib/text.h>: a quicksort that follows its documented steps
// exactly, so that a host that seeds rand() sees the same draws, and the same array after
// every step, as those steps give.
//
// The steps: a range with hi > lo draws r = rand() mod 32768 and takes the pivot value
// a[lo + r mod (hi - lo + 1)]; a Hoare partition (i up from lo, j down from hi, stopping at
// values not below / not above the pivot, swapping while i <= j) splits it; the left part
// lo..j is sorted first, then the right part i..hi. Ranges with hi <= lo draw nothing.
//
// What is free to change is only how the work is done:
// - The left parts are not entered by recursion but by a loop, with the right parts still to
//   do kept on an explicit stack: last pushed, first done, which is the order recursion gives,
//   so the draws come in the same order; the machine stack stays flat whatever the pivots.
// - The scans run without the bound tests of the steps (i < hi, j > lo): they never decide.
//   The first scans stop at the pivot's own position at the latest, and after a swap at
//   (i, j) the value left at j stops the next upward scan and the one left at i the next
//   downward scan.
// - A range of two draws once and ends ordered, whatever it drew (the partition steps give
//   exactly that), so it is finished with one comparison.
// - Where values are in no order, the partition finds its swaps a block at a time (see
//   partition below): the same swaps, in the same order.
#include <mlib/text.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <utility>

namespace {

// A range still to be sorted, both ends included, as indexes of the caller's array.
struct Range {
  std::ptrdiff_t lo;
  std::ptrdiff_t hi;
};

// The right parts waiting while a left part is sorted. Random pivots keep a few dozen
// waiting; a host's rand() that gives bad pivots can make it grow, so past the local room it
// continues on the heap.
class PendingRanges {
 public:
  PendingRanges() noexcept = default;
  PendingRanges(const PendingRanges&) = delete;
  PendingRanges& operator=(const PendingRanges&) = delete;
  ~PendingRanges() {
    if (ranges_ != local_) std::free(ranges_);
  }

  bool empty() const noexcept { return count_ == 0; }
  Range pop() noexcept { return ranges_[--count_]; }
  // False, keeping nothing, when the heap has no room for more.
  bool push(Range range) noexcept {
    if (count_ == capacity_ && !grow()) return false;
    ranges_[count_++] = range;
    return true;
  }

 private:
  bool grow() noexcept {
    const std::size_t capacity = capacity_ * 2;
    void* block = ranges_ == local_ ? std::malloc(capacity * sizeof(Range))
                                    : std::realloc(ranges_, capacity * sizeof(Range));
    if (block == nullptr) return false;
    if (ranges_ == local_) std::copy(local_, local_ + count_, static_cast<Range*>(block));
    ranges_ = static_cast<Range*>(block);
    capacity_ = capacity;
    return true;
  }

  static constexpr std::size_t kLocalRanges = 64;
  Range local_[kLocalRanges];
  Range* ranges_ = local_;
  std::size_t count_ = 0;
  std::size_t capacity_ = kLocalRanges;
};

// r of the steps: 0 to 32767, also where the C library's rand() goes further.
inline std::ptrdiff_t draw() noexcept { return std::rand() % 32768; }

// Hoare's partition of a[i..j] around pivot, the scans and swaps of the steps; i and j end
// where the steps leave them. Its swaps pair the k-th value from the left that is not below
// the pivot with the k-th value from the right that is not above it, for as long as the
// first lies left of the second. While the part not yet scanned is long (and the values
// look unordered), both ends are scanned a block at a time without branches, the positions
// where a scan would stop are noted, and the noted pairs are swapped in order: the same
// swaps, the same state after each. The rest is done by the scans themselves, from the state
// of the last swap.
void partition(int* a, int pivot, std::ptrdiff_t& iOut, std::ptrdiff_t& jOut) noexcept {
  constexpr int kBlock = 64;
  std::ptrdiff_t i = iOut;
  std::ptrdiff_t j = jOut;
  // The first swaps by the scans themselves. Where the scans stop at once every time (values
  // in reverse order, all equal) or run far (values in order), their branches are foreseen
  // and they are fastest, so they do the rest; where they stop after a few steps, now one
  // way and now another (values in no order), the blocks take over.
  int shortScans = 0;
  for (int swaps = 0; swaps < 8; ++swaps) {
    const std::ptrdiff_t i0 = i, j0 = j;
    while (a[i] < pivot) ++i;
    while (a[j] > pivot) --j;
    shortScans += (i - i0 > 0 && i - i0 <= 8) + (j0 - j > 0 && j0 - j <= 8);
    if (i <= j) std::swap(a[i++], a[j--]);
    if (i > j) break;
  }
  std::ptrdiff_t left = i;  // [left, right]: not yet scanned, so not yet touched
  std::ptrdiff_t right = shortScans >= 4 ? j : left - 1;
  std::ptrdiff_t leftBase = 0;   // the noted stops: leftBase + leftStops[k] ...
  std::ptrdiff_t rightBase = 0;  // ... and rightBase - rightStops[k]
  unsigned char leftStops[kBlock];
  unsigned char rightStops[kBlock];
  int leftFirst = 0, leftCount = 0, rightFirst = 0, rightCount = 0;
  while (right - left + 1 >= 2 * kBlock) {
    if (leftCount == 0) {
      leftBase = left;
      leftFirst = 0;
      for (int k = 0; k < kBlock; ++k) {
        leftStops[leftCount] = static_cast<unsigned char>(k);
        leftCount += a[left + k] >= pivot;
      }
      left += kBlock;
    }
    if (rightCount == 0) {
      rightBase = right;
      rightFirst = 0;
      for (int k = 0; k < kBlock; ++k) {
        rightStops[rightCount] = static_cast<unsigned char>(k);
        rightCount += a[right - k] <= pivot;
      }
      right -= kBlock;
    }
    const int pairs = leftCount < rightCount ? leftCount : rightCount;
    for (int k = 0; k < pairs; ++k) {
      std::swap(a[leftBase + leftStops[leftFirst + k]], a[rightBase - rightStops[rightFirst + k]]);
    }
    if (pairs > 0) {
      i = leftBase + leftStops[leftFirst + pairs - 1] + 1;
      j = rightBase - rightStops[rightFirst + pairs - 1] - 1;
    }
    leftFirst += pairs;
    leftCount -= pairs;
    rightFirst += pairs;
    rightCount -= pairs;
  }
  // The steps' loop. Its bound tests (i < hi, j > lo) never decide: with no swap made, the
  // pivot's own position stops both scans; after a swap at (i, j), the value left at j stops
  // the next upward scan and the one left at i the next downward one.
  while (i <= j) {
    while (a[i] < pivot) ++i;
    while (a[j] > pivot) --j;
    if (i <= j) std::swap(a[i++], a[j--]);
  }
  iOut = i;
  jOut = j;
}

}  // namespace

void QuickSort(int* values, int lo, int hi) {
  if (values == nullptr || hi <= lo) return;
  int* const a = values;
  PendingRanges pending;
  Range range{lo, hi};
  for (;;) {
    while (range.hi > range.lo) {
      if (range.hi - range.lo == 1) {
        (void)draw();
        if (a[range.lo] > a[range.hi]) std::swap(a[range.lo], a[range.hi]);
        break;
      }
      const int pivot = a[range.lo + draw() % (range.hi - range.lo + 1)];
      std::ptrdiff_t i = range.lo;
      std::ptrdiff_t j = range.hi;
      partition(a, pivot, i, j);
      if (range.lo < j) {
        // The left part now; the right one waits. When the heap cannot hold it, it is
        // sorted at once by a sort that draws nothing: the result is the same, only the
        // draws that part would have made are not made.
        if (i < range.hi && !pending.push(Range{i, range.hi})) {
          std::make_heap(a + i, a + range.hi + 1);
          std::sort_heap(a + i, a + range.hi + 1);
        }
        range.hi = j;
      } else if (i < range.hi) {
        range.lo = i;
      } else {
        break;
      }
    }
    if (pending.empty()) return;
    range = pending.pop();
  }
}
