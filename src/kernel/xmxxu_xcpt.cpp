#include "kernel/xmxxu_xcpt.h"

#include <iomanip>
#include <iostream>

#include "text/xmxxu_stri.h"

XPT::XPT(int failureCode, std::wstring const& failureReason, std::wstring const& sourceFile,
         unsigned int sourceLine)
    : code(failureCode), reason(failureReason), file(sourceFile), line(sourceLine) {}

XPT::~XPT() = default;

void XPT::trace() const {
  std::cerr << *this;
}

std::ostream& operator<<(std::ostream& out, XPT const& exception) {
  std::ios_base::fmtflags flags = out.flags();
  char fill = out.fill();
  out << "[Exception:" << " file: " << MBString(exception.file).c_str() << "(" << std::dec
      << exception.line << ")" << " code: 0x" << std::hex << std::setw(8) << std::setfill('0')
      << static_cast<std::uint32_t>(exception.code) << " " << MBString(exception.reason).c_str()
      << " " << "]" << std::endl;
  out.flags(flags);
  out.fill(fill);
  return out;
}
