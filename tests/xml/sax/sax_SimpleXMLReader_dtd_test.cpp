// SimpleXMLReader: the document type declaration, the entity map, entity
// and character references, external entities and the bounds on entity
// expansion, checked through the events a recording handler sees.
#include <kelp/xml/sax/sax_SimpleXMLReader.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <sstream>

#include "test_support.h"
#include "tests/xml/sax/sax_SimpleXMLReader_test_support.h"

using namespace kelp::test::sax;

namespace {

// Adds the declaration, DTD and resolver events to the recorder's lines:
// "dtd name pub sys", "/dtd", "element name model", "attlist e a type mode
// value", "internal name value", "external name pub sys", "unparsed name pub
// sys notation", "notation name pub sys", "resolve pub sys".
class DtdRecorder : public Recorder {
 public:
  // System id -> entity text served by resolveEntity; others get no source.
  std::map<std::string, std::string> files;
  bool resolveResult = true;

  bool startDTD(const char* name, const char* publicId, const char* systemId) override {
    return log(std::string("dtd ") + name + " " + publicId + " " + systemId);
  }
  bool endDTD() override { return log("/dtd"); }
  bool elementDecl(const char* name, const char* model) override {
    return log(std::string("element ") + name + " " + model);
  }
  bool attributeDecl(const char* e, const char* a, const char* type, const char* mode,
                     const char* value) override {
    return log(std::string("attlist ") + e + " " + a + " " + type + " " + mode + " " + value);
  }
  bool internalEntityDecl(const char* name, const char* value) override {
    return log(std::string("internal ") + name + " " + value);
  }
  bool externalEntityDecl(const char* name, const char* publicId, const char* systemId) override {
    return log(std::string("external ") + name + " " + publicId + " " + systemId);
  }
  bool unparsedEntityDecl(const char* name, const char* publicId, const char* systemId,
                          const char* notation) override {
    return log(std::string("unparsed ") + name + " " + publicId + " " + systemId + " " + notation);
  }
  bool notationDecl(const char* name, const char* publicId, const char* systemId) override {
    return log(std::string("notation ") + name + " " + publicId + " " + systemId);
  }
  bool resolveEntity(const char* publicId, const char* systemId, InputSource** result) override {
    log(std::string("resolve ") + publicId + " " + systemId);
    *result = nullptr;
    auto it = files.find(systemId);
    if (it != files.end())
      *result = new ISInputSource(publicId, systemId, new std::istringstream(it->second), true);
    return resolveResult;
  }
  std::string getErrorMessage() override { return "refused by resolver"; }

 private:
  bool log(const std::string& l) {
    lines.push_back(l);
    return true;
  }
};

void installAll(SimpleXMLReader& reader, DtdRecorder& rec, const Options& o) {
  install(reader, rec, o);
  reader.setDeclHandler(&rec);
  reader.setDTDHandler(&rec);
  reader.setEntityResolver(&rec);
}

bool parseWith(SimpleXMLReader& reader, const std::string& doc,
               const std::string& systemId = "test.xml") {
  ISInputSource source("", systemId, new std::istringstream(doc), true);
  return reader.parse(&source);
}

// Events and result, as run() gives them, with the DTD events.
std::string runDtd(const std::string& doc, const Options& o = Options(),
                   DtdRecorder* out = nullptr) {
  DtdRecorder local;
  DtdRecorder& rec = out ? *out : local;
  SimpleXMLReader reader(nullptr);
  installAll(reader, rec, o);
  bool ok = parseWith(reader, doc);
  return rec.text() + "-> " + (ok ? "true" : "false");
}

struct Case {
  const char* name;
  std::string doc;
  std::string expected;
};

void runCases(const std::vector<Case>& cases, const Options& o = Options()) {
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(runDtd(c.doc, o), c.expected);
  }
}

const char kStart[] = "startDocument\n";
const char kEnd[] = "endDocument\n-> true";

}  // namespace

