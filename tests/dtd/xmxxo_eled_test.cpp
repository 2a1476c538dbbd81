#include "dtd/xmxxo_eled.h"

#include <gtest/gtest.h>

#include "dtd/dtd_fixture.h"

namespace {

using ElementDecl = DtdTest;

}  // namespace

TEST_F(ElementDecl, AnswersItsOwnIdentifierTheParticleTheNodeAndTheRoot) {
  MarlElementDecl declaration = type.createElementDecl(L"a", L"");
  EXPECT_EQ(declaration._impl()->_queryClass(), 230u);
  EXPECT_TRUE(answers(declaration, 230));
  EXPECT_TRUE(answers(declaration, 240));
  EXPECT_TRUE(answers(declaration, 20));
  EXPECT_TRUE(answers(declaration, 1));
  EXPECT_FALSE(answers(declaration, 250));
  EXPECT_EQ(declaration.getType(), 262144u);
}

TEST_F(ElementDecl, ConvertsToAContentParticle) {
  MarlElementDecl declaration = type.createElementDecl(L"a", L"");
  MarlContentParticle particle(declaration);
  ASSERT_TRUE(particle);
  EXPECT_EQ(particle.getName(), L"a");
}

TEST_F(ElementDecl, TheContentSpecsHaveTheirFixedNumbers) {
  EXPECT_EQ(MarlElementDecl::CS_EMPTY, 1u);
  EXPECT_EQ(MarlElementDecl::CS_ANY, 2u);
  EXPECT_EQ(MarlElementDecl::CS_CHILDREN, 3u);
  EXPECT_EQ(MarlElementDecl::CS_MIXED, 4u);
  EXPECT_EQ(MarlElementDecl::CS_UNDEFINED, 5u);
}

TEST_F(ElementDecl, ANewDeclarationIsUnfilledInternalOnceInSequence) {
  MarlElementDecl declaration = type.createElementDecl(L"a", L"p");
  EXPECT_EQ(declaration.getName(), L"a");
  EXPECT_EQ(declaration.getNamespacePrefix(), L"p");
  EXPECT_EQ(declaration.getOccurrence(), MarlContentParticle::OCC_ONE);
  EXPECT_EQ(declaration.getGrouping(), MarlContentParticle::GROUP_SEQUENCE);
  EXPECT_EQ(declaration.getContentSpec(), MarlElementDecl::CS_UNDEFINED);
  EXPECT_EQ(declaration.isExternal(), 0);
  EXPECT_EQ(declaration.numContentParticles(), 0u);
}

TEST_F(ElementDecl, ContentSpecAndExternalFlagAreStored) {
  MarlElementDecl declaration = type.createElementDecl(L"a", L"");
  declaration.setContentSpec(MarlElementDecl::CS_MIXED);
  declaration.setExternal(1);
  EXPECT_EQ(declaration.getContentSpec(), MarlElementDecl::CS_MIXED);
  EXPECT_EQ(declaration.isExternal(), 1);
}

// <!ELEMENT a (b, c)*>
TEST_F(ElementDecl, TheContentModelHangsBelowAsItsOneTopGroup) {
  MarlElementDecl declaration = type.createElementDecl(L"a", L"");
  declaration.setContentSpec(MarlElementDecl::CS_CHILDREN);
  MarlContentParticle top = type.createContentParticle(
      L"", L"", MarlContentParticle::OCC_ZERO_OR_MORE, MarlContentParticle::GROUP_SEQUENCE);
  top.addContentParticle(type.createContentParticle(L"b", L"", MarlContentParticle::OCC_ONE,
                                                    MarlContentParticle::GROUP_SEQUENCE));
  top.addContentParticle(type.createContentParticle(L"c", L"", MarlContentParticle::OCC_ONE,
                                                    MarlContentParticle::GROUP_SEQUENCE));
  declaration.addContentParticle(top);
  ASSERT_EQ(declaration.numContentParticles(), 1u);
  MarlContentParticle group(declaration.getFirstChild());
  EXPECT_EQ(group.getOccurrence(), MarlContentParticle::OCC_ZERO_OR_MORE);
  EXPECT_EQ(group.numContentParticles(), 2u);
  EXPECT_EQ(group.getFirstChild().getName(), L"b");
  EXPECT_EQ(group.getLastChild().getName(), L"c");
}

TEST_F(ElementDecl, ACloneCopiesContentSpecFlagAndModel) {
  MarlElementDecl declaration = type.createElementDecl(L"a", L"p");
  declaration.setContentSpec(MarlElementDecl::CS_EMPTY);
  declaration.setExternal(1);
  declaration.setOccurrence(MarlContentParticle::OCC_OPTIONAL);
  declaration.addContentParticle(type.createContentParticle(
      L"", L"", MarlContentParticle::OCC_ONE, MarlContentParticle::GROUP_CHOICE));
  MarlElementDecl copy(declaration.clone(-1));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy.getName(), L"a");
  EXPECT_EQ(copy.getNamespacePrefix(), L"p");
  EXPECT_EQ(copy.getContentSpec(), MarlElementDecl::CS_EMPTY);
  EXPECT_EQ(copy.isExternal(), 1);
  EXPECT_EQ(copy.getOccurrence(), MarlContentParticle::OCC_OPTIONAL);
  EXPECT_EQ(copy.numContentParticles(), 1u);
}

TEST_F(ElementDecl, ACloneThatRunsOutOfMemoryIsEmptyAndLeaksNothing) {
  MarlElementDecl declaration = type.createElementDecl(L"a", L"");
  declaration.addContentParticle(type.createContentParticle(
      L"b", L"", MarlContentParticle::OCC_ONE, MarlContentParticle::GROUP_SEQUENCE));
  expectEmptyAndNoLeakOnEveryFailure([&] { return declaration.clone(-1); });
}

TEST_F(ElementDecl, AStaleDeclarationReadsAnUnknownName) {
  MarlElementDecl declaration = type.createElementDecl(L"a", L"p");
  makeStale(declaration);
  EXPECT_EQ(declaration.getName(), L"?");
  EXPECT_EQ(declaration.getNamespacePrefix(), L"");
}
