// The tool's in-memory picture (an 8-bit gray or a 24-bit colour Kelmira image), the error that
// every verb turns into a one-line message and an exit code, and the check that follows each
// library call.
#ifndef KELMIRA_TOOL_PICTURE_H
#define KELMIRA_TOOL_PICTURE_H

#include <kelmira/kelmira.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace ktool {

// Exit codes of the program.
enum ExitCode : int {
  kExitOk = 0,
  kExitUsage = 2,    // unknown verb or operator, bad or missing arguments
  kExitFile = 3,     // unreadable, malformed or unwritable file
  kExitLibrary = 4,  // the library refused the call (its error number and trace are shown)
};

// What every verb throws; main() prints `what()` on one line and exits with `code`.
class ToolError : public std::runtime_error {
 public:
  ToolError(ExitCode code, const std::string& message) : std::runtime_error(message), m_code(code) {}
  ExitCode code() const { return m_code; }

 private:
  ExitCode m_code;
};

[[noreturn]] void UsageError(const std::string& message);
[[noreturn]] void FileError(const std::string& message);

// Throws a kExitLibrary error when the calling thread holds an error number after `what` ran:
// "<what> failed: error <n> (<text>); trace: <innermost> < ... < <outermost>".
void CheckLibrary(const std::string& what);

// A gray (ZBW8) or colour (ZC24, bytes in red, green, blue order) image.
class Picture {
 public:
  Picture() = default;
  static Picture Gray(int width, int height);
  static Picture Colour(int width, int height);

  bool empty() const { return !m_gray && !m_colour; }
  bool colour() const { return m_colour != nullptr; }
  int width() const;
  int height() const;
  int channels() const { return colour() ? 3 : 1; }
  ZImage<ZBW8>* gray() const { return m_gray.get(); }
  ZImage<ZC24>* rgb() const { return m_colour.get(); }
  ZGenericROI* view() const;
  // Bytes of row y: width * channels of them, rows are not contiguous.
  uint8_t* row(int y) const;
  // An independent copy of the pixels.
  Picture Clone() const;
  std::string Describe() const;  // "640x480 gray"

 private:
  std::shared_ptr<ZImage<ZBW8>> m_gray;
  std::shared_ptr<ZImage<ZC24>> m_colour;
};

}  // namespace ktool

#endif  // KELMIRA_TOOL_PICTURE_H
