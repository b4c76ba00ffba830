// Kelmira filters: the coefficient object ZKernel, general convolution with it, and the
// predefined filters (kelmira/filters/predefined.h).
#ifndef KELMIRA_FILTERS_H
#define KELMIRA_FILTERS_H

#include "kelmira/foundation.h"

// ---------------------------------------------------------------------------------------------
// Kernels
// ---------------------------------------------------------------------------------------------
// The predefined 3x3 tables of ZKernel::SetKernel. The first three are structuring tables for
// thin and thick (-1 marks a position to ignore); they set gain 0 and rectifier 0.
enum KERNEL_TYPE {
  KERNEL_THIN_1 = 1,       //  0 0 0 / -1 1 -1 / 1 1 1
  KERNEL_THIN_2 = 2,       //  0 0 0 / -1 0 -1 / 1 1 1
  KERNEL_ONES = 3,         //  1 1 1 /  1 1 1  / 1 1 1
  KERNEL_SOBEL_X = 4,      // -1 0 1 / -2 0 2 / -1 0 1
  KERNEL_SOBEL_Y = 5,      // -1 -2 -1 / 0 0 0 / 1 2 1
  KERNEL_PREWITT_X = 6,    // -1 0 1 / -1 0 1 / -1 0 1
  KERNEL_PREWITT_Y = 7,    // -1 -1 -1 / 0 0 0 / 1 1 1
  KERNEL_LAPLACIAN_4 = 8,  //  0 1 0 / 1 -4 1 / 0 1 0
  KERNEL_LAPLACIAN_8 = 9,  //  1 1 1 / 1 -8 1 / 1 1 1
  KERNEL_LOWPASS_3 = 10,   //  1 2 1 / 2 4 2 / 1 2 1
  KERNEL_LOWPASS_2 = 11,   //  1 1 1 / 1 0 1 / 1 1 1
  KERNEL_LOWPASS_1 = 12,   //  1 1 1 / 1 1 1 / 1 1 1
  KERNEL_HIGHPASS_1 = 13,  //  0 -1 0 / -1 5 -1 / 0 -1 0
  KERNEL_HIGHPASS_2 = 14,  // -1 -1 -1 / -1 9 -1 / -1 -1 -1
};

// What a convolution does with its signed result v. On the floating-point route the rectifier
// acts on v and the offset is added after it; on the fixed-point routes the offset lies inside
// the sum, before the rectifier (NEGATIVE negates gain and offset, then acts as POSITIVE).
enum KERNEL_RECTIFIER {
  KERNEL_RECTIFIER_NONE = 0,      // v as it is (always the floating-point route)
  KERNEL_RECTIFIER_NEGATIVE = 1,  // -v where v <= 0, else 0
  KERNEL_RECTIFIER_POSITIVE = 2,  // v, or 0 where v < 0
  KERNEL_RECTIFIER_ABSOLUTE = 3,  // |v|
};

// A row-major table of 32-bit float coefficients (k[i] at row i / sizeX, column i % sizeX) with a
// gain, an offset in pixel units, a rectifier and the pixel value assumed outside a view on the
// floating-point route. The table's capacity (in floats) is independent of its size and never
// shrinks; no member moves a coefficient, and no size is checked for sign or oddness.
//
// Members that return short return 0 on success, or the error number after tracing their string
// ("ZKernel::<Member>"). Allocation failures give 1303 and leave the capacity at 0 and the data
// pointer null. Not copyable; the destructor frees the table and clears the error state (ZOk).
class KELMIRA_API ZKernel {
 public:
  // Size 0 x 0, gain 1, offset 0, rectifier 2, outside value 0, no data. Calls ZOk.
  ZKernel();
  // Stores the six values and allocates sizeX * sizeY floats, left uninitialised. On failure:
  // 1303, trace "ZKernel::ZKernel", capacity 0 and no data.
  ZKernel(short sizeX, short sizeY, float gain, unsigned int offset, short rectifier, unsigned int outsideValue);
  // The default fields, then SetKernel(type).
  explicit ZKernel(KERNEL_TYPE type);
  virtual ~ZKernel();
  ZKernel(const ZKernel&) = delete;
  ZKernel& operator=(const ZKernel&) = delete;

  // Makes the kernel one of the fourteen 3x3 tables. In order: sizes 3 x 3 and growth to 9
  // floats; gain, offset, rectifier and outside value cleared; then the table (types 4 to 14 also
  // set gain 1, rectifier 2). Any other type gives 1011 ("ZKernel::SetKernel") with the sizes and
  // the cleared fields kept and the old coefficients left in place.
  short SetKernel(KERNEL_TYPE type);

  short GetSizeX() const { return m_n16SizeX; }
  short GetSizeY() const { return m_n16SizeY; }
  float GetGain() const { return m_f32Gain; }
  unsigned int GetOffset() const { return m_un32Offset; }
  unsigned int GetOutsideValue() const { return m_un32OutsideValue; }
  unsigned int GetAllocatedSize() const { return m_un32AllocatedSize; }
  short GetRectifier() const { return m_n16Rectifier; }
  float* GetDataPtr() const { return m_pf32Data; }

  // Store the value, unchecked, and call ZOk.
  void SetGain(float gain);
  void SetOffset(unsigned int offset);
  void SetRectifier(short rectifier);
  void SetOutsideValue(unsigned int outsideValue);

