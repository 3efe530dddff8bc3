// Locator handles and the fixed-value DefaultLocator.
#define QUV_SOURCE_NAME "sax_Locator"
#include <kelp/xml/sax/sax_Locator.h>

#include <cstdlib>

#include <ktz/ktz_atomic.h>

namespace qor::quv::xml::sax {

Locator::Data::Data() : refs_(0) {}

Locator::Data::~Data() = default;

void Locator::Data::addRef() {
  ktzAtomicIncrement(&refs_);
}

void Locator::Data::release() {
  std::int32_t left = ktzAtomicDecrement(&refs_);
  if (left < 0) std::abort();  // released more often than referenced
  if (left == 0) delete this;
}

Locator::Locator() : data_(nullptr) {}

Locator::Locator(Data* data) : data_(data) {
  if (data_) data_->addRef();
}

Locator::Locator(const Locator& other) : Locator(other.data_) {}

Locator& Locator::operator=(const Locator& other) {
  if (other.data_) other.data_->addRef();
  if (data_) data_->release();
  data_ = other.data_;
  return *this;
}

Locator::~Locator() {
  if (data_) data_->release();
}

std::string Locator::getPublicId() const {
  return data_ ? data_->getPublicId() : std::string();
}

std::string Locator::getSystemId() const {
  return data_ ? data_->getSystemId() : std::string();
}

int Locator::getLineNumber() const {
  return data_ ? data_->getLineNumber() : 0;
}

int Locator::getColumnNumber() const {
  return data_ ? data_->getColumnNumber() : 0;
}

DefaultLocator::Data::Data(const std::string& publicId, const std::string& systemId, int line,
                           int column)
    : publicId_(publicId), systemId_(systemId), line_(line), column_(column) {}

DefaultLocator::Data::~Data() = default;

std::string DefaultLocator::Data::getPublicId() const {
  return publicId_;
}

std::string DefaultLocator::Data::getSystemId() const {
  return systemId_;
}

int DefaultLocator::Data::getLineNumber() const {
  return line_;
}

int DefaultLocator::Data::getColumnNumber() const {
  return column_;
}

DefaultLocator::DefaultLocator(const std::string& publicId, const std::string& systemId, int line,
                               int column)
    : Locator(new Data(publicId, systemId, line, column)) {}

}  // namespace qor::quv::xml::sax
