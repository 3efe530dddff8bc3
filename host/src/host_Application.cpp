// The reference host's application object: logger, interface table and the
// switch that makes requests fail.
#include <kelp/host.h>

namespace kelp::host {

zob::Ref<Application> Application::create() {
  zob::Ref<Application> app(new Application);
  app->provideInterface(qor::quv::fw::IApplication2::IID, app->hooks_.get());
  return app;
}

Application::~Application() {
  // The dispatcher and the hooks may outlive the application (others can
  // hold references); they must stop looking up its failures.
  events_->detach();
  hooks_->detach();
}

ZResult Application::queryInterface(const char* iid, zob::IUnknown** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (!iid) return zob::kInvalidArgument;
  if (ZResult r = failureOf(iid); r != 0) return r;
  {
    std::lock_guard lock(mutex_);
    auto it = interfaces_.find(iid);
    if (it != interfaces_.end()) {
      *out = it->second.get();
      (*out)->_comAddRef();
      return zob::kOk;
    }
  }
  return Object::queryInterface(iid, out);
}

ZResult Application::getLogger(qor::quv::fw::ILogger** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (ZResult r = failureOf("getLogger"); r != 0) return r;
  std::lock_guard lock(mutex_);
  if (!logger_) return zob::kNotFound;
  *out = logger_.get();
  (*out)->_comAddRef();
  return zob::kOk;
}

void Application::installLogger(qor::quv::fw::ILogger* logger) {
  zob::Ref<qor::quv::fw::ILogger> keep(logger);
  std::lock_guard lock(mutex_);
  logger_.swap(keep);
}

void Application::failRequest(const std::string& request, ZResult code) {
  std::lock_guard lock(mutex_);
  failures_[request] = code;
}

void Application::clearFailure(const std::string& request) {
  std::lock_guard lock(mutex_);
  failures_.erase(request);
}

void Application::clearFailures() {
  std::lock_guard lock(mutex_);
  failures_.clear();
}

ZResult Application::failureOf(const std::string& request) const {
  std::lock_guard lock(mutex_);
  auto it = failures_.find(request);
  return it == failures_.end() ? 0 : it->second;
}

void Application::provideInterface(const std::string& iid, zob::IUnknown* object) {
  zob::Ref<zob::IUnknown> keep(object);
  std::lock_guard lock(mutex_);
  if (object)
    interfaces_[iid] = std::move(keep);
  else
    interfaces_.erase(iid);
}

}  // namespace kelp::host
