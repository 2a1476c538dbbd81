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

void CMarlElementDecl::render(MarlOStream const& out, unsigned char deep) const {
  renderSubtree(out, deep);
}

// The declaration's own occurrence and grouping belong to no syntax: only its content model,
// the first child, is written, whatever `deep` says.
bool CMarlElementDecl::renderHead(MarlOStream const& out, unsigned char) const {
  if (!out || external) return false;
  writeMarkup(out, L"<!ELEMENT ");
  writeQualifiedName(out, getNamespacePrefix(), getName());
  switch (contentSpec) {
    case MarlElementDecl::CS_EMPTY:
      writeMarkup(out, L" EMPTY");
      break;
    case MarlElementDecl::CS_ANY:
      writeMarkup(out, L" ANY");
      break;
    case MarlElementDecl::CS_CHILDREN:
    case MarlElementDecl::CS_MIXED:
      if (firstChild && firstChild->_queryInterface(idContentParticle)) {
        writeMarkup(out, L" ");
        return true;
      }
      break;
    default:
      break;
  }
  renderTail(out, false);
  return false;
}

bool CMarlElementDecl::renderBeforeChild(MarlOStream const&, CMarlNode const& child,
                                         bool) const {
  return &child == firstChild;
}

void CMarlElementDecl::renderTail(MarlOStream const& out, bool) const {
  writeMarkup(out, L">");
  XMLOSManipEndl().manipulate(out);
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
