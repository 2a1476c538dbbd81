#include "dom/xmxxo_nmap.h"

#include <gtest/gtest.h>

#include "dom/xmxxo_attr.h"
#include "marl/marl.h"
#include "support/library_state.h"

namespace {

class NamedNodeMap : public FreshLibrary {
 protected:
  void SetUp() override {
    FreshLibrary::SetUp();
    marl = Marl::create();
    document = marl.createDocument();
    element = document.createElement(L"e", L"");
    map = element.getAttributes();
  }
  void TearDown() override {
    map = static_cast<CMarlNamedNodeMap const*>(nullptr);
    element = static_cast<CMarlElement const*>(nullptr);
    document = static_cast<CMarlDocument const*>(nullptr);
    marl = static_cast<CMarl const*>(nullptr);
    FreshLibrary::TearDown();
  }

  MarlAttribute attribute(std::wstring const& name, std::wstring const& prefix,
                          std::wstring const& value) {
    MarlAttribute made = document.createAttribute(name, prefix);
    made.setValue(value);
    return made;
  }

  Marl marl;
  MarlDocument document;
  MarlElement element;
  MarlNamedNodeMap map;
};

}  // namespace

TEST_F(NamedNodeMap, AnswersItsIdentifierOnly) {
  EXPECT_EQ(map._impl()->_queryClass(), 40u);
  EXPECT_NE(map._impl()->_queryInterface(40), nullptr);
  EXPECT_NE(map._impl()->_queryInterface(1), nullptr);
  EXPECT_EQ(map._impl()->_queryInterface(20), nullptr);
  EXPECT_TRUE(MarlNamedNodeMap(static_cast<CUnknown*>(map)));
}

TEST_F(NamedNodeMap, KeepsInsertionOrder) {
  map.setNamedItem(attribute(L"b", L"", L"1"));
  map.setNamedItem(attribute(L"a", L"", L"2"));
  ASSERT_EQ(map.getLength(), 2u);
  EXPECT_EQ(map.getItem(0).getName(), L"b");
  EXPECT_EQ(map.getItem(1).getName(), L"a");
}

TEST_F(NamedNodeMap, GetItemAtTheLengthIsEmpty) {
  map.setNamedItem(attribute(L"a", L"", L"1"));
  EXPECT_FALSE(map.getItem(map.getLength()));
  EXPECT_FALSE(map.getItem(1000));
}

TEST_F(NamedNodeMap, SetNamedItemOfAKnownNameReplacesInPlace) {
  map.setNamedItem(attribute(L"a", L"", L"1"));
  map.setNamedItem(attribute(L"b", L"", L"2"));
  EXPECT_EQ(map.setNamedItem(attribute(L"a", L"", L"3")), MarlNode::rcOK);
  ASSERT_EQ(map.getLength(), 2u);
  EXPECT_EQ(map.getItem(0).getValue(), L"3");
  EXPECT_EQ(map.getItem(1).getName(), L"b");
}

TEST_F(NamedNodeMap, SetNamedItemNsMatchesByUri) {
  MarlAttribute first = document.createAttributeNS(L"a", L"p", L"urn:x");
  MarlAttribute second = document.createAttributeNS(L"a", L"q", L"urn:x");
  map.setNamedItemNS(first);
  map.setNamedItemNS(second);
  EXPECT_EQ(map.getLength(), 1u);
  EXPECT_EQ(static_cast<CUnknown*>(map.getNamedItemNS(L"a", L"urn:x")), static_cast<CUnknown*>(second));
}

TEST_F(NamedNodeMap, SetNamedItemSetsNoOwner) {
  MarlAttribute loose = attribute(L"a", L"", L"1");
  map.setNamedItem(loose);
  EXPECT_FALSE(loose.getOwnerElement());
}

TEST_F(NamedNodeMap, LookupNeedsNameAndPrefixToMatch) {
  map.setNamedItem(attribute(L"a", L"p", L"1"));
  EXPECT_TRUE(map.getNamedItem(L"a", L"p"));
  EXPECT_FALSE(map.getNamedItem(L"a", L""));
  EXPECT_FALSE(map.getNamedItem(L"b", L"p"));
}

