// The files, the port probe and the executable's folder when the system calls under them
// fail, one call at a time, with the errors those calls really give. After each fault the
// faults are switched off and the file is read back: every byte a call reported written is
// there, no call reported bytes it did not write, and both the same object and another one
// work again. libfiu fails the C library's calls; the few it does not cover (readlink, lseek,
// fstat) are interposed here the same way.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <mlib/exceptions.h>
#include <mlib/files.h>
#include <mlib/net.h>
#include <mlib/text.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "faults/faults.h"
#include "file/tempFiles.h"

#define MLIB_INTERPOSE(result, name, params, args)                                        \
  extern "C" result name params noexcept {                                                \
    static const auto real = reinterpret_cast<result(*) params>(dlsym(RTLD_NEXT, #name)); \
    if (fiu_fail("mlib/" #name)) {                                                        \
      errno = static_cast<int>(reinterpret_cast<std::intptr_t>(fiu_failinfo()));          \
      return -1;                                                                          \
    }                                                                                     \
    return real args;                                                                     \
  }
MLIB_INTERPOSE(ssize_t, readlink, (const char* p, char* b, size_t n), (p, b, n))
MLIB_INTERPOSE(off_t, lseek, (int fd, off_t offset, int whence), (fd, offset, whence))
MLIB_INTERPOSE(int, fstat, (int fd, struct stat* st), (fd, st))
MLIB_INTERPOSE(int, stat, (const char* p, struct stat* st), (p, st))
MLIB_INTERPOSE(int, fcntl, (int fd, int command, long arg), (fd, command, arg))

namespace {

using mlib::Byte;
using mlib::MxAsyncFile;
using mlib::MxFile;
using mlib::test::Fault;

const std::string kOriginal = "0123456789";
const std::string kData = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr int kRetryBound = 1000;  // no retry loop may make more calls than this

struct Completion {
  int calls;
  unsigned bytes;
  int code;
} gDone;

void record(MxAsyncFile&, unsigned bytes, mlib::MxException& e) {
  gDone = {gDone.calls + 1, bytes, e.GetCode()};
}

// Ops: 'o' Open(2), 't' Open(3) (truncating), 'r' Read 10 bytes, 'b' Read(Byte&), 'w' Write
// kData, 'f' / 'c' Flush / Close after a Write of kData, 'l' GetLength, 's' Seek(4), 'd' the
// length of a copy (MxAsyncFileWin's copy duplicates the handle).
struct IoRow {
  char op;
  std::vector<Fault> faults;  // nth 0: every call fails (a storm)
  long result;                // what the call returned
  int error;                  // errno right after it; -1: not checked
  int code = -1;              // overlapped file: the callback's code; -1: no callback
};

void runRows(MxFile& file, const std::vector<IoRow>& rows) {
  auto* const async = dynamic_cast<MxAsyncFile*>(&file);
  for (const IoRow& row : rows) {
    SCOPED_TRACE(std::string(1, row.op) + " " + row.faults.back().point + " " +
                 std::to_string(row.faults.back().error));
    mlib::test::TempFolder folder;
    folder.put("f", kOriginal);
    if (row.op != 'o' && row.op != 't') {
      ASSERT_TRUE(file.Open(folder.text("f"), 2));
    }
    if (async != nullptr) {
      async->SetCallBackRead(record);
      async->SetCallBackWrite(record);
    }
    if (row.op == 'f' || row.op == 'c') {
      ASSERT_NE(file.Write(kData.data(), 26), 0u);
    }
    gDone = {0, 0, -1};
    char buffer[16] = {};
    Byte whole;
    const mlib::String name = folder.text("f");
    mlib::test::arm(row.faults);
    errno = 0;
    const long result = [&]() -> long {
      if (row.op == 'o' || row.op == 't') return file.Open(name, row.op == 'o' ? 2 : 3);
      if (row.op == 'r') return file.Read(buffer, 10);
      if (row.op == 'b') return file.Read(whole);
      if (row.op == 'w') return file.Write(kData.data(), 26);
      if (row.op == 'f') return file.Flush();
      if (row.op == 'c') return file.Close(), 0;
      if (row.op == 'l') return file.GetLength();
      if (row.op == 's') return file.Seek(4);
      return mlib::MxAsyncFileWin(*async).GetLength();
    }();
    const int error = errno;
    EXPECT_LE(mlib::test::disarm(), kRetryBound);
    EXPECT_EQ(result, row.result);
    if (row.error >= 0) {
      EXPECT_EQ(error, row.error);
    }
    if ((row.op == 'o' || row.op == 't') && result == 0) {  // closed
      EXPECT_EQ(file.GetLength(), async != nullptr ? 0xFFFFFFFFu : 0u);
    }
    EXPECT_EQ(gDone.calls, row.code >= 0 ? 1 : 0);
    EXPECT_EQ(gDone.code, row.code);
    // What a read reported is what the file holds.
    const unsigned got = async != nullptr ? gDone.bytes : static_cast<unsigned>(result);
    if (row.op == 'r') {
      EXPECT_EQ(std::string(buffer, got), kOriginal.substr(0, got));
    }
    const std::string wholeText(reinterpret_cast<const char*>(whole.GetData()),
                                static_cast<std::size_t>(whole.GetLength()));
    EXPECT_EQ(wholeText, kOriginal.substr(0, row.op == 'b' ? result : 0));
    // What a write reported is there, and no more; data goes missing only with a failure
    // reported (a failed fclose, as injected, writes nothing).
    file.Close();
    std::string expected = kOriginal;
    if (row.op == 'w') expected.replace(0, std::min(got, 10u), kData, 0, got);
    if (row.op == 'f' || row.op == 'c') expected = kData;
    const std::string now = folder.get("f");
    if (now != kOriginal || row.error <= 0) {
      EXPECT_EQ(now, expected);
    }
    // The same object and another one work again: no stale handle refuses a writer.
    ASSERT_TRUE(file.Open(folder.text("f"), 2));
    EXPECT_EQ(file.GetLength(), now.size());
    file.Close();
    EXPECT_TRUE(MxAsyncFile().Open(folder.text("f"), 2));
  }
}

constexpr const char* kOpen = "posix/io/oc/open";
constexpr const char* kTruncate = "posix/io/rw/ftruncate";

}  // namespace

TEST(IoFaults, BufferedFileReportsEveryFailedCall) {
  MxFile file;
  runRows(file, {
                    {'o', {{kOpen, ENOENT, 1}}, 0, ENOENT},
                    {'o', {{kOpen, EACCES, 1}}, 0, EACCES},
                    {'o', {{kOpen, EMFILE, 1}}, 0, EMFILE},
                    {'o', {{kOpen, EINTR, 1}}, 1, -1},
                    {'o', {{kOpen, EINTR, 0}}, 0, EINTR},
                    {'o', {{"mlib/fstat", EIO, 1}}, 0, EIO},
                    {'o', {{"posix/stdio/oc/fdopen", EMFILE, 1}}, 0, EMFILE},
                    {'t', {{kTruncate, EIO, 1}}, 0, EIO},
                    {'r', {{"posix/stdio/seek/fseek", EIO, 1}}, 0, EIO},
                    {'r', {{"posix/stdio/rw/fread", EIO, 1}}, 0, EIO},
                    {'b', {{"posix/stdio/rw/fread", EIO, 1}}, 0, EIO},
                    {'l', {{"posix/stdio/seek/ftell", EIO, 1}}, 0, EIO},
                    {'s', {{"posix/stdio/seek/fseek", EIO, 1}}, 0, EIO},
                    {'w', {{"posix/stdio/rw/fwrite", ENOSPC, 1}}, 0, ENOSPC},
                    {'f', {{"posix/stdio/fflush", ENOSPC, 1}}, 0, ENOSPC},
                    {'f', {{"posix/stdio/fflush", EIO, 1}}, 0, EIO},
                    {'c', {{"posix/stdio/oc/fclose", EIO, 1}}, 0, EIO},
                });
}

TEST(IoFaults, OverlappedFileReportsEveryFailedCall) {
  const Fault shortRead{"posix/io/rw/pread/reduce", 0, 1};    // 3 bytes of 10
  const Fault shortWrite{"posix/io/rw/pwrite/reduce", 0, 1};  // 1 byte of 26
  const char* const pread = "posix/io/rw/pread";
  const char* const pwrite = "posix/io/rw/pwrite";
  const char* const fsync = "posix/io/sync/fsync";
  MxAsyncFile file;
  runRows(file, {
                    {'o', {{kOpen, ENOENT, 1}}, 0, ENOENT},
                    {'o', {{kOpen, EACCES, 1}}, 0, EACCES},
                    {'o', {{kOpen, EMFILE, 1}}, 0, EMFILE},
                    {'o', {{kOpen, EINTR, 0}}, 0, EINTR},
                    {'o', {{"mlib/fstat", EIO, 1}}, 0, EIO},
                    {'t', {{kTruncate, EIO, 1}}, 0, EIO},
                    {'r', {{pread, EIO, 1}}, 0, EIO},
                    {'r', {{pread, EINTR, 1}}, 1, 0, 0},
                    {'r', {{pread, EINTR, 0}}, 0, EINTR},
                    {'r', {shortRead}, 1, 0, 0},
                    {'r', {shortRead, {pread, EIO, 2}}, 1, 0, EIO},
                    {'b', {{pread, EIO, 1}}, 0, EIO},
                    {'b', {shortRead}, 10, 0, 0},
                    {'l', {{"mlib/lseek", EIO, 1}}, 0xFFFFFFFFL, EIO},
                    {'b', {{"mlib/lseek", EIO, 1}}, 0, EIO},
                    {'s', {{"mlib/lseek", EIO, 1}}, 1, EIO},  // compared with 0xFFFFFFFF
                    {'d', {{"mlib/fcntl", EMFILE, 1}}, 0xFFFFFFFFL, EMFILE},
                    {'o', {{"mlib/stat", EACCES, 1}}, 1, 0},  // only a hint: the open decides
                    {'w', {{pwrite, ENOSPC, 1}}, 0, ENOSPC},
                    {'w', {{pwrite, EIO, 1}}, 0, EIO},
                    {'w', {{pwrite, EINTR, 1}}, 1, 0, 0},
                    {'w', {{pwrite, EINTR, 0}}, 0, EINTR},
                    {'w', {shortWrite}, 1, 0, 0},
                    {'w', {shortWrite, {pwrite, ENOSPC, 2}}, 1, 0, ENOSPC},
                    {'f', {{fsync, EIO, 1}}, 0, EIO},
                    {'f', {{fsync, ENOSPC, 1}}, 0, ENOSPC},
                    {'f', {{fsync, EINTR, 0}}, 0, EINTR},
                    {'c', {{"posix/io/oc/close", EIO, 1}}, 0, EIO},
                });
}

TEST(IoFaults, PortProbeCountsEveryFailedCallAsTaken) {
  struct Row {
    Fault fault;
    int result;
    int error;
  };
  const Row rows[] = {
      {{"posix/io/net/socket", EMFILE, 1}, 1, EMFILE},
      {{"posix/io/net/socket", EACCES, 1}, 1, EACCES},
      {{"posix/io/net/socket", EAGAIN, 1}, 1, EAGAIN},
      {{"posix/io/net/bind", EADDRINUSE, 1}, 1, EADDRINUSE},
      {{"posix/io/net/bind", ECONNREFUSED, 1}, 1, ECONNREFUSED},
      {{"posix/io/net/bind", EAGAIN, 1}, 1, EAGAIN},
      {{"posix/io/net/shutdown", ENOTCONN, 1}, 0, 0},  // the clean-up's results are ignored
      {{"posix/io/oc/close", EIO, 1}, 0, 0},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.fault.point) + " " + std::to_string(row.fault.error));
    mlib::test::arm({row.fault});
    errno = 0;
    const int result = Net_IsPortBind(0);  // port 0 always binds when nothing fails
    const int error = errno;
    EXPECT_EQ(mlib::test::disarm(), 1);
    EXPECT_EQ(result, row.result);
    EXPECT_EQ(error, row.error);
    EXPECT_EQ(Net_IsPortBind(0), 0);
  }
}

TEST(IoFaults, ExecutableFolderIsEmptyWhenThePathCannotBeRead) {
  for (const int code : {ENOENT, EACCES, ENAMETOOLONG, EIO}) {
    SCOPED_TRACE(code);
    mlib::WideChar folder[512] = {u'x'};
    mlib::test::arm({{"mlib/readlink", code, 1}});
    errno = 0;
    EXPECT_EQ(GetCurrentPath(folder, 512), folder);
    const int error = errno;
    EXPECT_EQ(mlib::test::disarm(), 1);
    EXPECT_EQ(folder[0], 0);
    EXPECT_EQ(error, code);
    EXPECT_EQ(GetCurrentPath(folder, 512)[0], u'/');
  }
}
