// SimpleXMLReader: features, handlers, the document and its declaration,
// elements, attributes, namespaces and content, each checked through the
// events a recording handler sees.
#include <kelp/xml/sax/sax_SimpleXMLReader.h>

#include <gtest/gtest.h>
#include <kelp/host.h>
#include <sys/stat.h>
#include <unistd.h>

#include "test_support.h"
#include "tests/xml/sax/sax_SimpleXMLReader_test_support.h"

using namespace kelp::test::sax;

namespace {

struct Case {
  const char* name;
  std::string doc;
  std::string expected;
};

// Runs each case with the options and compares the whole event text.
void runCases(const std::vector<Case>& cases, const Options& o = Options()) {
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(run(c.doc, o), c.expected);
  }
}

// The events between startDocument and endDocument, and the result.
std::string inner(const std::string& doc, const Options& o = Options()) {
  std::string all = run(doc, o);
  const std::string head = "startDocument\n";
  if (all.rfind(head, 0) == 0) all.erase(0, head.size());
  size_t end = all.rfind("endDocument\n");
  if (end != std::string::npos) all.erase(end, 12);
  return all;
}

}  // namespace

// ---- features and handlers --------------------------------------------------

TEST(SimpleXMLReaderFeatures, FourKnownFeaturesWithDefaults) {
  SimpleXMLReader reader(nullptr);
  EXPECT_STREQ(SimpleXMLReader::Namespaces, "http://xml.org/sax/features/namespaces");
  EXPECT_STREQ(SimpleXMLReader::NamespacePrefixes,
               "http://xml.org/sax/features/namespace-prefixes");
  std::string utf8 = SimpleXMLReader::UseUTF8, html = SimpleXMLReader::HTML4Entities;
  EXPECT_EQ(utf8.substr(utf8.size() - 9), "/use-utf8");
  EXPECT_EQ(html.substr(html.size() - 15), "/html4-entities");
  EXPECT_EQ(utf8.substr(0, utf8.size() - 9), html.substr(0, html.size() - 15));
  struct {
    const char* name;
    bool def;
  } features[] = {{SimpleXMLReader::Namespaces, true},
                  {SimpleXMLReader::NamespacePrefixes, false},
                  {SimpleXMLReader::UseUTF8, false},
                  {SimpleXMLReader::HTML4Entities, false}};
  for (auto& f : features) {
    SCOPED_TRACE(f.name);
    EXPECT_TRUE(reader.hasFeature(f.name));
    EXPECT_EQ(reader.getFeature(f.name), f.def);
    reader.setFeature(f.name, !f.def);
    EXPECT_EQ(reader.getFeature(f.name), !f.def);
    reader.setFeature(f.name, f.def);
    EXPECT_EQ(reader.getFeature(f.name), f.def);
  }
  // Names compare exactly.
  EXPECT_FALSE(reader.hasFeature("http://xml.org/sax/features/Namespaces"));
  EXPECT_FALSE(reader.hasFeature(""));
}

TEST(SimpleXMLReaderFeatures, UnknownFeatureLogsAndChangesNothing) {
  auto app = kelp::host::Application::create();
  auto log = kelp::host::RecordingLogger::create();
  app->installLogger(log.get());
  SimpleXMLReader reader(app.get());
  reader.setFeature("urn:x", true);
  EXPECT_FALSE(reader.getFeature("urn:x"));
  EXPECT_FALSE(reader.hasFeature("urn:x"));
  reader.setFeature("urn:y", false);
  ASSERT_EQ(log->records().size(), 3u);
  EXPECT_EQ(log->records()[0].text, "Request to set unknown feature urn:x to true");
  EXPECT_EQ(log->records()[0].level, kelp::host::LogLevel::Debug);
  EXPECT_EQ(log->records()[0].category, "quv:kelp");
  EXPECT_EQ(log->records()[1].text, "Unknown feature urn:x");
  EXPECT_EQ(log->records()[2].text, "Request to set unknown feature urn:y to false");
}

