/* Funcs: the small shared rules of the library and its host applications,
 * as static functions.
 *
 *   Funcs::isValidLanguageCode("de");                    // true
 *   Funcs::parseTarnUpdateState(" @Up2Date ", nullptr);  // 1
 *   std::vector<std::string> args;
 *   Funcs::splitCommandLine("a 'b c'", &args);           // {"a", "b c"}
 *   Funcs::joinCommandLine(args);                        // "a 'b c'"
 *   Funcs::removeTrailingZeros("1.500 kg");              // "1.5 kg"
 *   Funcs::copyFile(app, "a.xml", "b.xml");              // a result code
 *
 * Groups: validity of codes; object paths and package names; update states;
 * command lines; numbers shown to the user; file operations that log their
 * failures (through eDebug, category "quv:kelp"); queries of the host
 * application. Most functions taking text exist for const char* and
 * std::string; the std::string forms forward.
 *
 * Validity and parsing functions never log and never throw. Application
 * queries report a failed host call as a failed assertion or query (debug
 * level) and return their neutral result: false or an empty text or list.
 * A null application gives the neutral result at once. No function keeps
 * state but the image factory (set once by the host, under a lock); any
 * thread may call them, the number formatting ones follow the process's
 * global locale. */
#ifndef KELP_UTIL_UTL_FUNCS_H
#define KELP_UTIL_UTL_FUNCS_H

#include <cstdint>
#include <string>
#include <vector>

#include <fw/fw_IApplication.h>
#include <fw/fw_IImage.h>
#include <fw/fw_IPackage.h>
#include <kelp/kelp_api.h>
#include <kelp/util/utl_PString.h>
#include <ktz/ktz_decimal.h>
#include <zob/zob_unknown.h>

namespace qor::quv::basket {

/* States of a basket's product data against the installed data. */
enum class TarnUpdateState : std::int32_t {
  Undefined = 0,
  Up2Date = 1,
  Updatable = 2,
  Migratable = 3,
  Invalid = 4
};

/* Rounding steps of prices: 0.01, 0.05, 0.10, 0.25, 0.50, 1.00. */
enum RoundingInterval : std::int32_t {
  RI_0_01 = 1,
  RI_0_05 = 2,
  RI_0_10 = 3,
  RI_0_25 = 4,
  RI_0_50 = 5,
  RI_1_00 = 6
};

/* Kinds of price-calculation items. Kinds 19 to 27 are unknown to older
 * consumers; each refines the older kind named beside it, to which
 * Funcs::mapToPreQUV19CalcItemType maps it. */
enum CalcItemType : std::int32_t {
  CIT_None = 0,
  CIT_ListPrice = 1,
  CIT_OptionSurcharge = 2,  // absolute, from a chosen value
  CIT_PercentSurcharge = 3,
  CIT_AbsoluteDiscount = 4,
  CIT_PercentDiscount = 5,
  CIT_Subtotal = 6,
  CIT_Tax = 7,      // a percentage of the net
  CIT_UnitTax = 8,  // per weight unit
  CIT_Freight = 9,
  CIT_Packaging = 10,
  CIT_Service = 11,
  CIT_Rounding = 12,
  CIT_Text = 13,  // a line without amount
  CIT_NetTotal = 14,
  CIT_GrossTotal = 15,
  CIT_CustomerDiscount = 16,
  CIT_PaymentDiscount = 17,  // a percentage, information only
  CIT_Deposit = 18,
  CIT_ProjectDiscount = 19,          // refines 16
  CIT_PaymentDiscountAbsolute = 20,  // refines 17
  CIT_Installation = 21,             // refines 11
  CIT_GroupSubtotal = 22,            // refines 6
  CIT_Disposal = 23,                 // refines 11
  CIT_CashRounding = 24,             // refines 12
  CIT_OptionPercentSurcharge = 25,   // refines 3
  CIT_QuantityDiscount = 26,         // refines 5
  CIT_ReducedTax = 27                // refines 7
};

}  // namespace qor::quv::basket

namespace qor::quv::util {

class ECurrency;

class KELP_API Funcs {
 public:
  Funcs() = delete;

  // --- Codes (ASCII only, never locale-dependent) ---------------------------

