// Image files: round trips in every format, the plain and 16-bit PNM forms, and each kind of
// malformed or unwritable file giving a file error that names the problem.
#include "image_io.h"

#include "tool_test_support.h"

namespace {

using ktool::Picture;

// Expects a file error whose message contains `needle`.
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

TEST(ImageFiles, RoundTripsEveryFormatAndOddSizes) {
  const auto dir = ttest::Scratch();
  unsigned seed = 1;
  for (bool colour : {false, true}) {
    for (auto [w, h] : {std::pair{1, 1}, {3, 2}, {17, 5}, {64, 3}}) {
      const Picture p = ttest::Random(colour, w, h, seed++);
      for (const char* ext : {"png", "pnm", colour ? "ppm" : "pgm"}) {
        const std::string path = (dir / (std::to_string(w) + "x" + std::to_string(h) + "." + ext)).string();
        ktool::WriteImage(p, path);
        EXPECT_TRUE(ttest::SamePixels(ktool::ReadImage(path), p)) << path << (colour ? " colour" : " gray");
      }
    }
  }
}

TEST(ImageFiles, GrayWrittenAsPpmComesBackWithThreeEqualComponents) {
  const auto dir = ttest::Scratch();
  const Picture gray = ttest::Random(false, 9, 4, 3);
  ktool::WriteImage(gray, (dir / "g.ppm").string());
  const Picture back = ktool::ReadImage((dir / "g.ppm").string());
  ASSERT_TRUE(back.colour());
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 9; ++x)
      for (int c = 0; c < 3; ++c) EXPECT_EQ(back.row(y)[3 * x + c], gray.row(y)[x]);
}

TEST(ImageFiles, PlainForms16BitSamplesAndSmallMaximaAreScaledTo8Bits) {
  const auto dir = ttest::Scratch();
  // Plain gray with comments anywhere in the header, maximum 15: 15 is white, 8 rounds to 136.
  ttest::WriteBytes(dir / "a.pgm", "P2\n# made by hand\n3 # width\n1\n15\n0 8\n15\n");
  Picture a = ktool::ReadImage((dir / "a.pgm").string());
  ASSERT_FALSE(a.colour());
  EXPECT_EQ(a.row(0)[0], 0);
  EXPECT_EQ(a.row(0)[1], 136);
  EXPECT_EQ(a.row(0)[2], 255);
  // Plain colour.
  ttest::WriteBytes(dir / "b.ppm", "P3 1 1 255 10 20 30");
  Picture b = ktool::ReadImage((dir / "b.ppm").string());
  ASSERT_TRUE(b.colour());
  EXPECT_EQ(b.row(0)[0], 10);
  EXPECT_EQ(b.row(0)[2], 30);
  // Binary 16-bit samples are big-endian.
  ttest::WriteBytes(dir / "c.pgm", std::string("P5 2 1 65535\n\xff\xff\x80\x00", 17));
  Picture c = ktool::ReadImage((dir / "c.pgm").string());
  EXPECT_EQ(c.row(0)[0], 255);
  EXPECT_EQ(c.row(0)[1], 128);
  // The format comes from the content, not the name.
  ktool::WriteImage(ttest::Random(false, 4, 4, 9), (dir / "png-inside.ppm").string());
  std::filesystem::rename(dir / "png-inside.ppm", dir / "named.png");
  EXPECT_EQ(ktool::ReadImage((dir / "named.png").string()).width(), 4);
}

// PBM: 1 is black; plain rasters need no blanks between their digits; rows of the raw form are
// padded to a byte. Written bitmaps put pixels below 128 in black.
TEST(ImageFiles, BitmapsReadAsBlackAndWhiteGray) {
  const auto dir = ttest::Scratch();
  ttest::WriteBytes(dir / "a.pbm", "P1\n# plain\n3 2\n101\n0 1 0\n");
  const Picture a = ktool::ReadImage((dir / "a.pbm").string());
  ASSERT_FALSE(a.colour());
  const int want[2][3] = {{0, 255, 0}, {255, 0, 255}};
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 3; ++x) EXPECT_EQ(a.row(y)[x], want[y][x]);
  Picture p = ttest::Random(false, 11, 3, 4);
  ktool::WriteImage(p, (dir / "p.pbm").string());
  const Picture back = ktool::ReadImage((dir / "p.pbm").string());
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 11; ++x) EXPECT_EQ(back.row(y)[x], p.row(y)[x] < 128 ? 0 : 255);
}

