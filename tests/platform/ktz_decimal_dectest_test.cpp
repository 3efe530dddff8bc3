// The decimal runtime against the General Decimal Arithmetic test vectors for
// decimal128 (dq*.decTest) and decimal64 (dd*.decTest). The files are read
// as they are shipped; every case of an operation the runtime offers runs,
// and a case is skipped only for a reason named in the summary.
#include <ktz/ktz_decimal.h>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <cctype>
#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

using ktz::decimal::decimal128;
using ktz::decimal::decimal64;
using ktz::decimal::Rounding;

namespace {

const char* const kDataDir = "/usr/lib/python3.11/test/decimaltestdata";

// The runtime's functions by width.
struct Ops128 {
  using D = decimal128;
  static constexpr int kDigits = 34, kEmax = 6144, kEmin = -6143;
  static bool parse(const char* s, D* out) { return ktzDec128FromString(s, out); }
  static std::string text(const D& d) { return ktzDec128ToString(d); }
  static std::string eng(const D& d) { return ktzDec128ToEngString(d); }
  static D compare(const D& a, const D& b) { return ktzDec128Compare(a, b); }
  static D quantize(const D& a, const D& b) { return ktzDec128Quantize(a, b); }
  static D scaleB(const D& a, int n) { return ktzDec128ScaleB(a, n); }
  static D reduce(const D& a) { return ktzDec128Reduce(a); }
  static D copySign(const D& a, const D& b) { return ktzDec128CopySign(a, b); }
  static D roundExact(const D& a) { return ktzDec128RoundExact(a); }
  static D roundIntegral(const D& a, Rounding r) { return ktzDec128RoundIntegral(a, r); }
  static D ceil(const D& a) { return ktzDec128Ceil(a); }
  static D floor(const D& a) { return ktzDec128Floor(a); }
  static D down(const D& a) { return ktzDec128RoundDown(a); }
  static D halfUp(const D& a) { return ktzDec128RoundHalfUp(a); }
};

struct Ops64 {
  using D = decimal64;
  static constexpr int kDigits = 16, kEmax = 384, kEmin = -383;
  static bool parse(const char* s, D* out) { return ktzDec64FromString(s, out); }
  static std::string text(const D& d) { return ktzDec64ToString(d); }
  static std::string eng(const D& d) { return ktzDec64ToEngString(d); }
  static D compare(const D& a, const D& b) { return ktzDec64Compare(a, b); }
  static D quantize(const D& a, const D& b) { return ktzDec64Quantize(a, b); }
  static D scaleB(const D& a, int n) { return ktzDec64ScaleB(a, n); }
  static D reduce(const D& a) { return ktzDec64Reduce(a); }
  static D copySign(const D& a, const D& b) { return ktzDec64CopySign(a, b); }
  static D roundExact(const D& a) { return ktzDec64RoundExact(a); }
  static D roundIntegral(const D& a, Rounding r) { return ktzDec64RoundIntegral(a, r); }
  static D ceil(const D& a) { return ktzDec64Ceil(a); }
  static D floor(const D& a) { return ktzDec64Floor(a); }
  static D down(const D& a) { return ktzDec64RoundDown(a); }
  static D halfUp(const D& a) { return ktzDec64RoundHalfUp(a); }
};

// Splits a test line into its tokens; quoted tokens lose their quotes (a
// doubled quote inside stands for one). Comments start with "--".
std::vector<std::string> tokenize(const std::string& line) {
  std::vector<std::string> out;
  size_t i = 0;
  while (i < line.size()) {
    const char c = line[i];
    if (std::isspace(static_cast<unsigned char>(c))) {
      ++i;
    } else if (c == '-' && i + 1 < line.size() && line[i + 1] == '-') {
      break;
    } else if (c == '\'' || c == '"') {
      std::string tok;
      ++i;
      while (i < line.size()) {
        if (line[i] == c) {
          if (i + 1 < line.size() && line[i + 1] == c) {
            tok.push_back(c);
            i += 2;
            continue;
          }
          ++i;
          break;
        }
        tok.push_back(line[i++]);
      }
      out.push_back(tok);
    } else {
      std::string tok;
      while (i < line.size() && !std::isspace(static_cast<unsigned char>(line[i]))) {
        tok.push_back(line[i++]);
      }
      out.push_back(tok);
    }
  }
  return out;
}

std::string lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

bool roundingByName(const std::string& name, Rounding* out) {
  static const std::map<std::string, Rounding> kNames = {
      {"half_even", Rounding::HalfEven}, {"half_up", Rounding::HalfUp},
      {"half_down", Rounding::HalfDown}, {"up", Rounding::Up},
      {"down", Rounding::Down},          {"ceiling", Rounding::Ceiling},
      {"floor", Rounding::Floor},        {"05up", Rounding::ZeroFiveUp}};
  const auto it = kNames.find(lower(name));
  if (it == kNames.end()) return false;
  *out = it->second;
  return true;
}

// Whether a finite numeric operand is held exactly by a format of `digits`
// digits and the given exponent range (operands that the format would round
// test a different value than the case means).
bool exactInFormat(const std::string& s, int digits, int emax, int emin) {
  size_t i = 0;
  if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
  std::string coef;
  long exp = 0;
  bool point = false;
  for (; i < s.size(); ++i) {
    const char c = s[i];
    if (std::isdigit(static_cast<unsigned char>(c))) {
      coef.push_back(c);
      if (point) --exp;
    } else if (c == '.') {
      point = true;
    } else if (c == 'e' || c == 'E') {
      exp += std::strtol(s.c_str() + i + 1, nullptr, 10);
      break;
    } else {
      return true;  // Infinity, NaN: no rounding
    }
  }
  const size_t nz = coef.find_first_not_of('0');
  if (nz == std::string::npos) {
    return exp >= emin - digits + 1;  // zeros clamp exactly but not below Etiny
  }
  coef.erase(0, nz);
  int n = static_cast<int>(coef.size());
  // Trailing zeros may be given up to keep the exponent in range.
  while (n > digits && coef[static_cast<size_t>(n) - 1] == '0') {
    --n;
    ++exp;
  }
  const long etiny = emin - digits + 1;
  const long etop = emax - digits + 1;
  if (exp < etiny) return false;
  if (exp > etop) n += static_cast<int>(exp - etop);
  return n <= digits;
}

struct Tally {
  int total = 0;
  int passed = 0;
  std::map<std::string, int> skipped;  // by reason
  std::vector<std::string> failures;
};

template <class Ops>
class DecTestRunner {
 public:
  using D = typename Ops::D;

