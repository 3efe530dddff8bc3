// CondVar: the runtime's condition variable with argument checks, absolute
// deadlines and every failure logged.
#define QUV_SOURCE_NAME "utl_CondVar"
#include <kelp/util/utl_CondVar.h>
#include <kelp/util/utl_Logger.h>

#include <string>

#include "utl_Mutex_impl.h"

namespace qor::quv::util {

using detail::logRuntimeFailure;

CondVar::CondVar(fw::IApplication* app) : app_(app) {
  ZResult res = ktzCondVarInit(&cond_);
  if (EFAILED(res))
    logRuntimeFailure(app_.get(), "Initialization of condition variable failed: %1", res);
  else
    initialized_ = true;
}

CondVar::~CondVar() {
  if (!initialized_) return;
  ZResult res = ktzCondVarDestroy(&cond_);
  if (EFAILED(res))
    logRuntimeFailure(app_.get(), "Destruction of condition variable failed: %1", res);
}

void CondVar::setApplication(fw::IApplication* app) {
  app_ = zob::Ref<fw::IApplication>(app);
}

ZResult CondVar::signal() {
  if (!initialized_) return zob::kInvalidState;
  ZResult res = ktzCondVarSignal(&cond_);
  if (EFAILED(res))
    logRuntimeFailure(app_.get(), "Signaling of condition variable failed: %1", res);
  return res;
}

ZResult CondVar::broadcast() {
  if (!initialized_) return zob::kInvalidState;
  ZResult res = ktzCondVarBroadcast(&cond_);
  if (EFAILED(res))
    logRuntimeFailure(app_.get(), "Broadcast on condition variable failed: %1", res);
  return res;
}

ZResult CondVar::wait(Mutex* m) {
  if (!m) return zob::kInvalidArgument;
  // The runtime objects of a mutex that failed to initialise hold no valid
  // state: waiting with it is refused like waiting on our own failed object.
  if (!initialized_ || !m->isInitialized()) return zob::kInvalidState;
  ZResult res = ktzCondVarWait(&cond_, *m);
  if (EFAILED(res)) logRuntimeFailure(app_.get(), "Wait on condition variable failed: %1", res);
  return res;
}

KtzTime CondVar::deadlineAfter(const KtzTime& now, long timeoutMs) {
  KtzTime deadline;
  deadline.seconds = now.seconds + timeoutMs / 1000;
  std::int64_t micros = std::int64_t{now.microseconds} + (timeoutMs % 1000) * 1000;
  if (micros > 999999) {
    deadline.seconds += micros / 1000000;
    micros %= 1000000;
  }
  deadline.microseconds = static_cast<std::int32_t>(micros);
  return deadline;
}

ZResult CondVar::timedWait(Mutex* m, long timeoutMs) {
  if (!m || timeoutMs < 0) return zob::kInvalidArgument;
  if (!initialized_ || !m->isInitialized()) return zob::kInvalidState;
  KtzTime now;
  ZResult res = ktzGetCurrentTime(&now);
  if (EFAILED(res)) {
    logRuntimeFailure(app_.get(),
                      "Failed to get current time for timed wait on condition variable: %1", res);
    return res;
  }
  KtzTime deadline = deadlineAfter(now, timeoutMs);
  res = ktzCondVarTimedWait(&cond_, *m, &deadline);
  if (EFAILED(res) && res != zob::kTimeOut)
    logRuntimeFailure(app_.get(), "Timed wait on condition variable failed: %1", res);
  return res;
}

}  // namespace qor::quv::util
