/* qor::quv::xml::dom::Node: the base of every node of the library's DOM.
 *
 * A node implements IDomNode, IDomNodeExt and IDomNodeQUVInternal, and
 * offers native twins of the navigation and editing operations on Node*
 * and std::string. Nodes are reference counted (atomically); they start
 * with a count of 0, and the creator takes the first reference (the
 * factories of Document hand out a zob::Ref).
 *
 * Ownership: a parent owns its first child and each child owns its next
 * sibling; the parent, last-child and previous-sibling links are plain back
 * pointers. An element owns its attributes. Nodes refer to their Document
 * weakly: the document must be held for as long as its tree is used; once
 * it is gone, nodes report the null UUID as their document identifier.
 * Releasing the last reference to a tree frees it without recursion, so
 * trees of any depth and width can be dropped.
 *
 * The native editing operations return the affected node or null where the
 * interface forms return a result code: insertBefore and appendChild the
 * inserted node (kept alive by the tree), removeChild and replaceChild the
 * removed node in a counted reference (it is freed when that reference goes
 * unless the caller keeps one). The *Checked forms give the result code.
 *
 * Thread rules: only the reference counts are atomic; a tree is used by one
 * thread at a time.
 *
 *   zob::Ref<Document> doc = Document::create();
 *   zob::Ref<Element> root = doc->createElement("catalogue");
 *   doc->appendChild(root.get());
 *   root->appendChild(doc->createTextNode("hello").get());
 */
#ifndef KELP_XML_DOM_DOM_NODE_H
#define KELP_XML_DOM_DOM_NODE_H

#include <cstddef>
#include <cstdint>
#include <new>
#include <string>

#include <kelp/kelp_api.h>
#include <kelp/util/utl_EUUID.h>
#include <kelp/util/utl_WeakRef.h>
#include <kelp/xml/dom/dom_Interfaces.h>
#include <kelp/xml/xml_IXMLWriter.h>

namespace qor::quv::xml::dom {

class AttrNodeMap;
class ChildNodeList;
class Document;

/* Storage for the nodes a document makes: blocks, growing from 2 KB to
 * 64 KB as the document grows, in which nodes are placed one after the
 * other. A block is freed with the
 * last node placed in it (nodes may outlive their document and move to
 * other documents: the block goes with the node, not with the document).
 * The space of a node freed early is not reused, so one live node keeps its
 * block; the document starts a new block when the current one is full.
 * Used by one thread at a time, like the document that holds it. */
class NodeArena {
 public:
  struct Block;

  NodeArena() = default;
  /* Lets go of the current block. */
  ~NodeArena();
  NodeArena(const NodeArena&) = delete;
  NodeArena& operator=(const NodeArena&) = delete;

  /* Room for an object of `size` bytes, or null when out of memory. */
  void* allocate(std::size_t size) noexcept;
  /* The same room outside any block. */
  static void* allocateAlone(std::size_t size) noexcept;
  /* Frees room from either (null does nothing). */
  static void release(void* p) noexcept;
  /* The weak-reference data of the document whose nodes the arena places;
   * each block holds one count on it for all of them. */
  void setDocument(util::WeakRefData* document) { document_ = document; }
  /* Whether `p`, placed by allocate or allocateAlone, sits in a block that
   * counts `document`. */
  static bool blockCounts(const void* p, const util::WeakRefData* document) noexcept;

  /* Frees many pieces of room, counting consecutive ones of one block
   * against it at once (freeing a tree in placement order takes one atomic
   * step per block run, not one per node). Flushed on destruction. */
  class ReleaseBatch {
   public:
    ReleaseBatch() = default;
    ~ReleaseBatch() { flush(); }
    ReleaseBatch(const ReleaseBatch&) = delete;
    ReleaseBatch& operator=(const ReleaseBatch&) = delete;
    void add(void* p) noexcept;
    void flush() noexcept;

   private:
    Block* block_ = nullptr;
    std::int32_t count_ = 0;
  };

 private:
  void close() noexcept;

