// SimpleXMLReader: the characters a name may hold, the namespace rules for
// names and declarations, forbidden characters in declarations, entity
// versions and the reading of internal entity text in place.
#include <kelp/xml/sax/sax_SimpleInputSource.h>
#include <kelp/xml/sax/sax_SimpleXMLReader.h>

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/xml/sax/sax_SimpleXMLReader_test_support.h"

using namespace kelp::test::sax;

namespace {

// Serves a string at most `step` bytes per fetch, so that every window of
// the reader ends after `step` bytes and multi-byte characters are cut.
class SteppedSource final : public SimpleInputSource {
 public:
  SteppedSource(std::string text, std::size_t step)
      : SimpleInputSource("", "stepped.xml"), text_(std::move(text)), step_(step) {}
  bool setEncoding(const char*, const char*) override {
    reset();
    pos_ = 0;
    return true;
  }
  int fetch(char* buffer, std::size_t size) override {
    std::size_t n = std::min({size, step_, text_.size() - pos_});
    std::memcpy(buffer, text_.data() + pos_, n);
    pos_ += n;
    return static_cast<int>(n);
  }

 private:
  std::string text_;
  std::size_t step_;
  std::size_t pos_ = 0;
};

std::string runStepped(const std::string& doc, std::size_t step, const Options& o = Options()) {
  Recorder rec;
  SimpleXMLReader reader(nullptr);
  install(reader, rec, o);
  SteppedSource source(doc, step);
  bool ok = reader.parse(&source);
  return rec.text() + "-> " + (ok ? "true" : "false");
}

// The message of the fatal error of a parse, or "" when it succeeded.
std::string failure(const std::string& doc, const Options& o = Options()) {
  Recorder rec;
  std::string out = run(doc, o, &rec);
  if (out.size() >= 4 && out.compare(out.size() - 4, 4, "true") == 0) return "";
  return rec.lastFatal.getMessage();
}

struct Case {
  const char* name;
  std::string doc;
  std::string message;  // "" when the document is to be accepted
};

void checkCases(const std::vector<Case>& cases, const Options& o = Options()) {
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(failure(c.doc, o), c.message) << c.doc;
    // The same when every window of the input is one or two bytes long.
    for (std::size_t step : {1u, 2u}) {
      std::string out = runStepped(c.doc, step, o);
      if (c.message.empty()) {
        EXPECT_EQ(out.substr(out.size() - 4), "true") << step << "\n" << out;
      } else {
        EXPECT_NE(out.find(": " + c.message + "\n"), std::string::npos) << step << "\n" << out;
      }
    }
  }
}

const char kNameExpected[] = "syntax error (name expected)";
const char kSpaceExpected[] = "syntax error (space expected)";

}  // namespace

TEST(SimpleXMLReaderNames, NonAsciiNameCharacters) {
  checkCases({
      {"letters from Latin-1 on", "<caf\xC3\xA9 \xC3\xA0='1'><\xC3\x98/></caf\xC3\xA9>", ""},
      {"CJK and a character beyond the BMP", "<\xE4\xB8\xAD\xF0\x90\x80\x80 \xE6\x96\x87='x'/>",
       ""},
      {"middle dot, combining marks and the undertie after the first",
       "<a\xC2\xB7\xCC\x80\xE2\x80\xBF/>", ""},
      {"entity and PI names",
       "<!DOCTYPE d [<!ENTITY \xC3\xA9t\xC3\xA9 'x'>]><d>&\xC3\xA9t\xC3\xA9;<?\xC3\xA9 ?></d>", ""},
      {"multiplication sign first", "<\xC3\x97/>", kNameExpected},
      {"division sign inside", "<a\xC3\xB7/>", kSpaceExpected},
      {"middle dot first", "<\xC2\xB7/>", kNameExpected},
      {"combining mark first", "<\xCC\x80/>", kNameExpected},
      {"Greek question mark", "<a\xCD\xBE/>", kSpaceExpected},
      {"private use", "<a\xEE\x80\x80/>", kSpaceExpected},
      {"U+FFFE", "<a\xEF\xBF\xBE/>", kSpaceExpected},
      {"pilcrow in an attribute name", "<a b\xC2\xB6='1'/>", "syntax error ('=' expected)"},
      {"pilcrow in a PI target", "<?p\xC2\xB6 x?><a/>", kSpaceExpected},
      {"pilcrow in an end tag", "<a></a\xC2\xB6>", "syntax error ('>' expected)"},
      {"pilcrow in an entity reference", "<a>&x\xC2\xB6;</a>", "syntax error (';' expected)"},
      {"overlong encoding of 'A'", "<\xC1\x81/>", kNameExpected},
      {"encoded surrogate", "<a\xED\xA0\x80/>", kSpaceExpected},
      {"lead byte without its continuation", "<a\xC3/>", kSpaceExpected},
      {"continuation byte alone", "<a\x80/>", kSpaceExpected},
  });
}

