// The platform layer under the overlapped files, where the classes cannot show it: routines
// run only in alertable waits, and bad handles, records and paths are refused.
#include "platform/file.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <mlib/files.h>

#include "file/tempFiles.h"

namespace platform = mlib::platform;

namespace {

unsigned gDeliveries = 0;
void count(unsigned long, unsigned long, mlib::IoOverlapped*) { ++gDeliveries; }

platform::FileHandle openRead(const std::string& path) {
  const std::vector<mlib::WideChar> wide(path.begin(), path.end() + 1);  // ASCII paths
  return platform::openOverlappedFile(wide.data(), platform::kGenericRead,
                                      platform::kOpenExisting);
}

}  // namespace

TEST(PlatformFile, RoutinesRunOnlyInAlertableWaitsAndBadInputIsRefused) {
  mlib::test::TempFolder dir;
  mlib::test::writeFile(dir.path("a"), "0123456789");
  platform::FileHandle file = openRead(dir.path("a"));
  ASSERT_NE(file, nullptr);
  char buffer[4];
  mlib::IoOverlapped request{};
  ASSERT_TRUE(platform::readFileEx(file, buffer, 4, &request, &count));
  EXPECT_EQ(gDeliveries, 0u) << "ran before any alertable wait";
  platform::runQueuedCompletions();
  EXPECT_EQ(gDeliveries, 1u);
  platform::runQueuedCompletions();
  EXPECT_EQ(gDeliveries, 1u) << "ran twice";

  EXPECT_FALSE(platform::readFileEx(file, buffer, 4, nullptr, &count));
  EXPECT_FALSE(platform::readFileEx(file, buffer, 4, &request, nullptr));
  EXPECT_FALSE(platform::writeFileEx(file, "x", 1, &request, &count)) << "read access only";
  EXPECT_TRUE(platform::closeFile(file));
  EXPECT_FALSE(platform::readFileEx(file, buffer, 4, &request, &count)) << "a closed handle";
  EXPECT_EQ(platform::waitForFileAlertable(nullptr), platform::WaitResult::Failed);
  EXPECT_EQ(platform::duplicateFile(nullptr), nullptr);
  EXPECT_EQ(openRead(dir.root()), nullptr) << "a folder";
  EXPECT_EQ(gDeliveries, 1u);
}
