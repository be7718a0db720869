// MxFile over the C library's streams: opening and the five modes, the positional rule, the
// whole-file read and write, closing and copying. File contents are checked with std streams.
#include <gtest/gtest.h>
#include <mlib/files.h>

#include <string>

#include "byteContent.h"
#include "file/tempFiles.h"
#include "platform/platform.h"

using mlib::Byte;
using mlib::test::content;
using mlib::test::kDigits;

namespace {

// MxFile with its state in view.
class FileProbe : public mlib::MxFile {
 public:
  using MxFile::handle_;
  using MxFile::mode_;
  using MxFile::path_;
  using MxFile::position_;
  std::string readAt(unsigned count) {
    std::string out(count, '\0');
    return out.substr(0, Read(out.data(), count));
  }
};

}  // namespace

TEST(MxFile, OpenInEachModeOrRefusedAsDocumented) {
  struct Row {
    const char* name;
    int mode;
    const char* afterWrite;  // of "0123456789" after "AB" written at 0; null: refused
  };
  const Row rows[] = {{"old", 0, kDigits}, {"old", 1, "AB23456789"},   {"old", 2, "AB23456789"},
                      {"old", 3, "AB"},    {"old", 4, "0123456789AB"}, {"new", 3, "AB"},
                      {"new", 4, "AB"},    {"new", 0, nullptr},        {"new", 1, nullptr},
                      {"old", 5, nullptr}, {"old", -1, nullptr}};
  for (const Row& r : rows) {
    SCOPED_TRACE(std::string(r.name) + " in mode " + std::to_string(r.mode));
    mlib::test::TempFolder dir;
    FileProbe file;
    ASSERT_TRUE(file.Open(dir.put("open"), 0));
    EXPECT_FALSE(file.Open(mlib::String(), 0) || file.Open(mlib::String(""), 0));
    EXPECT_EQ(file.readAt(3), "012") << "an empty path closed the open file";
    dir.put("old");
    // Opening an existing file for create-or-open must not leave "already exists" behind.
    mlib::platform::setLastError(mlib::platform::kErrorAlreadyExists);
    ASSERT_EQ(file.Open(dir.text(r.name), r.mode), r.afterWrite != nullptr);
    EXPECT_TRUE(!r.afterWrite ||
                mlib::platform::lastError() != mlib::platform::kErrorAlreadyExists);
    EXPECT_EQ(std::string(file.path_.toAnsi()), dir.path(r.name));
    EXPECT_EQ(file.Write("AB", 2), r.mode == 0 || !r.afterWrite ? 0u : 2u);
    EXPECT_EQ(file.mode_, r.mode == 5 || r.mode < 0 ? 0 : r.mode) << "kept when the open fails";
    file.Close();
    EXPECT_TRUE(file.handle_ == nullptr && file.path_.IsEmpty() && file.position_ == 0);
    const char* const untouched = r.name[0] == 'o' ? kDigits : "<missing>";
    EXPECT_EQ(dir.get(r.name), r.afterWrite ? r.afterWrite : untouched);
  }
}

TEST(MxFile, ReadsAndWritesNeverMoveThePosition) {
  mlib::test::TempFolder dir;
  FileProbe file;
  Byte out("stale");
  ASSERT_TRUE(file.Open(dir.put("a"), 2));
  EXPECT_EQ(file.Read(out), 10);
  EXPECT_EQ(content(out), kDigits);
  EXPECT_EQ(out.GetBufferLength(), 10) << "exactly the file's length, no terminator slot";
  EXPECT_EQ(file.readAt(4), "0123");
  ASSERT_TRUE(file.Seek(4));
  EXPECT_EQ(file.readAt(4), "4567");
  EXPECT_EQ(file.GetLength(), 10u);
  EXPECT_EQ(file.readAt(2), "45") << "GetLength moved the position";
  EXPECT_EQ(file.Write("xy", 2), 2u);
  EXPECT_EQ(file.readAt(3), "xy6");
  EXPECT_EQ(file.Read(out), 6) << "from the position";
  EXPECT_EQ(content(out), "xy6789");
  EXPECT_EQ(file.Read(nullptr, 4) + file.Write(nullptr, 4) + file.Write(Byte()), 0u);
  EXPECT_TRUE(file.Seek(50)) << "the stream accepts offsets past the end";
  EXPECT_EQ(file.readAt(4), "");
  file.SeekToEnd();
  EXPECT_EQ(file.position_, 10u);
  EXPECT_EQ(file.Write(Byte("AB")), 2u);
  {
    const FileProbe copy(file);
    FileProbe assigned;
    assigned = file;
    EXPECT_TRUE(copy.handle_ == nullptr && copy.path_.IsEmpty() && assigned.handle_ == nullptr);
  }
  ASSERT_TRUE(file.Seek(3)) << "a copy's destruction closed the stream";
  ASSERT_TRUE(file.Open(dir.text("a"), 4) && file.Seek(3));
  EXPECT_EQ(file.Write("C", 1), 1u) << "mode 4 appends whatever the position";
  ASSERT_TRUE(file.Open(dir.put("empty", ""), 0));
  EXPECT_EQ(file.Read(out), 0);
  EXPECT_EQ(out.GetData(), nullptr);
  file.Close();
  EXPECT_FALSE(file.Flush() || file.Seek(0));
  EXPECT_EQ(file.GetLength(), 0u);
  EXPECT_EQ(dir.get("a"), "0123xy6789ABC");
}
