// Kelmira vectors: the growable array ZVectorTemplate<T>, the element records of paths and peaks,
// the vectors built on it, their file form and their text form.
//
// A vector is a contiguous store with a count and a capacity. The store is never initialised by
// growth: elements that come into view through SetNumElements or a capacity change hold whatever
// the memory held. Failures are reported through the calling thread's error state (ZGetError) and
// trace (ZGetTraceEntry), like every operator of the library.
#ifndef KELMIRA_VECTORS_H
#define KELMIRA_VECTORS_H

#include <cstdio>
#include <iosfwd>

#include "kelmira/foundation.h"

// ---------------------------------------------------------------------------------------------
// Element records. Each goes to a file as its raw record, pad bytes included.
// ---------------------------------------------------------------------------------------------
// A point of a contour or a path: 4 bytes.
struct ZPath {
  int16_t m_n16X;
  int16_t m_n16Y;
};
// A point with its gray value: 6 bytes, the last one padding.
struct ZBW8Path {
  int16_t m_n16X;
  int16_t m_n16Y;
  ZBW8 m_bw8Pixel;
};
// A point with its 16-bit gray value: 6 bytes.
struct ZBW16Path {
  int16_t m_n16X;
  int16_t m_n16Y;
  ZBW16 m_bw16Pixel;
};
// A point with its colour: 8 bytes, the last one padding.
struct ZC24Path {
  int16_t m_n16X;
  int16_t m_n16Y;
  ZC24 m_c24Pixel;
};
// A peak of a profile: 20 bytes.
struct ZPeak {
  uint32_t m_un32Start;
  uint32_t m_un32Length;
  float m_f32Center;
  int32_t m_n32Amplitude;
  int32_t m_n32Area;
};
static_assert(sizeof(ZPath) == 4 && sizeof(ZBW8Path) == 6 && sizeof(ZBW16Path) == 6 &&
                  sizeof(ZC24Path) == 8 && sizeof(ZPeak) == 20 && sizeof(ZColor) == 12,
              "vector elements keep their file sizes");

// The text forms, with no newline after them. ZBW8Path prints its pixel as a character (65 is
// "A"), not as a number:
//   ( ZPeak : m_un32Start = 1 m_un32Length = 2 m_f32Center = 2.5 m_n32Amplitude = -3 m_n32Area = 4)
//   ( ZPath : m_n16X = 1 m_n16Y = -2)
//   ( ZBW8Path : m_n16X = 1 m_n16Y = 2 m_bw8Pixel = A)
KELMIRA_API std::ostream& operator<<(std::ostream& stream, const ZPeak& peak);
KELMIRA_API std::ostream& operator<<(std::ostream& stream, const ZPath& point);
KELMIRA_API std::ostream& operator<<(std::ostream& stream, const ZBW8Path& point);

// ---------------------------------------------------------------------------------------------
// ZVectorTemplate<T>
// ---------------------------------------------------------------------------------------------
// Error numbers: 1011 a bad index, 1102 a file that cannot be opened, 1103 a short read, 1104 a
// short write, 1105 a file header of another type or version, 1106 a failed close, 1303 a store
// that cannot be allocated. Trace strings are given with each operation.
//
// Instantiated in the library for unsigned int, int, float, double, ZBW8, ZBW16, ZBW32, ZINT32,
// ZC24, ZColor, ZRun, ZPath, ZBW8Path, ZBW16Path, ZC24Path and ZPeak. Save and Load exist for the
// five types that have a file form (ZPath, ZBW8Path, ZBW16Path, ZC24Path, ZPeak); calling them on
// another type does not link.
template <class T>
class KELMIRA_API ZVectorTemplate {
 public:
  // Count, capacity and store all empty.
  ZVectorTemplate();
  // Count and capacity both n, the store cleared to 0. When the store cannot be allocated: error
  // 1303 (no trace), count and capacity n with a null store; the accessors then refuse every index.
  explicit ZVectorTemplate(unsigned int n);
  // A copy of count and elements; the capacity is the source's count.
  ZVectorTemplate(const ZVectorTemplate<T>& other);
  virtual ~ZVectorTemplate();
  // CopyTo from `other` to this vector.
  ZVectorTemplate<T>& operator=(const ZVectorTemplate<T>& other);

  // Copies count and elements to `destination` (a new vector owned by the caller when null) and
  // returns it. Copying onto itself does nothing. Unless the destination's capacity already
  // equals this count, its store is replaced by one of exactly this count. If that allocation
  // fails (1303, "ZVector::SetMaxElements") the copy goes into the old store, as far as it holds.
  // A null destination whose allocation fails twice gives 1303 and a null result.
  ZVectorTemplate<T>* CopyTo(ZVectorTemplate<T>* destination) const;

  T* GetDataPtr() const { return m_pData; }
  unsigned int GetNumElements() const { return m_un32NumElements; }
  unsigned int GetMaxElements() const { return m_un32MaxElements; }

