/// \file
/// The library's files. MxFile is the positional file interface, implemented over the C
/// library's buffered streams; MxAsyncFileWin and MxAsyncFile read and write through the
/// system's overlapped calls and report each completed request to a callback with an
/// MxException (<mlib/exceptions.h>). Paths are String; whole-file contents travel in a Byte.
///
/// Positional: the object keeps the offset of the next read or write itself, and no read or
/// write moves it; only Open, the Seek family and Close do. Nothing here throws.
#ifndef MLIB_FILES_H
#define MLIB_FILES_H

#include <mlib/byte.h>
#include <mlib/config.h>
#include <mlib/object.h>
#include <mlib/string.h>

#include <cstdint>

namespace mlib {

class MxAsyncFile;
class MxException;

/// The record an overlapped request runs in, field for field the system's own: two words the
/// system keeps while the request runs (status, then bytes transferred), the 64-bit file
/// offset of the request in two halves, and an event word the library uses for its own ends.
struct IoOverlapped {
  std::uintptr_t internal;      ///< the request's status while it runs and after
  std::uintptr_t internalHigh;  ///< bytes transferred once it has finished
  std::uint32_t offset;         ///< low 32 bits of the file offset
  std::uint32_t offsetHigh;     ///< high 32 bits; the files leave it 0
  void* event;                  ///< not an event for these requests: the library's own word
};

/// A file opened by path in one of five modes, read and written at the position the object
/// keeps. Modes, with the C library stream mode used here:
///   0 read an existing file ("rb")         1 write an existing file ("rb+")
///   2 read and write an existing file ("rb+")
///   3 read and write, created or truncated to empty ("wb+")
///   4 read and write, created when missing, content kept ("ab+": every write appends)
/// Any other mode is refused. Positions and lengths are 32-bit; offsets reach the stream as
/// signed 32-bit values, so files are usable up to 2^31 - 1 bytes.
///
/// MxFile is not exported: hosts use it through the overlapped files below, whose public
/// operations are these virtual slots. A copy starts closed: two objects never hold one
/// stream. One thread at a time.
class MxFile : public MxObject {
 public:
  /// Closed: no stream, position 0, mode 0, empty path.
  MxFile() noexcept;
  /// A closed file, as the default constructor makes, whatever `other` holds: a stream has
  /// exactly one owner, so it is never shared between copies.
  MxFile(const MxFile& other) noexcept;
  /// Copies nothing (as MxObject's); returns *this.
  MxFile& operator=(const MxFile& other) noexcept;
  /// Closes the stream if one is open; does not call the virtual Close.
  ~MxFile() override;

  /// Opens `path` in `mode`. An empty or null path returns false and changes nothing (an open
  /// file stays open). Otherwise Close() runs first and the path is stored; a mode outside 0
  /// to 4 then returns false (closed, mode 0). Then the stream is opened on the path's ANSI
  /// text, the mode stored, and SeekToBegin() called. A last system error of "already
  /// exists" left by the open is reset to 0. True exactly when a stream was obtained.
  virtual bool Open(const String& path, int mode);
  /// The file from the position to the end into `out`: out gets exactly GetLength() bytes of
  /// cleared storage (none for an empty or closed file) and its length becomes the count
  /// read. Returns that count (0 when closed or empty). No terminator slot is reserved.
  virtual int Read(Byte& out);
  /// Up to `count` bytes at the position into `buffer`; the count read. 0 when closed, when
  /// buffer is null, at or past the end, or when the stream cannot reach the position.
  virtual unsigned int Read(void* buffer, unsigned int count);
  /// Write(data's storage, data's length); a Byte without storage writes nothing (0).
  virtual unsigned int Write(const Byte& data);
  /// Writes `count` bytes from `buffer` at the position (mode 4: at the end); the count the
  /// stream accepted. 0 when closed, when buffer is null or in mode 0.
  virtual unsigned int Write(const void* buffer, unsigned int count);
  /// Position 0, when open and the stream accepts it; otherwise nothing changes.
  virtual void SeekToBegin();
  /// Position = the file's length, when open and the stream accepts it.
  virtual void SeekToEnd();
  /// Stores `position` (past the end is accepted). False when closed or when the stream
  /// refuses the offset; the position is then unchanged.
  virtual bool Seek(unsigned int position);
  /// The file's length; 0 when closed. The position is not touched.
  virtual unsigned int GetLength();
  /// fflush: false when closed or when it fails. Write only fills the stream's buffer: Flush is
  /// how a host learns that the data reached the system.
  virtual bool Flush();
  /// Closes the stream if one is open; path empty, mode and position 0. Harmless when closed.
  /// When the final flush fails, the thread's last error holds the system's code afterwards.
  virtual void Close();

