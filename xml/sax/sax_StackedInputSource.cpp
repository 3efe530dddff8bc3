// The stack of input sources for entity replacement text.
#define QUV_SOURCE_NAME "sax_StackedInputSource"
#include <kelp/xml/sax/sax_StackedInputSource.h>

namespace qor::quv::xml::sax {

StackedInputSource::StackedInputSource(InputSource* base) {
  sources_.push_back(base);
}

StackedInputSource::~StackedInputSource() {
  for (std::size_t i = sources_.size(); i > 1; --i) delete sources_[i - 1];
}

bool StackedInputSource::good() {
  return top() && top()->good();
}

bool StackedInputSource::eof() {
  return !top() || top()->eof();
}

bool StackedInputSource::error() {
  return !top() || top()->error();
}

int StackedInputSource::get() {
  if (!top()) return -1;
  for (;;) {
    int c = top()->get();
    if (c >= 0) return c;
    if (!pop()) return -1;
  }
}

bool StackedInputSource::peekRun(const char** begin, const char** end) {
  if (!top()) return false;
  for (;;) {
    if (top()->peekRun(begin, end)) return true;
    if (!pop()) return false;
  }
}

void StackedInputSource::consumeRun(std::size_t count, int lineFeeds) {
  if (top()) top()->consumeRun(count, lineFeeds);
}

void StackedInputSource::unget(char c) {
  if (top()) top()->unget(c);
}

int StackedInputSource::consume(int count) {
  return top() ? top()->consume(count) : 0;
}

bool StackedInputSource::testPending(const char** patterns, const char* follow) {
  for (std::size_t i = sources_.size(); i > 0; --i) {
    InputSource* source = sources_[i - 1];
    if (!source) return false;
    if (source->testPending(patterns, follow)) return true;
    // Look below only when this source has nothing left; a byte taken to
    // find out goes back at once.
    int c = source->get();
    if (c >= 0) {
      source->unget(static_cast<char>(c));
      return false;
    }
    if (source->error()) return false;
  }
  return false;
}

int StackedInputSource::skipSpace(util::StringBuf* buf) {
  return top() ? top()->skipSpace(buf) : 0;
}

bool StackedInputSource::getName(util::StringBuf* buf) {
  return top() && top()->getName(buf);
}

bool StackedInputSource::getNmToken(util::StringBuf* buf) {
  return top() && top()->getNmToken(buf);
}

Locator StackedInputSource::getLocator() {
  return top() ? top()->getLocator() : Locator();
}

bool StackedInputSource::setEncoding(const char* from, const char* to) {
  return top() && top()->setEncoding(from, to);
}

int StackedInputSource::fetch(char* buffer, std::size_t size) {
  return top() ? top()->fetch(buffer, size) : -1;
}

void StackedInputSource::push(InputSource* source) {
  if (!source) return;
  // The source is ours from the call on, also when the stack cannot grow.
  try {
    sources_.push_back(source);
  } catch (...) {
    delete source;
    throw;
  }
}

bool StackedInputSource::pop() {
  if (sources_.size() <= 1) return false;
  InputSource* t = sources_.back();
  if (t->error()) return false;
  sources_.pop_back();
  delete t;
  return true;
}

}  // namespace qor::quv::xml::sax
