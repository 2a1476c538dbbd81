#ifndef MARL_DTD_XMXXO_DOCT_H
#define MARL_DTD_XMXXO_DOCT_H

#include <string>

#include "dom/xmxxo_node.h"
#include "marl/attribute.h"
#include "marl/doctype.h"
#include "marl/entity.h"

class DefaultAttributeTable;

// The DOCTYPE declaration: the factory of the declaration nodes, the owner of the entity and
// notation maps and of the attribute defaults. The declarations themselves are ordinary
// children, in the order the DTD gives them, so that the tree can be written back.
class CMarlDocumentType : public CMarlNode {
 public:
  CMarlDocumentType(std::wstring const& doctypeName, std::wstring const& doctypePrefix);
  // Keeps the declarations (as children) and shares the defaults, but not the identifiers
  // nor the maps. The maps and the defaults come with copyRest, once the children are copied.
  CMarlDocumentType(CMarlDocumentType const& source, short depth);
  ~CMarlDocumentType() override;

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  unsigned int setName(std::wstring const& text) override;
  unsigned int setNamespacePrefix(std::wstring const& text) override;
  MarlNode clone(int depth) const override;
  std::wstring const& getName() const override;
  std::wstring const& getNamespacePrefix() const override;
  unsigned int getType() const override;
  void render(MarlOStream const& out, unsigned char deep) const override;
  MarlNode copyAlone() const override;
  void copyRest(CMarlNode const& source) override;
  bool renderHead(MarlOStream const& out, unsigned char deep) const override;
  bool renderBeforeChild(MarlOStream const& out, CMarlNode const& child,
                         bool firstWritten) const override;
  void renderTail(MarlOStream const& out, bool anyWritten) const override;

  MarlElementDecl createElementDecl(std::wstring const& declName, std::wstring const& declPrefix);
  MarlAttListDecl createAttListDecl(std::wstring const& declName, std::wstring const& declPrefix);
  MarlAttributeDecl createAttributeDecl(std::wstring const& declName,
                                        std::wstring const& declPrefix);
  MarlContentParticle createContentParticle(std::wstring const& particleName,
                                            std::wstring const& particlePrefix,
                                            MarlContentParticle::Occurrence occurrence,
                                            MarlContentParticle::Grouping grouping);
  MarlCondDTDSection createCondDTDSection(unsigned char include);
  MarlNotationDecl createNotationDecl(std::wstring const& notationName,
                                      std::wstring const& notationSystemId,
                                      std::wstring const& notationPublicId);
  MarlEntityDecl createIntEntityDecl(unsigned char parameter, std::wstring const& entityName,
                                     std::wstring const& value);
  MarlEntityDecl createExtEntityDecl(unsigned char parameter, std::wstring const& entityName,
                                     std::wstring const& entitySystemId,
                                     std::wstring const& entityPublicId,
                                     std::wstring const& notationName);

  // Records a default of an attribute list declaration; makes the table on first use.
  // Throws bad_alloc.
  void insertDefaultAttributeValue(std::wstring const& elementName,
                                   std::wstring const& elementPrefix,
                                   std::wstring const& attrName, std::wstring const& attrPrefix,
                                   std::wstring const& value);
  unsigned char isExternalNode(MarlNode const& node) const;
  // The flag that marks a node of the external subset: declarations, comments and processing
  // instructions have one; null for any other kind.
  static std::uint8_t* externalFlag(CMarlNode* node);

  Atom name;
  Atom namespacePrefix;
  std::uint8_t explicitDecl;
  DefaultAttributeTable* defaultAttributes;
  MarlNamedNodeMap entities;
  MarlNamedNodeMap paramEntities;
  MarlNamedNodeMap notations;
  std::wstring systemId;
  std::wstring publicId;

 private:
  // Wraps the entity object in a declaration and enters it in the map of its kind, unless the
  // map knows the name: the first declaration of an entity binds.
  MarlEntityDecl enterEntity(unsigned char parameter, MarlGEntity const& entity);
};

#endif
