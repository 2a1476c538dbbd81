// The operations of documents and nodes that walk the tree with iterators and filters:
// owner fix-up on moves, the document's death and clone, linearize and findFromID.

#include <gtest/gtest.h>

#include "dom/xmxxo_doc.h"
#include "dom/xmxxo_elem.h"
#include "marl/marl.h"
#include "support/host_memory.h"
#include "support/document_fixture.h"

namespace {

class DocumentWalks : public DocumentTest {
 protected:

  MarlElement element(std::wstring const& name, MarlNode parent) {
    MarlElement made = document.createElement(name, L"");
    if (parent) parent.appendChild(made, 0);
    return made;
  }

  // True when every node of the subtree, `node` included, has `owner` as owner document.
  static bool allOwnedBy(MarlNode const& node, MarlNode const& owner) {
    if (static_cast<CUnknown*>(node.getOwnerDocument()) != static_cast<CUnknown*>(owner))
      return false;
    for (MarlNode child = node.getFirstChild(); child; child = child.getNext())
      if (!allOwnedBy(child, owner)) return false;
    return true;
  }

};

bool same(MarlNode const& x, MarlNode const& y) {
  return static_cast<CUnknown*>(x) == static_cast<CUnknown*>(y);
}

}  // namespace

// ---------------------------------------------------------------------------------------
// Owner documents of moved subtrees

TEST_F(DocumentWalks, AppendingASubtreeGivesEveryNodeInItTheOwnerDocument) {
  MarlElement top = element(L"top", MarlNode());
  MarlElement middle = element(L"middle", top);
  element(L"leaf", middle);
  middle.appendChild(document.createText(L"t"), 0);
  EXPECT_TRUE(allOwnedBy(top, MarlNode()));
  document.appendChild(top, 0);
  EXPECT_TRUE(allOwnedBy(top, document));
}

TEST_F(DocumentWalks, InsertingASubtreeBeforeASiblingGivesOnlyItTheOwnerDocument) {
  MarlElement root = element(L"root", document);
  MarlElement later = element(L"later", root);
  MarlDocument otherDocument = marl.createDocument();
  MarlElement foreign = otherDocument.createElement(L"foreign", L"");
  otherDocument.appendChild(foreign, 0);
  MarlElement inside = otherDocument.createElement(L"inside", L"");
  foreign.appendChild(inside, 0);
  ASSERT_TRUE(allOwnedBy(foreign, otherDocument));
  EXPECT_EQ(root.insertChild(foreign, later), unsigned(MarlNode::rcOK));
  EXPECT_TRUE(allOwnedBy(foreign, document));
  EXPECT_TRUE(allOwnedBy(document, document));
  EXPECT_EQ(otherDocument.numChildren(), 0u);
}

TEST_F(DocumentWalks, AMoveWithinOneDocumentNeedsNoMemory) {
  MarlElement root = element(L"root", document);
  MarlElement a = element(L"a", root);
  MarlElement b = element(L"b", root);
  testhost::AllocationFailure failure(0);
  EXPECT_EQ(root.appendChild(a, 0), unsigned(MarlNode::rcOK));
  EXPECT_EQ(root.insertChild(a, b), unsigned(MarlNode::rcOK));
  EXPECT_TRUE(same(root.getFirstChild(), a));
}

TEST_F(DocumentWalks, AppendChildPassesBadAllocOnAndLeavesTheTreeAsItWas) {
  MarlElement root = element(L"root", document);
  MarlElement loose = element(L"loose", MarlNode());
  element(L"below", loose);
  {
    testhost::AllocationFailure failure(0);
    EXPECT_THROW(root.appendChild(loose, 0), std::bad_alloc);
  }
  EXPECT_TRUE(loose.isRoot());
  EXPECT_EQ(root.numChildren(), 0u);
  EXPECT_TRUE(allOwnedBy(loose, MarlNode()));
}

TEST_F(DocumentWalks, InsertChildPassesBadAllocOnAndLeavesTheTreeAsItWas) {
  MarlElement root = element(L"root", document);
  MarlElement ref = element(L"ref", root);
  MarlDocument otherDocument = marl.createDocument();
  MarlElement foreign = otherDocument.createElement(L"foreign", L"");
  otherDocument.appendChild(foreign, 0);
  {
    testhost::AllocationFailure failure(0);
    EXPECT_THROW(root.insertChild(foreign, ref), std::bad_alloc);
  }
  EXPECT_TRUE(same(foreign.getParent(), otherDocument));
  EXPECT_TRUE(allOwnedBy(foreign, otherDocument));
  EXPECT_EQ(root.numChildren(), 1u);
}

// ---------------------------------------------------------------------------------------
// The document's death

