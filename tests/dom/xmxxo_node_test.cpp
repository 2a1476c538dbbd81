#include "dom/xmxxo_node.h"

#include <gtest/gtest.h>

#include "dom/xmxxo_doc.h"
#include "dom/xmxxo_elem.h"
#include "marl/marl.h"
#include "support/host_memory.h"
#include "support/document_fixture.h"

namespace {

class NodeCore : public DocumentTest {
 protected:

  MarlElement element(std::wstring const& name) { return document.createElement(name, L""); }

  // The names of the children, in order.
  static std::wstring childNames(MarlNode const& parent) {
    std::wstring names;
    for (MarlNode child = parent.getFirstChild(); child; child = child.getNext()) {
      if (!names.empty()) names += L",";
      names += child.getName();
    }
    return names;
  }

};

}  // namespace

TEST_F(NodeCore, ANewNodeStandsAlone) {
  MarlElement a = element(L"a");
  EXPECT_TRUE(a.isRoot());
  EXPECT_TRUE(a.isLeaf());
  EXPECT_EQ(a.numChildren(), 0u);
  EXPECT_FALSE(a.getParent());
  EXPECT_FALSE(a.getOwnerDocument());
}

TEST_F(NodeCore, EveryNodeTakesTheNextNumber) {
  MarlElement a = element(L"a");
  MarlElement b = element(L"b");
  EXPECT_EQ(b.getGID(), a.getGID() + 1);
}

TEST_F(NodeCore, AppendChildLinksAtTheEndAndAdoptsIntoTheDocument) {
  MarlElement root = element(L"root");
  ASSERT_EQ(document.appendChild(root, 0), MarlNode::rcOK);
  EXPECT_EQ(static_cast<CUnknown*>(root.getOwnerDocument()), static_cast<CUnknown*>(document));
  MarlElement a = element(L"a");
  MarlElement b = element(L"b");
  MarlText text = document.createText(L"t");
  a.appendChild(text, 0);
  root.appendChild(a, 0);
  root.appendChild(b, 0);
  EXPECT_EQ(childNames(root), L"a,b");
  EXPECT_EQ(root.numChildren(), 2u);
  EXPECT_EQ(static_cast<CUnknown*>(text.getOwnerDocument()), static_cast<CUnknown*>(document));
  EXPECT_EQ(static_cast<CUnknown*>(b.getPrev()), static_cast<CUnknown*>(a));
  EXPECT_EQ(static_cast<CUnknown*>(root.getLastChild()), static_cast<CUnknown*>(b));
}

TEST_F(NodeCore, AppendChildOfAnEmptyHandleIsABadArgument) {
  MarlElement root = element(L"root");
  EXPECT_EQ(root.appendChild(MarlNode(), 0), MarlNode::rcBadArgument);
}

TEST_F(NodeCore, AppendingTheLastChildAgainChangesNothingVisible) {
  MarlElement root = element(L"root");
  root.appendChild(element(L"a"), 0);
  MarlElement b = element(L"b");
  root.appendChild(b, 0);
  EXPECT_EQ(root.appendChild(b, 0), MarlNode::rcOK);
  EXPECT_EQ(childNames(root), L"a,b");
  EXPECT_EQ(root.numChildren(), 2u);
}

TEST_F(NodeCore, AppendChildMovesANodeFromItsFormerParent) {
  MarlElement first = element(L"first");
  MarlElement second = element(L"second");
  MarlElement child = element(L"child");
  first.appendChild(child, 0);
  second.appendChild(child, 0);
  EXPECT_EQ(first.numChildren(), 0u);
  EXPECT_FALSE(first.getFirstChild());
  EXPECT_EQ(static_cast<CUnknown*>(child.getParent()), static_cast<CUnknown*>(second));
}

TEST_F(NodeCore, FastAppendTakesTheOwnerForTheNodeAlone) {
  MarlElement root = element(L"root");
  document.appendChild(root, 0);
  MarlElement child = element(L"child");
  MarlText text = document.createText(L"x");
  child.appendChild(text, 0);
  root.appendChild(child, 1);
  EXPECT_EQ(static_cast<CUnknown*>(child.getOwnerDocument()), static_cast<CUnknown*>(document));
  EXPECT_FALSE(text.getOwnerDocument());
}

