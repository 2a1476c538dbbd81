#include "dom/xmxxo_nite.h"

#include <gtest/gtest.h>

#include "dom/xmxxo_doc.h"
#include "dom/xmxxo_elem.h"
#include "dom/xmxxo_nfil.h"
#include "dom/xmxxo_nmap.h"
#include "marl/marl.h"
#include "support/host_memory.h"
#include "support/library_state.h"

namespace {

// A document with the tree
//   #document
//     r
//       a: a1, a2
//       b: b1
//       c: c1
class Walks : public FreshLibrary {
 protected:
  void SetUp() override {
    FreshLibrary::SetUp();
    marl = Marl::create();
    document = marl.createDocument();
    r = element(L"r", document);
    a = element(L"a", r);
    element(L"a1", a);
    element(L"a2", a);
    b = element(L"b", r);
    element(L"b1", b);
    c = element(L"c", r);
    element(L"c1", c);
  }
  void TearDown() override {
    r = a = b = c = MarlElement();
    document = static_cast<CMarlDocument const*>(nullptr);
    marl = static_cast<CMarl const*>(nullptr);
    FreshLibrary::TearDown();
  }

  MarlElement element(std::wstring const& name, MarlNode parent) {
    MarlElement made = document.createElement(name, L"");
    if (parent) parent.appendChild(made, 0);
    return made;
  }

  // The names the walk hands out, up to its first empty handle.
  static std::wstring names(MarlNodeIterator walk) {
    std::wstring result;
    int guard = 100;
    for (MarlNode node = walk.getNext(); node && guard-- > 0; node = walk.getNext()) {
      if (!result.empty()) result += L",";
      result += node.getName();
    }
    return result;
  }

  // The names an inline iterator stands on, from where it stands to the end.
  static std::wstring names(MarlInlineIterator walk) {
    std::wstring result;
    int guard = 100;
    if (!walk.getCurrent()) return result;
    do {
      if (!result.empty()) result += L",";
      result += walk.getName();
    } while (walk.advance() && guard-- > 0);
    return result;
  }

  MarlNodeFilter elementsOnly() const { return r.createFilterNodeType(MarlNode::nodeElement); }

  Marl marl;
  MarlDocument document;
  MarlElement r, a, b, c;
};

bool same(MarlNode const& x, MarlNode const& y) {
  return static_cast<CUnknown*>(x) == static_cast<CUnknown*>(y);
}

}  // namespace

// ---------------------------------------------------------------------------------------
// Depth-first walks

TEST_F(Walks, AnIteratorOnALeafHandsOutTheLeafThenAnEmptyHandle) {
  MarlNode leaf = a.getFirstChild();
  MarlNodeIterator walk = leaf.createIterator(0);
  ASSERT_TRUE(walk);
  EXPECT_TRUE(same(walk.getNext(), leaf));
  EXPECT_FALSE(walk.getNext());
}

TEST_F(Walks, AnIteratorWithoutLimitWalksTheSubtreeParentsBeforeChildren) {
  EXPECT_EQ(names(r.createIterator(0)), L"r,a,a1,a2,b,b1,c,c1");
}

TEST_F(Walks, DepthOneHandsOutTheElementAndItsChildrenButNotItsGrandchildren) {
  EXPECT_EQ(names(r.createIterator(1)), L"r,a,b,c");
}

TEST_F(Walks, DepthTwoReachesTheGrandchildren) {
  EXPECT_EQ(names(document.createIterator(2)), L"#document,r,a,b,c");
  EXPECT_EQ(names(document.createIterator(3)), L"#document,r,a,a1,a2,b,b1,c,c1");
}

TEST_F(Walks, TheWalkOfANodeWithANextSiblingStopsThere) {
  EXPECT_EQ(names(a.createIterator(0)), L"a,a1,a2");
}

TEST_F(Walks, TheWalkOfALastChildStopsAtItsParent) {
  EXPECT_EQ(names(c.createIterator(0)), L"c,c1");
}

TEST_F(Walks, IteratingARootEndsWhenTheClimbReachesAnEmptyParent) {
  MarlElement loose = element(L"loose", MarlNode());
  element(L"x", loose);
  element(L"y", loose);
  EXPECT_EQ(names(loose.createIterator(0)), L"loose,x,y");
  EXPECT_EQ(names(document.createIterator(0)), L"#document,r,a,a1,a2,b,b1,c,c1");
}

