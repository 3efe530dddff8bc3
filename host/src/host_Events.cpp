// The reference host's event dispatcher: synchronous delivery, a queue of
// posted events delivered on request, and listeners for all events or for
// one type.
#include <kelp/host.h>

#include <zob/zob_mem.h>

namespace kelp::host {

using qor::quv::fw::IEvent;
using qor::quv::fw::IEventDispatcher;
using qor::quv::fw::IEventListener;

zob::Ref<EventDispatcher> EventDispatcher::create(Application* owner) {
  return zob::Ref<EventDispatcher>(new EventDispatcher(owner));
}

ZResult EventDispatcher::failureOf(const char* request) const {
  std::lock_guard lock(ownerMutex_);
  return owner_ ? owner_->failureOf(request) : zob::kOk;
}

void EventDispatcher::detach() {
  std::lock_guard lock(ownerMutex_);
  owner_ = nullptr;
}

void EventDispatcher::deliver(IEvent* event) {
  std::string type;
  bool typeKnown = false;
  char* t = nullptr;
  if (!EFAILED(event->getEventType(&t)) && t) {
    type = t;
    typeKnown = true;
  }
  zobFree(t);

  // Listeners run without the lock: they may register, remove, send and post.
  std::vector<zob::Ref<IEventListener>> targets;
  {
    std::lock_guard lock(mutex_);
    if (typeKnown)
      for (const Listener& l : listeners_)
        if (!l.global && l.type == type) targets.push_back(l.listener);
    for (const Listener& l : listeners_)
      if (l.global) targets.push_back(l.listener);
  }
  for (const zob::Ref<IEventListener>& l : targets) {
    if (event->isConsumed()) break;
    l->handleEvent(event);
  }
}

ZResult EventDispatcher::sendEvent(IEvent* event) {
  if (!event) return zob::kInvalidArgument;
  if (ZResult r = failureOf("sendEvent"); r != 0) return r;
  zob::Ref<IEvent> keep(event);  // a listener may drop the sender's reference
  deliver(event);
  return zob::kOk;
}

ZResult EventDispatcher::postEvent(IEvent* event) {
  if (!event) return zob::kInvalidArgument;
  if (ZResult r = failureOf("postEvent"); r != 0) return r;
  zob::Ref<IEvent> keep(event);
  std::lock_guard lock(mutex_);
  queue_.push_back(std::move(keep));
  return zob::kOk;
}

std::size_t EventDispatcher::processEvents() {
  std::size_t budget;
  {
    std::lock_guard lock(mutex_);
    budget = queue_.size();
  }
  std::size_t delivered = 0;
  while (delivered < budget) {
    zob::Ref<IEvent> event;
    {
      std::lock_guard lock(mutex_);
      if (queue_.empty()) break;  // another thread took the rest
      event = std::move(queue_.front());
      queue_.pop_front();
    }
    deliver(event.get());
    ++delivered;
  }
  return delivered;
}

std::size_t EventDispatcher::pendingEvents() const {
  std::lock_guard lock(mutex_);
  return queue_.size();
}

std::size_t EventDispatcher::listenerCount() const {
  std::lock_guard lock(mutex_);
  return listeners_.size();
}

ZResult EventDispatcher::addEventListener(IEventListener* listener) {
  if (!listener) return zob::kInvalidArgument;
  if (ZResult r = failureOf("addEventListener"); r != 0) return r;
  std::lock_guard lock(mutex_);
  for (const Listener& l : listeners_)
    if (l.global && l.listener.get() == listener) return zob::kExists;
  listeners_.push_back({zob::Ref<IEventListener>(listener), true, {}});
  return zob::kOk;
}

ZResult EventDispatcher::addTypedEventListener(IEventListener* listener, const char* type) {
  if (!listener || !type) return zob::kInvalidArgument;
  if (ZResult r = failureOf("addTypedEventListener"); r != 0) return r;
  std::lock_guard lock(mutex_);
  for (const Listener& l : listeners_)
    if (!l.global && l.listener.get() == listener && l.type == type) return zob::kExists;
  listeners_.push_back({zob::Ref<IEventListener>(listener), false, type});
  return zob::kOk;
}

ZResult EventDispatcher::removeEventListener(IEventListener* listener) {
  if (!listener) return zob::kInvalidArgument;
  if (ZResult r = failureOf("removeEventListener"); r != 0) return r;
  std::vector<Listener> removed;  // released after the lock is dropped
  {
    std::lock_guard lock(mutex_);
    for (auto it = listeners_.begin(); it != listeners_.end();) {
      if (it->listener.get() == listener) {
        removed.push_back(std::move(*it));
        it = listeners_.erase(it);
      } else {
        ++it;
      }
    }
  }
  return removed.empty() ? zob::kNotFound : zob::kOk;
}

ZResult Application::getEventDispatcher(IEventDispatcher** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (ZResult r = failureOf("getEventDispatcher"); r != 0) return r;
  if (dispatcherHidden_) return zob::kOk;
  *out = events_.get();
  (*out)->_comAddRef();
  return zob::kOk;
}

}  // namespace kelp::host
