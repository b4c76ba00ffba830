// The operator fuzzer's call frame: guarded arenas, views carved from them as the input says, the
// scalar parameters of a call, and the table of operator forms that the families fill.
#ifndef KELMIRA_TESTS_FUZZ_OPER_FUZZ_H
#define KELMIRA_TESTS_FUZZ_OPER_FUZZ_H

#include <kelmira/kelmira.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace kfuzz {

enum Kind : uint8_t { kBW1, kBW8, kBW16, kBW32, kC15, kC16, kC24, kC24A, kF32, kF64, kKinds };

// The pixel types in the order of Kind.
#define KFUZZ_TYPES(X) X(kBW1, ZBW1) X(kBW8, ZBW8) X(kBW16, ZBW16) X(kBW32, ZBW32) X(kC15, ZC15) X(kC16, ZC16) \
  X(kC24, ZC24) X(kC24A, ZC24A) X(kF32, ZFLOAT32) X(kF64, ZFLOAT64)
template <class T> constexpr Kind KindOf();
#define KFUZZ_KIND(kind, T) template <> constexpr Kind KindOf<T>() { return kind; }
KFUZZ_TYPES(KFUZZ_KIND)

constexpr int kSources = 3, kDestinations = 2, kSlots = kSources + kDestinations;

// One image argument: its parent image inside a guarded arena, the chain of views carved from it,
// and the view that the call receives (null when the input asks for a null argument).
struct Slot {
  Kind kind = kBW8;
  bool used = false, null = false;
  int arena = -1;          // index of the arena holding the parent's pixels
  int aliasOf = -1;        // destination: the source whose parent it shares (-1: its own)
  bool identical = false;  // destination: the very view of source aliasOf
  std::vector<std::shared_ptr<ZGenericROI>> chain;  // parent first
  ZGenericROI* view = nullptr;
};

// The parameters of a call: a fixed block of input bytes read in order, replayed for each path.
class Params {
 public:
  void Load(const uint8_t* data, size_t size) { m_bytes.assign(data, data + size); m_at = 0; }
  void Rewind() { m_at = 0; }
  uint8_t Byte() { return m_at < m_bytes.size() ? m_bytes[m_at++] : 0; }
  uint32_t U32() { uint32_t v = 0; for (int i = 0; i < 4; ++i) v = v << 8 | Byte(); return v; }
  // Small values most of the time, the hostile ones now and then.
  int Int(int lo, int hi) {
    const uint8_t b = Byte();
    if (b < 232) return lo + b % (hi - lo + 1);
    static const int hostile[] = {-1, 0, 1, -2147483647 - 1, 2147483647, 65535, 65536, 1 << 20, -100, 255, 256, 100000,
                                  32767, -32768, 31, 32, 33, 24, 25, 15, 16, 7, 8, 1000};
    return hostile[(b - 232) % (sizeof hostile / sizeof *hostile)];
  }
  unsigned UInt(int lo, int hi) { return static_cast<unsigned>(Int(lo, hi)); }
  float Float() {
    const uint8_t b = Byte();
    static const float table[] = {0.0f, 1.0f, -1.0f, 0.5f, 2.0f, 0.25f, 255.0f, 65535.0f, -0.0f, 1e30f, -1e30f,
                                  __builtin_nanf(""), __builtin_inff(), -__builtin_inff(), 1e-40f, 0.1f,
                                  3.0f, 8.0f, 100.0f, 4294967296.0f};
    if (b < 200) return table[b % (sizeof table / sizeof *table)];
    if (b < 240) return static_cast<float>(static_cast<int8_t>(Byte())) / 16.0f;
    const uint32_t bits = U32();
    float f;
    return std::memcpy(&f, &bits, 4), f;
  }
  // An operation code: the documented ones mostly, any int now and then.
  ARITH_LOGIC_OPERATIONS Code() {
    const uint8_t b = Byte();
    return static_cast<ARITH_LOGIC_OPERATIONS>(b < 240 ? b % 40 : static_cast<int>(U32()));
  }

 private:
  std::vector<uint8_t> m_bytes;
  size_t m_at = 0;
};

class Call;
using Form = void (*)(Call&);

