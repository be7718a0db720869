// A fresh temporary folder for one test, removed with its files afterwards; they are written
// and read with plain C++ streams, not the classes under test.
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

class TempFolder {
 public:
  // A random draw and a counter, and never a folder that exists: programs run in parallel
  // (natively and under Wine, which share the temporary folder) must not meet.
  TempFolder() {
    static std::atomic<unsigned> counter{0};
    std::random_device random;
    do {
      root_ = std::filesystem::temp_directory_path() /
              ("mlib-file-" + std::to_string(random()) + "-" + std::to_string(counter++));
    } while (!std::filesystem::create_directory(root_));
  }
  ~TempFolder() { std::filesystem::remove_all(root_, ignored_); }
  // Paths inside the folder are plain ASCII (so ANSI and UTF-8 alike).
  std::string path(const std::string& name) const { return (root_ / name).string(); }
  String text(const std::string& name) const { return String(path(name).c_str()); }
  // Makes `name` hold `bytes`; returns its path.
  String put(const std::string& name, const std::string& bytes = kDigits) const {
    std::ofstream(path(name), std::ios::binary | std::ios::trunc) << bytes;
    return text(name);
  }
  // What `name` holds; "<missing>" when there is no such file.
  std::string get(const std::string& name) const {
    std::ifstream in(path(name), std::ios::binary);
    return in ? std::string(std::istreambuf_iterator<char>(in), {}) : "<missing>";
  }

 private:
  std::filesystem::path root_;
  std::error_code ignored_;
};

}  // namespace mlib::test

#endif  // MLIB_TESTS_FILE_TEMPFILES_H
