#include "dtd/xmxxu_atdf.h"

#include <gtest/gtest.h>

#include "dom/xmxxo_attr.h"
#include "dom/xmxxo_elem.h"
#include "dom/xmxxo_nmap.h"
#include "dtd/dtd_fixture.h"

namespace {

// Defaults declared in the document's own type, seen by elements linked into the document.
class DefaultAttributes : public DtdTest {
 protected:
  void SetUp() override {
    DtdTest::SetUp();
    own = document.getDocumentType();
  }
  void TearDown() override {
    own = static_cast<CMarlDocumentType const*>(nullptr);
    DtdTest::TearDown();
  }

  void declare(std::wstring const& element, std::wstring const& attribute,
               std::wstring const& value, std::wstring const& attributePrefix = L"",
               std::wstring const& elementPrefix = L"") {
    own._impl()->insertDefaultAttributeValue(element, elementPrefix, attribute, attributePrefix,
                                              value);
  }
  DefaultAttributeTable const& table() const { return *own._impl()->defaultAttributes; }

  // An element linked under `parent` (the document when empty).
  MarlElement linked(std::wstring const& name, std::wstring const& prefix = L"",
                     MarlNode parent = MarlNode()) {
    MarlElement element = document.createElement(name, prefix);
    (parent ? parent : MarlNode(document)).appendChild(element, 0);
    return element;
  }

  static MarlAttribute attributeAt(MarlElement const& element, unsigned int index) {
    return MarlAttribute(element.getAttributes().getItem(index));
  }

  // The attributes as name=value, in map order.
  static std::wstring attributeList(MarlElement const& element) {
    MarlNamedNodeMap map = element.getAttributes();
    std::wstring list;
    for (unsigned int index = 0; index < map.getLength(); ++index) {
      MarlNode item = map.getItem(index);
      if (!list.empty()) list += L" ";
      if (!item.getNamespacePrefix().empty()) list += item.getNamespacePrefix() + L":";
      list += item.getName() + L"=" + item.getValue();
    }
    return list;
  }

  MarlDocumentType own;
};

}  // namespace

// ---------------------------------------------------------------------------------------
// The table itself

TEST_F(DefaultAttributes, TheTableIsMadeAtTheFirstDefaultWithAShareCountOfOne) {
  EXPECT_EQ(own._impl()->defaultAttributes, nullptr);
  declare(L"a", L"x", L"1");
  ASSERT_NE(own._impl()->defaultAttributes, nullptr);
  EXPECT_EQ(table().shareCount, 1u);
  DefaultAttributeTable const* first = own._impl()->defaultAttributes;
  declare(L"b", L"y", L"2");
  EXPECT_EQ(own._impl()->defaultAttributes, first);
}

TEST_F(DefaultAttributes, TheTableStartsWithFiftyThreeBuckets) {
  DefaultAttributeTable empty;
  EXPECT_EQ(empty.lists.bucketCount(), 53u);
  EXPECT_EQ(empty.shareCount, 0u);
}

TEST_F(DefaultAttributes, AnEmptyTableAnswersNothing) {
  DefaultAttributeTable empty;
  EXPECT_EQ(empty.lookup(L"a", L"", L"x", L""), L"");
  EXPECT_FALSE(empty.createDefaultAttribute(L"a", L"", L"x", L""));
  EXPECT_FALSE(empty.hasNamespaceDefaultAttribute(L"a", L""));
  MarlElement element = linked(L"a");
  empty.addDefaultAttributes(element);
  EXPECT_EQ(element.getAttributes().getLength(), 0u);
}

TEST_F(DefaultAttributes, TheStringsGivenAreKeptSafeAsAtoms) {
  {
    std::wstring element = L"a", attribute = L"x", value = L"temporary";
    declare(element, attribute, value);
  }
  EXPECT_EQ(table().lookup(L"a", L"", L"x", L""), L"temporary");
}

