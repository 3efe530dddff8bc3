/* qor::quv::fw::IEvent: an event handed to the application's event
 * dispatcher.
 *
 * An event names its type (a free-form string such as "selectionChanged")
 * and the object it comes from. Listeners that handle an event for good mark
 * it consumed; the dispatcher then stops handing it on. The type is returned
 * as a copy that the caller frees with zobFree; the source carries one
 * reference for the caller. */
#ifndef FW_FW_IEVENT_H
#define FW_FW_IEVENT_H

#include <zob/zob_unknown.h>

namespace qor::quv::fw {

class IEvent : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/fw/IEvent:1.0";

  /* A copy of the event type, allocated with the object model's allocator. */
  virtual ZResult getEventType(char** out) = 0;
  /* The source object with an added reference, or null. */
  virtual ZResult getSource(zob::IUnknown** out) = 0;
  /* Marks the event as handled. */
  virtual void consumed() = 0;
  virtual bool isConsumed() = 0;

 protected:
  ~IEvent() = default;
};

using IEvent_Adapter = zob::Adapter<IEvent>;

}  // namespace qor::quv::fw

#endif
