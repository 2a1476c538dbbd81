#include "render/xmxxr_rend.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "dom/xmxxo_attr.h"
#include "dom/xmxxo_doc.h"
#include "dom/xmxxo_elem.h"
#include "dom/xmxxo_nsd.h"
#include "dtd/xmxxo_doct.h"
#include "streams/stream_fixture.h"
#include "text/xmxxu_stri.h"

using namespace streamtest;

namespace {

// A library, a document and a document type for each test, and the text that rendering gives.
class RenderTest : public StreamTest {
 protected:
  void SetUp() override {
    StreamTest::SetUp();
    document = marl.createDocument();
    ASSERT_TRUE(document);
    type = document.createDocumentType(L"doc", L"");
    ASSERT_TRUE(type);
  }
  void TearDown() override {
    type = static_cast<CMarlDocumentType const*>(nullptr);
    document = static_cast<CMarlDocument const*>(nullptr);
    StreamTest::TearDown();
  }

  // What the node writes into a wide string stream, which takes characters without encoding.
  std::wstring render(MarlNode const& node, unsigned char deep = 1, unsigned char pretty = 0) {
    std::wstring text;
    {
      MarlOStream out = factory.createOStreamString(text);
      out.setPrettyPrint(pretty);
      node.render(out, deep);
    }
    return text;
  }
  std::wstring pretty(MarlNode const& node, unsigned char deep = 1) {
    return render(node, deep, 1);
  }

  // The document through a renderer into a wide string stream of that encoding (none for an
  // empty name).
  std::wstring renderDocument(std::wstring const& encodingName = std::wstring(),
                              unsigned char normalizing = 0) {
    std::wstring text;
    {
      MarlOStream out = factory.createOStreamString(text);
      if (!encodingName.empty()) {
        EXPECT_TRUE(out.setEncoding(encoding(encodingName)));
      }
      MarlRenderer renderer = marl.createRenderer(out, document);
      EXPECT_TRUE(renderer);
      if (normalizing) renderer.setNormalizing(1);
      EXPECT_EQ(renderer.render(), 0);
    }
    return text;
  }

  // The document as bytes in an encoding.
  rawstring renderBytes(MarlEncoding const& target) {
    rawstring bytes;
    {
      MarlOStream out = factory.createOStreamRawString(bytes);
      EXPECT_TRUE(out.setEncoding(target));
      MarlRenderer renderer = marl.createRenderer(out, document);
      EXPECT_TRUE(renderer);
      EXPECT_EQ(renderer.render(), 0);
    }
    return bytes;
  }

  // The bytes read back through an input stream told the encoding, which then delivers a byte
  // order mark as a character.
  std::wstring decode(rawstring const& bytes, MarlEncoding const& source) {
    MarlIStream in = factory.createIStreamRawString(bytes);
    EXPECT_TRUE(in.setEncoding(source));
    return readAll(in);
  }

  MarlElement element(std::wstring const& name, MarlNode const& parent = MarlNode()) {
    MarlElement made = document.createElement(name, L"");
    if (parent) parent._impl()->appendChild(made, 0);
    return made;
  }
  void appendText(MarlNode const& parent, std::wstring const& text) {
    parent._impl()->appendChild(document.createText(text), 0);
  }

  MarlContentParticle leaf(std::wstring const& name,
                           MarlContentParticle::Occurrence occurrence = MarlContentParticle::OCC_ONE) {
    return type.createContentParticle(name, L"", occurrence, MarlContentParticle::GROUP_SEQUENCE);
  }
  MarlContentParticle group(MarlContentParticle::Grouping grouping,
                            MarlContentParticle::Occurrence occurrence,
                            std::initializer_list<MarlContentParticle> members) {
    MarlContentParticle made = type.createContentParticle(L"", L"", occurrence, grouping);
    for (MarlContentParticle const& member : members) made.addContentParticle(member);
    return made;
  }
  MarlAttributeDecl attributeDecl(std::wstring const& name, MarlAttributeDecl::ValueType valueType,
                                  MarlAttributeDecl::AttrDefault attrDefault,
                                  std::wstring const& defaultValue = std::wstring()) {
    MarlAttributeDecl made = type.createAttributeDecl(name, L"");
    made.setValueType(valueType);
    made.setAttrDefault(attrDefault);
    made.setDefaultValue(defaultValue);
    return made;
  }

  MarlDocument document;
  MarlDocumentType type;
};

// A renderer whose document or stream went missing after construction, which the public
// operations cannot bring about.
class CDetachedRenderer : public CMarlRenderer {
 public:
  CDetachedRenderer(MarlOStream const& stream, MarlDocument const& target, bool dropDocument)
      : CMarlRenderer(stream, target) {
    if (dropDocument)
      document = static_cast<CMarlDocument const*>(nullptr);
    else
      oStream = static_cast<CMarlOStream const*>(nullptr);
  }
};

class TokenRenderer : public StreamTest {
 protected:
  void SetUp() override {
    StreamTest::SetUp();
    stream = factory.createOStreamString(text);
    ASSERT_TRUE(stream);
    renderer = marl.createTokenRenderer(stream);
    ASSERT_TRUE(renderer);
  }
  void TearDown() override {
    renderer = static_cast<CMarlTokenRenderer const*>(nullptr);
    stream = static_cast<CMarlOStream const*>(nullptr);
    StreamTest::TearDown();
  }

  std::wstring text;
  MarlOStream stream;
  MarlTokenRenderer renderer;
};

}  // namespace

TEST_F(TokenRenderer, RenderAnswersZeroAndLeavesTheStreamUntouched) {
  int tokens[4] = {1, 2, 3, 4};
  EXPECT_EQ(renderer.render(tokens), 0);
  EXPECT_EQ(renderer.render(nullptr), 0);
  EXPECT_EQ(text, L"");
  EXPECT_EQ(stream.getNumWritten(), 0u);
  EXPECT_EQ(stream.getNumWrittenRaw(), 0u);
}

TEST_F(TokenRenderer, ANewRendererIsNormalizingWithoutHavingToldTheStream) {
  EXPECT_TRUE(renderer.isNormalizing());
  EXPECT_FALSE(stream.getPrettyPrint());
}

TEST_F(TokenRenderer, SetNormalizingReachesTheStreamsPrettyPrinting) {
  EXPECT_EQ(renderer.setNormalizing(1), 1);
  EXPECT_TRUE(stream.getPrettyPrint());
  EXPECT_EQ(renderer.setNormalizing(0), 0);
  EXPECT_FALSE(renderer.isNormalizing());
  EXPECT_FALSE(stream.getPrettyPrint());
}

TEST_F(TokenRenderer, TheEncodingIsTheStreams) {
  EXPECT_FALSE(renderer.getEncoding());
  ASSERT_TRUE(renderer.setEncoding(encoding(L"utf-16", MarlEncoding::BYTEORDER_BE)));
  ASSERT_TRUE(stream.getEncoding());
  EXPECT_EQ(static_cast<CUnknown*>(renderer.getEncoding()),
            static_cast<CUnknown*>(stream.getEncoding()));
  EXPECT_EQ(renderer.getEncoding().getCharacterSet(), L"utf-16");

  // Set on the stream directly, it is what the renderer reports.
  ASSERT_TRUE(stream.setEncoding(encoding(L"iso-8859-1")));
  EXPECT_EQ(renderer.getEncoding().getCharacterSet(), L"iso-8859-1");
  EXPECT_FALSE(renderer.setEncoding(MarlEncoding()));
}

TEST_F(TokenRenderer, TheNoEscapingStringIsStoredAndLeavesTheStreamAlone) {
  renderer.setNoEscaping(L"<&x");
  EXPECT_EQ(renderer._impl()->getNoEscaping(), L"<&x");
  EXPECT_EQ(stream.getIgnoreEscaping(), L"");
}

TEST_F(TokenRenderer, TheRendererHoldsItsStream) {
  EXPECT_EQ(static_cast<CUnknown*>(renderer._impl()->getStream()), static_cast<CUnknown*>(stream));
  stream = static_cast<CMarlOStream const*>(nullptr);
  MarlOStream held = renderer._impl()->getStream();
  ASSERT_TRUE(held);
  held.writeString(L"alive");
  EXPECT_EQ(text, L"alive");
}

TEST_F(TokenRenderer, AnEmptyStreamGivesAnEmptyRenderer) {
  EXPECT_FALSE(marl.createTokenRenderer(MarlOStream()));
  try {
    CMarlTokenRenderer refused{MarlOStream()};
    FAIL() << "an empty stream was taken";
  } catch (std::invalid_argument const& refusal) {
    EXPECT_STREQ(refusal.what(), "oStream");
  }
}

TEST_F(TokenRenderer, CreationGivesAnEmptyHandleWhenMemoryRunsOut) {
  long blocksBefore = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure;
    EXPECT_FALSE(marl.createTokenRenderer(stream));
  }
  EXPECT_EQ(testhost::outstandingBlocks(), blocksBefore);
  EXPECT_EQ(stream._impl()->getRefCount(), 2u);
}

