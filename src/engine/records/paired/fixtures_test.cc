// Paired-data and text records written by HEC's library read as its dumps show them; the same
// content written by us reads back the same, with HEC's areas where HEC used today's layout.
#include <gtest/gtest.h>

#include <cstdio>
#include <map>

#include "engine/records/paired/dump_lines.h"
#include "engine/records/paired/record_io.h"
#include "tests/support/fixture_path.h"
#include "tests/support/temp_folder.h"

namespace varnock::engine::paired {
namespace {

using dss7::Status;

struct DumpBlock {
  int rectype = 0;
  std::string lines;  // between the rectype line and "end", each ending in '\n'
};

// Blocks of paired-data and text records (rectype 200..399), by pathname.
std::map<std::string, DumpBlock> PairedAndTextBlocks(const std::string& dump_path) {
  const bool gz = dump_path.size() > 3 && dump_path.substr(dump_path.size() - 3) == ".gz";
  const std::string command = (gz ? "gzip -dc '" : "cat '") + dump_path + "'";
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::map<std::string, DumpBlock> blocks;
  if (!pipe) return blocks;
  std::string line, path;
  DumpBlock* current = nullptr;
  for (int c; (c = std::fgetc(pipe.get())) != EOF;) {
    if (c != '\n') {
      line.push_back(static_cast<char>(c));
      continue;
    }
    if (line.rfind("record ", 0) == 0) {
      path = line.substr(7);
      current = nullptr;
    } else if (line.rfind("rectype ", 0) == 0) {
      const int type = std::stoi(line.substr(8));
      current = type >= 200 && type < 400 ? &blocks[path] : nullptr;
      if (current != nullptr) current->rectype = type;
    } else if (line == "end") {
      current = nullptr;
    } else if (current != nullptr) {
      current->lines += line + "\n";
    }
    line.clear();
  }
  return blocks;
}

struct Reference {
  const char* file;
  const char* dump;
  size_t records;       // paired-data and text records in the file
  bool current_layout;  // written at file version 7-HA or later
};

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

class PairedReference : public ::testing::TestWithParam<Reference> {};

TEST_P(PairedReference, ReadAsHecsDumpAndRewrittenAlike) {
  VARNOCK_REQUIRE_FIXTURE(source, GetParam().file);
  VARNOCK_REQUIRE_FIXTURE(dump, GetParam().dump);
  const auto blocks = PairedAndTextBlocks(dump);
  ASSERT_EQ(blocks.size(), GetParam().records);
  varnock::testing::TempFolder folder;
  dss7::FileOptions read_only;
  read_only.read_only = true;
  std::unique_ptr<dss7::DssFile> hec, ours;
  ASSERT_EQ(dss7::DssFile::Open(source, read_only, &hec), Status::kOk);
  ASSERT_EQ(dss7::DssFile::Create(folder.File("ours.dss"), {}, {}, &ours), Status::kOk);
  for (const auto& [path, block] : blocks) {
    SCOPED_TRACE(path);
    dss7::Record theirs, mine;
    ASSERT_EQ(hec->ReadRecord(path, &theirs), Status::kOk);
    EXPECT_EQ(theirs.info.type, block.rectype);
    EXPECT_EQ(DumpOf(*hec, path, block.rectype), block.lines);
    if (IsTextType(block.rectype)) {
      TextData text;
      ASSERT_EQ(DecodeText(theirs, &text), Status::kOk);
      ASSERT_EQ(WriteText(*ours, path, text), Status::kOk);
    } else {
      PairedData data;
      ASSERT_EQ(DecodePaired(theirs, &data), Status::kOk);
      ASSERT_EQ(WritePairedData(*ours, path, data), Status::kOk);
    }
    ASSERT_EQ(ours->ReadRecord(path, &mine), Status::kOk);
    EXPECT_EQ(DumpOf(*ours, path, block.rectype), block.lines);
    EXPECT_EQ(mine.info.type, theirs.info.type);
    EXPECT_EQ(mine.info.data_count, theirs.info.data_count);
    EXPECT_EQ(mine.info.logical_count, theirs.info.logical_count);
    EXPECT_EQ(mine.info.allocated, theirs.info.allocated);
    EXPECT_EQ(mine.info.first, dss7::DateTime{});  // HEC leaves stale time-series dates
    EXPECT_EQ(mine.areas[dss7::kValues1], theirs.areas[dss7::kValues1]);
    EXPECT_EQ(mine.areas[dss7::kValues2], theirs.areas[dss7::kValues2]);
    if (GetParam().current_layout) {
      EXPECT_EQ(mine.areas, theirs.areas);
      continue;
    }
    // Older records: strings unpadded from int 5, labels sized in ints rather than words.
    const auto& header = theirs.areas[dss7::kInternalHeader];
    EXPECT_NE(header[pd_header::kFiller], kBlankInt);
    EXPECT_EQ(mine.areas[dss7::kInternalHeader][pd_header::kFiller], kBlankInt);
    for (int i = 0; i < pd_header::kFiller; ++i)
      EXPECT_EQ(mine.areas[dss7::kInternalHeader][size_t(i)], header[size_t(i)]) << i;
    const auto& labels = theirs.areas[dss7::kHeader2];
    ASSERT_GE(mine.areas[dss7::kHeader2].size(), labels.size());
    EXPECT_TRUE(std::equal(labels.begin(), labels.end(), mine.areas[dss7::kHeader2].begin()));
  }
}

INSTANTIATE_TEST_SUITE_P(PairedFiles, PairedReference,
                         ::testing::Values(Reference{"fixture7.dss", "fixture7.dump.txt", 3, true},
                                           Reference{"sample7.dss", "sample7.dss.dump.txt.gz", 4,
                                                     false}),
                         [](const auto& info) {
                           const std::string name = info.param.file;
                           return name.substr(0, name.find('.'));
                         });

}  // namespace
}  // namespace varnock::engine::paired
