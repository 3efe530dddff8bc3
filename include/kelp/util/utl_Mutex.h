/* Mutex: a logging wrapper of the portable runtime's mutex, and the scope
 * guards MutexLocker and MutexUnlocker.
 *
 * Every failure of the runtime is logged at debug level (category
 * "quv:kelp") to the application given, and returned as a result code; with
 * no application the code is only returned. A Mutex whose initialisation
 * failed stays usable as an object and answers every operation with
 * zob::kInvalidState (0x80000100) without calling the runtime.
 *
 * The runtime's mutex is recursive: the thread that holds it may lock it
 * again. lock/unlock/tryLock may be called from any thread; construction,
 * destruction and setApplication belong to one thread.
 *
 *   Mutex m(app);
 *   {
 *     MutexLocker guard(&m);
 *     ...  // m is held here
 *   }
 */
#ifndef KELP_UTIL_UTL_MUTEX_H
#define KELP_UTIL_UTL_MUTEX_H

#include <fw/fw_IApplication.h>
#include <kelp/kelp_api.h>
#include <ktz/ktz_thread.h>
#include <zob/zob_unknown.h>

namespace qor::quv::util {

class KELP_API Mutex {
 public:
  /* Keeps `app` (a reference is added; may be null) and initialises the
   * runtime mutex, logging "Mutex initialization failed: %1" on failure. */
  explicit Mutex(fw::IApplication* app);
  /* Destroys the runtime mutex (when it was initialised), logging "Mutex
   * destruction failed: %1" on failure, e.g. when it is still held. */
  ~Mutex();
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  /* Replaces the application that failures are logged to. */
  void setApplication(fw::IApplication* app);
  fw::IApplication* getApplication() const { return app_.get(); }
  /* Whether the runtime mutex was initialised. */
  bool isInitialized() const { return initialized_; }

  /* The runtime's result of ktzMutexLock, ktzMutexUnlock, ktzMutexTryLock
   * (zob::kBusy while another thread holds the mutex). Failures are logged
   * as "Mutex lock failed: %1", "Mutex unlock failed: %1" and "Mutex lock
   * attempt failed: %1". */
  ZResult lock();
  ZResult unlock();
  ZResult tryLock();

  operator KtzMutex*() { return &mutex_; }

 private:
  zob::Ref<fw::IApplication> app_;
  bool initialized_ = false;
  KtzMutex mutex_;
};

/* Locks the mutex in the constructor and unlocks it in the destructor. A
 * null mutex is left alone. */
class KELP_API MutexLocker {
 public:
  explicit MutexLocker(Mutex* mutex);
  ~MutexLocker();
  MutexLocker(const MutexLocker&) = delete;
  MutexLocker& operator=(const MutexLocker&) = delete;
  Mutex* getMutex() const { return mutex_; }

 private:
  Mutex* mutex_;
};

/* Despite its name, the same guard as MutexLocker: it locks the mutex in the
 * constructor and unlocks it in the destructor. Existing callers rely on
 * this; it is not a guard that releases a held mutex for a while. Inside a
 * MutexLocker section it nests (the mutex is recursive). */
class KELP_API MutexUnlocker {
 public:
  explicit MutexUnlocker(Mutex* mutex);
  ~MutexUnlocker();
  MutexUnlocker(const MutexUnlocker&) = delete;
  MutexUnlocker& operator=(const MutexUnlocker&) = delete;
  Mutex* getMutex() const { return mutex_; }

 private:
  Mutex* mutex_;
};

}  // namespace qor::quv::util

#endif
