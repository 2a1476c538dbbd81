// marl: check, render and search XML documents from the command line.
#include <marl/marl.h>

#include <cerrno>
#include <climits>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

namespace {

constexpr int c_exitOk = 0;
constexpr int c_exitFindings = 1;
constexpr int c_exitUsage = 2;

char const* const c_usage =
    "usage: marl [--help] [--version] COMMAND [OPTIONS] ARGUMENTS\n"
    "\n"
    "Commands:\n"
    "  check FILE...       parse each file and list its findings\n"
    "  render FILE         parse a file and write the tree back as XML\n"
    "  find FILE PATH      write the element a path names\n"
    "\n"
    "'marl COMMAND --help' tells the options of a command. FILE may be '-' for standard input.\n";

char const* const c_parserOptions =
    "Parser options:\n"
    "  --namespaces MODE          0 none, 1 prefixes (default), 2 contexts, 3 contexts with\n"
    "                             undeclared prefixes reported\n"
    "  --keep-whitespace          keep white-space text between elements\n"
    "  --entity-refs=HOW          expand (default): replace references by their text;\n"
    "                             node, element, text: keep each reference as an entity\n"
    "                             reference node, a lex:entity-reference element or its text\n"
    "  --mode xml|sgml|noref      XML (default), SGML-flavoured forms, or no references\n"
    "  --supply-defaults          give elements the default attributes their DTD declares\n"
    "  --restricted               read no external DTD or entity and stop entity expansion\n"
    "                             beyond the input size times the maximum expansion\n"
    "  --max-expansion N          that maximum, with --restricted\n"
    "  --no-dtd                   refuse any document type declaration\n"
    "  --trace LEVEL              library diagnostics on standard error: 1 fatal .. 4 info\n";

char const* const c_checkUsage =
    "usage: marl check [OPTIONS] FILE...\n"
    "\n"
    "Parses each file and prints every finding as FILE:LINE:COLUMN: SEVERITY NUMBER: REASON,\n"
    "lines and columns counted from 1. Exits with 0 when no file has an error, 1 when one has,\n"
    "2 for a usage error or a file that cannot be read.\n"
    "\n"
    "  --raw-positions            print the library's own line and column values\n";

char const* const c_renderUsage =
    "usage: marl render [OPTIONS] FILE\n"
    "\n"
    "Parses the file and writes the tree back as XML.\n"
    "\n"
    "  --pretty                   indent the elements\n"
    "  --encoding NAME            write in this encoding (utf-8 by default)\n"
    "  --no-declaration           leave out the XML declaration\n"
    "  --expand                   write the external subset's declarations into the\n"
    "                             internal subset and drop its identifier\n"
    "  -o OUT                     write to the file OUT instead of standard output\n";

char const* const c_findUsage =
    "usage: marl find [OPTIONS] FILE PATH\n"
    "\n"
    "Parses the file and writes the element that PATH names, such as /catalog/book/title;\n"
    "exits with 1 when there is none.\n";

struct ParserSettings {
  MarlParser::NamespaceMode namespaces = MarlParser::NS_PREFIXES;
  unsigned char normalizing = 1;
  unsigned int resolveMode = 0x15;
  unsigned int mode = 0;
  unsigned char supplyDefaults = 0;
  // The stream's DTD restriction: 0 none, 1 restricted, 2 prohibited.
  unsigned int dtdRestriction = 0;
  // 0 keeps the stream's own maximum.
  unsigned long maxExpansion = 0;
};

struct Options {
  ParserSettings parser;
  bool help = false;
  bool rawPositions = false;
  bool pretty = false;
  bool declaration = true;
  bool expand = false;
  std::string encoding;
  std::string output;
  std::vector<std::string> operands;
};

// A usage error: the message goes to standard error, with a pointer to the help.
struct UsageError {
  std::string message;
};

std::wstring widen(std::string const& text) {
  std::vector<wchar_t> buffer(text.size() + 1);
  std::size_t length = std::mbstowcs(buffer.data(), text.c_str(), buffer.size());
  if (length == static_cast<std::size_t>(-1)) return std::wstring(text.begin(), text.end());
  return std::wstring(buffer.data(), length);
}

std::string narrow(std::wstring const& text) {
  std::string out;
  char bytes[MB_LEN_MAX];
  std::mbstate_t state{};
  for (wchar_t element : text) {
    std::size_t length = std::wcrtomb(bytes, element, &state);
    if (length == static_cast<std::size_t>(-1)) {
      out += '?';
      state = std::mbstate_t{};
    } else {
      out.append(bytes, length);
    }
  }
  return out;
}

unsigned int resolveModeFor(std::string const& how) {
  if (how == "expand") return 0x15;
  if (how == "node") return 0x26;
  if (how == "element") return 0x46;
  if (how == "text") return 0x86;
  throw UsageError{"unknown --entity-refs value '" + how + "'"};
}

unsigned int modeFor(std::string const& name) {
  if (name == "xml") return 0;
  if (name == "sgml") return 1;
  if (name == "noref") return 2;
  throw UsageError{"unknown --mode value '" + name + "'"};
}

unsigned long numberFor(std::string const& option, std::string const& value, unsigned long limit) {
  char* end = nullptr;
  errno = 0;
  unsigned long number = std::strtoul(value.c_str(), &end, 10);
  if (value.empty() || *end != '\0' || errno != 0 || number > limit)
    throw UsageError{"'" + value + "' is no value for " + option};
  return number;
}

// Reads the options of a command; what is not an option is an operand.
Options parseOptions(std::string const& command, int argc, char** argv, int first) {
  Options options;
  auto valueOf = [&](int& index, std::string const& option) -> std::string {
    if (index + 1 >= argc) throw UsageError{option + " needs a value"};
    return argv[++index];
  };
  for (int index = first; index < argc; ++index) {
    std::string argument = argv[index];
    if (argument == "--help" || argument == "-h") {
      options.help = true;
    } else if (argument == "--namespaces") {
      options.parser.namespaces =
          static_cast<MarlParser::NamespaceMode>(numberFor(argument, valueOf(index, argument), 3));
    } else if (argument == "--keep-whitespace") {
      options.parser.normalizing = 0;
    } else if (argument.rfind("--entity-refs=", 0) == 0) {
      options.parser.resolveMode = resolveModeFor(argument.substr(14));
    } else if (argument == "--entity-refs") {
      options.parser.resolveMode = resolveModeFor(valueOf(index, argument));
    } else if (argument == "--mode") {
      options.parser.mode = modeFor(valueOf(index, argument));
    } else if (argument == "--supply-defaults") {
      options.parser.supplyDefaults = 1;
    } else if (argument == "--restricted") {
      options.parser.dtdRestriction = 1;
    } else if (argument == "--max-expansion") {
      options.parser.maxExpansion = numberFor(argument, valueOf(index, argument), 0xFFFFFFFFul);
    } else if (argument == "--no-dtd") {
      options.parser.dtdRestriction = 2;
    } else if (argument == "--expand" && command == "render") {
      options.expand = true;
    } else if (argument == "--trace") {
      MarlTrace__setLevel(static_cast<unsigned int>(numberFor(argument, valueOf(index, argument), 4)), 0);
    } else if (argument == "--raw-positions" && command == "check") {
      options.rawPositions = true;
    } else if (argument == "--pretty" && command != "check") {
      options.pretty = true;
    } else if (argument == "--encoding" && command == "render") {
      options.encoding = valueOf(index, argument);
    } else if (argument == "--no-declaration" && command == "render") {
      options.declaration = false;
    } else if (argument == "-o" && command == "render") {
      options.output = valueOf(index, argument);
    } else if (argument.size() > 1 && argument[0] == '-') {
      throw UsageError{"unknown option '" + argument + "' for " + command};
    } else {
      options.operands.push_back(argument);
    }
  }
  return options;
}

// A document read from a file or from standard input, with the parser's findings.
struct Parsed {
  MarlDocument document;
  MarlParser parser;
  unsigned int result = 0;
};

bool readAll(std::FILE* file, rawstring& bytes) {
  unsigned char buffer[65536];
  std::size_t count;
  while ((count = std::fread(buffer, 1, sizeof buffer, file)) > 0) bytes.append(buffer, count);
  return !std::ferror(file);
}

// Opens the input: a file by its name, so that the library can resolve what it refers to, or
// standard input as bytes. An empty stream means that it cannot be read; the reason is printed.
MarlIStream openInput(Marl const& marl, std::string const& name, rawstring& stdinBytes) {
  MarlStreamFactory streams = marl.createStreamFactory();
  if (name == "-") {
    if (!readAll(stdin, stdinBytes)) {
      std::fprintf(stderr, "marl: cannot read standard input: %s\n", std::strerror(errno));
      return MarlIStream();
    }
    return streams.createIStreamRawString(stdinBytes);
  }
  std::FILE* probe = std::fopen(name.c_str(), "rb");
  if (!probe) {
    std::fprintf(stderr, "marl: cannot read '%s': %s\n", name.c_str(), std::strerror(errno));
    return MarlIStream();
  }
  std::fclose(probe);
  MarlIStream stream = streams.createIStreamURI(widen(name), std::wstring());
  if (!stream) std::fprintf(stderr, "marl: cannot open '%s'\n", name.c_str());
  return stream;
}

bool parse(Marl const& marl, std::string const& name, ParserSettings const& settings, Parsed& parsed) {
  rawstring stdinBytes;
  MarlIStream input = openInput(marl, name, stdinBytes);
  if (!input) return false;
  input.setDtdRestriction(settings.dtdRestriction);
  if (settings.maxExpansion) input.setMaxExpansion(static_cast<unsigned int>(settings.maxExpansion));
  parsed.document = marl.createDocument();
  if (parsed.document)
    parsed.parser = marl.createParser(marl.createStreamFactory(), input, parsed.document);
  if (!parsed.parser) {
    // The parser starts by decoding the first characters; bytes that no encoding takes end
    // it there, as does a want of memory.
    std::fprintf(stderr, "marl: cannot parse '%s': its first bytes cannot be decoded\n",
                 name.c_str());
    return false;
  }
  parsed.parser.setNamespaceMode(settings.namespaces);
  parsed.parser.setNormalizing(settings.normalizing);
  parsed.parser.setResolveMode(settings.resolveMode);
  parsed.parser.setMode(settings.mode);
  parsed.parser.setSupplyAttrDefaults(settings.supplyDefaults);
  parsed.result = parsed.parser.parse();
  return true;
}

// The library counts the first character of a document at line 0, column 0, and a line feed
// as column 1 of the line it opens; editors count lines and columns from 1 and put the line
// feed at the end of its line.
void editorPosition(MarlParseError const& error, unsigned int& line, unsigned int& column) {
  line = error.getLine() + 1;
  column = error.getLine() == 0 ? error.getColumn() + 1
                                : (error.getColumn() > 1 ? error.getColumn() - 1 : 1);
}

bool hasErrors(Parsed const& parsed) {
  return parsed.result != MarlParser::rcParsed ||
         parsed.parser.numErrors(MarlParseError::SEVERITY_ERROR) != 0;
}

// Prints every finding; a run that ended without one (a stream that failed) gets a line too.
void printFindings(std::FILE* out, std::string const& name, Parsed const& parsed, bool raw) {
  unsigned int count = parsed.parser.numErrors();
  for (unsigned int index = 0; index < count; ++index) {
    MarlParseError error = parsed.parser.getError(index);
    unsigned int line = error.getLine();
    unsigned int column = error.getColumn();
    if (!raw) editorPosition(error, line, column);
    std::fprintf(out, "%s:%u:%u: %s %u: %s\n", name.c_str(), line, column,
                 narrow(error.getSeverityText()).c_str(), error.getNumber(),
                 narrow(error.getReason()).c_str());
  }
  if (parsed.result != MarlParser::rcParsed &&
      parsed.parser.numErrors(MarlParseError::SEVERITY_ERROR) == 0)
    std::fprintf(out, "%s: fatal error: the input could not be read to its end (code 0x%x)\n",
                 name.c_str(), parsed.result);
}

int runCheck(Marl const& marl, Options const& options) {
  if (options.operands.empty()) throw UsageError{"check needs at least one FILE"};
  int status = c_exitOk;
  for (std::string const& name : options.operands) {
    Parsed parsed;
    if (!parse(marl, name, options.parser, parsed)) {
      status = c_exitUsage;
      continue;
    }
    printFindings(stdout, name, parsed, options.rawPositions);
    if (hasErrors(parsed) && status == c_exitOk) status = c_exitFindings;
  }
  return status;
}

// Writes through a byte stream and hands the bytes to standard output, or to a file stream.
class Output {
 public:
  Output(Marl const& marl, std::string const& path) : toStdout(path.empty()) {
    MarlStreamFactory streams = marl.createStreamFactory();
    stream = toStdout ? streams.createOStreamRawString(bytes)
                      : streams.createOStreamURI(widen(path), std::wstring());
  }

