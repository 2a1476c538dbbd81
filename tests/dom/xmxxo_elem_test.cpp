#include "dom/xmxxo_elem.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "dom/lookup_fixture.h"
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

// ---------------------------------------------------------------------------------------
// Lookups by path and by name

namespace {

// A document with a root element r, which each test furnishes with what it needs.
class ElementLookup : public LookupTest {
 protected:
  void SetUp() override {
    LookupTest::SetUp();
    root = add(L"r", document);
  }
  void TearDown() override {
    root = static_cast<CMarlElement const*>(nullptr);
    LookupTest::TearDown();
  }

  MarlElement root;
};

}  // namespace

TEST_F(ElementLookup, AnElementWithoutChildrenFindsNothingWhateverThePath) {
  MarlElement leaf = add(L"leaf", root);
  EXPECT_FALSE(leaf.findFromPath(L""));
  EXPECT_FALSE(leaf.findFromPath(L".."));
  EXPECT_FALSE(leaf.findFromPath(L"/a"));
  EXPECT_FALSE(leaf.findFromPath(L"/r"));
  EXPECT_FALSE(leaf.findFromPathNS(L"", L""));
  EXPECT_FALSE(leaf.findFromPathNS(L"..", L""));
  EXPECT_FALSE(leaf.findFromPathNS(L"/r", L""));
}

TEST_F(ElementLookup, AnEmptyPathLeadsToTheElementItselfWhenItHasChildren) {
  root.appendChild(document.createText(L"t"), 0);
  EXPECT_TRUE(same(root.findFromPath(L""), root));
  EXPECT_TRUE(same(root.findFromPathNS(L"", L""), root));
}

TEST_F(ElementLookup, NamedStepsWalkDownFromChildToChild) {
  MarlElement a = add(L"a", root);
  MarlElement b = add(L"b", a);
  MarlElement c = add(L"c", b);
  EXPECT_TRUE(same(root.findFromPath(L"a"), a));
  EXPECT_TRUE(same(root.findFromPath(L"a/b/c"), c));
  EXPECT_FALSE(root.findFromPath(L"b"));
  EXPECT_FALSE(root.findFromPath(L"a/c"));
}

TEST_F(ElementLookup, ATrailingSlashEndsThePathAtTheStepBeforeIt) {
  MarlElement a = add(L"a", root);
  EXPECT_TRUE(same(root.findFromPath(L"a/"), a));
}

TEST_F(ElementLookup, AnEmptyStepEndsThePathAndWhatFollowsIsNotRead) {
  MarlElement a = add(L"a", root);
  add(L"b", a);
  EXPECT_TRUE(same(root.findFromPath(L"a//b"), a));
  EXPECT_TRUE(same(root.findFromPath(L"a//nothing/at/all"), a));
}

TEST_F(ElementLookup, ANamedStepTakesTheFirstChildOfItsNameAndNoOther) {
  MarlElement first = add(L"a", root);
  add(L"x", first);
  MarlElement second = add(L"a", root);
  MarlElement b = add(L"b", second);
  EXPECT_TRUE(same(root.findFromPath(L"a"), first));
  EXPECT_FALSE(root.findFromPath(L"a/b"));
  EXPECT_TRUE(same(root.findFromPath(L"*/b"), b));
}

TEST_F(ElementLookup, WildcardStepsBacktrackThroughSeveralLevels) {
  MarlElement a1 = add(L"a", root);
  add(L"x", add(L"b", a1));
  MarlElement a2 = add(L"a", root);
  MarlElement c = add(L"c", add(L"b", a2));
  EXPECT_TRUE(same(root.findFromPath(L"*/*/c"), c));
  EXPECT_TRUE(same(root.findFromPath(L"a/*/x").getParent(), a1.getFirstChild()));
  EXPECT_FALSE(root.findFromPath(L"a/*/c"));
}

TEST_F(ElementLookup, AWildcardStepTakesOnlyChildrenThatHaveChildren) {
  add(L"empty", root);
  MarlElement full = add(L"full", root);
  add(L"inner", full);
  EXPECT_TRUE(same(root.findFromPath(L"*"), full));
  EXPECT_TRUE(same(root.findFromPath(L"*/"), full));
}

TEST_F(ElementLookup, APrefixedStepNeedsThePrefix) {
  MarlElement prefixed = add(L"x", root, L"p");
  EXPECT_FALSE(root.findFromPath(L"x"));
  EXPECT_TRUE(same(root.findFromPath(L"p:x"), prefixed));
  EXPECT_FALSE(root.findFromPath(L"q:x"));
}