TEST(SimpleXMLReaderDtd, DocumentTypeDeclaration) {
  runCases({
      {"name only", "<!DOCTYPE a><a/>",
       std::string(kStart) + "dtd a  \n/dtd\nstart {}a a\nend {}a a\n" + kEnd},
      {"external id only: no subset is read", "<!DOCTYPE a SYSTEM 'a.dtd'><a/>",
       std::string(kStart) + "dtd a  a.dtd\n/dtd\nstart {}a a\nend {}a a\n" + kEnd},
      {"public id", "<!DOCTYPE a PUBLIC \"-//x//y\" \"a.dtd\" ><a/>",
       std::string(kStart) + "dtd a -//x//y a.dtd\n/dtd\nstart {}a a\nend {}a a\n" + kEnd},
      {"misc around it", "<?xml version='1.0'?><!--c--><!DOCTYPE a []><?p?><a/>",
       std::string(kStart) + "comment c\ndtd a  \n/dtd\npi p \nstart {}a a\nend {}a a\n" + kEnd},
      {"declarations",
       "<!DOCTYPE a [\n"
       "<!ELEMENT a (b, (c | d)*, e?)+>\n"
       "<!ELEMENT b (#PCDATA | c)*>\n"
       "<!ELEMENT c EMPTY><!ELEMENT d ANY><!ELEMENT e ( #PCDATA )>\n"
       "<!ATTLIST a x CDATA #IMPLIED y (p|q) 'p' z NOTATION (n) #REQUIRED\n"
       "            w IDREFS #FIXED \"r&#65;\">\n"
       "<!ENTITY t 'x&amp;y&#66;'>\n"
       "<!ENTITY % p \"<!ELEMENT f EMPTY>\">\n"
       "<!ENTITY u SYSTEM 'u.xml'>\n"
       "<!ENTITY v PUBLIC '-//v' 'v.gif' NDATA gif>\n"
       "<!NOTATION gif PUBLIC '-//gif'>\n"
       "<!NOTATION n SYSTEM 'n'>\n"
       "<?pi in subset?><!-- note -->\n"
       "%p;\n"
       "]><a/>",
       std::string(kStart) +
           "dtd a  \n"
           "element a (b,(c|d)*,e?)+\n"
           "element b (#PCDATA|c)*\n"
           "element c EMPTY\nelement d ANY\nelement e (#PCDATA)\n"
           "attlist a x CDATA #IMPLIED \nattlist a y (p|q)  p\n"
           "attlist a z NOTATION (n) #REQUIRED \nattlist a w IDREFS #FIXED rA\n"
           "internal t x&amp;yB\n"
           "internal %p <!ELEMENT f EMPTY>\n"
           "external u  u.xml\n"
           "unparsed v -//v v.gif gif\n"
           "notation gif -//gif \nnotation n  n\n"
           "pi pi in subset\ncomment  note \n"
           "entity %p\nelement f EMPTY\n/entity %p\n"
           "/dtd\nstart {}a a\nend {}a a\n" +
           kEnd},
  });
}

