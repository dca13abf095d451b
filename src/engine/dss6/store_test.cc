#include "engine/dss6/store.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "engine/dates.h"
#include "engine/dss7/test_support.h"
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

}  // namespace
}  // namespace varnock::engine::dss6
