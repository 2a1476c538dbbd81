#ifndef MARL_PARSER_XMXXP_PERR_H
#define MARL_PARSER_XMXXP_PERR_H

#include <cstdarg>
#include <cstdint>
#include <string>

#include "kernel/xmxxo_unkn.h"
#include "marl/parser.h"

// One stored finding of a parser. It holds copies of its texts, so it outlives the parser and
// the entity it names.
class CMarlParseError : public CUnknown, public AllocPolicyRollArea {
 public:
  CMarlParseError(MarlParseError::Severity errorSeverity, std::wstring const& errorEntity,
                  std::uint32_t errorLine, std::uint32_t errorColumn, std::uint32_t errorOffset,
                  std::uint32_t errorNumber, std::wstring const& errorReason);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;
  // The text of the severity, from the string cache so that the reference stays valid.
  virtual std::wstring const& getSeverityText() const;

  // The texts of the severities by value; a value beyond them reads as the first.
  static wchar_t const* const cm_aseverity[5];

  MarlParseError::Severity severity;
  std::wstring entity;
  std::uint32_t line;
  std::uint32_t column;
  std::uint32_t offset;
  std::uint32_t number;
  std::wstring reason;
};

// The message of a finding: `format` with each "%s" replaced by the next argument, a wide
// string (nothing for a null one), and each "%c" by the next argument, one wide character.
// Every other "%" stays as it is, together with the character behind it. The arguments are
// not counted against the format.
std::wstring formatReason(wchar_t const* format, std::va_list arguments);

#endif
