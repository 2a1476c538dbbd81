// Compares Marl with libxml2, pugixml, Xerces-C++ and expat on the same documents in memory:
// how fast each parses to a tree and drops it, how fast it renders its tree back to text, and
// how much its tree raises the peak resident size.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "documents.h"
#include "libraries.h"
#include "measure.h"

namespace {

char const* const c_usage =
    "usage: marl_bench [OPTIONS]\n"
    "  --help           this text\n"
    "  --quick          leave out the largest documents and run each figure fewer times\n"
    "  --runs N         take the best of N runs for every document\n"
    "  --doc TEXT       only the documents whose name contains TEXT (repeatable)\n"
    "  --only LIBRARY   only that library: marl, libxml2, pugixml, xerces or expat (repeatable)\n"
    "  --parse, --render, --memory\n"
    "                   only those tables (all three when none is given)\n"
    "For a profile of Marl alone (every figure is taken in a child process, which perf follows):\n"
    "  perf record ./marl_bench --only marl --doc records-10MB --parse\n"
    "Documents:";

// Peak memory below this is mostly the allocator's slack; the table leaves such documents out.
constexpr std::size_t c_memoryDocumentBytes = 10 * c_megabyte;

constexpr int c_nameWidth = 17;
constexpr int c_sizeWidth = 7;
constexpr int c_runsWidth = 5;
constexpr int c_valueWidth = 9;
constexpr int c_ratioWidth = 7;

struct UsageError {
  std::string message;
};

void printUsage(std::FILE* out) {
  std::fprintf(out, "%s", c_usage);
  for (DocumentSource const& source : documentSources())
    std::fprintf(out, " %s", source.name.c_str());
  std::fprintf(out, "\n");
}

struct Options {
  bool help = false;
  bool quick = false;
  // 0: as many as the size of the document suggests.
  int runs = 0;
  std::vector<std::string> documentFilters;
  std::vector<std::string> libraryNames;
  bool parseTable = false;
  bool renderTable = false;
  bool memoryTable = false;
};

Options parseOptions(int argc, char** argv) {
  Options options;
  for (int index = 1; index < argc; ++index) {
    std::string argument = argv[index];
    auto value = [&]() -> std::string {
      if (index + 1 >= argc) throw UsageError{argument + " needs a value"};
      return argv[++index];
    };
    if (argument == "--help") {
      options.help = true;
    } else if (argument == "--quick") {
      options.quick = true;
    } else if (argument == "--runs") {
      options.runs = std::atoi(value().c_str());
      if (options.runs <= 0) throw UsageError{"--runs needs a positive number"};
    } else if (argument == "--doc") {
      options.documentFilters.push_back(value());
    } else if (argument == "--only") {
      options.libraryNames.push_back(value());
    } else if (argument == "--parse") {
      options.parseTable = true;
    } else if (argument == "--render") {
      options.renderTable = true;
    } else if (argument == "--memory") {
      options.memoryTable = true;
    } else {
      throw UsageError{"unknown option " + argument};
    }
  }
  if (!options.parseTable && !options.renderTable && !options.memoryTable)
    options.parseTable = options.renderTable = options.memoryTable = true;
  return options;
}

bool selected(std::vector<std::string> const& wanted, std::string const& name, bool bySubstring) {
  if (wanted.empty()) return true;
  for (std::string const& text : wanted)
    if (bySubstring ? name.find(text) != std::string::npos : name == text) return true;
  return false;
}

struct Document {
  std::string name;
  std::string bytes;
  int runs;
};

// Small documents vary more from run to run and cost little to run again.
int runsFor(std::size_t bytes, Options const& options) {
  if (options.runs > 0) return options.runs;
  if (bytes >= 50 * c_megabyte) return 3;
  if (bytes >= 5 * c_megabyte) return options.quick ? 2 : 5;
  return options.quick ? 3 : 10;
}

std::vector<Document> makeDocuments(Options const& options) {
  std::vector<Document> documents;
  for (DocumentSource const& source : documentSources()) {
    if ((options.quick && source.onlyInFullRun) ||
        !selected(options.documentFilters, source.name, true))
      continue;
    try {
      std::string bytes = source.make();
      int runs = runsFor(bytes.size(), options);
      documents.push_back({source.name, std::move(bytes), runs});
    } catch (std::runtime_error const& error) {
      std::printf("skipped %s: %s\n", source.name.c_str(), error.what());
    }
  }
  return documents;
}

using Figure = std::function<double(Library const&, Document const&)>;

// One table: a row per document, a column per library, and next to each peer's figure Marl's
// figure over it. Rows are printed as they are measured, as a full run takes minutes.
class Table {
 public:
  Table(std::vector<Library const*> columns, Library const* marl)
      : columns(std::move(columns)), marl(marl) {}

