// Trace words of the gray morphology, by pixel type. Each is part of the interface, odd blanks
// included.
#ifndef KELMIRA_MORPHOLOGY_GRAY_WORDS_H
#define KELMIRA_MORPHOLOGY_GRAY_WORDS_H

#include "kelmira/foundation.h"

namespace kelmira::morpho {

enum Kind { kErode, kDilate, kOpen, kClose, kWhiteTopHat, kBlackTopHat, kGradient };

template <class P>
struct Words;

template <>
struct Words<ZBW8> {
  static constexpr const char* box[7] = {"LumErodeBox",  "LumDilateBox", "LumOpenBox", "LumCloseBox",
                                         "LumWhiteTopHatBox (BW8)", "LumBlackTopHatBox (BW8)",
                                         "LumMorphoGradientBox"};
  static constexpr const char* disk[7] = {"LumErodeDisk", "LumDilateDisk", "LumOpenDisk ", "LumCloseDisk",
                                          "LumWhiteTopHatDisk (BW8)", "LumBlackTopHatDisk (BW8)",
                                          "LumMorphoGradientDisk"};
  // Elementary passes, [0] erosion and [1] dilation.
  static constexpr const char* x[2] = {"LumErodeX (BW8)", "LumDilateX (BW8)"};
  static constexpr const char* y[2] = {"LumErodeY ( BW8)", "LumDilateY ( BW8)"};
  static constexpr const char* cross[2] = {"LumErodeXY (BW8)", "LumDilateXY (BW8)"};
  static constexpr const char* square[2] = {"LumErode3x3 (BW8)", "LumDilate3x3 (BW8)"};
  static constexpr const char* twoPass[2] = {"OvdErodeBox", "OvdDilateBox"};
  static constexpr bool kWideSquare = true;  // the 3x3 pass has a wide worker
};

template <>
struct Words<ZBW16> {
  static constexpr const char* box[7] = {"LumErodeBox (BW16)", "LumDilateBox (BW16)", "LumOpenBox (BW16)",
                                         "LumCloseBox (BW16)", "LumWhiteTopHatBox (BW16)",
                                         "LumBlackTopHatBox (BW16)", "LumMorphoGradientBox (BW16)"};
  static constexpr const char* disk[7] = {"LumErodeDisk (BW16)", "LumDilateDisk (BW16)", "LumOpenDisk (BW16)",
                                          "LumCloseDisk (BW16)", "LumWhiteTopHatDisk (BW16)",
                                          "LumBlackTopHatDisk (BW16)", "LumMorphoGradientDisk (BW16)"};
  static constexpr const char* x[2] = {"LumErodeX (BW16)", "LumDilateX (BW16)"};
  static constexpr const char* y[2] = {"LumErodeY ( BW16)", "LumDilateY ( BW16)"};
  static constexpr const char* cross[2] = {"LumErodeXY (BW16)", "LumDilateXY (BW16)"};
  static constexpr const char* square[2] = {"LumErode3x3 (BW16)", "LumDilate3x3 (BW16)"};
  static constexpr const char* twoPass[2] = {"OvdErodeBox (BW16)", "OvdDilateBox (BW16)"};
  static constexpr bool kWideSquare = false;
};

template <>
struct Words<ZC24> {
  static constexpr const char* box[7] = {"LumErodeBox ( C24)", "LumDilateBox ( C24)", "LumOpenBox ( C24)",
                                         "LumCloseBox ( C24)", "LumWhiteTopHatBox ( C24)",
                                         "LumBlackTopHatBox ( C24)", "LumMorphoGradientBox ( C24)"};
  static constexpr const char* disk[7] = {"LumErodeDisk ( C24)", "LumDilateDisk ( C24)", "LumOpenDisk ( C24)",
                                          "LumCloseDisk ( C24)", "LumWhiteTopHatDisk ( C24)",
                                          "LumBlackTopHatDisk ( C24)", "LumMorphoGradientDisk ( C24)"};
};

}  // namespace kelmira::morpho

#endif  // KELMIRA_MORPHOLOGY_GRAY_WORDS_H
