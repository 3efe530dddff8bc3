// kelp uuid: new random and name-based UUIDs, reading a UUID with its
// variant and version, and the compact base64 form (EUUID).
#include <cstdio>
#include <cstring>
#include <string>

#include <kelp/util/utl_EUUID.h>

#include "kelp_tool.h"

namespace {

using kelp::tool::Invocation;
using kelp::tool::ParsedArgs;
using qor::quv::util::EUUID;

constexpr const char kUuidHelp[] =
    "usage: kelp uuid new [--count N] [--compact | --base64]\n"
    "       kelp uuid from-name [--compact | --base64] NAMESPACE NAME\n"
    "       kelp uuid parse TEXT\n"
    "       kelp uuid base64 UUID\n"
    "       kelp uuid base64 --decode TEXT\n"
    "\n"
    "new        prints N (default 1) new random UUIDs, one a line.\n"
    "from-name  prints the name-based (version 5, SHA-1) UUID of NAME in\n"
    "           NAMESPACE: 'dns', 'url', 'oid', 'x500' or a UUID.\n"
    "parse      reads a UUID in its 36-character form (either case, blanks\n"
    "           around it allowed) and prints the canonical lower-case form,\n"
    "           its variant and its version; fails when TEXT is not a UUID.\n"
    "base64     prints the 22-character URL-safe base64 form of a UUID, or\n"
    "           with --decode the UUID of such a form.\n"
    "--compact writes the 32 hex digits without hyphens, --base64 the base64\n"
    "form.\n"
    "\n"
    "Exit status: 0 on success; 1 when TEXT is not a UUID (parse, base64\n"
    "--decode) or no UUID could be made; 2 on bad usage, such as an\n"
    "unreadable NAMESPACE or UUID operand.\n";

constexpr const char kBase64Alphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

// The namespaces that the name-based UUIDs of the common schemes use.
const struct {
  const char* name;
  const char* uuid;
} kNamespaces[] = {{"dns", "6ba7b810-9dad-11d1-80b4-00c04fd430c8"},
                   {"url", "6ba7b811-9dad-11d1-80b4-00c04fd430c8"},
                   {"oid", "6ba7b812-9dad-11d1-80b4-00c04fd430c8"},
                   {"x500", "6ba7b814-9dad-11d1-80b4-00c04fd430c8"}};

// The whole text is a UUID, blanks around it allowed.
bool parseWhole(const std::string& text, EUUID* out) {
  const char* end = nullptr;
  EUUID id;
  if (!id.parseString(text.c_str(), &end)) return false;
  while (*end == ' ' || (*end >= '\t' && *end <= '\r')) ++end;
  if (*end) return false;
  *out = id;
  return true;
}

std::string formatAs(const EUUID& id, const ParsedArgs& parsed) {
  if (parsed.has("base64")) return id.formatBase64();
  return id.formatString(parsed.has("compact"));
}

bool checkForm(const Invocation& inv, const ParsedArgs& parsed, int* status) {
  if (parsed.has("compact") && parsed.has("base64")) {
    *status = kelp::tool::usageError(inv, "--compact and --base64 exclude each other");
    return false;
  }
  return true;
}

int runNew(Invocation& inv) {
  ParsedArgs parsed;
  int status = 0;
  if (!kelp::tool::parseArgs(inv, 1, {{"count", true}, {"compact", false}, {"base64", false}},
                             parsed, &status) ||
      !kelp::tool::checkOperands(inv, parsed, 0, 0, &status) || !checkForm(inv, parsed, &status))
    return status;
  long count = 1;
  if (parsed.has("count") && !kelp::tool::parseInt(parsed.get("count"), 1, 1000000, &count))
    return kelp::tool::usageError(
        inv, "--count needs a whole number from 1 to 1000000, not '" + parsed.get("count") + "'");
  for (long i = 0; i < count; ++i) {
    EUUID id;
    if (!id.create()) return kelp::tool::failure(inv, "cannot make a UUID");
    std::fprintf(inv.out, "%s\n", formatAs(id, parsed).c_str());
  }
  return kelp::tool::kExitOk;
}

int runFromName(Invocation& inv) {
  ParsedArgs parsed;
  int status = 0;
  if (!kelp::tool::parseArgs(inv, 1, {{"compact", false}, {"base64", false}}, parsed, &status) ||
      !kelp::tool::checkOperands(inv, parsed, 2, 2, &status) || !checkForm(inv, parsed, &status))
    return status;
  const std::string& space = parsed.operands[0];
  const std::string& name = parsed.operands[1];
  EUUID nameSpace;
  bool known = false;
  for (const auto& ns : kNamespaces) {
    if (space == ns.name) {
      known = parseWhole(ns.uuid, &nameSpace);
      break;
    }
  }
  if (!known && !parseWhole(space, &nameSpace))
    return kelp::tool::usageError(
        inv, "the namespace '" + space + "' is neither dns, url, oid, x500 nor a UUID");
  EUUID id;
  if (!id.createFromName(nameSpace, name.data(), name.size()))
    return kelp::tool::failure(inv, "cannot make a UUID");
  std::fprintf(inv.out, "%s\n", formatAs(id, parsed).c_str());
  return kelp::tool::kExitOk;
}

const char* variantOf(const ZobUUID& u) {
  unsigned bits = u.clockSeqHiAndReserved;
  if ((bits & 0x80) == 0) return "NCS (reserved)";
  if ((bits & 0x40) == 0) return "RFC 4122";
  if ((bits & 0x20) == 0) return "Microsoft (reserved)";
  return "future (reserved)";
}

const char* versionName(unsigned version) {
  switch (version) {
    case 1:
      return "time-based";
    case 2:
      return "DCE security";
    case 3:
      return "name-based, MD5";
    case 4:
      return "random";
    case 5:
      return "name-based, SHA-1";
    case 6:
      return "reordered time-based";
    case 7:
      return "Unix time-based";
    case 8:
      return "custom";
    default:
      return "unknown";
  }
}

int runParse(Invocation& inv) {
  ParsedArgs parsed;
  int status = 0;
  if (!kelp::tool::parseArgs(inv, 1, {}, parsed, &status) ||
      !kelp::tool::checkOperands(inv, parsed, 1, 1, &status))
    return status;
  EUUID id;
  if (!parseWhole(parsed.operands[0], &id))
    return kelp::tool::failure(inv, "'" + parsed.operands[0] + "' is not a UUID");
  std::fprintf(inv.out, "%s\n", id.formatString().c_str());
  const ZobUUID& u = id.get();
  if (id.isNull()) {
    std::fputs("variant: none (the nil UUID)\n", inv.out);
    return kelp::tool::kExitOk;
  }
  std::fprintf(inv.out, "variant: %s\n", variantOf(u));
  if ((u.clockSeqHiAndReserved & 0xc0) == 0x80) {
    unsigned version = u.timeHiAndVersion >> 12;
    std::fprintf(inv.out, "version: %u (%s)\n", version, versionName(version));
  }
  return kelp::tool::kExitOk;
}

// The 16 bytes of a 22-character URL-safe base64 text; the unused low bits
// of the last character must be zero so that every UUID has one text.
bool decodeBase64(const std::string& text, unsigned char bytes[16]) {
  if (text.size() != 22) return false;
  unsigned bits = 0;
  int count = 0;
  int n = 0;
  for (char c : text) {
    const char* at = c ? std::strchr(kBase64Alphabet, c) : nullptr;
    if (!at) return false;
    bits = (bits << 6) | static_cast<unsigned>(at - kBase64Alphabet);
    count += 6;
    if (count >= 8) {
      count -= 8;
      bytes[n++] = static_cast<unsigned char>(bits >> count);
      bits &= (1u << count) - 1;
    }
  }
  return n == 16 && bits == 0;
}

int runBase64(Invocation& inv) {
  ParsedArgs parsed;
  int status = 0;
  if (!kelp::tool::parseArgs(inv, 1, {{"decode", false}}, parsed, &status) ||
      !kelp::tool::checkOperands(inv, parsed, 1, 1, &status))
    return status;
  const std::string& text = parsed.operands[0];
  if (!parsed.has("decode")) {
    EUUID id;
    if (!parseWhole(text, &id)) return kelp::tool::usageError(inv, "'" + text + "' is not a UUID");
    std::fprintf(inv.out, "%s\n", id.formatBase64().c_str());
    return kelp::tool::kExitOk;
  }
  unsigned char bytes[16];
  if (!decodeBase64(text, bytes))
    return kelp::tool::failure(inv, "'" + text + "' is not the base64 form of a UUID");
  // The bytes are in network order, as the text form writes them.
  std::string hex;
  for (int i = 0; i < 16; ++i) {
    char two[3];
    std::snprintf(two, sizeof two, "%02x", bytes[i]);
    hex += two;
    if (i == 3 || i == 5 || i == 7 || i == 9) hex += '-';
  }
  EUUID id;
  if (!parseWhole(hex, &id)) return kelp::tool::failure(inv, "cannot read back '" + hex + "'");
  std::fprintf(inv.out, "%s\n", id.formatString().c_str());
  return kelp::tool::kExitOk;
}

int run(Invocation& inv) {
  return kelp::tool::dispatch(
      inv,
      {{"new", runNew}, {"from-name", runFromName}, {"parse", runParse}, {"base64", runBase64}});
}

const kelp::tool::Family kUuid{"uuid", "new, name-based and parsed UUIDs; base64 forms", kUuidHelp,
                               run};
const kelp::tool::Registration reg(kUuid);

}  // namespace
