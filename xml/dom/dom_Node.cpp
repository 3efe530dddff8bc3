// The node base: reference counting, links, child editing, navigation,
// writing, copying and normalising.
#define QUV_SOURCE_NAME "dom_Node"
#include <kelp/xml/dom/dom_Node.h>

#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__)
#define KELP_DOM_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KELP_DOM_ASAN 1
#endif
#endif
#ifdef KELP_DOM_ASAN
#include <sanitizer/asan_interface.h>
#endif

#include <kelp/xml/dom/dom_AttrNodeMap.h>
#include <kelp/xml/dom/dom_CharacterData.h>
#include <kelp/xml/dom/dom_ChildNodeList.h>
#include <kelp/xml/dom/dom_Document.h>
#include <zob/zob_mem.h>

#include "dom_Node_impl.h"

namespace qor::quv::xml::dom {

namespace {

// Nodes whose count fell to zero while another node was being freed on this
// thread wait here, linked through their parent field, so that freeing a
// tree never recurses: a parent frees its children by queueing them.
// The initial-exec model spares the library a lookup call per access.
__attribute__((tls_model("initial-exec"))) thread_local Node* tPending = nullptr;
__attribute__((tls_model("initial-exec"))) thread_local bool tDraining = false;

// ---- node storage --------------------------------------------------------------
//
// Every node is preceded by a header naming the block it was placed in, or
// null for a node allocated alone. A block counts the nodes placed in it
// that are not yet freed, plus kOpen while its arena may still place nodes
// there; releasing the arena's share takes kOpen minus the nodes placed, so
// the count ends at zero with the last node, whichever goes last. The count
// is atomic: nodes may be released on any thread.

struct alignas(16) NodeHeader {
  NodeArena::Block* block;
  std::size_t bytes;  // header and node
};

constexpr std::size_t kHeaderBytes = sizeof(NodeHeader);
// Blocks grow from the first to the largest size, doubling, so that a small
// document takes little and a large one few blocks; what would take more
// than an eighth of the largest block is allocated alone.
constexpr std::size_t kFirstBlockBytes = 2 * 1024 - 64;
constexpr std::size_t kLargestBlockBytes = 64 * 1024 - 64;
constexpr std::int32_t kOpen = 1 << 30;

constexpr std::size_t slotBytes(std::size_t size) {
  return kHeaderBytes + ((size + 15) & ~std::size_t(15));
}

// With AddressSanitizer, the parts of a block that hold no live node are
// poisoned, so that a freed node is still caught when touched.
void poison(void* p, std::size_t n) {
#ifdef KELP_DOM_ASAN
  ASAN_POISON_MEMORY_REGION(p, n);
#else
  (void)p;
  (void)n;
#endif
}

void unpoison(void* p, std::size_t n) {
#ifdef KELP_DOM_ASAN
  ASAN_UNPOISON_MEMORY_REGION(p, n);
#else
  (void)p;
  (void)n;
#endif
}

}  // namespace

struct NodeArena::Block {
  std::int32_t live;
  std::uint32_t bytes;
  util::WeakRefData* document;  // counted once for the nodes placed here
};

namespace {

static_assert(sizeof(NodeArena::Block) <= kHeaderBytes);

void releaseBlock(NodeArena::Block* block, std::int32_t count) noexcept {
  const std::int32_t left = __atomic_sub_fetch(&block->live, count, __ATOMIC_ACQ_REL);
  if (left < 0) std::abort();  // more nodes freed than placed: memory is corrupt
  if (left == 0) {
    unpoison(block, block->bytes);
    if (block->document) block->document->release();
    std::free(block);
  }
}

}  // namespace

NodeArena::~NodeArena() {
  close();
}

void NodeArena::close() noexcept {
  if (Block* b = block_) {
    block_ = nullptr;
    next_ = end_ = nullptr;
    releaseBlock(b, kOpen - placed_);
  }
}

void* NodeArena::allocateAlone(std::size_t size) noexcept {
  auto* h = static_cast<NodeHeader*>(std::malloc(slotBytes(size)));
  if (!h) return nullptr;
  h->block = nullptr;
  h->bytes = slotBytes(size);
  return h + 1;
}

void NodeArena::release(void* p) noexcept {
  ReleaseBatch batch;
  batch.add(p);
}

void NodeArena::ReleaseBatch::add(void* p) noexcept {
  if (!p) return;
  NodeHeader* h = static_cast<NodeHeader*>(p) - 1;
  Block* block = h->block;
  if (!block) {
    std::free(h);
    return;
  }
  poison(h, h->bytes);
  if (block != block_) {
    flush();
    block_ = block;
  }
  ++count_;
}

void NodeArena::ReleaseBatch::flush() noexcept {
  if (count_) releaseBlock(block_, count_);
  block_ = nullptr;
  count_ = 0;
}

void* NodeArena::allocate(std::size_t size) noexcept {
  const std::size_t bytes = slotBytes(size);
  if (static_cast<std::size_t>(end_ - next_) < bytes) {
    if (bytes > kLargestBlockBytes / 8) return allocateAlone(size);
    std::size_t blockBytes =
        block_ ? 2 * (static_cast<std::size_t>(block_->bytes) + 64) - 64 : kFirstBlockBytes;
    if (blockBytes > kLargestBlockBytes) blockBytes = kLargestBlockBytes;
    if (blockBytes < kHeaderBytes + bytes) blockBytes = kHeaderBytes + bytes;
    void* memory = std::malloc(blockBytes);
    if (!memory) return nullptr;
    close();
    block_ = new (memory) Block{kOpen, static_cast<std::uint32_t>(blockBytes), document_};
    if (document_) document_->addRef();
    placed_ = 0;
    next_ = static_cast<char*>(memory) + kHeaderBytes;
    end_ = static_cast<char*>(memory) + blockBytes;
    poison(next_, static_cast<std::size_t>(end_ - next_));
  }
  auto* h = reinterpret_cast<NodeHeader*>(next_);
  unpoison(h, bytes);
  next_ += bytes;
  ++placed_;
  h->block = block_;
  h->bytes = bytes;
  return h + 1;
}

bool NodeArena::blockCounts(const void* p, const util::WeakRefData* document) noexcept {
  const NodeHeader* h = static_cast<const NodeHeader*>(p) - 1;
  return h->block && h->block->document == document;
}

void* Node::operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return NodeArena::allocateAlone(size);
}

