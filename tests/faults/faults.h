// Failing chosen C library calls on demand through libfiu's failure points
// ("posix/io/rw/pwrite", "libc/mm/*" for every allocation, ...): the preload library then
// fails the call with the errno given here.
#ifndef MLIB_TESTS_FAULTS_FAULTS_H
#define MLIB_TESTS_FAULTS_FAULTS_H

#define FIU_ENABLE 1
#include <fiu-control.h>
#include <fiu.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace mlib::test {

// The nth call of the point fails (counting from 1; a trailing '*' matches every point under
// it, counted together), or every call when nth is 0, up to kStorm calls, so a retry loop
// without a bound ends the test instead of hanging it.
struct Fault {
  const char* point;
  int error;  // errno of the failing call
  int nth;
};
constexpr int kStorm = 100000;

struct Armed {
  Fault fault;
  int calls;
};
inline std::vector<Armed>& armedFaults() {
  static std::vector<Armed> armed;
  return armed;
}

inline int decideFault(const char* name, int*, void**, unsigned*) {
  for (Armed& a : armedFaults()) {
    const std::size_t n = std::strcspn(a.fault.point, "*");
    if (std::strncmp(a.fault.point, name, n) != 0 || (a.fault.point[n] == 0 && name[n] != 0)) {
      continue;
    }
    ++a.calls;
    return a.fault.nth == 0 ? a.calls <= kStorm : a.calls == a.fault.nth;
  }
  return 0;
}

// Arms the faults (room is made first: a decision never allocates).
inline void arm(const std::vector<Fault>& faults) {
  static const bool started = fiu_init(0) == 0;
  (void)started;
  armedFaults().reserve(16);
  srandom(7);  // libfiu shortens with random(): 3 bytes of a 10-byte read, 1 of a 26-byte write
  for (const Fault& f : faults) {
    armedFaults().push_back({f, 0});
    void* info = reinterpret_cast<void*>(static_cast<std::intptr_t>(f.error));
    fiu_enable_external(f.point, 1, info, 0, decideFault);
  }
}

// Disarms everything; returns the most calls an armed point saw.
inline int disarm() {
  int most = 0;
  for (const Armed& a : armedFaults()) {
    fiu_disable(a.fault.point);
    if (a.calls > most) most = a.calls;
  }
  armedFaults().clear();
  return most;
}

}  // namespace mlib::test

#endif  // MLIB_TESTS_FAULTS_FAULTS_H
