// Writes the seed corpus of the operator fuzzer: for every form, a few programs of one call with
// varied shapes and parameters. An input names its form by its last two bytes (the first integer
// the fuzzer reads); the rest is drawn from a fixed generator.
// Usage: kelmira_fuzz_oper_seeds <directory>
#include <sys/stat.h>

#include <cstdio>
#include <string>

#include "oper_fuzz.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s <directory>\n", argv[0]);
    return 2;
  }
  const std::string dir = argv[1];
  mkdir(dir.c_str(), 0755);
  const auto& forms = kfuzz::AllForms();
  uint32_t x = 20261123u;
  for (size_t form = 0; form < forms.size(); ++form)
    for (int variant = 0; variant < 3; ++variant) {
      std::string bytes(96 + 32 * variant, '\0');
      for (char& b : bytes) {
        x = x * 1664525u + 1013904223u;
        b = static_cast<char>(x >> 24);
      }
      bytes[bytes.size() - 1] = static_cast<char>(form >> 8);
      bytes[bytes.size() - 2] = static_cast<char>(form & 255);
      const std::string path = dir + "/form" + std::to_string(form) + "_" + std::to_string(variant);
      FILE* f = std::fopen(path.c_str(), "wb");
      if (f == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), f) != bytes.size()) return 1;
      std::fclose(f);
    }
  std::printf("%zu forms\n", forms.size());
  return 0;
}