void* Node::operator new(std::size_t size, NodeArena* arena) noexcept {
  return arena ? arena->allocate(size) : NodeArena::allocateAlone(size);
}

void Node::operator delete(void* p) noexcept {
  NodeArena::release(p);
}

void Node::operator delete(void* p, const std::nothrow_t&) noexcept {
  Node::operator delete(p);
}

void Node::operator delete(void* p, NodeArena*) noexcept {
  Node::operator delete(p);
}

NodeArena* Node::arenaOf(util::WeakRefData* document) {
  void* doc = document ? document->getRef() : nullptr;
  return doc ? &static_cast<Document*>(doc)->arena_ : nullptr;
}

// A node is always made through its class's operator new, so its storage
// header precedes it (the Node part sits at the start of every node class).
Node::Node(util::WeakRefData* document)
    : refs_(0),
      docCounted_(false),
      doc_(nullptr),
      parent_(nullptr),
      firstChild_(nullptr),
      lastChild_(nullptr),
      prev_(nullptr),
      next_(nullptr),
      childList_(nullptr) {
  setDocument(document);
}

Node::~Node() {
  if (docCounted_) doc_->release();
}

void Node::setDocument(util::WeakRefData* document) {
  if (docCounted_) doc_->release();
  doc_ = document;
  docCounted_ = document && !NodeArena::blockCounts(this, document);
  if (docCounted_) document->addRef();
}

// The counts change with the compiler's atomic operations: a reference
// taken needs no ordering, the last release must see every earlier write.
std::uint32_t Node::nodeAddRef() {
  return static_cast<std::uint32_t>(__atomic_add_fetch(&refs_, 1, __ATOMIC_RELAXED));
}

std::uint32_t Node::nodeRelease() {
  std::int32_t left = __atomic_sub_fetch(&refs_, 1, __ATOMIC_ACQ_REL);
  if (left < 0) std::abort();  // released more often than referenced
  if (left == 0) destroy(this);
  return static_cast<std::uint32_t>(left);
}

std::int32_t Node::getRefCount() const {
  return __atomic_load_n(&refs_, __ATOMIC_SEQ_CST);
}

void Node::destroy(Node* node) {
  node->parent_ = tPending;
  tPending = node;
  if (tDraining) return;
  tDraining = true;
  NodeArena::ReleaseBatch batch;
  while (Node* n = tPending) {
    tPending = n->parent_;
    n->parent_ = nullptr;
    sweep(n, batch);
  }
  batch.flush();
  tDraining = false;
}

