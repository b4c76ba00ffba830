// The operator forms that the fuzzer calls, family by family: one line per form, its image
// arguments in the signature, its scalar arguments read from the call's parameter block.
#include "oper_fuzz.h"

#if __has_feature(address_sanitizer)
#include <sanitizer/lsan_interface.h>
#define NOT_A_LEAK __lsan::ScopedDisabler keep  // allocations of this scope are not counted as leaks
#else
#define NOT_A_LEAK (void)0  // no LeakSanitizer (the coverage build)
#endif

namespace kfuzz {
namespace {

ZBW8 Invert8(ZBW8 v) { return static_cast<ZBW8>(255 - v); }
ZBW16 Half16(ZBW16 v) { return static_cast<ZBW16>(v / 2 + 7); }
ZC24 C24Of(Call& c) { return ZC24{c.Byte(), c.Byte(), c.Byte()}; }
uint16_t W16(Call& c) { return static_cast<uint16_t>(c.UInt(0, 65535)); }
ZColor ColorOf(Call& c) { return ZColor{c.Float(), c.Float(), c.Float()}; }
// Passes of the older morphology forms: the time is linear in them, so hostile counts are kept
// below a few hundred.
int Passes(Call& c) { return c.Int(-1, 4) % 300; }
// Element counts of tables: the hostile ones wrap below 70001, so that no table costs gigabytes.
unsigned Count(Call& c, int hi) { return c.UInt(0, hi) % 70001u; }
KERNEL_ROTATION Rotation(Call& c) { return static_cast<KERNEL_ROTATION>(c.UInt(0, 3)); }
// Interpolation bits: 0, 4 or 8 mostly.
int Bits(Call& c) { const int b = c.Int(0, 9); return b >= 0 && b <= 8 ? b / 4 * 4 : b; }
template <class T> int Odd(T& v) { return reinterpret_cast<const uint8_t*>(&v)[0] & 1; }
void Normalize(Call& c, ZROI<ZBW8>* s, ZROI<ZBW8>* d) { c.Returned(LumNormalize(s, d, c.Float(), c.Float())); }
void Normalize(Call& c, ZROI<ZBW16>* s, ZROI<ZBW16>* d) { LumNormalize(s, d, c.Float(), c.Float()); }

}  // namespace

std::unique_ptr<ZKernel> Call::Kernel() {
  const uint8_t shape = Byte();
  static const short sizes[] = {1, 3, 5, 7, 3, 3, 2, 9};
  short sx = sizes[shape % 8], sy = sizes[(shape / 8) % 8];
  // Now and then odd, zero and negative sizes; none so large that one call runs for minutes.
  if (shape >= 200) sx = static_cast<short>(Int(-2, 12) % 24), sy = static_cast<short>(Int(-2, 12) % 24);
  auto k = std::make_unique<ZKernel>(sx, sy, Float(), UInt(0, 300),
                                     static_cast<short>(Int(-1, 3)), UInt(0, 300));
  if (k->GetDataPtr() != nullptr && sx > 0 && sy > 0 && sx <= 64 && sy <= 64) {
    const uint8_t values = Byte();
    for (int y = 0; y < sy; ++y)
      for (int x = 0; x < sx; ++x)  // hit, miss and don't care; ones; eighths; any float
        k->SetKernelData(x, y, values % 4 == 0   ? static_cast<float>(Byte() % 3) - 1.0f
                               : values % 4 == 1 ? 1.0f
                               : values % 4 == 2 ? static_cast<float>(static_cast<int8_t>(Byte())) / 8.0f
                                                 : Float());
  }
  ZOk();
  return k;
}

// Now and then a run list on source i, drawn from the parameters: runs in a row of the view
// mostly, anywhere now and then (106).
template <class T>
ZROI<T>* Call::R(int i) {
  ZROI<T>* v = S<T>(i);
  const uint8_t n = Byte();
  if (v == nullptr) return v;
  runs = std::make_unique<ZVectorTemplate<ZRun>>();
  for (int k = 0; k < n % 6 && n < 80; ++k) {
    const long y = Int(0, 70), x = Int(0, 70), start = y * v->GetRowPitch() + x * long{sizeof(T)};
    runs->AddElement(ZRun{static_cast<uint32_t>(start), static_cast<uint32_t>(start + Int(0, 12) * long{sizeof(T)}),
                          static_cast<int16_t>(x), static_cast<int16_t>(y)});
  }
  v->SetRunList(n < 80 ? runs.get() : nullptr);
  return v;
}

ZBW8Vector* Call::Table(unsigned n) {
  table = std::make_unique<ZBW8Vector>(n);
  for (unsigned i = 0; i < n && table->GetDataPtr() != nullptr; ++i) table->GetDataPtr()[i] = static_cast<ZBW8>(i * 7 + 3);
  return table.get();
}

std::unique_ptr<ZBWHistogramVector> Call::Histogram(unsigned bins) {
  if (bins == 0) {
    static const unsigned sizes[] = {256, 256, 256, 65536, 0, 1, 255, 257, 4096};
    bins = sizes[Byte() % 9];
  }
  auto h = std::make_unique<ZBWHistogramVector>(bins);
  h->SetNumElements(bins);
  uint64_t x = 0x2545F4914F6CDD1Dull + Byte();
  const uint8_t mode = Byte();
  for (unsigned i = 0; i < h->GetNumElements() && h->GetDataPtr() != nullptr; ++i) {
    x ^= x << 13, x ^= x >> 7, x ^= x << 17;
    const unsigned v = static_cast<unsigned>(x);  // small counts, a few peaks, none, huge ones (sums wrap), two levels
    const unsigned m = mode % 5;
    h->GetDataPtr()[i] = m == 0 ? v % 1000 : m == 1 ? (v % 17 == 0 ? v % 5000 : 0) : m == 2 ? 0 : m == 3 ? v : i < 128 ? v % 50 : v % 7;
  }
  ZOk();
  return h;
}

// Each form captures the error state at the end of its body, before its locals are destroyed.
#define F(name, signature, ...) Entry{name, signature, [](Call& c) { __VA_ARGS__; c.Capture(); }}
#define FT(name, signature, ...) Entry{name, signature, [](Call& c) { c.Catching([&] { __VA_ARGS__; c.Capture(); }); }}
// The aligned forms throw; the plain ones must not: only the aligned ones are called in a handler.
#define FM(name, signature, ...) Entry{name, signature, [](Call& c) { \
  if (std::string(name).find("Aligned") != std::string::npos) c.Catching([&] { __VA_ARGS__; c.Capture(); }); \
  else { __VA_ARGS__; c.Capture(); } }}