TEST_F(DocumentWalks, AfterTheDocumentDiesASurvivingElementReadsAnEmptyOwnerDocument) {
  MarlElement root = element(L"root", document);
  MarlElement deep = element(L"deep", element(L"middle", root));
  document = static_cast<CMarlDocument const*>(nullptr);
  EXPECT_FALSE(deep.getOwnerDocument());
  EXPECT_FALSE(root.getOwnerDocument());
  EXPECT_TRUE(root.isRoot());
}

TEST_F(DocumentWalks, ADocumentDyingWithoutMemoryForAWalkStillLetsGoOfItsNodes) {
  MarlElement deep = element(L"deep", element(L"middle", element(L"root", document)));
  {
    testhost::AllocationFailure failure(0);
    document = static_cast<CMarlDocument const*>(nullptr);
  }
  EXPECT_FALSE(deep.getOwnerDocument());
}

TEST_F(DocumentWalks, ADocumentDyingAfterTheLibraryDoesNotBringTheLibraryBack) {
  MarlElement deep = element(L"deep", element(L"root", document));
  MarlDocument last = document;
  document = static_cast<CMarlDocument const*>(nullptr);
  marl = static_cast<CMarl const*>(nullptr);
  ASSERT_EQ(CMarlBase::c_pMarl, nullptr);
  last = static_cast<CMarlDocument const*>(nullptr);
  EXPECT_EQ(CMarlBase::c_pMarl, nullptr);
  EXPECT_FALSE(deep.getOwnerDocument());
}

// ---------------------------------------------------------------------------------------
// Clone

TEST_F(DocumentWalks, CloneOfADocumentHasAllOwnerDocumentFieldsPointingAtTheClone) {
  MarlElement root = element(L"root", document);
  element(L"leaf", element(L"middle", root));
  root.appendChild(document.createText(L"t"), 0);
  MarlDocument copy(document.clone(-1));
  ASSERT_TRUE(copy);
  EXPECT_TRUE(allOwnedBy(copy, copy));
  EXPECT_TRUE(allOwnedBy(document, document));
  ASSERT_TRUE(copy.getRootElement());
  EXPECT_FALSE(same(copy.getRootElement(), root));
  EXPECT_EQ(copy.getRootElement().getFirstChild().getFirstChild().getName(), L"leaf");
}

