#include "dom/xmxxo_elem.h"

#include <gtest/gtest.h>

#include "dom/xmxxo_doc.h"
#include "dom/xmxxo_nsc.h"
#include "marl/marl.h"
#include "support/host_memory.h"
#include "support/library_state.h"

namespace {

class Element : public FreshLibrary {
 protected:
  void SetUp() override {
    FreshLibrary::SetUp();
    marl = Marl::create();
    document = marl.createDocument();
    element = document.createElement(L"e", L"");
  }
  void TearDown() override {
    element = static_cast<CMarlElement const*>(nullptr);
    document = static_cast<CMarlDocument const*>(nullptr);
    marl = static_cast<CMarl const*>(nullptr);
    FreshLibrary::TearDown();
  }

  Marl marl;
  MarlDocument document;
  MarlElement element;
};

}  // namespace

TEST_F(Element, AnswersItsIdentifiersOnly) {
  CMarlElement* impl = element._impl();
  EXPECT_EQ(impl->_queryClass(), 130u);
  EXPECT_NE(impl->_queryInterface(130), nullptr);
  EXPECT_NE(impl->_queryInterface(20), nullptr);
  EXPECT_NE(impl->_queryInterface(1), nullptr);
  EXPECT_EQ(impl->_queryInterface(120), nullptr);
  EXPECT_EQ(element.getType(), MarlNode::nodeElement);
}

TEST_F(Element, NameSettersStoreAtomsWithoutChecks) {
  EXPECT_EQ(element.setName(L"not a name!"), MarlNode::rcOK);
  EXPECT_EQ(element.getName(), L"not a name!");
  EXPECT_EQ(element.setNamespacePrefix(L"p"), MarlNode::rcOK);
  EXPECT_EQ(element.setNamespaceURI(L"urn:x"), MarlNode::rcOK);
  EXPECT_EQ(element.getNamespacePrefix(), L"p");
  EXPECT_EQ(element.getNamespaceURI(), L"urn:x");
  EXPECT_EQ(&element.getName(), &document.createElement(L"not a name!", L"").getName());
}

TEST_F(Element, GetAttributeOfAMissingAttributeIsEmptyAndMakesTheMap) {
  EXPECT_FALSE(element._impl()->attributes);
  EXPECT_EQ(element.getAttribute(L"x", L""), L"");
  EXPECT_TRUE(element._impl()->attributes);
}

TEST_F(Element, RemoveAttributeWithoutAMapIsNotFoundAndMakesNone) {
  EXPECT_EQ(element.removeAttribute(L"x", L""), MarlNode::rcNotFound);
  EXPECT_EQ(element.removeAttributeNS(L"x", L""), MarlNode::rcNotFound);
  EXPECT_FALSE(element._impl()->attributes);
}

TEST_F(Element, SetAttributeTwiceKeepsOneAttributeWithTheLastValue) {
  EXPECT_EQ(element.setAttribute(L"a", L"", L"1"), MarlNode::rcOK);
  EXPECT_EQ(element.setAttribute(L"a", L"", L"2"), MarlNode::rcOK);
  EXPECT_EQ(element.getAttributes().getLength(), 1u);
  EXPECT_EQ(element.getAttribute(L"a", L""), L"2");
}

TEST_F(Element, ASetAttributeIsSpecifiedAndOwnedByTheElement) {
  element.setAttribute(L"a", L"", L"1");
  MarlAttribute attribute = element.getAttributeNode(L"a", L"");
  ASSERT_TRUE(attribute);
  EXPECT_EQ(attribute.specified(), 1);
  EXPECT_EQ(static_cast<CUnknown*>(attribute.getOwnerElement()), static_cast<CUnknown*>(element));
  EXPECT_EQ(attribute.getNamespaceURI(), L"");
}

TEST_F(Element, GetAttributeFindsNothingWhenThePrefixDiffers) {
  element.setAttribute(L"a", L"p", L"1");
  EXPECT_EQ(element.getAttribute(L"a", L""), L"");
  EXPECT_FALSE(element.getAttributeNode(L"a", L"q"));
  EXPECT_EQ(element.getAttribute(L"a", L"p"), L"1");
}

TEST_F(Element, SetAttributeNsLooksUpByUriAndKeepsThePrefix) {
  EXPECT_EQ(element.setAttributeNS(L"a", L"p", L"urn:x", L"1"), MarlNode::rcOK);
  EXPECT_EQ(element.getAttributeNS(L"a", L"urn:x"), L"1");
  EXPECT_EQ(element.getAttribute(L"a", L"p"), L"1");
  EXPECT_EQ(element.setAttributeNS(L"a", L"other", L"urn:x", L"2"), MarlNode::rcOK);
  EXPECT_EQ(element.getAttributes().getLength(), 1u);
  EXPECT_EQ(element.getAttributeNS(L"a", L"urn:x"), L"2");
  EXPECT_TRUE(element._impl()->namespaceContext);
}