TEST(SimpleXMLReaderDtd, DeclarationErrors) {
  struct Bad {
    const char* doc;
    const char* message;
  };
  const Bad cases[] = {
      {"<!DOCTYPE a SYSTEM a.dtd><a/>",
       "syntax error (system id must start with either '\"' or '\\'')"},
      {"<!DOCTYPE a PUBLIC x><a/>",
       "syntax error (public id must start with either '\"' or '\\'')"},
      {"<!DOCTYPE a PUBLIC '{x}' 'a'><a/>", "invalid character in public id"},
      {"<!DOCTYPE a PUBLIC 'x'><a/>", "syntax error (space expected)"},
      {"<!DOCTYPE a [<!NOTATION n 'x'>]><a/>", "syntax error (external id expected)"},
      {"<!DOCTYPE a [<!ENTITY e x>]><a/>", "syntax error (entity value or external id expected)"},
      {"<!DOCTYPE a [<!ATTLIST a b (x|) #IMPLIED>]><a/>", "syntax error (enumerator expected)"},
      {"<!DOCTYPE a [<!ATTLIST a b NUMBER #IMPLIED>]><a/>",
       "syntax error (attribute type expected)"},
      {"<!DOCTYPE a [<!ELEMENT a (b|c,d)>]><a/>", "syntax error ([|)] expected)"},
      {"<!DOCTYPE a [<!ELEMENT a (#PCDATA|b)>]><a/>", "syntax error ('*' expected)"},
      {"<!DOCTYPE a [<!ELEMENT a>]><a/>", "syntax error (space expected)"},
      {"<!DOCTYPE a [<!ELEMENT a FOO>]><a/>", "syntax error ('(' expected)"},
      {"<!DOCTYPE a [<foo>]><a/>", "syntax error (markup declaration expected)"},
      {"<!DOCTYPE a [<!ENTITY e '%x;'>]><a/>",
       "syntax error (parameter entity reference in entity value)"},
      {"<!DOCTYPE a [", "unexpected end of input"},
      {"<!DOCTYPE a [<!ENTITY e 'x'", "unexpected end of input"},
  };
  for (const Bad& b : cases) {
    SCOPED_TRACE(b.doc);
    DtdRecorder rec;
    SimpleXMLReader reader(nullptr);
    installAll(reader, rec, Options());
    EXPECT_FALSE(parseWith(reader, b.doc));
    EXPECT_EQ(rec.lastFatal.getMessage(), b.message);
    EXPECT_EQ(rec.endDocuments, 1);
  }
}

TEST(SimpleXMLReaderDtd, EntityReferences) {
  const std::string dtd =
      "<!DOCTYPE a [<!ENTITY e 'x<b>y</b>z'><!ENTITY q '\"'><!ENTITY r 'R&e;'>"
      "<!ENTITY s 'S&#13;T'>]>";
  runCases({
      {"markup in replacement text", dtd + "<a>1&e;2</a>",
       "startDocument\ndtd a  \ninternal e x<b>y</b>z\ninternal q \"\ninternal r R&e;\n"
       "internal s S&#13;T\n/dtd\nstart {}a a\nchars 1\nentity e\nchars x\nstart {}b b\n"
       "chars y\nend {}b b\nchars z\n/entity e\nchars 2\nend {}a a\n" +
           std::string(kEnd)},
      {"nested references and a quote inside a value", dtd + "<a v=\"&q;&r;\"/>",
       "startDocument\ndtd a  \ninternal e x<b>y</b>z\ninternal q \"\ninternal r R&e;\n"
       "internal s S&#13;T\n/dtd\nfatal L1: syntax error ('<' not allowed in attribute "
       "value)\nendDocument\n-> false"},
      {"a carriage return by reference stays one", dtd + "<a>&s;</a>",
       "startDocument\ndtd a  \ninternal e x<b>y</b>z\ninternal q \"\ninternal r R&e;\n"
       "internal s S&#13;T\n/dtd\nstart {}a a\nentity s\nchars S\nchars \r\nchars T\n"
       "/entity s\nend {}a a\n" +
           std::string(kEnd)},
  });
  // The quote from entity text does not end the value.
  DtdRecorder rec;
  runDtd("<!DOCTYPE a [<!ENTITY q '\"'><!ENTITY r \"'\">]><a v=\"&q;&r;\" w='&q;&r;'/>", Options(),
         &rec);
  bool found = false;
  for (const std::string& l : rec.lines)
    if (l == "start {}a a v={}v:\"' w={}w:\"'") found = true;
  EXPECT_TRUE(found) << rec.text();
}

