#include "dtd/xmxxo_entr.h"

#include <gtest/gtest.h>

#include "dtd/dtd_fixture.h"

namespace {

using EntityRef = DtdTest;

}  // namespace

TEST_F(EntityRef, AnswersItsOwnIdentifierTheNodeAndTheRoot) {
  MarlEntityRef reference = document.createEntityRef(L"e");
  EXPECT_EQ(reference._impl()->_queryClass(), 200u);
  EXPECT_TRUE(answers(reference, 200));
  EXPECT_TRUE(answers(reference, 20));
  EXPECT_TRUE(answers(reference, 1));
  EXPECT_FALSE(answers(reference, 270));
  EXPECT_EQ(reference.getType(), 64u);
}

TEST_F(EntityRef, ANewReferenceHasItsNameAndEmptyIdentifiersAndStandsAlone) {
  MarlEntityRef reference = document.createEntityRef(L"chapter");
  EXPECT_EQ(&reference.getName(), CMarlBase::instance().intern(L"chapter"));
  EXPECT_EQ(&reference.getSystemId(), CMarlBase::instance().emptyAtom);
  EXPECT_EQ(&reference.getPublicId(), CMarlBase::instance().emptyAtom);
  EXPECT_FALSE(reference.getParent());
  EXPECT_FALSE(reference.getOwnerDocument());
}

TEST_F(EntityRef, IdentifiersAreInterned) {
  MarlEntityRef reference = document.createEntityRef(L"e");
  reference.setSystemId(L"e.xml");
  reference.setPublicId(L"-//E");
  EXPECT_EQ(&reference.getSystemId(), CMarlBase::instance().intern(L"e.xml"));
  EXPECT_EQ(&reference.getPublicId(), CMarlBase::instance().intern(L"-//E"));
  reference.setSystemId(L"");
  EXPECT_EQ(&reference.getSystemId(), CMarlBase::instance().emptyAtom);
}

TEST_F(EntityRef, SetNameRenamesButValueIsRefused) {
  MarlEntityRef reference = document.createEntityRef(L"e");
  EXPECT_EQ(reference.setName(L"f"), MarlNode::rcOK);
  EXPECT_EQ(reference.getName(), L"f");
  EXPECT_EQ(reference.setValue(L"v"), MarlNode::rcNotSupported);
  EXPECT_EQ(reference.setNamespacePrefix(L"p"), MarlNode::rcNotSupported);
}

TEST_F(EntityRef, AReferenceContainsTheNodesOfItsExpansion) {
  MarlEntityRef reference = document.createEntityRef(L"e");
  EXPECT_EQ(reference.appendChild(document.createText(L"replacement"), 0), MarlNode::rcOK);
  EXPECT_EQ(reference.appendChild(document.createElement(L"b", L""), 0), MarlNode::rcOK);
  EXPECT_EQ(reference.numChildren(), 2u);
}

TEST_F(EntityRef, CreateEntityRefGivesAnEmptyHandleAndLeaksNothingWhenMemoryRunsOut) {
  expectEmptyAndNoLeakOnEveryFailure([&] { return document.createEntityRef(L"e"); });
  long before = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure(0);
    EXPECT_FALSE(document.createEntityRef(L"a name not yet in the cache"));
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST_F(EntityRef, ACloneCopiesNameIdentifiersAndChildren) {
  MarlEntityRef reference = document.createEntityRef(L"e");
  reference.setSystemId(L"e.xml");
  reference.setPublicId(L"-//E");
  reference.appendChild(document.createText(L"t"), 0);
  MarlEntityRef copy(reference.clone(-1));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy.getName(), L"e");
  EXPECT_EQ(copy.getSystemId(), L"e.xml");
  EXPECT_EQ(copy.getPublicId(), L"-//E");
  EXPECT_EQ(copy.numChildren(), 1u);
}

TEST_F(EntityRef, AStaleReferenceReadsUnknownAtomsAndItsCloneKnowsNothingElse) {
  MarlEntityRef reference = document.createEntityRef(L"e");
  reference.setSystemId(L"e.xml");
  makeStale(reference);
  EXPECT_EQ(reference.getName(), L"?");
  EXPECT_EQ(reference.getSystemId(), L"?");
  EXPECT_EQ(reference.getPublicId(), L"?");
  MarlEntityRef copy(reference.clone(0));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy.getName(), L"?");
  EXPECT_EQ(copy.getSystemId(), L"?");
  EXPECT_EQ(copy.getPublicId(), L"?");
}

TEST_F(EntityRef, ACloneThatRunsOutOfMemoryIsEmptyAndLeaksNothing) {
  MarlEntityRef reference = document.createEntityRef(L"e");
  reference.appendChild(document.createText(L"t"), 0);
  expectEmptyAndNoLeakOnEveryFailure([&] { return reference.clone(-1); });
}