bool Node::dropTreeRef() {
  // The last holder needs no atomic write: nobody else can take a reference.
  if (__atomic_load_n(&refs_, __ATOMIC_ACQUIRE) == 1) return true;
  std::int32_t left = __atomic_sub_fetch(&refs_, 1, __ATOMIC_ACQ_REL);
  if (left < 0) std::abort();  // released more often than referenced
  return left == 0;
}

// Frees `top` (its count has fallen to zero) and everything it owns that
// nobody else holds, in one pass in document order, the order in which a
// parsed tree was placed in its blocks: a node's continuation (its next
// sibling, or after its last descendant the next sibling of an ancestor) is
// threaded through the next link of its last child. A node somebody else
// still holds keeps its subtree and loses its parent and siblings.
void Node::sweep(Node* top, NodeArena::ReleaseBatch& batch) {
  Node* cur = top;
  while (cur) {
    Node* next = cur->next_;
    if (Node* first = cur->firstChild_) {
      cur->lastChild_->next_ = next;
      next = first;
    }
    cur->releaseOwned(batch);
    cur->~Node();
    batch.add(cur);
    // Skip the nodes held elsewhere: they drop the tree's reference.
    while (next && !next->dropTreeRef()) {
      Node* after = next->next_;
      next->next_ = nullptr;
      next->prev_ = nullptr;
      next->parent_ = nullptr;
      next = after;
    }
    cur = next;
  }
}

void Node::releaseOwned(NodeArena::ReleaseBatch&) {
  if (ChildNodeList* list = childList_) {
    childList_ = nullptr;
    list->detach();
    list->release();
  }
}

ZResult Node::queryInterface(const char* iid, zob::IUnknown** out) {
  if (!out) return zob::kInvalidArgument;
  zob::IUnknown* found = nullptr;
  if (zobCompareIID(iid, zob::IUnknown::IID) || zobCompareIID(iid, IDomNode::IID))
    found = static_cast<IDomNode*>(this);
  else if (zobCompareIID(iid, IDomNodeExt::IID))
    found = static_cast<IDomNodeExt*>(this);
  else if (zobCompareIID(iid, IDomNodeQUVInternal::IID))
    found = static_cast<IDomNodeQUVInternal*>(this);
  *out = found;
  if (!found) return zob::kNoInterface;
  nodeAddRef();
  return zob::kOk;
}

Node* Node::fromInterface(zob::IUnknown* object) {
  if (!object) return nullptr;
  zob::Ref<IDomNodeQUVInternal> internal;
  if (EFAILED(zob::query(object, internal))) return nullptr;
  Node* node = nullptr;
  if (EFAILED(internal->getNativeNode(&node))) return nullptr;
  return node;
}

ZResult Node::nodeOut(Node* node, IDomNode** out) {
  if (!out) return zob::kInvalidArgument;
  *out = node;
  if (node) node->nodeAddRef();
  return zob::kOk;
}

// ---- IDomNode ----------------------------------------------------------------

ZResult Node::getNodeName(char** name) {
  return detail::copyOut(getNodeName(), name);
}

ZResult Node::getNodeValue(char** value) {
  if (!value) return zob::kInvalidArgument;
  switch (getNodeType()) {
    case kAttributeNode:
    case kTextNode:
    case kCDATASectionNode:
      return detail::copyOut(getNodeValue(), value);
    default:
      *value = nullptr;
      return zob::kOk;
  }
}

ZResult Node::setNodeValue(const char*) {
  return zob::kDomNoModificationAllowed;
}

ZResult Node::getNodeType(int* type) {
  if (!type) return zob::kInvalidArgument;
  *type = getNodeType();
  return zob::kOk;
}

ZResult Node::getParentNode(IDomNode** node) {
  return nodeOut(getParentNode(), node);
}

ZResult Node::getChildNodes(IDomNodeList** list) {
  if (!list) return zob::kInvalidArgument;
  ChildNodeList* l = getChildNodes();
  *list = l;
  if (!l) return zob::kOutOfMemory;
  l->addRef();
  return zob::kOk;
}

ZResult Node::getFirstChild(IDomNode** node) {
  return nodeOut(firstChild_, node);
}

ZResult Node::getLastChild(IDomNode** node) {
  return nodeOut(lastChild_, node);
}

ZResult Node::getPreviousSibling(IDomNode** node) {
  return nodeOut(prev_, node);
}

ZResult Node::getNextSibling(IDomNode** node) {
  return nodeOut(next_, node);
}