TEST(SimpleXMLReaderDtd, PredefinedAndCharacterReferences) {
  runCases({
      {"&amp;lt; gives the text &lt;", "<a>&amp;lt;</a>",
       "startDocument\nstart {}a a\nchars &\nchars lt;\nend {}a a\n" + std::string(kEnd)},
      {"upper-case X is no character reference", "<a>&#X41;</a>",
       "startDocument\nstart {}a a\nfatal L1: syntax error (digit or ';' expected)\n"
       "endDocument\n-> false"},
      {"hexadecimal and decimal", "<a>&#x41;&#65;</a>",
       "startDocument\nstart {}a a\nchars A\nchars A\nend {}a a\n" + std::string(kEnd)},
      {"&apos; inside single quotes", "<a v='x&apos;y' w=\"&quot;\"/>",
       "startDocument\nstart {}a a v={}v:x'y w={}w:\"\nend {}a a\n" + std::string(kEnd)},
      {"a reference may not end outside its entity",
       "<!DOCTYPE a [<!ENTITY e '&#38;#6'>]><a>&e;5;</a>",
       "startDocument\ndtd a  \ninternal e &#6\n/dtd\nstart {}a a\nentity e\nfatal L1: syntax "
       "error "
       "(markup crosses an entity boundary)\nendDocument\n-> false"},
      {"an element may not end outside its entity",
       "<!DOCTYPE a [<!ENTITY e '<b>'>]><a>&e;</b></a>",
       "startDocument\ndtd a  \ninternal e <b>\n/dtd\nstart {}a a\nentity e\nstart {}b b\nfatal "
       "L1: "
       "syntax error (markup crosses an entity boundary)\nendDocument\n-> false"},
  });
}

TEST(SimpleXMLReaderDtd, Html4EntitiesAndSkippedNames) {
  EXPECT_EQ(runDtd("<a>&eacute;</a>"),
            "startDocument\nstart {}a a\nskipped eacute\nend {}a a\n" + std::string(kEnd));
  Options html;
  html.html4 = true;
  EXPECT_EQ(runDtd("<a>&eacute;&euro;<b v='&nbsp;'/></a>", html),
            "startDocument\nstart {}a a\nchars \xC3\xA9\nchars \xE2\x82\xAC\nstart {}b b "
            "v={}v:\xC2\xA0\nend {}b b\nend {}a a\n" +
                std::string(kEnd));
  // A declaration comes before the HTML 4 set.
  EXPECT_EQ(runDtd("<!DOCTYPE a [<!ENTITY eacute 'E'>]><a>&eacute;</a>", html),
            "startDocument\ndtd a  \ninternal eacute E\n/dtd\nstart {}a a\nentity eacute\nchars E\n"
            "/entity eacute\nend {}a a\n" +
                std::string(kEnd));
  // Undeclared parameter entities are skipped with their "%".
  EXPECT_EQ(
      runDtd("<!DOCTYPE a [%p;]><a/>"),
      "startDocument\ndtd a  \nskipped %p\n/dtd\nstart {}a a\nend {}a a\n" + std::string(kEnd));
}

TEST(SimpleXMLReaderDtd, FirstDeclarationWinsAndCarriesOver) {
  DtdRecorder rec;
  SimpleXMLReader reader(nullptr);
  installAll(reader, rec, Options());
  EXPECT_TRUE(parseWith(reader,
                        "<!DOCTYPE a [<!ENTITY e 'one'><!ENTITY e 'two'><!ENTITY % e 'pe'>]>"
                        "<a>&e;</a>"));
  EXPECT_EQ(rec.chars(), "one");
  EXPECT_NE(rec.text().find("internal e two\n"), std::string::npos);
  ASSERT_NE(reader.getEntity("%e"), nullptr);
  EXPECT_EQ(static_cast<const SimpleXMLReader::InternalEntity*>(reader.getEntity("%e"))
                ->getReplacementText(),
            "pe");

  // A second document: e still expands, and its own declaration is
  // reported but changes nothing.
  rec.lines.clear();
  EXPECT_TRUE(parseWith(reader, "<a>&e;</a>"));
  EXPECT_EQ(rec.chars(), "one");
  rec.lines.clear();
  EXPECT_TRUE(parseWith(reader, "<!DOCTYPE a [<!ENTITY e 'three'>]><a>&e;</a>"));
  EXPECT_EQ(rec.chars(), "one");
  EXPECT_NE(rec.text().find("internal e three\n"), std::string::npos);
  EXPECT_EQ(reader.getEntity("f"), nullptr);
}

