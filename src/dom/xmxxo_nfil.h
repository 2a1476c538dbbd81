#ifndef MARL_DOM_XMXXO_NFIL_H
#define MARL_DOM_XMXXO_NFIL_H

#include <string>
#include <vector>

#include "dom/xmxxo_node.h"
#include "marl/filter.h"

// A predicate over nodes. Filters keep no links into a tree: the node that made one takes no
// part in it.
class CMarlNodeFilter : public CUnknown, public AllocPolicyRollArea {
 public:
  using FilterType = MarlNodeFilter::FilterType;

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;
  ~CMarlNodeFilter() override;
  virtual unsigned int getType() const = 0;
  // A new filter of the same class and settings; empty when memory runs out.
  virtual MarlNodeFilter clone() const = 0;
  virtual unsigned char acceptNode(MarlNode const& node) const = 0;
};

// A filter over a list of members, evaluated in order.
class CNodeFilterCombining : public CMarlNodeFilter {
 public:
  using Members = std::vector<MarlNodeFilter, tova_alloc<MarlNodeFilter>>;

  CNodeFilterCombining() = default;
  // A copy shares the members, but not the list: adding to one leaves the other as it was.
  CNodeFilterCombining(CNodeFilterCombining const& source);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;
  // Appends the handle as given; an empty one is ignored. Throws bad_alloc when the list
  // cannot grow.
  virtual void addFilter(MarlNodeFilter const& filter);

  Members filters;
};

class CNodeFilterAnd : public CNodeFilterCombining {
 public:
  // Both filters in one And filter; empty when either is empty or memory runs out.
  static MarlNodeFilter combine(MarlNodeFilter const& a, MarlNodeFilter const& b);

  unsigned int getType() const override;
  MarlNodeFilter clone() const override;
  // Takes a node when no member refuses it: with no members, every node.
  unsigned char acceptNode(MarlNode const& node) const override;
};

class CNodeFilterOr : public CNodeFilterCombining {
 public:
  // Both filters in one Or filter; empty when either is empty or memory runs out.
  static MarlNodeFilter combine(MarlNodeFilter const& a, MarlNodeFilter const& b);

  unsigned int getType() const override;
  MarlNodeFilter clone() const override;
  // Takes a node when a member takes it: with no members, none.
  unsigned char acceptNode(MarlNode const& node) const override;
};

class CNodeFilterNot : public CMarlNodeFilter {
 public:
  explicit CNodeFilterNot(MarlNodeFilter const& negated);

  unsigned int getType() const override;
  MarlNodeFilter clone() const override;
  unsigned char acceptNode(MarlNode const& node) const override;

  MarlNodeFilter filter;
};

class CNodeFilterNodeType : public CMarlNodeFilter {
 public:
  explicit CNodeFilterNodeType(std::uint32_t kinds);

  unsigned int getType() const override;
  MarlNodeFilter clone() const override;
  unsigned char acceptNode(MarlNode const& node) const override;

  std::uint32_t mask;
};

class CNodeFilterName : public CMarlNodeFilter {
 public:
  CNodeFilterName(std::wstring const& wantedName, std::wstring const& wantedPrefix);

  unsigned int getType() const override;
  MarlNodeFilter clone() const override;
  unsigned char acceptNode(MarlNode const& node) const override;

  std::wstring name;
  std::wstring prefix;
};

class CNodeFilterNameNS : public CMarlNodeFilter {
 public:
  CNodeFilterNameNS(std::wstring const& wantedName, std::wstring const& wantedUri);

  unsigned int getType() const override;
  MarlNodeFilter clone() const override;
  unsigned char acceptNode(MarlNode const& node) const override;

  std::wstring name;
  std::wstring uri;
};

class CNodeFilterAttribute : public CMarlNodeFilter {
 public:
  CNodeFilterAttribute(std::wstring const& wantedName, std::wstring const& wantedPrefix,
                       std::wstring const& wantedValue);

  unsigned int getType() const override;
  MarlNodeFilter clone() const override;
  unsigned char acceptNode(MarlNode const& node) const override;

  std::wstring name;
  std::wstring prefix;
  std::wstring value;
};

class CNodeFilterAttributeNS : public CMarlNodeFilter {
 public:
  CNodeFilterAttributeNS(std::wstring const& wantedName, std::wstring const& wantedUri,
                         std::wstring const& wantedValue);

  unsigned int getType() const override;
  MarlNodeFilter clone() const override;
  unsigned char acceptNode(MarlNode const& node) const override;

  std::wstring name;
  std::wstring uri;
  std::wstring value;
};

class CNodeFilterParent : public CMarlNodeFilter {
 public:
  explicit CNodeFilterParent(MarlNodeFilter const& parentFilter);

  unsigned int getType() const override;
  MarlNodeFilter clone() const override;
  unsigned char acceptNode(MarlNode const& node) const override;

  MarlNodeFilter filter;
};

class CNodeFilterAncestor : public CMarlNodeFilter {
 public:
  explicit CNodeFilterAncestor(MarlNodeFilter const& ancestorFilter);

  unsigned int getType() const override;
  MarlNodeFilter clone() const override;
  unsigned char acceptNode(MarlNode const& node) const override;

  MarlNodeFilter filter;
};

// Makes a filter for a create operation: an empty handle when memory runs out.
template <class Impl, class... Args>
MarlNodeFilter createFilter(Args&&... args) {
  return createObject<MarlNodeFilter, Impl>(std::forward<Args>(args)...);
}

#endif
