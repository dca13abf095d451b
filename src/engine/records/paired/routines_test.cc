// ZSPD and ZRPD through the C ABI, on copies of fixture7.dss and on new files.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>

#include "engine/heclib/heclib_abi.h"
#include "engine/heclib/open_files.h"
#include "engine/heclib/options.h"
#include "engine/records/paired/record_io.h"
#include "tests/support/fixture_path.h"
#include "tests/support/temp_folder.h"

namespace varnock::engine::paired {
namespace {

const std::string kFloatPath = "/FIXTURES/RESERVOIR/ELEV-STORAGE///F77-ZSPD/";
const std::string kDoublePath = "/FIXTURES/RESERVOIR/ELEV-AREA///C-ZPDSTORE/";
const std::string kSeriesPath = "/FIXTURES/DAILY/STAGE/01Jan2020/1Day/C-ZTSSTORE/";
const std::string kNewPath = "/BASIN/DAM/ELEV-FLOW///NEW/";

struct Table {
  std::array<int32_t, 600> words{};
  explicit Table(const std::string& name) {
    int32_t status = -99;
    ZOPEN_(words.data(), name.data(), int32_t(name.size()), &status);
    EXPECT_EQ(status, 0) << name;
  }
  ~Table() { ZCLOSE_(words.data()); }
  std::string Ask(std::string_view key) {
    std::string text(8, ' ');
    int32_t number = -903;
    ZINQIR_(words.data(), key.data(), int32_t(key.size()), text.data(), 8, &number);
    return std::to_string(number) + " " + text.substr(0, text.find_last_not_of(' ') + 1);
  }
};

// ZRPD's outputs; buffers start as '#' / -7 so untouched elements show.
struct Read {
  int32_t nord = -9, ncurve = -9, ihoriz = -9, nvals = -9, has_labels = -9, nheadu = -9;
  int32_t status = -99;
  std::string units = std::string(32, '#');
  std::vector<float> values;
  std::string labels;
  std::array<int32_t, 2> header{};
};

Read ReadPd(Table& t, const std::string& path, int32_t kvals, int32_t len = 12, int32_t k = 50) {
  Read r;
  r.values.assign(size_t(kvals) + 1, -7.0f);
  r.labels.assign(size_t(len * k) + 4, '#');
  int32_t kheadu = 2;
  char* u = r.units.data();
  ZRPD_(t.words.data(), path.data(), int32_t(path.size()), &r.nord, &r.ncurve, &r.ihoriz, u, 8,
        u + 8, 8, u + 16, 8, u + 24, 8, r.values.data(), &kvals, &r.nvals, r.labels.data(), len, &k,
        &r.has_labels, r.header.data(), &kheadu, &r.nheadu, &r.status);
  return r;
}

// ZSPD's arguments; `labels` is the whole buffer of `label_len`-character elements.
struct Store {
  std::string path = kNewPath;
  int32_t nord = 2, ncurve = 1, ihoriz = 1, label_len = 12, has_labels = 1, plan = 0;
  std::string units = "FT      UNT     CFS     UNT     ";
  std::vector<float> values = {1, 2, 10, 20};
  std::string labels = "FIRST       ";
  std::vector<int32_t> header;
  int32_t Run(Table& t) const {
    const int32_t nheadu = int32_t(header.size());
    const char* u = units.data();
    int32_t status = -99;
    ZSPD_(t.words.data(), path.data(), int32_t(path.size()), &nord, &ncurve, &ihoriz, u, 8, u + 8,
          8, u + 16, 8, u + 24, 8, values.data(), labels.data(), label_len, &has_labels,
          header.data(), &nheadu, &plan, &status);
    return status;
  }
};

class PairedRoutines : public ::testing::Test {
 protected:
  void SetUp() override {
    VARNOCK_REQUIRE_FIXTURE(source, "fixture7.dss");
    copy_ = folder_.CopyIn(source, "fixture7.dss");
  }
  void TearDown() override { ResetOptions(); }
  varnock::testing::TempFolder folder_;
  std::string copy_;
};

TEST_F(PairedRoutines, ReadsHecsRecordsWithHeclibsStatuses) {
  Table t(copy_);
  Read r = ReadPd(t, kFloatPath, 100);
  ASSERT_EQ(r.status, 0);
  EXPECT_EQ(std::tie(r.nord, r.ncurve, r.ihoriz, r.nvals, r.has_labels),
            std::make_tuple(10, 2, 1, 30, 1));
  EXPECT_EQ(r.units, "FT      UNT     AC-FT   UNT     ");
  EXPECT_EQ(r.values[1], 105.0f);
  EXPECT_EQ(r.values[10 + 3], 450.0f);   // curve 1, row 4
  EXPECT_EQ(r.values[20 + 9], 6085.0f);  // curve 2, row 10
  EXPECT_EQ(r.values[30], -7.0f);
  EXPECT_EQ(r.labels, "LOW CURVE   HIGH CURVE  " + std::string(576, ' ') + "####");
  EXPECT_EQ(t.Ask("TYPE") + t.Ask("RVER") + t.Ask("PROG"), "200 PD1 -903 not sp");
  EXPECT_EQ(ReadPd(t, kFloatPath, 100, 16, 1).labels, "LOW CURVE       ####");

  r = ReadPd(t, kDoublePath, 100);
  EXPECT_EQ(r.values[6 + 1], float(1000.1428571428571));  // doubles narrowed
  EXPECT_EQ(r.labels.substr(0, 24), "SUMMER      WINTER      ");

  r = ReadPd(t, kFloatPath, 5);  // too small: header set, the first KVALS values delivered
  EXPECT_EQ(std::tie(r.status, r.nvals, r.nord, r.ncurve), std::make_tuple(1, 5, 10, 2));
  EXPECT_EQ(r.values[4], 120.0f);
  EXPECT_EQ(r.values[5], -7.0f);
  EXPECT_EQ(r.units.substr(16, 8), "AC-FT   ");
  r = ReadPd(t, kSeriesPath, 100);
  EXPECT_EQ(std::tie(r.status, r.nvals), std::make_tuple(20, 0));
  EXPECT_EQ(t.Ask("TYPE"), "100 RTS");
  r = ReadPd(t, "/NO/SUCH/RECORD///X/", 100);
  EXPECT_EQ(std::tie(r.status, r.nvals, r.nord), std::make_tuple(-1, 0, 0));
  Table closed(copy_);
  ZCLOSE_(closed.words.data());
  EXPECT_EQ(ReadPd(closed, kFloatPath, 100).status, 70);
}

TEST_F(PairedRoutines, DamagedRecordGivesStatus10) {
  dss7::InfoBlock info;
  {
    Table t(copy_);
    ASSERT_EQ(
        container::Dss7FileOf(*FileOfTable(t.words.data(), nullptr))->Lookup(kFloatPath, &info),
        dss7::Status::kOk);
  }
  std::fstream f(copy_, std::ios::in | std::ios::out | std::ios::binary);
  f.seekp(info.area_address[dss7::kInternalHeader] * 8);
  f.write("\xff\xff\xff\x7f", 4);  // ordinates: INT_MAX
  f.close();
  Table t(copy_);
  const Read r = ReadPd(t, kFloatPath, 100);
  EXPECT_EQ(std::tie(r.status, r.nvals, r.nord), std::make_tuple(10, 0, 0));
}

TEST_F(PairedRoutines, StoreStatusesFollowHeclib) {
  Table t(copy_);
  const std::pair<void (*)(Store&), int32_t> cases[] = {
      {[](Store& s) { s.nord = 0; }, -4},
      {[](Store& s) { s.ncurve = 0; }, -5},
      {[](Store& s) { s.ncurve = 101; }, -5},
      {[](Store& s) { s.path = "/A/"; }, -10},
      {[](Store& s) { s.path = " /A/B/C/D/E/F/"; }, -10},
      {[](Store& s) { s.plan = 10; }, -11},
      {[](Store& s) { s.plan = 2; }, -1},
      {[](Store& s) { s.path = kSeriesPath; }, 20},
      {[](Store& s) { s.path = kFloatPath, s.plan = 1; }, -2},
      {[](Store& s) { s.path = kDoublePath, s.plan = 2; }, 0},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    Store s;
    cases[i].first(s);
    EXPECT_EQ(s.Run(t), cases[i].second) << i;
  }
  EXPECT_EQ(ReadPd(t, kNewPath, 10).status, -1);  // nothing written under the new name
  int32_t zero = 0;
  ZSET_("PROT", 4, "ON", 2, &zero);
  Store over;
  over.path = kFloatPath;
  EXPECT_EQ(over.Run(t), -2);
  EXPECT_EQ(Store{}.Run(t), 0);  // new records are still written
  ResetOptions();
  ZSET_("READ", 4, "ON", 2, &zero);
  Table read_only(copy_);
  EXPECT_EQ(Store{}.Run(read_only), -12);
}

TEST_F(PairedRoutines, StoredRecordsReadBackAndMatchHecs) {
  Table t(copy_);
  Store s;
  s.nord = 3;
  s.ncurve = 2;
  s.ihoriz = 2;
  s.values = {1, 2, 3, 10, 20, 30, 100, 200, 300};
  // The library's layout: elements of 12 x (label upper bound, here 3), sized exactly.
  s.label_len = 36;
  s.labels = "SHORT" + std::string(31, ' ') + "A LABEL OF 19 CHARS" + std::string(17, ' ');
  s.header = {5, 6, 7};
  ASSERT_EQ(s.Run(t), 0);
  Read r = ReadPd(t, kNewPath, 100);
  EXPECT_EQ(std::tie(r.status, r.ihoriz, r.nvals, r.nheadu), std::make_tuple(0, 2, 9, 2));
  EXPECT_EQ(std::vector<float>(r.values.begin(), r.values.begin() + 9), s.values);
  EXPECT_EQ(r.labels.substr(0, 24), "SHORT       A LABEL OF 1");
  EXPECT_EQ(ReadPd(t, kNewPath, 100, 20, 2).labels.substr(20, 20), "A LABEL OF 19 CHARS ");
  s.ihoriz = 3;  // anything but 2 is stored as 1
  s.has_labels = 0;
  ASSERT_EQ(s.Run(t), 0);
  r = ReadPd(t, kNewPath, 100);
  EXPECT_EQ(std::tie(r.ihoriz, r.has_labels), std::make_tuple(1, 0));
  EXPECT_EQ(r.labels.substr(0, 600), std::string(600, ' '));

  // F10 as its Fortran writer passed it (CHARACTER*16 labels), over the double record F11.
  s = Store{};
  s.path = kDoublePath;
  s.nord = 10;
  s.ncurve = 2;
  s.units = "FT      UNT     AC-FT   UNT     ";
  s.values.clear();
  for (int c = 0; c < 3; ++c) {
    for (int i = 0; i < 10; ++i)
      s.values.push_back(c == 0 ? 100.0f + 5 * i : c == 1 ? 50.0f * i * i : 75.0f * i * i + 10);
  }
  s.label_len = 16;
  s.labels = "LOW CURVE       HIGH CURVE      ";
  ASSERT_EQ(s.Run(t), 0);
  dss7::Record hec, ours;
  dss7::DssFile* file = container::Dss7FileOf(*FileOfTable(t.words.data(), nullptr));
  ASSERT_EQ(file->ReadRecord(kFloatPath, &hec), dss7::Status::kOk);
  ASSERT_EQ(file->ReadRecord(kDoublePath, &ours), dss7::Status::kOk);
  EXPECT_EQ(ours.info.type, kPairedFloat);
  EXPECT_EQ(ours.areas, hec.areas);
}

void Set(std::string_view keyword, std::string_view text) {
  int32_t number = 0;
  ZSET_(keyword.data(), int32_t(keyword.size()), text.data(), int32_t(text.size()), &number);
}

// On a DSS-6 file, ZSPD stamps the program named when it writes (ZSET PROG after ZOPEN too),
// and a new record takes the TAG set before it (once) or the file's next "T<n>"; a rewrite
// keeps its tag.
TEST(PairedRoutinesDss6, WritesCarryTheProgramAndTagSetBeforeThem) {
  varnock::testing::TempFolder folder;
  int32_t six = 6;
  ZSET_("DSSV", 4, "", 0, &six);
  Table t(folder.File("tags6.dss"));
  struct Step {
    const char* path;
    const char* program;  // ZSET PROG before the write; null: none
    const char* tag;      // ZSET TAG before the write; null: none
    const char* stored_program;
    const char* stored_tag;
  };
  const Step steps[] = {
      {"/A/B/ELEV-FLOW///ONE/", nullptr, nullptr, "Undefi", "T1"},
      {"/A/B/ELEV-FLOW///TWO/", "MYPROGRAM", "GAUGE 7", "MYPROG", "GAUGE 7"},
      {"/A/B/ELEV-FLOW///THREE/", nullptr, nullptr, "MYPROG", "T2"},     // the tag was used up
      {"/A/B/ELEV-FLOW///TWO/", "OTHER", "UNUSED", "OTHER", "GAUGE 7"},  // a rewrite keeps it
      {"/A/B/ELEV-FLOW///FOUR/", nullptr, nullptr, "OTHER", "UNUSED"},   // ... for the next new
  };
  for (const Step& step : steps) {
    SCOPED_TRACE(std::string(step.path) + " " + step.stored_tag);
    if (step.program != nullptr) Set("PROG", step.program);
    if (step.tag != nullptr) Set("TAG", step.tag);
    Store s;
    s.path = step.path;
    ASSERT_EQ(s.Run(t), 0);
    container::RecordFile* file = FileOfTable(t.words.data(), nullptr);
    ASSERT_NE(file, nullptr);
    container::RecordInfo info;
    ASSERT_EQ(file->file().Lookup(step.path, &info), dss7::Status::kOk);
    EXPECT_EQ(info.program, step.stored_program);
    std::vector<container::CatalogItem> items;
    ASSERT_EQ(file->file().Catalog(&items), dss7::Status::kOk);
    const auto item = std::find_if(items.begin(), items.end(),
                                   [&](const auto& c) { return c.path == step.path; });
    ASSERT_NE(item, items.end());
    EXPECT_EQ(item->tag.substr(0, item->tag.find_last_not_of(' ') + 1), step.stored_tag);
  }
  ResetOptions();
}

}  // namespace
}  // namespace varnock::engine::paired
