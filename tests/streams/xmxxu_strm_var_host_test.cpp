// The streams over host strings and host tables, against a host of the test's own making: this
// program replaces the default string and table families of the host layer.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "marl/host.h"
#include "streams/stream_fixture.h"
#include "streams/xmxxu_strm.h"

using namespace streamtest;

namespace {

// A table of fixed-length lines that can refuse new lines after a number of them.
struct FakeTable {
  std::size_t lineLength = 0;
  std::vector<std::vector<unsigned char>> lines;
  std::size_t maxLines = static_cast<std::size_t>(-1);
  int freed = 0;

  std::string line(std::size_t index) const {
    return std::string(lines[index].begin(), lines[index].end());
  }
};

struct FakeByteString {
  rawstring content;
  bool delivers = true;
};

FakeTable tableOf(std::size_t lineLength, std::initializer_list<char const*> lines) {
  FakeTable table;
  table.lineLength = lineLength;
  for (char const* text : lines) {
    std::vector<unsigned char> line(text, text + lineLength);
    table.lines.push_back(line);
  }
  return table;
}

}  // namespace

extern "C" {

void TOVAPreprocITAB(void*) {}

size_t TOVAItLeng(void* table) {
  return static_cast<FakeTable*>(table)->lineLength;
}

int TOVAItType(void*) {
  return 0;
}

void* TOVAItGetLine(void* table, size_t lineNumber) {
  FakeTable* fake = static_cast<FakeTable*>(table);
  return lineNumber < fake->lines.size() ? fake->lines[lineNumber].data() : nullptr;
}

void* TOVAItAppLine(void* table) {
  FakeTable* fake = static_cast<FakeTable*>(table);
  if (fake->lines.size() >= fake->maxLines) return nullptr;
  fake->lines.emplace_back(fake->lineLength, '?');
  return fake->lines.back().data();
}

void TOVAItFree(void* table) {
  FakeTable* fake = static_cast<FakeTable*>(table);
  fake->lines.clear();
  ++fake->freed;
}

void* TOVAItAccess(void* table, size_t lineNumber) {
  return TOVAItGetLine(table, lineNumber);
}

size_t TOVAItGetRecord(void*) {
  return 0;
}

void TOVAStringFirstInitRoll(void*) {}

void TOVAStringFirstInitFromTabh(void*, const void*) {}

void TOVAStringMove(void*, void*) {}

void TOVAStringDiscard(void*) {}

void TOVAStringCreate(void*, size_t) {}

void TOVAStringSetContent(void*, const wchar_t*, size_t, void*) {}

void TOVAStringGetContent(void*, const wchar_t** data, size_t* length, void*) {
  *data = nullptr;
  *length = 0;
}

void TOVAStringAppend(void*, const wchar_t*, size_t, void*) {}

void TOVAXStringSetContent(void* hostString, const unsigned char* data, size_t length) {
  static_cast<FakeByteString*>(hostString)->content.assign(data, length);
}

int TOVAXStringGetContent(void* hostString, const unsigned char** data, size_t* length) {
  FakeByteString* fake = static_cast<FakeByteString*>(hostString);
  if (!fake->delivers) return 1;
  *data = fake->content.data();
  *length = fake->content.size();
  return 0;
}

void TOVAXStringAppend(void* hostString, const unsigned char* data, size_t length) {
  static_cast<FakeByteString*>(hostString)->content.append(data, length);
}

}  // extern "C"

using HostTable = StreamTest;
using HostString = StreamTest;

TEST_F(HostTable, ASourceReadsTheLinesUpToTheGivenSize) {
  FakeTable table = tableOf(4, {"<a>x", "yz</", "a>##"});
  MarlIStream stream = factory.createIStreamITable(&table, 10);
  EXPECT_EQ(readAll(stream), L"<a>xyz</a>");
  EXPECT_EQ(stream.getNumReadRaw(), 10u);
  wchar_t target[2];
  EXPECT_EQ(stream.read(target, 2), 0);
}

TEST_F(HostTable, ASourceCarriesItsPositionAcrossLineEnds) {
  FakeTable table = tableOf(4, {"abcd", "efgh", "ijkl"});
  MarlIStream stream = factory.createIStreamITable(&table, 11);
  unsigned char raw[8];
  EXPECT_EQ(stream.readRaw(raw, 3), 3);
  EXPECT_EQ(std::string(raw, raw + 3), "abc");
  EXPECT_EQ(stream.readRaw(raw, 3), 3);
  EXPECT_EQ(std::string(raw, raw + 3), "def");
  EXPECT_EQ(stream.readRaw(raw, 8), 5);
  EXPECT_EQ(std::string(raw, raw + 5), "ghijk");
  EXPECT_LT(stream.readRaw(raw, 8), 0);
}

TEST_F(HostTable, ASourceStopsWhereTheTableHasNoMoreLines) {
  FakeTable table = tableOf(4, {"abcd"});
  MarlIStream stream = factory.createIStreamITable(&table, 12);
  unsigned char raw[16];
  EXPECT_EQ(stream.readRaw(raw, 16), 4);
  EXPECT_EQ(stream.readRaw(raw, 16), 0);
  EXPECT_EQ(readAll(stream), L"");
}

