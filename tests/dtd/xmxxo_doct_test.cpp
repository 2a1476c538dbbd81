#include "dtd/xmxxo_doct.h"

#include <gtest/gtest.h>

#include "dom/xmxxo_comm.h"
#include "dom/xmxxo_pi.h"
#include "dtd/dtd_fixture.h"
#include "dtd/xmxxu_atdf.h"

namespace {

using DocumentType = DtdTest;

// The names of the children, in order.
std::wstring childNames(MarlNode const& parent) {
  std::wstring names;
  for (MarlNode child = parent.getFirstChild(); child; child = child.getNext()) {
    if (!names.empty()) names += L",";
    names += child.getName();
  }
  return names;
}

MarlEntityDecl entity(MarlDocumentType const& type, std::wstring const& name) {
  return MarlEntityDecl(type.getEntities().getNamedItem(name, L""));
}

}  // namespace

// ---------------------------------------------------------------------------------------
// Identity and fields

TEST_F(DocumentType, AnswersItsOwnIdentifierTheNodeAndTheRoot) {
  EXPECT_EQ(type._impl()->_queryClass(), 210u);
  EXPECT_TRUE(answers(type, 210));
  EXPECT_TRUE(answers(type, 20));
  EXPECT_TRUE(answers(type, 1));
  EXPECT_FALSE(answers(type, 100));
  EXPECT_FALSE(answers(type, 240));
  EXPECT_EQ(type.getType(), 65536u);
}

TEST_F(DocumentType, ConvertsFromANodeOfItsKindOnly) {
  MarlNode node = type;
  EXPECT_TRUE(MarlDocumentType(node));
  EXPECT_FALSE(MarlDocumentType(MarlNode(document.createElement(L"e", L""))));
}

TEST_F(DocumentType, ANewTypeHasItsNamesNoIdentifiersEmptyMapsAndIsExplicit) {
  MarlDocumentType html = document.createDocumentType(L"html", L"h");
  EXPECT_EQ(html.getName(), L"html");
  EXPECT_EQ(html.getNamespacePrefix(), L"h");
  EXPECT_EQ(html.getExplicit(), 1);
  EXPECT_EQ(html.getSystemId(), L"");
  EXPECT_EQ(html.getPublicId(), L"");
  ASSERT_TRUE(html.getEntities());
  ASSERT_TRUE(html.getParamEntities());
  ASSERT_TRUE(html.getNotations());
  EXPECT_EQ(html.getEntities().getLength(), 0u);
  EXPECT_EQ(html.getParamEntities().getLength(), 0u);
  EXPECT_EQ(html.getNotations().getLength(), 0u);
  EXPECT_EQ(html._impl()->defaultAttributes, nullptr);
  EXPECT_FALSE(html.getParent());
  EXPECT_FALSE(html.getOwnerDocument());
}

TEST_F(DocumentType, NamesAreAtomsAndTheEmptyTextIsTheEmptyAtom) {
  EXPECT_EQ(type.setName(L"root"), MarlNode::rcOK);
  EXPECT_EQ(type.setNamespacePrefix(L""), MarlNode::rcOK);
  EXPECT_EQ(&type.getName(), CMarlBase::instance().intern(L"root"));
  EXPECT_EQ(&type.getNamespacePrefix(), CMarlBase::instance().emptyAtom);
}

TEST_F(DocumentType, TheIdentifiersAreCopiedAsGiven) {
  std::wstring system = L"doc.dtd";
  type.setSystemId(system);
  type.setPublicId(L"-//Marl//Test//EN");
  system = L"changed";
  EXPECT_EQ(type.getSystemId(), L"doc.dtd");
  EXPECT_EQ(type.getPublicId(), L"-//Marl//Test//EN");
}

TEST_F(DocumentType, TheExplicitFlagIsStored) {
  type.setExplicit(0);
  EXPECT_EQ(type.getExplicit(), 0);
  type.setExplicit(1);
  EXPECT_EQ(type.getExplicit(), 1);
}

TEST_F(DocumentType, TheMapsAreSharedWithTheNode) {
  EXPECT_EQ(type.getEntities()._impl(), type.getEntities()._impl());
  type.createIntEntityDecl(0, L"e", L"v");
  MarlNamedNodeMap entities = type.getEntities();
  EXPECT_EQ(entities.getLength(), 1u);
}

