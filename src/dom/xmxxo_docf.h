#ifndef MARL_DOM_XMXXO_DOCF_H
#define MARL_DOM_XMXXO_DOCF_H

#include "dom/xmxxo_node.h"
#include "marl/document.h"

// Holds children only to hand them on: appending or inserting it moves them and leaves it empty.
class CMarlDocumentFragment : public CMarlNode {
 public:
  CMarlDocumentFragment() = default;
  CMarlDocumentFragment(CMarlDocumentFragment const& source, short depth);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  MarlNode clone(int depth) const override;
  std::wstring const& getName() const override;
  unsigned int getType() const override;
  void render(MarlOStream const& out, unsigned char deep) const override;
  bool renderHead(MarlOStream const& out, unsigned char deep) const override;
  bool renderBeforeChild(MarlOStream const& out, CMarlNode const& child,
                         bool firstWritten) const override;
};

#endif
