#include "dom/xmxxo_node.h"

#include <climits>
#include <new>

#include "dom/xmxxo_attr.h"
#include "dom/xmxxo_doc.h"
#include "dom/xmxxo_elem.h"
#include "dom/xmxxo_nfil.h"
#include "dom/xmxxo_nite.h"
#include "dom/xmxxo_nlis.h"
#include "dom/xmxxo_nmap.h"
#include "dom/xmxxo_nsc.h"

namespace {

// The packed source position: bit 0 "no position of its own", bit 1 "fields swapped",
// a wide field of 21 bits and a narrow one of 9.
constexpr std::uint32_t c_noPosition = 1u << 0;
constexpr std::uint32_t c_swapped = 1u << 1;
constexpr int c_wideShift = 2;
constexpr std::uint32_t c_wideMask = (1u << 21) - 1;
constexpr int c_narrowShift = 23;
constexpr std::uint32_t c_narrowMask = (1u << 9) - 1;
constexpr unsigned int c_narrowLimit = c_narrowMask + 1;

std::uint32_t wideField(std::uint32_t position) {
  return (position >> c_wideShift) & c_wideMask;
}

std::uint32_t narrowField(std::uint32_t position) {
  return (position >> c_narrowShift) & c_narrowMask;
}

// The node whose position a node reads: itself, or the nearest ancestor that has one.
CMarlNode const* positionHolder(CMarlNode const* node) {
  while (node && (node->position & c_noPosition)) node = node->parent;
  return node;
}

// Nodes whose last reference went while another node was being destroyed. Each is still
// counted once, by this list, chained through its `next` link, and dies in the loop of the
// outermost destructor: tearing down a tree of any depth thus nests no destructors. The
// library runs on one thread at a time, so one list serves.
CMarlNode* c_pendingTeardown = nullptr;
bool c_tearingDown = false;

}  // namespace

// ---------------------------------------------------------------------------------------
// CMarlNode

CMarlNode::CMarlNode()
    : parent(nullptr),
      next(nullptr),
      firstChild(nullptr),
      ownerDocument(nullptr),
      numChildren(0),
      GID(CMarlBase::instance().takeGID()),
      position(c_noPosition) {}

// A failed copy ends the construction; the delegated constructor has run, so the destructor
// then lets the copies made so far go.
CMarlNode::CMarlNode(CMarlNode const& source, short depth) : CMarlNode() {
  if (depth != 0) copyDescendants(source, depth);
}

// The order is that of copying each child by clone(depth - 1): every copy is made before the
// copies of its children and finished after them, so that numbers and allocations come as
// they did. The walk follows the links of both trees instead of the call stack, and a
// negative depth never runs out.
void CMarlNode::copyDescendants(CMarlNode const& source, short depth) {
  unsigned int const levels = depth < 0 ? UINT_MAX : static_cast<unsigned int>(depth);
  unsigned int level = 1;  // of `original` below `source`
  CMarlNode* into = this;  // the copy of the parent of `original`
  CMarlNode const* original = source.firstChild;
  while (original) {
    MarlNode copy = original->copyAlone();
    if (!copy) throw std::bad_alloc();
    CMarlNode* made = copy._impl();
    made->link(into, nullptr);
    if (level < levels && original->firstChild) {
      into = made;
      original = original->firstChild;
      ++level;
      continue;
    }
    made->copyRest(*original);
    while (!original->next) {
      original = original->parent;
      if (original == &source) return;
      into->copyRest(*original);
      into = into->parent;
      --level;
    }
    original = original->next;
  }
}

MarlNode CMarlNode::copyAlone() const {
  return clone(0);
}

void CMarlNode::copyRest(CMarlNode const&) {}

// Only the outermost destructor runs the loop; those it sets off add to the list and return.
CMarlNode::~CMarlNode() {
  releaseChildren();
  ownerDocument = nullptr;
  if (c_tearingDown) return;
  c_tearingDown = true;
  while (CMarlNode* pending = c_pendingTeardown) {
    c_pendingTeardown = pending->next;
    pending->next = nullptr;
    pending->release();
  }
  c_tearingDown = false;
}

