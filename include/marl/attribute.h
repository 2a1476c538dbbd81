#ifndef MARL_ATTRIBUTE_H
#define MARL_ATTRIBUTE_H

#include "marl/node.h"

class CMarlAttribute;
class CMarlNamedNodeMap;
class MarlElement;
class MarlNodeIterator;
class MarlNodeFilter;

// An attribute of an element or of a parsed processing instruction. It is no child of its
// owner, but knows it.
class MARL_API MarlAttribute : public MarlNode {
  MARL_NODE_HANDLE_MEMBERS(MarlAttribute, CMarlAttribute)

 public:
  // 1 when the value was set explicitly, 0 for a default supplied by the document type.
  unsigned char specified() const;
  // The owning element; empty for an attribute without one or owned by a processing
  // instruction.
  MarlElement getOwnerElement() const;
};

// An ordered set of attributes, looked up by name and prefix or by name and namespace URI.
class MARL_API MarlNamedNodeMap {
  MARL_HANDLE_MEMBERS(MarlNamedNodeMap, CMarlNamedNodeMap)

 public:
  unsigned int getLength() const;
  // The entry at `index`; empty when the index is not below the length.
  MarlNode getItem(unsigned int index) const;
  // The first entry with that name and prefix; empty if none.
  MarlNode getNamedItem(std::wstring const& name, std::wstring const& prefix) const;
  // The first entry with that name and namespace URI; empty if none.
  MarlNode getNamedItemNS(std::wstring const& name, std::wstring const& uri) const;
  // Replaces the entry of the same name and prefix in place, or appends. rcOK.
  unsigned int setNamedItem(MarlNode const& node);
  // Replaces the entry of the same name and URI in place, or appends. rcOK.
  unsigned int setNamedItemNS(MarlNode const& node);
  // Removes the entry, or puts the document type's default in its place. rcNotFound if absent.
  unsigned int removeNamedItem(std::wstring const& name, std::wstring const& prefix);
  unsigned int removeNamedItemNS(std::wstring const& name, std::wstring const& uri);
  // Makes every entry forget its owner.
  void removeParent();

  // Walks over the entries, first to last or last to first, skipping those the filter
  // refuses; empty handles when memory runs out.
  MarlNodeIterator createIterator() const;
  MarlNodeIterator createIteratorFiltered(MarlNodeFilter const& filter) const;
  MarlNodeIterator createRevIterator() const;
  MarlNodeIterator createRevIteratorFiltered(MarlNodeFilter const& filter) const;
};

#endif
