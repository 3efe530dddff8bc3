// kelp xml: well-formedness checks, the SAX event stream, formatting
// through the DOM and the writer, and the canonical form of XML documents.
#include <langinfo.h>

#include <clocale>
#include <cstring>
#include <initializer_list>
#include <istream>
#include <streambuf>
#include <utility>
#include <string>
#include <vector>

#include <kelp/xml/sax/sax_Attributes.h>
#include <kelp/xml/sax/sax_DefaultHandler.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/sax/sax_ParseException.h>
#include <kelp/xml/sax/sax_SimpleXMLReader.h>
#include <kelp/xml/xml_C14NWriter.h>
#include <kelp/xml/xml_CanonicalWriter.h>
#include <kelp/xml/xml_FormatHandler.h>
#include <kelp/xml/xml_Writer.h>
#include <ktz/ktz_codec.h>
#include <zob/zob_mem.h>

#include <nlohmann/json.hpp>

#include "kelp_tool.h"

namespace tool = kelp::tool;
namespace qx = qor::quv::xml;
namespace sax = qor::quv::xml::sax;

namespace {

constexpr const char kXmlHelp[] =
    "usage: kelp xml check [--html4-entities] [--no-namespaces] [--load-external] [--json] "
    "FILE...\n"
    "       kelp xml events [--html4-entities] [--no-namespaces] [--load-external] FILE\n"
    "       kelp xml format [--indent N] [--encoding ENC] [--load-external] FILE\n"
    "       kelp xml canon [--notations] [--html4-entities] [--no-namespaces]\n"
    "                      [--load-external] FILE\n"
    "       kelp xml canon --c14n [--with-comments] [--html4-entities] [--load-external] FILE\n"
    "\n"
    "Reads XML documents with the library's non-validating reader. A FILE\n"
    "named '-' is standard input. Inputs of 4 MiB and more show a progress\n"
    "bar when standard error is a terminal.\n"
    "\n"
    "check    reads each FILE and reports the first error of each bad one as\n"
    "         'file:line: message'; prints nothing for good ones. Exits with 1\n"
    "         when any FILE failed. With --json, writes instead one JSON\n"
    "         document (format \"kelp-xml-check/1\") listing every FILE as\n"
    "         {\"file\", \"wellFormed\", \"error\": {\"file\", \"line\", \"message\"}}.\n"
    "events   prints the reader's events, one line each:\n"
    "           startDocument / endDocument\n"
    "           startPrefixMapping \"PREFIX\" \"URI\" / endPrefixMapping \"PREFIX\"\n"
    "           startElement QNAME {URI} [NAME=\"VALUE\" {URI}NAME=\"VALUE\" ...]\n"
    "           endElement QNAME {URI}\n"
    "           characters \"TEXT\" / ignorableWhitespace \"TEXT\"\n"
    "           processingInstruction TARGET \"DATA\" / comment \"TEXT\"\n"
    "           startCDATA / endCDATA / skippedEntity NAME\n"
    "           startEntity NAME / endEntity NAME\n"
    "           startDTD NAME \"PUBLIC\" \"SYSTEM\" / endDTD\n"
    "           elementDecl NAME \"MODEL\"\n"
    "           attributeDecl ELEMENT NAME \"TYPE\" \"DEFAULT\" \"VALUE\"\n"
    "           internalEntityDecl NAME \"VALUE\"\n"
    "           externalEntityDecl NAME \"PUBLIC\" \"SYSTEM\"\n"
    "           notationDecl NAME \"PUBLIC\" \"SYSTEM\"\n"
    "           unparsedEntityDecl NAME \"PUBLIC\" \"SYSTEM\" NOTATION\n"
    "         {URI} is left out when the URI is empty, the [...] list when\n"
    "         there are no attributes. In quoted texts and {URI}, backslash,\n"
    "         the closing delimiter, tab, line feed and carriage return are\n"
    "         written as \\\\, \\\" or \\}, \\t, \\n and \\r, other control\n"
    "         bytes as \\xHH; all other bytes as they come (UTF-8).\n"
    "format   copies FILE as it streams in, with an XML declaration: white\n"
    "         space between elements, comments and processing instructions\n"
    "         becomes a line break and N columns of indentation per level\n"
    "         (default 2; 0 to 32; no deeper than 40 levels); an element\n"
    "         with other text keeps all its content exactly as it was. With\n"
    "         N 0 no white space changes. The document type with its\n"
    "         internal subset, comments, processing instructions, CDATA\n"
    "         sections and the order of attributes are kept. ENC (default:\n"
    "         the encoding FILE declares, else UTF-8) is named in the\n"
    "         declaration and the text converted to it; characters it cannot\n"
    "         hold are written as character references (&#235;), as are tab,\n"
    "         line feed and carriage return in attribute values and carriage\n"
    "         return in text, so that the copy reads back the same.\n"
    "canon    writes the canonical form in which XML test suites give the\n"
    "         expected output of a parser: no declaration, attributes sorted,\n"
    "         empty elements as start and end tag, special characters as\n"
    "         references. With --notations, a document type declaration\n"
    "         listing the declared notations is written first. With --c14n,\n"
    "         W3C Canonical XML 1.0 instead: namespace declarations only where\n"
    "         they change the scope, attributes by namespace URI and local\n"
    "         name, PIs outside the document element on lines of their own,\n"
    "         comments only with --with-comments.\n"
    "\n"
    "--html4-entities  undeclared entity names are looked up among the HTML 4\n"
    "                  character entities (&eacute; ...)\n"
    "--no-namespaces   names are not split into prefix and local name\n"
    "--load-external   read external entities (SYSTEM \"file\"), regular files\n"
    "                  only, relative to the document; without it a reference\n"
    "                  to one is skipped and no file is opened\n"
    "\n"
    "Text is read and written as UTF-8 whatever the locale.\n";

// ---- shared ---------------------------------------------------------------

// The reader delivers UTF-8 and the writer converts from the locale's code
// set, so both must agree: switch the character type to a UTF-8 locale
// whatever the user's is, so that no character is lost on the way. When
// none is installed, the reader delivers the locale's charset instead.
bool workInUtf8() {
  static const bool utf8 = [] {
    const char* codeSet = nl_langinfo(CODESET);
    if (codeSet && (!std::strcmp(codeSet, "UTF-8") || !std::strcmp(codeSet, "utf8"))) return true;
    for (const char* name : {"C.UTF-8", "C.utf8", "en_US.UTF-8"})
      if (std::setlocale(LC_CTYPE, name)) return true;
    return false;
  }();
  return utf8;
}

// Keeps the first fatal error of a parse.
class FatalErrors : public sax::DefaultHandler {
 public:
  bool fatalError(const sax::SAXParseException& e) override {
    if (!failed) {
      failed = true;
      message = e.getMessage();
      systemId = e.getSystemId();
      line = e.getLineNumber();
    }
    return false;
  }

