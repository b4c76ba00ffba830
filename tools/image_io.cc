// PNG through libpng's simplified interface (no setjmp), PGM/PPM by hand.
#include "image_io.h"

#include <png.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <limits>
#include <vector>

namespace ktool {
namespace {

// Images larger than this are refused rather than risking an absurd allocation from a bad header.
constexpr long long kMaxPixels = 1LL << 28;

std::string Lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::tolower(c); });
  return s;
}

std::string Extension(const std::string& path) {
  const size_t dot = path.find_last_of('.');
  const size_t slash = path.find_last_of('/');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return "";
  return Lower(path.substr(dot + 1));
}

std::vector<uint8_t> Slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) FileError(path + ": cannot open for reading: " + std::strerror(errno));
  std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) FileError(path + ": read error");
  return bytes;
}

void CheckSize(const std::string& path, long long width, long long height) {
  if (width <= 0 || height <= 0) FileError(path + ": image has no pixels");
  if (width * height > kMaxPixels || width > 65535 || height > 65535)
    FileError(path + ": image too large (" + std::to_string(width) + "x" + std::to_string(height) + ")");
}

// ----- PNG -------------------------------------------------------------------------------------

Picture ReadPng(const std::string& path, const std::vector<uint8_t>& bytes) {
  png_image image;
  std::memset(&image, 0, sizeof image);
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_memory(&image, bytes.data(), bytes.size()))
    FileError(path + ": malformed PNG: " + image.message);
  const bool colour = (image.format & PNG_FORMAT_FLAG_COLOR) != 0;
  try {
    CheckSize(path, image.width, image.height);
  } catch (...) {
    png_image_free(&image);
    throw;
  }
  image.format = colour ? PNG_FORMAT_RGB : PNG_FORMAT_GRAY;
  Picture picture = colour ? Picture::Colour(image.width, image.height) : Picture::Gray(image.width, image.height);
  const size_t stride = static_cast<size_t>(image.width) * picture.channels();
  std::vector<uint8_t> buffer(stride * image.height);
  png_color black{0, 0, 0};  // transparent pixels are composed over black
  if (!png_image_finish_read(&image, &black, buffer.data(), static_cast<png_int_32>(stride), nullptr))
    FileError(path + ": malformed PNG: " + image.message);
  for (int y = 0; y < picture.height(); ++y) std::memcpy(picture.row(y), buffer.data() + stride * y, stride);
  return picture;
}

void WritePng(const Picture& picture, const std::string& path) {
  png_image image;
  std::memset(&image, 0, sizeof image);
  image.version = PNG_IMAGE_VERSION;
  image.width = picture.width();
  image.height = picture.height();
  image.format = picture.colour() ? PNG_FORMAT_RGB : PNG_FORMAT_GRAY;
  const size_t stride = static_cast<size_t>(picture.width()) * picture.channels();
  std::vector<uint8_t> buffer(stride * picture.height());
  for (int y = 0; y < picture.height(); ++y) std::memcpy(buffer.data() + stride * y, picture.row(y), stride);
  if (!png_image_write_to_file(&image, path.c_str(), 0, buffer.data(), static_cast<png_int_32>(stride), nullptr))
    FileError(path + ": cannot write PNG: " + image.message);
}

// ----- PGM / PPM -------------------------------------------------------------------------------

class PnmHeader {
 public:
  PnmHeader(const std::string& path, const std::vector<uint8_t>& bytes) : m_path(path), m_bytes(bytes) {}

  // The next decimal number after blanks and # comments.
  long long Number(const char* what) {
    SkipBlanks();
    if (m_pos >= m_bytes.size() || !std::isdigit(m_bytes[m_pos]))
      FileError(m_path + ": malformed PNM header: expected " + what);
    long long value = 0;
    while (m_pos < m_bytes.size() && std::isdigit(m_bytes[m_pos])) {
      value = value * 10 + (m_bytes[m_pos++] - '0');
      if (value > std::numeric_limits<int>::max()) FileError(m_path + ": malformed PNM header: " + what + " too large");
    }
    return value;
  }
  // The next 0 or 1 of a plain PBM raster, whose digits need no blanks between them.
  int Bit() {
    SkipBlanks();
    if (m_pos >= m_bytes.size() || (m_bytes[m_pos] != '0' && m_bytes[m_pos] != '1'))
      FileError(m_path + ": malformed PBM: expected a 0 or 1 (file too short?)");
    return m_bytes[m_pos++] - '0';
  }
  // Binary pixels start after exactly one blank following the last header number.
  size_t PixelStart() {
    if (m_pos >= m_bytes.size() || !std::isspace(m_bytes[m_pos]))
      FileError(m_path + ": malformed PNM header: no blank before the pixels");
    return m_pos + 1;
  }
  size_t pos() const { return m_pos; }
  void seek(size_t pos) { m_pos = pos; }