ZResult Node::getAttributes(IDomNamedNodeMap** map) {
  if (!map) return zob::kInvalidArgument;
  AttrNodeMap* m = getAttributes();
  *map = m;
  if (m) m->addRef();
  return zob::kOk;
}

ZResult Node::getOwnerDocument(IDomDocument** document) {
  if (!document) return zob::kInvalidArgument;
  Document* doc = getOwnerDocument();
  *document = doc;
  if (doc) doc->addRef();
  return zob::kOk;
}

ZResult Node::insertBefore(IDomNode* newChild, IDomNode* refChild, IDomNode** result) {
  if (result) *result = nullptr;
  if (!newChild || newChild == refChild) return zob::kInvalidArgument;
  Node* n = fromInterface(newChild);
  if (!n) return zob::kDomWrongDocument;
  Node* r = refChild ? fromInterface(refChild) : nullptr;
  ZResult res = insertBeforeChecked(n, r, refChild && !r);
  if (!EFAILED(res) && result) nodeOut(n, result);
  return res;
}

ZResult Node::replaceChild(IDomNode* newChild, IDomNode* oldChild, IDomNode** result) {
  if (result) *result = nullptr;
  if (!newChild || !oldChild || newChild == oldChild) return zob::kInvalidArgument;
  Node* n = fromInterface(newChild);
  if (!n) return zob::kDomWrongDocument;
  Node* o = fromInterface(oldChild);
  // Keep the old child for the caller: the tree's reference goes with it.
  zob::Ref<Node> keep(o);
  ZResult res = replaceChildChecked(n, o, !o);
  if (!EFAILED(res) && result) nodeOut(o, result);
  return res;
}

ZResult Node::removeChild(IDomNode* oldChild, IDomNode** result) {
  if (result) *result = nullptr;
  if (!oldChild) return zob::kInvalidArgument;
  Node* o = fromInterface(oldChild);
  if (!o) return zob::kDomNotFound;
  zob::Ref<Node> keep(o);
  ZResult res = removeChildChecked(o);
  if (!EFAILED(res) && result) nodeOut(o, result);
  return res;
}

ZResult Node::appendChild(IDomNode* newChild, IDomNode** result) {
  return insertBefore(newChild, nullptr, result);
}

ZResult Node::hasChildNodes(int* result) {
  if (!result) return zob::kInvalidArgument;
  *result = firstChild_ ? 1 : 0;
  return zob::kOk;
}

ZResult Node::cloneNode(int deep, IDomNode** result) {
  if (!result) return zob::kInvalidArgument;
  zob::Ref<Node> copy = cloneNode(deep != 0);
  *result = copy.detach();
  return *result ? zob::kOk : zob::kOutOfMemory;
}

ZResult Node::isSupported(const char*, const char*, int* result) {
  if (result) *result = 0;
  return zob::kNotImplemented;
}

ZResult Node::getNamespaceURI(char** uri) {
  if (!uri) return zob::kInvalidArgument;
  *uri = nullptr;
  return zob::kOk;
}

ZResult Node::getPrefix(char** prefix) {
  if (!prefix) return zob::kInvalidArgument;
  *prefix = nullptr;
  return zob::kOk;
}

ZResult Node::setPrefix(const char*) {
  return zob::kNotImplemented;
}

ZResult Node::getLocalName(char** name) {
  if (!name) return zob::kInvalidArgument;
  *name = nullptr;
  return zob::kOk;
}

ZResult Node::hasAttributes(int* result) {
  if (!result) return zob::kInvalidArgument;
  *result = hasAttributes() ? 1 : 0;
  return zob::kOk;
}

// ---- IDomNodeQUVInternal -----------------------------------------------------

ZResult Node::getDocumentId(ZobUUID* id) {
  if (!id) return zob::kInvalidArgument;
  *id = getDocumentId().get();
  return zob::kOk;
}

ZResult Node::getNativeNode(Node** node) {
  if (!node) return zob::kInvalidArgument;
  *node = this;
  return zob::kOk;
}

// ---- native forms ------------------------------------------------------------

std::string Node::getNodeValue() const {
  return std::string();
}

ZResult Node::setNodeValue(const std::string&) {
  return zob::kDomNoModificationAllowed;
}

Node* Node::getParentNode() const {
  return getNodeType() == kAttributeNode ? nullptr : parent_;
}

ChildNodeList* Node::getChildNodes() {
  if (!childList_) {
    childList_ = new (std::nothrow) ChildNodeList(this);
    if (childList_) childList_->addRef();
  }
  return childList_;
}