  void reset() {
    failed = false;
    message.clear();
    systemId.clear();
    line = 0;
  }

  bool failed = false;
  std::string message;
  std::string systemId;
  int line = 0;
};

struct ReaderOptions {
  bool namespaces = true;
  bool html4Entities = false;
  bool loadExternal = false;
};

void configure(sax::SimpleXMLReader& reader, const ReaderOptions& options) {
  reader.setFeature(sax::SimpleXMLReader::UseUTF8, workInUtf8());
  reader.setFeature(sax::SimpleXMLReader::Namespaces, options.namespaces);
  reader.setFeature(sax::SimpleXMLReader::HTML4Entities, options.html4Entities);
  reader.setFeature(sax::SimpleXMLReader::ExternalGeneralEntities, options.loadExternal);
  reader.setFeature(sax::SimpleXMLReader::ExternalParameterEntities, options.loadExternal);
}

// Why reading a file failed: where and what.
struct Diagnostic {
  std::string file;
  long line = 0;
  std::string message;
};

// Why reading `path` failed: a read error of the input itself, or the
// reader's first fatal error at its place (an external entity names its own
// file).
Diagnostic failureOf(const std::string& path, const tool::StreamInput& in,
                     const std::string& systemId, long line, const std::string& message) {
  std::string name = tool::displayName(path);
  if (!in.error().empty()) return Diagnostic{name, 0, in.error()};
  return Diagnostic{systemId.empty() ? name : systemId, line,
                    message.empty() ? "cannot read the document" : message};
}

// Reports why reading `path` failed as "file:line: message".
void reportFailure(const tool::Invocation& inv, const std::string& path,
                   const tool::StreamInput& in, const std::string& systemId, long line,
                   const std::string& message) {
  // A handler that stopped because standard output failed: the tool
  // reports that once, as it exits.
  if (std::ferror(inv.out)) return;
  const Diagnostic d = failureOf(path, in, systemId, line, message);
  tool::reportAt(inv, d.file, d.line, d.message);
}

// Parses `path` with reader (whose handlers are set), reporting failures.
// With `diagnostic`, the failure goes there instead of standard error.
bool parseFile(const tool::Invocation& inv, const std::string& path, sax::SimpleXMLReader& reader,
               FatalErrors& errors, Diagnostic* diagnostic = nullptr) {
  tool::StreamInput in;
  std::string message;
  if (!in.open(path, message)) {
    if (diagnostic)
      *diagnostic = Diagnostic{tool::displayName(path), 0, message};
    else
      tool::reportAt(inv, tool::displayName(path), 0, message);
    return false;
  }
  errors.reset();
  reader.setErrorHandler(&errors);
  // The display name is the system id: messages name it, and external
  // entities are found relative to it.
  sax::ISInputSource source("", tool::displayName(path), &in.stream(), false);
  bool ok = reader.parse(&source);
  in.finish();
  reader.setErrorHandler(nullptr);
  if (ok && in.error().empty()) return true;
  if (diagnostic)
    *diagnostic = failureOf(path, in, errors.systemId, errors.line, errors.message);
  else
    reportFailure(inv, path, in, errors.systemId, errors.line, errors.message);
  return false;
}

bool parseReaderOptions(const tool::Invocation& inv, const std::vector<tool::OptionSpec>& extra,
                        tool::ParsedArgs& args, ReaderOptions& options, int* status) {
  std::vector<tool::OptionSpec> specs = {
      {"html4-entities", false}, {"no-namespaces", false}, {"load-external", false}};
  specs.insert(specs.end(), extra.begin(), extra.end());
  if (!tool::parseArgs(inv, 1, specs, args, status)) return false;
  options.namespaces = !args.has("no-namespaces");
  options.html4Entities = args.has("html4-entities");
  options.loadExternal = args.has("load-external");
  return true;
}

// ---- check ----------------------------------------------------------------

int runCheck(tool::Invocation& inv) {
  tool::ParsedArgs args;
  ReaderOptions options;
  int status = tool::kExitOk;
  if (!parseReaderOptions(inv, {{"json", false}}, args, options, &status)) return status;
  if (!tool::checkOperands(inv, args, 1, args.operands.size(), &status)) return status;
  const bool json = args.has("json");
  nlohmann::ordered_json files = nlohmann::ordered_json::array();
  FatalErrors errors;
  for (const std::string& path : args.operands) {
    // A fresh reader per file: entities declared by one document would
    // otherwise stay declared for the next.
    sax::SimpleXMLReader reader(inv.app);
    configure(reader, options);
    Diagnostic d;
    const bool ok = parseFile(inv, path, reader, errors, json ? &d : nullptr);
    if (!ok) status = tool::kExitFailed;
    if (json) {
      nlohmann::ordered_json f = {{"file", tool::displayName(path)}, {"wellFormed", ok}};
      if (!ok) f["error"] = {{"file", d.file}, {"line", d.line}, {"message", d.message}};
      files.push_back(f);
    }
  }
  if (json) {
    nlohmann::ordered_json out = {{"format", "kelp-xml-check/1"}, {"files", files}};
    std::fputs((out.dump(2) + "\n").c_str(), inv.out);
  }
  return status;
}

// ---- events ---------------------------------------------------------------

// Appends s with backslash, the delimiter and control bytes escaped.
void escapeInto(std::string& out, const char* s, char delimiter) {
  static const char kHex[] = "0123456789ABCDEF";
  for (const unsigned char* p = reinterpret_cast<const unsigned char*>(s ? s : ""); *p; ++p) {
    unsigned char c = *p;
    if (c == '\\' || c == static_cast<unsigned char>(delimiter)) {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c == '\t') {
      out += "\\t";
    } else if (c == '\n') {
      out += "\\n";
    } else if (c == '\r') {
      out += "\\r";
    } else if (c < 0x20 || c == 0x7F) {
      out += "\\x";
      out += kHex[c >> 4];
      out += kHex[c & 0xF];
    } else {
      out += static_cast<char>(c);
    }
  }
}

// One line per event on out.
class EventPrinter : public sax::DefaultHandler {
 public:
  explicit EventPrinter(std::FILE* out) : out_(out) {}