// Cuts the children loose from the front. Each child's backward link is dropped in turn, which
// frees the sibling before it, so a long child list dies in a loop rather than recursing along
// its siblings; a child that someone else holds lives on as a root of its own.
void CMarlNode::releaseChildren() {
  for (CMarlNode* child = firstChild; child;) {
    CMarlNode* following = child->next;
    child->parent = nullptr;
    child->next = nullptr;
    dropLink(child->prev);
    child = following;
  }
  firstChild = nullptr;
  numChildren = 0;
  dropLink(lastChild);
}

// A node without children may die at once: its destructor frees no subtree.
void CMarlNode::dropLink(MarlNode& link) noexcept {
  CMarlNode* node = link._impl();
  if (node && node->getRefCount() == 1 && node->firstChild) {
    // The list takes over the link's count; the node is cut loose, so `next` is free.
    node->addRef();
    link = static_cast<CMarlNode const*>(nullptr);
    node->next = c_pendingTeardown;
    c_pendingTeardown = node;
    return;
  }
  link = static_cast<CMarlNode const*>(nullptr);
}

unsigned int CMarlNode::setName(std::wstring const&) {
  return MarlNode::rcNotSupported;
}

unsigned int CMarlNode::setNamespacePrefix(std::wstring const&) {
  return MarlNode::rcNotSupported;
}

unsigned int CMarlNode::setNamespaceURI(std::wstring const&) {
  return MarlNode::rcNotSupported;
}

unsigned int CMarlNode::setValue(std::wstring const&) {
  return MarlNode::rcNotSupported;
}

unsigned int CMarlNode::appendChild(MarlNode const& child, unsigned char fast) {
  CMarlNode* node = child._impl();
  if (!node) return MarlNode::rcBadArgument;
  if (fast) {
    // The parser's path: a new node, alone, with nothing below it to adopt.
    node->link(this, nullptr);
    node->ownerDocument = ownerDocument;
    return MarlNode::rcOK;
  }
  if (node->parent == this) node->unlink();
  if (node->getType() == MarlNode::nodeFragment) {
    while (node->firstChild) appendChild(MarlNode(node->firstChild), 0);
    return MarlNode::rcOK;
  }
  MarlNodeIterator adoption = ownerWalk(node, this);
  node->unlink();
  node->link(this, nullptr);
  if (adoption) setOwnerAlong(adoption, ownerDocument);
  return MarlNode::rcOK;
}

unsigned int CMarlNode::insertChild(MarlNode const& newChild, MarlNode const& refChild) {
  CMarlNode* node = newChild._impl();
  CMarlNode* ref = refChild._impl();
  if (!node || node == ref) return MarlNode::rcBadArgument;
  // The unlink stands even when the reference turns out not to be a child.
  if (node->parent == this) node->unlink();
  if (ref && ref->parent != this) return MarlNode::rcNotChild;
  if (node->getType() == MarlNode::nodeFragment) {
    while (node->firstChild) insertChild(MarlNode(node->firstChild), refChild);
    return MarlNode::rcOK;
  }
  MarlNodeIterator adoption = ownerWalk(node, ref ? ref : this);
  node->unlink();
  node->link(this, ref);
  if (adoption) setOwnerAlong(adoption, ownerDocument);
  return MarlNode::rcOK;
}

// The walk is the one createIterator(0) makes on the node once it is linked: its end mark is
// the next sibling, else the parent.
MarlNodeIterator CMarlNode::ownerWalk(CMarlNode* node, CMarlNode* endMark) const {
  if (node->ownerDocument == ownerDocument) return MarlNodeIterator();
  return MarlNodeIterator(
      new CNodeIteratorDFS(MarlNode(node), MarlNode(endMark), 0, MarlNodeFilter()));
}

