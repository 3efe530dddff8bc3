/* qor::quv::xml::dom::DomImplementation: the factory of documents
 * (IDomImplementation).
 *
 * createDocument makes a Document that holds the implementation, with a
 * document element of the qualified name; the namespace and the document
 * type are not used. Document types are not modelled: createDocumentType
 * and hasFeature answer zob::kNotImplemented (the native hasFeature
 * false). Reference counted, starting at 0; it holds no state, so any
 * thread may use it.
 *
 *   zob::Ref<DomImplementation> impl(new DomImplementation());
 *   zob::Ref<Document> doc = impl->createDocument("", "catalogue");
 */
#ifndef KELP_XML_DOM_DOM_IMPLEMENTATION_H
#define KELP_XML_DOM_DOM_IMPLEMENTATION_H

#include <cstdint>
#include <string>

#include <kelp/kelp_api.h>
#include <kelp/xml/dom/dom_Interfaces.h>

namespace qor::quv::xml::dom {

class Document;

class KELP_API DomImplementation : public IDomImplementation_Adapter {
 public:
  DomImplementation();
  DomImplementation(const DomImplementation&) = delete;
  DomImplementation& operator=(const DomImplementation&) = delete;

  ZResult queryInterface(const char* iid, zob::IUnknown** out) override;
  std::uint32_t addRef() override;
  std::uint32_t release() override;
  std::int32_t getRefCount() const;

  ZResult hasFeature(const char* feature, const char* version, int* result) override;
  ZResult createDocumentType(const char* qualifiedName, const char* publicId, const char* systemId,
                             zob::IUnknown** doctype) override;
  ZResult createDocument(const char* namespaceURI, const char* qualifiedName,
                         zob::IUnknown* doctype, IDomDocument** document) override;

  bool hasFeature(const std::string& feature, const std::string& version) const;
  /* Null when out of memory. */
  zob::Ref<Document> createDocument(const std::string& namespaceURI,
                                    const std::string& qualifiedName);

 protected:
  virtual ~DomImplementation();

 private:
  volatile std::int32_t refs_;
};

}  // namespace qor::quv::xml::dom

#endif
