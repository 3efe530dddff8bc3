// RoomTemplate::read: an accepted room writes and reads back equal, checks
// against a small catalogue and gives a basket without crashing; a refused
// one has a message and leaves the room alone.
#include <kelp/util/utl_RoomTemplate.h>

#include <cstdint>
#include <cstdlib>
#include <string>

using namespace qor::quv::basket;
using qor::quv::util::EBounds;
using qor::quv::util::EVector3;

namespace {
void check(bool condition) {
  if (!condition) std::abort();
}

const Catalogue& catalogue() {
  static const Catalogue c = [] {
    Catalogue c;
    c.validFrom = qor::quv::util::EDate(2026, 1, 1);
    c.validUntil = qor::quv::util::EDate(2026, 12, 31);
    for (const char* id : {"A", "B"}) {
      Article a;
      a.id = id;
      a.validFrom = c.validFrom;
      a.validUntil = c.validUntil;
      a.dimensions = EBounds(EVector3(0, 0, 0), EVector3(1000, 500, 700));
      c.addArticle(a);
    }
    return c;
  }();
  return c;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  RoomTemplate room, kept;
  kept.id = "kept";
  std::string error;
  int line = -1;
  if (!RoomTemplate::read(text, &kept, &error, &line)) {
    check(!error.empty() && line >= 0 && kept.id == "kept");
    return 0;
  }
  check(RoomTemplate::read(text, &room, &error));
  // Placements beyond a few hundred make the pairwise check slow, not wrong.
  if (room.placements.size() <= 200) {
    const auto faults = room.check(catalogue(), qor::quv::util::EDate(2026, 3, 1));
    for (const RoomFault& f : faults) check(f.placement < room.placements.size());
  }
  const Basket b = room.toBasket(&catalogue());
  check(b.items.size() <= room.placements.size());
  RoomTemplate back;
  check(RoomTemplate::read(RoomTemplate::toString(room), &back, &error));
  check(back == room);
  return 0;
}
