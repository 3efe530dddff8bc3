// EStringValue: a counted object that publishes one string.
#define QUV_SOURCE_NAME "utl_EStringValue"
#include <kelp/util/utl_EStringValue.h>

#include <zob/zob_mem.h>

#include "util/utl_ValueObject_impl.h"

namespace qor::quv::util {

EStringValue::EStringValue() = default;
EStringValue::EStringValue(const char* value) : mValue(value ? value : "") {}
EStringValue::EStringValue(const std::string& value) : mValue(value) {}
EStringValue::EStringValue(EStringValue* other) {
  if (other) mValue = other->mValue;
}
EStringValue::~EStringValue() = default;

ZResult EStringValue::queryInterface(const char* iid, zob::IUnknown** out) {
  return detail::queryValueObject<types::IStringValue>(this, iid, out);
}

std::uint32_t EStringValue::addRef() {
  return detail::addRefCount(&mRefCount);
}

std::uint32_t EStringValue::release() {
  std::uint32_t remaining = 0;
  if (detail::releaseCount(&mRefCount, &remaining)) delete this;
  return remaining;
}

ZResult EStringValue::setValue(const char* value) {
  mValue = value ? value : "";
  return zob::kOk;
}

ZResult EStringValue::getValue(char** out) {
  if (!out) return zob::kInvalidArgument;
  *out = zobStrNDup(mValue.c_str(), mValue.size());
  return *out ? zob::kOk : zob::kOutOfMemory;
}

}  // namespace qor::quv::util
