// The overlapped file, end to end as a host uses it: open a file it wrote in mode 0, set the
// read callback, read, and print the MxException the callback receives; then write through
// the same class and read the whole file back.
#include <mlib/mlib.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "demo.h"

namespace {

void onRead(mlib::MxAsyncFile& file, unsigned bytes, mlib::MxException& error) {
  std::printf("read callback: %u bytes of a %u-byte file, outcome:\n", bytes, file.GetLength());
  std::printf("%s\n", demoUtf8(error.PrintToString()).c_str());
}

void onWrite(mlib::MxAsyncFile& /*file*/, unsigned bytes, mlib::MxException& error) {
  std::printf("write callback: %u bytes, code %d\n", bytes, error.GetCode());
}

}  // namespace

void demoFile() {
  std::printf("\n-- MxAsyncFile: an overlapped read delivered to a callback --\n");
  const std::string path = (std::filesystem::temp_directory_path() / "mlib-demo-file.txt").string();
  std::ofstream(path, std::ios::binary) << "Hello from an overlapped read.";

  {
    mlib::MxAsyncFile file;
    if (!file.Open(mlib::String(path.c_str()), 0)) {
      std::printf("could not open %s\n", path.c_str());
      return;
    }
    file.SetCallBackRead(&onRead);
    char buffer[64] = {};
    const unsigned result = file.Read(buffer, 10);
    std::printf("Read returned %u; the buffer holds \"%s\"\n", result, buffer);
    file.Close();  // drops the callbacks
  }

  {
    mlib::MxAsyncFile file;
    file.SetCallBackWrite(&onWrite);
    if (file.Open(mlib::String(path.c_str()), 2)) {
      file.SeekToEnd();
      file.Write(" And a write.", 13);
      mlib::Byte whole;
      file.SeekToBegin();
      const int count = file.Read(whole);
      std::printf("whole file, %d bytes: \"%.*s\"\n", count, whole.GetLength(),
                  reinterpret_cast<const char*>(whole.GetData()));
    }
  }
  std::filesystem::remove(path);
}
