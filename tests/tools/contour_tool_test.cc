// The contour operator of the tool: the drawing, the CSV of `apply --points`, and its refusals.
#include "image_io.h"
#include "tool_test_support.h"

namespace {

// A 12x9 gray picture with a bright 4x3 block at (3, 2) and a bright column on the right edge.
std::string Blocks(const std::filesystem::path& dir) {
  ktool::Picture p = ktool::Picture::Gray(12, 9);
  for (int y = 0; y < 9; ++y)
    for (int x = 0; x < 12; ++x) p.row(y)[x] = ((x >= 3 && x < 7 && y >= 2 && y < 5) || x == 11) ? 200 : 20;
  ktool::WriteImage(p, (dir / "in.png").string());
  return (dir / "in.png").string();
}

TEST(ContourTool, DrawsThePathAndWritesItsPoints) {
  const auto dir = ttest::Scratch();
  const std::string in = Blocks(dir), out = (dir / "out.png").string(), csv = (dir / "p.csv").string();
  const ttest::Outcome r = ttest::Kelmira({"apply", in, out, "contour", "3", "2", "clockwise", "100", "8", "11", "4",
                                           "anticlockwise", "100", "4", "--points", csv});
  ASSERT_EQ(r.code, 0) << r.err;
  // The block closes with its 10 border pixels; the column is walked down to the image edge, where
  // the walk stops (open, closed flag 0) without its last pixel.
  std::string want = "contour,point,x,y,direction,closed\n";
  const char* block[] = {"3,2,0", "4,2,0", "5,2,0", "6,2,6", "6,3,6", "6,4,4", "5,4,4", "4,4,4", "3,4,2", "3,3,2"};
  for (int i = 0; i < 10; ++i) want += "0," + std::to_string(i) + "," + block[i] + ",1\n";
  for (int y = 4; y < 8; ++y) want += "1," + std::to_string(y - 4) + ",11," + std::to_string(y) + ",6,0\n";
  EXPECT_EQ(ttest::ReadBytes(csv), want);
  // The outline in its colour, the inside darkened gray, the white ring three below the start.
  const ktool::Picture drawn = ktool::ReadImage(out);
  ASSERT_TRUE(drawn.colour());
  EXPECT_NE(drawn.row(2)[3 * 5], drawn.row(2)[3 * 5 + 1]);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(drawn.row(3) + 3 * 4), 3), std::string(3, char(150)));
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(drawn.row(5) + 3 * 3), 3), std::string(3, char(255)));
  // At most N: the dark background from the corner, along the image edge, closes.
  ASSERT_EQ(ttest::Kelmira({"apply", in, out, "contour", "0", "0", "clockwise-along-edge", "100-", "8", "--points", csv}).code, 0);
  EXPECT_NE(ttest::ReadBytes(csv).find("0,0,0,0,"), std::string::npos);
}

TEST(ContourTool, Refusals) {
  const auto dir = ttest::Scratch();
  const std::string in = Blocks(dir), out = (dir / "out.png").string(), csv = (dir / "p.csv").string();
  const std::tuple<ktool::Words, int, const char*> cases[] = {
      {{"contour", "0", "0", "clockwise", "100", "8"}, 4, "error 1500"},
      {{"contour", "4", "3", "clockwise", "100", "8"}, 4, "error 1501"},
      {{"contour", "3", "2", "clockwise", "100"}, 2, "takes 5 to 80"},
      {{"contour", "3", "2", "clockwise", "100", "8", "1"}, 2, "groups of five"},
      {{"contour", "12", "2", "clockwise", "100", "8"}, 2, "X must lie in 0..11"},
      {{"contour", "3", "2", "sideways", "100", "8"}, 2, "unknown MODE"},
      {{"contour", "3", "2", "clockwise", "100", "6"}, 2, "unknown CONNEXITY"},
      {{"contour", "3", "2", "clockwise", "300-", "8"}, 2, "THRESHOLD must lie in 0..255"},
      {{"oper", "invert", "--points", csv}, 2, "measures no points"},
      {{"contour", "3", "2", "clockwise", "100", "8", "--points"}, 2, "--points needs a FILE"}};
  for (const auto& [tail, code, message] : cases) {
    ktool::Words words = {"apply", in, out};
    words.insert(words.end(), tail.begin(), tail.end());
    const ttest::Outcome r = ttest::Kelmira(words);
    EXPECT_TRUE(r.code == code && r.err.find(message) != std::string::npos) << message << ": " << r.err;
  }
}

}  // namespace
