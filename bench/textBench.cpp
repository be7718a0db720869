// The free text helpers against the usual alternatives, measured in the same run: code page
// conversions against ICU's converters and glibc's iconv, UTF-8 against ICU's UTF-8
// functions, the sort against std::sort, and the hashes and hex functions on 1 MiB.
#include <benchmark/benchmark.h>
#include <iconv.h>
#include <mlib/text.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#if defined(MLIB_BENCH_HAVE_ICU)
#include <unicode/ucnv.h>
#include <unicode/ustring.h>
#endif

using mlib::WideChar;
using WideString = std::basic_string<WideChar>;

namespace {

constexpr std::size_t kTextUnits = 1 << 20;

enum class Sample { kAscii, kWestern, kChinese, kMixed, kSparseWestern, kSparseChinese };

// Wide sample text of about kTextUnits units: ASCII prose, Western prose with one accented
// letter in seven, Chinese with a space now and then, or mostly ASCII prose with one accented
// letter in sixteen and an emoji (a surrogate pair) in a thousand units (UTF-8 rows only);
// and two texts the vector paths serve least well: ASCII prose with an accented letter in
// sixty, and with a Chinese character in forty.
WideString makeWide(Sample sample) {
  std::mt19937 generator(2024);
  const std::string prose = "The quick brown fox jumps over the lazy dog, again and again. ";
  const WideChar accents[] = {0xE9, 0xFC, 0xDF, 0xE7, 0xE0, 0xF1, 0xF6, 0xC9};
  WideString text;
  text.reserve(kTextUnits + 1);
  for (std::size_t i = 0; text.size() < kTextUnits; ++i) {
    switch (sample) {
      case Sample::kAscii:
        text += static_cast<WideChar>(prose[i % prose.size()]);
        break;
      case Sample::kWestern:
        text +=
            i % 7 == 6 ? accents[generator() % 8] : static_cast<WideChar>(prose[i % prose.size()]);
        break;
      case Sample::kChinese:
        text += i % 12 == 11 ? WideChar(' ') : static_cast<WideChar>(0x4E00 + generator() % 0x51A6);
        break;
      case Sample::kMixed:
        if (i % 1000 == 999) {
          text += static_cast<WideChar>(0xD83D);
          text += static_cast<WideChar>(0xDE00 + generator() % 0x50);
        } else {
          text += i % 16 == 15 ? accents[generator() % 8]
                               : static_cast<WideChar>(prose[i % prose.size()]);
        }
        break;
      case Sample::kSparseWestern:
        text += i % 60 == 59 ? accents[generator() % 8]
                             : static_cast<WideChar>(prose[i % prose.size()]);
        break;
      case Sample::kSparseChinese:
        text += i % 40 == 39 ? static_cast<WideChar>(0x4E00 + generator() % 0x51A6)
                             : static_cast<WideChar>(prose[i % prose.size()]);
        break;
    }
  }
  return text;
}

bool isChinese(Sample sample) {
  return sample == Sample::kChinese || sample == Sample::kSparseChinese;
}
unsigned codePageOf(Sample sample) { return isChinese(sample) ? 936 : 1252; }
const char* iconvNameOf(Sample sample) { return isChinese(sample) ? "CP936" : "CP1252"; }
const char* icuNameOf(Sample sample) {
  return isChinese(sample) ? "windows-936-2000" : "windows-1252";
}

// The sample in its ANSI code page (set for the process as a side effect).
std::string makeAnsi(Sample sample, const WideString& wide) {
  SetAnsiCodePage(codePageOf(sample));
  std::string ansi(wide.size() * 2 + 1, '\0');
  WideToANSI(&ansi[0], wide.c_str(), static_cast<int>(ansi.size()));
  ansi.resize(std::strlen(ansi.c_str()));
  return ansi;
}

std::string makeUtf8(const WideString& wide) {
  std::string utf8(wide.size() * 3 + 1, '\0');
  WideToUtf8(&utf8[0], wide.c_str(), static_cast<int>(utf8.size()));
  utf8.resize(std::strlen(utf8.c_str()));
  return utf8;
}

void ansiToWide(benchmark::State& state, Sample sample) {
  const std::string ansi = makeAnsi(sample, makeWide(sample));
  WideString out(ansi.size() + 1, 0);
  for (auto _ : state) {
    benchmark::DoNotOptimize(ANSIToWide(&out[0], ansi.c_str(), static_cast<int>(out.size())));
  }
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * ansi.size()));
}

