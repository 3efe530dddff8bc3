// ETexts: a value wrapper that owns one reference to a TrStrSet.
#include <kelp/util/utl_ETexts.h>

namespace qor::quv::basket {

ETexts::ETexts(const ETexts& other) {
  *this = other;
}

ETexts& ETexts::operator=(const ETexts& other) {
  if (this == &other) return *this;
  if (other.isNull()) {
    if (set_) set_->clear();
    return *this;
  }
  if (!set_) {
    set_ = new util::TrStrSet;
    set_->addRef();
  }
  set_->copy(other.set_);
  return *this;
}

ETexts& ETexts::operator=(ETexts&& other) noexcept {
  if (this != &other) {
    if (set_) set_->release();
    set_ = other.set_;
    other.set_ = nullptr;
  }
  return *this;
}

ETexts::~ETexts() {
  if (set_) set_->release();
}

std::string ETexts::getLang(int index) const {
  char buffer[3];
  if (!set_ || !set_->getLang(index, buffer)) return std::string();
  return util::TrStrSet::mkLangId(buffer) == util::TrStrSet::DEFAULT_LANG_ID ? std::string()
                                                                             : std::string(buffer);
}

std::string ETexts::getText(int index) const {
  if (!set_ || index < 0 || index >= set_->getSize()) return std::string();
  util::PString s = set_->getStr(index);
  return s.isNull() ? std::string() : s.str();
}

bool ETexts::has(const char* lang) const {
  return set_ && set_->find(util::TrStrSet::mkLangId(lang)) != nullptr;
}

std::string ETexts::get(const char* lang) const {
  if (!set_) return std::string();
  util::PString s = set_->get(lang && *lang ? lang : util::TrStrSet::DEFAULT_LANG, true);
  return s.isNull() ? std::string() : s.str();
}

bool ETexts::set(const char* lang, const std::string& text) {
  if (!set_) {
    set_ = new util::TrStrSet;
    set_->addRef();
  }
  return set_->set(lang && *lang ? lang : util::TrStrSet::DEFAULT_LANG,
                   util::PString(text.c_str(), text.size()));
}

bool ETexts::operator==(const ETexts& o) const {
  if (isNull() || o.isNull()) return isNull() == o.isNull();
  return set_->equalTo(o.set_);
}

}  // namespace qor::quv::basket
