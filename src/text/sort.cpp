// The in-place integer sort of <mlib/text.h>: a quicksort with a pivot drawn from the C
// runtime's pseudo-random generator.
#include <mlib/text.h>

#include <cstdlib>
#include <utility>

void QuickSort(int* values, int lo, int hi) {
  if (values == nullptr) return;
  // The left part is sorted by recursion, the right part by this loop. The pivot is a value
  // of the range, so the bounded scans stay inside it.
  while (hi > lo) {
    const long long span = static_cast<long long>(hi) - lo + 1;
    const int pivot = values[lo + static_cast<int>(std::rand() % span)];
    int i = lo;
    int j = hi;
    while (i <= j) {
      while (values[i] < pivot && i < hi) ++i;
      while (values[j] > pivot && j > lo) --j;
      if (i <= j) {
        std::swap(values[i], values[j]);
        ++i;
        --j;
      }
    }
    if (lo < j) QuickSort(values, lo, j);
    if (i >= hi) return;
    lo = i;
  }
}
