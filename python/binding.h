// The machinery of the Python module: NumPy arrays as views (no copy), optional destinations,
// errors raised from the thread's error state, and one template that turns an operator's C++
// signature into its Python form, so that each family binds its forms from a table.
#ifndef KELMIRA_PYTHON_BINDING_H
#define KELMIRA_PYTHON_BINDING_H

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <array>
#include <climits>
#include <cmath>
#include <exception>
#include <limits>
#include <cstring>
#include <new>
#include <cstdint>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "kelmira/kelmira.h"

namespace py = pybind11;

namespace kpy {

// How a pixel type lies in a NumPy array: dtype kind and size, and the length of the last axis
// for colour types (1 for gray: a 2-D array).
template <class T> struct Pixel;
#define KPY_PIXEL(T, Kind, Size, Channels, Name, Layout)  \
  template <> struct Pixel<T> {                            \
    static constexpr char kind = Kind;                     \
    static constexpr int size = Size;                      \
    static constexpr int channels = Channels;              \
    static constexpr const char* name = Name;              \
    static constexpr char layout[] = Layout;                \
  };
KPY_PIXEL(ZBW8, 'u', 1, 1, "BW8", "uint8 (h, w)")
KPY_PIXEL(ZBW16, 'u', 2, 1, "BW16", "uint16 (h, w)")
KPY_PIXEL(ZBW32, 'u', 4, 1, "BW32", "uint32 (h, w)")
KPY_PIXEL(ZINT32, 'i', 4, 1, "INT32", "int32 (h, w)")
KPY_PIXEL(ZFLOAT32, 'f', 4, 1, "FLOAT32", "float32 (h, w)")
KPY_PIXEL(ZFLOAT64, 'f', 8, 1, "FLOAT64", "float64 (h, w)")
KPY_PIXEL(ZC24, 'u', 1, 3, "C24", "uint8 (h, w, 3)")
KPY_PIXEL(ZC24A, 'u', 1, 4, "C24A", "uint8 (h, w, 4)")
KPY_PIXEL(ZC15, 'u', 2, 1, "C15", "uint16 (h, w)")
KPY_PIXEL(ZC16, 'u', 2, 1, "C16", "uint16 (h, w)")
#undef KPY_PIXEL

// Checks that `array` can be a view of pixel type T and returns the view's geometry. Returns
// false when the dtype or layout belongs to another pixel type (so that another overload may take
// it); raises TypeError or ValueError when the array has this type's dtype but cannot be a view.
struct Geometry {
  void* pixels = nullptr;
  int width = 0, height = 0, pitch = 0;
};
bool Inspect(const py::array& array, char kind, int size, int channels, const char* name,
             const char* layout, bool writable, Geometry* out);

// C15 and C16 images have the dtype of BW16, so an array of them travels in a wrapper that names
// the type: kelmira.C15(array) is a view of the uint16 (h, w) array, which it keeps.
template <class T>
struct Packed {
  py::array array;
};
template <class T>
constexpr bool kPacked = std::is_same_v<T, ZC15> || std::is_same_v<T, ZC16>;

// An image argument: the array's pixels seen as a ZImage (SetImagePtr, no copy).
template <class T>
struct Src {
  ZImage<T> view;
  int width = 0, height = 0;
};

// A destination: a given array (written in place) or None (a new array of the first source's
// size is made before the call and returned).
template <class T>
struct Dst {
  ZImage<T> view;
  py::object array;
  bool given = false;

