#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

#include "engine/dss7/codec.h"
#include "engine/dss7/hash.h"
#include "engine/dss7/layout.h"

namespace varnock::engine::dss7 {
namespace {

TEST(Dss7Codec, PairsUseLowHalfFirstAndKeepSigns) {
  const int64_t w = PackPair(100, 1);
  EXPECT_EQ(w, int64_t{100} | (int64_t{1} << 32));
  EXPECT_EQ(PairFirst(PackPair(-5, 7)), -5);
  EXPECT_EQ(PairSecond(PackPair(-5, 7)), 7);
  EXPECT_EQ(PairSecond(PackPair(7, -2147483647 - 1)), -2147483647 - 1);
  // Info word 9 of the worked example: (36911, 43200).
  EXPECT_EQ(PairFirst(185542587224111), 36911);
  EXPECT_EQ(PairSecond(185542587224111), 43200);
}

TEST(Dss7Codec, StringsAreZeroPaddedAndRoundTrip) {
  std::array<int64_t, 3> words{-1, -1, -1};
  StoreBytes("ZDSS", std::span(words).first(1));
  EXPECT_EQ(words[0], 0x5353445a);  // "ZDSS" + 4 NULs
  EXPECT_EQ(words[1], -1);          // nothing past the string's words is touched
  StoreBytes("not specified", words);
  EXPECT_EQ(LoadBytes(words, 13), "not specified");
  EXPECT_EQ(ByteAt(words, 13), 0);
  EXPECT_EQ(words[2], -1);
  EXPECT_EQ(LoadBytes(words, 1000).size(), 24u);  // clipped to the array
}

TEST(Dss7Codec, Int32ArraysPackWithZeroPad) {
  const std::vector<int32_t> v{1, -2, 3};
  std::vector<int64_t> w(WordsForInt32s(3), -1);
  PackInt32s(v, w);
  EXPECT_EQ(w[0], PackPair(1, -2));
  EXPECT_EQ(w[1], PackPair(3, 0));
  std::vector<int32_t> back(3);
  UnpackInt32s(w, back);
  EXPECT_EQ(back, v);
}

struct HashVector {
  const char* path;
  int64_t bin_hash;
  std::vector<std::pair<int64_t, int32_t>> table;  // (table size, table hash)
};

TEST(Dss7Hash, MatchesHecTestVectors) {
  const std::vector<HashVector> vectors = {
      {"/A/B/C/D/E/F/",
       1818523206388620372,
       {{8192, 3708}, {4096, 1925}, {16348, 9719}, {32768, 4853}, {64000, 12039}, {3, 0}}},
      {"/a/b/c/d/e/f/",
       1818523206388620372,
       {{8192, 3708}, {4096, 1925}, {16348, 9719}, {32768, 4853}, {64000, 12039}, {3, 0}}},
      {"/Basin/Location/Flow/01Jan2001/1Hour/C Test/",
       6053255139053196288,
       {{8192, 4654}, {4096, 2412}, {16348, 15504}, {32768, 3724}, {64000, 30989}, {3, 0}}},
      {"/a/b/text/d/e/f/",
       -2447969552154321642,
       {{8192, 653}, {4096, 2963}, {16348, 9508}, {32768, 17458}, {64000, 30991}, {3, 1}}},
      {"/Basin/Location/Stage-Flow///Test/", -9144722709527088128, {{8192, 6325}}},
  };
  for (const auto& v : vectors) {
    EXPECT_EQ(BinHash(v.path), v.bin_hash) << v.path;
    for (const auto& [size, expected] : v.table) {
      EXPECT_EQ(TableHash(v.path, size), expected) << v.path << " size " << size;
    }
  }
}

TEST(Dss7Hash, BitsAndByteNormalisation) {
  EXPECT_EQ(TableHashBits(8192), 13);
  EXPECT_EQ(TableHashBits(4096), 12);
  EXPECT_EQ(TableHashBits(16348), 14);
  EXPECT_EQ(TableHashBits(64000), 16);
  EXPECT_EQ(TableHashBits(3), 2);
  EXPECT_EQ(TableHashBits(2), 1);
  EXPECT_EQ(TableHashBits(1), 0);
  // Control bytes and bytes >= 128 hash as '?'.
  EXPECT_EQ(BinHash("/\x01\xe9/"), BinHash("/?\x3f/"));
  EXPECT_EQ(TableHash("/\x1f\xff/", 8192), TableHash("/?\x3f/", 8192));
  EXPECT_EQ(BinHash(""), 1);  // never 0
  EXPECT_EQ(TableHash("/A/", 1), 0);
}

TEST(Dss7Path, RulesForStorageAndCollections) {
  EXPECT_TRUE(SamePath("/a/b/c/d/e/f/", "/A/B/C/D/E/F/"));
  EXPECT_FALSE(SamePath("/a/b/c/d/e/f/", "/A/B/C/D/E/G/"));
  EXPECT_FALSE(SamePath("/\xe9/", "/\xc9/"));  // ASCII folding only
  EXPECT_TRUE(IsStorablePath("/A/B/C/D/E/F/"));
  EXPECT_TRUE(IsStorablePath("///////"));
  EXPECT_FALSE(IsStorablePath("/A/B/C/D/E/"));
  EXPECT_FALSE(IsStorablePath("/A/B/C/D/E/F/G/"));
  EXPECT_FALSE(IsStorablePath("A/B/C/D/E/F/"));
  EXPECT_FALSE(IsStorablePath("/A/B/C\t/D/E/F/"));
  EXPECT_FALSE(IsStorablePath("/" + std::string(129, 'X') + "/B/C/D/E/F/"));
  EXPECT_FALSE(IsStorablePath("/" + std::string(128, 'X') + "/" + std::string(128, 'Y') + "/" +
                              std::string(128, 'Z') + "/D/E/F/"));  // 397 bytes
  EXPECT_TRUE(IsCollectionPath("/A/B/C/D/E/C:000001|REV/"));
  EXPECT_TRUE(IsCollectionPath("/A/B/C/D/E/c:1|x/"));
  EXPECT_FALSE(IsCollectionPath("/A/B/C/D/E/C:000001/"));
  EXPECT_FALSE(IsCollectionPath("/A/B/C/D/E/X:1|Y/"));
  std::array<int64_t, 6> lengths;
  ASSERT_TRUE(SplitPartLengths("/Basin/Location/Flow/01Jan2001/1Hour/C Test/", &lengths));
  EXPECT_EQ(lengths, (std::array<int64_t, 6>{5, 8, 4, 9, 5, 6}));
}

}  // namespace
}  // namespace varnock::engine::dss7