  bool finish() {
    stream.flush();
    stream.close();
    if (!toStdout) return true;
    return std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size();
  }

 private:
  // Declared before the stream, which writes into it, so that it outlives the stream.
  rawstring bytes;
  bool toStdout;

 public:
  MarlOStream stream;
};

bool parseForOutput(Marl const& marl, std::string const& name, Options const& options, Parsed& parsed,
                    int& status) {
  if (!parse(marl, name, options.parser, parsed)) {
    status = c_exitUsage;
    return false;
  }
  if (hasErrors(parsed)) {
    printFindings(stderr, name, parsed, false);
    status = c_exitFindings;
    return false;
  }
  return true;
}

int runRender(Marl const& marl, Options const& options) {
  if (options.operands.size() != 1) throw UsageError{"render needs exactly one FILE"};
  Parsed parsed;
  int status = c_exitOk;
  if (!parseForOutput(marl, options.operands[0], options, parsed, status)) return status;

  Output output(marl, options.output);
  if (!output.stream) {
    std::fprintf(stderr, "marl: cannot write '%s'\n", options.output.c_str());
    return c_exitUsage;
  }
  if (!options.encoding.empty()) {
    MarlEncoding encoding = marl.createEncoding(widen(options.encoding), MarlEncoding::BYTEORDER_LE);
    if (!encoding || !output.stream.setEncoding(encoding)) {
      std::fprintf(stderr, "marl: cannot write in encoding '%s'\n", options.encoding.c_str());
      return c_exitUsage;
    }
  }
  parsed.document.setDeclaration(options.declaration ? 1 : 0);
  if (options.expand) parsed.document.expand();
  MarlRenderer renderer = marl.createRenderer(output.stream, parsed.document);
  if (!renderer) {
    std::fprintf(stderr, "marl: out of memory\n");
    return c_exitFindings;
  }
  renderer.setNormalizing(options.pretty ? 1 : 0);
  renderer.render();
  if (!output.finish()) {
    std::fprintf(stderr, "marl: cannot write the output\n");
    return c_exitFindings;
  }
  return c_exitOk;
}

int runFind(Marl const& marl, Options const& options) {
  if (options.operands.size() != 2) throw UsageError{"find needs a FILE and a PATH"};
  Parsed parsed;
  int status = c_exitOk;
  if (!parseForOutput(marl, options.operands[0], options, parsed, status)) return status;
  MarlElement found = parsed.document.findFromPath(widen(options.operands[1]));
  if (!found) return c_exitFindings;
  Output output(marl, std::string());
  output.stream.setPrettyPrint(options.pretty ? 1 : 0);
  found.render(output.stream, 1);
  output.stream.writeString(L"\n");
  return output.finish() ? c_exitOk : c_exitFindings;
}

}  // namespace

