/* RegNode: a handle to an open key of the registry database, with typed,
 * logged reads and writes of its values.
 *
 * A RegNode points at a reference-counted RegNode::Data (the application,
 * the registry database, the key handle, the key's path and an open flag),
 * or at nothing (a closed node). Copies share the data: close() closes the
 * key for every copy, release() only drops this copy's share. The last share
 * closes the key and releases the database and the application.
 *
 * Paths name keys for messages: a root is "LOCAL_MACHINE" or "CURRENT_USER",
 * a child's path is its parent's, "/" and its name.
 *
 *   RegNode node = Registry::openCurrentUserQUVModule(app, "Basket", false);
 *   node.put("columns", 7);
 *   int columns = 0;
 *   if (node.get("columns", &columns)) ...
 *
 * Values are typed (1 byte string, 2 32-bit integer, 3 64-bit integer,
 * 4 string, 5 list of strings). A read accepts its own type and two
 * widenings: a 32-bit integer read as 64-bit, a 64-bit one read as 32-bit
 * when it fits. A bool is a 32-bit 0 or 1; a double is stored as a string
 * with six significant digits. A missing value answers false silently;
 * every other failure is logged at debug level (category "quv:kelp") with
 * the node's application and answered with false or a closed node. Nothing
 * throws.
 *
 * Thread rules: a node and its copies belong to one thread at a time. */
#ifndef KELP_UTIL_UTL_REGNODE_H
#define KELP_UTIL_UTL_REGNODE_H

#include <cstddef>
#include <cstdint>
#include <list>
#include <string>

#include <fw/fw_IApplication.h>
#include <kelp/kelp_api.h>
#include <zob/zob_regdb.h>

namespace qor::quv::util {

class KELP_API RegNode {
 public:
  struct Data;

  /* A closed node. */
  RegNode();
  /* Takes over the open key handle `key` of `registry` (references to the
   * application and the registry are added). */
  RegNode(fw::IApplication* app, zob::regdb::IRegistry* registry, int key, const std::string& path);
  RegNode(const RegNode& other);
  RegNode& operator=(const RegNode& other);
  ~RegNode();

  bool isOpen() const;
  /* Writes the key's hive out of its log (changes are durable without). */
  bool flush();
  /* The registry database (no reference added), or null when closed. */
  zob::regdb::IRegistry* getRegistry() const;
  /* The key handle, or 0 when closed. */
  int getKey() const;
  /* The key's path, or "" for a node without data. */
  std::string getPath() const;
  /* Closes the key for this node and all its copies. */
  void close();
  /* Drops this node's share of the data; the node is closed afterwards. */
  void release();

  /* Opens the child `name`. With `create` a missing child is made; with
   * `quiet` a missing child is not logged. The bool* form reports in
   * *created (when given) whether the child had to be made. */
  RegNode open(const char* name, bool create = false, bool quiet = false) const;
  RegNode open(const char* name, bool* created, bool create) const;
  /* Opens the child `name`, making it when missing. With `mustBeNew` an
   * existing child is a failure; with `quiet` that failure is not logged.
   * The bool* form reports in *created (when given) whether it was made. */
  RegNode create(const char* name, bool mustBeNew = false, bool quiet = false) const;
  RegNode create(const char* name, bool* created, bool mustBeNew) const;

  /* Deletes the child `name` with its values; a child with children of its
   * own needs `recursive`. A missing child counts as deleted. */
  bool deleteNode(const char* name, bool recursive);
  /* Replace *names with the names of the children or the values, sorted. */
  bool listNodes(std::list<std::string>* names) const;
  bool listValues(std::list<std::string>* names) const;
  /* A missing value counts as deleted. */
  bool deleteValue(const char* name);

  bool put(const char* name, bool value);
  bool put(const char* name, int value);
  bool put(const char* name, long value);
  bool put(const char* name, const char* value);
  bool put(const char* name, const std::string& value);
  /* A null-terminated array of strings, stored as a list. */
  bool put(const char* name, const char** values);
  bool put(const char* name, const std::list<std::string>& values);
  /* A byte string. */
  bool put(const char* name, const void* data, std::size_t length);
  /* Six significant digits, stored as a string ("3.14159"). */
  bool put(const char* name, double value);
  bool put(const char* name, const zob::regdb::Value& value);

  bool get(const char* name, bool* value) const;
  bool get(const char* name, int* value) const;
  bool get(const char* name, long* value) const;
  bool get(const char* name, std::string* value) const;
  /* Copies a byte string into `buffer`; *length receives its size. A value
   * longer than `capacity` answers false with *length set to the size
   * needed. */
  bool get(const char* name, void* buffer, std::size_t capacity, std::size_t* length) const;
  bool get(const char* name, double* value) const;
  bool get(const char* name, std::list<std::string>* values) const;

 private:
  explicit RegNode(Data* data);
  RegNode openChild(const char* name, bool* created, bool create, bool mustBeNew, bool quiet) const;
  /* Fetches the value `name` expecting `type`; on true *out holds it (free
   * with zobRegFreeValue). */
  bool fetch(const char* name, zob::regdb::ValueType type, zob::regdb::Value* out) const;

  Data* data_;
};

}  // namespace qor::quv::util

#endif
