#include "dom/xmxxo_nfil.h"

#include <gtest/gtest.h>

#include "dom/xmxxo_doc.h"
#include "dom/xmxxo_elem.h"
#include "marl/marl.h"
#include "support/host_memory.h"
#include "support/library_state.h"

namespace {

// A document with the tree
//   #document
//     root
//       item id="7" q:kind="x" (q standing for urn:q): "text"
//       p:other (p standing for urn:p)
class Filters : public FreshLibrary {
 protected:
  void SetUp() override {
    FreshLibrary::SetUp();
    marl = Marl::create();
    document = marl.createDocument();
    root = document.createElement(L"root", L"");
    document.appendChild(root, 0);
    item = document.createElement(L"item", L"");
    root.appendChild(item, 0);
    item.setAttribute(L"id", L"", L"7");
    item.setAttributeNS(L"kind", L"q", L"urn:q", L"x");
    text = document.createText(L"text");
    item.appendChild(text, 0);
    other = document.createElementNS(L"other", L"p", L"urn:p");
    root.appendChild(other, 0);
  }
  void TearDown() override {
    root = item = other = MarlElement();
    text = MarlText();
    document = static_cast<CMarlDocument const*>(nullptr);
    marl = static_cast<CMarl const*>(nullptr);
    FreshLibrary::TearDown();
  }

  MarlNodeFilter byName(std::wstring const& name) const { return root.createFilterName(name, L""); }
  MarlNodeFilter ofKind(unsigned int mask) const { return root.createFilterNodeType(mask); }
  static std::size_t membersOf(MarlNodeFilter const& filter) {
    return MarlNodeFilterCombining(filter)._impl()->filters.size();
  }
  static CUnknown* object(MarlNodeFilter const& filter) { return static_cast<CUnknown*>(filter); }

  Marl marl;
  MarlDocument document;
  MarlElement root, item, other;
  MarlText text;
};

}  // namespace

// ---------------------------------------------------------------------------------------
// Kinds and names

TEST_F(Filters, ANodeTypeFilterTakesTheKindsOfItsMask) {
  MarlNodeFilter elementsOrText = ofKind(MarlNode::nodeElement | MarlNode::nodeText);
  EXPECT_EQ(elementsOrText.getType(), unsigned(MarlNodeFilter::filterNodeType));
  EXPECT_TRUE(elementsOrText.acceptNode(item));
  EXPECT_TRUE(elementsOrText.acceptNode(text));
  EXPECT_FALSE(elementsOrText.acceptNode(document));
  EXPECT_FALSE(elementsOrText.acceptNode(MarlNode()));
  EXPECT_FALSE(ofKind(0).acceptNode(item));
}

TEST_F(Filters, ANameFilterComparesNameAndPrefix) {
  EXPECT_TRUE(byName(L"item").acceptNode(item));
  EXPECT_FALSE(byName(L"item").acceptNode(root));
  EXPECT_FALSE(byName(L"other").acceptNode(other));
  EXPECT_TRUE(root.createFilterName(L"other", L"p").acceptNode(other));
  EXPECT_TRUE(root.createFilterName(L"*", L"p").acceptNode(other));
  EXPECT_TRUE(root.createFilterName(L"*", L"*").acceptNode(text));
  EXPECT_TRUE(byName(L"#text").acceptNode(text));
  EXPECT_FALSE(byName(L"*").acceptNode(MarlNode()));
  EXPECT_EQ(byName(L"x").getType(), unsigned(MarlNodeFilter::filterName));
}

TEST_F(Filters, ANameNsFilterComparesNameAndNamespaceUri) {
  MarlNodeFilter inP = root.createFilterNameNS(L"*", L"urn:p");
  EXPECT_EQ(inP.getType(), unsigned(MarlNodeFilter::filterNameNS));
  EXPECT_TRUE(inP.acceptNode(other));
  EXPECT_FALSE(inP.acceptNode(item));
  EXPECT_TRUE(root.createFilterNameNS(L"item", L"").acceptNode(item));
  EXPECT_FALSE(root.createFilterNameNS(L"other", L"p").acceptNode(other));
  EXPECT_FALSE(inP.acceptNode(MarlNode()));
}