void wideToAnsi(benchmark::State& state, Sample sample) {
  const WideString wide = makeWide(sample);
  const std::string ansi = makeAnsi(sample, wide);
  std::string out(ansi.size() + 1, '\0');
  for (auto _ : state) {
    benchmark::DoNotOptimize(WideToANSI(&out[0], wide.c_str(), static_cast<int>(out.size())));
  }
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * ansi.size()));
}

void iconvToWide(benchmark::State& state, Sample sample) {
  std::string ansi = makeAnsi(sample, makeWide(sample));
  WideString out(ansi.size() + 1, 0);
  iconv_t cd = iconv_open("UTF-16LE", iconvNameOf(sample));
  for (auto _ : state) {
    char* in = &ansi[0];
    std::size_t inLeft = ansi.size();
    char* dst = reinterpret_cast<char*>(&out[0]);
    std::size_t outLeft = out.size() * sizeof(WideChar);
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    benchmark::DoNotOptimize(iconv(cd, &in, &inLeft, &dst, &outLeft));
  }
  iconv_close(cd);
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * ansi.size()));
}

void iconvFromWide(benchmark::State& state, Sample sample) {
  WideString wide = makeWide(sample);
  const std::string ansi = makeAnsi(sample, wide);
  std::string out(ansi.size() + 1, '\0');
  iconv_t cd = iconv_open(iconvNameOf(sample), "UTF-16LE");
  for (auto _ : state) {
    char* in = reinterpret_cast<char*>(&wide[0]);
    std::size_t inLeft = wide.size() * sizeof(WideChar);
    char* dst = &out[0];
    std::size_t outLeft = out.size();
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    benchmark::DoNotOptimize(iconv(cd, &in, &inLeft, &dst, &outLeft));
  }
  iconv_close(cd);
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * ansi.size()));
}

#if defined(MLIB_BENCH_HAVE_ICU)
void icuToWide(benchmark::State& state, Sample sample) {
  const std::string ansi = makeAnsi(sample, makeWide(sample));
  WideString out(ansi.size() + 1, 0);
  UErrorCode error = U_ZERO_ERROR;
  UConverter* converter = ucnv_open(icuNameOf(sample), &error);
  for (auto _ : state) {
    error = U_ZERO_ERROR;
    benchmark::DoNotOptimize(ucnv_toUChars(converter, &out[0], static_cast<int32_t>(out.size()),
                                           ansi.c_str(), static_cast<int32_t>(ansi.size()),
                                           &error));
  }
  ucnv_close(converter);
  if (U_FAILURE(error)) state.SkipWithError("ICU conversion failed");
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * ansi.size()));
}

void icuFromWide(benchmark::State& state, Sample sample) {
  const WideString wide = makeWide(sample);
  const std::string ansi = makeAnsi(sample, wide);
  std::string out(ansi.size() + 1, '\0');
  UErrorCode error = U_ZERO_ERROR;
  UConverter* converter = ucnv_open(icuNameOf(sample), &error);
  for (auto _ : state) {
    error = U_ZERO_ERROR;
    benchmark::DoNotOptimize(ucnv_fromUChars(converter, &out[0], static_cast<int32_t>(out.size()),
                                             wide.c_str(), static_cast<int32_t>(wide.size()),
                                             &error));
  }
  ucnv_close(converter);
  if (U_FAILURE(error)) state.SkipWithError("ICU conversion failed");
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * ansi.size()));
}

void icuFromUtf8(benchmark::State& state, Sample sample) {
  const std::string utf8 = makeUtf8(makeWide(sample));
  WideString out(utf8.size() + 1, 0);
  for (auto _ : state) {
    UErrorCode error = U_ZERO_ERROR;
    int32_t length = 0;
    benchmark::DoNotOptimize(u_strFromUTF8(&out[0], static_cast<int32_t>(out.size()), &length,
                                           utf8.c_str(), static_cast<int32_t>(utf8.size()),
                                           &error));
  }
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * utf8.size()));
}

