#ifndef MARL_DOM_XMXXO_COMM_H
#define MARL_DOM_XMXXO_COMM_H

#include "dom/xmxxo_cdat.h"

class CMarlComment : public CMarlCharacterData {
 public:
  CMarlComment() = default;
  CMarlComment(CMarlComment const& source, short depth);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  MarlNode clone(int depth) const override;
  std::wstring const& getName() const override;
  unsigned int getType() const override;
  void render(MarlOStream const& out, unsigned char deep) const override;

  // Set for a comment of the external subset; rendering leaves such comments out.
  std::uint8_t external = 0;
};

#endif
