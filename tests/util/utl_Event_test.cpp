// Event objects (interfaces, copies, reference counts), sending and posting
// through the reference host's dispatcher, listener registration, and every
// failure message.
#define QUV_SOURCE_NAME "utl_Event_test"
#include <kelp/util/utl_Event.h>

#include <gtest/gtest.h>
#include <kelp/host.h>
#include <zob/zob_mem.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

using namespace qor::quv::util;
using kelp::host::Application;
using kelp::host::LogLevel;
using kelp::host::LogRecord;
using kelp::host::RecordingLogger;
using qor::quv::fw::IEvent;
using qor::quv::fw::IEventListener;
using qor::quv::fw::IPropertyChangeEvent;
using qor::quv::fw::IVetoableActionEvent;

namespace {

// The current count of a reference-counted object.
std::uint32_t refs(zob::IUnknown* p) {
  std::uint32_t n = p->_comAddRef();
  p->_comRelease();
  return n - 1;
}

// Takes a zobStrNDup0 copy handed out through an out-parameter.
std::string take(char* s) {
  std::string r = s ? s : "(null)";
  zobFree(s);
  return r;
}

// A listener that runs a function for every event.
class FnListener final : public kelp::host::Object<IEventListener> {
 public:
  static zob::Ref<FnListener> create(std::function<void(IEvent*)> fn = {}) {
    return zob::Ref<FnListener>(new FnListener(std::move(fn)));
  }
  ZResult handleEvent(IEvent* ev) override {
    char* t = nullptr;
    ev->getEventType(&t);
    seen.push_back(take(t));
    if (fn_) fn_(ev);
    return zob::kOk;
  }
  std::vector<std::string> seen;  // event types, in order

 private:
  explicit FnListener(std::function<void(IEvent*)> fn) : fn_(std::move(fn)) {}
  std::function<void(IEvent*)> fn_;
};

// An event that reports its destruction.
class TrackedEvent final : public DefaultEvent {
 public:
  TrackedEvent(const std::string& type, bool* destroyed)
      : DefaultEvent(type, nullptr), destroyed_(destroyed) {}

 protected:
  ~TrackedEvent() override { *destroyed_ = true; }

 private:
  bool* destroyed_;
};

// An event of the host's own that will not tell its type.
class SilentEvent final : public kelp::host::Object<IEvent> {
 public:
  static zob::Ref<SilentEvent> create() { return zob::Ref<SilentEvent>(new SilentEvent); }
  ZResult getEventType(char** out) override {
    *out = nullptr;
    return zob::kNotImplemented;
  }
  ZResult getSource(zob::IUnknown** out) override {
    *out = nullptr;
    return zob::kOk;
  }
  void consumed() override {}
  bool isConsumed() override { return false; }

 private:
  SilentEvent() = default;
};

struct AppWithLog {
  zob::Ref<Application> app = Application::create();
  zob::Ref<RecordingLogger> log = RecordingLogger::create();
  AppWithLog() { app->installLogger(log.get()); }
  // The debug texts logged so far; every record must carry the category.
  std::vector<std::string> debug() const {
    for (const LogRecord& r : log->records()) EXPECT_EQ(r.category, "quv:kelp");
    return log->texts(LogLevel::Debug);
  }
};

}  // namespace

TEST(DefaultEvent, TypeSourceAndConsumedFlag) {
  auto source = RecordingLogger::create();
  bool destroyed = false;
  {
    zob::Ref<DefaultEvent> ev(new DefaultEvent("selectionChanged", source.get()));
    EXPECT_EQ(source->refCount(), 2u);  // the event holds the source
    char* type = nullptr;
    ASSERT_EQ(ev->getEventType(&type), zob::kOk);
    EXPECT_EQ(take(type), "selectionChanged");

    zob::IUnknown* src = nullptr;
    ASSERT_EQ(ev->getSource(&src), zob::kOk);
    EXPECT_EQ(src, static_cast<zob::IUnknown*>(source.get()));
    EXPECT_EQ(source->refCount(), 3u);
    src->_comRelease();

    EXPECT_FALSE(ev->isConsumed());
    ev->consumed();
    EXPECT_TRUE(ev->isConsumed());

    EXPECT_EQ(ev->getEventType(nullptr), zob::kInvalidArgument);
    EXPECT_EQ(ev->getSource(nullptr), zob::kInvalidArgument);
  }
  EXPECT_EQ(source->refCount(), 1u);  // released with the event

  // No source: null comes back with success; an empty type is an empty copy.
  zob::Ref<DefaultEvent> ev(new TrackedEvent("", &destroyed));
  zob::IUnknown* src = reinterpret_cast<zob::IUnknown*>(&destroyed);
  EXPECT_EQ(ev->getSource(&src), zob::kOk);
  EXPECT_EQ(src, nullptr);
  char* type = nullptr;
  ASSERT_EQ(ev->getEventType(&type), zob::kOk);
  EXPECT_EQ(take(type), "");
  // A type with an embedded NUL is copied up to it.
  zob::Ref<DefaultEvent> nul(new DefaultEvent(std::string("ab\0cd", 5), nullptr));
  ASSERT_EQ(nul->getEventType(&type), zob::kOk);
  EXPECT_EQ(take(type), "ab");
}

