// A fresh temporary folder for one test, removed with its files afterwards; the files are
// written and read with plain C++ streams, not the classes under test.
#ifndef MLIB_TESTS_FILE_TEMPFILES_H
#define MLIB_TESTS_FILE_TEMPFILES_H

#include <mlib/string.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

namespace mlib::test {

constexpr const char kDigits[] = "0123456789";

// Named by a random draw and a counter, never an existing folder: programs running in parallel
// (natively and under Wine, which share the temporary folder) must not meet.
class TempFolder {
 public:
  TempFolder() {
    static std::atomic<unsigned> counter{0};
    std::random_device random;
    do {
      root_ = std::filesystem::temp_directory_path() /
              ("mlib-file-" + std::to_string(random()) + "-" + std::to_string(counter++));
    } while (!std::filesystem::create_directory(root_));
  }
  ~TempFolder() { std::filesystem::remove_all(root_, ignored_); }
  // Paths inside are plain ASCII (ANSI and UTF-8 alike); put returns one.
  std::string path(const std::string& name) const { return (root_ / name).string(); }
  String text(const std::string& name) const { return String(path(name).c_str()); }
  String put(const std::string& name, const std::string& bytes = kDigits) const {
    std::ofstream(path(name), std::ios::binary | std::ios::trunc) << bytes;
    return text(name);
  }
  std::string get(const std::string& name) const {
    std::ifstream in(path(name), std::ios::binary);
    return in ? std::string(std::istreambuf_iterator<char>(in), {}) : "<missing>";  // no file
  }

 private:
  std::filesystem::path root_;
  std::error_code ignored_;
};

}  // namespace mlib::test

#endif  // MLIB_TESTS_FILE_TEMPFILES_H
