#ifndef MARL_DOM_XMXXO_CDAT_H
#define MARL_DOM_XMXXO_CDAT_H

#include "dom/xmxxo_node.h"
#include "marl/chardata.h"

// The text of a leaf node. Short texts are atoms shared through the string cache; long ones
// and edited ones are owned, so an edit never changes an atom.
class CMarlCharacterData : public CMarlNode {
 public:
  // Texts shorter than this are shared.
  static constexpr std::size_t c_maxSharedLen = 32;

  CMarlCharacterData();
  CMarlCharacterData(CMarlCharacterData const& source, short depth);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  unsigned int setValue(std::wstring const& text) override;
  unsigned int insertChild(MarlNode const&, MarlNode const&) override { return refuseChild(); }
  unsigned int replaceChild(MarlNode const&, MarlNode const&) override { return refuseChild(); }
  unsigned int removeChild(MarlNode const&) override { return refuseChild(); }
  unsigned int appendChild(MarlNode const&, unsigned char) override { return refuseChild(); }
  std::wstring const& getName() const override;
  std::wstring const& getValue() const override;
  void getValue(std::wstring& text) const override;
  unsigned int getType() const override;
  // The text, escaped: what a text node writes.
  void render(MarlOStream const& out, unsigned char deep) const override;

  unsigned int getLength() const;
  unsigned char wsOnly() const;
  std::wstring substringData(unsigned int offset, unsigned int count) const;
  unsigned int appendData(wchar_t const* text, std::size_t count);
  unsigned int insertData(unsigned int offset, std::wstring const& text);
  unsigned int deleteData(unsigned int offset, unsigned int count);
  unsigned int replaceData(unsigned int offset, unsigned int count, std::wstring const& text);
  void normalizeData();

  std::wstring const* data;
  std::wstring ownData;

 protected:
  // Every edit starts here: the text moves into ownData first.
  void ownText();
};

#endif
