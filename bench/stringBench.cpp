// String's hot paths against std::u16string (and ICU's UnicodeString where it has the same
// operation), in one run: construction from ANSI and wide text, copy, operator+, operator+=
// within capacity, on texts of 16, 1024 and 1048576 characters; and Format of a message
// with three %d, one %s and one %f against swprintf into a std::wstring plus the copy to
// UTF-16.
#include <benchmark/benchmark.h>
#include <mlib/string.h>

#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

#if defined(MLIB_BENCH_HAVE_ICU)
#include <unicode/unistr.h>
#endif

namespace {

using mlib::String;
using mlib::WideChar;

// ASCII letters, so every code page reads them the same.
std::string narrowText(std::size_t count) {
  std::string text(count, 'a');
  for (std::size_t i = 0; i < count; ++i) text[i] = static_cast<char>('a' + i % 26);
  return text;
}

std::u16string wideText(std::size_t count) {
  const std::string narrow = narrowText(count);
  return std::u16string(narrow.begin(), narrow.end());
}

const WideChar* units(const std::u16string& text) {
  return reinterpret_cast<const WideChar*>(text.c_str());
}

void sizes(benchmark::internal::Benchmark* b) { b->Arg(16)->Arg(1024)->Arg(1 << 20); }

void setBytes(benchmark::State& state, std::size_t unitCount) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(unitCount * 2));
}

// ---- Construction from ANSI text ----------------------------------------------------

void ConstructAnsi_mlib(benchmark::State& state) {
  const std::string text = narrowText(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    String s(text.c_str());
    benchmark::DoNotOptimize(s.toString());
  }
  setBytes(state, text.size());
}

void ConstructAnsi_u16string(benchmark::State& state) {
  const std::string text = narrowText(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    const char* p = text.c_str();
    std::u16string s(p, p + std::strlen(p));  // widening each byte: Latin-1, no code page
    benchmark::DoNotOptimize(s.data());
  }
  setBytes(state, text.size());
}

// ---- Construction from wide text ----------------------------------------------------

void ConstructWide_mlib(benchmark::State& state) {
  const std::u16string text = wideText(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    String s(units(text));
    benchmark::DoNotOptimize(s.toString());
  }
  setBytes(state, text.size());
}

void ConstructWide_u16string(benchmark::State& state) {
  const std::u16string text = wideText(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    std::u16string s(text.c_str());
    benchmark::DoNotOptimize(s.data());
  }
  setBytes(state, text.size());
}

// ---- Copy ---------------------------------------------------------------------------

void Copy_mlib(benchmark::State& state) {
  const std::u16string text = wideText(static_cast<std::size_t>(state.range(0)));
  const String source(units(text));
  for (auto _ : state) {
    String s(source);
    benchmark::DoNotOptimize(s.toString());
  }
  setBytes(state, text.size());
}

void Copy_u16string(benchmark::State& state) {
  const std::u16string source = wideText(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    std::u16string s(source);
    benchmark::DoNotOptimize(s.data());
  }
  setBytes(state, source.size());
}

// ---- operator+ of two texts of the size -----------------------------------------------

void Plus_mlib(benchmark::State& state) {
  const std::u16string text = wideText(static_cast<std::size_t>(state.range(0)));
  const String a(units(text));
  const String b(units(text));
  for (auto _ : state) {
    String s = a + b;
    benchmark::DoNotOptimize(s.toString());
  }
  setBytes(state, text.size() * 2);
}

void Plus_u16string(benchmark::State& state) {
  const std::u16string a = wideText(static_cast<std::size_t>(state.range(0)));
  const std::u16string b = a;
  for (auto _ : state) {
    std::u16string s = a + b;
    benchmark::DoNotOptimize(s.data());
  }
  setBytes(state, a.size() * 2);
}

// ---- operator+= within capacity -------------------------------------------------------
// The string holds n units in room for 2n; each round appends n units of zero-terminated
// text and cuts back to n, so nothing is ever allocated.

void AppendInPlace_mlib(benchmark::State& state) {
  const auto n = static_cast<unsigned>(state.range(0));
  const std::u16string text = wideText(n);
  String s;
  s.AllocBuffer(2 * n);
  s = units(text);
  for (auto _ : state) {
    s += units(text);
    *s.GetBuffer(n) = 0;
    benchmark::DoNotOptimize(s.toString());
  }
  setBytes(state, n);
}

