#ifndef MARL_DOM_XMXXO_ELEM_H
#define MARL_DOM_XMXXO_ELEM_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "dom/xmxxo_node.h"
#include "marl/attribute.h"
#include "marl/element.h"
#include "marl/list.h"
#include "marl/namespace.h"

class CMarlAttribute;
class CMarlNodeCollection;
class CPathWalk;

// How a stretch of a path walk ends: at the element sought, at a dead end, at another node to
// go on from, or at a wildcard step whose candidates the walk tries in turn.
enum class PathOutcome { arrived, failed, moved, branched };

// An element. Its attribute map and namespace context are made only when something asks, so
// a parsed document with many plain elements pays for neither.
class CMarlElement : public CMarlNode {
 public:
  CMarlElement(Atom name, Atom prefix, Atom uri);
  // The copy without its attributes, which copyRest adds once the children are copied.
  CMarlElement(CMarlElement const& source, short depth);
  ~CMarlElement() override;

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  unsigned int setName(std::wstring const& name) override;
  unsigned int setNamespacePrefix(std::wstring const& prefix) override;
  unsigned int setNamespaceURI(std::wstring const& uri) override;
  unsigned int setValue(std::wstring const& value) override;
  MarlNode clone(int depth) const override;
  std::wstring const& getName() const override;
  std::wstring const& getNamespacePrefix() const override;
  std::wstring const& getNamespaceURI() const override;
  MarlNamespaceContext getNamespaceContext() const override;
  std::wstring const& getValue() const override;
  void getValue(std::wstring& value) const override;
  unsigned int getType() const override;
  MarlNamedNodeMap getAttributes() const override;
  void render(MarlOStream const& out, unsigned char deep) const override;
  MarlNode copyAlone() const override;
  void copyRest(CMarlNode const& source) override;
  bool renderHead(MarlOStream const& out, unsigned char deep) const override;
  bool renderBeforeChild(MarlOStream const& out, CMarlNode const& child,
                         bool firstWritten) const override;
  void renderTail(MarlOStream const& out, bool anyWritten) const override;

  std::wstring const& getAttribute(std::wstring const& name, std::wstring const& prefix) const;
  std::wstring const& getAttributeNS(std::wstring const& name, std::wstring const& uri) const;
  MarlAttribute getAttributeNode(std::wstring const& name, std::wstring const& prefix) const;
  MarlAttribute getAttributeNodeNS(std::wstring const& name, std::wstring const& uri) const;
  unsigned int setAttribute(std::wstring const& name, std::wstring const& prefix,
                            std::wstring const& value);
  unsigned int setAttributeNS(std::wstring const& name, std::wstring const& prefix,
                              std::wstring const& uri, std::wstring const& value);
  unsigned int setAttributeNode(MarlAttribute const& attribute);
  unsigned int setAttributeNodeNS(MarlAttribute const& attribute);
  unsigned int removeAttribute(std::wstring const& name, std::wstring const& prefix);
  unsigned int removeAttributeNS(std::wstring const& name, std::wstring const& uri);
  unsigned int removeAttributeNode(MarlAttribute const& attribute);
  unsigned int removeAttributeNodeNS(MarlAttribute const& attribute);

  unsigned char contains(unsigned int mask) const;
  void normalize();
  std::wstring const& getContentAsString() const;
  void getContentAsString(std::wstring& content) const;
  void setEndTagLine(unsigned int line);
  unsigned int getEndTagLine() const;

  // Makes the attribute map on first use.
  void initAttributes() const;
  // Gives the element the defaults of its document's type that it lacks.
  void addDefaultAttributes() const;
  // A namespace context private to this element.
  MarlNamespaceContext forkNamespaceContext();
  // Drops the cached contexts here and below: a declaration changed.
  void clearNamespaceContext();

  // Lookups below this element. They report nothing: an empty handle when nothing matches or
  // memory runs out.
  MarlElement findFromPath(std::wstring const& path) const;
  // `reserved` is part of the signature only; nothing reads it.
  MarlElement findFromPathNS(std::wstring const& path, std::wstring const& reserved) const;
  MarlElement findFromName(std::wstring const& name, std::wstring const& prefix,
                           unsigned int depth) const;
  MarlElement findFromNameNS(std::wstring const& name, std::wstring const& uri,
                             unsigned int depth) const;
  MarlNodeCollection getElementsByTagName(std::wstring const& name, std::wstring const& prefix,
                                          unsigned int depth) const;
  MarlNodeCollection getElementsByTagNameNS(std::wstring const& name, std::wstring const& uri,
                                            unsigned int depth) const;

