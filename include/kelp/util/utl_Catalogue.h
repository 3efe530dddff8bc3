/* qor::quv::basket::Catalogue: a catalogue's identity, data version,
 * languages, currencies and validity, its articles and its tax table.
 *
 *   Catalogue c;
 *   c.id = "office";
 *   c.addArticle(desk);                     // false for a repeated id
 *   const Article* a = c.findArticle("DESK-160");
 *
 * Articles keep the order in which they were added; lookups by id go
 * through an index. A plain copyable value; const lookups may run on
 * several threads. */
#ifndef KELP_UTIL_UTL_CATALOGUE_H
#define KELP_UTIL_UTL_CATALOGUE_H

#include <string>
#include <unordered_map>
#include <vector>

#include <kelp/kelp_api.h>
#include <kelp/util/utl_Article.h>
#include <kelp/util/utl_EDate.h>
#include <kelp/util/utl_EVersion.h>
#include <kelp/util/utl_TaxTable.h>

namespace qor::quv::basket {

class KELP_API Catalogue {
 public:
  std::string id;
  util::EVersion version;
  /* The catalogue's own language, then the others it has texts in. */
  std::string lang;
  std::vector<std::string> languages;
  /* In the order the catalogue lists them. */
  std::vector<std::string> currencies;
  util::EDate validFrom, validUntil;
  TaxTable taxTable;

  /* Appends the article; false (and nothing added) when its id is taken. */
  bool addArticle(const Article& article);
  const std::vector<Article>& getArticles() const { return articles_; }
  const Article* findArticle(const std::string& articleId) const;
  /* The article's effective data version (the catalogue's when it has none). */
  util::EVersion versionOf(const Article& article) const;

 private:
  std::vector<Article> articles_;
  std::unordered_map<std::string, std::size_t> index_;
};

}  // namespace qor::quv::basket

#endif
