// The cached hash table and bins stay coherent with other handles writing the same file, and
// write batches keep the lock and the write-in-progress mark for their whole length.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "engine/dss7/fault_file_io.h"
#include "engine/dss7/integrity.h"
#include "engine/dss7/posix_file_io.h"
#include "engine/dss7/test_support.h"

namespace varnock::engine::dss7 {
namespace {

// A record whose values say which write made it.
struct Payload {
  std::vector<int32_t> values;
  RecordData data;
  Payload(int32_t seed, int n) : values(static_cast<size_t>(n)) {
    for (int i = 0; i < n; ++i)
      values[static_cast<size_t>(i)] = seed * 1000 + i;
    data.type = 300;
    data.areas[kValues1] = values;
  }
};

// Two handles on one file: over POSIX files (the header is mapped, so a changed header is seen
// without a read) or over shared memory storage (no mapping: every check reads the header).
struct Pair {
  std::unique_ptr<DssFile> a, b;
};

Pair OpenPosixPair(const std::string& name, const CreateOptions& create) {
  const std::string path = testing::TempDir() + "/" + name;
  std::filesystem::remove(path);
  Pair p;
  EXPECT_EQ(DssFile::Create(path, create, {}, &p.a), Status::kOk);
  EXPECT_EQ(DssFile::Open(path, {}, &p.b), Status::kOk);
  return p;
}

Pair OpenMemoryPair(const CreateOptions& create) {
  auto storage = MemoryFileIO::NewStorage();
  Status s;
  Pair p;
  p.a = testing::CreateMemory(storage, create, &s);
  EXPECT_EQ(s, Status::kOk);
  p.b = testing::OpenMemory(storage, &s);
  EXPECT_EQ(s, Status::kOk);
  return p;
}

// Reads every path of the model through `file`: live ones hold their seed, others are absent.
void ExpectModel(DssFile& file, const std::map<std::string, int32_t>& model,
                 const std::string& where) {
  for (const auto& [path, seed] : model) {
    Record r;
    const Status s = file.ReadRecord(path, &r);
    if (seed < 0) {
      EXPECT_EQ(s, Status::kNotFound) << where << ": " << path;
      continue;
    }
    ASSERT_EQ(s, Status::kOk) << where << ": " << path;
    ASSERT_FALSE(r.areas[kValues1].empty()) << where << ": " << path;
    EXPECT_EQ(r.areas[kValues1][0], seed * 1000) << where << ": " << path;
  }
}

TEST(Dss7Cache, HandlesSeeEachOthersWritesBetweenTheirOwn) {
  // A tiny table and bins: every path shares chains and overflow bins with the others.
  CreateOptions tiny;
  tiny.hash_table_size = 3;
  tiny.bin_size = 30;
  struct Backing {
    const char* name;
    bool posix;
  };
  for (const Backing backing : {Backing{"posix", true}, Backing{"memory", false}}) {
    Pair p = backing.posix ? OpenPosixPair("cache_pair.dss", tiny) : OpenMemoryPair(tiny);
    ASSERT_TRUE(p.a && p.b) << backing.name;
    std::map<std::string, int32_t> model;  // path -> seed, -1 when deleted
    int32_t seed = 1;
    for (int round = 0; round < 40; ++round) {
      DssFile& writer = round % 2 == 0 ? *p.a : *p.b;
      const std::string path = "/C/P" + std::to_string(round % 13) + "/FLOW///X/";
      const std::string where = std::string(backing.name) + " round " + std::to_string(round);
      // Mostly stores (new or rewrite, growing now and then), every fifth a delete.
      if (round % 5 == 4 && model.count(path) != 0 && model[path] >= 0) {
        ASSERT_EQ(writer.Delete(path), Status::kOk) << where;
        model[path] = -1;
      } else {
        Payload v(seed, 5 + (round * 7) % 40);
        ASSERT_EQ(writer.Store(path, v.data), Status::kOk) << where;
        model[path] = seed++;
      }
      // Both handles, the writer's caches and the other's, agree with the model.
      ExpectModel(*p.a, model, where + " via a");
      ExpectModel(*p.b, model, where + " via b");
      if (::testing::Test::HasFailure()) return;
    }
    IntegrityReport report;
    ASSERT_EQ(CheckIntegrity(*p.a, &report), Status::kOk);
    EXPECT_TRUE(report.ok()) << backing.name << ": " << report.Summary();
  }
}

TEST(Dss7Cache, ABatchHoldsTheLockAndTheMarkUntilItEnds) {
  for (const bool posix : {true, false}) {
    Pair p = posix ? OpenPosixPair("cache_batch.dss", {}) : OpenMemoryPair({});
    ASSERT_TRUE(p.a && p.b);
    Payload first(1, 10), second(2, 12);
    ASSERT_EQ(p.a->Store("/B/EXISTING/X///Y/", first.data), Status::kOk);
    ASSERT_EQ(p.a->BeginBatch(), Status::kOk);
    EXPECT_EQ(p.a->BeginBatch(), Status::kInvalidArgument);  // batches do not nest
    ASSERT_EQ(p.a->Store("/B/ONE/X///Y/", first.data), Status::kOk);
    // A refused operation writes nothing and leaves the batch going.
    EXPECT_EQ(p.a->WriteNewRecord("/B/EXISTING/X///Y/", second.data), Status::kExists);
    ASSERT_EQ(p.a->Store("/B/EXISTING/X///Y/", second.data), Status::kOk);
    // Another handle waits for the lock, and sees the write in progress.
    ASSERT_EQ(p.b->Refresh(), Status::kOk);
    EXPECT_NE(p.b->header()[hdr::kWriteInProgress], 0);
    FileOptions impatient;
    impatient.lock_attempts = 1;
    std::unique_ptr<DssFile> other;
    if (posix) {
      ASSERT_EQ(DssFile::Open(testing::TempDir() + "/cache_batch.dss", impatient, &other),
                Status::kOk);
      EXPECT_EQ(other->Store("/B/OTHER/X///Y/", first.data), Status::kLockBusy);
    }
    ASSERT_EQ(p.a->EndBatch(), Status::kOk);
    EXPECT_EQ(p.a->EndBatch(), Status::kInvalidArgument);
    ASSERT_EQ(p.b->Refresh(), Status::kOk);
    EXPECT_EQ(p.b->header()[hdr::kWriteInProgress], 0);
    if (other) {
      EXPECT_EQ(other->Store("/B/OTHER/X///Y/", first.data), Status::kOk);
    }
    ExpectModel(*p.b, {{"/B/ONE/X///Y/", 1}, {"/B/EXISTING/X///Y/", 2}}, "after the batch");
    IntegrityReport report;
    ASSERT_EQ(CheckIntegrity(*p.b, &report), Status::kOk);
    EXPECT_TRUE(report.ok()) << report.Summary();
  }
}

TEST(Dss7Cache, ReadingSeveralRecordsAtOnceGivesWhatReadingEachGives) {
  for (const bool posix : {true, false}) {
    CreateOptions tiny;
    tiny.hash_table_size = 5;
    tiny.bin_size = 30;
    Pair p = posix ? OpenPosixPair("cache_many.dss", tiny) : OpenMemoryPair(tiny);
    ASSERT_TRUE(p.a && p.b);
    // Records written together, others rewritten (smaller, so into freed space, or larger),
    // deleted, and paths never written, in one request.
    std::vector<std::string> paths;
    for (int i = 0; i < 12; ++i) {
      paths.push_back("/M/P" + std::to_string(i) + "/FLOW///X/");
      Payload v(i + 1, 20 + 30 * (i % 3));
      ASSERT_EQ(p.a->Store(paths.back(), v.data), Status::kOk);
    }
    for (int i : {2, 7}) {
      Payload v(50 + i, 4);
      ASSERT_EQ(p.b->Store(paths[static_cast<size_t>(i)], v.data), Status::kOk);
    }
    Payload grown(60, 300);
    ASSERT_EQ(p.b->Store(paths[5], grown.data), Status::kOk);
    ASSERT_EQ(p.b->Delete(paths[9]), Status::kOk);
    paths.push_back("/M/NEVER/FLOW///X/");
    paths.push_back(paths[3]);  // the same path twice
    std::vector<Record> many(paths.size());
    std::vector<Status> statuses(paths.size());
    // Through the handle that wrote first (its caches older than the other's writes).
    ASSERT_EQ(p.a->ReadRecords(paths, many, statuses), Status::kOk);
    for (size_t i = 0; i < paths.size(); ++i) {
      Record one;
      EXPECT_EQ(statuses[i], p.b->ReadRecord(paths[i], &one)) << paths[i];
      if (statuses[i] != Status::kOk) continue;
      EXPECT_EQ(many[i].areas, one.areas) << paths[i];
      EXPECT_EQ(many[i].info.address, one.info.address) << paths[i];
    }
  }
}

TEST(Dss7Cache, RecordsWrittenTogetherAreReadInOnePass) {
  auto storage = MemoryFileIO::NewStorage();
  Status s;
  ASSERT_NE(testing::CreateMemory(storage, {}, &s), nullptr);
  auto counting = std::make_unique<FaultFileIO>(std::make_unique<MemoryFileIO>(storage));
  FaultFileIO* counter = counting.get();
  std::unique_ptr<DssFile> file;
  ASSERT_EQ(DssFile::OpenIO(std::move(counting), {}, &file), Status::kOk);
  std::vector<std::string> paths;
  for (int i = 0; i < 12; ++i) {
    paths.push_back("/ONE/PASS/FLOW/0" + std::to_string(i + 1) + "JAN2021/1HOUR/X/");
    Payload v(i + 1, 700);
    ASSERT_EQ(file->Store(paths.back(), v.data), Status::kOk);
  }
  std::vector<Record> many(paths.size());
  std::vector<Status> statuses(paths.size());
  ASSERT_EQ(file->ReadRecords(paths, many, statuses), Status::kOk);  // caches the bins
  const int64_t before = counter->reads();
  ASSERT_EQ(file->ReadRecords(paths, many, statuses), Status::kOk);
  for (size_t i = 0; i < paths.size(); ++i) {
    ASSERT_EQ(statuses[i], Status::kOk);
    EXPECT_EQ(many[i].areas[kValues1][0], static_cast<int32_t>(i + 1) * 1000);
  }
  // The header check (no mapped header here), then one read of all twelve records.
  EXPECT_LE(counter->reads() - before, 2);
}

}  // namespace
}  // namespace varnock::engine::dss7