  // The name part a lookup compares beside the local name: the prefix or the namespace URI.
  using NamePart = std::wstring const& (CMarlNode::*)() const;
  // The first element below this one in document order, to `depth` levels (1: the children;
  // 0: all), whose name and prefix (URI) are the atoms given, compared by address. Only the
  // subtrees of elements are searched. Throws bad_alloc.
  MarlElement findFromRegisteredName(std::wstring const& name, std::wstring const& prefix,
                                     unsigned int depth) const;
  MarlElement findFromRegisteredNameNS(std::wstring const& name, std::wstring const& uri,
                                       unsigned int depth) const;
  MarlElement findRegistered(std::wstring const& name, std::wstring const& second,
                             NamePart part, unsigned int depth) const;
  // Appends to `found` the elements named by the atoms given among the nodes of the depth-first
  // walk from this element to `depth` (1: the element and its children; 0: all); the element
  // itself only when `withSelf`. Throws bad_alloc.
  void collectRegistered(CMarlNodeCollection& found, std::wstring const& name,
                         std::wstring const& second, NamePart part, unsigned int depth,
                         bool withSelf) const;
  // Takes the steps of a path from this element, up to where the walk leaves it.
  PathOutcome takePathSteps(CPathWalk& walk, std::size_t offset) const;

  Atom name;
  Atom prefix;
  Atom uri;
  mutable MarlNamespaceContext namespaceContext;
  mutable MarlNamedNodeMap attributes;

 private:
  // Adds a new attribute for setAttribute and setAttributeNS; bad_alloc when memory runs out.
  unsigned int addAttribute(Atom attributeName, Atom attributePrefix, Atom attributeUri,
                            std::wstring const& value);
  // Binds the declarations among the attributes into a context of the element's own.
  void bindDeclarations() const;
  // Whether the element has no map yet and its document's type has defaults for the map.
  bool needsDefaults() const;
  // Whether making the map needs the element's context: see getNamespaceContext.
  bool awaitsContextForDefaults() const;
  // The parent element's context, or a new one for an element without a parent element.
  MarlNamespaceContext askParentForNamespaceContext() const;
  // Gives the element `inherited`, the context of its parent, then binds its own declarations.
  void settleNamespaceContext(MarlNamespaceContext const& inherited) const;
  // Whether the children go on lines of their own, indented.
  bool indentsChildren(MarlOStream const& out) const;
  void renderEndTag(MarlOStream const& out) const;
};

class CFailedBranches;

// A lookup by path under way. The element and the document take the steps, each by its own
// rules; the walk holds the path and a stack of the wildcard steps whose further candidates
// are still to try, so that backtracking costs no recursion however long the path or deep the
// tree. A branch that failed is remembered by its element and its place in the path and is
// not tried again, which keeps paths full of wildcards and ".." from taking exponential time.
class CPathWalk {
 public:
  // One step of the path.
  struct Step {
    std::wstring_view head;  // the step, without its quotes
    std::size_t rest;        // where the path goes on behind it
  };

  // The element `path` leads to from `start`, a document or an element; empty when none does
  // or memory runs out. Steps by URI may be quoted, and split at their last colon.
  static MarlElement lookUp(CMarlNode const* start, std::wstring const& path, bool byURI);

  CPathWalk(std::wstring const& path, bool byURI);
  ~CPathWalk();
  CPathWalk(CPathWalk const&) = delete;
  CPathWalk& operator=(CPathWalk const&) = delete;

  bool byURI() const noexcept { return uriSteps; }
  CMarlElement::NamePart namePart() const noexcept;
  bool slashAt(std::size_t offset) const noexcept;
  // The step at `offset`: up to the next "/", or a quoted one up to its closing mark.
  Step cut(std::size_t offset) const noexcept;
  // The qualifier (prefix or URI) and the local name of a step.
  void split(std::wstring_view head, std::wstring& qualifier, std::wstring& local) const;
  static bool isParentStep(std::wstring_view head) noexcept { return head == L".."; }
  static bool isWildcard(std::wstring const& qualifier, std::wstring const& local) noexcept;

  PathOutcome arrive(CMarlElement const* element) noexcept;
  PathOutcome moveTo(CMarlNode const* node, std::size_t offset) noexcept;
  // A wildcard step over the element children of `parent`: each that matches goes on with
  // the path from `rest`, in order, until one arrives.
  PathOutcome branch(CMarlNode const* parent, std::wstring qualifier, std::wstring local,
                     std::size_t rest);

 private:
  struct Wildcard {
    CMarlNode const* parent;
    CMarlNode const* candidate;  // the child being tried; null before the first
    std::wstring qualifier;
    std::wstring local;
    std::size_t rest;
  };

  MarlElement run(CMarlNode const* start);
  PathOutcome takeSteps();
  // Goes on with the next candidate of the innermost wildcard step, dropping the step when it
  // has none left; false then.
  bool enterNextCandidate();
  // After a dead end: the next candidate of the nearest wildcard step that has one; false when
  // the whole lookup failed.
  bool backtrack();

  std::wstring_view path;
  bool uriSteps;
  CMarlNode const* position;
  std::size_t offset;
  CMarlElement const* destination;
  std::vector<Wildcard, tova_alloc<Wildcard>> wildcards;
  std::unique_ptr<CFailedBranches> failures;
};

#endif
