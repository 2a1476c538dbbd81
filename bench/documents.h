// The documents the comparison runs on: generated ones, the same bytes on every run, and
// real-world files read from disk.
#ifndef MARL_BENCH_DOCUMENTS_H
#define MARL_BENCH_DOCUMENTS_H

#include <cstddef>
#include <string>
#include <vector>

// Sizes and throughputs count in megabytes of 2^20 bytes.
constexpr std::size_t c_megabyte = 1024 * 1024;

inline double megabytes(std::string const& bytes) {
  return static_cast<double>(bytes.size()) / c_megabyte;
}

// One document of the set, made on demand: the large ones cost time and memory to make.
struct DocumentSource {
  std::string name;
  // Left out of a quick run.
  bool onlyInFullRun;
  // The document's bytes; throws std::runtime_error when a file cannot be read.
  std::string (*make)();
};

// The whole set, in the order of the tables: records of growing size first.
std::vector<DocumentSource> const& documentSources();

// Names of the records documents start with this; their throughputs are compared by size.
extern char const* const c_recordsPrefix;

#endif
