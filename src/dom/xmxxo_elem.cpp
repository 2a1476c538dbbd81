#include "dom/xmxxo_elem.h"

#include <cstdint>
#include <functional>
#include <new>

#include "dom/xmxxo_attr.h"
#include "dom/xmxxo_doc.h"
#include "dom/xmxxo_ncol.h"
#include "dom/xmxxo_nite.h"
#include "dom/xmxxo_nmap.h"
#include "dom/xmxxo_nsc.h"
#include "dom/xmxxo_nsd.h"
#include "dom/xmxxo_text.h"
#include "dtd/xmxxu_atdf.h"

CMarlElement::CMarlElement(Atom elementName, Atom elementPrefix, Atom elementUri)
    : name(elementName), prefix(elementPrefix), uri(elementUri) {}

CMarlElement::CMarlElement(CMarlElement const& source, short depth)
    : CMarlNode(source, depth),
      name(source.name),
      prefix(source.prefix),
      uri(source.uri),
      namespaceContext(source.namespaceContext) {}

MarlNode CMarlElement::copyAlone() const {
  return createObject<MarlNode, CMarlElement>(*this, 0);
}

// The attributes are copied after the children, and numbered after them.
void CMarlElement::copyRest(CMarlNode const& original) {
  CMarlElement const& source = static_cast<CMarlElement const&>(original);
  if (source.isStale() || !source.attributes) return;
  attributes = createObject<MarlNamedNodeMap, CMarlNamedNodeMap>();
  if (!attributes) return;
  for (MarlNode const& entry : source.attributes._impl()->entries) {
    MarlAttribute copy(entry.clone(-1));
    if (!copy) throw std::bad_alloc();
    copy._impl()->parent = this;
    attributes.setNamedItem(copy);
  }
}

// Surviving attributes must not point at a dead element.
CMarlElement::~CMarlElement() {
  if (attributes) attributes.removeParent();
}

void* CMarlElement::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idElement, idNode});
}

unsigned int CMarlElement::_queryClass() const {
  return idElement;
}

unsigned int CMarlElement::setName(std::wstring const& text) {
  name = intern(text);
  return MarlNode::rcOK;
}

unsigned int CMarlElement::setNamespacePrefix(std::wstring const& text) {
  prefix = intern(text);
  return MarlNode::rcOK;
}

unsigned int CMarlElement::setNamespaceURI(std::wstring const& text) {
  uri = intern(text);
  return MarlNode::rcOK;
}

// The children give way to one text node, also for an empty value.
// The text is made before the children go, so that running out of memory changes nothing.
unsigned int CMarlElement::setValue(std::wstring const& value) {
  try {
    MarlText text(new CMarlText());
    text._impl()->setValue(value);
    while (firstChild) firstChild->removeNode();
    appendChild(text, 0);
  } catch (std::bad_alloc const&) {
    return MarlNode::rcNoNode;
  }
  return MarlNode::rcOK;
}

MarlNode CMarlElement::clone(int depth) const {
  return cloneFinishedLast(*this, depth);
}

void CMarlElement::render(MarlOStream const& out, unsigned char deep) const {
  renderSubtree(out, deep);
}

// The prefix is written as it was given, not looked up: an element is written as it was read.
// Defaults of the document type are not written, so a map that was never made holds nothing
// to write.
bool CMarlElement::renderHead(MarlOStream const& out, unsigned char deep) const {
  if (!out) return false;
  writeMarkup(out, L"<");
  writeQualifiedName(out, isStale() ? *emptyAtom() : *prefix, getName());
  if (attributes) {
    for (MarlNode const& entry : attributes._impl()->entries) {
      CMarlNode const* node = entry._impl();
      if (node->getType() != MarlNode::nodeAttribute) continue;
      if (!static_cast<CMarlAttribute const*>(node)->specified) continue;
      writeMarkup(out, L" ");
      node->render(out, 0);
    }
  }
  if (!firstChild) {
    writeMarkup(out, L"/>");
    return false;
  }
  writeMarkup(out, L">");
  if (!deep) {
    renderEndTag(out);
    return false;
  }
  if (indentsChildren(out)) XMLOSManipIncIndent(1).manipulate(out);
  return true;
}

bool CMarlElement::renderBeforeChild(MarlOStream const& out, CMarlNode const& child,
                                     bool) const {
  if (indentsChildren(out) || &child != firstChild) XMLOSManipEndl().manipulate(out);
  return true;
}

