// LumLut and LumTransform at every alignment and in place, the callback order, the failures.
#include <tuple>

#include "support/kelmira_test.h"

namespace {

// Tables and vectors at every alignment; in place by the same view, and through a null
// destination on the plain BW8 table.
TEST(LumLut, TablesAndVectorsAtEveryAlignmentAndInPlace) {
  std::vector<ZBW8> table(256);
  ZBW8Vector vector8(256);
  for (unsigned i = 0; i < 256; ++i) vector8[i] = table[i] = static_cast<uint8_t>(kt::Rng()());
  kt::CheckAgainst2<ZBW8, ZBW8, ZBW8>(
      [&](ZROI<ZBW8>* s, ZROI<ZBW8>*, ZROI<ZBW8>* d) { LumLut(s, d == s ? nullptr : d, table.data()); },
      [&](ZBW8 s, ZBW8, ZBW8) { return table[s]; }, kt::Geometries(), true);
  kt::CheckAgainst<ZBW8, ZBW8>([&](ZROI<ZBW8>* s, ZROI<ZBW8>* d) { LumLut(s, d, &vector8); },
                               [&](ZBW8 s, ZBW8) { return table[s]; }, nullptr, true);
  std::vector<ZBW16> table16(65536);
  ZBW16Vector vector16(65536);
  for (unsigned i = 0; i < 65536; ++i) vector16[i] = table16[i] = static_cast<uint16_t>(kt::Rng()());
  kt::CheckAgainst<ZBW16, ZBW16>([&](ZROI<ZBW16>* s, ZROI<ZBW16>* d) { LumLut(s, d, table16.data()); },
                                 [&](ZBW16 s, ZBW16) { return table16[s]; }, nullptr, true);
  kt::CheckAgainst<ZBW16, ZBW16>([&](ZROI<ZBW16>* s, ZROI<ZBW16>* d) { LumLut(s, d, &vector16); },
                                 [&](ZBW16 s, ZBW16) { return table16[s]; });
}

// BW16 to BW8 through a vector of `size` entries: the top `bits` of the pixel below `used`
// shifted bits pick the entry.
TEST(LumLut, BW16ToBW8TakesTheBitsBelowTheShift) {
  for (auto [size, shift, bits, used] : std::vector<std::tuple<unsigned, unsigned, int, unsigned>>{
           {4096, 0xffffffffu, 12, 4}, {4096, 2, 12, 2}, {4096, 4, 12, 4}, {256, 0xffffffffu, 8, 8},
           {256, 0, 8, 0}, {256, 3, 8, 3}, {65536, 0, 16, 0}, {2, 15, 1, 15}, {1, 0xffffffffu, 0, 16}}) {
    ZBW8Vector table(size);
    for (unsigned i = 0; i < size; ++i) table[i] = static_cast<uint8_t>(i * 7 + 3);
    SCOPED_TRACE(testing::Message() << "size " << size << " shift " << shift);
    kt::CheckAgainst<ZBW16, ZBW8>([&](ZROI<ZBW16>* s, ZROI<ZBW8>* d) { LumLut(s, d, &table, shift); },
                                  [&](ZBW16 s, ZBW8) { return ZBW8(((s.value >> used) & ((1u << bits) - 1)) * 7 + 3); });
  }
}


std::vector<int> g_calls;
uint8_t Times3(int v) { return static_cast<uint8_t>(v * 3 + 1); }
ZBW8 Record8(ZBW8 v) { return g_calls.push_back(v), Times3(v); }
ZBW16 Record16(ZBW16 v) { return g_calls.push_back(v), static_cast<uint16_t>(v ^ 0xA5A5); }

// Table mode calls the function exactly 256 times, for 0 to 255 in turn; pixel mode once per
// pixel in row order. In place through a null destination.
template <class T>
void CheckTransform(T (*function)(T), int useTable, std::function<T(T)> ref) {
  const auto call = [=](ZROI<T>* s, ZROI<T>* d) {
    std::vector<int> order;
    for (int64_t v : kt::Read(s).p) order.push_back(int(v));
    g_calls.clear();
    if constexpr (sizeof(T) == 1) LumTransform(s, d == s ? nullptr : d, function, useTable);
    else LumTransform(s, d == s ? nullptr : d, function);
    ASSERT_EQ(g_calls, useTable ? kt::Upto(255, 0) : order);
  };
  kt::CheckAgainst<T, T>(call, [=](T s, T) { return ref(s); }, nullptr, true);
}

TEST(LumTransform, CallsInTheirOrderAtEveryAlignmentAndInPlace) {
  CheckTransform<ZBW8>(Record8, 1, [](ZBW8 s) { return ZBW8(Times3(s)); });
  CheckTransform<ZBW8>(Record8, 0, [](ZBW8 s) { return ZBW8(Times3(s)); });
  CheckTransform<ZBW16>(Record16, 0, [](ZBW16 s) { return ZBW16(static_cast<uint16_t>(s ^ 0xA5A5)); });
}


TEST(PointBadInput, NumbersTracesAndNothingWritten) {
  std::vector<ZBW8> table(256);
  std::vector<ZBW16> table16(65536);
  // The plain BW8 table form leaves its number without a trace entry.
  kt::CheckFrame<ZBW8, ZBW8>([&](auto s, auto d) { LumLut(s, d, table.data()); }, "", true, Z_ERROR_DIFFERENT_SIZES);
  kt::CheckFrame<ZBW16, ZBW16>([&](auto s, auto d) { LumLut(s, d, table16.data()); }, "LumLut (BW16)", true, Z_ERROR_DIFFERENT_SIZES);
  kt::CheckFrame<ZBW8, ZBW8>([](ZROI<ZBW8>* s, ZROI<ZBW8>* d) { LumTransform(s, d, Record8, 1); }, "LumTransform");
  kt::CheckFrame<ZBW16, ZBW8>([](auto s, auto d) { ZBW8Vector t(256); LumLut(s, d, &t, 8); }, "LumLut ( BW16 to BW8)", false);

  kt::Aligned<ZBW8> a(6, 3), b(6, 3), c(7, 3);
  kt::Aligned<ZBW16> s16(6, 3), d16(6, 3);
  b.FillBytes(0x33);
  d16.FillBytes(0x44);
  ZImage<ZBW8> parent(8, 8);
  ZImage<ZBW16> parent16(8, 8);
  ZROI<ZBW8> outside(&parent, 5, 5, 6, 3);  // void, of the right size
  ZROI<ZBW16> outside16(&parent16, 5, 5, 6, 3);
  ZBW8Vector short8(255), long8(257), table8(256);
  ZBW16Vector short16(65535), long16(65537), vector16(65536);
  const std::vector<std::string> lut = {"LumLut"}, lut16 = {"LumLut (BW16)"}, shifted = {"LumLut ( BW16 to BW8)"};
  std::vector<kt::Refusal> rows = {
      {[&] { LumLut(a.get(), b.get(), static_cast<ZBW8*>(nullptr)); }, Z_ERROR_NULL_IMAGE, {}},
      {[&] { LumLut(a.get(), b.get(), &short8); }, Z_ERROR_TABLE_SIZE, lut},
      {[&] { LumLut(a.get(), b.get(), &long8); }, Z_ERROR_TABLE_SIZE, lut},
      {[&] { LumLut(a.get(), c.get(), &short8); }, Z_ERROR_DIFFERENT_SIZES, lut},  // sizes before the count
      {[&] { LumLut(a.get(), b.get(), static_cast<ZBW8Vector*>(nullptr)); }, Z_ERROR_NULL_IMAGE, lut},
      // The nested table form adds no trace of its own on BW8, its own string on BW16.
      {[&] { LumLut(&outside, b.get(), &table8); }, Z_ERROR_NULL_IMAGE, lut},
      {[&] { LumLut(s16.get(), d16.get(), &short16); }, Z_ERROR_TABLE_SIZE, lut16},
      {[&] { LumLut(s16.get(), d16.get(), &long16); }, Z_ERROR_TABLE_SIZE, lut16},
      {[&] { LumLut(&outside16, d16.get(), &vector16); }, Z_ERROR_NULL_IMAGE, {"LumLut (BW16)", "LumLut (BW16)"}},
      {[&] { LumTransform(a.get(), b.get(), nullptr, 1); }, Z_ERROR_NULL_IMAGE, {"LumTransform"}},
      {[&] { LumTransform(a.get(), c.get(), Record8, 0); }, Z_ERROR_DIFFERENT_SIZES, {"LumTransform"}},
      {[&] { LumTransform(static_cast<ZROI<ZBW16>*>(nullptr), d16.get(), Record16); }, Z_ERROR_NULL_IMAGE, {"LumTransform (BW16)"}},
      {[&] { LumTransform(s16.get(), d16.get(), nullptr); }, Z_ERROR_NULL_IMAGE, {"LumTransform (BW16)"}},
      {[&] { LumLut(s16.get(), b.get(), static_cast<ZBW8Vector*>(nullptr), 8); }, Z_ERROR_NULL_IMAGE, shifted},
  };
  // BW16 to BW8: bits + shift above 16 is 1014; a count that is no power of two, or above 2^16, 1613.
  for (auto [size, shift, error] : std::vector<std::tuple<unsigned, unsigned, Z_ERRORS>>{
           {4096, 5, Z_ERROR_ARGUMENT_4}, {300, 0xffffffffu, Z_ERROR_TABLE_SIZE}, {300, 0, Z_ERROR_TABLE_SIZE},
           {255, 1, Z_ERROR_TABLE_SIZE}, {0, 0, Z_ERROR_TABLE_SIZE}, {131072, 0xffffffffu, Z_ERROR_TABLE_SIZE},
           {131072, 0, Z_ERROR_ARGUMENT_4}, {256, 9, Z_ERROR_ARGUMENT_4}, {256, 0xfffffff8u, Z_ERROR_ARGUMENT_4}})
    rows.push_back({[&, size = size, shift = shift] { ZBW8Vector t(size); LumLut(s16.get(), b.get(), &t, shift); }, error, shifted});
  g_calls.clear();
  kt::CheckRefusals(rows);
  EXPECT_TRUE(g_calls.empty());
  EXPECT_TRUE(kt::Read(b.get()) == kt::Plane(6, 3, 0x33) && kt::Read(d16.get()) == kt::Plane(6, 3, 0x4444));
}

}  // namespace