  /* Two lower-case letters a-z. */
  static bool isValidLanguageCode(const char* code);
  static bool isValidLanguageCode(const std::string& code);
  /* Two upper-case letters A-Z. */
  static bool isValidCountryCode(const char* code);
  static bool isValidCountryCode(const std::string& code);
  /* "CC-X", "CC-XX" or "CC-XXX" (X a letter or digit); with withoutCountry
   * only the 1 to 3 letters or digits. */
  static bool isValidSubdivisionCode(const char* code, bool withoutCountry);
  static bool isValidSubdivisionCode(const std::string& code, bool withoutCountry);
  /* Three upper-case letters. */
  static bool isValidCurrencyCode(const char* code);
  static bool isValidCurrencyCode(const std::string& code);
  /* "%", or three upper-case letters, "/" and one of "KGM", "LBR", "MGM". */
  static bool isValidTaxUnit(const char* unit);
  static bool isValidTaxUnit(const std::string& unit);

  // --- Object paths and packages --------------------------------------------

  /* a == b, or b continues a with a "." ("a.b" of "a.b.c"). */
  static bool isSameObjectOrParent(const char* a, const char* b);
  static bool isSameObjectOrParent(const std::string& a, const std::string& b);
  /* The same without the equality case. */
  static bool isParentObject(const char* a, const char* b);
  static bool isParentObject(const std::string& a, const std::string& b);
  /* "@x" stays; "::ab::cd::" gives "@ab_cd"; anything else the null
   * string. */
  static PString pkgNameToProgId(const char* name);
  static PString pkgNameToProgId(const std::string& name);
  /* The package's type from its IPackage4; "" when it has none. */
  static std::string getPackageType(dsr::IPackage* package);

  // --- Update states ---------------------------------------------------------

  /* The state named by one of the keywords "@Up2Date", "@Undefined",
   * "@Updatable", "@Migratable", "@Invalid" after optional white space, or
   * -1. The keyword must not run on into a letter, digit or "_". With `end`
   * it first receives `text`, on success the position behind the keyword;
   * without it only white space may follow. */
  static int parseTarnUpdateState(const char* text, const char** end);
  static int parseTarnUpdateState(const std::string& text, const char** end);
  /* The keyword of a state, "" for any other value. */
  static const char* tarnUpdateStateToString(basket::TarnUpdateState state);

  // --- Command lines ---------------------------------------------------------

  /* Appends the arguments of `line` to *args: white space separates,
   * '...' is literal, "..." allows \\ and \" escapes, a backslash outside
   * quotes escapes the next character. An escaped character is also read
   * once more with its own meaning: outside quotes "\a" gives "aa", and in
   * double quotes \" appends the quote and then closes the section. */
  static void splitCommandLine(const std::string& line, std::vector<std::string>* args);
  /* One line that splitCommandLine reads back into `args`. Arguments with a
   * single quote are double-quoted with \" and \\ escapes (they read back
   * unchanged as long as they hold no double quote or backslash); empty
   * ones and those with white space, a double quote or a backslash are
   * single-quoted; the others are written as they are. */
  static std::string joinCommandLine(const std::vector<std::string>& args);

  // --- Numbers shown to the user (in the user's locale) ----------------------

  /* The amount with at least the currency's customary decimals and at most
   * extraDigits more (a negative extraDigits: no upper limit); a unit
   * without customary decimals (XAU ...) writes the amount as it stands. */
  static std::string formatValue(const ECurrency& c, int extraDigits);
  /* extraDigits 1. */
  static std::string formatValue(const ECurrency& c);
  /* formatValue, then for a finite amount a blank and the currency code. */
  static std::string format(const ECurrency& c, int extraDigits);
  static std::string format(const ECurrency& c);

  /* With as many decimals as q has significant ones, at least two. */
  static std::string formatQuantity(ktz::decimal::decimal64 q);
  /* Six significant digits; "???" for zero, infinities and NaN. */
  static std::string formatConversionRate(ktz::decimal::decimal64 r);
  /* Drops the trailing zeros of the digits after the first "." (the point
   * stays): "12.000" gives "12.", "1.500 kg" gives "1.5 kg". */
  static std::string removeTrailingZeros(const std::string& s);
  /* 0.01 ... 1.00 with two decimals; 0.00 for any other value. */
  static ktz::decimal::decimal64 getRoundingIntervalAsNumber(basket::RoundingInterval interval);
  /* Converts *value from *unit to `target` ("GRM", "MGM", "KGM", "LBR")
   * through grams in decimal128 and sets *unit to target; false, changing
   * nothing, for an unknown unit. */
  static bool convertWeight(ktz::decimal::decimal64* value, std::string* unit,
                            const std::string& target);
  /* -1, 0 or 1: a and b compared to `digits` decimals (gCompare). */
  static int compare(float a, float b, int digits);
  static int compare(double a, double b, int digits);
  /* Kinds 19 to 27 mapped to the older kind that stands in for them. */
  static basket::CalcItemType mapToPreQUV19CalcItemType(basket::CalcItemType type);

