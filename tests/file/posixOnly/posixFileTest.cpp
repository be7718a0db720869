// What only a POSIX system lets a test set up: a file size limit (RLIMIT_FSIZE) that makes
// writes fail part way, and a FIFO in place of a file.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <mlib/exceptions.h>
#include <mlib/files.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <future>
#include <string>

#include "file/tempFiles.h"
#include "platform/platform.h"

using mlib::MxAsyncFile;
using mlib::MxFile;
using mlib::platform::lastError;

TEST(PosixFile, DataLostAtTheFileSizeLimitIsReported) {
  // A real short write, where the faults tests inject one: a stream's lost bytes are reported
  // by its Close, an overlapped file's by the callback's count and code.
  mlib::test::TempFolder dir;
  const std::string bytes(1200, 'x');
  MxFile stream;
  MxAsyncFile overlapped;
  static long long written, code;
  ASSERT_TRUE(stream.Open(dir.text("s"), 3) && overlapped.Open(dir.text("o"), 3));
  overlapped.SetCallBackWrite([](MxAsyncFile&, unsigned count, mlib::MxException& error) {
    written = count, code = error.GetCode();
  });
  // Files may not grow past 1000 bytes (SIGXFSZ ignored, so a write past the limit fails with
  // EFBIG) until both are done; nothing is checked or printed meanwhile.
  rlimit saved{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &saved), 0);
  const rlimit small{1000, saved.rlim_max};
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const bool limited = ::setrlimit(RLIMIT_FSIZE, &small) == 0;
  const long long buffered = stream.Write(bytes.data(), 1200);
  mlib::platform::setLastError(0);
  stream.Close();  // its final flush fails: the thread's last error says why
  const long long closeError = lastError();
  const long long result = overlapped.Write(bytes.data(), 1200);
  const long long writeError = lastError();
  ::setrlimit(RLIMIT_FSIZE, &saved);
  std::signal(SIGXFSZ, handler);
  ASSERT_TRUE(limited);
  EXPECT_EQ(buffered, 1200) << "a stream's Write only buffers";
  EXPECT_EQ(closeError, EFBIG) << "last error after Close";
  EXPECT_EQ(dir.get("s").size(), 1000u);
  EXPECT_EQ(result, 1) << "the overlapped Write, accepted";
  EXPECT_EQ(written, 1000) << "bytes reported";
  EXPECT_EQ(code, EFBIG) << "code reported";
  EXPECT_EQ(writeError, 0) << "last error after the overlapped Write";
  EXPECT_EQ(dir.get("o").size(), 1000u);
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