TEST(DefaultEvent, CountStartsAtZeroAndLastReleaseDeletes) {
  bool destroyed = false;
  DefaultEvent* ev = new TrackedEvent("t", &destroyed);
  EXPECT_EQ(ev->addRef(), 1u);
  EXPECT_EQ(ev->addRef(), 2u);
  EXPECT_EQ(ev->release(), 1u);
  EXPECT_FALSE(destroyed);
  EXPECT_EQ(ev->release(), 0u);
  EXPECT_TRUE(destroyed);
}

TEST(Events, QueryInterfaceOverAllInterfaces) {
  zob::Ref<DefaultEvent> plain(new DefaultEvent("a", nullptr));
  zob::Ref<PropertyChangeEvent> prop(new PropertyChangeEvent("b", nullptr, "price"));
  zob::Ref<VetoableActionEvent> veto(new VetoableActionEvent("c", nullptr, "k", "v", "o", "n"));
  struct Case {
    const char* name;
    IEvent* ev;
    bool property;
    bool vetoable;
  } cases[] = {{"DefaultEvent", plain.get(), false, false},
               {"PropertyChangeEvent", prop.get(), true, false},
               {"VetoableActionEvent", veto.get(), false, true}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    struct Iid {
      const char* iid;
      bool expected;
    } iids[] = {{"IDL:zob/IUnknown:1.0", true},
                {"IDL:qor/quv/fw/IEvent:1.0", true},
                {"IDL:qor/quv/fw/IPropertyChangeEvent:1.0", c.property},
                {"IDL:qor/quv/fw/IVetoableActionEvent:1.0", c.vetoable},
                {"IDL:qor/quv/fw/IEventListener:1.0", false},
                {"IDL:qor/quv/fw/IEvent:2.0", false},
                {nullptr, false}};
    zob::IUnknown* identity = nullptr;
    ASSERT_EQ(c.ev->_comQueryInterface(zob::IUnknown::IID, &identity), zob::kOk);
    for (const Iid& i : iids) {
      SCOPED_TRACE(i.iid ? i.iid : "(null)");
      const std::uint32_t before = refs(c.ev);
      zob::IUnknown* out = reinterpret_cast<zob::IUnknown*>(&identity);  // not null
      ZResult r = c.ev->_comQueryInterface(i.iid, &out);
      if (!i.expected) {
        EXPECT_EQ(r, zob::kNoInterface);
        EXPECT_EQ(out, nullptr);
        EXPECT_EQ(refs(c.ev), before);
        continue;
      }
      ASSERT_EQ(r, zob::kOk);
      ASSERT_NE(out, nullptr);
      EXPECT_EQ(refs(c.ev), before + 1);
      // Each interface pointer names its own interface, and the object's
      // identity is the same whichever interface it is asked through.
      if (std::string(i.iid) != zob::IUnknown::IID) {
        EXPECT_STREQ(out->_comGetInterfaceId(), i.iid);
      }
      zob::IUnknown* again = nullptr;
      ASSERT_EQ(out->_comQueryInterface(zob::IUnknown::IID, &again), zob::kOk);
      EXPECT_EQ(again, identity);
      again->_comRelease();
      out->_comRelease();
    }
    identity->_comRelease();
    EXPECT_EQ(c.ev->_comQueryInterface(zob::IUnknown::IID, nullptr), zob::kInvalidArgument);
  }
  for (const Case& c : cases) EXPECT_EQ(refs(c.ev), 1u);
}