TEST_F(DocumentType, TakesChildrenLikeAnyNode) {
  MarlElementDecl declaration = type.createElementDecl(L"a", L"");
  EXPECT_EQ(type.appendChild(declaration, 0), MarlNode::rcOK);
  EXPECT_EQ(type.numChildren(), 1u);
  EXPECT_EQ(declaration.getParent()._impl(), type._impl());
}

TEST_F(DocumentType, AStaleTypeReadsAnUnknownNameAndNoPrefix) {
  MarlDocumentType html = document.createDocumentType(L"html", L"h");
  makeStale(html);
  EXPECT_EQ(html.getName(), L"?");
  EXPECT_EQ(html.getNamespacePrefix(), L"");
}

// ---------------------------------------------------------------------------------------
// Creators

TEST_F(DocumentType, CreatorsGiveNodesOfTheirKindWithoutAppendingThem) {
  MarlElementDecl element = type.createElementDecl(L"a", L"p");
  MarlAttListDecl list = type.createAttListDecl(L"a", L"p");
  MarlAttributeDecl attribute = type.createAttributeDecl(L"x", L"");
  MarlCondDTDSection section = type.createCondDTDSection(0);
  MarlNotationDecl notation = type.createNotationDecl(L"gif", L"viewer", L"");
  MarlEntityDecl internal = type.createIntEntityDecl(0, L"e", L"v");
  MarlEntityDecl external = type.createExtEntityDecl(0, L"x", L"x.xml", L"", L"");
  EXPECT_EQ(element.getType(), MarlNode::nodeElementDecl);
  EXPECT_EQ(element.getName(), L"a");
  EXPECT_EQ(element.getNamespacePrefix(), L"p");
  EXPECT_EQ(list.getType(), MarlNode::nodeAttListDecl);
  EXPECT_EQ(attribute.getType(), MarlNode::nodeAttributeDecl);
  EXPECT_EQ(section.getType(), MarlNode::nodeCondDTDSection);
  EXPECT_EQ(section.isInclude(), 0);
  EXPECT_EQ(notation.getType(), MarlNode::nodeNotationDecl);
  EXPECT_EQ(internal.getType(), MarlNode::nodeEntityDecl);
  EXPECT_EQ(external.getType(), MarlNode::nodeEntityDecl);
  EXPECT_EQ(type.numChildren(), 0u);
  EXPECT_FALSE(element.getParent());
}

TEST_F(DocumentType, CreateContentParticleStoresBothValuesAsGiven) {
  MarlContentParticle particle = type.createContentParticle(
      L"b", L"", MarlContentParticle::OCC_ONE_OR_MORE, MarlContentParticle::GROUP_CHOICE);
  EXPECT_EQ(particle.getType(), MarlNode::nodeContentParticle);
  EXPECT_EQ(particle.getName(), L"b");
  EXPECT_EQ(particle.getOccurrence(), MarlContentParticle::OCC_ONE_OR_MORE);
  EXPECT_EQ(particle.getGrouping(), MarlContentParticle::GROUP_CHOICE);
}

TEST_F(DocumentType, TheFirstDeclarationOfAnEntityBindsAndTheLaterOneIsStillUsable) {
  MarlEntityDecl first = type.createIntEntityDecl(0, L"e", L"one");
  MarlEntityDecl second = type.createIntEntityDecl(0, L"e", L"two");
  ASSERT_TRUE(first);
  ASSERT_TRUE(second);
  EXPECT_EQ(second.getEntityValue(), L"two");
  EXPECT_EQ(type.getEntities().getLength(), 1u);
  EXPECT_EQ(entity(type, L"e")._impl(), first._impl());
  EXPECT_EQ(type.appendChild(second, 0), MarlNode::rcOK);
}

TEST_F(DocumentType, AnExternalDeclarationDoesNotReplaceAnInternalOneOfTheSameName) {
  MarlEntityDecl first = type.createIntEntityDecl(0, L"e", L"one");
  MarlEntityDecl second = type.createExtEntityDecl(0, L"e", L"e.xml", L"", L"");
  ASSERT_TRUE(second);
  EXPECT_EQ(entity(type, L"e")._impl(), first._impl());
}

