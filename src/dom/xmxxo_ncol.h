#ifndef MARL_DOM_XMXXO_NCOL_H
#define MARL_DOM_XMXXO_NCOL_H

#include <cstdint>
#include <vector>

#include "dom/xmxxo_nite.h"
#include "marl/list.h"

// A sequence of node handles of its own: a snapshot that does not follow the tree.
class CMarlNodeCollection : public CUnknown, public AllocPolicyRollArea {
 public:
  using Items = std::vector<MarlNode, tova_alloc<MarlNode>>;

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  unsigned int getLength() const { return static_cast<unsigned int>(items.size()); }
  MarlNode getItem(unsigned int index) const;
  // rcNoNode when the vector cannot grow, which leaves the items as they were.
  unsigned int appendItem(MarlNode const& node);
  unsigned int insertItem(unsigned int index, MarlNode const& node);
  unsigned int replaceItem(unsigned int index, MarlNode const& node);
  unsigned int removeItem(unsigned int index);
  // Walks over the items; empty handles when memory runs out.
  MarlNodeIterator createIteratorFiltered(MarlNodeFilter const& filter) const;
  MarlNodeIterator createRevIteratorFiltered(MarlNodeFilter const& filter) const;

  Items items;
};

// The items of a collection, first to last.
class CNodeCollectionIterator : public CNodeIteratorImpl {
 public:
  // Keeps a clone of a non-empty filter; bad_alloc when it cannot be made.
  CNodeCollectionIterator(MarlNodeCollection const& walkedCollection,
                          MarlNodeFilter const& walkFilter);
  CNodeCollectionIterator(CNodeCollectionIterator const& source);
  CNodeCollectionIterator& operator=(CNodeCollectionIterator const& source);

  void reset() override;
  MarlNode getNext() override;
  void setFilter(MarlNodeFilter const& newFilter) override;
  MarlNodeFilter getFilter() const override;

  std::uint8_t first;
  MarlNodeFilter filter;
  MarlNodeCollection collection;
  std::uint32_t index;
};

// The items of a collection, last to first.
class CNodeCollectionRevIterator : public CNodeIteratorImpl {
 public:
  CNodeCollectionRevIterator(MarlNodeCollection const& walkedCollection,
                             MarlNodeFilter const& walkFilter);
  CNodeCollectionRevIterator(CNodeCollectionRevIterator const& source);
  CNodeCollectionRevIterator& operator=(CNodeCollectionRevIterator const& source);

  void reset() override;
  MarlNode getNext() override;
  void setFilter(MarlNodeFilter const& newFilter) override;
  MarlNodeFilter getFilter() const override;

  std::uint8_t first;
  MarlNodeFilter filter;
  MarlNodeCollection collection;
  std::int32_t index;
};

#endif
