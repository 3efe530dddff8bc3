// The attribute list as the object-model interface IAttributes.
#define QUV_SOURCE_NAME "sax_AttributesItf"
#include <kelp/xml/sax/sax_AttributesItf.h>

#include <cstdlib>

#include <ktz/ktz_atomic.h>
#include <zob/zob_mem.h>

namespace qor::quv::xml::sax {

namespace {

inline const char* orEmpty(const char* s) {
  return s ? s : "";
}

ZResult copyOut(const char* s, char** out) {
  if (!out) return zob::kInvalidArgument;
  *out = zobStrDup(s);
  return *out ? zob::kOk : zob::kOutOfMemory;
}

}  // namespace

AttributesItf::AttributesItf(const Attributes& attributes) : attributes_(attributes), refs_(0) {}

AttributesItf::~AttributesItf() = default;

ZResult AttributesItf::_comQueryInterface(const char* iid, zob::IUnknown** out) {
  return queryInterface(iid, out);
}

std::uint32_t AttributesItf::_comAddRef() {
  return addRef();
}

std::uint32_t AttributesItf::_comRelease() {
  return release();
}

const char* AttributesItf::_comGetInterfaceId() {
  return getInterfaceId();
}

const char* AttributesItf::getInterfaceId() {
  return IAttributes::IID;
}

ZResult AttributesItf::queryInterface(const char* iid, zob::IUnknown** out) {
  if (!out) return zob::kInvalidArgument;
  if (zobCompareIID(iid, zob::IUnknown::IID) || zobCompareIID(iid, IAttributes::IID)) {
    addRef();
    *out = this;
    return zob::kOk;
  }
  *out = nullptr;
  return zob::kNoInterface;
}

std::uint32_t AttributesItf::addRef() {
  return static_cast<std::uint32_t>(ktzAtomicIncrement(&refs_));
}

std::uint32_t AttributesItf::release() {
  std::int32_t left = ktzAtomicDecrement(&refs_);
  if (left < 0) std::abort();  // released more often than referenced
  if (left == 0) delete this;
  return static_cast<std::uint32_t>(left);
}

ZResult AttributesItf::getIndexQ(const char* qName, int* index) {
  if (!index) return zob::kInvalidArgument;
  *index = attributes_.getIndex(orEmpty(qName));
  return zob::kOk;
}

ZResult AttributesItf::getIndex(const char* uri, const char* localName, int* index) {
  if (!index) return zob::kInvalidArgument;
  *index = attributes_.getIndex(orEmpty(uri), orEmpty(localName));
  return zob::kOk;
}

ZResult AttributesItf::getLength(int* length) {
  if (!length) return zob::kInvalidArgument;
  *length = attributes_.getLength();
  return zob::kOk;
}

ZResult AttributesItf::getURI(int index, char** uri) {
  return copyOut(attributes_.getURI(index), uri);
}

ZResult AttributesItf::getLocalName(int index, char** localName) {
  return copyOut(attributes_.getLocalName(index), localName);
}

ZResult AttributesItf::getQName(int index, char** qName) {
  return copyOut(attributes_.getQName(index), qName);
}

ZResult AttributesItf::getTypeI(int index, char** type) {
  return copyOut(attributes_.getType(index), type);
}

ZResult AttributesItf::getTypeQ(const char* qName, char** type) {
  return copyOut(attributes_.getType(orEmpty(qName)), type);
}

ZResult AttributesItf::getType(const char* uri, const char* localName, char** type) {
  return copyOut(attributes_.getType(orEmpty(uri), orEmpty(localName)), type);
}

ZResult AttributesItf::getValueI(int index, char** value) {
  return copyOut(attributes_.getValue(index), value);
}

ZResult AttributesItf::getValueQ(const char* qName, char** value) {
  return copyOut(attributes_.getValue(orEmpty(qName)), value);
}

ZResult AttributesItf::getValue(const char* uri, const char* localName, char** value) {
  return copyOut(attributes_.getValue(orEmpty(uri), orEmpty(localName)), value);
}

}  // namespace qor::quv::xml::sax