TEST(SimpleXMLReaderDtd, ExternalEntities) {
  const std::string doc =
      "<!DOCTYPE a [<!ENTITY x SYSTEM 'x.xml'><!ENTITY u SYSTEM 'u.gif' NDATA gif>]>";
  {
    SCOPED_TRACE("resolved, with a text declaration switching the encoding");
    DtdRecorder rec;
    rec.files["x.xml"] = std::string("<?xml encoding='ISO-8859-1'?><b>\xE9</b>");
    runDtd(doc + "<a>&x;</a>", Options(), &rec);
    EXPECT_NE(rec.text().find(
                  "resolve  x.xml\nentity x\nstart {}b b\nchars \xC3\xA9\nend {}b b\n/entity x\n"),
              std::string::npos)
        << rec.text();
  }
  {
    SCOPED_TRACE("refused by the resolver");
    DtdRecorder rec;
    rec.resolveResult = false;
    EXPECT_NE(runDtd(doc + "<a>&x;</a>", Options(), &rec).find("fatal L1: refused by resolver"),
              std::string::npos);
  }
  {
    SCOPED_TRACE("no source, feature on: the system id is a path next to the document");
    kelp::test::TempDir dir;
    kelp::test::writeFile(dir.file("x.xml"), "<c/>");
    DtdRecorder rec;
    SimpleXMLReader reader(nullptr);
    installAll(reader, rec, Options());
    reader.setFeature(SimpleXMLReader::ExternalGeneralEntities, true);
    EXPECT_TRUE(parseWith(reader, doc + "<a>&x;</a>", dir.file("doc.xml")));
    EXPECT_NE(rec.text().find("entity x\nstart {}c c\nend {}c c\n/entity x\n"), std::string::npos);
    rec.lines.clear();
    EXPECT_FALSE(parseWith(reader, "<!DOCTYPE a [<!ENTITY y SYSTEM 'none.xml'>]><a>&y;</a>",
                           dir.file("doc.xml")));
    EXPECT_EQ(rec.lastFatal.getMessage(), "entity '" + dir.file("none.xml") + "' doesn't exist");
  }
  {
    SCOPED_TRACE("in an attribute value, read like in content");
    DtdRecorder rec;
    rec.files["x.xml"] = "<?xml encoding='UTF-8'?>t\"'";
    EXPECT_EQ(runDtd(doc + "<a v='1&x;2'/>", Options(), &rec).substr(0, 0), "");
    EXPECT_NE(rec.text().find("start {}a a v={}v:1t\"'2\n"), std::string::npos) << rec.text();
  }
  EXPECT_NE(runDtd(doc + "<a>&u;</a>").find("reference to unparsed entity 'u'"), std::string::npos);
}

