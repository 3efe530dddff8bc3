/* The reference host's further application services: properties and
 * registry keys (IApplication5), features (IApplication7 with an
 * IFeatureSet), and installed packages (IPackageManager, IPackage4).
 *
 *   auto app = kelp::host::Application::create();
 *   auto props = kelp::host::AppProperties::create();
 *   props->setProperty("basket.autosave", "true");
 *   props->attachTo(*app);        // the application now answers IApplication5
 *   auto features = kelp::host::AppFeatures::create();
 *   features->featureSet()->enable("pricing");
 *   features->attachTo(*app);     // IApplication7
 *   auto pkgs = kelp::host::PackageManager::create();
 *   auto pkg = kelp::host::Package::create("::acme::chairs::", "catalog");
 *   pkg->setLanguages({"de", "en"});
 *   pkgs->addPackage(pkg.get());
 *   pkgs->attachTo(*app);         // IPackageManager
 *
 * Every request (operation name such as "getProperty", or an interface id)
 * can be told to fail with failRequest. Strings and lists are handed out as
 * zob allocations for the caller to free. Thread rules: configure from one
 * thread; the getters lock and may be called from any thread. */
#ifndef KELP_HOST_APP_H
#define KELP_HOST_APP_H

#include <kelp/host.h>

#include <fw/fw_IApplication5.h>
#include <fw/fw_IApplication7.h>
#include <fw/fw_IImage.h>
#include <fw/fw_IPackage.h>

namespace kelp::host {

/* Requests told to fail, by name. */
class KELP_HOST_API FailureTable {
 public:
  void set(const std::string& request, ZResult code);
  void clear();
  ZResult of(const std::string& request) const;

 private:
  mutable std::mutex mutex_;
  std::map<std::string, ZResult> codes_;
};

/* IApplication5. A property is true when its text is "true", "yes", "on" or
 * "1", false when it is "false", "no", "off" or "0" (ASCII case ignored);
 * other texts and unset properties are neither. The vendor key starts as
 * "Kelp", the application key as "Kelp/Host". */
class KELP_HOST_API AppProperties final : public Object<qor::quv::fw::IApplication5> {
 public:
  static zob::Ref<AppProperties> create();

  ZResult queryInterface(const char* iid, zob::IUnknown** out) override;
  ZResult isPropertyTrue(const char* name, int* out) override;
  ZResult isPropertyFalse(const char* name, int* out) override;
  ZResult getProperty(const char* name, char** out) override;
  ZResult getVendorKey(char** out) override;
  ZResult getAppKey(char** out) override;

  void setProperty(const std::string& name, const std::string& value);
  void removeProperty(const std::string& name);
  void setVendorKey(const std::string& key);
  void setAppKey(const std::string& key);

  void attachTo(Application& app);
  void failRequest(const std::string& request, ZResult code = zob::kNotImplemented);
  void clearFailures();

 private:
  AppProperties() = default;
  ZResult copyString(const char* request, const std::string& value, char** out);
  int truthOf(const char* name, bool wanted);

  FailureTable failures_;
  mutable std::mutex mutex_;
  std::map<std::string, std::string> properties_;
  std::string vendorKey_ = "Kelp";
  std::string appKey_ = "Kelp/Host";
};

/* IFeatureSet: named features, all disabled at first. */
class KELP_HOST_API FeatureSet final : public Object<qor::quv::fw::IFeatureSet> {
 public:
  static zob::Ref<FeatureSet> create();

  ZResult isEnabled(const char* name, int* out) override;
  void enable(const std::string& name, bool enabled = true);

  void failRequest(const std::string& request, ZResult code = zob::kNotImplemented);
  void clearFailures();

 private:
  FeatureSet() = default;
  FailureTable failures_;
  mutable std::mutex mutex_;
  std::map<std::string, bool> features_;
};

/* IApplication7: hands out its FeatureSet. */
class KELP_HOST_API AppFeatures final : public Object<qor::quv::fw::IApplication7> {
 public:
  static zob::Ref<AppFeatures> create();

  ZResult queryInterface(const char* iid, zob::IUnknown** out) override;
  ZResult getFeatureSet(qor::quv::fw::IFeatureSet** out) override;

  /* The feature set handed out (no reference added). */
  FeatureSet* featureSet() const { return features_.get(); }
  /* While hidden, getFeatureSet succeeds with null. */
  void hideFeatureSet(bool hidden) { hidden_ = hidden; }

