// Load of one vector file type (KELMIRA_FUZZ_ELEMENT) from arbitrary bytes: the count fits the
// store, every covered element reads, and a file that loads cleanly saves back to the same bytes.
#include <kelmira/kelmira.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using Element = KELMIRA_FUZZ_ELEMENT;

std::string Scratch(const char* name) {
  const char* dir = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
  return std::string(dir) + "/kelmira_fuzz_" + std::to_string(getpid()) + "_" + name;
}

void WriteFile(const std::string& path, const uint8_t* data, size_t size) {
  if (!std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size)))
    std::abort();
}

std::vector<uint8_t> ReadFile(const std::string& path) {
  std::ifstream f(path, std::ios::binary);
  return std::vector<uint8_t>(std::istreambuf_iterator<char>(f), {});
}

// The count never runs past the store, and each covered element is readable (ASan watches).
void CheckHeld(const ZVectorTemplate<Element>& v) {
  if (v.GetNumElements() > v.GetMaxElements()) std::abort();
  if (v.GetNumElements() != 0 && v.GetDataPtr() == nullptr) std::abort();
  const auto* bytes = reinterpret_cast<const unsigned char*>(v.GetDataPtr());
  unsigned char sum = 0;
  for (size_t i = 0; i < v.GetNumElements() * sizeof(Element); ++i) sum = static_cast<unsigned char>(sum + bytes[i]);
  [[maybe_unused]] volatile unsigned char sink = sum;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string input = Scratch("in.vec");
  static const std::string output = Scratch("out.vec");
  WriteFile(input, data, size);

  // Load into a vector that already holds something, as a caller reusing a vector would.
  ZVectorTemplate<Element> v;
  v.SetNumElements(3);
  std::memset(static_cast<void*>(v.GetDataPtr()), 0x5A, 3 * sizeof(Element));
  ZOk();
  v.Load(input.c_str());
  const Z_ERRORS error = ZGetError();
  CheckHeld(v);
  if (error == Z_ERROR_NONE) {
    const size_t used = 8 + static_cast<size_t>(v.GetNumElements()) * sizeof(Element);
    if (used > size || v.GetMaxElements() != v.GetNumElements()) std::abort();
    v.Save(output.c_str());
    if (ZGetError() != Z_ERROR_NONE) std::abort();
    const std::vector<uint8_t> saved = ReadFile(output);
    if (saved.size() != used || std::memcmp(saved.data(), data, used) != 0) std::abort();
  } else if (error != Z_ERROR_FILE_READ && error != Z_ERROR_FILE_SIGNATURE) {
    std::abort();
  }

  // The body alone through a stream whose size is unknown.
  if (size > 4) {
    FILE* stream = fmemopen(const_cast<uint8_t*>(data) + 4, size - 4, "rb");
    if (stream != nullptr) {
      ZVectorTemplate<Element> w;
      ZOk();
      w.Serialize(stream, 0, 1);
      CheckHeld(w);
      std::fclose(stream);
    }
  }
  return 0;
}