 private:
  void SkipBlanks() {
    while (m_pos < m_bytes.size()) {
      if (m_bytes[m_pos] == '#') {
        while (m_pos < m_bytes.size() && m_bytes[m_pos] != '\n') ++m_pos;
      } else if (std::isspace(m_bytes[m_pos])) {
        ++m_pos;
      } else {
        break;
      }
    }
  }
  const std::string& m_path;
  const std::vector<uint8_t>& m_bytes;
  size_t m_pos = 2;
};

Picture ReadPnm(const std::string& path, const std::vector<uint8_t>& bytes) {
  const char kind = static_cast<char>(bytes[1]);
  const bool colour = kind == '3' || kind == '6';
  const bool plain = kind == '2' || kind == '3';
  PnmHeader header(path, bytes);
  const long long width = header.Number("width");
  const long long height = header.Number("height");
  const long long maxval = header.Number("maximum value");
  CheckSize(path, width, height);
  if (maxval < 1 || maxval > 65535) FileError(path + ": malformed PNM header: maximum value " + std::to_string(maxval));
  const int channels = colour ? 3 : 1;
  const size_t samples = static_cast<size_t>(width * height) * channels;
  std::vector<uint32_t> values(samples);
  if (plain) {
    for (size_t i = 0; i < samples; ++i) {
      const long long v = header.Number("a pixel value (file too short?)");
      if (v > maxval) FileError(path + ": pixel value " + std::to_string(v) + " above the maximum " + std::to_string(maxval));
      values[i] = static_cast<uint32_t>(v);
    }
  } else {
    const size_t start = header.PixelStart();
    const size_t sampleBytes = maxval > 255 ? 2 : 1;
    if (bytes.size() < start || bytes.size() - start < samples * sampleBytes)
      FileError(path + ": truncated PNM: " + std::to_string(samples * sampleBytes) + " pixel bytes expected, " +
                std::to_string(bytes.size() > start ? bytes.size() - start : 0) + " found");
    for (size_t i = 0; i < samples; ++i) {
      const uint8_t* s = bytes.data() + start + i * sampleBytes;
      values[i] = sampleBytes == 2 ? (s[0] << 8 | s[1]) : s[0];
      if (values[i] > maxval) FileError(path + ": pixel value above the maximum " + std::to_string(maxval));
    }
  }
  Picture picture = colour ? Picture::Colour(static_cast<int>(width), static_cast<int>(height))
                           : Picture::Gray(static_cast<int>(width), static_cast<int>(height));
  const size_t stride = static_cast<size_t>(width) * channels;
  for (int y = 0; y < picture.height(); ++y) {
    uint8_t* row = picture.row(y);
    const uint32_t* in = values.data() + stride * y;
    for (size_t i = 0; i < stride; ++i)
      row[i] = maxval == 255 ? static_cast<uint8_t>(in[i]) : static_cast<uint8_t>((in[i] * 255 + maxval / 2) / maxval);
  }
  return picture;
}

