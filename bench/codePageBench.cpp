// The code page conversions (platform::multiByteToWide / wideToMultiByte) against ICU's
// converters and the C library's iconv, on 1 MiB of ASCII, Western 1252, Chinese 936 and
// UTF-8 text; and ANSIToWide / WideToANSI with 932, 949, 950, 1251 and UTF-8 as the ANSI
// code page. Each benchmark converts the whole text once per iteration into a buffer
// sized beforehand (exactly, for mlib, as its callers do); bytes/s count the narrow side.
#include <benchmark/benchmark.h>
#include <iconv.h>
#include <mlib/text.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "platform/codePage.h"

#if defined(MLIB_BENCH_HAVE_ICU)
#include <unicode/ucnv.h>
#include <unicode/ustring.h>
#endif

namespace {

using mlib::WideChar;
namespace platform = mlib::platform;

constexpr std::size_t kTextBytes = 1 << 20;

struct Random {
  std::uint32_t state;
  std::uint32_t next() {
    state = state * 1664525u + 1013904223u;
    return state >> 8;
  }
};

// English-like words and spaces.
std::string asciiText() {
  Random random{1};
  std::string text;
  while (text.size() < kTextBytes) {
    const std::size_t word = 2 + random.next() % 8;
    for (std::size_t i = 0; i < word; ++i) text += static_cast<char>('a' + random.next() % 26);
    text += random.next() % 12 == 0 ? ". " : " ";
  }
  text.resize(kTextBytes);
  return text;
}

// About one letter in seven accented (1252 C0-FF), now and then a euro sign or a curly
// quote (80-9F), as in French or German prose.
std::string westernText() {
  static const unsigned char kAccented[] = {0xE9, 0xE8, 0xE0, 0xFC, 0xF6, 0xE4,
                                            0xF1, 0xE7, 0xEA, 0xDF, 0xC9, 0xF4};
  static const unsigned char kPunctuation[] = {0x80, 0x92, 0x93, 0x94, 0x85};
  Random random{2};
  std::string text;
  while (text.size() < kTextBytes) {
    const std::size_t word = 2 + random.next() % 8;
    for (std::size_t i = 0; i < word; ++i) {
      const std::uint32_t r = random.next() % 70;
      if (r < 9) {
        text += static_cast<char>(kAccented[random.next() % sizeof kAccented]);
      } else if (r == 9) {
        text += static_cast<char>(kPunctuation[random.next() % sizeof kPunctuation]);
      } else {
        text += static_cast<char>('a' + random.next() % 26);
      }
    }
    text += ' ';
  }
  text.resize(kTextBytes);
  return text;
}

// Common hanzi (936 lead B0-D6, trail A1-FE: all assigned), with a full stop now and
// then and an ASCII digit run every few hundred characters.
std::string chineseText() {
  Random random{3};
  std::string text;
  while (text.size() + 2 <= kTextBytes) {
    const std::uint32_t r = random.next() % 400;
    if (r == 0) {
      text += "2024";
    } else if (r < 20) {
      text += "\xA1\xA3";  // 。
    } else {
      text += static_cast<char>(0xB0 + random.next() % 0x27);
      text += static_cast<char>(0xA1 + random.next() % 0x5E);
    }
  }
  text.resize(kTextBytes & ~std::size_t{1});
  return text;
}

std::u16string widen(unsigned codePage, const std::string& bytes) {
  const int n = static_cast<int>(bytes.size());
  const int units = platform::multiByteToWide(codePage, bytes.data(), n, nullptr, 0);
  std::u16string wide(static_cast<std::size_t>(units), u'\0');
  (void)platform::multiByteToWide(codePage, bytes.data(), n, wide.data(), units);
  return wide;
}

std::string narrow(unsigned codePage, const std::u16string& wide) {
  const int n = static_cast<int>(wide.size());
  const int bytes = platform::wideToMultiByte(codePage, wide.data(), n, nullptr, 0);
  std::string text(static_cast<std::size_t>(bytes), '\0');
  (void)platform::wideToMultiByte(codePage, wide.data(), n, text.data(), bytes);
  return text;
}

struct Texts {
  std::string ascii = asciiText();
  std::string western = westernText();
  std::string chinese = chineseText();
  std::u16string asciiWide = widen(1252, ascii);
  std::u16string westernWide = widen(1252, western);
  std::u16string chineseWide = widen(936, chinese);
  std::string westernUtf8 = narrow(platform::kUtf8CodePage, westernWide);
  std::string chineseUtf8 = narrow(platform::kUtf8CodePage, chineseWide);
};

const Texts& texts() {
  static const Texts t;
  return t;
}

enum Sample { kAscii, kWestern, kChinese, kWesternUtf8, kChineseUtf8 };

const std::string& narrowSample(Sample s) {
  switch (s) {
    case kAscii:
      return texts().ascii;
    case kWestern:
      return texts().western;
    case kChinese:
      return texts().chinese;
    case kWesternUtf8:
      return texts().westernUtf8;
    case kChineseUtf8:
      break;
  }
  return texts().chineseUtf8;
}

const std::u16string& wideSample(Sample s) {
  switch (s) {
    case kAscii:
      return texts().asciiWide;
    case kWestern:
    case kWesternUtf8:
      return texts().westernWide;
    case kChinese:
    case kChineseUtf8:
      break;
  }
  return texts().chineseWide;
}

// ---- mlib --------------------------------------------------------------------------

void mlibToWide(benchmark::State& state, unsigned codePage, Sample sample) {
  const std::string& in = narrowSample(sample);
  // Exact room, as the library's callers pass it after a size query.
  std::vector<WideChar> out(static_cast<std::size_t>(
      platform::multiByteToWide(codePage, in.data(), static_cast<int>(in.size()), nullptr, 0)));
  for (auto _ : state) {
    const int n = platform::multiByteToWide(codePage, in.data(), static_cast<int>(in.size()),
                                            out.data(), static_cast<int>(out.size()));
    benchmark::DoNotOptimize(n);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * in.size()));
}