// One operator form: its name, its image arguments as "sources>destinations" (b1 b8 b16 b32 c15
// c16 c24 c24a f32 f64), and the call itself.
struct Entry {
  const char* name;
  const char* signature;
  Form call;
  bool pathsMayDiffer = false;   // the wide path's documented results differ from the scalar one's
  bool mayIgnoreSource = false;  // documented to do nothing, successfully, for some arguments
  bool untraced = false;         // documented to fail without a trace string of its own
  bool wholeLastByte = false;    // writes the last byte of each one-bit row whole (bits past it 0)
};

// What a form uses while it runs: typed views, parameters, and a log of results other than
// pixels (returned values, vectors) that both paths must agree on.
class Call : public Params {
 public:
  Slot slots[kSlots];
  std::string results;
  int thrown = 0;  // the number a throwing form threw, 0 when it returned
  // The thread's error and trace right after the operator, before the form's locals go: the
  // destructor of a kernel clears the error state.
  int error = 0;
  std::vector<std::string> trace;
  // Outputs that forms pass by reference: set to a pattern before each path and logged after it.
  struct { float f[16]; int n[4]; unsigned u[4]; uint8_t b[4]; uint16_t w[4]; } out;
  std::unique_ptr<ZVectorTemplate<ZRun>> runs;
  std::unique_ptr<ZBW8Vector> table;
  void Capture() {
    error = ZGetError(), trace.clear();
    for (int i = 0; i < ZGetTraceCount(); ++i) trace.emplace_back(ZGetTraceEntry(i));
  }

  // Runs a form that reports by throwing (the aligned one-bit forms, made to be called inside a
  // handler of the caller's own): the number it throws is kept as the call's failure.
  template <class F> void Catching(F&& body) {
    try { body(); } catch (const Marvane::Ovidra::Exception& e) { thrown = e.code, Log(thrown), Capture(); }
  }

  template <class T> ZROI<T>* S(int i) { return View<T>(i); }
  template <class T> ZROI<T>* D(int i) { return View<T>(kSources + i); }
  // The parent image of slot i, for the arguments that take a ZImage.
  template <class T> ZImage<T>* I(int i) { return View<T>(i) ? static_cast<ZImage<T>*>(slots[i].chain.front().get()) : nullptr; }
  // Source i, given a run list from the parameters now and then.
  template <class T> ZROI<T>* R(int i);
  // A table of n entries that lives as long as the call.
  ZBW8Vector* Table(unsigned n);

  template <class V> void Log(const V& value) { results.append(reinterpret_cast<const char*>(&value), sizeof value); }
  // Forms that return their error number must return what the thread's state says.
  void Returned(short value) {
    if (value != static_cast<short>(ZGetError()))
      std::fprintf(stderr, "returned %d but the error state is %d\n", value, static_cast<int>(ZGetError())), std::abort();
    Log(value);
  }
  template <class T>
  void LogVector(const ZVectorTemplate<T>& v) {
    Log(v.GetNumElements());
    if (v.GetDataPtr() != nullptr) results.append(reinterpret_cast<const char*>(v.GetDataPtr()), v.GetNumElements() * sizeof(T));
  }
  template <class T>
  void LogPixels(const ZImage<T>& m) {
    Log(m.GetWidth()), Log(m.GetHeight());
    for (int y = 0; y < m.GetHeight() && m.GetImagePtr(0, 0) != nullptr; ++y)
      results.append(reinterpret_cast<const char*>(m.GetImagePtr(0, y)), m.GetWidth() * sizeof(T));
  }
  // A kernel of the size, values and settings that the input gives (also read as a pattern).
  std::unique_ptr<ZKernel> Kernel();
  // A histogram of `bins` bins (or a size from the input when 0), filled from the input.
  std::unique_ptr<ZBWHistogramVector> Histogram(unsigned bins);

 private:
  template <class T>
  ZROI<T>* View(int i) {
    Slot& s = slots[i];
    if (!s.used || s.kind != KindOf<T>())
      std::fprintf(stderr, "form reads slot %d as another type than its signature\n", i), std::abort();
    return static_cast<ZROI<T>*>(s.view);
  }
};

// The tables of the families; each returns its forms.
std::vector<Entry> PixelwiseForms(), FilterForms(), MorphologyForms(), ThresholdForms(), VectorForms(), PredefinedForms(),
    MeasureForms();
// Every form, in a fixed order: an input picks one by its index.
const std::vector<Entry>& AllForms();

}  // namespace kfuzz

#endif  // KELMIRA_TESTS_FUZZ_OPER_FUZZ_H
