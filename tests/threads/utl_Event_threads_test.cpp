// Events posted on some threads and delivered on another: reference counts
// stay right, every event arrives once and is freed after delivery.
#define QUV_SOURCE_NAME "utl_Event_threads_test"
#include <gtest/gtest.h>
#include <kelp/host.h>
#include <kelp/util/utl_Event.h>
#include <zob/zob_mem.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

using namespace qor::quv::util;
using kelp::host::Application;
using qor::quv::fw::IEvent;
using qor::quv::fw::IEventListener;

namespace {

// Counts deliveries; takes and drops a reference to each event to race the
// posting thread's own release.
class CountingListener final : public kelp::host::Object<IEventListener> {
 public:
  static zob::Ref<CountingListener> create() {
    return zob::Ref<CountingListener>(new CountingListener);
  }
  ZResult handleEvent(IEvent* ev) override {
    zob::Ref<IEvent> hold(ev);
    char* t = nullptr;
    if (!EFAILED(ev->getEventType(&t)) && t && *t == 'k') ev->consumed();
    zobFree(t);
    delivered.fetch_add(1);
    return zob::kOk;
  }
  std::atomic<int> delivered{0};

 private:
  CountingListener() = default;
};

class CountedEvent final : public DefaultEvent {
 public:
  CountedEvent(const std::string& type, std::atomic<int>* destroyed)
      : DefaultEvent(type, nullptr), destroyed_(destroyed) {}

 protected:
  ~CountedEvent() override { destroyed_->fetch_add(1); }

 private:
  std::atomic<int>* destroyed_;
};

}  // namespace

TEST(EventThreads, PostedOnOneThreadDeliveredOnAnother) {
  constexpr int kPosters = 2;
  constexpr int kPerPoster = 500;
  constexpr int kTotal = kPosters * kPerPoster;
  constexpr int kKeepEvery = 50;  // events "k..." the posters keep a reference to

  auto app = Application::create();
  auto listener = CountingListener::create();
  ASSERT_EQ(_registerEventListener(app.get(), listener.get()), zob::kOk);
  std::atomic<int> destroyed{0};

  std::mutex m;
  std::condition_variable cv;
  int posted = 0;
  std::vector<std::vector<zob::Ref<DefaultEvent>>> kept(kPosters);

  std::thread consumer([&] {
    int handled = 0;
    while (handled < kTotal) {
      {
        std::unique_lock lock(m);
        cv.wait(lock, [&] { return posted > handled; });
      }
      handled += static_cast<int>(app->processEvents());
    }
  });
  std::vector<std::thread> posters;
  for (int p = 0; p < kPosters; ++p)
    posters.emplace_back([&, p] {
      for (int i = 0; i < kPerPoster; ++i) {
        bool keep = i % kKeepEvery == 0;
        zob::Ref<DefaultEvent> ev(new CountedEvent(keep ? "kept" : "event", &destroyed));
        // EXPECT, not ASSERT: the consumer waits for every post to be counted.
        EXPECT_EQ(postEvent(app.get(), ev.get()), zob::kOk);
        if (keep) kept[p].push_back(ev);
        ev.reset();  // races the consumer's delivery and release
        {
          std::lock_guard lock(m);
          ++posted;
        }
        cv.notify_one();
      }
    });
  for (auto& t : posters) t.join();
  consumer.join();

  EXPECT_EQ(listener->delivered.load(), kTotal);
  EXPECT_EQ(app->eventDispatcher()->pendingEvents(), 0u);
  const int keptCount = kPosters * (kPerPoster / kKeepEvery);
  EXPECT_EQ(destroyed.load(), kTotal - keptCount);
  for (auto& list : kept)
    for (auto& ev : list) {
      EXPECT_TRUE(ev->isConsumed());  // set by the listener on the other thread
      std::uint32_t n = ev->addRef();
      ev->release();
      EXPECT_EQ(n, 2u);  // ours only, plus the probe
    }
  kept.clear();
  EXPECT_EQ(destroyed.load(), kTotal);
  EXPECT_EQ(_unregisterEventListener(app.get(), listener.get()), zob::kOk);
}

TEST(EventThreads, SendRegisterAndProcessConcurrently) {
  // Listeners come and go while other threads send and deliver: the
  // dispatcher's lists and every count stay consistent.
  constexpr int kRounds = 300;
  auto app = Application::create();
  auto steady = CountingListener::create();
  ASSERT_EQ(_registerEventListener(app.get(), steady.get(), "event"), zob::kOk);
  std::atomic<int> destroyed{0};
  std::thread churn([&] {
    for (int i = 0; i < kRounds; ++i) {
      auto l = CountingListener::create();
      EXPECT_EQ(_registerEventListener(app.get(), l.get()), zob::kOk);
      EXPECT_EQ(_unregisterEventListener(app.get(), l.get()), zob::kOk);
    }
  });
  std::thread sender([&] {
    for (int i = 0; i < kRounds; ++i) {
      zob::Ref<DefaultEvent> ev(new CountedEvent("event", &destroyed));
      EXPECT_EQ(sendEvent(app.get(), ev.get()), zob::kOk);
      EXPECT_EQ(postEvent(app.get(), ev.get()), zob::kOk);
    }
  });
  std::thread deliverer([&] {
    for (int i = 0; i < kRounds; ++i) app->processEvents();
  });
  churn.join();
  sender.join();
  deliverer.join();
  app->processEvents();  // whatever the deliverer had not reached
  EXPECT_EQ(steady->delivered.load(), 2 * kRounds);
  EXPECT_EQ(destroyed.load(), kRounds);
  EXPECT_EQ(app->eventDispatcher()->listenerCount(), 1u);
  EXPECT_EQ(steady->refCount(), 2u);
  EXPECT_EQ(_unregisterEventListener(app.get(), steady.get()), zob::kOk);
}