TEST(SimpleXMLReaderHandlers, DefaultToTheInternalHandlerAndStoreWhatIsSet) {
  SimpleXMLReader reader(nullptr);
  ContentHandler* c = reader.getContentHandler();
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(static_cast<void*>(dynamic_cast<DefaultHandler*>(c)),
            static_cast<void*>(dynamic_cast<DefaultHandler*>(reader.getErrorHandler())));
  EXPECT_NE(reader.getDTDHandler(), nullptr);
  EXPECT_NE(reader.getEntityResolver(), nullptr);
  EXPECT_NE(reader.getDeclHandler(), nullptr);
  EXPECT_NE(reader.getLexicalHandler(), nullptr);
  Recorder r;
  reader.setContentHandler(&r);
  reader.setDTDHandler(&r);
  reader.setEntityResolver(&r);
  reader.setErrorHandler(&r);
  reader.setDeclHandler(&r);
  reader.setLexicalHandler(&r);
  EXPECT_EQ(reader.getContentHandler(), &r);
  EXPECT_EQ(reader.getDTDHandler(), &r);
  EXPECT_EQ(reader.getEntityResolver(), &r);
  EXPECT_EQ(reader.getErrorHandler(), &r);
  EXPECT_EQ(reader.getDeclHandler(), &r);
  EXPECT_EQ(reader.getLexicalHandler(), &r);
  // With only default handlers a good document parses silently and a bad one
  // fails silently.
  SimpleXMLReader quiet(nullptr);
  std::istringstream good("<a><b/></a>"), bad("<a>");
  ISInputSource s1("", "", &good, false), s2("", "", &bad, false);
  EXPECT_TRUE(quiet.parse(&s1));
  EXPECT_FALSE(quiet.parse(&s2));
}

// ---- document ---------------------------------------------------------------

TEST(SimpleXMLReaderDocument, EventsAroundTheDocumentElement) {
  Recorder rec;
  EXPECT_EQ(run("<?xml version='1.0'?>\n<!-- c --><?p d?>\n<a/>\n<!--t--><?q?>", Options(), &rec),
            "startDocument\ncomment  c \npi p d\nstart {}a a\nend {}a a\ncomment t\npi q \n"
            "endDocument\n-> true");
  EXPECT_EQ(rec.locatorLine, 1);
  EXPECT_EQ(rec.locatorColumn, 0);
}

TEST(SimpleXMLReaderDocument, PrologAndTrailingMiscellany) {
  runCases({
      {"trailing text is not read", "<a/>junk<<<",
       "startDocument\nstart {}a a\nend {}a a\n"
       "endDocument\n-> true"},
      {"trailing element is not read", "<a/><b>",
       "startDocument\nstart {}a a\nend {}a a\n"
       "endDocument\n-> true"},
      {"empty input", "",
       "startDocument\nfatal L1: unexpected end of input\nendDocument\n-> "
       "false"},
      {"only space", " \n ",
       "startDocument\nfatal L2: unexpected end of input\nendDocument\n-> "
       "false"},
      {"text before the element", "x<a/>",
       "startDocument\nfatal L1: syntax error ('<' "
       "expected)\nendDocument\n-> false"},
      {"end inside the element", "<a>",
       "startDocument\nstart {}a a\nfatal L1: unexpected end "
       "of input\nendDocument\n-> false"},
      {"bad trailing comment", "<a/><!-- x -- y -->",
       "startDocument\nstart {}a a\nend {}a "
       "a\nfatal L1: syntax error (bad "
       "comment)\nendDocument\n-> false"},
      {"xml PI after the start", "<!--c--><?xml version='1.0'?><a/>",
       "startDocument\ncomment c\nfatal L1: syntax error ('xml' not allowed here)\n"
       "endDocument\n-> false"},
      {"name expected", "<1/>",
       "startDocument\nfatal L1: syntax error (name expected)\n"
       "endDocument\n-> false"},
  });
}

TEST(SimpleXMLReaderDocument, FatalErrorsCarryTheInputsIdsAndLine) {
  Recorder rec;
  SimpleXMLReader reader(nullptr);
  install(reader, rec, Options());
  std::istringstream in("<a>\n\n</b>");
  ISInputSource source("pub", "sys.xml", &in, false);
  EXPECT_FALSE(reader.parse(&source));
  EXPECT_EQ(rec.lastFatal.getMessage(), "element start/end tag name mismatch: a vs. b");
  EXPECT_EQ(rec.lastFatal.getPublicId(), "pub");
  EXPECT_EQ(rec.lastFatal.getSystemId(), "sys.xml");
  EXPECT_EQ(rec.lastFatal.getLineNumber(), 3);
  EXPECT_EQ(rec.lastFatal.getColumnNumber(), 0);
}

