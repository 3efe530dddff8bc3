/* qor::quv::fw::IApplication5: the application's properties and its
 * registry keys, reached by querying the application.
 *
 * Properties are named texts set by the application's configuration. A
 * property counts as true or false by the application's own rule; an unset
 * property is neither. Strings are handed out as zobStrDup copies for the
 * caller to free with zobFree. */
#ifndef FW_FW_IAPPLICATION5_H
#define FW_FW_IAPPLICATION5_H

#include <zob/zob_unknown.h>

namespace qor::quv::fw {

class IApplication5 : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/fw/IApplication5:1.0";

  /* *out becomes 1 when the property is set to a true value, else 0. */
  virtual ZResult isPropertyTrue(const char* name, int* out) = 0;
  /* *out becomes 1 when the property is set to a false value, else 0. */
  virtual ZResult isPropertyFalse(const char* name, int* out) = 0;
  /* The property's text; an unset property fails with zob::kNotFound. */
  virtual ZResult getProperty(const char* name, char** out) = 0;
  /* The registry key of the vendor ("Vendor") and of the application
   * ("Vendor/App") under which settings are kept. */
  virtual ZResult getVendorKey(char** out) = 0;
  virtual ZResult getAppKey(char** out) = 0;

 protected:
  ~IApplication5() = default;
};

using IApplication5_Adapter = zob::Adapter<IApplication5>;

}  // namespace qor::quv::fw

#endif
