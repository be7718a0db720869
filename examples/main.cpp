// A host program that loads mlib and walks through what it offers.
#include <mlib/mlib.h>

#include <cstdio>
#include <vector>

#include "demo.h"

std::string demoUtf8(const mlib::WideChar* text) {
  if (text == nullptr) return "(null)";
  int units = 0;
  while (text[units] != 0) ++units;
  std::vector<char> utf8(static_cast<std::size_t>(units) * 3 + 1);
  WideToUtf8(utf8.data(), text, static_cast<int>(utf8.size()));
  return std::string(utf8.data());
}

int main() {
  std::printf("mlib demo host\n==============\n");
  demoText();
  demoString();
  demoSearch();
  demoByte();
  demoContainer();
  demoException();
  demoFile();
  demoNet();
  return 0;
}