TEST_F(ElementLookup, StarAloneMatchesNoPrefixedChildButStarColonStarDoes) {
  MarlElement prefixed = add(L"x", root, L"p");
  add(L"inner", prefixed);
  EXPECT_FALSE(root.findFromPath(L"*"));
  EXPECT_TRUE(same(root.findFromPath(L"*:*"), prefixed));
}

TEST_F(ElementLookup, WildcardsStandForThePrefixOrTheName) {
  MarlElement px = add(L"x", root, L"p");
  add(L"inner", px);
  MarlElement qy = add(L"y", root, L"q");
  add(L"inner", qy);
  MarlElement qx = add(L"x", root, L"q");
  add(L"inner", qx);
  EXPECT_TRUE(same(root.findFromPath(L"q:*"), qy));
  EXPECT_TRUE(same(root.findFromPath(L"*:x"), px));
  EXPECT_TRUE(same(root.findFromPath(L"*:y"), qy));
  EXPECT_FALSE(root.findFromPath(L"r:*"));
  EXPECT_FALSE(root.findFromPath(L"*:z"));
}

TEST_F(ElementLookup, AStarInsideAStepIsNoWildcard) {
  add(L"inner", add(L"ax", root));
  MarlElement literal = add(L"*x", root);
  EXPECT_TRUE(same(root.findFromPath(L"*x"), literal));
  EXPECT_FALSE(root.findFromPath(L"*x/inner"));
}

TEST_F(ElementLookup, TheParentStepGoesUpAmongElements) {
  MarlElement a = add(L"a", root);
  MarlElement b = add(L"b", a);
  MarlElement c = add(L"c", root);
  EXPECT_TRUE(same(root.findFromPath(L"a/../c"), c));
  EXPECT_TRUE(same(root.findFromPath(L"a/b/../.."), root));
  EXPECT_TRUE(same(a.findFromPath(L"b/.."), a));
  EXPECT_TRUE(same(a.findFromPath(L"../c"), c));
}

TEST_F(ElementLookup, AParentStepAboveTheRootElementGoesOnFromTheDocument) {
  MarlElement a = add(L"a", root);
  EXPECT_TRUE(same(root.findFromPath(L"../r"), root));
  EXPECT_TRUE(same(root.findFromPath(L"../r/a"), a));
  EXPECT_FALSE(root.findFromPath(L"../x"));
  EXPECT_FALSE(root.findFromPath(L".."));
  EXPECT_FALSE(root.findFromPath(L"../.."));
}

TEST_F(ElementLookup, ParentStepsClimbToTheDocumentAndNoFurther) {
  MarlElement a = add(L"a", root);
  MarlElement b = add(L"b", a);
  MarlElement c = add(L"c", b);
  add(L"d", c);
  EXPECT_TRUE(same(c.findFromPath(L"../../../../r/a"), a));
  EXPECT_FALSE(c.findFromPath(L"../../../r/a"));
  EXPECT_FALSE(c.findFromPath(L"../../../../../r"));
}

TEST_F(ElementLookup, ALeadingSlashStartsAtTheDocument) {
  MarlElement a = add(L"a", root);
  MarlElement b = add(L"b", a);
  EXPECT_TRUE(same(a.findFromPath(L"/r/a/b"), b));
  EXPECT_TRUE(same(a.findFromPath(L"/r"), root));
  EXPECT_FALSE(a.findFromPath(L"/a"));
}

TEST_F(ElementLookup, AnElementOutsideADocumentHasNothingAboveItsTop) {
  MarlElement loose = document.createElement(L"loose", L"");
  MarlElement inner = add(L"inner", loose);
  EXPECT_TRUE(same(loose.findFromPath(L"inner"), inner));
  EXPECT_FALSE(loose.findFromPath(L"/loose"));
  EXPECT_FALSE(loose.findFromPath(L"../loose"));
  EXPECT_FALSE(loose.findFromPathNS(L"/loose", L""));
  EXPECT_FALSE(loose.findFromPathNS(L"../loose", L""));
}

TEST_F(ElementLookup, StepsByURISplitAtTheLastColon) {
  MarlElement a = addNS(L"a", L"urn:one", root);
  MarlElement b = addNS(L"b", L"", a);
  EXPECT_TRUE(same(root.findFromPathNS(L"urn:one:a", L""), a));
  EXPECT_TRUE(same(root.findFromPathNS(L"urn:one:a/b", L""), b));
  EXPECT_TRUE(same(root.findFromPathNS(L"urn:one:a/:b", L""), b));
  EXPECT_FALSE(root.findFromPathNS(L"a", L""));
  EXPECT_FALSE(root.findFromPathNS(L"urn:a", L""));
}