void CMarlElement::renderTail(MarlOStream const& out, bool) const {
  if (indentsChildren(out)) {
    XMLOSManipDecIndent(1).manipulate(out);
    XMLOSManipEndl().manipulate(out);
  }
  renderEndTag(out);
}

// Text alone stays on the line of its tags, where added white space would change it.
bool CMarlElement::indentsChildren(MarlOStream const& out) const {
  bool const textOnly = numChildren == 1 && (firstChild->getType() == MarlNode::nodeText ||
                                             firstChild->getType() == MarlNode::nodeCDATA);
  return out.getPrettyPrint() && !textOnly;
}

void CMarlElement::renderEndTag(MarlOStream const& out) const {
  writeMarkup(out, L"</");
  writeQualifiedName(out, isStale() ? *emptyAtom() : *prefix, getName());
  writeMarkup(out, L">");
}

std::wstring const& CMarlElement::getName() const {
  return isStale() ? *unknownAtom() : *name;
}

std::wstring const& CMarlElement::getNamespacePrefix() const {
  if (isStale()) return *emptyAtom();
  if (!prefix->empty()) return *prefix;
  if (!uri->empty()) {
    MarlNamespaceContext context = getNamespaceContext();
    if (context) {
      std::wstring const& bound = context.mapToPrefix(*uri);
      if (!bound.empty()) return *intern(bound);
    }
  }
  return *emptyAtom();
}

// An element without a prefix takes the default namespace.
std::wstring const& CMarlElement::getNamespaceURI() const {
  if (isStale()) return *emptyAtom();
  if (!uri->empty()) return *uri;
  MarlNamespaceContext context = getNamespaceContext();
  if (context) {
    std::wstring const& bound = context.mapToURI(*prefix);
    if (!bound.empty()) return *intern(bound);
  }
  return *emptyAtom();
}

// An element without declarations shares its parent's context; the first declaration among
// its attributes gives it a copy of its own.
MarlNamespaceContext CMarlElement::getNamespaceContext() const {
  if (namespaceContext) {
    if (!isStale()) return namespaceContext;
    // A stale element cannot trust the atoms of its bindings.
    if (namespaceContext.numBindings() != 0)
      namespaceContext = createObject<MarlNamespaceContext, CMarlNamespaceContext>();
    return namespaceContext;
  }
  // The order is that of asking the parent element for its context, which asks its own, up
  // to an ancestor element that has one or to the top element; the contexts are then built on
  // the way back down. The walk follows the links instead of the call stack.
  //
  // On the way up each element makes its map. Defaults of the document type may declare
  // namespaces. They go into the map before the context is built, since attaching a
  // declaration drops the context being built. An element whose defaults depend on its own
  // context (see awaitsContextForDefaults) makes its map on the way down instead.
  CMarlElement const* top = this;
  for (;;) {
    if (top->needsDefaults() && !top->awaitsContextForDefaults()) top->initAttributes();
    MarlElement parentElement(static_cast<CUnknown*>(top->parent));
    if (!parentElement || parentElement._impl()->namespaceContext) break;
    top = parentElement._impl();
  }
  MarlNamespaceContext inherited = top->askParentForNamespaceContext();
  if (top == this) {
    settleNamespaceContext(inherited);
    return namespaceContext;
  }
  // The way down is found by turning the parent links of the way up round for a while, which
  // needs no memory. Each element settles with its own link and that of its child on the way
  // restored: what it may call walks its own subtree only, and does not enter that child,
  // which has no context yet.
  CMarlNode* below = nullptr;
  for (CMarlNode* node = const_cast<CMarlElement*>(this); node != top;) {
    CMarlNode* up = node->parent;
    node->parent = below;
    below = node;
    node = up;
  }
  CMarlNode* settling = const_cast<CMarlElement*>(top);
  CMarlNode* further = nullptr;  // the element after `below` on the way down
  try {
    for (;;) {
      further = below ? below->parent : nullptr;
      if (below) below->parent = settling;
      static_cast<CMarlElement const*>(settling)->settleNamespaceContext(inherited);
      if (!below) break;
      inherited = static_cast<CMarlElement const*>(settling)->namespaceContext;
      settling = below;
      below = further;
    }
  } catch (...) {
    for (CMarlNode* up = below; further;) {
      CMarlNode* down = further->parent;
      further->parent = up;
      up = further;
      further = down;
    }
    throw;
  }
  return namespaceContext;
}

bool CMarlElement::needsDefaults() const {
  return !attributes && !isStale() && ownerDocument && ownerDocument->getDefaultAttributeTable();
}

