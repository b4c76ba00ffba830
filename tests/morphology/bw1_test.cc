// Packed one-bit morphology against a reference that unpacks the view to one byte a pixel and
// runs the chain of 3-wide passes (and the median's three images) with their edge rules; views
// at every bit offset inside random parents, wide paths on and off, the three destination forms;
// bad input, error numbers and trace strings.
#include <functional>
#include <string>
#include <vector>

#include "support/kelmira_test.h"

namespace {

// ----- reference -----

using kt::Plane;
using kt::Read;
using kt::Write;

// One pass: each pixel joins the listed neighbours that lie inside the view (the outside is
// neutral). The square is the vertical pass, then the horizontal one on its result.
enum RefPass { kX, kY, kCross };
Plane Pass(const Plane& in, RefPass pass, bool max) {
  Plane out = in;
  for (int y = 0; y < in.h; ++y)
    for (int x = 0; x < in.w; ++x) {
      int64_t v = in.at(x, y);
      auto join = [&](int dx, int dy) {
        const int u = x + dx, t = y + dy;
        if (u >= 0 && u < in.w && t >= 0 && t < in.h) v = max ? (v | in.at(u, t)) : (v & in.at(u, t));
      };
      if (pass != kY) join(-1, 0), join(1, 0);
      if (pass != kX) join(0, -1), join(0, 1);
      out.at(x, y) = v;
    }
  return out;
}
Plane Square(const Plane& in, bool max) { return Pass(Pass(in, kY, max), kX, max); }

Plane RefBox(Plane p, unsigned hw, unsigned hh, bool max) {
  for (; hw > 0 && hh > 0; --hw, --hh) p = Square(p, max);
  for (; hw > 0; --hw) p = Pass(p, kX, max);
  for (; hh > 0; --hh) p = Pass(p, kY, max);
  return p;
}
Plane RefDisk(Plane p, unsigned r, bool max) {
  for (unsigned k = 0; k < r / 2; ++k) p = Square(p, max);
  for (unsigned k = 0; k < (r + 1) / 2; ++k) p = Pass(p, kCross, max);
  return p;
}

int64_t Maj(int64_t a, int64_t b, int64_t c) { return (a & b) | ((a | b) & c); }

// The median's three images with their own edges: pixel 7 of the row left of pixel 0 for the OR
// of `all` and the AND of `any` (a spare bit below 8 pixels: 0 and 1), 0 and 1 on their right;
// the source pixel 0 left of the majority of `most`, and its last pixel repeated on the right.
Plane RefMedian(const Plane& in) {
  Plane out = in;
  const int w = in.w;
  for (int y = 0; y < in.h; ++y) {
    const int ya = y > 0 ? y - 1 : 0, yb = y + 1 < in.h ? y + 1 : y;
    auto all = [&](int x) { return in.at(x, ya) & in.at(x, y) & in.at(x, yb); };
    auto any = [&](int x) { return in.at(x, ya) | in.at(x, y) | in.at(x, yb); };
    auto most = [&](int x) { return Maj(in.at(x, ya), in.at(x, y), in.at(x, yb)); };
    for (int x = 0; x < w; ++x) {
      const int64_t allL = x > 0 ? all(x - 1) : (w > 7 ? all(7) : 0), allR = x + 1 < w ? all(x + 1) : 0;
      const int64_t anyL = x > 0 ? any(x - 1) : (w > 7 ? any(7) : 1), anyR = x + 1 < w ? any(x + 1) : 1;
      const int64_t mostL = x > 0 ? most(x - 1) : in.at(0, y), mostR = x + 1 < w ? most(x + 1) : most(w - 1);
      out.at(x, y) = Maj(allL | all(x) | allR, anyL & any(x) & anyR, Maj(mostL, most(x), mostR));
    }
  }
  return out;
}

Plane Xor(const Plane& a, const Plane& b) {
  Plane out = a;
  for (size_t i = 0; i < a.p.size(); ++i) out.p[i] = a.p[i] ^ b.p[i];
  return out;
}

// ----- the operators as a table -----

using Fn = std::function<void(ZROI<ZBW1>*, ZROI<ZBW1>*)>;
using Window = std::function<Plane(const Plane&, bool)>;

struct Operator {
  std::string name;
  Fn plain, aligned;
  std::function<Plane(const Plane&)> want;
};

Plane Compose(int kind, const Plane& in, const Window& win) {
  switch (kind) {
    case 0: return win(in, false);
    case 1: return win(in, true);
    case 2: return win(win(in, false), true);
    case 3: return win(win(in, true), false);
    case 4: return Xor(in, win(win(in, false), true));
    case 5: return Xor(win(win(in, true), false), in);
    default: return Xor(win(in, true), win(in, false));
  }
}

using BoxFn = void (*)(ZROI<ZBW1>*, ZROI<ZBW1>*, unsigned, unsigned);
using DiskFn = void (*)(ZROI<ZBW1>*, ZROI<ZBW1>*, unsigned);
const char* const kNames[] = {"Erode", "Dilate", "Open", "Close", "WhiteTopHat", "BlackTopHat", "MorphoGradient"};
const BoxFn kBox[7][2] = {{LumErodeBox, LumErodeBoxAligned},
                          {LumDilateBox, LumDilateBoxAligned},
                          {LumOpenBox, LumOpenBoxAligned},
                          {LumCloseBox, LumCloseBoxAligned},
                          {LumWhiteTopHatBox, LumWhiteTopHatBoxAligned},
                          {LumBlackTopHatBox, LumBlackTopHatBoxAligned},
                          {LumMorphoGradientBox, LumMorphoGradientBoxAligned}};
const DiskFn kDisk[7][2] = {{LumErodeDisk, LumErodeDiskAligned},
                            {LumDilateDisk, LumDilateDiskAligned},
                            {LumOpenDisk, LumOpenDiskAligned},
                            {LumCloseDisk, LumCloseDiskAligned},
                            {LumWhiteTopHatDisk, LumWhiteTopHatDiskAligned},
                            {LumBlackTopHatDisk, LumBlackTopHatDiskAligned},
                            {LumMorphoGradientDisk, LumMorphoGradientDiskAligned}};

Operator Box(int kind, unsigned hw, unsigned hh) {
  const unsigned h = hh == KELMIRA_MORPHO_SAME_AS_WIDTH ? hw : hh;
  return {std::string(kNames[kind]) + "Box " + std::to_string(hw) + "," + std::to_string(hh),
          [=](ZROI<ZBW1>* s, ZROI<ZBW1>* d) { kBox[kind][0](s, d, hw, hh); },
          [=](ZROI<ZBW1>* s, ZROI<ZBW1>* d) { kBox[kind][1](s, d, hw, hh); },
          [=](const Plane& in) {
            return Compose(kind, in, [=](const Plane& p, bool max) { return RefBox(p, hw, h, max); });
          }};
}
Operator Disk(int kind, unsigned r) {
  return {
      std::string(kNames[kind]) + "Disk " + std::to_string(r),
      [=](ZROI<ZBW1>* s, ZROI<ZBW1>* d) { kDisk[kind][0](s, d, r); },
      [=](ZROI<ZBW1>* s, ZROI<ZBW1>* d) { kDisk[kind][1](s, d, r); },
      [=](const Plane& in) { return Compose(kind, in, [=](const Plane& p, bool max) { return RefDisk(p, r, max); }); }};
}
// LumMedian is overloaded (BW8 too): name the one-bit form.
void (*const kMedianBW1)(ZROI<ZBW1>*, ZROI<ZBW1>*) = LumMedian;
Operator Median() { return {"Median", kMedianBW1, LumMedianAligned, RefMedian}; }

std::vector<Operator> AllOperators() {
  std::vector<Operator> ops;
  for (int kind = 0; kind < 7; ++kind) {
    ops.push_back(Box(kind, 1, KELMIRA_MORPHO_SAME_AS_WIDTH));
    ops.push_back(Box(kind, kind % 2 ? 0 : 2, kind % 2 ? 2 : 1));
    ops.push_back(Disk(kind, kind % 3 + 1));
  }
  // Windows wider than one byte and taller than a few rows.
  ops.push_back(Box(0, 9, 4));
  ops.push_back(Box(1, 3, 12));
  ops.push_back(Box(3, 16, KELMIRA_MORPHO_SAME_AS_WIDTH));
  ops.push_back(Median());
  return ops;
}

// Random bits: even, or with 1 pixel in 256 off (`density` 1), or on (2), so that large windows
// of erosion and dilation meet both outcomes.
void FillBits(kt::Framed<ZBW1>& image, int density) {
  const int bytes = (image->GetWidth() + 7) / 8;
  for (int y = 0; y < image->GetHeight(); ++y) {
    uint8_t* row = static_cast<uint8_t*>(image->GetGenericImagePtr(0, y));
    for (int i = 0; i < bytes; ++i) {
      uint8_t v = static_cast<uint8_t>(kt::Rng()());
      for (int k = 0; k < 7 && density != 0; ++k) {
        const uint8_t r = static_cast<uint8_t>(kt::Rng()());
        v = density == 1 ? (v | r) : (v & r);
      }
      row[i] = v;
    }
  }
}

// A view of `width` x `height` bits `bit` pixels into a random parent that is 17 pixels wider,
// which remembers the parent's pixels to tell whether anything outside the view changed.
struct BitView {
  BitView(int width, int height, int bit, int byteOffset = 0, int density = 0)
      : parent(width + 17, height, byteOffset), view(parent.get(), bit, 0, width, height) {
    FillBits(parent, density);
    before = Read(parent.get());
  }
  bool OutsideIntact(bool insideToo = false) {
    const Plane now = Read(parent.get());
    for (int y = 0; y < now.h; ++y)
      for (int x = 0; x < now.w; ++x) {
        const bool inside = x >= view.GetOrgX() && x < view.GetOrgX() + view.GetWidth();
        if ((insideToo || !inside) && now.at(x, y) != before.at(x, y)) return false;
      }
    return parent.GuardsIntact();
  }
  kt::Framed<ZBW1> parent;
  ZROI<ZBW1> view;
  Plane before;
};

// ----- pixels -----

// Every operator, plain form, at every bit offset and several widths (the wide middle of a row
// needs about 80 pixels, full vectors several hundred), wide on and off, in the three destination
// forms: separate, null (in place) and the source itself.
TEST(BW1Morphology, PlainFormsMatchThePassRulesAtEveryBitOffset) {
  const int widths[] = {1, 2, 5, 7, 8, 9, 15, 16, 17, 63, 64, 65, 81, 88, 97, 127, 128, 129, 130, 700};
  for (const Operator& op : AllOperators())
    for (int width : widths)
      for (int wide = 0; wide < 2; ++wide) {
        const kt::WideSetting setting(wide);
        for (int bit = 0; bit < 8; ++bit) {
          if (width > 130 && bit % 3 != 0) continue;
          const int height = width > 130 ? 3 : 1 + (width + bit) % 5;
          // The median needs a destination: its in-place form is the source itself.
          const int form = op.name == "Median" && (width + bit) % 3 == 1 ? 2 : (width + bit) % 3;
          SCOPED_TRACE(testing::Message()
                       << op.name << " width " << width << " bit " << bit << " wide " << wide << " form " << form);
          BitView src(width, height, bit, width % 8, bit % 3), dst(width, height, 7 - bit, bit);
          const Plane in = Read(&src.view);
          op.plain(&src.view, form == 0 ? &dst.view : form == 1 ? nullptr : &src.view);
          ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
          ASSERT_EQ(Read(form == 0 ? &dst.view : &src.view), op.want(in));
          ASSERT_TRUE(src.OutsideIntact(form == 0));
          ASSERT_TRUE(dst.OutsideIntact(form != 0));
        }
      }
}

// The Aligned forms on aligned images give the plain forms' pixels, keep the spare bits of each
// row's last byte, and the wide (on every target the processor has) and scalar paths agree at
// every byte offset of the rows.
TEST(BW1Morphology, AlignedFormsKeepSpareBitsAndMatchThePlainForms) {
  kt::ForEveryTarget([&] {
    for (const Operator& op : AllOperators())
      for (int width : {3, 12, 100, 301})
        for (int offset : {0, 1, 3, 7}) {
          SCOPED_TRACE(testing::Message() << op.name << " width " << width << " offset " << offset);
          kt::Framed<ZBW1> src(width, 4, offset), scalar(width, 4, offset + 1), wide(width, 4, 8 - offset);
          FillBits(src, (offset + width) % 3);
          scalar.FillBytes(0x96);
          wide.FillBytes(0x96);
          {
            const kt::WideSetting off(0);
            op.aligned(src.get(), scalar.get());
          }
          op.aligned(src.get(), wide.get());
          ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
          ASSERT_TRUE(kt::SameBytes(scalar.get(), wide.get()));  // spare bits included
          ASSERT_EQ(Read(wide.get()), op.want(Read(src.get())));
          const uint8_t spare = static_cast<uint8_t>(width % 8 ? 0xFF >> (width % 8) : 0);
          for (int y = 0; y < 4; ++y) ASSERT_EQ(*wide->GetImagePtr(width - 1, y) & spare, 0x96 & spare);
          ASSERT_TRUE(src.GuardsIntact() && scalar.GuardsIntact() && wide.GuardsIntact());
        }
  });
}

// Windows beyond the view (up to all bits set) give the pixels of a window as large as the view.
TEST(BW1Morphology, HugeWindowsSaturate) {
  for (int bit : {0, 5}) {
    BitView src(19, 6, bit);
    const Plane in = Read(&src.view);
    for (unsigned big : {60u, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
      ZImage<ZBW1> a(19, 6), b(19, 6), c(19, 6);
      LumErodeBox(&src.view, &a, big, 1);
      LumDilateBox(&src.view, &b, big);
      LumCloseDisk(&src.view, &c, big);
      ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
      EXPECT_EQ(Read(&a), RefBox(in, 60, 1, false)) << big;
      EXPECT_EQ(Read(&b), RefBox(in, 60, 60, true)) << big;
      EXPECT_EQ(Read(&c), RefDisk(RefDisk(in, 60, true), 60, false)) << big;
    }
  }
}

// ----- bad input -----

TEST(BW1Morphology, BadInputIsReportedWithTheOperatorsTraceAndWritesNothing) {
  BitView dst(10, 3, 3);
  ZImage<ZBW1> ok(10, 3), narrow(9, 3);
  ZROI<ZBW1> none;
  ZROI<ZBW1>* null = nullptr;
  struct Form {
    const char* trace;
    const char* nullTrace;
    Fn call;
  };
  std::vector<Form> forms;
  const char* const nullSpelling[7][2] = {{nullptr, nullptr},
                                          {nullptr, nullptr},
                                          {nullptr, nullptr},
                                          {nullptr, nullptr},
                                          {"LumWhiteTophatBox (BW1)", "LumWhiteTophatDisk (BW1)"},
                                          {nullptr, "LumBlackTophatDisk (BW1)"},
                                          {nullptr, nullptr}};
  static std::vector<std::string> traces;  // the strings outlive the table
  traces.clear();
  traces.reserve(14);
  for (int kind = 0; kind < 7; ++kind)
    for (int disk = 0; disk < 2; ++disk) {
      traces.push_back(std::string("Lum") + kNames[kind] + (disk ? "Disk" : "Box") + " (BW1)");
      const char* t = traces.back().c_str();
      const char* n = nullSpelling[kind][disk] ? nullSpelling[kind][disk] : t;
      forms.push_back({t, n,
                       disk ? Fn([kind](ZROI<ZBW1>* s, ZROI<ZBW1>* d) { kDisk[kind][0](s, d, 2); })
                            : Fn([kind](ZROI<ZBW1>* s, ZROI<ZBW1>* d) { kBox[kind][0](s, d, 1, 2); })});
    }
  forms.push_back({"LumMedian (BW1)", "LumMedian (BW1)", kMedianBW1});
  for (const Form& f : forms) {
    SCOPED_TRACE(f.trace);
    struct Case {
      ZROI<ZBW1>* source;
      ZROI<ZBW1>* destination;
      int error;
      bool nullExit;
    };
    const Case cases[] = {{null, &dst.view, Z_ERROR_NULL_IMAGE, true},
                          {&none, &dst.view, Z_ERROR_NULL_IMAGE, false},
                          {&ok, &none, Z_ERROR_NULL_IMAGE, false},
                          {&narrow, &dst.view, Z_ERROR_DIFFERENT_SIZES, false},
                          {&dst.view, &narrow, Z_ERROR_DIFFERENT_SIZES, false}};
    for (const Case& c : cases) {
      f.call(c.source, c.destination);
      EXPECT_TRUE(kt::Failed(c.error, {c.nullExit ? f.nullTrace : f.trace}));
      ASSERT_TRUE(dst.OutsideIntact(true));
    }
    // The gate refuses inside the handler.
    ZSetGateError(Z_ERROR_INTERNAL);
    f.call(&ok, &ok);
    ZSetGateError(Z_ERROR_NONE);
    EXPECT_TRUE(kt::Failed(Z_ERROR_INTERNAL, {f.trace}));
  }
  // The median needs a destination.
  LumMedian(&dst.view, nullptr);
  EXPECT_TRUE(kt::Failed(Z_ERROR_NULL_IMAGE, {"LumMedian (BW1)"}));
  EXPECT_TRUE(dst.OutsideIntact(true));
}

TEST(BW1Morphology, AlignedFormsThrowAndNeverTrace) {
  BitView odd(12, 3, 3);
  ZImage<ZBW1> a(12, 3), narrow(11, 3);
  auto thrown = [](const std::function<void()>& call) {
    try {
      call();
    } catch (Marvane::Ovidra::Exception& e) {
      return static_cast<int>(e.code);
    }
    return 0;
  };
  for (const Operator& op : AllOperators()) {
    SCOPED_TRACE(op.name);
    EXPECT_EQ(thrown([&] { op.aligned(nullptr, &a); }), Z_ERROR_NULL_IMAGE);
    EXPECT_EQ(thrown([&] { op.aligned(&odd.view, &a); }), Z_ERROR_BW1_NOT_ALIGNED);
    EXPECT_EQ(thrown([&] { op.aligned(&a, &odd.view); }), Z_ERROR_BW1_NOT_ALIGNED);
    EXPECT_EQ(thrown([&] { op.aligned(&a, &narrow); }), Z_ERROR_DIFFERENT_SIZES);
    EXPECT_EQ(thrown([&] { op.aligned(&a, &a); }), 0);
    EXPECT_EQ(ZGetTraceCount(), 0);
    EXPECT_TRUE(odd.OutsideIntact(true));
  }
}

}  // namespace
