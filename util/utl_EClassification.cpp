// EClassification: classification records and their percent-escaped text
// form. The separators are escaped inside fields, so splitting at the first
// unescaped separator of each kind is unambiguous.
#include <kelp/util/utl_EClassification.h>

#include <algorithm>
#include <cstring>

namespace qor::quv::basket {

namespace {

bool reserved(unsigned char c) {
  return c < 32 || c == 127 || std::strchr("%/:;=", c) != nullptr;
}

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

}  // namespace

std::string EClassification::escape(const std::string& field) {
  static const char kHex[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(field.size());
  for (char ch : field) {
    const auto c = static_cast<unsigned char>(ch);
    if (reserved(c)) {
      out += '%';
      out += kHex[c >> 4];
      out += kHex[c & 15];
    } else {
      out += ch;
    }
  }
  return out;
}

bool EClassification::unescape(const std::string& text, std::string* field) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      out += text[i];
      continue;
    }
    const int hi = i + 1 < text.size() ? hexValue(text[i + 1]) : -1;
    const int lo = i + 2 < text.size() ? hexValue(text[i + 2]) : -1;
    if (hi < 0 || lo < 0) return false;
    out += static_cast<char>(hi * 16 + lo);
    i += 2;
  }
  *field = std::move(out);
  return true;
}

bool EClassification::parseString(const std::string& text, std::string* error) {
  auto fail = [&](const std::string& why) {
    if (error) *error = "classification '" + escape(text) + "': " + why;
    return false;
  };
  for (char ch : text)
    if (const auto c = static_cast<unsigned char>(ch); c < 32 || c == 127)
      return fail("control characters must be escaped");
  const std::size_t slash = text.find('/');
  if (slash == std::string::npos) return fail("no '/' after the system id");
  const std::size_t colon = text.find(':', slash + 1);
  if (colon == std::string::npos) return fail("no ':' after the system version");
  const std::size_t semi = std::min(text.find(';', colon + 1), text.size());
  EClassification c;
  auto field = [&](std::size_t from, std::size_t to, std::string* out, const char* what) {
    const std::string raw = text.substr(from, to - from);
    if (raw.find_first_of("/:=") != std::string::npos)
      return fail(std::string("unescaped '/', ':' or '=' in the ") + what);
    if (!unescape(raw, out)) return fail(std::string("bad '%' escape in the ") + what);
    return true;
  };
  if (!field(0, slash, &c.system_, "system id") ||
      !field(slash + 1, colon, &c.version_, "system version") ||
      !field(colon + 1, semi, &c.code_, "class code"))
    return false;
  if (c.system_.empty()) return fail("the system id is empty");
  if (c.code_.empty()) return fail("the class code is empty");
  for (std::size_t at = semi; at < text.size();) {
    const std::size_t next = std::min(text.find(';', at + 1), text.size());
    const std::string pair = text.substr(at + 1, next - at - 1);
    const std::size_t eq = pair.find('=');
    if (eq == std::string::npos) return fail("feature '" + pair + "' has no '='");
    Feature f;
    if (!field(at + 1, at + 1 + eq, &f.first, "feature name") ||
        !field(at + 2 + eq, next, &f.second, "feature value"))
      return false;
    if (f.first.empty()) return fail("a feature name is empty");
    c.features_.push_back(std::move(f));
    at = next;
  }
  *this = std::move(c);
  return true;
}

std::string EClassification::formatString() const {
  std::string s = escape(system_) + '/' + escape(version_) + ':' + escape(code_);
  for (const Feature& f : features_) s += ';' + escape(f.first) + '=' + escape(f.second);
  return s;
}

}  // namespace qor::quv::basket
