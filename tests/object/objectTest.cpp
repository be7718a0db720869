// MxObject: identity, the root's default operations and the class allocation operators.
#include <gtest/gtest.h>
#include <mlib/exceptions.h>
#include <mlib/object.h>

#include <cstdint>
#include <cstdlib>
#include <string>

// Lets the allocation test see malloc refuse a huge request instead of stopping the program.
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }

namespace {

using mlib::MxObject;

struct Probe : MxObject {
  Probe() : value(0) {}
  explicit Probe(int v) : value(v) {}
  int value;
};
struct OtherProbe : MxObject {};

TEST(MxObject, EqualityIsIdentityAndCopiesCopyNothing) {
  Probe a(7);
  Probe b(7);  // same class, same contents, another object
  MxObject& ra = a;
  MxObject& rb = b;
  EXPECT_TRUE(ra.Equals(ra) && ra == ra);
  EXPECT_FALSE(ra.Equals(rb) || ra == rb);
  EXPECT_EQ(ra.GetThisObjectBuffer(), static_cast<const void*>(&a));

  b.value = 2;
  rb.Clone(ra);
  EXPECT_EQ(b.value, 2);
  OtherProbe other;
  rb = static_cast<MxObject&>(other);  // the root's assignment, across classes
  EXPECT_EQ(b.value, 2);
  EXPECT_TRUE(rb.GetType() == ra.GetType());
  EXPECT_FALSE(rb.GetType() == other.GetType());
}

TEST(MxObject, PrintToStringGivesTheRootText) {
  const std::u16string root =
      u"String can not be printed, as the class couldn't interpret this type of instance yet.";
  const mlib::MxBaseException base(-4, 3, MLIB_T("not printed"));  // does not override it
  const Probe probe(3);
  for (const MxObject* object :
       {static_cast<const MxObject*>(&base), static_cast<const MxObject*>(&probe)}) {
    const mlib::String text = object->PrintToString();
    ASSERT_EQ(text.GetLength(), static_cast<int>(root.size()));
    for (std::size_t i = 0; i < root.size(); ++i) EXPECT_EQ(text.toString()[i], root[i]);
  }
}

TEST(MxObject, AllocationOperatorsUseTheRuntimeHeapAndNeverThrow) {
  Probe* many = new Probe[3]{Probe(1), Probe(2), Probe(3)};
  ASSERT_NE(many, nullptr);
  EXPECT_EQ(many[2].value, 3);
  delete[] many;
  void* block = MxObject::operator new(32);
  ASSERT_NE(block, nullptr);
  MxObject::operator delete(block);

  // The heap refuses: null, no exception, no constructor run.
  volatile std::size_t hugeSize = SIZE_MAX / 2;  // a run-time count
  const std::size_t huge = hugeSize;
  EXPECT_EQ(MxObject::operator new(huge), nullptr);
  int sentinel = 0;
  void* refused = &sentinel;
  EXPECT_NO_THROW(refused = new Probe[huge / sizeof(Probe)]);
  EXPECT_EQ(refused, nullptr);
}

}  // namespace
