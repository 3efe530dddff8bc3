// Mutex, CondVar and SectionCounter shared between threads. These tests also
// run under ThreadSanitizer, which checks that the guarded data really is
// guarded.
#define QUV_SOURCE_NAME "utl_Mutex_threads_test"
#include <kelp/util/utl_CondVar.h>
#include <kelp/util/utl_Mutex.h>
#include <kelp/util/utl_Section.h>

#include <gtest/gtest.h>
#include <kelp/host.h>

#include <thread>
#include <vector>

using namespace qor::quv::util;
using kelp::host::Application;
using kelp::host::LogLevel;
using kelp::host::RecordingLogger;

namespace {

constexpr int kThreads = 4;

}  // namespace

TEST(MutexThreads, GuardsASharedCounter) {
  Mutex m(nullptr);
  long counter = 0;
  constexpr int kRounds = 2000;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&, t] {
      for (int i = 0; i < kRounds; ++i) {
        if ((i + t) % 2) {
          MutexLocker guard(&m);
          ++counter;
        } else {
          MutexUnlocker guard(&m);  // locks as well
          ++counter;
        }
      }
    });
  for (auto& th : threads) th.join();
  EXPECT_EQ(counter, long{kThreads} * kRounds);
}

TEST(MutexThreads, TryLockOnAMutexHeldElsewhereIsBusy) {
  auto app = Application::create();
  auto log = RecordingLogger::create();
  app->installLogger(log.get());
  Mutex m(app.get());
  ASSERT_EQ(m.lock(), zob::kOk);
  ZResult other = zob::kOk;
  std::thread([&] { other = m.tryLock(); }).join();
  EXPECT_EQ(other, zob::kBusy);
  EXPECT_EQ(m.unlock(), zob::kOk);
  ZResult later = zob::kBusy;
  std::thread([&] {
    later = m.tryLock();
    if (later == zob::kOk) m.unlock();
  }).join();
  EXPECT_EQ(later, zob::kOk);
  EXPECT_EQ(log->texts(LogLevel::Debug),
            std::vector<std::string>{"Mutex lock attempt failed: resource busy"});
}

TEST(CondVarThreads, SignalHandsItemsFromProducerToConsumer) {
  Mutex m(nullptr);
  CondVar cv(nullptr);
  std::vector<int> queue;
  bool done = false;
  long sum = 0;
  ZResult failure = zob::kOk;
  std::thread consumer([&] {
    MutexLocker guard(&m);
    for (;;) {
      while (queue.empty() && !done) {
        ZResult r = cv.wait(&m);
        if (EFAILED(r)) failure = r;
      }
      if (queue.empty()) break;
      sum += queue.back();
      queue.pop_back();
    }
  });
  for (int i = 1; i <= 500; ++i) {
    MutexLocker guard(&m);
    queue.push_back(i);
    EXPECT_EQ(cv.signal(), zob::kOk);
  }
  {
    MutexLocker guard(&m);
    done = true;
    EXPECT_EQ(cv.signal(), zob::kOk);
  }
  consumer.join();
  EXPECT_EQ(failure, zob::kOk);
  EXPECT_EQ(sum, 500L * 501 / 2);
}

TEST(CondVarThreads, BroadcastWakesEveryTimedWaiter) {
  auto app = Application::create();
  auto log = RecordingLogger::create();
  app->installLogger(log.get());
  Mutex m(app.get());
  CondVar cv(app.get());
  bool go = false;
  int waiting = 0;
  int woken = 0;
  std::vector<ZResult> results(kThreads, zob::kOk);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&, t] {
      MutexLocker guard(&m);
      ++waiting;
      cv.signal();  // tells the main thread one more is in
      while (!go) {
        // A time-out just goes round again: only the flag ends the wait.
        ZResult r = cv.timedWait(&m, 50);
        if (EFAILED(r) && r != zob::kTimeOut) results[t] = r;
      }
      ++woken;
    });
  {
    MutexLocker guard(&m);
    while (waiting < kThreads) cv.timedWait(&m, 50);
    go = true;
    EXPECT_EQ(cv.broadcast(), zob::kOk);
  }
  for (auto& th : threads) th.join();
  EXPECT_EQ(woken, kThreads);
  for (ZResult r : results) EXPECT_EQ(r, zob::kOk);
  EXPECT_TRUE(log->records().empty());  // time-outs leave no message
}

TEST(SectionCounterThreads, CountsSectionsOnSeveralThreads) {
  int counter = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 5000; ++i) {
        SectionCounter outer(&counter);
        SectionCounter inner(&counter);
      }
    });
  {
    SectionCounter mine(&counter);
    for (auto& th : threads) th.join();
    EXPECT_EQ(__atomic_load_n(&counter, __ATOMIC_SEQ_CST), 1);
  }
  EXPECT_EQ(counter, 0);
}
