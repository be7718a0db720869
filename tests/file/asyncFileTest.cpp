// MxAsyncFileWin and MxAsyncFile: the modes and the share mode, Read and Write with their
// callbacks, the positional rule, Seek bounds, the whole-file read, closing, reopening,
// copying and the completion routine's handling of records. Contents are checked with std
// streams; byte counts and codes come from the callbacks.
#include <gtest/gtest.h>
#include <mlib/exceptions.h>
#include <mlib/files.h>

#include <string>
#include <thread>
#include <vector>

#include "file/tempFiles.h"
#include "platform/platform.h"

using mlib::Byte;
using mlib::MxAsyncFile;
using mlib::MxAsyncFileWin;
using mlib::MxException;
using mlib::test::readFile;
using mlib::test::writeFile;

namespace {

constexpr unsigned kNoSize = 0xFFFFFFFFu;
constexpr const char kDigits[] = "0123456789";

struct Completion {
  const MxAsyncFile* file;
  unsigned bytes;
  int code;
};
std::vector<Completion> gReads;
std::vector<Completion> gWrites;

void onRead(MxAsyncFile& file, unsigned bytes, MxException& error) {
  gReads.push_back({&file, bytes, error.GetCode()});
}
void onWrite(MxAsyncFile& file, unsigned bytes, MxException& error) {
  gWrites.push_back({&file, bytes, error.GetCode()});
}

// MxAsyncFile with its state and protected operations in view.
class AsyncProbe : public MxAsyncFile {
 public:
  using MxAsyncFile::fileIOCompletionRoutine;
  using MxAsyncFileWin::handle_;
  using MxAsyncFileWin::path_;
  using MxAsyncFileWin::position_;
  using MxAsyncFileWin::readCallback_;
  using MxAsyncFileWin::readContext_;
  using MxAsyncFileWin::writeContext_;
};

// The bytes one Read delivered, by its callback's count; "<none>" when it delivered nothing.
std::string readAt(MxAsyncFile& file, unsigned count) {
  std::string out(count, '\0');
  const std::size_t before = gReads.size();
  if (file.Read(out.data(), count) != 1 || gReads.size() != before + 1) return "<none>";
  out.resize(gReads.back().bytes);
  return out;
}

class AsyncFile : public ::testing::Test {
 protected:
  void SetUp() override {
    gReads.clear();
    gWrites.clear();
    writeFile(dir_.path("ten"), kDigits);
  }
  mlib::String ten() const { return dir_.text("ten"); }
  mlib::test::TempFolder dir_;
};

}  // namespace

TEST_F(AsyncFile, ModesCreateTruncateKeepOrRefuse) {
  struct Row {
    int mode;
    bool opensExisting, opensMissing;
    std::size_t lengthAfter;
  };
  const Row rows[] = {{0, true, false, 10},  {1, true, false, 10}, {2, true, false, 10},
                      {3, true, true, 1},    {4, true, true, 10},  {7, false, false, 10},
                      {-1, false, false, 10}};
  for (const Row& r : rows) {
    SCOPED_TRACE("mode " + std::to_string(r.mode));
    writeFile(dir_.path("ten"), kDigits);
    std::filesystem::remove(dir_.path("new"));
    MxAsyncFile file;
    ASSERT_EQ(file.Open(ten(), r.mode), r.opensExisting);
    char byte = 0;
    // A stale last error (the "already exists" of modes 3 and 4, the refusal of a write in
    // mode 0) turns a request's result to 0 on Windows: see LastErrorAfterARequest.
    mlib::platform::setLastError(0);
    EXPECT_EQ(file.Write("w", 1), r.mode == 0 || !r.opensExisting ? 0u : 1u);
    mlib::platform::setLastError(0);
    EXPECT_EQ(file.Read(&byte, 1), r.mode == 1 || !r.opensExisting ? 0u : 1u);
    file.Close();
    EXPECT_EQ(readFile(dir_.path("ten")).size(), r.lengthAfter);
    EXPECT_EQ(file.Open(dir_.text("new"), r.mode), r.opensMissing);
    EXPECT_EQ(file.GetLength(), r.opensMissing ? 0u : kNoSize);
    EXPECT_EQ(mlib::test::fileExists(dir_.path("new")), r.opensMissing);
  }
}

