#include "measure.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <stdexcept>

#include "documents.h"

namespace {

template <typename Step>
double bestSeconds(int runs, Step const& step) {
  double best = std::numeric_limits<double>::infinity();
  for (int run = 0; run < runs; ++run) {
    auto start = std::chrono::steady_clock::now();
    step();
    std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    best = std::min(best, elapsed.count());
  }
  return best;
}

// A "Name:   1234 kB" line of /proc/self/status, in kilobytes.
long statusKilobytes(std::string const& name) {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line))
    if (line.compare(0, name.size() + 1, name + ":") == 0)
      return std::strtol(line.c_str() + name.size() + 1, nullptr, 10);
  throw std::runtime_error("no " + name + " in /proc/self/status");
}

// Lowers the high-water mark of the resident size to the present size, so that what was
// resident before (the parent's documents, other measurements) does not count.
void resetPeakResidentSize() {
  std::ofstream clearRefs("/proc/self/clear_refs");
  clearRefs << "5";
  if (!clearRefs.flush()) throw std::runtime_error("cannot reset the peak resident size");
}

std::string systemFailure(char const* call) {
  return std::string(call) + ": " + std::strerror(errno);
}

// The child's report: 'v' and the value, or 'f' and why it failed.
std::string measureAndReport(std::function<double()> const& measure) {
  try {
    char value[32];
    std::snprintf(value, sizeof value, "v%.17g", measure());
    return value;
  } catch (std::exception const& exception) {
    return std::string("f") + exception.what();
  } catch (...) {
    return "fan exception that is no std::exception";
  }
}

void writeAll(int descriptor, std::string const& text) {
  for (std::size_t written = 0; written < text.size();) {
    ssize_t count = write(descriptor, text.data() + written, text.size() - written);
    if (count < 0 && errno != EINTR) return;
    if (count > 0) written += static_cast<std::size_t>(count);
  }
}

std::string readAll(int descriptor) {
  std::string text;
  char buffer[4096];
  for (;;) {
    ssize_t count = read(descriptor, buffer, sizeof buffer);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return text;
    text.append(buffer, static_cast<std::size_t>(count));
  }
}

// Libraries end their messages with a line break, which a table note does not want.
std::string withoutTrailingSpace(std::string text) {
  text.erase(text.find_last_not_of(" \t\r\n") + 1);
  return text;
}

}  // namespace

Measurement measureInChild(std::function<double()> const& measure) {
  int channel[2];
  if (pipe(channel) != 0) return {false, 0, systemFailure("pipe")};
  // Whatever stdio holds back would otherwise be written twice, once by each process.
  std::fflush(stdout);
  std::fflush(stderr);
  pid_t child = fork();
  if (child < 0) {
    std::string failure = systemFailure("fork");
    close(channel[0]);
    close(channel[1]);
    return {false, 0, failure};
  }
  if (child == 0) {
    close(channel[0]);
    writeAll(channel[1], measureAndReport(measure));
    // No exit handlers: they belong to the parent, which still uses the libraries.
    _exit(0);
  }
  close(channel[1]);
  std::string report = readAll(channel[0]);
  close(channel[0]);
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFSIGNALED(status)) return {false, 0, std::string("killed: ") + strsignal(WTERMSIG(status))};
  if (report.empty()) return {false, 0, "the child ended without a report"};
  if (report[0] == 'v') return {true, std::strtod(report.c_str() + 1, nullptr), ""};
  return {false, 0, withoutTrailingSpace(report.substr(1))};
}

double parseThroughput(Library const& library, std::string const& document, int runs) {
  // The tree is a temporary: it is dropped within the timed step.
  return megabytes(document) / bestSeconds(runs, [&] { library.parse(document); });
}

double renderThroughput(Library const& library, std::string const& document, int runs) {
  std::unique_ptr<ParsedDocument> tree = library.parse(document);
  return megabytes(document) / bestSeconds(runs, [&] { tree->render(); });
}

double parsePeakMegabytes(Library const& library, std::string const& document) {
  resetPeakResidentSize();
  long baseline = statusKilobytes("VmHWM");
  std::unique_ptr<ParsedDocument> tree = library.parse(document);
  return static_cast<double>(statusKilobytes("VmHWM") - baseline) / 1024.0;
}
