#include "dom/xmxxo_nlis.h"

// ---------------------------------------------------------------------------------------
// CMarlNodeList

CMarlNodeList::CMarlNodeList(MarlNode const& listed) : cursorIndex(0), owner(listed) {}

MarlNodeList CMarlNodeList::over(MarlNode const& listed) {
  return createObject<MarlNodeList, CMarlNodeList>(listed);
}

void* CMarlNodeList::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idNodeList});
}

unsigned int CMarlNodeList::_queryClass() const {
  return idNodeList;
}

unsigned int CMarlNodeList::getLength() const {
  return owner ? owner._impl()->numChildren : 0;
}

// Only a cursor without parent makes the list count again from the first child. A cursor that
// moved under another parent walks on among its new siblings, and a child inserted before the
// cursor leaves `cursorIndex` behind: the list is a view, not a guard of the tree.
MarlNode CMarlNodeList::getItem(unsigned int index) {
  if (!owner) return MarlNode();
  CMarlNode* node = cursor._impl();
  if (node && node->parent) {
    while (node && cursorIndex < index) {
      node = node->next;
      ++cursorIndex;
    }
    while (node && cursorIndex > index) {
      node = node->prev._impl();
      --cursorIndex;
    }
  } else {
    cursorIndex = 0;
    node = owner._impl()->firstChild;
    while (node && cursorIndex < index) {
      node = node->next;
      ++cursorIndex;
    }
  }
  // The sibling is counted before the old cursor lets go of it.
  MarlNode reached(node);
  cursor = reached;
  return cursor;
}

MarlNodeIterator CMarlNodeList::createIteratorFiltered(MarlNodeFilter const& filter) const {
  MarlNodeList self(const_cast<CMarlNodeList*>(this));
  return createObject<MarlNodeIterator, CMarlNodeListIterator>(self, filter);
}

MarlNodeIterator CMarlNodeList::createRevIteratorFiltered(MarlNodeFilter const& filter) const {
  MarlNodeList self(const_cast<CMarlNodeList*>(this));
  return createObject<MarlNodeIterator, CMarlNodeListRevIterator>(self, filter);
}

// ---------------------------------------------------------------------------------------
// CMarlNodeListIterator, CMarlNodeListRevIterator

CMarlNodeListIterator::CMarlNodeListIterator(MarlNodeList const& walkedList,
                                             MarlNodeFilter const& walkFilter)
    : first(1), filter(privateCopy(walkFilter)), list(walkedList), index(0) {}

CMarlNodeListIterator::CMarlNodeListIterator(CMarlNodeListIterator const& source)
    : CNodeIteratorImpl(source),
      first(source.first),
      filter(source.filter),
      list(source.list),
      index(source.index) {}

CMarlNodeListIterator& CMarlNodeListIterator::operator=(CMarlNodeListIterator const& source) {
  first = source.first;
  filter = source.filter;
  list = source.list;
  index = source.index;
  return *this;
}

void CMarlNodeListIterator::reset() {
  first = 1;
}

MarlNode CMarlNodeListIterator::getNext() {
  return stepForward(*list._impl(), filter, first, index);
}

void CMarlNodeListIterator::setFilter(MarlNodeFilter const& newFilter) {
  filter = newFilter;
}

MarlNodeFilter CMarlNodeListIterator::getFilter() const {
  return filter;
}

CMarlNodeListRevIterator::CMarlNodeListRevIterator(MarlNodeList const& walkedList,
                                                   MarlNodeFilter const& walkFilter)
    : first(1), filter(privateCopy(walkFilter)), list(walkedList), index(0) {}

CMarlNodeListRevIterator::CMarlNodeListRevIterator(CMarlNodeListRevIterator const& source)
    : CNodeIteratorImpl(source),
      first(source.first),
      filter(source.filter),
      list(source.list),
      index(source.index) {}

CMarlNodeListRevIterator& CMarlNodeListRevIterator::operator=(
    CMarlNodeListRevIterator const& source) {
  first = source.first;
  filter = source.filter;
  list = source.list;
  index = source.index;
  return *this;
}

void CMarlNodeListRevIterator::reset() {
  first = 1;
}

MarlNode CMarlNodeListRevIterator::getNext() {
  return stepBackward(*list._impl(), filter, first, index);
}

void CMarlNodeListRevIterator::setFilter(MarlNodeFilter const& newFilter) {
  filter = newFilter;
}

MarlNodeFilter CMarlNodeListRevIterator::getFilter() const {
  return filter;
}

// ---------------------------------------------------------------------------------------
// MarlNodeList

MARL_DEFINE_HANDLE(MarlNodeList, CMarlNodeList, idNodeList)
MARL_DEFINE_HANDLE_DESTRUCTOR(MarlNodeList)

unsigned int MarlNodeList::getLength() const {
  return m_p->getLength();
}

MarlNode MarlNodeList::getItem(unsigned int index) {
  return m_p->getItem(index);
}

MarlNodeIterator MarlNodeList::createIterator() const {
  return m_p->createIteratorFiltered(MarlNodeFilter());
}

MarlNodeIterator MarlNodeList::createRevIterator() const {
  return m_p->createRevIteratorFiltered(MarlNodeFilter());
}

MarlNodeIterator MarlNodeList::createIteratorFiltered(MarlNodeFilter const& filter) const {
  return m_p->createIteratorFiltered(filter);
}

MarlNodeIterator MarlNodeList::createRevIteratorFiltered(MarlNodeFilter const& filter) const {
  return m_p->createRevIteratorFiltered(filter);
}
