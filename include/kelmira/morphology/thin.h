// Kelmira thin and thick: a 3x3 hit-or-miss pattern applied pass after pass.
//
// The pattern is the first nine coefficients of a ZKernel, read as three rows of three: 1 means
// the pixel at that place must be object (not 0), 0 that it must be background, -1 that any value
// matches. Each pixel whose neighbourhood matches is cleared (thin) or set to the largest value
// (thick). Every pass decides from the image as it stood before the pass, so the result does not
// depend on the scan order. The images are treated as binary: the result holds only 0 and the
// largest pixel value (0xFF, 0xFFFF; 1 on ZBW1).
//
// Places outside the view: the kernel's GetOutsideValue() of 0 makes them background (they fail a
// coefficient of 1); any other value makes them agree with the pattern, so they never prevent a
// match.
//
// Held as two 9-bit masks, care (coefficient not -1) and value (coefficient 1), with the bits
// running by column from the left, and top to bottom within a column:
//
//            left   middle  right
//   top      0x100  0x20    0x04
//   middle   0x80   0x10    0x02
//   bottom   0x40   0x08    0x01
//
// A pixel matches when the code of its neighbourhood (bit set where the place is object) ANDed
// with care equals value.
//
// Rotation: KERNEL_ROTATION_CLOCKWISE turns the pattern one step after each pass (top left to top
// middle to top right to middle right to bottom right to bottom middle to bottom left to middle
// left), KERNEL_ROTATION_ANTICLOCKWISE the other way; eight passes bring it back. The centre stays.
#ifndef KELMIRA_MORPHOLOGY_THIN_H
#define KELMIRA_MORPHOLOGY_THIN_H

#include <cstdint>

#include "kelmira/filters.h"
#include "kelmira/foundation.h"

// A 32-bit value; any number above 2 is refused (a negative number cast to it too).
enum KERNEL_ROTATION : uint32_t {
  KERNEL_ROTATION_NONE = 0,
  KERNEL_ROTATION_CLOCKWISE = 1,
  KERNEL_ROTATION_ANTICLOCKWISE = 2,
};

// ----- ZBW8 and ZBW16 -----
//
// `iterations` on entry: the largest number of passes; 0 means as many as the view is wide. With a
// rotation the limit counts rings of eight passes (at most 8184 passes for 1023). Below 0: no pass
// runs, the destination is not written and `iterations` comes back 0.
//
// The loop: without rotation it ends after the first pass that changes nothing; with a rotation,
// after a whole ring of eight passes (counted from the ring's first pass) that changes nothing. On
// return `iterations` holds the passes done, or with a rotation the passes divided by 8 (rounded
// down). The first pass reads `source` and writes every pixel of `destination`: a matching pixel
// becomes 0 (thin) or the maximum (thick), any other pixel the maximum where the source is not 0
// and 0 elsewhere. The first pass therefore counts as a change unless every pixel of the view's
// edge (first and last row and column) matches; a matching pixel counts as a change only where the
// destination did not already hold the new value. Later passes change only matching pixels.
// `source` may equal `destination`.
//
// Checks, in order, with what stands after each:
//   sizes differ: the foundation's 1402; a null view 1400 (a null destination too)  -- destination
//   a void view (no pixels): 1400                                                      and iterations
//   kernel with neither GetSizeX() nor GetSizeY() equal to 3, or whose table holds     unchanged
//     fewer than nine coefficients: 1703 (one dimension of 3 is enough: the nine first
//     coefficients are read whatever the true shape)
//   null kernel or no data: 1700
//   a coefficient not 0, 1 or -1 (NaN included): 1701
//   rotation above 2: 1014 (ARGUMENT_4)                                             -- iterations 0
//   iterations above 1023: 1015 (ARGUMENT_5)                                        -- iterations 0
//   no work memory: 1301                                                            -- iterations 0
//
// ZBW8 forms return 0 or the error number. Traces: "LumThin", "LumThick", "LumBiLevelThin",
// "LumBiLevelThick" (the BiLevel forms run the same worker), "LumThin (BW16)", "LumThick (BW16)".
KELMIRA_API short int LumThin(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, ZKernel* kernel,
                              KERNEL_ROTATION rotation, int& iterations);
