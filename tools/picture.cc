// Picture, errors and the library check.
#include "picture.h"

#include <cstring>

namespace ktool {

void UsageError(const std::string& message) { throw ToolError(kExitUsage, message); }
void FileError(const std::string& message) { throw ToolError(kExitFile, message); }

void CheckLibrary(const std::string& what) {
  const Z_ERRORS error = ZGetError();
  if (error == Z_ERROR_NONE) return;
  std::string message = what + " failed: error " + std::to_string(static_cast<int>(error)) + " (" +
                        ZGetErrorText(error) + ")";
  const int count = ZGetTraceCount();
  if (count > 0) {
    message += "; trace:";
    for (int i = 0; i < count; ++i) {
      const char* entry = ZGetTraceEntry(i);
      message += std::string(i ? " <" : "") + " \"" + (entry ? entry : "") + "\"";
    }
  }
  ZOk();
  throw ToolError(kExitLibrary, message);
}

Picture Picture::Gray(int width, int height) {
  Picture p;
  p.m_gray = std::make_shared<ZImage<ZBW8>>(width, height);
  return p;
}

Picture Picture::Colour(int width, int height) {
  Picture p;
  p.m_colour = std::make_shared<ZImage<ZC24>>(width, height);
  return p;
}

int Picture::width() const { return m_gray ? m_gray->GetWidth() : m_colour ? m_colour->GetWidth() : 0; }
int Picture::height() const { return m_gray ? m_gray->GetHeight() : m_colour ? m_colour->GetHeight() : 0; }

ZGenericROI* Picture::view() const {
  if (m_gray) return m_gray.get();
  return m_colour.get();
}

uint8_t* Picture::row(int y) const { return static_cast<uint8_t*>(view()->GetImagePtr(0, y)); }

Picture Picture::Clone() const {
  if (empty()) return {};
  Picture copy = colour() ? Colour(width(), height()) : Gray(width(), height());
  const size_t bytes = static_cast<size_t>(width()) * channels();
  for (int y = 0; y < height(); ++y) std::memcpy(copy.row(y), row(y), bytes);
  return copy;
}

std::string Picture::Describe() const {
  return std::to_string(width()) + "x" + std::to_string(height()) + (colour() ? " colour" : " gray");
}

}  // namespace ktool
