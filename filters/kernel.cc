// ZKernel: the coefficient table of convolution and of thin and thick.
#include <cstdlib>
#include <cstring>

#include "foundation/frame.h"
#include "kelmira/filters.h"

namespace kelmira {
namespace {

// The table, never null for a count of 0 (a kernel with an empty table still has data).
float* AllocateFloats(unsigned int count) {
  return static_cast<float*>(std::malloc(static_cast<size_t>(count == 0 ? 1 : count) * sizeof(float)));
}

// sizeX * sizeY as the constructor and the setters see it: a negative product cannot be held.
long long Product(short a, short b) { return static_cast<long long>(a) * b; }

// The fourteen tables, row by row.
constexpr float kTables[14][9] = {
    {0, 0, 0, -1, 1, -1, 1, 1, 1},      {0, 0, 0, -1, 0, -1, 1, 1, 1},     {1, 1, 1, 1, 1, 1, 1, 1, 1},
    {-1, 0, 1, -2, 0, 2, -1, 0, 1},     {-1, -2, -1, 0, 0, 0, 1, 2, 1},     {-1, 0, 1, -1, 0, 1, -1, 0, 1},
    {-1, -1, -1, 0, 0, 0, 1, 1, 1},     {0, 1, 0, 1, -4, 1, 0, 1, 0},       {1, 1, 1, 1, -8, 1, 1, 1, 1},
    {1, 2, 1, 2, 4, 2, 1, 2, 1},        {1, 1, 1, 1, 0, 1, 1, 1, 1},        {1, 1, 1, 1, 1, 1, 1, 1, 1},
    {0, -1, 0, -1, 5, -1, 0, -1, 0},    {-1, -1, -1, -1, 9, -1, -1, -1, -1},
};

}  // namespace
}  // namespace kelmira

using kelmira::AllocateFloats;
using kelmira::Product;
namespace frame = kelmira::frame;

ZKernel::ZKernel() { ZOk(); }

ZKernel::ZKernel(short sizeX, short sizeY, float gain, unsigned int offset, short rectifier,
                 unsigned int outsideValue)
    : m_n16SizeX(sizeX),
      m_n16SizeY(sizeY),
      m_f32Gain(gain),
      m_un32Offset(offset),
      m_n16Rectifier(rectifier),
      m_un32OutsideValue(outsideValue) {
  ZOk();
  const long long count = Product(sizeX, sizeY);
  m_un32AllocatedSize = count < 0 ? 0u : static_cast<unsigned int>(count);
  m_pf32Data = count < 0 ? nullptr : AllocateFloats(m_un32AllocatedSize);
  if (m_pf32Data == nullptr) {
    m_un32AllocatedSize = 0;
    ZSetError(Z_ERROR_NO_MEMORY);
    ZTraceError("ZKernel::ZKernel");
  }
}

ZKernel::ZKernel(KERNEL_TYPE type) { SetKernel(type); }

ZKernel::~ZKernel() {
  std::free(m_pf32Data);
  ZOk();
}

bool ZKernel::Grow(unsigned int count) {
  if (m_pf32Data != nullptr && m_un32AllocatedSize >= count) return true;
  std::free(m_pf32Data);
  m_un32AllocatedSize = count;
  m_pf32Data = AllocateFloats(count);
  if (m_pf32Data != nullptr) return true;
  m_un32AllocatedSize = 0;
  return frame::Fail(Z_ERROR_NO_MEMORY);
}

short ZKernel::SetKernel(KERNEL_TYPE type) {
  ZOk();
  m_n16SizeX = 3;
  m_n16SizeY = 3;
  if (Grow(9)) {
    m_f32Gain = 0.0f;
    m_un32Offset = 0;
    m_n16Rectifier = 0;
    m_un32OutsideValue = 0;
    if (type >= KERNEL_THIN_1 && type <= KERNEL_HIGHPASS_2) {
      if (type >= KERNEL_SOBEL_X) {
        m_f32Gain = 1.0f;
        m_n16Rectifier = 2;
      }
      std::memcpy(m_pf32Data, kelmira::kTables[type - 1], sizeof(kelmira::kTables[0]));
    } else {
      ZSetError(Z_ERROR_ARGUMENT_1);  // the sizes and cleared fields stay: not free of effects
    }
  }
  return frame::LeaveShort("ZKernel::SetKernel");
}

