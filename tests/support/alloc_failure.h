/* The test programs' counting allocator (global operator new and delete are
 * replaced in test_main.cpp): how many blocks are live, and allocation
 * failures on demand.
 *
 * Every test fails when it ends with more operator-new blocks live than it
 * started with (a leak; checked only for tests that passed otherwise). Memory
 * of the malloc family (zobMalloc included) is not counted.
 *
 * Out-of-memory paths are run with forEachAllocationFailure:
 *
 *   forEachAllocationFailure([&] {
 *     ...set up, with nothing failing...
 *     startAllocationFailure();
 *     bool ok = reader.parse(&source);      // the operation under test
 *     bool failed = endAllocationFailure(); // before anything else allocates
 *     EXPECT_TRUE(ok ? !failed || output == expected : message == "out of memory");
 *   });
 */
#ifndef KELP_TEST_ALLOC_FAILURE_H
#define KELP_TEST_ALLOC_FAILURE_H

#include <functional>

namespace kelp::test {

/* Operator-new blocks live now, over all threads. */
long liveAllocations();

/* Makes the nth operator-new allocation from now on (over all threads) fail
 * once: the throwing forms throw std::bad_alloc, the nothrow forms answer
 * null. 0 disarms. */
void failNthAllocation(long n);

/* Within forEachAllocationFailure: arms the failure of this run (none in
 * its first run). */
void startAllocationFailure();

/* Disarms a pending failure; true when the failure armed last has
 * happened. */
bool endAllocationFailure();

/* Runs op once with nothing failing (which warms lazily made statics), then
 * with allocation N failing for N = 1, 2, ... until a run ends without
 * meeting its failure, N counted from op's call of startAllocationFailure().
 * op sets up, calls startAllocationFailure(), runs the operation, calls
 * endAllocationFailure() right after it and then checks the outcome. Each failing run must let no
 * exception escape and leave no operator-new block behind; the first run
 * that does is reported (with its N) and ends the sweep. Returns the number
 * of runs in which an allocation failed. */
int forEachAllocationFailure(const std::function<void()>& op);

}  // namespace kelp::test

#endif
