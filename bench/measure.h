// Timing and memory figures of one library on one document, each taken in a child process.
#ifndef MARL_BENCH_MEASURE_H
#define MARL_BENCH_MEASURE_H

#include <functional>
#include <string>

#include "libraries.h"

struct Measurement {
  bool succeeded;
  double value;
  // Why there is no value: the library's reason, or the signal that ended the child.
  std::string failure;
};

// Runs `measure` in a forked child: a library that crashes costs one figure and not the run,
// and every library starts from the heap the parent left, not from one that another library
// has fragmented. The child's exceptions come back as failures.
Measurement measureInChild(std::function<double()> const& measure);

// MB/s of input for parsing the document into a tree and dropping it, best of `runs`.
double parseThroughput(Library const& library, std::string const& document, int runs);
// MB/s of input for rendering the tree of the document into memory, best of `runs`; the parse
// before them is not timed.
double renderThroughput(Library const& library, std::string const& document, int runs);
// Megabytes by which parsing the document and keeping the tree raises the peak resident size.
double parsePeakMegabytes(Library const& library, std::string const& document);

#endif