// ---------------------------------------------------------------------------------------
// Attributes

TEST_F(Filters, AnAttributeFilterWithAnEmptyValueTakesAnyElementWithTheAttribute) {
  MarlNodeFilter hasId = root.createFilterAttribute(L"id", L"", L"");
  EXPECT_EQ(hasId.getType(), unsigned(MarlNodeFilter::filterAttribute));
  EXPECT_TRUE(hasId.acceptNode(item));
  EXPECT_FALSE(hasId.acceptNode(root));
  EXPECT_FALSE(hasId.acceptNode(text));
  EXPECT_FALSE(hasId.acceptNode(document));
  EXPECT_FALSE(hasId.acceptNode(MarlNode()));
}

TEST_F(Filters, AnAttributeFilterWithAValueComparesItExactly) {
  EXPECT_TRUE(root.createFilterAttribute(L"id", L"", L"7").acceptNode(item));
  EXPECT_FALSE(root.createFilterAttribute(L"id", L"", L"8").acceptNode(item));
  EXPECT_FALSE(root.createFilterAttribute(L"id", L"", L"77").acceptNode(item));
  EXPECT_TRUE(root.createFilterAttribute(L"kind", L"q", L"x").acceptNode(item));
  EXPECT_FALSE(root.createFilterAttribute(L"kind", L"", L"x").acceptNode(item));
}

TEST_F(Filters, AnAttributeNsFilterLooksTheAttributeUpByUri) {
  MarlNodeFilter kind = root.createFilterAttributeNS(L"kind", L"urn:q", L"x");
  EXPECT_EQ(kind.getType(), unsigned(MarlNodeFilter::filterAttributeNS));
  EXPECT_TRUE(kind.acceptNode(item));
  EXPECT_FALSE(root.createFilterAttributeNS(L"kind", L"urn:q", L"y").acceptNode(item));
  EXPECT_FALSE(root.createFilterAttributeNS(L"kind", L"q", L"").acceptNode(item));
  EXPECT_TRUE(root.createFilterAttributeNS(L"id", L"", L"").acceptNode(item));
  EXPECT_FALSE(kind.acceptNode(text));
  EXPECT_FALSE(kind.acceptNode(MarlNode()));
}

TEST_F(Filters, AnAttributeFilterTakesAParsedInstructionWithThePair) {
  MarlPIParsed instruction = document.createPIParsed(L"style");
  instruction.setAttribute(L"href", L"a.css");
  EXPECT_TRUE(root.createFilterAttribute(L"href", L"", L"a.css").acceptNode(instruction));
}

// ---------------------------------------------------------------------------------------
// Not, Parent, Ancestor

TEST_F(Filters, ANotFilterInvertsItsFilter) {
  MarlNodeFilter notItem = root.createFilterNot(byName(L"item"));
  EXPECT_EQ(notItem.getType(), unsigned(MarlNodeFilter::filterNot));
  EXPECT_FALSE(notItem.acceptNode(item));
  EXPECT_TRUE(notItem.acceptNode(root));
  EXPECT_TRUE(notItem.acceptNode(MarlNode()));
}

TEST_F(Filters, CreateFilterNotOfAnEmptyFilterRefusesEveryNode) {
  MarlNodeFilter notNothing = root.createFilterNot(MarlNodeFilter());
  ASSERT_TRUE(notNothing);
  EXPECT_FALSE(notNothing.acceptNode(item));
  EXPECT_FALSE(notNothing.acceptNode(document));
  EXPECT_FALSE(notNothing.acceptNode(MarlNode()));
}

TEST_F(Filters, AParentFilterAsksItsFilterAboutTheParent) {
  MarlNodeFilter underItem = root.createFilterParent(byName(L"item"));
  EXPECT_EQ(underItem.getType(), unsigned(MarlNodeFilter::filterParent));
  EXPECT_TRUE(underItem.acceptNode(text));
  EXPECT_FALSE(underItem.acceptNode(item));
  EXPECT_FALSE(underItem.acceptNode(MarlNode()));
}

