// kelp registry: reading and editing the settings of the registry database
// (Registry, RegNode): typed values under a tree of keys in the current
// user's or the local machine's hive.
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <list>
#include <string>
#include <utility>
#include <vector>

#include <kelp/util/utl_Funcs.h>
#include <kelp/util/utl_RegNode.h>
#include <kelp/util/utl_Registry.h>
#include <zob/zob_regdb.h>
#include <zob/zob_result.h>

#include "kelp_tool.h"

namespace {

using kelp::tool::Invocation;
using kelp::tool::OptionSpec;
using kelp::tool::ParsedArgs;
using qor::quv::util::Funcs;
using qor::quv::util::Registry;
using qor::quv::util::RegNode;
namespace regdb = zob::regdb;

constexpr const char kRegistryHelp[] =
    "usage: kelp registry get [--dir DIR] [--machine] KEY NAME\n"
    "       kelp registry set [--dir DIR] [--machine] [--type TYPE] KEY NAME VALUE...\n"
    "       kelp registry list [--dir DIR] [--machine] [--recursive] [KEY]\n"
    "       kelp registry delete [--dir DIR] [--machine] [--recursive] KEY [NAME]\n"
    "\n"
    "Settings are typed values under a tree of keys. KEY is a path of key\n"
    "names separated by '/' ('Brindlecraft/QUV/Basket'; '/' alone is the\n"
    "root); key and value names are 1 to 255 bytes without '/'. The current\n"
    "user's hive is used, or with --machine the local machine's. The hive\n"
    "files lie in DIR, else in $KELP_REGISTRY_DIR, else in ~/.config/kelp\n"
    "(the user's) and /var/lib/kelp (the machine's).\n"
    "\n"
    "get     prints the value NAME of KEY: a string as it is, a number in\n"
    "        decimal, a list one item a line, bytes in hex.\n"
    "set     stores the value NAME in KEY, making missing keys. TYPE is\n"
    "        string (the default), int32, int64, bool (true, false, 1, 0),\n"
    "        bytes (hex digits) or list (every VALUE one item, none for an\n"
    "        empty list); other types take one VALUE. Write '--' before a\n"
    "        VALUE that starts with '-' and a letter.\n"
    "list    prints the subkeys of KEY (the root by default) as 'NAME/' and\n"
    "        its values as 'NAME (TYPE) = VALUE' (a list has one VALUE for\n"
    "        each item, none when empty); with --recursive the subkeys'\n"
    "        contents too, with their paths. Names and values are quoted as\n"
    "        'kelp cmdline join' quotes arguments ('my key/', 'a b', \"it's\"),\n"
    "        so that 'kelp cmdline split' reads every line back into its\n"
    "        words; a line break in a name or value stays inside its quotes\n"
    "        and never starts a line of its own. An entry that cannot be\n"
    "        quoted so (a single quote together with a double quote or a\n"
    "        backslash) is left out and reported.\n"
    "delete  deletes the value NAME of KEY, or without NAME the key KEY with\n"
    "        its values; a key with subkeys needs --recursive.\n"
    "\n"
    "Exit status: 0 on success; 1 when a key or value is missing, a key is\n"
    "not empty, an entry cannot be listed, or the hive cannot be read or\n"
    "written; 2 on bad usage.\n";

const std::vector<OptionSpec> kHiveOptions = {{"dir", true}, {"machine", false}};

std::vector<OptionSpec> withHiveOptions(std::vector<OptionSpec> more) {
  more.insert(more.end(), kHiveOptions.begin(), kHiveOptions.end());
  return more;
}

bool validName(const std::string& name) {
  return !name.empty() && name.size() <= regdb::kMaxNameLength &&
         name.find('/') == std::string::npos && name.find('\0') == std::string::npos;
}

// Splits "A/B/C" (leading and trailing "/" ignored; "/" is the root).
bool splitKey(const std::string& path, std::vector<std::string>* parts) {
  std::size_t begin = path.find_first_not_of('/');
  std::size_t end = path.find_last_not_of('/');
  if (begin == std::string::npos) return true;
  std::string inner = path.substr(begin, end - begin + 1);
  std::size_t at = 0;
  for (;;) {
    std::size_t slash = inner.find('/', at);
    std::string part = inner.substr(at, slash == std::string::npos ? slash : slash - at);
    if (!validName(part)) return false;
    parts->push_back(part);
    if (slash == std::string::npos) return true;
    at = slash + 1;
  }
}

std::string joinKey(const std::vector<std::string>& parts, std::size_t count) {
  std::string path;
  for (std::size_t i = 0; i < count; ++i) path += (i ? "/" : "") + parts[i];
  return path.empty() ? "/" : path;
}

// One open hive of one run: the database, and where messages say it is.
class Hive {
 public:
  Hive(const Invocation& inv, const ParsedArgs& parsed)
      : inv_(inv), machine_(parsed.has("machine")) {
    // The database looks the folder up when it first opens a hive.
    if (parsed.has("dir")) setenv("KELP_REGISTRY_DIR", parsed.get("dir").c_str(), 1);
  }
  Hive(const Hive&) = delete;
  Hive& operator=(const Hive&) = delete;

