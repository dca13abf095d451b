// Demo of the Varnock library: creates a DSS file in a temporary folder, stores an hourly and an
// irregular series, reads them back, and prints the catalog, a few values and statistics.
// `varnock-demo --keep` leaves the file in place and says where it is.
#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>

#include <varnock/varnock.h>

namespace {

using namespace varnock;

// Dates in ISO form, unambiguous whatever the reader's locale.
std::string Iso(Date date) {
  return date.Format("yyyy-mm-dd hh:nn:ss");
}

std::shared_ptr<RegularTimeSeries> HourlyFlows() {
  auto flows = std::make_shared<RegularTimeSeries>();
  auto path = flows->Pathname();
  path->Apart("MISSOURI RIVER");
  path->Bpart("HERMANN");
  path->Cpart("FLOW");
  path->Fpart("DEMO");
  flows->Interval(60);
  flows->Starting(Date::Serial(2024, 5, 1, 1, 0));
  flows->ValueCount(24 * 45);  // spans two monthly blocks
  flows->TsUnits("cfs");
  flows->TsType("inst-val");
  for (int32_t i = 0; i < flows->ValueCount(); ++i)
    flows->Value(i, 52000.0f + 8000.0f * static_cast<float>(std::sin(i / 40.0)));
  flows->Value(100, kMissingValue);
  flows->Value(101, kMissingValue);
  return flows;
}

std::shared_ptr<IrregTimeSeries> GaugeReadings() {
  auto readings = std::make_shared<IrregTimeSeries>();
  readings->Pathname()->Name("/MISSOURI RIVER/HERMANN/STAGE//IR-MONTH/DEMO/");
  readings->TsUnits("ft");
  readings->TsType("inst-val");
  const double times[] = {0.25, 1.5, 3.0, 7.75, 12.125, 20.0, 33.5};
  const float stages[] = {14.2f, 14.6f, 15.9f, 17.3f, 16.8f, 15.1f, 14.0f};
  readings->ValueCount(7);
  for (int32_t i = 0; i < 7; ++i) {
    readings->DateTime(i, Date(Date::Serial(2024, 5, 1).Serial() + times[i]));
    readings->Value(i, stages[i]);
  }
  return readings;
}

void Run(const std::filesystem::path& folder) {
  auto db = std::make_shared<DSSDatabase>();
  db->Name((folder / "demo.dss").string());
  db->Connect(true);
  std::printf("created %s\n", db->Name().c_str());

  HourlyFlows()->Store(db);
  GaugeReadings()->Store(db);

  std::printf("\ncatalog (%s records):\n", db->Inquire("NREC").ToString().c_str());
  for (const auto& path : db->AsCollection(true))
    std::printf("  %s\n", TrimTrailingBlanks(path->Name()).c_str());

  auto flows = std::make_shared<RegularTimeSeries>();
  flows->Pathname()->Name("/MISSOURI RIVER/HERMANN/FLOW//1HOUR/DEMO/");
  flows->Starting(Date::Serial(2024, 5, 5, 0, 0));
  flows->ValueCount(24 * 30);
  flows->Retrieve(db);
  flows->RefreshStatistics();
  std::printf("\nhourly flow %s (%s), %d values from %s:\n", flows->TsUnits().c_str(),
              flows->TsType().c_str(), flows->ValueCount(), Iso(flows->Starting()).c_str());
  for (int32_t i : {0, 1, 2, 3, 4, 719})
    std::printf("  %-20s %10.1f\n", Iso(flows->DateTime(i)).c_str(), flows->Value(i));
  std::printf("  max %.1f  min %.1f  mean %.1f  missing %d\n", flows->MaxValue(), flows->MinValue(),
              flows->MeanValue(), flows->MissingCount());

  auto readings = std::make_shared<IrregTimeSeries>();
  readings->Pathname()->Name("/MISSOURI RIVER/HERMANN/STAGE//IR-MONTH/DEMO/");
  readings->Starting(Date::Serial(2024, 5, 1));
  readings->Ending(Date::Serial(2024, 5, 31, 23, 59));
  readings->Retrieve(db);
  std::printf("\nirregular stage %s, %d readings in May:\n",
              TrimBlanks(readings->TsUnits()).c_str(), readings->ValueCount());
  for (int32_t i = 0; i < readings->ValueCount(); ++i)
    std::printf("  %-20s %6.2f\n", Iso(readings->DateTime(i)).c_str(), readings->Value(i));
  db->Disconnect();
  std::printf("\n%s is a DSS version %s file\n", db->Name().c_str(), db->Version().c_str());
  db->PurgeMessageFile();
}

}  // namespace

int main(int argc, char** argv) {
  const bool keep = argc > 1 && std::string(argv[1]) == "--keep";
  if (argc > 2 || (argc == 2 && !keep)) {
    std::fprintf(stderr, "usage: varnock-demo [--keep]\n");
    return 2;
  }
  const auto folder = std::filesystem::temp_directory_path() / "varnock-demo";
  try {
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    Run(folder);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "varnock-demo: %s\n", error.what());
    return 1;
  }
  if (keep) {
    std::printf("kept %s\n", (folder / "demo.dss").string().c_str());
  } else {
    std::filesystem::remove_all(folder);
  }
  return 0;
}
