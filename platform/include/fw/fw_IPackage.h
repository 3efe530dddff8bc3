/* qor::quv::dsr::IPackage, IPackage4 and IPackageManager: the data packages
 * (catalogues, product data) installed with the application.
 *
 * The application hands out its IPackageManager when queried for it; the
 * manager finds packages by name. A package answers IPackage4 for its type
 * and the languages and currencies its data supports. (The intermediate
 * versions of the package interface carry nothing the library uses.)
 *
 * Strings are zobStrDup copies, lists zob::Sequence<char*> that the caller
 * frees (zobFreeStrSeq); references handed out are owned by the caller. */
#ifndef FW_FW_IPACKAGE_H
#define FW_FW_IPACKAGE_H

#include <zob/zob_unknown.h>
#include <zob/zob_variant.h>

namespace qor::quv::dsr {

class IPackage : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/dsr/IPackage:1.0";

  /* The package's name, e.g. "::vendor::series::". */
  virtual ZResult getName(char** out) = 0;

 protected:
  ~IPackage() = default;
};

class IPackage4 : public IPackage {
 public:
  static constexpr char IID[] = "IDL:qor/quv/dsr/IPackage4:1.0";

  /* The kind of data the package holds, e.g. "catalog". */
  virtual ZResult getPackageType(char** out) = 0;
  /* Language codes ("de") of the package's texts, most preferred first. */
  virtual ZResult getSupportedLanguages(zob::Sequence<char*>* out) = 0;
  /* Currency codes ("EUR") of the package's prices. */
  virtual ZResult getSupportedCurrencies(zob::Sequence<char*>* out) = 0;

 protected:
  ~IPackage4() = default;
};

class IPackageManager : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/dsr/IPackageManager:1.0";

  /* The installed package with this name; zob::kNotFound when none. */
  virtual ZResult getPackage(const char* name, IPackage** out) = 0;
  /* The languages of all installed packages, each once, in the order the
   * packages were installed. */
  virtual ZResult getSupportedLanguages(zob::Sequence<char*>* out) = 0;

 protected:
  ~IPackageManager() = default;
};

using IPackage_Adapter = zob::Adapter<IPackage>;
using IPackage4_Adapter = zob::Adapter<IPackage4>;
using IPackageManager_Adapter = zob::Adapter<IPackageManager>;

}  // namespace qor::quv::dsr

#endif
