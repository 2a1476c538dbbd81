#ifndef MARL_DOCUMENT_H
#define MARL_DOCUMENT_H

#include "marl/attribute.h"
#include "marl/chardata.h"
#include "marl/doctype.h"
#include "marl/element.h"
#include "marl/encoding.h"
#include "marl/entityref.h"
#include "marl/namespace.h"
#include "marl/node.h"
#include "marl/pi.h"

class CMarlDocument;
class CMarlDocumentFragment;

// A container whose children move, in order, wherever it is appended or inserted.
class MARL_API MarlDocumentFragment : public MarlNode {
  MARL_NODE_HANDLE_MEMBERS(MarlDocumentFragment, CMarlDocumentFragment)
};

// The root of a tree and the factory of its nodes. A created node stands alone, without a
// document, until it is linked under a node of one; every create operation gives an empty
// handle when memory runs out.
class MARL_API MarlDocument : public MarlNode {
  MARL_NODE_HANDLE_MEMBERS(MarlDocument, CMarlDocument)

 public:
  // The values of the XML declaration: version "1.0", not standalone, and a declaration
  // written when rendered, until set otherwise.
  std::wstring const& getVersion() const;
  void setVersion(std::wstring const& version);
  unsigned char getStandalone() const;
  void setStandalone(unsigned char standalone);
  unsigned char getDeclaration() const;
  void setDeclaration(unsigned char declaration);
  // The encoding a renderer gives a stream that has none; empty unless set.
  MarlEncoding getEncoding() const;
  // Stores a copy of `encoding`; an empty handle (or a copy that cannot be made for want of
  // memory) clears it.
  void setEncoding(MarlEncoding const& encoding);

  // The first element child; empty if there is none.
  MarlElement getRootElement() const;

  MarlElement createElement(std::wstring const& name, std::wstring const& prefix);
  MarlElement createElementNS(std::wstring const& name, std::wstring const& prefix,
                              std::wstring const& uri);
  // An element holding `text` (none if empty), appended to `parent` unless that is empty.
  MarlElement createSimpleElement(std::wstring const& name, std::wstring const& prefix,
                                  std::wstring const& text, MarlNode const& parent);
  MarlElement createSimpleElementNS(std::wstring const& name, std::wstring const& prefix,
                                    std::wstring const& uri, std::wstring const& text,
                                    MarlNode const& parent);
  // An attribute with the empty value, not yet specified.
  MarlAttribute createAttribute(std::wstring const& name, std::wstring const& prefix);
  MarlAttribute createAttributeNS(std::wstring const& name, std::wstring const& prefix,
                                  std::wstring const& uri);
  // A declaration of `uri`: name "xmlns" and no prefix for the default namespace, or the
  // declared prefix as name and "xmlns" as prefix.
  MarlNamespaceDecl createNamespaceDecl(std::wstring const& name, std::wstring const& prefix,
                                        std::wstring const& uri);
  MarlText createText(std::wstring const& text);
  MarlComment createComment(std::wstring const& text);
  MarlCDATASection createCDATASection(std::wstring const& text);
  MarlDocumentFragment createDocumentFragment();
  MarlPIParsed createPIParsed(std::wstring const& target);
  MarlPIUnparsed createPIUnparsed(std::wstring const& target, std::wstring const& data);
  // A reference to the entity `name`, with empty identifiers.
  MarlEntityRef createEntityRef(std::wstring const& name);
  // A new document type, not stored in the document.
  MarlDocumentType createDocumentType(std::wstring const& name, std::wstring const& prefix);

  // The document type; every document has one from the start, holding the five predefined
  // entities, but it is no child until setDocumentType links it. Empty once set to empty.
  MarlDocumentType getDocumentType() const;
  // Makes `type` the document type and its first child (in place of the old one when that was
  // a child); an empty handle removes the old one.
  void setDocumentType(MarlDocumentType const& type);
  // Makes the document independent of its external subset: the declarations read from it
  // count as internal, and the document type forgets its system identifier.
  void expand();

  // Enters an element under an ID value; the first element entered for a value stays.
  void insertID(std::wstring const& id, MarlElement& element);
  // The element entered under `id`, or else the first node of the tree whose attribute
  // `attrName` with prefix `attrNamespace` has the value `id`, which is then entered. Empty
  // when there is none, when that node is no element, or when memory runs out.
  MarlElement findFromID(std::wstring const& attrName, std::wstring const& attrNamespace,
                         std::wstring const& id) const;
  // Renumbers all nodes in document order, each element's attributes right after it.
  // Does nothing when memory runs out.
  void linearize();

  // Lookups in the tree, as on an element (marl/element.h), with these differences. A path
  // starts at the document: its first step names the root element, or with a wildcard tries
  // each element child of the document; "/" alone, an empty path and ".." find nothing. By URI
  // a named first step takes the root or, failing that, a child of the root.
  MarlElement findFromPath(std::wstring const& path) const;
  MarlElement findFromPathNS(std::wstring const& path, std::wstring const& reserved) const;
  // The root when its name and prefix (URI) match, where "*" at the start of a name matches
  // any; otherwise the first element below the root of exactly that name, to `depth` levels
  // below the root (1: the root's children; 0: all).
  MarlElement findFromName(std::wstring const& name, std::wstring const& prefix,
                           unsigned int depth) const;
  MarlElement findFromNameNS(std::wstring const& name, std::wstring const& uri,
                             unsigned int depth) const;
  // All elements of that name and prefix (URI), the root among them, in document order: a
  // snapshot, empty when nothing matches. `depth` counts as for createIterator on the root.
  MarlNodeCollection getElementsByTagName(std::wstring const& name, std::wstring const& prefix,
                                          unsigned int depth);
  MarlNodeCollection getElementsByTagNameNS(std::wstring const& name, std::wstring const& uri,
                                            unsigned int depth);
};

#endif