TEST(Events, CountsAreSharedByAllInterfaces) {
  zob::Ref<VetoableActionEvent> ev(new VetoableActionEvent("c", nullptr, "", "", "", ""));
  zob::Ref<IVetoableActionEvent> v;
  ASSERT_EQ(zob::query(static_cast<IEvent*>(ev.get()), v), zob::kOk);
  EXPECT_EQ(refs(static_cast<IEvent*>(ev.get())), 2u);
  EXPECT_EQ(v->_comAddRef(), 3u);
  EXPECT_EQ(static_cast<IEvent*>(ev.get())->_comRelease(), 2u);
  // The object dies with the last reference, whichever interface holds it.
  IEvent* raw = ev.detach();
  EXPECT_EQ(raw->_comRelease(), 1u);
  v.reset();  // the last one: ASan reports a leak or a double free here
}

TEST(PropertyChangeEvent, PropertyIsCopied) {
  zob::Ref<PropertyChangeEvent> ev(new PropertyChangeEvent("propertyChange", nullptr, "netPrice"));
  zob::Ref<IPropertyChangeEvent> p;
  ASSERT_EQ(zob::query(static_cast<IEvent*>(ev.get()), p), zob::kOk);
  char* a = nullptr;
  char* b = nullptr;
  ASSERT_EQ(p->getProperty(&a), zob::kOk);
  ASSERT_EQ(p->getProperty(&b), zob::kOk);
  EXPECT_NE(a, b);  // each call hands out its own copy
  EXPECT_EQ(take(a), "netPrice");
  EXPECT_EQ(take(b), "netPrice");
  EXPECT_EQ(p->getProperty(nullptr), zob::kInvalidArgument);
  char* t = nullptr;
  ASSERT_EQ(ev->getEventType(&t), zob::kOk);
  EXPECT_EQ(take(t), "propertyChange");
}

TEST(VetoableActionEvent, KeysValuesAndCancellation) {
  zob::Ref<VetoableActionEvent> ev(
      new VetoableActionEvent("vetoableAction", nullptr, "delete", "article", "A-17", "Ä-18"));
  struct Getter {
    const char* name;
    ZResult (VetoableActionEvent::*get)(char**);
    const char* expected;
  } getters[] = {{"actionKey", &VetoableActionEvent::getActionKey, "delete"},
                 {"valueKey", &VetoableActionEvent::getValueKey, "article"},
                 {"oldValue", &VetoableActionEvent::getOldValue, "A-17"},
                 {"newValue", &VetoableActionEvent::getNewValue, "Ä-18"},
                 {"cancelReason", &VetoableActionEvent::getCancelReason, ""}};
  for (const Getter& g : getters) {
    SCOPED_TRACE(g.name);
    char* s = nullptr;
    ASSERT_EQ(((*ev).*g.get)(&s), zob::kOk);
    EXPECT_EQ(take(s), g.expected);
    EXPECT_EQ(((*ev).*g.get)(nullptr), zob::kInvalidArgument);
  }

  int x = -1;
  ASSERT_EQ(ev->isCanceled(&x), zob::kOk);
  EXPECT_EQ(x, 0);
  EXPECT_FALSE(ev->isCanceled());
  struct Flag {
    int set;
    int read;
  } flags[] = {{5, 1}, {0, 0}, {-1, 1}, {1, 1}};
  for (const Flag& f : flags) {
    SCOPED_TRACE(f.set);
    EXPECT_EQ(ev->setCanceled(f.set), zob::kOk);
    ASSERT_EQ(ev->isCanceled(&x), zob::kOk);
    EXPECT_EQ(x, f.read);
    EXPECT_EQ(ev->isCanceled(), f.read == 1);
  }
  EXPECT_EQ(ev->isCanceled(nullptr), zob::kInvalidArgument);

  EXPECT_EQ(ev->setCancelReason("article is locked"), zob::kOk);
  EXPECT_EQ(ev->getCancelReason(), "article is locked");
  char* r = nullptr;
  ASSERT_EQ(ev->getCancelReason(&r), zob::kOk);
  EXPECT_EQ(take(r), "article is locked");
  EXPECT_EQ(ev->setCancelReason(nullptr), zob::kOk);
  EXPECT_EQ(ev->getCancelReason(), "");
}

