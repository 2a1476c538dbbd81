#ifndef MARL_KERNEL_XMXXU_XCPT_H
#define MARL_KERNEL_XMXXU_XCPT_H

#include <cstdint>
#include <iosfwd>
#include <string>

// Failures that travel between the layers of the library. None crosses the public interface:
// the parser's entry points catch them and turn them into results.
class XPT {
 public:
  XPT(int code, std::wstring const& reason, std::wstring const& file, unsigned int line);
  XPT(XPT const&) = default;
  XPT& operator=(XPT const&) = default;
  virtual ~XPT();

  // Writes the exception to the standard error stream.
  void trace() const;

  std::int32_t code;
  std::wstring reason;
  std::wstring file;
  std::uint32_t line;
};

std::ostream& operator<<(std::ostream& out, XPT const& exception);

namespace XPT_IO {

class XPT_Any : public XPT {
 public:
  using XPT::XPT;
};

// Bytes that the stream's encoding cannot decode.
class XPT_ConvProblem : public XPT_Any {
 public:
  using XPT_Any::XPT_Any;
};

}  // namespace XPT_IO

namespace XPT_Parser {

class XPT_Any : public XPT {
 public:
  using XPT::XPT;
};

// A parse error of severity 3: the run ends.
class XPT_Error : public XPT_Any {
 public:
  using XPT_Any::XPT_Any;
};

// A parse error of severity 4.
class XPT_FatalError : public XPT_Any {
 public:
  using XPT_Any::XPT_Any;
};

}  // namespace XPT_Parser

#endif
