// SimpleXMLReader on hostile input: external entities only on request and
// only from regular files, their bytes within the expansion bound, a limit
// on every token, no exception out of parse, no ill-formed UTF-8 handed on.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <map>
#include <new>
#include <sstream>
#include <string>

#include "sax_SimpleXMLReader_test_support.h"
#include "test_support.h"

using namespace kelp::test::sax;
using kelp::test::TempDir;
using kelp::test::writeFile;
using namespace std::string_literals;

namespace {

// Serves system ids found in `texts` from memory, leaves others to the
// reader, and records each request.
class Resolving : public Recorder {
 public:
  std::map<std::string, std::string> texts;
  bool resolveEntity(const char*, const char* systemId, InputSource** result) override {
    lines.push_back(std::string("resolve ") + systemId);
    *result = nullptr;
    auto it = texts.find(systemId);
    if (it != texts.end())
      *result = new ISInputSource("", systemId, new std::istringstream(it->second), true);
    return true;
  }
};

struct Parse {
  bool ok;
  std::string text;
};

Parse parse(SimpleXMLReader& reader, Resolving& rec, const std::string& doc,
            const std::string& systemId) {
  install(reader, rec, Options());
  reader.setEntityResolver(&rec);
  ISInputSource source("", systemId, new std::istringstream(doc), true);
  bool ok = reader.parse(&source);
  return {ok, rec.text()};
}

}  // namespace

TEST(SimpleXMLReaderHostile, ExternalEntitiesAreReadOnlyOnRequest) {
  TempDir dir;
  writeFile(dir.file("passwd"), "root:x:0:0");
  writeFile(dir.file("decls.ent"), "<!ENTITY y 'from the file'>");
  const std::string doc =
      "<!DOCTYPE a [<!ENTITY x SYSTEM 'passwd'><!ENTITY % p SYSTEM 'decls.ent'>%p;]>"
      "<a v='&x;'>&x;&y;</a>";
  {
    SCOPED_TRACE("default: nothing is opened, the references are skipped");
    SimpleXMLReader reader(nullptr);
    EXPECT_FALSE(reader.getFeature(SimpleXMLReader::ExternalGeneralEntities));
    EXPECT_FALSE(reader.getFeature(SimpleXMLReader::ExternalParameterEntities));
    Resolving rec;
    Parse p = parse(reader, rec, doc, dir.file("doc.xml"));
    EXPECT_TRUE(p.ok);
    EXPECT_EQ(p.text.find("root"), std::string::npos) << p.text;
    // The parameter entity is not even offered to the resolver.
    EXPECT_EQ(p.text.find("resolve decls.ent"), std::string::npos) << p.text;
    EXPECT_NE(p.text.find("skipped %p\nresolve passwd\nskipped x\nstart {}a a v={}v:\n"
                          "resolve passwd\nskipped x\nskipped y\n"),
              std::string::npos)
        << p.text;
  }
  {
    SCOPED_TRACE("features on: regular files next to the document");
    SimpleXMLReader reader(nullptr);
    reader.setFeature(SimpleXMLReader::ExternalGeneralEntities, true);
    reader.setFeature(SimpleXMLReader::ExternalParameterEntities, true);
    EXPECT_TRUE(reader.hasFeature(SimpleXMLReader::ExternalGeneralEntities));
    Resolving rec;
    Parse p = parse(reader, rec, doc, dir.file("doc.xml"));
    EXPECT_TRUE(p.ok) << p.text;
    EXPECT_NE(p.text.find("start {}a a v={}v:root:x:0:0\n"), std::string::npos) << p.text;
    EXPECT_EQ(rec.chars(), "root:x:0:0from the file");
  }
  {
    SCOPED_TRACE("a resolver's own source is read with the features off");
    SimpleXMLReader reader(nullptr);
    Resolving rec;
    rec.texts["passwd"] = "served";
    Parse p = parse(reader, rec, doc, dir.file("doc.xml"));
    EXPECT_TRUE(p.ok);
    EXPECT_NE(p.text.find("v={}v:served"), std::string::npos) << p.text;
  }
}

TEST(SimpleXMLReaderHostile, OnlyRegularFilesAreOpened) {
  TempDir dir;
  ASSERT_EQ(mkfifo(dir.file("fifo").c_str(), 0600), 0);
  for (const std::string& target : {std::string("/dev/zero"), std::string("/dev/null"),
                                    dir.file("fifo"), dir.path()}) {
    SCOPED_TRACE(target);
    SimpleXMLReader reader(nullptr);
    reader.setFeature(SimpleXMLReader::ExternalGeneralEntities, true);
    Resolving rec;
    Parse p = parse(reader, rec, "<!DOCTYPE a [<!ENTITY x SYSTEM '" + target + "'>]>\n<a>&x;</a>",
                    dir.file("doc.xml"));
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(rec.lastFatal.getMessage(), "entity '" + target + "' is not a regular file");
    EXPECT_EQ(rec.lastFatal.getLineNumber(), 2);
  }
}

TEST(SimpleXMLReaderHostile, ExternalBytesCountAgainstTheExpansionBound) {
  const std::string text(1000, 'x');
  SimpleXMLReader reader(nullptr);
  SimpleXMLReader::EntityLimits limits;
  limits.minExpansion = 1500;
  limits.expansionFactor = 1;
  reader.setEntityLimits(limits);
  Resolving rec;
  rec.texts["x.ent"] = text;
  const std::string decl = "<!DOCTYPE a [<!ENTITY x SYSTEM 'x.ent'>]>";
  // One reference: its text and the fixed charge of 32 bytes per expansion.
  EXPECT_TRUE(parse(reader, rec, decl + "<a>&x;</a>", "doc.xml").ok);
  EXPECT_EQ(reader.getEntityCounters().expandedBytes, text.size() + 32);
  // Two are past the bound.
  rec.lines.clear();
  EXPECT_FALSE(parse(reader, rec, decl + "<a>&x;&x;</a>", "doc.xml").ok);
  EXPECT_EQ(rec.lastFatal.getMessage(), "entity expansion limit exceeded");
}

