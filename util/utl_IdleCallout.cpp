// The object-model side of idle callouts: interface queries and reference
// counting.
#define QUV_SOURCE_NAME "utl_IdleCallout"
#include <kelp/util/utl_IdleCallout.h>

#include <ktz/ktz_atomic.h>

#include <cstdlib>

namespace qor::quv::util {

IdleCalloutBase::~IdleCalloutBase() = default;

ZResult IdleCalloutBase::queryInterface(const char* iid, zob::IUnknown** out) {
  if (!out) return zob::kInvalidArgument;
  if (zobCompareIID(iid, zob::IUnknown::IID) || zobCompareIID(iid, fw::IIdleCallout::IID)) {
    *out = this;
    addRef();
    return zob::kOk;
  }
  *out = nullptr;
  return zob::kNoInterface;
}

std::uint32_t IdleCalloutBase::addRef() {
  return static_cast<std::uint32_t>(ktzAtomicIncrement(&count_));
}

std::uint32_t IdleCalloutBase::release() {
  std::int32_t n = ktzAtomicDecrement(&count_);
  // Below zero: a release without a reference; the object is already gone.
  if (n < 0) std::abort();
  if (n == 0) delete this;
  return static_cast<std::uint32_t>(n);
}

}  // namespace qor::quv::util
