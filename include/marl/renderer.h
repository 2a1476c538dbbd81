#ifndef MARL_RENDERER_H
#define MARL_RENDERER_H

#include "marl/encoding.h"
#include "marl/handle.h"
#include "marl/stream.h"

class CMarlRenderer;
class CMarlTokenRenderer;

// Writes a document as XML text through an output stream. It holds the settings; the nodes
// write themselves (MarlNode::render). Made by Marl::createRenderer.
class MARL_API MarlRenderer {
  MARL_HANDLE_MEMBERS(MarlRenderer, CMarlRenderer)

 public:
  // Results of render.
  enum Result : int {
    rcRendered = 0,                 // the document went to the stream
    rcNoDocumentOrStream = 0x40003  // there was no document or no stream to write to
  };

  // Writes the document with all its nodes, then flushes the stream: rcRendered, also when the
  // stream failed and the text was cut short there.
  int render() const;
  // Stores the flag and turns the stream's pretty printing on or off with it; returns the flag.
  unsigned char setNormalizing(unsigned char normalizing) const;
  // The flag; 0 for a new renderer.
  unsigned char isNormalizing() const;
  // Stores the characters among < > & " ' that text and attribute values are to carry as they
  // are; the stream is told when rendering starts. Nothing to report.
  void setNoEscaping(std::wstring const& characters) const;
};

// The output counterpart of the token parser: it holds an output stream and the settings for
// writing tokens. Made by Marl::createTokenRenderer.
class MARL_API MarlTokenRenderer {
  MARL_HANDLE_MEMBERS(MarlTokenRenderer, CMarlTokenRenderer)

 public:
  // Writes nothing: the operation is kept for the interface. Always 0.
  int render(void* tokens) const;
  // Stores the flag and turns the stream's pretty printing on or off with it; returns the flag.
  unsigned char setNormalizing(unsigned char normalizing) const;
  // The flag; 1 for a new renderer, whose stream has not been told.
  unsigned char isNormalizing() const;
  // The stream's setEncoding: 0 when no handler serves the encoding.
  unsigned char setEncoding(MarlEncoding const& encoding) const;
  // The stream's encoding; empty while the stream has none.
  MarlEncoding getEncoding() const;
  // Stores the characters among < > & " ' that are not to be escaped. Nothing to report.
  void setNoEscaping(std::wstring const& characters) const;
};

#endif