TEST_F(Element, SetAttributeNodeOfAnEmptyHandleIsABadArgument) {
  EXPECT_EQ(element.setAttributeNode(MarlAttribute()), MarlNode::rcBadArgument);
  EXPECT_EQ(element.setAttributeNodeNS(MarlAttribute()), MarlNode::rcBadArgument);
}

TEST_F(Element, SetAttributeNodeReplacesTheAttributeOfTheSameName) {
  element.setAttribute(L"a", L"", L"old");
  MarlAttribute replacement = document.createAttribute(L"a", L"");
  replacement.setValue(L"new");
  EXPECT_EQ(element.setAttributeNode(replacement), MarlNode::rcOK);
  EXPECT_EQ(element.getAttributes().getLength(), 1u);
  EXPECT_EQ(element.getAttribute(L"a", L""), L"new");
  EXPECT_EQ(static_cast<CUnknown*>(replacement.getOwnerElement()), static_cast<CUnknown*>(element));
}

TEST_F(Element, RemoveAttributeNodeOfAnAttributeNotInTheMapIsNotFound) {
  element.setAttribute(L"a", L"", L"1");
  EXPECT_EQ(element.removeAttributeNode(document.createAttribute(L"b", L"")), MarlNode::rcNotFound);
  EXPECT_EQ(element.getAttributes().getLength(), 1u);
}

TEST_F(Element, RemoveAttributeNodeGoesByNameNotIdentity) {
  element.setAttribute(L"a", L"", L"1");
  EXPECT_EQ(element.removeAttributeNode(document.createAttribute(L"a", L"")), MarlNode::rcOK);
  EXPECT_EQ(element.getAttributes().getLength(), 0u);
}

TEST_F(Element, RemoveAttributeTakesTheAttributeOut) {
  element.setAttribute(L"a", L"", L"1");
  element.setAttribute(L"b", L"", L"2");
  EXPECT_EQ(element.removeAttribute(L"a", L""), MarlNode::rcOK);
  EXPECT_EQ(element.getAttributes().getLength(), 1u);
  EXPECT_EQ(element.removeAttribute(L"a", L""), MarlNode::rcNotFound);
}

TEST_F(Element, SetAttributeReportsNoNodeWhenMemoryRunsOut) {
  element.getAttributes();
  element.getAttribute(L"a", L"");  // the names are interned before memory runs out
  testhost::AllocationFailure failure;
  EXPECT_EQ(element.setAttribute(L"a", L"", L"1"), MarlNode::rcNoNode);
}

TEST_F(Element, ValueIsTheTextContentWithoutCommentsOrInstructions) {
  element.appendChild(document.createText(L"a"), 0);
  element.appendChild(document.createComment(L"c"), 0);
  element.appendChild(document.createPIUnparsed(L"pi", L"data"), 0);
  MarlElement child = document.createSimpleElement(L"child", L"", L"b", element);
  element.appendChild(document.createCDATASection(L"c"), 0);
  EXPECT_EQ(element.getValue(), L"abc");
  std::wstring value = L"old";
  element.getValue(value);
  EXPECT_EQ(value, L"abc");
  std::wstring appended = L">";
  element.getContentAsString(appended);
  EXPECT_EQ(appended, L">abc");
}

TEST_F(Element, ValueOfAnEmptyElementIsEmpty) {
  EXPECT_EQ(element.getValue(), L"");
  EXPECT_EQ(element.getContentAsString(), L"");
}

TEST_F(Element, SetValueOfTheEmptyStringLeavesOneEmptyTextNode) {
  element.appendChild(document.createElement(L"a", L""), 0);
  element.appendChild(document.createText(L"t"), 0);
  EXPECT_EQ(element.setValue(L""), MarlNode::rcOK);
  ASSERT_EQ(element.numChildren(), 1u);
  EXPECT_EQ(element.getFirstChild().getType(), MarlNode::nodeText);
  EXPECT_EQ(element.getFirstChild().getValue(), L"");
}

TEST_F(Element, SetValueReplacesTheChildrenWithText) {
  element.appendChild(document.createElement(L"a", L""), 0);
  element.setValue(L"text");
  EXPECT_EQ(element.numChildren(), 1u);
  EXPECT_EQ(element.getValue(), L"text");
}

TEST_F(Element, NormalizeJoinsARunOfTextNodes) {
  element.appendChild(document.createText(L"a"), 0);
  element.appendChild(document.createText(L"b"), 0);
  element.appendChild(document.createText(L"c"), 0);
  element.normalize();
  ASSERT_EQ(element.numChildren(), 1u);
  EXPECT_EQ(element.getFirstChild().getValue(), L"abc");
}

