#ifndef MARL_DOM_XMXXO_CDSE_H
#define MARL_DOM_XMXXO_CDSE_H

#include "dom/xmxxo_text.h"

// A CDATA section is a text node in every query but that for comments.
class CMarlCDATASection : public CMarlText {
 public:
  CMarlCDATASection() = default;
  CMarlCDATASection(CMarlCDATASection const& source, short depth);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  MarlNode clone(int depth) const override;
  std::wstring const& getName() const override;
  unsigned int getType() const override;
  void render(MarlOStream const& out, unsigned char deep) const override;
};

#endif
