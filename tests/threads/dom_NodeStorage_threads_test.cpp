// Nodes that share storage blocks, made by one document on one thread and
// released on several threads at once: every block is freed exactly once,
// after the last of its nodes (the sanitizers see a double free or a leak).
#include <kelp/xml/dom/dom_Document.h>
#include <kelp/xml/dom/dom_Element.h>
#include <kelp/xml/dom/dom_Text.h>

#include <gtest/gtest.h>

#include <latch>
#include <string>
#include <thread>
#include <vector>

using namespace qor::quv::xml::dom;

namespace {

constexpr int kThreads = 4;
constexpr int kNodesPerThread = 3000;

}  // namespace

TEST(DomNodeStorageThreads, NodesOfOneBlockReleasedOnManyThreads) {
  // Node i goes to thread i % kThreads, so each block holds nodes of every
  // thread.
  std::vector<std::vector<zob::Ref<Node>>> perThread(kThreads);
  zob::Ref<Document> doc = Document::create();
  for (int i = 0; i < kThreads * kNodesPerThread; ++i) {
    zob::Ref<Node> n;
    if (i % 2) {
      zob::Ref<Element> e = doc->createElement("e");
      ASSERT_EQ(e->setAttribute(std::string("a"), std::to_string(i)), zob::kOk);
      n = zob::Ref<Node>(e.get());
    } else {
      n = zob::Ref<Node>(doc->createTextNode(std::to_string(i)).get());
    }
    perThread[static_cast<std::size_t>(i % kThreads)].push_back(n);
  }
  // The document goes first: its share of the blocks with it.
  doc.reset();
  std::latch start(kThreads);
  std::vector<int> intact(kThreads, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&, t] {
      std::vector<zob::Ref<Node>>& mine = perThread[static_cast<std::size_t>(t)];
      int ok = 0;
      for (std::size_t k = 0; k < mine.size(); ++k) {
        const std::string i = std::to_string(static_cast<int>(k) * kThreads + t);
        Node* n = mine[k].get();
        if (n->getNodeType() == qor::quv::xml::kElementNode)
          ok += static_cast<Element*>(n)->getAttribute(std::string("a")) == i;
        else
          ok += static_cast<Text*>(n)->getData() == i;
      }
      intact[static_cast<std::size_t>(t)] = ok;
      start.arrive_and_wait();
      mine.clear();
    });
  for (std::thread& th : threads) th.join();
  for (int t = 0; t < kThreads; ++t)
    EXPECT_EQ(intact[static_cast<std::size_t>(t)], kNodesPerThread);
}
