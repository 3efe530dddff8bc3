// RoomTemplate: placed boxes collide or only touch, the checks name the
// placement at fault, the basket groups equal placements, the XML form reads
// back equal and refuses faults with their line.
#include <kelp/util/utl_RoomTemplate.h>

#include <gtest/gtest.h>

#include <cmath>

#include <kelp/util/utl_CatalogueReader.h>

using namespace qor::quv::basket;
using qor::quv::util::EAngle;
using qor::quv::util::EBounds;
using qor::quv::util::EDate;
using qor::quv::util::EVector3;
using qor::quv::util::EVersor;

namespace {

EVersor turnZ(double degrees) {
  EVersor q;
  EVersor::fromAxisAngle(EVector3(0, 0, 1), EAngle(degrees, qor::quv::types::AU_DEG), &q);
  return q;
}

RoomPlacement at(const std::string& article, EVector3 pos, EVersor rot = EVersor()) {
  RoomPlacement p;
  p.articleId = article;
  p.position = pos;
  p.rotation = rot;
  return p;
}

// Desks 1600 x 800 x 740, chairs 600 x 600 x 1000, both valid in 2026; the
// chair has a colour choice.
const char kCatalogue[] = R"(<?xml version='1.0'?>
<catalogue id='c' version='1.0.0' lang='en' currencies='EUR'
           valid-from='2026-01-01' valid-until='2026-12-31'>
  <article id='DESK'><name>Desk</name><price currency='EUR' value='500'/>
    <dimensions minx='0' miny='0' minz='0' maxx='1600' maxy='800' maxz='740'/></article>
  <article id='CHAIR'><name>Chair</name><price currency='EUR' value='100'/>
    <dimensions minx='0' miny='0' minz='0' maxx='600' maxy='600' maxz='1000'/>
    <choice id='colour' default='red'><value id='red'/><value id='blue'/></choice></article>
  <article id='OLD' valid-until='2026-01-31'><name>Old</name><price currency='EUR' value='1'/>
    <dimensions minx='0' miny='0' minz='0' maxx='10' maxy='10' maxz='10'/></article>
  <article id='FLAT'><name>Flat</name><price currency='EUR' value='1'/></article>
</catalogue>)";

Catalogue catalogue() {
  CatalogueReader reader(nullptr);
  EXPECT_TRUE(reader.read(kCatalogue));
  EXPECT_TRUE(reader.getFaults().empty());
  return reader.getCatalogue();
}

}  // namespace