  // Make the kernel 3x3, 5x5 or 7x7 and store the coefficients in row order, growing the table
  // when its capacity is too small. Gain, offset, rectifier and outside value are kept. Failure
  // traces "ZKernel::SetKernelData 3x3", or "ZKernel::SetKernelData 5x5" for both larger forms.
  short SetKernelData(const float (&values)[9]);
  short SetKernelData(const float (&values)[25]);
  short SetKernelData(const float (&values)[49]);

  // One coefficient at column x, row y. Checked in this order: no data 1704, x out of range 1011,
  // y out of range 1012. Traces "ZKernel::SetKernelData" and "ZKernel::GetKernelData".
  short SetKernelData(int x, int y, float value);
  short GetKernelData(int x, int y, float& value);

  // Set one dimension. When the new product exceeds the capacity, the table is reallocated
  // through SetAllocatedSize (old coefficients lost). Coefficients are never moved. Traces
  // "ZKernel::SetSizeX", "ZKernel::SetSizeY".
  short SetSizeX(short sizeX);
  short SetSizeY(short sizeY);
  // Grows the table to `count` floats, discarding its content; a smaller or equal count with
  // data present does nothing. Trace "ZKernel::SetAllocatedSize".
  short SetAllocatedSize(unsigned int count);

 private:
  bool Grow(unsigned int count);  // the growth rule of SetKernel and the table forms

  short m_n16SizeX = 0;
  short m_n16SizeY = 0;
  float m_f32Gain = 1.0f;
  unsigned int m_un32Offset = 0;
  short m_n16Rectifier = 2;
  unsigned int m_un32OutsideValue = 0;
  float* m_pf32Data = nullptr;
  unsigned int m_un32AllocatedSize = 0;
};

// ---------------------------------------------------------------------------------------------
// General convolution
// ---------------------------------------------------------------------------------------------
// Correlates `source` with the kernel (k[0] multiplies the pixel up and to the left of the
// centre; the kernel is never flipped) into `destination`. The coefficients are scaled by
// g = gain / sum when |sum| > 0.00001 * sum|k| (a kernel whose coefficients do not cancel gets a
// DC gain of `gain`), else g = gain. The kernel's size and rectifier pick the route:
//
//   3x3, rectifier 2      short route: Q8 coefficients trunc(g k 256), result (sum >> 8) clipped;
//                         the offset is ignored. On ZBW8 with the wide paths on, the vector loop
//                         holds coefficients in 16 bits: one at or beyond 128.0 wraps there.
//   3x3 rectifier 1 or 3, 5x5, 7x7 (rectifier not 0)
//                         Q15 route: trunc(g k 32768), offset << 15 in the 32-bit (wrapping)
//                         sum, then the rectifier; rectifiers above 3 write nothing.
//   other sizes, or rectifier 0
//                         float route: the outside value stands for pixels outside the view; the
//                         offset is added after the rectifier. Even sizes reach one pixel further
//                         up and left. The 3x3 form computes its border pixels with k[5] in place
//                         of k[7].
//
// The fixed-point routes replace missing neighbours by the nearest pixel of the view. In place
// (destination equal to source, or any overlap) only the short route keeps a copy of the rows it
// needs; the other routes read pixels they have already written, in row order.
// Errors: 1400 null or void view (a null destination too), 1402 sizes differ, 1700 no kernel or
// no data, 1303 no memory. Traces "LumConvolKernel BW8", "LumConvolKernel BW16" and, where a Q15
// worker itself fails, its own string first ("ConvolKernel5x5", "ConvolKernel7x7 BW16", ...).
KELMIRA_API void LumConvolKernel(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, ZKernel* kernel);
KELMIRA_API void LumConvolKernel(ZROI<ZBW16>* source, ZROI<ZBW16>* destination, ZKernel* kernel);
// Plane by plane through the ZBW8 form. A null destination or one equal to the source gives 1413.
// Trace "LumConvolKernel ( C24)" after the ZBW8 form's own.
KELMIRA_API void LumConvolKernel(ZROI<ZC24>* source, ZROI<ZC24>* destination, ZKernel* kernel);

// The Q15 route for kernels invariant under the eight symmetries of the square (3x3, 5x5, 7x7):
// one coefficient of each orbit is read and multiplied by the sum of the orbit's pixels; the rest
// of the table is not read. The offset counts at every size. Errors: 1702 rectifier 0 (tested
// first), 1703 another size, then as LumConvolKernel. Traces "ConvolKernelS3xS3",
// "ConvolKernelS5xS5", "ConvolKernelS7xS7" ("ConvolKernelS3xS3 BW16", "ConvolKernelS5xS5 BW16",
// "ConvolKernelS7xS7 (BW16)") for the workers, then "LumConvolSymmetricKernel",
// "LumConvolSymmetricKernel BW16", "LumConvolSymmetricKernel ( C24)".
KELMIRA_API void LumConvolSymmetricKernel(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, ZKernel* kernel);
KELMIRA_API void LumConvolSymmetricKernel(ZROI<ZBW16>* source, ZROI<ZBW16>* destination, ZKernel* kernel);
KELMIRA_API void LumConvolSymmetricKernel(ZROI<ZC24>* source, ZROI<ZC24>* destination, ZKernel* kernel);

#include "kelmira/filters/canny.h"
#include "kelmira/filters/predefined.h"

#endif  // KELMIRA_FILTERS_H