TEST_F(DefaultAttributes, LookupMatchesElementAndAttributeByNameAndPrefix) {
  declare(L"a", L"x", L"plain");
  declare(L"a", L"x", L"prefixed", L"p");
  declare(L"a", L"x", L"in q", L"", L"q");
  EXPECT_EQ(table().lookup(L"a", L"", L"x", L""), L"plain");
  EXPECT_EQ(table().lookup(L"a", L"", L"x", L"p"), L"prefixed");
  EXPECT_EQ(table().lookup(L"a", L"q", L"x", L""), L"in q");
  EXPECT_EQ(table().lookup(L"a", L"", L"y", L""), L"");
  EXPECT_EQ(table().lookup(L"b", L"", L"x", L""), L"");
  EXPECT_EQ(table().lookup(L"a", L"r", L"x", L""), L"");
}

TEST_F(DefaultAttributes, TwoDefaultsForOneAttributeLookupGivesTheFirst) {
  declare(L"a", L"x", L"first");
  declare(L"a", L"x", L"second");
  EXPECT_EQ(table().lookup(L"a", L"", L"x", L""), L"first");
}

TEST_F(DefaultAttributes, TwoDefaultsForOneAttributeAttachTheFirstAndFindTheNamePresentAtTheSecond) {
  declare(L"a", L"x", L"first");
  declare(L"a", L"x", L"second");
  MarlElement element = linked(L"a");
  EXPECT_EQ(attributeList(element), L"x=first");
}

TEST_F(DefaultAttributes, NeitherFlagIsEverSetSoBothQueriesAnswerFalse) {
  declare(L"a", L"space", L"preserve", L"xml");
  declare(L"a", L"xmlns", L"urn:d");
  declare(L"a", L"p", L"urn:p", L"xmlns");
  EXPECT_FALSE(table().hasXMLSpaceDefaultAttribute(L"a", L""));
  EXPECT_FALSE(table().hasNamespaceDefaultAttribute(L"a", L""));
  EXPECT_FALSE(table().hasXMLSpaceDefaultAttribute(L"unknown", L""));
}

TEST_F(DefaultAttributes, CreateDefaultAttributeGivesANewUnattachedAttributeNotSpecified) {
  declare(L"a", L"x", L"1");
  MarlAttribute attribute = table().createDefaultAttribute(L"a", L"", L"x", L"");
  ASSERT_TRUE(attribute);
  EXPECT_EQ(attribute.getName(), L"x");
  EXPECT_EQ(attribute.getValue(), L"1");
  EXPECT_EQ(attribute.specified(), 0);
  EXPECT_FALSE(attribute.getParent());
  EXPECT_NE(table().createDefaultAttribute(L"a", L"", L"x", L"")._impl(), attribute._impl());
}

TEST_F(DefaultAttributes, CreateDefaultAttributeForAnEmptyDefaultGivesAnEmptyHandle) {
  declare(L"a", L"x", L"");
  EXPECT_FALSE(table().createDefaultAttribute(L"a", L"", L"x", L""));
  EXPECT_FALSE(table().createDefaultAttribute(L"a", L"", L"unknown", L""));
}

TEST_F(DefaultAttributes, CreateDefaultAttributeGivesAnEmptyHandleAndLeaksNothingWhenMemoryRunsOut) {
  declare(L"a", L"x", L"1");
  declare(L"a", L"p", L"urn:p", L"xmlns");
  expectEmptyAndNoLeakOnEveryFailure(
      [&] { return table().createDefaultAttribute(L"a", L"", L"x", L""); });
  expectEmptyAndNoLeakOnEveryFailure(
      [&] { return table().createDefaultAttribute(L"a", L"", L"p", L"xmlns"); });
}

// ---------------------------------------------------------------------------------------
// Elements

TEST_F(DefaultAttributes, AMissingAttributeAppearsAsItsDefaultNotSpecified) {
  declare(L"a", L"x", L"1");
  MarlElement element = linked(L"a");
  EXPECT_EQ(element.getAttribute(L"x", L""), L"1");
  MarlAttribute attribute = element.getAttributeNode(L"x", L"");
  ASSERT_TRUE(attribute);
  EXPECT_EQ(attribute.specified(), 0);
  EXPECT_EQ(attribute.getOwnerElement()._impl(), element._impl());
}