TEST_F(AsyncFile, ShareModeAdmitsReadersOnly) {
  MxAsyncFile holder, other;
  ASSERT_TRUE(holder.Open(ten(), 0));
  EXPECT_TRUE(other.Open(ten(), 0)) << "a second reader";
  for (int mode : {1, 2, 3, 4}) {
    SCOPED_TRACE("writer in mode " + std::to_string(mode));
    EXPECT_FALSE(other.Open(ten(), mode));
    EXPECT_EQ(mlib::platform::lastError(), mlib::platform::kErrorSharingViolation);
  }
  EXPECT_EQ(readFile(dir_.path("ten")), kDigits) << "a refused mode 3 truncated the file";
  mlib::MxFile stream;
  EXPECT_FALSE(stream.Open(ten(), 2)) << "a stream writer";
  EXPECT_TRUE(stream.Open(ten(), 0)) << "a stream reader";
  stream.Close();
  ASSERT_TRUE(holder.Open(ten(), 2));
  EXPECT_FALSE(other.Open(ten(), 0)) << "a writer shares reading, not writing";
  holder.Close();
  EXPECT_TRUE(other.Open(ten(), 1)) << "every holder closed";
}

TEST_F(AsyncFile, StreamsTakePartInTheShareModeBothWays) {
  // Streams share reading and writing with everyone, but an overlapped file shares reading
  // only: it cannot be opened while a stream holds the file for writing.
  mlib::MxFile writer, secondWriter;
  ASSERT_TRUE(writer.Open(ten(), 2));
  MxAsyncFile file;
  for (int mode : {0, 2}) {
    SCOPED_TRACE("overlapped file in mode " + std::to_string(mode));
    mlib::platform::setLastError(0);
    EXPECT_FALSE(file.Open(ten(), mode)) << "while a stream writes the file";
    EXPECT_EQ(mlib::platform::lastError(), mlib::platform::kErrorSharingViolation);
  }
  EXPECT_TRUE(secondWriter.Open(ten(), 1)) << "streams share writing among themselves";
  writer.Close();
  EXPECT_FALSE(file.Open(ten(), 0)) << "the second stream writer still holds it";
  secondWriter.Close();
  EXPECT_TRUE(file.Open(ten(), 0)) << "every stream writer closed";
  file.Close();

  mlib::MxFile reader;
  ASSERT_TRUE(reader.Open(ten(), 0));
  EXPECT_TRUE(file.Open(ten(), 2)) << "a stream reader shares writing";
  file.Close();
  reader.Close();

  // And the other order: the overlapped file first.
  ASSERT_TRUE(file.Open(ten(), 0));
  mlib::platform::setLastError(0);
  EXPECT_FALSE(writer.Open(ten(), 1));
  EXPECT_EQ(mlib::platform::lastError(), mlib::platform::kErrorSharingViolation);
  EXPECT_TRUE(reader.Open(ten(), 0));
  EXPECT_EQ(readFile(dir_.path("ten")), kDigits);
}

TEST_F(AsyncFile, LastErrorAfterARequestDecidesTheResultAndIsLeftAlone) {
  // Opening an existing file in mode 3 or 4 leaves "already exists" as the last error. On
  // Windows a successful request leaves it there, and Read and Write then return 0 although
  // the request runs: its completion arrives at the next alertable wait (here Close). The
  // POSIX layer clears errno when it accepts a request, so there the request goes through.
#if defined(MLIB_TEST_WIN32_BACKEND)
  const unsigned kAfterStaleError = 0;
#else
  const unsigned kAfterStaleError = 1;
#endif
  for (int mode : {3, 4}) {
    SCOPED_TRACE("mode " + std::to_string(mode));
    gReads.clear();
    gWrites.clear();
    writeFile(dir_.path("ten"), kDigits);
    MxAsyncFile file;
    ASSERT_TRUE(file.Open(ten(), mode));
    file.SetCallBackWrite(&onWrite);
    file.SetCallBackRead(&onRead);
    ASSERT_EQ(mlib::platform::lastError(), mlib::platform::kErrorAlreadyExists);
    char byte = 0;
    EXPECT_EQ(file.Write("w", 1), kAfterStaleError);
    EXPECT_EQ(file.Read(&byte, 1), kAfterStaleError);
    EXPECT_EQ(gWrites.size() + gReads.size(), 2 * kAfterStaleError);
    file.Close();
    ASSERT_EQ(gWrites.size(), 1u) << "the completions arrive at the latest in Close's wait";
    ASSERT_EQ(gReads.size(), 1u);
    EXPECT_EQ(gWrites[0].bytes, 1u);
    EXPECT_EQ(gReads[0].bytes, 1u);
    EXPECT_EQ(byte, 'w');
  }

  // Delivering a completion leaves the last error as the request left it, whatever the code.
  AsyncProbe file;
  file.SetCallBackWrite(&onWrite);
  file.writeContext_.event = MxAsyncFileWin::IoWrite;
  mlib::platform::setLastError(0);
  AsyncProbe::fileIOCompletionRoutine(112, 7, &file.writeContext_.overlapped);
  EXPECT_EQ(gWrites.back().code, 112);
  EXPECT_EQ(mlib::platform::lastError(), 0);
}

