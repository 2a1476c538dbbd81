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

// Written like the content of an element: the children in order, a line apart when pretty
// printing. A fragment has no markup of its own, so alone it writes nothing.
void CMarlDocumentFragment::render(MarlOStream const& out, unsigned char deep) const {
  renderSubtree(out, deep);
}

bool CMarlDocumentFragment::renderHead(MarlOStream const& out, unsigned char deep) const {
  return out && deep;
}

bool CMarlDocumentFragment::renderBeforeChild(MarlOStream const& out, CMarlNode const& child,
                                              bool) const {
  if (&child != firstChild) XMLOSManipEndl().manipulate(out);
  return true;
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
