/* qor::quv::fw::IAppCloseHook: takes part in closing the application.
 *
 * Hooks are registered with IApplication2::addCloseHook and an order; when
 * the application closes it calls them in ascending order (equal orders in
 * the order of registration). A hook may veto the close; the hooks after it
 * are then not called and the application stays open. */
#ifndef FW_FW_IAPPCLOSEHOOK_H
#define FW_FW_IAPPCLOSEHOOK_H

#include <zob/zob_unknown.h>

namespace qor::quv::fw {

class IAppCloseHook : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/fw/IAppCloseHook:1.0";

  /* The application is closing. *veto arrives as 0; setting it non-zero
   * stops the close. A failed result counts as no veto. */
  virtual ZResult onAppClose(int* veto) = 0;

 protected:
  ~IAppCloseHook() = default;
};

using IAppCloseHook_Adapter = zob::Adapter<IAppCloseHook>;

}  // namespace qor::quv::fw

#endif