TEST_F(DocumentType, AGeneralAndAParameterEntityOfOneNameBothStayInTheirMaps) {
  MarlEntityDecl general = type.createIntEntityDecl(0, L"e", L"general");
  MarlEntityDecl parameter = type.createIntEntityDecl(1, L"e", L"parameter");
  EXPECT_EQ(entity(type, L"e")._impl(), general._impl());
  EXPECT_EQ(type.getParamEntities().getNamedItem(L"e", L"")._impl(), parameter._impl());
  EXPECT_EQ(parameter.isParameterEntity(), 1);
  EXPECT_EQ(general.isParameterEntity(), 0);
}

TEST_F(DocumentType, TheLastDeclarationOfANotationStandsInTheMap) {
  MarlNotationDecl first = type.createNotationDecl(L"gif", L"one", L"");
  MarlNotationDecl second = type.createNotationDecl(L"gif", L"two", L"");
  MarlNamedNodeMap notations = type.getNotations();
  EXPECT_EQ(notations.getLength(), 1u);
  EXPECT_EQ(notations.getNamedItem(L"gif", L"")._impl(), second._impl());
  EXPECT_EQ(first.getSystemId(), L"one");
}

TEST_F(DocumentType, AnExternalEntityWithANotationIsUnparsedAndWithoutOneParsed) {
  MarlEntityDecl unparsed = type.createExtEntityDecl(0, L"pic", L"pic.gif", L"-//P", L"gif");
  MarlEntityDecl parsed = type.createExtEntityDecl(0, L"chapter", L"ch.xml", L"-//C", L"");
  EXPECT_EQ(unparsed._impl()->getGEntity().getType(), MarlGEntity::entityExtUnparsed);
  EXPECT_EQ(unparsed.getNotationName(), L"gif");
  EXPECT_EQ(unparsed.getSystemId(), L"pic.gif");
  EXPECT_EQ(unparsed.getPublicId(), L"-//P");
  EXPECT_EQ(parsed._impl()->getGEntity().getType(), MarlGEntity::entityExtParsed);
  EXPECT_EQ(parsed.getNotationName(), L"");
  EXPECT_EQ(parsed.getSystemId(), L"ch.xml");
  EXPECT_EQ(type.getEntities().getLength(), 2u);
}

TEST_F(DocumentType, EveryCreatorGivesAnEmptyHandleAndLeaksNothingWhenMemoryRunsOut) {
  expectEmptyAndNoLeakOnEveryFailure([&] { return type.createElementDecl(L"a", L"p"); });
  expectEmptyAndNoLeakOnEveryFailure([&] { return type.createAttListDecl(L"a", L"p"); });
  expectEmptyAndNoLeakOnEveryFailure([&] { return type.createAttributeDecl(L"x", L"p"); });
  expectEmptyAndNoLeakOnEveryFailure([&] {
    return type.createContentParticle(L"c", L"", MarlContentParticle::OCC_ONE,
                                      MarlContentParticle::GROUP_SEQUENCE);
  });
  expectEmptyAndNoLeakOnEveryFailure([&] { return type.createCondDTDSection(1); });
  expectEmptyAndNoLeakOnEveryFailure([&] { return document.createDocumentType(L"t", L"p"); });
}

// A failing run leaves the map as it was; the runs that enter a declaration may grow it.
TEST_F(DocumentType, EntityCreatorsThatRunOutOfMemoryChangeNoMap) {
  MarlNamedNodeMap entities = type.getEntities();
  for (long failAt = 0; failAt < 64; ++failAt) {
    std::wstring name = L"e" + std::to_wstring(failAt);
    CMarlBase::instance().intern(name);
    unsigned int length = entities.getLength();
    long before = testhost::outstandingBlocks();
    MarlEntityDecl declaration;
    {
      testhost::AllocationFailure failure(failAt);
      declaration = failAt % 2 ? type.createIntEntityDecl(0, name, L"value")
                               : type.createExtEntityDecl(0, name, L"s", L"p", L"n");
    }
    if (declaration) break;
    EXPECT_EQ(entities.getLength(), length) << "allocation " << failAt;
    EXPECT_EQ(testhost::outstandingBlocks(), before) << "allocation " << failAt;
  }
}

TEST_F(DocumentType, ANotationThatRunsOutOfMemoryChangesNoMap) {
  CMarlBase::instance().intern(L"gif");
  long before = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure(0);
    EXPECT_FALSE(type.createNotationDecl(L"gif", L"viewer", L""));
  }
  EXPECT_EQ(type.getNotations().getLength(), 0u);
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

