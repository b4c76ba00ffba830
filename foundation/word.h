// A 16-bit pixel that may sit at any address: a BW16 view may start at an odd byte, and the
// workers read and write through this so that such a view is accessed byte-safely.
#ifndef KELMIRA_FOUNDATION_WORD_H
#define KELMIRA_FOUNDATION_WORD_H

#include <cstdint>

namespace kelmira {

#pragma pack(push, 1)
struct Word {
  uint16_t v;
  Word() = default;
  Word(uint16_t x) : v(x) {}  // NOLINT: implicit, like the storage it stands for
  operator uint16_t() const { return v; }
};
#pragma pack(pop)
static_assert(sizeof(Word) == 2 && alignof(Word) == 1);

}  // namespace kelmira

#endif  // KELMIRA_FOUNDATION_WORD_H
