// EVariant::cast from text: every target tag, and the round trips the text
// forms promise (integers, bools, dates, times, byte-string literals).
#include <kelp/util/utl_EVariant.h>
#include <vorn/vorn_cstring.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

using qor::quv::util::EVariant;

namespace {

void check(bool condition) {
  if (!condition) std::abort();
}

bool sameValue(const EVariant& a, const EVariant& b) {
  if (a.type != b.type) return false;
  switch (a.type) {
    case zob::VT_BOOL:
      return a.u.boolVal == b.u.boolVal;
    case zob::VT_SHORT:
      return a.u.sVal == b.u.sVal;
    case zob::VT_USHORT:
      return a.u.usVal == b.u.usVal;
    case zob::VT_INT:
      return a.u.iVal == b.u.iVal;
    case zob::VT_UINT:
      return a.u.uiVal == b.u.uiVal;
    case zob::VT_LONG:
      return a.u.lVal == b.u.lVal;
    case zob::VT_ULONG:
      return a.u.ulVal == b.u.ulVal;
    case zob::VT_DATE:
      return std::memcmp(&a.u.dateVal, &b.u.dateVal, sizeof a.u.dateVal) == 0;
    case zob::VT_TIME:
      return std::memcmp(&a.u.timeVal, &b.u.timeVal, sizeof a.u.timeVal) == 0;
    case zob::VT_DATETIME:
      return std::memcmp(&a.u.dateTimeVal, &b.u.dateTimeVal, sizeof a.u.dateTimeVal) == 0;
    default:
      return true;
  }
}

// Whether toString of this value reads back through cast: true for the
// decimal and word forms and for dates; times only with non-negative fields
// (a negative millisecond is padded with a '0' before its sign).
bool roundTrips(const EVariant& v) {
  switch (v.type) {
    case zob::VT_BOOL:
    case zob::VT_SHORT:
    case zob::VT_USHORT:
    case zob::VT_INT:
    case zob::VT_UINT:
    case zob::VT_LONG:
    case zob::VT_ULONG:
    case zob::VT_DATE:
      return true;
    case zob::VT_TIME:
      return v.u.timeVal.hour >= 0 && v.u.timeVal.minute >= 0 && v.u.timeVal.second >= 0 &&
             v.u.timeVal.millisecond >= 0;
    case zob::VT_DATETIME:
      return v.u.dateTimeVal.hour >= 0 && v.u.dateTimeVal.minute >= 0 &&
             v.u.dateTimeVal.second >= 0 && v.u.dateTimeVal.millisecond >= 0;
    default:
      return false;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 4096) return 0;
  std::string text(reinterpret_cast<const char*>(data), size);
  EVariant source(text.c_str());
  for (int t = 0; t <= 20; ++t) {
    auto target = static_cast<zob::VariantType>(t);
    EVariant v(source);
    std::string before = v.toString();
    bool can = v.canCast(target);
    bool ok = v.cast(target);
    if (can) check(ok);
    if (!ok) {
      check(v.getType() == zob::VT_STRING && v.toString() == before);
      continue;
    }
    check(v.getType() == target);
    std::string shown = v.toString();
    if (roundTrips(v)) {
      EVariant again(shown.c_str());
      check(again.cast(target));
      check(sameValue(again, v));
    }
    if (target == zob::VT_BYTES) {
      std::string bytes(reinterpret_cast<const char*>(v.u.bytesVal.buffer), v.u.bytesVal.length);
      EVariant lit(gConvertToCString(bytes).c_str());
      check(lit.cast(zob::VT_BYTES));
      check(lit.u.bytesVal.length == v.u.bytesVal.length &&
            std::memcmp(lit.u.bytesVal.buffer, v.u.bytesVal.buffer, v.u.bytesVal.length) == 0);
    }
    // Every numeric value converts to every numeric tag.
    if (EVariant::isNumeric(target))
      for (int n = zob::VT_BOOL; n <= zob::VT_DOUBLE; ++n) {
        auto numeric = static_cast<zob::VariantType>(n);
        if (!EVariant::isNumeric(numeric)) continue;
        EVariant w(v);
        check(w.cast(numeric) && w.getType() == numeric);
        w.toString();
      }
  }
  return 0;
}
