// MxObject (identity, the root's default operations, the class allocation operators) and
// mtype (splitting a class name, copies, comparison, GetType's names).
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
  const mtype& alias = assigned;
  assigned = alias;
  EXPECT_EQ(assigned.GetFullName(), before) << "self-assignment changes nothing";
  const std::pair<mtype, std::string> rows[] = {
      // the record; full name|namespace|class
      {named("class mlib::String"), "class mlib::String|mlib|String"},
      {named("class Foo"), "class Foo|class Foo|class Foo"},
      {named("mlib::String"), "mlib::String|mlib|String"},
      {named("class mlib::MakeFinal<class mlib::mtype>"),
       "class mlib::MakeFinal<class mlib::mtype>|mlib|mtype>"},
      {named(""), "||"},
      {named("a::b::c"), "a::b::c|a|b::c"},
      {named("a::B::c"), "a::B::c|a|B::c"},  // only the case differs from the row above
      {named("::Foo"), "::Foo||Foo"},
      {copy, "class a::b::Leaf|a|b::Leaf"},
      {assigned, "class a::b::Leaf|a|b::Leaf"},
      {named(nullptr), "<null>|<null>|<null>"},
      {static_cast<const MxObject&>(MxException(1)).GetType(),
       "mlib::MxException|mlib|MxException"},
      {MxException(5).GetType(), "mlib::MxException|mlib|MxException"},
      {MxBaseException(1, 0, nullptr).GetType(), "mlib::MxBaseException|mlib|MxBaseException"},
  };
  for (const auto& [type, want] : rows) {
    EXPECT_EQ(str(type.GetFullName()) + "|" + str(type.GetNamespaceName()) + "|" +
                  str(type.GetClassNameW()),
              want);
    // Equal when both are named and the full names match byte for byte.
    for (const auto& [other, otherWant] : rows) {
      const bool equal = type.GetFullName() != nullptr &&
                         want.substr(0, want.find('|')) == otherWant.substr(0, otherWant.find('|'));
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
  MxException other;
  rb = static_cast<MxObject&>(other);  // the root's assignment, across classes
  EXPECT_TRUE(b.value == 2 && rb.GetType() == ra.GetType());
  const String root(MLIB_T(
      "String can not be printed, as the class couldn't interpret this type of instance yet."));
  const MxBaseException base(-4, 3, MLIB_T("not printed"));  // does not override it
  EXPECT_TRUE(static_cast<const MxObject&>(base).PrintToString() == root);
  EXPECT_TRUE(ra.PrintToString() == root);

  Probe* many = new Probe[3];
  ASSERT_TRUE(many != nullptr && many[2].value == 7);
  delete[] many;
  delete new Probe;
  // The heap refuses: null, no exception, no constructor run.
  volatile std::size_t hugeSize = SIZE_MAX / 2;  // a run-time count
  const std::size_t huge = hugeSize;
  EXPECT_EQ(MxObject::operator new(huge), nullptr);
  void* refused = &many;  // anything but null
  EXPECT_NO_THROW(refused = new Probe[huge / sizeof(Probe)]);
  EXPECT_EQ(refused, nullptr);
}

}  // namespace
}  // namespace mlib
