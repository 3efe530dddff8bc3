// The attribute list handed to startElement.
#define QUV_SOURCE_NAME "sax_Attributes"
#include <kelp/xml/sax/sax_Attributes.h>

#include <cstdlib>
#include <cstring>

#include <ktz/ktz_atomic.h>

namespace qor::quv::xml::sax {

namespace {

inline const char* orEmpty(const char* s) {
  return s ? s : "";
}

}  // namespace

Attributes::Data::Data() : refs_(0) {}

Attributes::Data::~Data() = default;

void Attributes::Data::addRef() {
  ktzAtomicIncrement(&refs_);
}

void Attributes::Data::release() {
  std::int32_t left = ktzAtomicDecrement(&refs_);
  if (left < 0) std::abort();  // released more often than referenced
  if (left == 0) delete this;
}

Attributes::Attributes() : data_(nullptr) {}

Attributes::Attributes(const Attributes& other) : data_(other.data_) {
  if (data_) data_->addRef();
}

Attributes& Attributes::operator=(const Attributes& other) {
  if (other.data_) other.data_->addRef();
  if (data_) data_->release();
  data_ = other.data_;
  return *this;
}

Attributes::~Attributes() {
  if (data_) data_->release();
}

Attributes::Data* Attributes::data() {
  if (!data_) {
    data_ = new Data;
    data_->addRef();
  }
  return data_;
}

void Attributes::reserve(unsigned n) {
  data()->attrs.reserve(n);
}

void Attributes::add(const char* uri, const char* localName, const char* qName, const char* type,
                     const char* value) {
  data()->attrs.push_back(
      Attr{orEmpty(uri), orEmpty(localName), orEmpty(qName), orEmpty(type), orEmpty(value)});
}

// The field getters below are called for every attribute of every element:
// each finds its entry here, inline, rather than through a call of at().
#define KELP_ATTR_FIELD(field)                                                                  \
  if (!data_ || index < 0 || static_cast<std::size_t>(index) >= data_->attrs.size()) return ""; \
  return data_->attrs[static_cast<std::size_t>(index)].field

const Attributes::Attr* Attributes::at(int index) const {
  if (!data_ || index < 0 || static_cast<std::size_t>(index) >= data_->attrs.size()) return nullptr;
  return &data_->attrs[static_cast<std::size_t>(index)];
}

int Attributes::getLength() const {
  return data_ ? static_cast<int>(data_->attrs.size()) : 0;
}

const char* Attributes::getURI(int index) const {
  KELP_ATTR_FIELD(uri);
}

const char* Attributes::getLocalName(int index) const {
  KELP_ATTR_FIELD(localName);
}

const char* Attributes::getQName(int index) const {
  KELP_ATTR_FIELD(qName);
}

const char* Attributes::getType(int index) const {
  KELP_ATTR_FIELD(type);
}

const char* Attributes::getValue(int index) const {
  KELP_ATTR_FIELD(value);
}

#undef KELP_ATTR_FIELD

int Attributes::getIndex(const char* qName) const {
  if (!data_) return -1;
  qName = orEmpty(qName);
  const std::size_t n = data_->attrs.size();
  for (std::size_t i = 0; i < n; ++i)
    if (std::strcmp(data_->attrs[i].qName, qName) == 0) return static_cast<int>(i);
  return -1;
}

int Attributes::getIndex(const char* uri, const char* localName) const {
  if (!data_) return -1;
  uri = orEmpty(uri);
  localName = orEmpty(localName);
  const std::size_t n = data_->attrs.size();
  for (std::size_t i = 0; i < n; ++i) {
    const Attr& a = data_->attrs[i];
    if (std::strcmp(a.localName, localName) == 0 && std::strcmp(a.uri, uri) == 0)
      return static_cast<int>(i);
  }
  return -1;
}

const char* Attributes::getType(const char* qName) const {
  return getType(getIndex(qName));
}

const char* Attributes::getValue(const char* qName) const {
  return getValue(getIndex(qName));
}

const char* Attributes::getType(const char* uri, const char* localName) const {
  return getType(getIndex(uri, localName));
}

const char* Attributes::getValue(const char* uri, const char* localName) const {
  return getValue(getIndex(uri, localName));
}

}  // namespace qor::quv::xml::sax
