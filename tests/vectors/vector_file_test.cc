// Vector files against bytes written by hand, their failures, UTF-16 paths, and Serialize.
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "support/kelmira_test.h"

namespace {

using Bytes = std::vector<uint8_t>;

std::string TempPath(const std::string& name) {
  return testing::TempDir() + "kelmira_vectors_" + std::to_string(getpid()) + "_" + name;
}

Bytes ReadBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteBytes(const std::string& path, const Bytes& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc).write(reinterpret_cast<const char*>(bytes.data()),
                                                                 static_cast<std::streamsize>(bytes.size()));
}

// Each file type: a vector built field by field, with every pad byte set to 0xEE in the store,
// and the same file written by hand (little-endian, pads as stored).
template <class T>
void Padded(ZVectorTemplate<T>& v, unsigned n) {
  v.SetNumElements(n);
  std::memset(static_cast<void*>(v.GetDataPtr()), 0xEE, n * sizeof(T));
}

struct PathFile {
  using T = ZPath;
  static void Build(ZVectorTemplate<T>& v) { v.AddElement(T{1, -2}), v.AddElement(T{300, -32768}); }
  static Bytes Hand() { return {0x5A, 6, 1, 0x5D, 2, 0, 0, 0, 1, 0, 0xFE, 0xFF, 0x2C, 0x01, 0x00, 0x80}; }
};
struct BW8PathFile {
  using T = ZBW8Path;
  static void Build(ZVectorTemplate<T>& v) {
    Padded(v, 3);
    for (unsigned i = 0; i < 3; ++i) v[i].m_n16X = int16_t(10 * i - 1), v[i].m_n16Y = int16_t(i), v[i].m_bw8Pixel = uint8_t(250 + i);
  }
  static Bytes Hand() {
    return {0x5A, 7, 1, 0x5C, 3, 0, 0, 0, 0xFF, 0xFF, 0, 0, 250, 0xEE, 9, 0, 1, 0, 251, 0xEE, 19, 0, 2, 0, 252, 0xEE};
  }
};
struct BW16PathFile {
  using T = ZBW16Path;
  static void Build(ZVectorTemplate<T>& v) { v.AddElement(T{-5, 7, ZBW16(65535)}), v.AddElement(T{0, 0, ZBW16(258)}); }
  static Bytes Hand() { return {0x5A, 11, 1, 0x50, 2, 0, 0, 0, 0xFB, 0xFF, 7, 0, 0xFF, 0xFF, 0, 0, 0, 0, 2, 1}; }
};
struct C24PathFile {
  using T = ZC24Path;
  static void Build(ZVectorTemplate<T>& v) {
    Padded(v, 2);
    for (unsigned i = 0; i < 2; ++i) v[i].m_n16X = int16_t(i + 2), v[i].m_n16Y = -3, v[i].m_c24Pixel = ZC24(1, 2, uint8_t(200 + i));
  }
  static Bytes Hand() { return {0x5A, 8, 1, 0x53, 2, 0, 0, 0, 2, 0, 0xFD, 0xFF, 1, 2, 200, 0xEE, 3, 0, 0xFD, 0xFF, 1, 2, 201, 0xEE}; }
};
struct PeakFile {
  using T = ZPeak;
  static void Build(ZVectorTemplate<T>& v) {
    v.AddElement(T{10, 4, 11.5f, -20, 300}), v.AddElement(T{0xFFFFFFFFu, 0, -0.25f, 2147483647, -1});
  }
  static Bytes Hand() {  // 11.5f is 0x41380000, -0.25f 0xBE800000
    return {0x5A, 9, 1, 0x52, 2, 0, 0, 0, 10, 0, 0, 0, 4, 0, 0, 0, 0, 0, 0x38, 0x41, 0xEC, 0xFF, 0xFF, 0xFF, 0x2C, 1, 0, 0,
            0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0x80, 0xBE, 0xFF, 0xFF, 0xFF, 0x7F, 0xFF, 0xFF, 0xFF, 0xFF};
  }
};

template <class F>
class VectorFileTyped : public testing::Test {};
using FileTypes = testing::Types<PathFile, BW8PathFile, BW16PathFile, C24PathFile, PeakFile>;
TYPED_TEST_SUITE(VectorFileTyped, FileTypes);

