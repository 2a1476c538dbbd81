#include "dtd/xmxxo_cdtd.h"

CMarlCondDTDSection::CMarlCondDTDSection() : CMarlCondDTDSection(1) {}

CMarlCondDTDSection::CMarlCondDTDSection(unsigned char include)
    : includeSection(include), external(0) {}

CMarlCondDTDSection::CMarlCondDTDSection(CMarlCondDTDSection const& source, short depth)
    : CMarlNode(source, depth),
      includeSection(source.includeSection),
      external(source.external),
      text(source.text) {}

void* CMarlCondDTDSection::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idCondDTDSection, idNode});
}

unsigned int CMarlCondDTDSection::_queryClass() const {
  return idCondDTDSection;
}

// Only an IGNORE section has text; an INCLUDE section's content is its children.
unsigned int CMarlCondDTDSection::setValue(std::wstring const& value) {
  if (includeSection) return MarlNode::rcNotSupported;
  text = value;
  return MarlNode::rcOK;
}

MarlNode CMarlCondDTDSection::clone(int depth) const {
  return createObject<MarlNode, CMarlCondDTDSection>(*this, static_cast<short>(depth));
}

void CMarlCondDTDSection::render(MarlOStream const& out, unsigned char deep) const {
  renderSubtree(out, deep);
}

// An IGNORE section writes its text, an INCLUDE section its children.
bool CMarlCondDTDSection::renderHead(MarlOStream const& out, unsigned char deep) const {
  if (!out || external) return false;
  if (includeSection)
    writeMarkup(out, L"<![INCLUDE[");
  else
    writeMarkup(out, L"<![IGNORE[");
  XMLOSManipIncIndent(1).manipulate(out);
  XMLOSManipEndl().manipulate(out);
  if (includeSection && deep) return true;
  if (!includeSection) writeMarkup(out, text);
  renderTail(out, false);
  return false;
}

void CMarlCondDTDSection::renderTail(MarlOStream const& out, bool) const {
  writeMarkup(out, L"]]>");
  XMLOSManipDecIndent(1).manipulate(out);
  XMLOSManipEndl().manipulate(out);
}

std::wstring const& CMarlCondDTDSection::getName() const {
  return *CMarl::staticString(CStaticStringTable::condDTDSection);
}

std::wstring const& CMarlCondDTDSection::getValue() const {
  return text;
}

void CMarlCondDTDSection::getValue(std::wstring& value) const {
  value = text;
}

unsigned int CMarlCondDTDSection::getType() const {
  return MarlNode::nodeCondDTDSection;
}

// ---------------------------------------------------------------------------------------
// MarlCondDTDSection

MARL_DEFINE_NODE_HANDLE(MarlCondDTDSection, CMarlCondDTDSection, idCondDTDSection)

unsigned char MarlCondDTDSection::isInclude() const {
  return _impl()->includeSection;
}

unsigned char MarlCondDTDSection::isExternal() const {
  return _impl()->external;
}

void MarlCondDTDSection::setExternal(unsigned char external) {
  _impl()->external = external;
}