TEST_F(ElementLookup, AQuotedStepKeepsItsSlashesWhereAnUnquotedOneIsCut) {
  MarlElement a = addNS(L"a", L"urn:x/y", root);
  MarlElement b = add(L"b", a);
  EXPECT_TRUE(same(root.findFromPathNS(L"\"urn:x/y:a\"/b", L""), b));
  EXPECT_TRUE(same(root.findFromPathNS(L"\"urn:x/y:a\"", L""), a));
  EXPECT_FALSE(root.findFromPathNS(L"urn:x/y:a/b", L""));
}

TEST_F(ElementLookup, AQuotedStepWithoutClosingMarkRunsToTheEnd) {
  MarlElement a = addNS(L"a", L"urn:x/y", root);
  EXPECT_TRUE(same(root.findFromPathNS(L"\"urn:x/y:a", L""), a));
}

TEST_F(ElementLookup, WithoutSlashAfterTheClosingMarkTheRestStartsRightThere) {
  MarlElement a = addNS(L"a", L"urn:x/y", root);
  MarlElement b = add(L"b", a);
  EXPECT_TRUE(same(root.findFromPathNS(L"\"urn:x/y:a\"b", L""), b));
}

TEST_F(ElementLookup, AnEmptyQuotedStepEndsThePath) {
  MarlElement a = addNS(L"a", L"urn:x/y", root);
  EXPECT_TRUE(same(root.findFromPathNS(L"\"\"", L""), root));
  EXPECT_TRUE(same(root.findFromPathNS(L"\"urn:x/y:a\"/\"\"/nothing", L""), a));
}

TEST_F(ElementLookup, WildcardStepsByURIMatchTheNamespace) {
  MarlElement one = addNS(L"a", L"urn:one", root);
  add(L"inner", one);
  MarlElement two = addNS(L"b", L"urn:two", root);
  add(L"inner", two);
  EXPECT_TRUE(same(root.findFromPathNS(L"urn:two:*", L""), two));
  EXPECT_TRUE(same(root.findFromPathNS(L"*:b", L""), two));
  EXPECT_TRUE(same(root.findFromPathNS(L"*:*", L""), one));
  // "*" alone asks for no namespace, which neither child has.
  EXPECT_FALSE(root.findFromPathNS(L"*", L""));
}

TEST_F(ElementLookup, APrefixIsNoURIInStepsByURI) {
  MarlElement prefixed = add(L"x", root, L"p");
  EXPECT_TRUE(same(root.findFromPath(L"p:x"), prefixed));
  EXPECT_FALSE(root.findFromPathNS(L"p:x", L""));
}

TEST_F(ElementLookup, StepsByURIGoOnFromTheDocumentInTheirOwnForm) {
  MarlElement a = add(L"a", root);
  add(L"b", a);
  EXPECT_TRUE(same(root.findFromPathNS(L"../r", L""), root));
  // The document's named first step by URI may take a child of the root.
  EXPECT_TRUE(same(root.findFromPathNS(L"/a", L""), a));
  EXPECT_FALSE(root.findFromPath(L"/a"));
}

TEST_F(ElementLookup, TheReservedArgumentChangesNothing) {
  MarlElement a = addNS(L"a", L"urn:one", root);
  EXPECT_TRUE(same(root.findFromPathNS(L"urn:one:a", L"anything"), a));
  EXPECT_TRUE(same(root.findFromPathNS(L"urn:one:a", L"\"/.."), a));
}

TEST_F(ElementLookup, FindFromNameSearchesToTheGivenDepth) {
  MarlElement a = add(L"a", root);
  MarlElement b = add(L"b", a);
  MarlElement c = add(L"c", b);
  EXPECT_TRUE(same(root.findFromName(L"a", L"", 1), a));
  EXPECT_FALSE(root.findFromName(L"b", L"", 1));
  EXPECT_TRUE(same(root.findFromName(L"b", L"", 2), b));
  EXPECT_FALSE(root.findFromName(L"c", L"", 2));
  EXPECT_TRUE(same(root.findFromName(L"c", L"", 3), c));
  EXPECT_TRUE(same(root.findFromName(L"c", L"", 0), c));
}

TEST_F(ElementLookup, FindFromNameGoesDepthFirstInDocumentOrder) {
  MarlElement first = add(L"a", root);
  MarlElement deep = add(L"x", add(L"y", first));
  add(L"x", root);
  EXPECT_TRUE(same(root.findFromName(L"x", L"", 0), deep));
  EXPECT_FALSE(same(root.findFromName(L"x", L"", 1), deep));
}