TEST_F(Filters, AParentFilterPutsTheEmptyParentOfARootToItsFilter) {
  MarlNodeFilter underNothing = root.createFilterParent(root.createFilterNot(ofKind(~0u)));
  EXPECT_TRUE(underNothing.acceptNode(document));
  EXPECT_FALSE(underNothing.acceptNode(root));
}

TEST_F(Filters, AnAncestorFilterTakesANodeBelowAnAcceptedNode) {
  MarlNodeFilter belowRoot = root.createFilterAncestor(byName(L"root"));
  EXPECT_EQ(belowRoot.getType(), unsigned(MarlNodeFilter::filterAncestor));
  EXPECT_TRUE(belowRoot.acceptNode(item));
  EXPECT_TRUE(belowRoot.acceptNode(text));
  EXPECT_FALSE(belowRoot.acceptNode(document));
  EXPECT_FALSE(belowRoot.acceptNode(MarlNode()));
}

TEST_F(Filters, AnAncestorFilterRefusesANodeThatOnlyItsFilterWouldAccept) {
  MarlNodeFilter belowItem = root.createFilterAncestor(byName(L"item"));
  EXPECT_FALSE(belowItem.acceptNode(item));
  EXPECT_TRUE(belowItem.acceptNode(text));
}

TEST_F(Filters, ParentAndAncestorFiltersOverAnEmptyFilterRefuseEveryNode) {
  MarlNodeFilter parentOfNothing = root.createFilterParent(MarlNodeFilter());
  MarlNodeFilter ancestorOfNothing = root.createFilterAncestor(MarlNodeFilter());
  ASSERT_TRUE(parentOfNothing);
  ASSERT_TRUE(ancestorOfNothing);
  EXPECT_FALSE(parentOfNothing.acceptNode(text));
  EXPECT_FALSE(ancestorOfNothing.acceptNode(text));
}

// ---------------------------------------------------------------------------------------
// And, Or

TEST_F(Filters, AnAndFilterWithNoMembersAcceptsEveryNodeAnEmptyOneIncluded) {
  MarlNodeFilter all(new CNodeFilterAnd);
  EXPECT_EQ(all.getType(), unsigned(MarlNodeFilter::filterAnd));
  EXPECT_TRUE(all.acceptNode(item));
  EXPECT_TRUE(all.acceptNode(MarlNode()));
}

TEST_F(Filters, AnOrFilterWithNoMembersRefusesEveryNode) {
  MarlNodeFilter none(new CNodeFilterOr);
  EXPECT_EQ(none.getType(), unsigned(MarlNodeFilter::filterOr));
  EXPECT_FALSE(none.acceptNode(item));
  EXPECT_FALSE(none.acceptNode(MarlNode()));
}

TEST_F(Filters, AnAndFilterTakesWhatAllMembersTake) {
  MarlNodeFilter both = root.createFilterAnd(ofKind(MarlNode::nodeElement), byName(L"item"));
  EXPECT_EQ(both.getType(), unsigned(MarlNodeFilter::filterAnd));
  EXPECT_EQ(membersOf(both), 2u);
  EXPECT_TRUE(both.acceptNode(item));
  EXPECT_FALSE(both.acceptNode(root));
  EXPECT_FALSE(both.acceptNode(text));
}

TEST_F(Filters, AnOrFilterTakesWhatAnyMemberTakes) {
  MarlNodeFilter either = root.createFilterOr(byName(L"item"), byName(L"root"));
  EXPECT_EQ(either.getType(), unsigned(MarlNodeFilter::filterOr));
  EXPECT_TRUE(either.acceptNode(item));
  EXPECT_TRUE(either.acceptNode(root));
  EXPECT_FALSE(either.acceptNode(other));
}

TEST_F(Filters, AnAndFilterStopsAtTheFirstMemberThatRefuses) {
  // The attribute test would make the root's attribute map; it is never asked.
  MarlNodeFilter both =
      root.createFilterAnd(ofKind(MarlNode::nodeText), root.createFilterAttribute(L"id", L"", L""));
  EXPECT_FALSE(both.acceptNode(root));
  EXPECT_FALSE(root._impl()->attributes);
}

