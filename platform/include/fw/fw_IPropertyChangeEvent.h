/* qor::quv::fw::IPropertyChangeEvent: the second interface of an event that
 * reports a changed property. A listener handed the IEvent queries for it to
 * learn which property changed. */
#ifndef FW_FW_IPROPERTYCHANGEEVENT_H
#define FW_FW_IPROPERTYCHANGEEVENT_H

#include <zob/zob_unknown.h>

namespace qor::quv::fw {

class IPropertyChangeEvent : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/fw/IPropertyChangeEvent:1.0";

  /* A copy of the property name, freed by the caller with zobFree. */
  virtual ZResult getProperty(char** out) = 0;

 protected:
  ~IPropertyChangeEvent() = default;
};

using IPropertyChangeEvent_Adapter = zob::Adapter<IPropertyChangeEvent>;

}  // namespace qor::quv::fw

#endif