TEST_F(Walks, AfterTheEndGetNextKeepsGivingEmptyHandles) {
  MarlNodeIterator walk = a.createIterator(0);
  EXPECT_EQ(names(walk), L"a,a1,a2");
  EXPECT_FALSE(walk.getNext());
  EXPECT_FALSE(walk.getNext());
  MarlNodeIterator rootWalk = document.createIterator(1);
  EXPECT_EQ(names(rootWalk), L"#document,r");
  EXPECT_FALSE(rootWalk.getNext());
}

TEST_F(Walks, AfterResetANodeIteratorBeginsAgainAtStart) {
  MarlNodeIterator walk = r.createIterator(0);
  walk.getNext();
  walk.getNext();
  walk.getNext();
  walk.reset();
  EXPECT_EQ(names(walk), L"r,a,a1,a2,b,b1,c,c1");
  walk.reset();
  EXPECT_EQ(names(walk), L"r,a,a1,a2,b,b1,c,c1");
}

TEST_F(Walks, TheWalkFollowsTheLinksAsTheyAreAtEachStep) {
  MarlNodeIterator walk = r.createIterator(1);
  EXPECT_EQ(walk.getNext().getName(), L"r");
  EXPECT_EQ(walk.getNext().getName(), L"a");
  element(L"late", r);
  EXPECT_EQ(names(walk), L"b,c,late");
}

TEST_F(Walks, AnIteratorKeepsTheNodesItStandsOnAlive) {
  MarlNodeIterator walk = a.createIterator(0);
  walk.getNext();
  r.removeNode();
  a = MarlElement();
  r = MarlElement();
  EXPECT_EQ(names(walk), L"a1,a2");
}

// ---------------------------------------------------------------------------------------
// Filtered walks

TEST_F(Walks, AFilterThatRefusesEveryNodeGivesAnEmptyHandleAtTheFirstGetNext) {
  MarlNodeIterator walk = r.createIteratorFiltered(r.createFilterNodeType(MarlNode::nodeText), 0);
  ASSERT_TRUE(walk);
  EXPECT_FALSE(walk.getNext());
}

TEST_F(Walks, TheStartIsTestedByTheFilter) {
  MarlNodeFilter notR = r.createFilterNot(r.createFilterName(L"r", L""));
  EXPECT_EQ(names(r.createIteratorFiltered(notR, 0)), L"a,a1,a2,b,b1,c,c1");
}

TEST_F(Walks, AFilteredWalkHandsOutOnlyTheNodesTheFilterTakes) {
  a.appendChild(document.createText(L"t"), 0);
  b.appendChild(document.createComment(L"k"), 0);
  EXPECT_EQ(names(r.createIteratorFiltered(elementsOnly(), 0)), L"r,a,a1,a2,b,b1,c,c1");
  EXPECT_EQ(names(r.createIterator(0)), L"r,a,a1,a2,#text,b,b1,#comment,c,c1");
}

TEST_F(Walks, AFilteredWalkDoesNotRunPastItsEndMark) {
  MarlNodeFilter onlyB = r.createFilterName(L"b", L"");
  EXPECT_EQ(names(a.createIteratorFiltered(onlyB, 0)), L"");
}

TEST_F(Walks, AnIteratorKeepsItsOwnCopyOfTheFilterItIsMadeWith) {
  MarlNodeFilterCombining either(r.createFilterOr(r.createFilterName(L"a", L""),
                                                   r.createFilterName(L"b", L"")));
  MarlNodeIterator walk = r.createIteratorFiltered(either, 1);
  either.addFilter(r.createFilterName(L"c", L""));
  MarlNodeFilter kept = walk.getFilter();
  ASSERT_TRUE(kept);
  EXPECT_NE(static_cast<CUnknown*>(kept), static_cast<CUnknown*>(either));
  EXPECT_EQ(kept.getType(), unsigned(MarlNodeFilter::filterOr));
  EXPECT_EQ(names(walk), L"a,b");
}

