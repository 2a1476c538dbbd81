#ifndef MARL_ITERATOR_H
#define MARL_ITERATOR_H

#include "marl/filter.h"
#include "marl/node.h"

class CNodeIteratorImpl;
class CInlineIterator;
class MarlNamedNodeMap;
class MarlNamespaceContext;
class MarlNodeList;

// Hands out the nodes of a walk one by one. The walks made by a node run depth first, parents
// before children, from the node to its end mark: the node's next sibling, or its parent when
// it has none. The iterator holds the nodes it stands on, and follows the tree's links as they
// are at each step.
class MARL_API MarlNodeIterator {
  MARL_HANDLE_MEMBERS(MarlNodeIterator, CNodeIteratorImpl)

 public:
  // Starts the walk again from its first node.
  void reset();
  // The next node the filter takes; empty at the end of the walk, and from then on.
  MarlNode getNext();
  // Replaces the filter by `filter` itself, not a copy; empty for none.
  void setFilter(MarlNodeFilter const& filter);
  // The filter in use; empty when there is none.
  MarlNodeFilter getFilter() const;
};

// Stands on one node of a walk and answers the node operations for it, so that a loop over a
// tree needs no handle per step:
//   MarlInlineIterator it = node.createInlineIterator(0);
//   if (it) do { ... it.getName() ... } while (it.advance());
// A new inline iterator already stands on the first node. When it stands on no node, getters
// give the empty string or an empty handle, counters and kinds 0, and mutators rcNoNode.
class MARL_API MarlInlineIterator {
  MARL_HANDLE_MEMBERS(MarlInlineIterator, CInlineIterator)

 public:
  // Starts the walk again; the current node stays until the next advance brings the first one.
  void reset();
  // Replaces the filter of the walk; nothing happens for an inline iterator without a walk.
  void setFilter(MarlNodeFilter const& filter);
  // The filter of the walk; empty when there is none.
  MarlNodeFilter getFilter() const;
  // Steps to the next node and gives its kind; 0 at the end of the walk.
  unsigned int advance();
  // The node it stands on; empty at the end of the walk.
  MarlNode getCurrent() const;

  // The node operations, on the current node.
  std::wstring const& getName() const;             // empty string without a current node
  std::wstring const& getNamespacePrefix() const;  // empty string without a current node
  std::wstring const& getNamespaceURI() const;     // empty string without a current node
  std::wstring const& getValue() const;            // empty string without a current node
  void getValue(std::wstring& value) const;        // empties `value` without a current node
  unsigned int getType() const;                    // 0 without a current node
  unsigned int getGID() const;                     // 0 without a current node
  unsigned int getHeight() const;                  // 0 without a current node
  unsigned int getDepth() const;                   // 0 without a current node
  unsigned int numChildren() const;                // 0 without a current node
  // As on a node: 1 for an empty `ancestor`, else 0 without a current node.
  unsigned char hasAncestor(MarlNode const& ancestor) const;
  unsigned char isLeaf() const;                    // 0 without a current node
  unsigned char isRoot() const;                    // 0 without a current node
  MarlNode getParent() const;                      // empty without a current node
  MarlNode getFirstChild() const;                  // empty without a current node
  MarlNode getLastChild() const;                   // empty without a current node
  MarlNode getNext() const;                        // the next sibling; empty without one
  MarlNode getPrev() const;                        // empty without a current node
  MarlNode getRoot() const;                        // empty without a current node
  MarlDocument getOwnerDocument() const;           // empty without a current node
  MarlNamedNodeMap getAttributes() const;          // empty without a current node
  MarlNodeList getChildren() const;                // empty without a current node
  MarlNamespaceContext getNamespaceContext() const;  // empty without a current node
  MarlNode findFromGID(unsigned int gid, unsigned int depth) const;  // empty without one

  unsigned int setName(std::wstring const& name);               // rcNoNode without a node
  unsigned int setNamespacePrefix(std::wstring const& prefix);  // rcNoNode without a node
  unsigned int setNamespaceURI(std::wstring const& uri);        // rcNoNode without a node
  unsigned int setValue(std::wstring const& value);             // rcNoNode without a node
  unsigned int appendChild(MarlNode const& child, unsigned char fast = 0);  // rcNoNode too
  unsigned int insertChild(MarlNode const& child, MarlNode const& ref);     // rcNoNode too
  unsigned int replaceChild(MarlNode const& newChild, MarlNode const& oldChild);  // rcNoNode
  unsigned int removeChild(MarlNode const& child);              // rcNoNode without a node
  // Steps on, then detaches the node it stood on: the one safe way to remove during a walk.
  // Does nothing without a current node.
  void removeNode();
};

#endif
