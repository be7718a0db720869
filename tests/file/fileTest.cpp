// MxFile over the C library's streams: opening and the five modes, the positional rule, the
// whole-file read and write, closing and copying. File contents are checked with std streams.
#include <mlib/files.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "file/tempFiles.h"
#include "platform/platform.h"

using mlib::Byte;
using mlib::MxFile;
using mlib::String;
using mlib::test::readFile;
using mlib::test::TempFolder;
using mlib::test::writeFile;

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

std::string content(const Byte& b) {
  if (b.GetData() == nullptr) return {};
  return std::string(reinterpret_cast<const char*>(b.GetData()),
                     static_cast<std::size_t>(b.GetLength()));
}

constexpr const char kDigits[] = "0123456789";

}  // namespace

TEST(MxFile, OpenRefusesEmptyPathAndKeepsTheOpenFile) {
  TempFolder dir;
  writeFile(dir.path("a"), kDigits);
  FileProbe file;
  ASSERT_TRUE(file.Open(dir.text("a"), 0));
  EXPECT_FALSE(file.Open(String(), 0));
  EXPECT_FALSE(file.Open(String(""), 0));
  EXPECT_EQ(readAt(file, 3), "012");
  EXPECT_EQ(std::string(file.path_.toAnsi()), dir.path("a"));
}

TEST(MxFile, FailedOpenLeavesTheFileClosedWithTheNewPath) {
  TempFolder dir;
  writeFile(dir.path("a"), kDigits);
  struct Row { const char* name; int mode; const char* why; };
  const Row rows[] = {
      {"missing", 0, "missing file in mode 0"},
      {"a", 5, "mode 5"},
      {"a", -1, "mode -1 (large when unsigned)"},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.why);
    FileProbe file;
    ASSERT_TRUE(file.Open(dir.text("a"), 2));
    EXPECT_FALSE(file.Open(dir.text(r.name), r.mode));
    EXPECT_EQ(file.handle_, nullptr);
    EXPECT_EQ(file.mode_, 0);
    EXPECT_EQ(std::string(file.path_.toAnsi()), dir.path(r.name));
    char byte = 0;
    EXPECT_EQ(file.Read(&byte, 1), 0u);
  }
}

TEST(MxFile, FiveModesOpenReadAndWriteAsTheirStreamModes) {
  struct Row {
    int mode;
    bool opensExisting, opensMissing;
    std::string existingAfterWrite;  // "AB" written at position 0 of "0123456789"
    std::string missingAfterWrite;
  };
  const Row rows[] = {
      {0, true, false, "0123456789", ""},
      {1, true, false, "AB23456789", ""},
      {2, true, false, "AB23456789", ""},
      {3, true, true, "AB", "AB"},
      {4, true, true, "0123456789AB", "AB"},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE("mode " + std::to_string(r.mode));
    TempFolder dir;
    writeFile(dir.path("old"), kDigits);
    {
      MxFile file;
      ASSERT_EQ(file.Open(dir.text("old"), r.mode), r.opensExisting);
      EXPECT_EQ(file.Write("AB", 2), r.mode == 0 ? 0u : 2u);
    }
    EXPECT_EQ(readFile(dir.path("old")), r.existingAfterWrite);
    {
      MxFile file;
      ASSERT_EQ(file.Open(dir.text("new"), r.mode), r.opensMissing);
      if (r.opensMissing) {
        EXPECT_EQ(file.Write("AB", 2), 2u);
      }
    }
    EXPECT_EQ(mlib::test::fileExists(dir.path("new")), r.opensMissing);
    if (r.opensMissing) {
      EXPECT_EQ(readFile(dir.path("new")), r.missingAfterWrite);
    }
  }
}

