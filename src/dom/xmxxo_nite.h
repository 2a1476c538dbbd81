#ifndef MARL_DOM_XMXXO_NITE_H
#define MARL_DOM_XMXXO_NITE_H

#include <cstdint>

#include "dom/xmxxo_node.h"
#include "marl/attribute.h"
#include "marl/filter.h"
#include "marl/iterator.h"

// The clone an iterator keeps of its caller's filter; none for none. Throws bad_alloc.
MarlNodeFilter privateCopy(MarlNodeFilter const& filter);

// The root of all iterators: over trees, maps, lists and collections.
class CNodeIteratorImpl : public CUnknown, public AllocPolicyRollArea {
 public:
  CNodeIteratorImpl() = default;
  // A copy is a new object: it starts uncounted, whatever the source's count.
  CNodeIteratorImpl(CNodeIteratorImpl const&);
  CNodeIteratorImpl& operator=(CNodeIteratorImpl const&) { return *this; }

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;
  ~CNodeIteratorImpl() override;
  virtual void reset() = 0;
  virtual MarlNode getNext() = 0;
  virtual void setFilter(MarlNodeFilter const& filter) = 0;
  virtual MarlNodeFilter getFilter() const = 0;
};

// A walk over the links of a tree, from `start` up to the stop mark `end`, which is not handed
// out. Subclasses say how one step goes.
class CNodeIteratorBase : public CNodeIteratorImpl {
 public:
  // Keeps a clone of a non-empty filter, so that the caller's filter may change later without
  // changing the walk; bad_alloc when the clone cannot be made.
  CNodeIteratorBase(MarlNode const& walkStart, MarlNode const& walkEnd,
                    MarlNodeFilter const& walkFilter);
  CNodeIteratorBase(CNodeIteratorBase const& source);
  CNodeIteratorBase& operator=(CNodeIteratorBase const& source);

  // The stop mark of a walk from `node`: its next sibling, or else its parent, maybe none.
  static MarlNode endMarkOf(CMarlNode* node);

  void reset() override;
  MarlNode getNext() override;
  void setFilter(MarlNodeFilter const& newFilter) override;
  MarlNodeFilter getFilter() const override;
  // Moves `current` one step.
  virtual void advance() = 0;

  std::uint8_t first;
  MarlNodeFilter filter;
  MarlNode current;
  MarlNode start;
  MarlNode end;
};

// How the depth-first walks took their last step.
enum DepthFirstMove : std::uint32_t {
  moveDown = 0,  // also: not moved yet
  moveSibling = 1,
  moveUp = 2,
};

// Parents before children, first child first.
class CNodeIteratorDFS : public CNodeIteratorBase {
 public:
  // `depth` limits the levels below `start` (1: start and its children); 0 means no limit.
  CNodeIteratorDFS(MarlNode const& walkStart, MarlNode const& walkEnd, unsigned int depth,
                   MarlNodeFilter const& walkFilter);
  CNodeIteratorDFS(CNodeIteratorDFS const& source);
  CNodeIteratorDFS& operator=(CNodeIteratorDFS const& source);

  // The walk from `node` to its end mark. Throws bad_alloc.
  static MarlNodeIterator from(CMarlNode* node, unsigned int depth, MarlNodeFilter const& filter);

  void reset() override;
  void advance() override;

  std::uint32_t maxDepth;
  std::uint32_t curDepth;
  std::uint32_t lastMove;
};

// The mirror of the depth-first walk: parents before children, last child first. It is not
// the forward order read backwards.
class CNodeRevIteratorDFS : public CNodeIteratorBase {
 public:
  CNodeRevIteratorDFS(MarlNode const& walkStart, MarlNode const& walkEnd, unsigned int depth,
                      MarlNodeFilter const& walkFilter);
  CNodeRevIteratorDFS(CNodeRevIteratorDFS const& source);
  CNodeRevIteratorDFS& operator=(CNodeRevIteratorDFS const& source);

  // The walk from `node` to its end mark, which it does not meet when `node` has a next
  // sibling: it then runs on until the climb runs out of parents. Throws bad_alloc.
  static MarlNodeIterator from(CMarlNode* node, unsigned int depth, MarlNodeFilter const& filter);

  void reset() override;
  void advance() override;

  std::uint32_t maxDepth;
  std::uint32_t curDepth;
  std::uint32_t lastMove;
};

