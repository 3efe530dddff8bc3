// The document factory.
#define QUV_SOURCE_NAME "dom_Implementation"
#include <kelp/xml/dom/dom_Implementation.h>

#include <cstdlib>

#include <kelp/xml/dom/dom_Document.h>
#include <kelp/xml/dom/dom_Element.h>
#include <ktz/ktz_atomic.h>

#include "dom_Node_impl.h"

namespace qor::quv::xml::dom {

DomImplementation::DomImplementation() : refs_(0) {}

DomImplementation::~DomImplementation() = default;

ZResult DomImplementation::queryInterface(const char* iid, zob::IUnknown** out) {
  if (!out) return zob::kInvalidArgument;
  if (zobCompareIID(iid, zob::IUnknown::IID) || zobCompareIID(iid, IDomImplementation::IID)) {
    addRef();
    *out = this;
    return zob::kOk;
  }
  *out = nullptr;
  return zob::kNoInterface;
}

std::uint32_t DomImplementation::addRef() {
  return static_cast<std::uint32_t>(ktzAtomicIncrement(&refs_));
}

std::uint32_t DomImplementation::release() {
  std::int32_t left = ktzAtomicDecrement(&refs_);
  if (left < 0) std::abort();  // released more often than referenced
  if (left == 0) delete this;
  return static_cast<std::uint32_t>(left);
}

std::int32_t DomImplementation::getRefCount() const {
  return __atomic_load_n(&refs_, __ATOMIC_SEQ_CST);
}

bool DomImplementation::hasFeature(const std::string&, const std::string&) const {
  return false;
}

zob::Ref<Document> DomImplementation::createDocument(const std::string&,
                                                     const std::string& qualifiedName) {
  zob::Ref<Document> doc = Document::create(this);
  if (!doc) return {};
  zob::Ref<Element> root = doc->createElement(qualifiedName);
  if (!root || !doc->appendChild(root.get())) return {};
  return doc;
}

ZResult DomImplementation::hasFeature(const char*, const char*, int* result) {
  if (result) *result = 0;
  return zob::kNotImplemented;
}

ZResult DomImplementation::createDocumentType(const char*, const char*, const char*,
                                              zob::IUnknown** doctype) {
  if (doctype) *doctype = nullptr;
  return zob::kNotImplemented;
}

ZResult DomImplementation::createDocument(const char* namespaceURI, const char* qualifiedName,
                                          zob::IUnknown*, IDomDocument** document) {
  return detail::newOut<IDomDocument>(
      createDocument(detail::orEmpty(namespaceURI), detail::orEmpty(qualifiedName)), document);
}

}  // namespace qor::quv::xml::dom