int main(int argc, char** argv) {
  // File names and messages pass through the user's locale.
  std::setlocale(LC_ALL, "");
  if (argc < 2) {
    std::fputs(c_usage, stderr);
    return c_exitUsage;
  }
  std::string command = argv[1];
  if (command == "--help" || command == "-h") {
    std::fputs(c_usage, stdout);
    std::fputs("\n", stdout);
    std::fputs(c_parserOptions, stdout);
    return c_exitOk;
  }
  if (command == "--version") {
    std::printf("marl 1.0.0 (library version %u)\n", Marl::create().getVersion());
    return c_exitOk;
  }

  struct Command {
    char const* name;
    char const* usage;
    int (*run)(Marl const&, Options const&);
  };
  static Command const commands[] = {
      {"check", c_checkUsage, runCheck},
      {"render", c_renderUsage, runRender},
      {"find", c_findUsage, runFind},
  };
  for (Command const& known : commands) {
    if (command != known.name) continue;
    try {
      Options options = parseOptions(command, argc, argv, 2);
      if (options.help) {
        std::fputs(known.usage, stdout);
        std::fputs("\n", stdout);
        std::fputs(c_parserOptions, stdout);
        return c_exitOk;
      }
      Marl marl = Marl::create();
      if (!marl) {
        std::fputs("marl: the library could not start: out of memory\n", stderr);
        return c_exitFindings;
      }
      return known.run(marl, options);
    } catch (UsageError const& error) {
      std::fprintf(stderr, "marl %s: %s\n%s", command.c_str(), error.message.c_str(), known.usage);
      return c_exitUsage;
    }
  }
  std::fprintf(stderr, "marl: unknown command '%s'\n\n%s", command.c_str(), c_usage);
  return c_exitUsage;
}
