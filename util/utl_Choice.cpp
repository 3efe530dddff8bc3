// Choice: the values of a configurable property.
#include <kelp/util/utl_Choice.h>

namespace qor::quv::basket {

const ChoiceValue* Choice::findValue(const std::string& valueId) const {
  for (const ChoiceValue& v : values)
    if (v.id == valueId) return &v;
  return nullptr;
}

}  // namespace qor::quv::basket
