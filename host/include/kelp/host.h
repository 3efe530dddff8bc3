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
#include <cstddef>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <fw/fw_IAppCloseHook.h>
#include <fw/fw_IApplication.h>
#include <fw/fw_IApplication2.h>
#include <fw/fw_IEventDispatcher.h>
#include <fw/fw_IIdleCallout.h>
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

// ===========================================================================
// Events, idle callouts and close hooks (host_Events.cpp, host_Hooks.cpp)
// ===========================================================================

class Application;

/* The application's event dispatcher.
 *
 * sendEvent runs the listeners registered for the event's type, then the
 * listeners for all events, each group in the order of registration, and
 * returns when they are done; it stops handing the event on as soon as a
 * listener marks it consumed. postEvent queues the event with a reference
 * held; processEvents() delivers the queue in order and releases each event
 * after delivery. Every operation may be called from any thread; listeners
 * run on the calling thread without a lock held, so they may send, post and
 * register in turn. The requests "sendEvent", "postEvent",
 * "addEventListener", "addTypedEventListener" and "removeEventListener" can
 * be made to fail through the owning application's failRequest. */
class KELP_HOST_API EventDispatcher final : public Object<qor::quv::fw::IEventDispatcher> {
 public:
  /* A dispatcher whose failures are configured on `owner` (may be null). */
  static zob::Ref<EventDispatcher> create(Application* owner = nullptr);

  ZResult sendEvent(qor::quv::fw::IEvent* event) override;
  ZResult postEvent(qor::quv::fw::IEvent* event) override;
  ZResult addEventListener(qor::quv::fw::IEventListener* listener) override;
  ZResult addTypedEventListener(qor::quv::fw::IEventListener* listener, const char* type) override;
  ZResult removeEventListener(qor::quv::fw::IEventListener* listener) override;

  /* Delivers the events queued when the call began, oldest first, and
   * returns how many. Events posted meanwhile wait for the next call. */
  std::size_t processEvents();
  std::size_t pendingEvents() const;
  /* The number of registrations (one listener may have several). */
  std::size_t listenerCount() const;

  /* The owner is going away: failures are no longer looked up. */
  void detach();

 private:
  struct Listener {
    zob::Ref<qor::quv::fw::IEventListener> listener;
    bool global;
    std::string type;
  };

  explicit EventDispatcher(Application* owner) : owner_(owner) {}
  ZResult failureOf(const char* request) const;
  void deliver(qor::quv::fw::IEvent* event);

  mutable std::mutex ownerMutex_;
  Application* owner_;
  mutable std::mutex mutex_;
  std::vector<Listener> listeners_;
  std::deque<zob::Ref<qor::quv::fw::IEvent>> queue_;
};

/* The application's IApplication2: close hooks and idle callouts.
 *
 * runCloseHooks() calls the hooks in ascending order (equal orders in the
 * order of registration) until one vetoes; runIdle() runs every callout once
 * in the order of registration. Both work on a snapshot taken under the
 * lock, so hooks and callouts may register and remove themselves (and
 * others) while they run; one removed during the run is skipped, one added
 * waits for the next run. A hook's failed result counts as no veto. The requests "addCloseHook",
 * "removeCloseHook", "addIdleCallout" and "removeIdleCallout" can be made to fail through the
 * owning application's failRequest. */
class KELP_HOST_API AppHooks final : public Object<qor::quv::fw::IApplication2> {
 public:
  static zob::Ref<AppHooks> create(Application* owner = nullptr);

  ZResult addCloseHook(int order, qor::quv::fw::IAppCloseHook* hook) override;
  ZResult removeCloseHook(qor::quv::fw::IAppCloseHook* hook) override;
  ZResult addIdleCallout(qor::quv::fw::IIdleCallout* callout) override;
  ZResult removeIdleCallout(qor::quv::fw::IIdleCallout* callout) override;

  /* True when no hook vetoed. */
  bool runCloseHooks();
  /* Runs every callout once; returns how many ran. */
  std::size_t runIdle();
  std::size_t closeHookCount() const;
  std::size_t idleCalloutCount() const;

  /* The owner is going away: failures are no longer looked up. */
  void detach();

 private:
  struct Hook {
    int order;
    zob::Ref<qor::quv::fw::IAppCloseHook> hook;
  };

  explicit AppHooks(Application* owner) : owner_(owner) {}
  ZResult failureOf(const char* request) const;

  mutable std::mutex ownerMutex_;
  Application* owner_;
  mutable std::mutex mutex_;
  std::vector<Hook> hooks_;  // sorted by order, stable
  std::vector<zob::Ref<qor::quv::fw::IIdleCallout>> callouts_;
};

// ===========================================================================

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

  // --- Events, idle callouts and close hooks (host_Events.cpp, host_Hooks.cpp)
  //
  // Every application has an EventDispatcher and an AppHooks object; the
  // latter answers queries for IApplication2 (remove it with
  // provideInterface(IApplication2::IID, nullptr)).

  /* The request "getEventDispatcher" can be made to fail. */
  ZResult getEventDispatcher(qor::quv::fw::IEventDispatcher** out) override;
  /* The application's own dispatcher (no reference added). */
  EventDispatcher* eventDispatcher() const { return events_.get(); }
  /* The application's close hooks and idle callouts (no reference added). */
  AppHooks* hooks() const { return hooks_.get(); }
  /* While hidden, getEventDispatcher succeeds with null, as for a host that
   * has no dispatcher. */
  void hideEventDispatcher(bool hidden) { dispatcherHidden_ = hidden; }
  /* Delivers the posted events; any thread. Returns how many. */
  std::size_t processEvents() { return events_->processEvents(); }
  /* One idle turn: runs every idle callout once. Returns how many ran. */
  std::size_t runIdle() { return hooks_->runIdle(); }
  /* Asks the close hooks; true when the close goes ahead (no veto). */
  bool close() { return hooks_->runCloseHooks(); }

 private:
  Application() = default;
  ~Application() override;

  zob::Ref<EventDispatcher> events_{EventDispatcher::create(this)};
  zob::Ref<AppHooks> hooks_{AppHooks::create(this)};
  std::atomic<bool> dispatcherHidden_{false};

  mutable std::mutex mutex_;
  zob::Ref<qor::quv::fw::ILogger> logger_;
  std::map<std::string, ZResult> failures_;
  std::map<std::string, zob::Ref<zob::IUnknown>> interfaces_;
};

}  // namespace kelp::host

// The host's further services, each in a header of its own.
#include <kelp/host_app.h>
#include <kelp/host_locale.h>

#endif
