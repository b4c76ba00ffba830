// A host program outside the tree: includes the umbrella header as C++17 and calls the library.
#include <kelmira/kelmira.h>

#include <cstdio>

int main() {
  ZImage<ZBW8> image(64, 48);
  ZROI<ZBW8> view(&image, 8, 8, 16, 16);
  view.SetPixel(ZBW8(200), 3, 4);
  if (view.GetPixel(3, 4) != 200 || image.GetPixel(11, 12) != 200) return 1;
  view.GetPixel(16, 0);  // outside the view: argument 1 is out of range
  if (ZGetError() != Z_ERROR_ARGUMENT_1) return 2;
  if (ZOk() != Z_ERROR_NONE || ZGetError() != Z_ERROR_NONE) return 3;
  // The README's example: an operator, then the error state and the trace.
  ZImage<ZBW8> a(64, 48), b(64, 48), out(64, 48);
  LumCopy(ZBW8(200), &a);
  LumCopy(ZBW8(50), &b);
  LumOper(ARITH_LOGIC_SUBTRACT, &a, &b, &out);
  if (ZGetError() != Z_ERROR_NONE || out.GetPixel(5, 5) != 150) return 4;
  ZROI<ZBW8> small(&out, 0, 0, 10, 10);
  LumOper(ARITH_LOGIC_ADD, &a, &b, &small);
  if (ZGetError() == Z_ERROR_NONE || ZGetTraceCount() != 1) return 5;
  std::printf("kelmira host ok: %s\n", ZGetErrorText(Z_ERROR_NULL_IMAGE));
  return 0;
}
