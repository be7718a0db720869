// MxObject (identity, the root's default operations, the allocation operators) and mtype
// (splitting a class name, copies, comparison, GetType's names).
#include <gtest/gtest.h>
#include <mlib/exceptions.h>
#include <mlib/object.h>

#include <cstdint>
#include <string>

// Lets the allocation test see malloc refuse a huge request instead of stopping the program.
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }

namespace mlib {
namespace detail {
struct MtypeAccess {  // reaches the record's private construction and naming
  static mtype named(const char* name) {
    mtype type;
    type.setName(name);  // a null name leaves it unnamed
    return type;
  }
};
}  // namespace detail

namespace {

mtype named(const char* name) { return detail::MtypeAccess::named(name); }

std::string str(const char* text) { return text == nullptr ? "<null>" : text; }

TEST(Mtype, NamesSplitAtTheLastSpaceAndTheFirstColonsAfterItAndCompareByFullName) {
  auto* source = new mtype(named("class a::b::Leaf"));
  const mtype copy(*source);
  mtype assigned = named("z::Z");
  assigned = *source;
  EXPECT_TRUE(copy.GetFullName() != source->GetFullName() &&
              assigned.GetClassNameW() != source->GetClassNameW());
  delete source;  // the copies own their texts
  const char* before = assigned.GetFullName();
  assigned = static_cast<const mtype&>(assigned);
  EXPECT_EQ(assigned.GetFullName(), before) << "self-assignment changes nothing";
  const std::pair<mtype, std::string> rows[] = {
      {named("class Foo"), "class Foo|class Foo|class Foo"},
      {named("class a::F<class b::c>"), "class a::F<class b::c>|b|c>"},  // no template rule
      {named(""), "||"},
      {named("a::b::c"), "a::b::c|a|b::c"},
      {named("a::B::c"), "a::B::c|a|B::c"},  // only the case differs from the row above
      {named("::Foo"), "::Foo||Foo"},
      {copy, "class a::b::Leaf|a|b::Leaf"},
      {assigned, "class a::b::Leaf|a|b::Leaf"},
      {named(nullptr), "<null>|<null>|<null>"},
      {static_cast<const MxObject&>(MxException()).GetType(), "mlib::MxException|mlib|MxException"},
  };
  for (const auto& [type, want] : rows) {
    EXPECT_EQ(str(type.GetFullName()) + "|" + str(type.GetNamespaceName()) + "|" +
                  str(type.GetClassNameW()),
              want);
    // Equal when both are named and the full names match byte for byte.
    for (const auto& [other, otherWant] : rows) {
      const bool equal = type.GetFullName() != nullptr && want == otherWant;
      EXPECT_TRUE((type == other) == equal && (type != other) != equal)
          << want << " vs " << otherWant;
    }
  }
}

TEST(MxObject, IdentityRootTextCopiesThatCopyNothingAndTheHeapOperators) {
  struct Probe : MxObject {
    int value = 7;
  };
  Probe a, b;  // same class, same contents, two objects
  MxObject &ra = a, &rb = b;
  EXPECT_TRUE(ra.Equals(ra) && ra == ra && ra.GetThisObjectBuffer() == &a);
  EXPECT_TRUE(!ra.Equals(rb) && !(ra == rb) && ra != rb);
  b.value = 2;
  rb.Clone(ra);
  rb = static_cast<const MxObject&>(MxException());  // the root's assignment, across classes
  EXPECT_TRUE(b.value == 2 && rb.GetType() == ra.GetType());
  const String root(MLIB_T(
      "String can not be printed, as the class couldn't interpret this type of instance yet."));
  const MxBaseException base(-4, 3, MLIB_T("not printed"));  // does not override it
  EXPECT_TRUE(base.PrintToString() == root && ra.PrintToString() == root);
  Probe* many = new Probe[3];
  ASSERT_TRUE(many != nullptr && many[2].value == 7);
  delete[] many;
  delete new Probe;
  // The heap refuses: null, no exception, no constructor run.
  volatile std::size_t hugeSize = SIZE_MAX / 2;  // a run-time count
  EXPECT_EQ(MxObject::operator new(hugeSize), nullptr);
  void* refused = &many;  // anything but null
  EXPECT_NO_THROW(refused = new Probe[hugeSize / sizeof(Probe)]);
  EXPECT_EQ(refused, nullptr);
}

}  // namespace
}  // namespace mlib