TEST_F(Element, NormalizeLeavesTextSeparatedByCdata) {
  element.appendChild(document.createText(L"a"), 0);
  element.appendChild(document.createCDATASection(L"b"), 0);
  element.appendChild(document.createText(L"c"), 0);
  element.normalize();
  EXPECT_EQ(element.numChildren(), 3u);
}

TEST_F(Element, NormalizeReachesChildElements) {
  MarlElement child = document.createElement(L"child", L"");
  child.appendChild(document.createText(L"a"), 0);
  child.appendChild(document.createText(L"b"), 0);
  element.appendChild(child, 0);
  element.normalize();
  EXPECT_EQ(child.numChildren(), 1u);
}

TEST_F(Element, ContainsLooksAtDirectChildrenOnly) {
  MarlElement withCdata = document.createElement(L"a", L"");
  withCdata.appendChild(document.createCDATASection(L"x"), 0);
  EXPECT_TRUE(withCdata.contains(MarlNode::nodeText | MarlNode::nodeCDATA));
  MarlElement withComment = document.createElement(L"b", L"");
  withComment.appendChild(document.createComment(L"x"), 0);
  EXPECT_FALSE(withComment.contains(MarlNode::nodeText | MarlNode::nodeCDATA));
  MarlElement grandparent = document.createElement(L"c", L"");
  grandparent.appendChild(withCdata, 0);
  EXPECT_FALSE(grandparent.contains(MarlNode::nodeCDATA));
}

TEST_F(Element, TheXmlPrefixNeedsNoDeclaration) {
  MarlElement space = document.createElement(L"lang", L"xml");
  EXPECT_EQ(space.getNamespaceURI(), L"http://www.w3.org/XML/1998/namespace");
}

TEST_F(Element, AnElementWithoutPrefixTakesTheDefaultNamespace) {
  MarlElement root = document.createElement(L"root", L"");
  root.setAttributeNode(document.createNamespaceDecl(L"xmlns", L"", L"urn:default"));
  MarlElement child = document.createElement(L"child", L"");
  root.appendChild(child, 0);
  EXPECT_EQ(child.getNamespaceURI(), L"urn:default");
  EXPECT_EQ(root.getNamespaceURI(), L"urn:default");
}

TEST_F(Element, APrefixedElementTakesItsBinding) {
  MarlElement root = document.createElement(L"root", L"");
  root.setAttributeNode(document.createNamespaceDecl(L"p", L"xmlns", L"urn:p"));
  MarlElement child = document.createElement(L"child", L"p");
  root.appendChild(child, 0);
  EXPECT_EQ(child.getNamespaceURI(), L"urn:p");
  EXPECT_EQ(root.getNamespaceURI(), L"");
}

TEST_F(Element, APrefixIsFoundForAUriSetDirectly) {
  MarlElement root = document.createElement(L"root", L"");
  root.setAttributeNode(document.createNamespaceDecl(L"p", L"xmlns", L"urn:p"));
  MarlElement child = document.createElementNS(L"child", L"", L"urn:p");
  root.appendChild(child, 0);
  EXPECT_EQ(child.getNamespacePrefix(), L"p");
}

TEST_F(Element, AnElementWithoutDeclarationsSharesItsParentsContext) {
  MarlElement root = document.createElement(L"root", L"");
  root.setAttributeNode(document.createNamespaceDecl(L"p", L"xmlns", L"urn:p"));
  MarlElement child = document.createElement(L"child", L"");
  root.appendChild(child, 0);
  EXPECT_EQ(static_cast<CUnknown*>(child.getNamespaceContext()),
            static_cast<CUnknown*>(root.getNamespaceContext()));
}

TEST_F(Element, AnElementWithDeclarationsGetsAContextOfItsOwn) {
  MarlElement root = document.createElement(L"root", L"");
  root.setAttributeNode(document.createNamespaceDecl(L"p", L"xmlns", L"urn:p"));
  MarlElement child = document.createElement(L"child", L"");
  child.setAttributeNode(document.createNamespaceDecl(L"p", L"xmlns", L"urn:inner"));
  root.appendChild(child, 0);
  EXPECT_NE(static_cast<CUnknown*>(child.getNamespaceContext()),
            static_cast<CUnknown*>(root.getNamespaceContext()));
  EXPECT_EQ(child.getNamespaceContext().mapToURI(L"p"), L"urn:inner");
  EXPECT_EQ(root.getNamespaceContext().mapToURI(L"p"), L"urn:p");
}

