/// \file
/// Byte: the library's growable byte buffer (raw file contents, UTF-8 and ANSI text). Growth is
/// exact-fit: storage grows to exactly what an operation needs plus one terminating zero byte.
/// Callers that want room in advance reserve it (AllocBuffer, IncreaseSize), fill it through
/// GetBuffer and publish the count with IncreaseLength or SetLength.
#ifndef MLIB_BYTE_H
#define MLIB_BYTE_H

#include <mlib/config.h>

namespace mlib {

/// One owned, contiguous run of bytes with a length (content bytes) and a capacity (bytes
/// allocated). 0 <= length <= capacity after every operation. Counts and indexes are signed
/// 32-bit; negative counts are refused (nothing changes) and an operation whose result would
/// not fit in 32 bits is refused the same way. Allocation failure propagates the allocator's
/// exception and leaves the object as it was. Not safe for concurrent use, not even for the
/// const operations ToString, AnsiToUtf8 and Utf8ToAnsi, which may replace the storage.
class MLIB_API Byte {
 public:
  /// No storage, length 0, capacity 0.
  Byte() noexcept;
  /// A deep copy of other's content (SetData of its bytes): capacity length + 1, terminated.
  Byte(const Byte& other);
  /// Takes over other's storage, length and capacity exactly as they are; other is left
  /// without storage.
  Byte(Byte&& other) noexcept;
  /// SetData(text): the bytes before text's first zero; null text gives no storage.
  Byte(const char* text);  ///< NOLINT(google-explicit-constructor): assignable from text
  ~Byte();

  /// SetData of other's bytes, unless other is this object. A Byte without storage assigned
  /// to one with content leaves the content as it was (SetData of a null source, count 0).
  Byte& operator=(const Byte& other);
  /// Releases this object's storage and takes over other's exactly as it is.
  Byte& operator=(Byte&& other) noexcept;
  /// SetData(text).
  Byte& operator=(const char* text);

  /// Releases the storage; the object is left without storage, length 0, capacity 0.
  void Clear() noexcept;

  /// Replaces the content with count bytes from source (which may lie inside this object's
  /// own storage).
  ///   count 0: a null source changes nothing; otherwise the whole storage is cleared and
  ///     the length becomes 0 (the storage stays).
  ///   0 < count < capacity: the whole storage is cleared, then the bytes copied (count zero
  ///     bytes for a null source); the capacity stays and byte count is zero.
  ///   count >= capacity: new storage of count + 1 bytes, the bytes copied (left as
  ///     allocated for a null source), a zero at index count.
  /// A negative count changes nothing.
  void SetData(const unsigned char* source, int count);
  /// Replaces the content with the bytes before text's first zero. Null changes nothing. The
  /// storage is reused (cleared first) when the text is shorter than the capacity, otherwise
  /// it becomes exactly length + 1 with a terminator; the empty text given to a Byte without
  /// storage makes a one-byte storage holding the terminator.
  void SetData(const char* text);

  /// Appends count bytes. Null source or count <= 0 changes nothing. In place (no terminator
  /// written) when length + count + 1 < capacity; otherwise the storage becomes exactly
  /// length + count + 1 bytes with a zero at index length + count.
  void AppendData(const unsigned char* source, int count);
  /// Appends one byte: in place when length + 1 < capacity, otherwise the storage becomes
  /// length + 2 bytes with a zero after the new byte.
  Byte& operator+=(unsigned char value);
  /// Appends other's content (other may be this object): in place when
  /// length + other's length < capacity, otherwise the storage becomes exactly the combined
  /// length + 1 bytes with a terminator, even when other is empty.
  Byte& operator+=(const Byte& other);
  /// Appends the bytes before text's first zero, as operator+=(Byte(text)): a null or empty
  /// text still reallocates a buffer that has no spare byte.
  Byte& operator+=(const char* text);

