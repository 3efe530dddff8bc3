// UUID creation and comparison over libuuid, whose uuid_t is the 16 bytes in
// network order.
#include <zob/zob_uuid.h>

#include <uuid/uuid.h>

namespace {

void toBytes(const ZobUUID& u, unsigned char* b) {
  b[0] = static_cast<unsigned char>(u.timeLow >> 24);
  b[1] = static_cast<unsigned char>(u.timeLow >> 16);
  b[2] = static_cast<unsigned char>(u.timeLow >> 8);
  b[3] = static_cast<unsigned char>(u.timeLow);
  b[4] = static_cast<unsigned char>(u.timeMid >> 8);
  b[5] = static_cast<unsigned char>(u.timeMid);
  b[6] = static_cast<unsigned char>(u.timeHiAndVersion >> 8);
  b[7] = static_cast<unsigned char>(u.timeHiAndVersion);
  b[8] = u.clockSeqHiAndReserved;
  b[9] = u.clockSeqLow;
  for (int i = 0; i < 6; ++i) b[10 + i] = u.node[i];
}

void fromBytes(const unsigned char* b, ZobUUID& u) {
  u.timeLow = (std::uint32_t{b[0]} << 24) | (std::uint32_t{b[1]} << 16) |
              (std::uint32_t{b[2]} << 8) | std::uint32_t{b[3]};
  u.timeMid = static_cast<std::uint16_t>((b[4] << 8) | b[5]);
  u.timeHiAndVersion = static_cast<std::uint16_t>((b[6] << 8) | b[7]);
  u.clockSeqHiAndReserved = b[8];
  u.clockSeqLow = b[9];
  for (int i = 0; i < 6; ++i) u.node[i] = b[10 + i];
}

}  // namespace

ZResult zobUUIDCreate(ZobUUID* out) {
  if (!out) return zob::kInvalidArgument;
  uuid_t bytes;
  uuid_generate_random(bytes);
  fromBytes(bytes, *out);
  return zob::kOk;
}

ZResult zobUUIDCreateFromName(ZobUUID* out, const ZobUUID* nameSpace, const void* name,
                              unsigned long length) {
  if (!out || !nameSpace || (!name && length != 0)) return zob::kInvalidArgument;
  uuid_t ns;
  uuid_t bytes;
  toBytes(*nameSpace, ns);
  static const char kEmpty[1] = {0};
  uuid_generate_sha1(bytes, ns, name ? static_cast<const char*>(name) : kEmpty, length);
  fromBytes(bytes, *out);
  return zob::kOk;
}

int zobUUIDCompare(const ZobUUID* a, const ZobUUID* b) {
  static const ZobUUID kNull{};
  uuid_t x;
  uuid_t y;
  toBytes(a ? *a : kNull, x);
  toBytes(b ? *b : kNull, y);
  return uuid_compare(x, y);
}
