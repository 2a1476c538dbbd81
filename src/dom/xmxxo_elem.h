#ifndef MARL_DOM_XMXXO_ELEM_H
#define MARL_DOM_XMXXO_ELEM_H

#include "dom/xmxxo_node.h"
#include "marl/attribute.h"
#include "marl/element.h"
#include "marl/namespace.h"

class CMarlAttribute;

// An element. Its attribute map and namespace context are made only when something asks, so
// a parsed document with many plain elements pays for neither.
class CMarlElement : public CMarlNode {
 public:
  CMarlElement(Atom name, Atom prefix, Atom uri);
  CMarlElement(CMarlElement const& source, short depth);
  ~CMarlElement() override;

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  unsigned int setName(std::wstring const& name) override;
  unsigned int setNamespacePrefix(std::wstring const& prefix) override;
  unsigned int setNamespaceURI(std::wstring const& uri) override;
  unsigned int setValue(std::wstring const& value) override;
  MarlNode clone(int depth) const override;
  std::wstring const& getName() const override;
  std::wstring const& getNamespacePrefix() const override;
  std::wstring const& getNamespaceURI() const override;
  MarlNamespaceContext getNamespaceContext() const override;
  std::wstring const& getValue() const override;
  void getValue(std::wstring& value) const override;
  unsigned int getType() const override;
  MarlNamedNodeMap getAttributes() const override;

  std::wstring const& getAttribute(std::wstring const& name, std::wstring const& prefix) const;
  std::wstring const& getAttributeNS(std::wstring const& name, std::wstring const& uri) const;
  MarlAttribute getAttributeNode(std::wstring const& name, std::wstring const& prefix) const;
  MarlAttribute getAttributeNodeNS(std::wstring const& name, std::wstring const& uri) const;
  unsigned int setAttribute(std::wstring const& name, std::wstring const& prefix,
                            std::wstring const& value);
  unsigned int setAttributeNS(std::wstring const& name, std::wstring const& prefix,
                              std::wstring const& uri, std::wstring const& value);
  unsigned int setAttributeNode(MarlAttribute const& attribute);
  unsigned int setAttributeNodeNS(MarlAttribute const& attribute);
  unsigned int removeAttribute(std::wstring const& name, std::wstring const& prefix);
  unsigned int removeAttributeNS(std::wstring const& name, std::wstring const& uri);
  unsigned int removeAttributeNode(MarlAttribute const& attribute);
  unsigned int removeAttributeNodeNS(MarlAttribute const& attribute);

  unsigned char contains(unsigned int mask) const;
  void normalize();
  std::wstring const& getContentAsString() const;
  void getContentAsString(std::wstring& content) const;
  void setEndTagLine(unsigned int line);
  unsigned int getEndTagLine() const;

  // Makes the attribute map on first use.
  void initAttributes() const;
  // Gives the element the defaults of its document's type that it lacks.
  void addDefaultAttributes() const;
  // A namespace context private to this element.
  MarlNamespaceContext forkNamespaceContext();
  // Drops the cached contexts here and below: a declaration changed.
  void clearNamespaceContext();

  Atom name;
  Atom prefix;
  Atom uri;
  mutable MarlNamespaceContext namespaceContext;
  mutable MarlNamedNodeMap attributes;

 private:
  // Adds a new attribute for setAttribute and setAttributeNS; bad_alloc when memory runs out.
  unsigned int addAttribute(Atom attributeName, Atom attributePrefix, Atom attributeUri,
                            std::wstring const& value);
  // Binds the declarations among the attributes into a context of the element's own.
  void bindDeclarations() const;
};

#endif
