// ZSPD and ZRPD through the C ABI: HECLIB's arguments, element-length label buffers and
// statuses, on copies of fixture7.dss and on new files.
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "engine/heclib_abi.h"
#include "engine/open_files.h"
#include "engine/options.h"
#include "engine/paired/record_io.h"
#include "tests/support/fixture_path.h"
#include "tests/support/temp_folder.h"

namespace varnock::engine::paired {
namespace {

using varnock::testing::TempFolder;

const std::string kFloatPath = "/FIXTURES/RESERVOIR/ELEV-STORAGE///F77-ZSPD/";
const std::string kDoublePath = "/FIXTURES/RESERVOIR/ELEV-AREA///C-ZPDSTORE/";
const std::string kSeriesPath = "/FIXTURES/DAILY/STAGE/01Jan2020/1Day/C-ZTSSTORE/";
const std::string kNewPath = "/BASIN/DAM/ELEV-FLOW///NEW/";

struct Table {
  std::array<int32_t, 600> words{};
  explicit Table(const std::string& name) {
    int32_t status = -99;
    ZOPEN_(words.data(), name.data(), static_cast<int32_t>(name.size()), &status);
    EXPECT_EQ(status, 0) << name;
  }
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;
  ~Table() { ZCLOSE_(words.data()); }
  int32_t* data() { return words.data(); }
  dss7::DssFile* file() { return FileOfTable(words.data(), nullptr); }
  std::string Ask(std::string_view keyword) {
    std::string text(8, '#');
    int32_t number = -903;
    ZINQIR_(data(), keyword.data(), static_cast<int32_t>(keyword.size()), text.data(), 8, &number);
    return std::to_string(number) + " " + text.substr(0, text.find_last_not_of(' ') + 1);
  }
};

// Everything ZRPD hands back; text outputs start as '#' so untouched characters show.
struct Read {
  int32_t nord = -9, ncurve = -9, ihoriz = -9, nvals = -9, has_labels = -9, nheadu = -9;
  int32_t status = -99;
  std::string units1 = std::string(8, '#'), type1 = units1, units2 = units1, type2 = units1;
  std::vector<float> values;
  std::string labels;
  std::array<int32_t, 4> header{};
};

Read ReadPd(Table& t, const std::string& path, int32_t kvals, int32_t label_len = 12,
            int32_t klabel = 50, int32_t kheadu = 0) {
  Read r;
  r.values.assign(static_cast<size_t>(kvals) + 1, -7.0f);
  r.labels.assign(static_cast<size_t>(label_len * klabel) + 4, '#');
  ZRPD_(t.data(), path.data(), static_cast<int32_t>(path.size()), &r.nord, &r.ncurve, &r.ihoriz,
        r.units1.data(), 8, r.type1.data(), 8, r.units2.data(), 8, r.type2.data(), 8,
        r.values.data(), &kvals, &r.nvals, r.labels.data(), label_len, &klabel, &r.has_labels,
        r.header.data(), &kheadu, &r.nheadu, &r.status);
  return r;
}

// ZSPD's arguments; labels is the caller's whole buffer, each element label_len long.
struct Store {
  std::string path = kNewPath;
  int32_t nord = 2, ncurve = 1, ihoriz = 1;
  std::string units1 = "FT      ", type1 = "UNT     ", units2 = "CFS     ", type2 = "UNT     ";
  std::vector<float> values = {1, 2, 10, 20};
  std::string labels = "FIRST       ";
  int32_t label_len = 12, has_labels = 1, plan = 0;
  std::vector<int32_t> header;
  int32_t Run(Table& t) const {
    const int32_t nheadu = static_cast<int32_t>(header.size());
    int32_t status = -99;
    ZSPD_(t.data(), path.data(), static_cast<int32_t>(path.size()), &nord, &ncurve, &ihoriz,
          units1.data(), 8, type1.data(), 8, units2.data(), 8, type2.data(), 8, values.data(),
          labels.data(), label_len, &has_labels, header.data(), &nheadu, &plan, &status);
    return status;
  }
};

class PairedRoutines : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string source = varnock::testing::FixturePath("fixture7.dss");
    if (!std::filesystem::exists(source)) GTEST_SKIP() << "reference file not present";
    copy_ = folder_.CopyIn(source, "fixture7.dss");
  }
  void TearDown() override { ResetOptions(); }
  TempFolder folder_;
  std::string copy_;
};

