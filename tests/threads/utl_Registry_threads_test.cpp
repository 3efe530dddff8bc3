// Threads writing one hive: some share a registry instance (its handle table
// is locked), one has an instance of its own (SQLite's file locks and busy
// time-out order the writers). Also runs under ThreadSanitizer.
#define QUV_SOURCE_NAME "utl_Registry_threads_test"
#include <kelp/util/utl_RegNode.h>
#include <kelp/util/utl_Registry.h>

#include <gtest/gtest.h>
#include <kelp/host.h>

#include <cstdlib>
#include <list>
#include <string>
#include <thread>
#include <vector>

#include "test_support.h"

using namespace qor::quv::util;
using kelp::host::Application;
using kelp::host::RecordingLogger;

TEST(RegistryThreads, WritersOnSharedAndOwnInstances) {
  kelp::test::TempDir dir;
  setenv("KELP_REGISTRY_DIR", dir.path().c_str(), 1);
  auto app = Application::create();
  auto log = RecordingLogger::create();
  app->installLogger(log.get());
  constexpr int kValues = 40;

  // Each thread gets its own root node: nodes belong to one thread, the
  // registry under the first two is shared.
  RegNode shared = Registry::openCurrentUser(app.get(), false);
  ASSERT_TRUE(shared.isOpen());
  std::vector<RegNode> roots;
  roots.push_back(shared.create("t0"));
  roots.push_back(shared.create("t1"));
  roots.push_back(Registry::openCurrentUser(app.get(), false).create("t2"));
  std::vector<std::thread> threads;
  std::vector<int> failures(roots.size(), 0);
  for (std::size_t t = 0; t < roots.size(); ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kValues; ++i) {
        std::string name = "v" + std::to_string(i);
        if (!roots[t].put(name.c_str(), static_cast<int>(t) * 1000 + i)) ++failures[t];
        int back = -1;
        if (!roots[t].get(name.c_str(), &back) || back != static_cast<int>(t) * 1000 + i)
          ++failures[t];
        RegNode child = roots[t].create(name.c_str());
        if (!child.put("x", true)) ++failures[t];
      }
    });
  }
  for (auto& th : threads) th.join();
  for (std::size_t t = 0; t < roots.size(); ++t) {
    SCOPED_TRACE(t);
    EXPECT_EQ(failures[t], 0);
    std::list<std::string> names;
    ASSERT_TRUE(roots[t].listValues(&names));
    EXPECT_EQ(names.size(), static_cast<std::size_t>(kValues));
    ASSERT_TRUE(roots[t].listNodes(&names));
    EXPECT_EQ(names.size(), static_cast<std::size_t>(kValues));
  }
  EXPECT_TRUE(log->records().empty());
  roots.clear();
  shared.release();
  unsetenv("KELP_REGISTRY_DIR");
}
