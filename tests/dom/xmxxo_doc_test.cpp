#include "dom/xmxxo_doc.h"

#include <gtest/gtest.h>

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