// Its defaults are looked up by its prefix, which for an element with a URI and no prefix
// comes from its context: making the map asks for the context while it is being built.
bool CMarlElement::awaitsContextForDefaults() const {
  return !isStale() && prefix->empty() && !uri->empty();
}

MarlNamespaceContext CMarlElement::askParentForNamespaceContext() const {
  MarlElement parentElement(static_cast<CUnknown*>(parent));
  if (parentElement) return parentElement._impl()->getNamespaceContext();
  return createObject<MarlNamespaceContext, CMarlNamespaceContext>();
}

// An element whose map waits for its context makes it here, with the context it inherits as
// the answer of the inner request, and then asks its parent a second time, as the request
// that began the making of the map does when it goes on.
void CMarlElement::settleNamespaceContext(MarlNamespaceContext const& inherited) const {
  namespaceContext = inherited;
  if (needsDefaults() && awaitsContextForDefaults()) {
    initAttributes();
    if (attributes) namespaceContext = askParentForNamespaceContext();
  }
  if (!attributes) return;
  if (isStale()) return;
  bindDeclarations();
}

void CMarlElement::bindDeclarations() const {
  bool ownContext = false;
  for (MarlNode const& entry : getAttributes()._impl()->entries) {
    MarlNamespaceDecl declaration(entry);
    if (!declaration) continue;
    if (!ownContext) {
      namespaceContext = namespaceContext
                             ? namespaceContext.clone()
                             : createObject<MarlNamespaceContext, CMarlNamespaceContext>();
      ownContext = true;
      if (!namespaceContext) return;
    }
    std::wstring const& declared = declaration.getName();
    namespaceContext.bind(declared == L"xmlns" ? std::wstring() : declared, declaration.getValue());
  }
}

std::wstring const& CMarlElement::getValue() const {
  return getContentAsString();
}

void CMarlElement::getValue(std::wstring& value) const {
  value.clear();
  getContentAsString(value);
}

unsigned int CMarlElement::getType() const {
  return MarlNode::nodeElement;
}

MarlNamedNodeMap CMarlElement::getAttributes() const {
  if (!attributes) initAttributes();
  return attributes;
}

void CMarlElement::initAttributes() const {
  if (attributes) return;
  attributes = createObject<MarlNamedNodeMap, CMarlNamedNodeMap>();
  if (attributes) addDefaultAttributes();
}

// Like a map that cannot be made, a default that cannot be made is simply missing: reading
// attributes does not fail.
void CMarlElement::addDefaultAttributes() const {
  if (!ownerDocument) return;
  DefaultAttributeTable const* table = ownerDocument->getDefaultAttributeTable();
  if (!table) return;
  MarlElement self(const_cast<CMarlElement*>(this));
  try {
    table->addDefaultAttributes(self);
  } catch (std::bad_alloc const&) {
  }
}

std::wstring const& CMarlElement::getAttribute(std::wstring const& attributeName,
                                               std::wstring const& attributePrefix) const {
  MarlAttribute found = getAttributeNode(attributeName, attributePrefix);
  return found ? found.getValue() : *emptyAtom();
}

std::wstring const& CMarlElement::getAttributeNS(std::wstring const& attributeName,
                                                 std::wstring const& attributeUri) const {
  MarlAttribute found = getAttributeNodeNS(attributeName, attributeUri);
  return found ? found.getValue() : *emptyAtom();
}

MarlAttribute CMarlElement::getAttributeNode(std::wstring const& attributeName,
                                             std::wstring const& attributePrefix) const {
  initAttributes();
  if (!attributes) return MarlAttribute();
  return MarlAttribute(attributes.getNamedItem(attributeName, attributePrefix));
}

MarlAttribute CMarlElement::getAttributeNodeNS(std::wstring const& attributeName,
                                               std::wstring const& attributeUri) const {
  initAttributes();
  if (!attributes) return MarlAttribute();
  return MarlAttribute(attributes.getNamedItemNS(attributeName, attributeUri));
}

unsigned int CMarlElement::setAttribute(std::wstring const& attributeName,
                                        std::wstring const& attributePrefix,
                                        std::wstring const& value) {
  try {
    MarlAttribute existing = getAttributeNode(attributeName, attributePrefix);
    if (existing) return existing._impl()->setValue(value);
    return addAttribute(intern(attributeName), intern(attributePrefix), emptyAtom(), value);
  } catch (std::bad_alloc const&) {
    return MarlNode::rcNoNode;
  }
}

