// Overlapped files for POSIX systems. There are no asynchronous procedure calls here, so a
// request does its transfer at once (pread/pwrite, retrying interruptions and finishing short
// transfers) and queues its completion for the issuing thread; the alertable waits run the
// queue. The share mode "read" of these files is kept in a process-wide table of the open
// handles, keyed by device and inode.
#if defined(_WIN32)
#error "posix backend built for Windows"
#endif

#include "platform/file.h"

#include <mlib/files.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <deque>
#include <mutex>
#include <new>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/codePage.h"

namespace mlib::platform {

const int kErrorAlreadyExists = EEXIST;
const int kErrorIoIncomplete = EALREADY;
const int kErrorIoPending = EINPROGRESS;
const int kErrorSharingViolation = EBUSY;

namespace {

// One open handle. FileHandle values are addresses of these.
struct PosixFile {
  int fd;           // the open descriptor
  unsigned access;  // kGenericRead / kGenericWrite bits it was opened with
  dev_t device;     // identity of the file, for the share checks
  ino_t inode;
};

// Every handle open in the process. Requests look their handle up here, so a stale or
// invented handle is refused (EBADF) instead of being used.
struct FileTable {
  std::mutex mutex;
  std::vector<PosixFile*> files;
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

// A copy of the open handle's record, so no lock is held during the transfer.
bool lookUp(FileHandle file, PosixFile* out) noexcept {
  FileTable& table = fileTable();
  const std::lock_guard<std::mutex> lock(table.mutex);
  const PosixFile* found = findLocked(table, file);
  if (found == nullptr) return false;
  *out = *found;
  return true;
}

// Whether an open handle keeps a new opener asking for `access` out of the same file. Every
// handle here shares reading only: a holder with write access refuses every opener, and a
// new opener asking to write is refused by every holder. Handles without access take no part.
bool sharingConflictLocked(const FileTable& table, dev_t device, ino_t inode,
                           unsigned access) noexcept {
  const unsigned kReadWrite = kGenericRead | kGenericWrite;
  if ((access & kReadWrite) == 0) return false;
  for (const PosixFile* held : table.files) {
    if (held->device != device || held->inode != inode) continue;
    if ((held->access & kReadWrite) == 0) continue;
    if ((access & kGenericWrite) != 0 || (held->access & kGenericWrite) != 0) return true;
  }
  return false;
}

// A finished transfer waiting for its routine to run.
struct QueuedCompletion {
  CompletionRoutine routine;
  unsigned long errorCode;
  unsigned long byteCount;
  IoOverlapped* overlapped;
};

std::deque<QueuedCompletion>& completionQueue() noexcept {
  thread_local std::deque<QueuedCompletion> queue;
  return queue;
}

// Runs the queued routines, those queued meanwhile by the routines themselves included.
// True when at least one ran.
bool runQueue() noexcept {
  std::deque<QueuedCompletion>& queue = completionQueue();
  if (queue.empty()) return false;
  while (!queue.empty()) {
    const QueuedCompletion next = queue.front();
    queue.pop_front();
    next.routine(next.errorCode, next.byteCount, next.overlapped);
  }
  return true;
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
    const ssize_t got = ::pread(fd, dst + done.byteCount, byteCount - done.byteCount,
                                static_cast<off_t>(offset + done.byteCount));
    if (got < 0) {
      if (errno == EINTR) continue;
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
    const ssize_t put = ::pwrite(fd, src + done.byteCount, byteCount - done.byteCount,
                                 static_cast<off_t>(offset + done.byteCount));
    if (put < 0) {
      if (errno == EINTR) continue;
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
// the queue cannot grow; nothing is queued then.
bool queueCompletion(CompletionRoutine routine, const Transfer& done,
                     IoOverlapped* overlapped) noexcept {
  overlapped->internal = static_cast<std::uintptr_t>(done.error);
  overlapped->internalHigh = done.byteCount;
  try {
    completionQueue().push_back(
        {routine, static_cast<unsigned long>(done.error), done.byteCount, overlapped});
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return false;
  }
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

}  // namespace

FileHandle openOverlappedFile(const WideChar* path, unsigned access, unsigned creation) noexcept {
  const int creationFlag = creationFlags(creation);
  if (creationFlag < 0 || (access & ~(kGenericRead | kGenericWrite)) != 0 ||
      (creation == kTruncateExisting && (access & kGenericWrite) == 0)) {
    errno = EINVAL;
    return nullptr;
  }
  std::vector<char> name;
  if (!utf8Path(path, &name)) return nullptr;

  PosixFile* record = new (std::nothrow) PosixFile{};
  if (record == nullptr) {
    errno = ENOMEM;
    return nullptr;
  }
  FileTable& table = fileTable();
  const std::lock_guard<std::mutex> lock(table.mutex);
  // The share check comes before the open, so a refused create-always truncates nothing.
  struct stat before {};
  const bool existed = ::stat(name.data(), &before) == 0;
  if (existed && S_ISDIR(before.st_mode)) {
    delete record;
    errno = EISDIR;
    return nullptr;
  }
  if (existed && sharingConflictLocked(table, before.st_dev, before.st_ino, access)) {
    delete record;
    errno = kErrorSharingViolation;
    return nullptr;
  }
  int fd;
  do {
    fd = ::open(name.data(), accessFlags(access) | creationFlag | O_CLOEXEC, 0666);
  } while (fd < 0 && errno == EINTR);
  if (fd < 0) {
    delete record;
    return nullptr;
  }
  struct stat opened {};
  if (::fstat(fd, &opened) != 0 || S_ISDIR(opened.st_mode)) {
    const int error = S_ISDIR(opened.st_mode) ? EISDIR : errno;
    closeDescriptor(fd);
    delete record;
    errno = error;
    return nullptr;
  }
  *record = PosixFile{fd, access, opened.st_dev, opened.st_ino};
  try {
    table.files.push_back(record);
  } catch (const std::bad_alloc&) {
    closeDescriptor(fd);
    delete record;
    errno = ENOMEM;
    return nullptr;
  }
  const bool foundPresent = existed && (creation == kCreateAlways || creation == kOpenAlways);
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
  int result;
  do {
    result = ::fsync(handle.fd);
  } while (result != 0 && errno == EINTR);
  return result == 0;
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
  }
  closeDescriptor(record->fd);
  delete record;
  return true;
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
  *copy = PosixFile{fd, source->access, source->device, source->inode};
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

bool sharingAllowsWriter(const char* path) noexcept {
  if (path == nullptr) return true;
  struct stat status {};
  if (::stat(path, &status) != 0) return true;  // a missing file is held by nobody
  FileTable& table = fileTable();
  const std::lock_guard<std::mutex> lock(table.mutex);
  if (!sharingConflictLocked(table, status.st_dev, status.st_ino, kGenericWrite)) return true;
  errno = kErrorSharingViolation;
  return false;
}

}  // namespace mlib::platform
