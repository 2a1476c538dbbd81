#include "dtd/xmxxo_cp.h"

#include <gtest/gtest.h>

#include "dtd/dtd_fixture.h"

namespace {

class ContentParticle : public DtdTest {
 protected:
  MarlContentParticle leaf(std::wstring const& name) {
    return type.createContentParticle(name, L"", MarlContentParticle::OCC_ONE,
                                      MarlContentParticle::GROUP_SEQUENCE);
  }
  MarlContentParticle group(MarlContentParticle::Grouping grouping) {
    return type.createContentParticle(L"", L"", MarlContentParticle::OCC_ONE, grouping);
  }

  // The names of the members, in order.
  static std::wstring memberNames(MarlNode const& particle) {
    std::wstring names;
    for (MarlNode child = particle.getFirstChild(); child; child = child.getNext()) {
      if (!names.empty()) names += L",";
      names += child.getName();
    }
    return names;
  }
};

}  // namespace

TEST_F(ContentParticle, AnswersItsOwnIdentifierTheNodeAndTheRootButNotTheElementDecl) {
  MarlContentParticle particle = leaf(L"a");
  EXPECT_EQ(particle._impl()->_queryClass(), 240u);
  EXPECT_TRUE(answers(particle, 240));
  EXPECT_TRUE(answers(particle, 20));
  EXPECT_TRUE(answers(particle, 1));
  EXPECT_FALSE(answers(particle, 230));
  EXPECT_EQ(particle.getType(), 524288u);
}

TEST_F(ContentParticle, APlainParticleIsNoElementDecl) {
  EXPECT_FALSE(MarlElementDecl(MarlNode(leaf(L"a"))));
}

TEST_F(ContentParticle, TheEnumerationsHaveTheirFixedNumbers) {
  EXPECT_EQ(MarlContentParticle::OCC_ONE, 1u);
  EXPECT_EQ(MarlContentParticle::OCC_OPTIONAL, 2u);
  EXPECT_EQ(MarlContentParticle::OCC_ZERO_OR_MORE, 3u);
  EXPECT_EQ(MarlContentParticle::OCC_ONE_OR_MORE, 4u);
  EXPECT_EQ(MarlContentParticle::GROUP_CHOICE, 1u);
  EXPECT_EQ(MarlContentParticle::GROUP_SEQUENCE, 2u);
}

TEST_F(ContentParticle, OccurrenceAndGroupingAreStored) {
  MarlContentParticle particle = leaf(L"a");
  particle.setOccurrence(MarlContentParticle::OCC_OPTIONAL);
  particle.setGrouping(MarlContentParticle::GROUP_CHOICE);
  EXPECT_EQ(particle.getOccurrence(), MarlContentParticle::OCC_OPTIONAL);
  EXPECT_EQ(particle.getGrouping(), MarlContentParticle::GROUP_CHOICE);
}

TEST_F(ContentParticle, ALeafHasANameAndNoMembers) {
  MarlContentParticle particle = type.createContentParticle(
      L"b", L"p", MarlContentParticle::OCC_ZERO_OR_MORE, MarlContentParticle::GROUP_SEQUENCE);
  EXPECT_EQ(particle.getName(), L"b");
  EXPECT_EQ(particle.getNamespacePrefix(), L"p");
  EXPECT_EQ(particle.numContentParticles(), 0u);
}

TEST_F(ContentParticle, AGroupHasAnEmptyNameAndItsMembersInOrder) {
  MarlContentParticle sequence = group(MarlContentParticle::GROUP_SEQUENCE);
  sequence.addContentParticle(leaf(L"b"));
  sequence.addContentParticle(leaf(L"c"));
  sequence.addContentParticle(leaf(L"d"));
  EXPECT_EQ(sequence.getName(), L"");
  EXPECT_EQ(sequence.numContentParticles(), 3u);
  EXPECT_EQ(memberNames(sequence), L"b,c,d");
}

TEST_F(ContentParticle, AddingAnEmptyParticleAddsNothing) {
  MarlContentParticle choice = group(MarlContentParticle::GROUP_CHOICE);
  choice.addContentParticle(MarlContentParticle());
  EXPECT_EQ(choice.numContentParticles(), 0u);
}

TEST_F(ContentParticle, AddingAMemberOfAnotherGroupMovesIt) {
  MarlContentParticle first = group(MarlContentParticle::GROUP_CHOICE);
  MarlContentParticle second = group(MarlContentParticle::GROUP_CHOICE);
  MarlContentParticle member = leaf(L"m");
  first.addContentParticle(member);
  second.addContentParticle(member);
  EXPECT_EQ(first.numContentParticles(), 0u);
  EXPECT_EQ(second.numContentParticles(), 1u);
}

TEST_F(ContentParticle, MembersAreManagedByTheNodeOperations) {
  MarlContentParticle sequence = group(MarlContentParticle::GROUP_SEQUENCE);
  MarlContentParticle c = leaf(L"c");
  sequence.addContentParticle(c);
  EXPECT_EQ(sequence.insertChild(leaf(L"b"), c), MarlNode::rcOK);
  EXPECT_EQ(memberNames(sequence), L"b,c");
  EXPECT_EQ(sequence.removeChild(c), MarlNode::rcOK);
  EXPECT_EQ(memberNames(sequence), L"b");
}