void mlibFromWide(benchmark::State& state, unsigned codePage, Sample sample) {
  const std::u16string& in = wideSample(sample);
  const std::size_t narrowBytes = narrowSample(sample).size();
  std::vector<char> out(static_cast<std::size_t>(
      platform::wideToMultiByte(codePage, in.data(), static_cast<int>(in.size()), nullptr, 0)));
  for (auto _ : state) {
    const int n = platform::wideToMultiByte(codePage, in.data(), static_cast<int>(in.size()),
                                            out.data(), static_cast<int>(out.size()));
    benchmark::DoNotOptimize(n);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * narrowBytes));
}

// The size query alone (no destination), as callers make it before converting.
void mlibToWideSize(benchmark::State& state, unsigned codePage, Sample sample) {
  const std::string& in = narrowSample(sample);
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        platform::multiByteToWide(codePage, in.data(), static_cast<int>(in.size()), nullptr, 0));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * in.size()));
}

void mlibFromWideSize(benchmark::State& state, unsigned codePage, Sample sample) {
  const std::u16string& in = wideSample(sample);
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        platform::wideToMultiByte(codePage, in.data(), static_cast<int>(in.size()), nullptr, 0));
  }
  state.SetBytesProcessed(
      static_cast<std::int64_t>(state.iterations() * narrowSample(sample).size()));
}

// ---- iconv -------------------------------------------------------------------------

void iconvConvert(benchmark::State& state, const char* to, const char* from, const char* in,
                  std::size_t inBytes, std::size_t outBytes, std::size_t narrowBytes) {
  const iconv_t cd = iconv_open(to, from);
  if (cd == reinterpret_cast<iconv_t>(-1)) {
    state.SkipWithError("iconv_open failed");
    return;
  }
  std::vector<char> out(outBytes);
  for (auto _ : state) {
    char* src = const_cast<char*>(in);
    std::size_t srcLeft = inBytes;
    char* dst = out.data();
    std::size_t dstLeft = out.size();
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    const std::size_t r = iconv(cd, &src, &srcLeft, &dst, &dstLeft);
    benchmark::DoNotOptimize(r);
    benchmark::ClobberMemory();
  }
  iconv_close(cd);
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * narrowBytes));
}

void iconvToWide(benchmark::State& state, const char* charset, Sample sample) {
  const std::string& in = narrowSample(sample);
  iconvConvert(state, "UTF-16LE", charset, in.data(), in.size(), in.size() * 2, in.size());
}

