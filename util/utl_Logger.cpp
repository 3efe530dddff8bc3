// Logging: the six levels, assertions and failed interface queries, each sent
// to the host application's logger or, failing that, to standard error.
#define QUV_SOURCE_NAME "utl_Logger"
#include <kelp/util/utl_Logger.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>

namespace qor::quv::util {

namespace {

// A new reference to the application's logger, or null. A logger handed back
// with a failed result is released at once.
zob::Ref<fw::ILogger> getLogger(fw::IApplication* app) {
  zob::Ref<fw::ILogger> logger;
  if (!app) return logger;
  if (EFAILED(app->getLogger(logger.out()))) logger.reset();
  return logger;
}

using LoggerOp = void (fw::ILogger::*)(const char*, const char*);

// Writes "PREFIXcategory: text\n" through std::cerr. A null category puts the
// stream into its failed state, as inserting a null char pointer does; the
// rest of the line is then lost. Callers always pass a category.
void toStderr(const char* prefix, const char* category, const std::string& text) {
  std::cerr << prefix;
  if (category)
    std::cerr << category;
  else
    std::cerr.setstate(std::ios::badbit);
  std::cerr << ": " << text << '\n';
  std::cerr.flush();
}

// Sends the message to the logger (released on the way out, also when the
// logger throws); returns false when there is none.
bool toLogger(fw::IApplication* app, LoggerOp op, const char* category, const std::string& text) {
  zob::Ref<fw::ILogger> logger = getLogger(app);
  if (!logger) return false;
  ((*logger).*op)(category, text.c_str());
  return true;
}

void log(fw::IApplication* app, LoggerOp op, const char* prefix, const char* category,
         const std::string& text) {
  if (!toLogger(app, op, category, text)) toStderr(prefix, category, text);
}

}  // namespace

void eFatal(fw::IApplication* app, const char* category, const std::string& text) {
  if (toLogger(app, &fw::ILogger::fatal, category, text)) return;
  toStderr("FATAL: ", category, text);
  std::exit(1);
}

void eError(fw::IApplication* app, const char* category, const std::string& text) {
  log(app, &fw::ILogger::error, "ERROR: ", category, text);
}

void eWarning(fw::IApplication* app, const char* category, const std::string& text) {
  log(app, &fw::ILogger::warning, "WARNING: ", category, text);
}

void eNotice(fw::IApplication* app, const char* category, const std::string& text) {
  log(app, &fw::ILogger::notice, "NOTICE: ", category, text);
}

void eInfo(fw::IApplication* app, const char* category, const std::string& text) {
  log(app, &fw::ILogger::info, "INFO: ", category, text);
}

void eDebug(fw::IApplication* app, const char* category, const std::string& text) {
  log(app, &fw::ILogger::debug, "DEBUG: ", category, text);
}

void _eAssert(fw::IApplication* app, const char* category, const char* expression, const char* file,
              int line) {
  std::string text = "QUV assertion failed: %1[%2]: %3";
  text << file << line << expression;
  if (toLogger(app, &fw::ILogger::debug, category, text)) return;
  std::cerr << text << '\n';
  std::cerr.flush();
}

void _queryInterfaceError(fw::IApplication* app, const char* category, zob::IUnknown* object,
                          const char* interfaceId, unsigned int result) {
  std::string text = "Can't get interface %1 from interface %2: %3";
  text << interfaceId << (object ? object->_comGetInterfaceId() : "(null)")
       << zobStrError(static_cast<ZResult>(result));
  eDebug(app, category, text);
}

}  // namespace qor::quv::util
