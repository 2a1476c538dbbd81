#include "dom/xmxxo_elem.h"

#include "dom/xmxxo_attr.h"
#include "dom/xmxxo_doc.h"
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
      namespaceContext(source.namespaceContext) {
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
  return createObject<MarlNode, CMarlElement>(*this, static_cast<short>(depth));
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
  // Defaults of the document type may declare namespaces. They go into the map before the
  // context is built, since attaching a declaration drops the context being built.
  if (!attributes && !isStale() && ownerDocument && ownerDocument->getDefaultAttributeTable())
    initAttributes();
  MarlElement parentElement(static_cast<CUnknown*>(parent));
  if (parentElement)
    namespaceContext = parentElement._impl()->getNamespaceContext();
  else
    namespaceContext = createObject<MarlNamespaceContext, CMarlNamespaceContext>();
  if (!attributes) return namespaceContext;
  if (isStale()) return namespaceContext;
  bindDeclarations();
  return namespaceContext;
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
void CMarlElement::normalize() {
  CMarlNode* child = firstChild;
  while (child) {
    if (child->getType() == MarlNode::nodeElement) {
      static_cast<CMarlElement*>(child)->normalize();
    } else if (child->getType() == MarlNode::nodeText && child->next &&
               child->next->getType() == MarlNode::nodeText) {
      std::wstring const& following = child->next->getValue();
      static_cast<CMarlText*>(child)->appendData(following.data(), following.size());
      child->next->removeNode();
      continue;
    }
    child = child->next;
  }
}

void CMarlElement::getContentAsString(std::wstring& content) const {
  for (CMarlNode const* child = firstChild; child; child = child->next) {
    unsigned int kind = child->getType();
    if (kind == MarlNode::nodeText || kind == MarlNode::nodeCDATA)
      content += child->getValue();
    else if (kind == MarlNode::nodeElement)
      static_cast<CMarlElement const*>(child)->getContentAsString(content);
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

void CMarlElement::clearNamespaceContext() {
  if (!namespaceContext) return;
  namespaceContext = static_cast<CMarlNamespaceContext const*>(nullptr);
  for (CMarlNode* child = firstChild; child; child = child->next)
    if (child->getType() == MarlNode::nodeElement) static_cast<CMarlElement*>(child)->clearNamespaceContext();
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
