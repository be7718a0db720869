// The overlapped file against the system calls it stands on, and the whole-file read against
// the standard library's streams, on one 64 MiB file in the page cache:
//   64 KiB requests through MxAsyncFile (Seek + Read / Write) vs pread / pwrite;
//   MxAsyncFile::Read(Byte&) of the whole file vs std::ifstream into a std::vector.
// The alternatives call the C library and the system directly, as a host would without mlib.
//
// Run: mlib_file_bench --benchmark_repetitions=5 --benchmark_enable_random_interleaving=true
// (interleaving keeps page-cache state from favouring whichever write runs second). After the
// table it prints each pair's ratio, mlib time over the alternative's, wall and CPU.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <mlib/byte.h>
#include <mlib/files.h>
#include <mlib/string.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace {

constexpr unsigned kFileBytes = 64u << 20;     // 64 MiB
constexpr unsigned kRequestBytes = 64u << 10;  // 64 KiB

const std::string& benchFile() {
  static const std::string path = [] {
    const std::string name =
        (std::filesystem::temp_directory_path() / ("mlib-file-bench-" + std::to_string(getpid())))
            .string();
    std::vector<char> bytes(kFileBytes);
    for (unsigned i = 0; i < kFileBytes; ++i) bytes[i] = static_cast<char>(i * 31u);
    std::ofstream(name, std::ios::binary).write(bytes.data(), kFileBytes);
    return name;
  }();
  return path;
}

void removeBenchFile() { std::filesystem::remove(benchFile()); }

// ---- 64 MiB read in 64 KiB requests --------------------------------------------------

void AsyncFileRead64K(benchmark::State& state) {
  mlib::MxAsyncFile file;
  if (!file.Open(mlib::String(benchFile().c_str()), 0)) state.SkipWithError("open failed");
  std::vector<char> buffer(kRequestBytes);
  for (auto _ : state) {
    for (unsigned at = 0; at < kFileBytes; at += kRequestBytes) {
      file.Seek(at);
      benchmark::DoNotOptimize(file.Read(buffer.data(), kRequestBytes));
    }
  }
  state.SetBytesProcessed(static_cast<long long>(state.iterations()) * kFileBytes);
}
BENCHMARK(AsyncFileRead64K)->Unit(benchmark::kMillisecond);

void PreadRead64K(benchmark::State& state) {
  const int fd = ::open(benchFile().c_str(), O_RDONLY);
  std::vector<char> buffer(kRequestBytes);
  for (auto _ : state) {
    for (unsigned at = 0; at < kFileBytes; at += kRequestBytes) {
      benchmark::DoNotOptimize(::pread(fd, buffer.data(), kRequestBytes, at));
    }
  }
  ::close(fd);
  state.SetBytesProcessed(static_cast<long long>(state.iterations()) * kFileBytes);
}
BENCHMARK(PreadRead64K)->Unit(benchmark::kMillisecond);

// ---- 64 MiB written in place in 64 KiB requests --------------------------------------

void AsyncFileWrite64K(benchmark::State& state) {
  mlib::MxAsyncFile file;
  if (!file.Open(mlib::String(benchFile().c_str()), 2)) state.SkipWithError("open failed");
  const std::vector<char> buffer(kRequestBytes, 'w');
  for (auto _ : state) {
    for (unsigned at = 0; at < kFileBytes; at += kRequestBytes) {
      file.Seek(at);
      benchmark::DoNotOptimize(file.Write(buffer.data(), kRequestBytes));
    }
  }
  state.SetBytesProcessed(static_cast<long long>(state.iterations()) * kFileBytes);
}
BENCHMARK(AsyncFileWrite64K)->Unit(benchmark::kMillisecond);

void PwriteWrite64K(benchmark::State& state) {
  const int fd = ::open(benchFile().c_str(), O_RDWR);
  const std::vector<char> buffer(kRequestBytes, 'w');
  for (auto _ : state) {
    for (unsigned at = 0; at < kFileBytes; at += kRequestBytes) {
      benchmark::DoNotOptimize(::pwrite(fd, buffer.data(), kRequestBytes, at));
    }
  }
  ::close(fd);
  state.SetBytesProcessed(static_cast<long long>(state.iterations()) * kFileBytes);
}
BENCHMARK(PwriteWrite64K)->Unit(benchmark::kMillisecond);

// ---- The whole 64 MiB file into memory -----------------------------------------------

void AsyncFileWholeRead(benchmark::State& state) {
  mlib::MxAsyncFile file;
  if (!file.Open(mlib::String(benchFile().c_str()), 0)) state.SkipWithError("open failed");
  for (auto _ : state) {
    mlib::Byte content;
    benchmark::DoNotOptimize(file.Read(content));
    benchmark::DoNotOptimize(content.GetData());
  }
  state.SetBytesProcessed(static_cast<long long>(state.iterations()) * kFileBytes);
}
BENCHMARK(AsyncFileWholeRead)->Unit(benchmark::kMillisecond);

void IfstreamWholeRead(benchmark::State& state) {
  for (auto _ : state) {
    std::ifstream in(benchFile(), std::ios::binary);
    in.seekg(0, std::ios::end);
    std::vector<char> content(static_cast<std::size_t>(in.tellg()));
    in.seekg(0);
    in.read(content.data(), static_cast<std::streamsize>(content.size()));
    benchmark::DoNotOptimize(content.data());
  }
  state.SetBytesProcessed(static_cast<long long>(state.iterations()) * kFileBytes);
}
BENCHMARK(IfstreamWholeRead)->Unit(benchmark::kMillisecond);

// Keeps each benchmark's wall and CPU time per iteration (the median when repetitions are
// asked for) for the ratios printed at the end.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.error_occurred) continue;
      const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
      if (run.run_type == Run::RT_Iteration || median) {
        times_[run.run_name.str()] = {run.GetAdjustedRealTime(), run.GetAdjustedCPUTime()};
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }
  void printRatio(const char* mlibName, const char* otherName) const {
    const auto mine = times_.find(mlibName);
    const auto other = times_.find(otherName);
    if (mine == times_.end() || other == times_.end()) return;
    std::printf("%-20s / %-20s  wall %.3f  cpu %.3f\n", mlibName, otherName,
                mine->second.wall / other->second.wall, mine->second.cpu / other->second.cpu);
  }

 private:
  struct Times {
    double wall;
    double cpu;
  };
  std::map<std::string, Times> times_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("\nratios (1.0 = as fast as the alternative)\n");
  reporter.printRatio("AsyncFileRead64K", "PreadRead64K");
  reporter.printRatio("AsyncFileWrite64K", "PwriteWrite64K");
  reporter.printRatio("AsyncFileWholeRead", "IfstreamWholeRead");
  removeBenchFile();
  benchmark::Shutdown();
  return 0;
}
