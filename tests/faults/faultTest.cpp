// The files, the port probe and the executable's folder when the system calls under them fail,
// one at a time, with the errors those calls really give, and every heap allocation of an
// operation failing in turn. libfiu's preload library fails the C library's calls; the few it
// does not cover (readlink, lseek, stat, fstat, fcntl) are interposed here.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <mlib/containers.h>
#include <mlib/exceptions.h>
#include <mlib/files.h>
#include <mlib/net.h>
#include <mlib/text.h>
#include <sys/stat.h>
#include <unistd.h>

#define FIU_ENABLE 1
#include <fiu-control.h>
#include <fiu.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "byteContent.h"
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

namespace mlib::test {
namespace {

// The nth call of the point fails with errno `error` (counting from 1; a trailing '*' matches
// every point under it, counted together), or every call when nth is 0, up to 100000 calls, so
// a retry loop without a bound ends the test instead of hanging it.
struct Fault {
  const char* point;
  int error, nth, calls = 0;
};
std::vector<Fault> gArmed;

int decideFault(const char* name, int*, void**, unsigned*) {
  for (Fault& a : gArmed) {
    const std::size_t n = std::strcspn(a.point, "*");
    if (std::strncmp(a.point, name, n) == 0 && (a.point[n] != 0 || name[n] == 0)) {
      return a.nth == 0 ? ++a.calls <= 100000 : ++a.calls == a.nth;
    }
  }
  return 0;
}

// Arms the faults (a decision never allocates).
void arm(const std::vector<Fault>& faults) {
  fiu_init(0);
  gArmed = faults;
  srandom(7);  // libfiu shortens with random(): 3 bytes of a 10-byte read, 1 of a 26-byte write
  for (const Fault& f : gArmed) {
    fiu_enable_external(f.point, 1, reinterpret_cast<void*>(std::intptr_t{f.error}), 0,
                        decideFault);
  }
}

// Disarms everything; returns the most calls an armed point saw.
int disarm() {
  int most = 0;
  for (const Fault& a : gArmed) {
    fiu_disable(a.point);
    most = std::max(most, a.calls);
  }
  gArmed.clear();
  return most;
}

const std::string kData = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";

std::vector<std::pair<unsigned, int>> gDone;  // the callbacks' bytes and codes
void record(MxAsyncFile&, unsigned n, MxException& e) { gDone.emplace_back(n, e.GetCode()); }

// Files: 's' the stream (MxFile), 'o' the overlapped file. Ops: 'o' Open(2), 't' Open(3)
// (truncating), 'r' Read 10 bytes, 'b' Read(Byte&), 'w' Write kData, 'f' / 'c' Flush / Close
// after a Write of kData, 'l' GetLength, 's' Seek(4), 'd' the length of a copy
// (MxAsyncFileWin's copy duplicates the handle); 'p' Net_IsPortBind(0) (it binds when nothing
// fails), 'x' the executable's folder's first character.
struct IoRow {
  const char* files;
  char op;
  std::vector<Fault> faults;  // nth 0: every call fails (a storm)
  long result;                // what the call returned
  int error;                  // errno right after it; -1: not checked
  int code = -1;              // overlapped file: the callback's code; -1: no callback
};

// After the fault: every byte a call reported read or written is what the file holds, no
// call reported bytes it did not move, and the same object, another one, the probe and the
// folder work again.
void runRow(MxFile& file, const IoRow& row) {
  auto* const async = dynamic_cast<MxAsyncFile*>(&file);
  SCOPED_TRACE(std::string(async ? "overlapped " : "stream ") + row.op + " " +
               row.faults.back().point + " " + std::to_string(row.faults.back().error));
  TempFolder folder;
  const String name = folder.put("f");
  const bool opens = row.op == 'o' || row.op == 't';
  ASSERT_TRUE(opens || file.Open(name, 2));
  if (async != nullptr) {
    async->SetCallBackRead(record);
    async->SetCallBackWrite(record);
  }
  ASSERT_TRUE((row.op != 'f' && row.op != 'c') || file.Write(kData.data(), 26) != 0);
  gDone.clear();
  char buffer[16] = {};
  Byte whole;
  WideChar exeFolder[512] = {u'x'};
  arm(row.faults);
  errno = 0;
  const long result = [&]() -> long {
    if (opens) return file.Open(name, row.op == 'o' ? 2 : 3);
    if (row.op == 'r') return file.Read(buffer, 10);
    if (row.op == 'b') return file.Read(whole);
    if (row.op == 'w') return file.Write(kData.data(), 26);
    if (row.op == 'f') return file.Flush();
    if (row.op == 'c') return file.Close(), 0;
    if (row.op == 'l') return file.GetLength();
    if (row.op == 's') return file.Seek(4);
    if (row.op == 'p') return Net_IsPortBind(0);
    if (row.op == 'x') return GetCurrentPath(exeFolder, 512)[0];
    return MxAsyncFileWin(*async).GetLength();
  }();
  const int error = errno;
  const int calls = disarm();
  EXPECT_TRUE(calls >= 1 && calls <= 1000) << calls << " calls: a retry loop without a bound";
  EXPECT_EQ(result, row.result);
  EXPECT_TRUE(row.error < 0 || error == row.error) << "errno " << error;
  EXPECT_TRUE(!opens || result != 0 || file.GetLength() == (async ? 0xFFFFFFFFu : 0u)) << "open";
  EXPECT_EQ(gDone.size(), row.code >= 0 ? 1u : 0u);
  EXPECT_TRUE(gDone.empty() || gDone[0].second == row.code);
  const unsigned got = async == nullptr ? result : gDone.empty() ? 0 : gDone[0].first;
  const unsigned read = row.op == 'r' ? got : 0;
  EXPECT_EQ(std::string(buffer, read), std::string(kDigits, read));
  EXPECT_EQ(content(whole), std::string(kDigits, row.op == 'b' ? result : 0));
  file.Close();  // a failed fclose, as injected, writes nothing: data lost, failure reported
  std::string expected = kDigits;
  if (row.op == 'w') expected.replace(0, std::min(got, 10u), kData, 0, got);
  if (row.op == 'f' || row.op == 'c') expected = kData;
  const std::string now = folder.get("f");
  EXPECT_TRUE((now == kDigits && row.error > 0) || now == expected) << now;
  ASSERT_TRUE(file.Open(name, 2));  // no stale handle refuses a writer
  EXPECT_EQ(file.GetLength(), now.size());
  file.Close();
  EXPECT_TRUE(MxAsyncFile().Open(name, 2));
  EXPECT_EQ(Net_IsPortBind(0), 0);
  EXPECT_EQ(GetCurrentPath(exeFolder, 512)[0], u'/');
}

TEST(IoFaults, FilesProbeAndFolderReportEveryFailedCall) {
  const Fault shortRead{"posix/io/rw/pread/reduce", 0, 1};    // 3 bytes of 10
  const Fault shortWrite{"posix/io/rw/pwrite/reduce", 0, 1};  // 1 byte of 26
  const IoRow rows[] = {
      {"so", 'o', {{"posix/io/oc/open", EACCES, 1}}, 0, EACCES},
      {"s", 'o', {{"posix/io/oc/open", EINTR, 1}}, 1, -1},
      {"so", 'o', {{"posix/io/oc/open", EINTR, 0}}, 0, EINTR},
      {"so", 'o', {{"mlib/fstat", EIO, 1}}, 0, EIO},
      {"s", 'o', {{"posix/stdio/oc/fdopen", EMFILE, 1}}, 0, EMFILE},
      {"o", 'o', {{"mlib/stat", EACCES, 1}}, 1, 0},  // only a hint: the open decides
      {"so", 't', {{"posix/io/rw/ftruncate", EIO, 1}}, 0, EIO},
      {"s", 'r', {{"posix/stdio/seek/fseek", EIO, 1}}, 0, EIO},
      {"s", 'b', {{"posix/stdio/rw/fread", EIO, 1}}, 0, EIO},
      {"s", 'l', {{"posix/stdio/seek/ftell", EIO, 1}}, 0, EIO},
      {"s", 's', {{"posix/stdio/seek/fseek", EIO, 1}}, 0, EIO},
      {"s", 'w', {{"posix/stdio/rw/fwrite", ENOSPC, 1}}, 0, ENOSPC},
      {"s", 'f', {{"posix/stdio/fflush", EIO, 1}}, 0, EIO},
      {"s", 'c', {{"posix/stdio/oc/fclose", EIO, 1}}, 0, EIO},
      {"o", 'r', {{"posix/io/rw/pread", EINTR, 1}}, 1, 0, 0},
      {"o", 'r', {{"posix/io/rw/pread", EINTR, 0}}, 0, EINTR},
      {"o", 'r', {shortRead}, 1, 0, 0},
      {"o", 'r', {shortRead, {"posix/io/rw/pread", EIO, 2}}, 1, 0, EIO},
      {"o", 'b', {{"posix/io/rw/pread", EIO, 1}}, 0, EIO},
      {"o", 'b', {shortRead}, 10, 0, 0},
      {"o", 'l', {{"mlib/lseek", EIO, 1}}, 0xFFFFFFFFL, EIO},
      {"o", 's', {{"mlib/lseek", EIO, 1}}, 1, EIO},  // compared with 0xFFFFFFFF
      {"o", 'd', {{"mlib/fcntl", EMFILE, 1}}, 0xFFFFFFFFL, EMFILE},
      {"o", 'w', {{"posix/io/rw/pwrite", ENOSPC, 1}}, 0, ENOSPC},
      {"o", 'w', {{"posix/io/rw/pwrite", EINTR, 1}}, 1, 0, 0},
      {"o", 'w', {{"posix/io/rw/pwrite", EINTR, 0}}, 0, EINTR},
      {"o", 'w', {shortWrite}, 1, 0, 0},
      {"o", 'w', {shortWrite, {"posix/io/rw/pwrite", ENOSPC, 2}}, 1, 0, ENOSPC},
      {"o", 'f', {{"posix/io/sync/fsync", EIO, 1}}, 0, EIO},
      {"o", 'f', {{"posix/io/sync/fsync", EINTR, 0}}, 0, EINTR},
      {"o", 'c', {{"posix/io/oc/close", EIO, 1}}, 0, EIO},
      // The probe counts a failure as the port taken and ignores its clean-up's results.
      {"s", 'p', {{"posix/io/net/socket", EMFILE, 1}}, 1, EMFILE},
      {"s", 'p', {{"posix/io/net/bind", EADDRINUSE, 1}}, 1, EADDRINUSE},
      {"s", 'p', {{"posix/io/net/shutdown", ENOTCONN, 1}}, 0, 0},
      {"s", 'p', {{"posix/io/oc/close", EIO, 1}}, 0, 0},
      {"s", 'x', {{"mlib/readlink", ENOENT, 1}}, 0, ENOENT},  // the folder stays zero-filled
  };
  MxFile stream;  // each object goes through every row of its kind
  MxAsyncFile overlapped;
  for (const IoRow& row : rows) {
    if (std::strchr(row.files, 's') != nullptr) runRow(stream, row);
    if (std::strchr(row.files, 'o') != nullptr) runRow(overlapped, row);
  }
}

int gNth = 0;         // the allocation that fails, counting from 1
int gCalls = 0;       // allocations the last operation made, up to the failing one
bool gThrew = false;  // whether it threw std::bad_alloc

// Runs `op` with the gNth allocation failing; true when it threw std::bad_alloc.
bool underFault(const std::function<void()>& op) {
  arm({{"libc/mm/*", ENOMEM, gNth}});
  gThrew = false;
  try {
    op();
  } catch (const std::bad_alloc&) {
    gThrew = true;
  }
  gCalls = disarm();
  return gThrew;
}

const String kLong(u"a text longer than the one before it, so it must grow");

// Open and Read(Byte&) of ten bytes: all or nothing, and the object opens again. On a fresh
// thread, whose first request must not need the heap for the thread's completion queue.
template <typename File>
bool openAndReadWhole(const String& path) {
  bool ok = false;
  std::thread([&] {
    File file;
    Byte whole;
    int got = -1;
    underFault([&] { got = file.Open(path, 2) ? file.Read(whole) : 0; });
    file.Close();
    ok = got == whole.GetLength() && (got == 0 || got == 10) && file.Open(path, 2);
  }).join();
  return ok;
}

TEST(AllocFaults, EveryAllocationOfAnOperationFailsInTurn) {
  // The operation refuses, or throws std::bad_alloc where String and the containers' element
  // copies do; each row answers whether its object is as before (when it threw) or as after a
  // success. Nothing crashes or keeps a lock, and all works again once the heap answers.
  TempFolder folder;
  const String path = folder.put("f");
  const std::pair<const char*, std::function<bool()>> rows[] = {
      {"String +=",
       [] {
         String s(u"abc");
         return underFault([&] { s += kLong; }) ? s == u"abc" : s == String(u"abc") + kLong;
       }},
      {"String from ANSI text",
       [] {
         String s;
         const bool threw = underFault([&] { s = String("narrow text, widened"); });
         return threw ? s.IsNull() : s == u"narrow text, widened";
       }},
      {"String::Format",
       [] {
         String s(u"x");
         return underFault([&] { s.Format(u"%d-%s", 42, u"y"); }) ? s == u"x" : s == u"42-y";
       }},
      {"MxList<String>::AddTail",
       [] {
         MxList<String> list;
         list.AddTail(String(u"a"));
         bool added = false;
         underFault([&] { added = list.AddTail(kLong); });
         String tail;
         return list.GetCount() == (added ? 2u : 1u) && list.GetTail(tail) &&
                tail == (added ? kLong : String(u"a")) && list.AddTail(String(u"b"));
       }},
      {"SyncMap<int, String>::Add",
       [] {
         SyncMap<int, String> map;
         bool added = false;
         underFault([&] { added = map.Add(7, kLong); });
         bool otherThread = false;  // the map's lock is free
         std::thread([&] { otherThread = map.Add(8, String(u"b")); }).join();
         String* value = map.LookupPtr(7);
         return otherThread && map.GetCount() == (added ? 2u : 1u) &&
                (added ? value != nullptr && *value == kLong : value == nullptr);
       }},
      {"MxFile", [&path] { return openAndReadWhole<MxFile>(path); }},
      {"MxAsyncFile", [&path] { return openAndReadWhole<MxAsyncFile>(path); }},
  };
  for (const auto& [name, run] : rows) {
    // Fail the first allocation, then the second, ... until the operation makes no more.
    for (gNth = 1; gNth < 10000; ++gNth) {
      SCOPED_TRACE(std::string(name) + ", allocation " + std::to_string(gNth));
      EXPECT_TRUE(run());
      EXPECT_FALSE(gThrew && std::strstr(name, "File") != nullptr) << "files never throw";
      if (gCalls < gNth) break;  // nothing failed: the operation is done
    }
  }
}

TEST(PosixFiles, FifoIsRefusedAtOnceInEveryMode) {
  // No fault: what only POSIX lets a test set up. A FIFO has no positions, and opening one
  // with nobody at the other end would block; a hang here ends at the test's time limit.
  TempFolder folder;
  ASSERT_EQ(::mkfifo(folder.path("fifo").c_str(), 0600), 0);
  for (int mode = 0; mode < 5; ++mode) {
    errno = 0;
    EXPECT_FALSE(MxAsyncFile().Open(folder.text("fifo"), mode)) << "mode " << mode;
    EXPECT_EQ(errno, ESPIPE) << "mode " << mode;
  }
}

}  // namespace
}  // namespace mlib::test
