#ifndef MARL_DTD_XMXXO_ELED_H
#define MARL_DTD_XMXXO_ELED_H

#include "dtd/xmxxo_cp.h"

// An element declaration. As a particle it has one child, the top group of its content model.
class CMarlElementDecl : public CMarlContentParticle {
 public:
  using ContentSpec = MarlElementDecl::ContentSpec;

  // A declaration not yet filled: one occurrence, a sequence, content undefined, internal.
  CMarlElementDecl(Atom name, Atom prefix);
  CMarlElementDecl(CMarlElementDecl const& source, short depth);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  MarlNode clone(int depth) const override;
  unsigned int getType() const override;
  void render(MarlOStream const& out, unsigned char deep) const override;
  bool renderHead(MarlOStream const& out, unsigned char deep) const override;
  bool renderBeforeChild(MarlOStream const& out, CMarlNode const& child,
                         bool firstWritten) const override;
  void renderTail(MarlOStream const& out, bool anyWritten) const override;

  ContentSpec contentSpec;
  std::uint8_t external;
};

#endif
