// Kelmira foundation: pixel types, views and images, the per-thread error state and trace,
// the wide-path switch, colour planes and the small helpers every operator stands on.
//
// Error handling in one paragraph: an operator never throws and never aborts. It clears the
// calling thread's error state on entry, and on failure leaves a Z_ERRORS number there and appends
// its own trace string (innermost level first) to the thread's trace. Read them with ZGetError(),
// ZGetTraceCount() and ZGetTraceEntry(). The next operator call clears both.
#ifndef KELMIRA_FOUNDATION_H
#define KELMIRA_FOUNDATION_H

#include <cstddef>
#include <cstdint>

#include "kelmira/export.h"

// ---------------------------------------------------------------------------------------------
// Error numbers
// ---------------------------------------------------------------------------------------------
enum Z_ERRORS : int32_t {
  Z_ERROR_NONE = 0,
  Z_ERROR_OUTSIDE_ROI = 106,
  Z_ERROR_BAD_OPERATION = 1003,
  Z_ERROR_BAD_ARGUMENTS = 1007,
  Z_ERROR_BAD_CONTOUR_MODE = 1009,
  Z_ERROR_BAD_VECTOR_RANGE = 1010,
  Z_ERROR_ARGUMENT_1 = 1011,
  Z_ERROR_ARGUMENT_2 = 1012,
  Z_ERROR_ARGUMENT_3 = 1013,
  Z_ERROR_ARGUMENT_4 = 1014,
  Z_ERROR_ARGUMENT_5 = 1015,
  Z_ERROR_ARGUMENT_6 = 1016,
  Z_ERROR_PYRAMID_LEVELS = 1024,
  Z_ERROR_SINGULAR_PIVOTS = 1050,
  Z_ERROR_NO_VARIANCE = 1051,
  Z_ERROR_FILE_OPEN = 1102,
  Z_ERROR_FILE_READ = 1103,
  Z_ERROR_FILE_WRITE = 1104,
  Z_ERROR_FILE_SIGNATURE = 1105,
  Z_ERROR_FILE_CLOSE = 1106,
  Z_ERROR_NO_WORK_MEMORY = 1301,
  Z_ERROR_NO_MEMORY = 1303,
  Z_ERROR_NULL_IMAGE = 1400,
  Z_ERROR_DIFFERENT_SIZES = 1402,  // the foundation's own: CheckSameSize
  Z_ERROR_SIZE_MISMATCH = 1403,
  Z_ERROR_WARP_MAP = 1405,
  Z_ERROR_ZERO_DIVIDE = 1411,
  Z_ERROR_NEED_SEPARATE_DESTINATION = 1413,
  Z_ERROR_BAD_HALVE_MODE = 1414,
  Z_ERROR_BAD_PYRAMID_TYPE = 1419,
  Z_ERROR_BW1_NOT_ALIGNED = 1423,
  Z_ERROR_CONTOUR_START = 1500,
  Z_ERROR_CONTOUR_INTERIOR_START = 1501,
  Z_ERROR_CONTOUR_ISOLATED_START = 1502,
  Z_ERROR_CONTOUR_TOO_LONG = 1504,
  Z_ERROR_VECTOR_NO_DATA = 1601,
  Z_ERROR_VECTOR_BAD_SOURCE = 1602,
  Z_ERROR_VECTOR_BAD_DESTINATION = 1603,
  Z_ERROR_VECTOR_BAD_BOUNDS = 1604,
  Z_ERROR_VECTOR_BAD_ELEMENT_SIZE = 1605,
  Z_ERROR_VECTOR_BAD_DATA_TYPE = 1606,
  Z_ERROR_VECTOR_NOT_HISTOGRAM = 1607,
  Z_ERROR_VECTOR_NO_TRANSITION = 1608,
  Z_ERROR_VECTOR_BAD_SPAN = 1609,
  Z_ERROR_VECTOR_BAD_STRUCTURE = 1611,
  Z_ERROR_TABLE_SIZE = 1613,
  Z_ERROR_KERNEL_NO_DATA = 1700,
  Z_ERROR_KERNEL_NOT_TERNARY = 1701,
  Z_ERROR_KERNEL_NO_RECTIFIER = 1702,
  Z_ERROR_KERNEL_BAD_SIZE = 1703,
  Z_ERROR_KERNEL_DATA_ACCESS = 1704,
  Z_ERROR_WARP_SIZE = 2200,
  Z_ERROR_INTERNAL = 32767,