TEST_F(NodeCore, AppendingAFragmentMovesItsChildrenInOrderAndEmptiesIt) {
  MarlElement root = element(L"root");
  MarlDocumentFragment fragment = document.createDocumentFragment();
  fragment.appendChild(element(L"a"), 0);
  fragment.appendChild(element(L"b"), 0);
  fragment.appendChild(element(L"c"), 0);
  EXPECT_EQ(root.appendChild(fragment, 0), MarlNode::rcOK);
  EXPECT_EQ(childNames(root), L"a,b,c");
  EXPECT_EQ(fragment.numChildren(), 0u);
  EXPECT_FALSE(fragment.getFirstChild());
  EXPECT_FALSE(fragment.getParent());
}

TEST_F(NodeCore, InsertChildOfANodeBeforeItselfIsABadArgument) {
  MarlElement root = element(L"root");
  MarlElement a = element(L"a");
  root.appendChild(a, 0);
  EXPECT_EQ(root.insertChild(a, a), MarlNode::rcBadArgument);
  EXPECT_EQ(root.insertChild(MarlNode(), MarlNode()), MarlNode::rcBadArgument);
  EXPECT_EQ(childNames(root), L"a");
}

TEST_F(NodeCore, InsertChildBeforeAStrangerDetachesTheChildAndReportsNotChild) {
  MarlElement root = element(L"root");
  MarlElement child = element(L"child");
  root.appendChild(child, 0);
  MarlElement stranger = element(L"stranger");
  element(L"elsewhere").appendChild(stranger, 0);
  EXPECT_EQ(root.insertChild(child, stranger), MarlNode::rcNotChild);
  EXPECT_FALSE(child.getParent());
  EXPECT_EQ(root.numChildren(), 0u);
}

TEST_F(NodeCore, InsertChildBeforeAnEmptyReferenceAppends) {
  MarlElement root = element(L"root");
  root.appendChild(element(L"a"), 0);
  EXPECT_EQ(root.insertChild(element(L"b"), MarlNode()), MarlNode::rcOK);
  EXPECT_EQ(childNames(root), L"a,b");
}

TEST_F(NodeCore, InsertChildPutsTheNodeBeforeTheReference) {
  MarlElement root = element(L"root");
  MarlElement a = element(L"a");
  MarlElement c = element(L"c");
  root.appendChild(a, 0);
  root.appendChild(c, 0);
  EXPECT_EQ(root.insertChild(element(L"b"), c), MarlNode::rcOK);
  EXPECT_EQ(root.insertChild(element(L"first"), a), MarlNode::rcOK);
  EXPECT_EQ(childNames(root), L"first,a,b,c");
  EXPECT_EQ(root.getFirstChild().getName(), L"first");
  EXPECT_EQ(root.getLastChild().getName(), L"c");
}

TEST_F(NodeCore, InsertingAFragmentMovesItsChildrenBeforeTheReference) {
  MarlElement root = element(L"root");
  MarlElement z = element(L"z");
  root.appendChild(z, 0);
  MarlDocumentFragment fragment = document.createDocumentFragment();
  fragment.appendChild(element(L"a"), 0);
  fragment.appendChild(element(L"b"), 0);
  EXPECT_EQ(root.insertChild(fragment, z), MarlNode::rcOK);
  EXPECT_EQ(childNames(root), L"a,b,z");
  EXPECT_EQ(fragment.numChildren(), 0u);
}

TEST_F(NodeCore, InsertChildAdoptsTheSubtreeIntoTheDocument) {
  MarlElement root = element(L"root");
  document.appendChild(root, 0);
  MarlElement child = element(L"child");
  MarlText text = document.createText(L"x");
  child.appendChild(text, 0);
  root.insertChild(child, MarlNode());
  EXPECT_EQ(static_cast<CUnknown*>(text.getOwnerDocument()), static_cast<CUnknown*>(document));
}

