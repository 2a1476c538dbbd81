#include "dtd/xmxxo_notd.h"

#include <gtest/gtest.h>

#include "dtd/dtd_fixture.h"

namespace {

using NotationDecl = DtdTest;

}  // namespace

TEST_F(NotationDecl, AnswersItsOwnIdentifierTheNodeAndTheRoot) {
  MarlNotationDecl notation = type.createNotationDecl(L"gif", L"viewer", L"");
  EXPECT_EQ(notation._impl()->_queryClass(), 280u);
  EXPECT_TRUE(answers(notation, 280));
  EXPECT_TRUE(answers(notation, 20));
  EXPECT_TRUE(answers(notation, 1));
  EXPECT_FALSE(answers(notation, 270));
  EXPECT_EQ(notation.getType(), 8388608u);
}

TEST_F(NotationDecl, HoldsItsNameAndIdentifiers) {
  MarlNotationDecl notation = type.createNotationDecl(L"gif", L"viewer", L"-//GIF");
  EXPECT_EQ(&notation.getName(), CMarlBase::instance().intern(L"gif"));
  EXPECT_EQ(notation.getSystemId(), L"viewer");
  EXPECT_EQ(notation.getPublicId(), L"-//GIF");
  EXPECT_EQ(notation.isExternal(), 0);
}

TEST_F(NotationDecl, TheExternalFlagIsStored) {
  MarlNotationDecl notation = type.createNotationDecl(L"gif", L"viewer", L"");
  notation.setExternal(1);
  EXPECT_EQ(notation.isExternal(), 1);
}

TEST_F(NotationDecl, ChildOperationsAreRefused) {
  expectChildrenRefused(type.createNotationDecl(L"gif", L"viewer", L""));
}

TEST_F(NotationDecl, SetNameRenamesButPrefixAndValueAreRefused) {
  MarlNotationDecl notation = type.createNotationDecl(L"gif", L"viewer", L"");
  EXPECT_EQ(notation.setName(L"png"), MarlNode::rcOK);
  EXPECT_EQ(notation.getName(), L"png");
  EXPECT_EQ(notation.setNamespacePrefix(L"p"), MarlNode::rcNotSupported);
  EXPECT_EQ(notation.setValue(L"v"), MarlNode::rcNotSupported);
}

TEST_F(NotationDecl, ACloneCopiesEveryField) {
  MarlNotationDecl notation = type.createNotationDecl(L"gif", L"viewer", L"-//GIF");
  notation.setExternal(1);
  MarlNotationDecl copy(notation.clone(-1));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy.getName(), L"gif");
  EXPECT_EQ(copy.getSystemId(), L"viewer");
  EXPECT_EQ(copy.getPublicId(), L"-//GIF");
  EXPECT_EQ(copy.isExternal(), 1);
}

TEST_F(NotationDecl, ACloneThatRunsOutOfMemoryIsEmptyAndLeaksNothing) {
  MarlNotationDecl notation = type.createNotationDecl(L"gif", std::wstring(40, L's'), L"");
  expectEmptyAndNoLeakOnEveryFailure([&] { return notation.clone(-1); });
}

TEST_F(NotationDecl, AStaleNotationReadsAnUnknownNameAndClonesToOne) {
  MarlNotationDecl notation = type.createNotationDecl(L"gif", L"viewer", L"");
  makeStale(notation);
  EXPECT_EQ(notation.getName(), L"?");
  EXPECT_EQ(MarlNotationDecl(notation.clone(0)).getName(), L"?");
}
