#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "engine/dss7/fault_file_io.h"
#include "engine/dss7/integrity.h"
#include "engine/dss7/test_support.h"
#include "tests/support/fixture_path.h"

namespace varnock::engine::dss7 {
namespace {

using testing::CreateMemory;
using testing::OpenMemory;
using Snapshot = std::map<std::string, std::array<std::vector<int32_t>, kAreaCount>>;

Snapshot TakeSnapshot(DssFile& file) {
  Snapshot snap;
  std::vector<CatalogEntry> catalog;
  EXPECT_EQ(file.Catalog(&catalog), Status::kOk);
  for (const auto& c : catalog) {
    Record r;
    EXPECT_EQ(file.ReadRecord(c.path, &r), Status::kOk) << c.path;
    snap[c.path] = r.areas;
  }
  return snap;
}

struct Values {
  std::vector<int32_t> header, values;
  RecordData data;
  Values(int32_t type, int n, int32_t seed) : header(6, seed), values(static_cast<size_t>(n)) {
    for (int i = 0; i < n; ++i)
      values[static_cast<size_t>(i)] = seed * 7 + i;
    data.type = type;
    data.areas[kInternalHeader] = header;
    data.areas[kValues1] = values;
  }
};

struct WriteOp {
  std::string name;
  std::function<Status(DssFile&)> run;
  std::vector<std::string> touched;  // records that may read old or new (or be gone)
};

using State = std::optional<std::array<std::vector<int32_t>, kAreaCount>>;

State StateOf(const Snapshot& snap, const std::string& path) {
  const auto it = snap.find(path);
  return it == snap.end() ? State() : State(it->second);
}

// Fault points tried by every FailEveryStep call of this process, for the test log.
int64_t g_fault_points = 0;

// Fails each I/O step of `op` in turn, with the failing write landing none, one, half or all
// of its bytes. After each failure the file is opened again (which repairs it) and must pass
// the integrity check, every record must read exactly as before or as after the operation,
// and the file must take a further write.
void FailEveryStep(const std::shared_ptr<MemoryFileIO::Storage>& base, const WriteOp& op) {
  Status s;
  Snapshot before, after;
  {
    auto file = OpenMemory(MemoryFileIO::CopyStorage(*base), &s);
    ASSERT_EQ(s, Status::kOk);
    before = TakeSnapshot(*file);
    ASSERT_EQ(op.run(*file), Status::kOk) << op.name;
    after = TakeSnapshot(*file);
  }
  std::set<std::string> paths;
  for (const auto* snap : {&before, &after}) {
    for (const auto& [path, areas] : *snap)
      paths.insert(path);
  }
  for (int64_t tear : {int64_t{0}, int64_t{1}, FaultFileIO::kTearHalf, FaultFileIO::kTearAll}) {
    bool completed = false;
    for (int64_t step = 1; step < 400 && !completed; ++step) {
      const std::string where =
          op.name + " step " + std::to_string(step) + " tear " + std::to_string(tear);
      auto storage = MemoryFileIO::CopyStorage(*base);
      auto fault = std::make_unique<FaultFileIO>(std::make_unique<MemoryFileIO>(storage));
      FaultFileIO* injector = fault.get();
      std::unique_ptr<DssFile> file;
      ASSERT_EQ(DssFile::OpenIO(std::move(fault), {}, &file), Status::kOk);
      injector->FailAt(FaultFileIO::Op::kAnyStep, step, Status::kWriteError, tear);
      const Status result = op.run(*file);
      if (!injector->fired()) {
        ASSERT_EQ(result, Status::kOk) << where;
        completed = true;
      } else {
        ++g_fault_points;
      }
      // A failed read may be retried and the operation still succeed (a copy reads the
      // location record after its own writes): then all of its work must be there.
      const bool succeeded = result == Status::kOk;
      file.reset();
      auto reopened = OpenMemory(storage, &s);
      ASSERT_EQ(s, Status::kOk) << where;
      EXPECT_EQ(reopened->header()[hdr::kWriteInProgress], 0) << where;
      IntegrityReport report;
      ASSERT_EQ(CheckIntegrity(*reopened, &report), Status::kOk) << where;
      EXPECT_TRUE(report.ok()) << where << ": " << report.Summary();
      const Snapshot now = TakeSnapshot(*reopened);
      for (const auto& path : paths) {
        const State state = StateOf(now, path);
        EXPECT_TRUE((!succeeded && state == StateOf(before, path)) || state == StateOf(after, path))
            << where << ": " << path << (state ? " torn" : " missing");
      }
      for (const auto& [path, areas] : now)
        EXPECT_TRUE(paths.count(path) == 1) << where << ": " << path << " appeared";
      Values more(300, 3, 77);
      ASSERT_EQ(reopened->Store("/AFTER/THE/FAULT///X/", more.data), Status::kOk) << where;
      ASSERT_EQ(CheckIntegrity(*reopened, &report), Status::kOk) << where;
      EXPECT_TRUE(report.ok()) << where << " then a store: " << report.Summary();
      if (::testing::Test::HasFailure()) return;
    }
    EXPECT_TRUE(completed) << op.name;
  }
}

// `prefix` + `f` names an existing record that the renames move.
std::vector<WriteOp> Operations(const std::string& existing, const std::string& prefix,
                                const std::string& f_part) {
  const std::string other = prefix + f_part;
  auto values = std::make_shared<Values>(100, 20, 3);
  auto big = std::make_shared<Values>(100, 4000, 4);
  auto small = std::make_shared<Values>(100, 2, 5);
  return {
      {"new record",
       [=](DssFile& f) { return f.WriteNewRecord("/F/NEW/FLOW///X/", values->data); },
       {"/F/NEW/FLOW///X/"}},
      {"rewrite in place",
       [=](DssFile& f) { return f.Rewrite(existing, small->data); },
       {existing}},
      {"rewrite moved", [=](DssFile& f) { return f.Rewrite(existing, big->data); }, {existing}},
      {"delete", [=](DssFile& f) { return f.Delete(existing); }, {existing}},
      {"rename in place",
       [=](DssFile& f) { return f.Rename(other, prefix + "Z/"); },
       {other, prefix + "Z/"}},
      {"rename moved",
       [=](DssFile& f) { return f.Rename(other, prefix + "A-MUCH-LONGER-F-PART/"); },
       {other, prefix + "A-MUCH-LONGER-F-PART/"}},
      {"rename over an existing record",
       [=](DssFile& f) { return f.Rename(other, existing); },
       {other, existing}},
      {"copy within",
       [=](DssFile& f) { return f.Copy(existing, f, "/COPY/OF/IT///X/"); },
       {"/COPY/OF/IT///X/"}},
  };
}

TEST(Dss7Fault, EveryWritePathSurvivesAFailureAtEveryStep) {
  Status s;
  CreateOptions small;
  small.hash_table_size = 5;
  small.bin_size = 30;
  auto base = MemoryFileIO::NewStorage();
  {
    auto file = CreateMemory(base, small, &s);
    ASSERT_EQ(s, Status::kOk);
    for (int i = 0; i < 12; ++i) {
      Values v(100 + 5 * (i % 2), 10 + i, i);
      ASSERT_EQ(file->WriteNewRecord("/F/B" + std::to_string(i) + "/FLOW///X/", v.data),
                Status::kOk);
    }
    ASSERT_EQ(file->Delete("/F/B3/FLOW///X/"), Status::kOk);
    Values again(100, 30, 40);
    ASSERT_EQ(file->Rewrite("/F/B4/FLOW///X/", again.data), Status::kOk);
    Values large(300, 600, 42), larger(300, 640, 43);
    ASSERT_EQ(file->WriteNewRecord("/F/BIG/TEXT///X/", large.data), Status::kOk);
    ASSERT_EQ(file->Rewrite("/F/BIG/TEXT///X/", larger.data), Status::kOk);
    ASSERT_GT(file->header()[hdr::kReclaimTotal], 0);
  }
  for (const auto& op : Operations("/F/B1/FLOW///X/", "/F/B2/FLOW///", "X/"))
    FailEveryStep(base, op);
  WriteOp undelete{
      "undelete", [](DssFile& f) { return f.Undelete("/F/B3/FLOW///X/"); }, {"/F/B3/FLOW///X/"}};
  FailEveryStep(base, undelete);
  auto values = std::make_shared<Values>(100, 25, 41);
  WriteOp reuse{"rewrite into the old version's entry",
                [=](DssFile& f) { return f.Rewrite("/F/B4/FLOW///X/", values->data); },
                {"/F/B4/FLOW///X/"}};
  FailEveryStep(base, reuse);
  WriteOp store{"store over a record",
                [=](DssFile& f) { return f.Store("/F/B5/FLOW///X/", values->data); },
                {"/F/B5/FLOW///X/"}};
  FailEveryStep(base, store);
  auto into_freed = std::make_shared<Values>(300, 500, 44);
  WriteOp reuse_space{"rewrite into freed space",
                      [=](DssFile& f) { return f.Rewrite("/F/BIG/TEXT///X/", into_freed->data); },
                      {"/F/BIG/TEXT///X/"}};
  FailEveryStep(base, reuse_space);
  WriteOp new_in_freed{
      "new record in freed space",
      [=](DssFile& f) { return f.WriteNewRecord("/F/NEW/BIG///X/", into_freed->data); },
      {"/F/NEW/BIG///X/"}};
  FailEveryStep(base, new_in_freed);
  // A write batch: new records in one chain, rewrites (one into freed space) and a delete
  // under one lock hold and one mark; each record ends before or after its own operation.
  auto batch_values = std::make_shared<Values>(100, 18, 45);
  WriteOp batch{"write batch",
                [=](DssFile& f) {
                  Status st = f.BeginBatch();
                  for (const char* path : {"/F/BATCH1/FLOW///X/", "/F/BATCH2/FLOW///X/"}) {
                    if (st == Status::kOk) st = f.WriteNewRecord(path, batch_values->data);
                  }
                  if (st == Status::kOk) st = f.Rewrite("/F/B6/FLOW///X/", batch_values->data);
                  if (st == Status::kOk) st = f.Rewrite("/F/BIG/TEXT///X/", into_freed->data);
                  if (st == Status::kOk) st = f.Delete("/F/B7/FLOW///X/");
                  const Status ended = f.EndBatch();
                  return st != Status::kOk ? st : ended;
                },
                {}};
  FailEveryStep(base, batch);
  std::printf("[ figures  ] %lld injected fault points, each followed by repair and checks\n",
              static_cast<long long>(g_fault_points));
}

TEST(Dss7Fault, NewBinBlockSurvivesAFailureAtEveryStep) {
  Status s;
  CreateOptions small;
  small.hash_table_size = 64;
  small.bin_size = 30;
  auto base = MemoryFileIO::NewStorage();
  auto file = CreateMemory(base, small, &s);
  ASSERT_EQ(s, Status::kOk);
  for (int i = 0; file->header()[hdr::kBinsLeftInBlock] > 0; ++i) {
    Values v(300, 3, i);
    ASSERT_EQ(file->WriteNewRecord("/BLOCK/P" + std::to_string(i) + "/X///Y/", v.data),
              Status::kOk);
  }
  file.reset();
  // Fresh paths until one needs a new bin: each table hash not yet used does.
  WriteOp op{"new record in a new bin block",
             [](DssFile& f) {
               Values v(300, 3, 99);
               for (int i = 0; i < 1000; ++i) {
                 const std::string path = "/BLOCK/Q" + std::to_string(i) + "/X///Y/";
                 const int64_t bins = f.header()[hdr::kBinsUsed];
                 const Status st = f.WriteNewRecord(path, v.data);
                 if (st != Status::kOk || f.header()[hdr::kBinsUsed] > bins) return st;
               }
               return Status::kInvalidArgument;
             },
             {}};
  Status open_status;
  auto probe = OpenMemory(base, &open_status);
  ASSERT_EQ(open_status, Status::kOk);
  for (const auto& [path, areas] : TakeSnapshot(*probe))
    (void)areas;
  probe.reset();
  // Records written by the operation itself are new; only the old ones are compared.
  FailEveryStep(base, op);
  std::printf("[ figures  ] %lld injected fault points so far\n",
              static_cast<long long>(g_fault_points));
}

TEST(Dss7Fault, ReferenceFileCopySurvivesFailures) {
  VARNOCK_REQUIRE_FIXTURE(path, "fixture7.dss");
  auto base = testing::LoadStorage(path);
  for (const auto& op : Operations("/FIXTURES/DAILY/STAGE/01Jan2020/1Day/C-ZTSSTORE/",
                                   "/FIXTURES/NOTES/README///", "C-ZTEXTSTORE/")) {
    FailEveryStep(base, op);
  }
  std::printf("[ figures  ] %lld injected fault points so far\n",
              static_cast<long long>(g_fault_points));
}

}  // namespace
}  // namespace varnock::engine::dss7

namespace varnock::engine::dss7 {
namespace {

// With sync_each_write the link step is fenced by fsyncs on both sides, and the operation
// ends with one.
TEST(Dss7Fault, SyncEachWriteFencesTheLinkStep) {
  Status s;
  auto base = MemoryFileIO::NewStorage();
  ASSERT_NE(testing::CreateMemory(base, {}, &s), nullptr);
  FileOptions options;
  options.sync_each_write = true;
  auto fault = std::make_unique<FaultFileIO>(std::make_unique<MemoryFileIO>(base));
  FaultFileIO* counter = fault.get();
  std::unique_ptr<DssFile> file;
  ASSERT_EQ(DssFile::OpenIO(std::move(fault), options, &file), Status::kOk);
  Values v(300, 10, 1);
  ASSERT_EQ(file->Store("/SYNC/A/X///Y/", v.data), Status::kOk);
  EXPECT_EQ(counter->syncs(), 3);
  ASSERT_EQ(file->Store("/SYNC/A/X///Y/", v.data), Status::kOk);
  EXPECT_EQ(counter->syncs(), 6);
}

}  // namespace
}  // namespace varnock::engine::dss7
