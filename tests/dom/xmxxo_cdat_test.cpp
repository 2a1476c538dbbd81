#include "dom/xmxxo_cdat.h"

#include <gtest/gtest.h>

#include <climits>

#include "dom/xmxxo_doc.h"
#include "dom/xmxxo_text.h"
#include "marl/marl.h"
#include "support/host_memory.h"
#include "support/library_state.h"

namespace {

// Nodes numbered up to this one count as left over from an earlier library.
constexpr std::uint32_t c_staleGID = 1000;

// 31 and 32 characters: the last shared length and the first owned one.
std::wstring const c_shared31(31, L's');
std::wstring const c_owned32(32, L'o');

class CharacterData : public FreshLibrary {
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

  MarlCharacterData text(std::wstring const& content) { return document.createText(content); }

  static Atom atom(std::wstring const& content) { return CMarlBase::instance().intern(content); }

  // True when the node reads its text from its own string rather than from an atom.
  static bool ownsText(MarlCharacterData const& node) {
    return &node.getData() == &node._impl()->ownData;
  }

  Marl marl;
  MarlDocument document;
};

}  // namespace

TEST_F(CharacterData, GetDataAndSetDataAreTheValue) {
  MarlCharacterData node = text(L"abc");
  EXPECT_EQ(node.getData(), L"abc");
  EXPECT_EQ(&node.getData(), &node.getValue());
  EXPECT_EQ(node.setData(L"xyz"), MarlNode::rcOK);
  EXPECT_EQ(node.getValue(), L"xyz");
  EXPECT_EQ(node.setValue(L"uvw"), MarlNode::rcOK);
  EXPECT_EQ(node.getData(), L"uvw");
}

TEST_F(CharacterData, GetValueIntoAStringCopiesTheText) {
  MarlCharacterData node = text(L"abc");
  std::wstring value = L"old";
  node.getValue(value);
  EXPECT_EQ(value, L"abc");
}

TEST_F(CharacterData, ATextOfThirtyOneCharactersIsShared) {
  MarlCharacterData first = text(c_shared31);
  MarlCharacterData second = text(c_shared31);
  EXPECT_EQ(&first.getData(), &second.getData());
  EXPECT_EQ(&first.getData(), atom(c_shared31));
}

TEST_F(CharacterData, ATextOfThirtyTwoCharactersIsNotShared) {
  MarlCharacterData first = text(c_owned32);
  MarlCharacterData second = text(c_owned32);
  EXPECT_EQ(first.getData(), c_owned32);
  EXPECT_NE(&first.getData(), &second.getData());
  EXPECT_TRUE(ownsText(first));
}

TEST_F(CharacterData, SetDataAndSetValueDrawTheSameLine) {
  MarlCharacterData node = text(L"");
  node.setData(c_shared31);
  EXPECT_FALSE(ownsText(node));
  node.setData(c_owned32);
  EXPECT_TRUE(ownsText(node));
  node.setValue(c_shared31);
  EXPECT_FALSE(ownsText(node));
  node.setValue(c_owned32);
  EXPECT_TRUE(ownsText(node));
}

TEST_F(CharacterData, TheEmptyTextIsTheEmptyAtom) {
  MarlCharacterData node = text(L"abc");
  node.setData(L"");
  EXPECT_EQ(&node.getData(), CMarlBase::instance().emptyAtom);
  EXPECT_EQ(node.getLength(), 0u);
}

TEST_F(CharacterData, SettingALongTextToItselfKeepsIt) {
  MarlCharacterData node = text(c_owned32);
  node.setData(node.getData());
  EXPECT_EQ(node.getData(), c_owned32);
}

TEST_F(CharacterData, DeleteDataOnASharedTextLeavesTheAtomAndItsOtherNodesAlone) {
  MarlCharacterData edited = text(L"shared");
  MarlCharacterData other = text(L"shared");
  Atom shared = &other.getData();
  EXPECT_EQ(edited.deleteData(0, 1), MarlNode::rcOK);
  EXPECT_EQ(edited.getData(), L"hared");
  EXPECT_EQ(*shared, L"shared");
  EXPECT_EQ(other.getData(), L"shared");
  EXPECT_EQ(&other.getData(), shared);
}

