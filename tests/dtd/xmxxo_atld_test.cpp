#include "dtd/xmxxo_atld.h"

#include <gtest/gtest.h>

#include "dtd/dtd_fixture.h"

namespace {

using AttListDecl = DtdTest;

}  // namespace

TEST_F(AttListDecl, AnswersItsOwnIdentifierTheNodeAndTheRoot) {
  MarlAttListDecl list = type.createAttListDecl(L"a", L"");
  EXPECT_EQ(list._impl()->_queryClass(), 250u);
  EXPECT_TRUE(answers(list, 250));
  EXPECT_TRUE(answers(list, 20));
  EXPECT_TRUE(answers(list, 1));
  EXPECT_FALSE(answers(list, 260));
  EXPECT_EQ(list.getType(), 1048576u);
}

TEST_F(AttListDecl, ANewListIsNamedAfterItsElementAndInternal) {
  MarlAttListDecl list = type.createAttListDecl(L"a", L"p");
  EXPECT_EQ(list.getName(), L"a");
  EXPECT_EQ(list.getNamespacePrefix(), L"p");
  EXPECT_EQ(list.isExternal(), 0);
  list.setExternal(1);
  EXPECT_EQ(list.isExternal(), 1);
}

TEST_F(AttListDecl, ItsChildrenAreTheAttributeDeclarations) {
  MarlAttListDecl list = type.createAttListDecl(L"a", L"");
  EXPECT_EQ(list.appendChild(type.createAttributeDecl(L"x", L""), 0), MarlNode::rcOK);
  EXPECT_EQ(list.appendChild(type.createAttributeDecl(L"y", L""), 0), MarlNode::rcOK);
  EXPECT_EQ(list.numChildren(), 2u);
  EXPECT_EQ(list.getFirstChild().getName(), L"x");
}

TEST_F(AttListDecl, NamesAreAtomsAndTheEmptyTextIsTheEmptyAtom) {
  MarlAttListDecl list = type.createAttListDecl(L"a", L"p");
  EXPECT_EQ(list.setName(L"b"), MarlNode::rcOK);
  EXPECT_EQ(list.setNamespacePrefix(L""), MarlNode::rcOK);
  EXPECT_EQ(&list.getName(), CMarlBase::instance().intern(L"b"));
  EXPECT_EQ(&list.getNamespacePrefix(), CMarlBase::instance().emptyAtom);
}

TEST_F(AttListDecl, ACloneCopiesNamesFlagAndChildren) {
  MarlAttListDecl list = type.createAttListDecl(L"a", L"p");
  list.setExternal(1);
  list.appendChild(type.createAttributeDecl(L"x", L""), 0);
  MarlAttListDecl copy(list.clone(-1));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy.getName(), L"a");
  EXPECT_EQ(copy.getNamespacePrefix(), L"p");
  EXPECT_EQ(copy.isExternal(), 1);
  EXPECT_EQ(copy.numChildren(), 1u);
  EXPECT_EQ(MarlAttListDecl(list.clone(0)).numChildren(), 0u);
}

TEST_F(AttListDecl, ACloneThatRunsOutOfMemoryIsEmptyAndLeaksNothing) {
  MarlAttListDecl list = type.createAttListDecl(L"a", L"");
  list.appendChild(type.createAttributeDecl(L"x", L""), 0);
  expectEmptyAndNoLeakOnEveryFailure([&] { return list.clone(-1); });
}

TEST_F(AttListDecl, AStaleListReadsAnUnknownNameAndClonesToOne) {
  MarlAttListDecl list = type.createAttListDecl(L"a", L"p");
  makeStale(list);
  EXPECT_EQ(list.getName(), L"?");
  EXPECT_EQ(list.getNamespacePrefix(), L"");
  EXPECT_EQ(MarlAttListDecl(list.clone(0)).getName(), L"?");
}
