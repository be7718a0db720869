// The in-place integer sort of <mlib/text.h>: a quicksort with a pivot drawn from the C
// runtime's pseudo-random generator.
//
// Each partition is a branch-free Lomuto pass: every element is swapped with the first one not
// yet known to be smaller, and that boundary moves on by the comparison's result, so random
// keys cost no mispredicted branches. A range whose pivot turns out to be its smallest value
// is split a second time, equal keys from greater ones, and the equal keys are done: runs of
// one value take linear time. The smaller part is sorted by recursion and the larger by the
// loop, so the stack holds at most log2(n) frames whatever pivots rand() gives. Short ranges
// are finished by insertion sort, which draws nothing from rand().
#include <mlib/text.h>

#include <cstddef>
#include <cstdlib>

namespace {

// Ranges this short are left to insertion sort: below it, partitioning costs more than it
// saves (measured on 1M random ints: 16 to 32 are alike; 8 is slower).
constexpr std::ptrdiff_t kInsertionSortMax = 24;

void insertionSort(int* first, int* end) noexcept {
  for (int* next = first + 1; next < end; ++next) {
    const int value = *next;
    int* hole = next;
    for (; hole > first && hole[-1] > value; --hole) *hole = hole[-1];
    *hole = value;
  }
}

// Moves the values that go before the pivot (smaller, or with orEqual also equal) to the
// front of [first, end) and gives the end of that front part.
template <bool orEqual>
int* partition(int* first, int* end, int pivot) noexcept {
  int* boundary = first;
  for (int* at = first; at != end; ++at) {
    const int value = *at;
    *at = *boundary;
    *boundary = value;
    boundary += orEqual ? (value <= pivot) : (value < pivot);
  }
  return boundary;
}

void sortRange(int* first, int* end) noexcept {
  while (end - first > kInsertionSortMax) {
    const long long count = end - first;
    const int pivot = first[std::rand() % count];
    int* const smaller = partition<false>(first, end, pivot);
    if (smaller == first) {
      // No value is below the pivot: set its equals aside, they are in place.
      first = partition<true>(first, end, pivot);
      continue;
    }
    // Both parts are shorter than the range: [smaller, end) holds the pivot.
    if (smaller - first < end - smaller) {
      sortRange(first, smaller);
      first = smaller;
    } else {
      sortRange(smaller, end);
      end = smaller;
    }
  }
  insertionSort(first, end);
}

}  // namespace

void QuickSort(int* values, int lo, int hi) {
  if (values == nullptr || hi <= lo) return;
  sortRange(values + lo, values + hi + 1);
}
