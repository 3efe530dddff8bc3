// The reference host's event dispatcher, close hooks and idle callouts:
// delivery order, queues, registration rules, re-entrant callbacks and
// requests told to fail.
#include <fw/fw_IApplication2.h>
#include <gtest/gtest.h>
#include <kelp/host.h>
#include <zob/zob_mem.h>

#include <functional>
#include <string>
#include <vector>

using kelp::host::AppHooks;
using kelp::host::Application;
using kelp::host::EventDispatcher;
using kelp::host::Object;
using qor::quv::fw::IAppCloseHook;
using qor::quv::fw::IEvent;
using qor::quv::fw::IEventListener;
using qor::quv::fw::IIdleCallout;

namespace {

class Event final : public Object<IEvent> {
 public:
  static zob::Ref<Event> create(std::string type) {
    return zob::Ref<Event>(new Event(std::move(type)));
  }
  ZResult getEventType(char** out) override {
    *out = zobStrDup(type_.c_str());
    return zob::kOk;
  }
  ZResult getSource(zob::IUnknown** out) override {
    *out = nullptr;
    return zob::kOk;
  }
  void consumed() override { consumed_ = true; }
  bool isConsumed() override { return consumed_; }

 private:
  explicit Event(std::string type) : type_(std::move(type)) {}
  std::string type_;
  bool consumed_ = false;
};

// A listener that appends "<name>:<type>" to a shared log and then runs an
// optional action.
class Listener final : public Object<IEventListener> {
 public:
  static zob::Ref<Listener> create(std::string name, std::vector<std::string>* log,
                                   std::function<void(IEvent*)> then = {}) {
    return zob::Ref<Listener>(new Listener(std::move(name), log, std::move(then)));
  }
  ZResult handleEvent(IEvent* ev) override {
    char* t = nullptr;
    ev->getEventType(&t);
    log_->push_back(name_ + ":" + t);
    zobFree(t);
    if (then_) then_(ev);
    return zob::kOk;
  }

 private:
  Listener(std::string name, std::vector<std::string>* log, std::function<void(IEvent*)> then)
      : name_(std::move(name)), log_(log), then_(std::move(then)) {}
  std::string name_;
  std::vector<std::string>* log_;
  std::function<void(IEvent*)> then_;
};

class Hook final : public Object<IAppCloseHook> {
 public:
  static zob::Ref<Hook> create(std::string name, std::vector<std::string>* log,
                               std::function<ZResult(int*)> act = {}) {
    return zob::Ref<Hook>(new Hook(std::move(name), log, std::move(act)));
  }
  ZResult onAppClose(int* veto) override {
    log_->push_back(name_);
    return act_ ? act_(veto) : zob::kOk;
  }

 private:
  Hook(std::string name, std::vector<std::string>* log, std::function<ZResult(int*)> act)
      : name_(std::move(name)), log_(log), act_(std::move(act)) {}
  std::string name_;
  std::vector<std::string>* log_;
  std::function<ZResult(int*)> act_;
};

class Callout final : public Object<IIdleCallout> {
 public:
  static zob::Ref<Callout> create(std::string name, std::vector<std::string>* log,
                                  std::function<void()> then = {}) {
    return zob::Ref<Callout>(new Callout(std::move(name), log, std::move(then)));
  }
  ZResult onIdle() override {
    log_->push_back(name_);
    if (then_) then_();
    return zob::kOk;
  }

 private:
  Callout(std::string name, std::vector<std::string>* log, std::function<void()> then)
      : name_(std::move(name)), log_(log), then_(std::move(then)) {}
  std::string name_;
  std::vector<std::string>* log_;
  std::function<void()> then_;
};

using Strings = std::vector<std::string>;

}  // namespace