void iconvFromWide(benchmark::State& state, const char* charset, Sample sample) {
  const std::u16string& in = wideSample(sample);
  iconvConvert(state, charset, "UTF-16LE", reinterpret_cast<const char*>(in.data()), in.size() * 2,
               in.size() * 3, narrowSample(sample).size());
}

// ---- ICU ---------------------------------------------------------------------------

#if defined(MLIB_BENCH_HAVE_ICU)
void icuToWide(benchmark::State& state, const char* name, Sample sample) {
  const std::string& in = narrowSample(sample);
  UErrorCode status = U_ZERO_ERROR;
  UConverter* const converter = ucnv_open(name, &status);
  if (U_FAILURE(status)) {
    state.SkipWithError("ucnv_open failed");
    return;
  }
  std::vector<UChar> out(in.size() + 1);
  for (auto _ : state) {
    status = U_ZERO_ERROR;
    const int32_t n = ucnv_toUChars(converter, out.data(), static_cast<int32_t>(out.size()),
                                    in.data(), static_cast<int32_t>(in.size()), &status);
    benchmark::DoNotOptimize(n);
    benchmark::ClobberMemory();
  }
  ucnv_close(converter);
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * in.size()));
}

void icuFromWide(benchmark::State& state, const char* name, Sample sample) {
  const std::u16string& in = wideSample(sample);
  UErrorCode status = U_ZERO_ERROR;
  UConverter* const converter = ucnv_open(name, &status);
  if (U_FAILURE(status)) {
    state.SkipWithError("ucnv_open failed");
    return;
  }
  std::vector<char> out(in.size() * 3 + 1);
  for (auto _ : state) {
    status = U_ZERO_ERROR;
    const int32_t n = ucnv_fromUChars(converter, out.data(), static_cast<int32_t>(out.size()),
                                      reinterpret_cast<const UChar*>(in.data()),
                                      static_cast<int32_t>(in.size()), &status);
    benchmark::DoNotOptimize(n);
    benchmark::ClobberMemory();
  }
  ucnv_close(converter);
  state.SetBytesProcessed(
      static_cast<std::int64_t>(state.iterations() * narrowSample(sample).size()));
}

void icuFromUtf8(benchmark::State& state, Sample sample) {
  const std::string& in = narrowSample(sample);
  std::vector<UChar> out(in.size() + 1);
  for (auto _ : state) {
    UErrorCode status = U_ZERO_ERROR;
    int32_t n = 0;
    u_strFromUTF8(out.data(), static_cast<int32_t>(out.size()), &n, in.data(),
                  static_cast<int32_t>(in.size()), &status);
    benchmark::DoNotOptimize(n);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * in.size()));
}

void icuToUtf8(benchmark::State& state, Sample sample) {
  const std::u16string& in = wideSample(sample);
  std::vector<char> out(in.size() * 3 + 1);
  for (auto _ : state) {
    UErrorCode status = U_ZERO_ERROR;
    int32_t n = 0;
    u_strToUTF8(out.data(), static_cast<int32_t>(out.size()), &n,
                reinterpret_cast<const UChar*>(in.data()), static_cast<int32_t>(in.size()),
                &status);
    benchmark::DoNotOptimize(n);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(
      static_cast<std::int64_t>(state.iterations() * narrowSample(sample).size()));
}
// ICU's preflight: the size alone, no destination.
void icuFromUtf8Size(benchmark::State& state, Sample sample) {
  const std::string& in = narrowSample(sample);
  for (auto _ : state) {
    UErrorCode status = U_ZERO_ERROR;
    int32_t n = 0;
    u_strFromUTF8(nullptr, 0, &n, in.data(), static_cast<int32_t>(in.size()), &status);
    benchmark::DoNotOptimize(n);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * in.size()));
}

void icuToUtf8Size(benchmark::State& state, Sample sample) {
  const std::u16string& in = wideSample(sample);
  for (auto _ : state) {
    UErrorCode status = U_ZERO_ERROR;
    int32_t n = 0;
    u_strToUTF8(nullptr, 0, &n, reinterpret_cast<const UChar*>(in.data()),
                static_cast<int32_t>(in.size()), &status);
    benchmark::DoNotOptimize(n);
  }
  state.SetBytesProcessed(
      static_cast<std::int64_t>(state.iterations() * narrowSample(sample).size()));
}
#endif

