// The process queries of <mlib/text.h>: the executable's folder and the memory in use.
#include <mlib/text.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

using mlib::WideChar;
using WideString = std::basic_string<WideChar>;

namespace {

std::string toUtf8(const WideChar* text) {
  char utf8[4096];
  return WideToUtf8(utf8, text, sizeof(utf8)) == nullptr ? std::string() : std::string(utf8);
}

}  // namespace

TEST(ProcessQueries, CurrentPathIsTheFolderOfThisProgram) {
  WideChar folder[1024];
  ASSERT_EQ(GetCurrentPath(folder, 1024), folder);
  const WideString text(folder);
  ASSERT_GT(text.size(), 1u);
  const WideChar last = text.back();
  EXPECT_TRUE(last == '/' || last == '\\') << toUtf8(folder);
  const std::filesystem::path dir = std::filesystem::u8path(toUtf8(folder));
  EXPECT_TRUE(std::filesystem::exists(dir / "mlib_text_tests") ||
              std::filesystem::exists(dir / "mlib_text_tests.exe"))
      << toUtf8(folder);

  // A short room cuts the path first, then after its last separator.
  for (int capacity : {2, 4, 5, 9, static_cast<int>(text.size()) + 1}) {
    SCOPED_TRACE(capacity);
    WideString want = text.substr(0, static_cast<std::size_t>(capacity) - 1);
    const std::size_t cut = want.find_last_of(std::basic_string<WideChar>{last});
    if (cut != WideString::npos) want.resize(cut + 1);
    WideString dst(static_cast<std::size_t>(capacity) + 1, 0x7E7E);
    ASSERT_EQ(GetCurrentPath(&dst[0], capacity), &dst[0]);
    EXPECT_EQ(WideString(dst.c_str()), want);
    EXPECT_EQ(dst[static_cast<std::size_t>(capacity)], 0x7E7E);
  }
  EXPECT_EQ(GetCurrentPath(nullptr, 16), nullptr);
  EXPECT_EQ(GetCurrentPath(folder, 0), nullptr);
}

TEST(ProcessQueries, MemoryInUseIsWithinThePhysicalMemory) {
  const float used = GetMemory();
  EXPECT_GT(used, 0.0f);
  // Where the kernel's own report is readable, the answer cannot exceed the total.
  std::ifstream meminfo("/proc/meminfo");
  std::string key;
  double totalKiB = 0;
  while (meminfo >> key) {
    if (key == "MemTotal:") {
      meminfo >> totalKiB;
      break;
    }
  }
  if (totalKiB > 0) {
    EXPECT_LE(used, totalKiB / 1024.0);
  }
}
