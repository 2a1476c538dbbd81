#include "dom/xmxxo_doc.h"

#include <gtest/gtest.h>

#include <string>

#include "dom/lookup_fixture.h"
#include "dom/xmxxo_elem.h"
#include "marl/marl.h"
#include "support/host_memory.h"
#include "support/library_state.h"

namespace {

class Document : public FreshLibrary {
 protected:
  void SetUp() override {
    FreshLibrary::SetUp();
    marl = Marl::create();
    document = marl.createDocument();
  }
  void TearDown() override {
    document = static_cast<CMarlDocument const*>(nullptr);
    marl = static_cast<CMarl const*>(nullptr);
    FreshLibrary::TearDown();
  }

  Marl marl;
  MarlDocument document;
};

}  // namespace

TEST_F(Document, ANewDocumentHasTheDeclarationDefaults) {
  ASSERT_TRUE(document);
  EXPECT_EQ(document.getVersion(), L"1.0");
  EXPECT_EQ(document.getStandalone(), 0);
  EXPECT_EQ(document.getDeclaration(), 1);
  EXPECT_FALSE(document.getRootElement());
  EXPECT_EQ(document.getType(), MarlNode::nodeDocument);
  EXPECT_EQ(document.getName(), L"#document");
}

TEST_F(Document, AnswersItsIdentifiersAndOwnsItself) {
  CMarlDocument* impl = document._impl();
  EXPECT_EQ(impl->_queryClass(), 100u);
  EXPECT_NE(impl->_queryInterface(100), nullptr);
  EXPECT_NE(impl->_queryInterface(20), nullptr);
  EXPECT_EQ(impl->_queryInterface(130), nullptr);
  EXPECT_EQ(static_cast<CUnknown*>(document.getOwnerDocument()), static_cast<CUnknown*>(document));
}

TEST_F(Document, RefusesNames) {
  EXPECT_EQ(document.setName(L"x"), MarlNode::rcNotSupported);
  EXPECT_EQ(document.setValue(L"x"), MarlNode::rcNotSupported);
}

TEST_F(Document, DeclarationValuesAreStoredAsGiven) {
  document.setVersion(L"anything");
  document.setStandalone(1);
  document.setDeclaration(0);
  EXPECT_EQ(document.getVersion(), L"anything");
  EXPECT_EQ(document.getStandalone(), 1);
  EXPECT_EQ(document.getDeclaration(), 0);
}

TEST_F(Document, ACreatedElementBelongsToTheDocumentOnlyOnceLinked) {
  MarlElement element = document.createElement(L"a", L"");
  EXPECT_FALSE(element.getParent());
  EXPECT_FALSE(element.getOwnerDocument());
  document.appendChild(element, 0);
  EXPECT_EQ(static_cast<CUnknown*>(element.getOwnerDocument()), static_cast<CUnknown*>(document));
}

TEST_F(Document, CreateElementHasNoUriAndCreateElementNsHasOne) {
  MarlElement plain = document.createElement(L"a", L"p");
  EXPECT_EQ(plain.getName(), L"a");
  EXPECT_EQ(plain.getNamespacePrefix(), L"p");
  EXPECT_EQ(plain._impl()->uri, CMarlBase::instance().emptyAtom);
  MarlElement qualified = document.createElementNS(L"a", L"p", L"urn:x");
  EXPECT_EQ(qualified.getNamespaceURI(), L"urn:x");
}

TEST_F(Document, CreateDoesNotCheckNames) {
  MarlElement element = document.createElement(L"", L"");
  ASSERT_TRUE(element);
  EXPECT_EQ(&element.getName(), CMarlBase::instance().emptyAtom);
}

TEST_F(Document, CreateAttributeGivesAnUnspecifiedEmptyValue) {
  MarlAttribute attribute = document.createAttributeNS(L"a", L"p", L"urn:x");
  EXPECT_EQ(attribute.getValue(), L"");
  EXPECT_EQ(attribute.specified(), 0);
  EXPECT_EQ(attribute.getNamespaceURI(), L"urn:x");
}

TEST_F(Document, CreateNamespaceDeclStoresTheUriAsValue) {
  MarlNamespaceDecl declaration = document.createNamespaceDecl(L"p", L"xmlns", L"urn:p");
  EXPECT_EQ(declaration.getName(), L"p");
  EXPECT_EQ(declaration.getNamespacePrefix(), L"xmlns");
  EXPECT_EQ(declaration.getValue(), L"urn:p");
  EXPECT_EQ(declaration.specified(), 1);
}

