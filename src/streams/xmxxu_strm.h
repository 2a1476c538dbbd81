#ifndef MARL_STREAMS_XMXXU_STRM_H
#define MARL_STREAMS_XMXXU_STRM_H

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include "kernel/xmxxo_unkn.h"
#include "marl/encoding.h"
#include "marl/stream.h"
#include "marl/types.h"

// ---------------------------------------------------------------------------------------
// The common machinery of all streams: encoding, handler, identifiers and the raw buffer.

class CMarlStream : public CUnknownWithoutStrings, public AllocPolicyRollArea {
 public:
  static constexpr std::size_t c_rawBufferSize = 8192;
  using RawBuffer = std::vector<unsigned char, tova_alloc<unsigned char>>;

  virtual unsigned char setEncoding(MarlEncoding const& newEncoding);
  virtual MarlEncoding getEncoding() const;
  virtual MarlStream clone() const = 0;
  virtual unsigned char open();
  virtual void close();
  virtual std::wstring const& getSystemId() const;
  virtual void setSystemId(std::wstring const& id);
  virtual std::wstring const& getPublicId() const;
  virtual void setPublicId(std::wstring const& id);
  virtual std::wstring makeAbsoluteId(std::wstring const& id, std::wstring const& base) const;
  virtual unsigned char isCapable(std::wstring const& systemId, std::wstring const& publicId) const;
  virtual int getType(void** nativeHandle) const;
  virtual void setStreamMode(unsigned int mode);

  unsigned char isOpen() const noexcept {
    return openFlag;
  }
  unsigned int getStreamMode() const noexcept {
    return streamMode;
  }
  // The handler the stream converts with; never empty.
  MarlEncodingHandler const& getHandler() const noexcept {
    return handler;
  }

 protected:
  // Decodes UTF-8 until told otherwise. Throws bad_alloc when no handler can be made.
  CMarlStream();
  // Copies configuration, buffered bytes and position. The handler is shared: handlers keep no
  // conversion state between calls. The encoding is copied, so that changing one stream's
  // encoding object leaves the other alone.
  CMarlStream(CMarlStream const& source);
  CMarlStream& operator=(CMarlStream const&) = delete;

  // Fixes the encoding for good, as the host string streams do from their construction on.
  // Throws bad_alloc when no handler can be made.
  void useEncoding(MarlEncoding const& fixed);

  unsigned char* rawBufferStart() noexcept {
    return rawBuffer.data();
  }
  unsigned char* rawBufferEnd() noexcept {
    return rawBuffer.data() + rawBuffer.size();
  }

  unsigned char openFlag;
  MarlEncoding encoding;
  MarlEncodingHandler handler;
  std::wstring systemId;
  std::wstring publicId;
  unsigned int streamMode;
  RawBuffer rawBuffer;
  // End of the valid bytes in the raw buffer.
  unsigned char* dataEnd;
  // Input: the next byte not yet decoded. Output: the write position.
  unsigned char* readCursor;
};

// A handler for the encoding from the library's prototypes; empty when none can be made.
MarlEncodingHandler queryStreamHandler(MarlEncoding const& encoding);

// ---------------------------------------------------------------------------------------
// Input: detection of the encoding, decoding, refilling.

class CMarlIStream : public CMarlStream {
 public:
  // The values of the restriction on document types that the stream carries for its parser.
  enum DtdRestriction : unsigned int { dtdUnrestricted = 0, dtdRestricted = 1, dtdProhibited = 2 };
  static constexpr unsigned int c_defaultMaxExpansion = 10;

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;
  unsigned char open() override;

  virtual int read(wchar_t* target, int capacity);
  virtual int readRaw(unsigned char* target, int capacity) = 0;
  virtual unsigned int getNumRead() const;
  virtual unsigned int getNumReadRaw() const;
  virtual void setDtdRestriction(unsigned int restriction);
  virtual unsigned int getDtdRestriction() const;
  virtual unsigned char isDtdProhibited() const;
  virtual unsigned char isDtdRestricted() const;
  virtual void setMaxExpansion(unsigned int limit);
  virtual unsigned int getMaxExpansion() const;

  // True while the encoding may still be detected from the first bytes.
  unsigned char isAutoDetecting() const noexcept {
    return autoDetect;
  }

 protected:
  CMarlIStream() = default;
  CMarlIStream(CMarlIStream const&) = default;

  unsigned int numRead = 0;
  unsigned int numReadRaw = 0;
  unsigned int dtdRestriction = dtdUnrestricted;
  unsigned int maxExpansion = c_defaultMaxExpansion;
  unsigned char autoDetect = 1;