// ---------------------------------------------------------------------------------------
// External nodes

TEST_F(DocumentType, TellsExternalDeclarationsCommentsAndInstructionsByTheirFlag) {
  MarlCondDTDSection section = type.createCondDTDSection(1);
  MarlAttListDecl list = type.createAttListDecl(L"a", L"");
  MarlElementDecl element = type.createElementDecl(L"a", L"");
  MarlEntityDecl entityDecl = type.createIntEntityDecl(0, L"e", L"v");
  MarlNotationDecl notation = type.createNotationDecl(L"n", L"s", L"");
  MarlComment comment = document.createComment(L"c");
  MarlPIUnparsed unparsed = document.createPIUnparsed(L"u", L"d");
  MarlPIParsed parsed = document.createPIParsed(L"p");
  MarlNode nodes[] = {section, list, element, entityDecl, notation, comment, unparsed, parsed};
  for (MarlNode const& node : nodes) EXPECT_EQ(type.isExternalNode(node), 0) << node.getType();
  section.setExternal(1);
  list.setExternal(1);
  element.setExternal(1);
  entityDecl.setExternal(1);
  notation.setExternal(1);
  comment.setExternal(1);
  unparsed.setExternal(1);
  parsed.setExternal(1);
  for (MarlNode const& node : nodes) EXPECT_EQ(type.isExternalNode(node), 1) << node.getType();
}

TEST_F(DocumentType, AnyOtherNodeIsNotExternal) {
  EXPECT_EQ(type.isExternalNode(document.createElement(L"e", L"")), 0);
  EXPECT_EQ(type.isExternalNode(document.createText(L"t")), 0);
  EXPECT_EQ(type.isExternalNode(type.createAttributeDecl(L"x", L"")), 0);
  EXPECT_EQ(type.isExternalNode(MarlNode()), 0);
}

// ---------------------------------------------------------------------------------------
// Clone

TEST_F(DocumentType, ACloneKeepsNamesFlagAndDeclarationsButLosesIdentifiersAndMaps) {
  MarlDocumentType source = document.createDocumentType(L"html", L"h");
  source.setSystemId(L"html.dtd");
  source.setPublicId(L"-//W3C//DTD");
  source.setExplicit(0);
  source.appendChild(source.createIntEntityDecl(0, L"e", L"v"), 0);
  source.appendChild(source.createIntEntityDecl(1, L"p", L"v"), 0);
  source.appendChild(source.createNotationDecl(L"n", L"s", L""), 0);
  MarlDocumentType copy(source.clone(-1));
  ASSERT_TRUE(copy);
  EXPECT_NE(copy._impl(), source._impl());
  EXPECT_EQ(copy.getName(), L"html");
  EXPECT_EQ(copy.getNamespacePrefix(), L"h");
  EXPECT_EQ(copy.getExplicit(), 0);
  EXPECT_EQ(copy.getSystemId(), L"");
  EXPECT_EQ(copy.getPublicId(), L"");
  EXPECT_EQ(copy.numChildren(), 3u);
  EXPECT_EQ(copy.getEntities().getLength(), 0u);
  EXPECT_EQ(copy.getParamEntities().getLength(), 0u);
  EXPECT_EQ(copy.getNotations().getLength(), 0u);
  EXPECT_NE(copy.getEntities()._impl(), source.getEntities()._impl());
  EXPECT_EQ(source.getEntities().getLength(), 1u);
}

TEST_F(DocumentType, AShallowCloneHasNoChildren) {
  type.appendChild(type.createElementDecl(L"a", L""), 0);
  MarlDocumentType copy(type.clone(0));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy.numChildren(), 0u);
}

TEST_F(DocumentType, ACloneSharesTheDefaultsThatExistedWhenItWasMade) {
  type._impl()->insertDefaultAttributeValue(L"a", L"", L"x", L"", L"1");
  MarlDocumentType copy(type.clone(-1));
  type._impl()->insertDefaultAttributeValue(L"a", L"", L"y", L"", L"2");
  ASSERT_NE(copy._impl()->defaultAttributes, nullptr);
  EXPECT_EQ(copy._impl()->defaultAttributes, type._impl()->defaultAttributes);
  EXPECT_EQ(copy._impl()->defaultAttributes->shareCount, 2u);
  EXPECT_EQ(copy._impl()->defaultAttributes->lookup(L"a", L"", L"y", L""), L"2");
}

