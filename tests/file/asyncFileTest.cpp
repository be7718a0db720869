// MxAsyncFileWin and MxAsyncFile: modes and share modes, Read and Write with their callbacks,
// the positional rule, the whole-file read, closing, reopening, copying, the completion
// routine, and requests issued from callbacks. Contents are checked with std streams; byte
// counts and codes come from the callbacks.
#include <gtest/gtest.h>
#include <mlib/exceptions.h>
#include <mlib/files.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include "file/tempFiles.h"
#include "platform/platform.h"

using mlib::Byte;
using mlib::MxAsyncFile;
using mlib::MxAsyncFileWin;
using mlib::MxException;
using mlib::test::kDigits;
namespace platform = mlib::platform;

namespace {

constexpr unsigned kNoSize = 0xFFFFFFFFu;

struct Completion {
  const void* file;
  unsigned bytes;
  int code;
};
std::vector<Completion> gReads, gWrites;
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
  return out.substr(0, gReads.back().bytes);
}

class AsyncFile : public ::testing::Test {
 protected:
  void SetUp() override { gReads.clear(), gWrites.clear(); }
  mlib::test::TempFolder dir_;
  const mlib::String ten_ = dir_.put("ten");
};

}  // namespace

TEST_F(AsyncFile, ModesCreateTruncateKeepOrRefuse) {
  struct Row {
    int mode;
    bool opensExisting, opensMissing;
    const char* after;  // "w" written at 0, then a byte read there
  };
  const Row rows[] = {{0, true, false, kDigits},      {1, true, false, "w123456789"},
                      {2, true, false, "w123456789"}, {3, true, true, "w"},
                      {4, true, true, "w123456789"},  {7, false, false, kDigits},
                      {-1, false, false, kDigits}};
  for (const Row& r : rows) {
    const std::string fresh = "new" + std::to_string(r.mode);
    SCOPED_TRACE(fresh);
    MxAsyncFile file;
    ASSERT_EQ(file.Open(dir_.put("ten"), r.mode), r.opensExisting);
    // A stale last error ("already exists" of modes 3 and 4) turns a request's result to 0
    // on Windows: see AStaleLastErrorDecidesTheResult.
    char byte = 0;
    platform::setLastError(0);
    EXPECT_EQ(file.Write("w", 1), r.mode == 0 || !r.opensExisting ? 0u : 1u);
    platform::setLastError(0);
    EXPECT_EQ(file.Read(&byte, 1), r.mode == 1 || !r.opensExisting ? 0u : 1u);
    EXPECT_EQ(byte, r.mode == 1 || !r.opensExisting ? 0 : r.after[0]);
    file.Close();
    EXPECT_EQ(dir_.get("ten"), r.after);
    EXPECT_EQ(file.Open(dir_.text(fresh), r.mode), r.opensMissing);
    EXPECT_EQ(file.GetLength(), r.opensMissing ? 0u : kNoSize);
    EXPECT_EQ(dir_.get(fresh), r.opensMissing ? "" : "<missing>");
  }
}

TEST_F(AsyncFile, ShareModesAdmitWhatEveryHolderAndTheOpenerShare) {
  // Overlapped files share reading only, MxFile streams share everything (as the C runtime's
  // do on Windows); every mode but 0 writes. An opener is refused when a holder's share mode
  // refuses its access or its own share mode refuses the holder's; refused, it truncates
  // nothing.
  struct Opener {
    bool overlapped;
    int mode;
  };
  const auto name = [](const Opener& o) {
    return (o.overlapped ? "overlapped " : "stream ") + std::to_string(o.mode);
  };
  std::vector<Opener> openers;
  for (int mode = 0; mode < 5; ++mode) openers.insert(openers.end(), {{true, mode}, {false, mode}});
  for (const Opener& holder : openers) {
    for (const Opener& opener : openers) {
      SCOPED_TRACE(name(holder) + " holds, " + name(opener) + " opens");
      MxAsyncFile files[2];
      mlib::MxFile streams[2];
      const auto open = [&](const Opener& o, int k) {
        return o.overlapped ? files[k].Open(dir_.text("ten"), o.mode)
                            : streams[k].Open(dir_.text("ten"), o.mode);
      };
      dir_.put("ten");
      ASSERT_TRUE(open(holder, 0));
      const bool admitted =
          !(holder.overlapped && opener.mode != 0) && !(opener.overlapped && holder.mode != 0);
      platform::setLastError(0);
      EXPECT_EQ(open(opener, 1), admitted);
      if (!admitted) {
        EXPECT_EQ(platform::lastError(), platform::kErrorSharingViolation);
      }
      const bool truncated = holder.mode == 3 || (admitted && opener.mode == 3);
      EXPECT_EQ(dir_.get("ten"), truncated ? "" : kDigits);
    }
  }
  // Every holder counts until it has closed.
  mlib::MxFile writers[2];
  MxAsyncFile reader;
  ASSERT_TRUE(writers[0].Open(ten_, 2) && writers[1].Open(ten_, 1));
  writers[0].Close();
  EXPECT_FALSE(reader.Open(ten_, 0));
  writers[1].Close();
  EXPECT_TRUE(reader.Open(ten_, 0));
}