TEST(SimpleXMLReaderDocument, RefusedStartDocumentStillEndsTheDocument) {
  Recorder rec;
  rec.stopAt = "startDocument";
  rec.stopMessage = "no thanks";
  EXPECT_EQ(run("<a/>", Options(), &rec),
            "startDocument\nfatal L1: no thanks\nendDocument\n-> false");
  EXPECT_EQ(rec.endDocuments, 1);
}

TEST(SimpleXMLReaderDocument, HandlerFalseStopsWithItsMessageAndLine) {
  struct {
    const char* stopAt;
    std::string expected;
  } cases[] = {
      {"start {}b",
       "startDocument\nstart {}a a\nchars \n\nstart {}b b x={}x:1\nfatal L2: "
       "halt\nendDocument\n-> false"},
      {"chars", "startDocument\nstart {}a a\nchars \n\nfatal L2: halt\nendDocument\n-> false"},
      {"end {}b",
       "startDocument\nstart {}a a\nchars \n\nstart {}b b x={}x:1\nend {}b b\n"
       "fatal L2: halt\nendDocument\n-> false"},
      {"comment",
       "startDocument\nstart {}a a\nchars \n\nstart {}b b x={}x:1\nend {}b b\n"
       "chars \n\n\ncomment c\nfatal L4: halt\nendDocument\n-> false"},
      {"pi",
       "startDocument\nstart {}a a\nchars \n\nstart {}b b x={}x:1\nend {}b b\n"
       "chars \n\n\ncomment c\npi p \nfatal L4: halt\nendDocument\n-> false"},
      {"endDocument",
       "startDocument\nstart {}a a\nchars \n\nstart {}b b x={}x:1\nend {}b b\n"
       "chars \n\n\ncomment c\npi p \nend {}a a\nendDocument\n-> true"},
  };
  for (auto& c : cases) {
    SCOPED_TRACE(c.stopAt);
    Recorder rec;
    rec.stopAt = c.stopAt;
    rec.stopMessage = "halt";
    rec.fatalResult = true;  // ignored: the parse stops anyway
    EXPECT_EQ(run("<a>\n<b x='1'/>\n\n<!--c--><?p?></a>", Options(), &rec), c.expected);
    EXPECT_EQ(rec.endDocuments, 1);
  }
}

TEST(SimpleXMLReaderDocument, OneReaderReadsManyDocuments) {
  SimpleXMLReader reader(nullptr);
  Recorder rec;
  install(reader, rec, Options());
  const char* docs[] = {"<p:a xmlns:p='u1'><p:b/>", "<p:a xmlns='d'><b/></p:a>", "<a>&amp;</a>"};
  std::string all;
  for (const char* doc : docs) {
    std::istringstream in(doc);
    ISInputSource source("", "x", &in, false);
    all += reader.parse(&source) ? "ok\n" : "failed\n";
  }
  // The binding of p in the failed first document is gone in the second.
  EXPECT_EQ(rec.text() + all,
            "startDocument\nmap p=u1\nstart {u1}a p:a xmlns:p={http://www.w3.org/2000/xmlns/}p:u1\n"
            "start {u1}b p:b\nend {u1}b p:b\n"
            "fatal L1: unexpected end of input\nendDocument\n"
            "startDocument\nmap =d\nstart {}a p:a xmlns={}xmlns:d\nstart {d}b b\nend {d}b b\n"
            "end {}a p:a\nunmap \nendDocument\n"
            "startDocument\nstart {}a a\nchars &\nend {}a a\nendDocument\n"
            "failed\nok\nok\n");
}