// Save gives the hand-written file; Load gives a store of exactly the count that saves the same
// bytes again; with no elements, an 8-byte file and a vector without a store.
TYPED_TEST(VectorFileTyped, RoundTripsAndBadFiles) {
  using T = typename TypeParam::T;
  const Bytes hand = TypeParam::Hand();
  const std::string path = TempPath("round");
  const unsigned count = unsigned(hand.size() - 8) / sizeof(T);
  const auto holds = [&](const ZVectorTemplate<T>& v, unsigned n) {
    return v.GetNumElements() == n && std::memcmp(v.GetDataPtr(), hand.data() + 8, n * sizeof(T)) == 0;
  };
  const auto load = [&](ZVectorTemplate<T>& v, const Bytes& bytes) { WriteBytes(path, bytes), ZOk(), v.Load(path.c_str()); };
  ZVectorTemplate<T> built, loaded(7), empty;
  TypeParam::Build(built);
  ZOk();
  built.Save(path.c_str());
  EXPECT_TRUE(ZGetError() == Z_ERROR_NONE && ReadBytes(path) == hand);
  load(loaded, hand);
  EXPECT_TRUE(kt::Failed(Z_ERROR_NONE, {}));
  EXPECT_TRUE(holds(loaded, count) && loaded.GetMaxElements() == count);
  std::remove(path.c_str());
  loaded.Save(path.c_str());
  EXPECT_EQ(ReadBytes(path), hand);
  // Refused files and the elements left: another type's or type 0, a header that differs in any
  // byte (a version 2 with its check byte right too), cut short anywhere (inside the second element
  // the first is kept), and a count of four thousand million, which costs the memory of what is there.
  const auto changed = [&](int at, uint8_t value) {
    Bytes b = hand;
    b[at] = value, b[3] = at == 2 ? uint8_t(b[0] ^ b[1] ^ b[2]) : b[3];
    return b;
  };
  const auto cut = [&](size_t size) { return Bytes(hand.begin(), hand.begin() + size); };
  Bytes hostile = hand;
  std::fill(hostile.begin() + 4, hostile.begin() + 8, 0xFF);
  const std::tuple<Bytes, Z_ERRORS, int> files[] = {
      {std::is_same_v<T, ZPeak> ? PathFile::Hand() : PeakFile::Hand(), Z_ERROR_FILE_SIGNATURE, int(count)},
      {changed(0, 0x5B), Z_ERROR_FILE_SIGNATURE, int(count)}, {changed(1, hand[1] ^ 1), Z_ERROR_FILE_SIGNATURE, int(count)},
      {changed(2, 2), Z_ERROR_FILE_SIGNATURE, int(count)},    {changed(3, hand[3] ^ 1), Z_ERROR_FILE_SIGNATURE, int(count)},
      {cut(0), Z_ERROR_FILE_READ, -1}, {cut(1), Z_ERROR_FILE_READ, -1}, {cut(3), Z_ERROR_FILE_READ, -1},
      {cut(4), Z_ERROR_FILE_READ, -1}, {cut(6), Z_ERROR_FILE_READ, -1}, {cut(7), Z_ERROR_FILE_READ, -1},
      {cut(8 + sizeof(T) + sizeof(T) / 2), Z_ERROR_FILE_READ, 1}, {hostile, Z_ERROR_FILE_READ, int(count)},
      {{0x5A, 0, 1, 0x5B, 0, 0, 0, 0}, Z_ERROR_FILE_SIGNATURE, int(count)}};  // type 0, its check byte right
  for (const auto& [bytes, error, left] : files) {
    load(loaded, bytes);
    EXPECT_TRUE(kt::Failed(error, {"ZVector::Load"})) << bytes.size() << " bytes";
    EXPECT_TRUE(left < 0 || holds(loaded, unsigned(left))) << bytes.size() << " bytes";
  }
  EXPECT_LE(loaded.GetMaxElements(), count + 1);
  empty.Save(path.c_str());
  Bytes eight = cut(4);
  eight.resize(8, 0);
  EXPECT_EQ(ReadBytes(path), eight);
  ZOk();
  loaded.Load(path.c_str());
  EXPECT_TRUE(ZGetError() == Z_ERROR_NONE && loaded.GetMaxElements() == 0u && loaded.GetDataPtr() == nullptr);
  std::remove(path.c_str());
}

TEST(VectorFile, OpenWriteAndCloseFailures) {
  ZPathVector v, big;
  PathFile::Build(v);
  const std::string missing = TempPath("no/such/dir/file");
  const std::pair<std::function<void()>, std::vector<std::string>> cases[] = {
      {[&] { v.Load(missing.c_str()); }, {"ZVector::Load"}},
      {[&] { v.Save(missing.c_str()); }, {"ZVector::Save"}},
      {[&] { v.Load(static_cast<const char*>(nullptr)); }, {"ZVector::Load"}},
      {[&] { v.Save(static_cast<const unsigned short*>(nullptr)); }, {"ZVector::Save ( Unicode)"}}};
  for (const auto& [call, trace] : cases) {
    ZOk(), call();
    EXPECT_TRUE(kt::Failed(Z_ERROR_FILE_OPEN, trace));
    EXPECT_EQ(v.GetNumElements(), 2u);
  }
  ZOk(), v.Load(testing::TempDir().c_str());  // a directory opens for reading on this platform, and reads nothing
  EXPECT_TRUE(kt::Failed(Z_ERROR_FILE_READ, {"ZVector::Load"}));
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full";
  // A small file fits the stream's buffer: the failure shows at the close; a large one fails in the body.
  ZOk(), v.Save("/dev/full");
  EXPECT_TRUE(kt::Failed(Z_ERROR_FILE_CLOSE, {"ZVector::Save"}));
  big.SetNumElements(100000);
  std::memset(big.GetDataPtr(), 0, 400000);
  ZOk(), big.Save("/dev/full");
  EXPECT_TRUE(kt::Failed(Z_ERROR_FILE_WRITE, {"ZVector::Save"}));
}

