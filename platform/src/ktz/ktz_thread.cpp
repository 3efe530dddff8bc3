// Mutexes, condition variables and the real-time clock over pthreads and
// clock_gettime.
#include <ktz/ktz_thread.h>
#include <ktz/ktz_time.h>

#include <cerrno>
#include <cstring>
#include <ctime>

namespace {

// Failures requested by ktzFailNextCalls, per thread.
struct InjectedFailure {
  char name[40] = {};
  ZResult code = 0;
  int count = 0;
};

thread_local InjectedFailure tInjected;

// True (with *code set) when the calling thread asked `function` to fail.
bool injected(const char* function, ZResult* code) {
  InjectedFailure& f = tInjected;
  if (f.count <= 0 || std::strcmp(f.name, function) != 0) return false;
  --f.count;
  *code = f.code;
  return true;
}

ZResult fromErrno(int err) {
  switch (err) {
    case 0:
      return zob::kOk;
    case EPERM:
      return zob::kPermissionDenied;
    case EBUSY:
      return zob::kBusy;
    case EINVAL:
      return zob::kInvalidArgument;
    case ENOMEM:
      return zob::kOutOfMemory;
    case EAGAIN:
      return zob::kWouldBlock;
    case ETIMEDOUT:
      return zob::kTimeOut;
    default:
      return zob::kInvalidState;
  }
}

#define KTZ_CHECK_INJECTED(name)                            \
  do {                                                      \
    ZResult injectedCode;                                   \
    if (injected(name, &injectedCode)) return injectedCode; \
  } while (false)

}  // namespace

void ktzFailNextCalls(const char* function, ZResult code, int count) {
  InjectedFailure& f = tInjected;
  f = InjectedFailure{};
  if (!function || count <= 0 || std::strlen(function) >= sizeof f.name) return;
  std::strcpy(f.name, function);
  f.code = code;
  f.count = count;
}

ZResult ktzMutexInit(KtzMutex* mutex) {
  if (!mutex) return zob::kInvalidArgument;
  KTZ_CHECK_INJECTED("ktzMutexInit");
  pthread_mutexattr_t attr;
  int err = pthread_mutexattr_init(&attr);
  if (err) return fromErrno(err);
  err = pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
  if (!err) err = pthread_mutex_init(&mutex->handle, &attr);
  pthread_mutexattr_destroy(&attr);
  return fromErrno(err);
}

ZResult ktzMutexDestroy(KtzMutex* mutex) {
  if (!mutex) return zob::kInvalidArgument;
  KTZ_CHECK_INJECTED("ktzMutexDestroy");
  return fromErrno(pthread_mutex_destroy(&mutex->handle));
}

ZResult ktzMutexLock(KtzMutex* mutex) {
  if (!mutex) return zob::kInvalidArgument;
  KTZ_CHECK_INJECTED("ktzMutexLock");
  return fromErrno(pthread_mutex_lock(&mutex->handle));
}

ZResult ktzMutexUnlock(KtzMutex* mutex) {
  if (!mutex) return zob::kInvalidArgument;
  KTZ_CHECK_INJECTED("ktzMutexUnlock");
  return fromErrno(pthread_mutex_unlock(&mutex->handle));
}

ZResult ktzMutexTryLock(KtzMutex* mutex) {
  if (!mutex) return zob::kInvalidArgument;
  KTZ_CHECK_INJECTED("ktzMutexTryLock");
  return fromErrno(pthread_mutex_trylock(&mutex->handle));
}

ZResult ktzCondVarInit(KtzCondVar* cond) {
  if (!cond) return zob::kInvalidArgument;
  KTZ_CHECK_INJECTED("ktzCondVarInit");
  // The default clock of a condition variable is CLOCK_REALTIME, the clock
  // of ktzGetCurrentTime and hence of the deadlines.
  return fromErrno(pthread_cond_init(&cond->handle, nullptr));
}

ZResult ktzCondVarDestroy(KtzCondVar* cond) {
  if (!cond) return zob::kInvalidArgument;
  KTZ_CHECK_INJECTED("ktzCondVarDestroy");
  return fromErrno(pthread_cond_destroy(&cond->handle));
}

ZResult ktzCondVarSignal(KtzCondVar* cond) {
  if (!cond) return zob::kInvalidArgument;
  KTZ_CHECK_INJECTED("ktzCondVarSignal");
  return fromErrno(pthread_cond_signal(&cond->handle));
}

ZResult ktzCondVarBroadcast(KtzCondVar* cond) {
  if (!cond) return zob::kInvalidArgument;
  KTZ_CHECK_INJECTED("ktzCondVarBroadcast");
  return fromErrno(pthread_cond_broadcast(&cond->handle));
}

ZResult ktzCondVarWait(KtzCondVar* cond, KtzMutex* mutex) {
  if (!cond || !mutex) return zob::kInvalidArgument;
  KTZ_CHECK_INJECTED("ktzCondVarWait");
  return fromErrno(pthread_cond_wait(&cond->handle, &mutex->handle));
}

ZResult ktzCondVarTimedWait(KtzCondVar* cond, KtzMutex* mutex, const KtzTime* deadline) {
  if (!cond || !mutex || !deadline) return zob::kInvalidArgument;
  if (deadline->microseconds < 0 || deadline->microseconds > 999999) return zob::kInvalidArgument;
  KTZ_CHECK_INJECTED("ktzCondVarTimedWait");
  static_assert(sizeof(time_t) == sizeof(std::int64_t), "64-bit time_t expected");
  timespec ts{};
  // A deadline before the epoch has passed already.
  ts.tv_sec = deadline->seconds < 0 ? 0 : static_cast<time_t>(deadline->seconds);
  ts.tv_nsec = static_cast<long>(deadline->microseconds) * 1000;
  return fromErrno(pthread_cond_timedwait(&cond->handle, &mutex->handle, &ts));
}

ZResult ktzGetCurrentTime(KtzTime* now) {
  if (!now) return zob::kInvalidArgument;
  KTZ_CHECK_INJECTED("ktzGetCurrentTime");
  timespec ts{};
  if (clock_gettime(CLOCK_REALTIME, &ts) != 0) return fromErrno(errno);
  now->seconds = static_cast<std::int64_t>(ts.tv_sec);
  now->microseconds = static_cast<std::int32_t>(ts.tv_nsec / 1000);
  return zob::kOk;
}