TEST(RoomTemplate, RotatedBoxesOverlapOrTouch) {
  const EBounds desk(EVector3(0, 0, 0), EVector3(1600, 800, 740));
  const RoomPlacement a = at("DESK", EVector3(0, 0, 0));
  const struct {
    const char* what;
    RoomPlacement b;
    bool overlaps;
  } cases[] = {
      {"face to face", at("DESK", EVector3(1600, 0, 0)), false},
      {"1 mm into it", at("DESK", EVector3(1599, 0, 0)), true},
      {"on top", at("DESK", EVector3(0, 0, 740)), false},
      {"corner to corner", at("DESK", EVector3(1600, 800, 0)), false},
      // A quarter turn about z at x = 2400 spans x 1600..2400: touching.
      {"quarter turn, touching", at("DESK", EVector3(2400, 0, 0), turnZ(90)), false},
      {"quarter turn, inside", at("DESK", EVector3(2399, 0, 0), turnZ(90)), true},
      // Turned by 45 degrees it stands on its corner at (1700, 790), its
      // short side rising to the left: at x = 1600 it is 100 mm above the
      // desk's back (y = 800). The bounds overlap, the boxes do not.
      {"45 degrees, corner apart", at("DESK", EVector3(1700, 790, 0), turnZ(45)), false},
      {"45 degrees, corner in", at("DESK", EVector3(1599, 799, 0), turnZ(45)), true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(RoomTemplate::overlap(a, desk, c.b, desk), c.overlaps);
    EXPECT_EQ(RoomTemplate::overlap(c.b, desk, a, desk), c.overlaps);
  }
}

TEST(RoomTemplate, CheckNamesEachPlacementAtFault) {
  RoomTemplate room;
  room.space = EBounds(EVector3(0, 0, 0), EVector3(4000, 3000, 2500));
  room.placements = {at("DESK", EVector3(0, 0, 0)),
                     at("CHAIR", EVector3(500, 800, 0)),   // touches the desk's front
                     at("CHAIR", EVector3(1200, 700, 0)),  // 100 mm under the desk
                     at("DESK", EVector3(3000, 0, 0)),     // 600 mm beyond the wall
                     at("GONE", EVector3()),
                     at("OLD", EVector3(3900, 2900, 0)),
                     at("FLAT", EVector3()),
                     at("CHAIR", EVector3(2000, 2000, 0))};
  room.placements[2].id = "chair-2";
  room.placements[7].choices = {{"colour", "green"}};
  const std::vector<std::string> expected = {
      "placement 'chair-2': overlaps placement 1",
      "placement 4: reaches outside the room (placed box 3000 0 0 4600 800 740, room 0 0 0 "
      "4000 3000 2500)",
      "placement 5: article 'GONE' is not in the catalogue",
      "placement 6: article 'OLD' is not valid on 2026-03-01",
      "placement 7: article 'FLAT' has no dimensions",
      "placement 8: choice 'colour' has no value 'green'"};
  const std::vector<RoomFault> faults = room.check(catalogue(), EDate(2026, 3, 1));
  ASSERT_EQ(faults.size(), expected.size());
  for (std::size_t i = 0; i < faults.size(); ++i) EXPECT_EQ(faults[i].message, expected[i]);
  EXPECT_EQ(faults[0].placement, 2u);
}

TEST(RoomTemplate, BasketGroupsEqualPlacementsInOrderOfFirstPlacement) {
  RoomTemplate room;
  room.id = "office";
  RoomPlacement red = at("CHAIR", EVector3()), blue = red;
  red.choices = {{"colour", "red"}, {"arms", "yes"}};
  blue.choices = {{"colour", "blue"}};
  RoomPlacement redAgain = red;
  redAgain.choices = {{"arms", "yes"}, {"colour", "red"}};  // same values, other order
  room.placements = {red, at("DESK", EVector3()), blue, redAgain, at("DESK", EVector3())};
  const Catalogue c = catalogue();
  const Basket b = room.toBasket(&c);
  ASSERT_EQ(b.items.size(), 3u);
  const struct {
    const char* article;
    int quantity;
  } expected[] = {{"CHAIR", 2}, {"DESK", 2}, {"CHAIR", 1}};
  for (int i = 0; i < 3; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(b.items[i].position, EPositionNumber::top(i + 1));
    EXPECT_EQ(b.items[i].articleId, expected[i].article);
    EXPECT_TRUE(b.items[i].quantity == ktz::decimal::decimal128(expected[i].quantity));
    EXPECT_FALSE(b.items[i].id.isNull());
    EXPECT_EQ(b.items[i].articleVersion.formatString(), "1.0.0");
  }
  EXPECT_EQ(b.catalogueId, "c");
  EXPECT_NE(b.items[0].id, b.items[1].id);
  EXPECT_EQ(room.toBasket(&c), b);  // the same room, the same ids
}

TEST(RoomTemplate, XmlRoundTripAndRefusals) {
  RoomTemplate room;
  room.id = "office <1>";
  room.names.set("", "Office");
  room.names.set("de", "Buero");
  room.space = EBounds(EVector3(0, 0, 0), EVector3(6000, 4000, 2800));
  room.placements = {at("DESK", EVector3(100, 200.5, 0), turnZ(90)),
                     at("CHAIR", EVector3(1, 2, 3))};
  room.placements[0].id = "desk-1";
  room.placements[1].choices = {{"colour", "blue"}};
  RoomTemplate back;
  std::string error;
  ASSERT_TRUE(RoomTemplate::read(RoomTemplate::toString(room), &back, &error)) << error;
  EXPECT_EQ(back, room);
  EXPECT_EQ(back.placements[1].line, 6);  // declaration, room, two names, desk

  const struct {
    const char* text;
    const char* message;
    int line;
  } bad[] = {
      {"<room id='r'/>", "room: the space (minx ... maxz) is missing", 1},
      {"<room minx='0' miny='0' minz='0' maxx='1' maxy='1' maxz='1'>\n"
       "<placement article='A' x='0' y='0'/></room>",
       "placement 1: attribute 'z' is missing or empty", 2},
      {"<room minx='0' miny='0' minz='0' maxx='1' maxy='1' maxz='1'>\n"
       "<placement article='A' x='0' y='0' z='0' size='2'/></room>",
       "placement 1: unknown attribute 'size'", 2},
      {"<room minx='0' miny='0' minz='0' maxx='1' maxy='1' maxz='1'>\n"
       "<placement id='p' article='A' x='0' y='0' z='0'/>\n"
       "<placement id='p' article='B' x='0' y='0' z='0'/></room>",
       "placement 'p': the id is used twice", 3},
      {"<basket/>", "root element must be <room>, not <basket>", 1},
  };
  for (const auto& c : bad) {
    SCOPED_TRACE(c.text);
    RoomTemplate kept = room;
    int line = 0;
    EXPECT_FALSE(RoomTemplate::read(c.text, &kept, &error, &line));
    EXPECT_NE(error.find(c.message), std::string::npos) << error;
    EXPECT_EQ(line, c.line);
    EXPECT_EQ(kept, room);
  }
}
