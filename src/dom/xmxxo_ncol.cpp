#include "dom/xmxxo_ncol.h"

#include <new>

// ---------------------------------------------------------------------------------------
// CMarlNodeCollection

void* CMarlNodeCollection::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idNodeCollection});
}

unsigned int CMarlNodeCollection::_queryClass() const {
  return idNodeCollection;
}

MarlNode CMarlNodeCollection::getItem(unsigned int index) const {
  return index < items.size() ? items[index] : MarlNode();
}

unsigned int CMarlNodeCollection::appendItem(MarlNode const& node) {
  if (!node) return MarlNode::rcBadArgument;
  try {
    items.push_back(node);
  } catch (std::bad_alloc const&) {
    return MarlNode::rcNoNode;
  }
  return MarlNode::rcOK;
}

// Refuses an empty node like appendItem, of which inserting at the length is the same.
unsigned int CMarlNodeCollection::insertItem(unsigned int index, MarlNode const& node) {
  if (!node || index > items.size()) return MarlNode::rcBadArgument;
  try {
    items.insert(items.begin() + index, node);
  } catch (std::bad_alloc const&) {
    return MarlNode::rcNoNode;
  }
  return MarlNode::rcOK;
}

// Unlike appendItem, it takes an empty node, also where it appends: the collection then
// holds an empty handle.
unsigned int CMarlNodeCollection::replaceItem(unsigned int index, MarlNode const& node) {
  if (index < items.size()) {
    items[index] = node;
    return MarlNode::rcOK;
  }
  if (index > items.size()) return MarlNode::rcBadArgument;
  try {
    items.push_back(node);
  } catch (std::bad_alloc const&) {
    return MarlNode::rcNoNode;
  }
  return MarlNode::rcOK;
}

unsigned int CMarlNodeCollection::removeItem(unsigned int index) {
  if (index >= items.size()) return MarlNode::rcBadArgument;
  items.erase(items.begin() + index);
  return MarlNode::rcOK;
}

MarlNodeIterator CMarlNodeCollection::createIteratorFiltered(MarlNodeFilter const& filter) const {
  MarlNodeCollection self(const_cast<CMarlNodeCollection*>(this));
  return createObject<MarlNodeIterator, CNodeCollectionIterator>(self, filter);
}

MarlNodeIterator CMarlNodeCollection::createRevIteratorFiltered(
    MarlNodeFilter const& filter) const {
  MarlNodeCollection self(const_cast<CMarlNodeCollection*>(this));
  return createObject<MarlNodeIterator, CNodeCollectionRevIterator>(self, filter);
}

// ---------------------------------------------------------------------------------------
// CNodeCollectionIterator, CNodeCollectionRevIterator

CNodeCollectionIterator::CNodeCollectionIterator(MarlNodeCollection const& walkedCollection,
                                                 MarlNodeFilter const& walkFilter)
    : first(1), filter(privateCopy(walkFilter)), collection(walkedCollection), index(0) {}

CNodeCollectionIterator::CNodeCollectionIterator(CNodeCollectionIterator const& source)
    : CNodeIteratorImpl(source),
      first(source.first),
      filter(source.filter),
      collection(source.collection),
      index(source.index) {}

CNodeCollectionIterator& CNodeCollectionIterator::operator=(
    CNodeCollectionIterator const& source) {
  first = source.first;
  filter = source.filter;
  collection = source.collection;
  index = source.index;
  return *this;
}

void CNodeCollectionIterator::reset() {
  first = 1;
}

MarlNode CNodeCollectionIterator::getNext() {
  return stepForward(*collection._impl(), filter, first, index);
}

void CNodeCollectionIterator::setFilter(MarlNodeFilter const& newFilter) {
  filter = newFilter;
}

MarlNodeFilter CNodeCollectionIterator::getFilter() const {
  return filter;
}

CNodeCollectionRevIterator::CNodeCollectionRevIterator(
    MarlNodeCollection const& walkedCollection, MarlNodeFilter const& walkFilter)
    : first(1), filter(privateCopy(walkFilter)), collection(walkedCollection), index(0) {}

CNodeCollectionRevIterator::CNodeCollectionRevIterator(CNodeCollectionRevIterator const& source)
    : CNodeIteratorImpl(source),
      first(source.first),
      filter(source.filter),
      collection(source.collection),
      index(source.index) {}

CNodeCollectionRevIterator& CNodeCollectionRevIterator::operator=(
    CNodeCollectionRevIterator const& source) {
  first = source.first;
  filter = source.filter;
  collection = source.collection;
  index = source.index;
  return *this;
}

void CNodeCollectionRevIterator::reset() {
  first = 1;
}

MarlNode CNodeCollectionRevIterator::getNext() {
  return stepBackward(*collection._impl(), filter, first, index);
}

void CNodeCollectionRevIterator::setFilter(MarlNodeFilter const& newFilter) {
  filter = newFilter;
}

MarlNodeFilter CNodeCollectionRevIterator::getFilter() const {
  return filter;
}

// ---------------------------------------------------------------------------------------
// MarlNodeCollection

MARL_DEFINE_HANDLE(MarlNodeCollection, CMarlNodeCollection, idNodeCollection)
MARL_DEFINE_HANDLE_DESTRUCTOR(MarlNodeCollection)

unsigned int MarlNodeCollection::getLength() const {
  return m_p->getLength();
}

MarlNode MarlNodeCollection::getItem(unsigned int index) const {
  return m_p->getItem(index);
}

unsigned int MarlNodeCollection::appendItem(MarlNode const& node) {
  return m_p->appendItem(node);
}

unsigned int MarlNodeCollection::insertItem(unsigned int index, MarlNode const& node) {
  return m_p->insertItem(index, node);
}

unsigned int MarlNodeCollection::replaceItem(unsigned int index, MarlNode const& node) {
  return m_p->replaceItem(index, node);
}

unsigned int MarlNodeCollection::removeItem(unsigned int index) {
  return m_p->removeItem(index);
}

MarlNodeIterator MarlNodeCollection::createIterator() const {
  return m_p->createIteratorFiltered(MarlNodeFilter());
}

MarlNodeIterator MarlNodeCollection::createRevIterator() const {
  return m_p->createRevIteratorFiltered(MarlNodeFilter());
}

MarlNodeIterator MarlNodeCollection::createIteratorFiltered(MarlNodeFilter const& filter) const {
  return m_p->createIteratorFiltered(filter);
}

MarlNodeIterator MarlNodeCollection::createRevIteratorFiltered(
    MarlNodeFilter const& filter) const {
  return m_p->createRevIteratorFiltered(filter);
}
