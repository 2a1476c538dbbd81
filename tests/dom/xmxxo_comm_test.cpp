#include "dom/xmxxo_comm.h"

#include <gtest/gtest.h>

#include "dom/xmxxo_doc.h"
#include "dom/xmxxo_elem.h"
#include "marl/marl.h"
#include "support/host_memory.h"
#include "support/document_fixture.h"

namespace {

class Comment : public DocumentTest {
 protected:


};

}  // namespace

TEST_F(Comment, ACommentHasItsKindAndTheFixedName) {
  MarlComment comment = document.createComment(L" note ");
  ASSERT_TRUE(comment);
  EXPECT_EQ(comment.getType(), MarlNode::nodeComment);
  EXPECT_EQ(comment.getName(), L"#comment");
  EXPECT_EQ(comment.getData(), L" note ");
  EXPECT_EQ(comment.getValue(), L" note ");
}

TEST_F(Comment, AnswersCommentCharacterDataAndNode) {
  MarlComment comment = document.createComment(L"c");
  EXPECT_EQ(comment._impl()->_queryClass(), unsigned{idComment});
  for (unsigned int id : {150u, 110u, 20u, 1u})
    EXPECT_EQ(comment._impl()->_queryInterface(id), static_cast<void*>(comment._impl())) << id;
  for (unsigned int id : {140u, 190u, 130u, 120u, 160u})
    EXPECT_FALSE(answers(comment, id)) << "identifier " << id;
}

TEST_F(Comment, ConvertsToCharacterDataButNotToText) {
  MarlComment comment = document.createComment(L"c");
  MarlNode node = comment;
  std::uint32_t count = comment._impl()->getRefCount();
  MarlText text(node);
  MarlCDATASection section(node);
  EXPECT_FALSE(text);
  EXPECT_FALSE(section);
  EXPECT_EQ(comment._impl()->getRefCount(), count);
  MarlCharacterData data(node);
  EXPECT_EQ(data._impl(), comment._impl());
  EXPECT_EQ(comment._impl()->getRefCount(), count + 1);
}

TEST_F(Comment, AllFourChildOperationsAreRefused) {
  MarlComment comment = document.createComment(L"c");
  MarlElement child = document.createElement(L"child", L"");
  EXPECT_EQ(comment.appendChild(child, 0), MarlNode::rcNotSupported);
  EXPECT_EQ(comment.appendChild(child, 1), MarlNode::rcNotSupported);
  EXPECT_EQ(comment.insertChild(child, MarlNode()), MarlNode::rcNotSupported);
  EXPECT_EQ(comment.replaceChild(child, comment), MarlNode::rcNotSupported);
  EXPECT_EQ(comment.removeChild(child), MarlNode::rcNotSupported);
  EXPECT_EQ(comment.numChildren(), 0u);
  EXPECT_FALSE(child.getParent());
}

TEST_F(Comment, ChildOperationsWithEmptyHandlesAreRefusedToo) {
  MarlComment comment = document.createComment(L"c");
  EXPECT_EQ(comment.appendChild(MarlNode(), 0), MarlNode::rcNotSupported);
  EXPECT_EQ(comment.insertChild(MarlNode(), MarlNode()), MarlNode::rcNotSupported);
  EXPECT_EQ(comment.replaceChild(MarlNode(), MarlNode()), MarlNode::rcNotSupported);
  EXPECT_EQ(comment.removeChild(MarlNode()), MarlNode::rcNotSupported);
}

TEST_F(Comment, ACommentIsEditedLikeAnyCharacterData) {
  MarlComment comment = document.createComment(L"abc");
  EXPECT_EQ(comment.insertData(1, L"-"), MarlNode::rcOK);
  EXPECT_EQ(comment.insertData(comment.getLength(), L"x"), MarlNode::rcBadArgument);
  EXPECT_EQ(comment.appendData(L"!"), MarlNode::rcOK);
  EXPECT_EQ(comment.getData(), L"a-bc!");
  EXPECT_EQ(comment.setValue(L"new"), MarlNode::rcOK);
  EXPECT_EQ(comment.getData(), L"new");
  EXPECT_EQ(comment.setName(L"n"), MarlNode::rcNotSupported);
}

TEST_F(Comment, ANewCommentIsInternal) {
  MarlComment comment = document.createComment(L"c");
  EXPECT_EQ(comment.isExternal(), 0);
  comment.setExternal(1);
  EXPECT_EQ(comment.isExternal(), 1);
  comment.setExternal(0);
  EXPECT_EQ(comment.isExternal(), 0);
}

TEST_F(Comment, CloneCopiesTheTextAndTheExternalFlagUnderANewNumber) {
  MarlComment source = document.createComment(L"c");
  source.setExternal(1);
  MarlComment copy(source.clone(-1));
  ASSERT_TRUE(copy);
  EXPECT_NE(copy._impl(), source._impl());
  EXPECT_NE(copy.getGID(), source.getGID());
  EXPECT_EQ(copy.getType(), MarlNode::nodeComment);
  EXPECT_EQ(&copy.getData(), &source.getData());
  EXPECT_EQ(copy.isExternal(), 1);
  EXPECT_FALSE(copy.getParent());
}

TEST_F(Comment, CloneOfALongCommentOwnsItsCopy) {
  std::wstring content(32, L'c');
  MarlComment source = document.createComment(content);
  MarlComment copy(source.clone(0));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy.getData(), content);
  EXPECT_NE(&copy.getData(), &source.getData());
  EXPECT_EQ(copy.isExternal(), 0);
}

TEST_F(Comment, ACloneThatRunsOutOfMemoryIsEmptyAndLeaksNothing) {
  MarlComment source = document.createComment(std::wstring(40, L'c'));
  long before = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure(0);
    EXPECT_FALSE(source.clone(-1));
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST_F(Comment, CreateCommentThatRunsOutOfMemoryIsEmptyAndLeaksNothing) {
  long before = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure(0);
    EXPECT_FALSE(document.createComment(L"never made"));
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST_F(Comment, CreateCommentThatRunsOutOfMemoryForItsAtomIsEmpty) {
  long before = testhost::outstandingBlocks();
  MarlComment comment;
  {
    testhost::AllocationFailure failure(1);
    EXPECT_NO_THROW(comment = document.createComment(L"a comment not yet cached"));
  }
  EXPECT_FALSE(comment);
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}