TEST(SimpleXMLReaderNames, NameTokensInEnumerations) {
  checkCases({
      {"non-ASCII tokens", "<!DOCTYPE a [<!ATTLIST a v (\xC2\xB7x|\xC3\xA9) 'x'>]><a/>", ""},
      {"a token with a bad character", "<!DOCTYPE a [<!ATTLIST a v (x\xC3\x97) 'x'>]><a/>",
       "syntax error ([|)] expected)"},
      {"a token of a bad character", "<!DOCTYPE a [<!ATTLIST a v (\xC3\x97) 'x'>]><a/>",
       "syntax error (enumerator expected)"},
  });
}

TEST(SimpleXMLReaderNames, NonUtf8OutputLeavesBytesUnchecked) {
  // Without UTF-8 text a byte is no character of its own: bytes from 0x80
  // pass as name characters.
  Options latin;
  latin.utf8 = false;
  Recorder rec;
  SimpleXMLReader reader(nullptr);
  install(reader, rec, latin);
  SteppedSource source("<a\xD7/>", 1 << 20);
  EXPECT_TRUE(reader.parse(&source)) << rec.text();
}

TEST(SimpleXMLReaderNames, NameCutByEveryWindowEdge) {
  const std::string doc = "<r><\xE4\xB8\xAD\xC3\xA9x a\xF0\x90\x80\x80='1'/></r>";
  const std::string whole = runStepped(doc, 1 << 20);
  EXPECT_NE(whole.find("start {}\xE4\xB8\xAD\xC3\xA9x \xE4\xB8\xAD\xC3\xA9x "
                       "a\xF0\x90\x80\x80={}a\xF0\x90\x80\x80:1"),
            std::string::npos)
      << whole;
  for (std::size_t step = 1; step <= 8; ++step) EXPECT_EQ(runStepped(doc, step), whole) << step;
}

TEST(SimpleXMLReaderNames, QualifiedNames) {
  checkCases({
      {"two colons in an attribute name", "<a><b p:q:r='1'/></a>",
       "invalid qualified name 'p:q:r'"},
      {"colon at the end", "<a: />", "invalid qualified name 'a:'"},
      {"colon at the start", "<:a />", "invalid qualified name ':a'"},
      {"local part starting with a digit", "<p:1a xmlns:p='u'/>", "invalid qualified name 'p:1a'"},
      {"local part starting with a combining mark", "<p:\xCC\x80 xmlns:p='u'/>",
       "invalid qualified name 'p:\xCC\x80'"},
      {"non-ASCII local part", "<p:\xC3\xA9 xmlns:p='u'/>", ""},
      {"xmlns: alone", "<a xmlns:='u'/>", "invalid qualified name 'xmlns:'"},
      {"element with the prefix xmlns", "<xmlns:a/>",
       "element name 'xmlns:a' has the prefix 'xmlns'"},
      {"an unbound prefix is no error", "<p:a q:b='1'/>", ""},
      {"colon in a PI target", "<?a:b x?><a/>", "colon in name 'a:b'"},
      {"colon in an entity name", "<!DOCTYPE a [<!ENTITY a:b 'x'>]><a/>", "colon in name 'a:b'"},
      {"colon in a parameter entity name", "<!DOCTYPE a [<!ENTITY % a:b 'x'>]><a/>",
       "colon in name 'a:b'"},
      {"colon in a notation name", "<!DOCTYPE a [<!NOTATION a:b SYSTEM 'n'>]><a/>",
       "colon in name 'a:b'"},
  });
  // Without namespaces a name is a name, colons and all.
  Options plain;
  plain.namespaces = false;
  checkCases({{"colons anywhere", "<!DOCTYPE a [<!ENTITY a:b 'x'>]><:a b:c:d='1'><?p:i?></:a>", ""},
              {"reserved names are not special", "<xmlns:a xmlns:xmlns='u' xmlns:p=''/>", ""}},
             plain);
}

