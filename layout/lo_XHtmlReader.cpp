// Reading restricted XHTML into a layout document.
#define QUV_SOURCE_NAME "lo_XHtmlReader"
#include <kelp/layout/lo_XHtmlReader.h>

#include <cstring>

#include <kelp/util/utl_Logger.h>
#include <kelp/xml/sax/sax_ParseException.h>
#include <kelp/xml/sax/sax_SimpleXMLReader.h>
#include <ktz/ktz_codec.h>
#include <vorn/vorn_placeholder.h>

namespace qor::quv::layout {

namespace {

// What an element does.
enum Kind : unsigned char {
  kUndefined,
  kStructure,  // html, head, title, body
  kParagraph,
  kEnvironment,
  kInline,
  kBreak,
  kRule
};

struct ElementInfo {
  const char* name;  // the name messages use: "h?" for every heading
  Kind kind;
  int value;  // BlockType of blocks, Style of inline elements
};

// Indexed by element code.
const ElementInfo kElements[] = {
    {"", kUndefined, 0},
    {"body", kStructure, 0},
    {"head", kStructure, 0},
    {"html", kStructure, 0},
    {"title", kStructure, 0},
    {"abbr", kInline, kStyleAbbr},
    {"acronym", kInline, kStyleAcronym},
    {"address", kParagraph, kParaAddress},
    {"blockquote", kEnvironment, kEnvBlockQuote},
    {"br", kBreak, 0},
    {"cite", kInline, kStyleCite},
    {"code", kInline, kStyleCode},
    {"dfn", kInline, kStyleDfn},
    {"div", kEnvironment, kEnvDiv},
    {"em", kInline, kStyleEm},
    {"h?", kParagraph, kParaH1},
    {"h?", kParagraph, kParaH2},
    {"h?", kParagraph, kParaH3},
    {"h?", kParagraph, kParaH4},
    {"h?", kParagraph, kParaH5},
    {"h?", kParagraph, kParaH6},
    {"kbd", kInline, kStyleKbd},
    {"p", kParagraph, kParaBlock},
    {"pre", kParagraph, kParaPre},
    {"q", kInline, kStyleQ},
    {"samp", kInline, kStyleSamp},
    {"span", kInline, kStyleSpan},
    {"strong", kInline, kStyleStrong},
    {"var", kInline, kStyleVar},
    {"dl", kEnvironment, kEnvDL},
    {"dt", kParagraph, kParaDT},
    {"dd", kEnvironment, kEnvDD},
    {"ol", kEnvironment, kEnvOL},
    {"ul", kEnvironment, kEnvUL},
    {"li", kEnvironment, kEnvLI},
    {"b", kInline, kStyleB},
    {"big", kInline, kStyleBig},
    {"hr", kRule, 0},
    {"i", kInline, kStyleI},
    {"small", kInline, kStyleSmall},
    {"sub", kInline, kStyleSub},
    {"sup", kInline, kStyleSup},
    {"tt", kInline, kStyleTT},
    {"u", kInline, kStyleU},
};
constexpr int kElementCount = static_cast<int>(sizeof kElements / sizeof kElements[0]);

struct TagName {
  const char* name;
  int code;
};

// Sorted by name (byte-wise) for binary search.
const TagName kTagsByName[] = {
    {"abbr", kTagAbbr},
    {"acronym", kTagAcronym},
    {"address", kTagAddress},
    {"b", kTagB},
    {"big", kTagBig},
    {"blockquote", kTagBlockQuote},
    {"body", kTagBody},
    {"br", kTagBr},
    {"cite", kTagCite},
    {"code", kTagCode},
    {"dd", kTagDD},
    {"dfn", kTagDfn},
    {"div", kTagDiv},
    {"dl", kTagDL},
    {"dt", kTagDT},
    {"em", kTagEm},
    {"h1", kTagH1},
    {"h2", kTagH2},
    {"h3", kTagH3},
    {"h4", kTagH4},
    {"h5", kTagH5},
    {"h6", kTagH6},
    {"head", kTagHead},
    {"hr", kTagHr},
    {"html", kTagHtml},
    {"i", kTagI},
    {"kbd", kTagKbd},
    {"li", kTagLI},
    {"ol", kTagOL},
    {"p", kTagP},
    {"pre", kTagPre},
    {"q", kTagQ},
    {"samp", kTagSamp},
    {"small", kTagSmall},
    {"span", kTagSpan},
    {"strong", kTagStrong},
    {"sub", kTagSub},
    {"sup", kTagSup},
    {"title", kTagTitle},
    {"tt", kTagTT},
    {"u", kTagU},
    {"ul", kTagUL},
    {"var", kTagVar},
};

const ElementInfo& infoOf(int code) {
  return kElements[code >= 0 && code < kElementCount ? code : 0];
}

bool isSpace(unsigned c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

const char* orEmpty(const char* s) {
  return s ? s : "";
}

}  // namespace

XHtmlReader::XHtmlReader(fw::IApplication* app)
    : app_(app),
      doc_(nullptr),
      env_(nullptr),
      para_(nullptr),
      htmlEnded_(false),
      headEnded_(false),
      titleEnded_(false),
      bodyEnded_(false),
      codec_(nullptr),
      utf16Length_(0) {
  if (app_) app_->_comAddRef();
  ZResult tRes = ktzOpenTextCodec("UTF-8", "UCS-2LE", &codec_);
  QUV_ASSERT(app_, !EFAILED(tRes));
  reset();
}

XHtmlReader::~XHtmlReader() {
  setParagraph(nullptr);
  setEnvironment(nullptr);
  if (doc_) doc_->release();
  ktzCloseTextCodec(codec_);
  if (app_) app_->_comRelease();
}

std::string XHtmlReader::getErrorMessage() {
  return errorMessage_;
}

int XHtmlReader::getContext() const {
  return stack_.empty() ? 0 : stack_.back();
}

int XHtmlReader::getElementTag(const char* localName) {
  if (!localName) return kTagUndefined;
  int lo = 0, hi = static_cast<int>(sizeof kTagsByName / sizeof kTagsByName[0]);
  while (lo < hi) {
    const int mid = lo + (hi - lo) / 2;
    const int cmp = std::strcmp(localName, kTagsByName[mid].name);
    if (cmp == 0) return kTagsByName[mid].code;
    if (cmp < 0)
      hi = mid;
    else
      lo = mid + 1;
  }
  return kTagUndefined;
}

bool XHtmlReader::fail(const std::string& message) {
  errorMessage_ = message;
  return false;
}

void XHtmlReader::reset() {
  setParagraph(nullptr);
  setEnvironment(nullptr);
  stack_.clear();
  title_.clear();
  htmlEnded_ = headEnded_ = titleEnded_ = bodyEnded_ = false;
  if (doc_) doc_->release();
  doc_ = new Document(app_);
  doc_->addRef();
}

void XHtmlReader::setParagraph(ParaBlock* para) {
  if (para) para->addRef();
  if (para_) para_->release();
  para_ = para;
}

void XHtmlReader::setEnvironment(EnvBlock* env) {
  if (env) env->addRef();
  if (env_) env_->release();
  env_ = env;
}

ParaBlock* XHtmlReader::paragraph() {
  if (!para_ && env_) setParagraph(env_->appendParagraph(kParaImplicit));
  return para_;
}

void XHtmlReader::setLoadExternal(bool load) {
  loadExternal_ = load;
}

bool XHtmlReader::parse(xml::sax::InputSource* input, Document** out) {
  if (out) *out = nullptr;
  reset();
  errorMessage_.clear();
  if (!QUV_ASSERT(app_, input != 0)) return false;

  xml::sax::SimpleXMLReader reader(app_);
  reader.setFeature(xml::sax::SimpleXMLReader::UseUTF8, true);
  reader.setFeature(xml::sax::SimpleXMLReader::HTML4Entities, true);
  reader.setFeature(xml::sax::SimpleXMLReader::ExternalGeneralEntities, loadExternal_);
  reader.setFeature(xml::sax::SimpleXMLReader::ExternalParameterEntities, loadExternal_);
  reader.setContentHandler(this);
  reader.setErrorHandler(this);
  const bool ok = reader.parse(input);

  // Take the document out and leave a fresh one behind, so that the reader
  // keeps nothing of this page.
  Document* doc = doc_;
  doc->addRef();
  reset();
  if (ok && out)
    *out = doc;
  else
    doc->release();
  return ok;
}

bool XHtmlReader::startElement(const char*, const char* localName, const char*,
                               const xml::sax::Attributes&) {
  const int code = getElementTag(localName);
  const ElementInfo& info = infoOf(code);
  bool ok = true;
  switch (info.kind) {
    case kStructure:
      ok = startStructure(code);
      break;
    case kParagraph:
    case kEnvironment:
      ok = startBlock(code, info.name);
      break;
    case kInline:
    case kBreak:
    case kRule:
      ok = startInline(code, info.name);
      break;
    case kUndefined:
      util::eDebug(app_, QUV_LOG_CATEGORY,
                   std::string("Element '%1' not supported.") << orEmpty(localName));
      break;
  }
  if (!ok) return false;
  stack_.push_back(code);
  return true;
}

bool XHtmlReader::startStructure(int code) {
  const int context = getContext();
  switch (code) {
    case kTagHtml:
      if (!stack_.empty()) return fail("<html> must be root element.");
      if (htmlEnded_) return fail("Only one root element allowed.");
      return true;
    case kTagHead:
      if (context != kTagHtml) return fail("<head> must be child of <html>.");
      if (headEnded_) return fail("Only one <head> element allowed.");
      return true;
    case kTagTitle:
      if (context != kTagHead) return fail("<title> must be child of <head>.");
      if (titleEnded_) return fail("Only one <title> element allowed.");
      return true;
    case kTagBody:
      if (context != kTagHtml) return fail("<body> must be child of <html>.");
      if (bodyEnded_) return fail("Only one <body> element allowed.");
      if (!headEnded_) return fail("<head> element expected prior to <body> element.");
      setParagraph(nullptr);
      setEnvironment(doc_->getBody());
      return true;
    default:
      return true;
  }
}

bool XHtmlReader::checkPosition(const char* name) {
  if (!env_ || (para_ && para_->getType() != kParaImplicit))
    return fail(std::string("Invalid paragraph nesting (<%1>).") << name);
  setParagraph(nullptr);  // an implicit paragraph ends here
  return true;
}

bool XHtmlReader::startBlock(int code, const char* name) {
  if (!checkPosition(name)) return false;
  const ElementInfo& info = infoOf(code);
  const BlockType type = static_cast<BlockType>(info.value);
  if (info.kind == kParagraph)
    setParagraph(env_->appendParagraph(type));
  else
    setEnvironment(env_->appendEnvironment(type));
  return true;
}

bool XHtmlReader::startInline(int code, const char* name) {
  ParaBlock* para = paragraph();
  if (!para) return fail(std::string("<%1> outside of <body>.") << name);
  const ElementInfo& info = infoOf(code);
  if (info.kind == kBreak)
    para->appendBreak();
  else if (info.kind == kRule)
    para->appendHRule();
  else
    para->appendStyleOn(static_cast<Style>(info.value));
  return true;
}

bool XHtmlReader::endElement(const char*, const char* localName, const char*) {
  const int code = getElementTag(localName);
  if (stack_.empty() || stack_.back() != code)
    return fail(std::string("Internal error: end tag mismatch (%1)") << orEmpty(localName));
  stack_.pop_back();
  const ElementInfo& info = infoOf(code);
  switch (info.kind) {
    case kParagraph:
      setParagraph(nullptr);
      return true;
    case kEnvironment:
      setParagraph(nullptr);
      setEnvironment(env_ ? env_->getEnclBlock() : nullptr);
      return true;
    case kInline: {
      ParaBlock* tPara = para_;
      if (QUV_ASSERT(app_, tPara != 0)) tPara->appendStyleOff(static_cast<Style>(info.value));
      return true;
    }
    case kStructure:
      break;
    default:  // br, hr and undefined elements
      return true;
  }
  switch (code) {
    case kTagTitle:
      titleEnded_ = true;
      doc_->setTitle(title_);
      return true;
    case kTagHead:
      headEnded_ = true;
      if (!titleEnded_) return fail("<title> element missing.");
      return true;
    case kTagBody:
      setParagraph(nullptr);
      setEnvironment(env_ ? env_->getEnclBlock() : nullptr);
      bodyEnded_ = true;
      return true;
    case kTagHtml:
      htmlEnded_ = true;
      if (!bodyEnded_) return fail("<body> element missing.");
      return true;
    default:
      return true;
  }
}

bool XHtmlReader::toUTF16(const char* chars, std::size_t length) {
  // UTF-8 never takes fewer bytes than UCS-2 code units: twice the input's
  // length in bytes always suffices.
  if (utf16_.size() < length) utf16_.resize(length);
  utf16Length_ = 0;
  if (!QUV_ASSERT(app_, codec_ != 0)) return false;
  std::size_t used = 0, made = 0;
  ZResult tRes =
      ktzConvertText2(codec_, chars, length, &used, utf16_.data(),
                      utf16_.size() * sizeof(std::uint16_t), &made, kKtzConvFirst | kKtzConvFinal);
  if (!QUV_ASSERT(app_, tRes == zob::kOk)) return false;
  // The codec wrote little-endian pairs of bytes; read them as such,
  // whatever the byte order of this machine.
  const unsigned char* bytes = reinterpret_cast<const unsigned char*>(utf16_.data());
  utf16Length_ = made / 2;
  for (std::size_t i = 0; i < utf16Length_; ++i)
    utf16_[i] = static_cast<std::uint16_t>(bytes[2 * i] | (bytes[2 * i + 1] << 8));
  return true;
}

bool XHtmlReader::characters(const char* chars) {
  if (!chars) return true;
  if (getContext() == kTagTitle) {
    title_ += chars;
    return true;
  }
  const std::size_t length = std::strlen(chars);
  if (!para_) {
    std::size_t i = 0;
    while (i < length && isSpace(static_cast<unsigned char>(chars[i]))) ++i;
    if (i == length) return true;
  }
  const bool converted = toUTF16(chars, length);
  ParaBlock* para = paragraph();
  if (!para) return true;  // text outside the body is dropped
  if (converted) {
    for (std::size_t i = 0; i < utf16Length_; ++i) {
      const std::uint16_t c = utf16_[i];
      if (isSpace(c))
        para->appendSpace();
      else
        para->appendChar(c);
    }
  } else {
    // Undecodable text: every byte stands for one character.
    for (std::size_t i = 0; i < length; ++i) {
      const unsigned char c = static_cast<unsigned char>(chars[i]);
      if (isSpace(c))
        para->appendSpace();
      else
        para->appendChar(c);
    }
  }
  return true;
}

bool XHtmlReader::fatalError(const xml::sax::SAXParseException& exception) {
  util::eDebug(app_, QUV_LOG_CATEGORY,
               std::string("Fatal SAX error: %1[%2]: %3")
                   << exception.getSystemId() << exception.getLineNumber()
                   << exception.getMessage());
  return false;
}

bool XHtmlReader::error(const xml::sax::SAXParseException& exception) {
  util::eDebug(app_, QUV_LOG_CATEGORY,
               std::string("SAX error: %1[%2]: %3")
                   << exception.getSystemId() << exception.getLineNumber()
                   << exception.getMessage());
  return true;
}

bool XHtmlReader::warning(const xml::sax::SAXParseException& exception) {
  util::eDebug(app_, QUV_LOG_CATEGORY,
               std::string("SAX warning: %1[%2]: %3")
                   << exception.getSystemId() << exception.getLineNumber()
                   << exception.getMessage());
  return true;
}

}  // namespace qor::quv::layout
