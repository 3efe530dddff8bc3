// Registry: the registry database, its roots and the module keys below the
// vendor and product keys.
#define QUV_SOURCE_NAME "utl_Registry"
#include <kelp/util/utl_Registry.h>

#include <fw/fw_IApplication5.h>
#include <kelp/util/utl_Logger.h>
#include <zob/zob_factory.h>
#include <zob/zob_mem.h>

#include <string>
#include <string_view>

namespace qor::quv::util {

namespace {

constexpr char kVendorKey[] = "Brindlecraft";
constexpr char kDefaultQUVKey[] = "QUV";

// Process-wide, set once at start-up (no lock).
std::string& quvKey() {
  static std::string key = kDefaultQUVKey;
  return key;
}

// A string handed out by the application, freed on scope exit.
struct ZobString {
  char* p = nullptr;
  ~ZobString() { zobFree(p); }
};

}  // namespace

zob::regdb::IRegistry* Registry::getRegistry(fw::IApplication* app) {
  zob::IUnknown* out = nullptr;
  ZResult r = zobCreateInstance(zob::regdb::kRegistryClassId, zob::regdb::IRegistry::IID, &out);
  if (EFAILED(r) || !out) {
    eDebug(app, QUV_LOG_CATEGORY,
           std::string("Failed to instantiate %1 with interface %2: %3")
               << zob::regdb::kRegistryClassId << zob::regdb::IRegistry::IID
               << zobStrError(EFAILED(r) ? r : zob::kNoInterface));
    return nullptr;
  }
  return static_cast<zob::regdb::IRegistry*>(out);
}

RegNode Registry::open(fw::IApplication* app, bool readOnly, bool localMachine) {
  auto reg = zob::Ref<zob::regdb::IRegistry>::adopt(getRegistry(app));
  if (!reg) return RegNode();
  int key = 0;
  ZResult r = reg->openRoot(localMachine ? zob::regdb::kLocalMachine : zob::regdb::kCurrentUser,
                            readOnly ? zob::regdb::kAccessRead : zob::regdb::kAccessAll, &key);
  if (EFAILED(r)) {
    eDebug(app, QUV_LOG_CATEGORY,
           std::string("Failed to open registry root for %1 in %2 mode: %3")
               << (localMachine ? "local machine" : "current user")
               << (readOnly ? "read only" : "read/write") << zobStrError(r));
    return RegNode();
  }
  return RegNode(app, reg.get(), key, localMachine ? "LOCAL_MACHINE" : "CURRENT_USER");
}

RegNode Registry::openLocalMachine(fw::IApplication* app, bool readOnly) {
  return open(app, readOnly, true);
}

RegNode Registry::openCurrentUser(fw::IApplication* app, bool readOnly) {
  return open(app, readOnly, false);
}

RegNode Registry::openModule(fw::IApplication* app, const char* key1, const char* key2,
                             const char* key3, bool readOnly, bool localMachine) {
  RegNode node = open(app, readOnly, localMachine);
  if (!node.isOpen()) {
    if (!readOnly)
      eDebug(app, QUV_LOG_CATEGORY,
             std::string("Failed to open %1 in read/write mode")
                 << (localMachine ? "<local machine>" : "<current user>"));
    return RegNode();
  }
  // The path key1/key2/key3 is walked one component at a time; a key that
  // itself holds several components ("Vendor/App") is walked the same way,
  // and an empty component fails like any other bad name.
  for (const char* key : {key1, key2, key3}) {
    if (!key) continue;
    std::string_view rest(key);
    for (;;) {
      std::size_t slash = rest.find('/');
      std::string part(rest.substr(0, slash));
      // Opening for reading logs a missing component; creating logs its own
      // failure ("Failed to create registry node ...").
      node = node.open(part.c_str(), !readOnly);
      if (!node.isOpen()) return RegNode();
      if (slash == std::string_view::npos) break;
      rest.remove_prefix(slash + 1);
    }
  }
  return node;
}

RegNode Registry::openLocalMachineQUVModule(fw::IApplication* app, const char* module,
                                            bool readOnly) {
  return openModule(app, kVendorKey, getQUVRegistryKey(), module, readOnly, true);
}

RegNode Registry::openCurrentUserQUVModule(fw::IApplication* app, const char* module,
                                           bool readOnly) {
  return openModule(app, kVendorKey, getQUVRegistryKey(), module, readOnly, false);
}

RegNode Registry::openAppModule(fw::IApplication* app, const char* module, bool readOnly,
                                bool localMachine) {
  zob::Ref<fw::IApplication5> app5;
  ZResult r = zob::query(app, app5);
  if (app && (EFAILED(r) || !app5)) QUV_QUERY_FAILED(app, app, fw::IApplication5::IID, r);
  ZobString vendor, product;
  if (app5) r = app5->getVendorKey(&vendor.p);
  if (EFAILED(r) || !app5) {
    eDebug(app, QUV_LOG_CATEGORY,
           std::string("IApplication failed to return vendor key: %1") << zobStrError(r));
    return RegNode();
  }
  if (!vendor.p || !*vendor.p) {
    eDebug(app, QUV_LOG_CATEGORY, "IApplication returned empty vendor key");
    return RegNode();
  }
  r = app5->getAppKey(&product.p);
  if (EFAILED(r)) {
    eDebug(app, QUV_LOG_CATEGORY,
           std::string("IApplication failed to return application key: %1") << zobStrError(r));
    return RegNode();
  }
  if (!product.p || !*product.p) {
    eDebug(app, QUV_LOG_CATEGORY, "IApplication returned empty application key");
    return RegNode();
  }
  return openModule(app, vendor.p, product.p, module, readOnly, localMachine);
}

RegNode Registry::openLocalMachineAppModule(fw::IApplication* app, const char* module,
                                            bool readOnly) {
  return openAppModule(app, module, readOnly, true);
}

RegNode Registry::openCurrentUserAppModule(fw::IApplication* app, const char* module,
                                           bool readOnly) {
  return openAppModule(app, module, readOnly, false);
}

const char* Registry::getQUVRegistryKey() {
  return quvKey().c_str();
}

void Registry::setQUVRegistryKey(const char* key) {
  quvKey() = key ? key : kDefaultQUVKey;
}

}  // namespace qor::quv::util