unsigned int CMarlElement::setAttributeNS(std::wstring const& attributeName,
                                          std::wstring const& attributePrefix,
                                          std::wstring const& attributeUri,
                                          std::wstring const& value) {
  try {
    MarlAttribute existing = getAttributeNodeNS(attributeName, attributeUri);
    if (existing) return existing._impl()->setValue(value);
    // The context must stand before the map changes.
    getNamespaceContext();
    return addAttribute(intern(attributeName), intern(attributePrefix), intern(attributeUri), value);
  } catch (std::bad_alloc const&) {
    return MarlNode::rcNoNode;
  }
}

unsigned int CMarlElement::addAttribute(Atom attributeName, Atom attributePrefix, Atom attributeUri,
                                        std::wstring const& value) {
  if (!attributes) return MarlNode::rcNoNode;
  MarlAttribute attribute(new CMarlAttribute(attributeName, attributePrefix, attributeUri));
  attribute._impl()->setValue(value);
  attribute._impl()->parent = this;
  attributes.setNamedItem(attribute);
  return MarlNode::rcOK;
}

unsigned int CMarlElement::setAttributeNode(MarlAttribute const& attribute) {
  if (!attribute) return MarlNode::rcBadArgument;
  initAttributes();
  if (!attributes) return MarlNode::rcNoNode;
  attribute._impl()->parent = this;
  if (namespaceContext && MarlNamespaceDecl(attribute)) clearNamespaceContext();
  return attributes.setNamedItem(attribute);
}

unsigned int CMarlElement::setAttributeNodeNS(MarlAttribute const& attribute) {
  if (!attribute) return MarlNode::rcBadArgument;
  initAttributes();
  if (!attributes) return MarlNode::rcNoNode;
  attribute._impl()->parent = this;
  if (namespaceContext && MarlNamespaceDecl(attribute)) clearNamespaceContext();
  return attributes.setNamedItemNS(attribute);
}

// Removing by name does not make a map where there is none.
unsigned int CMarlElement::removeAttribute(std::wstring const& attributeName,
                                           std::wstring const& attributePrefix) {
  if (!attributes) return MarlNode::rcNotFound;
  return attributes.removeNamedItem(attributeName, attributePrefix);
}

unsigned int CMarlElement::removeAttributeNS(std::wstring const& attributeName,
                                             std::wstring const& attributeUri) {
  if (!attributes) return MarlNode::rcNotFound;
  return attributes.removeNamedItemNS(attributeName, attributeUri);
}

// Removal goes by the node's names, not by its identity.
unsigned int CMarlElement::removeAttributeNode(MarlAttribute const& attribute) {
  if (!attribute) return MarlNode::rcBadArgument;
  initAttributes();
  if (!attributes) return MarlNode::rcNotFound;
  unsigned int result = attributes.removeNamedItem(attribute.getName(), attribute.getNamespacePrefix());
  if (result == MarlNode::rcOK && namespaceContext && MarlNamespaceDecl(attribute))
    clearNamespaceContext();
  return result;
}

unsigned int CMarlElement::removeAttributeNodeNS(MarlAttribute const& attribute) {
  if (!attribute) return MarlNode::rcBadArgument;
  initAttributes();
  if (!attributes) return MarlNode::rcNotFound;
  unsigned int result = attributes.removeNamedItemNS(attribute.getName(), attribute.getNamespaceURI());
  if (result == MarlNode::rcOK && namespaceContext && MarlNamespaceDecl(attribute))
    clearNamespaceContext();
  return result;
}

unsigned char CMarlElement::contains(unsigned int mask) const {
  for (CMarlNode const* child = firstChild; child; child = child->next)
    if (child->getType() & mask) return 1;
  return 0;
}

// A run of text nodes collapses into its first node; CDATA sections and comments separate runs.
// Element children are normalized in document order, each before the walk moves on past it,
// following the links rather than the call stack.
void CMarlElement::normalize() {
  CMarlNode* child = firstChild;
  while (child) {
    if (child->getType() == MarlNode::nodeElement && child->firstChild) {
      child = child->firstChild;
      continue;
    }
    if (child->getType() == MarlNode::nodeText && child->next &&
        child->next->getType() == MarlNode::nodeText) {
      std::wstring const& following = child->next->getValue();
      static_cast<CMarlText*>(child)->appendData(following.data(), following.size());
      child->next->removeNode();
      continue;
    }
    child = nextBeyond(child, this);
  }
}

