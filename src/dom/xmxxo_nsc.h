#ifndef MARL_DOM_XMXXO_NSC_H
#define MARL_DOM_XMXXO_NSC_H

#include <vector>

#include "dom/xmxxo_node.h"
#include "marl/namespace.h"

struct CMarlNamespaceBinding {
  Atom prefix;  // emptyAtom for the default namespace
  Atom uri;
};

// A flat list of bindings in the order of first binding. Scope is made by copying: an element
// with declarations binds into a clone of its parent's context.
class CMarlNamespaceContext : public CUnknownWithoutStrings, public AllocPolicyRollArea {
 public:
  // The URI the prefix "xml" has without any declaration.
  static constexpr wchar_t const* c_xmlNamespace = L"http://www.w3.org/XML/1998/namespace";

  CMarlNamespaceContext() = default;
  CMarlNamespaceContext(CMarlNamespaceContext const& source);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  unsigned int numBindings() const { return static_cast<unsigned int>(bindings.size()); }
  std::wstring const& getBindingPrefix(unsigned int index) const;
  std::wstring const& getBindingURI(unsigned int index) const;
  std::wstring const& mapToURI(std::wstring const& prefix) const;
  std::wstring const& mapToPrefix(std::wstring const& uri) const;
  void bind(std::wstring const& prefix, std::wstring const& uri);
  MarlNamespaceContext clone() const;

  std::vector<CMarlNamespaceBinding, tova_alloc<CMarlNamespaceBinding>> bindings;
};

#endif
