#include "dom/xmxxo_nsc.h"

#include <gtest/gtest.h>

#include <new>

#include "dom/xmxxo_doc.h"
#include "dom/xmxxo_elem.h"
#include "marl/marl.h"
#include "support/host_memory.h"
#include "support/library_state.h"

namespace {

std::wstring const c_xmlNamespace = L"http://www.w3.org/XML/1998/namespace";

class NamespaceContext : public FreshLibrary {
 protected:
  void SetUp() override {
    FreshLibrary::SetUp();
    marl = Marl::create();
    context = createObject<MarlNamespaceContext, CMarlNamespaceContext>();
  }
  void TearDown() override {
    context = static_cast<CMarlNamespaceContext const*>(nullptr);
    marl = static_cast<CMarl const*>(nullptr);
    FreshLibrary::TearDown();
  }

  static Atom atom(std::wstring const& text) { return CMarlBase::instance().intern(text); }

  Marl marl;
  MarlNamespaceContext context;
};

}  // namespace

TEST_F(NamespaceContext, ANewContextHasNoBindings) {
  ASSERT_TRUE(context);
  EXPECT_EQ(context.numBindings(), 0u);
}

TEST_F(NamespaceContext, BindAppendsInTheOrderOfFirstBinding) {
  context.bind(L"a", L"urn:a");
  context.bind(L"b", L"urn:b");
  ASSERT_EQ(context.numBindings(), 2u);
  EXPECT_EQ(context.getBindingPrefix(0), L"a");
  EXPECT_EQ(context.getBindingURI(0), L"urn:a");
  EXPECT_EQ(context.getBindingPrefix(1), L"b");
  EXPECT_EQ(context.getBindingURI(1), L"urn:b");
  EXPECT_EQ(&context.getBindingPrefix(1), atom(L"b"));
  EXPECT_EQ(&context.getBindingURI(1), atom(L"urn:b"));
}

TEST_F(NamespaceContext, RebindingAPrefixKeepsOneBindingAtItsIndex) {
  context.bind(L"p", L"a");
  context.bind(L"q", L"x");
  context.bind(L"p", L"b");
  ASSERT_EQ(context.numBindings(), 2u);
  EXPECT_EQ(context.getBindingPrefix(0), L"p");
  EXPECT_EQ(context.getBindingURI(0), L"b");
  EXPECT_EQ(context.mapToURI(L"p"), L"b");
}

TEST_F(NamespaceContext, BindingsBeyondTheEndAreEmpty) {
  context.bind(L"p", L"urn:p");
  EXPECT_EQ(context.getBindingPrefix(context.numBindings()), L"");
  EXPECT_EQ(context.getBindingURI(context.numBindings()), L"");
  EXPECT_EQ(&context.getBindingPrefix(7), CMarlBase::instance().emptyAtom);
}

TEST_F(NamespaceContext, MapToURIGivesTheBoundAtom) {
  context.bind(L"p", L"urn:p");
  EXPECT_EQ(context.mapToURI(L"p"), L"urn:p");
  EXPECT_EQ(&context.mapToURI(L"p"), atom(L"urn:p"));
}

TEST_F(NamespaceContext, MapToURIOfAnUnknownPrefixIsEmpty) {
  context.bind(L"p", L"urn:p");
  EXPECT_EQ(context.mapToURI(L"q"), L"");
  EXPECT_EQ(&context.mapToURI(L"q"), CMarlBase::instance().emptyAtom);
}

TEST_F(NamespaceContext, MapToURIOfXmlOnAnEmptyContextGivesTheXmlNamespace) {
  EXPECT_EQ(context.mapToURI(L"xml"), c_xmlNamespace);
  EXPECT_EQ(context.mapToURI(L"XML"), L"");
  EXPECT_EQ(context.mapToURI(L"xm"), L"");
}

TEST_F(NamespaceContext, ABindingOfXmlGoesBeforeTheFixedNamespace) {
  context.bind(L"xml", L"u");
  EXPECT_EQ(context.mapToURI(L"xml"), L"u");
}

TEST_F(NamespaceContext, MapToPrefixOfTheXmlNamespaceOnAnEmptyContextIsEmpty) {
  EXPECT_EQ(context.mapToPrefix(c_xmlNamespace), L"");
}

TEST_F(NamespaceContext, MapToURIOfTheEmptyPrefixIsTheDefaultNamespace) {
  EXPECT_EQ(context.mapToURI(L""), L"");
  context.bind(L"", L"d");
  EXPECT_EQ(context.mapToURI(L""), L"d");
  EXPECT_EQ(&context.getBindingPrefix(0), CMarlBase::instance().emptyAtom);
}

TEST_F(NamespaceContext, MapToPrefixGivesTheLaterBinding) {
  context.bind(L"a", L"u");
  context.bind(L"b", L"u");
  EXPECT_EQ(context.mapToPrefix(L"u"), L"b");
  EXPECT_EQ(&context.mapToPrefix(L"u"), atom(L"b"));
}