TEST(SimpleXMLReaderDocument, ParseFileMessagesAndSuccess) {
  kelp::test::TempDir dir;
  Recorder rec;
  SimpleXMLReader reader(nullptr);
  install(reader, rec, Options());
  std::string missing = dir.file("missing.xml");
  EXPECT_FALSE(reader.parse(missing));
  EXPECT_EQ(rec.text(), "fatal L0: entity '" + missing + "' doesn't exist\n");
  rec.lines.clear();
  // A folder exists and is readable, but no stream opens on it.
  EXPECT_FALSE(reader.parse(dir.path()));
  EXPECT_EQ(rec.text(), "fatal L0: failed to open entity '" + dir.path() + "'\n");
  rec.lines.clear();
  std::string good = dir.file("good.xml");
  kelp::test::writeFile(good, "<?xml version=\"1.0\"?>\n<a>x</a>\n");
  EXPECT_TRUE(reader.parse(good));
  EXPECT_EQ(rec.text(), "startDocument\nstart {}a a\nchars x\nend {}a a\nendDocument\n");
  if (geteuid() != 0) {  // root reads everything
    rec.lines.clear();
    chmod(good.c_str(), 0);
    EXPECT_FALSE(reader.parse(good));
    EXPECT_EQ(rec.text(), "fatal L0: entity '" + good + "' not readable\n");
  }
}

// ---- XML declaration and encodings -----------------------------------------

TEST(SimpleXMLReaderDeclaration, Messages) {
  const std::string tail = "<a/>";
  struct {
    const char* decl;
    const char* message;  // null: accepted
  } cases[] = {
      {"<?xml version='1.0'?>", nullptr},
      {"<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>", nullptr},
      {"<?xml\tversion = '1.0'  standalone='no'?>", nullptr},
      {"<?xml version='a_Z.9:-'?>", nullptr},
      {"<?xml version='1 0'?>", "syntax error (invalid character in version number)"},
      {"<?xml encoding='UTF-8'?>", "syntax error ('version' expected)"},
      {"<?xml version'1.0'?>", "syntax error ('=' expected)"},
      {"<?xml version=1.0?>", "syntax error ([\"'] expected)"},
      {"<?xml version='1.0' encoding=''?>", "syntax error (empty encoding name)"},
      {"<?xml version='1.0' encoding='8bit'?>",
       "syntax error (first character of encoding name must be an ISO-Latin1 letter)"},
      {"<?xml version='1.0' encoding='UTF 8'?>",
       "syntax error (invalid character in encoding name)"},
      {"<?xml version='1.0' standalone='maybe'?>",
       "syntax error (standalone must be either 'yes' or 'no')"},
      {"<?xml version='1.0' ?", "syntax error ('?>' expected)"},
      {"<?xml version='1.0'", "syntax error ('?>' expected)"},
      {"<?xml version='1.0' encoding='no-such-charset-x'?>",
       "unsupported encoding 'no-such-charset-x'"},
  };
  for (auto& c : cases) {
    SCOPED_TRACE(c.decl);
    std::string expected =
        c.message ? std::string("startDocument\nfatal L1: ") + c.message + "\nendDocument\n-> false"
                  : "startDocument\nstart {}a a\nend {}a a\nendDocument\n-> true";
    EXPECT_EQ(run(c.decl + tail), expected);
  }
  // "<?xml" must be followed by white space to be a declaration; as a PI at
  // the start its target is refused.
  EXPECT_EQ(inner("<?xml?><a/>"), "fatal L1: syntax error ('xml' not allowed here)\n-> false");
  EXPECT_EQ(inner("<?xml-model x?><a/>"), "pi xml-model x\nstart {}a a\nend {}a a\n-> true");
}

// ASCII text as UTF-16LE bytes.
std::string utf16le(const std::string& ascii) {
  std::string out;
  for (char c : ascii) {
    out += c;
    out += '\0';
  }
  return out;
}
std::string utf16be(const std::string& ascii) {
  std::string out;
  for (char c : ascii) {
    out += '\0';
    out += c;
  }
  return out;
}

