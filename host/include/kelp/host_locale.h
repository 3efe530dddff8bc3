/* The reference host's locale object: implements ILocale, ILocale2 and
 * ILocale3 from values set in code.
 *
 *   auto app = kelp::host::Application::create();
 *   auto loc = kelp::host::Locale::create();
 *   loc->setLanguage("de");
 *   loc->setLanguages({"de", "en"});
 *   loc->attachTo(*app);   // the application now answers ILocale queries
 *
 * Any request ("getLanguage", "getLanguages", ... or an interface id such as
 * "IDL:qor/quv/fw/ILocale3:1.0") can be told to fail with failRequest.
 * Strings and lists are handed out as zob allocations for the caller to free.
 * Thread rules: configure from one thread; the getters lock and may be
 * called from any thread. */
#ifndef KELP_HOST_LOCALE_H
#define KELP_HOST_LOCALE_H

#include <kelp/host.h>

#include <fw/fw_ILocale.h>

namespace kelp::host {

class KELP_HOST_API Locale final : public Object<qor::quv::fw::ILocale3> {
 public:
  /* A locale with language "en", country "US" and the language list "en". */
  static zob::Ref<Locale> create();

  ZResult queryInterface(const char* iid, zob::IUnknown** out) override;

  ZResult getLanguage(char** out) override;
  ZResult getCountry(char** out) override;
  ZResult getLanguages(zob::Sequence<char*>* out) override;
  ZResult getProductDataLanguages(zob::Sequence<char*>* out) override;
  ZResult getCatalogLanguages(zob::Sequence<char*>* out) override;

  void setLanguage(const std::string& language);
  void setCountry(const std::string& country);
  void setLanguages(const std::vector<std::string>& languages);
  void setProductDataLanguages(const std::vector<std::string>& languages);
  void setCatalogLanguages(const std::vector<std::string>& languages);

  /* Makes `app` hand out this locale for ILocale, ILocale2 and ILocale3. */
  void attachTo(Application& app);

  /* Makes the named request (operation name or interface id) answer `code`. */
  void failRequest(const std::string& request, ZResult code = zob::kNotImplemented);
  void clearFailures();

 private:
  Locale() = default;
  ZResult failureOf(const std::string& request) const;
  ZResult copyString(const char* request, const std::string& value, char** out);
  ZResult copyList(const char* request, const std::vector<std::string>& list,
                   zob::Sequence<char*>* out);

  mutable std::mutex mutex_;
  std::string language_ = "en";
  std::string country_ = "US";
  std::vector<std::string> languages_{"en"};
  std::vector<std::string> productDataLanguages_;
  std::vector<std::string> catalogLanguages_;
  std::map<std::string, ZResult> failures_;
};

}  // namespace kelp::host

#endif