#define FP(name, signature, ...) Entry{name, signature, [](Call& c) { __VA_ARGS__; c.Capture(); }, false, true}
#define FQ(name, signature, ...) Entry{name, signature, [](Call& c) { __VA_ARGS__; c.Capture(); }, false, false, true}
#define FW(name, signature, ...) Entry{name, signature, [](Call& c) { __VA_ARGS__; c.Capture(); }, false, false, false, true}
#define FWT(name, signature, ...) \
  Entry{name, signature, [](Call& c) { c.Catching([&] { __VA_ARGS__; c.Capture(); }); }, false, false, false, true}
#define FD(name, signature, ...) Entry{name, signature, [](Call& c) { __VA_ARGS__; c.Capture(); }, true}

// Conversions: plain, with a shift, to and from one bit (the aligned ones throw).
#define CONVERT(S_, s, D_, d) F("Convert " s " " d, s ">" d, LumConvert(c.S<S_>(0), c.D<D_>(0)))
#define SHIFTED(S_, s, D_, d, hi) F("Convert " s " " d, s ">" d, LumConvert(c.S<S_>(0), c.D<D_>(0), c.UInt(0, hi)))
#define TO_BW1(S_, s, M, Fn) M(#Fn " " s " b1", s ">b1", Fn(c.S<S_>(0), c.D<ZBW1>(0)))
#define FROM_BW1(D_, d, M, Fn, value) M(#Fn " b1 " d, "b1>" d, Fn(c.S<ZBW1>(0), c.D<D_>(0), value))

// LumOper on type T (`N` its name): with a constant V, on itself, then mixed with the constant.
#define OPER_CONST(T, t, N, V) F("Oper " N " const", ">" t, LumOper(c.Code(), V, c.D<T>(0))), \
  F("Oper " N, t ">" t, LumOper(c.Code(), c.S<T>(0), c.D<T>(0)))
#define OPER_MIXED(T, t, N, V) F("Oper const, " N, t ">" t, LumOper(c.Code(), V, c.S<T>(0), c.D<T>(0))), \
  F("Oper " N ", const", t ">" t, LumOper(c.Code(), c.S<T>(0), V, c.D<T>(0))), OPER_TWO(T, t, T, t, T, t, "Oper " N ", " N)
#define OPER_TWO(A_, a, B_, b, D_, d, name) F(name, a " " b ">" d, LumOper(c.Code(), c.S<A_>(0), c.S<B_>(1), c.D<D_>(0)))
// LumCopy of a constant and of a view.
#define COPY(T, t, N, V) F("Copy " N " const", ">" t, LumCopy(V, c.D<T>(0))), F("Copy " N, t ">" t, LumCopy(c.S<T>(0), c.D<T>(0)))