// ---- Other ANSI code pages ---------------------------------------------------------
// ANSIToWide and WideToANSI of 1 MiB with each page as the ANSI code page, against ICU
// and iconv on the same text.

// Japanese: hiragana runs (82 9F-F1) and level-1 kanji (lead 89-97, every trail 40-7E and
// 80-FC assigned), an ideographic full stop (81 42) now and then.
std::string japaneseText() {
  Random random{4};
  std::string text;
  while (text.size() + 2 <= kTextBytes) {
    const std::uint32_t r = random.next() % 100;
    if (r < 4) {
      text += "\x81\x42";
    } else if (r < 45) {
      text += '\x82';
      text += static_cast<char>(0x9F + random.next() % 0x53);
    } else {
      text += static_cast<char>(0x89 + random.next() % 0x0F);
      const unsigned trail = 0x40 + random.next() % 0xBC;
      text += static_cast<char>(trail >= 0x7F ? trail + 1 : trail);
    }
  }
  text.resize(kTextBytes & ~std::size_t{1});
  return text;
}

// Korean: words of two to four Hangul syllables (lead B0-C8, trail A1-FE) and spaces.
std::string koreanText() {
  Random random{5};
  std::string text;
  while (text.size() + 9 <= kTextBytes) {
    const std::size_t word = 2 + random.next() % 3;
    for (std::size_t i = 0; i < word; ++i) {
      text += static_cast<char>(0xB0 + random.next() % 0x19);
      text += static_cast<char>(0xA1 + random.next() % 0x5E);
    }
    text += random.next() % 10 == 0 ? ". " : " ";
  }
  text.resize(kTextBytes);
  return text;
}

// Traditional Chinese: frequent hanzi (lead A4-C5, trail 40-7E and A1-FE), a full-width
// comma (A1 41) now and then.
std::string traditionalChineseText() {
  Random random{6};
  std::string text;
  while (text.size() + 2 <= kTextBytes) {
    if (random.next() % 20 == 0) {
      text += "\xA1\x41";
      continue;
    }
    text += static_cast<char>(0xA4 + random.next() % 0x22);
    const unsigned trail = random.next() % (0x3F + 0x5E);
    text += static_cast<char>(trail < 0x3F ? 0x40 + trail : 0xA1 + trail - 0x3F);
  }
  text.resize(kTextBytes & ~std::size_t{1});
  return text;
}

// Russian-like prose: words of Cyrillic letters (1251 C0-FF), now and then capitalised,
// spaces and punctuation.
std::string cyrillicText() {
  Random random{7};
  std::string text;
  while (text.size() < kTextBytes) {
    const std::size_t word = 2 + random.next() % 8;
    for (std::size_t i = 0; i < word; ++i) {
      const bool capital = i == 0 && random.next() % 8 == 0;
      text += static_cast<char>((capital ? 0xC0 : 0xE0) + random.next() % 32);
    }
    text += random.next() % 12 == 0 ? ", " : " ";
  }
  text.resize(kTextBytes);
  return text;
}

// Mixed UTF-8: English, accented Latin, Cyrillic and Chinese words in turn.
std::string mixedUtf8Text() {
  static const char* const kWords[] = {"the",
                                       "caf\xC3\xA9",
                                       "\xD0\xB4\xD0\xBE\xD0\xBC",
                                       "\xE4\xB8\xAD\xE6\x96\x87",
                                       "stra\xC3\x9F"
                                       "e",
                                       "\xE2\x82\xAC"
                                       "5",
                                       "data",
                                       "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E"};
  Random random{8};
  std::string text;
  while (text.size() + 16 <= kTextBytes) {
    text += kWords[random.next() % (sizeof kWords / sizeof kWords[0])];
    text += ' ';
  }
  text.resize(text.size());
  return text;
}

struct AnsiSample {
  std::string narrow;
  std::u16string wide;
};

AnsiSample makeAnsiSample(unsigned codePage, const std::string& narrowText) {
  return {narrowText, widen(codePage, narrowText)};
}

