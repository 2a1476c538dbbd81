#include "dom/xmxxo_nite.h"

#include <cstdint>
#include <new>

#include "dom/xmxxo_nfil.h"
#include "dom/xmxxo_nmap.h"
#include "marl/document.h"
#include "marl/list.h"
#include "marl/namespace.h"

MarlNodeFilter privateCopy(MarlNodeFilter const& filter) {
  if (!filter) return filter;
  MarlNodeFilter copy = filter.clone();
  // Walking unfiltered instead would hand out nodes the caller excluded.
  if (!copy) throw std::bad_alloc();
  return copy;
}

namespace {

// The two directions of the depth-first walk: the reverse one is the mirror image.
struct Forward {
  static CMarlNode* firstChild(CMarlNode const* node) { return node->firstChild; }
  static CMarlNode* nextSibling(CMarlNode const* node) { return node->next; }
};

struct Backward {
  static CMarlNode* firstChild(CMarlNode const* node) { return node->lastChild._impl(); }
  static CMarlNode* nextSibling(CMarlNode const* node) { return node->prev._impl(); }
};

// Moves `current` to `node`. The new node is counted before the old one is let go: the old one
// may be all that keeps the new one alive, as it keeps its last child and previous sibling.
void stepTo(MarlNode& current, CMarlNode* node) {
  MarlNode target(node);
  current = target;
}

// One step of a depth-first walk: down when the limit allows and the last step did not come
// up, else to the next sibling, else up until a sibling turns up. The climb ends at the end
// mark or when the parents run out; it never hands out a parent a second time.
template <class Direction, class Walk>
void stepDepthFirst(Walk& walk) {
  CMarlNode* node = walk.current._impl();
  if (walk.lastMove != moveUp && walk.curDepth < walk.maxDepth) {
    if (CMarlNode* child = Direction::firstChild(node)) {
      ++walk.curDepth;
      walk.lastMove = moveDown;
      stepTo(walk.current, child);
      return;
    }
  }
  for (;;) {
    if (CMarlNode* sibling = Direction::nextSibling(node)) {
      walk.lastMove = moveSibling;
      stepTo(walk.current, sibling);
      return;
    }
    walk.lastMove = moveUp;
    node = node->parent;
    stepTo(walk.current, node);
    if (walk.curDepth != 0) --walk.curDepth;
    if (!node || node == walk.end._impl()) return;
  }
}

// A walk of `Walk` from `node` to its end mark.
template <class Walk>
MarlNodeIterator depthFirstFrom(CMarlNode* node, unsigned int depth, MarlNodeFilter const& filter) {
  MarlNode endMark = CNodeIteratorBase::endMarkOf(node);
  return MarlNodeIterator(new Walk(MarlNode(node), endMark, depth, filter));
}

}  // namespace

// ---------------------------------------------------------------------------------------
// CNodeIteratorImpl

CNodeIteratorImpl::CNodeIteratorImpl(CNodeIteratorImpl const&) : CUnknown() {}

void* CNodeIteratorImpl::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idNodeIterator});
}

unsigned int CNodeIteratorImpl::_queryClass() const {
  return idNodeIterator;
}

CNodeIteratorImpl::~CNodeIteratorImpl() = default;

// ---------------------------------------------------------------------------------------
// CNodeIteratorBase

CNodeIteratorBase::CNodeIteratorBase(MarlNode const& walkStart, MarlNode const& walkEnd,
                                     MarlNodeFilter const& walkFilter)
    : first(1), filter(privateCopy(walkFilter)), start(walkStart), end(walkEnd) {}

CNodeIteratorBase::CNodeIteratorBase(CNodeIteratorBase const& source)
    : CNodeIteratorImpl(source),
      first(source.first),
      filter(source.filter),
      current(source.current),
      start(source.start),
      end(source.end) {}

CNodeIteratorBase& CNodeIteratorBase::operator=(CNodeIteratorBase const& source) {
  first = source.first;
  filter = source.filter;
  current = source.current;
  start = source.start;
  end = source.end;
  return *this;
}

MarlNode CNodeIteratorBase::endMarkOf(CMarlNode* node) {
  return MarlNode(node->next ? node->next : node->parent);
}

