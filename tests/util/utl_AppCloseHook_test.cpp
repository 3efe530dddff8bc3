// Close hooks: registration on construction, the order in which the host
// calls them, vetoes, reset() and its assertions, reference counts.
#define QUV_SOURCE_NAME "utl_AppCloseHook_test"
#include <kelp/util/utl_AppCloseHook.h>

#include <fw/fw_IApplication2.h>
#include <gtest/gtest.h>
#include <kelp/host.h>

#include <string>
#include <vector>

#include "test_support.h"

using namespace qor::quv::util;
using kelp::host::Application;
using kelp::host::LogLevel;
using kelp::host::LogRecord;
using kelp::host::RecordingLogger;

namespace {

constexpr char kApp2[] = "IDL:qor/quv/fw/IApplication2:1.0";
const std::string kQueryFailed26 =
    "QUV assertion failed: utl_AppCloseHook[26]: !EFAILED(tRes) && tApp2 != 0";
const std::string kAddFailed28 = "QUV assertion failed: utl_AppCloseHook[28]: !EFAILED(tRes)";
const std::string kQueryFailed76 =
    "QUV assertion failed: utl_AppCloseHook[76]: !EFAILED(tRes) && tApp2 != 0";

// A hook that notes its name when called and can veto.
class NamedHook final : public AppCloseHookBase {
 public:
  NamedHook(qor::quv::fw::IApplication* app, int order, std::string name,
            std::vector<std::string>* calls, bool veto = false, bool* destroyed = nullptr)
      : AppCloseHookBase(app, order),
        name_(std::move(name)),
        calls_(calls),
        veto_(veto),
        destroyed_(destroyed) {}

  ZResult onAppClose(int* veto) override {
    calls_->push_back(name_);
    if (veto_) *veto = 1;
    return zob::kOk;
  }

 private:
  ~NamedHook() override {
    if (destroyed_) *destroyed_ = true;
  }
  std::string name_;
  std::vector<std::string>* calls_;
  bool veto_;
  bool* destroyed_;
};

std::uint32_t refs(zob::IUnknown* p) {
  std::uint32_t n = p->_comAddRef();
  p->_comRelease();
  return n - 1;
}

struct AppWithLog {
  zob::Ref<Application> app = Application::create();
  zob::Ref<RecordingLogger> log = RecordingLogger::create();
  AppWithLog() { app->installLogger(log.get()); }
  std::vector<std::string> debug() const {
    for (const LogRecord& r : log->records()) EXPECT_EQ(r.category, "quv:kelp");
    return log->texts(LogLevel::Debug);
  }
};

}  // namespace

TEST(AppCloseHook, RegistersOnConstructionAndHoldsTheApplication) {
  AppWithLog a;
  std::vector<std::string> calls;
  EXPECT_EQ(a.app->refCount(), 1u);
  auto* raw = new NamedHook(a.app.get(), 10, "h", &calls);
  // Only the application holds the hook: the count started at 0.
  EXPECT_EQ(refs(raw), 1u);
  EXPECT_EQ(a.app->hooks()->closeHookCount(), 1u);
  EXPECT_EQ(a.app->refCount(), 2u);
  zob::Ref<NamedHook> hook(raw);
  EXPECT_EQ(refs(raw), 2u);
  hook->reset();
  EXPECT_EQ(refs(raw), 1u);
  EXPECT_EQ(a.app->hooks()->closeHookCount(), 0u);
  EXPECT_EQ(a.app->refCount(), 1u);
  EXPECT_TRUE(a.debug().empty());
}