TEST_F(Filters, AnOrFilterStopsAtTheFirstMemberThatAccepts) {
  MarlNodeFilter either =
      root.createFilterOr(byName(L"root"), root.createFilterAttribute(L"id", L"", L""));
  EXPECT_TRUE(either.acceptNode(root));
  EXPECT_FALSE(root._impl()->attributes);
}

TEST_F(Filters, CreateFilterAndOrWithAnEmptyArgumentGivesAnEmptyFilter) {
  MarlNodeFilter x = byName(L"x");
  EXPECT_FALSE(root.createFilterOr(x, MarlNodeFilter()));
  EXPECT_FALSE(root.createFilterOr(MarlNodeFilter(), x));
  EXPECT_FALSE(root.createFilterAnd(x, MarlNodeFilter()));
  EXPECT_FALSE(root.createFilterAnd(MarlNodeFilter(), MarlNodeFilter()));
}

TEST_F(Filters, AChainOfOneOperatorStaysFlatAndLeavesItsArgumentsAlone) {
  MarlNodeFilter a = byName(L"a");
  MarlNodeFilter b = byName(L"b");
  MarlNodeFilter c = byName(L"c");
  MarlNodeFilter inner = root.createFilterOr(a, b);
  MarlNodeFilter outer = root.createFilterOr(inner, c);
  EXPECT_NE(object(outer), object(inner));
  EXPECT_EQ(membersOf(outer), 3u);
  EXPECT_EQ(membersOf(inner), 2u);
}

TEST_F(Filters, AFilterOfTheSameKindInSecondPlaceIsCopiedAndTheFirstAddedLast) {
  MarlNodeFilter a = byName(L"a");
  MarlNodeFilter b = byName(L"b");
  MarlNodeFilter c = byName(L"c");
  MarlNodeFilter bc = root.createFilterAnd(b, c);
  MarlNodeFilterCombining abc(root.createFilterAnd(a, bc));
  ASSERT_EQ(abc._impl()->filters.size(), 3u);
  EXPECT_EQ(object(abc._impl()->filters[0]), object(b));
  EXPECT_EQ(object(abc._impl()->filters[1]), object(c));
  EXPECT_EQ(object(abc._impl()->filters[2]), object(a));
  EXPECT_EQ(membersOf(bc), 2u);
}

TEST_F(Filters, MixedOperatorsNest) {
  MarlNodeFilter either =
      root.createFilterOr(byName(L"item"), root.createFilterName(L"other", L"p"));
  MarlNodeFilterCombining both(root.createFilterAnd(either, ofKind(MarlNode::nodeElement)));
  ASSERT_EQ(both._impl()->filters.size(), 2u);
  EXPECT_EQ(object(both._impl()->filters[0]), object(either));
  EXPECT_TRUE(both.acceptNode(other));
  EXPECT_FALSE(both.acceptNode(root));
}

TEST_F(Filters, AddFilterAppendsInOrderAndIgnoresAnEmptyFilter) {
  MarlNodeFilterCombining either(root.createFilterOr(byName(L"a"), byName(L"b")));
  MarlNodeFilter item2 = byName(L"item");
  either.addFilter(MarlNodeFilter());
  EXPECT_EQ(either._impl()->filters.size(), 2u);
  either.addFilter(item2);
  ASSERT_EQ(either._impl()->filters.size(), 3u);
  EXPECT_EQ(object(either._impl()->filters[2]), object(item2));
  EXPECT_TRUE(either.acceptNode(item));
}

// ---------------------------------------------------------------------------------------
// Clones

TEST_F(Filters, ACloneIsANewFilterWithTheSameSettings) {
  MarlNodeFilter originals[] = {
      ofKind(MarlNode::nodeText),
      byName(L"item"),
      root.createFilterNameNS(L"other", L"urn:p"),
      root.createFilterAttribute(L"id", L"", L"7"),
      root.createFilterAttributeNS(L"kind", L"urn:q", L"x"),
      root.createFilterNot(byName(L"item")),
      root.createFilterParent(byName(L"item")),
      root.createFilterAncestor(byName(L"root")),
      root.createFilterAnd(byName(L"item"), ofKind(MarlNode::nodeElement)),
      root.createFilterOr(byName(L"item"), ofKind(MarlNode::nodeText)),
  };
  MarlNode probes[] = {document, root, item, text, other};
  for (MarlNodeFilter const& original : originals) {
    MarlNodeFilter copy = original.clone();
    ASSERT_TRUE(copy);
    EXPECT_NE(object(copy), object(original));
    EXPECT_EQ(copy.getType(), original.getType());
    EXPECT_EQ(copy._impl()->_queryClass(), original._impl()->_queryClass());
    for (MarlNode const& probe : probes)
      EXPECT_EQ(copy.acceptNode(probe), original.acceptNode(probe)) << original.getType();
  }
}