// Entities read as content are reported around the events of their text,
// innermost first at their ends; character data is split at their edges.
TEST(SimpleXMLReaderDtd, EntityStartAndEnd) {
  const std::string dtd =
      "<!DOCTYPE a [<!ENTITY in 'i<c/>j'><!ENTITY out 'o&in;p<b>&in;</b>q'>"
      "<!ENTITY tail 't&in;'><!ENTITY z ''><!ENTITY br 'x]'><!ENTITY lt '&#38;#60;'>"
      "<!ENTITY open '<b>text'><!ENTITY x SYSTEM 'x.xml'>]>";
  const std::string decls =
      "startDocument\ndtd a  \ninternal in i<c/>j\ninternal out o&in;p<b>&in;</b>q\n"
      "internal tail t&in;\ninternal z \ninternal br x]\ninternal lt &#60;\n"
      "internal open <b>text\nexternal x  x.xml\n/dtd\nstart {}a a\n";
  const std::string in = "entity in\nchars i\nstart {}c c\nend {}c c\nchars j\n/entity in\n";
  const std::string end = "end {}a a\n" + std::string(kEnd);
  struct EntityCase {
    const char* name;
    std::string content;
    std::string expected;
  };
  const EntityCase cases[] = {
      {"nested, inside and around elements", "1&out;2",
       "chars 1\nentity out\nchars o\n" + in + "chars p\nstart {}b b\n" + in +
           "end {}b b\nchars q\n/entity out\nchars 2\n" + end},
      {"ending together with the enclosing entity", "&tail;3",
       "entity tail\nchars t\n" + in + "/entity tail\nchars 3\n" + end},
      {"used twice in a row", "&in;&in;", in + in + end},
      {"empty", "&z;", "entity z\n/entity z\n" + end},
      {"brackets on both sides of the end", "&br;]y",
       "entity br\nchars x]\n/entity br\nchars ]y\n" + end},
      {"predefined entities and character references are not reported", "&amp;&#65;&#x42;&gt;",
       "chars &\nchars A\nchars B\nchars >\n" + end},
      {"a declared entity standing for a character reference", "&lt;",
       "entity lt\nchars <\n/entity lt\n" + end},
      {"references in attribute values are not reported", "<b v='&br;&lt;&amp;' w=\"&z;\"/>",
       "start {}b b v={}v:x]<& w={}w:\nend {}b b\n" + end},
      {"skipped names are not reported", "&nope;", "skipped nope\n" + end},
      {"an element begun in the entity is still open at its end", "&open;</b>",
       "entity open\nstart {}b b\nchars text\nfatal L1: syntax error (markup crosses an entity "
       "boundary)\nendDocument\n-> false"},
  };
  for (const EntityCase& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(runDtd(dtd + "<a>" + c.content + "</a>"), decls + c.expected);
  }

  // Parameter entities: "%" and the name, around their declarations; one
  // may not hold the end of the subset.
  EXPECT_EQ(runDtd("<!DOCTYPE a [<!ENTITY % p '<!ELEMENT a ANY><!--c-->'> %p;%p; ]><a/>"),
            "startDocument\ndtd a  \ninternal %p <!ELEMENT a ANY><!--c-->\n"
            "entity %p\nelement a ANY\ncomment c\n/entity %p\n"
            "entity %p\nelement a ANY\ncomment c\n/entity %p\n"
            "/dtd\nstart {}a a\nend {}a a\n" +
                std::string(kEnd));
  EXPECT_EQ(runDtd("<!DOCTYPE a [<!ENTITY % p ']'> %p; ><a/>"),
            "startDocument\ndtd a  \ninternal %p ]\nentity %p\nfatal L1: syntax error (markup "
            "crosses an entity boundary)\nendDocument\n-> false");
}

TEST(SimpleXMLReaderDtd, ExternalEntityStartAndEnd) {
  const std::string doc =
      "<!DOCTYPE a [<!ENTITY x SYSTEM 'x.xml'><!ENTITY y SYSTEM 'y.xml'>"
      "<!ENTITY e 'E'>]><a>&x;|&y;|&x;</a>";
  DtdRecorder rec;
  rec.files["x.xml"] = "<?xml encoding='UTF-8'?>t<b>&e;</b>";
  rec.files["y.xml"] = "";
  std::string all = runDtd(doc, Options(), &rec);
  const std::string x =
      "resolve  x.xml\nentity x\nchars t\nstart {}b b\nentity e\nchars E\n/entity e\n"
      "end {}b b\n/entity x\n";
  EXPECT_NE(all.find("start {}a a\n" + x +
                     "chars |\nresolve  y.xml\nentity y\n/entity y\n"
                     "chars |\n" +
                     x + "end {}a a\n"),
            std::string::npos)
      << all;
}

