// The reference host's IApplication2: close hooks called in order when the
// application closes, and idle callouts run on every idle turn.
#include <kelp/host.h>

#include <algorithm>

namespace kelp::host {

using qor::quv::fw::IAppCloseHook;
using qor::quv::fw::IIdleCallout;

zob::Ref<AppHooks> AppHooks::create(Application* owner) {
  return zob::Ref<AppHooks>(new AppHooks(owner));
}

ZResult AppHooks::failureOf(const char* request) const {
  std::lock_guard lock(ownerMutex_);
  return owner_ ? owner_->failureOf(request) : zob::kOk;
}

void AppHooks::detach() {
  std::lock_guard lock(ownerMutex_);
  owner_ = nullptr;
}

ZResult AppHooks::addCloseHook(int order, IAppCloseHook* hook) {
  if (!hook) return zob::kInvalidArgument;
  if (ZResult r = failureOf("addCloseHook"); r != 0) return r;
  std::lock_guard lock(mutex_);
  for (const Hook& h : hooks_)
    if (h.hook.get() == hook) return zob::kExists;
  // After every hook of the same order: equal orders run in the order of
  // registration.
  auto at = std::upper_bound(hooks_.begin(), hooks_.end(), order,
                             [](int o, const Hook& h) { return o < h.order; });
  hooks_.insert(at, Hook{order, zob::Ref<IAppCloseHook>(hook)});
  return zob::kOk;
}

ZResult AppHooks::removeCloseHook(IAppCloseHook* hook) {
  if (!hook) return zob::kInvalidArgument;
  if (ZResult r = failureOf("removeCloseHook"); r != 0) return r;
  zob::Ref<IAppCloseHook> removed;  // released after the lock is dropped
  {
    std::lock_guard lock(mutex_);
    auto it = std::find_if(hooks_.begin(), hooks_.end(),
                           [hook](const Hook& h) { return h.hook.get() == hook; });
    if (it == hooks_.end()) return zob::kNotFound;
    removed = std::move(it->hook);
    hooks_.erase(it);
  }
  return zob::kOk;
}

ZResult AppHooks::addIdleCallout(IIdleCallout* callout) {
  if (!callout) return zob::kInvalidArgument;
  if (ZResult r = failureOf("addIdleCallout"); r != 0) return r;
  std::lock_guard lock(mutex_);
  for (const auto& c : callouts_)
    if (c.get() == callout) return zob::kExists;
  callouts_.emplace_back(callout);
  return zob::kOk;
}

ZResult AppHooks::removeIdleCallout(IIdleCallout* callout) {
  if (!callout) return zob::kInvalidArgument;
  if (ZResult r = failureOf("removeIdleCallout"); r != 0) return r;
  zob::Ref<IIdleCallout> removed;
  {
    std::lock_guard lock(mutex_);
    auto it = std::find_if(callouts_.begin(), callouts_.end(),
                           [callout](const auto& c) { return c.get() == callout; });
    if (it == callouts_.end()) return zob::kNotFound;
    removed = std::move(*it);
    callouts_.erase(it);
  }
  return zob::kOk;
}

bool AppHooks::runCloseHooks() {
  std::vector<zob::Ref<IAppCloseHook>> snapshot;
  {
    std::lock_guard lock(mutex_);
    for (const Hook& h : hooks_) snapshot.push_back(h.hook);
  }
  for (const auto& h : snapshot) {
    {
      // A hook that an earlier one removed is no longer asked.
      std::lock_guard lock(mutex_);
      if (std::none_of(hooks_.begin(), hooks_.end(),
                       [&h](const Hook& r) { return r.hook.get() == h.get(); }))
        continue;
    }
    int veto = 0;
    if (!EFAILED(h->onAppClose(&veto)) && veto != 0) return false;
  }
  return true;
}

std::size_t AppHooks::runIdle() {
  std::vector<zob::Ref<IIdleCallout>> snapshot;
  {
    std::lock_guard lock(mutex_);
    snapshot = callouts_;
  }
  std::size_t ran = 0;
  for (const auto& c : snapshot) {
    {
      std::lock_guard lock(mutex_);
      if (std::none_of(callouts_.begin(), callouts_.end(),
                       [&c](const auto& r) { return r.get() == c.get(); }))
        continue;
    }
    c->onIdle();
    ++ran;
  }
  return ran;
}

std::size_t AppHooks::closeHookCount() const {
  std::lock_guard lock(mutex_);
  return hooks_.size();
}

std::size_t AppHooks::idleCalloutCount() const {
  std::lock_guard lock(mutex_);
  return callouts_.size();
}

}  // namespace kelp::host