  void attachTo(Application& app);
  void failRequest(const std::string& request, ZResult code = zob::kNotImplemented);
  void clearFailures();

 private:
  AppFeatures() = default;
  FailureTable failures_;
  zob::Ref<FeatureSet> features_{FeatureSet::create()};
  std::atomic<bool> hidden_{false};
};

/* A package: IPackage and IPackage4 from values set in code. */
class KELP_HOST_API Package final : public Object<qor::quv::dsr::IPackage4> {
 public:
  static zob::Ref<Package> create(const std::string& name, const std::string& type);

  ZResult queryInterface(const char* iid, zob::IUnknown** out) override;
  ZResult getName(char** out) override;
  ZResult getPackageType(char** out) override;
  ZResult getSupportedLanguages(zob::Sequence<char*>* out) override;
  ZResult getSupportedCurrencies(zob::Sequence<char*>* out) override;

  std::string name() const;
  void setLanguages(const std::vector<std::string>& languages);
  void setCurrencies(const std::vector<std::string>& currencies);

  void failRequest(const std::string& request, ZResult code = zob::kNotImplemented);
  void clearFailures();

 private:
  Package(const std::string& name, const std::string& type) : name_(name), type_(type) {}
  FailureTable failures_;
  mutable std::mutex mutex_;
  std::string name_;
  std::string type_;
  std::vector<std::string> languages_;
  std::vector<std::string> currencies_;
};

/* IPackageManager over packages added in code. */
class KELP_HOST_API PackageManager final : public Object<qor::quv::dsr::IPackageManager> {
 public:
  static zob::Ref<PackageManager> create();

  ZResult queryInterface(const char* iid, zob::IUnknown** out) override;
  ZResult getPackage(const char* name, qor::quv::dsr::IPackage** out) override;
  ZResult getSupportedLanguages(zob::Sequence<char*>* out) override;

  /* Installs a package (a reference is held). */
  void addPackage(Package* package);

  void attachTo(Application& app);
  void failRequest(const std::string& request, ZResult code = zob::kNotImplemented);
  void clearFailures();

 private:
  PackageManager() = default;
  FailureTable failures_;
  mutable std::mutex mutex_;
  std::vector<zob::Ref<Package>> packages_;
};

/* A product-database node with one image path per column. */
class KELP_HOST_API PDBNode final : public Object<qor::quv::dsr::IPDBNode> {
 public:
  static zob::Ref<PDBNode> create();
  ZResult getImagePath(const char* columnId, char** out) override;
  void setImagePath(const std::string& columnId, const std::string& path);
  void failRequest(const std::string& request, ZResult code = zob::kNotImplemented);

 private:
  PDBNode() = default;
  FailureTable failures_;
  mutable std::mutex mutex_;
  std::map<std::string, std::string> paths_;
};

/* A view with a default image column ("thumbnail" at first). */
class KELP_HOST_API PDBView final : public Object<qor::quv::dsr::IPDBView> {
 public:
  static zob::Ref<PDBView> create();
  ZResult getDefaultImageColumnId(char** out) override;
  void setDefaultImageColumnId(const std::string& columnId);
  void failRequest(const std::string& request, ZResult code = zob::kNotImplemented);

 private:
  PDBView() = default;
  FailureTable failures_;
  mutable std::mutex mutex_;
  std::string column_ = "thumbnail";
};

/* An image loaded by ImageFactory: the file's bytes. */
class KELP_HOST_API FileImage final : public Object<zob::IUnknown> {
 public:
  static zob::Ref<FileImage> create(const std::string& path, const std::string& bytes);
  const std::string& path() const { return path_; }
  const std::string& bytes() const { return bytes_; }

 private:
  FileImage(const std::string& path, const std::string& bytes) : path_(path), bytes_(bytes) {}
  std::string path_;
  std::string bytes_;
};

/* An image factory that reads image files whole (up to 64 MiB). */
class KELP_HOST_API ImageFactory final : public Object<qor::quv::fw::IImageFactory> {
 public:
  static zob::Ref<ImageFactory> create();
  ZResult createImage(const char* path, zob::IUnknown** out) override;

 private:
  ImageFactory() = default;
};

/* A list as a zob sequence of zobStrDup copies; false when out of memory
 * (the sequence is then empty). */
KELP_HOST_API bool copyStringList(const std::vector<std::string>& list, zob::Sequence<char*>* out);

}  // namespace kelp::host

#endif
