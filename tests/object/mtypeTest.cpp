// mtype: splitting a class name, copies, comparison, and GetType's names.
#include <mlib/exceptions.h>
#include <mlib/object.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace mlib::detail {

// Reaches the record's private construction and naming.
struct MtypeAccess {
  static mtype unnamed() { return mtype(); }
  static void setName(mtype& type, const char* name) { type.setName(name); }
};

}  // namespace mlib::detail

namespace outer::inner {
struct Deep : mlib::MxObject {};
}  // namespace outer::inner

struct Global : mlib::MxObject {};

namespace {

using mlib::mtype;
using mlib::detail::MtypeAccess;

std::string str(const char* text) { return text == nullptr ? "<null>" : text; }

mtype named(const char* name) {
  mtype type = MtypeAccess::unnamed();
  MtypeAccess::setName(type, name);
  return type;
}

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
      {"Foo", "Foo", "Foo"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const mtype type = named(row.name);
    EXPECT_EQ(str(type.GetFullName()), row.name);
    EXPECT_EQ(str(type.GetNamespaceName()), row.namespaceName);
    EXPECT_EQ(str(type.GetClassNameW()), row.className);
  }
}

TEST(Mtype, RenamingReplacesAllThreeAndNullKeepsThem) {
  mtype type = named("class a::b::Leaf");
  MtypeAccess::setName(type, nullptr);
  EXPECT_EQ(str(type.GetFullName()), "class a::b::Leaf");
  EXPECT_EQ(str(type.GetClassNameW()), "b::Leaf");
  MtypeAccess::setName(type, "x::Y");
  EXPECT_EQ(str(type.GetFullName()), "x::Y");
  EXPECT_EQ(str(type.GetNamespaceName()), "x");
  EXPECT_EQ(str(type.GetClassNameW()), "Y");
  // Its own full name as the new name.
  MtypeAccess::setName(type, type.GetFullName());
  EXPECT_EQ(str(type.GetFullName()), "x::Y");
  EXPECT_EQ(str(type.GetClassNameW()), "Y");
}

TEST(Mtype, CopiesOwnTheirTexts) {
  auto* source = new mtype(named("class a::b::Leaf"));
  const mtype copy(*source);
  mtype assigned = named("z::Z");
  assigned = *source;
  const mtype* const targets[] = {&copy, &assigned};
  for (const mtype* target : targets) {
    EXPECT_NE(target->GetFullName(), source->GetFullName());
    EXPECT_NE(target->GetClassNameW(), source->GetClassNameW());
    EXPECT_NE(target->GetNamespaceName(), source->GetNamespaceName());
  }
  delete source;
  for (const mtype* target : targets) {
    EXPECT_EQ(str(target->GetFullName()), "class a::b::Leaf");
    EXPECT_EQ(str(target->GetNamespaceName()), "a");
    EXPECT_EQ(str(target->GetClassNameW()), "b::Leaf");
  }

  mtype self = named("p::Q");
  const char* before = self.GetFullName();
  const mtype& alias = self;
  self = alias;
  EXPECT_EQ(self.GetFullName(), before);
  EXPECT_EQ(str(self.GetClassNameW()), "Q");
}

TEST(Mtype, EqualityNeedsTwoNamedRecordsWithTheSameFullName) {
  EXPECT_TRUE(named("a::B") == named("a::B"));
  EXPECT_FALSE(named("a::B") == named("a::b"));  // case counts
  EXPECT_FALSE(named("a::B") == named("c::B"));  // same class part, other namespace
  const mtype unnamed = MtypeAccess::unnamed();
  EXPECT_EQ(unnamed.GetFullName(), nullptr);
  EXPECT_EQ(unnamed.GetClassNameW(), nullptr);
  EXPECT_EQ(unnamed.GetNamespaceName(), nullptr);
  EXPECT_FALSE(unnamed == unnamed);
  EXPECT_FALSE(unnamed == named("a::B"));
  EXPECT_FALSE(named("a::B") == unnamed);
  const mtype copyOfUnnamed(unnamed);
  EXPECT_EQ(copyOfUnnamed.GetFullName(), nullptr);
}

TEST(Mtype, GetTypeNamesTheMostDerivedClassByItsQualifiedName) {
  const mlib::MxException exception;
  const mlib::MxBaseException& asBase = exception;
  const mtype type = asBase.GetType();
  EXPECT_EQ(str(type.GetFullName()), "mlib::MxException");
  EXPECT_EQ(str(type.GetNamespaceName()), "mlib");
  EXPECT_EQ(str(type.GetClassNameW()), "MxException");

  EXPECT_TRUE(type == mlib::MxException(5).GetType());
  EXPECT_FALSE(type == mlib::MxBaseException(1, 0, nullptr).GetType());

  const outer::inner::Deep deep;
  EXPECT_EQ(str(deep.GetType().GetFullName()), "outer::inner::Deep");
  EXPECT_EQ(str(deep.GetType().GetNamespaceName()), "outer");
  EXPECT_EQ(str(deep.GetType().GetClassNameW()), "inner::Deep");

  const Global global;
  EXPECT_EQ(str(global.GetType().GetFullName()), "Global");
  EXPECT_EQ(str(global.GetType().GetClassNameW()), "Global");
  EXPECT_EQ(str(global.GetType().GetNamespaceName()), "Global");
}

}  // namespace