TEST_F(Document, CreatesEveryLeafKind) {
  EXPECT_EQ(document.createText(L"t").getType(), MarlNode::nodeText);
  EXPECT_EQ(document.createComment(L"c").getType(), MarlNode::nodeComment);
  EXPECT_EQ(document.createCDATASection(L"d").getType(), MarlNode::nodeCDATA);
  EXPECT_EQ(document.createDocumentFragment().getType(), MarlNode::nodeFragment);
  EXPECT_EQ(document.createPIParsed(L"p").getType(), MarlNode::nodePIParsed);
  MarlPIUnparsed pi = document.createPIUnparsed(L"target", L"data");
  EXPECT_EQ(pi.getTarget(), L"target");
  EXPECT_EQ(pi.getData(), L"data");
}

TEST_F(Document, CreateSimpleElementAddsTextAndLinksUnderTheParent) {
  MarlElement root = document.createElement(L"root", L"");
  MarlElement simple = document.createSimpleElement(L"s", L"", L"text", root);
  ASSERT_TRUE(simple);
  EXPECT_EQ(static_cast<CUnknown*>(simple.getParent()), static_cast<CUnknown*>(root));
  EXPECT_EQ(simple.getValue(), L"text");
  MarlElement bare = document.createSimpleElementNS(L"b", L"p", L"urn:x", L"", MarlNode());
  EXPECT_EQ(bare.numChildren(), 0u);
  EXPECT_FALSE(bare.getParent());
  EXPECT_EQ(bare.getNamespaceURI(), L"urn:x");
}

TEST_F(Document, TheRootElementIsTheFirstElementChild) {
  document.appendChild(document.createComment(L"c"), 0);
  MarlElement first = document.createElement(L"first", L"");
  document.appendChild(first, 0);
  document.appendChild(document.createElement(L"second", L""), 0);
  EXPECT_EQ(static_cast<CUnknown*>(document.getRootElement()), static_cast<CUnknown*>(first));
}

TEST_F(Document, TheFirstElementEnteredForAnIdStays) {
  MarlElement first = document.createElement(L"a", L"");
  MarlElement second = document.createElement(L"b", L"");
  document.insertID(L"id1", first);
  document.insertID(L"id1", second);
  auto const* entry = document._impl()->idTable->find(L"id1");
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(static_cast<CUnknown*>(entry->second), static_cast<CUnknown*>(first));
  EXPECT_EQ(document._impl()->idTable->bucketCount(), 1543u);
}

TEST_F(Document, TheIdTableKeepsItsElementsAlive) {
  std::uint32_t before = CMarlBase::instance().liveObjects;
  {
    MarlElement element = document.createElement(L"a", L"");
    document.insertID(L"id", element);
  }
  EXPECT_EQ(CMarlBase::instance().liveObjects, before + 1);
}

TEST_F(Document, InsertIdSwallowsMemoryExhaustion) {
  MarlElement element = document.createElement(L"a", L"");
  {
    testhost::AllocationFailure failure;
    document.insertID(L"id", element);
  }
  EXPECT_EQ(document._impl()->idTable, nullptr);
}

TEST_F(Document, EndTagLinesAreZeroUntilSet) {
  EXPECT_EQ(document._impl()->getEndTagLine(5), 0u);
  document._impl()->setEndTagLine(5, 0);
  EXPECT_EQ(document._impl()->getEndTagLine(5), 0u);
  document._impl()->setEndTagLine(0, 9);
  EXPECT_EQ(document._impl()->getEndTagLine(0), 0u);
  document._impl()->setEndTagLine(5, 9);
  document._impl()->setEndTagLine(5, 10);
  EXPECT_EQ(document._impl()->getEndTagLine(5), 9u);
  EXPECT_EQ(document._impl()->endTagLines->bucketCount(), 389u);
}