  // Other names of the same numbers, as some operator families call them.
  Z_ERROR_PARAMETER_1_OUT_OF_RANGE = Z_ERROR_ARGUMENT_1,
  Z_ERROR_PARAMETER_2_OUT_OF_RANGE = Z_ERROR_ARGUMENT_2,
  Z_ERROR_NOT_ENOUGH_MEMORY = Z_ERROR_NO_MEMORY,
  Z_ERROR_IMAGE_NOT_ALLOCATED = Z_ERROR_NULL_IMAGE,
  Z_ERROR_SOURCE_EQUALS_DESTINATION = Z_ERROR_NEED_SEPARATE_DESTINATION,
  Z_ERROR_SINGULAR_TRANSFORM = Z_ERROR_ZERO_DIVIDE,
  Z_ERROR_INVALID_INTERPOLATION_BITS = Z_ERROR_BAD_ARGUMENTS,
  Z_ERROR_KERNEL_NOT_INITIALIZED = Z_ERROR_KERNEL_NO_DATA,
  Z_ERROR_KERNEL_RECTIFIER_REQUIRED = Z_ERROR_KERNEL_NO_RECTIFIER,
  Z_ERROR_KERNEL_SIZE_NOT_SUPPORTED = Z_ERROR_KERNEL_BAD_SIZE,
  Z_ERROR_KERNEL_DATA_MISSING = Z_ERROR_KERNEL_DATA_ACCESS,
};

// The calling thread's foundation record: error, trace, overlay colour and test hooks.
struct OvidraTLSStruct;

// Clears the calling thread's error state and trace; returns 0.
KELMIRA_API Z_ERRORS ZOk();
// The calling thread's current error, 0 if none.
KELMIRA_API Z_ERRORS ZGetError();
// Makes `error` the calling thread's current error; returns it.
KELMIRA_API Z_ERRORS ZSetError(Z_ERRORS error);
// Appends `text` (kept by pointer: pass a literal) to the trace; returns the current error.
KELMIRA_API Z_ERRORS ZTraceError(const char* text);
// A readable English sentence for a number; never null.
KELMIRA_API const char* ZGetErrorText(Z_ERRORS error);
// Entries recorded since the last ZOk, index 0 being the innermost level. Out of range: null.
KELMIRA_API int ZGetTraceCount();
KELMIRA_API const char* ZGetTraceEntry(int index);
KELMIRA_API OvidraTLSStruct* ZGetTLSPtr();

// Non-zero when the wide (vector) paths may be used. Process-wide; starts non-zero where the
// processor has wide operations. ZSetMMX(0) makes every operator take its scalar twin.
KELMIRA_API int ZGetMMX();
KELMIRA_API void ZSetMMX(int enable);

// Test hook of the licence gate, per thread: while non-zero, every gate on this thread fails with
// that number. 0 switches it off.
KELMIRA_API void ZSetGateError(Z_ERRORS error);

// ---------------------------------------------------------------------------------------------
// Exceptions (used only inside the packed one-bit operators; never leave the library)
// ---------------------------------------------------------------------------------------------
namespace Marvane {
struct KELMIRA_API Exception {
  virtual ~Exception();
};
namespace Ovidra {
struct KELMIRA_API Exception : public Marvane::Exception {
  explicit Exception(Z_ERRORS c) : code(c) {}
  Exception(const Exception&) = default;
  Exception& operator=(const Exception&) = default;
  ~Exception() override;
  Z_ERRORS code;
};
}  // namespace Ovidra
}  // namespace Marvane

// ---------------------------------------------------------------------------------------------
// Pixel types. Each has the size of its pixel; gray and float types convert to and from their
// built-in type, so ZBW8(200), `ZBW16 v = 60000;` and `int x = pixel;` all work.
// ---------------------------------------------------------------------------------------------
#define KELMIRA_SCALAR_PIXEL(Name, Builtin)                       \
  struct Name {                                                   \
    Builtin value;                                                \
    constexpr Name() : value(0) {}                                \
    constexpr Name(Builtin v) : value(v) {} /* NOLINT implicit */ \
    constexpr operator Builtin() const { return value; }          \
  }

