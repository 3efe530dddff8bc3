/* qor::quv::fw::IApplication7 and IFeatureSet: the features the application
 * has enabled (licensed or configured), reached by querying the
 * application. References handed out are owned by the caller. */
#ifndef FW_FW_IAPPLICATION7_H
#define FW_FW_IAPPLICATION7_H

#include <zob/zob_unknown.h>

namespace qor::quv::fw {

class IFeatureSet : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/fw/IFeatureSet:1.0";

  /* *out becomes 1 when the named feature is enabled, else 0. */
  virtual ZResult isEnabled(const char* name, int* out) = 0;

 protected:
  ~IFeatureSet() = default;
};

class IApplication7 : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/fw/IApplication7:1.0";

  /* A new reference to the application's feature set. */
  virtual ZResult getFeatureSet(IFeatureSet** out) = 0;

 protected:
  ~IApplication7() = default;
};

using IFeatureSet_Adapter = zob::Adapter<IFeatureSet>;
using IApplication7_Adapter = zob::Adapter<IApplication7>;

}  // namespace qor::quv::fw

#endif
