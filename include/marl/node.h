#ifndef MARL_NODE_H
#define MARL_NODE_H

#include "marl/handle.h"

class CMarlNode;
class MarlDocument;
class MarlInlineIterator;
class MarlNamedNodeMap;
class MarlNamespaceContext;
class MarlNodeFilter;
class MarlNodeIterator;
class MarlNodeList;
class MarlOStream;

// A node of a tree. A parent keeps its children alive, each child its earlier siblings; no
// node keeps its parent or document alive, so a handle on a node keeps that node, its earlier
// siblings and all their descendants, but not its parent.
class MARL_API MarlNode {
 public:
  // The kind of a node: one bit each, so that kinds combine into masks.
  enum NodeType : unsigned int {
    nodeDocument = 1,
    nodeFragment = 2,
    nodeElement = 4,
    nodeAttribute = 8,
    nodeText = 16,
    nodeCDATA = 32,
    nodeEntityRef = 64,
    nodePIUnparsed = 128,
    nodePIParsed = 256,
    nodeComment = 512,
    nodeDocumentType = 65536,
    nodeCondDTDSection = 131072,
    nodeElementDecl = 262144,
    nodeContentParticle = 524288,
    nodeAttListDecl = 1048576,
    nodeAttributeDecl = 2097152,
    nodeEntityDecl = 4194304,
    nodeNotationDecl = 8388608,
  };

  // Results of the operations that change a tree.
  enum ResultCode : unsigned int {
    rcOK = 0,
    rcNoNode = 131074,        // no current node, or no memory
    rcBadArgument = 131075,   // a needed node is empty, or two arguments are the same node
    rcNotSupported = 131080,  // this kind of node does not offer the operation
    rcNotFound = 131082,      // the named item does not exist
    rcNotChild = 131086,      // the node given as a child is not one
  };

  MarlNode() noexcept : m_p(nullptr) {}
  MarlNode(CMarlNode* p);
  explicit MarlNode(CUnknown* p);
  MarlNode(MarlNode const& other);
  MarlNode& operator=(MarlNode const& other);
  MarlNode& operator=(CMarlNode const* p);
  ~MarlNode();
  // Null for an empty handle: the one emptiness test.
  operator CUnknown*() const;
  // The implementation pointer, for the library's own use.
  CMarlNode* _impl() const noexcept { return m_p; }

  // One of NodeType; 0 for plain character data.
  unsigned int getType() const;
  // The name; "#text", "#comment" and the like for kinds without one; empty if none.
  std::wstring const& getName() const;
  // The prefix as written or as bound; empty if none.
  std::wstring const& getNamespacePrefix() const;
  std::wstring const& getNamespace() const;  // the prefix, like getNamespacePrefix
  // The namespace URI; empty if none.
  std::wstring const& getNamespaceURI() const;
  // The value: text for character data, the text content for an element; empty otherwise.
  std::wstring const& getValue() const;
  void getValue(std::wstring& value) const;
  // The prefix bindings in force at the node; empty for kinds without namespaces.
  MarlNamespaceContext getNamespaceContext() const;
  // The attributes of an element or parsed processing instruction, made on first use;
  // empty for other kinds.
  MarlNamedNodeMap getAttributes() const;

  // rcNotSupported where the kind has no such part.
  unsigned int setName(std::wstring const& name);
  unsigned int setNamespacePrefix(std::wstring const& prefix);
  unsigned int setNamespace(std::wstring const& prefix);  // sets the prefix
  unsigned int setNamespaceURI(std::wstring const& uri);
  unsigned int setValue(std::wstring const& value);

  // Moves `child` to the end of the children (a fragment gives all its children).
  // rcBadArgument for an empty child. `fast` (the parser's path) links a new node as it is.
  unsigned int appendChild(MarlNode const& child, unsigned char fast = 0);
  // Moves `child` before `ref`, or to the end when `ref` is empty.
  unsigned int insertChild(MarlNode const& child, MarlNode const& ref);
  unsigned int replaceChild(MarlNode const& newChild, MarlNode const& oldChild);
  unsigned int removeChild(MarlNode const& child);
  // Detaches the node and each of its children; an attribute leaves its element.
  void removeNode();

  // A copy: depth 0 the node alone, n levels below it, negative the whole subtree. Empty when
  // memory runs out.
  MarlNode clone(int depth) const;
  // Writes the node as XML text through `stream`: with its children when `deep` is 1, the node
  // alone when it is 0. An empty stream gets nothing; failures of the stream cut the text short.
  void render(MarlOStream const& stream, unsigned char deep) const;

