/* qor::quv::basket::EBasketItemId: the identity of a basket item across
 * edits (moving it, changing its quantity or choices keeps it).
 *
 * A UUID; the default is the null id. A plain copyable value.
 *
 *   EBasketItemId id = EBasketItemId::create();
 *   EBasketItemId same;
 *   same.parseString(id.formatString().c_str());   // true, same == id */
#ifndef KELP_UTIL_UTL_EBASKETITEMID_H
#define KELP_UTIL_UTL_EBASKETITEMID_H

#include <string>

#include <kelp/kelp_api.h>
#include <kelp/util/utl_EUUID.h>

namespace qor::quv::basket {

class KELP_API EBasketItemId {
 public:
  EBasketItemId() = default;
  explicit EBasketItemId(const util::EUUID& uuid) : uuid_(uuid) {}

  /* A new random id (null when the object model cannot make one). */
  static EBasketItemId create();

  bool isNull() const { return uuid_.isNull(); }
  const util::EUUID& getUUID() const { return uuid_; }

  /* The whole text must be one UUID in its 36-character form; the value
   * stays on failure. */
  bool parseString(const char* s);
  /* The 36-character lower-case form. */
  std::string formatString() const { return uuid_.formatString(); }

  bool operator==(const EBasketItemId& o) const { return uuid_.compare(o.uuid_) == 0; }
  bool operator!=(const EBasketItemId& o) const { return !(*this == o); }
  bool operator<(const EBasketItemId& o) const { return uuid_.compare(o.uuid_) < 0; }

 private:
  util::EUUID uuid_;
};

}  // namespace qor::quv::basket

#endif
