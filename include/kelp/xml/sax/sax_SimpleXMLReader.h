/* SimpleXMLReader: the library's non-validating XML reader.
 *
 * It turns a byte stream into SAX events for the handlers set on it. Every
 * problem is fatal: it goes to ErrorHandler::fatalError with the position of
 * the input being read, and parse() returns false after endDocument.
 *
 *   SimpleXMLReader reader(app);
 *   reader.setFeature(SimpleXMLReader::UseUTF8, true);
 *   reader.setContentHandler(&myHandler);
 *   reader.setErrorHandler(&myHandler);
 *   bool ok = reader.parse("/path/catalogue.xml");
 *
 * Strings handed to handlers live until the end of the element in which they
 * occur (element names, attributes, namespace strings) or until the callback
 * returns (character data, comments, processing instructions); handlers copy
 * what they keep. The element grammar works with an explicit stack of open
 * elements, so nesting depth is bounded by memory, not by the call stack.
 *
 * One reader may read many documents one after another; it is not meant for
 * concurrent use. Handlers are borrowed, never owned. Entities declared by
 * one document stay declared for the later documents of the same reader;
 * the first declaration of a name stays in force.
 *
 * When a lexical handler is set, every declared entity read in place is
 * reported around its text: LexicalHandler::startEntity(name) before the
 * first event that its text gives, endEntity(name) as soon as the text is
 * read to its end, properly nested, with character data split at the
 * entity's edges. General entities in content (internal and external
 * parsed ones) go by their name, parameter entities in the internal subset
 * by "%" and their name. Not reported: references in attribute values,
 * the predefined entities, character references, HTML 4 entities (which
 * stand for single characters) and skipped names. An element that begins
 * in an entity must end in it: when the entity's text ends first, the
 * parse stops there with "syntax error (markup crosses an entity
 * boundary)".
 *
 * Entity expansion is bounded: the input stack holds at most
 * EntityLimits::maxDepth entities, and the text that entity references
 * produce in one parse is at most the larger of EntityLimits::minExpansion
 * bytes and EntityLimits::expansionFactor times the bytes read so far from
 * the document itself (each expansion counts as its text plus 32 bytes,
 * the cost of reading it). Past a bound the parse ends with the fatal error
 * "entity expansion limit exceeded". Every byte read from an external
 * entity counts against the same bound as internal replacement text.
 *
 * External entities are off by default: the reader opens no file of its
 * own accord. A reference to an external parsed entity asks the entity
 * resolver first; a source that the resolver returns is read whatever the
 * features say (that is the application's choice). When the resolver
 * answers true without a source (as DefaultHandler does), the reference
 * goes to ContentHandler::skippedEntity unless the feature
 * ExternalGeneralEntities (ExternalParameterEntities for "%name;" in the
 * internal subset) is on; then the system id is opened as a file path,
 * relative to the referring input's, and only when it names a regular
 * file (never a device, a FIFO or a directory: "entity '%1' is not a
 * regular file"). External parameter entities are not even offered to the
 * resolver while their feature is off. In attribute values, external
 * parsed entities are read under the same rules.
 *
 * Memory is bounded: no single token held in memory (a name, an attribute
 * value or a whole start tag, a run of character data, a comment, a
 * processing instruction, a CDATA section, a literal or entity value) may
 * pass the property MaxTokenSize (default kDefaultMaxTokenSize, 64 MiB);
 * past it the parse ends with the fatal error "token longer than the limit
 * of N bytes" at the line where it happened. No exception leaves parse():
 * an allocation that fails ends the parse with the fatal error "out of
 * memory"; an exception thrown by a handler ends it too.
 *
 * UTF-8 handed to handlers is well formed: ISInputSource turns each
 * ill-formed sequence into "?", also when UTF-8 passes through without a
 * codec. */
#ifndef KELP_XML_SAX_SAX_SIMPLEXMLREADER_H
#define KELP_XML_SAX_SAX_SIMPLEXMLREADER_H

#include <cstddef>
#include <string>

#include <fw/fw_IApplication.h>
#include <kelp/kelp_api.h>
#include <kelp/xml/sax/sax_XMLReader.h>

