// CDATA sections: character data written between CDATA markers.
#define QUV_SOURCE_NAME "dom_CDATASection"
#include <kelp/xml/dom/dom_CDATASection.h>

#include <new>
#include <utility>

#include "dom_Node_impl.h"

namespace qor::quv::xml::dom {

CDATASection::CDATASection(util::WeakRefData* document, std::string data)
    : Text(document, std::move(data)) {}

CDATASection::~CDATASection() = default;

ZResult CDATASection::queryInterface(const char* iid, zob::IUnknown** out) {
  if (out && zobCompareIID(iid, IDomCDATASection::IID)) {
    *out = static_cast<IDomCDATASection*>(this);
    nodeAddRef();
    return zob::kOk;
  }
  return Text::queryInterface(iid, out);
}

ZResult CDATASection::writeStart(IXMLWriter* writer) {
  // startCDATA does not close a start tag that is still open: as the first
  // child of an element, close it with empty character data first, or the
  // section would land inside the tag.
  ZResult res = zob::kOk;
  if (!getPreviousSibling() && getParentNode() && getParentNode()->getNodeType() == kElementNode) {
    res = writer->characters("");
    if (EFAILED(res)) return res;
  }
  res = writer->startCDATA();
  if (EFAILED(res)) return res;
  res = writer->characters(data_.c_str());
  if (EFAILED(res)) return res;
  // endCDATA answers whether its write succeeded, not a result code.
  res = writer->endCDATA();
  if (res == 0) return zob::kWriteFailure;
  return EFAILED(res) ? res : zob::kOk;
}

zob::Ref<Node> CDATASection::cloneShallow(util::WeakRefData* document) const {
  return zob::Ref<Node>(new (arenaOf(document)) CDATASection(document, data_));
}

zob::Ref<Text> CDATASection::makeSibling(const std::string& data) const {
  return zob::Ref<Text>(new (arenaOf(documentRef())) CDATASection(documentRef(), data));
}

}  // namespace qor::quv::xml::dom
