// One driver of Byte scripts for the unit test (seeded random numbers) and the fuzz target
// (its input): after every step the storage and every accessor are checked against a model
// of the growth rules. Gives "" or the steps so far and what differed.
#ifndef MLIB_TESTS_BYTE_BYTEOPS_H
#define MLIB_TESTS_BYTE_BYTEOPS_H

#include <mlib/byte.h>
#include <mlib/exceptions.h>

#include <algorithm>
#include <functional>
#include <string>

#include "../byteContent.h"

namespace mlib::test {

// Whether the buffer has storage, all its storage bytes (the capacity is their count), the length.
struct ByteModel {
  bool has = false;
  std::string bytes;
  int length = 0;

  int capacity() const { return static_cast<int>(bytes.size()); }
  std::string text() const { return bytes.substr(0, static_cast<std::size_t>(length)); }
  // The reallocating path: exactly the old content, the added bytes and a terminator.
  void grow(const std::string& added) {
    bytes = text() + added + '\0';
    length = capacity() - 1;
    has = true;
  }
  void setData(const std::string& source, bool nullSource) {
    const int count = static_cast<int>(source.size());
    if (count == 0 && nullSource) return;
    if (count >= capacity() && count > 0) {
      length = 0;
      return grow(source);
    }
    std::fill(bytes.begin(), bytes.end(), '\0');
    bytes.replace(0, source.size(), nullSource ? std::string(source.size(), '\0') : source);
    length = count;
  }
  void setText(const std::string& text) {  // SetData(const char*) of text without zeros
    if (text.empty() && !has) return grow("");
    setData(text, false);
  }
  void append(const std::string& added, int spare) {  // spare: the test's extra byte
    const int n = static_cast<int>(added.size());
    if (length + n + spare >= capacity()) return grow(added);
    bytes.replace(static_cast<std::size_t>(length), added.size(), added);
    length += n;
  }
  void appendData(const std::string& added, int count) {
    if (count > 0) append(added.substr(0, static_cast<std::size_t>(count)), 1);
  }
  void allocBuffer(int size) {
    if (size > 0) *this = ByteModel{true, std::string(static_cast<std::size_t>(size), '\0'), 0};
  }
  void increaseSize(int size) {
    if (size <= 0) return;
    bytes = has ? text() + std::string(bytes.size() + size - length, '\0') : std::string(size, 0);
    has = true;
  }
  int increaseLength(int count) {
    if (count > 0 && length + count > capacity()) increaseSize(count);
    return length += std::max(count, 0);
  }
  void setLength(int to) {
    if (to >= 0 && to <= capacity()) length = to;
  }
  std::string toString() {  // the terminated content, after making room for the terminator
    if (!has) return "(null)";
    if (length == capacity()) grow("");
    if (length == 0) std::fill(bytes.begin(), bytes.end(), '\0');
    bytes[static_cast<std::size_t>(length)] = '\0';
    return text().substr(0, text().find('\0'));
  }
  void trim(bool left) {  // SetData with the bytes that are left
    if (length == 0) return;
    const std::string t = text();
    setData(left ? t.substr(std::min(t.find_first_not_of(' '), t.size()))
                 : t.substr(0, t.find_last_not_of(' ') + 1),
            false);
  }
};

// One step on b and its model m, with random bytes `in`, a count or size n, a null source
// only where the count leaves the storage as it is, and a free random number.
struct ByteStep {
  Byte& b;
  ByteModel& m;
  std::string in;
  int n;
  bool nullSource;
  unsigned pick;
  std::string failure;