KELMIRA_SCALAR_PIXEL(ZBW1, uint8_t);  // as a value: 0 off, anything else on
KELMIRA_SCALAR_PIXEL(ZBW8, uint8_t);
KELMIRA_SCALAR_PIXEL(ZBW16, uint16_t);
KELMIRA_SCALAR_PIXEL(ZBW32, uint32_t);
KELMIRA_SCALAR_PIXEL(ZINT32, int32_t);
KELMIRA_SCALAR_PIXEL(ZC15, uint16_t);  // bits 14-10 c2, 9-5 c1, 4-0 c0; bit 15 unused
KELMIRA_SCALAR_PIXEL(ZC16, uint16_t);  // bits 15-11 c2, 10-5 c1, 4-0 c0
KELMIRA_SCALAR_PIXEL(ZFLOAT32, float);
KELMIRA_SCALAR_PIXEL(ZFLOAT64, double);
#undef KELMIRA_SCALAR_PIXEL

struct ZC24 {
  uint8_t c0, c1, c2;
  constexpr ZC24() : c0(0), c1(0), c2(0) {}
  constexpr ZC24(uint8_t a, uint8_t b, uint8_t c) : c0(a), c1(b), c2(c) {}
};
struct ZC24A {
  uint8_t c0, c1, c2, alpha;
  constexpr ZC24A() : c0(0), c1(0), c2(0), alpha(0) {}
  constexpr ZC24A(uint8_t a, uint8_t b, uint8_t c, uint8_t al = 0) : c0(a), c1(b), c2(c), alpha(al) {}
};
struct ZComplex64 {
  float re, im;
  constexpr ZComplex64() : re(0), im(0) {}
  constexpr ZComplex64(float r, float i) : re(r), im(i) {}
};
// A triple of per-component numbers (gains, offsets). The default constructor sets nothing.
struct ZColor {
  float c0, c1, c2;
  ZColor() {}  // NOLINT: deliberately leaves the floats as they are
  constexpr ZColor(float a, float b, float c) : c0(a), c1(b), c2(c) {}
};

static_assert(sizeof(ZBW1) == 1 && sizeof(ZBW8) == 1 && sizeof(ZBW16) == 2 && sizeof(ZBW32) == 4 &&
              sizeof(ZINT32) == 4 && sizeof(ZC15) == 2 && sizeof(ZC16) == 2 && sizeof(ZC24) == 3 &&
              sizeof(ZC24A) == 4 && sizeof(ZFLOAT32) == 4 && sizeof(ZFLOAT64) == 8 &&
              sizeof(ZComplex64) == 8, "pixel types must have the width of their pixel");

enum Z_IMAGE_TYPES {
  Z_IMAGE_BW8 = 0,
  Z_IMAGE_C24 = 1,
  Z_IMAGE_BW1 = 2,
  Z_IMAGE_BW16 = 3,
  Z_IMAGE_BW32 = 4,
  Z_IMAGE_INT32 = 5,
  Z_IMAGE_C15 = 6,
  Z_IMAGE_C16 = 7,
  Z_IMAGE_C24A = 8,
  Z_IMAGE_FLOAT32 = 9,
  Z_IMAGE_FLOAT64 = 10,
  Z_IMAGE_COMPLEX64 = 11,
};

enum Z_COLOR_SYSTEM { Z_COLOR_SYSTEM_RGB = 0, Z_COLOR_SYSTEM_BGR = 1, Z_COLOR_SYSTEM_HSL = 2, Z_COLOR_SYSTEM_YUV = 3 };

// A stretch of pixels of a run list: 12 bytes. On 64-bit builds start and end are byte offsets
// from the view's pixel (0, 0) (GetMaskOffsets() is 1); column and row of its first pixel follow.
#pragma pack(push, 1)
struct ZRun {
  uint32_t m_un32Start;
  uint32_t m_un32End;
  int16_t m_n16X;
  int16_t m_n16Y;
};
#pragma pack(pop)
static_assert(sizeof(ZRun) == 12, "ZRun is a 12-byte record");

template <class T>
class ZVectorTemplate;

// ---------------------------------------------------------------------------------------------
// Views and images
// ---------------------------------------------------------------------------------------------
// The type-free view. A view is void when it has no pixels: GetImagePtr(0, 0) is null. A view
// whose rectangle does not lie inside its parent is void too, so no operator can reach outside.
class KELMIRA_API ZGenericROI {
 public:
  virtual ~ZGenericROI();

