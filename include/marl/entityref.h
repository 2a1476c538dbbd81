#ifndef MARL_ENTITYREF_H
#define MARL_ENTITYREF_H

#include "marl/node.h"

class CMarlEntityRef;

// A reference `&name;` kept in the tree. When the parser expands it, the replacement's nodes
// become its children.
class MARL_API MarlEntityRef : public MarlNode {
  MARL_NODE_HANDLE_MEMBERS(MarlEntityRef, CMarlEntityRef)

 public:
  // The identifiers of the referenced entity; empty when never set.
  std::wstring const& getPublicId() const;
  std::wstring const& getSystemId() const;
  void setPublicId(std::wstring const& publicId);
  void setSystemId(std::wstring const& systemId);
};

#endif
