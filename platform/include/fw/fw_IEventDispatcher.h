/* qor::quv::fw::IEventDispatcher: the application's event dispatcher.
 *
 * sendEvent hands an event to its listeners before it returns; postEvent
 * queues it (the dispatcher holds a reference until delivery) and the
 * application delivers the queue later, in order, possibly on another
 * thread. A listener registered for all events receives every event; one
 * registered for a type receives the events whose type is equal to it. The
 * dispatcher holds a reference to each registered listener until it is
 * removed. */
#ifndef FW_FW_IEVENTDISPATCHER_H
#define FW_FW_IEVENTDISPATCHER_H

#include <fw/fw_IEvent.h>
#include <fw/fw_IEventListener.h>
#include <zob/zob_unknown.h>

namespace qor::quv::fw {

class IEventDispatcher : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/fw/IEventDispatcher:1.0";

  virtual ZResult sendEvent(IEvent* event) = 0;
  virtual ZResult postEvent(IEvent* event) = 0;
  /* Adds a listener for every event. */
  virtual ZResult addEventListener(IEventListener* listener) = 0;
  /* Adds a listener for the events of one type. */
  virtual ZResult addTypedEventListener(IEventListener* listener, const char* type) = 0;
  /* Removes every registration of the listener. */
  virtual ZResult removeEventListener(IEventListener* listener) = 0;

 protected:
  ~IEventDispatcher() = default;
};

using IEventDispatcher_Adapter = zob::Adapter<IEventDispatcher>;

}  // namespace qor::quv::fw

#endif
