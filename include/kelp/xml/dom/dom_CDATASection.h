/* qor::quv::xml::dom::CDATASection: a CDATA section (IDomCDATASection),
 * type 4, "#cdata-section".
 *
 * Written as startCDATA, characters(data), endCDATA; as the first child of
 * an element it first writes empty character data, which closes the start
 * tag (startCDATA alone would not). Same ownership and
 * thread rules as Node; created by Document::createCDATASection.
 */
#ifndef KELP_XML_DOM_DOM_CDATASECTION_H
#define KELP_XML_DOM_DOM_CDATASECTION_H

#include <string>

#include <kelp/kelp_api.h>
#include <kelp/xml/dom/dom_Text.h>

namespace qor::quv::xml::dom {

class KELP_API CDATASection : public Text, public IDomCDATASection_Adapter {
 public:
  KELP_DOM_NODE_UNKNOWN

  using Node::getNodeName;
  using Node::getNodeType;
  std::string getNodeName() const override { return "#cdata-section"; }
  int getNodeType() const override { return kCDATASectionNode; }

 protected:
  friend class Document;
  CDATASection(util::WeakRefData* document, std::string data);
  ~CDATASection() override;

  ZResult writeStart(IXMLWriter* writer) override;
  zob::Ref<Node> cloneShallow(util::WeakRefData* document) const override;
  zob::Ref<Text> makeSibling(const std::string& data) const override;
};

}  // namespace qor::quv::xml::dom

#endif
