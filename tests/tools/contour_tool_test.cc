// The tool's contour operator: the drawing and the CSV of `apply --points`.
#include "image_io.h"
#include "tool_test_support.h"

namespace {

TEST(ContourTool, DrawsThePathAndWritesItsPoints) {
  const auto dir = ttest::Scratch();
  const std::string in = (dir / "in.png").string(), out = (dir / "out.png").string(), csv = (dir / "p.csv").string();
  ktool::WriteImage(ttest::Blocks(), in);
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

}  // namespace
