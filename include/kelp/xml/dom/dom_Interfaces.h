/* The DOM as object-model interfaces: IDomNode and its companions, each
 * named by a repository id "IDL:qor/quv/xml/<name>:1.0".
 *
 * A subset of the W3C DOM Level 2 Core. Every interface derives from
 * zob::IUnknown on its own (IDomElement does not derive from IDomNode): one
 * node object answers queryInterface for IDomNode and for the interfaces of
 * its type. Conventions of every operation:
 * - strings are zero-terminated; strings handed out are zobStrDup copies
 *   that the caller frees with zobFree; a null string argument counts as "";
 * - booleans come back as int (0 or 1) through out-pointers;
 * - interface pointers come back through out-pointers with one reference
 *   added (null when there is none); a null out-pointer of a getter is
 *   zob::kInvalidArgument, while editing operations accept a null result
 *   pointer when the caller does not want the node back;
 * - failures are result codes: DOM errors are 0x96260100 plus the W3C
 *   exception number (zob::kDomHierarchyRequest ...), operations of the DOM
 *   that this library does not model answer zob::kNotImplemented.
 * Document types, comments, processing instructions, entity references and
 * namespaces are not modelled; operations that would hand one out use
 * zob::IUnknown.
 *
 *   zob::Ref<IDomElement> root;
 *   doc->getDocumentElement(root.out());
 *   char* id = nullptr;
 *   if (!EFAILED(root->getAttribute("id", &id))) { use(id); zobFree(id); }
 */
#ifndef KELP_XML_DOM_DOM_INTERFACES_H
#define KELP_XML_DOM_DOM_INTERFACES_H

#include <zob/zob_result.h>
#include <zob/zob_unknown.h>
#include <zob/zob_uuid.h>

namespace qor::quv::xml {

namespace dom {
class Node;
}

class IDomNodeList;
class IDomNamedNodeMap;
class IDomDocument;
class IDomElement;
class IDomAttr;
class IDomText;
class IDomCDATASection;
class IDomDocumentFragment;
class IDomImplementation;
class IXMLWriter;

/* The node types of the DOM. */
enum DomNodeType : int {
  kElementNode = 1,
  kAttributeNode = 2,
  kTextNode = 3,
  kCDATASectionNode = 4,
  kEntityReferenceNode = 5,
  kEntityNode = 6,
  kProcessingInstructionNode = 7,
  kCommentNode = 8,
  kDocumentNode = 9,
  kDocumentTypeNode = 10,
  kDocumentFragmentNode = 11,
  kNotationNode = 12,
};

class IDomNode : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/xml/IDomNode:1.0";

  virtual ZResult getNodeName(char** name) = 0;
  /* The value of an attribute or character data; null for other nodes. */
  virtual ZResult getNodeValue(char** value) = 0;
  /* Always zob::kDomNoModificationAllowed. */
  virtual ZResult setNodeValue(const char* value) = 0;
  virtual ZResult getNodeType(int* type) = 0;
  virtual ZResult getParentNode(IDomNode** node) = 0;
  virtual ZResult getChildNodes(IDomNodeList** list) = 0;
  virtual ZResult getFirstChild(IDomNode** node) = 0;
  virtual ZResult getLastChild(IDomNode** node) = 0;
  virtual ZResult getPreviousSibling(IDomNode** node) = 0;
  virtual ZResult getNextSibling(IDomNode** node) = 0;
  virtual ZResult getAttributes(IDomNamedNodeMap** map) = 0;
  virtual ZResult getOwnerDocument(IDomDocument** document) = 0;
  virtual ZResult insertBefore(IDomNode* newChild, IDomNode* refChild, IDomNode** result) = 0;
  virtual ZResult replaceChild(IDomNode* newChild, IDomNode* oldChild, IDomNode** result) = 0;
  virtual ZResult removeChild(IDomNode* oldChild, IDomNode** result) = 0;
  virtual ZResult appendChild(IDomNode* newChild, IDomNode** result) = 0;
  virtual ZResult hasChildNodes(int* result) = 0;
  virtual ZResult cloneNode(int deep, IDomNode** result) = 0;
  virtual ZResult normalize() = 0;
  virtual ZResult isSupported(const char* feature, const char* version, int* result) = 0;
  virtual ZResult getNamespaceURI(char** uri) = 0;
  virtual ZResult getPrefix(char** prefix) = 0;
  virtual ZResult setPrefix(const char* prefix) = 0;
  virtual ZResult getLocalName(char** name) = 0;
  virtual ZResult hasAttributes(int* result) = 0;

 protected:
  ~IDomNode() = default;
};