TEST(HostEvents, TypedListenersFirstThenGlobalEachInRegistrationOrder) {
  auto app = Application::create();
  EventDispatcher* d = app->eventDispatcher();
  Strings log;
  auto g1 = Listener::create("g1", &log);
  auto t1 = Listener::create("t1", &log);
  auto g2 = Listener::create("g2", &log);
  auto t2 = Listener::create("t2", &log);
  auto other = Listener::create("other", &log);
  ASSERT_EQ(d->addEventListener(g1.get()), zob::kOk);
  ASSERT_EQ(d->addTypedEventListener(t1.get(), "price"), zob::kOk);
  ASSERT_EQ(d->addEventListener(g2.get()), zob::kOk);
  ASSERT_EQ(d->addTypedEventListener(t2.get(), "price"), zob::kOk);
  ASSERT_EQ(d->addTypedEventListener(other.get(), "basket"), zob::kOk);

  ASSERT_EQ(d->sendEvent(Event::create("price").get()), zob::kOk);
  EXPECT_EQ(log, (Strings{"t1:price", "t2:price", "g1:price", "g2:price"}));
  log.clear();
  ASSERT_EQ(d->sendEvent(Event::create("PRICE").get()), zob::kOk);  // types compare exactly
  EXPECT_EQ(log, (Strings{"g1:PRICE", "g2:PRICE"}));

  for (auto* l : {g1.get(), t1.get(), g2.get(), t2.get(), other.get()})
    EXPECT_EQ(d->removeEventListener(l), zob::kOk);
  EXPECT_EQ(d->listenerCount(), 0u);
}

TEST(HostEvents, AConsumedEventIsHandedOnNoFurther) {
  auto app = Application::create();
  EventDispatcher* d = app->eventDispatcher();
  Strings log;
  auto a = Listener::create("a", &log);
  auto b = Listener::create("b", &log, [](IEvent* ev) { ev->consumed(); });
  auto c = Listener::create("c", &log);
  ASSERT_EQ(d->addTypedEventListener(a.get(), "x"), zob::kOk);
  ASSERT_EQ(d->addEventListener(b.get()), zob::kOk);
  ASSERT_EQ(d->addEventListener(c.get()), zob::kOk);
  auto ev = Event::create("x");
  ASSERT_EQ(d->sendEvent(ev.get()), zob::kOk);
  EXPECT_EQ(log, (Strings{"a:x", "b:x"}));
  EXPECT_TRUE(ev->isConsumed());
  // An event consumed before it is sent reaches nobody.
  log.clear();
  ASSERT_EQ(d->sendEvent(ev.get()), zob::kOk);
  EXPECT_TRUE(log.empty());
  for (auto* l : {a.get(), b.get(), c.get()}) d->removeEventListener(l);
}

TEST(HostEvents, RegistrationRulesAndReferences) {
  auto app = Application::create();
  EventDispatcher* d = app->eventDispatcher();
  Strings log;
  auto l = Listener::create("l", &log);
  EXPECT_EQ(d->addEventListener(nullptr), zob::kInvalidArgument);
  EXPECT_EQ(d->addTypedEventListener(nullptr, "x"), zob::kInvalidArgument);
  EXPECT_EQ(d->addTypedEventListener(l.get(), nullptr), zob::kInvalidArgument);
  EXPECT_EQ(d->removeEventListener(nullptr), zob::kInvalidArgument);
  EXPECT_EQ(d->sendEvent(nullptr), zob::kInvalidArgument);
  EXPECT_EQ(d->postEvent(nullptr), zob::kInvalidArgument);
  EXPECT_EQ(d->removeEventListener(l.get()), zob::kNotFound);

  ASSERT_EQ(d->addEventListener(l.get()), zob::kOk);
  EXPECT_EQ(d->addEventListener(l.get()), zob::kExists);
  ASSERT_EQ(d->addTypedEventListener(l.get(), "x"), zob::kOk);
  EXPECT_EQ(d->addTypedEventListener(l.get(), "x"), zob::kExists);
  ASSERT_EQ(d->addTypedEventListener(l.get(), "y"), zob::kOk);
  EXPECT_EQ(d->listenerCount(), 3u);
  EXPECT_EQ(l->refCount(), 4u);
  // One removal takes every registration of the listener.
  EXPECT_EQ(d->removeEventListener(l.get()), zob::kOk);
  EXPECT_EQ(d->listenerCount(), 0u);
  EXPECT_EQ(l->refCount(), 1u);
}