void icuToUtf8(benchmark::State& state, Sample sample) {
  const WideString wide = makeWide(sample);
  const std::string utf8 = makeUtf8(wide);
  std::string out(utf8.size() + 1, '\0');
  for (auto _ : state) {
    UErrorCode error = U_ZERO_ERROR;
    int32_t length = 0;
    benchmark::DoNotOptimize(u_strToUTF8(&out[0], static_cast<int32_t>(out.size()), &length,
                                         wide.c_str(), static_cast<int32_t>(wide.size()), &error));
  }
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * utf8.size()));
}
#endif

void utf8ToWide(benchmark::State& state, Sample sample) {
  const std::string utf8 = makeUtf8(makeWide(sample));
  WideString out(utf8.size() + 1, 0);
  for (auto _ : state) {
    benchmark::DoNotOptimize(Utf8ToWide(&out[0], utf8.c_str(), static_cast<int>(out.size())));
  }
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * utf8.size()));
}

void wideToUtf8(benchmark::State& state, Sample sample) {
  const WideString wide = makeWide(sample);
  const std::string utf8 = makeUtf8(wide);
  std::string out(utf8.size() + 1, '\0');
  for (auto _ : state) {
    benchmark::DoNotOptimize(WideToUtf8(&out[0], wide.c_str(), static_cast<int>(out.size())));
  }
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * utf8.size()));
}

// ---- Hashes, sort and hex -------------------------------------------------------------

std::string asciiText() {
  const WideString wide = makeWide(Sample::kAscii);
  return std::string(wide.begin(), wide.end());
}

template <int (*Hash)(const char*)>
void hashNarrow(benchmark::State& state) {
  const std::string text = asciiText();
  for (auto _ : state) benchmark::DoNotOptimize(Hash(text.c_str()));
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * text.size()));
}

// The usual alternative on the same bytes: the standard library's hash of a string view.
void hashStd(benchmark::State& state) {
  const std::string text = asciiText();
  for (auto _ : state) {
    benchmark::DoNotOptimize(std::hash<std::string_view>{}(std::string_view(text)));
  }
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * text.size()));
}

void hashWide(benchmark::State& state) {
  SetAnsiCodePage(1252);
  const WideString text = makeWide(Sample::kAscii);
  for (auto _ : state) benchmark::DoNotOptimize(GetStringHashCodeT(text.c_str()));
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * text.size()));
}

// 1M ints to sort: random, random among 16 values, ascending, descending, all equal.
enum class Order { kRandom, kFewValues, kAscending, kDescending, kAllEqual };

std::vector<int> intsToSort(Order order) {
  std::mt19937 generator(7);
  std::vector<int> values(1 << 20);
  for (std::size_t i = 0; i < values.size(); ++i) {
    switch (order) {
      case Order::kRandom:
        values[i] = static_cast<int>(generator());
        break;
      case Order::kFewValues:
        values[i] = static_cast<int>(generator() % 16);
        break;
      case Order::kAscending:
        values[i] = static_cast<int>(i);
        break;
      case Order::kDescending:
        values[i] = -static_cast<int>(i);
        break;
      case Order::kAllEqual:
        values[i] = 7;
        break;
    }
  }
  return values;
}

// Both sorts copy the unsorted data in each iteration, so the copy (about 0.5% of a sort)
// weighs on both alike.
template <typename Sort>
void sortInts(benchmark::State& state, Order order, Sort sort) {
  const std::vector<int> source = intsToSort(order);
  std::vector<int> values(source.size());
  for (auto _ : state) {
    values = source;
    sort(values);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(static_cast<long long>(state.iterations() * source.size()));
}

void sortQuickSort(benchmark::State& state, Order order) {
  sortInts(state, order, [](std::vector<int>& values) {
    QuickSort(values.data(), 0, static_cast<int>(values.size()) - 1);
  });
}

void sortStdSort(benchmark::State& state, Order order) {
  sortInts(state, order, [](std::vector<int>& values) { std::sort(values.begin(), values.end()); });
}

std::vector<unsigned char> randomBytes() {
  std::mt19937 generator(11);
  std::vector<unsigned char> bytes(1 << 20);
  for (unsigned char& b : bytes) b = static_cast<unsigned char>(generator());
  return bytes;
}

void hexByteToHex(benchmark::State& state) {
  const std::vector<unsigned char> bytes = randomBytes();
  std::string out(bytes.size() * 3 + 1, '\0');
  for (auto _ : state) {
    benchmark::DoNotOptimize(ByteToHex(bytes.data(), static_cast<unsigned>(bytes.size()), &out[0],
                                       static_cast<unsigned>(out.size()), true));
  }
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * bytes.size()));
}

