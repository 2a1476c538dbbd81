#include "dom/xmxxo_ncol.h"

#include <gtest/gtest.h>

#include <string>

#include "dom/xmxxo_doc.h"
#include "dom/xmxxo_elem.h"
#include "marl/marl.h"
#include "support/host_memory.h"
#include "support/library_state.h"

namespace {

// An empty collection and three elements a, b, c to put into it.
class NodeCollection : public FreshLibrary {
 protected:
  void SetUp() override {
    FreshLibrary::SetUp();
    marl = Marl::create();
    document = marl.createDocument();
    collection = MarlNodeCollection(new CMarlNodeCollection());
    a = document.createElement(L"a", L"");
    b = document.createElement(L"b", L"");
    c = document.createElement(L"c", L"");
  }
  void TearDown() override {
    a = b = c = MarlElement();
    collection = static_cast<CMarlNodeCollection const*>(nullptr);
    document = static_cast<CMarlDocument const*>(nullptr);
    marl = static_cast<CMarl const*>(nullptr);
    FreshLibrary::TearDown();
  }

  // The names of the items, separated by commas; "-" for an empty item.
  std::wstring names() const {
    std::wstring text;
    for (unsigned int i = 0; i < collection.getLength(); ++i) {
      if (!text.empty()) text += L",";
      MarlNode item = collection.getItem(i);
      text += item ? item.getName() : L"-";
    }
    return text;
  }

  // The names a walk hands out, separated by commas.
  static std::wstring namesOf(MarlNodeIterator walk) {
    std::wstring text;
    for (MarlNode node = walk.getNext(); node; node = walk.getNext()) {
      if (!text.empty()) text += L",";
      text += node.getName();
    }
    return text;
  }

  void fill() {
    collection.appendItem(a);
    collection.appendItem(b);
    collection.appendItem(c);
  }

  Marl marl;
  MarlDocument document;
  MarlNodeCollection collection;
  MarlElement a, b, c;
};

}  // namespace

TEST_F(NodeCollection, AnswersItsIdentifierOnly) {
  CMarlNodeCollection* impl = collection._impl();
  EXPECT_EQ(impl->_queryClass(), 50u);
  EXPECT_EQ(impl->_queryInterface(50), impl);
  EXPECT_EQ(impl->_queryInterface(1), impl);
  EXPECT_EQ(impl->_queryInterface(30), nullptr);
  EXPECT_FALSE(MarlNodeCollection(static_cast<CUnknown*>(a)));
}

TEST_F(NodeCollection, ANewCollectionIsEmpty) {
  EXPECT_EQ(collection.getLength(), 0u);
  EXPECT_FALSE(collection.getItem(0));
}

TEST_F(NodeCollection, AppendItemAddsAtTheEnd) {
  EXPECT_EQ(collection.appendItem(a), MarlNode::rcOK);
  EXPECT_EQ(collection.appendItem(b), MarlNode::rcOK);
  EXPECT_EQ(names(), L"a,b");
}

TEST_F(NodeCollection, AppendItemRefusesAnEmptyNode) {
  EXPECT_EQ(collection.appendItem(MarlNode()), MarlNode::rcBadArgument);
  EXPECT_EQ(collection.getLength(), 0u);
}

TEST_F(NodeCollection, ANodeMayStandTwice) {
  collection.appendItem(a);
  collection.appendItem(a);
  EXPECT_EQ(names(), L"a,a");
}

TEST_F(NodeCollection, GetItemNotBelowTheLengthIsEmpty) {
  fill();
  EXPECT_FALSE(collection.getItem(3));
  EXPECT_FALSE(collection.getItem(0xFFFFFFFFu));
  EXPECT_EQ(collection.getItem(2).getName(), L"c");
}

TEST_F(NodeCollection, InsertItemInsertsBeforeTheIndex) {
  collection.appendItem(a);
  collection.appendItem(c);
  EXPECT_EQ(collection.insertItem(1, b), MarlNode::rcOK);
  EXPECT_EQ(names(), L"a,b,c");
  EXPECT_EQ(collection.insertItem(0, c), MarlNode::rcOK);
  EXPECT_EQ(names(), L"c,a,b,c");
}

TEST_F(NodeCollection, InsertItemAtTheLengthAppends) {
  collection.appendItem(a);
  EXPECT_EQ(collection.insertItem(1, b), MarlNode::rcOK);
  EXPECT_EQ(names(), L"a,b");
}

