#include "dom/xmxxo_attr.h"

#include <gtest/gtest.h>

#include "dom/xmxxo_doc.h"
#include "dom/xmxxo_elem.h"
#include "dom/xmxxo_pi.h"
#include "marl/marl.h"
#include "support/host_memory.h"
#include "support/library_state.h"

namespace {

// Nodes numbered up to this one count as left over from an earlier library.
constexpr std::uint32_t c_staleGID = 1000;

// 31 and 32 characters: the last shared length and the first owned one.
std::wstring const c_shared31(31, L's');
std::wstring const c_owned32(32, L'o');

class Attribute : public FreshLibrary {
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

  // Lets the library go: nothing but the marl handle keeps it.
  void dropLibrary() {
    document = static_cast<CMarlDocument const*>(nullptr);
    marl = static_cast<CMarl const*>(nullptr);
  }

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

TEST_F(Attribute, ANewAttributeHasTheEmptyValueAndIsNotSpecified) {
  MarlAttribute attribute = document.createAttribute(L"a", L"p");
  ASSERT_TRUE(attribute);
  EXPECT_EQ(attribute.getType(), MarlNode::nodeAttribute);
  EXPECT_EQ(attribute.getName(), L"a");
  EXPECT_EQ(attribute.getNamespacePrefix(), L"p");
  EXPECT_EQ(attribute.getValue(), L"");
  EXPECT_EQ(attribute.specified(), 0);
  EXPECT_TRUE(attribute.isLeaf());
  EXPECT_FALSE(attribute.getParent());
  EXPECT_FALSE(attribute.getOwnerDocument());
}

TEST_F(Attribute, NamesAreAtomsOfTheStringCache) {
  MarlAttribute attribute = document.createAttributeNS(L"a", L"p", L"urn:u");
  EXPECT_EQ(&attribute.getName(), atom(L"a"));
  EXPECT_EQ(&attribute.getNamespacePrefix(), atom(L"p"));
  EXPECT_EQ(&attribute.getNamespaceURI(), atom(L"urn:u"));
}

TEST_F(Attribute, AnAttributeWithoutANameReadsTheEmptyAtom) {
  MarlAttribute attribute = document.createAttribute(L"", L"");
  EXPECT_EQ(&attribute.getName(), CMarlBase::instance().emptyAtom);
  EXPECT_EQ(&attribute.getNamespacePrefix(), CMarlBase::instance().emptyAtom);
}

TEST_F(Attribute, NameSettersStoreAtoms) {
  MarlAttribute attribute = document.createAttribute(L"a", L"");
  EXPECT_EQ(attribute.setName(L"b"), MarlNode::rcOK);
  EXPECT_EQ(attribute.setNamespacePrefix(L"q"), MarlNode::rcOK);
  EXPECT_EQ(attribute.setNamespaceURI(L"urn:q"), MarlNode::rcOK);
  EXPECT_EQ(&attribute.getName(), atom(L"b"));
  EXPECT_EQ(&attribute.getNamespacePrefix(), atom(L"q"));
  EXPECT_EQ(&attribute.getNamespaceURI(), atom(L"urn:q"));
  EXPECT_EQ(attribute.setNamespacePrefix(L""), MarlNode::rcOK);
  EXPECT_EQ(attribute.getNamespacePrefix(), L"");
}

TEST_F(Attribute, SetValueMarksTheAttributeSpecified) {
  MarlAttribute attribute = document.createAttribute(L"a", L"");
  EXPECT_EQ(attribute.setValue(L"v"), MarlNode::rcOK);
  EXPECT_EQ(attribute.getValue(), L"v");
  EXPECT_EQ(attribute.specified(), 1);
}

TEST_F(Attribute, ADefaultValueReadsUnspecifiedUntilSetValue) {
  MarlAttribute attribute = document.createAttribute(L"a", L"");
  attribute._impl()->assignValue(L"fallback");
  EXPECT_EQ(attribute.getValue(), L"fallback");
  EXPECT_EQ(attribute.specified(), 0);
  attribute.setValue(L"fallback");
  EXPECT_EQ(attribute.specified(), 1);
}

TEST_F(Attribute, AValueOfThirtyOneCharactersIsSharedAsAnAtom) {
  MarlAttribute first = document.createAttribute(L"a", L"");
  MarlAttribute second = document.createAttribute(L"b", L"");
  first.setValue(c_shared31);
  second.setValue(c_shared31);
  EXPECT_EQ(&first.getValue(), &second.getValue());
  EXPECT_EQ(&first.getValue(), atom(c_shared31));
  EXPECT_TRUE(first._impl()->ownValue.empty());
}

TEST_F(Attribute, AValueOfThirtyTwoCharactersLiesInTheAttributesOwnString) {
  MarlAttribute first = document.createAttribute(L"a", L"");
  MarlAttribute second = document.createAttribute(L"b", L"");
  first.setValue(c_owned32);
  second.setValue(c_owned32);
  EXPECT_EQ(first.getValue(), c_owned32);
  EXPECT_NE(&first.getValue(), &second.getValue());
  EXPECT_EQ(&first.getValue(), &first._impl()->ownValue);
}

TEST_F(Attribute, AShortValueAfterALongOneIsSharedAgain) {
  MarlAttribute attribute = document.createAttribute(L"a", L"");
  attribute.setValue(c_owned32);
  attribute.setValue(L"short");
  EXPECT_EQ(&attribute.getValue(), atom(L"short"));
  EXPECT_TRUE(attribute._impl()->ownValue.empty());
}

TEST_F(Attribute, SettingALongValueToItselfKeepsIt) {
  MarlAttribute attribute = document.createAttribute(L"a", L"");
  attribute.setValue(c_owned32);
  attribute.setValue(attribute.getValue());
  EXPECT_EQ(attribute.getValue(), c_owned32);
}

TEST_F(Attribute, GetValueIntoAStringCopiesTheValue) {
  MarlAttribute attribute = document.createAttribute(L"a", L"");
  attribute.setValue(L"v");
  std::wstring value = L"old";
  attribute.getValue(value);
  EXPECT_EQ(value, L"v");
}

TEST_F(Attribute, AUriSetDirectlyIsTheNamespaceURI) {
  MarlAttribute attribute = document.createAttributeNS(L"a", L"p", L"urn:direct");
  EXPECT_EQ(attribute.getNamespaceURI(), L"urn:direct");
}

TEST_F(Attribute, APrefixedAttributeTakesItsURIFromItsOwnersContext) {
  MarlElement owner = document.createElement(L"e", L"");
  owner.setAttributeNode(document.createNamespaceDecl(L"p", L"xmlns", L"urn:p"));
  ASSERT_EQ(owner.setAttribute(L"a", L"p", L"v"), MarlNode::rcOK);
  MarlAttribute attribute = owner.getAttributeNode(L"a", L"p");
  ASSERT_TRUE(attribute);
  EXPECT_EQ(attribute.getNamespaceURI(), L"urn:p");
  EXPECT_EQ(&attribute.getNamespaceURI(), atom(L"urn:p"));
}

TEST_F(Attribute, AnAttributeWithoutPrefixIsInNoNamespaceUnderADefaultNamespace) {
  MarlElement owner = document.createElement(L"e", L"");
  owner.setAttributeNode(document.createNamespaceDecl(L"xmlns", L"", L"urn:default"));
  owner.setAttribute(L"a", L"", L"v");
  MarlAttribute attribute = owner.getAttributeNode(L"a", L"");
  ASSERT_TRUE(attribute);
  EXPECT_EQ(owner.getNamespaceURI(), L"urn:default");
  EXPECT_EQ(attribute.getNamespaceURI(), L"");
}

TEST_F(Attribute, AnUndeclaredPrefixGivesNoNamespace) {
  MarlElement owner = document.createElement(L"e", L"");
  owner.setAttribute(L"a", L"undeclared", L"v");
  EXPECT_EQ(owner.getAttributeNode(L"a", L"undeclared").getNamespaceURI(), L"");
}

TEST_F(Attribute, APrefixedAttributeWithoutOwnerHasNoNamespace) {
  MarlAttribute attribute = document.createAttribute(L"a", L"p");
  EXPECT_EQ(attribute.getNamespaceURI(), L"");
}

TEST_F(Attribute, TheXmlPrefixNeedsNoDeclaration) {
  MarlElement owner = document.createElement(L"e", L"");
  owner.setAttribute(L"lang", L"xml", L"en");
  EXPECT_EQ(owner.getAttributeNode(L"lang", L"xml").getNamespaceURI(),
            L"http://www.w3.org/XML/1998/namespace");
}

TEST_F(Attribute, TheNamespaceContextIsTheOwnersAndEmptyWithoutOwner) {
  MarlAttribute alone = document.createAttribute(L"a", L"");
  EXPECT_FALSE(alone.getNamespaceContext());
  MarlElement owner = document.createElement(L"e", L"");
  owner.setAttributeNode(alone);
  MarlNamespaceContext context = alone.getNamespaceContext();
  ASSERT_TRUE(context);
  EXPECT_EQ(context._impl(), owner.getNamespaceContext()._impl());
}

TEST_F(Attribute, GetOwnerElementOfANewAttributeIsEmpty) {
  MarlAttribute attribute = document.createAttribute(L"a", L"");
  EXPECT_FALSE(attribute.getOwnerElement());
}

TEST_F(Attribute, GetOwnerElementNamesTheElementThatHoldsIt) {
  MarlElement owner = document.createElement(L"e", L"");
  MarlAttribute attribute = document.createAttribute(L"a", L"");
  owner.setAttributeNode(attribute);
  EXPECT_EQ(attribute.getOwnerElement()._impl(), owner._impl());
  owner.setAttribute(L"b", L"", L"v");
  EXPECT_EQ(owner.getAttributeNode(L"b", L"").getOwnerElement()._impl(), owner._impl());
}

TEST_F(Attribute, AnAttributeIsNoChildOfItsOwner) {
  MarlElement owner = document.createElement(L"e", L"");
  MarlAttribute attribute = document.createAttribute(L"a", L"");
  owner.setAttributeNode(attribute);
  EXPECT_EQ(owner.numChildren(), 0u);
  EXPECT_EQ(attribute.getParent()._impl(), owner._impl());
  EXPECT_FALSE(attribute.getNext());
}

TEST_F(Attribute, ARemovedAttributeStillNamesItsElement) {
  MarlAttribute attribute = document.createAttribute(L"a", L"");
  MarlElement owner = document.createElement(L"e", L"");
  owner.setAttributeNode(attribute);
  ASSERT_EQ(owner.removeAttribute(L"a", L""), MarlNode::rcOK);
  EXPECT_FALSE(owner.getAttributeNode(L"a", L""));
  EXPECT_EQ(attribute.getOwnerElement()._impl(), owner._impl());
}

TEST_F(Attribute, ARemovedAttributeReadsNoOwnerOnceTheElementDied) {
  MarlAttribute attribute = document.createAttribute(L"a", L"");
  {
    MarlElement owner = document.createElement(L"e", L"");
    owner.setAttributeNode(attribute);
    owner.removeAttribute(L"a", L"");
  }
  EXPECT_FALSE(attribute.getOwnerElement());
  EXPECT_FALSE(attribute.getParent());
}

TEST_F(Attribute, AnAttributeHeldOutsideReadsNoOwnerOnceTheElementDied) {
  MarlAttribute attribute = document.createAttribute(L"a", L"p");
  {
    MarlElement owner = document.createElement(L"e", L"");
    owner.setAttributeNode(attribute);
  }
  EXPECT_FALSE(attribute.getOwnerElement());
  EXPECT_FALSE(attribute.getParent());
  EXPECT_EQ(attribute.getNamespaceURI(), L"");
}

TEST_F(Attribute, AnAttributeOfAParsedInstructionHasAParentButNoOwnerElement) {
  MarlPIParsed instruction = document.createPIParsed(L"target");
  instruction.setAttribute(L"a", L"v");
  MarlAttribute attribute = instruction.getAttributeNode(L"a");
  ASSERT_TRUE(attribute);
  EXPECT_EQ(attribute.getParent()._impl(), instruction._impl());
  EXPECT_FALSE(attribute.getOwnerElement());
  EXPECT_FALSE(attribute.getNamespaceContext());
}

TEST_F(Attribute, AllFourChildOperationsAreRefused) {
  MarlAttribute attribute = document.createAttribute(L"a", L"");
  MarlText text = document.createText(L"t");
  EXPECT_EQ(attribute.appendChild(text, 0), MarlNode::rcNotSupported);
  EXPECT_EQ(attribute.appendChild(text, 1), MarlNode::rcNotSupported);
  EXPECT_EQ(attribute.insertChild(text, MarlNode()), MarlNode::rcNotSupported);
  EXPECT_EQ(attribute.replaceChild(text, text), MarlNode::rcNotSupported);
  EXPECT_EQ(attribute.removeChild(text), MarlNode::rcNotSupported);
  EXPECT_EQ(attribute.numChildren(), 0u);
  EXPECT_FALSE(text.getParent());
}

TEST_F(Attribute, ChildOperationsWithEmptyHandlesAreRefusedToo) {
  MarlAttribute attribute = document.createAttribute(L"a", L"");
  EXPECT_EQ(attribute.appendChild(MarlNode(), 0), MarlNode::rcNotSupported);
  EXPECT_EQ(attribute.insertChild(MarlNode(), MarlNode()), MarlNode::rcNotSupported);
  EXPECT_EQ(attribute.replaceChild(MarlNode(), MarlNode()), MarlNode::rcNotSupported);
  EXPECT_EQ(attribute.removeChild(MarlNode()), MarlNode::rcNotSupported);
}

TEST_F(Attribute, AnswersItsOwnIdentifierAndThoseOfANode) {
  MarlAttribute attribute = document.createAttribute(L"a", L"");
  EXPECT_EQ(attribute._impl()->_queryClass(), unsigned{idAttribute});
  for (unsigned int id : {120u, 20u, 1u}) {
    EXPECT_EQ(attribute._impl()->_queryInterface(id), static_cast<void*>(attribute._impl()))
        << "identifier " << id;
  }
  for (unsigned int id : {130u, 281u, 110u, 90u, 100u, 40u})
    EXPECT_FALSE(answers(attribute, id)) << "identifier " << id;
}

TEST_F(Attribute, ConvertsToAnAttributeButNotToADeclarationOrElement) {
  MarlAttribute attribute = document.createAttribute(L"a", L"");
  CMarlAttribute* impl = attribute._impl();
  MarlNode node = attribute;
  std::uint32_t count = impl->getRefCount();
  {
    MarlAttribute again(node);
    EXPECT_EQ(again._impl(), impl);
    EXPECT_EQ(impl->getRefCount(), count + 1);
  }
  MarlNamespaceDecl declaration(attribute);
  MarlElement element(node);
  MarlCharacterData text(node);
  EXPECT_FALSE(declaration);
  EXPECT_FALSE(element);
  EXPECT_FALSE(text);
  EXPECT_EQ(impl->getRefCount(), count);
}

TEST_F(Attribute, CloneCopiesNamesFlagAndSharedValue) {
  MarlAttribute source = document.createAttributeNS(L"a", L"p", L"urn:u");
  source.setValue(L"v");
  MarlAttribute copy(source.clone(0));
  ASSERT_TRUE(copy);
  EXPECT_NE(copy._impl(), source._impl());
  EXPECT_NE(copy.getGID(), source.getGID());
  EXPECT_EQ(&copy.getName(), &source.getName());
  EXPECT_EQ(&copy.getNamespacePrefix(), &source.getNamespacePrefix());
  EXPECT_EQ(&copy.getNamespaceURI(), &source.getNamespaceURI());
  EXPECT_EQ(&copy.getValue(), &source.getValue());
  EXPECT_EQ(copy.specified(), 1);
  EXPECT_EQ(copy._impl()->_queryClass(), unsigned{idAttribute});
}

TEST_F(Attribute, CloneOfALongValueOwnsItsCopy) {
  MarlAttribute source = document.createAttribute(L"a", L"");
  source.setValue(c_owned32);
  MarlAttribute copy(source.clone(-1));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy.getValue(), c_owned32);
  EXPECT_NE(&copy.getValue(), &source.getValue());
  EXPECT_EQ(&copy.getValue(), &copy._impl()->ownValue);
  source.setValue(L"changed");
  EXPECT_EQ(copy.getValue(), c_owned32);
}

TEST_F(Attribute, CloneOfADefaultStaysUnspecified) {
  MarlAttribute source = document.createAttribute(L"a", L"");
  source._impl()->assignValue(L"fallback");
  MarlAttribute copy(source.clone(1));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy.specified(), 0);
  EXPECT_EQ(copy.getValue(), L"fallback");
}