  void runFile(const std::string& path, Tally* tally) {
    std::ifstream in(path);
    ASSERT_TRUE(in) << path;
    std::string line;
    ktzDecSetRounding(Rounding::HalfEven);
    while (std::getline(in, line)) {
      const std::vector<std::string> tok = tokenize(line);
      if (tok.empty()) continue;
      if (tok.size() >= 2 && tok[0].back() == ':') {
        directive(lower(tok[0].substr(0, tok[0].size() - 1)), tok[1]);
        continue;
      }
      runCase(tok, tally);
    }
    ktzDecSetRounding(Rounding::HalfEven);
  }

 private:
  void directive(const std::string& key, const std::string& value) {
    if (key == "precision") contextMatches_["precision"] = std::stoi(value) == Ops::kDigits;
    if (key == "maxexponent") contextMatches_["maxexponent"] = std::stoi(value) == Ops::kEmax;
    if (key == "minexponent") contextMatches_["minexponent"] = std::stoi(value) == Ops::kEmin;
    if (key == "clamp") contextMatches_["clamp"] = value == "1";
    if (key == "rounding") {
      roundingKnown_ = roundingByName(value, &rounding_);
    }
  }

  bool contextIsFormat() const {
    for (const auto& [key, ok] : contextMatches_) {
      if (!ok) return false;
    }
    return true;
  }

