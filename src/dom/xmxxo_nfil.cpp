#include "dom/xmxxo_nfil.h"

#include "marl/attribute.h"

namespace {

// The attribute test shared by the two attribute filters, which differ only in the second
// name part the map is asked with.
template <class Lookup>
unsigned char hasAttribute(MarlNode const& node, std::wstring const& value, Lookup lookup) {
  if (!node) return 0;
  MarlNamedNodeMap attributes = node.getAttributes();
  if (!attributes) return 0;
  MarlNode attribute = lookup(attributes);
  if (!attribute) return 0;
  if (value.empty()) return 1;
  return attribute.getValue() == value;
}

// The one place that knows how a chain of one operator stays flat.
template <class Kind>
MarlNodeFilter combineFilters(MarlNodeFilter const& a, MarlNodeFilter const& b,
                              unsigned int kind) {
  if (!a || !b) return MarlNodeFilter();
  try {
    MarlNodeFilter combined;
    MarlNodeFilter const* added = &b;
    if (a.getType() == kind) {
      combined = a.clone();
    } else if (b.getType() == kind) {
      // `a` then comes after the members of `b`, which changes the order of evaluation only.
      combined = b.clone();
      added = &a;
    } else {
      combined = MarlNodeFilter(new Kind);
      static_cast<Kind*>(combined._impl())->addFilter(a);
    }
    if (!combined) return combined;
    static_cast<Kind*>(combined._impl())->addFilter(*added);
    return combined;
  } catch (std::bad_alloc const&) {
    return MarlNodeFilter();
  }
}

}  // namespace

// ---------------------------------------------------------------------------------------
// CMarlNodeFilter

void* CMarlNodeFilter::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idNodeFilter});
}

unsigned int CMarlNodeFilter::_queryClass() const {
  return idNodeFilter;
}

CMarlNodeFilter::~CMarlNodeFilter() = default;

// ---------------------------------------------------------------------------------------
// CNodeFilterCombining, CNodeFilterAnd, CNodeFilterOr

CNodeFilterCombining::CNodeFilterCombining(CNodeFilterCombining const& source)
    : CMarlNodeFilter(), filters(source.filters) {}

void* CNodeFilterCombining::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idNodeFilterCombining, idNodeFilter});
}

unsigned int CNodeFilterCombining::_queryClass() const {
  return idNodeFilterCombining;
}

void CNodeFilterCombining::addFilter(MarlNodeFilter const& filter) {
  if (filter) filters.push_back(filter);
}

MarlNodeFilter CNodeFilterAnd::combine(MarlNodeFilter const& a, MarlNodeFilter const& b) {
  return combineFilters<CNodeFilterAnd>(a, b, MarlNodeFilter::filterAnd);
}

unsigned int CNodeFilterAnd::getType() const {
  return MarlNodeFilter::filterAnd;
}

MarlNodeFilter CNodeFilterAnd::clone() const {
  return createFilter<CNodeFilterAnd>(*this);
}

unsigned char CNodeFilterAnd::acceptNode(MarlNode const& node) const {
  for (MarlNodeFilter const& member : filters)
    if (!member._impl()->acceptNode(node)) return 0;
  return 1;
}

MarlNodeFilter CNodeFilterOr::combine(MarlNodeFilter const& a, MarlNodeFilter const& b) {
  return combineFilters<CNodeFilterOr>(a, b, MarlNodeFilter::filterOr);
}

unsigned int CNodeFilterOr::getType() const {
  return MarlNodeFilter::filterOr;
}

MarlNodeFilter CNodeFilterOr::clone() const {
  return createFilter<CNodeFilterOr>(*this);
}

unsigned char CNodeFilterOr::acceptNode(MarlNode const& node) const {
  for (MarlNodeFilter const& member : filters)
    if (member._impl()->acceptNode(node)) return 1;
  return 0;
}

// ---------------------------------------------------------------------------------------
// CNodeFilterNot

CNodeFilterNot::CNodeFilterNot(MarlNodeFilter const& negated) : filter(negated) {}

unsigned int CNodeFilterNot::getType() const {
  return MarlNodeFilter::filterNot;
}

MarlNodeFilter CNodeFilterNot::clone() const {
  return createFilter<CNodeFilterNot>(filter);
}

// The inverse of nothing refuses, although it could be read the other way; callers rely on it.
unsigned char CNodeFilterNot::acceptNode(MarlNode const& node) const {
  if (!filter) return 0;
  return !filter._impl()->acceptNode(node);
}

// ---------------------------------------------------------------------------------------
// CNodeFilterNodeType

CNodeFilterNodeType::CNodeFilterNodeType(std::uint32_t kinds) : mask(kinds) {}

unsigned int CNodeFilterNodeType::getType() const {
  return MarlNodeFilter::filterNodeType;
}

MarlNodeFilter CNodeFilterNodeType::clone() const {
  return createFilter<CNodeFilterNodeType>(mask);
}

unsigned char CNodeFilterNodeType::acceptNode(MarlNode const& node) const {
  if (!node) return 0;
  return (mask & node.getType()) != 0;
}

// ---------------------------------------------------------------------------------------
// CNodeFilterName, CNodeFilterNameNS

CNodeFilterName::CNodeFilterName(std::wstring const& wantedName, std::wstring const& wantedPrefix)
    : name(wantedName), prefix(wantedPrefix) {}

unsigned int CNodeFilterName::getType() const {
  return MarlNodeFilter::filterName;
}

MarlNodeFilter CNodeFilterName::clone() const {
  return createFilter<CNodeFilterName>(name, prefix);
}

