#ifndef MARL_DTD_XMXXO_ENTR_H
#define MARL_DTD_XMXXO_ENTR_H

#include "dom/xmxxo_node.h"
#include "marl/entityref.h"

// A reference to an entity, kept in the tree: a marker, and the container of the
// replacement's nodes once the parser has expanded it.
class CMarlEntityRef : public CMarlNode {
 public:
  // Both identifiers empty.
  explicit CMarlEntityRef(Atom name);
  CMarlEntityRef(CMarlEntityRef const& source, short depth);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  unsigned int setName(std::wstring const& text) override;
  MarlNode clone(int depth) const override;
  std::wstring const& getName() const override;
  unsigned int getType() const override;
  void render(MarlOStream const& out, unsigned char deep) const override;

  std::wstring const& getPublicId() const;
  std::wstring const& getSystemId() const;
  void setPublicId(std::wstring const& text) { publicId = intern(text); }
  void setSystemId(std::wstring const& text) { systemId = intern(text); }

  Atom name;
  Atom systemId;
  Atom publicId;
};

#endif
