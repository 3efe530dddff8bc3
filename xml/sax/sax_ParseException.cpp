// The error record of the SAX interfaces.
#define QUV_SOURCE_NAME "sax_ParseException"
#include <kelp/xml/sax/sax_ParseException.h>

#include <cstdlib>

#include <ktz/ktz_atomic.h>

namespace qor::quv::xml::sax {

struct SAXParseException::Data {
  std::string message;
  std::string publicId;
  std::string systemId;
  int line = 0;
  int column = 0;
  std::int32_t refs = 1;
};

namespace {

void release(SAXParseException::Data* data) {
  if (!data) return;
  std::int32_t left = ktzAtomicDecrement(&data->refs);
  if (left < 0) std::abort();  // released more often than referenced
  if (left == 0) delete data;
}

}  // namespace

SAXParseException::SAXParseException() : data_(nullptr) {}

SAXParseException::SAXParseException(const std::string& message, const Locator& locator)
    : data_(new Data{message, locator.getPublicId(), locator.getSystemId(), locator.getLineNumber(),
                     locator.getColumnNumber()}) {}

SAXParseException::SAXParseException(const std::string& message, const std::string& publicId,
                                     const std::string& systemId, int line, int column)
    : data_(new Data{message, publicId, systemId, line, column}) {}

SAXParseException::SAXParseException(const SAXParseException& other) : data_(other.data_) {
  if (data_) ktzAtomicIncrement(&data_->refs);
}

SAXParseException& SAXParseException::operator=(const SAXParseException& other) {
  if (other.data_) ktzAtomicIncrement(&other.data_->refs);
  release(data_);
  data_ = other.data_;
  return *this;
}

SAXParseException::~SAXParseException() {
  release(data_);
}

std::string SAXParseException::getMessage() const {
  return data_ ? data_->message : std::string();
}

std::string SAXParseException::getPublicId() const {
  return data_ ? data_->publicId : std::string();
}

std::string SAXParseException::getSystemId() const {
  return data_ ? data_->systemId : std::string();
}

int SAXParseException::getLineNumber() const {
  return data_ ? data_->line : 0;
}

int SAXParseException::getColumnNumber() const {
  return data_ ? data_->column : 0;
}

}  // namespace qor::quv::xml::sax
