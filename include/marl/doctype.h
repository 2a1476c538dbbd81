#ifndef MARL_DOCTYPE_H
#define MARL_DOCTYPE_H

#include "marl/attribute.h"
#include "marl/declarations.h"
#include "marl/node.h"

class CMarlDocumentType;

// The DOCTYPE declaration: the factory of the declaration nodes, which stand as its children
// in source order, and the keeper of the entity and notation maps. A created declaration is
// not appended to the children; that is the caller's business.
class MARL_API MarlDocumentType : public MarlNode {
  MARL_NODE_HANDLE_MEMBERS(MarlDocumentType, CMarlDocumentType)

 public:
  // Whether the declaration is written when rendered; 1 when new.
  void setExplicit(unsigned char isExplicit);
  unsigned char getExplicit() const;
  // The identifiers of the external subset; empty when there is none.
  std::wstring const& getSystemId() const;
  std::wstring const& getPublicId() const;
  void setSystemId(std::wstring const& systemId);
  void setPublicId(std::wstring const& publicId);

  // The maps by name, shared with the node: general entities, parameter entities and
  // notations. Never empty handles; empty maps for a clone.
  MarlNamedNodeMap getEntities() const;
  MarlNamedNodeMap getParamEntities() const;
  MarlNamedNodeMap getNotations() const;

  // New declaration nodes; empty handles when memory runs out.
  MarlElementDecl createElementDecl(std::wstring const& name, std::wstring const& prefix);
  MarlAttListDecl createAttListDecl(std::wstring const& name, std::wstring const& prefix);
  MarlAttributeDecl createAttributeDecl(std::wstring const& name, std::wstring const& prefix);
  MarlContentParticle createContentParticle(std::wstring const& name, std::wstring const& prefix,
                                            MarlContentParticle::Occurrence occurrence,
                                            MarlContentParticle::Grouping grouping);
  MarlCondDTDSection createCondDTDSection(unsigned char include);
  // Also enters the notation in getNotations(), replacing one of the same name.
  MarlNotationDecl createNotationDecl(std::wstring const& name, std::wstring const& systemId,
                                      std::wstring const& publicId);
  // Also enters the entity in the map of its kind, unless the map holds the name already: the
  // first declaration binds, a later one is returned all the same.
  MarlEntityDecl createIntEntityDecl(unsigned char parameter, std::wstring const& name,
                                     std::wstring const& value);
  // An unparsed entity when `notationName` is not empty, a parsed one otherwise; entered
  // like an internal one.
  MarlEntityDecl createExtEntityDecl(unsigned char parameter, std::wstring const& name,
                                     std::wstring const& systemId, std::wstring const& publicId,
                                     std::wstring const& notationName);

  // 1 for a declaration, comment or processing instruction of the external subset; 0 for
  // anything else.
  unsigned char isExternalNode(MarlNode const& node) const;
};

#endif
