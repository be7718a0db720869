// Byte appends against std::vector<unsigned char>, and String's byte <-> hexadecimal text
// conversions against a plain table-driven loop written here.
//
// Run: mlib_byte_bench. Each pair below measures the same work; compare their times.
#include <benchmark/benchmark.h>
#include <mlib/byte.h>
#include <mlib/string.h>

#include <cstddef>
#include <string>
#include <vector>

namespace {

constexpr int kTotal = 1 << 20;  // 1 MiB
constexpr int kPiece = 4 << 10;  // 4 KiB

std::vector<unsigned char> pieceBytes() {
  std::vector<unsigned char> piece(kPiece);
  for (int i = 0; i < kPiece; ++i)
    piece[static_cast<std::size_t>(i)] = static_cast<unsigned char>(i * 7);
  return piece;
}

// ---- 1 MiB in 4 KiB pieces into reserved storage -------------------------------------

// Reserving inside the loop: AllocBuffer clears what it allocates, vector::reserve does not.
void ByteAppendReserved(benchmark::State& state) {
  const std::vector<unsigned char> piece = pieceBytes();
  for (auto _ : state) {
    mlib::Byte b;
    b.AllocBuffer(kTotal + 2);  // AppendData stays in place while length + n + 1 < capacity
    for (int at = 0; at < kTotal; at += kPiece) b.AppendData(piece.data(), kPiece);
    benchmark::DoNotOptimize(b.GetData());
  }
  state.SetBytesProcessed(state.iterations() * kTotal);
}
BENCHMARK(ByteAppendReserved);

void VectorInsertReserved(benchmark::State& state) {
  const std::vector<unsigned char> piece = pieceBytes();
  for (auto _ : state) {
    std::vector<unsigned char> v;
    v.reserve(kTotal + 2);
    for (int at = 0; at < kTotal; at += kPiece) v.insert(v.end(), piece.begin(), piece.end());
    benchmark::DoNotOptimize(v.data());
  }
  state.SetBytesProcessed(state.iterations() * kTotal);
}
BENCHMARK(VectorInsertReserved);

// The appends alone: the storage is reserved once, then emptied for each round.
void ByteAppendOnly(benchmark::State& state) {
  const std::vector<unsigned char> piece = pieceBytes();
  mlib::Byte b;
  b.AllocBuffer(kTotal + 2);
  for (auto _ : state) {
    b.SetLength(0);
    for (int at = 0; at < kTotal; at += kPiece) b.AppendData(piece.data(), kPiece);
    benchmark::DoNotOptimize(b.GetData());
  }
  state.SetBytesProcessed(state.iterations() * kTotal);
}
BENCHMARK(ByteAppendOnly);

void VectorInsertOnly(benchmark::State& state) {
  const std::vector<unsigned char> piece = pieceBytes();
  std::vector<unsigned char> v;
  v.reserve(kTotal + 2);
  for (auto _ : state) {
    v.clear();
    for (int at = 0; at < kTotal; at += kPiece) v.insert(v.end(), piece.begin(), piece.end());
    benchmark::DoNotOptimize(v.data());
  }
  state.SetBytesProcessed(state.iterations() * kTotal);
}
BENCHMARK(VectorInsertOnly);

// ---- Unreserved single-byte appends: quadratic by design (every one reallocates) ------

void ByteAppendUnreserved(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  for (auto _ : state) {
    mlib::Byte b;
    for (int i = 0; i < count; ++i) b += static_cast<unsigned char>(i);
    benchmark::DoNotOptimize(b.GetData());
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(ByteAppendUnreserved)->RangeMultiplier(4)->Range(1 << 10, 1 << 16)->Complexity();

void VectorPushBackUnreserved(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  for (auto _ : state) {
    std::vector<unsigned char> v;
    for (int i = 0; i < count; ++i) v.push_back(static_cast<unsigned char>(i));
    benchmark::DoNotOptimize(v.data());
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(VectorPushBackUnreserved)->RangeMultiplier(4)->Range(1 << 10, 1 << 16)->Complexity();

// ---- 1 MiB of bytes <-> 2 Mi hexadecimal digits -----------------------------------------

std::vector<unsigned char> megabyte() {
  std::vector<unsigned char> data(kTotal);
  unsigned state = 12345;
  for (auto& byte : data) {
    state = state * 1103515245u + 12345u;
    byte = static_cast<unsigned char>(state >> 16);
  }
  return data;
}

void StringByteDataToHex(benchmark::State& state) {
  const std::vector<unsigned char> data = megabyte();
  for (auto _ : state) {
    mlib::String text;
    text.ByteDataToHexString(data.data(), kTotal, false);
    benchmark::DoNotOptimize(text.toString());
  }
  state.SetBytesProcessed(state.iterations() * kTotal);
}
BENCHMARK(StringByteDataToHex);

// The reference: one table lookup per digit into a wide text of the final size.
void TableLoopBytesToHex(benchmark::State& state) {
  const std::vector<unsigned char> data = megabyte();
  static constexpr char kDigits[] = "0123456789ABCDEF";
  for (auto _ : state) {
    std::basic_string<mlib::WideChar> text(static_cast<std::size_t>(kTotal) * 2, 0);
    for (std::size_t i = 0; i < data.size(); ++i) {
      text[2 * i] = static_cast<mlib::WideChar>(kDigits[data[i] >> 4]);
      text[2 * i + 1] = static_cast<mlib::WideChar>(kDigits[data[i] & 0xF]);
    }
    benchmark::DoNotOptimize(text.data());
  }
  state.SetBytesProcessed(state.iterations() * kTotal);
}
BENCHMARK(TableLoopBytesToHex);

void StringHexToByteData(benchmark::State& state) {
  const std::vector<unsigned char> data = megabyte();
  mlib::String hex;
  hex.ByteDataToHexString(data.data(), kTotal, false);
  for (auto _ : state) {
    mlib::Byte bytes = hex.HexStringToByteData();
    benchmark::DoNotOptimize(bytes.GetData());
  }
  state.SetBytesProcessed(state.iterations() * kTotal);
}
BENCHMARK(StringHexToByteData);

// The reference: a 128-entry digit table, pairs of digits into a byte vector of the text's
// length (the same room HexStringToByteData gives its Byte).
void TableLoopHexToBytes(benchmark::State& state) {
  const std::vector<unsigned char> data = megabyte();
  mlib::String hex;
  hex.ByteDataToHexString(data.data(), kTotal, false);
  const mlib::WideChar* text = hex.toString();
  signed char values[128];
  for (int c = 0; c < 128; ++c) {
    values[c] = static_cast<signed char>(c >= '0' && c <= '9'   ? c - '0'
                                         : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                         : c >= 'a' && c <= 'f' ? c - 'a' + 10
                                                                : -1);
  }
  for (auto _ : state) {
    std::size_t length = 0;
    while (text[length] != 0) ++length;
    std::vector<unsigned char> out(length);
    std::size_t written = 0;
    int pending = -1;
    for (std::size_t i = 0; i < length; ++i) {
      const mlib::WideChar c = text[i];
      const int value = c < 128 ? values[c] : -1;
      if (value < 0) continue;
      if (pending < 0) {
        pending = value;
      } else {
        out[written++] = static_cast<unsigned char>((pending << 4) | value);
        pending = -1;
      }
    }
    if (pending >= 0) out[written++] = static_cast<unsigned char>(pending);
    out.resize(written);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(state.iterations() * kTotal);
}
BENCHMARK(TableLoopHexToBytes);

}  // namespace

BENCHMARK_MAIN();