  const char* name() const {
    return machine_ ? "the local machine's registry" : "the current user's registry";
  }

  enum Mode { kRead, kWrite, kCreate };

  /* Opens the key `parts` for reading, for writing, or for writing with
   * missing keys made; on failure the message is out and *status set.
   * *missing (when given) tells a missing key or hive from other failures,
   * and then nothing is reported. */
  bool open(const std::vector<std::string>& parts, Mode mode, RegNode* out, int* status,
            bool* missing = nullptr) {
    const bool create = mode == kCreate;
    if (missing) *missing = false;
    if (!registry_) {
      registry_ = zob::Ref<regdb::IRegistry>::adopt(Registry::getRegistry(inv_.app));
      if (!registry_) return fail("cannot make the registry database", status);
    }
    int key = 0;
    ZResult r = registry_->openRoot(machine_ ? regdb::kLocalMachine : regdb::kCurrentUser,
                                    mode == kRead ? regdb::kAccessRead : regdb::kAccessAll, &key);
    if (EFAILED(r)) {
      // Reading a hive that was never written finds nothing in it.
      if (r == zob::kNotFound && !create) return notFound(parts, 0, status, missing);
      return fail(std::string("cannot open ") + name() + ": " + zobStrError(r), status);
    }
    for (std::size_t i = 0; i < parts.size(); ++i) {
      int child = 0;
      r = create ? registry_->createKey(key, parts[i].c_str(), &child, nullptr)
                 : registry_->openKey(key, parts[i].c_str(), &child);
      registry_->closeKey(key);
      if (EFAILED(r)) {
        if (r == zob::kNotFound && !create) return notFound(parts, i + 1, status, missing);
        return fail(
            "cannot open key '" + joinKey(parts, i + 1) + "' in " + name() + ": " + zobStrError(r),
            status);
      }
      key = child;
    }
    *out = RegNode(inv_.app, registry_.get(), key, joinKey(parts, parts.size()));
    return true;
  }

  bool fail(const std::string& message, int* status) {
    *status = kelp::tool::failure(inv_, message);
    return false;
  }

 private:
  bool notFound(const std::vector<std::string>& parts, std::size_t upTo, int* status,
                bool* missing) {
    if (missing) {
      *missing = true;
      return false;
    }
    if (parts.empty()) return fail(std::string("cannot open ") + name() + ": it is empty", status);
    return fail("no key '" + joinKey(parts, upTo == 0 ? parts.size() : upTo) + "' in " + name(),
                status);
  }

