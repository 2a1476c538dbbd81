#include "dtd/xmxxo_atrd.h"

#include <gtest/gtest.h>

#include "dtd/dtd_fixture.h"

namespace {

class AttributeDecl : public DtdTest {
 protected:
  // An enumerated attribute allowing x, y and z.
  MarlAttributeDecl enumerated() {
    MarlAttributeDecl declaration = type.createAttributeDecl(L"e", L"");
    declaration.setValueType(MarlAttributeDecl::VT_ENUMERATION);
    declaration.addEnumValue(L"x");
    declaration.addEnumValue(L"y");
    declaration.addEnumValue(L"z");
    return declaration;
  }

  // The allowed values as a reader walks them: until the first empty answer.
  static std::wstring enumValues(MarlAttributeDecl const& declaration) {
    std::wstring values;
    for (unsigned int index = 0; !declaration.getEnumValue(index).empty(); ++index) {
      if (!values.empty()) values += L"|";
      values += declaration.getEnumValue(index);
    }
    return values;
  }
};

}  // namespace

TEST_F(AttributeDecl, AnswersItsOwnIdentifierTheNodeAndTheRoot) {
  MarlAttributeDecl declaration = type.createAttributeDecl(L"x", L"");
  EXPECT_EQ(declaration._impl()->_queryClass(), 260u);
  EXPECT_TRUE(answers(declaration, 260));
  EXPECT_TRUE(answers(declaration, 20));
  EXPECT_TRUE(answers(declaration, 1));
  EXPECT_FALSE(answers(declaration, 120));
  EXPECT_EQ(declaration.getType(), 2097152u);
}

TEST_F(AttributeDecl, TheEnumerationsHaveTheirFixedNumbers) {
  EXPECT_EQ(MarlAttributeDecl::VT_CDATA, 1u);
  EXPECT_EQ(MarlAttributeDecl::VT_ID, 2u);
  EXPECT_EQ(MarlAttributeDecl::VT_IDREF, 3u);
  EXPECT_EQ(MarlAttributeDecl::VT_IDREFS, 4u);
  EXPECT_EQ(MarlAttributeDecl::VT_ENTITY, 5u);
  EXPECT_EQ(MarlAttributeDecl::VT_ENTITIES, 6u);
  EXPECT_EQ(MarlAttributeDecl::VT_NMTOKEN, 7u);
  EXPECT_EQ(MarlAttributeDecl::VT_NMTOKENS, 8u);
  EXPECT_EQ(MarlAttributeDecl::VT_NOTATION, 9u);
  EXPECT_EQ(MarlAttributeDecl::VT_ENUMERATION, 10u);
  EXPECT_EQ(MarlAttributeDecl::AD_VALUE, 0u);
  EXPECT_EQ(MarlAttributeDecl::AD_IMPLIED, 1u);
  EXPECT_EQ(MarlAttributeDecl::AD_REQUIRED, 2u);
  EXPECT_EQ(MarlAttributeDecl::AD_FIXED, 3u);
}

TEST_F(AttributeDecl, ANewDeclarationIsAnImpliedCDATAWithoutDefault) {
  MarlAttributeDecl declaration = type.createAttributeDecl(L"x", L"p");
  EXPECT_EQ(declaration.getName(), L"x");
  EXPECT_EQ(declaration.getNamespacePrefix(), L"p");
  EXPECT_EQ(declaration.getValueType(), MarlAttributeDecl::VT_CDATA);
  EXPECT_EQ(declaration.getAttrDefault(), MarlAttributeDecl::AD_IMPLIED);
  EXPECT_EQ(declaration.getDefaultValue(), L"");
  EXPECT_EQ(declaration.getEnumValue(0), L"");
}

TEST_F(AttributeDecl, TypeDefaultAndDefaultValueAreStored) {
  MarlAttributeDecl declaration = type.createAttributeDecl(L"x", L"");
  std::wstring value = L"fallback";
  declaration.setValueType(MarlAttributeDecl::VT_NMTOKENS);
  declaration.setAttrDefault(MarlAttributeDecl::AD_FIXED);
  declaration.setDefaultValue(value);
  value = L"changed";
  EXPECT_EQ(declaration.getValueType(), MarlAttributeDecl::VT_NMTOKENS);
  EXPECT_EQ(declaration.getAttrDefault(), MarlAttributeDecl::AD_FIXED);
  EXPECT_EQ(declaration.getDefaultValue(), L"fallback");
}

TEST_F(AttributeDecl, AddEnumValueOnACDATAAttributeReturnsFalseAndStoresNothing) {
  MarlAttributeDecl declaration = type.createAttributeDecl(L"x", L"");
  EXPECT_FALSE(declaration.addEnumValue(L"a"));
  EXPECT_EQ(declaration.getEnumValue(0), L"");
  EXPECT_FALSE(declaration.allowsEnumValue(L"a"));
}

