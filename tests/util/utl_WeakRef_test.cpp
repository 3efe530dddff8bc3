// Weak references on one thread: sharing, the owner's death, assignment and
// the broken count.
#define QUV_SOURCE_NAME "utl_WeakRef_test"
#include <kelp/util/utl_WeakRef.h>

#include <gtest/gtest.h>

#include <memory>
#include <optional>

using namespace qor::quv::util;

namespace {

// An object that hands out weak references to itself.
class Target {
 public:
  Target() : self_(this) {}
  WeakRefBase weak() const { return self_; }
  const WeakRefBase& owner() const { return self_; }

 private:
  WeakRefBase self_;
};

}  // namespace

TEST(WeakRef, DefaultHandleIsNullAndNotOwner) {
  WeakRefBase w;
  EXPECT_TRUE(w.isNull());
  EXPECT_EQ(w.getRef(), nullptr);
  EXPECT_FALSE(w.isOwner());
  ASSERT_NE(w.getData(), nullptr);
  EXPECT_EQ(w.getData()->getCount(), 1);
}

TEST(WeakRef, CopiesSeeTheObjectUntilTheOwnerDies) {
  auto target = std::make_unique<Target>();
  EXPECT_TRUE(target->owner().isOwner());
  EXPECT_EQ(target->owner().getRef(), target.get());
  WeakRefBase a = target->weak();
  WeakRefBase b(a);
  EXPECT_FALSE(a.isOwner());
  EXPECT_FALSE(b.isOwner());
  EXPECT_EQ(a.getRef(), target.get());
  EXPECT_EQ(a.getData(), target->owner().getData());
  EXPECT_EQ(a.getData()->getCount(), 3);
  EXPECT_TRUE(a == b);
  EXPECT_TRUE(a == target->owner());
  target.reset();
  // The copies outlive the owner and see the object gone.
  EXPECT_TRUE(a.isNull());
  EXPECT_TRUE(b.isNull());
  EXPECT_EQ(a.getRef(), nullptr);
  EXPECT_EQ(a.getData()->getCount(), 2);
  EXPECT_EQ(a.getData(), b.getData());
  // The data is freed by the last copy (ASan checks that it is, once).
}

TEST(WeakRef, EqualityComparesTheObjectsNotTheData) {
  Target t1;
  Target t2;
  WeakRefBase a = t1.weak();
  WeakRefBase b = t1.weak();
  WeakRefBase c = t2.weak();
  EXPECT_TRUE(a == b);
  EXPECT_FALSE(a != b);
  EXPECT_TRUE(a != c);
  // Two separate null handles share no data but compare equal.
  WeakRefBase n1;
  WeakRefBase n2;
  EXPECT_NE(n1.getData(), n2.getData());
  EXPECT_TRUE(n1 == n2);
  EXPECT_TRUE(n1 != a);
}

TEST(WeakRef, AssignmentSharesTheOtherDataAndKeepsTheOwnerFlag) {
  Target t;
  WeakRefBase w;
  const WeakRefData* shared = t.owner().getData();
  w = t.weak();
  EXPECT_EQ(w.getData(), shared);
  EXPECT_EQ(w.getRef(), &t);
  EXPECT_FALSE(w.isOwner());
  EXPECT_EQ(shared->getCount(), 2);
  // Self-assignment and assigning the same data again change nothing.
  WeakRefBase& self = w;
  w = self;
  w = t.owner();
  EXPECT_EQ(shared->getCount(), 2);
  EXPECT_EQ(w.getRef(), &t);
  {
    // An owner assigned a copy of another object stays owner, and clears the
    // pointer of the data it now shares when it dies.
    std::optional<Target> other;
    other.emplace();
    WeakRefBase owner(static_cast<void*>(&t));
    EXPECT_TRUE(owner.isOwner());
    WeakRefBase seen = other->weak();
    owner = seen;
    EXPECT_TRUE(owner.isOwner());
    EXPECT_EQ(owner.getRef(), &*other);
    EXPECT_EQ(seen.getData()->getCount(), 3);
    {
      WeakRefBase dying = std::move(owner);  // a copy: not owner
      EXPECT_FALSE(dying.isOwner());
    }
    EXPECT_EQ(seen.getRef(), &*other);
    other.reset();
    EXPECT_TRUE(seen.isNull());
  }
}

TEST(WeakRef, DataCountsItsReferencesAndDiesAtZero) {
  auto* data = new WeakRefData(nullptr);
  EXPECT_EQ(data->getCount(), 1);
  EXPECT_EQ(data->addRef(), 2);
  EXPECT_EQ(data->addRef(), 3);
  int object = 0;
  data->setRef(&object);
  EXPECT_EQ(data->getRef(), &object);
  EXPECT_EQ(data->release(), 2);
  EXPECT_EQ(data->release(), 1);
  EXPECT_EQ(data->release(), 0);  // freed here; ASan reports a leak otherwise
}
