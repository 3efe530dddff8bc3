/* qor::quv::fw::ILocale, ILocale2, ILocale3: the host application's locale.
 *
 * The library finds the locale by querying the application object for
 * ILocale, and then the locale object for its later versions. Each version
 * extends the one before it.
 *
 * Ownership: strings are handed out as zobStrDup copies, lists as a
 * zob::Sequence<char*> whose strings and buffer the caller frees (zobFree,
 * or zobFreeStrSeq for the whole list). Languages are two-letter codes such
 * as "de"; countries are two-letter codes such as "DE". */
#ifndef FW_FW_ILOCALE_H
#define FW_FW_ILOCALE_H

#include <zob/zob_unknown.h>
#include <zob/zob_variant.h>

namespace qor::quv::fw {

class ILocale : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/fw/ILocale:1.0";

  /* The user's current language. */
  virtual ZResult getLanguage(char** out) = 0;
  /* The user's current country. */
  virtual ZResult getCountry(char** out) = 0;

 protected:
  ~ILocale() = default;
};

class ILocale2 : public ILocale {
 public:
  static constexpr char IID[] = "IDL:qor/quv/fw/ILocale2:1.0";

  /* The general list of the user's languages, most preferred first. */
  virtual ZResult getLanguages(zob::Sequence<char*>* out) = 0;

 protected:
  ~ILocale2() = default;
};

class ILocale3 : public ILocale2 {
 public:
  static constexpr char IID[] = "IDL:qor/quv/fw/ILocale3:1.0";

  /* The languages in which product data is to be shown, most preferred
   * first. */
  virtual ZResult getProductDataLanguages(zob::Sequence<char*>* out) = 0;
  /* The languages in which catalogues are to be shown, most preferred
   * first. */
  virtual ZResult getCatalogLanguages(zob::Sequence<char*>* out) = 0;

 protected:
  ~ILocale3() = default;
};

using ILocale_Adapter = zob::Adapter<ILocale>;
using ILocale2_Adapter = zob::Adapter<ILocale2>;
using ILocale3_Adapter = zob::Adapter<ILocale3>;

}  // namespace qor::quv::fw

#endif
