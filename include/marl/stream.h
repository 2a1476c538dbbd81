#ifndef MARL_STREAM_H
#define MARL_STREAM_H

#include "marl/encoding.h"
#include "marl/handle.h"

class CMarlStream;
class CMarlIStream;
class CMarlOStream;
class CMarlStreamFactory;

// A source or sink of bytes with an encoding. Input streams decode bytes into wide characters,
// output streams escape, quote and encode wide characters into bytes. Streams are made by a
// MarlStreamFactory (Marl::createStreamFactory).
class MARL_API MarlStream {
 public:
  MarlStream() noexcept : m_p(nullptr) {}
  MarlStream(CMarlStream* p);
  explicit MarlStream(CUnknown* p);
  MarlStream(MarlStream const& other);
  MarlStream& operator=(MarlStream const& other);
  MarlStream& operator=(CMarlStream const* p);
  ~MarlStream();
  // Null for an empty handle: the one emptiness test.
  operator CUnknown*() const;
  // The implementation pointer, for the library's own use.
  CMarlStream* _impl() const noexcept { return m_p; }

  // What getType reports: the kind of source or sink.
  enum StreamType : int {
    typeNone = 0,       // a stream of no particular kind
    typeFile = 1,       // an operating-system file; the handle is the FILE*
    typeRawBuffer = 2,  // a caller's byte range; the handle is its start
    typeString = 3,     // a wide string (and, output only, a raw string)
    typeRawString = 4,  // a raw string, input only
    typeXString = 5,    // a host byte string
    typeCString = 6,    // a host character string
    typeITable = 7      // a host internal table
  };

  // Decodes or encodes through a handler for `encoding`, from the next byte not yet converted
  // on; 0 (and nothing changes) when no handler serves it.
  unsigned char setEncoding(MarlEncoding const& encoding) const;
  // The stream's own copy of its encoding; empty while none was set or detected.
  MarlEncoding getEncoding() const;
  // A stream of the same kind, configuration and position; empty when memory runs out.
  MarlStream clone() const;
  // Opens the source or sink; 0 when it cannot be opened.
  unsigned char open() const;
  // Closes; buffers stay. Nothing to report.
  void close() const;
  // The system identifier; the empty string when none was set.
  std::wstring const& getSystemId() const;
  // Stores the identifier that the next open uses. Nothing to report.
  void setSystemId(std::wstring const& systemId) const;
  // The public identifier; the empty string when none was set.
  std::wstring const& getPublicId() const;
  // Stores the public identifier. Nothing to report.
  void setPublicId(std::wstring const& publicId) const;
  // `id` resolved against `base`; a stream that knows no resolution gives `id` unchanged.
  std::wstring makeAbsoluteId(std::wstring const& id, std::wstring const& base) const;
  // 1 when a stream of this kind can open the identifiers; 0 for a stream that opens none.
  unsigned char isCapable(std::wstring const& systemId, std::wstring const& publicId) const;
  // A StreamType; stores the native handle in `*handle` when `handle` is not null, null when
  // the kind has none.
  int getType(void** handle = nullptr) const;
  // Stores a mode for the variants; ignored while the stream is open.
  void setStreamMode(unsigned int mode) const;

 protected:
  CMarlStream* m_p;
};

// A stream that delivers wide characters.
class MARL_API MarlIStream : public MarlStream {
 public:
  MarlIStream() noexcept = default;
  MarlIStream(CMarlIStream* p);
  explicit MarlIStream(CUnknown* p);
  // The guarded conversion: empty when the stream is not an input stream.
  MarlIStream(MarlStream const& stream);
  MarlIStream& operator=(CMarlIStream const* p);
  CMarlIStream* _impl() const noexcept;

