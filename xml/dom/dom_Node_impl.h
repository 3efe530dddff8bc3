// Helpers shared by the node classes; not part of the API.
#ifndef KELP_XML_DOM_DOM_NODE_IMPL_H
#define KELP_XML_DOM_DOM_NODE_IMPL_H

#include <string>

#include <zob/zob_mem.h>
#include <zob/zob_result.h>
#include <zob/zob_unknown.h>

#include <kelp/xml/dom/dom_Node.h>

namespace qor::quv::xml::dom::detail {

/* Hands out a zobStrDup copy of `text`. */
ZResult copyOut(const std::string& text, char** out);

inline const char* orEmpty(const char* s) {
  return s ? s : "";
}

/* Hands out `object` as interface I with a reference added (null stays
 * null). */
template <class I, class T>
ZResult interfaceOut(T* object, I** out) {
  if (!out) return zob::kInvalidArgument;
  *out = object ? static_cast<I*>(object) : nullptr;
  if (object) object->addRef();
  return zob::kOk;
}

/* Hands out a new object held in `ref` as interface I; out of memory when
 * `ref` is empty. */
template <class I, class R>
ZResult newOut(R ref, I** out) {
  if (!out) return zob::kInvalidArgument;
  *out = ref ? static_cast<I*>(ref.get()) : nullptr;
  if (!ref) return zob::kOutOfMemory;
  ref.detach();
  return zob::kOk;
}

/* The children an element or a document fragment may hold (the DOM's rule
 * for both): elements, text, CDATA sections, entity references, processing
 * instructions and comments. */
inline bool isContentChild(const Node* child) {
  switch (child ? child->getNodeType() : 0) {
    case kElementNode:
    case kTextNode:
    case kCDATASectionNode:
    case kEntityReferenceNode:
    case kProcessingInstructionNode:
    case kCommentNode:
      return true;
    default:
      return false;
  }
}

}  // namespace qor::quv::xml::dom::detail

#endif
