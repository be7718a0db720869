// Which platform backend a test program runs on, for the few checks that only the library's
// own conversions can answer (the system's answers are its own, and Wine's differ in places).
#ifndef MLIB_TESTS_BACKENDUNDERTEST_H
#define MLIB_TESTS_BACKENDUNDERTEST_H

namespace mlib::test {

#if defined(MLIB_TEST_WIN32_BACKEND)
inline constexpr bool kSystemConversions = true;
#else
inline constexpr bool kSystemConversions = false;
#endif

}  // namespace mlib::test

#endif  // MLIB_TESTS_BACKENDUNDERTEST_H