std::vector<Entry> PixelwiseForms() {
  return {
      OPER_CONST(ZBW8, "b8", "BW8", c.Byte()),
      F("Oper BW8 to C24", "b8>c24", LumOper(c.Code(), c.S<ZBW8>(0), c.D<ZC24>(0))),
      OPER_MIXED(ZBW8, "b8", "BW8", c.Byte()),
      OPER_TWO(ZBW8, "b8", ZBW8, "b8", ZBW16, "b16", "Oper BW8, BW8 to BW16"),
      OPER_TWO(ZBW16, "b16", ZBW8, "b8", ZBW16, "b16", "Oper BW16, BW8"),
      OPER_CONST(ZBW16, "b16", "BW16", W16(c)), OPER_MIXED(ZBW16, "b16", "BW16", W16(c)),
      OPER_CONST(ZC24, "c24", "C24", C24Of(c)), OPER_MIXED(ZC24, "c24", "C24", C24Of(c)),
      OPER_TWO(ZBW8, "b8", ZC24, "c24", ZC24, "c24", "Oper BW8, C24"),
      OPER_TWO(ZBW8, "b8", ZBW8, "b8", ZC24, "c24", "Oper BW8, BW8 to C24"),
      OPER_TWO(ZC24, "c24", ZBW8, "b8", ZC24, "c24", "Oper C24, BW8"),
      OPER_CONST(ZBW1, "b1", "BW1", c.Byte()), OPER_TWO(ZBW1, "b1", ZBW1, "b1", ZBW1, "b1", "Oper BW1, BW1"),
      FT("OperAligned BW1 const", ">b1", LumOperAligned(c.Code(), c.Byte(), c.D<ZBW1>(0))),
      FT("OperAligned BW1", "b1>b1", LumOperAligned(c.Code(), c.S<ZBW1>(0), c.D<ZBW1>(0))),
      FT("OperAligned BW1, BW1", "b1 b1>b1", LumOperAligned(c.Code(), c.S<ZBW1>(0), c.S<ZBW1>(1), c.D<ZBW1>(0))),
      COPY(ZBW8, "b8", "BW8", c.Byte()), COPY(ZBW16, "b16", "BW16", W16(c)),
      COPY(ZBW32, "b32", "BW32", static_cast<ZBW32>(c.Int(0, 300))), COPY(ZC15, "c15", "C15", ZC15{W16(c)}),
      COPY(ZC16, "c16", "C16", ZC16{W16(c)}), COPY(ZC24, "c24", "C24", C24Of(c)), COPY(ZBW1, "b1", "BW1", c.Byte()),
      FT("CopyAligned BW1 const", ">b1", LumCopyAligned(c.Byte(), c.D<ZBW1>(0))),
      FT("CopyAligned BW1", "b1>b1", LumCopyAligned(c.S<ZBW1>(0), c.D<ZBW1>(0))),
      FT("BW1Alignment", "b1>b1", LumBW1Alignment(c.S<ZBW1>(0), c.D<ZBW1>(0))),
      FT("BW1UnAlignment", "b1>b1", LumBW1UnAlignment(c.S<ZBW1>(0), c.D<ZBW1>(0))),
      // Point transforms
      FQ("Lut BW8", "b8>b8", ZBW8 t[256]; for (int i = 0; i < 256; ++i) t[i] = static_cast<ZBW8>(i * c.Byte() + 3);
        LumLut(c.S<ZBW8>(0), c.D<ZBW8>(0), c.Byte() < 20 ? nullptr : t)),
      F("Lut BW8 vector", "b8>b8", ZBW8Vector t(Count(c, 300)); t.SetNumElements(t.GetMaxElements());
        for (unsigned i = 0; i < t.GetNumElements(); ++i) t.GetDataPtr()[i] = static_cast<ZBW8>(i ^ 0x5A);
        LumLut(c.S<ZBW8>(0), c.D<ZBW8>(0), &t)),
      F("Lut BW16", "b16>b16", std::vector<ZBW16> t(65536); for (int i = 0; i < 65536; ++i) t[i] = static_cast<ZBW16>(i * 7);
        LumLut(c.S<ZBW16>(0), c.D<ZBW16>(0), c.Byte() < 20 ? nullptr : t.data())),
      F("Lut BW16 vector", "b16>b16", ZBW16Vector t(c.Byte() < 128 ? 65536 : Count(c, 70000)); t.SetNumElements(t.GetMaxElements());
        for (unsigned i = 0; i < t.GetNumElements(); ++i) t.GetDataPtr()[i] = static_cast<ZBW16>(i * 3);
        LumLut(c.S<ZBW16>(0), c.D<ZBW16>(0), &t)),
      F("Lut BW16 to BW8", "b16>b8", ZBW8Vector t(Count(c, 4096)); t.SetNumElements(t.GetMaxElements());
        for (unsigned i = 0; i < t.GetNumElements(); ++i) t.GetDataPtr()[i] = static_cast<ZBW8>(i);
        LumLut(c.S<ZBW16>(0), c.D<ZBW8>(0), &t, c.UInt(0, 20))),
      F("Transform BW8", "b8>b8", LumTransform(c.S<ZBW8>(0), c.D<ZBW8>(0), c.Byte() < 20 ? nullptr : Invert8, c.Byte() & 1)),
      F("Transform BW16", "b16>b16", LumTransform(c.S<ZBW16>(0), c.D<ZBW16>(0), c.Byte() < 20 ? nullptr : Half16)),
      FD("GainOffset BW8", "b8>b8", LumGainOffset(c.S<ZBW8>(0), c.D<ZBW8>(0), c.Float(), c.Float())),
      F("GainOffset BW16", "b16>b16", LumGainOffset(c.S<ZBW16>(0), c.D<ZBW16>(0), c.Float(), c.Float())),
      F("GainOffset C24", "c24>c24", LumGainOffset(c.S<ZC24>(0), c.D<ZC24>(0), ColorOf(c), ColorOf(c))),
      // Conversion
      CONVERT(ZC24, "c24", ZC15, "c15"), CONVERT(ZBW8, "b8", ZC15, "c15"), CONVERT(ZC15, "c15", ZC24, "c24"),
      CONVERT(ZC15, "c15", ZBW8, "b8"), CONVERT(ZC24, "c24", ZC16, "c16"), CONVERT(ZBW8, "b8", ZC16, "c16"),
      CONVERT(ZC16, "c16", ZC24, "c24"), CONVERT(ZC16, "c16", ZBW8, "b8"), CONVERT(ZC24, "c24", ZC24A, "c24a"),
      CONVERT(ZC24A, "c24a", ZC24, "c24"),
      F("Convert C24+alpha C24A", "c24 b8>c24a", LumConvert(c.S<ZC24>(0), c.S<ZBW8>(1), c.D<ZC24A>(0))),
      F("Convert C24A C24+alpha", "c24a>c24 b8", LumConvert(c.S<ZC24A>(0), c.D<ZC24>(0), c.D<ZBW8>(1))),
      CONVERT(ZBW8, "b8", ZC24, "c24"), CONVERT(ZC24, "c24", ZBW8, "b8"),
      SHIFTED(ZBW16, "b16", ZBW8, "b8", 20), SHIFTED(ZBW32, "b32", ZBW8, "b8", 40), SHIFTED(ZBW32, "b32", ZBW16, "b16", 40),
      SHIFTED(ZBW8, "b8", ZBW16, "b16", 20), SHIFTED(ZBW8, "b8", ZBW32, "b32", 40), SHIFTED(ZBW16, "b16", ZBW32, "b32", 40),
      TO_BW1(ZBW8, "b8", FW, LumConvert), TO_BW1(ZBW16, "b16", FW, LumConvert), TO_BW1(ZBW32, "b32", FW, LumConvert),
      FROM_BW1(ZBW8, "b8", F, LumConvert, c.Byte()), FROM_BW1(ZBW16, "b16", F, LumConvert, W16(c)),
      FROM_BW1(ZBW32, "b32", F, LumConvert, c.UInt(0, 300)), TO_BW1(ZBW8, "b8", FWT, LumConvertAligned),
      TO_BW1(ZBW16, "b16", FWT, LumConvertAligned), TO_BW1(ZBW32, "b32", FWT, LumConvertAligned),
      FROM_BW1(ZBW8, "b8", FT, LumConvertAligned, c.Byte()), FROM_BW1(ZBW16, "b16", FT, LumConvertAligned, W16(c)),
      FROM_BW1(ZBW32, "b32", FT, LumConvertAligned, c.UInt(0, 300)),
      CONVERT(ZFLOAT32, "f32", ZBW8, "b8"), CONVERT(ZFLOAT32, "f32", ZBW16, "b16"), CONVERT(ZFLOAT32, "f32", ZBW32, "b32"),
      CONVERT(ZFLOAT64, "f64", ZBW8, "b8"), CONVERT(ZFLOAT64, "f64", ZBW16, "b16"), CONVERT(ZFLOAT64, "f64", ZBW32, "b32"),
  };
}

std::vector<Entry> FilterForms() {
  return {
      FD("ConvolKernel BW8", "b8>b8", auto k = c.Kernel(); LumConvolKernel(c.S<ZBW8>(0), c.D<ZBW8>(0), c.Byte() < 8 ? nullptr : k.get())),
      F("ConvolKernel BW16", "b16>b16", auto k = c.Kernel(); LumConvolKernel(c.S<ZBW16>(0), c.D<ZBW16>(0), c.Byte() < 8 ? nullptr : k.get())),
      FD("ConvolKernel C24", "c24>c24", auto k = c.Kernel(); LumConvolKernel(c.S<ZC24>(0), c.D<ZC24>(0), k.get())),
      F("ConvolSymmetric BW8", "b8>b8", auto k = c.Kernel(); LumConvolSymmetricKernel(c.S<ZBW8>(0), c.D<ZBW8>(0), k.get())),
      F("ConvolSymmetric BW16", "b16>b16", auto k = c.Kernel(); LumConvolSymmetricKernel(c.S<ZBW16>(0), c.D<ZBW16>(0), k.get())),
      F("ConvolSymmetric C24", "c24>c24", auto k = c.Kernel(); LumConvolSymmetricKernel(c.S<ZC24>(0), c.D<ZC24>(0), k.get())),
  };
}