  /// Remove leading / trailing / both space bytes (0x20 only; tab, CR, LF and zero stay).
  /// The result goes through SetData, so it is terminated and keeps the capacity whenever it
  /// is shorter than it; content of spaces only becomes empty with its storage cleared.
  void TrimLeft();
  void TrimRight();
  void Trim();
  /// Reverses the content in place.
  void Reverse() noexcept;

  /// Content bytes.
  int GetLength() const noexcept;
  /// Capacity: bytes allocated.
  int GetBufferLength() const noexcept;
  /// True when the length is 0 or there is no storage.
  bool IsEmpty() const noexcept;
  /// True when length == capacity or length == capacity - 1 (also with no storage).
  bool IsBufferFull() const noexcept;

  /// Discards the content and makes new cleared storage of exactly size bytes (no terminator
  /// slot reserved); returns it. size <= 0 changes nothing and returns the current storage.
  unsigned char* AllocBuffer(int size);
  /// Grows the capacity by size bytes keeping the content; the new bytes are zero. Without
  /// storage it is AllocBuffer(size). size <= 0 changes nothing. Returns the storage.
  unsigned char* IncreaseSize(int size);
  /// Sets the length when 0 <= length <= capacity, otherwise ignores it. Writes nothing.
  void SetLength(int length) noexcept;
  /// Lengthens the content by count bytes, first growing the capacity by count when it is
  /// short; the new content bytes are whatever the storage holds. count <= 0 changes
  /// nothing. Returns the new length.
  int IncreaseLength(int count);

  /// The storage (null when there is none); borrowed until the next change.
  const unsigned char* GetData() const noexcept;
  /// Copies min(size, length) bytes to out and returns that count; 0 when out is null or
  /// size is 0.
  unsigned int GetData(unsigned char* out, unsigned int size) const noexcept;
  /// Address of storage byte index when 0 <= index < capacity (bounded by the capacity, not
  /// the length), else null.
  unsigned char* GetBuffer(int index) const noexcept;
  /// The byte when 0 <= index < length, else 0.
  unsigned char GetAt(int index) const noexcept;
  /// Stores the byte when 0 <= index < length, else does nothing.
  void SetAt(int index, unsigned char value) noexcept;
  /// The byte when 0 <= index < length; otherwise throws MxBaseException by value with code
  /// -4, level 3 and the description "Call Stack: Byte::[]".
  unsigned char& operator[](int index) const;
  /// True when both use the same storage (contents are not compared): two distinct objects
  /// are equal only when neither has storage.
  bool operator==(const Byte& other) const noexcept;

  /// The content as a zero-terminated narrow string owned by this object (valid until the
  /// next change); null without storage. Makes room for the terminator if there is none.
  char* ToString() const;
  /// UTF-8 form of the content read as ANSI text, up to its first zero byte; a Byte without
  /// storage when this one is empty. This object's content is unchanged.
  Byte AnsiToUtf8() const;
  /// ANSI form of the content read as UTF-8 text, up to its first zero byte; a Byte without
  /// storage when this one is empty. This object's content is unchanged.
  Byte Utf8ToAnsi() const;

 private:
  /// Replaces the content with count bytes of source (zero bytes for a null source), reusing
  /// the storage when count < capacity, else making it exactly count + 1 bytes.
  void assign(const unsigned char* source, int count);
  /// The reallocating path of assign and of every append: new storage of exactly
  /// kept + count + 1 bytes holding the first `kept` bytes of the content, count bytes of
  /// source (zeros for a null source) and a zero. Allocates before it changes anything.
  void reallocate(int kept, const unsigned char* source, int count);

  /// ToString may give the storage its terminator slot, so the storage fields are mutable.
  mutable unsigned char* data_;  ///< owned storage, null when there is none
  int length_;                   ///< content bytes
  mutable int bufferLength_;     ///< bytes allocated at data_
};

}  // namespace mlib

#endif  // MLIB_BYTE_H
