#include "dtd/xmxxo_entd.h"

#include <gtest/gtest.h>

#include "dtd/dtd_fixture.h"
#include "parser/xmxxs_ent.h"

namespace {

using EntityDecl = DtdTest;

}  // namespace

TEST_F(EntityDecl, AnswersItsOwnIdentifierTheNodeAndTheRoot) {
  MarlEntityDecl declaration = type.createIntEntityDecl(0, L"e", L"v");
  EXPECT_EQ(declaration._impl()->_queryClass(), 270u);
  EXPECT_TRUE(answers(declaration, 270));
  EXPECT_TRUE(answers(declaration, 20));
  EXPECT_TRUE(answers(declaration, 1));
  EXPECT_FALSE(answers(declaration, 280));
  EXPECT_EQ(declaration.getType(), 4194304u);
}

TEST_F(EntityDecl, IsNamedAfterItsEntityObject) {
  MarlEntityDecl declaration = type.createIntEntityDecl(0, L"chapter", L"text");
  EXPECT_EQ(&declaration.getName(), CMarlBase::instance().intern(L"chapter"));
  EXPECT_EQ(declaration._impl()->getGEntity().getName(), L"chapter");
}

TEST_F(EntityDecl, AnInternalEntityHasAValueAndNoIdentifiersNorNotation) {
  MarlEntityDecl declaration = type.createIntEntityDecl(0, L"e", L"some &amp; text");
  EXPECT_EQ(declaration.getEntityValue(), L"some &amp; text");
  EXPECT_EQ(declaration.getSystemId(), L"");
  EXPECT_EQ(declaration.getPublicId(), L"");
  EXPECT_EQ(declaration.getNotationName(), L"");
  EXPECT_EQ(declaration.isParameterEntity(), 0);
  EXPECT_EQ(declaration.isExternal(), 0);
}

TEST_F(EntityDecl, AnEmptyInternalEntityHasTheEmptyValue) {
  MarlEntityDecl declaration = type.createIntEntityDecl(0, L"nothing", L"");
  EXPECT_EQ(declaration.getEntityValue(), L"");
}

TEST_F(EntityDecl, AParsedExternalEntityHasIdentifiersAndNoValueNorNotation) {
  MarlEntityDecl declaration = type.createExtEntityDecl(1, L"p", L"p.ent", L"-//P", L"");
  EXPECT_EQ(declaration.getSystemId(), L"p.ent");
  EXPECT_EQ(declaration.getPublicId(), L"-//P");
  EXPECT_EQ(declaration.getEntityValue(), L"");
  EXPECT_EQ(declaration.getNotationName(), L"");
  EXPECT_EQ(declaration.isParameterEntity(), 1);
}

TEST_F(EntityDecl, AnUnparsedEntityHasIdentifiersAndItsNotation) {
  MarlEntityDecl declaration = type.createExtEntityDecl(0, L"pic", L"pic.gif", L"", L"gif");
  EXPECT_EQ(declaration.getSystemId(), L"pic.gif");
  EXPECT_EQ(declaration.getPublicId(), L"");
  EXPECT_EQ(declaration.getNotationName(), L"gif");
  EXPECT_EQ(declaration.getEntityValue(), L"");
}

TEST_F(EntityDecl, ADeclarationWithoutEntityObjectGivesTheEmptyAnswers) {
  MarlEntityDecl declaration(new CMarlEntityDecl);
  EXPECT_EQ(declaration.getName(), L"");
  EXPECT_EQ(declaration.getEntityValue(), L"");
  EXPECT_EQ(declaration.getSystemId(), L"");
  EXPECT_EQ(declaration.getPublicId(), L"");
  EXPECT_EQ(declaration.getNotationName(), L"");
  EXPECT_FALSE(declaration._impl()->getGEntity());
}

TEST_F(EntityDecl, AppendChildIsRefusedAndLeavesItChildless) {
  expectChildrenRefused(type.createIntEntityDecl(0, L"e", L"v"));
}

TEST_F(EntityDecl, TheExternalFlagIsStored) {
  MarlEntityDecl declaration = type.createIntEntityDecl(0, L"e", L"v");
  declaration.setExternal(1);
  EXPECT_EQ(declaration.isExternal(), 1);
}

TEST_F(EntityDecl, SetNameRenamesTheDeclarationButOtherSettersAreRefused) {
  MarlEntityDecl declaration = type.createIntEntityDecl(0, L"e", L"v");
  EXPECT_EQ(declaration.setName(L"f"), MarlNode::rcOK);
  EXPECT_EQ(declaration.getName(), L"f");
  EXPECT_EQ(declaration.setNamespacePrefix(L"p"), MarlNode::rcNotSupported);
  EXPECT_EQ(declaration.setValue(L"w"), MarlNode::rcNotSupported);
  EXPECT_EQ(declaration.getEntityValue(), L"v");
}

TEST_F(EntityDecl, ACloneSharesTheEntityObjectAndCopiesTheFlags) {
  MarlEntityDecl declaration = type.createExtEntityDecl(1, L"p", L"p.ent", L"", L"");
  declaration.setExternal(1);
  MarlEntityDecl copy(declaration.clone(-1));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy._impl()->getGEntity()._impl(), declaration._impl()->getGEntity()._impl());
  EXPECT_EQ(copy.getName(), L"p");
  EXPECT_EQ(copy.isParameterEntity(), 1);
  EXPECT_EQ(copy.isExternal(), 1);
  EXPECT_EQ(copy.getSystemId(), L"p.ent");
}

TEST_F(EntityDecl, ACloneThatRunsOutOfMemoryIsEmptyAndLeaksNothing) {
  MarlEntityDecl declaration = type.createIntEntityDecl(0, L"e", L"v");
  expectEmptyAndNoLeakOnEveryFailure([&] { return declaration.clone(-1); });
}

TEST_F(EntityDecl, AStaleDeclarationReadsAnUnknownNameAndClonesToOne) {
  MarlEntityDecl declaration = type.createIntEntityDecl(0, L"e", L"v");
  makeStale(declaration);
  EXPECT_EQ(declaration.getName(), L"?");
  EXPECT_EQ(MarlEntityDecl(declaration.clone(0)).getName(), L"?");
}