TEST(SimpleXMLReaderDeclaration, EncodingsAndMarks) {
  // é and € in UTF-8, the output encoding of these tests.
  const std::string e = "\xC3\xA9", euro = "\xE2\x82\xAC";
  struct {
    const char* name;
    std::string doc;
    std::string chars;
  } cases[] = {
      {"plain UTF-8", "<a>" + e + "</a>", e},
      {"UTF-8 mark", "\xEF\xBB\xBF<a>" + e + "</a>", e},
      {"UTF-8 mark and declaration",
       "\xEF\xBB\xBF<?xml version='1.0' encoding='UTF-8'?><a>" + e + "</a>", e},
      {"Latin-1 declared", "<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE9</a>", e},
      {"Latin-9 declared", "<?xml version='1.0' encoding='ISO-8859-15'?><a>\xA4</a>", euro},
      {"UTF-16LE mark", "\xFF\xFE" + utf16le("<a>") + std::string("\xE9\0", 2) + utf16le("</a>"),
       e},
      {"UTF-16BE mark", "\xFE\xFF" + utf16be("<a>") + std::string("\0\xE9", 2) + utf16be("</a>"),
       e},
      {"UTF-16 mark and declaration",
       "\xFF\xFE" + utf16le("<?xml version='1.0' encoding='UTF-16'?><a>") + "\xAC\x20" +
           utf16le("</a>"),
       euro},
      {"UTF-16LE declared after a mark",
       "\xFF\xFE" + utf16le("<?xml version='1.0' encoding='UTF-16LE'?><a>") + "\xAC\x20" +
           utf16le("</a>"),
       euro},
      {"ill-formed UTF-8 passed through becomes '?'",
       "<a>\xC3"
       "A</a>",
       "?A"},
  };
  for (auto& c : cases) {
    SCOPED_TRACE(c.name);
    Recorder rec;
    EXPECT_EQ(run(c.doc, Options(), &rec).substr(0, 0), "");
    EXPECT_EQ(rec.chars(), c.chars);
    EXPECT_EQ(rec.lines.back(), "endDocument");
    EXPECT_EQ(rec.lines[rec.lines.size() - 2], "end {}a a");
  }
}

TEST(SimpleXMLReaderDeclaration, LocaleCharsetWithoutUseUtf8) {
  // Under the C locale the output charset is ASCII: what it cannot hold
  // arrives as "?".
  Options o;
  o.utf8 = false;
  Recorder rec;
  run("<a t='\xC3\xA9'>x\xC3\xA9&#233;&#65;\xC3"
      "A</a>",
      o, &rec);
  EXPECT_EQ(rec.text(),
            "startDocument\nstart {}a a t={}t:?\nchars x?\nchars ?\nchars A\nchars ?A\nend {}a a\n"
            "endDocument\n");
}

// ---- elements and attributes -------------------------------------------------

