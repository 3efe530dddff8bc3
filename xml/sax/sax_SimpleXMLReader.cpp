// SimpleXMLReader: the public API, its features and properties, and the
// document as a whole: prolog, document element and epilogue, the parse
// with its set-up and clean-up, and exceptions turned into fatal errors.
// The grammar's parts live in sax_Reader*.cpp (see sax_SimpleXMLReader_impl.h).
#define QUV_SOURCE_NAME "sax_SimpleXMLReader"
#include <kelp/xml/sax/sax_SimpleXMLReader.h>

#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <filesystem>
#include <new>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <kelp/util/utl_Logger.h>
#include <kelp/util/utl_StackAlloc.h>
#include <kelp/util/utl_StringBuf.h>
#include <kelp/xml/sax/sax_Attributes.h>
#include <kelp/xml/sax/sax_DefaultHandler.h>
#include <kelp/xml/sax/sax_HTML4Entities.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/sax/sax_Locator.h>
#include <kelp/xml/sax/sax_ParseException.h>
#include <kelp/xml/sax/sax_SimpleInputSource.h>
#include <kelp/xml/sax/sax_StackedInputSource.h>
#include <ktz/ktz_codec.h>
#include <ktz/ktz_locale.h>
#include <zob/zob_io.h>

#include "xml/sax/sax_SimpleXMLReader_impl.h"