TEST_F(Walks, SetFilterStoresTheHandleItselfAndAppliesFromTheNextStep) {
  MarlNodeIterator walk = r.createIterator(0);
  EXPECT_FALSE(walk.getFilter());
  EXPECT_EQ(walk.getNext().getName(), L"r");
  MarlNodeFilterCombining underAnElement(r.createFilterAnd(
      r.createFilterName(L"*", L""), r.createFilterParent(r.createFilterNodeType(4))));
  walk.setFilter(underAnElement);
  EXPECT_EQ(static_cast<CUnknown*>(walk.getFilter()), static_cast<CUnknown*>(underAnElement));
  EXPECT_EQ(walk.getNext().getName(), L"a");
  // A member added later counts: the walk holds the very filter.
  underAnElement.addFilter(r.createFilterNot(r.createFilterName(L"a1", L"")));
  EXPECT_EQ(names(walk), L"a2,b,b1,c,c1");
  walk.setFilter(MarlNodeFilter());
  walk.reset();
  EXPECT_EQ(names(walk), L"r,a,a1,a2,b,b1,c,c1");
}

// ---------------------------------------------------------------------------------------
// Reverse walks

TEST_F(Walks, AReverseWalkIsTheMirrorOfTheForwardWalk) {
  EXPECT_EQ(names(r.createRevIterator(0)), L"r,c,c1,b,b1,a,a2,a1");
}

TEST_F(Walks, AReverseWalkHonoursTheDepthLimit) {
  EXPECT_EQ(names(r.createRevIterator(1)), L"r,c,b,a");
}

TEST_F(Walks, AReverseIteratorLeavesTheSubtreeOfItsStart) {
  EXPECT_EQ(names(b.createIterator(0)), L"b,b1");
  EXPECT_EQ(names(b.createRevIterator(0)), L"b,b1,a,a2,a1");
}

TEST_F(Walks, AReverseWalkFromALastChildStopsAtTheParentItsEndMark) {
  EXPECT_EQ(names(c.createRevIterator(0)), L"c,c1,b,b1,a,a2,a1");
  MarlNode a2 = a.getLastChild();
  EXPECT_EQ(names(a2.createRevIterator(0)), L"a2,a1");
}

TEST_F(Walks, AReverseWalkRunsOnThroughEarlierSiblingsOfItsAncestors) {
  MarlNode b1 = b.getFirstChild();
  EXPECT_EQ(names(b1.createRevIterator(0)), L"b1");
  element(L"later", b);
  EXPECT_EQ(names(b1.createRevIterator(0)), L"b1,a,a2,a1");
}

TEST_F(Walks, AFilteredReverseWalkTestsEachNode) {
  EXPECT_EQ(names(r.createRevIteratorFiltered(r.createFilterName(L"a2", L""), 0)), L"a2");
  MarlNodeFilter notB = r.createFilterNot(r.createFilterName(L"b", L""));
  EXPECT_EQ(names(r.createRevIteratorFiltered(notB, 1)), L"r,c,a");
}

TEST_F(Walks, AfterResetAReverseWalkBeginsAgainAtStart) {
  MarlNodeIterator walk = r.createRevIterator(0);
  walk.getNext();
  walk.getNext();
  walk.reset();
  EXPECT_EQ(names(walk), L"r,c,c1,b,b1,a,a2,a1");
}

// ---------------------------------------------------------------------------------------
// Flat walks and copies

TEST_F(Walks, AFlatIteratorWalksTheFollowingSiblings) {
  MarlNodeIterator walk(new CMarlNodeIterator(a, MarlNode(), MarlNodeFilter()));
  EXPECT_EQ(names(walk), L"a,b,c");
  MarlNodeIterator upToC(new CMarlNodeIterator(a, c, MarlNodeFilter()));
  EXPECT_EQ(names(upToC), L"a,b");
}

TEST_F(Walks, AFlatReverseIteratorWalksThePrecedingSiblings) {
  MarlNodeIterator walk(new CNodeRevIterator(c, MarlNode(), MarlNodeFilter()));
  EXPECT_EQ(names(walk), L"c,b,a");
  MarlNodeIterator filtered(new CNodeRevIterator(c, MarlNode(), r.createFilterName(L"b", L"")));
  EXPECT_EQ(names(filtered), L"b");
}

TEST_F(Walks, ACopiedIteratorGoesOnFromTheSamePositionAndSharesTheFilter) {
  MarlNodeIterator walk = r.createIteratorFiltered(elementsOnly(), 0);
  walk.getNext();
  walk.getNext();
  auto* original = static_cast<CNodeIteratorDFS*>(walk._impl());
  MarlNodeIterator copy(new CNodeIteratorDFS(*original));
  EXPECT_EQ(static_cast<CUnknown*>(copy.getFilter()), static_cast<CUnknown*>(walk.getFilter()));
  EXPECT_EQ(copy._impl()->getRefCount(), 1u);
  EXPECT_EQ(names(copy), L"a1,a2,b,b1,c,c1");
  EXPECT_EQ(names(walk), L"a1,a2,b,b1,c,c1");
}