  // Links; empty where there is none.
  MarlNode getParent() const;
  MarlNode getFirstChild() const;
  MarlNode getLastChild() const;
  MarlNode getNext() const;
  MarlNode getPrev() const;
  // The top of the tree: the node itself when it has no parent.
  MarlNode getRoot() const;
  // The document the node belongs to; empty until it is linked under a document's node.
  MarlDocument getOwnerDocument() const;
  // A new live list over the children; empty when memory runs out.
  MarlNodeList getChildren() const;

  unsigned char isRoot() const;
  unsigned char isLeaf() const;
  unsigned int numChildren() const;
  // The number of ancestors: 0 for a root.
  unsigned int getHeight() const;
  // The longest path down: 0 for a node without children.
  unsigned int getDepth() const;
  // True for an empty `ancestor`, for the node itself and for each node above it.
  unsigned char hasAncestor(MarlNode const& ancestor) const;

  // The node number: it identifies a node, and follows document order after linearize.
  unsigned int getGID() const;
  // The node or a descendant with that number, `depth` levels down at most (0: all);
  // empty if none.
  MarlNode findFromGID(unsigned int gid, unsigned int depth) const;

  // The source position; a node without one reads its parent's, a root 0.
  void setPosition(unsigned int line, unsigned int column);
  void setLine(unsigned int line);
  void setColumn(unsigned int column);
  unsigned int getLine() const;
  unsigned int getColumn() const;

  // Walks from this node, parents before children, to its end mark: its next sibling, or its
  // parent when it has none. `depth` limits the levels below the node (1: the node and its
  // children; 0: no limit). The reverse walks take last children and previous siblings first,
  // and go on beyond the node into its previous siblings and their subtrees. Each gives an empty
  // handle when memory runs out.
  MarlNodeIterator createIterator(unsigned int depth) const;
  MarlNodeIterator createIteratorFiltered(MarlNodeFilter const& filter, unsigned int depth) const;
  MarlNodeIterator createRevIterator(unsigned int depth) const;
  MarlNodeIterator createRevIteratorFiltered(MarlNodeFilter const& filter,
                                             unsigned int depth) const;
  // The same walks seen through an iterator that stands on a node; empty when memory runs out.
  MarlInlineIterator createInlineIterator(unsigned int depth) const;
  MarlInlineIterator createRevInlineIterator(unsigned int depth) const;

  // Filters; this node only makes them. Each gives an empty handle when memory runs out.
  // Both members in one And (Or) filter, flattening a chain; empty when either is empty.
  MarlNodeFilter createFilterAnd(MarlNodeFilter const& a, MarlNodeFilter const& b) const;
  MarlNodeFilter createFilterOr(MarlNodeFilter const& a, MarlNodeFilter const& b) const;
  // The inverse of `filter`; over an empty filter it refuses every node.
  MarlNodeFilter createFilterNot(MarlNodeFilter const& filter) const;
  // Takes the nodes whose kind is in `mask`, NodeType values ored together.
  MarlNodeFilter createFilterNodeType(unsigned int mask) const;
  // Takes the nodes of that name and prefix (or URI); '*' at the start matches anything.
  MarlNodeFilter createFilterName(std::wstring const& name, std::wstring const& prefix) const;
  MarlNodeFilter createFilterNameNS(std::wstring const& name, std::wstring const& uri) const;
  // Takes the nodes having that attribute, with that value unless `value` is empty.
  MarlNodeFilter createFilterAttribute(std::wstring const& name, std::wstring const& prefix,
                                       std::wstring const& value) const;
  MarlNodeFilter createFilterAttributeNS(std::wstring const& name, std::wstring const& uri,
                                         std::wstring const& value) const;
  // Takes the nodes whose parent (some ancestor, the node excluded) `filter` takes; over an
  // empty filter they refuse every node.
  MarlNodeFilter createFilterParent(MarlNodeFilter const& filter) const;
  MarlNodeFilter createFilterAncestor(MarlNodeFilter const& filter) const;

 protected:
  CMarlNode* m_p;
};

// Declares the members of a node handle beside those it shares with MarlNode: construction
// from its implementation, and the guarded conversions that give an empty handle for a node of
// another kind.
#define MARL_NODE_HANDLE_MEMBERS(Handle, Impl) \
 public:                                       \
  Handle() noexcept = default;                 \
  Handle(Impl* p);                             \
  explicit Handle(CUnknown* p);                \
  Handle(MarlNode const& node);                \
  Handle& operator=(Impl const* p);            \
  Impl* _impl() const noexcept;

// The comparison behind name filters and lookups: a wanted string that starts with '*'
// matches anything, any other must be equal. Both name and URI must match.
MARL_API unsigned char compareName(std::wstring const& name, std::wstring const& uri,
                                   std::wstring const& wantedName, std::wstring const& wantedUri,
                                   unsigned char unused = 0);

#endif
