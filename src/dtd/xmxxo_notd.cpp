#include "dtd/xmxxo_notd.h"

CMarlNotationDecl::CMarlNotationDecl(Atom notationName, std::wstring const& notationSystemId,
                                     std::wstring const& notationPublicId)
    : name(notationName), systemId(notationSystemId), publicId(notationPublicId), external(0) {}

// A stale source's atoms died with the cache they came from.
CMarlNotationDecl::CMarlNotationDecl(CMarlNotationDecl const& source, short depth)
    : CMarlNode(source, depth),
      name(source.isStale() ? unknownAtom() : source.name),
      systemId(source.systemId),
      publicId(source.publicId),
      external(source.external) {}

void* CMarlNotationDecl::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idNotationDecl, idNode});
}

unsigned int CMarlNotationDecl::_queryClass() const {
  return idNotationDecl;
}

unsigned int CMarlNotationDecl::setName(std::wstring const& text) {
  name = intern(text);
  return MarlNode::rcOK;
}

MarlNode CMarlNotationDecl::clone(int depth) const {
  return createObject<MarlNode, CMarlNotationDecl>(*this, static_cast<short>(depth));
}

// Unlike an external entity, a notation may name a public identifier alone.
void CMarlNotationDecl::render(MarlOStream const& out, unsigned char) const {
  if (!out || external) return;
  writeMarkup(out, L"<!NOTATION ");
  writeMarkup(out, getName());
  if (publicId.empty()) {
    writeMarkup(out, L" SYSTEM ");
    XMLOSManipQuoted(1).manipulate(out);
    writeMarkup(out, systemId);
  } else {
    writeMarkup(out, L" PUBLIC ");
    XMLOSManipQuoted(1).manipulate(out);
    writeMarkup(out, publicId);
    if (!systemId.empty()) {
      writeMarkup(out, L" ");
      XMLOSManipQuoted(1).manipulate(out);
      writeMarkup(out, systemId);
    }
  }
  writeMarkup(out, L">");
  XMLOSManipEndl().manipulate(out);
}

std::wstring const& CMarlNotationDecl::getName() const {
  return isStale() ? *unknownAtom() : *name;
}

unsigned int CMarlNotationDecl::getType() const {
  return MarlNode::nodeNotationDecl;
}

// ---------------------------------------------------------------------------------------
// MarlNotationDecl

MARL_DEFINE_NODE_HANDLE(MarlNotationDecl, CMarlNotationDecl, idNotationDecl)

std::wstring const& MarlNotationDecl::getSystemId() const {
  return _impl()->systemId;
}

std::wstring const& MarlNotationDecl::getPublicId() const {
  return _impl()->publicId;
}

void MarlNotationDecl::setExternal(unsigned char external) {
  _impl()->external = external;
}

unsigned char MarlNotationDecl::isExternal() const {
  return _impl()->external;
}
