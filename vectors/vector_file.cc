// The file form of the vectors: Serialize (the body: count and raw elements) for every element
// type, Save and Load (a four-byte header, then the body) for the five types that have a file.
//
// Load reads untrusted bytes. The count in a file is not bounded, so the store is sized from the
// bytes that are really there: a whole file gets a store of exactly its count, and a file that
// promises more than it holds costs only the memory of what was read.
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "kelmira/vectors.h"

namespace kelmira::vectors {
namespace {

// The object type of each element type with a file form; 0 for the others.
template <class T>
constexpr uint8_t kObjectType = 0;
template <>
constexpr uint8_t kObjectType<ZPath> = 6;
template <>
constexpr uint8_t kObjectType<ZBW8Path> = 7;
template <>
constexpr uint8_t kObjectType<ZC24Path> = 8;
template <>
constexpr uint8_t kObjectType<ZPeak> = 9;
template <>
constexpr uint8_t kObjectType<ZBW16Path> = 11;

constexpr uint8_t kVersion = 1;

template <class T>
void Header(unsigned char header[4]) {
  static_assert(kObjectType<T> != 0, "only paths and peaks have a file form");
  header[0] = 0x5A;
  header[1] = kObjectType<T>;
  header[2] = kVersion;
  header[3] = static_cast<unsigned char>(header[0] ^ header[1] ^ header[2]);
}

// Bytes from the stream position to the end of a regular file; -1 when that cannot be known
// (a pipe, a memory stream).
long long BytesLeft(FILE* file) {
  const int fd = fileno(file);
  if (fd < 0) return -1;
  struct stat info;
  if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) return -1;
  const long position = std::ftell(file);
  if (position < 0) return -1;
  return std::max<long long>(0, static_cast<long long>(info.st_size) - position);
}

// UTF-16 to UTF-8; an unpaired surrogate becomes U+FFFD.
std::string Utf8Path(const unsigned short* path) {
  std::string out;
  for (size_t i = 0; path[i] != 0; ++i) {
    uint32_t c = path[i];
    if (c >= 0xD800 && c <= 0xDBFF && path[i + 1] >= 0xDC00 && path[i + 1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (path[i + 1] - 0xDC00);
      ++i;
    } else if (c >= 0xD800 && c <= 0xDFFF) {
      c = 0xFFFD;
    }
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else if (c < 0x800) {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      out += static_cast<char>(0xE0 | (c >> 12));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | (c >> 18));
      out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return out;
}

// Closes the stream and traces once on any failure. A failed close after a good body gives 1106;
// after a failed body the body's error stands. The stream is gone after fclose whatever it
// reported, so it is never closed a second time.
void CloseAndTrace(FILE* file, const char* trace) {
  if (ZGetError() != Z_ERROR_NONE) {
    std::fclose(file);
    ZTraceError(trace);
  } else if (std::fclose(file) != 0) {
    ZSetError(Z_ERROR_FILE_CLOSE);
    ZTraceError(trace);
  }
}

template <class T>
void SaveTo(ZVectorTemplate<T>* vector, const char* path, const char* trace) {
  unsigned char header[4];
  Header<T>(header);
  FILE* file = path != nullptr ? std::fopen(path, "wb") : nullptr;
  if (file == nullptr) {
    ZSetError(Z_ERROR_FILE_OPEN);
    ZTraceError(trace);
    return;
  }
  if (std::fwrite(header, 1, 4, file) != 4) {
    ZSetError(Z_ERROR_FILE_WRITE);
  } else {
    ZOk();
    vector->Serialize(file, 1, kVersion);
  }
  CloseAndTrace(file, trace);
}

template <class T>
void LoadFrom(ZVectorTemplate<T>* vector, const char* path, const char* trace) {
  unsigned char expected[4];
  Header<T>(expected);
  FILE* file = path != nullptr ? std::fopen(path, "rb") : nullptr;
  if (file == nullptr) {
    ZSetError(Z_ERROR_FILE_OPEN);
    ZTraceError(trace);
    return;
  }
  char found[4];
  if (std::fread(found, 1, 4, file) != 4) {
    ZSetError(Z_ERROR_FILE_READ);
  } else if (std::strncmp(found, reinterpret_cast<const char*>(expected), 4) != 0) {
    ZSetError(Z_ERROR_FILE_SIGNATURE);
  } else {
    ZOk();
    vector->Serialize(file, 0, kVersion);
  }
  CloseAndTrace(file, trace);
}

}  // namespace
}  // namespace kelmira::vectors

using kelmira::vectors::BytesLeft;

template <class T>
void ZVectorTemplate<T>::Serialize(FILE* file, int write, unsigned int /*version*/) {
  if (file == nullptr) {
    ZSetError(write ? Z_ERROR_FILE_WRITE : Z_ERROR_FILE_READ);
    return;
  }
  if (write) {
    const uint32_t count = m_un32NumElements;
    if (std::fwrite(&count, 4, 1, file) != 1) {
      ZSetError(Z_ERROR_FILE_WRITE);
      return;
    }
    if (count == 0) return;
    // One stream call for the run of records: fwrite and fread count whole records, so the
    // outcome is that of one call per element stopping at the first failure.
    ZOk();
    // A count without a store (a failed constructor) has no elements to give.
    const size_t written = m_pData != nullptr ? std::fwrite(m_pData, sizeof(T), count, file) : 0;
    if (written != count) ZSetError(Z_ERROR_FILE_WRITE);
    return;
  }

  uint32_t count = 0;
  if (std::fread(&count, 4, 1, file) != 1) {
    ZSetError(Z_ERROR_FILE_READ);
    return;
  }
  m_un32NumElements = 0;
  const long long left = BytesLeft(file);
  const bool whole = left >= 0 && static_cast<unsigned long long>(count) * sizeof(T) <=
                                      static_cast<unsigned long long>(left);
  if (!whole && count != 0) {
    ReadGrowing(file, count);
    return;
  }
  SetMaxElements(count, 1);
  // A capacity recorded without a store (ZPeaksVector(n)) is no store: make it one.
  if (count != 0 && m_pData == nullptr && m_un32MaxElements == count) {
    m_un32MaxElements = 0;
    SetMaxElements(count, 1);
  }
  if (m_un32MaxElements < count || (count != 0 && m_pData == nullptr)) {
    ZOk();
    SetMaxElements(count, 1);
    if (m_un32MaxElements < count || m_pData == nullptr) {
      ZTraceError("ZVector::SetNumElements");
      return;
    }
  }
  m_un32NumElements = count;
  if (count == 0) return;
  ZOk();
  if (std::fread(m_pData, sizeof(T), count, file) != count) ZSetError(Z_ERROR_FILE_READ);
}

// The file holds fewer bytes than the count promises, or its size is unknown: grow the store in
// bounded steps as elements arrive, so that memory follows the bytes really read.
template <class T>
void ZVectorTemplate<T>::ReadGrowing(FILE* file, unsigned int count) {
  constexpr unsigned long long kFirstStep = 4096 / sizeof(T) + 1;
  const long long left = BytesLeft(file);
  // A regular file: room for every whole element there is, and one more to find the end.
  unsigned long long want = left >= 0 ? static_cast<unsigned long long>(left) / sizeof(T) + 1 : kFirstStep;
  ZOk();
  for (bool first = true; m_un32NumElements < count; first = false) {
    if (first || m_un32NumElements == m_un32MaxElements || m_pData == nullptr) {
      if (!first) want = std::max<unsigned long long>(kFirstStep, 2ull * m_un32NumElements);
      want = std::min<unsigned long long>(want, count);
      const unsigned int n = static_cast<unsigned int>(want);
      if (m_pData == nullptr) m_un32MaxElements = 0;
      SetMaxElements(n, 1);
      if (m_un32MaxElements != n) {
        ZOk();
        SetMaxElements(n, 1);
        if (m_un32MaxElements != n) {
          ZTraceError("ZVector::SetNumElements");
          return;
        }
      }
    }
    // The capacity never exceeds the count here, so the store is filled up to it.
    const size_t room = m_un32MaxElements - m_un32NumElements;
    const size_t got = std::fread(m_pData + m_un32NumElements, sizeof(T), room, file);
    m_un32NumElements += static_cast<uint32_t>(got);
    if (got != room) {
      ZSetError(Z_ERROR_FILE_READ);
      return;
    }
  }
}

#define KELMIRA_INSTANTIATE_SERIALIZE(T)                                  \
  template void ZVectorTemplate<T>::Serialize(FILE*, int, unsigned int); \
  template void ZVectorTemplate<T>::ReadGrowing(FILE*, unsigned int);
KELMIRA_FOR_EACH_VECTOR_ELEMENT(KELMIRA_INSTANTIATE_SERIALIZE)
#undef KELMIRA_INSTANTIATE_SERIALIZE

template <class T>
void ZVectorTemplate<T>::Save(const char* path) {
  kelmira::vectors::SaveTo(this, path, "ZVector::Save");
}
template <class T>
void ZVectorTemplate<T>::Save(const unsigned short* path) {
  const std::string narrow = path != nullptr ? kelmira::vectors::Utf8Path(path) : std::string();
  kelmira::vectors::SaveTo(this, path != nullptr ? narrow.c_str() : nullptr, "ZVector::Save ( Unicode)");
}
template <class T>
void ZVectorTemplate<T>::Load(const char* path) {
  kelmira::vectors::LoadFrom(this, path, "ZVector::Load");
}
template <class T>
void ZVectorTemplate<T>::Load(const unsigned short* path) {
  const std::string narrow = path != nullptr ? kelmira::vectors::Utf8Path(path) : std::string();
  kelmira::vectors::LoadFrom(this, path != nullptr ? narrow.c_str() : nullptr, "ZVector::Load ( Unicode)");
}

#define KELMIRA_INSTANTIATE_FILE(T)                                  \
  template void ZVectorTemplate<T>::Save(const char*);              \
  template void ZVectorTemplate<T>::Save(const unsigned short*);    \
  template void ZVectorTemplate<T>::Load(const char*);              \
  template void ZVectorTemplate<T>::Load(const unsigned short*);
KELMIRA_INSTANTIATE_FILE(ZPath)
KELMIRA_INSTANTIATE_FILE(ZBW8Path)
KELMIRA_INSTANTIATE_FILE(ZBW16Path)
KELMIRA_INSTANTIATE_FILE(ZC24Path)
KELMIRA_INSTANTIATE_FILE(ZPeak)
#undef KELMIRA_INSTANTIATE_FILE