// Only element children are entered: the text below other nodes does not count.
void CMarlElement::getContentAsString(std::wstring& content) const {
  CMarlNode const* child = firstChild;
  while (child) {
    unsigned int kind = child->getType();
    if (kind == MarlNode::nodeText || kind == MarlNode::nodeCDATA) {
      content += child->getValue();
    } else if (kind == MarlNode::nodeElement && child->firstChild) {
      child = child->firstChild;
      continue;
    }
    child = nextBeyond(child, this);
  }
}

// Handed out as a reference, so the text goes into the string cache.
std::wstring const& CMarlElement::getContentAsString() const {
  std::wstring content;
  getContentAsString(content);
  return *intern(content);
}

void CMarlElement::setEndTagLine(unsigned int line) {
  if (ownerDocument) ownerDocument->setEndTagLine(GID, line);
}

unsigned int CMarlElement::getEndTagLine() const {
  return ownerDocument ? ownerDocument->getEndTagLine(GID) : 0;
}

MarlNamespaceContext CMarlElement::forkNamespaceContext() {
  if (!namespaceContext) getNamespaceContext();
  namespaceContext = namespaceContext ? namespaceContext.clone()
                                      : createObject<MarlNamespaceContext, CMarlNamespaceContext>();
  return namespaceContext;
}

// Below an element that had no context, none has one to drop: the walk does not enter it.
void CMarlElement::clearNamespaceContext() {
  if (!namespaceContext) return;
  namespaceContext = static_cast<CMarlNamespaceContext const*>(nullptr);
  CMarlNode* node = firstChild;
  while (node) {
    if (node->getType() == MarlNode::nodeElement) {
      CMarlElement* element = static_cast<CMarlElement*>(node);
      if (element->namespaceContext && element->firstChild) {
        element->namespaceContext = static_cast<CMarlNamespaceContext const*>(nullptr);
        node = element->firstChild;
        continue;
      }
      element->namespaceContext = static_cast<CMarlNamespaceContext const*>(nullptr);
    }
    node = nextBeyond(node, this);
  }
}

// ---------------------------------------------------------------------------------------
// Lookups by name and path

MarlElement CMarlElement::findFromPath(std::wstring const& path) const {
  return CPathWalk::lookUp(this, path, false);
}

MarlElement CMarlElement::findFromPathNS(std::wstring const& path, std::wstring const&) const {
  return CPathWalk::lookUp(this, path, true);
}

MarlElement CMarlElement::findFromName(std::wstring const& wantedName,
                                       std::wstring const& wantedPrefix,
                                       unsigned int depth) const {
  try {
    return findFromRegisteredName(*intern(wantedName), *intern(wantedPrefix), depth);
  } catch (std::bad_alloc const&) {
    return MarlElement();
  }
}

MarlElement CMarlElement::findFromNameNS(std::wstring const& wantedName,
                                         std::wstring const& wantedUri,
                                         unsigned int depth) const {
  try {
    return findFromRegisteredNameNS(*intern(wantedName), *intern(wantedUri), depth);
  } catch (std::bad_alloc const&) {
    return MarlElement();
  }
}

// A collection cut short by a lack of memory would pass for a complete one: there is none.
MarlNodeCollection CMarlElement::getElementsByTagName(std::wstring const& wantedName,
                                                      std::wstring const& wantedPrefix,
                                                      unsigned int depth) const {
  try {
    MarlNodeCollection found(new CMarlNodeCollection());
    collectRegistered(*found._impl(), *intern(wantedName), *intern(wantedPrefix),
                      &CMarlNode::getNamespacePrefix, depth, false);
    return found;
  } catch (std::bad_alloc const&) {
    return MarlNodeCollection();
  }
}

MarlNodeCollection CMarlElement::getElementsByTagNameNS(std::wstring const& wantedName,
                                                        std::wstring const& wantedUri,
                                                        unsigned int depth) const {
  try {
    MarlNodeCollection found(new CMarlNodeCollection());
    collectRegistered(*found._impl(), *intern(wantedName), *intern(wantedUri),
                      &CMarlNode::getNamespaceURI, depth, false);
    return found;
  } catch (std::bad_alloc const&) {
    return MarlNodeCollection();
  }
}

MarlElement CMarlElement::findFromRegisteredName(std::wstring const& wantedName,
                                                 std::wstring const& wantedPrefix,
                                                 unsigned int depth) const {
  return findRegistered(wantedName, wantedPrefix, &CMarlNode::getNamespacePrefix, depth);
}

