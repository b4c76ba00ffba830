// Packed one-bit morphology against the gray reference on pixels 0 and 1, and the median's rules.

#include "morphology/morph_ref.h"

namespace {

using kt::Plane;
using kt::Read;

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


using Fn = std::function<void(ZROI<ZBW1>*, ZROI<ZBW1>*)>;
struct Operator {
  std::string name;
  Fn plain, aligned;
  std::function<Plane(const Plane&)> want;
  std::string trace, nullTrace;
};

const mref::BoxFn<ZBW1> kBoxAligned[7] = {LumErodeBoxAligned,       LumDilateBoxAligned,       LumOpenBoxAligned,
                                          LumCloseBoxAligned,       LumWhiteTopHatBoxAligned,  LumBlackTopHatBoxAligned,
                                          LumMorphoGradientBoxAligned};
const mref::DiskFn<ZBW1> kDiskAligned[7] = {LumErodeDiskAligned,      LumDilateDiskAligned,      LumOpenDiskAligned,
                                            LumCloseDiskAligned,      LumWhiteTopHatDiskAligned, LumBlackTopHatDiskAligned,
                                            LumMorphoGradientDiskAligned};

// "Lum<Kind><Box|Disk> (BW1)"; three operators spell their null-pointer exits otherwise.
std::string Trace(int kind, bool disk, bool nullExit) {
  std::string t = std::string("Lum") + mref::kNames[kind] + (disk ? "Disk" : "Box") + " (BW1)";
  if (nullExit && (kind == mref::kWhite || (kind == mref::kBlack && disk))) t.replace(t.find("TopHat"), 6, "Tophat");
  return t;
}

// Box (half sizes hw, hh) or, with `disk`, Disk (radius hw) of a kind.
Operator Window(int kind, bool disk, unsigned hw, unsigned hh = 0) {
  const unsigned h = hh == KELMIRA_MORPHO_SAME_AS_WIDTH ? hw : hh;
  const mref::BoxFn<ZBW1> box = mref::BoxForms<ZBW1>()[kind], boxAligned = kBoxAligned[kind];
  const mref::DiskFn<ZBW1> round = mref::DiskForms<ZBW1>()[kind], roundAligned = kDiskAligned[kind];
  const auto window = [=](const Plane& p, bool max) { return disk ? mref::Disk(p, max, hw) : mref::Box(p, max, hw, h); };
  return {std::string(mref::kNames[kind]) + (disk ? "Disk " : "Box ") + std::to_string(hw) + "," + std::to_string(hh),
          [=](ZROI<ZBW1>* s, ZROI<ZBW1>* d) { disk ? round(s, d, hw) : box(s, d, hw, hh); },
          [=](ZROI<ZBW1>* s, ZROI<ZBW1>* d) { disk ? roundAligned(s, d, hw) : boxAligned(s, d, hw, hh); },
          [=](const Plane& in) { return mref::Compose(kind, in, window); }, Trace(kind, disk, false), Trace(kind, disk, true)};
}
// LumMedian is overloaded (BW8 too): name the one-bit form.
void (*const kMedianBW1)(ZROI<ZBW1>*, ZROI<ZBW1>*) = LumMedian;

// Each kind by a square, a thin box and a small disk; windows wider than one byte and taller than
// a few rows; the median.
std::vector<Operator> AllOperators() {
  std::vector<Operator> ops;
  for (int kind = 0; kind < 7; ++kind) {
    ops.push_back(Window(kind, false, 1, KELMIRA_MORPHO_SAME_AS_WIDTH));
    ops.push_back(Window(kind, false, kind % 2 ? 0 : 2, kind % 2 ? 2 : 1));
    ops.push_back(Window(kind, true, kind % 3 + 1));
  }
  ops.push_back(Window(0, false, 9, 4));
  ops.push_back(Window(1, false, 3, 12));
  ops.push_back(Window(3, false, 16, KELMIRA_MORPHO_SAME_AS_WIDTH));
  ops.push_back({"Median", kMedianBW1, LumMedianAligned, RefMedian, "LumMedian (BW1)", "LumMedian (BW1)"});
  return ops;
}

// Random bits: even, or with 1 pixel in 256 off (`density` 1), or on (2), so that large windows
// of erosion and dilation meet both outcomes.
void FillBits(kt::Framed<ZBW1>& image, int density) {
  for (int y = 0; y < image->GetHeight(); ++y) {
    uint8_t* row = static_cast<uint8_t*>(image->GetGenericImagePtr(0, y));
    for (int i = 0; i < (image->GetWidth() + 7) / 8; ++i) {
      row[i] = static_cast<uint8_t>(kt::Rng()());
      for (int k = 0; k < 7 && density != 0; ++k) row[i] = density == 1 ? (row[i] | kt::Rng()()) : (row[i] & kt::Rng()());
    }
  }
}

using kt::BitView;

// Every plain form at every bit offset, widths up to full vectors (the wide middle needs about 80
// pixels), wide on and off; the destination separate, null (in place) or the source itself.
TEST(BW1Morphology, PlainFormsMatchTheWindowsAtEveryBitOffset) {
  const int widths[] = {1, 2, 5, 7, 8, 9, 15, 16, 17, 63, 64, 65, 81, 88, 97, 127, 128, 129, 130, 700};
  for (const Operator& op : AllOperators())
    for (int width : widths)
      kt::ForScalarAndWide([&](int) {
        for (int bit = 0; bit < 8; bit += width > 130 ? 3 : 1) {
          const int height = width > 130 ? 3 : 1 + (width + bit) % 5;
          // The median needs a destination: its in-place form is the source itself.
          const int form = op.name == "Median" && (width + bit) % 3 == 1 ? 2 : (width + bit) % 3;
          SCOPED_TRACE(testing::Message() << op.name << " width " << width << " bit " << bit << " form " << form);
          BitView src(width, height, bit, width % 8, [&](auto& p) { FillBits(p, bit % 3); }), dst(width, height, 7 - bit, bit);
          const Plane in = Read(&src.view);
          op.plain(&src.view, form == 0 ? &dst.view : form == 1 ? nullptr : &src.view);
          ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
          ASSERT_EQ(Read(form == 0 ? &dst.view : &src.view), op.want(in));
          ASSERT_TRUE(src.OutsideIntact(form == 0));
          ASSERT_TRUE(dst.OutsideIntact(form != 0));
        }
      });
}

// The Aligned forms on aligned images match the plain forms, keep each row's spare bits, and agree
// wide (every target) and scalar at every byte offset of the rows.
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
      EXPECT_EQ(Read(&a), mref::Box(in, false, 60, 1)) << big;
      EXPECT_EQ(Read(&b), mref::Box(in, true, 60, 60)) << big;
      EXPECT_EQ(Read(&c), mref::Disk(mref::Disk(in, true, 60), false, 60)) << big;
    }
  }
}


