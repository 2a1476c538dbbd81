#include "dtd/xmxxu_strp.h"

#include <gtest/gtest.h>

#include "dtd/dtd_fixture.h"

namespace {

class WhitespaceStripping : public DtdTest {
 protected:
  MarlElement element(std::wstring const& name, std::wstring const& uri = L"") {
    return document.createElementNS(name, L"", uri);
  }

  CMarlWhitespaceStripping rules;
};

}  // namespace

TEST_F(WhitespaceStripping, ANewObjectHasNoRulesAnEmptyStackAndNoDefault) {
  EXPECT_TRUE(rules.noRules);
  EXPECT_EQ(rules.defaultOp, SP_NONE);
  EXPECT_TRUE(rules.stripStack.empty());
  EXPECT_GE(rules.stripStack.capacity(), 30u);
  EXPECT_EQ(rules.stripRules.bucketCount(), 53u);
  EXPECT_EQ(rules.wildcardName, L"*");
  EXPECT_EQ(SP_NONE, 0u);
  EXPECT_EQ(SP_PRESERVE, 1u);
  EXPECT_EQ(SP_STRIP, 2u);
}

TEST_F(WhitespaceStripping, WithoutRulesAndWithoutPreserveNothingIsDecided) {
  EXPECT_EQ(rules.strip(element(L"a")), SP_NONE);
}

TEST_F(WhitespaceStripping, TheFirstRuleEndsTheRulelessAnswerForAllLaterCalls) {
  rules.insert(L"a", L"", SP_STRIP);
  EXPECT_FALSE(rules.noRules);
  EXPECT_EQ(rules.strip(element(L"a")), SP_STRIP);
  EXPECT_EQ(rules.strip(element(L"b")), SP_NONE);
}

TEST_F(WhitespaceStripping, AStripRuleForANameBesideAPreserveRuleForAllNames) {
  EXPECT_TRUE(rules.insert(L"a", L"", SP_STRIP));
  EXPECT_TRUE(rules.insert(L"*", L"", SP_PRESERVE));
  EXPECT_EQ(rules.strip(element(L"a")), SP_STRIP);
  EXPECT_EQ(rules.strip(element(L"b")), SP_PRESERVE);
  EXPECT_EQ(rules.defaultOp, SP_NONE);
}

TEST_F(WhitespaceStripping, TheRuleForEverythingIsAlwaysTakenAndTheLastOneHolds) {
  EXPECT_TRUE(rules.insert(L"*", L"*", SP_STRIP));
  EXPECT_TRUE(rules.insert(L"*", L"*", SP_PRESERVE));
  EXPECT_TRUE(rules.insert(L"*", L"*", SP_STRIP));
  EXPECT_EQ(rules.defaultOp, SP_STRIP);
  EXPECT_EQ(rules.stripRules.size(), 0u);
  EXPECT_EQ(rules.strip(element(L"any", L"urn:any")), SP_STRIP);
}

TEST_F(WhitespaceStripping, ANameAndURIKeepTheirFirstRule) {
  EXPECT_TRUE(rules.insert(L"a", L"urn:u", SP_STRIP));
  EXPECT_FALSE(rules.insert(L"a", L"urn:u", SP_PRESERVE));
  EXPECT_EQ(rules.strip(element(L"a", L"urn:u")), SP_STRIP);
}

TEST_F(WhitespaceStripping, TheExactRuleBeatsTheNamespaceRuleWhichBeatsTheDefault) {
  rules.insert(L"a", L"urn:u", SP_STRIP);
  rules.insert(L"*", L"urn:u", SP_PRESERVE);
  rules.insert(L"*", L"*", SP_STRIP);
  EXPECT_EQ(rules.strip(element(L"a", L"urn:u")), SP_STRIP);
  EXPECT_EQ(rules.strip(element(L"b", L"urn:u")), SP_PRESERVE);
  EXPECT_EQ(rules.strip(element(L"a", L"urn:other")), SP_STRIP);
  EXPECT_EQ(rules.strip(element(L"a")), SP_STRIP);
}

TEST_F(WhitespaceStripping, RulesAreForTheNamespaceURINotThePrefix) {
  rules.insert(L"a", L"urn:u", SP_STRIP);
  MarlElement prefixed = document.createElementNS(L"a", L"p", L"urn:u");
  EXPECT_EQ(rules.strip(prefixed), SP_STRIP);
  EXPECT_EQ(rules.strip(document.createElement(L"a", L"p")), SP_NONE);
}

TEST_F(WhitespaceStripping, ARuleForANameInTheNamespaceStarNeverFires) {
  EXPECT_TRUE(rules.insert(L"a", L"*", SP_STRIP));
  EXPECT_EQ(rules.stripRules.size(), 1u);
  EXPECT_EQ(rules.strip(element(L"a")), SP_NONE);
  EXPECT_EQ(rules.strip(element(L"a", L"urn:u")), SP_NONE);
  EXPECT_EQ(rules.strip(element(L"a", L"*")), SP_STRIP);
}

TEST_F(WhitespaceStripping, AnEnclosingPreserveBeatsEveryRule) {
  rules.insert(L"a", L"", SP_STRIP);
  rules.stripStack.push_back(SP_PRESERVE);
  EXPECT_EQ(rules.strip(element(L"a")), SP_PRESERVE);
  rules.stripStack.push_back(SP_STRIP);
  EXPECT_EQ(rules.strip(element(L"a")), SP_STRIP);
  rules.stripStack.push_back(SP_NONE);
  EXPECT_EQ(rules.strip(element(L"b")), SP_NONE);
}

TEST_F(WhitespaceStripping, APreserveOnTheStackHoldsEvenWithoutRules) {
  rules.stripStack.push_back(SP_PRESERVE);
  EXPECT_EQ(rules.strip(element(L"a")), SP_PRESERVE);
}

TEST_F(WhitespaceStripping, InsertReportsRunningOutOfMemoryAndKeepsTheRulesItHad) {
  rules.insert(L"a", L"", SP_STRIP);
  CMarlBase::instance().intern(L"b");
  long before = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure(0);
    EXPECT_THROW(rules.insert(L"b", L"", SP_STRIP), std::bad_alloc);
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
  EXPECT_EQ(rules.stripRules.size(), 1u);
  EXPECT_EQ(rules.strip(element(L"b")), SP_NONE);
}
