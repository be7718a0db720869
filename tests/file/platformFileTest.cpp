// The platform layer under the overlapped files: completions run only in alertable waits,
// transfers at the record's offset, refusals of bad handles and records, folders and
// duplicated handles. Checked on both backends against std streams.
#include "platform/file.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <mlib/files.h>

#include "file/tempFiles.h"
#include "platform/platform.h"

namespace platform = mlib::platform;
using mlib::IoOverlapped;
using mlib::test::readFile;
using mlib::test::TempFolder;
using mlib::test::writeFile;

namespace {

struct Delivery {
  unsigned long code;
  unsigned long bytes;
  IoOverlapped* record;
};
std::vector<Delivery> gDeliveries;

void record(unsigned long code, unsigned long bytes, IoOverlapped* overlapped) {
  gDeliveries.push_back({code, bytes, overlapped});
}

std::vector<mlib::WideChar> widePath(const std::string& path) {
  return std::vector<mlib::WideChar>(path.begin(), path.end() + 1);  // ASCII paths only
}

platform::FileHandle open(const std::string& path, unsigned access, unsigned creation) {
  return platform::openOverlappedFile(widePath(path).data(), access, creation);
}

}  // namespace

TEST(PlatformFile, CompletionsRunOnlyInAlertableWaits) {
  TempFolder dir;
  writeFile(dir.path("a"), "0123456789");
  gDeliveries.clear();
  platform::FileHandle file = open(dir.path("a"), platform::kGenericRead, platform::kOpenExisting);
  ASSERT_NE(file, nullptr);
  char buffer[16] = {};
  IoOverlapped request{};
  request.offset = 6;
  ASSERT_TRUE(platform::readFileEx(file, buffer, 16, &request, &record));
  EXPECT_TRUE(gDeliveries.empty()) << "ran before any alertable wait";
  platform::runQueuedCompletions();
  ASSERT_EQ(gDeliveries.size(), 1u);
  EXPECT_EQ(gDeliveries[0].code, 0u);
  EXPECT_EQ(gDeliveries[0].bytes, 4u) << "a short read at the end";
  EXPECT_EQ(gDeliveries[0].record, &request);
  EXPECT_EQ(std::string(buffer), "6789");
  unsigned transferred = 0;
  EXPECT_TRUE(platform::overlappedResult(file, &request, &transferred, false));
  EXPECT_EQ(transferred, 4u);
  platform::runQueuedCompletions();
  EXPECT_EQ(gDeliveries.size(), 1u) << "delivered twice";
  EXPECT_EQ(platform::fileSize(file), 10u);
  EXPECT_TRUE(platform::closeFile(file));
}

TEST(PlatformFile, WritesLandAtTheRecordsOffset) {
  TempFolder dir;
  writeFile(dir.path("a"), "0123456789");
  gDeliveries.clear();
  platform::FileHandle file = open(dir.path("a"), platform::kGenericRead | platform::kGenericWrite,
                                   platform::kOpenExisting);
  ASSERT_NE(file, nullptr);
  IoOverlapped request{};
  request.offset = 8;
  ASSERT_TRUE(platform::writeFileEx(file, "WXYZ", 4, &request, &record));
  EXPECT_TRUE(platform::sleepAlertable());
  ASSERT_EQ(gDeliveries.size(), 1u);
  EXPECT_EQ(gDeliveries[0].bytes, 4u);
  EXPECT_EQ(platform::fileSize(file), 12u);
  EXPECT_TRUE(platform::flushFile(file));
  EXPECT_TRUE(platform::closeFile(file));
  EXPECT_EQ(readFile(dir.path("a")), "01234567WXYZ");
}

TEST(PlatformFile, BadHandlesRecordsAndPathsAreRefused) {
  TempFolder dir;
  writeFile(dir.path("a"), "0123");
  char buffer[4];
  IoOverlapped request{};
  unsigned transferred = 0;
  EXPECT_FALSE(platform::readFileEx(nullptr, buffer, 4, &request, &record));
  EXPECT_FALSE(platform::writeFileEx(nullptr, buffer, 4, &request, &record));
  EXPECT_EQ(platform::fileSize(nullptr), platform::kInvalidFileSize);
  EXPECT_FALSE(platform::overlappedResult(nullptr, &request, &transferred, false));
  EXPECT_EQ(platform::waitForFileAlertable(nullptr), platform::WaitResult::Failed);
  EXPECT_FALSE(platform::flushFile(nullptr));
  EXPECT_FALSE(platform::closeFile(nullptr));
  EXPECT_EQ(platform::duplicateFile(nullptr), nullptr);

  EXPECT_EQ(platform::openOverlappedFile(nullptr, platform::kGenericRead,
                                         platform::kOpenExisting), nullptr);
  EXPECT_EQ(open(dir.root(), platform::kGenericRead, platform::kOpenExisting), nullptr)
      << "a folder";
  EXPECT_EQ(open(dir.path("a"), platform::kGenericRead, 0), nullptr) << "no creation";

  platform::FileHandle file = open(dir.path("a"), platform::kGenericRead, platform::kOpenExisting);
  ASSERT_NE(file, nullptr);
  EXPECT_FALSE(platform::readFileEx(file, buffer, 4, nullptr, &record));
  EXPECT_FALSE(platform::readFileEx(file, buffer, 4, &request, nullptr));
  EXPECT_FALSE(platform::writeFileEx(file, "x", 1, &request, &record)) << "read access only";
  EXPECT_FALSE(platform::flushFile(file)) << "read access only";
  EXPECT_TRUE(platform::closeFile(file));
}

TEST(PlatformFile, DuplicatedHandlesOutliveTheOriginal) {
  TempFolder dir;
  writeFile(dir.path("a"), "0123456789");
  gDeliveries.clear();
  platform::FileHandle file = open(dir.path("a"), platform::kGenericRead, platform::kOpenExisting);
  ASSERT_NE(file, nullptr);
  platform::FileHandle copy = platform::duplicateFile(file);
  ASSERT_NE(copy, nullptr);
  ASSERT_NE(copy, file);
  EXPECT_TRUE(platform::closeFile(file));
  char buffer[3] = {};
  IoOverlapped request{};
  request.offset = 2;
  ASSERT_TRUE(platform::readFileEx(copy, buffer, 3, &request, &record));
  EXPECT_NE(platform::waitForFileAlertable(copy), platform::WaitResult::Failed);
  platform::runQueuedCompletions();
  ASSERT_EQ(gDeliveries.size(), 1u);
  EXPECT_EQ(std::string(buffer, 3), "234");
  EXPECT_TRUE(platform::closeFile(copy));
}