  void runCase(const std::vector<std::string>& tok, Tally* tally) {
    // id operation operand... -> result [conditions]
    size_t arrow = 0;
    while (arrow < tok.size() && tok[arrow] != "->") ++arrow;
    if (arrow >= tok.size() || arrow < 3 || arrow + 1 >= tok.size()) return;
    const std::string& id = tok[0];
    const std::string op = lower(tok[1]);
    const std::vector<std::string> args(tok.begin() + 2, tok.begin() + static_cast<long>(arrow));
    const std::string& expected = tok[arrow + 1];
    ++tally->total;
    auto skip = [&](const std::string& reason) { ++tally->skipped[reason]; };

    static const std::map<std::string, size_t> kArity = {
        {"add", 2},      {"subtract", 2},    {"multiply", 2},  {"divide", 2},   {"compare", 2},
        {"quantize", 2}, {"scaleb", 2},      {"reduce", 1},    {"copysign", 2}, {"tosci", 1},
        {"toeng", 1},    {"tointegralx", 1}, {"tointegral", 1}};
    const auto arity = kArity.find(op);
    if (arity == kArity.end()) return skip("operation '" + op + "' is not offered");
    if (!contextIsFormat()) return skip("context other than the format's own");
    if (!roundingKnown_) return skip("unknown rounding");
    if (args.size() != arity->second) return skip("malformed case");
    for (const std::string& a : args) {
      if (!a.empty() && a[0] == '#') return skip("operand given as a DPD encoding");
    }
    if (expected == "?") return skip("result left undefined by the test");
    if (!expected.empty() && expected[0] == '#') return skip("result given as a DPD encoding");

    ktzDecSetRounding(rounding_);
    std::string got;
    if (op == "tosci") {
      D d;
      got = Ops::parse(args[0].c_str(), &d) ? Ops::text(d) : std::string("NaN");
    } else if (op == "toeng") {
      D d;
      got = Ops::parse(args[0].c_str(), &d) ? Ops::eng(d) : std::string("NaN");
    } else {
      std::vector<D> v(args.size());
      for (size_t i = 0; i < args.size(); ++i) {
        if (!exactInFormat(args[i], Ops::kDigits, Ops::kEmax, Ops::kEmin)) {
          return skip("operand not exact in the format");
        }
        if (!Ops::parse(args[i].c_str(), &v[i])) return skip("operand not exact in the format");
      }
      if (op == "add") got = Ops::text(v[0] + v[1]);
      if (op == "subtract") got = Ops::text(v[0] - v[1]);
      if (op == "multiply") got = Ops::text(v[0] * v[1]);
      if (op == "divide") got = Ops::text(v[0] / v[1]);
      if (op == "compare") got = Ops::text(Ops::compare(v[0], v[1]));
      if (op == "quantize") got = Ops::text(Ops::quantize(v[0], v[1]));
      if (op == "reduce") got = Ops::text(Ops::reduce(v[0]));
      if (op == "copysign") got = Ops::text(Ops::copySign(v[0], v[1]));
      if (op == "scaleb") {
        // The runtime takes the scale as a machine integer; the test's other
        // second operands (NaNs, fractions, out of range) have no equivalent.
        const std::string& n = args[1];
        char* end = nullptr;
        const long k = std::strtol(n.c_str(), &end, 10);
        const bool plainInt =
            !n.empty() && *end == '\0' && n.find_first_not_of("+-0123456789") == std::string::npos;
        const long limit = 2L * (Ops::kEmax + Ops::kDigits);
        if (!plainInt || k > limit || k < -limit) {
          return skip("scale not a machine integer within the range");
        }
        got = Ops::text(Ops::scaleB(v[0], static_cast<int>(k)));
      }
      if (op == "tointegralx" || op == "tointegral") {
        got = Ops::text(Ops::roundExact(v[0]));
        // The directed forms must agree with the exact rounding in their
        // own direction.
        const std::string byMode = Ops::text(Ops::roundIntegral(v[0], rounding_));
        if (byMode != got) got = "RoundIntegral gave " + byMode + ", RoundExact " + got;
        std::string named;
        if (rounding_ == Rounding::Ceiling) named = Ops::text(Ops::ceil(v[0]));
        if (rounding_ == Rounding::Floor) named = Ops::text(Ops::floor(v[0]));
        if (rounding_ == Rounding::Down) named = Ops::text(Ops::down(v[0]));
        if (rounding_ == Rounding::HalfUp) named = Ops::text(Ops::halfUp(v[0]));
        if (!named.empty() && named != got) got = "named rounding gave " + named;
      }
    }
    ktzDecSetRounding(Rounding::HalfEven);
    if (got == expected) {
      ++tally->passed;
    } else {
      std::string line = id + " " + op;
      for (const std::string& a : args) line += " '" + a + "'";
      tally->failures.push_back(line + " -> " + expected + " but got " + got);
    }
  }

  std::map<std::string, bool> contextMatches_;
  Rounding rounding_ = Rounding::HalfEven;
  bool roundingKnown_ = true;
};

const char* const kFiles[] = {"Base",     "Add",    "Subtract", "Multiply",   "Divide",  "Compare",
                              "Quantize", "ScaleB", "Reduce",   "ToIntegral", "CopySign"};

template <class Ops>
void runAll(const char* prefix) {
  struct stat st;
  if (stat(kDataDir, &st) != 0) {
    GTEST_SKIP() << "test vectors not installed (" << kDataDir
                 << "; package libpython3.11-testsuite)";
  }
  for (const char* name : kFiles) {
    const std::string file = std::string(prefix) + name + ".decTest";
    SCOPED_TRACE(file);
    Tally tally;
    DecTestRunner<Ops>().runFile(std::string(kDataDir) + "/" + file, &tally);
    int skipped = 0;
    for (const auto& [reason, n] : tally.skipped) skipped += n;
    std::printf("%-20s %4d/%4d passed, %d skipped\n", file.c_str(), tally.passed,
                tally.total - skipped, skipped);
    for (const auto& [reason, n] : tally.skipped)
      std::printf("    skipped %4d: %s\n", n, reason.c_str());
    for (const std::string& f : tally.failures) ADD_FAILURE() << f;
    EXPECT_EQ(tally.passed + skipped, tally.total);
    EXPECT_GT(tally.passed, 0);
  }
}

TEST(DecTest, Decimal128) {
  runAll<Ops128>("dq");
}
TEST(DecTest, Decimal64) {
  runAll<Ops64>("dd");
}

}  // namespace