  // Changes the capacity to exactly n. n equal to the capacity: nothing at all happens. n of 0
  // releases the store. With `keep` the first count elements (at most n) stay, otherwise the
  // count becomes 0. Allocation failure: 1303, "ZVector::SetMaxElements", vector unchanged.
  void SetMaxElements(unsigned int n, int keep = 1);
  // Sets the count. Within the capacity the store is untouched (elements keep what they hold);
  // past it the capacity grows to exactly n. Failure: the error of SetMaxElements, then
  // "ZVector::SetNumElements", count unchanged.
  void SetNumElements(unsigned int n);
  // Count to 0; the store stays.
  void Empty() { m_un32NumElements = 0; }
  // Appends, doubling the capacity when full (1, 2, 4, ...). A growing call clears the error
  // state first; failure: 1303, "ZVector::SetMaxElements" then "ZVector::AddElement" (or
  // "ZVector::AddElementByRef"), nothing appended. `e` must not live in this vector's store.
  void AddElement(T e);
  void AddElementByRef(T& e);
  // Moves the elements behind i down by one. A bad index: 1011, "ZVector::RemoveElement".
  void RemoveElement(unsigned int i);
  // The element i. A bad index: 1011, "ZVector::operator[]", and a reference to a static element
  // of the type (one per type), which may be written harmlessly.
  T& operator[](unsigned int i) const;
  // The element i by value. A bad index (negative too): 1011, "ZVector::operator[]", and a
  // meaningless element.
  T GetElement(int i) const;
  // Stores `e` at i. A bad index: 1011, "ZVector::operator[]", and the value is still stored when
  // i lies within the allocated store (past the count but below the capacity); beyond the store
  // nothing is written.
  void SetElement(int i, T e);
  // One heap step: moves `e` down from the root of the binary heap held in the vector. compare(a,
  // b) is non-zero when a stands above b. The count is unchanged; `e` must not be an element of
  // this vector. Nothing is stored when there is no store.
  void Sift(const T& e, int (*compare)(const T&, const T&));

  // Writes the file: 0x5A, the object type, version 1, the exclusive or of those three, then the
  // body of Serialize. Failures: 1102, 1104 or 1106, traced "ZVector::Save" (narrow path) or
  // "ZVector::Save ( Unicode)" (UTF-16 path, converted to UTF-8 here).
  void Save(const char* path);
  void Save(const unsigned short* path);
  // Reads a file written by Save. Failures: 1102 (open), 1103 (short header, count or element),
  // 1105 (another type, version or check byte: the vector is unchanged), 1106 (close), traced
  // "ZVector::Load" or "ZVector::Load ( Unicode)". See Serialize for the state after a short file.
  void Load(const char* path);
  void Load(const unsigned short* path);
  // Writes (write non-zero) or reads the body: the count, 32-bit little-endian, then the raw
  // elements. `version` is ignored. No trace of its own. Writing: 1104 on a short write.
  // Reading: the capacity comes out exactly equal to the count of a whole file. A file that holds
  // fewer elements than its count promises gives 1103, with the elements that were there kept and
  // the count equal to their number: the store is grown only as far as bytes are
  // actually read, so a hostile count costs no memory. When the store cannot be allocated
  // (tried twice) the count stays 0 with 1303, traced "ZVector::SetMaxElements" then
  // "ZVector::SetNumElements".
  virtual void Serialize(FILE* file, int write, unsigned int version);

 protected:
  // True when element i is inside the count and there is a store to hold it.
  bool Holds(unsigned int i) const { return i < m_un32NumElements && m_pData != nullptr; }
  // Grows for one more element; false (error set and traced with `word`) when it cannot.
  bool GrowForAppend(const char* word);
  // Reads count elements from `file` when the file may hold fewer than promised.
  void ReadGrowing(FILE* file, unsigned int count);
  static T& OutsideElement();

  uint32_t m_un32Reserved0 = 0;
  uint32_t m_un32Reserved1 = 0;
  uint32_t m_un32NumElements = 0;
  uint32_t m_un32MaxElements = 0;
  T* m_pData = nullptr;
};

#define KELMIRA_FOR_EACH_VECTOR_ELEMENT(X)                                                      \
  X(unsigned int) X(int) X(float) X(double) X(ZBW8) X(ZBW16) X(ZBW32) X(ZINT32) X(ZC24) X(ZColor) \
  X(ZRun) X(ZPath) X(ZBW8Path) X(ZBW16Path) X(ZC24Path) X(ZPeak)
#define KELMIRA_EXTERN_VECTOR(T) extern template class KELMIRA_API ZVectorTemplate<T>;
KELMIRA_FOR_EACH_VECTOR_ELEMENT(KELMIRA_EXTERN_VECTOR)
#undef KELMIRA_EXTERN_VECTOR

// ---------------------------------------------------------------------------------------------
// Path vectors: a sequence of points and whether the last joins the first. m_bClosed is 0 after
// construction; it is neither copied by the template operations nor saved nor loaded. The
// (n) constructors reserve: count 0, capacity n, elements not initialised.
// ---------------------------------------------------------------------------------------------
#define KELMIRA_PATH_VECTOR(Name, Element)                         \
  class KELMIRA_API Name : public ZVectorTemplate<Element> {       \
   public:                                                         \
    Name() = default;                                              \
    explicit Name(unsigned int n);                                 \
    ~Name() override;                                              \
    int GetClosed() const { return m_bClosed; }                    \
    void SetClosed(int closed) { m_bClosed = closed; }             \
                                                                   \
   protected:                                                      \
    int m_bClosed = 0;                                             \
  };
