// Close hooks that register themselves with the application on construction
// and unregister on reset().
#define QUV_SOURCE_NAME "utl_AppCloseHook"
#include <kelp/util/utl_AppCloseHook.h>

#include <fw/fw_IApplication2.h>
#include <kelp/util/utl_Logger.h>
#include <ktz/ktz_atomic.h>

#include <cstdlib>
#include <utility>

namespace qor::quv::util {

// The assertions carry fixed line numbers: their texts are part of what the
// library reports and must not move with edits to this file.

AppCloseHookBase::AppCloseHookBase(fw::IApplication* app, int order) : app_(app) {
  if (app_) app_->_comAddRef();
  // The application takes a reference while registering; should it give it
  // back (a failed registration), the count must not reach zero and delete
  // an object still under construction.
  ktzAtomicIncrement(&count_);
  zob::Ref<fw::IApplication2> app2;
  ZResult tRes = zob::query(app_, app2);
  fw::IApplication2* tApp2 = app2.get();
  if (QUV_ASSERT_AT(app_, !EFAILED(tRes) && tApp2 != 0, 26)) {
    tRes = tApp2->addCloseHook(order, this);
    QUV_ASSERT_AT(app_, !EFAILED(tRes), 28);
  }
  ktzAtomicDecrement(&count_);
}

AppCloseHookBase::~AppCloseHookBase() {
  if (app_) app_->_comRelease();
}

ZResult AppCloseHookBase::queryInterface(const char* iid, zob::IUnknown** out) {
  if (!out) return zob::kInvalidArgument;
  if (zobCompareIID(iid, zob::IUnknown::IID) || zobCompareIID(iid, fw::IAppCloseHook::IID)) {
    *out = this;
    addRef();
    return zob::kOk;
  }
  *out = nullptr;
  return zob::kNoInterface;
}

std::uint32_t AppCloseHookBase::addRef() {
  return static_cast<std::uint32_t>(ktzAtomicIncrement(&count_));
}

std::uint32_t AppCloseHookBase::release() {
  std::int32_t n = ktzAtomicDecrement(&count_);
  // Below zero: a release without a reference; the object is already gone.
  if (n < 0) std::abort();
  if (n == 0) delete this;
  return static_cast<std::uint32_t>(n);
}

void AppCloseHookBase::reset() {
  if (!app_) return;
  // Removal gives back the application's reference, which may be the last:
  // the object stays alive until this call is done.
  zob::Ref<fw::IAppCloseHook> self(this);
  fw::IApplication* app = std::exchange(app_, nullptr);
  zob::Ref<fw::IApplication2> app2;
  ZResult tRes = zob::query(app, app2);
  fw::IApplication2* tApp2 = app2.get();
  if (QUV_ASSERT_AT(app, !EFAILED(tRes) && tApp2 != 0, 76)) tApp2->removeCloseHook(this);
  app2.reset();
  app->_comRelease();
}

}  // namespace qor::quv::util