TEST_F(Document, EveryCreateGivesAnEmptyHandleWhenMemoryRunsOut) {
  document.createElement(L"n", L"p");
  document.createText(L"t");  // names and texts are in the cache beforehand
  long before = testhost::outstandingBlocks();
  testhost::AllocationFailure failure(0);
  EXPECT_FALSE(document.createElement(L"n", L"p"));
  testhost::failAllocationAfter(0);
  EXPECT_FALSE(document.createElementNS(L"n", L"p", L""));
  testhost::failAllocationAfter(0);
  EXPECT_FALSE(document.createSimpleElement(L"n", L"", L"t", MarlNode()));
  testhost::failAllocationAfter(0);
  EXPECT_FALSE(document.createAttribute(L"n", L"p"));
  testhost::failAllocationAfter(0);
  EXPECT_FALSE(document.createNamespaceDecl(L"n", L"p", L""));
  testhost::failAllocationAfter(0);
  EXPECT_FALSE(document.createText(L"t"));
  testhost::failAllocationAfter(0);
  EXPECT_FALSE(document.createComment(L"t"));
  testhost::failAllocationAfter(0);
  EXPECT_FALSE(document.createCDATASection(L"t"));
  testhost::failAllocationAfter(0);
  EXPECT_FALSE(document.createDocumentFragment());
  testhost::failAllocationAfter(0);
  EXPECT_FALSE(document.createPIParsed(L"n"));
  testhost::failAllocationAfter(0);
  EXPECT_FALSE(document.createPIUnparsed(L"n", L"t"));
  testhost::failAllocationAfter(0);
  EXPECT_FALSE(marl.createDocument());
  testhost::failAllocationAfter(-1);
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST_F(Document, CloneCopiesTheDeclarationValuesAndTheTree) {
  document.setVersion(L"1.1");
  document.setStandalone(1);
  MarlElement root = document.createSimpleElement(L"root", L"", L"text", document);
  MarlDocument copy(document.clone(-1));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy.getVersion(), L"1.1");
  EXPECT_EQ(copy.getStandalone(), 1);
  ASSERT_TRUE(copy.getRootElement());
  EXPECT_NE(static_cast<CUnknown*>(copy.getRootElement()), static_cast<CUnknown*>(root));
  EXPECT_EQ(copy.getRootElement().getValue(), L"text");
  EXPECT_EQ(static_cast<CUnknown*>(copy.getRootElement().getOwnerDocument()), static_cast<CUnknown*>(copy));
}

TEST_F(Document, ANodeOutlivingItsDocumentReadsNoOwner) {
  MarlElement survivor = document.createElement(L"a", L"");
  document.appendChild(survivor, 0);
  document = static_cast<CMarlDocument const*>(nullptr);
  EXPECT_FALSE(survivor.getOwnerDocument());
  EXPECT_TRUE(survivor.isRoot());
}

// ---------------------------------------------------------------------------------------
// Lookups by path and by name

namespace {

// A document that each test furnishes with what it needs.
using DocumentLookup = LookupTest;

}  // namespace

TEST_F(DocumentLookup, WithoutARootElementNothingIsFound) {
  document.appendChild(document.createComment(L"c"), 0);
  EXPECT_FALSE(document.findFromPath(L"*"));
  EXPECT_FALSE(document.findFromPath(L"#comment"));
  EXPECT_FALSE(document.findFromPathNS(L"*:*", L""));
  EXPECT_FALSE(document.findFromName(L"*", L"*", 0));
  EXPECT_FALSE(document.findFromNameNS(L"*", L"*", 0));
}

TEST_F(DocumentLookup, WithoutARootElementTheCollectionsAreEmptyButMade) {
  MarlNodeCollection found = document.getElementsByTagName(L"r", L"", 0);
  ASSERT_TRUE(found);
  EXPECT_EQ(found.getLength(), 0u);
  MarlNodeCollection foundNS = document.getElementsByTagNameNS(L"r", L"", 0);
  ASSERT_TRUE(foundNS);
  EXPECT_EQ(foundNS.getLength(), 0u);
}

TEST_F(DocumentLookup, AnEmptyPathASlashAndAParentStepFindNothing) {
  add(L"a", add(L"r", document));
  for (wchar_t const* path : {L"", L"/", L"..", L"/..", L"../r"}) {
    EXPECT_FALSE(document.findFromPath(path)) << "path " << path;
    EXPECT_FALSE(document.findFromPathNS(path, L"")) << "path " << path;
  }
}

