// String's hot paths against std::u16string (and ICU's UnicodeString where it has the same
// operation), in one run: construction from ANSI and wide text, copy, operator+, operator+=
// within capacity, on texts of 16, 1024 and 1048576 characters; and Format of a message
// with three %d, one %s and one %f against swprintf into a std::wstring plus the copy to
// UTF-16; Replace against std::u16string loops that give the same text.
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

// ---- Replace ----------------------------------------------------------------------------
// Replace repeats ReplaceFirst until it fails. The std::u16string loops that give the same
// text: `literal` searches from the start after every pass, as that definition reads;
// `resume` searches again oldUnits - 1 units before the replacement, where the next
// occurrence can start at the earliest, and edits the string in place; `onePass` builds the
// result in one pass, which gives the same text only where no replacement can make a new
// occurrence (the template case).

// n units of letters with `count` occurrences of «{x}» spread evenly.
std::u16string templateText(std::size_t n, std::size_t count) {
  std::u16string text = wideText(n);
  for (std::size_t k = 0; k < count; ++k) text.replace(k * (n / count), 3, u"{x}");
  return text;
}

// The two runs measured: state.range(0) selects the template (units, occurrences) or
// 'a' x 1000 + 'b' x 1000 with «ab» -> «ba» (10^6 passes).
struct ReplaceCase {
  std::u16string text, old, with;
};

ReplaceCase replaceCase(const benchmark::State& state) {
  if (state.range(0) == 0)
    return {std::u16string(1000, u'a') + std::u16string(1000, u'b'), u"ab", u"ba"};
  const auto n = static_cast<std::size_t>(state.range(0));
  return {templateText(n, static_cast<std::size_t>(state.range(1))), u"{x}", u"value!"};
}

void Replace_mlib(benchmark::State& state) {
  const ReplaceCase c = replaceCase(state);
  for (auto _ : state) {
    String s(units(c.text));
    s.Replace(units(c.old), units(c.with));
    benchmark::DoNotOptimize(s.toString());
  }
}

void Replace_u16string_literal(benchmark::State& state) {
  const ReplaceCase c = replaceCase(state);
  for (auto _ : state) {
    std::u16string s = c.text;
    for (std::size_t at; (at = s.find(c.old)) != std::u16string::npos;) {
      s.replace(at, c.old.size(), c.with);
    }
    benchmark::DoNotOptimize(s.data());
  }
}

void Replace_u16string_resume(benchmark::State& state) {
  const ReplaceCase c = replaceCase(state);
  for (auto _ : state) {
    std::u16string s = c.text;
    for (std::size_t at = 0; (at = s.find(c.old, at)) != std::u16string::npos;) {
      s.replace(at, c.old.size(), c.with);
      at = at >= c.old.size() - 1 ? at - (c.old.size() - 1) : 0;
    }
    benchmark::DoNotOptimize(s.data());
  }
}

void Replace_u16string_onePass(benchmark::State& state) {
  const ReplaceCase c = replaceCase(state);
  for (auto _ : state) {
    std::u16string s;
    std::size_t from = 0;
    for (std::size_t at; (at = c.text.find(c.old, from)) != std::u16string::npos;) {
      s.append(c.text, from, at - from).append(c.with);
      from = at + c.old.size();
    }
    s.append(c.text, from, std::u16string::npos);
    benchmark::DoNotOptimize(s.data());
  }
}

// «A%» -> «%%AA» in «xA%%y» makes «A%» again after every pass and never ends; Replace gives
// up at its length limit of 2^24 units (about 8.4 million passes) and leaves the text.
void Replace_mlib_refused(benchmark::State& state) {
  String s(MLIB_T("xA%%y"));
  for (auto _ : state) {
    s.Replace(MLIB_T("A%"), MLIB_T("%%AA"));
    benchmark::DoNotOptimize(s.toString());
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
// {0, 0}: «ab» -> «ba» on 'a' x 1000 + 'b' x 1000; {n, k}: n units with k occurrences.
BENCHMARK(Replace_mlib)
    ->Args({0, 0})
    ->Args({1 << 16, 6250})
    ->Args({1 << 20, 100000})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(Replace_u16string_literal)
    ->Args({0, 0})
    ->Args({1 << 16, 6250})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(Replace_u16string_resume)
    ->Args({0, 0})
    ->Args({1 << 16, 6250})
    ->Args({1 << 20, 100000})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(Replace_u16string_onePass)
    ->Args({1 << 16, 6250})
    ->Args({1 << 20, 100000})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(Replace_mlib_refused)->Unit(benchmark::kMillisecond);
#if defined(MLIB_BENCH_HAVE_ICU)
BENCHMARK(ConstructAnsi_icu)->Apply(sizes);
BENCHMARK(ConstructWide_icu)->Apply(sizes);
BENCHMARK(Copy_icu)->Apply(sizes);
BENCHMARK(Plus_icu)->Apply(sizes);
BENCHMARK(AppendInPlace_icu)->Apply(sizes);
#endif

BENCHMARK_MAIN();
