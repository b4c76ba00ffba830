// `kelmira demo`: the built-in scene through a chain of operators, one PNG per step, an HTML
// contact sheet and a timing table. A step is one line of BaseSteps or of a family file; its input and image arguments
// name earlier results ("@name" in the arguments).
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <map>

#include "image_io.h"
#include "registry.h"
#include "scene.h"
#include "verbs.h"

namespace ktool {
namespace {

// The chain. The operators are the registry's, so every picture can be remade with `kelmira apply`.
const std::vector<DemoStep>& BaseSteps() {
  static const std::vector<DemoStep> steps = {
      {"red", "Red plane of the colour scene", "colour", "get-component", {"0"}},
      {"green", "Green plane", "colour", "get-component", {"1"}},
      {"blue", "Blue plane: the nut stands out, the washer vanishes", "colour", "get-component", {"2"}},
      {"swapped", "Red and blue exchanged", "colour", "swap", {"0", "2"}},
      {"gray-as-green", "The gray scene put into the green plane", "colour", "set-component", {"1", "@gray"}},
      {"print", "The printed lot number and dot code, cut out through a view", "gray", "crop", {"110", "76", "96", "60"}},
      {"inverted", "Gray inverted (LumOper invert)", "gray", "oper", {"invert"}},
      {"brighter", "Plus 60, clipped at 255 (LumOper add)", "gray", "oper", {"add", "60"}},
      {"bright-parts", "Above 72: the parts as a mask (LumOper greater)", "gray", "oper", {"greater", "72"}},
      {"parts-only", "The colour scene ANDed with that mask (colour and gray operands)", "colour", "oper",
       {"and", "@bright-parts"}},
      {"smoothed", "Lowpass 3x3 (LumConvolKernel)", "gray", "convolve", {"lowpass-3"}},
      {"edges-x", "Sobel X with the absolute rectifier: both edge directions", "gray", "convolve",
       {"sobel-x", "1", "0", "3"}},
      {"edges-y", "Sobel Y, positive rectifier: only dark-to-bright going down", "gray", "convolve", {"sobel-y"}},
      {"laplacian", "Laplacian 8, absolute: the outlines and the printed marks", "gray", "convolve",
       {"laplacian-8", "1", "0", "3"}},
      {"sharpened", "Highpass 1: sharpened, the noise too", "gray", "convolve", {"highpass-1"}},
      {"colour-box", "Box 9x9 on colour (floating-point route)", "colour", "box", {"9"}},
      {"eroded", "Erosion, box 5x5: dark holes and marks grow", "gray", "morph-box", {"erode", "2"}},
      {"dilated", "Dilation, box 5x5: bright parts grow", "gray", "morph-box", {"dilate", "2"}},
      {"opened", "Opening, disk of radius 3: noise and thin bright lines gone", "gray", "morph-disk", {"open", "3"}},
      {"marks", "Black top-hat, disk 4: the small dark printed marks stand out", "gray", "morph-disk",
       {"black-tophat", "4"}},
      {"outlines", "Morphological gradient, box 3x3: outlines", "gray", "morph-box", {"gradient", "1"}},
      {"colour-closed", "Closing on colour, disk 3", "colour", "morph-disk", {"close", "3"}},
      {"library-gray", "Colour to gray by the library (LumConvert)", "colour", "to-gray", {}},
      {"c15", "Through 15-bit colour and back (LumConvert): the light gradient bands", "colour", "c15", {}},
      {"stretched", "Gain 2.2, offset -90: the parts' contrast stretched (LumGainOffset)", "gray", "gain-offset",
       {"2.2", "-90"}},
      {"gamma", "Gamma 0.5 through a lookup table (LumLut): the dark belt opens up", "gray", "gamma", {"0.5"}},
      {"red-minus-blue", "|red - blue|: the copper washer and the blue nut stand out (LumOper absdiff)", "red", "oper",
       {"absdiff", "@blue"}},
  };
  return steps;
}

struct Done {
  std::string file, caption, command, size;
  double ms;
};

std::string HtmlEscape(const std::string& s) {
  std::string out;
  for (char c : s) {
    if (c == '<') out += "&lt;";
    else if (c == '>') out += "&gt;";
    else if (c == '&') out += "&amp;";
    else out += c;
  }
  return out;
}

void WriteContactSheet(const std::filesystem::path& dir, const std::vector<Done>& done) {
  const std::string path = (dir / "index.html").string();
  std::ofstream html(path);
  if (!html) FileError(path + ": cannot open for writing");
  html << "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>Kelmira demo</title>\n"
          "<style>body{font-family:sans-serif;background:#222;color:#eee;margin:1em}"
          "main{display:flex;flex-wrap:wrap;gap:1em}figure{margin:0;width:330px}"
          "img{width:320px;image-rendering:pixelated;border:1px solid #555}"
          "figcaption{font-size:13px}code{color:#9cf;font-size:11px}</style></head>\n<body>\n"
          "<h1>Kelmira demo</h1>\n<p>A built-in 640x480 scene run through the library's operators. "
          "Each caption gives the command that remakes the picture from the scene files.</p>\n<main>\n";
  for (const Done& d : done) {
    char ms[32];
    std::snprintf(ms, sizeof ms, "%.2f ms", d.ms);
    html << "<figure><a href=\"" << d.file << "\"><img src=\"" << d.file << "\" alt=\"" << HtmlEscape(d.caption)
         << "\"></a><figcaption>" << HtmlEscape(d.caption) << " <small>(" << d.size << ", " << ms << ")</small><br><code>"
         << HtmlEscape(d.command) << "</code></figcaption></figure>\n";
  }
  html << "</main>\n</body></html>\n";
  if (!html.flush()) FileError(path + ": write error");
}

constexpr int kRuns = 5;

// Sets ZSetMMX for the demo and restores it after.
class WideSwitch {
 public:
  explicit WideSwitch(int on) : m_old(ZGetMMX()) { ZSetMMX(on); }
  ~WideSwitch() { ZSetMMX(m_old); }