TEST_F(Attribute, TheCloneOfAnOwnedAttributeHasNoOwner) {
  MarlElement owner = document.createElement(L"e", L"");
  owner.setAttribute(L"a", L"", L"v");
  MarlAttribute copy(owner.getAttributeNode(L"a", L"").clone(-1));
  ASSERT_TRUE(copy);
  EXPECT_FALSE(copy.getParent());
  EXPECT_FALSE(copy.getOwnerElement());
  EXPECT_EQ(copy.getValue(), L"v");
}

TEST_F(Attribute, ACloneThatRunsOutOfMemoryIsEmptyAndLeaksNothing) {
  MarlAttribute source = document.createAttribute(L"a", L"");
  source.setValue(c_owned32);
  long before = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure(0);
    EXPECT_FALSE(source.clone(-1));
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
  EXPECT_TRUE(source.clone(-1));
}

TEST_F(Attribute, CreateAttributeThatRunsOutOfMemoryIsEmptyAndLeaksNothing) {
  long before = blocksBesideAtoms();
  for (long failAt = 0; failAt < 3; ++failAt) {
    std::wstring name = L"fresh" + std::to_wstring(failAt);
    testhost::AllocationFailure failure(failAt);
    MarlAttribute attribute = document.createAttributeNS(name, L"p" + name, L"urn:" + name);
    EXPECT_FALSE(attribute) << "allocation " << failAt;
  }
  EXPECT_EQ(blocksBesideAtoms(), before);
}