TEST_F(DefaultAttributes, AWrittenAttributeKeepsItsValueAndIsSpecified) {
  declare(L"a", L"x", L"1");
  MarlElement element = linked(L"a");
  EXPECT_EQ(element.setAttribute(L"x", L"", L"written"), MarlNode::rcOK);
  EXPECT_EQ(attributeList(element), L"x=written");
  EXPECT_EQ(element.getAttributeNode(L"x", L"").specified(), 1);
}

TEST_F(DefaultAttributes, AnAttributeWrittenBeforeTheMapIsMadeBeatsTheDefault) {
  declare(L"a", L"x", L"1");
  declare(L"a", L"y", L"2");
  MarlElement element = linked(L"a");
  MarlAttribute written = document.createAttribute(L"x", L"");
  written.setValue(L"mine");
  element._impl()->attributes = new CMarlNamedNodeMap;
  element._impl()->attributes.setNamedItem(written);
  element._impl()->addDefaultAttributes();
  EXPECT_EQ(attributeList(element), L"x=mine y=2");
}

TEST_F(DefaultAttributes, DefaultsFollowTheOrderOfTheDeclarations) {
  declare(L"a", L"z", L"3");
  declare(L"a", L"x", L"1");
  declare(L"a", L"y", L"2");
  EXPECT_EQ(attributeList(linked(L"a")), L"z=3 x=1 y=2");
}

TEST_F(DefaultAttributes, OnlyTheDefaultsOfTheElementsNameAndPrefixApply) {
  declare(L"a", L"x", L"1");
  declare(L"a", L"y", L"2", L"", L"p");
  declare(L"b", L"z", L"3");
  EXPECT_EQ(attributeList(linked(L"a")), L"x=1");
  EXPECT_EQ(attributeList(linked(L"a", L"p")), L"y=2");
  EXPECT_EQ(attributeList(linked(L"c")), L"");
}

TEST_F(DefaultAttributes, AnUnlinkedElementHasNoDefaultsAndGetsNoneOnceItsMapExists) {
  declare(L"a", L"x", L"1");
  MarlElement element = document.createElement(L"a", L"");
  EXPECT_EQ(element.getAttributes().getLength(), 0u);
  document.appendChild(element, 0);
  EXPECT_EQ(element.getAttributes().getLength(), 0u);
}

TEST_F(DefaultAttributes, AnElementLinkedBeforeItsMapIsMadeGetsItsDefaults) {
  declare(L"a", L"x", L"1");
  MarlElement element = document.createElement(L"a", L"");
  document.appendChild(element, 0);
  EXPECT_EQ(attributeList(element), L"x=1");
}

TEST_F(DefaultAttributes, ADocumentWhoseTypeHasNoDefaultsAddsNone) {
  MarlElement element = linked(L"a");
  EXPECT_EQ(element.getAttributes().getLength(), 0u);
}

TEST_F(DefaultAttributes, TheDefaultsComeFromTheDocumentsCurrentType) {
  declare(L"a", L"x", L"1");
  MarlDocumentType other = document.createDocumentType(L"doc", L"");
  other._impl()->insertDefaultAttributeValue(L"a", L"", L"y", L"", L"2");
  document.setDocumentType(other);
  EXPECT_EQ(attributeList(linked(L"a")), L"y=2");
  document.setDocumentType(MarlDocumentType());
  EXPECT_EQ(attributeList(linked(L"a")), L"");
}

TEST_F(DefaultAttributes, ADefaultForXmlnsWithAPrefixIsANamespaceDeclaration) {
  declare(L"a", L"p", L"urn:p", L"xmlns");
  MarlElement element = linked(L"a");
  MarlNamespaceDecl declaration(attributeAt(element, 0));
  ASSERT_TRUE(declaration);
  EXPECT_EQ(declaration.getName(), L"p");
  EXPECT_EQ(declaration.getNamespacePrefix(), L"xmlns");
  EXPECT_EQ(declaration.getValue(), L"urn:p");
  EXPECT_EQ(declaration.specified(), 0);
}

