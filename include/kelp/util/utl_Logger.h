/* Logging and assertions of libkelp.
 *
 * Every diagnostic goes to the logger of the host application passed in; the
 * logger is asked for anew for every message and released afterwards. With
 * no application, or one without a logger, messages go to standard error as
 * "LEVEL: category: text". The functions keep no state and take no lock; any
 * thread may call them.
 *
 *   eError(app, QUV_LOG_CATEGORY, std::string("Can't open %1") << path);
 *   QUV_ASSERT(app, !EFAILED(tRes));
 *
 * eFatal only ends the process (exit status 1) when no logger takes the
 * message; with a logger it returns and the application decides. Assertions
 * never abort: a failed one is a debug message and the caller goes on. */
#ifndef KELP_UTIL_UTL_LOGGER_H
#define KELP_UTIL_UTL_LOGGER_H

#include <string>

#include <fw/fw_IApplication.h>
#include <kelp/kelp_api.h>
#include <vorn/vorn_placeholder.h>
#include <zob/zob_unknown.h>

/* The category every message of this library carries. */
#define QUV_LOG_CATEGORY "quv:kelp"

namespace qor::quv::util {

KELP_API void eFatal(fw::IApplication* app, const char* category, const std::string& text);
KELP_API void eError(fw::IApplication* app, const char* category, const std::string& text);
KELP_API void eWarning(fw::IApplication* app, const char* category, const std::string& text);
KELP_API void eNotice(fw::IApplication* app, const char* category, const std::string& text);
KELP_API void eInfo(fw::IApplication* app, const char* category, const std::string& text);
KELP_API void eDebug(fw::IApplication* app, const char* category, const std::string& text);

/* Logs "QUV assertion failed: <file>[<line>]: <expression>" at debug level;
 * without a logger the bare text goes to standard error. */
KELP_API void _eAssert(fw::IApplication* app, const char* category, const char* expression,
                       const char* file, int line);

/* Logs "Can't get interface <iid> from interface <object's id>: <error>"
 * through eDebug. */
KELP_API void _queryInterfaceError(fw::IApplication* app, const char* category,
                                   zob::IUnknown* object, const char* interfaceId,
                                   unsigned int result);

}  // namespace qor::quv::util

/* The source name assertions report: each source file of the library defines
 * QUV_SOURCE_NAME (its file name without extension) before including this
 * header; otherwise the file name is used. */
#ifndef QUV_SOURCE_NAME
#define QUV_SOURCE_NAME __FILE__
#endif

/* Reports a failed condition at the current line; evaluates to the
 * condition's truth so that callers can branch on it. The condition is
 * reported as written (stringified here, before macro expansion). */
#define QUV_ASSERT(app, cond) \
  ((cond) ? true : (QUV_ASSERT_FAILED_((app), #cond, __LINE__), false))

/* The same with an explicit line number: messages whose text callers rely on
 * keep a fixed line. */
#define QUV_ASSERT_AT(app, cond, line) \
  ((cond) ? true : (QUV_ASSERT_FAILED_((app), #cond, (line)), false))

#define QUV_ASSERT_FAILED_(app, text, line) \
  ::qor::quv::util::_eAssert((app), QUV_LOG_CATEGORY, (text), QUV_SOURCE_NAME, (line))

/* Reports a failed interface query of `object` for `iid` with result `res`. */
#define QUV_QUERY_FAILED(app, object, iid, res)                                    \
  ::qor::quv::util::_queryInterfaceError((app), QUV_LOG_CATEGORY, (object), (iid), \
                                         static_cast<unsigned int>(res))

#endif