AttrNodeMap* Node::getAttributes() {
  return nullptr;
}

Document* Node::getOwnerDocument() const {
  return doc_ ? static_cast<Document*>(doc_->getRef()) : nullptr;
}

bool Node::hasAttributes() const {
  return false;
}

util::EUUID Node::getDocumentId() const {
  Document* doc = getOwnerDocument();
  return doc ? doc->getId() : util::EUUID();
}

bool Node::mayInsertNode(Node*) const {
  return false;
}

bool Node::isChild(const Node* node) const {
  return node && node->parent_ == this && node->getNodeType() != kAttributeNode;
}

bool Node::sameDocument(const Node* other) const {
  // Nodes made by one document share its weak reference block.
  if (other->doc_ == doc_) return true;
  util::EUUID theirs = other->getDocumentId();
  return theirs.isNull() || theirs.compare(getDocumentId()) == 0;
}

bool Node::needsAdoption(const Node* other) const {
  return other->doc_ != doc_ && getOwnerDocument() && !other->getOwnerDocument();
}

void Node::linkBefore(Node* child, Node* ref) {
  child->nodeAddRef();
  child->parent_ = this;
  if (!ref) {
    child->prev_ = lastChild_;
    if (lastChild_)
      lastChild_->next_ = child;
    else
      firstChild_ = child;
    lastChild_ = child;
    return;
  }
  // The child takes over the reference that owned `ref`.
  Node* prev = ref->prev_;
  child->next_ = ref;
  child->prev_ = prev;
  ref->prev_ = child;
  if (prev)
    prev->next_ = child;
  else
    firstChild_ = child;
}

Node* Node::unlink(Node* child) {
  Node* prev = child->prev_;
  Node* next = child->next_;
  // The reference that owned `child` now owns `next`.
  if (prev)
    prev->next_ = next;
  else
    firstChild_ = next;
  if (next)
    next->prev_ = prev;
  else
    lastChild_ = prev;
  child->next_ = nullptr;
  child->prev_ = nullptr;
  child->parent_ = nullptr;
  return child;
}

ZResult Node::insertBeforeChecked(Node* newChild, Node* refChild, bool refIsForeign) {
  if (!newChild || newChild == refChild) return zob::kInvalidArgument;
  if (!sameDocument(newChild)) return zob::kDomWrongDocument;
  if (!mayInsertNode(newChild) || newChild == this) return zob::kDomHierarchyRequest;
  // Only a node with children can be an ancestor of this one.
  if (newChild->firstChild_) {
    for (const Node* a = parent_; a; a = a->parent_)
      if (a == newChild) return zob::kDomHierarchyRequest;
  }
  if (refIsForeign || (refChild && !isChild(refChild))) return zob::kDomNotFound;

  if (newChild->getNodeType() == kDocumentFragmentNode) {
    for (Node* c = newChild->firstChild_; c; c = c->next_)
      if (!mayInsertNode(c)) return zob::kDomHierarchyRequest;
    while (Node* c = newChild->firstChild_) {
      newChild->unlink(c);
      linkBefore(c, refChild);
      c->nodeRelease();  // the reference of the fragment's list
    }
    return zob::kOk;
  }

  if (needsAdoption(newChild)) adoptSubtree(newChild, doc_);
  if (Node* oldParent = newChild->parent_) {
    oldParent->unlink(newChild);
    linkBefore(newChild, refChild);
    newChild->nodeRelease();  // the old parent's reference
  } else {
    linkBefore(newChild, refChild);
  }
  return zob::kOk;
}

ZResult Node::appendHandingOver(Node* child) {
  if (child && !child->parent_ && !child->firstChild_ && child != this &&
      child->doc_ == doc_ && mayInsertNode(child)) {
    // A node without children cannot be an ancestor of this one.
    child->parent_ = this;
    child->prev_ = lastChild_;
    if (lastChild_)
      lastChild_->next_ = child;
    else
      firstChild_ = child;
    lastChild_ = child;
    return zob::kOk;
  }
  ZResult res = insertBeforeChecked(child, nullptr);
  if (!EFAILED(res)) child->nodeRelease();  // the tree holds its own
  return res;
}

ZResult Node::replaceChildChecked(Node* newChild, Node* oldChild, bool oldIsForeign) {
  if (!newChild || (!oldChild && !oldIsForeign) || newChild == oldChild)
    return zob::kInvalidArgument;
  ZResult res = insertBeforeChecked(newChild, oldChild, oldIsForeign);
  if (EFAILED(res)) return res;
  unlink(oldChild)->nodeRelease();
  return zob::kOk;
}

