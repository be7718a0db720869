// Byte against a model of its growth rules (exact fit, the three in-place tests of the
// appends, SetData's reuse, the trims) on random sequences of operations, plus the edges the
// model leaves out: copies, moves, identity, counts out of range and the thrown index error.
#include <gtest/gtest.h>
#include <mlib/byte.h>
#include <mlib/exceptions.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <random>
#include <string>

#include "byteContent.h"

namespace {

using mlib::Byte;
using mlib::test::bytesOf;
using mlib::test::content;
using mlib::test::storage;

const unsigned char* u8(const char* s) { return reinterpret_cast<const unsigned char*>(s); }

// The buffer as the rules describe it: whether it has storage, all its storage bytes (the
// capacity is their count) and the length.
struct Model {
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
    if (size > 0) *this = Model{true, std::string(static_cast<std::size_t>(size), '\0'), 0};
  }
  int increaseLength(int count) {
    if (count > 0 && length + count > capacity()) increaseSize(count);
    return length += std::max(count, 0);
  }
  void setLength(int to) {
    if (to >= 0 && to <= capacity()) length = to;
  }
  void reverse() { std::reverse(bytes.begin(), bytes.begin() + length); }
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
  void increaseSize(int size) {
    if (size <= 0) return;
    bytes = has ? text() + std::string(bytes.size() + size - length, '\0') : std::string(size, 0);
    has = true;
  }
};

// One random operation on b and its model m, with random bytes (zeros among them in half of
// the rounds), a count or size from -1 to 12, a null source only where the count leaves the
// storage as it is, and a free random number.
struct Op {
  Byte& b;
  Model& m;
  std::string in;
  int n;
  bool nullSource;
  unsigned pick;
  const unsigned char* bytes() const { return reinterpret_cast<const unsigned char*>(in.data()); }
  std::string text() const { return in.substr(0, in.find('\0')); }
  int count() const { return std::min(n, static_cast<int>(in.size())); }  // n, within `in`
};
const std::pair<const char*, void (*)(Op&)> kSteps[] = {
    {"+= byte", [](Op& o) { o.b += 'x', o.m.append("x", 0); }},
    {"+= Byte", [](Op& o) { o.b += bytesOf(o.in), o.m.append(o.in, 0); }},
    {"+= text", [](Op& o) { o.b += o.in.c_str(), o.m.append(o.text(), 0); }},
    {"+= no text", [](Op& o) { o.b += static_cast<const char*>(nullptr), o.m.append("", 0); }},
    {"AppendData",
     [](Op& o) { o.b.AppendData(o.bytes(), o.count()), o.m.appendData(o.in, o.count()); }},
    {"SetData",
     [](Op& o) {
       o.b.SetData(o.nullSource ? nullptr : o.bytes(), static_cast<int>(o.in.size()));
       o.m.setData(o.in, o.nullSource);
     }},
    {"= Byte",  // SetData with the other's storage, which is null when it is empty
     [](Op& o) { o.b = static_cast<const Byte&>(bytesOf(o.in)), o.m.setData(o.in, o.in.empty()); }},
    {"= text", [](Op& o) { o.b = o.in.c_str(), o.m.setText(o.text()); }},
    {"AllocBuffer", [](Op& o) { o.b.AllocBuffer(o.n), o.m.allocBuffer(o.n); }},
    {"IncreaseSize", [](Op& o) { o.b.IncreaseSize(o.n), o.m.increaseSize(o.n); }},
    {"IncreaseLength", [](Op& o) { EXPECT_EQ(o.b.IncreaseLength(o.n), o.m.increaseLength(o.n)); }},
    {"SetLength", [](Op& o) { o.b.SetLength(o.n), o.m.setLength(o.n); }},
    {"TrimLeft", [](Op& o) { o.b.TrimLeft(), o.m.trim(true); }},
    {"TrimRight", [](Op& o) { o.b.TrimRight(), o.m.trim(false); }},
    {"Trim", [](Op& o) { o.b.Trim(), o.m.trim(true), o.m.trim(false); }},
    {"Reverse", [](Op& o) { o.b.Reverse(), o.m.reverse(); }},
    {"ToString",
     [](Op& o) {
       const char* text = o.b.ToString();
       EXPECT_EQ(text == nullptr ? "(null)" : std::string(text), o.m.toString());
     }},
    {"+= itself", [](Op& o) { o.b += o.b, o.m.append(o.m.text(), 0); }},
    {"own bytes",  // AppendData and SetData from inside its own storage
     [](Op& o) {
       const int from = o.m.length == 0 ? 0 : static_cast<int>(o.pick % o.m.length);
       const std::string piece = o.m.text().substr(static_cast<std::size_t>(from));
       if (o.pick % 2 == 0) o.b.AppendData(o.b.GetData() + from, o.m.length - from);
       if (o.pick % 2 == 1) o.b.SetData(o.b.GetData() + from, o.m.length - from);
       o.pick % 2 == 0 ? o.m.appendData(piece, o.m.length - from)
                       : o.m.setData(piece, o.b.GetData() == nullptr);
     }},
    {"Clear", [](Op& o) { o.b.Clear(), o.m = Model(); }},
};

