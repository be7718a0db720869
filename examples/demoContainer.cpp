// The containers: a list printed element by element, and a small map of error codes drawn as
// its red-black tree, one line per level with each node's key and colour.
#include <mlib/mlib.h>

#include <cstdio>
#include <string>

#include "demo.h"

namespace {

// The picture's lines end in "\r\n"; a terminal wants "\n".
std::string withoutCarriageReturns(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c != '\r') out.push_back(c);
  }
  return out;
}

}  // namespace

void demoContainer() {
  std::printf("\n-- Containers: a list and a map's red-black tree --\n");

  mlib::MxList<int> list;
  for (int i = 1; i <= 5; ++i) list.AddTail(i * i);
  std::printf("MxList<int> of squares prints: \"%s\"\n",
              demoUtf8(list.PrintToString().toString()).c_str());

  mlib::SyncMap<int, mlib::String> codes;
  const int keys[] = {4, 2, 6, 1, 3, 5, 7, 8};
  for (int key : keys) codes.Add(key, mlib::String(key * 100));
  std::printf("SyncMap<int, String> of %u entries; key 6 maps to %s\n", codes.GetCount(),
              demoUtf8(codes.LookupPtr(6)->toString()).c_str());
  std::printf("Its tree (b black, r red; leaves print key 0):\n%s",
              withoutCarriageReturns(demoUtf8(codes.PrintToString().toString())).c_str());

  std::printf("Iteration runs in post-order, root last:");
  int key = 0;
  mlib::String value;
  for (bool ok = codes.GetFirst(key, value); ok; ok = codes.GetNext(key, value)) {
    std::printf(" %d", key);
  }
  std::printf("\n");
}
