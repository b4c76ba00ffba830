// `kelmira stats`: the table and the JSON of a known image and of a rectangle of it, and its
// refusals.
#include <sstream>

#include "image_io.h"
#include "tool_test_support.h"
#include "verbs.h"

namespace {

// A 20 x 10 gray image of 10 with a bright 4 x 2 block of 200 at (12, 6).
std::string BlockImage() {
  ktool::Picture p = ktool::Picture::Gray(20, 10);
  for (int y = 0; y < 10; ++y)
    for (int x = 0; x < 20; ++x) p.row(y)[x] = (x >= 12 && x < 16 && y >= 6 && y < 8) ? 200 : 10;
  const std::string path = (ttest::Scratch() / "block.pgm").string();
  ktool::WriteImage(p, path);
  return path;
}

TEST(Stats, TableOfAGrayImage) {
  const ttest::Outcome r = ttest::Kelmira({"stats", BlockImage()});
  ASSERT_EQ(r.code, 0) << r.err;
  const auto line = [](const std::string& name, const std::string& value) {
    return "  " + name + std::string(28 - name.size(), ' ') + std::string(16 - value.size(), ' ') + value + "\n";
  };
  for (const std::string& expected : {line("minimum", "10"), line("maximum", "200"), line("area at or above threshold", "8"),
                                      line("gravity x", "13.5"), line("gravity y", "6.5"), line("pixels", "8")})
    EXPECT_NE(r.out.find(expected), std::string::npos) << expected << r.out;
}

TEST(Stats, JsonOfARectangleAndOfAColourImage) {
  const std::string path = BlockImage();
  const ttest::Outcome r = ttest::Kelmira({"stats", path, "10,5,6,4", "--json", "--threshold", "100"});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(r.out.rfind("{\"image\": ", 0), 0u);
  EXPECT_NE(r.out.find("\"roi\": [10, 5, 6, 4], \"threshold\": 100"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("\"centre\": {\"gravity x\": 3.5, \"gravity y\": 1.5"), std::string::npos) << r.out;
  EXPECT_EQ(r.out.substr(r.out.size() - 3), "}}\n");
  const std::string colour = (ttest::Scratch() / "c.ppm").string();
  ktool::WriteImage(ttest::Random(true, 9, 7, 3), colour);
  const ttest::Outcome c = ttest::Kelmira({"stats", colour, "--json"});
  ASSERT_EQ(c.code, 0) << c.err;
  EXPECT_NE(c.out.find("\"red\": {\"mean\": "), std::string::npos);
  EXPECT_NE(c.out.find("\"all components\": {\"variance\": "), std::string::npos);
}

TEST(Stats, RefusalsAndHelp) {
  const std::string path = BlockImage();
  EXPECT_EQ(ttest::Kelmira({"stats"}).code, 2);
  EXPECT_EQ(ttest::Kelmira({"stats", path, "15,5,6,4"}).code, 2);  // past the right edge
  EXPECT_EQ(ttest::Kelmira({"stats", path, "1,2,3"}).code, 2);
  EXPECT_EQ(ttest::Kelmira({"stats", path, "--threshold", "256"}).code, 2);
  EXPECT_EQ(ttest::Kelmira({"stats", path, "--frobnicate"}).code, 2);
  EXPECT_EQ(ttest::Kelmira({"stats", (ttest::Scratch() / "missing.png").string()}).code, 3);
  for (const ktool::Words& w : std::vector<ktool::Words>{{"stats", "--help"}, {"help", "stats"}})
    EXPECT_EQ(ttest::Kelmira(w).out.rfind("usage: kelmira stats", 0), 0u);
  EXPECT_NE(ttest::Kelmira({"--help"}).out.find("  stats IMAGE"), std::string::npos);
}

}  // namespace
