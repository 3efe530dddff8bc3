// The reference host's vendor and application keys (IApplication3).
#include <kelp/host.h>

#include <zob/zob_mem.h>

namespace kelp::host {

zob::Ref<AppKeys> AppKeys::create(Application* owner) {
  return zob::Ref<AppKeys>(new AppKeys(owner));
}

ZResult AppKeys::hand(const char* request, const std::string& key, char** out) const {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  {
    // Held across the lookup so that the owner cannot detach meanwhile.
    std::lock_guard lock(mutex_);
    if (owner_) {
      if (ZResult r = owner_->failureOf(request); r != 0) return r;
    }
  }
  *out = zobStrDup(key.c_str());
  return *out ? zob::kOk : zob::kOutOfMemory;
}

ZResult AppKeys::getVendorKey(char** out) {
  std::string key;
  {
    std::lock_guard lock(mutex_);
    key = vendorKey_;
  }
  return hand("getVendorKey", key, out);
}

ZResult AppKeys::getApplicationKey(char** out) {
  std::string key;
  {
    std::lock_guard lock(mutex_);
    key = applicationKey_;
  }
  return hand("getApplicationKey", key, out);
}

void AppKeys::setVendorKey(const std::string& key) {
  std::lock_guard lock(mutex_);
  vendorKey_ = key;
}

void AppKeys::setApplicationKey(const std::string& key) {
  std::lock_guard lock(mutex_);
  applicationKey_ = key;
}

void AppKeys::detach() {
  std::lock_guard lock(mutex_);
  owner_ = nullptr;
}

}  // namespace kelp::host
