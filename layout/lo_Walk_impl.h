// The depth-first block walk shared by the formatters. It keeps its own
// stack of open environments, so nesting depth is bounded by memory, not
// by the call stack.
#ifndef KELP_LAYOUT_LO_WALK_IMPL_H
#define KELP_LAYOUT_LO_WALK_IMPL_H

#include <cstddef>
#include <ostream>
#include <vector>

#include <kelp/layout/lo_Document.h>
#include <kelp/util/utl_Logger.h>

namespace qor::quv::layout::detail {

/* Writes block and everything in it through fmt: open(block), then a
 * paragraph's atoms or an environment's children in order, then
 * close(block). A null block is reported and skipped. False as soon as a
 * step fails. */
template <class Fmt>
bool walkBlocks(Fmt& fmt, std::ostream& stream, Block* block) {
  struct Frame {
    EnvBlock* env;
    std::size_t next;
  };
  std::vector<Frame> open;
  for (;;) {
    Block* tEnv = block;
    if (QUV_ASSERT(fmt.getApplication(), tEnv != 0)) {
      if (!fmt.open(stream, tEnv)) return false;
      if (isParagraphType(tEnv->getType())) {
        for (const Atom& atom : static_cast<ParaBlock*>(tEnv)->getAtoms())
          if (!fmt.format(stream, atom)) return false;
        if (!fmt.close(stream, tEnv)) return false;
      } else {
        open.push_back({static_cast<EnvBlock*>(tEnv), 0});
      }
    }
    // On to the next block: the next child of the innermost environment
    // that has one left, closing the environments done on the way.
    block = nullptr;
    bool found = false;
    while (!open.empty() && !found) {
      Frame& top = open.back();
      const std::vector<Block*>& children = top.env->getBlocks();
      if (top.next < children.size()) {
        block = children[top.next++];
        found = true;
      } else {
        EnvBlock* done = top.env;
        open.pop_back();
        if (!fmt.close(stream, done)) return false;
      }
    }
    if (!found) return !stream.fail();
  }
}

}  // namespace qor::quv::layout::detail

#endif
