#ifndef MARL_TESTS_STREAMS_STREAM_FIXTURE_H
#define MARL_TESTS_STREAMS_STREAM_FIXTURE_H

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "kernel/xmxxi_marl.h"
#include "kernel/xmxxu_trc.h"
#include "streams/xmxxu_strm.h"
#include "support/host_memory.h"
#include "support/library_state.h"

namespace streamtest {

// Bytes written as a narrow literal, embedded zeros included.
template <std::size_t N>
rawstring bytes(char const (&text)[N]) {
  return rawstring(reinterpret_cast<unsigned char const*>(text), N - 1);
}

inline rawstring bytes(std::initializer_list<unsigned int> values) {
  rawstring result;
  for (unsigned int value : values) result += static_cast<unsigned char>(value);
  return result;
}

// Reads until the stream reports its end (0 or, for a string stream, -1), in reads of
// `capacity` characters.
inline std::wstring readAll(MarlIStream const& stream, int capacity = 8192) {
  std::vector<wchar_t> target(static_cast<std::size_t>(capacity));
  std::wstring text;
  for (;;) {
    int count = stream.read(target.data(), capacity);
    if (count <= 0) break;
    text.append(target.data(), static_cast<std::size_t>(count));
  }
  return text;
}

// A library and its stream factory for each test, and the test's streams may leave nothing of
// the host's memory behind.
class StreamTest : public FreshLibrary {
 protected:
  void SetUp() override {
    FreshLibrary::SetUp();
    blocksAtStart = testhost::outstandingBlocks();
    marl = Marl::create();
    ASSERT_TRUE(marl);
    factory = marl.createStreamFactory();
    ASSERT_TRUE(factory);
  }
  void TearDown() override {
    factory = static_cast<CMarlStreamFactory const*>(nullptr);
    marl = static_cast<CMarl const*>(nullptr);
    FreshLibrary::TearDown();
    EXPECT_EQ(testhost::outstandingBlocks(), blocksAtStart) << "host memory left behind";
  }

  MarlEncoding encoding(std::wstring const& name,
                        MarlEncoding::ByteOrder order = MarlEncoding::BYTEORDER_LE) {
    return marl.createEncoding(name, order);
  }

  // A source over a copy of the bytes.
  MarlIStream source(rawstring const& content) {
    return factory.createIStreamRawString(content);
  }

  Marl marl;
  MarlStreamFactory factory;
  long blocksAtStart = 0;
};

// Captures what the trace writes to the standard error stream, at the given report level.
class TraceCapture {
 public:
  explicit TraceCapture(unsigned int level = traceError) : levelBefore(MarlTrace__getLevel()) {
    MarlTrace__setLevel(level, 0);
    ::testing::internal::CaptureStderr();
  }
  ~TraceCapture() {
    if (!taken) ::testing::internal::GetCapturedStderr();
    MarlTrace__setLevel(levelBefore, 0);
  }
  TraceCapture(TraceCapture const&) = delete;
  TraceCapture& operator=(TraceCapture const&) = delete;

  std::string text() {
    if (!taken) {
      captured = ::testing::internal::GetCapturedStderr();
      taken = true;
    }
    return captured;
  }

 private:
  unsigned int levelBefore;
  bool taken = false;
  std::string captured;
};

// A directory of the test's own, removed with everything in it.
class TempDir {
 public:
  TempDir() {
    static int serial = 0;
    path = std::filesystem::temp_directory_path() /
           ("marl_streams_" + std::to_string(::getpid()) + "_" + std::to_string(serial++));
    std::filesystem::remove_all(path);
    std::filesystem::create_directories(path);
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  TempDir(TempDir const&) = delete;
  TempDir& operator=(TempDir const&) = delete;

  std::filesystem::path file(std::string const& name) const { return path / name; }
  std::wstring id(std::string const& name) const { return file(name).wstring(); }

  std::filesystem::path path;
};

// Works in another directory for as long as it lives.
class WorkingDirectory {
 public:
  explicit WorkingDirectory(std::filesystem::path const& directory)
      : before(std::filesystem::current_path()) {
    std::filesystem::current_path(directory);
  }
  ~WorkingDirectory() {
    std::error_code ignored;
    std::filesystem::current_path(before, ignored);
  }
  WorkingDirectory(WorkingDirectory const&) = delete;
  WorkingDirectory& operator=(WorkingDirectory const&) = delete;

 private:
  std::filesystem::path before;
};

// A source of the test's own making: it gives its bytes at most `chunk` at a time, can fail
// after a number of them as a device would, and opens the ids of the scheme "mem://".
class CChunkedIStream : public CMarlIStream {
 public:
  CChunkedIStream(rawstring const& given, std::size_t chunkSize,
                  std::size_t failAt = std::string::npos)
      : content(given), chunk(chunkSize), failAfter(failAt) {
    open();
  }
  // A copy starts closed, as one of a device would.
  CChunkedIStream(CChunkedIStream const& other)
      : CMarlIStream(other),
        content(other.content),
        chunk(other.chunk),
        failAfter(other.failAfter) {
    openFlag = 0;
  }

  MarlStream clone() const override {
    return MarlStream(static_cast<CMarlStream*>(new CChunkedIStream(*this)));
  }
  unsigned char open() override {
    cursor = 0;
    return CMarlIStream::open();
  }
  unsigned char isCapable(std::wstring const& systemId, std::wstring const&) const override {
    return systemId.compare(0, 6, L"mem://") == 0;
  }
  int readRaw(unsigned char* target, int capacity) override {
    ++calls;
    if (!openFlag || cursor >= content.size() || cursor >= failAfter) return -1;
    std::size_t count = std::min({static_cast<std::size_t>(std::max(capacity, 0)), chunk,
                                  content.size() - cursor, failAfter - cursor});
    std::copy_n(content.data() + cursor, count, target);
    cursor += count;
    return static_cast<int>(count);
  }

  int calls = 0;

 private:
  rawstring content;
  std::size_t chunk;
  std::size_t failAfter;
  std::size_t cursor = 0;
};

inline MarlIStream chunked(rawstring const& content, std::size_t chunk,
                           std::size_t failAfter = std::string::npos) {
  return MarlIStream(static_cast<CMarlIStream*>(new CChunkedIStream(content, chunk, failAfter)));
}

}  // namespace streamtest

#endif
