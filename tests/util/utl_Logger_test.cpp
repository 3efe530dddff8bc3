// Logging levels, the standard-error fallback, assertions and failed queries.
#define QUV_SOURCE_NAME "utl_Logger_test"
#include <kelp/util/utl_Logger.h>

#include <gtest/gtest.h>
#include <kelp/host.h>

#include <iostream>

#include "test_support.h"

using namespace qor::quv::util;
using kelp::host::Application;
using kelp::host::LogLevel;
using kelp::host::LogRecord;
using kelp::host::RecordingLogger;

namespace {

std::string stderrOf(const std::function<void()>& fn) {
  testing::internal::CaptureStderr();
  fn();
  return testing::internal::GetCapturedStderr();
}

}  // namespace

TEST(Logger, FallbackWritesPrefixCategoryAndText) {
  struct Case {
    void (*fn)(qor::quv::fw::IApplication*, const char*, const std::string&);
    const char* expected;
  } cases[] = {{eError, "ERROR: quv:kelp: x\n"},
               {eWarning, "WARNING: quv:kelp: x\n"},
               {eNotice, "NOTICE: quv:kelp: x\n"},
               {eInfo, "INFO: quv:kelp: x\n"},
               {eDebug, "DEBUG: quv:kelp: x\n"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.expected);
    EXPECT_EQ(stderrOf([&] { c.fn(nullptr, "quv:kelp", "x"); }), c.expected);
  }
  // An application without a logger, and one whose logger request fails,
  // select the same path.
  auto app = Application::create();
  EXPECT_EQ(stderrOf([&] { eError(app.get(), "quv:kelp", "y"); }), "ERROR: quv:kelp: y\n");
  auto log = RecordingLogger::create();
  app->installLogger(log.get());
  app->failRequest("getLogger", zob::kNotImplemented);
  EXPECT_EQ(stderrOf([&] { eInfo(app.get(), "quv:kelp", "z"); }), "INFO: quv:kelp: z\n");
  EXPECT_TRUE(log->records().empty());
}

TEST(Logger, EveryLevelReachesTheLoggerAndTheLoggerIsReleased) {
  auto app = Application::create();
  auto log = RecordingLogger::create();
  app->installLogger(log.get());
  const std::uint32_t held = log->refCount();  // ours and the application's
  EXPECT_EQ(held, 2u);
  std::string err = stderrOf([&] {
    eFatal(app.get(), "quv:kelp", "f");
    eError(app.get(), "quv:kelp", "e");
    eWarning(app.get(), "quv:kelp", "w");
    eNotice(app.get(), "quv:kelp", "n");
    eInfo(app.get(), "quv:kelp", "i");
    eDebug(app.get(), "quv:kelp", "d");
  });
  EXPECT_EQ(err, "");  // fatal with a logger returns and writes nothing
  std::vector<LogRecord> expected = {
      {LogLevel::Fatal, "quv:kelp", "f"},   {LogLevel::Error, "quv:kelp", "e"},
      {LogLevel::Warning, "quv:kelp", "w"}, {LogLevel::Notice, "quv:kelp", "n"},
      {LogLevel::Info, "quv:kelp", "i"},    {LogLevel::Debug, "quv:kelp", "d"}};
  EXPECT_EQ(log->records(), expected);
  EXPECT_EQ(log->refCount(), held);
  app->installLogger(nullptr);
  EXPECT_EQ(log->refCount(), 1u);
}

TEST(Logger, FatalWithoutLoggerEndsTheProcess) {
  auto r = kelp::test::runInChild([] {
    eFatal(nullptr, "quv:kelp", "x");
    return 0;
  });
  EXPECT_EQ(r.exitStatus, 1);
  EXPECT_EQ(r.stderrText, "FATAL: quv:kelp: x\n");
}

TEST(Logger, AssertionText) {
  EXPECT_EQ(stderrOf([] { _eAssert(nullptr, "quv:kelp", "!EFAILED(tRes)", "utl_WaitCursor", 33); }),
            "QUV assertion failed: utl_WaitCursor[33]: !EFAILED(tRes)\n");
  auto app = Application::create();
  auto log = RecordingLogger::create();
  app->installLogger(log.get());
  _eAssert(app.get(), "quv:kelp", "!EFAILED(tRes)", "utl_WaitCursor", 33);
  ASSERT_EQ(log->records().size(), 1u);
  EXPECT_EQ(log->records()[0],
            (LogRecord{LogLevel::Debug, "quv:kelp",
                       "QUV assertion failed: utl_WaitCursor[33]: !EFAILED(tRes)"}));
  // The macros pass the source name and line, and evaluate to the condition.
  log->clear();
  int tRes = -5;
  EXPECT_TRUE(QUV_ASSERT(app.get(), tRes < 0));
  EXPECT_FALSE(QUV_ASSERT_AT(app.get(), !EFAILED(tRes), 26));
  const int line = __LINE__ + 1;
  EXPECT_FALSE(QUV_ASSERT(app.get(), !EFAILED(tRes)));  // reported as written, not expanded
  EXPECT_EQ(log->texts(LogLevel::Debug),
            (std::vector<std::string>{
                "QUV assertion failed: utl_Logger_test[26]: !EFAILED(tRes)",
                "QUV assertion failed: utl_Logger_test[" + std::to_string(line) +
                    "]: !EFAILED(tRes)"}));
}

TEST(Logger, QueryErrorNamesBothInterfacesAndTheError) {
  auto app = Application::create();
  zob::IUnknown* obj = app.get();
  EXPECT_EQ(stderrOf([&] {
              QUV_QUERY_FAILED(nullptr, obj, "IDL:qor/quv/fw/IApplication5:1.0", zob::kNoInterface);
            }),
            "DEBUG: quv:kelp: Can't get interface IDL:qor/quv/fw/IApplication5:1.0 from interface "
            "IDL:qor/quv/fw/IApplication:1.0: no such interface\n");
}

TEST(Logger, NullCategoryFailsTheStreamOnTheFallbackPath) {
  std::string err = stderrOf([] {
    eError(nullptr, nullptr, "lost");
    eError(nullptr, "quv:kelp", "also lost until cleared");
  });
  EXPECT_EQ(err, "ERROR: ");
  EXPECT_TRUE(std::cerr.fail());
  std::cerr.clear();
  EXPECT_EQ(stderrOf([] { eError(nullptr, "quv:kelp", "back"); }), "ERROR: quv:kelp: back\n");
}