// Along the following siblings of `start`.
class CMarlNodeIterator : public CNodeIteratorBase {
 public:
  using CNodeIteratorBase::CNodeIteratorBase;
  void advance() override;
};

// Along the preceding siblings of `start`.
class CNodeRevIterator : public CNodeIteratorBase {
 public:
  using CNodeIteratorBase::CNodeIteratorBase;
  void advance() override;
};

// The entries of an attribute map, first to last. `index` is the entry to look at next.
class CNodeMapIterator : public CNodeIteratorImpl {
 public:
  // Keeps a clone of a non-empty filter; bad_alloc when it cannot be made.
  CNodeMapIterator(MarlNamedNodeMap const& walkedMap, MarlNodeFilter const& walkFilter);
  CNodeMapIterator(CNodeMapIterator const& source);
  CNodeMapIterator& operator=(CNodeMapIterator const& source);

  void reset() override;
  MarlNode getNext() override;
  void setFilter(MarlNodeFilter const& newFilter) override;
  MarlNodeFilter getFilter() const override;

  MarlNamedNodeMap map;
  std::int32_t index;
  MarlNodeFilter filter;
};

// The entries of an attribute map, last to first, as they were when the walk began.
class CNodeMapRevIterator : public CNodeIteratorImpl {
 public:
  CNodeMapRevIterator(MarlNamedNodeMap const& walkedMap, MarlNodeFilter const& walkFilter);
  CNodeMapRevIterator(CNodeMapRevIterator const& source);
  CNodeMapRevIterator& operator=(CNodeMapRevIterator const& source);

  void reset() override;
  MarlNode getNext() override;
  void setFilter(MarlNodeFilter const& newFilter) override;
  MarlNodeFilter getFilter() const override;

  MarlNamedNodeMap map;
  std::int32_t index;
  MarlNodeFilter filter;
};

// The steps of the walks over lists and collections, by index; `Sequence` answers getLength
// and getItem. The forward walk counts up from the first item and keeps counting past the end.
template <class Sequence>
MarlNode stepForward(Sequence& items, MarlNodeFilter const& filter, std::uint8_t& first,
                     std::uint32_t& index) {
  if (first) {
    index = 0;
    first = 0;
  } else {
    ++index;
  }
  std::uint32_t length = items.getLength();
  if (filter)
    while (index < length && !filter.acceptNode(items.getItem(index))) ++index;
  return index < length ? items.getItem(index) : MarlNode();
}

// The reverse walk counts down from the last item and ends below 0; it stops counting there,
// since every index below 0 gives the same empty answer.
template <class Sequence>
MarlNode stepBackward(Sequence& items, MarlNodeFilter const& filter, std::uint8_t& first,
                      std::int32_t& index) {
  if (first) {
    index = static_cast<std::int32_t>(items.getLength()) - 1;
    first = 0;
  } else if (index >= 0) {
    --index;
  }
  if (filter)
    while (index >= 0 && !filter.acceptNode(items.getItem(static_cast<unsigned>(index))))
      --index;
  return index >= 0 ? items.getItem(static_cast<unsigned>(index)) : MarlNode();
}

// Stands on the current node of a walk. It serves the node iterator's interface too, because
// it answers that identifier: seen so, each getNext is an advance that gives the new node.
class CInlineIterator : public CNodeIteratorImpl {
 public:
  // Stands on the walk's first node at once.
  explicit CInlineIterator(MarlNodeIterator const& walk);
  CInlineIterator(CInlineIterator const& source);
  CInlineIterator& operator=(CInlineIterator const& source);

  // An inline iterator over `walk`; empty when `walk` is or when memory runs out.
  static MarlInlineIterator over(MarlNodeIterator const& walk);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;
  // Resets the walk only: `current` stays until the next advance brings the first node again.
  void reset() override;
  MarlNode getNext() override;
  void setFilter(MarlNodeFilter const& newFilter) override;
  MarlNodeFilter getFilter() const override;

  // Steps the walk: the kind of the new current node, 0 at the end.
  unsigned int advance();
  // Steps on before it detaches the node it stood on, so that the walk never stands on a
  // removed node.
  void removeNode();

  MarlNodeIterator iterator;
  MarlNode current;
};

// Makes every node a walk hands out belong to `document` (null: to none).
void setOwnerAlong(MarlNodeIterator const& walk, CMarlDocument* document);

#endif
