/* qor::quv::types::ILongValue, IDoubleValue, IStringValue: one value handed
 * across a component boundary.
 *
 * IStringValue::getValue hands out a copy that the caller frees with
 * zobFree; setValue copies its argument. */
#ifndef FW_FW_IVALUE_H
#define FW_FW_IVALUE_H

#include <zob/zob_unknown.h>

namespace qor::quv::types {

class ILongValue : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/types/ILongValue:1.0";
  virtual ZResult setValue(int value) = 0;
  virtual ZResult getValue(int* out) = 0;

 protected:
  ~ILongValue() = default;
};

class IDoubleValue : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/types/IDoubleValue:1.0";
  virtual ZResult setValue(double value) = 0;
  virtual ZResult getValue(double* out) = 0;

 protected:
  ~IDoubleValue() = default;
};

class IStringValue : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/types/IStringValue:1.0";
  virtual ZResult setValue(const char* value) = 0;
  virtual ZResult getValue(char** out) = 0;

 protected:
  ~IStringValue() = default;
};

using ILongValue_Adapter = zob::Adapter<ILongValue>;
using IDoubleValue_Adapter = zob::Adapter<IDoubleValue>;
using IStringValue_Adapter = zob::Adapter<IStringValue>;

}  // namespace qor::quv::types

#endif
