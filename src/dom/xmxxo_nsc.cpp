#include "dom/xmxxo_nsc.h"

CMarlNamespaceContext::CMarlNamespaceContext(CMarlNamespaceContext const& source)
    : CUnknownWithoutStrings(), AllocPolicyRollArea(), bindings(source.bindings) {}

void* CMarlNamespaceContext::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idNamespaceContext});
}

unsigned int CMarlNamespaceContext::_queryClass() const {
  return idNamespaceContext;
}

std::wstring const& CMarlNamespaceContext::getBindingPrefix(unsigned int index) const {
  return index < bindings.size() ? *bindings[index].prefix : *CMarlBase::instance().emptyAtom;
}

std::wstring const& CMarlNamespaceContext::getBindingURI(unsigned int index) const {
  return index < bindings.size() ? *bindings[index].uri : *CMarlBase::instance().emptyAtom;
}

// The latest binding wins; "xml" is bound by the Namespaces recommendation itself unless the
// context says otherwise.
std::wstring const& CMarlNamespaceContext::mapToURI(std::wstring const& prefix) const {
  CMarl& marl = CMarlBase::instance();
  Atom wanted = marl.intern(prefix);
  for (auto binding = bindings.rbegin(); binding != bindings.rend(); ++binding)
    if (binding->prefix == wanted) return *binding->uri;
  if (prefix == L"xml") return *marl.intern(c_xmlNamespace);
  return *marl.emptyAtom;
}

std::wstring const& CMarlNamespaceContext::mapToPrefix(std::wstring const& uri) const {
  CMarl& marl = CMarlBase::instance();
  Atom wanted = marl.intern(uri);
  for (auto binding = bindings.rbegin(); binding != bindings.rend(); ++binding)
    if (binding->uri == wanted) return *binding->prefix;
  return *marl.emptyAtom;
}

void CMarlNamespaceContext::bind(std::wstring const& prefix, std::wstring const& uri) {
  CMarl& marl = CMarlBase::instance();
  Atom prefixAtom = marl.intern(prefix);
  Atom uriAtom = marl.intern(uri);
  for (CMarlNamespaceBinding& binding : bindings) {
    if (binding.prefix == prefixAtom) {
      binding.uri = uriAtom;
      return;
    }
  }
  bindings.push_back(CMarlNamespaceBinding{prefixAtom, uriAtom});
}

MarlNamespaceContext CMarlNamespaceContext::clone() const {
  return createObject<MarlNamespaceContext, CMarlNamespaceContext>(*this);
}

// ---------------------------------------------------------------------------------------
// MarlNamespaceContext

MARL_DEFINE_HANDLE(MarlNamespaceContext, CMarlNamespaceContext, idNamespaceContext)
MARL_DEFINE_HANDLE_DESTRUCTOR(MarlNamespaceContext)

unsigned int MarlNamespaceContext::numBindings() const {
  return m_p->numBindings();
}

std::wstring const& MarlNamespaceContext::getBindingPrefix(unsigned int index) const {
  return m_p->getBindingPrefix(index);
}

std::wstring const& MarlNamespaceContext::getBindingURI(unsigned int index) const {
  return m_p->getBindingURI(index);
}

std::wstring const& MarlNamespaceContext::mapToURI(std::wstring const& prefix) const {
  return m_p->mapToURI(prefix);
}

std::wstring const& MarlNamespaceContext::mapToPrefix(std::wstring const& uri) const {
  return m_p->mapToPrefix(uri);
}

void MarlNamespaceContext::bind(std::wstring const& prefix, std::wstring const& uri) {
  m_p->bind(prefix, uri);
}

MarlNamespaceContext MarlNamespaceContext::clone() const {
  return m_p->clone();
}
