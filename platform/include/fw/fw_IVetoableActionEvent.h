/* qor::quv::fw::IVetoableActionEvent: the second interface of an event that
 * announces an action which listeners may forbid.
 *
 * The sender sends the event synchronously and then reads whether a listener
 * cancelled it and why; a listener vetoes with setCanceled(1) and
 * setCancelReason(text). Strings handed out are copies the caller frees with
 * zobFree; strings passed in are copied. */
#ifndef FW_FW_IVETOABLEACTIONEVENT_H
#define FW_FW_IVETOABLEACTIONEVENT_H

#include <zob/zob_unknown.h>

namespace qor::quv::fw {

class IVetoableActionEvent : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/fw/IVetoableActionEvent:1.0";

  virtual ZResult getActionKey(char** out) = 0;
  virtual ZResult getValueKey(char** out) = 0;
  virtual ZResult getOldValue(char** out) = 0;
  virtual ZResult getNewValue(char** out) = 0;
  /* Any non-zero value cancels the action. */
  virtual ZResult setCanceled(int canceled) = 0;
  /* 1 when cancelled, else 0. */
  virtual ZResult isCanceled(int* out) = 0;
  /* Replaces the reason; null gives an empty reason. */
  virtual ZResult setCancelReason(const char* reason) = 0;
  virtual ZResult getCancelReason(char** out) = 0;

 protected:
  ~IVetoableActionEvent() = default;
};

using IVetoableActionEvent_Adapter = zob::Adapter<IVetoableActionEvent>;

}  // namespace qor::quv::fw

#endif