TEST_F(AttributeDecl, AddEnumValueOnANotationAttributeTwiceIsTrueThenFalse) {
  MarlAttributeDecl declaration = type.createAttributeDecl(L"x", L"");
  declaration.setValueType(MarlAttributeDecl::VT_NOTATION);
  EXPECT_TRUE(declaration.addEnumValue(L"gif"));
  EXPECT_FALSE(declaration.addEnumValue(L"gif"));
  EXPECT_EQ(enumValues(declaration), L"gif");
}

TEST_F(AttributeDecl, AddingAnEmptyEnumValueIsRefusedSinceItWouldEndTheList) {
  MarlAttributeDecl declaration = enumerated();
  EXPECT_FALSE(declaration.addEnumValue(L""));
  EXPECT_FALSE(declaration.allowsEnumValue(L""));
  EXPECT_EQ(enumValues(declaration), L"x|y|z");
}

TEST_F(AttributeDecl, EnumValuesKeepTheirOrderAndAreComparedByCharacter) {
  MarlAttributeDecl declaration = enumerated();
  EXPECT_EQ(enumValues(declaration), L"x|y|z");
  EXPECT_TRUE(declaration.allowsEnumValue(std::wstring(1, L'y')));
  EXPECT_FALSE(declaration.allowsEnumValue(L"Y"));
  EXPECT_FALSE(declaration.allowsEnumValue(L"xy"));
}

TEST_F(AttributeDecl, GetEnumValuePastTheEndIsEmptyAndDoesNotFail) {
  MarlAttributeDecl declaration = enumerated();
  EXPECT_EQ(declaration.getEnumValue(3), L"");
  EXPECT_EQ(declaration.getEnumValue(4000000000u), L"");
}

TEST_F(AttributeDecl, RemovingTheMiddleValueKeepsTheOrderOfTheOthers) {
  MarlAttributeDecl declaration = enumerated();
  EXPECT_TRUE(declaration.removeEnumValue(L"y"));
  EXPECT_EQ(enumValues(declaration), L"x|z");
  EXPECT_FALSE(declaration.removeEnumValue(L"y"));
  EXPECT_FALSE(declaration.allowsEnumValue(L"y"));
}

TEST_F(AttributeDecl, ChangingTheTypeKeepsTheValuesButStopsNewOnes) {
  MarlAttributeDecl declaration = enumerated();
  declaration.setValueType(MarlAttributeDecl::VT_CDATA);
  EXPECT_FALSE(declaration.addEnumValue(L"w"));
  EXPECT_TRUE(declaration.allowsEnumValue(L"x"));
}

TEST_F(AttributeDecl, ItIsAnOrdinaryNodeWithChildOperations) {
  MarlAttributeDecl declaration = type.createAttributeDecl(L"x", L"");
  EXPECT_EQ(declaration.setName(L"y"), MarlNode::rcOK);
  EXPECT_EQ(declaration.getName(), L"y");
  EXPECT_EQ(declaration.setNamespacePrefix(L""), MarlNode::rcOK);
  EXPECT_EQ(&declaration.getNamespacePrefix(), CMarlBase::instance().emptyAtom);
  EXPECT_EQ(declaration.setValue(L"v"), MarlNode::rcNotSupported);
}

TEST_F(AttributeDecl, ACloneCopiesEveryFieldAndEveryValue) {
  MarlAttributeDecl declaration = enumerated();
  declaration.setNamespacePrefix(L"p");
  declaration.setAttrDefault(MarlAttributeDecl::AD_VALUE);
  declaration.setDefaultValue(L"y");
  MarlAttributeDecl copy(declaration.clone(0));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy.getName(), L"e");
  EXPECT_EQ(copy.getNamespacePrefix(), L"p");
  EXPECT_EQ(copy.getValueType(), MarlAttributeDecl::VT_ENUMERATION);
  EXPECT_EQ(copy.getAttrDefault(), MarlAttributeDecl::AD_VALUE);
  EXPECT_EQ(copy.getDefaultValue(), L"y");
  EXPECT_EQ(enumValues(copy), L"x|y|z");
  copy.removeEnumValue(L"x");
  EXPECT_EQ(enumValues(declaration), L"x|y|z");
}

TEST_F(AttributeDecl, ACloneThatRunsOutOfMemoryIsEmptyAndLeaksNothing) {
  MarlAttributeDecl declaration = enumerated();
  declaration.setDefaultValue(std::wstring(40, L'd'));
  expectEmptyAndNoLeakOnEveryFailure([&] { return declaration.clone(0); });
}

TEST_F(AttributeDecl, AStaleDeclarationReadsAnUnknownNameAndClonesToOne) {
  MarlAttributeDecl declaration = type.createAttributeDecl(L"x", L"p");
  makeStale(declaration);
  EXPECT_EQ(declaration.getName(), L"?");
  EXPECT_EQ(declaration.getNamespacePrefix(), L"");
  EXPECT_EQ(MarlAttributeDecl(declaration.clone(0)).getName(), L"?");
}
