// EVersion and EVersion2 parseString: accepted texts format and read back to
// the same version; failures leave the value alone.
#include <kelp/util/utl_EVersion.h>
#include <kelp/util/utl_EVersion2.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

using namespace qor::quv;

namespace {
void check(bool condition) {
  if (!condition) std::abort();
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 4096) return 0;
  std::string text(reinterpret_cast<const char*>(data), size);
  const char* s = text.c_str();

  for (bool withEnd : {false, true}) {
    const char* end = nullptr;
    util::EVersion v(9, 9, 9);
    if (v.parseString(s, withEnd ? &end : nullptr)) {
      if (withEnd) check(end > s && end <= s + std::strlen(s));
      util::EVersion again;
      check(again.parseString(v.formatString().c_str(), nullptr));
      check(again.compare(v) == 0);
    } else {
      check(v.compare(util::EVersion(9, 9, 9)) == 0);
      if (withEnd) check(end == s);
    }

    util::EVersion2 w(9, 9, types::VL_BETA, 9);
    if (w.parseString(s, withEnd ? &end : nullptr)) {
      for (int p = 0; p <= 4; ++p) {
        std::string shown = w.formatString(p);
        util::EVersion2 again;
        const char* e2 = nullptr;
        check(again.parseString(shown.c_str(), &e2));
        check(*e2 == '\0');
        int expected = p < w.getPrecision() ? p : w.getPrecision();
        if (expected == 0) expected = 1;  // the major is always written
        check(again.getPrecision() == expected);
        if (p >= w.getPrecision()) check(again.compare(w) == 0);
        util::EVersion2 merged(w);
        merged.merge(again);
        check(merged.compare(again) == 0);  // the written prefix is the common part
      }
    } else {
      check(w.compare(util::EVersion2(9, 9, types::VL_BETA, 9)) == 0);
    }
  }
  return 0;
}