TEST_F(Walks, AnAssignedIteratorTakesEveryFieldButKeepsItsCount) {
  MarlNodeIterator source = r.createRevIterator(0);
  source.getNext();
  MarlNodeIterator target = a.createRevIterator(0);
  MarlNodeIterator extra = target;
  auto* targetImpl = static_cast<CNodeRevIteratorDFS*>(target._impl());
  *targetImpl = *static_cast<CNodeRevIteratorDFS*>(source._impl());
  EXPECT_EQ(targetImpl->getRefCount(), 2u);
  EXPECT_EQ(names(target), L"c,c1,b,b1,a,a2,a1");
}

// ---------------------------------------------------------------------------------------
// Inline iterators

TEST_F(Walks, ANewInlineIteratorAnswersForStartBeforeAnyAdvance) {
  MarlInlineIterator walk = r.createInlineIterator(0);
  ASSERT_TRUE(walk);
  EXPECT_EQ(walk.getName(), L"r");
  EXPECT_TRUE(same(walk.getCurrent(), r));
}

TEST_F(Walks, AdvanceGivesTheKindOfTheNewNodeAndZeroAtTheEnd) {
  a.appendChild(document.createText(L"t"), 0);
  MarlInlineIterator walk = a.createInlineIterator(0);
  EXPECT_EQ(walk.advance(), unsigned(MarlNode::nodeElement));
  EXPECT_EQ(walk.advance(), unsigned(MarlNode::nodeElement));
  EXPECT_EQ(walk.advance(), unsigned(MarlNode::nodeText));
  EXPECT_EQ(walk.advance(), 0u);
  EXPECT_FALSE(walk.getCurrent());
  EXPECT_EQ(walk.advance(), 0u);
}

TEST_F(Walks, AnInlineLoopVisitsTheWalk) {
  EXPECT_EQ(names(r.createInlineIterator(0)), L"r,a,a1,a2,b,b1,c,c1");
  EXPECT_EQ(names(r.createInlineIterator(1)), L"r,a,b,c");
  EXPECT_EQ(names(b.createRevInlineIterator(0)), L"b,b1,a,a2,a1");
}

TEST_F(Walks, ResetLeavesTheInlineIteratorWhereItIsUntilTheNextAdvance) {
  MarlInlineIterator walk = r.createInlineIterator(0);
  walk.advance();
  walk.advance();
  EXPECT_EQ(walk.getName(), L"a1");
  walk.reset();
  EXPECT_EQ(walk.getName(), L"a1");
  walk.advance();
  EXPECT_EQ(walk.getName(), L"r");
}

TEST_F(Walks, RemoveNodeLeavesTheInlineIteratorOnTheNodeThatFollowedTheRemovedOne) {
  MarlInlineIterator walk = a.createInlineIterator(0);
  walk.advance();
  MarlNode a1 = walk.getCurrent();
  walk.removeNode();
  EXPECT_EQ(walk.getName(), L"a2");
  EXPECT_FALSE(a1.getParent());
  EXPECT_EQ(a.numChildren(), 1u);
  EXPECT_EQ(walk.advance(), 0u);
}

TEST_F(Walks, RemovingANodeWithChildrenLeavesTheInlineIteratorOnItsFirstChild) {
  MarlInlineIterator walk = r.createInlineIterator(0);
  walk.advance();
  walk.removeNode();
  EXPECT_EQ(walk.getName(), L"a1");
  EXPECT_FALSE(a.getParent());
  EXPECT_EQ(r.numChildren(), 2u);
}

TEST_F(Walks, RemoveNodeWithoutACurrentNodeDoesNothing) {
  MarlInlineIterator walk = a.getFirstChild().createInlineIterator(0);
  EXPECT_EQ(walk.advance(), 0u);
  walk.removeNode();
  EXPECT_EQ(a.numChildren(), 2u);
}

