// MxFile over the C library's streams: opening and the five modes, the positional rule, the
// whole-file read and write, closing and copying. File contents are checked with std streams.
#include <gtest/gtest.h>
#include <mlib/files.h>

#include <string>

#include "byteContent.h"
#include "file/tempFiles.h"
#include "platform/platform.h"

using mlib::Byte;
using mlib::MxFile;
using mlib::String;
using mlib::test::readFile;
using mlib::test::TempFolder;
using mlib::test::writeFile;

using mlib::test::content;

namespace {

// MxFile with its state in view.
class FileProbe : public MxFile {
 public:
  using MxFile::handle_;
  using MxFile::mode_;
  using MxFile::path_;
  using MxFile::position_;
};

std::string readAt(MxFile& file, unsigned count) {
  std::string out(count, '\0');
  out.resize(file.Read(out.data(), count));
  return out;
}

constexpr const char kDigits[] = "0123456789";

}  // namespace

TEST(MxFile, RefusedOpensKeepOrCloseTheFileAsDocumented) {
  TempFolder dir;
  writeFile(dir.path("a"), kDigits);
  FileProbe file;
  ASSERT_TRUE(file.Open(dir.text("a"), 0));
  EXPECT_FALSE(file.Open(String(), 0));
  EXPECT_FALSE(file.Open(String(""), 0));
  EXPECT_EQ(readAt(file, 3), "012") << "an empty path closed the open file";

  struct Row {
    const char* name;
    int mode;
  };
  for (const Row& r : {Row{"missing", 0}, Row{"a", 5}, Row{"a", -1}}) {
    SCOPED_TRACE(std::string(r.name) + " in mode " + std::to_string(r.mode));
    ASSERT_TRUE(file.Open(dir.text("a"), 2));
    EXPECT_FALSE(file.Open(dir.text(r.name), r.mode));
    EXPECT_EQ(file.handle_, nullptr);
    EXPECT_EQ(file.mode_, 0);
    EXPECT_EQ(std::string(file.path_.toAnsi()), dir.path(r.name));
  }
}

TEST(MxFile, FiveModesOpenReadAndWriteAsTheirStreamModes) {
  struct Row {
    int mode;
    bool opensMissing;
    const char* afterWrite;  // "AB" written at position 0 of "0123456789"
  };
  const Row rows[] = {{0, false, kDigits},
                      {1, false, "AB23456789"},
                      {2, false, "AB23456789"},
                      {3, true, "AB"},
                      {4, true, "0123456789AB"}};
  for (const Row& r : rows) {
    SCOPED_TRACE("mode " + std::to_string(r.mode));
    TempFolder dir;
    writeFile(dir.path("old"), kDigits);
    MxFile file;
    // Opening an existing file for create-or-open must not leave "already exists" behind.
    mlib::platform::setLastError(mlib::platform::kErrorAlreadyExists);
    ASSERT_TRUE(file.Open(dir.text("old"), r.mode));
    EXPECT_NE(mlib::platform::lastError(), mlib::platform::kErrorAlreadyExists);
    EXPECT_EQ(file.Write("AB", 2), r.mode == 0 ? 0u : 2u);
    EXPECT_EQ(file.Open(dir.text("new"), r.mode), r.opensMissing);
    EXPECT_EQ(readFile(dir.path("old")), r.afterWrite);
    EXPECT_EQ(mlib::test::fileExists(dir.path("new")), r.opensMissing);
  }
}

TEST(MxFile, ReadsAndWritesNeverMoveThePosition) {
  TempFolder dir;
  writeFile(dir.path("a"), kDigits);
  FileProbe file;
  ASSERT_TRUE(file.Open(dir.text("a"), 2));
  EXPECT_EQ(readAt(file, 4), "0123");
  EXPECT_EQ(readAt(file, 4), "0123");
  ASSERT_TRUE(file.Seek(4));
  EXPECT_EQ(readAt(file, 4), "4567");
  EXPECT_EQ(file.GetLength(), 10u);
  EXPECT_EQ(readAt(file, 2), "45") << "GetLength moved the position";
  EXPECT_EQ(file.Write("xy", 2), 2u);
  EXPECT_EQ(readAt(file, 3), "xy6");
  EXPECT_EQ(file.Read(nullptr, 4) + file.Write(nullptr, 4), 0u);
  EXPECT_TRUE(file.Seek(50)) << "the stream accepts offsets past the end";
  EXPECT_EQ(readAt(file, 4), "");
  file.SeekToEnd();
  EXPECT_EQ(file.position_, 10u);
  EXPECT_EQ(file.Write("AB", 2), 2u);

  ASSERT_TRUE(file.Open(dir.text("a"), 4));
  ASSERT_TRUE(file.Seek(3));
  EXPECT_EQ(file.Write("C", 1), 1u) << "mode 4 appends whatever the position";
  file.Close();
  EXPECT_EQ(readFile(dir.path("a")), "0123xy6789ABC");
}

TEST(MxFile, WholeFileReadAndByteWrite) {
  TempFolder dir;
  writeFile(dir.path("ten"), kDigits);
  writeFile(dir.path("empty"), "");
  MxFile file;
  Byte out("stale");
  ASSERT_TRUE(file.Open(dir.text("ten"), 2));
  EXPECT_EQ(file.Read(out), 10);
  EXPECT_EQ(content(out), kDigits);
  EXPECT_EQ(out.GetBufferLength(), 10) << "exactly the file's length, no terminator slot";
  ASSERT_TRUE(file.Seek(6));
  EXPECT_EQ(file.Read(out), 4) << "from the position";
  EXPECT_EQ(content(out), "6789");
  EXPECT_EQ(file.Write(Byte()), 0u);
  EXPECT_EQ(file.Write(Byte("xyz")), 3u);
  ASSERT_TRUE(file.Open(dir.text("empty"), 0));
  EXPECT_EQ(file.Read(out), 0);
  EXPECT_EQ(out.GetData(), nullptr);
  EXPECT_EQ(readFile(dir.path("ten")), "012345xyz9");
}

TEST(MxFile, CloseClearsEverythingAndCopiesNeverShareTheStream) {
  TempFolder dir;
  writeFile(dir.path("a"), kDigits);
  FileProbe file;
  file.Close();
  ASSERT_TRUE(file.Open(dir.text("a"), 0));
  ASSERT_TRUE(file.Seek(3));
  {
    const FileProbe copy(file);
    EXPECT_EQ(copy.handle_, nullptr);
    EXPECT_TRUE(copy.path_.IsEmpty());
    FileProbe assigned;
    assigned = file;
    EXPECT_EQ(assigned.handle_, nullptr);
  }
  EXPECT_EQ(readAt(file, 2), "34") << "a copy's destruction closed the stream";
  file.Close();
  EXPECT_TRUE(file.handle_ == nullptr && file.path_.IsEmpty() && file.position_ == 0);
  EXPECT_FALSE(file.Flush() || file.Seek(0));
  EXPECT_EQ(file.GetLength(), 0u);
}
