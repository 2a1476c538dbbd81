#ifndef MARL_DTD_XMXXO_CDTD_H
#define MARL_DTD_XMXXO_CDTD_H

#include "dom/xmxxo_node.h"
#include "marl/declarations.h"

// A conditional section. An INCLUDE section holds its declarations as children; an IGNORE
// section keeps the ignored source text, which is its value.
class CMarlCondDTDSection : public CMarlNode {
 public:
  CMarlCondDTDSection();
  explicit CMarlCondDTDSection(unsigned char include);
  CMarlCondDTDSection(CMarlCondDTDSection const& source, short depth);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  unsigned int setValue(std::wstring const& value) override;
  MarlNode clone(int depth) const override;
  std::wstring const& getName() const override;
  std::wstring const& getValue() const override;
  void getValue(std::wstring& value) const override;
  unsigned int getType() const override;
  void render(MarlOStream const& out, unsigned char deep) const override;
  bool renderHead(MarlOStream const& out, unsigned char deep) const override;
  void renderTail(MarlOStream const& out, bool anyWritten) const override;

  std::uint8_t includeSection;
  std::uint8_t external;
  std::wstring text;
};

#endif