TEST_F(PairedRoutines, ReadsHecsRecordsIntoHeclibsArguments) {
  Table t(copy_);
  Read r = ReadPd(t, kFloatPath, 100);
  ASSERT_EQ(r.status, 0);
  EXPECT_EQ(r.nord, 10);
  EXPECT_EQ(r.ncurve, 2);
  EXPECT_EQ(r.ihoriz, 1);
  EXPECT_EQ(r.units1 + r.type1 + r.units2 + r.type2, "FT      UNT     AC-FT   UNT     ");
  EXPECT_EQ(r.nvals, 30);
  EXPECT_EQ(r.values[1], 105.0f);
  EXPECT_EQ(r.values[10 + 3], 450.0f);   // curve 1, row 4
  EXPECT_EQ(r.values[20 + 9], 6085.0f);  // curve 2, row 10
  EXPECT_EQ(r.values[30], -7.0f);
  EXPECT_EQ(r.has_labels, 1);
  EXPECT_EQ(r.labels.substr(0, 24), "LOW CURVE   HIGH CURVE  ");
  EXPECT_EQ(r.labels.substr(24, 600 - 24), std::string(576, ' '));
  EXPECT_EQ(r.labels.substr(600), "####");
  EXPECT_EQ(t.Ask("TYPE"), "200 PD");
  EXPECT_EQ(t.Ask("PREC"), "0 ");
  EXPECT_EQ(t.Ask("RVER"), "1 ");
  EXPECT_EQ(t.Ask("PROG"), "-903 not sp");  // HEC's writer: "not specified"

  // Element length 16 (Fortran CHARACTER*16), and fewer elements than curves.
  r = ReadPd(t, kFloatPath, 100, 16, 1);
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.labels, "LOW CURVE       ####");

  r = ReadPd(t, kDoublePath, 100);
  ASSERT_EQ(r.status, 0);
  EXPECT_EQ(r.nvals, 18);
  EXPECT_EQ(r.values[6 + 1], static_cast<float>(1000.1428571428571));
  EXPECT_EQ(r.labels.substr(0, 24), "SUMMER      WINTER      ");
  EXPECT_EQ(t.Ask("TYPE"), "205 PDD");
}

TEST_F(PairedRoutines, ReadStatusesFollowHeclib) {
  Table t(copy_);
  Read r = ReadPd(t, kFloatPath, 5);
  EXPECT_EQ(r.status, 1);  // too small: header set, the first KVALS values delivered
  EXPECT_EQ(r.nvals, 5);
  EXPECT_EQ(r.nord, 10);
  EXPECT_EQ(r.ncurve, 2);
  EXPECT_EQ(r.values[4], 120.0f);
  EXPECT_EQ(r.values[5], -7.0f);
  EXPECT_EQ(r.units2, "AC-FT   ");
  EXPECT_EQ(ReadPd(t, kFloatPath, 0).status, 1);

  r = ReadPd(t, kSeriesPath, 100);
  EXPECT_EQ(r.status, 20);
  EXPECT_EQ(r.nvals, 0);
  EXPECT_EQ(t.Ask("TYPE"), "100 RTS");
  r = ReadPd(t, "/NO/SUCH/RECORD///X/", 100);
  EXPECT_EQ(r.status, -1);
  EXPECT_EQ(r.nvals, 0);
  EXPECT_EQ(r.nord, 0);
  EXPECT_EQ(ReadPd(t, "", 100).status, -1);

  std::array<int32_t, 600> closed{};
  int32_t kvals = 10, nvals = -9, klabel = 0, zero = 0, status = -99, n = 0;
  float values[10];
  ZRPD_(closed.data(), kFloatPath.data(), 44, &n, &n, &n, nullptr, 0, nullptr, 0, nullptr, 0,
        nullptr, 0, values, &kvals, &nvals, nullptr, 0, &klabel, &n, nullptr, &zero, &n, &status);
  EXPECT_EQ(status, 70);
  EXPECT_EQ(nvals, 0);
}

TEST_F(PairedRoutines, StoreStatusesFollowHeclib) {
  Table t(copy_);
  struct Case {
    const char* what;
    void (*change)(Store&);
    int32_t status;
  };
  const Case cases[] = {
      {"no ordinates", [](Store& s) { s.nord = 0; }, -4},
      {"no curves", [](Store& s) { s.ncurve = 0; }, -5},
      {"101 curves", [](Store& s) { s.ncurve = 101; }, -5},
      {"short path", [](Store& s) { s.path = "/A/"; }, -10},
      {"blank first", [](Store& s) { s.path = " /A/B/C/D/E/F/"; }, -10},
      {"no slashes", [](Store& s) { s.path = "ABCDEFGH"; }, -10},
      {"plan 10", [](Store& s) { s.plan = 10; }, -11},
      {"plan 2, absent", [](Store& s) { s.plan = 2; }, -1},
      {"time series", [](Store& s) { s.path = kSeriesPath; }, 20},
      {"plan 1, present", [](Store& s) { s.path = kFloatPath, s.plan = 1; }, -2},
      {"plan 2, present", [](Store& s) { s.path = kDoublePath, s.plan = 2; }, 0},
  };
  for (const Case& c : cases) {
    Store s;
    c.change(s);
    EXPECT_EQ(s.Run(t), c.status) << c.what;
  }
  EXPECT_EQ(ReadPd(t, kNewPath, 100).status, -1);  // nothing was written under the new name

  const std::string protect = "ON";
  int32_t zero = 0;
  ZSET_("PROT", 4, protect.data(), 2, &zero);
  Store over;
  over.path = kFloatPath;
  EXPECT_EQ(over.Run(t), -2);
  EXPECT_EQ(Store{}.Run(t), 0);  // new records are still written
  ResetOptions();

  std::array<int32_t, 600> closed{};
  int32_t status = -99, one = 1;
  ZSPD_(closed.data(), kNewPath.data(), 27, &one, &one, &one, nullptr, 0, nullptr, 0, nullptr, 0,
        nullptr, 0, nullptr, nullptr, 0, &zero, nullptr, &zero, &zero, &status);
  EXPECT_EQ(status, 70);

  ZSET_("READ", 4, protect.data(), 2, &zero);
  Table read_only(copy_);
  EXPECT_EQ(Store{}.Run(read_only), -12);
}

