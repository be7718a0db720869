// Byte: exact-fit growth, the in-place tests of the appends, SetData, capacity, access,
// trimming and the thrown index error.
#include <mlib/byte.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

#include <mlib/exceptions.h>

using mlib::Byte;

namespace {

const unsigned char* u8(const char* text) { return reinterpret_cast<const unsigned char*>(text); }

// The content bytes.
std::string content(const Byte& b) {
  if (b.GetData() == nullptr) return {};
  return std::string(reinterpret_cast<const char*>(b.GetData()),
                     static_cast<std::size_t>(b.GetLength()));
}

// Every allocated byte, content and spare storage alike.
std::string storage(const Byte& b) {
  if (b.GetData() == nullptr) return {};
  return std::string(reinterpret_cast<const char*>(b.GetData()),
                     static_cast<std::size_t>(b.GetBufferLength()));
}

void expectShape(const Byte& b, const std::string& wantContent, int wantCapacity) {
  EXPECT_EQ(content(b), wantContent);
  EXPECT_EQ(b.GetLength(), static_cast<int>(wantContent.size()));
  EXPECT_EQ(b.GetBufferLength(), wantCapacity);
}

}  // namespace

TEST(Byte, DefaultHasNoStorage) {
  const Byte b;
  EXPECT_EQ(b.GetData(), nullptr);
  EXPECT_EQ(b.GetLength(), 0);
  EXPECT_EQ(b.GetBufferLength(), 0);
  EXPECT_TRUE(b.IsEmpty());
  EXPECT_TRUE(b.IsBufferFull());
  EXPECT_EQ(b.ToString(), nullptr);
  EXPECT_TRUE(Byte() == Byte());
}

TEST(Byte, SingleByteAppendsGrowExactly) {
  Byte b;
  b += 'A';
  expectShape(b, "A", 2);
  EXPECT_EQ(storage(b), std::string("A\0", 2));
  b += 'B';  // the first append left no spare byte
  expectShape(b, "AB", 3);

  Byte r;
  const unsigned char* reserved = r.AllocBuffer(10);
  for (int i = 0; i < 9; ++i) r += static_cast<unsigned char>('0' + i);
  EXPECT_EQ(r.GetData(), reserved);
  expectShape(r, "012345678", 10);
  r += '9';
  EXPECT_NE(r.GetData(), reserved);
  expectShape(r, "0123456789", 11);
  EXPECT_EQ(r.GetData()[10], 0);
}

TEST(Byte, EachAppendHasItsOwnInPlaceTest) {
  // Capacity 5, length 0; four bytes fit in place as a Byte (0 + 4 < 5) but not through
  // AppendData (0 + 4 + 1 < 5 fails); three bytes fit either way.
  struct Row { int count; bool asByte; bool inPlace; const char* why; };
  const Row rows[] = {
      {3, false, true, "AppendData, 3 + 1 < 5"},
      {4, false, false, "AppendData, 4 + 1 = 5"},
      {4, true, true, "operator+=(Byte), 4 < 5"},
      {5, true, false, "operator+=(Byte), 5 = 5"},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.why);
    Byte b;
    const unsigned char* reserved = b.AllocBuffer(5);
    const std::string piece = std::string("wxyz!").substr(0, static_cast<std::size_t>(r.count));
    if (r.asByte) {
      b += Byte(piece.c_str());
    } else {
      b.AppendData(u8(piece.c_str()), r.count);
    }
    EXPECT_EQ(content(b), piece);
    EXPECT_EQ(b.GetData() == reserved, r.inPlace);
    EXPECT_EQ(b.GetBufferLength(), r.inPlace ? 5 : r.count + 1);
  }
}

TEST(Byte, AppendingNothingStillReallocatesAFullBuffer) {
  Byte empty;
  empty += "";
  expectShape(empty, "", 1);
  Byte nullText;
  nullText += static_cast<const char*>(nullptr);
  expectShape(nullText, "", 1);

  Byte full;
  full.IncreaseLength(3);  // length 3 = capacity 3
  full += Byte();
  EXPECT_EQ(full.GetBufferLength(), 4);
  EXPECT_EQ(full.GetLength(), 3);

  Byte b("ab");
  b.AppendData(nullptr, 3);
  b.AppendData(u8("cd"), 0);
  b.AppendData(u8("cd"), -1);
  b.AppendData(u8("cd"), INT_MAX);
  expectShape(b, "ab", 3);
}

