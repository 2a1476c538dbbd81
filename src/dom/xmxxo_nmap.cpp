#include "dom/xmxxo_nmap.h"

#include "dom/xmxxo_attr.h"
#include "dom/xmxxo_doc.h"
#include "dom/xmxxo_elem.h"
#include "dom/xmxxo_nite.h"
#include "dtd/xmxxu_atdf.h"

void* CMarlNamedNodeMap::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idNamedNodeMap});
}

unsigned int CMarlNamedNodeMap::_queryClass() const {
  return idNamedNodeMap;
}

namespace {
constexpr std::size_t c_initialEntries = 4;
}  // namespace

std::size_t CMarlNamedNodeMap::indexOf(Atom name, Atom second, NamePart part) const {
  std::size_t index = 0;
  for (; index < entries.size(); ++index) {
    CMarlNode* node = entries[index]._impl();
    if (&node->getName() == name && &(node->*part)() == second) break;
  }
  return index;
}

MarlNode CMarlNamedNodeMap::getItem(unsigned int index) const {
  return index < entries.size() ? entries[index] : MarlNode();
}

MarlNode CMarlNamedNodeMap::getNamedItem(std::wstring const& name,
                                         std::wstring const& prefix) const {
  CMarl& marl = CMarlBase::instance();
  return getItem(static_cast<unsigned int>(
      indexOf(marl.intern(name), marl.intern(prefix), &CMarlNode::getNamespacePrefix)));
}

MarlNode CMarlNamedNodeMap::getNamedItemNS(std::wstring const& name, std::wstring const& uri) const {
  CMarl& marl = CMarlBase::instance();
  return getItem(static_cast<unsigned int>(
      indexOf(marl.intern(name), marl.intern(uri), &CMarlNode::getNamespaceURI)));
}

unsigned int CMarlNamedNodeMap::set(MarlNode const& node, NamePart part) {
  CMarlNode* item = node._impl();
  if (!item) return MarlNode::rcBadArgument;
  std::size_t index = indexOf(&item->getName(), &(item->*part)(), part);
  if (index < entries.size()) {
    depart(entries[index]);
    entries[index] = node;  // the new node takes the old one's place
  } else {
    // Room for a few at the first entry: most elements carry several attributes, and one
    // block spares the growth steps of one at a time.
    if (entries.empty()) entries.reserve(c_initialEntries);
    entries.push_back(node);
  }
  return MarlNode::rcOK;
}

unsigned int CMarlNamedNodeMap::setNamedItem(MarlNode const& node) {
  return set(node, &CMarlNode::getNamespacePrefix);
}

unsigned int CMarlNamedNodeMap::setNamedItemNS(MarlNode const& node) {
  return set(node, &CMarlNode::getNamespaceURI);
}

unsigned int CMarlNamedNodeMap::remove(std::wstring const& name, std::wstring const& second,
                                       NamePart part) {
  CMarl& marl = CMarlBase::instance();
  Atom nameAtom = marl.intern(name);
  Atom secondAtom = marl.intern(second);
  if (entries.empty()) return MarlNode::rcNotFound;
  std::size_t index = indexOf(nameAtom, secondAtom, part);
  if (index == entries.size()) return MarlNode::rcNotFound;
  MarlAttribute fallback = defaultFor(entries[index], name, second);
  depart(entries[index]);
  if (fallback)
    entries[index] = fallback;
  else
    entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(index));
  return MarlNode::rcOK;
}

// The map is keyed by the second name part, so that part stands in for the prefix in the
// lookup: a removal by namespace URI finds a default only where the URI equals the prefix
// the default was declared with, as for an attribute without either.
MarlAttribute CMarlNamedNodeMap::defaultFor(MarlNode const& entry, std::wstring const& name,
                                            std::wstring const& second) const {
  if (entry.getType() != MarlNode::nodeAttribute) return MarlAttribute();
  MarlElement owner = static_cast<CMarlAttribute*>(entry._impl())->getOwnerElement();
  if (!owner || !owner._impl()->ownerDocument) return MarlAttribute();
  DefaultAttributeTable const* table = owner._impl()->ownerDocument->getDefaultAttributeTable();
  if (!table) return MarlAttribute();
  MarlAttribute fallback =
      table->createDefaultAttribute(owner.getName(), owner.getNamespacePrefix(), name, second);
  // The default comes back to the element it was removed from.
  if (fallback) fallback._impl()->parent = owner._impl();
  return fallback;
}

