// ZKernel: the tables, growth and resizing, the element accessors with their checks and traces.
#include <tuple>

#include "support/kelmira_test.h"

namespace {


std::vector<float> Table(const ZKernel& k) { return {k.GetDataPtr(), k.GetDataPtr() + k.GetSizeX() * k.GetSizeY()}; }

void ExpectFields(const ZKernel& k, short sx, short sy, float gain, unsigned offset, short rect, unsigned outside) {
  EXPECT_EQ(std::make_tuple(k.GetSizeX(), k.GetSizeY(), k.GetGain(), k.GetOffset(), k.GetRectifier(), k.GetOutsideValue()),
            std::make_tuple(sx, sy, gain, offset, rect, outside));
}

TEST(Kernel, ConstructorsSettersAndDestructor) {
  ZSetError(Z_ERROR_INTERNAL);
  ZKernel k;
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  ExpectFields(k, 0, 0, 1.0f, 0, 2, 0);
  EXPECT_EQ(std::make_pair(k.GetDataPtr(), k.GetAllocatedSize()), std::make_pair(static_cast<float*>(nullptr), 0u));
  ZKernel s(5, 3, 2.5f, 7, 3, 99);
  ExpectFields(s, 5, 3, 2.5f, 7, 3, 99);
  EXPECT_TRUE(s.GetDataPtr() != nullptr && s.GetAllocatedSize() == 15u);
  // A product that cannot be held: 1303 traced; the object lives on without data.
  ZKernel bad(-3, 4, 1.0f, 0, 2, 0);
  EXPECT_TRUE(kt::Failed(Z_ERROR_NO_MEMORY, {"ZKernel::ZKernel"}));
  EXPECT_EQ(std::make_pair(bad.GetDataPtr(), bad.GetAllocatedSize()), std::make_pair(static_cast<float*>(nullptr), 0u));
  // Setters store anything and clear the state.
  for (auto set : {+[](ZKernel& x) { x.SetGain(-3.5f); }, +[](ZKernel& x) { x.SetOffset(0xFFFFFFFFu); },
                   +[](ZKernel& x) { x.SetRectifier(-7); }, +[](ZKernel& x) { x.SetOutsideValue(70000); }}) {
    ZSetError(Z_ERROR_NULL_IMAGE);
    set(k);
    EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  }
  ExpectFields(k, 0, 0, -3.5f, 0xFFFFFFFFu, -7, 70000);
  // Destroying a kernel wipes a pending error.
  { ZKernel scoped(KERNEL_SOBEL_Y); ZSetError(Z_ERROR_NULL_IMAGE); ZTraceError("pending"); }
  EXPECT_TRUE(kt::Failed(Z_ERROR_NONE, {}));
}

TEST(Kernel, TheFourteenTablesAndABadType) {
  const float tables[14][9] = {
      {0, 0, 0, -1, 1, -1, 1, 1, 1},   {0, 0, 0, -1, 0, -1, 1, 1, 1},   {1, 1, 1, 1, 1, 1, 1, 1, 1},
      {-1, 0, 1, -2, 0, 2, -1, 0, 1},  {-1, -2, -1, 0, 0, 0, 1, 2, 1},  {-1, 0, 1, -1, 0, 1, -1, 0, 1},
      {-1, -1, -1, 0, 0, 0, 1, 1, 1},  {0, 1, 0, 1, -4, 1, 0, 1, 0},    {1, 1, 1, 1, -8, 1, 1, 1, 1},
      {1, 2, 1, 2, 4, 2, 1, 2, 1},     {1, 1, 1, 1, 0, 1, 1, 1, 1},     {1, 1, 1, 1, 1, 1, 1, 1, 1},
      {0, -1, 0, -1, 5, -1, 0, -1, 0}, {-1, -1, -1, -1, 9, -1, -1, -1, -1}};
  for (int type = 1; type <= 14; ++type) {
    ZKernel k(7, 7, 3.0f, 5, 1, 9);
    EXPECT_EQ(k.SetKernel(static_cast<KERNEL_TYPE>(type)), 0);
    ExpectFields(k, 3, 3, type <= 3 ? 0.0f : 1.0f, 0, type <= 3 ? 0 : 2, 0);
    EXPECT_EQ(k.GetAllocatedSize(), 49u) << "a larger table is kept";
    EXPECT_EQ(Table(k), std::vector<float>(tables[type - 1], tables[type - 1] + 9)) << type;
    EXPECT_EQ(Table(ZKernel(static_cast<KERNEL_TYPE>(type))), Table(k));
  }
  // A bad type still sets the sizes, grows the table and clears the fields; where the table
  // already fits, the old coefficients stay.
  for (int type : {0, 15, -1, 99}) {
    ZKernel k(2, 2, 4.0f, 6, 3, 8), sobel(KERNEL_SOBEL_X);
    EXPECT_EQ(k.SetKernel(static_cast<KERNEL_TYPE>(type)), Z_ERROR_ARGUMENT_1);
    EXPECT_TRUE(kt::Failed(Z_ERROR_ARGUMENT_1, {"ZKernel::SetKernel"}) && k.GetAllocatedSize() == 9u);
    ExpectFields(k, 3, 3, 0.0f, 0, 0, 0);
    EXPECT_EQ(sobel.SetKernel(static_cast<KERNEL_TYPE>(type)), Z_ERROR_ARGUMENT_1);
    EXPECT_EQ(Table(sobel), std::vector<float>(tables[3], tables[3] + 9));
  }
}

TEST(Kernel, TablesGrowAndResizingMovesNoCoefficient) {
  ZKernel k(1, 1, 2.0f, 3, 1, 4);
  float t[49];
  for (int n : {25, 9, 49}) {  // the table grows to 25, stays for 9, grows to 49
    for (int i = 0; i < n; ++i) t[i] = float(n * 100 + i);
    EXPECT_EQ(n == 9 ? k.SetKernelData(reinterpret_cast<const float(&)[9]>(t))
              : n == 25 ? k.SetKernelData(reinterpret_cast<const float(&)[25]>(t)) : k.SetKernelData(t), 0);
    EXPECT_EQ(k.GetAllocatedSize(), n == 9 ? 25u : unsigned(n));
    EXPECT_EQ(Table(k), std::vector<float>(t, t + n));
  }
  ExpectFields(k, 7, 7, 2.0f, 3, 1, 4);  // the table forms keep the other fields

  ZKernel r(3, 3, 1.0f, 0, 2, 0);
  for (int i = 0; i < 9; ++i) r.GetDataPtr()[i] = float(i);
  const float* table = r.GetDataPtr();
  const std::vector<std::tuple<std::function<int()>, short, short, unsigned>> steps = {
      {[&] { return r.SetSizeX(2); }, 2, 3, 9},           // fits: same table, values at new positions
      {[&] { return r.SetSizeY(4); }, 2, 4, 9},           // 8 fits in 9
      {[&] { return r.SetSizeX(-4); }, -4, 4, 9},         // no check of sign: a negative product fits
      {[&] { return r.SetSizeX(4); }, 4, 4, 16},          // 16 > 9: reallocated
      {[&] { return r.SetAllocatedSize(3); }, 4, 4, 16},  // never shrinks
      {[&] { return r.SetAllocatedSize(40); }, 4, 4, 40}};
  for (const auto& [call, sx, sy, allocated] : steps) {
    EXPECT_EQ(call(), 0);
    ExpectFields(r, sx, sy, 1.0f, 0, 2, 0);
    EXPECT_EQ(r.GetAllocatedSize(), allocated);
    EXPECT_TRUE(allocated > 9 || (r.GetDataPtr() == table && r.GetDataPtr()[2] == 2.0f)) << sx << "x" << sy;
  }
  ZKernel empty;  // no data yet: allocates, even for 0
  EXPECT_TRUE(empty.SetAllocatedSize(0) == 0 && empty.GetDataPtr() != nullptr);
}

// Data before indices, x before y; a failure leaves the value alone.
TEST(Kernel, ElementAccessorsCheckInOrder) {
  ZKernel none, k(5, 3, 1.0f, 0, 2, 0);
  float v = 42;
  const std::vector<std::tuple<std::function<int()>, int, const char*>> rows = {
      {[&] { return none.GetKernelData(99, 99, v); }, Z_ERROR_KERNEL_DATA_ACCESS, "ZKernel::GetKernelData"},
      {[&] { return none.SetKernelData(0, 0, 1.0f); }, Z_ERROR_KERNEL_DATA_ACCESS, "ZKernel::SetKernelData"},
      {[&] { return k.SetKernelData(5, 9, 1.0f); }, Z_ERROR_ARGUMENT_1, "ZKernel::SetKernelData"},
      {[&] { return k.SetKernelData(-1, 0, 1.0f); }, Z_ERROR_ARGUMENT_1, "ZKernel::SetKernelData"},
      {[&] { return k.SetKernelData(4, 3, 1.0f); }, Z_ERROR_ARGUMENT_2, "ZKernel::SetKernelData"},
      {[&] { return k.GetKernelData(0, -1, v); }, Z_ERROR_ARGUMENT_2, "ZKernel::GetKernelData"}};
  for (const auto& [call, error, trace] : rows) {
    EXPECT_EQ(call(), error) << trace;
    EXPECT_TRUE(kt::Failed(error, {trace}));
  }
  EXPECT_TRUE(v == 42.0f && k.SetKernelData(4, 2, 6.5f) == 0);
  EXPECT_EQ(k.GetDataPtr()[14], 6.5f);  // column 4, row 2 at pitch 5
  EXPECT_TRUE(k.GetKernelData(4, 2, v) == 0 && v == 6.5f);
}

}  // namespace