TEST_F(ContentParticle, NamesAreAtomsAndTheEmptyTextIsTheEmptyAtom) {
  MarlContentParticle particle = leaf(L"a");
  EXPECT_EQ(particle.setName(L"renamed"), MarlNode::rcOK);
  EXPECT_EQ(particle.setNamespacePrefix(L"q"), MarlNode::rcOK);
  EXPECT_EQ(&particle.getName(), CMarlBase::instance().intern(L"renamed"));
  EXPECT_EQ(particle.getNamespacePrefix(), L"q");
  particle.setName(L"");
  EXPECT_EQ(&particle.getName(), CMarlBase::instance().emptyAtom);
}

TEST_F(ContentParticle, ValuesAndURIsAreNotOffered) {
  MarlContentParticle particle = leaf(L"a");
  EXPECT_EQ(particle.setValue(L"v"), MarlNode::rcNotSupported);
  EXPECT_EQ(particle.setNamespaceURI(L"urn:u"), MarlNode::rcNotSupported);
  EXPECT_EQ(particle.getValue(), L"");
}

TEST_F(ContentParticle, AStaleParticleReadsAnUnknownNameAndNoPrefix) {
  MarlContentParticle particle = type.createContentParticle(
      L"a", L"p", MarlContentParticle::OCC_ONE, MarlContentParticle::GROUP_SEQUENCE);
  makeStale(particle);
  EXPECT_EQ(particle.getName(), L"?");
  EXPECT_EQ(particle.getNamespacePrefix(), L"");
}

TEST_F(ContentParticle, ACloneCopiesTheFieldsAndAsManyLevelsAsAsked) {
  MarlContentParticle outer = group(MarlContentParticle::GROUP_CHOICE);
  outer.setOccurrence(MarlContentParticle::OCC_ONE_OR_MORE);
  MarlContentParticle inner = group(MarlContentParticle::GROUP_SEQUENCE);
  inner.addContentParticle(leaf(L"x"));
  outer.addContentParticle(inner);
  outer.addContentParticle(leaf(L"y"));
  MarlContentParticle flat(outer.clone(0));
  MarlContentParticle full(outer.clone(-1));
  ASSERT_TRUE(flat);
  ASSERT_TRUE(full);
  EXPECT_EQ(flat.numContentParticles(), 0u);
  EXPECT_EQ(flat.getGrouping(), MarlContentParticle::GROUP_CHOICE);
  EXPECT_EQ(flat.getOccurrence(), MarlContentParticle::OCC_ONE_OR_MORE);
  EXPECT_EQ(full.numContentParticles(), 2u);
  EXPECT_EQ(MarlContentParticle(full.getFirstChild()).numContentParticles(), 1u);
  EXPECT_EQ(memberNames(full.getFirstChild()), L"x");
  EXPECT_NE(full.getGID(), outer.getGID());
}

TEST_F(ContentParticle, AStaleParticleClonesToAnUnknownName) {
  MarlContentParticle particle = leaf(L"a");
  makeStale(particle);
  MarlContentParticle copy(particle.clone(0));
  EXPECT_EQ(copy.getName(), L"?");
}

TEST_F(ContentParticle, ACloneThatRunsOutOfMemoryIsEmptyAndLeaksNothing) {
  MarlContentParticle sequence = group(MarlContentParticle::GROUP_SEQUENCE);
  sequence.addContentParticle(leaf(L"a"));
  sequence.addContentParticle(leaf(L"b"));
  expectEmptyAndNoLeakOnEveryFailure([&] { return sequence.clone(-1); });
}

TEST_F(ContentParticle, GetContentParticleGivesTheMemberAtAnIndex) {
  MarlContentParticle choice = group(MarlContentParticle::GROUP_CHOICE);
  choice.addContentParticle(leaf(L"a"));
  choice.addContentParticle(leaf(L"b"));
  choice.addContentParticle(leaf(L"c"));
  EXPECT_EQ(choice.getContentParticle(0).getName(), L"a");
  EXPECT_EQ(choice.getContentParticle(2).getName(), L"c");
  EXPECT_EQ(choice.getContentParticle(1).getName(), L"b");
}

TEST_F(ContentParticle, GetContentParticleBeyondTheMembersIsEmpty) {
  MarlContentParticle sequence = group(MarlContentParticle::GROUP_SEQUENCE);
  EXPECT_FALSE(sequence.getContentParticle(0));
  sequence.addContentParticle(leaf(L"a"));
  EXPECT_FALSE(sequence.getContentParticle(1));
  EXPECT_FALSE(leaf(L"x").getContentParticle(0));
}

TEST_F(ContentParticle, GetContentParticleOfAChildThatIsNoParticleIsEmpty) {
  MarlContentParticle sequence = group(MarlContentParticle::GROUP_SEQUENCE);
  ASSERT_EQ(sequence.appendChild(document.createComment(L"c"), 0), MarlNode::rcOK);
  EXPECT_FALSE(sequence.getContentParticle(0));
}

TEST_F(ContentParticle, AnElementDeclGivesItsTopGroupAsParticleZero) {
  MarlElementDecl declaration = type.createElementDecl(L"e", L"");
  MarlContentParticle top = group(MarlContentParticle::GROUP_SEQUENCE);
  declaration.addContentParticle(top);
  EXPECT_EQ(static_cast<CUnknown*>(declaration.getContentParticle(0)),
            static_cast<CUnknown*>(top));
}

TEST_F(ContentParticle, GetContentParticleWithoutMemoryIsEmptyAndLeaksNothing) {
  MarlContentParticle sequence = group(MarlContentParticle::GROUP_SEQUENCE);
  sequence.addContentParticle(leaf(L"a"));
  expectEmptyAndNoLeakOnEveryFailure([&] { return sequence.getContentParticle(0); });
}