TEST_F(ElementLookup, FindFromNameNeverTakesTheElementItself) {
  add(L"a", root);
  EXPECT_FALSE(root.findFromName(L"r", L"", 0));
  MarlElement inner = add(L"r", root.getFirstChild());
  EXPECT_TRUE(same(root.findFromName(L"r", L"", 0), inner));
}

TEST_F(ElementLookup, FindFromNameComparesThePrefixToo) {
  add(L"x", root);
  MarlElement prefixed = add(L"x", root, L"p");
  EXPECT_TRUE(same(root.findFromName(L"x", L"p", 0), prefixed));
  EXPECT_FALSE(root.findFromName(L"x", L"q", 0));
}

TEST_F(ElementLookup, FindFromNameKnowsNoWildcards) {
  add(L"a", root);
  EXPECT_FALSE(root.findFromName(L"*", L"", 0));
  MarlElement literal = add(L"*", root);
  EXPECT_TRUE(same(root.findFromName(L"*", L"", 0), literal));
}

TEST_F(ElementLookup, FindFromNameNSComparesTheURI) {
  addNS(L"a", L"urn:one", root);
  MarlElement two = addNS(L"a", L"urn:two", root);
  EXPECT_TRUE(same(root.findFromNameNS(L"a", L"urn:two", 0), two));
  EXPECT_FALSE(root.findFromNameNS(L"a", L"", 0));
  EXPECT_FALSE(root.findFromNameNS(L"a", L"urn:three", 0));
}

TEST_F(ElementLookup, FindFromNameNSSeesTheURIOfABoundPrefix) {
  root.setAttributeNode(document.createNamespaceDecl(L"p", L"xmlns", L"urn:p"));
  MarlElement prefixed = add(L"x", root, L"p");
  EXPECT_TRUE(same(root.findFromNameNS(L"x", L"urn:p", 0), prefixed));
}

TEST_F(ElementLookup, FindFromRegisteredNameComparesAtomsNotText) {
  MarlElement a = add(L"a", root);
  std::wstring const& atom = a.getName();
  std::wstring const& none = *CMarlBase::instance().emptyAtom;
  std::wstring copy = L"a";
  EXPECT_TRUE(same(root._impl()->findFromRegisteredName(atom, none, 0), a));
  EXPECT_FALSE(root._impl()->findFromRegisteredName(copy, none, 0));
  EXPECT_TRUE(same(root._impl()->findFromRegisteredNameNS(atom, none, 1), a));
}

TEST_F(ElementLookup, TheSubtreesOfOtherKindsAreSearchedByTheCollectionsOnly) {
  MarlEntityRef reference = document.createEntityRef(L"e");
  root.appendChild(reference, 0);
  MarlElement hidden = add(L"h", reference);
  EXPECT_FALSE(root.findFromName(L"h", L"", 0));
  MarlNodeCollection found = root.getElementsByTagName(L"h", L"", 0);
  ASSERT_EQ(found.getLength(), 1u);
  EXPECT_TRUE(same(found.getItem(0), hidden));
}

TEST_F(ElementLookup, GetElementsByTagNameCollectsInDocumentOrderWithoutTheElement) {
  MarlElement a = add(L"a", root);
  MarlElement deep = add(L"r", a);
  add(L"b", root);
  MarlElement last = add(L"r", root);
  MarlNodeCollection found = root.getElementsByTagName(L"r", L"", 0);
  ASSERT_EQ(found.getLength(), 2u);
  EXPECT_TRUE(same(found.getItem(0), deep));
  EXPECT_TRUE(same(found.getItem(1), last));
}

TEST_F(ElementLookup, GetElementsByTagNameOfTheRootElementLeavesTheRootOut) {
  add(L"a", root);
  MarlNodeCollection found = root.getElementsByTagName(L"r", L"", 0);
  ASSERT_TRUE(found);
  EXPECT_EQ(found.getLength(), 0u);
}

TEST_F(ElementLookup, GetElementsByTagNameCountsDepthAsTheIteratorDoes) {
  MarlElement a = add(L"x", root);
  add(L"x", a);
  add(L"x", a.getFirstChild());
  EXPECT_EQ(root.getElementsByTagName(L"x", L"", 1).getLength(), 1u);
  EXPECT_EQ(root.getElementsByTagName(L"x", L"", 2).getLength(), 2u);
  EXPECT_EQ(root.getElementsByTagName(L"x", L"", 0).getLength(), 3u);
}