// Each operator's trace, the gate refusing inside the handler, nothing written; the median needs a
// destination. The Aligned forms throw the same numbers (and refuse unaligned views), never trace.
TEST(BW1Morphology, BadInputIsReportedOrThrownAndWritesNothing) {
  BitView dst(10, 3, 3), odd(12, 3, 3);
  ZImage<ZBW1> ok(10, 3), narrow(9, 3), a(12, 3), narrower(11, 3);
  ZROI<ZBW1> none;
  for (const Operator& op : AllOperators()) {
    SCOPED_TRACE(op.name);
    const struct {
      ZROI<ZBW1>* source;
      ZROI<ZBW1>* destination;
      int error;
    } cases[] = {{nullptr, &dst.view, Z_ERROR_NULL_IMAGE},
                 {&none, &dst.view, Z_ERROR_NULL_IMAGE},
                 {&ok, &none, Z_ERROR_NULL_IMAGE},
                 {&narrow, &dst.view, Z_ERROR_DIFFERENT_SIZES},
                 {&dst.view, &narrow, Z_ERROR_DIFFERENT_SIZES}};
    for (const auto& c : cases) {
      op.plain(c.source, c.destination);
      EXPECT_TRUE(kt::Failed(c.error, {c.source == nullptr ? op.nullTrace : op.trace}));
      ASSERT_TRUE(dst.OutsideIntact(true));
    }
    kt::Gated([&] { op.plain(&ok, &ok); })();
    EXPECT_TRUE(kt::Failed(Z_ERROR_INTERNAL, {op.trace}));
    EXPECT_EQ(kt::Thrown([&] { op.aligned(nullptr, &a); }), Z_ERROR_NULL_IMAGE);
    EXPECT_EQ(kt::Thrown([&] { op.aligned(&odd.view, &a); }), Z_ERROR_BW1_NOT_ALIGNED);
    EXPECT_EQ(kt::Thrown([&] { op.aligned(&a, &odd.view); }), Z_ERROR_BW1_NOT_ALIGNED);
    EXPECT_EQ(kt::Thrown([&] { op.aligned(&a, &narrower); }), Z_ERROR_DIFFERENT_SIZES);
    EXPECT_EQ(kt::Thrown([&] { op.aligned(&a, &a); }), 0);
    EXPECT_EQ(ZGetTraceCount(), 0);
    EXPECT_TRUE(odd.OutsideIntact(true));
  }
  LumMedian(&dst.view, nullptr);
  EXPECT_TRUE(kt::Failed(Z_ERROR_NULL_IMAGE, {"LumMedian (BW1)"}));
  EXPECT_TRUE(dst.OutsideIntact(true));
}

}  // namespace
