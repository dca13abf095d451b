// The unsorted catalog: a physical walk of the bins in the order they were handed out.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <numeric>
#include <string_view>

#include "engine/dss7/codec.h"
#include "engine/dss7/dss_file.h"
#include "engine/dss7/dss_file_internal.h"
#include "engine/dss7/hash.h"
#include "engine/dss7/key_order.h"

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
    std::string_view name;
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
  static constexpr std::string_view kMonths[] = {"JAN", "FEB", "MAR", "APR", "MAY", "JUN",
                                                 "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"};
  if (d.size() < 9 || !std::isdigit(static_cast<unsigned char>(d[0])) ||
      !std::isdigit(static_cast<unsigned char>(d[1]))) {
    return 0;
  }
  char name[3];
  for (size_t k = 0; k < 3; ++k) {
    const char c = d[2 + k];
    name[k] = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  }
  int month = 0;
  for (int m = 0; m < 12; ++m) {
    if (kMonths[m] == std::string_view(name, 3)) month = m + 1;
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

// " %010lld" of v, the text the sort columns of intervals and dates hold; 11 bytes.
std::string_view Digits10(int64_t v, char (&buf)[24]) {
  if (v < 0 || v > 9999999999) {
    const int n = std::snprintf(buf, sizeof buf, " %010lld", static_cast<long long>(v));
    return std::string_view(buf, static_cast<size_t>(std::clamp(n, 0, 23)));
  }
  buf[0] = ' ';
  for (int i = 10; i >= 1; --i, v /= 10)
    buf[i] = static_cast<char>('0' + v % 10);
  return std::string_view(buf, 11);
}

// HEC's column sort. Column widths: the longest part of each kind + 1; E widens to hold an
// interval once a time series is present. (HEC's saved lists sort dates in full even with
// short F parts, so the D and F widths are not swapped.) Time series list F, E's interval in
// seconds and D's day number after A, B and C; other records D, E and F. Keys compare as
// bytes, ties in file order.
std::vector<size_t> ColumnSortOrder(const CatalogListing& listing, const HeaderWords& h) {
  const auto& listed = listing.entries;
  // The words come from the file: no part can be longer than a path, whatever they say.
  std::array<size_t, 6> column{};
  for (int p = 0; p < 6; ++p)
    column[p] =
        static_cast<size_t>(std::clamp<int64_t>(h[hdr::kMaxPartA + p], 0, kLookupPathBytes) + 1);
  const bool any_series = std::any_of(listed.begin(), listed.end(),
                                      [](const auto& c) { return IsTimeSeriesType(c.type); });
  if (any_series) column[4] = std::max<size_t>(column[4], 11);
  FixedWidthKeys keys(listed.size(), std::accumulate(column.begin(), column.end(), size_t{0}));
  char digits[24];
  // Neighbouring records mostly share their E part: its interval is looked up once.
  std::string_view last_e;
  int64_t last_seconds = -1;
  std::array<std::string_view, 6> parts;
  for (size_t i = 0; i < listed.size(); ++i) {
    const std::string_view path = listing.Path(listed[i]);
    if (!SplitParts(path, &parts)) parts = {path, "", "", "", "", ""};
    char* key = keys.Row(i);
    PutColumn(&key, parts[0], column[0]);
    PutColumn(&key, parts[1], column[1]);
    PutColumn(&key, parts[2], column[2]);
    if (IsTimeSeriesType(listed[i].type)) {
      PutColumn(&key, parts[5], column[5]);
      if (last_seconds < 0 || parts[4] != last_e) {
        last_e = parts[4];
        last_seconds = IntervalSeconds(last_e);
      }
      PutColumn(&key, Digits10(last_seconds, digits), column[4]);
      PutColumn(&key, Digits10(DayNumber(parts[3]) + 10000000, digits), column[3]);
    } else {
      PutColumn(&key, parts[3], column[3]);
      PutColumn(&key, parts[4], column[4]);
      PutColumn(&key, parts[5], column[5]);
    }
  }
  return keys.StableOrder();
}

// The entries in the given order into *out. Its existing entries are overwritten in place, so
// that a caller listing again into the same vector reuses the paths' memory; paths are written
// in output order, so new ones lie in memory in that order.
void FillCatalog(const CatalogListing& listing, const std::vector<size_t>& order,
                 std::vector<CatalogEntry>* out) {
  // Entries are read in sorted order, from anywhere: each is fetched well ahead, and its path
  // once the entry has arrived.
  constexpr size_t kAhead = 16;
  const auto& listed = listing.entries;
  out->resize(order.size());
  for (size_t k = 0; k < order.size(); ++k) {
    if (k + kAhead < order.size()) __builtin_prefetch(&listed[order[k + kAhead]]);
    if (k + kAhead / 2 < order.size())
      __builtin_prefetch(listing.paths.data() + listed[order[k + kAhead / 2]].path_begin);
    const auto& l = listed[order[k]];
    CatalogEntry& c = (*out)[k];
    c.path.assign(listing.Path(l));
    c.type = l.type;
    c.status = l.status;
    c.entry_address = l.entry_address;
    c.info_address = l.info_address;
    c.last_write_ms = l.last_write_ms;
    c.first_julian = l.first_julian;
    c.last_julian = l.last_julian;
  }
}

}  // namespace

