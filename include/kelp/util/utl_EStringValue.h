/* EStringValue: one string published through the object model's
 * IStringValue interface, so that a host component can hand a value across a
 * component boundary.
 *
 * The object is reference counted: a new object has the count 0, the first
 * holder takes a reference (zob::Ref does), and release() deletes it at 0.
 * The count is atomic; the value itself is not guarded. The interface's
 * getValue hands out a zobStrNDup copy that the caller frees with zobFree.
 *
 *   zob::Ref<qor::quv::types::IStringValue> v(new EStringValue("abc"));
 *   char* s = nullptr;
 *   v->getValue(&s);   // "abc"
 *   zobFree(s);
 *
 * queryInterface answers "IDL:zob/IUnknown:1.0" and the interface's own id;
 * release() below zero ends the process (a reference-counting error). */
#ifndef KELP_UTIL_UTL_ESTRINGVALUE_H
#define KELP_UTIL_UTL_ESTRINGVALUE_H

#include <cstdint>
#include <string>

#include <fw/fw_IValue.h>
#include <kelp/kelp_api.h>

namespace qor::quv::util {

class KELP_API EStringValue : public types::IStringValue_Adapter {
 public:
  EStringValue();
  explicit EStringValue(const char* value);
  explicit EStringValue(const std::string& value);
  /* Copies the other object's value (a null pointer gives ""). */
  explicit EStringValue(EStringValue* other);

  ZResult queryInterface(const char* iid, zob::IUnknown** out) override;
  std::uint32_t addRef() override;
  std::uint32_t release() override;

  /* Stores a copy; a null value stores "". */
  ZResult setValue(const char* value) override;
  ZResult getValue(char** out) override;

  std::string getValue() const { return mValue; }
  void setValue(const std::string& value) { mValue = value; }

 protected:
  virtual ~EStringValue();

 private:
  volatile std::int32_t mRefCount = 0;
  std::string mValue;
};

}  // namespace qor::quv::util

#endif
