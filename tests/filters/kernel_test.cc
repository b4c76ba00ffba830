// ZKernel: defaults, the fourteen tables and the side effects of a bad type, growth, resizing
// that moves no coefficient, the element accessors with their checks and traces.
#include <cstring>

#include "support/kelmira_test.h"

namespace {

using Strings = std::vector<std::string>;

std::vector<float> Table(const ZKernel& k) {
  const int n = k.GetSizeX() * k.GetSizeY();
  return std::vector<float>(k.GetDataPtr(), k.GetDataPtr() + n);
}

TEST(Kernel, ConstructorsAndDefaults) {
  ZSetError(Z_ERROR_INTERNAL);
  ZKernel k;
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);  // the default constructor clears the state
  EXPECT_EQ(k.GetSizeX(), 0);
  EXPECT_EQ(k.GetSizeY(), 0);
  EXPECT_EQ(k.GetGain(), 1.0f);
  EXPECT_EQ(k.GetOffset(), 0u);
  EXPECT_EQ(k.GetRectifier(), 2);
  EXPECT_EQ(k.GetOutsideValue(), 0u);
  EXPECT_EQ(k.GetDataPtr(), nullptr);
  EXPECT_EQ(k.GetAllocatedSize(), 0u);

  ZKernel s(5, 3, 2.5f, 7, 3, 99);
  EXPECT_EQ(s.GetSizeX(), 5);
  EXPECT_EQ(s.GetSizeY(), 3);
  EXPECT_EQ(s.GetGain(), 2.5f);
  EXPECT_EQ(s.GetOffset(), 7u);
  EXPECT_EQ(s.GetRectifier(), 3);
  EXPECT_EQ(s.GetOutsideValue(), 99u);
  EXPECT_NE(s.GetDataPtr(), nullptr);
  EXPECT_EQ(s.GetAllocatedSize(), 15u);

  // A product that cannot be held: 1303, traced, the object survives without data.
  ZKernel bad(-3, 4, 1.0f, 0, 2, 0);
  EXPECT_EQ(ZGetError(), Z_ERROR_NO_MEMORY);
  EXPECT_EQ(kt::Trace(), Strings{"ZKernel::ZKernel"});
  EXPECT_EQ(bad.GetDataPtr(), nullptr);
  EXPECT_EQ(bad.GetAllocatedSize(), 0u);
  EXPECT_EQ(bad.GetSizeX(), -3);

  ZKernel typed(KERNEL_LAPLACIAN_8);
  EXPECT_EQ(typed.GetSizeX(), 3);
  EXPECT_EQ(Table(typed), (std::vector<float>{1, 1, 1, 1, -8, 1, 1, 1, 1}));
}

TEST(Kernel, DestructorAndSettersClearTheErrorState) {
  {
    ZKernel k;
    ZSetError(Z_ERROR_NULL_IMAGE);
    ZTraceError("pending");
  }
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  EXPECT_EQ(ZGetTraceCount(), 0);

  ZKernel k;
  const auto check = [&](auto set) {
    ZSetError(Z_ERROR_NULL_IMAGE);
    set();
    EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  };
  check([&] { k.SetGain(-3.5f); });
  check([&] { k.SetOffset(0xFFFFFFFFu); });
  check([&] { k.SetRectifier(-7); });  // no check of the value
  check([&] { k.SetOutsideValue(70000); });
  EXPECT_EQ(k.GetGain(), -3.5f);
  EXPECT_EQ(k.GetOffset(), 0xFFFFFFFFu);
  EXPECT_EQ(k.GetRectifier(), -7);
  EXPECT_EQ(k.GetOutsideValue(), 70000u);
}