TEST(Byte, SetDataReusesOrReallocates) {
  Byte big;
  big.AllocBuffer(100);
  std::memset(big.GetBuffer(0), 'x', 100);
  big.SetData(u8("hello"), 5);
  EXPECT_EQ(storage(big), std::string("hello") + std::string(95, '\0'));
  EXPECT_EQ(big.GetLength(), 5);

  Byte tight;
  tight.AllocBuffer(5);
  tight.SetData(u8("hello"), 5);
  expectShape(tight, "hello", 6);
  EXPECT_EQ(tight.GetData()[5], 0);

  Byte abc("abc");
  abc.SetData(nullptr, 0);
  expectShape(abc, "abc", 4);
  abc.SetData(u8("z"), 0);
  EXPECT_EQ(storage(abc), std::string(4, '\0'));
  EXPECT_EQ(abc.GetLength(), 0);

  Byte zeros("abcdef");
  zeros.SetData(nullptr, 3);
  expectShape(zeros, std::string(3, '\0'), 7);
  zeros.SetData(u8("q"), -2);
  EXPECT_EQ(zeros.GetLength(), 3);
  zeros.SetData(nullptr, INT_MAX);
  EXPECT_EQ(zeros.GetBufferLength(), 7);

  Byte text;
  text.SetData("");
  expectShape(text, "", 1);
  EXPECT_TRUE(text.IsEmpty());
  text.SetData(static_cast<const char*>(nullptr));
  expectShape(text, "", 1);
  Byte longer("abcdef");
  longer = "xy";
  EXPECT_EQ(storage(longer), std::string("xy\0\0\0\0\0", 7));
}

TEST(Byte, SourcesInsideItsOwnStorage) {
  Byte shift("abcdef");  // in place: the source overlaps the destination
  shift.SetData(shift.GetData() + 2, 3);
  expectShape(shift, "cde", 7);
  Byte grow("abc");
  grow.SetData(grow.GetData(), 3);  // count = capacity - 1 < capacity: in place
  expectShape(grow, "abc", 4);
  grow.SetData(grow.GetData(), 4);  // reallocating, read before the release
  expectShape(grow, std::string("abc\0", 4), 5);

  Byte twice("xy");
  twice += twice;
  expectShape(twice, "xyxy", 5);
  Byte roomy;
  roomy.AllocBuffer(10);
  roomy.SetData("xy");
  roomy += roomy;
  expectShape(roomy, "xyxy", 10);
  roomy.AppendData(roomy.GetData() + 1, 3);
  expectShape(roomy, "xyxyyxy", 10);
  roomy.AppendData(roomy.GetData(), 7);
  expectShape(roomy, "xyxyyxyxyxyyxy", 15);
  roomy += roomy.ToString();
  EXPECT_EQ(content(roomy), "xyxyyxyxyxyyxyxyxyyxyxyxyyxy");
}

TEST(Byte, CopyMoveAndIdentity) {
  Byte source("data");
  Byte copy(source);
  EXPECT_EQ(content(copy), "data");
  EXPECT_FALSE(copy == source);
  EXPECT_TRUE(source == source);

  Byte target("keep");
  const Byte none;
  target = none;  // copying a Byte without storage changes nothing
  EXPECT_EQ(content(target), "keep");
  target = source;
  EXPECT_EQ(content(target), "data");

  Byte reserved;
  unsigned char* storageAt = reserved.AllocBuffer(64);
  reserved.SetData("abc");
  Byte moved(std::move(reserved));
  EXPECT_EQ(moved.GetData(), storageAt);
  expectShape(moved, "abc", 64);
  EXPECT_EQ(reserved.GetData(), nullptr);  // NOLINT(bugprone-use-after-move)
  Byte assigned;
  assigned = std::move(moved);
  EXPECT_EQ(assigned.GetData(), storageAt);
  EXPECT_EQ(assigned.GetBufferLength(), 64);
}

