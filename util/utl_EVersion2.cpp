// EVersion2: release versions with a maturity level, their text forms, order
// and common prefix.
#define QUV_SOURCE_NAME "utl_EVersion2"
#include <kelp/util/utl_EVersion2.h>

#include <cstdio>
#include <cstring>

#include "util/utl_TextScan_impl.h"

namespace qor::quv::util {

using detail::isDigit;
using detail::isSpace;

namespace {

long readNumber(const char** p) {
  return detail::readBoundedNumber(p, 32767);
}

// `word` at p followed by what `follows` accepts: moves p behind the word.
bool matchWord(const char** p, const char* word, bool (*follows)(const char*)) {
  std::size_t n = std::strlen(word);
  if (std::strncmp(*p, word, n) != 0 || !follows(*p + n)) return false;
  *p += n;
  return true;
}

const char* levelWord(int level) {
  switch (level) {
    case types::VL_ALPHA:
      return "alpha";
    case types::VL_BETA:
      return "beta";
    case types::VL_RC:
      return "rc";
    case types::VL_FINAL:
      return "final";
    default:
      return nullptr;
  }
}

}  // namespace

EVersion2::EVersion2() {
  setNull();
}
EVersion2::EVersion2(const types::Version2& other) : types::Version2(other) {}
EVersion2::EVersion2(int major, int minor, types::VersionLevel level, int patchLevel) {
  set(major, minor, level, patchLevel);
}

EVersion2& EVersion2::operator=(const types::Version2& other) {
  types::Version2::operator=(other);
  return *this;
}

void EVersion2::set(int major, int minor, types::VersionLevel level, int patchLevel) {
  setMajor(major);
  setMinor(minor);
  setLevel(level);
  setPatchLevel(patchLevel);
}

void EVersion2::setNull() {
  set(-1, -1, types::VL_UNSPECIFIED, -1);
}

bool EVersion2::isNull() const {
  return major == -1 && minor == -1 && level == -1 && getPatchLevel() == -1;
}

int EVersion2::getPrecision() const {
  if (major == -1) return 0;
  if (minor == -1) return 1;
  if (level == -1) return 2;
  if (getPatchLevel() == -1) return 3;
  return 4;
}

void EVersion2::copy(types::Version2* out, bool) const {
  if (out) *out = *this;
}

void EVersion2::merge(const types::Version2& other) {
  EVersion2 o(other);
  if (major != o.major)
    set(-1, -1, types::VL_UNSPECIFIED, -1);
  else if (minor != o.minor)
    set(major, -1, types::VL_UNSPECIFIED, -1);
  else if (level != o.level)
    set(major, minor, types::VL_UNSPECIFIED, -1);
  else if (patchLevel != o.patchLevel)
    setPatchLevel(-1);
}

bool EVersion2::endOfV(const char* p) {
  return !p || *p == '\0' || isSpace(*p);
}
bool EVersion2::endOfVT(const char* p) {
  return endOfV(p) || isDigit(*p);
}

bool EVersion2::parseString(const char* s, const char** end) {
  if (end) *end = s;
  if (!s) return false;
  const char* p = s;
  while (isSpace(*p)) ++p;
  if (!isDigit(*p)) return false;
  long vMajor = readNumber(&p);
  if (vMajor > 32767) return false;
  long vMinor = -1, vPatch = -1;
  int vLevel = types::VL_UNSPECIFIED;
  if (!(*p == '.' && isDigit(p[1]))) {
    // A bare major: only where the caller takes the rest of the text.
    if (!end) return false;
    *end = p;
    set(static_cast<int>(vMajor), -1, types::VL_UNSPECIFIED, -1);
    return true;
  }
  ++p;
  vMinor = readNumber(&p);
  if (vMinor > 32767) return false;
  if (matchWord(&p, "alpha", endOfVT) || matchWord(&p, "a", endOfVT))
    vLevel = types::VL_ALPHA;
  else if (matchWord(&p, "beta", endOfVT) || matchWord(&p, "b", endOfVT))
    vLevel = types::VL_BETA;
  else if (matchWord(&p, "rc", endOfVT))
    vLevel = types::VL_RC;
  else if (*p == '.' && isDigit(p[1])) {
    vLevel = types::VL_FINAL;
    ++p;
  } else if (matchWord(&p, "final", endOfV))
    vLevel = types::VL_FINAL;
  if (vLevel != types::VL_UNSPECIFIED && isDigit(*p)) {
    vPatch = readNumber(&p);
    if (vPatch > 32767) return false;
  }
  if (end) {
    *end = p;
  } else {
    while (isSpace(*p)) ++p;
    if (*p) return false;
  }
  set(static_cast<int>(vMajor), static_cast<int>(vMinor), static_cast<types::VersionLevel>(vLevel),
      static_cast<int>(vPatch));
  return true;
}

int EVersion2::cmp(int a, int b) {
  if (a < b) return a == -1 ? -1 : -2;
  if (a > b) return b == -1 ? 1 : 2;
  return 0;
}

int EVersion2::compare(const types::Version2& other) const {
  EVersion2 o(other);
  if (int r = cmp(major, o.major)) return r;
  if (int r = cmp(minor, o.minor)) return r;
  if (int r = cmp(level, o.level)) return r;
  return cmp(getPatchLevel(), o.getPatchLevel());
}

std::string EVersion2::formatString(int precision) const {
  int p = precision < getPrecision() ? precision : getPrecision();
  char buf[64];
  if (p < 2) {
    std::snprintf(buf, sizeof buf, "%d", major);
  } else if (p == 2) {
    std::snprintf(buf, sizeof buf, "%d.%d", major, minor);
  } else {
    const char* word = levelWord(level);
    if (!word) return std::string();
    if (p == 3)
      std::snprintf(buf, sizeof buf, "%d.%d%s", major, minor, word);
    else
      std::snprintf(buf, sizeof buf, "%d.%d%s%d", major, minor,
                    level == types::VL_FINAL ? "." : word, getPatchLevel());
  }
  return buf;
}

}  // namespace qor::quv::util
