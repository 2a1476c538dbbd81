#ifndef MARL_DTD_XMXXO_NOTD_H
#define MARL_DTD_XMXXO_NOTD_H

#include "dom/xmxxo_node.h"
#include "marl/declarations.h"

// A notation declaration. It takes no children.
class CMarlNotationDecl : public CMarlNode {
 public:
  CMarlNotationDecl(Atom name, std::wstring const& systemId, std::wstring const& publicId);
  CMarlNotationDecl(CMarlNotationDecl const& source, short depth);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  unsigned int setName(std::wstring const& text) override;
  unsigned int insertChild(MarlNode const&, MarlNode const&) override { return refuseChild(); }
  unsigned int replaceChild(MarlNode const&, MarlNode const&) override { return refuseChild(); }
  unsigned int removeChild(MarlNode const&) override { return refuseChild(); }
  unsigned int appendChild(MarlNode const&, unsigned char) override { return refuseChild(); }
  MarlNode clone(int depth) const override;
  std::wstring const& getName() const override;
  unsigned int getType() const override;
  void render(MarlOStream const& out, unsigned char deep) const override;

  Atom name;
  std::wstring systemId;
  std::wstring publicId;
  std::uint8_t external;
};

#endif
