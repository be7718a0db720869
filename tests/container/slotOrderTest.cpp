// The order of the virtual slots of MxObject, MxList, MxMap, MxException and the file
// classes: hosts built against the library call these operations through the virtual
// tables, so the order is part of the binary interface. Read from pointers to the virtual members
// (the Itanium C++ ABI that g++, clang and MinGW-w64 follow: a virtual member's pointer holds 1 +
// its byte offset in the virtual table; the destructor takes the two entries 0 and 1, so a slot s
// >= 1 of the list of operations is entry s + 1).
#include <gtest/gtest.h>
#include <mlib/containers.h>
#include <mlib/exceptions.h>
#include <mlib/files.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace mlib {
namespace {

// The entry of the virtual table a pointer to a virtual member function calls; -1 for a
// pointer to a non-virtual function.
template <typename Member>
long EntryOf(Member member) {
  struct Raw {
    std::uintptr_t pointer;
    std::ptrdiff_t adjustment;
  } raw{};
  static_assert(sizeof(Member) == sizeof(Raw), "not an Itanium member function pointer");
  std::memcpy(&raw, &member, sizeof raw);
  if ((raw.pointer & 1u) == 0) return -1;
  return static_cast<long>((raw.pointer - 1) / sizeof(void*));
}

using Slots = std::vector<std::pair<const char*, long>>;

TEST(SlotOrder, ObjectAndList) {
  const Slots object = {{"Clone", EntryOf(&MxObject::Clone)},
                        {"Equals", EntryOf(&MxObject::Equals)},
                        {"GetThisObjectBuffer", EntryOf(&MxObject::GetThisObjectBuffer)},
                        {"PrintToString", EntryOf(&MxObject::PrintToString)}};
  for (std::size_t i = 0; i < object.size(); ++i) {
    EXPECT_EQ(object[i].second, static_cast<long>(i) + 2) << object[i].first;
  }

  using L = MxList<int>;
  const Slots list = {
      {"PrintToString", EntryOf(&L::PrintToString)},
      {"IsEmpty", EntryOf(&L::IsEmpty)},
      {"RemoveAll", EntryOf(&L::RemoveAll)},
      {"GetCount", EntryOf(&L::GetCount)},
      {"Contains", EntryOf(&L::Contains)},
      {"CopyElement", EntryOf(&L::CopyElement)},
      {"IsEqual", EntryOf(&L::IsEqual)},
      {"AddTail", EntryOf(&L::AddTail)},
      {"AddHead", EntryOf(&L::AddHead)},
      {"InsertAt", EntryOf(&L::InsertAt)},
      {"Remove", EntryOf(&L::Remove)},
      {"RemoveAt", EntryOf(&L::RemoveAt)},
      {"RemoveCurrent", EntryOf(&L::RemoveCurrent)},
      {"GetAt", EntryOf(&L::GetAt)},
      {"IndexOf", EntryOf(&L::IndexOf)},
      {"FindPtr", EntryOf(&L::FindPtr)},
      {"GetAtPtr", EntryOf(&L::GetAtPtr)},
      {"Update", EntryOf(&L::Update)},
      {"GetHead", EntryOf(&L::GetHead)},
      {"GetTail", EntryOf(&L::GetTail)},
      {"GetHeadPtr", EntryOf(&L::GetHeadPtr)},
      {"GetTailPtr", EntryOf(&L::GetTailPtr)},
      {"GetFirst", EntryOf(&L::GetFirst)},
      {"GetNext", EntryOf(&L::GetNext)},
      {"GetFirstPtr", EntryOf(&L::GetFirstPtr)},
      {"GetNextPtr", EntryOf(&L::GetNextPtr)},
      {"GetLast", EntryOf(&L::GetLast)},
      {"GetPrev", EntryOf(&L::GetPrev)},
      {"GetLastPtr", EntryOf(&L::GetLastPtr)},
      {"GetPrevPtr", EntryOf(&L::GetPrevPtr)},
      {"InsertNode", EntryOf(&L::InsertNode)},
      {"ReservedOperation", EntryOf(&L::ReservedOperation)},
      {"RemoveNode", EntryOf(&L::RemoveNode)},
      {"ReservedPredicate", EntryOf(&L::ReservedPredicate)},
      {"FindNode", EntryOf(&L::FindNode)},
      {"GetNodeAt", EntryOf(&L::GetNodeAt)},
  };
  for (std::size_t i = 0; i < list.size(); ++i) {  // slots 4 to 39
    EXPECT_EQ(list[i].second, static_cast<long>(i) + 5) << list[i].first;
  }
}

TEST(SlotOrder, Map) {
  // The map's own operations, slots 0 to 24, in one run of its primary virtual table
  // (counted from ContainsKey: where the run starts depends on how the shared
  // MxContainerBase is laid out).
  using M = MxMap<int, String>;
  const Slots map = {
      {"ContainsKey", EntryOf(&M::ContainsKey)},
      {"CopyPair", EntryOf(&M::CopyPair)},
      {"KeyEquals", EntryOf(&M::KeyEquals)},
      {"Add", EntryOf(&M::Add)},
      {"Remove", EntryOf(&M::Remove)},
      {"RemoveCurrent", EntryOf(&M::RemoveCurrent)},
      {"LookupPtr", EntryOf(&M::LookupPtr)},
      {"Lookup", EntryOf(&M::Lookup)},
      {"SetAt", EntryOf(&M::SetAt)},
      {"GetFirst", EntryOf(&M::GetFirst)},
      {"GetNext", EntryOf(&M::GetNext)},
      {"GetFirstPtr", EntryOf(&M::GetFirstPtr)},
      {"GetNextPtr", EntryOf(&M::GetNextPtr)},
      {"AddEntry", EntryOf(&M::AddEntry)},
      {"DestroyTree", EntryOf(&M::DestroyTree)},
      {"FindNode", EntryOf(&M::FindNode)},
      {"UpdateRoot", EntryOf(&M::UpdateRoot)},
      {"InsertNode", EntryOf(&M::InsertNode)},
      {"InsertFixup", EntryOf(&M::InsertFixup)},
      {"MakeLeaf", EntryOf(&M::MakeLeaf)},
      {"DeleteNode", EntryOf(&M::DeleteNode)},
      {"DeleteFixup", EntryOf(&M::DeleteFixup)},
      {"GetFirstNode", EntryOf(&M::GetFirstNode)},
      {"GetNextNode", EntryOf(&M::GetNextNode)},
      {"MoveNext", EntryOf(&M::MoveNext)},
  };
  ASSERT_GE(map[0].second, 0);
  for (std::size_t i = 0; i < map.size(); ++i) {
    EXPECT_EQ(map[i].second - map[0].second, static_cast<long>(i)) << map[i].first;
  }
  // The locked map overrides without adding slots of its own in between.
  using S = SyncMap<int, String>;
  EXPECT_EQ(EntryOf(&S::Lookup) - EntryOf(&S::ContainsKey), 7);
  EXPECT_EQ(EntryOf(&S::MoveNext) - EntryOf(&S::ContainsKey), 24);
}

TEST(SlotOrder, ExceptionAndFile) {
  // MxObject's five, MxBaseException's four, then MxException's four.
  const Slots exception = {
      {"PrintToString",
       EntryOf(static_cast<String (MxException::*)() const>(&MxException::PrintToString))},
      {"SetCode", EntryOf(&MxException::SetCode)},
      {"SetLevel", EntryOf(&MxException::SetLevel)},
      {"GetCode", EntryOf(&MxException::GetCode)},
      {"GetLevel", EntryOf(&MxException::GetLevel)},
      {"AddExceptionInfo", EntryOf(&MxException::AddExceptionInfo)},
      {"RemoveExceptionInfo", EntryOf(&MxException::RemoveExceptionInfo)},
      {"GetExceptionInfo(code)",
       EntryOf(static_cast<String (MxException::*)(int) const>(&MxException::GetExceptionInfo))},
      {"GetExceptionInfo()",
       EntryOf(static_cast<String (MxException::*)() const>(&MxException::GetExceptionInfo))},
  };
  for (std::size_t i = 0; i < exception.size(); ++i) {  // slots 4 to 12
    EXPECT_EQ(exception[i].second, static_cast<long>(i) + 5) << exception[i].first;
  }

  // MxFile's slots 5 to 15, then MxAsyncFileWin's 16 and 17.
  struct Exposed : MxAsyncFileWin {
    static long OnIoCompletionEntry() { return EntryOf(&Exposed::onIoCompletion); }
  };
  using F = MxAsyncFile;
  const Slots file = {
      {"Open", EntryOf(&F::Open)},
      {"Read(Byte&)", EntryOf(static_cast<int (F::*)(Byte&)>(&F::Read))},
      {"Read(void*, count)",
       EntryOf(static_cast<unsigned int (F::*)(void*, unsigned int)>(&F::Read))},
      {"Write(const Byte&)", EntryOf(static_cast<unsigned int (F::*)(const Byte&)>(&F::Write))},
      {"Write(const void*, count)",
       EntryOf(static_cast<unsigned int (F::*)(const void*, unsigned int)>(&F::Write))},
      {"SeekToBegin", EntryOf(&F::SeekToBegin)},
      {"SeekToEnd", EntryOf(&F::SeekToEnd)},
      {"Seek", EntryOf(&F::Seek)},
      {"GetLength", EntryOf(&F::GetLength)},
      {"Flush", EntryOf(&F::Flush)},
      {"Close", EntryOf(&F::Close)},
      {"CancelIo", EntryOf(&F::CancelIo)},
      {"onIoCompletion", Exposed::OnIoCompletionEntry()},
  };
  for (std::size_t i = 0; i < file.size(); ++i) {  // slots 5 to 17
    EXPECT_EQ(file[i].second, static_cast<long>(i) + 6) << file[i].first;
  }
}

}  // namespace
}  // namespace mlib
