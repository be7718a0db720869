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
// kData, 'f' / 'c' Flush / Close after a Write of kData, 'l' GetLength.
struct IoRow {
  const char* name;
  std::vector<Fault> faults;
  char op;
  long result;        // what the call returned
  int error;          // errno right after it; -1: not checked
  int code;           // overlapped file: the callback's code, -1 for no callback
  const char* after;  // the file afterwards; null: kData up to what was reported written
};

void runRows(MxFile& file, bool async, const std::vector<IoRow>& rows) {
  for (const IoRow& row : rows) {
    SCOPED_TRACE(row.name);
    mlib::test::TempFolder folder;
    const std::string path = folder.path("f");
    mlib::test::writeFile(path, kOriginal);
    if (row.op != 'o' && row.op != 't') {
      ASSERT_TRUE(file.Open(folder.text("f"), 2));
    }
    if (auto* overlapped = dynamic_cast<MxAsyncFile*>(&file)) {
      overlapped->SetCallBackRead(record);
      overlapped->SetCallBackWrite(record);
    }
    if (row.op == 'f' || row.op == 'c') {
      ASSERT_NE(file.Write(kData.data(), 26), 0u);
    }
    gDone = {0, 0, -1};
    char buffer[16] = {};
    Byte whole;
    mlib::test::arm(row.faults);
    errno = 0;
    long result = 0;
    switch (row.op) {
      case 'o':
        result = file.Open(folder.text("f"), 2);
        break;
      case 't':
        result = file.Open(folder.text("f"), 3);
        break;
      case 'r':
        result = file.Read(buffer, 10);
        break;
      case 'b':
        result = file.Read(whole);
        break;
      case 'w':
        result = file.Write(kData.data(), 26);
        break;
      case 'f':
        result = file.Flush();
        break;
      case 'c':
        file.Close();
        break;
      case 'l':
        result = file.GetLength();
        break;
    }
    const int error = errno;
    const int calls = mlib::test::disarm();
    EXPECT_EQ(result, row.result);
    if (row.error >= 0) {
      EXPECT_EQ(error, row.error);
    }
    EXPECT_LE(calls, kRetryBound);
    EXPECT_EQ(gDone.calls, async && row.code >= 0 ? 1 : 0);
    if (async && row.code >= 0) {
      EXPECT_EQ(gDone.code, row.code);
    }
    // What a read reported is what the file holds.
    const unsigned got = async ? gDone.bytes : static_cast<unsigned>(result);
    if (row.op == 'r') {
      EXPECT_EQ(std::string(buffer, got), kOriginal.substr(0, got));
    }
    if (row.op == 'b') {
      EXPECT_EQ(whole.GetLength(), result);
    }
    if (whole.GetLength() > 0) {
      EXPECT_EQ(std::string(reinterpret_cast<const char*>(whole.GetData()), whole.GetLength()),
                kOriginal.substr(0, whole.GetLength()));
    }
    // What a write reported is there, and nothing more.
    file.Close();
    std::string expected = row.after != nullptr ? row.after : kOriginal;
    if (row.after == nullptr) expected.replace(0, std::min<std::size_t>(got, 10), kData, 0, got);
    EXPECT_EQ(mlib::test::readFile(path), expected);
    // The same object and another one work again: no stale handle refuses a writer.
    ASSERT_TRUE(file.Open(folder.text("f"), 2));
    EXPECT_EQ(file.GetLength(), expected.size());
    file.Close();
    MxAsyncFile other;
    EXPECT_TRUE(other.Open(folder.text("f"), 2));
  }
}

}  // namespace

TEST(IoFaults, BufferedFileReportsEveryFailedCall) {
  const char* const w = nullptr;  // the file holds what the write reported
  MxFile file;
  runRows(
      file, false,
      {
          {"open ENOENT", {{"posix/io/oc/open", ENOENT, 1}}, 'o', 0, ENOENT, -1, "0123456789"},
          {"open EACCES", {{"posix/io/oc/open", EACCES, 1}}, 'o', 0, EACCES, -1, "0123456789"},
          {"open EMFILE", {{"posix/io/oc/open", EMFILE, 1}}, 'o', 0, EMFILE, -1, "0123456789"},
          {"open EINTR", {{"posix/io/oc/open", EINTR, 1}}, 'o', 1, -1, -1, "0123456789"},
          {"open EINTR storm", {{"posix/io/oc/open", EINTR, 0}}, 'o', 0, EINTR, -1, "0123456789"},
          {"fstat EIO", {{"mlib/fstat", EIO, 1}}, 'o', 0, EIO, -1, "0123456789"},
          {"fdopen EMFILE",
           {{"posix/stdio/oc/fdopen", EMFILE, 1}},
           'o',
           0,
           EMFILE,
           -1,
           "0123456789"},
          {"ftruncate EIO", {{"posix/io/rw/ftruncate", EIO, 1}}, 't', 0, EIO, -1, "0123456789"},
          {"fseek EIO", {{"posix/stdio/seek/fseek", EIO, 1}}, 'r', 0, EIO, -1, "0123456789"},
          {"fread EIO", {{"posix/stdio/rw/fread", EIO, 1}}, 'r', 0, EIO, -1, "0123456789"},
          {"fread EIO, whole", {{"posix/stdio/rw/fread", EIO, 1}}, 'b', 0, EIO, -1, "0123456789"},
          {"ftell EIO", {{"posix/stdio/seek/ftell", EIO, 1}}, 'l', 0, EIO, -1, "0123456789"},
          {"fwrite ENOSPC", {{"posix/stdio/rw/fwrite", ENOSPC, 1}}, 'w', 0, ENOSPC, -1, w},
          {"fflush ENOSPC", {{"posix/stdio/fflush", ENOSPC, 1}}, 'f', 0, ENOSPC, -1, kData.c_str()},
          {"fflush EIO", {{"posix/stdio/fflush", EIO, 1}}, 'f', 0, EIO, -1, kData.c_str()},
          // The injected fclose fails before the stream writes or closes anything.
          {"fclose EIO", {{"posix/stdio/oc/fclose", EIO, 1}}, 'c', 0, EIO, -1, "0123456789"},
      });
}

