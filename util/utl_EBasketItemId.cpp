// EBasketItemId: basket item identities as UUIDs.
#include <kelp/util/utl_EBasketItemId.h>

namespace qor::quv::basket {

EBasketItemId EBasketItemId::create() {
  EBasketItemId id;
  if (!id.uuid_.create()) id.uuid_.setNull();
  return id;
}

bool EBasketItemId::parseString(const char* s) {
  if (!s) return false;
  util::EUUID u;
  const char* end = nullptr;
  if (!u.parseString(s, &end) || *end != '\0' || end - s != 36) return false;
  uuid_ = u;
  return true;
}

}  // namespace qor::quv::basket