ZResult Node::removeChildChecked(Node* oldChild) {
  if (!oldChild) return zob::kInvalidArgument;
  if (!isChild(oldChild)) return zob::kDomNotFound;
  unlink(oldChild)->nodeRelease();
  return zob::kOk;
}

Node* Node::insertBefore(Node* newChild, Node* refChild) {
  return EFAILED(insertBeforeChecked(newChild, refChild)) ? nullptr : newChild;
}

Node* Node::appendChild(Node* newChild) {
  return insertBefore(newChild, nullptr);
}

zob::Ref<Node> Node::replaceChild(Node* newChild, Node* oldChild) {
  zob::Ref<Node> keep(oldChild);
  if (EFAILED(replaceChildChecked(newChild, oldChild))) return {};
  return keep;
}

zob::Ref<Node> Node::removeChild(Node* oldChild) {
  zob::Ref<Node> keep(oldChild);
  if (EFAILED(removeChildChecked(oldChild))) return {};
  return keep;
}

void Node::adoptDocument(util::WeakRefData* document) {
  setDocument(document);
}

// ---- copying -----------------------------------------------------------------

zob::Ref<Node> Node::cloneNode(bool deep) const {
  zob::Ref<Node> top = cloneShallow(doc_);
  if (!top || !deep) return top;
  // The copy of a document is a new document: the copies of the children
  // belong to it.
  util::WeakRefData* target = top->doc_;
  const Node* src = firstChild_;
  Node* dstParent = top.get();
  while (src) {
    zob::Ref<Node> copy = src->cloneShallow(target);
    if (!copy) return {};
    dstParent->linkBefore(copy.get(), nullptr);
    if (src->firstChild_) {
      dstParent = copy.get();
      src = src->firstChild_;
      continue;
    }
    while (src != this && !src->next_) {
      src = src->parent_;
      dstParent = dstParent->parent_;
    }
    if (src == this) break;
    src = src->next_;
  }
  return top;
}

// ---- normalising -------------------------------------------------------------

ZResult Node::normalize() {
  Node* cur = this;
  for (;;) {
    // The collector is the first text child; it is not reset at elements.
    CharacterData* collector = nullptr;
    for (Node* c = cur->firstChild_; c;) {
      Node* next = c->next_;
      int type = c->getNodeType();
      if (type == kTextNode || type == kCDATASectionNode) {
        CharacterData* text = static_cast<CharacterData*>(c);
        if (!collector) {
          collector = text;
        } else {
          collector->appendData(text->getData());
          cur->unlink(c)->nodeRelease();
        }
      }
      c = next;
    }
    if (cur->firstChild_) {
      cur = cur->firstChild_;
      continue;
    }
    while (cur != this && !cur->next_) cur = cur->parent_;
    if (cur == this) break;
    cur = cur->next_;
  }
  return zob::kOk;
}

// ---- writing -----------------------------------------------------------------

ZResult Node::writeStart(IXMLWriter*) {
  return zob::kOk;
}

ZResult Node::writeEnd(IXMLWriter*) {
  return zob::kOk;
}

ZResult Node::write(IXMLWriter* writer) {
  if (!writer) return zob::kInvalidArgument;
  Node* cur = this;
  for (;;) {
    ZResult res = cur->writeStart(writer);
    if (EFAILED(res)) return res;
    if (cur->firstChild_) {
      cur = cur->firstChild_;
      continue;
    }
    for (;;) {
      res = cur->writeEnd(writer);
      if (EFAILED(res)) return res;
      if (cur == this) return zob::kOk;
      if (cur->next_) {
        cur = cur->next_;
        break;
      }
      cur = cur->parent_;
    }
  }
}

namespace detail {

ZResult copyOut(const std::string& text, char** out) {
  if (!out) return zob::kInvalidArgument;
  *out = zobStrNDup0(text.data(), text.size());
  return *out ? zob::kOk : zob::kOutOfMemory;
}

}  // namespace detail

void Node::adoptSubtree(Node* root, util::WeakRefData* document) {
  Node* cur = root;
  for (;;) {
    cur->adoptDocument(document);
    if (cur->firstChild_) {
      cur = cur->firstChild_;
      continue;
    }
    while (cur != root && !cur->next_) cur = cur->parent_;
    if (cur == root) return;
    cur = cur->next_;
  }
}

}  // namespace qor::quv::xml::dom