TEST_F(Filters, ACloneOfAUnaryFilterSharesTheFilterItWasBuiltOver) {
  MarlNodeFilter inner = byName(L"item");
  MarlNodeFilter notItem = root.createFilterNot(inner);
  MarlNodeFilter copy = notItem.clone();
  EXPECT_EQ(object(static_cast<CNodeFilterNot*>(copy._impl())->filter), object(inner));
  EXPECT_EQ(object(static_cast<CNodeFilterNot*>(notItem._impl())->filter), object(inner));
}

TEST_F(Filters, ACloneOfACombiningFilterSharesTheMembersButNotTheList) {
  MarlNodeFilterCombining either(root.createFilterOr(byName(L"a"), byName(L"b")));
  MarlNodeFilterCombining copy(either.clone());
  ASSERT_TRUE(copy);
  copy.addFilter(byName(L"c"));
  EXPECT_EQ(copy._impl()->filters.size(), 3u);
  EXPECT_EQ(either._impl()->filters.size(), 2u);
  EXPECT_EQ(object(copy._impl()->filters[0]), object(either._impl()->filters[0]));
}

// ---------------------------------------------------------------------------------------
// Handles and class identity

TEST_F(Filters, EveryPlainFilterAnswersSeventy) {
  MarlNodeFilter filters[] = {
      root.createFilterNot(MarlNodeFilter()),
      ofKind(1),
      byName(L"n"),
      root.createFilterNameNS(L"n", L"u"),
      root.createFilterAttribute(L"n", L"", L""),
      root.createFilterAttributeNS(L"n", L"u", L""),
      root.createFilterParent(MarlNodeFilter()),
      root.createFilterAncestor(MarlNodeFilter()),
  };
  for (MarlNodeFilter const& filter : filters) {
    ASSERT_TRUE(filter);
    CMarlNodeFilter* impl = filter._impl();
    EXPECT_EQ(impl->_queryClass(), 70u);
    EXPECT_EQ(impl->_queryInterface(70), static_cast<void*>(impl));
    EXPECT_EQ(impl->_queryInterface(1), static_cast<void*>(impl));
    EXPECT_EQ(impl->_queryInterface(80), nullptr);
    EXPECT_EQ(impl->_queryInterface(60), nullptr);
    EXPECT_FALSE(MarlNodeFilterCombining(filter));
    EXPECT_EQ(impl->getRefCount(), 1u);
  }
}

TEST_F(Filters, AndAndOrFiltersAnswerEightyAndSeventy) {
  MarlNodeFilter filters[] = {
      root.createFilterAnd(byName(L"a"), byName(L"b")),
      root.createFilterOr(byName(L"a"), byName(L"b")),
  };
  for (MarlNodeFilter const& filter : filters) {
    CMarlNodeFilter* impl = filter._impl();
    EXPECT_EQ(impl->_queryClass(), 80u);
    EXPECT_EQ(impl->_queryInterface(80), static_cast<void*>(impl));
    EXPECT_EQ(impl->_queryInterface(70), static_cast<void*>(impl));
    EXPECT_EQ(impl->_queryInterface(1), static_cast<void*>(impl));
    EXPECT_EQ(impl->_queryInterface(60), nullptr);
    MarlNodeFilterCombining combining(filter);
    EXPECT_TRUE(combining);
    EXPECT_EQ(impl->getRefCount(), 2u);
    MarlNodeFilter back(static_cast<CUnknown*>(combining));
    EXPECT_EQ(impl->getRefCount(), 3u);
  }
}

