// MxFile over the C library's buffered streams. Every read and write first moves the stream
// to the object's position, so the stream's own offset never matters between calls.
#include <mlib/files.h>

#include <cstdint>
#include <cstdio>
#include <new>

#include "platform/platform.h"

namespace mlib {
namespace {

// Stream modes by file mode (0 to 4).
constexpr const char* kStreamModes[] = {"rb", "rb+", "rb+", "wb+", "ab+"};
constexpr unsigned kModeCount = sizeof(kStreamModes) / sizeof(kStreamModes[0]);

std::FILE* streamOf(void* handle) noexcept { return static_cast<std::FILE*>(handle); }

// Offsets reach the stream as signed 32-bit values: a position past 2^31 - 1 turns negative,
// and the stream refuses it.
long streamOffset(unsigned position) noexcept {
  return static_cast<long>(static_cast<std::int32_t>(position));
}

}  // namespace

MxFile::MxFile() noexcept = default;

MxFile::MxFile(const MxFile& other) noexcept : MxObject(other) {}

MxFile& MxFile::operator=(const MxFile& other) noexcept {
  MxObject::operator=(other);
  return *this;
}

MxFile::~MxFile() {
  closeStream();
  position_ = 0;
  mode_ = 0;
}

bool MxFile::closeStream() noexcept {
  if (handle_ == nullptr) return true;
  const bool closed = platform::closeStream(streamOf(handle_));
  handle_ = nullptr;
  return closed;
}

bool MxFile::Open(const String& path, int mode) {
  if (path.IsEmpty()) return false;
  Close();
  // Files never throw: without memory for the path or its ANSI form the file stays closed.
  const char* name;
  try {
    if (&path != &path_) path_ = path;
    if (static_cast<unsigned>(mode) >= kModeCount) return false;
    name = path_.toAnsi();
  } catch (const std::bad_alloc&) {
    platform::setLastError(platform::kErrorNotEnoughMemory);
    return false;
  }
  position_ = 0;
  // The stream takes part in the share modes of the overlapped files (they share reading
  // only): the system checks them on Windows, the platform layer elsewhere.
  handle_ = name != nullptr ? platform::openStream(name, kStreamModes[mode]) : nullptr;
  mode_ = mode;
  SeekToBegin();
  // Opening an existing file for create-or-open leaves "already exists" behind; that is
  // no failure of this call.
  if (platform::lastError() == platform::kErrorAlreadyExists) platform::setLastError(0);
  return handle_ != nullptr;
}

int MxFile::Read(Byte& out) {
  const int length = static_cast<int>(GetLength());
  out.Clear();
  unsigned char* storage = nullptr;
  if (length > 0) {
    try {
      storage = out.AllocBuffer(length);
    } catch (const std::bad_alloc&) {
      return 0;
    }
  }
  const int result = static_cast<int>(Read(storage, static_cast<unsigned>(length)));
  if (result >= 0 && result <= out.GetBufferLength()) out.SetLength(result);
  return result;
}

unsigned int MxFile::Read(void* buffer, unsigned int count) {
  if (handle_ == nullptr || buffer == nullptr) return 0;
  std::FILE* const stream = streamOf(handle_);
  if (std::fseek(stream, streamOffset(position_), SEEK_SET) != 0) return 0;
  return static_cast<unsigned>(std::fread(buffer, 1, count, stream));
}

unsigned int MxFile::Write(const Byte& data) {
  const void* const storage = data.GetBufferLength() > 0 ? data.GetData() : nullptr;
  return Write(storage, static_cast<unsigned>(data.GetLength()));
}

unsigned int MxFile::Write(const void* buffer, unsigned int count) {
  if (handle_ == nullptr || buffer == nullptr || mode_ == 0) return 0;
  std::FILE* const stream = streamOf(handle_);
  if (std::fseek(stream, streamOffset(position_), SEEK_SET) != 0) return 0;
  return static_cast<unsigned>(std::fwrite(buffer, 1, count, stream));
}

void MxFile::SeekToBegin() {
  if (handle_ == nullptr) return;
  if (std::fseek(streamOf(handle_), 0, SEEK_SET) == 0) position_ = 0;
}

void MxFile::SeekToEnd() {
  if (handle_ == nullptr) return;
  std::FILE* const stream = streamOf(handle_);
  if (std::fseek(stream, 0, SEEK_END) != 0) return;
  const long end = std::ftell(stream);
  if (end >= 0) position_ = static_cast<unsigned>(end);
}

bool MxFile::Seek(unsigned int position) {
  if (handle_ == nullptr) return false;
  if (std::fseek(streamOf(handle_), streamOffset(position), SEEK_SET) != 0) return false;
  position_ = position;
  return true;
}

unsigned int MxFile::GetLength() {
  if (handle_ == nullptr) return 0;
  std::FILE* const stream = streamOf(handle_);
  if (std::fseek(stream, 0, SEEK_END) != 0) return 0;
  const long end = std::ftell(stream);
  return end >= 0 ? static_cast<unsigned>(end) : 0;
}

bool MxFile::Flush() { return handle_ != nullptr && std::fflush(streamOf(handle_)) == 0; }

void MxFile::Close() {
  // The final flush is the host's last chance to hear that buffered data did not reach the
  // system: when it fails, the last error says why once Close returns.
  const bool flushed = closeStream();
  const int error = platform::lastError();
  path_.ReleaseBuffer();
  mode_ = 0;
  position_ = 0;
  if (!flushed) platform::setLastError(error);
}

}  // namespace mlib
