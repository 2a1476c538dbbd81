// Every allocation of a parse and a render, failed one at a time. Whichever allocation fails,
// the library answers in one of the ways a host is promised (an empty handle from a create,
// the memory finding from parse, bad_alloc from render, or text lost where the output stream
// could not take it), and once everything is let go every block it took has come back.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <new>
#include <ostream>
#include <string>

#include "marl/host.h"
#include "marl/marl.h"

namespace {

bool g_counting = false;
long g_allocationsCounted = 0;
// The number of the allocation that fails, counted from 1; 0 lets all succeed.
long g_failingAllocation = 0;
// Blocks taken while counting and not given back yet.
long g_countedBlocksLive = 0;

// Each block tells in front whether it was taken while counting, so that what the test and
// its framework take between the runs stays out of the balance.
struct alignas(std::max_align_t) BlockHeader {
  bool counted;
};

// Null for the allocation that is to fail.
void* takeBlock(std::size_t size) {
  if (g_counting && ++g_allocationsCounted == g_failingAllocation) return nullptr;
  auto* header = static_cast<BlockHeader*>(std::malloc(sizeof(BlockHeader) + size));
  if (!header) return nullptr;
  header->counted = g_counting;
  if (g_counting) ++g_countedBlocksLive;
  return header + 1;
}

void giveBack(void* block) {
  if (!block) return;
  BlockHeader* header = static_cast<BlockHeader*>(block) - 1;
  if (header->counted) --g_countedBlocksLive;
  std::free(header);
}

}  // namespace

extern "C" {

void* RollAreaUnregisteredAlloc(size_t size) {
  return takeBlock(size);
}

void RollAreaUnregisteredFree(void* block) {
  giveBack(block);
}

// The library is not meant to reach the other two memory families; should it ever, the sweep
// covers those allocations too.
void* RollAreaMemoryAlloc(size_t size) {
  return takeBlock(size);
}

void RollAreaMemoryFree(void* block) {
  giveBack(block);
}

void* WorkProcessMemoryAlloc(size_t size) {
  return takeBlock(size);
}

void WorkProcessMemoryFree(void* block) {
  giveBack(block);
}

}  // extern "C"

// Wide strings, and the strings a host hands to output streams, take their memory from the
// global allocator, so that is counted and failed as well.
void* operator new(std::size_t size) {
  void* block = takeBlock(size);
  if (!block) throw std::bad_alloc();
  return block;
}

void operator delete(void* block) noexcept {
  giveBack(block);
}

void operator delete(void* block, std::size_t) noexcept {
  giveBack(block);
}

namespace {

// Counts the allocations made while it lives and fails the one of the given number.
class FailingAllocation {
 public:
  explicit FailingAllocation(long number) {
    g_allocationsCounted = 0;
    g_failingAllocation = number;
    g_counting = true;
  }
  ~FailingAllocation() { g_counting = false; }
  FailingAllocation(FailingAllocation const&) = delete;
  FailingAllocation& operator=(FailingAllocation const&) = delete;
};

// Lets a report of the test take its memory uncounted in the middle of a run.
class CountingPause {
 public:
  CountingPause() : counting(g_counting) { g_counting = false; }
  ~CountingPause() { g_counting = counting; }
  CountingPause(CountingPause const&) = delete;
  CountingPause& operator=(CountingPause const&) = delete;