TEST_F(NodeCore, ReplaceChildOfANodeByItselfIsABadArgument) {
  MarlElement root = element(L"root");
  MarlElement a = element(L"a");
  root.appendChild(a, 0);
  EXPECT_EQ(root.replaceChild(a, a), MarlNode::rcBadArgument);
  EXPECT_EQ(root.replaceChild(MarlNode(), a), MarlNode::rcBadArgument);
  EXPECT_EQ(root.replaceChild(a, MarlNode()), MarlNode::rcBadArgument);
}

TEST_F(NodeCore, ReplaceChildPutsTheNewNodeInTheOldOnesPlace) {
  MarlElement root = element(L"root");
  MarlElement old = element(L"old");
  root.appendChild(element(L"a"), 0);
  root.appendChild(old, 0);
  root.appendChild(element(L"c"), 0);
  EXPECT_EQ(root.replaceChild(element(L"new"), old), MarlNode::rcOK);
  EXPECT_EQ(childNames(root), L"a,new,c");
  EXPECT_FALSE(old.getParent());
}

TEST_F(NodeCore, ReplaceChildOfANonChildReportsNotChild) {
  MarlElement root = element(L"root");
  EXPECT_EQ(root.replaceChild(element(L"new"), element(L"stranger")), MarlNode::rcNotChild);
}

TEST_F(NodeCore, RemoveChildDetachesAndTheNodeLivesOn) {
  MarlElement root = element(L"root");
  MarlElement a = element(L"a");
  root.appendChild(a, 0);
  root.appendChild(element(L"b"), 0);
  EXPECT_EQ(root.removeChild(a), MarlNode::rcOK);
  EXPECT_EQ(childNames(root), L"b");
  EXPECT_FALSE(a.getParent());
  EXPECT_FALSE(a.getNext());
  EXPECT_EQ(a.getName(), L"a");
  EXPECT_EQ(root.removeChild(a), MarlNode::rcNotChild);
  EXPECT_EQ(root.removeChild(MarlNode()), MarlNode::rcBadArgument);
}

TEST_F(NodeCore, ARemovedNodeKeepsItsOwnerDocument) {
  MarlElement root = element(L"root");
  document.appendChild(root, 0);
  document.removeChild(root);
  EXPECT_EQ(static_cast<CUnknown*>(root.getOwnerDocument()), static_cast<CUnknown*>(document));
}

TEST_F(NodeCore, NothingChecksTheShapeOfTheTree) {
  MarlElement first = element(L"first");
  MarlElement second = element(L"second");
  EXPECT_EQ(document.appendChild(first, 0), MarlNode::rcOK);
  EXPECT_EQ(document.appendChild(second, 0), MarlNode::rcOK);
  EXPECT_EQ(document.numChildren(), 2u);
  EXPECT_EQ(static_cast<CUnknown*>(document.getRootElement()), static_cast<CUnknown*>(first));
}

TEST_F(NodeCore, RemoveNodeLeavesEachChildAloneWithItsOwnChildren) {
  MarlElement root = element(L"root");
  MarlElement node = element(L"node");
  MarlElement a = element(L"a");
  MarlElement grandchild = element(L"g");
  a.appendChild(grandchild, 0);
  node.appendChild(a, 0);
  node.appendChild(element(L"b"), 0);
  root.appendChild(node, 0);
  node.removeNode();
  EXPECT_EQ(root.numChildren(), 0u);
  EXPECT_EQ(node.numChildren(), 0u);
  EXPECT_FALSE(node.getParent());
  EXPECT_FALSE(a.getParent());
  EXPECT_EQ(static_cast<CUnknown*>(grandchild.getParent()), static_cast<CUnknown*>(a));
}

TEST_F(NodeCore, RemoveNodeOfAnAttributeTakesItFromItsElement) {
  MarlElement owner = element(L"e");
  owner.setAttribute(L"x", L"", L"1");
  MarlAttribute attribute = owner.getAttributeNode(L"x", L"");
  ASSERT_TRUE(attribute);
  attribute.removeNode();
  EXPECT_FALSE(owner.getAttributeNode(L"x", L""));
}

TEST_F(NodeCore, PositionsReadBackAsSet) {
  MarlElement a = element(L"a");
  a.setPosition(10, 5);
  EXPECT_EQ(a.getLine(), 10u);
  EXPECT_EQ(a.getColumn(), 5u);
}

