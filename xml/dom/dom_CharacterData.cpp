// Character data: the data string of text nodes and CDATA sections with the
// DOM's substring and editing operations.
#define QUV_SOURCE_NAME "dom_CharacterData"
#include <kelp/xml/dom/dom_CharacterData.h>

#include <utility>
#include "dom_Node_impl.h"

namespace qor::quv::xml::dom {

CharacterData::CharacterData(util::WeakRefData* document, std::string data)
    : Node(document), data_(std::move(data)) {}

CharacterData::~CharacterData() = default;

ZResult CharacterData::queryInterface(const char* iid, zob::IUnknown** out) {
  if (out && zobCompareIID(iid, IDomCharacterData::IID)) {
    *out = static_cast<IDomCharacterData*>(this);
    nodeAddRef();
    return zob::kOk;
  }
  return Node::queryInterface(iid, out);
}

bool CharacterData::checkRange(int offset, int* count) const {
  if (offset < 0 || *count < 0 || static_cast<std::size_t>(offset) > data_.size()) return false;
  std::size_t rest = data_.size() - static_cast<std::size_t>(offset);
  if (static_cast<std::size_t>(*count) > rest) *count = static_cast<int>(rest);
  return true;
}

ZResult CharacterData::substringData(int offset, int count, std::string* result) const {
  if (!checkRange(offset, &count)) return zob::kDomIndexSize;
  if (result)
    result->assign(data_, static_cast<std::size_t>(offset), static_cast<std::size_t>(count));
  return zob::kOk;
}

ZResult CharacterData::insertData(int offset, const std::string& data) {
  int none = 0;
  if (!checkRange(offset, &none)) return zob::kDomIndexSize;
  data_.insert(static_cast<std::size_t>(offset), data);
  return zob::kOk;
}

ZResult CharacterData::replaceData(int offset, int count, const std::string& data) {
  if (!checkRange(offset, &count)) return zob::kDomIndexSize;
  data_.replace(static_cast<std::size_t>(offset), static_cast<std::size_t>(count), data);
  return zob::kOk;
}

ZResult CharacterData::getData(char** data) {
  return detail::copyOut(data_, data);
}

ZResult CharacterData::setData(const char* data) {
  data_ = detail::orEmpty(data);
  return zob::kOk;
}

ZResult CharacterData::getLength(int* length) {
  if (!length) return zob::kInvalidArgument;
  *length = getLength();
  return zob::kOk;
}

ZResult CharacterData::substringData(int offset, int count, char** data) {
  if (!data) return zob::kInvalidArgument;
  *data = nullptr;
  std::string part;
  ZResult res = substringData(offset, count, &part);
  return EFAILED(res) ? res : detail::copyOut(part, data);
}

ZResult CharacterData::appendData(const char* data) {
  data_ += detail::orEmpty(data);
  return zob::kOk;
}

ZResult CharacterData::insertData(int offset, const char* data) {
  return insertData(offset, std::string(detail::orEmpty(data)));
}

ZResult CharacterData::deleteData(int offset, int count) {
  if (!checkRange(offset, &count)) return zob::kDomIndexSize;
  if (count > 0) data_.erase(static_cast<std::size_t>(offset), static_cast<std::size_t>(count));
  return zob::kOk;
}

ZResult CharacterData::replaceData(int offset, int count, const char* data) {
  return replaceData(offset, count, std::string(detail::orEmpty(data)));
}

}  // namespace qor::quv::xml::dom