MarlElement CMarlElement::findFromRegisteredNameNS(std::wstring const& wantedName,
                                                   std::wstring const& wantedUri,
                                                   unsigned int depth) const {
  return findRegistered(wantedName, wantedUri, &CMarlNode::getNamespaceURI, depth);
}

// The order is that of a recursive search, each child before its own children and those
// before its next sibling, but the search follows the links, so that no depth of tree can
// exhaust the stack. `level` counts the levels below this element.
MarlElement CMarlElement::findRegistered(std::wstring const& wantedName,
                                         std::wstring const& wantedSecond, NamePart part,
                                         unsigned int depth) const {
  std::uint32_t limit = depth == 0 ? UINT32_MAX : depth;
  std::uint32_t level = 1;
  CMarlNode const* node = firstChild;
  while (node) {
    if (node->getType() == MarlNode::nodeElement) {
      // The name is tested first: the prefix or URI of an element may need its namespace
      // context, which costs more.
      if (&node->getName() == &wantedName && &(node->*part)() == &wantedSecond)
        return MarlElement(static_cast<CMarlElement*>(const_cast<CMarlNode*>(node)));
      if (level < limit && node->firstChild) {
        node = node->firstChild;
        ++level;
        continue;
      }
    }
    node = nextBeyond(node, this, level);
  }
  return MarlElement();
}

void CMarlElement::collectRegistered(CMarlNodeCollection& found, std::wstring const& wantedName,
                                     std::wstring const& wantedSecond, NamePart part,
                                     unsigned int depth, bool withSelf) const {
  MarlNodeIterator walk =
      CNodeIteratorDFS::from(const_cast<CMarlElement*>(this), depth, MarlNodeFilter());
  CNodeIteratorImpl* steps = walk._impl();
  MarlNode node = steps->getNext();
  if (!withSelf && node) node = steps->getNext();
  for (; node; node = steps->getNext()) {
    CMarlNode const* candidate = node._impl();
    if (candidate->getType() != MarlNode::nodeElement) continue;
    if (&candidate->getName() != &wantedName || &(candidate->*part)() != &wantedSecond) continue;
    if (found.appendItem(node) != MarlNode::rcOK) throw std::bad_alloc();
  }
}

// Named steps take the first child of the name and no other; only wildcard steps try the next
// child when the rest of the path fails below the first.
PathOutcome CMarlElement::takePathSteps(CPathWalk& walk, std::size_t offset) const {
  // Whatever the path says, an element without children leads nowhere, not even to itself.
  if (numChildren == 0) return PathOutcome::failed;
  if (walk.slashAt(offset))
    return ownerDocument ? walk.moveTo(ownerDocument, offset + 1) : PathOutcome::failed;
  CMarlElement const* current = this;
  std::wstring qualifier;
  std::wstring local;
  for (;;) {
    CPathWalk::Step step = walk.cut(offset);
    // An empty step ends the walk, and what follows it is not read: "a//b" and "a/" lead to a.
    if (step.head.empty()) return walk.arrive(current);
    if (CPathWalk::isParentStep(step.head)) {
      CMarlNode const* up = current->parent;
      // Above the top element the path goes on from the document: "../x" from the root
      // element looks for a root element x.
      if (!up || up->getType() != MarlNode::nodeElement)
        return current->ownerDocument ? walk.moveTo(current->ownerDocument, step.rest)
                                      : PathOutcome::failed;
      current = static_cast<CMarlElement const*>(up);
    } else {
      walk.split(step.head, qualifier, local);
      if (CPathWalk::isWildcard(qualifier, local))
        return walk.branch(current, std::move(qualifier), std::move(local), step.rest);
      MarlElement child =
          current->findRegistered(*intern(local), *intern(qualifier), walk.namePart(), 1);
      if (!child) return PathOutcome::failed;
      current = child._impl();
    }
    offset = step.rest;
  }
}

// ---------------------------------------------------------------------------------------
// CPathWalk

namespace {

// A wildcard branch that led nowhere: the element tried and where the path went on from it.
struct FailedBranch {
  CMarlNode const* node;
  std::size_t offset;
};

struct FailedBranchTraits {
  using Key = FailedBranch;
  static Key const& key(FailedBranch const& branch) noexcept { return branch; }
  static std::uint32_t hash(Key const& branch) noexcept {
    std::size_t mixed = std::hash<CMarlNode const*>()(branch.node) * 31u + branch.offset;
    return static_cast<std::uint32_t>(mixed ^ (mixed >> 16));
  }
  static bool equal(Key const& a, Key const& b) noexcept {
    return a.node == b.node && a.offset == b.offset;
  }
};

constexpr std::size_t c_failedBranchesSize = 64;

}  // namespace