/* What a node offers beyond the DOM. */
class IDomNodeExt : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/xml/IDomNodeExt:1.0";

  /* Writes the node (a document: its document element) through `writer`;
   * stops at the first failing writer call and returns its code. */
  virtual ZResult write(IXMLWriter* writer) = 0;

 protected:
  ~IDomNodeExt() = default;
};

/* Answered only by the library's own nodes. */
class IDomNodeQUVInternal : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/xml/IDomNodeQUVInternal:1.0";

  /* The identifier of the node's document; the null UUID once the
   * document is gone. */
  virtual ZResult getDocumentId(ZobUUID* id) = 0;
  /* The node object itself, without an added reference: it lives as long
   * as the interface pointer the caller holds. */
  virtual ZResult getNativeNode(dom::Node** node) = 0;

 protected:
  ~IDomNodeQUVInternal() = default;
};

class IDomNodeList : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/xml/IDomNodeList:1.0";

  /* Null (with success) for an index out of range. */
  virtual ZResult item(int index, IDomNode** node) = 0;
  virtual ZResult getLength(int* length) = 0;

 protected:
  ~IDomNodeList() = default;
};

class IDomNamedNodeMap : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/xml/IDomNamedNodeMap:1.0";

  virtual ZResult getNamedItem(const char* name, IDomNode** node) = 0;
  virtual ZResult setNamedItem(IDomNode* node, IDomNode** replaced) = 0;
  virtual ZResult removeNamedItem(const char* name, IDomNode** removed) = 0;
  virtual ZResult item(int index, IDomNode** node) = 0;
  virtual ZResult getLength(int* length) = 0;
  virtual ZResult getNamedItemNS(const char* namespaceURI, const char* localName,
                                 IDomNode** node) = 0;
  virtual ZResult setNamedItemNS(IDomNode* node, IDomNode** replaced) = 0;
  virtual ZResult removeNamedItemNS(const char* namespaceURI, const char* localName,
                                    IDomNode** removed) = 0;

 protected:
  ~IDomNamedNodeMap() = default;
};

class IDomDocument : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/xml/IDomDocument:1.0";

  virtual ZResult getDoctype(zob::IUnknown** doctype) = 0;
  virtual ZResult getImplementation(IDomImplementation** implementation) = 0;
  virtual ZResult getDocumentElement(IDomElement** element) = 0;
  virtual ZResult createElement(const char* tagName, IDomElement** element) = 0;
  virtual ZResult createDocumentFragment(IDomDocumentFragment** fragment) = 0;
  virtual ZResult createTextNode(const char* data, IDomText** text) = 0;
  virtual ZResult createComment(const char* data, zob::IUnknown** comment) = 0;
  virtual ZResult createCDATASection(const char* data, IDomCDATASection** section) = 0;
  virtual ZResult createProcessingInstruction(const char* target, const char* data,
                                              zob::IUnknown** instruction) = 0;
  virtual ZResult createAttribute(const char* name, IDomAttr** attribute) = 0;
  virtual ZResult createEntityReference(const char* name, zob::IUnknown** reference) = 0;
  virtual ZResult getElementsByTagName(const char* tagName, IDomNodeList** list) = 0;
  virtual ZResult importNode(IDomNode* node, int deep, IDomNode** imported) = 0;
  virtual ZResult createElementNS(const char* namespaceURI, const char* qualifiedName,
                                  IDomElement** element) = 0;
  virtual ZResult createAttributeNS(const char* namespaceURI, const char* qualifiedName,
                                    IDomAttr** attribute) = 0;
  virtual ZResult getElementsByTagNameNS(const char* namespaceURI, const char* localName,
                                         IDomNodeList** list) = 0;
  /* Always null with success: no attribute is of type ID. */
  virtual ZResult getElementById(const char* elementId, IDomElement** element) = 0;

 protected:
  ~IDomDocument() = default;
};

/* A document fragment has no operations beyond IDomNode's. */
class IDomDocumentFragment : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/xml/IDomDocumentFragment:1.0";

 protected:
  ~IDomDocumentFragment() = default;
};

