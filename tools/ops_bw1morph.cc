// Morphology on packed one-bit images: the gray input (a PBM reads as black 0 and white 255) is
// thresholded into a ZBW1 image, the operator runs on the packed bits, and the result is drawn
// back as a gray picture of 0 and 255.
#include <string>

#include "registry.h"

namespace ktool {
namespace {

const std::vector<std::pair<std::string, int>>& Operations() {
  static const std::vector<std::pair<std::string, int>> operations = {
      {"erode", 0}, {"dilate", 1}, {"open", 2}, {"close", 3}, {"white-tophat", 4}, {"black-tophat", 5},
      {"gradient", 6}};
  return operations;
}

constexpr const char* kLevelHelp =
    "LEVEL (default 128): pixels at or above it are on; a negative LEVEL puts pixels below -LEVEL on (dark ink as "
    "the object), and the result keeps that look";

// The input's bits under LEVEL, the operator on them, and the bits back to gray.
template <class Operator>
void OnBits(Call& c, size_t levelArgument, const char* name, Operator&& run) {
  const long level = c.Has(levelArgument) ? c.Int(levelArgument, "LEVEL", -256, 256) : 128;
  ZImage<ZBW8>* in = c.Gray();
  const int width = in->GetWidth(), height = in->GetHeight();
  ZImage<ZBW8> marked(width, height);
  // Bit on where the pixel passes: LumOper greater-or-equal through a table keeps it one call.
  ZBW8 table[256];
  for (int v = 0; v < 256; ++v) table[v] = static_cast<uint8_t>(level >= 0 ? v >= level : v < -level);
  c.Library("LumLut", [&] { LumLut(in, &marked, table); });
  ZImage<ZBW1> bits(width, height), result(width, height);
  c.Library("LumConvert", [&] { LumConvert(&marked, &bits); });
  c.Library(name, [&] { run(&bits, &result); });
  Picture& out = c.NewGray();
  c.Library("LumConvert", [&] { LumConvert(&result, out.gray(), ZBW8(255)); });
  if (level < 0) c.Library("LumOper", [&] { LumOper(ARITH_LOGIC_INVERT, out.gray(), out.gray()); });
}

const char* const kBoxNames[] = {"LumErodeBox", "LumDilateBox", "LumOpenBox", "LumCloseBox", "LumWhiteTopHatBox",
                                 "LumBlackTopHatBox", "LumMorphoGradientBox"};
const char* const kDiskNames[] = {"LumErodeDisk", "LumDilateDisk", "LumOpenDisk", "LumCloseDisk",
                                  "LumWhiteTopHatDisk", "LumBlackTopHatDisk", "LumMorphoGradientDisk"};

void Bw1Box(Call& c) {
  using Fn = void (*)(ZROI<ZBW1>*, ZROI<ZBW1>*, unsigned int, unsigned int);
  static const Fn fns[] = {LumErodeBox, LumDilateBox, LumOpenBox, LumCloseBox, LumWhiteTopHatBox,
                           LumBlackTopHatBox, LumMorphoGradientBox};
  const int operation = c.Choice(0, "OPERATION", Operations());
  const unsigned hw = static_cast<unsigned>(c.Int(1, "HALFWIDTH", 0, 4095));
  const unsigned hh = c.Has(2) ? static_cast<unsigned>(c.Int(2, "HALFHEIGHT", 0, 4095)) : 0xFFFFFFFFu;
  OnBits(c, 3, kBoxNames[operation], [&](ZROI<ZBW1>* s, ZROI<ZBW1>* d) { fns[operation](s, d, hw, hh); });
}

void Bw1Disk(Call& c) {
  using Fn = void (*)(ZROI<ZBW1>*, ZROI<ZBW1>*, unsigned int);
  static const Fn fns[] = {LumErodeDisk, LumDilateDisk, LumOpenDisk, LumCloseDisk, LumWhiteTopHatDisk,
                           LumBlackTopHatDisk, LumMorphoGradientDisk};
  const int operation = c.Choice(0, "OPERATION", Operations());
  const unsigned radius = static_cast<unsigned>(c.Int(1, "RADIUS", 0, 4095));
  OnBits(c, 2, kDiskNames[operation], [&](ZROI<ZBW1>* s, ZROI<ZBW1>* d) { fns[operation](s, d, radius); });
}

void Bw1Median(Call& c) {
  OnBits(c, 0, "LumMedian", [](ZROI<ZBW1>* s, ZROI<ZBW1>* d) { LumMedian(s, d); });
}

}  // namespace

void AddFamily_bw1morph(Family& family) {
  static const std::string boxHelp =
      std::string("box morphology on the packed bits of the thresholded input, over a (2 HALFWIDTH + 1) x "
                  "(2 HALFHEIGHT + 1) window; OPERATION is erode, dilate, open, close, white-tophat, black-tophat or "
                  "gradient (the tophats and the gradient are XORs of bit images); ") +
      kLevelHelp;
  static const std::string diskHelp =
      std::string("the same operations on the packed bits over an octagon of RADIUS passes; ") + kLevelHelp;
  static const std::string medianHelp =
      std::string("3x3 median of the packed bits by bit logic (majority of three images); ") + kLevelHelp;
  family.operators.push_back({"bw1-box", "OPERATION HALFWIDTH [HALFHEIGHT [LEVEL]]", "gray", boxHelp.c_str(),
                              "open 1 1 -100", 2, 4, Bw1Box});
  family.operators.push_back(
      {"bw1-disk", "OPERATION RADIUS [LEVEL]", "gray", diskHelp.c_str(), "gradient 1", 2, 3, Bw1Disk});
  family.operators.push_back({"bw1-median", "[LEVEL]", "gray", medianHelp.c_str(), "-100", 0, 1, Bw1Median});
  family.steps.push_back({"print-bits", "The print as one bit a pixel: ink darker than 100 is on (a window of one pixel copies)", "print",
                          "bw1-box", {"erode", "0", "0", "-100"}});
  family.steps.push_back({"print-opened", "BW1 opening, box 3x3: strokes thinner than the window (the digits) vanish, solid blocks of the code stay",
                          "print", "bw1-box", {"open", "1", "1", "-100"}});
  family.steps.push_back({"print-median", "BW1 median 3x3 by bit logic: the digits stay, lone dots and corners of the code are smoothed away", "print",
                          "bw1-median", {"-100"}});
}

}  // namespace ktool
