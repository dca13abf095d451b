#include "engine/dss6/store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "engine/dss6/records.h"
#include "engine/dss7/test_support.h"
#include "engine/rules/dates.h"
#include "tests/support/fixture_path.h"

namespace varnock::engine::dss6 {
namespace {

// One stored series, paired-data or text record of fixtures.txt.
struct Fixture {
  std::string api, path, kind, text;
  std::string units, type, units_dependent, type_dependent;
  std::vector<Minutes> times;
  std::vector<double> values;
  std::vector<std::string> labels;
  std::vector<std::vector<double>> rows;
};

Minutes IsoMinutes(const std::string& iso) {
  int y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0;
  std::sscanf(iso.c_str(), "%d-%d-%dT%d:%d:%d", &y, &mo, &d, &h, &mi, &s);
  int32_t julian = 0;
  YmdToJulian(y, mo, d, &julian);
  return int64_t{julian} * 1440 + h * 60 + mi;
}

std::string Unescape(const std::string& quoted) {
  std::string out;
  for (size_t i = 0; i < quoted.size(); ++i) {
    if (quoted[i] != '\\' || i + 1 == quoted.size()) {
      out += quoted[i];
      continue;
    }
    const char c = quoted[++i];
    out += c == 'n' ? '\n' : c == 't' ? '\t' : c == 'r' ? '\r' : c;
  }
  return out;
}

std::vector<Fixture> ReadFixtures(const std::string& file) {
  std::ifstream in(file);
  std::vector<Fixture> out;
  std::string line;
  const auto rest = [&line](size_t key) { return line.size() > key ? line.substr(key + 1) : ""; };
  while (std::getline(in, line)) {
    if (line.rfind("fixture ", 0) == 0) {
      out.emplace_back();
      continue;
    }
    if (out.empty()) continue;
    Fixture& f = out.back();
    if (line.rfind("api ", 0) == 0) f.api = rest(3);
    if (line.rfind("path ", 0) == 0) f.path = rest(4);
    if (line.rfind("kind ", 0) == 0) f.kind = rest(4);
    if (line.rfind("units ", 0) == 0) f.units = rest(5);
    if (line.rfind("type ", 0) == 0) f.type = rest(4);
    if (line.rfind("units_independent ", 0) == 0) f.units = rest(17);
    if (line.rfind("type_independent ", 0) == 0) f.type = rest(16);
    if (line.rfind("units_dependent ", 0) == 0) f.units_dependent = rest(15);
    if (line.rfind("type_dependent ", 0) == 0) f.type_dependent = rest(14);
    if (line.rfind("label ", 0) == 0) f.labels.push_back(line.substr(line.find(' ', 6) + 1));
    if (line.rfind("note text: \"", 0) == 0) f.text = Unescape(line.substr(12, line.size() - 13));
    if (line.rfind("row ", 0) == 0) {
      std::vector<double> row;
      const char* p = line.c_str() + 4;
      char* end = nullptr;
      for (double v = std::strtod(p, &end); end != p; v = std::strtod(p, &end)) {
        row.push_back(v);
        p = end;
      }
      f.rows.push_back(row);
    }
    if (line.size() > 20 && line[10] == 'T' && line[0] >= '0' && line[0] <= '9') {
      f.times.push_back(IsoMinutes(line.substr(0, 19)));
      f.values.push_back(std::strtod(line.c_str() + 20, nullptr));
    }
  }
  return out;
}

Status StoreFixture(Dss6File& file, const Fixture& f) {
  const bool fortran = f.api.find("zs") == 0;  // zsrts_, zsits_, zspd_
  if (f.kind.rfind("regular", 0) == 0) {
    RegularStore6 r;
    r.path = f.path;
    r.values = f.values;
    r.doubles = f.kind == "regular-double";
    r.units = f.units;
    r.type = f.type;
    r.zone_offset = fortran ? kZoneUnsetFortran : kZoneUnsetC;
    r.start = f.times.front();
    return StoreRegular(file, r);
  }
  if (f.kind.rfind("irregular", 0) == 0) {
    IrregularStore6 r;
    r.path = f.path;
    r.values = f.values;
    r.times = f.times;
    r.units = f.units;
    r.type = f.type;
    r.zone_offset = fortran ? kZoneUnsetFortran : kZoneUnsetC;
    return StoreIrregular(file, r);
  }
  if (f.kind.rfind("paired", 0) == 0) {
    paired::PairedData pd;
    pd.doubles = f.kind == "paired-double";
    pd.curve_count = static_cast<int32_t>(f.rows.front().size() - 1);
    for (const auto& row : f.rows)
      pd.ordinates.push_back(row[0]);
    for (int32_t c = 1; c <= pd.curve_count; ++c)
      for (const auto& row : f.rows)
        pd.values.push_back(row[static_cast<size_t>(c)]);
    pd.units_independent = f.units;
    pd.type_independent = f.type;
    pd.units_dependent = f.units_dependent;
    pd.type_dependent = f.type_dependent;
    pd.labels = f.labels;
    return StorePaired(file, f.path, pd);
  }
  paired::TextData t;
  t.text = f.text;
  return StoreText(file, f.path, t);
}

std::tm Noon() {
  std::tm t{};
  t.tm_year = 126;
  t.tm_mday = 1;
  t.tm_hour = 12;
  return t;
}

// The records of fixtures.txt stored through our writers equal HEC's fixture6.dss records in
// their internal headers and data, word for word, and in type and logical count.
TEST(Dss6Store, FixtureRecordsMatchHecsWordForWord) {
  VARNOCK_REQUIRE_FIXTURE(dss, "fixture6.dss");
  VARNOCK_REQUIRE_FIXTURE(list, "fixtures.txt");
  const auto fixtures = ReadFixtures(list);
  ASSERT_EQ(fixtures.size(), 14u);
  auto storage = dss7::MemoryFileIO::NewStorage();
  Options6 options;
  options.clock = Noon;
  std::unique_ptr<Dss6File> ours;
  ASSERT_EQ(Dss6File::CreateIO(std::make_unique<dss7::MemoryFileIO>(storage), 6, options, &ours),
            Status::kOk);
  for (const auto& f : fixtures)
    ASSERT_EQ(StoreFixture(*ours, f), Status::kOk) << f.path;
  ASSERT_EQ(ours->Delete("/FIXTURES/SCRATCH/FLOW/01MAR2021/1HOUR/C-DELETED/"), Status::kOk);
  ASSERT_EQ(ours->Rename("/FIXTURES/OLDNAME/FLOW/01JAN2021/1DAY/C-RENAMED/",
                         "/FIXTURES/NEWNAME/FLOW/01JAN2021/1DAY/C-RENAMED/"),
            Status::kOk);

  std::unique_ptr<Dss6File> ref;
  ASSERT_EQ(Dss6File::Open(dss, &ref), Status::kOk);
  std::vector<container::CatalogItem> theirs, mine;
  ASSERT_EQ(ref->Catalog(&theirs), Status::kOk);
  ASSERT_EQ(ours->Catalog(&mine), Status::kOk);
  ASSERT_EQ(theirs.size(), 27u);
  EXPECT_EQ(mine.size(), theirs.size());
  for (const auto& c : theirs) {
    container::RecordAreas a, b;
    ASSERT_EQ(ref->ReadRecord(c.path, &a), Status::kOk);
    ASSERT_EQ(ours->ReadRecord(c.path, &b), Status::kOk) << c.path;
    EXPECT_EQ(b.info.type, a.info.type) << c.path;
    EXPECT_EQ(b.info.logical_count, a.info.logical_count) << c.path;
    for (auto area : {dss7::kInternalHeader, dss7::kValues1}) {
      const auto& x = a.areas[area];
      const auto& y = b.areas[area];
      ASSERT_EQ(y.size(), x.size()) << c.path << " area " << area;
      // Text records: HEC leaves the bytes after the text stale; we write zeros.
      const size_t last = c.type == 300 && area == dss7::kValues1 ? x.size() - 1 : x.size();
      for (size_t w = 0; w < last; ++w) {
        if (y[w] != x[w]) {
          ADD_FAILURE() << c.path << " area " << area << " word " << w << ": ours " << y[w]
                        << ", HEC's " << x[w];
          break;
        }
      }
    }
  }
}

std::unique_ptr<Dss6File> NewFile() {
  Options6 options;
  options.clock = Noon;
  std::unique_ptr<Dss6File> f;
  EXPECT_EQ(
      Dss6File::CreateIO(std::make_unique<dss7::MemoryFileIO>(dss7::MemoryFileIO::NewStorage()), 6,
                         options, &f),
      Status::kOk);
  return f;
}

Minutes At(int y, int mo, int d, int minutes) {
  int32_t j = 0;
  YmdToJulian(y, mo, d, &j);
  return int64_t{j} * 1440 + minutes;
}

// The stored slots of one regular block record.
std::vector<double> Slots(Dss6File& f, const std::string& path, int32_t* type = nullptr) {
  container::RecordAreas r;
  if (f.ReadRecord(path, &r) != Status::kOk) return {};
  if (type != nullptr) *type = r.info.type;
  std::vector<double> values;
  std::vector<int32_t> flags;
  EXPECT_EQ(DecodeRegularSlots(r, &values, &flags), Status::kOk);
  return values;
}

TEST(Dss6Store, RegularPlansMergeAsHecDoes) {
  const std::string path = "/A/B/FLOW/01JAN2021/1DAY/F/";
  struct Case {
    int32_t plan;
    std::vector<double> second;  // stored over {1, 2, -901, 4} from 01JAN
    std::vector<double> want;
  };
  const Case cases[] = {
      {0, {-901, 20, 30, 40}, {-901, 20, 30, 40}},
      {1, {10, 20, 30, 40}, {1, 2, 30, 4}},  // only into missing slots
      {2, {-901, 20, 30, 40}, {-901, 20, 30, 40}},
      {4, {-901, 20, -901, 40}, {1, 20, -901, 40}},  // missing never replaces a value
  };
  const std::vector<double> first = {1, 2, -901, 4};
  for (const auto& c : cases) {
    auto f = NewFile();
    RegularStore6 r;
    r.path = "/a/b/flow//1day/f/";
    r.start = At(2021, 1, 1, 1440);
    r.values = first;
    ASSERT_EQ(StoreRegular(*f, r), Status::kOk);
    r.values = c.second;
    r.plan = c.plan;
    ASSERT_EQ(StoreRegular(*f, r), Status::kOk) << "plan " << c.plan;
    const auto slots = Slots(*f, path);
    ASSERT_EQ(slots.size(), 365u);
    EXPECT_EQ(std::vector<double>(slots.begin(), slots.begin() + 4), c.want) << "plan " << c.plan;
    EXPECT_EQ(slots[4], -901.0);
  }
  // Plan 3: an all-missing new block is not written; a block left all missing is deleted.
  auto f = NewFile();
  RegularStore6 r;
  r.path = "/A/B/FLOW//1DAY/F/";
  r.start = At(2021, 1, 1, 1440);
  const std::vector<double> missing = {-901, -901};
  r.values = missing;
  r.plan = 3;
  ASSERT_EQ(StoreRegular(*f, r), Status::kOk);
  EXPECT_TRUE(Slots(*f, path).empty());
  const std::vector<double> two = {5, 6};
  r.values = two;
  r.plan = 0;
  ASSERT_EQ(StoreRegular(*f, r), Status::kOk);
  r.values = missing;
  r.plan = 3;
  ASSERT_EQ(StoreRegular(*f, r), Status::kOk);
  EXPECT_TRUE(Slots(*f, path).empty());
}

TEST(Dss6Store, RegularBlocksOffsetsAndPrecisionChanges) {
  auto f = NewFile();
  // Daily values at 08:00 across a year boundary: two whole-block records, offset 480.
  std::vector<double> values(40);
  for (size_t i = 0; i < values.size(); ++i)
    values[i] = static_cast<double>(i);
  RegularStore6 r;
  r.path = "/A/B/TEMP//1DAY/OFFSET/";
  r.start = At(2020, 12, 15, 480);
  r.values = values;
  ASSERT_EQ(StoreRegular(*f, r), Status::kOk);
  const auto y2020 = Slots(*f, "/A/B/TEMP/01JAN2020/1DAY/OFFSET/");
  const auto y2021 = Slots(*f, "/A/B/TEMP/01JAN2021/1DAY/OFFSET/");
  ASSERT_EQ(y2020.size(), 366u);
  ASSERT_EQ(y2021.size(), 365u);
  EXPECT_EQ(y2020[348], -901.0);
  EXPECT_EQ(y2020[349], 0.0);
  EXPECT_EQ(y2021[22], 39.0);
  EXPECT_EQ(y2021[23], -901.0);
  container::RecordAreas rec;
  ASSERT_EQ(f->ReadRecord("/A/B/TEMP/01JAN2021/1DAY/OFFSET/", &rec), Status::kOk);
  EXPECT_EQ(rec.areas[dss7::kInternalHeader][regular_header::kOffsetMinutes], 480);

  // Doubles into a float record make it a double record; floats into it keep it one.
  RegularStore6 d;
  d.path = "/A/B/ELEV//6HOUR/X/";
  d.start = At(2021, 6, 1, 360);
  const std::vector<double> v1 = {1.25, 2.5};
  d.values = v1;
  ASSERT_EQ(StoreRegular(*f, d), Status::kOk);
  d.doubles = true;
  const std::vector<double> v2 = {0.1};
  d.values = v2;
  ASSERT_EQ(StoreRegular(*f, d), Status::kOk);
  int32_t type = 0;
  auto slots = Slots(*f, "/A/B/ELEV/01JUN2021/6HOUR/X/", &type);
  EXPECT_EQ(type, 105);
  EXPECT_EQ(slots[0], 0.1);
  EXPECT_EQ(slots[1], 2.5);
  d.doubles = false;
  ASSERT_EQ(StoreRegular(*f, d), Status::kOk);
  Slots(*f, "/A/B/ELEV/01JUN2021/6HOUR/X/", &type);
  EXPECT_EQ(type, 105);
  // Quality into a double record without quality is refused, as HEC refuses it.
  const std::vector<int32_t> flags = {3};
  d.quality = flags;
  EXPECT_EQ(StoreRegular(*f, d), Status::kTypeMismatch);

  // Bad requests.
  RegularStore6 bad;
  bad.path = "/A/B/C//IR-DAY/F/";
  bad.values = v1;
  EXPECT_EQ(StoreRegular(*f, bad), Status::kInvalidArgument);
  bad.path = "/A/B/C//1DAY/F/";
  bad.values = {};
  EXPECT_EQ(StoreRegular(*f, bad), Status::kInvalidArgument);
}

// Every stored (time, value) of a regular series, as the reader reports them, over all its
// block records.
std::vector<std::pair<Minutes, double>> ReadBack(Dss6File& f) {
  std::vector<container::CatalogItem> items;
  EXPECT_EQ(f.Catalog(&items), Status::kOk);
  std::vector<std::pair<Minutes, double>> out;
  for (const auto& c : items) {
    container::RecordAreas r;
    EXPECT_EQ(f.ReadRecord(c.path, &r), Status::kOk);
    series::SeriesRead read;
    if (DecodeRegular(r, &read) != Status::kOk) continue;
    for (size_t i = 0; i < read.values.size(); ++i)
      if (read.values[i] != -901.0) out.emplace_back(read.times[i] / 60, read.values[i]);
  }
  std::sort(out.begin(), out.end());
  return out;
}

// Values stored from a start time come back at the times they were given, for every kind of
// interval, on and off the standard boundaries, across block boundaries.
TEST(Dss6Store, RegularRoundTripsForEveryInterval) {
  struct Case {
    const char* e_part;
    Minutes start;
    int64_t step;  // minutes between values; 0: the calendar steps listed in `calendar`
    std::vector<Minutes> calendar;
    int hidden = -1;  // a value stored in slot 522 of a weekly block, which readers do not show
  };
  const Case cases[] = {
      {"1MIN", At(2021, 3, 1, 1430), 1, {}},           // across a day block
      {"10MIN", At(2021, 3, 1, 1433), 10, {}},         // offset 3 minutes
      {"2HOUR", At(2021, 1, 31, 1260), 120, {}},       // across a month block
      {"12HOUR", At(2021, 2, 27, 300), 720, {}},       // offset 5 hours
      {"1DAY", At(2020, 12, 30, 480), 1440, {}},       // offset, across a year block
      {"1WEEK", At(2029, 12, 1, 1440), 10080, {}, 4},  // Saturday 2400, across a decade
      {"1WEEK", At(2021, 6, 2, 600), 10080, {}},       // Wednesday 1000
      {"1MON",
       At(2019, 11, 30, 1440),
       0,  // month ends across a decade
       {At(2019, 11, 30, 1440), At(2019, 12, 31, 1440), At(2020, 1, 31, 1440)}},
      {"SEMI-MONTH",
       At(2021, 1, 15, 1440),
       0,
       {At(2021, 1, 15, 1440), At(2021, 1, 31, 1440), At(2021, 2, 15, 1440)}},
      {"TRI-MONTH",
       At(2021, 2, 10, 1440),
       0,
       {At(2021, 2, 10, 1440), At(2021, 2, 20, 1440), At(2021, 2, 28, 1440)}},
      {"1YEAR",
       At(1998, 12, 31, 1440),
       0,
       {At(1998, 12, 31, 1440), At(1999, 12, 31, 1440), At(2000, 12, 31, 1440)}},
  };
  for (const auto& c : cases) {
    auto f = NewFile();
    const size_t n = c.step > 0 ? 20 : c.calendar.size();
    std::vector<double> values(n);
    std::vector<std::pair<Minutes, double>> want;
    for (size_t i = 0; i < n; ++i) {
      values[i] = static_cast<double>(i) + 1;
      if (static_cast<int>(i) == c.hidden) continue;
      want.emplace_back(c.step > 0 ? c.start + static_cast<int64_t>(i) * c.step : c.calendar[i],
                        values[i]);
    }
    RegularStore6 r;
    const std::string path = std::string("/A/B/C//") + c.e_part + "/F/";
    r.path = path;
    r.start = c.start;
    r.values = values;
    ASSERT_EQ(StoreRegular(*f, r), Status::kOk) << c.e_part;
    EXPECT_EQ(ReadBack(*f), want) << c.e_part << " from " << c.start;
    if (c.hidden >= 0) {  // 29DEC2029 2400: the last of the 2020s block's 522 weekly slots
      const auto slots = Slots(*f, "/A/B/C/01JAN2020/1WEEK/F/");
      ASSERT_EQ(slots.size(), 522u);
      EXPECT_EQ(slots[521], c.hidden + 1.0);
    }
  }
}

std::vector<std::pair<Minutes, double>> Pairs(Dss6File& f, const std::string& path) {
  container::RecordAreas r;
  if (f.ReadRecord(path, &r) != Status::kOk) return {};
  series::SeriesRead read;
  EXPECT_EQ(DecodeIrregular(r, &read), Status::kOk);
  std::vector<std::pair<Minutes, double>> out;
  for (size_t i = 0; i < read.values.size(); ++i)
    out.emplace_back(read.times[i] / 60, read.values[i]);
  return out;
}

TEST(Dss6Store, IrregularMergeReplaceCapacityAndPseudoRegular) {
  auto f = NewFile();
  const std::string path = "/A/B/STAGE/01FEB2021/IR-MONTH/F/";
  IrregularStore6 r;
  r.path = "/A/B/STAGE//IR-MONTH/F/";
  const std::vector<Minutes> t1 = {At(2021, 2, 1, 60), At(2021, 2, 2, 60), At(2021, 2, 3, 60)};
  const std::vector<double> v1 = {1, 2, 3};
  r.times = t1;
  r.values = v1;
  ASSERT_EQ(StoreIrregular(*f, r), Status::kOk);
  // Merge: the union, the new value winning at an equal time.
  const std::vector<Minutes> t2 = {At(2021, 2, 2, 60), At(2021, 2, 2, 120)};
  const std::vector<double> v2 = {20, 25};
  r.times = t2;
  r.values = v2;
  ASSERT_EQ(StoreIrregular(*f, r), Status::kOk);
  EXPECT_EQ(Pairs(*f, path), (std::vector<std::pair<Minutes, double>>{
                                 {t1[0], 1}, {t2[0], 20}, {t2[1], 25}, {t1[2], 3}}));
  // Replace: everything inside [first, last] of the new data goes.
  const std::vector<Minutes> t3 = {At(2021, 2, 1, 30), At(2021, 2, 2, 90)};
  const std::vector<double> v3 = {7, 8};
  r.times = t3;
  r.values = v3;
  r.replace = true;
  ASSERT_EQ(StoreIrregular(*f, r), Status::kOk);
  EXPECT_EQ(Pairs(*f, path), (std::vector<std::pair<Minutes, double>>{
                                 {t3[0], 7}, {t3[1], 8}, {t2[1], 25}, {t1[2], 3}}));

  // 250 values: capacity 300 (200 + one step of 100); a value at 2400 stays in its day.
  std::vector<Minutes> many;
  std::vector<double> mv;
  for (int i = 0; i < 250; ++i) {
    many.push_back(At(2021, 3, 1, 5 + i));
    mv.push_back(i);
  }
  many.back() = At(2021, 3, 2, 0);  // 01MAR 2400
  IrregularStore6 m;
  m.path = "/A/B/FLOW//IR-DAY/F/";
  m.times = many;
  m.values = mv;
  ASSERT_EQ(StoreIrregular(*f, m), Status::kOk);
  container::RecordAreas rec;
  ASSERT_EQ(f->ReadRecord("/A/B/FLOW/01MAR2021/IR-DAY/F/", &rec), Status::kOk);
  EXPECT_EQ(rec.areas[dss7::kInternalHeader][irregular_header::kCapacity], 300);
  EXPECT_EQ(rec.areas[dss7::kInternalHeader][irregular_header::kCount], 250);
  EXPECT_EQ(rec.areas[dss7::kValues1].size(), 600u);
  EXPECT_EQ(rec.areas[dss7::kValues1][249 * 2], 1440);

  // A "~1DAY" series lives in IR-YEAR blocks and is listed under its "~" name.
  IrregularStore6 p;
  p.path = "/A/B/DAILY//~1DAY/F/";
  const std::vector<Minutes> tp = {At(2021, 5, 1, 1440), At(2021, 5, 2, 1440)};
  p.times = tp;
  p.values = std::span<const double>(v1).first(2);
  ASSERT_EQ(StoreIrregular(*f, p), Status::kOk);
  std::vector<container::CatalogItem> items;
  ASSERT_EQ(f->Catalog(&items), Status::kOk);
  const bool listed = std::any_of(items.begin(), items.end(), [](const auto& c) {
    return c.path == "/A/B/DAILY/01JAN2021/IR-YEAR/F/" &&
           c.listed_path == "/A/B/DAILY/01JAN2021/~1DAY/F/";
  });
  EXPECT_TRUE(listed);
  Found found;  // lookups take the listed name too
  EXPECT_EQ(f->Find("/A/B/DAILY/01JAN2021/~1DAY/F/", &found), Status::kOk);
  EXPECT_EQ(found.info.path, "/A/B/DAILY/01JAN2021/IR-YEAR/F/");

  // Decreasing times are refused.
  const std::vector<Minutes> back = {At(2021, 2, 2, 0), At(2021, 2, 1, 0)};
  r.times = back;
  r.values = v3;
  EXPECT_EQ(StoreIrregular(*f, r), Status::kInvalidArgument);
}

}  // namespace
}  // namespace varnock::engine::dss6
