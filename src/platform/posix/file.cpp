// Overlapped files for POSIX systems. There are no asynchronous procedure calls here, so a
// request does its transfer at once (pread/pwrite, retrying interruptions and finishing short
// transfers) and queues its completion for the issuing thread; the alertable waits run the
// queue. Share modes are kept in a process-wide table of the open handles and streams, keyed
// by device and inode. The table's lock is never held across a call that can block (opening a
// FIFO or a file on a hung network share), so one slow open stops no other file.
#if defined(_WIN32)
#error "posix backend built for Windows"
#endif

#include "platform/file.h"

#include <fcntl.h>
#include <mlib/files.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <new>
#include <vector>

#include "platform/codePage.h"

namespace mlib::platform {

const int kErrorAlreadyExists = EEXIST;
const int kErrorIoIncomplete = EALREADY;
const int kErrorIoPending = EINPROGRESS;
const int kErrorSharingViolation = EBUSY;
const int kErrorStackOverflow = ENOMEM;
const int kErrorNotEnoughMemory = ENOMEM;

namespace {

// Share modes: what a holder lets other openers do (the Win32 FILE_SHARE_* values).
constexpr unsigned kShareRead = 1;
constexpr unsigned kShareWrite = 2;
constexpr unsigned kReadWrite = kGenericRead | kGenericWrite;

// One open handle or stream. FileHandle values are addresses of handle records.
struct PosixFile {
  int fd;           // the open descriptor
  unsigned access;  // kGenericRead / kGenericWrite bits it was opened with
  unsigned share;   // kShareRead / kShareWrite: what it lets other openers do
  dev_t device;     // identity of the file, for the share checks
  ino_t inode;
};

// Every handle and stream open in the process. Requests look their handle up here, so a stale
// or invented handle is refused (EBADF) instead of being used. Streams are never handles.
struct FileTable {
  std::mutex mutex;
  std::vector<PosixFile*> files;   // overlapped handles: share reading only
  std::vector<PosixFile> streams;  // buffered streams (fd = the stream's): share everything
  // Counts the handles taken out of `files`; a thread's copy of a record found while it had
  // one value stays good for as long as it keeps that value (records never change).
  std::atomic<std::uint64_t> closings{0};
};

FileTable& fileTable() noexcept {
  // Never destroyed: files may still be closed by static destructors at exit.
  static FileTable* const table = new FileTable;
  return *table;
}

// The handle's record when it is open; call with the table's mutex held.
PosixFile* findLocked(const FileTable& table, FileHandle file) noexcept {
  const auto it = std::find(table.files.begin(), table.files.end(), static_cast<PosixFile*>(file));
  return it == table.files.end() ? nullptr : *it;
}

// The handle this thread looked up last, with a copy of its record and the table's count of
// closings when it was found there.
struct LastLookUp {
  FileHandle file;
  std::uint64_t closings;
  PosixFile record;
};
thread_local LastLookUp tLastLookUp{};

// A copy of the open handle's record, so no lock is held during the transfer. A thread that
// asks again for the handle it asked for last, with no handle closed in between, takes its own
// copy without the lock: a request makes three look-ups (Seek's size, the transfer, the wait).
bool lookUp(FileHandle file, PosixFile* out) noexcept {
  FileTable& table = fileTable();
  LastLookUp& last = tLastLookUp;
  if (file != nullptr && file == last.file &&
      table.closings.load(std::memory_order_acquire) == last.closings) {
    *out = last.record;
    return true;
  }
  const std::lock_guard<std::mutex> lock(table.mutex);
  const PosixFile* found = findLocked(table, file);
  if (found == nullptr) return false;
  *out = *found;
  last = LastLookUp{file, table.closings.load(std::memory_order_relaxed), *found};
  return true;
}

// Windows' rule: a new opener is refused when a holder's share mode does not admit the new
// access, or the new share mode does not admit a holder's access. Openers without read or
// write access (none here) take no part.
bool sharesWith(const PosixFile& held, unsigned access, unsigned share) noexcept {
  if ((access & kReadWrite) == 0 || (held.access & kReadWrite) == 0) return true;
  if ((access & kGenericWrite) != 0 && (held.share & kShareWrite) == 0) return false;
  if ((access & kGenericRead) != 0 && (held.share & kShareRead) == 0) return false;
  if ((held.access & kGenericWrite) != 0 && (share & kShareWrite) == 0) return false;
  if ((held.access & kGenericRead) != 0 && (share & kShareRead) == 0) return false;
  return true;
}

// Whether the file is held in a way that refuses `opener`; call with the table's mutex held.
bool sharingConflictLocked(const FileTable& table, const PosixFile& opener) noexcept {
  const auto refuses = [&opener](const PosixFile& held) {
    return held.device == opener.device && held.inode == opener.inode &&
           !sharesWith(held, opener.access, opener.share);
  };
  for (const PosixFile* held : table.files) {
    if (refuses(*held)) return true;
  }
  return std::any_of(table.streams.begin(), table.streams.end(), refuses);
}

// A finished transfer waiting for its routine to run.
struct QueuedCompletion {
  CompletionRoutine routine;
  unsigned long errorCode;
  unsigned long byteCount;
  IoOverlapped* overlapped;
};

// The thread's completions in the order they were queued: entries from `next` to `size` are
// still to run. The queue lives in the thread's own storage, so it has no destructor to register
// (glibc allocates for that and aborts the process when it cannot) and queuing never allocates.
// The file classes wait for each request before making the next, and a routine runs only after
// the queue has let go of its entry, so a thread never has more than a few queued; a queue that
// is full refuses the request (ENOMEM) rather than grow.
constexpr std::size_t kMaxQueuedCompletions = 16;

struct CompletionQueue {
  QueuedCompletion entries[kMaxQueuedCompletions]{};
  std::size_t size = 0;
  std::size_t next = 0;
};

thread_local CompletionQueue tCompletions;

// Runs the queued routines, those queued meanwhile by the routines themselves included (a
// routine may also run the queue itself, from a wait of its own). True when at least one ran.
bool runQueue() noexcept {
  CompletionQueue& queue = tCompletions;
  if (queue.next == queue.size) return false;
  do {
    const QueuedCompletion due = queue.entries[queue.next++];
    if (queue.next == queue.size) queue.size = queue.next = 0;
    due.routine(due.errorCode, due.byteCount, due.overlapped);
  } while (queue.next != queue.size);
  return true;
}

// A call interrupted by a signal is made again, as the Win32 call it stands for would finish
// its request; but not forever: after this many interruptions in a row it fails with EINTR.
constexpr int kMaxInterruptions = 100;

// Calls `call` until it succeeds (non-negative result) or fails other than by an interruption,
// at most kMaxInterruptions + 1 times; the last result, with its errno.
template <typename Call>
auto retryInterrupted(Call call) noexcept -> decltype(call()) {
  auto result = call();
  for (int again = 0; result < 0 && errno == EINTR && again < kMaxInterruptions; ++again) {
    result = call();
  }
  return result;
}

struct Transfer {
  unsigned long byteCount;  // bytes moved
  int error;                // errno of the call that stopped it, 0 at the end or when done
};

std::uint64_t offsetOf(const IoOverlapped& overlapped) noexcept {
  return (static_cast<std::uint64_t>(overlapped.offsetHigh) << 32) | overlapped.offset;
}

// pread until `byteCount` bytes or the end of the file.
Transfer readAt(int fd, unsigned char* dst, unsigned byteCount, std::uint64_t offset) noexcept {
  Transfer done{0, 0};
  while (done.byteCount < byteCount) {
    const ssize_t got = retryInterrupted([&] {
      return ::pread(fd, dst + done.byteCount, byteCount - done.byteCount,
                     static_cast<off_t>(offset + done.byteCount));
    });
    if (got < 0) {
      done.error = errno;
      break;
    }
    if (got == 0) break;
    done.byteCount += static_cast<unsigned long>(got);
  }
  return done;
}

// pwrite until all `byteCount` bytes are written.
Transfer writeAt(int fd, const unsigned char* src, unsigned byteCount,
                 std::uint64_t offset) noexcept {
  Transfer done{0, 0};
  while (done.byteCount < byteCount) {
    const ssize_t put = retryInterrupted([&] {
      return ::pwrite(fd, src + done.byteCount, byteCount - done.byteCount,
                      static_cast<off_t>(offset + done.byteCount));
    });
    if (put < 0) {
      done.error = errno;
      break;
    }
    if (put == 0) {
      done.error = EIO;
      break;
    }
    done.byteCount += static_cast<unsigned long>(put);
  }
  return done;
}

// Records the outcome in the request record and queues the completion. False (ENOMEM) when
// the queue is full; nothing is queued then.
bool queueCompletion(CompletionRoutine routine, const Transfer& done,
                     IoOverlapped* overlapped) noexcept {
  overlapped->internal = static_cast<std::uintptr_t>(done.error);
  overlapped->internalHigh = done.byteCount;
  CompletionQueue& queue = tCompletions;
  if (queue.size == kMaxQueuedCompletions) {
    errno = ENOMEM;
    return false;
  }
  queue.entries[queue.size++] = {routine, static_cast<unsigned long>(done.error), done.byteCount,
                                 overlapped};
  errno = 0;
  return true;
}

// The checks both directions make before a transfer. False with errno set when the request
// is refused at once.
bool acceptRequest(FileHandle file, const void* buffer, unsigned byteCount,
                   const IoOverlapped* overlapped, CompletionRoutine routine, unsigned access,
                   PosixFile* out) noexcept {
  if (!lookUp(file, out)) {
    errno = EBADF;
    return false;
  }
  if (overlapped == nullptr || routine == nullptr) {
    errno = EINVAL;
    return false;
  }
  if (buffer == nullptr && byteCount > 0) {
    errno = EFAULT;
    return false;
  }
  if ((out->access & access) == 0) {
    errno = EACCES;
    return false;
  }
  return true;
}

// The path as UTF-8 (the system's file names), or false with errno set.
bool utf8Path(const WideChar* path, std::vector<char>* out) noexcept {
  if (path == nullptr) {
    errno = ENOENT;
    return false;
  }
  if (path[0] == 0) {
    try {
      out->assign(1, '\0');
    } catch (const std::bad_alloc&) {
      errno = ENOMEM;
      return false;
    }
    return true;
  }
  const int byteCount = wideToMultiByte(kUtf8CodePage, path, -1, nullptr, 0);
  if (byteCount <= 0) {
    errno = EINVAL;
    return false;
  }
  try {
    out->assign(static_cast<std::size_t>(byteCount), '\0');
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return false;
  }
  if (wideToMultiByte(kUtf8CodePage, path, -1, out->data(), byteCount) != byteCount) {
    errno = EINVAL;
    return false;
  }
  return true;
}

// open(2) flags for a creation disposition; -1 for one that does not exist.
int creationFlags(unsigned creation) noexcept {
  switch (creation) {
    case kCreateNew:
      return O_CREAT | O_EXCL;
    case kCreateAlways:
      return O_CREAT | O_TRUNC;
    case kOpenExisting:
      return 0;
    case kOpenAlways:
      return O_CREAT;
    case kTruncateExisting:
      return O_TRUNC;
    default:
      return -1;
  }
}

int accessFlags(unsigned access) noexcept {
  const bool read = (access & kGenericRead) != 0;
  const bool write = (access & kGenericWrite) != 0;
  if (read && write) return O_RDWR;
  return write ? O_WRONLY : O_RDONLY;
}

void closeDescriptor(int fd) noexcept {
  const int saved = errno;
  ::close(fd);  // never retried: the descriptor is gone even when close is interrupted
  errno = saved;
}

// The error for a path that is there but no regular file.
int notRegularError(mode_t mode) noexcept { return S_ISDIR(mode) ? EISDIR : ESPIPE; }

// open(2) without the lock, retrying interruptions. For a creating open, *created tells
// whether this call made the file: an exclusive create is tried first, then a plain open.
int openDescriptor(const char* name, int flags, int creationFlag, bool* created) noexcept {
  const auto openWith = [name, flags](int extra) {
    return retryInterrupted([&] { return ::open(name, flags | extra | O_CLOEXEC, 0666); });
  };
  *created = false;
  if ((creationFlag & O_CREAT) == 0) return openWith(creationFlag);
  int fd = openWith(O_CREAT | O_EXCL);
  if (fd >= 0 || errno != EEXIST || (creationFlag & O_EXCL) != 0) {
    *created = fd >= 0;
    return fd;
  }
  fd = openWith(0);
  if (fd >= 0 || errno != ENOENT) return fd;
  // Gone between the two opens, or a link to a missing file: let the system decide.
  fd = openWith(O_CREAT);
  *created = fd >= 0;
  return fd;
}

bool truncateDescriptor(int fd) noexcept {
  return retryInterrupted([fd] { return ::ftruncate(fd, 0); }) == 0;
}

// Enters an overlapped handle's record in the table: 0, or the error that refuses it.
int enterHandle(PosixFile* record) noexcept {
  FileTable& table = fileTable();
  const std::lock_guard<std::mutex> lock(table.mutex);
  if (sharingConflictLocked(table, *record)) return kErrorSharingViolation;
  try {
    table.files.push_back(record);
  } catch (const std::bad_alloc&) {
    return ENOMEM;
  }
  return 0;
}

// Enters a stream's record in the table: 0, or the error that refuses it.
int enterStream(const PosixFile& record) noexcept {
  FileTable& table = fileTable();
  const std::lock_guard<std::mutex> lock(table.mutex);
  if (sharingConflictLocked(table, record)) return kErrorSharingViolation;
  try {
    table.streams.push_back(record);
  } catch (const std::bad_alloc&) {
    return ENOMEM;
  }
  return 0;
}

void leaveStream(int fd) noexcept {
  FileTable& table = fileTable();
  const std::lock_guard<std::mutex> lock(table.mutex);
  const auto it = std::find_if(table.streams.begin(), table.streams.end(),
                               [fd](const PosixFile& held) { return held.fd == fd; });
  if (it != table.streams.end()) table.streams.erase(it);
}

}  // namespace

FileHandle openOverlappedFile(const WideChar* path, unsigned access, unsigned creation) noexcept {
  const int creationFlag = creationFlags(creation);
  if (creationFlag < 0 || (access & ~kReadWrite) != 0 ||
      (creation == kTruncateExisting && (access & kGenericWrite) == 0)) {
    errno = EINVAL;
    return nullptr;
  }
  std::vector<char> name;
  if (!utf8Path(path, &name)) return nullptr;
  // Only regular files have positions to read and write at; the check before the open keeps
  // a FIFO's open from waiting for its other end. The check after it is the one that counts.
  struct stat before {};
  if (::stat(name.data(), &before) == 0 && !S_ISREG(before.st_mode)) {
    errno = notRegularError(before.st_mode);
    return nullptr;
  }
  PosixFile* record = new (std::nothrow) PosixFile{};
  if (record == nullptr) {
    errno = ENOMEM;
    return nullptr;
  }
  // Truncation waits for the share check, so a refused create-always truncates nothing.
  const bool truncate = creation == kCreateAlways || creation == kTruncateExisting;
  bool created = false;
  const int fd = openDescriptor(name.data(), accessFlags(access) | O_NONBLOCK,
                                creationFlag & ~O_TRUNC, &created);
  if (fd < 0) {
    delete record;
    return nullptr;
  }
  struct stat opened {};
  int refused;
  if (::fstat(fd, &opened) != 0) {
    refused = errno;
  } else if (!S_ISREG(opened.st_mode)) {
    refused = notRegularError(opened.st_mode);
  } else {
    *record = PosixFile{fd, access, kShareRead, opened.st_dev, opened.st_ino};
    refused = enterHandle(record);
  }
  if (refused != 0) {
    closeDescriptor(fd);
    delete record;
    errno = refused;
    return nullptr;
  }
  if (truncate && !created && !truncateDescriptor(fd)) {
    const int error = errno;
    (void)closeFile(record);
    errno = error;
    return nullptr;
  }
  const bool foundPresent = !created && (creation == kCreateAlways || creation == kOpenAlways);
  errno = foundPresent ? kErrorAlreadyExists : 0;
  return record;
}

bool readFileEx(FileHandle file, void* buffer, unsigned byteCount, IoOverlapped* overlapped,
                CompletionRoutine routine) noexcept {
  PosixFile handle{};
  if (!acceptRequest(file, buffer, byteCount, overlapped, routine, kGenericRead, &handle)) {
    return false;
  }
  const Transfer done =
      readAt(handle.fd, static_cast<unsigned char*>(buffer), byteCount, offsetOf(*overlapped));
  if (done.error != 0 && done.byteCount == 0) {
    errno = done.error;
    return false;
  }
  return queueCompletion(routine, done, overlapped);
}

bool writeFileEx(FileHandle file, const void* buffer, unsigned byteCount, IoOverlapped* overlapped,
                 CompletionRoutine routine) noexcept {
  PosixFile handle{};
  if (!acceptRequest(file, buffer, byteCount, overlapped, routine, kGenericWrite, &handle)) {
    return false;
  }
  const Transfer done = writeAt(handle.fd, static_cast<const unsigned char*>(buffer), byteCount,
                                offsetOf(*overlapped));
  if (done.error != 0 && done.byteCount == 0) {
    errno = done.error;
    return false;
  }
  return queueCompletion(routine, done, overlapped);
}

WaitResult waitForFileAlertable(FileHandle file) noexcept {
  PosixFile handle{};
  if (!lookUp(file, &handle)) {
    errno = EBADF;
    return WaitResult::Failed;
  }
  // Transfers finish inside the request calls, so a handle never has one in flight: it is
  // signalled whenever no completion is waiting to run.
  return runQueue() ? WaitResult::IoCompletion : WaitResult::Signalled;
}

bool sleepAlertable() noexcept { return runQueue(); }

void runQueuedCompletions() noexcept { (void)runQueue(); }

bool overlappedResult(FileHandle file, IoOverlapped* overlapped, unsigned* byteCount,
                      bool /*wait: nothing is ever still running*/) noexcept {
  PosixFile handle{};
  if (!lookUp(file, &handle)) {
    errno = EBADF;
    return false;
  }
  if (overlapped == nullptr || byteCount == nullptr) {
    errno = EINVAL;
    return false;
  }
  *byteCount = static_cast<unsigned>(overlapped->internalHigh);
  if (overlapped->internal != 0) {
    errno = static_cast<int>(overlapped->internal);
    return false;
  }
  return true;
}

unsigned fileSize(FileHandle file) noexcept {
  PosixFile handle{};
  if (!lookUp(file, &handle)) {
    errno = EBADF;
    return kInvalidFileSize;
  }
  // The end offset answers the size at a third of fstat's cost (the size check is part of
  // every Seek); moving the descriptor's offset is harmless, as all transfers are positional.
  const off_t end = ::lseek(handle.fd, 0, SEEK_END);
  if (end < 0) return kInvalidFileSize;
  return static_cast<unsigned>(static_cast<std::uint64_t>(end));
}

bool cancelIo(FileHandle file) noexcept {
  PosixFile handle{};
  if (!lookUp(file, &handle)) {
    errno = EBADF;
    return false;
  }
  return true;  // nothing is ever in flight; queued completions keep their outcome
}

bool flushFile(FileHandle file) noexcept {
  PosixFile handle{};
  if (!lookUp(file, &handle)) {
    errno = EBADF;
    return false;
  }
  if ((handle.access & kGenericWrite) == 0) {
    errno = EACCES;
    return false;
  }
  return retryInterrupted([&handle] { return ::fsync(handle.fd); }) == 0;
}

bool closeFile(FileHandle file) noexcept {
  FileTable& table = fileTable();
  PosixFile* record;
  {
    const std::lock_guard<std::mutex> lock(table.mutex);
    record = findLocked(table, file);
    if (record == nullptr) {
      errno = EBADF;
      return false;
    }
    table.files.erase(std::find(table.files.begin(), table.files.end(), record));
    table.closings.fetch_add(1, std::memory_order_release);
  }
  // A failing close (EIO from a network file system, say) may have lost written data: its
  // error is the result. The descriptor is gone either way, so it is never closed again.
  const bool closed = ::close(record->fd) == 0;
  const int error = errno;
  delete record;
  if (!closed) errno = error;
  return closed;
}

FileHandle duplicateFile(FileHandle file) noexcept {
  PosixFile* copy = new (std::nothrow) PosixFile{};
  if (copy == nullptr) {
    errno = ENOMEM;
    return nullptr;
  }
  FileTable& table = fileTable();
  const std::lock_guard<std::mutex> lock(table.mutex);
  const PosixFile* source = findLocked(table, file);
  if (source == nullptr) {
    delete copy;
    errno = EBADF;
    return nullptr;
  }
  const int fd = ::fcntl(source->fd, F_DUPFD_CLOEXEC, 0);
  if (fd < 0) {
    delete copy;
    return nullptr;
  }
  *copy = PosixFile{fd, source->access, source->share, source->device, source->inode};
  try {
    table.files.push_back(copy);
  } catch (const std::bad_alloc&) {
    closeDescriptor(fd);
    delete copy;
    errno = ENOMEM;
    return nullptr;
  }
  return copy;
}

std::FILE* openStream(const char* path, const char* streamMode) noexcept {
  if (path == nullptr || streamMode == nullptr) {
    errno = EINVAL;
    return nullptr;
  }
  // fopen's own open, done by hand so the share check comes between the open and the
  // truncation of "w" modes, and no lock is held while the open may block.
  const char kind = streamMode[0];
  const bool update = std::strchr(streamMode, '+') != nullptr;
  unsigned access = kind == 'r' ? kGenericRead : kGenericWrite;
  if (update) access = kReadWrite;
  int flags = accessFlags(access) | O_CLOEXEC;
  if (kind == 'w') flags |= O_CREAT;
  if (kind == 'a') flags |= O_CREAT | O_APPEND;
  if (kind != 'r' && kind != 'w' && kind != 'a') {
    errno = EINVAL;
    return nullptr;
  }
  const int fd = retryInterrupted([path, flags] { return ::open(path, flags, 0666); });
  if (fd < 0) return nullptr;
  struct stat opened {};
  const int refused = ::fstat(fd, &opened) != 0
                          ? errno
                          : enterStream(PosixFile{fd, access, kShareRead | kShareWrite,
                                                  opened.st_dev, opened.st_ino});
  if (refused != 0) {
    closeDescriptor(fd);
    errno = refused;
    return nullptr;
  }
  // Devices and FIFOs ignore truncation, as fopen's O_TRUNC does.
  std::FILE* stream = nullptr;
  if (kind != 'w' || !S_ISREG(opened.st_mode) || truncateDescriptor(fd)) {
    stream = ::fdopen(fd, streamMode);
  }
  if (stream == nullptr) {
    const int error = errno;
    leaveStream(fd);
    closeDescriptor(fd);
    errno = error;
  }
  return stream;
}

bool closeStream(std::FILE* stream) noexcept {
  if (stream == nullptr) {
    errno = EBADF;
    return false;
  }
  // Out of the table while the descriptor is still open, so no file opened meanwhile can
  // have its number.
  leaveStream(::fileno(stream));
  return std::fclose(stream) == 0;
}

namespace {

// The bounds of the calling thread's stack (lowest usable address, top), asked once per
// thread: for the main thread the C library reads the process's memory map to answer.
struct StackBounds {
  std::uintptr_t low = 0;
  std::uintptr_t high = 0;  // 0: not known
};

StackBounds threadStack() noexcept {
  StackBounds bounds;
  pthread_attr_t attributes;
  if (::pthread_getattr_np(::pthread_self(), &attributes) != 0) return bounds;
  void* low = nullptr;
  std::size_t size = 0;
  if (::pthread_attr_getstack(&attributes, &low, &size) == 0 && low != nullptr) {
    bounds.low = reinterpret_cast<std::uintptr_t>(low);
    bounds.high = bounds.low + size;
  }
  ::pthread_attr_destroy(&attributes);
  return bounds;
}

}  // namespace

std::size_t stackLeft() noexcept {
  thread_local const StackBounds bounds = threadStack();
  const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
  // Outside the thread's stack (a coroutine's or a signal handler's): not known.
  if (here <= bounds.low || here > bounds.high) return SIZE_MAX;
  return here - bounds.low;
}

}  // namespace mlib::platform
