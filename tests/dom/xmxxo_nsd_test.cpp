#include "dom/xmxxo_nsd.h"

#include <gtest/gtest.h>

#include "dom/xmxxo_doc.h"
#include "dom/xmxxo_elem.h"
#include "marl/marl.h"
#include "support/host_memory.h"
#include "support/library_state.h"

namespace {

// Nodes numbered up to this one count as left over from an earlier library.
constexpr std::uint32_t c_staleGID = 1000;

class NamespaceDecl : public FreshLibrary {
 protected:
  void SetUp() override {
    FreshLibrary::SetUp();
    marl = Marl(CMarlBase::createCMarl(CMarlBase::Setup{0, c_staleGID}));
    document = marl.createDocument();
  }
  void TearDown() override {
    document = static_cast<CMarlDocument const*>(nullptr);
    marl = static_cast<CMarl const*>(nullptr);
    FreshLibrary::TearDown();
  }

  MarlNamespaceDecl prefixDecl() { return document.createNamespaceDecl(L"p", L"xmlns", L"urn:p"); }

  static Atom atom(std::wstring const& text) { return CMarlBase::instance().intern(text); }

  static bool answers(MarlNode const& node, unsigned int id) {
    return node._impl()->_queryInterface(id) != nullptr;
  }

  // The blocks that are not entries of the atom cache: atoms stay, whatever happens.
  static long blocksBesideAtoms() {
    return testhost::outstandingBlocks() -
           static_cast<long>(CMarlBase::instance().atomCache->size());
  }

  Marl marl;
  MarlDocument document;
};

}  // namespace

TEST_F(NamespaceDecl, ADefaultDeclarationIsNamedXmlnsWithoutPrefix) {
  MarlNamespaceDecl declaration = document.createNamespaceDecl(L"xmlns", L"", L"urn:d");
  ASSERT_TRUE(declaration);
  EXPECT_EQ(declaration.getType(), MarlNode::nodeAttribute);
  EXPECT_EQ(declaration.getName(), L"xmlns");
  EXPECT_EQ(declaration.getNamespacePrefix(), L"");
  EXPECT_EQ(declaration.getValue(), L"urn:d");
  EXPECT_EQ(declaration.specified(), 1);
}

TEST_F(NamespaceDecl, APrefixDeclarationIsNamedByThePrefixUnderXmlns) {
  MarlNamespaceDecl declaration = prefixDecl();
  ASSERT_TRUE(declaration);
  EXPECT_EQ(declaration.getName(), L"p");
  EXPECT_EQ(declaration.getNamespacePrefix(), L"xmlns");
  EXPECT_EQ(declaration.getValue(), L"urn:p");
  EXPECT_EQ(&declaration.getValue(), atom(L"urn:p"));
  EXPECT_EQ(declaration._impl()->uri, atom(L"urn:p"));
  EXPECT_EQ(declaration.specified(), 1);
}

TEST_F(NamespaceDecl, GetNamespaceURIIsEmptyEvenWithTheUriSet) {
  MarlNamespaceDecl declaration = prefixDecl();
  ASSERT_FALSE(declaration._impl()->uri->empty());
  EXPECT_EQ(declaration.getNamespaceURI(), L"");
  EXPECT_EQ(declaration.setNamespaceURI(L"urn:other"), MarlNode::rcOK);
  EXPECT_EQ(declaration._impl()->uri, atom(L"urn:other"));
  EXPECT_EQ(declaration.getNamespaceURI(), L"");
}

TEST_F(NamespaceDecl, SetNamespacePrefixIsNotSupported) {
  MarlNamespaceDecl declaration = prefixDecl();
  EXPECT_EQ(declaration.setNamespacePrefix(L"other"), MarlNode::rcNotSupported);
  EXPECT_EQ(declaration.setNamespace(L"other"), MarlNode::rcNotSupported);
  EXPECT_EQ(declaration.getNamespacePrefix(), L"xmlns");
}