void CNodeIteratorBase::reset() {
  first = 1;
  current = static_cast<CMarlNode const*>(nullptr);
}

// Once the walk has met its end mark it stays there, so that every later call gives an empty
// handle rather than wandering on past the end.
MarlNode CNodeIteratorBase::getNext() {
  CMarlNode* endNode = end._impl();
  if (first) {
    current = start;
    first = 0;
  } else if (current && current._impl() != endNode) {
    advance();
  }
  if (filter) {
    while (current && current._impl() != endNode && !filter._impl()->acceptNode(current))
      advance();
  }
  if (current._impl() == endNode) return MarlNode();
  return current;
}

void CNodeIteratorBase::setFilter(MarlNodeFilter const& newFilter) {
  filter = newFilter;
}

MarlNodeFilter CNodeIteratorBase::getFilter() const {
  return filter;
}

// ---------------------------------------------------------------------------------------
// CNodeIteratorDFS, CNodeRevIteratorDFS

CNodeIteratorDFS::CNodeIteratorDFS(MarlNode const& walkStart, MarlNode const& walkEnd,
                                   unsigned int depth, MarlNodeFilter const& walkFilter)
    : CNodeIteratorBase(walkStart, walkEnd, walkFilter),
      maxDepth(depth == 0 ? UINT32_MAX : depth),
      curDepth(0),
      lastMove(moveDown) {}

CNodeIteratorDFS::CNodeIteratorDFS(CNodeIteratorDFS const& source)
    : CNodeIteratorBase(source),
      maxDepth(source.maxDepth),
      curDepth(source.curDepth),
      lastMove(source.lastMove) {}

CNodeIteratorDFS& CNodeIteratorDFS::operator=(CNodeIteratorDFS const& source) {
  CNodeIteratorBase::operator=(source);
  maxDepth = source.maxDepth;
  curDepth = source.curDepth;
  lastMove = source.lastMove;
  return *this;
}

MarlNodeIterator CNodeIteratorDFS::from(CMarlNode* node, unsigned int depth,
                                        MarlNodeFilter const& filter) {
  return depthFirstFrom<CNodeIteratorDFS>(node, depth, filter);
}

void CNodeIteratorDFS::reset() {
  CNodeIteratorBase::reset();
  curDepth = 0;
  lastMove = moveDown;
}

void CNodeIteratorDFS::advance() {
  stepDepthFirst<Forward>(*this);
}

CNodeRevIteratorDFS::CNodeRevIteratorDFS(MarlNode const& walkStart, MarlNode const& walkEnd,
                                         unsigned int depth, MarlNodeFilter const& walkFilter)
    : CNodeIteratorBase(walkStart, walkEnd, walkFilter),
      maxDepth(depth == 0 ? UINT32_MAX : depth),
      curDepth(0),
      lastMove(moveDown) {}

CNodeRevIteratorDFS::CNodeRevIteratorDFS(CNodeRevIteratorDFS const& source)
    : CNodeIteratorBase(source),
      maxDepth(source.maxDepth),
      curDepth(source.curDepth),
      lastMove(source.lastMove) {}

CNodeRevIteratorDFS& CNodeRevIteratorDFS::operator=(CNodeRevIteratorDFS const& source) {
  CNodeIteratorBase::operator=(source);
  maxDepth = source.maxDepth;
  curDepth = source.curDepth;
  lastMove = source.lastMove;
  return *this;
}

// The end mark is taken as for the forward walk, from the next sibling or the parent; the
// reverse walk leaves the subtree of its start and runs past previous siblings, by design.
MarlNodeIterator CNodeRevIteratorDFS::from(CMarlNode* node, unsigned int depth,
                                           MarlNodeFilter const& filter) {
  return depthFirstFrom<CNodeRevIteratorDFS>(node, depth, filter);
}

void CNodeRevIteratorDFS::reset() {
  CNodeIteratorBase::reset();
  curDepth = 0;
  lastMove = moveDown;
}

void CNodeRevIteratorDFS::advance() {
  stepDepthFirst<Backward>(*this);
}

// ---------------------------------------------------------------------------------------
// CMarlNodeIterator, CNodeRevIterator

void CMarlNodeIterator::advance() {
  stepTo(current, current._impl()->next);
}