TEST_F(NamespaceContext, MapToPrefixOfAnUnboundURIIsEmpty) {
  context.bind(L"a", L"u");
  EXPECT_EQ(context.mapToPrefix(L"v"), L"");
}

TEST_F(NamespaceContext, ReservedPrefixesAndTheEmptyURIAreAccepted) {
  context.bind(L"xml", L"urn:x");
  context.bind(L"xmlns", L"urn:y");
  context.bind(L"none", L"");
  EXPECT_EQ(context.numBindings(), 3u);
  EXPECT_EQ(context.mapToURI(L"xmlns"), L"urn:y");
  EXPECT_EQ(context.mapToURI(L"none"), L"");
  EXPECT_EQ(context.mapToPrefix(L""), L"none");
}

TEST_F(NamespaceContext, CloneIsAnIndependentCopySharingTheAtoms) {
  context.bind(L"p", L"urn:p");
  MarlNamespaceContext copy = context.clone();
  ASSERT_TRUE(copy);
  EXPECT_NE(copy._impl(), context._impl());
  ASSERT_EQ(copy.numBindings(), 1u);
  EXPECT_EQ(&copy.getBindingURI(0), &context.getBindingURI(0));
  copy.bind(L"q", L"urn:q");
  copy.bind(L"p", L"urn:other");
  EXPECT_EQ(context.numBindings(), 1u);
  EXPECT_EQ(context.mapToURI(L"p"), L"urn:p");
  EXPECT_EQ(context.mapToURI(L"q"), L"");
}

TEST_F(NamespaceContext, ABindThroughOneHandleShowsThroughAllHandles) {
  MarlNamespaceContext shared = context;
  shared.bind(L"p", L"urn:p");
  EXPECT_EQ(context.mapToURI(L"p"), L"urn:p");
}

TEST_F(NamespaceContext, AnswersOnlyItsOwnIdentifier) {
  CMarlNamespaceContext* impl = context._impl();
  EXPECT_EQ(impl->_queryClass(), unsigned{idNamespaceContext});
  EXPECT_EQ(impl->_queryInterface(282), static_cast<void*>(impl));
  EXPECT_EQ(impl->_queryInterface(1), static_cast<void*>(impl));
  for (unsigned int id : {20u, 120u, 281u, 40u})
    EXPECT_EQ(impl->_queryInterface(id), nullptr) << "identifier " << id;
  EXPECT_TRUE(MarlNamespaceContext(static_cast<CUnknown*>(context)));
}

TEST_F(NamespaceContext, AContextIsNotCountedAmongTheObjectsHoldingAtoms) {
  std::uint32_t live = CMarlBase::c_pMarl->liveObjects;
  MarlNamespaceContext another = createObject<MarlNamespaceContext, CMarlNamespaceContext>();
  ASSERT_TRUE(another);
  EXPECT_EQ(CMarlBase::c_pMarl->liveObjects, live);
  another = static_cast<CMarlNamespaceContext const*>(nullptr);
  EXPECT_EQ(CMarlBase::c_pMarl->liveObjects, live);
}

TEST_F(NamespaceContext, ACloneThatRunsOutOfMemoryIsEmptyAndLeavesTheSource) {
  context.bind(L"a", L"urn:a");
  context.bind(L"b", L"urn:b");
  long before = testhost::outstandingBlocks();
  for (long failAt = 0; failAt < 2; ++failAt) {
    testhost::AllocationFailure failure(failAt);
    EXPECT_FALSE(context.clone()) << "allocation " << failAt;
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
  EXPECT_EQ(context.numBindings(), 2u);
}

TEST_F(NamespaceContext, ABindThatRunsOutOfMemoryThrowsAndLeavesTheBindings) {
  context.bind(L"a", L"urn:a");
  atom(L"b");
  atom(L"urn:b");
  long before = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure(0);
    EXPECT_THROW(context.bind(L"b", L"urn:b"), std::bad_alloc);
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
  ASSERT_EQ(context.numBindings(), 1u);
  EXPECT_EQ(context.mapToURI(L"a"), L"urn:a");
}

TEST_F(NamespaceContext, AnElementBindsItsDeclarations) {
  MarlDocument document = marl.createDocument();
  MarlElement element = document.createElement(L"e", L"");
  element.setAttributeNode(document.createNamespaceDecl(L"xmlns", L"", L"urn:default"));
  element.setAttributeNode(document.createNamespaceDecl(L"p", L"xmlns", L"urn:p"));
  MarlNamespaceContext bound = element.getNamespaceContext();
  ASSERT_TRUE(bound);
  EXPECT_EQ(bound.mapToURI(L""), L"urn:default");
  EXPECT_EQ(bound.mapToURI(L"p"), L"urn:p");
  EXPECT_EQ(bound.mapToPrefix(L"urn:p"), L"p");
}