 private:
  bool const counting;
};

// Whether the last FailingAllocation reached its failing allocation.
bool failureStruck() {
  return g_failingAllocation != 0 && g_allocationsCounted >= g_failingAllocation;
}

// A document type with every kind of declaration, and content that uses all of it. Its first
// bytes read as UTF-8 until the declaration switches the decoder to the encoding it names.
char const c_document[] =
    "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
    "<!DOCTYPE catalog [\n"
    "  <!ELEMENT catalog (book+)>\n"
    "  <!ELEMENT book (dc:title, note?)>\n"
    "  <!ELEMENT note (#PCDATA | em)*>\n"
    "  <!ATTLIST book id ID #REQUIRED\n"
    "                 lang CDATA \"en\"\n"
    "                 kind (paper|cloth) \"paper\">\n"
    "  <!ENTITY % edition \"<!ENTITY edition 'second'>\">\n"
    "  %edition;\n"
    "  <!ENTITY publisher \"Acme &#38;#38; Sons\">\n"
    "  <!NOTATION gif SYSTEM \"image/gif\">\n"
    "  <!ENTITY cover SYSTEM \"cover.gif\" NDATA gif>\n"
    "  <!-- the declarations end here -->\n"
    "]>\n"
    "<!-- a catalog of one book -->\n"
    "<?catalog version=\"2\"?>\n"
    "<catalog xmlns=\"urn:catalog\" xmlns:dc=\"http://purl.org/dc/elements/1.1/\">\n"
    "  <book id=\"b1\" dc:source=\"&publisher; &#60;press&#62;\">\n"
    "    <dc:title>Caf\xE9 &#xA9; &publisher;</dc:title>\n"
    "    <note><![CDATA[<raw> & ]]><em>&edition;</em><?mark here?></note>\n"
    "  </book>\n"
    "</catalog>\n";

// How far one run came, and how it ended.
enum class Outcome {
  parsed,                  // the tree is built; rendering comes next
  rendered,                // the whole way
  renderedThroughFailure,  // the whole way, with the failure met inside render
  noLibrary,
  noDocument,
  noInputStream,
  noParser,
  parseReportedNoMemory,   // rcInternalError, with the memory finding as the only one
  noOutputStream,
  noRenderer,
  renderThrewBadAlloc,
  wrong                    // anything else; a failure with the details has been added
};

std::ostream& operator<<(std::ostream& out, Outcome outcome) {
  // In the order of the enumeration.
  static char const* const names[] = {"parsed",
                                      "rendered",
                                      "rendered through failure",
                                      "no library",
                                      "no document",
                                      "no input stream",
                                      "no parser",
                                      "parse reported no memory",
                                      "no output stream",
                                      "no renderer",
                                      "render threw bad_alloc",
                                      "wrong"};
  return out << names[static_cast<int>(outcome)];
}

Outcome parseFailure(MarlParser const& parser, unsigned int result) {
  if (result == MarlParser::rcInternalError && parser.numErrors() == 1) {
    MarlParseError finding = parser.getError(0);
    if (finding.getSeverity() == MarlParseError::SEVERITY_FATAL && finding.getNumber() == 4001 &&
        finding.getReason() == L"internal error, memory allocation failed") {
      return Outcome::parseReportedNoMemory;
    }
  }
  CountingPause pause;
  std::wstring const reason = parser.numErrors() ? parser.getError(0).getReason() : L"(none)";
  ADD_FAILURE() << "parse gave 0x" << std::hex << result << std::dec << " with "
                << parser.numErrors() << " findings, the first: "
                << std::string(reason.begin(), reason.end());
  return Outcome::wrong;
}

Outcome parse(Marl const& marl, MarlDocument const& document) {
  MarlStreamFactory factory = marl.createStreamFactory();
  auto const* bytes = reinterpret_cast<unsigned char const*>(c_document);
  MarlIStream in = factory.createIStreamRawBuffer(bytes, bytes + sizeof c_document - 1);
  if (!in) return Outcome::noInputStream;
  MarlParser parser = marl.createParser(factory, in, document);
  if (!parser) return Outcome::noParser;
  parser.setNamespaceMode(MarlParser::NS_CONTEXTS_CHECKED);
  unsigned int const result = parser.parse();
  if (result != MarlParser::rcParsed) return parseFailure(parser, result);
  return Outcome::parsed;
}

Outcome render(Marl const& marl, MarlDocument const& document, rawstring& output) {
  MarlOStream out = marl.createStreamFactory().createOStreamRawString(output);
  if (!out) return Outcome::noOutputStream;
  MarlRenderer renderer = marl.createRenderer(out, document);
  if (!renderer) return Outcome::noRenderer;
  bool const struckBefore = failureStruck();
  try {
    int const result = renderer.render();
    if (result != MarlRenderer::rcRendered) {
      CountingPause pause;
      ADD_FAILURE() << "render gave 0x" << std::hex << result;
      return Outcome::wrong;
    }
  } catch (std::bad_alloc const&) {
    return Outcome::renderThrewBadAlloc;
  }
  return !struckBefore && failureStruck() ? Outcome::renderedThroughFailure : Outcome::rendered;
}

Outcome createParseAndRender(rawstring& output) {
  Marl marl = Marl::create();
  if (!marl) return Outcome::noLibrary;
  MarlDocument document = marl.createDocument();
  if (!document) return Outcome::noDocument;
  Outcome const parsed = parse(marl, document);
  if (parsed != Outcome::parsed) return parsed;
  return render(marl, document, output);
}

std::string text(rawstring const& bytes) {
  return std::string(bytes.begin(), bytes.end());
}

rawstring referenceText() {
  rawstring reference;
  EXPECT_EQ(createParseAndRender(reference), Outcome::rendered);
  return reference;
}

// The stream drops what it could not take and goes on with the next text: one piece is gone.
bool isReferenceWithOnePieceLost(std::string const& output, std::string const& reference) {
  if (output.size() >= reference.size()) return false;
  std::size_t kept = 0;
  while (kept < output.size() && output[kept] == reference[kept]) ++kept;
  std::size_t const tail = output.size() - kept;
  return output.compare(kept, tail, reference, reference.size() - tail, tail) == 0;
}

// A run that met no failure went the whole way to the reference text; one that met it ended
// in one of the promised ways.
void expectPromisedEnd(bool struck, Outcome outcome, rawstring const& output,
                       rawstring const& reference) {
  if (!struck) {
    EXPECT_EQ(outcome, Outcome::rendered);
    EXPECT_EQ(text(output), text(reference));
    return;
  }
  EXPECT_NE(outcome, Outcome::wrong);
  if (outcome == Outcome::rendered) {
    EXPECT_EQ(text(output), text(reference));
  }
  if (outcome == Outcome::renderedThroughFailure && output != reference) {
    EXPECT_TRUE(isReferenceWithOnePieceLost(text(output), text(reference))) << text(output);
  }
}

// Fails the first allocation of a run, then the second, and so on, until a run meets no
// failure; after each run every block taken while counting has come back. `run` takes the
// number of the failing allocation and answers whether the failure struck.
template <class Run>
void sweepAllocations(Run run) {
  for (long failing = 1;; ++failing) {
    SCOPED_TRACE(testing::Message() << "failing allocation " << failing);
    long const liveBefore = g_countedBlocksLive;
    bool const struck = run(failing);
    EXPECT_EQ(g_countedBlocksLive, liveBefore);
    if (!struck) return;
  }
}

}  // namespace

TEST(AllocationSweep, CreatingParsingAndRenderingEndAsPromisedWhereverMemoryRunsOut) {
  rawstring const reference = referenceText();
  sweepAllocations([&reference](long failing) {
    rawstring output;
    Outcome outcome;
    {
      FailingAllocation failure(failing);
      outcome = createParseAndRender(output);
    }
    bool const struck = failureStruck();
    expectPromisedEnd(struck, outcome, output, reference);
    return struck;
  });
}

TEST(AllocationSweep, RenderingAParsedTreeEndsAsPromisedWhereverMemoryRunsOut) {
  rawstring const reference = referenceText();
  sweepAllocations([&reference](long failing) {
    Marl marl = Marl::create();
    MarlDocument document = marl.createDocument();
    EXPECT_EQ(parse(marl, document), Outcome::parsed);
    rawstring output;
    Outcome outcome;
    {
      FailingAllocation failure(failing);
      outcome = render(marl, document, output);
    }
    bool const struck = failureStruck();
    expectPromisedEnd(struck, outcome, output, reference);
    // The tree came through the failure whole.
    rawstring again;
    EXPECT_EQ(render(marl, document, again), Outcome::rendered);
    EXPECT_EQ(text(again), text(reference));
    return struck;
  });
}
