/* EUUID: a value type over the object model's 128-bit ZobUUID.
 *
 * It creates random and name-based UUIDs through the object model, orders
 * them, and reads and writes three text forms: the 36-character form
 * "123e4567-e89b-12d3-a456-426614174000", the 32-character compact form
 * without hyphens, and 22 characters of URL-safe base64 (no padding). Every
 * operation exists as a member and as a static function on a ZobUUID; an
 * EUUID converts to and from a ZobUUID freely. A default EUUID is the null
 * (all-zero) UUID. Plain value: no shared state, any thread.
 *
 *   EUUID id;
 *   id.create();
 *   std::string text = id.formatString();
 *   EUUID back(text);  // null when the text does not parse
 */
#ifndef KELP_UTIL_UTL_EUUID_H
#define KELP_UTIL_UTL_EUUID_H

#include <string>

#include <kelp/kelp_api.h>
#include <zob/zob_uuid.h>

namespace qor::quv::util {

class KELP_API EUUID {
 public:
  EUUID() : uuid_() {}
  EUUID(const ZobUUID& uuid) : uuid_(uuid) {}
  /* The UUID of the text form at `s`, or the null UUID when it does not
   * parse (see parseString). */
  explicit EUUID(const char* s);
  explicit EUUID(const std::string& s);

  operator const ZobUUID&() const { return uuid_; }
  operator ZobUUID&() { return uuid_; }
  const ZobUUID& get() const { return uuid_; }

  void setNull() { setNull(uuid_); }
  static void setNull(ZobUUID& uuid);
  bool isNull() const { return isNull(uuid_); }
  static bool isNull(const ZobUUID& uuid);

  /* A new random UUID; false (and the null UUID) when the object model
   * fails. */
  bool create() { return create(uuid_); }
  static bool create(ZobUUID& uuid);

  /* The name-based UUID of `length` bytes at `name` in `nameSpace`; false
   * (and the null UUID) when the object model fails. */
  bool createFromName(const ZobUUID& nameSpace, const void* name, unsigned long length) {
    return createFromName(uuid_, nameSpace, name, length);
  }
  static bool createFromName(ZobUUID& uuid, const ZobUUID& nameSpace, const void* name,
                             unsigned long length);

  /* Negative, zero or positive as this UUID sorts before, equal to or after
   * `other`. */
  int compare(const ZobUUID& other) const { return compare(uuid_, other); }
  static int compare(const ZobUUID& a, const ZobUUID& b);

  /* Reads the text form at `s`: after blanks and the control characters tab
   * to carriage return, 8-4-4-4-12 hex digits of either case with the
   * hyphens where shown. On success the UUID is stored, *end (when given)
   * points behind the last digit and the answer is true; trailing text is
   * not examined. On failure the answer is false, the UUID is unchanged and
   * *end is `s`. */
  bool parseString(const char* s, const char** end = nullptr) { return parseString(uuid_, s, end); }
  static bool parseString(ZobUUID& uuid, const char* s, const char** end = nullptr);

  /* The 36-character form, or with `compact` the 32 hex digits alone;
   * lower case. */
  std::string formatString() const { return formatString(uuid_, false); }
  std::string formatString(bool compact) const { return formatString(uuid_, compact); }
  static std::string formatString(const ZobUUID& uuid, bool compact = false);

  /* The 16 bytes in network order as 22 characters of the URL-safe base64
   * alphabet, without padding. */
  std::string formatBase64() const { return formatBase64(uuid_); }
  static std::string formatBase64(const ZobUUID& uuid);

 private:
  ZobUUID uuid_;
};

KELP_API bool operator==(const ZobUUID& a, const ZobUUID& b);
KELP_API bool operator!=(const ZobUUID& a, const ZobUUID& b);
KELP_API bool operator<(const ZobUUID& a, const ZobUUID& b);
KELP_API bool operator<=(const ZobUUID& a, const ZobUUID& b);
KELP_API bool operator>=(const ZobUUID& a, const ZobUUID& b);
KELP_API bool operator>(const ZobUUID& a, const ZobUUID& b);

}  // namespace qor::quv::util

#endif