TEST_F(Walks, TheInlineIteratorAnswersTheNodeOperationsOfItsCurrentNode) {
  MarlInlineIterator walk = r.createInlineIterator(0);
  walk.advance();
  EXPECT_EQ(walk.getType(), unsigned(MarlNode::nodeElement));
  EXPECT_EQ(walk.getGID(), a.getGID());
  EXPECT_EQ(walk.getHeight(), 2u);
  EXPECT_EQ(walk.getDepth(), 1u);
  EXPECT_EQ(walk.numChildren(), 2u);
  EXPECT_TRUE(walk.hasAncestor(r));
  EXPECT_FALSE(walk.hasAncestor(b));
  EXPECT_FALSE(walk.isLeaf());
  EXPECT_FALSE(walk.isRoot());
  EXPECT_TRUE(same(walk.getParent(), r));
  EXPECT_EQ(walk.getFirstChild().getName(), L"a1");
  EXPECT_EQ(walk.getLastChild().getName(), L"a2");
  EXPECT_TRUE(same(walk.getNext(), b));
  EXPECT_FALSE(walk.getPrev());
  EXPECT_TRUE(same(walk.getRoot(), document));
  EXPECT_TRUE(same(walk.getOwnerDocument(), document));
  EXPECT_TRUE(walk.getAttributes());
  EXPECT_TRUE(walk.getNamespaceContext());
  EXPECT_EQ(walk.findFromGID(a.getLastChild().getGID(), 1).getName(), L"a2");
  EXPECT_EQ(walk.getNamespacePrefix(), L"");
  EXPECT_EQ(walk.getNamespaceURI(), L"");

  EXPECT_EQ(walk.setName(L"renamed"), unsigned(MarlNode::rcOK));
  EXPECT_EQ(a.getName(), L"renamed");
  EXPECT_EQ(walk.setNamespacePrefix(L"p"), unsigned(MarlNode::rcOK));
  EXPECT_EQ(walk.getNamespacePrefix(), L"p");
  EXPECT_EQ(walk.setNamespaceURI(L"urn:x"), unsigned(MarlNode::rcOK));
  EXPECT_EQ(walk.getNamespaceURI(), L"urn:x");
  MarlElement extra = document.createElement(L"extra", L"");
  EXPECT_EQ(walk.appendChild(extra), unsigned(MarlNode::rcOK));
  MarlElement first = document.createElement(L"first", L"");
  EXPECT_EQ(walk.insertChild(first, walk.getFirstChild()), unsigned(MarlNode::rcOK));
  MarlElement other = document.createElement(L"other", L"");
  EXPECT_EQ(walk.replaceChild(other, first), unsigned(MarlNode::rcOK));
  EXPECT_EQ(walk.removeChild(extra), unsigned(MarlNode::rcOK));
  EXPECT_EQ(walk.setValue(L"text"), unsigned(MarlNode::rcOK));
  EXPECT_EQ(walk.getValue(), L"text");
  std::wstring value = L"old";
  walk.getValue(value);
  EXPECT_EQ(value, L"text");
  EXPECT_EQ(walk.numChildren(), 1u);
  EXPECT_EQ(walk.advance(), unsigned(MarlNode::nodeText));
  EXPECT_TRUE(walk.isLeaf());
}

TEST_F(Walks, WithoutACurrentNodeTheInlineIteratorGivesNeutralAnswers) {
  MarlInlineIterator walk = a.getFirstChild().createInlineIterator(0);
  ASSERT_EQ(walk.advance(), 0u);
  EXPECT_EQ(walk.getName(), L"");
  EXPECT_EQ(walk.getNamespacePrefix(), L"");
  EXPECT_EQ(walk.getNamespaceURI(), L"");
  EXPECT_EQ(walk.getValue(), L"");
  std::wstring value = L"old";
  walk.getValue(value);
  EXPECT_EQ(value, L"");
  EXPECT_EQ(walk.getType(), 0u);
  EXPECT_EQ(walk.getGID(), 0u);
  EXPECT_EQ(walk.getHeight(), 0u);
  EXPECT_EQ(walk.getDepth(), 0u);
  EXPECT_EQ(walk.numChildren(), 0u);
  EXPECT_EQ(walk.isLeaf(), 0);
  EXPECT_EQ(walk.isRoot(), 0);
  EXPECT_EQ(walk.hasAncestor(r), 0);
  EXPECT_EQ(walk.hasAncestor(MarlNode()), 1);
  EXPECT_FALSE(walk.getParent());
  EXPECT_FALSE(walk.getFirstChild());
  EXPECT_FALSE(walk.getLastChild());
  EXPECT_FALSE(walk.getNext());
  EXPECT_FALSE(walk.getPrev());
  EXPECT_FALSE(walk.getRoot());
  EXPECT_FALSE(walk.getOwnerDocument());
  EXPECT_FALSE(walk.getAttributes());
  EXPECT_FALSE(walk.getNamespaceContext());
  EXPECT_FALSE(walk.findFromGID(r.getGID(), 0));
  MarlElement loose = document.createElement(L"loose", L"");
  EXPECT_EQ(walk.setName(L"x"), unsigned(MarlNode::rcNoNode));
  EXPECT_EQ(walk.setNamespacePrefix(L"x"), unsigned(MarlNode::rcNoNode));
  EXPECT_EQ(walk.setNamespaceURI(L"x"), unsigned(MarlNode::rcNoNode));
  EXPECT_EQ(walk.setValue(L"x"), unsigned(MarlNode::rcNoNode));
  EXPECT_EQ(walk.appendChild(loose), unsigned(MarlNode::rcNoNode));
  EXPECT_EQ(walk.insertChild(loose, MarlNode()), unsigned(MarlNode::rcNoNode));
  EXPECT_EQ(walk.replaceChild(loose, a), unsigned(MarlNode::rcNoNode));
  EXPECT_EQ(walk.removeChild(a), unsigned(MarlNode::rcNoNode));
  EXPECT_FALSE(loose.getParent());
}

