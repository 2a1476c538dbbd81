#include "dom/xmxxo_text.h"

#include <gtest/gtest.h>

#include "dom/xmxxo_doc.h"
#include "dom/xmxxo_elem.h"
#include "marl/marl.h"
#include "support/host_memory.h"
#include "support/document_fixture.h"

namespace {

class TextNode : public DocumentTest {
 protected:

  // An element in the document holding one text node with `content`.
  MarlText linkedText(std::wstring const& content) {
    MarlElement parent = document.createElement(L"parent", L"");
    document.appendChild(parent, 0);
    MarlText node = document.createText(content);
    parent.appendChild(node, 0);
    return node;
  }

  // The values of the children, in order.
  static std::wstring childValues(MarlNode const& parent) {
    std::wstring values;
    for (MarlNode child = parent.getFirstChild(); child; child = child.getNext()) {
      if (!values.empty()) values += L",";
      values += child.getValue();
    }
    return values;
  }


};

}  // namespace

TEST_F(TextNode, ATextNodeHasItsKindAndTheFixedName) {
  MarlText node = document.createText(L"abc");
  ASSERT_TRUE(node);
  EXPECT_EQ(node.getType(), MarlNode::nodeText);
  EXPECT_EQ(node.getName(), L"#text");
  EXPECT_EQ(node.getValue(), L"abc");
  EXPECT_FALSE(node.getParent());
  EXPECT_FALSE(node.getOwnerDocument());
}

TEST_F(TextNode, AnswersTextCharacterDataAndNode) {
  MarlText node = document.createText(L"abc");
  EXPECT_EQ(node._impl()->_queryClass(), unsigned{idText});
  for (unsigned int id : {140u, 110u, 20u, 1u})
    EXPECT_EQ(node._impl()->_queryInterface(id), static_cast<void*>(node._impl())) << id;
  for (unsigned int id : {150u, 190u, 130u, 120u, 90u})
    EXPECT_FALSE(answers(node, id)) << "identifier " << id;
}

TEST_F(TextNode, ConvertsToCharacterDataButNotToACommentOrSection) {
  MarlText node = document.createText(L"abc");
  MarlNode asNode = node;
  std::uint32_t count = node._impl()->getRefCount();
  {
    MarlCharacterData data(asNode);
    EXPECT_EQ(data._impl(), node._impl());
    EXPECT_EQ(node._impl()->getRefCount(), count + 1);
  }
  MarlComment comment(asNode);
  MarlCDATASection section(asNode);
  MarlText fromUnknown(static_cast<CUnknown*>(asNode));
  EXPECT_FALSE(comment);
  EXPECT_FALSE(section);
  EXPECT_TRUE(fromUnknown);
  EXPECT_EQ(node._impl()->getRefCount(), count + 1);
}

TEST_F(TextNode, AllFourChildOperationsAreRefused) {
  MarlText node = document.createText(L"abc");
  MarlText other = document.createText(L"other");
  EXPECT_EQ(node.appendChild(other, 0), MarlNode::rcNotSupported);
  EXPECT_EQ(node.appendChild(other, 1), MarlNode::rcNotSupported);
  EXPECT_EQ(node.insertChild(other, MarlNode()), MarlNode::rcNotSupported);
  EXPECT_EQ(node.replaceChild(other, node), MarlNode::rcNotSupported);
  EXPECT_EQ(node.removeChild(other), MarlNode::rcNotSupported);
  EXPECT_EQ(node.numChildren(), 0u);
  EXPECT_FALSE(other.getParent());
}

TEST_F(TextNode, ChildOperationsWithEmptyHandlesAreRefusedToo) {
  MarlText node = document.createText(L"abc");
  EXPECT_EQ(node.appendChild(MarlNode(), 0), MarlNode::rcNotSupported);
  EXPECT_EQ(node.insertChild(MarlNode(), MarlNode()), MarlNode::rcNotSupported);
  EXPECT_EQ(node.replaceChild(MarlNode(), MarlNode()), MarlNode::rcNotSupported);
  EXPECT_EQ(node.removeChild(MarlNode()), MarlNode::rcNotSupported);
}

TEST_F(TextNode, SplitTextLeavesTheHeadAndPutsTheTailBehindIt) {
  MarlText node = linkedText(L"abc");
  MarlNode parent = node.getParent();
  MarlText tail = node.splitText(1);
  ASSERT_TRUE(tail);
  EXPECT_EQ(node.getData(), L"a");
  EXPECT_EQ(tail.getData(), L"bc");
  EXPECT_EQ(parent.numChildren(), 2u);
  EXPECT_EQ(childValues(parent), L"a,bc");
  EXPECT_EQ(node.getNext()._impl(), tail._impl());
  EXPECT_EQ(tail.getParent()._impl(), parent._impl());
  EXPECT_EQ(tail.getOwnerDocument()._impl(), document._impl());
}