void CNodeRevIterator::advance() {
  stepTo(current, current._impl()->prev._impl());
}

// ---------------------------------------------------------------------------------------
// CNodeMapIterator, CNodeMapRevIterator

namespace {

// Whether a map walk hands out `entry`: every entry when there is no filter.
bool takes(MarlNodeFilter const& filter, MarlNode const& entry) {
  return !filter || filter._impl()->acceptNode(entry);
}

std::int32_t lastIndexOf(MarlNamedNodeMap const& map) {
  return static_cast<std::int32_t>(map._impl()->entries.size()) - 1;
}

}  // namespace

CNodeMapIterator::CNodeMapIterator(MarlNamedNodeMap const& walkedMap,
                                   MarlNodeFilter const& walkFilter)
    : map(walkedMap), index(0), filter(privateCopy(walkFilter)) {}

CNodeMapIterator::CNodeMapIterator(CNodeMapIterator const& source)
    : CNodeIteratorImpl(source), map(source.map), index(source.index), filter(source.filter) {}

CNodeMapIterator& CNodeMapIterator::operator=(CNodeMapIterator const& source) {
  map = source.map;
  index = source.index;
  filter = source.filter;
  return *this;
}

void CNodeMapIterator::reset() {
  index = 0;
}

MarlNode CNodeMapIterator::getNext() {
  CMarlNamedNodeMap::Entries const& entries = map._impl()->entries;
  while (index >= 0 && static_cast<std::size_t>(index) < entries.size()) {
    MarlNode entry = entries[static_cast<std::size_t>(index)];
    ++index;
    if (takes(filter, entry)) return entry;
  }
  return MarlNode();
}

void CNodeMapIterator::setFilter(MarlNodeFilter const& newFilter) {
  filter = newFilter;
}

MarlNodeFilter CNodeMapIterator::getFilter() const {
  return filter;
}

CNodeMapRevIterator::CNodeMapRevIterator(MarlNamedNodeMap const& walkedMap,
                                         MarlNodeFilter const& walkFilter)
    : map(walkedMap), index(lastIndexOf(walkedMap)), filter(privateCopy(walkFilter)) {}

CNodeMapRevIterator::CNodeMapRevIterator(CNodeMapRevIterator const& source)
    : CNodeIteratorImpl(source), map(source.map), index(source.index), filter(source.filter) {}

CNodeMapRevIterator& CNodeMapRevIterator::operator=(CNodeMapRevIterator const& source) {
  map = source.map;
  index = source.index;
  filter = source.filter;
  return *this;
}

void CNodeMapRevIterator::reset() {
  index = lastIndexOf(map);
}

// Entries removed behind the walk's back shorten the map under it: an index beyond the end is
// stepped over rather than read.
MarlNode CNodeMapRevIterator::getNext() {
  CMarlNamedNodeMap::Entries const& entries = map._impl()->entries;
  for (; index >= 0; --index) {
    if (static_cast<std::size_t>(index) >= entries.size()) continue;
    MarlNode entry = entries[static_cast<std::size_t>(index)];
    if (takes(filter, entry)) {
      --index;
      return entry;
    }
  }
  return MarlNode();
}

void CNodeMapRevIterator::setFilter(MarlNodeFilter const& newFilter) {
  filter = newFilter;
}

MarlNodeFilter CNodeMapRevIterator::getFilter() const {
  return filter;
}

// ---------------------------------------------------------------------------------------
// CInlineIterator

CInlineIterator::CInlineIterator(MarlNodeIterator const& walk) : iterator(walk) {
  if (iterator) current = iterator.getNext();
}

CInlineIterator::CInlineIterator(CInlineIterator const& source)
    : CNodeIteratorImpl(source), iterator(source.iterator), current(source.current) {}

CInlineIterator& CInlineIterator::operator=(CInlineIterator const& source) {
  iterator = source.iterator;
  current = source.current;
  return *this;
}

MarlInlineIterator CInlineIterator::over(MarlNodeIterator const& walk) {
  if (!walk) return MarlInlineIterator();
  return createObject<MarlInlineIterator, CInlineIterator>(walk);
}

void* CInlineIterator::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idInlineIterator, idNodeIterator});
}

unsigned int CInlineIterator::_queryClass() const {
  return idInlineIterator;
}