namespace qor::quv::xml::sax {

class KELP_API SimpleXMLReader : public XMLReader {
 public:
  /* The SAX2 features "namespaces" and "namespace-prefixes". */
  static const char* const Namespaces;
  static const char* const NamespacePrefixes;
  /* The reader's own features: deliver all text in UTF-8 instead of the
   * locale's charset, and look undeclared entity names up in the HTML 4
   * entity set. */
  static const char* const UseUTF8;
  static const char* const HTML4Entities;
  /* The SAX2 features "external-general-entities" and
   * "external-parameter-entities", both off by default (see above). */
  static const char* const ExternalGeneralEntities;
  static const char* const ExternalParameterEntities;
  /* The reader's own property
   * "http://www.qor-software.net/quv/sax/properties/max-token-size": the
   * most bytes one token may hold (see above). */
  static const char* const MaxTokenSize;
  static constexpr std::size_t kDefaultMaxTokenSize = std::size_t{64} << 20;

  /* A declared entity, counted: addRef and release (deleted at zero). */
  class KELP_API Entity {
   public:
    explicit Entity(const std::string& name);
    virtual ~Entity();
    Entity(const Entity&) = delete;
    Entity& operator=(const Entity&) = delete;
    const std::string& getName() const;
    void addRef();
    void release();

   private:
    std::string name_;
    int refs_ = 0;
  };
  /* An entity declared with a quoted value. */
  class KELP_API InternalEntity : public Entity {
   public:
    InternalEntity(const std::string& name, const std::string& replacementText);
    const std::string& getReplacementText() const;

   private:
    std::string text_;
  };
  /* An entity declared with an external id; the notation is empty for a
   * parsed entity. */
  class KELP_API ExternalEntity : public Entity {
   public:
    ExternalEntity(const std::string& name, const std::string& publicId,
                   const std::string& systemId, const std::string& notation);
    const std::string& getPublicId() const;
    const std::string& getSystemId() const;
    const std::string& getNotation() const;

   private:
    std::string publicId_;
    std::string systemId_;
    std::string notation_;
  };

  /* Bounds on entity expansion (see above). */
  struct EntityLimits {
    std::size_t maxDepth = 64;
    std::size_t minExpansion = 8u << 20;
    std::size_t expansionFactor = 100;
  };
  /* What the last (or current) parse used of them. */
  struct EntityCounters {
    std::size_t documentBytes = 0;   // read from the outermost source
    std::size_t expandedBytes = 0;   // produced by entity references
    std::size_t deepestNesting = 0;  // entities open at once, at most
  };

  /* app receives debug messages and assertions; it may be null. */
  explicit SimpleXMLReader(fw::IApplication* app);
  ~SimpleXMLReader() override;
  SimpleXMLReader(const SimpleXMLReader&) = delete;
  SimpleXMLReader& operator=(const SimpleXMLReader&) = delete;

  void setContentHandler(ContentHandler* handler) override;
  ContentHandler* getContentHandler() const override;
  void setDTDHandler(DTDHandler* handler) override;
  DTDHandler* getDTDHandler() const override;
  void setEntityResolver(EntityResolver* resolver) override;
  EntityResolver* getEntityResolver() const override;
  void setErrorHandler(ErrorHandler* handler) override;
  ErrorHandler* getErrorHandler() const override;
  void setDeclHandler(DeclHandler* handler) override;
  DeclHandler* getDeclHandler() const override;
  void setLexicalHandler(LexicalHandler* handler) override;
  LexicalHandler* getLexicalHandler() const override;

  /* Exactly the six features above are known; other names change nothing
   * (setFeature) or read as false (getFeature), with a debug message. */
  void setFeature(const std::string& name, bool value) override;
  bool getFeature(const std::string& name) override;
  bool hasFeature(const std::string& name) override;

  /* Reads one document from input, which stays the caller's. */
  bool parse(InputSource* input) override;
  /* Reads the file at systemId. */
  bool parse(const std::string& systemId) override;

  /* Properties by name: MaxTokenSize is the only one, a byte count from 1.
   * setProperty answers false (with a debug message) and changes nothing
   * for another name or the value 0; getProperty answers false for
   * another name. */
  bool setProperty(const std::string& name, std::size_t value);
  bool getProperty(const std::string& name, std::size_t* value) const;

  void setEntityLimits(const EntityLimits& limits);
  EntityLimits getEntityLimits() const;
  EntityCounters getEntityCounters() const;
  /* The declared entity called name (parameter entities with a leading
   * "%"), or null; the reader keeps its reference. */
  const Entity* getEntity(const std::string& name) const;

 private:
  bool parseFile(const std::string& systemId);
  struct Data;
  Data* d;
};

}  // namespace qor::quv::xml::sax

#endif