void AppendInPlace_u16string(benchmark::State& state) {
  const auto n = static_cast<std::size_t>(state.range(0));
  const std::u16string text = wideText(n);
  std::u16string s;
  s.reserve(2 * n);
  s = text;
  for (auto _ : state) {
    s += text.c_str();
    s.resize(n);
    benchmark::DoNotOptimize(s.data());
  }
  setBytes(state, n);
}

// ---- Format -----------------------------------------------------------------------------

void Format_mlib(benchmark::State& state) {
  const WideChar* name = MLIB_T("widget");
  int i = 0;
  for (auto _ : state) {
    String s;
    s.Format(MLIB_T("id=%d count=%d total=%d name=%s ratio=%f"), i, i * 7, -i, name, i * 0.5);
    benchmark::DoNotOptimize(s.toString());
    ++i;
  }
}

void Format_swprintf(benchmark::State& state) {
  const wchar_t* name = L"widget";
  int i = 0;
  for (auto _ : state) {
    std::wstring w(640, L'\0');
    const int n = std::swprintf(w.data(), w.size(), L"id=%d count=%d total=%d name=%ls ratio=%f", i,
                                i * 7, -i, name, i * 0.5);
    w.resize(n < 0 ? 0 : static_cast<std::size_t>(n));
    std::u16string u(w.begin(), w.end());
    benchmark::DoNotOptimize(u.data());
    ++i;
  }
}

#if defined(MLIB_BENCH_HAVE_ICU)
void ConstructAnsi_icu(benchmark::State& state) {
  const std::string text = narrowText(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    icu::UnicodeString s(text.c_str(), "windows-1252");
    benchmark::DoNotOptimize(s.getBuffer());
  }
  setBytes(state, text.size());
}

void ConstructWide_icu(benchmark::State& state) {
  const std::u16string text = wideText(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    icu::UnicodeString s(text.c_str());
    benchmark::DoNotOptimize(s.getBuffer());
  }
  setBytes(state, text.size());
}

void Copy_icu(benchmark::State& state) {
  const std::u16string text = wideText(static_cast<std::size_t>(state.range(0)));
  const icu::UnicodeString source(text.c_str());
  for (auto _ : state) {
    icu::UnicodeString s(source);
    benchmark::DoNotOptimize(s.getBuffer());
  }
  setBytes(state, text.size());
}

void Plus_icu(benchmark::State& state) {
  const std::u16string text = wideText(static_cast<std::size_t>(state.range(0)));
  const icu::UnicodeString a(text.c_str());
  const icu::UnicodeString b(text.c_str());
  for (auto _ : state) {
    icu::UnicodeString s = a + b;
    benchmark::DoNotOptimize(s.getBuffer());
  }
  setBytes(state, text.size() * 2);
}

void AppendInPlace_icu(benchmark::State& state) {
  const auto n = static_cast<int32_t>(state.range(0));
  const std::u16string text = wideText(static_cast<std::size_t>(n));
  icu::UnicodeString s(2 * n + 1, 0, 0);
  s.append(text.c_str(), -1);
  for (auto _ : state) {
    s.append(text.c_str(), -1);
    s.truncate(n);
    benchmark::DoNotOptimize(s.getBuffer());
  }
  setBytes(state, static_cast<std::size_t>(n));
}
#endif

}  // namespace

BENCHMARK(ConstructAnsi_mlib)->Apply(sizes);
BENCHMARK(ConstructAnsi_u16string)->Apply(sizes);
BENCHMARK(ConstructWide_mlib)->Apply(sizes);
BENCHMARK(ConstructWide_u16string)->Apply(sizes);
BENCHMARK(Copy_mlib)->Apply(sizes);
BENCHMARK(Copy_u16string)->Apply(sizes);
BENCHMARK(Plus_mlib)->Apply(sizes);
BENCHMARK(Plus_u16string)->Apply(sizes);
BENCHMARK(AppendInPlace_mlib)->Apply(sizes);
BENCHMARK(AppendInPlace_u16string)->Apply(sizes);
BENCHMARK(Format_mlib);
BENCHMARK(Format_swprintf);
#if defined(MLIB_BENCH_HAVE_ICU)
BENCHMARK(ConstructAnsi_icu)->Apply(sizes);
BENCHMARK(ConstructWide_icu)->Apply(sizes);
BENCHMARK(Copy_icu)->Apply(sizes);
BENCHMARK(Plus_icu)->Apply(sizes);
BENCHMARK(AppendInPlace_icu)->Apply(sizes);
#endif

BENCHMARK_MAIN();