 protected:
  void* handle_ = nullptr;     ///< the stream (here) or the system handle; null while closed
  unsigned int position_ = 0;  ///< offset of the next read or write
  int mode_ = 0;               ///< the mode of the last Open; 0 while closed
  String path_;                ///< the path of the last Open; empty while closed

 private:
  bool closeStream() noexcept;
};

/// A file over the system's overlapped calls, with callbacks that hear of each completed read
/// and write. Read and Write issue one request at the position, wait alertably until its
/// completion has been delivered (the callback has run, on the caller's own thread) and return
/// 1, or 0 when the request could not be made; the byte count and the outcome reach only the
/// callback, as its `bytes` and an MxException whose code is the system error code (0 on
/// success).
///
/// The file is opened with the share mode "read": while it is open, other openers may read it
/// but not write it (in this process on every platform; system-wide on Windows). Nor can it be
/// opened while an MxFile stream or another opener holds the file for writing.
/// Copying duplicates the system handle: the copy holds the same file under a handle of its
/// own, with the source's path, mode, position and callbacks, and nothing pending.
/// Callbacks take an MxAsyncFile&, for a plain MxAsyncFileWin too (the same object; MxAsyncFile
/// adds no member). Use from one thread: completions run on the thread that issued the request.
class MLIB_API MxAsyncFileWin : public MxFile {
 public:
  /// The kind of request pending in a record.
  enum IoEvent : std::int32_t {
    IoNone = 0,   ///< nothing pending
    IoRead = 1,   ///< a read was issued in the read record
    IoWrite = 2,  ///< a write was issued in the write record
  };

  /// One record per direction. The overlapped record comes first: the completion routine
  /// gets only its address and takes it for the record's.
  struct IoContext {
    IoOverlapped overlapped;  ///< handed to the system; offset = the request's position
    MxAsyncFileWin* owner;    ///< the object holding this record; copying never changes it
    IoEvent event;            ///< the request pending in this record, or IoNone
  };

  /// A completion callback: the file, the bytes transferred and the outcome. The exception
  /// lives only during the call; copy it to keep it. Must not throw.
  using IoCallback = void (*)(MxAsyncFile& file, unsigned int bytes, MxException& error);

  /// Closed, both records idle and owned by this object, no callbacks.
  MxAsyncFileWin() noexcept;
  /// A second handle to the same file with other's path and mode; closed (no path, mode 0)
  /// when `other` is closed or its handle cannot be duplicated. Position, record offsets and
  /// callbacks are copied either way; both records start idle, owned by the new object.
  MxAsyncFileWin(const MxAsyncFileWin& other);
  /// Closes this object's own file (no waiting, callbacks dropped), then copies as the copy
  /// constructor does. Self-assignment changes nothing.
  MxAsyncFileWin& operator=(const MxAsyncFileWin& other);
  /// close(false).
  ~MxAsyncFileWin() override;

