// Paired-data and text records written by HEC's library: read as HEC's dumps show them, and
// written back with the same content (and, for current-layout records, the same areas).
#include <gtest/gtest.h>

#include <string>

#include "engine/paired/dump_lines.h"
#include "engine/paired/paired_test_support.h"
#include "engine/paired/record_io.h"
#include "tests/support/fixture_path.h"
#include "tests/support/temp_folder.h"

namespace varnock::engine::paired {
namespace {

using dss7::Status;
using testing::OpenFile;
using testing::PairedAndTextBlocks;
using varnock::testing::TempFolder;

struct Reference {
  const char* file;
  const char* dump;
  size_t records;  // paired-data and text records in the file
};

const Reference kFixture7{"fixture7.dss", "fixture7.dump.txt", 3};
const Reference kSample7{"sample7.dss", "sample7.dss.dump.txt.gz", 4};

std::string DumpOf(dss7::DssFile& file, const std::string& path, int rectype) {
  if (IsTextType(rectype)) {
    TextData text;
    EXPECT_EQ(ReadText(file, path, &text), Status::kOk) << path;
    return TextDumpLines(text, rectype);
  }
  PairedData data;
  EXPECT_EQ(ReadPairedData(file, path, &data), Status::kOk) << path;
  return PairedDumpLines(data);
}

// Reads a record of HEC's file and writes its content under the same path into `to`.
void CopyContent(dss7::DssFile& from, dss7::DssFile& to, const std::string& path, int rectype) {
  if (IsTextType(rectype)) {
    TextData text;
    ASSERT_EQ(ReadText(from, path, &text), Status::kOk);
    ASSERT_EQ(WriteText(to, path, text), Status::kOk);
  } else {
    PairedData data;
    ASSERT_EQ(ReadPairedData(from, path, &data), Status::kOk);
    ASSERT_EQ(WritePairedData(to, path, data), Status::kOk);
  }
}

class PairedReference : public ::testing::TestWithParam<Reference> {};

TEST_P(PairedReference, ReadsEveryRecordAsHecsDumpShowsIt) {
  VARNOCK_REQUIRE_FIXTURE(source, GetParam().file);
  VARNOCK_REQUIRE_FIXTURE(dump, GetParam().dump);
  const auto blocks = PairedAndTextBlocks(dump);
  ASSERT_EQ(blocks.size(), GetParam().records);
  auto file = OpenFile(source, true);
  ASSERT_TRUE(file);
  for (const auto& [path, block] : blocks) {
    dss7::InfoBlock info;
    ASSERT_EQ(file->Lookup(path, &info), Status::kOk) << path;
    EXPECT_EQ(info.type, block.rectype) << path;
    EXPECT_EQ(DumpOf(*file, path, block.rectype), block.lines) << path;
  }
}

TEST_P(PairedReference, SameContentWrittenByUsReadsBackTheSame) {
  VARNOCK_REQUIRE_FIXTURE(source, GetParam().file);
  VARNOCK_REQUIRE_FIXTURE(dump, GetParam().dump);
  TempFolder folder;
  const auto blocks = PairedAndTextBlocks(dump);
  {
    auto from = OpenFile(source, true);
    auto to = testing::CreateFile(folder.File("ours.dss"));
    ASSERT_TRUE(from && to);
    for (const auto& [path, block] : blocks)
      CopyContent(*from, *to, path, block.rectype);
    ASSERT_EQ(to->Close(), Status::kOk);
  }
  auto ours = OpenFile(folder.File("ours.dss"), true);
  ASSERT_TRUE(ours);
  for (const auto& [path, block] : blocks) {
    dss7::InfoBlock info;
    ASSERT_EQ(ours->Lookup(path, &info), Status::kOk) << path;
    EXPECT_EQ(info.type, block.rectype) << path;
    EXPECT_EQ(DumpOf(*ours, path, block.rectype), block.lines) << path;
  }
}

INSTANTIATE_TEST_SUITE_P(PairedFiles, PairedReference, ::testing::Values(kFixture7, kSample7),
                         [](const auto& info) {
                           const std::string name = info.param.file;
                           return name.substr(0, name.find('.'));
                         });

struct RecordPair {
  dss7::Record hec;
  dss7::Record ours;
};

// Each paired-data and text record of a reference file, as HEC wrote it and as we write the
// same content.
std::map<std::string, RecordPair> RewrittenRecords(const Reference& ref, const TempFolder& folder) {
  std::map<std::string, RecordPair> out;
  auto from = OpenFile(varnock::testing::FixturePath(ref.file), true);
  auto to = testing::CreateFile(folder.File("ours.dss"));
  if (!from || !to) return out;
  for (const auto& [path, block] : PairedAndTextBlocks(varnock::testing::FixturePath(ref.dump))) {
    CopyContent(*from, *to, path, block.rectype);
    EXPECT_EQ(from->ReadRecord(path, &out[path].hec), Status::kOk);
    EXPECT_EQ(to->ReadRecord(path, &out[path].ours), Status::kOk);
  }
  return out;
}

TEST(PairedReferenceAreas, CurrentLayoutRecordsAreByteIdentical) {
  VARNOCK_REQUIRE_FIXTURE(source, kFixture7.file);
  VARNOCK_REQUIRE_FIXTURE(dump, kFixture7.dump);
  TempFolder folder;
  const auto records = RewrittenRecords(kFixture7, folder);
  ASSERT_EQ(records.size(), 3u);
  for (const auto& [path, r] : records) {
    for (int a = 0; a < dss7::kAreaCount; ++a)
      EXPECT_EQ(r.ours.areas[a], r.hec.areas[a]) << path << " area " << a;
    EXPECT_EQ(r.ours.info.type, r.hec.info.type) << path;
    EXPECT_EQ(r.ours.info.data_count, r.hec.info.data_count) << path;
    EXPECT_EQ(r.ours.info.logical_count, r.hec.info.logical_count) << path;
    EXPECT_EQ(r.ours.info.allocated, r.hec.info.allocated) << path;
    // HEC leaves the dates of the last time-series write here; we leave them zero.
    EXPECT_EQ(r.ours.info.first, dss7::DateTime{}) << path;
  }
}

// sample7's records predate file version 7-HA: strings unpadded from int 5, labels sized in
// ints rather than words. We write the current layout; the values are the same ints.
TEST(PairedReferenceAreas, OlderRecordsDifferOnlyInHeaderLayout) {
  VARNOCK_REQUIRE_FIXTURE(source, kSample7.file);
  VARNOCK_REQUIRE_FIXTURE(dump, kSample7.dump);
  TempFolder folder;
  const auto records = RewrittenRecords(kSample7, folder);
  ASSERT_EQ(records.size(), 4u);
  for (const auto& [path, r] : records) {
    const auto& hec_header = r.hec.areas[dss7::kInternalHeader];
    const auto& our_header = r.ours.areas[dss7::kInternalHeader];
    ASSERT_GE(hec_header.size(), 5u);
    ASSERT_GE(our_header.size(), 6u);
    EXPECT_NE(hec_header[pd_header::kFiller], kBlankInt) << path;
    EXPECT_EQ(our_header[pd_header::kFiller], kBlankInt) << path;
    for (int i = 0; i < pd_header::kFiller; ++i)
      EXPECT_EQ(our_header[i], hec_header[i]) << path << " header int " << i;
    EXPECT_EQ(r.ours.areas[dss7::kValues1], r.hec.areas[dss7::kValues1]) << path;
    EXPECT_EQ(r.ours.areas[dss7::kValues2], r.hec.areas[dss7::kValues2]) << path;
    const auto& hec_labels = r.hec.areas[dss7::kHeader2];
    const auto& our_labels = r.ours.areas[dss7::kHeader2];
    ASSERT_GE(our_labels.size(), hec_labels.size()) << path;
    EXPECT_TRUE(std::equal(hec_labels.begin(), hec_labels.end(), our_labels.begin())) << path;
    EXPECT_EQ(our_labels.size() % 2, 0u) << path;
    EXPECT_EQ(r.ours.info.data_count, r.hec.info.data_count) << path;
    EXPECT_EQ(r.ours.info.allocated, r.hec.info.allocated) << path;
  }
}

}  // namespace
}  // namespace varnock::engine::paired