TEST(HostEvents, PostedEventsWaitForProcessingAndArriveInOrder) {
  auto app = Application::create();
  EventDispatcher* d = app->eventDispatcher();
  Strings log;
  // A listener that posts a follow-up while the queue is being delivered:
  // it waits for the next round, so processing always ends.
  zob::Ref<Listener> l = Listener::create("l", &log, [&](IEvent* ev) {
    char* t = nullptr;
    ev->getEventType(&t);
    std::string type = t;
    zobFree(t);
    if (type.size() < 3) d->postEvent(Event::create(type + "+").get());
  });
  ASSERT_EQ(d->addEventListener(l.get()), zob::kOk);
  auto e1 = Event::create("a");
  auto e2 = Event::create("b");
  ASSERT_EQ(d->postEvent(e1.get()), zob::kOk);
  ASSERT_EQ(d->postEvent(e2.get()), zob::kOk);
  EXPECT_EQ(e1->refCount(), 2u);
  EXPECT_TRUE(log.empty());
  EXPECT_EQ(d->pendingEvents(), 2u);

  EXPECT_EQ(app->processEvents(), 2u);
  EXPECT_EQ(log, (Strings{"l:a", "l:b"}));
  EXPECT_EQ(e1->refCount(), 1u);
  EXPECT_EQ(d->pendingEvents(), 2u);
  EXPECT_EQ(app->processEvents(), 2u);
  EXPECT_EQ(app->processEvents(), 2u);
  EXPECT_EQ(app->processEvents(), 0u);
  EXPECT_EQ(log, (Strings{"l:a", "l:b", "l:a+", "l:b+", "l:a++", "l:b++"}));
  d->removeEventListener(l.get());
}

TEST(HostEvents, ListenersMayRemoveThemselvesAndSendWhileRunning) {
  auto app = Application::create();
  EventDispatcher* d = app->eventDispatcher();
  Strings log;
  IEventListener* self = nullptr;
  auto once = Listener::create("once", &log, [&](IEvent*) { d->removeEventListener(self); });
  self = once.get();
  auto relay = Listener::create("relay", &log, [&](IEvent* ev) {
    char* t = nullptr;
    ev->getEventType(&t);
    bool outer = std::string(t) == "outer";
    zobFree(t);
    if (outer) d->sendEvent(Event::create("inner").get());
  });
  ASSERT_EQ(d->addEventListener(once.get()), zob::kOk);
  ASSERT_EQ(d->addEventListener(relay.get()), zob::kOk);
  once.reset();  // the dispatcher's reference keeps it for now
  ASSERT_EQ(d->sendEvent(Event::create("outer").get()), zob::kOk);
  EXPECT_EQ(log, (Strings{"once:outer", "relay:outer", "relay:inner"}));
  EXPECT_EQ(d->listenerCount(), 1u);
  d->removeEventListener(relay.get());
}

TEST(HostEvents, RequestsToldToFail) {
  auto app = Application::create();
  EventDispatcher* d = app->eventDispatcher();
  Strings log;
  auto l = Listener::create("l", &log);
  ASSERT_EQ(d->addEventListener(l.get()), zob::kOk);
  auto ev = Event::create("x");
  struct Case {
    const char* request;
    std::function<ZResult()> call;
  } cases[] = {
      {"sendEvent", [&] { return d->sendEvent(ev.get()); }},
      {"postEvent", [&] { return d->postEvent(ev.get()); }},
      {"addEventListener", [&] { return d->addEventListener(l.get()); }},
      {"addTypedEventListener", [&] { return d->addTypedEventListener(l.get(), "x"); }},
      {"removeEventListener", [&] { return d->removeEventListener(l.get()); }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.request);
    app->failRequest(c.request, zob::kBusy);
    EXPECT_EQ(c.call(), zob::kBusy);
    app->clearFailures();
  }
  EXPECT_TRUE(log.empty());
  EXPECT_EQ(d->pendingEvents(), 0u);
  EXPECT_EQ(d->listenerCount(), 1u);
  EXPECT_EQ(ev->refCount(), 1u);
  EXPECT_EQ(l->refCount(), 2u);

  qor::quv::fw::IEventDispatcher* out = nullptr;
  app->failRequest("getEventDispatcher", zob::kBusy);
  EXPECT_EQ(app->getEventDispatcher(&out), zob::kBusy);
  EXPECT_EQ(out, nullptr);
  app->clearFailures();
  app->hideEventDispatcher(true);
  EXPECT_EQ(app->getEventDispatcher(&out), zob::kOk);
  EXPECT_EQ(out, nullptr);
  app->hideEventDispatcher(false);
  ASSERT_EQ(app->getEventDispatcher(&out), zob::kOk);
  EXPECT_EQ(out, static_cast<qor::quv::fw::IEventDispatcher*>(d));
  out->_comRelease();
  EXPECT_EQ(app->getEventDispatcher(nullptr), zob::kInvalidArgument);
  d->removeEventListener(l.get());
}

