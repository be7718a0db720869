// The process queries of <mlib/text.h>: the executable's folder and the memory in use.
#include <gtest/gtest.h>
#include <mlib/text.h>

#include <filesystem>
#include <fstream>
#include <string>

using mlib::WideChar;
using WideString = std::basic_string<WideChar>;

TEST(ProcessQueries, CurrentPathIsTheFolderOfThisProgram) {
  WideChar folder[1024];
  ASSERT_EQ(GetCurrentPath(folder, 1024), folder);
  const WideString text(folder);
  ASSERT_GT(text.size(), 1u);
  char utf8[4096];
  const std::filesystem::path dir = std::filesystem::u8path(WideToUtf8(utf8, folder, 4096));
  EXPECT_TRUE(text.back() == '/' || text.back() == '\\') << utf8;
  EXPECT_TRUE(std::filesystem::exists(dir / "mlib_text_tests") ||
              std::filesystem::exists(dir / "mlib_text_tests.exe"))
      << utf8;

  // A short room cuts the path first, then after its last separator.
  for (int capacity : {2, 4, 9, static_cast<int>(text.size()) + 1}) {
    WideString want = text.substr(0, static_cast<std::size_t>(capacity) - 1);
    const std::size_t cut = want.find_last_of(text.back());
    if (cut != WideString::npos) want.resize(cut + 1);  // without a separator it stays whole
    WideString dst(static_cast<std::size_t>(capacity) + 1, '~');
    ASSERT_EQ(GetCurrentPath(&dst[0], capacity), &dst[0]);
    EXPECT_EQ(dst,
              want + WideString(static_cast<std::size_t>(capacity) - want.size(), 0) + MLIB_T("~"))
        << "capacity " << capacity;
  }
  EXPECT_EQ(GetCurrentPath(nullptr, 16), nullptr);
  folder[0] = '~';
  EXPECT_EQ(GetCurrentPath(folder, 0), folder);  // nothing to fill: the destination back
  EXPECT_EQ(folder[0], '~');
}

TEST(ProcessQueries, MemoryInUseIsWithinThePhysicalMemory) {
  // The kernel's own report, where readable, bounds the answer from above.
  std::ifstream meminfo("/proc/meminfo");
  std::string key;
  double totalKiB = 1e12;
  while (meminfo >> key && key != "MemTotal:") {
  }
  meminfo >> totalKiB;
  EXPECT_GT(GetMemory(), 0.0f);
  EXPECT_LE(GetMemory(), totalKiB / 1024.0);
}
