/* qor::quv::fw::IEventListener: receives the events of the application's
 * event dispatcher, either all of them or those of one type. */
#ifndef FW_FW_IEVENTLISTENER_H
#define FW_FW_IEVENTLISTENER_H

#include <fw/fw_IEvent.h>
#include <zob/zob_unknown.h>

namespace qor::quv::fw {

class IEventListener : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/fw/IEventListener:1.0";

  /* Called by the dispatcher for each event the listener receives; the event
   * stays valid for the call (take a reference to keep it). The dispatcher
   * does not act on the result. */
  virtual ZResult handleEvent(IEvent* event) = 0;

 protected:
  ~IEventListener() = default;
};

using IEventListener_Adapter = zob::Adapter<IEventListener>;

}  // namespace qor::quv::fw

#endif
