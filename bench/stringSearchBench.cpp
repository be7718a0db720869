// String's text search and replacement against std::u16string (and ICU's UnicodeString
// where it is found): Find and IndexOf of a 5- and a 20-unit pattern in 1 MiB of text, and
// Replace of a frequent one-unit text, with the as-written pass-by-pass ReplaceFirst loop
// beside it at three sizes to show how that one grows.
//
// Run: mlib_stringSearch_bench. Rows with the same argument measure the same work.
#include <benchmark/benchmark.h>
#include <mlib/string.h>

#include <cstddef>
#include <random>
#include <string>

#if defined(MLIB_BENCH_HAVE_ICU)
#include <unicode/unistr.h>
#endif

namespace {

using mlib::WideChar;

constexpr std::size_t kTextUnits = 512 * 1024;  // 1 MiB of UTF-16

// Random lower-case letters, fixed seed, with the pattern once at the very end, so every
// search reads the whole text. The patterns hold 'q', 'z', 'x' and 'j' so that chance
// does not put them earlier.
std::u16string haystack(std::size_t patternUnits) {
  std::mt19937 rng(7);
  std::u16string text(kTextUnits, u'a');
  for (char16_t& u : text) u = static_cast<char16_t>(u'a' + rng() % 26);
  const std::u16string pattern = std::u16string(u"qzxjkqzxjkqzxjkqzxjk").substr(0, patternUnits);
  text.replace(text.size() - patternUnits, patternUnits, pattern);
  return text;
}

std::u16string needle(std::size_t patternUnits) {
  return std::u16string(u"qzxjkqzxjkqzxjkqzxjk").substr(0, patternUnits);
}

const WideChar* wide(const std::u16string& s) {
  return reinterpret_cast<const WideChar*>(s.c_str());
}

// ---- Find / IndexOf, arg = pattern units -----------------------------------------------

void MlibFind(benchmark::State& state) {
  const auto units = static_cast<std::size_t>(state.range(0));
  const std::u16string text = haystack(units);
  const std::u16string pattern = needle(units);
  const mlib::String s(wide(text));
  for (auto _ : state) benchmark::DoNotOptimize(s.Find(wide(pattern)));
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * kTextUnits * 2));
}
BENCHMARK(MlibFind)->Arg(5)->Arg(20);

void MlibIndexOf(benchmark::State& state) {
  const auto units = static_cast<std::size_t>(state.range(0));
  const std::u16string text = haystack(units);
  const std::u16string pattern = needle(units);
  const mlib::String s(wide(text));
  for (auto _ : state) benchmark::DoNotOptimize(s.IndexOf(wide(pattern)));
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * kTextUnits * 2));
}
BENCHMARK(MlibIndexOf)->Arg(5)->Arg(20);

void StdU16Find(benchmark::State& state) {
  const auto units = static_cast<std::size_t>(state.range(0));
  const std::u16string text = haystack(units);
  const std::u16string pattern = needle(units);
  for (auto _ : state) benchmark::DoNotOptimize(text.find(pattern));
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * kTextUnits * 2));
}
BENCHMARK(StdU16Find)->Arg(5)->Arg(20);

#if defined(MLIB_BENCH_HAVE_ICU)
void IcuIndexOf(benchmark::State& state) {
  const auto units = static_cast<std::size_t>(state.range(0));
  const std::u16string text = haystack(units);
  const std::u16string pattern = needle(units);
  const icu::UnicodeString s(text.data(), static_cast<int32_t>(text.size()));
  const icu::UnicodeString p(pattern.data(), static_cast<int32_t>(pattern.size()));
  for (auto _ : state) benchmark::DoNotOptimize(s.indexOf(p));
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * kTextUnits * 2));
}
BENCHMARK(IcuIndexOf)->Arg(5)->Arg(20);
#endif

// ---- Replace, arg = text units ---------------------------------------------------------

// Letters with a space about every eighth unit: the space is the frequent text replaced.
std::u16string words(std::size_t units) {
  std::mt19937 rng(11);
  std::u16string text(units, u'a');
  for (char16_t& u : text) u = rng() % 8 == 0 ? u' ' : static_cast<char16_t>(u'a' + rng() % 26);
  return text;
}

void MlibReplace(benchmark::State& state) {
  const std::u16string text = words(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    mlib::String s(wide(text));
    s.Replace(MLIB_T(" "), MLIB_T("_"));
    benchmark::DoNotOptimize(s.toString());
  }
}
BENCHMARK(MlibReplace)->Arg(64 * 1024)->Arg(256 * 1024)->Arg(kTextUnits);

// The replacement as written out: ReplaceFirst until it fails, each pass searching from
// the start and copying the whole text into a new buffer.
void MlibReplaceFirstLoop(benchmark::State& state) {
  const std::u16string text = words(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    mlib::String s(wide(text));
    while (s.ReplaceFirst(MLIB_T(" "), MLIB_T("_"))) {
    }
    benchmark::DoNotOptimize(s.toString());
  }
}
BENCHMARK(MlibReplaceFirstLoop)
    ->Arg(64 * 1024)
    ->Arg(256 * 1024)
    ->Arg(kTextUnits)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

void StdU16ReplaceLoop(benchmark::State& state) {
  const std::u16string text = words(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    std::u16string s = text;
    for (std::size_t at = 0; (at = s.find(u' ', at)) != std::u16string::npos; ++at) {
      s.replace(at, 1, u"_");
    }
    benchmark::DoNotOptimize(s.data());
  }
}
BENCHMARK(StdU16ReplaceLoop)->Arg(64 * 1024)->Arg(256 * 1024)->Arg(kTextUnits);

#if defined(MLIB_BENCH_HAVE_ICU)
void IcuFindAndReplace(benchmark::State& state) {
  const std::u16string text = words(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    icu::UnicodeString s(text.data(), static_cast<int32_t>(text.size()));
    s.findAndReplace(icu::UnicodeString(u" "), icu::UnicodeString(u"_"));
    benchmark::DoNotOptimize(s.getBuffer());
  }
}
BENCHMARK(IcuFindAndReplace)->Arg(64 * 1024)->Arg(256 * 1024)->Arg(kTextUnits);
#endif

}  // namespace

BENCHMARK_MAIN();
