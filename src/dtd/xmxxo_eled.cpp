#include "dtd/xmxxo_eled.h"

CMarlElementDecl::CMarlElementDecl(Atom declName, Atom declPrefix)
    : CMarlContentParticle(declName, declPrefix, MarlContentParticle::OCC_ONE,
                           MarlContentParticle::GROUP_SEQUENCE),
      contentSpec(MarlElementDecl::CS_UNDEFINED),
      external(0) {}

CMarlElementDecl::CMarlElementDecl(CMarlElementDecl const& source, short depth)
    : CMarlContentParticle(source, depth),
      contentSpec(source.contentSpec),
      external(source.external) {}

void* CMarlElementDecl::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idElementDecl, idContentParticle, idNode});
}

unsigned int CMarlElementDecl::_queryClass() const {
  return idElementDecl;
}

MarlNode CMarlElementDecl::clone(int depth) const {
  return createObject<MarlNode, CMarlElementDecl>(*this, static_cast<short>(depth));
}

unsigned int CMarlElementDecl::getType() const {
  return MarlNode::nodeElementDecl;
}

// ---------------------------------------------------------------------------------------
// MarlElementDecl

MARL_DEFINE_NODE_HANDLE(MarlElementDecl, CMarlElementDecl, idElementDecl)

MarlElementDecl::ContentSpec MarlElementDecl::getContentSpec() const {
  return _impl()->contentSpec;
}

void MarlElementDecl::setContentSpec(ContentSpec contentSpec) {
  _impl()->contentSpec = contentSpec;
}

void MarlElementDecl::setExternal(unsigned char external) {
  _impl()->external = external;
}

unsigned char MarlElementDecl::isExternal() const {
  return _impl()->external;
}
