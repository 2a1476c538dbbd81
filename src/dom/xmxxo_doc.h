#ifndef MARL_DOM_XMXXO_DOC_H
#define MARL_DOM_XMXXO_DOC_H

#include <utility>

#include "dom/xmxxo_elem.h"
#include "dom/xmxxo_node.h"
#include "kernel/xmxxu_hash.h"
#include "marl/document.h"
#include "text/xmxxu_stri.h"

class DefaultAttributeTable;

// Elements by ID value. The table holds its elements, so an entry keeps answering until the
// document dies, even after the attribute changed.
struct IdTraits {
  using Key = std::wstring;
  static Key const& key(std::pair<std::wstring, MarlElement> const& entry) { return entry.first; }
  static std::uint32_t hash(Key const& id) { return calcStringHash(id); }
  static bool equal(Key const& a, Key const& b) { return a == b; }
};

class CIDTable : public CHashTable<std::pair<std::wstring, MarlElement>, IdTraits> {
 public:
  CIDTable();
  virtual ~CIDTable();
};

// End-tag lines by node number, hashed by the number itself.
struct EndTagLineTraits {
  using Key = std::uint32_t;
  static Key const& key(std::pair<std::uint32_t, std::uint32_t> const& entry) { return entry.first; }
  static std::uint32_t hash(Key gid) { return gid; }
  static bool equal(Key a, Key b) { return a == b; }
};

class EndTagLineTable : public CHashTable<std::pair<std::uint32_t, std::uint32_t>, EndTagLineTraits> {
 public:
  EndTagLineTable();
  virtual ~EndTagLineTable();
};

// The root of a tree and the factory of its nodes. Its owner document is itself.
class CMarlDocument : public CMarlNode {
 public:
  CMarlDocument();
  // The copy without its encoding and predefined entities, which copyRest adds once the
  // children are copied.
  CMarlDocument(CMarlDocument const& source, short depth);
  ~CMarlDocument() override;

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  MarlNode clone(int depth) const override;
  std::wstring const& getName() const override;
  unsigned int getType() const override;
  void render(MarlOStream const& out, unsigned char deep) const override;
  MarlNode copyAlone() const override;
  void copyRest(CMarlNode const& source) override;
  bool renderHead(MarlOStream const& out, unsigned char deep) const override;
  bool renderBeforeChild(MarlOStream const& out, CMarlNode const& child,
                         bool firstWritten) const override;
  void renderTail(MarlOStream const& out, bool anyWritten) const override;

  MarlElement getRootElement() const;

  MarlElement createElementNS(std::wstring const& name, std::wstring const& prefix,
                              std::wstring const& uri);
  MarlElement createSimpleElementNS(std::wstring const& name, std::wstring const& prefix,
                                    std::wstring const& uri, std::wstring const& text,
                                    MarlNode const& parent);
  MarlAttribute createAttributeNS(std::wstring const& name, std::wstring const& prefix,
                                  std::wstring const& uri);
  MarlNamespaceDecl createNamespaceDecl(std::wstring const& name, std::wstring const& prefix,
                                        std::wstring const& uri);
  MarlText createText(std::wstring const& text);
  MarlComment createComment(std::wstring const& text);
  MarlCDATASection createCDATASection(std::wstring const& text);
  MarlDocumentFragment createDocumentFragment();
  MarlPIParsed createPIParsed(std::wstring const& target);
  MarlPIUnparsed createPIUnparsed(std::wstring const& target, std::wstring const& data);
  MarlEntityRef createEntityRef(std::wstring const& name);
  MarlDocumentType createDocumentType(std::wstring const& name, std::wstring const& prefix);

  void setDocumentType(MarlDocumentType const& type);
  void expand();
  // Marks the declarations, comments and processing instructions at and below `node` as
  // internal.
  void internalizeNodes(MarlNode const& node);
  // The attribute defaults of the document type; null when it has none.
  DefaultAttributeTable const* getDefaultAttributeTable() const;

  void insertID(std::wstring const& id, MarlElement const& element);
  // Not const in here: a lookup fills the ID table.
  MarlElement findFromID(std::wstring const& attrName, std::wstring const& attrNamespace,
                         std::wstring const& id);
  void linearize();
  void setEndTagLine(std::uint32_t gid, std::uint32_t line);
  std::uint32_t getEndTagLine(std::uint32_t gid) const;

  // Lookups from the document, whose first path step names the root element. None reports
  // anything: an empty handle when nothing matches or memory runs out.
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
  // The root element when compareName takes it for these names, else the first element below
  // it named by their atoms, to `depth` levels below the root (0: all). Throws bad_alloc.
  MarlElement findNamed(std::wstring const& name, std::wstring const& second,
                        CMarlElement::NamePart part, unsigned int depth) const;
  // Takes the first step of a path, at the level of the document.
  PathOutcome takePathStep(CPathWalk& walk, std::size_t offset) const;

  MarlDocumentType documentType;
  std::wstring version;
  std::uint8_t standalone;
  std::uint8_t declaration;
  MarlEncoding encoding;
  CIDTable* idTable;
  EndTagLineTable* endTagLines;

 private:
  MarlNodeCollection collectNamed(std::wstring const& name, std::wstring const& second,
                                  CMarlElement::NamePart part, unsigned int depth) const;
};

#endif