TEST_F(AsyncFile, ReadDeliversBytesAndCodeToTheCallbackAndKeepsThePosition) {
  AsyncProbe file;
  file.SetCallBackRead(&onRead);
  ASSERT_TRUE(file.Open(ten(), 0)) << "a callback set before Open stays";
  char buffer[8] = "#######";
  ASSERT_EQ(file.Read(buffer, 4), 1u);
  ASSERT_EQ(gReads.size(), 1u);
  EXPECT_EQ(gReads[0].file, &file);
  EXPECT_EQ(gReads[0].bytes, 4u);
  EXPECT_EQ(gReads[0].code, 0);
  EXPECT_EQ(std::string(buffer), "0123###");
  EXPECT_EQ(readAt(file, 4), "0123") << "Read moved the position";
  ASSERT_TRUE(file.Seek(6));
  EXPECT_EQ(readAt(file, 10), "6789") << "a short read at the end";

  gReads.clear();
  EXPECT_EQ(file.Read(buffer, 0), 0u);
  EXPECT_EQ(file.Read(nullptr, 4), 0u);
  EXPECT_TRUE(gReads.empty());
  // At the end nothing is read: the request is refused, or completes (with or without an
  // end-of-file code, as the system reports it) with 0 bytes.
  ASSERT_TRUE(file.Seek(10));
  const unsigned atEnd = file.Read(buffer, 4);
  EXPECT_LE(gReads.size(), 1u);
  if (atEnd == 1) {
    EXPECT_EQ(gReads.size(), 1u);
  }
  for (const Completion& c : gReads) {
    EXPECT_EQ(c.bytes, 0u);
  }
  EXPECT_EQ(std::string(buffer), "0123###");
  gReads.clear();

  ASSERT_TRUE(file.Open(ten(), 1));
  EXPECT_EQ(file.Read(buffer, 4), 0u) << "write access only";
  EXPECT_TRUE(gReads.empty());
  EXPECT_EQ(file.readContext_.event, MxAsyncFileWin::IoNone);
  file.Close();  // would wait forever for a refused request left marked pending
}

TEST_F(AsyncFile, WriteDeliversTheCountAndSeekBoundsHold) {
  AsyncProbe file;
  EXPECT_FALSE(file.Seek(0) || file.Flush());
  EXPECT_EQ(file.Write("x", 1), 0u);
  file.SeekToEnd();
  EXPECT_EQ(file.position_, kNoSize) << "the size of a closed file";

  ASSERT_TRUE(file.Open(ten(), 2));
  EXPECT_EQ(file.position_, kNoSize) << "Open keeps the position";
  file.SeekToBegin();
  EXPECT_EQ(file.Write("ab", 2), 1u) << "no callback set";
  file.SetCallBackWrite(&onWrite);
  EXPECT_TRUE(file.Seek(10)) << "the end itself";
  EXPECT_FALSE(file.Seek(11));
  EXPECT_EQ(file.position_, 10u);
  ASSERT_TRUE(file.Seek(4));
  ASSERT_EQ(file.Write("XYZ", 3), 1u);
  ASSERT_EQ(gWrites.size(), 1u);
  EXPECT_TRUE(gWrites[0].file == &file && gWrites[0].bytes == 3 && gWrites[0].code == 0);
  EXPECT_EQ(file.position_, 4u);
  file.SeekToEnd();
  EXPECT_EQ(file.Write(Byte("++")), 1u);
  EXPECT_EQ(file.Write(nullptr, 3) + file.Write("x", 0), 0u);
  EXPECT_EQ(gWrites.size(), 2u);
  EXPECT_TRUE(file.Flush());
  file.Close();
  EXPECT_EQ(readFile(dir_.path("ten")), "ab23XYZ789++");
  ASSERT_TRUE(file.Open(ten(), 0));
  EXPECT_FALSE(file.Flush()) << "flushing needs write access";
}