TEST_F(AsyncFile, AStaleLastErrorDecidesTheResultNotTheDelivery) {
  // Open in mode 3 or 4 of an existing file leaves "already exists" as the last error. On
  // Windows a successful request leaves it there, and Read and Write then return 0 although
  // the request runs: its completion comes at the next alertable wait (here Close). The POSIX
  // layer clears errno when it accepts a request, so there the request goes through.
#if defined(MLIB_TEST_WIN32_BACKEND)
  const unsigned kAfterStaleError = 0;
#else
  const unsigned kAfterStaleError = 1;
#endif
  for (int mode : {3, 4}) {
    SCOPED_TRACE("mode " + std::to_string(mode));
    SetUp();
    MxAsyncFile file;
    ASSERT_TRUE(file.Open(dir_.put("ten"), mode));
    file.SetCallBackWrite(&onWrite);
    file.SetCallBackRead(&onRead);
    ASSERT_EQ(platform::lastError(), platform::kErrorAlreadyExists);
    char byte = 0;
    EXPECT_EQ(file.Write("w", 1), kAfterStaleError);
    EXPECT_EQ(file.Read(&byte, 1), kAfterStaleError);
    EXPECT_EQ(gWrites.size() + gReads.size(), 2 * kAfterStaleError);
    file.Close();
    ASSERT_TRUE(gWrites.size() == 1 && gReads.size() == 1) << "each delivered once, by Close";
    EXPECT_EQ(gWrites[0].bytes + gReads[0].bytes, 2u);
    EXPECT_EQ(byte, 'w');
  }
}

TEST_F(AsyncFile, ReadAndWriteDeliverTheirCountAtThePositionWithoutMovingIt) {
  AsyncProbe file;
  char buffer[8] = "#######";
  EXPECT_FALSE(file.Seek(0) || file.Flush() || file.Write("x", 1) || file.Read(buffer, 1));
  file.SeekToEnd();
  EXPECT_EQ(file.position_, kNoSize) << "the size of a closed file";
  file.SetCallBackRead(&onRead);
  ASSERT_TRUE(file.Open(ten_, 2)) << "a callback set before Open stays";
  EXPECT_EQ(file.position_, kNoSize) << "Open keeps the position";
  file.SeekToBegin();
  ASSERT_EQ(file.Read(buffer, 4), 1u);
  ASSERT_EQ(gReads.size(), 1u);
  EXPECT_TRUE(gReads[0].file == &file && gReads[0].bytes == 4 && gReads[0].code == 0);
  EXPECT_EQ(std::string(buffer), "0123###");
  EXPECT_EQ(readAt(file, 4), "0123") << "Read moved the position";
  EXPECT_EQ(file.Write("ab", 2), 1u) << "no callback set";
  file.SetCallBackWrite(&onWrite);
  EXPECT_TRUE(file.Seek(10)) << "the end itself";
  EXPECT_FALSE(file.Seek(11));
  EXPECT_EQ(file.position_, 10u);
  ASSERT_TRUE(file.Seek(4));
  ASSERT_EQ(file.Write("XYZ", 3), 1u);
  ASSERT_EQ(gWrites.size(), 1u);
  EXPECT_TRUE(gWrites[0].file == &file && gWrites[0].bytes == 3 && gWrites[0].code == 0);
  EXPECT_EQ(readAt(file, 10), "XYZ789") << "a short read at the end, from the position";
  file.SeekToEnd();
  EXPECT_EQ(file.Write(Byte("++")), 1u);
  EXPECT_EQ(gWrites.size(), 2u);
  gReads.clear(), gWrites.clear();
  EXPECT_EQ(file.Read(buffer, 0) + file.Read(nullptr, 4) + file.Write(nullptr, 3), 0u);
  EXPECT_EQ(file.Write("x", 0) + gReads.size() + gWrites.size(), 0u) << "no callbacks";
  // At the end nothing is read: the request is refused, or completes (with or without an
  // end-of-file code, as the system reports it) with 0 bytes.
  file.SeekToEnd();
  const unsigned atEnd = file.Read(buffer, 4);
  EXPECT_TRUE(gReads.size() == 1 ? gReads[0].bytes == 0 : atEnd == 0 && gReads.empty());
  EXPECT_EQ(std::string(buffer), "0123###");
  EXPECT_TRUE(file.Flush());
  file.Close();
  EXPECT_EQ(dir_.get("ten"), "ab23XYZ789++");
  ASSERT_TRUE(file.Open(ten_, 0));
  EXPECT_FALSE(file.Flush()) << "flushing needs write access";
  ASSERT_TRUE(file.Open(ten_, 1));
  EXPECT_EQ(file.Read(buffer, 4), 0u) << "write access only";
  EXPECT_EQ(file.readContext_.event, MxAsyncFileWin::IoNone);
  file.Close();  // would wait forever for a refused request left marked pending
}

