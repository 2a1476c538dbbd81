#ifndef MARL_LIST_H
#define MARL_LIST_H

#include "marl/filter.h"
#include "marl/iterator.h"
#include "marl/node.h"

class CMarlNodeList;
class CMarlNodeCollection;

// A live view of the children of one node. It remembers the last item it gave, so that
// stepping through the children in either direction costs one step per item. Changes to the
// tree show at once, but a child inserted before the remembered item shifts the positions
// without the list noticing.
class MARL_API MarlNodeList {
  MARL_HANDLE_MEMBERS(MarlNodeList, CMarlNodeList)

 public:
  // The number of children; 0 for a list over no node.
  unsigned int getLength() const;
  // The child at `index`; empty when there is none.
  MarlNode getItem(unsigned int index);

  // Walks over the children by index, first to last or last to first, skipping those the
  // filter refuses; empty handles when memory runs out.
  MarlNodeIterator createIterator() const;
  MarlNodeIterator createRevIterator() const;
  MarlNodeIterator createIteratorFiltered(MarlNodeFilter const& filter) const;
  MarlNodeIterator createRevIteratorFiltered(MarlNodeFilter const& filter) const;
};

// A sequence of nodes of its own, filled by the caller or by a lookup. It does not follow
// changes of the tree.
class MARL_API MarlNodeCollection {
  MARL_HANDLE_MEMBERS(MarlNodeCollection, CMarlNodeCollection)

 public:
  unsigned int getLength() const;
  // The node at `index`; empty when the index is not below the length.
  MarlNode getItem(unsigned int index) const;
  // rcBadArgument for an empty node; rcNoNode when memory runs out.
  unsigned int appendItem(MarlNode const& node);
  // Inserts before `index`, at the end for the length. rcBadArgument for an empty node or an
  // index above the length; rcNoNode when memory runs out.
  unsigned int insertItem(unsigned int index, MarlNode const& node);
  // Replaces the node at `index`, or appends for the length, an empty node too. rcBadArgument
  // for an index above the length; rcNoNode when memory runs out.
  unsigned int replaceItem(unsigned int index, MarlNode const& node);
  // The later nodes move up. rcBadArgument when the index is not below the length.
  unsigned int removeItem(unsigned int index);

  // Walks over the nodes, first to last or last to first, skipping those the filter refuses;
  // empty handles when memory runs out.
  MarlNodeIterator createIterator() const;
  MarlNodeIterator createRevIterator() const;
  MarlNodeIterator createIteratorFiltered(MarlNodeFilter const& filter) const;
  MarlNodeIterator createRevIteratorFiltered(MarlNodeFilter const& filter) const;
};

#endif
