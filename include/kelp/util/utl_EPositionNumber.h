/* qor::quv::basket::EPositionNumber: the position of an item in a basket's
 * tree, "1", "2.1", "2.1.3": 1 to 9999 per level, at most 8 levels.
 *
 * A plain copyable value; the default is the null position (no level), which
 * stands for the basket as a whole. Positions order numerically level by
 * level, a parent before its children ("2" < "2.1" < "2.10" < "3").
 *
 *   EPositionNumber p;
 *   std::string error;
 *   p.parseString("2.1", &error);          // true
 *   p.parent().formatString();             // "2"
 *   p.firstChild().formatString();         // "2.1.1"
 *   p.nextSibling().formatString();        // "2.2"
 *
 * Steps that would leave the range (a ninth level, a level beyond 9999, the
 * parent of a top-level position) give the null position. */
#ifndef KELP_UTIL_UTL_EPOSITIONNUMBER_H
#define KELP_UTIL_UTL_EPOSITIONNUMBER_H

#include <array>
#include <cstdint>
#include <string>

#include <kelp/kelp_api.h>

namespace qor::quv::basket {

class KELP_API EPositionNumber {
 public:
  static constexpr int MAX_LEVELS = 8;
  static constexpr int MAX_NUMBER = 9999;

  EPositionNumber() = default;
  /* A top-level position n (null when n is out of range). */
  static EPositionNumber top(int n);

  bool isNull() const { return depth_ == 0; }
  int getDepth() const { return depth_; }
  /* The number at `level` (0 is the top); 0 for a level it does not have. */
  int getNumber(int level) const;

  EPositionNumber parent() const;
  EPositionNumber firstChild() const;
  EPositionNumber nextSibling() const;
  /* A child with the given number (null when out of range). */
  EPositionNumber child(int n) const;
  /* True when this position lies strictly below `ancestor`. */
  bool isBelow(const EPositionNumber& ancestor) const;

  /* Reads the whole text; on failure an English message goes to *error
   * (when given) and the value stays. */
  bool parseString(const char* s, std::string* error);
  bool parseString(const std::string& s, std::string* error) {
    return parseString(s.c_str(), error);
  }
  /* "2.1.3"; the null position gives "". */
  std::string formatString() const;

  /* -1, 0 or 1 in tree order. */
  int compare(const EPositionNumber& other) const;
  bool operator==(const EPositionNumber& o) const { return compare(o) == 0; }
  bool operator!=(const EPositionNumber& o) const { return compare(o) != 0; }
  bool operator<(const EPositionNumber& o) const { return compare(o) < 0; }

 private:
  std::array<std::uint16_t, MAX_LEVELS> numbers_{};
  std::uint8_t depth_ = 0;
};

}  // namespace qor::quv::basket

#endif