TEST_F(NamespaceDecl, NameAndValueCanBeSet) {
  MarlNamespaceDecl declaration = prefixDecl();
  EXPECT_EQ(declaration.setName(L"q"), MarlNode::rcOK);
  EXPECT_EQ(declaration.setValue(L"urn:q"), MarlNode::rcOK);
  EXPECT_EQ(declaration.getName(), L"q");
  EXPECT_EQ(declaration.getValue(), L"urn:q");
  EXPECT_EQ(declaration.specified(), 1);
}

TEST_F(NamespaceDecl, ALongURIIsOwnedAndAShortOneShared) {
  std::wstring longUri = L"http://example.org/a/rather/long/namespace";
  MarlNamespaceDecl owned = document.createNamespaceDecl(L"l", L"xmlns", longUri);
  EXPECT_EQ(owned.getValue(), longUri);
  EXPECT_EQ(&owned.getValue(), &owned._impl()->ownValue);
  MarlNamespaceDecl first = prefixDecl();
  MarlNamespaceDecl second = prefixDecl();
  EXPECT_EQ(&first.getValue(), &second.getValue());
}

TEST_F(NamespaceDecl, AnswersDeclarationAttributeAndNodeButNotElement) {
  MarlNamespaceDecl declaration = prefixDecl();
  EXPECT_EQ(declaration._impl()->_queryClass(), unsigned{idNamespaceDecl});
  for (unsigned int id : {281u, 120u, 20u, 1u})
    EXPECT_EQ(declaration._impl()->_queryInterface(id), static_cast<void*>(declaration._impl()))
        << id;
  for (unsigned int id : {130u, 282u, 110u, 280u})
    EXPECT_FALSE(answers(declaration, id)) << "identifier " << id;
}

TEST_F(NamespaceDecl, ADeclarationConvertsToAnAttribute) {
  MarlNamespaceDecl declaration = prefixDecl();
  MarlNode node = declaration;
  std::uint32_t count = declaration._impl()->getRefCount();
  MarlAttribute attribute(node);
  ASSERT_TRUE(attribute);
  EXPECT_EQ(static_cast<CUnknown*>(attribute), static_cast<CUnknown*>(declaration));
  EXPECT_EQ(declaration._impl()->getRefCount(), count + 1);
  MarlNamespaceDecl back(attribute);
  EXPECT_EQ(static_cast<CUnknown*>(back), static_cast<CUnknown*>(declaration));
  EXPECT_FALSE(MarlElement(node));
}

TEST_F(NamespaceDecl, ADeclarationMadeFromAPlainAttributeIsEmpty) {
  MarlAttribute attribute = document.createAttribute(L"p", L"xmlns");
  std::uint32_t count = attribute._impl()->getRefCount();
  MarlNamespaceDecl fromAttribute(attribute);
  MarlNode node = attribute;
  MarlNamespaceDecl fromNode(node);
  MarlNamespaceDecl fromUnknown(static_cast<CUnknown*>(attribute));
  EXPECT_FALSE(fromAttribute);
  EXPECT_FALSE(fromNode);
  EXPECT_FALSE(fromUnknown);
  EXPECT_EQ(attribute._impl()->getRefCount(), count + 1);
}

TEST_F(NamespaceDecl, AllFourChildOperationsAreRefused) {
  MarlNamespaceDecl declaration = prefixDecl();
  MarlText child = document.createText(L"t");
  EXPECT_EQ(declaration.appendChild(child, 0), MarlNode::rcNotSupported);
  EXPECT_EQ(declaration.insertChild(child, MarlNode()), MarlNode::rcNotSupported);
  EXPECT_EQ(declaration.replaceChild(child, declaration), MarlNode::rcNotSupported);
  EXPECT_EQ(declaration.removeChild(child), MarlNode::rcNotSupported);
  EXPECT_EQ(declaration.appendChild(MarlNode(), 0), MarlNode::rcNotSupported);
  EXPECT_EQ(declaration.insertChild(MarlNode(), MarlNode()), MarlNode::rcNotSupported);
  EXPECT_EQ(declaration.replaceChild(MarlNode(), MarlNode()), MarlNode::rcNotSupported);
  EXPECT_EQ(declaration.removeChild(MarlNode()), MarlNode::rcNotSupported);
  EXPECT_EQ(declaration.numChildren(), 0u);
}