  void Allocate(int width, int height);
};

py::object Zeros(py::tuple shape, const char* dtype);

// A packed one-bit image: rows of bytes, the first pixel `bitOffset` bits into each row's first
// byte (bit 7 being offset 0). Its rows are a uint8 array, so slices of it are views too.
struct Bits {
  py::array_t<uint8_t> bytes;
  int width = 0, height = 0, bitOffset = 0;
};
// A one-bit view of a Bits: the rows as an image, the view at the bit offset inside it.
template <>
struct Src<ZBW1> {
  ZImage<ZBW1> rows;
  ZROI<ZBW1> view;
  int width = 0, height = 0;
  void Attach(const Bits& b);
};
template <>
struct Dst<ZBW1> {
  ZImage<ZBW1> rows;
  ZROI<ZBW1> view;
  py::object array;
  bool given = false;
  void Attach(const Bits& b);
  void Allocate(int width, int height);
};

template <class T>
void Dst<T>::Allocate(int width, int height) {
  static const char* dtypes[] = {"", "uint8", "uint16", "", "uint32", "", "", "", "float64"};
  const char* dtype = Pixel<T>::kind == 'i' ? "int32" : Pixel<T>::kind == 'f' && Pixel<T>::size == 4
                                                                            ? "float32"
                                                                            : dtypes[Pixel<T>::size];
  py::tuple shape = Pixel<T>::channels == 1 ? py::make_tuple(height, width)
                                            : py::make_tuple(height, width, Pixel<T>::channels);
  auto a = py::reinterpret_steal<py::array>(Zeros(shape, dtype).release());
  view.SetImagePtr(width, height, a.mutable_data(), static_cast<int>(a.strides(0)));
  if constexpr (kPacked<T>) {
    array = py::cast(Packed<T>{a});
  } else {
    array = a;
  }
}

// Raises kelmira.Error from the calling thread's error state when it holds an error.
void RaiseIfError();

// ---------------------------------------------------------------------------------------------
// From a C++ parameter type to its Python form: `type` is what the Python side passes, get()
// what the operator receives, Collect() adds what the call hands back (destinations, counts).
// ---------------------------------------------------------------------------------------------
struct Frame {
  int width = -1, height = -1;
  py::object results[16];
  int count = 0;
  void Add(py::object o) { results[count++] = std::move(o); }
};

// A number or a tuple that never takes an array. Without this, every overload tried with an
// array where a number stands would go through NumPy's __index__, raise and clear a Python
// exception: most of the cost of a call.
template <class B>
struct Scalar {
  B v;
};

template <class A, class = void>
struct Arg {  // kernels and other plain parameters pass through
  using type = A;
  static A get(type& v) { return v; }
  static void Note(Frame&, type&) {}
  static void Collect(Frame&, type&) {}
};
template <class A, class Builtin>
struct ScalarArg {
  using type = Scalar<Builtin>;
  static A get(type& v) {
    if constexpr (std::is_enum_v<A>) {  // any number passes, wrapped to the enumeration's width
      return static_cast<A>(static_cast<std::underlying_type_t<A>>(v.v));
    } else if constexpr (std::is_same_v<A, ZC24>) {
      return ZC24(std::get<0>(v.v), std::get<1>(v.v), std::get<2>(v.v));
    } else if constexpr (std::is_same_v<A, ZColor>) {
      return ZColor(std::get<0>(v.v), std::get<1>(v.v), std::get<2>(v.v));
    } else {
      return A(v.v);
    }
  }
  static void Note(Frame&, type&) {}
  static void Collect(Frame&, type&) {}
};
template <class A>  // enumerations as numbers (IntEnum on top)
struct Arg<A, std::enable_if_t<std::is_enum_v<A>>> : ScalarArg<A, long long> {};
template <class A>
struct Arg<A, std::enable_if_t<std::is_arithmetic_v<A>>> : ScalarArg<A, A> {};
template <> struct Arg<ZBW1> : ScalarArg<ZBW1, uint8_t> {};
template <> struct Arg<ZBW8> : ScalarArg<ZBW8, uint8_t> {};
template <> struct Arg<ZBW16> : ScalarArg<ZBW16, uint16_t> {};
template <> struct Arg<ZBW32> : ScalarArg<ZBW32, uint32_t> {};
template <> struct Arg<ZC15> : ScalarArg<ZC15, uint16_t> {};
template <> struct Arg<ZC16> : ScalarArg<ZC16, uint16_t> {};
// A colour constant as (c0, c1, c2), in memory order; gains and offsets as three floats.
template <> struct Arg<ZC24> : ScalarArg<ZC24, std::tuple<uint8_t, uint8_t, uint8_t>> {};
template <> struct Arg<ZColor> : ScalarArg<ZColor, std::tuple<float, float, float>> {};
template <class T>
struct InOutArg {  // an in-out number: passed in, handed back after the destination
  using type = T;
  static T& get(T& v) { return v; }
  static void Note(Frame&, T&) {}
  static void Collect(Frame& f, T& v) { f.Add(py::cast(v)); }
};
template <> struct Arg<int&> : InOutArg<int> {};
template <> struct Arg<unsigned int&> : InOutArg<unsigned int> {};
template <> struct Arg<float&> : InOutArg<float> {};
template <class T>
struct SrcArg {
  using type = Src<T>&;
  static ZROI<T>* get(Src<T>& s) { return &s.view; }
  static void Note(Frame& f, Src<T>& s) {
    if (f.width < 0) f.width = s.width, f.height = s.height;
  }
  static void Collect(Frame&, Src<T>&) {}
};
template <class T>
struct Arg<const ZROI<T>*> : SrcArg<T> {};
template <class T>
struct Arg<ZROI<T>*> : SrcArg<T> {};
template <class T>
struct Arg<ZImage<T>*> : SrcArg<T> {  // an image parameter (Hysteresis's directions): the array's view
  static ZImage<T>* get(Src<T>& s) { return &s.view; }
};

// A raw table (LumLut's pointer forms): a C-contiguous 1-D array of exactly the element's dtype
// and exactly the table's length (256, 65536), used in place. Any other array goes on to the
// vector form, which copies it and checks its count.
template <class E>
struct RawTable {
  E* data = nullptr;
};
template <class E>
struct Arg<E*, std::enable_if_t<std::is_same_v<E, ZBW8> || std::is_same_v<E, ZBW16>>> {
  using type = RawTable<E>;
  static E* get(type& t) { return t.data; }
  static void Note(Frame&, type&) {}
  static void Collect(Frame&, type&) {}
};

// A table (ZBW8Vector, ZBW16Vector) from any 1-D array: its elements are copied in.
// A kelmira vector object is used as it is, without a copy.
template <class Vc>
struct Vec {
  Vc vector;
  Vc* given = nullptr;
  bool null = false;  // None: the operator gets a null table
};
template <class Vc>
struct VecArg {
  using type = Vec<Vc>&;
  static Vc* get(Vec<Vc>& v) { return v.null ? nullptr : v.given ? v.given : &v.vector; }
  static void Note(Frame&, Vec<Vc>&) {}
  static void Collect(Frame&, Vec<Vc>&) {}
};
template <>
struct Arg<ZBW8Vector*> : VecArg<ZBW8Vector> {};
template <>
struct Arg<ZBW16Vector*> : VecArg<ZBW16Vector> {};
template <>
struct Arg<ZBWHistogramVector*> : VecArg<ZBWHistogramVector> {};

// A vector given to be filled in place (the legacy ZVector forms): required, and handed back.
template <class V>
struct InPlace {
  py::object object;
  V* vector = nullptr;
};
template <class V>
struct InPlaceArg {
  using type = InPlace<V>&;
  static V* get(InPlace<V>& v) { return v.vector; }
  static void Note(Frame&, InPlace<V>&) {}
  static void Make(Frame&, InPlace<V>&) {}
  static void Collect(Frame& f, InPlace<V>& v) { f.Add(v.object); }
};

// A histogram that the operator fills: passed as None (or left out), returned as a uint32 array;
// a kelmira.ZBWHistogramVector given is filled in place and returned.
struct HistogramOut {
  ZBWHistogramVector vector;
  py::object given;
  ZBWHistogramVector* pointer = nullptr;  // the given object's vector, found while the GIL is held
};

template <class A>
struct DstArg;
template <class T>
struct DstArg<ZROI<T>*> {
  using type = Dst<T>&;
  static ZROI<T>* get(Dst<T>& d) { return &d.view; }
  static void Note(Frame&, Dst<T>&) {}
  static void Make(Frame& f, Dst<T>& d) {
    if (d.given) return;
    if (f.width < 0) throw py::type_error("this form needs its destination: its size comes from no source");
    d.Allocate(f.width, f.height);
  }
  static void Collect(Frame& f, Dst<T>& d) { f.Add(d.array); }
};

template <>
struct DstArg<ZBWHistogramVector*> {
  using type = HistogramOut&;
  static ZBWHistogramVector* get(HistogramOut& h) {
    return h.pointer ? h.pointer : &h.vector;
  }
  static void Note(Frame&, HistogramOut&) {}
  static void Make(Frame&, HistogramOut&) {}
  static void Collect(Frame& f, HistogramOut& h) {
    if (h.given) return f.Add(h.given);
    const auto n = static_cast<py::ssize_t>(h.vector.GetNumElements());
    f.Add(h.vector.GetDataPtr() ? py::array_t<uint32_t>(n, h.vector.GetDataPtr()) : py::array_t<uint32_t>(0));
  }
};

// A table that the operator fills (LumSetupEqualize): passed as None (or left out), returned as
// a uint8 array.
struct TableOut {
  ZBW8Vector vector;
  py::object given;  // a kelmira.ZBW8Vector, filled in place
  ZBW8Vector* pointer = nullptr;
};
template <>
struct DstArg<ZBW8Vector*> {
  using type = TableOut&;
  static ZBW8Vector* get(TableOut& t) { return t.pointer ? t.pointer : &t.vector; }
  static void Note(Frame&, TableOut&) {}
  static void Make(Frame&, TableOut&) {}
  static void Collect(Frame& f, TableOut& t) {
    if (t.given) return f.Add(t.given);
    const auto n = static_cast<py::ssize_t>(t.vector.GetNumElements());
    py::array_t<uint8_t> out(n);
    if (n > 0 && t.vector.GetDataPtr()) std::memcpy(out.mutable_data(), t.vector.GetDataPtr(), static_cast<size_t>(n));
    f.Add(out);
  }
};

// A path that the operator fills: passed as None (or left out), returned as a structured array
// with fields x, y (and pixel for the valued paths), one record per point; a path vector object
// given is filled in place and returned.
template <class V>
struct PathOut {
  V vector;
  py::object given;
  V* pointer = nullptr;  // the given object's vector, found while the GIL is held
};
// The NumPy form of a vector's elements: the dtype of one element, and 3 columns for the colours
// (ZC24 as uint8, ZColor as float32), 1 for numbers and records (structured dtypes).
struct ElementLayout {
  py::dtype dtype;
  int columns = 1;
};
#define KPY_LAYOUT(E) ElementLayout LayoutOf(const E*);
KELMIRA_FOR_EACH_VECTOR_ELEMENT(KPY_LAYOUT)
#undef KPY_LAYOUT
// A copy of n elements as an array of shape (n,) or (n, columns).
template <class E>
py::array ToArray(const E* data, size_t n) {
  if (data == nullptr) n = 0;  // a count without a store (ZPeaksVector(n)) holds nothing to read
  const ElementLayout layout = LayoutOf(static_cast<const E*>(nullptr));
  std::vector<py::ssize_t> shape{static_cast<py::ssize_t>(n)};
  if (layout.columns > 1) shape.push_back(layout.columns);
  py::array out(layout.dtype, shape);
  if (n > 0) std::memcpy(out.mutable_data(), static_cast<const void*>(data), sizeof(E) * n);
  return out;
}
template <class V>
struct PathArg {
  using type = PathOut<V>&;
  static V* get(PathOut<V>& p) { return p.pointer ? p.pointer : &p.vector; }
  static void Note(Frame&, PathOut<V>&) {}
  static void Make(Frame&, PathOut<V>&) {}
  static void Collect(Frame& f, PathOut<V>& p) {
    if (p.given) return f.Add(p.given);
    f.Add(ToArray(p.vector.GetDataPtr(), p.vector.GetNumElements()));
  }
};
template <> struct DstArg<ZPathVector*> : PathArg<ZPathVector> {};
template <> struct DstArg<ZBW8PathVector*> : PathArg<ZBW8PathVector> {};
template <> struct DstArg<ZBW16PathVector*> : PathArg<ZBW16PathVector> {};
template <> struct DstArg<ZVector*> : InPlaceArg<ZVector> {};

// A list that the operator fills (multi-level thresholds): passed as None (or left out), returned
// as a NumPy array (levels; regions as records first, last, mean, variance, count) or, for
// partitions, a list of (regions, residue).
template <class E>
struct ListOut {
  Marvane::Ovidra::Utils::Vector<E> vector;
};
py::object ListToPython(const Marvane::Ovidra::Utils::Vector<ZBW8>& v);
py::object ListToPython(const Marvane::Ovidra::Utils::Vector<ZRegionDescriptor>& v);
py::object ListToPython(const Marvane::Ovidra::Utils::Vector<ZLabelisationDescriptor>& v);
template <class E>
struct DstArg<Marvane::Ovidra::Utils::Vector<E>&> {
  using type = ListOut<E>&;
  static Marvane::Ovidra::Utils::Vector<E>& get(ListOut<E>& l) { return l.vector; }
  static void Note(Frame&, ListOut<E>&) {}
  static void Make(Frame&, ListOut<E>&) {}
  static void Collect(Frame& f, ListOut<E>& l) { f.Add(ListToPython(l.vector)); }
};

// An image that the operator sizes and fills itself (LumCorrelogram): None (or left out) returns
// a new array holding its pixels; a given 2-D array of the pixel's dtype picks the form and
// receives them (it must have the size the operator gives the image).
template <class T>
struct ImageOut {
  ZImage<T> image;
  py::object given;
};
template <class T>
struct DstArg<ZImage<T>*> {
  using type = ImageOut<T>&;
  static ZImage<T>* get(ImageOut<T>& o) { return &o.image; }
  static void Note(Frame&, ImageOut<T>&) {}
  static void Make(Frame&, ImageOut<T>&) {}
  static void Collect(Frame& f, ImageOut<T>& o) {
    const int w = o.image.GetWidth(), h = o.image.GetHeight();
    py::array_t<decltype(T().value)> out;
    if (o.given) {
      out = py::reinterpret_borrow<py::array_t<decltype(T().value)>>(o.given);
      if (out.shape(0) != h || out.shape(1) != w || !out.writeable() || out.strides(1) != sizeof(T))
        throw py::value_error("the image must be a writable array of shape (" + std::to_string(h) + ", " +
                              std::to_string(w) + ") with contiguous rows");
    } else {
      out = py::array_t<decltype(T().value)>({h, w});
    }
    for (int y = 0; y < h; ++y)
      std::memcpy(out.mutable_data(y, 0), o.image.GetImagePtr(0, y), sizeof(T) * static_cast<size_t>(w));
    f.Add(out);
  }
};

// A value returned by the operator comes first among the results; a short int return is the
// error number, which the exception already carries, and is dropped.
template <class R>
py::object ToPython(const R& r) {
  if constexpr (std::is_same_v<R, ZColor> || std::is_same_v<R, ZC24>) {
    return py::make_tuple(r.c0, r.c1, r.c2);  // a colour as (c0, c1, c2)
  } else if constexpr (std::is_enum_v<R>) {
    return py::cast(static_cast<long long>(r));
  } else if constexpr (std::is_class_v<R>) {
    return py::cast(r.value);  // ZBW8, ZBW16, ...: their number
  } else {
    return py::cast(r);
  }
}

// Outputs that the Python call does not pass (bit set in Outs): a value the operator writes
// through a reference or a pointer, returned after the operator's own result. A float output that
// the operator leaves unwritten (no pixel to measure, no improvement found) comes back as nan.
struct Unused {};
template <class T>
struct OutValue {
  T v = Initial();
  static T Initial() {
    if constexpr (std::is_floating_point_v<T>) {
      return std::numeric_limits<T>::quiet_NaN();
    } else {
      return T{};
    }
  }
};
template <class A>
struct OutArg;
template <class T>
struct OutArg<T&> {
  using storage = OutValue<T>;
  static T& get(storage& s) { return s.v; }
  static void Note(Frame&, storage&) {}
  static void Collect(Frame& f, storage& s) { f.Add(ToPython(s.v)); }
};
template <class T>
struct OutArg<T*> {
  using storage = OutValue<T>;
  static T* get(storage& s) { return &s.v; }
  static void Note(Frame&, storage&) {}
  static void Collect(Frame& f, storage& s) { f.Add(ToPython(s.v)); }
};
template <bool Hidden, class A>
struct HiddenSlotOf {
  using type = Unused;
};
template <class A>
struct HiddenSlotOf<true, A> {
  using type = typename OutArg<A>::storage;
};

// A Python callable that the operator calls back on the calling thread (LumTransform, LumCount):
// the trampoline takes the GIL for the call; the first exception the callable raises stops further
// calls (they return 0) and is raised once the operator returns.
struct CallbackScope {
  py::handle function;
  std::exception_ptr error;
  CallbackScope* outer;
  static thread_local CallbackScope* current;
  CallbackScope() : outer(current) { current = this; }
  ~CallbackScope() { current = outer; }
  CallbackScope(const CallbackScope&) = delete;
  CallbackScope& operator=(const CallbackScope&) = delete;
  void Rethrow() {
    if (error) std::rethrow_exception(std::exchange(error, nullptr));
  }
  // Calls the callable of the innermost scope with `argument`; nullopt after a failure.
  template <class Result, class Argument>
  static Result Call(const Argument& argument) {
    CallbackScope* scope = current;
    py::gil_scoped_acquire gil;
    if (scope == nullptr || scope->error) return Result{};
    try {
      py::object result = scope->function(argument);
      try {
        return py::cast<Result>(result);
      } catch (const py::cast_error&) {
        throw py::type_error("the callable returned " + std::string(py::repr(result)) +
                             ", which does not fit the pixel type");
      }
    } catch (...) {
      scope->error = std::current_exception();
      return Result{};
    }
  }
};
template <class R, class P>
struct CallbackArg {
  using type = py::function;
  static R Trampoline(P pixel) {
    using V = std::remove_reference_t<P>;
    if constexpr (std::is_same_v<R, int>) {  // a predicate (LumCount): the truth of the result
      if constexpr (std::is_same_v<V, ZC24>) {
        return CallbackScope::Call<bool>(std::make_tuple(pixel.c0, pixel.c1, pixel.c2)) ? 1 : 0;
      } else {
        return CallbackScope::Call<bool>(pixel.value) ? 1 : 0;
      }
    } else {  // a point transform: the new value
      return R(CallbackScope::Call<decltype(R().value)>(pixel.value));
    }
  }
  static R (*get(py::function& f))(P) {
    CallbackScope::current->function = f;
    return &Trampoline;
  }
  static void Note(Frame&, py::function&) {}
  static void Collect(Frame&, py::function&) {}
};
template <class R, class P>
struct Arg<R (*)(P)> : CallbackArg<R, P> {};

// Parameter I of the form is a destination when bit I of Mask is set.
template <unsigned Mask, size_t I, class A>
using PyArg = std::conditional_t<((Mask >> I) & 1u) != 0, DstArg<A>, Arg<A>>;

// Sources note the size in the first fold; destinations are allocated only once every source
// has been seen, whatever their order.
template <unsigned Mask, size_t I, class A, class V>
void DstArgNote(Frame& frame, V& value) {
  if constexpr (((Mask >> I) & 1u) != 0) DstArg<A>::Make(frame, value);
}

// The Python parameters: those whose bit in Outs is clear, in order.
template <unsigned Outs, size_t N>
constexpr std::pair<std::array<size_t, N + 1>, size_t> VisibleIndices() {
  std::array<size_t, N + 1> out{};
  size_t n = 0;
  for (size_t i = 0; i < N; ++i)
    if (((Outs >> i) & 1u) == 0) out[n++] = i;
  return {out, n};
}
template <unsigned Outs, size_t N, size_t... K>
constexpr auto Visible(std::index_sequence<K...>) {
  constexpr auto v = VisibleIndices<Outs, N>();
  return std::index_sequence<v.first[K]...>{};
}
template <unsigned Outs>
constexpr size_t PythonPosition(size_t i) {
  size_t n = 0;
  for (size_t k = 0; k < i; ++k) n += ((Outs >> k) & 1u) == 0;
  return n;
}
template <unsigned Mask, unsigned Outs, size_t I, class A>
using Param = std::conditional_t<((Outs >> I) & 1u) != 0, OutArg<A>, PyArg<Mask, I, A>>;
template <unsigned Outs, size_t I, class A>
using HiddenSlot = typename HiddenSlotOf<((Outs >> I) & 1u) != 0, A>::type;

template <unsigned Mask, unsigned Outs, class R, class... A, size_t... I, size_t... V>
auto Wrap(R (*f)(A...), std::index_sequence<I...>, std::index_sequence<V...>) {
  using All = std::tuple<A...>;
  return [f](typename PyArg<Mask, V, std::tuple_element_t<V, All>>::type... a) -> py::object {
    auto given = std::forward_as_tuple(a...);
    std::tuple<HiddenSlot<Outs, I, A>...> hidden;
    // Parameter i: its hidden slot, or the Python argument that stands for it.
    const auto slot = [&](auto i) -> decltype(auto) {
      if constexpr (((Outs >> decltype(i)::value) & 1u) != 0) {
        return (std::get<decltype(i)::value>(hidden));
      } else {
        return (std::get<PythonPosition<Outs>(decltype(i)::value)>(given));
      }
    };
    Frame frame;
    (Param<Mask, Outs, I, A>::Note(frame, slot(std::integral_constant<size_t, I>{})), ...);
    (DstArgNote<Mask, I, A>(frame, slot(std::integral_constant<size_t, I>{})), ...);
    constexpr bool returns = !std::is_void_v<R> && !std::is_same_v<R, short int>;
    std::conditional_t<returns, R, int> value{};
    CallbackScope scope;  // a Python callback of this call takes the GIL back while it runs
    {
      py::gil_scoped_release release;
      // Each call reports only its own failure: operators that leave the error state as they
      // found it (moments, the Canny stages) would otherwise raise an earlier call's error.
      ZOk();
      if constexpr (returns) {
        value = f(Param<Mask, Outs, I, A>::get(slot(std::integral_constant<size_t, I>{}))...);
      } else {
        f(Param<Mask, Outs, I, A>::get(slot(std::integral_constant<size_t, I>{}))...);
      }
    }
    scope.Rethrow();
    RaiseIfError();
    if constexpr (returns) frame.Add(ToPython(value));
    (Param<Mask, Outs, I, A>::Collect(frame, slot(std::integral_constant<size_t, I>{})), ...);
    if (frame.count == 1) return std::move(frame.results[0]);
    if (frame.count == 0) return py::none();
    py::tuple out(frame.count);
    for (int i = 0; i < frame.count; ++i) out[i] = std::move(frame.results[i]);
    return out;
  };
}

const char* Doc(const char* name);

// Binds one C++ form under `name`. Bit I of Mask marks parameter I as a destination (optional:
// made when None), bit I of Outs as an output that the Python call does not pass and gets back.
template <unsigned Mask, unsigned Outs = 0, class R, class... A, class... Extra>
void Def(py::module_& m, const char* name, R (*f)(A...), const Extra&... extra) {
  constexpr size_t visible = VisibleIndices<Outs, sizeof...(A)>().second;
  m.def(name,
        Wrap<Mask, Outs>(f, std::index_sequence_for<A...>{},
                         Visible<Outs, sizeof...(A)>(std::make_index_sequence<visible>{})),
        extra..., py::doc(Doc(name)));
}

// The families, each in its own file.
void BindCore(py::module_& m);
void BindPixelwise(py::module_& m);
void BindFilters(py::module_& m);
void BindMorphology(py::module_& m);
void BindThresholds(py::module_& m);
void BindBits(py::module_& m);
void BindVectors(py::module_& m);
void BindGeometry(py::module_& m);
void BindMeasure(py::module_& m);
void BindCanny(py::module_& m);

// The Python name of each vector class, for the signatures.
template <class V>
struct VectorName;
#define KPY_VECTOR_NAME(V) \
  template <>              \
  struct VectorName<V> {   \
    static constexpr auto name = py::detail::const_name(#V); \
  };
KPY_VECTOR_NAME(ZBW8Vector)
KPY_VECTOR_NAME(ZBW16Vector)
KPY_VECTOR_NAME(ZBWHistogramVector)
KPY_VECTOR_NAME(ZPathVector)
KPY_VECTOR_NAME(ZBW8PathVector)
KPY_VECTOR_NAME(ZBW16PathVector)
KPY_VECTOR_NAME(ZVector)
#undef KPY_VECTOR_NAME

}  // namespace kpy

// NumPy arrays into Src and Dst.
namespace pybind11::detail {
template <class T>
struct type_caster<kpy::Src<T>> {
  PYBIND11_TYPE_CASTER(kpy::Src<T>, const_name("ndarray[") + const_name(kpy::Pixel<T>::layout) + const_name("]"));
  bool load(handle src, bool) {
    if (!isinstance<array>(src)) return false;
    kpy::Geometry g;
    using P = kpy::Pixel<T>;
    if (!kpy::Inspect(reinterpret_borrow<array>(src), P::kind, P::size, P::channels, P::name, P::layout, false, &g))
      return false;
    value.view.SetImagePtr(g.width, g.height, g.pixels, g.pitch);
    value.width = g.width;
    value.height = g.height;
    return true;
  }
};
template <class T>
struct type_caster<kpy::Dst<T>> {
  PYBIND11_TYPE_CASTER(kpy::Dst<T>, const_name("ndarray[") + const_name(kpy::Pixel<T>::layout) + const_name("] | None"));
  bool load(handle src, bool) {
    if (src.is_none()) return true;  // made before the call
    if (!isinstance<array>(src)) return false;
    kpy::Geometry g;
    using P = kpy::Pixel<T>;
    if (!kpy::Inspect(reinterpret_borrow<array>(src), P::kind, P::size, P::channels, P::name, P::layout, true, &g))
      return false;
    value.view.SetImagePtr(g.width, g.height, g.pixels, g.pitch);
    value.array = reinterpret_borrow<object>(src);
    value.given = true;
    return true;
  }
};
template <>
struct type_caster<kpy::HistogramOut> {
  PYBIND11_TYPE_CASTER(kpy::HistogramOut, const_name("ZBWHistogramVector | None"));
  bool load(handle src, bool) {
    if (isinstance<ZBWHistogramVector>(src)) {
      value.given = reinterpret_borrow<object>(src);
      value.pointer = src.cast<ZBWHistogramVector*>();
    }
    return src.is_none() || value.given;
  }
};
template <>
struct type_caster<kpy::Src<ZBW1>> {
  PYBIND11_TYPE_CASTER(kpy::Src<ZBW1>, const_name("Bits"));
  bool load(handle src, bool) {
    if (!isinstance<kpy::Bits>(src)) return false;
    value.Attach(src.cast<const kpy::Bits&>());
    return true;
  }
};
template <>
struct type_caster<kpy::Dst<ZBW1>> {
  PYBIND11_TYPE_CASTER(kpy::Dst<ZBW1>, const_name("Bits | None"));
  bool load(handle src, bool) {
    if (src.is_none()) return true;
    if (!isinstance<kpy::Bits>(src)) return false;
    value.Attach(src.cast<const kpy::Bits&>());
    value.array = reinterpret_borrow<object>(src);
    value.given = true;
    return true;
  }
};
template <>
struct type_caster<kpy::TableOut> {
  PYBIND11_TYPE_CASTER(kpy::TableOut, const_name("ZBW8Vector | None"));
  bool load(handle src, bool) {
    if (isinstance<ZBW8Vector>(src)) {
      value.given = reinterpret_borrow<object>(src);
      value.pointer = src.cast<ZBW8Vector*>();
    }
    return src.is_none() || value.given;
  }
};
template <class E>
struct type_caster<kpy::ListOut<E>> {
  PYBIND11_TYPE_CASTER(kpy::ListOut<E>, const_name("None"));
  bool load(handle src, bool) { return src.is_none(); }
};
template <class T>
struct type_caster<kpy::ImageOut<T>> {
  PYBIND11_TYPE_CASTER(kpy::ImageOut<T>, const_name("ndarray[") + const_name(kpy::Pixel<T>::layout) + const_name("] | None"));
  bool load(handle src, bool) {
    if (src.is_none()) return true;
    if (!array_t<decltype(T().value)>::check_(src) || reinterpret_borrow<array>(src).ndim() != 2) return false;
    value.given = reinterpret_borrow<object>(src);
    return true;
  }
};
template <class V>
struct type_caster<kpy::PathOut<V>> {
  PYBIND11_TYPE_CASTER(kpy::PathOut<V>, kpy::VectorName<V>::name + const_name(" | None"));
  bool load(handle src, bool) {
    if (isinstance<V>(src)) {
      value.given = reinterpret_borrow<object>(src);
      value.pointer = src.cast<V*>();
    }
    return src.is_none() || value.given;
  }
};
template <class V>
struct type_caster<kpy::InPlace<V>> {
  PYBIND11_TYPE_CASTER(kpy::InPlace<V>, kpy::VectorName<V>::name);
  bool load(handle src, bool) {
    if (!isinstance<V>(src)) return false;
    value.object = reinterpret_borrow<object>(src);
    value.vector = src.cast<V*>();
    return true;
  }
};
template <class E>
struct type_caster<kpy::RawTable<E>> {
  static constexpr bool bytes = std::is_same_v<E, ZBW8>;
  static constexpr py::ssize_t length = bytes ? 256 : 65536;
  PYBIND11_TYPE_CASTER(kpy::RawTable<E>, const_name<bytes>("ndarray[uint8 table]", "ndarray[uint16 table]"));
  bool load(handle src, bool) {
    using B = decltype(E().value);
    if (!array_t<B>::check_(src)) return false;
    auto a = reinterpret_borrow<array>(src);
    if (a.ndim() != 1 || a.shape(0) != length || a.strides(0) != sizeof(B) ||
        reinterpret_cast<std::uintptr_t>(a.data()) % alignof(E) != 0)
      return false;
    value.data = reinterpret_cast<E*>(const_cast<void*>(a.data()));
    return true;
  }
};
// C15 and C16 images: the wrapper's array as the view.
template <class T>
struct PackedCaster {
  template <class S>
  static bool Load(handle src, bool writable, S& value) {
    if (!isinstance<kpy::Packed<T>>(src)) return false;
    kpy::Geometry g;
    using P = kpy::Pixel<T>;
    const auto& a = src.cast<const kpy::Packed<T>&>().array;
    if (!kpy::Inspect(a, P::kind, P::size, P::channels, P::name, P::layout, writable, &g))
      throw type_error(std::string(P::name) + " holds a uint16 (h, w) array");
    value.view.SetImagePtr(g.width, g.height, g.pixels, g.pitch);
    return true;
  }
};
template <>
struct type_caster<kpy::Src<ZC15>> {
  PYBIND11_TYPE_CASTER(kpy::Src<ZC15>, const_name("C15"));
  bool load(handle src, bool) {
    if (!PackedCaster<ZC15>::Load(src, false, value)) return false;
    value.width = value.view.GetWidth(), value.height = value.view.GetHeight();
    return true;
  }
};
template <>
struct type_caster<kpy::Src<ZC16>> {
  PYBIND11_TYPE_CASTER(kpy::Src<ZC16>, const_name("C16"));
  bool load(handle src, bool) {
    if (!PackedCaster<ZC16>::Load(src, false, value)) return false;
    value.width = value.view.GetWidth(), value.height = value.view.GetHeight();
    return true;
  }
};
template <>
struct type_caster<kpy::Dst<ZC15>> {
  PYBIND11_TYPE_CASTER(kpy::Dst<ZC15>, const_name("C15 | None"));
  bool load(handle src, bool) {
    if (src.is_none()) return true;
    if (!PackedCaster<ZC15>::Load(src, true, value)) return false;
    value.array = reinterpret_borrow<object>(src);
    return value.given = true;
  }
};
template <>
struct type_caster<kpy::Dst<ZC16>> {
  PYBIND11_TYPE_CASTER(kpy::Dst<ZC16>, const_name("C16 | None"));
  bool load(handle src, bool) {
    if (src.is_none()) return true;
    if (!PackedCaster<ZC16>::Load(src, true, value)) return false;
    value.array = reinterpret_borrow<object>(src);
    return value.given = true;
  }
};
template <class B>
struct type_caster<kpy::Scalar<B>> {
  PYBIND11_TYPE_CASTER(kpy::Scalar<B>, make_caster<B>::name);
  bool load(handle src, bool convert) {
    if (isinstance<array>(src)) return false;
    make_caster<B> inner;
    if (!inner.load(src, convert)) return false;
    value.v = cast_op<B>(std::move(inner));
    return true;
  }
};
template <class Vc>
struct type_caster<kpy::Vec<Vc>> {
  using Element = std::remove_pointer_t<decltype(std::declval<Vc>().GetDataPtr())>;
  template <class E>
  static auto BuiltinOf(E* e) {
    if constexpr (std::is_class_v<E>) return e->value; else return *e;
  }
  using Builtin = decltype(BuiltinOf(static_cast<Element*>(nullptr)));
  PYBIND11_TYPE_CASTER(kpy::Vec<Vc>, kpy::VectorName<Vc>::name + const_name(" | ndarray[1-D]"));
  bool load(handle src, bool) {
    if (src.is_none()) return value.null = true;
    if (isinstance<Vc>(src)) {
      value.given = src.cast<Vc*>();
      return true;
    }
    if (!isinstance<array>(src)) return false;
    auto a = array_t<Builtin, array::c_style | array::forcecast>::ensure(src);
    if (!a || a.ndim() != 1) return false;
    value.vector.SetNumElements(static_cast<unsigned>(a.shape(0)));
    if (a.shape(0) > 0 && value.vector.GetDataPtr() == nullptr) throw std::bad_alloc();
    if (a.shape(0) > 0) std::memcpy(static_cast<void*>(value.vector.GetDataPtr()), a.data(), sizeof(Builtin) * a.shape(0));
    return true;
  }
};
}  // namespace pybind11::detail

#endif  // KELMIRA_PYTHON_BINDING_H