TEST_F(Walks, TheInlineIteratorFiltersThroughItsWalk) {
  MarlInlineIterator walk = r.createInlineIterator(0);
  EXPECT_FALSE(walk.getFilter());
  walk.setFilter(r.createFilterNot(r.createFilterName(L"a", L"")));
  ASSERT_TRUE(walk.getFilter());
  EXPECT_EQ(walk.getFilter().getType(), unsigned(MarlNodeFilter::filterNot));
  EXPECT_EQ(names(walk), L"r,a1,a2,b,b1,c,c1");
}

TEST_F(Walks, SeenAsANodeIteratorAnInlineIteratorStepsWithEachGetNext) {
  MarlInlineIterator walk = r.createInlineIterator(1);
  MarlNodeIterator view(static_cast<CUnknown*>(walk));
  ASSERT_TRUE(view);
  EXPECT_EQ(view.getNext().getName(), L"a");
  EXPECT_EQ(walk.getName(), L"a");
  EXPECT_EQ(names(view), L"b,c");
  EXPECT_FALSE(walk.getCurrent());
}

// ---------------------------------------------------------------------------------------
// Map walks

namespace {

class MapWalks : public Walks {
 protected:
  void SetUp() override {
    Walks::SetUp();
    a.setAttribute(L"x", L"", L"1");
    a.setAttribute(L"y", L"", L"2");
    a.setAttribute(L"z", L"p", L"3");
    map = a.getAttributes();
  }
  void TearDown() override {
    map = static_cast<CMarlNamedNodeMap const*>(nullptr);
    Walks::TearDown();
  }

  MarlNamedNodeMap map;
};

}  // namespace

TEST_F(MapWalks, AForwardMapWalkGivesTheEntriesInOrder) {
  MarlNodeIterator walk = map.createIterator();
  ASSERT_TRUE(walk);
  EXPECT_EQ(names(walk), L"x,y,z");
  EXPECT_FALSE(walk.getNext());
}

TEST_F(MapWalks, AReverseMapWalkGivesTheEntriesLastToFirst) {
  MarlNodeIterator walk = map.createRevIterator();
  EXPECT_EQ(names(walk), L"z,y,x");
  EXPECT_FALSE(walk.getNext());
}

TEST_F(MapWalks, MapWalksSkipTheEntriesTheFilterRefuses) {
  MarlNodeFilter noPrefix = a.createFilterName(L"*", L"");
  EXPECT_EQ(names(map.createIteratorFiltered(noPrefix)), L"x,y");
  EXPECT_EQ(names(map.createRevIteratorFiltered(noPrefix)), L"y,x");
  MarlNodeIterator walk = map.createIterator();
  walk.setFilter(a.createFilterName(L"*", L"p"));
  EXPECT_EQ(walk.getFilter().getType(), unsigned(MarlNodeFilter::filterName));
  EXPECT_EQ(names(walk), L"z");
}

TEST_F(MapWalks, ResetPutsAMapWalkBackToItsStart) {
  MarlNodeIterator forward = map.createIterator();
  forward.getNext();
  forward.getNext();
  forward.reset();
  EXPECT_EQ(names(forward), L"x,y,z");
  MarlNodeIterator reverse = map.createRevIterator();
  reverse.getNext();
  a.setAttribute(L"w", L"", L"4");
  reverse.reset();
  EXPECT_EQ(names(reverse), L"w,z,y,x");
}

