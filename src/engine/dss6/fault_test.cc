#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "engine/dss6/dss6_file.h"
#include "engine/dss7/fault_file_io.h"
#include "engine/dss7/test_support.h"
#include "tests/support/fixture_path.h"

namespace varnock::engine::dss6 {
namespace {

using Storage = std::shared_ptr<dss7::MemoryFileIO::Storage>;
using Snapshot = std::map<std::string, std::array<std::vector<int32_t>, container::kAreaCount>>;

Snapshot TakeSnapshot(Dss6File& f) {
  Snapshot snap;
  std::vector<container::CatalogItem> catalog;
  EXPECT_EQ(f.Catalog(&catalog), Status::kOk);
  for (const auto& c : catalog) {
    container::RecordAreas r;
    EXPECT_EQ(f.ReadRecord(c.path, &r), Status::kOk) << c.path;
    snap[c.path] = r.areas;
  }
  return snap;
}

struct WriteOp {
  std::string name;
  std::function<Status(Dss6File&)> run;
  std::vector<std::string> touched;  // records that may read old or new (or be gone)
};

const std::vector<int32_t> kHeader = {1, 2, 3, 4, 5};
const std::vector<int32_t> kShortData(10, 42);
const std::vector<int32_t> kLongData(2000, 43);

RecordData6 Data(const std::vector<int32_t>& values) {
  RecordData6 d;
  d.type = type::kText;
  d.internal_header = kHeader;
  d.data = values;
  d.logical_count = static_cast<int32_t>(values.size());
  return d;
}

// Fails each I/O step of `op` in turn (plain and torn), reopens the file, and checks that every
// record the operation does not touch reads exactly as before.
void FailEveryStep(const Storage& base, const WriteOp& op) {
  Snapshot before;
  {
    std::unique_ptr<Dss6File> f;
    ASSERT_EQ(Dss6File::OpenIO(
                  std::make_unique<dss7::MemoryFileIO>(dss7::MemoryFileIO::CopyStorage(*base)), &f),
              Status::kOk);
    before = TakeSnapshot(*f);
  }
  for (int64_t torn : {0, 1}) {
    bool completed = false;
    for (int64_t step = 1; step < 300 && !completed; ++step) {
      auto storage = dss7::MemoryFileIO::CopyStorage(*base);
      auto fault =
          std::make_unique<dss7::FaultFileIO>(std::make_unique<dss7::MemoryFileIO>(storage));
      auto* injector = fault.get();
      std::unique_ptr<Dss6File> f;
      ASSERT_EQ(Dss6File::OpenIO(std::move(fault), Options6{}, &f), Status::kOk);
      injector->FailAt(dss7::FaultFileIO::Op::kWrite, step, Status::kWriteError, torn);
      const Status result = op.run(*f);
      if (!injector->fired()) {
        ASSERT_EQ(result, Status::kOk) << op.name << " step " << step;
        completed = true;
      } else {
        EXPECT_NE(result, Status::kOk) << op.name << " step " << step;
      }
      f.reset();
      std::unique_ptr<Dss6File> reopened;
      ASSERT_EQ(Dss6File::OpenIO(std::make_unique<dss7::MemoryFileIO>(storage), &reopened),
                Status::kOk)
          << op.name << " step " << step;
      for (const auto& [path, areas] : before) {
        if (std::find(op.touched.begin(), op.touched.end(), path) != op.touched.end()) continue;
        container::RecordAreas r;
        ASSERT_EQ(reopened->ReadRecord(path, &r), Status::kOk)
            << op.name << " step " << step << " torn " << torn << ": " << path;
        EXPECT_EQ(r.areas, areas) << op.name << " step " << step << ": " << path;
      }
    }
    EXPECT_TRUE(completed) << op.name;
  }
}

TEST(Dss6Fault, AFailedWriteKeepsEveryOtherRecord) {
  VARNOCK_REQUIRE_FIXTURE(path, "fixture6.dss");
  const Storage base = dss7::testing::LoadStorage(path);
  const std::string hourly = "/FIXTURES/HOURLY/FLOW/01JAN2021/1HOUR/F77-ZSRTS/";
  const std::string text = "/FIXTURES/NOTES/README///C-ZTEXTSTORE/";
  const std::string paired = "/FIXTURES/RESERVOIR/ELEV-STORAGE///F77-ZSPD/";
  const WriteOp ops[] = {
      {"new record",
       [](Dss6File& f) { return f.WriteNewRecord("/NEW/REC/X///Y/", Data(kShortData)); },
       {}},
      // Enough new paths in one hash chain's neighbourhood to take new bins and bin blocks.
      {"many new records",
       [](Dss6File& f) {
         for (int i = 0; i < 40; ++i) {
           const Status s =
               f.WriteNewRecord("/NEW/REC" + std::to_string(i) + "/X///Y/", Data(kShortData));
           if (s != Status::kOk) return s;
         }
         return Status::kOk;
       },
       {}},
      {"growing rewrite", [&](Dss6File& f) { return f.Rewrite(text, Data(kLongData)); }, {text}},
      {"delete", [&](Dss6File& f) { return f.Delete(hourly); }, {hourly}},
      {"rename",
       [&](Dss6File& f) { return f.Rename(paired, "/FIXTURES/RES/MOVED///X/"); },
       {paired}},
  };
  for (const auto& op : ops)
    FailEveryStep(base, op);
}

}  // namespace
}  // namespace varnock::engine::dss6
