#ifndef MARL_TESTS_PARSER_PARSE_FIXTURE_H
#define MARL_TESTS_PARSER_PARSE_FIXTURE_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "marl/marl.h"
#include "support/host_memory.h"
#include "support/library_state.h"

namespace parsetest {

// A finding as a test compares it.
struct Finding {
  unsigned int number;
  unsigned int severity;
  std::wstring reason;
  unsigned int line;
  unsigned int column;
};

inline bool operator==(Finding const& a, Finding const& b) {
  return a.number == b.number && a.severity == b.severity && a.reason == b.reason &&
         a.line == b.line && a.column == b.column;
}

inline std::ostream& operator<<(std::ostream& out, Finding const& finding) {
  return out << finding.number << "/" << finding.severity << " '"
             << std::string(finding.reason.begin(), finding.reason.end()) << "' at "
             << finding.line << ":" << finding.column;
}

// A library, a stream factory and a document for each test, all of the host's memory given
// back at the end.
class ParseTest : public FreshLibrary {
 protected:
  void SetUp() override {
    FreshLibrary::SetUp();
    blocksAtStart = testhost::outstandingBlocks();
    marl = Marl::create();
    ASSERT_TRUE(marl);
    factory = marl.createStreamFactory();
    document = marl.createDocument();
    ASSERT_TRUE(document);
  }
  void TearDown() override {
    parser = MarlParser();
    stream = MarlIStream();
    document = MarlDocument();
    factory = MarlStreamFactory();
    marl = Marl();
    FreshLibrary::TearDown();
    EXPECT_EQ(testhost::outstandingBlocks(), blocksAtStart) << "host memory left behind";
  }

  // A parser over the wide text, which the stream hands on without decoding.
  MarlParser& over(std::wstring const& text) {
    stream = factory.createIStreamString(text);
    parser = marl.createParser(factory, stream, document);
    EXPECT_TRUE(parser);
    return parser;
  }

  // A parser over bytes, which the stream decodes.
  MarlParser& overBytes(std::string const& bytes) {
    stream = factory.createIStreamRawString(rawstring(bytes.begin(), bytes.end()));
    parser = marl.createParser(factory, stream, document);
    EXPECT_TRUE(parser);
    return parser;
  }

  unsigned int parse(std::wstring const& text) { return over(text).parse(); }
  unsigned int parseBytes(std::string const& bytes) { return overBytes(bytes).parse(); }

  std::vector<Finding> findings() const {
    std::vector<Finding> all;
    for (unsigned int index = 0; index < parser.numErrors(); ++index) {
      MarlParseError error = parser.getError(index);
      all.push_back({error.getNumber(), static_cast<unsigned int>(error.getSeverity()),
                     error.getReason(), error.getLine(), error.getColumn()});
    }
    return all;
  }

  // The single finding of the run; a run with another number of findings fails the test.
  Finding onlyFinding() const {
    std::vector<Finding> all = findings();
    EXPECT_EQ(all.size(), 1u);
    return all.empty() ? Finding{0, 0, L"", 0, 0} : all.front();
  }

  MarlElement root() const { return document.getRootElement(); }

  Marl marl;
  MarlStreamFactory factory;
  MarlDocument document;
  MarlIStream stream;
  MarlParser parser;
  long blocksAtStart = 0;
};

// The tree below `node` as text: one line per node with its kind, qualified name, namespace
// URI and value, attributes in map order behind their element. Two trees are equal when their
// texts are.
inline void describe(MarlNode const& node, std::wstring& out, unsigned int depth = 0) {
  out.append(depth * 2, L' ');
  out += std::to_wstring(node.getType()) + L" ";
  if (!node.getNamespacePrefix().empty()) out += node.getNamespacePrefix() + L":";
  MarlElement element(node);
  out += node.getName() + L" {" + node.getNamespaceURI() + L"}";
  out += element ? L"\n" : L" [" + node.getValue() + L"]\n";
  if (element) {
    MarlNamedNodeMap attributes = element.getAttributes();
    for (unsigned int index = 0; attributes && index < attributes.getLength(); ++index) {
      MarlNode attribute = attributes.getItem(index);
      out.append(depth * 2 + 1, L' ');
      out += L"@" + attribute.getNamespacePrefix() + L":" + attribute.getName() + L" {" +
             attribute.getNamespaceURI() + L"} = [" + attribute.getValue() + L"]\n";
    }
  }
  for (MarlNode child = node.getFirstChild(); child; child = child.getNext())
    describe(child, out, depth + 1);
}

inline std::wstring describe(MarlNode const& node) {
  std::wstring out;
  describe(node, out);
  return out;
}

}  // namespace parsetest

#endif
