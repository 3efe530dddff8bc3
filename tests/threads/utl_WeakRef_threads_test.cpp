// Weak references copied and dropped on several threads at once, then seen
// by every thread as gone once the owner has died.
#define QUV_SOURCE_NAME "utl_WeakRef_threads_test"
#include <kelp/util/utl_WeakRef.h>

#include <gtest/gtest.h>

#include <latch>
#include <memory>
#include <thread>
#include <vector>

using namespace qor::quv::util;

namespace {

class Target {
 public:
  Target() : self_(this) {}
  WeakRefBase weak() const { return self_; }

 private:
  WeakRefBase self_;
};

constexpr int kThreads = 4;

}  // namespace

TEST(WeakRefThreads, CopiesOnManyThreadsOutliveTheOwnerAndFreeTheData) {
  auto target = std::make_unique<Target>();
  const WeakRefBase shared = target->weak();
  const WeakRefData* data = shared.getData();
  std::latch copiesHeld(kThreads + 1);
  std::latch ownerGone(1);
  std::vector<int> sawNull(kThreads, 0);
  std::vector<int> sawTarget(kThreads, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&, t] {
      // Churn: copies made and dropped while other threads do the same.
      std::vector<WeakRefBase> held;
      for (int i = 0; i < 3000; ++i) {
        WeakRefBase a(shared);
        WeakRefBase b;
        b = a;
        if (i % 7 == 0) held.push_back(b);
        if (held.size() > 20) held.clear();
        if (a.getRef() == target.get()) ++sawTarget[t];
      }
      held.clear();
      WeakRefBase mine(shared);
      copiesHeld.arrive_and_wait();
      ownerGone.wait();
      sawNull[t] = mine.isNull() && mine.getRef() == nullptr;
    });
  copiesHeld.arrive_and_wait();
  // Every thread holds one copy; with ours and the owner's that makes:
  EXPECT_EQ(data->getCount(), kThreads + 2);
  target.reset();
  EXPECT_EQ(data->getCount(), kThreads + 1);
  ownerGone.count_down();
  for (auto& th : threads) th.join();
  for (int t = 0; t < kThreads; ++t) {
    EXPECT_EQ(sawTarget[t], 3000) << t;
    EXPECT_TRUE(sawNull[t]) << t;
  }
  EXPECT_TRUE(shared.isNull());
  EXPECT_EQ(data->getCount(), 1);  // only `shared`, which frees it last
}

TEST(WeakRefThreads, LastCopyDroppedOnAnotherThreadFreesTheData) {
  auto* target = new Target();
  std::vector<std::thread> threads;
  {
    WeakRefBase w = target->weak();
    delete target;  // owner gone before the copies move to other threads
    for (int t = 0; t < kThreads; ++t)
      threads.emplace_back([copy = w] {
        WeakRefBase again = copy;
        EXPECT_TRUE(again.isNull());
      });
  }
  // The threads hold the last references; whichever drops last frees the
  // block (the sanitizer builds report a leak or a double free otherwise).
  for (auto& th : threads) th.join();
}