  int GetWidth() const { return m_width; }
  int GetHeight() const { return m_height; }
  int GetOrgX() const { return m_orgX; }
  int GetOrgY() const { return m_orgY; }
  int GetTotalOrgX() const;
  int GetTotalOrgY() const;
  int GetTotalHeight() const;
  int GetVoid() const { return Void(); }
  void* GetImagePtr(int x, int y) { return GetGenericImagePtr(x, y); }
  const void* GetImagePtr(int x, int y) const { return GetGenericImagePtr(x, y); }

  virtual Z_IMAGE_TYPES GetImageType() const = 0;
  // Bytes per pixel (3 for ZC24; 1 for ZBW1, whose pixels are packed eight to a byte).
  virtual int GetPixelSize() const = 0;
  // Sets Z_ERROR_DIFFERENT_SIZES (1402) when the views differ in width or height, 1400 on null.
  virtual void CheckSameSize(const ZGenericROI* other) const;
  virtual int Void() const;
  virtual void SetSize(const ZGenericROI* other);
  virtual void SetSize(ZGenericROI* other);
  // An image: reallocates, pixels undefined. A view: resizes in place; sets 1402 and keeps its
  // size when the new rectangle would not fit in the parent.
  virtual void SetSize(int width, int height);
  // Address of the byte that holds pixel (x, y). No range check: (width, 0) and (0, height) are
  // the row and view ends. Null on a void view.
  virtual const void* GetGenericImagePtr(int x, int y) const;
  virtual void* GetGenericImagePtr(int x, int y);
  virtual int GetRowPitch() const;
  // Bits into its byte of pixel (x, y): always 0 except on ZBW1 views.
  virtual int GetBitOffset(int x, int y) const;
  // Sets Z_ERROR_NULL_IMAGE (1400) when the view is void.
  virtual void CheckNotVoid() const;
  // Bytes from just after a row's last pixel to the next row's first.
  virtual int GetSkip() const;
  virtual void SetParent(ZGenericROI* parent);

  void SetRunList(ZVectorTemplate<ZRun>* runs) { m_runs = runs; }
  ZVectorTemplate<ZRun>* GetRunList() const { return m_runs; }
  int GetMaskOffsets() const { return 1; }
  void SetColorSystem(Z_COLOR_SYSTEM system) { m_colorSystem = system; }
  Z_COLOR_SYSTEM GetColorSystem() const { return m_colorSystem; }

 protected:
  ZGenericROI() = default;
  ZGenericROI(const ZGenericROI&) = default;
  ZGenericROI& operator=(const ZGenericROI&) = default;
  // Bits per pixel of the concrete type (1 for ZBW1).
  virtual int BitsPerPixel() const = 0;
  // The top image's pixel (0, 0), pitch, and this view's origin in it; false when void.
  bool Resolve(uint8_t** base, int* pitch, int* x0, int* y0) const;

  int m_width = 0;
  int m_height = 0;
  int m_orgX = 0;
  int m_orgY = 0;
  ZGenericROI* m_parent = nullptr;  // views only
  uint8_t* m_pixels = nullptr;      // images only: pixel (0, 0)
  int m_pitch = 0;                  // images only
  bool m_isImage = false;
  ZVectorTemplate<ZRun>* m_runs = nullptr;
  Z_COLOR_SYSTEM m_colorSystem = Z_COLOR_SYSTEM_RGB;
};

// A rectangle inside a parent image or view. It owns no pixels; the parent must outlive it.
template <class T>
class KELMIRA_API ZROI : public ZGenericROI {
 public:
  using PixelType = T;
  ZROI();  // void
  ZROI(ZROI<T>* parent, int x, int y, int width, int height);
  ~ZROI() override;

  T* GetImagePtr(int x, int y) { return static_cast<T*>(GetGenericImagePtr(x, y)); }
  const T* GetImagePtr(int x, int y) const { return static_cast<const T*>(GetGenericImagePtr(x, y)); }
  // Checked access: outside the view sets 1011 (x) or 1012 (y) and touches nothing. A void view
  // gives 1400. On ZBW1 the value is 0 or 1.
  T GetPixel(int x, int y) const;
  void SetPixel(T value, int x, int y);
  void SetPlacement(int x, int y, int width, int height);

  Z_IMAGE_TYPES GetImageType() const override;
  int GetPixelSize() const override;

 protected:
  int BitsPerPixel() const override;
};