// A handler that refuses startEntity or endEntity stops the parse with its
// message, like any other callback; nothing is reported after it.
TEST(SimpleXMLReaderDtd, RefusedEntityEvents) {
  const std::string doc =
      "<!DOCTYPE a [<!ENTITY e 'x'><!ENTITY f '&e;y'><!ENTITY % p '<!--c-->'>"
      "<!ENTITY x SYSTEM 'x.xml'>]>";
  struct Refusal {
    const char* stopAt;
    std::string content;
    std::string tail;  // the events from the document element on
  };
  const Refusal cases[] = {
      {"entity e", "1&e;2", "start {}a a\nchars 1\nentity e\n"},
      {"/entity e", "1&e;2", "start {}a a\nchars 1\nentity e\nchars x\n/entity e\n"},
      {"/entity e", "&f;", "start {}a a\nentity f\nentity e\nchars x\n/entity e\n"},
      {"entity x", "&x;", "start {}a a\nresolve  x.xml\nentity x\n"},
      {"/entity x", "&x;",
       "start {}a a\nresolve  x.xml\nentity x\nstart {}z z\nend {}z z\n/entity x\n"},
  };
  // (The recorder's own message is the resolver's.)
  struct Refuser : DtdRecorder {
    std::string getErrorMessage() override { return stopMessage; }
  };
  for (const Refusal& r : cases) {
    SCOPED_TRACE(std::string(r.stopAt) + " in " + r.content);
    Refuser rec;
    rec.files["x.xml"] = "<z/>";
    rec.stopAt = r.stopAt;
    rec.stopMessage = "no entities here";
    std::string all = runDtd(doc + "<a>" + r.content + "</a>", Options(), &rec);
    const std::string expected = r.tail + "fatal L1: no entities here\nendDocument\n-> false";
    ASSERT_GE(all.size(), expected.size()) << all;
    EXPECT_EQ(all.substr(all.size() - expected.size()), expected);
  }
  Refuser rec;
  rec.stopAt = "entity %p";
  rec.stopMessage = "no parameter entities";
  runDtd("<!DOCTYPE a [<!ENTITY % p '<!--c-->'>%p;]><a/>", Options(), &rec);
  EXPECT_EQ(rec.lastFatal.getMessage(), "no parameter entities");
  EXPECT_EQ(rec.lines[rec.lines.size() - 3], "entity %p");
}

// Without a lexical handler of its own, the reader reports nothing and
// delivers the text as before: one run across the entity's end.
TEST(SimpleXMLReaderDtd, NoLexicalHandlerNoEntityEvents) {
  Recorder rec;
  SimpleXMLReader reader(nullptr);
  reader.setContentHandler(&rec);
  reader.setErrorHandler(&rec);
  ASSERT_TRUE(parseWith(reader, "<!DOCTYPE a [<!ENTITY e 'x<b/>y'>]><a>1&e;2</a>"));
  EXPECT_EQ(rec.text(),
            "startDocument\nstart {}a a\nchars 1\nchars x\nstart {}b b\nend {}b b\nchars y2\n"
            "end {}a a\nendDocument\n");
  rec.lines.clear();
  reader.setLexicalHandler(&rec);
  ASSERT_TRUE(parseWith(reader, "<a>1&e;2</a>"));
  EXPECT_EQ(rec.text(),
            "startDocument\nstart {}a a\nchars 1\nentity e\nchars x\nstart {}b b\nend {}b b\n"
            "chars y\n/entity e\nchars 2\nend {}a a\nendDocument\n");
}

TEST(SimpleXMLReaderDtd, ForbiddenCharacters) {
  for (const char* doc : {"<a>\x01</a>", "<a v='\x0B'/>", "<!--\x1F--><a/>", "<a>\xEF\xBF\xBF</a>",
                          "<?p \x0C?><a/>", "<a><![CDATA[\x02]]></a>"}) {
    SCOPED_TRACE(doc);
    DtdRecorder rec;
    runDtd(doc, Options(), &rec);
    EXPECT_EQ(rec.lastFatal.getMessage(), "syntax error (illegal character)");
  }
  EXPECT_EQ(runDtd("<a>\t\xEF\xBF\xBD</a>"),
            "startDocument\nstart {}a a\nchars \t\xEF\xBF\xBD\nend {}a a\n" + std::string(kEnd));
  EXPECT_NE(runDtd("<?XmL x?><a/>").find("syntax error ('xml' not allowed here)"),
            std::string::npos);
}

