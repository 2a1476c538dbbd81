#include "dom/xmxxo_nlis.h"

#include <gtest/gtest.h>

#include <string>

#include "dom/xmxxo_doc.h"
#include "dom/xmxxo_elem.h"
#include "marl/marl.h"
#include "support/host_memory.h"
#include "support/library_state.h"

namespace {

// A parent `p` with the children c0 to c4.
class NodeList : public FreshLibrary {
 protected:
  void SetUp() override {
    FreshLibrary::SetUp();
    marl = Marl::create();
    document = marl.createDocument();
    parent = document.createElement(L"p", L"");
    for (int i = 0; i < 5; ++i) {
      MarlElement child = document.createElement(L"c" + std::to_wstring(i), L"");
      parent.appendChild(child, 0);
    }
    list = parent.getChildren();
  }
  void TearDown() override {
    list = static_cast<CMarlNodeList const*>(nullptr);
    parent = static_cast<CMarlElement const*>(nullptr);
    document = static_cast<CMarlDocument const*>(nullptr);
    marl = static_cast<CMarl const*>(nullptr);
    FreshLibrary::TearDown();
  }

  // The names a walk hands out, separated by commas.
  static std::wstring namesOf(MarlNodeIterator walk) {
    std::wstring names;
    for (MarlNode node = walk.getNext(); node; node = walk.getNext()) {
      if (!names.empty()) names += L",";
      names += node.getName();
    }
    return names;
  }

  static bool same(MarlNode const& a, MarlNode const& b) {
    return static_cast<CUnknown*>(a) == static_cast<CUnknown*>(b);
  }

  MarlNode child(int index) const {
    MarlNode node = parent.getFirstChild();
    while (index-- > 0) node = node.getNext();
    return node;
  }

  MarlNodeFilter named(std::wstring const& name) const {
    return parent.createFilterName(name, L"");
  }

  Marl marl;
  MarlDocument document;
  MarlElement parent;
  MarlNodeList list;
};

}  // namespace

TEST_F(NodeList, AnswersItsIdentifierOnly) {
  CMarlNodeList* impl = list._impl();
  EXPECT_EQ(impl->_queryClass(), 30u);
  EXPECT_EQ(impl->_queryInterface(30), impl);
  EXPECT_EQ(impl->_queryInterface(1), impl);
  EXPECT_EQ(impl->_queryInterface(20), nullptr);
  EXPECT_EQ(impl->_queryInterface(50), nullptr);
  EXPECT_FALSE(MarlNodeList(static_cast<CUnknown*>(parent)));
}

TEST_F(NodeList, GetChildrenGivesANewListOverTheNode) {
  MarlNodeList second = parent.getChildren();
  EXPECT_NE(static_cast<CUnknown*>(second), static_cast<CUnknown*>(list));
  EXPECT_TRUE(same(list._impl()->owner, parent));
  EXPECT_EQ(list._impl()->cursorIndex, 0u);
  EXPECT_FALSE(list._impl()->cursor);
}

TEST_F(NodeList, LengthAndItemsAreTheChildrenInOrder) {
  EXPECT_EQ(list.getLength(), 5u);
  for (int i = 0; i < 5; ++i)
    EXPECT_TRUE(same(list.getItem(static_cast<unsigned int>(i)), child(i)));
}

TEST_F(NodeList, AListOverALeafIsEmpty) {
  MarlNodeList leafList = child(0).getChildren();
  EXPECT_EQ(leafList.getLength(), 0u);
  EXPECT_FALSE(leafList.getItem(0));
}

TEST_F(NodeList, AListOverAnEmptyOwnerHasNoItemAndLengthZero) {
  MarlNodeList ownerless = CMarlNodeList::over(MarlNode());
  ASSERT_TRUE(ownerless);
  EXPECT_EQ(ownerless.getLength(), 0u);
  EXPECT_FALSE(ownerless.getItem(0));
  EXPECT_FALSE(ownerless.createIterator().getNext());
  EXPECT_FALSE(ownerless.createRevIterator().getNext());
}

TEST_F(NodeList, TheListIsLive) {
  parent.appendChild(document.createElement(L"c5", L""), 0);
  EXPECT_EQ(list.getLength(), 6u);
  EXPECT_EQ(list.getItem(5).getName(), L"c5");
  child(0).removeNode();
  EXPECT_EQ(list.getLength(), 5u);
}

TEST_F(NodeList, ItemsThreeFourThreeStepOneSiblingEachTimeAfterTheFirst) {
  EXPECT_TRUE(same(list.getItem(3), child(3)));
  EXPECT_EQ(list._impl()->cursorIndex, 3u);
  // A child the list does not know of, put before the cursor: only a walk from the cursor
  // still sees c4 one step on, where counting again from the first child would give c3.
  parent.insertChild(document.createElement(L"new", L""), parent.getFirstChild());
  EXPECT_EQ(list.getItem(4).getName(), L"c4");
  EXPECT_EQ(list._impl()->cursorIndex, 4u);
  EXPECT_EQ(list.getItem(3).getName(), L"c3");
  EXPECT_EQ(list._impl()->cursorIndex, 3u);
}