unsigned int CMarlNode::replaceChild(MarlNode const& newChild, MarlNode const& oldChild) {
  CMarlNode* node = newChild._impl();
  CMarlNode* old = oldChild._impl();
  if (!node || !old || node == old) return MarlNode::rcBadArgument;
  if (old->parent != this) return MarlNode::rcNotChild;
  insertChild(newChild, oldChild);
  removeChild(oldChild);
  return MarlNode::rcOK;
}

unsigned int CMarlNode::removeChild(MarlNode const& child) {
  CMarlNode* node = child._impl();
  if (!node) return MarlNode::rcBadArgument;
  if (node->parent != this) return MarlNode::rcNotChild;
  node->unlink();
  return MarlNode::rcOK;
}

std::wstring const& CMarlNode::getName() const {
  return *emptyAtom();
}

std::wstring const& CMarlNode::getNamespacePrefix() const {
  return *emptyAtom();
}

std::wstring const& CMarlNode::getNamespaceURI() const {
  return *emptyAtom();
}

MarlNamespaceContext CMarlNode::getNamespaceContext() const {
  return MarlNamespaceContext();
}

std::wstring const& CMarlNode::getValue() const {
  return *emptyAtom();
}

void CMarlNode::getValue(std::wstring& value) const {
  value.clear();
}

MarlNamedNodeMap CMarlNode::getAttributes() const {
  return MarlNamedNodeMap();
}

MarlDocument CMarlNode::getOwnerDocument() const {
  return MarlDocument(ownerDocument);
}

bool CMarlNode::renderHead(MarlOStream const& out, unsigned char deep) const {
  render(out, deep);
  return false;
}

bool CMarlNode::renderBeforeChild(MarlOStream const&, CMarlNode const&, bool) const {
  return true;
}

void CMarlNode::renderTail(MarlOStream const&, bool) const {}

// Writes in the order of a render that called render(out, 1) on each child it writes, but
// follows the links instead of the call stack. Only the current level's "a child has been
// written" needs keeping: the walk climbs back to a node only from a child it wrote.
void CMarlNode::renderSubtree(MarlOStream const& out, unsigned char deep) const {
  if (!renderHead(out, deep)) return;
  CMarlNode const* node = this;
  CMarlNode const* child = firstChild;
  bool anyWritten = false;
  for (;;) {
    if (child) {
      if (node->renderBeforeChild(out, *child, !anyWritten)) {
        anyWritten = true;
        if (child->renderHead(out, 1)) {
          node = child;
          child = node->firstChild;
          anyWritten = false;
          continue;
        }
      }
      child = child->next;
      continue;
    }
    node->renderTail(out, anyWritten);
    if (node == this) return;
    child = node->next;
    node = node->parent;
    anyWritten = true;
  }
}

void writeQualifiedName(MarlOStream const& out, std::wstring const& prefix,
                        std::wstring const& name) {
  if (!prefix.empty()) {
    writeMarkup(out, prefix);
    writeMarkup(out, L":");
  }
  writeMarkup(out, name);
}

void CMarlNode::link(CMarlNode* newParent, CMarlNode* before) {
  ++newParent->numChildren;
  parent = newParent;
  if (before) {
    next = before;
    prev = before->prev;
    before->prev = this;
  } else {
    prev = newParent->lastChild;
    newParent->lastChild = this;
  }
  if (CMarlNode* previous = prev._impl())
    previous->next = this;
  else
    newParent->firstChild = this;
}

MarlNode CMarlNode::unlink() {
  MarlNode self(this);
  if (next) next->prev = prev;
  if (CMarlNode* previous = prev._impl()) previous->next = next;
  if (parent) {
    if (parent->firstChild == this) parent->firstChild = next;
    if (parent->lastChild._impl() == this) parent->lastChild = prev;
    --parent->numChildren;
  }
  parent = nullptr;
  next = nullptr;
  prev = static_cast<CMarlNode const*>(nullptr);
  return self;
}

