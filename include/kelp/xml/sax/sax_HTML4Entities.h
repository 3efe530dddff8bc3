/* HTML4Entities: the 252 character entities of HTML 4.01 (its Latin-1,
 * symbol and special sets, quot, amp, lt and gt included) as pairs of name
 * and Unicode code point.
 *
 * The reader looks undeclared entity names up here when its html4-entities
 * feature is on; the HTML formatter goes the other way, from a code point to
 * its entity name.
 *
 *   unsigned int cp = HTML4Entities::lookup("eacute");      // 233
 *   const char* name = HTML4Entities::nameOf(8364);         // "euro"
 *
 * The table keeps the order in which HTML 4.01 declares the entities
 * (entry()). The name and code-point indexes are sorted on first use behind
 * a plain static flag, without a lock: the first lookup belongs on one
 * thread, after which lookups from any thread are safe. Lookups are binary
 * searches; names are compared byte-wise and case-sensitively ("Eacute" is
 * not "eacute"). */
#ifndef KELP_XML_SAX_SAX_HTML4ENTITIES_H
#define KELP_XML_SAX_SAX_HTML4ENTITIES_H

#include <cstddef>

#include <kelp/kelp_api.h>

namespace qor::quv::xml::sax {

class KELP_API HTML4Entities {
 public:
  struct Entry {
    const char* name;
    unsigned int codePoint;
  };

  /* The number of entities: 252. */
  static constexpr int Count = 252;

  /* The index-th entity in declaration order; for an index outside
   * [0, Count) an entry with the name "" and code point 0. */
  static const Entry& entry(int index);

  /* The code point of the entity called name, or 0 when there is none (no
   * entity stands for U+0000). A null name finds nothing. */
  static unsigned int lookup(const char* name);
  /* The same for the length bytes at name, which need no terminator. */
  static unsigned int lookup(const char* name, std::size_t length);

  /* The name of the entity for codePoint, or null when HTML 4 has none. */
  static const char* nameOf(unsigned int codePoint);

  HTML4Entities() = delete;
};

}  // namespace qor::quv::xml::sax

#endif