TEST_F(NamedNodeMap, LookupInternsTheStringsItIsGiven) {
  CMarl& library = CMarlBase::instance();
  std::size_t before = library.atomCache->size();
  EXPECT_FALSE(map.getNamedItem(L"neverSeenName", L"neverSeenPrefix"));
  EXPECT_EQ(library.atomCache->size(), before + 2);
}

TEST_F(NamedNodeMap, RemoveNamedItemOfAnEmptyMapIsNotFound) {
  EXPECT_EQ(map.removeNamedItem(L"a", L""), MarlNode::rcNotFound);
  EXPECT_EQ(map.removeNamedItemNS(L"a", L""), MarlNode::rcNotFound);
}

TEST_F(NamedNodeMap, RemoveNamedItemMovesLaterEntriesDown) {
  map.setNamedItem(attribute(L"a", L"", L"1"));
  map.setNamedItem(attribute(L"b", L"", L"2"));
  map.setNamedItem(attribute(L"c", L"", L"3"));
  EXPECT_EQ(map.removeNamedItem(L"b", L""), MarlNode::rcOK);
  ASSERT_EQ(map.getLength(), 2u);
  EXPECT_EQ(map.getItem(1).getName(), L"c");
  EXPECT_EQ(map.removeNamedItem(L"b", L""), MarlNode::rcNotFound);
}

TEST_F(NamedNodeMap, ARemovedAttributeKeepsItsOwner) {
  element.setAttribute(L"a", L"", L"1");
  MarlAttribute removed = element.getAttributeNode(L"a", L"");
  EXPECT_EQ(map.removeNamedItem(L"a", L""), MarlNode::rcOK);
  EXPECT_EQ(static_cast<CUnknown*>(removed.getOwnerElement()), static_cast<CUnknown*>(element));
}

TEST_F(NamedNodeMap, RemoveParentMakesEveryEntryForgetItsOwner) {
  element.setAttribute(L"a", L"", L"1");
  element.setAttribute(L"b", L"", L"2");
  map.removeParent();
  EXPECT_FALSE(MarlAttribute(map.getItem(0)).getOwnerElement());
  EXPECT_FALSE(MarlAttribute(map.getItem(1)).getOwnerElement());
}

TEST_F(NamedNodeMap, TheMapCountsItsEntries) {
  MarlAttribute held = attribute(L"a", L"", L"1");
  std::uint32_t before = held._impl()->getRefCount();
  map.setNamedItem(held);
  EXPECT_EQ(held._impl()->getRefCount(), before + 1);
  map.removeNamedItem(L"a", L"");
  EXPECT_EQ(held._impl()->getRefCount(), before);
}

TEST_F(NamedNodeMap, AReplacedAttributeKeepsItsOwnerUntilTheOwnerDies) {
  MarlAttribute replaced = attribute(L"a", L"", L"1");
  {
    MarlElement owner = document.createElement(L"owner", L"");
    owner.setAttributeNode(replaced);
    owner.setAttributeNode(attribute(L"a", L"", L"2"));
    EXPECT_EQ(static_cast<CUnknown*>(replaced.getOwnerElement()), static_cast<CUnknown*>(owner));
  }
  EXPECT_FALSE(replaced.getOwnerElement());
}

TEST_F(NamedNodeMap, ADepartedAttributeMovedToAnotherElementKeepsTheNewOwner) {
  MarlAttribute moved = attribute(L"a", L"", L"1");
  MarlElement second = document.createElement(L"second", L"");
  {
    MarlElement first = document.createElement(L"first", L"");
    first.setAttributeNode(moved);
    first.removeAttribute(L"a", L"");
    second.setAttributeNode(moved);
  }
  EXPECT_EQ(static_cast<CUnknown*>(moved.getOwnerElement()), static_cast<CUnknown*>(second));
}

TEST_F(NamedNodeMap, AnAttributeNobodyHoldsDiesWithItsRemoval) {
  element.setAttribute(L"a", L"", L"1");
  std::uint32_t before = CMarlBase::instance().liveObjects;
  map.removeNamedItem(L"a", L"");
  EXPECT_EQ(CMarlBase::instance().liveObjects, before - 1);
}