 private:
  void detectEncoding();
  // Reads from the source into the free space behind the valid bytes: the count, or a negative
  // number when the source gave nothing.
  int refill();
  [[noreturn]] void raiseConversionProblem(int status) const;
};

// ---------------------------------------------------------------------------------------
// Output: quoting, escaping, encoding, pretty printing.

class CMarlOStream : public CMarlStream {
 public:
  // Pretty printing never indents deeper than this.
  static constexpr unsigned int c_maxIndent = 127;

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;
  unsigned char open() override;

  virtual int writeRaw(unsigned char const* data, int length) = 0;
  virtual void flush();
  virtual unsigned int getNumWritten() const;
  virtual unsigned int getNumWrittenRaw() const;
  // Encodes and hands the bytes to the sink: `length`, -1 for a failing sink, -2 for a
  // character the encoding cannot represent.
  virtual int _write(wchar_t const* data, int length);

  int write(wchar_t const* data, int length);
  int writeString(std::wstring const& text);
  void setQuoted(unsigned char value) noexcept {
    quoted = value;
  }
  unsigned char getQuoted() const noexcept {
    return quoted;
  }
  void setEscaped(unsigned char value) noexcept {
    escaped = value;
  }
  unsigned char getEscaped() const noexcept {
    return escaped;
  }
  void setIgnoreEscaping(std::wstring const& characters);
  std::wstring const& getIgnoreEscaping() const noexcept {
    return ignoreEscaping;
  }
  void setPrettyPrint(unsigned char value) noexcept {
    prettyPrint = value;
  }
  unsigned char getPrettyPrint() const noexcept {
    return prettyPrint;
  }
  void setIndent(unsigned int value) noexcept {
    indent = value;
  }
  unsigned int getIndent() const noexcept {
    return indent;
  }
  void setIndentChar(wchar_t value) noexcept {
    indentChar = value;
  }
  wchar_t getIndentChar() const noexcept {
    return indentChar;
  }
  void preserveSpecialChar(unsigned char value) noexcept {
    preserveSpecial = value;
  }
  void skipNonXmlChar(unsigned char value) noexcept {
    skipNonXml = value;
  }
  // Writes the line break and indentation of pretty printing.
  void writeLineBreak();

 protected:
  CMarlOStream() = default;
  CMarlOStream(CMarlOStream const&) = default;

  // Adds bytes the sink took to the raw counter.
  void countRaw(int taken) noexcept {
    if (taken > 0) numWrittenRaw += static_cast<unsigned int>(taken);
  }

  unsigned int numWritten = 0;
  unsigned int numWrittenRaw = 0;
  unsigned char quoted = 0;
  unsigned char escaped = 0;
  std::wstring ignoreEscaping;
  unsigned char ignoreLess = 0;
  unsigned char ignoreGreater = 0;
  unsigned char ignoreAmpersand = 0;
  unsigned char ignoreDoubleQuote = 0;
  unsigned char ignoreSingleQuote = 0;
  unsigned char prettyPrint = 0;
  unsigned int indent = 0;
  wchar_t indentChar = L' ';
  unsigned char preserveSpecial = 0;
  unsigned char skipNonXml = 0;

 private:
  int writeEscaped(wchar_t const* data, int length, wchar_t delimiter);
};

// ---------------------------------------------------------------------------------------
// Files of the operating system.

class CMarlIStreamFile : public CMarlIStream {
 public:
  CMarlIStreamFile() = default;
  CMarlIStreamFile(std::wstring const& system, std::wstring const& publicIdentifier);
  // A copy starts closed: a FILE* cannot be shared.
  CMarlIStreamFile(CMarlIStreamFile const& source);
  ~CMarlIStreamFile() override;

  MarlStream clone() const override;
  unsigned char open() override;
  void close() override;
  std::wstring makeAbsoluteId(std::wstring const& id, std::wstring const& base) const override;
  unsigned char isCapable(std::wstring const& system,
                          std::wstring const& publicIdentifier) const override;
  int getType(void** nativeHandle) const override;
  int readRaw(unsigned char* target, int capacity) override;

 private:
  std::FILE* file = nullptr;
};

class CMarlOStreamFile : public CMarlOStream {
 public:
  CMarlOStreamFile() = default;
  explicit CMarlOStreamFile(std::wstring const& system);
  // A copy starts closed: a FILE* cannot be shared.
  CMarlOStreamFile(CMarlOStreamFile const& source);
  ~CMarlOStreamFile() override;

