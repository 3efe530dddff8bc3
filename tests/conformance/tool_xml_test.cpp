// The well-formed documents of the W3C XML conformance suite through the
// kelp tool, run as a process: every valid or invalid test case of the XML
// 1.0 selection (xmlconf_cases.h).
//
//   format  the output of `kelp xml format --indent=0` read again gives the
//           tree that DomReader reads from the document (CDATA sections as
//           text); with the default layout, the canonical forms of document
//           and output agree once white-space-only text between tags is
//           left out of both (the layout replaces that).
//   canon   `kelp xml canon` writes byte for byte what the reader and
//           CanonicalWriter give in process, with the test case's namespace
//           setting; where that equals the suite's own output, the tool
//           matches the suite. Documents the reader rejects must be rejected
//           by the tool with the same "file:line: message".
//
// Environment: KELP_XMLCONF_DIR overrides where the suite is looked for.
#include <gtest/gtest.h>
#include <kelp/host.h>
#include <kelp/xml/dom/dom_CharacterData.h>
#include <kelp/xml/dom/dom_Document.h>
#include <kelp/xml/dom/dom_Element.h>
#include <kelp/xml/dom/dom_Text.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/sax/sax_ParseException.h>
#include <kelp/xml/sax/sax_SimpleXMLReader.h>
#include <kelp/xml/xml_CanonicalWriter.h>
#include <kelp/xml/xml_DomReader.h>

#include <clocale>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "dom_equal.h"
#include "tool_runner.h"
#include "xmlconf_cases.h"

namespace {

namespace dom = qor::quv::xml::dom;
namespace qx = qor::quv::xml;
namespace sax = qor::quv::xml::sax;
namespace fs = std::filesystem;

// The elements of the tree below (and including) root, in document order.
std::vector<dom::Element*> elements(dom::Element* root) {
  std::vector<dom::Element*> all, stack{root};
  while (!stack.empty()) {
    dom::Element* e = stack.back();
    stack.pop_back();
    all.push_back(e);
    std::vector<dom::Element*> children;
    for (dom::Node* c = e->getFirstChild(); c; c = c->getNextSibling())
      if (c->getNodeType() == qx::kElementNode) children.push_back(static_cast<dom::Element*>(c));
    stack.insert(stack.end(), children.rbegin(), children.rend());
  }
  return all;
}

// Brings a document to the form in which `kelp xml format --indent=0`
// keeps it: CDATA sections as text (the DOM merges them into their
// neighbours when read back).
void toFormattedForm(dom::Document* doc) {
  dom::Element* root = doc->getDocumentElement();
  if (!root) return;
  for (dom::Element* e : elements(root)) {
    for (dom::Node* c = e->getFirstChild(); c;) {
      dom::Node* next = c->getNextSibling();
      if (c->getNodeType() == qx::kCDATASectionNode) {
        zob::Ref<dom::Text> text =
            doc->createTextNode(static_cast<dom::CharacterData*>(c)->getData());
        e->insertBefore(text.get(), c);
        e->removeChild(c);
      }
      c = next;
    }
  }
  doc->normalize();
}

// The canonical form of a document without the white-space-only text
// between two tags, which the layout replaces; "" when it cannot be read.
std::string canonicalWithoutLayout(qor::quv::fw::IApplication* app, const std::string& file,
                                   const std::string* text) {
  sax::SimpleXMLReader reader(app);
  reader.setFeature(sax::SimpleXMLReader::UseUTF8, true);
  std::string out;
  qx::CanonicalWriter writer(&out);
  reader.setContentHandler(&writer);
  reader.setDTDHandler(&writer);
  reader.setLexicalHandler(&writer);
  bool ok;
  if (text) {
    std::istringstream in(*text);
    sax::ISInputSource source("", file, &in, false);
    ok = reader.parse(&source);
  } else {
    ok = reader.parse(file);
  }
  if (!ok) return "";
  // Between '>' and '<', runs of white space (as references) go.
  std::string kept;
  for (std::size_t i = 0; i < out.size();) {
    kept += out[i];
    if (out[i++] != '>') continue;
    std::size_t j = i;
    for (;;) {
      if (out.compare(j, 1, " ") == 0)
        j += 1;
      else if (out.compare(j, 4, "&#9;") == 0)
        j += 4;
      else if (out.compare(j, 5, "&#10;") == 0 || out.compare(j, 5, "&#13;") == 0)
        j += 5;
      else
        break;
    }
    if (j > i && j < out.size() && out[j] == '<') i = j;
  }
  return kept;
}

// The reader's first fatal error as the tool reports it.
class FirstError : public sax::DefaultHandler {
 public:
  bool fatalError(const sax::SAXParseException& e) override {
    if (report.empty())
      report = (e.getSystemId().empty() ? file : e.getSystemId()) +
               (e.getLineNumber() > 0 ? ":" + std::to_string(e.getLineNumber()) : "") + ": " +
               e.getMessage() + "\n";
    return false;
  }
  std::string file;
  std::string report;
};

std::string where(const kelp::xmlconf::TestCase& t, const fs::path& root) {
  return t.id + " [" + t.type + "] " + fs::path(t.file).lexically_relative(root).string();
}

// The valid and invalid test cases of the selection; skips the test when
// the suite is absent.
bool selection(std::vector<kelp::xmlconf::TestCase>* cases, fs::path* root) {
  *root = kelp::xmlconf::envOr("KELP_XMLCONF_DIR", KELP_XMLCONF_DIR);
  if (!fs::exists(*root / "xmlconf.xml")) return false;
  std::vector<kelp::xmlconf::TestCase> all;
  std::string error;
  EXPECT_TRUE(kelp::xmlconf::readCatalogues(*root, &all, &error)) << error;
  int selected = 0;
  for (const auto& t : all) {
    if (!kelp::xmlconf::exclusion(t).empty()) continue;
    ++selected;
    if (t.type == "valid" || t.type == "invalid") cases->push_back(t);
  }
  EXPECT_EQ(selected, kelp::xmlconf::kSelectedCount) << "test cases selected";
  return true;
}

}  // namespace

