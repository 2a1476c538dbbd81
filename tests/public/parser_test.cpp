// The parser as a program sees it through the public headers.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "marl/marl.h"

TEST(PublicParser, ADocumentIsReadIntoTheTree) {
  Marl marl = Marl::create();
  MarlStreamFactory factory = marl.createStreamFactory();
  MarlDocument document = marl.createDocument();
  std::string const bytes =
      "<?xml version='1.0' encoding='UTF-8'?><list><item n='1'>one</item></list>";
  MarlIStream in = factory.createIStreamRawString(rawstring(bytes.begin(), bytes.end()));
  MarlParser parser = marl.createParser(factory, in, document);
  ASSERT_TRUE(parser);
  EXPECT_EQ(parser.parse(), MarlParser::rcParsed);
  EXPECT_EQ(parser.numErrors(), 0u);
  MarlElement list = document.getRootElement();
  ASSERT_TRUE(list);
  EXPECT_EQ(list.getName(), L"list");
  MarlElement item(list.getFirstChild());
  EXPECT_EQ(item.getAttribute(L"n", L""), L"1");
  EXPECT_EQ(item.getFirstChild().getValue(), L"one");
}

TEST(PublicParser, TheFindingOfABrokenDocumentCanBeReadAndWritten) {
  Marl marl = Marl::create();
  MarlStreamFactory factory = marl.createStreamFactory();
  MarlDocument document = marl.createDocument();
  MarlIStream in = factory.createIStreamString(L"<a>\n</b>");
  MarlParser parser = marl.createParser(factory, in, document);
  ASSERT_TRUE(parser);
  parser.setNamespaceMode(MarlParser::NS_CONTEXTS_CHECKED);
  EXPECT_EQ(parser.getNamespaceMode(), MarlParser::NS_CONTEXTS);
  EXPECT_EQ(parser.parse(), MarlParser::rcError);
  ASSERT_EQ(parser.numErrors(MarlParseError::SEVERITY_ERROR), 1u);
  MarlParseError error = parser.getError(0, MarlParseError::SEVERITY_ERROR);
  EXPECT_EQ(error.getSeverity(), MarlParseError::SEVERITY_ERROR);
  EXPECT_EQ(error.getNumber(), 3002u);
  std::ostringstream out;
  out << error;
  EXPECT_EQ(out.str(),
            "entity \"<<document>>\" (1:5) : error 3002: end tag 'b' does not match begin tag "
            "'a'\n");
}

TEST(PublicParser, AParserReadsOnce) {
  Marl marl = Marl::create();
  MarlStreamFactory factory = marl.createStreamFactory();
  MarlDocument document = marl.createDocument();
  MarlParser parser = marl.createParser(factory, factory.createIStreamString(L"<a/>"), document);
  ASSERT_TRUE(parser);
  EXPECT_EQ(parser.parse(), MarlParser::rcParsed);
  EXPECT_EQ(parser.parse(), MarlParser::rcInternalError);
  EXPECT_EQ(parser.getError(0).getReason(), L"invalid parser");
}

TEST(PublicParser, ThereIsNoParserWithoutStreamOrDocument) {
  Marl marl = Marl::create();
  MarlStreamFactory factory = marl.createStreamFactory();
  EXPECT_FALSE(marl.createParser(factory, MarlIStream(), marl.createDocument()));
  EXPECT_FALSE(marl.createParser(factory, factory.createIStreamString(L"<a/>"), MarlDocument()));
}