KELMIRA_API short int LumThick(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, ZKernel* kernel,
                               KERNEL_ROTATION rotation, int& iterations);
KELMIRA_API short int LumBiLevelThin(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, ZKernel* kernel,
                                     KERNEL_ROTATION rotation, int& iterations);
KELMIRA_API short int LumBiLevelThick(ZROI<ZBW8>* source, ZROI<ZBW8>* destination, ZKernel* kernel,
                                      KERNEL_ROTATION rotation, int& iterations);
KELMIRA_API void LumThin(ZROI<ZBW16>* source, ZROI<ZBW16>* destination, ZKernel* kernel, KERNEL_ROTATION rotation,
                         int& iterations);
KELMIRA_API void LumThick(ZROI<ZBW16>* source, ZROI<ZBW16>* destination, ZKernel* kernel, KERNEL_ROTATION rotation,
                          int& iterations);

// ----- ZC24 -----
//
// Each component 0, 1, 2 in turn goes out to a gray plane, through the ZBW8 form, and back. The
// same `iterations` goes through all three: the count that plane 0 leaves is the limit of plane 1,
// and so on, so a first plane that settles after k passes bounds the others by k. `source` may
// equal `destination`. A null or void view gives 1400, different sizes 1402; a failure stops at
// its plane (earlier planes stay written) after the ZBW8 form's trace. Traces "LumThin ( C24)",
// "LumThick ( C24)".
KELMIRA_API void LumThin(ZROI<ZC24>* source, ZROI<ZC24>* destination, ZKernel* kernel, KERNEL_ROTATION rotation,
                         int& iterations);
KELMIRA_API void LumThick(ZROI<ZC24>* source, ZROI<ZC24>* destination, ZKernel* kernel, KERNEL_ROTATION rotation,
                          int& iterations);

// ----- ZBW1 -----
//
// The same passes on packed views (a pixel is object when its bit is 1; there is no first-pass
// binarisation, and a pass changes something only where a bit flips). Spare bits of the
// destination's last byte of each row, and the bits of its bytes outside the view, are kept.
//
// Counting of their own: `iterations` below 1 means no limit (it becomes -1); the loop counts it
// down by one for each ring of eight passes (one pass without rotation) and stops when it reaches
// 0 or after a ring that changed nothing. On return `iterations` holds the result: the absolute
// value of what is left of the count, cut to 16 bits, or 1 when the count reached 0. So with no
// limit it is the rings run plus 1, and with a limit n that was not reached, n minus the rings run.
//
// LumThin/LumThick accept any bit offset (unaligned views go through LumBW1Alignment and
// LumBW1UnAlignment and temporary images: 1303 when one cannot be had) and return 0 or the error
// number; a null view gives 1400. Checks and numbers as above, plus 1423 for an aligned form's
// unaligned view; a failure leaves the destination unchanged. Traces "LumThin (BW1)",
// "LumThick (BW1)".
//
// The Aligned forms are the inner level: they need views with GetBitOffset(0, 0) of 0, set no
// trace, return the result above and THROW Marvane::Ovidra::Exception on failure (the number of
// the check). Call them only inside a handler of your own.
KELMIRA_API short int LumThin(ZROI<ZBW1>* source, ZROI<ZBW1>* destination, ZKernel* kernel, KERNEL_ROTATION rotation,
                              int& iterations);
KELMIRA_API short int LumThick(ZROI<ZBW1>* source, ZROI<ZBW1>* destination, ZKernel* kernel,
                               KERNEL_ROTATION rotation, int& iterations);
KELMIRA_API short int LumThinAligned(ZROI<ZBW1>* source, ZROI<ZBW1>* destination, ZKernel* kernel,
                                     KERNEL_ROTATION rotation, int& iterations);
KELMIRA_API short int LumThickAligned(ZROI<ZBW1>* source, ZROI<ZBW1>* destination, ZKernel* kernel,
                                      KERNEL_ROTATION rotation, int& iterations);

#endif  // KELMIRA_MORPHOLOGY_THIN_H
