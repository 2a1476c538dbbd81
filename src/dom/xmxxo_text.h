#ifndef MARL_DOM_XMXXO_TEXT_H
#define MARL_DOM_XMXXO_TEXT_H

#include "dom/xmxxo_cdat.h"

class CMarlText : public CMarlCharacterData {
 public:
  CMarlText() = default;
  CMarlText(CMarlText const& source, short depth);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  MarlNode clone(int depth) const override;
  std::wstring const& getName() const override;
  unsigned int getType() const override;

  MarlText splitText(unsigned int offset);
};

#endif
