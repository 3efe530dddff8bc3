// Atomic reference-count arithmetic over the compiler's builtins.
#include <ktz/ktz_atomic.h>

std::int32_t ktzAtomicIncrement(volatile std::int32_t* value) {
  return __atomic_add_fetch(value, 1, __ATOMIC_SEQ_CST);
}

std::int32_t ktzAtomicDecrement(volatile std::int32_t* value) {
  return __atomic_sub_fetch(value, 1, __ATOMIC_SEQ_CST);
}
