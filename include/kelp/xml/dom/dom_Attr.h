/* qor::quv::xml::dom::Attr: an attribute (IDomAttr), type 2, named by its
 * name.
 *
 * The owner element is kept in the parent link, but getParentNode answers
 * null as the DOM wants; getOwnerElement gives it. The specified flag is
 * always true. An attribute may hold text children (it accepts text and
 * entity references), but its value is its own string and is what is
 * written. Same ownership and thread rules as Node; created by
 * Document::createAttribute or Element::setAttribute.
 */
#ifndef KELP_XML_DOM_DOM_ATTR_H
#define KELP_XML_DOM_DOM_ATTR_H

#include <string>

#include <kelp/kelp_api.h>
#include <kelp/xml/dom/dom_Node.h>

namespace qor::quv::xml::dom {

class Element;

class KELP_API Attr : public Node, public IDomAttr_Adapter {
 public:
  KELP_DOM_NODE_UNKNOWN

  // IDomAttr
  ZResult getName(char** name) override;
  ZResult getSpecified(int* specified) override;
  ZResult getValue(char** value) override;
  ZResult setValue(const char* value) override;
  ZResult getOwnerElement(IDomElement** element) override;

  // Native forms
  const std::string& getName() const { return name_; }
  const std::string& getValue() const { return value_; }
  void setValue(const std::string& value) { value_ = value; }
  bool getSpecified() const { return specified_; }
  /* The element the attribute belongs to, or null. */
  Element* getOwnerElement() const;

  using Node::getNodeName;
  using Node::getNodeType;
  using Node::getNodeValue;
  std::string getNodeName() const override { return name_; }
  std::string getNodeValue() const override { return value_; }
  int getNodeType() const override { return kAttributeNode; }
  bool mayInsertNode(Node* child) const override;
  /* Writes stringAttribute(name, value); the children are not written. */
  ZResult write(IXMLWriter* writer) override;

 protected:
  friend class Document;
  friend class Element;
  Attr(util::WeakRefData* document, std::string name, std::string value);
  ~Attr() override;

  zob::Ref<Node> cloneShallow(util::WeakRefData* document) const override;

 private:
  std::string name_;
  std::string value_;
  bool specified_ = true;
};

}  // namespace qor::quv::xml::dom

#endif