TEST(SimpleXMLReaderNames, ReservedPrefixesAndNamespaces) {
  const std::string xmlNs = "http://www.w3.org/XML/1998/namespace";
  const std::string xmlnsNs = "http://www.w3.org/2000/xmlns/";
  checkCases({
      {"xml bound to its own namespace", "<a xmlns:xml='" + xmlNs + "'/>", ""},
      {"xml bound elsewhere", "<a xmlns:xml='urn:x'/>", "prefix 'xml' bound to namespace 'urn:x'"},
      {"another prefix bound to the xml namespace", "<a xmlns:yml='" + xmlNs + "'/>",
       "reserved namespace '" + xmlNs + "' declared by 'xmlns:yml'"},
      {"xmlns declared with its namespace", "<a xmlns:xmlns='" + xmlnsNs + "'/>",
       "reserved prefix declared: 'xmlns:xmlns'"},
      {"xmlns declared elsewhere", "<a xmlns:xmlns='urn:x'/>",
       "reserved prefix declared: 'xmlns:xmlns'"},
      {"another prefix bound to the xmlns namespace", "<a xmlns:p='" + xmlnsNs + "'/>",
       "reserved namespace '" + xmlnsNs + "' declared by 'xmlns:p'"},
      {"xml namespace as the default", "<a xmlns='" + xmlNs + "'/>",
       "reserved namespace '" + xmlNs + "' declared by 'xmlns'"},
      {"xmlns namespace as the default", "<a xmlns='" + xmlnsNs + "'/>",
       "reserved namespace '" + xmlnsNs + "' declared by 'xmlns'"},
      {"a prefix unbound", "<p:a xmlns:p='urn:p'><p:b xmlns:p=''/></p:a>",
       "empty namespace name for prefix 'p'"},
      {"the default namespace may be emptied", "<a xmlns='urn:d'><b xmlns=''/></a>", ""},
  });
  // The declaration is refused before it is reported.
  Recorder rec;
  run("<a xmlns:p=''/>", Options(), &rec);
  EXPECT_EQ(rec.text().find("map "), std::string::npos) << rec.text();
}

TEST(SimpleXMLReaderNames, ForbiddenCharactersInDeclarations) {
  checkCases({
      {"U+FFFF in a parameter entity value", "<!DOCTYPE a [<!ENTITY % e '\xEF\xBF\xBF'>]><a/>",
       "syntax error (illegal character)"},
      {"U+FFFE in an entity value", "<!DOCTYPE a [<!ENTITY e 'x\xEF\xBF\xBE'>]><a/>",
       "syntax error (illegal character)"},
      {"a control character in a system literal", "<!DOCTYPE a SYSTEM 'a\x01'><a/>",
       "syntax error (illegal character)"},
      {"other characters pass",
       "<!DOCTYPE a SYSTEM 'a\xEF\xBF\xBD' [<!ENTITY e '\xEF\xBF\xBD'>]><a/>", ""},
  });
}

namespace {

// Serves external entities from a map of system ids.
class EntityFiles : public Recorder {
 public:
  std::map<std::string, std::string> files;
  bool resolveEntity(const char*, const char* systemId, InputSource** result) override {
    auto it = files.find(systemId);
    *result = it == files.end()
                  ? nullptr
                  : new ISInputSource("", systemId, new std::istringstream(it->second), true);
    return true;
  }
};

std::string runWithEntity(const std::string& doc, const std::string& entity) {
  EntityFiles rec;
  rec.files["e.xml"] = entity;
  SimpleXMLReader reader(nullptr);
  install(reader, rec, Options());
  reader.setEntityResolver(&rec);
  ISInputSource source("", "doc.xml", new std::istringstream(doc), true);
  bool ok = reader.parse(&source);
  return rec.text() + "-> " + (ok ? "true" : "false");
}

}  // namespace

