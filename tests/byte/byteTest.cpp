// Byte: exact-fit growth, the in-place tests of the appends, SetData, capacity, access,
// trimming and the thrown index error.
#include <gtest/gtest.h>
#include <mlib/byte.h>
#include <mlib/exceptions.h>

#include <climits>
#include <cstring>
#include <string>

using mlib::Byte;

namespace {

const unsigned char* u8(const char* text) { return reinterpret_cast<const unsigned char*>(text); }

std::string bytesAt(const Byte& b, int count) {
  if (b.GetData() == nullptr) return {};
  return std::string(reinterpret_cast<const char*>(b.GetData()), static_cast<std::size_t>(count));
}
std::string content(const Byte& b) { return bytesAt(b, b.GetLength()); }
std::string storage(const Byte& b) { return bytesAt(b, b.GetBufferLength()); }

void expectShape(const Byte& b, const std::string& wantContent, int wantCapacity) {
  EXPECT_EQ(content(b), wantContent);
  EXPECT_EQ(b.GetBufferLength(), wantCapacity);
}

}  // namespace

TEST(Byte, ExactFitGrowthAndTheThreeInPlaceTests) {
  Byte b;
  b += 'A';
  EXPECT_EQ(storage(b), std::string("A\0", 2));
  b += 'B';  // the first append left no spare byte
  expectShape(b, "AB", 3);
  Byte r;
  const unsigned char* reserved = r.AllocBuffer(10);
  for (int i = 0; i < 9; ++i) r += static_cast<unsigned char>('0' + i);
  EXPECT_EQ(r.GetData(), reserved);
  r += '9';
  EXPECT_EQ(storage(r), std::string("0123456789\0", 11));

  // Capacity 5, length 0: four bytes fit as a Byte (0 + 4 < 5), not through AppendData.
  struct Row {
    int count;
    bool asByte;
    bool inPlace;
  };
  for (const Row& row :
       {Row{3, false, true}, Row{4, false, false}, Row{4, true, true}, Row{5, true, false}}) {
    SCOPED_TRACE(row.count * 10 + row.asByte);
    Byte t;
    const unsigned char* at = t.AllocBuffer(5);
    const std::string piece = std::string("wxyz!").substr(0, static_cast<std::size_t>(row.count));
    if (row.asByte) t += Byte(piece.c_str());
    if (!row.asByte) t.AppendData(u8(piece.c_str()), row.count);
    EXPECT_EQ(content(t), piece);
    EXPECT_EQ(t.GetData() == at, row.inPlace);
    EXPECT_EQ(t.GetBufferLength(), row.inPlace ? 5 : row.count + 1);
  }

  Byte empty, full, ab("ab");
  empty += static_cast<const char*>(nullptr);  // adding nothing still reallocates
  expectShape(empty, "", 1);
  full.IncreaseLength(3);
  full += Byte();
  EXPECT_EQ(full.GetBufferLength(), 4);
  for (int count : {0, -1, INT_MAX}) ab.AppendData(u8("cd"), count);
  ab.AppendData(nullptr, 2);
  expectShape(ab, "ab", 3);
}

TEST(Byte, SetDataReusesOrReallocates) {
  Byte big;
  std::memset(big.AllocBuffer(100), 'x', 100);
  big.SetData(u8("hello"), 5);
  EXPECT_EQ(storage(big), std::string("hello") + std::string(95, '\0'));
  Byte tight;
  tight.AllocBuffer(5);
  tight.SetData(u8("hello"), 5);
  expectShape(tight, "hello", 6);

  Byte abc("abc");
  abc.SetData(nullptr, 0);
  abc.SetData(u8("q"), -2);
  abc.SetData(nullptr, INT_MAX);
  expectShape(abc, "abc", 4);
  abc.SetData(u8("z"), 0);
  EXPECT_EQ(storage(abc), std::string(4, '\0'));
  abc.SetData(nullptr, 2);
  expectShape(abc, std::string(2, '\0'), 4);

  Byte text("");
  expectShape(text, "", 1);
  EXPECT_TRUE(text.IsEmpty());
  text = "abcdef";
  text = "xy";
  EXPECT_EQ(storage(text), std::string("xy\0\0\0\0\0", 7));
}

TEST(Byte, SourcesInsideItsOwnStorage) {
  Byte shift("abcdef");
  shift.SetData(shift.GetData() + 2, 3);  // in place, overlapping
  expectShape(shift, "cde", 7);
  Byte grow("abc");
  grow.SetData(grow.GetData(), 4);  // reallocating: read before the release
  expectShape(grow, std::string("abc\0", 4), 5);
  Byte twice("xy");
  twice += twice;
  expectShape(twice, "xyxy", 5);
  twice.AppendData(twice.GetData() + 1, 3);
  expectShape(twice, "xyxyyxy", 8);
}