TEST_F(ElementLookup, GetElementsByTagNameComparesThePrefixAndKnowsNoWildcards) {
  add(L"x", root, L"p");
  add(L"x", root);
  add(L"y", root, L"p");
  EXPECT_EQ(namesOf(root.getElementsByTagName(L"x", L"p", 0)), L"x");
  EXPECT_EQ(root.getElementsByTagName(L"x", L"", 0).getLength(), 1u);
  EXPECT_EQ(root.getElementsByTagName(L"*", L"p", 0).getLength(), 0u);
  EXPECT_EQ(root.getElementsByTagName(L"*", L"*", 0).getLength(), 0u);
}

TEST_F(ElementLookup, GetElementsByTagNameNSComparesTheURI) {
  addNS(L"a", L"urn:one", root);
  addNS(L"a", L"urn:two", root);
  addNS(L"a", L"urn:one", root.getLastChild());
  EXPECT_EQ(root.getElementsByTagNameNS(L"a", L"urn:one", 0).getLength(), 2u);
  EXPECT_EQ(root.getElementsByTagNameNS(L"a", L"urn:two", 0).getLength(), 1u);
  EXPECT_EQ(root.getElementsByTagNameNS(L"a", L"", 0).getLength(), 0u);
}

TEST_F(ElementLookup, NothingFoundGivesAnEmptyCollectionNotAnEmptyHandle) {
  MarlNodeCollection found = root.getElementsByTagName(L"none", L"", 0);
  ASSERT_TRUE(found);
  EXPECT_EQ(found.getLength(), 0u);
  MarlNodeCollection foundNS = root.getElementsByTagNameNS(L"none", L"urn:x", 0);
  ASSERT_TRUE(foundNS);
  EXPECT_EQ(foundNS.getLength(), 0u);
}

TEST_F(ElementLookup, ACollectionIsASnapshot) {
  MarlElement a = add(L"a", root);
  MarlNodeCollection found = root.getElementsByTagName(L"a", L"", 0);
  add(L"a", root);
  a.removeNode();
  ASSERT_EQ(found.getLength(), 1u);
  EXPECT_TRUE(same(found.getItem(0), a));
}

// Every kind of malformed path gives its documented answer, which is mostly none, and neither
// fails nor throws.
TEST_F(ElementLookup, MalformedPathsGiveTheirDocumentedAnswersByPrefix) {
  MarlElement a = add(L"a", root);
  add(L"b", a);
  struct Case {
    wchar_t const* path;
    wchar_t const* found;
  };
  Case const cases[] = {
      {L"\"", L"-"},    {L"\"abc", L"-"},  {L"a\"b", L"-"}, {L"\"\"", L"-"},  {L":", L"-"},
      {L":::", L"-"},   {L"//", L"-"},     {L"/..", L"-"},  {L"/", L"-"},     {L"..", L"-"},
      {L"a:", L"-"},    {L"*:", L"-"},     {L"a/:", L"-"},  {L"/*/", L"r"},   {L":a", L"a"},
      {L":*", L"a"},    {L"a/..", L"r"},   {L"a/b/", L"b"}, {L"a/b/..", L"a"}, {L"..:..", L"-"},
      {L"/:r", L"r"},   {L"*/*", L"-"},    {L"a/*", L"-"},  {L"./a", L"-"},   {L" a", L"-"},
  };
  for (Case const& test : cases)
    EXPECT_EQ(nameOf(root.findFromPath(test.path)), test.found) << "path " << test.path;
}

TEST_F(ElementLookup, MalformedPathsGiveTheirDocumentedAnswersByURI) {
  MarlElement a = add(L"a", root);
  add(L"b", a);
  struct Case {
    wchar_t const* path;
    wchar_t const* found;
  };
  Case const cases[] = {
      {L"\"", L"r"},       {L"\"\"\"", L"r"},   {L"\"abc", L"-"},  {L"a\"b", L"-"},
      {L":", L"-"},        {L":::", L"-"},      {L"::a", L"-"},    {L":a", L"a"},
      {L"//", L"-"},       {L"/..", L"-"},      {L"/", L"-"},      {L"\"/\"", L"-"},
      {L"a/\"", L"a"},     {L"\"a\"/\"b\"", L"b"}, {L"\"a/b\"", L"-"}, {L"*:", L"-"},
      {L"/\"r\"/a", L"a"}, {L"\"..\"", L"-"},   {L"a/\"..\"", L"r"},
  };
  for (Case const& test : cases)
    EXPECT_EQ(nameOf(root.findFromPathNS(test.path, L"")), test.found) << "path " << test.path;
}