TEST_F(TokenRenderer, ATokenRendererAnswersItsInterface) {
  EXPECT_EQ(renderer._impl()->_queryClass(), 341u);
  EXPECT_NE(renderer._impl()->_queryInterface(1), nullptr);
  EXPECT_EQ(renderer._impl()->_queryInterface(340), nullptr);
  EXPECT_TRUE(MarlTokenRenderer(static_cast<CUnknown*>(renderer)));
  EXPECT_FALSE(MarlTokenRenderer(static_cast<CUnknown*>(stream)));
}

TEST_F(TokenRenderer, ATokenRendererIsCountedAmongTheObjectsThatHoldAtoms) {
  std::uint32_t live = CMarlBase::c_pMarl->liveObjects;
  renderer = static_cast<CMarlTokenRenderer const*>(nullptr);
  EXPECT_EQ(CMarlBase::c_pMarl->liveObjects, live - 1);
}

// ---------------------------------------------------------------------------------------
// The document renderer

TEST_F(RenderTest, ARendererWritesTheWholeDocumentAndAnswersZero) {
  MarlElement root = element(L"a", document);
  appendText(root, L"x");
  EXPECT_EQ(renderDocument(), L"<?xml version=\"1.0\"?><a>x</a>");
}

TEST_F(RenderTest, ANormalizingRendererBreaksLinesAndIndents) {
  MarlElement root = element(L"a", document);
  element(L"b", root);
  EXPECT_EQ(renderDocument(std::wstring(), 1), L"<?xml version=\"1.0\"?>\n<a>\n <b/>\n</a>\n");
}

TEST_F(RenderTest, SetNormalizingReachesTheStreamsPrettyPrinting) {
  std::wstring text;
  MarlOStream out = factory.createOStreamString(text);
  MarlRenderer renderer = marl.createRenderer(out, document);
  ASSERT_TRUE(renderer);
  EXPECT_EQ(renderer.setNormalizing(1), 1);
  EXPECT_TRUE(renderer.isNormalizing());
  EXPECT_TRUE(out.getPrettyPrint());
  EXPECT_EQ(renderer.setNormalizing(0), 0);
  EXPECT_FALSE(renderer.isNormalizing());
  EXPECT_FALSE(out.getPrettyPrint());
}

TEST_F(RenderTest, ANewRendererIsNotNormalizingAndLeavesTheStreamAsItFindsIt) {
  std::wstring text;
  MarlOStream out = factory.createOStreamString(text);
  out.setPrettyPrint(1);
  MarlRenderer renderer = marl.createRenderer(out, document);
  ASSERT_TRUE(renderer);
  EXPECT_FALSE(renderer.isNormalizing());
  EXPECT_TRUE(out.getPrettyPrint());
}

TEST_F(RenderTest, TheNoEscapingStringReachesTheStreamWhenRenderingStarts) {
  appendText(element(L"a", document), L"<&>");
  std::wstring text;
  MarlOStream out = factory.createOStreamString(text);
  MarlRenderer renderer = marl.createRenderer(out, document);
  ASSERT_TRUE(renderer);
  renderer.setNoEscaping(L"x><");
  EXPECT_EQ(renderer._impl()->getNoEscaping(), L"x><");
  EXPECT_EQ(out.getIgnoreEscaping(), L"");
  EXPECT_EQ(renderer.render(), 0);
  EXPECT_EQ(out.getIgnoreEscaping(), L"<>");
  EXPECT_EQ(text, L"<?xml version=\"1.0\"?><a><&amp;></a>");
}

TEST_F(RenderTest, ADefaultRenderingReplacesAllFiveMarkupCharactersInText) {
  appendText(element(L"a", document), L"<>&'\"");
  EXPECT_EQ(renderDocument(), L"<?xml version=\"1.0\"?><a>&lt;&gt;&amp;&apos;&quot;</a>");
}

TEST_F(RenderTest, AnEmptyNoEscapingStringClearsWhatTheStreamHad) {
  appendText(element(L"a", document), L"<");
  std::wstring text;
  MarlOStream out = factory.createOStreamString(text);
  out.setIgnoreEscaping(L"<");
  MarlRenderer renderer = marl.createRenderer(out, document);
  ASSERT_TRUE(renderer);
  EXPECT_EQ(renderer.render(), 0);
  EXPECT_EQ(text, L"<?xml version=\"1.0\"?><a>&lt;</a>");
}