TEST(IoFaults, OverlappedFileReportsEveryFailedCall) {
  const char* const w = nullptr;
  const Fault shortRead{"posix/io/rw/pread/reduce", 0, 1};
  const Fault shortWrite{"posix/io/rw/pwrite/reduce", 0, 1};
  MxAsyncFile file;
  runRows(
      file, true,
      {
          {"open ENOENT", {{"posix/io/oc/open", ENOENT, 1}}, 'o', 0, ENOENT, -1, "0123456789"},
          {"open EACCES", {{"posix/io/oc/open", EACCES, 1}}, 'o', 0, EACCES, -1, "0123456789"},
          {"open EMFILE", {{"posix/io/oc/open", EMFILE, 1}}, 'o', 0, EMFILE, -1, "0123456789"},
          {"open EINTR storm", {{"posix/io/oc/open", EINTR, 0}}, 'o', 0, EINTR, -1, "0123456789"},
          {"fstat EIO", {{"mlib/fstat", EIO, 1}}, 'o', 0, EIO, -1, "0123456789"},
          {"ftruncate EIO", {{"posix/io/rw/ftruncate", EIO, 1}}, 't', 0, EIO, -1, "0123456789"},
          {"pread EIO", {{"posix/io/rw/pread", EIO, 1}}, 'r', 0, EIO, -1, "0123456789"},
          {"pread EINTR", {{"posix/io/rw/pread", EINTR, 1}}, 'r', 1, 0, 0, "0123456789"},
          {"pread EINTR storm", {{"posix/io/rw/pread", EINTR, 0}}, 'r', 0, EINTR, -1, "0123456789"},
          {"pread short", {shortRead}, 'r', 1, 0, 0, "0123456789"},
          {"pread short, EIO",
           {shortRead, {"posix/io/rw/pread", EIO, 2}},
           'r',
           1,
           0,
           EIO,
           "0123456789"},
          {"pread EIO, whole", {{"posix/io/rw/pread", EIO, 1}}, 'b', 0, EIO, -1, "0123456789"},
          {"pread short, whole", {shortRead}, 'b', 10, 0, 0, "0123456789"},
          {"lseek EIO", {{"mlib/lseek", EIO, 1}}, 'l', 0xFFFFFFFFL, EIO, -1, "0123456789"},
          {"pwrite ENOSPC", {{"posix/io/rw/pwrite", ENOSPC, 1}}, 'w', 0, ENOSPC, -1, w},
          {"pwrite EIO", {{"posix/io/rw/pwrite", EIO, 1}}, 'w', 0, EIO, -1, w},
          {"pwrite EINTR", {{"posix/io/rw/pwrite", EINTR, 1}}, 'w', 1, 0, 0, w},
          {"pwrite EINTR storm", {{"posix/io/rw/pwrite", EINTR, 0}}, 'w', 0, EINTR, -1, w},
          {"pwrite short", {shortWrite}, 'w', 1, 0, 0, w},
          {"pwrite short, ENOSPC",
           {shortWrite, {"posix/io/rw/pwrite", ENOSPC, 2}},
           'w',
           1,
           0,
           ENOSPC,
           w},
          {"fsync EIO", {{"posix/io/sync/fsync", EIO, 1}}, 'f', 0, EIO, -1, kData.c_str()},
          {"fsync ENOSPC", {{"posix/io/sync/fsync", ENOSPC, 1}}, 'f', 0, ENOSPC, -1, kData.c_str()},
          {"fsync EINTR storm",
           {{"posix/io/sync/fsync", EINTR, 0}},
           'f',
           0,
           EINTR,
           -1,
           kData.c_str()},
          {"close EIO", {{"posix/io/oc/close", EIO, 1}}, 'c', 0, EIO, -1, kData.c_str()},
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
