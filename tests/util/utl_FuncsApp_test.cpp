// Funcs: queries of the host application against the reference host, with
// the assertions and query failures they report.
#include <gtest/gtest.h>
#include <kelp/host.h>
#include <kelp/host_app.h>
#include <kelp/host_locale.h>
#include <kelp/util/utl_Event.h>
#include <kelp/util/utl_Funcs.h>
#include <zob/zob_mem.h>

#include "test_support.h"

#include <string>
#include <vector>

using kelp::host::LogLevel;
using kelp::host::RecordingLogger;
using qor::quv::util::Funcs;
namespace fw = qor::quv::fw;
namespace dsr = qor::quv::dsr;
using V = std::vector<std::string>;

namespace {

struct Host {
  zob::Ref<kelp::host::Application> app = kelp::host::Application::create();
  zob::Ref<RecordingLogger> log = RecordingLogger::create();
  zob::Ref<kelp::host::AppProperties> props = kelp::host::AppProperties::create();
  zob::Ref<kelp::host::AppFeatures> features = kelp::host::AppFeatures::create();
  zob::Ref<kelp::host::Locale> locale = kelp::host::Locale::create();
  zob::Ref<kelp::host::PackageManager> packages = kelp::host::PackageManager::create();
  Host() {
    app->installLogger(log.get());
    props->attachTo(*app);
    features->attachTo(*app);
    locale->attachTo(*app);
    packages->attachTo(*app);
  }
  V messages() const { return log->texts(LogLevel::Debug); }
  fw::IApplication* get() const { return app.get(); }
};

// The assertion texts carry line numbers; compare without them.
V withoutLines(const V& texts) {
  V out;
  for (std::string t : texts) {
    const std::size_t open = t.find("utl_Funcs[");
    if (open != std::string::npos) t.erase(open + 10, t.find(']', open) - open - 10);
    out.push_back(t);
  }
  return out;
}

class Vetoer : public fw::IEventListener_Adapter {
 public:
  ZResult queryInterface(const char* iid, zob::IUnknown** out) override {
    if (zobCompareIID(iid, zob::IUnknown::IID) || zobCompareIID(iid, fw::IEventListener::IID)) {
      *out = this;
      addRef();
      return zob::kOk;
    }
    *out = nullptr;
    return zob::kNoInterface;
  }
  std::uint32_t addRef() override { return ++count; }
  std::uint32_t release() override { return --count; }
  ZResult handleEvent(fw::IEvent* event) override {
    zob::Ref<fw::IVetoableActionEvent> veto;
    if (EFAILED(zob::query(event, veto))) return zob::kOk;
    char* key = nullptr;
    veto->getActionKey(&key);
    seen = key ? key : "";
    zobFree(key);
    if (seen == "delete") {
      veto->setCanceled(1);
      veto->setCancelReason("locked");
    }
    return zob::kOk;
  }
  std::uint32_t count = 1;
  std::string seen;
};

}  // namespace

TEST(FuncsApp, NullApplicationGivesNeutralResults) {
  EXPECT_FALSE(Funcs::isPropertyTrue(nullptr, "x"));
  EXPECT_FALSE(Funcs::isPropertyFalse(nullptr, std::string("x")));
  EXPECT_EQ(Funcs::getProperty(nullptr, "x"), "");
  EXPECT_FALSE(Funcs::isFeatureEnabled(nullptr, "x"));
  EXPECT_EQ(Funcs::getVendorKey(nullptr), "");
  EXPECT_EQ(Funcs::getAppKey(nullptr), "");
  std::string s = "kept";
  EXPECT_FALSE(Funcs::getLanguage(nullptr, &s));
  EXPECT_FALSE(Funcs::getCountry(nullptr, &s));
  EXPECT_EQ(s, "kept");
  EXPECT_EQ(Funcs::getLocaleIdentifier(nullptr), "");
  EXPECT_TRUE(Funcs::getLanguages(nullptr).empty());
  EXPECT_TRUE(Funcs::getSupportedLanguages(nullptr).empty());
  EXPECT_TRUE(Funcs::getSupportedLanguages(nullptr, "::p::").empty());
  EXPECT_FALSE(Funcs::actionCanceled(nullptr, nullptr, "delete"));
}

