#ifndef MARL_DTD_XMXXO_ATLD_H
#define MARL_DTD_XMXXO_ATLD_H

#include "dom/xmxxo_node.h"
#include "marl/declarations.h"

// An attribute list declaration, named after its element. Its children are the attribute
// declarations; several lists for one element add up.
class CMarlAttListDecl : public CMarlNode {
 public:
  CMarlAttListDecl(Atom name, Atom prefix);
  CMarlAttListDecl(CMarlAttListDecl const& source, short depth);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  unsigned int setName(std::wstring const& text) override;
  unsigned int setNamespacePrefix(std::wstring const& text) override;
  MarlNode clone(int depth) const override;
  std::wstring const& getName() const override;
  std::wstring const& getNamespacePrefix() const override;
  unsigned int getType() const override;
  void render(MarlOStream const& out, unsigned char deep) const override;
  bool renderHead(MarlOStream const& out, unsigned char deep) const override;
  bool renderBeforeChild(MarlOStream const& out, CMarlNode const& child,
                         bool firstWritten) const override;
  void renderTail(MarlOStream const& out, bool anyWritten) const override;

  Atom name;
  Atom namespacePrefix;
  std::uint8_t external;
};

#endif
