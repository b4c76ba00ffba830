// `kelmira stats`: the table and the JSON of a known image and of a rectangle of it (its refusals
// and help are rows of the tool's tables).
#include "image_io.h"
#include "tool_test_support.h"

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

TEST(Stats, TableAndJson) {
  const std::string path = BlockImage(), colour = path + ".ppm";
  const ttest::Outcome r = ttest::Kelmira({"stats", path});
  ASSERT_EQ(r.code, 0) << r.err;
  for (const auto& [name, value] : {std::pair<std::string, std::string>{"minimum", "10"}, {"maximum", "200"},
                                    {"area at or above threshold", "8"}, {"gravity x", "13.5"}, {"gravity y", "6.5"},
                                    {"pixels", "8"}}) {
    const std::string line = "  " + name + std::string(28 - name.size(), ' ') + std::string(16 - value.size(), ' ') + value + "\n";
    EXPECT_NE(r.out.find(line), std::string::npos) << line << r.out;
  }
  const ttest::Outcome j = ttest::Kelmira({"stats", path, "10,5,6,4", "--json", "--threshold", "100"});
  ASSERT_EQ(j.code, 0) << j.err;
  EXPECT_EQ(j.out.rfind("{\"image\": ", 0), 0u);
  EXPECT_NE(j.out.find("\"roi\": [10, 5, 6, 4], \"threshold\": 100"), std::string::npos) << j.out;
  EXPECT_NE(j.out.find("\"centre\": {\"gravity x\": 3.5, \"gravity y\": 1.5"), std::string::npos) << j.out;
  EXPECT_EQ(j.out.substr(j.out.size() - 3), "}}\n");
  ktool::WriteImage(ttest::Random(true, 9, 7, 3), colour);
  const ttest::Outcome c = ttest::Kelmira({"stats", colour, "--json"});
  ASSERT_EQ(c.code, 0) << c.err;
  EXPECT_TRUE(c.out.find("\"red\": {\"mean\": ") != std::string::npos &&
              c.out.find("\"all components\": {\"variance\": ") != std::string::npos);
}

}  // namespace
