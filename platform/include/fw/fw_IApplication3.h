/* qor::quv::fw::IApplication3: the keys under which the application keeps
 * its settings, reached by querying the application.
 *
 * The vendor key names the maker ("Brindlecraft"), the application key the
 * product; settings live in the registry database below
 * <vendor key>/<application key>. Both strings are handed out as zobStrDup
 * copies that the caller frees with zobFree. */
#ifndef FW_FW_IAPPLICATION3_H
#define FW_FW_IAPPLICATION3_H

#include <zob/zob_unknown.h>

namespace qor::quv::fw {

class IApplication3 : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/fw/IApplication3:1.0";

  virtual ZResult getVendorKey(char** out) = 0;
  virtual ZResult getApplicationKey(char** out) = 0;

 protected:
  ~IApplication3() = default;
};

using IApplication3_Adapter = zob::Adapter<IApplication3>;

}  // namespace qor::quv::fw

#endif
