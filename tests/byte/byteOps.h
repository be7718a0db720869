// Byte scripts for the unit test (seeded) and the fuzz target (its input): after each step the
// storage and every accessor against a model of the growth rules; "" or the steps and the fault.
#ifndef MLIB_TESTS_BYTE_BYTEOPS_H
#define MLIB_TESTS_BYTE_BYTEOPS_H

#include <mlib/byte.h>
#include <mlib/exceptions.h>

#include <algorithm>
#include <functional>
#include <string>

#include "../byteContent.h"

namespace mlib::test {

// All the storage bytes (the capacity is their count; none: no storage) and the length.
struct ByteModel {
  std::string bytes;
  int length = 0;

  bool has() const { return !bytes.empty(); }
  int capacity() const { return static_cast<int>(bytes.size()); }
  std::string text() const { return bytes.substr(0, static_cast<std::size_t>(length)); }
  // The reallocating path: exactly the old content (if kept), the added bytes and a terminator.
  void grow(const std::string& added, bool keep = true) {
    bytes = (keep ? text() : "") + added + '\0';
    length = capacity() - 1;
  }
  void setData(const std::string& source, bool null) {
    const int count = static_cast<int>(source.size());
    if (count == 0 && null) return;
    if (count >= capacity() && count > 0) return grow(source, false);
    bytes = (null ? std::string(count, '\0') : source) + std::string(capacity() - count, '\0');
    length = count;
  }
  void setText(const std::string& text) {  // SetData(const char*) of text without zeros
    if (text.empty() && !has()) return grow("");
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
  void allocBuffer(int size) { *this = size > 0 ? ByteModel{std::string(size, '\0'), 0} : *this; }
  void increaseSize(int size) {
    if (size > 0) bytes = text() + std::string(bytes.size() + size - length, '\0');
  }
  int increaseLength(int count) {
    if (count > 0 && length + count > capacity()) increaseSize(count);
    return length += std::max(count, 0);
  }
  void setLength(int to) { length = to >= 0 && to <= capacity() ? to : length; }
  void setAt(int at) {
    if (at >= 0 && at < length) bytes[static_cast<std::size_t>(at)] = 'Z';
  }
  void reverse() { std::reverse(bytes.begin(), bytes.begin() + length); }
  std::string toString() {  // the terminated content, after making room for the terminator
    if (!has()) return "(null)";
    if (length == capacity()) grow("");
    if (length == 0) std::fill(bytes.begin(), bytes.end(), '\0');
    bytes[static_cast<std::size_t>(length)] = '\0';
    return text().substr(0, text().find('\0'));
  }
  void trim(bool left) {  // SetData with the bytes that are left
    if (length == 0) return;
    std::string t = text();
    setData(left ? t.erase(0, t.find_first_not_of(' ')) : t.erase(t.find_last_not_of(' ') + 1),
            false);
  }
};

// One step on b and model m: random bytes `in`, a count n, a free number, maybe a null source.
struct ByteStep {
  Byte& b;
  ByteModel& m;
  std::string in;
  int n;
  unsigned pick;
  bool null = false;
  std::string failure{};

