#ifndef MARL_DTD_XMXXO_CP_H
#define MARL_DTD_XMXXO_CP_H

#include "dom/xmxxo_node.h"
#include "marl/declarations.h"

// A particle of a content model. A leaf carries an element name; a group has an empty name
// and its members as children, so a declaration tree mirrors the grammar of the DTD.
class CMarlContentParticle : public CMarlNode {
 public:
  using Occurrence = MarlContentParticle::Occurrence;
  using Grouping = MarlContentParticle::Grouping;

  CMarlContentParticle(Atom name, Atom prefix, Occurrence occurrence, Grouping grouping);
  CMarlContentParticle(CMarlContentParticle const& source, short depth);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  unsigned int setName(std::wstring const& text) override;
  unsigned int setNamespacePrefix(std::wstring const& text) override;
  MarlNode clone(int depth) const override;
  std::wstring const& getName() const override;
  std::wstring const& getNamespacePrefix() const override;
  unsigned int getType() const override;
  void render(MarlOStream const& out, unsigned char deep) const override;
  bool renderHead(MarlOStream const& out, unsigned char deep) const override;
  bool renderBeforeChild(MarlOStream const& out, CMarlNode const& child,
                         bool firstWritten) const override;
  void renderTail(MarlOStream const& out, bool anyWritten) const override;
  void renderOccurrence(MarlOStream const& out) const;

  unsigned int numContentParticles() const noexcept { return numChildren; }
  void addContentParticle(MarlContentParticle const& particle);
  MarlContentParticle getContentParticle(unsigned int index) const;

  Atom name;
  Atom namespacePrefix;
  Occurrence occurrence;
  Grouping grouping;
};

#endif
