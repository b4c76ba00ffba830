// The verbs through Main(), bad input with its message and exit code, and the built program itself.
#include <sys/wait.h>

#include <cstdlib>

#include "image_io.h"
#include "registry.h"
#include "scene.h"
#include "tool_test_support.h"

namespace {

using ktool::Picture;

ktool::Words Split(const std::string& line) {
  std::istringstream words(line);
  ktool::Words out;
  for (std::string w; words >> w;) out.push_back(w);
  return out;
}

// Every PNG of the demo is on the sheet with a caption and a step in the timing table; the command
// under each picture, run in the demo directory, gives the same pixels.
TEST(Demo, WritesEveryPictureAndCaptionsThatRemakeThem) {
  const auto dir = ttest::Scratch() / "nested" / "demo";
  const ttest::Outcome r = ttest::Kelmira({"demo", "--out", dir.string()});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(r.err, "");
  const std::string html = ttest::ReadBytes(dir / "index.html");
  int pictures = 0, captions = 0, remade = 0;
  for (const auto& entry : std::filesystem::directory_iterator(dir)) {
    if (entry.path().extension() != ".png") continue;
    ++pictures;
    const std::string name = entry.path().filename().string(), step = name.substr(3, name.size() - 7);
    EXPECT_NE(html.find("<img src=\"" + name + "\""), std::string::npos) << name;
    EXPECT_GT(ktool::ReadImage(entry.path().string()).width(), 0);
    EXPECT_TRUE(step == "colour" || step == "gray" || r.out.find(" " + step + " ") != std::string::npos) << step;
  }
  for (size_t at = html.find("<figcaption>"); at != std::string::npos; at = html.find("<figcaption>", at + 1)) ++captions;
  EXPECT_TRUE(pictures >= 8 && captions == pictures) << pictures << " " << captions;
  const Picture colour = ktool::ReadImage((dir / "00-colour.png").string());
  EXPECT_TRUE(colour.colour() && colour.width() == ktool::kSceneWidth && colour.height() == ktool::kSceneHeight);
  EXPECT_FALSE(ktool::ReadImage((dir / "01-gray.png").string()).colour());
  const std::string open = "<code>kelmira ", close = "</code>";
  for (size_t at = html.find(open); at != std::string::npos; at = html.find(open, at + 1), ++remade) {
    const size_t from = at + open.size();
    ktool::Words args = Split(html.substr(from, html.find(close, from) - from));
    const std::string expected = args[2];
    args[1] = (dir / args[1]).string();
    args[2] = (dir / ("again-" + expected)).string();
    for (size_t i = 4; i < args.size(); ++i)
      if (args[i].size() > 4 && args[i].substr(args[i].size() - 4) == ".png") args[i] = (dir / args[i]).string();
    const ttest::Outcome again = ttest::Kelmira(args);
    ASSERT_EQ(again.code, 0) << expected << ": " << again.err;
    EXPECT_TRUE(ttest::SamePixels(ktool::ReadImage(args[2]), ktool::ReadImage((dir / expected).string()))) << expected;
  }
  EXPECT_GE(remade, 6);
}

TEST(Apply, RoundTripsAndRunsOperatorsOnFiles) {
  const auto dir = ttest::Scratch();
  const Picture colour = ttest::Random(true, 37, 11, 4);
  const std::string in = (dir / "in.png").string();
  const auto path = [&](const char* name) { return (dir / name).string(); };
  ktool::WriteImage(colour, in);
  // Swapping two components twice gives the image back, through PNG and PPM.
  ASSERT_EQ(ttest::Kelmira({"apply", in, path("s.ppm"), "swap", "0", "2"}).code, 0);
  const ttest::Outcome r = ttest::Kelmira({"apply", path("s.ppm"), path("back.png"), "swap", "2", "0"});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_NE(r.out.find("37x11 colour"), std::string::npos) << r.out;
  EXPECT_TRUE(ttest::SamePixels(ktool::ReadImage(path("back.png")), colour));
  // A plane taken out and put back; a crop at the far corner, with a hexadecimal number.
  ASSERT_EQ(ttest::Kelmira({"apply", in, path("g.pgm"), "get-component", "1"}).code, 0);
  ASSERT_EQ(ttest::Kelmira({"apply", in, path("set.png"), "set-component", "0", path("g.pgm")}).code, 0);
  ASSERT_EQ(ttest::Kelmira({"apply", in, path("c.png"), "crop", "0x22", "9", "3", "2"}).code, 0);
  const Picture plane = ktool::ReadImage(path("g.pgm")), set = ktool::ReadImage(path("set.png"));
  for (int x = 0; x < 37; ++x)
    EXPECT_TRUE(plane.row(5)[x] == colour.row(5)[3 * x + 1] && set.row(7)[3 * x] == colour.row(7)[3 * x + 1] &&
                set.row(7)[3 * x + 2] == colour.row(7)[3 * x + 2]) << x;
  const Picture crop = ktool::ReadImage(path("c.png"));
  ASSERT_TRUE(crop.width() == 3 && crop.height() == 2);
  EXPECT_EQ(std::memcmp(crop.row(1), colour.row(10) + 3 * 34, 9), 0);
}

TEST(Apply, EveryOperatorRunsItsExampleOnTheKindsItTakesAndRefusesTheOthers) {
  const auto dir = ttest::Scratch();
  const std::string gray = (dir / "gray.png").string(), colour = (dir / "colour.png").string();
  ktool::WriteImage(ttest::Random(false, 96, 72, 11), gray);
  ktool::WriteImage(ttest::Random(true, 96, 72, 12), colour);
  ktool::WriteImage(ttest::Random(false, 96, 72, 13), (dir / "plane.png").string());
  for (const ktool::Operator& op : ktool::Operators())
    for (const auto& [kind, in] : {std::pair<std::string, std::string>{"gray", gray}, {"colour", colour}}) {
      ktool::Words words = {"apply", in, (dir / (std::string(op.name) + "-" + kind + ".png")).string(), op.name};
      for (const std::string& w : Split(op.example)) words.push_back(w.find(".png") != std::string::npos ? (dir / w).string() : w);
      const ttest::Outcome r = ttest::Kelmira(words);
      if (std::string(op.input).find(kind) != std::string::npos) {
        EXPECT_EQ(r.code, 0) << op.name << " on " << kind << ": " << r.err;
        EXPECT_GT(ktool::ReadImage(words[2]).width(), 0) << op.name;
      } else {
        EXPECT_EQ(r.code, 2) << op.name << " on " << kind;
        EXPECT_NE(r.err.find("needs a"), std::string::npos) << r.err;
      }
    }
}

TEST(Help, EveryVerbHasHelpAndListNamesEveryOperator) {
  for (const char* verb : {"", "demo", "apply", "list", "stats"}) {
    const std::string v = verb;
    for (const ktool::Words& words : v.empty() ? std::vector<ktool::Words>{{"--help"}, {"help"}, {"-h"}}
                                               : std::vector<ktool::Words>{{v, "--help"}, {"help", v}, {v, "x", "-h"}}) {
      const ttest::Outcome r = ttest::Kelmira(words);
      EXPECT_EQ(r.code, 0) << verb << r.err;
      EXPECT_EQ(r.out.rfind("usage: kelmira " + (v.empty() ? std::string("VERB") : v), 0), 0u) << r.out;
    }
  }
  const ttest::Outcome list = ttest::Kelmira({"list"});
  ASSERT_EQ(list.code, 0);
  for (const ktool::Operator& op : ktool::Operators())
    EXPECT_NE(list.out.find(std::string("  ") + op.name + " " + op.arguments), std::string::npos) << op.name;
  EXPECT_NE(ttest::Kelmira({"--help"}).out.find("  stats IMAGE"), std::string::npos);
}

TEST(BadInput, EachKindGivesOneLineAndItsExitCode) {
  const auto dir = ttest::Scratch();
  const std::string gray = (dir / "gray.pgm").string(), colour = (dir / "colour.ppm").string();
  const std::string out = (dir / "out.png").string(), small = (dir / "small.pgm").string();
  ktool::WriteImage(ttest::Random(false, 8, 6, 1), gray);
  ktool::WriteImage(ttest::Random(true, 8, 6, 1), colour);
  const std::string blocks = (dir / "blocks.png").string(), csv = (dir / "p.csv").string();
  ktool::WriteImage(ttest::Random(false, 5, 5, 1), small);
  ktool::WriteImage(ttest::Blocks(), blocks);
  ttest::WriteBytes(dir / "bad.pgm", "P5 8 6 255\nshort");
  const std::string lib = "LumOper failed: error 1003 (" + std::string(ZGetErrorText(Z_ERROR_BAD_OPERATION)) + ")";
  const std::string zero = "error 1411 (" + std::string(ZGetErrorText(Z_ERROR_ZERO_DIVIDE)) + ")";
  const std::tuple<ktool::Words, int, std::string> cases[] = {
      {{"frobnicate"}, 2, "unknown verb 'frobnicate'"}, {{"list", "extra"}, 2, "list takes no arguments"},
      {{"demo", "--out"}, 2, "--out needs a directory"}, {{"apply", gray}, 2, "apply needs IN OUT OP"},
      {{"apply", gray, out, "blur"}, 2, "unknown operator 'blur'"},
      {{"apply", gray, out, "crop", "1", "1"}, 2, "crop takes 4 arguments (X Y WIDTH HEIGHT), 2 given"},
      {{"apply", gray, out, "crop", "one", "1", "2", "2"}, 2, "X must be an integer, not 'one'"},
      {{"apply", gray, out, "crop", "1", "1", "0", "2"}, 2, "WIDTH must lie in 1..65535, not 0"},
      {{"apply", gray, out, "crop", "4", "1", "5", "2"}, 2, "does not lie inside the 8x6 gray image"},
      {{"apply", gray, out, "crop", "--x", "1", "5", "2"}, 2, "unknown option '--x'"},
      {{"apply", gray, out, "get-component", "1"}, 2, "get-component needs a colour image; the input is gray"},
      {{"apply", colour, out, "set-component", "1", colour}, 2, "PLANE must be a gray image"},
      {{"apply", colour, out, "set-component", "1", small}, 2, "they must have the same size"},
      {{"apply", (dir / "nope.png").string(), out, "crop", "0", "0", "1", "1"}, 3, "nope.png: cannot open"},
      {{"apply", (dir / "bad.pgm").string(), out, "crop", "0", "0", "1", "1"}, 3, "bad.pgm: truncated PNM"},
      {{"apply", colour, (dir / "o.pgm").string(), "swap", "0", "1"}, 3, "cannot be written as PGM"},
      {{"apply", gray, (dir / "no" / "o.png").string(), "crop", "0", "0", "1", "1"}, 3, "cannot write PNG"},
      {{"demo", "--out", gray}, 3, "cannot create the directory"},
      // The library's own refusal: number, text and the operator that failed, with its trace.
      {{"apply", colour, out, "get-component", "3"}, 4,
       "HueGetComponent failed: error 1013 (" + std::string(ZGetErrorText(Z_ERROR_ARGUMENT_3)) + ")"},
      {{"apply", gray, out, "oper", "shift-left", gray}, 4, lib + "; trace: \"LumOper ( BW8 Image, Image to Image)\""},
      {{"apply", colour, out, "oper", "logical-and", "7"}, 4, "trace: \"LumOper ( C24 Image, Const to Image)\""},
      {{"apply", gray, out, "oper", "frob"}, 2, "unknown CODE 'frob' (one of: copy, invert, add"},
      {{"apply", gray, out, "oper", "add", "1,2,3"}, 2, "VALUE must be a number 0..255, not '1,2,3'"},
      {{"apply", colour, out, "fill", "1,2"}, 2, "VALUE must be a number 0..255 or R,G,B, not '1,2'"},
      {{"apply", gray, out, "convolve", "sobel-z"}, 2, "unknown KERNEL 'sobel-z' (one of: sobel-x, sobel-y"},
      {{"apply", gray, out, "convolve", "sobel-x", "big"}, 2, "GAIN must be a number, not 'big'"},
      {{"apply", gray, out, "morph-disk", "open"}, 2, "morph-disk takes 2 arguments (OPERATION RADIUS), 1 given"},
      // a library trace of two words, innermost first
      {{"apply", gray, out, "rotate", "0", "0"}, 4, "LumScaleRotate failed: " + zero + "; trace: \"LumLinearTransform\" < \"LumScaleRotate\""},
      {{"stats", gray, "5,5,6,4"}, 2, "ROI must be X,Y,WIDTH,HEIGHT inside the 8x6 gray image, not '5,5,6,4'"},
      {{"stats"}, 2, "stats needs an IMAGE"}, {{"stats", gray, "1,2,3"}, 2, "not '1,2,3'"},
      {{"stats", gray, "--threshold", "256"}, 2, "--threshold needs a number 0..255"},
      {{"stats", gray, "--frobnicate"}, 2, "unknown option '--frobnicate'"}, {{"stats", gray + ".missing.png"}, 3, "cannot open"},
      {{"apply", blocks, out, "contour", "0", "0", "clockwise", "100", "8"}, 4, "error 1500"},
      {{"apply", blocks, out, "contour", "4", "3", "clockwise", "100", "8"}, 4, "error 1501"},
      {{"apply", blocks, out, "contour", "3", "2", "clockwise", "100"}, 2, "takes 5 to 80"},
      {{"apply", blocks, out, "contour", "3", "2", "clockwise", "100", "8", "1"}, 2, "groups of five"},
      {{"apply", blocks, out, "contour", "12", "2", "clockwise", "100", "8"}, 2, "X must lie in 0..11"},
      {{"apply", blocks, out, "contour", "3", "2", "sideways", "100", "8"}, 2, "unknown MODE"},
      {{"apply", blocks, out, "contour", "3", "2", "clockwise", "100", "6"}, 2, "unknown CONNEXITY"},
      {{"apply", blocks, out, "contour", "3", "2", "clockwise", "300-", "8"}, 2, "THRESHOLD must lie in 0..255"},
      {{"apply", blocks, out, "oper", "invert", "--points", csv}, 2, "measures no points"},
      {{"apply", blocks, out, "contour", "3", "2", "clockwise", "100", "8", "--points"}, 2, "--points needs a FILE"},
  };
  for (const auto& [words, code, message] : cases) {
    const ttest::Outcome r = ttest::Kelmira(words);
    const std::string said = words[0] + (words.size() > 3 ? " " + words[3] : "") + ": " + r.err;
    EXPECT_TRUE(r.code == code && r.err.rfind("kelmira: ", 0) == 0 && r.err.find(message) != std::string::npos) << said;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << said;
  }
  EXPECT_FALSE(std::filesystem::exists(out)) << "a failed apply wrote its output";
  const ttest::Outcome none = ttest::Kelmira({});  // the usage text and the usage code
  EXPECT_TRUE(none.code == 2 && none.err.find("usage: kelmira") != std::string::npos);
}

// The table and the JSON of a known image and of a rectangle of it (stats' refusals and help are
// rows of the tables above); nine digits of a float in the table.
TEST(Stats, TableAndJson) {
  const auto dir = ttest::Scratch();
  const std::string path = (dir / "blocks.pgm").string(), colour = (dir / "colour.ppm").string();
  ktool::WriteImage(ttest::Blocks(), path);
  const ttest::Outcome r = ttest::Kelmira({"stats", path});
  ASSERT_EQ(r.code, 0) << r.err;
  for (const auto& [name, value] : {std::pair<std::string, std::string>{"minimum", "20"}, {"maximum", "200"},
                                    {"area at or above threshold", "21"}, {"gravity x", "7.28571415"},
                                    {"gravity y", "3.42857146"}, {"pixels", "21"}}) {
    const std::string line = "  " + name + std::string(28 - name.size(), ' ') + std::string(16 - value.size(), ' ') + value + "\n";
    EXPECT_NE(r.out.find(line), std::string::npos) << line << r.out;
  }
  const ttest::Outcome j = ttest::Kelmira({"stats", path, "2,1,6,4", "--json", "--threshold", "100"});
  ASSERT_EQ(j.code, 0) << j.err;
  EXPECT_TRUE(j.out.rfind("{\"image\": ", 0) == 0 && j.out.substr(j.out.size() - 3) == "}}\n") << j.out;
  EXPECT_NE(j.out.find("\"roi\": [2, 1, 6, 4], \"threshold\": 100"), std::string::npos) << j.out;
  EXPECT_NE(j.out.find("\"centre\": {\"gravity x\": 2.5, \"gravity y\": 2,"), std::string::npos) << j.out;
  ktool::WriteImage(ttest::Random(true, 9, 7, 3), colour);
  const ttest::Outcome c = ttest::Kelmira({"stats", colour, "--json"});
  ASSERT_EQ(c.code, 0) << c.err;
  EXPECT_TRUE(c.out.find("\"red\": {\"mean\": ") != std::string::npos &&
              c.out.find("\"all components\": {\"variance\": ") != std::string::npos);
}

// The program itself: main() passes the words and returns the exit code; what it prints.
TEST(Program, ExitCodesReachTheShell) {
  const auto dir = ttest::Scratch();
  const std::string none = (dir / "none.png").string();
  const std::tuple<std::string, int, std::string> runs[] = {
      {"--help", 0, "usage: kelmira"}, {"list", 0, "operators"},
      {"apply " + none + " x.png crop 0 0 1 1", 3, "kelmira: " + none + ": cannot open for reading: No such file or directory\n"},
      {"nonsense", 2, "kelmira: unknown verb 'nonsense'"}};
  for (const auto& [args, code, said] : runs) {
    const int s = std::system((std::string(KELMIRA_TOOL_PROGRAM) + " " + args + " >" + (dir / "out.txt").string() + " 2>&1").c_str());
    EXPECT_EQ(WIFEXITED(s) ? WEXITSTATUS(s) : -1, code) << args;
    EXPECT_EQ(ttest::ReadBytes(dir / "out.txt").rfind(said, 0), 0u) << args;
  }
}

}  // namespace
