#ifndef MARL_NAMESPACE_H
#define MARL_NAMESPACE_H

#include "marl/attribute.h"

class CMarlNamespaceContext;
class CMarlNamespaceDecl;

// Prefix bindings in force at an element: a flat list, shared with the descendants that
// declare nothing of their own.
class MARL_API MarlNamespaceContext {
  MARL_HANDLE_MEMBERS(MarlNamespaceContext, CMarlNamespaceContext)

 public:
  unsigned int numBindings() const;
  // The prefix or URI of binding `index`; empty when the index is not below numBindings().
  std::wstring const& getBindingPrefix(unsigned int index) const;
  std::wstring const& getBindingURI(unsigned int index) const;
  // The URI bound to `prefix`, the latest binding first; "xml" needs no binding. Empty if none.
  std::wstring const& mapToURI(std::wstring const& prefix) const;
  // The prefix of the latest binding to `uri`; empty if none.
  std::wstring const& mapToPrefix(std::wstring const& uri) const;
  // Binds `prefix` (empty: the default namespace); a rebinding keeps its place.
  void bind(std::wstring const& prefix, std::wstring const& uri);
  // An independent copy; empty when memory runs out.
  MarlNamespaceContext clone() const;
};

// The attribute that declares a namespace: `xmlns="u"` has the name "xmlns", `xmlns:p="u"`
// the name "p" and the prefix "xmlns".
class MARL_API MarlNamespaceDecl : public MarlAttribute {
  MARL_NODE_HANDLE_MEMBERS(MarlNamespaceDecl, CMarlNamespaceDecl)

 public:
  // Empty when the attribute declares no namespace.
  MarlNamespaceDecl(MarlAttribute const& attribute);
};

#endif
