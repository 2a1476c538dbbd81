#include "dtd/xmxxu_strp.h"

#include "marl/text.h"

namespace {

constexpr std::size_t c_stackReserve = 30;
constexpr std::size_t c_rulesSize = 53;

}  // namespace

std::uint32_t CMarlWhitespaceStripping::key_hasher::operator()(strip_key const& key) const {
  return calcStringHash(*key.name);
}

bool CMarlWhitespaceStripping::key_equal::operator()(strip_key const& a, strip_key const& b) const {
  return *a.name == *b.name && *a.uri == *b.uri;
}

CMarlWhitespaceStripping::CMarlWhitespaceStripping()
    : stripRules(c_rulesSize), noRules(true), defaultOp(SP_NONE), wildcardName(L"*") {
  stripStack.reserve(c_stackReserve);
}

bool CMarlWhitespaceStripping::insert(std::wstring const& name, std::wstring const& uri,
                                      STRIP_OP op) {
  noRules = false;
  if (name == wildcardName && uri == wildcardName) {
    defaultOp = op;
    return true;
  }
  CMarl& marl = CMarlBase::instance();
  strip_key key{marl.intern(name), marl.intern(uri)};
  if (stripRules.find(key)) return false;
  stripRules.emplace(key, key, op);
  return true;
}

STRIP_OP const* CMarlWhitespaceStripping::find(std::wstring const& name,
                                               std::wstring const& uri) const {
  auto const* found = stripRules.find(strip_key{&name, &uri});
  return found ? &found->second : nullptr;
}

// A rule with a name and the URI "*" is stored but never asked for: no lookup uses "*" as
// the URI, unless an element's URI is that very text.
STRIP_OP CMarlWhitespaceStripping::strip(MarlElement const& element) const {
  if (!stripStack.empty() && stripStack.back() == SP_PRESERVE) return SP_PRESERVE;
  if (noRules) return SP_NONE;
  std::wstring const& uri = element.getNamespaceURI();
  if (STRIP_OP const* exact = find(element.getName(), uri)) return *exact;
  if (STRIP_OP const* anyName = find(wildcardName, uri)) return *anyName;
  return defaultOp;
}
