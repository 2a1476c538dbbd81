#ifndef MARL_DTD_XMXXU_ATDF_H
#define MARL_DTD_XMXXU_ATDF_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "kernel/xmxxu_allo.h"
#include "kernel/xmxxu_hash.h"
#include "marl/attribute.h"
#include "marl/element.h"

// The attribute defaults of the attribute list declarations, by element. Elements read it the
// first time their attributes are asked for, and maps read it when a defaulted attribute is
// removed. Document types and their clones share one table; the last one deletes it.
//
// The table keeps pointers to the strings it is given, which must outlive it: atoms, which
// live as long as any document type does.
class DefaultAttributeTable : public AllocPolicyRollArea {
 public:
  struct list_key {
    std::wstring const* elementName;
    std::wstring const* elementPrefix;
  };
  struct list_hasher {
    std::uint32_t operator()(list_key const& key) const;
  };
  struct list_equal {
    bool operator()(list_key const& a, list_key const& b) const;
  };
  struct list_entry {
    std::wstring const* attrName;
    std::wstring const* attrPrefix;
    std::wstring const* value;
  };
  struct list_info {
    bool hasNamespaceDefault = false;
    bool hasXMLSpaceDefault = false;
    std::vector<list_entry, tova_alloc<list_entry>> entries;
  };

  DefaultAttributeTable();

  void insert(std::wstring const& elementName, std::wstring const& elementPrefix,
              std::wstring const& attrName, std::wstring const& attrPrefix,
              std::wstring const& value);
  // The first default of that attribute; the empty atom when there is none.
  std::wstring const& lookup(std::wstring const& elementName, std::wstring const& elementPrefix,
                             std::wstring const& attrName, std::wstring const& attrPrefix) const;
  // Gives the element every default it lacks, marked as not specified.
  void addDefaultAttributes(MarlElement& element) const;
  // A new, unattached attribute for that default; empty when there is none, when its value
  // is empty or when memory runs out.
  MarlAttribute createDefaultAttribute(std::wstring const& elementName,
                                       std::wstring const& elementPrefix,
                                       std::wstring const& attrName,
                                       std::wstring const& attrPrefix) const;
  bool hasXMLSpaceDefaultAttribute(std::wstring const& elementName,
                                   std::wstring const& elementPrefix) const;
  bool hasNamespaceDefaultAttribute(std::wstring const& elementName,
                                    std::wstring const& elementPrefix) const;

  std::uint32_t shareCount;

 private:
  struct list_traits {
    using Key = list_key;
    static Key const& key(std::pair<list_key, list_info> const& entry) { return entry.first; }
    static std::uint32_t hash(Key const& key) { return list_hasher()(key); }
    static bool equal(Key const& a, Key const& b) { return list_equal()(a, b); }
  };

  list_info const* find(std::wstring const& elementName, std::wstring const& elementPrefix) const;
  // The attribute for a default: a namespace declaration for "xmlns" and "xmlns:p", a plain
  // attribute otherwise, in both cases not specified. Throws bad_alloc.
  MarlAttribute buildAttribute(std::wstring const& attrName, std::wstring const& attrPrefix,
                               std::wstring const& value) const;

 public:
  CHashTable<std::pair<list_key, list_info>, list_traits> lists;
  std::wstring const xmlnsName{L"xmlns"};
  std::wstring const spaceName{L"space"};
  std::wstring const xmlSpaceName{L"space"};
  std::wstring const noPrefix;
};

#endif