TEST_F(RenderTest, RenderingFlushesTheStream) {
  TempDir directory;
  element(L"a", document);
  MarlOStream out = factory.createOStreamURI(directory.id("out.xml"), L"");
  ASSERT_TRUE(out);
  MarlRenderer renderer = marl.createRenderer(out, document);
  ASSERT_TRUE(renderer);
  EXPECT_EQ(renderer.render(), 0);
  // Still open: only a flush can have brought the bytes to the file.
  std::ifstream file(directory.file("out.xml"), std::ios::binary);
  std::string content((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  EXPECT_EQ(content, "<?xml version=\"1.0\"?><a/>");
  out.close();
}

TEST_F(RenderTest, ARendererHoldsItsDocumentAndStream) {
  element(L"a", document);
  std::wstring text;
  MarlOStream out = factory.createOStreamString(text);
  MarlRenderer renderer = marl.createRenderer(out, document);
  ASSERT_TRUE(renderer);
  EXPECT_EQ(static_cast<CUnknown*>(renderer._impl()->getDocument()), static_cast<CUnknown*>(document));
  EXPECT_EQ(static_cast<CUnknown*>(renderer._impl()->getStream()), static_cast<CUnknown*>(out));
  document = static_cast<CMarlDocument const*>(nullptr);
  out = static_cast<CMarlOStream const*>(nullptr);
  EXPECT_EQ(renderer.render(), 0);
  EXPECT_EQ(text, L"<?xml version=\"1.0\"?><a/>");
}

TEST_F(RenderTest, AnEmptyDocumentOrStreamGivesAnEmptyRenderer) {
  std::wstring text;
  MarlOStream out = factory.createOStreamString(text);
  EXPECT_FALSE(marl.createRenderer(out, MarlDocument()));
  EXPECT_FALSE(marl.createRenderer(MarlOStream(), document));
  EXPECT_FALSE(marl.createRenderer(MarlOStream(), MarlDocument()));
}

TEST_F(RenderTest, TheConstructorNamesTheMissingArgumentTheDocumentFirst) {
  std::wstring text;
  MarlOStream out = factory.createOStreamString(text);
  auto refusal = [](MarlOStream const& stream, MarlDocument const& target) {
    try {
      CMarlRenderer refused(stream, target);
    } catch (std::invalid_argument const& error) {
      return std::string(error.what());
    }
    return std::string("taken");
  };
  EXPECT_EQ(refusal(out, MarlDocument()), "document");
  EXPECT_EQ(refusal(MarlOStream(), document), "oStream");
  EXPECT_EQ(refusal(MarlOStream(), MarlDocument()), "document");
}

TEST_F(RenderTest, RenderingWithoutDocumentOrStreamAnswers0x40003AndWritesNothing) {
  element(L"a", document);
  std::wstring text;
  MarlOStream out = factory.createOStreamString(text);
  MarlRenderer withoutDocument(new CDetachedRenderer(out, document, true));
  MarlRenderer withoutStream(new CDetachedRenderer(out, document, false));
  EXPECT_EQ(withoutDocument.render(), 0x40003);
  EXPECT_EQ(withoutStream.render(), 0x40003);
  EXPECT_EQ(MarlRenderer::rcNoDocumentOrStream, 0x40003);
  EXPECT_EQ(text, L"");
}

TEST_F(RenderTest, CreationGivesAnEmptyHandleWhenMemoryRunsOut) {
  std::wstring text;
  MarlOStream out = factory.createOStreamString(text);
  long blocksBefore = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure;
    EXPECT_FALSE(marl.createRenderer(out, document));
  }
  EXPECT_EQ(testhost::outstandingBlocks(), blocksBefore);
  EXPECT_EQ(out._impl()->getRefCount(), 1u);
  EXPECT_EQ(document._impl()->getRefCount(), 1u);
}

TEST_F(RenderTest, RenderingTakesNoHostMemory) {
  MarlElement root = element(L"a", document);
  root.setAttribute(L"x", L"", L"1");
  appendText(element(L"b", root), L"text");
  root._impl()->appendChild(document.createComment(L"c"), 0);
  std::wstring text;
  MarlOStream out = factory.createOStreamString(text);
  MarlRenderer renderer = marl.createRenderer(out, document);
  ASSERT_TRUE(renderer);
  renderer.setNormalizing(1);
  long allocationsBefore = testhost::allocationsMade();
  {
    testhost::AllocationFailure failure;
    EXPECT_EQ(renderer.render(), 0);
  }
  EXPECT_EQ(testhost::allocationsMade(), allocationsBefore);
  EXPECT_EQ(text, L"<?xml version=\"1.0\"?>\n<a x=\"1\">\n <b>text</b>\n <!--c-->\n</a>\n");
}

TEST_F(RenderTest, ARendererAnswersItsInterface) {
  std::wstring text;
  MarlOStream out = factory.createOStreamString(text);
  MarlRenderer renderer = marl.createRenderer(out, document);
  ASSERT_TRUE(renderer);
  EXPECT_EQ(renderer._impl()->_queryClass(), 340u);
  EXPECT_NE(renderer._impl()->_queryInterface(1), nullptr);
  EXPECT_EQ(renderer._impl()->_queryInterface(341), nullptr);
  EXPECT_TRUE(MarlRenderer(static_cast<CUnknown*>(renderer)));
  EXPECT_FALSE(MarlRenderer(static_cast<CUnknown*>(out)));
  EXPECT_FALSE(MarlTokenRenderer(static_cast<CUnknown*>(renderer)));
}

// ---------------------------------------------------------------------------------------
// The document

TEST_F(RenderTest, ADocumentWritesItsDeclarationAndItsChildren) {
  document._impl()->appendChild(document.createComment(L"c"), 0);
  element(L"a", document);
  EXPECT_EQ(render(document), L"<?xml version=\"1.0\"?><!--c--><a/>");
  EXPECT_EQ(pretty(document), L"<?xml version=\"1.0\"?>\n<!--c-->\n<a/>\n");
}

TEST_F(RenderTest, TheVersionIsWrittenAsItStandsAndStandaloneAsYes) {
  document.setVersion(L"1.1");
  document.setStandalone(1);
  EXPECT_EQ(render(document), L"<?xml version=\"1.1\" standalone=\"yes\"?>");
}

TEST_F(RenderTest, ADocumentWithoutDeclarationWritesOnlyItsChildren) {
  document.setDeclaration(0);
  element(L"a", document);
  EXPECT_EQ(render(document), L"<a/>");
  EXPECT_EQ(pretty(document), L"<a/>\n");
}

TEST_F(RenderTest, TheDocumentAloneWritesOnlyItsDeclaration) {
  element(L"a", document);
  EXPECT_EQ(render(document, 0), L"<?xml version=\"1.0\"?>");
  EXPECT_EQ(pretty(document, 0), L"<?xml version=\"1.0\"?>\n");
  document.setDeclaration(0);
  EXPECT_EQ(render(document, 0), L"");
}

TEST_F(RenderTest, TheStreamsEncodingIsNamedInLowerCase) {
  element(L"a", document);
  EXPECT_EQ(renderDocument(L"ISO-8859-1"),
            L"<?xml version=\"1.0\" encoding=\"iso-8859-1\"?><a/>");
}

TEST_F(RenderTest, TheDocumentsEncodingGoesToAStreamWithoutOne) {
  document.setEncoding(encoding(L"iso-8859-1"));
  element(L"a", document);
  std::wstring text;
  MarlOStream out = factory.createOStreamString(text);
  document.render(out, 1);
  ASSERT_TRUE(out.getEncoding());
  EXPECT_EQ(out.getEncoding().getCharacterSet(), L"iso-8859-1");
  EXPECT_NE(static_cast<CUnknown*>(out.getEncoding()), static_cast<CUnknown*>(document.getEncoding()));
  EXPECT_EQ(text, L"<?xml version=\"1.0\" encoding=\"iso-8859-1\"?><a/>");
}

TEST_F(RenderTest, AStreamThatCannotTakeTheDocumentsEncodingForWantOfMemoryEndsTheRender) {
  document.setEncoding(encoding(L"iso-8859-1"));
  element(L"a", document);
  std::wstring text;
  MarlOStream out = factory.createOStreamString(text);
  {
    testhost::AllocationFailure failure;
    EXPECT_THROW(document.render(out, 1), std::bad_alloc);
  }
  EXPECT_FALSE(out.getEncoding());
  EXPECT_EQ(text, L"");
}

TEST_F(RenderTest, ADocumentKeepsACopyOfItsEncoding) {
  EXPECT_FALSE(document.getEncoding());
  MarlEncoding given = encoding(L"utf-16", MarlEncoding::BYTEORDER_BE);
  document.setEncoding(given);
  ASSERT_TRUE(document.getEncoding());
  EXPECT_NE(static_cast<CUnknown*>(document.getEncoding()), static_cast<CUnknown*>(given));
  given.setCharacterSet(L"ucs-4");
  EXPECT_EQ(document.getEncoding().getCharacterSet(), L"utf-16");
  EXPECT_EQ(document.getEncoding().getByteOrder(), MarlEncoding::BYTEORDER_BE);
  document.setEncoding(MarlEncoding());
  EXPECT_FALSE(document.getEncoding());
}

TEST_F(RenderTest, TheCloneOfADocumentHasACopyOfItsEncoding) {
  document.setEncoding(encoding(L"iso-8859-1"));
  MarlDocument copy(document.clone(-1));
  ASSERT_TRUE(copy);
  ASSERT_TRUE(copy.getEncoding());
  EXPECT_NE(static_cast<CUnknown*>(copy.getEncoding()), static_cast<CUnknown*>(document.getEncoding()));
  EXPECT_EQ(copy.getEncoding().getCharacterSet(), L"iso-8859-1");
}

TEST_F(RenderTest, ACloneThatCannotCopyTheEncodingIsNoCloneAndLeavesNothingBehind) {
  document.setEncoding(encoding(L"iso-8859-1"));
  element(L"a", document);
  long blocksBefore = testhost::outstandingBlocks();
  MarlNode copy;
  for (long failAt = 0; !copy; ++failAt) {
    ASSERT_LT(failAt, 1000);
    {
      testhost::AllocationFailure failure(failAt);
      copy = document.clone(-1);
    }
    if (!copy) {
      EXPECT_EQ(testhost::outstandingBlocks(), blocksBefore) << failAt;
    }
  }
  EXPECT_EQ(MarlDocument(copy).getEncoding().getCharacterSet(), L"iso-8859-1");
}

TEST_F(RenderTest, AStreamsOwnEncodingOutranksTheDocuments) {
  document.setEncoding(encoding(L"iso-8859-1"));
  element(L"a", document);
  EXPECT_EQ(renderDocument(L"utf-8"), L"<?xml version=\"1.0\" encoding=\"utf-8\"?><a/>");
}

TEST_F(RenderTest, TheUnicodeFormsWithoutOrderInTheNameGetAByteOrderMark) {
  for (wchar_t const* name : {L"utf-16", L"UTF-16", L"ucs-2", L"ucs-4", L"utf-32"}) {
    std::wstring expected = L"\xFEFF<?xml version=\"1.0\" encoding=\"";
    expected += toLower(name);
    expected += L"\"?>";
    EXPECT_EQ(renderDocument(name), expected) << MBString(name);
  }
}

TEST_F(RenderTest, OtherEncodingsGetNoByteOrderMark) {
  for (wchar_t const* name :
       {L"utf-8", L"utf-16le", L"utf-16be", L"ucs-2be", L"ucs-4le", L"iso-8859-1", L"us-ascii"}) {
    std::wstring expected = L"<?xml version=\"1.0\" encoding=\"";
    expected += name;
    expected += L"\"?>";
    EXPECT_EQ(renderDocument(name), expected) << MBString(name);
  }
}

TEST_F(RenderTest, TheByteOrderMarkIsWrittenAlsoWithoutDeclaration) {
  document.setDeclaration(0);
  element(L"a", document);
  EXPECT_EQ(renderDocument(L"utf-16"), L"\xFEFF<a/>");
}

TEST_F(RenderTest, TheMarkComesOutInTheStreamsByteOrder) {
  element(L"a", document);
  rawstring big = renderBytes(encoding(L"utf-16", MarlEncoding::BYTEORDER_BE));
  ASSERT_GE(big.size(), 4u);
  EXPECT_EQ(big.substr(0, 4), bytes({0xFE, 0xFF, 0x00, '<'}));
  rawstring little = renderBytes(encoding(L"utf-16", MarlEncoding::BYTEORDER_LE));
  ASSERT_GE(little.size(), 4u);
  EXPECT_EQ(little.substr(0, 4), bytes({0xFF, 0xFE, '<', 0x00}));
  rawstring eight = renderBytes(encoding(L"utf-8"));
  EXPECT_EQ(eight, bytes("<?xml version=\"1.0\" encoding=\"utf-8\"?><a/>"));
}

TEST_F(RenderTest, TheHostCodePageOfTheMomentWritesNoProlog) {
  element(L"a", document);
  std::wstring text;
  MarlOStream out = factory.createOStreamString(text);
  ASSERT_TRUE(out.setEncoding(encoding(L"orv-")));
  document.render(out, 1);
  EXPECT_EQ(text, L"<a/>");
  text.clear();
  document.render(out, 0);
  EXPECT_EQ(text, L"");
}

TEST_F(RenderTest, AnUnrepresentableCharacterCutsItsTextAndLeavesTheStreamEscaping) {
  appendText(element(L"r", document), L"a\x2603z");
  rawstring written = renderBytes(encoding(L"iso-8859-1"));
  // The failed write leaves its one-shot escaping set, and the renderer does not look: the end
  // tag that follows comes out escaped.
  EXPECT_EQ(written, bytes("<?xml version=\"1.0\" encoding=\"iso-8859-1\"?><r>&lt;/r>"));
}

TEST_F(RenderTest, AFullSinkCutsTheTextWhereItStoppedTakingIt) {
  appendText(element(L"r", document), L"some text");
  unsigned char buffer[30] = {};
  MarlOStream out = factory.createOStreamRawBuffer(buffer, buffer + sizeof(buffer));
  ASSERT_TRUE(out);
  MarlRenderer renderer = marl.createRenderer(out, document);
  ASSERT_TRUE(renderer);
  EXPECT_EQ(renderer.render(), 0);
  EXPECT_EQ(out.getNumWrittenRaw(), 30u);
  EXPECT_EQ(rawstring(buffer, buffer + sizeof(buffer)), bytes("<?xml version=\"1.0\"?><r>some t"));
}

// ---------------------------------------------------------------------------------------
// Elements

TEST_F(RenderTest, AnEmptyElementIsWrittenSelfClosed) {
  MarlElement a = element(L"a");
  EXPECT_EQ(render(a), L"<a/>");
  EXPECT_EQ(pretty(a), L"<a/>");
  EXPECT_EQ(render(a, 0), L"<a/>");
}

TEST_F(RenderTest, AnElementWithAnEmptyTextChildHasBothTags) {
  MarlElement a = element(L"a");
  appendText(a, L"");
  EXPECT_EQ(render(a), L"<a></a>");
  EXPECT_EQ(pretty(a), L"<a></a>");
}

TEST_F(RenderTest, AnElementWithOnlyTextStaysOnOneLine) {
  MarlElement a = element(L"a");
  appendText(a, L"x");
  EXPECT_EQ(pretty(a), L"<a>x</a>");
}

TEST_F(RenderTest, AnElementWithOnlyACDATASectionStaysOnOneLine) {
  MarlElement a = element(L"a");
  a._impl()->appendChild(document.createCDATASection(L" x "), 0);
  EXPECT_EQ(pretty(a), L"<a><![CDATA[ x ]]></a>");
}

TEST_F(RenderTest, AChildElementStandsOnALineOfItsOwnIndentedByOne) {
  MarlElement a = element(L"a");
  element(L"b", a);
  EXPECT_EQ(pretty(a), L"<a>\n <b/>\n</a>");
  EXPECT_EQ(render(a), L"<a><b/></a>");
}

TEST_F(RenderTest, EachLevelIndentsByOneIndentCharacter) {
  MarlElement a = element(L"a");
  MarlElement b = element(L"b", a);
  appendText(element(L"c", b), L"t");
  element(L"d", a);
  EXPECT_EQ(pretty(a), L"<a>\n <b>\n  <c>t</c>\n </b>\n <d/>\n</a>");
}

TEST_F(RenderTest, TheIndentCharacterIsTheStreams) {
  MarlElement a = element(L"a");
  element(L"b", element(L"b", a));
  std::wstring text;
  {
    MarlOStream out = factory.createOStreamString(text);
    out.setPrettyPrint(1);
    out.setIndentChar(L'\t');
    a.render(out, 1);
    EXPECT_EQ(out.getIndent(), 0u);
  }
  EXPECT_EQ(text, L"<a>\n\t<b>\n\t\t<b/>\n\t</b>\n</a>");
}

TEST_F(RenderTest, TextInMixedContentIsBrokenAcrossLines) {
  MarlElement p = element(L"p");
  appendText(p, L"one ");
  appendText(element(L"b", p), L"two");
  appendText(p, L" three");
  EXPECT_EQ(pretty(p), L"<p>\n one \n <b>two</b>\n  three\n</p>");
  EXPECT_EQ(render(p), L"<p>one <b>two</b> three</p>");
}

TEST_F(RenderTest, TwoTextChildrenAreNoTextOnlyContent) {
  MarlElement a = element(L"a");
  appendText(a, L"x");
  appendText(a, L"y");
  EXPECT_EQ(pretty(a), L"<a>\n x\n y\n</a>");
}

TEST_F(RenderTest, TheFlagZeroWritesBothTagsWithoutTheContent) {
  MarlElement a = element(L"a");
  a.setAttribute(L"x", L"", L"1");
  element(L"b", a);
  EXPECT_EQ(render(a, 0), L"<a x=\"1\"></a>");
  EXPECT_EQ(pretty(a, 0), L"<a x=\"1\"></a>");
}

TEST_F(RenderTest, ThePrefixIsWrittenInBothTags) {
  MarlElement a = document.createElement(L"a", L"p");
  element(L"b", a);
  EXPECT_EQ(render(a), L"<p:a><b/></p:a>");
}

TEST_F(RenderTest, AnElementIsWrittenWithThePrefixItWasGivenNotOneLookedUp) {
  MarlElement a = element(L"a");
  a.setAttributeNode(document.createNamespaceDecl(L"p", L"xmlns", L"urn:p"));
  MarlElement b = document.createElementNS(L"b", L"", L"urn:p");
  a._impl()->appendChild(b, 0);
  ASSERT_EQ(b.getNamespacePrefix(), L"p");
  EXPECT_EQ(render(a), L"<a xmlns:p=\"urn:p\"><b/></a>");
}

TEST_F(RenderTest, AttributesAreWrittenInTheOrderOfTheMap) {
  MarlElement a = element(L"a");
  a.setAttribute(L"y", L"", L"1");
  a.setAttribute(L"x", L"q", L"2");
  a.setAttribute(L"y", L"", L"3");
  EXPECT_EQ(render(a), L"<a y=\"3\" q:x=\"2\"/>");
}

TEST_F(RenderTest, ADefaultedAttributeIsLeftOut) {
  type._impl()->insertDefaultAttributeValue(L"a", L"", L"d", L"", L"dv");
  document.setDocumentType(type);
  MarlElement a = element(L"a", document);
  a.setAttribute(L"x", L"", L"1");
  MarlAttribute defaulted = a.getAttributeNode(L"d", L"");
  ASSERT_TRUE(defaulted);
  EXPECT_EQ(defaulted.getValue(), L"dv");
  EXPECT_FALSE(defaulted.specified());
  EXPECT_EQ(render(a), L"<a x=\"1\"/>");
  // Set explicitly, the same value is written.
  defaulted.setValue(L"dv");
  EXPECT_EQ(render(a), L"<a d=\"dv\" x=\"1\"/>");
}

TEST_F(RenderTest, AnAttributeValueWithBothQuotesIsDelimitedByDoubleQuotes) {
  MarlElement a = element(L"a");
  a.setAttribute(L"v", L"", L"it's \"so\"");
  EXPECT_EQ(render(a), L"<a v=\"it&apos;s &quot;so&quot;\"/>");
}

TEST_F(RenderTest, AnAttributeValueWithDoubleQuotesOnlyIsDelimitedBySingleQuotes) {
  MarlElement a = element(L"a");
  a.setAttribute(L"v", L"", L"a\"b");
  a.setAttribute(L"w", L"", L"a'b");
  // Without a no-escaping list every quote is replaced, the delimiter or not.
  EXPECT_EQ(render(a), L"<a v='a&quot;b' w=\"a&apos;b\"/>");
}

TEST_F(RenderTest, QuotesListedAsNotEscapedStayUnlessTheyDelimit) {
  MarlElement root = element(L"a", document);
  root.setAttribute(L"v", L"", L"a\"b");
  root.setAttribute(L"w", L"", L"a'\"b");
  std::wstring text;
  MarlOStream out = factory.createOStreamString(text);
  MarlRenderer renderer = marl.createRenderer(out, document);
  ASSERT_TRUE(renderer);
  renderer.setNoEscaping(L"\"'");
  EXPECT_EQ(renderer.render(), 0);
  EXPECT_EQ(text, L"<?xml version=\"1.0\"?><a v='a\"b' w=\"a'&quot;b\"/>");
}

TEST_F(RenderTest, MarkupInAnAttributeValueIsEscaped) {
  MarlElement a = element(L"a");
  a.setAttribute(L"v", L"", L"<&>");
  EXPECT_EQ(render(a), L"<a v=\"&lt;&amp;&gt;\"/>");
}

// ---------------------------------------------------------------------------------------
// Attributes and namespace declarations

TEST_F(RenderTest, AnAttributeWritesNameEqualsQuotedValue) {
  MarlAttribute x = document.createAttribute(L"x", L"p");
  x.setValue(L"1");
  EXPECT_EQ(render(x), L"p:x=\"1\"");
  EXPECT_EQ(render(x, 0), L"p:x=\"1\"");
}

TEST_F(RenderTest, AnAttributeNotSpecifiedWritesNothing) {
  MarlAttribute x = document.createAttribute(L"x", L"");
  ASSERT_FALSE(x.specified());
  EXPECT_EQ(render(x), L"");
}

TEST_F(RenderTest, NamespaceDeclarationsAreWrittenLikeAttributes) {
  MarlNamespaceDecl byDefault = document.createNamespaceDecl(L"xmlns", L"", L"urn:d");
  MarlNamespaceDecl prefixed = document.createNamespaceDecl(L"p", L"xmlns", L"urn:\"p\"");
  EXPECT_EQ(render(byDefault), L"xmlns=\"urn:d\"");
  EXPECT_EQ(render(prefixed), L"xmlns:p='urn:&quot;p&quot;'");
}

TEST_F(RenderTest, ANamespaceDeclarationIsWrittenWhateverItsSpecifiedFlag) {
  MarlNamespaceDecl declaration = document.createNamespaceDecl(L"xmlns", L"", L"urn:d");
  declaration._impl()->specified = 0;
  EXPECT_EQ(render(declaration), L"xmlns=\"urn:d\"");
  MarlElement a = element(L"a");
  a.setAttributeNode(declaration);
  // The element asks the flag before it lets the declaration write itself.
  EXPECT_EQ(render(a), L"<a/>");
}

// ---------------------------------------------------------------------------------------
// Character data, processing instructions, references and fragments

TEST_F(RenderTest, TextIsWrittenEscapedAndUnquoted) {
  MarlText text = document.createText(L"a < b & \"c\"");
  EXPECT_EQ(render(text), L"a &lt; b &amp; &quot;c&quot;");
  EXPECT_EQ(pretty(text, 0), L"a &lt; b &amp; &quot;c&quot;");
}

TEST_F(RenderTest, ACommentIsWrittenUnescaped) {
  MarlComment comment = document.createComment(L" a<b & c ");
  EXPECT_EQ(render(comment), L"<!-- a<b & c -->");
  EXPECT_EQ(pretty(comment), L"<!-- a<b & c -->");
}

TEST_F(RenderTest, ACommentOfTheExternalSubsetWritesNothing) {
  MarlComment comment = document.createComment(L"c");
  comment.setExternal(1);
  EXPECT_EQ(render(comment), L"");
}

TEST_F(RenderTest, ACDATASectionIsWrittenUnescapedWithoutSplittingItsEnd) {
  EXPECT_EQ(render(document.createCDATASection(L"a<&b")), L"<![CDATA[a<&b]]>");
  EXPECT_EQ(render(document.createCDATASection(L"x]]>y")), L"<![CDATA[x]]>y]]>");
}

TEST_F(RenderTest, AnEntityReferenceIsWrittenAsReference) {
  EXPECT_EQ(render(document.createEntityRef(L"e")), L"&e;");
}

TEST_F(RenderTest, AnExpandedEntityReferenceWritesOnlyItself) {
  MarlEntityRef reference = document.createEntityRef(L"e");
  appendText(reference, L"expansion");
  element(L"b", reference);
  EXPECT_EQ(render(reference), L"&e;");
  EXPECT_EQ(pretty(reference), L"&e;");
  MarlElement a = element(L"a");
  a._impl()->appendChild(reference, 0);
  EXPECT_EQ(render(a), L"<a>&e;</a>");
}

TEST_F(RenderTest, AnUnparsedInstructionWritesItsDataAsItStands) {
  EXPECT_EQ(render(document.createPIUnparsed(L"target", L" a=\"<&\"")), L"<?target a=\"<&\"?>");
  EXPECT_EQ(render(document.createPIUnparsed(L"target", L"data")), L"<?targetdata?>");
  EXPECT_EQ(render(document.createPIUnparsed(L"target", L"")), L"<?target?>");
}

TEST_F(RenderTest, AnUnparsedInstructionOfTheExternalSubsetWritesNothing) {
  MarlPIUnparsed instruction = document.createPIUnparsed(L"t", L" d");
  instruction.setExternal(1);
  EXPECT_EQ(render(instruction), L"");
}

TEST_F(RenderTest, AParsedInstructionWritesItsPseudoAttributes) {
  MarlPIParsed instruction = document.createPIParsed(L"xml-stylesheet");
  EXPECT_EQ(render(instruction), L"<?xml-stylesheet?>");
  instruction.setAttribute(L"href", L"a.xsl");
  instruction.setAttribute(L"type", L"text/\"xsl\"");
  EXPECT_EQ(render(instruction), L"<?xml-stylesheet href=\"a.xsl\" type='text/&quot;xsl&quot;'?>");
  EXPECT_EQ(pretty(instruction, 0), L"<?xml-stylesheet href=\"a.xsl\" type='text/&quot;xsl&quot;'?>");
}

TEST_F(RenderTest, AFragmentWritesItsChildrenLikeElementContent) {
  MarlDocumentFragment fragment = document.createDocumentFragment();
  appendText(fragment, L"x");
  element(L"b", element(L"a", fragment));
  EXPECT_EQ(render(fragment), L"x<a><b/></a>");
  EXPECT_EQ(pretty(fragment), L"x\n<a>\n <b/>\n</a>");
  EXPECT_EQ(render(fragment, 0), L"");
}

TEST_F(RenderTest, AnEmptyStreamTakesNothingInEveryClass) {
  MarlElement a = element(L"a", document);
  appendText(a, L"t");
  MarlDocumentFragment fragment = document.createDocumentFragment();
  MarlAttribute specifiedAttribute = document.createAttribute(L"x", L"");
  specifiedAttribute.setValue(L"v");
  MarlEntityDecl entity = type.createIntEntityDecl(0, L"e", L"v");
  MarlAttListDecl list = type.createAttListDecl(L"a", L"");
  list.appendChild(attributeDecl(L"x", MarlAttributeDecl::VT_CDATA, MarlAttributeDecl::AD_IMPLIED), 0);
  MarlElementDecl declaration = type.createElementDecl(L"a", L"");
  declaration.setContentSpec(MarlElementDecl::CS_CHILDREN);
  declaration.addContentParticle(leaf(L"b"));
  MarlNode nodes[] = {document,
                      a,
                      document.createText(L"t"),
                      document.createComment(L"c"),
                      document.createCDATASection(L"d"),
                      document.createEntityRef(L"e"),
                      document.createPIUnparsed(L"p", L" d"),
                      document.createPIParsed(L"p"),
                      fragment,
                      specifiedAttribute,
                      document.createNamespaceDecl(L"xmlns", L"", L"u"),
                      type,
                      declaration,
                      leaf(L"b"),
                      list,
                      attributeDecl(L"x", MarlAttributeDecl::VT_ID, MarlAttributeDecl::AD_REQUIRED),
                      entity,
                      type.createNotationDecl(L"n", L"s", L""),
                      type.createCondDTDSection(1)};
  long allocationsBefore = testhost::allocationsMade();
  for (MarlNode const& node : nodes) {
    node.render(MarlOStream(), 1);
    node.render(MarlOStream(), 0);
  }
  EXPECT_EQ(testhost::allocationsMade(), allocationsBefore);
  EXPECT_FALSE(a._impl()->attributes);
}

// ---------------------------------------------------------------------------------------
// The document type and its declarations

TEST_F(RenderTest, ADocumentTypeWithoutDeclarationsIsItsHeadAndABlankAfterTheBracket) {
  EXPECT_EQ(render(type), L"<!DOCTYPE doc> ");
  EXPECT_EQ(pretty(type), L"<!DOCTYPE doc> \n");
}

TEST_F(RenderTest, ADocumentTypeNamesItsExternalSubset) {
  type.setSystemId(L"doc.dtd");
  EXPECT_EQ(render(type), L"<!DOCTYPE doc SYSTEM \"doc.dtd\"> ");
  type.setPublicId(L"-//Marl//Doc//EN");
  EXPECT_EQ(render(type), L"<!DOCTYPE doc PUBLIC \"-//Marl//Doc//EN\" \"doc.dtd\"> ");
}

TEST_F(RenderTest, APublicIdentifierWithoutSystemIdentifierIsNotWritten) {
  type.setPublicId(L"-//Marl//Doc//EN");
  EXPECT_EQ(render(type), L"<!DOCTYPE doc> ");
}

TEST_F(RenderTest, ADocumentTypeNameMayHaveAPrefix) {
  type.setNamespacePrefix(L"p");
  EXPECT_EQ(render(type), L"<!DOCTYPE p:doc> ");
}

TEST_F(RenderTest, ADocumentTypeThatIsNotExplicitWritesNothing) {
  type.appendChild(type.createNotationDecl(L"n", L"s", L""), 0);
  type.setExplicit(0);
  EXPECT_EQ(render(type), L"");
  EXPECT_EQ(pretty(type), L"");
}

TEST_F(RenderTest, TheInternalSubsetStandsInBrackets) {
  MarlElementDecl declaration = type.createElementDecl(L"doc", L"");
  declaration.setContentSpec(MarlElementDecl::CS_EMPTY);
  type.appendChild(declaration, 0);
  type.appendChild(type.createIntEntityDecl(0, L"e", L"v"), 0);
  EXPECT_EQ(render(type), L"<!DOCTYPE doc [<!ELEMENT doc EMPTY><!ENTITY e \"v\">]> ");
  // The closing bracket stands at the inner indentation.
  EXPECT_EQ(pretty(type), L"<!DOCTYPE doc [\n <!ELEMENT doc EMPTY>\n <!ENTITY e \"v\">\n ]> \n");
  EXPECT_EQ(render(type, 0), L"<!DOCTYPE doc> ");
}

TEST_F(RenderTest, TheExternalSubsetIsNeverWritten) {
  MarlElementDecl external = type.createElementDecl(L"doc", L"");
  external.setContentSpec(MarlElementDecl::CS_ANY);
  external.setExternal(1);
  MarlComment comment = document.createComment(L"from outside");
  comment.setExternal(1);
  MarlPIParsed instruction = document.createPIParsed(L"p");
  instruction.setExternal(1);
  type.appendChild(external, 0);
  type.appendChild(comment, 0);
  type.appendChild(instruction, 0);
  type.setSystemId(L"doc.dtd");
  EXPECT_EQ(render(type), L"<!DOCTYPE doc SYSTEM \"doc.dtd\"> ");
  MarlNotationDecl internal = type.createNotationDecl(L"n", L"n.exe", L"");
  type.appendChild(internal, 0);
  EXPECT_EQ(render(type), L"<!DOCTYPE doc SYSTEM \"doc.dtd\" [<!NOTATION n SYSTEM \"n.exe\">]> ");
}

TEST_F(RenderTest, AnExpandedDocumentWritesWhatCameFromTheExternalSubset) {
  MarlElementDecl external = type.createElementDecl(L"doc", L"");
  external.setContentSpec(MarlElementDecl::CS_ANY);
  external.setExternal(1);
  type.appendChild(external, 0);
  type.setSystemId(L"doc.dtd");
  document.setDocumentType(type);
  element(L"doc", document);
  document.setDeclaration(0);
  EXPECT_EQ(render(document), L"<!DOCTYPE doc SYSTEM \"doc.dtd\"> <doc/>");
  document.expand();
  EXPECT_EQ(render(document), L"<!DOCTYPE doc [<!ELEMENT doc ANY>]> <doc/>");
}

TEST_F(RenderTest, AWholeDocumentWithItsInternalSubset) {
  MarlElementDecl doc = type.createElementDecl(L"doc", L"");
  doc.setContentSpec(MarlElementDecl::CS_CHILDREN);
  doc.addContentParticle(group(MarlContentParticle::GROUP_SEQUENCE,
                               MarlContentParticle::OCC_ONE,
                               {leaf(L"title"), leaf(L"item", MarlContentParticle::OCC_ZERO_OR_MORE)}));
  type.appendChild(doc, 0);
  MarlAttListDecl list = type.createAttListDecl(L"doc", L"");
  list.appendChild(attributeDecl(L"id", MarlAttributeDecl::VT_ID, MarlAttributeDecl::AD_REQUIRED), 0);
  list.appendChild(attributeDecl(L"lang", MarlAttributeDecl::VT_NMTOKEN, MarlAttributeDecl::AD_VALUE,
                                 L"en"),
                   0);
  type.appendChild(list, 0);
  type.appendChild(type.createIntEntityDecl(0, L"who", L"Marl"), 0);
  document.setDocumentType(type);
  MarlElement root = element(L"doc", document);
  root.setAttribute(L"id", L"", L"d1");
  appendText(element(L"title", root), L"T");
  root._impl()->appendChild(document.createEntityRef(L"who"), 0);

  EXPECT_EQ(pretty(document),
            L"<?xml version=\"1.0\"?>\n"
            L"<!DOCTYPE doc [\n"
            L" <!ELEMENT doc (title, item*)>\n"
            L" <!ATTLIST doc\n"
            L"           id ID #REQUIRED\n"
            L"           lang NMTOKEN \"en\">\n"
            L" <!ENTITY who \"Marl\">\n"
            L" ]> \n"
            L"\n"
            L"<doc id=\"d1\">\n"
            L" <title>T</title>\n"
            L" &who;\n"
            L"</doc>\n");
  EXPECT_EQ(render(document),
            L"<?xml version=\"1.0\"?><!DOCTYPE doc [<!ELEMENT doc (title, item*)>"
            L"<!ATTLIST doc id ID #REQUIRED lang NMTOKEN \"en\"><!ENTITY who \"Marl\">]> "
            L"<doc id=\"d1\"><title>T</title>&who;</doc>");
}

TEST_F(RenderTest, AnElementDeclarationWritesItsContentModel) {
  MarlElementDecl declaration = type.createElementDecl(L"a", L"");
  EXPECT_EQ(render(declaration), L"<!ELEMENT a>");
  declaration.setContentSpec(MarlElementDecl::CS_EMPTY);
  EXPECT_EQ(render(declaration), L"<!ELEMENT a EMPTY>");
  EXPECT_EQ(pretty(declaration), L"<!ELEMENT a EMPTY>\n");
  declaration.setContentSpec(MarlElementDecl::CS_ANY);
  EXPECT_EQ(render(declaration), L"<!ELEMENT a ANY>");
  declaration.setContentSpec(MarlElementDecl::CS_CHILDREN);
  EXPECT_EQ(render(declaration), L"<!ELEMENT a>");
  declaration.addContentParticle(group(MarlContentParticle::GROUP_SEQUENCE,
                                       MarlContentParticle::OCC_ZERO_OR_MORE, {leaf(L"b"), leaf(L"c")}));
  EXPECT_EQ(render(declaration), L"<!ELEMENT a (b, c)*>");
  EXPECT_EQ(render(declaration, 0), L"<!ELEMENT a (b, c)*>");
}

TEST_F(RenderTest, AMixedContentModelIsWrittenWithBars) {
  MarlElementDecl declaration = type.createElementDecl(L"p", L"x");
  declaration.setContentSpec(MarlElementDecl::CS_MIXED);
  MarlContentParticle pcdata = leaf(L"#PCDATA");
  MarlContentParticle b = type.createContentParticle(L"b", L"", MarlContentParticle::OCC_ONE,
                                                     MarlContentParticle::GROUP_CHOICE);
  declaration.addContentParticle(group(MarlContentParticle::GROUP_CHOICE,
                                       MarlContentParticle::OCC_ZERO_OR_MORE, {pcdata, b}));
  EXPECT_EQ(render(declaration), L"<!ELEMENT x:p (#PCDATA | b)*>");
}

TEST_F(RenderTest, TheDeclarationsOwnOccurrenceIsNotWritten) {
  MarlElementDecl declaration = type.createElementDecl(L"a", L"");
  declaration.setContentSpec(MarlElementDecl::CS_CHILDREN);
  declaration.setOccurrence(MarlContentParticle::OCC_ONE_OR_MORE);
  declaration.addContentParticle(leaf(L"b", MarlContentParticle::OCC_OPTIONAL));
  EXPECT_EQ(render(declaration), L"<!ELEMENT a b?>");
}

TEST_F(RenderTest, AnElementDeclarationOfTheExternalSubsetWritesNothing) {
  MarlElementDecl declaration = type.createElementDecl(L"a", L"");
  declaration.setContentSpec(MarlElementDecl::CS_EMPTY);
  declaration.setExternal(1);
  EXPECT_EQ(render(declaration), L"");
}

TEST_F(RenderTest, ContentParticlesHaveBlanksAroundTheBarAndAfterTheComma) {
  EXPECT_EQ(render(leaf(L"a", MarlContentParticle::OCC_ONE_OR_MORE)), L"a+");
  EXPECT_EQ(render(type.createContentParticle(L"a", L"p", MarlContentParticle::OCC_ONE,
                                              MarlContentParticle::GROUP_SEQUENCE)),
            L"p:a");
  EXPECT_EQ(render(group(MarlContentParticle::GROUP_CHOICE, MarlContentParticle::OCC_ONE_OR_MORE,
                         {leaf(L"a"), leaf(L"b")})),
            L"(a | b)+");
  EXPECT_EQ(render(group(MarlContentParticle::GROUP_SEQUENCE, MarlContentParticle::OCC_ONE,
                         {leaf(L"a"), leaf(L"b")})),
            L"(a, b)");
  MarlContentParticle nested =
      group(MarlContentParticle::GROUP_SEQUENCE, MarlContentParticle::OCC_OPTIONAL,
            {group(MarlContentParticle::GROUP_CHOICE, MarlContentParticle::OCC_ZERO_OR_MORE,
                   {leaf(L"a"), leaf(L"b")}),
             leaf(L"c", MarlContentParticle::OCC_ONE_OR_MORE)});
  EXPECT_EQ(render(nested), L"((a | b)*, c+)?");
  EXPECT_EQ(pretty(nested), L"((a | b)*, c+)?");
}

TEST_F(RenderTest, AParticleWithoutNameOrMembersIsAnEmptyGroup) {
  EXPECT_EQ(render(leaf(L"")), L"()");
  EXPECT_EQ(render(leaf(L"", MarlContentParticle::OCC_OPTIONAL)), L"()?");
}

TEST_F(RenderTest, AnAttributeListPutsEachAttributeOnALineWhenPrettyPrinting) {
  MarlAttListDecl list = type.createAttListDecl(L"a", L"p");
  list.appendChild(attributeDecl(L"x", MarlAttributeDecl::VT_CDATA, MarlAttributeDecl::AD_IMPLIED), 0);
  list.appendChild(attributeDecl(L"y", MarlAttributeDecl::VT_ID, MarlAttributeDecl::AD_REQUIRED), 0);
  EXPECT_EQ(render(list), L"<!ATTLIST p:a x CDATA #IMPLIED y ID #REQUIRED>");
  EXPECT_EQ(pretty(list),
            L"<!ATTLIST p:a\n          x CDATA #IMPLIED\n          y ID #REQUIRED>\n");
  EXPECT_EQ(render(list, 0), L"<!ATTLIST p:a>");
  EXPECT_EQ(render(type.createAttListDecl(L"b", L"")), L"<!ATTLIST b>");
}

TEST_F(RenderTest, AnAttributeListOfTheExternalSubsetWritesNothing) {
  MarlAttListDecl list = type.createAttListDecl(L"a", L"");
  list.appendChild(attributeDecl(L"x", MarlAttributeDecl::VT_CDATA, MarlAttributeDecl::AD_IMPLIED), 0);
  list.setExternal(1);
  EXPECT_EQ(render(list), L"");
}

TEST_F(RenderTest, AnAttributeDeclarationWritesEveryValueType) {
  struct Case {
    MarlAttributeDecl::ValueType valueType;
    wchar_t const* written;
  };
  for (Case const& c : {Case{MarlAttributeDecl::VT_CDATA, L"x CDATA #IMPLIED"},
                        Case{MarlAttributeDecl::VT_ID, L"x ID #IMPLIED"},
                        Case{MarlAttributeDecl::VT_IDREF, L"x IDREF #IMPLIED"},
                        Case{MarlAttributeDecl::VT_IDREFS, L"x IDREFS #IMPLIED"},
                        Case{MarlAttributeDecl::VT_ENTITY, L"x ENTITY #IMPLIED"},
                        Case{MarlAttributeDecl::VT_ENTITIES, L"x ENTITIES #IMPLIED"},
                        Case{MarlAttributeDecl::VT_NMTOKEN, L"x NMTOKEN #IMPLIED"},
                        Case{MarlAttributeDecl::VT_NMTOKENS, L"x NMTOKENS #IMPLIED"},
                        Case{MarlAttributeDecl::VT_NOTATION, L"x NOTATION () #IMPLIED"},
                        Case{MarlAttributeDecl::VT_ENUMERATION, L"x () #IMPLIED"},
                        Case{static_cast<MarlAttributeDecl::ValueType>(0), L"x #IMPLIED"},
                        Case{static_cast<MarlAttributeDecl::ValueType>(11), L"x #IMPLIED"}}) {
    EXPECT_EQ(render(attributeDecl(L"x", c.valueType, MarlAttributeDecl::AD_IMPLIED)), c.written)
        << static_cast<int>(c.valueType);
  }
}

TEST_F(RenderTest, EnumeratedValuesAreJoinedWithoutBlanks) {
  MarlAttributeDecl choice = type.createAttributeDecl(L"x", L"p");
  choice.setValueType(MarlAttributeDecl::VT_ENUMERATION);
  choice.addEnumValue(L"x");
  choice.addEnumValue(L"y");
  choice.addEnumValue(L"z");
  choice.setAttrDefault(MarlAttributeDecl::AD_VALUE);
  choice.setDefaultValue(L"y");
  EXPECT_EQ(render(choice), L"p:x (x|y|z) \"y\"");
  MarlAttributeDecl notation = type.createAttributeDecl(L"n", L"");
  notation.setValueType(MarlAttributeDecl::VT_NOTATION);
  notation.addEnumValue(L"gif");
  notation.addEnumValue(L"png");
  notation.setAttrDefault(MarlAttributeDecl::AD_REQUIRED);
  EXPECT_EQ(render(notation), L"n NOTATION (gif|png) #REQUIRED");
}

TEST_F(RenderTest, AnAttributeDeclarationWritesItsDefault) {
  using D = MarlAttributeDecl;
  EXPECT_EQ(render(attributeDecl(L"x", D::VT_CDATA, D::AD_IMPLIED)), L"x CDATA #IMPLIED");
  EXPECT_EQ(render(attributeDecl(L"x", D::VT_CDATA, D::AD_REQUIRED)), L"x CDATA #REQUIRED");
  EXPECT_EQ(render(attributeDecl(L"x", D::VT_CDATA, D::AD_VALUE)), L"x CDATA \"\"");
  EXPECT_EQ(render(attributeDecl(L"x", D::VT_CDATA, D::AD_FIXED)), L"x CDATA");
  EXPECT_EQ(render(attributeDecl(L"x", D::VT_CDATA, D::AD_VALUE, L"v")), L"x CDATA \"v\"");
  EXPECT_EQ(render(attributeDecl(L"x", D::VT_CDATA, D::AD_IMPLIED, L"v")), L"x CDATA \"v\"");
  EXPECT_EQ(render(attributeDecl(L"x", D::VT_CDATA, D::AD_REQUIRED, L"v")), L"x CDATA \"v\"");
  EXPECT_EQ(render(attributeDecl(L"x", D::VT_CDATA, D::AD_FIXED, L"v")), L"x CDATA #FIXED \"v\"");
}

TEST_F(RenderTest, ADefaultValueIsQuotedAndEscaped) {
  using D = MarlAttributeDecl;
  EXPECT_EQ(render(attributeDecl(L"x", D::VT_CDATA, D::AD_VALUE, L"a<&\"b\"")),
            L"x CDATA 'a&lt;&amp;&quot;b&quot;'");
}

TEST_F(RenderTest, AnInternalEntityIsWrittenWithItsValueUnescaped) {
  EXPECT_EQ(render(type.createIntEntityDecl(0, L"e", L"a &amp; <b/>")),
            L"<!ENTITY e \"a &amp; <b/>\">");
  EXPECT_EQ(pretty(type.createIntEntityDecl(0, L"e", L"v")), L"<!ENTITY e \"v\">\n");
  EXPECT_EQ(render(type.createIntEntityDecl(0, L"q", L"say \"hi\"")), L"<!ENTITY q 'say \"hi\"'>");
  EXPECT_EQ(render(type.createIntEntityDecl(0, L"empty", L"")), L"<!ENTITY empty \"\">");
}

TEST_F(RenderTest, ALoneMarkupCharacterValueBecomesACharacterReference) {
  EXPECT_EQ(render(type.createIntEntityDecl(0, L"lt", L"<")), L"<!ENTITY lt \"&#60;\">");
  EXPECT_EQ(render(type.createIntEntityDecl(0, L"gt", L">")), L"<!ENTITY gt \"&#62;\">");
  EXPECT_EQ(render(type.createIntEntityDecl(0, L"amp", L"&")), L"<!ENTITY amp \"&#38;\">");
  EXPECT_EQ(render(type.createIntEntityDecl(0, L"x", L"<a")), L"<!ENTITY x \"<a\">");
  EXPECT_EQ(render(type.createIntEntityDecl(0, L"y", L"\"")), L"<!ENTITY y '\"'>");
}

TEST_F(RenderTest, AParameterEntityHasAPercentSign) {
  EXPECT_EQ(render(type.createIntEntityDecl(1, L"p", L"v")), L"<!ENTITY % p \"v\">");
}

TEST_F(RenderTest, AnExternalEntityNamesItsIdentifiers) {
  EXPECT_EQ(render(type.createExtEntityDecl(0, L"e", L"e.xml", L"", L"")),
            L"<!ENTITY e SYSTEM \"e.xml\">");
  EXPECT_EQ(render(type.createExtEntityDecl(1, L"p", L"p.dtd", L"-//P//EN", L"")),
            L"<!ENTITY % p PUBLIC \"-//P//EN\" \"p.dtd\">");
  EXPECT_EQ(render(type.createExtEntityDecl(0, L"e", L"", L"-//E//EN", L"")),
            L"<!ENTITY e PUBLIC \"-//E//EN\" \"\">");
}

TEST_F(RenderTest, AnUnparsedEntityNamesItsNotation) {
  EXPECT_EQ(render(type.createExtEntityDecl(0, L"pic", L"pic.gif", L"-//Pic//EN", L"gif")),
            L"<!ENTITY pic PUBLIC \"-//Pic//EN\" \"pic.gif\" NDATA gif>");
  EXPECT_EQ(render(type.createExtEntityDecl(0, L"pic", L"pic.gif", L"", L"gif")),
            L"<!ENTITY pic SYSTEM \"pic.gif\" NDATA gif>");
}

TEST_F(RenderTest, AnEntityOfTheExternalSubsetWritesNothing) {
  MarlEntityDecl entity = type.createIntEntityDecl(0, L"e", L"v");
  entity.setExternal(1);
  EXPECT_EQ(render(entity), L"");
}

TEST_F(RenderTest, ANotationMayNameAPublicIdentifierAlone) {
  EXPECT_EQ(render(type.createNotationDecl(L"n", L"n.exe", L"")), L"<!NOTATION n SYSTEM \"n.exe\">");
  EXPECT_EQ(render(type.createNotationDecl(L"n", L"", L"-//N//EN")), L"<!NOTATION n PUBLIC \"-//N//EN\">");
  EXPECT_EQ(render(type.createNotationDecl(L"n", L"n.exe", L"-//N//EN")),
            L"<!NOTATION n PUBLIC \"-//N//EN\" \"n.exe\">");
  EXPECT_EQ(pretty(type.createNotationDecl(L"n", L"", L"")), L"<!NOTATION n SYSTEM \"\">\n");
}

TEST_F(RenderTest, ANotationOfTheExternalSubsetWritesNothing) {
  MarlNotationDecl notation = type.createNotationDecl(L"n", L"n.exe", L"");
  notation.setExternal(1);
  EXPECT_EQ(render(notation), L"");
}

TEST_F(RenderTest, AnIncludeSectionWritesItsDeclarations) {
  MarlCondDTDSection section = type.createCondDTDSection(1);
  section.appendChild(type.createIntEntityDecl(0, L"e", L"v"), 0);
  section.appendChild(type.createNotationDecl(L"n", L"s", L""), 0);
  EXPECT_EQ(render(section), L"<![INCLUDE[<!ENTITY e \"v\"><!NOTATION n SYSTEM \"s\">]]>");
  EXPECT_EQ(pretty(section), L"<![INCLUDE[\n <!ENTITY e \"v\">\n <!NOTATION n SYSTEM \"s\">\n ]]>\n");
  EXPECT_EQ(render(section, 0), L"<![INCLUDE[]]>");
}

TEST_F(RenderTest, AnIgnoreSectionWritesItsText) {
  MarlCondDTDSection section = type.createCondDTDSection(0);
  section.setValue(L"<!ELEMENT gone ANY>");
  EXPECT_EQ(render(section), L"<![IGNORE[<!ELEMENT gone ANY>]]>");
  EXPECT_EQ(render(section, 0), L"<![IGNORE[<!ELEMENT gone ANY>]]>");
  EXPECT_EQ(pretty(section), L"<![IGNORE[\n <!ELEMENT gone ANY>]]>\n");
}

TEST_F(RenderTest, ASectionOfTheExternalSubsetWritesNothing) {
  MarlCondDTDSection section = type.createCondDTDSection(1);
  section.appendChild(type.createIntEntityDecl(0, L"e", L"v"), 0);
  section.setExternal(1);
  EXPECT_EQ(render(section), L"");
}

// ---------------------------------------------------------------------------------------
// Round trips through the encodings

namespace {

// Text beyond ASCII in three scripts, the sign of the euro and a snowman.
wchar_t const c_worldText[] = L"Gr\x00FC\x00DF" L"e \x03A9\x03BC\x03AD\x03B3\x03B1 "
                              L"\x65E5\x672C \x20AC \x2603";
wchar_t const c_latinText[] = L"Gr\x00FC\x00DF" L"e, d\x00E9j\x00E0 vu \x00A9";

}  // namespace

class RoundTrip : public RenderTest {
 protected:
  void build(std::wstring const& text) {
    MarlElement root = element(L"r\x00E9sum\x00E9", document);
    root.setAttribute(L"title", L"", text);
    appendText(element(L"p", root), text);
    root._impl()->appendChild(document.createComment(text), 0);
  }

  // Renders in the encoding, decodes the bytes and compares with the characters the renderer
  // gives a stream that encodes nothing.
  void expectRoundTrip(std::wstring const& name, MarlEncoding::ByteOrder order) {
    SCOPED_TRACE(MBString(name));
    MarlEncoding target = encoding(name, order);
    rawstring written = renderBytes(target);
    ASSERT_FALSE(written.empty());
    EXPECT_EQ(decode(written, target), renderDocument(name));
  }
};

TEST_F(RoundTrip, NonAsciiTextComesBackFromEveryUnicodeForm) {
  build(c_worldText);
  std::wstring characters = renderDocument(L"utf-8");
  ASSERT_NE(characters.find(c_worldText), std::wstring::npos);
  expectRoundTrip(L"utf-8", MarlEncoding::BYTEORDER_LE);
  expectRoundTrip(L"utf-16", MarlEncoding::BYTEORDER_BE);
  expectRoundTrip(L"utf-16", MarlEncoding::BYTEORDER_LE);
  expectRoundTrip(L"utf-16be", MarlEncoding::BYTEORDER_BE);
  expectRoundTrip(L"utf-16le", MarlEncoding::BYTEORDER_LE);
  expectRoundTrip(L"ucs-2", MarlEncoding::BYTEORDER_BE);
  expectRoundTrip(L"ucs-2", MarlEncoding::BYTEORDER_LE);
  expectRoundTrip(L"ucs-4", MarlEncoding::BYTEORDER_BE);
  expectRoundTrip(L"ucs-4", MarlEncoding::BYTEORDER_LE);
}

TEST_F(RoundTrip, LatinTextComesBackFromIso8859One) {
  build(c_latinText);
  rawstring written = renderBytes(encoding(L"iso-8859-1"));
  // One byte per character: the e with acute accent of the element name is 0xE9.
  EXPECT_NE(written.find(bytes({'<', 'r', 0xE9, 's', 'u', 'm', 0xE9})), rawstring::npos);
  expectRoundTrip(L"iso-8859-1", MarlEncoding::BYTEORDER_LE);
}

TEST_F(RoundTrip, AReaderThatDetectsTheEncodingSkipsTheMark) {
  build(c_worldText);
  rawstring written = renderBytes(encoding(L"utf-16", MarlEncoding::BYTEORDER_BE));
  MarlIStream in = factory.createIStreamRawString(written);
  std::wstring text = readAll(in);
  ASSERT_TRUE(in.getEncoding());
  EXPECT_EQ(renderDocument(L"utf-16"), L"\xFEFF" + text);
}

TEST_F(RoundTrip, TheUtf8FormIsTheExpectedBytes) {
  appendText(element(L"a", document), L"\x00E9\x20AC");
  EXPECT_EQ(renderBytes(encoding(L"utf-8")),
            bytes("<?xml version=\"1.0\" encoding=\"utf-8\"?><a>\xC3\xA9\xE2\x82\xAC</a>"));
}

// ---------------------------------------------------------------------------------------
// Trees deeper than the call stack could follow

namespace {

constexpr unsigned int c_chainLength = 100000;

class DeepRender : public RenderTest {
 protected:
  // A chain of elements "a" below `top`, each the only child of the one before.
  void chainBelow(MarlNode const& top, unsigned int length) {
    MarlNode parent = top;
    for (unsigned int i = 0; i < length; ++i) parent = element(L"a", parent);
  }

  static std::wstring repeated(std::wstring const& text, unsigned int count) {
    std::wstring all;
    for (unsigned int i = 0; i < count; ++i) all += text;
    return all;
  }
};

}  // namespace

TEST_F(DeepRender, ADocumentAHundredThousandDeepIsWrittenWholeByTheRenderer) {
  chainBelow(document, c_chainLength);
  std::wstring plain = renderDocument();
  EXPECT_EQ(plain, L"<?xml version=\"1.0\"?>" + repeated(L"<a>", c_chainLength - 1) + L"<a/>" +
                       repeated(L"</a>", c_chainLength - 1));

  rawstring normalized;
  {
    MarlOStream out = factory.createOStreamRawString(normalized);
    ASSERT_TRUE(out.setEncoding(encoding(L"utf-8")));
    MarlRenderer renderer = marl.createRenderer(out, document);
    ASSERT_TRUE(renderer);
    renderer.setNormalizing(1);
    EXPECT_EQ(renderer.render(), 0);
  }
  // Each "a" with a child breaks the line before it, one level deeper, and again before its
  // end tag at its own level; indentation stops growing at 127.
  std::string const prolog = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
  std::size_t expected = prolog.size() + 4 + 1;
  for (std::size_t level = 0; level + 1 < c_chainLength; ++level)
    expected += 9 + std::min<std::size_t>(level + 1, 127) + std::min<std::size_t>(level, 127);
  std::string const text(normalized.begin(), normalized.end());
  EXPECT_EQ(text.size(), expected);
  EXPECT_EQ(text.substr(0, prolog.size() + 14), prolog + "<a>\n <a>\n  <a>");
  EXPECT_EQ(text.substr(text.size() - 16), "</a>\n </a>\n</a>\n");
}

TEST_F(DeepRender, AFragmentHoldingAChainAHundredThousandDeepIsWrittenWhole) {
  MarlDocumentFragment fragment = document.createDocumentFragment();
  chainBelow(fragment, c_chainLength);
  appendText(fragment, L"t");
  EXPECT_EQ(render(fragment), repeated(L"<a>", c_chainLength - 1) + L"<a/>" +
                                  repeated(L"</a>", c_chainLength - 1) + L"t");
}

TEST_F(DeepRender, AContentModelNestedAHundredThousandDeepIsWrittenWhole) {
  MarlElementDecl declaration = type.createElementDecl(L"e", L"");
  declaration.setContentSpec(MarlElementDecl::CS_CHILDREN);
  MarlContentParticle parent = group(MarlContentParticle::GROUP_SEQUENCE,
                                     MarlContentParticle::OCC_ONE, {});
  declaration.addContentParticle(parent);
  for (unsigned int level = 1; level < c_chainLength; ++level) {
    MarlContentParticle member =
        group(MarlContentParticle::GROUP_CHOICE, MarlContentParticle::OCC_ONE, {});
    parent.addContentParticle(member);
    parent = member;
  }
  parent.addContentParticle(leaf(L"x", MarlContentParticle::OCC_ZERO_OR_MORE));
  parent.addContentParticle(leaf(L"y"));
  EXPECT_EQ(render(declaration), L"<!ELEMENT e " + repeated(L"(", c_chainLength) + L"x* | y" +
                                     repeated(L")", c_chainLength) + L">");
}

TEST_F(DeepRender, IncludeSectionsNestedAHundredThousandDeepAreWrittenWhole) {
  MarlNode parent = type;
  for (unsigned int level = 0; level < c_chainLength; ++level) {
    MarlCondDTDSection section = type.createCondDTDSection(1);
    parent.appendChild(section, 0);
    parent = section;
  }
  parent.appendChild(type.createIntEntityDecl(0, L"e", L"v"), 0);
  EXPECT_EQ(render(type), L"<!DOCTYPE doc [" + repeated(L"<![INCLUDE[", c_chainLength) +
                              L"<!ENTITY e \"v\">" + repeated(L"]]>", c_chainLength) + L"]> ");
}