  util::WeakRefData* document_ = nullptr;
  Block* block_ = nullptr;
  char* next_ = nullptr;
  char* end_ = nullptr;
  std::int32_t placed_ = 0;
};

/* Declares the IUnknown operations of a node class that adds interfaces
 * of its own, so that the class has one final overrider of each. */
#define KELP_DOM_NODE_UNKNOWN                                                 \
  ZResult queryInterface(const char* iid, zob::IUnknown** out) override;      \
  std::uint32_t addRef() override {                                           \
    return nodeAddRef();                                                      \
  }                                                                           \
  std::uint32_t release() override {                                          \
    return nodeRelease();                                                     \
  }                                                                           \
  ZResult _comQueryInterface(const char* iid, zob::IUnknown** out) override { \
    return queryInterface(iid, out);                                          \
  }                                                                           \
  std::uint32_t _comAddRef() override {                                       \
    return nodeAddRef();                                                      \
  }                                                                           \
  std::uint32_t _comRelease() override {                                      \
    return nodeRelease();                                                     \
  }

class KELP_API Node : public IDomNode_Adapter,
                      public IDomNodeExt_Adapter,
                      public IDomNodeQUVInternal_Adapter {
 public:
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;

  /* Answers IUnknown, IDomNode, IDomNodeExt and IDomNodeQUVInternal; the
   * node classes add their own interfaces. */
  ZResult queryInterface(const char* iid, zob::IUnknown** out) override;
  std::uint32_t addRef() override { return nodeAddRef(); }
  /* Ends the process when the count falls below zero. */
  std::uint32_t release() override { return nodeRelease(); }
  ZResult _comQueryInterface(const char* iid, zob::IUnknown** out) override {
    return queryInterface(iid, out);
  }
  std::uint32_t _comAddRef() override { return nodeAddRef(); }
  std::uint32_t _comRelease() override { return nodeRelease(); }
  /* Node storage: a node is placed in its document's arena (`new (arena)
   * Element(...)`, a null arena allocates alone) or allocated alone
   * (`new (std::nothrow)`); the matching delete is found from the node's
   * address. */
  static void* operator new(std::size_t size, const std::nothrow_t&) noexcept;
  static void* operator new(std::size_t size, NodeArena* arena) noexcept;
  static void operator delete(void* p) noexcept;
  static void operator delete(void* p, const std::nothrow_t&) noexcept;
  static void operator delete(void* p, NodeArena*) noexcept;

  /* The current reference count (for diagnostics and tests). */
  std::int32_t getRefCount() const;

  // IDomNode
  ZResult getNodeName(char** name) override;
  ZResult getNodeValue(char** value) override;
  ZResult setNodeValue(const char* value) override;
  ZResult getNodeType(int* type) override;
  ZResult getParentNode(IDomNode** node) override;
  ZResult getChildNodes(IDomNodeList** list) override;
  ZResult getFirstChild(IDomNode** node) override;
  ZResult getLastChild(IDomNode** node) override;
  ZResult getPreviousSibling(IDomNode** node) override;
  ZResult getNextSibling(IDomNode** node) override;
  ZResult getAttributes(IDomNamedNodeMap** map) override;
  ZResult getOwnerDocument(IDomDocument** document) override;
  ZResult insertBefore(IDomNode* newChild, IDomNode* refChild, IDomNode** result) override;
  ZResult replaceChild(IDomNode* newChild, IDomNode* oldChild, IDomNode** result) override;
  ZResult removeChild(IDomNode* oldChild, IDomNode** result) override;
  ZResult appendChild(IDomNode* newChild, IDomNode** result) override;
  ZResult hasChildNodes(int* result) override;
  ZResult cloneNode(int deep, IDomNode** result) override;
  /* Merges the text children of every node of the subtree: the first Text
   * or CDATA section child of a node collects the data of all later text
   * children of that node, even across elements, and those are removed. So
   * afterwards a node has at most one text child. */
  ZResult normalize() override;
  ZResult isSupported(const char* feature, const char* version, int* result) override;
  /* Null with success: namespaces are not modelled. */
  ZResult getNamespaceURI(char** uri) override;
  ZResult getPrefix(char** prefix) override;
  ZResult setPrefix(const char* prefix) override;
  ZResult getLocalName(char** name) override;
  ZResult hasAttributes(int* result) override;

  // IDomNodeExt
  /* Writes the node and its subtree: elements as inline elements with their
   * attributes in name order, text as character data, CDATA sections
   * between startCDATA and endCDATA. */
  ZResult write(IXMLWriter* writer) override;

  // IDomNodeQUVInternal
  ZResult getDocumentId(ZobUUID* id) override;
  ZResult getNativeNode(Node** node) override;

  // Native forms
  virtual std::string getNodeName() const = 0;
  /* The attribute value or character data; "" for other nodes. */
  virtual std::string getNodeValue() const;
  /* zob::kDomNoModificationAllowed. */
  ZResult setNodeValue(const std::string& value);
  virtual int getNodeType() const = 0;
  /* The parent; null for an attribute, whose owner element is not its
   * parent. */
  Node* getParentNode() const;
  /* The live list of children, made on the first request; null when out
   * of memory. */
  ChildNodeList* getChildNodes();
  Node* getFirstChild() const { return firstChild_; }
  Node* getLastChild() const { return lastChild_; }
  Node* getPreviousSibling() const { return prev_; }
  Node* getNextSibling() const { return next_; }
  /* The attribute map of an element; null for other nodes. */
  virtual AttrNodeMap* getAttributes();
  /* The owning document (a document is its own); null once it is gone. */
  Document* getOwnerDocument() const;
  Node* insertBefore(Node* newChild, Node* refChild);
  zob::Ref<Node> replaceChild(Node* newChild, Node* oldChild);
  zob::Ref<Node> removeChild(Node* oldChild);
  Node* appendChild(Node* newChild);
  /* The same with the result code of the interface forms; a foreign
   * reference node is told by refIsForeign. */
  ZResult insertBeforeChecked(Node* newChild, Node* refChild, bool refIsForeign = false);
  ZResult replaceChildChecked(Node* newChild, Node* oldChild, bool oldIsForeign = false);
  ZResult removeChildChecked(Node* oldChild);
  /* Appends `child` at the end like insertBeforeChecked, handing the
   * caller's reference to it over to the tree on success (on failure the
   * caller keeps it). A builder's way to add a node just made: one without
   * parent or children of this node's document goes in without further
   * counting or searching. */
  ZResult appendHandingOver(Node* child);
  bool hasChildNodes() const { return firstChild_ != nullptr; }
  /* A copy in the same document without a parent; with `deep` the subtree
   * is copied too. An element's copy has copies of its attributes; a
   * document's copy is a new document (with its own identifier). Null when
   * out of memory. */
  zob::Ref<Node> cloneNode(bool deep) const;
  std::string getNamespaceURI() const { return std::string(); }
  std::string getPrefix() const { return std::string(); }
  std::string getLocalName() const { return std::string(); }
  virtual bool hasAttributes() const;

  /* The identifier of the document the node belongs to, or the null UUID
   * once the document is gone. */
  virtual util::EUUID getDocumentId() const;
  /* Whether this node accepts `child`'s type among its children. */
  virtual bool mayInsertNode(Node* child) const;

  /* The library's node behind an interface pointer, or null for a foreign
   * object. No reference is added. */
  static Node* fromInterface(zob::IUnknown* object);

 protected:
  explicit Node(util::WeakRefData* document);
  virtual ~Node();

  std::uint32_t nodeAddRef();
  std::uint32_t nodeRelease();

  /* What the node writes before and after its children. */
  virtual ZResult writeStart(IXMLWriter* writer);
  virtual ZResult writeEnd(IXMLWriter* writer);
  /* A copy without children belonging to `document`. */
  virtual zob::Ref<Node> cloneShallow(util::WeakRefData* document) const = 0;
  /* Moves the node (not its children) into `document`. */
  virtual void adoptDocument(util::WeakRefData* document);
  /* Releases what a dying node owns besides its children and next
   * sibling (which the sweep that frees it takes); called before it is
   * destroyed. */
  virtual void releaseOwned(NodeArena::ReleaseBatch& batch);

  /* Links `child` (without a parent) before `ref` (null: at the end); the
   * list takes a reference. */
  void linkBefore(Node* child, Node* ref);
  /* Unlinks `child`; the reference the list held passes to the caller. */
  Node* unlink(Node* child);
  bool isChild(const Node* node) const;

  util::WeakRefData* documentRef() const { return doc_; }
  /* The arena of the document `document` refers to; null once it is
   * gone. */
  static NodeArena* arenaOf(util::WeakRefData* document);

  friend class Attr;
  friend class Document;
  friend class Element;
  friend class Text;

 private:
  static void destroy(Node* node);
  static void sweep(Node* top, NodeArena::ReleaseBatch& batch);
  /* Drops the reference a dying tree held; true when it was the last. */
  bool dropTreeRef();
  /* Moves a subtree whose document is gone into `document`. */
  static void adoptSubtree(Node* root, util::WeakRefData* document);
  /* Points the node at `document`, counting it unless its block does. */
  void setDocument(util::WeakRefData* document);
  bool sameDocument(const Node* other) const;
  /* Whether `other` belongs to a document that is gone while this node's
   * lives. */
  bool needsAdoption(const Node* other) const;
  ZResult nodeOut(Node* node, IDomNode** out);

  volatile std::int32_t refs_;
  // The document's weak-reference data. A node placed in a block of that
  // document's storage shares the count the block holds on it; others
  // (allocated alone, moved in from a document that is gone) count it
  // themselves.
  bool docCounted_;
  util::WeakRefData* doc_;
  Node* parent_;
  Node* firstChild_;  // counted
  Node* lastChild_;
  Node* prev_;
  Node* next_;                // counted
  ChildNodeList* childList_;  // counted, made on first request
};

}  // namespace qor::quv::xml::dom

#endif