void CMarlNode::adoptInto(CMarlDocument* document) {
  CMarlNode* node = this;
  while (node) {
    node->ownerDocument = document;
    node = node->firstChild ? node->firstChild : nextBeyond(node, this);
  }
}

CMarlNode* CMarlNode::nextBeyond(CMarlNode const* node, CMarlNode const* top,
                                 unsigned int& level) noexcept {
  while (node != top && !node->next) {
    node = node->parent;
    --level;
  }
  return node == top ? nullptr : node->next;
}

CMarlNode* CMarlNode::nextBeyond(CMarlNode const* node, CMarlNode const* top) noexcept {
  unsigned int level = 0;
  return nextBeyond(node, top, level);
}

bool CMarlNode::isStale() const noexcept {
  return !CMarlBase::c_pMarl || CMarlBase::c_pMarl->isStale(GID);
}

MarlNode CMarlNode::getRoot() const {
  CMarlNode const* node = this;
  while (node->parent) node = node->parent;
  return MarlNode(const_cast<CMarlNode*>(node));
}

unsigned int CMarlNode::getHeight() const {
  unsigned int height = 0;
  for (CMarlNode const* node = parent; node; node = node->parent) ++height;
  return height;
}

unsigned int CMarlNode::getDepth() const {
  unsigned int depth = 0;
  unsigned int level = 0;
  CMarlNode const* node = this;
  while (node) {
    if (node->firstChild) {
      node = node->firstChild;
      if (++level > depth) depth = level;
    } else {
      node = nextBeyond(node, this, level);
    }
  }
  return depth;
}

unsigned char CMarlNode::hasAncestor(CMarlNode const* ancestor) const {
  if (!ancestor) return 1;
  for (CMarlNode const* node = this; node; node = node->parent)
    if (node == ancestor) return 1;
  return 0;
}

// Pre-order to `depth` levels below this node, as a search that recursed into each child with
// the limit reduced by one would go.
MarlNode CMarlNode::findFromGID(std::uint32_t gid, unsigned int depth) const {
  if (GID == gid) return MarlNode(const_cast<CMarlNode*>(this));
  unsigned int const limit = depth == 0 ? UINT_MAX : depth;
  unsigned int level = 1;
  CMarlNode* node = firstChild;
  while (node) {
    if (node->GID == gid) return MarlNode(node);
    if (level < limit && node->firstChild) {
      node = node->firstChild;
      ++level;
    } else {
      node = nextBeyond(node, this, level);
    }
  }
  return MarlNode();
}

void CMarlNode::removeNode() {
  if (getType() == MarlNode::nodeAttribute) {
    MarlElement owner = static_cast<CMarlAttribute*>(this)->getOwnerElement();
    if (owner) owner._impl()->removeAttributeNode(MarlAttribute(static_cast<CMarlAttribute*>(this)));
    return;
  }
  // Each child stands alone afterwards; grandchildren stay with their parents.
  while (firstChild) firstChild->unlink();
  unlink();
}

MarlNodeIterator CMarlNode::createIteratorFiltered(MarlNodeFilter const& filter,
                                                   unsigned int depth) const {
  try {
    return CNodeIteratorDFS::from(const_cast<CMarlNode*>(this), depth, filter);
  } catch (std::bad_alloc const&) {
    return MarlNodeIterator();
  }
}

MarlNodeIterator CMarlNode::createRevIteratorFiltered(MarlNodeFilter const& filter,
                                                      unsigned int depth) const {
  try {
    return CNodeRevIteratorDFS::from(const_cast<CMarlNode*>(this), depth, filter);
  } catch (std::bad_alloc const&) {
    return MarlNodeIterator();
  }
}

MarlInlineIterator CMarlNode::createInlineIterator(unsigned int depth) const {
  return CInlineIterator::over(createIteratorFiltered(MarlNodeFilter(), depth));
}

