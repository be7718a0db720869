// mtype: splitting a class name, copies, comparison, and GetType's names.
#include <gtest/gtest.h>
#include <mlib/exceptions.h>
#include <mlib/object.h>

#include <string>

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
using mlib::detail::MtypeAccess;

std::string str(const char* text) { return text == nullptr ? "<null>" : text; }

TEST(Mtype, SplitsNamesAtTheLastSpaceAndTheFirstColonsAfterIt) {
  struct Row {
    const char* name;
    const char* namespaceName;
    const char* className;
  };
  const Row rows[] = {
      {"class mlib::String", "mlib", "String"},
      {"class mlib::MxException", "mlib", "MxException"},
      {"class a::b::Leaf", "a", "b::Leaf"},
      {"class Foo", "class Foo", "class Foo"},
      {"mlib::String", "mlib", "String"},
      {"class mlib::MakeFinal<class mlib::mtype>", "mlib", "mtype>"},
      {"", "", ""},
      {"a::b::c", "a", "b::c"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const mtype type = MtypeAccess::named(row.name);
    EXPECT_EQ(str(type.GetFullName()), row.name);
    EXPECT_EQ(str(type.GetNamespaceName()), row.namespaceName);
    EXPECT_EQ(str(type.GetClassNameW()), row.className);
  }
}

TEST(Mtype, CopiesOwnTheirTexts) {
  auto* source = new mtype(MtypeAccess::named("class a::b::Leaf"));
  const mtype copy(*source);
  mtype assigned = MtypeAccess::named("z::Z");
  assigned = *source;
  EXPECT_NE(copy.GetFullName(), source->GetFullName());
  EXPECT_NE(assigned.GetClassNameW(), source->GetClassNameW());
  delete source;
  for (const mtype* target : {&copy, static_cast<const mtype*>(&assigned)}) {
    EXPECT_EQ(str(target->GetFullName()), "class a::b::Leaf");
    EXPECT_EQ(str(target->GetNamespaceName()), "a");
    EXPECT_EQ(str(target->GetClassNameW()), "b::Leaf");
  }
  const char* before = assigned.GetFullName();
  const mtype& alias = assigned;
  assigned = alias;
  EXPECT_EQ(assigned.GetFullName(), before);
}

TEST(Mtype, EqualityNeedsTwoNamedRecordsWithTheSameFullName) {
  EXPECT_TRUE(MtypeAccess::named("a::B") == MtypeAccess::named("a::B"));
  EXPECT_FALSE(MtypeAccess::named("a::B") == MtypeAccess::named("a::b"));
  EXPECT_FALSE(MtypeAccess::named("a::B") == MtypeAccess::named("c::B"));
  const mtype unnamed = MtypeAccess::unnamed();
  EXPECT_EQ(unnamed.GetFullName(), nullptr);
  EXPECT_FALSE(unnamed == unnamed);
  EXPECT_FALSE(unnamed == MtypeAccess::named("a::B"));
  EXPECT_FALSE(MtypeAccess::named("a::B") == unnamed);
}

TEST(Mtype, GetTypeNamesTheMostDerivedClassByItsQualifiedName) {
  const mlib::MxException exception;
  const mtype type = static_cast<const mlib::MxObject&>(exception).GetType();
  EXPECT_EQ(str(type.GetFullName()), "mlib::MxException");
  EXPECT_EQ(str(type.GetNamespaceName()), "mlib");
  EXPECT_EQ(str(type.GetClassNameW()), "MxException");
  EXPECT_TRUE(type == mlib::MxException(5).GetType());
  EXPECT_FALSE(type == mlib::MxBaseException(1, 0, nullptr).GetType());

  const mtype deep = outer::inner::Deep().GetType();
  EXPECT_EQ(str(deep.GetFullName()), "outer::inner::Deep");
  EXPECT_EQ(str(deep.GetNamespaceName()), "outer");
  EXPECT_EQ(str(deep.GetClassNameW()), "inner::Deep");
}

}  // namespace