// The box and disk operators in their order; half sizes small mostly, now and then one beyond any
// view.
#define BOXES_AND_DISKS(X, ...)                                                                            \
  X(ErodeBox, Box, __VA_ARGS__) X(DilateBox, Box, __VA_ARGS__) X(OpenBox, Box, __VA_ARGS__) X(CloseBox, Box, __VA_ARGS__) \
  X(WhiteTopHatBox, Box, __VA_ARGS__) X(BlackTopHatBox, Box, __VA_ARGS__) X(MorphoGradientBox, Box, __VA_ARGS__)         \
  X(ErodeDisk, Disk, __VA_ARGS__) X(DilateDisk, Disk, __VA_ARGS__) X(OpenDisk, Disk, __VA_ARGS__)                     \
  X(CloseDisk, Disk, __VA_ARGS__) X(WhiteTopHatDisk, Disk, __VA_ARGS__) X(BlackTopHatDisk, Disk, __VA_ARGS__)          \
  X(MorphoGradientDisk, Disk, __VA_ARGS__)
#define HALVES_Box c.UInt(0, 9), c.UInt(0, 9)
#define HALVES_Disk c.UInt(0, 9)
#define GRAY_MORPHO(name, shape, T, t) F(#name " " t, t ">" t, Lum##name(c.S<T>(0), c.D<T>(0), HALVES_##shape)),
#define BW1_MORPHO(name, shape, Suffix) FM(#name #Suffix " BW1", "b1>b1", Lum##name##Suffix(c.S<ZBW1>(0), c.D<ZBW1>(0), HALVES_##shape)),

// The older forms with passes, and `ret` applied to the result.
#define OLDER(name, T, t, N, ret, ...) FP(#name " " N, t ">" t, ret(Lum##name(c.S<T>(0), c.D<T>(0), Passes(c), __VA_ARGS__)))
// Thin and thick: iterations in and out, the pattern from the input.
#define THIN_FORM(name, T, t, fn, ret)                                          \
  FM(name, t ">" t, auto k = c.Kernel(); int n = c.Int(-1, 6);                  \
    ret(fn(c.S<T>(0), c.D<T>(0), c.Byte() < 8 ? nullptr : k.get(), Rotation(c), n)); c.Log(n))

std::vector<Entry> MorphologyForms() {
  return {
      BOXES_AND_DISKS(BW1_MORPHO, ) FM("Median BW1", "b1>b1", LumMedian(c.S<ZBW1>(0), c.D<ZBW1>(0))),
      BOXES_AND_DISKS(BW1_MORPHO, Aligned) FM("MedianAligned BW1", "b1>b1", LumMedianAligned(c.S<ZBW1>(0), c.D<ZBW1>(0))),
      BOXES_AND_DISKS(GRAY_MORPHO, ZBW8, "b8") BOXES_AND_DISKS(GRAY_MORPHO, ZBW16, "b16")
      OLDER(Erode, ZBW8, "b8", "BW8", c.Returned, c.Int(-1, 256)), OLDER(Dilate, ZBW8, "b8", "BW8", c.Returned, c.Int(-1, 256)),
      OLDER(Open, ZBW8, "b8", "BW8", c.Returned, c.Int(-1, 256), c.Int(-1, 256)),
      OLDER(Close, ZBW8, "b8", "BW8", c.Returned, c.Int(-1, 256), c.Int(-1, 256)),
      OLDER(WhiteTopHat, ZBW8, "b8", "BW8", c.Returned, c.Int(-1, 256), c.Int(-1, 256)),
      OLDER(BlackTopHat, ZBW8, "b8", "BW8", c.Returned, c.Int(-1, 256), c.Int(-1, 256)),
      OLDER(Erode, ZC24, "c24", "C24", , C24Of(c)), OLDER(Dilate, ZC24, "c24", "C24", , C24Of(c)),
      OLDER(Open, ZC24, "c24", "C24", , C24Of(c), C24Of(c)), OLDER(Close, ZC24, "c24", "C24", , C24Of(c), C24Of(c)),
      OLDER(WhiteTopHat, ZC24, "c24", "C24", , C24Of(c), C24Of(c)), OLDER(BlackTopHat, ZC24, "c24", "C24", , C24Of(c), C24Of(c)),
      THIN_FORM("Thin BW8", ZBW8, "b8", LumThin, c.Returned), THIN_FORM("Thick BW8", ZBW8, "b8", LumThick, c.Returned),
      THIN_FORM("BiLevelThin BW8", ZBW8, "b8", LumBiLevelThin, c.Returned),
      THIN_FORM("BiLevelThick BW8", ZBW8, "b8", LumBiLevelThick, c.Returned),
      THIN_FORM("Thin BW16", ZBW16, "b16", LumThin, ), THIN_FORM("Thick BW16", ZBW16, "b16", LumThick, ),
      THIN_FORM("Thin C24", ZC24, "c24", LumThin, ), THIN_FORM("Thick C24", ZC24, "c24", LumThick, ),
      THIN_FORM("Thin BW1", ZBW1, "b1", LumThin, c.Returned), THIN_FORM("Thick BW1", ZBW1, "b1", LumThick, c.Returned),
      // The aligned ones return the count, not the error.
      THIN_FORM("ThinAligned BW1", ZBW1, "b1", LumThinAligned, c.Log), THIN_FORM("ThickAligned BW1", ZBW1, "b1", LumThickAligned, c.Log),
  };
}