Status DssFile::SortedCatalog(std::vector<CatalogEntry>* out, bool use_saved_list) {
  if (!open_) return Status::kNotOpen;
  CatalogListing listing;
  Status s = ReadRetrying([&]() { return ListEntries({}, &listing); });
  const auto& listed = listing.entries;
  std::vector<size_t> order(listed.size());
  std::iota(order.begin(), order.end(), size_t{0});
  if (s == Status::kOk) {
    s = NoThrow([&]() -> Status {
      bool saved = false;
      if (use_saved_list) {
        const Status r = SavedSortOrder(listing, &order, &saved);
        if (r != Status::kOk || saved) return r;
      }
      order = ColumnSortOrder(listing, header_);
      return Status::kOk;
    });
  }
  FillCatalog(listing, order, out);
  return s;
}

Status DssFile::Catalog(std::vector<CatalogEntry>* out, const CatalogFilter& filter) {
  if (!open_) return Status::kNotOpen;
  CatalogListing listing;
  const Status s = ReadRetrying([&]() { return ListEntries(filter, &listing); });
  std::vector<size_t> order(listing.entries.size());
  std::iota(order.begin(), order.end(), size_t{0});
  FillCatalog(listing, order, out);
  return s;
}

Status DssFile::ListCatalog(CatalogListing* out, const CatalogFilter& filter) {
  if (!open_) return Status::kNotOpen;
  return ReadRetrying([&]() { return ListEntries(filter, out); });
}

Status DssFile::ListEntries(const CatalogFilter& filter, CatalogListing* listing) {
  listing->entries.clear();
  listing->paths.clear();
  const int64_t bin_size = header_[hdr::kBinSize];
  const int64_t per_block = header_[hdr::kBinsPerBlock];
  const int64_t block_words = per_block * bin_size + 1;
  const int64_t max_blocks = physical_words_ / block_words + 1;
  std::vector<int64_t> block(static_cast<size_t>(block_words));
  std::string path;
  int64_t address = header_[hdr::kFirstBinAddress];
  for (int64_t n = 0; address != 0; ++n) {
    if (n > max_blocks) return Status::kDamaged;
    if (address < hdr::kWords || address > physical_words_ - block_words) return Status::kDamaged;
    const Status s = io_->ReadWords(address, block);
    if (s != Status::kOk) return s;
    for (int64_t b = 0; b < per_block; ++b) {
      const auto bin = std::span<const int64_t>(block).subspan(static_cast<size_t>(b * bin_size),
                                                               static_cast<size_t>(bin_size));
      if (bin[0] == 0) return Status::kOk;  // bins are handed out in order: none follow
      BinEntry e;
      for (int64_t j = 0; DecodeBinEntry(bin, j, &e) == EntryScan::kEntry; j += e.Words()) {
        if (!Selected(e, filter)) continue;
        BinEntryPath(bin, j, e, &path);
        CatalogListing::Entry l;
        l.path_begin = listing->paths.size();
        l.path_bytes = path.size();
        listing->paths.append(path);
        l.type = e.type;
        l.status = e.status;
        l.entry_address = address + b * bin_size + j;
        l.info_address = e.info_address;
        l.last_write_ms = e.last_write_ms;
        l.first_julian = e.first_julian;
        l.last_julian = e.last_julian;
        listing->entries.push_back(l);
      }
    }
    address = block.back();
  }
  return Status::kOk;
}

Status DssFile::SavedSortOrder(const CatalogListing& listing, std::vector<size_t>* order,
                               bool* used) {
  *used = false;
  const auto& h = header_;
  const auto& listed = listing.entries;
  const int64_t count = h[hdr::kSortListCount];
  const int64_t at = h[hdr::kSortListAddress];
  if (h[hdr::kSortStatus] != sort_status::kValid || count != static_cast<int64_t>(listed.size()) ||
      count > h[hdr::kSortListCapacity] || count >= physical_words_ || at < hdr::kWords ||
      at > physical_words_ - (count + 2)) {
    return Status::kOk;
  }
  std::vector<int64_t> list(static_cast<size_t>(count + 2));
  const Status s = io_->ReadWords(at, list);
  if (s != Status::kOk) return s;
  if (list.front() != kSortStartFlag || list.back() != kSortEndFlag) return Status::kOk;
  std::vector<std::pair<int64_t, size_t>> by_address;
  by_address.reserve(listed.size());
  for (size_t i = 0; i < listed.size(); ++i)
    by_address.emplace_back(listed[i].entry_address, i);
  std::sort(by_address.begin(), by_address.end());
  // Each record once: a damaged list naming one twice is not used.
  std::vector<size_t> saved;
  saved.reserve(listed.size());
  std::vector<bool> taken(listed.size(), false);
  for (int64_t k = 1; k <= count; ++k) {
    auto it = std::lower_bound(by_address.begin(), by_address.end(),
                               std::make_pair(list[static_cast<size_t>(k)], size_t{0}));
    if (it == by_address.end() || it->first != list[static_cast<size_t>(k)]) return Status::kOk;
    if (taken[it->second]) return Status::kOk;
    taken[it->second] = true;
    saved.push_back(it->second);
  }
  *order = std::move(saved);
  *used = true;
  return Status::kOk;
}

}  // namespace varnock::engine::dss7
