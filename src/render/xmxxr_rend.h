#ifndef MARL_RENDER_XMXXR_REND_H
#define MARL_RENDER_XMXXR_REND_H

#include <string>

#include "kernel/xmxxo_unkn.h"
#include "marl/document.h"
#include "marl/encoding.h"
#include "marl/renderer.h"
#include "marl/stream.h"

// Writes a document through a stream. It holds only the configuration: each node writes itself.
class CMarlRenderer : public CUnknown, public AllocPolicyRollArea {
 public:
  // Throws invalid_argument "document" for an empty document, then "oStream" for an empty
  // stream.
  CMarlRenderer(MarlOStream const& stream, MarlDocument const& document);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  int render();
  unsigned char setNormalizing(unsigned char value);
  unsigned char isNormalizing() const noexcept {
    return normalizing;
  }
  void setNoEscaping(std::wstring const& characters);

  std::wstring const& getNoEscaping() const noexcept {
    return noEscaping;
  }
  MarlDocument const& getDocument() const noexcept {
    return document;
  }
  MarlOStream const& getStream() const noexcept {
    return oStream;
  }

 protected:
  MarlDocument document;
  MarlOStream oStream;
  // Off until set: a new renderer leaves the stream's pretty printing as it finds it.
  unsigned char normalizing = 0;
  std::wstring noEscaping;
};

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
