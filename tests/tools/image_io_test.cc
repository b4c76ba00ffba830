// Image files: round trips, plain and 16-bit PNM, bitmaps, malformed and unwritable files.
#include "image_io.h"

#include "tool_test_support.h"

namespace {

using ktool::Picture;

template <class F>
void ExpectFileError(F&& f, const std::string& needle) {
  try {
    f();
    ADD_FAILURE() << "no error; expected one containing '" << needle << "'";
  } catch (const ktool::ToolError& e) {
    EXPECT_EQ(e.code(), ktool::kExitFile) << e.what();
    EXPECT_NE(std::string(e.what()).find(needle), std::string::npos) << e.what();
  }
}

// Every format at odd sizes; gray written as PPM comes back as three equal components; PBM
// writes pixels below 128 as black.
TEST(ImageFiles, RoundTripsEveryFormatAndOddSizes) {
  const auto dir = ttest::Scratch();
  unsigned seed = 1;
  for (bool colour : {false, true})
    for (auto [w, h] : {std::pair{1, 1}, {3, 2}, {17, 5}, {64, 3}}) {
      const Picture p = ttest::Random(colour, w, h, seed++);
      for (const char* ext : {"png", "pnm", colour ? "ppm" : "pgm"}) {
        const std::string path = (dir / (std::to_string(w) + "x" + std::to_string(h) + "." + ext)).string();
        ktool::WriteImage(p, path);
        EXPECT_TRUE(ttest::SamePixels(ktool::ReadImage(path), p)) << path << (colour ? " colour" : " gray");
      }
    }
  const Picture gray = ttest::Random(false, 11, 3, 3);
  for (const char* name : {"g.ppm", "g.pbm"}) ktool::WriteImage(gray, (dir / name).string());
  const Picture asColour = ktool::ReadImage((dir / "g.ppm").string()), bits = ktool::ReadImage((dir / "g.pbm").string());
  ASSERT_TRUE(asColour.colour() && !bits.colour());
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 11; ++x) {
      for (int c = 0; c < 3; ++c) EXPECT_EQ(asColour.row(y)[3 * x + c], gray.row(y)[x]);
      EXPECT_EQ(bits.row(y)[x], gray.row(y)[x] < 128 ? 0 : 255);
    }
}

// Plain forms with comments anywhere (maximum 15: 8 rounds to 136), 16-bit big-endian samples,
// plain bitmaps without blanks between digits (1 is black); the format comes from the content.
TEST(ImageFiles, PlainForms16BitSamplesAndBitmapsAreScaledTo8Bits) {
  const auto dir = ttest::Scratch();
  const std::tuple<const char*, std::string, bool, std::vector<int>> cases[] = {
      {"a.pgm", "P2\n# made by hand\n3 # width\n1\n15\n0 8\n15\n", false, {0, 136, 255}},
      {"b.ppm", "P3 1 1 255 10 20 30", true, {10, 20, 30}},
      {"c.pgm", std::string("P5 2 1 65535\n\xff\xff\x80\x00", 17), false, {255, 128}},
      {"d.pbm", "P1\n# plain\n3 2\n101\n0 1 0\n", false, {0, 255, 0, 255, 0, 255}}};
  for (const auto& [name, bytes, colour, pixels] : cases) {
    ttest::WriteBytes(dir / name, bytes);
    const Picture p = ktool::ReadImage((dir / name).string());
    ASSERT_EQ(p.colour(), colour) << name;
    std::vector<int> got;
    for (int y = 0; y < p.height(); ++y)
      for (int i = 0; i < p.width() * p.channels(); ++i) got.push_back(p.row(y)[i]);
    EXPECT_EQ(got, pixels) << name;
  }
  ktool::WriteImage(ttest::Random(false, 4, 4, 9), (dir / "png-inside.ppm").string());
  std::filesystem::rename(dir / "png-inside.ppm", dir / "named.png");
  EXPECT_EQ(ktool::ReadImage((dir / "named.png").string()).width(), 4);
}

TEST(ImageFiles, MalformedAndUnwritableFilesNameTheirProblem) {
  const auto dir = ttest::Scratch();
  ktool::WriteImage(ttest::Random(true, 40, 30, 5), (dir / "good.png").string());
  const std::string png = ttest::ReadBytes(dir / "good.png");
  std::string damaged = png;
  damaged[16] = '\x7f';  // width's high byte: the header's checksum no longer matches
  const std::pair<std::string, std::string> files[] = {
      {"", "empty file"}, {"hello, world", "not a PNG, PBM, PGM or PPM"}, {"P7 1 1\n\x80", "not a PNG, PBM, PGM or PPM"},
      {"P4 9 2\n\x80\x00\x01", "truncated PBM"}, {"P1 3 1 0 1", "expected a 0 or 1"}, {"P5 10", "expected height"},
      {"P5 ten 1 255\n", "expected width"}, {"P5 0 4 255\n", "no pixels"}, {"P5 60000 60000 255\n", "too large"},
      {"P5 99999999999 1 255\n", "too large"}, {std::string("P5 1 1 0\n\x00", 10), "maximum value 0"},
      {"P5 4 4 255\nabc", "truncated"}, {"P6 2 2 1000\n" + std::string(23, 'x'), "truncated"},
      {"P5 1 1 255", "no blank before the pixels"}, {"P2 2 1 10 3 11", "above the maximum"},
      {"P3 2 1 255 1 2 3 4", "file too short"}, {png.substr(0, png.size() / 2), "malformed PNG"},
      {damaged, "malformed PNG"}};
  int i = 0;
  for (const auto& [bytes, needle] : files) {
    auto name = dir / "f";
    name += std::to_string(i++);  // not "f" + ...: GCC 12 at -O3 warns on that insert
    const std::string path = name.string();
    ttest::WriteBytes(path, bytes);
    ExpectFileError([&] { ktool::ReadImage(path); }, needle);
  }
  ExpectFileError([&] { ktool::ReadImage((dir / "absent.png").string()); }, "cannot open");
  const Picture colour = ttest::Random(true, 4, 4, 2), gray = ttest::Random(false, 4, 4, 2);
  const std::tuple<const Picture*, std::string, const char*> targets[] = {
      {&colour, "c.pgm", "cannot be written as PGM"}, {&colour, "c.pbm", "cannot be written as PBM"},
      {&gray, "g.bmp", "unknown output format"}, {&gray, "noext", "unknown output format"},
      {&gray, "missing/g.pgm", "cannot open for writing"}, {&gray, "missing/g.png", "cannot write PNG"}};
  for (const auto& [picture, name, needle] : targets) ExpectFileError([&] { ktool::WriteImage(*picture, (dir / name).string()); }, needle);
  ExpectFileError([&] { ktool::WriteImage(Picture(), (dir / "e.png").string()); }, "nothing to write");
}

}  // namespace