class CFailedBranches : public CHashTable<FailedBranch, FailedBranchTraits> {
 public:
  CFailedBranches() : CHashTable(c_failedBranchesSize) {}
};

CPathWalk::CPathWalk(std::wstring const& walkedPath, bool stepsByURI)
    : path(walkedPath),
      uriSteps(stepsByURI),
      position(nullptr),
      offset(0),
      destination(nullptr) {}

CPathWalk::~CPathWalk() = default;

MarlElement CPathWalk::lookUp(CMarlNode const* start, std::wstring const& path, bool byURI) {
  try {
    CPathWalk walk(path, byURI);
    return walk.run(start);
  } catch (std::bad_alloc const&) {
    return MarlElement();
  }
}

CMarlElement::NamePart CPathWalk::namePart() const noexcept {
  return uriSteps ? &CMarlNode::getNamespaceURI : &CMarlNode::getNamespacePrefix;
}

bool CPathWalk::slashAt(std::size_t at) const noexcept {
  return at < path.size() && path[at] == L'/';
}

// A quoted step runs to its closing mark, or to the end when there is none; one "/" after the
// mark is dropped, and anything else there begins the rest.
CPathWalk::Step CPathWalk::cut(std::size_t at) const noexcept {
  std::size_t size = path.size();
  if (at >= size) return Step{std::wstring_view(), size};
  if (uriSteps && path[at] == L'"') {
    std::size_t open = at + 1;
    std::size_t close = path.find(L'"', open);
    if (close == std::wstring_view::npos) return Step{path.substr(open), size};
    std::size_t rest = close + 1;
    if (rest < size && path[rest] == L'/') ++rest;
    return Step{path.substr(open, close - open), rest};
  }
  std::size_t slash = path.find(L'/', at);
  if (slash == std::wstring_view::npos) return Step{path.substr(at), size};
  return Step{path.substr(at, slash - at), slash + 1};
}

// A URI holds colons of its own, so a step by URI is split at its last colon.
void CPathWalk::split(std::wstring_view head, std::wstring& qualifier,
                      std::wstring& local) const {
  std::size_t colon = uriSteps ? head.rfind(L':') : head.find(L':');
  if (colon == std::wstring_view::npos) {
    qualifier.clear();
    local.assign(head);
    return;
  }
  qualifier.assign(head.substr(0, colon));
  local.assign(head.substr(colon + 1));
}

// Only a step of exactly "*" on either side is a wildcard step; compareName, which tests the
// candidates, takes any pattern beginning with "*" for one.
bool CPathWalk::isWildcard(std::wstring const& qualifier, std::wstring const& local) noexcept {
  return local == L"*" || qualifier == L"*";
}

PathOutcome CPathWalk::arrive(CMarlElement const* element) noexcept {
  destination = element;
  return PathOutcome::arrived;
}

PathOutcome CPathWalk::moveTo(CMarlNode const* node, std::size_t at) noexcept {
  position = node;
  offset = at;
  return PathOutcome::moved;
}

PathOutcome CPathWalk::branch(CMarlNode const* parent, std::wstring qualifier, std::wstring local,
                              std::size_t rest) {
  wildcards.push_back(Wildcard{parent, nullptr, std::move(qualifier), std::move(local), rest});
  return PathOutcome::branched;
}

MarlElement CPathWalk::run(CMarlNode const* start) {
  position = start;
  offset = 0;
  for (;;) {
    switch (takeSteps()) {
      case PathOutcome::arrived:
        return MarlElement(const_cast<CMarlElement*>(destination));
      case PathOutcome::moved:
        continue;
      case PathOutcome::branched:
        if (enterNextCandidate()) continue;
        break;
      case PathOutcome::failed:
        break;
    }
    if (!backtrack()) return MarlElement();
  }
}

PathOutcome CPathWalk::takeSteps() {
  if (position->getType() == MarlNode::nodeDocument)
    return static_cast<CMarlDocument const*>(position)->takePathStep(*this, offset);
  return static_cast<CMarlElement const*>(position)->takePathSteps(*this, offset);
}

bool CPathWalk::enterNextCandidate() {
  Wildcard& step = wildcards.back();
  CMarlNode const* child = step.candidate ? step.candidate->next : step.parent->firstChild;
  for (; child; child = child->next) {
    if (child->getType() != MarlNode::nodeElement) continue;
    if (!compareName(child->getName(), (child->*namePart())(), step.local, step.qualifier))
      continue;
    if (failures && failures->find(FailedBranch{child, step.rest})) continue;
    step.candidate = child;
    moveTo(child, step.rest);
    return true;
  }
  wildcards.pop_back();
  return false;
}

