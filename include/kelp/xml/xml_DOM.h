/* qor::quv::xml::dom::DOM: static helpers over the DOM interfaces.
 *
 * They take plain, possibly null, interface pointers, hide result codes and
 * hand nodes back in a zob::Ref (released on destruction; empty on any
 * failure). Strings come back as the interface allocated them: the caller
 * frees them with zobFree (null on failure). The child-element helpers suit
 * configuration-style documents whose data lives in attributes of uniquely
 * named child elements. Thread rules are those of the tree: one thread at a
 * time.
 *
 *   // <settings><window width='640'/></settings>
 *   DOM::setAttribute(settings, "window", "width", "640");
 *   char* w = DOM::getAttribute(settings, "window", "width");
 *   zobFree(w);
 *   DOM::removeAttribute(settings, "window", "width", true);  // drops <window/>
 */
#ifndef KELP_XML_XML_DOM_H
#define KELP_XML_XML_DOM_H

#include <kelp/kelp_api.h>
#include <kelp/xml/dom/dom_Interfaces.h>
#include <zob/zob_unknown.h>

namespace qor::quv::xml::dom {

class KELP_API DOM {
 public:
  DOM() = delete;

  // Conversions: queryInterface for the interface; null for a null
  // argument or a failing query.
  static zob::Ref<IDomNode> toNode(zob::IUnknown* object);
  static zob::Ref<IDomElement> toElement(zob::IUnknown* object);
  static zob::Ref<IDomCharacterData> toCharacterData(zob::IUnknown* object);
  static zob::Ref<IDomText> toText(zob::IUnknown* object);

  // Navigation; null for a null argument or a failing call.
  static zob::Ref<IDomNode> getParentNode(IDomNode* node);
  static zob::Ref<IDomNode> getParentNode(zob::IUnknown* node);
  static zob::Ref<IDomNode> getFirstChild(IDomNode* node);
  static zob::Ref<IDomNode> getFirstChild(zob::IUnknown* node);
  static zob::Ref<IDomNode> getNextSibling(IDomNode* node);
  static zob::Ref<IDomNode> getNextSibling(zob::IUnknown* node);
  static zob::Ref<IDomDocument> getOwnerDocument(IDomNode* node);
  static zob::Ref<IDomDocument> getOwnerDocument(zob::IUnknown* node);

  // Editing; true on success.
  static bool removeChild(IDomNode* parent, zob::IUnknown* child);
  static bool removeChild(zob::IUnknown* parent, zob::IUnknown* child);
  static bool appendChild(IDomNode* parent, zob::IUnknown* child);
  static bool appendChild(zob::IUnknown* parent, zob::IUnknown* child);

  // Tests; false for null or on failure.
  static bool hasChildNodes(IDomNode* node);
  static bool hasChildNodes(zob::IUnknown* node);
  static bool hasAttributes(IDomNode* node);
  static bool hasAttributes(zob::IUnknown* node);

  // Elements; strings to be freed with zobFree, null on failure.
  static char* getTagName(IDomElement* element);
  static char* getAttribute(IDomElement* element, const char* name);
  static bool setAttribute(IDomElement* element, const char* name, const char* value);
  static bool removeAttribute(IDomElement* element, const char* name);
  static bool hasAttribute(IDomElement* element, const char* name);

  // Character data.
  static bool setData(IDomCharacterData* data, const char* text);
  static bool setData(IDomText* text, const char* data);
  static char* getData(IDomCharacterData* data);
  static char* getData(IDomText* text);

  // Factories.
  static zob::Ref<IDomElement> createElement(IDomDocument* document, const char* name);
  static zob::Ref<IDomText> createTextNode(IDomDocument* document, const char* text);

  /* The first element child of `parent` whose tag name is `name` (byte
   * comparison) and, when `attrName` is given, whose attribute of that name
   * equals `attrValue` (a missing attribute counts as ""). Without a match
   * and with `create`, the parent's owner document makes such an element,
   * sets the attribute when one is named, and appends it. Null for a null
   * parent, a null or empty name, or no match without `create`. */
  static zob::Ref<IDomElement> getChildElement(IDomNode* parent, const char* name,
                                               const char* attrName, const char* attrValue,
                                               bool create);
  static zob::Ref<IDomElement> getChildElement(IDomNode* parent, const char* name, bool create);

  /* Sets an attribute of the child element `childName`, creating the
   * child when needed. */
  static bool setAttribute(IDomNode* parent, const char* childName, const char* attrName,
                           const char* value);
  /* The attribute of the child `childName`; null when there is no such
   * child (nothing is created). */
  static char* getAttribute(IDomNode* parent, const char* childName, const char* attrName);
  /* Removes the attribute of the child `childName`. With `prune`, after a
   * successful removal, the child and then each ancestor up to (not
   * including) `parent` is removed while it has neither attributes nor
   * children. False when there is no such child or the removal failed. */
  static bool removeAttribute(IDomNode* parent, const char* childName, const char* attrName,
                              bool prune);
};

}  // namespace qor::quv::xml::dom

#endif