unsigned int CMarlNamedNodeMap::removeNamedItem(std::wstring const& name,
                                                std::wstring const& prefix) {
  return remove(name, prefix, &CMarlNode::getNamespacePrefix);
}

unsigned int CMarlNamedNodeMap::removeNamedItemNS(std::wstring const& name,
                                                  std::wstring const& uri) {
  return remove(name, uri, &CMarlNode::getNamespaceURI);
}

MarlNodeIterator CMarlNamedNodeMap::createIteratorFiltered(MarlNodeFilter const& filter) const {
  MarlNamedNodeMap self(const_cast<CMarlNamedNodeMap*>(this));
  return createObject<MarlNodeIterator, CNodeMapIterator>(self, filter);
}

MarlNodeIterator CMarlNamedNodeMap::createRevIteratorFiltered(MarlNodeFilter const& filter) const {
  MarlNamedNodeMap self(const_cast<CMarlNamedNodeMap*>(this));
  return createObject<MarlNodeIterator, CNodeMapRevIterator>(self, filter);
}

void CMarlNamedNodeMap::depart(MarlNode const& entry) {
  CMarlNode* node = entry._impl();
  // Held by the map slot alone, the entry dies with it and needs no word.
  if (node->getRefCount() <= 1 || !node->parent) return;
  for (Departed const& known : departed)
    if (known.node._impl() == node) return;
  try {
    departed.push_back(Departed{entry, node->parent});
  } catch (std::bad_alloc const&) {
    // Without room to remember it, the entry forgets its owner now rather than later.
    node->parent = nullptr;
  }
}

void CMarlNamedNodeMap::removeParent() {
  for (MarlNode& entry : entries) entry._impl()->parent = nullptr;
  for (Departed& known : departed)
    if (known.node._impl()->parent == known.owner) known.node._impl()->parent = nullptr;
  departed.clear();
}

// ---------------------------------------------------------------------------------------
// MarlNamedNodeMap

MARL_DEFINE_HANDLE(MarlNamedNodeMap, CMarlNamedNodeMap, idNamedNodeMap)
MARL_DEFINE_HANDLE_DESTRUCTOR(MarlNamedNodeMap)

unsigned int MarlNamedNodeMap::getLength() const {
  return m_p->getLength();
}

MarlNode MarlNamedNodeMap::getItem(unsigned int index) const {
  return m_p->getItem(index);
}

MarlNode MarlNamedNodeMap::getNamedItem(std::wstring const& name, std::wstring const& prefix) const {
  return m_p->getNamedItem(name, prefix);
}

MarlNode MarlNamedNodeMap::getNamedItemNS(std::wstring const& name, std::wstring const& uri) const {
  return m_p->getNamedItemNS(name, uri);
}

unsigned int MarlNamedNodeMap::setNamedItem(MarlNode const& node) {
  return m_p->setNamedItem(node);
}

unsigned int MarlNamedNodeMap::setNamedItemNS(MarlNode const& node) {
  return m_p->setNamedItemNS(node);
}

unsigned int MarlNamedNodeMap::removeNamedItem(std::wstring const& name, std::wstring const& prefix) {
  return m_p->removeNamedItem(name, prefix);
}

unsigned int MarlNamedNodeMap::removeNamedItemNS(std::wstring const& name, std::wstring const& uri) {
  return m_p->removeNamedItemNS(name, uri);
}

void MarlNamedNodeMap::removeParent() {
  m_p->removeParent();
}

MarlNodeIterator MarlNamedNodeMap::createIterator() const {
  return m_p->createIteratorFiltered(MarlNodeFilter());
}

MarlNodeIterator MarlNamedNodeMap::createIteratorFiltered(MarlNodeFilter const& filter) const {
  return m_p->createIteratorFiltered(filter);
}

MarlNodeIterator MarlNamedNodeMap::createRevIterator() const {
  return m_p->createRevIteratorFiltered(MarlNodeFilter());
}

MarlNodeIterator MarlNamedNodeMap::createRevIteratorFiltered(MarlNodeFilter const& filter) const {
  return m_p->createRevIteratorFiltered(filter);
}
