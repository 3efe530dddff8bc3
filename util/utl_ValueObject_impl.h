// Reference counting and interface queries shared by the value objects.
#ifndef KELP_UTIL_UTL_VALUEOBJECT_IMPL_H
#define KELP_UTIL_UTL_VALUEOBJECT_IMPL_H

#include <cstdlib>

#include <ktz/ktz_atomic.h>
#include <zob/zob_unknown.h>

namespace qor::quv::util::detail {

// Answers IUnknown and the object's own interface I with the object itself.
template <class I>
ZResult queryValueObject(I* self, const char* iid, zob::IUnknown** out) {
  if (!out) return zob::kInvalidArgument;
  if (iid && (zobCompareIID(iid, zob::IUnknown::IID) || zobCompareIID(iid, I::IID))) {
    *out = self;
    self->_comAddRef();
    return zob::kOk;
  }
  *out = nullptr;
  return zob::kNoInterface;
}

inline std::uint32_t addRefCount(volatile std::int32_t* count) {
  return static_cast<std::uint32_t>(ktzAtomicIncrement(count));
}

// Takes one reference off; true when the object must delete itself. A count
// below zero is a reference-counting error that cannot be recovered from.
inline bool releaseCount(volatile std::int32_t* count, std::uint32_t* remaining) {
  std::int32_t n = ktzAtomicDecrement(count);
  if (n < 0) std::abort();
  *remaining = static_cast<std::uint32_t>(n);
  return n == 0;
}

}  // namespace qor::quv::util::detail

#endif