  bool startDocument() override { return line("startDocument"); }
  bool endDocument() override { return line("endDocument"); }
  bool startPrefixMapping(const char* prefix, const char* uri) override {
    return line("startPrefixMapping", {}, {prefix, uri});
  }
  bool endPrefixMapping(const char* prefix) override {
    return line("endPrefixMapping", {}, {prefix});
  }
  bool startElement(const char* uri, const char*, const char* qName,
                    const sax::Attributes& attributes) override {
    text_ = "startElement ";
    text_ += qName;
    this->uri(uri);
    if (attributes.getLength() > 0) {
      text_ += " [";
      for (int i = 0; i < attributes.getLength(); ++i) {
        if (i > 0) text_ += ' ';
        const char* attrUri = attributes.getURI(i);
        if (*attrUri) {
          text_ += '{';
          escapeInto(text_, attrUri, '}');
          text_ += '}';
        }
        text_ += attributes.getQName(i);
        text_ += "=\"";
        escapeInto(text_, attributes.getValue(i), '"');
        text_ += '"';
      }
      text_ += ']';
    }
    return flush();
  }
  bool endElement(const char* uri, const char*, const char* qName) override {
    text_ = "endElement ";
    text_ += qName;
    this->uri(uri);
    return flush();
  }
  bool characters(const char* chars) override { return line("characters", {}, {chars}); }
  bool ignorableWhitespace(const char* chars) override {
    return line("ignorableWhitespace", {}, {chars});
  }
  bool processingInstruction(const char* target, const char* data) override {
    return line("processingInstruction", {target}, {data});
  }
  bool skippedEntity(const char* name) override { return line("skippedEntity", {name}); }
  bool comment(const char* text) override { return line("comment", {}, {text}); }
  bool startCDATA() override { return line("startCDATA"); }
  bool endCDATA() override { return line("endCDATA"); }
  bool startEntity(const char* name) override { return line("startEntity", {name}); }
  bool endEntity(const char* name) override { return line("endEntity", {name}); }
  bool startDTD(const char* name, const char* publicId, const char* systemId) override {
    return line("startDTD", {name}, {publicId, systemId});
  }
  bool endDTD() override { return line("endDTD"); }
  bool elementDecl(const char* name, const char* model) override {
    return line("elementDecl", {name}, {model});
  }
  bool attributeDecl(const char* elementName, const char* attributeName, const char* type,
                     const char* valueDefault, const char* value) override {
    return line("attributeDecl", {elementName, attributeName}, {type, valueDefault, value});
  }
  bool internalEntityDecl(const char* name, const char* value) override {
    return line("internalEntityDecl", {name}, {value});
  }
  bool externalEntityDecl(const char* name, const char* publicId, const char* systemId) override {
    return line("externalEntityDecl", {name}, {publicId, systemId});
  }
  bool notationDecl(const char* name, const char* publicId, const char* systemId) override {
    return line("notationDecl", {name}, {publicId, systemId});
  }
  bool unparsedEntityDecl(const char* name, const char* publicId, const char* systemId,
                          const char* notationName) override {
    // The notation name comes last, bare like the entity's name.
    text_ = "unparsedEntityDecl ";
    text_ += name;
    quoted(publicId);
    quoted(systemId);
    text_ += ' ';
    text_ += notationName ? notationName : "";
    return flush();
  }
  std::string getErrorMessage() override { return "cannot write the output"; }

