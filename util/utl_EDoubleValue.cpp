// EDoubleValue: a counted object that publishes one double.
#define QUV_SOURCE_NAME "utl_EDoubleValue"
#include <kelp/util/utl_EDoubleValue.h>

#include "util/utl_ValueObject_impl.h"

namespace qor::quv::util {

EDoubleValue::EDoubleValue() : mValue(0.0) {}
EDoubleValue::EDoubleValue(double value) : mValue(value) {}
EDoubleValue::EDoubleValue(EDoubleValue* other) : mValue(other ? other->mValue : 0.0) {}
EDoubleValue::~EDoubleValue() = default;

ZResult EDoubleValue::queryInterface(const char* iid, zob::IUnknown** out) {
  return detail::queryValueObject<types::IDoubleValue>(this, iid, out);
}

std::uint32_t EDoubleValue::addRef() {
  return detail::addRefCount(&mRefCount);
}

std::uint32_t EDoubleValue::release() {
  std::uint32_t remaining = 0;
  if (detail::releaseCount(&mRefCount, &remaining)) delete this;
  return remaining;
}

ZResult EDoubleValue::setValue(double value) {
  mValue = value;
  return zob::kOk;
}

ZResult EDoubleValue::getValue(double* out) {
  if (!out) return zob::kInvalidArgument;
  *out = mValue;
  return zob::kOk;
}

}  // namespace qor::quv::util