TEST_F(MapWalks, WalksOverAnEmptyMapGiveAnEmptyHandleAtOnce) {
  MarlNamedNodeMap empty = b.getAttributes();
  EXPECT_FALSE(empty.createIterator().getNext());
  EXPECT_FALSE(empty.createRevIterator().getNext());
}

TEST_F(MapWalks, AReverseMapWalkStepsOverEntriesRemovedBehindItsBack) {
  MarlNodeIterator walk = map.createRevIterator();
  a.removeAttribute(L"z", L"p");
  a.removeAttribute(L"y", L"");
  EXPECT_EQ(names(walk), L"x");
}

TEST_F(MapWalks, CopiesOfMapWalksGoOnFromTheSameIndex) {
  MarlNodeIterator forward = map.createIterator();
  forward.getNext();
  MarlNodeIterator forwardCopy(
      new CNodeMapIterator(*static_cast<CNodeMapIterator*>(forward._impl())));
  EXPECT_EQ(names(forwardCopy), L"y,z");
  MarlNodeIterator reverse = map.createRevIterator();
  reverse.getNext();
  MarlNodeIterator reverseCopy(
      new CNodeMapRevIterator(*static_cast<CNodeMapRevIterator*>(reverse._impl())));
  EXPECT_EQ(names(reverseCopy), L"y,x");
  *static_cast<CNodeMapIterator*>(forwardCopy._impl()) =
      *static_cast<CNodeMapIterator*>(forward._impl());
  *static_cast<CNodeMapRevIterator*>(reverseCopy._impl()) =
      *static_cast<CNodeMapRevIterator*>(reverse._impl());
  EXPECT_EQ(names(forwardCopy), L"y,z");
  EXPECT_EQ(names(reverseCopy), L"y,x");
}

// ---------------------------------------------------------------------------------------
// Class identity

namespace {

void expectNodeIteratorIdentity(CUnknown* walk) {
  EXPECT_EQ(walk->_queryClass(), 60u);
  EXPECT_EQ(walk->_queryInterface(60), static_cast<void*>(walk));
  EXPECT_EQ(walk->_queryInterface(1), static_cast<void*>(walk));
  EXPECT_EQ(walk->_queryInterface(61), nullptr);
  EXPECT_EQ(walk->_queryInterface(70), nullptr);
  EXPECT_EQ(walk->_queryInterface(20), nullptr);
}

}  // namespace

TEST_F(MapWalks, EveryNodeIteratorClassAnswersSixty) {
  MarlNodeIterator walks[] = {
      r.createIterator(0),
      r.createRevIterator(0),
      MarlNodeIterator(new CMarlNodeIterator(a, MarlNode(), MarlNodeFilter())),
      MarlNodeIterator(new CNodeRevIterator(a, MarlNode(), MarlNodeFilter())),
      map.createIterator(),
      map.createRevIterator(),
  };
  for (MarlNodeIterator const& walk : walks) {
    ASSERT_TRUE(walk);
    expectNodeIteratorIdentity(walk._impl());
    EXPECT_FALSE(MarlInlineIterator(static_cast<CUnknown*>(walk)));
  }
  EXPECT_NE(dynamic_cast<CNodeIteratorDFS*>(walks[0]._impl()), nullptr);
  EXPECT_NE(dynamic_cast<CNodeRevIteratorDFS*>(walks[1]._impl()), nullptr);
  EXPECT_NE(dynamic_cast<CNodeMapIterator*>(walks[4]._impl()), nullptr);
  EXPECT_NE(dynamic_cast<CNodeMapRevIterator*>(walks[5]._impl()), nullptr);
}

TEST_F(Walks, TheInlineIteratorAnswersSixtyOneAndSixty) {
  MarlInlineIterator walk = r.createInlineIterator(0);
  CInlineIterator* impl = walk._impl();
  EXPECT_EQ(impl->_queryClass(), 61u);
  EXPECT_EQ(impl->_queryInterface(61), static_cast<void*>(impl));
  EXPECT_EQ(impl->_queryInterface(60), static_cast<void*>(impl));
  EXPECT_EQ(impl->_queryInterface(1), static_cast<void*>(impl));
  EXPECT_EQ(impl->_queryInterface(70), nullptr);
  MarlInlineIterator again(static_cast<CUnknown*>(walk));
  EXPECT_EQ(again._impl(), impl);
  EXPECT_EQ(impl->getRefCount(), 2u);
}