TEST_F(HostTable, ASourceOverAnEmptySizeStaysClosed) {
  FakeTable table = tableOf(4, {"abcd"});
  MarlIStream stream = factory.createIStreamITable(&table, 0);
  wchar_t target[2];
  EXPECT_EQ(stream.read(target, 2), -1);
}

TEST_F(HostTable, ASinkEmptiesTheTableAndFillsLineAfterLine) {
  FakeTable table = tableOf(4, {"old!"});
  MarlOStream stream = factory.createOStreamITable(&table);
  EXPECT_EQ(table.freed, 1);
  EXPECT_TRUE(table.lines.empty());
  EXPECT_EQ(stream.writeString(L"abcdefghij"), 10);
  ASSERT_EQ(table.lines.size(), 3u);
  EXPECT_EQ(table.line(0), "abcd");
  EXPECT_EQ(table.line(1), "efgh");
  EXPECT_EQ(table.line(2).substr(0, 2), "ij");
  EXPECT_EQ(stream.getNumWrittenRaw(), 10u);
}

TEST_F(HostTable, FlushPadsTheLineWithBlanksWithoutCountingThem) {
  FakeTable table = tableOf(6, {});
  MarlOStream stream = factory.createOStreamITable(&table);
  stream.writeString(L"abcdefgh");
  stream.setQuoted(1);
  stream.flush();
  ASSERT_EQ(table.lines.size(), 2u);
  EXPECT_EQ(table.line(1), "gh    ");
  EXPECT_EQ(stream.getNumWritten(), 8u);
  EXPECT_EQ(stream.getNumWrittenRaw(), 8u);
  EXPECT_TRUE(stream.getQuoted());
}

TEST_F(HostTable, CloseFlushesTheLastLine) {
  FakeTable table = tableOf(5, {});
  MarlOStream stream = factory.createOStreamITable(&table);
  stream.writeString(L"ab");
  stream.close();
  ASSERT_EQ(table.lines.size(), 1u);
  EXPECT_EQ(table.line(0), "ab   ");
  EXPECT_FALSE(stream._impl()->isOpen());
}

TEST_F(HostTable, ATableThatGivesNoMoreLinesClosesTheSink) {
  FakeTable table = tableOf(4, {});
  table.maxLines = 2;
  MarlOStream stream = factory.createOStreamITable(&table);
  unsigned char const raw[] = "abcdefghijkl";
  EXPECT_EQ(stream.writeRaw(raw, 12), 8);
  EXPECT_FALSE(stream._impl()->isOpen());
  EXPECT_EQ(stream.writeRaw(raw, 1), 0);
  EXPECT_EQ(stream.writeString(L"x"), -1);
}

TEST_F(HostTable, TextAndTableRoundTrip) {
  FakeTable table = tableOf(7, {});
  MarlOStream output = factory.createOStreamITable(&table);
  std::wstring text = L"<doc>\u00E9\u3042</doc>";
  ASSERT_EQ(output.writeString(text), static_cast<int>(text.size()));
  unsigned int size = output.getNumWrittenRaw();
  output.close();
  MarlIStream input = factory.createIStreamITable(&table, size);
  EXPECT_EQ(readAll(input), text);
}

TEST_F(HostString, AByteStringSourceReadsTheHostContent) {
  FakeByteString host{bytes("<x>\xC3\xA9</x>")};
  MarlIStream stream = factory.createIStreamXString(&host);
  EXPECT_EQ(readAll(stream), L"<x>\u00E9</x>");
  unsigned char raw[4];
  EXPECT_LT(stream.readRaw(raw, 4), 0);
}

TEST_F(HostString, AHostStringThatDeliversNothingGivesAClosedSource) {
  FakeByteString refusing{bytes("abc"), false};
  FakeByteString empty{rawstring()};
  wchar_t target[2];
  EXPECT_EQ(factory.createIStreamXString(&refusing).read(target, 2), -1);
  EXPECT_EQ(factory.createIStreamXString(&empty).read(target, 2), -1);
}

TEST_F(HostString, ACharacterStringIsDecodedInTheHostCodePage) {
  FakeByteString host{bytes("gr\xC3\xBC\xC3\x9F")};
  MarlIStream stream = factory.createIStreamCString(&host);
  EXPECT_EQ(stream.getEncoding().getCharacterSet(), L"orv*");
  // The default handlers serve the host code page through the UTF-8 catch-all.
  EXPECT_EQ(readAll(stream), L"gr\u00FC\u00DF");
}

TEST_F(HostString, SinksAppendToTheHostString) {
  FakeByteString bytesHost{bytes(">")};
  MarlOStream byteSink = factory.createOStreamXString(&bytesHost);
  EXPECT_EQ(byteSink.writeString(L"\u00E9"), 1);
  EXPECT_EQ(bytesHost.content, bytes(">\xC3\xA9"));

  FakeByteString charactersHost;
  MarlOStream characterSink = factory.createOStreamCString(&charactersHost);
  EXPECT_EQ(characterSink.writeString(L"ab"), 2);
  EXPECT_EQ(charactersHost.content, bytes("ab"));
  characterSink.close();
  EXPECT_EQ(characterSink.writeString(L"c"), -1);
  EXPECT_EQ(charactersHost.content, bytes("ab"));
}