TEST(XmlConformance, ToolFormat) {
  std::vector<kelp::xmlconf::TestCase> cases;
  fs::path root;
  if (!selection(&cases, &root))
    GTEST_SKIP() << "the W3C XML conformance suite is not at " << root.string()
                 << "; run scripts/fetch-test-data.sh";
  kelp::xmlconf::Utf8Locale locale;
  ASSERT_TRUE(locale.ok) << "no C.UTF-8 locale";
  zob::Ref<kelp::host::Application> app = kelp::host::Application::create();
  zob::Ref<kelp::host::RecordingLogger> log = kelp::host::RecordingLogger::create();
  app->installLogger(log.get());

  int formatted = 0, rejected = 0;
  for (const kelp::xmlconf::TestCase& t : cases) {
    SCOPED_TRACE(where(t, root));
    // The tool keeps qualified names: it reads without namespace processing.
    qx::DomReader reader(app.get());
    reader.setFeature(sax::SimpleXMLReader::UseUTF8, true);
    reader.setFeature(sax::SimpleXMLReader::Namespaces, false);
    reader.setFeature(sax::SimpleXMLReader::NamespacePrefixes, true);
    zob::Ref<dom::Document> original = reader.readFile(t.file);
    for (const char* indent : {"--indent=0", "--indent=2"}) {
      const bool layout = indent[9] != '0';
      kelp::test::ToolResult r = kelp::test::runKelp({"xml", "format", indent, t.file});
      if (!original) {
        EXPECT_EQ(r.status, 1);
        std::string file =
            reader.getErrorSystemId().empty() ? t.file : reader.getErrorSystemId();
        std::string line =
            reader.getErrorLine() > 0 ? ":" + std::to_string(reader.getErrorLine()) : "";
        EXPECT_EQ(r.err, file + line + ": " + reader.getErrorMessage() + "\n");
        continue;
      }
      EXPECT_EQ(r.status, 0) << r.err;
      EXPECT_EQ(r.err, "");
      if (layout) {
        // Only white-space-only text between tags may change.
        std::string expected = canonicalWithoutLayout(app.get(), t.file, nullptr);
        EXPECT_EQ(canonicalWithoutLayout(app.get(), t.file, &r.out), expected) << r.out;
        continue;
      }
      zob::Ref<dom::Document> again = reader.readString(r.out, t.file);
      if (!again) {
        ADD_FAILURE() << "output not read back: " << reader.getErrorMessage() << " (line "
                      << reader.getErrorLine() << ")\n"
                      << r.out;
        continue;
      }
      toFormattedForm(original.get());
      toFormattedForm(again.get());
      std::string why;
      // Compared as they are: the copy loses no CR and no white space.
      EXPECT_TRUE(kelp::test::domEqual(original.get(), again.get(), false, &why))
          << why << "\n"
          << r.out;
    }
    if (original)
      ++formatted;
    else
      ++rejected;
  }
  std::printf("kelp xml format over the suite: %d documents read back equal, %d rejected\n",
              formatted, rejected);
  EXPECT_GT(formatted, 0);
}

