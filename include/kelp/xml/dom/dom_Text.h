/* qor::quv::xml::dom::Text: a text node (IDomText), type 3, "#text".
 *
 * Written as character data. splitText moves the text from an offset on
 * into a new node of the same type after this one. Same ownership and
 * thread rules as Node; created by Document::createTextNode.
 */
#ifndef KELP_XML_DOM_DOM_TEXT_H
#define KELP_XML_DOM_DOM_TEXT_H

#include <string>

#include <kelp/kelp_api.h>
#include <kelp/xml/dom/dom_CharacterData.h>

namespace qor::quv::xml::dom {

class KELP_API Text : public CharacterData, public IDomText_Adapter {
 public:
  KELP_DOM_NODE_UNKNOWN

  // IDomText
  ZResult splitText(int offset, IDomText** newText) override;

  /* Offsets 0 to the length; the new node holds the data from `offset` on
   * and is inserted after this one when this has a parent. Null for an
   * index error or when out of memory. */
  zob::Ref<Text> splitText(int offset);
  /* The same with a result code. */
  ZResult splitTextChecked(int offset, zob::Ref<Text>* newText);

  using Node::getNodeName;
  using Node::getNodeType;
  std::string getNodeName() const override { return "#text"; }
  int getNodeType() const override { return kTextNode; }
  bool mayInsertNode(Node* child) const override;

 protected:
  friend class Document;
  Text(util::WeakRefData* document, std::string data);
  ~Text() override;

  ZResult writeStart(IXMLWriter* writer) override;
  zob::Ref<Node> cloneShallow(util::WeakRefData* document) const override;
  /* A new node of this node's type holding `data`. */
  virtual zob::Ref<Text> makeSibling(const std::string& data) const;
};

}  // namespace qor::quv::xml::dom

#endif
