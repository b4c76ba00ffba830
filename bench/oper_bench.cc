// LumOper and LumCopy beside their OpenCV twins on the same pixels, and memcpy as the roof.
#include <opencv2/core.hpp>

#include "support/common.h"

namespace {

// Two sources and a destination that Kelmira and OpenCV share.
template <class T>
struct Three {
  Three(benchmark::State& state, int cvType)
      : a(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), cvType, 1),
        b(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), cvType, 2),
        d(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), cvType, 3) {}
  int64_t Bytes() const { return static_cast<int64_t>(a.mat.total() * a.mat.elemSize()); }
  kb::Shared<T> a, b, d;
};

template <ARITH_LOGIC_OPERATIONS kCode>
void BM_Kelmira_BW8(benchmark::State& state) {
  Three<ZBW8> t(state, CV_8UC1);
  for (auto _ : state) {
    LumOper(kCode, &t.a.image, &t.b.image, &t.d.image);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 3 * t.Bytes());
}

template <void (*kFn)(cv::InputArray, cv::InputArray, cv::OutputArray)>
void BM_OpenCV_BW8(benchmark::State& state) {
  Three<ZBW8> t(state, CV_8UC1);
  for (auto _ : state) {
    kFn(t.a.mat, t.b.mat, t.d.mat);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 3 * t.Bytes());
}

void CvAdd(cv::InputArray a, cv::InputArray b, cv::OutputArray d) { cv::add(a, b, d); }
void CvSubtract(cv::InputArray a, cv::InputArray b, cv::OutputArray d) { cv::subtract(a, b, d); }
void CvAbsDiff(cv::InputArray a, cv::InputArray b, cv::OutputArray d) { cv::absdiff(a, b, d); }
void CvMin(cv::InputArray a, cv::InputArray b, cv::OutputArray d) { cv::min(a, b, d); }
void CvAnd(cv::InputArray a, cv::InputArray b, cv::OutputArray d) { cv::bitwise_and(a, b, d); }

BENCHMARK(BM_Kelmira_BW8<ARITH_LOGIC_ADD>)->Name("Oper/Add/Kelmira")->Apply(kb::Sizes);
BENCHMARK(BM_OpenCV_BW8<CvAdd>)->Name("Oper/Add/OpenCV")->Apply(kb::Sizes);
BENCHMARK(BM_Kelmira_BW8<ARITH_LOGIC_SUBTRACT>)->Name("Oper/Subtract/Kelmira")->Apply(kb::Sizes);
BENCHMARK(BM_OpenCV_BW8<CvSubtract>)->Name("Oper/Subtract/OpenCV")->Apply(kb::Sizes);
BENCHMARK(BM_Kelmira_BW8<ARITH_LOGIC_ABSOLUTE_DIFFERENCE>)->Name("Oper/AbsDiff/Kelmira")->Apply(kb::Sizes);
BENCHMARK(BM_OpenCV_BW8<CvAbsDiff>)->Name("Oper/AbsDiff/OpenCV")->Apply(kb::Sizes);
BENCHMARK(BM_Kelmira_BW8<ARITH_LOGIC_MIN>)->Name("Oper/Min/Kelmira")->Apply(kb::Sizes);
BENCHMARK(BM_OpenCV_BW8<CvMin>)->Name("Oper/Min/OpenCV")->Apply(kb::Sizes);
BENCHMARK(BM_Kelmira_BW8<ARITH_LOGIC_BIT_AND>)->Name("Oper/BitAnd/Kelmira")->Apply(kb::Sizes);
BENCHMARK(BM_OpenCV_BW8<CvAnd>)->Name("Oper/BitAnd/OpenCV")->Apply(kb::Sizes);

void BM_Kelmira_AddConst(benchmark::State& state) {
  Three<ZBW8> t(state, CV_8UC1);
  for (auto _ : state) {
    LumOper(ARITH_LOGIC_ADD, &t.a.image, ZBW8(37), &t.d.image);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * t.Bytes());
}
void BM_OpenCV_AddConst(benchmark::State& state) {
  Three<ZBW8> t(state, CV_8UC1);
  for (auto _ : state) {
    cv::add(t.a.mat, cv::Scalar(37), t.d.mat);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * t.Bytes());
}
BENCHMARK(BM_Kelmira_AddConst)->Name("Oper/AddConst/Kelmira")->Apply(kb::Sizes);
BENCHMARK(BM_OpenCV_AddConst)->Name("Oper/AddConst/OpenCV")->Apply(kb::Sizes);

void BM_Kelmira_Copy(benchmark::State& state) {
  Three<ZBW8> t(state, CV_8UC1);
  for (auto _ : state) {
    LumCopy(&t.a.image, &t.d.image);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * t.Bytes());
}
void BM_OpenCV_Copy(benchmark::State& state) {
  Three<ZBW8> t(state, CV_8UC1);
  for (auto _ : state) {
    t.a.mat.copyTo(t.d.mat);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 2 * t.Bytes());
}
BENCHMARK(BM_Kelmira_Copy)->Name("Copy/BW8/Kelmira")->Apply(kb::Sizes);
BENCHMARK(BM_OpenCV_Copy)->Name("Copy/BW8/OpenCV")->Apply(kb::Sizes);

void BM_Kelmira_Add16(benchmark::State& state) {
  Three<ZBW16> t(state, CV_16UC1);
  for (auto _ : state) {
    LumOper(ARITH_LOGIC_ADD, &t.a.image, &t.b.image, &t.d.image);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 3 * t.Bytes());
}
void BM_OpenCV_Add16(benchmark::State& state) {
  Three<ZBW16> t(state, CV_16UC1);
  for (auto _ : state) {
    cv::add(t.a.mat, t.b.mat, t.d.mat);
    benchmark::ClobberMemory();
  }
  kb::SetBytes(state, 3 * t.Bytes());
}
BENCHMARK(BM_Kelmira_Add16)->Name("Oper/AddBW16/Kelmira")->Apply(kb::Sizes);
BENCHMARK(BM_OpenCV_Add16)->Name("Oper/AddBW16/OpenCV")->Apply(kb::Sizes);

}  // namespace