TEST(SendEvent, VetoableActionComesBackCancelledWithTheListenersReason) {
  AppWithLog a;
  auto vetoer = FnListener::create([](IEvent* ev) {
    zob::Ref<IVetoableActionEvent> v;
    ASSERT_EQ(zob::query(ev, v), zob::kOk);
    char* key = nullptr;
    v->getActionKey(&key);
    if (take(key) == "delete") {
      v->setCanceled(1);
      v->setCancelReason("article A-17 is in a basket");
    }
  });
  auto other = FnListener::create();
  ASSERT_EQ(_registerEventListener(a.app.get(), vetoer.get(), "vetoableAction"), zob::kOk);
  ASSERT_EQ(_registerEventListener(a.app.get(), other.get(), "somethingElse"), zob::kOk);

  zob::Ref<VetoableActionEvent> ev(
      new VetoableActionEvent("vetoableAction", a.app.get(), "delete", "article", "A-17", ""));
  EXPECT_EQ(sendEvent(a.app.get(), ev.get()), zob::kOk);
  EXPECT_TRUE(ev->isCanceled());
  EXPECT_EQ(ev->getCancelReason(), "article A-17 is in a basket");
  EXPECT_EQ(vetoer->seen, std::vector<std::string>{"vetoableAction"});
  EXPECT_TRUE(other->seen.empty());
  EXPECT_EQ(refs(static_cast<IEvent*>(ev.get())), 1u);  // the dispatcher kept nothing

  // An action the listener lets pass comes back as it went.
  zob::Ref<VetoableActionEvent> ok(
      new VetoableActionEvent("vetoableAction", nullptr, "rename", "article", "A", "B"));
  EXPECT_EQ(sendEvent(a.app.get(), ok.get(), false), zob::kOk);
  EXPECT_FALSE(ok->isCanceled());
  EXPECT_EQ(ok->getCancelReason(), "");

  EXPECT_EQ(_unregisterEventListener(a.app.get(), vetoer.get()), zob::kOk);
  EXPECT_EQ(_unregisterEventListener(a.app.get(), other.get()), zob::kOk);
  EXPECT_TRUE(a.debug().empty());
}

TEST(PostEvent, DeliveredByTheHostAfterTheCallAndFreedAfterDelivery) {
  AppWithLog a;
  std::vector<std::string> order;
  auto listener = FnListener::create();
  ASSERT_EQ(_registerEventListener(a.app.get(), listener.get()), zob::kOk);

  bool destroyed[3] = {false, false, false};
  const char* types[3] = {"first", "second", "third"};
  for (int i = 0; i < 3; ++i) {
    zob::Ref<DefaultEvent> ev(new TrackedEvent(types[i], &destroyed[i]));
    EXPECT_EQ(refs(ev.get()), 1u);
    ASSERT_EQ(postEvent(a.app.get(), ev.get()), zob::kOk);
    EXPECT_EQ(refs(ev.get()), 2u);  // the queue holds one
  }  // our references are gone; the queued ones keep the events alive
  EXPECT_TRUE(listener->seen.empty());
  for (bool d : destroyed) EXPECT_FALSE(d);
  EXPECT_EQ(a.app->eventDispatcher()->pendingEvents(), 3u);

  EXPECT_EQ(a.app->processEvents(), 3u);
  EXPECT_EQ(listener->seen, (std::vector<std::string>{"first", "second", "third"}));
  for (bool d : destroyed) EXPECT_TRUE(d);
  EXPECT_EQ(a.app->processEvents(), 0u);

  // An event someone still holds survives delivery with its count intact.
  zob::Ref<DefaultEvent> kept(new DefaultEvent("kept", nullptr));
  ASSERT_EQ(postEvent(a.app.get(), kept.get()), zob::kOk);
  EXPECT_EQ(a.app->processEvents(), 1u);
  EXPECT_EQ(refs(kept.get()), 1u);
  EXPECT_EQ(_unregisterEventListener(a.app.get(), listener.get()), zob::kOk);
  EXPECT_TRUE(a.debug().empty());
}

