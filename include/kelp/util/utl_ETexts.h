/* qor::quv::basket::ETexts: texts by language (a label, a name) as a plain
 * value over a TrStrSet.
 *
 * The commerce records are copied freely, a TrStrSet is a shared counted
 * object; ETexts holds its own set (one reference) and copies the entries
 * when it is copied, so a copy never changes the original.
 *
 *   ETexts label;
 *   label.set("de", "Fracht");
 *   label.set("", "Freight");        // the default language
 *   label.get("fr");                 // "Freight"
 *
 * Not thread-safe for writes; a const ETexts may be read by several threads
 * only when the set is sorted (at most 15 languages or looked up once). */
#ifndef KELP_UTIL_UTL_ETEXTS_H
#define KELP_UTIL_UTL_ETEXTS_H

#include <string>

#include <kelp/kelp_api.h>
#include <kelp/util/utl_TrStrSet.h>

namespace qor::quv::basket {

class KELP_API ETexts {
 public:
  ETexts() = default;
  ETexts(const ETexts& other);
  ETexts& operator=(const ETexts& other);
  ETexts(ETexts&& other) noexcept : set_(other.set_) { other.set_ = nullptr; }
  ETexts& operator=(ETexts&& other) noexcept;
  ~ETexts();

  bool isNull() const { return !set_ || set_->isNull(); }
  int getSize() const { return set_ ? set_->getSize() : 0; }
  /* The language code of entry `index` ("" for the default language). */
  std::string getLang(int index) const;
  std::string getText(int index) const;
  bool has(const char* lang) const;
  /* The text in `lang`, else the default language's, else "". */
  std::string get(const char* lang) const;
  /* Sets the text of `lang` ("" or null: the default language); false when
   * 255 languages are held already. */
  bool set(const char* lang, const std::string& text);
  /* The set itself (null while empty), for locale-driven choice. */
  const util::TrStrSet* getSet() const { return set_; }

  bool operator==(const ETexts& o) const;
  bool operator!=(const ETexts& o) const { return !(*this == o); }

 private:
  util::TrStrSet* set_ = nullptr;
};

}  // namespace qor::quv::basket

#endif
