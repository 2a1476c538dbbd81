#ifndef MARL_ELEMENT_H
#define MARL_ELEMENT_H

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
};

#endif