  // Up to `capacity` characters into `target`: their number, 0 at the end of the input, -1
  // when the source failed before it gave any byte. Bytes that the encoding cannot decode end
  // the call with the library's conversion exception, which a parser turns into an error.
  int read(wchar_t* target, int capacity) const;
  // Up to `capacity` bytes of the source, undecoded: their number, negative when none can be
  // given.
  int readRaw(unsigned char* target, int capacity) const;
  // Characters delivered since open; 0 before the first read.
  unsigned int getNumRead() const;
  // Bytes taken from the source since open; 0 before the first read.
  unsigned int getNumReadRaw() const;
  // 0 no restriction, 1 restricted, 2 a document type is prohibited. Nothing to report.
  void setDtdRestriction(unsigned int restriction) const;
  // The restriction; 0 unless set.
  unsigned int getDtdRestriction() const;
  // 1 when the restriction is 2; 0 otherwise.
  unsigned char isDtdProhibited() const;
  // 1 when the restriction is 1; 0 otherwise.
  unsigned char isDtdRestricted() const;
  // Stores the limit on entity expansion that a parser of this stream applies.
  void setMaxExpansion(unsigned int maxExpansion) const;
  // The limit; 10 unless set.
  unsigned int getMaxExpansion() const;
};

// A stream that takes wide characters.
class MARL_API MarlOStream : public MarlStream {
 public:
  MarlOStream() noexcept = default;
  MarlOStream(CMarlOStream* p);
  explicit MarlOStream(CUnknown* p);
  // The guarded conversion: empty when the stream is not an output stream.
  MarlOStream(MarlStream const& stream);
  MarlOStream& operator=(CMarlOStream const* p);
  CMarlOStream* _impl() const noexcept;

  // Writes `length` characters, quoted and escaped when the one-shot flags say so, and clears
  // the flags: the characters that reached the sink (replacements counted as written, the
  // quotes not), 0 for a null `data`, -1 when the sink failed, -2 for a character the encoding
  // cannot represent.
  int write(wchar_t const* data, int length) const;
  // The same for a whole string.
  int writeString(std::wstring const& text) const;
  // Hands bytes to the sink as they are: their number, less or negative when the sink did not
  // take them all.
  int writeRaw(unsigned char const* data, int length) const;
  // Pushes out what the sink holds back; nothing to report.
  void flush() const;
  // Characters encoded since open, quotes and replacements included; 0 before the first write.
  unsigned int getNumWritten() const;
  // Bytes handed to the sink since open; 0 before the first write.
  unsigned int getNumWrittenRaw() const;

  // One-shot: the next write puts its text in quotes.
  void setQuoted(unsigned char quoted) const;
  // 0 unless set and not yet used by a write.
  unsigned char getQuoted() const;
  // One-shot: the next write escapes markup characters.
  void setEscaped(unsigned char escaped) const;
  // 0 unless set and not yet used by a write.
  unsigned char getEscaped() const;
  // Sets the characters among < > & " ' that escaping leaves alone; others are ignored. A
  // quote that delimits the text is escaped all the same.
  void setIgnoreEscaping(std::wstring const& characters) const;
  // Those characters in the order < > & " '; the empty string when none.
  std::wstring const& getIgnoreEscaping() const;
  // Turns the line breaks and indentation of XMLOSManipEndl on or off.
  void setPrettyPrint(unsigned char prettyPrint) const;
  // 0 unless set.
  unsigned char getPrettyPrint() const;
  // Sets the depth in indent characters; lines are indented by at most 127.
  void setIndent(unsigned int indent) const;
  // The depth; 0 unless set.
  unsigned int getIndent() const;
  // Sets the character of indentation.
  void setIndentChar(wchar_t indentChar) const;
  // A blank unless set.
  wchar_t getIndentChar() const;
  // With escaping: characters outside the printable ranges go out as character references.
  void preserveSpecialChar(unsigned char preserve) const;
  // With escaping: characters that XML cannot hold are dropped.
  void skipNonXmlChar(unsigned char skip) const;
};

// Small objects through which writers change an output stream's state in passing.
class MARL_API XMLOSManip {
 public:
  virtual ~XMLOSManip();
  virtual void manipulate(MarlOStream const& stream) const = 0;
};

// Sets the one-shot quoting of the next write.
class MARL_API XMLOSManipQuoted : public XMLOSManip {
 public:
  explicit XMLOSManipQuoted(unsigned char quoted = 1) : value(quoted) {}
  void manipulate(MarlOStream const& stream) const override;