TEST(FuncsApp, Properties) {
  Host h;
  h.props->setProperty("on", "TRUE");
  h.props->setProperty("off", "no");
  h.props->setProperty("text", "hello");
  struct Case {
    const char* name;
    bool isTrue, isFalse;
    const char* text;
  } cases[] = {{"on", true, false, "TRUE"},
               {"off", false, true, "no"},
               {"text", false, false, "hello"},
               {"unset", false, false, ""}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(Funcs::isPropertyTrue(h.get(), c.name), c.isTrue);
    EXPECT_EQ(Funcs::isPropertyTrue(h.get(), std::string(c.name)), c.isTrue);
    EXPECT_EQ(Funcs::isPropertyFalse(h.get(), c.name), c.isFalse);
    EXPECT_EQ(Funcs::isPropertyFalse(h.get(), std::string(c.name)), c.isFalse);
    EXPECT_EQ(Funcs::getProperty(h.get(), c.name), c.text);
    EXPECT_EQ(Funcs::getProperty(h.get(), std::string(c.name)), c.text);
  }
  EXPECT_EQ(Funcs::getVendorKey(h.get()), "Kelp");
  EXPECT_EQ(Funcs::getAppKey(h.get()), "Kelp/Host");
  h.props->setVendorKey("Acme");
  h.props->setAppKey("Acme/Planner");
  EXPECT_EQ(Funcs::getVendorKey(h.get()), "Acme");
  EXPECT_EQ(Funcs::getAppKey(h.get()), "Acme/Planner");
  EXPECT_TRUE(h.messages().empty());
}

TEST(FuncsApp, PropertyFailures) {
  Host h;
  h.props->setProperty("on", "1");
  h.props->failRequest("isPropertyTrue");
  h.props->failRequest("getProperty", zob::kIOError);
  h.props->failRequest("getAppKey");
  EXPECT_FALSE(Funcs::isPropertyTrue(h.get(), "on"));
  EXPECT_EQ(Funcs::getProperty(h.get(), "on"), "");
  EXPECT_EQ(Funcs::getAppKey(h.get()), "");
  const std::string failed = "QUV assertion failed: utl_Funcs[]: !EFAILED(tRes)";
  EXPECT_EQ(withoutLines(h.messages()), (V{failed, failed, failed}));

  h.log->clear();
  h.app->failRequest(fw::IApplication5::IID, zob::kNoInterface);
  EXPECT_FALSE(Funcs::isPropertyFalse(h.get(), "on"));
  EXPECT_EQ(Funcs::getVendorKey(h.get()), "");
  const std::string queryFailed =
      "Can't get interface IDL:qor/quv/fw/IApplication5:1.0 from interface "
      "IDL:qor/quv/fw/IApplication:1.0: no such interface";
  EXPECT_EQ(h.messages(), (V{queryFailed, queryFailed}));
}