TEST_F(CharacterData, EveryEditLeavesTheAtomAlone) {
  MarlCharacterData other = text(L"shared");
  Atom shared = &other.getData();
  MarlCharacterData appended = text(L"shared");
  MarlCharacterData inserted = text(L"shared");
  MarlCharacterData replaced = text(L"shared");
  MarlCharacterData normalized = text(L"shared");
  appended.appendData(L"!");
  inserted.insertData(0, L"!");
  replaced.replaceData(0, 1, L"!");
  normalized.normalizeData();
  EXPECT_EQ(appended.getData(), L"shared!");
  EXPECT_EQ(inserted.getData(), L"!shared");
  EXPECT_EQ(replaced.getData(), L"!hared");
  EXPECT_EQ(normalized.getData(), L"shared");
  EXPECT_TRUE(ownsText(normalized));
  EXPECT_EQ(*shared, L"shared");
}

TEST_F(CharacterData, ARefusedEditStillMovesTheTextIntoItsOwnString) {
  MarlCharacterData node = text(L"abc");
  ASSERT_FALSE(ownsText(node));
  EXPECT_EQ(node.insertData(3, L"x"), MarlNode::rcBadArgument);
  EXPECT_TRUE(ownsText(node));
  EXPECT_EQ(node.getData(), L"abc");
}

TEST_F(CharacterData, InsertDataIntoAnEmptyTextIsRefused) {
  MarlCharacterData node = text(L"");
  EXPECT_EQ(node.insertData(0, L"x"), MarlNode::rcBadArgument);
  EXPECT_EQ(node.getData(), L"");
}

TEST_F(CharacterData, InsertDataAtEndIsRefused) {
  MarlCharacterData node = text(L"abc");
  EXPECT_EQ(node.insertData(node.getLength(), L"x"), MarlNode::rcBadArgument);
  EXPECT_EQ(node.insertData(100, L"x"), MarlNode::rcBadArgument);
  EXPECT_EQ(node.getData(), L"abc");
}

TEST_F(CharacterData, InsertDataInsideTheTextInsertsBeforeTheOffset) {
  MarlCharacterData node = text(L"abc");
  EXPECT_EQ(node.insertData(0, L"<"), MarlNode::rcOK);
  EXPECT_EQ(node.insertData(3, L"|"), MarlNode::rcOK);
  EXPECT_EQ(node.getData(), L"<ab|c");
}

TEST_F(CharacterData, AppendDataToAnEmptyTextWorks) {
  MarlCharacterData node = text(L"");
  EXPECT_EQ(node.appendData(L"x"), MarlNode::rcOK);
  EXPECT_EQ(node.getData(), L"x");
}

TEST_F(CharacterData, AppendDataOfNothingChangesNothing) {
  MarlCharacterData node = text(L"abc");
  EXPECT_EQ(node.appendData(L""), MarlNode::rcOK);
  EXPECT_EQ(node.appendDataN(L"zzz", 0), MarlNode::rcOK);
  EXPECT_EQ(node.getData(), L"abc");
}

TEST_F(CharacterData, AppendDataNTakesCountCharactersOfThePointer) {
  MarlCharacterData node = text(L"ab");
  EXPECT_EQ(node.appendDataN(L"cdefg", 2), MarlNode::rcOK);
  EXPECT_EQ(node.getData(), L"abcd");
}

TEST_F(CharacterData, AppendDataGrowsAnOwnedTextBeyondTheSharedLength) {
  MarlCharacterData node = text(c_shared31);
  node.appendData(L"+");
  EXPECT_EQ(node.getLength(), 32u);
  EXPECT_EQ(node.getData(), c_shared31 + L"+");
}

TEST_F(CharacterData, DeleteDataCutsTheCountToWhatRemains) {
  MarlCharacterData node = text(L"abc");
  EXPECT_EQ(node.deleteData(1, 100), MarlNode::rcOK);
  EXPECT_EQ(node.getData(), L"a");
}

TEST_F(CharacterData, DeleteDataInsideTheText) {
  MarlCharacterData node = text(L"abcde");
  EXPECT_EQ(node.deleteData(1, 2), MarlNode::rcOK);
  EXPECT_EQ(node.getData(), L"ade");
}

