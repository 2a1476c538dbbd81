#ifndef MARL_DTD_XMXXU_STRP_H
#define MARL_DTD_XMXXU_STRP_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "kernel/xmxxi_marl.h"
#include "kernel/xmxxu_allo.h"
#include "kernel/xmxxu_hash.h"
#include "marl/element.h"

// What to do with the white-space-only text children of an element.
enum STRIP_OP : std::uint32_t {
  SP_NONE = 0,
  SP_PRESERVE = 1,
  SP_STRIP = 2,
};

// The host's rules for dropping white-space-only text, by element name and namespace URI,
// with "*" standing for any name. Belongs to a parser, which keeps the stack.
class CMarlWhitespaceStripping : public AllocPolicyRollArea {
 public:
  struct strip_key {
    Atom name;
    Atom uri;
  };
  struct key_hasher {
    std::uint32_t operator()(strip_key const& key) const;
  };
  struct key_equal {
    bool operator()(strip_key const& a, strip_key const& b) const;
  };

  CMarlWhitespaceStripping();

  // Adds a rule; false when the name and URI have one already, which stays. A rule for "*"
  // in the namespace "*" is the rule for everything, and the last one given holds.
  bool insert(std::wstring const& name, std::wstring const& uri, STRIP_OP op);
  // The rule for the element's text children: an enclosing preserve first, then the rule for
  // its name, the rule for any name in its namespace, the rule for everything.
  STRIP_OP strip(MarlElement const& element) const;

 private:
  struct strip_traits {
    using Key = strip_key;
    static Key const& key(std::pair<strip_key, STRIP_OP> const& entry) { return entry.first; }
    static std::uint32_t hash(Key const& key) { return key_hasher()(key); }
    static bool equal(Key const& a, Key const& b) { return key_equal()(a, b); }
  };

  STRIP_OP const* find(std::wstring const& name, std::wstring const& uri) const;

 public:
  // One entry per open element, pushed and popped by the parser.
  std::vector<STRIP_OP, tova_alloc<STRIP_OP>> stripStack;
  CHashTable<std::pair<strip_key, STRIP_OP>, strip_traits> stripRules;
  bool noRules;
  STRIP_OP defaultOp;
  std::wstring wildcardName;
};

#endif
