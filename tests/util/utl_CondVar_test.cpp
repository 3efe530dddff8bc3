// CondVar on one thread: argument checks, time-outs without messages, the
// deadline arithmetic and the exact failure messages.
#define QUV_SOURCE_NAME "utl_CondVar_test"
#include <kelp/util/utl_CondVar.h>

#include <gtest/gtest.h>
#include <kelp/host.h>
#include <ktz/ktz_thread.h>

#include <climits>
#include <string>
#include <vector>

using namespace qor::quv::util;
using kelp::host::Application;
using kelp::host::LogLevel;
using kelp::host::LogRecord;
using kelp::host::RecordingLogger;

namespace {

class CondVarTest : public testing::Test {
 protected:
  CondVarTest() : app(Application::create()), log(RecordingLogger::create()) {
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

TEST(CondVarDeadline, AddsTheTimeoutAndCarriesMicroseconds) {
  struct Case {
    KtzTime now;
    long timeoutMs;
    KtzTime expected;
  } cases[] = {
      {{10, 600000}, 1500, {12, 100000}},
      {{10, 0}, 0, {10, 0}},
      {{10, 999999}, 0, {10, 999999}},
      {{10, 999999}, 1, {11, 999}},
      {{10, 400000}, 600, {11, 0}},
      {{10, 399999}, 600, {10, 999999}},
      {{0, 0}, 999, {0, 999000}},
      {{7, 500000}, 2000, {9, 500000}},
      {{1700000000, 999000}, 86400001, {1700086401, 0}},
      {{0, 0}, LONG_MAX, {LONG_MAX / 1000, static_cast<std::int32_t>(LONG_MAX % 1000) * 1000}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message()
                 << c.now.seconds << "s " << c.now.microseconds << "us + " << c.timeoutMs << "ms");
    KtzTime d = CondVar::deadlineAfter(c.now, c.timeoutMs);
    EXPECT_EQ(d.seconds, c.expected.seconds);
    EXPECT_EQ(d.microseconds, c.expected.microseconds);
  }
}

TEST_F(CondVarTest, InvalidArgumentsAreRefusedWithoutWaiting) {
  CondVar cv(app.get());
  Mutex m(app.get());
  EXPECT_TRUE(cv.isInitialized());
  // Were the runtime asked, these would time out or fail differently.
  ktzFailNextCalls("ktzGetCurrentTime", zob::kIOError, 10);
  EXPECT_EQ(cv.timedWait(nullptr, 10), zob::kInvalidArgument);
  EXPECT_EQ(cv.timedWait(&m, -1), zob::kInvalidArgument);
  EXPECT_EQ(cv.timedWait(&m, LONG_MIN), zob::kInvalidArgument);
  EXPECT_EQ(cv.wait(nullptr), zob::kInvalidArgument);
  EXPECT_TRUE(records().empty());
}

TEST_F(CondVarTest, ATimedWaitThatRunsOutReturnsTheTimeOutCodeSilently) {
  CondVar cv(app.get());
  Mutex m(app.get());
  MutexLocker guard(&m);
  EXPECT_EQ(cv.timedWait(&m, 0), zob::kTimeOut);
  EXPECT_EQ(cv.timedWait(&m, 3), zob::kTimeOut);
  EXPECT_EQ(zob::kTimeOut, zob::code(0x96230025u));
  EXPECT_TRUE(records().empty());
}

TEST_F(CondVarTest, SignalAndBroadcastWithoutWaitersSucceed) {
  CondVar cv(app.get());
  EXPECT_EQ(cv.signal(), zob::kOk);
  EXPECT_EQ(cv.broadcast(), zob::kOk);
  EXPECT_NE(static_cast<KtzCondVar*>(cv), nullptr);
  EXPECT_TRUE(records().empty());
}

TEST_F(CondVarTest, RuntimeFailuresAreLoggedWithTheErrorText) {
  {
    CondVar cv(app.get());
    Mutex m(app.get());
    // Real failures: waiting with a mutex this thread does not hold.
    EXPECT_EQ(cv.wait(&m), zob::kPermissionDenied);
    EXPECT_EQ(cv.timedWait(&m, 5), zob::kPermissionDenied);
    ktzFailNextCalls("ktzCondVarSignal", zob::kOutOfMemory);
    EXPECT_EQ(cv.signal(), zob::kOutOfMemory);
    ktzFailNextCalls("ktzCondVarBroadcast", zob::kIOError);
    EXPECT_EQ(cv.broadcast(), zob::kIOError);
    ktzFailNextCalls("ktzGetCurrentTime", zob::kIOError);
    EXPECT_EQ(cv.timedWait(&m, 5), zob::kIOError);
    ktzFailNextCalls("ktzCondVarDestroy", zob::kBusy);
  }
  EXPECT_EQ(records(), (std::vector<LogRecord>{
                           debug("Wait on condition variable failed: permission denied"),
                           debug("Timed wait on condition variable failed: permission denied"),
                           debug("Signaling of condition variable failed: out of memory"),
                           debug("Broadcast on condition variable failed: input/output error"),
                           debug("Failed to get current time for timed wait on condition variable: "
                                 "input/output error"),
                           debug("Destruction of condition variable failed: resource busy"),
                       }));
}

TEST_F(CondVarTest, FailedInitialisationAnswersInvalidState) {
  ktzFailNextCalls("ktzCondVarInit", zob::kOutOfMemory);
  {
    CondVar cv(app.get());
    EXPECT_FALSE(cv.isInitialized());
    Mutex m(app.get());
    MutexLocker guard(&m);
    EXPECT_EQ(cv.signal(), zob::kInvalidState);
    EXPECT_EQ(cv.broadcast(), zob::kInvalidState);
    EXPECT_EQ(cv.wait(&m), zob::kInvalidState);
    EXPECT_EQ(cv.timedWait(&m, 5), zob::kInvalidState);
    // The argument checks come first.
    EXPECT_EQ(cv.wait(nullptr), zob::kInvalidArgument);
    EXPECT_EQ(cv.timedWait(&m, -5), zob::kInvalidArgument);
    ktzFailNextCalls("ktzCondVarDestroy", zob::kIOError);
  }
  EXPECT_EQ(records(), std::vector<LogRecord>{
                           debug("Initialization of condition variable failed: out of memory")});
  KtzCondVar probe{
      PTHREAD_COND_INITIALIZER};  // the failed object never called the runtime's destroy
  EXPECT_EQ(ktzCondVarDestroy(&probe), zob::kIOError);
}

TEST_F(CondVarTest, AMutexThatFailedToInitialiseIsRefused) {
  CondVar cv(app.get());
  ktzFailNextCalls("ktzMutexInit", zob::kOutOfMemory);
  Mutex m(app.get());
  log->clear();
  EXPECT_EQ(cv.wait(&m), zob::kInvalidState);
  EXPECT_EQ(cv.timedWait(&m, 5), zob::kInvalidState);
  EXPECT_TRUE(records().empty());
}

TEST_F(CondVarTest, WithoutAnApplicationFailuresAreOnlyReturned) {
  testing::internal::CaptureStderr();
  {
    ktzFailNextCalls("ktzCondVarInit", zob::kOutOfMemory);
    CondVar failed(nullptr);
    EXPECT_EQ(failed.signal(), zob::kInvalidState);
    CondVar cv(nullptr);
    Mutex m(nullptr);
    EXPECT_EQ(cv.wait(&m), zob::kPermissionDenied);
    cv.setApplication(app.get());
    EXPECT_EQ(cv.getApplication(), app.get());
    EXPECT_EQ(cv.timedWait(&m, 1), zob::kPermissionDenied);
    cv.setApplication(nullptr);
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(records(), std::vector<LogRecord>{
                           debug("Timed wait on condition variable failed: permission denied")});
}
