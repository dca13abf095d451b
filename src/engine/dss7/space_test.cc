#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/dss7/integrity.h"
#include "engine/dss7/test_support.h"

namespace varnock::engine::dss7 {
namespace {

std::vector<int32_t> ValuesOf(int record, int round) {
  std::vector<int32_t> v(static_cast<size_t>(200 + (record * 7 + round * 13) % 150));
  for (size_t i = 0; i < v.size(); ++i)
    v[i] = record * 100000 + round * 10 + static_cast<int32_t>(i % 10);
  return v;
}

// Records rewritten over and over, with sizes that go up and down: superseded versions are
// listed for reuse and taken again, so the file stays near its live data.
TEST(Dss7Space, RewriteLoopsReuseSupersededSpace) {
  constexpr int kRecords = 55;
  constexpr int kRounds = 200;
  Status s;
  auto storage = MemoryFileIO::NewStorage();
  auto file = testing::CreateMemory(storage, {}, &s);
  ASSERT_EQ(s, Status::kOk);
  const int64_t empty_words = file->header()[hdr::kFileSize];
  auto path = [](int i) { return "/SPACE/R" + std::to_string(i) + "/X///Y/"; };
  std::vector<std::vector<int32_t>> current(kRecords);
  for (int round = 0; round < kRounds; ++round) {
    for (int i = 0; i < kRecords; ++i) {
      current[static_cast<size_t>(i)] = ValuesOf(i, round);
      RecordData d;
      d.type = 300;
      d.areas[kValues1] = current[static_cast<size_t>(i)];
      ASSERT_EQ(file->Store(path(i), d), Status::kOk) << round << " " << i;
    }
  }
  int64_t live_words = 0;
  for (int i = 0; i < kRecords; ++i) {
    Record r;
    ASSERT_EQ(file->ReadRecord(path(i), &r), Status::kOk);
    EXPECT_EQ(r.areas[kValues1], current[static_cast<size_t>(i)]);
    live_words += r.info.Words() + r.info.BodyWords();
  }
  const int64_t grown = file->header()[hdr::kFileSize] - empty_words;
  EXPECT_LE(grown, 2 * live_words) << "live " << live_words;
  EXPECT_GT(file->header()[hdr::kReusedSpaceCount], 0);
  IntegrityReport report;
  ASSERT_EQ(CheckIntegrity(*file, &report), Status::kOk);
  EXPECT_TRUE(report.ok()) << report.Summary();
  std::printf("[ figures  ] %d rewrites: file grew %lld words for %lld live\n", kRecords * kRounds,
              static_cast<long long>(grown), static_cast<long long>(live_words));
}

}  // namespace
}  // namespace varnock::engine::dss7
