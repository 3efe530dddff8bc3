// The reference host's properties, features and packages.
#include <kelp/host_app.h>

#include <ktz/ktz_file.h>
#include <vorn/vorn_string.h>
#include <zob/zob_mem.h>

namespace kelp::host {

using namespace qor::quv;

namespace {

template <class I>
ZResult answer(zob::IUnknown* self, const char* iid, zob::IUnknown** out) {
  if (zobCompareIID(iid, zob::IUnknown::IID) || zobCompareIID(iid, I::IID)) {
    *out = self;
    self->_comAddRef();
    return zob::kOk;
  }
  return zob::kNoInterface;
}

ZResult copyOut(const std::string& value, char** out) {
  *out = zobStrDup(value.c_str());
  return *out ? zob::kOk : zob::kOutOfMemory;
}

}  // namespace

bool copyStringList(const std::vector<std::string>& list, zob::Sequence<char*>* out) {
  out->length = 0;
  out->buffer = nullptr;
  if (list.empty()) return true;
  auto* buffer = static_cast<char**>(zobCalloc(list.size(), sizeof(char*)));
  if (!buffer) return false;
  out->buffer = buffer;
  for (const std::string& s : list) {
    char* copy = zobStrDup(s.c_str());
    if (!copy) {
      zobFreeStrSeq(out);
      return false;
    }
    out->buffer[out->length++] = copy;
  }
  return true;
}

// --- FailureTable ------------------------------------------------------------

void FailureTable::set(const std::string& request, ZResult code) {
  std::lock_guard lock(mutex_);
  codes_[request] = code;
}

void FailureTable::clear() {
  std::lock_guard lock(mutex_);
  codes_.clear();
}

ZResult FailureTable::of(const std::string& request) const {
  std::lock_guard lock(mutex_);
  auto it = codes_.find(request);
  return it == codes_.end() ? 0 : it->second;
}

// --- AppProperties -----------------------------------------------------------

zob::Ref<AppProperties> AppProperties::create() {
  return zob::Ref<AppProperties>(new AppProperties);
}

ZResult AppProperties::queryInterface(const char* iid, zob::IUnknown** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (!iid) return zob::kInvalidArgument;
  if (ZResult r = failures_.of(iid); r != 0) return r;
  return answer<fw::IApplication5>(this, iid, out);
}

int AppProperties::truthOf(const char* name, bool wanted) {
  static const char* const kTrue[] = {"true", "yes", "on", "1"};
  static const char* const kFalse[] = {"false", "no", "off", "0"};
  std::lock_guard lock(mutex_);
  auto it = properties_.find(name);
  if (it == properties_.end()) return 0;
  for (const char* word : wanted ? kTrue : kFalse)
    if (gStrCaseCmp(it->second.c_str(), word) == 0) return 1;
  return 0;
}

ZResult AppProperties::isPropertyTrue(const char* name, int* out) {
  if (!out) return zob::kInvalidArgument;
  *out = 0;
  if (!name) return zob::kInvalidArgument;
  if (ZResult r = failures_.of("isPropertyTrue"); r != 0) return r;
  *out = truthOf(name, true);
  return zob::kOk;
}

ZResult AppProperties::isPropertyFalse(const char* name, int* out) {
  if (!out) return zob::kInvalidArgument;
  *out = 0;
  if (!name) return zob::kInvalidArgument;
  if (ZResult r = failures_.of("isPropertyFalse"); r != 0) return r;
  *out = truthOf(name, false);
  return zob::kOk;
}

ZResult AppProperties::getProperty(const char* name, char** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (!name) return zob::kInvalidArgument;
  if (ZResult r = failures_.of("getProperty"); r != 0) return r;
  std::lock_guard lock(mutex_);
  auto it = properties_.find(name);
  if (it == properties_.end()) return zob::kNotFound;
  return copyOut(it->second, out);
}

ZResult AppProperties::copyString(const char* request, const std::string& value, char** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (ZResult r = failures_.of(request); r != 0) return r;
  std::lock_guard lock(mutex_);
  return copyOut(value, out);
}

ZResult AppProperties::getVendorKey(char** out) {
  return copyString("getVendorKey", vendorKey_, out);
}

ZResult AppProperties::getAppKey(char** out) {
  return copyString("getAppKey", appKey_, out);
}

void AppProperties::setProperty(const std::string& name, const std::string& value) {
  std::lock_guard lock(mutex_);
  properties_[name] = value;
}

void AppProperties::removeProperty(const std::string& name) {
  std::lock_guard lock(mutex_);
  properties_.erase(name);
}

void AppProperties::setVendorKey(const std::string& key) {
  std::lock_guard lock(mutex_);
  vendorKey_ = key;
}

void AppProperties::setAppKey(const std::string& key) {
  std::lock_guard lock(mutex_);
  appKey_ = key;
}

void AppProperties::attachTo(Application& app) {
  app.provideInterface(fw::IApplication5::IID, static_cast<fw::IApplication5*>(this));
}

void AppProperties::failRequest(const std::string& request, ZResult code) {
  failures_.set(request, code);
}

void AppProperties::clearFailures() {
  failures_.clear();
}

// --- FeatureSet and AppFeatures ------------------------------------------------

zob::Ref<FeatureSet> FeatureSet::create() {
  return zob::Ref<FeatureSet>(new FeatureSet);
}

ZResult FeatureSet::isEnabled(const char* name, int* out) {
  if (!out) return zob::kInvalidArgument;
  *out = 0;
  if (!name) return zob::kInvalidArgument;
  if (ZResult r = failures_.of("isEnabled"); r != 0) return r;
  std::lock_guard lock(mutex_);
  auto it = features_.find(name);
  *out = it != features_.end() && it->second ? 1 : 0;
  return zob::kOk;
}

void FeatureSet::enable(const std::string& name, bool enabled) {
  std::lock_guard lock(mutex_);
  features_[name] = enabled;
}

void FeatureSet::failRequest(const std::string& request, ZResult code) {
  failures_.set(request, code);
}

void FeatureSet::clearFailures() {
  failures_.clear();
}

zob::Ref<AppFeatures> AppFeatures::create() {
  return zob::Ref<AppFeatures>(new AppFeatures);
}

ZResult AppFeatures::queryInterface(const char* iid, zob::IUnknown** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (!iid) return zob::kInvalidArgument;
  if (ZResult r = failures_.of(iid); r != 0) return r;
  return answer<fw::IApplication7>(this, iid, out);
}

ZResult AppFeatures::getFeatureSet(fw::IFeatureSet** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (ZResult r = failures_.of("getFeatureSet"); r != 0) return r;
  if (hidden_) return zob::kOk;
  *out = features_.get();
  features_->addRef();
  return zob::kOk;
}

void AppFeatures::attachTo(Application& app) {
  app.provideInterface(fw::IApplication7::IID, static_cast<fw::IApplication7*>(this));
}

void AppFeatures::failRequest(const std::string& request, ZResult code) {
  failures_.set(request, code);
}

void AppFeatures::clearFailures() {
  failures_.clear();
}

// --- Package and PackageManager ------------------------------------------------

zob::Ref<Package> Package::create(const std::string& name, const std::string& type) {
  return zob::Ref<Package>(new Package(name, type));
}

ZResult Package::queryInterface(const char* iid, zob::IUnknown** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (!iid) return zob::kInvalidArgument;
  if (ZResult r = failures_.of(iid); r != 0) return r;
  if (zobCompareIID(iid, dsr::IPackage::IID)) {
    *out = this;
    addRef();
    return zob::kOk;
  }
  return answer<dsr::IPackage4>(this, iid, out);
}

ZResult Package::getName(char** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (ZResult r = failures_.of("getName"); r != 0) return r;
  std::lock_guard lock(mutex_);
  return copyOut(name_, out);
}

ZResult Package::getPackageType(char** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (ZResult r = failures_.of("getPackageType"); r != 0) return r;
  std::lock_guard lock(mutex_);
  return copyOut(type_, out);
}

ZResult Package::getSupportedLanguages(zob::Sequence<char*>* out) {
  if (!out) return zob::kInvalidArgument;
  out->length = 0;
  out->buffer = nullptr;
  if (ZResult r = failures_.of("getSupportedLanguages"); r != 0) return r;
  std::lock_guard lock(mutex_);
  return copyStringList(languages_, out) ? zob::kOk : zob::kOutOfMemory;
}

ZResult Package::getSupportedCurrencies(zob::Sequence<char*>* out) {
  if (!out) return zob::kInvalidArgument;
  out->length = 0;
  out->buffer = nullptr;
  if (ZResult r = failures_.of("getSupportedCurrencies"); r != 0) return r;
  std::lock_guard lock(mutex_);
  return copyStringList(currencies_, out) ? zob::kOk : zob::kOutOfMemory;
}

std::string Package::name() const {
  std::lock_guard lock(mutex_);
  return name_;
}

void Package::setLanguages(const std::vector<std::string>& languages) {
  std::lock_guard lock(mutex_);
  languages_ = languages;
}

void Package::setCurrencies(const std::vector<std::string>& currencies) {
  std::lock_guard lock(mutex_);
  currencies_ = currencies;
}

void Package::failRequest(const std::string& request, ZResult code) {
  failures_.set(request, code);
}

void Package::clearFailures() {
  failures_.clear();
}

zob::Ref<PackageManager> PackageManager::create() {
  return zob::Ref<PackageManager>(new PackageManager);
}

ZResult PackageManager::queryInterface(const char* iid, zob::IUnknown** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (!iid) return zob::kInvalidArgument;
  if (ZResult r = failures_.of(iid); r != 0) return r;
  return answer<dsr::IPackageManager>(this, iid, out);
}

ZResult PackageManager::getPackage(const char* name, dsr::IPackage** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (!name) return zob::kInvalidArgument;
  if (ZResult r = failures_.of("getPackage"); r != 0) return r;
  std::lock_guard lock(mutex_);
  for (const auto& p : packages_) {
    if (p->name() == name) {
      *out = static_cast<dsr::IPackage4*>(p.get());
      p->addRef();
      return zob::kOk;
    }
  }
  return zob::kNotFound;
}

ZResult PackageManager::getSupportedLanguages(zob::Sequence<char*>* out) {
  if (!out) return zob::kInvalidArgument;
  out->length = 0;
  out->buffer = nullptr;
  if (ZResult r = failures_.of("getSupportedLanguages"); r != 0) return r;
  std::vector<std::string> all;
  {
    std::lock_guard lock(mutex_);
    for (const auto& p : packages_) {
      zob::Sequence<char*> langs{};
      if (EFAILED(p->getSupportedLanguages(&langs))) continue;
      for (std::uint32_t i = 0; i < langs.length; ++i) {
        std::string code = langs.buffer[i];
        bool seen = false;
        for (const std::string& s : all) seen = seen || s == code;
        if (!seen) all.push_back(code);
      }
      zobFreeStrSeq(&langs);
    }
  }
  return copyStringList(all, out) ? zob::kOk : zob::kOutOfMemory;
}

void PackageManager::addPackage(Package* package) {
  if (!package) return;
  std::lock_guard lock(mutex_);
  packages_.emplace_back(package);
}

void PackageManager::attachTo(Application& app) {
  app.provideInterface(dsr::IPackageManager::IID, static_cast<dsr::IPackageManager*>(this));
}

void PackageManager::failRequest(const std::string& request, ZResult code) {
  failures_.set(request, code);
}

void PackageManager::clearFailures() {
  failures_.clear();
}

// --- Images ------------------------------------------------------------------------

zob::Ref<PDBNode> PDBNode::create() {
  return zob::Ref<PDBNode>(new PDBNode);
}

ZResult PDBNode::getImagePath(const char* columnId, char** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (!columnId) return zob::kInvalidArgument;
  if (ZResult r = failures_.of("getImagePath"); r != 0) return r;
  std::lock_guard lock(mutex_);
  auto it = paths_.find(columnId);
  if (it == paths_.end()) return zob::kNotFound;
  return copyOut(it->second, out);
}

void PDBNode::setImagePath(const std::string& columnId, const std::string& path) {
  std::lock_guard lock(mutex_);
  paths_[columnId] = path;
}

void PDBNode::failRequest(const std::string& request, ZResult code) {
  failures_.set(request, code);
}

zob::Ref<PDBView> PDBView::create() {
  return zob::Ref<PDBView>(new PDBView);
}

ZResult PDBView::getDefaultImageColumnId(char** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (ZResult r = failures_.of("getDefaultImageColumnId"); r != 0) return r;
  std::lock_guard lock(mutex_);
  return copyOut(column_, out);
}

void PDBView::setDefaultImageColumnId(const std::string& columnId) {
  std::lock_guard lock(mutex_);
  column_ = columnId;
}

void PDBView::failRequest(const std::string& request, ZResult code) {
  failures_.set(request, code);
}

zob::Ref<FileImage> FileImage::create(const std::string& path, const std::string& bytes) {
  return zob::Ref<FileImage>(new FileImage(path, bytes));
}

zob::Ref<ImageFactory> ImageFactory::create() {
  return zob::Ref<ImageFactory>(new ImageFactory);
}

ZResult ImageFactory::createImage(const char* path, zob::IUnknown** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (!path) return zob::kInvalidArgument;
  constexpr std::size_t kLimit = 64u << 20;
  KtzFile* file = nullptr;
  ZResult r = ktzFileOpen(path, kKtzFileRead, &file);
  if (EFAILED(r)) return r;
  std::string bytes;
  char buf[8192];
  for (;;) {
    std::size_t got = 0;
    r = ktzFileRead(file, buf, sizeof buf, &got);
    if (EFAILED(r) || got == 0) break;
    if (bytes.size() + got > kLimit) {
      r = zob::kUnsupported;
      break;
    }
    bytes.append(buf, got);
  }
  ktzFileClose(file);
  if (EFAILED(r)) return r;
  zob::Ref<FileImage> image = FileImage::create(path, bytes);
  *out = image.detach();
  return zob::kOk;
}

}  // namespace kelp::host
