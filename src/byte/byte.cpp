// Byte: storage, content, capacity and access. The ANSI/UTF-8 conversions are in
// byteText.cpp.
#include <mlib/byte.h>
#include <mlib/exceptions.h>

#include <climits>
#include <cstddef>
#include <cstring>
#include <new>

namespace mlib {

namespace {

// The longest content that still leaves room for a terminator in a 32-bit capacity.
constexpr int kMaxLength = INT_MAX - 1;

constexpr unsigned char kSpace = 0x20;

[[nodiscard]] std::size_t bytes(int count) noexcept { return static_cast<std::size_t>(count); }

// Storage comes from the global allocation operator, a byte count at a time; a failure
// throws from here, before anything of the object has changed.
[[nodiscard]] unsigned char* allocateBytes(int count) {
  return static_cast<unsigned char*>(::operator new(bytes(count)));
}

void releaseBytes(unsigned char* storage) noexcept { ::operator delete(storage); }

}  // namespace

// ---- Construction, assignment, destruction ----------------------------------------------

Byte::Byte() noexcept : data_(nullptr), length_(0), bufferLength_(0) {}

Byte::Byte(const Byte& other) : Byte() { SetData(other.data_, other.length_); }

Byte::Byte(Byte&& other) noexcept
    : data_(other.data_), length_(other.length_), bufferLength_(other.bufferLength_) {
  other.data_ = nullptr;
  other.length_ = 0;
  other.bufferLength_ = 0;
}

Byte::Byte(const char* text) : Byte() { SetData(text); }

Byte::~Byte() { Clear(); }

Byte& Byte::operator=(const Byte& other) {
  if (&other != this) SetData(other.data_, other.length_);
  return *this;
}

Byte& Byte::operator=(Byte&& other) noexcept {
  if (&other == this) return *this;
  releaseBytes(data_);
  data_ = other.data_;
  length_ = other.length_;
  bufferLength_ = other.bufferLength_;
  other.data_ = nullptr;
  other.length_ = 0;
  other.bufferLength_ = 0;
  return *this;
}

Byte& Byte::operator=(const char* text) {
  SetData(text);
  return *this;
}

void Byte::Clear() noexcept {
  releaseBytes(data_);
  data_ = nullptr;
  bufferLength_ = 0;
  length_ = 0;
}

// ---- Content -----------------------------------------------------------------------------

void Byte::assign(const unsigned char* source, int count) {
  if (count < bufferLength_) {
    // Copy first, then clear the rest: the same bytes as clearing the whole storage before
    // the copy, but a source inside this storage survives.
    if (count > 0) {
      if (source != nullptr) {
        std::memmove(data_, source, bytes(count));
      } else {
        std::memset(data_, 0, bytes(count));
      }
    }
    std::memset(data_ + count, 0, bytes(bufferLength_ - count));
    length_ = count;
    return;
  }
  if (count > kMaxLength) return;
  reallocate(0, source, count);
}

void Byte::SetData(const unsigned char* source, int count) {
  if (count < 0) return;
  if (count == 0) {
    if (source == nullptr) return;
    if (data_ != nullptr) std::memset(data_, 0, bytes(bufferLength_));
    length_ = 0;
    return;
  }
  assign(source, count);
}

void Byte::SetData(const char* text) {
  if (text == nullptr) return;
  const std::size_t count = std::strlen(text);
  if (count > static_cast<std::size_t>(kMaxLength)) return;
  assign(reinterpret_cast<const unsigned char*>(text), static_cast<int>(count));
}

void Byte::reallocate(int kept, const unsigned char* source, int count) {
  const int newLength = kept + count;
  unsigned char* fresh = allocateBytes(newLength + 1);
  if (kept > 0) std::memcpy(fresh, data_, bytes(kept));
  if (count > 0) {
    if (source != nullptr) {
      // Read before the old storage goes: the source may lie inside it (an object appended
      // to itself doubles).
      std::memcpy(fresh + kept, source, bytes(count));
    } else {
      std::memset(fresh + kept, 0, bytes(count));
    }
  }
  fresh[newLength] = 0;
  releaseBytes(data_);
  data_ = fresh;
  length_ = newLength;
  bufferLength_ = newLength + 1;
}

void Byte::AppendData(const unsigned char* source, int count) {
  if (source == nullptr || count <= 0 || count > kMaxLength - length_) return;
  // Room for the bytes and one spare byte: a stricter test than the other appends.
  if (length_ + count + 1 < bufferLength_) {
    std::memmove(data_ + length_, source, bytes(count));
    length_ += count;
    return;
  }
  reallocate(length_, source, count);
}

Byte& Byte::operator+=(unsigned char value) {
  if (length_ + 1 < bufferLength_) {
    data_[length_++] = value;
    return *this;
  }
  if (length_ >= kMaxLength) return *this;
  reallocate(length_, &value, 1);
  return *this;
}

Byte& Byte::operator+=(const Byte& other) {
  const int count = other.length_;
  if (count > kMaxLength - length_) return *this;
  if (length_ + count < bufferLength_) {
    if (count > 0 && other.data_ != nullptr) {
      std::memmove(data_ + length_, other.data_, bytes(count));
    }
    length_ += count;
    return *this;
  }
  reallocate(length_, other.data_, count);
  return *this;
}

Byte& Byte::operator+=(const char* text) {
  // The same outcome as appending Byte(text), without making the temporary: a null text is
  // a Byte of length 0, and so is the empty text.
  const std::size_t count = text == nullptr ? 0 : std::strlen(text);
  if (count > static_cast<std::size_t>(kMaxLength - length_)) return *this;
  const int n = static_cast<int>(count);
  if (length_ + n < bufferLength_) {
    if (n > 0) std::memmove(data_ + length_, text, count);
    length_ += n;
    return *this;
  }
  reallocate(length_, reinterpret_cast<const unsigned char*>(text), n);
  return *this;
}

void Byte::TrimLeft() {
  if (length_ <= 0) return;
  int spaces = 0;
  while (spaces < length_ && data_[spaces] == kSpace) ++spaces;
  // SetData keeps the capacity and clears the storage behind the kept bytes; for a
  // count of 0 it clears the whole storage and keeps it.
  SetData(data_ + spaces, length_ - spaces);
}

void Byte::TrimRight() {
  if (length_ <= 0) return;
  int kept = length_;
  while (kept > 0 && data_[kept - 1] == kSpace) --kept;
  SetData(data_, kept);
}

void Byte::Trim() {
  TrimLeft();
  TrimRight();
}

void Byte::Reverse() noexcept {
  if (length_ <= 0 || data_ == nullptr) return;
  for (int i = 0; i < length_ / 2; ++i) {
    const unsigned char swapped = data_[i];
    data_[i] = data_[length_ - 1 - i];
    data_[length_ - 1 - i] = swapped;
  }
}

// ---- Capacity and length ------------------------------------------------------------------

int Byte::GetLength() const noexcept { return length_; }

int Byte::GetBufferLength() const noexcept { return bufferLength_; }

bool Byte::IsEmpty() const noexcept { return length_ == 0 || data_ == nullptr; }

bool Byte::IsBufferFull() const noexcept {
  return length_ == bufferLength_ || length_ == bufferLength_ - 1;
}

unsigned char* Byte::AllocBuffer(int size) {
  if (size <= 0) return data_;
  unsigned char* fresh = allocateBytes(size);
  std::memset(fresh, 0, bytes(size));
  releaseBytes(data_);
  data_ = fresh;
  bufferLength_ = size;
  length_ = 0;
  return data_;
}

unsigned char* Byte::IncreaseSize(int size) {
  if (size <= 0) return data_;
  if (data_ == nullptr) return AllocBuffer(size);
  if (size > INT_MAX - bufferLength_) return data_;
  const int capacity = bufferLength_ + size;
  unsigned char* fresh = allocateBytes(capacity);
  std::memset(fresh, 0, bytes(capacity));
  std::memcpy(fresh, data_, bytes(length_));
  releaseBytes(data_);
  data_ = fresh;
  bufferLength_ = capacity;
  return data_;
}

void Byte::SetLength(int length) noexcept {
  if (length >= 0 && length <= bufferLength_) length_ = length;
}

int Byte::IncreaseLength(int count) {
  if (count <= 0 || count > INT_MAX - length_) return length_;
  if (length_ + count > bufferLength_) {
    // The capacity grows by count, not by the shortfall.
    if (count > INT_MAX - bufferLength_) return length_;
    IncreaseSize(count);
  }
  length_ += count;
  return length_;
}

// ---- Access --------------------------------------------------------------------------------

const unsigned char* Byte::GetData() const noexcept { return data_; }

unsigned int Byte::GetData(unsigned char* out, unsigned int size) const noexcept {
  if (out == nullptr || size == 0) return 0;
  const unsigned int count =
      size < static_cast<unsigned int>(length_) ? size : static_cast<unsigned int>(length_);
  if (count > 0) std::memcpy(out, data_, count);
  return count;
}

unsigned char* Byte::GetBuffer(int index) const noexcept {
  if (index < 0 || index >= bufferLength_) return nullptr;
  return data_ + index;
}

unsigned char Byte::GetAt(int index) const noexcept {
  if (index < 0 || index >= length_) return 0;
  return data_[index];
}

void Byte::SetAt(int index, unsigned char value) noexcept {
  if (index >= 0 && index < length_) data_[index] = value;
}

unsigned char& Byte::operator[](int index) const {
  if (index < 0 || index >= length_) {
    throw MxBaseException(-4, 3, MLIB_T("Call Stack: Byte::[]"));
  }
  return data_[index];
}

bool Byte::operator==(const Byte& other) const noexcept { return data_ == other.data_; }

char* Byte::ToString() const {
  if (data_ == nullptr) return nullptr;
  if (length_ > 0) {
    if (length_ < bufferLength_) {
      data_[length_] = 0;
      return reinterpret_cast<char*>(data_);
    }
    if (length_ > kMaxLength) return nullptr;
    unsigned char* fresh = allocateBytes(length_ + 1);
    std::memcpy(fresh, data_, bytes(length_));
    fresh[length_] = 0;
    releaseBytes(data_);
    data_ = fresh;
    bufferLength_ = length_ + 1;
    return reinterpret_cast<char*>(data_);
  }
  if (bufferLength_ > 0) {
    std::memset(data_, 0, bytes(bufferLength_));
    return reinterpret_cast<char*>(data_);
  }
  unsigned char* fresh = allocateBytes(1);
  fresh[0] = 0;
  releaseBytes(data_);
  data_ = fresh;
  bufferLength_ = 1;
  return reinterpret_cast<char*>(data_);
}

}  // namespace mlib
