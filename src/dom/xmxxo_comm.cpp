#include "dom/xmxxo_comm.h"

CMarlComment::CMarlComment(CMarlComment const& source, short depth)
    : CMarlCharacterData(source, depth), external(source.external) {}

void* CMarlComment::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idComment, idCharacterData, idNode});
}

unsigned int CMarlComment::_queryClass() const {
  return idComment;
}

MarlNode CMarlComment::clone(int depth) const {
  return createObject<MarlNode, CMarlComment>(*this, static_cast<short>(depth));
}

// A comment of the external subset stays with it.
void CMarlComment::render(MarlOStream const& out, unsigned char) const {
  if (!out || external) return;
  writeMarkup(out, L"<!--");
  writeMarkup(out, getValue());
  writeMarkup(out, L"-->");
}

std::wstring const& CMarlComment::getName() const {
  return *CMarl::staticString(CStaticStringTable::comment);
}

unsigned int CMarlComment::getType() const {
  return MarlNode::nodeComment;
}

// ---------------------------------------------------------------------------------------
// MarlComment

MARL_DEFINE_NODE_HANDLE(MarlComment, CMarlComment, idComment)

void MarlComment::setExternal(unsigned char external) {
  _impl()->external = external;
}

unsigned char MarlComment::isExternal() const {
  return _impl()->external;
}
