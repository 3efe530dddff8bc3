// The reference host's locale: language, country and language lists set from
// code, handed out through ILocale, ILocale2 and ILocale3.
#include <kelp/host_locale.h>

#include <zob/zob_mem.h>

namespace kelp::host {

using namespace qor::quv;

zob::Ref<Locale> Locale::create() {
  return zob::Ref<Locale>(new Locale);
}

ZResult Locale::queryInterface(const char* iid, zob::IUnknown** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (!iid) return zob::kInvalidArgument;
  if (ZResult r = failureOf(iid); r != 0) return r;
  if (zobCompareIID(iid, zob::IUnknown::IID) || zobCompareIID(iid, fw::ILocale::IID) ||
      zobCompareIID(iid, fw::ILocale2::IID) || zobCompareIID(iid, fw::ILocale3::IID)) {
    *out = static_cast<fw::ILocale3*>(this);
    addRef();
    return zob::kOk;
  }
  return zob::kNoInterface;
}

ZResult Locale::failureOf(const std::string& request) const {
  std::lock_guard lock(mutex_);
  auto it = failures_.find(request);
  return it == failures_.end() ? 0 : it->second;
}

ZResult Locale::copyString(const char* request, const std::string& value, char** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (ZResult r = failureOf(request); r != 0) return r;
  std::lock_guard lock(mutex_);
  *out = zobStrDup(value.c_str());
  return *out ? zob::kOk : zob::kOutOfMemory;
}

ZResult Locale::copyList(const char* request, const std::vector<std::string>& list,
                         zob::Sequence<char*>* out) {
  if (!out) return zob::kInvalidArgument;
  out->length = 0;
  out->buffer = nullptr;
  if (ZResult r = failureOf(request); r != 0) return r;
  std::lock_guard lock(mutex_);
  if (list.empty()) return zob::kOk;
  auto** buffer = static_cast<char**>(zobCalloc(list.size(), sizeof(char*)));
  if (!buffer) return zob::kOutOfMemory;
  out->buffer = buffer;
  for (const std::string& s : list) {
    char* copy = zobStrDup(s.c_str());
    if (!copy) {
      zobFreeStrSeq(out);
      return zob::kOutOfMemory;
    }
    out->buffer[out->length++] = copy;
  }
  return zob::kOk;
}

ZResult Locale::getLanguage(char** out) {
  return copyString("getLanguage", language_, out);
}
ZResult Locale::getCountry(char** out) {
  return copyString("getCountry", country_, out);
}
ZResult Locale::getLanguages(zob::Sequence<char*>* out) {
  return copyList("getLanguages", languages_, out);
}
ZResult Locale::getProductDataLanguages(zob::Sequence<char*>* out) {
  return copyList("getProductDataLanguages", productDataLanguages_, out);
}
ZResult Locale::getCatalogLanguages(zob::Sequence<char*>* out) {
  return copyList("getCatalogLanguages", catalogLanguages_, out);
}

void Locale::setLanguage(const std::string& language) {
  std::lock_guard lock(mutex_);
  language_ = language;
}
void Locale::setCountry(const std::string& country) {
  std::lock_guard lock(mutex_);
  country_ = country;
}
void Locale::setLanguages(const std::vector<std::string>& languages) {
  std::lock_guard lock(mutex_);
  languages_ = languages;
}
void Locale::setProductDataLanguages(const std::vector<std::string>& languages) {
  std::lock_guard lock(mutex_);
  productDataLanguages_ = languages;
}
void Locale::setCatalogLanguages(const std::vector<std::string>& languages) {
  std::lock_guard lock(mutex_);
  catalogLanguages_ = languages;
}

void Locale::attachTo(Application& app) {
  auto* self = static_cast<fw::ILocale3*>(this);
  app.provideInterface(fw::ILocale::IID, self);
  app.provideInterface(fw::ILocale2::IID, self);
  app.provideInterface(fw::ILocale3::IID, self);
}

void Locale::failRequest(const std::string& request, ZResult code) {
  std::lock_guard lock(mutex_);
  failures_[request] = code;
}

void Locale::clearFailures() {
  std::lock_guard lock(mutex_);
  failures_.clear();
}

}  // namespace kelp::host
