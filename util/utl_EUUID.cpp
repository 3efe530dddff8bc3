// EUUID: creation through the object model, ordering and the text forms.
#define QUV_SOURCE_NAME "utl_EUUID"
#include <kelp/util/utl_EUUID.h>

#include <cstdint>
#include <cstdio>

#include "util/utl_TextScan_impl.h"

namespace qor::quv::util {

namespace {

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Reads exactly `digits` hex digits at p into *value; advances p.
bool readHex(const char*& p, int digits, std::uint32_t* value) {
  std::uint32_t v = 0;
  for (int i = 0; i < digits; ++i) {
    int d = hexValue(p[i]);
    if (d < 0) return false;
    v = (v << 4) | static_cast<std::uint32_t>(d);
  }
  p += digits;
  *value = v;
  return true;
}

bool readHyphen(const char*& p) {
  if (*p != '-') return false;
  ++p;
  return true;
}

}  // namespace

EUUID::EUUID(const char* s) : uuid_() {
  if (!parseString(uuid_, s)) setNull(uuid_);
}

EUUID::EUUID(const std::string& s) : EUUID(s.c_str()) {}

void EUUID::setNull(ZobUUID& uuid) {
  uuid = ZobUUID{};
}

bool EUUID::isNull(const ZobUUID& uuid) {
  static const ZobUUID kNull{};
  return zobUUIDCompare(&uuid, &kNull) == 0;
}

bool EUUID::create(ZobUUID& uuid) {
  if (EFAILED(zobUUIDCreate(&uuid))) {
    setNull(uuid);
    return false;
  }
  return true;
}

bool EUUID::createFromName(ZobUUID& uuid, const ZobUUID& nameSpace, const void* name,
                           unsigned long length) {
  ZobUUID result{};
  if (EFAILED(zobUUIDCreateFromName(&result, &nameSpace, name, length))) {
    setNull(uuid);
    return false;
  }
  uuid = result;
  return true;
}

int EUUID::compare(const ZobUUID& a, const ZobUUID& b) {
  return zobUUIDCompare(&a, &b);
}

bool EUUID::parseString(ZobUUID& uuid, const char* s, const char** end) {
  if (end) *end = s;
  if (!s) return false;
  const char* p = s;
  p = detail::skipSpace(p);
  // Groups in order: 8 digits and "-", 4 and "-", 4 and "-", 2, 2 and "-",
  // then six times 2 digits. The reads stop at the first mismatch, which a
  // terminating NUL always is.
  std::uint32_t timeLow, timeMid, timeHi, seqHi, seqLow, node[6];
  if (!readHex(p, 8, &timeLow) || !readHyphen(p)) return false;
  if (!readHex(p, 4, &timeMid) || !readHyphen(p)) return false;
  if (!readHex(p, 4, &timeHi) || !readHyphen(p)) return false;
  if (!readHex(p, 2, &seqHi)) return false;
  if (!readHex(p, 2, &seqLow) || !readHyphen(p)) return false;
  for (std::uint32_t& b : node)
    if (!readHex(p, 2, &b)) return false;
  uuid.timeLow = timeLow;
  uuid.timeMid = static_cast<std::uint16_t>(timeMid);
  uuid.timeHiAndVersion = static_cast<std::uint16_t>(timeHi);
  uuid.clockSeqHiAndReserved = static_cast<std::uint8_t>(seqHi);
  uuid.clockSeqLow = static_cast<std::uint8_t>(seqLow);
  for (int i = 0; i < 6; ++i) uuid.node[i] = static_cast<std::uint8_t>(node[i]);
  if (end) *end = p;
  return true;
}

std::string EUUID::formatString(const ZobUUID& u, bool compact) {
  char buf[40];
  const char* format = compact ? "%08x%04x%04x%02x%02x%02x%02x%02x%02x%02x%02x"
                               : "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x";
  int n = std::snprintf(buf, sizeof buf, format, static_cast<unsigned>(u.timeLow),
                        static_cast<unsigned>(u.timeMid), static_cast<unsigned>(u.timeHiAndVersion),
                        static_cast<unsigned>(u.clockSeqHiAndReserved),
                        static_cast<unsigned>(u.clockSeqLow), static_cast<unsigned>(u.node[0]),
                        static_cast<unsigned>(u.node[1]), static_cast<unsigned>(u.node[2]),
                        static_cast<unsigned>(u.node[3]), static_cast<unsigned>(u.node[4]),
                        static_cast<unsigned>(u.node[5]));
  return std::string(buf, n > 0 ? static_cast<std::size_t>(n) : 0);
}

std::string EUUID::formatBase64(const ZobUUID& u) {
  static const char kAlphabet[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
  unsigned char b[16] = {static_cast<unsigned char>(u.timeLow >> 24),
                         static_cast<unsigned char>(u.timeLow >> 16),
                         static_cast<unsigned char>(u.timeLow >> 8),
                         static_cast<unsigned char>(u.timeLow),
                         static_cast<unsigned char>(u.timeMid >> 8),
                         static_cast<unsigned char>(u.timeMid),
                         static_cast<unsigned char>(u.timeHiAndVersion >> 8),
                         static_cast<unsigned char>(u.timeHiAndVersion),
                         u.clockSeqHiAndReserved,
                         u.clockSeqLow,
                         u.node[0],
                         u.node[1],
                         u.node[2],
                         u.node[3],
                         u.node[4],
                         u.node[5]};
  std::string out;
  out.reserve(22);
  for (int i = 0; i < 15; i += 3) {
    std::uint32_t group = (std::uint32_t{b[i]} << 16) | (std::uint32_t{b[i + 1]} << 8) | b[i + 2];
    out += kAlphabet[(group >> 18) & 0x3f];
    out += kAlphabet[(group >> 12) & 0x3f];
    out += kAlphabet[(group >> 6) & 0x3f];
    out += kAlphabet[group & 0x3f];
  }
  out += kAlphabet[b[15] >> 2];
  out += kAlphabet[(b[15] & 0x3) << 4];
  return out;
}

bool operator==(const ZobUUID& a, const ZobUUID& b) {
  return EUUID::compare(a, b) == 0;
}
bool operator!=(const ZobUUID& a, const ZobUUID& b) {
  return EUUID::compare(a, b) != 0;
}
bool operator<(const ZobUUID& a, const ZobUUID& b) {
  return EUUID::compare(a, b) < 0;
}
bool operator<=(const ZobUUID& a, const ZobUUID& b) {
  return EUUID::compare(a, b) <= 0;
}
bool operator>=(const ZobUUID& a, const ZobUUID& b) {
  return EUUID::compare(a, b) >= 0;
}
bool operator>(const ZobUUID& a, const ZobUUID& b) {
  return EUUID::compare(a, b) > 0;
}

}  // namespace qor::quv::util
