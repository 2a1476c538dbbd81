#ifndef MARL_TESTS_DTD_DTD_FIXTURE_H
#define MARL_TESTS_DTD_DTD_FIXTURE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "dom/xmxxo_doc.h"
#include "dtd/xmxxo_atld.h"
#include "dtd/xmxxo_atrd.h"
#include "dtd/xmxxo_cdtd.h"
#include "dtd/xmxxo_cp.h"
#include "dtd/xmxxo_doct.h"
#include "dtd/xmxxo_eled.h"
#include "dtd/xmxxo_entd.h"
#include "dtd/xmxxo_entr.h"
#include "dtd/xmxxo_notd.h"
#include "kernel/xmxxi_marl.h"
#include "marl/marl.h"
#include "support/host_memory.h"
#include "support/library_state.h"

// Nodes numbered up to this one count as left over from an earlier library.
constexpr std::uint32_t c_staleGID = 1000;

// A library whose nodes above c_staleGID are current, a document, and a document type.
class DtdTest : public FreshLibrary {
 protected:
  void SetUp() override {
    FreshLibrary::SetUp();
    marl = Marl(CMarlBase::createCMarl(CMarlBase::Setup{0, c_staleGID}));
    document = marl.createDocument();
    type = document.createDocumentType(L"doc", L"");
  }
  void TearDown() override {
    type = static_cast<CMarlDocumentType const*>(nullptr);
    document = static_cast<CMarlDocument const*>(nullptr);
    marl = static_cast<CMarl const*>(nullptr);
    FreshLibrary::TearDown();
  }

  static bool answers(MarlNode const& node, unsigned int id) {
    return node._impl()->_queryInterface(id) == node._impl();
  }

  // Makes the node look as if it outlived the string cache its atoms came from.
  static void makeStale(MarlNode const& node) { node._impl()->GID = c_staleGID; }

  // Every child operation, with a node and with empty handles, answers rcNotSupported and
  // leaves the node childless.
  void expectChildrenRefused(MarlNode node) {
    MarlText child = document.createText(L"t");
    EXPECT_EQ(node.appendChild(child, 0), MarlNode::rcNotSupported);
    EXPECT_EQ(node.appendChild(child, 1), MarlNode::rcNotSupported);
    EXPECT_EQ(node.appendChild(MarlNode(), 0), MarlNode::rcNotSupported);
    EXPECT_EQ(node.insertChild(child, MarlNode()), MarlNode::rcNotSupported);
    EXPECT_EQ(node.insertChild(MarlNode(), MarlNode()), MarlNode::rcNotSupported);
    EXPECT_EQ(node.replaceChild(child, node), MarlNode::rcNotSupported);
    EXPECT_EQ(node.removeChild(child), MarlNode::rcNotSupported);
    EXPECT_EQ(node.numChildren(), 0u);
    EXPECT_FALSE(child.getParent());
  }

  // Runs `create` once to put its names into the string cache, then again with the first,
  // second, ... allocation failing until it succeeds. Each failing run must give an empty
  // handle and leave no block behind.
  template <class Create>
  static void expectEmptyAndNoLeakOnEveryFailure(Create create) {
    ASSERT_TRUE(static_cast<CUnknown*>(create()));
    for (long failAt = 0; failAt < 64; ++failAt) {
      long before = testhost::outstandingBlocks();
      bool made;
      {
        testhost::AllocationFailure failure(failAt);
        made = static_cast<CUnknown*>(create()) != nullptr;
      }
      EXPECT_EQ(testhost::outstandingBlocks(), before) << "allocation " << failAt;
      if (made) return;
    }
    ADD_FAILURE() << "never succeeded";
  }

  Marl marl;
  MarlDocument document;
  MarlDocumentType type;
};

#endif