// The innermost wildcard step's candidate is the one whose branch just failed: all the steps
// inside that branch have been tried and dropped before the walk gets back here.
bool CPathWalk::backtrack() {
  while (!wildcards.empty()) {
    FailedBranch branch{wildcards.back().candidate, wildcards.back().rest};
    if (!failures) failures.reset(new CFailedBranches());
    failures->emplace(branch, branch);
    if (enterNextCandidate()) return true;
  }
  return false;
}

// ---------------------------------------------------------------------------------------
// MarlElement

MARL_DEFINE_NODE_HANDLE(MarlElement, CMarlElement, idElement)

std::wstring const& MarlElement::getAttribute(std::wstring const& name, std::wstring const& prefix) const {
  return _impl()->getAttribute(name, prefix);
}

std::wstring const& MarlElement::getAttributeNS(std::wstring const& name, std::wstring const& uri) const {
  return _impl()->getAttributeNS(name, uri);
}

MarlAttribute MarlElement::getAttributeNode(std::wstring const& name, std::wstring const& prefix) {
  return _impl()->getAttributeNode(name, prefix);
}

MarlAttribute MarlElement::getAttributeNodeNS(std::wstring const& name, std::wstring const& uri) {
  return _impl()->getAttributeNodeNS(name, uri);
}

unsigned int MarlElement::setAttribute(std::wstring const& name, std::wstring const& prefix,
                                       std::wstring const& value) {
  return _impl()->setAttribute(name, prefix, value);
}

unsigned int MarlElement::setAttributeNS(std::wstring const& name, std::wstring const& prefix,
                                         std::wstring const& uri, std::wstring const& value) {
  return _impl()->setAttributeNS(name, prefix, uri, value);
}

unsigned int MarlElement::setAttributeNode(MarlAttribute const& attribute) {
  return _impl()->setAttributeNode(attribute);
}

unsigned int MarlElement::setAttributeNodeNS(MarlAttribute const& attribute) {
  return _impl()->setAttributeNodeNS(attribute);
}

unsigned int MarlElement::removeAttribute(std::wstring const& name, std::wstring const& prefix) {
  return _impl()->removeAttribute(name, prefix);
}

unsigned int MarlElement::removeAttributeNS(std::wstring const& name, std::wstring const& uri) {
  return _impl()->removeAttributeNS(name, uri);
}

unsigned int MarlElement::removeAttributeNode(MarlAttribute const& attribute) {
  return _impl()->removeAttributeNode(attribute);
}

unsigned int MarlElement::removeAttributeNodeNS(MarlAttribute const& attribute) {
  return _impl()->removeAttributeNodeNS(attribute);
}

unsigned char MarlElement::contains(unsigned int mask) const {
  return _impl()->contains(mask);
}

void MarlElement::normalize() {
  _impl()->normalize();
}

std::wstring const& MarlElement::getContentAsString() const {
  return _impl()->getContentAsString();
}

void MarlElement::getContentAsString(std::wstring& content) const {
  _impl()->getContentAsString(content);
}

unsigned int MarlElement::getEndTagLine() const {
  return _impl()->getEndTagLine();
}

MarlElement MarlElement::findFromPath(std::wstring const& path) const {
  return _impl()->findFromPath(path);
}

MarlElement MarlElement::findFromPathNS(std::wstring const& path,
                                        std::wstring const& reserved) const {
  return _impl()->findFromPathNS(path, reserved);
}

MarlElement MarlElement::findFromName(std::wstring const& name, std::wstring const& prefix,
                                      unsigned int depth) const {
  return _impl()->findFromName(name, prefix, depth);
}

MarlElement MarlElement::findFromNameNS(std::wstring const& name, std::wstring const& uri,
                                        unsigned int depth) const {
  return _impl()->findFromNameNS(name, uri, depth);
}

MarlNodeCollection MarlElement::getElementsByTagName(std::wstring const& name,
                                                     std::wstring const& prefix,
                                                     unsigned int depth) const {
  return _impl()->getElementsByTagName(name, prefix, depth);
}

MarlNodeCollection MarlElement::getElementsByTagNameNS(std::wstring const& name,
                                                       std::wstring const& uri,
                                                       unsigned int depth) const {
  return _impl()->getElementsByTagNameNS(name, uri, depth);
}