// PBM: 1 is black. A bitmap becomes a gray picture of 0 (black) and 255 (white).
Picture ReadPbm(const std::string& path, const std::vector<uint8_t>& bytes) {
  const bool plain = bytes[1] == '1';
  PnmHeader header(path, bytes);
  const long long width = header.Number("width");
  const long long height = header.Number("height");
  CheckSize(path, width, height);
  Picture picture = Picture::Gray(static_cast<int>(width), static_cast<int>(height));
  const size_t rowBytes = (static_cast<size_t>(width) + 7) / 8;
  const size_t start = plain ? 0 : header.PixelStart();
  if (!plain && (bytes.size() < start || bytes.size() - start < rowBytes * static_cast<size_t>(height)))
    FileError(path + ": truncated PBM: " + std::to_string(rowBytes * height) + " pixel bytes expected");
  for (int y = 0; y < picture.height(); ++y) {
    uint8_t* row = picture.row(y);
    for (int x = 0; x < picture.width(); ++x) {
      const int black = plain ? header.Bit() : (bytes[start + rowBytes * y + x / 8] >> (7 - x % 8)) & 1;
      row[x] = black ? 0 : 255;
    }
  }
  return picture;
}

// A gray picture as a raw PBM: pixels below 128 are black.
void WritePbm(const Picture& picture, const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) FileError(path + ": cannot open for writing: " + std::strerror(errno));
  std::fprintf(file, "P4\n%d %d\n", picture.width(), picture.height());
  std::vector<uint8_t> line((static_cast<size_t>(picture.width()) + 7) / 8);
  bool ok = true;
  for (int y = 0; y < picture.height() && ok; ++y) {
    const uint8_t* row = picture.row(y);
    std::fill(line.begin(), line.end(), 0);
    for (int x = 0; x < picture.width(); ++x)
      if (row[x] < 128) line[x / 8] |= static_cast<uint8_t>(0x80 >> (x % 8));
    ok = std::fwrite(line.data(), 1, line.size(), file) == line.size();
  }
  if (std::fclose(file) != 0 || !ok) FileError(path + ": write error");
}

void WritePnm(const Picture& picture, const std::string& path, bool colour) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) FileError(path + ": cannot open for writing: " + std::strerror(errno));
  std::fprintf(file, "P%c\n%d %d\n255\n", colour ? '6' : '5', picture.width(), picture.height());
  std::vector<uint8_t> line(static_cast<size_t>(picture.width()) * (colour ? 3 : 1));
  bool ok = true;
  for (int y = 0; y < picture.height() && ok; ++y) {
    const uint8_t* row = picture.row(y);
    if (colour && !picture.colour()) {
      for (int x = 0; x < picture.width(); ++x) line[3 * x] = line[3 * x + 1] = line[3 * x + 2] = row[x];
    } else {
      std::memcpy(line.data(), row, line.size());
    }
    ok = std::fwrite(line.data(), 1, line.size(), file) == line.size();
  }
  if (std::fclose(file) != 0 || !ok) FileError(path + ": write error");
}

}  // namespace

Picture ReadImage(const std::string& path) {
  const std::vector<uint8_t> bytes = Slurp(path);
  static const uint8_t kPngSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
  if (bytes.size() >= 8 && std::memcmp(bytes.data(), kPngSignature, 8) == 0) return ReadPng(path, bytes);
  if (bytes.size() >= 2 && bytes[0] == 'P' && bytes[1] >= '2' && bytes[1] <= '6' && bytes[1] != '4')
    return ReadPnm(path, bytes);
  if (bytes.size() >= 2 && bytes[0] == 'P' && (bytes[1] == '1' || bytes[1] == '4')) return ReadPbm(path, bytes);
  if (bytes.empty()) FileError(path + ": empty file");
  FileError(path + ": not a PNG, PBM, PGM or PPM file");
}

void WriteImage(const Picture& picture, const std::string& path) {
  if (picture.empty()) FileError(path + ": nothing to write");
  const std::string ext = Extension(path);
  if (ext == "png") return WritePng(picture, path);
  if (ext == "ppm") return WritePnm(picture, path, true);
  if (ext == "pnm") return WritePnm(picture, path, picture.colour());
  if (ext == "pbm") {
    if (picture.colour()) FileError(path + ": a colour result cannot be written as PBM; use .ppm, .pnm or .png");
    return WritePbm(picture, path);
  }
  if (ext == "pgm") {
    if (picture.colour()) FileError(path + ": a colour result cannot be written as PGM; use .ppm, .pnm or .png");
    return WritePnm(picture, path, false);
  }
  FileError(path + ": unknown output format '." + ext + "'; use .png, .pbm, .pgm, .ppm or .pnm");
}

}  // namespace ktool