TEST_F(AsyncFile, ReopeningKeepsCallbacksAndClosingDropsThem) {
  AsyncProbe file;
  file.SetCallBackRead(&onRead);
  ASSERT_TRUE(file.Open(ten_, 0) && file.Seek(3));
  ASSERT_TRUE(file.Open(dir_.put("other", "abcdef"), 0));
  EXPECT_EQ(readAt(file, 2), "de") << "the callback and the position survive a reopen";
  ASSERT_TRUE(file.Open(dir_.text("other"), 2)) << "the old handle still holds the file";
  file.Close();
  EXPECT_TRUE(file.readCallback_ == nullptr && file.path_.IsEmpty());
  ASSERT_TRUE(file.Open(ten_, 0));
  EXPECT_EQ(readAt(file, 2), "<none>");
  EXPECT_EQ(gReads.size(), 1u);
}

TEST_F(AsyncFile, WholeFileReadGivesTheRealCount) {
  const std::string big = std::string(300000, 'q') + "end";
  MxAsyncFile file;
  Byte out;
  EXPECT_EQ(file.Read(out), 0) << "closed";
  ASSERT_TRUE(file.Open(ten_, 0) && file.Seek(7));
  EXPECT_EQ(file.Read(out), 3) << "from the position";
  EXPECT_EQ(out.GetBufferLength(), 10);
  ASSERT_TRUE(file.Open(dir_.put("big", big), 0));
  file.SeekToBegin();
  ASSERT_EQ(file.Read(out), 300003);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(out.GetData()), 300003), big);
  ASSERT_TRUE(file.Open(dir_.put("empty", ""), 0));
  EXPECT_EQ(file.Read(out), 0);
  EXPECT_EQ(out.GetData(), nullptr);
}

TEST_F(AsyncFile, CopiesHoldTheirOwnHandleOrStartClosed) {
  AsyncProbe source, target;
  source.SetCallBackRead(&onRead);
  ASSERT_TRUE(source.Open(ten_, 0) && source.Seek(5));
  EXPECT_EQ(MxAsyncFile(source).GetLength(), kNoSize) << "an MxAsyncFile copy starts closed";
  static_cast<MxAsyncFile&>(target) = source;
  EXPECT_TRUE(target.position_ == 0 && target.readCallback_ == nullptr) << "assignment";
  MxAsyncFileWin& base = source;
  {
    MxAsyncFileWin copy(base);
    EXPECT_EQ(source.readContext_.owner, &base);
    char buffer[3];
    EXPECT_EQ(copy.Read(buffer, 3), 1u);
    EXPECT_EQ(std::string(buffer, 3), "567") << "a second handle at the same position";
    ASSERT_EQ(gReads.size(), 1u) << "a plain MxAsyncFileWin calls its callbacks too";
    EXPECT_TRUE(gReads[0].file == &copy && gReads[0].bytes == 3);
    source.Close();
    EXPECT_EQ(copy.GetLength(), 10u) << "closing the source closed the copy's handle";
  }
  ASSERT_TRUE(source.Open(ten_, 2)) << "the copy's handle outlived the copy";
}

TEST_F(AsyncFile, CompletionRoutineReportsPendingRecordsOnceAndLeavesTheLastError) {
  AsyncProbe file;
  file.SetCallBackRead(&onRead);
  file.SetCallBackWrite(&onWrite);
  AsyncProbe::fileIOCompletionRoutine(0, 5, nullptr);
  AsyncProbe::fileIOCompletionRoutine(0, 5, &file.readContext_.overlapped);
  file.writeContext_.event = MxAsyncFileWin::IoWrite;
  platform::setLastError(0);
  AsyncProbe::fileIOCompletionRoutine(112, 7, &file.writeContext_.overlapped);
  AsyncProbe::fileIOCompletionRoutine(112, 7, &file.writeContext_.overlapped);
  EXPECT_TRUE(gReads.empty()) << "an idle record";
  ASSERT_EQ(gWrites.size(), 1u) << "a completion delivered twice is reported once";
  EXPECT_TRUE(gWrites[0].bytes == 7 && gWrites[0].code == 112);
  EXPECT_EQ(file.writeContext_.event, MxAsyncFileWin::IoNone);
  EXPECT_EQ(platform::lastError(), 0) << "the completion's code leaked out";
}

