// Catalogue: articles in order, found by id.
#include <kelp/util/utl_Catalogue.h>

namespace qor::quv::basket {

bool Catalogue::addArticle(const Article& article) {
  if (!index_.emplace(article.id, articles_.size()).second) return false;
  articles_.push_back(article);
  return true;
}

const Article* Catalogue::findArticle(const std::string& articleId) const {
  auto it = index_.find(articleId);
  return it == index_.end() ? nullptr : &articles_[it->second];
}

util::EVersion Catalogue::versionOf(const Article& article) const {
  return article.version.isNull() ? version : article.version;
}

}  // namespace qor::quv::basket
