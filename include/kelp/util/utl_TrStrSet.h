/* TrStrSet: one text per language for one item (a name, a description), and
 * the choice of the text that suits the user's locale; eGetText: the
 * library's own message translations.
 *
 * A set is a small reference-counted object whose whole header is one 32-bit
 * word: a 23-bit reference count, a "sorted" bit and an 8-bit entry count (so
 * at most 255 languages; adding a 256th is refused). The entries (language
 * id, PString) live in an array of exactly as many slots as entries. Lookups
 * scan up to 15 entries; larger sets are sorted by language id once and then
 * searched by halving.
 *
 *   auto* names = new TrStrSet;
 *   names->addRef();
 *   names->set("de", "Tisch");
 *   names->set(TrStrSet::DEFAULT_LANG, "table");
 *   PString shown = names->get(app, TrStrSet::TC_GENERAL);  // by the locale
 *   names->release();
 *
 * A new set has the count 0; release() deletes it at 0 and ends the process
 * when the count would fall below 0. The count is not atomic and nothing
 * locks: share a set within one thread, or under the owner's lock. */
#ifndef KELP_UTIL_UTL_TRSTRSET_H
#define KELP_UTIL_UTL_TRSTRSET_H

#include <cstdint>
#include <utility>

#include <fw/fw_IApplication.h>
#include <fw/fw_ILocale.h>
#include <kelp/kelp_api.h>
#include <kelp/util/utl_PString.h>

namespace qor::quv::util {

class KELP_API TrStrSet {
 public:
  /* Which of the locale's language lists decides: the current language and
   * then the general list; the product-data languages; the catalogue
   * languages. */
  enum TextCategory : int { TC_GENERAL = 0, TC_PRODUCT_DATA = 1, TC_CATALOG = 2 };

  /* The default language "  " (two blanks) and its id. */
  static constexpr char DEFAULT_LANG[] = "  ";
  static constexpr unsigned short DEFAULT_LANG_ID = 0x2020;
  static constexpr int MAX_SIZE = 255;

  struct Entry {
    unsigned short lang;
    PString text;
  };

  TrStrSet();
  ~TrStrSet();
  TrStrSet(const TrStrSet&) = delete;
  TrStrSet& operator=(const TrStrSet&) = delete;

  /* Both return the new count. */
  unsigned addRef();
  unsigned release();
  unsigned getRefCount() const;

  /* (first byte << 8) | second byte; 0x2020 for a null or empty code. */
  static unsigned short mkLangId(const char* code);

  bool isNull() const { return getSize() == 0; }
  int getSize() const { return static_cast<int>(mHeader >> 24); }
  /* No entries, or only the default language with an empty text. */
  bool isEmpty() const;
  /* The entry's text; the null PString for an index out of range. */
  PString getStr(int index) const;
  /* Writes the entry's two-character code and a zero into `buffer` (at least
   * three bytes) and returns it; null for an index out of range. */
  char* getLang(int index, char* buffer) const;
  /* The entry for the id, or null. May sort the entries (large sets). */
  const Entry* find(unsigned short id) const;

  /* The text for `lang`; when missing and `useDefault`, the default
   * language's; else the null PString. */
  PString get(const char* lang, bool useDefault) const;
  /* The text chosen for the locale: for TC_GENERAL the current language
   * first; then the category's language list in order; then the default
   * language. Null for a null locale or a failed interface query. */
  PString get(fw::ILocale* locale, TextCategory category) const;
  /* The same with the locale of the application. */
  PString get(fw::IApplication* app, TextCategory category) const;
  /* The forms with `out` store a zobStrDup0 copy of the chosen text ("" when
   * none) for the caller to free with zobFree, and return whether a text was
   * found. */
  bool get(const char* lang, bool useDefault, char** out) const;
  bool get(fw::ILocale* locale, TextCategory category, char** out) const;
  bool get(fw::IApplication* app, TextCategory category, char** out) const;

  /* Replaces the text of `lang` or appends it; false when the set is full. */
  bool set(const char* lang, const PString& text);
  /* The existing text and false when `lang` is present (left as it is);
   * otherwise appends and returns the new text and true. A full set answers
   * the null PString and false. */
  std::pair<PString, bool> insert(const char* lang, const PString& text);
  /* Adds one entry at the end (no check for a duplicate language); false
   * when the set is full. */
  bool append(const Entry& entry);
  /* Adds every language of `other` that this set lacks. */
  void merge(const TrStrSet* other);
  /* Replaces all entries by those of `other` (none for null). */
  void copy(const TrStrSet* other);
  void clear();
  /* The same languages with the same texts, in any order. */
  bool equalTo(const TrStrSet* other) const;

 private:
  PString chooseFor(fw::IApplication* app, fw::ILocale* locale, TextCategory category) const;
  void setSize(int n);
  bool isSorted() const { return (mHeader >> 23) & 1u; }
  void setSorted(bool sorted) const;

  // Bits 0-22 reference count, bit 23 sorted, bits 24-31 entry count.
  mutable std::uint32_t mHeader;
  Entry* mEntries;
};

/* The translation of `msgid` in `domain` from the runtime's message
 * catalogues (the library's own domain is "quv:kelp"). */
KELP_API const char* eGetText(const char* domain, const char* msgid);
/* The same lookup; `context` is accepted and deliberately not used. */
KELP_API const char* eGetText(const char* domain, const char* context, const char* msgid);

}  // namespace qor::quv::util

#endif