  const unsigned char* bytes() const { return reinterpret_cast<const unsigned char*>(in.data()); }
  std::string text() const { return in.substr(0, in.find('\0')); }
  int count() const { return std::min(n, static_cast<int>(in.size())); }  // n, within `in`
  void expect(bool ok, const std::string& what) {
    if (!ok && failure.empty()) failure = what;
  }
};

const std::pair<const char*, void (*)(ByteStep&)> kByteSteps[] = {
    {"+= byte", [](ByteStep& o) { o.b += 'x', o.m.append("x", 0); }},
    {"+= Byte", [](ByteStep& o) { o.b += bytesOf(o.in), o.m.append(o.in, 0); }},
    {"+= text", [](ByteStep& o) { o.b += o.in.c_str(), o.m.append(o.text(), 0); }},
    {"+= no text",
     [](ByteStep& o) { o.b += static_cast<const char*>(nullptr), o.m.append("", 0); }},
    {"AppendData",
     [](ByteStep& o) { o.b.AppendData(o.bytes(), o.count()), o.m.appendData(o.in, o.count()); }},
    {"SetData",
     [](ByteStep& o) {
       o.b.SetData(o.nullSource ? nullptr : o.bytes(), static_cast<int>(o.in.size()));
       o.m.setData(o.in, o.nullSource);
     }},
    {"= Byte",  // SetData with the other's storage, which is null when it is empty
     [](ByteStep& o) {
       o.b = static_cast<const Byte&>(bytesOf(o.in)), o.m.setData(o.in, o.in.empty());
     }},
    {"= text", [](ByteStep& o) { o.b = o.in.c_str(), o.m.setText(o.text()); }},
    {"AllocBuffer", [](ByteStep& o) { o.b.AllocBuffer(o.n), o.m.allocBuffer(o.n); }},
    {"IncreaseSize", [](ByteStep& o) { o.b.IncreaseSize(o.n), o.m.increaseSize(o.n); }},
    {"IncreaseLength",
     [](ByteStep& o) { o.expect(o.b.IncreaseLength(o.n) == o.m.increaseLength(o.n), "result"); }},
    {"SetLength", [](ByteStep& o) { o.b.SetLength(o.n), o.m.setLength(o.n); }},
    {"TrimLeft", [](ByteStep& o) { o.b.TrimLeft(), o.m.trim(true); }},
    {"TrimRight", [](ByteStep& o) { o.b.TrimRight(), o.m.trim(false); }},
    {"Trim", [](ByteStep& o) { o.b.Trim(), o.m.trim(true), o.m.trim(false); }},
    {"Reverse",
     [](ByteStep& o) {
       o.b.Reverse(), std::reverse(o.m.bytes.begin(), o.m.bytes.begin() + o.m.length);
     }},
    {"ToString",
     [](ByteStep& o) {
       const char* text = o.b.ToString();
       o.expect((text == nullptr ? "(null)" : std::string(text)) == o.m.toString(), "text");
     }},
    {"AnsiToUtf8 and Utf8ToAnsi",  // plain ASCII: the terminated content, in exact storage
     [](ByteStep& o) {
       const std::string want = o.m.length > 0 ? o.m.toString() : "";
       for (const Byte& got : {o.b.AnsiToUtf8(), o.b.Utf8ToAnsi()}) {
         o.expect(storage(got) == (o.m.length > 0 ? want + '\0' : ""), "converted");
       }
     }},
    {"+= itself", [](ByteStep& o) { o.b += o.b, o.m.append(o.m.text(), 0); }},
    {"own bytes",  // AppendData and SetData from inside its own storage
     [](ByteStep& o) {
       const int from = o.m.length == 0 ? 0 : static_cast<int>(o.pick % o.m.length);
       const std::string piece = o.m.text().substr(static_cast<std::size_t>(from));
       if (o.pick % 2 == 0) o.b.AppendData(o.b.GetData() + from, o.m.length - from);
       if (o.pick % 2 == 1) o.b.SetData(o.b.GetData() + from, o.m.length - from);
       o.pick % 2 == 0 ? o.m.appendData(piece, o.m.length - from)
                       : o.m.setData(piece, o.b.GetData() == nullptr);
     }},
    {"SetAt",
     [](ByteStep& o) {
       o.b.SetAt(o.n, 'Z');
       if (o.n >= 0 && o.n < o.m.length) o.m.bytes[static_cast<std::size_t>(o.n)] = 'Z';
     }},
    {"bytes written behind the content",  // so that a terminator written or not shows
     [](ByteStep& o) {
       for (int i = o.m.length; i < o.m.capacity(); ++i) *o.b.GetBuffer(i) = 'q';
       std::fill(o.m.bytes.begin() + o.m.length, o.m.bytes.end(), 'q');
     }},
    {"Clear", [](ByteStep& o) { o.b.Clear(), o.m = ByteModel(); }},
};

// Every accessor against the model.
inline void checkAccess(ByteStep& o) {
  const Byte& b = o.b;
  const ByteModel& m = o.m;
  o.expect((b.GetData() != nullptr) == m.has && storage(b) == m.bytes, "storage");
  o.expect(b.GetLength() == m.length, "length");
  o.expect(b.IsEmpty() == (m.length == 0) && b.IsBufferFull() == (m.length >= m.capacity() - 1),
           "IsEmpty or IsBufferFull");
  std::string viaGetAt, viaIndex;
  for (int i = -1; i <= m.length; ++i) {
    viaGetAt += static_cast<char>(b.GetAt(i));
    try {
      viaIndex += static_cast<char>(b[i]);
    } catch (MxBaseException& e) {
      viaIndex += e.GetCode() == -4 && e.GetLevel() == 3 ? '\0' : '!';
    }
  }
  o.expect(viaGetAt == '\0' + m.text() + '\0' && viaIndex == viaGetAt, "GetAt or operator[]");
  o.expect(b.GetBuffer(m.capacity()) == nullptr &&
               b.GetBuffer(std::max(m.capacity() - 1, 0)) ==
                   (m.has ? b.GetData() + m.capacity() - 1 : nullptr),
           "GetBuffer");
  std::string out(o.pick % 40, '#');
  const unsigned got = b.GetData(reinterpret_cast<unsigned char*>(&out[0]), out.size());
  o.expect(out.substr(0, got) == m.text().substr(0, out.size()) &&
               got == std::min<std::size_t>(out.size(), m.text().size()),
           "GetData");
}

// Runs `steps` steps picked by `next`: texts of up to twelve bytes of blanks, letters and,
// when `zeros`, zero bytes; counts and sizes from -1 to 12.
inline std::string runByteScript(const std::function<unsigned()>& next, int steps, bool zeros) {
  Byte b;
  ByteModel m;
  std::string trail;  // the operations so far, for the failure message
  for (int step = 0; step < steps; ++step) {
    ByteStep o{b, m, std::string(next() % 13, ' '), static_cast<int>(next() % 14) - 1, false,
               0, {}};
    o.pick = next();
    for (char& c : o.in) c = " ab\0"[next() % (zeros ? 4 : 3)];
    o.nullSource = next() % 3 == 0 && static_cast<int>(o.in.size()) < m.capacity();
    const auto& [name, run] = kByteSteps[m.length > 200 ? 0 : next() % std::size(kByteSteps)];
    trail +=
        std::string(name) + "(" + std::to_string(o.in.size()) + "," + std::to_string(o.n) + ") ";
    run(o);
    if (m.length <= 200) checkAccess(o);
    if (!o.failure.empty()) return trail + ": " + o.failure;
  }
  return {};
}

}  // namespace mlib::test

#endif  // MLIB_TESTS_BYTE_BYTEOPS_H