 private:
  unsigned char value;
};

// Sets the one-shot escaping of the next write.
class MARL_API XMLOSManipEscaped : public XMLOSManip {
 public:
  explicit XMLOSManipEscaped(unsigned char escaped = 1) : value(escaped) {}
  void manipulate(MarlOStream const& stream) const override;

 private:
  unsigned char value;
};

// Raises the indentation.
class MARL_API XMLOSManipIncIndent : public XMLOSManip {
 public:
  explicit XMLOSManipIncIndent(unsigned int steps = 1) : value(steps) {}
  void manipulate(MarlOStream const& stream) const override;

 private:
  unsigned int value;
};

// Lowers the indentation, in unsigned arithmetic: below 0 it wraps to a large depth.
class MARL_API XMLOSManipDecIndent : public XMLOSManip {
 public:
  explicit XMLOSManipDecIndent(unsigned int steps = 1) : value(steps) {}
  void manipulate(MarlOStream const& stream) const override;

 private:
  unsigned int value;
};

// With pretty printing on, writes a line break and up to 127 indent characters; otherwise
// nothing.
class MARL_API XMLOSManipEndl : public XMLOSManip {
 public:
  void manipulate(MarlOStream const& stream) const override;
};

// Makes streams by kind, or from a URI through the stream prototypes it keeps: the streams
// registered last are asked first, the file streams last.
class MARL_API MarlStreamFactory {
  MARL_HANDLE_MEMBERS(MarlStreamFactory, CMarlStreamFactory)

 public:
  // Each create... gives an empty handle when memory runs out. A stream over an empty or null
  // source stays closed, and its read gives -1.
  // Reads the bytes from `begin` up to `end`, which the caller keeps alive.
  MarlIStream createIStreamRawBuffer(unsigned char const* begin, unsigned char const* end) const;
  // Reads a copy of `bytes`.
  MarlIStream createIStreamRawString(rawstring const& bytes) const;
  // Reads a copy of `text` as it stands, without decoding.
  MarlIStream createIStreamString(std::wstring const& text) const;
  // Reads a host byte string.
  MarlIStream createIStreamXString(void* hostByteString) const;
  // Reads a host character string in the host's code page.
  MarlIStream createIStreamCString(void* hostString) const;
  // Reads `size` bytes from the lines of a host table.
  MarlIStream createIStreamITable(void const* table, unsigned int size) const;
  // An open stream from the first prototype capable of the identifiers (an id without a
  // scheme is taken as a file); empty when none is capable or it cannot be opened.
  MarlIStream createIStreamURI(std::wstring const& systemId, std::wstring const& publicId,
                               unsigned int streamMode = 0) const;
  // Writes into the bytes from `begin` up to `end`; what does not fit is refused.
  MarlOStream createOStreamRawBuffer(unsigned char* begin, unsigned char const* end) const;
  // Appends to `bytes`, which the caller keeps alive.
  MarlOStream createOStreamRawString(rawstring& bytes) const;
  // Appends to `text` without encoding; the caller keeps it alive.
  MarlOStream createOStreamString(std::wstring& text) const;
  // Appends to a host byte string.
  MarlOStream createOStreamXString(void* hostByteString) const;
  // Appends to a host character string in the host's code page.
  MarlOStream createOStreamCString(void* hostString) const;
  // Fills the lines of a host table, which it empties first.
  MarlOStream createOStreamITable(void* table) const;
  // As createIStreamURI, for output.
  MarlOStream createOStreamURI(std::wstring const& systemId, std::wstring const& publicId) const;
  // Keeps a copy of the stream as a prototype, asked before all others: 1; 0 for an empty
  // stream or when memory runs out.
  unsigned char registerIStream(MarlIStream const& stream) const;
  unsigned char registerOStream(MarlOStream const& stream) const;
  // Prototypes are never removed: always 0.
  unsigned char unregisterIStream(MarlIStream const& stream) const;
  unsigned char unregisterOStream(MarlOStream const& stream) const;
};

#endif