const AnsiSample& ansiSample(unsigned codePage) {
  static const AnsiSample japanese = makeAnsiSample(932, japaneseText());
  static const AnsiSample korean = makeAnsiSample(949, koreanText());
  static const AnsiSample chinese = makeAnsiSample(950, traditionalChineseText());
  static const AnsiSample cyrillic = makeAnsiSample(1251, cyrillicText());
  static const AnsiSample mixed = makeAnsiSample(platform::kUtf8CodePage, mixedUtf8Text());
  switch (codePage) {
    case 932:
      return japanese;
    case 949:
      return korean;
    case 950:
      return chinese;
    case 1251:
      return cyrillic;
    default:
      break;
  }
  return mixed;
}

// The public functions, with codePage as the ANSI code page and room for the whole text.
void mlibAnsiToWide(benchmark::State& state, unsigned codePage) {
  const AnsiSample& sample = ansiSample(codePage);
  if (!SetAnsiCodePage(codePage)) state.SkipWithError("SetAnsiCodePage failed");
  std::vector<WideChar> out(sample.wide.size() + 1);
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        ANSIToWide(out.data(), sample.narrow.c_str(), static_cast<int>(out.size())));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * sample.narrow.size()));
}

void mlibWideToAnsi(benchmark::State& state, unsigned codePage) {
  const AnsiSample& sample = ansiSample(codePage);
  if (!SetAnsiCodePage(codePage)) state.SkipWithError("SetAnsiCodePage failed");
  std::vector<char> out(sample.narrow.size() + 1);
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        WideToANSI(out.data(), sample.wide.c_str(), static_cast<int>(out.size())));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * sample.narrow.size()));
}

void iconvAnsiToWide(benchmark::State& state, unsigned codePage, const char* charset) {
  const AnsiSample& sample = ansiSample(codePage);
  iconvConvert(state, "UTF-16LE", charset, sample.narrow.data(), sample.narrow.size(),
               sample.wide.size() * 2, sample.narrow.size());
}

void iconvWideToAnsi(benchmark::State& state, unsigned codePage, const char* charset) {
  const AnsiSample& sample = ansiSample(codePage);
  iconvConvert(state, charset, "UTF-16LE", reinterpret_cast<const char*>(sample.wide.data()),
               sample.wide.size() * 2, sample.narrow.size(), sample.narrow.size());
}

#if defined(MLIB_BENCH_HAVE_ICU)
void icuAnsiToWide(benchmark::State& state, unsigned codePage, const char* name) {
  const AnsiSample& sample = ansiSample(codePage);
  UErrorCode status = U_ZERO_ERROR;
  UConverter* const converter = ucnv_open(name, &status);
  if (U_FAILURE(status)) {
    state.SkipWithError("ucnv_open failed");
    return;
  }
  std::vector<UChar> out(sample.wide.size() + 1);
  for (auto _ : state) {
    status = U_ZERO_ERROR;
    const int32_t n =
        ucnv_toUChars(converter, out.data(), static_cast<int32_t>(out.size()), sample.narrow.data(),
                      static_cast<int32_t>(sample.narrow.size()), &status);
    benchmark::DoNotOptimize(n);
    benchmark::ClobberMemory();
  }
  ucnv_close(converter);
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * sample.narrow.size()));
}

void icuWideToAnsi(benchmark::State& state, unsigned codePage, const char* name) {
  const AnsiSample& sample = ansiSample(codePage);
  UErrorCode status = U_ZERO_ERROR;
  UConverter* const converter = ucnv_open(name, &status);
  if (U_FAILURE(status)) {
    state.SkipWithError("ucnv_open failed");
    return;
  }
  std::vector<char> out(sample.narrow.size() + 1);
  for (auto _ : state) {
    status = U_ZERO_ERROR;
    const int32_t n = ucnv_fromUChars(converter, out.data(), static_cast<int32_t>(out.size()),
                                      reinterpret_cast<const UChar*>(sample.wide.data()),
                                      static_cast<int32_t>(sample.wide.size()), &status);
    benchmark::DoNotOptimize(n);
    benchmark::ClobberMemory();
  }
  ucnv_close(converter);
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * sample.narrow.size()));
}
#endif