TEST_F(CharacterData, DeleteDataAtTheEndIsRefused) {
  MarlCharacterData node = text(L"abc");
  EXPECT_EQ(node.deleteData(3, 1), MarlNode::rcBadArgument);
  EXPECT_EQ(node.getData(), L"abc");
}

TEST_F(CharacterData, ReplaceDataReplacesTheRange) {
  MarlCharacterData node = text(L"abc");
  EXPECT_EQ(node.replaceData(1, 1, L"XY"), MarlNode::rcOK);
  EXPECT_EQ(node.getData(), L"aXYc");
}

TEST_F(CharacterData, ReplaceDataCutsTheCountToWhatRemains) {
  MarlCharacterData node = text(L"abc");
  EXPECT_EQ(node.replaceData(1, 100, L"Z"), MarlNode::rcOK);
  EXPECT_EQ(node.getData(), L"aZ");
}

TEST_F(CharacterData, ReplaceDataAtTheEndIsRefused) {
  MarlCharacterData node = text(L"abc");
  EXPECT_EQ(node.replaceData(3, 0, L"x"), MarlNode::rcBadArgument);
  EXPECT_EQ(node.getData(), L"abc");
}

TEST_F(CharacterData, SubstringDataBeyondTheEndIsEmptyWithoutError) {
  MarlCharacterData node = text(L"abc");
  EXPECT_EQ(node.substringData(10, 1), L"");
  EXPECT_EQ(node.substringData(3, 1), L"");
}

TEST_F(CharacterData, SubstringDataReadsAtMostCountCharacters) {
  MarlCharacterData node = text(L"abc");
  EXPECT_EQ(node.substringData(1, 1), L"b");
  EXPECT_EQ(node.substringData(1, 100), L"bc");
  EXPECT_EQ(node.substringData(0, UINT_MAX), L"abc");
  EXPECT_EQ(node.substringData(2, UINT_MAX), L"c");
}

TEST_F(CharacterData, GetLengthCountsCodeUnits) {
  std::wstring beyondThePlane = {L'a', static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xDE00)};
  EXPECT_EQ(text(beyondThePlane).getLength(), 3u);
  EXPECT_EQ(text(c_owned32).getLength(), 32u);
}

TEST_F(CharacterData, WsOnlyOfAnEmptyTextIsTrue) {
  EXPECT_TRUE(text(L"").wsOnly());
}

TEST_F(CharacterData, WsOnlyTakesTheFourXmlSpaceCharacters) {
  EXPECT_TRUE(text(L" \t\r\n").wsOnly());
  EXPECT_FALSE(text(L" a ").wsOnly());
  EXPECT_FALSE(text(std::wstring(1, static_cast<wchar_t>(0xA0))).wsOnly());
  EXPECT_FALSE(text(L"\f").wsOnly());
}

TEST_F(CharacterData, NormalizeDataTrimsTheEndsAndKeepsInnerSpace) {
  MarlCharacterData node = text(L"  a  b  ");
  node.normalizeData();
  EXPECT_EQ(node.getData(), L"a  b");
}

TEST_F(CharacterData, NormalizeDataOfOnlySpaceGivesTheEmptyText) {
  MarlCharacterData node = text(L"   ");
  node.normalizeData();
  EXPECT_EQ(node.getData(), L"");
  EXPECT_EQ(node.getLength(), 0u);
}

TEST_F(CharacterData, NormalizeDataTrimsEveryKindOfXmlSpace) {
  MarlCharacterData node = text(L"\t\r\n x\ty \n");
  node.normalizeData();
  EXPECT_EQ(node.getData(), L"x\ty");
}

TEST_F(CharacterData, NormalizeDataOfAnEmptyTextLeavesItEmpty) {
  MarlCharacterData node = text(L"");
  node.normalizeData();
  EXPECT_EQ(node.getData(), L"");
}

TEST_F(CharacterData, NormalizeDataWithoutSpaceChangesNothingVisible) {
  MarlCharacterData node = text(L"abc");
  node.normalizeData();
  EXPECT_EQ(node.getData(), L"abc");
}

