#include "dtd/xmxxu_atdf.h"

#include "dom/xmxxo_attr.h"
#include "dom/xmxxo_elem.h"
#include "dom/xmxxo_nsd.h"
#include "marl/text.h"

namespace {

constexpr std::size_t c_listsSize = 53;

}  // namespace

std::uint32_t DefaultAttributeTable::list_hasher::operator()(list_key const& key) const {
  return calcStringHash(*key.elementName);
}

bool DefaultAttributeTable::list_equal::operator()(list_key const& a, list_key const& b) const {
  return *a.elementName == *b.elementName && *a.elementPrefix == *b.elementPrefix;
}

DefaultAttributeTable::DefaultAttributeTable() : shareCount(0), lists(c_listsSize) {}

// Neither flag is set here, so both has... queries answer false for every element; the
// parser's branch for a defaulted xml:space is thereby never taken, which is the behaviour
// documents rely on.
void DefaultAttributeTable::insert(std::wstring const& elementName,
                                   std::wstring const& elementPrefix,
                                   std::wstring const& attrName, std::wstring const& attrPrefix,
                                   std::wstring const& value) {
  list_key key{&elementName, &elementPrefix};
  list_info& info = lists.emplace(key, key, list_info()).second;
  info.entries.push_back(list_entry{&attrName, &attrPrefix, &value});
}

DefaultAttributeTable::list_info const* DefaultAttributeTable::find(
    std::wstring const& elementName, std::wstring const& elementPrefix) const {
  if (lists.empty()) return nullptr;
  auto const* found = lists.find(list_key{&elementName, &elementPrefix});
  return found ? &found->second : nullptr;
}

std::wstring const& DefaultAttributeTable::lookup(std::wstring const& elementName,
                                                  std::wstring const& elementPrefix,
                                                  std::wstring const& attrName,
                                                  std::wstring const& attrPrefix) const {
  CMarl& marl = CMarlBase::instance();
  list_info const* info = find(elementName, elementPrefix);
  if (!info) return *marl.emptyAtom;
  for (list_entry const& entry : info->entries)
    if (*entry.attrName == attrName && *entry.attrPrefix == attrPrefix) return *entry.value;
  return *marl.emptyAtom;
}

MarlAttribute DefaultAttributeTable::buildAttribute(std::wstring const& attrName,
                                                    std::wstring const& attrPrefix,
                                                    std::wstring const& value) const {
  CMarl& marl = CMarlBase::instance();
  Atom name = marl.intern(attrName);
  Atom prefix = marl.intern(attrPrefix);
  bool declaration = attrPrefix == xmlnsName || (attrName == xmlnsName && attrPrefix.empty());
  // A declaration keeps its URI in the uri field as well, like one the document creates.
  MarlAttribute attribute(declaration
                              ? new CMarlNamespaceDecl(name, prefix, marl.intern(value))
                              : new CMarlAttribute(name, prefix, marl.emptyAtom));
  attribute._impl()->assignValue(value);
  attribute._impl()->specified = 0;
  return attribute;
}

// A written attribute beats a default; of two defaults for one name the first is attached and
// the second finds the name present.
void DefaultAttributeTable::addDefaultAttributes(MarlElement& element) const {
  list_info const* info = find(element.getName(), element.getNamespacePrefix());
  if (!info) return;
  MarlNamedNodeMap attributes = element.getAttributes();
  if (!attributes) return;
  for (list_entry const& entry : info->entries) {
    if (attributes.getNamedItem(*entry.attrName, *entry.attrPrefix)) continue;
    element.setAttributeNode(buildAttribute(*entry.attrName, *entry.attrPrefix, *entry.value));
  }
}

MarlAttribute DefaultAttributeTable::createDefaultAttribute(std::wstring const& elementName,
                                                            std::wstring const& elementPrefix,
                                                            std::wstring const& attrName,
                                                            std::wstring const& attrPrefix) const {
  try {
    std::wstring const& value = lookup(elementName, elementPrefix, attrName, attrPrefix);
    if (value.empty()) return MarlAttribute();
    return buildAttribute(attrName, attrPrefix, value);
  } catch (std::bad_alloc const&) {
    return MarlAttribute();
  }
}

bool DefaultAttributeTable::hasXMLSpaceDefaultAttribute(std::wstring const& elementName,
                                                        std::wstring const& elementPrefix) const {
  list_info const* info = find(elementName, elementPrefix);
  return info && info->hasXMLSpaceDefault;
}

bool DefaultAttributeTable::hasNamespaceDefaultAttribute(std::wstring const& elementName,
                                                         std::wstring const& elementPrefix) const {
  list_info const* info = find(elementName, elementPrefix);
  return info && info->hasNamespaceDefault;
}