MarlInlineIterator CMarlNode::createRevInlineIterator(unsigned int depth) const {
  return CInlineIterator::over(createRevIteratorFiltered(MarlNodeFilter(), depth));
}

MarlNodeFilter CMarlNode::createFilterAnd(MarlNodeFilter const& a, MarlNodeFilter const& b) const {
  return CNodeFilterAnd::combine(a, b);
}

MarlNodeFilter CMarlNode::createFilterOr(MarlNodeFilter const& a, MarlNodeFilter const& b) const {
  return CNodeFilterOr::combine(a, b);
}

MarlNodeFilter CMarlNode::createFilterNot(MarlNodeFilter const& filter) const {
  return createFilter<CNodeFilterNot>(filter);
}

MarlNodeFilter CMarlNode::createFilterNodeType(unsigned int mask) const {
  return createFilter<CNodeFilterNodeType>(mask);
}

MarlNodeFilter CMarlNode::createFilterName(std::wstring const& name,
                                           std::wstring const& prefix) const {
  return createFilter<CNodeFilterName>(name, prefix);
}

MarlNodeFilter CMarlNode::createFilterNameNS(std::wstring const& name,
                                             std::wstring const& uri) const {
  return createFilter<CNodeFilterNameNS>(name, uri);
}

MarlNodeFilter CMarlNode::createFilterAttribute(std::wstring const& name,
                                                std::wstring const& prefix,
                                                std::wstring const& value) const {
  return createFilter<CNodeFilterAttribute>(name, prefix, value);
}

MarlNodeFilter CMarlNode::createFilterAttributeNS(std::wstring const& name,
                                                  std::wstring const& uri,
                                                  std::wstring const& value) const {
  return createFilter<CNodeFilterAttributeNS>(name, uri, value);
}

MarlNodeFilter CMarlNode::createFilterParent(MarlNodeFilter const& filter) const {
  return createFilter<CNodeFilterParent>(filter);
}

MarlNodeFilter CMarlNode::createFilterAncestor(MarlNodeFilter const& filter) const {
  return createFilter<CNodeFilterAncestor>(filter);
}

// Keeps a long single-line document usable: a column beyond the narrow field survives while
// the line fits into it.
void CMarlNode::setPosition(unsigned int line, unsigned int column) {
  bool swap = column >= c_narrowLimit && line < c_narrowLimit;
  std::uint32_t wide = swap ? column : line;
  std::uint32_t narrow = swap ? line : column;
  position = (swap ? c_swapped : 0) | ((wide & c_wideMask) << c_wideShift) |
             ((narrow & c_narrowMask) << c_narrowShift);
}

// The raw fields are taken as line and column whatever the swap bit says.
void CMarlNode::setLine(unsigned int line) {
  setPosition(line, narrowField(position));
}

void CMarlNode::setColumn(unsigned int column) {
  setPosition(wideField(position), column);
}

unsigned int CMarlNode::getLine() const {
  CMarlNode const* holder = positionHolder(this);
  if (!holder) return 0;
  return holder->position & c_swapped ? narrowField(holder->position) : wideField(holder->position);
}

unsigned int CMarlNode::getColumn() const {
  CMarlNode const* holder = positionHolder(this);
  if (!holder) return 0;
  return holder->position & c_swapped ? wideField(holder->position) : narrowField(holder->position);
}

// ---------------------------------------------------------------------------------------
// MarlNode

MarlNode::MarlNode(CMarlNode* p) : m_p(handle::acquire(p)) {}

MarlNode::MarlNode(CUnknown* p) : m_p(handle::query<CMarlNode>(p, idNode)) {}

MarlNode::MarlNode(MarlNode const& other) : m_p(handle::acquire(other.m_p)) {}

MarlNode& MarlNode::operator=(MarlNode const& other) {
  handle::assign(m_p, other.m_p);
  return *this;
}

MarlNode& MarlNode::operator=(CMarlNode const* p) {
  CMarlNode* source = const_cast<CMarlNode*>(p);
  handle::assign(m_p, source);
  return *this;
}

