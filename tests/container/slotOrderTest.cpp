// The order of the virtual slots, which hosts call through: read from pointers to virtual
// members (Itanium C++ ABI: 1 + the byte offset in the table; the destructor takes 0 and 1).
#include <gtest/gtest.h>
#include <mlib/containers.h>
#include <mlib/exceptions.h>
#include <mlib/files.h>

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <utility>

namespace mlib {
namespace {

// The virtual table entry a pointer to a member function calls; -1 for a non-virtual one.
template <typename Member>
long EntryOf(Member member) {
  std::uintptr_t pointer = 0;  // the function pointer or entry, then the this adjustment
  static_assert(sizeof(Member) == 2 * sizeof pointer, "not an Itanium member function pointer");
  std::memcpy(&pointer, &member, sizeof pointer);
  return (pointer & 1u) == 0 ? -1 : static_cast<long>((pointer - 1) / sizeof(void*));
}

// The members, named for the failure message, hold consecutive entries from `first` on.
using Slot = std::pair<const char*, long>;
#define SLOT(Class, member) (Slot{#member, EntryOf(&Class::member)})
template <typename... Slots>
void ExpectConsecutive(long first, const Slots&... slots) {
  for (const auto& [name, entry] : {slots...}) EXPECT_EQ(entry, first++) << name;
}

TEST(SlotOrder, ObjectListMapExceptionAndFile) {
  ExpectConsecutive(2, SLOT(MxObject, Clone), SLOT(MxObject, Equals),
                    SLOT(MxObject, GetThisObjectBuffer), SLOT(MxObject, PrintToString));
  using L = MxList<int>;
  ExpectConsecutive(5, SLOT(L, PrintToString), SLOT(L, IsEmpty), SLOT(L, RemoveAll),
                    SLOT(L, GetCount), SLOT(L, Contains), SLOT(L, CopyElement), SLOT(L, IsEqual),
                    SLOT(L, AddTail), SLOT(L, AddHead), SLOT(L, InsertAt), SLOT(L, Remove),
                    SLOT(L, RemoveAt), SLOT(L, RemoveCurrent), SLOT(L, GetAt), SLOT(L, IndexOf),
                    SLOT(L, FindPtr), SLOT(L, GetAtPtr), SLOT(L, Update), SLOT(L, GetHead),
                    SLOT(L, GetTail), SLOT(L, GetHeadPtr), SLOT(L, GetTailPtr), SLOT(L, GetFirst),
                    SLOT(L, GetNext), SLOT(L, GetFirstPtr), SLOT(L, GetNextPtr), SLOT(L, GetLast),
                    SLOT(L, GetPrev), SLOT(L, GetLastPtr), SLOT(L, GetPrevPtr), SLOT(L, InsertNode),
                    SLOT(L, ReservedOperation), SLOT(L, RemoveNode), SLOT(L, ReservedPredicate),
                    SLOT(L, FindNode), SLOT(L, GetNodeAt));
  // The map's own slots are one run of its primary table, wherever the run starts (that
  // depends on the layout of the shared MxContainerBase); the locked map adds none between.
  using M = MxMap<int, String>;
  ASSERT_GE(EntryOf(&M::ContainsKey), 0);
  ExpectConsecutive(EntryOf(&M::ContainsKey), SLOT(M, ContainsKey), SLOT(M, CopyPair),
                    SLOT(M, KeyEquals), SLOT(M, Add), SLOT(M, Remove), SLOT(M, RemoveCurrent),
                    SLOT(M, LookupPtr), SLOT(M, Lookup), SLOT(M, SetAt), SLOT(M, GetFirst),
                    SLOT(M, GetNext), SLOT(M, GetFirstPtr), SLOT(M, GetNextPtr), SLOT(M, AddEntry),
                    SLOT(M, DestroyTree), SLOT(M, FindNode), SLOT(M, UpdateRoot),
                    SLOT(M, InsertNode), SLOT(M, InsertFixup), SLOT(M, MakeLeaf),
                    SLOT(M, DeleteNode), SLOT(M, DeleteFixup), SLOT(M, GetFirstNode),
                    SLOT(M, GetNextNode), SLOT(M, MoveNext));
  using S = SyncMap<int, String>;
  EXPECT_EQ(EntryOf(&S::Lookup) - EntryOf(&S::ContainsKey), 7);
  EXPECT_EQ(EntryOf(&S::MoveNext) - EntryOf(&S::ContainsKey), 24);
  // MxObject's five, MxBaseException's four, then MxException's four: slots 4 to 12.
  using E = MxException;
  ExpectConsecutive(
      5, Slot{"PrintToString", EntryOf<String (E::*)() const>(&E::PrintToString)}, SLOT(E, SetCode),
      SLOT(E, SetLevel), SLOT(E, GetCode), SLOT(E, GetLevel), SLOT(E, AddExceptionInfo),
      SLOT(E, RemoveExceptionInfo),
      Slot{"GetExceptionInfo(code)", EntryOf<String (E::*)(int) const>(&E::GetExceptionInfo)},
      Slot{"GetExceptionInfo()", EntryOf<String (E::*)() const>(&E::GetExceptionInfo)});
  // MxFile's slots 5 to 15, then MxAsyncFileWin's 16 and 17.
  struct Exposed : MxAsyncFileWin {
    static long OnIoCompletionEntry() { return EntryOf(&Exposed::onIoCompletion); }
  };
  using F = MxAsyncFile;
  using U = unsigned int;
  ExpectConsecutive(6, SLOT(F, Open), Slot{"Read(Byte&)", EntryOf<int (F::*)(Byte&)>(&F::Read)},
                    Slot{"Read(void*, count)", EntryOf<U (F::*)(void*, U)>(&F::Read)},
                    Slot{"Write(const Byte&)", EntryOf<U (F::*)(const Byte&)>(&F::Write)},
                    Slot{"Write(const void*, count)", EntryOf<U (F::*)(const void*, U)>(&F::Write)},
                    SLOT(F, SeekToBegin), SLOT(F, SeekToEnd), SLOT(F, Seek), SLOT(F, GetLength),
                    SLOT(F, Flush), SLOT(F, Close), SLOT(F, CancelIo),
                    Slot{"onIoCompletion", Exposed::OnIoCompletionEntry()});
}

}  // namespace
}  // namespace mlib
