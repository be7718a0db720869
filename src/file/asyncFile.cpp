// MxAsyncFileWin and MxAsyncFile: one overlapped request per Read or Write, at the object's
// position, with the caller's thread waiting alertably until the request's completion has
// been delivered to its record's owner.
#include <mlib/exceptions.h>
#include <mlib/files.h>

#include <cstddef>
#include <new>

#include "platform/platform.h"

namespace mlib {
namespace {

// System access and creation by mode (0 to 4); other modes ask for neither, which the
// system refuses.
constexpr unsigned kReadWrite = platform::kGenericRead | platform::kGenericWrite;
constexpr unsigned kAccessByMode[] = {platform::kGenericRead, platform::kGenericWrite, kReadWrite,
                                      kReadWrite, kReadWrite};
constexpr unsigned kCreationByMode[] = {platform::kOpenExisting, platform::kOpenExisting,
                                        platform::kOpenExisting, platform::kCreateAlways,
                                        platform::kOpenAlways};
constexpr unsigned kModeCount = sizeof(kAccessByMode) / sizeof(kAccessByMode[0]);

// Whether the last error after an accepted request means it is running or done.
bool requestUnderway(int lastError) noexcept {
  return lastError == 0 || lastError == platform::kErrorIoIncomplete ||
         lastError == platform::kErrorIoPending;
}

// How many completion routines are running on this thread: a request issued while one runs
// is nested inside it, and each level of nesting costs stack.
thread_local unsigned tDelivering = 0;

struct DeliveryScope {
  DeliveryScope() noexcept { ++tDelivering; }
  ~DeliveryScope() { --tDelivering; }
  DeliveryScope(const DeliveryScope&) = delete;
  DeliveryScope& operator=(const DeliveryScope&) = delete;
};

// The stack a request issued from a callback must find free: enough for one more level (the
// request, its wait, its delivery and a callback of modest size) and for the system's own
// frames, with a wide reserve; below it the request is refused instead of overflowing.
constexpr std::size_t kNestedRequestStack = 64 * 1024;

// False, with the last error set, when a request issued from a callback would nest deeper
// than the thread's stack allows.
bool roomToNest() noexcept {
  if (tDelivering == 0 || platform::stackLeft() >= kNestedRequestStack) return true;
  platform::setLastError(platform::kErrorStackOverflow);
  return false;
}

}  // namespace

MxAsyncFileWin::MxAsyncFileWin() noexcept
    : readContext_{IoOverlapped{}, this, IoNone}, writeContext_{IoOverlapped{}, this, IoNone} {}

MxAsyncFileWin::MxAsyncFileWin(const MxAsyncFileWin& other)
    : MxFile(other),
      readContext_{IoOverlapped{}, this, IoNone},
      writeContext_{IoOverlapped{}, this, IoNone} {
  copyFrom(other);
}

MxAsyncFileWin& MxAsyncFileWin::operator=(const MxAsyncFileWin& other) {
  if (&other == this) return *this;
  MxObject::operator=(other);
  close(false);
  copyFrom(other);
  return *this;
}

MxAsyncFileWin::~MxAsyncFileWin() { close(false); }

void MxAsyncFileWin::copyFrom(const MxAsyncFileWin& other) {
  // A handle of its own, so each handle is closed exactly once; the records keep their own
  // owner and start idle, since no request runs in them.
  if (other.handle_ != nullptr) handle_ = platform::duplicateFile(other.handle_);
  if (handle_ != nullptr) {
    mode_ = other.mode_;
    path_ = other.path_;
  }
  position_ = other.position_;
  readContext_.overlapped = other.readContext_.overlapped;
  writeContext_.overlapped = other.writeContext_.overlapped;
  readCallback_ = other.readCallback_;
  writeCallback_ = other.writeCallback_;
}

bool MxAsyncFileWin::Open(const String& path, int mode) {
  // The old handle is closed first, so this object's own share mode cannot refuse a reopen
  // of the same file; callbacks, position and path stay.
  if (handle_ != nullptr) releaseHandle(true);
  const bool known = static_cast<unsigned>(mode) < kModeCount;
  const WideChar* const name = path;
  handle_ = platform::openOverlappedFile(name, known ? kAccessByMode[mode] : 0,
                                         known ? kCreationByMode[mode] : 0);
  mode_ = mode;
  try {
    if (&path != &path_) path_ = path;
  } catch (const std::bad_alloc&) {  // files never throw: no memory, no open file
    if (handle_ != nullptr) releaseHandle(false);
    platform::setLastError(platform::kErrorNotEnoughMemory);
    return false;
  }
  return handle_ != nullptr;
}

int MxAsyncFileWin::Read(Byte& out) {
  const int length = static_cast<int>(GetLength());
  out.Clear();
  if (length <= 0) return 0;
  unsigned char* storage;
  try {
    storage = out.AllocBuffer(length);
  } catch (const std::bad_alloc&) {
    return 0;
  }
  if (Read(storage, static_cast<unsigned>(length)) != 1) return 0;
  // Read reports success, not a count: the count is the one the completion delivered.
  unsigned transferred = 0;
  // The record keeps the outcome of the request it last carried: this read's, unless the
  // callback issued another read in it.
  if (!platform::overlappedResult(handle_, &readContext_.overlapped, &transferred, true)) {
    return 0;
  }
  if (transferred > static_cast<unsigned>(out.GetBufferLength())) return 0;
  out.SetLength(static_cast<int>(transferred));
  return static_cast<int>(transferred);
}

unsigned int MxAsyncFileWin::Read(void* buffer, unsigned int count) {
  if (handle_ == nullptr || buffer == nullptr || count == 0 || !roomToNest()) return 0;
  readContext_.overlapped.offset = position_;
  readContext_.event = IoRead;
  if (!platform::readFileEx(handle_, buffer, count, &readContext_.overlapped,
                            &fileIOCompletionRoutine)) {
    readContext_.event = IoNone;  // refused at once: no completion of its own will come
    // Some systems still queue a routine for a request they refused; let it run now, while
    // it finds the record idle, rather than at the wait of the next request.
    platform::runQueuedCompletions();
    return 0;
  }
  // On Windows a successful request leaves the last error as it was, so a stale code (the
  // "already exists" of Open in mode 3 or 4, say) makes this 0 although the request runs.
  if (!requestUnderway(platform::lastError())) return 0;
  return awaitCompletion(readContext_, IoRead) ? 1 : 0;
}

unsigned int MxAsyncFileWin::Write(const Byte& data) { return MxFile::Write(data); }

unsigned int MxAsyncFileWin::Write(const void* buffer, unsigned int count) {
  if (handle_ == nullptr || buffer == nullptr || count == 0 || !roomToNest()) return 0;
  writeContext_.event = IoWrite;
  writeContext_.overlapped.offset = position_;
  if (!platform::writeFileEx(handle_, buffer, count, &writeContext_.overlapped,
                             &fileIOCompletionRoutine)) {
    writeContext_.event = IoNone;
    platform::runQueuedCompletions();
    return 0;
  }
  if (!requestUnderway(platform::lastError())) return 0;
  return awaitCompletion(writeContext_, IoWrite) ? 1 : 0;
}

bool MxAsyncFileWin::awaitCompletion(IoContext& context, IoEvent event) noexcept {
  // Also for a request issued from a callback: it is delivered, and its own callback runs,
  // inside this wait, nested in the callback that issued it.
  if (event == IoWrite) {
    // Sleep until routines have run and one of them was this write's.
    while (context.event == IoWrite) {
      if (!platform::sleepAlertable()) return false;
    }
    return true;
  }
  for (;;) {
    switch (platform::waitForFileAlertable(handle_)) {
      case platform::WaitResult::IoCompletion:
        if (context.event != event) return true;
        continue;  // routines of other requests ran; this one is still to come
      case platform::WaitResult::Signalled: {
        // Done, but the routine may not have run: fetch the outcome and deliver it here.
        unsigned transferred = 0;
        if (!platform::overlappedResult(handle_, &context.overlapped, &transferred, true)) {
          // The routine, still queued, reports the failure to the callback.
          platform::runQueuedCompletions();
          return false;
        }
        // The system's routine for this request may still be queued. It runs now, while it
        // finds the record idle, and is dropped: otherwise a request that the callback issues
        // in this record would take it for its own completion.
        context.event = IoNone;
        platform::runQueuedCompletions();
        context.event = event;
        fileIOCompletionRoutine(0, transferred, &context.overlapped);
        return true;
      }
      case platform::WaitResult::Failed:
        return false;
    }
  }
}

void MxAsyncFileWin::SeekToBegin() { position_ = 0; }

void MxAsyncFileWin::SeekToEnd() { position_ = MxAsyncFileWin::GetLength(); }

bool MxAsyncFileWin::Seek(unsigned int position) {
  if (handle_ == nullptr) return false;
  if (position > platform::fileSize(handle_)) return false;
  position_ = position;
  return true;
}

unsigned int MxAsyncFileWin::GetLength() {
  return handle_ == nullptr ? platform::kInvalidFileSize : platform::fileSize(handle_);
}

bool MxAsyncFileWin::Flush() {
  if (handle_ == nullptr) return false;
  cancelIo();
  return platform::flushFile(handle_);
}

void MxAsyncFileWin::Close() { close(true); }

void MxAsyncFileWin::CancelIo() { cancelIo(); }

void MxAsyncFileWin::cancelIo() noexcept {
  if (handle_ != nullptr) platform::cancelIo(handle_);
}

void MxAsyncFileWin::SetCallBackRead(IoCallback callback) noexcept { readCallback_ = callback; }

void MxAsyncFileWin::SetCallBackWrite(IoCallback callback) noexcept { writeCallback_ = callback; }

void MxAsyncFileWin::releaseHandle(bool waitForPending) noexcept {
  if (waitForPending && (readContext_.event == IoRead || writeContext_.event == IoWrite)) {
    // Records of refused requests are idle, so a pending record always has a completion
    // coming and this wait ends.
    if (platform::waitForFileAlertable(handle_) == platform::WaitResult::Signalled) {
      platform::runQueuedCompletions();
    }
  }
  platform::cancelIo(handle_);
  // Whatever is still to be delivered for this file now finds its record idle and is dropped,
  // here, while the records still exist.
  readContext_.event = IoNone;
  writeContext_.event = IoNone;
  platform::runQueuedCompletions();
  platform::closeFile(handle_);
  handle_ = nullptr;
}

void MxAsyncFileWin::close(bool wait) noexcept {
  if (handle_ != nullptr) releaseHandle(wait);
  readContext_.event = IoNone;
  writeContext_.event = IoNone;
  readCallback_ = nullptr;
  writeCallback_ = nullptr;
  mode_ = 0;
  path_.ReleaseBuffer();
  position_ = 0;
}

void MxAsyncFileWin::fileIOCompletionRoutine(unsigned long errorCode, unsigned long bytes,
                                             IoOverlapped* overlapped) {
  if (overlapped == nullptr) return;
  // The overlapped record is the first member of its IoContext.
  IoContext* const context = reinterpret_cast<IoContext*>(overlapped);
  const IoEvent event = context->event;
  if ((event != IoRead && event != IoWrite) || context->owner == nullptr) return;
  // Idle before the owner hears of it, so a second delivery of this completion is ignored
  // whatever the owner's onIoCompletion does.
  context->event = IoNone;
  const DeliveryScope delivering;
  context->owner->onIoCompletion(event, static_cast<unsigned>(errorCode),
                                 static_cast<unsigned>(bytes));
}

void MxAsyncFileWin::onIoCompletion(IoEvent event, unsigned int errorCode, unsigned int bytes) {
  IoCallback callback;
  if (event == IoRead) {
    readContext_.event = IoNone;
    callback = readCallback_;
  } else if (event == IoWrite) {
    writeContext_.event = IoNone;
    callback = writeCallback_;
  } else {
    return;
  }
  if (callback == nullptr) return;
  // Callbacks take the file as an MxAsyncFile, a plain MxAsyncFileWin too: MxAsyncFile adds
  // no member, so both are the same object at the same address.
  static_assert(sizeof(MxAsyncFile) == sizeof(MxAsyncFileWin), "MxAsyncFile adds no member");
  MxAsyncFile& file = *reinterpret_cast<MxAsyncFile*>(this);
  MxException error(static_cast<int>(errorCode));
  // The outcome is the thread's last error during the call, so GetCode(), which reads the
  // last error for a code of 0, gives 0 for a success. Afterwards the last error is what the
  // request left: delivering a completion has no lasting effect on it.
  const int lastError = platform::lastError();
  platform::setLastError(static_cast<int>(errorCode));
  callback(file, bytes, error);
  platform::setLastError(lastError);
}

MxAsyncFile::MxAsyncFile() noexcept = default;

MxAsyncFile::MxAsyncFile(const MxAsyncFile& /*other: copies start closed*/) noexcept
    : MxAsyncFileWin() {}

MxAsyncFile& MxAsyncFile::operator=(const MxAsyncFile& /*other*/) noexcept { return *this; }

MxAsyncFile::~MxAsyncFile() = default;

}  // namespace mlib