TEST(AppCloseHook, HooksRunInOrderAndAreReleasedAfterReset) {
  AppWithLog a;
  std::vector<std::string> calls;
  bool destroyed[4] = {false, false, false, false};
  struct Spec {
    int order;
    const char* name;
  } specs[] = {{30, "thirty"}, {10, "ten-a"}, {-5, "minus-five"}, {10, "ten-b"}};
  std::vector<zob::Ref<NamedHook>> hooks;
  for (int i = 0; i < 4; ++i)
    hooks.emplace_back(
        new NamedHook(a.app.get(), specs[i].order, specs[i].name, &calls, false, &destroyed[i]));
  EXPECT_TRUE(a.app->close());
  EXPECT_EQ(calls, (std::vector<std::string>{"minus-five", "ten-a", "ten-b", "thirty"}));
  // Closing does not unregister: a second close asks the same hooks again.
  calls.clear();
  EXPECT_TRUE(a.app->close());
  EXPECT_EQ(calls.size(), 4u);

  for (int i = 0; i < 4; ++i) {
    SCOPED_TRACE(specs[i].name);
    EXPECT_EQ(refs(hooks[i].get()), 2u);  // ours and the application's
    hooks[i]->reset();
    EXPECT_EQ(refs(hooks[i].get()), 1u);
    hooks[i].reset();
    EXPECT_TRUE(destroyed[i]);
  }
  calls.clear();
  EXPECT_TRUE(a.app->close());
  EXPECT_TRUE(calls.empty());
  EXPECT_EQ(a.app->refCount(), 1u);
  EXPECT_TRUE(a.debug().empty());
}

TEST(AppCloseHook, AVetoStopsTheClose) {
  AppWithLog a;
  std::vector<std::string> calls;
  zob::Ref<NamedHook> first(new NamedHook(a.app.get(), 1, "first", &calls));
  zob::Ref<NamedHook> vetoer(new NamedHook(a.app.get(), 2, "vetoer", &calls, true));
  zob::Ref<NamedHook> last(new NamedHook(a.app.get(), 3, "last", &calls));
  EXPECT_FALSE(a.app->close());
  EXPECT_EQ(calls, (std::vector<std::string>{"first", "vetoer"}));
  vetoer->reset();
  calls.clear();
  EXPECT_TRUE(a.app->close());
  EXPECT_EQ(calls, (std::vector<std::string>{"first", "last"}));
  first->reset();
  last->reset();
}

TEST(AppCloseHook, ResetTwiceRemovesOnce) {
  AppWithLog a;
  std::vector<std::string> calls;
  zob::Ref<NamedHook> hook(new NamedHook(a.app.get(), 7, "h", &calls));
  hook->reset();
  EXPECT_EQ(a.app->hooks()->closeHookCount(), 0u);
  // Register the same object again behind the hook's back: a second reset()
  // must neither ask the application for IApplication2 (that request now
  // fails and would be reported) nor remove the registration.
  ASSERT_EQ(a.app->hooks()->addCloseHook(7, hook.get()), zob::kOk);
  a.app->failRequest(kApp2, zob::kBusy);
  hook->reset();
  EXPECT_EQ(a.app->hooks()->closeHookCount(), 1u);
  EXPECT_TRUE(a.debug().empty());
  EXPECT_EQ(a.app->refCount(), 1u);  // released by the first reset() only
  ASSERT_EQ(a.app->hooks()->removeCloseHook(hook.get()), zob::kOk);
}

TEST(AppCloseHook, FailuresAreReportedAsAssertions) {
  struct Case {
    const char* name;
    const char* failing;  // the request told to fail
    bool removeApp2;      // the application has no IApplication2 at all
    std::string expected;
  } cases[] = {
      {"query fails", kApp2, false, kQueryFailed26},
      {"no IApplication2", nullptr, true, kQueryFailed26},
      {"registration fails", "addCloseHook", false, kAddFailed28},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    AppWithLog a;
    if (c.failing) a.app->failRequest(c.failing, zob::kBusy);
    if (c.removeApp2) a.app->provideInterface(kApp2, nullptr);
    std::vector<std::string> calls;
    bool destroyed = false;
    auto* raw = new NamedHook(a.app.get(), 1, "h", &calls, false, &destroyed);
    EXPECT_EQ(a.debug(), std::vector<std::string>{c.expected});
    EXPECT_EQ(a.app->hooks()->closeHookCount(), 0u);
    EXPECT_EQ(a.app->refCount(), 2u);  // the hook still holds the application
    zob::Ref<NamedHook> hook(raw);
    EXPECT_EQ(refs(hook.get()), 1u);  // ours only: the application took none
    a.app->clearFailures();
    EXPECT_TRUE(a.app->close());
    EXPECT_TRUE(calls.empty());
    // The destructor lets go of the application without unregistering.
    hook.reset();
    EXPECT_TRUE(destroyed);
    EXPECT_EQ(a.app->refCount(), 1u);
    EXPECT_EQ(a.debug().size(), 1u);
  }
}