TEST_F(DocumentType, ACloneMadeBeforeTheFirstDefaultSeesNone) {
  MarlDocumentType copy(type.clone(-1));
  type._impl()->insertDefaultAttributeValue(L"a", L"", L"x", L"", L"1");
  EXPECT_EQ(copy._impl()->defaultAttributes, nullptr);
}

TEST_F(DocumentType, TheSharedDefaultsOutliveTheSourceAndDieWithTheLastType) {
  MarlDocumentType source = document.createDocumentType(L"s", L"");
  source._impl()->insertDefaultAttributeValue(L"a", L"", L"x", L"", L"1");
  MarlDocumentType copy(source.clone(-1));
  long withTable = testhost::outstandingBlocks();
  source = static_cast<CMarlDocumentType const*>(nullptr);
  ASSERT_NE(copy._impl()->defaultAttributes, nullptr);
  EXPECT_EQ(copy._impl()->defaultAttributes->shareCount, 1u);
  EXPECT_EQ(copy._impl()->defaultAttributes->lookup(L"a", L"", L"x", L""), L"1");
  long withoutSource = testhost::outstandingBlocks();
  EXPECT_LT(withoutSource, withTable);
  copy = static_cast<CMarlDocumentType const*>(nullptr);
  EXPECT_LT(testhost::outstandingBlocks(), withoutSource);
}

TEST_F(DocumentType, ACloneThatRunsOutOfMemoryIsEmptyAndKeepsTheShareCount) {
  type._impl()->insertDefaultAttributeValue(L"a", L"", L"x", L"", L"1");
  type.appendChild(type.createElementDecl(L"a", L""), 0);
  expectEmptyAndNoLeakOnEveryFailure([&] { return type.clone(-1); });
  EXPECT_EQ(type._impl()->defaultAttributes->shareCount, 1u);
}

TEST_F(DocumentType, AStaleTypeClonesToAnUnknownName) {
  makeStale(type);
  MarlDocumentType copy(type.clone(0));
  EXPECT_EQ(copy.getName(), L"?");
  EXPECT_EQ(copy.getNamespacePrefix(), L"");
}

// ---------------------------------------------------------------------------------------
// The document's type

TEST_F(DocumentType, ANewDocumentHasATypeWithTheFivePredefinedEntitiesNotLinkedAsAChild) {
  MarlDocumentType own = document.getDocumentType();
  ASSERT_TRUE(own);
  EXPECT_EQ(own.getName(), L"");
  EXPECT_EQ(own.getEntities().getLength(), 5u);
  EXPECT_EQ(own.getParamEntities().getLength(), 0u);
  EXPECT_EQ(own.numChildren(), 0u);
  EXPECT_EQ(document.numChildren(), 0u);
  EXPECT_FALSE(own.getParent());
}

TEST_F(DocumentType, ThePredefinedEntitiesHoldCharacterReferences) {
  MarlDocumentType own = document.getDocumentType();
  EXPECT_EQ(entity(own, L"lt").getEntityValue(), L"&#60;");
  EXPECT_EQ(entity(own, L"gt").getEntityValue(), L"&#62;");
  EXPECT_EQ(entity(own, L"amp").getEntityValue(), L"&#38;");
  EXPECT_EQ(entity(own, L"apos").getEntityValue(), L"&#39;");
  EXPECT_EQ(entity(own, L"quot").getEntityValue(), L"&#34;");
  EXPECT_EQ(entity(own, L"lt").isParameterEntity(), 0);
  std::wstring names;
  MarlNamedNodeMap entities = own.getEntities();
  for (unsigned int index = 0; index < entities.getLength(); ++index)
    names += entities.getItem(index).getName() + L" ";
  EXPECT_EQ(names, L"lt gt amp apos quot ");
}

TEST_F(DocumentType, EachDocumentHasATypeOfItsOwn) {
  MarlDocument other = marl.createDocument();
  EXPECT_NE(other.getDocumentType()._impl(), document.getDocumentType()._impl());
}