void CInlineIterator::reset() {
  if (iterator) iterator.reset();
}

MarlNode CInlineIterator::getNext() {
  advance();
  return current;
}

void CInlineIterator::setFilter(MarlNodeFilter const& newFilter) {
  if (iterator) iterator.setFilter(newFilter);
}

MarlNodeFilter CInlineIterator::getFilter() const {
  return iterator ? iterator.getFilter() : MarlNodeFilter();
}

unsigned int CInlineIterator::advance() {
  if (!iterator) return 0;
  current = iterator.getNext();
  return current ? current.getType() : 0;
}

void CInlineIterator::removeNode() {
  if (!current) return;
  MarlNode removed = current;
  advance();
  removed.removeNode();
}

// ---------------------------------------------------------------------------------------
// setOwnerAlong

void setOwnerAlong(MarlNodeIterator const& walk, CMarlDocument* document) {
  CNodeIteratorImpl* steps = walk._impl();
  for (MarlNode node = steps->getNext(); node; node = steps->getNext())
    node._impl()->ownerDocument = document;
}

// ---------------------------------------------------------------------------------------
// MarlNodeIterator

MARL_DEFINE_HANDLE(MarlNodeIterator, CNodeIteratorImpl, idNodeIterator)
MARL_DEFINE_HANDLE_DESTRUCTOR(MarlNodeIterator)

void MarlNodeIterator::reset() {
  m_p->reset();
}

MarlNode MarlNodeIterator::getNext() {
  return m_p->getNext();
}

void MarlNodeIterator::setFilter(MarlNodeFilter const& filter) {
  m_p->setFilter(filter);
}

MarlNodeFilter MarlNodeIterator::getFilter() const {
  return m_p->getFilter();
}

// ---------------------------------------------------------------------------------------
// MarlInlineIterator
//
// The node operations work on the current node here in the handle: an empty current answers
// with the neutral value of each operation instead of failing.

namespace {

std::wstring const& noString() {
  return *CMarlBase::instance().emptyAtom;
}

}  // namespace

MARL_DEFINE_HANDLE(MarlInlineIterator, CInlineIterator, idInlineIterator)
MARL_DEFINE_HANDLE_DESTRUCTOR(MarlInlineIterator)

void MarlInlineIterator::reset() {
  m_p->reset();
}

void MarlInlineIterator::setFilter(MarlNodeFilter const& filter) {
  m_p->setFilter(filter);
}

MarlNodeFilter MarlInlineIterator::getFilter() const {
  return m_p->getFilter();
}

unsigned int MarlInlineIterator::advance() {
  return m_p->advance();
}

MarlNode MarlInlineIterator::getCurrent() const {
  return m_p->current;
}

std::wstring const& MarlInlineIterator::getName() const {
  MarlNode const& node = m_p->current;
  return node ? node.getName() : noString();
}

std::wstring const& MarlInlineIterator::getNamespacePrefix() const {
  MarlNode const& node = m_p->current;
  return node ? node.getNamespacePrefix() : noString();
}

std::wstring const& MarlInlineIterator::getNamespaceURI() const {
  MarlNode const& node = m_p->current;
  return node ? node.getNamespaceURI() : noString();
}

std::wstring const& MarlInlineIterator::getValue() const {
  MarlNode const& node = m_p->current;
  return node ? node.getValue() : noString();
}

void MarlInlineIterator::getValue(std::wstring& value) const {
  MarlNode const& node = m_p->current;
  if (node)
    node.getValue(value);
  else
    value.clear();
}

unsigned int MarlInlineIterator::getType() const {
  MarlNode const& node = m_p->current;
  return node ? node.getType() : 0;
}

unsigned int MarlInlineIterator::getGID() const {
  MarlNode const& node = m_p->current;
  return node ? node.getGID() : 0;
}

unsigned int MarlInlineIterator::getHeight() const {
  MarlNode const& node = m_p->current;
  return node ? node.getHeight() : 0;
}

unsigned int MarlInlineIterator::getDepth() const {
  MarlNode const& node = m_p->current;
  return node ? node.getDepth() : 0;
}

unsigned int MarlInlineIterator::numChildren() const {
  MarlNode const& node = m_p->current;
  return node ? node.numChildren() : 0;
}

