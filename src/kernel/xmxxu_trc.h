#ifndef MARL_KERNEL_XMXXU_TRC_H
#define MARL_KERNEL_XMXXU_TRC_H

#include "marl/trace.h"

// The trace state: plain globals, read inline by every trace site.
extern unsigned int Marl__trace_report_level;
extern unsigned int Marl__trace_override;
extern char Marl__trace_file[256];
extern unsigned int Marl__trace_line;
extern unsigned int Marl__trace_level;
extern char Marl__trace_location[22];

enum TraceLevel : unsigned int {
  traceFatal = 1,
  traceError = 2,
  traceWarning = 3,
  traceInfo = 4,
};

// Writes one message of the level, file and line recorded in the globals.
void MarlTrace__trace(char const* format, ...) __attribute__((format(printf, 1, 2)));
// Fills Marl__trace_location with the recorded file's last path part and line.
void MarlTrace__buildLocation();
// Records where the message under way comes from.
void MarlTrace__setSite(char const* file, unsigned int line, unsigned int level);

// A trace site: when the report level admits `level`, records the site and writes the
// message. Arguments are evaluated only then, so a disabled trace costs one comparison.
#define MARL_TRACE(level, ...)                                   \
  do {                                                           \
    if (Marl__trace_report_level >= (level)) {                   \
      MarlTrace__setSite(__FILE__, __LINE__, (level));           \
      MarlTrace__trace(__VA_ARGS__);                             \
    }                                                            \
  } while (0)

#endif
