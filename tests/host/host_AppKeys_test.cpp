// The reference host's vendor and application keys (IApplication3).
#include <fw/fw_IApplication3.h>
#include <gtest/gtest.h>
#include <kelp/host.h>
#include <zob/zob_mem.h>

#include <string>

using kelp::host::Application;
using qor::quv::fw::IApplication3;

namespace {

std::string call(IApplication3* keys, ZResult (IApplication3::*fn)(char**), ZResult* result) {
  char* s = reinterpret_cast<char*>(1);
  *result = (keys->*fn)(&s);
  std::string out = s ? s : "<null>";
  zobFree(s);
  return out;
}

}  // namespace

TEST(HostAppKeys, AnswersQueriesWithCopies) {
  auto app = Application::create();
  zob::Ref<IApplication3> keys;
  ASSERT_EQ(zob::query(app.get(), keys), zob::kOk);
  ASSERT_TRUE(keys);
  ZResult r = 0;
  EXPECT_EQ(call(keys.get(), &IApplication3::getVendorKey, &r), "Brindlecraft");
  EXPECT_EQ(r, zob::kOk);
  EXPECT_EQ(call(keys.get(), &IApplication3::getApplicationKey, &r), "kelp");
  app->keys()->setVendorKey("");
  app->keys()->setApplicationKey("Catalogue");
  EXPECT_EQ(call(keys.get(), &IApplication3::getVendorKey, &r), "");
  EXPECT_EQ(r, zob::kOk);
  EXPECT_EQ(call(keys.get(), &IApplication3::getApplicationKey, &r), "Catalogue");

  struct Case {
    const char* request;
    ZResult (IApplication3::*fn)(char**);
  } cases[] = {{"getVendorKey", &IApplication3::getVendorKey},
               {"getApplicationKey", &IApplication3::getApplicationKey}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.request);
    app->failRequest(c.request, zob::kIOError);
    EXPECT_EQ(call(keys.get(), c.fn, &r), "<null>");
    EXPECT_EQ(r, zob::kIOError);
    app->clearFailures();
    EXPECT_EQ(keys.get()->getVendorKey(nullptr), zob::kInvalidArgument);
  }
  // Removed from the application, the interface is not found.
  app->provideInterface(IApplication3::IID, nullptr);
  EXPECT_EQ(zob::query(app.get(), keys), zob::kNoInterface);
}

TEST(HostAppKeys, OutlivesItsApplication) {
  zob::Ref<IApplication3> keys;
  {
    auto app = Application::create();
    ASSERT_EQ(zob::query(app.get(), keys), zob::kOk);
    app->failRequest("getVendorKey", zob::kIOError);
  }
  ZResult r = 0;
  EXPECT_EQ(call(keys.get(), &IApplication3::getVendorKey, &r), "Brindlecraft");
  EXPECT_EQ(r, zob::kOk);
}
