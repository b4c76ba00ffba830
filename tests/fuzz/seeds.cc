// Writes the seed corpus of the vector file fuzzers: for each file type, valid files of 0, 1, 2
// and 40 elements, and one whose count promises more elements than it holds.
// Usage: kelmira_fuzz_seeds <directory>; the files go to <directory>/<kind>/.
#include <kelmira/kelmira.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace {

template <class T>
bool WriteSeeds(const std::string& dir) {
  mkdir(dir.c_str(), 0755);
  unsigned seed = 12345;
  for (unsigned n : {0u, 1u, 2u, 40u}) {
    ZVectorTemplate<T> v;
    v.SetNumElements(n);
    auto* bytes = reinterpret_cast<unsigned char*>(v.GetDataPtr());
    for (size_t i = 0; i < n * sizeof(T); ++i) {
      seed = seed * 1103515245u + 12345u;
      bytes[i] = static_cast<unsigned char>(seed >> 16);
    }
    const std::string path = dir + "/valid_" + std::to_string(n);
    ZOk();
    v.Save(path.c_str());
    if (ZGetError() != Z_ERROR_NONE) return false;
    if (n == 2) {  // the same file cut inside its second element
      FILE* f = std::fopen(path.c_str(), "rb");
      unsigned char buffer[64];
      const size_t got = std::fread(buffer, 1, sizeof buffer, f);
      std::fclose(f);
      f = std::fopen((dir + "/short").c_str(), "wb");
      std::fwrite(buffer, 1, got - sizeof(T) / 2, f);
      std::fclose(f);
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s <directory>\n", argv[0]);
    return 2;
  }
  const std::string root = argv[1];
  mkdir(root.c_str(), 0755);
  const bool ok = WriteSeeds<ZPath>(root + "/path") && WriteSeeds<ZBW8Path>(root + "/bw8path") &&
                  WriteSeeds<ZBW16Path>(root + "/bw16path") && WriteSeeds<ZC24Path>(root + "/c24path") &&
                  WriteSeeds<ZPeak>(root + "/peak");
  return ok ? 0 : 1;
}
