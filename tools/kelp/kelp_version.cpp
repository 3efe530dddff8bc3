// kelp version: comparing, merging and normalising version numbers, both
// release versions (EVersion2: "2.1b3") and three-part versions of data
// formats (EVersion: "1.2.3").
#include <cstdio>
#include <string>

#include <kelp/util/utl_EVersion.h>
#include <kelp/util/utl_EVersion2.h>

#include "kelp_tool.h"

namespace {

using kelp::tool::Invocation;
using kelp::tool::ParsedArgs;
using qor::quv::util::EVersion;
using qor::quv::util::EVersion2;

constexpr const char kVersionHelp[] =
    "usage: kelp version compare [--three-part] [--number] A B\n"
    "       kelp version merge VERSION...\n"
    "       kelp version format [--three-part] [--precision N] VERSION\n"
    "       kelp version parse [--three-part] VERSION\n"
    "\n"
    "A release version is major.minor, a maturity level and a patch level,\n"
    "of which trailing parts may be left open: '2', '2.1', '2.1alpha2',\n"
    "'2.1a2', '2.1beta', '2.1b3', '2.1rc1', '2.1final', '2.1.5' (final, patch\n"
    "5). With --three-part a version is major.minor.subminor ('1.2.3'), as\n"
    "data formats number theirs. Numbers go up to 32767.\n"
    "\n"
    "compare  prints '<', '=' or '>' as A sorts before, equal to or after B;\n"
    "         an open part sorts before every given one. With --number it\n"
    "         prints the comparison's number instead: -1, 0 or 1, and for\n"
    "         release versions -2 or 2 when they really differ and -1 or 1\n"
    "         when they differ only in that one of them leaves the deciding\n"
    "         part open ('2.1' against '2.1.5').\n"
    "merge    prints what the release versions have in common: from the first\n"
    "         part in which they differ on, every part is left open ('2.1.5'\n"
    "         and '2.1.7' give '2.1final').\n"
    "format   prints the version in its normal form, for a release version\n"
    "         at precision N (1 major, 2 minor, 3 level, 4 patch level, the\n"
    "         default) or at its own precision when that is smaller.\n"
    "parse    prints the parts of the version, one a line; fails when it\n"
    "         cannot be read.\n"
    "\n"
    "Exit status: 0 on success, whatever the order of A and B; 1 when parse\n"
    "cannot read its version or merge finds nothing in common; 2 on bad\n"
    "usage, such as a version that compare, merge or format cannot read.\n";

constexpr const char* kLevels[] = {"alpha", "beta", "rc", "final"};

bool isSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

// A whole release version; a bare major ("2") counts as one.
bool parseRelease(const std::string& text, EVersion2* out) {
  EVersion2 v;
  const char* end = nullptr;
  if (!v.parseString(text.c_str(), &end)) return false;
  while (isSpace(*end)) ++end;
  if (*end) return false;
  *out = v;
  return true;
}

bool parseThreePart(const std::string& text, EVersion* out) {
  EVersion v;
  if (!v.parseString(text.c_str(), nullptr)) return false;
  *out = v;
  return true;
}

int unreadable(const Invocation& inv, const std::string& text, bool threePart) {
  return kelp::tool::usageError(inv, "cannot read the " +
                                         std::string(threePart ? "three-part " : "release ") +
                                         "version '" + text + "'");
}

int runCompare(Invocation& inv) {
  ParsedArgs parsed;
  int status = 0;
  if (!kelp::tool::parseArgs(inv, 1, {{"three-part", false}, {"number", false}}, parsed, &status) ||
      !kelp::tool::checkOperands(inv, parsed, 2, 2, &status))
    return status;
  bool threePart = parsed.has("three-part");
  int result = 0;
  if (threePart) {
    EVersion a, b;
    for (int i = 0; i < 2; ++i)
      if (!parseThreePart(parsed.operands[i], i == 0 ? &a : &b))
        return unreadable(inv, parsed.operands[i], true);
    result = a.compare(b);
  } else {
    EVersion2 a, b;
    for (int i = 0; i < 2; ++i)
      if (!parseRelease(parsed.operands[i], i == 0 ? &a : &b))
        return unreadable(inv, parsed.operands[i], false);
    result = a.compare(b);
  }
  if (parsed.has("number"))
    std::fprintf(inv.out, "%d\n", result);
  else
    std::fprintf(inv.out, "%s\n", result < 0 ? "<" : result > 0 ? ">" : "=");
  return kelp::tool::kExitOk;
}

int runMerge(Invocation& inv) {
  ParsedArgs parsed;
  int status = 0;
  if (!kelp::tool::parseArgs(inv, 1, {}, parsed, &status) ||
      !kelp::tool::checkOperands(inv, parsed, 1, SIZE_MAX, &status))
    return status;
  EVersion2 merged;
  for (std::size_t i = 0; i < parsed.operands.size(); ++i) {
    EVersion2 v;
    if (!parseRelease(parsed.operands[i], &v)) return unreadable(inv, parsed.operands[i], false);
    if (i == 0)
      merged = v;
    else
      merged.merge(v);
  }
  if (merged.getPrecision() == 0)
    return kelp::tool::failure(inv, "the versions have nothing in common");
  std::fprintf(inv.out, "%s\n", merged.formatString(4).c_str());
  return kelp::tool::kExitOk;
}

int runFormat(Invocation& inv) {
  ParsedArgs parsed;
  int status = 0;
  if (!kelp::tool::parseArgs(inv, 1, {{"three-part", false}, {"precision", true}}, parsed,
                             &status) ||
      !kelp::tool::checkOperands(inv, parsed, 1, 1, &status))
    return status;
  const std::string& text = parsed.operands[0];
  if (parsed.has("three-part")) {
    if (parsed.has("precision"))
      return kelp::tool::usageError(inv, "--precision applies to release versions only");
    EVersion v;
    if (!parseThreePart(text, &v)) return unreadable(inv, text, true);
    std::fprintf(inv.out, "%s\n", v.formatString().c_str());
    return kelp::tool::kExitOk;
  }
  long precision = 4;
  if (parsed.has("precision") && !kelp::tool::parseInt(parsed.get("precision"), 1, 4, &precision))
    return kelp::tool::usageError(
        inv, "--precision needs a whole number from 1 to 4, not '" + parsed.get("precision") + "'");
  EVersion2 v;
  if (!parseRelease(text, &v)) return unreadable(inv, text, false);
  std::fprintf(inv.out, "%s\n", v.formatString(static_cast<int>(precision)).c_str());
  return kelp::tool::kExitOk;
}

int runParse(Invocation& inv) {
  ParsedArgs parsed;
  int status = 0;
  if (!kelp::tool::parseArgs(inv, 1, {{"three-part", false}}, parsed, &status) ||
      !kelp::tool::checkOperands(inv, parsed, 1, 1, &status))
    return status;
  const std::string& text = parsed.operands[0];
  if (parsed.has("three-part")) {
    EVersion v;
    if (!parseThreePart(text, &v))
      return kelp::tool::failure(inv, "'" + text + "' is not a three-part version");
    std::fprintf(inv.out, "major: %d\nminor: %d\nsubminor: %d\n", v.getMajor(), v.getMinor(),
                 v.getSubMinor());
    return kelp::tool::kExitOk;
  }
  EVersion2 v;
  if (!parseRelease(text, &v))
    return kelp::tool::failure(inv, "'" + text + "' is not a release version");
  auto part = [](int value) { return value < 0 ? std::string("open") : std::to_string(value); };
  int level = static_cast<int>(v.getLevel());
  std::fprintf(inv.out, "major: %s\nminor: %s\nlevel: %s\npatch level: %s\nprecision: %d\n",
               part(v.getMajor()).c_str(), part(v.getMinor()).c_str(),
               level >= 0 && level <= 3 ? kLevels[level] : "open", part(v.getPatchLevel()).c_str(),
               v.getPrecision());
  return kelp::tool::kExitOk;
}

int run(Invocation& inv) {
  return kelp::tool::dispatch(
      inv,
      {{"compare", runCompare}, {"merge", runMerge}, {"format", runFormat}, {"parse", runParse}});
}

const kelp::tool::Family kVersion{"version", "compare, merge and normalise version numbers",
                                  kVersionHelp, run};
const kelp::tool::Registration reg(kVersion);

}  // namespace
