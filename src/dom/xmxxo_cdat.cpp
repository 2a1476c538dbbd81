#include "dom/xmxxo_cdat.h"

#include "text/xmxxs_char.h"

namespace {

bool isSpace(wchar_t element) {
  return CCharClass::c_fClass[static_cast<std::uint16_t>(element)] & CCharClass::fSpace;
}

}  // namespace

CMarlCharacterData::CMarlCharacterData() : data(CMarlBase::instance().emptyAtom) {}

// The copy takes what the source reads: a stale source's atom died with an earlier library.
CMarlCharacterData::CMarlCharacterData(CMarlCharacterData const& source, short depth)
    : CMarlNode(source, depth), data(CMarlBase::instance().emptyAtom) {
  setValue(source.getValue());
}

void* CMarlCharacterData::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idCharacterData, idNode});
}

unsigned int CMarlCharacterData::_queryClass() const {
  return idCharacterData;
}

unsigned int CMarlCharacterData::setValue(std::wstring const& text) {
  if (text.size() >= c_maxSharedLen) {
    if (&text != &ownData) ownData = text;
    data = &ownData;
  } else {
    data = intern(text);
    ownData.clear();
  }
  return MarlNode::rcOK;
}

std::wstring const& CMarlCharacterData::getName() const {
  return *CMarl::staticString(CStaticStringTable::characterData);
}

std::wstring const& CMarlCharacterData::getValue() const {
  return isStale() ? *unknownAtom() : *data;
}

void CMarlCharacterData::getValue(std::wstring& text) const {
  text = getValue();
}

void CMarlCharacterData::render(MarlOStream const& out, unsigned char) const {
  if (!out) return;
  XMLOSManipEscaped(1).manipulate(out);
  writeMarkup(out, getValue());
}

// Plain character data is no kind of its own.
unsigned int CMarlCharacterData::getType() const {
  return 0;
}

unsigned int CMarlCharacterData::getLength() const {
  return static_cast<unsigned int>(getValue().size());
}

unsigned char CMarlCharacterData::wsOnly() const {
  for (wchar_t element : getValue())
    if (!isSpace(element)) return 0;
  return 1;
}

std::wstring CMarlCharacterData::substringData(unsigned int offset, unsigned int count) const {
  std::wstring const& text = getValue();
  if (offset >= text.size()) return std::wstring();
  return text.substr(offset, count);
}

// Read through getValue, which keeps away from the dead atom of a stale node.
void CMarlCharacterData::ownText() {
  if (data == &ownData) return;
  ownData = getValue();
  data = &ownData;
}

unsigned int CMarlCharacterData::appendData(wchar_t const* text, std::size_t count) {
  ownText();
  if (count != 0) ownData.append(text, count);
  return MarlNode::rcOK;
}

// Unlike appendData, an insertion at the very end is refused.
unsigned int CMarlCharacterData::insertData(unsigned int offset, std::wstring const& text) {
  ownText();
  if (offset >= ownData.size()) return MarlNode::rcBadArgument;
  ownData.insert(offset, text);
  return MarlNode::rcOK;
}

unsigned int CMarlCharacterData::deleteData(unsigned int offset, unsigned int count) {
  ownText();
  if (offset >= ownData.size()) return MarlNode::rcBadArgument;
  ownData.erase(offset, count);
  return MarlNode::rcOK;
}

unsigned int CMarlCharacterData::replaceData(unsigned int offset, unsigned int count,
                                             std::wstring const& text) {
  ownText();
  if (offset >= ownData.size()) return MarlNode::rcBadArgument;
  ownData.replace(offset, count, text);
  return MarlNode::rcOK;
}

void CMarlCharacterData::normalizeData() {
  ownText();
  if (ownData.empty()) return;
  std::size_t first = 0;
  while (first < ownData.size() && isSpace(ownData[first])) ++first;
  if (first == ownData.size()) {
    ownData.clear();
    return;
  }
  std::size_t last = ownData.size();
  while (isSpace(ownData[last - 1])) --last;
  // Trimmed in place: most texts have nothing to trim and keep their storage as it is.
  ownData.erase(last);
  ownData.erase(0, first);
}

// ---------------------------------------------------------------------------------------
// MarlCharacterData

MARL_DEFINE_NODE_HANDLE(MarlCharacterData, CMarlCharacterData, idCharacterData)

std::wstring const& MarlCharacterData::getData() const {
  return _impl()->getValue();
}

unsigned int MarlCharacterData::setData(std::wstring const& data) {
  return _impl()->setValue(data);
}

unsigned int MarlCharacterData::getLength() const {
  return _impl()->getLength();
}

unsigned char MarlCharacterData::wsOnly() const {
  return _impl()->wsOnly();
}

std::wstring MarlCharacterData::substringData(unsigned int offset, unsigned int count) const {
  return _impl()->substringData(offset, count);
}

unsigned int MarlCharacterData::appendData(std::wstring const& data) {
  return _impl()->appendData(data.data(), data.size());
}

unsigned int MarlCharacterData::appendDataN(wchar_t const* data, unsigned int count) {
  return _impl()->appendData(data, count);
}

unsigned int MarlCharacterData::insertData(unsigned int offset, std::wstring const& data) {
  return _impl()->insertData(offset, data);
}

unsigned int MarlCharacterData::deleteData(unsigned int offset, unsigned int count) {
  return _impl()->deleteData(offset, count);
}

unsigned int MarlCharacterData::replaceData(unsigned int offset, unsigned int count,
                                            std::wstring const& data) {
  return _impl()->replaceData(offset, count, data);
}

void MarlCharacterData::normalizeData() {
  _impl()->normalizeData();
}
