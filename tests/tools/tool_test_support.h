// Helpers of the tool tests: the tool run in-process, scratch files and pictures with known pixels.
#ifndef KELMIRA_TESTS_TOOLS_SUPPORT_H
#define KELMIRA_TESTS_TOOLS_SUPPORT_H

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

#include "picture.h"
#include "verbs.h"

namespace ttest {

// What `kelmira WORDS...` gives, run in-process: the exit code and the two streams.
struct Outcome {
  int code;
  std::string out, err;
};

inline Outcome Kelmira(const ktool::Words& words) {
  std::ostringstream out, err;
  const int code = ktool::Main(words, out, err);
  return {code, out.str(), err.str()};
}

// A fresh directory named after the running test and private to this process, so that test runs
// of several build trees at once do not share files.
inline std::filesystem::path Scratch() {
  const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
  const std::filesystem::path dir = std::filesystem::path(::testing::TempDir()) /
                                    ("kelmira_tool_tests_" + std::to_string(::getpid())) /
                                    (std::string(info->test_suite_name()) + "." + info->name());
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  return dir;
}

inline void WriteBytes(const std::filesystem::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string ReadBytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

inline ktool::Picture Random(bool colour, int width, int height, unsigned seed) {
  ktool::Picture p = colour ? ktool::Picture::Colour(width, height) : ktool::Picture::Gray(width, height);
  std::mt19937 rng(seed);
  for (int y = 0; y < height; ++y)
    for (int i = 0; i < width * p.channels(); ++i) p.row(y)[i] = static_cast<uint8_t>(rng());
  return p;
}

// A 12x9 gray picture with a bright 4x3 block at (3, 2) and a bright column on the right edge.
inline ktool::Picture Blocks() {
  ktool::Picture p = ktool::Picture::Gray(12, 9);
  for (int y = 0; y < 9; ++y)
    for (int x = 0; x < 12; ++x) p.row(y)[x] = ((x >= 3 && x < 7 && y >= 2 && y < 5) || x == 11) ? 200 : 20;
  return p;
}

inline bool SamePixels(const ktool::Picture& a, const ktool::Picture& b) {
  if (a.colour() != b.colour() || a.width() != b.width() || a.height() != b.height()) return false;
  for (int y = 0; y < a.height(); ++y)
    if (std::memcmp(a.row(y), b.row(y), static_cast<size_t>(a.width()) * a.channels()) != 0) return false;
  return true;
}

}  // namespace ttest

#endif  // KELMIRA_TESTS_TOOLS_SUPPORT_H