unsigned char MarlInlineIterator::hasAncestor(MarlNode const& ancestor) const {
  return m_p->current.hasAncestor(ancestor);
}

unsigned char MarlInlineIterator::isLeaf() const {
  MarlNode const& node = m_p->current;
  return node ? node.isLeaf() : 0;
}

unsigned char MarlInlineIterator::isRoot() const {
  MarlNode const& node = m_p->current;
  return node ? node.isRoot() : 0;
}

MarlNode MarlInlineIterator::getParent() const {
  MarlNode const& node = m_p->current;
  return node ? node.getParent() : MarlNode();
}

MarlNode MarlInlineIterator::getFirstChild() const {
  MarlNode const& node = m_p->current;
  return node ? node.getFirstChild() : MarlNode();
}

MarlNode MarlInlineIterator::getLastChild() const {
  MarlNode const& node = m_p->current;
  return node ? node.getLastChild() : MarlNode();
}

MarlNode MarlInlineIterator::getNext() const {
  MarlNode const& node = m_p->current;
  return node ? node.getNext() : MarlNode();
}

MarlNode MarlInlineIterator::getPrev() const {
  MarlNode const& node = m_p->current;
  return node ? node.getPrev() : MarlNode();
}

MarlNode MarlInlineIterator::getRoot() const {
  MarlNode const& node = m_p->current;
  return node ? node.getRoot() : MarlNode();
}

MarlDocument MarlInlineIterator::getOwnerDocument() const {
  MarlNode const& node = m_p->current;
  return node ? node.getOwnerDocument() : MarlDocument();
}

MarlNamedNodeMap MarlInlineIterator::getAttributes() const {
  MarlNode const& node = m_p->current;
  return node ? node.getAttributes() : MarlNamedNodeMap();
}

MarlNodeList MarlInlineIterator::getChildren() const {
  MarlNode const& node = m_p->current;
  return node ? node.getChildren() : MarlNodeList();
}

MarlNamespaceContext MarlInlineIterator::getNamespaceContext() const {
  MarlNode const& node = m_p->current;
  return node ? node.getNamespaceContext() : MarlNamespaceContext();
}

MarlNode MarlInlineIterator::findFromGID(unsigned int gid, unsigned int depth) const {
  MarlNode const& node = m_p->current;
  return node ? node.findFromGID(gid, depth) : MarlNode();
}

unsigned int MarlInlineIterator::setName(std::wstring const& name) {
  MarlNode& node = m_p->current;
  return node ? node.setName(name) : MarlNode::rcNoNode;
}

unsigned int MarlInlineIterator::setNamespacePrefix(std::wstring const& prefix) {
  MarlNode& node = m_p->current;
  return node ? node.setNamespacePrefix(prefix) : MarlNode::rcNoNode;
}

unsigned int MarlInlineIterator::setNamespaceURI(std::wstring const& uri) {
  MarlNode& node = m_p->current;
  return node ? node.setNamespaceURI(uri) : MarlNode::rcNoNode;
}

unsigned int MarlInlineIterator::setValue(std::wstring const& value) {
  MarlNode& node = m_p->current;
  return node ? node.setValue(value) : MarlNode::rcNoNode;
}

unsigned int MarlInlineIterator::appendChild(MarlNode const& child, unsigned char fast) {
  MarlNode& node = m_p->current;
  return node ? node.appendChild(child, fast) : MarlNode::rcNoNode;
}

unsigned int MarlInlineIterator::insertChild(MarlNode const& child, MarlNode const& ref) {
  MarlNode& node = m_p->current;
  return node ? node.insertChild(child, ref) : MarlNode::rcNoNode;
}

unsigned int MarlInlineIterator::replaceChild(MarlNode const& newChild, MarlNode const& oldChild) {
  MarlNode& node = m_p->current;
  return node ? node.replaceChild(newChild, oldChild) : MarlNode::rcNoNode;
}

unsigned int MarlInlineIterator::removeChild(MarlNode const& child) {
  MarlNode& node = m_p->current;
  return node ? node.removeChild(child) : MarlNode::rcNoNode;
}

void MarlInlineIterator::removeNode() {
  m_p->removeNode();
}