TEST_F(AsyncFile, ReopeningKeepsCallbacksAndClosingDropsThem) {
  AsyncProbe file;
  file.SetCallBackRead(&onRead);
  ASSERT_TRUE(file.Open(ten(), 0));
  ASSERT_TRUE(file.Seek(3));
  writeFile(dir_.path("other"), "abcdef");
  ASSERT_TRUE(file.Open(dir_.text("other"), 0));
  EXPECT_EQ(readAt(file, 2), "de") << "the callback and the position survive a reopen";
  ASSERT_TRUE(file.Open(dir_.text("other"), 2)) << "the old handle still holds the file";
  file.Close();
  EXPECT_EQ(file.readCallback_, nullptr);
  EXPECT_TRUE(file.path_.IsEmpty());
  ASSERT_TRUE(file.Open(ten(), 0));
  EXPECT_EQ(readAt(file, 2), "<none>");
  EXPECT_EQ(gReads.size(), 1u);
}

TEST_F(AsyncFile, WholeFileReadGivesTheRealCount) {
  const std::string big = std::string(300000, 'q') + "end";
  writeFile(dir_.path("big"), big);
  writeFile(dir_.path("empty"), "");
  MxAsyncFile file;
  Byte out;
  EXPECT_EQ(file.Read(out), 0) << "closed";
  ASSERT_TRUE(file.Open(ten(), 0));
  ASSERT_TRUE(file.Seek(7));
  EXPECT_EQ(file.Read(out), 3) << "from the position";
  EXPECT_EQ(out.GetBufferLength(), 10);
  ASSERT_TRUE(file.Open(dir_.text("big"), 0));
  file.SeekToBegin();
  ASSERT_EQ(file.Read(out), 300003);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(out.GetData()), 300003), big);
  ASSERT_TRUE(file.Open(dir_.text("empty"), 0));
  EXPECT_EQ(file.Read(out), 0);
  EXPECT_EQ(out.GetData(), nullptr);
}

TEST_F(AsyncFile, CopiesHoldTheirOwnHandleOrStartClosed) {
  AsyncProbe source;
  source.SetCallBackRead(&onRead);
  ASSERT_TRUE(source.Open(ten(), 0));
  ASSERT_TRUE(source.Seek(5));
  MxAsyncFile fresh(source);
  EXPECT_EQ(fresh.GetLength(), kNoSize) << "an MxAsyncFile copy starts closed";
  AsyncProbe target;
  static_cast<MxAsyncFile&>(target) = source;
  EXPECT_EQ(target.position_, 0u) << "MxAsyncFile assignment changes nothing";
  EXPECT_EQ(target.readCallback_, nullptr);

  MxAsyncFileWin& base = source;
  {
    MxAsyncFileWin copy(base);
    EXPECT_EQ(source.readContext_.owner, &base);
    char buffer[3];
    EXPECT_EQ(copy.Read(buffer, 3), 1u);
    EXPECT_EQ(std::string(buffer, 3), "567") << "a second handle at the same position";
    ASSERT_EQ(gReads.size(), 1u) << "a plain MxAsyncFileWin calls its callbacks too";
    EXPECT_EQ(static_cast<const void*>(gReads[0].file), static_cast<const void*>(&copy));
    EXPECT_EQ(gReads[0].bytes, 3u);
    source.Close();
    EXPECT_EQ(copy.GetLength(), 10u) << "closing the source closed the copy's handle";
  }
  ASSERT_TRUE(source.Open(ten(), 2)) << "the copy's handle outlived the copy";
}

TEST_F(AsyncFile, CompletionRoutineIgnoresNullAndIdleRecords) {
  AsyncProbe file;
  file.SetCallBackRead(&onRead);
  file.SetCallBackWrite(&onWrite);
  AsyncProbe::fileIOCompletionRoutine(0, 5, nullptr);
  AsyncProbe::fileIOCompletionRoutine(0, 5, &file.readContext_.overlapped);
  EXPECT_TRUE(gReads.empty());
  file.writeContext_.event = MxAsyncFileWin::IoWrite;
  AsyncProbe::fileIOCompletionRoutine(112, 7, &file.writeContext_.overlapped);
  AsyncProbe::fileIOCompletionRoutine(112, 7, &file.writeContext_.overlapped);
  ASSERT_EQ(gWrites.size(), 1u) << "a completion delivered twice is reported once";
  EXPECT_EQ(gWrites[0].bytes, 7u);
  EXPECT_EQ(gWrites[0].code, 112);
  EXPECT_EQ(file.writeContext_.event, MxAsyncFileWin::IoNone);
  EXPECT_TRUE(gReads.empty());
}

