// Number runs of the geometry values' text and attribute forms.
#define QUV_SOURCE_NAME "utl_GeomText"

#include "util/utl_GeomText_impl.h"

#include <kelp/xml/sax/sax_Attributes.h>
#include <kelp/xml/xml_XMLWriterItfWrapper.h>

#include <charconv>
#include <cmath>
#include <system_error>

#include <vorn/vorn_placeholder.h>

#include "util/utl_TextScan_impl.h"

namespace qor::quv::util::detail {

namespace {

enum class NumberResult { kOk, kNone, kNotFinite, kOutOfRange };

// One number at p, with an optional '+' (from_chars takes only '-'). The
// caller checks what follows.
NumberResult readNumber(const char* p, const char** stop, double* out) {
  const char* q = p;
  if (*q == '+' && q[1] != '-' && q[1] != '+') ++q;
  const char* last = q;
  while (*last && !isSpace(*last)) ++last;
  double v = 0;
  const auto res = std::from_chars(q, last, v, std::chars_format::general);
  if (res.ptr == q) return NumberResult::kNone;
  *stop = res.ptr;
  if (res.ec == std::errc::result_out_of_range) return NumberResult::kOutOfRange;
  if (res.ec != std::errc()) return NumberResult::kNone;
  if (!std::isfinite(v)) return NumberResult::kNotFinite;
  *out = v;
  return NumberResult::kOk;
}

std::string expected(int n, const char* found) {
  return std::string(n == 1 ? "expected %1 number, found %2" : "expected %1 numbers, found %2")
         << n << found;
}

}  // namespace

void setGeomError(std::string* error, std::string message) {
  if (error) *error = std::move(message);
}

void appendNumber(std::string* out, double v) {
  char buf[32];
  const auto res = std::to_chars(buf, buf + sizeof buf, v);
  out->append(buf, res.ptr);
}

std::string formatNumbers(const double* v, int n) {
  std::string out;
  out.reserve(static_cast<size_t>(n) * 8);
  for (int i = 0; i < n; ++i) {
    if (i) out += ' ';
    appendNumber(&out, v[i]);
  }
  return out;
}

bool parseNumbers(const char* s, int n, double* out, const char** end, std::string* error) {
  if (end) *end = s;
  if (!s) {
    setGeomError(error, expected(n, "0"));
    return false;
  }
  const char* p = s;
  for (int i = 0; i < n; ++i) {
    const char* q = skipSpace(p);
    // Numbers must be apart: "1 2" but not "1-2".
    if (i > 0 && q == p) {
      setGeomError(error, expected(n, std::to_string(i).c_str()));
      return false;
    }
    const char* stop = q;
    switch (readNumber(q, &stop, &out[i])) {
      case NumberResult::kOk:
        break;
      case NumberResult::kNone:
        setGeomError(error, expected(n, std::to_string(i).c_str()));
        return false;
      case NumberResult::kNotFinite:
        setGeomError(error, std::string("number %1 is not finite") << i + 1);
        return false;
      case NumberResult::kOutOfRange:
        setGeomError(error, std::string("number %1 is out of range") << i + 1);
        return false;
    }
    p = stop;
  }
  if (end) {
    *end = p;
    return true;
  }
  const char* rest = skipSpace(p);
  if (*rest == '\0') return true;
  const char* stop = rest;
  double extra = 0;
  if (rest != p && readNumber(rest, &stop, &extra) != NumberResult::kNone)
    setGeomError(error, expected(n, "more"));
  else
    setGeomError(error, std::string("unexpected text after %1 numbers") << n);
  return false;
}

bool decodeNumberAttributes(const char* const* names, const char* const* texts, int n, double* out,
                            std::string* error) {
  for (int i = 0; i < n; ++i) {
    if (!texts[i] || !*texts[i]) {
      setGeomError(error, std::string("attribute '%1' is missing or empty") << names[i]);
      return false;
    }
    if (!parseNumbers(texts[i], 1, &out[i], nullptr, nullptr)) {
      setGeomError(error, std::string("attribute '%1' has invalid value '%2'")
                              << names[i] << texts[i]);
      return false;
    }
  }
  return true;
}

bool lookUpAttributes(const xml::sax::Attributes& attrs, const char* prefix,
                      const char* const* names, int n, std::string* full, const char** texts) {
  bool any = false;
  for (int i = 0; i < n; ++i) {
    full[i] = prefix ? prefix : "";
    full[i] += names[i];
    texts[i] = attrs.getValue("", full[i].c_str());
    if (texts[i] && *texts[i]) any = true;
  }
  return any;
}

bool encodeNumberAttributes(xml::XMLWriterItfWrapper* writer, const char* prefix,
                            const char* const* names, const double* v, int n) {
  if (!writer) return false;
  std::string name, text;
  for (int i = 0; i < n; ++i) {
    name = prefix ? prefix : "";
    name += names[i];
    text.clear();
    appendNumber(&text, v[i]);
    if (!writer->attribute(name.c_str(), text)) return false;
  }
  return true;
}

}  // namespace qor::quv::util::detail