TEST(AppCloseHook, FailedQueryInResetStillReleasesTheApplication) {
  AppWithLog a;
  std::vector<std::string> calls;
  zob::Ref<NamedHook> hook(new NamedHook(a.app.get(), 1, "h", &calls));
  EXPECT_EQ(a.app->refCount(), 2u);
  a.app->failRequest(kApp2, zob::kNoInterface);
  hook->reset();
  EXPECT_EQ(a.debug(), std::vector<std::string>{kQueryFailed76});
  EXPECT_EQ(a.app->refCount(), 1u);
  // The registration could not be removed: the application still holds it.
  EXPECT_EQ(a.app->hooks()->closeHookCount(), 1u);
  EXPECT_EQ(refs(hook.get()), 2u);
  hook->reset();  // nothing left to do
  EXPECT_EQ(a.debug().size(), 1u);
  a.app->clearFailures();
  ASSERT_EQ(a.app->hooks()->removeCloseHook(hook.get()), zob::kOk);
}

TEST(AppCloseHook, ResetByTheLastHolderDeletesAfterwards) {
  // The application's reference is the only one; reset() gives it back and
  // the hook dies at the end of the call, not in the middle of it.
  AppWithLog a;
  std::vector<std::string> calls;
  bool destroyed = false;
  auto* raw = new NamedHook(a.app.get(), 1, "h", &calls, false, &destroyed);
  raw->reset();
  EXPECT_TRUE(destroyed);
  EXPECT_EQ(a.app->refCount(), 1u);
  EXPECT_EQ(a.app->hooks()->closeHookCount(), 0u);
}

TEST(AppCloseHook, NullApplication) {
  std::vector<std::string> calls;
  testing::internal::CaptureStderr();
  zob::Ref<NamedHook> hook(new NamedHook(nullptr, 1, "h", &calls));
  hook->reset();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), kQueryFailed26 + "\n");
}

TEST(AppCloseHook, QueryInterface) {
  AppWithLog a;
  std::vector<std::string> calls;
  zob::Ref<NamedHook> hook(new NamedHook(a.app.get(), 1, "h", &calls));
  struct Case {
    const char* iid;
    bool expected;
  } cases[] = {{"IDL:zob/IUnknown:1.0", true},
               {"IDL:qor/quv/fw/IAppCloseHook:1.0", true},
               {"IDL:qor/quv/fw/IIdleCallout:1.0", false},
               {"IDL:qor/quv/fw/IApplication2:1.0", false},
               {nullptr, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.iid ? c.iid : "(null)");
    zob::IUnknown* out = hook.get();  // not null before the call
    ZResult r = hook->queryInterface(c.iid, &out);
    if (c.expected) {
      EXPECT_EQ(r, zob::kOk);
      EXPECT_EQ(out, static_cast<zob::IUnknown*>(hook.get()));
      EXPECT_EQ(refs(hook.get()), 3u);
      out->_comRelease();
    } else {
      EXPECT_EQ(r, zob::code(0x80000004u));
      EXPECT_EQ(out, nullptr);
      EXPECT_EQ(refs(hook.get()), 2u);
    }
  }
  EXPECT_STREQ(hook->_comGetInterfaceId(), "IDL:qor/quv/fw/IAppCloseHook:1.0");
  EXPECT_EQ(hook->queryInterface(zob::IUnknown::IID, nullptr), zob::kInvalidArgument);
  hook->reset();
}

TEST(AppCloseHook, ReleaseBelowZeroEndsTheProcess) {
  auto r = kelp::test::runInChild([] {
    std::vector<std::string> calls;
    testing::internal::CaptureStderr();  // the null application's assertion
    auto* hook = new NamedHook(nullptr, 1, "h", &calls);
    hook->release();  // no reference was ever taken
    return 0;
  });
  EXPECT_NE(r.signal, 0);
}
