/* qor::quv::fw::IApplication2: the application's close hooks and idle
 * callouts, reached by querying the application.
 *
 * The application holds a reference to every registered hook and callout
 * until it is removed. Registering the same object twice fails; removing one
 * that is not registered fails with a not-found code. */
#ifndef FW_FW_IAPPLICATION2_H
#define FW_FW_IAPPLICATION2_H

#include <fw/fw_IAppCloseHook.h>
#include <fw/fw_IIdleCallout.h>
#include <zob/zob_unknown.h>

namespace qor::quv::fw {

class IApplication2 : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/fw/IApplication2:1.0";

  /* Registers a hook that is called, in ascending `order`, when the
   * application closes. */
  virtual ZResult addCloseHook(int order, IAppCloseHook* hook) = 0;
  virtual ZResult removeCloseHook(IAppCloseHook* hook) = 0;
  /* Registers a callout run on every idle turn. */
  virtual ZResult addIdleCallout(IIdleCallout* callout) = 0;
  virtual ZResult removeIdleCallout(IIdleCallout* callout) = 0;

 protected:
  ~IApplication2() = default;
};

using IApplication2_Adapter = zob::Adapter<IApplication2>;

}  // namespace qor::quv::fw

#endif
