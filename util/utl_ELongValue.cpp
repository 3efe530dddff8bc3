// ELongValue: a counted object that publishes one int.
#define QUV_SOURCE_NAME "utl_ELongValue"
#include <kelp/util/utl_ELongValue.h>

#include "util/utl_ValueObject_impl.h"

namespace qor::quv::util {

ELongValue::ELongValue() : mValue(0) {}
ELongValue::ELongValue(int value) : mValue(value) {}
ELongValue::ELongValue(ELongValue* other) : mValue(other ? other->mValue : 0) {}
ELongValue::~ELongValue() = default;

ZResult ELongValue::queryInterface(const char* iid, zob::IUnknown** out) {
  return detail::queryValueObject<types::ILongValue>(this, iid, out);
}

std::uint32_t ELongValue::addRef() {
  return detail::addRefCount(&mRefCount);
}

std::uint32_t ELongValue::release() {
  std::uint32_t remaining = 0;
  if (detail::releaseCount(&mRefCount, &remaining)) delete this;
  return remaining;
}

ZResult ELongValue::setValue(int value) {
  mValue = value;
  return zob::kOk;
}

ZResult ELongValue::getValue(int* out) {
  if (!out) return zob::kInvalidArgument;
  *out = mValue;
  return zob::kOk;
}

}  // namespace qor::quv::util
