// The older ZVector: a block of items in groups, with a kind and a use tag.
#include <cstdlib>
#include <cstring>

#include "kelmira/foundation.h"

ZVector::ZVector(int groups) {
  if (groups > 0) SetType(0, groups, 2);
}

ZVector::~ZVector() { std::free(m_data); }

void ZVector::SetNbGroup(int groups) {
  if (groups < 0) groups = 0;
  m_nbGroup = groups > m_nbMaxGroup ? m_nbMaxGroup : groups;
}

short int ZVector::SetType(int kind, int groups, int sizeClass) {
  const int itemBytes = sizeClass == 1 ? 2 : sizeClass == 3 ? 8 : 4;
  return SetStructure(kind, groups, 1, itemBytes);
}

short int ZVector::SetStructure(int kind, int groups, int groupLength, int itemBytes) {
  if (groups < 0 || groupLength <= 0 || (itemBytes != 2 && itemBytes != 4 && itemBytes != 8))
    return static_cast<short int>(ZSetError(Z_ERROR_BAD_ARGUMENTS));
  const int64_t bytes = static_cast<int64_t>(groups) * groupLength * itemBytes;
  if (bytes > INT32_MAX) return static_cast<short int>(ZSetError(Z_ERROR_NO_MEMORY));
  void* block = bytes > 0 ? std::calloc(static_cast<size_t>(bytes), 1) : nullptr;
  if (bytes > 0 && block == nullptr) return static_cast<short int>(ZSetError(Z_ERROR_NO_MEMORY));
  std::free(m_data);
  m_data = block;
  m_vectType = kind;
  m_groupLength = groupLength;
  m_dataSize = itemBytes;
  m_dataType = itemBytes == 8 ? 2 : 1;
  m_nbMaxGroup = groups;
  m_nbGroup = 0;
  m_allocated = static_cast<int>(bytes);
  return 0;
}

short int ZVector::Reallocate(int bytes) {
  if (bytes < 0) return static_cast<short int>(ZSetError(Z_ERROR_BAD_ARGUMENTS));
  void* grown = std::realloc(m_data, bytes == 0 ? 1 : static_cast<size_t>(bytes));
  if (grown == nullptr) return static_cast<short int>(ZSetError(Z_ERROR_NO_MEMORY));
  if (bytes > m_allocated) std::memset(static_cast<uint8_t*>(grown) + m_allocated, 0, static_cast<size_t>(bytes - m_allocated));
  m_data = grown;
  m_allocated = bytes;
  const int groupBytes = m_groupLength * m_dataSize;
  m_nbMaxGroup = groupBytes > 0 ? bytes / groupBytes : 0;
  if (m_nbGroup > m_nbMaxGroup) m_nbGroup = m_nbMaxGroup;
  return 0;
}
