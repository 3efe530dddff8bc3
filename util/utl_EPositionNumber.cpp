// EPositionNumber: hierarchical item positions, their text form and order.
#include <kelp/util/utl_EPositionNumber.h>

namespace qor::quv::basket {

EPositionNumber EPositionNumber::top(int n) {
  return EPositionNumber().child(n);
}

int EPositionNumber::getNumber(int level) const {
  return level >= 0 && level < depth_ ? numbers_[static_cast<std::size_t>(level)] : 0;
}

EPositionNumber EPositionNumber::parent() const {
  if (depth_ <= 1) return EPositionNumber();
  EPositionNumber p(*this);
  p.numbers_[--p.depth_] = 0;
  return p;
}

EPositionNumber EPositionNumber::child(int n) const {
  if (depth_ >= MAX_LEVELS || n < 1 || n > MAX_NUMBER) return EPositionNumber();
  EPositionNumber c(*this);
  c.numbers_[c.depth_++] = static_cast<std::uint16_t>(n);
  return c;
}

EPositionNumber EPositionNumber::firstChild() const {
  return child(1);
}

EPositionNumber EPositionNumber::nextSibling() const {
  if (depth_ == 0 || numbers_[depth_ - 1u] >= MAX_NUMBER) return EPositionNumber();
  EPositionNumber n(*this);
  ++n.numbers_[depth_ - 1u];
  return n;
}

bool EPositionNumber::isBelow(const EPositionNumber& ancestor) const {
  if (ancestor.depth_ >= depth_) return false;
  for (int i = 0; i < ancestor.depth_; ++i)
    if (numbers_[static_cast<std::size_t>(i)] != ancestor.numbers_[static_cast<std::size_t>(i)])
      return false;
  return true;
}

bool EPositionNumber::parseString(const char* s, std::string* error) {
  auto fail = [&](const std::string& why) {
    if (error) *error = "position number '" + std::string(s ? s : "") + "' " + why;
    return false;
  };
  if (!s || !*s) {
    if (error) *error = "position number is empty";
    return false;
  }
  EPositionNumber p;
  for (const char* c = s;;) {
    if (*c < '0' || *c > '9') return fail("needs a number of 1 to 9999 at each level");
    long n = 0;
    for (; *c >= '0' && *c <= '9'; ++c)
      if ((n = n * 10 + (*c - '0')) > MAX_NUMBER) return fail("has a number beyond 9999");
    if (n == 0) return fail("has a level 0 (levels count from 1)");
    if (p.depth_ == MAX_LEVELS) return fail("has more than 8 levels");
    p.numbers_[p.depth_++] = static_cast<std::uint16_t>(n);
    if (*c == '\0') break;
    if (*c != '.') return fail("may hold only digits and '.'");
    ++c;
  }
  *this = p;
  return true;
}

std::string EPositionNumber::formatString() const {
  std::string s;
  for (int i = 0; i < depth_; ++i) {
    if (i) s += '.';
    s += std::to_string(numbers_[static_cast<std::size_t>(i)]);
  }
  return s;
}

int EPositionNumber::compare(const EPositionNumber& other) const {
  for (std::size_t i = 0; i < MAX_LEVELS; ++i) {
    // A missing level (0) sorts before every number: the parent first.
    if (numbers_[i] != other.numbers_[i]) return numbers_[i] < other.numbers_[i] ? -1 : 1;
  }
  return 0;
}

}  // namespace qor::quv::basket