// A view that owns its pixels, or wraps host memory (SetImagePtr).
template <class T>
class KELMIRA_API ZImage : public ZROI<T> {
 public:
  ZImage();
  ZImage(int width, int height);
  ~ZImage() override;
  ZImage(const ZImage&) = delete;
  ZImage& operator=(const ZImage&) = delete;

  using ZGenericROI::SetSize;
  void SetSize(int width, int height) override;
  void SetSize(const ZGenericROI* other) override;
  void SetSize(ZGenericROI* other) override;
  int GetRowPitch() const override;
  // Makes the image a view of host memory: no copy, nothing freed. For ZBW1 the pitch is in
  // bytes of packed rows, and the first pixel of each row is the high bit of its first byte.
  void SetImagePtr(int width, int height, void* pixels, int rowPitchBytes);

 private:
  void Release();
  void* m_block = nullptr;  // owned allocation, if any
};

#define KELMIRA_FOR_EACH_PIXEL_TYPE(X) \
  X(ZBW1) X(ZBW8) X(ZBW16) X(ZBW32) X(ZINT32) X(ZC15) X(ZC16) X(ZC24) X(ZC24A) X(ZFLOAT32) X(ZFLOAT64) X(ZComplex64)
#define KELMIRA_EXTERN_VIEW(T) extern template class KELMIRA_API ZROI<T>; extern template class KELMIRA_API ZImage<T>;
KELMIRA_FOR_EACH_PIXEL_TYPE(KELMIRA_EXTERN_VIEW)
#undef KELMIRA_EXTERN_VIEW

// ---------------------------------------------------------------------------------------------
// The older vector: a block of items in groups, with a kind and a use tag.
// ---------------------------------------------------------------------------------------------
class KELMIRA_API ZVector {
 public:
  explicit ZVector(int groups = 0);
  virtual ~ZVector();
  ZVector(const ZVector&) = delete;
  ZVector& operator=(const ZVector&) = delete;

  void* GetDataPtr() const { return m_data; }
  int GetDataSize() const { return m_dataSize; }  // bytes per item: 2, 4 or 8
  int GetDataType() const { return m_dataType; }  // 1 or 2
  int GetGroupLength() const { return m_groupLength; }
  int GetNbGroup() const { return m_nbGroup; }
  int GetNbMaxGroup() const { return m_nbMaxGroup; }
  int GetAllocatedSize() const { return m_allocated; }
  int GetVectType() const { return m_vectType; }
  int IsSameVectType(int kind) const { return m_vectType == kind; }
  int GetUse() const { return m_use; }
  void SetUse(int use) { m_use = use; }
  void SetNbGroup(int groups);
  // Sets kind, number of groups and item size class (1: 2 bytes, 2: 4 bytes, 3: 8 bytes), and
  // allocates for that many groups of one item. Returns 0 or an error number.
  short int SetType(int kind, int groups, int sizeClass);
  // Sets kind, groups, group length and item size in bytes, and allocates. Returns 0 or an error.
  short int SetStructure(int kind, int groups, int groupLength, int itemBytes);
  // Grows the block to `bytes`, keeping its content. Returns 0 or 1303.
  short int Reallocate(int bytes);

 private:
  void* m_data = nullptr;
  int m_dataSize = 4;
  int m_dataType = 1;
  int m_groupLength = 1;
  int m_nbGroup = 0;
  int m_nbMaxGroup = 0;
  int m_allocated = 0;
  int m_vectType = 0;
  int m_use = 0;
};

// ---------------------------------------------------------------------------------------------
// Colour planes
// ---------------------------------------------------------------------------------------------
// A table over colours quantised to `indexBits` bits a component (1..8); identity when new.
class KELMIRA_API ZColorLookup {
 public:
  explicit ZColorLookup(unsigned indexBits = 5, int mode = 0);
  virtual ~ZColorLookup();
  ZColorLookup(const ZColorLookup&) = delete;
  ZColorLookup& operator=(const ZColorLookup&) = delete;

  unsigned GetIndexBits() const { return m_bits; }
  int GetMode() const { return m_mode; }
  // Sets the output of the cell that holds `in` (quantised to the index bits).
  void SetEntry(ZC24 in, ZC24 out);
  // Fills every cell with fn(cell centre).
  void Fill(ZC24 (*fn)(ZC24 colour, void* context), void* context);
  void Transform(ZC24 in, ZC24& out) const;