TEST_F(ElementLookup, APathOfAHundredThousandCharactersIsHandledWithoutRecursion) {
  add(L"k", add(L"k", root));
  // Twenty thousand wildcard steps, each with its way back up, and nothing after the last.
  std::wstring path = repeated(L"*/../", 20000);
  ASSERT_EQ(path.size(), 100000u);
  EXPECT_TRUE(same(root.findFromPath(path), root));
  EXPECT_TRUE(same(root.findFromPathNS(path, L""), root));
  EXPECT_FALSE(root.findFromPath(path + L"none"));
  EXPECT_FALSE(root.findFromPath(std::wstring(100000, L'k')));
  EXPECT_FALSE(root.findFromPathNS(L"\"" + std::wstring(100000, L'/'), L""));
  EXPECT_FALSE(root.findFromPath(std::wstring(100000, L'/')));
  EXPECT_FALSE(root.findFromPath(std::wstring(100000, L':')));
  // A quotation mark opens an empty step, which ends the path.
  EXPECT_TRUE(same(root.findFromPathNS(std::wstring(100000, L'"'), L""), root));
}

TEST_F(ElementLookup, ABranchThatFailedIsNotTriedAgain) {
  for (int i = 0; i < 4; ++i) add(L"inner", add(L"k" + std::to_wstring(i), root));
  // Tried blindly, four candidates at each of sixty wildcard steps would take 4^60 branches.
  std::wstring path = repeated(L"*/../", 60);
  EXPECT_FALSE(root.findFromPath(path + L"none"));
  EXPECT_EQ(nameOf(root.findFromPath(path + L"k3")), L"k3");
  EXPECT_FALSE(root.findFromPathNS(path + L"none", L""));
}

TEST_F(ElementLookup, AThousandParentStepsEndAtTheDocument) {
  MarlElement deep = add(L"c", add(L"b", add(L"a", root)));
  add(L"d", deep);
  EXPECT_FALSE(deep.findFromPath(repeated(L"../", 1000)));
  EXPECT_FALSE(deep.findFromPath(repeated(L"../", 1000) + L"r"));
  EXPECT_FALSE(deep.findFromPathNS(repeated(L"../", 1000) + L"r", L""));
  EXPECT_FALSE(deep.findFromPath(repeated(L"..", 1000)));
}

TEST_F(ElementLookup, ANulCharacterIsAnOrdinaryPartOfAStep) {
  std::wstring withNul(L"x\0y", 3);
  MarlElement odd = add(withNul, root);
  EXPECT_TRUE(same(root.findFromPath(withNul), odd));
  EXPECT_FALSE(root.findFromPath(L"x"));
  EXPECT_FALSE(root.findFromPath(std::wstring(L"\0", 1)));
  EXPECT_FALSE(root.findFromPathNS(std::wstring(L"\"\0", 2), L""));
}

TEST_F(ElementLookup, SurrogatesAreOrdinaryCodeUnitsOfAStep) {
  std::wstring script = L"\xD835\xDC9C";
  MarlElement odd = add(script, root);
  addNS(L"n", L"urn:\xD83D\xDE00", root);
  EXPECT_TRUE(same(root.findFromPath(script), odd));
  EXPECT_FALSE(root.findFromPath(L"\xD835"));
  EXPECT_FALSE(root.findFromPath(L"\xDC9C\xD835"));
  EXPECT_EQ(nameOf(root.findFromPathNS(L"urn:\xD83D\xDE00:n", L"")), L"n");
  EXPECT_FALSE(root.findFromPathNS(L"urn:\xD83D:n", L""));
}