TEST(SimpleXMLReaderElements, Grammar) {
  runCases({
      {"nested", "<a><b><c/></b><b></b ></a >",
       "startDocument\nstart {}a a\nstart {}b b\nstart {}c c\nend {}c c\nend {}b b\n"
       "start {}b b\nend {}b b\nend {}a a\nendDocument\n-> true"},
      {"attributes in order", "<a x='1' y = \"2\"\tz='' w='&quot;'/>",
       "startDocument\nstart {}a a x={}x:1 y={}y:2 z={}z: w={}w:\"\nend {}a a\nendDocument\n"
       "-> true"},
      {"duplicates kept", "<a x='1' x='2'/>",
       "startDocument\nstart {}a a x={}x:1 x={}x:2\nend {}a a\nendDocument\n-> true"},
      {"names with odd characters", "<_a.b-c:d\xC3\xA9 e1='x'/>",
       "startDocument\nstart {}d\xC3\xA9 _a.b-c:d\xC3\xA9 e1={}e1:x\nend {}d\xC3\xA9 "
       "_a.b-c:d\xC3\xA9\nendDocument\n-> true"},
      {"mismatch", "<a><b></a>",
       "startDocument\nstart {}a a\nstart {}b b\nfatal L1: element start/end tag name "
       "mismatch: b vs. a\nendDocument\n-> false"},
      {"mismatch longer", "<a></ab>",
       "startDocument\nstart {}a a\nfatal L1: element start/end tag name mismatch: a vs. "
       "ab\nendDocument\n-> false"},
      {"space before attribute", "<a x='1'y='2'/>",
       "startDocument\nfatal L1: syntax error (space expected)\nendDocument\n-> false"},
      {"equals expected", "<a x/>",
       "startDocument\nfatal L1: syntax error ('=' expected)\nendDocument\n-> false"},
      {"quote expected", "<a x=1/>",
       "startDocument\nfatal L1: syntax error ([\"'] expected)\nendDocument\n-> false"},
      {"attribute name expected", "<a 1='x'/>",
       "startDocument\nfatal L1: syntax error (name expected)\nendDocument\n-> false"},
      {"lt in value", "<a x='<'/>",
       "startDocument\nfatal L1: syntax error ('<' not allowed in attribute value)\n"
       "endDocument\n-> false"},
      {"slash without gt", "<a/ >",
       "startDocument\nfatal L1: syntax error ('>' expected)\nendDocument\n-> false"},
      {"end tag without gt", "<a></a b>",
       "startDocument\nstart {}a a\nfatal L1: syntax error ('>' expected)\nendDocument\n"
       "-> false"},
      {"end tag without name", "<a></>",
       "startDocument\nstart {}a a\nfatal L1: syntax error (name expected)\nendDocument\n"
       "-> false"},
      {"end inside value", "<a x='1",
       "startDocument\nfatal L1: unexpected end of input\nendDocument\n-> false"},
      {"end inside tag", "<a x='1' ",
       "startDocument\nfatal L1: unexpected end of input\nendDocument\n-> false"},
      {"markup declaration as element", "<a><!x/></a>",
       "startDocument\nstart {}a a\nfatal L1: syntax error (name expected)\nendDocument\n"
       "-> false"},
  });
}

TEST(SimpleXMLReaderElements, LineEndsInValuesAndPositions) {
  EXPECT_EQ(inner("<a\r\nx='1\r\n2\r3\n4\t5'\n\n>\r\n</a>"),
            "start {}a a x={}x:1\n2\n3\n4\t5\nchars \n\nend {}a a\n-> true");
  // Lines in messages count line feeds up to the error.
  EXPECT_EQ(inner("<a>\n\n<b>\n</c>"),
            "start {}a a\nchars \n\n\nstart {}b b\nchars \n\nfatal L4: element start/end tag "
            "name mismatch: b vs. c\n-> false");
}

// ---- namespaces -------------------------------------------------------------

TEST(SimpleXMLReaderNamespaces, DefaultFeatures) {
  runCases({
      {"default namespace", "<a xmlns='u'><b/></a>",
       "startDocument\nmap =u\nstart {u}a a xmlns={}xmlns:u\nstart {u}b b\nend {u}b b\n"
       "end {u}a a\nunmap \nendDocument\n-> true"},
      {"undeclared prefix", "<p:a/>",
       "startDocument\nstart {}a p:a\nend {}a p:a\nendDocument\n-> true"},
      {"prefixes and attributes",
       "<p:a xmlns:p='P' xmlns:q='Q' p:x='1' y='2' xml:lang='en' q:z='3'/>",
       "startDocument\nmap p=P\nmap q=Q\nstart {P}a p:a xmlns:p={http://www.w3.org/2000/"
       "xmlns/}p:P xmlns:q={http://www.w3.org/2000/xmlns/}q:Q p:x={P}x:1 y={}y:2 "
       "xml:lang={http://www.w3.org/XML/1998/namespace}lang:en q:z={Q}z:3\nend {P}a p:a\n"
       "unmap q\nunmap p\nendDocument\n-> true"},
      {"rebinding and restoring",
       "<a xmlns='1'><b xmlns='2' xmlns:p='3'><p:c xmlns:p='4'/><p:d/></b><e/></a>",
       "startDocument\nmap =1\nstart {1}a a xmlns={}xmlns:1\nmap =2\nmap p=3\n"
       "start {2}b b xmlns={}xmlns:2 xmlns:p={http://www.w3.org/2000/xmlns/}p:3\nmap p=4\n"
       "start {4}c p:c xmlns:p={http://www.w3.org/2000/xmlns/}p:4\nend {4}c p:c\nunmap p\n"
       "start {3}d p:d\nend {3}d p:d\nend {2}b b\nunmap p\nunmap \nstart {1}e e\n"
       "end {1}e e\nend {1}a a\nunmap \nendDocument\n-> true"},
      {"undeclaring the default", "<a xmlns='1'><b xmlns=''><c/></b></a>",
       "startDocument\nmap =1\nstart {1}a a xmlns={}xmlns:1\nmap =\nstart {}b b "
       "xmlns={}xmlns:\nstart {}c c\nend {}c c\nend {}b b\nunmap \nend {1}a a\nunmap \n"
       "endDocument\n-> true"},
      {"case-insensitive check then exact", "<a XMLNS='x' xmlnsx='y'/>",
       "startDocument\nstart {}a a XMLNS={}XMLNS:x xmlnsx={}xmlnsx:y\nend {}a a\nendDocument\n"
       "-> true"},
  });
}

