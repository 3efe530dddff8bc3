/* The reference host: an application object that implements the host
 * framework interfaces libkelp asks for, configured from code.
 *
 * The kelp tool runs on it, and the tests use it instead of fakes:
 *
 *   auto app = kelp::host::Application::create();
 *   auto log = kelp::host::RecordingLogger::create();
 *   app->installLogger(log.get());
 *   qor::quv::util::eError(app.get(), "quv:kelp", "x");
 *   // log->records()[0] == {LogLevel::Error, "quv:kelp", "x"}
 *
 * Objects are reference counted; create() hands out the first reference in a
 * zob::Ref. Any request can be told to fail with a given code
 * (failRequest), so that the library's failure paths can be exercised.
 * Thread rules: configure from one thread; the logger may be called from any
 * thread (RecordingLogger locks). */
#ifndef KELP_HOST_H
#define KELP_HOST_H

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <fw/fw_IApplication.h>
#include <fw/fw_ILogger.h>
#include <zob/zob_unknown.h>

#define KELP_HOST_API __attribute__((visibility("default")))

namespace kelp::host {

enum class LogLevel { Fatal, Error, Warning, Notice, Info, Debug };

/* The name of a level as a word ("fatal" ... "debug"). */
KELP_HOST_API const char* levelName(LogLevel level);

struct LogRecord {
  LogLevel level;
  std::string category;
  std::string text;
  bool operator==(const LogRecord&) const = default;
};

/* Base of the host's reference-counted objects: an atomic count, deleted at
 * zero. */
template <class I>
class Object : public zob::Adapter<I> {
 public:
  ZResult queryInterface(const char* iid, zob::IUnknown** out) override {
    if (!out) return zob::kInvalidArgument;
    if (zobCompareIID(iid, zob::IUnknown::IID) || zobCompareIID(iid, I::IID)) {
      *out = this;
      addRef();
      return zob::kOk;
    }
    *out = nullptr;
    return zob::kNoInterface;
  }
  std::uint32_t addRef() override { return ++count_; }
  std::uint32_t release() override {
    std::uint32_t n = --count_;
    if (n == 0) delete this;
    return n;
  }
  /* The current reference count, for tests. */
  std::uint32_t refCount() const { return count_.load(); }

 protected:
  virtual ~Object() = default;

 private:
  std::atomic<std::uint32_t> count_{0};
};

/* A logger that keeps every message (level, category, text). */
class KELP_HOST_API RecordingLogger final : public Object<qor::quv::fw::ILogger> {
 public:
  static zob::Ref<RecordingLogger> create();

  void fatal(const char* category, const char* text) override;
  void error(const char* category, const char* text) override;
  void warning(const char* category, const char* text) override;
  void notice(const char* category, const char* text) override;
  void info(const char* category, const char* text) override;
  void debug(const char* category, const char* text) override;

  std::vector<LogRecord> records() const;
  /* Texts of the messages at one level, in order. */
  std::vector<std::string> texts(LogLevel level) const;
  void clear();

 private:
  RecordingLogger() = default;
  void add(LogLevel level, const char* category, const char* text);
  mutable std::mutex mutex_;
  std::vector<LogRecord> records_;
};

/* A logger that writes "level: category: text" lines to standard error; the
 * tool's logger. Messages below minLevel are dropped. */
class KELP_HOST_API StderrLogger final : public Object<qor::quv::fw::ILogger> {
 public:
  static zob::Ref<StderrLogger> create(LogLevel minLevel = LogLevel::Warning);

  void fatal(const char* category, const char* text) override;
  void error(const char* category, const char* text) override;
  void warning(const char* category, const char* text) override;
  void notice(const char* category, const char* text) override;
  void info(const char* category, const char* text) override;
  void debug(const char* category, const char* text) override;

 private:
  explicit StderrLogger(LogLevel minLevel) : minLevel_(minLevel) {}
  void write(LogLevel level, const char* category, const char* text);
  LogLevel minLevel_;
};

/* The application object. */
class KELP_HOST_API Application final : public Object<qor::quv::fw::IApplication> {
 public:
  static zob::Ref<Application> create();

  ZResult queryInterface(const char* iid, zob::IUnknown** out) override;
  ZResult getLogger(qor::quv::fw::ILogger** out) override;

  /* Installs a logger (a reference is held) or, with null, removes it. */
  void installLogger(qor::quv::fw::ILogger* logger);

  /* Makes the named request answer `code` until cleared. Requests are named
   * after the operation ("getLogger") or, for interface queries, after the
   * repository id ("IDL:qor/quv/fw/IApplication2:1.0"). */
  void failRequest(const std::string& request, ZResult code = zob::kNotImplemented);
  void clearFailure(const std::string& request);
  void clearFailures();
  /* The code a request has been told to answer, or 0. */
  ZResult failureOf(const std::string& request) const;

  /* Hands out `object` (with a reference held by the application) when the
   * application is queried for `iid`; null removes it. This is how the host's
   * further interfaces (IApplication2, ILocale ...) are attached. */
  void provideInterface(const std::string& iid, zob::IUnknown* object);

 private:
  Application() = default;
  ~Application() override;

  mutable std::mutex mutex_;
  zob::Ref<qor::quv::fw::ILogger> logger_;
  std::map<std::string, ZResult> failures_;
  std::map<std::string, zob::Ref<zob::IUnknown>> interfaces_;
};

}  // namespace kelp::host

#endif