TEST_F(Attribute, AStaleAttributeReadsUnknownNameAndValueAndNoNamespace) {
  MarlAttribute attribute = document.createAttributeNS(L"a", L"p", L"urn:u");
  attribute.setValue(L"v");
  attribute._impl()->GID = c_staleGID;
  EXPECT_EQ(attribute.getName(), L"?");
  EXPECT_EQ(attribute.getValue(), L"?");
  std::wstring value;
  attribute.getValue(value);
  EXPECT_EQ(value, L"?");
  EXPECT_EQ(attribute.getNamespacePrefix(), L"");
  EXPECT_EQ(attribute.getNamespaceURI(), L"");
}

TEST_F(Attribute, AnAttributeReadWithoutALibraryReadsTheUnknownValue) {
  MarlAttribute attribute = document.createAttributeNS(L"a", L"p", L"urn:u");
  attribute.setValue(L"v");
  dropLibrary();
  ASSERT_FALSE(CMarlBase::c_pMarl);
  // Each read brings a new library, under which the node's atoms are dead; it is ended at
  // once so that the next read again finds none.
  std::wstring value = attribute.getValue();
  endLibrary();
  std::wstring name = attribute.getName();
  endLibrary();
  std::wstring prefix = attribute.getNamespacePrefix();
  endLibrary();
  std::wstring uri = attribute.getNamespaceURI();
  endLibrary();
  EXPECT_EQ(value, L"?");
  EXPECT_EQ(name, L"?");
  EXPECT_EQ(prefix, L"");
  EXPECT_EQ(uri, L"");
}

TEST_F(Attribute, CloneOfAStaleAttributeReadsLikeItsSource) {
  MarlAttribute source = document.createAttributeNS(L"a", L"p", L"urn:u");
  source.setValue(L"v");
  source._impl()->GID = c_staleGID;
  MarlAttribute copy(source.clone(-1));
  ASSERT_TRUE(copy);
  EXPECT_GT(copy.getGID(), c_staleGID);
  EXPECT_EQ(copy.getName(), L"?");
  EXPECT_EQ(copy.getValue(), L"?");
  EXPECT_EQ(copy.getNamespacePrefix(), L"");
  EXPECT_EQ(copy.getNamespaceURI(), L"");
  EXPECT_EQ(copy.specified(), 1);
}
