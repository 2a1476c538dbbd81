#ifndef MARL_ELEMENT_H
#define MARL_ELEMENT_H

#include "marl/list.h"
#include "marl/node.h"

class CMarlElement;
class MarlAttribute;

// An element: name parts, attributes made on first use, namespace bindings shared with its
// descendants until one of them declares its own, and children.
class MARL_API MarlElement : public MarlNode {
  MARL_NODE_HANDLE_MEMBERS(MarlElement, CMarlElement)

 public:
  // The value of the attribute with that name and prefix (or URI); empty if there is none.
  std::wstring const& getAttribute(std::wstring const& name, std::wstring const& prefix) const;
  std::wstring const& getAttributeNS(std::wstring const& name, std::wstring const& uri) const;
  // The attribute node; empty if there is none.
  MarlAttribute getAttributeNode(std::wstring const& name, std::wstring const& prefix);
  MarlAttribute getAttributeNodeNS(std::wstring const& name, std::wstring const& uri);
  // Sets the value of an existing attribute or adds one. rcNoNode when memory runs out.
  unsigned int setAttribute(std::wstring const& name, std::wstring const& prefix,
                            std::wstring const& value);
  unsigned int setAttributeNS(std::wstring const& name, std::wstring const& prefix,
                              std::wstring const& uri, std::wstring const& value);
  // Adds the node, replacing one of the same name and prefix (or URI). rcBadArgument if empty.
  unsigned int setAttributeNode(MarlAttribute const& attribute);
  unsigned int setAttributeNodeNS(MarlAttribute const& attribute);
  // rcNotFound when there is no such attribute.
  unsigned int removeAttribute(std::wstring const& name, std::wstring const& prefix);
  unsigned int removeAttributeNS(std::wstring const& name, std::wstring const& uri);
  // Removes the attribute of the node's name and prefix (or URI). rcNotFound if absent.
  unsigned int removeAttributeNode(MarlAttribute const& attribute);
  unsigned int removeAttributeNodeNS(MarlAttribute const& attribute);

  // True if a direct child's kind is in the mask.
  unsigned char contains(unsigned int mask) const;
  // Joins adjacent text nodes, here and below.
  void normalize();
  // The text of the text and CDATA children, here and below, in document order.
  std::wstring const& getContentAsString() const;
  // Appends that text to `content`.
  void getContentAsString(std::wstring& content) const;
  // The line of the end tag as the parser saw it; 0 if unknown.
  unsigned int getEndTagLine() const;

  // Lookups below the element. Names are compared as they are, with the prefix, or with the
  // namespace URI in the NS forms. None reports anything, whatever the path: the finders give
  // an empty handle when nothing matches, and all give one when memory runs out.
  //
  // The element a path of steps separated by "/" leads to. A step "name" or "prefix:name"
  // takes the first child of that name and no other; ".." the parent, and above the top
  // element the path goes on from the document; "*" (children without prefix), "p:*", "*:x"
  // and "*:*" try each matching child in turn until the rest of the path succeeds. An empty
  // step ends the path: "a/" and "a//b" both lead to a. A leading "/" starts at the document,
  // whose first step names the root element. An element without children leads nowhere.
  MarlElement findFromPath(std::wstring const& path) const;
  // The same by namespace URI: a step is split at its last colon, and may be put in quotation
  // marks so that its URI can hold "/", as in  "urn:x/y:a"/b  (URI urn:x/y, name a, then b).
  // `reserved` is not read.
  MarlElement findFromPathNS(std::wstring const& path, std::wstring const& reserved) const;
  // The first element below this one in document order with that name and prefix (URI), to
  // `depth` levels: 1 the children, 0 all.
  MarlElement findFromName(std::wstring const& name, std::wstring const& prefix,
                           unsigned int depth) const;
  MarlElement findFromNameNS(std::wstring const& name, std::wstring const& uri,
                             unsigned int depth) const;
  // All of them in document order, never the element itself: a snapshot that does not follow
  // the tree, empty when nothing matches. `depth` counts as for createIterator, which makes 1
  // the children here too.
  MarlNodeCollection getElementsByTagName(std::wstring const& name, std::wstring const& prefix,
                                          unsigned int depth) const;
  MarlNodeCollection getElementsByTagNameNS(std::wstring const& name, std::wstring const& uri,
                                            unsigned int depth) const;
};

#endif