// Hostile documents end with the expansion error, quickly and in bounded
// memory; the counters show how far they got.
TEST(SimpleXMLReaderDtd, EntityExpansionIsBounded) {
  std::string laughs = "<!DOCTYPE a [<!ENTITY l0 'lol'>";
  for (int i = 1; i <= 12; ++i)
    laughs += "<!ENTITY l" + std::to_string(i) + " '" + [&] {
      std::string r;
      for (int k = 0; k < 10; ++k) r += "&l" + std::to_string(i - 1) + ";";
      return r;
    }() + "'>";
  laughs += "]><a>&l12;</a>";

  std::string quadratic = "<!DOCTYPE a [<!ENTITY x '" + std::string(50000, 'x') + "'>]><a>";
  for (int i = 0; i < 20000; ++i) quadratic += "&x;";
  quadratic += "</a>";

  struct Hostile {
    const char* name;
    std::string doc;
  };
  const Hostile docs[] = {
      {"self reference", "<!DOCTYPE a [<!ENTITY e 'x&e;'>]><a>&e;</a>"},
      {"mutual reference", "<!DOCTYPE a [<!ENTITY e '&f;'><!ENTITY f '&e;'>]><a>&e;</a>"},
      {"parameter entity self reference", "<!DOCTYPE a [<!ENTITY % p '&#37;p;'>%p;]><a/>"},
      {"billion laughs", laughs},
      {"quadratic blowup", quadratic},
  };
  for (const Hostile& h : docs) {
    SCOPED_TRACE(h.name);
    // Character data is not recorded: only what the reader itself holds
    // counts here.
    struct Quiet : DtdRecorder {
      std::size_t chars = 0;
      std::size_t entities = 0;
      bool characters(const char* c) override {
        chars += std::strlen(c);
        return true;
      }
      bool startEntity(const char*) override { return ++entities > 0; }
      bool endEntity(const char*) override { return true; }
    } quiet;
    SimpleXMLReader reader(nullptr);
    installAll(reader, quiet, Options());
    EXPECT_FALSE(parseWith(reader, h.doc));
    EXPECT_EQ(quiet.lastFatal.getMessage(), "entity expansion limit exceeded");
    SimpleXMLReader::EntityCounters c = reader.getEntityCounters();
    SimpleXMLReader::EntityLimits l = reader.getEntityLimits();
    std::size_t bound = std::max(l.minExpansion, l.expansionFactor * c.documentBytes);
    EXPECT_LE(c.expandedBytes, bound);
    EXPECT_LE(c.deepestNesting, l.maxDepth);
    EXPECT_LE(quiet.chars, bound + 2 * c.documentBytes);
    EXPECT_GT(quiet.entities, 0u);
  }
}

TEST(SimpleXMLReaderDtd, LimitsAreAdjustable) {
  const std::string doc = "<!DOCTYPE a [<!ENTITY e 'abcd'><!ENTITY f '&e;&e;'>]><a>&f;&f;</a>";
  DtdRecorder rec;
  SimpleXMLReader reader(nullptr);
  installAll(reader, rec, Options());
  EXPECT_EQ(reader.getEntityLimits().maxDepth, 64u);
  EXPECT_EQ(reader.getEntityLimits().minExpansion, 8u << 20);
  EXPECT_EQ(reader.getEntityLimits().expansionFactor, 100u);
  EXPECT_TRUE(parseWith(reader, doc));
  EXPECT_EQ(rec.chars(), "abcdabcdabcdabcd");
  SimpleXMLReader::EntityCounters c = reader.getEntityCounters();
  EXPECT_EQ(c.expandedBytes, 2 * (6u + 32) + 4 * (4u + 32));
  EXPECT_EQ(c.deepestNesting, 2u);
  EXPECT_EQ(c.documentBytes, doc.size());

  SimpleXMLReader::EntityLimits tight;
  tight.maxDepth = 1;
  reader.setEntityLimits(tight);
  EXPECT_FALSE(parseWith(reader, doc));
  EXPECT_EQ(rec.lastFatal.getMessage(), "entity expansion limit exceeded");

  tight.maxDepth = 8;
  tight.minExpansion = 200;
  tight.expansionFactor = 0;
  reader.setEntityLimits(tight);
  EXPECT_FALSE(parseWith(reader, doc));
  EXPECT_EQ(reader.getEntityCounters().expandedBytes, 2 * (6u + 32) + 3 * (4u + 32));
}