TEST(HostEvents, TheDispatcherMayOutliveItsApplication) {
  Strings log;
  zob::Ref<EventDispatcher> d;
  {
    auto app = Application::create();
    app->failRequest("postEvent", zob::kBusy);
    d = zob::Ref<EventDispatcher>(app->eventDispatcher());
  }
  // The application is gone and with it the failure it was told of.
  auto l = Listener::create("l", &log);
  ASSERT_EQ(d->addEventListener(l.get()), zob::kOk);
  ASSERT_EQ(d->postEvent(Event::create("late").get()), zob::kOk);
  EXPECT_EQ(d->processEvents(), 1u);
  EXPECT_EQ(log, Strings{"l:late"});
  d->removeEventListener(l.get());
}

TEST(HostHooks, CloseOrderVetoAndFailingHooks) {
  auto app = Application::create();
  zob::Ref<qor::quv::fw::IApplication2> app2;
  ASSERT_EQ(zob::query(app.get(), app2), zob::kOk);
  EXPECT_EQ(static_cast<qor::quv::fw::IApplication2*>(app->hooks()), app2.get());
  Strings log;
  auto failing = Hook::create("failing", &log, [](int* veto) {
    *veto = 1;  // ignored: the hook failed
    return zob::kNotImplemented;
  });
  auto late = Hook::create("late", &log);
  auto early = Hook::create("early", &log);
  ASSERT_EQ(app2->addCloseHook(100, late.get()), zob::kOk);
  ASSERT_EQ(app2->addCloseHook(0, failing.get()), zob::kOk);
  ASSERT_EQ(app2->addCloseHook(-100, early.get()), zob::kOk);
  EXPECT_EQ(app2->addCloseHook(5, early.get()), zob::kExists);
  EXPECT_EQ(app2->addCloseHook(5, nullptr), zob::kInvalidArgument);
  EXPECT_EQ(early->refCount(), 2u);
  EXPECT_TRUE(app->close());
  EXPECT_EQ(log, (Strings{"early", "failing", "late"}));

  log.clear();
  auto vetoer = Hook::create("vetoer", &log, [](int* veto) {
    *veto = 1;
    return zob::kOk;
  });
  ASSERT_EQ(app2->addCloseHook(0, vetoer.get()), zob::kOk);  // after "failing"
  EXPECT_FALSE(app->close());
  EXPECT_EQ(log, (Strings{"early", "failing", "vetoer"}));

  for (auto* h : {late.get(), failing.get(), early.get(), vetoer.get()})
    EXPECT_EQ(app2->removeCloseHook(h), zob::kOk);
  EXPECT_EQ(app2->removeCloseHook(early.get()), zob::kNotFound);
  EXPECT_EQ(early->refCount(), 1u);
  EXPECT_EQ(app->hooks()->closeHookCount(), 0u);
}