  const Invocation& inv_;
  bool machine_;
  zob::Ref<regdb::IRegistry> registry_;
};

std::string hex(const unsigned char* data, std::size_t size) {
  static const char kDigits[] = "0123456789abcdef";
  std::string out;
  for (std::size_t i = 0; i < size; ++i) {
    out += kDigits[data[i] >> 4];
    out += kDigits[data[i] & 15];
  }
  return out;
}

const char* typeName(regdb::ValueType type) {
  switch (type) {
    case regdb::kTypeBytes:
      return "bytes";
    case regdb::kTypeInt32:
      return "int32";
    case regdb::kTypeInt64:
      return "int64";
    case regdb::kTypeString:
      return "string";
    case regdb::kTypeStringList:
      return "list";
  }
  return "unknown";
}

// The value as words: one for each item of a list, else one.
std::vector<std::string> valueWords(const regdb::Value& v) {
  switch (v.type) {
    case regdb::kTypeBytes:
      return {hex(v.u.bytes.data, v.u.bytes.length)};
    case regdb::kTypeInt32:
      return {std::to_string(v.u.i32)};
    case regdb::kTypeInt64:
      return {std::to_string(v.u.i64)};
    case regdb::kTypeString:
      return {v.u.str};
    case regdb::kTypeStringList:
      return std::vector<std::string>(v.u.list.buffer, v.u.list.buffer + v.u.list.length);
  }
  return {};
}

// The value as `get` prints it: a list one item a line (the caller adds
// the last line break).
std::string valueText(const regdb::Value& v) {
  std::string out;
  for (const std::string& word : valueWords(v)) out += (out.empty() ? "" : "\n") + word;
  return out;
}

// One line of `list`: the words quoted by the library's command-line
// rules, so that a name or value can never pass for a line of its own.
// False when the quoting would not read back as the same words.
bool listLine(const Invocation& inv, const std::vector<std::string>& words) {
  const std::string line = Funcs::joinCommandLine(words);
  std::vector<std::string> back;
  Funcs::splitCommandLine(line, &back);
  if (back != words) return false;
  std::fprintf(inv.out, "%s\n", line.c_str());
  return true;
}

// Fetches a value through the database of an open node.
ZResult fetch(const RegNode& node, const std::string& name, regdb::Value* out) {
  return node.getRegistry()->getValue(node.getKey(), name.c_str(), out);
}

bool parseCommon(Invocation& inv, std::vector<OptionSpec> specs, std::size_t min, std::size_t max,
                 ParsedArgs* parsed, std::vector<std::string>* key, int* status) {
  if (!kelp::tool::parseArgs(inv, 1, withHiveOptions(std::move(specs)), *parsed, status) ||
      !kelp::tool::checkOperands(inv, *parsed, min, max, status))
    return false;
  if (parsed->has("dir") && parsed->get("dir").empty()) {
    *status = kelp::tool::usageError(inv, "--dir needs a folder");
    return false;
  }
  if (!parsed->operands.empty() && !splitKey(parsed->operands[0], key)) {
    *status = kelp::tool::usageError(inv, "invalid key path '" + parsed->operands[0] + "'");
    return false;
  }
  if (parsed->operands.size() > 1 && !validName(parsed->operands[1])) {
    *status = kelp::tool::usageError(inv, "invalid value name '" + parsed->operands[1] + "'");
    return false;
  }
  return true;
}

int runGet(Invocation& inv) {
  ParsedArgs parsed;
  std::vector<std::string> key;
  int status = 0;
  if (!parseCommon(inv, {}, 2, 2, &parsed, &key, &status)) return status;
  Hive hive(inv, parsed);
  RegNode node;
  if (!hive.open(key, Hive::kRead, &node, &status)) return status;
  const std::string& name = parsed.operands[1];
  regdb::Value v{};
  ZResult r = fetch(node, name, &v);
  if (r == zob::kNotFound)
    return kelp::tool::failure(inv,
                               "no value '" + name + "' in key '" + joinKey(key, key.size()) + "'");
  if (EFAILED(r))
    return kelp::tool::failure(inv, "cannot read value '" + name + "': " + zobStrError(r));
  std::string text = valueText(v);
  bool emptyList = v.type == regdb::kTypeStringList && v.u.list.length == 0;
  zobRegFreeValue(&v);
  if (!emptyList) std::fprintf(inv.out, "%s\n", text.c_str());
  return kelp::tool::kExitOk;
}

bool parseHexBytes(const std::string& text, std::string* out) {
  if (text.size() % 2) return false;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    long byte = 0;
    std::string two = text.substr(i, 2);
    char* end = nullptr;
    byte = std::strtol(two.c_str(), &end, 16);
    if (*end || !std::isxdigit(static_cast<unsigned char>(two[0]))) return false;
    out->push_back(static_cast<char>(byte));
  }
  return true;
}

