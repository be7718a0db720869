// Overlapped files, forwarded to Win32. Requests go to ReadFileEx/WriteFileEx with a routine of
// the system's calling convention that passes the completion on to the caller's routine; the
// caller's routine travels in the record's event word, which these two calls leave to the
// application.
#include "platform/file.h"

#include <mlib/files.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "platform/win32/win32.h"

namespace mlib::platform {

const int kErrorAlreadyExists = ERROR_ALREADY_EXISTS;
const int kErrorIoIncomplete = ERROR_IO_INCOMPLETE;
const int kErrorIoPending = ERROR_IO_PENDING;
const int kErrorSharingViolation = ERROR_SHARING_VIOLATION;
const int kErrorStackOverflow = ERROR_STACK_OVERFLOW;
const int kErrorNotEnoughMemory = ERROR_NOT_ENOUGH_MEMORY;

namespace {

// The library's record is the system's, field for field.
static_assert(sizeof(IoOverlapped) == sizeof(OVERLAPPED), "record size differs");
static_assert(offsetof(IoOverlapped, internal) == offsetof(OVERLAPPED, Internal), "Internal");
static_assert(offsetof(IoOverlapped, internalHigh) == offsetof(OVERLAPPED, InternalHigh),
              "InternalHigh");
static_assert(offsetof(IoOverlapped, offset) == offsetof(OVERLAPPED, Offset), "Offset");
static_assert(offsetof(IoOverlapped, offsetHigh) == offsetof(OVERLAPPED, OffsetHigh), "OffsetHigh");
static_assert(offsetof(IoOverlapped, event) == offsetof(OVERLAPPED, hEvent), "hEvent");

OVERLAPPED* systemRecord(IoOverlapped* overlapped) noexcept {
  return reinterpret_cast<OVERLAPPED*>(overlapped);
}

// The routine the system calls: finds the caller's routine in the record's event word.
VOID CALLBACK systemCompletion(DWORD errorCode, DWORD byteCount, LPOVERLAPPED overlapped) {
  auto* record = reinterpret_cast<IoOverlapped*>(overlapped);
  if (record == nullptr) return;
  const auto routine = reinterpret_cast<CompletionRoutine>(record->event);
  if (routine != nullptr) routine(errorCode, byteCount, record);
}

bool prepareRequest(IoOverlapped* overlapped, CompletionRoutine routine) noexcept {
  if (overlapped == nullptr || routine == nullptr) {
    ::SetLastError(ERROR_INVALID_PARAMETER);
    return false;
  }
  overlapped->event = reinterpret_cast<void*>(routine);
  return true;
}

}  // namespace

FileHandle openOverlappedFile(const WideChar* path, unsigned access, unsigned creation) noexcept {
  if (path == nullptr) {
    ::SetLastError(ERROR_PATH_NOT_FOUND);
    return nullptr;
  }
  HANDLE file = ::CreateFileW(path, access, FILE_SHARE_READ, nullptr, creation,
                              FILE_FLAG_OVERLAPPED | FILE_ATTRIBUTE_NORMAL, nullptr);
  return file == INVALID_HANDLE_VALUE ? nullptr : file;
}

bool readFileEx(FileHandle file, void* buffer, unsigned byteCount, IoOverlapped* overlapped,
                CompletionRoutine routine) noexcept {
  if (!prepareRequest(overlapped, routine)) return false;
  return ::ReadFileEx(file, buffer, byteCount, systemRecord(overlapped), &systemCompletion) !=
         FALSE;
}

bool writeFileEx(FileHandle file, const void* buffer, unsigned byteCount, IoOverlapped* overlapped,
                 CompletionRoutine routine) noexcept {
  if (!prepareRequest(overlapped, routine)) return false;
  return ::WriteFileEx(file, buffer, byteCount, systemRecord(overlapped), &systemCompletion) !=
         FALSE;
}

WaitResult waitForFileAlertable(FileHandle file) noexcept {
  switch (::WaitForSingleObjectEx(file, INFINITE, TRUE)) {
    case WAIT_OBJECT_0:
      return WaitResult::Signalled;
    case WAIT_IO_COMPLETION:
      return WaitResult::IoCompletion;
    default:
      return WaitResult::Failed;
  }
}

bool sleepAlertable() noexcept { return ::SleepEx(INFINITE, TRUE) == WAIT_IO_COMPLETION; }

void runQueuedCompletions() noexcept { (void)::SleepEx(0, TRUE); }

bool overlappedResult(FileHandle file, IoOverlapped* overlapped, unsigned* byteCount,
                      bool wait) noexcept {
  if (overlapped == nullptr || byteCount == nullptr) {
    ::SetLastError(ERROR_INVALID_PARAMETER);
    return false;
  }
  // The event word holds the caller's routine, which the call would take for an event to
  // wait on; it is hidden for the call's duration and put back for the queued routine.
  void* const routine = overlapped->event;
  overlapped->event = nullptr;
  DWORD transferred = 0;
  const BOOL ok =
      ::GetOverlappedResult(file, systemRecord(overlapped), &transferred, wait ? TRUE : FALSE);
  overlapped->event = routine;
  *byteCount = transferred;
  return ok != FALSE;
}

unsigned fileSize(FileHandle file) noexcept { return ::GetFileSize(file, nullptr); }

bool cancelIo(FileHandle file) noexcept { return ::CancelIo(file) != FALSE; }

bool flushFile(FileHandle file) noexcept { return ::FlushFileBuffers(file) != FALSE; }

bool closeFile(FileHandle file) noexcept {
  if (file == nullptr) {
    ::SetLastError(ERROR_INVALID_HANDLE);
    return false;
  }
  return ::CloseHandle(file) != FALSE;
}

FileHandle duplicateFile(FileHandle file) noexcept {
  HANDLE copy = nullptr;
  const HANDLE process = ::GetCurrentProcess();
  if (!::DuplicateHandle(process, file, process, &copy, 0, FALSE, DUPLICATE_SAME_ACCESS)) {
    return nullptr;
  }
  return copy;
}

std::size_t stackLeft() noexcept {
  // The stack is one reservation; its base is the lowest address. Asked each time, so a
  // fiber's stack answers for itself. The last pages are the system's guard: the caller's
  // reserve covers them.
  const void* const here = __builtin_frame_address(0);
  MEMORY_BASIC_INFORMATION region;
  if (::VirtualQuery(here, &region, sizeof region) == 0) return SIZE_MAX;
  const auto base = reinterpret_cast<std::uintptr_t>(region.AllocationBase);
  const auto at = reinterpret_cast<std::uintptr_t>(here);
  return at > base ? at - base : 0;
}

std::FILE* openStream(const char* path, const char* streamMode) noexcept {
  // The runtime opens with every share flag; the system checks both ways itself.
  return std::fopen(path, streamMode);
}

bool closeStream(std::FILE* stream) noexcept {
  if (stream == nullptr) {
    ::SetLastError(ERROR_INVALID_HANDLE);
    return false;
  }
  if (std::fclose(stream) == 0) return true;
  // The failed write's code is normally still the last error; a failure of the runtime's
  // own still says that the data did not reach the system.
  if (::GetLastError() == ERROR_SUCCESS) ::SetLastError(ERROR_WRITE_FAULT);
  return false;
}

}  // namespace mlib::platform