TEST(ImageFiles, MalformedFilesNameTheirProblem) {
  const auto dir = ttest::Scratch();
  const auto read = [&](const std::string& name, const std::string& bytes) {
    ttest::WriteBytes(dir / name, bytes);
    return [path = (dir / name).string()] { ktool::ReadImage(path); };
  };
  ExpectFileError([&] { ktool::ReadImage((dir / "absent.png").string()); }, "cannot open");
  ExpectFileError(read("empty.png", ""), "empty file");
  ExpectFileError(read("text.png", "hello, world"), "not a PNG, PBM, PGM or PPM");
  ExpectFileError(read("p7.pam", "P7 1 1\n\x80"), "not a PNG, PBM, PGM or PPM");
  ExpectFileError(read("short.pbm", "P4 9 2\n\x80\x00\x01"), "truncated PBM");
  ExpectFileError(read("plain.pbm", "P1 3 1 0 1"), "expected a 0 or 1");
  ExpectFileError(read("noheight.pgm", "P5 10"), "expected height");
  ExpectFileError(read("letters.pgm", "P5 ten 1 255\n"), "expected width");
  ExpectFileError(read("zero.pgm", "P5 0 4 255\n"), "no pixels");
  ExpectFileError(read("huge.pgm", "P5 60000 60000 255\n"), "too large");
  ExpectFileError(read("bigger.pgm", "P5 99999999999 1 255\n"), "too large");
  ExpectFileError(read("maxval0.pgm", "P5 1 1 0\n\x00"), "maximum value 0");
  ExpectFileError(read("short.pgm", "P5 4 4 255\nabc"), "truncated");
  ExpectFileError(read("short16.ppm", "P6 2 2 1000\n" + std::string(23, 'x')), "truncated");
  ExpectFileError(read("nogap.pgm", "P5 1 1 255"), "no blank before the pixels");
  ExpectFileError(read("above.pgm", "P2 2 1 10 3 11"), "above the maximum");
  ExpectFileError(read("plainshort.ppm", "P3 2 1 255 1 2 3 4"), "file too short");

  // A valid PNG cut short, and one with a damaged header.
  ktool::WriteImage(ttest::Random(true, 40, 30, 5), (dir / "good.png").string());
  const std::string png = ttest::ReadBytes(dir / "good.png");
  ExpectFileError(read("cut.png", png.substr(0, png.size() / 2)), "malformed PNG");
  std::string damaged = png;
  damaged[16] = '\x7f';  // width's high byte: the header's checksum no longer matches
  ExpectFileError(read("damaged.png", damaged), "malformed PNG");
}

TEST(ImageFiles, UnwritableTargetsAreFileErrors) {
  const auto dir = ttest::Scratch();
  const Picture colour = ttest::Random(true, 4, 4, 2), gray = ttest::Random(false, 4, 4, 2);
  ExpectFileError([&] { ktool::WriteImage(colour, (dir / "c.pgm").string()); }, "cannot be written as PGM");
  ExpectFileError([&] { ktool::WriteImage(colour, (dir / "c.pbm").string()); }, "cannot be written as PBM");
  ExpectFileError([&] { ktool::WriteImage(gray, (dir / "g.bmp").string()); }, "unknown output format");
  ExpectFileError([&] { ktool::WriteImage(gray, (dir / "noext").string()); }, "unknown output format");
  ExpectFileError([&] { ktool::WriteImage(gray, (dir / "missing" / "g.pgm").string()); }, "cannot open for writing");
  ExpectFileError([&] { ktool::WriteImage(gray, (dir / "missing" / "g.png").string()); }, "cannot write PNG");
  ExpectFileError([&] { ktool::WriteImage(Picture(), (dir / "e.png").string()); }, "nothing to write");
}

}  // namespace