 private:
  int m_old;
};

double Milliseconds(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

const std::vector<DemoStep>& DemoSteps() {
  static const std::vector<DemoStep> steps = [] {
    std::vector<DemoStep> all = BaseSteps();
    const std::vector<DemoStep>& more = FamilyDemoSteps();
    all.insert(all.end(), more.begin(), more.end());
    return all;
  }();
  return steps;
}

void Demo(const Words& words, std::ostream& out) {
  std::filesystem::path dir = "kelmira-demo";
  bool scalar = false;
  for (size_t i = 0; i < words.size(); ++i) {
    if (words[i] == "--out" && i + 1 < words.size()) {
      dir = words[++i];
    } else if (words[i] == "--scalar") {
      scalar = true;
    } else if (words[i] == "--out") {
      UsageError("demo: --out needs a directory");
    } else {
      UsageError("demo: unknown argument '" + words[i] + "'");
    }
  }
  // Every operator reads the switch once per call; the demo sets it for the whole run.
  const WideSwitch wide(scalar ? 0 : ZGetMMX());
  std::error_code ec;
  std::filesystem::create_directories(dir, ec);
  if (ec) FileError(dir.string() + ": cannot create the directory: " + ec.message());

  std::map<std::string, Picture> results;
  std::map<std::string, std::string> files;
  std::vector<Done> done;
  const auto fileName = [&](const std::string& name) {
    char number[16];
    std::snprintf(number, sizeof number, "%02zu-", done.size());
    return number + name + ".png";
  };
  const auto save = [&](const std::string& name, const Picture& picture, const std::string& caption,
                        const std::string& command, double ms) {
    const std::string file = fileName(name);
    files[name] = file;
    WriteImage(picture, (dir / file).string());
    done.push_back({file, caption, command, picture.Describe(), ms});
    results[name] = picture;
  };

  auto start = std::chrono::steady_clock::now();
  const Picture colour = MakeColourScene();
  const double colourMs = Milliseconds(start);
  start = std::chrono::steady_clock::now();
  const Picture gray = MakeGrayScene(colour);
  const double grayMs = Milliseconds(start);
  save("colour", colour, "The scene in colour: bracket, washer, nut and gear on a belt, uneven light, sensor noise",
       "(drawn by the demo)", colourMs);
  save("gray", gray, "The same scene as a gray sensor sees it", "(drawn by the demo)", grayMs);

  const ImageSource earlier = [&](const std::string& ref) -> Picture {
    const auto it = results.find(ref.size() > 1 && ref[0] == '@' ? ref.substr(1) : ref);
    if (it == results.end()) UsageError("demo: no earlier result called '" + ref + "'");
    return it->second;
  };
  out << std::left << std::setw(4) << "#" << std::setw(16) << "step" << std::setw(34) << "operator" << std::right
      << std::setw(10) << "ms" << "\n";
  for (const DemoStep& step : DemoSteps()) {
    const Operator* op = FindOperator(step.op);
    if (op == nullptr) UsageError(std::string("demo: step ") + step.name + " uses an unknown operator " + step.op);
    const Picture in = earlier(step.input);
    // The median of a few runs: one run of a fast operator is mostly noise.
    Picture result;
    std::vector<double> times;
    for (int run = 0; run < kRuns; ++run) {
      start = std::chrono::steady_clock::now();
      result = RunOperator(*op, in, step.args, earlier);
      times.push_back(Milliseconds(start));
    }
    std::sort(times.begin(), times.end());
    const double ms = times[kRuns / 2];
    std::string call = std::string(step.op);
    std::string command = "kelmira apply " + files[step.input] + " " + fileName(step.name) + " " + step.op;
    for (const std::string& a : step.args) {
      call += " " + a;
      command += " " + (a.size() > 1 && a[0] == '@' ? files[a.substr(1)] : a);
    }
    out << std::left << std::setw(4) << done.size() << std::setw(16) << step.name << std::setw(34) << call
        << std::right << std::setw(10) << std::fixed << std::setprecision(3) << ms << "\n";
    save(step.name, result, step.caption, command, ms);
  }
  WriteContactSheet(dir, done);
  out << "wide paths " << (ZGetMMX() ? "on" : "off") << "; times are medians of " << kRuns << " runs\n";
  out << "wrote " << done.size() << " pictures and " << (dir / "index.html").string() << "\n";
}

}  // namespace ktool
