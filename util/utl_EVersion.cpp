// EVersion: the three-part version number, its text form and order.
#define QUV_SOURCE_NAME "utl_EVersion"
#include <kelp/util/utl_EVersion.h>

#include <cstdio>

#include "util/utl_TextScan_impl.h"

namespace qor::quv::util {

using detail::isDigit;
using detail::isSpace;

namespace {

long readNumber(const char** p) {
  return detail::readBoundedNumber(p, 32767);
}

}  // namespace

EVersion::EVersion() {
  set(0, 0, 0);
}
EVersion::EVersion(const types::Version& other) : types::Version(other) {}
EVersion::EVersion(int major, int minor, int subMinor) {
  set(major, minor, subMinor);
}

EVersion& EVersion::operator=(const types::Version& other) {
  types::Version::operator=(other);
  return *this;
}

void EVersion::set(int major, int minor, int subMinor) {
  setMajor(major);
  setMinor(minor);
  setSubMinor(subMinor);
}

void EVersion::copy(types::Version* out, bool) const {
  if (out) *out = *this;
}

bool EVersion::parseString(const char* s, const char** end) {
  if (end) *end = s;
  if (!s) return false;
  const char* p = s;
  while (isSpace(*p)) ++p;
  long v[3];
  for (int i = 0; i < 3; ++i) {
    if (i > 0) {
      if (*p != '.' || !isDigit(p[1])) return false;
      ++p;
    }
    if (!isDigit(*p)) return false;
    v[i] = readNumber(&p);
    if (v[i] > 32767) return false;
  }
  if (end) {
    *end = p;
  } else {
    while (isSpace(*p)) ++p;
    if (*p) return false;
  }
  set(static_cast<int>(v[0]), static_cast<int>(v[1]), static_cast<int>(v[2]));
  return true;
}

int EVersion::compare(const types::Version& other) const {
  const int a[3] = {major, minor, subMinor};
  const int b[3] = {other.major, other.minor, other.subMinor};
  for (int i = 0; i < 3; ++i) {
    if (a[i] < b[i]) return -1;
    if (a[i] > b[i]) return 1;
  }
  return 0;
}

std::string EVersion::formatString() const {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%hd.%hd.%hd", major, minor, subMinor);
  return buf;
}

}  // namespace qor::quv::util
