// The runtime's mutex, condition variable and clock: results of misuse, the
// recursive mutex, deadlines in the past and injected failures.
#include <gtest/gtest.h>
#include <ktz/ktz_thread.h>
#include <ktz/ktz_time.h>

namespace {

// Clears injected failures whatever a test leaves behind.
class KtzThread : public testing::Test {
 protected:
  void TearDown() override { ktzFailNextCalls(nullptr, 0, 0); }
};

}  // namespace

TEST_F(KtzThread, NullArgumentsAreRejected) {
  KtzMutex m;
  KtzCondVar c;
  KtzTime t;
  ZResult results[] = {ktzMutexInit(nullptr),
                       ktzMutexDestroy(nullptr),
                       ktzMutexLock(nullptr),
                       ktzMutexUnlock(nullptr),
                       ktzMutexTryLock(nullptr),
                       ktzCondVarInit(nullptr),
                       ktzCondVarDestroy(nullptr),
                       ktzCondVarSignal(nullptr),
                       ktzCondVarBroadcast(nullptr),
                       ktzCondVarWait(nullptr, &m),
                       ktzCondVarWait(&c, nullptr),
                       ktzCondVarTimedWait(nullptr, &m, &t),
                       ktzCondVarTimedWait(&c, nullptr, &t),
                       ktzCondVarTimedWait(&c, &m, nullptr),
                       ktzGetCurrentTime(nullptr)};
  for (ZResult r : results) EXPECT_EQ(r, zob::kInvalidArgument);
}

TEST_F(KtzThread, MutexIsRecursiveAndChecksTheOwner) {
  KtzMutex m;
  ASSERT_EQ(ktzMutexInit(&m), zob::kOk);
  EXPECT_EQ(ktzMutexUnlock(&m), zob::kPermissionDenied);  // not held
  EXPECT_EQ(ktzMutexLock(&m), zob::kOk);
  EXPECT_EQ(ktzMutexLock(&m), zob::kOk);
  EXPECT_EQ(ktzMutexTryLock(&m), zob::kOk);
  EXPECT_EQ(ktzMutexDestroy(&m), zob::kBusy);  // still held
  EXPECT_EQ(ktzMutexUnlock(&m), zob::kOk);
  EXPECT_EQ(ktzMutexUnlock(&m), zob::kOk);
  EXPECT_EQ(ktzMutexUnlock(&m), zob::kOk);
  EXPECT_EQ(ktzMutexUnlock(&m), zob::kPermissionDenied);
  EXPECT_EQ(ktzMutexDestroy(&m), zob::kOk);
}

TEST_F(KtzThread, TimedWaitOnAPastDeadlineTimesOut) {
  KtzMutex m;
  KtzCondVar c;
  ASSERT_EQ(ktzMutexInit(&m), zob::kOk);
  ASSERT_EQ(ktzCondVarInit(&c), zob::kOk);
  ASSERT_EQ(ktzMutexLock(&m), zob::kOk);
  KtzTime now;
  ASSERT_EQ(ktzGetCurrentTime(&now), zob::kOk);
  EXPECT_GE(now.microseconds, 0);
  EXPECT_LE(now.microseconds, 999999);
  EXPECT_GT(now.seconds, 1600000000);  // after September 2020
  KtzTime past{now.seconds - 1, now.microseconds};
  EXPECT_EQ(ktzCondVarTimedWait(&c, &m, &past), zob::kTimeOut);
  KtzTime epoch{0, 0};
  EXPECT_EQ(ktzCondVarTimedWait(&c, &m, &epoch), zob::kTimeOut);
  KtzTime bad{now.seconds, 1000000};
  EXPECT_EQ(ktzCondVarTimedWait(&c, &m, &bad), zob::kInvalidArgument);
  bad.microseconds = -1;
  EXPECT_EQ(ktzCondVarTimedWait(&c, &m, &bad), zob::kInvalidArgument);
  EXPECT_EQ(ktzMutexUnlock(&m), zob::kOk);
  // Waiting without holding the mutex is refused.
  EXPECT_EQ(ktzCondVarTimedWait(&c, &m, &past), zob::kPermissionDenied);
  EXPECT_EQ(ktzCondVarWait(&c, &m), zob::kPermissionDenied);
  EXPECT_EQ(ktzCondVarSignal(&c), zob::kOk);
  EXPECT_EQ(ktzCondVarBroadcast(&c), zob::kOk);
  EXPECT_EQ(ktzCondVarDestroy(&c), zob::kOk);
  EXPECT_EQ(ktzMutexDestroy(&m), zob::kOk);
}

TEST_F(KtzThread, InjectedFailuresHitTheNamedFunctionOnly) {
  KtzMutex m;
  ktzFailNextCalls("ktzMutexInit", zob::kOutOfMemory, 2);
  EXPECT_EQ(ktzMutexInit(&m), zob::kOutOfMemory);
  EXPECT_EQ(ktzMutexInit(&m), zob::kOutOfMemory);
  ASSERT_EQ(ktzMutexInit(&m), zob::kOk);
  ktzFailNextCalls("ktzGetCurrentTime", zob::kIOError);
  EXPECT_EQ(ktzMutexLock(&m), zob::kOk);
  EXPECT_EQ(ktzMutexUnlock(&m), zob::kOk);
  KtzTime t{5, 6};
  EXPECT_EQ(ktzGetCurrentTime(&t), zob::kIOError);
  EXPECT_EQ(t.seconds, 5);  // untouched
  EXPECT_EQ(ktzGetCurrentTime(&t), zob::kOk);
  // A count of 0 clears a request; unknown and overlong names change nothing.
  ktzFailNextCalls("ktzMutexLock", zob::kBusy, 1);
  ktzFailNextCalls("ktzMutexLock", zob::kBusy, 0);
  EXPECT_EQ(ktzMutexLock(&m), zob::kOk);
  ktzFailNextCalls(std::string(100, 'x').c_str(), zob::kBusy, 1);
  EXPECT_EQ(ktzMutexUnlock(&m), zob::kOk);
  EXPECT_EQ(ktzMutexDestroy(&m), zob::kOk);
}
