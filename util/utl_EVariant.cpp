// EVariant: ownership of the tagged value's buffers, the conversions between
// tags, the text form and the readers of text.
#define QUV_SOURCE_NAME "utl_EVariant"
#include <kelp/util/utl_EVariant.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iomanip>
#include <locale>
#include <sstream>

#include <vorn/vorn_cstring.h>
#include <zob/zob_mem.h>

#include "util/utl_TextScan_impl.h"

namespace qor::quv::util {

namespace {

using detail::isDigit;
using detail::isSpace;
using detail::skipSpace;
using zob::VariantType;

constexpr double kTwoPow63 = 9223372036854775808.0;

bool isHexDigit(char c) {
  return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}
char lower(char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

// Conversions of a double to an integer as the processor's truncating
// conversion gives them: a value outside the target's range (NaN included)
// yields the "integer indefinite" pattern, the smallest value of the type.
// Doing this by hand keeps the out-of-range cases defined.
std::int64_t toInt64(double d) {
  if (d >= -kTwoPow63 && d < kTwoPow63) return static_cast<std::int64_t>(d);
  return INT64_MIN;
}
std::int32_t toInt32(double d) {
  if (d > -2147483649.0 && d < 2147483648.0) return static_cast<std::int32_t>(d);
  return INT32_MIN;
}

// The value of an integer tag widened to 64 bits: signed types sign-extended,
// unsigned ones zero-extended.
std::int64_t integerValue(const zob::Variant& v) {
  switch (v.type) {
    case zob::VT_BOOL:
      return v.u.boolVal;
    case zob::VT_UCHAR:
      return v.u.ucVal;
    case zob::VT_CHAR:
      return static_cast<signed char>(v.u.cVal);
    case zob::VT_SHORT:
      return v.u.sVal;
    case zob::VT_USHORT:
      return v.u.usVal;
    case zob::VT_INT:
      return v.u.iVal;
    case zob::VT_UINT:
      return v.u.uiVal;
    case zob::VT_LONG:
      return v.u.lVal;
    case zob::VT_ULONG:
      return static_cast<std::int64_t>(v.u.ulVal);
    default:
      return 0;
  }
}

double floatValue(const zob::Variant& v) {
  return v.type == zob::VT_FLOAT ? static_cast<double>(v.u.fVal) : v.u.dVal;
}

// Stores a 64-bit integer under a numeric tag: truncation to narrower types,
// conversion as a signed number to the floating types.
void storeInteger(zob::Variant& v, std::int64_t x, VariantType target) {
  switch (target) {
    case zob::VT_BOOL:
      v.u.boolVal = x != 0;
      break;
    case zob::VT_UCHAR:
      v.u.ucVal = static_cast<unsigned char>(x);
      break;
    case zob::VT_CHAR:
      v.u.cVal = static_cast<char>(x);
      break;
    case zob::VT_SHORT:
      v.u.sVal = static_cast<short>(x);
      break;
    case zob::VT_USHORT:
      v.u.usVal = static_cast<unsigned short>(x);
      break;
    case zob::VT_INT:
      v.u.iVal = static_cast<int>(x);
      break;
    case zob::VT_UINT:
      v.u.uiVal = static_cast<unsigned int>(x);
      break;
    case zob::VT_LONG:
      v.u.lVal = x;
      break;
    case zob::VT_ULONG:
      v.u.ulVal = static_cast<unsigned long>(x);
      break;
    case zob::VT_FLOAT:
      v.u.fVal = static_cast<float>(x);
      break;
    case zob::VT_DOUBLE:
      v.u.dVal = static_cast<double>(x);
      break;
    default:
      return;
  }
  v.type = target;
}

void storeFloat(zob::Variant& v, double d, VariantType target) {
  switch (target) {
    case zob::VT_BOOL:
      v.u.boolVal = d != 0.0;
      break;  // NaN counts as true
    case zob::VT_UCHAR:
      v.u.ucVal = static_cast<unsigned char>(toInt32(d));
      break;
    case zob::VT_CHAR:
      v.u.cVal = static_cast<char>(toInt32(d));
      break;
    case zob::VT_SHORT:
      v.u.sVal = static_cast<short>(toInt32(d));
      break;
    case zob::VT_USHORT:
      v.u.usVal = static_cast<unsigned short>(toInt32(d));
      break;
    case zob::VT_INT:
      v.u.iVal = toInt32(d);
      break;
    case zob::VT_UINT:
      v.u.uiVal = static_cast<unsigned int>(toInt64(d));
      break;
    case zob::VT_LONG:
      v.u.lVal = toInt64(d);
      break;
    case zob::VT_ULONG:
      if (d >= kTwoPow63)
        v.u.ulVal = static_cast<unsigned long>(toInt64(d - kTwoPow63)) | (1ul << 63);
      else
        v.u.ulVal = static_cast<unsigned long>(toInt64(d));
      break;
    case zob::VT_FLOAT:
      v.u.fVal = static_cast<float>(d);
      break;
    case zob::VT_DOUBLE:
      v.u.dVal = d;
      break;
    default:
      return;
  }
  v.type = target;
}

// Reads the integer text form: optional "-", then hex ("0x"), octal (a "0"
// followed by a digit), decimal, or a true/false word; only white space may
// follow. Hex digits a-f replace the accumulated value instead of adding to
// it; that is the established reading of this form and is kept. No overflow
// check: the arithmetic wraps.
bool parseIntegerText(const char* s, std::int64_t* out) {
  const char* p = skipSpace(s);
  bool negative = false;
  if (*p == '-') {
    negative = true;
    ++p;
  }
  std::uint64_t v = 0;
  if (p[0] == '0' && (p[1] == 'x' || p[1] == 'X') && isHexDigit(p[2])) {
    for (p += 2;; ++p) {
      char c = *p;
      if (isDigit(c))
        v = v * 16 + static_cast<unsigned>(c - '0');
      else if (c >= 'A' && c <= 'F')
        v = v * 16 + static_cast<unsigned>(c - 'A' + 10);
      else if (c >= 'a' && c <= 'f')
        v = static_cast<unsigned>(c - 'a' + 10);
      else
        break;
    }
  } else if (p[0] == '0' && isDigit(p[1])) {
    for (++p; isDigit(*p); ++p) {
      if (*p > '7') return false;
      v = v * 8 + static_cast<unsigned>(*p - '0');
    }
  } else if (isDigit(*p)) {
    for (; isDigit(*p); ++p) v = v * 10 + static_cast<unsigned>(*p - '0');
  } else {
    const char* e = p;
    if (EVariant::isTrue(p, &e))
      v = 1;
    else if (EVariant::isFalse(p, &e))
      v = 0;
    else
      return false;
    p = e;
  }
  if (*skipSpace(p)) return false;
  *out = static_cast<std::int64_t>(negative ? 0 - v : v);
  return true;
}

// A small reader for scan patterns in the manner of sscanf: ' ' skips any
// white space (also none), 'd' reads a decimal int (after white space, with an
// optional sign; values beyond the int range are clamped), any other byte
// must match itself. Returns the number of values read; *end receives the
// position behind the pattern when all of it matched, else stays null.
int scanPattern(const char* s, const char* pattern, int* values, const char** end) {
  *end = nullptr;
  int count = 0;
  const char* p = s;
  for (const char* f = pattern; *f; ++f) {
    if (*f == ' ') {
      p = skipSpace(p);
    } else if (*f == 'd') {
      p = skipSpace(p);
      bool negative = false;
      if (*p == '-' || *p == '+') negative = *p++ == '-';
      if (!isDigit(*p)) return count;
      std::int64_t v = 0;
      for (; isDigit(*p); ++p)
        if (v <= INT32_MAX) v = v * 10 + (*p - '0');
      if (negative) v = -v;
      if (v > INT32_MAX) v = INT32_MAX;
      if (v < INT32_MIN) v = INT32_MIN;
      values[count++] = static_cast<int>(v);
    } else {
      if (*p != *f) return count;
      ++p;
    }
  }
  *end = p;
  return count;
}

// The time text: the first pattern that yields all its fields decides, and the
// text must end where it stopped.
bool parseTimeText(const char* s, zob::Time* out) {
  static const struct {
    const char* pattern;
    int fields;
  } kForms[] = {{" d:d:d.d ", 4}, {" d:d:d ", 3}, {" d:d ", 2}};
  for (const auto& form : kForms) {
    int v[4] = {0, 0, 0, 0};
    const char* end = nullptr;
    if (scanPattern(s, form.pattern, v, &end) != form.fields || !end) continue;
    if (*end) return false;
    out->hour = static_cast<std::int16_t>(v[0]);
    out->minute = static_cast<std::int16_t>(v[1]);
    out->second = static_cast<std::int16_t>(v[2]);
    out->millisecond = static_cast<std::int16_t>(v[3]);
    return true;
  }
  return false;
}

void writeDate(std::ostream& os, int year, int month, int day) {
  os << std::setfill(' ') << std::setw(4) << year << '-' << std::setfill('0') << std::setw(2)
     << month << '-' << std::setw(2) << day;
}

void writeTime(std::ostream& os, int hour, int minute, int second, int millisecond) {
  os << std::setfill(' ') << std::setw(2) << hour << ':' << std::setfill('0') << std::setw(2)
     << minute << ':' << std::setw(2) << second << '.' << std::setw(3) << millisecond;
}

}  // namespace

// --- construction and ownership --------------------------------------------

EVariant::EVariant() {
  type = zob::VT_INVALID;
  std::memset(&u, 0, sizeof u);
}

EVariant::EVariant(const EVariant& other) : EVariant() {
  copyFrom(other);
}
EVariant::EVariant(const zob::Variant& other) : EVariant() {
  copyFrom(other);
}
EVariant::EVariant(const char* text) : EVariant() {
  setValue(text);
}
EVariant::EVariant(const zob::Date& date) : EVariant() {
  setValue(date);
}
EVariant::EVariant(const zob::Time& time) : EVariant() {
  setValue(time);
}
EVariant::EVariant(const zob::DateTime& dateTime) : EVariant() {
  setValue(dateTime);
}
EVariant::EVariant(const zob::Sequence<unsigned char>& bytes) : EVariant() {
  setValue(bytes);
}

#define KELP_EVARIANT_SCALAR(T)                                       \
  EVariant::EVariant(T value, zob::VariantType target) : EVariant() { \
    setValue(value, target);                                          \
  }
KELP_EVARIANT_SCALAR(bool)
KELP_EVARIANT_SCALAR(unsigned char)
KELP_EVARIANT_SCALAR(char)
KELP_EVARIANT_SCALAR(short)
KELP_EVARIANT_SCALAR(unsigned short)
KELP_EVARIANT_SCALAR(int)
KELP_EVARIANT_SCALAR(unsigned int)
KELP_EVARIANT_SCALAR(long)
KELP_EVARIANT_SCALAR(unsigned long)
KELP_EVARIANT_SCALAR(float)
KELP_EVARIANT_SCALAR(double)
#undef KELP_EVARIANT_SCALAR

EVariant::~EVariant() {
  destroy();
}

EVariant& EVariant::operator=(const EVariant& other) {
  return *this = static_cast<const zob::Variant&>(other);
}

EVariant& EVariant::operator=(const zob::Variant& other) {
  if (&other == static_cast<zob::Variant*>(this)) return *this;
  init(other);
  return *this;
}

void EVariant::copyFrom(const zob::Variant& other) {
  type = other.type;
  u = other.u;
  if (type == zob::VT_STRING) {
    u.strVal = zobStrDup(other.u.strVal);
  } else if (type == zob::VT_BYTES) {
    std::uint32_t n = other.u.bytesVal.buffer ? other.u.bytesVal.length : 0;
    auto* buffer = static_cast<unsigned char*>(zobCalloc(n, 1));
    if (buffer && n) std::memcpy(buffer, other.u.bytesVal.buffer, n);
    u.bytesVal.buffer = buffer;
    u.bytesVal.length = buffer ? n : 0;
  }
}

void EVariant::init(const zob::Variant& other) {
  // Copy first: `other` may be (part of) this variant.
  EVariant copy;
  copy.copyFrom(other);
  destroy();
  static_cast<zob::Variant&>(*this) = copy;
  copy.type = zob::VT_INVALID;  // the buffers now belong to this variant
}

void EVariant::destroy() {
  if (type == zob::VT_STRING) {
    zobFree(u.strVal);
    u.strVal = nullptr;
  } else if (type == zob::VT_BYTES) {
    zobFree(u.bytesVal.buffer);
    u.bytesVal.buffer = nullptr;
    u.bytesVal.length = 0;
  }
}

void EVariant::clear() {
  destroy();
  type = zob::VT_INVALID;
}

// --- setting values ------------------------------------------------------------

#define KELP_EVARIANT_SET(T, TAG, MEMBER, EXPR)               \
  bool EVariant::setValue(T value, zob::VariantType target) { \
    destroy();                                                \
    type = TAG;                                               \
    u.MEMBER = EXPR;                                          \
    return target == TAG || cast(target);                     \
  }
KELP_EVARIANT_SET(bool, zob::VT_BOOL, boolVal, value ? 1 : 0)
KELP_EVARIANT_SET(unsigned char, zob::VT_UCHAR, ucVal, value)
KELP_EVARIANT_SET(char, zob::VT_CHAR, cVal, value)
KELP_EVARIANT_SET(short, zob::VT_SHORT, sVal, value)
KELP_EVARIANT_SET(unsigned short, zob::VT_USHORT, usVal, value)
KELP_EVARIANT_SET(int, zob::VT_INT, iVal, value)
KELP_EVARIANT_SET(unsigned int, zob::VT_UINT, uiVal, value)
KELP_EVARIANT_SET(long, zob::VT_LONG, lVal, value)
KELP_EVARIANT_SET(unsigned long, zob::VT_ULONG, ulVal, value)
KELP_EVARIANT_SET(float, zob::VT_FLOAT, fVal, value)
KELP_EVARIANT_SET(double, zob::VT_DOUBLE, dVal, value)
#undef KELP_EVARIANT_SET

void EVariant::setValue(const char* text) {
  char* copy = zobStrDup(text);  // before the old payload goes: text may be it
  destroy();
  type = zob::VT_STRING;
  u.strVal = copy;
}

void EVariant::setValue(const zob::Date& date) {
  destroy();
  type = zob::VT_DATE;
  u.dateVal = date;
}

void EVariant::setValue(const zob::Time& time) {
  destroy();
  type = zob::VT_TIME;
  u.timeVal = time;
}

void EVariant::setValue(const zob::DateTime& dateTime) {
  destroy();
  type = zob::VT_DATETIME;
  u.dateTimeVal = dateTime;
}

void EVariant::setValue(const zob::Sequence<unsigned char>& bytes) {
  zob::Variant source;
  source.type = zob::VT_BYTES;
  source.u.bytesVal = bytes;
  init(source);
}

// --- classification -----------------------------------------------------------

bool EVariant::isInteger(zob::VariantType t) {
  return (t >= zob::VT_BOOL && t <= zob::VT_CHAR) || (t >= zob::VT_SHORT && t <= zob::VT_ULONG);
}

bool EVariant::isFloat(zob::VariantType t) {
  return t == zob::VT_FLOAT || t == zob::VT_DOUBLE;
}

bool EVariant::isNumeric(zob::VariantType t) {
  return isInteger(t) || isFloat(t);
}

namespace {

// `word` (lower case) or its first letter alone, ignoring ASCII case, then the
// end of the text or white space.
bool isWord(const char* s, const char* word, const char** end) {
  if (!s) return false;
  std::size_t n = std::strlen(word);
  std::size_t i = 0;
  while (i < n && lower(s[i]) == word[i]) ++i;
  if (i == n && (s[n] == '\0' || isSpace(s[n]))) {
    if (end) *end = s + n;
    return true;
  }
  if (lower(s[0]) == word[0] && (s[1] == '\0' || isSpace(s[1]))) {
    if (end) *end = s + 1;
    return true;
  }
  return false;
}

}  // namespace

bool EVariant::isTrue(const char* s, const char** end) {
  return isWord(s, "true", end);
}
bool EVariant::isFalse(const char* s, const char** end) {
  return isWord(s, "false", end);
}

// --- conversion ------------------------------------------------------------------

bool EVariant::canCast(zob::VariantType target) const {
  if (target == zob::VT_STRING || target == type) return true;
  // Deliberately conservative: a string answers false here even when its text
  // would convert.
  if (isNumeric(type)) return isNumeric(target);
  return false;
}

bool EVariant::cast(zob::VariantType target) {
  if (target == type) return true;
  if (target == zob::VT_STRING) {
    std::string text = toString();
    char* copy = zobStrDup(text.c_str());
    if (!copy) return false;
    destroy();
    type = zob::VT_STRING;
    u.strVal = copy;
    return true;
  }
  if (isInteger(type)) {
    if (!isNumeric(target)) return false;
    storeInteger(*this, integerValue(*this), target);
    return true;
  }
  if (isFloat(type)) {
    if (!isNumeric(target)) return false;
    storeFloat(*this, floatValue(*this), target);
    return true;
  }
  if (type == zob::VT_STRING) return castFromString(target);
  return false;
}

bool EVariant::castFromString(zob::VariantType target) {
  const char* s = u.strVal ? u.strVal : "";
  if (isInteger(target)) {
    std::int64_t v = 0;
    if (!parseIntegerText(s, &v)) return false;
    return setValue(static_cast<long>(v), target);
  }
  if (isFloat(target)) {
    const char* end = s;
    double d = gParseCDouble(s, &end);
    if (end == s || *skipSpace(end)) return false;
    return setValue(d, target);
  }
  switch (target) {
    case zob::VT_DATE: {
      int v[3];
      const char* end = nullptr;
      if (scanPattern(s, " d-d-d ", v, &end) != 3 || !end || *end) return false;
      setValue(zob::Date{static_cast<std::int16_t>(v[0]), static_cast<std::int16_t>(v[1]),
                         static_cast<std::int16_t>(v[2])});
      return true;
    }
    case zob::VT_TIME: {
      zob::Time t;
      if (!parseTimeText(s, &t)) return false;
      setValue(t);
      return true;
    }
    case zob::VT_DATETIME: {
      int v[3];
      const char* end = nullptr;
      if (scanPattern(s, " d-d-d", v, &end) != 3 || !end || !isSpace(*end)) return false;
      zob::Time t;
      if (!parseTimeText(end, &t)) return false;
      setValue(zob::DateTime{static_cast<std::int16_t>(v[0]), static_cast<std::int16_t>(v[1]),
                             static_cast<std::int16_t>(v[2]), t.hour, t.minute, t.second,
                             t.millisecond});
      return true;
    }
    case zob::VT_BYTES: {
      std::string bytes;
      const char* end = s;
      if (!gParseCString(s, &end, &bytes) || end == s || *skipSpace(end)) return false;
      zob::Sequence<unsigned char> seq{static_cast<std::uint32_t>(bytes.size()),
                                       reinterpret_cast<unsigned char*>(bytes.data())};
      setValue(seq);
      return true;
    }
    default:
      return false;
  }
}

// --- text form --------------------------------------------------------------------

std::string EVariant::toString() const {
  std::ostringstream os;
  os.imbue(std::locale::classic());
  switch (type) {
    case zob::VT_INVALID:
    case zob::VT_NULL:
      break;
    case zob::VT_BOOL:
      os << (u.boolVal ? "true" : "false");
      break;
    case zob::VT_UCHAR:
      os << static_cast<char>(u.ucVal);
      break;
    case zob::VT_CHAR:
      os << '\'' << u.cVal << '\'';
      break;
    case zob::VT_SHORT:
      os << u.sVal;
      break;
    case zob::VT_USHORT:
      os << u.usVal;
      break;
    case zob::VT_INT:
      os << u.iVal;
      break;
    case zob::VT_UINT:
      os << u.uiVal;
      break;
    case zob::VT_LONG:
      os << u.lVal;
      break;
    case zob::VT_ULONG:
      os << u.ulVal;
      break;
    case zob::VT_FLOAT:
      os << static_cast<double>(u.fVal);
      break;
    case zob::VT_DOUBLE:
      os << u.dVal;
      break;
    case zob::VT_STRING:
      os << gConvertToCString(u.strVal ? u.strVal : "");
      break;
    case zob::VT_DATE:
      writeDate(os, u.dateVal.year, u.dateVal.month, u.dateVal.day);
      break;
    case zob::VT_TIME:
      writeTime(os, u.timeVal.hour, u.timeVal.minute, u.timeVal.second, u.timeVal.millisecond);
      break;
    case zob::VT_DATETIME: {
      const zob::DateTime& dt = u.dateTimeVal;
      writeDate(os, dt.year, dt.month, dt.day);
      os << ' ';
      writeTime(os, dt.hour, dt.minute, dt.second, dt.millisecond);
      break;
    }
    case zob::VT_BYTES: {
      const unsigned char* p = u.bytesVal.buffer;
      for (std::uint32_t i = 0; p && i < u.bytesVal.length; ++i) {
        unsigned char c = p[i];
        if (c >= 0x20 && c <= 0x7e) {
          os << static_cast<char>(c);
        } else {
          // A backslash and the raw byte right-aligned in a field of three
          // filled with '0'; the octal base set here does not apply to a
          // character, so no octal digits appear. This is the established
          // form and is kept.
          os << '\\' << std::oct << std::setfill('0') << std::setw(3) << static_cast<char>(c)
             << std::dec;
        }
      }
      break;
    }
    default:
      // An unused or unknown tag means the variant was corrupted.
      std::abort();
  }
  return os.str();
}

}  // namespace qor::quv::util