std::vector<Entry> ThresholdForms() {
  return {
      F("Histogram BW8", "b8>", auto h = c.Histogram(0); LumHistogram(c.S<ZBW8>(0), c.Byte() < 8 ? nullptr : h.get()); c.LogVector(*h)),
      F("Histogram BW16", "b16>", auto h = c.Histogram(1); LumHistogram(c.S<ZBW16>(0), h.get(), c.UInt(0, 17), c.UInt(0, 17), c.Byte() & 1); c.LogVector(*h)),
      F("Histogram BW32", "b32>", auto h = c.Histogram(1); LumHistogram(c.S<ZBW32>(0), h.get(), c.UInt(0, 33), c.UInt(0, 17), c.Byte() & 1); c.LogVector(*h)),
      F("Histogram ZVector", "b8>", ZVector v(c.Int(0, 3)); c.Returned(LumHistogram(c.S<ZBW8>(0), &v))),
      F("CumulateHistogram", "", auto a = c.Histogram(0); auto b = c.Histogram(0);
        LumCumulateHistogram(a.get(), c.Byte() < 60 ? a.get() : b.get()); c.LogVector(*b)),
      F("AnalyseHistogram", "", auto h = c.Histogram(0);
        c.Log(LumAnalyseHistogram(h.get(), static_cast<LUM_HISTOGRAM_FEATURE>(c.Int(0, 9)), c.Int(-1, 256), c.Int(-1, 256)))),
      F("AnalyseHistogramBW16", "", auto h = c.Histogram(0);
        c.Log(LumAnalyseHistogramBW16(h.get(), static_cast<LUM_HISTOGRAM_FEATURE>(c.Int(0, 9)), c.Int(-1, 255), static_cast<int>(static_cast<unsigned>(c.Int(-1, 255)) * 257u)))),
      F("SetupEqualize", "", auto h = c.Histogram(0); ZBW8Vector t(Count(c, 300)); LumSetupEqualize(h.get(), &t); c.LogVector(t)),
      F("Equalize BW8", "b8>b8", LumEqualize(c.S<ZBW8>(0), c.D<ZBW8>(0))),
      F("Equalize BW16", "b16>b16", LumEqualize(c.S<ZBW16>(0), c.D<ZBW16>(0))),
      F("HistogramThreshold", "", auto h = c.Histogram(0); unsigned t = 0; float lo = 0, hi = 0;
        LumHistogramThreshold(h.get(), t, lo, hi, c.Float(), c.UInt(0, 256), c.UInt(0, 256)); c.Log(t), c.Log(lo), c.Log(hi)),
      F("HistogramThresholdBW16", "", auto h = c.Histogram(0); unsigned t = 0; float lo = 0, hi = 0;
        LumHistogramThresholdBW16(h.get(), t, lo, hi, c.Float(), c.UInt(0, 255) * 257, c.UInt(0, 255) * 257); c.Log(t), c.Log(lo), c.Log(hi)),
      F("IsodataThreshold", "", auto h = c.Histogram(0); c.Log(LumIsodataThreshold(h.get(), c.UInt(0, 256), c.UInt(0, 256)))),
      F("IsodataThresholdBW16", "", auto h = c.Histogram(0); c.Log(LumIsodataThresholdBW16(h.get(), c.UInt(0, 255) * 257, c.UInt(0, 255) * 257))),
      F("MinResidueThreshold", "", auto h = c.Histogram(0); float a = 0, b = 0; c.Log(LumMinResidueThreshold(h.get(), a, b)); c.Log(a), c.Log(b)),
      F("TwoLevelsMinResidue", "", auto h = c.Histogram(0); ZBW8 t = 0; float a = 0, b = 0;
        c.Log(LumTwoLevelsMinResidueThreshold(h.get(), t, a, b)); c.Log(t), c.Log(a), c.Log(b)),
      F("ThreeLevelsMinResidue", "", auto h = c.Histogram(0); ZBW8 t1 = 0, t2 = 0; float a = 0, b = 0, d = 0;
        c.Log(LumThreeLevelsMinResidueThreshold(h.get(), t1, t2, a, b, d)); c.Log(t1), c.Log(t2), c.Log(a), c.Log(b), c.Log(d)),
      F("MultiLevelsMinResidue regions", "", auto h = c.Histogram(0); Marvane::Ovidra::Utils::Vector<ZRegionDescriptor> r;
        c.Log(LumMultiLevelsMinResidueThreshold(h.get(), c.UInt(0, 6), r))),
      F("MultiLevelsMinResidue thresholds", "", auto h = c.Histogram(0); Marvane::Ovidra::Utils::Vector<ZBW8> r;
        c.Log(LumMultiLevelsMinResidueThreshold(h.get(), c.UInt(0, 6), r))),
      F("AllMultiLevelsMinResidue", "", auto h = c.Histogram(0); Marvane::Ovidra::Utils::Vector<ZLabelisationDescriptor> r;
        c.Log(LumAllMultiLevelsMinResidueThreshold(h.get(), c.UInt(0, 5), r))),
      F("MaxEntropyThreshold", "", auto h = c.Histogram(0); float a = 0, b = 0; c.Log(LumMaxEntropyThreshold(h.get(), a, b)); c.Log(a), c.Log(b)),
      F("AutoThreshold BW8", "b8>", c.Log(LumAutoThreshold(c.S<ZBW8>(0), static_cast<LUM_THRESHOLD_MODES>(0xFFFFFFF8u + c.UInt(0, 7) % 8u), c.Float()))),
      F("AutoThreshold BW16", "b16>", c.Log(LumAutoThreshold(c.S<ZBW16>(0), static_cast<LUM_THRESHOLD_MODES>(0xFFFFFFF8u + c.UInt(0, 7) % 8u), c.Float()))),
  };
}

// Contours: the start anywhere near the view, every mode, sense and connexity.
#define CONTOUR_ARGS(T) \
  c.S<T>(0), static_cast<CONTOUR_MODE>(c.Int(0, 6)), c.Int(-2, 72), c.Int(-2, 72), \
      static_cast<CONTOUR_THRESHOLD>(c.Int(0, 2)), c.UInt(0, 255), static_cast<CONNEXITY>(c.Int(0, 2))

