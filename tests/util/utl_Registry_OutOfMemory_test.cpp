// The registry with allocations failing: opening a key, a write and a read
// back are run with the Nth allocation failing for every N until the run
// gets through; each answers false or does its work whole, lets no exception
// escape and leaks nothing.
#include <kelp/util/utl_RegNode.h>
#include <kelp/util/utl_Registry.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "alloc_failure.h"
#include "test_support.h"

using namespace qor::quv::util;
using kelp::test::endAllocationFailure;

namespace {

TEST(RegistryOutOfMemoryTest, SetAndGetFailCleanly) {
  kelp::test::TempDir dir;
  const char* old = std::getenv("KELP_REGISTRY_DIR");
  std::string oldValue = old ? old : "";
  setenv("KELP_REGISTRY_DIR", dir.path().c_str(), 1);
  int run = 0;
  int failures = kelp::test::forEachAllocationFailure([&run] {
    // A fresh value name for each run, so that a read can only find what
    // this run wrote.
    char name[32];
    std::snprintf(name, sizeof name, "value%d", ++run);
    std::string value;
    value.reserve(64);
    bool put = false;
    bool got = false;
    {
      kelp::test::startAllocationFailure();
      RegNode node = Registry::openCurrentUser(nullptr, false);
      put = node.isOpen() && node.put(name, "a value longer than the short-string room");
      got = put && node.get(name, &value);
    }
    if (!endAllocationFailure()) {
      EXPECT_TRUE(put);
      EXPECT_TRUE(got);
    }
    if (got) {
      EXPECT_EQ(value, "a value longer than the short-string room");
    }
  });
  EXPECT_GT(failures, 0);
  if (old)
    setenv("KELP_REGISTRY_DIR", oldValue.c_str(), 1);
  else
    unsetenv("KELP_REGISTRY_DIR");
}

}  // namespace
