#ifndef MARL_DOM_XMXXO_NODE_H
#define MARL_DOM_XMXXO_NODE_H

#include <cstdint>
#include <initializer_list>
#include <new>
#include <string>
#include <utility>

#include "kernel/xmxxi_marl.h"
#include "kernel/xmxxo_unkn.h"
#include "marl/node.h"
#include "marl/stream.h"

class CMarlDocument;
class MarlInlineIterator;
class MarlNamedNodeMap;
class MarlNamespaceContext;
class MarlNodeFilter;
class MarlNodeIterator;

// The root of every node of the tree.
//
// Ownership runs backwards: a parent counts its last child and each child counts its previous
// sibling, so one counted reference reaches all children while the forward links (parent,
// next, first child, document) stay raw and free of cycles.
class CMarlNode : public CUnknown, public AllocPolicyRollArea {
 public:
  using NodeType = MarlNode::NodeType;
  using ResultCode = MarlNode::ResultCode;

  CMarlNode();
  // The copy of a subtree: a fresh number, no links, no position of its own; `depth` levels
  // of children are cloned (a negative depth never reaches 0, so all of them).
  CMarlNode(CMarlNode const& source, short depth);
  ~CMarlNode() override;

  virtual unsigned int setName(std::wstring const& name);
  virtual unsigned int setNamespacePrefix(std::wstring const& prefix);
  virtual unsigned int setNamespaceURI(std::wstring const& uri);
  virtual unsigned int setValue(std::wstring const& value);
  virtual unsigned int insertChild(MarlNode const& newChild, MarlNode const& refChild);
  virtual unsigned int replaceChild(MarlNode const& newChild, MarlNode const& oldChild);
  virtual unsigned int removeChild(MarlNode const& child);
  virtual unsigned int appendChild(MarlNode const& child, unsigned char fast);
  virtual MarlNode clone(int depth) const = 0;
  virtual std::wstring const& getName() const;
  virtual std::wstring const& getNamespacePrefix() const;
  virtual std::wstring const& getNamespaceURI() const;
  virtual MarlNamespaceContext getNamespaceContext() const;
  virtual std::wstring const& getValue() const;
  virtual void getValue(std::wstring& value) const;
  virtual unsigned int getType() const = 0;
  virtual MarlNamedNodeMap getAttributes() const;
  virtual MarlDocument getOwnerDocument() const;
  // Writes the node as XML text; `deep` 1 with its children, 0 alone. An empty stream gets
  // nothing.
  virtual void render(MarlOStream const& out, unsigned char deep) const = 0;

  // The two parts of a copy, for the walk that copies a subtree: the node alone with a fresh
  // number, made before its children are copied (clone(0) unless the class finishes later),
  // and what its class copies from `source` once they are, nothing by default. Both throw
  // bad_alloc.
  virtual MarlNode copyAlone() const;
  virtual void copyRest(CMarlNode const& source);

  // The three parts of writing a node with its children, for the walk that writes a subtree
  // (renderSubtree). renderHead writes what comes before the children and answers whether
  // the children and renderTail follow; by default the node writes itself whole with render
  // and has no children to write. renderBeforeChild writes what precedes `child`, which is
  // the first to be written when `firstWritten`, and answers whether `child` is written.
  // renderTail writes what follows the children, `anyWritten` telling whether one was.
  virtual bool renderHead(MarlOStream const& out, unsigned char deep) const;
  virtual bool renderBeforeChild(MarlOStream const& out, CMarlNode const& child,
                                 bool firstWritten) const;
  virtual void renderTail(MarlOStream const& out, bool anyWritten) const;

  // Structure, read directly from the fields.
  MarlNode getRoot() const;
  unsigned int getHeight() const;
  unsigned int getDepth() const;
  unsigned char hasAncestor(CMarlNode const* ancestor) const;
  MarlNode findFromGID(std::uint32_t gid, unsigned int depth) const;
  void removeNode();

  // Walks from this node; empty handles when memory runs out.
  MarlNodeIterator createIteratorFiltered(MarlNodeFilter const& filter, unsigned int depth) const;
  MarlNodeIterator createRevIteratorFiltered(MarlNodeFilter const& filter,
                                             unsigned int depth) const;
  MarlInlineIterator createInlineIterator(unsigned int depth) const;
  MarlInlineIterator createRevInlineIterator(unsigned int depth) const;

  // Filters; this node only makes them. Empty handles when memory runs out.
  MarlNodeFilter createFilterAnd(MarlNodeFilter const& a, MarlNodeFilter const& b) const;
  MarlNodeFilter createFilterOr(MarlNodeFilter const& a, MarlNodeFilter const& b) const;
  MarlNodeFilter createFilterNot(MarlNodeFilter const& filter) const;
  MarlNodeFilter createFilterNodeType(unsigned int mask) const;
  MarlNodeFilter createFilterName(std::wstring const& name, std::wstring const& prefix) const;
  MarlNodeFilter createFilterNameNS(std::wstring const& name, std::wstring const& uri) const;
  MarlNodeFilter createFilterAttribute(std::wstring const& name, std::wstring const& prefix,
                                       std::wstring const& value) const;
  MarlNodeFilter createFilterAttributeNS(std::wstring const& name, std::wstring const& uri,
                                         std::wstring const& value) const;
  MarlNodeFilter createFilterParent(MarlNodeFilter const& filter) const;
  MarlNodeFilter createFilterAncestor(MarlNodeFilter const& filter) const;

