/* Events for the host application's event dispatcher, and the functions that
 * hand them over.
 *
 * DefaultEvent, PropertyChangeEvent and VetoableActionEvent are
 * reference-counted object-model objects (the count starts at 0; the last
 * release() deletes the event). They hold a reference to their source.
 * Strings they hand out through their interfaces are zobStrNDup0 copies the
 * caller frees with zobFree.
 *
 *   zob::Ref<VetoableActionEvent> ev(new VetoableActionEvent(
 *       "vetoableAction", nullptr, "delete", "article", "A-17", ""));
 *   sendEvent(app, ev.get());
 *   if (ev->isCanceled()) eInfo(app, QUV_LOG_CATEGORY, ev->getCancelReason());
 *
 * sendEvent runs the listeners before it returns; postEvent queues the
 * event, and the dispatcher holds a reference until it is delivered. Every
 * failure is logged at debug level and returned as a result code; nothing
 * throws.
 *
 * Thread rules: reference counts are atomic, so an event may be posted on
 * one thread and delivered on another. Its fields are not locked: only the
 * listener handling it changes them. */
#ifndef KELP_UTIL_UTL_EVENT_H
#define KELP_UTIL_UTL_EVENT_H

#include <cstdint>
#include <memory>
#include <string>

#include <fw/fw_IApplication.h>
#include <fw/fw_IEvent.h>
#include <fw/fw_IEventDispatcher.h>
#include <fw/fw_IEventListener.h>
#include <fw/fw_IPropertyChangeEvent.h>
#include <fw/fw_IVetoableActionEvent.h>
#include <kelp/kelp_api.h>
#include <zob/zob_unknown.h>

namespace qor::quv::util {

/* A plain event: a type and a source. */
class KELP_API DefaultEvent : public fw::IEvent_Adapter {
 public:
  /* Adds a reference to a non-null source. */
  DefaultEvent(const std::string& type, zob::IUnknown* source);
  DefaultEvent(const DefaultEvent&) = delete;
  DefaultEvent& operator=(const DefaultEvent&) = delete;

  /* Accepts "IDL:zob/IUnknown:1.0" and "IDL:qor/quv/fw/IEvent:1.0". */
  ZResult queryInterface(const char* iid, zob::IUnknown** out) override;
  std::uint32_t addRef() override;
  /* Deletes the event when the count reaches zero. */
  std::uint32_t release() override;

  ZResult getEventType(char** out) override;
  /* Null stays null (with success). */
  ZResult getSource(zob::IUnknown** out) override;
  void consumed() override;
  bool isConsumed() override;

 protected:
  virtual ~DefaultEvent();

 private:
  std::int32_t count_ = 0;
  std::string type_;
  zob::IUnknown* source_;
  bool consumed_ = false;
};

/* An event that names a changed property. */
class KELP_API PropertyChangeEvent : public DefaultEvent, public fw::IPropertyChangeEvent_Adapter {
 public:
  PropertyChangeEvent(const std::string& type, zob::IUnknown* source, const std::string& property);

  /* Accepts "IDL:zob/IUnknown:1.0", "IDL:qor/quv/fw/IEvent:1.0" and
   * "IDL:qor/quv/fw/IPropertyChangeEvent:1.0". */
  ZResult queryInterface(const char* iid, zob::IUnknown** out) override;
  std::uint32_t addRef() override;
  std::uint32_t release() override;

  ZResult getProperty(char** out) override;

  // Both interfaces have the object-model entry points; name the IEvent ones
  // so that zob::Ref<PropertyChangeEvent> and direct calls are unambiguous.
  using fw::IEvent_Adapter::_comAddRef;
  using fw::IEvent_Adapter::_comGetInterfaceId;
  using fw::IEvent_Adapter::_comQueryInterface;
  using fw::IEvent_Adapter::_comRelease;

 protected:
  ~PropertyChangeEvent() override;

 private:
  std::string property_;
};

/* An event announcing an action that a listener may cancel, giving a
 * reason. */
class KELP_API VetoableActionEvent : public DefaultEvent, public fw::IVetoableActionEvent_Adapter {
 public:
  struct Data;

  VetoableActionEvent(const std::string& type, zob::IUnknown* source, const std::string& actionKey,
                      const std::string& valueKey, const std::string& oldValue,
                      const std::string& newValue);

  /* Accepts "IDL:zob/IUnknown:1.0", "IDL:qor/quv/fw/IEvent:1.0" and
   * "IDL:qor/quv/fw/IVetoableActionEvent:1.0". */
  ZResult queryInterface(const char* iid, zob::IUnknown** out) override;
  std::uint32_t addRef() override;
  std::uint32_t release() override;

  ZResult getActionKey(char** out) override;
  ZResult getValueKey(char** out) override;
  ZResult getOldValue(char** out) override;
  ZResult getNewValue(char** out) override;
  ZResult getCancelReason(char** out) override;
  ZResult setCanceled(int canceled) override;
  ZResult isCanceled(int* out) override;
  ZResult setCancelReason(const char* reason) override;

  // As in PropertyChangeEvent: the IEvent entry points answer direct calls.
  using fw::IEvent_Adapter::_comAddRef;
  using fw::IEvent_Adapter::_comGetInterfaceId;
  using fw::IEvent_Adapter::_comQueryInterface;
  using fw::IEvent_Adapter::_comRelease;

  /* The sender's view after the event came back. */
  bool isCanceled() const;
  std::string getCancelReason() const;

 protected:
  ~VetoableActionEvent() override;

 private:
  std::unique_ptr<Data> d_;
};

/* Hands `ev` to the application's event dispatcher: queued with `post`,
 * else delivered before the call returns. Returns 0x96220016 for a null
 * application or event, else the failure code of the dispatcher request or
 * of the send/post, each logged at debug level. */
KELP_API ZResult sendEvent(fw::IApplication* app, fw::IEvent* ev, bool post);
KELP_API ZResult sendEvent(fw::IApplication* app, fw::IEvent* ev);
KELP_API ZResult postEvent(fw::IApplication* app, fw::IEvent* ev);

/* Adds a listener for all events, or for the events of one type, at the
 * application's dispatcher; removes a listener from it. A failure is logged
 * at debug level and its code returned. */
KELP_API ZResult _registerEventListener(fw::IApplication* app, fw::IEventListener* listener);
KELP_API ZResult _registerEventListener(fw::IApplication* app, fw::IEventListener* listener,
                                        const char* type);
KELP_API ZResult _unregisterEventListener(fw::IApplication* app, fw::IEventListener* listener);

}  // namespace qor::quv::util

#endif