TEST(XmlConformance, ToolCanon) {
  std::vector<kelp::xmlconf::TestCase> cases;
  fs::path root;
  if (!selection(&cases, &root))
    GTEST_SKIP() << "the W3C XML conformance suite is not at " << root.string()
                 << "; run scripts/fetch-test-data.sh";
  kelp::xmlconf::Utf8Locale locale;
  ASSERT_TRUE(locale.ok) << "no C.UTF-8 locale";

  int same = 0, rejected = 0, withOutput = 0, matchingSuite = 0;
  for (const kelp::xmlconf::TestCase& t : cases) {
    SCOPED_TRACE(where(t, root));
    std::string expected;
    bool haveExpected = false;
    if (!t.output.empty()) {
      expected = kelp::xmlconf::readFile(t.output, &haveExpected);
      EXPECT_TRUE(haveExpected) << "cannot read " << t.output;
    }
    const bool notations = haveExpected && expected.find("<!DOCTYPE") != std::string::npos;

    std::string canonical;
    qx::CanonicalWriter writer(&canonical);
    writer.setSecondForm(notations);
    FirstError errors;
    errors.file = t.file;
    sax::SimpleXMLReader reader(nullptr);
    reader.setFeature(sax::SimpleXMLReader::UseUTF8, true);
    reader.setFeature(sax::SimpleXMLReader::Namespaces, t.namespaces);
    reader.setContentHandler(&writer);
    reader.setDTDHandler(&writer);
    reader.setLexicalHandler(&writer);
    reader.setErrorHandler(&errors);
    const bool parsed = reader.parse(t.file);

    std::vector<std::string> args = {"xml", "canon"};
    if (notations) args.push_back("--notations");
    if (!t.namespaces) args.push_back("--no-namespaces");
    args.push_back(t.file);
    kelp::test::ToolResult r = kelp::test::runKelp(args);
    if (!parsed) {
      ++rejected;
      EXPECT_EQ(r.status, 1);
      EXPECT_EQ(r.err, errors.report);
      continue;
    }
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");
    EXPECT_EQ(r.out, canonical);
    if (r.out == canonical) ++same;
    if (haveExpected) {
      ++withOutput;
      if (canonical == expected) {
        EXPECT_EQ(r.out, expected);
        ++matchingSuite;
      }
    }
  }
  std::printf(
      "kelp xml canon over the suite: %d documents as in process, %d rejected; "
      "%d of %d suite outputs matched\n",
      same, rejected, matchingSuite, withOutput);
  EXPECT_GT(matchingSuite, 0);
}
