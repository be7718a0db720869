// MxFile over the C library's streams and the overlapped MxAsyncFileWin and MxAsyncFile, most
// checks on both: modes, share modes, positions, whole-file reads, copies and completions.
#include <gtest/gtest.h>
#include <mlib/exceptions.h>
#include <mlib/files.h>

#include <string>
#include <thread>
#include <tuple>
#include <type_traits>
#include <vector>

#include "byteContent.h"
#include "file/tempFiles.h"
#include "platform/platform.h"

namespace mlib::test {
namespace {

constexpr unsigned kNoSize = 0xFFFFFFFFu;

using Completion = std::tuple<const void*, unsigned, int>;  // a callback's file, bytes, code
std::vector<Completion> gReads, gWrites;
void onRead(MxAsyncFile& f, unsigned n, MxException& e) { gReads.emplace_back(&f, n, e.GetCode()); }
void onWrite(MxAsyncFile& f, unsigned n, MxException& e) {
  gWrites.emplace_back(&f, n, e.GetCode());
}

// A file class with its state in view. readAt: the bytes one Read delivered, by its result
// for a stream, by its callback's count for an overlapped file ("<refused>": Read returned 0;
// "<undelivered>": it returned 1 but no callback ran).
template <typename File>
class Probe : public File {
 public:
  static constexpr bool kOverlapped = std::is_base_of_v<MxAsyncFileWin, File>;
  using File::handle_, File::mode_, File::path_, File::position_;
  std::string readAt(unsigned count) {
    std::string out(count, '\0');
    const std::size_t before = gReads.size();
    const unsigned got = this->Read(out.data(), count);
    if (!kOverlapped) return out.substr(0, got);
    if (got != 1) return "<refused>";
    if (gReads.size() != before + 1) return "<undelivered>";
    return out.substr(0, std::get<1>(gReads.back()));
  }
};

class AsyncProbe : public Probe<MxAsyncFile> {
 public:
  using MxAsyncFile::fileIOCompletionRoutine, MxAsyncFileWin::readCallback_;
  using MxAsyncFileWin::readContext_, MxAsyncFileWin::writeContext_;
};

// Runs `check` on a stream, then on an overlapped file.
template <typename Check>
void onBoth(const Check& check) {
  Probe<MxFile> stream;
  check(stream);
  AsyncProbe overlapped;
  check(overlapped);
}

class Files : public ::testing::Test {
 protected:
  void SetUp() override { gReads.clear(), gWrites.clear(); }
  TempFolder dir_;
  const String ten_ = dir_.put("ten");
};

TEST_F(Files, ModesOpenCreateTruncateOrRefuseAlike) {
  // By mode: the ten digits after "AB" is written at 0 (the last entry: a stream in mode 4,
  // which appends), or the refusal; modes 3 and 4 make a missing file.
  const char* const afterAB[] = {kDigits, "AB23456789", "AB23456789",
                                 "AB",    "AB23456789", "0123456789AB"};
  for (const int mode : {0, 1, 2, 3, 4, 5, 7, -1}) {
    onBoth([&](auto& file) {
      const bool overlapped = file.kOverlapped, known = mode >= 0 && mode < 5;
      const bool creates = mode == 3 || mode == 4;
      const std::string after = known ? afterAB[mode == 4 && !overlapped ? 5 : mode] : "<refused>";
      const std::string fresh = (overlapped ? "overlapped" : "stream") + std::to_string(mode);
      SCOPED_TRACE(fresh);
      const int kept = overlapped || known ? mode : 0;  // the stream stores only modes it knows
      // A create-or-open of an existing file leaves "already exists" behind on the overlapped
      // file, as the system does; the stream clears it.
      platform::setLastError(overlapped ? 0 : platform::kErrorAlreadyExists);
      ASSERT_EQ(file.Open(dir_.put("ten"), mode), known);
      const bool exists = platform::lastError() == platform::kErrorAlreadyExists;
      EXPECT_TRUE(!known || exists == (overlapped && mode >= 3));
      EXPECT_EQ(std::string(file.path_.toAnsi()), dir_.path("ten")) << "stored, opened or not";
      EXPECT_EQ(file.mode_, kept);
      platform::setLastError(0);  // not "already exists": see OverlappedRecordsAndCompletions
      EXPECT_EQ(file.Write("AB", 2), mode == 0 || !known ? 0u : overlapped ? 1u : 2u);
      const bool reads = known && !(overlapped && mode == 1);  // 1: write only
      Byte whole;
      platform::setLastError(0);
      EXPECT_EQ(file.Read(whole), reads ? static_cast<int>(after.size()) : 0);
      EXPECT_EQ(content(whole), reads ? after : "");
      file.Close();
      EXPECT_TRUE(file.handle_ == nullptr && file.path_.IsEmpty() && file.position_ == 0);
      EXPECT_EQ(dir_.get("ten"), known ? after : kDigits);
      EXPECT_EQ(file.Open(dir_.text(fresh), mode), creates);
      EXPECT_EQ(std::string(file.path_.toAnsi()), dir_.path(fresh));
      EXPECT_EQ(file.mode_, kept) << "kept when the open fails";
      EXPECT_EQ(file.GetLength(), creates || !overlapped ? 0u : kNoSize);
      file.Close();
      EXPECT_EQ(file.mode_, 0);
      EXPECT_EQ(dir_.get(fresh), creates ? "" : "<missing>");
    });
  }
}

TEST_F(Files, ShareModesAdmitWhatEveryHolderAndTheOpenerShare) {
  // Overlapped files share reading only, MxFile streams share everything (as the C runtime's
  // do on Windows); every mode but 0 writes. An opener is refused when a holder's share mode
  // refuses its access or its own refuses the holder's; refused, it truncates nothing.
  for (int pair = 0; pair < 100; ++pair) {
    const int holder = pair / 10, opener = pair % 10;  // overlapped in modes 0-4, streams 5-9
    SCOPED_TRACE(std::to_string(holder) + " holds, " + std::to_string(opener) + " opens");
    MxAsyncFile files[2];
    MxFile streams[2];
    const auto open = [&](int who, int k) {
      return who < 5 ? files[k].Open(ten_, who) : streams[k].Open(ten_, who - 5);
    };
    dir_.put("ten");
    ASSERT_TRUE(open(holder, 0));
    const bool admitted = !(holder < 5 && opener % 5 != 0) && !(opener < 5 && holder % 5 != 0);
    platform::setLastError(0);
    EXPECT_EQ(open(opener, 1), admitted);
    EXPECT_TRUE(admitted || platform::lastError() == platform::kErrorSharingViolation);
    const bool truncated = holder % 5 == 3 || (admitted && opener % 5 == 3);
    EXPECT_EQ(dir_.get("ten"), truncated ? "" : kDigits);
  }
  MxFile writers[2];  // every holder counts until it has closed, and only for its file
  MxAsyncFile reader;
  ASSERT_TRUE(writers[0].Open(ten_, 2) && writers[1].Open(ten_, 1));
  ASSERT_TRUE(reader.Open(dir_.put("other"), 2));
  writers[0].Close();
  EXPECT_FALSE(reader.Open(ten_, 0));
  writers[1].Close();
  EXPECT_TRUE(reader.Open(ten_, 0));
}

TEST_F(Files, ReadsAndWritesHappenAtThePositionWithoutMovingIt) {
  onBoth([&](auto& file) {
    const bool overlapped = file.kOverlapped;
    SCOPED_TRACE(overlapped ? "overlapped" : "stream");
    // The overlapped file's read callback, set before Open, stays.
    if constexpr (std::decay_t<decltype(file)>::kOverlapped) file.SetCallBackRead(onRead);
    const unsigned two = overlapped ? 1u : 2u;  // the overlapped file's Write answers 1
    char buffer[4];
    EXPECT_FALSE(file.Seek(0) || file.Flush() || file.Write("x", 1) || file.Read(buffer, 1));
    file.SeekToEnd();
    EXPECT_EQ(file.position_, overlapped ? kNoSize : 0u) << "the size of a closed file";
    ASSERT_TRUE(file.Open(dir_.put("ten"), 2));
    EXPECT_EQ(file.position_, overlapped ? kNoSize : 0u) << "the overlapped Open keeps it";
    // An empty path refuses a stream at once, leaving the open one open.
    EXPECT_TRUE(overlapped || !(file.Open(String(), 0) || file.Open(String(""), 0)));
    file.SeekToBegin();
    Byte out("stale");
    EXPECT_EQ(file.Read(out), 10);
    EXPECT_EQ(content(out) + storage(out), "01234567890123456789") << "and no terminator slot";
    EXPECT_EQ(file.readAt(4) + file.readAt(4), "01230123") << "Read moved the position";
    EXPECT_TRUE(!overlapped || gReads.back() == Completion(&file, 4, 0));
    ASSERT_TRUE(file.Seek(4));
    EXPECT_EQ(file.readAt(4), "4567");
    EXPECT_EQ(file.GetLength(), 10u);
    EXPECT_EQ(file.readAt(2), "45") << "GetLength moved the position";
    EXPECT_EQ(file.Write("xy", 2), two) << "no write callback set";
    EXPECT_EQ(file.readAt(3), "xy6");
    EXPECT_EQ(file.Read(out), 6) << "the whole file from the position, the real count";
    EXPECT_EQ(content(out), "xy6789");
    const std::size_t reads = gReads.size();
    EXPECT_EQ(file.Read(nullptr, 4) + file.Write(nullptr, 4) + file.Write(Byte()), 0u);
    EXPECT_EQ(file.Read(buffer, 0) + file.Write("x", 0) + gReads.size() - reads, 0u);
    EXPECT_TRUE(file.Seek(10)) << "the end itself";
    EXPECT_EQ(file.Seek(11), !overlapped) << "the stream accepts offsets past the end";
    // At the end nothing is read: an overlapped request is refused, or completes (with or
    // without an end-of-file code, as the system reports it) with 0 bytes.
    const std::string atEnd = file.readAt(4);
    EXPECT_TRUE(atEnd.empty() || (overlapped && atEnd == "<refused>")) << atEnd;
    file.SeekToEnd();
    EXPECT_EQ(file.position_, 10u);
    platform::setLastError(0);  // on Windows the read at the end leaves a code refusing writes
    EXPECT_EQ(file.Write(Byte("AB")), two);
    {
      const std::decay_t<decltype(file)> copy(file);
      std::decay_t<decltype(file)> assigned;
      assigned = file;
      EXPECT_TRUE(copy.handle_ == nullptr && copy.path_.IsEmpty()) << "copies start closed";
      EXPECT_TRUE(assigned.handle_ == nullptr && assigned.position_ == 0) << "and assignment";
    }
    ASSERT_TRUE(file.Seek(3)) << "a copy's destruction closed the file";
    EXPECT_TRUE(file.Flush());
    ASSERT_TRUE(file.Open(ten_, 4) && file.Seek(3));
    platform::setLastError(0);  // mode 4's "already exists" would refuse it on Windows
    EXPECT_EQ(file.Write("C", 1), 1u);
    file.Close();
    EXPECT_EQ(file.position_, 0u) << "Close resets the position";
    EXPECT_EQ(dir_.get("ten"), overlapped ? "012Cxy6789AB" : "0123xy6789ABC")
        << "a stream in mode 4 appends whatever the position";
    ASSERT_TRUE(file.Open(dir_.put("empty", ""), 0));
    EXPECT_EQ(file.Read(out), 0);
    EXPECT_EQ(out.GetData(), nullptr);
    file.Close();
    EXPECT_EQ(file.GetLength(), overlapped ? kNoSize : 0u);
  });
}

TEST_F(Files, OverlappedRecordsAndCompletions) {
  AsyncProbe file;
  Byte out;
  EXPECT_EQ(file.Read(out), 0) << "closed";
  // The routine reports a pending record once, ignores idle ones and leaves the last error.
  file.SetCallBackRead(onRead);
  file.SetCallBackWrite(onWrite);
  AsyncProbe::fileIOCompletionRoutine(0, 5, nullptr);
  AsyncProbe::fileIOCompletionRoutine(0, 5, &file.readContext_.overlapped);  // idle
  file.writeContext_.event = MxAsyncFileWin::IoWrite;
  platform::setLastError(0);
  AsyncProbe::fileIOCompletionRoutine(112, 7, &file.writeContext_.overlapped);
  AsyncProbe::fileIOCompletionRoutine(112, 7, &file.writeContext_.overlapped);
  EXPECT_TRUE(gReads.empty()) << "an idle record";
  EXPECT_EQ(gWrites, std::vector<Completion>({{&file, 7, 112}})) << "reported once";
  EXPECT_EQ(file.writeContext_.event, MxAsyncFileWin::IoNone);
  EXPECT_EQ(platform::lastError(), 0) << "the completion's code leaked out";
  gWrites.clear();
  ASSERT_TRUE(file.Open(ten_, 2) && file.Seek(4) && file.Write("XYZ", 3) == 1);
  EXPECT_EQ(file.readAt(10), "XYZ789") << "a short read at the end, from the position";
  EXPECT_EQ(gWrites, std::vector<Completion>({{&file, 3, 0}}));
  ASSERT_TRUE(file.Open(dir_.put("big", std::string(300000, 'q') + "end"), 0) && file.Seek(3));
  EXPECT_EQ(file.readAt(2), "qq") << "the callback and the position survive a reopen";
  EXPECT_FALSE(file.Flush()) << "flushing needs write access";
  ASSERT_TRUE(file.Open(dir_.text("big"), 2)) << "the old handle still holds the file";
  file.SeekToBegin();
  ASSERT_EQ(file.Read(out), 300003);
  EXPECT_EQ(content(out).substr(299999), "qend");
  ASSERT_TRUE(file.Open(ten_, 0) && file.Seek(5));
  MxAsyncFileWin& base = file;
  {
    MxAsyncFileWin copy(base);
    EXPECT_EQ(file.readContext_.owner, &base);
    gReads.clear();
    char buffer[3];
    EXPECT_EQ(copy.Read(buffer, 3), 1u);
    EXPECT_EQ(std::string(buffer, 3), "YZ7") << "a second handle at the same position";
    EXPECT_EQ(gReads, std::vector<Completion>({{&copy, 3, 0}})) << "a plain MxAsyncFileWin";
    file.Close();
    EXPECT_EQ(copy.GetLength(), 10u) << "closing the source closed the copy's handle";
  }
  EXPECT_TRUE(file.readCallback_ == nullptr && file.path_.IsEmpty()) << "Close drops them";
  ASSERT_TRUE(file.Open(ten_, 2)) << "the copy's handle outlived the copy";
  EXPECT_EQ(file.readAt(2), "<undelivered>");
  ASSERT_TRUE(file.Open(ten_, 1));
  char four[4];
  EXPECT_EQ(file.Read(four, 4), 0u) << "write access only";
  EXPECT_EQ(file.readContext_.event, MxAsyncFileWin::IoNone);
  // The next handle (like as not at the old one's address) has its own access.
  const String longName = dir_.put(std::string(40, 'n'));
  platform::setLastError(0);  // the refused read's code would refuse the next request on Windows
  ASSERT_TRUE(file.Open(longName, 0) && file.Read(four, 1) == 1);
  ASSERT_TRUE(file.Open(longName, 2) && file.Write("q", 1) == 1);
  file.Close();  // would wait forever for a refused request left marked pending
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
    ASSERT_TRUE(file.Open(dir_.put("ten"), mode));
    file.SetCallBackWrite(onWrite);
    file.SetCallBackRead(onRead);
    ASSERT_EQ(platform::lastError(), platform::kErrorAlreadyExists);
    char byte = 0;
    EXPECT_EQ(file.Write("w", 1) + file.Read(&byte, 1), 2 * kAfterStaleError);
    EXPECT_EQ(gWrites.size() + gReads.size(), 2 * kAfterStaleError);
    file.Close();
    EXPECT_EQ(gWrites, std::vector<Completion>({{&file, 1, 0}})) << "delivered once, by Close";
    EXPECT_EQ(gReads, std::vector<Completion>({{&file, 1, 0}}));
    EXPECT_EQ(byte, 'w');
  }
}

// A chain of requests: the callback of level k issues level k + 1, a read (or a write) of one
// byte at position k + 1 (mod 300), until a request is refused. No level is left before the
// deepest is entered, and a request returns only once every deeper level has been left.
struct Chain {
  bool write;
  int entered, left, wrong, refusal;
} gChain;
char gByte = 'b';

unsigned issue(MxAsyncFile& file, unsigned level) {
  if (!file.Seek(level % 300)) return 0;
  return gChain.write ? file.Write(&gByte, 1) : file.Read(&gByte, 1);
}

void onChained(MxAsyncFile& file, unsigned bytes, MxException& error) {
  const int level = gChain.entered++;
  if (gChain.left != 0 || bytes != 1 || error.GetCode() != 0) {
    ++gChain.wrong;
  } else if (issue(file, level + 1) != 1) {
    gChain.refusal = platform::lastError();
  } else if (gChain.left != gChain.entered - level - 1) {
    ++gChain.wrong;  // the inner request returned before its callback ran
  }
  ++gChain.left;
}

// Runs `body` with about `room` bytes of the thread's stack still free: a chain through a
// whole stack would be deeper than ThreadSanitizer can record.
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

TEST_F(Files, OverlappedRequestsFromCallbacksNestAndReturnAfterTheirOwnCallback) {
  // Reads, then writes, each chain on a thread of its own with 320 KiB of stack left, until a
  // request is refused because the stack is nearly spent (the sanitizer builds' frames are
  // about three times the size of a release build's).
  for (const bool write : {false, true}) {
    SCOPED_TRACE(write ? "writes" : "reads");
    gChain = {write, 0, 0, 0, -1};
    const String path = dir_.put("chain", std::string(300, 'b'));
    unsigned first = 0;
    std::thread([&] {
      AsyncProbe file;
      file.SetCallBackRead(&onChained);
      file.SetCallBackWrite(&onChained);
      if (file.Open(path, 2)) withStackLeft(320 * 1024, [&] { first = issue(file, 0); });
    }).join();
    EXPECT_EQ(first, 1u);
    EXPECT_EQ(gChain.wrong, 0);
    EXPECT_EQ(gChain.left, gChain.entered);
    EXPECT_EQ(gChain.refusal, platform::kErrorStackOverflow);
    EXPECT_GT(gChain.entered, 100);
  }
}

}  // namespace
}  // namespace mlib::test