void ZKernel::SetGain(float gain) {
  m_f32Gain = gain;
  ZOk();
}
void ZKernel::SetOffset(unsigned int offset) {
  m_un32Offset = offset;
  ZOk();
}
void ZKernel::SetRectifier(short rectifier) {
  m_n16Rectifier = rectifier;
  ZOk();
}
void ZKernel::SetOutsideValue(unsigned int outsideValue) {
  m_un32OutsideValue = outsideValue;
  ZOk();
}

short ZKernel::SetKernelData(const float (&values)[9]) {
  ZOk();
  m_n16SizeX = m_n16SizeY = 3;
  if (Grow(9)) std::memcpy(m_pf32Data, values, sizeof(values));
  return frame::LeaveShort("ZKernel::SetKernelData 3x3");
}

short ZKernel::SetKernelData(const float (&values)[25]) {
  ZOk();
  m_n16SizeX = m_n16SizeY = 5;
  if (Grow(25)) std::memcpy(m_pf32Data, values, sizeof(values));
  return frame::LeaveShort("ZKernel::SetKernelData 5x5");
}

short ZKernel::SetKernelData(const float (&values)[49]) {
  ZOk();
  m_n16SizeX = m_n16SizeY = 7;
  if (Grow(49)) std::memcpy(m_pf32Data, values, sizeof(values));
  return frame::LeaveShort("ZKernel::SetKernelData 5x5");  // the 7x7 form shares these words
}

namespace kelmira {
namespace {
// The checks of the element accessors, in their order.
bool ElementIndex(const float* data, short sizeX, short sizeY, int x, int y, long long* index) {
  if (data == nullptr) return frame::Fail(Z_ERROR_KERNEL_DATA_ACCESS);
  if (x < 0 || x >= sizeX) return frame::Fail(Z_ERROR_ARGUMENT_1);
  if (y < 0 || y >= sizeY) return frame::Fail(Z_ERROR_ARGUMENT_2);
  *index = static_cast<long long>(y) * sizeX + x;
  return true;
}
}  // namespace
}  // namespace kelmira

short ZKernel::SetKernelData(int x, int y, float value) {
  ZOk();
  long long i = 0;
  if (kelmira::ElementIndex(m_pf32Data, m_n16SizeX, m_n16SizeY, x, y, &i)) m_pf32Data[i] = value;
  return frame::LeaveShort("ZKernel::SetKernelData");
}

short ZKernel::GetKernelData(int x, int y, float& value) {
  ZOk();
  long long i = 0;
  if (kelmira::ElementIndex(m_pf32Data, m_n16SizeX, m_n16SizeY, x, y, &i)) value = m_pf32Data[i];
  return frame::LeaveShort("ZKernel::GetKernelData");
}

short ZKernel::SetSizeX(short sizeX) {
  ZOk();
  const long long count = Product(sizeX, m_n16SizeY);
  if (count > static_cast<long long>(m_un32AllocatedSize) && SetAllocatedSize(static_cast<unsigned int>(count)) != 0)
    return frame::LeaveShort("ZKernel::SetSizeX");
  m_n16SizeX = sizeX;
  return frame::LeaveShort("ZKernel::SetSizeX");
}

short ZKernel::SetSizeY(short sizeY) {
  ZOk();
  const long long count = Product(m_n16SizeX, sizeY);
  if (count > static_cast<long long>(m_un32AllocatedSize) && SetAllocatedSize(static_cast<unsigned int>(count)) != 0)
    return frame::LeaveShort("ZKernel::SetSizeY");
  m_n16SizeY = sizeY;
  return frame::LeaveShort("ZKernel::SetSizeY");
}

short ZKernel::SetAllocatedSize(unsigned int count) {
  ZOk();
  if (m_pf32Data == nullptr || count > m_un32AllocatedSize) {
    std::free(m_pf32Data);  // content is lost, not copied
    m_un32AllocatedSize = count;
    m_pf32Data = AllocateFloats(count);
    if (m_pf32Data == nullptr) {
      m_un32AllocatedSize = 0;
      ZSetError(Z_ERROR_NO_MEMORY);
    }
  }
  return frame::LeaveShort("ZKernel::SetAllocatedSize");
}