TEST_F(NodeCollection, InsertItemAboveTheLengthIsRefused) {
  collection.appendItem(a);
  EXPECT_EQ(collection.insertItem(2, b), MarlNode::rcBadArgument);
  EXPECT_EQ(names(), L"a");
}

TEST_F(NodeCollection, InsertItemRefusesAnEmptyNodeLikeAppendItem) {
  collection.appendItem(a);
  EXPECT_EQ(collection.insertItem(0, MarlNode()), MarlNode::rcBadArgument);
  EXPECT_EQ(collection.insertItem(1, MarlNode()), MarlNode::rcBadArgument);
  EXPECT_EQ(names(), L"a");
}

TEST_F(NodeCollection, ReplaceItemBelowTheLengthReplaces) {
  fill();
  EXPECT_EQ(collection.replaceItem(1, c), MarlNode::rcOK);
  EXPECT_EQ(names(), L"a,c,c");
}

TEST_F(NodeCollection, ReplaceItemAtTheLengthAppendsWhereRemoveItemFails) {
  collection.appendItem(a);
  EXPECT_EQ(collection.replaceItem(1, b), MarlNode::rcOK);
  EXPECT_EQ(names(), L"a,b");
  EXPECT_EQ(collection.removeItem(2), MarlNode::rcBadArgument);
  EXPECT_EQ(names(), L"a,b");
}

TEST_F(NodeCollection, ReplaceItemAboveTheLengthIsRefused) {
  collection.appendItem(a);
  EXPECT_EQ(collection.replaceItem(2, b), MarlNode::rcBadArgument);
  EXPECT_EQ(names(), L"a");
}

TEST_F(NodeCollection, ReplaceItemTakesAnEmptyNodeUnlikeAppendItem) {
  collection.appendItem(a);
  EXPECT_EQ(collection.replaceItem(0, MarlNode()), MarlNode::rcOK);
  EXPECT_EQ(collection.replaceItem(1, MarlNode()), MarlNode::rcOK);
  EXPECT_EQ(collection.getLength(), 2u);
  EXPECT_EQ(names(), L"-,-");
}

TEST_F(NodeCollection, RemoveItemMovesTheLaterItemsUp) {
  fill();
  EXPECT_EQ(collection.removeItem(1), MarlNode::rcOK);
  EXPECT_EQ(names(), L"a,c");
  EXPECT_EQ(collection.removeItem(1), MarlNode::rcOK);
  EXPECT_EQ(collection.removeItem(0), MarlNode::rcOK);
  EXPECT_EQ(collection.getLength(), 0u);
  EXPECT_EQ(collection.removeItem(0), MarlNode::rcBadArgument);
}

TEST_F(NodeCollection, TheCollectionHoldsItsNodesAndIgnoresTheTree) {
  MarlElement root = document.createElement(L"root", L"");
  root.appendChild(a, 0);
  collection.appendItem(a);
  root.removeChild(a);
  a = MarlElement();
  EXPECT_EQ(collection.getItem(0).getName(), L"a");
  EXPECT_FALSE(collection.getItem(0).getParent());
}

TEST_F(NodeCollection, TheForwardWalkGivesTheItemsFirstToLastThenEmpty) {
  fill();
  MarlNodeIterator walk = collection.createIterator();
  EXPECT_EQ(namesOf(walk), L"a,b,c");
  EXPECT_FALSE(walk.getNext());
}

TEST_F(NodeCollection, TheReverseWalkGivesTheItemsLastToFirst) {
  fill();
  EXPECT_EQ(namesOf(collection.createRevIterator()), L"c,b,a");
}

TEST_F(NodeCollection, AReverseWalkOverAnEmptyCollectionEndsAtOnce) {
  MarlNodeIterator walk = collection.createRevIterator();
  EXPECT_FALSE(walk.getNext());
  EXPECT_FALSE(walk.getNext());
  EXPECT_FALSE(collection.createIterator().getNext());
}

TEST_F(NodeCollection, FilteredWalksSkipWhatTheFilterRefuses) {
  fill();
  MarlNodeFilter notB = a.createFilterNot(a.createFilterName(L"b", L""));
  EXPECT_EQ(namesOf(collection.createIteratorFiltered(notB)), L"a,c");
  EXPECT_EQ(namesOf(collection.createRevIteratorFiltered(notB)), L"c,a");
  MarlNodeFilter none = a.createFilterName(L"none", L"");
  EXPECT_FALSE(collection.createIteratorFiltered(none).getNext());
  EXPECT_FALSE(collection.createRevIteratorFiltered(none).getNext());
}