TEST_F(DocumentType, CreateDocumentTypeStoresNothingInTheDocument) {
  MarlDocumentType before = document.getDocumentType();
  MarlDocumentType created = document.createDocumentType(L"x", L"");
  EXPECT_EQ(document.getDocumentType()._impl(), before._impl());
  EXPECT_EQ(document.numChildren(), 0u);
}

TEST_F(DocumentType, SetDocumentTypeOnADocumentWithChildrenPutsTheTypeFirst) {
  document.appendChild(document.createComment(L"c"), 0);
  document.appendChild(document.createElement(L"root", L""), 0);
  document.setDocumentType(type);
  EXPECT_EQ(childNames(document), L"doc,#comment,root");
  EXPECT_EQ(document.getDocumentType()._impl(), type._impl());
  EXPECT_EQ(type.getParent()._impl(), document._impl());
  EXPECT_EQ(type.getOwnerDocument()._impl(), document._impl());
}

TEST_F(DocumentType, SetDocumentTypeOnAnEmptyDocumentMakesItTheOnlyChild) {
  document.setDocumentType(type);
  EXPECT_EQ(document.numChildren(), 1u);
  EXPECT_EQ(document.getFirstChild()._impl(), type._impl());
}

TEST_F(DocumentType, ANewTypeTakesThePlaceOfTheLinkedOne) {
  document.appendChild(document.createElement(L"root", L""), 0);
  document.setDocumentType(type);
  document.appendChild(document.createComment(L"c"), 0);
  MarlDocumentType second = document.createDocumentType(L"second", L"");
  document.setDocumentType(second);
  EXPECT_EQ(childNames(document), L"second,root,#comment");
  EXPECT_FALSE(type.getParent());
  EXPECT_EQ(document.getDocumentType()._impl(), second._impl());
}

TEST_F(DocumentType, SettingTheLinkedTypeAgainChangesNothing) {
  document.appendChild(document.createElement(L"root", L""), 0);
  document.setDocumentType(type);
  document.setDocumentType(type);
  EXPECT_EQ(childNames(document), L"doc,root");
  EXPECT_EQ(document.getDocumentType()._impl(), type._impl());
}

TEST_F(DocumentType, TheInitialTypeIsNotAChildSoItStaysWhereItIsWhenReplaced) {
  MarlDocumentType initial = document.getDocumentType();
  document.appendChild(document.createElement(L"root", L""), 0);
  document.setDocumentType(type);
  EXPECT_EQ(childNames(document), L"doc,root");
  EXPECT_FALSE(initial.getParent());
}

TEST_F(DocumentType, AnEmptyTypeUnlinksTheOldOneAndLeavesTheDocumentWithout) {
  document.appendChild(document.createElement(L"root", L""), 0);
  document.setDocumentType(type);
  document.setDocumentType(MarlDocumentType());
  EXPECT_EQ(childNames(document), L"root");
  EXPECT_FALSE(type.getParent());
  EXPECT_FALSE(document.getDocumentType());
}

TEST_F(DocumentType, AnEmptyTypeDropsAnUnlinkedOneAndLeavesTheChildrenAlone) {
  document.appendChild(document.createElement(L"root", L""), 0);
  document.setDocumentType(MarlDocumentType());
  EXPECT_EQ(childNames(document), L"root");
  EXPECT_FALSE(document.getDocumentType());
}

TEST_F(DocumentType, ATypeMayBeSetAgainAfterItWasRemoved) {
  document.setDocumentType(MarlDocumentType());
  document.setDocumentType(type);
  EXPECT_EQ(document.getDocumentType()._impl(), type._impl());
  EXPECT_EQ(document.getFirstChild()._impl(), type._impl());
}

TEST_F(DocumentType, ATypeOfAnotherDocumentMovesOver) {
  MarlDocument other = marl.createDocument();
  other.setDocumentType(type);
  document.setDocumentType(type);
  EXPECT_EQ(other.numChildren(), 0u);
  EXPECT_EQ(type.getParent()._impl(), document._impl());
  EXPECT_EQ(type.getOwnerDocument()._impl(), document._impl());
}

TEST_F(DocumentType, ACloneOfTheDocumentSharesItsTypeAndAddsNoEntity) {
  MarlDocumentType own = document.getDocumentType();
  own.createIntEntityDecl(0, L"mine", L"v");
  MarlDocument copy(document.clone(-1));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy.getDocumentType()._impl(), own._impl());
  EXPECT_EQ(own.getEntities().getLength(), 6u);
}