class IDomElement : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/xml/IDomElement:1.0";

  virtual ZResult getTagName(char** tagName) = 0;
  /* "" when the attribute is absent. */
  virtual ZResult getAttribute(const char* name, char** value) = 0;
  virtual ZResult setAttribute(const char* name, const char* value) = 0;
  virtual ZResult removeAttribute(const char* name) = 0;
  virtual ZResult getAttributeNode(const char* name, IDomAttr** attribute) = 0;
  virtual ZResult setAttributeNode(IDomAttr* attribute, IDomAttr** replaced) = 0;
  virtual ZResult removeAttributeNode(IDomAttr* attribute, IDomAttr** removed) = 0;
  virtual ZResult getElementsByTagName(const char* name, IDomNodeList** list) = 0;
  virtual ZResult getAttributeNS(const char* namespaceURI, const char* localName, char** value) = 0;
  virtual ZResult setAttributeNS(const char* namespaceURI, const char* qualifiedName,
                                 const char* value) = 0;
  virtual ZResult removeAttributeNS(const char* namespaceURI, const char* localName) = 0;
  virtual ZResult getAttributeNodeNS(const char* namespaceURI, const char* localName,
                                     IDomAttr** attribute) = 0;
  virtual ZResult setAttributeNodeNS(IDomAttr* attribute, IDomAttr** replaced) = 0;
  virtual ZResult getElementsByTagNameNS(const char* namespaceURI, const char* localName,
                                         IDomNodeList** list) = 0;
  virtual ZResult hasAttribute(const char* name, int* result) = 0;
  virtual ZResult hasAttributeNS(const char* namespaceURI, const char* localName, int* result) = 0;

 protected:
  ~IDomElement() = default;
};

class IDomAttr : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/xml/IDomAttr:1.0";

  virtual ZResult getName(char** name) = 0;
  /* Always 1. */
  virtual ZResult getSpecified(int* specified) = 0;
  virtual ZResult getValue(char** value) = 0;
  virtual ZResult setValue(const char* value) = 0;
  virtual ZResult getOwnerElement(IDomElement** element) = 0;

 protected:
  ~IDomAttr() = default;
};

/* Offsets and counts are bytes of the UTF-8 (or locale) text. A negative
 * offset or count, or an offset beyond the length, gives
 * zob::kDomIndexSize; a count that reaches past the end stops at the end. */
class IDomCharacterData : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/xml/IDomCharacterData:1.0";

  virtual ZResult getData(char** data) = 0;
  virtual ZResult setData(const char* data) = 0;
  virtual ZResult getLength(int* length) = 0;
  virtual ZResult substringData(int offset, int count, char** data) = 0;
  virtual ZResult appendData(const char* data) = 0;
  virtual ZResult insertData(int offset, const char* data) = 0;
  virtual ZResult deleteData(int offset, int count) = 0;
  virtual ZResult replaceData(int offset, int count, const char* data) = 0;

 protected:
  ~IDomCharacterData() = default;
};

class IDomText : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/xml/IDomText:1.0";

  /* Moves the text from `offset` on into a new node of the same type,
   * inserted after this one when it has a parent. */
  virtual ZResult splitText(int offset, IDomText** newText) = 0;

 protected:
  ~IDomText() = default;
};

/* A CDATA section has no operations beyond IDomText's. */
class IDomCDATASection : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/xml/IDomCDATASection:1.0";

 protected:
  ~IDomCDATASection() = default;
};

class IDomImplementation : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/xml/IDomImplementation:1.0";

  virtual ZResult hasFeature(const char* feature, const char* version, int* result) = 0;
  virtual ZResult createDocumentType(const char* qualifiedName, const char* publicId,
                                     const char* systemId, zob::IUnknown** doctype) = 0;
  /* A document whose document element is named `qualifiedName`; the
   * namespace and the document type are not used. */
  virtual ZResult createDocument(const char* namespaceURI, const char* qualifiedName,
                                 zob::IUnknown* doctype, IDomDocument** document) = 0;

 protected:
  ~IDomImplementation() = default;
};

using IDomNode_Adapter = zob::Adapter<IDomNode>;
using IDomNodeExt_Adapter = zob::Adapter<IDomNodeExt>;
using IDomNodeQUVInternal_Adapter = zob::Adapter<IDomNodeQUVInternal>;
using IDomNodeList_Adapter = zob::Adapter<IDomNodeList>;
using IDomNamedNodeMap_Adapter = zob::Adapter<IDomNamedNodeMap>;
using IDomDocument_Adapter = zob::Adapter<IDomDocument>;
using IDomDocumentFragment_Adapter = zob::Adapter<IDomDocumentFragment>;
using IDomElement_Adapter = zob::Adapter<IDomElement>;
using IDomAttr_Adapter = zob::Adapter<IDomAttr>;
using IDomCharacterData_Adapter = zob::Adapter<IDomCharacterData>;
using IDomText_Adapter = zob::Adapter<IDomText>;
using IDomCDATASection_Adapter = zob::Adapter<IDomCDATASection>;
using IDomImplementation_Adapter = zob::Adapter<IDomImplementation>;

}  // namespace qor::quv::xml

#endif
