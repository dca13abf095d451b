#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "engine/container/record_reader.h"
#include "engine/dss6/dss6_file.h"
#include "engine/dss6/integrity.h"
#include "engine/dss7/test_support.h"
#include "tests/support/fixture_path.h"

namespace varnock::engine::dss6 {
namespace {

std::string DumpOf(const std::string& path) {
  std::unique_ptr<container::RecordReader> reader;
  EXPECT_EQ(container::OpenRecordReader(path, &reader), Status::kOk);
  std::string dump;
  if (reader) {
    EXPECT_EQ(container::RenderDump(*reader, &dump), Status::kOk);
  }
  return dump;
}

// A squeeze drops the dead space and keeps what every record reads back as.
TEST(Dss6Squeeze, KeepsEveryRecordAndDropsDeadSpace) {
  VARNOCK_REQUIRE_FIXTURE(fixture, "fixture6.dss");
  const std::string path = dss7::testing::TempDir() + "/squeeze6.dss";
  std::filesystem::copy_file(fixture, path, std::filesystem::copy_options::overwrite_existing);
  const std::string before = DumpOf(path);
  const auto size_before = std::filesystem::file_size(path);
  {
    // Someone else has it open (for writing: read-only descriptors cannot lock): refused.
    std::unique_ptr<Dss6File> other;
    ASSERT_EQ(Dss6File::Open(path, Options6{}, &other), Status::kOk);
    EXPECT_EQ(SqueezeFile(path), Status::kExclusiveLocked);
  }
  ASSERT_EQ(SqueezeFile(path), Status::kOk);
  EXPECT_EQ(DumpOf(path), before);
  EXPECT_LT(std::filesystem::file_size(path), size_before);
  std::unique_ptr<Dss6File> f;
  ASSERT_EQ(Dss6File::Open(path, &f), Status::kOk);
  EXPECT_EQ(f->header()[hdr::kDeadSpace], 0);
  EXPECT_EQ(f->header()[hdr::kTagSequence], 28);
  dss7::IntegrityReport report;
  ASSERT_EQ(CheckIntegrity(*f, &report), Status::kOk);
  EXPECT_TRUE(report.ok()) << report.Summary();
  // Tags, versions and write times travel with the records.
  Found found;
  ASSERT_EQ(f->Find("/FIXTURES/NEWNAME/FLOW/01JAN2021/1DAY/C-RENAMED/", &found), Status::kOk);
  EXPECT_EQ(found.info.tag.substr(0, 3), "T28");
  EXPECT_EQ(found.info.date, "22NOV26");
  std::filesystem::remove(path);
}

TEST(Dss6Squeeze, FilesCreatedAtAPathReopen) {
  const std::string path = dss7::testing::TempDir() + "/created6.dss";
  std::filesystem::remove(path);
  {
    std::unique_ptr<Dss6File> f;
    ASSERT_EQ(Dss6File::Create(path, 6, {}, &f), Status::kOk);
    EXPECT_FALSE(f->read_only());
  }
  EXPECT_EQ(std::filesystem::file_size(path), 26112u);  // as HEC's new file, size code 6
  std::unique_ptr<Dss6File> again;
  EXPECT_EQ(Dss6File::Create(path, 6, {}, &again), Status::kExists);
  ASSERT_EQ(Dss6File::Open(path, &again), Status::kOk);
  EXPECT_EQ(again->VersionText(), "6-YO");
  EXPECT_EQ(again->header()[hdr::kFileSize], 6351);
  std::filesystem::remove(path);
}

// A record that would take the file past DSS-6's 8 GB limit is refused before anything is
// written (a sparse file stands in for a full one).
TEST(Dss6Squeeze, RecordsPastTheSizeLimitAreRefused) {
  const std::string path = dss7::testing::TempDir() + "/full6.dss";
  std::filesystem::remove(path);
  {
    std::unique_ptr<Dss6File> f;
    ASSERT_EQ(Dss6File::Create(path, 6, {}, &f), Status::kOk);
  }
  const int64_t end = kMaxFileWords - 100;
  const auto bytes = static_cast<uintmax_t>((end / kWordsPerRecord + 1) * kRecordBytes);
  std::error_code error;
  std::filesystem::resize_file(path, bytes, error);
  if (error) GTEST_SKIP() << "no room for a sparse file: " << error.message();
  {
    std::fstream io(path, std::ios::in | std::ios::out | std::ios::binary);
    const auto h6 = static_cast<int32_t>(end);
    io.seekp(ByteOffset(1 + hdr::kFileSize));
    io.write(reinterpret_cast<const char*>(&h6), 4);
  }
  std::unique_ptr<Dss6File> f;
  ASSERT_EQ(Dss6File::Open(path, Options6{}, &f), Status::kOk);
  const std::vector<int32_t> header = {4};
  const std::vector<int32_t> big(1000, 1), small(10, 1);
  RecordData6 d;
  d.type = type::kText;
  d.internal_header = header;
  d.data = big;
  EXPECT_EQ(f->WriteNewRecord("/BIG/RECORD/X///Y/", d), Status::kInvalidArgument);
  EXPECT_EQ(f->header()[hdr::kFileSize], end);
  EXPECT_EQ(f->header()[hdr::kRecordCount], 0);
  EXPECT_EQ(std::filesystem::file_size(path), bytes);
  d.data = small;
  EXPECT_EQ(f->WriteNewRecord("/SMALL/RECORD/X///Y/", d), Status::kOk);
  f.reset();
  std::filesystem::remove(path);
}

TEST(Dss6Squeeze, CopyRecordBetweenFilesAndWithinOne) {
  VARNOCK_REQUIRE_FIXTURE(fixture, "fixture6.dss");
  auto source_storage = dss7::testing::LoadStorage(fixture);
  std::unique_ptr<Dss6File> source;
  ASSERT_EQ(
      Dss6File::OpenIO(std::make_unique<dss7::MemoryFileIO>(source_storage), Options6{}, &source),
      Status::kOk);
  std::unique_ptr<Dss6File> target;
  ASSERT_EQ(
      Dss6File::CreateIO(std::make_unique<dss7::MemoryFileIO>(dss7::MemoryFileIO::NewStorage()), 6,
                         Options6{}, &target),
      Status::kOk);
  const std::string path = "/FIXTURES/RESERVOIR/ELEV-STORAGE///F77-ZSPD/";
  ASSERT_EQ(source->CopyRecord(path, *target, path), Status::kOk);
  EXPECT_EQ(source->CopyRecord(path, *target, path), Status::kExists);
  EXPECT_EQ(source->CopyRecord("/NO/SUCH/X///Y/", *target, path), Status::kNotFound);
  ASSERT_EQ(source->CopyRecord(path, *source, "/fixtures/copy/elev-storage///x/"), Status::kOk);
  container::RecordAreas a, b, c;
  ASSERT_EQ(source->ReadRecord(path, &a), Status::kOk);
  ASSERT_EQ(target->ReadRecord(path, &b), Status::kOk);
  ASSERT_EQ(source->ReadRecord("/FIXTURES/COPY/ELEV-STORAGE///X/", &c), Status::kOk);
  EXPECT_EQ(b.areas, a.areas);
  EXPECT_EQ(c.areas, a.areas);
  EXPECT_EQ(target->header()[hdr::kRecordCount], 1);
}

}  // namespace
}  // namespace varnock::engine::dss6
