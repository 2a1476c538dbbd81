#include "dtd/xmxxo_doct.h"

#include "dom/xmxxo_comm.h"
#include "dom/xmxxo_nmap.h"
#include "dom/xmxxo_pi.h"
#include "dtd/xmxxo_atld.h"
#include "dtd/xmxxo_atrd.h"
#include "dtd/xmxxo_cdtd.h"
#include "dtd/xmxxo_cp.h"
#include "dtd/xmxxo_eled.h"
#include "dtd/xmxxo_entd.h"
#include "dtd/xmxxo_notd.h"
#include "dtd/xmxxu_atdf.h"
#include "parser/xmxxs_ent.h"

CMarlDocumentType::CMarlDocumentType(std::wstring const& doctypeName,
                                     std::wstring const& doctypePrefix)
    : name(intern(doctypeName)),
      namespacePrefix(intern(doctypePrefix)),
      explicitDecl(1),
      defaultAttributes(nullptr),
      entities(new CMarlNamedNodeMap),
      paramEntities(new CMarlNamedNodeMap),
      notations(new CMarlNamedNodeMap) {}

// A copy keeps its declarations only as children: it starts without identifiers and with
// empty maps, so lookups through a copy find nothing. Callers rely on exactly that.
CMarlDocumentType::CMarlDocumentType(CMarlDocumentType const& source, short depth)
    : CMarlNode(source, depth),
      name(source.isStale() ? unknownAtom() : source.name),
      namespacePrefix(source.isStale() ? emptyAtom() : source.namespacePrefix),
      explicitDecl(source.explicitDecl),
      defaultAttributes(nullptr) {}

MarlNode CMarlDocumentType::copyAlone() const {
  return createObject<MarlNode, CMarlDocumentType>(*this, 0);
}

void CMarlDocumentType::copyRest(CMarlNode const& original) {
  entities = MarlNamedNodeMap(new CMarlNamedNodeMap);
  paramEntities = MarlNamedNodeMap(new CMarlNamedNodeMap);
  notations = MarlNamedNodeMap(new CMarlNamedNodeMap);
  // Counted only here, once nothing can fail any more.
  defaultAttributes = static_cast<CMarlDocumentType const&>(original).defaultAttributes;
  if (defaultAttributes) ++defaultAttributes->shareCount;
}

CMarlDocumentType::~CMarlDocumentType() {
  if (defaultAttributes && --defaultAttributes->shareCount == 0) delete defaultAttributes;
  defaultAttributes = nullptr;
}

void* CMarlDocumentType::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idDocumentType, idNode});
}

unsigned int CMarlDocumentType::_queryClass() const {
  return idDocumentType;
}

unsigned int CMarlDocumentType::setName(std::wstring const& text) {
  name = intern(text);
  return MarlNode::rcOK;
}

unsigned int CMarlDocumentType::setNamespacePrefix(std::wstring const& text) {
  namespacePrefix = intern(text);
  return MarlNode::rcOK;
}

MarlNode CMarlDocumentType::clone(int depth) const {
  return cloneFinishedLast(*this, depth);
}

void CMarlDocumentType::render(MarlOStream const& out, unsigned char deep) const {
  renderSubtree(out, deep);
}

// Only the internal subset is written: a reader finds the external one through the
// identifiers. The closing bracket stands at the inner indentation and a blank follows the
// final ">", as documents written so far have it.
bool CMarlDocumentType::renderHead(MarlOStream const& out, unsigned char deep) const {
  if (!out || !explicitDecl) return false;
  writeMarkup(out, L"<!DOCTYPE ");
  writeQualifiedName(out, getNamespacePrefix(), getName());
  if (!systemId.empty()) {
    if (publicId.empty()) {
      writeMarkup(out, L" SYSTEM ");
    } else {
      writeMarkup(out, L" PUBLIC ");
      XMLOSManipQuoted(1).manipulate(out);
      writeMarkup(out, publicId);
      writeMarkup(out, L" ");
    }
    XMLOSManipQuoted(1).manipulate(out);
    writeMarkup(out, systemId);
  }
  if (deep) return true;
  renderTail(out, false);
  return false;
}

// The subset opens before the first declaration that is written.
bool CMarlDocumentType::renderBeforeChild(MarlOStream const& out, CMarlNode const& child,
                                          bool firstWritten) const {
  std::uint8_t const* external = externalFlag(const_cast<CMarlNode*>(&child));
  if (external && *external) return false;
  if (firstWritten) {
    writeMarkup(out, L" [");
    XMLOSManipIncIndent(1).manipulate(out);
    XMLOSManipEndl().manipulate(out);
  }
  return true;
}

