// Overlapped files: the system calls behind MxAsyncFileWin (open for overlapped use, read and
// write with a completion routine, alertable waits, size, cancel, flush, close), and the
// streams of the buffered file, which take part in the same share modes.
//
// Completion routines run on the thread that issued the request, and only while that thread
// waits alertably (waitForFileAlertable, sleepAlertable, runQueuedCompletions): on Windows as
// asynchronous procedure calls, elsewhere from a per-thread queue of finished transfers.
#ifndef MLIB_SRC_PLATFORM_FILE_H
#define MLIB_SRC_PLATFORM_FILE_H

#include <mlib/config.h>

#include <cstddef>
#include <cstdio>

namespace mlib {
struct IoOverlapped;  // <mlib/files.h>: the request record, laid out as the system's own
}  // namespace mlib

namespace mlib::platform {

// An open overlapped file; null stands for none.
using FileHandle = void*;

// Called once per completed request with the request's system error code (0 on success), the
// bytes transferred and the record the request was issued with.
using CompletionRoutine = void (*)(unsigned long errorCode, unsigned long byteCount,
                                   IoOverlapped* overlapped);

// Access rights of openOverlappedFile (the Win32 values).
constexpr unsigned kGenericRead = 0x80000000u;
constexpr unsigned kGenericWrite = 0x40000000u;

// Creation dispositions of openOverlappedFile (the Win32 values).
constexpr unsigned kCreateNew = 1;         // create; fail when the file exists
constexpr unsigned kCreateAlways = 2;      // create, or truncate an existing file
constexpr unsigned kOpenExisting = 3;      // open; fail when the file is missing
constexpr unsigned kOpenAlways = 4;        // open, or create a missing file
constexpr unsigned kTruncateExisting = 5;  // open and truncate; fail when missing

// The size reported when it cannot be read (closed handle, system failure).
constexpr unsigned kInvalidFileSize = 0xFFFFFFFFu;

// System error codes the file classes test, as lastError() reports them: the Win32 numbers
// on Windows, the matching errno values elsewhere.
extern const int kErrorAlreadyExists;     // a create-or-open found the file present (183)
extern const int kErrorIoIncomplete;      // the request has not finished yet (996)
extern const int kErrorIoPending;         // the request runs in the background (997)
extern const int kErrorSharingViolation;  // another holder's share mode refuses (32)
extern const int kErrorStackOverflow;     // the thread's stack is nearly spent (1001; ENOMEM)
extern const int kErrorNotEnoughMemory;   // the heap is exhausted (8)

// How an alertable wait ended.
enum class WaitResult {
  Signalled,     // the handle was signalled: no request of it is in flight
  IoCompletion,  // queued completion routines ran
  Failed,        // bad handle or system failure; lastError() says which
};

// CreateFileW(path, access, FILE_SHARE_READ, no security, creation,
// FILE_FLAG_OVERLAPPED | FILE_ATTRIBUTE_NORMAL, no template). Other openers may read the file
// while the handle is open, not write it. Returns null on failure (null or missing path,
// folder, sharing violation, unknown creation). On success lastError() is
// kErrorAlreadyExists when kCreateAlways or kOpenAlways found the file present. The POSIX
// layer opens regular files only: a FIFO, socket or device is refused with ESPIPE (its
// positions mean nothing, and opening a FIFO could block), a folder with EISDIR.
[[nodiscard]] FileHandle openOverlappedFile(const WideChar* path, unsigned access,
                                            unsigned creation) noexcept;

// ReadFileEx: reads up to byteCount bytes at the 64-bit offset held in `overlapped` into
// `buffer`; `routine` runs with the outcome at this thread's next alertable wait. A read at or
// past the end completes with 0 bytes. False when the request is refused at once (bad handle,
// no read access, null record or routine); no completion follows then. The buffer and the
// record must stay valid until the routine has run.
[[nodiscard]] bool readFileEx(FileHandle file, void* buffer, unsigned byteCount,
                              IoOverlapped* overlapped, CompletionRoutine routine) noexcept;

// WriteFileEx: the mirror of readFileEx, writing byteCount bytes from `buffer` at the offset.
[[nodiscard]] bool writeFileEx(FileHandle file, const void* buffer, unsigned byteCount,
                               IoOverlapped* overlapped, CompletionRoutine routine) noexcept;

// WaitForSingleObjectEx(file, INFINITE, alertable): runs the completions queued to this
// thread, or waits until the handle is signalled.
[[nodiscard]] WaitResult waitForFileAlertable(FileHandle file) noexcept;

// SleepEx(INFINITE, alertable): true when it ended because queued completion routines ran.
// The POSIX layer, where only its own requests queue completions, returns false at once when
// nothing is queued rather than sleeping forever.
[[nodiscard]] bool sleepAlertable() noexcept;

// SleepEx(0, alertable): runs the completion routines already queued to this thread, if any,
// and returns without waiting for more.
void runQueuedCompletions() noexcept;

// GetOverlappedResult(file, overlapped, byteCount, wait) for a request issued with
// readFileEx/writeFileEx: *byteCount = the bytes it transferred. False, with the request's
// error in lastError(), when the request failed; `wait` waits for one still running.
[[nodiscard]] bool overlappedResult(FileHandle file, IoOverlapped* overlapped, unsigned* byteCount,
                                    bool wait) noexcept;

// GetFileSize(file, no high part): the low 32 bits of the size; kInvalidFileSize on failure.
[[nodiscard]] unsigned fileSize(FileHandle file) noexcept;

// CancelIo: cancels this thread's requests in flight on the handle; their routines still run,
// with the cancellation's code, at the next alertable wait. False for a bad handle.
bool cancelIo(FileHandle file) noexcept;

// FlushFileBuffers: writes the system's buffers of the file to the device. Needs write
// access; false otherwise.
[[nodiscard]] bool flushFile(FileHandle file) noexcept;

// CloseHandle. Completions already queued still run at the next alertable wait. False, with
// the system's error in lastError(), when the close failed; the handle is gone all the same.
bool closeFile(FileHandle file) noexcept;

// Makes a second handle to the same open file (same access, same share mode); null on
// failure. Each handle is closed on its own.
[[nodiscard]] FileHandle duplicateFile(FileHandle file) noexcept;

// Bytes of the calling thread's stack still free below the caller's frame (stacks grow down
// on every system the library is built for), the system's guard area not counted; SIZE_MAX
// when the system cannot tell, or when the caller runs on a stack of its own making.
[[nodiscard]] std::size_t stackLeft() noexcept;

// fopen(path, streamMode) for the buffered file: path is narrow text, passed on as it is. The
// stream takes part in the share modes of the files open in this process as the C runtime's
// streams do on Windows: it lets everyone read and write, but is refused (null, lastError() =
// kErrorSharingViolation) when a holder's share mode refuses its access, and while it holds
// the file for writing, a file that shares reading only cannot be opened. A refused stream
// truncates nothing. Null with the system's error on other failures.
[[nodiscard]] std::FILE* openStream(const char* path, const char* streamMode) noexcept;

// fclose for a stream of openStream. False when the final flush or the close failed; the
// system's error code is then in lastError().
bool closeStream(std::FILE* stream) noexcept;

}  // namespace mlib::platform

#endif  // MLIB_SRC_PLATFORM_FILE_H
