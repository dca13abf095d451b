// Test helpers for the series code: the time-series blocks of a canonical dump with their
// times and values as text, the same text made from what we read, and reference-file copies.
#ifndef VARNOCK_ENGINE_RECORDS_SERIES_SERIES_TEST_SUPPORT_H_
#define VARNOCK_ENGINE_RECORDS_SERIES_SERIES_TEST_SUPPORT_H_

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "engine/dss7/dss_file.h"
#include "engine/records/series/time_axis.h"
#include "engine/rules/dates.h"

namespace varnock::engine::series::testing {

// An adapter made for the length of one call.
template <typename T>
T& ForCall(T&& adapter) {
  return adapter;
}

struct DumpSeries {
  int rectype = 0;
  std::string units;
  std::string type;
  std::vector<std::string> times;   // ISO text
  std::vector<std::string> values;  // %.9g / %.17g text
};

// Every time-series record block of a dump (plain or gzip'd), by pathname.
inline std::map<std::string, DumpSeries> ReadDumpSeries(const std::string& dump_path) {
  const bool gz = dump_path.size() > 3 && dump_path.substr(dump_path.size() - 3) == ".gz";
  const std::string command = (gz ? "gzip -dc '" : "cat '") + dump_path + "'";
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::map<std::string, DumpSeries> out;
  if (!pipe) return out;
  char buffer[4096];
  DumpSeries* current = nullptr;
  while (std::fgets(buffer, sizeof buffer, pipe.get()) != nullptr) {
    std::string line(buffer);
    if (!line.empty() && line.back() == '\n') line.pop_back();
    auto value_of = [&](const char* key) {
      const std::string k = key;
      return line.size() > k.size() ? line.substr(k.size() + 1) : std::string();
    };
    if (line.rfind("record ", 0) == 0) {
      current = &out[line.substr(7)];
    } else if (current == nullptr) {
      continue;
    } else if (line.rfind("rectype ", 0) == 0) {
      current->rectype = std::stoi(line.substr(8));
    } else if (line == "units" || line.rfind("units ", 0) == 0) {
      current->units = value_of("units");
    } else if (line == "type" || line.rfind("type ", 0) == 0) {
      current->type = value_of("type");
    } else if (line == "end") {
      current = nullptr;
    } else if (!line.empty() && line[0] >= '0' && line[0] <= '9' && line.find('T') == 10) {
      const size_t space = line.find(' ');
      current->times.push_back(line.substr(0, space));
      current->values.push_back(line.substr(space + 1));
    }
  }
  for (auto it = out.begin(); it != out.end();) {
    if (it->second.rectype < 100 || it->second.rectype > 119)
      it = out.erase(it);
    else
      ++it;
  }
  return out;
}

inline std::string IsoTime(Instant t) {
  const int64_t day = t >= 0 ? t / kSecondsPerDay : -((-t + kSecondsPerDay - 1) / kSecondsPerDay);
  const int64_t s = t - day * kSecondsPerDay;
  const CivilDate d = JulianToYmd(static_cast<int32_t>(day));
  char text[48];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d", d.year, d.month, d.day,
                static_cast<int>(s / 3600), static_cast<int>(s / 60 % 60),
                static_cast<int>(s % 60));
  return text;
}

inline std::string ValueText(double v, bool doubles) {
  char text[64];
  std::snprintf(text, sizeof text, doubles ? "%.17g" : "%.9g", v);
  return text;
}

// Instant of an ISO text "YYYY-MM-DDTHH:MM:SS".
inline Instant ParseIso(const std::string& iso) {
  int y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0;
  std::sscanf(iso.c_str(), "%d-%d-%dT%d:%d:%d", &y, &mo, &d, &h, &mi, &s);
  int32_t julian = 0;
  YmdToJulian(y, mo, d, &julian);
  return MakeInstant(julian, h * 3600 + mi * 60 + s);
}

inline std::unique_ptr<dss7::DssFile> OpenFile(const std::string& path, dss7::Status* status) {
  std::unique_ptr<dss7::DssFile> file;
  *status = dss7::DssFile::Open(path, {}, &file);
  return file;
}

}  // namespace varnock::engine::series::testing

#endif  // VARNOCK_ENGINE_RECORDS_SERIES_SERIES_TEST_SUPPORT_H_
