// Test program entry: GoogleTest with the process locale left as "C" so that
// results do not depend on the machine's environment, and every test
// failing when it leaves operator-new blocks behind (the counting allocator
// is in alloc_counter.cpp).
#include <gtest/gtest.h>
#include <kelp/util/utl_PString.h>

#include <zob/zob_factory.h>

#include <clocale>
#include <string_view>

#include "alloc_failure.h"

namespace {

// Tests that make memory kept for the life of the process, which the count
// cannot tell from a leak: death tests (GoogleTest keeps what the first one
// sets up), function-local statics of the tests themselves and the
// catalogue cache of the translation lookup (one entry for every catalogue
// loaded). Their leaks are left to the sanitizer build.
bool keepsProcessMemory(const testing::TestInfo& info) {
  std::string_view suite = info.test_suite_name();
  return suite.ends_with("DeathTest") || suite == "DecTest" || suite == "KtzDGetTextIn" ||
         (suite == "DecimalExactness" &&
          std::string_view(info.name()) == "TellsExactResultsFromLostDigits");
}

// Fails the test that just ended when it left operator-new blocks behind.
class LeakCheck : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo&) override { before_ = kelp::test::liveAllocations(); }
  void OnTestEnd(const testing::TestInfo& info) override {
    // A failed or skipped test keeps its records; only a passing one is held
    // to the count.
    if (!info.result()->Passed() || info.result()->Skipped() || keepsProcessMemory(info)) return;
    long after = kelp::test::liveAllocations();
    if (after != before_)
      ADD_FAILURE() << (after - before_) << " operator-new blocks leaked by "
                    << info.test_suite_name() << "." << info.name();
  }
  long before_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  std::setlocale(LC_ALL, "C");
  testing::InitGoogleTest(&argc, argv);
  // The table of interned strings and the object model's class table live as
  // long as the process by design: make them here rather than in the first
  // test that interns a name or creates an object.
  qor::quv::util::PString("kelp");
  zob::IUnknown* none = nullptr;
  zobCreateInstance("no such class", "no such interface", &none);
  {
    // GoogleTest's trace stack keeps its room once used: grow it here rather
    // than in the first test that traces.
    SCOPED_TRACE("warm-up");
  }
  testing::UnitTest::GetInstance()->listeners().Append(new LeakCheck);
  return RUN_ALL_TESTS();
}
