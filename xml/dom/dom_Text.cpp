// Text nodes: character data written as text, and splitting.
#define QUV_SOURCE_NAME "dom_Text"
#include <kelp/xml/dom/dom_Text.h>

#include <new>
#include <utility>

#include "dom_Node_impl.h"

namespace qor::quv::xml::dom {

Text::Text(util::WeakRefData* document, std::string data)
    : CharacterData(document, std::move(data)) {}

Text::~Text() = default;

ZResult Text::queryInterface(const char* iid, zob::IUnknown** out) {
  if (out && zobCompareIID(iid, IDomText::IID)) {
    *out = static_cast<IDomText*>(this);
    nodeAddRef();
    return zob::kOk;
  }
  return CharacterData::queryInterface(iid, out);
}

bool Text::mayInsertNode(Node*) const {
  return false;
}

ZResult Text::writeStart(IXMLWriter* writer) {
  return writer->characters(data_.c_str());
}

zob::Ref<Node> Text::cloneShallow(util::WeakRefData* document) const {
  return zob::Ref<Node>(new (arenaOf(document)) Text(document, data_));
}

zob::Ref<Text> Text::makeSibling(const std::string& data) const {
  return zob::Ref<Text>(new (arenaOf(documentRef())) Text(documentRef(), data));
}

ZResult Text::splitTextChecked(int offset, zob::Ref<Text>* newText) {
  if (newText) newText->reset();
  int none = 0;
  if (!checkRange(offset, &none)) return zob::kDomIndexSize;
  zob::Ref<Text> tail = makeSibling(data_.substr(static_cast<std::size_t>(offset)));
  if (!tail) return zob::kOutOfMemory;
  data_.erase(static_cast<std::size_t>(offset));
  if (Node* parent = parent_) parent->linkBefore(tail.get(), next_);
  if (newText) *newText = std::move(tail);
  return zob::kOk;
}

zob::Ref<Text> Text::splitText(int offset) {
  zob::Ref<Text> tail;
  splitTextChecked(offset, &tail);
  return tail;
}

ZResult Text::splitText(int offset, IDomText** newText) {
  if (!newText) return zob::kInvalidArgument;
  *newText = nullptr;
  zob::Ref<Text> tail;
  ZResult res = splitTextChecked(offset, &tail);
  if (EFAILED(res)) return res;
  *newText = static_cast<IDomText*>(tail.detach());
  return zob::kOk;
}

}  // namespace qor::quv::xml::dom