 private:
  // "event NAME... "TEXT"...": names bare, texts quoted.
  bool line(const char* event, std::initializer_list<const char*> names = {},
            std::initializer_list<const char*> texts = {}) {
    text_ = event;
    for (const char* n : names) {
      text_ += ' ';
      text_ += n ? n : "";
    }
    for (const char* t : texts) quoted(t);
    return flush();
  }
  void quoted(const char* t) {
    text_ += " \"";
    escapeInto(text_, t, '"');
    text_ += '"';
  }
  void uri(const char* uri) {
    if (!uri || !*uri) return;
    text_ += " {";
    escapeInto(text_, uri, '}');
    text_ += '}';
  }
  bool flush() {
    text_ += '\n';
    return std::fwrite(text_.data(), 1, text_.size(), out_) == text_.size();
  }

  std::FILE* out_;
  std::string text_;
};

int runEvents(tool::Invocation& inv) {
  tool::ParsedArgs args;
  ReaderOptions options;
  int status = tool::kExitOk;
  if (!parseReaderOptions(inv, {}, args, options, &status)) return status;
  if (!tool::checkOperands(inv, args, 1, 1, &status)) return status;
  sax::SimpleXMLReader reader(inv.app);
  configure(reader, options);
  EventPrinter printer(inv.out);
  reader.setContentHandler(&printer);
  reader.setDTDHandler(&printer);
  reader.setDeclHandler(&printer);
  reader.setLexicalHandler(&printer);
  FatalErrors errors;
  return parseFile(inv, args.operands[0], reader, errors) ? tool::kExitOk : tool::kExitFailed;
}

// ---- canon ----------------------------------------------------------------

int runCanon(tool::Invocation& inv) {
  tool::ParsedArgs args;
  ReaderOptions options;
  int status = tool::kExitOk;
  if (!parseReaderOptions(inv, {{"notations", false}, {"c14n", false}, {"with-comments", false}},
                          args, options, &status))
    return status;
  if (!tool::checkOperands(inv, args, 1, 1, &status)) return status;
  const bool c14n = args.has("c14n");
  if (c14n && (args.has("notations") || !options.namespaces))
    return tool::usageError(inv, "--c14n goes with neither --notations nor --no-namespaces");
  if (!c14n && args.has("with-comments"))
    return tool::usageError(inv, "--with-comments goes with --c14n");
  sax::SimpleXMLReader reader(inv.app);
  configure(reader, options);
  tool::FileOStream out(inv.out);
  qx::CanonicalWriter canon(out);
  qx::C14NWriter w3c(out);
  if (c14n) {
    w3c.setWithComments(args.has("with-comments"));
    reader.setContentHandler(&w3c);
    reader.setLexicalHandler(&w3c);
  } else {
    canon.setSecondForm(args.has("notations"));
    reader.setContentHandler(&canon);
    reader.setDTDHandler(&canon);
    reader.setLexicalHandler(&canon);
  }
  FatalErrors errors;
  bool ok = parseFile(inv, args.operands[0], reader, errors);
  out.flush();
  return ok ? tool::kExitOk : tool::kExitFailed;
}

// ---- format ---------------------------------------------------------------

// The first bytes of an input, already taken to find the declared encoding,
// followed by the rest of it.
class PrefixedInput : public std::streambuf {
 public:
  PrefixedInput(std::string head, std::istream& rest) : head_(std::move(head)), rest_(rest) {}