namespace {

// A chain of requests, each issued by the callback of the one before: level k reads (or
// writes) byte k at position k.
struct Chain {
  static constexpr unsigned kDepth = 300;
  bool write = false;
  std::string bytes;     // what the file holds (read) or gets (write)
  std::string got;       // where the reads put it
  std::vector<int> log;  // level k entered: k; left: ~k
  unsigned wrong = 0;    // levels whose own checks failed
  int entered = 0;       // levels whose callback has started
  static unsigned issue(MxAsyncFile& file, unsigned level);
  static void onDone(MxAsyncFile& file, unsigned bytes, MxException& error);
};
Chain gChain;

unsigned Chain::issue(MxAsyncFile& file, unsigned level) {
  if (!file.Seek(level)) return 0;
  return gChain.write ? file.Write(&gChain.bytes[level], 1) : file.Read(&gChain.got[level], 1);
}

void Chain::onDone(MxAsyncFile& file, unsigned bytes, MxException& error) {
  const int level = gChain.entered++;
  gChain.log.push_back(level);
  if (bytes != 1 || error.GetCode() != 0) ++gChain.wrong;
  const unsigned next = static_cast<unsigned>(level) + 1;
  if (next < kDepth) {
    const bool returned = issue(file, next) == 1;
    // Back from the inner request: its callback has run and its byte is in place.
    if (!returned || gChain.log.back() != ~static_cast<int>(next) ||
        (!gChain.write && gChain.got[next] != gChain.bytes[next])) {
      ++gChain.wrong;
    }
  }
  gChain.log.push_back(~level);
}

}  // namespace

TEST_F(AsyncFile, RequestsFromCallbacksReturnAfterTheirOwnCallback) {
  for (const bool write : {false, true}) {
    SCOPED_TRACE(write ? "writes" : "reads");
    gChain = Chain{};
    gChain.write = write;
    for (unsigned i = 0; i < Chain::kDepth; ++i) gChain.bytes += static_cast<char>(i * 37 + 11);
    gChain.got.assign(Chain::kDepth, '\0');
    writeFile(dir_.path("chain"), write ? "" : gChain.bytes);
    AsyncProbe file;
    ASSERT_TRUE(file.Open(dir_.text("chain"), 2));
    file.SetCallBackRead(&Chain::onDone);
    file.SetCallBackWrite(&Chain::onDone);
    ASSERT_EQ(Chain::issue(file, 0), 1u);
    std::vector<int> nested;
    for (int k = 0; k < static_cast<int>(Chain::kDepth); ++k) nested.push_back(k);
    for (int k = Chain::kDepth - 1; k >= 0; --k) nested.push_back(~k);
    EXPECT_EQ(gChain.log, nested) << "levels entered 0, 1, ... and left in reverse";
    EXPECT_EQ(gChain.wrong, 0u);
    EXPECT_EQ(file.readContext_.event + file.writeContext_.event, 0);
    file.Close();
    EXPECT_EQ(write ? readFile(dir_.path("chain")) : gChain.got, gChain.bytes);
  }
}

TEST_F(AsyncFile, NestingEndsWithARefusalWhenTheStackIsNearlySpent) {
  // Callbacks that issue the next read without end, on a thread of their own: the chain ends
  // with a refused request (0, with its last error) before the stack runs out, and every
  // accepted request has been delivered.
  static unsigned delivered, accepted, refusals;
  static int refusal;
  delivered = accepted = refusals = 0;
  refusal = 0;
  std::thread([this] {
    MxAsyncFile file;
    if (!file.Open(ten(), 0)) return;
    file.SetCallBackRead([](MxAsyncFile& f, unsigned, MxException&) {
      ++delivered;
      char byte;
      if (f.Read(&byte, 1) == 1) {
        ++accepted;
      } else if (refusals++ == 0) {
        refusal = mlib::platform::lastError();
      }
    });
    char byte;
    const unsigned first = file.Read(&byte, 1);
    accepted += first;
  }).join();
  EXPECT_EQ(refusals, 1u);
  EXPECT_EQ(refusal, mlib::platform::kErrorStackOverflow);
  EXPECT_EQ(delivered, accepted);
  EXPECT_GT(accepted, 1000u) << "levels of nesting before the refusal";
}