TEST_F(CharacterData, PlainCharacterDataHasNoKindOfItsOwn) {
  MarlCharacterData held = text(L"abc");
  CMarlCharacterData* node = held._impl();
  EXPECT_EQ(node->CMarlCharacterData::getType(), 0u);
  EXPECT_EQ(node->CMarlCharacterData::getName(), L"#character-data");
  EXPECT_EQ(node->CMarlCharacterData::_queryClass(), unsigned{idCharacterData});
  EXPECT_NE(node->CMarlCharacterData::_queryInterface(idCharacterData), nullptr);
  EXPECT_NE(node->CMarlCharacterData::_queryInterface(idNode), nullptr);
  EXPECT_NE(node->CMarlCharacterData::_queryInterface(idUnknown), nullptr);
  EXPECT_EQ(node->CMarlCharacterData::_queryInterface(idText), nullptr);
  EXPECT_EQ(node->CMarlCharacterData::_queryInterface(idComment), nullptr);
}

TEST_F(CharacterData, TextsCommentsAndSectionsAreCharacterDataAndNothingElseIs) {
  MarlNode kinds[] = {document.createText(L"t"), document.createComment(L"c"),
                      document.createCDATASection(L"s")};
  for (MarlNode const& node : kinds) EXPECT_TRUE(MarlCharacterData(node)) << node.getName();
  MarlNode others[] = {document.createElement(L"e", L""), document.createAttribute(L"a", L""),
                       document.createPIUnparsed(L"pi", L"d"), document.createDocumentFragment()};
  for (MarlNode const& node : others) {
    std::uint32_t count = node._impl()->getRefCount();
    EXPECT_FALSE(MarlCharacterData(node)) << node.getName();
    EXPECT_EQ(node._impl()->getRefCount(), count);
  }
}

TEST_F(CharacterData, OnlyTheValueCanBeSet) {
  MarlCharacterData node = text(L"abc");
  EXPECT_EQ(node.setName(L"n"), MarlNode::rcNotSupported);
  EXPECT_EQ(node.setNamespacePrefix(L"p"), MarlNode::rcNotSupported);
  EXPECT_EQ(node.setNamespaceURI(L"urn:u"), MarlNode::rcNotSupported);
  EXPECT_EQ(node.getNamespacePrefix(), L"");
  EXPECT_EQ(node.getNamespaceURI(), L"");
  EXPECT_FALSE(node.getAttributes());
  EXPECT_FALSE(node.getNamespaceContext());
}

TEST_F(CharacterData, AStaleNodeReadsTheUnknownText) {
  MarlCharacterData node = text(L"  ");
  node._impl()->GID = c_staleGID;
  EXPECT_EQ(node.getData(), L"?");
  EXPECT_EQ(node.getValue(), L"?");
  std::wstring value;
  node.getValue(value);
  EXPECT_EQ(value, L"?");
  EXPECT_EQ(node.getLength(), 1u);
  EXPECT_FALSE(node.wsOnly());
  EXPECT_EQ(node.substringData(0, UINT_MAX), L"?");
}

TEST_F(CharacterData, ANodeReadWithoutALibraryReadsTheUnknownText) {
  MarlCharacterData node = text(L"abc");
  dropLibrary();
  ASSERT_FALSE(CMarlBase::c_pMarl);
  // Each read brings a new library, under which the node's atom is dead; it is ended at
  // once so that the next read again finds none.
  std::wstring value = node.getData();
  endLibrary();
  unsigned int length = node.getLength();
  endLibrary();
  std::wstring tail = node.substringData(0, UINT_MAX);
  endLibrary();
  EXPECT_EQ(value, L"?");
  EXPECT_EQ(length, 1u);
  EXPECT_EQ(tail, L"?");
}

TEST_F(CharacterData, CloneOfAStaleNodeReadsLikeItsSource) {
  MarlCharacterData source = text(L"abc");
  source._impl()->GID = c_staleGID;
  MarlCharacterData copy(source.clone(-1));
  ASSERT_TRUE(copy);
  EXPECT_GT(copy.getGID(), c_staleGID);
  EXPECT_EQ(copy.getData(), L"?");
}

TEST_F(CharacterData, AnEditOfAStaleNodeStartsFromTheTextItReads) {
  MarlCharacterData node = text(L"abc");
  node._impl()->GID = c_staleGID;
  EXPECT_EQ(node.appendData(L"!"), MarlNode::rcOK);
  EXPECT_EQ(node._impl()->ownData, L"?!");
  EXPECT_EQ(node.getData(), L"?");
}