TEST_F(DefaultAttributes, ADefaultForXmlnsWithoutPrefixIsANamespaceDeclaration) {
  declare(L"a", L"xmlns", L"urn:d");
  MarlElement element = linked(L"a");
  MarlNamespaceDecl declaration(attributeAt(element, 0));
  ASSERT_TRUE(declaration);
  EXPECT_EQ(declaration.getValue(), L"urn:d");
  EXPECT_EQ(declaration.specified(), 0);
}

TEST_F(DefaultAttributes, ADefaultForXmlnsWithAnotherPrefixIsAPlainAttribute) {
  declare(L"a", L"xmlns", L"v", L"p");
  MarlElement element = linked(L"a");
  MarlAttribute attribute = attributeAt(element, 0);
  ASSERT_TRUE(attribute);
  EXPECT_FALSE(MarlNamespaceDecl(attribute));
  EXPECT_EQ(attribute.getNamespacePrefix(), L"p");
  EXPECT_EQ(attribute.specified(), 0);
}

TEST_F(DefaultAttributes, ADefaultedDeclarationBindsThePrefixOfTheElement) {
  declare(L"a", L"p", L"urn:p", L"xmlns", L"p");
  MarlElement element = linked(L"a", L"p");
  EXPECT_EQ(element.getNamespaceURI(), L"urn:p");
}

TEST_F(DefaultAttributes, ADefaultedDefaultNamespaceReachesTheElementAndItsChildren) {
  declare(L"a", L"xmlns", L"urn:d");
  MarlElement element = linked(L"a");
  MarlElement child = linked(L"b", L"", element);
  EXPECT_EQ(child.getNamespaceURI(), L"urn:d");
  EXPECT_EQ(element.getNamespaceURI(), L"urn:d");
}

TEST_F(DefaultAttributes, ADefaultedDeclarationAddsToTheBindingsOfTheParent) {
  declare(L"b", L"p", L"urn:p", L"xmlns");
  MarlElement parent = linked(L"a");
  parent.setAttributeNode(document.createNamespaceDecl(L"q", L"xmlns", L"urn:q"));
  MarlElement child = linked(L"b", L"", parent);
  MarlNamespaceContext context = child.getNamespaceContext();
  ASSERT_TRUE(context);
  EXPECT_EQ(context.mapToURI(L"p"), L"urn:p");
  EXPECT_EQ(context.mapToURI(L"q"), L"urn:q");
  EXPECT_EQ(parent.getNamespaceContext().mapToURI(L"p"), L"");
}

TEST_F(DefaultAttributes, ReadingAttributesThatRunsOutOfMemoryLeavesDefaultsOutWithoutLeaking) {
  declare(L"a", L"x", L"1");
  declare(L"a", L"p", L"urn:p", L"xmlns");
  linked(L"a").getAttributes();
  for (long failAt = 0; failAt < 16; ++failAt) {
    MarlElement element = linked(L"a");
    long before = testhost::outstandingBlocks();
    MarlNamedNodeMap map;
    {
      testhost::AllocationFailure failure(failAt);
      EXPECT_NO_THROW(map = element.getAttributes()) << "allocation " << failAt;
    }
    if (map && map.getLength() == 2) break;
    map = static_cast<CMarlNamedNodeMap const*>(nullptr);
    element._impl()->attributes = static_cast<CMarlNamedNodeMap const*>(nullptr);
    EXPECT_EQ(testhost::outstandingBlocks(), before) << "allocation " << failAt;
  }
}

// ---------------------------------------------------------------------------------------
// Removal from the map

