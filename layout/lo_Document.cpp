// The layout document model: documents, blocks and atoms.
#define QUV_SOURCE_NAME "lo_Document"
#include <kelp/layout/lo_Document.h>

#include <cstdlib>
#include <new>

#include <ktz/ktz_atomic.h>

namespace qor::quv::layout {

// ---- AtomData and Atom -------------------------------------------------------

AtomData* AtomData::create(AtomType type, std::uint16_t value) {
  AtomData* data = new AtomData;
  data->word = (static_cast<std::uint32_t>(value) << 16) | (static_cast<std::uint32_t>(type) & 0xF);
  data->refs = 0;
  return data;
}

void AtomData::addRef() {
  ktzAtomicIncrement(&refs);
}

void AtomData::release() {
  std::int32_t left = ktzAtomicDecrement(&refs);
  if (left < 0) std::abort();  // released more often than referenced
  if (left == 0) delete this;
}

namespace {

AtomData* dataOf(std::uintptr_t word) {
  return reinterpret_cast<AtomData*>(word);
}

}  // namespace

Atom::Atom(AtomType type, std::uint16_t value) {
  const std::uint32_t tag = static_cast<std::uint32_t>(type);
  if (tag >= 1 && tag <= 15) {
    word_ = (static_cast<std::uintptr_t>(value) << 16) | tag;
  } else {
    // No inline form: a zero tag marks a pointer.
    AtomData* data = AtomData::create(type, value);
    data->addRef();
    word_ = reinterpret_cast<std::uintptr_t>(data);
  }
}

Atom::Atom(AtomData* data) : word_(reinterpret_cast<std::uintptr_t>(data)) {
  data->addRef();
}

Atom::Atom(const Atom& other) : word_(other.word_) {
  if (isShared()) dataOf(word_)->addRef();
}

Atom& Atom::operator=(const Atom& other) {
  if (other.isShared()) dataOf(other.word_)->addRef();
  if (isShared()) dataOf(word_)->release();
  word_ = other.word_;
  return *this;
}

Atom::~Atom() {
  if (isShared()) dataOf(word_)->release();
}

// ---- Block ---------------------------------------------------------------------

Block::Block(BlockType type, EnvBlock* encl, Document* doc)
    : type_(type), encl_(encl), doc_(doc), refs_(0) {}

Block::~Block() = default;

void Block::addRef() {
  ktzAtomicIncrement(&refs_);
}

void Block::release() {
  std::int32_t left = ktzAtomicDecrement(&refs_);
  if (left < 0) std::abort();  // released more often than referenced
  if (left > 0) return;
  // Tear the tree down with a work list instead of recursion: nesting depth
  // is bounded only by the input.
  std::vector<Block*> doomed{this};
  while (!doomed.empty()) {
    Block* block = doomed.back();
    doomed.pop_back();
    if (!isParagraphType(block->type_)) {
      EnvBlock* env = static_cast<EnvBlock*>(block);
      for (Block* child : env->blocks_)
        if (ktzAtomicDecrement(&child->refs_) == 0) doomed.push_back(child);
      env->blocks_.clear();
    }
    delete block;
  }
}

// ---- ParaBlock -----------------------------------------------------------------

ParaBlock::ParaBlock(BlockType type, EnvBlock* encl, Document* doc)
    : Block(type, encl, doc), afterChar_(false) {}

ParaBlock::~ParaBlock() = default;

void ParaBlock::appendChar(unsigned short c) {
  atoms_.emplace_back(kAtomChar, c);
  afterChar_ = true;
}

void ParaBlock::appendSpace() {
  if (!afterChar_) return;
  atoms_.emplace_back(kAtomSpace);
  afterChar_ = false;
}

void ParaBlock::appendBreak() {
  atoms_.emplace_back(kAtomBreak);
}

void ParaBlock::appendHRule() {
  atoms_.emplace_back(kAtomHRule);
}

void ParaBlock::appendStyleOn(Style style) {
  atoms_.emplace_back(kAtomStyleOn, style);
}

void ParaBlock::appendStyleOff(Style style) {
  atoms_.emplace_back(kAtomStyleOff, style);
}

void ParaBlock::appendAtom(const Atom& atom) {
  atoms_.push_back(atom);
  const AtomType type = atom.getType();
  if (type == kAtomChar)
    afterChar_ = true;
  else if (type == kAtomSpace || type == kAtomNbSpace)
    afterChar_ = false;
}

// ---- EnvBlock ------------------------------------------------------------------

EnvBlock::EnvBlock(BlockType type, EnvBlock* encl, Document* doc) : Block(type, encl, doc) {}

EnvBlock::~EnvBlock() {
  // Normally emptied by Block::release; a block deleted otherwise still
  // lets go of its children.
  for (Block* child : blocks_) child->release();
}

ParaBlock* EnvBlock::appendParagraph(BlockType type) {
  ParaBlock* para = new ParaBlock(type, this, getDoc());
  para->addRef();
  blocks_.push_back(para);
  return para;
}

EnvBlock* EnvBlock::appendEnvironment(BlockType type) {
  EnvBlock* env = new EnvBlock(type, this, getDoc());
  env->addRef();
  blocks_.push_back(env);
  return env;
}

// ---- Document ------------------------------------------------------------------

Document::Document(fw::IApplication* app) : app_(app), body_(nullptr), refs_(0) {
  if (app_) app_->_comAddRef();
  body_ = new EnvBlock(kEnvBody, nullptr, this);
  body_->addRef();
}

Document::~Document() {
  body_->release();
  if (app_) app_->_comRelease();
}

void Document::addRef() {
  ktzAtomicIncrement(&refs_);
}

void Document::release() {
  std::int32_t left = ktzAtomicDecrement(&refs_);
  if (left < 0) std::abort();  // released more often than referenced
  if (left == 0) delete this;
}

}  // namespace qor::quv::layout
