// What only a POSIX system lets a test set up: a FIFO in place of a file, and a file size
// limit (RLIMIT_FSIZE) that makes writes fail part way. Each limited run happens in a child
// process, so the limit never reaches the test program's own output.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <mlib/exceptions.h>
#include <mlib/files.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <future>
#include <string>
#include <thread>

#include "file/tempFiles.h"
#include "platform/platform.h"

using mlib::MxAsyncFile;
using mlib::MxException;
using mlib::MxFile;
using mlib::test::TempFolder;
using mlib::test::writeFile;

namespace {

constexpr const char kDigits[] = "0123456789";

// The numbers a child process reports back to the test.
using Outcome = std::array<long long, 6>;

// Runs `body` in a child process whose files may not grow past `limit` bytes (SIGXFSZ
// ignored, so a write past the limit fails with EFBIG instead of killing the process) and
// returns what it reported.
template <typename Body>
Outcome underFileSizeLimit(rlim_t limit, Body body) {
  int channel[2];
  if (::pipe(channel) != 0) {
    ADD_FAILURE() << "pipe: " << errno;
    return {};
  }
  const pid_t child = ::fork();
  if (child == 0) {
    ::close(channel[0]);
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{limit, limit};
    const Outcome outcome =
        ::setrlimit(RLIMIT_FSIZE, &small) == 0 ? body() : Outcome{-1, -1, -1, -1, -1, -1};
    const ssize_t sent = ::write(channel[1], &outcome, sizeof outcome);
    ::_exit(sent == static_cast<ssize_t>(sizeof outcome) ? 0 : 1);
  }
  ::close(channel[1]);
  Outcome outcome{};
  ssize_t got = 0;
  if (child > 0) {
    do {
      got = ::read(channel[0], &outcome, sizeof outcome);
    } while (got < 0 && errno == EINTR);
  }
  ::close(channel[0]);
  int status = 0;
  EXPECT_GT(child, 0) << "fork";
  if (child > 0) {
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the child failed";
  }
  EXPECT_EQ(got, static_cast<ssize_t>(sizeof outcome));
  return outcome;
}

long long sizeOf(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 ? static_cast<long long>(status.st_size) : -1;
}

unsigned gWrittenBytes;
int gWriteCode;
void onWrite(MxAsyncFile& /*file*/, unsigned bytes, MxException& error) {
  gWrittenBytes = bytes;
  gWriteCode = error.GetCode();
}

}  // namespace

TEST(PosixFile, BufferedDataLostAtTheLimitIsReported) {
  TempFolder dir;
  const std::string path = dir.path("limited");
  const std::string bytes(1200, 'x');

  // Close's final flush fails: the thread's last error says why.
  const Outcome closed = underFileSizeLimit(1000, [&] {
    MxFile file;
    if (!file.Open(dir.text("limited"), 3)) return Outcome{-2};
    const long long written = file.Write(bytes.data(), 1200);
    mlib::platform::setLastError(0);
    file.Close();
    return Outcome{written, mlib::platform::lastError(), sizeOf(path)};
  });
  EXPECT_EQ(closed[0], 1200) << "the stream takes everything into its buffer";
  EXPECT_EQ(closed[1], EFBIG) << "Close lost data without a word";
  EXPECT_EQ(closed[2], 1000);

  // Flush and Seek report the failed flush through their results.
  const Outcome flushed = underFileSizeLimit(1000, [&] {
    MxFile file;
    if (!file.Open(dir.text("limited"), 3)) return Outcome{-2};
    file.Write(bytes.data(), 1200);
    const bool flushOk = file.Flush();
    const int flushError = mlib::platform::lastError();
    MxFile other;
    if (!other.Open(dir.text("other"), 3)) return Outcome{-2};
    other.Write(bytes.data(), 1200);
    const bool seekOk = other.Seek(0);
    return Outcome{flushOk, flushError, seekOk};
  });
  EXPECT_EQ(flushed[0], 0) << "Flush";
  EXPECT_EQ(flushed[1], EFBIG);
  EXPECT_EQ(flushed[2], 0) << "Seek, which flushes first";

  // The overlapped file hands the count written and the code to its callback; the last error
  // is left as the request left it.
  const Outcome overlapped = underFileSizeLimit(1000, [&] {
    MxAsyncFile file;
    if (!file.Open(dir.text("limited"), 3)) return Outcome{-2};
    file.SetCallBackWrite(&onWrite);
    gWrittenBytes = 0;
    gWriteCode = -1;
    const long long result = file.Write(bytes.data(), 1200);
    const int lastError = mlib::platform::lastError();
    file.Close();
    return Outcome{result, gWrittenBytes, gWriteCode, lastError, sizeOf(path)};
  });
  EXPECT_EQ(overlapped[0], 1);
  EXPECT_EQ(overlapped[1], 1000);
  EXPECT_EQ(overlapped[2], EFBIG);
  EXPECT_EQ(overlapped[3], 0) << "the completion's code leaked out of Write";
  EXPECT_EQ(overlapped[4], 1000);
}

TEST(PosixFile, FifoIsRefusedWithoutBlockingOtherFiles) {
  TempFolder dir;
  writeFile(dir.path("ten"), kDigits);
  const std::string fifo = dir.path("fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  for (int mode : {0, 1, 2, 3, 4}) {
    SCOPED_TRACE("mode " + std::to_string(mode));
    // With nobody at the other end, opening a FIFO for reading or for writing alone blocks.
    // The opener runs on a thread of its own, and a second thread reads another file
    // meanwhile; neither may stay stuck.
    std::promise<std::pair<bool, int>> opened;
    std::promise<unsigned> read;
    std::thread opener([&] {
      MxAsyncFile file;
      const bool ok = file.Open(dir.text("fifo"), mode);
      opened.set_value({ok, mlib::platform::lastError()});
    });
    std::thread reader([&] {
      MxAsyncFile file;
      char buffer[4];
      read.set_value(file.Open(dir.text("ten"), 0) ? file.Read(buffer, 4) : 0u);
    });
    auto openResult = opened.get_future();
    auto readResult = read.get_future();
    // A guard against hanging, not a measurement: a blocked open is released by opening the
    // other end, so the threads can be joined and the failure reported.
    const auto guard = std::chrono::seconds(20);
    const bool openReturned = openResult.wait_for(guard) == std::future_status::ready;
    const bool readReturned = readResult.wait_for(guard) == std::future_status::ready;
    int release = -1;
    if (!openReturned || !readReturned) release = ::open(fifo.c_str(), O_RDWR | O_NONBLOCK);
    opener.join();
    reader.join();
    if (release >= 0) ::close(release);
    EXPECT_TRUE(openReturned) << "Open blocked on the FIFO";
    EXPECT_TRUE(readReturned) << "a read of another file waited for the FIFO's open";
    const std::pair<bool, int> outcome = openResult.get();
    EXPECT_FALSE(outcome.first) << "a FIFO is no file to read and write at positions";
    EXPECT_EQ(outcome.second, ESPIPE);
    EXPECT_EQ(readResult.get(), 1u);
  }
}