namespace qor::quv::xml::sax {

#define KELP_SAX_FEATURES "http://xml.org/sax/features/"
#define KELP_OWN_FEATURES "http://www.qor-software.net/quv/sax/features/"
#define KELP_OWN_PROPERTIES "http://www.qor-software.net/quv/sax/properties/"

const char* const SimpleXMLReader::Namespaces = KELP_SAX_FEATURES "namespaces";
const char* const SimpleXMLReader::NamespacePrefixes = KELP_SAX_FEATURES "namespace-prefixes";
const char* const SimpleXMLReader::UseUTF8 = KELP_OWN_FEATURES "use-utf8";
const char* const SimpleXMLReader::HTML4Entities = KELP_OWN_FEATURES "html4-entities";
const char* const SimpleXMLReader::ExternalGeneralEntities =
    KELP_SAX_FEATURES "external-general-entities";
const char* const SimpleXMLReader::ExternalParameterEntities =
    KELP_SAX_FEATURES "external-parameter-entities";
const char* const SimpleXMLReader::MaxTokenSize = KELP_OWN_PROPERTIES "max-token-size";

SimpleXMLReader::Data::~Data() {
  closeCodec();
  for (auto& e : entities) e.second.entity->release();
}

void SimpleXMLReader::Data::closeCodec() {
  if (utf32Codec) ktzCloseTextCodec(utf32Codec);
  utf32Codec = nullptr;
  utf32CodecFailed = false;
}

// The flag of a known feature, or null.
bool* SimpleXMLReader::Data::feature(const std::string& name) {
  if (name == SimpleXMLReader::Namespaces) return &namespaces;
  if (name == SimpleXMLReader::NamespacePrefixes) return &namespacePrefixes;
  if (name == SimpleXMLReader::UseUTF8) return &useUtf8;
  if (name == SimpleXMLReader::HTML4Entities) return &html4Entities;
  if (name == SimpleXMLReader::ExternalGeneralEntities) return &externalGeneral;
  if (name == SimpleXMLReader::ExternalParameterEntities) return &externalParameter;
  return nullptr;
}

bool SimpleXMLReader::Data::document() {
  if (!xmlDeclaration()) return false;
  if (!misc(true)) return false;
  if (lookingAt("<!DOCTYPE", 9, " \t\r\n")) {
    take(9);
    skipSpace();
    if (!doctype() || !misc(true)) return false;
  }
  int c = cur.peek();
  if (c < 0) return endOfInput();
  if (c != '<') return expected("<");
  cur.skip();
  if (!startTag()) return false;
  if (!elementContent()) return false;
  return misc(false);
}

// Reads one document; no exception leaves it. An allocation that fails
// ends the parse with the fatal error "out of memory" (the scratch texts
// are let go first, so that the report itself has room).
bool SimpleXMLReader::Data::parse(InputSource* source) {
  void* base = scratch.getAllocBase();
  bool ok = false;
  try {
    ok = parseDocument(source);
  } catch (...) {
    // Only the setting up and the taking down come here: input is gone.
    input = nullptr;
    cur.attach(nullptr);
    open.clear();
    started.clear();
    scratch.setAllocBase(base);
    try {
      errors->fatalError(SAXParseException(kOutOfMemory, DefaultLocator("", "", 0, 0)));
    } catch (...) {
    }
    return false;
  }
  return ok;
}

// After an exception from inside the parse (an allocation, or a handler
// of the application's that throws).
void SimpleXMLReader::Data::reportException(std::exception_ptr ex) {
  text = std::string();
  value = std::string();
  nameBuf = std::string();
  std::string why = kOutOfMemory;
  try {
    std::rethrow_exception(ex);
  } catch (const std::bad_alloc&) {
  } catch (const std::exception& e) {
    try {
      why = std::string("exception: %1") << e.what();
    } catch (...) {
    }
  } catch (...) {
    why = "exception";
  }
  try {
    fatal(why);
  } catch (...) {
  }
}

bool SimpleXMLReader::Data::parseDocument(InputSource* source) {
  text.clear();
  value.clear();
  failed = false;
  scope.reset();
  closeCodec();
  attrs.clear();
  open.clear();
  declaredEncoding.clear();
  documentVersion = "1.0";
  void* base = scratch.getAllocBase();

  StackedInputSource stacked(source);
  input = &stacked;
  cur.attach(&stacked, &stacked);
  cur.expanded = &counters.expandedBytes;
  cur.expansionMin = limits.minExpansion;
  cur.expansionFactor = limits.expansionFactor;
  counters = EntityCounters();
  instances.assign(1, 0);
  serial = 0;
  started.clear();
  bool ok = false;
  try {
    content->setDocumentLocator(stacked.getLocator());
    if (content->startDocument())
      ok = document() && !cur.overBudget;
    else
      refused(content);
  } catch (...) {
    ok = false;
    reportException(std::current_exception());
  }
  if (cur.overBudget) fatal(kExpansionLimit);  // (reported already, unless by a handler)
  cur.drop();
  counters.documentBytes = cur.outerBytes;
  try {
    content->endDocument();
  } catch (...) {
  }
  input = nullptr;
  cur.attach(nullptr);
  open.clear();
  started.clear();
  scratch.setAllocBase(base);
  return ok;
}

SimpleXMLReader::SimpleXMLReader(fw::IApplication* app) : d(new Data(this, app)) {}

SimpleXMLReader::~SimpleXMLReader() {
  delete d;
}

void SimpleXMLReader::setContentHandler(ContentHandler* handler) {
  d->content = handler;
}
ContentHandler* SimpleXMLReader::getContentHandler() const {
  return d->content;
}
void SimpleXMLReader::setDTDHandler(DTDHandler* handler) {
  d->dtd = handler;
}
DTDHandler* SimpleXMLReader::getDTDHandler() const {
  return d->dtd;
}
void SimpleXMLReader::setEntityResolver(EntityResolver* resolver) {
  d->resolver = resolver;
}
EntityResolver* SimpleXMLReader::getEntityResolver() const {
  return d->resolver;
}
void SimpleXMLReader::setErrorHandler(ErrorHandler* handler) {
  d->errors = handler;
}
ErrorHandler* SimpleXMLReader::getErrorHandler() const {
  return d->errors;
}
void SimpleXMLReader::setDeclHandler(DeclHandler* handler) {
  d->decl = handler;
}
DeclHandler* SimpleXMLReader::getDeclHandler() const {
  return d->decl;
}
void SimpleXMLReader::setLexicalHandler(LexicalHandler* handler) {
  d->lexical = handler;
}
LexicalHandler* SimpleXMLReader::getLexicalHandler() const {
  return d->lexical;
}

void SimpleXMLReader::setFeature(const std::string& name, bool value) {
  if (bool* flag = d->feature(name)) {
    *flag = value;
    return;
  }
  util::eDebug(d->app.get(), QUV_LOG_CATEGORY,
               std::string("Request to set unknown feature %1 to %2") << name << value);
}

bool SimpleXMLReader::getFeature(const std::string& name) {
  if (bool* flag = d->feature(name)) return *flag;
  util::eDebug(d->app.get(), QUV_LOG_CATEGORY, std::string("Unknown feature %1") << name);
  return false;
}

bool SimpleXMLReader::hasFeature(const std::string& name) {
  return d->feature(name);
}

bool SimpleXMLReader::parse(InputSource* input) {
  return d->parse(input);
}

bool SimpleXMLReader::setProperty(const std::string& name, std::size_t value) {
  if (name == MaxTokenSize && value > 0) {
    d->maxToken = value;
    return true;
  }
  util::eDebug(d->app.get(), QUV_LOG_CATEGORY,
               std::string("Request to set unknown property %1 to %2")
                   << name << std::to_string(value));
  return false;
}

bool SimpleXMLReader::getProperty(const std::string& name, std::size_t* value) const {
  if (name != MaxTokenSize) return false;
  if (value) *value = d->maxToken;
  return true;
}

void SimpleXMLReader::setEntityLimits(const EntityLimits& limits) {
  d->limits = limits;
}
SimpleXMLReader::EntityLimits SimpleXMLReader::getEntityLimits() const {
  return d->limits;
}
SimpleXMLReader::EntityCounters SimpleXMLReader::getEntityCounters() const {
  EntityCounters c = d->counters;
  if (d->input) c.documentBytes = d->cur.outerBytes;
  return c;
}
const SimpleXMLReader::Entity* SimpleXMLReader::getEntity(const std::string& name) const {
  auto it = d->entities.find(name);
  return it == d->entities.end() ? nullptr : it->second.entity;
}

bool SimpleXMLReader::parse(const std::string& systemId) {
  try {
    return parseFile(systemId);
  } catch (...) {  // setting up the source; the parse itself catches its own
    try {
      d->errors->fatalError(SAXParseException(kOutOfMemory, DefaultLocator("", "", 0, 0)));
    } catch (...) {
    }
    return false;
  }
}

bool SimpleXMLReader::parseFile(const std::string& systemId) {
  const char* message = nullptr;
  struct stat st;
  if (::stat(systemId.c_str(), &st) != 0)
    message = "entity '%1' doesn't exist";
  else if (::access(systemId.c_str(), R_OK) != 0)
    message = "entity '%1' not readable";
  zob::Ref<zob::io::IInputStream> stream;
  if (!message && EFAILED(zobCreateFileInputStream(systemId.c_str(), stream.out())))
    message = "failed to open entity '%1'";
  if (message) {
    SAXParseException ex(std::string(message) << systemId,
                         DefaultLocator("", systemId.c_str(), 0, 0));
    d->errors->fatalError(ex);
    return false;
  }
  ISInputSource source("", systemId.c_str(), stream.get());
  bool ok = parse(static_cast<InputSource*>(&source));
  return ok;
}

}  // namespace qor::quv::xml::sax
