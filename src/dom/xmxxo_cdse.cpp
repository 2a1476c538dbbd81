#include "dom/xmxxo_cdse.h"

CMarlCDATASection::CMarlCDATASection(CMarlCDATASection const& source, short depth)
    : CMarlText(source, depth) {}

void* CMarlCDATASection::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idCDATASection, idText, idCharacterData, idNode});
}

unsigned int CMarlCDATASection::_queryClass() const {
  return idCDATASection;
}

MarlNode CMarlCDATASection::clone(int depth) const {
  return createObject<MarlNode, CMarlCDATASection>(*this, static_cast<short>(depth));
}

std::wstring const& CMarlCDATASection::getName() const {
  return *CMarl::staticString(CStaticStringTable::cdataSection);
}

unsigned int CMarlCDATASection::getType() const {
  return MarlNode::nodeCDATA;
}

// ---------------------------------------------------------------------------------------
// MarlCDATASection

MARL_DEFINE_NODE_HANDLE(MarlCDATASection, CMarlCDATASection, idCDATASection)