TEST_F(DefaultAttributes, RemovingADefaultedAttributeBringsTheDefaultBackAtTheSameIndex) {
  declare(L"a", L"x", L"1");
  MarlElement element = linked(L"a");
  element.setAttribute(L"w", L"", L"before");
  element.setAttribute(L"x", L"", L"written");
  element.setAttribute(L"y", L"", L"after");
  MarlNamedNodeMap map = element.getAttributes();
  ASSERT_EQ(attributeList(element), L"x=written w=before y=after");
  EXPECT_EQ(map.removeNamedItem(L"x", L""), MarlNode::rcOK);
  EXPECT_EQ(map.getLength(), 3u);
  EXPECT_EQ(attributeList(element), L"x=1 w=before y=after");
  MarlAttribute restored = attributeAt(element, 0);
  EXPECT_EQ(restored.specified(), 0);
  EXPECT_EQ(restored.getOwnerElement()._impl(), element._impl());
}

TEST_F(DefaultAttributes, ADefaultNeverGoesAwayButIsMadeAnew) {
  declare(L"a", L"x", L"1");
  MarlElement element = linked(L"a");
  MarlAttribute first = element.getAttributeNode(L"x", L"");
  EXPECT_EQ(element.removeAttribute(L"x", L""), MarlNode::rcOK);
  MarlAttribute second = element.getAttributeNode(L"x", L"");
  ASSERT_TRUE(second);
  EXPECT_NE(second._impl(), first._impl());
  EXPECT_EQ(second.getValue(), L"1");
  EXPECT_EQ(first.getOwnerElement()._impl(), element._impl());
}

TEST_F(DefaultAttributes, RemovingAnAttributeWithoutDefaultTakesItOut) {
  declare(L"a", L"x", L"1");
  MarlElement element = linked(L"a");
  element.setAttribute(L"y", L"", L"2");
  EXPECT_EQ(element.removeAttribute(L"y", L""), MarlNode::rcOK);
  EXPECT_EQ(attributeList(element), L"x=1");
}

TEST_F(DefaultAttributes, RemovingAnAttributeOfAnElementOutsideADocumentTakesItOut) {
  declare(L"a", L"x", L"1");
  MarlElement element = document.createElement(L"a", L"");
  element.setAttribute(L"x", L"", L"written");
  EXPECT_EQ(element.removeAttribute(L"x", L""), MarlNode::rcOK);
  EXPECT_EQ(element.getAttributes().getLength(), 0u);
}

TEST_F(DefaultAttributes, RemoveNodeOfADefaultedAttributeBringsTheDefaultBack) {
  declare(L"a", L"x", L"1");
  MarlElement element = linked(L"a");
  element.setAttribute(L"x", L"", L"written");
  element.getAttributeNode(L"x", L"").removeNode();
  EXPECT_EQ(attributeList(element), L"x=1");
}

TEST_F(DefaultAttributes, RemovingByURIBringsBackTheDefaultOfAnAttributeWithoutNamespace) {
  declare(L"a", L"x", L"1");
  MarlElement element = linked(L"a");
  element.setAttribute(L"x", L"", L"written");
  EXPECT_EQ(element.removeAttributeNS(L"x", L""), MarlNode::rcOK);
  EXPECT_EQ(attributeList(element), L"x=1");
}

// The lookup takes the URI where the default has the prefix, so a prefixed default is not
// found by a removal through the namespace.
TEST_F(DefaultAttributes, RemovingByURIDoesNotBringBackAPrefixedDefault) {
  declare(L"a", L"x", L"1", L"p");
  MarlElement element = linked(L"a");
  element.setAttributeNode(document.createNamespaceDecl(L"p", L"xmlns", L"urn:p"));
  ASSERT_EQ(element.getAttributeNS(L"x", L"urn:p"), L"1");
  EXPECT_EQ(element.removeAttributeNS(L"x", L"urn:p"), MarlNode::rcOK);
  EXPECT_EQ(attributeList(element), L"xmlns:p=urn:p");
  EXPECT_EQ(element.removeAttribute(L"x", L"p"), MarlNode::rcNotFound);
}

