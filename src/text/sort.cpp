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
// - Scans that run far (values in order) read eight values a step; where both scans stop at
//   once eight times running (values reversed, all equal), the eight swaps are made as two
//   reversed blocks: again the same swaps.
#include <mlib/text.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <utility>

#if defined(__SSE2__)
#include <emmintrin.h>
#define MLIB_SORT_SSE2 1
#endif

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

// The upward scan of the steps from i: the first position whose value is not below the
// pivot. One is sure to come (see partition); `last` only bounds how far ahead the vector
// loop may read, eight values at a time, for scans that run far (values in order).
inline std::ptrdiff_t scanUp(const int* a, std::ptrdiff_t i, int pivot,
                             [[maybe_unused]] std::ptrdiff_t last) noexcept {
  if (a[i] >= pivot) return i;
#if defined(MLIB_SORT_SSE2)
  const __m128i p = _mm_set1_epi32(pivot);
  for (++i; i + 7 <= last; i += 8) {
    const auto* v = reinterpret_cast<const __m128i*>(a + i);
    const int below = _mm_movemask_ps(_mm_castsi128_ps(_mm_cmplt_epi32(_mm_loadu_si128(v), p))) |
                      _mm_movemask_ps(_mm_castsi128_ps(_mm_cmplt_epi32(_mm_loadu_si128(v + 1), p)))
                          << 4;
    if (below != 0xFF) return i + __builtin_ctz(static_cast<unsigned>(~below));
  }
#endif
  while (a[i] < pivot) ++i;
  return i;
}

// The downward scan from j: the last position whose value is not above the pivot, read
// back to `first` at most by the vector loop.
inline std::ptrdiff_t scanDown(const int* a, std::ptrdiff_t j, int pivot,
                               [[maybe_unused]] std::ptrdiff_t first) noexcept {
  if (a[j] <= pivot) return j;
#if defined(MLIB_SORT_SSE2)
  const __m128i p = _mm_set1_epi32(pivot);
  for (--j; j - 7 >= first; j -= 8) {
    const auto* v = reinterpret_cast<const __m128i*>(a + j - 7);
    const int above = _mm_movemask_ps(_mm_castsi128_ps(_mm_cmpgt_epi32(_mm_loadu_si128(v), p))) |
                      _mm_movemask_ps(_mm_castsi128_ps(_mm_cmpgt_epi32(_mm_loadu_si128(v + 1), p)))
                          << 4;
    if (above != 0xFF) return j - 7 + (31 - __builtin_clz(static_cast<unsigned>(~above) & 0xFF));
  }
#endif
  while (a[j] > pivot) --j;
  return j;
}

// Where both scans stop at once eight times in a row (values in reverse order, all equal),
// the steps swap a[i + k] with a[j - k] for k = 0 to 7: both ends of eight values reversed
// into each other. True when a[i..i+7] are all not below the pivot, a[j-7..j] all not above
// it and the two blocks do not meet; the swaps are then made.
inline bool swapMirroredEight(int* a, std::ptrdiff_t i, std::ptrdiff_t j, int pivot) noexcept {
  if (j - i < 15) return false;
#if defined(MLIB_SORT_SSE2)
  const __m128i p = _mm_set1_epi32(pivot);
  auto* left = reinterpret_cast<__m128i*>(a + i);
  auto* right = reinterpret_cast<__m128i*>(a + j - 7);
  const __m128i l0 = _mm_loadu_si128(left), l1 = _mm_loadu_si128(left + 1);
  const __m128i r0 = _mm_loadu_si128(right), r1 = _mm_loadu_si128(right + 1);
  const __m128i stops = _mm_or_si128(_mm_or_si128(_mm_cmplt_epi32(l0, p), _mm_cmplt_epi32(l1, p)),
                                     _mm_or_si128(_mm_cmpgt_epi32(r0, p), _mm_cmpgt_epi32(r1, p)));
  if (_mm_movemask_epi8(stops) != 0) return false;
  constexpr int kReverse = _MM_SHUFFLE(0, 1, 2, 3);
  _mm_storeu_si128(left, _mm_shuffle_epi32(r1, kReverse));
  _mm_storeu_si128(left + 1, _mm_shuffle_epi32(r0, kReverse));
  _mm_storeu_si128(right, _mm_shuffle_epi32(l1, kReverse));
  _mm_storeu_si128(right + 1, _mm_shuffle_epi32(l0, kReverse));
  return true;
#else
  for (int k = 0; k < 8; ++k) {
    if (a[i + k] < pivot || a[j - k] > pivot) return false;
  }
  for (int k = 0; k < 8; ++k) std::swap(a[i + k], a[j - k]);
  return true;
#endif
}

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
  const std::ptrdiff_t lo = i, hi = j;  // the vector scans read no further
  // The first swaps by the scans themselves. Where the scans stop at once every time (values
  // in reverse order, all equal) or run far (values in order), their branches are foreseen
  // and they are fastest, so they do the rest; where they stop after a few steps, now one
  // way and now another (values in no order), the blocks take over.
  int shortScans = 0;
  for (int swaps = 0; swaps < 8; ++swaps) {
    const std::ptrdiff_t i0 = i, j0 = j;
    i = scanUp(a, i, pivot, hi);
    j = scanDown(a, j, pivot, lo);
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
    while (swapMirroredEight(a, i, j, pivot)) {
      i += 8;
      j -= 8;
    }
    i = scanUp(a, i, pivot, hi);
    j = scanDown(a, j, pivot, lo);
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
      const std::ptrdiff_t r = draw(), width = range.hi - range.lo + 1;
      const int pivot = a[range.lo + (r < width ? r : r % width)];
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