  // Measures and prints every row; gives the figures of each document in column order. A
  // figure that takes one run has 1 in the runs column rather than the document's count.
  std::vector<std::vector<Measurement>> run(std::string const& title, char const* unit,
                                            char const* ratioMeaning,
                                            std::vector<Document const*> const& rows,
                                            bool takesRuns, Figure const& figure) const {
    printHeader(title, unit);
    std::vector<std::vector<Measurement>> figures;
    std::vector<std::string> failures;
    for (Document const* document : rows) {
      std::vector<Measurement> cells;
      for (Library const* library : columns) {
        cells.push_back(measureInChild([&] { return figure(*library, *document); }));
        if (!cells.back().succeeded)
          failures.push_back(std::string(library->name()) + " on " + document->name + ": " +
                             cells.back().failure);
      }
      printRow(*document, takesRuns ? document->runs : 1, cells);
      figures.push_back(std::move(cells));
    }
    if (marl && columns.size() > 1)
      std::printf("ratio: Marl's %s over the peer's; %s\n", unit, ratioMeaning);
    for (std::string const& failure : failures) std::printf("FAIL %s\n", failure.c_str());
    std::printf("\n");
    return figures;
  }

 private:
  bool hasRatio(Library const* library) const { return marl && library != marl; }

  void printHeader(std::string const& title, char const* unit) const {
    std::printf("== %s\n%*s", title.c_str(), c_nameWidth + c_sizeWidth + c_runsWidth, "");
    for (Library const* library : columns)
      std::printf("%*s", hasRatio(library) ? c_valueWidth + c_ratioWidth : c_valueWidth,
                  library->name());
    std::printf("\n%-*s%*s%*s", c_nameWidth, "document", c_sizeWidth, "MB", c_runsWidth, "runs");
    for (Library const* library : columns) {
      std::printf("%*s", c_valueWidth, unit);
      if (hasRatio(library)) std::printf("%*s", c_ratioWidth, "ratio");
    }
    std::printf("\n");
  }

  void printRow(Document const& document, int runs, std::vector<Measurement> const& cells) const {
    std::printf("%-*s%*.1f%*d", c_nameWidth, document.name.c_str(), c_sizeWidth,
                megabytes(document.bytes), c_runsWidth, runs);
    Measurement const* marlCell = nullptr;
    for (std::size_t column = 0; column < columns.size(); ++column)
      if (columns[column] == marl) marlCell = &cells[column];
    for (std::size_t column = 0; column < columns.size(); ++column) {
      Measurement const& cell = cells[column];
      if (cell.succeeded)
        std::printf("%*.1f", c_valueWidth, cell.value);
      else
        std::printf("%*s", c_valueWidth, "FAIL");
      if (!hasRatio(columns[column])) continue;
      if (cell.succeeded && marlCell->succeeded && cell.value > 0)
        std::printf("%*.2f", c_ratioWidth, marlCell->value / cell.value);
      else
        std::printf("%*s", c_ratioWidth, "-");
    }
    std::printf("\n");
    std::fflush(stdout);
  }

