#ifndef MARL_PI_H
#define MARL_PI_H

#include "marl/node.h"

class CMarlPI;
class CMarlPIUnparsed;
class CMarlPIParsed;
class MarlAttribute;

// A processing instruction; its name is its target.
class MARL_API MarlPI : public MarlNode {
  MARL_NODE_HANDLE_MEMBERS(MarlPI, CMarlPI)

 public:
  std::wstring const& getTarget() const;
  // Whether the instruction comes from the external subset of the document type.
  void setExternal(unsigned char external);
  unsigned char isExternal() const;
};

// A processing instruction kept as the text behind its target.
class MARL_API MarlPIUnparsed : public MarlPI {
  MARL_NODE_HANDLE_MEMBERS(MarlPIUnparsed, CMarlPIUnparsed)

 public:
  std::wstring const& getData() const;
  // rcOK.
  unsigned int setData(std::wstring const& data);
  unsigned int appendData(std::wstring const& data);
};

// A processing instruction read as name and value pairs, kept as attributes without prefixes.
class MARL_API MarlPIParsed : public MarlPI {
  MARL_NODE_HANDLE_MEMBERS(MarlPIParsed, CMarlPIParsed)

 public:
  // The value of the pair; empty if there is none.
  std::wstring const& getAttribute(std::wstring const& name) const;
  // The pair as an attribute; empty if there is none.
  MarlAttribute getAttributeNode(std::wstring const& name);
  // rcNoNode when memory runs out.
  unsigned int setAttribute(std::wstring const& name, std::wstring const& value);
  // rcNoNode for an empty handle.
  unsigned int setAttributeNode(MarlAttribute const& attribute);
  // rcNotFound when there is no such pair.
  unsigned int removeAttribute(std::wstring const& name);
  unsigned int removeAttributeNode(MarlAttribute const& attribute);
};

#endif
