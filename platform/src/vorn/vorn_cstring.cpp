// Locale-independent number reading and C string literals.
#include <vorn/vorn_cstring.h>

#include <locale.h>
#include <clocale>
#include <cstdlib>

namespace {

// The classic locale as a locale object for strtod_l; created once (the
// initialisation of a function-local static is thread-safe) and kept for the
// life of the process.
locale_t classicLocale() {
  static const locale_t loc = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
  return loc;
}

bool isOctal(char c) {
  return c >= '0' && c <= '7';
}

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

double gParseCDouble(const char* s, const char** end) {
  if (!s) {
    if (end) *end = s;
    return 0.0;
  }
  char* e = nullptr;
  locale_t loc = classicLocale();
  double v = loc ? strtod_l(s, &e, loc) : std::strtod(s, &e);
  if (end) *end = e;
  return v;
}

std::string gConvertToCString(const char* data, std::size_t length) {
  static const char kOctal[] = "01234567";
  std::string out;
  out.reserve(length + 2);
  out += '"';
  for (std::size_t i = 0; i < length; ++i) {
    unsigned char c = static_cast<unsigned char>(data[i]);
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\a':
        out += "\\a";
        break;
      case '\b':
        out += "\\b";
        break;
      case '\t':
        out += "\\t";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\v':
        out += "\\v";
        break;
      case '\f':
        out += "\\f";
        break;
      case '\r':
        out += "\\r";
        break;
      default:
        if (c >= 0x20 && c <= 0x7e) {
          out += static_cast<char>(c);
        } else {
          // Always three digits, so that a following digit cannot join the
          // escape.
          out += '\\';
          out += kOctal[(c >> 6) & 7];
          out += kOctal[(c >> 3) & 7];
          out += kOctal[c & 7];
        }
    }
  }
  out += '"';
  return out;
}

std::string gConvertToCString(const std::string& bytes) {
  return gConvertToCString(bytes.data(), bytes.size());
}

bool gParseCString(const char* s, const char** end, std::string* out) {
  if (!s) return false;
  const char* p = s;
  while (*p == ' ' || (*p >= '\t' && *p <= '\r')) ++p;
  if (*p != '"') return false;
  ++p;
  std::string text;
  for (;;) {
    char c = *p;
    if (c == '\0') return false;  // no closing quote
    if (c == '"') {
      ++p;
      break;
    }
    if (c != '\\') {
      text += c;
      ++p;
      continue;
    }
    ++p;  // behind the backslash
    char e = *p++;
    switch (e) {
      case '"':
        text += '"';
        break;
      case '\'':
        text += '\'';
        break;
      case '?':
        text += '?';
        break;
      case '\\':
        text += '\\';
        break;
      case 'a':
        text += '\a';
        break;
      case 'b':
        text += '\b';
        break;
      case 'f':
        text += '\f';
        break;
      case 'n':
        text += '\n';
        break;
      case 'r':
        text += '\r';
        break;
      case 't':
        text += '\t';
        break;
      case 'v':
        text += '\v';
        break;
      case 'x': {
        int h = hexValue(*p);
        if (h < 0) return false;
        ++p;
        int h2 = hexValue(*p);
        if (h2 >= 0) {
          h = h * 16 + h2;
          ++p;
        }
        text += static_cast<char>(h);
        break;
      }
      default: {
        if (!isOctal(e)) return false;  // unknown escape, or the text ended
        int v = e - '0';
        for (int n = 1; n < 3 && isOctal(*p); ++n) v = v * 8 + (*p++ - '0');
        if (v > 255) return false;
        text += static_cast<char>(v);
      }
    }
  }
  if (out) out->swap(text);
  if (end) *end = p;
  return true;
}
