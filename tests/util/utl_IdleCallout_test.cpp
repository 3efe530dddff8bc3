// Idle callouts: interface queries, reference counts, and running on the
// host's idle turns once registered.
#define QUV_SOURCE_NAME "utl_IdleCallout_test"
#include <kelp/util/utl_IdleCallout.h>

#include <fw/fw_IApplication2.h>
#include <gtest/gtest.h>
#include <kelp/host.h>

#include <string>
#include <vector>

#include "test_support.h"

using namespace qor::quv::util;
using kelp::host::Application;

namespace {

class CountingCallout final : public IdleCalloutBase {
 public:
  explicit CountingCallout(bool* destroyed = nullptr) : destroyed_(destroyed) {}
  ZResult onIdle() override {
    ++runs;
    return zob::kOk;
  }
  int runs = 0;

 private:
  ~CountingCallout() override {
    if (destroyed_) *destroyed_ = true;
  }
  bool* destroyed_;
};

std::uint32_t refs(zob::IUnknown* p) {
  std::uint32_t n = p->_comAddRef();
  p->_comRelease();
  return n - 1;
}

}  // namespace

TEST(IdleCallout, CountStartsAtZeroAndLastReleaseDeletes) {
  bool destroyed = false;
  auto* c = new CountingCallout(&destroyed);
  EXPECT_EQ(c->addRef(), 1u);
  EXPECT_EQ(c->addRef(), 2u);
  EXPECT_EQ(c->release(), 1u);
  EXPECT_FALSE(destroyed);
  EXPECT_EQ(c->release(), 0u);
  EXPECT_TRUE(destroyed);
}

TEST(IdleCallout, QueryInterface) {
  zob::Ref<CountingCallout> c(new CountingCallout);
  struct Case {
    const char* iid;
    bool expected;
  } cases[] = {{"IDL:zob/IUnknown:1.0", true},
               {"IDL:qor/quv/fw/IIdleCallout:1.0", true},
               {"IDL:qor/quv/fw/IAppCloseHook:1.0", false},
               {"IDL:qor/quv/fw/IIdleCallout:2.0", false},
               {"", false},
               {nullptr, false}};
  for (const Case& k : cases) {
    SCOPED_TRACE(k.iid ? k.iid : "(null)");
    zob::IUnknown* out = c.get();
    ZResult r = c->queryInterface(k.iid, &out);
    if (k.expected) {
      EXPECT_EQ(r, zob::kOk);
      EXPECT_EQ(out, static_cast<zob::IUnknown*>(c.get()));
      EXPECT_EQ(refs(c.get()), 2u);
      out->_comRelease();
    } else {
      EXPECT_EQ(r, zob::code(0x80000004u));
      EXPECT_EQ(out, nullptr);
      EXPECT_EQ(refs(c.get()), 1u);
    }
  }
  EXPECT_STREQ(c->_comGetInterfaceId(), "IDL:qor/quv/fw/IIdleCallout:1.0");
  EXPECT_EQ(c->queryInterface(zob::IUnknown::IID, nullptr), zob::kInvalidArgument);
}

TEST(IdleCallout, RunsOnEveryIdleTurnWhileRegistered) {
  auto app = Application::create();
  zob::Ref<qor::quv::fw::IApplication2> app2;
  ASSERT_EQ(zob::query(app.get(), app2), zob::kOk);
  bool destroyed = false;
  zob::Ref<CountingCallout> c(new CountingCallout(&destroyed));
  zob::Ref<CountingCallout> d(new CountingCallout);
  ASSERT_EQ(app2->addIdleCallout(c.get()), zob::kOk);
  ASSERT_EQ(app2->addIdleCallout(d.get()), zob::kOk);
  EXPECT_EQ(app2->addIdleCallout(c.get()), zob::kExists);
  EXPECT_EQ(refs(c.get()), 2u);  // the application holds it

  EXPECT_EQ(app->runIdle(), 2u);
  EXPECT_EQ(app->runIdle(), 2u);
  EXPECT_EQ(c->runs, 2);
  EXPECT_EQ(d->runs, 2);

  ASSERT_EQ(app2->removeIdleCallout(c.get()), zob::kOk);
  EXPECT_EQ(refs(c.get()), 1u);
  EXPECT_EQ(app2->removeIdleCallout(c.get()), zob::kNotFound);
  EXPECT_EQ(app->runIdle(), 1u);
  EXPECT_EQ(c->runs, 2);
  EXPECT_EQ(d->runs, 3);
  c.reset();
  EXPECT_TRUE(destroyed);
  ASSERT_EQ(app2->removeIdleCallout(d.get()), zob::kOk);
  EXPECT_EQ(app->runIdle(), 0u);
}

TEST(IdleCallout, ReleaseBelowZeroEndsTheProcess) {
  auto r = kelp::test::runInChild([] {
    auto* c = new CountingCallout;
    c->release();  // no reference was ever taken
    return 0;
  });
  EXPECT_NE(r.signal, 0);
}
