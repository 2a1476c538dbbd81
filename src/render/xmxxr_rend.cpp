#include "render/xmxxr_rend.h"

#include <stdexcept>

#include "marl/factory.h"

// ---------------------------------------------------------------------------------------
// CMarlRenderer

CMarlRenderer::CMarlRenderer(MarlOStream const& stream, MarlDocument const& target)
    : document(target), oStream(stream) {
  if (!document) throw std::invalid_argument("document");
  if (!oStream) throw std::invalid_argument("oStream");
}

void* CMarlRenderer::_queryInterface(unsigned int id) {
  return id == idRenderer || id == idUnknown ? this : nullptr;
}

unsigned int CMarlRenderer::_queryClass() const {
  return idRenderer;
}

// What the stream fails to take is not reported: the text ends where the stream stopped.
int CMarlRenderer::render() {
  if (!document || !oStream) return MarlRenderer::rcNoDocumentOrStream;
  oStream.setIgnoreEscaping(noEscaping);
  document.render(oStream, 1);
  oStream.flush();
  return MarlRenderer::rcRendered;
}

unsigned char CMarlRenderer::setNormalizing(unsigned char value) {
  normalizing = value;
  oStream.setPrettyPrint(value);
  return value;
}

// Reaches the stream only when rendering starts, so that one stream can serve renderers of
// different settings.
void CMarlRenderer::setNoEscaping(std::wstring const& characters) {
  noEscaping = characters;
}

// ---------------------------------------------------------------------------------------
// MarlRenderer

MARL_DEFINE_HANDLE(MarlRenderer, CMarlRenderer, idRenderer)
MARL_DEFINE_HANDLE_DESTRUCTOR(MarlRenderer)

int MarlRenderer::render() const {
  return m_p->render();
}

unsigned char MarlRenderer::setNormalizing(unsigned char normalizing) const {
  return m_p->setNormalizing(normalizing);
}

unsigned char MarlRenderer::isNormalizing() const {
  return m_p->isNormalizing();
}

void MarlRenderer::setNoEscaping(std::wstring const& characters) const {
  m_p->setNoEscaping(characters);
}

// ---------------------------------------------------------------------------------------
// CMarlTokenRenderer

CMarlTokenRenderer::CMarlTokenRenderer(MarlOStream const& stream) : oStream(stream) {
  if (!oStream) throw std::invalid_argument("oStream");
}

void* CMarlTokenRenderer::_queryInterface(unsigned int id) {
  return id == idTokenRenderer || id == idUnknown ? this : nullptr;
}

unsigned int CMarlTokenRenderer::_queryClass() const {
  return idTokenRenderer;
}

// Kept as a no-op on purpose: no token layout is defined for it to write.
int CMarlTokenRenderer::render(void*) {
  return 0;
}

unsigned char CMarlTokenRenderer::setNormalizing(unsigned char value) {
  normalizing = value;
  oStream.setPrettyPrint(value);
  return value;
}

// The renderer keeps no encoding of its own: the stream's is the one that counts.
unsigned char CMarlTokenRenderer::setEncoding(MarlEncoding const& encoding) {
  return oStream.setEncoding(encoding);
}

MarlEncoding CMarlTokenRenderer::getEncoding() const {
  return oStream.getEncoding();
}

void CMarlTokenRenderer::setNoEscaping(std::wstring const& characters) {
  noEscaping = characters;
}

// ---------------------------------------------------------------------------------------
// MarlTokenRenderer

MARL_DEFINE_HANDLE(MarlTokenRenderer, CMarlTokenRenderer, idTokenRenderer)
MARL_DEFINE_HANDLE_DESTRUCTOR(MarlTokenRenderer)

int MarlTokenRenderer::render(void* tokens) const {
  return m_p->render(tokens);
}

unsigned char MarlTokenRenderer::setNormalizing(unsigned char normalizing) const {
  return m_p->setNormalizing(normalizing);
}

unsigned char MarlTokenRenderer::isNormalizing() const {
  return m_p->isNormalizing();
}

unsigned char MarlTokenRenderer::setEncoding(MarlEncoding const& encoding) const {
  return m_p->setEncoding(encoding);
}

MarlEncoding MarlTokenRenderer::getEncoding() const {
  return m_p->getEncoding();
}

void MarlTokenRenderer::setNoEscaping(std::wstring const& characters) const {
  m_p->setNoEscaping(characters);
}

// ---------------------------------------------------------------------------------------
// Marl

// Every failure, an empty argument as much as want of memory, gives an empty handle.
MarlRenderer Marl::createRenderer(MarlOStream const& stream, MarlDocument const& document) const {
  try {
    return MarlRenderer(new CMarlRenderer(stream, document));
  } catch (...) {
    return MarlRenderer();
  }
}

// Every failure, an empty stream as much as want of memory, gives an empty handle.
MarlTokenRenderer Marl::createTokenRenderer(MarlOStream const& stream) const {
  try {
    return MarlTokenRenderer(new CMarlTokenRenderer(stream));
  } catch (...) {
    return MarlTokenRenderer();
  }
}
