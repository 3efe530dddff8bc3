/* EDoubleValue: one double published through the object model's IDoubleValue
 * interface, so that a host component can hand a value across a component
 * boundary.
 *
 * The object is reference counted: a new object has the count 0, the first
 * holder takes a reference (zob::Ref does), and release() deletes it at 0.
 * The count is atomic; the value itself is not guarded.
 *
 *   zob::Ref<qor::quv::types::IDoubleValue> v(new EDoubleValue(0.0));
 *   v->setValue(0.0);
 *
 * queryInterface answers "IDL:zob/IUnknown:1.0" and the interface's own id;
 * release() below zero ends the process (a reference-counting error). */
#ifndef KELP_UTIL_UTL_EDOUBLEVALUE_H
#define KELP_UTIL_UTL_EDOUBLEVALUE_H

#include <cstdint>

#include <fw/fw_IValue.h>
#include <kelp/kelp_api.h>

namespace qor::quv::util {

class KELP_API EDoubleValue : public types::IDoubleValue_Adapter {
 public:
  EDoubleValue();
  explicit EDoubleValue(double value);
  /* Copies the other object's value (a null pointer gives 0.0). */
  explicit EDoubleValue(EDoubleValue* other);

  ZResult queryInterface(const char* iid, zob::IUnknown** out) override;
  std::uint32_t addRef() override;
  std::uint32_t release() override;

  ZResult setValue(double value) override;
  ZResult getValue(double* out) override;

  double getValue() const { return mValue; }

 protected:
  virtual ~EDoubleValue();

 private:
  volatile std::int32_t mRefCount = 0;
  double mValue;
};

}  // namespace qor::quv::util

#endif
