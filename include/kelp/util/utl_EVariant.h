/* EVariant: the owning wrapper of the object model's tagged value
 * zob::Variant.
 *
 * An EVariant has exactly the layout of a zob::Variant and owns its string
 * (tag VT_STRING, allocated with zobStrDup) and byte-string buffer (VT_BYTES,
 * zobCalloc); copies are deep. Values convert between tags with cast(), which
 * leaves the variant unchanged when it fails; canCast() answers
 * conservatively (a string reports false for every target but VT_STRING,
 * even where cast() would succeed). toString() gives the canonical text in
 * the classic locale.
 *
 *   EVariant v(" -12 ");
 *   v.cast(zob::VT_INT);          // true, v holds the int -12
 *   EVariant b(300, zob::VT_UCHAR); // the byte 44
 *   v.toString();                 // "-12"
 *
 * A plain value: no locking. toString() of the unused tags 5 and 15 (or of any
 * tag outside the table) ends the process: such a tag is a programming
 * error. */
#ifndef KELP_UTIL_UTL_EVARIANT_H
#define KELP_UTIL_UTL_EVARIANT_H

#include <string>

#include <kelp/kelp_api.h>
#include <zob/zob_variant.h>

namespace qor::quv::util {

class KELP_API EVariant : public zob::Variant {
 public:
  EVariant();
  EVariant(const EVariant& other);
  EVariant(const zob::Variant& other);
  explicit EVariant(const char* text);
  explicit EVariant(const zob::Date& date);
  explicit EVariant(const zob::Time& time);
  explicit EVariant(const zob::DateTime& dateTime);
  explicit EVariant(const zob::Sequence<unsigned char>& bytes);
  /* The value under its natural tag, then cast to `type` when that differs
   * (the value stays under its natural tag when the cast fails). */
  explicit EVariant(bool value, zob::VariantType type = zob::VT_BOOL);
  explicit EVariant(unsigned char value, zob::VariantType type = zob::VT_UCHAR);
  explicit EVariant(char value, zob::VariantType type = zob::VT_CHAR);
  explicit EVariant(short value, zob::VariantType type = zob::VT_SHORT);
  explicit EVariant(unsigned short value, zob::VariantType type = zob::VT_USHORT);
  explicit EVariant(int value, zob::VariantType type = zob::VT_INT);
  explicit EVariant(unsigned int value, zob::VariantType type = zob::VT_UINT);
  explicit EVariant(long value, zob::VariantType type = zob::VT_LONG);
  explicit EVariant(unsigned long value, zob::VariantType type = zob::VT_ULONG);
  explicit EVariant(float value, zob::VariantType type = zob::VT_FLOAT);
  explicit EVariant(double value, zob::VariantType type = zob::VT_DOUBLE);
  ~EVariant();

  EVariant& operator=(const EVariant& other);
  EVariant& operator=(const zob::Variant& other);

  /* Store the value under its natural tag and cast to `type` when that
   * differs; the result is the cast's (true when no cast was needed). */
  bool setValue(bool value, zob::VariantType type = zob::VT_BOOL);
  bool setValue(unsigned char value, zob::VariantType type = zob::VT_UCHAR);
  bool setValue(char value, zob::VariantType type = zob::VT_CHAR);
  bool setValue(short value, zob::VariantType type = zob::VT_SHORT);
  bool setValue(unsigned short value, zob::VariantType type = zob::VT_USHORT);
  bool setValue(int value, zob::VariantType type = zob::VT_INT);
  bool setValue(unsigned int value, zob::VariantType type = zob::VT_UINT);
  bool setValue(long value, zob::VariantType type = zob::VT_LONG);
  bool setValue(unsigned long value, zob::VariantType type = zob::VT_ULONG);
  bool setValue(float value, zob::VariantType type = zob::VT_FLOAT);
  bool setValue(double value, zob::VariantType type = zob::VT_DOUBLE);
  /* Copies the text before releasing the old payload, so setting a variant to
   * its own text is safe. A null text is stored as a null string (read as
   * ""). */
  void setValue(const char* text);
  void setValue(const zob::Date& date);
  void setValue(const zob::Time& time);
  void setValue(const zob::DateTime& dateTime);
  void setValue(const zob::Sequence<unsigned char>& bytes);

  zob::VariantType getType() const { return type; }
  bool isValid() const { return type != zob::VT_INVALID; }
  bool isNull() const { return type == zob::VT_NULL; }
  /* Frees the payload and makes the variant invalid (tag 0). */
  void clear();
  /* Replaces the value by a deep copy of `other`. */
  void init(const zob::Variant& other);
  /* Frees the string or byte buffer (tags 14 and 19) and leaves the tag as
   * it is; the freed pointer is reset to null. */
  void destroy();

  bool canCast(zob::VariantType target) const;
  /* Converts to `target`; false (and the variant unchanged) when the value
   * has no form under that tag. */
  bool cast(zob::VariantType target);
  std::string toString() const;

  static bool isInteger(zob::VariantType type);
  static bool isFloat(zob::VariantType type);
  static bool isNumeric(zob::VariantType type);
  /* "t" or "true" (ASCII case ignored) followed by the end of the text or
   * white space; on success *end (when given) points behind the word. */
  static bool isTrue(const char* s, const char** end);
  /* "f" or "false", as isTrue. */
  static bool isFalse(const char* s, const char** end);

 private:
  void copyFrom(const zob::Variant& other);
  bool castFromString(zob::VariantType target);
};

}  // namespace qor::quv::util

#endif
