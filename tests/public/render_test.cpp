// The document renderer as a program sees it through the public headers.
#include <gtest/gtest.h>

#include <string>

#include "marl/marl.h"

TEST(PublicRenderer, ADocumentBuiltByCallsIsWrittenPrettyPrinted) {
  Marl marl = Marl::create();
  MarlDocument document = marl.createDocument();
  ASSERT_TRUE(document);
  MarlElement root = document.createElement(L"list", L"");
  document.appendChild(root, 0);
  root.setAttribute(L"kind", L"", L"a<b");
  document.createSimpleElement(L"item", L"", L"one & two", root);

  std::wstring text;
  MarlOStream out = marl.createStreamFactory().createOStreamString(text);
  MarlRenderer renderer = marl.createRenderer(out, document);
  ASSERT_TRUE(renderer);
  renderer.setNormalizing(1);
  EXPECT_EQ(renderer.render(), MarlRenderer::rcRendered);
  EXPECT_EQ(text,
            L"<?xml version=\"1.0\"?>\n<list kind=\"a&lt;b\">\n <item>one &amp; two</item>\n</list>\n");
}

TEST(PublicRenderer, ANodeRendersItselfThroughItsHandle) {
  Marl marl = Marl::create();
  MarlDocument document = marl.createDocument();
  ASSERT_TRUE(document);
  MarlElement item = document.createSimpleElement(L"item", L"p", L"x", MarlNode());
  std::wstring text;
  MarlOStream out = marl.createStreamFactory().createOStreamString(text);
  item.render(out, 1);
  item.render(out, 0);
  item.render(MarlOStream(), 1);
  EXPECT_EQ(text, L"<p:item>x</p:item><p:item></p:item>");
}

TEST(PublicRenderer, ThereIsNoRendererWithoutDocumentOrStream) {
  Marl marl = Marl::create();
  std::wstring text;
  MarlOStream out = marl.createStreamFactory().createOStreamString(text);
  EXPECT_FALSE(marl.createRenderer(out, MarlDocument()));
  EXPECT_FALSE(marl.createRenderer(MarlOStream(), marl.createDocument()));
}
