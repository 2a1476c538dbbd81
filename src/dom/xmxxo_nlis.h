#ifndef MARL_DOM_XMXXO_NLIS_H
#define MARL_DOM_XMXXO_NLIS_H

#include <cstdint>

#include "dom/xmxxo_nite.h"
#include "marl/list.h"

// A live view of the children of `owner`. `cursor` is the child last handed out and
// `cursorIndex` its position, so that stepping through the children in either direction walks
// one sibling link per item instead of counting from the first child each time.
class CMarlNodeList : public CUnknown, public AllocPolicyRollArea {
 public:
  explicit CMarlNodeList(MarlNode const& listed);

  // A new list over `listed`; empty when memory runs out.
  static MarlNodeList over(MarlNode const& listed);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  unsigned int getLength() const;
  MarlNode getItem(unsigned int index);
  // Walks over the children; empty handles when memory runs out.
  MarlNodeIterator createIteratorFiltered(MarlNodeFilter const& filter) const;
  MarlNodeIterator createRevIteratorFiltered(MarlNodeFilter const& filter) const;

  std::uint32_t cursorIndex;
  MarlNode cursor;
  MarlNode owner;
};

// The children of a list by index, first to last.
class CMarlNodeListIterator : public CNodeIteratorImpl {
 public:
  // Keeps a clone of a non-empty filter; bad_alloc when it cannot be made.
  CMarlNodeListIterator(MarlNodeList const& walkedList, MarlNodeFilter const& walkFilter);
  CMarlNodeListIterator(CMarlNodeListIterator const& source);
  CMarlNodeListIterator& operator=(CMarlNodeListIterator const& source);

  void reset() override;
  MarlNode getNext() override;
  void setFilter(MarlNodeFilter const& newFilter) override;
  MarlNodeFilter getFilter() const override;

  std::uint8_t first;
  MarlNodeFilter filter;
  MarlNodeList list;
  std::uint32_t index;
};

// The children of a list by index, last to first.
class CMarlNodeListRevIterator : public CNodeIteratorImpl {
 public:
  CMarlNodeListRevIterator(MarlNodeList const& walkedList, MarlNodeFilter const& walkFilter);
  CMarlNodeListRevIterator(CMarlNodeListRevIterator const& source);
  CMarlNodeListRevIterator& operator=(CMarlNodeListRevIterator const& source);

  void reset() override;
  MarlNode getNext() override;
  void setFilter(MarlNodeFilter const& newFilter) override;
  MarlNodeFilter getFilter() const override;

  std::uint8_t first;
  MarlNodeFilter filter;
  MarlNodeList list;
  std::int32_t index;
};

#endif
