/* qor::quv::fw::IApplication: the host application as the library sees it.
 *
 * The library asks the application for its services through this interface
 * and, for later versions (IApplication2, IApplication5 ...), through
 * queryInterface. Every reference handed out through an out-parameter is
 * owned by the caller. */
#ifndef FW_FW_IAPPLICATION_H
#define FW_FW_IAPPLICATION_H

#include <fw/fw_IEventDispatcher.h>
#include <fw/fw_ILogger.h>
#include <zob/zob_unknown.h>

namespace qor::quv::fw {

class IApplication : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/fw/IApplication:1.0";

  /* Hands out a new reference to the application's logger. A failure code
   * (or success with a null logger) means there is none. */
  virtual ZResult getLogger(ILogger** out) = 0;

  /* Hands out a new reference to the application's event dispatcher. An
   * application without one may succeed with null. */
  virtual ZResult getEventDispatcher(IEventDispatcher** out) = 0;

 protected:
  ~IApplication() = default;
};

using IApplication_Adapter = zob::Adapter<IApplication>;

}  // namespace qor::quv::fw

#endif