TEST_F(NodeCollection, ResetBeginsTheWalkAgain) {
  fill();
  MarlNodeIterator forward = collection.createIterator();
  forward.getNext();
  forward.getNext();
  forward.reset();
  EXPECT_EQ(forward.getNext().getName(), L"a");
  MarlNodeIterator backward = collection.createRevIterator();
  while (backward.getNext()) {
  }
  backward.reset();
  EXPECT_EQ(backward.getNext().getName(), L"c");
}

TEST_F(NodeCollection, AWalkKeepsItsOwnCopyOfTheFilterButSetFilterTakesTheHandle) {
  fill();
  MarlNodeFilter onlyB = a.createFilterName(L"b", L"");
  MarlNodeIterator walk = collection.createRevIteratorFiltered(onlyB);
  EXPECT_NE(static_cast<CUnknown*>(walk.getFilter()), static_cast<CUnknown*>(onlyB));
  walk.setFilter(onlyB);
  EXPECT_EQ(static_cast<CUnknown*>(walk.getFilter()), static_cast<CUnknown*>(onlyB));
  EXPECT_EQ(walk.getNext().getName(), L"b");
}

TEST_F(NodeCollection, TheWalksServeTheNodeIteratorInterface) {
  EXPECT_EQ(collection.createIterator()._impl()->_queryClass(), 60u);
  EXPECT_EQ(collection.createRevIterator()._impl()->_queryClass(), 60u);
}

TEST_F(NodeCollection, ACopiedWalkGoesOnFromTheSamePlace) {
  fill();
  MarlNodeIterator walk = collection.createIterator();
  walk.getNext();
  CNodeCollectionIterator copy(*static_cast<CNodeCollectionIterator*>(walk._impl()));
  EXPECT_EQ(copy.getNext().getName(), L"b");
  MarlNodeIterator back = collection.createRevIterator();
  back.getNext();
  CNodeCollectionRevIterator backCopy(*static_cast<CNodeCollectionRevIterator*>(back._impl()));
  EXPECT_EQ(backCopy.getNext().getName(), L"b");
  backCopy = *static_cast<CNodeCollectionRevIterator*>(back._impl());
  EXPECT_EQ(backCopy.getNext().getName(), L"b");
}

TEST_F(NodeCollection, AWalkFollowsItemsAddedWhileItRuns) {
  collection.appendItem(a);
  MarlNodeIterator walk = collection.createIterator();
  EXPECT_EQ(walk.getNext().getName(), L"a");
  collection.appendItem(b);
  EXPECT_EQ(walk.getNext().getName(), L"b");
}

TEST_F(NodeCollection, AReverseWalkOverAShrunkCollectionReadsNothingBeyondItsEnd) {
  fill();
  MarlNodeIterator walk = collection.createRevIterator();
  EXPECT_EQ(walk.getNext().getName(), L"c");
  collection.removeItem(2);
  collection.removeItem(1);
  EXPECT_FALSE(walk.getNext());
  EXPECT_EQ(walk.getNext().getName(), L"a");
  EXPECT_FALSE(walk.getNext());
}

TEST_F(NodeCollection, MutatorsWithoutMemoryAnswerNoNodeAndChangeNothing) {
  long before = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure(0);
    EXPECT_EQ(collection.appendItem(a), MarlNode::rcNoNode);
    EXPECT_EQ(collection.insertItem(0, a), MarlNode::rcNoNode);
    EXPECT_EQ(collection.replaceItem(0, a), MarlNode::rcNoNode);
  }
  EXPECT_EQ(collection.getLength(), 0u);
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST_F(NodeCollection, WalksWithoutMemoryAreEmptyAndLeakNothing) {
  fill();
  MarlNodeFilter filter = a.createFilterName(L"a", L"");
  long before = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure(0);
    EXPECT_FALSE(collection.createIterator());
    EXPECT_FALSE(collection.createRevIterator());
  }
  {
    testhost::AllocationFailure failure(1);
    EXPECT_FALSE(collection.createIteratorFiltered(filter));
  }
  {
    testhost::AllocationFailure failure(1);
    EXPECT_FALSE(collection.createRevIteratorFiltered(filter));
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST_F(NodeCollection, ACollectionGivesItsMemoryBackWithItsLastHandle) {
  long before = testhost::outstandingBlocks();
  {
    MarlNodeCollection another(new CMarlNodeCollection());
    another.appendItem(a);
    MarlNodeIterator walk = another.createIterator();
    EXPECT_GT(testhost::outstandingBlocks(), before);
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}