TEST_F(DocumentLookup, TheFirstStepNamesTheRootElement) {
  MarlElement root = add(L"r", document);
  MarlElement a = add(L"a", root);
  EXPECT_TRUE(same(document.findFromPath(L"r"), root));
  EXPECT_TRUE(same(document.findFromPath(L"/r"), root));
  EXPECT_TRUE(same(document.findFromPath(L"/r/a"), a));
  EXPECT_FALSE(document.findFromPath(L"a"));
  EXPECT_FALSE(document.findFromPath(L"/x/a"));
}

TEST_F(DocumentLookup, ARootElementWithoutChildrenIsFoundByNoPath) {
  MarlElement root = add(L"r", document);
  EXPECT_FALSE(document.findFromPath(L"/r"));
  EXPECT_FALSE(document.findFromPath(L"r"));
  EXPECT_FALSE(document.findFromPath(L"*"));
  EXPECT_TRUE(same(document.findFromName(L"r", L"", 0), root));
}

TEST_F(DocumentLookup, TheRootStepComparesThePrefix) {
  MarlElement root = add(L"r", document, L"p");
  add(L"a", root);
  EXPECT_FALSE(document.findFromPath(L"r"));
  EXPECT_TRUE(same(document.findFromPath(L"p:r"), root));
  EXPECT_FALSE(document.findFromPath(L"*"));
  EXPECT_TRUE(same(document.findFromPath(L"*:*"), root));
  EXPECT_TRUE(same(document.findFromPath(L"p:*"), root));
}

TEST_F(DocumentLookup, TheNamedRootStepTakesAStarAtTheStartForAWildcard) {
  MarlElement root = add(L"r", document);
  add(L"a", root);
  EXPECT_TRUE(same(document.findFromPath(L"*x"), root));
  EXPECT_TRUE(same(document.findFromPath(L"*x/a"), root.getFirstChild()));
}

TEST_F(DocumentLookup, AWildcardFirstStepTriesEachElementChildOfTheDocument) {
  document.appendChild(document.createComment(L"c"), 0);
  MarlElement first = add(L"r1", document);
  add(L"a", first);
  MarlElement second = add(L"r2", document);
  MarlElement b = add(L"b", second);
  EXPECT_TRUE(same(document.findFromPath(L"*/b"), b));
  EXPECT_TRUE(same(document.findFromPathNS(L"*/b", L""), b));
  // A named step tests the root element, the first element child, alone.
  EXPECT_FALSE(document.findFromPath(L"r2/b"));
}

TEST_F(DocumentLookup, ADoubleSlashAfterTheRootStepStartsAgainAtTheDocument) {
  MarlElement root = add(L"r", document);
  add(L"a", root);
  EXPECT_FALSE(document.findFromPath(L"r//a"));
  EXPECT_TRUE(same(document.findFromPath(L"r//r"), root));
}

TEST_F(DocumentLookup, ByURITheNamedFirstStepMayTakeAChildOfTheRoot) {
  MarlElement root = add(L"r", document);
  MarlElement a = add(L"a", root);
  MarlElement b = add(L"b", a);
  EXPECT_TRUE(same(document.findFromPathNS(L"a", L""), a));
  EXPECT_TRUE(same(document.findFromPathNS(L"a/b", L""), b));
  EXPECT_TRUE(same(document.findFromPathNS(L"r/a", L""), a));
  EXPECT_FALSE(document.findFromPath(L"a"));
  EXPECT_FALSE(document.findFromPathNS(L"b", L""));
}

TEST_F(DocumentLookup, ByURIAQuotedFirstStepMayHoldSlashes) {
  MarlElement root = addNS(L"r", L"urn:x/y", document);
  MarlElement a = add(L"a", root);
  EXPECT_TRUE(same(document.findFromPathNS(L"\"urn:x/y:r\"/a", L""), a));
  EXPECT_TRUE(same(document.findFromPathNS(L"/\"urn:x/y:r\"/a", L""), a));
  EXPECT_FALSE(document.findFromPathNS(L"urn:x/y:r/a", L""));
  EXPECT_TRUE(same(document.findFromPathNS(L"*:r/a", L""), a));
}

