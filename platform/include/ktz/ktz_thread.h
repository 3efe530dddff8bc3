/* Mutexes and condition variables of the portable runtime, over pthreads.
 *
 * KtzMutex is recursive: the thread that holds it may lock it again and must
 * unlock it as often. ktzMutexTryLock answers zob::kBusy while another thread
 * holds the mutex. Unlocking a mutex the calling thread does not hold, and
 * waiting on a condition variable with such a mutex, fail with
 * zob::kPermissionDenied; destroying a held mutex fails with zob::kBusy.
 *
 * ktzCondVarTimedWait takes an absolute deadline on the clock of
 * ktzGetCurrentTime (CLOCK_REALTIME) and answers zob::kTimeOut when it
 * passes. Every function answers zob::kInvalidArgument for null arguments;
 * none throws.
 *
 *   KtzMutex m;
 *   if (!EFAILED(ktzMutexInit(&m))) { ktzMutexLock(&m); ...; ktzMutexUnlock(&m); }
 */
#ifndef KTZ_KTZ_THREAD_H
#define KTZ_KTZ_THREAD_H

#include <pthread.h>

#include <ktz/ktz_time.h>
#include <zob/zob_api.h>
#include <zob/zob_result.h>

struct KtzMutex {
  pthread_mutex_t handle;
};

struct KtzCondVar {
  pthread_cond_t handle;
};

ZOB_API ZResult ktzMutexInit(KtzMutex* mutex);
ZOB_API ZResult ktzMutexDestroy(KtzMutex* mutex);
ZOB_API ZResult ktzMutexLock(KtzMutex* mutex);
ZOB_API ZResult ktzMutexUnlock(KtzMutex* mutex);
ZOB_API ZResult ktzMutexTryLock(KtzMutex* mutex);

ZOB_API ZResult ktzCondVarInit(KtzCondVar* cond);
ZOB_API ZResult ktzCondVarDestroy(KtzCondVar* cond);
ZOB_API ZResult ktzCondVarSignal(KtzCondVar* cond);
ZOB_API ZResult ktzCondVarBroadcast(KtzCondVar* cond);
ZOB_API ZResult ktzCondVarWait(KtzCondVar* cond, KtzMutex* mutex);
/* Waits until signalled or until `deadline` has passed (zob::kTimeOut). A
 * deadline whose microseconds lie outside 0 to 999999 is an invalid
 * argument. */
ZOB_API ZResult ktzCondVarTimedWait(KtzCondVar* cond, KtzMutex* mutex, const KtzTime* deadline);

/* Testing aid: the next `count` calls on the calling thread of the runtime
 * function named `function` ("ktzMutexInit", "ktzCondVarTimedWait",
 * "ktzGetCurrentTime" ... any function of this header or of ktz_time.h) fail
 * with `code` and do nothing else. A count of 0 clears the request. Other
 * threads are not affected. */
ZOB_API void ktzFailNextCalls(const char* function, ZResult code, int count = 1);

#endif
