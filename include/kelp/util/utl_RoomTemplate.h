/* qor::quv::basket::RoomTemplate: a furnished room: its id, names by
 * language, the space it offers (floor area and height as a box in
 * millimetres) and the articles placed in it, each with its chosen values,
 * a position and a rotation. The XML form is described in
 * samples/README.md beside the basket's.
 *
 *   RoomTemplate room;
 *   std::string error;
 *   int line = 0;
 *   if (!RoomTemplate::read(text, &room, &error, &line)) fail(line, error);
 *   for (const RoomFault& f : room.check(catalogue, date))
 *     report(f.line, f.message);            // "placement 'chair-2': ..."
 *   Basket b = room.toBasket(&catalogue);   // one item per kind of article
 *
 * A placement puts the article's dimensions box (its own frame) into the
 * room: a point p of the box lands at rotation.rotate(p) + position.
 * Two placed boxes overlap when they share an inner point; boxes that
 * only touch (a chair against a desk) do not. A plain copyable value;
 * reading is whole or nothing and opens no external entity. Stateless
 * functions; any thread may call them on values no one is changing. */
#ifndef KELP_UTIL_UTL_ROOMTEMPLATE_H
#define KELP_UTIL_UTL_ROOMTEMPLATE_H

#include <cstddef>
#include <string>
#include <vector>

#include <kelp/kelp_api.h>
#include <kelp/util/utl_Basket.h>
#include <kelp/util/utl_BasketItem.h>
#include <kelp/util/utl_Catalogue.h>
#include <kelp/util/utl_EBounds.h>
#include <kelp/util/utl_EDate.h>
#include <kelp/util/utl_ETexts.h>
#include <kelp/util/utl_EVector3.h>
#include <kelp/util/utl_EVersor.h>
#include <kelp/xml/xml_IXMLWriter.h>

namespace qor::quv::basket {

class KELP_API RoomPlacement {
 public:
  /* A name for messages ("desk-1"); may be empty. */
  std::string id;
  std::string articleId;
  std::vector<BasketItem::ChosenValue> choices;
  util::EVector3 position;
  util::EVersor rotation;
  /* The line of the element it was read from; 0 otherwise. Not compared. */
  int line = 0;

  bool operator==(const RoomPlacement& o) const;
  bool operator!=(const RoomPlacement& o) const { return !(*this == o); }
};

class KELP_API RoomFault {
 public:
  /* Index into placements. */
  std::size_t placement = 0;
  int line = 0;
  /* "placement 'desk-2': ...", or "placement 3: ..." for one without id. */
  std::string message;
};

class KELP_API RoomTemplate {
 public:
  std::string id;
  ETexts names;
  /* Floor area (x, y) and height (z), in millimetres. */
  util::EBounds space;
  std::vector<RoomPlacement> placements;

  /* Every fault of every placement, in placement order: the article is
   * missing, not valid on `date`, has no dimensions, or a chosen value it
   * does not offer; its placed box reaches outside the space; it overlaps
   * an earlier placement. Empty when the room is sound. */
  std::vector<RoomFault> check(const Catalogue& catalogue, const util::EDate& date) const;

  /* The box of the placement in room coordinates (the bounds of its
   * rotated box); empty when the article has no dimensions. */
  static util::EBounds placedBounds(const RoomPlacement& p, const util::EBounds& dimensions);
  /* The two placed boxes share an inner point (rotated boxes, exactly by
   * separating axes; touching faces, edges and corners do not count). */
  static bool overlap(const RoomPlacement& a, const util::EBounds& da, const RoomPlacement& b,
                      const util::EBounds& db);

  /* The basket of the room: one item per article and set of chosen values
   * (in any order), in the order of their first placement, positions 1, 2
   * ..., quantity the number of placements. Item ids are derived from the
   * room's id and the position, so the same room gives the same basket.
   * With a catalogue, the articles' data versions and the catalogue's id
   * and version are filled in. The configuration is left to the caller. */
  Basket toBasket(const Catalogue* catalogue = nullptr) const;

  /* Reads the document `text`; on failure the message goes to *error and
   * the line (0 when unknown) to *line, when given, and *room stays. */
  static bool read(const std::string& text, RoomTemplate* room, std::string* error,
                   int* line = nullptr);
  static bool write(const RoomTemplate& room, xml::IXMLWriter* writer, std::string* error);
  /* The document in UTF-8, indented by two. */
  static std::string toString(const RoomTemplate& room);

  bool operator==(const RoomTemplate& o) const;
  bool operator!=(const RoomTemplate& o) const { return !(*this == o); }
};

}  // namespace qor::quv::basket

#endif