TEST_F(DocumentWalks, ACloneWithoutMemoryForItsOwnerWalkIsNoCloneAndLeaksNothing) {
  MarlElement root = element(L"root", document);
  element(L"leaf", root);
  long made = testhost::allocationsMade();
  MarlNode probe = document.clone(-1);
  ASSERT_TRUE(probe);
  long needed = testhost::allocationsMade() - made;
  probe = MarlNode();
  long before = testhost::outstandingBlocks();
  {
    // The walk over the copy is its last allocation.
    testhost::AllocationFailure failure(needed - 1);
    EXPECT_FALSE(document.clone(-1));
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

// ---------------------------------------------------------------------------------------
// linearize

TEST_F(DocumentWalks, AfterLinearizeTheGidsFollowDocumentOrderWithAttributesAfterTheirElement) {
  MarlElement root = element(L"root", document);
  root.setAttribute(L"first", L"", L"1");
  root.setAttribute(L"second", L"", L"2");
  MarlText text = document.createText(L"t");
  root.appendChild(text, 0);
  document.linearize();
  MarlNamedNodeMap attributes = root.getAttributes();
  unsigned int start = document.getGID();
  EXPECT_EQ(root.getGID(), start + 1);
  EXPECT_EQ(attributes.getItem(0).getGID(), start + 2);
  EXPECT_EQ(attributes.getItem(1).getGID(), start + 3);
  EXPECT_EQ(text.getGID(), start + 4);
}

TEST_F(DocumentWalks, LinearizeRenumbersWithFreshNumbers) {
  MarlElement root = element(L"root", document);
  unsigned int old = root.getGID();
  document.linearize();
  EXPECT_GT(document.getGID(), old);
  EXPECT_EQ(root.getGID(), document.getGID() + 1);
  MarlElement next = document.createElement(L"next", L"");
  EXPECT_EQ(next.getGID(), root.getGID() + 1);
}

TEST_F(DocumentWalks, LinearizeMakesNoAttributeMapForAnElementThatHasNone) {
  MarlElement root = element(L"root", document);
  MarlElement plain = element(L"plain", root);
  document.linearize();
  EXPECT_FALSE(plain._impl()->attributes);
  EXPECT_EQ(plain.getGID(), root.getGID() + 1);
}

TEST_F(DocumentWalks, LinearizeNumbersThePairsOfAParsedInstruction) {
  MarlPIParsed instruction = document.createPIParsed(L"style");
  instruction.setAttribute(L"href", L"a.css");
  document.appendChild(instruction, 0);
  MarlElement root = element(L"root", document);
  document.linearize();
  MarlNode pair = instruction.getAttributeNode(L"href");
  EXPECT_EQ(instruction.getGID(), document.getGID() + 1);
  EXPECT_EQ(pair.getGID(), document.getGID() + 2);
  EXPECT_EQ(root.getGID(), document.getGID() + 3);
}

TEST_F(DocumentWalks, LinearizeWithoutMemoryForItsWalkChangesNothing) {
  MarlElement root = element(L"root", document);
  unsigned int documentGid = document.getGID();
  unsigned int rootGid = root.getGID();
  {
    testhost::AllocationFailure failure(0);
    document.linearize();
  }
  EXPECT_EQ(document.getGID(), documentGid);
  EXPECT_EQ(root.getGID(), rootGid);
}

// ---------------------------------------------------------------------------------------
// findFromID

TEST_F(DocumentWalks, FindFromIdSearchesTheTreeAndCachesTheHit) {
  MarlElement root = element(L"root", document);
  element(L"before", root).setAttribute(L"id", L"", L"other");
  MarlElement target = element(L"target", root);
  target.setAttribute(L"id", L"", L"t1");
  ASSERT_EQ(document._impl()->idTable, nullptr);
  MarlElement found = document.findFromID(L"id", L"", L"t1");
  EXPECT_TRUE(same(found, target));
  ASSERT_NE(document._impl()->idTable, nullptr);
  EXPECT_NE(document._impl()->idTable->find(L"t1"), nullptr);
}

TEST_F(DocumentWalks, ASecondFindFromIdAnswersFromTheTable) {
  MarlElement root = element(L"root", document);
  MarlElement target = element(L"target", root);
  target.setAttribute(L"id", L"", L"t1");
  document.findFromID(L"id", L"", L"t1");
  // The tree no longer has the value; the table still does.
  target.setAttribute(L"id", L"", L"changed");
  target.removeNode();
  EXPECT_TRUE(same(document.findFromID(L"id", L"", L"t1"), target));
}

TEST_F(DocumentWalks, FindFromIdAnswersWhatTheParserEnteredWithoutSearching) {
  MarlElement entered = document.createElement(L"entered", L"");
  document.insertID(L"x", entered);
  EXPECT_TRUE(same(document.findFromID(L"id", L"", L"x"), entered));
}

TEST_F(DocumentWalks, FindFromIdGivesAnEmptyElementWhenNoNodeCarriesTheId) {
  MarlElement root = element(L"root", document);
  root.setAttribute(L"id", L"", L"a");
  EXPECT_FALSE(document.findFromID(L"id", L"", L"b"));
  EXPECT_FALSE(document.findFromID(L"key", L"", L"a"));
  ASSERT_NE(document._impl()->idTable, nullptr);
  EXPECT_EQ(document._impl()->idTable->size(), 0u);
}

TEST_F(DocumentWalks, FindFromIdMatchesTheSecondStringAsThePrefix) {
  MarlElement root = element(L"root", document);
  root.setAttributeNS(L"id", L"x", L"urn:x", L"v");
  EXPECT_FALSE(document.findFromID(L"id", L"urn:x", L"v"));
  EXPECT_TRUE(same(document.findFromID(L"id", L"x", L"v"), root));
}

TEST_F(DocumentWalks, FindFromIdGivesAnEmptyElementWhenTheFirstCarrierIsNoElement) {
  MarlPIParsed instruction = document.createPIParsed(L"pi");
  instruction.setAttribute(L"id", L"v");
  document.appendChild(instruction, 0);
  MarlElement root = element(L"root", document);
  root.setAttribute(L"id", L"", L"v");
  EXPECT_FALSE(document.findFromID(L"id", L"", L"v"));
}

TEST_F(DocumentWalks, FindFromIdGivesAnEmptyElementWhenMemoryRunsOut) {
  MarlElement root = element(L"root", document);
  root.setAttribute(L"id", L"", L"v");
  long before = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure(0);
    EXPECT_FALSE(document.findFromID(L"id", L"", L"v"));
  }
  EXPECT_EQ(document._impl()->idTable, nullptr);
  EXPECT_EQ(testhost::outstandingBlocks(), before);
  for (long step = 1; step < 4; ++step) {
    MarlDocument fresh = marl.createDocument();
    MarlElement carrier = fresh.createElement(L"carrier", L"");
    fresh.appendChild(carrier, 0);
    carrier.setAttribute(L"id", L"", L"v");
    testhost::AllocationFailure failure(step);
    EXPECT_FALSE(fresh.findFromID(L"id", L"", L"v")) << step;
  }
}
