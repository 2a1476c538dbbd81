#include "dtd/xmxxo_atrd.h"

#include <algorithm>
#include <cwchar>

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

void CMarlAttributeDecl::render(MarlOStream const& out, unsigned char) const {
  if (!out) return;
  writeQualifiedName(out, getNamespacePrefix(), getName());
  renderValueType(out);
  if (!defaultValue.empty()) {
    if (attrDefault == MarlAttributeDecl::AD_FIXED) writeMarkup(out, L" #FIXED");
    writeMarkup(out, L" ");
    XMLOSManipQuoted(1).manipulate(out);
    XMLOSManipEscaped(1).manipulate(out);
    writeMarkup(out, defaultValue);
    return;
  }
  switch (attrDefault) {
    case MarlAttributeDecl::AD_IMPLIED:
      writeMarkup(out, L" #IMPLIED");
      break;
    case MarlAttributeDecl::AD_REQUIRED:
      writeMarkup(out, L" #REQUIRED");
      break;
    case MarlAttributeDecl::AD_VALUE:
      writeMarkup(out, L" \"\"");
      break;
    default:
      break;
  }
}

// Values are joined without blanks, unlike the members of a content model.
void CMarlAttributeDecl::renderValueType(MarlOStream const& out) const {
  static wchar_t const* const c_typeNames[] = {L" CDATA",  L" ID",          L" IDREF",
                                               L" IDREFS", L" ENTITY",      L" ENTITIES",
                                               L" NMTOKEN", L" NMTOKENS",  L" NOTATION (",
                                               L" ("};
  unsigned int const index = static_cast<unsigned int>(valueType) - 1;
  if (index >= sizeof(c_typeNames) / sizeof(c_typeNames[0])) return;
  out.write(c_typeNames[index], static_cast<int>(std::wcslen(c_typeNames[index])));
  if (valueType != MarlAttributeDecl::VT_NOTATION && valueType != MarlAttributeDecl::VT_ENUMERATION)
    return;
  for (unsigned int i = 0; !getEnumValue(i).empty(); ++i) {
    if (i != 0) writeMarkup(out, L"|");
    writeMarkup(out, getEnumValue(i));
  }
  writeMarkup(out, L")");
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