TEST_F(DocumentType, ACloneOfADocumentWithoutTypeHasNone) {
  document.setDocumentType(MarlDocumentType());
  MarlDocument copy(document.clone(-1));
  ASSERT_TRUE(copy);
  EXPECT_FALSE(copy.getDocumentType());
}

TEST_F(DocumentType, CreateDocumentGivesAnEmptyHandleAndLeaksNothingWhenMemoryRunsOut) {
  expectEmptyAndNoLeakOnEveryFailure([&] { return marl.createDocument(); });
}

TEST_F(DocumentType, ExpandMakesTheDeclarationsBelowTheDocumentInternalAndDropsTheSystemId) {
  document.setDocumentType(type);
  type.setSystemId(L"doc.dtd");
  type.setPublicId(L"-//Doc");
  MarlCondDTDSection section = type.createCondDTDSection(1);
  MarlElementDecl nested = type.createElementDecl(L"a", L"");
  MarlEntityDecl entityDecl = type.createIntEntityDecl(0, L"e", L"v");
  MarlComment comment = document.createComment(L"c");
  MarlPIParsed instruction = document.createPIParsed(L"p");
  type.appendChild(section, 0);
  section.appendChild(nested, 0);
  type.appendChild(entityDecl, 0);
  type.appendChild(comment, 0);
  document.appendChild(instruction, 0);
  section.setExternal(1);
  nested.setExternal(1);
  entityDecl.setExternal(1);
  comment.setExternal(1);
  instruction.setExternal(1);
  document.expand();
  EXPECT_EQ(section.isExternal(), 0);
  EXPECT_EQ(nested.isExternal(), 0);
  EXPECT_EQ(entityDecl.isExternal(), 0);
  EXPECT_EQ(comment.isExternal(), 0);
  EXPECT_EQ(instruction.isExternal(), 0);
  EXPECT_EQ(type.getSystemId(), L"");
  EXPECT_EQ(type.getPublicId(), L"-//Doc");
}

TEST_F(DocumentType, ExpandLeavesDeclarationsOfAnUnlinkedTypeAlone) {
  MarlDocumentType own = document.getDocumentType();
  MarlElementDecl declaration = own.createElementDecl(L"a", L"");
  own.appendChild(declaration, 0);
  declaration.setExternal(1);
  own.setSystemId(L"doc.dtd");
  document.expand();
  EXPECT_EQ(declaration.isExternal(), 1);
  EXPECT_EQ(own.getSystemId(), L"");
}

TEST_F(DocumentType, ExpandOnADocumentWithoutTypeInternalizesItsChildren) {
  document.setDocumentType(MarlDocumentType());
  MarlComment comment = document.createComment(L"c");
  comment.setExternal(1);
  document.appendChild(comment, 0);
  document.expand();
  EXPECT_EQ(comment.isExternal(), 0);
}

TEST_F(DocumentType, InternalizeNodesWorksOnTheGivenSubtreeOnly) {
  MarlElementDecl inside = type.createElementDecl(L"in", L"");
  MarlElementDecl outside = type.createElementDecl(L"out", L"");
  MarlAttListDecl list = type.createAttListDecl(L"in", L"");
  MarlNotationDecl notation = type.createNotationDecl(L"n", L"s", L"");
  MarlPIUnparsed instruction = document.createPIUnparsed(L"t", L"d");
  type.appendChild(inside, 0);
  type.appendChild(list, 0);
  type.appendChild(notation, 0);
  type.appendChild(instruction, 0);
  for (MarlNode node : {MarlNode(inside), MarlNode(outside), MarlNode(list), MarlNode(notation),
                        MarlNode(instruction)})
    ASSERT_TRUE(CMarlDocumentType::externalFlag(node._impl()));
  inside.setExternal(1);
  outside.setExternal(1);
  list.setExternal(1);
  notation.setExternal(1);
  instruction.setExternal(1);
  document._impl()->internalizeNodes(type);
  EXPECT_EQ(inside.isExternal(), 0);
  EXPECT_EQ(list.isExternal(), 0);
  EXPECT_EQ(notation.isExternal(), 0);
  EXPECT_EQ(instruction.isExternal(), 0);
  EXPECT_EQ(outside.isExternal(), 1);
}
