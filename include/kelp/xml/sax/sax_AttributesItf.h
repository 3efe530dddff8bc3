/* qor::quv::xml::IAttributes and qor::quv::xml::sax::AttributesItf: an
 * attribute list as an object-model interface, for handlers written against
 * the object model.
 *
 * AttributesItf holds its own copy of the Attributes handle, so it may be
 * kept after the wrapper was made, but the strings still belong to the
 * reader and die with the startElement call. It is reference counted,
 * starts with a count of 0 (the creator takes the first reference) and
 * deletes itself when the count returns to zero. Strings handed out are
 * fresh zobStrDup copies that the caller frees with zobFree; a null name
 * argument counts as "".
 *
 *   zob::Ref<xml::IAttributes> itf(new AttributesItf(atts));
 *   char* value = nullptr;
 *   if (!EFAILED(itf->getValueQ("id", &value))) { use(value); zobFree(value); }
 */
#ifndef KELP_XML_SAX_SAX_ATTRIBUTESITF_H
#define KELP_XML_SAX_SAX_ATTRIBUTESITF_H

#include <cstdint>

#include <kelp/kelp_api.h>
#include <kelp/xml/sax/sax_Attributes.h>
#include <zob/zob_unknown.h>

namespace qor::quv::xml {

class IAttributes : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/xml/IAttributes:1.0";

  virtual const char* getInterfaceId() = 0;
  virtual ZResult getIndexQ(const char* qName, int* index) = 0;
  virtual ZResult getIndex(const char* uri, const char* localName, int* index) = 0;
  virtual ZResult getLength(int* length) = 0;
  virtual ZResult getURI(int index, char** uri) = 0;
  virtual ZResult getLocalName(int index, char** localName) = 0;
  virtual ZResult getQName(int index, char** qName) = 0;
  virtual ZResult getTypeI(int index, char** type) = 0;
  virtual ZResult getTypeQ(const char* qName, char** type) = 0;
  virtual ZResult getType(const char* uri, const char* localName, char** type) = 0;
  virtual ZResult getValueI(int index, char** value) = 0;
  virtual ZResult getValueQ(const char* qName, char** value) = 0;
  virtual ZResult getValue(const char* uri, const char* localName, char** value) = 0;

 protected:
  ~IAttributes() = default;
};

}  // namespace qor::quv::xml

namespace qor::quv::xml::sax {

/* IAttributes has an interface-id operation of its own in its first slot,
 * so the wrapper implements the object-model entry points itself instead of
 * through zob::Adapter. */
class KELP_API AttributesItf : public IAttributes {
 public:
  explicit AttributesItf(const Attributes& attributes);
  virtual ~AttributesItf();

  ZResult _comQueryInterface(const char* iid, zob::IUnknown** out) override;
  std::uint32_t _comAddRef() override;
  std::uint32_t _comRelease() override;
  const char* _comGetInterfaceId() override;

  /* Answers IUnknown and IAttributes with itself (adding a reference);
   * any other id gives zob::kNoInterface and a null result. */
  ZResult queryInterface(const char* iid, zob::IUnknown** out);
  std::uint32_t addRef();
  std::uint32_t release();

  /* "IDL:qor/quv/xml/IAttributes:1.0" */
  const char* getInterfaceId() override;

  /* Each returns zob::kOk, or zob::kInvalidArgument for a null result
   * pointer, or zob::kOutOfMemory when a copy cannot be made. */
  ZResult getIndexQ(const char* qName, int* index) override;
  ZResult getIndex(const char* uri, const char* localName, int* index) override;
  ZResult getLength(int* length) override;
  ZResult getURI(int index, char** uri) override;
  ZResult getLocalName(int index, char** localName) override;
  ZResult getQName(int index, char** qName) override;
  ZResult getTypeI(int index, char** type) override;
  ZResult getTypeQ(const char* qName, char** type) override;
  ZResult getType(const char* uri, const char* localName, char** type) override;
  ZResult getValueI(int index, char** value) override;
  ZResult getValueQ(const char* qName, char** value) override;
  ZResult getValue(const char* uri, const char* localName, char** value) override;

 private:
  Attributes attributes_;
  std::int32_t refs_;
};

}  // namespace qor::quv::xml::sax

#endif
