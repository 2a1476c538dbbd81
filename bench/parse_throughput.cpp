// Parse throughput: a generated document of records, parsed from memory into a tree and
// dropped, several times; prints MB/s of the best run.
#include <marl/marl.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

// Records with attributes, text and a little markup of every common kind, repeated to size.
rawstring generateDocument(std::size_t targetBytes) {
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<records>\n";
  for (unsigned int index = 0; text.size() < targetBytes; ++index) {
    text += "  <record id=\"r" + std::to_string(index) + "\" kind=\"" +
            (index % 3 == 0 ? "book" : "article") + "\">\n";
    text += "    <title>Record number " + std::to_string(index) + " &amp; its title</title>\n";
    text += "    <author first=\"Ada\" last=\"Lovelace\"/>\n";
    text += "    <!-- a comment -->\n";
    text += "    <body>Some text of the record, long enough to matter for the scanner: "
            "lorem ipsum dolor sit amet, consectetur adipiscing elit.</body>\n";
    text += "  </record>\n";
  }
  text += "</records>\n";
  return rawstring(text.begin(), text.end());
}

}  // namespace

int main(int argc, char** argv) {
  std::size_t megabytes = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 10;
  int runs = argc > 2 ? std::atoi(argv[2]) : 5;
  rawstring document = generateDocument(megabytes * 1024 * 1024);

  Marl marl = Marl::create();
  MarlStreamFactory streams = marl.createStreamFactory();
  double best = 1e300;
  for (int run = 0; run < runs; ++run) {
    auto start = std::chrono::steady_clock::now();
    {
      MarlIStream input = streams.createIStreamRawBuffer(document.data(), document.data() + document.size());
      MarlDocument tree = marl.createDocument();
      MarlParser parser = marl.createParser(streams, input, tree);
      if (parser.parse() != MarlParser::rcParsed) {
        std::fprintf(stderr, "parse failed: %ls\n", parser.getError(0).getReason().c_str());
        return 1;
      }
    }
    std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    best = std::min(best, elapsed.count());
  }
  double size = static_cast<double>(document.size()) / (1024.0 * 1024.0);
  std::printf("parse to tree and drop: %.1f MB in %.3f s, %.1f MB/s (best of %d)\n", size, best,
              size / best, runs);
  return 0;
}
