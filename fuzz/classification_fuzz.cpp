// EClassification: an accepted text reads back from its own formatting; a
// record made of any fields survives its text form; failures leave the
// record alone.
#include <kelp/util/utl_EClassification.h>

#include <cstdint>
#include <cstdlib>
#include <string>

using qor::quv::basket::EClassification;

namespace {
void check(bool condition) {
  if (!condition) std::abort();
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 4096) return 0;
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::string error;

  EClassification c("S", "V", "C");
  if (c.parseString(text, &error)) {
    EClassification again;
    check(again.parseString(c.formatString(), &error));
    check(again == c);
  } else {
    check(!error.empty());
    check(c == EClassification("S", "V", "C"));
  }

  // The input cut into fields at every 0xFF byte: any bytes at all.
  std::string fields[5];
  int n = 0;
  for (char ch : text) {
    if (static_cast<unsigned char>(ch) == 0xFF && n < 4)
      ++n;
    else
      fields[n] += ch;
  }
  if (fields[0].empty() || fields[2].empty() || (n >= 3 && fields[3].empty())) return 0;
  EClassification record(fields[0], fields[1], fields[2]);
  if (n >= 3) record.addFeature(fields[3], fields[4]);
  EClassification back;
  check(back.parseString(record.formatString(), &error));
  check(back == record);
  return 0;
}