MarlNode::~MarlNode() {
  handle::release(m_p);
}

MarlNode::operator CUnknown*() const {
  return m_p;
}

unsigned int MarlNode::getType() const {
  return m_p->getType();
}

std::wstring const& MarlNode::getName() const {
  return m_p->getName();
}

std::wstring const& MarlNode::getNamespacePrefix() const {
  return m_p->getNamespacePrefix();
}

std::wstring const& MarlNode::getNamespace() const {
  return m_p->getNamespacePrefix();
}

std::wstring const& MarlNode::getNamespaceURI() const {
  return m_p->getNamespaceURI();
}

MarlNamespaceContext MarlNode::getNamespaceContext() const {
  return m_p->getNamespaceContext();
}

std::wstring const& MarlNode::getValue() const {
  return m_p->getValue();
}

void MarlNode::getValue(std::wstring& value) const {
  m_p->getValue(value);
}

MarlNamedNodeMap MarlNode::getAttributes() const {
  return m_p->getAttributes();
}

unsigned int MarlNode::setName(std::wstring const& name) {
  return m_p->setName(name);
}

unsigned int MarlNode::setNamespacePrefix(std::wstring const& prefix) {
  return m_p->setNamespacePrefix(prefix);
}

unsigned int MarlNode::setNamespace(std::wstring const& prefix) {
  return m_p->setNamespacePrefix(prefix);
}

unsigned int MarlNode::setNamespaceURI(std::wstring const& uri) {
  return m_p->setNamespaceURI(uri);
}

unsigned int MarlNode::setValue(std::wstring const& value) {
  return m_p->setValue(value);
}

unsigned int MarlNode::appendChild(MarlNode const& child, unsigned char fast) {
  return m_p->appendChild(child, fast);
}

unsigned int MarlNode::insertChild(MarlNode const& child, MarlNode const& ref) {
  return m_p->insertChild(child, ref);
}

unsigned int MarlNode::replaceChild(MarlNode const& newChild, MarlNode const& oldChild) {
  return m_p->replaceChild(newChild, oldChild);
}

unsigned int MarlNode::removeChild(MarlNode const& child) {
  return m_p->removeChild(child);
}

void MarlNode::removeNode() {
  m_p->removeNode();
}

MarlNode MarlNode::clone(int depth) const {
  return m_p->clone(depth);
}

void MarlNode::render(MarlOStream const& stream, unsigned char deep) const {
  m_p->render(stream, deep);
}

MarlNode MarlNode::getParent() const {
  return MarlNode(m_p->parent);
}

MarlNode MarlNode::getFirstChild() const {
  return MarlNode(m_p->firstChild);
}

MarlNode MarlNode::getLastChild() const {
  return m_p->lastChild;
}

MarlNode MarlNode::getNext() const {
  return MarlNode(m_p->next);
}

MarlNode MarlNode::getPrev() const {
  return m_p->prev;
}

MarlNode MarlNode::getRoot() const {
  return m_p->getRoot();
}

MarlDocument MarlNode::getOwnerDocument() const {
  return m_p->getOwnerDocument();
}

MarlNodeList MarlNode::getChildren() const {
  return CMarlNodeList::over(*this);
}

unsigned char MarlNode::isRoot() const {
  return m_p->parent == nullptr;
}

unsigned char MarlNode::isLeaf() const {
  return m_p->numChildren == 0;
}

unsigned int MarlNode::numChildren() const {
  return m_p->numChildren;
}

unsigned int MarlNode::getHeight() const {
  return m_p->getHeight();
}

unsigned int MarlNode::getDepth() const {
  return m_p->getDepth();
}

unsigned char MarlNode::hasAncestor(MarlNode const& ancestor) const {
  if (!ancestor.m_p) return 1;
  if (!m_p) return 0;
  return m_p->hasAncestor(ancestor.m_p);
}

unsigned int MarlNode::getGID() const {
  return m_p->GID;
}

