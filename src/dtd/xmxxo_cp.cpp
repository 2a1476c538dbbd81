#include "dtd/xmxxo_cp.h"

#include "dom/xmxxo_nlis.h"

CMarlContentParticle::CMarlContentParticle(Atom particleName, Atom particlePrefix,
                                           Occurrence particleOccurrence,
                                           Grouping particleGrouping)
    : name(particleName),
      namespacePrefix(particlePrefix),
      occurrence(particleOccurrence),
      grouping(particleGrouping) {}

// A stale source's atoms died with the cache they came from.
CMarlContentParticle::CMarlContentParticle(CMarlContentParticle const& source, short depth)
    : CMarlNode(source, depth),
      name(source.isStale() ? unknownAtom() : source.name),
      namespacePrefix(source.isStale() ? emptyAtom() : source.namespacePrefix),
      occurrence(source.occurrence),
      grouping(source.grouping) {}

void* CMarlContentParticle::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idContentParticle, idNode});
}

unsigned int CMarlContentParticle::_queryClass() const {
  return idContentParticle;
}

unsigned int CMarlContentParticle::setName(std::wstring const& text) {
  name = intern(text);
  return MarlNode::rcOK;
}

unsigned int CMarlContentParticle::setNamespacePrefix(std::wstring const& text) {
  namespacePrefix = intern(text);
  return MarlNode::rcOK;
}

MarlNode CMarlContentParticle::clone(int depth) const {
  return createObject<MarlNode, CMarlContentParticle>(*this, static_cast<short>(depth));
}

void CMarlContentParticle::render(MarlOStream const& out, unsigned char deep) const {
  renderSubtree(out, deep);
}

// A particle writes its members whatever `deep` says: a group is nothing without them.
bool CMarlContentParticle::renderHead(MarlOStream const& out, unsigned char) const {
  if (!out) return false;
  if (!firstChild && !getName().empty()) {
    writeQualifiedName(out, getNamespacePrefix(), getName());
    renderOccurrence(out);
    return false;
  }
  writeMarkup(out, L"(");
  return true;
}

bool CMarlContentParticle::renderBeforeChild(MarlOStream const& out, CMarlNode const& child,
                                             bool) const {
  if (&child == firstChild) return true;
  if (grouping == MarlContentParticle::GROUP_SEQUENCE)
    writeMarkup(out, L", ");
  else
    writeMarkup(out, L" | ");
  return true;
}

void CMarlContentParticle::renderTail(MarlOStream const& out, bool) const {
  writeMarkup(out, L")");
  renderOccurrence(out);
}

void CMarlContentParticle::renderOccurrence(MarlOStream const& out) const {
  switch (occurrence) {
    case MarlContentParticle::OCC_ZERO_OR_MORE:
      writeMarkup(out, L"*");
      break;
    case MarlContentParticle::OCC_ONE_OR_MORE:
      writeMarkup(out, L"+");
      break;
    case MarlContentParticle::OCC_OPTIONAL:
      writeMarkup(out, L"?");
      break;
    default:
      break;
  }
}

std::wstring const& CMarlContentParticle::getName() const {
  return isStale() ? *unknownAtom() : *name;
}

std::wstring const& CMarlContentParticle::getNamespacePrefix() const {
  return isStale() ? *emptyAtom() : *namespacePrefix;
}

unsigned int CMarlContentParticle::getType() const {
  return MarlNode::nodeContentParticle;
}

// Through the virtual slot, so that the members are linked like any child.
void CMarlContentParticle::addContentParticle(MarlContentParticle const& particle) {
  appendChild(particle, 0);
}

// Through a list of its own, which counts from the first member: the particle keeps no cursor.
MarlContentParticle CMarlContentParticle::getContentParticle(unsigned int index) const {
  MarlNodeList members = CMarlNodeList::over(MarlNode(const_cast<CMarlContentParticle*>(this)));
  if (!members) return MarlContentParticle();
  return MarlContentParticle(members.getItem(index));
}

// ---------------------------------------------------------------------------------------
// MarlContentParticle

MARL_DEFINE_NODE_HANDLE(MarlContentParticle, CMarlContentParticle, idContentParticle)

MarlContentParticle::Occurrence MarlContentParticle::getOccurrence() const {
  return _impl()->occurrence;
}

void MarlContentParticle::setOccurrence(Occurrence occurrence) {
  _impl()->occurrence = occurrence;
}

MarlContentParticle::Grouping MarlContentParticle::getGrouping() const {
  return _impl()->grouping;
}

void MarlContentParticle::setGrouping(Grouping grouping) {
  _impl()->grouping = grouping;
}

unsigned int MarlContentParticle::numContentParticles() const {
  return _impl()->numContentParticles();
}

void MarlContentParticle::addContentParticle(MarlContentParticle const& particle) {
  _impl()->addContentParticle(particle);
}

MarlContentParticle MarlContentParticle::getContentParticle(unsigned int index) const {
  return _impl()->getContentParticle(index);
}
