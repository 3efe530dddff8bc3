// Basket: lookups over the item tree.
#include <kelp/util/utl_Basket.h>

namespace qor::quv::basket {

namespace {
std::size_t count(const std::vector<BasketItem>& items) {
  std::size_t n = items.size();
  for (const BasketItem& i : items) n += count(i.children);
  return n;
}
}  // namespace

const BasketItem* Basket::find(const EPositionNumber& position) const {
  const std::vector<BasketItem>* level = &items;
  const BasketItem* found = nullptr;
  for (int d = 0; d < position.getDepth(); ++d) {
    found = nullptr;
    for (const BasketItem& i : *level) {
      if (i.position.getDepth() == d + 1 && i.position.getNumber(d) == position.getNumber(d)) {
        found = &i;
        break;
      }
    }
    if (!found) return nullptr;
    level = &found->children;
  }
  return found;
}

std::size_t Basket::countItems() const {
  return count(items);
}

bool Basket::operator==(const Basket& o) const {
  return id == o.id && configuration == o.configuration && catalogueId == o.catalogueId &&
         catalogueVersion.compare(o.catalogueVersion) == 0 && items == o.items &&
         calcItems == o.calcItems;
}

}  // namespace qor::quv::basket
