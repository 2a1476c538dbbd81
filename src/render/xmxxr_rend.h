#ifndef MARL_RENDER_XMXXR_REND_H
#define MARL_RENDER_XMXXR_REND_H

#include <string>

#include "kernel/xmxxo_unkn.h"
#include "marl/encoding.h"
#include "marl/renderer.h"
#include "marl/stream.h"

// The settings for writing a token sequence to a stream. It writes nothing itself.
class CMarlTokenRenderer : public CUnknown, public AllocPolicyRollArea {
 public:
  // Throws invalid_argument "oStream" for an empty stream.
  explicit CMarlTokenRenderer(MarlOStream const& stream);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  int render(void* tokens);
  unsigned char setNormalizing(unsigned char value);
  unsigned char isNormalizing() const noexcept {
    return normalizing;
  }
  unsigned char setEncoding(MarlEncoding const& encoding);
  MarlEncoding getEncoding() const;
  void setNoEscaping(std::wstring const& characters);

  std::wstring const& getNoEscaping() const noexcept {
    return noEscaping;
  }
  MarlOStream const& getStream() const noexcept {
    return oStream;
  }

 private:
  MarlOStream oStream;
  // Set from the start without the stream being told: only setNormalizing reaches it.
  unsigned char normalizing = 1;
  std::wstring noEscaping;
};

#endif