TEST(SendEvent, NullApplicationOrEventIsRefusedWithoutAskingForTheDispatcher) {
  AppWithLog a;
  a.app->failRequest("getEventDispatcher", zob::kBusy);
  zob::Ref<DefaultEvent> ev(new DefaultEvent("t", nullptr));
  auto listener = FnListener::create();
  EXPECT_EQ(sendEvent(a.app.get(), nullptr, false), zob::kInvalidArgument);
  EXPECT_EQ(sendEvent(a.app.get(), nullptr, true), zob::kInvalidArgument);
  EXPECT_EQ(sendEvent(a.app.get(), nullptr), zob::kInvalidArgument);
  EXPECT_EQ(postEvent(a.app.get(), nullptr), zob::kInvalidArgument);
  EXPECT_EQ(sendEvent(nullptr, ev.get()), zob::kInvalidArgument);
  EXPECT_EQ(postEvent(nullptr, ev.get()), zob::kInvalidArgument);
  EXPECT_EQ(_registerEventListener(nullptr, listener.get()), zob::kInvalidArgument);
  EXPECT_EQ(_registerEventListener(a.app.get(), nullptr), zob::kInvalidArgument);
  EXPECT_EQ(_registerEventListener(a.app.get(), listener.get(), nullptr), zob::kInvalidArgument);
  EXPECT_EQ(_registerEventListener(a.app.get(), nullptr, "t"), zob::kInvalidArgument);
  EXPECT_EQ(_unregisterEventListener(a.app.get(), nullptr), zob::kInvalidArgument);
  EXPECT_EQ(_unregisterEventListener(nullptr, listener.get()), zob::kInvalidArgument);
  EXPECT_TRUE(a.debug().empty());  // the failing request was never made
  EXPECT_EQ(refs(ev.get()), 1u);
}

TEST(SendEvent, EveryFailureIsLoggedAndItsCodeReturned) {
  const std::string busy = zobStrError(zob::kBusy);
  struct Case {
    const char* name;
    const char* failing;  // the host request told to fail, or null
    bool hideDispatcher;
    const char* eventType;  // null: an event that will not tell its type
    bool post;
    ZResult expectedCode;
    std::string expectedText;
  } cases[] = {
      {"dispatcher request, send", "getEventDispatcher", false, "t", false, zob::kBusy,
       "Failed to get event dispatcher from application: " + busy},
      {"dispatcher request, post", "getEventDispatcher", false, "t", true, zob::kBusy,
       "Failed to get event dispatcher from application: " + busy},
      {"no dispatcher, send", nullptr, true, "t", false, zob::kNotFound,
       "Event dispatcher returned by IApplication is NULL"},
      {"no dispatcher, post", nullptr, true, "t", true, zob::kNotFound,
       "Event dispatcher returned by IApplication is NULL"},
      {"send", "sendEvent", false, "basketChanged", false, zob::kBusy,
       "Send of 'basketChanged' event failed: " + busy},
      {"post", "postEvent", false, "basketChanged", true, zob::kBusy,
       "Post of 'basketChanged' event failed: " + busy},
      {"post, empty type", "postEvent", false, "", true, zob::kBusy,
       "Post of '?\?\?' event failed: " + busy},
      {"send, empty type", "sendEvent", false, "", false, zob::kBusy,
       "Send of '?\?\?' event failed: " + busy},
      {"send, type unknown", "sendEvent", false, nullptr, false, zob::kBusy,
       "Send of '?\?\?' event failed: " + busy},
      {"post, type unknown", "postEvent", false, nullptr, true, zob::kBusy,
       "Post of '?\?\?' event failed: " + busy},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    AppWithLog a;
    if (c.failing) a.app->failRequest(c.failing, zob::kBusy);
    a.app->hideEventDispatcher(c.hideDispatcher);
    zob::Ref<IEvent> ev;
    if (c.eventType)
      ev = zob::Ref<IEvent>(new DefaultEvent(c.eventType, nullptr));
    else
      ev = zob::Ref<IEvent>::adopt(SilentEvent::create().detach());
    EXPECT_EQ(sendEvent(a.app.get(), ev.get(), c.post), c.expectedCode);
    EXPECT_EQ(a.debug(), std::vector<std::string>{c.expectedText});
    EXPECT_EQ(a.log->records().size(), 1u);
    EXPECT_EQ(refs(ev.get()), 1u);  // nothing kept a reference
    EXPECT_EQ(a.app->eventDispatcher()->pendingEvents(), 0u);
  }
}