 private:
  unsigned Index(ZC24 c) const;
  unsigned m_bits;
  int m_mode;
  bool m_identity = true;
  ZC24* m_table = nullptr;
};

// Component 0, 1, 2 is byte 0, 1, 2 of the pixel. Errors: 1400 null or void view, 1402 sizes,
// 1013 a component above 2. With a lookup, each colour is transformed first.
KELMIRA_API void HueGetComponent(ZROI<ZC24>* source, ZROI<ZBW8>* destination, unsigned component,
                                 ZColorLookup* lookup = nullptr);
KELMIRA_API void HueSetComponent(ZROI<ZBW8>* source, ZROI<ZC24>* destination, unsigned component);

// The overlay colour of the calling thread (black in a new thread).
KELMIRA_API void LumSetOverlayColor(ZC24 colour);
KELMIRA_API ZC24 LumGetOverlayColor();

// ---------------------------------------------------------------------------------------------
// Angles, memory, small value classes
// ---------------------------------------------------------------------------------------------
enum Z_ANGLE_UNITS { Z_ANGLE_UNIT_RADIANS, Z_ANGLE_UNIT_DEGREES, Z_ANGLE_UNIT_GRADIANS, Z_ANGLE_UNIT_REVOLUTIONS };
// Process-wide; degrees at start.
KELMIRA_API void ZSetAngleUnit(Z_ANGLE_UNITS unit);
KELMIRA_API Z_ANGLE_UNITS ZGetAngleUnit();
KELMIRA_API float ZToRadians(float angle);
KELMIRA_API float ZFromRadians(float radians);

KELMIRA_API void* Ovidra_Malloc(size_t size);
KELMIRA_API void Ovidra_Free(void* pointer);

class KELMIRA_API ZMeasurementUnit {
 public:
  explicit ZMeasurementUnit(float magnitude = 1.0f) : m_f32Magnitude(magnitude) {}
  float GetMagnitude() const { return m_f32Magnitude; }
  void SetMagnitude(float m) { m_f32Magnitude = m; }

 private:
  float m_f32Magnitude;
};

class KELMIRA_API ZDimensionalValue {
 public:
  explicit ZDimensionalValue(float value = 0.0f) : m_f32Value(value) {}
  float GetValue() const { return m_f32Value; }
  void SetValue(float v) { m_f32Value = v; }

 private:
  float m_f32Value;
};

class KELMIRA_API ZStatistics {
 public:
  ZStatistics() : ZStatistics(0u) {}
  explicit ZStatistics(unsigned int count) : m_un32Count(count) {}
  unsigned int Count() const { return m_un32Count; }

 private:
  unsigned int m_un32Count;
};

namespace Marvane {
namespace Ovidra {
namespace Utils {
// A small growable array (growth by 32 elements) used for multi-level threshold results.
template <class T>
class Vector {
 public:
  Vector() = default;
  ~Vector() { delete[] m_data; }
  Vector(const Vector& o) { *this = o; }
  Vector& operator=(const Vector& o) {
    if (this != &o) {
      Clear();
      for (int i = 0; i < o.m_size; ++i) AddElement(o.m_data[i]);
    }
    return *this;
  }
  int GetSize() const { return m_size; }
  // Throws Marvane::Ovidra::Exception(1011) on a bad index.
  T& operator[](int i) {
    if (i < 0 || i >= m_size) throw Exception(Z_ERROR_ARGUMENT_1);
    return m_data[i];
  }
  const T& operator[](int i) const {
    if (i < 0 || i >= m_size) throw Exception(Z_ERROR_ARGUMENT_1);
    return m_data[i];
  }
  void AddElement(const T& v) {
    if (m_size == m_capacity) {
      T* grown = new T[m_capacity + 32];
      for (int i = 0; i < m_size; ++i) grown[i] = m_data[i];
      delete[] m_data;
      m_data = grown;
      m_capacity += 32;
    }
    m_data[m_size++] = v;
  }
  void Clear() {
    delete[] m_data;
    m_data = nullptr;
    m_size = m_capacity = 0;
  }

 private:
  T* m_data = nullptr;
  int m_size = 0;
  int m_capacity = 0;
};
}  // namespace Utils
}  // namespace Ovidra
}  // namespace Marvane

#endif  // KELMIRA_FOUNDATION_H
