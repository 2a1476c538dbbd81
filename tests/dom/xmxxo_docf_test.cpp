#include "dom/xmxxo_docf.h"

#include <gtest/gtest.h>

#include "dom/xmxxo_doc.h"
#include "dom/xmxxo_elem.h"
#include "marl/marl.h"
#include "support/host_memory.h"
#include "support/document_fixture.h"

namespace {

class DocumentFragment : public DocumentTest {
 protected:

  MarlElement element(std::wstring const& name) { return document.createElement(name, L""); }

  // A fragment holding the elements one, two and three; two has a child of its own.
  MarlDocumentFragment threeChildren() {
    MarlDocumentFragment fragment = document.createDocumentFragment();
    fragment.appendChild(element(L"one"), 0);
    MarlElement two = element(L"two");
    two.appendChild(element(L"inner"), 0);
    fragment.appendChild(two, 0);
    fragment.appendChild(element(L"three"), 0);
    return fragment;
  }

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

TEST_F(DocumentFragment, AFragmentHasItsKindAndTheFixedName) {
  MarlDocumentFragment fragment = document.createDocumentFragment();
  ASSERT_TRUE(fragment);
  EXPECT_EQ(fragment.getType(), MarlNode::nodeFragment);
  EXPECT_EQ(fragment.getName(), L"#document-fragment");
  EXPECT_EQ(fragment.getValue(), L"");
  EXPECT_EQ(fragment.numChildren(), 0u);
  EXPECT_FALSE(fragment.getOwnerDocument());
}

TEST_F(DocumentFragment, AnswersFragmentAndNode) {
  MarlDocumentFragment fragment = document.createDocumentFragment();
  EXPECT_EQ(fragment._impl()->_queryClass(), unsigned{idDocumentFragment});
  for (unsigned int id : {90u, 20u, 1u})
    EXPECT_EQ(fragment._impl()->_queryInterface(id), static_cast<void*>(fragment._impl())) << id;
  for (unsigned int id : {100u, 130u, 110u, 120u})
    EXPECT_FALSE(answers(fragment, id)) << "identifier " << id;
}

TEST_F(DocumentFragment, ConvertsToAFragmentButNotToADocument) {
  MarlNode node = document.createDocumentFragment();
  std::uint32_t count = node._impl()->getRefCount();
  EXPECT_FALSE(MarlDocument(node));
  EXPECT_FALSE(MarlElement(node));
  EXPECT_EQ(node._impl()->getRefCount(), count);
  MarlDocumentFragment fragment(node);
  EXPECT_EQ(static_cast<CUnknown*>(fragment), static_cast<CUnknown*>(node));
  EXPECT_FALSE(MarlDocumentFragment(MarlNode(document)));
}

TEST_F(DocumentFragment, NoNameOrValueCanBeSet) {
  MarlDocumentFragment fragment = document.createDocumentFragment();
  EXPECT_EQ(fragment.setName(L"n"), MarlNode::rcNotSupported);
  EXPECT_EQ(fragment.setNamespacePrefix(L"p"), MarlNode::rcNotSupported);
  EXPECT_EQ(fragment.setNamespaceURI(L"urn:u"), MarlNode::rcNotSupported);
  EXPECT_EQ(fragment.setValue(L"v"), MarlNode::rcNotSupported);
  EXPECT_EQ(fragment.getName(), L"#document-fragment");
}

TEST_F(DocumentFragment, AFragmentHoldsChildrenLikeAnyParent) {
  MarlDocumentFragment fragment = threeChildren();
  EXPECT_EQ(fragment.numChildren(), 3u);
  EXPECT_EQ(childNames(fragment), L"one,two,three");
  EXPECT_EQ(fragment.getFirstChild().getParent()._impl(), fragment._impl());
  EXPECT_EQ(fragment.getDepth(), 2u);
}

TEST_F(DocumentFragment, AppendingAFragmentWithThreeChildrenMovesThemInOrderAndEmptiesIt) {
  MarlElement target = element(L"target");
  target.appendChild(element(L"first"), 0);
  MarlDocumentFragment fragment = threeChildren();
  EXPECT_EQ(target.appendChild(fragment, 0), MarlNode::rcOK);
  EXPECT_EQ(childNames(target), L"first,one,two,three");
  EXPECT_EQ(target.numChildren(), 4u);
  EXPECT_EQ(fragment.numChildren(), 0u);
  EXPECT_FALSE(fragment.getFirstChild());
  EXPECT_FALSE(fragment.getLastChild());
  EXPECT_FALSE(fragment.getParent());
  for (MarlNode child = target.getFirstChild(); child; child = child.getNext())
    EXPECT_EQ(child.getParent()._impl(), target._impl());
  EXPECT_EQ(target.getLastChild().getName(), L"three");
}

TEST_F(DocumentFragment, MovedChildrenKeepTheirSubtreesAndJoinTheDocument) {
  MarlElement root = element(L"root");
  document.appendChild(root, 0);
  MarlDocumentFragment fragment = threeChildren();
  root.appendChild(fragment, 0);
  MarlNode two = root.getFirstChild().getNext();
  ASSERT_EQ(two.getName(), L"two");
  EXPECT_EQ(childNames(two), L"inner");
  EXPECT_EQ(two.getOwnerDocument()._impl(), document._impl());
  EXPECT_EQ(two.getFirstChild().getOwnerDocument()._impl(), document._impl());
  EXPECT_FALSE(fragment.getOwnerDocument());
}

TEST_F(DocumentFragment, InsertingAFragmentPutsItsChildrenBeforeTheReference) {
  MarlElement target = element(L"target");
  MarlElement before = element(L"before");
  MarlElement after = element(L"after");
  target.appendChild(before, 0);
  target.appendChild(after, 0);
  MarlDocumentFragment fragment = threeChildren();
  EXPECT_EQ(target.insertChild(fragment, after), MarlNode::rcOK);
  EXPECT_EQ(childNames(target), L"before,one,two,three,after");
  EXPECT_EQ(fragment.numChildren(), 0u);
}

TEST_F(DocumentFragment, ReplacingAChildByAFragmentPutsItsChildrenInThatPlace) {
  MarlElement target = element(L"target");
  MarlElement old = element(L"old");
  target.appendChild(element(L"before"), 0);
  target.appendChild(old, 0);
  target.appendChild(element(L"after"), 0);
  MarlDocumentFragment fragment = threeChildren();
  EXPECT_EQ(target.replaceChild(fragment, old), MarlNode::rcOK);
  EXPECT_EQ(childNames(target), L"before,one,two,three,after");
  EXPECT_FALSE(old.getParent());
  EXPECT_EQ(fragment.numChildren(), 0u);
}

TEST_F(DocumentFragment, AppendingAnEmptyFragmentChangesNothing) {
  MarlElement target = element(L"target");
  target.appendChild(element(L"only"), 0);
  MarlDocumentFragment fragment = document.createDocumentFragment();
  EXPECT_EQ(target.appendChild(fragment, 0), MarlNode::rcOK);
  EXPECT_EQ(childNames(target), L"only");
  EXPECT_FALSE(fragment.getParent());
}

TEST_F(DocumentFragment, AnEmptiedFragmentCanBeFilledAgain) {
  MarlElement target = element(L"target");
  MarlDocumentFragment fragment = threeChildren();
  target.appendChild(fragment, 0);
  fragment.appendChild(element(L"four"), 0);
  target.appendChild(fragment, 0);
  EXPECT_EQ(childNames(target), L"one,two,three,four");
  EXPECT_EQ(fragment.numChildren(), 0u);
}

TEST_F(DocumentFragment, CloneCopiesTheChildrenToTheDepthAsked) {
  MarlDocumentFragment source = threeChildren();
  MarlDocumentFragment whole(source.clone(-1));
  MarlDocumentFragment alone(source.clone(0));
  MarlDocumentFragment oneLevel(source.clone(1));
  ASSERT_TRUE(whole);
  ASSERT_TRUE(alone);
  ASSERT_TRUE(oneLevel);
  EXPECT_NE(whole.getGID(), source.getGID());
  EXPECT_EQ(whole.getType(), MarlNode::nodeFragment);
  EXPECT_EQ(childNames(whole), L"one,two,three");
  EXPECT_EQ(whole.getDepth(), 2u);
  EXPECT_NE(whole.getFirstChild()._impl(), source.getFirstChild()._impl());
  EXPECT_EQ(alone.numChildren(), 0u);
  EXPECT_EQ(oneLevel.numChildren(), 3u);
  EXPECT_EQ(oneLevel.getDepth(), 1u);
  EXPECT_EQ(source.numChildren(), 3u);
}

TEST_F(DocumentFragment, CreateOrCloneThatRunsOutOfMemoryIsEmptyAndLeaksNothing) {
  MarlDocumentFragment source = threeChildren();
  long before = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure(0);
    EXPECT_FALSE(document.createDocumentFragment());
  }
  for (long failAt = 0; failAt < 5; ++failAt) {
    testhost::AllocationFailure failure(failAt);
    EXPECT_FALSE(source.clone(-1)) << "allocation " << failAt;
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}
