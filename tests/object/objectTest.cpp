// MxObject: identity, the root's default operations and the class allocation operators.
#include <mlib/exceptions.h>
#include <mlib/object.h>
#include <mlib/string.h>

#include <gtest/gtest.h>

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

constexpr char16_t kRootText[] =
    u"String can not be printed, as the class couldn't interpret this type of instance yet.";

std::u16string text(const mlib::String& s) {
  const mlib::WideChar* units = s.toString();
  if (units == nullptr) return {};
  return std::u16string(units, units + s.GetLength());
}

TEST(MxObject, EqualityIsIdentity) {
  Probe a(7);
  Probe b(7);  // same class, same contents, another object
  const MxObject& ra = a;
  const MxObject& rb = b;
  EXPECT_TRUE(ra.Equals(ra));
  EXPECT_TRUE(ra == ra);
  EXPECT_FALSE(ra != ra);
  EXPECT_FALSE(ra.Equals(rb));
  EXPECT_FALSE(ra == rb);
  EXPECT_TRUE(ra != rb);
  EXPECT_EQ(ra.GetThisObjectBuffer(), static_cast<const void*>(&a));
  EXPECT_NE(ra.GetThisObjectBuffer(), rb.GetThisObjectBuffer());
}

TEST(MxObject, CloneAndAssignmentCopyNothing) {
  Probe a(1);
  Probe b(2);
  MxObject& ra = a;
  MxObject& rb = b;
  rb.Clone(ra);
  EXPECT_EQ(b.value, 2);
  rb = ra;  // the root's assignment
  EXPECT_EQ(b.value, 2);
  EXPECT_TRUE(rb.GetType() == Probe(0).GetType());

  OtherProbe other;
  MxObject& ro = other;
  rb = ro;  // across classes: b stays a Probe with its own value
  EXPECT_EQ(b.value, 2);
  EXPECT_FALSE(rb.GetType() == ro.GetType());
}

TEST(MxObject, PrintToStringGivesTheRootText) {
  const Probe probe(3);
  EXPECT_EQ(text(probe.PrintToString()), kRootText);
  // The base exception does not override it either.
  const mlib::MxBaseException base(-4, 3, MLIB_T("Call Stack: Byte::[]"));
  EXPECT_EQ(text(base.PrintToString()), kRootText);
}

TEST(MxObject, AllocationOperatorsUseTheRuntimeHeapAndNeverThrow) {
  Probe* probe = new Probe(5);
  ASSERT_NE(probe, nullptr);
  EXPECT_EQ(probe->value, 5);
  delete probe;

  // A block from the class operator goes back through free (the address sanitizer reports
  // an allocator mismatch otherwise).
  void* block = MxObject::operator new(32);
  ASSERT_NE(block, nullptr);
  std::free(block);
  MxObject::operator delete(nullptr);
  MxObject::operator delete[](nullptr);

  Probe* many = new Probe[3]{Probe(1), Probe(2), Probe(3)};
  ASSERT_NE(many, nullptr);
  EXPECT_EQ(many[2].value, 3);
  delete[] many;

  // The heap refuses: null, no exception, no constructor run.
  volatile std::size_t hugeSize = SIZE_MAX / 2;  // not a constant: a count, not a type
  const std::size_t huge = hugeSize;
  EXPECT_EQ(MxObject::operator new(huge), nullptr);
  EXPECT_EQ(MxObject::operator new[](huge), nullptr);
  void* refused = nullptr;
  EXPECT_NO_THROW(refused = new Probe[huge / sizeof(Probe)]);
  EXPECT_EQ(refused, nullptr);
}

}  // namespace
