#include "render/xmxxr_rend.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "streams/stream_fixture.h"

using namespace streamtest;

namespace {

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