unsigned char CNodeFilterName::acceptNode(MarlNode const& node) const {
  if (!node) return 0;
  return compareName(node.getName(), node.getNamespacePrefix(), name, prefix);
}

CNodeFilterNameNS::CNodeFilterNameNS(std::wstring const& wantedName, std::wstring const& wantedUri)
    : name(wantedName), uri(wantedUri) {}

unsigned int CNodeFilterNameNS::getType() const {
  return MarlNodeFilter::filterNameNS;
}

MarlNodeFilter CNodeFilterNameNS::clone() const {
  return createFilter<CNodeFilterNameNS>(name, uri);
}

unsigned char CNodeFilterNameNS::acceptNode(MarlNode const& node) const {
  if (!node) return 0;
  return compareName(node.getName(), node.getNamespaceURI(), name, uri);
}

// ---------------------------------------------------------------------------------------
// CNodeFilterAttribute, CNodeFilterAttributeNS

CNodeFilterAttribute::CNodeFilterAttribute(std::wstring const& wantedName,
                                           std::wstring const& wantedPrefix,
                                           std::wstring const& wantedValue)
    : name(wantedName), prefix(wantedPrefix), value(wantedValue) {}

unsigned int CNodeFilterAttribute::getType() const {
  return MarlNodeFilter::filterAttribute;
}

MarlNodeFilter CNodeFilterAttribute::clone() const {
  return createFilter<CNodeFilterAttribute>(name, prefix, value);
}

unsigned char CNodeFilterAttribute::acceptNode(MarlNode const& node) const {
  return hasAttribute(node, value, [this](MarlNamedNodeMap const& attributes) {
    return attributes.getNamedItem(name, prefix);
  });
}

CNodeFilterAttributeNS::CNodeFilterAttributeNS(std::wstring const& wantedName,
                                               std::wstring const& wantedUri,
                                               std::wstring const& wantedValue)
    : name(wantedName), uri(wantedUri), value(wantedValue) {}

unsigned int CNodeFilterAttributeNS::getType() const {
  return MarlNodeFilter::filterAttributeNS;
}

MarlNodeFilter CNodeFilterAttributeNS::clone() const {
  return createFilter<CNodeFilterAttributeNS>(name, uri, value);
}

unsigned char CNodeFilterAttributeNS::acceptNode(MarlNode const& node) const {
  return hasAttribute(node, value, [this](MarlNamedNodeMap const& attributes) {
    return attributes.getNamedItemNS(name, uri);
  });
}

// ---------------------------------------------------------------------------------------
// CNodeFilterParent, CNodeFilterAncestor

CNodeFilterParent::CNodeFilterParent(MarlNodeFilter const& parentFilter) : filter(parentFilter) {}

unsigned int CNodeFilterParent::getType() const {
  return MarlNodeFilter::filterParent;
}

MarlNodeFilter CNodeFilterParent::clone() const {
  return createFilter<CNodeFilterParent>(filter);
}

// Over no filter it refuses, as the inverse of no filter does.
unsigned char CNodeFilterParent::acceptNode(MarlNode const& node) const {
  if (!node || !filter) return 0;
  return filter._impl()->acceptNode(node.getParent());
}

CNodeFilterAncestor::CNodeFilterAncestor(MarlNodeFilter const& ancestorFilter)
    : filter(ancestorFilter) {}

unsigned int CNodeFilterAncestor::getType() const {
  return MarlNodeFilter::filterAncestor;
}

MarlNodeFilter CNodeFilterAncestor::clone() const {
  return createFilter<CNodeFilterAncestor>(filter);
}

// The walk follows raw parent links: a handle on each ancestor only for the filter's question.
unsigned char CNodeFilterAncestor::acceptNode(MarlNode const& node) const {
  if (!node || !filter) return 0;
  for (CMarlNode* ancestor = node._impl()->parent; ancestor; ancestor = ancestor->parent)
    if (filter._impl()->acceptNode(MarlNode(ancestor))) return 1;
  return 0;
}

// ---------------------------------------------------------------------------------------
// MarlNodeFilter, MarlNodeFilterCombining

MARL_DEFINE_HANDLE(MarlNodeFilter, CMarlNodeFilter, idNodeFilter)
MARL_DEFINE_HANDLE_DESTRUCTOR(MarlNodeFilter)

unsigned int MarlNodeFilter::getType() const {
  return m_p->getType();
}

MarlNodeFilter MarlNodeFilter::clone() const {
  return m_p->clone();
}

unsigned char MarlNodeFilter::acceptNode(MarlNode const& node) const {
  return m_p->acceptNode(node);
}

// Counts twice, as the callers of this one constructor expect: see the header.
MarlNodeFilterCombining::MarlNodeFilterCombining(CNodeFilterCombining* p) : MarlNodeFilter(p) {
  if (p) p->addRef();
}

MarlNodeFilterCombining::MarlNodeFilterCombining(CUnknown* p) {
  m_p = handle::query<CNodeFilterCombining>(p, idNodeFilterCombining);
}

MarlNodeFilterCombining::MarlNodeFilterCombining(MarlNodeFilter const& filter) {
  m_p = handle::query<CNodeFilterCombining>(static_cast<CUnknown*>(filter), idNodeFilterCombining);
}

MarlNodeFilterCombining& MarlNodeFilterCombining::operator=(CNodeFilterCombining const* p) {
  MarlNodeFilter::operator=(p);
  return *this;
}

CNodeFilterCombining* MarlNodeFilterCombining::_impl() const noexcept {
  return static_cast<CNodeFilterCombining*>(m_p);
}

void MarlNodeFilterCombining::addFilter(MarlNodeFilter const& filter) {
  _impl()->addFilter(filter);
}