TEST_F(NodeCore, ALongColumnOnAShortLineIsKeptBySwappingTheFields) {
  MarlElement a = element(L"a");
  a.setPosition(3, 1000);
  EXPECT_EQ(a.getLine(), 3u);
  EXPECT_EQ(a.getColumn(), 1000u);
}

TEST_F(NodeCore, ALongColumnOnALongLineIsCutToNineBits) {
  MarlElement a = element(L"a");
  a.setPosition(600, 1000);
  EXPECT_EQ(a.getLine(), 600u);
  EXPECT_EQ(a.getColumn(), 488u);
}

TEST_F(NodeCore, ALineBeyondTwentyOneBitsIsCut) {
  MarlElement a = element(L"a");
  a.setPosition(2097153, 0);
  EXPECT_EQ(a.getLine(), 1u);
  EXPECT_EQ(a.getColumn(), 0u);
}

TEST_F(NodeCore, ANodeWithoutPositionReadsItsParents) {
  MarlElement root = element(L"root");
  MarlElement child = element(L"child");
  root.appendChild(child, 0);
  EXPECT_EQ(root.getLine(), 0u);
  EXPECT_EQ(root.getColumn(), 0u);
  root.setPosition(7, 3);
  EXPECT_EQ(child.getLine(), 7u);
  EXPECT_EQ(child.getColumn(), 3u);
}

TEST_F(NodeCore, SetLineAndSetColumnKeepTheOtherField) {
  MarlElement a = element(L"a");
  a.setPosition(4, 9);
  a.setLine(5);
  EXPECT_EQ(a.getLine(), 5u);
  EXPECT_EQ(a.getColumn(), 9u);
  a.setColumn(11);
  EXPECT_EQ(a.getLine(), 5u);
  EXPECT_EQ(a.getColumn(), 11u);
}

// The raw fields are taken for line and column whatever the swap bit says.
TEST_F(NodeCore, SetLineOnASwappedNodeTakesTheRawNarrowFieldForTheColumn) {
  MarlElement a = element(L"a");
  a.setPosition(3, 1000);
  a.setLine(4);
  EXPECT_EQ(a.getLine(), 4u);
  EXPECT_EQ(a.getColumn(), 3u);
}

TEST_F(NodeCore, HeightCountsAncestorsAndDepthCountsLevelsBelow) {
  EXPECT_EQ(document.getHeight(), 0u);
  MarlElement root = element(L"root");
  document.appendChild(root, 0);
  root.appendChild(document.createText(L"t"), 0);
  EXPECT_EQ(document.getDepth(), 2u);
  EXPECT_EQ(root.getHeight(), 1u);
  EXPECT_EQ(root.getFirstChild().getHeight(), 2u);
  EXPECT_EQ(root.getFirstChild().getDepth(), 0u);
}

TEST_F(NodeCore, GetRootWalksToTheTop) {
  MarlElement root = element(L"root");
  MarlElement child = element(L"child");
  root.appendChild(child, 0);
  EXPECT_EQ(static_cast<CUnknown*>(child.getRoot()), static_cast<CUnknown*>(root));
  EXPECT_EQ(static_cast<CUnknown*>(root.getRoot()), static_cast<CUnknown*>(root));
}

TEST_F(NodeCore, ANodeIsItsOwnAncestorAndAnEmptyHandleIsEveryones) {
  MarlElement root = element(L"root");
  MarlElement child = element(L"child");
  root.appendChild(child, 0);
  EXPECT_TRUE(child.hasAncestor(child));
  EXPECT_TRUE(child.hasAncestor(root));
  EXPECT_TRUE(child.hasAncestor(MarlNode()));
  EXPECT_FALSE(root.hasAncestor(child));
  EXPECT_FALSE(MarlNode().hasAncestor(root));
}

