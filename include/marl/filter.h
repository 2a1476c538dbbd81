#ifndef MARL_FILTER_H
#define MARL_FILTER_H

#include "marl/node.h"

class CMarlNodeFilter;
class CNodeFilterCombining;

// A predicate over nodes, made by the createFilter... operations of any node and composed
// into trees. Iterators, lists and lookups take one to skip the nodes it refuses.
class MARL_API MarlNodeFilter {
 public:
  // What a filter tests, as getType reports it.
  enum FilterType : unsigned int {
    filterAnd = 1,
    filterOr = 2,
    filterNot = 3,
    filterNodeType = 4,
    filterName = 5,
    filterNameNS = 6,
    filterAttribute = 7,
    filterAttributeNS = 8,
    filterParent = 9,
    filterAncestor = 10,
  };

  MarlNodeFilter() noexcept : m_p(nullptr) {}
  MarlNodeFilter(CMarlNodeFilter* p);
  explicit MarlNodeFilter(CUnknown* p);
  MarlNodeFilter(MarlNodeFilter const& other);
  MarlNodeFilter& operator=(MarlNodeFilter const& other);
  MarlNodeFilter& operator=(CMarlNodeFilter const* p);
  ~MarlNodeFilter();
  // Null for an empty handle: the one emptiness test.
  operator CUnknown*() const;
  // The implementation pointer, for the library's own use.
  CMarlNodeFilter* _impl() const noexcept { return m_p; }

  // One of FilterType; there is no "nothing" here, a filter always has its type.
  unsigned int getType() const;
  // A new filter with the same settings, sharing its member filters; empty when memory runs out.
  MarlNodeFilter clone() const;
  // 1 when the filter takes the node, 0 when it refuses it.
  unsigned char acceptNode(MarlNode const& node) const;

 protected:
  CMarlNodeFilter* m_p;
};

// An And or Or filter, which grows by addFilter.
class MARL_API MarlNodeFilterCombining : public MarlNodeFilter {
 public:
  MarlNodeFilterCombining() noexcept = default;
  // Counts the object twice: a filter taken over this way outlives its last handle by one
  // count. Kept for callers that pair it with a release of their own.
  MarlNodeFilterCombining(CNodeFilterCombining* p);
  explicit MarlNodeFilterCombining(CUnknown* p);
  // The guarded conversion: empty when the filter is not an And or an Or.
  MarlNodeFilterCombining(MarlNodeFilter const& filter);
  MarlNodeFilterCombining& operator=(CNodeFilterCombining const* p);
  CNodeFilterCombining* _impl() const noexcept;

  // Appends `filter` as the last member; an empty filter is ignored. Passes bad_alloc on when
  // the member list cannot grow.
  void addFilter(MarlNodeFilter const& filter);
};

#endif
