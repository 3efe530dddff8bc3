// Event objects for the host's dispatcher, and sending, posting and listener
// registration through the application.
#define QUV_SOURCE_NAME "utl_Event"
#include <kelp/util/utl_Event.h>

#include <kelp/util/utl_Logger.h>
#include <ktz/ktz_atomic.h>
#include <zob/zob_mem.h>

#include <cstdlib>
#include <new>

namespace qor::quv::util {

namespace {

// Hands out a copy of `s` that the caller frees with zobFree.
ZResult copyOut(const std::string& s, char** out) {
  if (!out) return zob::kInvalidArgument;
  *out = zobStrNDup0(s.c_str(), s.size());
  return *out ? zob::kOk : zob::kOutOfMemory;
}

std::int32_t decrementOrDie(std::int32_t* count) {
  std::int32_t n = ktzAtomicDecrement(count);
  // A count below zero means a release without a matching reference: the
  // object is already gone, and going on would corrupt memory.
  if (n < 0) std::abort();
  return n;
}

// The application's event dispatcher, or null after logging why there is
// none; returns the failure code in that case.
ZResult getDispatcher(fw::IApplication* app, zob::Ref<fw::IEventDispatcher>& dispatcher) {
  ZResult tRes = app->getEventDispatcher(dispatcher.out());
  if (EFAILED(tRes)) {
    dispatcher.reset();
    eDebug(app, QUV_LOG_CATEGORY,
           std::string("Failed to get event dispatcher from application: %1") << zobStrError(tRes));
    return tRes;
  }
  if (!dispatcher) {
    eDebug(app, QUV_LOG_CATEGORY, "Event dispatcher returned by IApplication is NULL");
    return zob::kNotFound;
  }
  return tRes;
}

// The event's type for a message: "???" when it has none or will not say.
std::string typeForMessage(fw::IEvent* ev) {
  char* t = nullptr;
  std::string type;
  if (!EFAILED(ev->getEventType(&t)) && t) type = t;
  zobFree(t);
  return type.empty() ? std::string("???") : type;
}

}  // namespace

// ---------------------------------------------------------------------------
// DefaultEvent

DefaultEvent::DefaultEvent(const std::string& type, zob::IUnknown* source)
    : type_(type), source_(source) {
  if (source_) source_->_comAddRef();
}

DefaultEvent::~DefaultEvent() {
  if (source_) source_->_comRelease();
}

ZResult DefaultEvent::queryInterface(const char* iid, zob::IUnknown** out) {
  if (!out) return zob::kInvalidArgument;
  if (zobCompareIID(iid, zob::IUnknown::IID) || zobCompareIID(iid, fw::IEvent::IID)) {
    *out = static_cast<fw::IEvent*>(this);
    addRef();
    return zob::kOk;
  }
  *out = nullptr;
  return zob::kNoInterface;
}

std::uint32_t DefaultEvent::addRef() {
  return static_cast<std::uint32_t>(ktzAtomicIncrement(&count_));
}

std::uint32_t DefaultEvent::release() {
  std::int32_t n = decrementOrDie(&count_);
  if (n == 0) delete this;
  return static_cast<std::uint32_t>(n);
}

ZResult DefaultEvent::getEventType(char** out) {
  return copyOut(type_, out);
}

ZResult DefaultEvent::getSource(zob::IUnknown** out) {
  if (!out) return zob::kInvalidArgument;
  *out = source_;
  if (source_) source_->_comAddRef();
  return zob::kOk;
}

void DefaultEvent::consumed() {
  consumed_ = true;
}

bool DefaultEvent::isConsumed() {
  return consumed_;
}

// ---------------------------------------------------------------------------
// PropertyChangeEvent

PropertyChangeEvent::PropertyChangeEvent(const std::string& type, zob::IUnknown* source,
                                         const std::string& property)
    : DefaultEvent(type, source), property_(property) {}

PropertyChangeEvent::~PropertyChangeEvent() = default;

ZResult PropertyChangeEvent::queryInterface(const char* iid, zob::IUnknown** out) {
  if (!out) return zob::kInvalidArgument;
  if (zobCompareIID(iid, fw::IPropertyChangeEvent::IID)) {
    *out = static_cast<fw::IPropertyChangeEvent*>(this);
    addRef();
    return zob::kOk;
  }
  return DefaultEvent::queryInterface(iid, out);
}

std::uint32_t PropertyChangeEvent::addRef() {
  return DefaultEvent::addRef();
}

std::uint32_t PropertyChangeEvent::release() {
  return DefaultEvent::release();
}

ZResult PropertyChangeEvent::getProperty(char** out) {
  return copyOut(property_, out);
}

// ---------------------------------------------------------------------------
// VetoableActionEvent

struct VetoableActionEvent::Data {
  std::string actionKey;
  std::string valueKey;
  std::string oldValue;
  std::string newValue;
  bool canceled = false;
  std::string cancelReason;
};

VetoableActionEvent::VetoableActionEvent(const std::string& type, zob::IUnknown* source,
                                         const std::string& actionKey, const std::string& valueKey,
                                         const std::string& oldValue, const std::string& newValue)
    : DefaultEvent(type, source),
      d_(new Data{actionKey, valueKey, oldValue, newValue, false, std::string()}) {}

VetoableActionEvent::~VetoableActionEvent() = default;

ZResult VetoableActionEvent::queryInterface(const char* iid, zob::IUnknown** out) {
  if (!out) return zob::kInvalidArgument;
  if (zobCompareIID(iid, fw::IVetoableActionEvent::IID)) {
    *out = static_cast<fw::IVetoableActionEvent*>(this);
    addRef();
    return zob::kOk;
  }
  return DefaultEvent::queryInterface(iid, out);
}

std::uint32_t VetoableActionEvent::addRef() {
  return DefaultEvent::addRef();
}

std::uint32_t VetoableActionEvent::release() {
  return DefaultEvent::release();
}

ZResult VetoableActionEvent::getActionKey(char** out) {
  return copyOut(d_->actionKey, out);
}

ZResult VetoableActionEvent::getValueKey(char** out) {
  return copyOut(d_->valueKey, out);
}

ZResult VetoableActionEvent::getOldValue(char** out) {
  return copyOut(d_->oldValue, out);
}

ZResult VetoableActionEvent::getNewValue(char** out) {
  return copyOut(d_->newValue, out);
}

ZResult VetoableActionEvent::getCancelReason(char** out) {
  return copyOut(d_->cancelReason, out);
}

ZResult VetoableActionEvent::setCanceled(int canceled) {
  d_->canceled = canceled != 0;
  return zob::kOk;
}

ZResult VetoableActionEvent::isCanceled(int* out) {
  if (!out) return zob::kInvalidArgument;
  *out = d_->canceled ? 1 : 0;
  return zob::kOk;
}

ZResult VetoableActionEvent::setCancelReason(const char* reason) {
  try {
    d_->cancelReason = reason ? reason : "";
  } catch (const std::bad_alloc&) {
    return zob::kOutOfMemory;
  }
  return zob::kOk;
}

bool VetoableActionEvent::isCanceled() const {
  return d_->canceled;
}

std::string VetoableActionEvent::getCancelReason() const {
  return d_->cancelReason;
}

// ---------------------------------------------------------------------------
// Sending, posting and listeners

ZResult sendEvent(fw::IApplication* app, fw::IEvent* ev, bool post) {
  if (!app || !ev) return zob::kInvalidArgument;
  try {
    zob::Ref<fw::IEventDispatcher> dispatcher;
    ZResult tRes = getDispatcher(app, dispatcher);
    if (!dispatcher) return tRes;
    tRes = post ? dispatcher->postEvent(ev) : dispatcher->sendEvent(ev);
    if (EFAILED(tRes))
      eDebug(app, QUV_LOG_CATEGORY,
             std::string("%1 of '%2' event failed: %3")
                 << (post ? "Post" : "Send") << typeForMessage(ev) << zobStrError(tRes));
    return tRes;
  } catch (const std::bad_alloc&) {
    return zob::kOutOfMemory;
  }
}

ZResult sendEvent(fw::IApplication* app, fw::IEvent* ev) {
  return sendEvent(app, ev, false);
}

ZResult postEvent(fw::IApplication* app, fw::IEvent* ev) {
  return sendEvent(app, ev, true);
}

ZResult _registerEventListener(fw::IApplication* app, fw::IEventListener* listener) {
  if (!app || !listener) return zob::kInvalidArgument;
  try {
    zob::Ref<fw::IEventDispatcher> dispatcher;
    ZResult tRes = getDispatcher(app, dispatcher);
    if (!dispatcher) return tRes;
    tRes = dispatcher->addEventListener(listener);
    if (EFAILED(tRes))
      eDebug(app, QUV_LOG_CATEGORY,
             std::string("Failed to add global event listener: %1") << zobStrError(tRes));
    return tRes;
  } catch (const std::bad_alloc&) {
    return zob::kOutOfMemory;
  }
}

ZResult _registerEventListener(fw::IApplication* app, fw::IEventListener* listener,
                               const char* type) {
  if (!app || !listener || !type) return zob::kInvalidArgument;
  try {
    zob::Ref<fw::IEventDispatcher> dispatcher;
    ZResult tRes = getDispatcher(app, dispatcher);
    if (!dispatcher) return tRes;
    tRes = dispatcher->addTypedEventListener(listener, type);
    if (EFAILED(tRes))
      eDebug(app, QUV_LOG_CATEGORY,
             std::string("Failed to add typed event listener for '%1': %2")
                 << type << zobStrError(tRes));
    return tRes;
  } catch (const std::bad_alloc&) {
    return zob::kOutOfMemory;
  }
}

ZResult _unregisterEventListener(fw::IApplication* app, fw::IEventListener* listener) {
  if (!app || !listener) return zob::kInvalidArgument;
  try {
    zob::Ref<fw::IEventDispatcher> dispatcher;
    ZResult tRes = getDispatcher(app, dispatcher);
    if (!dispatcher) return tRes;
    tRes = dispatcher->removeEventListener(listener);
    if (EFAILED(tRes))
      eDebug(app, QUV_LOG_CATEGORY,
             std::string("Failed to remove event listener: %1") << zobStrError(tRes));
    return tRes;
  } catch (const std::bad_alloc&) {
    return zob::kOutOfMemory;
  }
}

}  // namespace qor::quv::util
