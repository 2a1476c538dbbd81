#include "dom/xmxxo_attr.h"

#include "dom/xmxxo_elem.h"
#include "dom/xmxxo_nsc.h"

CMarlAttribute::CMarlAttribute(Atom attributeName, Atom attributePrefix, Atom attributeUri)
    : name(attributeName),
      prefix(attributePrefix),
      uri(attributeUri),
      specified(0),
      value(CMarlBase::instance().emptyAtom) {}

CMarlAttribute::CMarlAttribute(CMarlAttribute const& source, short)
    : CMarlNode(source, -1),
      name(source.name),
      prefix(source.prefix),
      uri(source.uri),
      specified(source.specified),
      value(CMarlBase::instance().emptyAtom) {
  // A stale source's atoms died with an earlier library; the copy, which is not stale, takes
  // what the source reads instead of pointers it could not read safely.
  if (source.isStale()) {
    name = unknownAtom();
    prefix = emptyAtom();
    uri = emptyAtom();
  }
  assignValue(source.getValue());
}

void* CMarlAttribute::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idAttribute, idNode});
}

unsigned int CMarlAttribute::_queryClass() const {
  return idAttribute;
}

unsigned int CMarlAttribute::setName(std::wstring const& text) {
  name = intern(text);
  return MarlNode::rcOK;
}

unsigned int CMarlAttribute::setNamespacePrefix(std::wstring const& text) {
  prefix = intern(text);
  return MarlNode::rcOK;
}

unsigned int CMarlAttribute::setNamespaceURI(std::wstring const& text) {
  uri = intern(text);
  return MarlNode::rcOK;
}

unsigned int CMarlAttribute::setValue(std::wstring const& text) {
  assignValue(text);
  specified = 1;
  return MarlNode::rcOK;
}

void CMarlAttribute::assignValue(std::wstring const& text) {
  if (text.size() >= c_maxSharedLen) {
    // `text` may be this attribute's own value: assign before pointing at it.
    if (&text != &ownValue) ownValue = text;
    value = &ownValue;
  } else {
    value = intern(text);
    ownValue.clear();
  }
}

MarlNode CMarlAttribute::clone(int depth) const {
  return createObject<MarlNode, CMarlAttribute>(*this, static_cast<short>(depth));
}

// A default of the document type is left for the reader's DTD to supply again.
void CMarlAttribute::render(MarlOStream const& out, unsigned char) const {
  if (!out || !specified) return;
  renderAssignment(out);
}

void CMarlAttribute::renderAssignment(MarlOStream const& out) const {
  writeQualifiedName(out, getNamespacePrefix(), getName());
  writeMarkup(out, L"=");
  XMLOSManipQuoted(1).manipulate(out);
  XMLOSManipEscaped(1).manipulate(out);
  writeMarkup(out, getValue());
}

std::wstring const& CMarlAttribute::getName() const {
  return isStale() ? *unknownAtom() : *name;
}

std::wstring const& CMarlAttribute::getNamespacePrefix() const {
  return isStale() ? *emptyAtom() : *prefix;
}

// An attribute without a prefix is in no namespace: the default namespace is for elements.
std::wstring const& CMarlAttribute::getNamespaceURI() const {
  if (isStale()) return *emptyAtom();
  if (!uri->empty()) return *uri;
  if (!prefix->empty()) {
    MarlNamespaceContext context = getNamespaceContext();
    if (context) {
      std::wstring const& bound = context.mapToURI(*prefix);
      if (!bound.empty()) return *intern(bound);
    }
  }
  return *emptyAtom();
}

MarlNamespaceContext CMarlAttribute::getNamespaceContext() const {
  return parent ? parent->getNamespaceContext() : MarlNamespaceContext();
}

std::wstring const& CMarlAttribute::getValue() const {
  return isStale() ? *unknownAtom() : *value;
}

void CMarlAttribute::getValue(std::wstring& text) const {
  text = getValue();
}

unsigned int CMarlAttribute::getType() const {
  return MarlNode::nodeAttribute;
}

MarlElement CMarlAttribute::getOwnerElement() const {
  return MarlElement(static_cast<CUnknown*>(parent));
}

// ---------------------------------------------------------------------------------------
// MarlAttribute

MARL_DEFINE_NODE_HANDLE(MarlAttribute, CMarlAttribute, idAttribute)

unsigned char MarlAttribute::specified() const {
  return _impl()->specified;
}

MarlElement MarlAttribute::getOwnerElement() const {
  return _impl()->getOwnerElement();
}