TEST(MxFile, CreateOrTruncateOfAnExistingFileLeavesNoAlreadyExistsError) {
  TempFolder dir;
  writeFile(dir.path("a"), kDigits);
  MxFile file;
  mlib::platform::setLastError(mlib::platform::kErrorAlreadyExists);
  ASSERT_TRUE(file.Open(dir.text("a"), 3));
  EXPECT_NE(mlib::platform::lastError(), mlib::platform::kErrorAlreadyExists);
  EXPECT_EQ(file.GetLength(), 0u);
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
  EXPECT_EQ(file.position_, 4u);
  EXPECT_EQ(readAt(file, 3), "xy6");
  ASSERT_TRUE(file.Seek(10));
  EXPECT_EQ(readAt(file, 4), "");
  EXPECT_TRUE(file.Seek(50)) << "the stream accepts offsets past the end";
  EXPECT_EQ(readAt(file, 4), "");
  EXPECT_EQ(file.Read(nullptr, 4), 0u);
  EXPECT_EQ(file.Write(nullptr, 4), 0u);
  file.SeekToEnd();
  EXPECT_EQ(file.position_, 10u);
  file.SeekToBegin();
  EXPECT_EQ(readAt(file, 1), "0");
}

TEST(MxFile, SeekToEndThenWriteAppendsAndMode4AlwaysAppends) {
  TempFolder dir;
  writeFile(dir.path("a"), kDigits);
  {
    MxFile file;
    ASSERT_TRUE(file.Open(dir.text("a"), 1));
    file.SeekToEnd();
    EXPECT_EQ(file.Write("AB", 2), 2u);
  }
  EXPECT_EQ(readFile(dir.path("a")), "0123456789AB");
  {
    MxFile file;
    ASSERT_TRUE(file.Open(dir.text("a"), 4));
    ASSERT_TRUE(file.Seek(3));
    EXPECT_EQ(file.Write("C", 1), 1u);
    file.SeekToBegin();
    EXPECT_EQ(file.Write("D", 1), 1u);
  }
  EXPECT_EQ(readFile(dir.path("a")), "0123456789ABCD");
}

TEST(MxFile, WholeFileReadAndByteWrite) {
  TempFolder dir;
  writeFile(dir.path("ten"), kDigits);
  writeFile(dir.path("empty"), "");
  MxFile file;
  Byte out;
  out.SetData("stale");
  ASSERT_TRUE(file.Open(dir.text("ten"), 2));
  EXPECT_EQ(file.Read(out), 10);
  EXPECT_EQ(content(out), kDigits);
  EXPECT_EQ(out.GetBufferLength(), 10) << "exactly the file's length, no terminator slot";
  ASSERT_TRUE(file.Seek(6));
  EXPECT_EQ(file.Read(out), 4) << "reads from the position";
  EXPECT_EQ(content(out), "6789");
  EXPECT_EQ(out.GetBufferLength(), 10);

  EXPECT_EQ(file.Write(Byte()), 0u);
  EXPECT_EQ(file.Write(Byte("xyz")), 3u);
  file.Close();
  EXPECT_EQ(readFile(dir.path("ten")), "012345xyz9");

  ASSERT_TRUE(file.Open(dir.text("empty"), 0));
  EXPECT_EQ(file.Read(out), 0);
  EXPECT_EQ(out.GetData(), nullptr);
  EXPECT_EQ(out.GetBufferLength(), 0);
}

TEST(MxFile, CloseClearsEverythingAndIsHarmlessWhenClosed) {
  TempFolder dir;
  writeFile(dir.path("a"), kDigits);
  FileProbe file;
  file.Close();
  ASSERT_TRUE(file.Open(dir.text("a"), 2));
  ASSERT_TRUE(file.Seek(3));
  EXPECT_TRUE(file.Flush());
  file.Close();
  EXPECT_EQ(file.handle_, nullptr);
  EXPECT_TRUE(file.path_.IsEmpty());
  EXPECT_EQ(file.mode_, 0);
  EXPECT_EQ(file.position_, 0u);
  EXPECT_FALSE(file.Flush());
  EXPECT_FALSE(file.Seek(0));
  EXPECT_EQ(file.GetLength(), 0u);
  file.Close();
  EXPECT_EQ(file.handle_, nullptr);
}

TEST(MxFile, CopiesStartClosedAndNeverShareTheStream) {
  TempFolder dir;
  writeFile(dir.path("a"), kDigits);
  FileProbe source;
  ASSERT_TRUE(source.Open(dir.text("a"), 0));
  {
    const FileProbe copy(source);
    EXPECT_EQ(copy.handle_, nullptr);
    EXPECT_TRUE(copy.path_.IsEmpty());
    FileProbe assigned;
    assigned = source;
    EXPECT_EQ(assigned.handle_, nullptr);
  }
  EXPECT_EQ(readAt(source, 3), "012") << "a copy's destruction closed the source's stream";
}