// The closed flag of a path is neither saved nor loaded.
TEST(VectorFile, Utf16PathsBecomeUtf8AndTheClosedFlagStaysOut) {
  // "vé😀.bin": one two-byte and one four-byte UTF-8 sequence.
  const std::string stem = TempPath("v"), narrow = stem + "\xC3\xA9\xF0\x9F\x98\x80.bin";
  std::vector<unsigned short> wide(stem.begin(), stem.end());
  wide.insert(wide.end(), {0x00E9, 0xD83D, 0xDE00, '.', 'b', 'i', 'n', 0});
  ZC24PathVector v, back;
  C24PathFile::Build(v);
  v.SetClosed(1), back.SetClosed(-1);
  ZOk();
  v.Save(wide.data());
  EXPECT_TRUE(ZGetError() == Z_ERROR_NONE && ReadBytes(narrow) == C24PathFile::Hand());
  back.Load(wide.data());
  EXPECT_TRUE(ZGetError() == Z_ERROR_NONE && back.GetNumElements() == 2u && back.GetClosed() == -1);
  std::remove(narrow.c_str());
  ZOk();
  back.Load(wide.data());
  EXPECT_TRUE(kt::Failed(Z_ERROR_FILE_OPEN, {"ZVector::Load ( Unicode)"}));
}

// Bodies without a header, for the types that a foreign format embeds; the version is ignored.
TEST(VectorSerialize, BodiesAndVersions) {
  ZBWHistogramVector hist(4);
  hist.SetNumElements(3);
  hist[0] = 1, hist[1] = 0x01020304, hist[2] = 0xFFFFFFFF;
  const Bytes expected = {3, 0, 0, 0, 1, 0, 0, 0, 4, 3, 2, 1, 0xFF, 0xFF, 0xFF, 0xFF};
  for (unsigned version : {0u, 1u, 77u, 0xFFFFFFFFu}) {
    char buffer[64] = {};
    FILE* f = fmemopen(buffer, sizeof buffer, "w+b");
    ASSERT_NE(f, nullptr);
    ZOk();
    hist.Serialize(f, 1, version);
    EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
    std::fflush(f);
    EXPECT_EQ(Bytes(buffer, buffer + 16), expected) << version;
    std::rewind(f);
    ZBWHistogramVector back;
    back.Serialize(f, 0, version);
    EXPECT_TRUE(ZGetError() == Z_ERROR_NONE && back.GetNumElements() == 3u && back.GetMaxElements() == 3u &&
                back[1] == 0x01020304u);
    std::fclose(f);
  }
  // A stream of unknown size with a hostile count: memory grows with what is read; the same
  // stream with its true count: the capacity is exactly the count.
  Bytes body = {0xF0, 0xFF, 0xFF, 0xFF};
  for (int i = 0; i < 5000; ++i) body.push_back(static_cast<uint8_t>(i));
  ZVectorTemplate<ZBW8> bytes;
  for (const bool hostile : {true, false}) {
    if (!hostile) body[0] = 0x88, body[1] = 0x13, body[2] = body[3] = 0;  // 5000
    FILE* f = fmemopen(body.data(), body.size(), "rb");
    ASSERT_NE(f, nullptr);
    ZOk();
    bytes.Serialize(f, 0, 1);
    EXPECT_TRUE(kt::Failed(hostile ? Z_ERROR_FILE_READ : Z_ERROR_NONE, {}));
    ASSERT_EQ(bytes.GetNumElements(), 5000u);
    EXPECT_LE(bytes.GetMaxElements(), hostile ? 2u * 5000u + 4096u : 5000u);
    EXPECT_EQ(bytes[4999], static_cast<uint8_t>(4999));
    std::fclose(f);
  }
  ZOk();
  bytes.Serialize(nullptr, 0, 1);
  EXPECT_EQ(ZGetError(), Z_ERROR_FILE_READ);
  bytes.Serialize(nullptr, 1, 1);
  EXPECT_EQ(ZGetError(), Z_ERROR_FILE_WRITE);
}

}  // namespace