BENCHMARK_CAPTURE(mlibAnsiToWide, ansi932_japanese, 932);
BENCHMARK_CAPTURE(iconvAnsiToWide, ansi932_japanese, 932, "CP932");
BENCHMARK_CAPTURE(mlibWideToAnsi, ansi932_japanese, 932);
BENCHMARK_CAPTURE(iconvWideToAnsi, ansi932_japanese, 932, "CP932");
BENCHMARK_CAPTURE(mlibAnsiToWide, ansi949_korean, 949);
BENCHMARK_CAPTURE(iconvAnsiToWide, ansi949_korean, 949, "CP949");
BENCHMARK_CAPTURE(mlibWideToAnsi, ansi949_korean, 949);
BENCHMARK_CAPTURE(iconvWideToAnsi, ansi949_korean, 949, "CP949");
BENCHMARK_CAPTURE(mlibAnsiToWide, ansi950_chinese, 950);
BENCHMARK_CAPTURE(iconvAnsiToWide, ansi950_chinese, 950, "CP950");
BENCHMARK_CAPTURE(mlibWideToAnsi, ansi950_chinese, 950);
BENCHMARK_CAPTURE(iconvWideToAnsi, ansi950_chinese, 950, "CP950");
BENCHMARK_CAPTURE(mlibAnsiToWide, ansi1251_cyrillic, 1251);
BENCHMARK_CAPTURE(iconvAnsiToWide, ansi1251_cyrillic, 1251, "CP1251");
BENCHMARK_CAPTURE(mlibWideToAnsi, ansi1251_cyrillic, 1251);
BENCHMARK_CAPTURE(iconvWideToAnsi, ansi1251_cyrillic, 1251, "CP1251");
BENCHMARK_CAPTURE(mlibAnsiToWide, ansi65001_mixed, 65001);
BENCHMARK_CAPTURE(iconvAnsiToWide, ansi65001_mixed, 65001, "UTF-8");
BENCHMARK_CAPTURE(mlibWideToAnsi, ansi65001_mixed, 65001);
BENCHMARK_CAPTURE(iconvWideToAnsi, ansi65001_mixed, 65001, "UTF-8");
#if defined(MLIB_BENCH_HAVE_ICU)
BENCHMARK_CAPTURE(icuAnsiToWide, ansi932_japanese_windows932, 932, "windows-932");
BENCHMARK_CAPTURE(icuAnsiToWide, ansi932_japanese_ibm943, 932, "ibm-943_P15A-2003");
BENCHMARK_CAPTURE(icuWideToAnsi, ansi932_japanese_windows932, 932, "windows-932");
BENCHMARK_CAPTURE(icuWideToAnsi, ansi932_japanese_ibm943, 932, "ibm-943_P15A-2003");
BENCHMARK_CAPTURE(icuAnsiToWide, ansi949_korean, 949, "windows-949");
BENCHMARK_CAPTURE(icuWideToAnsi, ansi949_korean, 949, "windows-949");
BENCHMARK_CAPTURE(icuAnsiToWide, ansi950_chinese, 950, "windows-950");
BENCHMARK_CAPTURE(icuWideToAnsi, ansi950_chinese, 950, "windows-950");
BENCHMARK_CAPTURE(icuAnsiToWide, ansi1251_cyrillic, 1251, "windows-1251");
BENCHMARK_CAPTURE(icuWideToAnsi, ansi1251_cyrillic, 1251, "windows-1251");
BENCHMARK_CAPTURE(icuAnsiToWide, ansi65001_mixed, 65001, "UTF-8");
BENCHMARK_CAPTURE(icuWideToAnsi, ansi65001_mixed, 65001, "UTF-8");
#endif

// ---- Registration ------------------------------------------------------------------

constexpr unsigned kUtf8 = platform::kUtf8CodePage;

