// MxObject (identity, the root's default operations, the class allocation operators) and
// mtype (splitting a class name, copies, comparison, GetType's names).
#include <gtest/gtest.h>
#include <mlib/exceptions.h>
#include <mlib/object.h>

#include <cstdint>
#include <string>

// Lets the allocation test see malloc refuse a huge request instead of stopping the program.
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }

namespace mlib::detail {
// Reaches the record's private construction and naming.
struct MtypeAccess {
  static mtype named(const char* name) {
    mtype type;
    type.setName(name);
    return type;
  }
  static mtype unnamed() { return mtype(); }
};
}  // namespace mlib::detail

namespace outer::inner {
struct Deep : mlib::MxObject {};
}  // namespace outer::inner

namespace {

using mlib::mtype;
using mlib::MxObject;
using mlib::detail::MtypeAccess;

struct Probe : MxObject {
  explicit Probe(int v = 0) : value(v) {}
  int value;
};

std::string str(const char* text) { return text == nullptr ? "<null>" : text; }

TEST(Mtype, NamesSplitAtTheLastSpaceAndTheFirstColonsAfterIt) {
  auto* source = new mtype(MtypeAccess::named("class a::b::Leaf"));
  const mtype copy(*source);
  mtype assigned = MtypeAccess::named("z::Z");
  assigned = *source;
  EXPECT_NE(copy.GetFullName(), source->GetFullName());
  EXPECT_NE(assigned.GetClassNameW(), source->GetClassNameW());
  delete source;  // the copies own their texts
  const char* before = assigned.GetFullName();
  const mtype& alias = assigned;
  assigned = alias;
  EXPECT_EQ(assigned.GetFullName(), before) << "self-assignment changes nothing";

  struct Row {
    mtype type;
    const char* name;
    const char* namespaceName;
    const char* className;
  };
  const Row rows[] = {
      {MtypeAccess::named("class mlib::String"), "class mlib::String", "mlib", "String"},
      {MtypeAccess::named("class a::b::Leaf"), "class a::b::Leaf", "a", "b::Leaf"},
      {MtypeAccess::named("class Foo"), "class Foo", "class Foo", "class Foo"},
      {MtypeAccess::named("mlib::String"), "mlib::String", "mlib", "String"},
      {MtypeAccess::named("class mlib::MakeFinal<class mlib::mtype>"),
       "class mlib::MakeFinal<class mlib::mtype>", "mlib", "mtype>"},
      {MtypeAccess::named(""), "", "", ""},
      {MtypeAccess::named("a::b::c"), "a::b::c", "a", "b::c"},
      {MtypeAccess::named("::Foo"), "::Foo", "", "Foo"},
      {copy, "class a::b::Leaf", "a", "b::Leaf"},
      {assigned, "class a::b::Leaf", "a", "b::Leaf"},
      {static_cast<const MxObject&>(mlib::MxException()).GetType(), "mlib::MxException", "mlib",
       "MxException"},
      {outer::inner::Deep().GetType(), "outer::inner::Deep", "outer", "inner::Deep"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(str(row.type.GetFullName()), row.name);
    EXPECT_EQ(str(row.type.GetNamespaceName()), row.namespaceName);
    EXPECT_EQ(str(row.type.GetClassNameW()), row.className);
  }
}

TEST(Mtype, EqualityNeedsTwoNamedRecordsWithTheSameFullName) {
  const mtype unnamed = MtypeAccess::unnamed(), b = MtypeAccess::named("a::B");
  EXPECT_EQ(unnamed.GetFullName(), nullptr);
  EXPECT_TRUE(b == MtypeAccess::named("a::B") &&
              mlib::MxException(1).GetType() == mlib::MxException(5).GetType());
  for (const mtype& other : {MtypeAccess::named("a::b"), MtypeAccess::named("c::B"), unnamed}) {
    EXPECT_FALSE(b == other || other == b) << str(other.GetFullName());
  }
  EXPECT_FALSE(unnamed == unnamed);
  EXPECT_FALSE(mlib::MxException(1).GetType() == mlib::MxBaseException(1, 0, nullptr).GetType());
}

TEST(MxObject, IdentityRootTextAndCopiesThatCopyNothing) {
  Probe a(7);
  Probe b(7);  // same class, same contents, another object
  MxObject& ra = a;
  MxObject& rb = b;
  EXPECT_TRUE(ra.Equals(ra) && ra == ra && ra.GetThisObjectBuffer() == &a);
  EXPECT_FALSE(ra.Equals(rb) || ra == rb);
  b.value = 2;
  rb.Clone(ra);
  mlib::MxException other;
  rb = static_cast<MxObject&>(other);  // the root's assignment, across classes
  EXPECT_EQ(b.value, 2);
  EXPECT_TRUE(rb.GetType() == ra.GetType());

  const mlib::String root(MLIB_T(
      "String can not be printed, as the class couldn't interpret this type of instance yet."));
  const mlib::MxBaseException base(-4, 3, MLIB_T("not printed"));  // does not override it
  EXPECT_TRUE(static_cast<const MxObject&>(base).PrintToString() == root);
  EXPECT_TRUE(ra.PrintToString() == root);
}

TEST(MxObject, AllocationOperatorsUseTheRuntimeHeapAndNeverThrow) {
  Probe* many = new Probe[3]{Probe(1), Probe(2), Probe(3)};
  ASSERT_TRUE(many != nullptr && many[2].value == 3);
  delete[] many;
  delete new Probe(4);
  // The heap refuses: null, no exception, no constructor run.
  volatile std::size_t hugeSize = SIZE_MAX / 2;  // a run-time count
  const std::size_t huge = hugeSize;
  EXPECT_EQ(MxObject::operator new(huge), nullptr);
  void* refused = &many;  // anything but null
  EXPECT_NO_THROW(refused = new Probe[huge / sizeof(Probe)]);
  EXPECT_EQ(refused, nullptr);
}

}  // namespace
