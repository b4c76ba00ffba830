// The growable vector: growth, capacity, copies, bounds, the heap step, derived vectors, text forms.
#include <algorithm>
#include <memory>
#include <sstream>

#include "support/kelmira_test.h"

namespace {

using Ints = std::vector<int>;

Ints Contents(const ZVectorTemplate<int>& v) { return Ints(v.GetDataPtr(), v.GetDataPtr() + v.GetNumElements()); }

std::tuple<unsigned, unsigned, Ints> State(const ZVectorTemplate<int>& v) {
  return {v.GetNumElements(), v.GetMaxElements(), Contents(v)};
}

ZVectorTemplate<int> Filled(std::initializer_list<int> values) {
  ZVectorTemplate<int> v;
  for (int x : values) v.AddElement(x);
  return v;
}

// A step on a vector and what it must leave: count, capacity, the first elements, the error and the trace.
struct Step {
  std::function<void(ZVectorTemplate<int>&)> op;
  unsigned count, capacity;
  Ints first;
  int error = Z_ERROR_NONE;
  std::vector<std::string> trace = {};
};

void Play(ZVectorTemplate<int>& v, const std::vector<Step>& steps) {
  for (size_t i = 0; i < steps.size(); ++i) {
    SCOPED_TRACE(testing::Message() << "step " << i);
    ZOk();
    steps[i].op(v);
    EXPECT_TRUE(kt::Failed(steps[i].error, steps[i].trace));
    EXPECT_TRUE(v.GetNumElements() == steps[i].count && v.GetMaxElements() == steps[i].capacity)
        << v.GetNumElements() << " of " << v.GetMaxElements();
    const Ints got = Contents(v);
    EXPECT_EQ(Ints(got.begin(), got.begin() + std::min(got.size(), steps[i].first.size())), steps[i].first);
  }
}

TEST(VectorGrowth, AppendingDoublesTheCapacity) {
  ZVectorTemplate<int> v;
  EXPECT_TRUE(State(v) == std::make_tuple(0u, 0u, Ints{}) && v.GetDataPtr() == nullptr);
  std::vector<unsigned> caps;
  for (int i = 0; i < 9; ++i) v.AddElement(i * 10), caps.push_back(v.GetMaxElements());
  EXPECT_TRUE(caps == std::vector<unsigned>({1, 2, 4, 4, 8, 8, 8, 8, 16}) && Contents(v) == Ints({0, 10, 20, 30, 40, 50, 60, 70, 80}));
  ZVectorTemplate<ZPath> three;
  ZPath p{1, 2};
  three.AddElementByRef(p), three.AddElementByRef(p), three.AddElement(ZPath{3, 4});
  EXPECT_TRUE(three.GetNumElements() == 3u && three.GetMaxElements() == 4u && three[2].m_n16X == 3);
  // Only an append that grows clears a pending error.
  ZVectorTemplate<int> w;
  Play(w, {{[](auto& w) { w.SetMaxElements(2, 1), ZSetError(Z_ERROR_INTERNAL), w.AddElement(1), w.AddElement(2); }, 2, 2,
            {1, 2}, Z_ERROR_INTERNAL},
           {[](auto& w) { ZSetError(Z_ERROR_INTERNAL), w.AddElement(3); }, 3, 4, {1, 2, 3}}});
}

// The present capacity does nothing, whatever keep says; shrinking with keep cuts the count,
// growing with keep keeps the elements; without keep the count goes to 0; 0 releases the store.
// SetNumElements grows exactly and never shrinks; the old values come back.
TEST(VectorCapacity, SetMaxAndSetNumElements) {
  ZVectorTemplate<int> v = Filled({5, 6, 7}), w = Filled({1, 2, 3, 4, 5});
  int* store = v.GetDataPtr();
  Play(v, {{[&](auto& v) { v.SetMaxElements(4, 0); EXPECT_EQ(v.GetDataPtr(), store); }, 3, 4, {5, 6, 7}},
          {[](auto& v) { v.SetMaxElements(2, 1); }, 2, 2, {5, 6}},
          {[](auto& v) { v.SetMaxElements(10, 1); }, 2, 10, {5, 6}},
          {[](auto& v) { v.SetMaxElements(3, 0); EXPECT_NE(v.GetDataPtr(), nullptr); }, 0, 3, {}},
          {[](auto& v) { v.SetMaxElements(0, 1); EXPECT_EQ(v.GetDataPtr(), nullptr); }, 0, 0, {}}});
  Play(w, {{[](auto& w) { w.SetNumElements(2); }, 2, 8, {1, 2}},
          {[](auto& w) { w.SetNumElements(5); }, 5, 8, {1, 2, 3, 4, 5}},
          {[](auto& w) { w.SetNumElements(13); }, 13, 13, {1, 2, 3, 4, 5}},
          {[](auto& w) { w.Empty(); }, 0, 13, {}}});
}

TEST(VectorCopy, CopyToConstructorAndAssignment) {
  ZVectorTemplate<int> src = Filled({1, 2, 3}), big(10), same, empty;  // src: capacity 4
  EXPECT_TRUE(src.CopyTo(&src) == &src && State(src) == std::make_tuple(3u, 4u, Ints{1, 2, 3}));
  EXPECT_EQ(src.CopyTo(&big), &big);  // sized to the source count
  EXPECT_EQ(State(big), std::make_tuple(3u, 3u, Ints{1, 2, 3}));
  same.SetMaxElements(3, 1);
  int* store = same.GetDataPtr();
  src.CopyTo(&same);  // capacity equal to the count: the store is reused
  EXPECT_TRUE(same.GetDataPtr() == store && Contents(same) == Ints({1, 2, 3}));
  const std::unique_ptr<ZVectorTemplate<int>> fresh(src.CopyTo(nullptr));
  EXPECT_TRUE(fresh && State(*fresh) == std::make_tuple(3u, 3u, Ints{1, 2, 3}));
  empty.SetMaxElements(6, 1);
  empty.CopyTo(&big);
  EXPECT_TRUE(State(big) == std::make_tuple(0u, 0u, Ints{}) && big.GetDataPtr() == nullptr);
  const ZVectorTemplate<int> five = Filled({4, 5, 6, 7, 8});
  ZVectorTemplate<int> copy(five), assigned = Filled({1});
  assigned = five;
  const auto exact = std::make_tuple(5u, 5u, Ints{4, 5, 6, 7, 8});  // capacity the count
  EXPECT_TRUE(State(copy) == exact && State(assigned) == exact && copy.GetDataPtr() != five.GetDataPtr());
  ZPathVector closed, open;
  closed.SetClosed(1);
  closed.AddElement(ZPath{1, 1});
  closed.CopyTo(&open);
  EXPECT_TRUE(open.GetNumElements() == 1u && open.GetClosed() == 0);
}

// operator[] out of range gives one static element per type; GetElement and RemoveElement
// refuse; SetElement past the count but inside the store reports and stores anyway.
TEST(VectorBounds, IndexGetSetAndRemove) {
  const std::vector<std::string> index = {"ZVector::operator[]"}, remove = {"ZVector::RemoveElement"};
  ZVectorTemplate<int> v = Filled({1, 2, 3}), other;  // capacity 4
  ZVectorTemplate<ZPeak> peaks;
  int* bad = nullptr;
  Play(v, {{[&](auto& v) { bad = &v[3], *bad = 77; }, 3, 4, {1, 2, 3}, Z_ERROR_ARGUMENT_1, index},
          {[&](auto& v) { EXPECT_EQ(&v[0xFFFFFFFFu], bad); }, 3, 4, {1, 2, 3}, Z_ERROR_ARGUMENT_1, index},
          {[&](auto&) { EXPECT_EQ(&other[0], bad); }, 3, 4, {1, 2, 3}, Z_ERROR_ARGUMENT_1, index},
          {[&](auto&) { peaks[3].m_n32Area = 9; }, 3, 4, {1, 2, 3}, Z_ERROR_ARGUMENT_1, index},
          {[](auto& v) { v.GetElement(-1); }, 3, 4, {1, 2, 3}, Z_ERROR_ARGUMENT_1, index},
          {[](auto& v) { v.GetElement(3); }, 3, 4, {1, 2, 3}, Z_ERROR_ARGUMENT_1, index},
          {[](auto& v) { EXPECT_TRUE(v.GetElement(2) == 3 && v[1] == 2); v.SetElement(1, 20); }, 3, 4, {1, 20, 3}},
          {[](auto& v) { v.SetElement(3, 40); }, 3, 4, {1, 20, 3}, Z_ERROR_ARGUMENT_1, index},
          {[](auto& v) { v.SetNumElements(4); }, 4, 4, {1, 20, 3, 40}},
          {[](auto& v) { v.SetElement(4, 50); }, 4, 4, {1, 20, 3, 40}, Z_ERROR_ARGUMENT_1, index},  // beyond the store
          {[](auto& v) { v.SetElement(-1, 50); }, 4, 4, {1, 20, 3, 40}, Z_ERROR_ARGUMENT_1, index},
          {[](auto& v) { v.RemoveElement(4); }, 4, 4, {1, 20, 3, 40}, Z_ERROR_ARGUMENT_1, remove},
          {[](auto& v) { v.RemoveElement(1); }, 3, 4, {1, 3, 40}},
          {[](auto& v) { v.RemoveElement(2); }, 2, 4, {1, 3}},
          {[](auto& v) { v.RemoveElement(0), v.RemoveElement(0); }, 0, 4, {}}});
}

int Greater(const int& a, const int& b) { return a > b; }

// Sift is the down step of a heap: the new element sinks from the root under larger children.
TEST(VectorSift, DownStep) {
  ZVectorTemplate<int> v = Filled({0, 9, 8, 3, 4, 7, 1}), empty;
  v.Sift(5, Greater);  // 9 rises to the root, 5 stops above 3 and 4
  EXPECT_EQ(State(v), std::make_tuple(7u, 8u, Ints{9, 5, 8, 3, 4, 7, 1}));
  empty.Sift(1, Greater);  // no store: nothing happens
  empty.SetMaxElements(2, 1);
  empty.Sift(6, Greater);  // a store but no count: the element lands at the root
  EXPECT_TRUE(empty.GetDataPtr()[0] == 6 && empty.GetNumElements() == 0u);
}

// What each constructor sets: count and capacity, the store, the unsigned flag.
TEST(VectorConstructors, TemplateAndDerived) {
  ZVectorTemplate<ZBW16> cleared(5);
  ZBW8PathVector reserved(6);
  ZBWHistogramVector hist(256);
  ZBW8Vector table(256);
  EXPECT_TRUE(cleared.GetNumElements() == 5u && cleared.GetMaxElements() == 5u && cleared[4] == 0);
  EXPECT_TRUE(reserved.GetNumElements() == 0u && reserved.GetMaxElements() == 6u && reserved.GetDataPtr() && !reserved.GetClosed());
  EXPECT_TRUE(hist.GetNumElements() == 0u && hist.GetMaxElements() == 256u);
  EXPECT_TRUE(table.GetNumElements() == 256u && table.GetUnsigned() == 1 && ZBW16Vector().GetUnsigned() == 1);
  EXPECT_TRUE(ZBW32Vector(3, 0).GetUnsigned() == 0 && ZBW32Vector(3, 0).GetNumElements() == 3u &&
              ZINT32Vector(2).GetNumElements() == 2u && ZC24Vector().GetMaxElements() == 0u);
  hist.SetNumElements(256);
  for (unsigned i = 0; i < 256; ++i) hist[i] = i + 1;
  hist.Clear();
  EXPECT_TRUE(hist.GetNumElements() == 256u && std::all_of(hist.GetDataPtr(), hist.GetDataPtr() + 256, [](uint32_t b) { return !b; }));
  ZBWHistogramVector().Clear();
  // A peaks vector records the capacity only; a count without a store refuses every index; an
  // append gives it a store.
  ZPeaksVector peaks(4);
  peaks.SetMaxElements(4, 1);
  EXPECT_TRUE(peaks.GetMaxElements() == 4u && peaks.GetNumElements() == 0u && peaks.GetDataPtr() == nullptr);
  peaks.SetNumElements(2);
  ZOk();
  peaks[0];
  EXPECT_EQ(ZGetError(), Z_ERROR_ARGUMENT_1);
  peaks.Empty();
  peaks.AddElement(ZPeak{1, 2, 3.0f, 4, 5});
  EXPECT_TRUE(peaks.GetDataPtr() != nullptr && peaks.GetNumElements() == 1u && peaks[0].m_n32Area == 5);
  ZColorVector colours(2);
  colours.AddElement(ZColor(1, 2, 3));
  EXPECT_TRUE(colours[1].c2 == 0.0f && colours.GetMaxElements() == 4u);
  // The extents map to the drawing.
  hist.SetExtents(0, 255, 0, 100);
  EXPECT_TRUE(hist.GetXMax() == 255.0f && hist.XView(0, 256) == 0.0f && hist.XView(255, 256) == 255.0f);
  EXPECT_TRUE(hist.YView(100, 101) == 0.0f && hist.YView(0, 101) == 100.0f && ZPlot().XView(3, 10) == 0.0f);
}

TEST(VectorText, ElementForms) {
  std::ostringstream s;
  ZBW8Path p{};
  p.m_n16X = 7, p.m_n16Y = 8, p.m_bw8Pixel = 65;
  EXPECT_EQ(&(s << p), &s);
  s << ZPath{-1, 32767} << ZPath{0, -32768} << ZPeak{1, 2, 2.5f, -3, 4} << ZPeak{4000000000u, 0, -0.125f, 0, -2147483647};
  EXPECT_EQ(s.str(),
            "( ZBW8Path : m_n16X = 7 m_n16Y = 8 m_bw8Pixel = A)"
            "( ZPath : m_n16X = -1 m_n16Y = 32767)( ZPath : m_n16X = 0 m_n16Y = -32768)"
            "( ZPeak : m_un32Start = 1 m_un32Length = 2 m_f32Center = 2.5 m_n32Amplitude = -3 m_n32Area = 4)"
            "( ZPeak : m_un32Start = 4000000000 m_un32Length = 0 m_f32Center = -0.125 m_n32Amplitude = 0 "
            "m_n32Area = -2147483647)");
}

}  // namespace