TEST_F(NodeCore, FindFromGidToDepthOneSearchesTheChildrenOnly) {
  MarlElement root = element(L"root");
  MarlElement child = element(L"child");
  MarlElement grandchild = element(L"grandchild");
  root.appendChild(child, 0);
  child.appendChild(grandchild, 0);
  EXPECT_EQ(static_cast<CUnknown*>(root.findFromGID(root.getGID(), 1)), static_cast<CUnknown*>(root));
  EXPECT_EQ(static_cast<CUnknown*>(root.findFromGID(child.getGID(), 1)), static_cast<CUnknown*>(child));
  EXPECT_FALSE(root.findFromGID(grandchild.getGID(), 1));
  EXPECT_EQ(static_cast<CUnknown*>(root.findFromGID(grandchild.getGID(), 0)),
            static_cast<CUnknown*>(grandchild));
  EXPECT_FALSE(root.findFromGID(999999, 0));
}

TEST_F(NodeCore, FindFromGidDoesNotSearchAttributes) {
  MarlElement root = element(L"root");
  root.setAttribute(L"a", L"", L"v");
  MarlAttribute attribute = root.getAttributeNode(L"a", L"");
  EXPECT_FALSE(root.findFromGID(attribute.getGID(), 0));
}

TEST_F(NodeCore, ATextNodeRefusesChildrenEvenAnEmptyOne) {
  MarlText text = document.createText(L"t");
  EXPECT_EQ(text.appendChild(MarlNode(), 0), MarlNode::rcNotSupported);
  EXPECT_EQ(text.appendChild(element(L"a"), 0), MarlNode::rcNotSupported);
}

TEST_F(NodeCore, CloneToDepthZeroCopiesTheNodeAlone) {
  MarlElement root = element(L"root");
  MarlElement child = element(L"child");
  child.appendChild(element(L"grandchild"), 0);
  root.appendChild(child, 0);
  MarlNode copy = root.clone(0);
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy.getName(), L"root");
  EXPECT_EQ(copy.numChildren(), 0u);
  EXPECT_NE(copy.getGID(), root.getGID());
}

TEST_F(NodeCore, CloneToDepthOneCopiesTheChildrenWithoutTheirs) {
  MarlElement root = element(L"root");
  MarlElement child = element(L"child");
  child.appendChild(element(L"grandchild"), 0);
  root.appendChild(child, 0);
  MarlNode copy = root.clone(1);
  ASSERT_EQ(copy.numChildren(), 1u);
  EXPECT_EQ(copy.getFirstChild().getName(), L"child");
  EXPECT_EQ(copy.getFirstChild().numChildren(), 0u);
}

TEST_F(NodeCore, CloneToANegativeDepthCopiesEverything) {
  MarlElement root = element(L"root");
  MarlElement child = element(L"child");
  child.appendChild(element(L"grandchild"), 0);
  root.appendChild(child, 0);
  root.setPosition(3, 4);
  MarlNode copy = root.clone(-1);
  EXPECT_EQ(copy.getDepth(), 2u);
  EXPECT_EQ(copy.getFirstChild().getFirstChild().getName(), L"grandchild");
  EXPECT_EQ(copy.getLine(), 0u);
  EXPECT_FALSE(copy.getParent());
  EXPECT_FALSE(copy.getOwnerDocument());
}

