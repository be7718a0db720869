// Whether the processor running the library has AVX2, asked once. Code built for plain x86
// (SSE2) keeps an AVX2 path in functions compiled for it alone and takes it only where this
// says yes; elsewhere MLIB_AVX2_DISPATCH is not defined and only the plain paths exist.
#ifndef MLIB_SRC_PLATFORM_PROCESSORFEATURES_H
#define MLIB_SRC_PLATFORM_PROCESSORFEATURES_H

#if defined(__SSE2__) && (defined(__GNUC__) || defined(__clang__)) && \
    (defined(__x86_64__) || defined(__i386__))
#define MLIB_AVX2_DISPATCH 1

namespace mlib::platform {

[[nodiscard]] inline bool processorHasAvx2() noexcept {
  static const bool yes = __builtin_cpu_supports("avx2") != 0;
  return yes;
}

}  // namespace mlib::platform
#endif

#endif  // MLIB_SRC_PLATFORM_PROCESSORFEATURES_H