TEST_F(Walks, AFailedConversionLeavesTheCountAlone) {
  MarlNodeIterator walk = r.createIterator(0);
  MarlInlineIterator wrong(static_cast<CUnknown*>(walk));
  EXPECT_FALSE(wrong);
  EXPECT_EQ(walk._impl()->getRefCount(), 1u);
  MarlNodeIterator fromNode(static_cast<CUnknown*>(r));
  EXPECT_FALSE(fromNode);
}

// ---------------------------------------------------------------------------------------
// Running out of memory

TEST_F(MapWalks, EveryIteratorFactoryGivesAnEmptyHandleWhenMemoryRunsOut) {
  long before = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure(0);
    EXPECT_FALSE(r.createIterator(0));
    EXPECT_FALSE(r.createRevIterator(0));
    EXPECT_FALSE(r.createIteratorFiltered(MarlNodeFilter(), 0));
    EXPECT_FALSE(r.createRevIteratorFiltered(MarlNodeFilter(), 0));
    EXPECT_FALSE(r.createInlineIterator(0));
    EXPECT_FALSE(r.createRevInlineIterator(0));
    EXPECT_FALSE(map.createIterator());
    EXPECT_FALSE(map.createRevIterator());
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST_F(MapWalks, AnIteratorWhoseFilterCannotBeCopiedIsNotMade) {
  MarlNodeFilter filter = r.createFilterName(L"a", L"");
  long before = testhost::outstandingBlocks();
  {
    // The first allocation is the iterator, the second the copy of its filter.
    testhost::AllocationFailure failure(1);
    EXPECT_FALSE(r.createIteratorFiltered(filter, 0));
  }
  {
    testhost::AllocationFailure failure(1);
    EXPECT_FALSE(r.createRevIteratorFiltered(filter, 0));
  }
  {
    testhost::AllocationFailure failure(1);
    EXPECT_FALSE(map.createIteratorFiltered(filter));
  }
  {
    testhost::AllocationFailure failure(1);
    EXPECT_FALSE(map.createRevIteratorFiltered(filter));
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST_F(Walks, AnInlineIteratorWithoutMemoryForItselfIsNotMadeAndLeaksNothing) {
  long before = testhost::outstandingBlocks();
  {
    // The walk gets its memory; the inline iterator around it does not.
    testhost::AllocationFailure failure(1);
    EXPECT_FALSE(r.createInlineIterator(0));
    EXPECT_FALSE(r.createRevInlineIterator(0));
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST_F(Walks, IteratorsGiveTheirMemoryBackWhenTheLastHandleGoes) {
  long before = testhost::outstandingBlocks();
  {
    MarlNodeIterator walk = r.createIteratorFiltered(elementsOnly(), 0);
    MarlInlineIterator inlineWalk = r.createInlineIterator(0);
    inlineWalk.advance();
    walk.getNext();
    EXPECT_GT(testhost::outstandingBlocks(), before);
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

// ---------------------------------------------------------------------------------------
// Walks through trees deeper than the call stack could follow

TEST_F(Walks, TheWalksGoThroughAChainAHundredThousandDeepAndBack) {
  constexpr unsigned int c_chainLength = 100000;
  MarlNode parent = c;
  for (unsigned int level = 0; level < c_chainLength; ++level) parent = element(L"deep", parent);
  element(L"d", r);
  unsigned int count = 0;
  MarlNode last;
  MarlNodeIterator forward = r.createIterator(0);
  for (MarlNode node = forward.getNext(); node; node = forward.getNext()) {
    ++count;
    last = node;
  }
  EXPECT_EQ(count, c_chainLength + 9);
  EXPECT_EQ(last.getName(), L"d");

  count = 0;
  MarlNodeIterator backward = r.createRevIterator(0);
  for (MarlNode node = backward.getNext(); node; node = backward.getNext()) ++count;
  EXPECT_EQ(count, c_chainLength + 9);

  MarlNodeIterator limited = c.createIterator(c_chainLength - 1);
  count = 0;
  for (MarlNode node = limited.getNext(); node; node = limited.getNext()) ++count;
  EXPECT_EQ(count, c_chainLength + 1);

  MarlInlineIterator standing = r.createInlineIterator(0);
  count = 1;
  while (standing.advance()) ++count;
  EXPECT_EQ(count, c_chainLength + 9);
}
