// LumLut and LumTransform: table look-ups at every alignment, in place, the callback counts and
// order, and the failures with their numbers and traces.
#include <tuple>
#include <vector>

#include "support/kelmira_test.h"

namespace {

std::vector<ZBW8> RandomTable8() {
  std::vector<ZBW8> t(256);
  for (auto& v : t) v = static_cast<uint8_t>(kt::Rng()());
  return t;
}

// Plain tables and the vector forms, at every alignment and in place.
TEST(LumLut, TablesAndVectorsAtEveryAlignmentAndInPlace) {
  std::vector<ZBW8> table = RandomTable8();
  ZBW8Vector vector8(256);
  for (unsigned i = 0; i < 256; ++i) vector8[i] = table[i];
  kt::CheckAgainst<ZBW8, ZBW8>([&](ZROI<ZBW8>* s, ZROI<ZBW8>* d) { LumLut(s, d, table.data()); },
                               [&](ZBW8 s, ZBW8) { return table[s]; }, nullptr, true);
  kt::CheckAgainst<ZBW8, ZBW8>([&](ZROI<ZBW8>* s, ZROI<ZBW8>* d) { LumLut(s, d, &vector8); },
                               [&](ZBW8 s, ZBW8) { return table[s]; }, nullptr, true);
  std::vector<ZBW16> table16(65536);
  ZBW16Vector vector16(65536);
  for (unsigned i = 0; i < 65536; ++i) vector16[i] = table16[i] = static_cast<uint16_t>(kt::Rng()());
  kt::CheckAgainst<ZBW16, ZBW16>([&](ZROI<ZBW16>* s, ZROI<ZBW16>* d) { LumLut(s, d, table16.data()); },
                                 [&](ZBW16 s, ZBW16) { return table16[s]; }, nullptr, true);
  kt::CheckAgainst<ZBW16, ZBW16>([&](ZROI<ZBW16>* s, ZROI<ZBW16>* d) { LumLut(s, d, &vector16); },
                                 [&](ZBW16 s, ZBW16) { return table16[s]; });
  kt::Aligned<ZBW8> image(77, 3, 5);  // a null destination is the source
  image.FillRandom(kt::Rng());
  const std::vector<ZBW8> before = kt::Pixels(image.get());
  LumLut(image.get(), nullptr, table.data());
  const std::vector<ZBW8> after = kt::Pixels(image.get());
  for (size_t i = 0; i < after.size(); ++i) ASSERT_EQ(after[i], table[before[i]]);
}

TEST(LumLut, FailuresLeaveTheDestinationAndTraceByForm) {
  std::vector<ZBW8> table = RandomTable8();
  std::vector<ZBW16> table16(65536);
  // The plain BW8 table form leaves its number without a trace entry.
  kt::CheckFrame<ZBW8, ZBW8>([&](ZROI<ZBW8>* s, ZROI<ZBW8>* d) { LumLut(s, d, table.data()); }, "", true,
                             Z_ERROR_DIFFERENT_SIZES);
  kt::CheckFrame<ZBW16, ZBW16>([&](ZROI<ZBW16>* s, ZROI<ZBW16>* d) { LumLut(s, d, table16.data()); },
                               "LumLut (BW16)", true, Z_ERROR_DIFFERENT_SIZES);
  kt::Aligned<ZBW8> a(10, 4), same(10, 4);
  LumLut(a.get(), same.get(), static_cast<ZBW8*>(nullptr));
  EXPECT_TRUE(kt::Failed(Z_ERROR_NULL_IMAGE, {}));
}

// ----- LumTransform -----

std::vector<int> g_calls;
ZBW8 Record8(ZBW8 v) {
  g_calls.push_back(v);
  return static_cast<uint8_t>(v * 3 + 1);
}
ZBW16 Record16(ZBW16 v) {
  g_calls.push_back(v);
  return static_cast<uint16_t>(v ^ 0xA5A5);
}

TEST(LumTransform, TableModeCallsExactly256TimesInRisingOrder) {
  for (int wide : {0, 1}) {
    kt::WideSetting setting(wide);
    kt::Aligned<ZBW8> s(123, 7, 3), d(123, 7, 6);
    s.FillRandom(kt::Rng());
    g_calls.clear();
    LumTransform(s.get(), d.get(), Record8, 1);
    ASSERT_EQ(ZGetError(), Z_ERROR_NONE);
    ASSERT_EQ(g_calls.size(), 256u);
    for (int i = 0; i < 256; ++i) ASSERT_EQ(g_calls[i], i);
    const auto in = kt::Pixels(s.get()), out = kt::Pixels(d.get());
    for (size_t i = 0; i < in.size(); ++i) ASSERT_EQ(out[i], static_cast<uint8_t>(in[i] * 3 + 1));
    EXPECT_TRUE(d.GuardsIntact());
  }
}

TEST(LumTransform, PixelModeCallsOncePerPixelInRowOrder) {
  kt::Aligned<ZBW8> s(13, 4, 1), d(13, 4, 2);
  s.FillRandom(kt::Rng());
  g_calls.clear();
  LumTransform(s.get(), d.get(), Record8, 0);
  const auto in = kt::Pixels(s.get()), out = kt::Pixels(d.get());
  ASSERT_EQ(g_calls.size(), in.size());
  for (size_t i = 0; i < in.size(); ++i) {
    ASSERT_EQ(g_calls[i], in[i]);
    ASSERT_EQ(out[i], static_cast<uint8_t>(in[i] * 3 + 1));
  }

  kt::Aligned<ZBW16> s16(9, 3, 2);
  s16.FillRandom(kt::Rng());
  const auto in16 = kt::Pixels(s16.get());
  g_calls.clear();
  LumTransform(s16.get(), nullptr, Record16);  // in place
  const auto out16 = kt::Pixels(s16.get());
  ASSERT_EQ(g_calls.size(), in16.size());
  for (size_t i = 0; i < in16.size(); ++i) {
    ASSERT_EQ(g_calls[i], in16[i]);
    ASSERT_EQ(out16[i], in16[i] ^ 0xA5A5);
  }
}

TEST(LumTransform, FailuresAndTraces) {
  kt::Aligned<ZBW8> a(5, 5), b(5, 6);
  kt::Aligned<ZBW16> c(5, 5);
  ZROI<ZBW8> voidView;
  g_calls.clear();
  LumTransform(a.get(), b.get(), Record8, 1);
  EXPECT_TRUE(kt::Failed(Z_ERROR_DIFFERENT_SIZES, {"LumTransform"}));
  LumTransform(a.get(), &voidView, Record8, 1);
  EXPECT_EQ(ZGetError(), Z_ERROR_NULL_IMAGE);
  LumTransform(a.get(), nullptr, nullptr, 1);
  EXPECT_EQ(ZGetError(), Z_ERROR_NULL_IMAGE);
  EXPECT_TRUE(g_calls.empty());
  LumTransform(static_cast<ZROI<ZBW16>*>(nullptr), c.get(), Record16);
  EXPECT_TRUE(kt::Failed(Z_ERROR_NULL_IMAGE, {"LumTransform (BW16)"}));
  LumTransform(c.get(), c.get(), nullptr);
  EXPECT_EQ(ZGetError(), Z_ERROR_NULL_IMAGE);
  EXPECT_TRUE(g_calls.empty());
}

// ----- the vector forms -----

TEST(LumLutVector, WrongCountsAndNestedFailures) {
  kt::Aligned<ZBW8> a(6, 3), b(6, 3), c(7, 3);
  b.FillBytes(0x33);
  ZBW8Vector short8(255), table8(256);
  LumLut(a.get(), b.get(), &short8);
  EXPECT_TRUE(kt::Failed(Z_ERROR_TABLE_SIZE, {"LumLut"}));
  for (auto v : kt::Pixels(b.get())) ASSERT_EQ(v, 0x33);
  // The size check comes before the count.
  LumLut(a.get(), c.get(), &short8);
  EXPECT_TRUE(kt::Failed(Z_ERROR_DIFFERENT_SIZES, {"LumLut"}));
  LumLut(a.get(), b.get(), static_cast<ZBW8Vector*>(nullptr));
  EXPECT_EQ(ZGetError(), Z_ERROR_NULL_IMAGE);
  // A void source of the right size passes the outer checks and fails in the nested table form,
  // which adds no trace of its own on BW8 and its own string on BW16.
  ZImage<ZBW8> parent(8, 8);
  ZROI<ZBW8> outside(&parent, 5, 5, 6, 3);
  LumLut(&outside, b.get(), &table8);
  EXPECT_TRUE(kt::Failed(Z_ERROR_NULL_IMAGE, {"LumLut"}));

  ZImage<ZBW16> parent16(8, 8);
  ZROI<ZBW16> outside16(&parent16, 5, 5, 6, 3);
  kt::Aligned<ZBW16> d16(6, 3);
  ZBW16Vector short16(65535), table16(65536);
  LumLut(d16.get(), nullptr, &short16);
  EXPECT_TRUE(kt::Failed(Z_ERROR_TABLE_SIZE, {"LumLut (BW16)"}));
  LumLut(&outside16, d16.get(), &table16);
  EXPECT_EQ(ZGetError(), Z_ERROR_NULL_IMAGE);
  EXPECT_EQ(kt::Trace(), (std::vector<std::string>{"LumLut (BW16)", "LumLut (BW16)"}));
}

// BW16 to BW8 through a vector of `size` entries holding a recognisable pattern.
struct Shifted {
  explicit Shifted(unsigned size) : table(size) {
    for (unsigned i = 0; i < size; ++i) table[i] = static_cast<uint8_t>(i * 7 + 3);
  }
  uint8_t At(unsigned i) const { return static_cast<uint8_t>(i * 7 + 3); }
  ZBW8Vector table;
};

TEST(LumLutShifted, TopBitsMasksAndRefusals) {
  for (auto [size, shift, bits, used] : std::vector<std::tuple<unsigned, unsigned, int, unsigned>>{
           {4096, 0xffffffffu, 12, 4}, {4096, 2, 12, 2}, {4096, 4, 12, 4}, {256, 0xffffffffu, 8, 8},
           {256, 0, 8, 0}, {256, 3, 8, 3}, {65536, 0, 16, 0}, {2, 15, 1, 15}, {1, 0xffffffffu, 0, 16}}) {
    Shifted t(size);
    SCOPED_TRACE(testing::Message() << "size " << size << " shift " << shift);
    kt::CheckAgainst<ZBW16, ZBW8>([&](ZROI<ZBW16>* s, ZROI<ZBW8>* d) { LumLut(s, d, &t.table, shift); },
                                  [&](ZBW16 s, ZBW8) { return ZBW8(t.At((s.value >> used) & ((1u << bits) - 1))); });
  }
  kt::Aligned<ZBW16> s(5, 2);
  kt::Aligned<ZBW8> d(5, 2), other(5, 3);
  d.FillBytes(0x77);
  struct Refusal {
    unsigned size, shift;
    Z_ERRORS error;
  };
  for (const Refusal& r : {Refusal{4096, 5, Z_ERROR_ARGUMENT_4}, Refusal{300, 0xffffffffu, Z_ERROR_TABLE_SIZE},
                           Refusal{300, 0, Z_ERROR_TABLE_SIZE}, Refusal{255, 1, Z_ERROR_TABLE_SIZE},
                           Refusal{0, 0, Z_ERROR_TABLE_SIZE}, Refusal{131072, 0xffffffffu, Z_ERROR_TABLE_SIZE},
                           Refusal{131072, 0, Z_ERROR_ARGUMENT_4}, Refusal{256, 9, Z_ERROR_ARGUMENT_4},
                           Refusal{256, 0xfffffff8u, Z_ERROR_ARGUMENT_4}}) {
    ZBW8Vector table(r.size);
    LumLut(s.get(), d.get(), &table, r.shift);
    EXPECT_TRUE(kt::Failed(r.error, {"LumLut ( BW16 to BW8)"})) << r.size << " " << r.shift;
  }
  for (auto v : kt::Pixels(d.get())) ASSERT_EQ(v, 0x77);
  ZBW8Vector table(256);
  LumLut(s.get(), other.get(), &table, 8);
  EXPECT_EQ(ZGetError(), Z_ERROR_DIFFERENT_SIZES);
  LumLut(s.get(), nullptr, &table, 8);
  EXPECT_EQ(ZGetError(), Z_ERROR_NULL_IMAGE);
  LumLut(s.get(), d.get(), nullptr, 8);
  EXPECT_TRUE(kt::Failed(Z_ERROR_NULL_IMAGE, {"LumLut ( BW16 to BW8)"}));
}

}  // namespace
