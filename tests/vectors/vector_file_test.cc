// The file form of the vectors: files written by hand byte for byte, round trips of the five
// types, refusal of foreign headers, short and hostile files, open, write and close failures,
// UTF-16 paths, and the bare bodies of Serialize.
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "support/kelmira_test.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Strings = std::vector<std::string>;

std::string TempPath(const std::string& name) {
  return testing::TempDir() + "kelmira_vectors_" + std::to_string(getpid()) + "_" + name;
}

Bytes ReadBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteBytes(const std::string& path, const Bytes& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void Put16(Bytes& b, uint16_t v) {
  b.push_back(static_cast<uint8_t>(v));
  b.push_back(static_cast<uint8_t>(v >> 8));
}
void Put32(Bytes& b, uint32_t v) {
  Put16(b, static_cast<uint16_t>(v));
  Put16(b, static_cast<uint16_t>(v >> 16));
}
void PutFloat(Bytes& b, float f) {
  uint32_t bits;
  std::memcpy(&bits, &f, 4);
  Put32(b, bits);
}

// Each file type: a vector of two or three elements built field by field, with every pad byte
// set to 0xEE in the store, and the same file written by hand.
struct PathFile {
  using T = ZPath;
  static void Build(ZVectorTemplate<T>& v) {
    v.AddElement(T{1, -2});
    v.AddElement(T{300, -32768});
  }
  static Bytes Hand() {
    Bytes b{0x5A, 6, 1, 0x5D};
    Put32(b, 2);
    Put16(b, 1), Put16(b, 0xFFFE), Put16(b, 300), Put16(b, 0x8000);
    return b;
  }
};
struct BW8PathFile {
  using T = ZBW8Path;
  static void Build(ZVectorTemplate<T>& v) {
    v.SetNumElements(3);
    std::memset(static_cast<void*>(v.GetDataPtr()), 0xEE, 3 * sizeof(T));
    for (unsigned i = 0; i < 3; ++i) {
      v[i].m_n16X = static_cast<int16_t>(10 * i - 1);
      v[i].m_n16Y = static_cast<int16_t>(i);
      v[i].m_bw8Pixel = static_cast<uint8_t>(250 + i);
    }
  }
  static Bytes Hand() {
    Bytes b{0x5A, 7, 1, 0x5C};
    Put32(b, 3);
    for (int i = 0; i < 3; ++i) {
      Put16(b, static_cast<uint16_t>(10 * i - 1)), Put16(b, static_cast<uint16_t>(i));
      b.push_back(static_cast<uint8_t>(250 + i)), b.push_back(0xEE);
    }
    return b;
  }
};
struct BW16PathFile {
  using T = ZBW16Path;
  static void Build(ZVectorTemplate<T>& v) {
    v.AddElement(T{-5, 7, ZBW16(65535)});
    v.AddElement(T{0, 0, ZBW16(258)});
  }
  static Bytes Hand() {
    Bytes b{0x5A, 11, 1, 0x50};
    Put32(b, 2);
    Put16(b, 0xFFFB), Put16(b, 7), Put16(b, 65535);
    Put16(b, 0), Put16(b, 0), Put16(b, 258);
    return b;
  }
};
struct C24PathFile {
  using T = ZC24Path;
  static void Build(ZVectorTemplate<T>& v) {
    v.SetNumElements(2);
    std::memset(static_cast<void*>(v.GetDataPtr()), 0xEE, 2 * sizeof(T));
    for (unsigned i = 0; i < 2; ++i) {
      v[i].m_n16X = static_cast<int16_t>(i + 2);
      v[i].m_n16Y = -3;
      v[i].m_c24Pixel = ZC24(1, 2, static_cast<uint8_t>(200 + i));
    }
  }
  static Bytes Hand() {
    Bytes b{0x5A, 8, 1, 0x53};
    Put32(b, 2);
    for (int i = 0; i < 2; ++i) {
      Put16(b, static_cast<uint16_t>(i + 2)), Put16(b, 0xFFFD);
      b.insert(b.end(), {1, 2, static_cast<uint8_t>(200 + i), 0xEE});
    }
    return b;
  }
};
struct PeakFile {
  using T = ZPeak;
  static void Build(ZVectorTemplate<T>& v) {
    v.AddElement(T{10, 4, 11.5f, -20, 300});
    v.AddElement(T{0xFFFFFFFFu, 0, -0.25f, 2147483647, -1});
  }
  static Bytes Hand() {
    Bytes b{0x5A, 9, 1, 0x52};
    Put32(b, 2);
    Put32(b, 10), Put32(b, 4), PutFloat(b, 11.5f), Put32(b, static_cast<uint32_t>(-20)), Put32(b, 300);
    Put32(b, 0xFFFFFFFFu), Put32(b, 0), PutFloat(b, -0.25f), Put32(b, 2147483647), Put32(b, 0xFFFFFFFFu);
    return b;
  }
};

template <class F>
class VectorFileTyped : public testing::Test {};
using FileTypes = testing::Types<PathFile, BW8PathFile, BW16PathFile, C24PathFile, PeakFile>;
TYPED_TEST_SUITE(VectorFileTyped, FileTypes);

TYPED_TEST(VectorFileTyped, RoundTripMatchesTheHandWrittenFile) {
  using T = typename TypeParam::T;
  const Bytes hand = TypeParam::Hand();
  const std::string path = TempPath("round");

  ZVectorTemplate<T> built;
  TypeParam::Build(built);
  ZOk();
  built.Save(path.c_str());
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  EXPECT_EQ(ReadBytes(path), hand);

  WriteBytes(path, hand);
  ZVectorTemplate<T> loaded(7);  // a larger store is replaced by one of exactly the count
  loaded.Load(path.c_str());
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  EXPECT_EQ(ZGetTraceCount(), 0);
  const unsigned count = (hand.size() - 8) / sizeof(T);
  ASSERT_EQ(loaded.GetNumElements(), count);
  EXPECT_EQ(loaded.GetMaxElements(), count);
  EXPECT_EQ(std::memcmp(loaded.GetDataPtr(), hand.data() + 8, hand.size() - 8), 0);

  // Saved again, pad bytes and all, the file is the same.
  std::remove(path.c_str());
  loaded.Save(path.c_str());
  EXPECT_EQ(ReadBytes(path), hand);

  // The header is refused if any one of its bytes differs, the vector unchanged.
  for (int at = 0; at < 4; ++at) {
    Bytes bad = hand;
    bad[at] ^= (at == 2 ? 0x03 : 0x01);
    if (at == 2) bad[3] = static_cast<uint8_t>(bad[0] ^ bad[1] ^ bad[2]);  // version 2, checked
    WriteBytes(path, bad);
    ZOk();
    loaded.Load(path.c_str());
    EXPECT_TRUE(kt::Failed(Z_ERROR_FILE_SIGNATURE, {"ZVector::Load"})) << at;
    EXPECT_EQ(loaded.GetNumElements(), count);
    EXPECT_EQ(std::memcmp(loaded.GetDataPtr(), hand.data() + 8, hand.size() - 8), 0);
  }
  std::remove(path.c_str());
}

TYPED_TEST(VectorFileTyped, EmptyAndShortFiles) {
  using T = typename TypeParam::T;
  const Bytes hand = TypeParam::Hand();
  const std::string path = TempPath("short");

  // No elements: an 8-byte file, and a vector with no store after loading it.
  ZVectorTemplate<T> empty;
  empty.Save(path.c_str());
  Bytes eight(hand.begin(), hand.begin() + 4);
  Put32(eight, 0);
  EXPECT_EQ(ReadBytes(path), eight);
  ZVectorTemplate<T> v;
  TypeParam::Build(v);
  v.Load(path.c_str());
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  EXPECT_EQ(v.GetNumElements(), 0u);
  EXPECT_EQ(v.GetMaxElements(), 0u);
  EXPECT_EQ(v.GetDataPtr(), nullptr);

  // Cut anywhere short of the whole header and count: 1103.
  for (size_t size : {0, 1, 3, 4, 6, 7}) {
    WriteBytes(path, Bytes(hand.begin(), hand.begin() + size));
    ZOk();
    v.Load(path.c_str());
    EXPECT_TRUE(kt::Failed(Z_ERROR_FILE_READ, {"ZVector::Load"})) << size;
  }

  // Cut inside the second element: the first is kept, then 1103.
  WriteBytes(path, Bytes(hand.begin(), hand.begin() + 8 + sizeof(T) + sizeof(T) / 2));
  ZOk();
  v.Load(path.c_str());
  EXPECT_TRUE(kt::Failed(Z_ERROR_FILE_READ, {"ZVector::Load"}));
  ASSERT_EQ(v.GetNumElements(), 1u);
  EXPECT_EQ(std::memcmp(v.GetDataPtr(), hand.data() + 8, sizeof(T)), 0);

  // A count that promises four thousand million elements costs the memory of what is there.
  Bytes hostile = hand;
  hostile[4] = hostile[5] = hostile[6] = hostile[7] = 0xFF;
  WriteBytes(path, hostile);
  ZOk();
  v.Load(path.c_str());
  EXPECT_EQ(ZGetError(), Z_ERROR_FILE_READ);
  const unsigned count = (hand.size() - 8) / sizeof(T);
  EXPECT_EQ(v.GetNumElements(), count);
  EXPECT_LE(v.GetMaxElements(), count + 1);
  EXPECT_EQ(std::memcmp(v.GetDataPtr(), hand.data() + 8, hand.size() - 8), 0);
  std::remove(path.c_str());
}

TEST(VectorFile, ForeignTypeIsRefusedAndTheVectorKept) {
  const std::string path = TempPath("foreign");
  WriteBytes(path, PathFile::Hand());
  ZVectorTemplate<ZPeak> peaks;
  PeakFile::Build(peaks);
  ZPeak* store = peaks.GetDataPtr();
  ZOk();
  peaks.Load(path.c_str());
  EXPECT_TRUE(kt::Failed(Z_ERROR_FILE_SIGNATURE, {"ZVector::Load"}));
  EXPECT_EQ(peaks.GetDataPtr(), store);
  EXPECT_EQ(peaks.GetNumElements(), 2u);
  EXPECT_EQ(peaks[1].m_n32Amplitude, 2147483647);

  // A header with a zero byte where the type should be.
  WriteBytes(path, Bytes{0x5A, 0, 1, 0x5B, 0, 0, 0, 0});
  ZOk();
  peaks.Load(path.c_str());
  EXPECT_EQ(ZGetError(), Z_ERROR_FILE_SIGNATURE);
  std::remove(path.c_str());
}

TEST(VectorFile, OpenWriteAndCloseFailures) {
  ZPathVector v;
  PathFile::Build(v);
  const std::string missing = TempPath("no/such/dir/file");
  ZOk();
  v.Load(missing.c_str());
  EXPECT_TRUE(kt::Failed(Z_ERROR_FILE_OPEN, {"ZVector::Load"}));
  EXPECT_EQ(v.GetNumElements(), 2u);
  ZOk();
  v.Save(missing.c_str());
  EXPECT_TRUE(kt::Failed(Z_ERROR_FILE_OPEN, {"ZVector::Save"}));
  ZOk();
  v.Load(static_cast<const char*>(nullptr));
  EXPECT_EQ(ZGetError(), Z_ERROR_FILE_OPEN);
  ZOk();
  v.Save(static_cast<const unsigned short*>(nullptr));
  EXPECT_TRUE(kt::Failed(Z_ERROR_FILE_OPEN, {"ZVector::Save ( Unicode)"}));

  // A directory opens for reading on this platform, and reads nothing.
  ZOk();
  v.Load(testing::TempDir().c_str());
  EXPECT_TRUE(kt::Failed(Z_ERROR_FILE_READ, {"ZVector::Load"}));

  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full";
  // A small file fits the stream's buffer: the failure shows at the close.
  ZOk();
  v.Save("/dev/full");
  EXPECT_TRUE(kt::Failed(Z_ERROR_FILE_CLOSE, {"ZVector::Save"}));
  // A large one fails in the body.
  ZPathVector big;
  big.SetNumElements(100000);
  std::memset(big.GetDataPtr(), 0, 400000);
  ZOk();
  big.Save("/dev/full");
  EXPECT_TRUE(kt::Failed(Z_ERROR_FILE_WRITE, {"ZVector::Save"}));
}

TEST(VectorFile, Utf16PathsBecomeUtf8) {
  // "vé😀.bin": one two-byte and one four-byte UTF-8 sequence.
  const std::string stem = TempPath("v");
  std::vector<unsigned short> wide(stem.begin(), stem.end());
  wide.insert(wide.end(), {0x00E9, 0xD83D, 0xDE00, '.', 'b', 'i', 'n', 0});
  const std::string narrow = stem + "\xC3\xA9\xF0\x9F\x98\x80.bin";

  ZC24PathVector v;
  C24PathFile::Build(v);
  ZOk();
  v.Save(wide.data());
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  EXPECT_EQ(ReadBytes(narrow), C24PathFile::Hand());
  ZC24PathVector back;
  back.Load(wide.data());
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  EXPECT_EQ(back.GetNumElements(), 2u);
  std::remove(narrow.c_str());

  ZOk();
  back.Load(wide.data());
  EXPECT_TRUE(kt::Failed(Z_ERROR_FILE_OPEN, {"ZVector::Load ( Unicode)"}));
}

TEST(VectorFile, ClosedFlagIsNeitherSavedNorLoaded) {
  const std::string open = TempPath("open"), closed = TempPath("closed");
  ZBW16PathVector a, b;
  BW16PathFile::Build(a);
  BW16PathFile::Build(b);
  b.SetClosed(1);
  a.Save(open.c_str());
  b.Save(closed.c_str());
  EXPECT_EQ(ReadBytes(open), ReadBytes(closed));
  ZBW16PathVector c;
  c.SetClosed(1);
  c.Load(open.c_str());
  EXPECT_EQ(c.GetClosed(), 1);
  EXPECT_EQ(c.GetNumElements(), 2u);

  // A peaks vector whose capacity was only recorded loads as any other.
  ZPeaksVector peaks(2);
  WriteBytes(open, PeakFile::Hand());
  ZOk();
  peaks.Load(open.c_str());
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  ASSERT_EQ(peaks.GetNumElements(), 2u);
  EXPECT_EQ(peaks[0].m_f32Center, 11.5f);
  std::remove(open.c_str());
  std::remove(closed.c_str());
}

// Bodies without a header, for the types that a foreign format embeds.
TEST(VectorSerialize, BodiesAndVersions) {
  ZBWHistogramVector hist(4);
  hist.SetNumElements(3);
  hist[0] = 1, hist[1] = 0x01020304, hist[2] = 0xFFFFFFFF;
  Bytes expected;
  Put32(expected, 3), Put32(expected, 1), Put32(expected, 0x01020304), Put32(expected, 0xFFFFFFFF);
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
    EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
    ASSERT_EQ(back.GetNumElements(), 3u);
    EXPECT_EQ(back.GetMaxElements(), 3u);
    EXPECT_EQ(back[1], 0x01020304u);
    std::fclose(f);
  }

  // A stream of unknown size with a hostile count: memory grows with what is read.
  Bytes body;
  Put32(body, 0xFFFFFFF0u);
  for (int i = 0; i < 5000; ++i) body.push_back(static_cast<uint8_t>(i));
  FILE* f = fmemopen(body.data(), body.size(), "rb");
  ASSERT_NE(f, nullptr);
  ZVectorTemplate<ZBW8> bytes;
  ZOk();
  bytes.Serialize(f, 0, 1);
  EXPECT_EQ(ZGetError(), Z_ERROR_FILE_READ);
  EXPECT_EQ(ZGetTraceCount(), 0);
  ASSERT_EQ(bytes.GetNumElements(), 5000u);
  EXPECT_LE(bytes.GetMaxElements(), 2u * 5000u + 4096u);
  EXPECT_EQ(bytes[4999], static_cast<uint8_t>(4999));
  std::fclose(f);

  // The same stream, whole: the capacity is exactly the count.
  body[0] = 0x88, body[1] = 0x13, body[2] = body[3] = 0;  // 5000
  f = fmemopen(body.data(), body.size(), "rb");
  ASSERT_NE(f, nullptr);
  bytes.Serialize(f, 0, 1);
  EXPECT_EQ(ZGetError(), Z_ERROR_NONE);
  EXPECT_EQ(bytes.GetNumElements(), 5000u);
  EXPECT_EQ(bytes.GetMaxElements(), 5000u);
  std::fclose(f);

  // No stream at all.
  ZOk();
  bytes.Serialize(nullptr, 0, 1);
  EXPECT_EQ(ZGetError(), Z_ERROR_FILE_READ);
  bytes.Serialize(nullptr, 1, 1);
  EXPECT_EQ(ZGetError(), Z_ERROR_FILE_WRITE);
}

}  // namespace
