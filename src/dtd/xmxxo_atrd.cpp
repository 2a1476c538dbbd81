#include "dtd/xmxxo_atrd.h"

#include <algorithm>

CMarlAttributeDecl::CMarlAttributeDecl(Atom attributeName, Atom attributePrefix)
    : name(attributeName),
      namespacePrefix(attributePrefix),
      valueType(MarlAttributeDecl::VT_CDATA),
      attrDefault(MarlAttributeDecl::AD_IMPLIED) {}

// A stale source's atoms died with the cache they came from.
CMarlAttributeDecl::CMarlAttributeDecl(CMarlAttributeDecl const& source, short depth)
    : CMarlNode(source, depth),
      name(source.isStale() ? unknownAtom() : source.name),
      namespacePrefix(source.isStale() ? emptyAtom() : source.namespacePrefix),
      valueType(source.valueType),
      attrDefault(source.attrDefault),
      defaultValue(source.defaultValue),
      enumValues(source.enumValues) {}

void* CMarlAttributeDecl::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idAttributeDecl, idNode});
}

unsigned int CMarlAttributeDecl::_queryClass() const {
  return idAttributeDecl;
}

unsigned int CMarlAttributeDecl::setName(std::wstring const& text) {
  name = intern(text);
  return MarlNode::rcOK;
}

unsigned int CMarlAttributeDecl::setNamespacePrefix(std::wstring const& text) {
  namespacePrefix = intern(text);
  return MarlNode::rcOK;
}

MarlNode CMarlAttributeDecl::clone(int depth) const {
  return createObject<MarlNode, CMarlAttributeDecl>(*this, static_cast<short>(depth));
}

std::wstring const& CMarlAttributeDecl::getName() const {
  return isStale() ? *unknownAtom() : *name;
}

std::wstring const& CMarlAttributeDecl::getNamespacePrefix() const {
  return isStale() ? *emptyAtom() : *namespacePrefix;
}

unsigned int CMarlAttributeDecl::getType() const {
  return MarlNode::nodeAttributeDecl;
}

// Readers walk the values until getEnumValue answers empty, so an empty value would hide
// every value behind it: it is refused like a duplicate.
bool CMarlAttributeDecl::addEnumValue(std::wstring const& value) {
  if (valueType != MarlAttributeDecl::VT_ENUMERATION && valueType != MarlAttributeDecl::VT_NOTATION)
    return false;
  if (value.empty() || allowsEnumValue(value)) return false;
  enumValues.push_back(value);
  return true;
}

bool CMarlAttributeDecl::allowsEnumValue(std::wstring const& value) const {
  return std::find(enumValues.begin(), enumValues.end(), value) != enumValues.end();
}

bool CMarlAttributeDecl::removeEnumValue(std::wstring const& value) {
  auto found = std::find(enumValues.begin(), enumValues.end(), value);
  if (found == enumValues.end()) return false;
  enumValues.erase(found);
  return true;
}

std::wstring const& CMarlAttributeDecl::getEnumValue(unsigned int index) const {
  return index < enumValues.size() ? enumValues[index] : *emptyAtom();
}

// ---------------------------------------------------------------------------------------
// MarlAttributeDecl

MARL_DEFINE_NODE_HANDLE(MarlAttributeDecl, CMarlAttributeDecl, idAttributeDecl)

MarlAttributeDecl::ValueType MarlAttributeDecl::getValueType() const {
  return _impl()->valueType;
}

void MarlAttributeDecl::setValueType(ValueType valueType) {
  _impl()->valueType = valueType;
}

MarlAttributeDecl::AttrDefault MarlAttributeDecl::getAttrDefault() const {
  return _impl()->attrDefault;
}

void MarlAttributeDecl::setAttrDefault(AttrDefault attrDefault) {
  _impl()->attrDefault = attrDefault;
}

std::wstring const& MarlAttributeDecl::getDefaultValue() const {
  return _impl()->defaultValue;
}

void MarlAttributeDecl::setDefaultValue(std::wstring const& value) {
  _impl()->defaultValue = value;
}

bool MarlAttributeDecl::addEnumValue(std::wstring const& value) {
  return _impl()->addEnumValue(value);
}

bool MarlAttributeDecl::allowsEnumValue(std::wstring const& value) const {
  return _impl()->allowsEnumValue(value);
}

bool MarlAttributeDecl::removeEnumValue(std::wstring const& value) {
  return _impl()->removeEnumValue(value);
}

std::wstring const& MarlAttributeDecl::getEnumValue(unsigned int index) const {
  return _impl()->getEnumValue(index);
}
