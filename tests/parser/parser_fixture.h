#ifndef MARL_TESTS_PARSER_PARSER_FIXTURE_H
#define MARL_TESTS_PARSER_PARSER_FIXTURE_H

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "kernel/xmxxu_xcpt.h"
#include "marl/marl.h"
#include "parser/xmxxs_ent.h"
#include "parser/xmxxs_scan.h"
#include "streams/xmxxu_strm.h"
#include "support/host_memory.h"
#include "support/library_state.h"

namespace parsertest {

// A finding as the parser would store it: where the scanner's token started.
struct Finding {
  unsigned int severity;
  unsigned int number;
  std::wstring reason;
  std::uint32_t line;
  std::uint32_t column;
};

// Stands in for the parser: records findings and throws for errors as the parser does,
// resolves names against a document type, and records requests for external entities.
class RecordingHost : public CMarlScannerHost {
 public:
  void reportError(unsigned int severity, unsigned int number, wchar_t const* format,
                   wchar_t const* argument) override {
    std::wstring reason = format;
    std::size_t const placeholder = reason.find(L"%s");
    if (placeholder != std::wstring::npos)
      reason.replace(placeholder, 2, argument ? argument : L"");
    std::uint32_t line = scanner ? scanner->tokenStart.line : 0;
    std::uint32_t column = scanner ? scanner->tokenStart.column : 0;
    findings.push_back({severity, number, reason, line, column});
    if (severity == severityError)
      throw XPT_Parser::XPT_Error(0x30004, L"A parse error has occured.", L"xmxxi_xcpt", 37);
    if (severity == severityFatal)
      throw XPT_Parser::XPT_FatalError(0x30005, L"A fatal parse error has occured.",
                                       L"xmxxi_xcpt", 37);
  }

  unsigned char pushEntity(unsigned char parameter, std::wstring const& name,
                           CMarlScanner::StateId state) override {
    namedRequests.push_back(name);
    return pushEntityByName(*scanner, *this, documentType, parameter, name, state, resolveMode,
                            inIgnoreSection);
  }

  unsigned char pushEntity(std::wstring const& systemId, std::wstring const& publicId,
                           unsigned char mustExist, CMarlScanner::StateId state) override {
    externalRequests.push_back(systemId + L"|" + publicId + L"|" + std::to_wstring(mustExist) +
                               L"|" + std::to_wstring(state));
    return 0;
  }

  CMarlScanner* scanner = nullptr;
  MarlDocumentType documentType;
  unsigned int resolveMode = 0x15;
  unsigned char inIgnoreSection = 0;
  std::vector<Finding> findings;
  std::vector<std::wstring> namedRequests;
  std::vector<std::wstring> externalRequests;
};

// A token as a test compares it: the text copied out of the buffer.
struct Seen {
  CToken::TokenID id;
  std::wstring text;
  std::uint32_t line;
  std::uint32_t column;
  std::uint32_t offset;
};

inline Seen seen(CToken const& token) {
  return {token.id, token.text ? std::wstring(token.text, token.length) : std::wstring(),
          token.line, token.column, token.offset};
}

// A source of the test's own making over wide characters, standing for a stream that
// decodes: it records what the entity asks of it, and can answer "nothing at the moment"
// (-2) once, after a number of characters.
class CScriptedIStream : public CMarlIStream {
 public:
  explicit CScriptedIStream(std::wstring const& text, std::size_t readAgainAt = std::wstring::npos)
      : content(text), pauseAt(readAgainAt) {
    open();
  }
  CScriptedIStream(CScriptedIStream const&) = default;

  MarlStream clone() const override {
    return MarlStream(static_cast<CMarlStream*>(new CScriptedIStream(*this)));
  }
  int read(wchar_t* target, int capacity) override {
    capacities.push_back(capacity);
    if (cursor == pauseAt) {
      pauseAt = std::wstring::npos;
      return -2;
    }
    if (cursor >= content.size()) return endAnswer;
    std::size_t count = std::min(static_cast<std::size_t>(capacity), content.size() - cursor);
    if (pauseAt != std::wstring::npos && cursor < pauseAt)
      count = std::min(count, pauseAt - cursor);
    std::copy_n(content.data() + cursor, count, target);
    cursor += count;
    numRead += static_cast<unsigned int>(count);
    return static_cast<int>(count);
  }
  int readRaw(unsigned char*, int) override { return -1; }

  std::vector<int> capacities;
  // What read answers once the text is used up: 0 as the library's byte streams do.
  int endAnswer = 0;

 private:
  std::wstring content;
  std::size_t pauseAt;
  std::size_t cursor = 0;
};

// A library, its stream factory and a document for each test; the test may leave nothing of
// the host's memory behind.
class ParserTest : public FreshLibrary {
 protected:
  void SetUp() override {
    FreshLibrary::SetUp();
    blocksAtStart = testhost::outstandingBlocks();
    marl = Marl::create();
    ASSERT_TRUE(marl);
    factory = marl.createStreamFactory();
    document = marl.createDocument();
    ASSERT_TRUE(document);
    host.documentType = document.getDocumentType();
  }
  void TearDown() override {
    host.documentType = MarlDocumentType();
    document = MarlDocument();
    factory = MarlStreamFactory();
    marl = Marl();
    FreshLibrary::TearDown();
    EXPECT_EQ(testhost::outstandingBlocks(), blocksAtStart) << "host memory left behind";
  }

  MarlEncoding encoding(std::wstring const& name) {
    return marl.createEncoding(name, MarlEncoding::BYTEORDER_NONE);
  }

  static MarlGEntityIntParsed internal(std::wstring const& name, std::wstring const& text) {
    return MarlGEntityIntParsed(
        new CMarlGEntityIntParsed(name, text.data(), static_cast<unsigned int>(text.size())));
  }

  // A parsed external entity over the wide text, read as the document entity is read: one
  // character at a time unless `decided` gives it an encoding at once.
  MarlGEntityExtParsed external(std::wstring const& text, bool decided = true) {
    MarlGEntityExtParsed entity = createDocumentEntity(factory.createIStreamString(text));
    if (decided) entity.setEncoding(encoding(L"utf-8"));
    return entity;
  }

  // The same over bytes, decoded by the stream.
  MarlGEntityExtParsed externalBytes(rawstring const& bytes, bool decided = true) {
    MarlGEntityExtParsed entity = createDocumentEntity(factory.createIStreamRawString(bytes));
    if (decided) entity.setEncoding(encoding(L"utf-8"));
    return entity;
  }

  Marl marl;
  MarlStreamFactory factory;
  MarlDocument document;
  RecordingHost host;
  long blocksAtStart = 0;
};

template <std::size_t N>
rawstring bytes(char const (&text)[N]) {
  return rawstring(reinterpret_cast<unsigned char const*>(text), N - 1);
}

}  // namespace parsertest

#endif
