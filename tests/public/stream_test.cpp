// Streams and the token renderer as a program sees them through the public headers.
#include <gtest/gtest.h>

#include <string>

#include "marl/marl.h"

TEST(PublicStreams, ALibraryHandsOutOneStreamFactory) {
  Marl marl = Marl::create();
  MarlStreamFactory factory = marl.createStreamFactory();
  ASSERT_TRUE(factory);
  EXPECT_EQ(static_cast<CUnknown*>(marl.createStreamFactory()), static_cast<CUnknown*>(factory));
}

TEST(PublicStreams, EscapedQuotedTextAndPrettyPrintingReachAWideString) {
  Marl marl = Marl::create();
  std::wstring text;
  MarlOStream stream = marl.createStreamFactory().createOStreamString(text);
  ASSERT_TRUE(stream);
  stream.setPrettyPrint(1);
  stream.writeString(L"<a b=");
  XMLOSManipQuoted().manipulate(stream);
  XMLOSManipEscaped().manipulate(stream);
  stream.writeString(L"x<\"y\"");
  stream.writeString(L">");
  XMLOSManipIncIndent(2).manipulate(stream);
  XMLOSManipEndl().manipulate(stream);
  EXPECT_EQ(text, L"<a b='x&lt;&quot;y&quot;'>\n  ");
}

TEST(PublicStreams, BytesReadBackAsTheTextWrittenInTheirEncoding) {
  Marl marl = Marl::create();
  MarlStreamFactory factory = marl.createStreamFactory();
  rawstring bytes;
  MarlOStream output = factory.createOStreamRawString(bytes);
  ASSERT_TRUE(output.setEncoding(marl.createEncoding(L"utf-16", MarlEncoding::BYTEORDER_BE)));
  output.writeString(L"\uFEFF<doc>\u00E9</doc>");
  MarlIStream input = factory.createIStreamRawString(bytes);
  wchar_t target[32];
  int count = input.read(target, 32);
  ASSERT_EQ(count, 12);
  EXPECT_EQ(std::wstring(target, 12), L"<doc>\u00E9</doc>");
  EXPECT_EQ(input.getEncoding().getCharacterSet(), L"utf-16");
  EXPECT_FALSE(factory.createIStreamURI(L"http://nowhere/doc.xml", L"", 0));
}

TEST(PublicStreams, ATokenRendererWritesNothing) {
  Marl marl = Marl::create();
  std::wstring text;
  MarlOStream stream = marl.createStreamFactory().createOStreamString(text);
  MarlTokenRenderer renderer = marl.createTokenRenderer(stream);
  ASSERT_TRUE(renderer);
  EXPECT_EQ(renderer.render(&text), 0);
  EXPECT_EQ(text, L"");
  EXPECT_FALSE(marl.createTokenRenderer(MarlOStream()));
}
