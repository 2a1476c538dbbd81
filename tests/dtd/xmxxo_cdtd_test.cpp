#include "dtd/xmxxo_cdtd.h"

#include <gtest/gtest.h>

#include "dtd/dtd_fixture.h"

namespace {

using CondDTDSection = DtdTest;

}  // namespace

TEST_F(CondDTDSection, AnswersItsOwnIdentifierTheNodeAndTheRoot) {
  MarlCondDTDSection section = type.createCondDTDSection(1);
  EXPECT_EQ(section._impl()->_queryClass(), 220u);
  EXPECT_TRUE(answers(section, 220));
  EXPECT_TRUE(answers(section, 20));
  EXPECT_TRUE(answers(section, 1));
  EXPECT_FALSE(answers(section, 210));
  EXPECT_EQ(section.getType(), 131072u);
}

TEST_F(CondDTDSection, IsNamedByTheStaticTable) {
  MarlCondDTDSection section = type.createCondDTDSection(1);
  EXPECT_EQ(section.getName(), L"#cond-dtd-section");
  EXPECT_EQ(&section.getName(), CMarl::staticString(CStaticStringTable::condDTDSection));
}

TEST_F(CondDTDSection, ANewSectionIsInternalWithoutText) {
  MarlCondDTDSection ignore = type.createCondDTDSection(0);
  EXPECT_EQ(ignore.isInclude(), 0);
  EXPECT_EQ(ignore.isExternal(), 0);
  EXPECT_EQ(ignore.getValue(), L"");
  EXPECT_EQ(type.createCondDTDSection(1).isInclude(), 1);
}

TEST_F(CondDTDSection, TheDefaultConstructorMakesAnIncludeSection) {
  MarlCondDTDSection section(new CMarlCondDTDSection);
  EXPECT_EQ(section.isInclude(), 1);
}

TEST_F(CondDTDSection, TheExternalFlagIsStored) {
  MarlCondDTDSection section = type.createCondDTDSection(1);
  section.setExternal(1);
  EXPECT_EQ(section.isExternal(), 1);
}

TEST_F(CondDTDSection, AnIgnoreSectionKeepsItsTextAsValue) {
  MarlCondDTDSection section = type.createCondDTDSection(0);
  EXPECT_EQ(section.setValue(L"<!ELEMENT x ANY>"), MarlNode::rcOK);
  EXPECT_EQ(section.getValue(), L"<!ELEMENT x ANY>");
  std::wstring value = L"old";
  section.getValue(value);
  EXPECT_EQ(value, L"<!ELEMENT x ANY>");
}

TEST_F(CondDTDSection, SetValueOnAnIncludeSectionIsRefusedAndKeepsTheText) {
  MarlCondDTDSection section = type.createCondDTDSection(1);
  section._impl()->text = L"kept";
  EXPECT_EQ(section.setValue(L"new"), 0x20008u);
  EXPECT_EQ(section.getValue(), L"kept");
}

TEST_F(CondDTDSection, AnIncludeSectionHoldsItsDeclarationsAsChildren) {
  MarlCondDTDSection section = type.createCondDTDSection(1);
  EXPECT_EQ(section.appendChild(type.createElementDecl(L"a", L""), 0), MarlNode::rcOK);
  EXPECT_EQ(section.appendChild(type.createAttListDecl(L"a", L""), 0), MarlNode::rcOK);
  EXPECT_EQ(section.numChildren(), 2u);
}

TEST_F(CondDTDSection, NamesAreNotOffered) {
  MarlCondDTDSection section = type.createCondDTDSection(1);
  EXPECT_EQ(section.setName(L"x"), MarlNode::rcNotSupported);
  EXPECT_EQ(section.setNamespacePrefix(L"x"), MarlNode::rcNotSupported);
}

TEST_F(CondDTDSection, ACloneCopiesFlagsTextAndChildren) {
  MarlCondDTDSection ignore = type.createCondDTDSection(0);
  ignore.setValue(L"ignored");
  ignore.setExternal(1);
  MarlCondDTDSection copy(ignore.clone(-1));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy.isInclude(), 0);
  EXPECT_EQ(copy.isExternal(), 1);
  EXPECT_EQ(copy.getValue(), L"ignored");
  MarlCondDTDSection include = type.createCondDTDSection(1);
  include.appendChild(type.createElementDecl(L"a", L""), 0);
  EXPECT_EQ(include.clone(-1).numChildren(), 1u);
  EXPECT_EQ(include.clone(0).numChildren(), 0u);
}

TEST_F(CondDTDSection, ACloneThatRunsOutOfMemoryIsEmptyAndLeaksNothing) {
  MarlCondDTDSection include = type.createCondDTDSection(1);
  include.appendChild(type.createElementDecl(L"a", L""), 0);
  expectEmptyAndNoLeakOnEveryFailure([&] { return include.clone(-1); });
}