TEST(FuncsApp, Features) {
  Host h;
  h.features->featureSet()->enable("pricing");
  h.features->featureSet()->enable("retired", false);
  EXPECT_TRUE(Funcs::isFeatureEnabled(h.get(), "pricing"));
  EXPECT_TRUE(Funcs::isFeatureEnabled(h.get(), std::string("pricing")));
  EXPECT_FALSE(Funcs::isFeatureEnabled(h.get(), "retired"));
  EXPECT_FALSE(Funcs::isFeatureEnabled(h.get(), "unknown"));
  EXPECT_TRUE(h.messages().empty());

  struct Case {
    const char* what;
    const char* condition;
  } cases[] = {{"app7", "!EFAILED(tRes) && tApp7 != 0"},
               {"getFeatureSet", "!EFAILED(tRes) && tFeatureSet != 0"},
               {"hidden", "!EFAILED(tRes) && tFeatureSet != 0"},
               {"isEnabled", "!EFAILED(tRes)"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Host f;
    f.features->featureSet()->enable("pricing");
    const std::string what = c.what;
    if (what == "app7") f.app->failRequest(fw::IApplication7::IID);
    if (what == "getFeatureSet") f.features->failRequest("getFeatureSet");
    if (what == "hidden") f.features->hideFeatureSet(true);
    if (what == "isEnabled") f.features->featureSet()->failRequest("isEnabled");
    EXPECT_FALSE(Funcs::isFeatureEnabled(f.get(), "pricing"));
    const V texts = withoutLines(f.messages());
    ASSERT_EQ(texts.size(), 1u);
    EXPECT_EQ(texts[0], std::string("QUV assertion failed: utl_Funcs[]: ") + c.condition);
  }
}

TEST(FuncsApp, LanguageCountryAndLocaleIdentifier) {
  Host h;
  h.locale->setLanguage("de");
  h.locale->setCountry("AT");
  std::string language, country;
  EXPECT_TRUE(Funcs::getLanguage(h.get(), &language));
  EXPECT_TRUE(Funcs::getCountry(h.get(), &country));
  EXPECT_EQ(language, "de");
  EXPECT_EQ(country, "AT");
  EXPECT_EQ(Funcs::getLocaleIdentifier(h.get()), "de_AT");
  EXPECT_TRUE(h.messages().empty());

  h.locale->setLanguage("DEU");
  EXPECT_EQ(Funcs::getLocaleIdentifier(h.get()), "");
  h.locale->setLanguage("de");
  h.locale->setCountry("at");
  EXPECT_EQ(Funcs::getLocaleIdentifier(h.get()), "");
  EXPECT_EQ(withoutLines(h.messages()),
            (V{"QUV assertion failed: utl_Funcs[]: isValidLanguageCode(ZOBCSTR(tLanguage))",
               "QUV assertion failed: utl_Funcs[]: isValidCountryCode(ZOBCSTR(tCountry))"}));

  h.log->clear();
  h.locale->failRequest("getCountry");
  EXPECT_FALSE(Funcs::getCountry(h.get(), &country));
  EXPECT_EQ(country, "AT");
  h.app->failRequest(fw::ILocale::IID);
  EXPECT_FALSE(Funcs::getLanguage(h.get(), &language));
  EXPECT_EQ(withoutLines(h.messages()),
            (V{"QUV assertion failed: utl_Funcs[]: !EFAILED(tRes)",
               "QUV assertion failed: utl_Funcs[]: !EFAILED(tRes) && tLocale != 0"}));
}

TEST(FuncsApp, LocaleLists) {
  Host h;
  h.locale->setLanguages({"de", "en", "fr"});
  h.locale->setProductDataLanguages({"en"});
  h.locale->setCatalogLanguages({"fr", "de"});
  EXPECT_EQ(Funcs::getLanguages(h.get()), (V{"de", "en", "fr"}));
  EXPECT_EQ(Funcs::getProductDataLanguages(h.get()), (V{"en"}));
  EXPECT_EQ(Funcs::getCatalogLanguages(h.get()), (V{"fr", "de"}));
  EXPECT_TRUE(h.messages().empty());
  h.locale->failRequest("getCatalogLanguages");
  EXPECT_TRUE(Funcs::getCatalogLanguages(h.get()).empty());
  h.app->failRequest(fw::ILocale3::IID);
  EXPECT_TRUE(Funcs::getProductDataLanguages(h.get()).empty());
  EXPECT_EQ(Funcs::getLanguages(h.get()), (V{"de", "en", "fr"}));  // ILocale2 still answers
  EXPECT_EQ(withoutLines(h.messages()),
            (V{"QUV assertion failed: utl_Funcs[]: !EFAILED(tRes)",
               "QUV assertion failed: utl_Funcs[]: !EFAILED(tRes) && tLocale != 0"}));
}

TEST(FuncsApp, Packages) {
  Host h;
  auto chairs = kelp::host::Package::create("::acme::chairs::", "catalog");
  chairs->setLanguages({"de", "en"});
  chairs->setCurrencies({"EUR", "CHF"});
  auto tables = kelp::host::Package::create("::acme::tables::", "productdata");
  tables->setLanguages({"en", "fr"});
  h.packages->addPackage(chairs.get());
  h.packages->addPackage(tables.get());

  dsr::IPackage* pkg = static_cast<dsr::IPackage4*>(chairs.get());
  EXPECT_EQ(Funcs::getPackageType(pkg), "catalog");
  EXPECT_EQ(Funcs::getPackageType(static_cast<dsr::IPackage4*>(tables.get())), "productdata");
  EXPECT_EQ(Funcs::getPackageType(nullptr), "");
  EXPECT_EQ(Funcs::getSupportedLanguages(h.get()), (V{"de", "en", "fr"}));
  EXPECT_EQ(Funcs::getSupportedLanguages(h.get(), pkg), (V{"de", "en"}));
  EXPECT_EQ(Funcs::getSupportedLanguages(h.get(), "::acme::tables::"), (V{"en", "fr"}));
  EXPECT_EQ(Funcs::getSupportedLanguages(h.get(), std::string("::acme::tables::")),
            (V{"en", "fr"}));
  EXPECT_TRUE(Funcs::getSupportedLanguages(h.get(), "::acme::sofas::").empty());
  EXPECT_EQ(Funcs::getSupportedCurrencies(h.get(), pkg), (V{"EUR", "CHF"}));
  EXPECT_TRUE(Funcs::getSupportedCurrencies(h.get(), nullptr).empty());
  EXPECT_TRUE(h.messages().empty());

  chairs->failRequest(dsr::IPackage4::IID);
  EXPECT_TRUE(Funcs::getSupportedCurrencies(h.get(), pkg).empty());
  tables->failRequest("getSupportedLanguages");
  EXPECT_TRUE(Funcs::getSupportedLanguages(h.get(), "::acme::tables::").empty());
  h.app->failRequest(dsr::IPackageManager::IID);
  EXPECT_TRUE(Funcs::getSupportedLanguages(h.get()).empty());
  EXPECT_EQ(withoutLines(h.messages()),
            (V{"Can't get interface IDL:qor/quv/dsr/IPackage4:1.0 from interface "
               "IDL:qor/quv/dsr/IPackage4:1.0: not implemented",
               "QUV assertion failed: utl_Funcs[]: !EFAILED(tRes)",
               "Can't get interface IDL:qor/quv/dsr/IPackageManager:1.0 from interface "
               "IDL:qor/quv/fw/IApplication:1.0: not implemented"}));
}

TEST(FuncsApp, ActionCanceled) {
  Host h;
  Vetoer vetoer;
  ASSERT_EQ(h.app->eventDispatcher()->addEventListener(&vetoer), zob::kOk);
  std::string reason;
  EXPECT_TRUE(Funcs::actionCanceled(h.get(), nullptr, "delete", "article", "A-1", "", &reason));
  EXPECT_EQ(vetoer.seen, "delete");
  EXPECT_EQ(reason, "locked");
  reason = "untouched";
  EXPECT_FALSE(Funcs::actionCanceled(h.get(), nullptr, "rename", "article", "A-1", "A-2", &reason));
  EXPECT_EQ(vetoer.seen, "rename");
  EXPECT_EQ(reason, "untouched");
  EXPECT_TRUE(Funcs::actionCanceled(h.get(), nullptr, "delete"));

  h.app->failRequest("sendEvent", zob::kBusy);
  EXPECT_FALSE(Funcs::actionCanceled(h.get(), nullptr, "delete"));
  EXPECT_EQ(h.messages(), (V{"Send of 'vetoableAction' event failed: resource busy"}));
  h.app->eventDispatcher()->removeEventListener(&vetoer);
}

TEST(FuncsApp, Images) {
  Host h;
  auto node = kelp::host::PDBNode::create();
  node->setImagePath("thumbnail", "/img/chair-small.png");
  node->setImagePath("", "/img/chair.png");
  auto view = kelp::host::PDBView::create();
  dsr::IPDBNode* n = node.get();
  EXPECT_EQ(Funcs::getImagePathFromPDBNode(h.get(), n, "thumbnail"), "/img/chair-small.png");
  EXPECT_EQ(Funcs::getImagePathFromPDBNode(h.get(), n, std::string()), "/img/chair.png");
  EXPECT_EQ(Funcs::getImagePathFromPDBNode(h.get(), n, static_cast<const char*>(nullptr)),
            "/img/chair.png");
  EXPECT_EQ(Funcs::getImagePathFromPDBNode(h.get(), n, "large"), "");
  EXPECT_EQ(Funcs::getImagePathFromPDBNode(h.get(), nullptr, "thumbnail"), "");
  EXPECT_EQ(Funcs::getDefaultImageColumnId(h.get(), view.get()), "thumbnail");
  view->setDefaultImageColumnId("large");
  EXPECT_EQ(Funcs::getDefaultImageColumnId(h.get(), view.get()), "large");
  EXPECT_EQ(Funcs::getDefaultImageColumnId(h.get(), nullptr), "");
  EXPECT_TRUE(h.messages().empty());

  node->failRequest("getImagePath", zob::kIOError);
  view->failRequest("getDefaultImageColumnId");
  EXPECT_EQ(Funcs::getImagePathFromPDBNode(h.get(), n, "thumbnail"), "");
  EXPECT_EQ(Funcs::getDefaultImageColumnId(h.get(), view.get()), "");
  EXPECT_EQ(withoutLines(h.messages()), (V{"QUV assertion failed: utl_Funcs[]: !EFAILED(tRes)",
                                           "QUV assertion failed: utl_Funcs[]: !EFAILED(tRes)"}));
}

TEST(FuncsApp, ImageFactory) {
  EXPECT_FALSE(Funcs::getImageFactory());
  auto factory = kelp::host::ImageFactory::create();
  Funcs::setImageFactory(factory.get());
  EXPECT_EQ(factory->refCount(), 2u);
  {
    zob::Ref<fw::IImageFactory> got = Funcs::getImageFactory();
    EXPECT_EQ(got.get(), static_cast<fw::IImageFactory*>(factory.get()));
    EXPECT_EQ(factory->refCount(), 3u);

    kelp::test::TempDir dir;
    kelp::test::writeFile(dir.file("a.png"), std::string("\x89PNG\0x", 6));
    zob::Ref<zob::IUnknown> image;
    ASSERT_EQ(got->createImage(dir.file("a.png").c_str(), image.out()), zob::kOk);
    EXPECT_EQ(static_cast<kelp::host::FileImage*>(image.get())->bytes(),
              std::string("\x89PNG\0x", 6));
    EXPECT_EQ(got->createImage(dir.file("b.png").c_str(), image.out()), zob::kNotFound);
    EXPECT_FALSE(image);
  }
  Funcs::setImageFactory(factory.get());  // the same again keeps one reference
  EXPECT_EQ(factory->refCount(), 2u);
  Funcs::setImageFactory(nullptr);
  EXPECT_EQ(factory->refCount(), 1u);
  EXPECT_FALSE(Funcs::getImageFactory());
}