TEST_F(DocumentLookup, FindFromNameTakesTheRootByCompareNameWithWildcards) {
  MarlElement root = add(L"r", document);
  add(L"a", root);
  EXPECT_TRUE(same(document.findFromName(L"*", L"", 0), root));
  EXPECT_TRUE(same(document.findFromName(L"r", L"", 0), root));
  EXPECT_TRUE(same(document.findFromName(L"*", L"*", 0), root));
  // Below the root names are compared as they are.
  EXPECT_FALSE(document.findFromName(L"*", L"q", 0));
}

TEST_F(DocumentLookup, FindFromNameWithStarMissesAPrefixedRoot) {
  MarlElement root = add(L"r", document, L"p");
  add(L"a", root);
  EXPECT_FALSE(document.findFromName(L"*", L"", 0));
  EXPECT_TRUE(same(document.findFromName(L"*", L"p", 0), root));
}

TEST_F(DocumentLookup, FindFromNameCountsTheDepthFromTheRoot) {
  MarlElement root = add(L"r", document);
  MarlElement a = add(L"a", root);
  MarlElement b = add(L"b", a);
  EXPECT_TRUE(same(document.findFromName(L"r", L"", 1), root));
  EXPECT_TRUE(same(document.findFromName(L"a", L"", 1), a));
  EXPECT_FALSE(document.findFromName(L"b", L"", 1));
  EXPECT_TRUE(same(document.findFromName(L"b", L"", 2), b));
  EXPECT_TRUE(same(document.findFromName(L"b", L"", 0), b));
}

TEST_F(DocumentLookup, FindFromNameNSComparesTheRootsURI) {
  MarlElement root = addNS(L"r", L"urn:r", document);
  MarlElement a = addNS(L"a", L"urn:a", root);
  EXPECT_TRUE(same(document.findFromNameNS(L"r", L"urn:r", 0), root));
  EXPECT_TRUE(same(document.findFromNameNS(L"*", L"*", 0), root));
  // Only a star at the start makes a wildcard.
  EXPECT_FALSE(document.findFromNameNS(L"*", L"urn:*", 0));
  EXPECT_FALSE(document.findFromNameNS(L"r", L"", 0));
  EXPECT_TRUE(same(document.findFromNameNS(L"a", L"urn:a", 0), a));
  EXPECT_FALSE(document.findFromNameNS(L"a", L"*", 0));
}

TEST_F(DocumentLookup, GetElementsByTagNameOnTheDocumentHoldsTheRoot) {
  MarlElement root = add(L"r", document);
  MarlElement inner = add(L"r", root);
  MarlNodeCollection found = document.getElementsByTagName(L"r", L"", 0);
  ASSERT_EQ(found.getLength(), 2u);
  EXPECT_TRUE(same(found.getItem(0), root));
  EXPECT_TRUE(same(found.getItem(1), inner));
  EXPECT_EQ(root.getElementsByTagName(L"r", L"", 0).getLength(), 1u);
}

TEST_F(DocumentLookup, GetElementsByTagNameCountsTheDepthFromTheRoot) {
  MarlElement root = add(L"x", document);
  MarlElement child = add(L"x", root);
  add(L"x", child);
  EXPECT_EQ(document.getElementsByTagName(L"x", L"", 1).getLength(), 2u);
  EXPECT_EQ(document.getElementsByTagName(L"x", L"", 2).getLength(), 3u);
  EXPECT_EQ(document.getElementsByTagName(L"x", L"", 0).getLength(), 3u);
}

TEST_F(DocumentLookup, GetElementsByTagNameGoesInDocumentOrderAndKnowsNoWildcards) {
  MarlElement root = add(L"r", document);
  MarlElement a = add(L"a", root);
  add(L"b", a);
  add(L"b", root);
  add(L"b", a, L"p");
  EXPECT_EQ(document.getElementsByTagName(L"b", L"", 0).getLength(), 2u);
  EXPECT_TRUE(same(document.getElementsByTagName(L"b", L"", 0).getItem(0), a.getFirstChild()));
  EXPECT_EQ(namesOf(document.getElementsByTagName(L"b", L"p", 0)), L"b");
  EXPECT_EQ(document.getElementsByTagName(L"*", L"", 0).getLength(), 0u);
}