TEST(Kernel, TheFourteenTables) {
  const float tables[14][9] = {
      {0, 0, 0, -1, 1, -1, 1, 1, 1},   {0, 0, 0, -1, 0, -1, 1, 1, 1},   {1, 1, 1, 1, 1, 1, 1, 1, 1},
      {-1, 0, 1, -2, 0, 2, -1, 0, 1},  {-1, -2, -1, 0, 0, 0, 1, 2, 1},  {-1, 0, 1, -1, 0, 1, -1, 0, 1},
      {-1, -1, -1, 0, 0, 0, 1, 1, 1},  {0, 1, 0, 1, -4, 1, 0, 1, 0},    {1, 1, 1, 1, -8, 1, 1, 1, 1},
      {1, 2, 1, 2, 4, 2, 1, 2, 1},     {1, 1, 1, 1, 0, 1, 1, 1, 1},     {1, 1, 1, 1, 1, 1, 1, 1, 1},
      {0, -1, 0, -1, 5, -1, 0, -1, 0}, {-1, -1, -1, -1, 9, -1, -1, -1, -1}};
  for (int type = 1; type <= 14; ++type) {
    ZKernel k(7, 7, 3.0f, 5, 1, 9);
    EXPECT_EQ(k.SetKernel(static_cast<KERNEL_TYPE>(type)), 0);
    EXPECT_EQ(k.GetSizeX(), 3);
    EXPECT_EQ(k.GetSizeY(), 3);
    EXPECT_EQ(k.GetAllocatedSize(), 49u) << "a larger table is kept";
    EXPECT_EQ(Table(k), std::vector<float>(tables[type - 1], tables[type - 1] + 9)) << type;
    EXPECT_EQ(k.GetGain(), type <= 3 ? 0.0f : 1.0f) << type;
    EXPECT_EQ(k.GetRectifier(), type <= 3 ? 0 : 2) << type;
    EXPECT_EQ(k.GetOffset(), 0u);
    EXPECT_EQ(k.GetOutsideValue(), 0u);
  }
}

TEST(Kernel, BadTypeIsNotFreeOfEffects) {
  for (int type : {0, 15, -1}) {
    ZKernel k(2, 2, 4.0f, 6, 3, 8);
    const float old[4] = {1.5f, 2.5f, 3.5f, 4.5f};
    std::memcpy(k.GetDataPtr(), old, sizeof(old));
    EXPECT_EQ(k.SetKernel(static_cast<KERNEL_TYPE>(type)), Z_ERROR_ARGUMENT_1);
    EXPECT_EQ(ZGetError(), Z_ERROR_ARGUMENT_1);
    EXPECT_EQ(kt::Trace(), Strings{"ZKernel::SetKernel"});
    EXPECT_EQ(k.GetSizeX(), 3);
    EXPECT_EQ(k.GetSizeY(), 3);
    EXPECT_EQ(k.GetAllocatedSize(), 9u);  // grown from 4 to 9: the old content is gone
    EXPECT_EQ(k.GetGain(), 0.0f);
    EXPECT_EQ(k.GetOffset(), 0u);
    EXPECT_EQ(k.GetRectifier(), 0);
    EXPECT_EQ(k.GetOutsideValue(), 0u);
  }
  // Where the table already fits, the old coefficients stay.
  ZKernel k(KERNEL_SOBEL_X);
  EXPECT_EQ(k.SetKernel(static_cast<KERNEL_TYPE>(99)), Z_ERROR_ARGUMENT_1);
  EXPECT_EQ(Table(k), (std::vector<float>{-1, 0, 1, -2, 0, 2, -1, 0, 1}));
}

TEST(Kernel, WholeTableFormsKeepTheOtherFields) {
  ZKernel k(1, 1, 2.0f, 3, 1, 4);
  float t9[9], t25[25], t49[49];
  for (int i = 0; i < 49; ++i) t49[i] = static_cast<float>(i) - 20;
  for (int i = 0; i < 9; ++i) t9[i] = static_cast<float>(i) * -3;
  for (int i = 0; i < 25; ++i) t25[i] = static_cast<float>(i) * 0.5f;
  EXPECT_EQ(k.SetKernelData(t25), 0);
  EXPECT_EQ(k.GetSizeX(), 5);
  EXPECT_EQ(k.GetAllocatedSize(), 25u);
  EXPECT_EQ(Table(k), std::vector<float>(t25, t25 + 25));
  EXPECT_EQ(k.SetKernelData(t9), 0);
  EXPECT_EQ(k.GetSizeX(), 3);
  EXPECT_EQ(k.GetAllocatedSize(), 25u);
  EXPECT_EQ(Table(k), std::vector<float>(t9, t9 + 9));
  EXPECT_EQ(k.SetKernelData(t49), 0);
  EXPECT_EQ(k.GetSizeY(), 7);
  EXPECT_EQ(k.GetAllocatedSize(), 49u);
  EXPECT_EQ(Table(k), std::vector<float>(t49, t49 + 49));
  EXPECT_EQ(k.GetGain(), 2.0f);
  EXPECT_EQ(k.GetOffset(), 3u);
  EXPECT_EQ(k.GetRectifier(), 1);
  EXPECT_EQ(k.GetOutsideValue(), 4u);
}

