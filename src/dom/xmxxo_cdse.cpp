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

// The text goes out as it stands; a "]]>" inside it is not split and ends the section early.
void CMarlCDATASection::render(MarlOStream const& out, unsigned char) const {
  if (!out) return;
  writeMarkup(out, L"<![CDATA[");
  writeMarkup(out, getValue());
  writeMarkup(out, L"]]>");
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
