// URI helpers after RFC 3986: classification, escaping and normalization.
#include <vorn/vorn_uri.h>

#include <cstring>
#include <string_view>

namespace {

bool isAlpha(unsigned char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool isDigit(unsigned char c) {
  return c >= '0' && c <= '9';
}
int hexValue(unsigned char c) {
  if (isDigit(c)) return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}
bool isUnreserved(unsigned char c) {
  return isAlpha(c) || isDigit(c) || c == '-' || c == '.' || c == '_' || c == '~';
}
bool isReserved(unsigned char c) {
  return c != 0 && std::strchr(":/?#[]@!$&'()*+,;=", c) != nullptr;
}
char toLower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

const char kHex[] = "0123456789ABCDEF";

void appendEscaped(std::string& out, unsigned char c) {
  out += '%';
  out += kHex[c >> 4];
  out += kHex[c & 15];
}

/* Upper-case hex digits; decodes encodings of unreserved characters. */
std::string normalizeEscapes(const std::string& s) {
  std::string out;
  out.reserve(s.size());
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (s[i] == '%' && i + 2 < s.size()) {
      const int hi = hexValue(static_cast<unsigned char>(s[i + 1]));
      const int lo = hexValue(static_cast<unsigned char>(s[i + 2]));
      if (hi >= 0 && lo >= 0) {
        const auto c = static_cast<unsigned char>(hi * 16 + lo);
        if (isUnreserved(c))
          out += static_cast<char>(c);
        else
          appendEscaped(out, c);
        i += 2;
        continue;
      }
    }
    out += s[i];
  }
  return out;
}

/* remove_dot_segments of RFC 3986 5.2.4. */
std::string removeDotSegments(std::string in) {
  std::string out;
  std::size_t i = 0;
  while (i < in.size()) {
    const std::string_view rest(in.data() + i, in.size() - i);
    if (rest.substr(0, 3) == "../") {
      i += 3;
    } else if (rest.substr(0, 2) == "./") {
      i += 2;
    } else if (rest.substr(0, 3) == "/./") {
      i += 2;
    } else if (rest == "/.") {
      in.replace(i, 2, "/");
    } else if (rest.substr(0, 4) == "/../") {
      i += 3;
      const std::size_t cut = out.rfind('/');
      out.erase(cut == std::string::npos ? 0 : cut);
    } else if (rest == "/..") {
      in.replace(i, 3, "/");
      const std::size_t cut = out.rfind('/');
      out.erase(cut == std::string::npos ? 0 : cut);
    } else if (rest == "." || rest == "..") {
      i = in.size();
    } else {
      std::size_t next = in.find('/', i + (in[i] == '/' ? 1 : 0));
      if (next == std::string::npos) next = in.size();
      out.append(in, i, next - i);
      i = next;
    }
  }
  return out;
}

}  // namespace

bool gIsURI(const std::string& text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string::npos || colon == 0) return false;
  if (!isAlpha(static_cast<unsigned char>(text[0]))) return false;
  for (std::size_t i = 1; i < colon; ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (!isAlpha(c) && !isDigit(c) && c != '+' && c != '-' && c != '.') return false;
  }
  for (std::size_t i = colon + 1; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c == '%') {
      if (i + 2 >= text.size() || hexValue(static_cast<unsigned char>(text[i + 1])) < 0 ||
          hexValue(static_cast<unsigned char>(text[i + 2])) < 0)
        return false;
      i += 2;
    } else if (!isUnreserved(c) && !isReserved(c)) {
      return false;
    }
  }
  return true;
}

std::string gNormalizeURI(const std::string& uri) {
  // Split as in RFC 3986 appendix B: scheme ":" "//" authority path "?" query "#" fragment.
  std::size_t pos = 0;
  std::string scheme;
  const std::size_t schemeEnd = uri.find_first_of(":/?#");
  if (schemeEnd != std::string::npos && schemeEnd > 0 && uri[schemeEnd] == ':' &&
      isAlpha(static_cast<unsigned char>(uri[0]))) {
    scheme = uri.substr(0, schemeEnd);
    for (char& c : scheme) c = toLower(c);
    pos = schemeEnd + 1;
  }
  bool hasAuthority = false;
  std::string authority;
  if (uri.compare(pos, 2, "//") == 0) {
    hasAuthority = true;
    pos += 2;
    std::size_t end = uri.find_first_of("/?#", pos);
    if (end == std::string::npos) end = uri.size();
    authority = normalizeEscapes(uri.substr(pos, end - pos));
    // The host is case-insensitive; user information is not.
    const std::size_t at = authority.rfind('@');
    for (std::size_t i = at == std::string::npos ? 0 : at + 1; i < authority.size(); ++i)
      authority[i] = toLower(authority[i]);
    pos = end;
  }
  std::size_t pathEnd = uri.find_first_of("?#", pos);
  if (pathEnd == std::string::npos) pathEnd = uri.size();
  std::string path = normalizeEscapes(uri.substr(pos, pathEnd - pos));
  // Relative references keep their leading dot segments: they still have to be resolved.
  if (!scheme.empty() || hasAuthority || (!path.empty() && path[0] == '/'))
    path = removeDotSegments(path);
  std::string out;
  if (!scheme.empty()) out += scheme + ':';
  if (hasAuthority) out += "//" + authority;
  out += path;
  out += normalizeEscapes(uri.substr(pathEnd));
  return out;
}

std::string gEscapeURIComponent(const std::string& text, const char* keep) {
  std::string out;
  out.reserve(text.size());
  for (const char ch : text) {
    const auto c = static_cast<unsigned char>(ch);
    if (isUnreserved(c) || (keep && c != 0 && std::strchr(keep, c)))
      out += ch;
    else
      appendEscaped(out, c);
  }
  return out;
}

std::string gUnescapePartOfURI(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size()) {
      const int hi = hexValue(static_cast<unsigned char>(text[i + 1]));
      const int lo = hexValue(static_cast<unsigned char>(text[i + 2]));
      if (hi >= 0 && lo >= 0) {
        out += static_cast<char>(hi * 16 + lo);
        i += 2;
        continue;
      }
    }
    out += text[i];
  }
  return out;
}
