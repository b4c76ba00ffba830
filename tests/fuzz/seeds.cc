// Writes the seed corpora of the fuzzers into <directory>:
//   - <kind>/ for the vector file readers: valid files of 0, 1, 2 and 40 elements of each file
//     type, and one whose count promises more elements than it holds;
//   - oper/ for the operator fuzzer: for every form, a few programs of one call with varied shapes
//     and parameters. An input names its form by its last two bytes (the first integer the fuzzer
//     reads); the rest is drawn from a fixed generator.
// Usage: kelmira_fuzz_seeds <directory>
#include <sys/stat.h>

#include <cstdio>
#include <string>

#include "oper_fuzz.h"

namespace {

bool Write(const std::string& path, const void* data, size_t size) {
  FILE* f = std::fopen(path.c_str(), "wb");
  const bool ok = f != nullptr && std::fwrite(data, 1, size, f) == size;
  return f != nullptr && std::fclose(f) == 0 && ok;
}

template <class T>
bool VectorSeeds(const std::string& dir) {
  mkdir(dir.c_str(), 0755);
  unsigned seed = 12345;
  for (unsigned n : {0u, 1u, 2u, 40u}) {
    ZVectorTemplate<T> v;
    v.SetNumElements(n);
    auto* bytes = reinterpret_cast<unsigned char*>(v.GetDataPtr());
    for (size_t i = 0; i < n * sizeof(T); ++i) bytes[i] = static_cast<unsigned char>((seed = seed * 1103515245u + 12345u) >> 16);
    const std::string path = dir + "/valid_" + std::to_string(n);
    ZOk();
    v.Save(path.c_str());
    if (ZGetError() != Z_ERROR_NONE) return false;
    if (n == 2) {  // the same file cut inside its second element
      unsigned char buffer[64];
      FILE* f = std::fopen(path.c_str(), "rb");
      const size_t got = std::fread(buffer, 1, sizeof buffer, f);
      std::fclose(f);
      if (!Write(dir + "/short", buffer, got - sizeof(T) / 2)) return false;
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return std::fprintf(stderr, "usage: %s <directory>\n", argv[0]), 2;
  const std::string root = argv[1], dir = root + "/oper";
  mkdir(root.c_str(), 0755);
  if (!VectorSeeds<ZPath>(root + "/path") || !VectorSeeds<ZBW8Path>(root + "/bw8path") ||
      !VectorSeeds<ZBW16Path>(root + "/bw16path") || !VectorSeeds<ZC24Path>(root + "/c24path") ||
      !VectorSeeds<ZPeak>(root + "/peak"))
    return 1;
  mkdir(dir.c_str(), 0755);
  const auto& forms = kfuzz::AllForms();
  uint32_t x = 20261123u;
  for (size_t form = 0; form < forms.size(); ++form)
    for (int variant = 0; variant < 3; ++variant) {
      std::string bytes(96 + 32 * variant, '\0');
      for (char& b : bytes) b = static_cast<char>((x = x * 1664525u + 1013904223u) >> 24);
      bytes[bytes.size() - 1] = static_cast<char>(form >> 8);
      bytes[bytes.size() - 2] = static_cast<char>(form & 255);
      if (!Write(dir + "/form" + std::to_string(form) + "_" + std::to_string(variant), bytes.data(), bytes.size())) return 1;
    }
  std::printf("%zu forms\n", forms.size());
  return 0;
}
