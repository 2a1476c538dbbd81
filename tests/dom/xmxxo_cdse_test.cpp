#include "dom/xmxxo_cdse.h"

#include <gtest/gtest.h>

#include "dom/xmxxo_doc.h"
#include "dom/xmxxo_elem.h"
#include "marl/marl.h"
#include "support/host_memory.h"
#include "support/document_fixture.h"

namespace {

class CDATASection : public DocumentTest {
 protected:


};

}  // namespace

TEST_F(CDATASection, ASectionHasItsKindAndTheFixedName) {
  MarlCDATASection section = document.createCDATASection(L"<raw>");
  ASSERT_TRUE(section);
  EXPECT_EQ(section.getType(), MarlNode::nodeCDATA);
  EXPECT_EQ(section.getName(), L"#cdata-section");
  EXPECT_EQ(section.getData(), L"<raw>");
}

TEST_F(CDATASection, AnswersSectionTextCharacterDataAndNodeButNotComment) {
  MarlCDATASection section = document.createCDATASection(L"s");
  EXPECT_EQ(section._impl()->_queryClass(), unsigned{idCDATASection});
  for (unsigned int id : {190u, 140u, 110u, 20u, 1u})
    EXPECT_EQ(section._impl()->_queryInterface(id), static_cast<void*>(section._impl())) << id;
  for (unsigned int id : {150u, 130u, 120u, 100u})
    EXPECT_FALSE(answers(section, id)) << "identifier " << id;
}

TEST_F(CDATASection, ConvertsToTextButNotToAComment) {
  MarlCDATASection section = document.createCDATASection(L"s");
  MarlNode node = section;
  std::uint32_t count = section._impl()->getRefCount();
  MarlComment comment(node);
  EXPECT_FALSE(comment);
  EXPECT_EQ(section._impl()->getRefCount(), count);
  MarlText text(node);
  ASSERT_TRUE(text);
  EXPECT_EQ(static_cast<CUnknown*>(text), static_cast<CUnknown*>(section));
  EXPECT_EQ(section._impl()->getRefCount(), count + 1);
  MarlCharacterData data(node);
  EXPECT_TRUE(data);
}

TEST_F(CDATASection, APlainTextIsNoSection) {
  MarlText text = document.createText(L"t");
  MarlNode node = text;
  std::uint32_t count = text._impl()->getRefCount();
  EXPECT_FALSE(MarlCDATASection(node));
  EXPECT_EQ(text._impl()->getRefCount(), count);
}

TEST_F(CDATASection, AllFourChildOperationsAreRefused) {
  MarlCDATASection section = document.createCDATASection(L"s");
  MarlText child = document.createText(L"t");
  EXPECT_EQ(section.appendChild(child, 0), MarlNode::rcNotSupported);
  EXPECT_EQ(section.insertChild(child, MarlNode()), MarlNode::rcNotSupported);
  EXPECT_EQ(section.replaceChild(child, section), MarlNode::rcNotSupported);
  EXPECT_EQ(section.removeChild(child), MarlNode::rcNotSupported);
  EXPECT_EQ(section.appendChild(MarlNode(), 0), MarlNode::rcNotSupported);
  EXPECT_EQ(section.insertChild(MarlNode(), MarlNode()), MarlNode::rcNotSupported);
  EXPECT_EQ(section.replaceChild(MarlNode(), MarlNode()), MarlNode::rcNotSupported);
  EXPECT_EQ(section.removeChild(MarlNode()), MarlNode::rcNotSupported);
  EXPECT_EQ(section.numChildren(), 0u);
}

TEST_F(CDATASection, SplittingASectionGivesAPlainTextNode) {
  MarlElement parent = document.createElement(L"parent", L"");
  document.appendChild(parent, 0);
  MarlCDATASection section = document.createCDATASection(L"abc");
  parent.appendChild(section, 0);
  MarlText tail = section.splitText(1);
  ASSERT_TRUE(tail);
  EXPECT_EQ(section.getData(), L"a");
  EXPECT_EQ(section.getType(), MarlNode::nodeCDATA);
  EXPECT_EQ(tail.getData(), L"bc");
  EXPECT_EQ(tail.getType(), MarlNode::nodeText);
  EXPECT_EQ(tail._impl()->_queryClass(), unsigned{idText});
  EXPECT_FALSE(answers(tail, idCDATASection));
  EXPECT_EQ(section.getNext()._impl(), tail._impl());
}

TEST_F(CDATASection, CloneIsASectionWithTheSameTextUnderANewNumber) {
  MarlCDATASection source = document.createCDATASection(L"s");
  MarlCDATASection copy(source.clone(-1));
  ASSERT_TRUE(copy);
  EXPECT_NE(copy._impl(), source._impl());
  EXPECT_NE(copy.getGID(), source.getGID());
  EXPECT_EQ(copy.getType(), MarlNode::nodeCDATA);
  EXPECT_EQ(copy._impl()->_queryClass(), unsigned{idCDATASection});
  EXPECT_EQ(&copy.getData(), &source.getData());
}

TEST_F(CDATASection, CloneOfALongSectionOwnsItsCopy) {
  std::wstring content(33, L's');
  MarlCDATASection source = document.createCDATASection(content);
  MarlCDATASection copy(source.clone(0));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy.getData(), content);
  EXPECT_NE(&copy.getData(), &source.getData());
}

TEST_F(CDATASection, ACloneThatRunsOutOfMemoryIsEmptyAndLeaksNothing) {
  MarlCDATASection source = document.createCDATASection(std::wstring(40, L's'));
  long before = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure(0);
    EXPECT_FALSE(source.clone(-1));
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST_F(CDATASection, CreateSectionThatRunsOutOfMemoryIsEmptyAndLeaksNothing) {
  long before = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure(0);
    EXPECT_FALSE(document.createCDATASection(L"never made"));
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST_F(CDATASection, CreateSectionThatRunsOutOfMemoryForItsAtomIsEmpty) {
  long before = testhost::outstandingBlocks();
  MarlCDATASection section;
  {
    testhost::AllocationFailure failure(1);
    EXPECT_NO_THROW(section = document.createCDATASection(L"a section not yet cached"));
  }
  EXPECT_FALSE(section);
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}
