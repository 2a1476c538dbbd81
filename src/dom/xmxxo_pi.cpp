#include "dom/xmxxo_pi.h"

#include "dom/xmxxo_attr.h"
#include "dom/xmxxo_nmap.h"

CMarlPI::CMarlPI(Atom piTarget) : target(piTarget), external(0) {}

// A stale source's target died with an earlier library: the copy reads the unknown name.
CMarlPI::CMarlPI(CMarlPI const& source, short depth)
    : CMarlNode(source, depth), target(&source.getName()), external(source.external) {}

void* CMarlPI::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idPI, idNode});
}

unsigned int CMarlPI::_queryClass() const {
  return idPI;
}

unsigned int CMarlPI::setName(std::wstring const& name) {
  target = intern(name);
  return MarlNode::rcOK;
}

std::wstring const& CMarlPI::getName() const {
  return isStale() ? *unknownAtom() : *target;
}

// ---------------------------------------------------------------------------------------
// CMarlPIUnparsed

CMarlPIUnparsed::CMarlPIUnparsed(Atom piTarget, std::wstring const& piData)
    : CMarlPI(piTarget), data(piData) {}

CMarlPIUnparsed::CMarlPIUnparsed(CMarlPIUnparsed const& source, short depth)
    : CMarlPI(source, depth), data(source.data) {}

void* CMarlPIUnparsed::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idPIUnparsed, idPI, idNode});
}

unsigned int CMarlPIUnparsed::_queryClass() const {
  return idPIUnparsed;
}

unsigned int CMarlPIUnparsed::setValue(std::wstring const& value) {
  data = value;
  return MarlNode::rcOK;
}

MarlNode CMarlPIUnparsed::clone(int depth) const {
  return createObject<MarlNode, CMarlPIUnparsed>(*this, static_cast<short>(depth));
}

// The data keeps the blank that separated it from the target, so none is added.
void CMarlPIUnparsed::render(MarlOStream const& out, unsigned char) const {
  if (!out || external) return;
  writeMarkup(out, L"<?");
  writeQualifiedName(out, getNamespacePrefix(), getName());
  writeMarkup(out, getValue());
  writeMarkup(out, L"?>");
}

std::wstring const& CMarlPIUnparsed::getValue() const {
  return data;
}

void CMarlPIUnparsed::getValue(std::wstring& value) const {
  value = data;
}

unsigned int CMarlPIUnparsed::getType() const {
  return MarlNode::nodePIUnparsed;
}

// ---------------------------------------------------------------------------------------
// CMarlPIParsed

CMarlPIParsed::CMarlPIParsed(Atom piTarget) : CMarlPI(piTarget) {}

CMarlPIParsed::CMarlPIParsed(CMarlPIParsed const& source, short depth) : CMarlPI(source, depth) {
  if (!source.attributes) return;
  attributes = createObject<MarlNamedNodeMap, CMarlNamedNodeMap>();
  if (!attributes) throw std::bad_alloc();
  for (MarlNode const& entry : source.attributes._impl()->entries) {
    MarlAttribute copy(entry.clone(-1));
    if (!copy) throw std::bad_alloc();
    copy._impl()->parent = this;
    attributes.setNamedItem(copy);
  }
}

CMarlPIParsed::~CMarlPIParsed() {
  if (attributes) attributes.removeParent();
}

void* CMarlPIParsed::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idPIParsed, idPI, idNode});
}

unsigned int CMarlPIParsed::_queryClass() const {
  return idPIParsed;
}

MarlNode CMarlPIParsed::clone(int depth) const {
  return createObject<MarlNode, CMarlPIParsed>(*this, static_cast<short>(depth));
}

void CMarlPIParsed::render(MarlOStream const& out, unsigned char) const {
  if (!out) return;
  writeMarkup(out, L"<?");
  writeMarkup(out, getName());
  if (attributes) {
    for (MarlNode const& entry : attributes._impl()->entries) {
      writeMarkup(out, L" ");
      entry._impl()->render(out, 1);
    }
  }
  writeMarkup(out, L"?>");
}

unsigned int CMarlPIParsed::getType() const {
  return MarlNode::nodePIParsed;
}