TEST_F(Element, AddingADeclarationClearsTheCachedContextsBelow) {
  MarlElement root = document.createElement(L"root", L"");
  MarlElement child = document.createElement(L"child", L"p");
  root.appendChild(child, 0);
  EXPECT_EQ(child.getNamespaceURI(), L"");
  root.setAttributeNode(document.createNamespaceDecl(L"p", L"xmlns", L"urn:p"));
  EXPECT_EQ(child.getNamespaceURI(), L"urn:p");
}

TEST_F(Element, RemovingADeclarationClearsTheCachedContexts) {
  MarlElement root = document.createElement(L"root", L"");
  MarlNamespaceDecl declaration = document.createNamespaceDecl(L"p", L"xmlns", L"urn:p");
  root.setAttributeNode(declaration);
  MarlElement child = document.createElement(L"child", L"p");
  root.appendChild(child, 0);
  EXPECT_EQ(child.getNamespaceURI(), L"urn:p");
  EXPECT_EQ(root.removeAttributeNode(declaration), MarlNode::rcOK);
  EXPECT_EQ(child.getNamespaceURI(), L"");
}

TEST_F(Element, ForkGivesAContextPrivateToTheElement) {
  MarlElement root = document.createElement(L"root", L"");
  MarlElement child = document.createElement(L"child", L"");
  root.appendChild(child, 0);
  MarlNamespaceContext shared = root.getNamespaceContext();
  MarlNamespaceContext own = child._impl()->forkNamespaceContext();
  own.bind(L"q", L"urn:q");
  EXPECT_EQ(child.getNamespaceContext().mapToURI(L"q"), L"urn:q");
  EXPECT_EQ(shared.mapToURI(L"q"), L"");
}

TEST_F(Element, APrefixedAttributeTakesTheBindingOfItsElement) {
  element.setAttributeNode(document.createNamespaceDecl(L"p", L"xmlns", L"urn:p"));
  element.setAttribute(L"a", L"p", L"1");
  EXPECT_EQ(element.getAttributeNode(L"a", L"p").getNamespaceURI(), L"urn:p");
  EXPECT_EQ(element.getAttributeNS(L"a", L"urn:p"), L"1");
}

TEST_F(Element, CloneCopiesNamesAttributesAndSharesTheContext) {
  element.setAttribute(L"a", L"", L"1");
  element.setAttribute(L"b", L"", L"2");
  element.setNamespacePrefix(L"p");
  MarlNamespaceContext context = element.getNamespaceContext();
  MarlElement copy(element.clone(0));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy.getName(), L"e");
  EXPECT_EQ(copy.getNamespacePrefix(), L"p");
  ASSERT_EQ(copy.getAttributes().getLength(), 2u);
  EXPECT_EQ(copy.getAttribute(L"b", L""), L"2");
  MarlAttribute copied = copy.getAttributeNode(L"a", L"");
  EXPECT_NE(static_cast<CUnknown*>(copied), static_cast<CUnknown*>(element.getAttributeNode(L"a", L"")));
  EXPECT_EQ(static_cast<CUnknown*>(copied.getOwnerElement()), static_cast<CUnknown*>(copy));
  EXPECT_EQ(static_cast<CUnknown*>(copy._impl()->namespaceContext), static_cast<CUnknown*>(context));
}

TEST_F(Element, CloneWithoutAMapMakesNone) {
  MarlElement copy(element.clone(0));
  EXPECT_FALSE(copy._impl()->attributes);
}

TEST_F(Element, ADeadElementLeavesItsAttributesWithoutOwner) {
  MarlAttribute survivor;
  {
    MarlElement owner = document.createElement(L"owner", L"");
    owner.setAttribute(L"a", L"", L"1");
    survivor = owner.getAttributeNode(L"a", L"");
  }
  EXPECT_FALSE(survivor.getOwnerElement());
}

TEST_F(Element, EndTagLinesNeedAnOwnerDocument) {
  element._impl()->setEndTagLine(12);
  EXPECT_EQ(element.getEndTagLine(), 0u);
  document.appendChild(element, 0);
  element._impl()->setEndTagLine(12);
  EXPECT_EQ(element.getEndTagLine(), 12u);
}

TEST(StaleElement, ReadsTheUnknownNameAndNoNamespace) {
  endLibrary();
  {
    Marl marl(CMarlBase::createCMarl(CMarlBase::Setup{1, 100}));
    MarlDocument document = marl.createDocument();
    MarlElement element = document.createElementNS(L"e", L"p", L"urn:x");
    element._impl()->GID = 50;
    EXPECT_EQ(element.getName(), L"?");
    EXPECT_EQ(element.getNamespacePrefix(), L"");
    EXPECT_EQ(element.getNamespaceURI(), L"");
  }
  endLibrary();
}
