// Internal to the thread wrappers (utl_Mutex.cpp, utl_CondVar.cpp): how a
// failed runtime call is reported.
#ifndef KELP_UTIL_UTL_MUTEX_IMPL_H
#define KELP_UTIL_UTL_MUTEX_IMPL_H

#include <kelp/util/utl_Logger.h>

#include <string>

namespace qor::quv::util::detail {

// Logs `text` at debug level with the result's text for %1. Without an
// application the failure is only returned to the caller, not written.
inline void logRuntimeFailure(fw::IApplication* app, const char* text, ZResult result) {
  if (!app) return;
  eDebug(app, QUV_LOG_CATEGORY, std::string(text) << zobStrError(result));
}

}  // namespace qor::quv::util::detail

#endif
