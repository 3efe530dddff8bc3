// BasketItem: chosen values and equality of item trees.
#include <kelp/util/utl_BasketItem.h>

namespace qor::quv::basket {

const std::string* BasketItem::chosen(const std::string& choiceId) const {
  for (const ChosenValue& c : choices)
    if (c.first == choiceId) return &c.second;
  return nullptr;
}

bool BasketItem::operator==(const BasketItem& o) const {
  return position == o.position && id == o.id && articleId == o.articleId &&
         articleVersion.compare(o.articleVersion) == 0 && quantity == o.quantity &&
         unit == o.unit && choices == o.choices && children == o.children;
}

}  // namespace qor::quv::basket
