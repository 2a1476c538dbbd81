#ifndef MARL_DECLARATIONS_H
#define MARL_DECLARATIONS_H

#include "marl/node.h"

class CMarlContentParticle;
class CMarlElementDecl;
class CMarlAttListDecl;
class CMarlAttributeDecl;
class CMarlEntityDecl;
class CMarlNotationDecl;
class CMarlCondDTDSection;

// A particle of a content model: a leaf names an element and has no children, a group has
// an empty name and its members as children, in order.
class MARL_API MarlContentParticle : public MarlNode {
  MARL_NODE_HANDLE_MEMBERS(MarlContentParticle, CMarlContentParticle)

 public:
  // How often the particle may occur; written as nothing, "?", "*" and "+".
  enum Occurrence : unsigned int {
    OCC_ONE = 1,
    OCC_OPTIONAL = 2,
    OCC_ZERO_OR_MORE = 3,
    OCC_ONE_OR_MORE = 4,
  };
  // How the members of a group combine; written as " | " and ", " between them.
  enum Grouping : unsigned int {
    GROUP_CHOICE = 1,
    GROUP_SEQUENCE = 2,
  };

  // The stored value, as created or last set.
  Occurrence getOccurrence() const;
  void setOccurrence(Occurrence occurrence);
  Grouping getGrouping() const;
  void setGrouping(Grouping grouping);
  // The number of members; 0 for a leaf.
  unsigned int numContentParticles() const;
  // Appends a member; an empty handle adds nothing.
  void addContentParticle(MarlContentParticle const& particle);
  // The member at `index`; empty when there is none, when it is no particle, or when memory
  // runs out.
  MarlContentParticle getContentParticle(unsigned int index) const;
};

// An element declaration: the root particle of its content model, whose one child is the
// model's top group.
class MARL_API MarlElementDecl : public MarlContentParticle {
  MARL_NODE_HANDLE_MEMBERS(MarlElementDecl, CMarlElementDecl)

 public:
  // The kind of content; CS_UNDEFINED until the declaration is filled.
  enum ContentSpec : unsigned int {
    CS_EMPTY = 1,
    CS_ANY = 2,
    CS_CHILDREN = 3,
    CS_MIXED = 4,
    CS_UNDEFINED = 5,
  };

  ContentSpec getContentSpec() const;
  void setContentSpec(ContentSpec contentSpec);
  // Whether the declaration comes from the external subset; 0 when new.
  void setExternal(unsigned char external);
  unsigned char isExternal() const;
};

// An attribute list declaration, named after its element; its children are the attribute
// declarations.
class MARL_API MarlAttListDecl : public MarlNode {
  MARL_NODE_HANDLE_MEMBERS(MarlAttListDecl, CMarlAttListDecl)

 public:
  // Whether the declaration comes from the external subset; 0 when new.
  void setExternal(unsigned char external);
  unsigned char isExternal() const;
};

// The declaration of one attribute: its type, its default and, for the enumerated types, the
// allowed values.
class MARL_API MarlAttributeDecl : public MarlNode {
  MARL_NODE_HANDLE_MEMBERS(MarlAttributeDecl, CMarlAttributeDecl)

 public:
  enum ValueType : unsigned int {
    VT_CDATA = 1,
    VT_ID = 2,
    VT_IDREF = 3,
    VT_IDREFS = 4,
    VT_ENTITY = 5,
    VT_ENTITIES = 6,
    VT_NMTOKEN = 7,
    VT_NMTOKENS = 8,
    VT_NOTATION = 9,
    VT_ENUMERATION = 10,
  };
  enum AttrDefault : unsigned int {
    AD_VALUE = 0,
    AD_IMPLIED = 1,
    AD_REQUIRED = 2,
    AD_FIXED = 3,
  };

  // VT_CDATA when new.
  ValueType getValueType() const;
  void setValueType(ValueType valueType);
  // AD_IMPLIED when new.
  AttrDefault getAttrDefault() const;
  void setAttrDefault(AttrDefault attrDefault);
  // The default value; empty when there is none.
  std::wstring const& getDefaultValue() const;
  void setDefaultValue(std::wstring const& value);
  // Appends an allowed value of an enumerated or notation type. false for other types, for
  // the empty string and for a value already there.
  bool addEnumValue(std::wstring const& value);
  // true when the value is one of the allowed values.
  bool allowsEnumValue(std::wstring const& value) const;
  // Removes the value, keeping the order of the others; false when it is not there.
  bool removeEnumValue(std::wstring const& value);
  // The allowed value at `index`; empty past the end, which is how readers find the end.
  std::wstring const& getEnumValue(unsigned int index) const;
};

// An entity declaration. Its content is an entity object; the declaration only names it.
class MARL_API MarlEntityDecl : public MarlNode {
  MARL_NODE_HANDLE_MEMBERS(MarlEntityDecl, CMarlEntityDecl)

 public:
  // 1 for a parameter entity.
  unsigned char isParameterEntity() const;
  // Whether the declaration comes from the external subset; 0 when new.
  void setExternal(unsigned char external);
  unsigned char isExternal() const;
  // The replacement text of an internal entity; empty for an external one.
  std::wstring const& getEntityValue() const;
  // The identifiers of an external entity; empty for an internal one or when not given.
  std::wstring const& getSystemId() const;
  std::wstring const& getPublicId() const;
  // The notation of an unparsed entity; empty for any other.
  std::wstring const& getNotationName() const;
};

// A notation declaration.
class MARL_API MarlNotationDecl : public MarlNode {
  MARL_NODE_HANDLE_MEMBERS(MarlNotationDecl, CMarlNotationDecl)

 public:
  // The identifiers; empty when not given.
  std::wstring const& getSystemId() const;
  std::wstring const& getPublicId() const;
  // Whether the declaration comes from the external subset; 0 when new.
  void setExternal(unsigned char external);
  unsigned char isExternal() const;
};

// A conditional section of the external subset. An INCLUDE section holds its declarations as
// children; an IGNORE section keeps the ignored text as its value.
class MARL_API MarlCondDTDSection : public MarlNode {
  MARL_NODE_HANDLE_MEMBERS(MarlCondDTDSection, CMarlCondDTDSection)

 public:
  // 1 for INCLUDE, 0 for IGNORE.
  unsigned char isInclude() const;
  // Whether the section comes from the external subset; 0 when new.
  unsigned char isExternal() const;
  void setExternal(unsigned char external);
};

#endif
