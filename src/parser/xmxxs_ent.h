#ifndef MARL_PARSER_XMXXS_ENT_H
#define MARL_PARSER_XMXXS_ENT_H

#include <cstdint>
#include <string>
#include <vector>

#include "kernel/xmxxo_unkn.h"
#include "marl/entity.h"

class CMarlGEntityIterator;

// An entity the scanner reads from: its name, the cursors bound to it, and its characters.
class CMarlGEntity : public CUnknown, public AllocPolicyRollArea {
 public:
  using Buffer = std::vector<wchar_t, tova_alloc<wchar_t>>;

  explicit CMarlGEntity(std::wstring const& entityName);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;
  virtual unsigned int getType() const;

  std::wstring const& getName() const noexcept { return name; }
  void setName(std::wstring const& entityName) { name = entityName; }

  std::wstring name;
  // The scanner's two cursors while they read this entity; null otherwise.
  CMarlGEntityIterator* startIterator;
  CMarlGEntityIterator* endIterator;
  // The offset of the buffer's first character in the whole entity.
  std::uint32_t base;
  // The characters, closed by a 0 element.
  Buffer buffer;
};

// An internal entity. Its replacement text is its whole buffer from the start, so the
// scanner never reads it from anywhere else.
class CMarlGEntityIntParsed : public CMarlGEntity {
 public:
  CMarlGEntityIntParsed(std::wstring const& entityName, wchar_t const* text, unsigned int length);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;
  unsigned int getType() const override;

  // The replacement text, without the closing 0.
  std::wstring getValue() const;
};

// A parsed external entity, read from a stream found through its identifiers.
class CMarlGEntityExtParsed : public CMarlGEntity {
 public:
  CMarlGEntityExtParsed(std::wstring const& entityName, std::wstring const& entitySystemId,
                        std::wstring const& entityPublicId);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;
  unsigned int getType() const override;

  std::wstring systemId;
  std::wstring publicId;
};

// An unparsed external entity: never read, only named by attributes of type ENTITY.
class CMarlGEntityExtUnparsed : public CMarlGEntity {
 public:
  CMarlGEntityExtUnparsed(std::wstring const& entityName, std::wstring const& entitySystemId,
                          std::wstring const& entityPublicId,
                          std::wstring const& entityNotationName);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;
  unsigned int getType() const override;

  std::wstring systemId;
  std::wstring publicId;
  std::wstring notationName;
};

#endif