  std::vector<Library const*> columns;
  Library const* marl;
};

// Throughput should not fall as documents grow: Marl's largest records document against its
// smallest, from the figures of a parse table whose first column is Marl.
void printMarlScaling(std::vector<Document const*> const& rows,
                      std::vector<std::vector<Measurement>> const& figures) {
  Document const* smallest = nullptr;
  Document const* largest = nullptr;
  double smallestThroughput = 0;
  double largestThroughput = 0;
  for (std::size_t row = 0; row < rows.size(); ++row) {
    Measurement const& cell = figures[row][0];
    if (rows[row]->name.rfind(c_recordsPrefix, 0) != 0 || !cell.succeeded) continue;
    if (!smallest) {
      smallest = rows[row];
      smallestThroughput = cell.value;
    }
    largest = rows[row];
    largestThroughput = cell.value;
  }
  if (smallest == largest) return;
  std::printf("Marl parse throughput, %s over %s: %.2f (the aim: 0.90 or more)\n\n",
              largest->name.c_str(), smallest->name.c_str(),
              largestThroughput / smallestThroughput);
}

int run(Options const& options) {
  if (options.help) {
    printUsage(stdout);
    return 0;
  }
  auto start = std::chrono::steady_clock::now();
  std::vector<std::unique_ptr<Library>> libraries;
  libraries.push_back(makeMarlLibrary());
  libraries.push_back(makeLibxml2Library());
  libraries.push_back(makePugixmlLibrary());
  libraries.push_back(makeXercesLibrary());
  libraries.push_back(makeExpatLibrary());
  std::vector<Library const*> parsers;
  std::vector<Library const*> treeBuilders;
  for (std::unique_ptr<Library> const& library : libraries) {
    if (!selected(options.libraryNames, library->name(), false)) continue;
    parsers.push_back(library.get());
    if (library->buildsTree()) treeBuilders.push_back(library.get());
  }
  if (parsers.empty()) throw UsageError{"no library of that name"};
  Library const* marl = parsers.front() == libraries.front().get() ? parsers.front() : nullptr;

  std::vector<Document> documents = makeDocuments(options);
  std::vector<Document const*> allRows;
  std::vector<Document const*> memoryRows;
  for (Document const& document : documents) {
    allRows.push_back(&document);
    if (document.bytes.size() >= c_memoryDocumentBytes) memoryRows.push_back(&document);
  }
  if (allRows.empty()) throw UsageError{"no document matches"};

  if (options.parseTable) {
    std::vector<std::vector<Measurement>> figures = Table(parsers, marl).run(
        "Parse to a tree and drop it: MB/s of input, best of the runs (expat: events only)",
        "MB/s", "above 1, Marl is faster", allRows, true,
        [](Library const& library, Document const& document) {
          return parseThroughput(library, document.bytes, document.runs);
        });
    if (marl) printMarlScaling(allRows, figures);
  }
  if (options.renderTable && !treeBuilders.empty())
    Table(treeBuilders, marl)
        .run("Render the tree to memory: MB/s of input, best of the runs", "MB/s",
             "above 1, Marl is faster", allRows, true,
             [](Library const& library, Document const& document) {
               return renderThroughput(library, document.bytes, document.runs);
             });
  if (options.memoryTable && memoryRows.empty())
    std::printf("no peak memory table: it covers documents of %zu MB and more\n\n",
                c_memoryDocumentBytes / c_megabyte);
  if (options.memoryTable && !treeBuilders.empty() && !memoryRows.empty())
    Table(treeBuilders, marl)
        .run("Peak resident memory of parsing and keeping the tree: MB above the baseline",
             "MB", "above 1, Marl takes more", memoryRows, false,
             [](Library const& library, Document const& document) {
               return parsePeakMegabytes(library, document.bytes);
             });
  std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  std::printf("finished in %.0f s\n", elapsed.count());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(parseOptions(argc, argv));
  } catch (UsageError const& error) {
    std::fprintf(stderr, "marl_bench: %s\n", error.message.c_str());
    printUsage(stderr);
    return 2;
  }
}
