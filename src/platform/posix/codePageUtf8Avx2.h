// The AVX2 runs of the UTF-8 conversions (codePageUtf8Avx2.cpp), for codePageUtf8.cpp.
// Each converts or counts from `at` on, advancing `at` and `written`, and stops (maybe at
// once) where a block breaks its rules; callers take them only where processorHasAvx2()
// says so and finish with their exact paths. The definitions say what each run takes.
#ifndef MLIB_SRC_PLATFORM_POSIX_CODEPAGEUTF8AVX2_H
#define MLIB_SRC_PLATFORM_POSIX_CODEPAGEUTF8AVX2_H

#include <cstddef>

#include "platform/posix/codePageCodecs.h"
#include "platform/processorFeatures.h"

#if defined(MLIB_AVX2_DISPATCH)
namespace mlib::platform::detail {

// The units a turn of encodeWideRun takes.
constexpr std::size_t kWideRunUnits = 16;
// The units a turn of countBytesRun takes.
constexpr std::size_t kCountRunUnits = 32;
// Bytes that must be left in the span for a turn of decodeMixedRun: it reads 34 bytes and
// stores 32 units, so at most 8 units of junk lie past its final count, and at least 62
// bytes are left, which give 21 units or more and overwrite the junk.
constexpr std::size_t kMixedRunMargin = 96;

// UTF-16 to UTF-8, units below 0x800 only, a block of kBlockUnits a turn.
__attribute__((target("avx2"))) void encodeNarrowRun(const WideChar* src, std::size_t spanEnd,
                                                     std::size_t& at, unsigned char* dst,
                                                     std::size_t& written) noexcept;
// UTF-16 to UTF-8, any mix without surrogates, kWideRunUnits a turn.
__attribute__((target("avx2"))) void encodeWideRun(const WideChar* src, std::size_t spanEnd,
                                                   std::size_t& at, unsigned char* dst,
                                                   std::size_t& written) noexcept;
// The UTF-8 size of UTF-16 units without surrogates, kCountRunUnits a turn.
__attribute__((target("avx2"))) void countBytesRun(const WideChar* src, std::size_t unitCount,
                                                   std::size_t& at, std::size_t& written) noexcept;
// UTF-8 to UTF-16 (kWrite) or its size (not kWrite), one-, two- and three-byte
// characters, 32 bytes a turn.
template <bool kWrite>
__attribute__((target("avx2"))) void decodeMixedRun(const unsigned char* src, std::size_t spanEnd,
                                                    std::size_t& at, WideChar* dst,
                                                    std::size_t& written) noexcept;

}  // namespace mlib::platform::detail
#endif

#endif  // MLIB_SRC_PLATFORM_POSIX_CODEPAGEUTF8AVX2_H
