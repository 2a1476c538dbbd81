#include "dom/xmxxo_text.h"

#include <climits>

#include "dom/xmxxo_doc.h"

CMarlText::CMarlText(CMarlText const& source, short depth) : CMarlCharacterData(source, depth) {}

void* CMarlText::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idText, idCharacterData, idNode});
}

unsigned int CMarlText::_queryClass() const {
  return idText;
}

MarlNode CMarlText::clone(int depth) const {
  return createObject<MarlNode, CMarlText>(*this, static_cast<short>(depth));
}

std::wstring const& CMarlText::getName() const {
  return *CMarl::staticString(CStaticStringTable::text);
}

unsigned int CMarlText::getType() const {
  return MarlNode::nodeText;
}

// The new node comes from the document's createText, so a split CDATA section gives plain text.
MarlText CMarlText::splitText(unsigned int offset) {
  std::wstring tail = substringData(offset, UINT_MAX);
  // Without a document to create the follower or a parent to hold it there is nothing to split.
  if (!ownerDocument || !parent) return MarlText();
  MarlText follower = ownerDocument->createText(tail);
  if (!follower) return follower;
  parent->insertChild(follower, MarlNode(next));
  deleteData(offset, UINT_MAX);
  return follower;
}

// ---------------------------------------------------------------------------------------
// MarlText

MARL_DEFINE_NODE_HANDLE(MarlText, CMarlText, idText)

MarlText MarlText::splitText(unsigned int offset) {
  return _impl()->splitText(offset);
}
