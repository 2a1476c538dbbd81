#include "dtd/xmxxo_entr.h"

CMarlEntityRef::CMarlEntityRef(Atom referenceName)
    : name(referenceName), systemId(emptyAtom()), publicId(emptyAtom()) {}

// A stale source's atoms died with the cache they came from: the copy knows nothing of them.
CMarlEntityRef::CMarlEntityRef(CMarlEntityRef const& source, short depth)
    : CMarlNode(source, depth),
      name(source.isStale() ? unknownAtom() : source.name),
      systemId(source.isStale() ? unknownAtom() : source.systemId),
      publicId(source.isStale() ? unknownAtom() : source.publicId) {}

void* CMarlEntityRef::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idEntityRef, idNode});
}

unsigned int CMarlEntityRef::_queryClass() const {
  return idEntityRef;
}

unsigned int CMarlEntityRef::setName(std::wstring const& text) {
  name = intern(text);
  return MarlNode::rcOK;
}

MarlNode CMarlEntityRef::clone(int depth) const {
  return createObject<MarlNode, CMarlEntityRef>(*this, static_cast<short>(depth));
}

// An expanded reference holds its replacement as children; the reference alone is written, so
// that the text reads back as it was.
void CMarlEntityRef::render(MarlOStream const& out, unsigned char) const {
  if (!out) return;
  writeMarkup(out, L"&");
  writeMarkup(out, getName());
  writeMarkup(out, L";");
}

std::wstring const& CMarlEntityRef::getName() const {
  return isStale() ? *unknownAtom() : *name;
}

unsigned int CMarlEntityRef::getType() const {
  return MarlNode::nodeEntityRef;
}

std::wstring const& CMarlEntityRef::getPublicId() const {
  return isStale() ? *unknownAtom() : *publicId;
}

std::wstring const& CMarlEntityRef::getSystemId() const {
  return isStale() ? *unknownAtom() : *systemId;
}

// ---------------------------------------------------------------------------------------
// MarlEntityRef

MARL_DEFINE_NODE_HANDLE(MarlEntityRef, CMarlEntityRef, idEntityRef)

std::wstring const& MarlEntityRef::getPublicId() const {
  return _impl()->getPublicId();
}

std::wstring const& MarlEntityRef::getSystemId() const {
  return _impl()->getSystemId();
}

void MarlEntityRef::setPublicId(std::wstring const& publicId) {
  _impl()->setPublicId(publicId);
}

void MarlEntityRef::setSystemId(std::wstring const& systemId) {
  _impl()->setSystemId(systemId);
}
