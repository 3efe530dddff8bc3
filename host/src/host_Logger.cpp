// The reference host's loggers: one that records for tests, one that writes
// to standard error for the tool.
#include <kelp/host.h>

#include <cstdio>

namespace kelp::host {

const char* levelName(LogLevel level) {
  switch (level) {
    case LogLevel::Fatal:
      return "fatal";
    case LogLevel::Error:
      return "error";
    case LogLevel::Warning:
      return "warning";
    case LogLevel::Notice:
      return "notice";
    case LogLevel::Info:
      return "info";
    case LogLevel::Debug:
      return "debug";
  }
  return "?";
}

zob::Ref<RecordingLogger> RecordingLogger::create() {
  return zob::Ref<RecordingLogger>(new RecordingLogger);
}

void RecordingLogger::add(LogLevel level, const char* category, const char* text) {
  std::lock_guard lock(mutex_);
  records_.push_back({level, category ? category : "", text ? text : ""});
}

void RecordingLogger::fatal(const char* c, const char* t) {
  add(LogLevel::Fatal, c, t);
}
void RecordingLogger::error(const char* c, const char* t) {
  add(LogLevel::Error, c, t);
}
void RecordingLogger::warning(const char* c, const char* t) {
  add(LogLevel::Warning, c, t);
}
void RecordingLogger::notice(const char* c, const char* t) {
  add(LogLevel::Notice, c, t);
}
void RecordingLogger::info(const char* c, const char* t) {
  add(LogLevel::Info, c, t);
}
void RecordingLogger::debug(const char* c, const char* t) {
  add(LogLevel::Debug, c, t);
}

std::vector<LogRecord> RecordingLogger::records() const {
  std::lock_guard lock(mutex_);
  return records_;
}

std::vector<std::string> RecordingLogger::texts(LogLevel level) const {
  std::lock_guard lock(mutex_);
  std::vector<std::string> out;
  for (const LogRecord& r : records_)
    if (r.level == level) out.push_back(r.text);
  return out;
}

void RecordingLogger::clear() {
  std::lock_guard lock(mutex_);
  records_.clear();
}

zob::Ref<StderrLogger> StderrLogger::create(LogLevel minLevel) {
  return zob::Ref<StderrLogger>(new StderrLogger(minLevel));
}

void StderrLogger::write(LogLevel level, const char* category, const char* text) {
  if (static_cast<int>(level) > static_cast<int>(minLevel_)) return;
  std::fprintf(stderr, "%s: %s: %s\n", levelName(level), category ? category : "",
               text ? text : "");
  std::fflush(stderr);
}

void StderrLogger::fatal(const char* c, const char* t) {
  write(LogLevel::Fatal, c, t);
}
void StderrLogger::error(const char* c, const char* t) {
  write(LogLevel::Error, c, t);
}
void StderrLogger::warning(const char* c, const char* t) {
  write(LogLevel::Warning, c, t);
}
void StderrLogger::notice(const char* c, const char* t) {
  write(LogLevel::Notice, c, t);
}
void StderrLogger::info(const char* c, const char* t) {
  write(LogLevel::Info, c, t);
}
void StderrLogger::debug(const char* c, const char* t) {
  write(LogLevel::Debug, c, t);
}

}  // namespace kelp::host
