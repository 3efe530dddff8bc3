/* CondVar: a logging wrapper of the portable runtime's condition variable.
 *
 * Failures of the runtime are logged at debug level (category "quv:kelp") to
 * the application given and returned as result codes; with no application
 * they are only returned. A CondVar whose initialisation failed answers every
 * operation with zob::kInvalidState (0x80000100).
 *
 * signal, broadcast, wait and timedWait may be called from any thread;
 * construction, destruction and setApplication belong to one thread.
 *
 *   MutexLocker guard(&m);
 *   while (!ready) {
 *     if (cv.timedWait(&m, 200) == zob::kTimeOut) break;
 *   }
 */
#ifndef KELP_UTIL_UTL_CONDVAR_H
#define KELP_UTIL_UTL_CONDVAR_H

#include <fw/fw_IApplication.h>
#include <kelp/kelp_api.h>
#include <kelp/util/utl_Mutex.h>
#include <ktz/ktz_thread.h>
#include <ktz/ktz_time.h>
#include <zob/zob_unknown.h>

namespace qor::quv::util {

class KELP_API CondVar {
 public:
  /* Keeps `app` (a reference is added; may be null) and initialises the
   * runtime condition variable, logging "Initialization of condition
   * variable failed: %1" on failure. */
  explicit CondVar(fw::IApplication* app);
  /* Destroys the runtime object when it was initialised, logging
   * "Destruction of condition variable failed: %1" on failure. */
  ~CondVar();
  CondVar(const CondVar&) = delete;
  CondVar& operator=(const CondVar&) = delete;

  void setApplication(fw::IApplication* app);
  fw::IApplication* getApplication() const { return app_.get(); }
  bool isInitialized() const { return initialized_; }

  /* Wakes one waiter, or all; failures are logged as "Signaling of
   * condition variable failed: %1" and "Broadcast on condition variable
   * failed: %1". */
  ZResult signal();
  ZResult broadcast();

  /* Waits on the condition with `m` held by the caller. A null `m` gives
   * zob::kInvalidArgument; an uninitialised condition variable or mutex
   * zob::kInvalidState. Failures are logged as "Wait on condition variable
   * failed: %1". */
  ZResult wait(Mutex* m);

  /* Like wait, but for at most `timeoutMs` milliseconds: zob::kTimeOut
   * (0x96230025), without a message, when the time has run out. A negative
   * timeout gives zob::kInvalidArgument. */
  ZResult timedWait(Mutex* m, long timeoutMs);

  /* The absolute deadline `timeoutMs` (not negative) after `now`, with the
   * microseconds carried into the seconds. */
  static KtzTime deadlineAfter(const KtzTime& now, long timeoutMs);

  operator KtzCondVar*() { return &cond_; }

 private:
  zob::Ref<fw::IApplication> app_;
  bool initialized_ = false;
  KtzCondVar cond_;
};

}  // namespace qor::quv::util

#endif
