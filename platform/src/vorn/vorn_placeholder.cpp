// Placeholder substitution for message templates ("%1", "%2" ...).
#include <vorn/vorn_placeholder.h>

#include <charconv>
#include <climits>

namespace vorn {

namespace {

struct Found {
  unsigned long number = ULONG_MAX;
  std::size_t digits = 0;  // length of the number's text
};

inline bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

// Reads the placeholder number starting at s[i] (just behind '%').
unsigned long readNumber(const std::string& s, std::size_t i, std::size_t& len) {
  unsigned long n = 0;
  len = 0;
  while (i + len < s.size() && isDigit(s[i + len])) {
    if (n < ULONG_MAX / 10) n = n * 10 + static_cast<unsigned long>(s[i + len] - '0');
    ++len;
  }
  return n;
}

}  // namespace

bool replacePlaceholder(std::string& tmpl, std::string_view text) {
  Found lowest;
  std::string lowestText;
  for (std::size_t p = tmpl.find('%'); p != std::string::npos; p = tmpl.find('%', p + 1)) {
    std::size_t len;
    unsigned long n = readNumber(tmpl, p + 1, len);
    if (len && n < lowest.number) {
      lowest.number = n;
      lowest.digits = len;
      lowestText.assign(tmpl, p, len + 1);
    }
  }
  if (!lowest.digits) return false;
  std::string out;
  out.reserve(tmpl.size() + text.size());
  std::size_t from = 0;
  for (std::size_t p = tmpl.find('%'); p != std::string::npos; p = tmpl.find('%', p + 1)) {
    std::size_t len;
    unsigned long n = readNumber(tmpl, p + 1, len);
    if (!len || n != lowest.number || tmpl.compare(p, len + 1, lowestText) != 0) continue;
    out.append(tmpl, from, p - from);
    out.append(text);
    from = p + len + 1;
    p = from - 1;
  }
  out.append(tmpl, from, std::string::npos);
  tmpl.swap(out);
  return true;
}

std::string& operator<<(std::string& s, const char* v) {
  replacePlaceholder(s, v ? std::string_view(v) : std::string_view());
  return s;
}

std::string& operator<<(std::string& s, const std::string& v) {
  replacePlaceholder(s, v);
  return s;
}

std::string& operator<<(std::string& s, int v) {
  char buf[16];
  auto r = std::to_chars(buf, buf + sizeof buf, v);
  replacePlaceholder(s, std::string_view(buf, static_cast<std::size_t>(r.ptr - buf)));
  return s;
}

std::string& operator<<(std::string& s, unsigned int v) {
  char buf[16];
  auto r = std::to_chars(buf, buf + sizeof buf, v);
  replacePlaceholder(s, std::string_view(buf, static_cast<std::size_t>(r.ptr - buf)));
  return s;
}

std::string& operator<<(std::string& s, bool v) {
  replacePlaceholder(s, v ? "true" : "false");
  return s;
}

}  // namespace vorn
