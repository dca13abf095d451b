#include "engine/dss6/codec.h"

#include <gtest/gtest.h>

#include <vector>

namespace varnock::engine::dss6 {
namespace {

TEST(Dss6Codec, AddressesSkipTheSpareBytesOfEachPhysicalRecord) {
  struct Case {
    int64_t address, offset;
  };
  for (const Case c : {Case{1, 0}, Case{2, 4}, Case{127, 504}, Case{128, 512}, Case{255, 1024},
                       Case{2287, 8704 + 512}}) {
    EXPECT_EQ(ByteOffset(c.address), c.offset) << c.address;
  }
  EXPECT_EQ(WordsInBytes(512), 127);
  EXPECT_EQ(WordsInBytes(510), 127);
  EXPECT_EQ(WordsInBytes(93696), 183 * 127);
  // Words 126..129 straddle a record boundary: the 4 spare bytes are skipped, not read.
  std::vector<std::byte> bytes(static_cast<size_t>(SpanBytes(126, 4)), std::byte{0x55});
  ASSERT_EQ(bytes.size(), 20u);
  const std::vector<int32_t> words = {1, -2, 3, 0x01020304};
  ScatterWords(words, 126, bytes);
  EXPECT_EQ(bytes[8], std::byte{0x55});  // the spare bytes of record 0 stay as they were
  std::vector<int32_t> back(4);
  GatherWords(bytes, 126, back);
  EXPECT_EQ(back, words);
}

// Values HEC stored in its bins for these paths, at table sizes 8 .. 8192.
TEST(Dss6Codec, HashMatchesHecAtEveryTableSize) {
  const int32_t sizes[] = {8, 32, 128, 512, 1024, 2048, 4096, 8192};
  struct Vector {
    const char* path;
    int32_t hash[8];
  };
  const Vector vectors[] = {
      {"/A/B/C/D/E/F/", {3, 27, 91, 91, 1018, 241, 1926, 3709}},
      {"/A/B/C///F/", {2, 10, 42, 426, 672, 942, 3590, 4232}},
      {"/BASIN/LOCATION/FLOW/01JAN2001/1HOUR/C TEST/", {3, 11, 107, 491, 439, 752, 2413, 4655}},
      {"/BASIN/LOCATION/FLOW///C TEST/", {3, 19, 19, 147, 666, 71, 328, 2438}},
      {"/FIXTURES/RESERVOIR/ELEV-STORAGE///F77-ZSPD/", {4, 20, 84, 84, 959, 1471, 1576, 1801}},
      {"/GROUP/LOC/FLOW///C:000042|RUN ONE/", {7, 23, 55, 55, 462, 877, 4031, 1225}},
      {"/A/B/C///?TAB/", {7, 31, 127, 383, 149, 1625, 2546, 8162}},
      {"/A VERY LONG A PART THAT GOES ON AND ON/B/SOME-C-PART-TOO///AN F PART MAKING THE PATH "
       "LONGER THAN EIGHTY/",
       {4, 12, 76, 332, 804, 705, 1541, 7964}},
  };
  for (const auto& v : vectors) {
    for (int i = 0; i < 8; ++i)
      EXPECT_EQ(PathHash(v.path, sizes[i]), v.hash[i]) << v.path << " M=" << sizes[i];
  }
  EXPECT_EQ(PathHash("/FIXTURES/HOURLY/FLOW/01JAN2021/1HOUR/F77-ZSRTS/", 2048), 682);
  // Normalisation: lower case and control bytes, as HEC stores them.
  EXPECT_EQ(NormalisePath("/basin/Location/flow///c test/"), "/BASIN/LOCATION/FLOW///C TEST/");
  EXPECT_EQ(NormalisePath("/A/B/C///\aTAB/"), "/A/B/C///?TAB/");
  EXPECT_TRUE(IsLongPath("/A/B/C/D/E/THIS-F-PART-IS-LONGER-THAN-THIRTY-TWO/"));
  EXPECT_FALSE(IsLongPath("/A/B/C/D/E/F/"));
}

std::vector<int32_t> Bin() {
  return std::vector<int32_t>(kBinWords, 0);
}

// Writes one entry for `path` at `offset` and returns the offset after it.
int32_t PutEntry(std::vector<int32_t>& bin, int32_t offset, std::string_view path,
                 int32_t status = entry_status::kLive) {
  const int32_t p = PathWords(static_cast<int64_t>(path.size()));
  bin[offset] = status;
  bin[offset + 1] = static_cast<int32_t>(path.size());
  StoreChars(path, std::span(bin).subspan(static_cast<size_t>(offset + 2), p));
  const int32_t q = offset + 2 + p;
  bin[q + bin::kInfoAddress] = 6351;
  bin[q + bin::kDataWords] = 744;
  bin[q + bin::kLogicalCount] = 744;
  bin[q + bin::kType] = 100;
  StoreChars("T1", std::span(bin).subspan(static_cast<size_t>(q + bin::kTag), 2));
  bin[q + bin::kHash] = 682;
  return offset + bin::kFixedWords + p;
}

TEST(Dss6Codec, BinEntriesDecodeAndStopWhereHecStops) {
  auto bin = Bin();
  const std::string path = "/FIXTURES/HOURLY/FLOW/01JAN2021/1HOUR/F77-ZSRTS/";
  const int32_t next = PutEntry(bin, 0, path);
  EXPECT_EQ(next, 23);
  BinEntry e;
  ASSERT_EQ(DecodeBinEntry(bin, 0, &e), EntryScan::kEntry);
  EXPECT_EQ(e.path, path);
  EXPECT_EQ(e.info_address, 6351);
  EXPECT_EQ(e.type, 100);
  EXPECT_EQ(e.tag, "T1      ");
  EXPECT_EQ(e.hash, 682);
  EXPECT_EQ(DecodeBinEntry(bin, next, &e), EntryScan::kEnd);
  bin[next] = entry_status::kFull;
  EXPECT_EQ(DecodeBinEntry(bin, next, &e), EntryScan::kFull);

  struct Bad {
    const char* what;
    int32_t offset, word, value;
    EntryScan want;
  };
  const Bad bad[] = {
      {"status out of range", 0, 0, 99, EntryScan::kMalformed},
      {"negative path length", 0, 1, -5, EntryScan::kMalformed},
      {"path longer than 392", 0, 1, 393, EntryScan::kMalformed},
      {"entry runs into the links", 23, 24, 392, EntryScan::kMalformed},
      {"start past offset 124", 125, 125, 1, EntryScan::kEnd},
  };
  for (const auto& b : bad) {
    auto copy = Bin();
    PutEntry(copy, 0, path);
    copy[23] = entry_status::kLive;  // a second entry, for the cases that start there
    copy[static_cast<size_t>(b.word)] = b.value;
    EXPECT_EQ(DecodeBinEntry(copy, b.offset, &e), b.want) << b.what;
  }
  EXPECT_EQ(DecodeBinEntry(std::span(bin).first(100), 0, &e), EntryScan::kMalformed);
}

std::vector<int32_t> Info(std::string_view path) {
  const int32_t p = PathWords(static_cast<int64_t>(path.size()));
  std::vector<int32_t> w(static_cast<size_t>(info::kFixedWords + p), 0);
  w[info::kFlag] = kInfoFlag;
  w[info::kStatus] = entry_status::kLive;
  w[info::kPathBytes] = static_cast<int32_t>(path.size());
  StoreChars(path, std::span(w).subspan(info::kPath, static_cast<size_t>(p)));
  const size_t q = static_cast<size_t>(info::kPath + p);
  w[q + info::kDataAddress] = 6415;
  w[q + info::kDataWords] = 744;
  w[q + info::kLogicalCount] = 744;
  w[q + info::kVersion] = 1;
  StoreChars("Undefi", std::span(w).subspan(q + info::kProgram, 2), '\0');
  StoreChars("22NOV26", std::span(w).subspan(q + info::kDate, 2), '4');
  StoreChars("02:40:16", std::span(w).subspan(q + info::kTime, 2));
  StoreChars("T1", std::span(w).subspan(q + info::kTag, 2));
  w[q + info::kType] = 100;
  w[q + info::kInternalHeaderAddress] = 6391;
  w[q + info::kInternalHeaderWords] = 24;
  w[q + info::kCompressionHeaderAddress] = 6415;
  w[q + info::kUserHeaderAddress] = 6415;
  return w;
}

TEST(Dss6Codec, InfoBlocksDecodeAndAreasAreBounded) {
  const std::string path = "/FIXTURES/HOURLY/FLOW/01JAN2021/1HOUR/F77-ZSRTS/";
  auto w = Info(path);
  EXPECT_EQ(w.size(), 40u);
  InfoBlock b;
  ASSERT_EQ(DecodeInfoBlock(w, &b), Status::kOk);
  EXPECT_EQ(b.path, path);
  EXPECT_EQ(b.program, "Undefi");
  EXPECT_EQ(b.date, "22NOV26");  // the stale eighth byte is not part of it
  EXPECT_EQ(b.time, "02:40:16");
  EXPECT_EQ(b.type, 100);
  EXPECT_EQ(b.internal_header_words, 24);
  EXPECT_EQ(CheckInfoAreas(b, 7158), Status::kOk);
  EXPECT_EQ(CheckInfoAreas(b, 7157), Status::kDamaged);  // data would end past the limit

  struct Bad {
    const char* what;
    size_t word;
    int32_t value;
  };
  for (const Bad bad : {Bad{"flag", info::kFlag, -97534}, Bad{"zero length", info::kPathBytes, 0},
                        Bad{"length past the block", info::kPathBytes, 300},
                        Bad{"length over 392", info::kPathBytes, 400}}) {
    auto copy = w;
    copy[bad.word] = bad.value;
    EXPECT_EQ(DecodeInfoBlock(copy, &b), Status::kDamaged) << bad.what;
  }
  EXPECT_EQ(DecodeInfoBlock(std::span(w).first(30), &b), Status::kDamaged);
  b.data_words = -1;
  EXPECT_EQ(CheckInfoAreas(b, 1 << 30), Status::kDamaged);
  b.data_words = 5;
  b.data_address = 0;
  EXPECT_EQ(CheckInfoAreas(b, 1 << 30), Status::kDamaged);
}

HeaderWords NewHeader() {
  HeaderWords h{};
  StoreChars("ZDSS", std::span(h).subspan(hdr::kMagic, 1));
  StoreChars("6-YO", std::span(h).subspan(hdr::kVersion, 1));
  h[hdr::kSizeCode] = 6;
  h[hdr::kFileSize] = 6351;
  h[hdr::kHashCodes] = 2048;
  h[hdr::kTableFlag] = kTableFlagHash;
  h[hdr::kBinsPerBlock] = 32;
  h[hdr::kBinsLeft] = 32;
  h[hdr::kBinSize] = kBinWords;
  h[hdr::kFirstBin] = 2287;
  h[hdr::kNextBin] = 2287;
  return h;
}

TEST(Dss6Codec, HeaderChecks) {
  bool crashed = false;
  EXPECT_EQ(CheckHeader(NewHeader(), 6350, &crashed), Status::kOk);
  EXPECT_EQ(VersionText(NewHeader()), "6-YO");
  struct Case {
    const char* what;
    int word;
    int32_t value;
    Status want;
  };
  const Case cases[] = {
      {"magic", hdr::kMagic, 0, Status::kNotDssFile},
      {"DSS-7 version", hdr::kVersion, 0x41412d37, Status::kIncompatibleVersion},
      {"negative size", hdr::kFileSize, -5, Status::kInvalidHeader},
      {"no hash codes", hdr::kHashCodes, 0, Status::kInvalidHeader},
      {"table too large for the first bin", hdr::kHashCodes, 4096, Status::kInvalidHeader},
      {"table flag", hdr::kTableFlag, 3, Status::kInvalidHeader},
      {"bins per block", hdr::kBinsPerBlock, 0, Status::kInvalidHeader},
      {"bin size", hdr::kBinSize, 200, Status::kInvalidHeader},
      {"first bin past the end", hdr::kFirstBin, 6000, Status::kInvalidHeader},
      {"first bin inside the header", hdr::kFirstBin, 3, Status::kInvalidHeader},
      {"negative record count", hdr::kRecordCount, -1, Status::kInvalidHeader},
  };
  for (const auto& c : cases) {
    auto h = NewHeader();
    h[static_cast<size_t>(c.word)] = c.value;
    EXPECT_EQ(CheckHeader(h, 6350, &crashed), c.want) << c.what;
  }
  auto h = NewHeader();
  h[hdr::kFileSize] = kCrashedFileSize;
  EXPECT_EQ(CheckHeader(h, 6350, &crashed), Status::kOk);
  EXPECT_TRUE(crashed);
  h = NewHeader();
  StoreChars(std::string("\x08\x09\x0c\x09\x08\x0c\0\0", 8),
             std::span(h).subspan(hdr::kLongestParts, 2));
  EXPECT_EQ(LongestParts(h), (std::array<int32_t, 6>{8, 9, 12, 9, 8, 12}));
}

}  // namespace
}  // namespace varnock::engine::dss6
