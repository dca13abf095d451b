// Plans, record kinds and read-only files through the engine API, on memory files.
#include <gtest/gtest.h>

#include "engine/dss7/test_support.h"
#include "engine/paired/record_io.h"

namespace varnock::engine::paired {
namespace {

using dss7::Status;

TEST(PairedRecordIo, PlansAndRecordKindsAreHonoured) {
  auto storage = dss7::MemoryFileIO::NewStorage();
  Status s;
  auto file = dss7::testing::CreateMemory(storage, {}, &s);
  ASSERT_EQ(s, Status::kOk);
  const std::string path = "/A/B/NOTE///F/";
  TextData text;
  text.text = "first";
  EXPECT_EQ(WriteText(*file, path, text, WritePlan::kOnlyExisting), Status::kNotFound);
  EXPECT_FALSE(file->Exists(path));
  EXPECT_EQ(WriteText(*file, path, text, WritePlan::kOnlyNew), Status::kOk);
  EXPECT_EQ(WriteText(*file, path, text, WritePlan::kOnlyNew), Status::kExists);

  TextData table;
  table.rows = 1;
  table.columns = 2;
  table.cells = {"a", "b"};
  table.column_labels = {"x", "y"};
  EXPECT_EQ(WriteText(*file, path, table, WritePlan::kOnlyExisting), Status::kOk);
  TextData back;
  dss7::InfoBlock info;
  ASSERT_EQ(ReadText(*file, path, &back, &info), Status::kOk);
  EXPECT_EQ(info.type, kTextTable);
  EXPECT_EQ(back.column_labels, table.column_labels);
  EXPECT_EQ(back.Cell(0, 1), "b");

  PairedData pd;
  pd.ordinates = {1};
  pd.curve_count = 1;
  pd.values = {2};
  EXPECT_EQ(WritePairedData(*file, path, pd), Status::kTypeMismatch);
  EXPECT_EQ(ReadPairedData(*file, path, &pd), Status::kTypeMismatch);
  EXPECT_EQ(ReadText(*file, "/A/B/NONE///F/", &back), Status::kNotFound);
  EXPECT_EQ(WritePairedData(*file, "/A/B/C///", pd), Status::kInvalidArgument);  // too few slashes
  ASSERT_EQ(file->Close(), Status::kOk);

  dss7::FileOptions read_only;
  read_only.read_only = true;
  file = dss7::testing::OpenMemory(storage, &s, read_only);
  ASSERT_EQ(s, Status::kOk);
  EXPECT_EQ(WriteText(*file, path, text), Status::kReadOnly);
  ASSERT_EQ(ReadText(*file, path, &back), Status::kOk);
  EXPECT_EQ(back.cells, table.cells);
}

}  // namespace
}  // namespace varnock::engine::paired
