#ifndef MARL_DOM_XMXXO_NMAP_H
#define MARL_DOM_XMXXO_NMAP_H

#include <vector>

#include "dom/xmxxo_node.h"
#include "marl/attribute.h"

// The attributes of an element or of a parsed processing instruction, in insertion order.
// Lookups walk the few entries comparing interned names by pointer.
class CMarlNamedNodeMap : public CUnknown, public AllocPolicyRollArea {
 public:
  using Entries = std::vector<MarlNode, tova_alloc<MarlNode>>;

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  unsigned int getLength() const { return static_cast<unsigned int>(entries.size()); }
  MarlNode getItem(unsigned int index) const;
  MarlNode getNamedItem(std::wstring const& name, std::wstring const& prefix) const;
  MarlNode getNamedItemNS(std::wstring const& name, std::wstring const& uri) const;
  unsigned int setNamedItem(MarlNode const& node);
  unsigned int setNamedItemNS(MarlNode const& node);
  unsigned int removeNamedItem(std::wstring const& name, std::wstring const& prefix);
  unsigned int removeNamedItemNS(std::wstring const& name, std::wstring const& uri);
  void removeParent();

  Entries entries;

 private:
  // Which second name part identifies an entry: its prefix or its namespace URI.
  using NamePart = std::wstring const& (CMarlNode::*)() const;

  // The index of the first entry with these atoms; the length when there is none.
  std::size_t indexOf(Atom name, Atom second, NamePart part) const;
  unsigned int set(MarlNode const& node, NamePart part);
  unsigned int remove(std::wstring const& name, std::wstring const& second, NamePart part);
};

#endif