std::vector<Entry> VectorForms() {
  return {
      F("Contour BW8 path", "b8>", ZPathVector p; LumContour(CONTOUR_ARGS(ZBW8), c.Byte() < 8 ? nullptr : &p); c.LogVector(p)),
      F("Contour BW8 values", "b8>", ZBW8PathVector p; LumContour(CONTOUR_ARGS(ZBW8), c.Byte() < 8 ? nullptr : &p, c.Byte() & 1); c.LogVector(p)),
      F("Contour BW8 ZVector", "b8>", ZVector v(c.Int(0, 3)); c.Returned(LumContour(CONTOUR_ARGS(ZBW8), &v)); c.Log(v.GetNbGroup())),
      F("Contour BW16 path", "b16>", ZPathVector p; LumContour(CONTOUR_ARGS(ZBW16), c.Byte() < 8 ? nullptr : &p); c.LogVector(p)),
      F("Contour BW16 values", "b16>", ZBW16PathVector p; LumContour(CONTOUR_ARGS(ZBW16), c.Byte() < 8 ? nullptr : &p, c.Byte() & 1); c.LogVector(p)),
  };
}

// Forms of one operator over several pixel types: M(T, "t", ...) once for each.
#define ON2(M, ...) M(ZBW8, "b8", __VA_ARGS__), M(ZBW16, "b16", __VA_ARGS__)
#define ON3(M, ...) ON2(M, __VA_ARGS__), M(ZC24, "c24", __VA_ARGS__)
#define UNARY(T, t, fn) F(#fn " " t, t ">" t, fn(c.S<T>(0), c.D<T>(0)))
// The ten filters whose frame, and LaplacianX/Y whose saturation, depend on the path on ZBW8 (and
// on the planes of ZC24).
#define FRAMED(fn) FD(#fn " b8", "b8>b8", fn(c.S<ZBW8>(0), c.D<ZBW8>(0))), UNARY(ZBW16, "b16", fn), \
  FD(#fn " c24", "c24>c24", fn(c.S<ZC24>(0), c.D<ZC24>(0)))
#define HALVES(T, t, fn) F(#fn " " t, t ">" t, fn(c.S<T>(0), c.D<T>(0), c.UInt(0, 40), c.UInt(0, 40)))
// Coefficients, pivots and interpolation bits of the affine forms.
#define P2 c.Float(), c.Float()
#define LINEAR(T, t, ...) F("LinearTransform " t, t ">" t, LumLinearTransform(c.S<T>(0), P2, P2, P2, c.D<T>(0), Bits(c)))
#define SCALE_ROTATE(T, t, ret) F("ScaleRotate " t, t ">" t, ret(LumScaleRotate(c.S<T>(0), P2, P2, P2, c.Float(), c.D<T>(0), Bits(c))))
#define REGISTER(T, t, ...) F("Register " t, t ">" t, LumRegister(c.S<T>(0), c.D<T>(0), P2, P2, Bits(c))), \
  F("Register 2 " t, t ">" t, LumRegister(c.S<T>(0), c.D<T>(0), P2, P2, P2, P2, Bits(c), c.Byte() & 1)),      \
  F("Register 3 " t, t ">" t, LumRegister(c.S<T>(0), c.D<T>(0), P2, P2, P2, P2, P2, P2, Bits(c)))

#define TO_FLOAT(S_, s) F("Convert " s " f32", s ">f32", LumConvert(c.S<S_>(0), c.D<ZFLOAT32>(0))), \
  F("Convert " s " f64", s ">f64", LumConvert(c.S<S_>(0), c.D<ZFLOAT64>(0)))

std::vector<Entry> PredefinedForms() {
  return {
      ON3(UNARY, LumConvolLowpass1), FRAMED(LumConvolLowpass2), ON3(UNARY, LumConvolLowpass3), FRAMED(LumConvolHighpass1),
      FRAMED(LumConvolHighpass2), FRAMED(LumConvolSobel), FRAMED(LumConvolSobelX), FRAMED(LumConvolSobelY),
      FRAMED(LumConvolPrewitt), ON3(UNARY, LumConvolPrewittX), FRAMED(LumConvolPrewittY), ON3(UNARY, LumConvolGradient),
      ON3(UNARY, LumConvolGradientX), ON3(UNARY, LumConvolGradientY), FRAMED(LumConvolLaplacian4),
      FRAMED(LumConvolLaplacian8), FRAMED(LumConvolLaplacianX), FRAMED(LumConvolLaplacianY), ON3(UNARY, LumConvolRoberts),
      ON2(UNARY, LumConvolUniform3x3), ON2(UNARY, LumConvolGaussian3x3), ON2(UNARY, LumConvolUniformX),
      ON2(UNARY, LumConvolGaussianX), UNARY(ZBW8, "b8", LumConvolUniform5x5), UNARY(ZBW8, "b8", LumConvolGaussian5x5),
      UNARY(ZBW8, "b8", LumConvolUniform7x7), UNARY(ZBW8, "b8", LumConvolGaussian7x7),
      ON3(HALVES, LumConvolUniform), ON3(HALVES, LumConvolGaussian),
      F("Median BW8", "b8>b8", c.Returned(LumMedian(c.S<ZBW8>(0), c.D<ZBW8>(0)))),
      F("GradientVector", "b8>b32", LumGradientVector(c.S<ZBW8>(0), c.D<ZBW32>(0))),
      F("CannyDetector", "b8>b8", LumCannyDetector(c.S<ZBW8>(0), c.D<ZBW8>(0), static_cast<SMOOTH_MODE>(c.Int(0, 5)), static_cast<EDGE_FOLLOWING_MODE>(c.Int(0, 2)))),
      // The stages touch neither the error state nor the trace, and ignore views they cannot use.
      FP("NonMaximaSuppression", "b32>b32 b8", NonMaximaSuppression(c.S<ZBW32>(0), c.D<ZBW32>(0), c.D<ZBW8>(1))),
      FP("Hysteresis", "b8 b32>b8", Hysteresis(c.S<ZBW8>(0), c.D<ZBW8>(0), c.I<ZBW32>(1), c.Byte(), c.Byte())),
      FP("ContourGrowing", "b8 b32>b8", ContourGrowing(c.S<ZBW8>(0), c.D<ZBW8>(0), c.S<ZBW32>(1), c.Byte())),
      ON3(LINEAR), SCALE_ROTATE(ZBW8, "b8", c.Returned), SCALE_ROTATE(ZBW16, "b16", ), SCALE_ROTATE(ZC24, "c24", ),
      F("ScaleRotate in place b8", ">b8", c.Returned(LumScaleRotate(c.D<ZBW8>(0), P2, P2, P2, c.Float(), Bits(c)))),
      F("ScaleRotate in place b16", ">b16", LumScaleRotate(c.D<ZBW16>(0), P2, P2, P2, c.Float(), Bits(c))),
      ON3(REGISTER),
  };
}

// Measurement: outputs by reference go to the call's output block, which the harness logs.
#define O3 c.out.f[0], c.out.f[1], c.out.f[2]
#define O6 O3, c.out.f[3], c.out.f[4], c.out.f[5]
#define O10 O6, c.out.f[6], c.out.f[7], c.out.f[8], c.out.f[9]
#define O15 O10, c.out.f[10], c.out.f[11], c.out.f[12], c.out.f[13], c.out.f[14]
#define MOMENTS(T, t, ...)                                                                                  \
  F("BinaryMoments 1 " t, t ">", LumBinaryMoments(c.S<T>(0), c.UInt(0, 300), O3)),                          \
  F("BinaryMoments 2 " t, t ">", LumBinaryMoments(c.S<T>(0), c.UInt(0, 300), O6)),                          \
  F("WeightedMoments 1 " t, t ">", LumWeightedMoments(c.S<T>(0), O3)), F("WeightedMoments 2 " t, t ">", LumWeightedMoments(c.S<T>(0), O6)), \
  F("WeightedMoments 3 " t, t ">", LumWeightedMoments(c.S<T>(0), O10)), F("WeightedMoments 4 " t, t ">", LumWeightedMoments(c.S<T>(0), O15)), \
  F("WeighedMoments 1 " t, t ">", LumWeighedMoments(c.S<T>(0), O3)), F("WeighedMoments 2 " t, t ">", LumWeighedMoments(c.S<T>(0), O6)), \
  F("WeighedMoments 3 " t, t ">", LumWeighedMoments(c.S<T>(0), O10)), F("WeighedMoments 4 " t, t ">", LumWeighedMoments(c.S<T>(0), O15))
#define EXTREMES(T, t, V)                                                                                   \
  F("PixelMin " t, t ">", c.Returned(LumPixelMin(c.S<T>(0), c.out.V[0]))), F("PixelMax " t, t ">", c.Returned(LumPixelMax(c.S<T>(0), c.out.V[0]))), \
  F("PixelStat " t, t ">", c.Returned(LumPixelStat(c.S<T>(0), c.out.V[0], c.out.V[1], c.out.f[0]))),        \
  F("PixelCount " t, t ">", c.Returned(LumPixelCount(c.S<T>(0), c.UInt(0, 300), c.UInt(0, 300), c.out.n[0], c.out.n[1], c.out.n[2]))), \
  F("Area " t, t ">", c.Returned(LumArea(c.S<T>(0), c.UInt(0, 300), c.out.n[0]))),                            \
  F("AreaDoubleThreshold " t, t ">", c.Returned(LumAreaDoubleThreshold(c.S<T>(0), c.UInt(0, 300), c.UInt(0, 300), c.out.n[0]))), \
  F("Area all " t, t ">", c.Log(LumArea(c.R<T>(0)))), F("Area binarized " t, t ">", c.Log(LumArea(c.R<T>(0), c.UInt(0, 300)))), \
  F("GravityCenter " t, t ">", LumGravityCenter(c.R<T>(0), c.UInt(0, 300), c.out.f[0], c.out.f[1])),         \
  F("PixelAverage " t, t ">", c.Returned(LumPixelAverage(c.S<T>(0), c.out.f[0]))),                         \
  F("PixelVariance " t, t ">", LumPixelVariance(c.S<T>(0), c.out.f[0], c.out.f[1])),                        \
  F("PixelStdDev " t, t ">", c.Returned(LumPixelStdDev(c.S<T>(0), c.out.f[0], c.out.f[1]))),               \
  F("Normalize " t, t ">" t, NORMALIZE(T))
#define TWO_VIEWS(T, t, ...)                                                                                \
  F("PixelCompare " t, t " " t ">", c.Log(LumPixelCompare(c.S<T>(0), c.S<T>(1)))),                           \
  F("SignalNoiseRatio " t, t " " t ">", c.Log(LumSignalNoiseRatio(c.S<T>(0), c.S<T>(1), static_cast<LUM_REFERENCE_NOISE>(c.Int(0, 2))))), \
  F("RmsNoise " t, t " " t ">", c.Log(LumRmsNoise(c.S<T>(0), c.S<T>(1), static_cast<LUM_REFERENCE_NOISE>(c.Int(0, 2))))), \
  F("Focusing " t, t ">", c.Log(LumFocusing(c.S<T>(0)))), F("Count " t, t ">", c.Log(LumCount(c.S<T>(0), c.Byte() < 8 ? nullptr : Odd<T>)))
// The table of LumNormalize on ZBW8 stays allocated when its inner steps fail, as the operator always
// did: LeakSanitizer is told not to count it.
#define NORMALIZE(T) NOT_A_LEAK; Normalize(c, c.S<T>(0), c.D<T>(0))
// The older ZVector histogram, filled by LumHistogram first.
#define ZVHISTOGRAM ZVector v(c.Int(0, 3)); LumHistogram(c.S<ZBW8>(0), &v)
// A threshold argument: a fixed level (any number now and then) or a mode.
#define LEVEL (c.Byte() < 128 ? c.UInt(0, 300) : 0xFFFFFFF8u + c.UInt(0, 7) % 8u)

std::vector<Entry> MeasureForms() {
  return {
      ON2(MOMENTS), EXTREMES(ZBW8, "b8", b), EXTREMES(ZBW16, "b16", w), ON3(TWO_VIEWS),
      F("PixelAverage c24", "c24>", c.Returned(LumPixelAverage(c.S<ZC24>(0), O3))),
      F("PixelVariance c24", "c24>", LumPixelVariance(c.S<ZC24>(0), O6, c.out.f[6])),
      F("PixelStdDev c24", "c24>", c.Returned(LumPixelStdDev(c.S<ZC24>(0), O6, c.out.f[6]))),
      F("Centroid", "b8>", LumCentroid(c.R<ZBW8>(0), c.out.f[0], c.out.f[1], c.Byte() < 128 ? nullptr : c.Table(Count(c, 300)))),
      F("Inertia binary", "b8>", LumInertia(c.R<ZBW8>(0), c.UInt(0, 300), O3, c.Byte() & 1 ? &c.out.f[3] : nullptr, &c.out.f[4], &c.out.u[0])),
      F("Inertia weighted", "b8>", LumInertia(c.R<ZBW8>(0), O3, &c.out.f[3], c.Byte() & 1 ? &c.out.f[4] : nullptr, &c.out.u[0],
                                               c.Byte() < 128 ? nullptr : c.Table(Count(c, 300)))),
      F("Average", "b8>", c.Log(LumAverage(c.R<ZBW8>(0), c.Byte() & 1 ? &c.out.u[0] : nullptr))),
      F("Variance", "b8>", c.Log(LumVariance(c.R<ZBW8>(0), &c.out.f[0], c.Byte() & 1 ? &c.out.u[0] : nullptr))),
      F("Minimum", "b8>", c.Log(LumMinimum(c.R<ZBW8>(0)))), F("Maximum", "b8>", c.Log(LumMaximum(c.R<ZBW8>(0)))),
      F("Correlogram b8", "b8 b8>", ZImage<ZBW8> m; LumCorrelogram(c.S<ZBW8>(0), c.S<ZBW8>(1), c.Byte() < 8 ? nullptr : &m); c.LogPixels(m)),
      F("Correlogram b16", "b8 b8>", ZImage<ZBW16> m; LumCorrelogram(c.S<ZBW8>(0), c.S<ZBW8>(1), c.Byte() < 8 ? nullptr : &m); c.LogPixels(m)),
      F("LinearRegression", "b8 b8>", LumLinearRegression(c.S<ZBW8>(0), c.S<ZBW8>(1), O3, c.Byte() & 1)),
      // Threshold application
      F("Threshold b8", "b8>b8", c.Returned(LumThreshold(c.S<ZBW8>(0), c.D<ZBW8>(0), LEVEL, c.Byte(), c.Byte(), c.Float()))),
      F("Threshold b16", "b16>b16", LumThreshold(c.S<ZBW16>(0), c.D<ZBW16>(0), LEVEL, c.UInt(0, 65535), c.UInt(0, 65535), c.Float())),
      FW("Threshold b8 b1", "b8>b1", LumThreshold(c.S<ZBW8>(0), c.D<ZBW1>(0), LEVEL, c.Float())),
      FW("Threshold b16 b1", "b16>b1", LumThreshold(c.S<ZBW16>(0), c.D<ZBW1>(0), LEVEL, c.Float())),
      FWT("ThresholdAligned b8", "b8>b1", LumThresholdAligned(c.S<ZBW8>(0), c.D<ZBW1>(0), LEVEL, c.Float())),
      FWT("ThresholdAligned b16", "b16>b1", LumThresholdAligned(c.S<ZBW16>(0), c.D<ZBW1>(0), LEVEL, c.Float())),
      F("DoubleThreshold b8", "b8>b8", c.Returned(LumDoubleThreshold(c.S<ZBW8>(0), c.D<ZBW8>(0), c.UInt(0, 300), c.UInt(0, 300), c.Byte(), c.Byte(), c.Byte()))),
      F("DoubleThreshold b16", "b16>b16", LumDoubleThreshold(c.S<ZBW16>(0), c.D<ZBW16>(0), c.UInt(0, 300), c.UInt(0, 300), 1, 2, 3)),
      F("Threshold c24", "c24>b8", ZColorLookup l(1 + c.UInt(0, 5) % 6u); LumThreshold(c.S<ZC24>(0), c.D<ZBW8>(0), C24Of(c), C24Of(c), c.Byte() < 128 ? nullptr : &l, c.Byte(), c.Byte())),
      F("Threshold c24 short", "c24>b8", LumThreshold(c.S<ZC24>(0), c.D<ZBW8>(0), C24Of(c), C24Of(c))),
      F("AutoAdaptiveThreshold", "b8>b8", LumAutoAdaptiveThreshold(c.S<ZBW8>(0), c.D<ZBW8>(0), static_cast<LUM_THRESHOLD_MODES>(LEVEL), c.Int(-1, 40), c.Int(-1, 40))),
      FQ("LocalMeanThreshold", "b8>b8", Marvane::Ovidra::Segmentation::LumLocalMeanThreshold(c.S<ZBW8>(0), c.D<ZBW8>(0), c.Int(-1, 40), c.Int(-260, 260))),
      // Added later: new forms go at the end, so that the inputs of the corpus keep their forms.
      F("AnalyseHistogram ZVector int", "b8>", ZVHISTOGRAM; c.Returned(LumAnalyseHistogram(&v, c.Int(-1, 256), c.Int(-1, 256), c.Int(0, 9), c.out.n[0]))),
      F("AnalyseHistogram ZVector float", "b8>", ZVHISTOGRAM; c.Returned(LumAnalyseHistogram(&v, c.Int(-1, 256), c.Int(-1, 256), c.Int(0, 9), c.out.f[0]))),
      F("SetupEqualize ZVector", "b8>", ZVHISTOGRAM; ZVector t(c.Int(0, 3)); LumSetupEqualize(&v, &t)),
      F("IsodataThreshold ZVector", "b8>", ZVHISTOGRAM; c.Log(LumIsodataThreshold(&v, c.UInt(0, 256), c.UInt(0, 256)))),
      // Conversions; the colour planes of the colour library, which fail without a trace of their own
      TO_FLOAT(ZBW8, "b8"), TO_FLOAT(ZBW16, "b16"), TO_FLOAT(ZBW32, "b32"),
      F("ConvertTo422", "b8>b16", LumConvertTo422(c.S<ZBW8>(0), c.D<ZBW16>(0))),
      FQ("HueGetComponent", "c24>b8", ZColorLookup l(1 + c.UInt(0, 5) % 6u); HueGetComponent(c.S<ZC24>(0), c.D<ZBW8>(0), c.UInt(0, 3), c.Byte() < 128 ? nullptr : &l)),
      FQ("HueSetComponent", "b8>c24", HueSetComponent(c.S<ZBW8>(0), c.D<ZC24>(0), c.UInt(0, 3))),
  };
}

const std::vector<Entry>& AllForms() {
  static const std::vector<Entry> table = [] {
    std::vector<Entry> all;
    for (auto family : {PixelwiseForms, FilterForms, MorphologyForms, ThresholdForms, VectorForms, PredefinedForms, MeasureForms})
      for (const Entry& e : family()) all.push_back(e);
    return all;
  }();
  return table;
}

}  // namespace kfuzz