TEST(HostHooks, HooksRemovedOrAddedDuringTheCloseRun) {
  auto app = Application::create();
  AppHooks* hooks = app->hooks();
  Strings log;
  auto second = Hook::create("second", &log);
  auto added = Hook::create("added", &log);
  auto first = Hook::create("first", &log, [&](int*) {
    hooks->removeCloseHook(second.get());
    hooks->addCloseHook(50, added.get());
    return zob::kOk;
  });
  ASSERT_EQ(hooks->addCloseHook(1, first.get()), zob::kOk);
  ASSERT_EQ(hooks->addCloseHook(2, second.get()), zob::kOk);
  EXPECT_TRUE(app->close());
  EXPECT_EQ(log, Strings{"first"});  // second was removed, added waits
  log.clear();
  ASSERT_EQ(hooks->removeCloseHook(first.get()), zob::kOk);
  EXPECT_TRUE(app->close());
  EXPECT_EQ(log, Strings{"added"});
  ASSERT_EQ(hooks->removeCloseHook(added.get()), zob::kOk);
}

TEST(HostHooks, IdleCalloutsRunInRegistrationOrder) {
  auto app = Application::create();
  AppHooks* hooks = app->hooks();
  Strings log;
  auto b = Callout::create("b", &log);
  auto a = Callout::create("a", &log, [&] { hooks->removeIdleCallout(b.get()); });
  ASSERT_EQ(hooks->addIdleCallout(a.get()), zob::kOk);
  ASSERT_EQ(hooks->addIdleCallout(b.get()), zob::kOk);
  EXPECT_EQ(hooks->addIdleCallout(a.get()), zob::kExists);
  EXPECT_EQ(hooks->addIdleCallout(nullptr), zob::kInvalidArgument);
  EXPECT_EQ(hooks->removeIdleCallout(nullptr), zob::kInvalidArgument);
  EXPECT_EQ(app->runIdle(), 1u);  // a removed b before its turn
  EXPECT_EQ(log, Strings{"a"});
  EXPECT_EQ(b->refCount(), 1u);
  EXPECT_EQ(hooks->idleCalloutCount(), 1u);
  ASSERT_EQ(hooks->removeIdleCallout(a.get()), zob::kOk);
  EXPECT_EQ(app->runIdle(), 0u);
}

TEST(HostHooks, RequestsToldToFail) {
  auto app = Application::create();
  AppHooks* hooks = app->hooks();
  Strings log;
  auto h = Hook::create("h", &log);
  auto c = Callout::create("c", &log);
  ASSERT_EQ(hooks->addCloseHook(1, h.get()), zob::kOk);
  ASSERT_EQ(hooks->addIdleCallout(c.get()), zob::kOk);
  struct Case {
    const char* request;
    std::function<ZResult()> call;
  } cases[] = {
      {"addCloseHook", [&] { return hooks->addCloseHook(2, Hook::create("x", &log).get()); }},
      {"removeCloseHook", [&] { return hooks->removeCloseHook(h.get()); }},
      {"addIdleCallout", [&] { return hooks->addIdleCallout(Callout::create("y", &log).get()); }},
      {"removeIdleCallout", [&] { return hooks->removeIdleCallout(c.get()); }},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.request);
    app->failRequest(k.request, zob::kBusy);
    EXPECT_EQ(k.call(), zob::kBusy);
    app->clearFailures();
  }
  EXPECT_EQ(hooks->closeHookCount(), 1u);
  EXPECT_EQ(hooks->idleCalloutCount(), 1u);
  // The IApplication2 query itself can fail, or the interface be withdrawn.
  zob::Ref<qor::quv::fw::IApplication2> app2;
  app->failRequest(qor::quv::fw::IApplication2::IID, zob::kBusy);
  EXPECT_EQ(zob::query(app.get(), app2), zob::kBusy);
  app->clearFailures();
  app->provideInterface(qor::quv::fw::IApplication2::IID, nullptr);
  EXPECT_EQ(zob::query(app.get(), app2), zob::kNoInterface);
  // The hooks object still belongs to the application.
  EXPECT_EQ(hooks->removeCloseHook(h.get()), zob::kOk);
  EXPECT_EQ(hooks->removeIdleCallout(c.get()), zob::kOk);
}
