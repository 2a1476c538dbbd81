#include "dom/xmxxo_nsd.h"

CMarlNamespaceDecl::CMarlNamespaceDecl(Atom declName, Atom declPrefix, Atom declUri)
    : CMarlAttribute(declName, declPrefix, declUri) {
  specified = 1;
}

CMarlNamespaceDecl::CMarlNamespaceDecl(CMarlNamespaceDecl const& source, short depth)
    : CMarlAttribute(source, depth) {}

void* CMarlNamespaceDecl::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idNamespaceDecl, idAttribute, idNode});
}

unsigned int CMarlNamespaceDecl::_queryClass() const {
  return idNamespaceDecl;
}

// The prefix of a declaration is fixed by its form ("xmlns" or none).
unsigned int CMarlNamespaceDecl::setNamespacePrefix(std::wstring const&) {
  return MarlNode::rcNotSupported;
}

MarlNode CMarlNamespaceDecl::clone(int depth) const {
  return createObject<MarlNode, CMarlNamespaceDecl>(*this, static_cast<short>(depth));
}

// A declaration is always written, whatever its specified flag says.
void CMarlNamespaceDecl::render(MarlOStream const& out, unsigned char) const {
  if (!out) return;
  renderAssignment(out);
}

std::wstring const& CMarlNamespaceDecl::getNamespaceURI() const {
  return *emptyAtom();
}

unsigned int CMarlNamespaceDecl::getType() const {
  return MarlNode::nodeAttribute;
}

// ---------------------------------------------------------------------------------------
// MarlNamespaceDecl

MARL_DEFINE_NODE_HANDLE(MarlNamespaceDecl, CMarlNamespaceDecl, idNamespaceDecl)

MarlNamespaceDecl::MarlNamespaceDecl(MarlAttribute const& attribute) {
  m_p = handle::query<CMarlNamespaceDecl>(static_cast<CUnknown*>(attribute), idNamespaceDecl);
}