void CMarlDocumentType::renderTail(MarlOStream const& out, bool anyWritten) const {
  if (anyWritten) {
    writeMarkup(out, L"]");
    XMLOSManipDecIndent(1).manipulate(out);
  }
  writeMarkup(out, L"> ");
  XMLOSManipEndl().manipulate(out);
}

std::wstring const& CMarlDocumentType::getName() const {
  return isStale() ? *unknownAtom() : *name;
}

std::wstring const& CMarlDocumentType::getNamespacePrefix() const {
  return isStale() ? *emptyAtom() : *namespacePrefix;
}

unsigned int CMarlDocumentType::getType() const {
  return MarlNode::nodeDocumentType;
}

MarlElementDecl CMarlDocumentType::createElementDecl(std::wstring const& declName,
                                                     std::wstring const& declPrefix) {
  try {
    return MarlElementDecl(new CMarlElementDecl(intern(declName), intern(declPrefix)));
  } catch (std::bad_alloc const&) {
    return MarlElementDecl();
  }
}

MarlAttListDecl CMarlDocumentType::createAttListDecl(std::wstring const& declName,
                                                     std::wstring const& declPrefix) {
  try {
    return MarlAttListDecl(new CMarlAttListDecl(intern(declName), intern(declPrefix)));
  } catch (std::bad_alloc const&) {
    return MarlAttListDecl();
  }
}

MarlAttributeDecl CMarlDocumentType::createAttributeDecl(std::wstring const& declName,
                                                         std::wstring const& declPrefix) {
  try {
    return MarlAttributeDecl(new CMarlAttributeDecl(intern(declName), intern(declPrefix)));
  } catch (std::bad_alloc const&) {
    return MarlAttributeDecl();
  }
}

MarlContentParticle CMarlDocumentType::createContentParticle(
    std::wstring const& particleName, std::wstring const& particlePrefix,
    MarlContentParticle::Occurrence occurrence, MarlContentParticle::Grouping grouping) {
  try {
    return MarlContentParticle(new CMarlContentParticle(intern(particleName),
                                                        intern(particlePrefix), occurrence,
                                                        grouping));
  } catch (std::bad_alloc const&) {
    return MarlContentParticle();
  }
}

MarlCondDTDSection CMarlDocumentType::createCondDTDSection(unsigned char include) {
  return createObject<MarlCondDTDSection, CMarlCondDTDSection>(include);
}

// The last declaration of a notation stands in the map, unlike an entity's.
MarlNotationDecl CMarlDocumentType::createNotationDecl(std::wstring const& notationName,
                                                       std::wstring const& notationSystemId,
                                                       std::wstring const& notationPublicId) {
  try {
    MarlNotationDecl declaration(
        new CMarlNotationDecl(intern(notationName), notationSystemId, notationPublicId));
    notations.setNamedItem(declaration);
    return declaration;
  } catch (std::bad_alloc const&) {
    return MarlNotationDecl();
  }
}

MarlEntityDecl CMarlDocumentType::enterEntity(unsigned char parameter, MarlGEntity const& entity) {
  MarlEntityDecl declaration(new CMarlEntityDecl(parameter, entity));
  MarlNamedNodeMap& map = parameter ? paramEntities : entities;
  if (!map.getNamedItem(entity.getName(), std::wstring())) map.setNamedItem(declaration);
  return declaration;
}

MarlEntityDecl CMarlDocumentType::createIntEntityDecl(unsigned char parameter,
                                                      std::wstring const& entityName,
                                                      std::wstring const& value) {
  try {
    MarlGEntity entity(new CMarlGEntityIntParsed(entityName, value.data(),
                                                 static_cast<unsigned int>(value.size())));
    return enterEntity(parameter, entity);
  } catch (std::bad_alloc const&) {
    return MarlEntityDecl();
  }
}

MarlEntityDecl CMarlDocumentType::createExtEntityDecl(unsigned char parameter,
                                                      std::wstring const& entityName,
                                                      std::wstring const& entitySystemId,
                                                      std::wstring const& entityPublicId,
                                                      std::wstring const& notationName) {
  try {
    MarlGEntity entity;
    if (notationName.empty())
      entity = new CMarlGEntityExtParsed(entityName, entitySystemId, entityPublicId);
    else
      entity = new CMarlGEntityExtUnparsed(entityName, entitySystemId, entityPublicId,
                                           notationName);
    return enterEntity(parameter, entity);
  } catch (std::bad_alloc const&) {
    return MarlEntityDecl();
  }
}