TEST_F(NodeList, AChildInsertedBeforeTheCursorShiftsThePositionsUnnoticed) {
  list.getItem(2);
  parent.insertChild(document.createElement(L"new", L""), parent.getFirstChild());
  EXPECT_EQ(list.getItem(0).getName(), L"c0");
  EXPECT_EQ(list.getItem(2).getName(), L"c2");
}

TEST_F(NodeList, AskingForTheSameItemAgainDoesNotMove) {
  MarlNode first = list.getItem(2);
  EXPECT_TRUE(same(list.getItem(2), first));
  EXPECT_EQ(list._impl()->cursorIndex, 2u);
}

TEST_F(NodeList, ItemOfTheLengthIsEmptyAndTheNextItemZeroRestarts) {
  list.getItem(4);
  EXPECT_FALSE(list.getItem(5));
  EXPECT_FALSE(list._impl()->cursor);
  EXPECT_TRUE(same(list.getItem(0), child(0)));
  EXPECT_EQ(list._impl()->cursorIndex, 0u);
}

TEST_F(NodeList, AnItemFarBeyondTheLengthIsEmpty) {
  EXPECT_FALSE(list.getItem(1000000));
  EXPECT_FALSE(list.getItem(0xFFFFFFFFu));
  EXPECT_EQ(list.getItem(1).getName(), L"c1");
}

TEST_F(NodeList, ACursorWithoutParentMakesTheListCountFromTheFirstChild) {
  list.getItem(2);
  child(2).removeNode();
  EXPECT_EQ(list.getItem(2).getName(), L"c3");
  EXPECT_EQ(list.getItem(0).getName(), L"c0");
}

TEST_F(NodeList, ACursorMovedUnderAnotherParentWalksOnAmongItsNewSiblings) {
  MarlElement other = document.createElement(L"other", L"");
  other.appendChild(document.createElement(L"o0", L""), 0);
  MarlNode moved = list.getItem(1);
  other.appendChild(moved, 0);
  EXPECT_EQ(list.getItem(0).getName(), L"o0");
}

TEST_F(NodeList, TheListKeepsItsCursorAliveAfterTheTreeLetsItGo) {
  list.getItem(4);
  MarlNode last = child(4);
  last.removeNode();
  last = MarlNode();
  EXPECT_EQ(list._impl()->cursor.getName(), L"c4");
  EXPECT_FALSE(list.getItem(4));
  EXPECT_EQ(list.getItem(3).getName(), L"c3");
}

TEST_F(NodeList, DroppingTheLastHandleEndsTheListAndItsCount) {
  std::uint32_t before = CMarlBase::c_pMarl->liveObjects;
  {
    MarlNodeList another = parent.getChildren();
    EXPECT_EQ(CMarlBase::c_pMarl->liveObjects, before + 1);
  }
  EXPECT_EQ(CMarlBase::c_pMarl->liveObjects, before);
}

