/* qor::quv::xml::dom::AttrNodeMap: the live view of an element's
 * attributes (IDomNamedNodeMap).
 *
 * Items are listed in name order. The element makes the map on the first
 * request and holds a reference; the map points back without one and is
 * detached (reporting nothing, refusing changes with zob::kInvalidState)
 * when the element is destroyed. The namespace forms answer
 * zob::kNotImplemented. Reference counted, starting at 0; one thread at a
 * time, like the tree.
 */
#ifndef KELP_XML_DOM_DOM_ATTRNODEMAP_H
#define KELP_XML_DOM_DOM_ATTRNODEMAP_H

#include <cstdint>

#include <kelp/kelp_api.h>
#include <kelp/xml/dom/dom_Interfaces.h>

namespace qor::quv::xml::dom {

class Attr;
class Element;

class KELP_API AttrNodeMap : public IDomNamedNodeMap_Adapter {
 public:
  explicit AttrNodeMap(Element* element);
  AttrNodeMap(const AttrNodeMap&) = delete;
  AttrNodeMap& operator=(const AttrNodeMap&) = delete;

  ZResult queryInterface(const char* iid, zob::IUnknown** out) override;
  std::uint32_t addRef() override;
  std::uint32_t release() override;

  ZResult getNamedItem(const char* name, IDomNode** node) override;
  /* Like Element::setAttributeNode; a node that is not an attribute gives
   * zob::kDomHierarchyRequest, a foreign one zob::kDomWrongDocument. */
  ZResult setNamedItem(IDomNode* node, IDomNode** replaced) override;
  /* zob::kDomNotFound when there is no attribute of that name. */
  ZResult removeNamedItem(const char* name, IDomNode** removed) override;
  ZResult item(int index, IDomNode** node) override;
  ZResult getLength(int* length) override;
  ZResult getNamedItemNS(const char* namespaceURI, const char* localName, IDomNode** node) override;
  ZResult setNamedItemNS(IDomNode* node, IDomNode** replaced) override;
  ZResult removeNamedItemNS(const char* namespaceURI, const char* localName,
                            IDomNode** removed) override;

  // Native forms
  Attr* getNamedItem(const char* name) const;
  Attr* item(int index) const;
  int getLength() const;
  Element* getElement() const { return element_; }
  /* Called by the element when it is destroyed. */
  void detach() { element_ = nullptr; }

 protected:
  virtual ~AttrNodeMap();

 private:
  Element* element_;
  volatile std::int32_t refs_;
};

}  // namespace qor::quv::xml::dom

#endif