namespace {

// A chain of requests, each issued by the callback of the one before: level k reads (or
// writes) byte k % kLength at that position, until `depth` levels or the first refusal.
struct Chain {
  static constexpr unsigned kLength = 300;
  bool write = false;
  unsigned depth = 0;
  std::string bytes, got;  // what the file holds (read) or gets (write); what reads put
  std::vector<int> log;    // level k entered: k; left: ~k
  unsigned wrong = 0;      // levels whose own checks failed
  unsigned refusals = 0;
  int refusal = 0;  // the last error of the first refused request
  static unsigned issue(MxAsyncFile& file, unsigned level);
  static void onDone(MxAsyncFile& file, unsigned bytes, MxException& error);
};
Chain gChain;

unsigned Chain::issue(MxAsyncFile& file, unsigned level) {
  const unsigned at = level % kLength;
  if (!file.Seek(at)) return 0;
  return gChain.write ? file.Write(&gChain.bytes[at], 1) : file.Read(&gChain.got[at], 1);
}

void Chain::onDone(MxAsyncFile& file, unsigned bytes, MxException& error) {
  const int level = static_cast<int>(gChain.log.size());  // no level has been left yet
  gChain.log.push_back(level);
  if (bytes != 1 || error.GetCode() != 0) ++gChain.wrong;
  const unsigned next = static_cast<unsigned>(level) + 1;
  if (next < gChain.depth && issue(file, next) != 1) {
    if (gChain.refusals++ == 0) gChain.refusal = platform::lastError();
  } else if (next < gChain.depth &&
             (gChain.log.back() != ~static_cast<int>(next) ||
              (!gChain.write && gChain.got[next % kLength] != gChain.bytes[next % kLength]))) {
    ++gChain.wrong;  // the inner request returned before its callback, or without its byte
  }
  gChain.log.push_back(~level);
}

// Runs `body` with about `room` bytes of the thread's stack still free.
template <typename Body>
void withStackLeft(std::size_t room, const Body& body) {
  volatile char ballast[4096];
  ballast[0] = 1;
  if (platform::stackLeft() > room + sizeof ballast) {
    withStackLeft(room, body);
  } else {
    body();
  }
  ballast[1] = ballast[0];  // the frame stays until the body has run
}

}  // namespace

TEST_F(AsyncFile, RequestsFromCallbacksNestAndReturnAfterTheirOwnCallback) {
  // Nested a few hundred deep, in each direction; then without end, with 160 KiB of stack
  // left, until a request is refused because the stack is nearly spent. Each chain runs on a
  // thread of its own.
  const std::pair<bool, unsigned> rows[] = {{false, 300}, {true, 300}, {false, ~0u}};
  for (const auto& row : rows) {
    const bool write = row.first;
    const unsigned depth = row.second;
    SCOPED_TRACE(std::string(write ? "writes" : "reads") + " to depth " + std::to_string(depth));
    gChain = Chain{};
    gChain.write = write;
    gChain.depth = depth;
    for (unsigned i = 0; i < Chain::kLength; ++i) gChain.bytes += static_cast<char>(i * 37 + 11);
    gChain.got.assign(Chain::kLength, '\0');
    const mlib::String path = dir_.put("chain", write ? "" : gChain.bytes);
    unsigned first = 0;
    std::thread([&] {
      AsyncProbe file;
      file.SetCallBackRead(&Chain::onDone);
      file.SetCallBackWrite(&Chain::onDone);
      if (!file.Open(path, 2)) return;
      if (depth == ~0u) {
        withStackLeft(160 * 1024, [&] { first = Chain::issue(file, 0); });
      } else {
        first = Chain::issue(file, 0);
      }
    }).join();
    EXPECT_EQ(first, 1u);
    const int levels = static_cast<int>(gChain.log.size() / 2);
    std::vector<int> nested;
    for (int k = 0; k < 2 * levels; ++k) nested.push_back(k < levels ? k : ~(2 * levels - 1 - k));
    EXPECT_EQ(gChain.log, nested) << "levels entered 0, 1, ... and left in reverse";
    EXPECT_EQ(gChain.wrong, 0u);
    const std::size_t reached = std::min<std::size_t>(levels, Chain::kLength);
    EXPECT_EQ((write ? dir_.get("chain") : gChain.got).substr(0, reached),
              gChain.bytes.substr(0, reached));
    if (depth == 300) {
      EXPECT_EQ(gChain.refusals, 0u);
      EXPECT_EQ(levels, 300);
    } else {
      EXPECT_EQ(gChain.refusals, 1u);
      EXPECT_EQ(gChain.refusal, platform::kErrorStackOverflow);
      EXPECT_GT(levels, 100) << "levels before the refusal";
    }
  }
}
