#include "dtd/xmxxo_atld.h"

CMarlAttListDecl::CMarlAttListDecl(Atom elementName, Atom elementPrefix)
    : name(elementName), namespacePrefix(elementPrefix), external(0) {}

// A stale source's atoms died with the cache they came from.
CMarlAttListDecl::CMarlAttListDecl(CMarlAttListDecl const& source, short depth)
    : CMarlNode(source, depth),
      name(source.isStale() ? unknownAtom() : source.name),
      namespacePrefix(source.isStale() ? emptyAtom() : source.namespacePrefix),
      external(source.external) {}

void* CMarlAttListDecl::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idAttListDecl, idNode});
}

unsigned int CMarlAttListDecl::_queryClass() const {
  return idAttListDecl;
}

unsigned int CMarlAttListDecl::setName(std::wstring const& text) {
  name = intern(text);
  return MarlNode::rcOK;
}

unsigned int CMarlAttListDecl::setNamespacePrefix(std::wstring const& text) {
  namespacePrefix = intern(text);
  return MarlNode::rcOK;
}

MarlNode CMarlAttListDecl::clone(int depth) const {
  return createObject<MarlNode, CMarlAttListDecl>(*this, static_cast<short>(depth));
}

void CMarlAttListDecl::render(MarlOStream const& out, unsigned char deep) const {
  renderSubtree(out, deep);
}

bool CMarlAttListDecl::renderHead(MarlOStream const& out, unsigned char deep) const {
  if (!out || external) return false;
  writeMarkup(out, L"<!ATTLIST ");
  writeQualifiedName(out, getNamespacePrefix(), getName());
  if (deep) return true;
  renderTail(out, false);
  return false;
}

// Pretty printed, each attribute stands on a line of its own, ten blanks in.
bool CMarlAttListDecl::renderBeforeChild(MarlOStream const& out, CMarlNode const&, bool) const {
  if (out.getPrettyPrint()) {
    XMLOSManipEndl().manipulate(out);
    writeMarkup(out, L"         ");
  }
  writeMarkup(out, L" ");
  return true;
}

void CMarlAttListDecl::renderTail(MarlOStream const& out, bool) const {
  writeMarkup(out, L">");
  XMLOSManipEndl().manipulate(out);
}

std::wstring const& CMarlAttListDecl::getName() const {
  return isStale() ? *unknownAtom() : *name;
}

std::wstring const& CMarlAttListDecl::getNamespacePrefix() const {
  return isStale() ? *emptyAtom() : *namespacePrefix;
}

unsigned int CMarlAttListDecl::getType() const {
  return MarlNode::nodeAttListDecl;
}

// ---------------------------------------------------------------------------------------
// MarlAttListDecl

MARL_DEFINE_NODE_HANDLE(MarlAttListDecl, CMarlAttListDecl, idAttListDecl)

void MarlAttListDecl::setExternal(unsigned char external) {
  _impl()->external = external;
}

unsigned char MarlAttListDecl::isExternal() const {
  return _impl()->external;
}
