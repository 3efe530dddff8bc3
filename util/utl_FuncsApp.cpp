// Funcs: queries of the host application (properties, features, keys,
// locale, packages) and the vetoable-action shortcut.
#define QUV_SOURCE_NAME "utl_Funcs"

#include <kelp/util/utl_Funcs.h>

#include <fw/fw_IApplication5.h>
#include <fw/fw_IApplication7.h>
#include <fw/fw_ILocale.h>
#include <kelp/util/utl_Event.h>
#include <kelp/util/utl_Logger.h>
#include <zob/zob_mem.h>
#include <mutex>

// QUV_ASSERT_AT with __LINE__ rather than QUV_ASSERT: the condition must be
// reported as written, before its macros (EFAILED, ZOBCSTR) are expanded.

/* The text of a string held for an assertion's condition. */
#define ZOBCSTR(s) ((s).c_str())

namespace qor::quv::util {

namespace {

/* Queries obj for I; a failure leaves out empty and returns the code. */
template <class I>
ZResult queryFor(zob::IUnknown* obj, zob::Ref<I>& out) {
  out.reset();
  zob::IUnknown* p = nullptr;
  const ZResult r = obj->_comQueryInterface(I::IID, &p);
  if (EFAILED(r)) {
    if (p) p->_comRelease();
    return r;
  }
  out = zob::Ref<I>::adopt(static_cast<I*>(p));
  return r;
}

/* The application's IApplication5, or null after reporting why. */
zob::Ref<fw::IApplication5> application5(fw::IApplication* app) {
  zob::Ref<fw::IApplication5> ref;
  const ZResult tRes = queryFor(app, ref);
  if (EFAILED(tRes)) {
    QUV_QUERY_FAILED(app, app, fw::IApplication5::IID, tRes);
    return ref;
  }
  fw::IApplication5* tApp5 = ref.get();
  QUV_ASSERT_AT(app, tApp5 != 0, __LINE__);
  return ref;
}

template <class L>
zob::Ref<L> locale(fw::IApplication* app) {
  zob::Ref<L> ref;
  const ZResult tRes = queryFor(app, ref);
  L* tLocale = ref.get();
  if (!QUV_ASSERT_AT(app, !EFAILED(tRes) && tLocale != 0, __LINE__)) ref.reset();
  return ref;
}

std::string takeString(char* s) {
  std::string out = s ? s : "";
  zobFree(s);
  return out;
}

std::vector<std::string> takeList(zob::Sequence<char*>* seq) {
  std::vector<std::string> out;
  for (std::uint32_t i = 0; i < seq->length; ++i)
    out.emplace_back(seq->buffer[i] ? seq->buffer[i] : "");
  zobFreeStrSeq(seq);
  return out;
}

/* One of the locale's lists through the versioned interface L. */
template <class L>
std::vector<std::string> localeList(fw::IApplication* app,
                                    ZResult (L::*get)(zob::Sequence<char*>*)) {
  if (!app) return {};
  zob::Ref<L> loc = locale<L>(app);
  if (!loc) return {};
  zob::Sequence<char*> seq{0, nullptr};
  const ZResult tRes = (loc.get()->*get)(&seq);
  if (!QUV_ASSERT_AT(app, !EFAILED(tRes), __LINE__)) return {};
  return takeList(&seq);
}

zob::Ref<dsr::IPackageManager> packageManager(fw::IApplication* app) {
  zob::Ref<dsr::IPackageManager> ref;
  const ZResult tRes = queryFor(app, ref);
  if (EFAILED(tRes)) QUV_QUERY_FAILED(app, app, dsr::IPackageManager::IID, tRes);
  return ref;
}

zob::Ref<dsr::IPackage4> package4(fw::IApplication* app, dsr::IPackage* package) {
  zob::Ref<dsr::IPackage4> ref;
  if (!package) return ref;
  const ZResult tRes = queryFor(package, ref);
  if (EFAILED(tRes)) QUV_QUERY_FAILED(app, package, dsr::IPackage4::IID, tRes);
  return ref;
}

std::vector<std::string> packageList(fw::IApplication* app, dsr::IPackage* package,
                                     ZResult (dsr::IPackage4::*get)(zob::Sequence<char*>*)) {
  zob::Ref<dsr::IPackage4> pkg = package4(app, package);
  if (!pkg) return {};
  zob::Sequence<char*> seq{0, nullptr};
  const ZResult tRes = (pkg.get()->*get)(&seq);
  if (!QUV_ASSERT_AT(app, !EFAILED(tRes), __LINE__)) return {};
  return takeList(&seq);
}

}  // namespace

// --- Properties and keys ---------------------------------------------------------

bool Funcs::isPropertyTrue(fw::IApplication* app, const char* name) {
  if (!app || !name) return false;
  zob::Ref<fw::IApplication5> app5 = application5(app);
  if (!app5) return false;
  int value = 0;
  const ZResult tRes = app5->isPropertyTrue(name, &value);
  return QUV_ASSERT_AT(app, !EFAILED(tRes), __LINE__) && value != 0;
}

bool Funcs::isPropertyTrue(fw::IApplication* app, const std::string& name) {
  return isPropertyTrue(app, name.c_str());
}

bool Funcs::isPropertyFalse(fw::IApplication* app, const char* name) {
  if (!app || !name) return false;
  zob::Ref<fw::IApplication5> app5 = application5(app);
  if (!app5) return false;
  int value = 0;
  const ZResult tRes = app5->isPropertyFalse(name, &value);
  return QUV_ASSERT_AT(app, !EFAILED(tRes), __LINE__) && value != 0;
}

bool Funcs::isPropertyFalse(fw::IApplication* app, const std::string& name) {
  return isPropertyFalse(app, name.c_str());
}

std::string Funcs::getProperty(fw::IApplication* app, const char* name) {
  if (!app || !name) return std::string();
  zob::Ref<fw::IApplication5> app5 = application5(app);
  if (!app5) return std::string();
  char* value = nullptr;
  const ZResult tRes = app5->getProperty(name, &value);
  if (tRes == zob::kNotFound) return takeString(value);  // unset: no failure
  if (!QUV_ASSERT_AT(app, !EFAILED(tRes), __LINE__)) {
    zobFree(value);
    return std::string();
  }
  return takeString(value);
}

std::string Funcs::getProperty(fw::IApplication* app, const std::string& name) {
  return getProperty(app, name.c_str());
}

bool Funcs::isFeatureEnabled(fw::IApplication* app, const char* name) {
  if (!app || !name) return false;
  zob::Ref<fw::IApplication7> app7;
  ZResult tRes = queryFor(app, app7);
  fw::IApplication7* tApp7 = app7.get();
  if (!QUV_ASSERT_AT(app, !EFAILED(tRes) && tApp7 != 0, __LINE__)) return false;
  zob::Ref<fw::IFeatureSet> features;
  tRes = app7->getFeatureSet(features.out());
  fw::IFeatureSet* tFeatureSet = features.get();
  if (!QUV_ASSERT_AT(app, !EFAILED(tRes) && tFeatureSet != 0, __LINE__)) return false;
  int enabled = 0;
  tRes = features->isEnabled(name, &enabled);
  return QUV_ASSERT_AT(app, !EFAILED(tRes), __LINE__) && enabled != 0;
}

bool Funcs::isFeatureEnabled(fw::IApplication* app, const std::string& name) {
  return isFeatureEnabled(app, name.c_str());
}

std::string Funcs::getVendorKey(fw::IApplication* app) {
  if (!app) return std::string();
  zob::Ref<fw::IApplication5> app5 = application5(app);
  if (!app5) return std::string();
  char* key = nullptr;
  const ZResult tRes = app5->getVendorKey(&key);
  if (!QUV_ASSERT_AT(app, !EFAILED(tRes), __LINE__)) {
    zobFree(key);
    return std::string();
  }
  return takeString(key);
}

std::string Funcs::getAppKey(fw::IApplication* app) {
  if (!app) return std::string();
  zob::Ref<fw::IApplication5> app5 = application5(app);
  if (!app5) return std::string();
  char* key = nullptr;
  const ZResult tRes = app5->getAppKey(&key);
  if (!QUV_ASSERT_AT(app, !EFAILED(tRes), __LINE__)) {
    zobFree(key);
    return std::string();
  }
  return takeString(key);
}

// --- Locale ------------------------------------------------------------------------

bool Funcs::getLanguage(fw::IApplication* app, std::string* out) {
  if (!app || !out) return false;
  zob::Ref<fw::ILocale> loc = locale<fw::ILocale>(app);
  if (!loc) return false;
  char* language = nullptr;
  const ZResult tRes = loc->getLanguage(&language);
  if (!QUV_ASSERT_AT(app, !EFAILED(tRes), __LINE__)) {
    zobFree(language);
    return false;
  }
  *out = takeString(language);
  return true;
}

bool Funcs::getCountry(fw::IApplication* app, std::string* out) {
  if (!app || !out) return false;
  zob::Ref<fw::ILocale> loc = locale<fw::ILocale>(app);
  if (!loc) return false;
  char* country = nullptr;
  const ZResult tRes = loc->getCountry(&country);
  if (!QUV_ASSERT_AT(app, !EFAILED(tRes), __LINE__)) {
    zobFree(country);
    return false;
  }
  *out = takeString(country);
  return true;
}

std::string Funcs::getLocaleIdentifier(fw::IApplication* app) {
  std::string tLanguage;
  std::string tCountry;
  if (!getLanguage(app, &tLanguage) || !getCountry(app, &tCountry)) return std::string();
  if (!QUV_ASSERT_AT(app, isValidLanguageCode(ZOBCSTR(tLanguage)), __LINE__)) return std::string();
  if (!QUV_ASSERT_AT(app, isValidCountryCode(ZOBCSTR(tCountry)), __LINE__)) return std::string();
  return tLanguage + "_" + tCountry;
}

std::vector<std::string> Funcs::getLanguages(fw::IApplication* app) {
  return localeList<fw::ILocale2>(app, &fw::ILocale2::getLanguages);
}

std::vector<std::string> Funcs::getProductDataLanguages(fw::IApplication* app) {
  return localeList<fw::ILocale3>(app, &fw::ILocale3::getProductDataLanguages);
}

std::vector<std::string> Funcs::getCatalogLanguages(fw::IApplication* app) {
  return localeList<fw::ILocale3>(app, &fw::ILocale3::getCatalogLanguages);
}

// --- Packages ----------------------------------------------------------------------

std::string Funcs::getPackageType(dsr::IPackage* package) {
  zob::Ref<dsr::IPackage4> pkg = package4(nullptr, package);
  if (!pkg) return std::string();
  char* type = nullptr;
  const ZResult tRes = pkg->getPackageType(&type);
  if (!QUV_ASSERT_AT(nullptr, !EFAILED(tRes), __LINE__)) {
    zobFree(type);
    return std::string();
  }
  return takeString(type);
}

std::vector<std::string> Funcs::getSupportedLanguages(fw::IApplication* app) {
  if (!app) return {};
  zob::Ref<dsr::IPackageManager> mgr = packageManager(app);
  if (!mgr) return {};
  zob::Sequence<char*> seq{0, nullptr};
  const ZResult tRes = mgr->getSupportedLanguages(&seq);
  if (!QUV_ASSERT_AT(app, !EFAILED(tRes), __LINE__)) return {};
  return takeList(&seq);
}

std::vector<std::string> Funcs::getSupportedLanguages(fw::IApplication* app,
                                                      dsr::IPackage* package) {
  if (!app) return {};
  return packageList(app, package, &dsr::IPackage4::getSupportedLanguages);
}

std::vector<std::string> Funcs::getSupportedLanguages(fw::IApplication* app,
                                                      const char* packageName) {
  if (!app || !packageName) return {};
  zob::Ref<dsr::IPackageManager> mgr = packageManager(app);
  if (!mgr) return {};
  zob::Ref<dsr::IPackage> package;
  const ZResult tRes = mgr->getPackage(packageName, package.out());
  if (tRes == zob::kNotFound) return {};  // not installed: nothing to report
  if (!QUV_ASSERT_AT(app, !EFAILED(tRes) && package, __LINE__)) return {};
  return getSupportedLanguages(app, package.get());
}

std::vector<std::string> Funcs::getSupportedLanguages(fw::IApplication* app,
                                                      const std::string& packageName) {
  return getSupportedLanguages(app, packageName.c_str());
}

std::vector<std::string> Funcs::getSupportedCurrencies(fw::IApplication* app,
                                                       dsr::IPackage* package) {
  if (!app) return {};
  return packageList(app, package, &dsr::IPackage4::getSupportedCurrencies);
}

// --- Images ------------------------------------------------------------------------

namespace {

std::mutex& imageFactoryMutex() {
  static std::mutex m;
  return m;
}
// A plain pointer rather than a Ref: nothing may be released during static
// destruction, when the factory's module may be gone already.
fw::IImageFactory* gImageFactory = nullptr;

}  // namespace

std::string Funcs::getImagePathFromPDBNode(fw::IApplication* app, dsr::IPDBNode* node,
                                           const char* columnId) {
  if (!node) return std::string();
  char* path = nullptr;
  const ZResult tRes = node->getImagePath(columnId ? columnId : "", &path);
  if (tRes == zob::kNotFound) return takeString(path);  // no image in that column
  if (!QUV_ASSERT_AT(app, !EFAILED(tRes), __LINE__)) {
    zobFree(path);
    return std::string();
  }
  return takeString(path);
}

std::string Funcs::getImagePathFromPDBNode(fw::IApplication* app, dsr::IPDBNode* node,
                                           const std::string& columnId) {
  return getImagePathFromPDBNode(app, node, columnId.c_str());
}

std::string Funcs::getDefaultImageColumnId(fw::IApplication* app, dsr::IPDBView* view) {
  if (!view) return std::string();
  char* column = nullptr;
  const ZResult tRes = view->getDefaultImageColumnId(&column);
  if (!QUV_ASSERT_AT(app, !EFAILED(tRes), __LINE__)) {
    zobFree(column);
    return std::string();
  }
  return takeString(column);
}

void Funcs::setImageFactory(fw::IImageFactory* factory) {
  if (factory) factory->_comAddRef();
  fw::IImageFactory* old = nullptr;
  {
    std::lock_guard lock(imageFactoryMutex());
    old = gImageFactory;
    gImageFactory = factory;
  }
  if (old) old->_comRelease();  // outside the lock: the release may call back
}

zob::Ref<fw::IImageFactory> Funcs::getImageFactory() {
  std::lock_guard lock(imageFactoryMutex());
  return zob::Ref<fw::IImageFactory>(gImageFactory);
}

// --- Vetoable actions ----------------------------------------------------------------

bool Funcs::actionCanceled(fw::IApplication* app, zob::IUnknown* source, const std::string& name,
                           const std::string& valueKey, const std::string& oldValue,
                           const std::string& newValue, std::string* reason) {
  if (!app) return false;
  zob::Ref<VetoableActionEvent> event(
      new VetoableActionEvent("vetoableAction", source, name, valueKey, oldValue, newValue));
  // sendEvent logs its own failures; an event that was not delivered was not vetoed.
  if (EFAILED(sendEvent(app, static_cast<DefaultEvent*>(event.get())))) return false;
  if (!event->isCanceled()) return false;
  if (reason) *reason = event->getCancelReason();
  return true;
}

}  // namespace qor::quv::util