  /// Opens `path` for overlapped use (no emptiness check; the system refuses an empty path):
  ///   0 read, existing file   1 write, existing file   2 read and write, existing file
  ///   3 read and write, created or truncated   4 read and write, created when missing
  /// An open file is closed first (its pending requests delivered), keeping the callbacks.
  /// Stores the mode and the path; the position, the records and the callbacks stay as they
  /// are. False, closed, when the system refuses (missing file, other mode, share mode; on
  /// POSIX anything but a regular file: ESPIPE, EISDIR for a folder).
  bool Open(const String& path, int mode) override;
  /// The file from the position to the end into `out`, as MxFile's: exactly GetLength() bytes
  /// of storage, the length and result being the bytes the read's completion reported.
  int Read(Byte& out) override;
  /// Issues a read of up to `count` bytes at the position into `buffer` and returns 1 once its
  /// completion has been delivered; 0, with no callback, when closed, buffer is null, count is
  /// 0 or the system refuses the request (e.g. a file opened for writing only). 0 also when the
  /// last error after an accepted request is not 0, 996 or 997 (a stale code on Windows): the
  /// completion then comes at the next alertable wait. Called from a callback, it waits the
  /// same way, its own callback running nested inside the calling one; such a nested request
  /// is refused (0, last error ERROR_STACK_OVERFLOW on Windows, ENOMEM on POSIX) when less
  /// than 64 KiB of the thread's stack is left. A read at or past the end reads 0 bytes: it
  /// completes with code 0 on POSIX; on Windows the system may report the end as a failure,
  /// delivered to the callback, and Read then returns 0.
  unsigned int Read(void* buffer, unsigned int count) override;
  /// MxFile's: Write(data's storage, data's length), so 1 when the write was made, else 0.
  /// (Declared here so hosts reach it through this exported class.)
  unsigned int Write(const Byte& data) override;
  /// Issues a write of `count` bytes at the position and returns 1 once its completion has
  /// been delivered (the callback, if set, got the byte count); 0 as for Read.
  unsigned int Write(const void* buffer, unsigned int count) override;
  /// Position 0, also when closed.
  void SeekToBegin() override;
  /// Position = the low 32 bits of the file size; 0xFFFFFFFF when closed or unreadable.
  void SeekToEnd() override;
  /// False when closed or when `position` is past the file size (the end itself is valid);
  /// otherwise stores it.
  bool Seek(unsigned int position) override;
  /// The low 32 bits of the file size; 0xFFFFFFFF when closed or unreadable.
  unsigned int GetLength() override;
  /// Cancels this thread's requests in flight, then writes the system's buffers to the device.
  /// False when closed or when the flush fails (a file opened for reading only).
  bool Flush() override;
  /// close(true).
  void Close() override;
  /// Cancels this thread's requests in flight on the file; their completions arrive, with the
  /// cancellation's code, at the next alertable wait. Nothing when closed.
  virtual void CancelIo();

  /// Sets (null removes) the callback of completed reads / writes. Close drops both.
  void SetCallBackRead(IoCallback callback) noexcept;
  void SetCallBackWrite(IoCallback callback) noexcept;

 protected:
  /// Delivers a completed request: IoRead makes the read record idle and, when a read callback
  /// is set, calls it with this file, `bytes` and an MxException of code `errorCode`; IoWrite
  /// the same with the write record and callback; anything else does nothing.
  virtual void onIoCompletion(IoEvent event, unsigned int errorCode, unsigned int bytes);
  /// CancelIo's body.
  void cancelIo() noexcept;
  /// When open: with `wait`, first lets a pending request's completion be delivered; then
  /// cancels what is in flight and closes the handle. Always: both records idle, callbacks
  /// dropped, mode 0, path empty, position 0.
  void close(bool wait) noexcept;
  /// The completion routine of every request. A null record, or one with nothing pending,
  /// is ignored (so a completion delivered twice is reported once); otherwise the record's
  /// owner hears of it through onIoCompletion.
  static void fileIOCompletionRoutine(unsigned long errorCode, unsigned long bytes,
                                      IoOverlapped* overlapped);

  IoContext readContext_;               ///< the read in progress
  IoContext writeContext_;              ///< the write in progress
  IoCallback readCallback_ = nullptr;   ///< may be null
  IoCallback writeCallback_ = nullptr;  ///< may be null

 private:
  void releaseHandle(bool waitForPending) noexcept;
  void copyFrom(const MxAsyncFileWin& other);
  bool awaitCompletion(IoContext& context, IoEvent event) noexcept;
};

/// The overlapped file hosts use and callbacks receive. It adds nothing to MxAsyncFileWin but
/// its copying: a copy is a fresh closed file and assignment changes nothing.
class MLIB_API MxAsyncFile : public MxAsyncFileWin {
 public:
  /// Closed, as MxAsyncFileWin's.
  MxAsyncFile() noexcept;
  /// A closed file with no path and no callbacks, whatever `other` holds.
  MxAsyncFile(const MxAsyncFile& other) noexcept;
  /// Does nothing; returns *this.
  MxAsyncFile& operator=(const MxAsyncFile& other) noexcept;
  /// As MxAsyncFileWin's.
  ~MxAsyncFile() override;
};

}  // namespace mlib

#endif  // MLIB_FILES_H