TEST_F(NodeCore, ACloneThatRunsOutOfMemoryIsEmptyAndLeaksNothing) {
  MarlElement root = element(L"root");
  for (int i = 0; i < 5; ++i) root.appendChild(element(L"child"), 0);
  long before = testhost::outstandingBlocks();
  long allocationsBefore = testhost::allocationsMade();
  root.clone(-1);
  long needed = testhost::allocationsMade() - allocationsBefore;
  ASSERT_EQ(needed, 6);
  for (long failAt = 0; failAt < needed; ++failAt) {
    testhost::AllocationFailure failure(failAt);
    MarlNode copy = root.clone(-1);
    EXPECT_FALSE(copy) << "allocation " << failAt;
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST_F(NodeCore, DroppingAParentOfManyChildrenDoesNotRecurseAlongTheSiblings) {
  element(L"root");
  element(L"c");  // the names are in the string cache before counting starts
  long before = testhost::outstandingBlocks();
  {
    MarlElement root = element(L"root");
    for (int i = 0; i < 1000000; ++i) root.appendChild(element(L"c"), 1);
    EXPECT_EQ(root.numChildren(), 1000000u);
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST_F(NodeCore, AChildHeldOutsideSurvivesItsParentAsARootWithItsSubtree) {
  MarlElement child = element(L"child");
  child.appendChild(element(L"grandchild"), 0);
  MarlElement sibling = element(L"sibling");
  {
    MarlElement root = element(L"root");
    root.appendChild(child, 0);
    root.appendChild(sibling, 0);
  }
  EXPECT_TRUE(child.isRoot());
  EXPECT_FALSE(child.getNext());
  EXPECT_FALSE(sibling.getPrev());
  EXPECT_EQ(child.getFirstChild().getName(), L"grandchild");
}

TEST_F(NodeCore, AHandleOnAChildKeepsItsEarlierSiblingsButNotItsParent) {
  MarlElement last = element(L"b");
  MarlNode first;
  {
    MarlElement root = element(L"root");
    root.appendChild(element(L"a"), 0);
    root.appendChild(last, 0);
    first = last.getPrev();
  }
  ASSERT_TRUE(first);
  EXPECT_TRUE(last.isRoot());
  EXPECT_FALSE(last.getPrev());
  EXPECT_FALSE(first.getNext());
  EXPECT_EQ(first.getName(), L"a");
}

TEST_F(NodeCore, ADroppedParentLetsGoOfChildrenNobodyElseHolds) {
  std::uint32_t before = CMarlBase::instance().liveObjects;
  {
    MarlElement root = element(L"root");
    root.appendChild(element(L"a"), 0);
    root.appendChild(element(L"b"), 0);
    EXPECT_EQ(CMarlBase::instance().liveObjects, before + 3);
  }
  EXPECT_EQ(CMarlBase::instance().liveObjects, before);
}

TEST_F(NodeCore, NodeHandlesConvertOnlyToTheirOwnKinds) {
  MarlNode text = document.createText(L"t");
  std::uint32_t count = text._impl()->getRefCount();
  MarlElement asElement(text);
  EXPECT_FALSE(asElement);
  EXPECT_EQ(text._impl()->getRefCount(), count);
  MarlText asText(text);
  EXPECT_TRUE(asText);
  EXPECT_FALSE(MarlNode(static_cast<CUnknown*>(nullptr)));
  EXPECT_FALSE(MarlElement(MarlNode()));
}

TEST_F(NodeCore, SettersOfTheNodeCoreAreNotSupported) {
  MarlDocumentFragment fragment = document.createDocumentFragment();
  EXPECT_EQ(fragment.setName(L"x"), MarlNode::rcNotSupported);
  EXPECT_EQ(fragment.setNamespacePrefix(L"x"), MarlNode::rcNotSupported);
  EXPECT_EQ(fragment.setNamespace(L"x"), MarlNode::rcNotSupported);
  EXPECT_EQ(fragment.setNamespaceURI(L"x"), MarlNode::rcNotSupported);
  EXPECT_EQ(fragment.setValue(L"x"), MarlNode::rcNotSupported);
  EXPECT_EQ(fragment.getValue(), L"");
  std::wstring value = L"stale";
  fragment.getValue(value);
  EXPECT_EQ(value, L"");
  EXPECT_FALSE(fragment.getAttributes());
  EXPECT_FALSE(fragment.getNamespaceContext());
}

TEST_F(NodeCore, GetNamespaceForwardsToThePrefixNotTheUri) {
  MarlElement e = document.createElementNS(L"e", L"p", L"urn:u");
  EXPECT_EQ(e.getNamespace(), L"p");
  EXPECT_EQ(e.setNamespace(L"q"), MarlNode::rcOK);
  EXPECT_EQ(e.getNamespacePrefix(), L"q");
  EXPECT_EQ(e.getNamespaceURI(), L"urn:u");
}

TEST(CompareName, AWantedStringStartingWithAStarMatchesAnything) {
  EXPECT_TRUE(compareName(L"a", L"urn:x", L"*", L"*"));
  EXPECT_TRUE(compareName(L"a", L"", L"*anything", L""));
  EXPECT_TRUE(compareName(L"a", L"urn:x", L"a", L"*"));
}

TEST(CompareName, OtherwiseBothMustBeEqual) {
  EXPECT_TRUE(compareName(L"a", L"urn:x", L"a", L"urn:x"));
  EXPECT_FALSE(compareName(L"a", L"urn:x", L"b", L"urn:x"));
  EXPECT_FALSE(compareName(L"a", L"urn:x", L"a", L"urn:y"));
  EXPECT_FALSE(compareName(L"ab", L"", L"a", L""));
}

TEST(CompareName, AnEmptyWantedUriMatchesOnlyAnEmptyUri) {
  EXPECT_TRUE(compareName(L"a", L"", L"a", L""));
  EXPECT_FALSE(compareName(L"a", L"urn:x", L"a", L""));
}

// ---------------------------------------------------------------------------------------
// Trees deeper than the call stack could follow: each walk must keep to the links.

namespace {

constexpr unsigned int c_chainLength = 100000;

class DeepTree : public NodeCore {
 protected:
  // Hangs `length` elements named "a" below `top`, each the only child of the one before,
  // and gives the deepest.
  MarlNode chainBelow(MarlNode const& top, unsigned int length) {
    MarlNode deepest = top;
    for (unsigned int i = 0; i < length; ++i) {
      MarlElement next = element(L"a");
      deepest.appendChild(next, 0);
      deepest = next;
    }
    return deepest;
  }
};

}  // namespace

TEST_F(DeepTree, DroppingAChainAHundredThousandDeepFreesEveryNode) {
  element(L"a");  // the name is in the string cache before counting starts
  long before = testhost::outstandingBlocks();
  {
    MarlElement top = element(L"a");
    chainBelow(top, c_chainLength - 1);
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST_F(DeepTree, NodesHeldOutsideSurviveTheTeardownOfADeepChainAsRoots) {
  MarlNode middle;
  MarlNode deepest;
  {
    MarlElement top = element(L"a");
    middle = chainBelow(top, c_chainLength / 2);
    deepest = chainBelow(middle, c_chainLength / 2 - 1);
  }
  EXPECT_TRUE(middle.isRoot());
  EXPECT_EQ(middle.getDepth(), c_chainLength / 2 - 1);
  EXPECT_EQ(deepest.getHeight(), c_chainLength / 2 - 1);
  EXPECT_EQ(static_cast<CUnknown*>(deepest.getRoot()), static_cast<CUnknown*>(middle));
}

TEST_F(DeepTree, ADocumentHoldingADeepChainLetsItGoWhenItDies) {
  element(L"a");
  MarlNode deepest;
  long before = testhost::outstandingBlocks();
  {
    MarlDocument holder = marl.createDocument();
    MarlElement top = element(L"a");
    holder.appendChild(top, 0);
    deepest = chainBelow(top, c_chainLength - 1);
    EXPECT_EQ(static_cast<CUnknown*>(deepest.getOwnerDocument()), static_cast<CUnknown*>(holder));
  }
  EXPECT_TRUE(deepest.isRoot());
  EXPECT_FALSE(deepest.getOwnerDocument());
  deepest = static_cast<CMarlNode const*>(nullptr);
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST_F(DeepTree, DepthAndHeightMeasureAChainAHundredThousandDeep) {
  MarlElement top = element(L"a");
  document.appendChild(top, 0);
  MarlNode deepest = chainBelow(top, c_chainLength - 1);
  EXPECT_EQ(top.getDepth(), c_chainLength - 1);
  EXPECT_EQ(document.getDepth(), c_chainLength);
  EXPECT_EQ(deepest.getHeight(), c_chainLength);
  EXPECT_EQ(deepest.getDepth(), 0u);
  EXPECT_EQ(static_cast<CUnknown*>(deepest.getRoot()), static_cast<CUnknown*>(document));
  EXPECT_TRUE(deepest.hasAncestor(top));
}

TEST_F(DeepTree, TheDepthIsTheLongestPathAlsoWhenItIsNotTheLastBranch) {
  MarlElement top = element(L"a");
  MarlNode branch = chainBelow(top, 3);
  chainBelow(branch.getParent(), 1);
  chainBelow(top, 1);
  EXPECT_EQ(top.getDepth(), 3u);
}

TEST_F(DeepTree, FindFromGidReachesTheBottomOfAChainAHundredThousandDeep) {
  MarlElement top = element(L"a");
  MarlNode deepest = chainBelow(top, c_chainLength - 1);
  MarlNode found = top.findFromGID(deepest.getGID(), 0);
  EXPECT_EQ(static_cast<CUnknown*>(found), static_cast<CUnknown*>(deepest));
  EXPECT_FALSE(top.findFromGID(deepest.getGID(), c_chainLength - 2));
  found = top.findFromGID(deepest.getGID(), c_chainLength - 1);
  EXPECT_EQ(static_cast<CUnknown*>(found), static_cast<CUnknown*>(deepest));
  EXPECT_FALSE(top.findFromGID(0, 0));
}

TEST_F(DeepTree, FindFromGidSearchesEachSubtreeBeforeTheNextSibling) {
  MarlElement top = element(L"a");
  MarlElement first = element(L"first");
  MarlElement second = element(L"second");
  top.appendChild(first, 0);
  top.appendChild(second, 0);
  MarlNode deepInFirst = chainBelow(first, 5);
  EXPECT_EQ(static_cast<CUnknown*>(top.findFromGID(deepInFirst.getGID(), 0)),
            static_cast<CUnknown*>(deepInFirst));
  EXPECT_EQ(static_cast<CUnknown*>(top.findFromGID(second.getGID(), 1)),
            static_cast<CUnknown*>(second));
  EXPECT_FALSE(top.findFromGID(deepInFirst.getGID(), 5));
}

TEST_F(DeepTree, CloneOfAChainAHundredThousandDeepCopiesEveryLevelInCreationOrder) {
  MarlElement top = element(L"a");
  chainBelow(top, c_chainLength - 1);
  MarlNode copy = top.clone(-1);
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy.getDepth(), c_chainLength - 1);
  MarlNode node = copy;
  for (unsigned int level = 1; level < c_chainLength; ++level) node = node.getFirstChild();
  EXPECT_EQ(node.getName(), L"a");
  EXPECT_EQ(node.getHeight(), c_chainLength - 1);
  EXPECT_EQ(node.getGID(), copy.getGID() + c_chainLength - 1);
}

TEST_F(DeepTree, CloneOfADeepChainToAGivenDepthStopsThere) {
  MarlElement top = element(L"a");
  chainBelow(top, c_chainLength - 1);
  EXPECT_EQ(top.clone(5).getDepth(), 5u);
  EXPECT_EQ(top.clone(0).getDepth(), 0u);
}

TEST_F(DeepTree, ACloneNumbersTheAttributesOfAnElementAfterItsChildren) {
  MarlElement top = element(L"top");
  top.setAttribute(L"t", L"", L"1");
  MarlElement child = element(L"child");
  child.setAttribute(L"c", L"", L"2");
  top.appendChild(child, 0);
  top.appendChild(element(L"last"), 0);
  MarlElement copy(top.clone(-1));
  ASSERT_TRUE(copy);
  MarlElement childCopy(copy.getFirstChild());
  unsigned int first = copy.getGID();
  EXPECT_EQ(childCopy.getGID(), first + 1);
  EXPECT_EQ(childCopy.getAttributeNode(L"c", L"").getGID(), first + 2);
  EXPECT_EQ(copy.getLastChild().getGID(), first + 3);
  EXPECT_EQ(copy.getAttributeNode(L"t", L"").getGID(), first + 4);
}

TEST_F(DeepTree, ACloneOfADeepChainThatRunsOutOfMemoryIsEmptyAndLeaksNothing) {
  MarlElement top = element(L"a");
  chainBelow(top, c_chainLength - 1);
  long before = testhost::outstandingBlocks();
  for (long failAt : {0L, 1L, static_cast<long>(c_chainLength / 2),
                      static_cast<long>(c_chainLength - 1)}) {
    testhost::AllocationFailure failure(failAt);
    EXPECT_FALSE(top.clone(-1)) << "allocation " << failAt;
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}
