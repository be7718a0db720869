// What only a POSIX system lets a test set up: a file size limit (RLIMIT_FSIZE) that makes
// writes fail part way, and a FIFO in place of a file. The limited run happens in a child
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
#include <csignal>
#include <future>
#include <string>
#include <thread>

#include "file/tempFiles.h"
#include "platform/platform.h"

using mlib::MxAsyncFile;
using mlib::MxFile;
using mlib::platform::lastError;

namespace {

unsigned gWrittenBytes;
int gWriteCode;

long long sizeOf(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 ? static_cast<long long>(status.st_size) : -1;
}

}  // namespace

TEST(PosixFile, DataLostAtTheFileSizeLimitIsReported) {
  mlib::test::TempFolder dir;
  const std::string bytes(1200, 'x');
  using Outcome = std::array<long long, 11>;
  // In a child whose files may not grow past 1000 bytes (SIGXFSZ ignored, so a write past
  // the limit fails with EFBIG): what each kind of file reports.
  const auto limited = [&]() -> Outcome {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{1000, 1000};
    MxFile closed, flushed, sought;
    MxAsyncFile overlapped;
    if (::setrlimit(RLIMIT_FSIZE, &small) != 0 || !closed.Open(dir.text("closed"), 3) ||
        !flushed.Open(dir.text("flushed"), 3) || !sought.Open(dir.text("sought"), 3) ||
        !overlapped.Open(dir.text("overlapped"), 3)) {
      return {-1};
    }
    const long long written = closed.Write(bytes.data(), 1200);
    mlib::platform::setLastError(0);
    closed.Close();  // its final flush fails: the thread's last error says why
    const long long closeError = lastError();
    flushed.Write(bytes.data(), 1200);
    const bool flushOk = flushed.Flush();
    const long long flushError = lastError();
    sought.Write(bytes.data(), 1200);
    const bool seekOk = sought.Seek(0);  // flushes first
    overlapped.SetCallBackWrite([](MxAsyncFile&, unsigned count, mlib::MxException& error) {
      gWrittenBytes = count;
      gWriteCode = error.GetCode();
    });
    const long long result = overlapped.Write(bytes.data(), 1200);
    return {written,
            closeError,
            sizeOf(dir.path("closed")),
            flushOk,
            flushError,
            seekOk,
            result,
            gWrittenBytes,
            gWriteCode,
            lastError(),
            sizeOf(dir.path("overlapped"))};
  };
  int channel[2];
  ASSERT_EQ(::pipe(channel), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    const Outcome outcome = limited();
    ::_exit(::write(channel[1], &outcome, sizeof outcome) == sizeof outcome ? 0 : 1);
  }
  ::close(channel[1]);
  Outcome got{};
  ssize_t read;
  do {
    read = ::read(channel[0], &got, sizeof got);
  } while (read < 0 && errno == EINTR);
  ::close(channel[0]);
  int status = 0;
  ASSERT_GT(child, 0);
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0 && read == sizeof got);
  const Outcome expected = {1200, EFBIG, 1000, false, EFBIG, false, 1, 1000, EFBIG, 0, 1000};
  const char* const names[] = {
      "stream Write (buffered)", "last error after Close",  "size after Close", "Flush",
      "last error after Flush",  "Seek after a lost write", "overlapped Write", "bytes reported",
      "code reported",           "last error after Write",  "size after Write"};
  for (std::size_t i = 0; i < got.size(); ++i) EXPECT_EQ(got[i], expected[i]) << names[i];
}

TEST(PosixFile, FifoIsRefusedWithoutBlockingOtherFiles) {
  mlib::test::TempFolder dir;
  const std::string fifo = dir.path("fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const mlib::String ten = dir.put("ten");
  for (int mode : {0, 1, 2, 3, 4}) {
    SCOPED_TRACE("mode " + std::to_string(mode));
    // With nobody at the other end, opening a FIFO for reading or for writing alone blocks.
    // The opener runs on a thread of its own, and a second thread reads another file
    // meanwhile; neither may stay stuck.
    auto opened = std::async(std::launch::async, [&] {
      MxAsyncFile file;
      const bool ok = file.Open(dir.text("fifo"), mode);
      return std::make_pair(ok, lastError());
    });
    auto read = std::async(std::launch::async, [&] {
      MxAsyncFile file;
      char buffer[4];
      return file.Open(ten, 0) ? file.Read(buffer, 4) : 0u;
    });
    // A guard against hanging, not a measurement: a blocked open is released by opening the
    // other end, so the threads can be joined and the failure reported.
    const auto guard = std::chrono::seconds(20);
    const bool returned = opened.wait_for(guard) == std::future_status::ready &&
                          read.wait_for(guard) == std::future_status::ready;
    const int release = returned ? -1 : ::open(fifo.c_str(), O_RDWR | O_NONBLOCK);
    EXPECT_TRUE(returned) << "Open blocked on the FIFO, or a read of another file waited";
    EXPECT_EQ(opened.get(), std::make_pair(false, ESPIPE)) << "a FIFO has no positions";
    EXPECT_EQ(read.get(), 1u);
    if (release >= 0) ::close(release);
  }
}