TEST(Byte, CopyMoveAndIdentity) {
  const Byte none;
  EXPECT_EQ(none.GetData(), nullptr);
  EXPECT_EQ(none.ToString(), nullptr);
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
  expectShape(target, "abc", 64);
}

TEST(Byte, CapacityLengthAndBoundedAccess) {
  Byte b;
  EXPECT_EQ(b.IncreaseLength(5), 5);  // no storage: exactly 5, no terminator slot
  expectShape(b, std::string(5, '\0'), 5);
  EXPECT_EQ(b.IncreaseLength(0), 5);
  EXPECT_EQ(b.IncreaseLength(INT_MAX), 5);
  EXPECT_EQ(b.AllocBuffer(-3), b.GetData());
  b.SetData(u8("abc"), 3);
  b.IncreaseSize(4);
  EXPECT_EQ(storage(b), std::string("abc") + std::string(6, '\0'));
  EXPECT_EQ(b.IncreaseLength(7), 10);  // 3 + 7 > 9: the capacity grows by 7
  EXPECT_EQ(b.GetBufferLength(), 16);
  b.SetLength(16);
  b.SetLength(17);
  b.SetLength(-1);
  EXPECT_EQ(b.GetLength(), 16);
  EXPECT_TRUE(b.IsBufferFull());
  b.SetLength(15);
  EXPECT_TRUE(b.IsBufferFull());
  b.SetLength(14);
  EXPECT_FALSE(b.IsBufferFull());

  Byte a;
  a.AllocBuffer(6);
  a.SetData("abc");
  EXPECT_EQ(a.GetAt(3), 0);
  EXPECT_EQ(a.GetAt(-1), 0);
  EXPECT_NE(a.GetBuffer(5), nullptr);  // bounded by the capacity, not the length
  EXPECT_EQ(a.GetBuffer(6), nullptr);
  EXPECT_EQ(a.GetBuffer(-1), nullptr);
  for (int index : {1, 3, -1}) a.SetAt(index, 'X');
  EXPECT_EQ(storage(a), std::string("aXc\0\0\0", 6));
  unsigned char out[5];
  std::memset(out, 0xEE, sizeof out);
  EXPECT_EQ(a.GetData(out, 5), 3u);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(out), 4), "aXc\xEE");
  EXPECT_EQ(a.GetData(out, 2), 2u);
  EXPECT_EQ(a.GetData(nullptr, 5), 0u);
}

TEST(Byte, IndexOperatorThrowsOutOfRange) {
  const Byte b("abc");
  b[1] = 'B';
  EXPECT_EQ(content(b), "aBc");
  for (int index : {3, -1, INT_MIN}) {
    SCOPED_TRACE(index);
    try {
      (void)b[index];
      ADD_FAILURE() << "no exception";
    } catch (mlib::MxBaseException& e) {
      EXPECT_EQ(e.GetCode(), -4);
      EXPECT_EQ(e.GetLevel(), 3);
      const mlib::String report = mlib::MxException::PrintToString(&e);
      EXPECT_GE(report.IndexOf(MLIB_T("Description: Call Stack: Byte::[] }")), 0);
    }
  }
  EXPECT_THROW((void)Byte()[0], mlib::MxObject);
}

TEST(Byte, ToStringTrimAndReverse) {
  Byte spare, filled;
  std::memcpy(spare.AllocBuffer(8), "abcdefgh", 8);
  spare.SetLength(3);
  EXPECT_STREQ(spare.ToString(), "abc");
  EXPECT_EQ(spare.GetBufferLength(), 8);
  filled.IncreaseLength(4);
  std::memcpy(filled.GetBuffer(0), "wxyz", 4);
  EXPECT_STREQ(filled.ToString(), "wxyz");
  EXPECT_EQ(filled.GetBufferLength(), 5);

  struct Row {
    const char* in;
    const char* left;
    const char* right;
    const char* both;
  };
  for (const Row& r : {Row{"  a b  ", "a b  ", "  a b", "a b"}, Row{"\ta ", "\ta ", "\ta", "\ta"},
                       Row{"    ", "", "", ""}}) {
    SCOPED_TRACE(r.in);
    Byte left(r.in), right(r.in), both(r.in);
    left.TrimLeft();
    right.TrimRight();
    both.Trim();
    EXPECT_EQ(content(left), r.left);
    EXPECT_EQ(content(right), r.right);
    EXPECT_EQ(storage(both),
              r.both + std::string(std::strlen(r.in) + 1 - std::strlen(r.both), '\0'));
  }
  Byte odd("abc"), even("ab");
  odd.Reverse();
  even.Reverse();
  EXPECT_EQ(content(odd) + content(even), "cbaba");
}
