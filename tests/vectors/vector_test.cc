// The growable vector: growth, capacity and count, copies, bounds, the heap step, the derived
// vectors and the text forms of the elements.
#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "support/kelmira_test.h"

namespace {

using Strings = std::vector<std::string>;

std::vector<int> Contents(const ZVectorTemplate<int>& v) {
  return std::vector<int>(v.GetDataPtr(), v.GetDataPtr() + v.GetNumElements());
}

ZVectorTemplate<int> Filled(std::initializer_list<int> values) {
  ZVectorTemplate<int> v;
  for (int x : values) v.AddElement(x);
  return v;
}

TEST(VectorGrowth, AppendingDoublesTheCapacity) {
  ZVectorTemplate<int> v;
  EXPECT_EQ(v.GetNumElements(), 0u);
  EXPECT_EQ(v.GetMaxElements(), 0u);
  EXPECT_EQ(v.GetDataPtr(), nullptr);
  std::vector<unsigned> caps;
  for (int i = 0; i < 9; ++i) {
    v.AddElement(i * 10);
    caps.push_back(v.GetMaxElements());
  }
  EXPECT_EQ(caps, (std::vector<unsigned>{1, 2, 4, 4, 8, 8, 8, 8, 16}));
  EXPECT_EQ(Contents(v), (std::vector<int>{0, 10, 20, 30, 40, 50, 60, 70, 80}));

  ZVectorTemplate<ZPath> three;
  ZPath p{1, 2};
  three.AddElementByRef(p);
  three.AddElementByRef(p);
  three.AddElement(ZPath{3, 4});
  EXPECT_EQ(three.GetNumElements(), 3u);
  EXPECT_EQ(three.GetMaxElements(), 4u);
  EXPECT_EQ(three[2].m_n16X, 3);
}

TEST(VectorGrowth, OnlyAGrowingAppendClearsAPendingError) {
  ZVectorTemplate<int> v;
  v.SetMaxElements(2, 1);
  ZSetError(Z_ERROR_INTERNAL);
  v.AddElement(1);  // fits: the error stands
  EXPECT_EQ(ZGetError(), Z_ERROR_INTERNAL);
  v.AddElement(2);
  EXPECT_EQ(ZGetError(), Z_ERROR_INTERNAL);
  v.AddElement(3);  // grows
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  EXPECT_EQ(v.GetMaxElements(), 4u);
}

TEST(VectorCapacity, SetMaxElements) {
  // The present capacity does nothing, whatever keep says.
  ZVectorTemplate<int> v = Filled({5, 6, 7});
  int* store = v.GetDataPtr();
  v.SetMaxElements(4, 0);
  EXPECT_EQ(v.GetDataPtr(), store);
  EXPECT_EQ(Contents(v), (std::vector<int>{5, 6, 7}));

  // Shrinking with keep cuts the count; growing with keep keeps the elements.
  v.SetMaxElements(2, 1);
  EXPECT_EQ(v.GetMaxElements(), 2u);
  EXPECT_EQ(Contents(v), (std::vector<int>{5, 6}));
  v.SetMaxElements(10, 1);
  EXPECT_EQ(v.GetMaxElements(), 10u);
  EXPECT_EQ(Contents(v), (std::vector<int>{5, 6}));

  // Without keep the count goes to 0.
  v.SetMaxElements(3, 0);
  EXPECT_EQ(v.GetNumElements(), 0u);
  EXPECT_EQ(v.GetMaxElements(), 3u);
  EXPECT_NE(v.GetDataPtr(), nullptr);

  // 0 releases the store.
  ZVectorTemplate<int> w = Filled({1, 2});
  w.SetMaxElements(0, 1);
  EXPECT_EQ(w.GetNumElements(), 0u);
  EXPECT_EQ(w.GetMaxElements(), 0u);
  EXPECT_EQ(w.GetDataPtr(), nullptr);
  EXPECT_EQ(ZGetTraceCount(), 0);
}

TEST(VectorCapacity, SetNumElementsGrowsExactlyAndNeverShrinks) {
  ZVectorTemplate<int> v = Filled({1, 2, 3, 4, 5});
  EXPECT_EQ(v.GetMaxElements(), 8u);
  v.SetNumElements(2);
  EXPECT_EQ(v.GetMaxElements(), 8u);
  EXPECT_EQ(Contents(v), (std::vector<int>{1, 2}));
  v.SetNumElements(5);  // the old values come back
  EXPECT_EQ(Contents(v), (std::vector<int>{1, 2, 3, 4, 5}));
  v.SetNumElements(13);  // exactly, not doubled
  EXPECT_EQ(v.GetMaxElements(), 13u);
  EXPECT_EQ(v.GetNumElements(), 13u);
  EXPECT_EQ(v[4], 5);
  v.Empty();
  EXPECT_EQ(v.GetNumElements(), 0u);
  EXPECT_EQ(v.GetMaxElements(), 13u);
}

TEST(VectorCopy, CopyToSizesTheDestinationToTheSourceCount) {
  ZVectorTemplate<int> src = Filled({1, 2, 3});  // capacity 4
  EXPECT_EQ(src.CopyTo(&src), &src);
  EXPECT_EQ(Contents(src), (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(src.GetMaxElements(), 4u);

  ZVectorTemplate<int> big(10);
  EXPECT_EQ(src.CopyTo(&big), &big);
  EXPECT_EQ(big.GetMaxElements(), 3u);
  EXPECT_EQ(Contents(big), (std::vector<int>{1, 2, 3}));

  ZVectorTemplate<int> same;
  same.SetMaxElements(3, 1);
  int* store = same.GetDataPtr();
  src.CopyTo(&same);
  EXPECT_EQ(same.GetDataPtr(), store);  // capacity equal to the count: the store is reused
  EXPECT_EQ(Contents(same), (std::vector<int>{1, 2, 3}));

  ZVectorTemplate<int>* fresh = src.CopyTo(nullptr);
  ASSERT_NE(fresh, nullptr);
  EXPECT_EQ(fresh->GetMaxElements(), 3u);
  EXPECT_EQ(Contents(*fresh), (std::vector<int>{1, 2, 3}));
  delete fresh;

  ZVectorTemplate<int> empty;
  empty.SetMaxElements(6, 1);
  empty.CopyTo(&big);
  EXPECT_EQ(big.GetNumElements(), 0u);
  EXPECT_EQ(big.GetMaxElements(), 0u);
  EXPECT_EQ(big.GetDataPtr(), nullptr);
}

TEST(VectorCopy, ConstructorAndAssignment) {
  const ZVectorTemplate<int> src = Filled({4, 5, 6, 7, 8});
  ZVectorTemplate<int> copy(src);
  EXPECT_EQ(copy.GetMaxElements(), 5u);
  EXPECT_EQ(Contents(copy), (std::vector<int>{4, 5, 6, 7, 8}));
  EXPECT_NE(copy.GetDataPtr(), src.GetDataPtr());

  ZVectorTemplate<int> assigned = Filled({1});
  assigned = src;
  EXPECT_EQ(assigned.GetMaxElements(), 5u);
  EXPECT_EQ(Contents(assigned), (std::vector<int>{4, 5, 6, 7, 8}));

  ZPathVector closed;
  closed.SetClosed(1);
  closed.AddElement(ZPath{1, 1});
  ZPathVector open;
  closed.CopyTo(&open);
  EXPECT_EQ(open.GetNumElements(), 1u);
  EXPECT_EQ(open.GetClosed(), 0);
}

TEST(VectorBounds, OperatorBracketGivesTheStaticElement) {
  ZVectorTemplate<int> v = Filled({1, 2});
  ZOk();
  int& bad = v[2];
  EXPECT_TRUE(kt::Failed(Z_ERROR_ARGUMENT_1, {"ZVector::operator[]"}));
  bad = 77;  // harmless to the vector
  EXPECT_EQ(Contents(v), (std::vector<int>{1, 2}));
  ZOk();
  EXPECT_EQ(&v[0xFFFFFFFFu], &bad);  // one static per type
  ZVectorTemplate<int> other;
  EXPECT_EQ(&other[0], &bad);
  ZOk();
  EXPECT_EQ(v[1], 2);
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  ZVectorTemplate<ZPeak> peaks;
  peaks[3].m_n32Area = 9;  // another type has its own
  EXPECT_EQ(ZGetError(), Z_ERROR_ARGUMENT_1);
}

TEST(VectorBounds, GetSetAndRemove) {
  ZVectorTemplate<int> v = Filled({1, 2, 3});  // capacity 4
  for (int i : {-1, 3, 100}) {
    ZOk();
    v.GetElement(i);
    EXPECT_TRUE(kt::Failed(Z_ERROR_ARGUMENT_1, {"ZVector::operator[]"})) << i;
  }
  ZOk();
  EXPECT_EQ(v.GetElement(2), 3);
  v.SetElement(1, 20);
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);

  // Past the count but inside the store: reported, and stored anyway.
  v.SetElement(3, 40);
  EXPECT_TRUE(kt::Failed(Z_ERROR_ARGUMENT_1, {"ZVector::operator[]"}));
  EXPECT_EQ(v.GetNumElements(), 3u);
  v.SetNumElements(4);
  EXPECT_EQ(Contents(v), (std::vector<int>{1, 20, 3, 40}));
  // Beyond the store: reported, nothing written (the sanitizers watch).
  ZOk();
  v.SetElement(4, 50);
  v.SetElement(-1, 50);
  EXPECT_EQ(ZGetError(), Z_ERROR_ARGUMENT_1);
  EXPECT_EQ(Contents(v), (std::vector<int>{1, 20, 3, 40}));

  ZOk();
  v.RemoveElement(4);
  EXPECT_TRUE(kt::Failed(Z_ERROR_ARGUMENT_1, {"ZVector::RemoveElement"}));
  EXPECT_EQ(Contents(v), (std::vector<int>{1, 20, 3, 40}));
  ZOk();
  v.RemoveElement(1);
  EXPECT_EQ(Contents(v), (std::vector<int>{1, 3, 40}));
  v.RemoveElement(2);
  EXPECT_EQ(Contents(v), (std::vector<int>{1, 3}));
  v.RemoveElement(0);
  v.RemoveElement(0);
  EXPECT_EQ(v.GetNumElements(), 0u);
  EXPECT_EQ(v.GetMaxElements(), 4u);
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
}

int Greater(const int& a, const int& b) { return a > b; }

// The caller's heap sort: Sift does the down step both for building and for taking the root.
TEST(VectorSift, HeapSortBuiltOnSift) {
  std::mt19937& rng = kt::Rng();
  for (int n : {1, 2, 3, 7, 8, 33}) {
    std::vector<int> values(n);
    for (int& x : values) x = static_cast<int>(rng() % 50);
    ZVectorTemplate<int> heap;
    for (int x : values) {  // insert: sift up by hand
      heap.AddElement(x);
      int* d = heap.GetDataPtr();
      for (unsigned i = heap.GetNumElements() - 1; i > 0 && d[(i - 1) / 2] < d[i]; i = (i - 1) / 2)
        std::swap(d[i], d[(i - 1) / 2]);
    }
    std::vector<int> sorted;
    while (heap.GetNumElements() > 0) {
      sorted.push_back(heap[0]);
      const int last = heap[heap.GetNumElements() - 1];
      heap.SetNumElements(heap.GetNumElements() - 1);
      if (heap.GetNumElements() > 0) heap.Sift(last, Greater);
    }
    std::vector<int> expected = values;
    std::sort(expected.begin(), expected.end(), std::greater<int>());
    EXPECT_EQ(sorted, expected) << n;
  }
}

TEST(VectorSift, StopsWhereTheElementStandsAbove) {
  ZVectorTemplate<int> v = Filled({0, 9, 8, 3, 4, 7, 1});
  v.Sift(5, Greater);  // 9 rises to the root, 5 stops above 3 and 4
  EXPECT_EQ(Contents(v), (std::vector<int>{9, 5, 8, 3, 4, 7, 1}));
  EXPECT_EQ(v.GetNumElements(), 7u);
  ZVectorTemplate<int> empty;
  empty.Sift(1, Greater);  // no store: nothing happens
  empty.SetMaxElements(2, 1);
  empty.Sift(6, Greater);  // a store but no count: the element lands at the root
  EXPECT_EQ(empty.GetDataPtr()[0], 6);
  EXPECT_EQ(empty.GetNumElements(), 0u);
}

TEST(VectorConstructors, TemplateAndDerived) {
  ZVectorTemplate<ZBW16> cleared(5);
  EXPECT_EQ(cleared.GetNumElements(), 5u);
  EXPECT_EQ(cleared.GetMaxElements(), 5u);
  for (unsigned i = 0; i < 5; ++i) EXPECT_EQ(cleared[i], 0);

  ZBW8PathVector reserved(6);
  EXPECT_EQ(reserved.GetNumElements(), 0u);
  EXPECT_EQ(reserved.GetMaxElements(), 6u);
  EXPECT_NE(reserved.GetDataPtr(), nullptr);
  EXPECT_EQ(reserved.GetClosed(), 0);
  ZBWHistogramVector hist(256);
  EXPECT_EQ(hist.GetNumElements(), 0u);
  EXPECT_EQ(hist.GetMaxElements(), 256u);
  hist.SetNumElements(256);
  for (unsigned i = 0; i < 256; ++i) hist[i] = i + 1;
  hist.Clear();
  for (unsigned i = 0; i < 256; ++i) ASSERT_EQ(hist[i], 0u);
  EXPECT_EQ(hist.GetNumElements(), 256u);
  ZBWHistogramVector().Clear();

  // A peaks vector records the capacity only.
  ZPeaksVector peaks(4);
  EXPECT_EQ(peaks.GetMaxElements(), 4u);
  EXPECT_EQ(peaks.GetNumElements(), 0u);
  EXPECT_EQ(peaks.GetDataPtr(), nullptr);
  peaks.SetMaxElements(4, 1);
  EXPECT_EQ(peaks.GetDataPtr(), nullptr);
  peaks.SetNumElements(2);  // a count without a store: every index is refused
  ZOk();
  peaks[0];
  EXPECT_EQ(ZGetError(), Z_ERROR_ARGUMENT_1);
  peaks.Empty();
  peaks.AddElement(ZPeak{1, 2, 3.0f, 4, 5});  // an append gives it a store
  EXPECT_NE(peaks.GetDataPtr(), nullptr);
  EXPECT_EQ(peaks.GetNumElements(), 1u);
  EXPECT_EQ(peaks[0].m_n32Area, 5);
  peaks.SetMaxElements(7, 1);
  EXPECT_EQ(peaks.GetMaxElements(), 7u);

  ZBW8Vector table(256);
  EXPECT_EQ(table.GetNumElements(), 256u);
  EXPECT_EQ(table.GetUnsigned(), 1);
  table.SetUnsigned(0);
  EXPECT_EQ(table.GetUnsigned(), 0);
  EXPECT_EQ(ZBW16Vector().GetUnsigned(), 1);
  EXPECT_EQ(ZBW32Vector(3, 0).GetUnsigned(), 0);
  EXPECT_EQ(ZBW32Vector(3, 0).GetNumElements(), 3u);
  EXPECT_EQ(ZINT32Vector(2).GetNumElements(), 2u);
  EXPECT_EQ(ZC24Vector().GetMaxElements(), 0u);
  ZColorVector colours(2);
  EXPECT_EQ(colours[1].c2, 0.0f);
  colours.AddElement(ZColor(1, 2, 3));
  EXPECT_EQ(colours.GetMaxElements(), 4u);
}

TEST(VectorPlot, ExtentsMapToTheDrawing) {
  ZBWHistogramVector hist;
  hist.SetExtents(0, 255, 0, 100);
  EXPECT_EQ(hist.GetXMax(), 255.0f);
  EXPECT_EQ(hist.XView(0, 256), 0.0f);
  EXPECT_EQ(hist.XView(255, 256), 255.0f);
  EXPECT_EQ(hist.YView(100, 101), 0.0f);
  EXPECT_EQ(hist.YView(0, 101), 100.0f);
  ZPlot flat;
  EXPECT_EQ(flat.XView(3, 10), 0.0f);
}

TEST(VectorText, ElementForms) {
  std::ostringstream s;
  s << ZPeak{1, 2, 2.5f, -3, 4};
  EXPECT_EQ(s.str(),
            "( ZPeak : m_un32Start = 1 m_un32Length = 2 m_f32Center = 2.5 m_n32Amplitude = -3 "
            "m_n32Area = 4)");
  s.str("");
  s << ZPath{-1, 32767} << ZPath{0, -32768};
  EXPECT_EQ(s.str(), "( ZPath : m_n16X = -1 m_n16Y = 32767)( ZPath : m_n16X = 0 m_n16Y = -32768)");
  s.str("");
  ZBW8Path p{};
  p.m_n16X = 7;
  p.m_n16Y = 8;
  p.m_bw8Pixel = 65;
  std::ostream& back = s << p;
  EXPECT_EQ(&back, &s);
  EXPECT_EQ(s.str(), "( ZBW8Path : m_n16X = 7 m_n16Y = 8 m_bw8Pixel = A)");
  s.str("");
  s << ZPeak{4000000000u, 0, -0.125f, 0, -2147483647};
  EXPECT_EQ(s.str(),
            "( ZPeak : m_un32Start = 4000000000 m_un32Length = 0 m_f32Center = -0.125 "
            "m_n32Amplitude = 0 m_n32Area = -2147483647)");
}

}  // namespace
