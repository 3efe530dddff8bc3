// The test programs' counting allocator: global operator new and delete
// replaced for the whole program (the library's allocations are counted
// too), live blocks counted, allocations failed on demand (alloc_failure.h).
//
// The replacements forward to the malloc family, which the sanitizers
// intercept: under AddressSanitizer the blocks are still checked for
// overflows, use after free and leaks; only its new/delete mismatch check is
// lost. Every program that links the test support library gets them, as
// this file is the one that defines operator new.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <exception>
#include <new>
#include <string>

#include "alloc_failure.h"

// ThreadSanitizer's runtime defines operator new and delete in a static
// archive, so they cannot be replaced there; its programs run the thread
// tests without the counter (no leak count, no allocation failures).
#if defined(__SANITIZE_THREAD__)
#define KELP_COUNTING_ALLOCATOR 0
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define KELP_COUNTING_ALLOCATOR 0
#endif
#endif
#ifndef KELP_COUNTING_ALLOCATOR
#define KELP_COUNTING_ALLOCATOR 1
#endif

namespace {

std::atomic<long> gLive{0};
// Allocations left until the armed failure (0: none armed).
std::atomic<long> gCountdown{0};
std::atomic<bool> gFailed{false};
// The failure startAllocationFailure arms in the current sweep's run.
long gSweepN = 0;

// True when this allocation is the one armed to fail.
[[maybe_unused]] bool failsNow() {
  long left = gCountdown.load(std::memory_order_relaxed);
  while (left > 0 && !gCountdown.compare_exchange_weak(left, left - 1)) {
  }
  if (left != 1) return false;
  gFailed = true;
  return true;
}

[[maybe_unused]] void* rawAllocate(std::size_t size, std::size_t align) noexcept {
  if (size == 0) size = 1;
  void* p = align <= alignof(std::max_align_t)
                ? std::malloc(size)
                : std::aligned_alloc(align, (size + align - 1) / align * align);
  if (p) ++gLive;
  return p;
}

[[maybe_unused]] void* allocate(std::size_t size, std::size_t align) noexcept {
  return failsNow() ? nullptr : rawAllocate(size, align);
}

[[maybe_unused]] void* allocateOrThrow(std::size_t size, std::size_t align) {
  if (failsNow()) throw std::bad_alloc();
  for (;;) {
    if (void* p = rawAllocate(size, align)) return p;
    std::new_handler handler = std::get_new_handler();
    if (!handler) throw std::bad_alloc();
    handler();
  }
}

[[maybe_unused]] void release(void* p) noexcept {
  if (!p) return;
  --gLive;
  std::free(p);
}

}  // namespace

#if KELP_COUNTING_ALLOCATOR
void* operator new(std::size_t size) {
  return allocateOrThrow(size, 0);
}
void* operator new[](std::size_t size) {
  return allocateOrThrow(size, 0);
}
void* operator new(std::size_t size, std::align_val_t al) {
  return allocateOrThrow(size, static_cast<std::size_t>(al));
}
void* operator new[](std::size_t size, std::align_val_t al) {
  return allocateOrThrow(size, static_cast<std::size_t>(al));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size, 0);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size, 0);
}
void* operator new(std::size_t size, std::align_val_t al, const std::nothrow_t&) noexcept {
  return allocate(size, static_cast<std::size_t>(al));
}
void* operator new[](std::size_t size, std::align_val_t al, const std::nothrow_t&) noexcept {
  return allocate(size, static_cast<std::size_t>(al));
}
void operator delete(void* p) noexcept {
  release(p);
}
void operator delete[](void* p) noexcept {
  release(p);
}
void operator delete(void* p, std::size_t) noexcept {
  release(p);
}
void operator delete[](void* p, std::size_t) noexcept {
  release(p);
}
void operator delete(void* p, std::align_val_t) noexcept {
  release(p);
}
void operator delete[](void* p, std::align_val_t) noexcept {
  release(p);
}
void operator delete(void* p, std::size_t, std::align_val_t) noexcept {
  release(p);
}
void operator delete[](void* p, std::size_t, std::align_val_t) noexcept {
  release(p);
}
void operator delete(void* p, const std::nothrow_t&) noexcept {
  release(p);
}
void operator delete[](void* p, const std::nothrow_t&) noexcept {
  release(p);
}
void operator delete(void* p, std::align_val_t, const std::nothrow_t&) noexcept {
  release(p);
}
void operator delete[](void* p, std::align_val_t, const std::nothrow_t&) noexcept {
  release(p);
}

#endif  // KELP_COUNTING_ALLOCATOR

namespace kelp::test {

long liveAllocations() {
  return gLive.load();
}

void failNthAllocation(long n) {
  gFailed = false;
  gCountdown = n > 0 ? n : 0;
}

void startAllocationFailure() {
  failNthAllocation(gSweepN);
}

bool endAllocationFailure() {
  gCountdown = 0;
  return gFailed.load();
}

int forEachAllocationFailure(const std::function<void()>& op) {
  struct Reset {
    ~Reset() { gSweepN = 0; }
  } reset;
  gSweepN = 0;
  if (!KELP_COUNTING_ALLOCATOR) {
    ADD_FAILURE() << "allocation failures need the counting allocator, which this build lacks";
    return 0;
  }
  op();  // nothing fails: lazily made statics are made now
  const testing::TestResult* result =
      testing::UnitTest::GetInstance()->current_test_info()->result();
  int failures = 0;
  // The bound only stops a run-away sweep; real operations end far below.
  for (long n = 1; n < 1000000; ++n) {
    long live = liveAllocations();
    int parts = result->total_part_count();
    std::string escaped;
    bool failed;
    gSweepN = n;
    gFailed = false;
    try {
      op();
      failed = endAllocationFailure();
    } catch (const std::exception& e) {
      failed = endAllocationFailure();
      escaped = e.what();
    } catch (...) {
      failed = endAllocationFailure();
      escaped = "an unknown exception";
    }
    if (!escaped.empty()) {
      ADD_FAILURE() << escaped << " escaped with allocation " << n << " failing";
      return failures;
    }
    if (!failed) return failures;
    ++failures;
    // A run that already failed a check keeps the check's records.
    if (result->total_part_count() == parts && liveAllocations() != live) {
      ADD_FAILURE() << (liveAllocations() - live) << " operator-new blocks leaked with allocation "
                    << n << " failing";
      return failures;
    }
    if (result->total_part_count() != parts) return failures;
  }
  ADD_FAILURE() << "the operation still meets a failing allocation after a million runs";
  return failures;
}

}  // namespace kelp::test
