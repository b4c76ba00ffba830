// A small host program: views on an image, checked pixel access, and a failure read back from the
// error state and the trace.
#include <kelmira/kelmira.h>

#include <cstdio>

int main() {
  ZImage<ZBW8> image(640, 480);
  ZROI<ZBW8> part(&image, 100, 80, 200, 150);
  std::printf("image %dx%d, pitch %d; view at (%d, %d) of %dx%d, skip %d\n", image.GetWidth(), image.GetHeight(),
              image.GetRowPitch(), part.GetTotalOrgX(), part.GetTotalOrgY(), part.GetWidth(), part.GetHeight(),
              part.GetSkip());
  part.SetPixel(ZBW8(255), 10, 10);
  std::printf("pixel (110, 90) of the image: %d\n", static_cast<int>(image.GetPixel(110, 90)));

  part.SetPixel(ZBW8(1), 200, 0);  // one past the view's width
  std::printf("writing outside the view: error %d, \"%s\"\n", static_cast<int>(ZGetError()),
              ZGetErrorText(ZGetError()));

  ZColorLookup lookup;
  ZImage<ZC24> colour(4, 4);
  ZImage<ZBW8> plane(4, 4);
  colour.SetPixel(ZC24(10, 20, 30), 1, 1);
  HueGetComponent(&colour, &plane, 2, &lookup);
  std::printf("component 2 of a colour pixel: %d\n", static_cast<int>(plane.GetPixel(1, 1)));
  std::printf("wide paths: %s\n", ZGetMMX() ? "on" : "off");
  return 0;
}