 protected:
  int_type underflow() override {
    if (!headServed_) {
      headServed_ = true;
      if (!head_.empty()) {
        setg(head_.data(), head_.data(), head_.data() + head_.size());
        return traits_type::to_int_type(*gptr());
      }
    }
    rest_.read(block_, sizeof block_);
    std::streamsize n = rest_.gcount();
    if (n <= 0) return traits_type::eof();
    setg(block_, block_, block_ + n);
    return traits_type::to_int_type(*gptr());
  }

 private:
  std::string head_;
  std::istream& rest_;
  bool headServed_ = false;
  char block_[65536];
};

int runFormat(tool::Invocation& inv) {
  tool::ParsedArgs args;
  int status = tool::kExitOk;
  if (!tool::parseArgs(inv, 1, {{"indent", true}, {"encoding", true}, {"load-external", false}},
                       args, &status))
    return status;
  if (!tool::checkOperands(inv, args, 1, 1, &status)) return status;
  long indent = 2;
  if (args.has("indent") && !tool::parseInt(args.get("indent"), 0, 32, &indent))
    return tool::usageError(
        inv, "invalid indentation '" + args.get("indent") + "' (a number from 0 to 32 expected)");
  const bool utf8 = workInUtf8();

  const std::string& path = args.operands[0];
  tool::StreamInput in;
  std::string message;
  if (!in.open(path, message)) {
    tool::reportAt(inv, tool::displayName(path), 0, message);
    return tool::kExitFailed;
  }
  char head[1024];
  in.stream().read(head, sizeof head);
  const std::size_t headSize = static_cast<std::size_t>(in.stream().gcount());
  std::string encoding = args.has("encoding")
                             ? args.get("encoding")
                             : qx::FormatHandler::declaredEncoding(head, headSize);
  // Ask the converter before writing anything, so that an unknown encoding
  // leaves no half-written output.
  std::string appCodeSet = qx::XMLWriter::getAppCodeSet();
  if (encoding != appCodeSet) {
    KtzTextCodec* codec = nullptr;
    if (EFAILED(ktzOpenTextCodec(appCodeSet.c_str(), encoding.c_str(), &codec)))
      return tool::failure(inv, "unknown encoding '" + encoding + "'");
    ktzCloseTextCodec(codec);
  }

  sax::SimpleXMLReader reader(inv.app);
  reader.setFeature(sax::SimpleXMLReader::UseUTF8, utf8);
  // Names as written: without namespace processing elements and attributes
  // come by their qualified names, and the xmlns attributes with the
  // prefix feature.
  reader.setFeature(sax::SimpleXMLReader::Namespaces, false);
  reader.setFeature(sax::SimpleXMLReader::NamespacePrefixes, true);
  reader.setFeature(sax::SimpleXMLReader::ExternalGeneralEntities, args.has("load-external"));
  reader.setFeature(sax::SimpleXMLReader::ExternalParameterEntities, args.has("load-external"));
  tool::FileOStream out(inv.out);
  zob::Ref<qx::XMLWriter> writer(new qx::XMLWriter(&out, static_cast<int>(indent)));
  writer->setEncoding(encoding);
  qx::FormatHandler copy(writer.get(), static_cast<int>(indent));
  reader.setContentHandler(&copy);
  reader.setDTDHandler(&copy);
  reader.setDeclHandler(&copy);
  reader.setLexicalHandler(&copy);
  FatalErrors errors;
  reader.setErrorHandler(&errors);
  PrefixedInput whole(std::string(head, headSize), in.stream());
  std::istream input(&whole);
  bool ok;
  {
    sax::ISInputSource source("", tool::displayName(path), &input, false);
    ok = reader.parse(&source);
  }
  in.finish();
  ZResult closed = writer->close();
  out.flush();
  // A failed standard output is reported once, as the tool exits.
  if (std::ferror(inv.out)) return tool::kExitFailed;
  if (!ok || !in.error().empty()) {
    reportFailure(inv, path, in, errors.systemId, errors.line, errors.message);
    return tool::kExitFailed;
  }
  if (EFAILED(closed)) return tool::failure(inv, "cannot write the output");
  return tool::kExitOk;
}

// ---- family ---------------------------------------------------------------

int run(tool::Invocation& inv) {
  return tool::dispatch(
      inv,
      {{"check", runCheck}, {"events", runEvents}, {"format", runFormat}, {"canon", runCanon}});
}

const tool::Family kXml{"xml", "check, trace, format and canonicalise XML documents", kXmlHelp,
                        run};
const tool::Registration reg(kXml);

}  // namespace
