// Every heap allocation of an operation fails in turn (malloc, calloc and realloc, which
// operator new and String's heap sit on): the operation answers its refusal, or throws
// std::bad_alloc where String and the element copies of the containers do, and leaves its
// object as it was before or as it is after a success; it never crashes, never leaves a lock
// held, and works again once the heap answers. Byte's growing paths have their own test
// (tests/byte/allocFailure).
#include <gtest/gtest.h>
#include <mlib/containers.h>
#include <mlib/files.h>
#include <mlib/string.h>

#include <cstdint>
#include <functional>
#include <new>
#include <string>
#include <thread>

#include "faults/faults.h"
#include "file/tempFiles.h"

namespace {

using mlib::String;

int gNth = 0;    // the allocation that fails, counting from 1
int gCalls = 0;  // allocations the last operation made, up to the failing one

// Runs `op` with the gNth allocation failing; true when it threw std::bad_alloc.
bool underFault(const std::function<void()>& op) {
  mlib::test::arm({{"libc/mm/*", ENOMEM, gNth}});
  bool threw = false;
  try {
    op();
  } catch (const std::bad_alloc&) {
    threw = true;
  }
  gCalls = mlib::test::disarm();
  return threw;
}

const String kLong(u"a text longer than the one before it, so it must grow");

}  // namespace

TEST(AllocFaults, EveryAllocationOfAnOperationFailsInTurn) {
  mlib::test::TempFolder folder;
  const String path = folder.put("f");
  // Each row answers whether its object is as before or as after the operation; `threw`
  // tells it which the operation claimed.
  struct Row {
    const char* name;
    bool mayThrow;
    std::function<bool(bool& threw)> run;
  };
  const Row rows[] = {
      {"String +=", true,
       [](bool& threw) {
         String s(u"abc");
         threw = underFault([&] { s += kLong; });
         return threw ? s == u"abc" : s == String(u"abc") + kLong;
       }},
      {"String from ANSI text", true,
       [](bool& threw) {
         String s;
         threw = underFault([&] { s = String("narrow text, widened"); });
         return threw ? s.IsNull() : s == u"narrow text, widened";
       }},
      {"String::toAnsi", true,
       [](bool& threw) {
         String s(u"wide text");
         const char* ansi = nullptr;
         threw = underFault([&] { ansi = s.toAnsi(); });
         return s == u"wide text" && (threw || std::string(ansi) == "wide text");
       }},
      {"String::Format", true,
       [](bool& threw) {
         String s(u"x");
         threw = underFault([&] { s.Format(u"%d-%s", 42, u"y"); });
         return threw ? s == u"x" : s == u"42-y";
       }},
      {"MxList<String>::AddTail", true,
       [](bool& threw) {
         mlib::MxList<String> list;
         list.AddTail(String(u"a"));
         bool added = false;
         threw = underFault([&] { added = list.AddTail(kLong); });
         String tail;
         return list.GetCount() == (added ? 2u : 1u) && list.GetTail(tail) &&
                tail == (added ? kLong : String(u"a")) && list.AddTail(String(u"b"));
       }},
      {"SyncMap<int, String>::Add", true,
       [](bool& threw) {
         mlib::SyncMap<int, String> map;
         bool added = false;
         threw = underFault([&] { added = map.Add(7, kLong); });
         bool otherThread = false;  // the map's lock is free
         std::thread([&] { otherThread = map.Add(8, String(u"b")); }).join();
         String* value = map.LookupPtr(7);
         return otherThread && map.GetCount() == (added ? 2u : 1u) &&
                (added ? value != nullptr && *value == kLong : value == nullptr);
       }},
      {"MxFile::Open, Read(Byte&)", false,
       [&path](bool& threw) {
         mlib::MxFile file;
         mlib::Byte whole;
         int got = -1;
         threw = underFault([&] { got = file.Open(path, 2) ? file.Read(whole) : 0; });
         return got == whole.GetLength() && (got == 0 || got == 10);
       }},
      {"MxAsyncFile::Open, Read(Byte&)", false,
       [&path](bool& threw) {
         mlib::MxAsyncFile file;
         mlib::Byte whole;
         int got = -1;
         threw = underFault([&] { got = file.Open(path, 2) ? file.Read(whole) : 0; });
         file.Close();
         return got == whole.GetLength() && (got == 0 || got == 10) && file.Open(path, 2);
       }},
  };
  for (const Row& row : rows) {
    // Fail the first allocation, then the second, ... until the operation makes no more.
    for (gNth = 1; gNth < 10000; ++gNth) {
      SCOPED_TRACE(std::string(row.name) + ", allocation " + std::to_string(gNth));
      bool threw = false;
      EXPECT_TRUE(row.run(threw));
      if (!row.mayThrow) {
        EXPECT_FALSE(threw);
      }
      if (gCalls < gNth) break;  // nothing failed: the operation is done
    }
  }
}
