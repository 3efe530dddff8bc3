// Section guards: a restored flag and an atomic section counter.
#define QUV_SOURCE_NAME "utl_Section"
#include <kelp/util/utl_Section.h>
#include <ktz/ktz_atomic.h>

#include <cstdint>
#include <type_traits>

namespace qor::quv::util {

static_assert(std::is_same_v<int, std::int32_t>, "the atomic counter operations take an int");

SectionFlag::SectionFlag(bool* flag) : SectionFlag(flag, true) {}

SectionFlag::SectionFlag(bool* flag, bool value) : flag_(flag), previous_(false) {
  if (!flag_) return;
  previous_ = *flag_;
  *flag_ = value;
}

SectionFlag::~SectionFlag() {
  if (flag_) *flag_ = previous_;
}

SectionCounter::SectionCounter(int* counter) : counter_(counter) {
  if (counter_) ktzAtomicIncrement(counter_);
}

SectionCounter::~SectionCounter() {
  if (counter_) ktzAtomicDecrement(counter_);
}

}  // namespace qor::quv::util
