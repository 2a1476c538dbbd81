#ifndef MARL_DTD_XMXXO_ENTD_H
#define MARL_DTD_XMXXO_ENTD_H

#include "dom/xmxxo_node.h"
#include "marl/declarations.h"
#include "marl/entity.h"

// An entity declaration. The entity object holds the content; the declaration names it and
// says where it was declared. It takes no children.
class CMarlEntityDecl : public CMarlNode {
 public:
  CMarlEntityDecl();
  // Named after the entity object.
  CMarlEntityDecl(unsigned char parameter, MarlGEntity const& entity);
  // Shares the entity object with the source.
  CMarlEntityDecl(CMarlEntityDecl const& source, short depth);

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

  std::wstring const& getEntityValue() const;
  std::wstring const& getSystemId() const;
  std::wstring const& getPublicId() const;
  std::wstring const& getNotationName() const;
  MarlGEntity getGEntity() const { return gentity; }

  Atom name;
  MarlGEntity gentity;
  std::uint8_t parameterEntity;
  std::uint8_t external;

 private:
  // The kind of the entity object; that of no kind when there is none.
  unsigned int entityKind() const;
  // The quoted value of an internal entity, with its blank in front.
  void renderValue(MarlOStream const& out) const;
};

#endif