TEST_F(ElementLookup, LookupsLeaveNoBlockBehind) {
  MarlElement a = add(L"a", root);
  add(L"x", add(L"b", a));
  MarlElement a2 = add(L"a", root);
  add(L"c", add(L"b", a2));
  auto lookUpAll = [&] {
    root.findFromPath(L"*/*/c");
    root.findFromPathNS(L"*:*/*/none", L"");
    root.findFromName(L"c", L"", 0);
    root.getElementsByTagName(L"b", L"", 0);
    root.findFromPath(repeated(L"*/../", 30) + L"none");
  };
  lookUpAll();
  long before = testhost::outstandingBlocks();
  lookUpAll();
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST_F(ElementLookup, APathLookupWithoutMemoryFindsItsAnswerOrNothing) {
  MarlElement a1 = add(L"a", root);
  add(L"x", add(L"b", a1));
  MarlElement a2 = add(L"a", root);
  MarlElement c = add(L"c", add(L"b", a2));
  expectAnswerOrNothingWithoutMemory([&] { return root.findFromPath(L"*/*/c"); }, c);
  expectAnswerOrNothingWithoutMemory([&] { return root.findFromPathNS(L"*/*/c", L""); }, c);
  expectAnswerOrNothingWithoutMemory([&] { return root.findFromPath(L"a/../*/b/c"); }, c);
}

TEST_F(ElementLookup, ANameLookupWithoutMemoryFindsItsAnswerOrNothing) {
  MarlElement c = add(L"c", add(L"b", root));
  expectAnswerOrNothingWithoutMemory([&] { return root.findFromName(L"c", L"", 0); }, c);
  expectAnswerOrNothingWithoutMemory([&] { return root.findFromNameNS(L"c", L"", 0); }, c);
}

TEST_F(ElementLookup, ACollectionWithoutMemoryIsAnEmptyHandleNeverAPartOfTheAnswer) {
  for (int i = 0; i < 20; ++i) add(L"x", root);
  expectAllOrNothingWithoutMemory([&] { return root.getElementsByTagName(L"x", L"", 0); }, 20);
  expectAllOrNothingWithoutMemory([&] { return root.getElementsByTagNameNS(L"x", L"", 0); }, 20);
}

// ---------------------------------------------------------------------------------------
// Elements nested deeper than the call stack could follow

namespace {

constexpr unsigned int c_chainLength = 100000;

// Below the document a chain of elements "a", each the only element child of the one before,
// ending in an element "bottom": c_chainLength elements in all.
class DeepElement : public LookupTest {
 protected:
  void SetUp() override {
    LookupTest::SetUp();
    top = add(L"a", document);
    MarlElement parent = top;
    for (unsigned int level = 1; level < c_chainLength - 1; ++level) {
      parent = add(L"a", parent);
      if (level == c_chainLength / 2) middle = parent;
    }
    bottom = add(L"bottom", parent);
  }
  void TearDown() override {
    bottom = middle = top = static_cast<CMarlElement const*>(nullptr);
    LookupTest::TearDown();
  }

  // The element of the chain at `level`, 0 being the top.
  MarlElement atLevel(unsigned int level) const {
    MarlNode node = top;
    for (unsigned int i = 0; i < level; ++i) node = node.getFirstChild();
    return MarlElement(node);
  }

  MarlElement top;
  MarlElement middle;
  MarlElement bottom;
};

}  // namespace

TEST_F(DeepElement, TheContentOfAChainAHundredThousandDeepIncludesTheTextAtItsBottom) {
  bottom.appendChild(document.createText(L"x"), 0);
  top.appendChild(document.createComment(L"not text"), 0);
  top.appendChild(document.createCDATASection(L"y"), 0);
  EXPECT_EQ(top.getContentAsString(), L"xy");
  EXPECT_EQ(top.getValue(), L"xy");
  std::wstring value = L"old";
  top.getValue(value);
  EXPECT_EQ(value, L"xy");
}

TEST_F(DeepElement, NormalizeJoinsTheTextRunsAtEveryLevelOfADeepChain) {
  for (wchar_t const* text : {L"1", L"2", L"3"}) bottom.appendChild(document.createText(text), 0);
  middle.appendChild(document.createText(L"p"), 0);
  middle.appendChild(document.createText(L"q"), 0);
  top.normalize();
  ASSERT_EQ(bottom.numChildren(), 1u);
  EXPECT_EQ(bottom.getFirstChild().getValue(), L"123");
  ASSERT_EQ(middle.numChildren(), 2u);
  EXPECT_EQ(middle.getLastChild().getValue(), L"pq");
  EXPECT_EQ(top.getContentAsString(), L"123pq");
}

TEST_F(DeepElement, TheBottomOfADeepChainFindsTheDeclarationsAboveIt) {
  top.setAttributeNode(document.createNamespaceDecl(L"p", L"xmlns", L"urn:top"));
  middle.setAttributeNode(document.createNamespaceDecl(L"p", L"xmlns", L"urn:middle"));
  MarlElement prefixed = add(L"leaf", bottom, L"p");
  EXPECT_EQ(prefixed.getNamespaceURI(), L"urn:middle");
  EXPECT_EQ(atLevel(c_chainLength / 4).getNamespaceContext().mapToURI(L"p"), L"urn:top");
  EXPECT_EQ(static_cast<CUnknown*>(bottom.getNamespaceContext()),
            static_cast<CUnknown*>(middle.getNamespaceContext()));
  EXPECT_EQ(static_cast<CUnknown*>(atLevel(c_chainLength / 4).getNamespaceContext()),
            static_cast<CUnknown*>(top.getNamespaceContext()));
  // The way up and down leaves the links as they were.
  EXPECT_EQ(prefixed.getHeight(), c_chainLength + 1);
  EXPECT_EQ(static_cast<CUnknown*>(prefixed.getRoot()), static_cast<CUnknown*>(document));
  EXPECT_EQ(static_cast<CUnknown*>(bottom.getParent().getFirstChild()),
            static_cast<CUnknown*>(bottom));
}

TEST_F(DeepElement, DroppingADeclarationClearsTheContextsAllTheWayDown) {
  top.setAttributeNode(document.createNamespaceDecl(L"p", L"xmlns", L"urn:top"));
  MarlNamespaceDecl inner = document.createNamespaceDecl(L"p", L"xmlns", L"urn:middle");
  middle.setAttributeNode(inner);
  MarlElement prefixed = add(L"leaf", bottom, L"p");
  EXPECT_EQ(prefixed.getNamespaceURI(), L"urn:middle");
  EXPECT_EQ(middle.removeAttributeNode(inner), MarlNode::rcOK);
  EXPECT_FALSE(bottom._impl()->namespaceContext);
  EXPECT_TRUE(top._impl()->namespaceContext);
  EXPECT_EQ(prefixed.getNamespaceURI(), L"urn:top");
}

TEST_F(DeepElement, TheLookupsReachTheBottomOfAChainAHundredThousandDeep) {
  EXPECT_TRUE(same(top.findFromName(L"bottom", L"", 0), bottom));
  EXPECT_TRUE(same(top.findFromNameNS(L"bottom", L"", 0), bottom));
  EXPECT_FALSE(top.findFromName(L"bottom", L"", c_chainLength - 2));
  EXPECT_TRUE(same(document.findFromName(L"bottom", L"", 0), bottom));
  std::wstring const steps = repeated(L"a/", c_chainLength - 2) + L"bottom";
  EXPECT_TRUE(same(top.findFromPath(steps), bottom));
  EXPECT_TRUE(same(top.findFromPathNS(steps, L""), bottom));
  EXPECT_TRUE(same(document.findFromPath(L"/a/" + steps), bottom));
  EXPECT_TRUE(same(top.findFromPath(repeated(L"*/", c_chainLength - 2) + L"bottom"), bottom));
  EXPECT_EQ(top.getElementsByTagName(L"a", L"", 0).getLength(), c_chainLength - 2);
  EXPECT_EQ(top.getElementsByTagNameNS(L"bottom", L"", 0).getLength(), 1u);
  EXPECT_EQ(document.getElementsByTagName(L"a", L"", 0).getLength(), c_chainLength - 1);
}

TEST_F(DeepElement, AChainAHundredThousandDeepIsWrittenWholePlainAndPrettyPrinted) {
  MarlStreamFactory factory = marl.createStreamFactory();
  std::wstring plain;
  {
    MarlOStream out = factory.createOStreamString(plain);
    top.render(out, 1);
  }
  EXPECT_EQ(plain.size(), 7u * (c_chainLength - 1) + 9u);
  EXPECT_EQ(plain.substr(0, 9), L"<a><a><a>");
  EXPECT_EQ(plain.substr(3 * (c_chainLength - 1), 13), L"<bottom/></a>");
  EXPECT_EQ(plain.substr(plain.size() - 8), L"</a></a>");

  rawstring pretty;
  {
    MarlOStream out = factory.createOStreamRawString(pretty);
    ASSERT_TRUE(out.setEncoding(marl.createEncoding(L"utf-8", MarlEncoding::BYTEORDER_LE)));
    out.setPrettyPrint(1);
    top.render(out, 1);
  }
  // Each "a" is followed by a break indented one level deeper, and its end tag follows a break
  // at its own level; indentation stops growing at 127.
  std::size_t expected = 9;
  for (std::size_t level = 0; level + 1 < c_chainLength; ++level)
    expected += 9 + std::min<std::size_t>(level + 1, 127) + std::min<std::size_t>(level, 127);
  EXPECT_EQ(pretty.size(), expected);
  std::string const text(pretty.begin(), pretty.end());
  EXPECT_EQ(text.substr(0, 14), "<a>\n <a>\n  <a>");
  EXPECT_EQ(text.substr(text.size() - 15), "</a>\n </a>\n</a>");
}
