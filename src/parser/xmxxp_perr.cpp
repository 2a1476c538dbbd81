#include "parser/xmxxp_perr.h"

#include <ostream>

#include "kernel/xmxxi_marl.h"
#include "kernel/xmxxu_xcpt.h"
#include "parser/xmxxp_pars.h"
#include "parser/xmxxs_ent.h"
#include "text/xmxxu_stri.h"

namespace {

// Where the exceptions of the parser say they come from.
wchar_t const c_exceptionSource[] = L"xmxxi_xcpt";
constexpr unsigned int c_exceptionLine = 37;

wchar_t const* severityText(MarlParseError::Severity severity) noexcept {
  unsigned int const index =
      severity >= 1 && severity <= 4 ? static_cast<unsigned int>(severity) : 0u;
  return CMarlParseError::cm_aseverity[index];
}

}  // namespace

// ---------------------------------------------------------------------------------------
// CMarlParseError

wchar_t const* const CMarlParseError::cm_aseverity[5] = {L"", L"info", L"warning", L"error",
                                                          L"fatal error"};

CMarlParseError::CMarlParseError(MarlParseError::Severity errorSeverity,
                                 std::wstring const& errorEntity, std::uint32_t errorLine,
                                 std::uint32_t errorColumn, std::uint32_t errorOffset,
                                 std::uint32_t errorNumber, std::wstring const& errorReason)
    : severity(errorSeverity),
      entity(errorEntity),
      line(errorLine),
      column(errorColumn),
      offset(errorOffset),
      number(errorNumber),
      reason(errorReason) {}

void* CMarlParseError::_queryInterface(unsigned int id) {
  return id == idParseError || id == idUnknown ? this : nullptr;
}

unsigned int CMarlParseError::_queryClass() const {
  return idParseError;
}

std::wstring const& CMarlParseError::getSeverityText() const {
  return *CMarlBase::instance().intern(severityText(severity));
}

std::wstring formatReason(wchar_t const* format, std::va_list arguments) {
  std::wstring reason;
  if (!format) return reason;
  for (wchar_t const* at = format; *at; ++at) {
    if (*at != L'%' || at[1] == 0) {
      reason.push_back(*at);
      continue;
    }
    ++at;
    if (*at == L's') {
      wchar_t const* text = va_arg(arguments, wchar_t const*);
      if (text) reason.append(text);
    } else if (*at == L'c') {
      // A wide character travels through the variable arguments as an int.
      reason.push_back(static_cast<wchar_t>(va_arg(arguments, int)));
    } else {
      reason.push_back(L'%');
      reason.push_back(*at);
    }
  }
  return reason;
}

// ---------------------------------------------------------------------------------------
// CMarlParser: the findings

// The place is where the scanner's current token starts, in the entity being read: an
// external one is named by its identifiers, an internal one not at all.
void CMarlParser::addError(MarlParseError::Severity severity, unsigned int number,
                           wchar_t const* format, ...) {
  std::wstring reason;
  {
    std::va_list arguments;
    va_start(arguments, format);
    try {
      reason = formatReason(format, arguments);
    } catch (...) {
      va_end(arguments);
      throw;
    }
    va_end(arguments);
  }

  std::wstring entityName;
  std::uint32_t line = 0;
  std::uint32_t column = 0;
  std::uint32_t offset = 0;
  if (scanner) {
    CMarlGEntity const* reading = scanner->entity._impl();
    MarlGEntityExtParsed external(scanner->entity);
    if (external) {
      CMarlGEntityExtParsed const* source = external._impl();
      entityName = !source->systemId.empty()   ? source->systemId
                   : !source->publicId.empty() ? source->publicId
                                               : source->getName();
    }
    CMarlGEntityIterator const& start = scanner->tokenStart;
    line = start.line;
    column = start.column;
    if (reading && start.entity == reading && start.pos)
      offset = reading->base + static_cast<std::uint32_t>(start.pos - reading->buffer.data());
  } else {
    entityName = unknownEntityString;
  }

  MarlParseError error(
      new CMarlParseError(severity, entityName, line, column, offset, number, reason));
  errors.push_back(error);
  MARL_PARSER_TRACE("marl parser %s: %s (nr=%i) o=%i l=%i c=%i",
                    MBString(severityText(severity)).c_str(), MBString(reason).c_str(),
                    static_cast<int>(number), static_cast<int>(offset), static_cast<int>(line),
                    static_cast<int>(column));

  switch (severity) {
    case MarlParseError::SEVERITY_INFO:
    case MarlParseError::SEVERITY_WARNING:
      return;
    case MarlParseError::SEVERITY_ERROR:
      throw XPT_Parser::XPT_Error(MarlParser::rcError, L"A parse error has occured.",
                                  c_exceptionSource, c_exceptionLine);
    case MarlParseError::SEVERITY_FATAL:
      throw XPT_Parser::XPT_FatalError(MarlParser::rcFatalError,
                                       L"A fatal parse error has occured.", c_exceptionSource,
                                       c_exceptionLine);
    default:
      throw XPT_Parser::XPT_Any(MarlParser::rcInternalError, L"unknown reason", c_exceptionSource,
                                c_exceptionLine);
  }
}

unsigned int CMarlParser::numErrors(MarlParseError::Severity minimum) const noexcept {
  unsigned int count = 0;
  for (MarlParseError const& error : errors)
    if (error._impl()->severity >= minimum) ++count;
  return count;
}

MarlParseError CMarlParser::getError(unsigned int index, MarlParseError::Severity minimum) const {
  for (MarlParseError const& error : errors) {
    if (error._impl()->severity < minimum) continue;
    if (index == 0) return error;
    --index;
  }
  return MarlParseError();
}

// ---------------------------------------------------------------------------------------
// MarlParseError

MARL_DEFINE_HANDLE(MarlParseError, CMarlParseError, idParseError)
MARL_DEFINE_HANDLE_DESTRUCTOR(MarlParseError)

MarlParseError::Severity MarlParseError::getSeverity() const {
  return m_p->severity;
}

std::wstring const& MarlParseError::getSeverityText() const {
  return m_p->getSeverityText();
}

std::wstring const& MarlParseError::getEntity() const {
  return m_p->entity;
}

std::wstring const& MarlParseError::getReason() const {
  return m_p->reason;
}

unsigned int MarlParseError::getNumber() const {
  return m_p->number;
}

unsigned int MarlParseError::getLine() const {
  return m_p->line;
}

unsigned int MarlParseError::getColumn() const {
  return m_p->column;
}

unsigned int MarlParseError::getOffset() const {
  return m_p->offset;
}

std::ostream& operator<<(std::ostream& out, MarlParseError const& error) {
  out << "entity " << MBString(error.getEntity()) << " (" << error.getLine() << ":"
      << error.getColumn() << ") : " << MBString(error.getSeverityText()) << " "
      << error.getNumber() << ": " << MBString(error.getReason()) << std::endl;
  return out;
}
