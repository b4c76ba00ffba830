// The tool's affine operators: rotate (LumScaleRotate about the centre), affine (LumLinearTransform
// with the six coefficients) and register (LumRegister on one, two or three pivots), and the demo
// that turns the bracket to the nut's orientation and compares the three interpolations.
#include <string>

#include "registry.h"

namespace ktool {
namespace {

// The result has the input's size and kind; `gray` and `colour` run the library on each.
template <class Gray, class Colour>
void Resample(Call& c, const char* name, Gray&& gray, Colour&& colour) {
  if (c.in().colour()) {
    Picture& out = c.NewColour();
    c.Library(name, [&] { colour(c.in().rgb(), out.rgb()); });
  } else {
    Picture& out = c.NewGray();
    c.Library(name, [&] { gray(c.in().gray(), out.gray()); });
  }
}

// BITS is 0 (nearest), 4 or 8 (bilinear); the library refuses the other values with 1007.
int Bits(const Call& c, size_t i) { return c.Has(i) ? static_cast<int>(c.Int(i, "BITS", -64, 64)) : 8; }

void Rotate(Call& c) {
  const float angle = c.Float(0, "ANGLE");
  const float scale = c.Has(1) ? c.Float(1, "SCALE") : 1.0f;
  const int bits = Bits(c, 2);
  const float cx = c.in().width() / 2.0f, cy = c.in().height() / 2.0f;
  Resample(
      c, "LumScaleRotate",
      [&](ZROI<ZBW8>* in, ZROI<ZBW8>* out) { LumScaleRotate(in, cx, cy, cx, cy, scale, scale, angle, out, bits); },
      [&](ZROI<ZC24>* in, ZROI<ZC24>* out) { LumScaleRotate(in, cx, cy, cx, cy, scale, scale, angle, out, bits); });
}

void Affine(Call& c) {
  float k[6];
  const char* names[6] = {"A", "B", "C", "D", "E", "F"};
  for (size_t i = 0; i < 6; ++i) k[i] = c.Float(i, names[i]);
  const int bits = Bits(c, 6);
  Resample(
      c, "LumLinearTransform",
      [&](ZROI<ZBW8>* in, ZROI<ZBW8>* out) { LumLinearTransform(in, k[0], k[1], k[2], k[3], k[4], k[5], out, bits); },
      [&](ZROI<ZC24>* in, ZROI<ZC24>* out) { LumLinearTransform(in, k[0], k[1], k[2], k[3], k[4], k[5], out, bits); });
}

// BITS, then each pivot as SX SY DX DY: one pivot translates, two turn and scale (the scale
// follows the ratio of the pivots' distances), three give the full affine map.
void Register(Call& c) {
  const int bits = static_cast<int>(c.Int(0, "BITS", -64, 64));
  const size_t n = (c.Has(9) ? 3 : c.Has(5) ? 2 : 1);
  if (c.Has(5) && !c.Has(8)) UsageError("register: a pivot needs four numbers SX SY DX DY");
  if (c.Has(9) && !c.Has(12)) UsageError("register: a pivot needs four numbers SX SY DX DY");
  float s[6], d[6];
  for (size_t p = 0; p < n; ++p) {
    s[2 * p] = c.Float(1 + 4 * p, "SX");
    s[2 * p + 1] = c.Float(2 + 4 * p, "SY");
    d[2 * p] = c.Float(3 + 4 * p, "DX");
    d[2 * p + 1] = c.Float(4 + 4 * p, "DY");
  }
  const auto run = [&](auto* in, auto* out) {
    if (n == 1) LumRegister(in, out, s[0], s[1], d[0], d[1], bits);
    if (n == 2) LumRegister(in, out, s[0], s[1], s[2], s[3], d[0], d[1], d[2], d[3], bits, 1);
    if (n == 3) LumRegister(in, out, s[0], s[1], s[2], s[3], s[4], s[5], d[0], d[1], d[2], d[3], d[4], d[5], bits);
  };
  Resample(
      c, "LumRegister", [&](ZROI<ZBW8>* in, ZROI<ZBW8>* out) { run(in, out); },
      [&](ZROI<ZC24>* in, ZROI<ZC24>* out) { run(in, out); });
}

// The bracket's two bores (80, 100) and (260, 100) go to points 2.2 times further apart, turned by
// the nut's 0.2 radian, so that the bracket fills the frame at the nut's orientation.
std::vector<std::string> Bracket(const char* bits) {
  return {bits, "80", "100", "139", "136", "260", "100", "527", "214.6"};
}

}  // namespace

void AddFamily_affine(Family& family) {
  family.operators.push_back({"rotate", "ANGLE [SCALE [BITS]]", "gray|colour",
                              "LumScaleRotate about the centre: ANGLE in degrees (counterclockwise), SCALE (1), BITS 0 "
                              "nearest or 4, 8 bilinear (8)",
                              "15 1.2 8", 1, 3, Rotate});
  family.operators.push_back({"affine", "A B C D E F [BITS]", "gray|colour",
                              "LumLinearTransform: the source point (x, y) goes to (A x + B y + C, D x + E y + F); "
                              "outside the source is 0",
                              "0.9 0.2 -4 -0.2 0.9 10 4", 6, 7, Affine});
  family.operators.push_back({"register", "BITS SX SY DX DY [SX SY DX DY [SX SY DX DY]]", "gray|colour",
                              "LumRegister: each source pivot (SX, SY) onto (DX, DY); one pivot translates, two turn "
                              "and scale, three give the full affine map",
                              "8 10 10 60 10 20 20 70 30", 5, 13, Register});
  family.steps.push_back({"rotated", "Colour scene turned 7 degrees and enlarged 1.1 about the centre (LumScaleRotate)",
                          "colour", "rotate", {"7", "1.1", "8"}});
  family.steps.push_back({"bracket-nearest",
                          "The bracket turned to the nut's orientation and enlarged 2.2x by its two bores "
                          "(LumRegister): nearest pixel, jagged edges",
                          "gray", "register", Bracket("0")});
  family.steps.push_back({"bracket-4bit", "The same, bilinear with 4-bit fractions: 16 steps between two pixels", "gray",
                          "register", Bracket("4")});
  family.steps.push_back({"bracket-8bit", "The same, bilinear with 8-bit fractions: the smoothest edges", "gray",
                          "register", Bracket("8")});
}

}  // namespace ktool
