#ifndef MARL_DOM_XMXXO_ATTR_H
#define MARL_DOM_XMXXO_ATTR_H

#include "dom/xmxxo_node.h"
#include "marl/attribute.h"
#include "marl/element.h"

// One attribute. Its parent link names its owner, although it is not in the owner's child
// list. Short values are atoms shared through the string cache; long ones are owned.
class CMarlAttribute : public CMarlNode {
 public:
  // Values shorter than this are shared.
  static constexpr std::size_t c_maxSharedLen = 32;

  // A new attribute with the empty value, not specified.
  CMarlAttribute(Atom name, Atom prefix, Atom uri);
  CMarlAttribute(CMarlAttribute const& source, short depth);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  unsigned int setName(std::wstring const& name) override;
  unsigned int setNamespacePrefix(std::wstring const& prefix) override;
  unsigned int setNamespaceURI(std::wstring const& uri) override;
  unsigned int setValue(std::wstring const& text) override;
  unsigned int insertChild(MarlNode const&, MarlNode const&) override { return refuseChild(); }
  unsigned int replaceChild(MarlNode const&, MarlNode const&) override { return refuseChild(); }
  unsigned int removeChild(MarlNode const&) override { return refuseChild(); }
  unsigned int appendChild(MarlNode const&, unsigned char) override { return refuseChild(); }
  MarlNode clone(int depth) const override;
  std::wstring const& getName() const override;
  std::wstring const& getNamespacePrefix() const override;
  std::wstring const& getNamespaceURI() const override;
  MarlNamespaceContext getNamespaceContext() const override;
  std::wstring const& getValue() const override;
  void getValue(std::wstring& text) const override;
  unsigned int getType() const override;
  void render(MarlOStream const& out, unsigned char deep) const override;

  MarlElement getOwnerElement() const;
  // Sets the value as a default of the document type does: `specified` is left alone.
  void assignValue(std::wstring const& text);
  // name="value", quoted and escaped, whether specified or not.
  void renderAssignment(MarlOStream const& out) const;

  Atom name;
  Atom prefix;
  Atom uri;
  std::uint8_t specified;
  std::wstring ownValue;
  std::wstring const* value;
};

#endif
