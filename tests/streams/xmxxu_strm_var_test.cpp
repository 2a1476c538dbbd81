#include "streams/xmxxu_strm.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "streams/stream_fixture.h"

using namespace streamtest;

namespace {

using E = MarlEncoding;
using Variants = StreamTest;

std::string fileContent(std::filesystem::path const& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void writeFile(std::filesystem::path const& path, std::string const& content) {
  std::ofstream out(path, std::ios::binary);
  out << content;
}

}  // namespace

// =======================================================================================
// Variants

TEST_F(Variants, EachVariantReportsItsType) {
  unsigned char buffer[4] = {'a', 'b', 'c', 'd'};
  std::wstring wide;
  rawstring raw;
  void* native = &wide;
  EXPECT_EQ(factory.createIStreamRawBuffer(buffer, buffer + 4).getType(&native), 2);
  EXPECT_EQ(native, buffer);
  EXPECT_EQ(factory.createOStreamRawBuffer(buffer, buffer + 4).getType(&native), 2);
  EXPECT_EQ(native, buffer);
  EXPECT_EQ(factory.createIStreamString(L"x").getType(&native), 3);
  EXPECT_EQ(native, nullptr);
  EXPECT_EQ(factory.createOStreamString(wide).getType(nullptr), 3);
  EXPECT_EQ(factory.createIStreamRawString(bytes("x")).getType(nullptr), 4);
  EXPECT_EQ(factory.createOStreamRawString(raw).getType(nullptr), 3);
  EXPECT_EQ(factory.createIStreamXString(nullptr).getType(nullptr), 5);
  EXPECT_EQ(factory.createOStreamXString(nullptr).getType(nullptr), 5);
  EXPECT_EQ(factory.createIStreamCString(nullptr).getType(nullptr), 6);
  EXPECT_EQ(factory.createOStreamCString(nullptr).getType(nullptr), 6);
  EXPECT_EQ(factory.createIStreamITable(nullptr, 0).getType(nullptr), 7);
  EXPECT_EQ(factory.createOStreamITable(nullptr).getType(nullptr), 7);
  EXPECT_EQ(chunked(bytes("x"), 1).getType(&native), 0);
  EXPECT_EQ(native, nullptr);
}

TEST_F(Variants, AStringStreamDeliversItsCharactersAsTheyStand) {
  MarlIStream stream = factory.createIStreamString(L"<\u3042\xD800>");
  ASSERT_TRUE(stream.setEncoding(encoding(L"usascii")));
  wchar_t target[3];
  ASSERT_EQ(stream.read(target, 3), 3);
  EXPECT_EQ(std::wstring(target, 3), L"<\u3042\xD800");
  EXPECT_EQ(stream.getNumRead(), 3u);
  EXPECT_EQ(stream.getNumReadRaw(), 3u);
  EXPECT_EQ(stream.read(target, 3), 1);
  EXPECT_EQ(stream.read(target, 3), -1);
  unsigned char raw[2];
  EXPECT_EQ(stream.readRaw(raw, 2), -1);
}

TEST_F(Variants, SourcesOverNothingStayClosedAndReadAsMinusOne) {
  unsigned char byte = 'a';
  wchar_t target[2];
  MarlIStream closed[] = {factory.createIStreamString(L""),
                          factory.createIStreamRawString(rawstring()),
                          factory.createIStreamRawBuffer(&byte, &byte),
                          factory.createIStreamRawBuffer(nullptr, nullptr),
                          factory.createIStreamXString(nullptr),
                          factory.createIStreamCString(nullptr),
                          factory.createIStreamITable(nullptr, 10)};
  for (MarlIStream const& stream : closed) {
    ASSERT_TRUE(stream);
    EXPECT_FALSE(stream._impl()->isOpen());
    EXPECT_EQ(stream.read(target, 2), -1);
  }
}

TEST_F(Variants, ARawBufferSourceReadsTheCallersBytes) {
  unsigned char buffer[] = {'<', 'a', '/', '>'};
  MarlIStream stream = factory.createIStreamRawBuffer(buffer, buffer + 4);
  EXPECT_EQ(readAll(stream), L"<a/>");
  EXPECT_EQ(stream.getEncoding().getCharacterSet(), L"utf-8");
  unsigned char raw[4];
  EXPECT_LT(stream.readRaw(raw, 4), 0);
}

TEST_F(Variants, HostStringsGiveNothingWithTheDefaultHost) {
  int hostString = 0;
  MarlIStream input = factory.createIStreamXString(&hostString);
  EXPECT_FALSE(input._impl()->isOpen());
  wchar_t target[2];
  EXPECT_EQ(input.read(target, 2), -1);
  MarlOStream output = factory.createOStreamXString(&hostString);
  EXPECT_TRUE(output._impl()->isOpen());
  EXPECT_EQ(output.writeString(L"abc"), 3);
  EXPECT_EQ(output.getNumWrittenRaw(), 3u);
}

TEST_F(Variants, AHostStringSinkWithoutAHandleTakesNothing) {
  MarlOStream output = factory.createOStreamXString(nullptr);
  EXPECT_FALSE(output._impl()->isOpen());
  unsigned char const raw[] = {'a'};
  EXPECT_EQ(output.writeRaw(raw, 1), 0);
}

TEST_F(Variants, HostCharacterStringsCarryTheHostCodePageFromTheStart) {
  int hostString = 0;
  TraceCapture trace;
  MarlIStream input = factory.createIStreamCString(&hostString);
  MarlOStream output = factory.createOStreamCString(&hostString);
  ASSERT_TRUE(input.getEncoding());
  EXPECT_EQ(input.getEncoding().getCharacterSet(), L"orv*");
  EXPECT_EQ(input.getEncoding().getByteOrder(), E::BYTEORDER_LE);
  EXPECT_EQ(output.getEncoding().getCharacterSet(), L"orv*");
  // Without the host's converters the catch-all serves the name.
  EXPECT_NE(trace.text().find("marl: unsupported encoding orv* -> using utf8"), std::string::npos);
}

TEST_F(Variants, HostTablesGiveAndTakeNothingWithTheDefaultHost) {
  int table = 0;
  MarlIStream input = factory.createIStreamITable(&table, 100);
  wchar_t target[2];
  EXPECT_EQ(input.read(target, 2), -1);
  MarlOStream output = factory.createOStreamITable(&table);
  EXPECT_TRUE(output._impl()->isOpen());
  EXPECT_EQ(output.writeString(L"abc"), -1);
  output.close();
  EXPECT_FALSE(output._impl()->isOpen());
}

TEST_F(Variants, AStreamIsNotCountedAmongTheObjectsThatHoldAtoms) {
  std::uint32_t live = CMarlBase::c_pMarl->liveObjects;
  MarlIStream stream = source(bytes("abcd"));
  EXPECT_EQ(CMarlBase::c_pMarl->liveObjects, live);
  stream = static_cast<CMarlIStream const*>(nullptr);
  EXPECT_EQ(CMarlBase::c_pMarl->liveObjects, live);
}

TEST_F(Variants, StreamsAnswerTheirInterfaces) {
  std::wstring sink;
  MarlIStream input = source(bytes("a"));
  MarlOStream output = factory.createOStreamString(sink);
  EXPECT_EQ(input._impl()->_queryClass(), 370u);
  EXPECT_EQ(output._impl()->_queryClass(), 380u);
  EXPECT_NE(input._impl()->_queryInterface(360), nullptr);
  EXPECT_NE(output._impl()->_queryInterface(360), nullptr);
  EXPECT_NE(input._impl()->_queryInterface(1), nullptr);
  EXPECT_EQ(input._impl()->_queryInterface(380), nullptr);
  EXPECT_EQ(output._impl()->_queryInterface(370), nullptr);

  MarlStream general(input);
  EXPECT_TRUE(MarlIStream(general));
  EXPECT_FALSE(MarlOStream(general));
  EXPECT_FALSE(MarlIStream(MarlStream(output)));
  EXPECT_FALSE(MarlStream(static_cast<CUnknown*>(factory)));
  EXPECT_TRUE(MarlStream(static_cast<CUnknown*>(output)));
  EXPECT_FALSE(MarlIStream(MarlStream()));
}

TEST_F(Variants, TheBaseKnowsNoResolutionAndOpensNoIdentifier) {
  MarlIStream stream = source(bytes("a"));
  EXPECT_EQ(stream.makeAbsoluteId(L"a.xml", L"/dir/base.xml"), L"a.xml");
  EXPECT_FALSE(stream.isCapable(L"file:///a.xml", L""));
}

// ----- Files

TEST_F(Variants, FileIdsAreCapableByPrefixOrWithoutAnyScheme) {
  MarlIStream file(static_cast<CMarlIStream*>(new CMarlIStreamFile()));
  EXPECT_TRUE(file.isCapable(L"file:///tmp/a.xml", L""));
  EXPECT_TRUE(file.isCapable(L"FILE://x", L""));
  EXPECT_TRUE(file.isCapable(L"relative/a.xml", L""));
  EXPECT_TRUE(file.isCapable(L"C:\\dir\\a.xml", L"-//ignored"));
  EXPECT_FALSE(file.isCapable(L"http://host/a.xml", L""));
  EXPECT_FALSE(file.isCapable(L"mem://a", L""));
}

TEST_F(Variants, NormalizeIdDropsTheFilePrefixesInExactCase) {
  EXPECT_EQ(normalizeID(L"file://localhost/tmp/a"), L"tmp/a");
  EXPECT_EQ(normalizeID(L"file:///tmp/a"), L"/tmp/a");
  EXPECT_EQ(normalizeID(L"file://x"), L"x");
  EXPECT_EQ(normalizeID(L"FILE://x"), L"FILE://x");
  EXPECT_EQ(normalizeID(L"a%20b.xml"), L"a%20b.xml");
}

TEST_F(Variants, AFileIdResolvesAgainstTheDirectoryOfItsBase) {
  MarlOStream file(static_cast<CMarlOStream*>(new CMarlOStreamFile()));
  EXPECT_EQ(file.makeAbsoluteId(L"a.xml", L"file:///dir/base.xml"), L"file:///dir/a.xml");
  EXPECT_EQ(file.makeAbsoluteId(L"a.xml", L"C:\\dir\\base.xml"), L"file://C:\\dir\\a.xml");
  EXPECT_EQ(file.makeAbsoluteId(L"a.xml", L"c:\\x/y\\base.xml"), L"file://c:\\x/y\\a.xml");
  EXPECT_EQ(file.makeAbsoluteId(L"a.xml", L"d\\e/base.xml"), L"file://d\\a.xml");
  EXPECT_EQ(file.makeAbsoluteId(L"a.xml", L"base.xml"), L"file://a.xml");
  EXPECT_EQ(file.makeAbsoluteId(L"File://elsewhere/a.xml", L"file:///dir/"),
            L"File://elsewhere/a.xml");
  EXPECT_EQ(file.makeAbsoluteId(L"sub/a.xml", L"/dir/base.xml"), L"file:///dir/sub/a.xml");
}

TEST_F(Variants, AFileSourceGivesItsHandleWhileOpen) {
  TempDir dir;
  writeFile(dir.file("a.xml"), "<a/>");
  MarlIStream stream = factory.createIStreamURI(dir.id("a.xml"), L"", 0);
  ASSERT_TRUE(stream);
  void* native = nullptr;
  EXPECT_EQ(stream.getType(&native), 1);
  EXPECT_NE(native, nullptr);
  EXPECT_EQ(readAll(stream), L"<a/>");
  stream.close();
  EXPECT_EQ(stream.getType(&native), 1);
  EXPECT_EQ(native, nullptr);
  wchar_t target[2];
  EXPECT_EQ(stream.read(target, 2), 0);
}

TEST_F(Variants, AFileThatCannotBeOpenedGivesNoStream) {
  TempDir dir;
  EXPECT_FALSE(factory.createIStreamURI(dir.id("missing.xml"), L"", 0));
  EXPECT_FALSE(factory.createOStreamURI(dir.id("no/such/dir/out.xml"), L""));
  MarlIStream file(static_cast<CMarlIStream*>(new CMarlIStreamFile(dir.id("missing.xml"), L"")));
  EXPECT_FALSE(file.open());
  wchar_t target[2];
  EXPECT_EQ(file.read(target, 2), -1);
}

TEST_F(Variants, AReadErrorOfAFileReadsAsTheEndBeforeAnyByte) {
  TempDir dir;
  // A directory opens for reading, and every read of it fails.
  MarlIStream stream = factory.createIStreamURI(dir.path.wstring(), L"", 0);
  ASSERT_TRUE(stream);
  wchar_t target[8];
  EXPECT_EQ(stream.read(target, 8), -1);
  unsigned char raw[8];
  EXPECT_LT(stream.readRaw(raw, 8), 0);
}

TEST_F(Variants, AFileLocalhostIdOpensRelativeToTheWorkingDirectory) {
  TempDir dir;
  std::filesystem::create_directories(dir.file("tmp"));
  writeFile(dir.file("tmp") / "a", "relative");
  WorkingDirectory inside(dir.path);
  MarlIStream stream = factory.createIStreamURI(L"file://localhost/tmp/a", L"", 0);
  ASSERT_TRUE(stream);
  EXPECT_EQ(readAll(stream), L"relative");
}

TEST_F(Variants, AFileUriWithThreeSlashesOpensAnAbsolutePath) {
  TempDir dir;
  writeFile(dir.file("a"), "absolute");
  MarlIStream stream = factory.createIStreamURI(L"file://" + dir.id("a"), L"", 0);
  ASSERT_TRUE(stream);
  EXPECT_EQ(readAll(stream), L"absolute");
  EXPECT_EQ(stream.getSystemId(), L"file://" + dir.id("a"));
}

TEST_F(Variants, AnUpperCaseSchemeIsCapableButStaysPartOfThePath) {
  TempDir dir;
  // "FILE://x" names the file x in a directory called "FILE:".
  std::filesystem::create_directories(dir.file("FILE:"));
  writeFile(dir.file("FILE:") / "x", "upper");
  WorkingDirectory inside(dir.path);
  MarlIStream stream = factory.createIStreamURI(L"FILE://x", L"", 0);
  ASSERT_TRUE(stream);
  EXPECT_EQ(readAll(stream), L"upper");
}

TEST_F(Variants, APercentEscapeIsPartOfTheFileName) {
  TempDir dir;
  writeFile(dir.file("a%20b.xml"), "percent");
  MarlIStream stream = factory.createIStreamURI(L"file://" + dir.id("a%20b.xml"), L"", 0);
  ASSERT_TRUE(stream);
  EXPECT_EQ(readAll(stream), L"percent");
}

TEST_F(Variants, AWindowsPathWithoutSchemeIsTakenAsAFile) {
  TempDir dir;
  writeFile(dir.file("C:\\dir\\a.xml"), "windows");
  WorkingDirectory inside(dir.path);
  MarlIStream stream = factory.createIStreamURI(L"C:\\dir\\a.xml", L"-//P", 0);
  ASSERT_TRUE(stream);
  EXPECT_EQ(stream.getSystemId(), L"file://C:\\dir\\a.xml");
  EXPECT_EQ(stream.getPublicId(), L"-//P");
  EXPECT_EQ(readAll(stream), L"windows");
}

TEST_F(Variants, AFileSinkWritesTheFileAndFlushesOnRequest) {
  TempDir dir;
  MarlOStream stream = factory.createOStreamURI(dir.id("out.xml"), L"");
  ASSERT_TRUE(stream);
  void* native = nullptr;
  EXPECT_EQ(stream.getType(&native), 1);
  EXPECT_NE(native, nullptr);
  EXPECT_EQ(stream.writeString(L"<\u00E9/>"), 4);
  stream.flush();
  EXPECT_EQ(fileContent(dir.file("out.xml")), "<\xC3\xA9/>");
  EXPECT_EQ(stream.getNumWrittenRaw(), 5u);
  stream.close();
  EXPECT_EQ(stream.writeString(L"x"), -1);
  EXPECT_EQ(fileContent(dir.file("out.xml")), "<\xC3\xA9/>");
}

TEST_F(Variants, AFileStreamCloneStartsClosed) {
  TempDir dir;
  writeFile(dir.file("a.xml"), "abc");
  MarlIStream stream = factory.createIStreamURI(dir.id("a.xml"), L"", 0);
  ASSERT_TRUE(stream);
  MarlIStream copy(stream.clone());
  ASSERT_TRUE(copy);
  EXPECT_FALSE(copy._impl()->isOpen());
  EXPECT_EQ(copy.getSystemId(), stream.getSystemId());
  ASSERT_TRUE(copy.open());
  EXPECT_EQ(readAll(copy), L"abc");
  EXPECT_EQ(readAll(stream), L"abc");
}
