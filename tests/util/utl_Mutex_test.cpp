// Mutex and its guards on one thread: results, the exact failure messages,
// objects whose initialisation failed, and the guards' lock state.
#define QUV_SOURCE_NAME "utl_Mutex_test"
#include <kelp/util/utl_Mutex.h>

#include <gtest/gtest.h>
#include <kelp/host.h>
#include <ktz/ktz_thread.h>

#include <string>
#include <vector>

using namespace qor::quv::util;
using kelp::host::Application;
using kelp::host::LogLevel;
using kelp::host::LogRecord;
using kelp::host::RecordingLogger;

namespace {

class MutexTest : public testing::Test {
 protected:
  MutexTest() : app(Application::create()), log(RecordingLogger::create()) {
    app->installLogger(log.get());
  }
  void TearDown() override { ktzFailNextCalls(nullptr, 0, 0); }

  std::vector<LogRecord> records() const { return log->records(); }
  static LogRecord debug(const std::string& text) {
    return LogRecord{LogLevel::Debug, "quv:kelp", text};
  }

  zob::Ref<Application> app;
  zob::Ref<RecordingLogger> log;
};

}  // namespace

TEST_F(MutexTest, LocksRecursivelyAndKeepsTheApplication) {
  const std::uint32_t before = app->refCount();
  {
    Mutex m(app.get());
    EXPECT_TRUE(m.isInitialized());
    EXPECT_EQ(app->refCount(), before + 1);
    EXPECT_EQ(m.getApplication(), app.get());
    EXPECT_NE(static_cast<KtzMutex*>(m), nullptr);
    EXPECT_EQ(m.lock(), zob::kOk);
    EXPECT_EQ(m.tryLock(), zob::kOk);
    EXPECT_EQ(m.unlock(), zob::kOk);
    EXPECT_EQ(m.unlock(), zob::kOk);
    m.setApplication(nullptr);
    EXPECT_EQ(app->refCount(), before);
    m.setApplication(app.get());
    EXPECT_EQ(app->refCount(), before + 1);
  }
  EXPECT_EQ(app->refCount(), before);
  EXPECT_TRUE(records().empty());
}

TEST_F(MutexTest, RuntimeFailuresAreLoggedWithTheErrorText) {
  Mutex m(app.get());
  // A real failure: unlocking a mutex this thread does not hold.
  EXPECT_EQ(m.unlock(), zob::kPermissionDenied);
  ktzFailNextCalls("ktzMutexLock", zob::kOutOfMemory);
  EXPECT_EQ(m.lock(), zob::kOutOfMemory);
  ktzFailNextCalls("ktzMutexTryLock", zob::kBusy);
  EXPECT_EQ(m.tryLock(), zob::kBusy);
  EXPECT_EQ(records(), (std::vector<LogRecord>{
                           debug("Mutex unlock failed: permission denied"),
                           debug("Mutex lock failed: out of memory"),
                           debug("Mutex lock attempt failed: resource busy"),
                       }));
}

TEST_F(MutexTest, DestroyingAHeldMutexIsLogged) {
  {
    Mutex m(app.get());
    ASSERT_EQ(m.lock(), zob::kOk);
  }
  EXPECT_EQ(records(), std::vector<LogRecord>{debug("Mutex destruction failed: resource busy")});
  log->clear();
  {
    Mutex m(app.get());
    ktzFailNextCalls("ktzMutexDestroy", zob::kInvalidState);
  }
  EXPECT_EQ(records(), std::vector<LogRecord>{debug("Mutex destruction failed: invalid state")});
}

TEST_F(MutexTest, FailedInitialisationAnswersInvalidStateWithoutTheRuntime) {
  ktzFailNextCalls("ktzMutexInit", zob::kOutOfMemory);
  {
    Mutex m(app.get());
    EXPECT_FALSE(m.isInitialized());
    // Injected lock failures stay pending: the runtime is not called.
    ktzFailNextCalls("ktzMutexLock", zob::kIOError);
    EXPECT_EQ(m.lock(), zob::kInvalidState);
    EXPECT_EQ(m.unlock(), zob::kInvalidState);
    EXPECT_EQ(m.tryLock(), zob::kInvalidState);
    ktzFailNextCalls(nullptr, 0, 0);
    ktzFailNextCalls("ktzMutexDestroy", zob::kIOError);
  }
  // Nor is the runtime object destroyed: the injected failure is still due.
  KtzMutex probe{PTHREAD_MUTEX_INITIALIZER};
  EXPECT_EQ(ktzMutexDestroy(&probe), zob::kIOError);
  EXPECT_EQ(records(), std::vector<LogRecord>{debug("Mutex initialization failed: out of memory")});
}

TEST_F(MutexTest, WithoutAnApplicationFailuresAreOnlyReturned) {
  testing::internal::CaptureStderr();
  {
    ktzFailNextCalls("ktzMutexInit", zob::kOutOfMemory);
    Mutex failed(nullptr);
    EXPECT_EQ(failed.lock(), zob::kInvalidState);
    Mutex m(nullptr);
    EXPECT_EQ(m.unlock(), zob::kPermissionDenied);
    EXPECT_EQ(m.lock(), zob::kOk);
  }  // destroyed while held
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(MutexTest, LockerAndUnlockerBothHoldTheMutexForTheSection) {
  Mutex m(app.get());
  // unlock() succeeds exactly once per lock held by this thread, so counting
  // successful unlocks tells how often the mutex is held.
  auto depth = [&m] {
    int n = 0;
    while (m.unlock() == zob::kOk) ++n;
    for (int i = 0; i < n; ++i) m.lock();
    return n;
  };
  {
    MutexLocker guard(&m);
    EXPECT_EQ(guard.getMutex(), &m);
    EXPECT_EQ(depth(), 1);
    {
      MutexUnlocker inner(&m);
      EXPECT_EQ(inner.getMutex(), &m);
      EXPECT_EQ(depth(), 2);  // locked once more, not released
    }
    EXPECT_EQ(depth(), 1);
  }
  EXPECT_EQ(depth(), 0);
  {
    MutexUnlocker alone(&m);
    EXPECT_EQ(depth(), 1);
  }
  EXPECT_EQ(depth(), 0);
  // Guards on no mutex do nothing.
  MutexLocker none(nullptr);
  MutexUnlocker noneEither(nullptr);
  EXPECT_EQ(none.getMutex(), nullptr);
  EXPECT_EQ(noneEither.getMutex(), nullptr);
  log->clear();
}
