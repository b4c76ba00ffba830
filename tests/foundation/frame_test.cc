// The call frame, the per-thread error state and trace, the gate, and the exception style.
#include <thread>

#include "foundation/frame.h"
#include "foundation/planes.h"
#include "support/kelmira_test.h"

namespace {
using namespace kelmira;

// Operators of a made-up family, written the way the library's operators are written.
void InnerOperator(ZROI<ZBW8>* view) {
  if (frame::Enter() && frame::NotVoid(view)) frame::Fail(Z_ERROR_BAD_ARGUMENTS);
  frame::Leave("Inner");
}
short int MiddleOperator(ZROI<ZBW8>* view) {
  if (frame::Enter()) frame::Step([&] { InnerOperator(view); });
  return frame::LeaveShort("Middle");
}
void OuterOperator(ZROI<ZBW8>* view) {
  if (frame::Enter()) frame::Step([&] { MiddleOperator(view); });
  frame::Leave("Outer ( BW8)");
}
short int ShortOperator(bool fail) {
  if (frame::Enter() && fail) frame::Fail(Z_ERROR_ARGUMENT_4);
  return frame::LeaveShort("Short");
}
// A one-bit style operator: the inner level throws, the outer catches once.
void InnerThrowing(ZROI<ZBW1>* view) {
  frame::RequireNotVoid(view);
  frame::Throw(Z_ERROR_BW1_NOT_ALIGNED);
}
void OuterCatching(ZROI<ZBW1>* view) {
  if (!frame::Enter()) return frame::Leave("LumThing (BW1)");
  frame::Guard("LumThing (BW1)", [&] {
    ZImage<ZBW1> temporary(8, 8);
    InnerThrowing(view);
  });
}

// Each row runs after the one before it: every call clears what the last one left.
TEST(Frame, NumbersAndTracesOfEveryStyle) {
  ZImage<ZBW8> image(4, 4), a(4, 4), b(5, 4), none;
  ZImage<ZBW1> bits(16, 2);
  const std::vector<std::string> levels = {"Inner", "Middle", "Outer ( BW8)"};
  kt::CheckRefusals({
      {[&] { OuterOperator(&image); }, Z_ERROR_BAD_ARGUMENTS, levels},  // the innermost number, each level once
      {[&] { OuterOperator(nullptr); }, Z_ERROR_NULL_IMAGE, levels},
      {[&] { EXPECT_EQ(ShortOperator(false), 0); }, Z_ERROR_NONE, {}},
      {[&] { EXPECT_EQ(ShortOperator(true), 1014); }, Z_ERROR_ARGUMENT_4, {"Short"}},
      {[&] { OuterCatching(&bits); }, Z_ERROR_BW1_NOT_ALIGNED, {"LumThing (BW1)"}},
      {[&] { OuterCatching(nullptr); }, Z_ERROR_NULL_IMAGE, {"LumThing (BW1)"}},
      // The gate refuses every operator of the thread while set; the inner levels never run.
      {[&] { ZSetGateError(static_cast<Z_ERRORS>(9999)); EXPECT_EQ(ShortOperator(false), 9999); }, 9999, {"Short"}},
      {[&] { OuterOperator(&image); ZSetGateError(Z_ERROR_NONE); }, 9999, {"Outer ( BW8)"}},
      // The pixel-wise checks: each source and then the destination for void, then the sizes.
      {[&] { EXPECT_FALSE(frame::Operands({&a, &none}, &b)); }, Z_ERROR_NULL_IMAGE, {}},
      {[&] { EXPECT_FALSE(frame::Operands({&a}, &none)); }, Z_ERROR_NULL_IMAGE, {}},
      {[&] { EXPECT_FALSE(frame::Operands({&a}, &b)); }, Z_ERROR_DIFFERENT_SIZES, {}},
      {[&] { EXPECT_FALSE(frame::Operands({nullptr}, &b)); }, Z_ERROR_NULL_IMAGE, {}},
      {[&] { EXPECT_TRUE(frame::Operands({&a, &a}, &a)); }, Z_ERROR_NONE, {}},
  });
  OuterOperator(&image);
  EXPECT_TRUE(ZGetTraceEntry(3) == nullptr && ZGetTraceEntry(-1) == nullptr);
  // A short result is the number cut to 16 bits; tracing leaves the number alone.
  ZSetError(static_cast<Z_ERRORS>(0x12345));
  EXPECT_EQ(static_cast<short int>(ZTraceError("x")), static_cast<short int>(0x2345));
  EXPECT_EQ(ZGetError(), static_cast<Z_ERRORS>(0x12345));
}

TEST(ThreadState, EachThreadReadsItsOwnErrorTraceAndOverlay) {
  static const char* const kNames[4] = {"T0", "T1", "T2", "T3"};
  bool ok[4] = {};
  std::vector<std::thread> threads;
  LumSetOverlayColor(ZC24(1, 2, 3));
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([t, &ok] {
      const ZC24 fresh = LumGetOverlayColor();
      bool good = fresh.c0 == 0 && fresh.c1 == 0 && fresh.c2 == 0;  // black in a new thread
      LumSetOverlayColor(ZC24(uint8_t(t), 0, 0));
      for (int round = 0; round < 2000; ++round) {
        ZOk();
        ZSetError(static_cast<Z_ERRORS>(1011 + t));
        for (int level = 0; level <= t; ++level) ZTraceError(kNames[t]);
        std::this_thread::yield();
        good = good && ZGetError() == 1011 + t && ZGetTraceCount() == t + 1 && ZGetTraceEntry(t) == kNames[t] &&
               LumGetOverlayColor().c0 == t;
      }
      ok[t] = good;
    });
  for (auto& th : threads) th.join();
  for (int t = 0; t < 4; ++t) EXPECT_TRUE(ok[t]) << "thread " << t;
  EXPECT_EQ(LumGetOverlayColor().c2, 3);
  // The wide switch, by contrast, is one for the process.
  kt::WideSetting on(1);
  int seen = -1;
  std::thread([&] { seen = ZGetMMX(); }).join();
  EXPECT_EQ(seen, 1);
  ZSetMMX(0);
  std::thread([&] { seen = ZGetMMX(); }).join();
  EXPECT_EQ(seen, 0);
}

TEST(ThreadState, TraceKeepsLiteralPointersAndSurvivesLongChains) {
  ZOk();
  static const char kText[] = "Level";
  for (int i = 0; i < 200; ++i) ZTraceError(kText);
  EXPECT_GT(ZGetTraceCount(), 8);
  EXPECT_TRUE(ZGetTraceEntry(0) == kText && ZGetTraceEntry(ZGetTraceCount()) == nullptr);
  EXPECT_EQ(reinterpret_cast<void*>(ZGetTLSPtr()), reinterpret_cast<void*>(ZGetTLSPtr()));
}

TEST(Foundation, ErrorTextsAnglesAndSmallHelpers) {
  for (int e : {0, 106, 1003, 1011, 1105, 1303, 1400, 1402, 1413, 1613, 1700, 32767, 4242}) {
    const char* text = ZGetErrorText(static_cast<Z_ERRORS>(e));
    ASSERT_NE(text, nullptr);
    EXPECT_GT(std::strlen(text), 5u) << e;
  }
  EXPECT_TRUE(Z_ERROR_NOT_ENOUGH_MEMORY == 1303 && Z_ERROR_SOURCE_EQUALS_DESTINATION == 1413);
  EXPECT_EQ(ZGetAngleUnit(), Z_ANGLE_UNIT_DEGREES);
  EXPECT_NEAR(ZToRadians(180.0f), 3.14159265f, 1e-6);
  ZSetAngleUnit(Z_ANGLE_UNIT_GRADIANS);
  EXPECT_NEAR(ZFromRadians(3.14159265f), 200.0f, 1e-4);
  ZSetAngleUnit(Z_ANGLE_UNIT_REVOLUTIONS);
  EXPECT_NEAR(ZToRadians(0.5f), 3.14159265f, 1e-6);
  ZSetAngleUnit(Z_ANGLE_UNIT_DEGREES);
  void* p = Ovidra_Malloc(100);
  ASSERT_NE(p, nullptr);
  Ovidra_Free(p);
  Marvane::Ovidra::Utils::Vector<int> v;
  for (int i = 0; i < 70; ++i) v.AddElement(i);
  EXPECT_TRUE(v.GetSize() == 70 && v[69] == 69);
  EXPECT_TRUE(kt::Thrown([&] { v[70]; }) == Z_ERROR_ARGUMENT_1 && ZStatistics().Count() == 0u);
}

TEST(Planes, EachComponentRunsInTurnAndTheFirstFailureStops) {
  ZImage<ZC24> colour(5, 3);
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 5; ++x) colour.SetPixel(ZC24(uint8_t(x), uint8_t(10 + y), 200), x, y);
  std::vector<unsigned> seen;
  EXPECT_TRUE(planes::ForEachPlane(&colour, &colour, [&](ZROI<ZBW8>* in, ZROI<ZBW8>* out, unsigned k) {
    seen.push_back(k);
    LumOper(ARITH_LOGIC_ADD, in, ZBW8(uint8_t(k + 1)), out);
  }));
  EXPECT_TRUE(seen == std::vector<unsigned>({0, 1, 2}) && kt::Same(colour.GetPixel(4, 2), ZC24(5, 14, 203)));
  seen.clear();
  EXPECT_FALSE(planes::ForEachPlane(&colour, &colour, [&](ZROI<ZBW8>*, ZROI<ZBW8>*, unsigned k) {
    seen.push_back(k);
    if (k == 1) ZSetError(Z_ERROR_KERNEL_NO_DATA);
  }));
  EXPECT_TRUE(seen == std::vector<unsigned>({0, 1}) && ZGetError() == Z_ERROR_KERNEL_NO_DATA);
}

}  // namespace
