// Mutex and its scope guards: the runtime's mutex with every failure logged.
#define QUV_SOURCE_NAME "utl_Mutex"
#include <kelp/util/utl_Logger.h>
#include <kelp/util/utl_Mutex.h>

#include <string>

#include "utl_Mutex_impl.h"

namespace qor::quv::util {

using detail::logRuntimeFailure;

Mutex::Mutex(fw::IApplication* app) : app_(app) {
  ZResult res = ktzMutexInit(&mutex_);
  if (EFAILED(res))
    logRuntimeFailure(app_.get(), "Mutex initialization failed: %1", res);
  else
    initialized_ = true;
}

Mutex::~Mutex() {
  if (!initialized_) return;
  ZResult res = ktzMutexDestroy(&mutex_);
  if (EFAILED(res)) logRuntimeFailure(app_.get(), "Mutex destruction failed: %1", res);
}

void Mutex::setApplication(fw::IApplication* app) {
  app_ = zob::Ref<fw::IApplication>(app);
}

ZResult Mutex::lock() {
  if (!initialized_) return zob::kInvalidState;
  ZResult res = ktzMutexLock(&mutex_);
  if (EFAILED(res)) logRuntimeFailure(app_.get(), "Mutex lock failed: %1", res);
  return res;
}

ZResult Mutex::unlock() {
  if (!initialized_) return zob::kInvalidState;
  ZResult res = ktzMutexUnlock(&mutex_);
  if (EFAILED(res)) logRuntimeFailure(app_.get(), "Mutex unlock failed: %1", res);
  return res;
}

ZResult Mutex::tryLock() {
  if (!initialized_) return zob::kInvalidState;
  ZResult res = ktzMutexTryLock(&mutex_);
  if (EFAILED(res)) logRuntimeFailure(app_.get(), "Mutex lock attempt failed: %1", res);
  return res;
}

MutexLocker::MutexLocker(Mutex* mutex) : mutex_(mutex) {
  if (mutex_) mutex_->lock();
}

MutexLocker::~MutexLocker() {
  if (mutex_) mutex_->unlock();
}

MutexUnlocker::MutexUnlocker(Mutex* mutex) : mutex_(mutex) {
  if (mutex_) mutex_->lock();
}

MutexUnlocker::~MutexUnlocker() {
  if (mutex_) mutex_->unlock();
}

}  // namespace qor::quv::util