TEST(SimpleXMLReaderHostile, EveryTokenHasALimit) {
  SimpleXMLReader reader(nullptr);
  std::size_t limit = 0;
  ASSERT_TRUE(reader.getProperty(SimpleXMLReader::MaxTokenSize, &limit));
  EXPECT_EQ(limit, std::size_t{64} << 20);
  EXPECT_FALSE(reader.setProperty(SimpleXMLReader::MaxTokenSize, 0));
  EXPECT_FALSE(reader.setProperty("http://www.qor-software.net/quv/sax/properties/none", 1));
  EXPECT_FALSE(reader.getProperty("none", &limit));
  ASSERT_TRUE(reader.setProperty(SimpleXMLReader::MaxTokenSize, 16));

  struct Case {
    const char* name;
    std::string fits;  // holds a 16-byte token; with 17 bytes it fails
    std::string tooLong;
  };
  // The token is `fixed` bytes from `before` and the rest of t's.
  auto both = [&](const char* name, const std::string& before, const std::string& after,
                  std::size_t fixed = 0) {
    return Case{name, before + std::string(16 - fixed, 't') + after,
                before + std::string(17 - fixed, 't') + after};
  };
  const Case cases[] = {
      both("text", "<a\n>", "</a>"),
      // A start tag is one token too: its names and values ("a", "v" and
      // the value here) count together.
      both("attribute value", "<a\nv='", "'/>", 2),
      both("attribute value with a reference", "<a\nv='&amp;", "'/>", 3),
      both("comment", "<a>\n<!--", "--></a>"),
      both("processing instruction", "<a>\n<?p ", "?></a>"),
      both("CDATA section", "<a>\n<![CDATA[", "]]></a>"),
      both("element name", "<a>\n<", "/></a>"),
      both("entity value", "<!DOCTYPE a [\n<!ENTITY e '", "'>]><a/>"),
      both("system literal", "<!DOCTYPE a SYSTEM\n'", "'><a/>"),
      // The name, and each attribute's name and value: 1 + 6 + 6 = 13, then
      // 17 with e='123'.
      {"start tag", "<a>\n<b c='12345' d='67890'/></a>",
       "<a>\n<b c='12345' d='67890' e='123'/></a>"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Resolving rec;
    EXPECT_TRUE(parse(reader, rec, c.fits, "doc.xml").ok) << rec.text();
    Resolving bad;
    EXPECT_FALSE(parse(reader, bad, c.tooLong, "doc.xml").ok);
    EXPECT_EQ(bad.lastFatal.getMessage(), "token longer than the limit of 16 bytes");
    EXPECT_EQ(bad.lastFatal.getLineNumber(), 2);
  }
}

// An exception from a handler (here an allocation that fails) ends the
// parse like any fatal error; none leaves parse().
TEST(SimpleXMLReaderHostile, NoExceptionLeavesParse) {
  class Throwing : public Resolving {
   public:
    bool characters(const char*) override { throw std::bad_alloc(); }
  };
  SimpleXMLReader reader(nullptr);
  Throwing rec;
  Parse p{true, ""};
  EXPECT_NO_THROW(p = parse(reader, rec, "<a>\ntext</a>", "doc.xml"));
  EXPECT_FALSE(p.ok);
  EXPECT_EQ(rec.lastFatal.getMessage(), "out of memory");
  EXPECT_EQ(rec.endDocuments, 1);
  // The reader is whole afterwards.
  Resolving again;
  EXPECT_TRUE(parse(reader, again, "<a>x</a>", "doc.xml").ok);
}

TEST(SimpleXMLReaderHostile, IllFormedUtf8BecomesOneQuestionMarkEach) {
  const struct {
    const char* name;
    std::string bytes;
  } cases[] = {
      {"overlong '<'", "\xC0\xBC"},
      {"overlong three-byte form", "\xE0\x80\xBC"},
      {"surrogate", "\xED\xA0\x80"},
      {"beyond U+10FFFF", "\xF4\x90\x80\x80"},
      {"no such lead byte", "\xF8\x88\x80\x80\x80"},
      {"truncated", "\xE2\x82"},
      {"stray continuation", "\x80"},
      {"run of continuations", "\x80\xBF\x80"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    for (const std::string& where : {std::string("<a>x%y</a>"), std::string("<a v='x%y'/>")}) {
      std::string doc = where;
      doc.replace(doc.find('%'), 1, c.bytes);
      Recorder rec;
      EXPECT_EQ(run(doc, Options(), &rec).substr(0, 0), "");
      EXPECT_TRUE(rec.text().find("x?y") != std::string::npos) << rec.text();
    }
  }
}

TEST(SimpleXMLReaderHostile, NulInTheXmlDeclarationIsASyntaxError) {
  const struct {
    std::string doc;
    const char* message;
  } cases[] = {
      {"<?xml version='1.0\0'?><a/>"s,
       "syntax error (invalid character in version number)"},
      {"<?xml version='1.0' encoding='UTF\0-8'?><a/>"s,
       "syntax error (invalid character in encoding name)"},
      {"<?xml version='1.0' standalone='no\0'?><a/>"s,
       "syntax error (standalone must be either 'yes' or 'no')"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    Recorder rec;
    EXPECT_NE(run(c.doc, Options(), &rec).find("-> false"), std::string::npos);
    EXPECT_EQ(rec.lastFatal.getMessage(), c.message);
  }
}