BENCHMARK_CAPTURE(mlibToWide, cp1252_ascii, 1252, kAscii);
BENCHMARK_CAPTURE(iconvToWide, cp1252_ascii, "CP1252", kAscii);
BENCHMARK_CAPTURE(mlibToWide, cp1252_western, 1252, kWestern);
BENCHMARK_CAPTURE(iconvToWide, cp1252_western, "CP1252", kWestern);
BENCHMARK_CAPTURE(mlibFromWide, cp1252_ascii, 1252, kAscii);
BENCHMARK_CAPTURE(iconvFromWide, cp1252_ascii, "CP1252", kAscii);
BENCHMARK_CAPTURE(mlibFromWide, cp1252_western, 1252, kWestern);
BENCHMARK_CAPTURE(iconvFromWide, cp1252_western, "CP1252", kWestern);
BENCHMARK_CAPTURE(mlibToWide, cp936_chinese, 936, kChinese);
BENCHMARK_CAPTURE(iconvToWide, cp936_chinese, "CP936", kChinese);
BENCHMARK_CAPTURE(mlibFromWide, cp936_chinese, 936, kChinese);
BENCHMARK_CAPTURE(iconvFromWide, cp936_chinese, "CP936", kChinese);
BENCHMARK_CAPTURE(mlibToWide, utf8_ascii, kUtf8, kAscii);
BENCHMARK_CAPTURE(iconvToWide, utf8_ascii, "UTF-8", kAscii);
BENCHMARK_CAPTURE(mlibFromWide, utf8_ascii, kUtf8, kAscii);
BENCHMARK_CAPTURE(iconvFromWide, utf8_ascii, "UTF-8", kAscii);
BENCHMARK_CAPTURE(mlibToWide, utf8_western, kUtf8, kWesternUtf8);
BENCHMARK_CAPTURE(iconvToWide, utf8_western, "UTF-8", kWesternUtf8);
BENCHMARK_CAPTURE(mlibToWide, utf8_chinese, kUtf8, kChineseUtf8);
BENCHMARK_CAPTURE(iconvToWide, utf8_chinese, "UTF-8", kChineseUtf8);
BENCHMARK_CAPTURE(mlibFromWide, utf8_western, kUtf8, kWesternUtf8);
BENCHMARK_CAPTURE(iconvFromWide, utf8_western, "UTF-8", kWesternUtf8);
BENCHMARK_CAPTURE(mlibFromWide, utf8_chinese, kUtf8, kChineseUtf8);
BENCHMARK_CAPTURE(iconvFromWide, utf8_chinese, "UTF-8", kChineseUtf8);
BENCHMARK_CAPTURE(mlibToWideSize, utf8_western, kUtf8, kWesternUtf8);
BENCHMARK_CAPTURE(mlibToWideSize, utf8_chinese, kUtf8, kChineseUtf8);
BENCHMARK_CAPTURE(mlibFromWideSize, utf8_western, kUtf8, kWesternUtf8);
BENCHMARK_CAPTURE(mlibFromWideSize, utf8_chinese, kUtf8, kChineseUtf8);

#if defined(MLIB_BENCH_HAVE_ICU)
BENCHMARK_CAPTURE(icuToWide, cp1252_ascii, "windows-1252", kAscii);
BENCHMARK_CAPTURE(icuToWide, cp1252_western, "windows-1252", kWestern);
BENCHMARK_CAPTURE(icuFromWide, cp1252_ascii, "windows-1252", kAscii);
BENCHMARK_CAPTURE(icuFromWide, cp1252_western, "windows-1252", kWestern);
BENCHMARK_CAPTURE(icuToWide, cp936_chinese_gbk, "GBK", kChinese);
BENCHMARK_CAPTURE(icuToWide, cp936_chinese_windows936, "windows-936", kChinese);
BENCHMARK_CAPTURE(icuFromWide, cp936_chinese_gbk, "GBK", kChinese);
BENCHMARK_CAPTURE(icuFromWide, cp936_chinese_windows936, "windows-936", kChinese);
BENCHMARK_CAPTURE(icuFromUtf8, utf8_ascii, kAscii);
BENCHMARK_CAPTURE(icuToUtf8, utf8_ascii, kAscii);
BENCHMARK_CAPTURE(icuFromUtf8, utf8_western, kWesternUtf8);
BENCHMARK_CAPTURE(icuFromUtf8, utf8_chinese, kChineseUtf8);
BENCHMARK_CAPTURE(icuToUtf8, utf8_western, kWesternUtf8);
BENCHMARK_CAPTURE(icuToUtf8, utf8_chinese, kChineseUtf8);
BENCHMARK_CAPTURE(icuFromUtf8Size, utf8_western, kWesternUtf8);
BENCHMARK_CAPTURE(icuFromUtf8Size, utf8_chinese, kChineseUtf8);
BENCHMARK_CAPTURE(icuToUtf8Size, utf8_western, kWesternUtf8);
BENCHMARK_CAPTURE(icuToUtf8Size, utf8_chinese, kChineseUtf8);
#endif

}  // namespace

BENCHMARK_MAIN();