TEST_F(NamespaceDecl, CloneIsADeclarationWithTheSameFieldsUnderANewNumber) {
  MarlNamespaceDecl source = prefixDecl();
  MarlNamespaceDecl copy(source.clone(-1));
  ASSERT_TRUE(copy);
  EXPECT_NE(copy._impl(), source._impl());
  EXPECT_NE(copy.getGID(), source.getGID());
  EXPECT_EQ(copy._impl()->_queryClass(), unsigned{idNamespaceDecl});
  EXPECT_EQ(&copy.getName(), &source.getName());
  EXPECT_EQ(&copy.getNamespacePrefix(), &source.getNamespacePrefix());
  EXPECT_EQ(&copy.getValue(), &source.getValue());
  EXPECT_EQ(copy._impl()->uri, source._impl()->uri);
  EXPECT_EQ(copy.specified(), 1);
  EXPECT_EQ(copy.getNamespaceURI(), L"");
  EXPECT_EQ(copy.setNamespacePrefix(L"x"), MarlNode::rcNotSupported);
}

TEST_F(NamespaceDecl, CloneOfALongURIOwnsItsCopy) {
  std::wstring longUri = L"http://example.org/a/rather/long/namespace";
  MarlNamespaceDecl source = document.createNamespaceDecl(L"l", L"xmlns", longUri);
  MarlNamespaceDecl copy(source.clone(0));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy.getValue(), longUri);
  EXPECT_NE(&copy.getValue(), &source.getValue());
}

TEST_F(NamespaceDecl, CreateOrCloneThatRunsOutOfMemoryIsEmptyAndLeaksNothing) {
  MarlNamespaceDecl source = prefixDecl();
  long before = blocksBesideAtoms();
  for (long failAt = 0; failAt < 3; ++failAt) {
    std::wstring name = L"fresh" + std::to_wstring(failAt);
    testhost::AllocationFailure failure(failAt);
    EXPECT_FALSE(document.createNamespaceDecl(name, L"xmlns", L"urn:" + name))
        << "allocation " << failAt;
  }
  {
    testhost::AllocationFailure failure(0);
    EXPECT_FALSE(source.clone(-1));
  }
  EXPECT_EQ(blocksBesideAtoms(), before);
}

TEST_F(NamespaceDecl, AStaleDeclarationReadsUnknownNameAndValueAndNoNamespace) {
  MarlNamespaceDecl declaration = prefixDecl();
  declaration._impl()->GID = c_staleGID;
  EXPECT_EQ(declaration.getName(), L"?");
  EXPECT_EQ(declaration.getValue(), L"?");
  EXPECT_EQ(declaration.getNamespacePrefix(), L"");
  EXPECT_EQ(declaration.getNamespaceURI(), L"");
}

TEST_F(NamespaceDecl, ADeclarationSetOnAnElementBelongsToIt) {
  MarlElement element = document.createElement(L"e", L"p");
  MarlNamespaceDecl declaration = prefixDecl();
  EXPECT_EQ(element.setAttributeNode(declaration), MarlNode::rcOK);
  EXPECT_EQ(declaration.getOwnerElement()._impl(), element._impl());
  EXPECT_EQ(element.getNamespaceURI(), L"urn:p");
  EXPECT_EQ(declaration.getNamespaceURI(), L"");
}

TEST_F(NamespaceDecl, CloneOfAStaleDeclarationReadsLikeItsSource) {
  MarlNamespaceDecl source = prefixDecl();
  source._impl()->GID = c_staleGID;
  MarlNamespaceDecl copy(source.clone(-1));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy.getName(), L"?");
  EXPECT_EQ(copy.getValue(), L"?");
  EXPECT_EQ(copy.getNamespacePrefix(), L"");
  EXPECT_EQ(copy.getNamespaceURI(), L"");
}
