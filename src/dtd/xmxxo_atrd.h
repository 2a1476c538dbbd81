#ifndef MARL_DTD_XMXXO_ATRD_H
#define MARL_DTD_XMXXO_ATRD_H

#include <string>
#include <vector>

#include "dom/xmxxo_node.h"
#include "marl/declarations.h"

// The declaration of one attribute in an attribute list.
class CMarlAttributeDecl : public CMarlNode {
 public:
  using ValueType = MarlAttributeDecl::ValueType;
  using AttrDefault = MarlAttributeDecl::AttrDefault;
  using EnumValues = std::vector<std::wstring, tova_alloc<std::wstring>>;

  // A CDATA attribute, implied, without default value.
  CMarlAttributeDecl(Atom name, Atom prefix);
  CMarlAttributeDecl(CMarlAttributeDecl const& source, short depth);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  unsigned int setName(std::wstring const& text) override;
  unsigned int setNamespacePrefix(std::wstring const& text) override;
  MarlNode clone(int depth) const override;
  std::wstring const& getName() const override;
  std::wstring const& getNamespacePrefix() const override;
  unsigned int getType() const override;
  void render(MarlOStream const& out, unsigned char deep) const override;

  bool addEnumValue(std::wstring const& value);
  bool allowsEnumValue(std::wstring const& value) const;
  bool removeEnumValue(std::wstring const& value);
  std::wstring const& getEnumValue(unsigned int index) const;
  // The type as declared, with its blank in front: " CDATA", " (a|b)".
  void renderValueType(MarlOStream const& out) const;

  Atom name;
  Atom namespacePrefix;
  ValueType valueType;
  AttrDefault attrDefault;
  std::wstring defaultValue;
  EnumValues enumValues;
};

#endif
