// kelp room: checks a room template against a catalogue (articles, space,
// collisions) and writes the basket of the room. RoomTemplate does the
// work; the tool reads the files and reports.
#include <string>

#include <kelp/util/utl_BasketXml.h>
#include <kelp/util/utl_CatalogueReader.h>
#include <kelp/util/utl_EDate.h>
#include <kelp/util/utl_Funcs.h>
#include <kelp/util/utl_RoomTemplate.h>

#include "kelp_tool.h"

namespace {

namespace util = qor::quv::util;
namespace basket = qor::quv::basket;
using util::EDate;

constexpr const char kRoomHelp[] =
    "usage: kelp room check --catalogue FILE [--date D] ROOM\n"
    "       kelp room basket --catalogue FILE [--date D] [--currency C] [--country CC] ROOM\n"
    "\n"
    "check reads the room template ROOM ('-' reads standard input) and tests\n"
    "every placement against the catalogue FILE: the article must exist, be\n"
    "valid on the date D (today by default) and have dimensions; its chosen\n"
    "values must exist; its box, turned and moved by the placement, must lie\n"
    "inside the room and overlap no other placement (touching is allowed).\n"
    "Each fault is reported as 'file:line: placement 'ID': message'; the exit\n"
    "status is 1 when there is any. The room format is described in\n" KELP_DOC_DIR
    "/formats.md.\n"
    "\n"
    "basket writes the basket of the room as XML: one item per article and\n"
    "set of chosen values, in the order of their first placement, with the\n"
    "number of placements as quantity; priced in the currency C (the\n"
    "catalogue's first by default) on the date D, taxed for the country CC.\n";

struct Inputs {
  basket::CatalogueReader catalogue{nullptr};
  basket::RoomTemplate room;
  std::string roomFile;
  EDate date;
};

bool readInputs(kelp::tool::Invocation& inv, const kelp::tool::ParsedArgs& args, Inputs& in,
                int* status) {
  *status = kelp::tool::kExitFailed;
  if (!args.has("catalogue")) {
    *status = kelp::tool::usageError(inv, "no --catalogue given");
    return false;
  }
  if (args.has("date")) {
    const std::string text = args.get("date");
    if (!in.date.parseString(text.c_str(), nullptr) || !in.date.isValid()) {
      *status = kelp::tool::usageError(inv, "'" + text + "' is not a date (YYYY-MM-DD)");
      return false;
    }
  } else {
    in.date = kelp::tool::today();
  }
  in.catalogue = basket::CatalogueReader(inv.app);
  if (!kelp::tool::readCatalogue(inv, args.get("catalogue"), in.catalogue)) return false;
  std::string data, message;
  in.roomFile = kelp::tool::displayName(args.operands[0]);
  if (!kelp::tool::readInput(args.operands[0], data, message, kelp::tool::kMaxCommerceInput)) {
    kelp::tool::reportAt(inv, in.roomFile, 0, message);
    return false;
  }
  int line = 0;
  if (!basket::RoomTemplate::read(data, &in.room, &message, &line)) {
    kelp::tool::reportAt(inv, in.roomFile, line, message);
    return false;
  }
  return true;
}

int runCheck(kelp::tool::Invocation& inv) {
  kelp::tool::ParsedArgs args;
  int status = kelp::tool::kExitOk;
  if (!kelp::tool::parseArgs(inv, 1, {{"catalogue", true}, {"date", true}}, args, &status) ||
      !kelp::tool::checkOperands(inv, args, 1, 1, &status))
    return status;
  Inputs in;
  if (!readInputs(inv, args, in, &status)) return status;
  const auto faults = in.room.check(in.catalogue.getCatalogue(), in.date);
  for (const basket::RoomFault& f : faults)
    kelp::tool::reportAt(inv, in.roomFile, f.line, f.message);
  if (!faults.empty()) return kelp::tool::kExitFailed;
  std::fprintf(inv.out, "%s: room '%s', %zu placements, no faults\n", in.roomFile.c_str(),
               in.room.id.c_str(), in.room.placements.size());
  return kelp::tool::kExitOk;
}

int runBasket(kelp::tool::Invocation& inv) {
  kelp::tool::ParsedArgs args;
  int status = kelp::tool::kExitOk;
  if (!kelp::tool::parseArgs(
          inv, 1, {{"catalogue", true}, {"date", true}, {"currency", true}, {"country", true}},
          args, &status) ||
      !kelp::tool::checkOperands(inv, args, 1, 1, &status))
    return status;
  Inputs in;
  if (!readInputs(inv, args, in, &status)) return status;
  const basket::Catalogue& c = in.catalogue.getCatalogue();
  basket::Basket b = in.room.toBasket(&c);
  b.configuration.currency =
      args.get("currency", c.currencies.empty() ? "EUR" : c.currencies.front());
  if (!util::Funcs::isValidCurrencyCode(b.configuration.currency))
    return kelp::tool::usageError(inv, "'" + b.configuration.currency + "' is not a currency code");
  b.configuration.priceDate = in.date;
  b.configuration.taxCountry = args.get("country");
  if (!b.configuration.taxCountry.empty() &&
      !util::Funcs::isValidCountryCode(b.configuration.taxCountry))
    return kelp::tool::usageError(inv,
                                  "'" + b.configuration.taxCountry + "' is not a country code");
  std::fputs(basket::BasketXml::toString(b).c_str(), inv.out);
  return kelp::tool::kExitOk;
}

int run(kelp::tool::Invocation& inv) {
  return kelp::tool::dispatch(inv, {{"check", runCheck}, {"basket", runBasket}});
}

const kelp::tool::Family kRoom{"room", "room templates: checks, the basket of a room", kRoomHelp,
                               run};
const kelp::tool::Registration reg(kRoom);

}  // namespace