TEST_F(Filters, TheConstructorFromACombiningObjectCountsItTwice) {
  CNodeFilterCombining* impl = new CNodeFilterOr;
  {
    MarlNodeFilterCombining either(impl);
    EXPECT_EQ(impl->getRefCount(), 2u);
    MarlNodeFilterCombining copy = either;
    EXPECT_EQ(impl->getRefCount(), 3u);
  }
  // The object outlives its last handle by the extra count.
  EXPECT_EQ(impl->getRefCount(), 1u);
  EXPECT_EQ(impl->_queryClass(), 80u);
  impl->release();
}

TEST_F(Filters, AssignmentFromACombiningObjectCountsItOnce) {
  CNodeFilterCombining* impl = new CNodeFilterAnd;
  MarlNodeFilterCombining both;
  both = impl;
  EXPECT_EQ(impl->getRefCount(), 1u);
  EXPECT_EQ(both._impl(), impl);
}

TEST_F(Filters, ConversionsFromOtherObjectsGiveEmptyFilters) {
  EXPECT_FALSE(MarlNodeFilter(static_cast<CUnknown*>(root)));
  EXPECT_FALSE(MarlNodeFilterCombining(static_cast<CUnknown*>(root)));
  EXPECT_FALSE(MarlNodeFilter(static_cast<CUnknown*>(nullptr)));
  EXPECT_FALSE(MarlNodeFilterCombining(MarlNodeFilter()));
}

// ---------------------------------------------------------------------------------------
// Running out of memory

TEST_F(Filters, EveryFilterFactoryGivesAnEmptyHandleWhenMemoryRunsOut) {
  MarlNodeFilter x = byName(L"x");
  MarlNodeFilter y = byName(L"y");
  long before = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure(0);
    EXPECT_FALSE(root.createFilterAnd(x, y));
    EXPECT_FALSE(root.createFilterOr(x, y));
    EXPECT_FALSE(root.createFilterNot(x));
    EXPECT_FALSE(root.createFilterNodeType(1));
    EXPECT_FALSE(root.createFilterName(L"n", L""));
    EXPECT_FALSE(root.createFilterNameNS(L"n", L"u"));
    EXPECT_FALSE(root.createFilterAttribute(L"n", L"", L""));
    EXPECT_FALSE(root.createFilterAttributeNS(L"n", L"u", L""));
    EXPECT_FALSE(root.createFilterParent(x));
    EXPECT_FALSE(root.createFilterAncestor(x));
    EXPECT_FALSE(x.clone());
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST_F(Filters, CombiningGivesAnEmptyHandleWhenTheMemberListCannotGrow) {
  MarlNodeFilter x = byName(L"x");
  MarlNodeFilter y = byName(L"y");
  MarlNodeFilter xy = root.createFilterOr(x, y);
  long before = testhost::outstandingBlocks();
  {
    // The new filter gets its memory, its first member list does not.
    testhost::AllocationFailure failure(1);
    EXPECT_FALSE(root.createFilterAnd(x, y));
  }
  {
    // The copy of `xy` takes two blocks; growing its list for `x` fails.
    testhost::AllocationFailure failure(2);
    EXPECT_FALSE(root.createFilterOr(xy, x));
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
  EXPECT_EQ(membersOf(xy), 2u);
}

TEST_F(Filters, AddFilterPassesTheFailureOnAndKeepsTheMembers) {
  MarlNodeFilterCombining either(root.createFilterOr(byName(L"a"), byName(L"b")));
  MarlNodeFilter c = byName(L"c");
  testhost::AllocationFailure failure(0);
  EXPECT_THROW(either.addFilter(c), std::bad_alloc);
  EXPECT_EQ(either._impl()->filters.size(), 2u);
}

TEST_F(Filters, FiltersGiveTheirMemoryBackWhenTheLastHandleGoes) {
  long before = testhost::outstandingBlocks();
  {
    MarlNodeFilter tree = root.createFilterAnd(
        root.createFilterOr(byName(L"a"), root.createFilterNot(byName(L"b"))),
        root.createFilterAncestor(root.createFilterAttribute(L"id", L"", L"7")));
    EXPECT_TRUE(tree);
    EXPECT_GT(testhost::outstandingBlocks(), before);
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}