TEST_F(DocumentLookup, GetElementsByTagNameNSComparesTheURI) {
  MarlElement root = addNS(L"a", L"urn:one", document);
  addNS(L"a", L"urn:two", root);
  addNS(L"a", L"urn:one", root);
  EXPECT_EQ(document.getElementsByTagNameNS(L"a", L"urn:one", 0).getLength(), 2u);
  EXPECT_EQ(document.getElementsByTagNameNS(L"a", L"urn:two", 0).getLength(), 1u);
}

TEST_F(DocumentLookup, MalformedPathsGiveTheirDocumentedAnswers) {
  add(L"b", add(L"a", add(L"r", document)));
  struct Case {
    wchar_t const* path;
    wchar_t const* found;
    wchar_t const* foundByURI;
  };
  Case const cases[] = {
      {L"\"", L"-", L"-"},          {L"\"r\"/a", L"-", L"a"},    {L":", L"-", L"-"},
      {L":::", L"-", L"-"},         {L":r", L"r", L"r"},         {L"//", L"-", L"-"},
      {L"///r", L"-", L"-"},        {L"*", L"r", L"r"},          {L"*:", L"-", L"-"},
      {L"r/../r/a", L"a", L"a"},    {L"r:", L"-", L"-"},         {L"\"/\"", L"-", L"-"},
      {L"r/a/b/../..", L"r", L"r"}, {L"r/a/../../..", L"-", L"-"}, {L"r\"", L"-", L"-"},
  };
  for (Case const& test : cases) {
    EXPECT_EQ(nameOf(document.findFromPath(test.path)), test.found) << "path " << test.path;
    EXPECT_EQ(nameOf(document.findFromPathNS(test.path, L"")), test.foundByURI)
        << "path " << test.path;
  }
}

TEST_F(DocumentLookup, LongPathsAndManyParentStepsNeedNoRecursion) {
  MarlElement root = add(L"r", document);
  add(L"k", add(L"k", root));
  std::wstring path = L"r/" + repeated(L"*/../", 19999);
  EXPECT_TRUE(same(document.findFromPath(path), root));
  EXPECT_TRUE(same(document.findFromPathNS(path, L""), root));
  EXPECT_FALSE(document.findFromPath(path + L"none"));
  EXPECT_FALSE(document.findFromPath(L"r/k/" + repeated(L"../", 1000) + L"r"));
  EXPECT_FALSE(document.findFromPath(std::wstring(100000, L'r')));
  EXPECT_FALSE(document.findFromPathNS(std::wstring(100000, L'"'), L""));
  EXPECT_TRUE(same(document.findFromPath(repeated(L"r/../", 20000) + L"r"), root));
}

TEST_F(DocumentLookup, NulCharactersAndSurrogatesAreOrdinaryCodeUnits) {
  std::wstring withNul(L"r\0", 2);
  MarlElement root = add(withNul, document);
  MarlElement script = add(L"\xD835\xDC9C", root);
  add(L"leaf", script);
  EXPECT_TRUE(same(document.findFromPath(withNul), root));
  EXPECT_FALSE(document.findFromPath(L"r"));
  EXPECT_TRUE(same(document.findFromPath(withNul + L"/\xD835\xDC9C"), script));
  EXPECT_FALSE(document.findFromPath(withNul + L"/\xDC9C"));
  EXPECT_FALSE(document.findFromPathNS(L"\"\xD835", L""));
}

TEST_F(DocumentLookup, LookupsWithoutMemoryFindTheirAnswerOrNothingAndLeakNothing) {
  MarlElement root = add(L"r", document);
  add(L"x", add(L"a", root));
  MarlElement c = add(L"c", add(L"a", root));
  expectAnswerOrNothingWithoutMemory([&] { return document.findFromPath(L"/r/*/c"); }, c);
  expectAnswerOrNothingWithoutMemory([&] { return document.findFromPathNS(L"*/*/c", L""); }, c);
  expectAnswerOrNothingWithoutMemory([&] { return document.findFromName(L"c", L"", 0); }, c);
  expectAnswerOrNothingWithoutMemory([&] { return document.findFromNameNS(L"c", L"", 0); }, c);
  expectAllOrNothingWithoutMemory([&] { return document.getElementsByTagName(L"a", L"", 0); }, 2);
  expectAllOrNothingWithoutMemory([&] { return document.getElementsByTagNameNS(L"a", L"", 0); },
                                  2);
}