TEST(Byte, FollowsTheModelOnRandomOperations) {
  std::mt19937 rng(20240611);
  for (int round = 0; round < 3000; ++round) {
    Byte b;
    Model m;
    std::string trail;  // the operations so far, for the failure message
    for (int step = 0; step < 24; ++step) {
      Op o{b, m, std::string(rng() % 13, ' '), static_cast<int>(rng() % 14) - 1, false, 0};
      o.pick = static_cast<unsigned>(rng());
      for (char& c : o.in) c = " ab\0"[rng() % (round % 2 ? 4 : 3)];
      o.nullSource = rng() % 3 == 0 && static_cast<int>(o.in.size()) < m.capacity();
      const auto& [name, run] = kSteps[m.length > 200 ? 0 : rng() % std::size(kSteps)];
      trail +=
          std::string(name) + "(" + std::to_string(o.in.size()) + "," + std::to_string(o.n) + ") ";
      SCOPED_TRACE(trail);
      run(o);
      ASSERT_EQ(b.GetData() != nullptr, m.has);
      ASSERT_EQ(storage(b), m.bytes);
      ASSERT_EQ(b.GetLength(), m.length);
      EXPECT_EQ(b.IsEmpty(), m.length == 0);
      EXPECT_EQ(b.IsBufferFull(), m.length >= m.capacity() - 1);
      std::string viaGetAt;
      for (int i = -1; i <= m.length; ++i) viaGetAt += static_cast<char>(b.GetAt(i));
      EXPECT_EQ(viaGetAt, '\0' + m.text() + '\0');
      EXPECT_EQ(b.GetBuffer(m.capacity()), nullptr);
      EXPECT_EQ(b.GetBuffer(std::max(m.capacity() - 1, 0)),
                m.has ? b.GetData() + m.capacity() - 1 : nullptr);
      std::string out(o.pick % 40, '#');
      const unsigned got = b.GetData(reinterpret_cast<unsigned char*>(&out[0]), out.size());
      EXPECT_EQ(out.substr(0, got), m.text().substr(0, out.size()));
      EXPECT_EQ(got, std::min<std::size_t>(out.size(), m.text().size()));
    }
  }
}

TEST(Byte, CopiesMovesAndIdentity) {
  const Byte none;
  EXPECT_TRUE(none == Byte());
  Byte source("data"), copy(source), target("keep");
  EXPECT_EQ(content(copy), "data");
  EXPECT_FALSE(copy == source);
  target = none;  // copying a Byte without storage changes nothing
  EXPECT_EQ(content(target), "keep");
  Byte reserved;
  unsigned char* at = reserved.AllocBuffer(64);
  reserved.SetData("abc");
  Byte moved(std::move(reserved));
  EXPECT_EQ(reserved.GetData(), nullptr);  // NOLINT(bugprone-use-after-move)
  target = std::move(moved);
  EXPECT_EQ(target.GetData(), at);
  EXPECT_EQ(storage(target), std::string("abc") + std::string(61, '\0'));
}

TEST(Byte, CountsOutOfRangeAndIndexes) {
  Byte b("abc");
  b.SetData(u8("q"), -2);
  b.SetData(nullptr, INT_MAX);
  for (int count : {0, -1, INT_MAX}) b.AppendData(u8("cd"), count);
  b.AppendData(nullptr, 2);
  EXPECT_EQ(b.IncreaseLength(INT_MAX), 3);
  EXPECT_EQ(b.AllocBuffer(-3), b.GetData());
  EXPECT_EQ(storage(b), std::string("abc\0", 4));
  for (int index : {1, 3, -1}) b.SetAt(index, 'X');
  b[2] = 'C';
  EXPECT_EQ(storage(b), std::string("aXC\0", 4));
  EXPECT_TRUE(b.GetData(nullptr, 5) == 0 && b.GetBuffer(-1) == nullptr);
  for (int index : {3, -1, INT_MIN}) {
    SCOPED_TRACE(index);
    try {
      (void)b[index];
      ADD_FAILURE() << "no exception";
    } catch (mlib::MxBaseException& e) {
      EXPECT_EQ(e.GetCode() * 10 + e.GetLevel(), -37);
      const mlib::String report = mlib::MxException::PrintToString(&e);
      EXPECT_GE(report.IndexOf(MLIB_T("Description: Call Stack: Byte::[] }")), 0);
    }
  }
  EXPECT_THROW((void)Byte()[0], mlib::MxObject);
}

}  // namespace
