/* qor::quv::xml::dom::ChildNodeList: the live list of a node's children
 * (IDomNodeList).
 *
 * The node makes its list on the first request and holds a reference to
 * it; the list points back at the node without one. item(index) walks the
 * sibling chain and getLength counts it, so the list always shows the
 * current children. When the node is destroyed the list is detached and
 * reports no items. Reference counted, starting at 0. One thread at a time,
 * like the tree.
 */
#ifndef KELP_XML_DOM_DOM_CHILDNODELIST_H
#define KELP_XML_DOM_DOM_CHILDNODELIST_H

#include <cstdint>

#include <kelp/kelp_api.h>
#include <kelp/xml/dom/dom_Interfaces.h>

namespace qor::quv::xml::dom {

class Node;

class KELP_API ChildNodeList : public IDomNodeList_Adapter {
 public:
  explicit ChildNodeList(Node* node);
  ChildNodeList(const ChildNodeList&) = delete;
  ChildNodeList& operator=(const ChildNodeList&) = delete;

  ZResult queryInterface(const char* iid, zob::IUnknown** out) override;
  std::uint32_t addRef() override;
  std::uint32_t release() override;

  ZResult item(int index, IDomNode** node) override;
  ZResult getLength(int* length) override;

  /* The child at `index`, or null when out of range or detached. */
  Node* item(int index) const;
  int getLength() const;
  /* The node whose children are listed; null once detached. */
  Node* getNode() const { return node_; }
  /* Called by the node when it is destroyed. */
  void detach() { node_ = nullptr; }

 protected:
  virtual ~ChildNodeList();

 private:
  Node* node_;
  volatile std::int32_t refs_;
};

}  // namespace qor::quv::xml::dom

#endif
