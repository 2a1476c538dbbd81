#ifndef MARL_DOM_XMXXO_NSD_H
#define MARL_DOM_XMXXO_NSD_H

#include "dom/xmxxo_attr.h"
#include "marl/namespace.h"

// A namespace declaration. It keeps the declared prefix as its name ("xmlns" for the default
// namespace) and lies in no namespace itself, whatever its URI field says.
class CMarlNamespaceDecl : public CMarlAttribute {
 public:
  CMarlNamespaceDecl(Atom name, Atom prefix, Atom uri);
  CMarlNamespaceDecl(CMarlNamespaceDecl const& source, short depth);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  unsigned int setNamespacePrefix(std::wstring const& prefix) override;
  MarlNode clone(int depth) const override;
  std::wstring const& getNamespaceURI() const override;
  unsigned int getType() const override;
  void render(MarlOStream const& out, unsigned char deep) const override;
};

#endif
