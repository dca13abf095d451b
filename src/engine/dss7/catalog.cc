// The unsorted catalog: a physical walk of the bins in the order they were handed out.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <string_view>

#include "engine/dss7/codec.h"
#include "engine/dss7/dss_file.h"
#include "engine/dss7/dss_file_internal.h"
#include "engine/dss7/hash.h"

namespace varnock::engine::dss7 {
namespace {

bool Selected(const BinEntry& e, const CatalogFilter& f) {
  switch (f.which) {
    case CatalogFilter::Which::kLive:
      if (!entry_status::IsLive(e.status)) return false;
      break;
    case CatalogFilter::Which::kDeleted:
      if (e.status != entry_status::kDeleted) return false;
      break;
    case CatalogFilter::Which::kRenamed:
      if (e.status != entry_status::kRenamed) return false;
      break;
  }
  return e.type >= f.min_type && e.type <= f.max_type && e.last_write_ms >= f.changed_since_ms;
}

bool EqualNoCase(std::string_view a, std::string_view b) {
  return SamePath(a, b);
}

// Seconds of a regular E part (DSS-7 spelling, any case); 0 when not regular.
int64_t IntervalSeconds(std::string_view e) {
  struct Interval {
    const char* name;
    int64_t seconds;
  };
  static constexpr Interval kIntervals[] = {
      {"1Second", 1},      {"2Second", 2},     {"3Second", 3},        {"4Second", 4},
      {"5Second", 5},      {"6Second", 6},     {"10Second", 10},      {"15Second", 15},
      {"20Second", 20},    {"30Second", 30},   {"1Minute", 60},       {"2Minute", 120},
      {"3Minute", 180},    {"4Minute", 240},   {"5Minute", 300},      {"6Minute", 360},
      {"10Minute", 600},   {"12Minute", 720},  {"15Minute", 900},     {"20Minute", 1200},
      {"30Minute", 1800},  {"1Hour", 3600},    {"2Hour", 7200},       {"3Hour", 10800},
      {"4Hour", 14400},    {"6Hour", 21600},   {"8Hour", 28800},      {"12Hour", 43200},
      {"1Day", 86400},     {"1Week", 604800},  {"Tri-Month", 864000}, {"Semi-Month", 1296000},
      {"1Month", 2592000}, {"1Year", 31536000}};
  for (const auto& i : kIntervals) {
    if (EqualNoCase(e, i.name)) return i.seconds;
  }
  return 0;
}

// HEC day number of a "01Jan2001" D part; 0 when it is not one.
int64_t DayNumber(std::string_view d) {
  static constexpr const char* kMonths[] = {"JAN", "FEB", "MAR", "APR", "MAY", "JUN",
                                            "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"};
  if (d.size() < 9 || !std::isdigit(static_cast<unsigned char>(d[0])) ||
      !std::isdigit(static_cast<unsigned char>(d[1]))) {
    return 0;
  }
  int month = 0;
  for (int m = 0; m < 12; ++m) {
    if (EqualNoCase(d.substr(2, 3), kMonths[m])) month = m + 1;
  }
  int64_t year = 0;
  for (char c : d.substr(5)) {
    if (!std::isdigit(static_cast<unsigned char>(c)) || year > 100000) return 0;
    year = year * 10 + (c - '0');
  }
  const int64_t day = (d[0] - '0') * 10 + (d[1] - '0');
  if (month == 0 || day < 1 || day > 31) return 0;
  // Days from 1970-01-01 (civil calendar), then HEC's 1900-based numbering.
  const int64_t y = year - (month <= 2);
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const int64_t yoe = y - era * 400;
  const int64_t doy = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468 + 25568;
}

std::string Digits10(int64_t v) {
  char buf[32];
  std::snprintf(buf, sizeof buf, " %010lld", static_cast<long long>(v));
  return buf;
}

void AddColumn(std::string* key, std::string_view field, int64_t width) {
  const auto w = static_cast<size_t>(std::max<int64_t>(width, 0));
  std::string f(field.substr(0, w));
  f.resize(w, ' ');
  key->append(f);
}

}  // namespace

Status DssFile::SortedCatalog(std::vector<CatalogEntry>* out, bool use_saved_list) {
  Status s = Catalog(out);
  if (s != Status::kOk) return s;
  return NoThrow([&]() -> Status {
    const auto& h = header_;
    const int64_t count = h[hdr::kSortListCount];
    const int64_t at = h[hdr::kSortListAddress];
    if (use_saved_list && h[hdr::kSortStatus] == sort_status::kValid &&
        count == static_cast<int64_t>(out->size()) && count <= h[hdr::kSortListCapacity] &&
        count < physical_words_ && at >= hdr::kWords && at <= physical_words_ - (count + 2)) {
      std::vector<int64_t> list(static_cast<size_t>(count + 2));
      s = io_->ReadWords(at, list);
      if (s != Status::kOk) return s;
      if (list.front() == kSortStartFlag && list.back() == kSortEndFlag) {
        std::vector<std::pair<int64_t, size_t>> by_address;
        for (size_t i = 0; i < out->size(); ++i)
          by_address.emplace_back((*out)[i].entry_address, i);
        std::sort(by_address.begin(), by_address.end());
        std::vector<CatalogEntry> ordered;
        for (int64_t k = 1; k <= count; ++k) {
          auto it = std::lower_bound(by_address.begin(), by_address.end(),
                                     std::make_pair(list[static_cast<size_t>(k)], size_t{0}));
          if (it == by_address.end() || it->first != list[static_cast<size_t>(k)]) break;
          ordered.push_back((*out)[it->second]);
        }
        if (ordered.size() == out->size()) {
          *out = std::move(ordered);
          return Status::kOk;
        }
      }
    }
    // Column widths: the longest part of each kind + 1; E widens to hold an interval once a
    // time series is present. (HEC's saved lists sort dates in full even with short F parts,
    // so the D and F widths are not swapped.)
    // The words come from the file: no part can be longer than a path, whatever they say.
    std::array<int64_t, 6> width{};
    for (int p = 0; p < 6; ++p)
      width[p] = std::clamp<int64_t>(h[hdr::kMaxPartA + p], 0, kLookupPathBytes) + 1;
    const bool any_series = std::any_of(
        out->begin(), out->end(), [](const CatalogEntry& c) { return IsTimeSeriesType(c.type); });
    if (any_series) width[4] = std::max<int64_t>(width[4], 11);
    std::vector<std::pair<std::string, size_t>> keys;
    keys.reserve(out->size());
    for (size_t i = 0; i < out->size(); ++i) {
      const auto& c = (*out)[i];
      std::array<std::string_view, 6> parts;
      if (!SplitParts(c.path, &parts)) parts = {c.path, "", "", "", "", ""};
      std::string key;
      AddColumn(&key, parts[0], width[0]);
      AddColumn(&key, parts[1], width[1]);
      AddColumn(&key, parts[2], width[2]);
      if (IsTimeSeriesType(c.type)) {
        AddColumn(&key, parts[5], width[5]);
        AddColumn(&key, Digits10(IntervalSeconds(parts[4])), width[4]);
        AddColumn(&key, Digits10(DayNumber(parts[3]) + 10000000), width[3]);
      } else {
        AddColumn(&key, parts[3], width[3]);
        AddColumn(&key, parts[4], width[4]);
        AddColumn(&key, parts[5], width[5]);
      }
      keys.emplace_back(std::move(key), i);
    }
    std::sort(keys.begin(), keys.end());  // byte order, then unsorted position
    std::vector<CatalogEntry> ordered;
    ordered.reserve(out->size());
    for (const auto& k : keys)
      ordered.push_back(std::move((*out)[k.second]));
    *out = std::move(ordered);
    return Status::kOk;
  });
}

Status DssFile::Catalog(std::vector<CatalogEntry>* out, const CatalogFilter& filter) {
  if (!open_) return Status::kNotOpen;
  return ReadRetrying([&]() -> Status {
    out->clear();
    const int64_t bin_size = header_[hdr::kBinSize];
    const int64_t per_block = header_[hdr::kBinsPerBlock];
    const int64_t block_words = per_block * bin_size + 1;
    const int64_t max_blocks = physical_words_ / block_words + 1;
    std::vector<int64_t> block(static_cast<size_t>(block_words));
    int64_t address = header_[hdr::kFirstBinAddress];
    for (int64_t n = 0; address != 0; ++n) {
      if (n > max_blocks) return Status::kDamaged;
      if (address < hdr::kWords || address > physical_words_ - block_words) {
        return Status::kDamaged;
      }
      const Status s = io_->ReadWords(address, block);
      if (s != Status::kOk) return s;
      for (int64_t b = 0; b < per_block; ++b) {
        const auto bin = std::span<const int64_t>(block).subspan(static_cast<size_t>(b * bin_size),
                                                                 static_cast<size_t>(bin_size));
        if (bin[0] == 0) return Status::kOk;  // bins are handed out in order: none follow
        BinEntry e;
        for (int64_t j = 0; DecodeBinEntry(bin, j, &e) == EntryScan::kEntry; j += e.Words()) {
          if (!Selected(e, filter)) continue;
          CatalogEntry c;
          c.path = BinEntryPath(bin, j, e);
          c.type = e.type;
          c.status = e.status;
          c.entry_address = address + b * bin_size + j;
          c.info_address = e.info_address;
          c.last_write_ms = e.last_write_ms;
          c.first_julian = e.first_julian;
          c.last_julian = e.last_julian;
          out->push_back(std::move(c));
        }
      }
      address = block.back();
    }
    return Status::kOk;
  });
}

}  // namespace varnock::engine::dss7
