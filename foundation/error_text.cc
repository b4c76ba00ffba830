// Messages for the error numbers.
#include "kelmira/foundation.h"

const char* ZGetErrorText(Z_ERRORS error) {
  switch (error) {
    case Z_ERROR_NONE: return "No error.";
    case Z_ERROR_OUTSIDE_ROI: return "A position lies outside the region of interest.";
    case Z_ERROR_BAD_OPERATION: return "This form of the operator does not accept that operation code.";
    case Z_ERROR_BAD_ARGUMENTS: return "The arguments are not allowed together, or a mode value is not allowed.";
    case Z_ERROR_BAD_CONTOUR_MODE: return "Unknown contour mode.";
    case Z_ERROR_BAD_VECTOR_RANGE: return "The first index of the vector range is above the last.";
    case Z_ERROR_ARGUMENT_1: return "Argument 1 is out of range.";
    case Z_ERROR_ARGUMENT_2: return "Argument 2 is out of range.";
    case Z_ERROR_ARGUMENT_3: return "Argument 3 is out of range.";
    case Z_ERROR_ARGUMENT_4: return "Argument 4 is out of range.";
    case Z_ERROR_ARGUMENT_5: return "Argument 5 is out of range.";
    case Z_ERROR_ARGUMENT_6: return "Argument 6 is out of range.";
    case Z_ERROR_PYRAMID_LEVELS: return "The pyramid is not of the type this operation needs.";
    case Z_ERROR_SINGULAR_PIVOTS: return "The three pivots are collinear.";
    case Z_ERROR_NO_VARIANCE: return "The statistic has a divisor of zero (no variance).";
    case Z_ERROR_FILE_OPEN: return "The file cannot be opened.";
    case Z_ERROR_FILE_READ: return "The file is shorter than its content promises.";
    case Z_ERROR_FILE_WRITE: return "The file could not be written completely.";
    case Z_ERROR_FILE_SIGNATURE: return "The file's signature does not match this kind of vector.";
    case Z_ERROR_FILE_CLOSE: return "The file could not be closed.";
    case Z_ERROR_NO_WORK_MEMORY: return "Not enough memory for a work buffer.";
    case Z_ERROR_NO_MEMORY: return "Not enough memory.";
    case Z_ERROR_NULL_IMAGE: return "An image or view is null or has no pixels.";
    case Z_ERROR_DIFFERENT_SIZES: return "The images differ in width or height.";
    case Z_ERROR_SIZE_MISMATCH: return "The sizes of the arguments do not fit together.";
    case Z_ERROR_WARP_MAP: return "A warp map entry cannot be used.";
    case Z_ERROR_ZERO_DIVIDE: return "Division by zero (a singular transform).";
    case Z_ERROR_NEED_SEPARATE_DESTINATION: return "This operator needs a destination distinct from its source.";
    case Z_ERROR_BAD_HALVE_MODE: return "Unknown halving mode.";
    case Z_ERROR_BAD_PYRAMID_TYPE: return "Unsupported pyramid type.";
    case Z_ERROR_BW1_NOT_ALIGNED: return "A one-bit view is not byte-aligned where it must be.";
    case Z_ERROR_CONTOUR_START: return "The contour start pixel is not on the object.";
    case Z_ERROR_CONTOUR_INTERIOR_START: return "The contour start pixel is inside the object.";
    case Z_ERROR_CONTOUR_ISOLATED_START: return "The contour start pixel is isolated.";
    case Z_ERROR_CONTOUR_TOO_LONG: return "The contour does not fit in the vector.";
    case Z_ERROR_VECTOR_NO_DATA: return "The vector has no data.";
    case Z_ERROR_VECTOR_BAD_SOURCE: return "The source vector is not of the kind needed.";
    case Z_ERROR_VECTOR_BAD_DESTINATION: return "The destination vector is not of the kind needed.";
    case Z_ERROR_VECTOR_BAD_BOUNDS: return "The vector index bounds do not fit the vector.";
    case Z_ERROR_VECTOR_BAD_ELEMENT_SIZE: return "The vector's element size is not 2, 4 or 8.";
    case Z_ERROR_VECTOR_BAD_DATA_TYPE: return "The vector's data type is not supported.";
    case Z_ERROR_VECTOR_NOT_HISTOGRAM: return "The vector is not a histogram.";
    case Z_ERROR_VECTOR_NO_TRANSITION: return "No transition found in the vector.";
    case Z_ERROR_VECTOR_BAD_SPAN: return "The convolution span does not fit the vector.";
    case Z_ERROR_VECTOR_BAD_STRUCTURE: return "The vector's structure does not fit.";
    case Z_ERROR_TABLE_SIZE: return "The table vector has the wrong number of elements.";
    case Z_ERROR_KERNEL_NO_DATA: return "The kernel has no coefficients.";
    case Z_ERROR_KERNEL_NOT_TERNARY: return "A hit-or-miss kernel coefficient is not 0, 1 or -1.";
    case Z_ERROR_KERNEL_NO_RECTIFIER: return "Symmetric convolution needs a non-zero rectifier.";
    case Z_ERROR_KERNEL_BAD_SIZE: return "The kernel size is not supported by this operator.";
    case Z_ERROR_KERNEL_DATA_ACCESS: return "The kernel has no data to access.";
    case Z_ERROR_WARP_SIZE: return "The warp maps do not cover the destination.";
    case Z_ERROR_INTERNAL: return "Internal error: an unexpected case reached a worker.";
  }
  return "Unknown error number.";
}