TEST(SimpleXMLReaderNamespaces, FeatureCombinations) {
  const std::string doc = "<p:a xmlns:p='P' xmlns='D' x='1'/>";
  Options off;
  off.namespaces = false;
  EXPECT_EQ(inner(doc, off), "start {} p:a x={}:1\nend {} p:a\n-> true");
  off.prefixes = true;
  EXPECT_EQ(inner(doc, off), "start {} p:a xmlns:p={}:P xmlns={}:D x={}:1\nend {} p:a\n-> true");
  Options on;
  on.prefixes = true;  // changes nothing with namespaces on
  EXPECT_EQ(inner(doc, on), inner(doc));
  EXPECT_EQ(inner(doc),
            "map p=P\nmap =D\nstart {P}a p:a xmlns:p={http://www.w3.org/2000/xmlns/}p:P "
            "xmlns={}xmlns:D x={}x:1\nend {P}a p:a\nunmap \nunmap p\n-> true");
}

TEST(SimpleXMLReaderNamespaces, RefusedMappingStopsTheParse) {
  for (const char* stop : {"map", "unmap"}) {
    SCOPED_TRACE(stop);
    Recorder rec;
    rec.stopAt = stop;
    std::string out = run("<a xmlns:p='1'/>", Options(), &rec);
    EXPECT_NE(out.find("fatal L1: stopped by handler\nendDocument\n-> false"), std::string::npos)
        << out;
  }
}

// ---- content ------------------------------------------------------------------

TEST(SimpleXMLReaderContent, TextCdataCommentsAndInstructions) {
  runCases({
      {"runs split by markup", "<a>x<!--c-->y<?p  d ?>z<![CDATA[<&>]]>w</a>",
       "startDocument\nstart {}a a\nchars x\ncomment c\nchars y\npi p d \nchars z\ncdata\n"
       "chars <&>\n/cdata\nchars w\nend {}a a\nendDocument\n-> true"},
      {"line ends", "<a>1\r\n2\r3\n<!--4\r\n5\r--><?p 6\r7?><![CDATA[8\r\n9\r]]></a>",
       "startDocument\nstart {}a a\nchars 1\n2\n3\n\ncomment 4\n5\n\npi p 6\n7\ncdata\n"
       "chars 8\n9\n\n/cdata\nend {}a a\nendDocument\n-> true"},
      {"brackets in text and CDATA", "<a>]] ] ]]]x<![CDATA[]]]]]></a>",
       "startDocument\nstart {}a a\nchars ]] ] ]]]x\ncdata\nchars ]]]\n/cdata\nend {}a a\n"
       "endDocument\n-> true"},
      {"]]> ends a run before markup", "<a>x]]><b/>y]]]></a>",
       "startDocument\nstart {}a a\nchars x]]\nstart {}b b\nend {}b b\nchars y]]]\nend {}a "
       "a\nendDocument\n-> true"},
      {"]]> before text", "<a>x]]>y</a>",
       "startDocument\nstart {}a a\nchars x]]\nfatal L1: syntax error ('<' expected)\n"
       "endDocument\n-> false"},
      {"empty CDATA, comment and PI", "<a><![CDATA[]]><!----><?p?></a>",
       "startDocument\nstart {}a a\ncdata\n/cdata\ncomment \npi p \nend {}a a\nendDocument\n"
       "-> true"},
      {"dashes in comments", "<a><!-- a-b - c --></a>",
       "startDocument\nstart {}a a\ncomment  a-b - c \nend {}a a\nendDocument\n-> true"},
      {"bad comment", "<a><!-- a--b --></a>",
       "startDocument\nstart {}a a\nfatal L1: syntax error (bad comment)\nendDocument\n-> "
       "false"},
      {"question marks in PI", "<a><?p a?b? ?></a>",
       "startDocument\nstart {}a a\npi p a?b? \nend {}a a\nendDocument\n-> true"},
      {"xml PI in content", "<a><?xml x?></a>",
       "startDocument\nstart {}a a\nfatal L1: syntax error ('xml' not allowed here)\n"
       "endDocument\n-> false"},
      {"PI without target", "<a><? x?></a>",
       "startDocument\nstart {}a a\nfatal L1: syntax error (name expected)\nendDocument\n-> "
       "false"},
      {"unterminated CDATA", "<a><![CDATA[x]]",
       "startDocument\nstart {}a a\ncdata\nfatal L1: unexpected end of input\nendDocument\n-> "
       "false"},
  });
}

