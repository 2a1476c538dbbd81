#ifndef MARL_DOM_XMXXO_PI_H
#define MARL_DOM_XMXXO_PI_H

#include "dom/xmxxo_node.h"
#include "marl/attribute.h"
#include "marl/pi.h"

// A processing instruction: a leaf whose name is its target.
class CMarlPI : public CMarlNode {
 public:
  explicit CMarlPI(Atom target);
  CMarlPI(CMarlPI const& source, short depth);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  unsigned int setName(std::wstring const& name) override;
  unsigned int insertChild(MarlNode const&, MarlNode const&) override { return refuseChild(); }
  unsigned int replaceChild(MarlNode const&, MarlNode const&) override { return refuseChild(); }
  unsigned int removeChild(MarlNode const&) override { return refuseChild(); }
  unsigned int appendChild(MarlNode const&, unsigned char) override { return refuseChild(); }
  std::wstring const& getName() const override;

  Atom target;
  // Set for an instruction of the external subset; rendering leaves such instructions out.
  std::uint8_t external;
};

class CMarlPIUnparsed : public CMarlPI {
 public:
  CMarlPIUnparsed(Atom target, std::wstring const& data);
  CMarlPIUnparsed(CMarlPIUnparsed const& source, short depth);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  unsigned int setValue(std::wstring const& value) override;
  MarlNode clone(int depth) const override;
  std::wstring const& getValue() const override;
  void getValue(std::wstring& value) const override;
  unsigned int getType() const override;
  void render(MarlOStream const& out, unsigned char deep) const override;

  std::wstring data;
};

// A processing instruction read as pseudo-attributes: a small element without prefixes.
class CMarlPIParsed : public CMarlPI {
 public:
  explicit CMarlPIParsed(Atom target);
  CMarlPIParsed(CMarlPIParsed const& source, short depth);
  ~CMarlPIParsed() override;

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  MarlNode clone(int depth) const override;
  unsigned int getType() const override;
  MarlNamedNodeMap getAttributes() const override;
  void render(MarlOStream const& out, unsigned char deep) const override;

  std::wstring const& getAttribute(std::wstring const& name) const;
  MarlAttribute getAttributeNode(std::wstring const& name) const;
  unsigned int setAttribute(std::wstring const& name, std::wstring const& value);
  unsigned int setAttributeNode(MarlAttribute const& attribute);
  unsigned int removeAttribute(std::wstring const& name);
  unsigned int removeAttributeNode(MarlAttribute const& attribute);

  mutable MarlNamedNodeMap attributes;
};

#endif