TEST_F(DocumentLookup, ACollectionThatCannotBeMadeIsAnEmptyHandle) {
  add(L"r", document);
  long before = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure(0);
    EXPECT_FALSE(document.getElementsByTagName(L"r", L"", 0));
    EXPECT_FALSE(document.getElementsByTagNameNS(L"r", L"", 0));
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

// ---------------------------------------------------------------------------------------
// Documents deeper than the call stack could follow

namespace {

constexpr unsigned int c_chainLength = 100000;

class DeepDocument : public Document {
 protected:
  // A chain of elements "a" below the document, each the only child of the one before; the
  // deepest.
  MarlNode chain(unsigned int length) {
    MarlNode deepest = document;
    for (unsigned int i = 0; i < length; ++i) {
      MarlElement next = document.createElement(L"a", L"");
      deepest.appendChild(next, 0);
      deepest = next;
    }
    return deepest;
  }

  // The document parsed from the text, and the parser's result.
  unsigned int parseInto(MarlDocument const& target, std::string const& text) {
    MarlStreamFactory factory = marl.createStreamFactory();
    MarlIStream in = factory.createIStreamRawString(rawstring(text.begin(), text.end()));
    MarlParser parser = marl.createParser(factory, in, target);
    return parser ? parser.parse() : 1u;
  }

  static std::string nested(unsigned int depth) {
    std::string text;
    for (unsigned int i = 0; i < depth; ++i) text += "<a>";
    for (unsigned int i = 0; i < depth; ++i) text += "</a>";
    return text;
  }

  static MarlNode deepestOf(MarlNode node) {
    while (node.getFirstChild()) node = node.getFirstChild();
    return node;
  }
};

}  // namespace

TEST_F(DeepDocument, ACloneOfADocumentAHundredThousandDeepBelongsToTheCopyAllTheWayDown) {
  chain(c_chainLength);
  MarlDocument copy(document.clone(-1));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy.getDepth(), c_chainLength);
  MarlNode deepest = deepestOf(copy);
  EXPECT_EQ(deepest.getHeight(), c_chainLength);
  EXPECT_EQ(static_cast<CUnknown*>(deepest.getOwnerDocument()), static_cast<CUnknown*>(copy));
}

TEST_F(DeepDocument, ExpandReachesTheBottomOfADocumentAHundredThousandDeep) {
  MarlComment comment = document.createComment(L"c");
  comment.setExternal(1);
  chain(c_chainLength).appendChild(comment, 0);
  document.expand();
  EXPECT_EQ(comment.isExternal(), 0);
}

TEST_F(DeepDocument, ADocumentParsedAHundredThousandDeepIsMeasuredSearchedCopiedWrittenAndDropped) {
  {
    MarlDocument warmUp = marl.createDocument();
    ASSERT_EQ(parseInto(warmUp, nested(2)), 0u);
  }
  long before = testhost::outstandingBlocks();
  {
    MarlDocument parsed = marl.createDocument();
    ASSERT_EQ(parseInto(parsed, nested(c_chainLength)), 0u);
    EXPECT_EQ(parsed.getDepth(), c_chainLength);
    MarlNode deepest = deepestOf(parsed);
    EXPECT_EQ(deepest.getHeight(), c_chainLength);
    EXPECT_EQ(static_cast<CUnknown*>(parsed.findFromGID(deepest.getGID(), 0)),
              static_cast<CUnknown*>(deepest));
    MarlElement root = parsed.getRootElement();
    EXPECT_EQ(root.getElementsByTagName(L"a", L"", 0).getLength(), c_chainLength - 1);
    EXPECT_EQ(deepest.getNamespaceURI(), L"");
    EXPECT_EQ(parsed.clone(-1).getDepth(), c_chainLength);

    std::wstring text;
    {
      MarlOStream out = marl.createStreamFactory().createOStreamString(text);
      MarlRenderer renderer = marl.createRenderer(out, parsed);
      ASSERT_TRUE(renderer);
      EXPECT_EQ(renderer.render(), 0);
    }
    std::size_t start = text.find(L"<a>");
    ASSERT_NE(start, std::wstring::npos);
    EXPECT_EQ(text.size() - start, 7u * (c_chainLength - 1) + 4u);
    EXPECT_EQ(text.compare(start + 3 * (c_chainLength - 1), 8, L"<a/></a>"), 0);
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}