  MarlStream clone() const override;
  unsigned char open() override;
  void close() override;
  std::wstring makeAbsoluteId(std::wstring const& id, std::wstring const& base) const override;
  unsigned char isCapable(std::wstring const& system,
                          std::wstring const& publicIdentifier) const override;
  int getType(void** nativeHandle) const override;
  int writeRaw(unsigned char const* data, int length) override;
  void flush() override;

 private:
  std::FILE* file = nullptr;
};

// The path a file id names: without "file://localhost/" or "file://", exact case.
std::wstring normalizeID(std::wstring const& id);
// The id as the factory's prototypes see it: one without a scheme names a file.
std::wstring withFileScheme(std::wstring const& systemId);

// ---------------------------------------------------------------------------------------
// A caller's byte range.

class CMarlIStreamRawBuffer : public CMarlIStream {
 public:
  CMarlIStreamRawBuffer(unsigned char const* begin, unsigned char const* end);
  CMarlIStreamRawBuffer(CMarlIStreamRawBuffer const&) = default;

  MarlStream clone() const override;
  unsigned char open() override;
  int getType(void** nativeHandle) const override;
  int readRaw(unsigned char* target, int capacity) override;

 private:
  unsigned char const* begin;
  unsigned char const* end;
  unsigned char const* cursor;
};

class CMarlOStreamRawBuffer : public CMarlOStream {
 public:
  CMarlOStreamRawBuffer(unsigned char* begin, unsigned char const* end);
  CMarlOStreamRawBuffer(CMarlOStreamRawBuffer const&) = default;

  MarlStream clone() const override;
  unsigned char open() override;
  void close() override;
  int getType(void** nativeHandle) const override;
  int writeRaw(unsigned char const* data, int length) override;

 private:
  unsigned char* begin;
  unsigned char const* end;
  unsigned char* cursor;
};

// ---------------------------------------------------------------------------------------
// Wide and raw strings.

// Delivers the characters of its string as they stand, without buffer or handler.
class CMarlIStreamString : public CMarlIStream {
 public:
  explicit CMarlIStreamString(std::wstring const& text);
  CMarlIStreamString(CMarlIStreamString const&) = default;

  MarlStream clone() const override;
  unsigned char open() override;
  int getType(void** nativeHandle) const override;
  int read(wchar_t* target, int capacity) override;
  int readRaw(unsigned char* target, int capacity) override;

 private:
  std::wstring content;
  std::size_t cursor = 0;
};

// Appends wide characters to the caller's string, without handler.
class CMarlOStreamString : public CMarlOStream {
 public:
  // Above this capacity the string grows by this much rather than by doubling.
  static constexpr std::size_t c_growthLimit = 2048000;

  explicit CMarlOStreamString(std::wstring& target);
  CMarlOStreamString(CMarlOStreamString const&) = default;

  MarlStream clone() const override;
  void close() override;
  int getType(void** nativeHandle) const override;
  int writeRaw(unsigned char const* data, int length) override;
  int _write(wchar_t const* data, int length) override;

 private:
  std::wstring* text;
};

class CMarlIStreamRawString : public CMarlIStream {
 public:
  explicit CMarlIStreamRawString(rawstring const& bytes);
  CMarlIStreamRawString(CMarlIStreamRawString const&) = default;

  MarlStream clone() const override;
  unsigned char open() override;
  int getType(void** nativeHandle) const override;
  int readRaw(unsigned char* target, int capacity) override;

 private:
  rawstring content;
  std::size_t cursor = 0;
};

class CMarlOStreamRawString : public CMarlOStream {
 public:
  explicit CMarlOStreamRawString(rawstring& target);
  CMarlOStreamRawString(CMarlOStreamRawString const&) = default;

  MarlStream clone() const override;
  void close() override;
  int getType(void** nativeHandle) const override;
  int writeRaw(unsigned char const* data, int length) override;

 private:
  rawstring* bytes;
};

// ---------------------------------------------------------------------------------------
// Host strings. Both kinds hold bytes; a character string holds them in the host's code page,
// named "orv*".

class CMarlIStreamXString : public CMarlIStream {
 public:
  explicit CMarlIStreamXString(void* hostByteString);
  CMarlIStreamXString(CMarlIStreamXString const&) = default;

  MarlStream clone() const override;
  unsigned char open() override;
  int getType(void** nativeHandle) const override;
  int readRaw(unsigned char* target, int capacity) override;

 protected:
  // The bytes the host string holds now; false when it gives none.
  bool hostContent(unsigned char const*& data, std::size_t& length) const;

