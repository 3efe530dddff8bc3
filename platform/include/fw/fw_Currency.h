/* qor::quv::basket::Currency: the object model's plain record of a money
 * amount, and the currency converter interface of the basket framework.
 *
 * CurrencyUnit holds a NUL-terminated code of at most three ASCII characters
 * in four bytes (the code's first character in the lowest byte); all zero is
 * the empty unit (no currency), "%" marks a percentage. Currency pairs a unit
 * with a decimal128 amount; the library's view of it is util::ECurrency. */
#ifndef FW_FW_CURRENCY_H
#define FW_FW_CURRENCY_H

#include <ktz/ktz_decimal.h>
#include <zob/zob_unknown.h>

namespace qor::quv::basket {

struct CurrencyUnit {
  char code[4] = {0, 0, 0, 0};
};
static_assert(sizeof(CurrencyUnit) == 4);

struct Currency {
  CurrencyUnit unit;
  ktz::decimal::decimal128 amount;
};

/* Converts amounts between currencies (exchange rates are the host's). */
class ICurrencyConverter : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/basket/ICurrencyConverter:1.0";

  /* Stores `amount` converted into the currency `code` in *out, rounded to
   * `digits` decimals (none when negative). A failure code when the
   * conversion is not possible. */
  virtual ZResult convert(const Currency& amount, const char* code, int digits, Currency* out) = 0;

 protected:
  ~ICurrencyConverter() = default;
};

using ICurrencyConverter_Adapter = zob::Adapter<ICurrencyConverter>;

}  // namespace qor::quv::basket

#endif