TEST(Byte, CapacityAndLength) {
  Byte b;
  EXPECT_EQ(b.AllocBuffer(0), nullptr);
  EXPECT_EQ(b.IncreaseLength(5), 5);  // no storage: capacity grows to exactly 5
  expectShape(b, std::string(5, '\0'), 5);
  EXPECT_EQ(b.IncreaseLength(0), 5);
  EXPECT_EQ(b.IncreaseLength(INT_MAX), 5);
  unsigned char* at = b.GetBuffer(0);
  EXPECT_EQ(b.AllocBuffer(-3), at);
  EXPECT_EQ(b.IncreaseSize(0), at);

  b.SetData(u8("abc"), 3);  // capacity 5 stays
  b.IncreaseSize(4);
  EXPECT_EQ(storage(b), std::string("abc") + std::string(6, '\0'));
  EXPECT_EQ(b.IncreaseLength(7), 10);  // 3 + 7 > 9: the capacity grows by 7
  EXPECT_EQ(b.GetBufferLength(), 16);

  b.SetLength(16);
  EXPECT_EQ(b.GetLength(), 16);
  b.SetLength(17);
  b.SetLength(-1);
  EXPECT_EQ(b.GetLength(), 16);

  struct Row { int length; int capacity; bool full; };
  const Row rows[] = {{4, 4, true}, {4, 5, true}, {3, 5, false}, {0, 1, true}};
  for (const Row& r : rows) {
    SCOPED_TRACE(r.length * 100 + r.capacity);
    Byte f;
    f.AllocBuffer(r.capacity);
    f.SetLength(r.length);
    EXPECT_EQ(f.IsBufferFull(), r.full);
  }
}

TEST(Byte, AccessIsBounded) {
  Byte b;
  b.AllocBuffer(6);
  b.SetData("abc");
  EXPECT_EQ(b.GetAt(2), 'c');
  EXPECT_EQ(b.GetAt(3), 0);
  EXPECT_EQ(b.GetAt(-1), 0);
  EXPECT_NE(b.GetBuffer(5), nullptr);  // bounded by the capacity, not the length
  EXPECT_EQ(b.GetBuffer(6), nullptr);
  EXPECT_EQ(b.GetBuffer(-1), nullptr);
  b.SetAt(1, 'X');
  b.SetAt(3, 'Y');
  b.SetAt(-1, 'Y');
  EXPECT_EQ(storage(b), std::string("aXc\0\0\0", 6));

  unsigned char out[8];
  std::memset(out, 0xEE, sizeof out);
  EXPECT_EQ(b.GetData(out, 2), 2u);
  EXPECT_EQ(b.GetData(out, 8), 3u);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(out), 4), "aXc\xEE");
  EXPECT_EQ(b.GetData(nullptr, 8), 0u);
  EXPECT_EQ(b.GetData(out, 0), 0u);
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
    EXPECT_EQ(b.GetAt(index), 0);
  }
  EXPECT_THROW((void)Byte()[0], mlib::MxObject);
  EXPECT_EQ(content(b), "aBc");
}

TEST(Byte, ToStringTerminates) {
  Byte spare;
  spare.AllocBuffer(8);
  spare.SetLength(3);
  std::memcpy(spare.GetBuffer(0), "abcdefgh", 8);
  EXPECT_STREQ(spare.ToString(), "abc");
  EXPECT_EQ(spare.GetBufferLength(), 8);

  Byte filled;
  filled.IncreaseLength(4);
  std::memcpy(filled.GetBuffer(0), "wxyz", 4);
  EXPECT_STREQ(filled.ToString(), "wxyz");
  EXPECT_EQ(filled.GetBufferLength(), 5);

  Byte cleared;
  cleared.AllocBuffer(3);
  std::memset(cleared.GetBuffer(0), 'q', 3);
  EXPECT_STREQ(cleared.ToString(), "");
  EXPECT_EQ(storage(cleared), std::string(3, '\0'));
}

TEST(Byte, TrimAndReverse) {
  struct Row { const char* in; const char* left; const char* right; const char* both; };
  const Row rows[] = {
      {"  a b  ", "a b  ", "  a b", "a b"},
      {"\ta ", "\ta ", "\ta", "\ta"},
      {"    ", "", "", ""},
      {"x", "x", "x", "x"},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.in);
    Byte left(r.in), right(r.in), both(r.in);
    const int capacity = left.GetBufferLength();
    left.TrimLeft();
    right.TrimRight();
    both.Trim();
    EXPECT_EQ(content(left), r.left);
    EXPECT_EQ(content(right), r.right);
    EXPECT_EQ(content(both), r.both);
    EXPECT_EQ(both.GetBufferLength(), capacity);
    EXPECT_EQ(storage(both).find_first_not_of('\0', std::strlen(r.both)), std::string::npos);
  }

  const char* const reversals[][2] = {{"abc", "cba"}, {"ab", "ba"}, {"a", "a"}, {"", ""}};
  for (const auto& r : reversals) {
    Byte b(r[0]);
    b.Reverse();
    EXPECT_EQ(content(b), r[1]);
  }
}