  void* hostString;
  std::size_t cursor = 0;
};

class CMarlIStreamCString : public CMarlIStreamXString {
 public:
  explicit CMarlIStreamCString(void* hostCharacterString);
  CMarlIStreamCString(CMarlIStreamCString const&) = default;

  MarlStream clone() const override;
  int getType(void** nativeHandle) const override;
};

class CMarlOStreamXString : public CMarlOStream {
 public:
  explicit CMarlOStreamXString(void* hostByteString);
  CMarlOStreamXString(CMarlOStreamXString const&) = default;

  MarlStream clone() const override;
  void close() override;
  int getType(void** nativeHandle) const override;
  int writeRaw(unsigned char const* data, int length) override;

 protected:
  void* hostString;
};

class CMarlOStreamCString : public CMarlOStreamXString {
 public:
  explicit CMarlOStreamCString(void* hostCharacterString);
  CMarlOStreamCString(CMarlOStreamCString const&) = default;

  MarlStream clone() const override;
  int getType(void** nativeHandle) const override;
};

// ---------------------------------------------------------------------------------------
// Host internal tables of fixed-length lines, numbered from 0.

class CMarlIStreamITable : public CMarlIStream {
 public:
  CMarlIStreamITable(void const* table, unsigned int size);
  CMarlIStreamITable(CMarlIStreamITable const&) = default;

  MarlStream clone() const override;
  unsigned char open() override;
  int getType(void** nativeHandle) const override;
  int readRaw(unsigned char* target, int capacity) override;

 private:
  void const* table;
  std::size_t lineLength;
  std::size_t lineNumber = 0;
  std::size_t column = 0;
  unsigned char const* currentLine = nullptr;
  std::size_t totalSize;
};

class CMarlOStreamITable : public CMarlOStream {
 public:
  explicit CMarlOStreamITable(void* table);
  CMarlOStreamITable(CMarlOStreamITable const&) = default;

  MarlStream clone() const override;
  unsigned char open() override;
  void close() override;
  void flush() override;
  int getType(void** nativeHandle) const override;
  int writeRaw(unsigned char const* data, int length) override;

 private:
  void* table;
  std::size_t lineLength;
  std::size_t column = 0;
  unsigned char* currentLine = nullptr;
};

// ---------------------------------------------------------------------------------------
// The factory.

class CMarlStreamFactory : public CUnknownWithoutStrings, public AllocPolicyRollArea {
 public:
  using IPrototypes = std::vector<MarlIStream, tova_alloc<MarlIStream>>;
  using OPrototypes = std::vector<MarlOStream, tova_alloc<MarlOStream>>;

  CMarlStreamFactory() = default;

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  MarlIStream createIStreamRawBuffer(unsigned char const* begin, unsigned char const* end);
  MarlIStream createIStreamRawString(rawstring const& bytes);
  MarlIStream createIStreamString(std::wstring const& text);
  MarlIStream createIStreamXString(void* hostByteString);
  MarlIStream createIStreamCString(void* hostString);
  MarlIStream createIStreamITable(void const* table, unsigned int size);
  MarlIStream createIStreamURI(std::wstring const& systemId, std::wstring const& publicId,
                               unsigned int streamMode);
  MarlOStream createOStreamRawBuffer(unsigned char* begin, unsigned char const* end);
  MarlOStream createOStreamRawString(rawstring& bytes);
  MarlOStream createOStreamString(std::wstring& text);
  MarlOStream createOStreamXString(void* hostByteString);
  MarlOStream createOStreamCString(void* hostString);
  MarlOStream createOStreamITable(void* table);
  MarlOStream createOStreamURI(std::wstring const& systemId, std::wstring const& publicId);
  unsigned char registerIStream(MarlIStream const& stream);
  unsigned char registerOStream(MarlOStream const& stream);
  unsigned char unregisterIStream(MarlIStream const& stream);
  unsigned char unregisterOStream(MarlOStream const& stream);

  IPrototypes const& inputPrototypes() const noexcept {
    return iPrototypes;
  }
  OPrototypes const& outputPrototypes() const noexcept {
    return oPrototypes;
  }

 private:
  // Adds the file prototypes behind whatever was registered, once.
  void lazyInit();

  IPrototypes iPrototypes;
  OPrototypes oPrototypes;
  unsigned char lazy = 1;
};

// The factory the library falls back on when a caller gives none: made on first use and never
// freed. Throws bad_alloc when it cannot be made.
MarlStreamFactory defaultStreamFactory();

#endif