TEST_F(NodeList, GetChildrenWithoutMemoryIsEmptyAndLeaksNothing) {
  long before = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure(0);
    EXPECT_FALSE(parent.getChildren());
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST_F(NodeList, TheInlineIteratorGivesTheChildrenOfItsCurrentNode) {
  MarlInlineIterator walk = parent.createInlineIterator(1);
  MarlNodeList children = walk.getChildren();
  ASSERT_TRUE(children);
  EXPECT_EQ(children.getLength(), 5u);
  while (walk.advance()) {
  }
  EXPECT_FALSE(walk.getChildren());
}

TEST_F(NodeList, TheForwardWalkGivesTheChildrenFirstToLastThenEmpty) {
  MarlNodeIterator walk = list.createIterator();
  EXPECT_EQ(namesOf(walk), L"c0,c1,c2,c3,c4");
  EXPECT_FALSE(walk.getNext());
}

TEST_F(NodeList, TheReverseWalkGivesTheChildrenLastToFirst) {
  EXPECT_EQ(namesOf(list.createRevIterator()), L"c4,c3,c2,c1,c0");
}

TEST_F(NodeList, WalksOverAnEmptyListEndAtOnce) {
  MarlNodeList empty = child(0).getChildren();
  EXPECT_FALSE(empty.createIterator().getNext());
  EXPECT_FALSE(empty.createRevIterator().getNext());
}

TEST_F(NodeList, FilteredWalksSkipWhatTheFilterRefuses) {
  MarlNodeFilter odd = parent.createFilterOr(named(L"c1"), named(L"c3"));
  EXPECT_EQ(namesOf(list.createIteratorFiltered(odd)), L"c1,c3");
  EXPECT_EQ(namesOf(list.createRevIteratorFiltered(odd)), L"c3,c1");
  EXPECT_EQ(namesOf(list.createIteratorFiltered(named(L"none"))), L"");
  EXPECT_EQ(namesOf(list.createRevIteratorFiltered(named(L"none"))), L"");
}

TEST_F(NodeList, ResetBeginsTheWalkAgain) {
  MarlNodeIterator forward = list.createIterator();
  forward.getNext();
  forward.getNext();
  forward.reset();
  EXPECT_EQ(forward.getNext().getName(), L"c0");
  MarlNodeIterator backward = list.createRevIterator();
  backward.getNext();
  backward.reset();
  EXPECT_EQ(backward.getNext().getName(), L"c4");
}

TEST_F(NodeList, AWalkKeepsItsOwnCopyOfTheFilterButSetFilterTakesTheHandle) {
  MarlNodeFilterCombining either(parent.createFilterOr(named(L"c1"), named(L"c2")));
  MarlNodeIterator walk = list.createIteratorFiltered(either);
  EXPECT_NE(static_cast<CUnknown*>(walk.getFilter()), static_cast<CUnknown*>(either));
  either.addFilter(named(L"c0"));
  EXPECT_EQ(walk.getNext().getName(), L"c1");
  walk.setFilter(either);
  EXPECT_EQ(static_cast<CUnknown*>(walk.getFilter()), static_cast<CUnknown*>(either));
  walk.reset();
  EXPECT_EQ(walk.getNext().getName(), L"c0");
  walk.setFilter(MarlNodeFilter());
  EXPECT_FALSE(walk.getFilter());
}

TEST_F(NodeList, TheWalksServeTheNodeIteratorInterface) {
  MarlNodeIterator forward = list.createIterator();
  MarlNodeIterator backward = list.createRevIterator();
  EXPECT_EQ(forward._impl()->_queryClass(), 60u);
  EXPECT_EQ(backward._impl()->_queryClass(), 60u);
  EXPECT_EQ(forward._impl()->_queryInterface(61), nullptr);
}

TEST_F(NodeList, ACopiedWalkGoesOnFromTheSamePlace) {
  MarlNodeIterator walk = list.createIterator();
  walk.getNext();
  CMarlNodeListIterator copy(*static_cast<CMarlNodeListIterator*>(walk._impl()));
  EXPECT_EQ(copy.getNext().getName(), L"c1");
  EXPECT_EQ(walk.getNext().getName(), L"c1");
  MarlNodeIterator back = list.createRevIterator();
  back.getNext();
  CMarlNodeListRevIterator backCopy(*static_cast<CMarlNodeListRevIterator*>(back._impl()));
  EXPECT_EQ(backCopy.getNext().getName(), L"c3");
}

TEST_F(NodeList, TheWalksMoveTheCursorOfTheListTheyWalk) {
  MarlNodeIterator walk = list.createIterator();
  walk.getNext();
  walk.getNext();
  EXPECT_EQ(list._impl()->cursorIndex, 1u);
  EXPECT_TRUE(same(list._impl()->cursor, child(1)));
}

TEST_F(NodeList, AForwardWalkThatEndedKeepsCountingPastTheEnd) {
  MarlNodeIterator walk = list.createIterator();
  while (walk.getNext()) {
  }
  parent.appendChild(document.createElement(L"c5", L""), 0);
  parent.appendChild(document.createElement(L"c6", L""), 0);
  EXPECT_EQ(walk.getNext().getName(), L"c6");
}

TEST_F(NodeList, AReverseWalkThatEndedStaysEnded) {
  MarlNodeIterator walk = list.createRevIterator();
  while (walk.getNext()) {
  }
  for (int i = 0; i < 10; ++i) EXPECT_FALSE(walk.getNext());
}

TEST_F(NodeList, WalksWithoutMemoryAreEmptyAndLeakNothing) {
  MarlNodeFilter filter = named(L"c1");
  long before = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure(0);
    EXPECT_FALSE(list.createIterator());
    EXPECT_FALSE(list.createRevIterator());
  }
  {
    // The walk gets its memory, the copy of its filter does not.
    testhost::AllocationFailure failure(1);
    EXPECT_FALSE(list.createIteratorFiltered(filter));
  }
  {
    testhost::AllocationFailure failure(1);
    EXPECT_FALSE(list.createRevIteratorFiltered(filter));
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST_F(NodeList, ListsAndWalksGiveTheirMemoryBack) {
  long before = testhost::outstandingBlocks();
  {
    MarlNodeList children = parent.getChildren();
    MarlNodeIterator walk = children.createIteratorFiltered(named(L"c2"));
    EXPECT_EQ(walk.getNext().getName(), L"c2");
    EXPECT_GT(testhost::outstandingBlocks(), before);
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}