  // --- Files (failures logged through eDebug) --------------------------------

  /* Copies `from` to `to` (created or truncated) in 32768-byte blocks. */
  static ZResult copyFile(fw::IApplication* app, const std::string& from, const std::string& to);
  /* Removes the directory; with `recursive` its files and subdirectories
   * first (links are removed, never followed). Goes on after a failed
   * entry and returns the first failure. */
  static ZResult removeDirectory(fw::IApplication* app, const std::string& path, bool recursive);

  // --- Host application queries ----------------------------------------------

  static bool isPropertyTrue(fw::IApplication* app, const char* name);
  static bool isPropertyTrue(fw::IApplication* app, const std::string& name);
  static bool isPropertyFalse(fw::IApplication* app, const char* name);
  static bool isPropertyFalse(fw::IApplication* app, const std::string& name);
  /* The property's text; "" when unset. */
  static std::string getProperty(fw::IApplication* app, const char* name);
  static std::string getProperty(fw::IApplication* app, const std::string& name);
  static bool isFeatureEnabled(fw::IApplication* app, const char* name);
  static bool isFeatureEnabled(fw::IApplication* app, const std::string& name);
  static std::string getVendorKey(fw::IApplication* app);
  static std::string getAppKey(fw::IApplication* app);
  /* The user's language and country from the host's locale; false (and
   * *out untouched) when they cannot be had. */
  static bool getLanguage(fw::IApplication* app, std::string* out);
  static bool getCountry(fw::IApplication* app, std::string* out);
  /* "de_DE": language, "_", country; "" unless both are valid codes. */
  static std::string getLocaleIdentifier(fw::IApplication* app);
  /* The locale's language lists (ILocale2, ILocale3). */
  static std::vector<std::string> getLanguages(fw::IApplication* app);
  static std::vector<std::string> getProductDataLanguages(fw::IApplication* app);
  static std::vector<std::string> getCatalogLanguages(fw::IApplication* app);
  /* Languages of all installed packages, of one package, or of the
   * package with this name. */
  static std::vector<std::string> getSupportedLanguages(fw::IApplication* app);
  static std::vector<std::string> getSupportedLanguages(fw::IApplication* app,
                                                        dsr::IPackage* package);
  static std::vector<std::string> getSupportedLanguages(fw::IApplication* app,
                                                        const char* packageName);
  static std::vector<std::string> getSupportedLanguages(fw::IApplication* app,
                                                        const std::string& packageName);
  /* Currencies of one package. */
  static std::vector<std::string> getSupportedCurrencies(fw::IApplication* app,
                                                         dsr::IPackage* package);

  /* The path of the node's image in the column; "" when it has none. */
  static std::string getImagePathFromPDBNode(fw::IApplication* app, dsr::IPDBNode* node,
                                             const char* columnId);
  static std::string getImagePathFromPDBNode(fw::IApplication* app, dsr::IPDBNode* node,
                                             const std::string& columnId);
  /* The image column the view shows by default. */
  static std::string getDefaultImageColumnId(fw::IApplication* app, dsr::IPDBView* view);
  /* Installs the process's image factory (a reference is held; null removes
   * it). The one piece of state of Funcs, guarded by a lock. */
  static void setImageFactory(fw::IImageFactory* factory);
  /* A new reference to the installed factory, or null. */
  static zob::Ref<fw::IImageFactory> getImageFactory();

  /* RFC 3986 helpers of the utility library. */
  static std::string getNormalizedURI(const std::string& uri);
  static std::string escapeForUseInURI(const std::string& text);
  static std::string unescapePartOfURI(const std::string& text);
  static bool isURI(const std::string& text);

  /* Sends a VetoableActionEvent (type "vetoableAction") synchronously and
   * answers whether a listener canceled it; *reason (when given) receives
   * the cancel reason. False when the event could not be sent. */
  static bool actionCanceled(fw::IApplication* app, zob::IUnknown* source, const std::string& name,
                             const std::string& valueKey = std::string(),
                             const std::string& oldValue = std::string(),
                             const std::string& newValue = std::string(),
                             std::string* reason = nullptr);
};

}  // namespace qor::quv::util

#endif