TEST(SimpleXMLReaderContent, References) {
  runCases({
      {"character references", "<a>&#65;&#x42;&#x6a;&#X41;</a>",
       "startDocument\nstart {}a a\nchars A\nchars B\nchars j\nfatal L1: syntax error (digit "
       "or ';' expected)\nendDocument\n-> false"},
      {"non-ASCII references", "<a>&#233;&#x20AC;&#x1F600;&#xD800;&#x110000;</a>",
       "startDocument\nstart {}a a\nchars \xC3\xA9\nchars \xE2\x82\xAC\nchars "
       "\xF0\x9F\x98\x80\nchars ?\nchars ?\nend {}a a\nendDocument\n-> true"},
      {"predefined", "<a>1&lt;2&amp;3&gt;4&apos;5&quot;6</a>",
       "startDocument\nstart {}a a\nchars 1\nchars <\nchars 2\nchars &\nchars 3\nchars >4\n"
       "chars '5\nchars \"6\nend {}a a\nendDocument\n-> true"},
      {"escaped reference stays text", "<a>&amp;lt;</a>",
       "startDocument\nstart {}a a\nchars &\nchars lt;\nend {}a a\nendDocument\n-> true"},
      {"in attribute values", "<a x='&apos;&quot;&lt;&amp;&gt;&#65;&#x3b1;' y=\"&apos;\"/>",
       "startDocument\nstart {}a a x={}x:'\"<&>A\xCE\xB1 y={}y:'\nend {}a a\nendDocument\n-> "
       "true"},
      {"unknown names are skipped in content", "<a x='12'>&eacute;</a>",
       "startDocument\nstart {}a a x={}x:12\nskipped eacute\nend {}a a\n"
       "endDocument\n-> true"},
      {"unknown names are fatal in attribute values", "<a x='1&foo;2'/>",
       "startDocument\nfatal L1: undeclared entity 'foo' in attribute value\nendDocument\n-> "
       "false"},
      {"forbidden code points", "<a>&#0;</a>",
       "startDocument\nstart {}a a\nfatal L1: invalid character reference\nendDocument\n-> "
       "false"},
      {"U+FFFF", "<a>&#xFFFF;</a>",
       "startDocument\nstart {}a a\nfatal L1: invalid character reference\nendDocument\n-> "
       "false"},
      {"semicolon expected", "<a>&amp </a>",
       "startDocument\nstart {}a a\nfatal L1: syntax error (';' expected)\nendDocument\n-> "
       "false"},
      {"name expected", "<a>& </a>",
       "startDocument\nstart {}a a\nfatal L1: syntax error (name expected)\nendDocument\n-> "
       "false"},
      {"empty character reference", "<a>&#;</a>",
       "startDocument\nstart {}a a\nfatal L1: syntax error (digit or ';' expected)\n"
       "endDocument\n-> false"},
      {"end of input in a reference", "<a>&#1",
       "startDocument\nstart {}a a\nfatal L1: unexpected end of input\nendDocument\n-> false"},
  });
}
