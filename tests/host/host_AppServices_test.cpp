// The reference host's properties, features and packages as interfaces.
#include <gtest/gtest.h>
#include <kelp/host_app.h>
#include <zob/zob_mem.h>

#include <string>

namespace fw = qor::quv::fw;
namespace dsr = qor::quv::dsr;
using namespace kelp::host;

TEST(HostAppServices, AttachedInterfacesAndReferences) {
  auto app = Application::create();
  auto props = AppProperties::create();
  auto features = AppFeatures::create();
  auto packages = PackageManager::create();
  props->attachTo(*app);
  features->attachTo(*app);
  packages->attachTo(*app);
  EXPECT_EQ(props->refCount(), 2u);  // ours and the application's

  zob::Ref<fw::IApplication5> app5;
  ASSERT_EQ(zob::query(app.get(), app5), zob::kOk);
  EXPECT_EQ(props->refCount(), 3u);
  zob::Ref<fw::IApplication7> app7;
  ASSERT_EQ(zob::query(app.get(), app7), zob::kOk);
  zob::Ref<fw::IFeatureSet> set;
  ASSERT_EQ(app7->getFeatureSet(set.out()), zob::kOk);
  EXPECT_EQ(set.get(), static_cast<fw::IFeatureSet*>(features->featureSet()));
  features->hideFeatureSet(true);
  EXPECT_EQ(app7->getFeatureSet(set.out()), zob::kOk);
  EXPECT_EQ(set.get(), nullptr);
  zob::Ref<dsr::IPackageManager> mgr;
  ASSERT_EQ(zob::query(app.get(), mgr), zob::kOk);

  app->provideInterface(fw::IApplication5::IID, nullptr);
  app5.reset();
  EXPECT_EQ(props->refCount(), 1u);
}

TEST(HostAppServices, PropertiesTruth) {
  auto props = AppProperties::create();
  struct Case {
    const char* value;
    int isTrue, isFalse;
  } cases[] = {{"true", 1, 0}, {"Yes", 1, 0}, {"ON", 1, 0}, {"1", 1, 0},     {"false", 0, 1},
               {"NO", 0, 1},   {"off", 0, 1}, {"0", 0, 1},  {"maybe", 0, 0}, {"", 0, 0}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.value);
    props->setProperty("p", c.value);
    int t = -1, f = -1;
    EXPECT_EQ(props->isPropertyTrue("p", &t), zob::kOk);
    EXPECT_EQ(props->isPropertyFalse("p", &f), zob::kOk);
    EXPECT_EQ(t, c.isTrue);
    EXPECT_EQ(f, c.isFalse);
  }
  props->removeProperty("p");
  char* text = nullptr;
  EXPECT_EQ(props->getProperty("p", &text), zob::kNotFound);
  EXPECT_EQ(text, nullptr);
  EXPECT_EQ(props->getProperty(nullptr, &text), zob::kInvalidArgument);
  EXPECT_EQ(props->isPropertyTrue("p", nullptr), zob::kInvalidArgument);
}

TEST(HostAppServices, Packages) {
  auto mgr = PackageManager::create();
  auto a = Package::create("::a::", "catalog");
  a->setLanguages({"de", "en"});
  auto b = Package::create("::b::", "catalog");
  b->setLanguages({"en", "it"});
  mgr->addPackage(a.get());
  mgr->addPackage(b.get());
  mgr->addPackage(nullptr);

  zob::Ref<dsr::IPackage> pkg;
  ASSERT_EQ(mgr->getPackage("::b::", pkg.out()), zob::kOk);
  char* name = nullptr;
  ASSERT_EQ(pkg->getName(&name), zob::kOk);
  EXPECT_STREQ(name, "::b::");
  zobFree(name);
  zob::Ref<dsr::IPackage4> pkg4;
  EXPECT_EQ(zob::query(pkg.get(), pkg4), zob::kOk);
  EXPECT_EQ(mgr->getPackage("::c::", pkg.out()), zob::kNotFound);
  EXPECT_FALSE(pkg);

  zob::Sequence<char*> langs{0, nullptr};
  ASSERT_EQ(mgr->getSupportedLanguages(&langs), zob::kOk);
  ASSERT_EQ(langs.length, 3u);
  EXPECT_STREQ(langs.buffer[0], "de");
  EXPECT_STREQ(langs.buffer[1], "en");
  EXPECT_STREQ(langs.buffer[2], "it");
  zobFreeStrSeq(&langs);

  mgr->failRequest("getSupportedLanguages", zob::kBusy);
  EXPECT_EQ(mgr->getSupportedLanguages(&langs), zob::kBusy);
  EXPECT_EQ(langs.length, 0u);
  mgr->clearFailures();
  b->failRequest("getSupportedLanguages");
  ASSERT_EQ(mgr->getSupportedLanguages(&langs), zob::kOk);  // a failing package is left out
  EXPECT_EQ(langs.length, 2u);
  zobFreeStrSeq(&langs);

  zob::Sequence<char*> empty{0, nullptr};
  EXPECT_TRUE(copyStringList({}, &empty));
  EXPECT_EQ(empty.buffer, nullptr);
}