MarlNamedNodeMap CMarlPIParsed::getAttributes() const {
  if (!attributes) attributes = createObject<MarlNamedNodeMap, CMarlNamedNodeMap>();
  return attributes;
}

MarlAttribute CMarlPIParsed::getAttributeNode(std::wstring const& name) const {
  MarlNamedNodeMap map = getAttributes();
  if (!map) return MarlAttribute();
  return MarlAttribute(map.getNamedItem(name, std::wstring()));
}

std::wstring const& CMarlPIParsed::getAttribute(std::wstring const& name) const {
  MarlAttribute found = getAttributeNode(name);
  return found ? found.getValue() : *emptyAtom();
}

// The lookup and the new value intern their strings too, so memory can run out on every path.
unsigned int CMarlPIParsed::setAttribute(std::wstring const& name, std::wstring const& value) {
  try {
    MarlAttribute existing = getAttributeNode(name);
    if (existing) return existing._impl()->setValue(value);
    if (!attributes) return MarlNode::rcNoNode;
    MarlAttribute attribute(new CMarlAttribute(intern(name), emptyAtom(), emptyAtom()));
    attribute._impl()->setValue(value);
    attribute._impl()->parent = this;
    attributes.setNamedItem(attribute);
  } catch (std::bad_alloc const&) {
    return MarlNode::rcNoNode;
  }
  return MarlNode::rcOK;
}

// The pair takes this instruction as its owner only once the map holds it.
unsigned int CMarlPIParsed::setAttributeNode(MarlAttribute const& attribute) {
  if (!attribute) return MarlNode::rcNoNode;
  MarlNamedNodeMap map = getAttributes();
  if (!map) return MarlNode::rcNoNode;
  try {
    unsigned int result = map.setNamedItem(attribute);
    attribute._impl()->parent = this;
    return result;
  } catch (std::bad_alloc const&) {
    return MarlNode::rcNoNode;
  }
}

unsigned int CMarlPIParsed::removeAttribute(std::wstring const& name) {
  if (!attributes) return MarlNode::rcNotFound;
  return attributes.removeNamedItem(name, std::wstring());
}

unsigned int CMarlPIParsed::removeAttributeNode(MarlAttribute const& attribute) {
  if (!attributes || !attribute) return MarlNode::rcNotFound;
  return attributes.removeNamedItem(attribute.getName(), std::wstring());
}

// ---------------------------------------------------------------------------------------
// Handles

MARL_DEFINE_NODE_HANDLE(MarlPI, CMarlPI, idPI)

std::wstring const& MarlPI::getTarget() const {
  return _impl()->getName();
}

void MarlPI::setExternal(unsigned char external) {
  _impl()->external = external;
}

unsigned char MarlPI::isExternal() const {
  return _impl()->external;
}

MARL_DEFINE_NODE_HANDLE(MarlPIUnparsed, CMarlPIUnparsed, idPIUnparsed)

std::wstring const& MarlPIUnparsed::getData() const {
  return _impl()->data;
}

unsigned int MarlPIUnparsed::setData(std::wstring const& data) {
  return _impl()->setValue(data);
}

// An empty text changes nothing.
unsigned int MarlPIUnparsed::appendData(std::wstring const& data) {
  _impl()->data += data;
  return MarlNode::rcOK;
}

MARL_DEFINE_NODE_HANDLE(MarlPIParsed, CMarlPIParsed, idPIParsed)

std::wstring const& MarlPIParsed::getAttribute(std::wstring const& name) const {
  return _impl()->getAttribute(name);
}

MarlAttribute MarlPIParsed::getAttributeNode(std::wstring const& name) {
  return _impl()->getAttributeNode(name);
}

unsigned int MarlPIParsed::setAttribute(std::wstring const& name, std::wstring const& value) {
  return _impl()->setAttribute(name, value);
}

unsigned int MarlPIParsed::setAttributeNode(MarlAttribute const& attribute) {
  return _impl()->setAttributeNode(attribute);
}

unsigned int MarlPIParsed::removeAttribute(std::wstring const& name) {
  return _impl()->removeAttribute(name);
}

unsigned int MarlPIParsed::removeAttributeNode(MarlAttribute const& attribute) {
  return _impl()->removeAttributeNode(attribute);
}
