// The operator table and the argument checks behind it.
#include "registry.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <type_traits>

namespace ktool {

// ----- Call ----------------------------------------------------------------------------------

ZImage<ZBW8>* Call::Gray() const {
  if (m_in.colour()) UsageError(m_op + " needs a gray image; the input is colour");
  return m_in.gray();
}

ZImage<ZC24>* Call::Colour() const {
  if (!m_in.colour()) UsageError(m_op + " needs a colour image; the input is gray");
  return m_in.rgb();
}

const std::string& Call::Arg(size_t i, const char* what) const {
  if (i >= m_args.size()) UsageError(m_op + ": missing argument " + what);
  return m_args[i];
}

long Call::Int(size_t i, const char* what, long lo, long hi) const {
  const std::string& text = Arg(i, what);
  char* end = nullptr;
  errno = 0;
  const long value = std::strtol(text.c_str(), &end, 0);
  if (text.empty() || *end != '\0' || errno == ERANGE)
    UsageError(m_op + ": " + what + " must be an integer, not '" + text + "'");
  if (value < lo || value > hi)
    UsageError(m_op + ": " + what + " must lie in " + std::to_string(lo) + ".." + std::to_string(hi) + ", not " + text);
  return value;
}

float Call::Float(size_t i, const char* what) const {
  const std::string& text = Arg(i, what);
  char* end = nullptr;
  const float value = std::strtof(text.c_str(), &end);
  if (text.empty() || *end != '\0' || !std::isfinite(value))
    UsageError(m_op + ": " + what + " must be a number, not '" + text + "'");
  return value;
}

int Call::Choice(size_t i, const char* what, const std::vector<std::pair<std::string, int>>& choices) const {
  const std::string& text = Arg(i, what);
  std::string names;
  for (const auto& [name, value] : choices) {
    if (strcasecmp(text.c_str(), name.c_str()) == 0 || text == std::to_string(value)) return value;
    names += (names.empty() ? "" : ", ") + name;
  }
  UsageError(m_op + ": unknown " + what + " '" + text + "' (one of: " + names + ")");
}

Picture Call::Image(size_t i, const char* what) const {
  Picture picture = m_images(Arg(i, what));
  if (picture.width() != m_in.width() || picture.height() != m_in.height())
    UsageError(m_op + ": " + what + " is " + picture.Describe() + ", the input " + m_in.Describe() +
               "; they must have the same size");
  return picture;
}

void Call::Library(const char* name, const std::function<void()>& call) const {
  ZOk();
  call();
  CheckLibrary(name);
}

// ----- Operators -----------------------------------------------------------------------------

namespace {

void GetComponent(Call& c) {
  const unsigned component = static_cast<unsigned>(c.Int(0, "COMPONENT", 0, 255));
  ZImage<ZC24>* in = c.Colour();
  Picture& out = c.NewGray();
  c.Library("HueGetComponent", [&] { HueGetComponent(in, out.gray(), component); });
}

void SetComponent(Call& c) {
  const unsigned component = static_cast<unsigned>(c.Int(0, "COMPONENT", 0, 255));
  const Picture plane = c.Image(1, "PLANE");
  if (plane.colour()) UsageError("set-component: PLANE must be a gray image");
  c.Colour();
  c.out() = c.in().Clone();
  c.Library("HueSetComponent", [&] { HueSetComponent(plane.gray(), c.out().rgb(), component); });
}

void SwapComponents(Call& c) {
  const unsigned a = static_cast<unsigned>(c.Int(0, "A", 0, 2)), b = static_cast<unsigned>(c.Int(1, "B", 0, 2));
  ZImage<ZC24>* in = c.Colour();
  Picture& out = c.NewColour();
  ZImage<ZBW8> plane(in->GetWidth(), in->GetHeight());
  for (unsigned k = 0; k < 3; ++k) {
    const unsigned from = k == a ? b : k == b ? a : k;
    c.Library("HueGetComponent", [&] { HueGetComponent(in, &plane, from); });
    c.Library("HueSetComponent", [&] { HueSetComponent(&plane, out.rgb(), k); });
  }
}

// A view on the input; a rectangle that does not fit makes the view void, and that is refused.
template <class T>
void CropView(Call& c, ZImage<T>* in, Picture& out, int x, int y, int w, int h) {
  ZROI<T> view(in, x, y, w, h);
  if (view.GetVoid())
    UsageError("crop: the rectangle " + std::to_string(w) + "x" + std::to_string(h) + " at (" + std::to_string(x) +
               ", " + std::to_string(y) + ") does not lie inside the " + c.in().Describe() + " image");
  ZImage<T>* target = nullptr;
  if constexpr (std::is_same_v<T, ZBW8>) target = out.gray();
  else target = out.rgb();
  c.Library("LumCopy", [&] { LumCopy(&view, target); });
}

void Crop(Call& c) {
  const int x = static_cast<int>(c.Int(0, "X", 0, 65535)), y = static_cast<int>(c.Int(1, "Y", 0, 65535));
  const int w = static_cast<int>(c.Int(2, "WIDTH", 1, 65535)), h = static_cast<int>(c.Int(3, "HEIGHT", 1, 65535));
  if (c.in().colour()) {
    c.out() = Picture::Colour(w, h);
    CropView(c, c.in().rgb(), c.out(), x, y, w, h);
  } else {
    c.out() = Picture::Gray(w, h);
    CropView(c, c.in().gray(), c.out(), x, y, w, h);
  }
}

// ----- LumOper --------------------------------------------------------------------------------

}  // namespace

const std::vector<std::pair<std::string, int>>& ThresholdModes() {
  static const std::vector<std::pair<std::string, int>> modes = {
      {"min-residue", static_cast<int>(LUM_THRESHOLD_MODE_MIN_RESIDUE)},
      {"max-entropy", static_cast<int>(LUM_THRESHOLD_MODE_MAX_ENTROPY)},
      {"isodata", static_cast<int>(LUM_THRESHOLD_MODE_ISODATA)},
      {"min-distance", static_cast<int>(LUM_THRESHOLD_MODE_MIN_DISTANCE)},
      {"min-squared-distance", static_cast<int>(LUM_THRESHOLD_MODE_MIN_SQUARED_DISTANCE)},
      {"relative", static_cast<int>(LUM_THRESHOLD_MODE_RELATIVE)}};
  return modes;
}

const std::vector<std::pair<std::string, int>>& OperCodes() {
  static const std::vector<std::pair<std::string, int>> codes = {
      {"copy", 0}, {"invert", 1}, {"add", 2}, {"subtract", 3}, {"multiply", 4}, {"divide", 5}, {"modulo", 6},
      {"shift-left", 7}, {"shift-right", 8}, {"average", 9}, {"half-difference", 10}, {"scaled-multiply", 11},
      {"scaled-divide", 12}, {"and", 13}, {"or", 14}, {"xor", 15}, {"logical-and", 16}, {"logical-or", 17},
      {"logical-xor", 18}, {"min", 19}, {"max", 20}, {"set-where-zero", 21}, {"set-where-nonzero", 22},
      {"equal", 23}, {"not-equal", 24}, {"greater-equal", 25}, {"less-equal", 26}, {"greater", 27}, {"less", 28},
      {"add-wrap", 29}, {"subtract-wrap", 30}, {"absdiff", 33}, {"overlay", 34}};
  return codes;
}

namespace {

bool IsNumber(const std::string& text) {
  return !text.empty() && text.find_first_not_of("0123456789,x") == std::string::npos && std::isdigit(text[0]);
}

// A constant: one number for gray, one number or R,G,B for colour.
ZC24 Constant(const Call& c, size_t i) {
  const std::string text = c.Word(i, "VALUE");
  if (text.find(',') == std::string::npos) {
    const uint8_t v = static_cast<uint8_t>(c.Int(i, "VALUE", 0, 255));
    return ZC24(v, v, v);
  }
  unsigned r = 0, g = 0, b = 0;
  char end = 0;
  if (!c.in().colour() || std::sscanf(text.c_str(), "%u,%u,%u%c", &r, &g, &b, &end) != 3 || r > 255 || g > 255 ||
      b > 255)
    UsageError("oper: VALUE must be a number 0..255" + std::string(c.in().colour() ? " or R,G,B" : "") + ", not '" +
               text + "'");
  return ZC24(static_cast<uint8_t>(r), static_cast<uint8_t>(g), static_cast<uint8_t>(b));
}

// The result starts as a copy of the input: the codes that write only some pixels keep the rest.
void Oper(Call& c) {
  const auto code = static_cast<ARITH_LOGIC_OPERATIONS>(c.Choice(0, "CODE", OperCodes()));
  c.out() = c.in().Clone();
  const Picture& in = c.in();
  Picture& out = c.out();
  if (!c.Has(1)) {
    if (in.colour()) c.Library("LumOper", [&] { LumOper(code, in.rgb(), out.rgb()); });
    else c.Library("LumOper", [&] { LumOper(code, in.gray(), out.gray()); });
  } else if (IsNumber(c.Word(1, "B"))) {
    const ZC24 k = Constant(c, 1);
    if (in.colour()) c.Library("LumOper", [&] { LumOper(code, in.rgb(), k, out.rgb()); });
    else c.Library("LumOper", [&] { LumOper(code, in.gray(), ZBW8(k.c0), out.gray()); });
  } else {
    const Picture b = c.Image(1, "B");
    if (in.colour() && b.colour()) c.Library("LumOper", [&] { LumOper(code, in.rgb(), b.rgb(), out.rgb()); });
    else if (in.colour()) c.Library("LumOper", [&] { LumOper(code, in.rgb(), b.gray(), out.rgb()); });
    else if (b.colour()) {
      out = b.Clone();  // the BW8, C24 form writes colour
      c.Library("LumOper", [&] { LumOper(code, in.gray(), b.rgb(), out.rgb()); });
    } else {
      c.Library("LumOper", [&] { LumOper(code, in.gray(), b.gray(), out.gray()); });
    }
  }
}

// The constant as the first operand: VALUE op pixel.
void ConstOper(Call& c) {
  const auto code = static_cast<ARITH_LOGIC_OPERATIONS>(c.Choice(0, "CODE", OperCodes()));
  const ZC24 k = Constant(c, 1);
  c.out() = c.in().Clone();
  const Picture& in = c.in();
  Picture& out = c.out();
  if (in.colour()) c.Library("LumOper", [&] { LumOper(code, k, in.rgb(), out.rgb()); });
  else c.Library("LumOper", [&] { LumOper(code, ZBW8(k.c0), in.gray(), out.gray()); });
}

void Fill(Call& c) {
  const ZC24 k = Constant(c, 0);
  if (c.in().colour()) {
    Picture& out = c.NewColour();
    c.Library("LumCopy", [&] { LumCopy(k, out.rgb()); });
  } else {
    Picture& out = c.NewGray();
    c.Library("LumCopy", [&] { LumCopy(ZBW8(k.c0), out.gray()); });
  }
}

// ----- Convolution ----------------------------------------------------------------------------

void RunKernel(Call& c, ZKernel& kernel) {
  if (c.in().colour()) {
    Picture& out = c.NewColour();
    c.Library("LumConvolKernel", [&] { LumConvolKernel(c.in().rgb(), out.rgb(), &kernel); });
  } else {
    Picture& out = c.NewGray();
    c.Library("LumConvolKernel", [&] { LumConvolKernel(c.in().gray(), out.gray(), &kernel); });
  }
}

// A named 3x3 kernel, with its gain, offset and rectifier replaceable.
void Convolve(Call& c) {
  static const std::vector<std::pair<std::string, int>> kernels = {
      {"sobel-x", KERNEL_SOBEL_X},       {"sobel-y", KERNEL_SOBEL_Y},       {"prewitt-x", KERNEL_PREWITT_X},
      {"prewitt-y", KERNEL_PREWITT_Y},   {"laplacian-4", KERNEL_LAPLACIAN_4}, {"laplacian-8", KERNEL_LAPLACIAN_8},
      {"lowpass-3", KERNEL_LOWPASS_3},   {"lowpass-2", KERNEL_LOWPASS_2},   {"lowpass-1", KERNEL_LOWPASS_1},
      {"highpass-1", KERNEL_HIGHPASS_1}, {"highpass-2", KERNEL_HIGHPASS_2}};
  ZKernel kernel(static_cast<KERNEL_TYPE>(c.Choice(0, "KERNEL", kernels)));
  CheckLibrary("ZKernel::SetKernel");
  if (c.Has(1)) kernel.SetGain(c.Float(1, "GAIN"));
  if (c.Has(2)) kernel.SetOffset(static_cast<unsigned>(c.Int(2, "OFFSET", 0, 65535)));
  if (c.Has(3)) kernel.SetRectifier(static_cast<short>(c.Int(3, "RECTIFIER", 0, 3)));
  RunKernel(c, kernel);
}

// The mean of a SIZE x SIZE window: all-ones coefficients, scaled to a gain of 1 by the library.
void Box(Call& c) {
  const int size = static_cast<int>(c.Int(0, "SIZE", 1, 63));
  ZKernel kernel(static_cast<short>(size), static_cast<short>(size), 1.0f, 0, KERNEL_RECTIFIER_POSITIVE, 0);
  CheckLibrary("ZKernel::ZKernel");
  for (int y = 0; y < size; ++y)
    for (int x = 0; x < size; ++x) kernel.SetKernelData(x, y, 1.0f);
  CheckLibrary("ZKernel::SetKernelData");
  RunKernel(c, kernel);
}

// ----- Morphology -----------------------------------------------------------------------------

const std::vector<std::pair<std::string, int>>& MorphOperations() {
  static const std::vector<std::pair<std::string, int>> operations = {
      {"erode", 0}, {"dilate", 1}, {"open", 2}, {"close", 3}, {"white-tophat", 4}, {"black-tophat", 5},
      {"gradient", 6}};
  return operations;
}

const char* const kBoxNames[] = {"LumErodeBox", "LumDilateBox", "LumOpenBox", "LumCloseBox", "LumWhiteTopHatBox",
                                 "LumBlackTopHatBox", "LumMorphoGradientBox"};
const char* const kDiskNames[] = {"LumErodeDisk", "LumDilateDisk", "LumOpenDisk", "LumCloseDisk",
                                  "LumWhiteTopHatDisk", "LumBlackTopHatDisk", "LumMorphoGradientDisk"};

template <class T>
void BoxMorphology(const Call& c, int operation, ZImage<T>* in, ZImage<T>* out, unsigned hw, unsigned hh) {
  using Fn = void (*)(ZROI<T>*, ZROI<T>*, unsigned int, unsigned int);
  static const Fn fns[] = {LumErodeBox, LumDilateBox, LumOpenBox, LumCloseBox, LumWhiteTopHatBox,
                           LumBlackTopHatBox, LumMorphoGradientBox};
  c.Library(kBoxNames[operation], [&] { fns[operation](in, out, hw, hh); });
}

template <class T>
void DiskMorphology(const Call& c, int operation, ZImage<T>* in, ZImage<T>* out, unsigned radius) {
  using Fn = void (*)(ZROI<T>*, ZROI<T>*, unsigned int);
  static const Fn fns[] = {LumErodeDisk, LumDilateDisk, LumOpenDisk, LumCloseDisk, LumWhiteTopHatDisk,
                           LumBlackTopHatDisk, LumMorphoGradientDisk};
  c.Library(kDiskNames[operation], [&] { fns[operation](in, out, radius); });
}

void MorphBox(Call& c) {
  const int operation = c.Choice(0, "OPERATION", MorphOperations());
  const unsigned hw = static_cast<unsigned>(c.Int(1, "HALFWIDTH", 0, 255));
  // All bits set: the same as the half width.
  const unsigned hh = c.Has(2) ? static_cast<unsigned>(c.Int(2, "HALFHEIGHT", 0, 255)) : 0xFFFFFFFFu;
  if (c.in().colour()) BoxMorphology(c, operation, c.in().rgb(), c.NewColour().rgb(), hw, hh);
  else BoxMorphology(c, operation, c.in().gray(), c.NewGray().gray(), hw, hh);
}

void MorphDisk(Call& c) {
  const int operation = c.Choice(0, "OPERATION", MorphOperations());
  const unsigned radius = static_cast<unsigned>(c.Int(1, "RADIUS", 0, 255));
  if (c.in().colour()) DiskMorphology(c, operation, c.in().rgb(), c.NewColour().rgb(), radius);
  else DiskMorphology(c, operation, c.in().gray(), c.NewGray().gray(), radius);
}

// ----- Point transforms and conversions -------------------------------------------------------

// out = 255 * (in / 255)^GAMMA through a 256-entry table; colour runs the table on each plane.
void Gamma(Call& c) {
  const float gamma = c.Float(0, "GAMMA");
  if (gamma <= 0.0f) UsageError("gamma: GAMMA must be above 0, not " + c.Word(0, "GAMMA"));
  ZBW8 table[256];
  for (int i = 0; i < 256; ++i) table[i] = static_cast<uint8_t>(std::lround(255.0 * std::pow(i / 255.0, gamma)));
  if (!c.in().colour()) {
    Picture& out = c.NewGray();
    c.Library("LumLut", [&] { LumLut(c.in().gray(), out.gray(), table); });
    return;
  }
  Picture& out = c.NewColour();
  ZImage<ZBW8> plane(c.in().width(), c.in().height());
  for (unsigned k = 0; k < 3; ++k) {
    c.Library("HueGetComponent", [&] { HueGetComponent(c.in().rgb(), &plane, k); });
    c.Library("LumLut", [&] { LumLut(&plane, &plane, table); });
    c.Library("HueSetComponent", [&] { HueSetComponent(&plane, out.rgb(), k); });
  }
}

void GainOffset(Call& c) {
  const float gain = c.Float(0, "GAIN"), offset = c.Float(1, "OFFSET");
  if (c.in().colour()) {
    Picture& out = c.NewColour();
    c.Library("LumGainOffset", [&] {
      LumGainOffset(c.in().rgb(), out.rgb(), ZColor(gain, gain, gain), ZColor(offset, offset, offset));
    });
  } else {
    Picture& out = c.NewGray();
    c.Library("LumGainOffset", [&] { LumGainOffset(c.in().gray(), out.gray(), gain, offset); });
  }
}

void ToGray(Call& c) {
  ZImage<ZC24>* in = c.Colour();
  Picture& out = c.NewGray();
  c.Library("LumConvert", [&] { LumConvert(in, out.gray()); });
}

void ToColour(Call& c) {
  ZImage<ZBW8>* in = c.Gray();
  Picture& out = c.NewColour();
  c.Library("LumConvert", [&] { LumConvert(in, out.rgb()); });
}

// Colour through a 15- or 16-bit pixel type and back: what the packed types keep.
template <class Packed>
void ThroughPacked(Call& c) {
  ZImage<ZC24>* in = c.Colour();
  Picture& out = c.NewColour();
  ZImage<Packed> packed(in->GetWidth(), in->GetHeight());
  c.Library("LumConvert", [&] { LumConvert(in, &packed); });
  c.Library("LumConvert", [&] { LumConvert(&packed, out.rgb()); });
}

}  // namespace

// The families' tables, gathered by the build from tools/ops_*.cc.
#include "families.inc"

namespace {
std::vector<DemoStep>& FamilySteps() {
  static std::vector<DemoStep> steps;
  return steps;
}
}  // namespace

const std::vector<DemoStep>& FamilyDemoSteps() {
  (void)Operators();
  return FamilySteps();
}

const std::vector<Operator>& Operators() {
  // name, arguments, input, what it does, example arguments, argument count min and max, function
  static const std::vector<Operator> table = [] {
  std::vector<Operator> table = {
      {"get-component", "COMPONENT", "colour", "the plane of one component (0 red, 1 green, 2 blue) as a gray image",
       "1", 1, 1, GetComponent},
      {"set-component", "COMPONENT PLANE", "colour",
       "replaces component COMPONENT (0..2) with the gray image PLANE of the same size", "0 plane.png", 2, 2,
       SetComponent},
      {"swap", "A B", "colour", "exchanges components A and B (0..2)", "0 2", 2, 2, SwapComponents},
      {"crop", "X Y WIDTH HEIGHT", "gray|colour", "the WIDTHxHEIGHT rectangle whose top-left pixel is (X, Y)",
       "10 20 64 48", 4, 4, Crop},
      {"oper", "CODE [B]", "gray|colour",
       "LumOper: CODE of the image alone, or with B a constant (0..255, or R,G,B on colour) or an image file; "
       "CODE is a number or one of the names that list prints",
       "add 40", 1, 2, Oper},
      {"const-oper", "CODE VALUE", "gray|colour", "LumOper with the constant first: VALUE CODE pixel", "subtract 255",
       2, 2, ConstOper},
      {"fill", "VALUE", "gray|colour", "LumCopy of a constant (0..255, or R,G,B on colour) over the whole image",
       "128", 1, 1, Fill},
      {"gamma", "GAMMA", "gray|colour", "LumLut with the table 255 * (v / 255)^GAMMA (colour: on each plane)", "0.5", 1,
       1, Gamma},
      {"gain-offset", "GAIN OFFSET", "gray|colour", "LumGainOffset: v * GAIN + OFFSET, clipped (colour: each component)",
       "1.5 -40", 2, 2, GainOffset},
      {"to-gray", "", "colour", "LumConvert from colour to gray", "", 0, 0, ToGray},
      {"to-colour", "", "gray", "LumConvert from gray to colour (three equal components)", "", 0, 0, ToColour},
      {"c15", "", "colour", "LumConvert to 15-bit colour (5-5-5) and back", "", 0, 0, ThroughPacked<ZC15>},
      {"c16", "", "colour", "LumConvert to 16-bit colour (5-6-5) and back", "", 0, 0, ThroughPacked<ZC16>},
      {"convolve", "KERNEL [GAIN [OFFSET [RECTIFIER]]]", "gray|colour",
       "LumConvolKernel with a named 3x3 kernel: sobel-x, sobel-y, prewitt-x, prewitt-y, laplacian-4, laplacian-8, "
       "lowpass-1..3, highpass-1..2; RECTIFIER 0 none, 1 negative, 2 positive, 3 absolute",
       "sobel-x 1 0 3", 1, 4, Convolve},
      {"box", "SIZE", "gray|colour", "LumConvolKernel with a SIZE x SIZE kernel of ones: the window mean", "5", 1, 1, Box},
      {"morph-box", "OPERATION HALFWIDTH [HALFHEIGHT]", "gray|colour",
       "box morphology over a (2 HALFWIDTH + 1) x (2 HALFHEIGHT + 1) window; OPERATION is erode, dilate, open, close, "
       "white-tophat, black-tophat or gradient", "open 2", 2, 3, MorphBox},
      {"morph-disk", "OPERATION RADIUS", "gray|colour", "the same operations over an octagon of RADIUS passes",
       "black-tophat 4", 2, 2, MorphDisk},
  };
  Family family{table, FamilySteps()};
  AddFamilies(family);
  return table;
  }();
  return table;
}

const Operator* FindOperator(const std::string& name) {
  for (const Operator& op : Operators())
    if (name == op.name) return &op;
  return nullptr;
}

Picture RunOperator(const Operator& op, const Picture& in, const std::vector<std::string>& args,
                    const ImageSource& images, PointTable* points) {
  const int n = static_cast<int>(args.size());
  if (n < op.minArgs || n > op.maxArgs) {
    const std::string expected = op.minArgs == op.maxArgs ? std::to_string(op.minArgs)
                                                          : std::to_string(op.minArgs) + " to " + std::to_string(op.maxArgs);
    if (op.maxArgs == 0) UsageError(std::string(op.name) + " takes no arguments, " + std::to_string(n) + " given");
    UsageError(std::string(op.name) + " takes " + expected + " argument" + (op.maxArgs == 1 ? "" : "s") + " (" +
               op.arguments + "), " + std::to_string(n) + " given");
  }
  Call call(op.name, in, args, images);
  op.run(call);
  if (points) *points = std::move(call.points());
  return call.out();
}

}  // namespace ktool
