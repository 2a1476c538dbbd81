#ifndef MARL_CHARDATA_H
#define MARL_CHARDATA_H

#include "marl/node.h"

class CMarlCharacterData;
class CMarlText;
class CMarlComment;
class CMarlCDATASection;

// Text of a leaf node. Offsets and counts are in 16-bit code units.
class MARL_API MarlCharacterData : public MarlNode {
  MARL_NODE_HANDLE_MEMBERS(MarlCharacterData, CMarlCharacterData)

 public:
  // The text, as getValue.
  std::wstring const& getData() const;
  // Replaces the text, as setValue. rcOK.
  unsigned int setData(std::wstring const& data);
  unsigned int getLength() const;
  // True when every character is XML white space; true for an empty text.
  unsigned char wsOnly() const;
  // Up to `count` characters from `offset`; empty when `offset` is not inside the text.
  std::wstring substringData(unsigned int offset, unsigned int count) const;
  // rcOK.
  unsigned int appendData(std::wstring const& data);
  unsigned int appendDataN(wchar_t const* data, unsigned int count);
  // rcBadArgument unless `offset` lies inside the text: inserting at the end is refused.
  unsigned int insertData(unsigned int offset, std::wstring const& data);
  // rcBadArgument unless `offset` lies inside the text; the count is cut to what remains.
  unsigned int deleteData(unsigned int offset, unsigned int count);
  unsigned int replaceData(unsigned int offset, unsigned int count, std::wstring const& data);
  // Trims leading and trailing white space.
  void normalizeData();
};

class MARL_API MarlText : public MarlCharacterData {
  MARL_NODE_HANDLE_MEMBERS(MarlText, CMarlText)

 public:
  // Moves the text from `offset` on into a new text node directly behind this one, and returns
  // it. The node must have a parent; without an owner document the result is empty and
  // nothing changes.
  MarlText splitText(unsigned int offset);
};

class MARL_API MarlComment : public MarlCharacterData {
  MARL_NODE_HANDLE_MEMBERS(MarlComment, CMarlComment)

 public:
  // Whether the comment comes from the external subset of the document type.
  void setExternal(unsigned char external);
  unsigned char isExternal() const;
};

class MARL_API MarlCDATASection : public MarlText {
  MARL_NODE_HANDLE_MEMBERS(MarlCDATASection, CMarlCDATASection)
};

#endif