  // Position.
  void setPosition(unsigned int line, unsigned int column);
  void setLine(unsigned int line);
  void setColumn(unsigned int column);
  unsigned int getLine() const;
  unsigned int getColumn() const;

  // Links this node under `newParent`, before `before` or at the end.
  void link(CMarlNode* newParent, CMarlNode* before);
  // Takes this node out of its parent's child list; the handle keeps it alive meanwhile.
  MarlNode unlink();
  // Makes `document` the owner of this node and everything below it, following the links
  // without an iterator: for the one walk that must not fail for want of memory.
  void adoptInto(CMarlDocument* document);
  // Cuts all children loose, from the front.
  void releaseChildren();
  // Writes this node and, when `deep`, its subtree through the three parts of rendering.
  void renderSubtree(MarlOStream const& out, unsigned char deep) const;
  // The node after `node` in a walk over the subtree of `top` in document order, when the
  // walk does not enter, or is done with, the children of `node`: the next sibling of `node`
  // or of its nearest ancestor below `top` that has one; null at the end of the subtree.
  // `level`, the level below `top`, follows the climb.
  static CMarlNode* nextBeyond(CMarlNode const* node, CMarlNode const* top,
                               unsigned int& level) noexcept;
  static CMarlNode* nextBeyond(CMarlNode const* node, CMarlNode const* top) noexcept;
  // True when the node's atoms did not come from the current string cache.
  bool isStale() const noexcept;

  // The child operations of the kinds that have no children.
  static unsigned int refuseChild() noexcept { return MarlNode::rcNotSupported; }

  MarlNode prev;
  MarlNode lastChild;
  CMarlNode* parent;
  CMarlNode* next;
  CMarlNode* firstChild;
  CMarlDocument* ownerDocument;
  std::uint32_t numChildren;
  std::uint32_t GID;
  std::uint32_t position;

 protected:
  // The atom of a name-like value, interned in the string cache.
  static Atom intern(std::wstring const& text) { return CMarlBase::instance().intern(text); }
  static Atom emptyAtom() { return CMarlBase::instance().emptyAtom; }
  static Atom unknownAtom() { return CMarlBase::instance().unknownAtom; }

 private:
  // Copies the subtree of `source` below this node, `depth` levels of it.
  void copyDescendants(CMarlNode const& source, short depth);
  // Lets go of the node that `link` holds. When that is its last reference and it has
  // children, it waits for the teardown loop instead of dying here.
  static void dropLink(MarlNode& link) noexcept;

  // The walk that gives `node`'s subtree this node's owner document once `node` stands before
  // `endMark`; empty when the two already share the owner. It is made before the node moves,
  // so that bad_alloc leaves the tree as it was.
  MarlNodeIterator ownerWalk(CMarlNode* node, CMarlNode* endMark) const;
};

// Markup goes out unescaped and unquoted, a literal without being copied into a string first.
template <std::size_t N>
void writeMarkup(MarlOStream const& out, wchar_t const (&text)[N]) {
  out.write(text, static_cast<int>(N - 1));
}
inline void writeMarkup(MarlOStream const& out, std::wstring const& text) {
  out.writeString(text);
}
// "prefix:name", or the name alone when the prefix is empty.
void writeQualifiedName(MarlOStream const& out, std::wstring const& prefix,
                        std::wstring const& name);

// The copy of `source` to `depth` levels for a class that finishes its copies with copyRest
// once their children are copied: an empty handle when memory runs out.
template <class Impl>
MarlNode cloneFinishedLast(Impl const& source, int depth) {
  try {
    MarlNode copy(new Impl(source, static_cast<short>(depth)));
    copy._impl()->copyRest(source);
    return copy;
  } catch (std::bad_alloc const&) {
    return MarlNode();
  }
}

// Allocates and constructs an object for a create operation: an empty handle when memory runs out.
template <class Handle, class Impl, class... Args>
Handle createObject(Args&&... args) {
  try {
    return Handle(new Impl(std::forward<Args>(args)...));
  } catch (std::bad_alloc const&) {
    return Handle();
  }
}

// Defines the members of a node handle declared by MARL_NODE_HANDLE_MEMBERS.
#define MARL_DEFINE_NODE_HANDLE(Handle, Impl, Id)                                          \
  Handle::Handle(Impl* p) { m_p = handle::acquire<CMarlNode>(p); }                         \
  Handle::Handle(CUnknown* p) { m_p = handle::query<Impl>(p, Id); }                        \
  Handle::Handle(MarlNode const& node) {                                                   \
    m_p = handle::query<Impl>(static_cast<CUnknown*>(node), Id);                           \
  }                                                                                        \
  Handle& Handle::operator=(Impl const* p) {                                               \
    MarlNode::operator=(p);                                                                \
    return *this;                                                                          \
  }                                                                                        \
  Impl* Handle::_impl() const noexcept { return static_cast<Impl*>(m_p); }

// The `_queryInterface` of a node class answering `ids` (its own first).
template <class Self>
void* answerQuery(Self* self, unsigned int id, std::initializer_list<unsigned int> ids) {
  if (id == idUnknown) return self;
  for (unsigned int served : ids)
    if (served == id) return self;
  return nullptr;
}

#endif