MarlNode MarlNode::findFromGID(unsigned int gid, unsigned int depth) const {
  return m_p->findFromGID(gid, depth);
}

void MarlNode::setPosition(unsigned int line, unsigned int column) {
  m_p->setPosition(line, column);
}

void MarlNode::setLine(unsigned int line) {
  m_p->setLine(line);
}

void MarlNode::setColumn(unsigned int column) {
  m_p->setColumn(column);
}

unsigned int MarlNode::getLine() const {
  return m_p->getLine();
}

unsigned int MarlNode::getColumn() const {
  return m_p->getColumn();
}

MarlNodeIterator MarlNode::createIterator(unsigned int depth) const {
  return m_p->createIteratorFiltered(MarlNodeFilter(), depth);
}

MarlNodeIterator MarlNode::createIteratorFiltered(MarlNodeFilter const& filter,
                                                  unsigned int depth) const {
  return m_p->createIteratorFiltered(filter, depth);
}

MarlNodeIterator MarlNode::createRevIterator(unsigned int depth) const {
  return m_p->createRevIteratorFiltered(MarlNodeFilter(), depth);
}

MarlNodeIterator MarlNode::createRevIteratorFiltered(MarlNodeFilter const& filter,
                                                     unsigned int depth) const {
  return m_p->createRevIteratorFiltered(filter, depth);
}

MarlInlineIterator MarlNode::createInlineIterator(unsigned int depth) const {
  return m_p->createInlineIterator(depth);
}

MarlInlineIterator MarlNode::createRevInlineIterator(unsigned int depth) const {
  return m_p->createRevInlineIterator(depth);
}

MarlNodeFilter MarlNode::createFilterAnd(MarlNodeFilter const& a, MarlNodeFilter const& b) const {
  return m_p->createFilterAnd(a, b);
}

MarlNodeFilter MarlNode::createFilterOr(MarlNodeFilter const& a, MarlNodeFilter const& b) const {
  return m_p->createFilterOr(a, b);
}

MarlNodeFilter MarlNode::createFilterNot(MarlNodeFilter const& filter) const {
  return m_p->createFilterNot(filter);
}

MarlNodeFilter MarlNode::createFilterNodeType(unsigned int mask) const {
  return m_p->createFilterNodeType(mask);
}

MarlNodeFilter MarlNode::createFilterName(std::wstring const& name,
                                          std::wstring const& prefix) const {
  return m_p->createFilterName(name, prefix);
}

MarlNodeFilter MarlNode::createFilterNameNS(std::wstring const& name,
                                            std::wstring const& uri) const {
  return m_p->createFilterNameNS(name, uri);
}

MarlNodeFilter MarlNode::createFilterAttribute(std::wstring const& name,
                                               std::wstring const& prefix,
                                               std::wstring const& value) const {
  return m_p->createFilterAttribute(name, prefix, value);
}

MarlNodeFilter MarlNode::createFilterAttributeNS(std::wstring const& name,
                                                 std::wstring const& uri,
                                                 std::wstring const& value) const {
  return m_p->createFilterAttributeNS(name, uri, value);
}

MarlNodeFilter MarlNode::createFilterParent(MarlNodeFilter const& filter) const {
  return m_p->createFilterParent(filter);
}

MarlNodeFilter MarlNode::createFilterAncestor(MarlNodeFilter const& filter) const {
  return m_p->createFilterAncestor(filter);
}

// ---------------------------------------------------------------------------------------
// compareName

namespace {

bool matchesWanted(std::wstring const& actual, std::wstring const& wanted) {
  return (!wanted.empty() && wanted[0] == L'*') || actual == wanted;
}

}  // namespace

unsigned char compareName(std::wstring const& name, std::wstring const& uri,
                          std::wstring const& wantedName, std::wstring const& wantedUri,
                          unsigned char) {
  return matchesWanted(name, wantedName) && matchesWanted(uri, wantedUri);
}