TEST_F(DefaultAttributes, RemovingADefaultedDeclarationKeepsTheBinding) {
  declare(L"a", L"p", L"urn:p", L"xmlns", L"p");
  MarlElement element = linked(L"a", L"p");
  ASSERT_EQ(element.getNamespaceURI(), L"urn:p");
  EXPECT_EQ(element.removeAttributeNode(element.getAttributeNode(L"p", L"xmlns")),
            MarlNode::rcOK);
  EXPECT_TRUE(MarlNamespaceDecl(attributeAt(element, 0)));
  EXPECT_EQ(element.getNamespaceURI(), L"urn:p");
}

TEST_F(DefaultAttributes, RemovingFromTheMapOfAProcessingInstructionFindsNoDefault) {
  declare(L"pi", L"x", L"1");
  MarlPIParsed instruction = document.createPIParsed(L"pi");
  document.appendChild(instruction, 0);
  instruction.setAttribute(L"x", L"2");
  EXPECT_EQ(instruction.getAttributes().removeNamedItem(L"x", L""), MarlNode::rcOK);
  EXPECT_EQ(instruction.getAttributes().getLength(), 0u);
}

// An element with a URI of its own and no prefix finds its defaults under the prefix its
// context gives that URI: making its map asks for the very context being built.

TEST_F(DefaultAttributes, AnElementThatNeedsItsContextForItsDefaultsGetsThemAndTheirBindings) {
  declare(L"a", L"p", L"urn:p", L"xmlns");
  MarlElement element = document.createElementNS(L"a", L"", L"urn:p");
  document.appendChild(element, 0);
  EXPECT_EQ(element.getNamespacePrefix(), L"p");
  EXPECT_EQ(attributeList(element), L"xmlns:p=urn:p");
  EXPECT_EQ(element.getNamespaceContext().mapToURI(L"p"), L"urn:p");
}

TEST_F(DefaultAttributes, ElementsThatNeedTheirContextsForTheirDefaultsGetThemFromTheTopDown) {
  declare(L"a", L"x", L"1");
  declare(L"a", L"q", L"urn:q", L"xmlns");
  declare(L"b", L"y", L"2", L"", L"q");
  MarlElement top = document.createElementNS(L"a", L"", L"urn:a");
  document.appendChild(top, 0);
  MarlElement middle = document.createElementNS(L"a", L"", L"urn:a");
  top.appendChild(middle, 0);
  MarlElement bottom = linked(L"b", L"q", middle);
  EXPECT_EQ(bottom.getNamespaceURI(), L"urn:q");
  EXPECT_EQ(attributeList(top), L"x=1 xmlns:q=urn:q");
  EXPECT_EQ(attributeList(middle), L"x=1 xmlns:q=urn:q");
  EXPECT_EQ(attributeList(bottom), L"y=2");
  unsigned int const bottomDefault = attributeAt(bottom, 0).getGID();
  EXPECT_LT(bottomDefault, attributeAt(top, 0).getGID());
  EXPECT_LT(attributeAt(top, 1).getGID(), attributeAt(middle, 0).getGID());
  EXPECT_NE(static_cast<CUnknown*>(middle.getNamespaceContext()),
            static_cast<CUnknown*>(top.getNamespaceContext()));
}

TEST_F(DefaultAttributes, AChainAHundredThousandDeepThatNeedsItsContextsForItsDefaultsGetsThem) {
  declare(L"a", L"q", L"urn:q", L"xmlns");
  constexpr unsigned int c_chainLength = 100000;
  MarlNode parent = document;
  MarlElement top;
  for (unsigned int level = 0; level < c_chainLength; ++level) {
    MarlElement next = document.createElementNS(L"a", L"", L"urn:a");
    parent.appendChild(next, 0);
    if (!top) top = next;
    parent = next;
  }
  MarlElement bottom = linked(L"b", L"q", parent);
  EXPECT_EQ(bottom.getNamespaceURI(), L"urn:q");
  EXPECT_EQ(attributeList(top), L"xmlns:q=urn:q");
  EXPECT_EQ(attributeList(MarlElement(bottom.getParent())), L"xmlns:q=urn:q");
  EXPECT_EQ(bottom.getHeight(), c_chainLength + 1);
  EXPECT_EQ(document.getDepth(), c_chainLength + 1);
}