TEST(SimpleXMLReaderNames, EntityVersions) {
  const std::string dtd = "<!DOCTYPE a [<!ENTITY e SYSTEM 'e.xml'>]>";
  struct {
    const char* name;
    std::string doc;
    std::string entity;
    bool ok;
  } cases[] = {
      {"1.1 entity in a 1.0 document", "<?xml version='1.0'?>" + dtd + "<a>&e;</a>",
       "<?xml version='1.1' encoding='UTF-8'?>x", false},
      {"1.1 entity without a declaration of the document", dtd + "<a>&e;</a>",
       "<?xml version=\"1.1\" encoding=\"UTF-8\"?>x", false},
      {"1.0 entity", "<?xml version='1.0'?>" + dtd + "<a>&e;</a>",
       "<?xml version='1.0' encoding='UTF-8'?>x", true},
      {"no version", dtd + "<a>&e;</a>", "<?xml encoding='UTF-8'?>x", true},
      {"1.1 entity in a 1.1 document", "<?xml version='1.1'?>" + dtd + "<a>&e;</a>",
       "<?xml version='1.1' encoding='UTF-8'?>x", true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::string out = runWithEntity(c.doc, c.entity);
    EXPECT_EQ(out.substr(out.size() - 4), c.ok ? "true" : "alse") << out;
    if (!c.ok) {
      EXPECT_NE(out.find("fatal L1: entity of XML version 1.1 in a document of version 1.0"),
                std::string::npos)
          << out;
    }
  }
}

TEST(SimpleXMLReaderNames, InternalEntityTextReadInPlace) {
  // Many references to short texts, nested and within attribute values: the
  // events equal those of the text written out.
  std::string dtd =
      "<!DOCTYPE r [<!ENTITY a 'A'><!ENTITY b '&a;-&a;'><!ENTITY c '<x v=\"&b;\">&b;</x>'>"
      "<!ENTITY n '\n\n'>]>";
  std::string refs = "<r>";
  std::string plain = "<r>";
  for (int i = 0; i < 300; ++i) {
    refs += "&c;&n;";
    plain += "<x v=\"A-A\">A-A</x>\n\n";
  }
  refs += "</r>";
  plain += "</r>";
  Recorder viaEntities;
  Recorder written;
  run(dtd + refs, Options(), &viaEntities);
  run(plain, Options(), &written);
  EXPECT_EQ(viaEntities.chars(), written.chars());
  std::size_t starts = 0;
  for (const std::string& l : viaEntities.lines)
    if (l == "start {}x x v={}v:A-A") ++starts;
  EXPECT_EQ(starts, 300u);

  // A reference begun in entity text does not end outside it, also when
  // the name outside is that of a declared entity.
  Recorder crossing;
  run("<!DOCTYPE r [<!ENTITY e '&#38;'><!ENTITY x 'X'>]><r>&e;x;</r>", Options(), &crossing);
  EXPECT_EQ(crossing.lastFatal.getMessage(), "syntax error (markup crosses an entity boundary)");

  // An error inside entity text names the referring document and counts
  // lines within the text.
  Recorder rec;
  run("<!DOCTYPE r [<!ENTITY e 'x\n\ny<1>'>]>\n<r>&e;</r>", Options(), &rec);
  EXPECT_EQ(rec.lastFatal.getMessage(), kNameExpected);
  EXPECT_EQ(rec.lastFatal.getSystemId(), "test.xml");
  EXPECT_EQ(rec.lastFatal.getLineNumber(), 3);
}

TEST(SimpleXMLReaderNames, DeeplyNestedEntityTextAndReuse) {
  // Forty entities, each referring to the next: more sources open at once
  // than the reader keeps memory for, then all of them closed again; the
  // same reader then reads the same text once more.
  std::string dtd = "<!DOCTYPE r [";
  for (int i = 0; i < 40; ++i)
    dtd += "<!ENTITY e" + std::to_string(i) + " '" + std::to_string(i % 10) + "&e" +
           std::to_string(i + 1) + ";'>";
  dtd += "<!ENTITY e40 'end'>]>";
  std::string digits;
  for (int i = 0; i < 40; ++i) digits += std::to_string(i % 10);
  Recorder rec;
  SimpleXMLReader reader(nullptr);
  install(reader, rec, Options());
  for (int round = 0; round < 2; ++round) {
    SCOPED_TRACE(round);
    rec.lines.clear();
    ISInputSource source("", "nested.xml", new std::istringstream(dtd + "<r>&e0;|&e0;</r>"), true);
    EXPECT_TRUE(reader.parse(&source)) << rec.text();
    EXPECT_EQ(rec.chars(), digits + "end|" + digits + "end");
  }
}
