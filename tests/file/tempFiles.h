// A fresh folder under the system's temporary folder for one test, removed with everything in
// it afterwards, and plain C++ stream helpers that read and write its files independently of
// the classes under test.
#ifndef MLIB_TESTS_FILE_TEMPFILES_H
#define MLIB_TESTS_FILE_TEMPFILES_H

#include <mlib/string.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

namespace mlib::test {

class TempFolder {
 public:
  // The name mixes a clock reading, a random draw and a counter, and a folder that already
  // exists is never taken: test programs run in parallel (natively and under Wine, which share
  // the temporary folder) must not share a folder by chance.
  TempFolder() {
    static std::atomic<unsigned> counter{0};
    std::random_device random;
    for (;;) {
      const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
      root_ = std::filesystem::temp_directory_path() /
              ("mlib-file-" + std::to_string(stamp) + "-" + std::to_string(random()) + "-" +
               std::to_string(counter++));
      if (std::filesystem::create_directory(root_)) return;
    }
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }
  // Path of `name` inside the folder, plain ASCII (so ANSI and UTF-8 alike).
  std::string path(const char* name) const { return (root_ / name).string(); }
  String text(const char* name) const { return String(path(name).c_str()); }
  std::string root() const { return root_.string(); }

 private:
  std::filesystem::path root_;
};

inline void writeFile(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline bool fileExists(const std::string& path) { return std::filesystem::exists(path); }

}  // namespace mlib::test

#endif  // MLIB_TESTS_FILE_TEMPFILES_H
