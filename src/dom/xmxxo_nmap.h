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
  // Walks over the entries; empty handles when memory runs out.
  MarlNodeIterator createIteratorFiltered(MarlNodeFilter const& filter) const;
  MarlNodeIterator createRevIteratorFiltered(MarlNodeFilter const& filter) const;

  Entries entries;

 private:
  // An entry that left the map while someone else held it. It keeps naming its owner, as a
  // removed attribute still answers its element; the map keeps it so that it can tell it when
  // the owner goes.
  struct Departed {
    MarlNode node;
    CMarlNode* owner;
  };

  void depart(MarlNode const& entry);

  // Which second name part identifies an entry: its prefix or its namespace URI.
  using NamePart = std::wstring const& (CMarlNode::*)() const;

  // The index of the first entry with these atoms; the length when there is none.
  std::size_t indexOf(Atom name, Atom second, NamePart part) const;
  unsigned int set(MarlNode const& node, NamePart part);
  unsigned int remove(std::wstring const& name, std::wstring const& second, NamePart part);
  // The document type's default that takes the place of a removed attribute; empty when
  // there is none.
  MarlAttribute defaultFor(MarlNode const& entry, std::wstring const& name,
                           std::wstring const& second) const;

  std::vector<Departed, tova_alloc<Departed>> departed;
};

#endif