void hexByteToHexString(benchmark::State& state) {
  const std::vector<unsigned char> bytes = randomBytes();
  WideString out(bytes.size() * 3 + 1, 0);
  for (auto _ : state) {
    benchmark::DoNotOptimize(ByteToHexString(bytes.data(), static_cast<int>(bytes.size()), &out[0],
                                             static_cast<unsigned>(out.size()), true));
  }
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * bytes.size()));
}

void hexHexStringToByte(benchmark::State& state) {
  const std::vector<unsigned char> bytes = randomBytes();
  WideString text(bytes.size() * 3 + 1, 0);
  ByteToHexString(bytes.data(), static_cast<int>(bytes.size()), &text[0],
                  static_cast<unsigned>(text.size()), true);
  std::vector<unsigned char> out(bytes.size());
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        HexStringToByte(text.c_str(), out.data(), static_cast<int>(out.size())));
  }
  state.SetBytesProcessed(static_cast<long long>(state.iterations() * bytes.size()));
}

}  // namespace

#define MLIB_TEXT_BENCH_SAMPLES(function)                     \
  BENCHMARK_CAPTURE(function, ascii1252, Sample::kAscii);     \
  BENCHMARK_CAPTURE(function, western1252, Sample::kWestern); \
  BENCHMARK_CAPTURE(function, chinese936, Sample::kChinese)

MLIB_TEXT_BENCH_SAMPLES(ansiToWide);
MLIB_TEXT_BENCH_SAMPLES(iconvToWide);
MLIB_TEXT_BENCH_SAMPLES(wideToAnsi);
MLIB_TEXT_BENCH_SAMPLES(iconvFromWide);
MLIB_TEXT_BENCH_SAMPLES(utf8ToWide);
MLIB_TEXT_BENCH_SAMPLES(wideToUtf8);
BENCHMARK_CAPTURE(wideToUtf8, mixed, Sample::kMixed);
BENCHMARK_CAPTURE(utf8ToWide, sparse1252, Sample::kSparseWestern);
BENCHMARK_CAPTURE(ansiToWide, sparse936, Sample::kSparseChinese);
BENCHMARK_CAPTURE(iconvToWide, sparse936, Sample::kSparseChinese);
#if defined(MLIB_BENCH_HAVE_ICU)
MLIB_TEXT_BENCH_SAMPLES(icuToWide);
MLIB_TEXT_BENCH_SAMPLES(icuFromWide);
MLIB_TEXT_BENCH_SAMPLES(icuFromUtf8);
MLIB_TEXT_BENCH_SAMPLES(icuToUtf8);
BENCHMARK_CAPTURE(icuToUtf8, mixed, Sample::kMixed);
BENCHMARK_CAPTURE(icuFromUtf8, sparse1252, Sample::kSparseWestern);
BENCHMARK_CAPTURE(icuToWide, sparse936, Sample::kSparseChinese);
#endif
BENCHMARK_TEMPLATE(hashNarrow, GetStringHashCode);
BENCHMARK(hashStd);
BENCHMARK_TEMPLATE(hashNarrow, GetStringHashCodeA);
BENCHMARK_TEMPLATE(hashNarrow, GetStringHashCodeB);
BENCHMARK(hashWide);
BENCHMARK_CAPTURE(sortQuickSort, random, Order::kRandom)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sortStdSort, random, Order::kRandom)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sortQuickSort, few_values, Order::kFewValues)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sortStdSort, few_values, Order::kFewValues)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sortQuickSort, ascending, Order::kAscending)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sortStdSort, ascending, Order::kAscending)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sortQuickSort, descending, Order::kDescending)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sortStdSort, descending, Order::kDescending)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sortQuickSort, all_equal, Order::kAllEqual)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sortStdSort, all_equal, Order::kAllEqual)->Unit(benchmark::kMillisecond);
BENCHMARK(hexByteToHex);
BENCHMARK(hexByteToHexString);
BENCHMARK(hexHexStringToByte);

BENCHMARK_MAIN();