int runSet(Invocation& inv) {
  ParsedArgs parsed;
  std::vector<std::string> key;
  int status = 0;
  if (!parseCommon(inv, {{"type", true}}, 2, SIZE_MAX, &parsed, &key, &status)) return status;
  const std::string type = parsed.get("type", "string");
  const std::string& name = parsed.operands[1];
  std::vector<std::string> values(parsed.operands.begin() + 2, parsed.operands.end());
  if (type != "list" && values.size() != 1)
    return kelp::tool::usageError(
        inv, values.empty() ? "missing VALUE" : "a " + type + " takes one VALUE");
  // Check the value before anything is made in the hive.
  long number = 0;
  bool flag = false;
  std::string bytes;
  if (type == "int32") {
    if (!kelp::tool::parseInt(values[0], INT32_MIN, INT32_MAX, &number))
      return kelp::tool::usageError(inv, "'" + values[0] + "' is not a 32-bit integer");
  } else if (type == "int64") {
    if (!kelp::tool::parseInt(values[0], INT64_MIN, INT64_MAX, &number))
      return kelp::tool::usageError(inv, "'" + values[0] + "' is not a 64-bit integer");
  } else if (type == "bool") {
    if (values[0] == "true" || values[0] == "1")
      flag = true;
    else if (values[0] != "false" && values[0] != "0")
      return kelp::tool::usageError(inv, "'" + values[0] + "' is not true, false, 1 or 0");
  } else if (type == "bytes") {
    if (!parseHexBytes(values[0], &bytes))
      return kelp::tool::usageError(inv, "'" + values[0] + "' is not an even number of hex digits");
  } else if (type != "string" && type != "list") {
    return kelp::tool::usageError(
        inv, "unknown type '" + type + "' (one of string, int32, int64, bool, bytes, list)");
  }
  Hive hive(inv, parsed);
  RegNode node;
  if (!hive.open(key, Hive::kCreate, &node, &status)) return status;
  bool ok = false;
  const char* n = name.c_str();
  if (type == "int32")
    ok = node.put(n, static_cast<int>(number));
  else if (type == "int64")
    ok = node.put(n, number);
  else if (type == "bool")
    ok = node.put(n, flag);
  else if (type == "bytes")
    ok = node.put(n, bytes.data(), bytes.size());
  else if (type == "list")
    ok = node.put(n, std::list<std::string>(values.begin(), values.end()));
  else
    ok = node.put(n, values[0]);
  if (!ok)
    return kelp::tool::failure(inv, "cannot store value '" + name + "' in key '" +
                                        joinKey(key, key.size()) +
                                        "' (KELP_LOG=debug shows the reason)");
  return kelp::tool::kExitOk;
}

// Lists one key (and with `recursive` its subkeys); an entry that cannot
// be listed is reported, left out, and clears *complete.
bool listKey(Invocation& inv, const RegNode& node, const std::string& prefix, bool recursive,
             int* status, bool* complete) {
  std::list<std::string> keys, values;
  if (!node.listNodes(&keys) || !node.listValues(&values)) {
    *status = kelp::tool::failure(inv, "cannot list key '" + node.getPath() + "'");
    return false;
  }
  int unlisted = 0;
  for (const std::string& k : keys)
    if (!listLine(inv, {prefix + k + "/"})) ++unlisted;
  for (const std::string& name : values) {
    regdb::Value v{};
    ZResult r = fetch(node, name, &v);
    if (EFAILED(r)) {
      *status = kelp::tool::failure(
          inv, "cannot read value " + Funcs::joinCommandLine({name}) + ": " + zobStrError(r));
      return false;
    }
    std::vector<std::string> words{prefix + name, std::string("(") + typeName(v.type) + ")", "="};
    for (std::string& w : valueWords(v)) words.push_back(std::move(w));
    zobRegFreeValue(&v);
    if (!listLine(inv, words)) ++unlisted;
  }
  // The path as given (a child's node path starts with the root's "/").
  const std::string keyPath = prefix.empty() ? node.getPath() : prefix.substr(0, prefix.size() - 1);
  if (unlisted > 0)
    kelp::tool::failure(inv, std::to_string(unlisted) + (unlisted == 1 ? " entry" : " entries") +
                                 " of key " + Funcs::joinCommandLine({keyPath}) +
                                 " left out: a single quote together with a double quote or a "
                                 "backslash cannot be quoted so that it reads back");
  *complete = *complete && unlisted == 0;
  if (!recursive) return true;
  for (const std::string& k : keys) {
    RegNode child = node.open(k.c_str());
    if (!child.isOpen()) {
      *status = kelp::tool::failure(inv, "cannot open key '" + prefix + k + "'");
      return false;
    }
    if (!listKey(inv, child, prefix + k + "/", true, status, complete)) return false;
  }
  return true;
}

