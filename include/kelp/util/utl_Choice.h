/* qor::quv::basket::Choice: a configurable property of an article (a
 * colour, a size) with the values the customer may choose and what each
 * value does to the price.
 *
 * A value's price effects are ECurrency amounts: an absolute amount counts
 * only in its own currency (a catalogue priced in EUR and CHF states an
 * effect in each), a percentage ("%") applies in every currency, as a share
 * of the article's list price.
 *
 *   Choice colour;
 *   colour.id = "colour";
 *   ChoiceValue red;
 *   red.id = "red";
 *   red.effects.push_back(ECurrency("EUR", 25));
 *   colour.values.push_back(red);
 *   colour.defaultValue = "red";
 *
 * Plain copyable values. */
#ifndef KELP_UTIL_UTL_CHOICE_H
#define KELP_UTIL_UTL_CHOICE_H

#include <string>
#include <vector>

#include <kelp/kelp_api.h>
#include <kelp/util/utl_ECurrency.h>
#include <kelp/util/utl_ETexts.h>

namespace qor::quv::basket {

class KELP_API ChoiceValue {
 public:
  std::string id;
  ETexts label;
  std::vector<util::ECurrency> effects;

  bool operator==(const ChoiceValue& o) const {
    return id == o.id && label == o.label && effects == o.effects;
  }
};

class KELP_API Choice {
 public:
  std::string id;
  ETexts label;
  std::vector<ChoiceValue> values;
  /* The value taken when the basket item chose none ("" for no default). */
  std::string defaultValue;
  /* A required choice without a default must be chosen. */
  bool required = false;

  const ChoiceValue* findValue(const std::string& valueId) const;

  bool operator==(const Choice& o) const {
    return id == o.id && label == o.label && values == o.values && defaultValue == o.defaultValue &&
           required == o.required;
  }
};

}  // namespace qor::quv::basket

#endif
