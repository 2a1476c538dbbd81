#include "kernel/xmxxu_trc.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

unsigned int Marl__trace_report_level = 0;
unsigned int Marl__trace_override = 0;
char Marl__trace_file[256] = "";
unsigned int Marl__trace_line = 0;
unsigned int Marl__trace_level = 0;
char Marl__trace_location[22] = "";

namespace {

// Room for 1022 characters of message text and the line feed or the terminating zero.
constexpr std::size_t c_messageSize = 1023;

char const* tracePrefix(unsigned int level) {
  switch (level) {
    case traceFatal:
      return "Marl fatal error:  ";
    case traceWarning:
      return "Marl warning:  ";
    case traceInfo:
      return "Marl info:  ";
    default:
      return "Marl error:  ";
  }
}

bool printsLocation(unsigned int level) {
  return level != traceWarning && level != traceInfo;
}

char const* lastPathPart(char const* file) {
  if (char const* slash = std::strrchr(file, '/')) return slash + 1;
  if (char const* backslash = std::strrchr(file, '\\')) return backslash + 1;
  return file;
}

}  // namespace

void MarlTrace__setLevel(unsigned int report, unsigned int override) {
  Marl__trace_report_level = report;
  Marl__trace_override = override;
}

unsigned int MarlTrace__getLevel() {
  return Marl__trace_report_level;
}

void MarlTrace__setSite(char const* file, unsigned int line, unsigned int level) {
  std::snprintf(Marl__trace_file, sizeof Marl__trace_file, "%s", file);
  Marl__trace_line = line;
  Marl__trace_level = level;
}

void MarlTrace__trace(char const* format, ...) {
  char message[c_messageSize];
  std::va_list arguments;
  va_start(arguments, format);
  int formatted = std::vsnprintf(message, sizeof message, format, arguments);
  va_end(arguments);
  if (formatted < 0) formatted = 0;

  std::size_t length = static_cast<std::size_t>(formatted);
  if (length < c_messageSize) {
    message[length++] = '\n';
    if (length < c_messageSize) message[length] = '\0';
  } else {
    length = c_messageSize - 1;
  }

  std::fputs(tracePrefix(Marl__trace_level), stderr);
  std::fwrite(message, 1, length, stderr);
  if (printsLocation(Marl__trace_level))
    std::fprintf(stderr, "  (%s:%u)", lastPathPart(Marl__trace_file), Marl__trace_line);
  std::fputc('\n', stderr);
  std::fflush(stderr);
}

void MarlTrace__buildLocation() {
  std::memset(Marl__trace_location, 0, sizeof Marl__trace_location);
  std::snprintf(Marl__trace_location, sizeof Marl__trace_location, "%-12.12s%d",
                lastPathPart(Marl__trace_file), static_cast<int>(Marl__trace_line));
}
