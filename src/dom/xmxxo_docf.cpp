#include "dom/xmxxo_docf.h"

CMarlDocumentFragment::CMarlDocumentFragment(CMarlDocumentFragment const& source, short depth)
    : CMarlNode(source, depth) {}

void* CMarlDocumentFragment::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idDocumentFragment, idNode});
}

unsigned int CMarlDocumentFragment::_queryClass() const {
  return idDocumentFragment;
}

MarlNode CMarlDocumentFragment::clone(int depth) const {
  return createObject<MarlNode, CMarlDocumentFragment>(*this, static_cast<short>(depth));
}

std::wstring const& CMarlDocumentFragment::getName() const {
  return *CMarl::staticString(CStaticStringTable::documentFragment);
}

unsigned int CMarlDocumentFragment::getType() const {
  return MarlNode::nodeFragment;
}

// ---------------------------------------------------------------------------------------
// MarlDocumentFragment

MARL_DEFINE_NODE_HANDLE(MarlDocumentFragment, CMarlDocumentFragment, idDocumentFragment)