// The table keeps pointers to its strings, so it is given atoms: they live as long as any
// document type does.
void CMarlDocumentType::insertDefaultAttributeValue(std::wstring const& elementName,
                                                    std::wstring const& elementPrefix,
                                                    std::wstring const& attrName,
                                                    std::wstring const& attrPrefix,
                                                    std::wstring const& value) {
  Atom element = intern(elementName);
  Atom elementNamespace = intern(elementPrefix);
  Atom attribute = intern(attrName);
  Atom attributeNamespace = intern(attrPrefix);
  Atom defaultValue = intern(value);
  if (!defaultAttributes) {
    defaultAttributes = new DefaultAttributeTable;
    defaultAttributes->shareCount = 1;
  }
  defaultAttributes->insert(*element, *elementNamespace, *attribute, *attributeNamespace,
                            *defaultValue);
}

std::uint8_t* CMarlDocumentType::externalFlag(CMarlNode* node) {
  switch (node->getType()) {
    case MarlNode::nodeCondDTDSection:
      return &static_cast<CMarlCondDTDSection*>(node)->external;
    case MarlNode::nodeAttListDecl:
      return &static_cast<CMarlAttListDecl*>(node)->external;
    case MarlNode::nodeElementDecl:
      return &static_cast<CMarlElementDecl*>(node)->external;
    case MarlNode::nodeEntityDecl:
      return &static_cast<CMarlEntityDecl*>(node)->external;
    case MarlNode::nodeNotationDecl:
      return &static_cast<CMarlNotationDecl*>(node)->external;
    case MarlNode::nodeComment:
      return &static_cast<CMarlComment*>(node)->external;
    case MarlNode::nodePIUnparsed:
    case MarlNode::nodePIParsed:
      return &static_cast<CMarlPI*>(node)->external;
    default:
      return nullptr;
  }
}

unsigned char CMarlDocumentType::isExternalNode(MarlNode const& node) const {
  if (!node) return 0;
  std::uint8_t const* flag = externalFlag(node._impl());
  return flag ? *flag : 0;
}

// ---------------------------------------------------------------------------------------
// MarlDocumentType

MARL_DEFINE_NODE_HANDLE(MarlDocumentType, CMarlDocumentType, idDocumentType)

void MarlDocumentType::setExplicit(unsigned char isExplicit) {
  _impl()->explicitDecl = isExplicit;
}

unsigned char MarlDocumentType::getExplicit() const {
  return _impl()->explicitDecl;
}

std::wstring const& MarlDocumentType::getSystemId() const {
  return _impl()->systemId;
}

std::wstring const& MarlDocumentType::getPublicId() const {
  return _impl()->publicId;
}

void MarlDocumentType::setSystemId(std::wstring const& systemId) {
  _impl()->systemId = systemId;
}

void MarlDocumentType::setPublicId(std::wstring const& publicId) {
  _impl()->publicId = publicId;
}

MarlNamedNodeMap MarlDocumentType::getEntities() const {
  return _impl()->entities;
}

MarlNamedNodeMap MarlDocumentType::getParamEntities() const {
  return _impl()->paramEntities;
}

MarlNamedNodeMap MarlDocumentType::getNotations() const {
  return _impl()->notations;
}

MarlElementDecl MarlDocumentType::createElementDecl(std::wstring const& name,
                                                    std::wstring const& prefix) {
  return _impl()->createElementDecl(name, prefix);
}

MarlAttListDecl MarlDocumentType::createAttListDecl(std::wstring const& name,
                                                    std::wstring const& prefix) {
  return _impl()->createAttListDecl(name, prefix);
}

MarlAttributeDecl MarlDocumentType::createAttributeDecl(std::wstring const& name,
                                                        std::wstring const& prefix) {
  return _impl()->createAttributeDecl(name, prefix);
}

MarlContentParticle MarlDocumentType::createContentParticle(
    std::wstring const& name, std::wstring const& prefix,
    MarlContentParticle::Occurrence occurrence, MarlContentParticle::Grouping grouping) {
  return _impl()->createContentParticle(name, prefix, occurrence, grouping);
}

MarlCondDTDSection MarlDocumentType::createCondDTDSection(unsigned char include) {
  return _impl()->createCondDTDSection(include);
}

MarlNotationDecl MarlDocumentType::createNotationDecl(std::wstring const& name,
                                                      std::wstring const& systemId,
                                                      std::wstring const& publicId) {
  return _impl()->createNotationDecl(name, systemId, publicId);
}

MarlEntityDecl MarlDocumentType::createIntEntityDecl(unsigned char parameter,
                                                     std::wstring const& name,
                                                     std::wstring const& value) {
  return _impl()->createIntEntityDecl(parameter, name, value);
}

MarlEntityDecl MarlDocumentType::createExtEntityDecl(unsigned char parameter,
                                                     std::wstring const& name,
                                                     std::wstring const& systemId,
                                                     std::wstring const& publicId,
                                                     std::wstring const& notationName) {
  return _impl()->createExtEntityDecl(parameter, name, systemId, publicId, notationName);
}

unsigned char MarlDocumentType::isExternalNode(MarlNode const& node) const {
  return _impl()->isExternalNode(node);
}