KELMIRA_PATH_VECTOR(ZPathVector, ZPath)
KELMIRA_PATH_VECTOR(ZBW8PathVector, ZBW8Path)
KELMIRA_PATH_VECTOR(ZBW16PathVector, ZBW16Path)
KELMIRA_PATH_VECTOR(ZC24PathVector, ZC24Path)
#undef KELMIRA_PATH_VECTOR

// Peaks of a profile. ZPeaksVector(n) records n as the capacity and allocates nothing: give it
// another capacity (SetMaxElements with a different n) before storing into it. Appending to it
// grows it first.
class KELMIRA_API ZPeaksVector : public ZVectorTemplate<ZPeak> {
 public:
  ZPeaksVector() = default;
  explicit ZPeaksVector(unsigned int n);
  ~ZPeaksVector() override;
};

// ---------------------------------------------------------------------------------------------
// Plot extents: the data rectangle a histogram is drawn over, and the mapping of data values to
// positions in a drawing of a given size (y grows downwards in the drawing).
// ---------------------------------------------------------------------------------------------
class KELMIRA_API ZPlot {
 public:
  ZPlot() = default;
  virtual ~ZPlot();
  void SetExtents(float xMin, float xMax, float yMin, float yMax);
  float GetXMin() const { return m_f32XMin; }
  float GetXMax() const { return m_f32XMax; }
  float GetYMin() const { return m_f32YMin; }
  float GetYMax() const { return m_f32YMax; }
  // Position of x in a drawing `width` wide: xMin at 0, xMax at width - 1. Equal extents give 0.
  float XView(float x, int width) const;
  // Position of y in a drawing `height` high: yMax at 0, yMin at height - 1. Equal extents give 0.
  float YView(float y, int height) const;

 protected:
  float m_f32XMin = 0.0f;
  float m_f32XMax = 0.0f;
  float m_f32YMin = 0.0f;
  float m_f32YMax = 0.0f;
};

// A histogram: element i counts the pixels of value i (256 bins for 8-bit work, 65536 for 16-bit
// work). The default constructor leaves it empty; (n) reserves n bins (count 0, capacity n, bins
// not initialised). The file body is the unsigned int body: the count, then 32-bit bins.
class KELMIRA_API ZBWHistogramVector : public ZVectorTemplate<unsigned int>, public ZPlot {
 public:
  ZBWHistogramVector() = default;
  explicit ZBWHistogramVector(unsigned int n);
  ~ZBWHistogramVector() override;
  // Sets the bins up to the count to 0; count and capacity stay.
  void Clear();
  // Shannon entropy in bits of the bins first..last (inclusive; last 0xFFFFFFFF means the last
  // bin), normalised over that range; 0.0 for an empty range or first above last. Errors: 1011
  // first at or past the count, 1012 last at or past it; both return 0.0 and trace
  // "ZBWHistogramVector::Entropy".
  float Entropy(unsigned int first = 0, unsigned int last = 0xFFFFFFFFu);
};

// ---------------------------------------------------------------------------------------------
// Fixed-type vectors. The (n) constructors are the template's: count and capacity n, elements 0,
// so ZBW8Vector table(256) is a 256-entry table ready to fill by operator[].
// ---------------------------------------------------------------------------------------------
#define KELMIRA_FLAGGED_VECTOR(Name, Element)                                                  \
  class KELMIRA_API Name : public ZVectorTemplate<Element> {                                   \
   public:                                                                                     \
    explicit Name(unsigned int n = 0, int isUnsigned = 1);                                     \
    ~Name() override;                                                                          \
    int GetUnsigned() const { return m_bUnsigned; }                                            \
    void SetUnsigned(int isUnsigned) { m_bUnsigned = isUnsigned; }                             \
                                                                                               \
   protected:                                                                                  \
    int m_bUnsigned;                                                                           \
  };
KELMIRA_FLAGGED_VECTOR(ZBW8Vector, ZBW8)
KELMIRA_FLAGGED_VECTOR(ZBW16Vector, ZBW16)
KELMIRA_FLAGGED_VECTOR(ZBW32Vector, ZBW32)
#undef KELMIRA_FLAGGED_VECTOR

#define KELMIRA_PLAIN_VECTOR(Name, Element)                    \
  class KELMIRA_API Name : public ZVectorTemplate<Element> {   \
   public:                                                     \
    explicit Name(unsigned int n = 0);                         \
    ~Name() override;                                          \
  };
KELMIRA_PLAIN_VECTOR(ZC24Vector, ZC24)
KELMIRA_PLAIN_VECTOR(ZINT32Vector, ZINT32)
KELMIRA_PLAIN_VECTOR(ZColorVector, ZColor)
#undef KELMIRA_PLAIN_VECTOR

// Families of operators that fill these vectors.
#include "kelmira/vectors/contour.h"

#endif  // KELMIRA_VECTORS_H