TEST_F(TextNode, SplitTextPutsTheTailDirectlyBehindBeforeLaterSiblings) {
  MarlText node = linkedText(L"abc");
  MarlNode parent = node.getParent();
  parent.appendChild(document.createComment(L"after"), 0);
  MarlText tail = node.splitText(2);
  ASSERT_TRUE(tail);
  EXPECT_EQ(childValues(parent), L"ab,c,after");
  EXPECT_EQ(tail.getType(), MarlNode::nodeText);
}

TEST_F(TextNode, SplitTextAtZeroMovesTheWholeText) {
  MarlText node = linkedText(L"abc");
  MarlText tail = node.splitText(0);
  ASSERT_TRUE(tail);
  EXPECT_EQ(node.getData(), L"");
  EXPECT_EQ(tail.getData(), L"abc");
}

TEST_F(TextNode, SplitTextAtTheEndAddsAnEmptyTextAndKeepsTheOld) {
  MarlText node = linkedText(L"abc");
  MarlText tail = node.splitText(3);
  ASSERT_TRUE(tail);
  EXPECT_EQ(node.getData(), L"abc");
  EXPECT_EQ(tail.getData(), L"");
  EXPECT_EQ(node.getParent().numChildren(), 2u);
}

TEST_F(TextNode, SplitTextOfALongTextSplitsTheOwnedString) {
  std::wstring content = std::wstring(20, L'a') + std::wstring(20, L'b');
  MarlText node = linkedText(content);
  MarlText tail = node.splitText(20);
  ASSERT_TRUE(tail);
  EXPECT_EQ(node.getData(), std::wstring(20, L'a'));
  EXPECT_EQ(tail.getData(), std::wstring(20, L'b'));
}

TEST_F(TextNode, SplitTextWithoutAnOwnerDocumentIsEmptyAndChangesNothing) {
  MarlElement parent = document.createElement(L"parent", L"");
  MarlText node = document.createText(L"abc");
  parent.appendChild(node, 0);
  ASSERT_FALSE(node.getOwnerDocument());
  EXPECT_FALSE(node.splitText(1));
  EXPECT_EQ(node.getData(), L"abc");
  EXPECT_EQ(parent.numChildren(), 1u);
}

TEST_F(TextNode, SplitTextWithoutAParentIsEmptyAndChangesNothing) {
  MarlText node = linkedText(L"abc");
  node.removeNode();
  ASSERT_TRUE(node.getOwnerDocument());
  EXPECT_FALSE(node.splitText(1));
  EXPECT_EQ(node.getData(), L"abc");
  EXPECT_FALSE(node.getNext());
}

TEST_F(TextNode, SplitTextThatRunsOutOfMemoryIsEmptyAndChangesNothing) {
  MarlText node = linkedText(L"abc");
  long before = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure(0);
    EXPECT_FALSE(node.splitText(1));
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
  EXPECT_EQ(node.getData(), L"abc");
  EXPECT_EQ(node.getParent().numChildren(), 1u);
}

TEST_F(TextNode, CloneCopiesTheSharedTextUnderANewNumber) {
  MarlText source = linkedText(L"abc");
  MarlText copy(source.clone(-1));
  ASSERT_TRUE(copy);
  EXPECT_NE(copy._impl(), source._impl());
  EXPECT_NE(copy.getGID(), source.getGID());
  EXPECT_EQ(copy.getType(), MarlNode::nodeText);
  EXPECT_EQ(copy._impl()->_queryClass(), unsigned{idText});
  EXPECT_EQ(&copy.getData(), &source.getData());
  EXPECT_FALSE(copy.getParent());
  EXPECT_FALSE(copy.getOwnerDocument());
}

TEST_F(TextNode, CloneOfALongTextOwnsItsCopy) {
  std::wstring content(40, L'x');
  MarlText source = document.createText(content);
  MarlText copy(source.clone(0));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy.getData(), content);
  EXPECT_NE(&copy.getData(), &source.getData());
  source.appendData(L"y");
  EXPECT_EQ(copy.getData(), content);
}

TEST_F(TextNode, CloneOfAnEditedShortTextSharesItAgain) {
  MarlText source = document.createText(L"abc");
  source.appendData(L"d");
  ASSERT_EQ(&source.getData(), &source._impl()->ownData);
  MarlText copy(source.clone(1));
  ASSERT_TRUE(copy);
  EXPECT_EQ(&copy.getData(), CMarlBase::instance().intern(L"abcd"));
}

TEST_F(TextNode, ACloneThatRunsOutOfMemoryIsEmptyAndLeaksNothing) {
  MarlText source = document.createText(std::wstring(40, L'x'));
  long before = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure(0);
    EXPECT_FALSE(source.clone(-1));
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST_F(TextNode, CreateTextThatRunsOutOfMemoryIsEmptyAndLeaksNothing) {
  long before = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure(0);
    EXPECT_FALSE(document.createText(L"never made"));
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST_F(TextNode, CreateTextThatRunsOutOfMemoryForItsAtomIsEmpty) {
  long before = testhost::outstandingBlocks();
  MarlText node;
  {
    testhost::AllocationFailure failure(1);
    EXPECT_NO_THROW(node = document.createText(L"a text not yet cached"));
  }
  EXPECT_FALSE(node);
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}
