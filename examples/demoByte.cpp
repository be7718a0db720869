// The byte buffer: a small file-like record taken to hexadecimal text and back, then to
// UTF-8 and back to the ANSI code page.
#include <mlib/mlib.h>

#include <cstdio>

#include "demo.h"

namespace {

bool sameBytes(const mlib::Byte& a, const mlib::Byte& b) {
  if (a.GetLength() != b.GetLength()) return false;
  for (int i = 0; i < a.GetLength(); ++i) {
    if (a.GetAt(i) != b.GetAt(i)) return false;
  }
  return true;
}

std::string hexOf(const mlib::Byte& b) {
  const mlib::String hex =
      mlib::String::ByteToHexString(b.GetData(), static_cast<unsigned>(b.GetLength()), true);
  return demoUtf8(hex.toString());
}

}  // namespace

void demoByte() {
  std::printf("\n-- Byte: a file-like round trip through hex and UTF-8 --\n");

  // What a file read into memory might hold: ANSI text (code page 1252) ending in CR LF.
  mlib::Byte file;
  file.AllocBuffer(32);  // reserve first: the appends below then stay in place
  file += "Caf\xE9 10\x80";
  const unsigned char lineEnd[] = {'\r', '\n'};
  file.AppendData(lineEnd, 2);
  std::printf("file:          %d bytes in a buffer of %d\n", file.GetLength(),
              file.GetBufferLength());

  mlib::String hex =
      mlib::String::ByteToHexString(file.GetData(), static_cast<unsigned>(file.GetLength()), true);
  std::printf("as hex:        %s\n", demoUtf8(hex.toString()).c_str());
  const mlib::Byte fromHex = hex.HexStringToByteData();
  std::printf("hex -> bytes:  %d bytes, %s\n", fromHex.GetLength(),
              sameBytes(fromHex, file) ? "the same as the file" : "DIFFERENT");

  const mlib::Byte utf8 = file.AnsiToUtf8();
  std::printf("as UTF-8:      %s(%d bytes)\n", hexOf(utf8).c_str(), utf8.GetLength());
  const mlib::String text = mlib::String::FromUtf8(utf8.GetData(), 64);
  std::printf("read as text:  \"%s\"\n",
              demoUtf8(text.Left(static_cast<unsigned>(text.GetLength() - 2)).toString()).c_str());
  std::printf("UTF-8 -> ANSI: %s\n",
              sameBytes(utf8.Utf8ToAnsi(), file) ? "the file's bytes again" : "DIFFERENT");
}