  const unsigned char* bytes() const { return reinterpret_cast<const unsigned char*>(in.data()); }
  std::string text() const { return in.substr(0, in.find('\0')); }
  const unsigned char* source() const { return null ? nullptr : bytes(); }
  int size() const { return static_cast<int>(in.size()); }
  int count() const { return std::min(n, size()); }  // n, within `in`
  void expect(bool ok, const std::string& what) {
    if (!ok && failure.empty()) failure = what;
  }
};

inline std::string orNull(const char* text) { return text == nullptr ? "(null)" : text; }

const std::pair<const char*, void (*)(ByteStep&)> kByteSteps[] = {
    {"+= byte", [](auto& o) { o.b += 'x', o.m.append("x", 0); }},
    {"+= Byte", [](auto& o) { o.b += bytesOf(o.in), o.m.append(o.in, 0); }},
    {"+= text", [](auto& o) { o.b += o.in.c_str(), o.m.append(o.text(), 0); }},
    {"+= no text", [](auto& o) { o.b += static_cast<const char*>(nullptr), o.m.append("", 0); }},
    {"AppendData",
     [](auto& o) { o.b.AppendData(o.bytes(), o.count()), o.m.appendData(o.in, o.count()); }},
    {"SetData", [](auto& o) { o.b.SetData(o.source(), o.size()), o.m.setData(o.in, o.null); }},
    {"= Byte",  // SetData with the other's storage, which is null when it is empty
     [](auto& o) {
       o.b = static_cast<const Byte&>(bytesOf(o.in)), o.m.setData(o.in, o.in.empty());
     }},
    {"= text", [](auto& o) { o.b = o.in.c_str(), o.m.setText(o.text()); }},
    {"AllocBuffer", [](auto& o) { o.b.AllocBuffer(o.n), o.m.allocBuffer(o.n); }},
    {"IncreaseSize", [](auto& o) { o.b.IncreaseSize(o.n), o.m.increaseSize(o.n); }},
    {"IncreaseLength",
     [](auto& o) { o.expect(o.b.IncreaseLength(o.n) == o.m.increaseLength(o.n), "result"); }},
    {"SetLength", [](auto& o) { o.b.SetLength(o.n), o.m.setLength(o.n); }},
    {"TrimLeft", [](auto& o) { o.b.TrimLeft(), o.m.trim(true); }},
    {"TrimRight", [](auto& o) { o.b.TrimRight(), o.m.trim(false); }},
    {"Trim", [](auto& o) { o.b.Trim(), o.m.trim(true), o.m.trim(false); }},
    {"Reverse", [](auto& o) { o.b.Reverse(), o.m.reverse(); }},
    {"ToString", [](auto& o) { o.expect(orNull(o.b.ToString()) == o.m.toString(), "text"); }},
    {"AnsiToUtf8 and Utf8ToAnsi",  // plain ASCII: the terminated content, in exact storage
     [](auto& o) {
       const std::string want = o.m.length > 0 ? o.m.toString() + '\0' : "";
       for (const Byte& got : {o.b.AnsiToUtf8(), o.b.Utf8ToAnsi()})
         o.expect(storage(got) == want, "converted");
     }},
    {"+= itself", [](auto& o) { o.b += o.b, o.m.append(o.m.text(), 0); }},
    {"own bytes",  // AppendData and SetData from inside its own storage
     [](auto& o) {
       const int from = static_cast<int>(o.pick % std::max(o.m.length, 1)), n = o.m.length - from;
       const std::string piece = o.m.text().substr(static_cast<std::size_t>(from));
       const unsigned char* at = o.b.GetData() + from;
       if (o.pick % 2 == 0) o.b.AppendData(at, n), o.m.appendData(piece, n);
       if (o.pick % 2 == 1) o.b.SetData(at, n), o.m.setData(piece, !o.m.has());
     }},
    {"SetAt", [](auto& o) { o.b.SetAt(o.n, 'Z'), o.m.setAt(o.n); }},
    {"bytes written behind the content",  // so that a terminator written or not shows
     [](auto& o) {
       for (int i = o.m.length; i < o.m.capacity(); ++i) *o.b.GetBuffer(i) = 'q';
       std::fill(o.m.bytes.begin() + o.m.length, o.m.bytes.end(), 'q');
     }},
    {"Clear", [](auto& o) { o.b.Clear(), o.m = ByteModel(); }},
};

// `steps` steps picked by `next`: up to 12 bytes of " ab" (and zeros), counts from -1 to 12.
inline std::string runByteScript(const std::function<unsigned()>& next, int steps, bool zeros) {
  Byte b;
  ByteModel m;
  std::string trail;  // the operations so far, for the failure message
  for (int step = 0; step < steps; ++step) {
    ByteStep o{b, m, std::string(next() % 13, ' '), static_cast<int>(next() % 14) - 1, next()};
    for (char& c : o.in) c = " ab\0"[next() % (zeros ? 4 : 3)];
    o.null = next() % 3 == 0 && o.size() < m.capacity();
    const auto& [name, run] = kByteSteps[m.length > 200 ? 0 : next() % std::size(kByteSteps)];
    trail += name + ("(" + std::to_string(o.in.size()) + "," + std::to_string(o.n) + ") ");
    run(o);
    o.expect((b.GetData() != nullptr) == m.has() && storage(b) == m.bytes, "storage");
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
    const int last = std::max(m.capacity() - 1, 0);
    o.expect(b.GetBuffer(m.capacity()) == nullptr &&
                 b.GetBuffer(last) == (m.has() ? &b.GetData()[last] : nullptr),
             "GetBuffer");
    std::string out(o.pick % 40, '#');
    const std::string want = m.text().substr(0, out.size());
    const unsigned got = b.GetData(reinterpret_cast<unsigned char*>(&out[0]), out.size());
    o.expect(got == want.size() && out.substr(0, got) == want, "GetData");
    if (!o.failure.empty()) return trail + ": " + o.failure;
  }
  return {};
}

}  // namespace mlib::test

#endif  // MLIB_TESTS_BYTE_BYTEOPS_H
