/* qor::quv::fw::ILogger: the host application's logger.
 *
 * Six message operations, highest level first. Category and text are
 * zero-terminated strings owned by the caller; the logger copies what it
 * keeps. */
#ifndef FW_FW_ILOGGER_H
#define FW_FW_ILOGGER_H

#include <zob/zob_unknown.h>

namespace qor::quv::fw {

class ILogger : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/fw/ILogger:1.0";

  virtual void fatal(const char* category, const char* text) = 0;
  virtual void error(const char* category, const char* text) = 0;
  virtual void warning(const char* category, const char* text) = 0;
  virtual void notice(const char* category, const char* text) = 0;
  virtual void info(const char* category, const char* text) = 0;
  virtual void debug(const char* category, const char* text) = 0;

 protected:
  ~ILogger() = default;
};

using ILogger_Adapter = zob::Adapter<ILogger>;

}  // namespace qor::quv::fw

#endif