TEST(Listeners, GlobalAndTypedRegistrationAndRemoval) {
  AppWithLog a;
  auto all = FnListener::create();
  auto typed = FnListener::create();
  const std::uint32_t held = refs(all.get());
  ASSERT_EQ(_registerEventListener(a.app.get(), all.get()), zob::kOk);
  ASSERT_EQ(_registerEventListener(a.app.get(), typed.get(), "priceChanged"), zob::kOk);
  EXPECT_EQ(refs(all.get()), held + 1);  // the dispatcher holds its listeners

  for (const char* type : {"priceChanged", "basketChanged"}) {
    zob::Ref<DefaultEvent> ev(new DefaultEvent(type, nullptr));
    ASSERT_EQ(sendEvent(a.app.get(), ev.get()), zob::kOk);
  }
  EXPECT_EQ(all->seen, (std::vector<std::string>{"priceChanged", "basketChanged"}));
  EXPECT_EQ(typed->seen, std::vector<std::string>{"priceChanged"});

  ASSERT_EQ(_unregisterEventListener(a.app.get(), all.get()), zob::kOk);
  EXPECT_EQ(refs(all.get()), held);
  zob::Ref<DefaultEvent> ev(new PropertyChangeEvent("priceChanged", nullptr, "net"));
  ASSERT_EQ(sendEvent(a.app.get(), ev.get()), zob::kOk);
  EXPECT_EQ(all->seen.size(), 2u);
  EXPECT_EQ(typed->seen.size(), 2u);
  ASSERT_EQ(_unregisterEventListener(a.app.get(), typed.get()), zob::kOk);
  EXPECT_TRUE(a.debug().empty());
  EXPECT_EQ(a.app->eventDispatcher()->listenerCount(), 0u);
}

TEST(Listeners, EveryFailureIsLoggedAndItsCodeReturned) {
  const std::string busy = zobStrError(zob::kBusy);
  const std::string dispatcherFailed = "Failed to get event dispatcher from application: " + busy;
  const std::string noDispatcher = "Event dispatcher returned by IApplication is NULL";
  enum Op { Global, Typed, Remove };
  struct Case {
    const char* name;
    Op op;
    const char* failing;
    bool hideDispatcher;
    ZResult expectedCode;
    std::string expectedText;
  } cases[] = {
      {"add global", Global, "addEventListener", false, zob::kBusy,
       "Failed to add global event listener: " + busy},
      {"add typed", Typed, "addTypedEventListener", false, zob::kBusy,
       "Failed to add typed event listener for 'priceChanged': " + busy},
      {"remove", Remove, "removeEventListener", false, zob::kBusy,
       "Failed to remove event listener: " + busy},
      {"remove unregistered", Remove, nullptr, false, zob::kNotFound,
       std::string("Failed to remove event listener: ") + zobStrError(zob::kNotFound)},
      {"add global, dispatcher", Global, "getEventDispatcher", false, zob::kBusy, dispatcherFailed},
      {"add typed, dispatcher", Typed, "getEventDispatcher", false, zob::kBusy, dispatcherFailed},
      {"remove, dispatcher", Remove, "getEventDispatcher", false, zob::kBusy, dispatcherFailed},
      {"add global, none", Global, nullptr, true, zob::kNotFound, noDispatcher},
      {"add typed, none", Typed, nullptr, true, zob::kNotFound, noDispatcher},
      {"remove, none", Remove, nullptr, true, zob::kNotFound, noDispatcher},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    AppWithLog a;
    if (c.failing) a.app->failRequest(c.failing, zob::kBusy);
    a.app->hideEventDispatcher(c.hideDispatcher);
    auto listener = FnListener::create();
    ZResult r = c.op == Global ? _registerEventListener(a.app.get(), listener.get())
                : c.op == Typed
                    ? _registerEventListener(a.app.get(), listener.get(), "priceChanged")
                    : _unregisterEventListener(a.app.get(), listener.get());
    EXPECT_EQ(r, c.expectedCode);
    EXPECT_EQ(a.debug(), std::vector<std::string>{c.expectedText});
    EXPECT_EQ(a.log->records().size(), 1u);
    EXPECT_EQ(refs(listener.get()), 1u);
    EXPECT_EQ(a.app->eventDispatcher()->listenerCount(), 0u);
  }
}

TEST(Listeners, FailuresWithoutALoggerGoToStandardError) {
  auto app = Application::create();
  app->failRequest("postEvent", zob::kBusy);
  zob::Ref<DefaultEvent> ev(new DefaultEvent("", nullptr));
  testing::internal::CaptureStderr();
  EXPECT_EQ(postEvent(app.get(), ev.get()), zob::kBusy);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            std::string("DEBUG: quv:kelp: Post of '?\?\?' event failed: ") +
                zobStrError(zob::kBusy) + "\n");
}