TEST(Kernel, ResizingMovesNoCoefficient) {
  ZKernel k(3, 3, 1.0f, 0, 2, 0);
  for (int i = 0; i < 9; ++i) k.GetDataPtr()[i] = static_cast<float>(i);
  float* before = k.GetDataPtr();
  EXPECT_EQ(k.SetSizeX(2), 0);  // 2 x 3 fits: same table, values at new positions
  EXPECT_EQ(k.GetDataPtr(), before);
  float v = 0;
  EXPECT_EQ(k.GetKernelData(0, 1, v), 0);
  EXPECT_EQ(v, 2.0f);  // index 2, once row 0 column 2
  EXPECT_EQ(k.SetSizeY(4), 0);  // 8 floats fit in 9
  EXPECT_EQ(k.GetAllocatedSize(), 9u);
  EXPECT_EQ(k.SetSizeX(-4), 0);  // no check of sign: a negative product always fits
  EXPECT_EQ(k.GetSizeX(), -4);
  EXPECT_EQ(k.SetSizeX(4), 0);  // 16 > 9: reallocated
  EXPECT_EQ(k.GetAllocatedSize(), 16u);
  EXPECT_EQ(k.GetSizeX(), 4);
  EXPECT_EQ(k.GetSizeY(), 4);  // even sizes are accepted

  EXPECT_EQ(k.SetAllocatedSize(3), 0);  // never shrinks
  EXPECT_EQ(k.GetAllocatedSize(), 16u);
  EXPECT_EQ(k.SetAllocatedSize(40), 0);
  EXPECT_EQ(k.GetAllocatedSize(), 40u);
  EXPECT_EQ(k.GetSizeX(), 4);

  ZKernel empty;
  EXPECT_EQ(empty.SetAllocatedSize(0), 0);  // no data yet: allocates even for 0
  EXPECT_NE(empty.GetDataPtr(), nullptr);
  EXPECT_EQ(empty.GetAllocatedSize(), 0u);
}

TEST(Kernel, ElementAccessorsCheckInOrder) {
  ZKernel none;
  float v = 42;
  EXPECT_EQ(none.GetKernelData(99, 99, v), Z_ERROR_KERNEL_DATA_ACCESS);  // data before indices
  EXPECT_EQ(kt::Trace(), Strings{"ZKernel::GetKernelData"});
  EXPECT_EQ(none.SetKernelData(0, 0, 1.0f), Z_ERROR_KERNEL_DATA_ACCESS);
  EXPECT_EQ(kt::Trace(), Strings{"ZKernel::SetKernelData"});
  EXPECT_EQ(v, 42.0f);

  ZKernel k(5, 3, 1.0f, 0, 2, 0);
  EXPECT_EQ(k.SetKernelData(5, 9, 1.0f), Z_ERROR_ARGUMENT_1);  // x before y
  EXPECT_EQ(k.SetKernelData(-1, 0, 1.0f), Z_ERROR_ARGUMENT_1);
  EXPECT_EQ(k.SetKernelData(4, 3, 1.0f), Z_ERROR_ARGUMENT_2);
  EXPECT_EQ(k.GetKernelData(0, -1, v), Z_ERROR_ARGUMENT_2);
  EXPECT_EQ(kt::Trace(), Strings{"ZKernel::GetKernelData"});
  EXPECT_EQ(k.SetKernelData(4, 2, 6.5f), 0);
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  EXPECT_EQ(k.GetDataPtr()[14], 6.5f);  // column 4, row 2 of a table of pitch 5
  EXPECT_EQ(k.GetKernelData(4, 2, v), 0);
  EXPECT_EQ(v, 6.5f);
}

}  // namespace