TEST_F(PairedRoutines, StoredRecordsReadBackWithTheirLabelElements) {
  Table t(folder_.File("new.dss"));
  Store s;
  s.nord = 3;
  s.ncurve = 2;
  s.ihoriz = 2;
  s.values = {1, 2, 3, 10, 20, 30, 100, 200, 300};
  // The library's layout: elements of 12 x upper bound (here 3), label text first.
  s.label_len = 36;
  s.labels =
      std::string("SHORT") + std::string(31, ' ') + "A LABEL OF 19 CHARS" + std::string(17, ' ');
  s.header = {5, 6, 7};
  ASSERT_EQ(s.Run(t), 0);

  Read r = ReadPd(t, kNewPath, 100, 12, 50, 2);
  ASSERT_EQ(r.status, 0);
  EXPECT_EQ(r.ihoriz, 2);
  EXPECT_EQ(r.nvals, 9);
  EXPECT_EQ(std::vector<float>(r.values.begin(), r.values.begin() + 9), s.values);
  EXPECT_EQ(r.labels.substr(0, 24), "SHORT       A LABEL OF 1");
  EXPECT_EQ(r.nheadu, 2);
  EXPECT_EQ(r.header[1], 6);
  r = ReadPd(t, kNewPath, 100, 20, 2);
  EXPECT_EQ(r.labels.substr(0, 40), "SHORT               A LABEL OF 19 CHARS ");

  s.ihoriz = 3;  // anything but 2 is stored as 1
  s.has_labels = 0;
  ASSERT_EQ(s.Run(t), 0);
  r = ReadPd(t, kNewPath, 100);
  EXPECT_EQ(r.ihoriz, 1);
  EXPECT_EQ(r.has_labels, 0);
  EXPECT_EQ(r.labels.substr(0, 600), std::string(600, ' '));
}

TEST_F(PairedRoutines, StoreWritesHecsAreasAndReplacesTheOtherPrecision) {
  // F10 as its Fortran writer passed it: CHARACTER*16 labels.
  Store s;
  s.path = kFloatPath;
  s.nord = 10;
  s.ncurve = 2;
  s.units2 = "AC-FT";
  s.values.clear();
  for (int i = 0; i < 10; ++i)
    s.values.push_back(100.0f + 5.0f * static_cast<float>(i));
  for (int c = 0; c < 2; ++c) {
    for (int i = 0; i < 10; ++i)
      s.values.push_back(c == 0 ? 50.0f * i * i : 75.0f * i * i + 10);
  }
  s.label_len = 16;
  s.labels = "LOW CURVE       HIGH CURVE      ";
  {
    Table t(folder_.File("new.dss"));
    ASSERT_EQ(s.Run(t), 0);
  }
  dss7::Record hec, ours;
  {
    Table fixture(copy_), fresh(folder_.File("new.dss"));
    ASSERT_EQ(fixture.file()->ReadRecord(kFloatPath, &hec), dss7::Status::kOk);
    ASSERT_EQ(fresh.file()->ReadRecord(kFloatPath, &ours), dss7::Status::kOk);
  }
  for (int a = 0; a < dss7::kAreaCount; ++a)
    EXPECT_EQ(ours.areas[a], hec.areas[a]) << "area " << a;

  Table t(copy_);
  s.path = kDoublePath;
  ASSERT_EQ(s.Run(t), 0);
  dss7::InfoBlock info;
  ASSERT_EQ(t.file()->Lookup(kDoublePath, &info), dss7::Status::kOk);
  EXPECT_EQ(info.type, kPairedFloat);
  EXPECT_EQ(ReadPd(t, kDoublePath, 100).values[29], 6085.0f);
}

}  // namespace
}  // namespace varnock::engine::paired