int runList(Invocation& inv) {
  ParsedArgs parsed;
  std::vector<std::string> key;
  int status = 0;
  if (!parseCommon(inv, {{"recursive", false}}, 0, 1, &parsed, &key, &status)) return status;
  Hive hive(inv, parsed);
  RegNode node;
  bool missing = false;
  if (!hive.open(key, Hive::kRead, &node, &status, &missing)) {
    // An empty hive has an empty root.
    if (missing && key.empty()) return kelp::tool::kExitOk;
    if (missing)
      return kelp::tool::failure(inv,
                                 "no key '" + joinKey(key, key.size()) + "' in " + hive.name());
    return status;
  }
  std::string prefix = key.empty() ? "" : joinKey(key, key.size()) + "/";
  if (!parsed.has("recursive")) prefix.clear();
  bool complete = true;
  if (!listKey(inv, node, prefix, parsed.has("recursive"), &status, &complete)) return status;
  return complete ? kelp::tool::kExitOk : kelp::tool::kExitFailed;
}

int runDelete(Invocation& inv) {
  ParsedArgs parsed;
  std::vector<std::string> key;
  int status = 0;
  if (!parseCommon(inv, {{"recursive", false}}, 1, 2, &parsed, &key, &status)) return status;
  Hive hive(inv, parsed);
  const std::string path = joinKey(key, key.size());
  if (parsed.operands.size() == 2) {
    const std::string& name = parsed.operands[1];
    RegNode node;
    if (!hive.open(key, Hive::kWrite, &node, &status)) return status;
    // Look before deleting: the library counts a missing value as deleted.
    regdb::Value v{};
    ZResult r = fetch(node, name, &v);
    zobRegFreeValue(&v);
    if (r == zob::kNotFound)
      return kelp::tool::failure(inv, "no value '" + name + "' in key '" + path + "'");
    if (EFAILED(r) || !node.deleteValue(name.c_str()))
      return kelp::tool::failure(inv, "cannot delete value '" + name + "' in key '" + path + "'");
    return kelp::tool::kExitOk;
  }
  if (key.empty()) return kelp::tool::usageError(inv, "the root key cannot be deleted");
  // Look before deleting: the library counts a missing key as deleted.
  RegNode target;
  bool missing = false;
  if (!hive.open(key, Hive::kWrite, &target, &status, &missing)) {
    if (missing) return kelp::tool::failure(inv, "no key '" + path + "' in " + hive.name());
    return status;
  }
  std::list<std::string> children;
  if (!target.listNodes(&children))
    return kelp::tool::failure(inv, "cannot list key '" + path + "'");
  target.close();
  if (!children.empty() && !parsed.has("recursive"))
    return kelp::tool::failure(inv, "key '" + path + "' has subkeys; use --recursive");
  std::vector<std::string> parentPath(key.begin(), key.end() - 1);
  RegNode parent;
  if (!hive.open(parentPath, Hive::kWrite, &parent, &status)) return status;
  if (!parent.deleteNode(key.back().c_str(), parsed.has("recursive")))
    return kelp::tool::failure(inv, "cannot delete key '" + path + "'");
  return kelp::tool::kExitOk;
}

int run(Invocation& inv) {
  return kelp::tool::dispatch(
      inv, {{"get", runGet}, {"set", runSet}, {"list", runList}, {"delete", runDelete}});
}

const kelp::tool::Family kRegistry{"registry", "read and edit settings in the registry database",
                                   kRegistryHelp, run};
const kelp::tool::Registration reg(kRegistry);

}  // namespace
